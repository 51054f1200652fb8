#include "ado/odbc/values/ParameterShape.h"

#include "ado/odbc/driver/NativeHeaders.h"

namespace tamlo::ado::odbc {
namespace {

using Form = ParameterShape::Form;

/// sqlType is that of wide texts.
ParameterShape TextShape(ParameterShape shape, Form form, std::int16_t sqlType, const DriverFacts& facts) {
  shape.form = form;
  shape.nativeType = SQL_C_WCHAR;
  shape.sqlType = sqlType;
  if (!facts.narrowIsUtf8) return shape;
  shape.nativeType = SQL_C_CHAR;
  if (sqlType == SQL_WVARCHAR) shape.sqlType = SQL_VARCHAR;
  if (sqlType == SQL_WLONGVARCHAR) shape.sqlType = SQL_LONGVARCHAR;
  return shape;
}

ParameterShape FixedShape(ParameterShape shape, Form form, std::int16_t nativeType, std::int16_t sqlType, std::size_t bytes,
                          std::size_t size) {
  shape.form = form;
  shape.nativeType = nativeType;
  shape.sqlType = sqlType;
  shape.fixedSize = bytes;
  shape.columnSize = size;
  return shape;
}

/// ASCII alone: any driver takes it as it is.
ParameterShape AsciiShape(ParameterShape shape, Form form, std::int16_t sqlType) {
  shape.form = form;
  shape.nativeType = SQL_C_CHAR;
  shape.sqlType = sqlType;
  return shape;
}

/// Digits of the fraction of a second that a column keeps.
std::int16_t MomentDigits(const FieldInfo& field, const DriverFacts& facts) {
  if (facts.keepsMomentTexts || (facts.roundsMoments && field.numericScale == 255 && field.type == adDBTimeStamp)) return 6;
  const bool told = field.type == adDBTimeStamp || (field.type == adDBTime && facts.momentsAreTexts);
  return told && field.numericScale != 255 ? field.numericScale : std::int16_t{0};
}

ParameterShape MomentShape(ParameterShape shape, const FieldInfo& field, const DriverFacts& facts) {
  shape.digits = MomentDigits(field, facts);
  if (facts.momentsAreTexts) return AsciiShape(shape, Form::kMomentText, SQL_VARCHAR);
  if (field.type == adDBDate) return FixedShape(shape, Form::kDate, SQL_C_TYPE_DATE, SQL_TYPE_DATE, sizeof(SQL_DATE_STRUCT), 10);
  if (field.type == adDBTime) return FixedShape(shape, Form::kTime, SQL_C_TYPE_TIME, SQL_TYPE_TIME, sizeof(SQL_TIME_STRUCT), 8);
  const std::size_t size = shape.digits > 0 ? 20U + static_cast<std::size_t>(shape.digits) : 19U;
  return FixedShape(shape, Form::kTimestamp, SQL_C_TYPE_TIMESTAMP, SQL_TYPE_TIMESTAMP, sizeof(SQL_TIMESTAMP_STRUCT), size);
}

ParameterShape BytesShape(ParameterShape shape, const FieldInfo& field, const DriverFacts& facts) {
  shape.form = Form::kBytes;
  shape.nativeType = SQL_C_BINARY;
  shape.sqlType = field.type == adLongVarBinary ? SQL_LONGVARBINARY : SQL_VARBINARY;
  shape.limit = field.type == adLongVarBinary || !facts.enforcesLengths ? 0 : field.definedSize;
  return shape;
}

ParameterShape DecimalShape(ParameterShape shape, const FieldInfo& field, const DriverFacts& facts) {
  shape.digits = field.type == adCurrency ? std::int16_t{4} : field.numericScale == 255 ? std::int16_t{0} : field.numericScale;
  shape.columnSize = 38;
  return TextShape(shape, Form::kDecimalText, SQL_NUMERIC, facts);
}

}  // namespace

ParameterShape ShapeFor(const FieldInfo& field, std::int16_t sqlType, const DriverFacts& facts) {
  ParameterShape shape;
  shape.adoType = field.type;
  shape.column = field.name;
  shape.values = facts;
  switch (field.type) {
    case adTinyInt:
    case adUnsignedTinyInt:
    case adSmallInt:
    case adUnsignedSmallInt:
    case adInteger:
      if (facts.keepsAnyValue) return FixedShape(shape, Form::kBigInteger, SQL_C_SBIGINT, SQL_BIGINT, 8, 19);
      return FixedShape(shape, Form::kInteger, SQL_C_SLONG, SQL_INTEGER, 4, 10);
    case adUnsignedInt:
    case adBigInt:
      if (facts.numbersAsText) return DecimalShape(shape, field, facts);
      return FixedShape(shape, Form::kBigInteger, SQL_C_SBIGINT, SQL_BIGINT, 8, 19);
    case adCurrency:
    case adNumeric:
    case adVarNumeric:
    case adUnsignedBigInt:
      return DecimalShape(shape, field, facts);
    case adSingle:
    case adDouble:
      return FixedShape(shape, Form::kDouble, SQL_C_DOUBLE, SQL_DOUBLE, 8, 15);
    case adBoolean:
      return FixedShape(shape, Form::kBit, SQL_C_BIT, SQL_BIT, 1, 1);
    case adDate:
    case adDBTimeStamp:
    case adDBDate:
    case adDBTime:
      return MomentShape(shape, field, facts);
    case adGUID:
      shape.limit = field.definedSize == 36 ? 36 : 0;
      return TextShape(shape, Form::kGuidText, sqlType == SQL_GUID ? SQL_GUID : SQL_WVARCHAR, facts);
    case adBinary:
    case adVarBinary:
    case adLongVarBinary:
      return BytesShape(shape, field, facts);
    default:
      shape.limit = IsLongType(field.type) || !facts.enforcesLengths ? 0 : field.definedSize;
      return TextShape(shape, Form::kText, IsLongType(field.type) || field.definedSize > 4000 ? SQL_WLONGVARCHAR : SQL_WVARCHAR, facts);
  }
}

}  // namespace tamlo::ado::odbc
