// Any other ODBC source, as far as its driver tells, and which reader is whose.
#include "ado/Catalog.h"
#include "base/Case.h"
#include "runtime/Error.h"
#include "schema/Address.h"
#include "schema/Reading.h"

namespace tamlo::schema {
namespace {

Type TypeOf(const ado::Column& column) {
  const int size = static_cast<int>(std::min<std::int64_t>(column.definedSize, 1 << 30));
  switch (column.type) {
    case ado::adBoolean:
      return {.kind = Kind::kBoolean};
    case ado::adUnsignedTinyInt:
      return {.kind = Kind::kByte};
    case ado::adTinyInt:
    case ado::adSmallInt:
      return {.kind = Kind::kShort};
    case ado::adUnsignedSmallInt:
    case ado::adInteger:
      return {.kind = Kind::kLong};
    case ado::adUnsignedInt:
      return {.kind = Kind::kDecimal, .precision = 10};
    case ado::adBigInt:
      return {.kind = Kind::kBig};
    case ado::adUnsignedBigInt:
      return {.kind = Kind::kDecimal, .precision = 20};
    case ado::adSingle:
      return {.kind = Kind::kSingle};
    case ado::adDouble:
      return {.kind = Kind::kDouble};
    case ado::adCurrency:
      return {.kind = Kind::kCurrency};
    case ado::adNumeric:
      return {.kind = Kind::kDecimal, .precision = column.precision, .scale = column.numericScale};
    case ado::adDate:
    case ado::adDBDate:
    case ado::adDBTime:
    case ado::adDBTimeStamp:
      return {.kind = Kind::kMoment};
    case ado::adGUID:
      return {.kind = Kind::kGuid};
    case ado::adBinary:
    case ado::adVarBinary:
      return size > 0 ? Type{.kind = Kind::kBinary, .length = size} : Type{.kind = Kind::kBlob};
    case ado::adLongVarBinary:
      return {.kind = Kind::kBlob};
    case ado::adChar:
    case ado::adWChar:
    case ado::adVarChar:
    case ado::adVarWChar:
      return size > 0 ? Type{.kind = Kind::kText, .length = size} : Type{.kind = Kind::kMemo};
    default:
      return {.kind = Kind::kMemo};
  }
}

Column ColumnOf(const ado::Column& read) {
  Column column;
  column.name = read.name;
  column.type = TypeOf(read);
  column.required = (read.attributes & ado::adColNullable) == 0;
  if (read.properties.Has("AutoIncrement") && read.properties.Item("AutoIncrement") == ado::Variant(true))
    column.counter = Counter{Counter::Kind::kIncrement, 1};
  return column;
}

Index IndexOf(const ado::Index& read) {
  Index index{
      .name = read.name, .parts = {}, .primary = read.primaryKey, .unique = read.unique, .ignoreNulls = false, .required = read.primaryKey};
  for (const ado::Column& part : read.columns) index.parts.push_back({part.name, part.sortOrder == ado::adSortDescending});
  return index;
}

void AddRelations(Reading& reading, ado::Table& from) {
  for (const ado::Key& key : from.Keys()) {
    if (key.type != ado::adKeyForeign) continue;
    Relation relation{.name = key.name, .table = from.Name(), .referenced = key.relatedTable, .columns = {}};
    for (const auto& column : key.columns) relation.columns.emplace_back(column.name, column.relatedColumn);
    relation.cascadeUpdates = key.updateRule == ado::adRICascade;
    relation.cascadeDeletes = key.deleteRule == ado::adRICascade;
    reading.Read().relations.push_back(std::move(relation));
  }
}

}  // namespace

Database ReadOther(ado::Connection& connection, const ReadOptions& options) {
  const ado::Variant product = connection.Property("DBMS Name");
  const bool brackets = product.IsText() && EngineNamed(*product.If<std::string>()) == Engine::kSqlServer;
  // Names stand between double quotes, which is Oracle's way and the standard's.
  Reading reading(connection, brackets ? Engine::kSqlServer : Engine::kOracle, options);
  ado::Catalog catalog(connection);
  for (std::size_t i = 0; i < catalog.TableCount(); ++i) {
    ado::Table& from = catalog.Tables(i);
    if (from.Type() != "TABLE") continue;
    Table table;
    table.name = from.Name();
    for (const ado::Column& column : from.Columns()) table.columns.push_back(ColumnOf(column));
    for (const ado::Index& index : from.Indexes()) table.indexes.push_back(IndexOf(index));
    const auto refused = runtime::IgnoringErrors([&] { AddRelations(reading, from); });
    if (refused) reading.Lost(table.name, {}, What::kRelationsUntold, {refused.description});
    reading.Lost(table.name, {}, What::kAsDriverTells);
    reading.Read().tables.push_back(std::move(table));
  }
  return reading.Finish();
}

Database Read(ado::Connection& connection, std::optional<Engine> engine, const ReadOptions& options) {
  if (engine == Engine::kMariaDb) return ReadMariaDb(connection, options);
  if (engine == Engine::kPostgreSql) return ReadPostgreSql(connection, options);
  if (engine == Engine::kSqlite) return ReadSqlite(connection, options);
  return ReadOther(connection, options);
}

}  // namespace tamlo::schema
