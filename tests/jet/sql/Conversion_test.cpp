// What becomes of a value on its way into a column: through the engine alone, and through a statement under the settings of its user.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <string>
#include <vector>

#include "base/Calendar.h"
#include "base/DateText.h"
#include "jet/sql/bind/Coercion.h"
#include "jet/table/Convert.h"
#include "jet/value/Error.h"

namespace jet::sql::tests {
namespace {

struct Line {
  const char* value;
  const char* column;
  const char* engine;     ///< ConvertToColumn; "-": it says that the value does not suit the column
  const char* statement;  ///< Coerced, where nobody has said anything
  const char* user;       ///< Coerced, for a user with "," in numbers, the month first in dates and dates of his own; "=": as the statement
  const char* file;       ///< the statement's value after ConvertToColumn; "=": that very value or error
};

constexpr Line kLines[] = {
#include "tests/jet/sql/Conversions.inc"
};

const TextSettings& UserSettings() {
  static const TextSettings settings{[](std::string_view text) { return base::ReadDateText(text, base::DateOrder::kMonthFirst); },
                                     [](double serial) { return "day " + std::to_string(serial); }, ','};
  return settings;
}

struct NamedColumn {
  const char* name;
  ColumnType type;
};

constexpr NamedColumn kColumns[] = {{"YesNo", ColumnType::kBoolean},     {"Byte", ColumnType::kByte},     {"Long", ColumnType::kLong},
                                    {"Currency", ColumnType::kCurrency}, {"Single", ColumnType::kSingle}, {"Double", ColumnType::kDouble},
                                    {"Date", ColumnType::kDate},         {"Text", ColumnType::kText},     {"Numeric", ColumnType::kNumeric},
                                    {"Guid", ColumnType::kGuid},         {"Ole", ColumnType::kOle}};

std::vector<Value> Values() {
  std::vector<Value> values;
  for (const char* text : {"",
                           " ",
                           "0",
                           "-0",
                           "1",
                           "-1",
                           "+1",
                           "+-5",
                           "--5",
                           " 12 ",
                           "\t12",
                           "1.5",
                           "1,5",
                           "-2,50",
                           "1.",
                           ".5",
                           ",5",
                           ".",
                           "-",
                           "1e3",
                           "1E-3",
                           "1e",
                           "1e+2",
                           "1e400",
                           "0x10",
                           "inf",
                           "nan",
                           "12abc",
                           "1 000",
                           "255",
                           "256",
                           "2147483648",
                           "37653",
                           "2958466",
                           "99999999999999999999",
                           "922337203685477.5807",
                           " 922337203685477.5807 ",
                           "922337203685477.5808",
                           "0.1",
                           "0,00005",
                           "123456789012345.6789",
                           "True",
                           "false",
                           "VRAI",
                           " faux ",
                           "Oui",
                           "no",
                           "on",
                           "31/12/2003",
                           "12/31/2003",
                           "1/2/2003",
                           "2003-02-01",
                           "01.02.2003",
                           "1 févr. 2003 6:00 PM",
                           "31/02/2003",
                           "6:00",
                           "29/12/1899 06:00",
                           "1.5.2003",
                           "dec 2003",
                           "12.2003",
                           "{00112233-4455-6677-8899-AABBCCDDEEFF}",
                           "00112233-4455-6677-8899-aabbccddeeff",
                           "abc",
                           "é"})
    values.emplace_back(text);
  values.insert(values.end(), {Value(true),
                               Value(false),
                               Value(std::uint8_t{200}),
                               Value(std::int16_t{-300}),
                               Value(70000),
                               Value(Currency{-12345}),
                               Value(Currency{9223372036854775807}),
                               Value(0.5F),
                               Value(1e20F),
                               Value(0.1),
                               Value(2.5),
                               Value(-0.0),
                               Value(1e20),
                               Value(37653.25),
                               Value(3e6),
                               Value(Date{37653.25}),
                               Value(Date{0.25}),
                               Value(Date{-1.25}),
                               Value(Date{37653}),
                               Value(*Numeric::Parse("12.340")),
                               Value(*Numeric::Parse("-0.00005")),
                               Value(*Guid::Parse("00112233-4455-6677-8899-aabbccddeeff")),
                               Value(Bytes{std::byte{1}, std::byte{2}}),
                               Value(Bytes(16, std::byte{7}))});
  return values;
}

std::string Named(const Value& value) {
  static constexpr const char* kNames[] = {"Null",   "Bool", "Byte", "Integer", "Long", "Currency", "Single",
                                           "Double", "Date", "Text", "Bytes",   "Guid", "Numeric"};
  return std::string(kNames[static_cast<std::size_t>(value.Type())]) + " " + value.Describe();
}

/// "#2026-": dates without a year are of this one.
std::string Timeless(std::string text) {
  const std::string year = "#" + std::to_string(base::CivilOf(static_cast<std::int64_t>(base::LocalNow())).year) + "-";
  if (const auto at = text.find(year); at != std::string::npos) text.replace(at, year.size(), "#YEAR-");
  return text;
}

/// An error of the expected code is told without the value that it quotes.
template <typename Work>
std::string Told(const Value& value, Work work) {
  try {
    return Timeless(Named(work()));
  } catch (const Error& error) {
    std::string text = error.what();
    if (error.Code() != ErrorCode::kTypeMismatch) return "! " + text;
    if (text == "The value " + value.Describe() + " does not suit the column \"C\"") return "-";
    const std::string quoted = value.Describe() + " ";
    return text.starts_with(quoted) ? text.substr(quoted.size()) : "! " + text;
  }
}

std::string Quoted(const std::string& text) {  // as the table writes it
  std::string quoted = "\"";
  for (const char c : text) quoted += c == '"' || c == '\\' ? std::string{'\\', c} : c == '\t' ? std::string("\\t") : std::string(1, c);
  return quoted + "\"";
}

TEST(Conversion, IsAsThisTableHasIt) {
  std::string differing;
  std::size_t at = 0;
  for (const Value& value : Values()) {
    for (const NamedColumn& named : kColumns) {
      TableDefinition::Column column;
      column.name = "C";
      column.type = named.type;
      column.length = 100;
      column.sort = {18, 4, 0, 0};
      const TypeInfo type{named.type, 50, 18, 4, false, true};
      Value scratch;
      const std::string statement = Told(value, [&] { return Coerced(value, type, {}); });
      const std::string user = Told(value, [&] { return Coerced(value, type, UserSettings()); });
      const std::string file = Told(value, [&] { return ConvertToColumn(Coerced(value, type, {}), column, scratch); });
      const std::vector<std::string> now = {Named(value),
                                            named.name,
                                            Told(value, [&] { return ConvertToColumn(value, column, scratch); }),
                                            statement,
                                            user == statement ? "=" : user,
                                            file == statement ? "=" : file};
      const Line line = at < std::size(kLines) ? kLines[at] : Line{"", "", "", "", "", ""};
      ++at;
      if (now == std::vector<std::string>{line.value, line.column, line.engine, line.statement, line.user, line.file}) continue;
      differing += "{";
      for (const std::string& part : now) differing += (differing.back() == '{' ? "" : ", ") + Quoted(part);
      differing += "},\n";
    }
  }
  EXPECT_EQ(differing, "") << "the lines of the table that are otherwise now";
  EXPECT_EQ(at, std::size(kLines));
}

}  // namespace
}  // namespace jet::sql::tests
