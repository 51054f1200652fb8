#include "cli/Damage.h"

#include <array>
#include <optional>
#include <vector>

#include "ado/jet/FrenchReason.h"
#include "base/Captured.h"
#include "base/Sentence.h"
#include "cli/Messages.h"

namespace tamlo::cli {
namespace {

constexpr std::string_view kMarks = "*@~";

/// The structures of a file. None of the French ones begins with an article that "de" or "à" would change, as no sentence has those before it.
constexpr std::array kStructures{
    DamageStructure{"the header", "l'en-tête"},
    DamageStructure{"the catalog", "le catalogue"},
    DamageStructure{"relationships", "les relations"},
    DamageStructure{"the map of free pages", "la carte des pages libres"},
    DamageStructure{"the second map", "la seconde carte"},
    DamageStructure{"usage maps", "les cartes de pages"},
    DamageStructure{R"(the index "*" of the table "*")", "l'index « %1 » de la table « %2 »"},
    DamageStructure{R"(an index of the table "*")", "un index de la table « %1 »"},
    DamageStructure{R"(the usage map of the index "*" of the table "*")", "la carte de pages de l'index « %1 » de la table « %2 »"},
    DamageStructure{R"(the usage map of the table "*")", "la carte de pages de la table « %1 »"},
    DamageStructure{R"(the usage map of "*" of the table "*")", "la carte de pages de la colonne « %1 » de la table « %2 »"},
    DamageStructure{R"(the long values of "*" of the table "*")", "les valeurs longues de la colonne « %1 » de la table « %2 »"},
    DamageStructure{R"(the long values of the table "*")", "les valeurs longues de la table « %1 »"},
    DamageStructure{R"(the definition of the table "*")", "la définition de la table « %1 »"},
    DamageStructure{R"(the table "*")", "la table « %1 »"},
    DamageStructure{R"("*" of the table "*")", "la colonne « %1 » de la table « %2 »"},
};

std::string Filled(std::string_view pattern, const std::vector<std::string>& parts) {
  return base::Sentence(pattern, std::vector<std::string_view>(parts.begin(), parts.end()), base::Language::kFrench);
}

std::optional<std::string> FrenchStructure(std::string_view text) {
  for (const DamageStructure& words : kStructures)
    if (const auto captured = base::Captured(text, words.english))
      return Filled(words.french, std::vector<std::string>(captured->begin(), captured->end()));
  return std::nullopt;
}

struct Understood {
  std::string_view key;
  std::string french;
};

std::optional<Understood> Understand(std::string_view text);

std::string FrenchOf(std::string_view text) {
  const auto known = Understand(text);
  return known ? known->french : ado::jetprovider::FrenchReason(text);
}

/// A sentence of the table as a whole.
std::optional<Understood> UnderstandWhole(std::string_view text) {
  for (const DamageSentence& sentence : DamageSentences()) {
    const auto captured = base::Captured(text, sentence.english, kMarks);
    if (!captured) continue;
    std::vector<std::string> parts;
    std::size_t mark = 0;
    for (const std::string_view part : *captured) {
      mark = sentence.english.find_first_of(kMarks, mark);
      const char kind = sentence.english[mark++];
      if (kind == '@') {
        parts.push_back(FrenchStructure(part).value_or(std::string(part)));
      } else {
        parts.push_back(kind == '~' ? FrenchOf(part) : std::string(part));
      }
    }
    return Understood{sentence.key, Filled(sentence.french, parts)};
  }
  return std::nullopt;
}

/// "what: sentence", where what is a structure or a column in quotes.
std::optional<Understood> UnderstandBehindPlace(std::string_view text) {
  for (std::size_t colon = text.find(": "); colon != std::string_view::npos; colon = text.find(": ", colon + 1)) {
    const std::string_view place = text.substr(0, colon);
    auto french = FrenchStructure(place);
    if (!french && place.size() > 2 && place.front() == '"' && place.back() == '"')
      french = Filled("« %1 »", {std::string(place.substr(1, place.size() - 2))});
    if (!french) continue;
    if (auto sentence = Understand(text.substr(colon + 2))) return Understood{sentence->key, *french + " : " + sentence->french};
  }
  return std::nullopt;
}

std::optional<Understood> Understand(std::string_view text) {
  if (const auto place = base::Captured(text, "* (page *, offset *)"); place && place->back().find(' ') == std::string_view::npos) {
    auto sentence = Understand(place->front());
    if (sentence) sentence->french += Filled(" (page %1, octet %2)", {std::string(place->at(1)), std::string(place->at(2))});
    if (sentence) return sentence;
  }
  if (auto whole = UnderstandWhole(text)) return whole;
  return UnderstandBehindPlace(text);
}

}  // namespace

std::span<const DamageStructure> DamageStructures() { return kStructures; }

std::string_view DamageKey(std::string_view text) {
  const auto known = Understand(text);
  return known ? known->key : "other";
}

std::string FrenchDamage(std::string_view text) { return FrenchOf(text); }

std::string DamageText(std::string_view text) { return SpeaksFrench() ? FrenchDamage(text) : std::string(text); }

}  // namespace tamlo::cli
