// Function calls and aggregates.
#include <set>

#include "jet/sql/Names.h"
#include "jet/sql/bind/Binder.h"
#include "jet/sql/bind/Coercion.h"
#include "jet/sql/bind/SpecialCalls.h"
#include "jet/sql/functions/Functions.h"
#include "jet/sql/parse/Tokenizer.h"

namespace jet::sql {

using bound::Form;
using bound::NodePointer;

Expression Binder::Of(const std::unique_ptr<syntax::Call>& call) {
  Arguments arguments;
  for (const syntax::Expression& argument : call->arguments) arguments.push_back(Bind(argument));
  const SpecialCall* special = FindSpecial(call->function);
  if (special == nullptr) {
    MakeTexts(*call, arguments);
    return Ordinary(*call, arguments);
  }
  if (arguments.size() < special->least || arguments.size() > special->most)
    throw SyntaxError("wrong number of arguments for " + call->name, call->at.position);
  return (this->*special->bind)(*call, arguments);
}

// Texts of dates and truth values are made here, where their type is known.
void Binder::MakeTexts(const syntax::Call& call, Arguments& arguments) const {
  static const std::set<std::string, std::less<>> kTextFunctions = {"LEFT",       "RIGHT",   "MID",   "LEN",   "UCASE",    "LCASE",
                                                                    "TRIM",       "LTRIM",   "RTRIM", "INSTR", "INSTRREV", "REPLACE",
                                                                    "STRREVERSE", "STRCOMP", "ASC",   "ASCW",  "VAL",      "STRCONV"};
  if (!kTextFunctions.contains(call.function)) return;
  for (Expression& argument : arguments) {
    if (argument.type.type != ColumnType::kDate && argument.type.type != ColumnType::kBoolean) continue;
    argument = Made(AsText(argument), ColumnType::kText, {&argument});
  }
}

Expression Binder::Ordinary(const syntax::Call& call, const Arguments& arguments) {
  const FunctionInfo* info = FindFunction(call.function);
  if (info == nullptr) throw UnsupportedError("unknown function " + call.name, call.at.position);
  const int count = static_cast<int>(arguments.size());
  if (count < info->least || count > info->most) throw SyntaxError("wrong number of arguments for " + call.name, call.at.position);
  std::vector<NodePointer> values;
  for (const Expression& argument : arguments) values.push_back(AsValue(argument));
  Expression made = Made(MakeCall(std::string(info->sqlName), std::move(values)), info->type, {});
  for (const Expression& argument : arguments) Absorb(made, argument);
  if (info->rule == ResultRule::kSameAsFirst && !arguments.empty()) {
    made.type = arguments[0].type;
    made.type.autoNumber = false;
  }
  if (made.type.type == ColumnType::kText && made.type.size == 0) made.type.size = 255;
  return made;
}

NodePointer Binder::AggregateNode(std::string function, std::vector<NodePointer> argument) const {
  NodePointer node = MakeNode(Form::kAggregate, std::move(argument), std::move(function));
  node->filter = filter_;
  if (filter_ != nullptr) node->weight += filter_->weight;
  return node;
}

namespace {

// The type of a sum, an average, a deviation or a variance.
TypeInfo TypeOfMeasure(const std::string& function, const TypeInfo& argument) {
  TypeInfo type;
  type.type = ColumnType::kDouble;
  const bool sum = function == "SUM";
  const bool exact = argument.type == ColumnType::kCurrency || argument.type == ColumnType::kNumeric;
  const bool small = argument.type == ColumnType::kByte || argument.type == ColumnType::kInteger || argument.type == ColumnType::kBoolean;
  if (exact && (sum || function == "AVG")) type = argument;
  if (small && sum) type.type = ColumnType::kLong;
  if (function == "AVG" && argument.type == ColumnType::kDate) type.type = ColumnType::kDate;
  return type;
}

}  // namespace

Expression Binder::Of(const std::unique_ptr<syntax::Aggregate>& aggregate) {
  if (aggregateDepth_ > 0) throw SyntaxError("aggregate inside an aggregate: " + aggregate->name, aggregate->at.position);
  const std::string& function = aggregate->function;
  Expression made;
  made.aggregate = true;
  if (aggregate->argument == nullptr) {
    made.node = AggregateNode("COUNT", {});
    made.type.type = ColumnType::kLong;
    return made;
  }
  ++aggregateDepth_;
  const Expression argument = Bind(*aggregate->argument);
  --aggregateDepth_;
  made.nesting = argument.nesting + 1;
  if (function == "COUNT") {
    made.node = AggregateNode(function, {AsValue(argument)});
    made.type.type = ColumnType::kLong;
  } else if (function == "MIN" || function == "MAX") {
    made.node = AggregateNode(function, {Collated(argument)});
    made.type = argument.type;
  } else if (function == "FIRST" || function == "LAST") {
    made.node = AggregateNode("jet_" + LowerCase(function), {AsValue(argument)});
    made.type = argument.type;
  } else {
    const bool known = function == "SUM" || function == "AVG";
    made.node = AggregateNode(known ? function : "jet_" + LowerCase(function), {AsNumber(argument)});
    if (function == "SUM" && argument.type.type == ColumnType::kCurrency) made.node = MakeCall("jet_ccur", {made.node});
    made.type = TypeOfMeasure(function, argument.type);
  }
  const bool same = function == "MIN" || function == "MAX" || function == "FIRST" || function == "LAST";
  if (same) made.type.autoNumber = false;
  made.type.nullable = true;
  return made;
}

}  // namespace jet::sql
