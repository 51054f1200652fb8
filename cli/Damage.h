#pragma once

#include <span>
#include <string>
#include <string_view>

/// What `check` and `recover` find in Access files. The engine says it in English; here it gets its key for programs and its French.
namespace tamlo::cli {

/// A sentence of the engine. In the English one "*" stands for a name or a number, "@" for a structure ("the table "T""), "~" for another
/// sentence; in the French one "%1", "%2"... are those, and "{ligne|lignes}" is as in Messages.cpp.
struct DamageSentence {
  std::string_view key;  ///< the same for sentences that say the same
  std::string_view english;
  std::string_view french;
};

/// A structure, with "*" and "%1" for its names.
struct DamageStructure {
  std::string_view english;
  std::string_view french;
};

[[nodiscard]] std::span<const DamageStructure> DamageStructures();
/// All sentences that are known; those of one key stand together.
[[nodiscard]] std::span<const DamageSentence> DamageSentences();

/// The key of a finding, whatever stands before it ("the table "T": ...") and behind it (page and offset). "other" for one that is not known.
[[nodiscard]] std::string_view DamageKey(std::string_view text);
/// The finding in French; what is not known stays as the engine says it.
[[nodiscard]] std::string FrenchDamage(std::string_view text);
/// In the user's language.
[[nodiscard]] std::string DamageText(std::string_view text);

}  // namespace tamlo::cli
