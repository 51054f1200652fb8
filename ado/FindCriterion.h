#pragma once

#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "ado/ExactNumber.h"
#include "runtime/Variant.h"

namespace tamlo::ado {

/// What Recordset::Find looks for: a column, a comparison and a value, read from a text such as "[TABLE]='ART'".
/// Texts compare without regard to case; trailing blanks of fixed-length columns do not count; a null meets only "= null". Numbers compare with
/// every digit.
class FindCriterion {
 public:
  enum class Operator { kEqual, kNotEqual, kLess, kLessOrEqual, kGreater, kGreaterOrEqual, kLike };

  /// Error 3001 for a text that does not read as a criterion.
  explicit FindCriterion(std::string_view text);

  [[nodiscard]] const std::string& FieldName() const noexcept { return field_; }
  /// Whether a value of a column of that ADO type meets the comparison. Error 13 when they cannot be compared.
  [[nodiscard]] bool Matches(const runtime::Variant& value, std::int16_t type) const;

 private:
  [[nodiscard]] bool Holds(int comparison) const noexcept;
  [[nodiscard]] bool HoldsNumber(const runtime::Variant& value) const;

  std::string field_;
  Operator operator_ = Operator::kEqual;
  bool isNull_ = false;
  bool isText_ = false;  // in quotes: compared as a text with text columns
  std::string literal_;  // as written, without its quotes
  std::string folded_;   // upper case, for texts
  std::optional<ExactNumber> number_;
};

/// What Recordset::Filter shows: criteria as of Find, joined by AND and OR, with brackets. AND binds closer.
class FilterCriterion {
 public:
  /// Error 3001 for a text that does not read so.
  explicit FilterCriterion(std::string_view text);

  /// The criteria in it, in order.
  [[nodiscard]] const std::vector<FindCriterion>& Parts() const noexcept { return parts_; }
  /// Whether a row is shown of which part number i of Parts holds where holds(i) does.
  template <typename Holds>
  [[nodiscard]] bool Shows(Holds&& holds) const {
    return Shows(*root_, holds);
  }

 private:
  struct Node {
    enum class Kind { kPart, kAll, kAny } kind = Kind::kPart;
    std::size_t part = 0;
    std::vector<std::unique_ptr<Node>> below;
  };
  template <typename Holds>
  static bool Shows(const Node& node, Holds& holds) {
    if (node.kind == Node::Kind::kPart) return holds(node.part);
    const bool all = node.kind == Node::Kind::kAll;
    for (const auto& below : node.below) {
      if (Shows(*below, holds) != all) return !all;
    }
    return all;
  }
  std::unique_ptr<Node> ReadAny(std::string_view& text, int depth);
  std::unique_ptr<Node> ReadAll(std::string_view& text, int depth);
  std::unique_ptr<Node> ReadOne(std::string_view& text, int depth);

  std::vector<FindCriterion> parts_;
  std::unique_ptr<Node> root_;
};

}  // namespace tamlo::ado
