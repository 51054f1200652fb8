#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

namespace tamlo::db::sql {

/// The tables with an owner, in the order of the table list, with an index by name: a statement finds the few that it may name without
/// looking at the others. Tables are only added; whoever changes names, owners or the order makes a new one.
class TablesQualifiees {
 public:
  struct Table {
    std::string nom;
    std::string owner;
  };

  /// Takes the next table of the list; one with a blank owner is never qualified and left out.
  void Ajoute(const std::string& nom, const std::string& owner);

  using Rangs = std::vector<std::size_t>;

  /// rang: from 0, in the order of their adding.
  [[nodiscard]] const Table& operator[](std::size_t rang) const { return tables_[rang]; }
  /// The ranks, ascending, of all tables that a text names behind a blank or comma, and of some that it does not name after all.
  [[nodiscard]] Rangs Nommees(std::string_view texte) const;
  /// True when a text may name more tables once this owner stands in front of a name in it.
  [[nodiscard]] bool PeutNommer(std::string_view owner) const;

 private:
  struct Empreinte {
    using is_transparent = void;
    std::size_t operator()(std::string_view mot) const noexcept { return std::hash<std::string_view>()(mot); }
  };

  void Range(const std::string& mot, std::size_t rang);
  /// True when a text that goes on so may begin with a word: asked before anything dearer.
  [[nodiscard]] bool PeutCommencer(std::string_view reste) const;
  /// Adds the ranks of the tables of a word.
  void AjouteRangs(Rangs& rangs, std::string_view mot) const;

  std::vector<Table> tables_;
  bool composes_ = false;  // a name holds a blank or comma
  // By first byte: one bit for each length of a word, the last one for all from 63 on. Spares most words of a text the search.
  std::array<std::uint64_t, 256> longueurs_{};
  // By what a text shows of a name before a character that may end it: up to its first " ", "." or ",", and in brackets up to its first "]".
  std::unordered_map<std::string, Rangs, Empreinte, std::equal_to<>> parMot_;
};

}  // namespace tamlo::db::sql
