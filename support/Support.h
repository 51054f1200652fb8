#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "runtime/Variant.h"
#include "ui/Platform.h"

/// Small services to the layer and the tool. What goes to the screen goes to the platform in force (ui/Platform.h) and, where there is none,
/// nowhere: that is no error.
namespace tamlo::support {

/// True for a value never assigned, a null, and a text that is empty once its blanks are trimmed. 0 is not blank.
[[nodiscard]] bool EstVide(const runtime::Variant& valeur);
[[nodiscard]] bool EstVide(std::string_view texte) noexcept;
[[nodiscard]] inline bool EstVide(const std::string& texte) noexcept { return EstVide(std::string_view(texte)); }
[[nodiscard]] inline bool EstVide(const char* texte) noexcept { return EstVide(std::string_view(texte)); }

/// Nested hourglass: shown from the outermost on to the outermost off; an unmatched off sets the default pointer again.
/// Error 6 past 32767 nested calls.
void Sablier(bool actif);

/// Selects the whole text of a box.
void SelectionneTout(ui::TextBox& zone);

/// The area, in twips, in which CentreFeuille centres; width or height 0: the screen.
[[nodiscard]] ui::Rectangle& ZoneCentrage() noexcept;
/// Moves a form to the middle of the area; never left of it or above it. Halves go to the even neighbour. With neither area nor screen it stays
/// where it is.
void CentreFeuille(ui::Form& feuille);

/// The status bar that AfficheMessage writes to; none at first. Not owned.
[[nodiscard]] ui::StatusBar* BarreEtat() noexcept;
void BarreEtat(ui::StatusBar* barre) noexcept;
/// Shows a text in panel 1 behind a single space, at once; nothing without a status bar.
void AfficheMessage(const std::string& texte);
/// The text of panel 1 without its leading character; "" without a status bar.
[[nodiscard]] std::string LitMessage();
/// Status texts on their way to and from the screen; both return their argument.
[[nodiscard]] std::string TexteAffiche(const std::string& texte);
[[nodiscard]] std::string TexteLu(const std::string& texte);

/// No button: what Msg returns where there is nobody to press one.
inline constexpr std::int16_t kAucunBouton = 0;
/// A message box of the platform; returns the button pressed.
std::int16_t Msg(const std::string& texte, std::int16_t boutons, const std::string& titre);

/// True when a normal file (not hidden, system or folder) matches the path; "*" and "?" match in the last component.
/// False for the empty path, a path that ends in "\" (or "/"), and any error of the file system.
[[nodiscard]] bool ExisteFichier(const std::string& chemin);

}  // namespace tamlo::support
