#include "ado/odbc/values/TypeMap.h"

#include <algorithm>
#include <array>
#include <cstdlib>
#include <string_view>

#include "ado/odbc/driver/NativeHeaders.h"
#include "runtime/Error.h"
#include "runtime/Text.h"

namespace tamlo::ado::odbc {
namespace {

constexpr std::int64_t kLongTextSize = 1073741823;
constexpr std::int64_t kLongBytesSize = 2147483647;

struct DeclaredType {
  std::string_view word;
  std::int16_t type;
};

/// First words of declared types, by their whole text.
constexpr std::array<DeclaredType, 45> kDeclaredTypes{{
    {"INT", adInteger},
    {"INTEGER", adInteger},
    {"MEDIUMINT", adInteger},
    {"COUNTER", adInteger},
    {"LONG", adInteger},
    {"BIGINT", adBigInt},
    {"SMALLINT", adSmallInt},
    {"SHORT", adSmallInt},
    {"TINYINT", adTinyInt},
    {"BYTE", adUnsignedTinyInt},
    {"BIT", adBoolean},
    {"BOOL", adBoolean},
    {"BOOLEAN", adBoolean},
    {"YESNO", adBoolean},
    {"LOGICAL", adBoolean},
    {"CHAR", adChar},
    {"CHARACTER", adChar},
    {"NCHAR", adWChar},
    {"WCHAR", adWChar},
    {"VARCHAR", adVarChar},
    {"VARCHAR2", adVarChar},
    {"NVARCHAR", adVarWChar},
    {"TEXT", adLongVarWChar},
    {"NTEXT", adLongVarWChar},
    {"MEMO", adLongVarWChar},
    {"CLOB", adLongVarWChar},
    {"LONGTEXT", adLongVarWChar},
    {"MEDIUMTEXT", adLongVarWChar},
    {"LONGVARCHAR", adLongVarWChar},
    {"BLOB", adLongVarBinary},
    {"LONGBLOB", adLongVarBinary},
    {"IMAGE", adLongVarBinary},
    {"LONGVARBINARY", adLongVarBinary},
    {"BINARY", adBinary},
    {"VARBINARY", adVarBinary},
    {"DOUBLE", adDouble},
    {"REAL", adDouble},
    {"FLOAT", adDouble},
    {"SINGLE", adSingle},
    {"DECIMAL", adNumeric},
    {"NUMERIC", adNumeric},
    {"NUMBER", adNumeric},
    {"MONEY", adCurrency},
    {"CURRENCY", adCurrency},
    {"DATETIME", adDBTimeStamp},
}};
constexpr std::array<DeclaredType, 6> kMoreDeclaredTypes{{{"TIMESTAMP", adDBTimeStamp},
                                                          {"DATE", adDBDate},
                                                          {"TIME", adDBTime},
                                                          {"GUID", adGUID},
                                                          {"UUID", adGUID},
                                                          {"UNIQUEIDENTIFIER", adGUID}}};

/// 0 for a name that is not known.
std::int16_t DeclaredTypeOf(std::string_view upperName) {
  const std::string_view word = upperName.substr(0, upperName.find_first_of(" ("));
  const bool isUnsigned = upperName.find("UNSIGNED") != std::string_view::npos;
  if (word == "TINYINT" && isUnsigned) return adUnsignedTinyInt;
  for (const auto& entry : kDeclaredTypes) {
    if (entry.word == word) return entry.type;
  }
  for (const auto& entry : kMoreDeclaredTypes) {
    if (entry.word == word) return entry.type;
  }
  return 0;
}

/// "DECIMAL(15,2)" gives 15 and 2.
void ReadDeclaredSize(std::string_view name, FieldInfo& field, std::size_t& size) {
  const auto open = name.find('(');
  if (open == std::string_view::npos) return;
  const std::string inside(name.substr(open + 1));
  char* end = nullptr;
  size = static_cast<std::size_t>(std::strtoul(inside.c_str(), &end, 10));
  if (*end == ',') field.numericScale = static_cast<std::int16_t>(std::strtol(end + 1, nullptr, 10));
}

std::int16_t TypeOf(const ColumnDescription& column, const DriverFacts& facts) {
  const std::string name = runtime::UpperCase(column.typeName);
  if (facts.declaredTypesDecide) {
    if (const auto type = DeclaredTypeOf(name)) return type;
  }
  if (name == "MONEY" || name == "SMALLMONEY") return adCurrency;
  if (facts.longTextsLookShort && (name == "TEXT" || name == "JSON" || name == "JSONB")) return adLongVarWChar;
  return ToAdoType(column.sqlType, column.isUnsigned);
}

std::int16_t NumberPrecision(std::int16_t type) {
  switch (type) {
    case adTinyInt:
    case adUnsignedTinyInt:
      return 3;
    case adSmallInt:
    case adUnsignedSmallInt:
      return 5;
    case adInteger:
    case adUnsignedInt:
      return 10;
    case adBigInt:
      return 19;
    case adUnsignedBigInt:
      return 20;
    case adSingle:
      return 7;
    case adDouble:
      return 15;
    case adCurrency:
      return 19;
    default:
      return 255;
  }
}

struct ColumnType {
  std::int16_t type;
  std::string_view TypeTexts::*text;
};

/// Types for new columns; decimals, which have two sizes, apart.
constexpr std::array<ColumnType, 25> kColumnTypes{{{adBoolean, &TypeTexts::truth},
                                                   {adTinyInt, &TypeTexts::tiny},
                                                   {adUnsignedTinyInt, &TypeTexts::tiny},
                                                   {adSmallInt, &TypeTexts::small},
                                                   {adInteger, &TypeTexts::whole},
                                                   {adUnsignedSmallInt, &TypeTexts::whole},
                                                   {adBigInt, &TypeTexts::big},
                                                   {adUnsignedInt, &TypeTexts::big},
                                                   {adSingle, &TypeTexts::single},
                                                   {adDouble, &TypeTexts::real},
                                                   {adCurrency, &TypeTexts::currency},
                                                   {adDate, &TypeTexts::moment},
                                                   {adDBTimeStamp, &TypeTexts::moment},
                                                   {adDBDate, &TypeTexts::day},
                                                   {adDBTime, &TypeTexts::time},
                                                   {adGUID, &TypeTexts::guid},
                                                   {adChar, &TypeTexts::fixedText},
                                                   {adWChar, &TypeTexts::fixedText},
                                                   {adVarChar, &TypeTexts::text},
                                                   {adVarWChar, &TypeTexts::text},
                                                   {adLongVarChar, &TypeTexts::longText},
                                                   {adLongVarWChar, &TypeTexts::longText},
                                                   {adBinary, &TypeTexts::bytes},
                                                   {adVarBinary, &TypeTexts::bytes},
                                                   {adLongVarBinary, &TypeTexts::longBytes}}};

std::string DecimalText(const Column& column, const TypeTexts& types) {
  if (column.precision <= 0 || column.precision == 255) return std::string(types.plainDecimal);
  const auto scale = column.numericScale == 255 ? 0 : column.numericScale;
  return std::string(types.decimal) + "(" + std::to_string(column.precision) + "," + std::to_string(scale) + ")";
}

}  // namespace

std::int16_t ToAdoType(std::int16_t sqlType, bool isUnsigned) {
  switch (sqlType) {
    case SQL_CHAR:
      return adChar;
    case SQL_VARCHAR:
      return adVarChar;
    case SQL_LONGVARCHAR:
      return adLongVarChar;
    case SQL_WCHAR:
      return adWChar;
    case SQL_WVARCHAR:
      return adVarWChar;
    case SQL_WLONGVARCHAR:
      return adLongVarWChar;
    case SQL_DECIMAL:
    case SQL_NUMERIC:
      return adNumeric;
    case SQL_SMALLINT:
      return isUnsigned ? adUnsignedSmallInt : adSmallInt;
    case SQL_INTEGER:
      return isUnsigned ? adUnsignedInt : adInteger;
    case SQL_TINYINT:
      return isUnsigned ? adUnsignedTinyInt : adTinyInt;
    case SQL_BIGINT:
      return isUnsigned ? adUnsignedBigInt : adBigInt;
    case SQL_REAL:
      return adSingle;
    case SQL_FLOAT:
    case SQL_DOUBLE:
      return adDouble;
    case SQL_BIT:
      return adBoolean;
    case SQL_BINARY:
      return adBinary;
    case SQL_VARBINARY:
      return adVarBinary;
    case SQL_LONGVARBINARY:
      return adLongVarBinary;
    case SQL_TYPE_DATE:
    case SQL_DATE:
      return adDBDate;
    case SQL_TYPE_TIME:
    case SQL_TIME:
      return adDBTime;
    case SQL_TYPE_TIMESTAMP:
    case SQL_TIMESTAMP:
      return adDBTimeStamp;
    case SQL_GUID:
      return adGUID;
    default:
      return adVarWChar;
  }
}

std::int64_t FixedSize(std::int16_t type) {
  switch (type) {
    case adTinyInt:
    case adUnsignedTinyInt:
      return 1;
    case adSmallInt:
    case adUnsignedSmallInt:
    case adBoolean:
      return 2;
    case adInteger:
    case adUnsignedInt:
    case adSingle:
      return 4;
    case adBigInt:
    case adUnsignedBigInt:
    case adDouble:
    case adCurrency:
    case adDate:
      return 8;
    case adDBDate:
    case adDBTime:
      return 6;
    case adDBTimeStamp:
    case adGUID:
      return 16;
    case adNumeric:
    case adVarNumeric:
      return 19;
    default:
      return 0;
  }
}

FieldInfo ToFieldInfo(const ColumnDescription& column, const DriverFacts& facts) {
  FieldInfo field;
  field.name = column.name;
  field.type = TypeOf(column, facts);
  field.nullable = column.nullable;
  field.autoIncrement = column.autoIncrement;
  field.numericScale = 255;
  std::size_t size = column.size;
  if (field.type == adNumeric) {
    field.numericScale = column.digits;
    if (facts.declaredTypesDecide) ReadDeclaredSize(column.typeName, field, size);
    field.precision = static_cast<std::int16_t>(std::min<std::size_t>(size, 255));
  } else {
    field.precision = NumberPrecision(field.type);
    if (field.type == adDBTimeStamp || field.type == adDBTime) {
      field.numericScale = facts.keepsMomentTexts ? std::int16_t{6} : column.digits;
      if (!facts.tellsMomentDigits) field.numericScale = 255;
    }
  }
  if (const auto fixed = FixedSize(field.type)) {
    field.definedSize = fixed;
  } else if (IsLongType(field.type)) {
    field.definedSize = field.type == adLongVarWChar ? kLongTextSize : kLongBytesSize;
  } else {
    field.definedSize = static_cast<std::int64_t>(std::min<std::size_t>(size, kLongBytesSize));
  }
  return field;
}

std::string ColumnTypeText(const Column& column, const TypeTexts& types) {
  if (column.type == adNumeric || column.type == adVarNumeric) return DecimalText(column, types);
  const auto found = std::find_if(kColumnTypes.begin(), kColumnTypes.end(), [&](const ColumnType& one) { return one.type == column.type; });
  if (found == kColumnTypes.end()) throw runtime::Error(runtime::kInvalidArgument, "Type " + std::to_string(column.type) + " non géré");
  const std::string_view text = types.*found->text;
  const auto size = text.find('#');
  if (size == std::string_view::npos) return std::string(text);
  return std::string(text.substr(0, size)) + std::to_string(column.definedSize > 0 ? column.definedSize : 255) +
         std::string(text.substr(size + 1));
}

}  // namespace tamlo::ado::odbc
