#include "tests/jet/strict/RandomRows.h"

#include <cstdint>
#include <iterator>
#include <span>

#include "jet/table/Table.h"
#include "jet/value/Error.h"
#include "tests/jet/storage/JetTestSupport.h"

namespace jet::tests {

std::size_t Below(Random& random, std::size_t limit) { return random() % limit; }

IndexSpec IndexOf(std::string name, std::vector<IndexSpec::Part> parts) {
  IndexSpec index;
  index.name = std::move(name);
  index.columns = std::move(parts);
  return index;
}

std::string RandomText(Random& random, std::size_t longest, bool wide, int version) {
  static const char* const kPieces[] = {"a", "B", "é", "È", " ", "-", "'", "1", "ß", "Æ", "ü", "z", "_", "\xC2\xAD", "ç", "\t", "/", "ñ"};
  static const char* const kWide[] = {"日", "あ", "ァ", "e\xCC\x81", "œ", "ﬁ", "€", "Ж", "ش", "𝄞", "\xE2\x80\x93", "ｱ"};
  static const char* const kAnsi[] = {"œ", "Œ", "€", "Š", "ž", "Ÿ", "…", "’", "\xE2\x80\x93", "ø", "Þ", "¼"};
  static_assert(std::size(kWide) == std::size(kAnsi));
  const auto& rare = version == 3 ? kAnsi : kWide;
  std::string text;
  for (std::size_t i = Below(random, longest + 1); i != 0; --i)
    text += wide && Below(random, 3) == 0 ? rare[Below(random, std::size(rare))] : kPieces[Below(random, std::size(kPieces))];
  return text;
}

std::string Cut(const std::string& text, std::size_t units) {
  std::size_t count = 0;
  for (std::size_t i = 0; i < text.size(); ++i) {
    const auto byte = static_cast<unsigned char>(text[i]);
    if ((byte & 0xC0) == 0x80) continue;
    count += byte >= 0xF0 ? 2 : 1;
    if (count > units) return text.substr(0, i);
  }
  return text;
}

std::vector<ColumnDef> AllTypes(int version) {
  std::vector<ColumnDef> columns = {
      Counter("Id"),
      Column("Yes", ColumnType::kBoolean),
      Column("Small", ColumnType::kByte),
      Column("Number", ColumnType::kInteger),
      Column("Big", ColumnType::kLong),
      Column("Money", ColumnType::kCurrency),
      Column("Single", ColumnType::kSingle),
      Column("Real", ColumnType::kDouble),
      Column("When", ColumnType::kDate),
      Column("Raw", ColumnType::kBinary, 40),
      Column("Words", ColumnType::kText, 40),
      Column("Plain words", ColumnType::kText, 255),
      Column("Note", ColumnType::kMemo),
      Column("Picture", ColumnType::kOle),
      Column("Key", ColumnType::kGuid),
      Column("Exact", ColumnType::kNumeric),
      Column("Fixed raw", ColumnType::kBinary, 9),
      Column("Fixed words", ColumnType::kText, 7),
  };
  columns[11].compressed = false;
  columns[15].precision = 28;
  columns[15].scale = 3;
  columns[16].fixedLength = columns[17].fixedLength = true;
  if (version == 3) columns.erase(columns.begin() + 15);
  return columns;
}

namespace {

Value RandomValue(Random& random, const ColumnDef& column, int version) {
  if (column.type != ColumnType::kBoolean && Below(random, 8) == 0) return Value();
  const auto number = static_cast<std::int32_t>(random());
  switch (column.type) {
    case ColumnType::kBoolean:
      return Value(Below(random, 2) == 0);
    case ColumnType::kByte:
      return Value(static_cast<std::uint8_t>(number));
    case ColumnType::kInteger:
      return Value(static_cast<std::int16_t>(number));
    case ColumnType::kLong:
      return Value(number);
    case ColumnType::kCurrency:
      return Value(Currency{std::int64_t{number} * 12345});
    case ColumnType::kSingle:
      return Value(static_cast<float>(number % 1000) / 8);
    case ColumnType::kDouble:
      return Value(Below(random, 20) == 0 ? -0.0 : static_cast<double>(number) / 1024);
    case ColumnType::kDate:
      return Value(Date{static_cast<double>(number % 100000) / 4});
    case ColumnType::kBinary: {
      Bytes bytes(Below(random, column.size + 1u));
      for (auto& byte : bytes) byte = static_cast<std::byte>(random() % 5);
      return Value(std::move(bytes));
    }
    case ColumnType::kOle: {
      Bytes bytes(Below(random, 3) == 0 ? Below(random, 15000) : Below(random, 100));
      for (auto& byte : bytes) byte = static_cast<std::byte>(random());
      return Value(std::move(bytes));
    }
    case ColumnType::kText:
      return Value(Cut(RandomText(random, column.size, Below(random, 4) == 0, version), column.size));
    case ColumnType::kMemo:
      return Value(RandomText(random, Below(random, 4) == 0 ? 9000 : 60, Below(random, 3) == 0, version));
    case ColumnType::kGuid: {
      Guid guid;
      for (auto& byte : guid.bytes) byte = static_cast<std::uint8_t>(random() % 4);
      return Value(guid);
    }
    case ColumnType::kNumeric: {
      const bool wide = column.precision == 28 && Below(random, 4) == 0;
      const std::uint64_t low = column.precision < 10 ? random() % 1000 : random();
      return Value(Numeric{wide ? 5ull : 0ull, low, column.scale, Below(random, 2) == 0});
    }
    case ColumnType::kInternal:
      break;
  }
  return Value();
}

/// Of an error that a rule of the table has: the step is one less done.
bool IsOfARule(ErrorCode code) {
  switch (code) {
    case ErrorCode::kDuplicateKey:
    case ErrorCode::kNullNotAllowed:
    case ErrorCode::kZeroLengthNotAllowed:
    case ErrorCode::kRelationViolated:
    case ErrorCode::kLimit:
    case ErrorCode::kValueTooLong:
    case ErrorCode::kNotFound:  // deleted by a cascade
      return true;
    default:
      return false;
  }
}

void InsertOne(Table& table, Random& random, int version, std::vector<RowId>& rows, std::vector<Value>& values) {
  values.clear();
  for (const ColumnDef& column : table.Columns()) values.push_back(column.autoNumber ? Value() : RandomValue(random, column, version));
  rows.push_back(table.Insert(std::span<const Value>(values)));
}

void UpdateOne(Table& table, Random& random, int version, const std::vector<RowId>& rows, std::vector<Value>& values) {
  std::vector<Assignment> assignments;
  values.resize(table.Columns().size());
  for (std::size_t i = 0; i < values.size(); ++i) {
    if (table.Columns()[i].autoNumber || Below(random, 2) == 0) continue;
    values[i] = RandomValue(random, table.Columns()[i], version);
    assignments.push_back({i, &values[i], nullptr});
  }
  table.Update(rows[Below(random, rows.size())], std::span<const Assignment>(assignments));
}

void DeleteOne(Table& table, Random& random, std::vector<RowId>& rows) {
  const std::size_t at = Below(random, rows.size());
  table.Delete(rows[at]);
  rows.erase(rows.begin() + static_cast<std::ptrdiff_t>(at));
}

}  // namespace

void Exercise(Database& database, const std::string& name, Random& random, std::size_t steps) {
  Table& table = database.OpenTable(name);
  std::vector<RowId> rows;
  for (ScanCursor scan = table.Scan(); scan.Next();) rows.push_back(scan.Id());
  std::vector<Value> values;
  for (std::size_t step = 0; step < steps; ++step) {
    const std::size_t choice = Below(random, 10);
    try {
      if (choice < 6 || rows.empty()) {
        InsertOne(table, random, database.FormatVersion(), rows, values);
      } else if (choice < 9) {
        UpdateOne(table, random, database.FormatVersion(), rows, values);
      } else {
        DeleteOne(table, random, rows);
      }
    } catch (const Error& error) {
      if (!IsOfARule(error.Code())) throw;
    }
  }
}

}  // namespace jet::tests
