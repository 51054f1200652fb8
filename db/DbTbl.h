#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "ado/Catalog.h"
#include "ado/Recordset.h"
#include "db/DbFld.h"
#include "db/DbIdx.h"
#include "db/Parcours.h"

namespace tamlo::db {

class DataBase;
class ListeTables;
struct CleLue;

/// Definition of one table: fields and indexes with their lookups and edits. Owned by the table list of its DataBase,
/// or by the program that describes a new table (no Db) until it hands it to DataBase::AddTbl. Keys of lookups are a
/// name, or a position from 0 in decimal.
class DbTbl {
 public:
  DbTbl() = default;
  DbTbl(const DbTbl&) = delete;
  DbTbl& operator=(const DbTbl&) = delete;

  /// The field (index) of that key. Error 9 when there is none, or for a number outside the list.
  [[nodiscard]] DbFld& ListeFld(const std::string& cle);
  [[nodiscard]] const DbFld& ListeFld(const std::string& cle) const;
  [[nodiscard]] DbIdx& ListeIdx(const std::string& cle);
  [[nodiscard]] const DbIdx& ListeIdx(const std::string& cle) const;
  /// The fields (indexes) in their order, for a range-based for. Void once one is added or dropped.
  [[nodiscard]] Parcours<DbFld, std::unique_ptr<DbFld>> Champs();
  [[nodiscard]] Parcours<const DbFld, std::unique_ptr<DbFld>> Champs() const;
  [[nodiscard]] Parcours<DbIdx, std::unique_ptr<DbIdx>> Index();
  [[nodiscard]] Parcours<const DbIdx, std::unique_ptr<DbIdx>> Index() const;

  /// Loads the definition of a backend's table, from the catalog's open recordsets where given (nullptr: no catalog),
  /// else from the backend alone. A table that cannot be opened stays without fields and indexes, without an error;
  /// other errors go to the caller.
  void Init(DataBase& db, ado::Table& table, bool avecMvt, ado::Recordset* rsFld, ado::Recordset* rsIdx, const std::string& owner);
  /// The same for an attached table, whose source is not reached now: fields and indexes are those of the catalog's rows, the types of the
  /// fields follow when they are asked for. Without rows the whole definition is read when it is first asked for; while the source cannot be
  /// reached it is empty.
  void InitAttachee(DataBase& db, const std::string& nom, bool avecMvt, ado::Recordset* rsFld, ado::Recordset* rsIdx);

  /// Stored trimmed and upper-cased.
  void Nom(const std::string& nom);
  void Db(DataBase* db) noexcept { db_ = db; }
  [[nodiscard]] DataBase* Db() const noexcept { return db_; }

  /// True when the connected user holds the privilege ("SELECT", "INSERT") on this table; always on kinds other than
  /// Oracle.
  [[nodiscard]] bool PrivilegeOK(const std::string& privilege) const;

  /// Write the catalog row of one field (index), through rs, or through a recordset of its own when rs is nullptr.
  /// Nothing for the four catalog tables.
  void SauveFld(const DbFld& fld, ado::Recordset* rs) const;
  void SauveIdx(const DbIdx& idx, ado::Recordset* rs) const;

  /// Drops the index of that name, even where the name is a number; nothing when there is none or the backend refuses and still has it.
  void SupIdx(const std::string& nom);
  /// Adds a field; with a Db also to the backend and the catalog, where its number is behind the highest one, and nothing when the field
  /// exists. Without a Db no duplicate check. Error 5 for a name that the catalog cannot hold, before anything is done.
  void AddFld(const std::string& nom, std::int32_t typ, std::int32_t lg, bool estCpt);
  /// Adds an index on an encoded field list ("a;-b"); nothing when one of that name exists. With a Db also to the
  /// backend and the catalog. Error 5 for a name or a list that the catalog cannot hold, before anything is done.
  void AddIdx(const std::string& nom, const std::string& champs, bool primaire, bool unique);
  /// True when any index holds the field at any of its positions.
  [[nodiscard]] bool ExisteIdxSurFld(const std::string& champ) const;

  [[nodiscard]] const std::string& Nom() const noexcept { return nom_; }
  [[nodiscard]] const std::string& Owner() const noexcept { return owner_; }
  void Owner(const std::string& owner);
  [[nodiscard]] bool AvecMvt() const noexcept { return avecMvt_; }
  /// Stores and writes the movement flag, and gives it to the tables linked by relations; nothing when it does not
  /// change.
  void AvecMvt(bool avecMvt);
  [[nodiscard]] std::int16_t NbFld() const { return static_cast<std::int16_t>(Connue().champs_.size()); }
  /// True when a field is a counter.
  [[nodiscard]] bool ExisteCpt() const;
  /// Drops the field of that name, even where the name is a number; nothing when there is none or the backend refuses. Indexes that the backend narrows or drops with it
  /// follow in memory and catalog.
  void SupFld(const std::string& nom);
  [[nodiscard]] std::int16_t NbIdx() const { return static_cast<std::int16_t>(Connue().index_.size()); }
  /// True when the name is known; always true for a number.
  [[nodiscard]] bool ExisteFld(const std::string& nom) const;
  /// True when the name (on Oracle: table name, "_", name) is known; always true for a number elsewhere.
  [[nodiscard]] bool ExisteIdx(const std::string& nom) const;

  /// For the rooms of the layer: the position of the field of exactly that name in lower case, even where it is a number; -1 when there is
  /// none.
  [[nodiscard]] std::int16_t PlaceFld(const std::string& nom) const;
  /// True for a table that was loaded by InitAttachee.
  [[nodiscard]] bool Attachee() const noexcept { return attachee_; }
  /// Reads the definition of an attached table from its source, or the types that its fields wait for; errors go to the caller.
  void LitDefinition() const;
  void LitTypes() const;
  /// Takes over the indexes of another definition, and its fields where this one has none.
  void Reprend(const DbTbl& source);
  /// Reads fields and indexes from the backend anew; fields that were known stay in their order, the others follow.
  void Relit(ado::Table& table);
  /// The list that holds this table: it is told when the name or the owner changes.
  void ListeeDans(ListeTables* liste) noexcept { liste_ = liste; }

 private:
  /// This table, its definition read where that was put off. Not while its database is being opened; errors are not raised.
  [[nodiscard]] const DbTbl& Connue() const;

  [[nodiscard]] std::int16_t PosFld(const std::string& cle) const;
  [[nodiscard]] std::int16_t PosIdx(const std::string& cle) const;
  /// The same by name alone: what drops never goes by a position. -1 when there is none.
  [[nodiscard]] std::int16_t FldNomme(const std::string& nom) const;
  [[nodiscard]] std::int16_t IdxNomme(const std::string& nom) const;
  [[nodiscard]] ado::Index LitChampsIdx(const std::string& nom, const std::string& champs, bool primaire, bool unique) const;
  bool ChargeFldTable();
  void ChargeFldCatalogue(ado::Table* table, ado::Recordset& rsFld);
  void ChargeIdxTable(ado::Table& table) const;
  void ChargeIdxCatalogue(ado::Recordset& rsIdx);
  using CacheCles = std::optional<std::vector<CleLue>>;
  void AjouteChampCharge(const std::string& nom, std::int16_t typ, double lg, bool estCpt, std::int16_t no) const;
  void AjouteIndexCharge(const ado::Index& index, CacheCles& cles) const;
  /// An index over a field, and the backend's name of it.
  struct IndexTouche {
    DbIdx* idx;
    std::string nomBase;
  };
  [[nodiscard]] std::vector<IndexTouche> IndexSur(const std::string& champ);
  /// Takes a dropped field out of the indexes over it where the backend has done so; those without fields are gone.
  void IndexSansChamp(const std::vector<IndexTouche>& touches);
  /// The catalog's row of a dropped field goes, and the numbers behind it move up. position: in memory, -1 for a field that was not there.
  void OublieFld(const std::string& champ, std::int16_t position);
  [[nodiscard]] bool EstTableCatalogue() const noexcept;
  [[nodiscard]] DataBase& DbRequis() const;

  std::string nom_;
  std::string owner_;
  DataBase* db_ = nullptr;
  ListeTables* liste_ = nullptr;  // told when the name or the owner changes
  // unique_ptr: a field or index keeps its address while the list grows. mutable: the definition of an attached table is read when it is
  // first asked for; for its users the table is the same before and after.
  mutable std::vector<std::unique_ptr<DbFld>> champs_;
  mutable std::vector<std::unique_ptr<DbIdx>> index_;
  mutable bool aLire_ = false;           // attached, and its definition was not asked for yet; mutable as the definition
  mutable std::int16_t dernierFld_ = 0;  // mutable, as the next: a hint for the next lookup, the position that was found last
  mutable std::int16_t dernierIdx_ = 0;
  bool avecMvt_ = false;
  bool attachee_ = false;
  bool numerosTroues_ = false;  // the catalog's numbers of the fields are not their positions: it has rows of columns that are gone
};

}  // namespace tamlo::db
