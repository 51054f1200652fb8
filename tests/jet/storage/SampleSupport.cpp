#include "tests/jet/storage/SampleSupport.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>
#include <cstdio>
#include <cstdlib>

#include "jet/table/TableCore.h"
#include "tests/jet/storage/JetTestSupport.h"

namespace jet::tests {
namespace {

/// Output of a command under a time limit. Names of tables have accents, which some readers take in such a locale only.
std::string Output(const std::string& command) {
  std::string text;
  FILE* pipe = ::popen(("LC_ALL=C.UTF-8 timeout 60 " + command).c_str(), "r");
  std::array<char, 65536> buffer;
  for (std::size_t count; (count = std::fread(buffer.data(), 1, buffer.size(), pipe)) > 0;) text.append(buffer.data(), count);
  EXPECT_EQ(::pclose(pipe), 0) << command;
  return text;
}

std::string Quoted(const std::string& text) {
  std::string quoted = "'";
  for (const char c : text) quoted += c == '\'' ? std::string("'\\''") : std::string(1, c);
  return quoted + "'";
}

std::string Hex(std::string_view bytes) {
  static constexpr char kDigits[] = "0123456789abcdef";
  std::string text;
  for (const char c : bytes) {
    text += kDigits[static_cast<unsigned char>(c) >> 4];
    text += kDigits[static_cast<unsigned char>(c) & 15];
  }
  return text;
}

std::string Exponential(double value) {
  std::array<char, 64> text;
  std::string printed(text.data(), std::to_chars(text.data(), text.data() + text.size(), value, std::chars_format::scientific, 6).ptr);
  const auto sign = printed.find('e') + 2;
  while (printed.size() > sign + 1 && printed[sign] == '0') printed.erase(sign, 1);
  return printed;
}

/// Seconds since 1970 of a serial, whose fraction counts forward also before 1899-12-30.
long long Seconds(double serial) {
  const double day = std::trunc(serial);
  return std::llround((day - 25569) * 86400 + std::fabs(serial - day) * 86400);
}

/// The value as tests/jet/readers/dump.mjs prints it.
std::string AsOtherReader(const Value& value) {
  switch (value.Type()) {
    case ValueType::kNull:
      return "null";
    case ValueType::kBool:
      return value.AsBool() ? "true" : "false";
    case ValueType::kByte:
      return "N" + Exponential(value.AsByte());
    case ValueType::kInteger:
      return "N" + Exponential(value.AsInteger());
    case ValueType::kLong:
      return "N" + Exponential(value.AsLong());
    case ValueType::kSingle:
      return "N" + Exponential(value.AsSingle());
    case ValueType::kDouble:
      return "N" + Exponential(value.AsDouble());
    case ValueType::kDate:
      return "D" + std::to_string(Seconds(value.AsDate().serial));
    case ValueType::kText:
      return "T" + Hex(value.AsText());
    case ValueType::kBytes:
      return "B" + Hex({reinterpret_cast<const char*>(value.AsBytes().data()), value.AsBytes().size()});
    case ValueType::kGuid:
      return "T" + Hex(value.AsGuid().Text());
    default:
      return "T" + Hex(value.Describe());
  }
}

/// Numbers in text (currency, numeric) come with or without their last zeros, GUIDs with or without braces.
std::string Loose(std::string text) {
  if (text.size() < 2 || text[0] != 'T') return text;
  std::string plain;
  for (std::size_t i = 1; i + 1 < text.size(); i += 2) plain += static_cast<char>(std::stoi(text.substr(i, 2), nullptr, 16));
  if (plain.find_first_not_of("-0123456789.") == std::string::npos && plain.find('.') != std::string::npos) {
    plain.erase(plain.find_last_not_of('0') + 1);
    if (plain.back() == '.') plain.pop_back();
    return "T" + plain;
  }
  if (plain.size() == 38 && plain.front() == '{') plain = plain.substr(1, 36);
  std::transform(plain.begin(), plain.end(), plain.begin(), [](unsigned char c) { return std::tolower(c); });
  return "T" + plain;
}

std::vector<std::string> Split(const std::string& text, const std::string& separator) {
  std::vector<std::string> parts;
  std::size_t at = 0;
  for (std::size_t end; (end = text.find(separator, at)) != std::string::npos; at = end + separator.size())
    parts.push_back(text.substr(at, end - at));
  parts.push_back(text.substr(at));
  return parts;
}

Contents ByOtherReader(const std::string& path, const std::string& password) {
  Contents tables;
  const char* script = std::getenv("TAMLO_READERS");
  for (const auto& line :
       Split(Output("node " + Quoted(std::string(script) + "/dump.mjs") + " " + Quoted(path) + " " + Quoted(password)), "\n")) {
    const auto parts = Split(line, "\t");
    if (parts.size() < 2) continue;
    if (parts[0] == "table") {
      tables[parts[1]];
      continue;
    }
    auto& row = tables[parts[0]].emplace_back();
    for (std::size_t i = 1; i < parts.size(); ++i)
      row[parts[i].substr(0, parts[i].find('='))] = Loose(parts[i].substr(parts[i].find('=') + 1));
  }
  return tables;
}

/// The value as mdb-export prints it; nothing where its way of printing tells less than the value.
std::optional<std::string> AsExport(const Value& value) {
  switch (value.Type()) {
    case ValueType::kNull:
      return "\x1d";
    case ValueType::kBool:
      return value.AsBool() ? "1" : "0";
    case ValueType::kByte:
    case ValueType::kInteger:
    case ValueType::kLong:
    case ValueType::kText:
      return value.Type() == ValueType::kText ? value.AsText() : value.Describe();
    default:
      return std::nullopt;
  }
}

}  // namespace

Contents ByUs(Database& database) {
  Contents tables;
  for (const auto& object : std::vector<CatalogObject>(database.Objects())) {
    if (object.kind != ObjectKind::kTable) continue;
    Table& table = database.OpenTable(object.name);
    auto& rows = tables[Hex(object.name)];
    for (ScanCursor cursor = table.Scan(); cursor.Next();) {
      auto& row = rows.emplace_back();
      for (std::size_t i = 0; i < table.Columns().size(); ++i)
        row[Hex(table.Columns()[i].name)] = Loose(AsOtherReader(cursor.Current().Get(i)));
    }
  }
  return tables;
}

/// What the other one shows otherwise: dates before 1899-12-30 (whose time it counts backwards), and in .accdb files attachments and lists
/// and calculated values.
void EraseSpecial(Database& database, Contents& contents) {
  using Shape = TableDefinition::Shape;
  constexpr long long kDayNull = -2209161600;
  for (auto& [name, rows] : contents)
    for (auto& row : rows)
      for (auto& [column, value] : row)
        if (value.starts_with("D-") && std::stoll(value.substr(1)) < kDayNull) value = "before 1899-12-30";
  for (const auto& object : std::vector<CatalogObject>(database.Objects())) {
    if (object.kind != ObjectKind::kTable) continue;
    for (const auto& column : database.OpenTable(object.name).Core().Stored()) {
      if (column.shape == Shape::kPlain || column.shape == Shape::kBigInteger || column.shape == Shape::kExtendedDate) continue;
      for (auto& row : contents[Hex(object.name)]) row.erase(Hex(column.name));
    }
  }
}

/// An extended date as the other one writes it: with dots, and nine digits behind the seconds.
void RewriteDates(Database& database, Contents& contents) {
  for (const auto& object : std::vector<CatalogObject>(database.Objects())) {
    if (object.kind != ObjectKind::kTable) continue;
    for (const auto& column : database.OpenTable(object.name).Core().Stored()) {
      if (column.shape != TableDefinition::Shape::kExtendedDate) continue;
      for (auto& row : contents[Hex(object.name)]) {
        std::string& value = row[Hex(column.name)];
        if (value == "null") continue;
        std::replace(value.begin(), value.end(), '-', '.');
        value += "00";
      }
    }
  }
}

void ExpectSameAsOtherReader(Database& database, const std::string& path, const std::string& password) {
  Contents ours = ByUs(database);
  Contents theirs = ByOtherReader(path, password);
  EraseSpecial(database, ours);
  EraseSpecial(database, theirs);
  RewriteDates(database, ours);
  for (const auto& [name, rows] : ours) {
    const auto other = theirs.find(name);
    ASSERT_NE(other, theirs.end()) << name;
    ASSERT_EQ(other->second.size(), rows.size()) << name;
    auto sorted = rows;
    auto others = other->second;
    std::sort(sorted.begin(), sorted.end());
    std::sort(others.begin(), others.end());
    for (std::size_t i = 0; i < rows.size(); ++i) ASSERT_EQ(sorted[i], others[i]) << path << " table " << name;
  }
}

/// Moved rows are met in another order there, so rows are compared as a set.
void ExpectSameAsExport(Database& database, const std::string& path) {
  for (const auto& object : std::vector<CatalogObject>(database.Objects())) {
    if (object.kind != ObjectKind::kTable) continue;
    Table& table = database.OpenTable(object.name);
    auto lines =
        Split(Output("mdb-export -Q -b strip -d '<\x1f>' -R '<\x1e>' -0 '\x1d' " + Quoted(path) + " " + Quoted(object.name)), "<\x1e>");
    ASSERT_FALSE(lines.empty());
    if (lines.back().empty()) lines.pop_back();
    const auto header = Split(lines[0], "<\x1f>");
    std::vector<std::size_t> columns;
    std::vector<bool> comparable;
    for (const auto& title : header) {
      const auto column = table.FindColumn(title);
      ASSERT_TRUE(column.has_value()) << title;
      columns.push_back(*column);
      const ColumnType type = table.Columns()[*column].type;
      const bool plain = table.Core().Stored()[*column].shape == TableDefinition::Shape::kPlain;
      comparable.push_back(plain && (type <= ColumnType::kLong || type == ColumnType::kText || type == ColumnType::kMemo));
    }
    std::vector<std::vector<std::string>> ours, theirs;
    for (ScanCursor cursor = table.Scan(); cursor.Next();) {
      auto& row = ours.emplace_back();
      for (std::size_t f = 0; f < columns.size(); ++f)
        row.push_back(comparable[f] ? AsExport(cursor.Current().Get(columns[f])).value() : "");
    }
    for (std::size_t line = 1; line < lines.size(); ++line) {
      auto fields = Split(lines[line], "<\x1f>");
      ASSERT_EQ(fields.size(), header.size()) << object.name << " row " << line;
      for (std::size_t f = 0; f < fields.size(); ++f)
        if (!comparable[f]) fields[f].clear();
      theirs.push_back(std::move(fields));
    }
    std::sort(ours.begin(), ours.end());
    std::sort(theirs.begin(), theirs.end());
    ASSERT_EQ(ours.size(), theirs.size()) << object.name;
    for (std::size_t i = 0; i < ours.size(); ++i) ASSERT_EQ(ours[i], theirs[i]) << path << " table " << object.name;
  }
}

void Work(Database& database, const std::string& name, Done& done) {
  Table& table = database.OpenTable(name);
  std::vector<RowId> ids;
  for (ScanCursor cursor = table.Scan(); cursor.Next();) ids.push_back(cursor.Id());
  const auto attempt = [&](int& count, auto call) {
    if (CodeOf(call))
      ++done.refused;
    else
      ++count;
  };
  for (std::size_t i = 0; i < ids.size() && i < 20; ++i) {
    auto values = table.Read(ids[i]).value();
    for (std::size_t c = 0; c < values.size(); ++c) {
      if (table.Columns()[c].autoNumber)
        values[c] = Value();
      else if (values[c].Type() == ValueType::kLong)
        values[c] = Value(values[c].AsLong() + 100000 + static_cast<int>(i));
      else if (values[c].Type() == ValueType::kText && table.Columns()[c].size != 1)
        values[c] = Value(std::string(i % 5 == 0 ? "x" : "é") + std::to_string(i));
    }
    attempt(done.inserted, [&] { table.Insert(values); });
    if (i % 3 == 0) attempt(done.updated, [&] { table.Update(ids[i], values); });
    if (i % 3 == 1) attempt(done.deleted, [&] { table.Delete(ids[i]); });
  }
  database.AddColumn(name, Column("Added text", ColumnType::kText, 40));
  database.AddColumn(name, Column("Added memo", ColumnType::kMemo));
  database.AddColumn(name, Counter("Added number").autoNumber && std::none_of(table.Columns().begin(), table.Columns().end(),
                                                                              [](const ColumnDef& c) { return c.autoNumber; })
                               ? Counter("Added number")
                               : Column("Added number", ColumnType::kDouble));
  std::vector<Value> values(table.Columns().size());
  const std::size_t text = table.FindColumn("Added text").value();
  const std::size_t memo = table.FindColumn("Added memo").value();
  const Value shortText("ajouté"), longText(std::string(9000, 'm'));
  const Assignment assignments[] = {{text, &shortText, nullptr}, {memo, &longText, nullptr}};
  ids.clear();
  for (ScanCursor cursor = table.Scan(); cursor.Next();) ids.push_back(cursor.Id());
  for (std::size_t i = 0; i < ids.size() && i < 10; ++i) table.Update(ids[i], assignments);
  database.CreateIndex(name, Index("Added index", {"Added text"}));
  database.CreateIndex(name, Index("Added index 2", {"Added number", "Added text"}));
  database.DropIndex(name, "Added index");
  for (std::size_t c = 0; c < table.Columns().size(); ++c) {
    if (CodeOf([&] { database.DropColumn(name, std::string(table.Columns()[c].name)); })) continue;
    break;
  }
}

/// All rows of all tables but one, system tables too, and what the catalog says of all objects but that table.
std::map<std::string, std::vector<std::string>> AllBut(Database& database, const std::set<std::string>& edited) {
  std::map<std::string, std::vector<std::string>> contents;
  for (const auto& object : std::vector<CatalogObject>(database.Objects())) {
    if ((object.kind != ObjectKind::kTable && object.kind != ObjectKind::kSystemTable) || edited.count(object.name) != 0) continue;
    Table& table = database.OpenTable(object.name);
    auto& rows = contents[object.name];
    const auto name = object.name == "MSysObjects" ? table.FindColumn("Name") : std::nullopt;
    for (ScanCursor cursor = table.Scan(); cursor.Next();) {
      if (name && edited.count(std::string(cursor.Current().Text(*name))) != 0) continue;
      std::string row;
      for (std::size_t i = 0; i < table.Columns().size(); ++i) row += AsOtherReader(cursor.Current().Get(i)) + "|";
      rows.push_back(std::move(row));
    }
    std::sort(rows.begin(), rows.end());
  }
  return contents;
}

/// The tables that a change of this one may reach through relationships, itself included.
std::set<std::string> Related(Database& database, const std::string& table) {
  std::set<std::string> reached{table};
  for (std::size_t before = 0; before != reached.size();) {
    before = reached.size();
    for (const auto& relationship : database.Relationships())
      if (relationship.enforced && (reached.count(relationship.table) != 0 || reached.count(relationship.referencedTable) != 0))
        reached.insert({relationship.table, relationship.referencedTable});
  }
  return reached;
}

namespace {

/// Another value for a column, or the one that it has.
Value Drawn(const TableDefinition::Column& column, const Value& value, std::mt19937& random) {
  using Shape = TableDefinition::Shape;
  if (random() % 2 == 0) return value;
  if (column.shape == Shape::kBigInteger) return Value(Numeric{0, random() * std::uint64_t{2147483647}, 0, random() % 2 == 0});
  if (column.shape == Shape::kExtendedDate)
    return Value("19" + std::to_string(10 + random() % 90) + "-02-28 01:02:03." + std::to_string(random() % 10000000));
  if (value.Type() == ValueType::kLong) return Value(static_cast<std::int32_t>(random() % 1000000));
  constexpr std::uint16_t kRoom = 2 * 11;
  if (column.type == ColumnType::kText && column.length < kRoom)
    return column.length < 8 ? value : Value("é" + std::to_string(random() % 1000));
  if (value.Type() == ValueType::kText) return Value(std::string("Straße-") + std::to_string(random() % 1000));
  return value;
}

/// Values for the columns that can be given some: not numbers that the table gives, not those of an .accdb that Access alone fills.
std::vector<std::pair<std::size_t, Value>> DrawnRow(Table& table, const std::vector<Value>& model, std::mt19937& random) {
  using Shape = TableDefinition::Shape;
  const auto& columns = table.Core().Stored();
  const bool history = std::any_of(columns.begin(), columns.end(),
                                   [](const auto& column) { return (column.extraFlags & TableDefinition::Column::kHistoryFlag) != 0; });
  std::vector<std::pair<std::size_t, Value>> row;
  for (std::size_t c = 0; c < model.size(); ++c) {
    const bool filled = columns[c].shape == Shape::kComplex || columns[c].shape == Shape::kUnknown || table.Columns()[c].autoNumber ||
                        (history && columns[c].type == ColumnType::kMemo);
    if (!filled) row.emplace_back(c, Drawn(columns[c], model[c], random));
  }
  return row;
}

}  // namespace

void EditAtRandom(Database& database, const std::string& name, std::mt19937& random, Done& done) {
  constexpr int kSteps = 150, kInsertsFirst = 8;
  Table& table = database.OpenTable(name);
  std::vector<RowId> ids;
  for (ScanCursor cursor = table.Scan(); cursor.Next();) ids.push_back(cursor.Id());
  if (ids.empty()) return;
  for (int step = 0; step < kSteps; ++step) {
    const auto values = table.Read(ids[random() % ids.size()]);
    if (!values) continue;
    const auto changed = DrawnRow(table, *values, random);
    std::vector<Assignment> assignments;
    for (const auto& [column, value] : changed) assignments.push_back({column, &value, nullptr});
    const RowId row = ids[random() % ids.size()];
    const unsigned kind = step < kInsertsFirst ? 0 : random() % 4;
    int& count = kind < 2 ? done.inserted : kind == 2 ? done.updated : done.deleted;
    try {
      if (kind < 2)
        ids.push_back(table.Insert(assignments));
      else if (kind == 2)
        table.Update(row, assignments);
      else
        table.Delete(row);
      ++count;
    } catch (const Error& error) {
      ++done.refused;
      done.lastRefusal = error.what();
    }
  }
}

}  // namespace jet::tests
