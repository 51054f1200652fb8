#include "ado/jet/JetValues.h"

#include "runtime/Conversions.h"
#include "runtime/Dates.h"
#include "runtime/Error.h"
#include "runtime/RegionalSettings.h"
#include "runtime/Text.h"

namespace tamlo::ado::jetprovider {

namespace {

constexpr std::int64_t kMemoSize = 536870910;  // characters
constexpr std::int64_t kOleSize = 1073741823;  // bytes

struct TypeFact {
  jet::ColumnType engine;
  std::int16_t ado;
  std::int16_t precision;
  std::int64_t size;
};

constexpr TypeFact kFacts[] = {
    {jet::ColumnType::kBoolean, adBoolean, 255, 2},
    {jet::ColumnType::kByte, adUnsignedTinyInt, 3, 1},
    {jet::ColumnType::kInteger, adSmallInt, 5, 2},
    {jet::ColumnType::kLong, adInteger, 10, 4},
    {jet::ColumnType::kCurrency, adCurrency, 19, 8},
    {jet::ColumnType::kSingle, adSingle, 7, 4},
    {jet::ColumnType::kDouble, adDouble, 15, 8},
    {jet::ColumnType::kDate, adDate, 255, 8},
    {jet::ColumnType::kBinary, adVarBinary, 255, 0},
    {jet::ColumnType::kText, adVarWChar, 255, 0},
    {jet::ColumnType::kOle, adLongVarBinary, 255, kOleSize},
    {jet::ColumnType::kMemo, adLongVarWChar, 255, kMemoSize},
    {jet::ColumnType::kGuid, adGUID, 255, 16},
    {jet::ColumnType::kNumeric, adNumeric, 28, 19},
    {jet::ColumnType::kInternal, adVarBinary, 255, 0},
};

const TypeFact& FactOf(jet::ColumnType type) {
  for (const TypeFact& fact : kFacts) {
    if (fact.engine == type) return fact;
  }
  static constexpr TypeFact kUnknown{jet::ColumnType::kText, adVarWChar, 255, 0};
  return kUnknown;
}

struct ToEngine {
  jet::Value operator()(runtime::Empty) const { return {}; }
  jet::Value operator()(runtime::Null) const { return {}; }
  jet::Value operator()(bool value) const { return jet::Value(value); }
  jet::Value operator()(std::uint8_t value) const { return jet::Value(value); }
  jet::Value operator()(std::int16_t value) const { return jet::Value(value); }
  jet::Value operator()(std::int32_t value) const { return jet::Value(value); }
  jet::Value operator()(std::int64_t value) const {
    if (value >= INT32_MIN && value <= INT32_MAX) return jet::Value(static_cast<std::int32_t>(value));
    return jet::Value(*jet::Numeric::Parse(std::to_string(value)));
  }
  jet::Value operator()(float value) const { return jet::Value(value); }
  jet::Value operator()(double value) const { return jet::Value(value); }
  jet::Value operator()(runtime::Currency value) const { return jet::Value(jet::Currency{value.tenThousandths}); }
  jet::Value operator()(runtime::Date value) const { return jet::Value(jet::Date{value.serial}); }
  jet::Value operator()(const runtime::Decimal& value) const {
    const std::optional<jet::Numeric> numeric = jet::Numeric::Parse(value.text);
    return numeric ? jet::Value(*numeric) : jet::Value(value.text);
  }
  jet::Value operator()(const runtime::Guid& value) const {
    const std::optional<jet::Guid> guid = jet::Guid::Parse(value.text);
    return guid ? jet::Value(*guid) : jet::Value(value.text);
  }
  jet::Value operator()(const std::string& value) const { return jet::Value(value); }
  jet::Value operator()(const runtime::Bytes& value) const { return jet::Value(value); }
};

Variant AsTyped(const Variant& value, std::int16_t type) {
  if (value.IsNull() || value.IsEmpty()) return value;
  switch (type) {
    case adUnsignedTinyInt:
    case adTinyInt:
    case adSmallInt:
      return runtime::ToInt16(value);
    case adInteger:
      return runtime::ToInt32(value);
    case adSingle:
      return static_cast<float>(runtime::ToDouble(value));
    case adDouble:
      return runtime::ToDouble(value);
    case adBoolean:
      return runtime::ToBoolean(value);
    case adDate:
    case adDBDate:
    case adDBTime:
    case adDBTimeStamp:
      return runtime::ToDate(value);
    default:
      return IsTextType(type) ? Variant(runtime::ToText(value)) : value;
  }
}

}  // namespace

std::vector<jet::sql::Parameter> EngineParameters(std::span<const Parameter> parameters) {
  std::vector<jet::sql::Parameter> converted;
  for (const Parameter& parameter : parameters) {
    jet::Value value = ToValue(AsTyped(parameter.value, parameter.type));
    if ((parameter.type == adCurrency || parameter.type == adNumeric) && value.Type() == jet::ValueType::kText) {
      // Straight from the digits: a double between would lose some.
      std::string digits(runtime::Trim(value.AsText()));
      for (char& c : digits) c = c == runtime::UserSettings().decimalPoint ? '.' : c;
      const std::optional<jet::Numeric> exact = jet::Numeric::Parse(digits);
      if (!exact) throw runtime::Error(runtime::kTypeMismatch);
      value = jet::Value(*exact);
    }
    converted.push_back({parameter.name, std::move(value)});
  }
  return converted;
}

Variant ToVariant(const jet::Value& value) {
  switch (value.Type()) {
    case jet::ValueType::kNull:
      return runtime::Null{};
    case jet::ValueType::kBool:
      return value.AsBool();
    case jet::ValueType::kByte:
      return value.AsByte();
    case jet::ValueType::kInteger:
      return value.AsInteger();
    case jet::ValueType::kLong:
      return value.AsLong();
    case jet::ValueType::kCurrency:
      return runtime::Currency{value.AsCurrency().scaled};
    case jet::ValueType::kSingle:
      return value.AsSingle();
    case jet::ValueType::kDouble:
      return value.AsDouble();
    case jet::ValueType::kDate:
      return runtime::Date{value.AsDate().serial};
    case jet::ValueType::kText:
      return value.AsText();
    case jet::ValueType::kBytes:
      return value.AsBytes();
    case jet::ValueType::kGuid:
      return runtime::Guid{value.AsGuid().Text()};
    case jet::ValueType::kNumeric:
      return runtime::Decimal{value.AsNumeric().Text()};
  }
  return runtime::Null{};
}

void ReadColumn(jet::Row& row, std::size_t column, jet::ColumnType type, Variant& out) {
  if (row.IsNull(column)) {
    out = runtime::Null{};
    return;
  }
  switch (type) {
    case jet::ColumnType::kBoolean:
      out = row.Bool(column);
      return;
    case jet::ColumnType::kByte:
      out = static_cast<std::uint8_t>(row.Integer(column));
      return;
    case jet::ColumnType::kInteger:
      out = static_cast<std::int16_t>(row.Integer(column));
      return;
    case jet::ColumnType::kLong:
      out = static_cast<std::int32_t>(row.Integer(column));
      return;
    case jet::ColumnType::kCurrency:
      out = runtime::Currency{row.Integer(column)};
      return;
    case jet::ColumnType::kSingle:
      out = static_cast<float>(row.Real(column));
      return;
    case jet::ColumnType::kDouble:
      out = row.Real(column);
      return;
    case jet::ColumnType::kDate:
      out = runtime::Date{row.Real(column)};
      return;
    case jet::ColumnType::kText:
    case jet::ColumnType::kMemo:
      out = std::string(row.Text(column));
      return;
    case jet::ColumnType::kGuid:
    case jet::ColumnType::kNumeric:
      out = ToVariant(row.Get(column));
      return;
    default: {
      const auto bytes = row.Blob(column);
      out = runtime::Bytes(bytes.begin(), bytes.end());
      return;
    }
  }
}

jet::Value ToValue(const Variant& value) { return std::visit(ToEngine{}, value.Stored()); }

std::int16_t AdoType(jet::ColumnType type) { return FactOf(type).ado; }

std::optional<jet::ColumnType> EngineType(std::int16_t adoType) {
  switch (adoType) {
    case adWChar:
    case adChar:
    case adVarChar:
      return jet::ColumnType::kText;
    case adLongVarChar:
      return jet::ColumnType::kMemo;
    case adDBDate:
    case adDBTime:
    case adDBTimeStamp:
      return jet::ColumnType::kDate;
    case adTinyInt:
      return jet::ColumnType::kByte;
    case adVarNumeric:
      return jet::ColumnType::kDouble;
    case adBinary:
      return jet::ColumnType::kBinary;
    default:
      break;
  }
  for (const TypeFact& fact : kFacts) {
    if (fact.ado == adoType) return fact.engine;
  }
  return std::nullopt;
}

FieldInfo Described(const std::string& name, const jet::sql::TypeInfo& type) {
  const TypeFact& fact = FactOf(type.type);
  FieldInfo info;
  info.name = name;
  info.type = fact.ado;
  info.precision = fact.precision;
  info.definedSize = fact.size;
  if (fact.ado == adVarWChar) info.definedSize = type.size == 0 ? 255 : type.size;
  if (fact.ado == adVarBinary) info.definedSize = type.size == 0 ? 510 : type.size;
  if (fact.ado == adNumeric) {
    info.precision = type.precision == 0 ? fact.precision : type.precision;
    info.numericScale = type.scale;
  }
  info.nullable = type.nullable;
  info.autoIncrement = type.autoNumber;
  return info;
}

jet::sql::TextSettings UserTextSettings() {
  jet::sql::TextSettings settings;
  settings.parseDate = [](std::string_view text) -> std::optional<double> {
    const std::optional<runtime::Date> date = runtime::ParseDate(text);
    if (!date) return std::nullopt;
    return date->serial;
  };
  settings.formatDate = [](double serial) { return runtime::FormatDate(runtime::Date{serial}, ""); };
  settings.decimalPoint = runtime::UserSettings().decimalPoint;
  return settings;
}

}  // namespace tamlo::ado::jetprovider
