// Leaves of expressions: literals, columns, parameters.
#include "jet/sql/Names.h"

#include "jet/sql/bind/Binder.h"
#include "jet/sql/bind/Coercion.h"
#include "jet/sql/parse/Tokenizer.h"

namespace jet::sql {

using bound::Form;

namespace {

bool IsMeasure(ColumnType type) { return IsNumber(type) || type == ColumnType::kDate || type == ColumnType::kBoolean; }

bound::NodePointer ParameterNode(std::size_t position) { return MakeNumber(Form::kParameter, static_cast<double>(position)); }

}  // namespace

Expression Binder::Bind(const syntax::Expression& expression) {
  here_ = expression.after;
  Expression bound = std::visit([&](const auto& what) { return Of(what); }, expression.what);
  here_ = expression.after;
  return bound;
}

Expression Binder::Of(syntax::Word word) {
  switch (word) {
    case syntax::Word::kTrue:
      return Made(MakeNode(Form::kTrue, {}), ColumnType::kBoolean, {});
    case syntax::Word::kFalse:
      return Made(MakeNode(Form::kFalse, {}), ColumnType::kBoolean, {});
    case syntax::Word::kIdentity:
      return Made(MakeCall("jet_identity", {}), ColumnType::kLong, {});
    case syntax::Word::kNull:
      break;
  }
  return Made(MakeNode(Form::kNull, {}), kNoType, {});
}

Expression Binder::Of(const syntax::Number& number) {
  if (number.whole) return Made(MakeNumber(Form::kWhole, *number.whole), ColumnType::kLong, {});
  Expression made = Made(MakeNumber(Form::kReal, number.real), ColumnType::kDouble, {});
  made.amountLiteral = number.fewDecimals;
  return made;
}

Expression Binder::Of(const syntax::Text& text) {
  Expression made = Made(MakeText(text.value), ColumnType::kText, {});
  made.literalText = true;
  made.text = text.value;
  made.type.size = 255;
  return made;
}

Expression Binder::Of(const syntax::DateLiteral& date) { return Made(MakeNumber(Form::kReal, date.serial), ColumnType::kDate, {}); }

Expression Binder::Of(const syntax::GuidLiteral& guid) { return Made(MakeText(guid.text), ColumnType::kGuid, {}); }

Expression Binder::Of(const syntax::Parenthesis& parenthesis) {
  Expression inner = Bind(*parenthesis.inner);
  inner.literalText = false;
  return inner;
}

Expression Binder::Of(const syntax::Marker& marker) {
  const std::optional<std::size_t> position = parameters_.FindMarker(PlaceOf(marker.at));
  if (!position) NoValue("?", marker.at);
  return UseParameter(*position, marker.at);
}

// A column, or what its name may mean instead: a truth value, a parameter.
Expression Binder::Of(const syntax::Reference& reference) {
  const auto& [qualifier, name] = reference;
  const char* const sign = qualifier.find('!') == std::string::npos ? "." : "!";
  const std::string full = qualifier.empty() ? name.text : qualifier + sign + name.text;
  if (const std::optional<std::size_t> declared = parameters_.FindDeclared(full)) return UseParameter(*declared, name.spot);
  if (std::optional<Expression> column = FindColumn(qualifier, name)) return *std::move(column);
  // Truth values have these names too, where nothing else has.
  if (qualifier.empty() && !name.bracketed && (name.upper == "YES" || name.upper == "NO" || name.upper == "OFF"))
    return Of(name.upper == "YES" ? syntax::Word::kTrue : syntax::Word::kFalse);
  const std::optional<std::size_t> parameter = parameters_.Find(full, PlaceOf(name.spot));
  if (!parameter) NoValue(full, name.spot);
  return UseParameter(*parameter, name.spot);
}

Expression Binder::ColumnOf(const Scope& scope, std::size_t source, std::size_t column) {
  const ScopeSource& from = scope.sources[source];
  const ColumnInfo& info = from.columns[column];
  Expression made;
  made.node = MakeNode(Form::kColumn, {}, from.sqlAlias + ".c" + std::to_string(column));
  made.type = info.type;
  made.name = info.name;
  made.source = static_cast<int>(source);
  made.column = column;
  return made;
}

Expression Binder::NeedColumn(const std::string& qualifier, const syntax::Name& name) {
  std::optional<Expression> column = FindColumn(qualifier, name);
  if (!column) NoValue(qualifier.empty() ? name.text : qualifier + "." + name.text, name.spot);
  return *std::move(column);
}

namespace {

struct Found {
  bool qualifierKnown = false;
  std::optional<std::pair<std::size_t, std::size_t>> place;  // source and column
};

// qualifier: folded; empty: any source. Error kSyntax for a name that several sources have.
Found FindIn(const Scope& scope, const std::string& qualifier, const syntax::Name& name) {
  Found found;
  for (std::size_t i = 0; i < scope.sources.size(); ++i) {
    const ScopeSource& source = scope.sources[i];
    if (!qualifier.empty() && source.folded != qualifier) continue;
    found.qualifierKnown = true;
    const std::size_t column = PlaceOfColumn(source.columns, name.text, name.upper);
    if (column == source.columns.size()) continue;
    if (found.place) throw SyntaxError("column \"" + name.text + "\" is in more than one table of the FROM clause", name.spot.position);
    found.place = {i, column};
  }
  return found;
}

}  // namespace

std::optional<Expression> Binder::FindColumn(const std::string& qualifier, const syntax::Name& name) {
  const std::string folded = FoldName(qualifier);
  for (const Scope* scope = scope_; scope != nullptr; scope = scope->parent) {
    const Found found = FindIn(*scope, folded, name);
    if (found.place) {
      Expression column = ColumnOf(*scope, found.place->first, found.place->second);
      if (scope == scope_) return column;
      column.node->form = Form::kOuterColumn;
      column.source = -1;
      return column;
    }
    if (!qualifier.empty() && found.qualifierKnown) return std::nullopt;
    for (const auto& [outputName, output] : scope->outputs) {
      if (qualifier.empty() && outputName == name.upper) return output;
    }
  }
  return std::nullopt;
}

ParameterSet::Place Binder::PlaceOf(const syntax::Spot& spot) const { return {outerAt_ == 0 ? spot.position : outerAt_, spot.position}; }

void Binder::NoValue(const std::string& name, const syntax::Spot& at) {
  const std::string where = " (at character " + std::to_string(at.position) + ")";
  if (IsOfForm(ParameterKey(name)))
    throw Error(ErrorCode::kUnsupported, "\"" + name + "\" is a control of a form of Access, and no value is given for it" + where);
  throw Error(ErrorCode::kNotFound, "no column or parameter value \"" + name + "\"" + where);
}

Expression Binder::UseParameter(std::size_t position, const syntax::Spot& at) const {
  const ParameterSet::Item& item = parameters_.At(position);
  if (!item.value && !parameters_.collecting) NoValue(item.name.empty() ? "?" : item.name, at);
  Expression made = Made(ParameterNode(position), kNoType, {});
  made.type = item.type;
  if (item.type.type == kNoType && item.value) made.type = TypeOfValue(*item.value);
  made.parameter = static_cast<int>(position);
  return made;
}

// A parameter without a declared type takes that of what it is compared with.
void Binder::AdaptParameter(Expression& parameter, const Expression& other) {
  if (parameter.parameter < 0) return;
  const auto position = static_cast<std::size_t>(parameter.parameter);
  const ParameterSet::Item& item = parameters_.At(position);
  if (!item.value || item.declared) return;
  const bool differs = IsText(parameter.type.type) ? IsMeasure(other.type.type) || other.type.type == ColumnType::kGuid
                                                   : IsText(other.type.type) && parameter.type.type != kNoType;
  if (!differs) return;
  const std::size_t converted = parameters_.Converted(position, other.type, around_.settings);
  parameter.node = ParameterNode(converted);
  parameter.type = other.type;
  parameter.type.autoNumber = false;
  parameter.parameter = static_cast<int>(converted);
}

}  // namespace jet::sql
