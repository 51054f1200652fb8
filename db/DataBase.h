#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "ado/Catalog.h"
#include "ado/Connection.h"
#include "ado/Recordset.h"
#include "db/Alias.h"
#include "db/BilanCopie.h"
#include "db/DbRlt.h"
#include "db/DbTbl.h"
#include "db/ListeTables.h"
#include "db/Parcours.h"
#include "db/Relations.h"
#include "runtime/Error.h"

namespace tamlo::db {

namespace kinds {
class Moteur;
}

/// Backend kinds. Any other value is a generic ODBC source.
enum Kind : std::int16_t { TypJet = 0, TypSqlServer = 1, TypOracle = 2, TypMySql = 3, TypOdbc = 4 };

/// Names of the catalog tables.
inline constexpr const char* kTblKorv = "$TBLKORV$";
inline constexpr const char* kFldKorv = "$FLDKORV$";
inline constexpr const char* kIdxKorv = "$IDXKORV$";
inline constexpr const char* kRltKorv = "$RLTKORV$";

/// One error that Ouvre has met and has not raised.
struct ErreurOuverture {
  std::string etape;  ///< "ouverture" when it was refused; else the step that was left or went on without it: "liste des tables", ...
  std::string table;  ///< the table at hand; empty when there was none
  std::int32_t numero = 0;
  std::string description;
};

/// One difference between what the backend, the memory and the catalog say of a table, or one change of the catalog.
struct EcartCatalogue {
  std::string table;
  std::string texte;  ///< in words, without the table's name
};

/// One open database of one of five kinds: the ADO connection, a catalog bound to it, the table list, the aliases and
/// the relations. New, then open (Ouvre), then closed (Ferme); not closed by its destructor's silence alone: the
/// program calls Ferme. Apart from Ouvre, which shows its own failure, every failure is raised as runtime::Error. One
/// thread.
class DataBase {
 public:
  DataBase();
  ~DataBase();
  DataBase(const DataBase&) = delete;
  DataBase& operator=(const DataBase&) = delete;

  /// Opens; false after having told the reason to a person (Environnement::message) and to the program (ListeErr(0)). Nom, Typ and AvecMvt
  /// hold the arguments in both cases.
  bool Ouvre(const std::string& nom, std::int16_t typ, bool avecMvt);
  /// The errors of the last Ouvre that it did not raise, in their order; 0 when all went well. They stay until the next Ouvre or Ferme.
  [[nodiscard]] std::int16_t NbErr() const noexcept { return static_cast<std::int16_t>(erreurs_.size()); }
  /// Position from 0. Error 9 outside.
  [[nodiscard]] const ErreurOuverture& ListeErr(std::int16_t i) const;
  /// Closes the connection if there is one, with those of earlier openings, and empties all lists. Error 3246 in a transaction: everything
  /// then stays as it is.
  void Ferme();

  [[nodiscard]] const std::string& Nom() const noexcept { return nom_; }
  /// The kind as decimal text.
  [[nodiscard]] std::string Typ() const { return std::to_string(typ_); }
  [[nodiscard]] bool AvecMvt() const noexcept { return avecMvt_; }
  void AvecMvt(bool avecMvt) noexcept { avecMvt_ = avecMvt; }
  /// Of the connection. Error 91 when there is none, 3265 when the provider lacks the property.
  [[nodiscard]] std::string ConnectionString() const;
  [[nodiscard]] std::string Provider() const;
  [[nodiscard]] std::string UID() const;
  [[nodiscard]] std::string Pwd() const;
  /// Engine type of an Access file; "5" for every other kind.
  [[nodiscard]] std::string Version() const;
  /// Date literal picture found by the probe: empty except on MySQL.
  [[nodiscard]] const std::string& FmtDate() const noexcept { return fmtDate_; }

  /// Opens a query written in the layer's dialect. option: 0 forward-only, 1 keyset table-direct, 2 dynamic (AddNew,
  /// Update), 3 static (read here and now), any other value: returned unopened. A statement that gives no rows is run and comes back
  /// closed. Error 3709 without a connection.
  [[nodiscard]] ado::Recordset OpenRecordSet(const std::string& sql, std::int16_t option) const;
  /// Runs a statement of the dialect without a time limit. Error 91 without a connection.
  void ExecuteSQL(const std::string& sql);
  /// Nothing on SQL Server; elsewhere the provider's. Error -2147168242 for an end without a beginning.
  void BeginTrans();
  void CommitTrans();
  void RollBack();
  /// Largest value of the field plus 1; 1 for an empty table. No reservation.
  [[nodiscard]] std::int32_t GetCptSuiv(const std::string& table, const std::string& champ) const;
  /// True when the connected user holds the Oracle system privilege; always true on other kinds.
  [[nodiscard]] bool PrivilegeOK(const std::string& privilege) const;
  /// Rewrites a statement of the dialect for this kind, in place. Errors 5 and 6; the text is then partly translated.
  void FormateSSQL(std::string& sql) const;

  [[nodiscard]] std::int16_t NbTbl() const noexcept { return tables_.Nb(); }
  /// By name or by position from 0 as text. Error 9 when there is none.
  [[nodiscard]] DbTbl& ListeTbl(const std::string& nom) { return tables_.Liste(nom); }
  [[nodiscard]] const DbTbl& ListeTbl(const std::string& nom) const { return tables_.Liste(nom); }
  /// The listed tables in their order, for a range-based for. Void once a table is added or dropped, as at Ferme.
  [[nodiscard]] Parcours<DbTbl, ListeTables::Entree> Tables() { return Parcours<DbTbl, ListeTables::Entree>(tables_.Entrees()); }
  [[nodiscard]] Parcours<const DbTbl, ListeTables::Entree> Tables() const {
    return Parcours<const DbTbl, ListeTables::Entree>(tables_.Entrees());
  }
  /// Asks the backend's catalog, not the table list; false on any error.
  [[nodiscard]] bool ExisteTbl(const std::string& nom) const;
  /// Names a table; alias: the table's own name when blank. A name that is known keeps its table and visibility, and takes the label where
  /// it has none. Nothing for a blank table.
  void AddAlias(const std::string& table, const std::string& alias, const std::string& libelle, bool visible) {
    alias_.Add(table, alias, libelle, visible);
  }
  /// The argument itself when no alias matches (VisAlias: false).
  [[nodiscard]] std::string TblReel(const std::string& alias) const { return alias_.TblReel(alias); }
  [[nodiscard]] std::string LibAlias(const std::string& alias) const { return alias_.Lib(alias); }
  [[nodiscard]] bool VisAlias(const std::string& alias) const { return alias_.Vis(alias); }
  /// All aliases in their order, for a range-based for.
  [[nodiscard]] const db::Alias& Alias() const noexcept { return alias_; }
  /// Always false.
  [[nodiscard]] bool SupporteTable() const noexcept { return false; }

  [[nodiscard]] std::int16_t NbRlt() const noexcept { return relations_.Nb(); }
  /// Position from 0. Error 9 outside.
  [[nodiscard]] DbRlt& ListeRlt(std::int16_t i) { return relations_.Liste(i); }
  [[nodiscard]] const DbRlt& ListeRlt(std::int16_t i) const { return relations_.Liste(i); }
  /// The relations in their order, for a range-based for. Void once one is added, as at Ferme.
  [[nodiscard]] Parcours<const DbRlt, db::Relations::Entree> Relations() const {
    return Parcours<const DbRlt, db::Relations::Entree>(relations_.Entrees());
  }
  /// A chain of relations from one alias to the other, the first in registry order; empty when there is none or aliasDe
  /// was visited.
  void GetListeRlt(const std::string& aliasDe, const std::string& aliasVers, std::vector<DbRlt*>& chaine, std::int16_t& longueur,
                   const std::string& visites) {
    relations_.Chaine(aliasDe, aliasVers, chaine, longueur, visites);
  }
  /// Registers a relation in memory; false when one between the same aliases exists. The flag is stored inverted.
  bool AddRlt(const std::string& aliasSrc, const std::string& fldSrc, const std::string& aliasCbl, const std::string& fldCbl,
              std::int32_t typ, std::int32_t typInv, bool obg) {
    return relations_.Add(aliasSrc, fldSrc, aliasCbl, fldCbl, typ, typInv, obg);
  }
  /// Appends a relation as it stands; Access only, nothing on other kinds.
  void AddRltAttachee(const DbRlt& rlt);

  /// Creates the table in the backend, lists it and records it in the catalog. On an error of the creation it is not
  /// listed. Error 5 for names and field lists that the catalog cannot hold (30 and 50 characters), before anything is done.
  DbTbl& AddTbl(std::unique_ptr<DbTbl> tbl);
  /// Drops a table with its catalog rows; nothing when the backend has none of that name, in whatever case.
  void SupTbl(const std::string& nom);
  /// Rebuilds the table, field and index catalogs from the table list: table by table, each its own row, its fields, its indexes. A row that
  /// the backend refuses ends it with its error, which names the table; the rows before it are in the catalog. Any other error leaves the
  /// catalog empty, so that the next opening builds it (on Access: as it was).
  void RecreeCatalogue();
  /// The same as a repair: tables, fields and indexes that the backend has otherwise than the table list are first read from it anew. Tells
  /// each row of the catalog that has come, gone or changed by it, also where it ends with an error.
  void RecreeCatalogue(std::vector<EcartCatalogue>& changements);
  /// Compares backend, memory and catalog of one table, or of all and of rows that belong to none (blank), and tells each difference; empty
  /// when they agree. Changes nothing. What the three are meant to hold differently is no difference: types that one column type of the backend
  /// stands for, a primary key that the backend keeps as a unique index (SQL Server, Oracle), directions of index fields on MySQL, and what
  /// an opening does not take from the catalog (movements, mandatory, initial value, format).
  [[nodiscard]] std::vector<EcartCatalogue> VerifieCatalogue(const std::string& nom = {});
  /// Writes all catalog rows of one table through the three recordsets, opening those that are nullptr.
  void SauveTblCatalogue(const DbTbl& tbl, ado::Recordset* rsTbl, ado::Recordset* rsFld, ado::Recordset* rsIdx);

  /// Copies all rows of a table into the table of that name of another open database, which is created when missing. After an error of
  /// the rows, which is an ErreurCopie, those before the one that it names are in the target, between two Access files none.
  CopieBilan CopieDonnees(const std::string& nom, DataBase& cible, const CopieOptions& options = {}) const;
  /// Gives cible a table with the structure of this one's table nom (ajoute) and its rows (copie).
  CopieBilan TblCopie(const std::string& nom, DataBase& cible, bool ajoute, bool copie, const CopieOptions& options = {}) const;
  /// Copies this whole Access database into a new file, as it is at one moment, while other programs read and write it: who wants to write
  /// waits until it is done. The copy stands under its name whole or not at all. Error 3251 on other kinds, 3246 in a transaction, 91 without
  /// a connection, -2147467259 when there is a file of that name or none can be made, 3006 when another program writes for too long.
  void CopieBase(const std::string& fichier) const;
  /// Reads the table on both sides and compares the rows, whatever their order on a key. It does not trust the way that copied: values are read
  /// one by one, as the server's own text where the provider knows how to ask for it.
  [[nodiscard]] VerifieBilan VerifieCopie(const std::string& nom, const DataBase& cible) const;

  /// Links a table of another database into this Access database under nomLocal (the table's own name when blank), with its indexes, and
  /// records it in the catalog where its names fit in there; nothing on other kinds and for a name that is taken. Error 5 for a source
  /// without a data source name.
  void AddTblAttachee(const DbTbl& source, const std::string& nomLocal);
  /// Links it anew; nothing on other kinds. Error 5, and nothing is done, for a source without a data source name and for a table that is
  /// not an attached one.
  void ModTblAttachee(const DbTbl& source, const std::string& nom);

  /// For the rooms of the layer: the connection (error 91 when there is none) and its catalog.
  [[nodiscard]] ado::Connection& Connexion() const;
  [[nodiscard]] ado::Catalog& Catalogue() const;
  [[nodiscard]] std::int16_t Kind16() const noexcept { return typ_; }
  /// What the layer knows of this database's kind: whoever depends on the kind asks here, and compares no number.
  [[nodiscard]] const kinds::Moteur& Moteur() const;
  /// The listed table of that name, even where the name is a number: never one at a position. Error 9 when there is none.
  [[nodiscard]] DbTbl& TableNommee(const std::string& nom) const;
  /// True while Ouvre goes on: nothing is then asked of the sources of attached tables.
  [[nodiscard]] bool EnOuverture() const noexcept { return enOuverture_; }
  /// The structure of an attached table: that of the table behind the link where its database is open in this program, else the link's
  /// own description, which reaches the source when it is asked for.
  [[nodiscard]] ado::Table ResoutLien(const std::string& nom) const;
  /// The lists themselves.
  [[nodiscard]] ListeTables& TablesListees() noexcept { return tables_; }
  [[nodiscard]] db::Relations& RelationsListees() noexcept { return relations_; }
  /// True when the table list has one of that name.
  [[nodiscard]] bool EstListee(const std::string& nom) const { return tables_.Nommee(nom) != nullptr; }
  /// Lists a table of the backend (an attached one) with its definition, as DbTbl::Init (InitAttachee) reads it; nothing when one of its name
  /// is listed.
  void AjouteTable(ado::Table& table, ado::Recordset* rsFld, ado::Recordset* rsIdx, const std::string& owner);
  void AjouteTableAttachee(const std::string& nom, ado::Recordset* rsFld, ado::Recordset* rsIdx);
  /// Records a new table in the catalog, in the place of rows that an older one of its name has left behind.
  void InscritAuCatalogue(DbTbl& tbl);
  /// The table at hand in the step of the opening, which is named where the step fails; blank for none.
  void TableEnCours(const std::string& nom) { tableEnCours_ = nom; }
  /// Keeps an error that the opening goes on with; nothing outside of an opening.
  void NoteErreur(const std::string& table, const runtime::PendingError& erreur);

 private:
  void OuvreConnexion();
  void InitialiseOuverture();
  void ChargeListeTbl();
  void ChargeListeRlt();
  void TesteFormatDate();
  /// Runs one step of the opening; its error is kept for ListeErr.
  void Etape(const char* etape, const std::function<void()>& faire);

  std::unique_ptr<ado::Catalog> catalogue_;
  std::string nom_;
  std::int16_t typ_ = TypJet;
  bool avecMvt_ = false;
  bool enOuverture_ = false;
  std::string fmtDate_;
  std::unique_ptr<ado::Connection> connexion_;
  std::vector<std::unique_ptr<ado::Connection>> precedentes_;  // of earlier openings: catalogue_ or open recordsets still look at them
  ListeTables tables_;
  db::Alias alias_;
  db::Relations relations_;
  std::vector<ErreurOuverture> erreurs_;
  std::string etapeEnCours_;  // of the opening; empty outside of it
  std::string tableEnCours_;  // at hand in that step
};

}  // namespace tamlo::db
