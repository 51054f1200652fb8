// What the columns of any engine become in an Access file of the Jet 4 format.
#include <algorithm>
#include <limits>

#include "schema/AccessPlanner.h"
#include "schema/ReadAccess.h"

namespace tamlo::schema {
namespace {

constexpr int kLongestText = 255;
constexpr int kLongestBinary = 510;
constexpr int kMostDigits = 28;
constexpr std::size_t kMostColumns = 255;
constexpr std::uint64_t kMostBytesOfRow = 4000;  ///< of what lies in the row itself: long texts and bytes lie elsewhere
constexpr std::uint64_t kMostBytesOfFile = 1ULL << 31U;

bool IsText(const Column& column) { return column.type.kind == Kind::kText || column.type.kind == Kind::kMemo; }

/// Bytes in the fixed part of a row; 0 for what lies in its variable part or elsewhere.
std::uint64_t FixedBytes(Kind kind) {
  switch (kind) {
    case Kind::kByte:
      return 1;
    case Kind::kShort:
      return 2;
    case Kind::kLong:
    case Kind::kSingle:
      return 4;
    case Kind::kDouble:
    case Kind::kCurrency:
    case Kind::kMoment:
      return 8;
    case Kind::kGuid:
      return 16;
    case Kind::kBig:
    case Kind::kDecimal:
      return 17;
    default:
      return 0;
  }
}

/// The month first, as the expressions of Access have it.
std::string MomentExpression(const std::string& text) {
  const auto plain = [](const std::string& digits) { return digits.substr(std::min(digits.find_first_not_of('0'), digits.size() - 1)); };
  std::string expression = "#" + plain(text.substr(5, 2)) + "/" + plain(text.substr(8, 2)) + "/" + text.substr(0, 4);
  if (text.size() > 11) expression += ' ' + text.substr(11);
  return expression + "#";
}

std::string Quoted(const std::string& text) {
  std::string quoted = "\"";
  for (const char c : text) quoted += c == '"' ? std::string("\"\"") : std::string(1, c);
  return quoted + '"';
}

}  // namespace

std::string AccessExpression(const Default& initial) {
  switch (initial.kind) {
    case Default::Kind::kNone:
      return {};
    case Default::Kind::kText:
      return Quoted(initial.text);
    case Default::Kind::kTruth:
      return initial.text == "1" ? "True" : "False";
    case Default::Kind::kMoment:
      return MomentExpression(initial.text);
    case Default::Kind::kNow:
      return "Now()";
    case Default::Kind::kToday:
      return "Date()";
    case Default::Kind::kTimeOfDay:
      return "Time()";
    case Default::Kind::kNewGuid:
      return "GenGUID()";
    case Default::Kind::kNumber:
    case Default::Kind::kUnknown:
      return initial.text;
  }
  return {};
}

void AccessPlanner::PlanColumns(std::size_t place) {
  bool counted = false;
  for (Column& column : plan_.there.tables[place].columns) {
    PlanCounter(place, column, counted);
    PlanType(place, column);
    PlanDefault(place, column);
    if (!IsText(column)) column.allowEmpty = true;
    column.hyperlink = column.hyperlink && column.type.kind == Kind::kMemo;
  }
}

void AccessPlanner::PlanType(std::size_t place, Column& column) {
  const Type wanted = column.type;
  Type& type = column.type;
  if (wanted.kind == Kind::kBoolean && !column.required) {
    type = {.kind = Kind::kShort};
    LostOf(place, column, What::kNullableTruth);
  } else if (wanted.kind == Kind::kBig || wanted.kind == Kind::kDecimal) {
    PlanNumber(place, column);
  } else if (wanted.kind == Kind::kText && (wanted.length < 1 || wanted.length > kLongestText)) {
    type = {.kind = Kind::kMemo};
    LostOf(place, column, What::kLongText);
  } else if (wanted.kind == Kind::kBinary && (wanted.length < 1 || wanted.length > kLongestBinary)) {
    type = {.kind = Kind::kBlob};
    LostOf(place, column, What::kLongBytes);
  } else {
    type = {.kind = wanted.kind, .length = wanted.kind == Kind::kText || wanted.kind == Kind::kBinary ? wanted.length : 0};
  }
}

/// No number goes through a Double, which would lose its last digits.
void AccessPlanner::PlanNumber(std::size_t place, Column& column) {
  Type& type = column.type;
  if (type.kind == Kind::kBig) {
    type = {.kind = Kind::kDecimal, .precision = 19};
    LostOf(place, column, What::kBig);
  } else if (type.precision < 1 || type.scale < 0 || type.scale > kMostDigits || type.scale > type.precision) {
    type = {.kind = Kind::kText, .length = kLongestText};
    LostOf(place, column, What::kNoDecimal);
  } else if (type.precision > kMostDigits) {
    LostOf(place, column, What::kManyDigits, {std::to_string(type.precision)});
    type.precision = kMostDigits;
  }
}

/// A table counts in one Long.
void AccessPlanner::PlanCounter(std::size_t place, Column& column, bool& counted) {
  if (!column.counter) return;
  if (column.counter->kind == Counter::Kind::kGuid) {
    if (column.type.kind == Kind::kGuid) return;
    LostOf(place, column, What::kNoGuids);
    column.counter.reset();
    return;
  }
  const Kind kind = column.type.kind;
  const bool whole = kind == Kind::kByte || kind == Kind::kShort || kind == Kind::kLong || kind == Kind::kBig ||
                     (kind == Kind::kDecimal && column.type.scale == 0);
  constexpr std::int64_t kLast = std::numeric_limits<std::int32_t>::max();
  const bool within = column.counter->next - 1 <= kLast && column.counter->next - 1 >= -kLast - 1;
  if (counted || !whole || !within) {
    LostOf(place, column, counted ? What::kSecondCounter : What::kBeyondLong);
    column.counter.reset();
    return;
  }
  if (kind != Kind::kLong) LostOf(place, column, What::kOnlyLongCounts);
  column.type = {.kind = Kind::kLong};
  counted = true;
}

void AccessPlanner::PlanDefault(std::size_t place, Column& column) {
  Default& initial = column.initial;
  if (column.counter && initial.kind != Default::Kind::kNone) {
    LostOf(place, column, What::kCounterDefault, {AccessExpression(initial)});
    initial = {};
  }
  if (initial.kind == Default::Kind::kTruth && column.type.kind != Kind::kBoolean)
    initial = {Default::Kind::kNumber, initial.text == "1" ? "-1" : "0"};
  if (initial.kind == Default::Kind::kUnknown && expressions_ == Expressions::kAccess) return;
  if (ReadDefault(AccessExpression(initial), column.type.kind) == initial && initial.kind != Default::Kind::kUnknown) return;
  LostOf(place, column, What::kDefaultInAccess, {initial.text});
  initial = {};
}

void AccessPlanner::PlanRules(std::size_t place) {
  if (expressions_ == Expressions::kAccess) return;
  Table& table = plan_.there.tables[place];
  if (!table.rule.empty()) Lost(NameOf(place), {}, What::kRule, {table.rule});
  table.rule.clear();
  for (Column& column : table.columns) {
    if (!column.rule.empty()) LostOf(place, column, What::kRule, {column.rule});
    column.rule.clear();
  }
}

void AccessPlanner::CheckRow(std::size_t place) {
  const Table& table = plan_.there.tables[place];
  if (table.columns.empty()) return Refuse(place, What::kNoColumns);
  if (table.columns.size() > kMostColumns) return Refuse(place, What::kManyColumns, {std::to_string(table.columns.size())});
  std::uint64_t fixed = 0;
  std::uint64_t variable = 0;
  for (const Column& column : table.columns) {
    fixed += FixedBytes(column.type.kind);
    if (column.type.kind == Kind::kText) variable += 2 * static_cast<std::uint64_t>(column.type.length);
    if (column.type.kind == Kind::kBinary) variable += static_cast<std::uint64_t>(column.type.length);
    if (column.type.kind == Kind::kMemo || column.type.kind == Kind::kBlob) variable += 12;
  }
  if (fixed > kMostBytesOfRow) return Refuse(place, What::kFixedBytes, {std::to_string(fixed)});
  if (fixed + variable > kMostBytesOfRow && expressions_ == Expressions::kForeign) Lost(NameOf(place), {}, What::kLongRows);
  if (table.rows > kMostBytesOfFile / (fixed + 4)) Refuse(place, What::kManyRows, {std::to_string(table.rows)});
}

}  // namespace tamlo::schema
