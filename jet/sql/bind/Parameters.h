#pragma once

#include <cstddef>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "jet/sql/Schema.h"
#include "jet/sql/Statement.h"

namespace jet::sql {

/// The form in which names of parameters compare equal: brackets do not count, a point is an exclamation mark, case as in all names.
[[nodiscard]] std::string ParameterKey(std::string_view name);
/// True for a name that leads to a control of a form or report of Access ("[Forms]![Orders]![OrderID]").
[[nodiscard]] bool IsOfForm(std::string_view key);
/// The type of the column that would hold the value; unknown for a null.
[[nodiscard]] TypeInfo TypeOfValue(const Value& value);

/// The parameters of one statement: those that PARAMETERS declares, names that mean nothing else, and the markers "?". They are first
/// collected, in the order of their declaration and then of the text, then given their values, then used.
class ParameterSet {
 public:
  /// Where it stands: in the statement, and in the stored query that stands there.
  using Place = std::pair<std::size_t, std::size_t>;
  struct Item {
    std::string name;  ///< as it was first written; empty for a marker
    std::string key;
    TypeInfo type;  ///< declared; else unknown
    bool declared = false;
    Place place;
    std::optional<Value> value;
  };

  /// While it is on, what means nothing becomes a parameter.
  bool collecting = false;

  /// A declaration. The first one of a name holds.
  void Declare(const std::string& name, const TypeInfo& type, Place place);
  /// Position of the parameter of that name, or of the marker at that place; nothing when there is none (and none is collected).
  [[nodiscard]] std::optional<std::size_t> Find(std::string_view name, Place place);
  [[nodiscard]] std::optional<std::size_t> FindMarker(Place place);
  [[nodiscard]] std::optional<std::size_t> FindDeclared(std::string_view name) const;
  [[nodiscard]] const Item& At(std::size_t position) const { return items_[position]; }

  /// Ends the collecting: puts the parameters into their order.
  void Arrange();
  /// Those of the statement, in order, without the converted ones.
  [[nodiscard]] const std::vector<Item>& Items() const noexcept { return items_; }
  /// Hands out the values: each to the parameter of its name, those without a name (and all, where the statement has markers only) to the
  /// next one in order. Errors: kNotFound for a value that finds no parameter, kTypeMismatch for one that is not of the declared type.
  void Give(std::span<const Parameter> values, const TextSettings& settings);
  /// Position of the same value as another type. Error kTypeMismatch.
  [[nodiscard]] std::size_t Converted(std::size_t position, const TypeInfo& type, const TextSettings& settings);
  /// The values by position, for a plan; null where there is none.
  [[nodiscard]] std::vector<Value> Values() const;

 private:
  std::vector<Item> items_;
};

}  // namespace jet::sql
