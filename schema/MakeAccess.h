#pragma once

#include <cstddef>
#include <vector>

#include "jet/Database.h"
#include "schema/AccessPlan.h"

namespace tamlo::schema {

/// Makes what was planned in an open Access file, in the steps between which rows come: MakeTable, then the rows by somebody else (through a
/// connection or jet::Table; counters take the numbers that they are given), then MakeIndexes, SetRules and SetCounter of each table, then
/// MakeRelations and MakeOthers; Finish does all of those behind the rows. What is there already is left as it is, so that a step that was
/// broken off can be done again. Each step is one transaction; it takes part in the caller's when one is open.
/// Tables go by their places in the plan. Errors of all steps: jet::Error; a step that raised one has changed nothing.
class AccessTarget {
 public:
  /// Both must outlive it. Error: base::Error when the plan has refusals, which are in its text.
  AccessTarget(jet::Database& file, const AccessPlan& plan);

  [[nodiscard]] std::size_t Tables() const noexcept { return plan_.there.tables.size(); }
  /// Whether the file has an object of the table's name.
  [[nodiscard]] bool IsThere(std::size_t place);
  /// Takes the table and the relations that name it out of the file; nothing when it is not there.
  void Drop(std::size_t place);

  /// The columns with their defaults and comments. Nothing is required yet, empty texts are taken, and there is no index: what the source
  /// holds is taken whether it obeys its own rules or not.
  void MakeTable(std::size_t place);
  void MakeTables();

  /// Findings of this and of MakeRelations are what the rows did not allow: an index is then missing, a relation not enforced.
  [[nodiscard]] std::vector<Finding> MakeIndexes(std::size_t place);
  /// From here on the engine holds whoever writes to what is required, and to texts that are not empty.
  void SetRules(std::size_t place);
  /// The next row gets the number that the plan has, whatever numbers the rows have. Nothing for a table that does not count.
  void SetCounter(std::size_t place);
  [[nodiscard]] std::vector<Finding> MakeRelations();
  /// Links and stored queries. A finding for each one that is there already under that name.
  [[nodiscard]] std::vector<Finding> MakeOthers();

  [[nodiscard]] std::vector<Finding> Finish();

 private:
  [[nodiscard]] const Table& At(std::size_t place) const { return plan_.there.tables.at(place); }
  void SetText(const std::string& table, const std::string& column, const char* property, const std::string& text);

  jet::Database& file_;
  const AccessPlan& plan_;
};

}  // namespace tamlo::schema
