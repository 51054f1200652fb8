#include "ado/odbc/rows/ServerExpression.h"

#include "ado/odbc/driver/NativeHeaders.h"

namespace tamlo::ado::odbc {

using Form = FetchPlan::Form;

bool IsTyped(std::int16_t type) noexcept {
  switch (type) {
    case adBoolean:
    case adTinyInt:
    case adUnsignedTinyInt:
    case adSmallInt:
    case adUnsignedSmallInt:
    case adInteger:
    case adUnsignedInt:
    case adBigInt:
    case adUnsignedBigInt:
    case adSingle:
    case adDouble:
    case adCurrency:
    case adNumeric:
    case adVarNumeric:
    case adGUID:
      return true;
    default:
      return IsMoment(type);
  }
}

FetchPlan AsciiPlan(Form form, std::size_t bytes) { return {form, SQL_C_CHAR, bytes + 1, 1}; }
FetchPlan TextAsBytesPlan() { return {Form::kText, SQL_C_BINARY, 0, 1}; }
FetchPlan BytesPlan() { return {Form::kBytes, SQL_C_BINARY, 0, 0}; }

FetchPlan ServerTextPlan(const FieldInfo& field) {
  switch (field.type) {
    case adBoolean:
      return AsciiPlan(Form::kBooleanText, 16);
    case adTinyInt:
    case adUnsignedTinyInt:
    case adSmallInt:
    case adUnsignedSmallInt:
    case adInteger:
    case adUnsignedInt:
    case adBigInt:
      return AsciiPlan(Form::kTypedIntegerText, 24);
    case adSingle:
      return AsciiPlan(Form::kFloatText, 40);
    case adDouble:
      return AsciiPlan(Form::kTypedDoubleText, 40);
    case adCurrency:
      return AsciiPlan(Form::kCurrencyText, 140);
    case adGUID:
      return AsciiPlan(Form::kGuidText, 40);
    default:
      return AsciiPlan(IsMoment(field.type) ? Form::kMomentText : Form::kDecimalText, 140);
  }
}

}  // namespace tamlo::ado::odbc
