// Parameters in statements: PARAMETERS, names that mean nothing else, "?".
#include "jet/sql/bind/Coercion.h"
#include "jet/sql/Names.h"
#include "jet/sql/bind/Translator.h"

namespace jet::sql {

namespace {

bool IsText(ColumnType type) { return type == ColumnType::kText || type == ColumnType::kMemo; }
bool IsMeasure(ColumnType type) { return IsNumber(type) || type == ColumnType::kDate || type == ColumnType::kBoolean; }

}  // namespace

/// A name that may have several parts: [Forms]![Orders]![OrderID].
std::string Translator::TakeReference() {
  std::string name = TakeName("name of the parameter");
  while ((AtSymbol(".") || AtSymbol("!")) && AtName(1)) {
    Take();
    name += "!" + Take().text;
  }
  return name;
}

void Translator::ParseParameters() {
  ExpectWord("PARAMETERS");
  for (bool first = true; first || TakeSymbol(","); first = false) {
    const Token at = Peek();
    const std::string name = TakeReference();
    ColumnDef column;
    column.type = kNoType;
    if (!TakeWord("VALUE")) ParseColumnType(column);
    TypeInfo type;
    type.type = column.type;
    type.size = IsText(column.type) ? 255 : column.size;
    type.precision = column.precision;
    type.scale = column.scale;
    parameters_->Declare(name, type, PlaceOf(at));
  }
  ExpectSymbol(";");
}

void Translator::NoValue(const std::string& name, const Token& at) {
  const std::string where = " (at character " + std::to_string(at.position) + ")";
  if (IsOfForm(ParameterKey(name)))
    throw Error(ErrorCode::kUnsupported, "\"" + name + "\" is a control of a form of Access, and no value is given for it" + where);
  throw Error(ErrorCode::kNotFound, "no column or parameter value \"" + name + "\"" + where);
}

Expression Translator::UseParameter(std::size_t position, const Token& at) const {
  const ParameterSet::Item& item = parameters_->At(position);
  if (!item.value && !parameters_->collecting) NoValue(item.name.empty() ? "?" : item.name, at);
  Expression made = Made("?" + std::to_string(position + 1), kNoType, {});
  made.type = item.type;
  if (item.type.type == kNoType && item.value) made.type = TypeOfValue(*item.value);
  made.parameter = static_cast<int>(position);
  return made;
}

// A parameter without a declared type takes that of what it is compared with.
void Translator::AdaptParameter(Expression& parameter, const Expression& other) {
  if (parameter.parameter < 0) return;
  const auto position = static_cast<std::size_t>(parameter.parameter);
  const ParameterSet::Item& item = parameters_->At(position);
  if (!item.value || item.declared) return;
  const bool differs = IsText(parameter.type.type) ? IsMeasure(other.type.type) || other.type.type == ColumnType::kGuid
                                                   : IsText(other.type.type) && parameter.type.type != kNoType;
  if (!differs) return;
  const std::size_t converted = parameters_->Converted(position, other.type, settings_);
  parameter.sql = "?" + std::to_string(converted + 1);
  parameter.type = other.type;
  parameter.type.autoNumber = false;
  parameter.parameter = static_cast<int>(converted);
}

}  // namespace jet::sql
