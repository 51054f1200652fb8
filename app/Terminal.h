#pragma once

#include <optional>
#include <string>

/// The two words that the tool answers on the terminal it was started from, without opening a database or a window.
namespace tamlo::app {

/// What to write there when the program was started with "--help" or "--version" and nothing else, lines ended; nothing for any other command
/// line. `arguments` are main's: the program's own name stands first.
[[nodiscard]] std::optional<std::string> ReponseTerminal(int nombre, const char* const* arguments);

/// Writes a text in UTF-8 to standard output. False when it could not be written whole, as on a full disk.
[[nodiscard]] bool EcritTerminal(const std::string& texte);

}  // namespace tamlo::app
