#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace tamlo::db::sql {

/// The tables with an owner, in the order of the table list, with an index by name: a statement finds the few that it
/// may name without looking at the others. Tables are only added; whoever changes names, owners or the order makes a
/// new one.
class TablesQualifiees {
 public:
  struct Table {
    std::string nom;
    std::string owner;
    bool simple = false;  ///< neither name nor owner holds a character that means something to the qualification
  };
  using Rangs = std::vector<std::uint32_t>;

  /// Takes the next table of the list; one with a blank owner is never qualified and left out.
  void Ajoute(const std::string& nom, const std::string& owner);

  [[nodiscard]] const Table& operator[](std::size_t rang) const { return tables_[rang]; }
  [[nodiscard]] bool EstVide() const noexcept { return tables_.empty(); }

  /// True when some name may begin with this byte: asked before anything dearer.
  [[nodiscard]] bool PeutCommencer(char octet) const noexcept { return longueurs_[static_cast<unsigned char>(octet)] != 0; }
  /// Ranks, ascending, of the tables whose name begins with mot and ends there or goes on with a character that ends a
  /// word (" ", ".",
  /// "," for plain words, "]" for bracketed ones); nullptr when there is none.
  [[nodiscard]] const Rangs* Cherche(std::string_view mot) const;
  /// True when some name begins with "[".
  [[nodiscard]] bool AvecCrochets() const noexcept { return PeutCommencer('['); }
  /// True when the first word of an owner is one that a table's name begins with: put in front of a name, it would be
  /// taken for that table.
  [[nodiscard]] bool EstNommee(std::string_view owner) const { return Cherche(owner.substr(0, owner.find('.'))) != nullptr; }
  /// True when a table has no name, or one that begins with a character that ends a word.
  [[nodiscard]] bool AvecMotVide() const noexcept { return motVide_; }
  /// The smallest rank above apres (-1: any) of the tables that a text may name behind a blank or comma; -1 when there
  /// is none.
  [[nodiscard]] std::int64_t Suivante(std::string_view texte, std::int64_t apres) const;

 private:
  struct Mot {
    std::string texte;
    Rangs rangs;
  };
  void Range(std::string_view mot, std::uint32_t rang);
  void Agrandit();
  /// The place of a word among the cases: its own, or the free one where it would stand.
  [[nodiscard]] std::size_t CaseDe(std::string_view mot) const;

  std::vector<Table> tables_;
  std::vector<Mot> mots_;
  std::vector<std::uint32_t>
      cases_;  // hash table: 1 + the word's place in mots_, 0 for a free case; a power of 2 of them, half full at most
  bool motVide_ = false;
  std::array<std::uint64_t, 256> longueurs_{};  // by first byte of a word: one bit for each length, the last one for all above
};

}  // namespace tamlo::db::sql
