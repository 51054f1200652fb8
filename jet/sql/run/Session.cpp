#include "jet/sql/Session.h"

#include <algorithm>

#include "jet/sql/bind/Coercion.h"
#include "jet/sql/run/Domain.h"
#include "jet/sql/functions/Functions.h"
#include "jet/sql/Names.h"

#include "jet/sql/bind/Parameters.h"
#include "jet/sql/run/SessionState.h"
#include "jet/sql/run/StoredParts.h"
#include "jet/sql/parse/Tokenizer.h"

namespace jet::sql {

namespace {

TypeInfo TypeOf(const ColumnDef& column) {
  TypeInfo type;
  type.type = column.type;
  type.size = column.size;
  type.precision = column.precision;
  type.scale = column.scale;
  type.autoNumber = column.autoNumber;
  type.nullable = !column.required;
  return type;
}

}  // namespace

std::shared_ptr<EngineTable> Described(Database& database, Table& table) {
  auto described = std::make_shared<EngineTable>();
  described->name = table.Name();
  described->database = &database;
  described->table = &table;
  described->definition = static_cast<std::int32_t>(table.DefinitionPage());
  described->checkedVersion = database.SchemaVersion();
  for (const ColumnDef& column : table.Columns()) described->columns.push_back({column.name, FoldName(column.name), TypeOf(column)});
  return described;
}

void RequireCurrent(const EngineTable& table) {
  if (table.table == nullptr) return;
  // In one stretch of reading: what others commit would have the list of objects read again under the walk through it.
  const Database::ReadScope reading(*table.database);
  const std::uint64_t version = table.database->SchemaVersion();
  if (version == table.checkedVersion) return;
  // Something was defined anew in the file: is it this table? The object itself may be gone, so nothing of it is touched before.
  bool same = false;
  for (const CatalogObject& object : table.database->Objects()) {
    const bool isTable = object.kind == ObjectKind::kTable || object.kind == ObjectKind::kSystemTable;
    if (!isTable || object.id != table.definition) continue;
    Table& current = table.database->OpenTable(object.name);
    same = &current == table.table && current.Columns().size() == table.columns.size();
    for (std::size_t i = 0; same && i < table.columns.size(); ++i) {
      same = current.Columns()[i].name == table.columns[i].name && current.Columns()[i].type == table.columns[i].type.type;
    }
  }
  if (!same) throw Error(ErrorCode::kNotFound, "the table \"" + table.name + "\" has been dropped or defined anew meanwhile");
  table.checkedVersion = version;
}

void RequireWritable(const EngineTable& table) {
  if (table.ofCatalog) throw Error(ErrorCode::kReadOnly, "the rows of \"" + table.name + "\" are the definitions of the database");
  RequireCurrent(table);
}

namespace {

bool IsOfCatalog(const CatalogObject& object) {
  constexpr std::uint32_t kBootstrap = 0x80000000;
  return object.kind == ObjectKind::kSystemTable && (object.flags & kBootstrap) != 0;
}

// The connect text of a link up to the first thing that may be a password, whatever its spelling.
std::string WithoutPassword(const std::string& connect) {
  const std::string upper = UpperCase(connect);
  const std::size_t secret = std::min(upper.find("PW"), upper.find("PASS"));
  if (secret == std::string::npos) return connect;
  const std::size_t end = connect.rfind(';', secret);
  return end == std::string::npos ? std::string() : connect.substr(0, end);
}

// The path in a link's connect text of another Access file: "...;DATABASE=path;...".
std::string PathInConnect(const std::string& connect) {
  const std::size_t key = UpperCase(connect).find("DATABASE=");
  return key == std::string::npos ? std::string() : connect.substr(key + 9, connect.find(';', key) - key - 9);
}

// The password there: "...;PWD=password;...".
std::string PasswordInConnect(const std::string& connect) {
  const std::size_t key = UpperCase(connect).find(";PWD=");
  return key == std::string::npos ? std::string() : connect.substr(key + 5, connect.find(';', key + 1) - key - 5);
}

}  // namespace

SessionState::SessionState(Database& mainDatabase, SessionOptions sessionOptions)
    : database(mainDatabase), options(std::move(sessionOptions)) {
  const int code = sqlite3_open_v2(":memory:", &connection, SQLITE_OPEN_READWRITE | SQLITE_OPEN_CREATE | SQLITE_OPEN_NOMUTEX, nullptr);
  if (code != SQLITE_OK) {
    sqlite3_close_v2(connection);
    throw Error(ErrorCode::kIo, "the SQL evaluator cannot be started");
  }
  // The Bloom filters of SQLite 3.40 take texts of different lengths for different: in this order "b" and "b " are the same.
  constexpr unsigned kBloomFilters = 0x00080000;
  sqlite3_test_control(SQLITE_TESTCTRL_OPTIMIZATIONS, connection, kBloomFilters);
  // Sorters and materialised subqueries spill to disk past SQLite's own cache budget; nothing else is stored here.
  RegisterFunctions(connection, options.text);
  RegisterModule(connection, *this);
  RegisterDomainFunctions(*this);
  LimitTexts();
  constexpr int kSteps = 1000;
  sqlite3_progress_handler(
      connection, kSteps, [](void* state) { return static_cast<Budget*>(state)->IsUsedUp() ? 1 : 0; }, &budget);
  schemaVersion = database.SchemaVersion();
}

// One value alone must not take it all between two looks at the memory.
void SessionState::LimitTexts() {
  constexpr int kLongest = 1000000000;
  const bool limited = options.limits.megabytes > 0 && options.limits.megabytes < (kLongest >> 20);
  sqlite3_limit(connection, SQLITE_LIMIT_LENGTH, limited ? options.limits.megabytes << 20 : kLongest);
}

SessionState::~SessionState() {
  declared.clear();
  byName.clear();
  sqlite3_close_v2(connection);
}

void SessionState::Fail(const std::string& sql) {
  if (pending != nullptr) std::rethrow_exception(std::exchange(pending, nullptr));
  budget.RaiseIfPassed();
  const std::string message = sqlite3_errmsg(connection);
  const int code = sqlite3_errcode(connection);
  if (code == SQLITE_NOMEM) throw std::bad_alloc();
  if (code == SQLITE_TOOBIG) throw Error(ErrorCode::kLimit, "a value of the statement is too long");
  if (code == SQLITE_FULL) throw Error(ErrorCode::kDiskFull, "no space for the evaluation of the query");
  if (message == "parser stack overflow") throw Error(ErrorCode::kUnsupported, "the statement is nested too deeply");
  const bool evaluation = message.rfind("type mismatch", 0) == 0 || message.find("division by zero") != std::string::npos ||
                          message.find("overflow") != std::string::npos || message.find("out of range") != std::string::npos ||
                          message.find("more than one row") != std::string::npos || message.find("out of memory") != std::string::npos;
  (void)sql;
  throw Error(evaluation ? ErrorCode::kTypeMismatch : ErrorCode::kUnsupported, "the query cannot be evaluated: " + message);
}

SessionState::Statement SessionState::Prepare(const std::string& sql) {
  sqlite3_stmt* statement = nullptr;
  pending = nullptr;
  if (sqlite3_prepare_v2(connection, sql.c_str(), static_cast<int>(sql.size()), &statement, nullptr) != SQLITE_OK) Fail(sql);
  return Statement(statement);
}

void SessionState::ForgetTables() {
  byName.clear();
  for (const auto& [number, table] : declared) stale.push_back(number);
  std::vector<int> kept;
  for (const int number : stale) {
    // A table that an open query may still read stays declared until the next time. Two owners are ours: this list and SQLite's table.
    const auto known = declared.find(number);
    if (known != declared.end() && known->second.use_count() > 2) {
      kept.push_back(number);
      continue;
    }
    const std::string sql = "DROP TABLE t" + std::to_string(number);
    if (sqlite3_exec(connection, sql.c_str(), nullptr, nullptr, nullptr) == SQLITE_OK)
      declared.erase(number);
    else
      kept.push_back(number);
  }
  stale = std::move(kept);
}

std::shared_ptr<const EngineTable> SessionState::Declare(std::shared_ptr<EngineTable> table) {
  const int number = nextTable++;
  table->sqlName = "t" + std::to_string(number);
  declared[number] = table;
  const std::string sql = "CREATE VIRTUAL TABLE " + table->sqlName + " USING jet(" + std::to_string(number) + ")";
  if (sqlite3_exec(connection, sql.c_str(), nullptr, nullptr, nullptr) != SQLITE_OK) {
    declared.erase(number);
    Fail(sql);
  }
  return table;
}

Database& SessionState::OtherDatabase(const std::string& name, const std::string& link, const std::string& password) {
  if (link.empty()) RequireLinks("\"" + name + "\"");
  NamedFile file{name};
  try {
    if (options.findFile) file = options.findFile(name);
    // By another path it may be the file that we are in, or one that is open already: two of them would lock each other out.
    if (file.path == database.Path() || database.IsAt(file.path)) return database;
    for (const auto& [known, other] : others) {
      if (other != nullptr && (known == file.path || other->IsAt(file.path))) return *other;
    }
    std::unique_ptr<Database>& other = others[file.path];
    OpenOptions opening;
    opening.password = file.password.empty() ? password : file.password;
    try {
      other = Database::Open(file.path, opening);
    } catch (const Error& error) {
      if (error.Code() != ErrorCode::kReadOnly) throw;
      opening.mode = OpenMode::kReadOnly;
      other = Database::Open(file.path, opening);
    }
    return *other;
  } catch (const Error& error) {
    if (link.empty()) throw;
    throw Error(ErrorCode::kLinkUnreachable, "the link \"" + link + "\": \"" + file.path + "\" cannot be opened: " + error.what());
  }
}

void SessionState::RequireLinks(const std::string& what) const {
  if (!options.links) throw Error(ErrorCode::kLinkUnreachable, what + ": links are forbidden here");
}

std::shared_ptr<const EngineTable> SessionState::LinkedTable(const CatalogObject& link) {
  RequireLinks("the link \"" + link.name + "\"");
  if (link.kind == ObjectKind::kOdbcLink) {
    const std::string target = "\"" + link.foreignName + "\" (" + WithoutPassword(link.connect) + ")";
    if (!options.openForeign) throw Error(ErrorCode::kLinkUnreachable, "the link \"" + link.name + "\" to " + target + ": no ODBC here");
    auto table = std::make_shared<EngineTable>();
    try {
      table->foreign = options.openForeign(link.connect, link.foreignName);
    } catch (const Error& error) {
      throw Error(ErrorCode::kLinkUnreachable, "the link \"" + link.name + "\" to " + target + ": " + error.what());
    }
    table->name = link.name;
    table->columns = table->foreign->Columns();
    table->rereadable = false;
    return Declare(std::move(table));
  }
  std::string path = link.database;
  if (path.empty()) path = PathInConnect(link.connect);
  const std::string connect = UpperCase(link.connect);
  if (!connect.empty() && connect[0] != ';' && connect.find("MS ACCESS") == std::string::npos) {
    throw Error(ErrorCode::kLinkUnreachable, "the link \"" + link.name + "\" leads to a source of another kind: " +
                                                 link.connect.substr(0, connect.find(';')) + " \"" + path + "\"");
  }
  Database& other = OtherDatabase(path, link.name, PasswordInConnect(link.connect));
  try {
    const Database::ReadScope reading(other);
    auto table = Described(other, other.OpenTable(link.foreignName));
    const CatalogObject* target = other.FindObject(link.foreignName);
    table->ofCatalog = target != nullptr && IsOfCatalog(*target);
    table->name = link.name;
    return Declare(std::move(table));
  } catch (const Error& error) {
    if (error.Code() != ErrorCode::kNotFound) throw;
    throw Error(ErrorCode::kLinkUnreachable,
                "the link \"" + link.name + "\": there is no table \"" + link.foreignName + "\" in \"" + other.Path() + "\"");
  }
}

TablePointer SessionState::FindTable(std::string_view name, const std::string& file) {
  // One lock for all that is asked of the file; without it, what others commit would have its objects read again while one is looked at.
  std::optional<Database::ReadScope> reading;
  if (file.empty()) reading.emplace(database);
  const std::uint64_t version = database.SchemaVersion();
  if (version != schemaVersion) {
    ForgetTables();
    schemaVersion = version;
  }
  Database& source = file.empty() ? database : OtherDatabase(file, {});
  std::string key = (file.empty() ? std::string() : file + '\0') + FoldName(name);
  const std::string ownKey = key + '\0' + std::string(name);  // of a table whose name differs from another's in case alone
  if (file.empty()) {
    if (const auto known = byName.contains(ownKey) ? byName.find(ownKey) : byName.find(key); known != byName.end()) {
      if (known->second->database == &database || known->second->database == nullptr) return known->second;
      byName.erase(known);  // of another file, whose definitions may have changed
    }
  }
  if (!reading) reading.emplace(source);
  const CatalogObject* object = source.FindObject(name);
  if (object == nullptr) return nullptr;
  if (object->hasTwin) key = ownKey;
  std::shared_ptr<const EngineTable> table;
  switch (object->kind) {
    case ObjectKind::kTable:
    case ObjectKind::kSystemTable: {
      auto described = Described(source, source.OpenTable(object->name));
      described->ofCatalog = IsOfCatalog(*object);
      table = Declare(std::move(described));
      break;
    }
    case ObjectKind::kJetLink:
    case ObjectKind::kOdbcLink: {
      const CatalogObject link = *object;
      reading.reset();  // nobody waits here for what lies behind a link
      table = LinkedTable(link);
      break;
    }
    default:
      return nullptr;
  }
  byName[key] = table;
  return table;
}

std::optional<std::string> SessionState::FindQuery(std::string_view name) {
  const Database::ReadScope reading(database);
  const CatalogObject* object = database.FindObject(name);
  if (object == nullptr || object->kind != ObjectKind::kQuery) return std::nullopt;
  return StoredStatement(database, *object, true);
}

std::optional<std::string> SessionState::FindStatement(std::string_view name) {
  const Database::ReadScope reading(database);
  const CatalogObject* object = database.FindObject(name);
  if (object == nullptr || object->kind != ObjectKind::kQuery) return std::nullopt;
  return StoredStatement(database, *object, false);
}

std::vector<std::vector<Value>> SessionState::Evaluate(const SelectPlan& plan, std::size_t most) {
  std::vector<std::vector<Value>> rows;
  const auto query = OpenPlan(*this, plan);
  while (rows.size() < most && query->Next()) {
    rows.emplace_back();
    for (std::size_t i = 0; i < plan.columns.size(); ++i) rows.back().push_back(query->Get(i));
  }
  return rows;
}

jet::sql::Statement SessionState::Translated(std::string_view text, std::span<const Parameter> values) {
  ParameterSet parameters;
  if (!values.empty()) {
    parameters.collecting = true;
    (void)Translate(text, *this, options.text, &parameters);
    parameters.Arrange();
    parameters.Give(values, options.text);
  }
  return Translate(text, *this, options.text, &parameters);
}

Session::Session(Database& database, SessionOptions options) : state_(std::make_unique<SessionState>(database, std::move(options))) {}
Session::~Session() = default;

std::vector<ParameterInfo> Session::ParametersOf(std::string_view text) {
  ParameterSet parameters;
  parameters.collecting = true;
  (void)Translate(text, *state_, state_->options.text, &parameters);
  parameters.Arrange();
  std::vector<ParameterInfo> infos;
  for (const ParameterSet::Item& item : parameters.Items()) infos.push_back({item.name, item.type});
  return infos;
}

std::int64_t Session::Execute(std::string_view text, std::span<const Parameter> parameters) {
  return Run(state_->Translated(text, parameters));
}

std::int64_t Session::Run(const jet::sql::Statement& statement) {
  std::chrono::nanoseconds spent{0};
  const Budget::Stretch stretch(state_->budget, state_->options.limits, spent);
  if (std::holds_alternative<SelectPlan>(statement)) {
    const auto query = OpenPlan(*state_, std::get<SelectPlan>(statement));
    query->Next();
    return 0;
  }
  if (const auto* plan = std::get_if<SelectIntoPlan>(&statement)) return RunSelectInto(*state_, *plan);
  if (const auto* plan = std::get_if<InsertPlan>(&statement)) return RunInsert(*state_, *plan);
  if (const auto* plan = std::get_if<UpdatePlan>(&statement)) return RunUpdate(*state_, *plan);
  if (const auto* plan = std::get_if<DeletePlan>(&statement)) return RunDelete(*state_, *plan);
  if (const auto* plan = std::get_if<TransactionPlan>(&statement)) {
    RunTransaction(*plan);
    return 0;
  }
  RunDefinition(*state_, statement);
  return 0;
}

void Session::RunTransaction(TransactionPlan plan) {
  switch (plan) {
    case TransactionPlan::kBegin:
      return state_->database.Begin();
    case TransactionPlan::kCommit:
      return state_->database.Commit();
    case TransactionPlan::kRollback:
      state_->database.Rollback();
      RowsChanged();
  }
}

std::unique_ptr<Query> Session::Open(std::string_view text, std::span<const Parameter> parameters) {
  jet::sql::Statement statement = state_->Translated(text, parameters);
  auto* plan = std::get_if<SelectPlan>(&statement);
  if (plan == nullptr) throw SyntaxError("a statement that gives rows is expected", 1);
  return OpenPlan(*state_, std::move(*plan));
}

std::unique_ptr<Query> Session::OpenOrRun(std::string_view text, std::span<const Parameter> parameters, std::int64_t* affected) {
  jet::sql::Statement statement = state_->Translated(text, parameters);
  if (auto* plan = std::get_if<SelectPlan>(&statement)) return OpenPlan(*state_, std::move(*plan));
  const std::int64_t rows = Run(statement);
  if (affected != nullptr) *affected = rows;
  return nullptr;
}

std::shared_ptr<const EngineTable> Session::FindTable(std::string_view name, const std::string& file) {
  return std::static_pointer_cast<const EngineTable>(state_->FindTable(name, file));
}

std::optional<std::string> Session::StoredQueryText(std::string_view name) { return state_->FindQuery(name); }

std::vector<std::pair<std::size_t, Value>> Session::Defaults(const EngineTable& table) {
  auto defaults = EvaluateDefaults(*state_, table);
  for (std::size_t i = 0; table.table != nullptr && i < table.columns.size(); ++i) {
    const ColumnDef& column = table.table->Columns()[i];
    const bool isText = column.type == ColumnType::kText || column.type == ColumnType::kMemo;
    if (isText && column.required && column.allowZeroLength && column.defaultValue.empty()) defaults.emplace_back(i, Value(""));
  }
  return defaults;
}

const TextSettings& Session::Settings() const noexcept { return state_->options.text; }

void Session::Limits(const StatementLimits& limits) noexcept {
  state_->options.limits = limits;
  state_->LimitTexts();
}
const StatementLimits& Session::Limits() const noexcept { return state_->options.limits; }

bool Session::LinksAllowed() const noexcept { return state_->options.links; }

void Session::AllowLinks(bool allowed) {
  state_->options.links = allowed;
  if (!allowed) state_->ForgetTables();
}

void Session::RowsChanged() noexcept { ++state_->changes; }

std::uint64_t Session::RowsMet() const noexcept { return state_->rowsMet; }

}  // namespace jet::sql
