// Tables of the engine as SQLite sees them: read only, with the file's indexes offered for lookups, ranges and order.
#include <cmath>
#include <cstring>
#include <limits>

#include "jet/table/IndexCursor.h"
#include "jet/sql/emit/Literals.h"
#include "jet/sql/run/SessionState.h"

namespace jet::sql {

namespace {

struct VirtualTable : sqlite3_vtab {
  SessionState* state = nullptr;
  std::shared_ptr<const EngineTable> table;
};

struct VirtualCursor : sqlite3_vtab_cursor {
  std::optional<ScanCursor> scan;
  std::optional<IndexCursor> index;
  std::unique_ptr<ForeignCursor> foreign;
  Row row;
  Row* current = nullptr;
  RowId id;
  sqlite3_int64 foreignRow = 0;
  std::uint64_t changes = 0;
  std::uint64_t version = 0;  // of the pages of the database when the row was read
  bool single = false;        // one row found by its identity
  bool end = true;
};

VirtualTable& TableOf(sqlite3_vtab_cursor* cursor) { return *static_cast<VirtualTable*>(cursor->pVtab); }

// The border to C: whatever is raised waits in the session until SQLite has unwound.
template <typename Body>
int Guard(SessionState& state, Body&& body) noexcept {
  try {
    return body();
  } catch (...) {
    state.pending = std::current_exception();
    return SQLITE_ERROR;
  }
}

const char* Declared(ColumnType type) {
  switch (type) {
    case ColumnType::kText:
    case ColumnType::kMemo:
    case ColumnType::kGuid:
      return "TEXT COLLATE JET";
    case ColumnType::kBoolean:
    case ColumnType::kByte:
    case ColumnType::kInteger:
    case ColumnType::kLong:
      return "INTEGER";
    case ColumnType::kCurrency:
    case ColumnType::kSingle:
    case ColumnType::kDouble:
    case ColumnType::kDate:
    case ColumnType::kNumeric:
      return "REAL";
    default:
      return "BLOB";
  }
}

int Connect(sqlite3* connection, void* module, int argumentCount, const char* const* arguments, sqlite3_vtab** result, char**) {
  auto& state = *static_cast<SessionState*>(module);
  return Guard(state, [&] {
    if (argumentCount < 4) return SQLITE_ERROR;
    const auto found = state.declared.find(std::atoi(arguments[3]));
    if (found == state.declared.end()) return SQLITE_ERROR;
    std::string declaration = "CREATE TABLE x(";
    for (std::size_t i = 0; i < found->second->columns.size(); ++i) {
      declaration += (i > 0 ? ", c" : "c") + std::to_string(i) + " " + Declared(found->second->columns[i].type.type);
    }
    // The row's identity once more as a column: rowid is unknown outside of a join in parentheses.
    const int code = sqlite3_declare_vtab(connection, (declaration + (found->second->columns.empty() ? "rid)" : ", rid)")).c_str());
    if (code != SQLITE_OK) return code;
    auto table = std::make_unique<VirtualTable>();
    table->state = &state;
    table->table = found->second;
    *result = table.release();
    return SQLITE_OK;
  });
}

int Disconnect(sqlite3_vtab* table) {
  delete static_cast<VirtualTable*>(table);
  return SQLITE_OK;
}

// ----- planning

// How one index would serve a query. Written into idxStr as: number of equal columns, 'l' and 'u' when a bound follows, 'b' for backward.
struct Choice {
  int index = -1;
  std::vector<int> equal;  // constraints, in index order
  int lower = -1;          // in the order of the index
  int upper = -1;
  bool ordered = false;
  bool backward = false;
  bool single = false;  // at most one row, whatever is looked up
  double cost = 0;
  double rows = 0;
};

bool CanSearch(ColumnType type) {
  return type != ColumnType::kNumeric && type != ColumnType::kOle && type != ColumnType::kInternal && type != ColumnType::kMemo;
}
bool CanOrder(ColumnType type) { return CanSearch(type) && type != ColumnType::kGuid && type != ColumnType::kBinary; }

bool CanOrderBy(const IndexDef& index, ColumnType type) { return CanOrder(type) && (type != ColumnType::kText || index.ordersTexts); }

bool Usable(sqlite3_index_info* info, int constraint, std::size_t column, ColumnType type, const char* operators) {
  const auto& c = info->aConstraint[constraint];
  if (!c.usable || c.iColumn != static_cast<int>(column)) return false;
  if (std::strchr(operators, c.op) == nullptr) return false;
  return type != ColumnType::kText || std::strcmp(sqlite3_vtab_collation(info, constraint), "JET") == 0;
}

constexpr char kEqual[] = {SQLITE_INDEX_CONSTRAINT_EQ, 0};
constexpr char kAbove[] = {SQLITE_INDEX_CONSTRAINT_GT, SQLITE_INDEX_CONSTRAINT_GE, 0};
constexpr char kBelow[] = {SQLITE_INDEX_CONSTRAINT_LT, SQLITE_INDEX_CONSTRAINT_LE, 0};

// Whether walking the index gives the wanted order, and in which direction.
bool GivesOrder(const sqlite3_index_info* info, const IndexDef& index, const std::vector<ColumnDef>& columns, std::size_t equalCount,
                bool& backward) {
  if (info->nOrderBy == 0) return false;
  std::size_t at = 0;
  std::optional<bool> turned;
  for (int i = 0; i < info->nOrderBy; ++i) {
    // A column fixed by an equality does not matter for the order.
    while (at < equalCount && at < index.columns.size() && static_cast<int>(index.columns[at].column) != info->aOrderBy[i].iColumn) ++at;
    if (at >= index.columns.size()) return false;
    const IndexColumn& column = index.columns[at];
    if (static_cast<int>(column.column) != info->aOrderBy[i].iColumn || !CanOrderBy(index, columns[column.column].type)) return false;
    if (at >= equalCount) {
      const bool opposite = column.descending != (info->aOrderBy[i].desc != 0);
      if (turned && *turned != opposite) return false;
      turned = opposite;
    }
    ++at;
  }
  backward = turned.value_or(false);
  return true;
}

// The columns of the index, from the first on, for which an equality is given.
void FindEqualities(sqlite3_index_info* info, const IndexDef& index, const std::vector<ColumnDef>& columns, Choice& choice) {
  for (const IndexColumn& part : index.columns) {
    const ColumnType type = columns[part.column].type;
    if (!CanSearch(type)) return;
    int found = 0;
    while (found < info->nConstraint && !Usable(info, found, part.column, type, kEqual)) ++found;
    if (found == info->nConstraint) return;
    choice.equal.push_back(found);
  }
}

// What bounds the column behind those.
void FindBounds(sqlite3_index_info* info, const IndexDef& index, const std::vector<ColumnDef>& columns, Choice& choice) {
  if (choice.equal.size() == index.columns.size()) return;
  const IndexColumn& column = index.columns[choice.equal.size()];
  const ColumnType type = columns[column.column].type;
  if (!CanOrderBy(index, type)) return;
  for (int i = 0; i < info->nConstraint; ++i) {
    if (Usable(info, i, column.column, type, column.descending ? kBelow : kAbove)) choice.lower = i;
    if (Usable(info, i, column.column, type, column.descending ? kAbove : kBelow)) choice.upper = i;
  }
}

double RowsOf(const Choice& choice, double rowCount) {
  if (choice.single) return 1;
  double rows = rowCount;
  for (std::size_t i = 0; i < choice.equal.size(); ++i) rows = std::max(1.0, rows / 50);
  if (choice.lower >= 0) rows = std::max(1.0, rows / 4);
  if (choice.upper >= 0) rows = std::max(1.0, rows / 4);
  return rows;
}

std::optional<Choice> Consider(sqlite3_index_info* info, const EngineTable& table, std::size_t position, double rowCount) {
  const IndexDef& index = table.table->Indexes()[position];
  const std::vector<ColumnDef>& columns = table.table->Columns();
  // SQLite tests every row again, but a row that the index does not find is lost.
  if (!index.writable || !index.findsEqual) return std::nullopt;
  Choice choice;
  choice.index = static_cast<int>(position);
  FindEqualities(info, index, columns, choice);
  FindBounds(info, index, columns, choice);
  choice.ordered = GivesOrder(info, index, columns, choice.equal.size(), choice.backward);
  const bool searched = !choice.equal.empty() || choice.lower >= 0 || choice.upper >= 0;
  // Rows whose key is null are missing in an index that ignores them: only a search on the key may use it.
  if (!searched && (!choice.ordered || index.ignoreNulls)) return std::nullopt;
  choice.single = choice.equal.size() == index.columns.size() && index.unique;
  choice.rows = RowsOf(choice, rowCount);
  // Reaching a row through the index costs more than meeting it in a walk.
  choice.cost = 10 + choice.rows * 3;
  return choice;
}

void Take(sqlite3_index_info* info, const Choice& choice) {
  int argument = 0;
  for (const int constraint : choice.equal) info->aConstraintUsage[constraint].argvIndex = ++argument;
  std::string text = std::to_string(choice.equal.size());
  if (choice.lower >= 0) {
    info->aConstraintUsage[choice.lower].argvIndex = ++argument;
    text += 'l';
  }
  if (choice.upper >= 0) {
    info->aConstraintUsage[choice.upper].argvIndex = ++argument;
    text += 'u';
  }
  if (choice.ordered && choice.backward) text += 'b';
  info->idxNum = choice.index + 1;
  info->idxStr = sqlite3_mprintf("%s", text.c_str());
  info->needToFreeIdxStr = 1;
  info->orderByConsumed = choice.ordered ? 1 : 0;
  info->estimatedCost = choice.cost;
  info->estimatedRows = static_cast<sqlite3_int64>(choice.rows);
  if (choice.single) info->idxFlags |= SQLITE_INDEX_SCAN_UNIQUE;
}

constexpr int kByIdentity = -1;

int BestIndex(sqlite3_vtab* base, sqlite3_index_info* info) {
  auto& table = *static_cast<VirtualTable*>(base);
  return Guard(*table.state, [&] {
    if (table.table->table == nullptr) {
      info->estimatedCost = 1e6;
      return SQLITE_OK;
    }
    for (int i = 0; i < info->nConstraint; ++i) {
      if (!info->aConstraint[i].usable || info->aConstraint[i].iColumn != -1 || info->aConstraint[i].op != SQLITE_INDEX_CONSTRAINT_EQ)
        continue;
      info->aConstraintUsage[i].argvIndex = 1;
      info->idxNum = kByIdentity;
      info->estimatedCost = 1;
      info->estimatedRows = 1;
      info->idxFlags |= SQLITE_INDEX_SCAN_UNIQUE;
      return SQLITE_OK;
    }
    const double rowCount = std::max(1.0, static_cast<double>(table.table->table->RowCount()));
    std::optional<Choice> best;
    for (std::size_t i = 0; i < table.table->table->Indexes().size(); ++i) {
      std::optional<Choice> choice = Consider(info, *table.table, i, rowCount);
      if (!choice) continue;
      const bool better = !best || (choice->ordered && !best->ordered && choice->rows <= best->rows * 2) ||
                          (choice->ordered == best->ordered && choice->cost < best->cost) || choice->cost * 4 < best->cost;
      if (better) best = std::move(choice);
    }
    const bool worthIt = best && (best->cost < rowCount || best->ordered || best->rows == 1);
    if (worthIt) {
      Take(info, *best);
    } else {
      info->idxNum = 0;
      info->estimatedCost = rowCount + 10;
      info->estimatedRows = static_cast<sqlite3_int64>(rowCount);
    }
    return SQLITE_OK;
  });
}

// ----- walking

int Open(sqlite3_vtab*, sqlite3_vtab_cursor** result) {
  *result = new (std::nothrow) VirtualCursor();
  return *result == nullptr ? SQLITE_NOMEM : SQLITE_OK;
}

int Close(sqlite3_vtab_cursor* cursor) {
  delete static_cast<VirtualCursor*>(cursor);
  return SQLITE_OK;
}

enum class End { kBoth, kLower, kUpper };
enum class Bounded { kValue, kOpen, kNothing };  // a bound, none needed, no row can meet it

// A bound may only be too wide, never too narrow: SQLite tests every row again.
Bounded NumberBound(double number, double low, double high, double unit, End end, double& out) {
  if (std::isnan(number)) return Bounded::kNothing;
  const bool down = end == End::kLower;
  const double scaled = end == End::kBoth ? std::nearbyint(number * unit) : down ? std::floor(number * unit) : std::ceil(number * unit);
  if (scaled < low) return end == End::kLower ? Bounded::kOpen : Bounded::kNothing;
  if (scaled > high) return end == End::kUpper ? Bounded::kOpen : Bounded::kNothing;
  out = scaled;
  return Bounded::kValue;
}

// Beyond 9e15 the amount is not exact as a double: leave a margin, and equalities to the walk over a range.
Bounded CurrencyBound(double number, End end, Value& out) {
  double rounded = 0;
  const Bounded bounded = NumberBound(number, -9.2e18, 9.2e18, 10000, end, rounded);
  if (bounded == Bounded::kValue && std::fabs(rounded) > 9e15) {
    if (end == End::kLower) rounded -= 4096;
    if (end == End::kUpper) rounded += 4096;
    rounded = std::max(-9.2e18, std::min(9.2e18, rounded));
  }
  out = Value(Currency{static_cast<std::int64_t>(rounded)});
  return bounded;
}

Bounded SingleBound(double number, End end, Value& out) {
  auto single = static_cast<float>(number);
  constexpr float kInfinity = std::numeric_limits<float>::infinity();
  if (std::isinf(single) && !std::isinf(number)) {
    const bool open = end != End::kBoth && (end == End::kLower) == (single < 0);
    return open ? Bounded::kOpen : Bounded::kNothing;
  }
  if (end == End::kLower && single > number) single = std::nextafter(single, -kInfinity);
  if (end == End::kUpper && single < number) single = std::nextafter(single, kInfinity);
  out = Value(single);
  return Bounded::kValue;
}

template <typename Whole>
Bounded WholeBound(double number, End end, Value& out) {
  double rounded = 0;
  const Bounded bounded = NumberBound(number, std::numeric_limits<Whole>::min(), std::numeric_limits<Whole>::max(), 1, end, rounded);
  out = Value(static_cast<Whole>(rounded));
  return bounded;
}

Bounded MeasureBound(double number, ColumnType type, End end, Value& out) {
  switch (type) {
    case ColumnType::kBoolean:
      if (end != End::kBoth) return Bounded::kOpen;
      if (number != 0 && number != -1) return Bounded::kNothing;
      out = Value(number != 0);
      return Bounded::kValue;
    case ColumnType::kByte:
      return WholeBound<std::uint8_t>(number, end, out);
    case ColumnType::kInteger:
      return WholeBound<std::int16_t>(number, end, out);
    case ColumnType::kLong:
      return WholeBound<std::int32_t>(number, end, out);
    case ColumnType::kCurrency:
      return CurrencyBound(number, end, out);
    case ColumnType::kSingle:
      return SingleBound(number, end, out);
    case ColumnType::kDouble:
      out = Value(number);
      return Bounded::kValue;
    case ColumnType::kDate:
      out = Value(Date{number});
      return Bounded::kValue;
    default:
      return end == End::kBoth ? Bounded::kNothing : Bounded::kOpen;
  }
}

// "end" is in the order of values here (a descending column's lower end in the index is the upper one of its values).
Bounded Bound(sqlite3_value* argument, ColumnType type, End end, Value& out) {
  const int kind = sqlite3_value_type(argument);
  if (kind == SQLITE_NULL) return Bounded::kNothing;
  const auto open = end == End::kBoth ? Bounded::kNothing : Bounded::kOpen;
  switch (type) {
    case ColumnType::kText:
      if (kind != SQLITE_TEXT) return open;
      out = Value(std::string_view(reinterpret_cast<const char*>(sqlite3_value_text(argument)),
                                   static_cast<std::size_t>(sqlite3_value_bytes(argument))));
      return Bounded::kValue;
    case ColumnType::kGuid: {
      const std::optional<Guid> guid =
          kind == SQLITE_TEXT ? Guid::Parse(reinterpret_cast<const char*>(sqlite3_value_text(argument))) : std::nullopt;
      if (!guid) return open;
      out = Value(*guid);
      return Bounded::kValue;
    }
    case ColumnType::kBinary: {
      if (kind != SQLITE_BLOB) return open;
      const auto* bytes = static_cast<const std::byte*>(sqlite3_value_blob(argument));
      out = Value(Bytes(bytes, bytes + sqlite3_value_bytes(argument)));
      return Bounded::kValue;
    }
    default:
      if (kind != SQLITE_INTEGER && kind != SQLITE_FLOAT) return open;
      return MeasureBound(sqlite3_value_double(argument), type, end, out);
  }
}

// Sets the range of an index walk; false when no row can be in it.
bool SetRange(VirtualCursor& cursor, const EngineTable& table, std::size_t position, const char* how, sqlite3_value** arguments) {
  const IndexDef& index = table.table->Indexes()[position];
  const std::vector<ColumnDef>& columns = table.table->Columns();
  char* flags = nullptr;
  const std::size_t equalCount = std::strtoul(how, &flags, 10);
  KeyBound equal;
  std::size_t argument = 0;
  for (; argument < equalCount; ++argument) {
    Value value;
    if (Bound(arguments[argument], columns[index.columns[argument].column].type, End::kBoth, value) != Bounded::kValue) return false;
    equal.values.push_back(std::move(value));
  }
  std::optional<KeyBound> lower;
  std::optional<KeyBound> upper;
  if (equalCount > 0) lower = upper = equal;
  const auto bound = [&](bool isLower, std::optional<KeyBound>& target) {
    const IndexColumn& column = index.columns[equalCount];
    const End end = isLower != column.descending ? End::kLower : End::kUpper;
    Value value;
    switch (Bound(arguments[argument++], columns[column.column].type, end, value)) {
      case Bounded::kNothing:
        return false;
      case Bounded::kOpen:
        return true;
      case Bounded::kValue:
        break;
    }
    target = equal;
    target->values.push_back(std::move(value));
    return true;
  };
  if (std::strchr(flags, 'l') != nullptr && !bound(true, lower)) return false;
  if (std::strchr(flags, 'u') != nullptr && !bound(false, upper)) return false;
  cursor.index.emplace(*table.table, position);
  const bool backward = std::strchr(flags, 'b') != nullptr;
  try {
    cursor.index->SetRange(lower, upper, backward, true);
  } catch (const Error& error) {
    // A text that has no known place in the order of the index may still equal one that has: all entries are walked.
    if (error.Code() != ErrorCode::kUnsupported) throw;
    cursor.index->SetRange(std::nullopt, std::nullopt, backward);
  }
  return true;
}

void NoteVersion(VirtualCursor& cursor, const VirtualTable& table) {
  cursor.changes = table.state->changes;
  if (table.table->database != nullptr) cursor.version = table.table->database->PagesVersion();
}

// Whoever steps the statement holds what it reads still for a block of rows; between two blocks nothing may be locked.
struct AtRest {
  VirtualCursor& cursor;
  ~AtRest() {
    if (cursor.scan) cursor.scan->Rest();
    if (cursor.index) cursor.index->Rest();
  }
};

void Step(VirtualCursor& cursor, VirtualTable& table) {
  const AtRest atRest{cursor};
  NoteVersion(cursor, table);
  if (cursor.foreign != nullptr) {
    ++cursor.foreignRow;
    cursor.end = !cursor.foreign->Next();
  } else if (cursor.scan) {
    cursor.end = !cursor.scan->Next();
    if (!cursor.end) {
      ++table.state->rowsMet;
      cursor.current = &cursor.scan->Current();
      cursor.id = cursor.scan->Id();
    }
  } else if (cursor.index) {
    for (;;) {
      cursor.end = !cursor.index->Next();
      if (cursor.end) return;
      ++table.state->rowsMet;
      cursor.id = cursor.index->Id();
      if (table.table->table->Read(cursor.id, cursor.row)) break;
    }
    cursor.current = &cursor.row;
  } else {
    cursor.end = true;
  }
}

int Filter(sqlite3_vtab_cursor* base, int how, const char* text, int, sqlite3_value** arguments) {
  auto& cursor = *static_cast<VirtualCursor*>(base);
  VirtualTable& table = TableOf(base);
  return Guard(*table.state, [&] {
    cursor.scan.reset();
    cursor.index.reset();
    cursor.foreign.reset();
    cursor.single = false;
    cursor.end = false;
    RequireCurrent(*table.table);
    if (table.table->table == nullptr) {
      cursor.foreignRow = 0;
      cursor.foreign = table.table->foreign->Scan();
    } else if (how == kByIdentity) {
      cursor.single = true;
      ++table.state->rowsMet;
      cursor.id = RowIdFrom(sqlite3_value_int64(arguments[0]));
      cursor.end = sqlite3_value_type(arguments[0]) == SQLITE_NULL || !table.table->table->Read(cursor.id, cursor.row);
      cursor.current = &cursor.row;
      NoteVersion(cursor, table);
      return SQLITE_OK;
    } else if (how == 0) {
      cursor.scan.emplace(table.table->table->Scan());  // Step lets it rest
    } else if (!SetRange(cursor, *table.table, static_cast<std::size_t>(how - 1), text, arguments)) {
      cursor.end = true;
      return SQLITE_OK;
    }
    Step(cursor, table);
    return SQLITE_OK;
  });
}

int Next(sqlite3_vtab_cursor* base) {
  auto& cursor = *static_cast<VirtualCursor*>(base);
  VirtualTable& table = TableOf(base);
  return Guard(*table.state, [&] {
    if (cursor.single)
      cursor.end = true;
    else
      Step(cursor, table);
    return SQLITE_OK;
  });
}

int Eof(sqlite3_vtab_cursor* base) { return static_cast<VirtualCursor*>(base)->end ? 1 : 0; }

sqlite3_int64 Identity(const VirtualCursor& cursor) { return cursor.foreign != nullptr ? cursor.foreignRow : RowIdNumber(cursor.id); }

// Another process has committed something since the row was read. Its short columns are here as they were, its long ones may be gone.
void ReadLongAgain(VirtualCursor& cursor, VirtualTable& table) {
  Row now;
  if (!table.table->table->Read(cursor.id, now) || now.Fingerprint() != cursor.current->Fingerprint()) {
    throw Error(ErrorCode::kChangedMeanwhile,
                "a row of \"" + table.table->name + "\" was changed by another user while the query was reading it");
  }
  cursor.row = std::move(now);
  cursor.current = &cursor.row;
  NoteVersion(cursor, table);
}

int Column(sqlite3_vtab_cursor* base, sqlite3_context* context, int column) {
  auto& cursor = *static_cast<VirtualCursor*>(base);
  VirtualTable& table = TableOf(base);
  return Guard(*table.state, [&] {
    const auto position = static_cast<std::size_t>(column);
    if (position >= table.table->columns.size()) {
      sqlite3_result_int64(context, Identity(cursor));
      return SQLITE_OK;
    }
    if (cursor.foreign != nullptr) {
      ReturnValue(context, cursor.foreign->Get(position));
      return SQLITE_OK;
    }
    if (cursor.changes != table.state->changes) {
      // Something was written since the row was read: its page may have changed under it.
      NoteVersion(cursor, table);
      cursor.current = table.table->table->Read(cursor.id, cursor.row) ? &cursor.row : nullptr;
    }
    const ColumnType type = table.table->columns[position].type.type;
    const bool isLong = type == ColumnType::kMemo || type == ColumnType::kOle;
    if (isLong && cursor.current != nullptr && cursor.version != table.table->database->PagesVersion()) ReadLongAgain(cursor, table);
    if (cursor.current != nullptr) ReturnColumn(context, *cursor.current, position, type);
    return SQLITE_OK;
  });
}

int RowIdOf(sqlite3_vtab_cursor* base, sqlite3_int64* result) {
  *result = Identity(*static_cast<VirtualCursor*>(base));
  return SQLITE_OK;
}

const sqlite3_module& Module() {
  static const sqlite3_module kModule = [] {
    sqlite3_module module{};
    module.xCreate = Connect;
    module.xConnect = Connect;
    module.xBestIndex = BestIndex;
    module.xDisconnect = Disconnect;
    module.xDestroy = Disconnect;
    module.xOpen = Open;
    module.xClose = Close;
    module.xFilter = Filter;
    module.xNext = Next;
    module.xEof = Eof;
    module.xColumn = Column;
    module.xRowid = RowIdOf;
    return module;
  }();
  return kModule;
}

}  // namespace

void RegisterModule(sqlite3* connection, SessionState& state) { sqlite3_create_module_v2(connection, "jet", &Module(), &state, nullptr); }

}  // namespace jet::sql
