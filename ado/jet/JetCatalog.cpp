#include "ado/jet/JetCatalog.h"

#include <algorithm>
#include <optional>

#include "ado/Errors.h"
#include "ado/Secrets.h"
#include "ado/jet/JetErrors.h"
#include "ado/jet/JetKeys.h"
#include "ado/jet/JetValues.h"
#include "jet/sql/Names.h"
#include "jet/sql/Session.h"
#include "runtime/Conversions.h"
#include "runtime/Text.h"

namespace tamlo::ado::jetprovider {

namespace {

constexpr const char* kAutoIncrement = "AutoIncrement";
constexpr const char* kAllowZeroLength = "Jet OLEDB:Allow Zero Length";
constexpr const char* kCreateLink = "Jet OLEDB:Create Link";
constexpr const char* kLinkDatasource = "Jet OLEDB:Link Datasource";
constexpr const char* kRemoteTableName = "Jet OLEDB:Remote Table Name";
constexpr const char* kLinkProviderString = "Jet OLEDB:Link Provider String";
constexpr const char* kCacheLink = "Jet OLEDB:Cache Link Name/Password";

constexpr std::uint32_t kBootstrap = 0x80000000;
constexpr std::uint32_t kQueryKind = 0xF0;
constexpr std::uint32_t kUnionQuery = 0x80;

std::string TypeName(const jet::CatalogObject& object) {
  switch (object.kind) {
    case jet::ObjectKind::kTable:
      return object.hidden ? "ACCESS TABLE" : "TABLE";
    case jet::ObjectKind::kSystemTable:
      return (object.flags & kBootstrap) != 0 ? "SYSTEM TABLE" : "ACCESS TABLE";
    case jet::ObjectKind::kJetLink:
      return "LINK";
    case jet::ObjectKind::kOdbcLink:
      return "PASS-THROUGH";
    case jet::ObjectKind::kQuery: {
      // Queries that change something are procedures, and those that begin with ~ belong to forms and reports.
      const std::uint32_t kind = object.flags & kQueryKind;
      const bool view = (kind == 0 || kind == kUnionQuery) && object.name.rfind('~', 0) != 0;
      return view ? "VIEW" : "";
    }
    default:
      return "";
  }
}

bool IsTrue(const PropertyMap& properties, const char* name) { return properties.Has(name) && runtime::ToBoolean(properties.Item(name)); }

std::string TextOf(const PropertyMap& properties, const char* name) {
  if (!properties.Has(name) || properties.Item(name).IsNull()) return {};
  return runtime::ToText(properties.Item(name));
}

jet::ColumnDef DefinitionOf(const Column& column) {
  jet::ColumnDef definition;
  definition.name = column.name;
  const std::optional<jet::ColumnType> type = EngineType(column.type);
  if (!type) throw runtime::Error(runtime::kProviderFailure, "Type " + std::to_string(column.type) + " non géré : " + column.name);
  definition.type = *type;
  const bool isText = *type == jet::ColumnType::kText;
  if (isText)
    definition.size = static_cast<std::uint16_t>(column.definedSize <= 0 ? 255 : std::min<std::int64_t>(column.definedSize, 65535));
  if (*type == jet::ColumnType::kBinary)
    definition.size = static_cast<std::uint16_t>(column.definedSize <= 0 ? 510 : std::min<std::int64_t>(column.definedSize, 65535));
  if (*type == jet::ColumnType::kNumeric) {
    definition.precision = static_cast<std::uint8_t>(column.precision <= 0 ? 18 : column.precision);
    definition.scale = static_cast<std::uint8_t>(std::max<std::int16_t>(column.numericScale, 0));
  }
  definition.fixedLength =
      (column.attributes & adColFixed) != 0 && (column.type == adWChar || column.type == adChar || column.type == adBinary);
  definition.autoNumber = IsTrue(column.properties, kAutoIncrement);
  definition.allowZeroLength = IsTrue(column.properties, kAllowZeroLength);
  // A counter always has its value, a truth value is never missing.
  definition.required = (column.attributes & adColNullable) == 0 && !definition.autoNumber && *type != jet::ColumnType::kBoolean;
  definition.defaultValue = TextOf(column.properties, "Default");
  return definition;
}

jet::IndexSpec SpecOf(const Index& index) {
  jet::IndexSpec spec;
  spec.name = index.name;
  spec.primary = index.primaryKey;
  spec.unique = index.unique || index.primaryKey;
  spec.required = index.indexNulls == adIndexNullsDisallow;
  spec.ignoreNulls = !index.primaryKey && (index.indexNulls == adIndexNullsIgnore || index.indexNulls == adIndexNullsIgnoreAny);
  for (const Column& column : index.columns) spec.columns.push_back({column.name, column.sortOrder == adSortDescending});
  return spec;
}

Column ColumnFrom(const FieldInfo& field) {
  Column column;
  column.name = field.name;
  column.type = field.type;
  column.definedSize = field.definedSize;
  column.precision = field.precision;
  column.numericScale = field.numericScale;
  column.attributes = field.nullable ? adColNullable : 0;
  column.properties.Set(kAutoIncrement, field.autoIncrement);
  column.properties.Set(kAllowZeroLength, false);
  return column;
}

// "ODBC;DSN=..." or "DSN=..." as the file keeps it.
std::string WithoutPrefix(const std::string& connect) {
  return runtime::UpperCase(connect).rfind("ODBC;", 0) == 0 ? connect.substr(5) : connect;
}

jet::LinkSpec LinkOf(const std::string& name, const PropertyMap& properties) {
  jet::LinkSpec link;
  link.name = name;
  link.database = TextOf(properties, kLinkDatasource);
  link.foreignName = TextOf(properties, kRemoteTableName);
  const std::string provider = TextOf(properties, kLinkProviderString);
  const std::string upper = runtime::UpperCase(provider);
  link.odbc = link.database.empty() && upper.rfind("MS ACCESS", 0) != 0 && upper.rfind(";", 0) != 0;
  link.connect = link.odbc ? WithoutPrefix(provider) : provider;
  if (link.odbc && provider.empty()) throw AdoError(runtime::kItemNotFound, kLinkDatasource);
  return link;
}

Index IndexOf(const jet::IndexDef& definition, jet::Table& table) {
  Index index;
  index.name = definition.name;
  index.primaryKey = definition.kind == jet::IndexKind::kPrimary;
  index.unique = definition.unique;
  index.indexNulls = definition.required ? adIndexNullsDisallow : definition.ignoreNulls ? adIndexNullsIgnore : adIndexNullsAllow;
  for (const jet::IndexColumn& part : definition.columns) {
    Column column;
    column.name = table.Columns()[part.column].name;
    column.type = AdoType(table.Columns()[part.column].type);
    column.sortOrder = part.descending ? adSortDescending : adSortAscending;
    index.columns.push_back(std::move(column));
  }
  return index;
}

}  // namespace

std::vector<std::pair<std::string, std::string>> JetCatalog::Tables() {
  return OnEngine([&] {
    std::vector<std::pair<std::string, std::string>> tables;
    for (const jet::CatalogObject& object : connection_.Database().Objects()) {
      std::string type = TypeName(object);
      if (!type.empty()) tables.emplace_back(object.name, std::move(type));
    }
    std::vector<std::pair<std::string, std::size_t>> order;
    for (std::size_t i = 0; i < tables.size(); ++i) order.emplace_back(runtime::UpperCase(tables[i].first), i);
    std::sort(order.begin(), order.end());
    std::vector<std::pair<std::string, std::string>> sorted;
    for (const auto& [key, position] : order) sorted.push_back(std::move(tables[position]));
    return sorted;
  });
}

std::vector<Column> JetCatalog::Columns(const std::string& table) {
  return OnEngine([&] {
    std::vector<Column> columns;
    const auto found = connection_.Session().FindTable(table);
    if (found == nullptr) {
      // A stored query has the columns of its result.
      const auto query = connection_.Session().Open("SELECT * FROM [" + table + "]");
      for (const jet::sql::ResultColumn& column : query->Columns()) columns.push_back(ColumnFrom(Described(column.name, column.type)));
      return columns;
    }
    std::optional<jet::Database::ReadScope> reading;
    if (found->table != nullptr) {
      reading.emplace(*found->database);
      jet::sql::RequireCurrent(*found);
    }
    for (std::size_t i = 0; i < found->columns.size(); ++i) {
      columns.push_back(ColumnFrom(Described(found->columns[i].name, found->columns[i].type)));
      if (found->table == nullptr) continue;
      const jet::ColumnDef& definition = found->table->Columns()[i];
      Column& column = columns.back();
      column.properties.Set(kAllowZeroLength, definition.allowZeroLength);
      column.properties.Set("Nullable", !definition.required);
      if (!definition.defaultValue.empty()) column.properties.Set("Default", definition.defaultValue);
      if (definition.fixedLength) column.attributes |= adColFixed;
    }
    return columns;
  });
}

std::vector<Index> JetCatalog::Indexes(const std::string& table) {
  return OnEngine([&] {
    const jet::Database::ReadScope scope(connection_.Database());
    std::vector<Index> indexes;
    const jet::CatalogObject* object = connection_.Database().FindObject(table);
    const bool local = object != nullptr && (object->kind == jet::ObjectKind::kTable || object->kind == jet::ObjectKind::kSystemTable);
    // The indexes of a linked Access table are those of the table behind the link.
    const bool link = object != nullptr && object->kind == jet::ObjectKind::kJetLink;
    const auto linked = link ? connection_.Session().FindTable(table) : nullptr;
    if (!local && (linked == nullptr || linked->table == nullptr)) return indexes;
    const jet::Database::ReadScope scopeOfLinked(local ? connection_.Database() : *linked->database);
    jet::Table& found = local ? connection_.Database().OpenTable(table) : *linked->table;
    for (const jet::IndexDef& definition : found.Indexes()) {
      // The referenced side of a relationship has a hidden name of its own; it is no index of the table's design.
      if (definition.kind == jet::IndexKind::kForeignKey && !definition.referencing) continue;
      indexes.push_back(IndexOf(definition, found));
    }
    return indexes;
  });
}

PropertyMap JetCatalog::Properties(const std::string& table) {
  return OnEngine([&] {
    PropertyMap properties;
    const jet::CatalogObject* object = connection_.Database().FindObject(table);
    if (object == nullptr) throw jet::Error(jet::ErrorCode::kNotFound, table);
    const bool odbc = object->kind == jet::ObjectKind::kOdbcLink;
    const bool link = odbc || object->kind == jet::ObjectKind::kJetLink;
    properties.Set(kCreateLink, link);
    properties.Set(kLinkDatasource, WithoutSecrets(object->database));
    properties.Set(kRemoteTableName, object->foreignName);
    // What the file keeps of a password stays there.
    properties.Set(kLinkProviderString, WithoutSecrets(odbc ? "ODBC;" + object->connect : object->connect));
    properties.Set(kCacheLink, false);
    properties.Set("Jet OLEDB:Table Hidden In Access", object->hidden);
    properties.Set("Temporary Table", false);
    return properties;
  });
}

void JetCatalog::AppendTable(Table& table) {
  if (table.Name().empty()) throw runtime::Error(runtime::kInvalidArgument);
  if (IsTrue(table.Properties(), kCreateLink)) {
    if (!table.Keys().empty()) throw AdoError(runtime::kOperationNotSupported, table.Keys().front().name);
    const jet::LinkSpec link = LinkOf(table.Name(), table.Properties());
    OnEngine([&] { connection_.Database().CreateLink(link); });
    return;
  }
  jet::TableSpec spec;
  spec.name = table.Name();
  for (const Column& column : table.Columns()) spec.columns.push_back(DefinitionOf(column));
  for (const Index& index : table.Indexes()) spec.indexes.push_back(SpecOf(index));
  std::vector<jet::Relationship> relationships;
  for (const Key& key : table.Keys()) {
    if (key.type == adKeyForeign) {
      if (!jet::sql::SameName(key.relatedTable, spec.name)) RequireLocal(key.relatedTable);
      relationships.push_back(RelationshipOf(table.Name(), key));
    } else {
      spec.indexes.push_back(IndexOf(key));
    }
  }
  OnEngine([&] {
    jet::Transaction transaction(connection_.Database());
    connection_.Database().CreateTable(spec);
    for (const jet::Relationship& relationship : relationships) connection_.Database().CreateRelationship(relationship);
    transaction.Commit();
  });
}

void JetCatalog::AppendColumn(const std::string& table, const Column& column) {
  const jet::ColumnDef definition = DefinitionOf(column);
  OnEngine([&] { connection_.Database().AddColumn(table, definition); });
}

void JetCatalog::AppendIndex(const std::string& table, const Index& index) {
  const jet::IndexSpec spec = SpecOf(index);
  OnEngine([&] { connection_.Database().CreateIndex(table, spec); });
}

void JetCatalog::RenameTable(const std::string& table, const std::string& name) {
  connection_.BeforeChange();
  OnEngine([&] { connection_.Database().RenameTable(table, name); });
}

void JetCatalog::DeleteTable(const std::string& table) {
  connection_.BeforeChange();
  OnEngine([&] { connection_.Database().DropTable(table); });
}

void JetCatalog::DeleteColumn(const std::string& table, const std::string& column) {
  connection_.BeforeChange();
  OnEngine([&] { connection_.Database().DropColumn(table, column); });
}

void JetCatalog::DeleteIndex(const std::string& table, const std::string& index) {
  connection_.BeforeChange();
  OnEngine([&] { connection_.Database().DropIndex(table, index); });
}

}  // namespace tamlo::ado::jetprovider
