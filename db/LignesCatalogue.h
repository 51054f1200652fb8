#pragma once

#include <array>
#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <utility>
#include <vector>

#include "ado/Recordset.h"
#include "runtime/Variant.h"

namespace tamlo::db {

class DataBase;
class DbFld;
class DbIdx;
class DbTbl;

/// Characters that the catalog's columns for names and for the field lists of indexes hold.
inline constexpr std::int32_t kLargeurNom = 30;
inline constexpr std::int32_t kLargeurChamps = 50;

/// The columns of the catalog tables that this layer writes, and their values for one table, field or index. The others
/// keep the backend's defaults. Not inline: the linker for Windows took two objects with the same ones for two definitions.
constexpr std::array kColonnesTbl{"NOM", "MVT"};
constexpr std::array kColonnesFld{"TABLE", "NO", "NOM"};
constexpr std::array kColonnesIdx{"TABLE", "NOM", "CHAMPS", "PRIMAIRE", "UNIQUE"};
[[nodiscard]] std::array<runtime::Variant, kColonnesTbl.size()> ValeursTbl(const DbTbl& tbl);
[[nodiscard]] std::array<runtime::Variant, kColonnesFld.size()> ValeursFld(const DbTbl& tbl, const DbFld& fld, std::int16_t numero);
[[nodiscard]] std::array<runtime::Variant, kColonnesIdx.size()> ValeursIdx(const DbTbl& tbl, const DbIdx& idx);
/// Adds a row with these values to a recordset.
void AjouteLigne(ado::Recordset& rs, std::span<const char* const> colonnes, std::span<const runtime::Variant> valeurs);

/// Columns of a catalog table and the names that they hold in the rows that are meant.
using NomsDeLigne = std::vector<std::pair<std::string, std::string>>;

/// False when a name ends a text literal or does not arrive in the backend as it stands there ("Date d'entrée"; "[X]" on MySQL and ODBC):
/// such rows are then looked for one by one.
[[nodiscard]] bool TiennentDansUnLitteral(const DataBase& db, const NomsDeLigne& noms);
/// Writes a flag into the rows of a catalog table that hold these names, row by row.
void PoseDrapeau(DataBase& db, const std::string& catalogue, const char* colonne, bool drapeau, const NomsDeLigne& noms);
/// Deletes the rows of a catalog table that hold these names: by one statement, or row by row where a literal does not hold them.
void SupprimeLignes(DataBase& db, const std::string& catalogue, const NomsDeLigne& noms);
/// The fields of a table by the rows of the catalog: name (lower case) and number.
struct NumerosChamps {
  std::vector<std::pair<std::string, std::int16_t>> champs;

  [[nodiscard]] std::optional<std::int16_t> De(const std::string& champ) const;
  /// The number behind the highest one; sans where there is no row.
  [[nodiscard]] std::int16_t Suivant(std::int16_t sans) const;
  /// The lowest number, from 0, that no row has.
  [[nodiscard]] std::int16_t PremierLibre() const;
};
/// Without rows where the database has no catalog or does not answer: what is written then fails by itself.
[[nodiscard]] NumerosChamps LitNumerosChamps(DataBase& db, const std::string& table);

/// Error 5 for what the columns of the catalog cannot hold: names of more than 30 characters, encoded field lists of more than 50.
/// Nothing where the database has no catalog.
void VerifieNomFld(DataBase& db, const std::string& nom);
void VerifieIdx(DataBase& db, const DbIdx& idx);
/// The table's name, fields and indexes.
void VerifieTbl(DataBase& db, const DbTbl& tbl);

/// Lowers the numbers behind position by one in the rows of a table's fields; in the same two ways.
void RenumeroteChamps(DataBase& db, const std::string& table, std::int16_t position);

/// A value of a catalog row as text without trailing blanks; "" for a null.
[[nodiscard]] std::string TexteCatalogue(const runtime::Variant& valeur);
/// A flag of a catalog row; false for a null.
[[nodiscard]] bool DrapeauCatalogue(const runtime::Variant& valeur);

/// One field of a key as the server lists it: the key's name in upper case, the column's in lower case.
struct CleLue {
  std::string index;
  std::string champ;
};
/// All keys of a table in the server's order, by the question of its kind (Faits::questionCles). Its errors go to the caller.
[[nodiscard]] std::vector<CleLue> LitCles(DataBase& db, const std::string& table);

}  // namespace tamlo::db
