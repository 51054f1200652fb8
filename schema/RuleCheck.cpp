#include "schema/RuleCheck.h"

#include <algorithm>
#include <cmath>
#include <functional>
#include <optional>
#include <utility>

#include "base/Case.h"
#include "base/DateText.h"
#include "base/MomentText.h"
#include "base/Numbers.h"
#include "schema/DdlWriter.h"
#include "schema/Find.h"

namespace tamlo::schema {
namespace {

/// Ends a translation with the reason, and the column that it is about.
struct CannotBe {
  RuleCheck::Why why = RuleCheck::Why::kNotKnown;
  std::string about = {};
};

enum class Sort : std::uint8_t { kNumber, kMoment, kTruth, kText };

struct Sign {
  enum class Kind : std::uint8_t { kEnd, kWord, kName, kText, kNumber, kMoment, kSign };
  Kind kind = Kind::kEnd;
  std::string text;
  [[nodiscard]] bool Is(std::string_view word) const { return (kind == Kind::kWord || kind == Kind::kSign) && base::SameName(text, word); }
};

/// What stands between two quotes from a place on; the place moves behind it.
std::string Between(const std::string& text, std::size_t& at, char close, bool doubled) {
  std::string inside;
  for (++at; at < text.size(); ++at) {
    if (text[at] != close) {
      inside += text[at];
    } else if (doubled && at + 1 < text.size() && text[at + 1] == close) {
      inside += text[++at];
    } else {
      ++at;
      return inside;
    }
  }
  throw CannotBe{};
}

bool IsWordSign(char c) {
  return (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z') || (c >= '0' && c <= '9') || c == '_' || (c & 0x80) != 0;
}

std::vector<Sign> SignsOf(const std::string& text) {
  std::vector<Sign> signs;
  for (std::size_t at = 0; at < text.size();) {
    const char c = text[at];
    if (c == ' ' || c == '\t' || c == '\r' || c == '\n') {
      ++at;
    } else if (c == '[') {
      signs.push_back({Sign::Kind::kName, Between(text, at, ']', false)});
    } else if (c == '"' || c == '\'') {
      signs.push_back({Sign::Kind::kText, Between(text, at, c, true)});
    } else if (c == '#') {
      signs.push_back({Sign::Kind::kMoment, Between(text, at, '#', false)});
    } else if ((c >= '0' && c <= '9') || c == '.') {
      const std::size_t begin = at;
      while (at < text.size() && ((text[at] >= '0' && text[at] <= '9') || text[at] == '.')) ++at;
      signs.push_back({Sign::Kind::kNumber, text.substr(begin, at - begin)});
      if (at < text.size() && IsWordSign(text[at])) throw CannotBe{};
    } else if (IsWordSign(c)) {
      const std::size_t begin = at;
      while (at < text.size() && IsWordSign(text[at])) ++at;
      signs.push_back({Sign::Kind::kWord, text.substr(begin, at - begin)});
    } else {
      const std::string two = text.substr(at, 2);
      const bool pair = two == "<=" || two == ">=" || two == "<>";
      signs.push_back({Sign::Kind::kSign, pair ? two : std::string(1, c)});
      at += pair ? 2 : 1;
    }
  }
  signs.emplace_back();
  return signs;
}

/// Which of the three values a condition may have. Of its columns each is null or not for the time being.
struct Outcomes {
  bool isTrue = false, isFalse = false, unknown = false;
};

/// A condition with what it says in SQL.
struct Condition {
  std::string sql;
  std::function<Outcomes(const std::vector<const Column*>& nulls)> outcomes;
};

struct Operand {
  const Column* column = nullptr;
  std::string sql;
  Sort sort = Sort::kNumber;
  double value = 0;  ///< of a number
};

bool Holds(const std::vector<const Column*>& columns, const Column* column) {
  return std::find(columns.begin(), columns.end(), column) != columns.end();
}

/// Neither null nor unknown where its columns are not.
Condition Plain(std::string sql, std::vector<const Column*> columns) {
  return {std::move(sql), [columns = std::move(columns)](const std::vector<const Column*>& nulls) {
            const bool null = std::any_of(columns.begin(), columns.end(), [&](const Column* one) { return Holds(nulls, one); });
            return null ? Outcomes{false, false, true} : Outcomes{true, true, false};
          }};
}

Condition Not(const Condition& inner) {
  return {"NOT (" + inner.sql + ")", [outcomes = inner.outcomes](const std::vector<const Column*>& nulls) {
            const Outcomes is = outcomes(nulls);
            return Outcomes{is.isFalse, is.isTrue, is.unknown};
          }};
}

Condition Joined(const Condition& left, const Condition& right, bool both) {
  const auto outcomes = [a = left.outcomes, b = right.outcomes, both](const std::vector<const Column*>& nulls) {
    const Outcomes x = a(nulls), y = b(nulls);
    if (both)
      return Outcomes{x.isTrue && y.isTrue, x.isFalse || y.isFalse,
                      (x.unknown && (y.unknown || y.isTrue)) || (y.unknown && (x.unknown || x.isTrue))};
    return Outcomes{x.isTrue || y.isTrue, x.isFalse && y.isFalse,
                    (x.unknown && (y.unknown || y.isFalse)) || (y.unknown && (x.unknown || x.isFalse))};
  };
  return {"(" + left.sql + (both ? " AND " : " OR ") + right.sql + ")", outcomes};
}

class Translator {
 public:
  Translator(const Table& table, const Column* column, const Dialect& dialect, const std::function<std::string(const Column&)>& spelled)
      : table_(table), subject_(column), dialect_(dialect), spelled_(spelled) {}

  RuleCheck Translate(const std::string& rule) {
    try {
      signs_ = SignsOf(rule);
      const Condition whole = Either();
      if (Now().kind != Sign::Kind::kEnd) throw CannotBe{};
      RequireDecided(whole);
      return {whole.sql, about_, {}, {}};
    } catch (const CannotBe& cannot) {
      return {{}, about_, cannot.why, cannot.about};
    }
  }

 private:
  [[nodiscard]] const Sign& Now() const { return signs_[at_]; }
  [[nodiscard]] bool Take(std::string_view word) {
    if (!Now().Is(word)) return false;
    ++at_;
    return true;
  }
  void Want(std::string_view word) {
    if (!Take(word)) throw CannotBe{};
  }

  /// Whatever of its columns is null, the rule has to say so.
  void RequireDecided(const Condition& whole) const {
    std::vector<const Column*> nullable;
    for (const Column* one : about_)
      if (!one->required && one->type.kind != Kind::kBoolean && !InRequiredIndex(table_, *one)) nullable.push_back(one);
    constexpr std::size_t kMost = 8;
    if (nullable.size() > kMost) throw CannotBe{};
    for (unsigned bits = 1; bits < 1U << nullable.size(); ++bits) {
      std::vector<const Column*> nulls;
      for (std::size_t i = 0; i < nullable.size(); ++i)
        if ((bits >> i & 1U) != 0) nulls.push_back(nullable[i]);
      if (whole.outcomes(nulls).unknown) throw CannotBe{RuleCheck::Why::kNulls, nulls.front()->name};
    }
  }

  Condition Either() {
    Condition left = Both();
    while (Take("Or")) left = Joined(left, Both(), false);
    return left;
  }
  Condition Both() {
    Condition left = Negated();
    while (Take("And")) left = Joined(left, Negated(), true);
    return left;
  }
  Condition Negated() {
    if (!Now().Is("Not")) return One();
    ++at_;
    if (subject_ != nullptr && Take("Null")) return Null(Column_(*subject_), true);
    return Not(Negated());
  }

  /// A condition in parentheses, a comparison, or what is left of one whose subject is the column of the rule.
  Condition One() {
    if (Take("(")) {
      Condition inner = Either();
      Want(")");
      return inner;
    }
    if (StandsAlone()) return Compared(Column_(*RequireSubject()));
    const Operand first = Value();
    if (StandsAlone()) return Compared(first);
    throw CannotBe{};  // "1 Or 2" may be the number 3 to Access
  }

  /// Whether what comes next follows a value.
  [[nodiscard]] bool StandsAlone() const {
    static constexpr std::string_view kFollowing[] = {"=", "<", ">", "<=", ">=", "<>", "Between", "In", "Like", "Is"};
    if (std::any_of(std::begin(kFollowing), std::end(kFollowing), [&](std::string_view word) { return Now().Is(word); })) return true;
    static constexpr std::string_view kNegated[] = {"Between", "In", "Like"};
    return Now().Is("Not") && at_ + 1 < signs_.size() &&
           std::any_of(std::begin(kNegated), std::end(kNegated), [&](std::string_view word) { return signs_[at_ + 1].Is(word); });
  }

  const Column* RequireSubject() const {
    if (subject_ == nullptr) throw CannotBe{};
    return subject_;
  }

  Condition Compared(const Operand& left) {
    for (const std::string_view sign : {"<=", ">=", "<>", "=", "<", ">"})
      if (Take(sign)) return Comparison(left, sign, Value());
    if (Take("Is")) {
      const bool negated = Take("Not");
      Want("Null");
      return Null(left, negated);
    }
    if (Take("Not")) return Not(Compared(left));
    if (Take("Between")) return Within(left);
    if (Take("In")) return Among(left);
    Want("Like");
    return Alike(left);
  }

  /// Access may compare an exact number as a binary one: only where that makes no difference.
  static void RequireExact(const Operand& column, const Operand& constant) {
    if (column.column == nullptr || column.sort != Sort::kNumber) return;
    constexpr double kFew = 1e9;
    constexpr int kDigitsOfDouble = 15;
    const Type& type = column.column->type;
    const bool isLarge = constant.column != nullptr || std::abs(constant.value) >= kFew;
    if (type.kind == Kind::kDecimal && type.precision > kDigitsOfDouble) throw CannotBe{};
    if ((type.kind == Kind::kCurrency || type.kind == Kind::kBig) && isLarge) throw CannotBe{};
  }

  Condition Comparison(const Operand& left, std::string_view sign, const Operand& right) {
    RequireComparable(left, right);
    RequireExact(left, right);
    RequireExact(right, left);
    std::vector<const Column*> columns;
    for (const Operand* one : {&left, &right})
      if (one->column != nullptr) columns.push_back(one->column);
    return Plain(left.sql + " " + std::string(sign) + " " + right.sql, columns);
  }

  Condition Null(const Operand& operand, bool negated) {
    if (operand.column == nullptr) throw CannotBe{};
    const Column* column = operand.column;
    const bool never = column->type.kind == Kind::kBoolean;
    return {operand.sql + (negated ? " IS NOT NULL" : " IS NULL"), [column, negated, never](const std::vector<const Column*>& nulls) {
              const bool null = !never && Holds(nulls, column);
              return Outcomes{null != negated, null == negated, false};
            }};
  }

  /// Access takes the two in either order.
  Condition Within(const Operand& left) {
    Operand low = Value();
    Want("And");
    Operand high = Value();
    if (low.column != nullptr || high.column != nullptr) throw CannotBe{};
    if (low.sort == Sort::kNumber ? low.value > high.value : low.sql > high.sql) std::swap(low, high);
    return Joined(Comparison(left, ">=", low), Comparison(left, "<=", high), true);
  }

  Condition Among(const Operand& left) {
    Want("(");
    std::string list;
    do {
      const Operand one = Value();
      RequireComparable(left, one);
      RequireExact(left, one);
      if (one.column != nullptr) throw CannotBe{};
      list += (list.empty() ? "" : ", ") + one.sql;
    } while (Take(",") || Take(";"));
    Want(")");
    if (left.column == nullptr) throw CannotBe{};
    return Plain(left.sql + " IN (" + list + ")", {left.column});
  }

  /// Digits alone: other signs are equal or not by the order of texts.
  Condition Alike(const Operand& left) {
    if (left.column == nullptr || left.sort != Sort::kText || Now().kind != Sign::Kind::kText) throw CannotBe{};
    const std::string pattern = signs_[at_++].text;
    if (pattern.empty() || pattern.find_first_not_of('#') != std::string::npos) throw CannotBe{RuleCheck::Why::kTexts};
    const std::string count = std::to_string(pattern.size());
    std::string sql;
    switch (dialect_.engine) {
      case Engine::kMariaDb:
        sql = left.sql + " REGEXP '\\\\A[0-9]{" + count + "}\\\\z'";
        break;
      case Engine::kPostgreSql:
        sql = left.sql + " ~ '^[0-9]{" + count + "}$'";
        break;
      case Engine::kSqlite: {
        std::string digits;
        for (std::size_t i = 0; i < pattern.size(); ++i) digits += "[0-9]";
        sql = left.sql + " GLOB '" + digits + "'";
        break;
      }
      default:
        throw CannotBe{};
    }
    return Plain(sql, {left.column});
  }

  Operand Value() {
    const bool negative = Now().Is("-") && at_ + 1 < signs_.size() && signs_[at_ + 1].kind == Sign::Kind::kNumber;
    if (negative) ++at_;
    const Sign sign = signs_[at_];
    if (sign.kind != Sign::Kind::kEnd) ++at_;
    switch (sign.kind) {
      case Sign::Kind::kNumber: {
        const auto value = base::ReadReal(sign.text);
        if (!value || sign.text.front() == '.' || sign.text.back() == '.') throw CannotBe{};
        return {nullptr, (negative ? "-" : "") + sign.text, Sort::kNumber, negative ? -*value : *value};
      }
      case Sign::Kind::kMoment:
        return Moment(sign.text);
      case Sign::Kind::kText:
        return {nullptr, {}, Sort::kText, 0};
      case Sign::Kind::kName:
      case Sign::Kind::kWord:
        return Named(sign);
      default:
        throw CannotBe{};
    }
  }

  static Operand Moment(const std::string& text) {
    const auto serial = base::ReadDateText(text, base::DateOrder::kMonthFirst);
    std::string spelled;
    if (!serial || !base::AppendMomentText(spelled, *serial)) throw CannotBe{};
    return {nullptr, "'" + spelled + "'", Sort::kMoment, *serial};
  }

  Operand Named(const Sign& sign) {
    if (sign.kind == Sign::Kind::kWord) {
      if (Now().Is("(")) throw CannotBe{};
      for (const auto& [word, truth] :
           {std::pair{"True", true}, {"Yes", true}, {"On", true}, {"False", false}, {"No", false}, {"Off", false}})
        if (base::SameName(sign.text, word)) return {nullptr, std::string(truth ? dialect_.isTrue : dialect_.isFalse), Sort::kTruth, 0};
    }
    const Column* column = Find(table_.columns, sign.text);
    if (column == nullptr) throw CannotBe{};
    return Column_(*column);
  }

  Operand Column_(const Column& column) {
    if (!Holds(about_, &column)) about_.push_back(&column);
    return {&column, spelled_(column), SortOf(column), 0};
  }

  [[nodiscard]] Sort SortOf(const Column& column) const {
    // SQLite keeps these as texts or as it likes.
    const bool keptOtherwise =
        column.type.kind == Kind::kMoment || column.type.kind == Kind::kCurrency || column.type.kind == Kind::kDecimal;
    if (keptOtherwise && dialect_.engine == Engine::kSqlite) throw CannotBe{};
    switch (column.type.kind) {
      case Kind::kBoolean:
        return Sort::kTruth;
      case Kind::kMoment:
        return Sort::kMoment;
      case Kind::kText:
      case Kind::kMemo:
        return Sort::kText;
      case Kind::kBinary:
      case Kind::kBlob:
      case Kind::kGuid:
        throw CannotBe{};
      default:
        return Sort::kNumber;
    }
  }

  static void RequireComparable(const Operand& left, const Operand& right) {
    if (left.sort == Sort::kText || right.sort == Sort::kText) throw CannotBe{RuleCheck::Why::kTexts};
    if (left.sort != right.sort) throw CannotBe{};
    if (left.column == nullptr && right.column == nullptr) throw CannotBe{};
  }

  const Table& table_;
  const Column* subject_;
  const Dialect& dialect_;
  const std::function<std::string(const Column&)>& spelled_;
  std::vector<Sign> signs_;
  std::size_t at_ = 0;
  std::vector<const Column*> about_;
};

}  // namespace

RuleCheck CheckOfRule(const std::string& rule, const Table& table, const Column* column, const Dialect& dialect,
                      const std::function<std::string(const Column&)>& spelled) {
  return Translator(table, column, dialect, spelled).Translate(rule);
}

}  // namespace tamlo::schema
