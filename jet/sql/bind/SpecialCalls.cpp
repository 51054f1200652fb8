// Functions whose types or arguments need thought: choices, conversions to dates and texts, DLookup and its family.
#include "jet/sql/bind/SpecialCalls.h"

#include <algorithm>
#include <iterator>

#include "base/DateText.h"
#include "jet/sql/Names.h"
#include "jet/sql/bind/Coercion.h"
#include "jet/sql/bind/DomainText.h"
#include "jet/sql/parse/Parser.h"

namespace jet::sql {

using bound::Form;
using bound::NodePointer;

namespace {

// The type of a value that is one or the other. A text beside something else leaves each as it is: the first one tells.
TypeInfo ChoiceType(const TypeInfo& a, const TypeInfo& b) {
  TypeInfo type = IsText(a.type) == IsText(b.type) ? CommonType(a, b) : a.type == kNoType ? b : a;
  type.autoNumber = false;
  return type;
}

// One letter that tells a function what a number stands for.
NodePointer KindLetter(const Expression& e) {
  switch (e.type.type) {
    case ColumnType::kDate:
      return MakeText("d");
    case ColumnType::kBoolean:
      return MakeText("b");
    case ColumnType::kText:
    case ColumnType::kMemo:
      return MakeText("t");
    default:
      return MakeText("n");
  }
}

}  // namespace

const Binder::SpecialCall* Binder::FindSpecial(const std::string& function) {
  static constexpr SpecialCall kCalls[] = {
      {"CVDATE", 1, 1, &Binder::Date},
      {"CDATE", 1, 1, &Binder::Date},
      {"DATEVALUE", 1, 1, &Binder::DateValue},
      {"TIMEVALUE", 1, 1, &Binder::TimeValue},
      {"IIF", 3, 3, &Binder::Iif},
      {"SWITCH", 2, 100, &Binder::Switch},
      {"CHOOSE", 2, 100, &Binder::Choose},
      {"NZ", 1, 2, &Binder::Nz},
      {"ISNULL", 1, 1, &Binder::IsNull},
      {"ISDATE", 1, 1, &Binder::IsOfKind},
      {"ISNUMERIC", 1, 1, &Binder::IsOfKind},
      {"CBOOL", 1, 1, &Binder::Truth},
      {"FORMAT", 1, 2, &Binder::Format},
      {"CSTR", 1, 1, &Binder::Text},
  };
  static constexpr SpecialCall kDomain{"", 2, 3, &Binder::Domain};
  if (DomainAggregate(function) != nullptr) return &kDomain;
  const auto* found = std::find_if(std::begin(kCalls), std::end(kCalls), [&](const SpecialCall& call) { return call.name == function; });
  return found == std::end(kCalls) ? nullptr : found;
}

Expression Binder::DateFromText(const syntax::Spot& at, const Expression& text) const {
  if (!text.literalText) {
    if (text.type.type == ColumnType::kDate) return text;
    return Made(MakeCall("jet_cdate", {AsValue(text)}), ColumnType::kDate, {&text});
  }
  const TextSettings& settings = around_.settings;
  const std::optional<double> serial =
      settings.parseDate ? settings.parseDate(text.text) : base::ReadDateText(text.text, base::DateOrder::kDayFirst);
  if (!serial) throw Error(ErrorCode::kTypeMismatch, "not a date: '" + text.text + "' (at character " + std::to_string(at.position) + ")");
  return Made(MakeNumber(Form::kReal, *serial), ColumnType::kDate, {});
}

Expression Binder::Date(const syntax::Call& call, Arguments& arguments) { return DateFromText(call.at, arguments[0]); }

Expression Binder::DateValue(const syntax::Call& call, Arguments& arguments) {
  const Expression date = DateFromText(call.at, arguments[0]);
  return Made(MakeCall("jet_datevalue", {date.node}), ColumnType::kDate, {&date});
}

Expression Binder::TimeValue(const syntax::Call& call, Arguments& arguments) {
  const Expression date = DateFromText(call.at, arguments[0]);
  return Made(MakeCall("jet_timevalue", {date.node}), ColumnType::kDate, {&date});
}

// One IIF in the last place of another goes on with its cases.
Expression Binder::Iif(const syntax::Call& /*call*/, Arguments& arguments) {
  Expression& other = arguments[2];
  std::vector<NodePointer> parts{arguments[0].node, AsValue(arguments[1])};
  if (other.chain == '?') {
    parts.insert(parts.end(), other.node->parts.begin(), other.node->parts.end());
    --other.nesting;
  } else {
    parts.push_back(AsValue(other));
  }
  Expression made = Made(MakeNode(Form::kCase, std::move(parts)), kNoType, {&arguments[0], &arguments[1], &other});
  made.type = ChoiceType(arguments[1].type, other.type);
  made.chain = '?';
  return made;
}

Expression Binder::Switch(const syntax::Call& call, Arguments& arguments) {
  if (arguments.size() % 2 != 0) throw SyntaxError("SWITCH wants pairs of arguments", call.at.position);
  std::vector<NodePointer> parts;
  TypeInfo type = arguments[1].type;
  for (std::size_t i = 0; i < arguments.size(); i += 2) {
    parts.push_back(arguments[i].node);
    parts.push_back(AsValue(arguments[i + 1]));
    if (i > 0) type = ChoiceType(type, arguments[i + 1].type);
  }
  Expression made = Made(MakeNode(Form::kCase, std::move(parts)), kNoType, {});
  for (const Expression& argument : arguments) Absorb(made, argument);
  made.type = type;
  return made;
}

Expression Binder::Choose(const syntax::Call& /*call*/, Arguments& arguments) {
  std::vector<NodePointer> parts{MakeCall("jet_clng", {AsNumber(arguments[0])})};
  TypeInfo type = arguments[1].type;
  for (std::size_t i = 1; i < arguments.size(); ++i) {
    parts.push_back(AsValue(arguments[i]));
    type = ChoiceType(type, arguments[i].type);
  }
  Expression made = Made(MakeNode(Form::kChoose, std::move(parts)), kNoType, {&arguments[0]});
  for (std::size_t i = 1; i < arguments.size(); ++i) Absorb(made, arguments[i]);
  made.type = type;
  return made;
}

Expression Binder::Nz(const syntax::Call& /*call*/, Arguments& arguments) {
  const Expression& value = arguments[0];
  const Expression fallback = arguments.size() == 2     ? arguments[1]
                              : IsText(value.type.type) ? Made(MakeText({}), ColumnType::kText, {})
                                                        : Made(MakeNumber(Form::kWhole, 0), ColumnType::kLong, {});
  Expression made = Made(MakeCall("COALESCE", {AsValue(value), AsValue(fallback)}), kNoType, {&value, &fallback});
  made.type = ChoiceType(value.type, fallback.type);
  return made;
}

Expression Binder::IsNull(const syntax::Call& /*call*/, Arguments& arguments) {
  return MadeCondition(MakeNode(Form::kIsNull, {AsValue(arguments[0])}), {&arguments[0]});
}

Expression Binder::IsOfKind(const syntax::Call& call, Arguments& arguments) {
  return MadeCondition(MakeCall("jet_" + LowerCase(call.function), {AsValue(arguments[0]), KindLetter(arguments[0])}), {&arguments[0]});
}

Expression Binder::Truth(const syntax::Call& /*call*/, Arguments& arguments) {
  return MadeCondition(MakeNode(Form::kDiffers, {AsNumber(arguments[0]), MakeNumber(Form::kWhole, 0)}), {&arguments[0]});
}

Expression Binder::Format(const syntax::Call& /*call*/, Arguments& arguments) {
  const Expression picture = arguments.size() == 2 ? arguments[1] : Made(MakeText({}), ColumnType::kText, {});
  NodePointer call = MakeCall("jet_format", {AsValue(arguments[0]), AsText(picture), KindLetter(arguments[0])});
  Expression made = Made(std::move(call), ColumnType::kText, {&arguments[0], &picture});
  made.type.size = 255;
  return made;
}

Expression Binder::Text(const syntax::Call& /*call*/, Arguments& arguments) {
  const Expression& value = arguments[0];
  NodePointer text = AsText(value);
  // What was a plain column is none any more.
  if (text == value.node && value.source >= 0) text = MakeNode(Form::kSame, {std::move(text)});
  Expression made = Made(std::move(text), ColumnType::kText, {&value});
  made.type.size = 255;
  return made;
}

// Where expression and domain are written out, their type is known, and so is what is wrong with them.
Expression Binder::Domain(const syntax::Call& call, Arguments& arguments) {
  const std::string aggregate = DomainAggregate(call.function);
  std::vector<NodePointer> parts{MakeText(aggregate)};
  for (const Expression& argument : arguments) parts.push_back(AsText(argument));
  Expression made = Made(MakeCall("jet_domain", std::move(parts)), kNoType, {});
  for (const Expression& argument : arguments) Absorb(made, argument);
  if (!arguments[0].literalText || !arguments[1].literalText) return made;
  constexpr int kDeepest = 8;  // as when they are evaluated
  if (domainDepth_ >= kDeepest) throw UnsupportedError("DLookup and the like use each other too deeply", call.at.position);
  ParameterSet none;
  Binder inner(around_, none, false);
  inner.domainDepth_ = domainDepth_ + 1;
  BoundStatement statement = inner.Run(Parse(DomainStatement(aggregate, arguments[0].text, arguments[1].text, {})));
  made.type = std::get<SelectPlan>(statement.plan).columns.at(0).type;
  made.type.autoNumber = false;
  made.type.nullable = true;
  return made;
}

}  // namespace jet::sql
