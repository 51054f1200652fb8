#include "tests/jet/history/Workload.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <iterator>
#include <optional>
#include <set>

#include "jet/value/Error.h"
#include "jet/table/IndexCursor.h"
#include "jet/index/KeyCodec.h"

namespace jet::tests {
namespace {

std::optional<std::size_t> ColumnOf(const ModelTable& table, const std::string& name) {
  for (std::size_t i = 0; i < table.columns.size(); ++i) {
    if (table.columns[i].name == name) return i;
  }
  return std::nullopt;
}

/// Key of a row in an index; nothing when nulls keep it out.
std::optional<Bytes> KeyOf(const ModelTable& table, const IndexSpec& index, const std::vector<Value>& row, bool& anyNull) {
  std::vector<KeyColumn> columns;
  std::vector<Value> values;
  for (const IndexSpec::Part& part : index.columns) {
    const std::size_t column = ColumnOf(table, part.column).value();
    columns.push_back({table.columns[column].type, part.descending, table.columns[column].scale, table.order});
    values.push_back(row[column]);
  }
  Bytes key;
  const KeyNulls nulls = MakeKey(columns, values, key);
  anyNull = nulls.any;
  if (nulls.all && index.ignoreNulls) return std::nullopt;
  return key;
}

/// Whether a row may stand in the table beside the others: the error that it must meet, if any.
std::optional<ErrorCode> Obstacle(const ModelTable& table, const std::vector<Value>& row, std::optional<RowId> self) {
  std::optional<ErrorCode> obstacle;
  for (const IndexSpec& index : table.indexes) {
    bool anyNull = false;
    const std::optional<Bytes> key = KeyOf(table, index, row, anyNull);
    if ((index.primary || index.required) && anyNull) return ErrorCode::kNullNotAllowed;
    if (!(index.primary || index.unique) || anyNull || !key) continue;
    for (const auto& [id, other] : table.rows) {
      bool otherNull = false;
      if (id != self && KeyOf(table, index, other, otherNull) == key) obstacle = ErrorCode::kDuplicateKey;
    }
  }
  return obstacle;
}

std::string Join(const std::vector<Value>& row) {
  std::string text;
  for (const Value& value : row) {
    std::string described = value.Describe();
    if (described.size() > 60) described = described.substr(0, 60) + "... (" + std::to_string(described.size()) + ")";
    text += (text.empty() ? "" : ", ") + described;
  }
  return text;
}

}  // namespace

std::string Workload::RandomText(std::size_t longest) {
  static const char* const kPieces[] = {"a", "b", "é", "Z", " ", "-", "1", "ß", "Straße ", "O'Brien", "œuvre", "abc", "X", "日本"};
  std::string text;
  std::size_t characters = Below(longest + 1);
  if (Chance(60)) characters = std::min<std::size_t>(characters, 12);
  const bool wide = Chance(30);
  while (characters-- != 0) {
    const std::size_t unwritable = limits_.version == 3 ? 1 : 0;
    const std::string piece = kPieces[Below(std::size(kPieces) - (wide ? unwritable : 3))];
    text += piece;
    const auto length = static_cast<std::size_t>(std::count_if(piece.begin(), piece.end(), [](char c) { return (c & 0xC0) != 0x80; }));
    if (length > 1) characters -= std::min(characters, length - 1);
  }
  // Never longer than asked, in characters.
  std::size_t count = 0;
  for (std::size_t i = 0; i < text.size(); ++i) {
    if ((text[i] & 0xC0) != 0x80 && ++count > longest) {
      text.resize(i);
      break;
    }
  }
  return text;
}

Bytes Workload::RandomBytes(std::size_t longest) {
  Bytes bytes(Below(longest + 1));
  for (std::byte& byte : bytes) byte = static_cast<std::byte>(random_());
  return bytes;
}

ColumnDef Workload::RandomColumn(std::size_t number) {
  static constexpr ColumnType kTypes[] = {ColumnType::kBoolean,  ColumnType::kByte,   ColumnType::kInteger, ColumnType::kLong,
                                          ColumnType::kCurrency, ColumnType::kSingle, ColumnType::kDouble,  ColumnType::kDate,
                                          ColumnType::kBinary,   ColumnType::kText,   ColumnType::kText,    ColumnType::kMemo,
                                          ColumnType::kOle,      ColumnType::kGuid,   ColumnType::kNumeric};
  ColumnDef column;
  column.name = "C" + std::to_string(number);
  column.type = kTypes[Below(std::size(kTypes) - (limits_.version == 3 ? 1 : 0))];
  column.allowZeroLength = true;
  if (column.type == ColumnType::kText) column.size = static_cast<std::uint16_t>(1 + Below(60));
  if (column.type == ColumnType::kBinary) column.size = static_cast<std::uint16_t>(1 + Below(40));
  column.compressed = Chance(70);
  if (column.type == ColumnType::kNumeric) column.scale = static_cast<std::uint8_t>(Below(5));
  return column;
}

Value Workload::RandomValue(const ColumnDef& column) {
  if (column.type != ColumnType::kBoolean && Chance(12)) return Value();
  const auto small = [this] { return static_cast<int>(Below(40)) - 20; };
  switch (column.type) {
    case ColumnType::kBoolean:
      return Value(Chance(50));
    case ColumnType::kByte:
      return Value(static_cast<std::uint8_t>(Below(256)));
    case ColumnType::kInteger:
      return Value(static_cast<std::int16_t>(Chance(50) ? small() : static_cast<int>(random_() & 0xFFFF) - 32768));
    case ColumnType::kLong:
      return Value(Chance(50) ? small() : static_cast<std::int32_t>(random_()));
    case ColumnType::kCurrency:
      return Value(Currency{static_cast<std::int64_t>(random_()) * small()});
    case ColumnType::kSingle:
      return Value(static_cast<float>(small()) / 4.0f);
    case ColumnType::kDouble:
      return Value(static_cast<double>(random_()) / 7.0 * small());
    case ColumnType::kDate:
      return Value(Date{static_cast<double>(Below(60000)) + 0.25});
    case ColumnType::kBinary:
      return Value(RandomBytes(column.size));
    case ColumnType::kText:
      return Value(RandomText(column.size));
    case ColumnType::kMemo:
      return Value(RandomText(limits_.longBytes / (Chance(80) ? 40 : 2)));
    case ColumnType::kOle:
      return Value(RandomBytes(limits_.longBytes / (Chance(80) ? 40 : 1)));
    case ColumnType::kGuid: {
      Guid guid;
      for (std::uint8_t& byte : guid.bytes) byte = static_cast<std::uint8_t>(random_() % 3);
      return Value(guid);
    }
    case ColumnType::kNumeric: {
      const int number = small();
      return Value(Numeric{0, static_cast<std::uint64_t>(number < 0 ? -number : number), column.scale, number < 0});
    }
    case ColumnType::kInternal:
      break;
  }
  return Value();
}

ModelTable* Workload::AnyTable(std::string& name) {
  if (model_.empty()) return nullptr;
  const auto table = std::next(model_.begin(), static_cast<std::ptrdiff_t>(Below(model_.size())));
  name = table->first;
  return &table->second;
}

void Workload::CreateTable(Database& database) {
  if (model_.size() >= limits_.tables) return;
  TableSpec spec;
  spec.name = "Table " + std::to_string(++counter_) + (limits_.textIndexes && Chance(30) ? " é" : "");
  ColumnDef id;
  id.name = "Id";
  id.type = ColumnType::kLong;
  id.autoNumber = true;
  spec.columns.push_back(id);
  for (std::size_t i = 1 + Below(7); i != 0; --i) spec.columns.push_back(RandomColumn(++counter_));
  IndexSpec primary;
  primary.name = "PrimaryKey";
  primary.columns = {{"Id", false}};
  primary.primary = true;
  spec.indexes.push_back(primary);
  database.CreateTable(spec);
  lastStep_ = "created " + spec.name;
  model_[spec.name] = {spec.columns, spec.indexes, {}, 0, limits_.version == 3 ? TextOrder::kAnsiGeneral : TextOrder::kGeneral};
}

void Workload::DropTable(Database& database) {
  std::string name;
  if (model_.size() < 2 || AnyTable(name) == nullptr) return;
  database.DropTable(name);
  lastStep_ = "dropped " + name;
  model_.erase(name);
}

void Workload::AddColumn(Database& database) {
  std::string name;
  ModelTable* table = AnyTable(name);
  if (table == nullptr || table->columns.size() > 11) return;
  const ColumnDef column = RandomColumn(++counter_);
  database.AddColumn(name, column);
  lastStep_ = "added " + column.name + " to " + name;
  table->columns.push_back(column);
  for (auto& [id, row] : table->rows) row.push_back(column.type == ColumnType::kBoolean ? Value(false) : Value());
}

void Workload::DropColumn(Database& database) {
  std::string name;
  ModelTable* table = AnyTable(name);
  if (table == nullptr || table->columns.size() < 3) return;
  const std::size_t column = 1 + Below(table->columns.size() - 1);
  const std::string columnName = table->columns[column].name;
  const bool used = std::any_of(table->indexes.begin(), table->indexes.end(), [&](const IndexSpec& index) {
    return std::any_of(index.columns.begin(), index.columns.end(), [&](const IndexSpec::Part& part) { return part.column == columnName; });
  });
  lastStep_ = "dropped column " + columnName + " of " + name;
  try {
    database.DropColumn(name, columnName);
    ASSERT_FALSE(used) << "a column of an index was dropped";
  } catch (const Error& error) {
    ASSERT_TRUE(used) << error.what();
    ASSERT_EQ(error.Code(), ErrorCode::kUnsupported);
    return;
  }
  table->columns.erase(table->columns.begin() + static_cast<std::ptrdiff_t>(column));
  for (auto& [id, row] : table->rows) row.erase(row.begin() + static_cast<std::ptrdiff_t>(column));
}

IndexSpec Workload::RandomIndex(const ModelTable& table) {
  IndexSpec index;
  index.name = "I" + std::to_string(++counter_);
  std::set<std::size_t> chosen;
  for (std::size_t i = 1 + Below(3); i != 0; --i) {
    const std::size_t column = Below(table.columns.size());
    const ColumnType type = table.columns[column].type;
    if (!limits_.textIndexes && (type == ColumnType::kText || type == ColumnType::kMemo)) continue;
    if (type == ColumnType::kOle || !chosen.insert(column).second) continue;
    index.columns.push_back({table.columns[column].name, Chance(30)});
  }
  if (index.columns.empty()) return index;
  index.unique = Chance(25);
  index.ignoreNulls = Chance(30);
  index.required = !index.ignoreNulls && Chance(10);
  return index;
}

void Workload::CreateIndex(Database& database) {
  std::string name;
  ModelTable* table = AnyTable(name);
  if (table == nullptr || table->indexes.size() > 5) return;
  const IndexSpec index = RandomIndex(*table);
  if (index.columns.empty()) return;
  ModelTable probe = *table;
  probe.indexes = {index};
  std::optional<ErrorCode> obstacle;
  for (const auto& [id, row] : table->rows) {
    if (const std::optional<ErrorCode> found = Obstacle(probe, row, id)) obstacle = found;
  }
  lastStep_ = "made index " + index.name + " of " + name;
  try {
    database.CreateIndex(name, index);
    ASSERT_FALSE(obstacle) << "an index that rows contradict was made";
    table->indexes.push_back(index);
  } catch (const Error& error) {
    ASSERT_TRUE(obstacle) << error.what();
    ASSERT_TRUE(error.Code() == ErrorCode::kDuplicateKey || error.Code() == ErrorCode::kNullNotAllowed) << error.what();
  }
}

void Workload::DropIndex(Database& database) {
  std::string name;
  ModelTable* table = AnyTable(name);
  if (table == nullptr || table->indexes.size() < 2) return;
  const std::size_t index = 1 + Below(table->indexes.size() - 1);
  database.DropIndex(name, table->indexes[index].name);
  lastStep_ = "dropped index " + table->indexes[index].name + " of " + name;
  table->indexes.erase(table->indexes.begin() + static_cast<std::ptrdiff_t>(index));
}

void Workload::Insert(Database& database) {
  std::string name;
  ModelTable* table = AnyTable(name);
  if (table == nullptr) return;
  std::vector<Value> row;
  for (const ColumnDef& column : table->columns) row.push_back(column.autoNumber ? Value() : RandomValue(column));
  std::vector<Value> expected = row;
  expected[0] = Value(table->lastNumber + 1);
  const std::optional<ErrorCode> obstacle = Obstacle(*table, expected, std::nullopt);
  lastStep_ = "inserted into " + name + ": " + Join(expected);
  try {
    const RowId id = database.OpenTable(name).Insert(std::span<const Value>(row));
    ASSERT_FALSE(obstacle) << "a row that an index forbids was inserted: " << lastStep_;
    ++table->lastNumber;
    ASSERT_TRUE(table->rows.emplace(id, expected).second) << "a row got the identity of another";
  } catch (const Error& error) {
    ASSERT_TRUE(obstacle) << error.what() << "\n" << lastStep_;
    ASSERT_EQ(error.Code(), *obstacle) << error.what();
    table->lastNumber = database.OpenTable(name).LastAutoNumber();  // whether a refused row uses up its number is not our matter
  }
}

std::vector<Value> Workload::Changed(const ModelTable& table, const std::vector<Value>& row) {
  std::vector<Value> changed = row;
  for (std::size_t i = 1; i < table.columns.size(); ++i) {
    if (Chance(40)) changed[i] = RandomValue(table.columns[i]);
  }
  return changed;
}

void Workload::Update(Database& database) {
  std::string name;
  ModelTable* table = AnyTable(name);
  if (table == nullptr || table->rows.empty()) return;
  auto row = std::next(table->rows.begin(), static_cast<std::ptrdiff_t>(Below(table->rows.size())));
  const std::vector<Value> expected = Changed(*table, row->second);
  std::vector<Assignment> assignments;
  for (std::size_t i = 1; i < table->columns.size(); ++i) {
    if (expected[i] != row->second[i]) assignments.push_back({i, &expected[i], nullptr});
  }
  if (assignments.empty()) return;
  const std::optional<ErrorCode> obstacle = Obstacle(*table, expected, row->first);
  lastStep_ = "updated in " + name + ": " + Join(row->second) + " to " + Join(expected);
  try {
    database.OpenTable(name).Update(row->first, std::span<const Assignment>(assignments));
    ASSERT_FALSE(obstacle) << "a row was changed into one that an index forbids: " << lastStep_;
    row->second = expected;
  } catch (const Error& error) {
    ASSERT_TRUE(obstacle) << error.what() << "\n" << lastStep_;
    ASSERT_EQ(error.Code(), *obstacle) << error.what();
  }
}

void Workload::Delete(Database& database) {
  std::string name;
  ModelTable* table = AnyTable(name);
  if (table == nullptr || table->rows.empty()) return;
  std::size_t count = Chance(1) ? table->rows.size() : 1;
  while (count-- != 0) {
    const auto row = std::next(table->rows.begin(), static_cast<std::ptrdiff_t>(Below(table->rows.size())));
    database.OpenTable(name).Delete(row->first);
    lastStep_ = "deleted from " + name + ": " + Join(row->second);
    table->rows.erase(row);
  }
}

void Workload::BeginOrEnd(Database& database) {
  if (saved_.empty() || (saved_.size() < 3 && Chance(25))) {
    database.Begin();
    saved_.push_back(model_);
    lastStep_ = "begun";
  } else if (Chance(65)) {
    database.Commit();
    saved_.pop_back();
    lastStep_ = "committed";
  } else {
    database.Rollback();
    model_ = std::move(saved_.back());
    saved_.pop_back();
    lastStep_ = "rolled back";
  }
  ASSERT_EQ(database.TransactionDepth(), Depth());
}

void Workload::Step(Database& database) {
  const unsigned choice = static_cast<unsigned>(Below(100));
  if (model_.empty()) return CreateTable(database);
  if (limits_.transactions && choice < 8) return BeginOrEnd(database);
  if (limits_.schema && choice < 16) {
    switch (Below(6)) {
      case 0:
        return CreateTable(database);
      case 1:
        return Chance(30) ? DropTable(database) : CreateTable(database);
      case 2:
        return AddColumn(database);
      case 3:
        return DropColumn(database);
      case 4:
        return CreateIndex(database);
      default:
        return Chance(50) ? DropIndex(database) : CreateIndex(database);
    }
  }
  std::size_t rows = 0;
  for (const auto& [name, table] : model_) rows += table.rows.size();
  const bool few = rows < limits_.rows * model_.size();
  if (choice < (few ? 70u : 40u)) return Insert(database);
  return choice < (few ? 92u : 75u) ? Update(database) : Delete(database);
}

void Workload::CommitAll(Database& database) {
  while (!saved_.empty()) {
    database.Commit();
    saved_.pop_back();
  }
}

namespace {

std::string CompareRows(Table& table, const ModelTable& model) {
  std::string differences;
  std::size_t seen = 0;
  Value value;
  for (ScanCursor scan = table.Scan(); scan.Next(); ++seen) {
    const auto row = model.rows.find(scan.Id());
    if (row == model.rows.end()) {
      differences += "a row that must not be there\n";
      continue;
    }
    for (std::size_t i = 0; i < model.columns.size(); ++i) {
      scan.Current().Get(i, value);
      if (value != row->second[i]) {
        differences += "column " + model.columns[i].name + " is " + value.Describe().substr(0, 80) + " instead of " +
                       row->second[i].Describe().substr(0, 80) + "\n";
      }
    }
  }
  if (seen != model.rows.size()) differences += std::to_string(seen) + " rows instead of " + std::to_string(model.rows.size()) + "\n";
  if (table.RowCount() != model.rows.size()) differences += "counts " + std::to_string(table.RowCount()) + " rows\n";
  return differences;
}

std::string CompareIndex(Table& table, const ModelTable& model, const IndexSpec& spec) {
  const std::optional<std::size_t> index = table.FindIndex(spec.name);
  if (!index) return "no index " + spec.name + "\n";
  std::vector<std::pair<Bytes, RowId>> expected;
  for (const auto& [id, row] : model.rows) {
    bool anyNull = false;
    if (std::optional<Bytes> key = KeyOf(model, spec, row, anyNull)) expected.emplace_back(std::move(*key), id);
  }
  std::sort(expected.begin(), expected.end());
  for (const bool backward : {false, true}) {
    IndexCursor cursor(table, *index);
    cursor.SetRange(std::nullopt, std::nullopt, backward);
    for (const auto& [key, id] : expected) {
      if (!cursor.Next()) return "index " + spec.name + " ends early\n";
      if (cursor.Id() != id) return "index " + spec.name + " is not in order\n";
    }
    if (cursor.Next()) return "index " + spec.name + " has entries too many\n";
    std::reverse(expected.begin(), expected.end());
  }
  return {};
}

}  // namespace

Untouched AllTables(Database& database) {
  Untouched tables;
  Value value;
  for (const CatalogObject& object : std::vector<CatalogObject>(database.Objects())) {
    if (object.kind != ObjectKind::kTable) continue;
    std::string& rows = tables[object.name];
    Table& table = database.OpenTable(object.name);
    const std::size_t columns = table.Columns().size();
    for (ScanCursor scan = table.Scan(); scan.Next(); rows += '\n') {
      for (std::size_t i = 0; i < columns; ++i) {
        scan.Current().Get(i, value);
        rows += value.Describe() + ';';
      }
    }
  }
  return tables;
}

namespace {

std::string CompareUntouched(Database& database, const Untouched& others) {
  if (others.empty()) return {};
  std::string differences;
  const Untouched now = AllTables(database);
  for (const auto& [name, rows] : others) {
    if (const auto found = now.find(name); found == now.end() || found->second != rows) differences += "table " + name + " was changed\n";
  }
  return differences;
}

std::string CompareTable(Table& table, const ModelTable& expected) {
  std::string own;
  if (table.Columns().size() != expected.columns.size()) own += std::to_string(table.Columns().size()) + " columns\n";
  for (std::size_t i = 0; i < std::min(table.Columns().size(), expected.columns.size()); ++i) {
    if (table.Columns()[i].name != expected.columns[i].name)
      own += "column " + table.Columns()[i].name + " instead of " + expected.columns[i].name + "\n";
  }
  if (table.Indexes().size() != expected.indexes.size()) own += std::to_string(table.Indexes().size()) + " indexes\n";
  if (own.empty()) own += CompareRows(table, expected);
  for (const IndexSpec& index : expected.indexes) own += CompareIndex(table, expected, index);
  return own;
}

}  // namespace

std::string Compare(Database& database, const Model& model, const Untouched& others) {
  std::string differences = CompareUntouched(database, others);
  std::set<std::string> names;
  for (const CatalogObject& object : database.Objects()) {
    if (object.kind == ObjectKind::kTable) names.insert(object.name);
  }
  for (const std::string& name : names) {
    if (!model.contains(name) && !others.contains(name)) differences += "table " + name + " must not be there\n";
  }
  for (const auto& [name, expected] : model) {
    if (!names.contains(name)) {
      differences += "no table " + name + "\n";
      continue;
    }
    if (const std::string own = CompareTable(database.OpenTable(name), expected); !own.empty()) differences += name + ": " + own;
  }
  for (const Finding& finding : database.Check()) {
    differences +=
        "check: " + finding.text + " (page " + std::to_string(finding.page) + ", offset " + std::to_string(finding.offset) + ")\n";
  }
  return differences;
}

}  // namespace jet::tests
