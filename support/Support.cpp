#include "support/Support.h"

#include <algorithm>

#include "runtime/Conversions.h"
#include "runtime/Text.h"

namespace tamlo::support {

namespace {

constexpr std::int16_t kMessagePanel = 1;

std::int16_t& SablierNesting() noexcept {
  static std::int16_t nesting = 0;
  return nesting;
}

ui::StatusBar*& StatusBarInUse() noexcept {
  static ui::StatusBar* bar = nullptr;
  return bar;
}

void Pointer(ui::Pointer pointer) {
  if (ui::Platform* platform = ui::PlatformInForce()) platform->SetPointer(pointer);
}

/// Where something of a size starts so that it stands in the middle of an area; never before the area.
std::int16_t Centred(std::int16_t areaStart, std::int32_t areaSize, std::int16_t size) {
  const std::int16_t start = runtime::RoundToInt16(areaStart + (areaSize - size) / 2.0);
  return std::max(start, areaStart);
}

}  // namespace

bool EstVide(const runtime::Variant& valeur) {
  if (valeur.IsEmpty() || valeur.IsNull()) return true;
  if (const auto* texte = valeur.If<std::string>()) return EstVide(std::string_view(*texte));
  if (const auto* octets = valeur.If<runtime::Bytes>()) return octets->empty();
  return false;
}

bool EstVide(std::string_view texte) noexcept { return runtime::Trim(texte).empty(); }

void Sablier(bool actif) {
  std::int16_t& nesting = SablierNesting();
  if (actif) {
    nesting = runtime::Add16(nesting, 1);
    if (nesting == 1) Pointer(ui::Pointer::kHourglass);
    return;
  }
  if (nesting > 0) --nesting;
  if (nesting == 0) Pointer(ui::Pointer::kDefault);
}

void SelectionneTout(ui::TextBox& zone) { zone.Select(0, runtime::CheckedInt16(static_cast<std::int64_t>(runtime::Length(zone.Text())))); }

ui::Rectangle& ZoneCentrage() noexcept {
  static ui::Rectangle zone;
  return zone;
}

void CentreFeuille(ui::Form& feuille) {
  const ui::Rectangle zone = ZoneCentrage();
  if (zone.width == 0 || zone.height == 0) {
    const ui::Platform* platform = ui::PlatformInForce();
    if (platform == nullptr) return;
    const std::int16_t left = Centred(0, platform->ScreenWidth(), feuille.Width());
    feuille.Move(left, Centred(0, platform->ScreenHeight(), feuille.Height()));
    return;
  }
  const std::int16_t left = Centred(zone.left, zone.width, feuille.Width());
  feuille.Move(left, Centred(zone.top, zone.height, feuille.Height()));
}

ui::StatusBar* BarreEtat() noexcept { return StatusBarInUse(); }

void BarreEtat(ui::StatusBar* barre) noexcept { StatusBarInUse() = barre; }

void AfficheMessage(const std::string& texte) {
  if (BarreEtat() == nullptr) return;
  BarreEtat()->PanelText(kMessagePanel, " " + TexteAffiche(texte));
  BarreEtat()->Refresh();
}

std::string LitMessage() {
  if (BarreEtat() == nullptr) return {};
  const std::string shown = BarreEtat()->PanelText(kMessagePanel);
  return TexteLu(shown.substr(runtime::Left(shown, 1).size()));
}

std::string TexteAffiche(const std::string& texte) { return texte; }

std::string TexteLu(const std::string& texte) { return texte; }

std::int16_t Msg(const std::string& texte, std::int16_t boutons, const std::string& titre) {
  ui::Platform* platform = ui::PlatformInForce();
  return platform == nullptr ? kAucunBouton : platform->MessageBox(texte, boutons, titre);
}

}  // namespace tamlo::support
