#include "ado/odbc/values/CommandParameters.h"

#include <algorithm>
#include <cmath>

#include "ado/odbc/driver/NativeHeaders.h"
#include "ado/odbc/statement/SqlText.h"
#include "runtime/Dates.h"
#include "runtime/Error.h"

namespace tamlo::ado::odbc {
namespace {

struct TypeOf {
  FieldInfo operator()(runtime::Empty) const { return Typed(adVarWChar); }
  FieldInfo operator()(runtime::Null) const { return Typed(adVarWChar); }
  FieldInfo operator()(bool) const { return Typed(adBoolean); }
  FieldInfo operator()(std::uint8_t) const { return Typed(adUnsignedTinyInt); }
  FieldInfo operator()(std::int16_t) const { return Typed(adSmallInt); }
  FieldInfo operator()(std::int32_t) const { return Typed(adInteger); }
  FieldInfo operator()(std::int64_t) const { return Typed(adBigInt); }
  FieldInfo operator()(float) const { return Typed(adSingle); }
  FieldInfo operator()(double) const { return Typed(adDouble); }
  FieldInfo operator()(runtime::Currency) const { return Typed(adCurrency); }
  FieldInfo operator()(runtime::Date) const { return Typed(adDBTimeStamp); }
  FieldInfo operator()(const runtime::Decimal&) const { return Typed(adNumeric); }
  FieldInfo operator()(const runtime::Guid&) const { return Typed(adGUID); }
  FieldInfo operator()(const std::string& text) const { return Typed(text.size() > kLongestShortText ? adLongVarWChar : adVarWChar); }
  FieldInfo operator()(const runtime::Bytes&) const { return Typed(adLongVarBinary); }

  static FieldInfo Typed(std::int16_t type) {
    FieldInfo info;
    info.type = type;
    return info;
  }
};

/// As a column would be described that takes the value whole.
FieldInfo FieldFor(const ado::Parameter& parameter) {
  FieldInfo info = parameter.type == adEmpty ? std::visit(TypeOf(), parameter.value.Stored()) : TypeOf::Typed(parameter.type);
  info.name = parameter.name;
  info.definedSize = parameter.size;
  if (info.type == adDate) info.type = adDBTimeStamp;
  if (info.type == adDBTimeStamp) {
    const auto* date = parameter.value.If<runtime::Date>();
    const double seconds = date != nullptr ? date->serial * 86400 : 0;
    info.numericScale = std::fabs(seconds - std::nearbyint(seconds)) > 0.0005 ? 3 : 0;
  }
  if (const auto* decimal = parameter.value.If<runtime::Decimal>(); decimal != nullptr) {
    const std::size_t point = decimal->text.find('.');
    info.numericScale = point == std::string::npos ? std::int16_t{0} : static_cast<std::int16_t>(decimal->text.size() - point - 1);
  } else if (info.type == adNumeric || info.type == adVarNumeric) {
    info.numericScale = 10;
  }
  return info;
}

}  // namespace

BoundTexts::BoundTexts(std::string_view text, const DriverFacts& facts) {
  sql_ = facts.keepsWideStatements ? std::string(text) : WithoutWideLiterals(text, literals_, &marksBefore_);
}

void BoundTexts::AddTo(ParameterSet& set, Statement& statement, std::span<const ado::Parameter> parameters,
                       const DriverFacts& facts) const {
  const std::optional<std::size_t> marks = MarksOf(statement);
  const std::size_t wanted = marks.value_or(0) - std::min(marks.value_or(0), literals_.size());
  if (marks && wanted != parameters.size()) {
    throw runtime::Error(
        runtime::kProviderFailure,
        "L'instruction attend " + std::to_string(wanted) + " paramètres, " + std::to_string(parameters.size()) + " sont donnés.", "odbc")
        .WithSent(sql_);
  }
  FieldInfo whole;
  whole.type = adLongVarWChar;
  std::size_t literal = 0;
  for (std::size_t i = 0; i <= parameters.size(); ++i) {
    for (; literal < literals_.size() && marksBefore_[literal] <= i; ++literal)
      set.Add(Variant(literals_[literal]), ShapeFor(whole, 0, facts));
    if (i < parameters.size()) set.Add(parameters[i].value, ShapeFor(FieldFor(parameters[i]), 0, facts));
  }
}

std::optional<std::size_t> MarksOf(Statement& statement) {
  SQLSMALLINT count = 0;
  if (!SQL_SUCCEEDED(SQLNumParams(statement.Native(), &count)) || count < 0) return std::nullopt;
  return static_cast<std::size_t>(count);
}

}  // namespace tamlo::ado::odbc
