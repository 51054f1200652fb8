#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include "ado/Catalog.h"

namespace tamlo::db {
class DataBase;
class DbFld;
class DbIdx;
class DbTbl;
}  // namespace tamlo::db

/// Definitions and edits in the backend: what the kind of the DataBase (db/kinds) says is made into objects of the connection's catalog or
/// sent. Memory and catalog rows are the caller's. Errors of the backend go to the caller as runtime::Error.
namespace tamlo::db::ddl {

/// Creates the table with its fields and indexes in the backend and refreshes the connection's catalog. Nothing on generic ODBC, and
/// nothing on the SQL kinds for a table without fields. Error 5 "Type <code> non géré" for a column that the kind cannot write, before
/// anything runs.
void CreeTable(DataBase& db, DbTbl& tbl);

/// Drops a column of the backend's table, by its name as the caller gave it. The backend's refusal is raised.
void SupprimeColonne(DataBase& db, const DbTbl& tbl, const std::string& nom);

/// Adds a column to the backend's table: by ALTER TABLE on Oracle and MySQL, through the connection's catalog on every other kind.
/// nom as the caller gave it, typ an ADO data-type code, lg its length.
void AjouteColonne(DataBase& db, DbTbl& tbl, const std::string& nom, std::int32_t typ, std::int32_t lg, bool estCpt);

/// Creates an index on a table that exists. index: name as kept in memory (upper case), flags, columns with their sort order.
/// Nothing on generic ODBC.
void CreeIndex(DataBase& db, DbTbl& tbl, const ado::Index& index);

/// The backend's name of an index: upper-cased table name, "_" and upper-cased index name on Oracle; the name itself elsewhere.
[[nodiscard]] std::string NomIndexBase(const DataBase& db, const DbTbl& tbl, const std::string& nom);

/// Drops an index from the backend: "DROP CONSTRAINT" of the dialect first, then the backend's plain form, then the backend's own
/// description decides. True when the index is no longer there, so that memory and catalog are to be cleaned; false when it still is.
/// Refusals are not raised.
[[nodiscard]] bool SupprimeIndex(DataBase& db, DbTbl& tbl, const DbIdx& idx);

/// The name under which the backend has an index now; "" when it has none. Nothing when the backend does not answer.
[[nodiscard]] std::optional<std::string> NomIndexPresent(DataBase& db, const DbTbl& tbl, const DbIdx& idx);

/// The index as it is kept in memory, without the fields that the backend no longer has in its index nomBase: without any when that is gone.
/// Nothing when the backend does not answer.
[[nodiscard]] std::optional<ado::Index> IndexRestant(DataBase& db, const DbTbl& tbl, const DbIdx& idx, const std::string& nomBase);

/// An index of the layer as a description, its fields under the names kept in memory.
[[nodiscard]] ado::Index Description(const DbIdx& idx);

/// True when both fields are kept in the same type of column, so that the backend cannot tell one from the other.
[[nodiscard]] bool MemeColonne(const DataBase& db, const DbFld& un, const DbFld& autre);

/// Sends the DROP TABLE text of the kind directly on the connection, untranslated. tbl: the listed definition, which gives Oracle its
/// owner, or nullptr when the table is not listed. The caller refreshes the connection's catalog.
void SupprimeTable(DataBase& db, const std::string& nom, const DbTbl* tbl);

}  // namespace tamlo::db::ddl
