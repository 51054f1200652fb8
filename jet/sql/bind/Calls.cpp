// Function calls and aggregates.
#include <algorithm>

#include "jet/sql/bind/Coercion.h"
#include "jet/sql/run/Domain.h"
#include "jet/sql/functions/Functions.h"
#include "jet/sql/emit/Literals.h"
#include "jet/sql/Names.h"
#include "jet/sql/bind/Translator.h"

namespace jet::sql {

namespace {

bool IsAggregate(const std::string& name) {
  static const std::set<std::string, std::less<>> kNames = {"COUNT", "SUM",   "AVG",    "MIN", "MAX", "FIRST",
                                                            "LAST",  "STDEV", "STDEVP", "VAR", "VARP"};
  return kNames.contains(name);
}

std::string Unsuffixed(const std::string& upper) {
  return !upper.empty() && upper.back() == '$' ? upper.substr(0, upper.size() - 1) : upper;
}

// The type of a value that is one or the other. A text beside something else leaves each as it is: the first one tells.
TypeInfo ChoiceType(const TypeInfo& a, const TypeInfo& b) {
  const auto isText = [](ColumnType type) { return type == ColumnType::kText || type == ColumnType::kMemo; };
  TypeInfo type = isText(a.type) == isText(b.type) ? CommonType(a, b) : a.type == kNoType ? b : a;
  type.autoNumber = false;
  return type;
}

// One letter that tells a function what a number stands for.
std::string KindLetter(const Expression& e) {
  switch (e.type.type) {
    case ColumnType::kDate:
      return "'d'";
    case ColumnType::kBoolean:
      return "'b'";
    case ColumnType::kText:
    case ColumnType::kMemo:
      return "'t'";
    default:
      return "'n'";
  }
}

}  // namespace

std::vector<Expression> Translator::ParseArguments() {
  std::vector<Expression> arguments;
  if (TakeSymbol(")")) return arguments;
  for (bool first = true; first || TakeSymbol(","); first = false) arguments.push_back(ParseExpression());
  ExpectSymbol(")");
  return arguments;
}

Expression Translator::ParseCall() {
  const Token name = Take();
  ExpectSymbol("(");
  const std::string function = Unsuffixed(name.upper);
  if (IsAggregate(function)) {
    if (aggregateDepth_ > 0) throw SyntaxError("aggregate inside an aggregate: " + name.text, name.position);
    return ParseAggregate(function);
  }
  std::vector<Expression> arguments = ParseArguments();
  bool known = false;
  Expression special = ParseSpecialCall(name, arguments, known);
  if (known) return special;

  const FunctionInfo* info = FindFunction(function);
  if (info == nullptr) throw UnsupportedError("unknown function " + name.text, name.position);
  const int count = static_cast<int>(arguments.size());
  if (count < info->least || count > info->most) throw SyntaxError("wrong number of arguments for " + name.text, name.position);
  Expression made = Made(std::string(info->sqlName) + "(", info->type, {});
  for (std::size_t i = 0; i < arguments.size(); ++i) {
    const Expression& argument = arguments[i];
    made.sql += (i > 0 ? ", " : "") + AsValue(argument);
    made.aggregate = made.aggregate || argument.aggregate;
    made.nesting = std::max(made.nesting, argument.nesting + 1);
    made.bareColumns.insert(made.bareColumns.end(), argument.bareColumns.begin(), argument.bareColumns.end());
  }
  made.sql += ")";
  RequireShort(made.sql);
  if (info->rule == ResultRule::kSameAsFirst && !arguments.empty()) {
    made.type = arguments[0].type;
    made.type.autoNumber = false;
  }
  if (made.type.type == ColumnType::kText && made.type.size == 0) made.type.size = 255;
  return made;
}

Expression Translator::ParseSpecialCall(const Token& name, std::vector<Expression>& arguments, bool& known) {
  const std::string function = Unsuffixed(name.upper);
  const auto need = [&](std::size_t least, std::size_t most) {
    known = true;
    if (arguments.size() < least || arguments.size() > most) throw SyntaxError("wrong number of arguments for " + name.text, name.position);
  };
  if (function == "CVDATE" || function == "CDATE" || function == "DATEVALUE" || function == "TIMEVALUE") {
    need(1, 1);
    Expression date = DateFromText(name, arguments[0]);
    if (function == "DATEVALUE") return Made("jet_datevalue(" + date.sql + ")", ColumnType::kDate, {&date});
    if (function == "TIMEVALUE") return Made("jet_timevalue(" + date.sql + ")", ColumnType::kDate, {&date});
    return date;
  }
  if (function == "IIF") {
    need(3, 3);
    constexpr std::string_view kCase = "(CASE";
    const bool goesOn = arguments[2].chain == '?';
    std::string sql = std::string(kCase) + " WHEN " + AsCondition(arguments[0]) + " THEN " + AsValue(arguments[1]);
    sql += goesOn ? arguments[2].sql.substr(kCase.size()) : " ELSE " + AsValue(arguments[2]) + " END)";
    if (goesOn) --arguments[2].nesting;
    Expression made = Made(std::move(sql), kNoType, {&arguments[0], &arguments[1], &arguments[2]});
    made.type = ChoiceType(arguments[1].type, arguments[2].type);
    made.chain = '?';
    return made;
  }
  if (function == "SWITCH") {
    need(2, 100);
    if (arguments.size() % 2 != 0) throw SyntaxError("SWITCH wants pairs of arguments", name.position);
    Expression made = Made("(CASE", arguments[1].type.type, {});
    made.type = arguments[1].type;
    for (std::size_t i = 0; i < arguments.size(); i += 2) {
      made.sql += " WHEN " + AsCondition(arguments[i]) + " THEN " + AsValue(arguments[i + 1]);
      for (const Expression* part : {&arguments[i], &arguments[i + 1]}) {
        made.aggregate = made.aggregate || part->aggregate;
        made.nesting = std::max(made.nesting, part->nesting + 1);
        made.bareColumns.insert(made.bareColumns.end(), part->bareColumns.begin(), part->bareColumns.end());
      }
    }
    made.sql += " END)";
    for (std::size_t i = 3; i < arguments.size(); i += 2) made.type = ChoiceType(made.type, arguments[i].type);
    return made;
  }
  if (DomainAggregate(function) != nullptr) {
    need(2, 3);
    return DomainCall(name, arguments);
  }
  if (function == "CHOOSE") {
    need(2, 100);
    Expression made = Made("(CASE jet_clng(" + AsNumber(arguments[0]) + ")", arguments[1].type.type, {&arguments[0]});
    made.type = arguments[1].type;
    for (std::size_t i = 1; i < arguments.size(); ++i) {
      const Expression& choice = arguments[i];
      made.sql += " WHEN " + std::to_string(i) + " THEN " + AsValue(choice);
      made.aggregate = made.aggregate || choice.aggregate;
      made.nesting = std::max(made.nesting, choice.nesting + 1);
      made.bareColumns.insert(made.bareColumns.end(), choice.bareColumns.begin(), choice.bareColumns.end());
      made.type = ChoiceType(made.type, choice.type);
    }
    made.sql += " END)";
    RequireShort(made.sql);
    return made;
  }
  if (function == "NZ") {
    need(1, 2);
    Expression fallback = arguments.size() == 2 ? arguments[1]
                          : arguments[0].type.type == ColumnType::kText || arguments[0].type.type == ColumnType::kMemo
                              ? Made("''", ColumnType::kText, {})
                              : Made("0", ColumnType::kLong, {});
    Expression made = Made("COALESCE(" + AsValue(arguments[0]) + ", " + AsValue(fallback) + ")", kNoType, {&arguments[0], &fallback});
    made.type = ChoiceType(arguments[0].type, fallback.type);
    return made;
  }
  if (function == "ISNULL") {
    need(1, 1);
    return MadeCondition("(" + AsValue(arguments[0]) + " IS NULL)", {&arguments[0]});
  }
  if (function == "ISDATE" || function == "ISNUMERIC") {
    need(1, 1);
    return MadeCondition("jet_" + LowerCase(function) + "(" + AsValue(arguments[0]) + ", " + KindLetter(arguments[0]) + ")",
                         {&arguments[0]});
  }
  if (function == "CBOOL") {
    need(1, 1);
    return MadeCondition("(" + AsNumber(arguments[0]) + " <> 0)", {&arguments[0]});
  }
  if (function == "FORMAT") {
    need(1, 2);
    Expression picture = arguments.size() == 2 ? arguments[1] : Made("''", ColumnType::kText, {});
    Expression made = Made("jet_format(" + AsValue(arguments[0]) + ", " + AsText(picture) + ", " + KindLetter(arguments[0]) + ")",
                           ColumnType::kText, {&arguments[0], &picture});
    made.type.size = 255;
    return made;
  }
  if (function == "CSTR") {
    need(1, 1);
    Expression made = Made(AsText(arguments[0]), ColumnType::kText, {&arguments[0]});
    if (made.sql == arguments[0].sql && arguments[0].source >= 0) made.sql = "(+" + made.sql + ")";
    made.type.size = 255;
    return made;
  }
  // Texts of dates and truth values are made here, where their type is known.
  static const std::set<std::string, std::less<>> kTextFunctions = {"LEFT",       "RIGHT",   "MID",   "LEN",   "UCASE",    "LCASE",
                                                                    "TRIM",       "LTRIM",   "RTRIM", "INSTR", "INSTRREV", "REPLACE",
                                                                    "STRREVERSE", "STRCOMP", "ASC",   "ASCW",  "VAL",      "STRCONV"};
  if (kTextFunctions.contains(function)) {
    for (Expression& argument : arguments) {
      if (argument.type.type == ColumnType::kDate || argument.type.type == ColumnType::kBoolean) {
        Expression text = Made(AsText(argument), ColumnType::kText, {&argument});
        argument = std::move(text);
      }
    }
  }
  return {};
}

// Where expression and domain are written out, their type is known, and so is what is wrong with them.
Expression Translator::DomainCall(const Token& name, const std::vector<Expression>& arguments) {
  const std::string aggregate = DomainAggregate(Unsuffixed(name.upper));
  Expression made = Made("jet_domain(" + TextLiteral(aggregate), kNoType, {});
  for (const Expression& argument : arguments) {
    made.sql += ", " + AsText(argument);
    made.aggregate = made.aggregate || argument.aggregate;
    made.nesting = std::max(made.nesting, argument.nesting + 1);
    made.bareColumns.insert(made.bareColumns.end(), argument.bareColumns.begin(), argument.bareColumns.end());
  }
  made.sql += ")";
  RequireShort(made.sql);
  if (arguments[0].literalText && arguments[1].literalText) {
    if (++depth_ > 20) throw UnsupportedError("DLookup and the like use each other too deeply", name.position);
    const jet::sql::Statement statement = Translate(DomainStatement(aggregate, arguments[0].text, arguments[1].text, {}), schema_, settings_);
    --depth_;
    made.type = std::get<SelectPlan>(statement).columns.at(0).type;
    made.type.autoNumber = false;
    made.type.nullable = true;
  }
  return made;
}

Expression Translator::ParseAggregate(const std::string& function) {
  if (function == "COUNT" && TakeSymbol("*")) {
    ExpectSymbol(")");
    Expression made = Made("COUNT(*)" + filter_, ColumnType::kLong, {});
    made.aggregate = true;
    return made;
  }
  if (AtWord("DISTINCT")) throw UnsupportedError("DISTINCT inside an aggregate is not part of this language", Peek().position);
  ++aggregateDepth_;
  const Expression argument = ParseExpression();
  --aggregateDepth_;
  ExpectSymbol(")");

  Expression made;
  made.aggregate = true;
  made.nesting = argument.nesting + 1;
  made.type.type = ColumnType::kDouble;
  const ColumnType type = argument.type.type;
  if (function == "COUNT") {
    made.sql = "COUNT(" + AsValue(argument) + ")" + filter_;
    made.type.type = ColumnType::kLong;
  } else if (function == "MIN" || function == "MAX" || function == "FIRST" || function == "LAST") {
    const bool ordered = function == "MIN" || function == "MAX";
    made.sql = (ordered ? function : "jet_" + LowerCase(function)) + "(" + (ordered ? Collated(argument) : AsValue(argument)) + ")" + filter_;
    made.type = argument.type;
    made.type.autoNumber = false;
  } else {
    made.sql = (function == "SUM" || function == "AVG" ? function : "jet_" + LowerCase(function)) + "(" + AsNumber(argument) + ")" + filter_;
    if (function == "SUM" && type == ColumnType::kCurrency) made.sql = "jet_ccur(" + made.sql + ")";
    if ((function == "SUM" || function == "AVG") && (type == ColumnType::kCurrency || type == ColumnType::kNumeric))
      made.type = argument.type;
    if (function == "SUM" && (type == ColumnType::kByte || type == ColumnType::kInteger || type == ColumnType::kBoolean))
      made.type.type = ColumnType::kLong;
    if (function == "AVG" && type == ColumnType::kDate) made.type.type = ColumnType::kDate;
  }
  made.type.nullable = true;
  return made;
}

}  // namespace jet::sql
