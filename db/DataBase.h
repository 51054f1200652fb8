#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "ado/Catalog.h"
#include "ado/Connection.h"
#include "ado/Recordset.h"
#include "db/DbRlt.h"
#include "db/DbTbl.h"
#include "runtime/Error.h"

namespace tamlo::db {

class Patience;
namespace kinds {
class Moteur;
}
namespace sql {
class TablesQualifiees;
}

/// Backend kinds. Any other value is a generic ODBC source.
enum Kind : std::int16_t { TypJet = 0, TypSqlServer = 1, TypOracle = 2, TypMySql = 3, TypOdbc = 4 };

/// Names of the catalog tables.
inline constexpr const char* kTblKorv = "$TBLKORV$";
inline constexpr const char* kFldKorv = "$FLDKORV$";
inline constexpr const char* kIdxKorv = "$IDXKORV$";
inline constexpr const char* kRltKorv = "$RLTKORV$";

/// What a copy of rows tells the program; see DataBase::CopieDonnees.
struct CopieOptions {
  /// Called with the rows done, at most every 100 ms; false stops the copy between two rows. Not called between two Access files, where one
  /// statement, whole or not at all, copies everything. It must leave the source alone, which another thread is reading.
  std::function<bool(std::int64_t lignes)> progression;
  /// Rows at the beginning of the source that are left out, because an earlier copy brought them: a copy that broke off goes on so. The source
  /// must give its rows in the order of that time.
  std::int64_t debut = 0;
};
struct CopieBilan {
  std::int64_t lues = 0;     ///< those left out included
  std::int64_t ecrites = 0;  ///< by this copy
  bool arretee = false;      ///< stopped by the progress callback
};
/// A copy that broke off: how many rows of the source, counted from its first one, are in the target (CopieOptions::debut included). The two
/// numbers differ when the connection went while the answer to the last batch was awaited; the target itself then tells, and the copy can go on
/// from there.
class ErreurCopie : public runtime::Error {
 public:
  ErreurCopie(const runtime::Error& erreur, std::int64_t auMoins, std::int64_t auPlus)
      : runtime::Error(erreur), auMoins_(auMoins), auPlus_(auPlus) {}
  [[nodiscard]] std::int64_t AuMoins() const noexcept { return auMoins_; }
  [[nodiscard]] std::int64_t AuPlus() const noexcept { return auPlus_; }

 private:
  std::int64_t auMoins_;
  std::int64_t auPlus_;
};
/// What a comparison of a table on both sides found.
struct VerifieBilan {
  std::int64_t lignesSource = 0;
  std::int64_t lignesCible = 0;
  std::int64_t differences = 0;    ///< rows that differ or stand on one side only
  std::string premiereDifference;  ///< table, row and column of the first one, in words; empty when there is none
  [[nodiscard]] bool Egales() const noexcept { return differences == 0 && lignesSource == lignesCible; }
};

/// One error that Ouvre has met after the connection stood, and has not raised.
struct ErreurOuverture {
  std::string etape;  ///< the step that was left or went on without it: "liste des tables", "relations", "format des dates", ...
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

  /// Opens; false after having shown the reason in a message box. Nom, Typ and AvecMvt hold the arguments in both
  /// cases.
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
  [[nodiscard]] ado::Recordset OpenRecordSet(const std::string& sql, std::int16_t option);
  /// Runs a statement of the dialect without a time limit. Error 91 without a connection.
  void ExecuteSQL(const std::string& sql);
  /// Nothing on SQL Server; elsewhere the provider's. Error -2147168242 for an end without a beginning.
  void BeginTrans();
  void CommitTrans();
  void RollBack();
  /// Largest value of the field plus 1; 1 for an empty table. No reservation.
  [[nodiscard]] std::int32_t GetCptSuiv(const std::string& table, const std::string& champ);
  /// True when the connected user holds the Oracle system privilege; always true on other kinds.
  [[nodiscard]] bool PrivilegeOK(const std::string& privilege);
  /// Rewrites a statement of the dialect for this kind, in place. Errors 5 and 6; the text is then partly translated.
  void FormateSSQL(std::string& sql) const;

  [[nodiscard]] std::int16_t NbTbl() const noexcept { return static_cast<std::int16_t>(tables_.size()); }
  /// By name or by position from 0 as text. Error 9 when there is none.
  [[nodiscard]] DbTbl& ListeTbl(const std::string& nom);
  /// Asks the backend's catalog, not the table list; false on any error.
  [[nodiscard]] bool ExisteTbl(const std::string& nom);
  void AddAlias(const std::string& table, const std::string& alias, const std::string& libelle, bool visible);
  /// The argument itself when no alias matches (VisAlias: false).
  [[nodiscard]] std::string TblReel(const std::string& alias) const;
  [[nodiscard]] std::string LibAlias(const std::string& alias) const;
  [[nodiscard]] bool VisAlias(const std::string& alias) const;
  /// Always false.
  [[nodiscard]] bool SupporteTable() const noexcept { return false; }

  [[nodiscard]] std::int16_t NbRlt() const noexcept { return static_cast<std::int16_t>(relations_.size()); }
  /// Position from 0. Error 9 outside.
  [[nodiscard]] DbRlt& ListeRlt(std::int16_t i);
  /// A chain of relations from one alias to the other, the first in registry order; empty when there is none or aliasDe
  /// was visited.
  void GetListeRlt(const std::string& aliasDe, const std::string& aliasVers, std::vector<DbRlt*>& chaine, std::int16_t& longueur,
                   const std::string& visites);
  /// Registers a relation in memory; false when one between the same aliases exists. The flag is stored inverted.
  bool AddRlt(const std::string& aliasSrc, const std::string& fldSrc, const std::string& aliasCbl, const std::string& fldCbl,
              std::int32_t typ, std::int32_t typInv, bool obg);
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
  void SauveTblCatalogue(DbTbl& tbl, ado::Recordset* rsTbl, ado::Recordset* rsFld, ado::Recordset* rsIdx);

  /// Copies all rows of a table into the table of that name of another open database, which is created when missing. After an error of
  /// the rows, which is an ErreurCopie, those before the one that it names are in the target, between two Access files none.
  CopieBilan CopieDonnees(const std::string& nom, DataBase& cible, const CopieOptions& options = {});
  /// Gives cible a table with the structure of this one's table nom (ajoute) and its rows (copie).
  CopieBilan TblCopie(const std::string& nom, DataBase& cible, bool ajoute, bool copie, const CopieOptions& options = {});
  /// Copies this whole Access database into a new file, as it is at one moment, while other programs read and write it: who wants to write
  /// waits until it is done. The copy stands under its name whole or not at all. Error 3251 on other kinds, 3246 in a transaction, 91 without
  /// a connection, -2147467259 when there is a file of that name or none can be made, 3006 when another program writes for too long.
  void CopieBase(const std::string& fichier);
  /// Reads the table on both sides and compares the rows, whatever their order on a key. It does not trust the way that copied: values are read
  /// one by one, as the server's own text where the provider knows how to ask for it.
  [[nodiscard]] VerifieBilan VerifieCopie(const std::string& nom, DataBase& cible);

  /// Links a table of another database into this Access database under nomLocal (the table's own name when blank), with its indexes, and
  /// records it in the catalog where its names fit in there; nothing on other kinds and for a name that is taken. Error 5 for a source
  /// without a data source name.
  void AddTblAttachee(DbTbl& source, const std::string& nomLocal);
  /// Links it anew; nothing on other kinds. Error 5, and nothing is done, for a source without a data source name and for a table that is
  /// not an attached one.
  void ModTblAttachee(DbTbl& source, const std::string& nom);

  /// For the rooms of the layer: the connection (error 91 when there is none) and its catalog.
  [[nodiscard]] ado::Connection& Connexion() const;
  [[nodiscard]] ado::Catalog& Catalogue() const;
  [[nodiscard]] std::int16_t Kind16() const noexcept { return typ_; }
  /// What the layer knows of this database's kind: whoever depends on the kind asks here, and compares no number.
  [[nodiscard]] const kinds::Moteur& Moteur() const;
  /// The listed table of that name, even where the name is a number: never one at a position. Error 9 when there is none.
  [[nodiscard]] DbTbl& TableNommee(const std::string& nom);
  /// True while Ouvre goes on: nothing is then asked of the sources of attached tables.
  [[nodiscard]] bool EnOuverture() const noexcept { return enOuverture_; }
  /// The structure of an attached table: that of the table behind the link where its database is open in this program, else the link's
  /// own description, which reaches the source when it is asked for.
  [[nodiscard]] ado::Table ResoutLien(const std::string& nom);

 private:
  struct EntreeTbl {
    std::unique_ptr<DbTbl> tbl;
    std::string nom;
  };
  struct EntreeAlias {
    std::string alias;
    std::string table;
    std::string libelle;
    bool visible = false;
  };

  /// A table of the application in the backend.
  struct TableBase {
    std::string nom;  // as listed
    std::string owner;
    ado::Table table;
  };

  friend class DbTbl;  // a listed table tells of its changes of name and owner

  void OuvreConnexion();
  void InitialiseOuverture();
  [[nodiscard]] std::int16_t IndiceTbl(const std::string& nom) const;
  [[nodiscard]] std::int16_t IndiceAlias(const std::string& alias) const;
  void ChargeListeTbl();
  void LitListeTbl(Patience& patience);
  void ChargeListeRlt();
  void LitRelations();
  void TesteFormatDate();
  /// Runs one step of the opening; its error is kept for ListeErr.
  void Etape(const char* etape, const std::function<void()>& faire);
  /// Keeps an error that the opening goes on with; nothing outside of an opening.
  void NoteErreur(const std::string& table, const runtime::PendingError& erreur);
  [[nodiscard]] bool CataloguePresent();
  /// Whether a catalog that is there lacks what its building should have given it.
  [[nodiscard]] bool CatalogueInacheve(ado::Recordset& rsFld);
  [[nodiscard]] bool SansCle(const std::string& table);
  /// Hands back the error of a row that was refused: what stands before it is written.
  [[nodiscard]] std::optional<runtime::Error> RefaitCatalogue();
  void ConstruitCatalogue(Patience& patience);
  void ConstruitCatalogueMySql(Patience& patience);
  /// Makes a catalog table, or what is missing of it, and lists it. What another program makes meanwhile is taken as it is.
  void EtablitTableCatalogue(const std::string& nom);
  void CompleteCle(std::unique_ptr<DbTbl> voulue);
  enum class LignesPresentes : std::uint8_t { kAucune, kRestes, kAchevees };
  [[nodiscard]] LignesPresentes TientLignesCatalogue();
  /// Hands back the error of a row that was refused. regarde: first looks, inside of its transaction, what rows another program has written;
  /// nothing is done where they are whole, and those of a writing that did not end go first.
  [[nodiscard]] std::optional<runtime::Error> EcritLignesCatalogue(bool regarde);
  void AccordeTablesCatalogue();
  void CompleteSonde();
  void EtablitSonde();
  [[nodiscard]] std::vector<TableBase> TablesDeLaBase();
  void CompareALaBase(TableBase& table, DbTbl& memoire, const std::function<void(std::string)>& dit);
  void RelitDefinitions();
  [[nodiscard]] std::vector<std::pair<std::string, std::string>> TablesDesProprietaires();
  void AjouteTablesCatalogue(ado::Recordset* rsFld, ado::Recordset* rsIdx);
  void AjouteTablesDesProprietaires(ado::Recordset* rsFld, ado::Recordset* rsIdx);
  void AjouteTableAttachee(const std::string& nom, ado::Recordset* rsFld, ado::Recordset* rsIdx);
  [[nodiscard]] bool EstListee(const std::string& nom) const;
  void AjouteTable(ado::Table& table, ado::Recordset* rsFld, ado::Recordset* rsIdx, const std::string& owner);
  DbTbl& Inscrit(std::unique_ptr<DbTbl> tbl);
  /// Records a new table in the catalog, in the place of rows that an older one of its name has left behind.
  void InscritAuCatalogue(DbTbl& tbl);
  /// Takes the last table off the list.
  void Raye() noexcept;
  DbRlt& AjouteRlt(const DbRlt& rlt);
  /// The next translation reads names and owners anew.
  void NomsChanges() noexcept;

  std::unique_ptr<ado::Catalog> catalogue_;
  std::string nom_;
  std::int16_t typ_ = TypJet;
  bool avecMvt_ = false;
  bool enOuverture_ = false;
  std::string fmtDate_;
  std::unique_ptr<ado::Connection> connexion_;
  std::vector<std::unique_ptr<ado::Connection>> precedentes_;  // of earlier openings: catalogue_ or open recordsets still look at them
  std::vector<EntreeTbl> tables_;
  std::vector<EntreeAlias> alias_;
  std::vector<std::unique_ptr<DbRlt>> relations_;
  std::vector<ErreurOuverture> erreurs_;
  std::string etapeEnCours_;                                   // of the opening; empty outside of it
  std::string tableEnCours_;                                   // at hand in that step
  mutable std::unique_ptr<sql::TablesQualifiees> qualifiees_;  // index over tables_ for FormateSSQL; none until it is needed
  mutable std::int16_t dernierTbl_ = 0;
  mutable std::int16_t dernierAlias_ = 0;
};

}  // namespace tamlo::db
