#include "jet/sql/parse/TypeNames.h"

#include <algorithm>
#include <iterator>

namespace jet::sql {

namespace {

struct TypeName {
  std::string_view name;
  ColumnType type;
};

// The names of column types in Access and their synonyms.
constexpr TypeName kTypeNames[] = {
    {"COUNTER", ColumnType::kLong},      {"AUTOINCREMENT", ColumnType::kLong}, {"IDENTITY", ColumnType::kLong},
    {"LONG", ColumnType::kLong},         {"INTEGER", ColumnType::kLong},       {"INT", ColumnType::kLong},
    {"INTEGER4", ColumnType::kLong},     {"SHORT", ColumnType::kInteger},      {"SMALLINT", ColumnType::kInteger},
    {"INTEGER2", ColumnType::kInteger},  {"BYTE", ColumnType::kByte},          {"TINYINT", ColumnType::kByte},
    {"INTEGER1", ColumnType::kByte},     {"SINGLE", ColumnType::kSingle},      {"REAL", ColumnType::kSingle},
    {"FLOAT4", ColumnType::kSingle},     {"IEEESINGLE", ColumnType::kSingle},  {"DOUBLE", ColumnType::kDouble},
    {"FLOAT", ColumnType::kDouble},      {"FLOAT8", ColumnType::kDouble},      {"NUMBER", ColumnType::kDouble},
    {"IEEEDOUBLE", ColumnType::kDouble}, {"CURRENCY", ColumnType::kCurrency},  {"MONEY", ColumnType::kCurrency},
    {"DECIMAL", ColumnType::kNumeric},   {"NUMERIC", ColumnType::kNumeric},    {"DEC", ColumnType::kNumeric},
    {"YESNO", ColumnType::kBoolean},     {"BIT", ColumnType::kBoolean},        {"LOGICAL", ColumnType::kBoolean},
    {"LOGICAL1", ColumnType::kBoolean},  {"BOOLEAN", ColumnType::kBoolean},    {"DATETIME", ColumnType::kDate},
    {"DATE", ColumnType::kDate},         {"TIME", ColumnType::kDate},          {"TIMESTAMP", ColumnType::kDate},
    {"TEXT", ColumnType::kText},         {"CHAR", ColumnType::kText},          {"VARCHAR", ColumnType::kText},
    {"CHARACTER", ColumnType::kText},    {"STRING", ColumnType::kText},        {"ALPHANUMERIC", ColumnType::kText},
    {"NCHAR", ColumnType::kText},        {"NVARCHAR", ColumnType::kText},      {"MEMO", ColumnType::kMemo},
    {"LONGTEXT", ColumnType::kMemo},     {"LONGCHAR", ColumnType::kMemo},      {"NOTE", ColumnType::kMemo},
    {"NTEXT", ColumnType::kMemo},        {"GUID", ColumnType::kGuid},          {"UNIQUEIDENTIFIER", ColumnType::kGuid},
    {"BINARY", ColumnType::kBinary},     {"VARBINARY", ColumnType::kBinary},   {"LONGBINARY", ColumnType::kOle},
    {"OLEOBJECT", ColumnType::kOle},     {"GENERAL", ColumnType::kOle},        {"IMAGE", ColumnType::kOle},
};

}  // namespace

std::optional<ColumnType> TypeNamed(std::string_view upper) {
  const auto found =
      std::find_if(std::begin(kTypeNames), std::end(kTypeNames), [&](const TypeName& candidate) { return candidate.name == upper; });
  return found == std::end(kTypeNames) ? std::nullopt : std::optional(found->type);
}

const char* NameOfType(int type) {
  switch (type) {
    case 1:
      return "BIT";
    case 2:
      return "BYTE";
    case 3:
      return "SHORT";
    case 4:
      return "LONG";
    case 5:
      return "CURRENCY";
    case 6:
      return "SINGLE";
    case 7:
      return "DOUBLE";
    case 8:
      return "DATETIME";
    case 9:
      return "BINARY";
    case 10:
      return "TEXT";
    case 11:
      return "LONGBINARY";
    case 12:
      return "MEMO";
    case 15:
      return "GUID";
    case 16:
      return "DECIMAL";
    default:
      return "VALUE";
  }
}

}  // namespace jet::sql
