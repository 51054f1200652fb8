#pragma once

#include <cstdint>
#include <functional>
#include <string>
#include <vector>

#include "ado/Catalog.h"
#include "db/DataBase.h"

namespace tamlo::db::ddl {

/// A column to be added to a table, as the caller described it.
struct NouvelleColonne {
  std::string nom;
  std::int32_t typ = 0;
  std::int32_t lg = 0;
  bool estCpt = false;
};

/// The hooks of one backend. One stateless object per backend for the whole process; Generateur.h says what each hook promises.
class GenerateurBase {
 public:
  virtual ~GenerateurBase() = default;

  virtual void CreeTable(DataBase& db, DbTbl& tbl) const = 0;
  virtual void AjouteColonne(DataBase& db, DbTbl& tbl, const NouvelleColonne& colonne) const = 0;
  virtual void CreeIndex(DataBase& db, DbTbl& tbl, const ado::Index& index) const = 0;

  /// The name under which the backend knows an index.
  [[nodiscard]] virtual std::string NomIndex(const DbTbl& /*tbl*/, const std::string& nom) const { return nom; }
  /// The statement that drops an index, for ExecuteSuppression. table and nom: as they are quoted; nom is the backend's name of it.
  [[nodiscard]] virtual std::string TexteSupIndex(const std::string& table, const std::string& nom, bool primaire) const = 0;
  /// For an index that the backend has under no name of ours: the name of what it keeps in its place; "" when there is none. Errors of the
  /// question go to the caller.
  [[nodiscard]] virtual std::string NomHomologue(DataBase& /*db*/, const DbTbl& /*tbl*/, const DbIdx& /*idx*/) const { return {}; }
  /// For such an index: drops what it keeps in its place under a name of its own. False when that is
  /// there and was refused; refusals are not raised.
  [[nodiscard]] virtual bool SupprimeHomologue(DataBase& /*db*/, const DbTbl& /*tbl*/, const DbIdx& /*idx*/) const { return true; }
  /// The statement that drops a table, to be sent as it stands. tbl: nullptr for a table that is not listed.
  [[nodiscard]] virtual std::string TexteSupTable(const std::string& nom, const DbTbl* /*tbl*/) const { return "DROP TABLE [" + nom + "]"; }
  /// The same for a name that the backend did not take like that; empty where there is no other way to write it.
  [[nodiscard]] virtual std::string TexteSupTableCite(const std::string& /*nom*/) const { return {}; }
};

/// The hooks of a kind; every kind above MySQL and every negative one is generic ODBC.
[[nodiscard]] const GenerateurBase& GenerateurDe(std::int16_t kind);

/// Runs a text of the backend on the connection, untranslated, and lets the catalog read its tables anew.
void ExecuteCreation(DataBase& db, const std::string& texte);

/// Sends a text that is the backend's own already, with these quoted names in it, through the translation; untranslated where that would
/// change one of the names ("Date d'entrée" on MySQL).
void ExecuteEdition(DataBase& db, const std::string& texte, const std::vector<std::string>& noms);

/// The text that drops a column or an index of a table, from the two names as they are quoted.
using TexteSuppression = std::function<std::string(const std::string& table, const std::string& nom)>;

/// Sends that text of the dialect through the translation; untranslated, with the kind's own quotes, where the translation would make another
/// name of one (to MySQL [x'y] would name the column x"y).
void ExecuteSuppression(DataBase& db, const DbTbl& tbl, const std::string& nom, const TexteSuppression& texte);

/// An index of the layer as a description, its fields under the names kept in memory.
[[nodiscard]] ado::Index Description(const DbIdx& idx);

/// "(" the columns between two marks, joined by ",", each followed by " DESC" when descending ")".
[[nodiscard]] std::string ListeChamps(const ado::Index& index, char marque, bool majuscules);

/// A name between two marks, and the same in upper case.
[[nodiscard]] std::string Entre(char marque, const std::string& nom);
[[nodiscard]] std::string EntreMajuscules(char marque, const std::string& nom);

}  // namespace tamlo::db::ddl
