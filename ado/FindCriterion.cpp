#include "ado/FindCriterion.h"

#include <array>
#include <utility>

#include "ado/Errors.h"
#include "ado/Types.h"
#include "runtime/Conversions.h"
#include "runtime/Dates.h"
#include "runtime/Error.h"
#include "runtime/Text.h"

namespace tamlo::ado {
namespace {

using runtime::Error;
using runtime::Variant;

[[noreturn]] void Refuse() { throw AdoError(runtime::kBadArguments); }

void SkipBlanks(std::string_view& text) {
  while (!text.empty() && text.front() == ' ') text.remove_prefix(1);
}

std::string TakeFieldName(std::string_view& text) {
  SkipBlanks(text);
  std::string_view name;
  if (!text.empty() && text.front() == '[') {
    const auto end = text.find(']');
    if (end == std::string_view::npos) Refuse();
    name = text.substr(1, end - 1);
    text.remove_prefix(end + 1);
  } else {
    name = text.substr(0, text.find_first_of(" =<>"));
    text.remove_prefix(name.size());
  }
  if (name.empty()) Refuse();
  return std::string(name);
}

FindCriterion::Operator TakeOperator(std::string_view& text) {
  using Operator = FindCriterion::Operator;
  // Longer spellings first: "<=" is not "<".
  static constexpr std::array<std::pair<std::string_view, Operator>, 7> kOperators{{{"<=", Operator::kLessOrEqual},
                                                                                    {">=", Operator::kGreaterOrEqual},
                                                                                    {"<>", Operator::kNotEqual},
                                                                                    {"=", Operator::kEqual},
                                                                                    {"<", Operator::kLess},
                                                                                    {">", Operator::kGreater},
                                                                                    {"LIKE ", Operator::kLike}}};
  SkipBlanks(text);
  for (const auto& [spelling, meaning] : kOperators) {
    if (runtime::UpperCase(text.substr(0, spelling.size())) != spelling) continue;
    text.remove_prefix(spelling.size());
    return meaning;
  }
  Refuse();
}

/// The text between the quotes, doubled ones taken once. A lone quote inside stands for itself: names come here unescaped.
std::string Unquote(std::string_view text, char quote) {
  if (text.size() < 2 || text.back() != quote) Refuse();
  text = text.substr(1, text.size() - 2);
  std::string out;
  out.reserve(text.size());
  for (std::size_t i = 0; i < text.size(); ++i) {
    out.push_back(text[i]);
    if (text[i] == quote && i + 1 < text.size() && text[i + 1] == quote) ++i;
  }
  return out;
}

/// Patterns: "*" or "%" is any run of characters, at the end or at both ends; elsewhere it stands for itself.
bool IsLike(std::string_view text, std::string_view pattern) {
  const auto isStar = [](char c) { return c == '*' || c == '%'; };
  if (pattern.empty() || !isStar(pattern.back())) return text == pattern;
  pattern.remove_suffix(1);
  if (!pattern.empty() && isStar(pattern.front())) return text.find(pattern.substr(1)) != std::string_view::npos;
  return text.starts_with(pattern);
}

int Sign(double difference) { return difference < 0 ? -1 : difference > 0 ? 1 : 0; }

}  // namespace

FindCriterion::FindCriterion(std::string_view text) {
  field_ = TakeFieldName(text);
  operator_ = TakeOperator(text);
  SkipBlanks(text);
  text = runtime::TrimRight(text);
  if (text.empty()) Refuse();
  if (text.front() == '\'' || text.front() == '#') {
    isText_ = true;
    literal_ = Unquote(text, text.front());
    number_ = ExactNumber::Read(literal_);
  } else if (runtime::UpperCase(text) == "NULL") {
    isNull_ = true;
  } else if (runtime::IsNumeric(text, {"", '.'})) {
    literal_ = std::string(text);
    number_ = ExactNumber::Read(literal_);
    if (!number_) number_ = ExactNumber::Of(runtime::ToDouble(Variant(text), {"", '.'}));
  } else {
    Refuse();
  }
  folded_ = runtime::UpperCase(literal_);
}

bool FindCriterion::Holds(int comparison) const noexcept {
  switch (operator_) {
    case Operator::kEqual:
      return comparison == 0;
    case Operator::kNotEqual:
      return comparison != 0;
    case Operator::kLess:
      return comparison < 0;
    case Operator::kLessOrEqual:
      return comparison <= 0;
    case Operator::kGreater:
      return comparison > 0;
    case Operator::kGreaterOrEqual:
      return comparison >= 0;
    case Operator::kLike:
      break;
  }
  return false;
}

bool FindCriterion::Matches(const Variant& value, std::int16_t type) const {
  if (isNull_ || value.IsNull() || value.IsEmpty()) {
    if (!isNull_) return false;
    const bool valueIsNull = value.IsNull() || value.IsEmpty();
    return operator_ == Operator::kEqual ? valueIsNull : operator_ == Operator::kNotEqual && !valueIsNull;
  }
  if (const auto* text = value.If<std::string>()) {
    const bool fixed = type == adChar || type == adWChar;
    const std::string upper = runtime::UpperCase(fixed ? runtime::TrimRight(*text) : std::string_view(*text));
    const std::string_view wanted = fixed ? runtime::TrimRight(folded_) : std::string_view(folded_);
    return operator_ == Operator::kLike ? IsLike(upper, wanted) : Holds(upper.compare(wanted));
  }
  if (const auto* guid = value.If<runtime::Guid>()) return Holds(guid->text.compare(folded_));
  if (operator_ == Operator::kLike) throw Error(runtime::kTypeMismatch);
  if (const auto* date = value.If<runtime::Date>()) {
    const auto wanted = isText_ ? runtime::ParseDate(literal_) : std::optional(runtime::ToDate(literal_, {"", '.'}));
    if (!wanted) throw Error(runtime::kTypeMismatch);
    return Holds(Sign(date->serial - wanted->serial));
  }
  return HoldsNumber(value);
}

/// A text between quotes is a number too, where it reads as one.
bool FindCriterion::HoldsNumber(const Variant& value) const {
  const auto number = ExactNumber::Of(value);
  const auto wanted = number_ ? number_ : ExactNumber::Of(runtime::ToDouble(Variant(literal_), {"", '.'}));
  if (!number && !value.Is<double>() && !value.Is<float>()) throw Error(runtime::kTypeMismatch);
  // What is no number is equal to none, and neither less nor greater.
  if (!number || !wanted) return operator_ == Operator::kNotEqual;
  const auto order = *number <=> *wanted;
  return Holds(order < 0 ? -1 : order > 0 ? 1 : 0);
}

namespace {

constexpr int kDeepest = 100;

/// The bytes up to the next AND, OR or bracket that stands outside of quotes and brackets of names.
std::size_t EndOfCriterion(std::string_view text) {
  char close = '\0';
  for (std::size_t i = 0; i < text.size(); ++i) {
    const char c = text[i];
    if (close != '\0') {
      if (c == close) close = '\0';
      continue;
    }
    if (c == '\'' || c == '#') close = c;
    if (c == '[') close = ']';
    if (c == ')') return i;
    if (c != ' ') continue;
    const std::string next = runtime::UpperCase(text.substr(i, 5));
    if (next == " AND " || next.starts_with(" OR ")) return i;
  }
  return text.size();
}

bool TakeWord(std::string_view& text, std::string_view word) {
  std::string_view rest = text;
  SkipBlanks(rest);
  if (runtime::UpperCase(rest.substr(0, word.size())) != word) return false;
  rest.remove_prefix(word.size());
  if (!rest.empty() && rest.front() != ' ' && rest.front() != '(' && rest.front() != '[') return false;
  text = rest;
  return true;
}

}  // namespace

FilterCriterion::FilterCriterion(std::string_view text) {
  root_ = ReadAny(text, 0);
  SkipBlanks(text);
  if (!text.empty()) Refuse();
}

std::unique_ptr<FilterCriterion::Node> FilterCriterion::ReadAny(std::string_view& text, int depth) {
  auto node = std::make_unique<Node>();
  node->kind = Node::Kind::kAny;
  do {
    node->below.push_back(ReadAll(text, depth));
  } while (TakeWord(text, "OR"));
  return node;
}

std::unique_ptr<FilterCriterion::Node> FilterCriterion::ReadAll(std::string_view& text, int depth) {
  auto node = std::make_unique<Node>();
  node->kind = Node::Kind::kAll;
  do {
    node->below.push_back(ReadOne(text, depth));
  } while (TakeWord(text, "AND"));
  return node;
}

std::unique_ptr<FilterCriterion::Node> FilterCriterion::ReadOne(std::string_view& text, int depth) {
  SkipBlanks(text);
  if (text.starts_with('(')) {
    if (depth == kDeepest) Refuse();
    text.remove_prefix(1);
    auto inner = ReadAny(text, depth + 1);
    SkipBlanks(text);
    if (!text.starts_with(')')) Refuse();
    text.remove_prefix(1);
    return inner;
  }
  const std::size_t end = EndOfCriterion(text);
  auto node = std::make_unique<Node>();
  node->part = parts_.size();
  parts_.emplace_back(text.substr(0, end));
  text.remove_prefix(end);
  return node;
}

}  // namespace tamlo::ado
