#include "ado/odbc/values/FetchPlan.h"

#include <optional>

#include "ado/odbc/driver/NativeHeaders.h"
#include "ado/odbc/values/TypeMap.h"

namespace tamlo::ado::odbc {
namespace {

using Form = FetchPlan::Form;

constexpr std::size_t kMomentBytes = 48;  // "infinity", "294276-12-31 23:59:59.999999", "0044-03-15 00:00:00 BC" and their zones

FetchPlan Fixed(Form form, std::int16_t nativeType, std::size_t size) { return {form, nativeType, size, 0}; }
/// A text of at most so many characters; 0 when it is to be read in pieces. Four bytes for each character, and the terminator.
FetchPlan Text(Form form, std::int64_t characters, const DriverFacts& facts) {
  const std::size_t unit = facts.narrowIsUtf8 ? 1 : sizeof(char16_t);
  const bool bound = characters > 0 && characters <= kLongestBoundText;
  return {form, facts.narrowIsUtf8 ? std::int16_t{SQL_C_CHAR} : std::int16_t{SQL_C_WCHAR},
          bound ? static_cast<std::size_t>(characters) * 4 + unit : 0, unit};
}

/// Where the column's own form would not hold all that it keeps.
std::optional<FetchPlan> WiderPlan(std::int16_t type, const DriverFacts& facts) {
  switch (type) {
    case adBoolean:
      if (facts.keepsAnyValue) return Text(Form::kBooleanText, 16, facts);
      return Fixed(Form::kBit, facts.bitsAreNumbers ? SQL_C_UTINYINT : SQL_C_BIT, 1);
    case adUnsignedTinyInt:
    case adTinyInt:
    case adSmallInt:
    case adUnsignedSmallInt:
    case adInteger:
      if (facts.keepsAnyValue) return Fixed(Form::kCheckedInteger, SQL_C_SBIGINT, 8);
      return std::nullopt;
    case adDate:
    case adDBTimeStamp:
    case adDBDate:
    case adDBTime:
      if (facts.keepsAnyValue) return Text(Form::kDateText, 40, facts);
      if (facts.momentsAreTexts) return FetchPlan{Form::kMomentText, SQL_C_CHAR, kMomentBytes, 1};
      return std::nullopt;
    default:
      return std::nullopt;
  }
}

std::optional<FetchPlan> NumberPlan(std::int16_t type, const DriverFacts& facts) {
  switch (type) {
    case adUnsignedTinyInt:
      return Fixed(Form::kUnsignedByte, SQL_C_UTINYINT, 1);
    case adTinyInt:
      return Fixed(Form::kSignedByte, SQL_C_STINYINT, 1);
    case adSmallInt:
      return Fixed(Form::kShort, SQL_C_SSHORT, 2);
    case adUnsignedSmallInt:
      return Fixed(Form::kUnsignedShort, SQL_C_USHORT, 2);
    case adInteger:
      return Fixed(Form::kInteger, SQL_C_SLONG, 4);
    case adUnsignedInt:
      return Fixed(Form::kUnsignedInteger, SQL_C_ULONG, 4);
    case adBigInt:
      return facts.numbersAsText ? Text(Form::kTypedIntegerText, 24, facts) : Fixed(Form::kBigInteger, SQL_C_SBIGINT, 8);
    case adSingle:
      // Never SQL_C_FLOAT: MariaDB's driver 3.1.15 and libsqliteodbc 0.9998 write blocks of it eight bytes apart, beyond the buffer's end.
      return Fixed(Form::kFloat, SQL_C_DOUBLE, 8);
    case adDouble:
      return Fixed(Form::kDouble, SQL_C_DOUBLE, 8);
    case adUnsignedBigInt:
    case adNumeric:
    case adVarNumeric:
      return Text(Form::kDecimalText, 140, facts);
    case adCurrency:
      return Text(Form::kCurrencyText, 40, facts);
    default:
      return std::nullopt;
  }
}

FetchPlan OtherPlan(const FieldInfo& field, const DriverFacts& facts) {
  switch (field.type) {
    case adGUID:
      return Text(Form::kGuidText, 40, facts);
    case adDate:
    case adDBTimeStamp:
      return Fixed(Form::kTimestamp, SQL_C_TYPE_TIMESTAMP, sizeof(SQL_TIMESTAMP_STRUCT));
    case adDBDate:
      return Fixed(Form::kDate, SQL_C_TYPE_DATE, sizeof(SQL_DATE_STRUCT));
    case adDBTime:
      return Fixed(Form::kTime, SQL_C_TYPE_TIME, sizeof(SQL_TIME_STRUCT));
    case adBinary:
    case adVarBinary:
      return {Form::kBytes, SQL_C_BINARY,
              field.definedSize > 0 && field.definedSize <= kLongestBoundBytes ? static_cast<std::size_t>(field.definedSize) : 0, 0};
    case adLongVarBinary:
      return {Form::kBytes, SQL_C_BINARY, 0, 0};
    case adLongVarChar:
    case adLongVarWChar:
      return Text(Form::kText, 0, facts);
    default:
      return Text(Form::kText, field.definedSize, facts);
  }
}

}  // namespace

FetchPlan PlanFor(const FieldInfo& field, const DriverFacts& facts) {
  if (const auto plan = WiderPlan(field.type, facts)) return *plan;
  if (const auto plan = NumberPlan(field.type, facts)) return *plan;
  return OtherPlan(field, facts);
}

FetchPlan PlanForExpression(std::int16_t sqlType, const DriverFacts& facts) {
  switch (sqlType) {
    case SQL_INTEGER:
    case SQL_BIGINT:
    case SQL_SMALLINT:
    case SQL_TINYINT:
      return Text(Form::kTypedIntegerText, 255, facts);
    case SQL_DOUBLE:
    case SQL_FLOAT:
    case SQL_REAL:
      return Text(Form::kTypedDoubleText, 255, facts);
    default:
      return Text(Form::kText, 255, facts);
  }
}

}  // namespace tamlo::ado::odbc
