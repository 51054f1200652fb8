#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "ado/ExactNumber.h"
#include "runtime/Variant.h"

namespace tamlo::ado {

/// What Recordset::Find looks for: a column, a comparison and a value, read from a text such as "[TABLE]='ART'".
/// Texts compare without regard to case; trailing blanks of fixed-length columns do not count; a null meets only "= null". Numbers compare with
/// every digit.
class FindCriterion {
 public:
  enum class Operator { kEqual, kNotEqual, kLess, kLessOrEqual, kGreater, kGreaterOrEqual, kLike };

  /// Error 5 for a text that does not read as a criterion.
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

}  // namespace tamlo::ado
