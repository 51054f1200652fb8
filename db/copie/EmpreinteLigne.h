#pragma once

#include <compare>
#include <cstdint>
#include <string>
#include <vector>

#include "ado/Recordset.h"

namespace tamlo::db::copie {

/// How the values of a column are compared, from its types on both sides.
enum class Regle {
  kTexte,    ///< without trailing blanks; a blank text is the same as none
  kLong,     ///< piece by piece, a null is not an empty text
  kBooleen,  ///< any number but 0 is true
  kSimple,   ///< numbers of which one side is a single: as singles, every bit
  kDouble,   ///< numbers of which one side is a double: as doubles, every bit
  kExact,    ///< other numbers
  kDate,     ///< days and times, to the digits of a second that both sides keep
  kOctets,   ///< bytes and everything else
};
[[nodiscard]] Regle RegleDe(std::int16_t typeSource, std::int16_t typeCible);

/// Digits of a second's fraction that a column of days or times keeps; 0 for any other.
[[nodiscard]] std::int16_t ChiffresDeSeconde(const ado::Field& champ);

struct ColonneComparee {
  std::string nom;
  Regle regle = Regle::kOctets;
  std::int16_t chiffres = 0;  ///< of a second's fraction
  bool cle = false;           ///< part of the key that pairs the rows of the two sides
};

/// What stands for a row: of its key and of all of it. Equal rows have equal fingerprints; different ones differ but for one case in 2^64.
struct Empreinte {
  std::uint64_t cle = 0;
  std::uint64_t ligne = 0;
  friend auto operator<=>(const Empreinte&, const Empreinte&) = default;
};

/// Walks a recordset and gives the fingerprint of each row. Long values are read piece by piece.
class LecteurEmpreintes {
 public:
  /// colonnes must outlive this object. Error 3265 for a column that the recordset lacks.
  LecteurEmpreintes(ado::Recordset recordset, const std::vector<ColonneComparee>& colonnes);

  /// The next row becomes the current one; false at the end.
  bool Suivante(Empreinte& empreinte);

  /// " (clé ID=12, NOM=x)" of the current row; blank without a key.
  [[nodiscard]] std::string TexteCle() const;
  /// The name of the first column in which the current rows of the two differ.
  [[nodiscard]] std::string PremiereColonneDifferente(const LecteurEmpreintes& autre) const;

 private:
  ado::Recordset recordset_;
  const std::vector<ColonneComparee>* colonnes_;
  std::vector<ado::Field*> champs_;
  std::vector<std::uint64_t> parColonne_;
  bool commence_ = false;
};

}  // namespace tamlo::db::copie
