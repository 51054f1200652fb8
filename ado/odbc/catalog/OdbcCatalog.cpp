#include "ado/odbc/catalog/OdbcCatalog.h"

#include <algorithm>

#include "ado/Errors.h"
#include "ado/odbc/catalog/BaseTable.h"
#include "ado/odbc/catalog/ReadKeys.h"
#include "ado/odbc/catalog/ReadViews.h"
#include "ado/odbc/catalog/TableDefinition.h"
#include "ado/odbc/driver/NativeHeaders.h"
#include "ado/odbc/driver/WideText.h"
#include "ado/odbc/statement/SqlText.h"
#include "ado/odbc/statement/Statement.h"
#include "ado/odbc/values/TypeMap.h"
#include "runtime/Text.h"

namespace tamlo::ado::odbc {
namespace {

std::string TableTypeOf(const std::string& type) {
  const std::string upper = runtime::UpperCase(type);
  return upper == "BASE TABLE" || upper == "SYSTEM VERSIONED" ? "TABLE" : upper;
}

/// Schemas that hold the user's tables on the backends where the driver lists several; the first found wins.
bool IsPreferredSchema(const std::string& schema) {
  const std::string upper = runtime::UpperCase(schema);
  return upper == "PUBLIC" || upper == "DBO";
}

/// Whatever their order: libsqliteodbc 0.9998 numbers the columns of a primary key in the order of the table.
bool SameColumns(const Index& index, const std::vector<std::string>& names) {
  return index.columns.size() == names.size() && std::all_of(index.columns.begin(), index.columns.end(), [&](const Column& column) {
           const std::string upper = runtime::UpperCase(column.name);
           return std::any_of(names.begin(), names.end(), [&](const std::string& name) { return runtime::UpperCase(name) == upper; });
         });
}

Column ToColumn(Statement& statement, const DriverFacts& facts) {
  ColumnDescription description;
  description.name = statement.Text(4).value_or("");
  description.sqlType = static_cast<std::int16_t>(statement.Integer(5, SQL_VARCHAR));
  description.typeName = statement.Text(6).value_or("");
  description.size = static_cast<std::size_t>(std::max<std::int64_t>(statement.Integer(7, 0), 0));
  description.digits = static_cast<std::int16_t>(statement.Integer(9, 0));
  description.nullable = statement.Integer(11, SQL_NULLABLE) != SQL_NO_NULLS;
  const std::string upper = runtime::UpperCase(description.typeName);
  description.isUnsigned = upper.find("UNSIGNED") != std::string::npos;
  description.autoIncrement = upper == "SERIAL" || upper == "BIGSERIAL" || upper.find("IDENTITY") != std::string::npos;
  const FieldInfo field = ToFieldInfo(description, facts);
  Column column;
  column.name = field.name;
  column.type = field.type;
  // ADOX gives 0 for the size of fixed and long types alike.
  column.definedSize = FixedSize(field.type) != 0 || IsLongType(field.type) ? 0 : field.definedSize;
  column.precision = field.precision == 255 ? std::int16_t{0} : field.precision;
  column.numericScale = field.numericScale == 255 ? std::int16_t{0} : field.numericScale;
  const bool fixed = FixedSize(field.type) != 0 || field.type == adChar || field.type == adWChar || field.type == adBinary;
  column.attributes = (fixed ? adColFixed : 0) | (field.nullable ? adColNullable : 0);
  column.properties.Set("AutoIncrement", Variant(field.autoIncrement));
  return column;
}

/// Where a longer name is cut and nothing says an error: what is made would go by another name.
void RequireKeptName(const Session& session, const std::string& name) {
  const std::size_t longest = session.Facts().longestName;
  if (longest == 0 || name.size() <= longest) return;
  throw runtime::Error(runtime::kProviderFailure, "Le nom " + name + " est trop long.", "odbc");
}

}  // namespace

OdbcCatalog::OdbcCatalog(std::shared_ptr<Session> session) : session_(std::move(session)), version_(session_->SchemaVersion()) {}

std::vector<std::pair<std::string, std::string>> OdbcCatalog::Tables() {
  schemas_.clear();
  auto tables = session_->Facts().showsTables ? ShownTables() : DriverTables();
  schemasKnown_ = true;
  return tables;
}

std::vector<std::pair<std::string, std::string>> OdbcCatalog::ShownTables() {
  if (session_->Facts().catalog.empty()) return {};  // connected to the server alone
  Statement statement(session_);
  statement.ExecuteDirect("SHOW FULL TABLES FROM " + session_->Quoted(session_->Facts().catalog));
  std::vector<std::pair<std::string, std::string>> tables;
  while (statement.FetchCatalogRow()) {
    std::string name = statement.Text(1).value_or("");
    std::string type = TableTypeOf(statement.Text(2).value_or("TABLE"));
    schemas_.emplace(name, std::string());
    tables.emplace_back(std::move(name), std::move(type));
  }
  return tables;
}

std::vector<std::pair<std::string, std::string>> OdbcCatalog::DriverTables() {
  Statement statement(session_);
  auto catalog = ToUtf16(session_->Facts().catalog);
  statement.Check(SQLTablesW(statement.Native(), catalog.empty() ? nullptr : reinterpret_cast<SQLWCHAR*>(catalog.data()),
                             static_cast<SQLSMALLINT>(catalog.size()), nullptr, 0, nullptr, 0, nullptr, 0));
  std::vector<std::pair<std::string, std::string>> tables;
  while (statement.FetchCatalogRow()) {
    std::string schema = statement.Text(2).value_or("");
    std::string name = statement.Text(3).value_or("");
    std::string type = TableTypeOf(statement.Text(4).value_or("TABLE"));
    const auto [known, isNew] = schemas_.emplace(name, schema);
    if (isNew) {
      tables.emplace_back(std::move(name), std::move(type));
    } else if (IsPreferredSchema(schema) && !IsPreferredSchema(known->second)) {
      known->second = schema;
      std::find_if(tables.begin(), tables.end(), [&](const auto& table) { return table.first == name; })->second = type;
    }
  }
  return tables;
}

std::string OdbcCatalog::SchemaOf(const std::string& table) {
  if (!schemasKnown_) (void)Tables();
  const auto found = schemas_.find(table);
  return found == schemas_.end() ? std::string() : found->second;
}

std::map<std::string, std::vector<Column>> OdbcCatalog::ReadColumns(const std::string& table) {
  LearnOthersDefinitions(session_);
  const auto& facts = session_->Facts();
  Statement statement(session_);
  auto catalog = ToUtf16(facts.catalog);
  auto name = ToUtf16(table.empty() ? "%" : session_->Pattern(table));
  statement.Check(SQLColumnsW(statement.Native(), catalog.empty() ? nullptr : reinterpret_cast<SQLWCHAR*>(catalog.data()),
                              static_cast<SQLSMALLINT>(catalog.size()), nullptr, 0, reinterpret_cast<SQLWCHAR*>(name.data()),
                              static_cast<SQLSMALLINT>(name.size()), nullptr, 0));
  std::map<std::string, std::vector<Column>> columns;
  while (statement.FetchCatalogRow()) {
    const std::string schema = statement.Text(2).value_or("");
    const std::string owner = statement.Text(3).value_or("");
    const auto wanted = schemas_.find(owner);
    if (wanted != schemas_.end() && wanted->second != schema) continue;
    columns[owner].push_back(ToColumn(statement, facts));
  }
  return columns;
}

std::vector<Column> OdbcCatalog::Columns(const std::string& table) {
  (void)SchemaOf(table);
  if (version_ != session_->SchemaVersion()) Forget();
  if (!session_->Facts().listsAllColumns) {
    auto read = ReadColumns(table);
    return std::move(read[table]);
  }
  if (!columnsKnown_) {
    columns_ = ReadColumns({});
    columnsKnown_ = true;
  }
  const auto found = columns_.find(table);
  return found == columns_.end() ? std::vector<Column>() : found->second;
}

std::vector<Index> OdbcCatalog::Indexes(const std::string& table) {
  LearnOthersDefinitions(session_);
  const std::string schema = SchemaOf(table);
  std::vector<Index> indexes;
  for (auto& line : IndexColumns(session_, schema, table)) {
    const auto known = std::find_if(indexes.begin(), indexes.end(), [&](const Index& index) { return index.name == line.index; });
    Index& index = known == indexes.end() ? indexes.emplace_back() : *known;
    index.name = line.index;
    index.unique = line.unique;
    Column column;
    column.name = std::move(line.column);
    column.sortOrder = line.descending ? adSortDescending : adSortAscending;
    index.columns.push_back(std::move(column));
  }
  // Where the index tells by its name the question is saved.
  std::string keyName = "PRIMARY";
  std::vector<std::string> key;
  if (!session_->Facts().namesPrimaryIndex) key = PrimaryKeyColumns(session_, schema, table, &keyName);
  bool found = key.empty();
  for (auto& index : indexes) {
    index.primaryKey = key.empty() ? index.unique && index.name == "PRIMARY" : index.unique && !found && SameColumns(index, key);
    found = found || index.primaryKey;
  }
  if (!found) {
    // A key that the driver shows no index for.
    Index index;
    index.name = keyName.empty() ? "PRIMARY" : keyName;
    index.primaryKey = index.unique = true;
    for (auto& name : key) {
      Column column;
      column.name = std::move(name);
      index.columns.push_back(std::move(column));
    }
    indexes.insert(indexes.begin(), std::move(index));
  }
  for (auto& index : indexes) index.indexNulls = index.primaryKey ? adIndexNullsDisallow : adIndexNullsAllow;
  return indexes;
}

void OdbcCatalog::Run(const std::string& sql) {
  Statement statement(session_);
  session_->SchemaChanged();
  statement.ExecuteDirect(sql);
}

/// Whether the columns to which a key of the new table refers are a key or a unique index of theirs.
bool OdbcCatalog::HasUniqueTarget(Table& table, const Key& key) {
  std::vector<std::string> related;
  for (const KeyColumn& column : key.columns) related.push_back(column.relatedColumn);
  const auto isUnique = [&](const Index& index) { return (index.unique || index.primaryKey) && SameColumns(index, related); };
  if (key.relatedTable != table.Name()) {
    const std::vector<Index> indexes = Indexes(key.relatedTable);
    return std::any_of(indexes.begin(), indexes.end(), isUnique);
  }
  // A counter is the primary key.
  if (related.size() == 1 && IsCounter(table.ColumnNamed(related[0]))) return true;
  const auto& keys = table.Keys();
  const auto isKey = [&](const Key& own) {
    Index index;
    for (const KeyColumn& column : own.columns) index.columns.emplace_back().name = column.name;
    return own.type != adKeyForeign && SameColumns(index, related);
  };
  return std::any_of(table.Indexes().begin(), table.Indexes().end(), isUnique) || std::any_of(keys.begin(), keys.end(), isKey);
}

void OdbcCatalog::RequireUniqueTargets(Table& table) {
  if (!session_->Facts().keepsKeysToNothing) return;
  for (const Key& key : table.Keys()) {
    if (key.type != adKeyForeign || HasUniqueTarget(table, key)) continue;
    throw runtime::Error(runtime::kProviderFailure,
                         "La clé " + key.name + " se rapporte à des champs de " + key.relatedTable + " sans clé ni index unique.", "odbc");
  }
}

void OdbcCatalog::AppendTable(Table& table) {
  RequireUniqueTargets(table);
  for (const Key& key : table.Keys()) RequireKeptName(*session_, key.name);
  Run(CreateTableText(*session_, table));
  for (const auto& index : table.Indexes()) {
    if (!index.primaryKey) Run(AddIndexText(*session_, table.Name(), index));
  }
  if (const auto lost = LostKey(table.Name(), table.Keys())) {
    DeleteTable(table.Name());
    throw AdoError(runtime::kOperationNotSupported, *lost);
  }
}

void OdbcCatalog::AppendColumn(const std::string& table, const Column& column) { Run(AddColumnText(*session_, table, column)); }
void OdbcCatalog::AppendIndex(const std::string& table, const Index& index) { Run(AddIndexText(*session_, table, index)); }

void OdbcCatalog::RenameTable(const std::string& table, const std::string& name) {
  const std::string sql = RenameTableText(*session_, table, name);
  if (sql.empty()) throw AdoError(runtime::kOperationNotSupported);
  Run(sql);
  Forget();
}

void OdbcCatalog::DeleteTable(const std::string& table) { Run("DROP TABLE " + session_->Quoted(table)); }

void OdbcCatalog::DeleteColumn(const std::string& table, const std::string& column) {
  Run("ALTER TABLE " + session_->Quoted(table) + " DROP COLUMN " + session_->Quoted(column));
}

void OdbcCatalog::DeleteIndex(const std::string& table, const std::string& index) {
  const auto indexes = Indexes(table);
  const auto found = std::find_if(indexes.begin(), indexes.end(), [&](const Index& one) { return one.name == index; });
  const std::string sql = DropIndexText(*session_, table, index, found != indexes.end() && found->primaryKey);
  if (sql.empty()) throw AdoError(runtime::kOperationNotSupported);
  Run(sql);
}

std::vector<Key> OdbcCatalog::Keys(const std::string& table) {
  LearnOthersDefinitions(session_);
  return ReadKeys(session_, SchemaOf(table), table);
}

std::optional<std::string> OdbcCatalog::LostKey(const std::string& table, const std::vector<Key>& keys) {
  if (!session_->Facts().losesForeignKeys || keys.empty()) return std::nullopt;
  const std::vector<Key> kept = ReadKeys(session_, {}, table);
  for (const Key& key : keys) {
    const std::string upper = runtime::UpperCase(key.name);
    const bool found = std::any_of(kept.begin(), kept.end(), [&](const Key& one) { return runtime::UpperCase(one.name) == upper; });
    if (key.type == adKeyForeign && !found) return key.name;
  }
  return std::nullopt;
}

void OdbcCatalog::AppendKey(const std::string& table, const Key& key) {
  RequireKeptName(*session_, key.name);
  const std::string sql = AddKeyText(*session_, table, key);
  if (sql.empty()) throw AdoError(runtime::kOperationNotSupported, key.name);
  Run(sql);
  if (const auto lost = LostKey(table, {key})) throw AdoError(runtime::kOperationNotSupported, *lost);
}

void OdbcCatalog::DeleteKey(const std::string& table, const Key& key) {
  const std::string sql = DropKeyText(*session_, table, key);
  if (sql.empty()) throw AdoError(runtime::kOperationNotSupported, key.name);
  Run(sql);
}

std::vector<View> OdbcCatalog::Views() {
  LearnOthersDefinitions(session_);
  std::vector<View> views;
  for (auto& [name, type] : Tables()) {
    if (type == "VIEW") views.push_back({std::move(name), {}, {}});
  }
  if (!views.empty()) ReadViewTexts(session_, schemas_, views);
  return views;
}

void OdbcCatalog::AppendView(const std::string& name, const std::string& command) {
  RequireKeptName(*session_, name);
  auto query = QueryOf(command);
  // Where a backslash takes the meaning from a quote only the server knows what a text ends; it takes one statement alone.
  if (session_->Facts().backslashEscapes && command.find('\\') != std::string::npos) {
    query = std::string_view(command).substr(0, command.find_last_not_of("; \t\r\n") + 1);
  }
  if (!query) {
    throw runtime::Error(session_->GeneralNumbers() ? runtime::kProviderFailure : runtime::kStatementRefused,
                         "Le texte de la vue " + name + " n'est pas une requête.", "odbc");
  }
  if (session_->Facts().keepsViewsThatDoNotRead) RequireReadable(session_, name, *query);
  Run("CREATE VIEW " + session_->Quoted(name) + " AS " + std::string(*query));
}

void OdbcCatalog::DeleteView(const std::string& name) { Run("DROP VIEW " + session_->Quoted(name)); }

void OdbcCatalog::Forget() {
  schemasKnown_ = columnsKnown_ = false;
  columns_.clear();
  version_ = session_->SchemaVersion();
}

}  // namespace tamlo::ado::odbc
