#pragma once

#include <functional>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <vector>

#include "ado/Provider.h"
#include "ado/odbc/catalog/BaseTable.h"
#include "ado/odbc/statement/Statement.h"
#include "ado/odbc/values/ParameterSet.h"

namespace tamlo::ado::odbc {

/// Writes rows of a cursor's base table by statements of its own with bound parameters.
class RowWriter {
 public:
  using ValueOf = std::function<Variant(std::size_t field)>;
  /// The current row as the recordset knows it.
  struct RowImage {
    ValueOf value;                                                    ///< by which the row is found
    std::function<std::optional<Variant>(std::size_t field)> atHand;  ///< what was read of a field; none when it was not
    std::function<bool(std::size_t field)> written;  ///< it is a value that was written and may stand there in another form
  };

  /// fields and columns must outlive the writer; tableText is the table as statements name it.
  RowWriter(std::shared_ptr<Session> session, std::string tableText, const std::vector<FieldInfo>& fields,
            const std::vector<ColumnDescription>& columns);

  /// A value as the column will hold it, as far as that is known beforehand. Errors of Encode.
  [[nodiscard]] Variant Converted(std::size_t field, const Variant& value);
  void Insert(std::span<const Assignment> values);
  /// Changes the row that old shows, whose columns in values must still hold what was read of them: exactly one must be found. None: error
  /// "changed by another"; several: error, and nothing is kept.
  void Update(std::span<const Assignment> values, const RowImage& old);
  void Delete(const RowImage& old);

  /// The number that the backend gave to the row which was inserted last on this connection, and its field; none where nothing counts.
  struct Counter {
    std::size_t field;
    Variant value;
  };
  [[nodiscard]] std::optional<Counter> LastCounter();

  /// Whether that is enough to find the row by a key.
  [[nodiscard]] bool HasKey(std::span<const std::optional<Variant>> known);
  /// Reads all fields of a row, found by what is known of its key, or by its counter; none when neither is known. Columns that are
  /// expressions are null.
  [[nodiscard]] std::optional<std::vector<Variant>> ReadBack(std::span<const std::optional<Variant>> known,
                                                             const std::optional<Counter>& counter);

 private:
  struct Condition {
    std::string text;                   // " WHERE ..."
    std::vector<std::size_t> fields;    // whose values are parameters, in order
    bool identifies = false;            // a key: no two rows can meet it
    std::vector<std::size_t> compared;  // fields that are only compared, because they are to change
  };

  void EnsureTable();
  [[nodiscard]] bool IsExpression(std::size_t field) const;
  [[nodiscard]] Condition ConditionFor(const RowImage& old) const;
  [[nodiscard]] const ParameterShape& Shape(std::size_t field);
  [[nodiscard]] std::string Name(std::size_t field) const;
  void AddParameters(ParameterSet& parameters, std::span<const Assignment> values);
  [[nodiscard]] std::vector<std::size_t> AllFields() const;
  [[nodiscard]] std::string Equals(std::size_t field) const;
  [[nodiscard]] std::string Comparable(std::size_t field) const;
  [[nodiscard]] std::optional<Variant> OldToCompare(std::size_t field, const RowImage& old) const;
  [[nodiscard]] Condition Unchanged(Condition condition, std::span<const Assignment> values, const RowImage& old);
  [[nodiscard]] bool ReadsAsBefore(const Condition& condition, const std::vector<std::size_t>& compared, const RowImage& old);
  std::int64_t Send(const std::string& head, const Condition& condition, std::span<const Assignment> values, const RowImage& old);
  void AddParameters(ParameterSet& parameters, const Condition& condition, const RowImage& old);
  void Change(const std::string& head, std::span<const Assignment> values, const RowImage& old);
  void ChangeOnce(const std::string& head, const Condition& condition, std::span<const Assignment> values, const RowImage& old);
  [[nodiscard]] std::int64_t CountRows(const Condition& condition, const RowImage& old);
  [[nodiscard]] std::optional<std::vector<Variant>> ReadWhere(const std::string& condition, const std::vector<std::size_t>& keyFields,
                                                              const ValueOf& key, const std::vector<std::size_t>& wanted);

  std::shared_ptr<Session> session_;
  const std::vector<FieldInfo>& fields_;
  const std::vector<ColumnDescription>& columns_;
  BaseTable table_;
  bool keysKnown_ = false;
  std::vector<std::optional<ParameterShape>> shapes_;
};

}  // namespace tamlo::ado::odbc
