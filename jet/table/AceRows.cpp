#include "jet/table/AceRows.h"

#include <algorithm>

#include "jet/page/Pager.h"
#include "jet/table/Convert.h"
#include "jet/table/IndexCursor.h"
#include "jet/table/RowDraft.h"
#include "jet/table/TableCore.h"
#include "jet/table/TableSpace.h"
#include "jet/value/ByteOrder.h"
#include "jet/value/Error.h"

namespace jet {
namespace {

using Column = TableDefinition::Column;
using Shape = TableDefinition::Shape;

/// The table that holds the values of a complex column. Error: kDamaged.
TableCore& ValuesTable(TableCore& owner, const Column& column, const std::vector<ComplexColumn>& known) {
  const auto found = std::find_if(known.begin(), known.end(), [&](const ComplexColumn& held) { return held.id == column.ComplexId(); });
  if (found == known.end() || found->values == owner.page)
    throw Error(ErrorCode::kDamaged, "The values of the column \"" + column.name + "\" have no table", owner.page, 0);
  TableCore& values = owner.space.TableAt(found->values, {}).Core();
  values.Refresh();
  return values;
}

std::size_t OwnerColumn(const TableCore& values) {
  const auto& columns = values.Stored();
  const auto found = std::find_if(columns.begin(), columns.end(), [](const Column& column) {
    return (column.extraFlags & Column::kOwnerFlag) != 0 && column.type == ColumnType::kLong;
  });
  if (found == columns.end())
    throw Error(ErrorCode::kDamaged, "The table \"" + values.name + "\" does not say whose its rows are", values.page, 0);
  return static_cast<std::size_t>(found - columns.begin());
}

/// By the index that each such table has; all of the table where another program has made none.
std::vector<RowId> RowsOf(TableCore& values, std::size_t column, std::int32_t number) {
  std::vector<RowId> rows;
  Table& table = values.space.TableAt(values.page, {});
  const auto& indexes = table.Indexes();
  for (std::size_t i = 0; i < indexes.size(); ++i) {
    if (indexes[i].columns.size() != 1 || indexes[i].columns[0].column != column || !indexes[i].writable) continue;
    IndexCursor cursor(table, i);
    const KeyBound bound{{Value(number)}, true};
    cursor.SetRange(bound, bound);
    while (cursor.Next()) rows.push_back(cursor.Id());
    return rows;
  }
  for (ScanCursor cursor = table.Scan(); cursor.Next();)
    if (!cursor.Current().IsNull(column) && cursor.Current().Integer(column) == number) rows.push_back(cursor.Id());
  return rows;
}

[[noreturn]] void Refuse(const Column& column, const char* why) {
  throw Error(ErrorCode::kUnsupported, "The column \"" + column.name + "\" " + why);
}

}  // namespace

void AceRows::Reset() {
  complex_.clear();
  historied_.clear();
  calculated_.reset();
  historiesKnown_ = any_ = false;
  const auto& columns = table_.Stored();
  for (std::size_t i = 0; i < columns.size(); ++i) {
    const Shape shape = columns[i].shape;
    if (shape == Shape::kComplex) complex_.push_back(i);
    if ((shape == Shape::kCalculated || shape == Shape::kCalculatedNumber) && !calculated_) calculated_ = columns[i].name;
    any_ = any_ || calculated_ || shape == Shape::kComplex || shape == Shape::kUnknown;
  }
}

void AceRows::FindHistories() {
  if (historiesKnown_) return;
  const auto known = complex_.empty() ? std::vector<ComplexColumn>{} : table_.space.directory->ComplexColumnsOf(table_.page);
  for (const std::size_t position : complex_) {
    const Column& column = table_.Stored()[position];
    if ((column.extraFlags & Column::kHistoryFlag) == 0) continue;
    const auto& kept = ValuesTable(table_, column, known).Stored();
    for (std::size_t i = 0; i < table_.Stored().size(); ++i) {
      const Column& memo = table_.Stored()[i];
      const bool same = std::any_of(kept.begin(), kept.end(), [&](const Column& held) { return held.name == memo.name; });
      if (same && memo.type == ColumnType::kMemo) historied_.push_back(i);
    }
  }
  historiesKnown_ = true;
}

const char* AceRows::WhyNot(std::size_t position) {
  const Shape shape = table_.Stored()[position].shape;
  if (shape == Shape::kUnknown) return "is of a type that is not known: it is not written";
  if (shape == Shape::kComplex) return "holds attachments or several values: they are not written";
  if (std::find(historied_.begin(), historied_.end(), position) != historied_.end())
    return "keeps the history of its values: it is not written";
  return nullptr;
}

void AceRows::RequireInsertable(std::span<const Assignment> assignments) {
  if (!any_) return;
  if (calculated_)
    throw Error(ErrorCode::kUnsupported, "The table \"" + table_.name + "\" takes no rows: its column \"" + *calculated_ +
                                             "\" is calculated, which Access alone does");
  FindHistories();
  for (const Assignment& assignment : assignments) {
    if (assignment.source == nullptr && (assignment.value == nullptr || assignment.value->IsNull())) continue;
    if (const char* why = WhyNot(assignment.column)) Refuse(table_.Stored()[assignment.column], why);
  }
}

void AceRows::RequireUpdatable(std::span<const Assignment> assignments, Row& old) {
  if (!any_) return;
  if (calculated_)
    throw Error(ErrorCode::kUnsupported, "The rows of the table \"" + table_.name + "\" cannot be changed: its column \"" + *calculated_ +
                                             "\" is calculated, which Access alone does");
  FindHistories();
  for (const Assignment& assignment : assignments) {
    const char* const why = WhyNot(assignment.column);
    if (why == nullptr) continue;
    const Column& column = table_.Stored()[assignment.column];
    Value scratch;
    const bool none = assignment.value == nullptr || assignment.value->IsNull();
    if (none ? assignment.source != nullptr || !old.IsNull(assignment.column)
             : ConvertToColumn(*assignment.value, column, scratch) != old.Get(assignment.column))
      Refuse(column, why);
  }
}

std::optional<std::uint32_t> AceRows::Number(RowDraft& draft) const {
  if (complex_.empty()) return std::nullopt;
  const PageRef first = table_.space.pager->Read(table_.page);
  const std::uint32_t last = Load32(first.Bytes().data() + TableDefinition::kComplexNumberOffset);
  if (last >= 0x7FFFFFFF) throw Error(ErrorCode::kLimit, "The numbers of the table \"" + table_.name + "\" have reached their end");
  for (const std::size_t position : complex_) draft.AssignOwn(position, Value(static_cast<std::int32_t>(last + 1)));
  return last + 1;
}

void AceRows::StoreNumber(std::uint32_t number) const {
  const PageRef first = table_.space.pager->Edit(table_.page);
  Store32(first.Writable().data() + TableDefinition::kComplexNumberOffset, number);
}

std::vector<AceRows::Values> AceRows::ValuesOf(const Row& row) const {
  std::vector<Values> values;
  if (complex_.empty()) return values;
  const auto known = table_.space.directory->ComplexColumnsOf(table_.page);
  for (const std::size_t position : complex_) {
    if (row.IsNull(position)) continue;
    TableCore& table = ValuesTable(table_, table_.Stored()[position], known);
    auto rows = RowsOf(table, OwnerColumn(table), static_cast<std::int32_t>(row.Integer(position)));
    if (!rows.empty()) values.push_back({table.page, std::move(rows)});
  }
  return values;
}

void AceRows::Delete(const std::vector<Values>& values) const {
  for (const auto& [page, rows] : values)
    for (const RowId row : rows) table_.space.TableAt(page, {}).Core().DeleteRow(row, {});
}

}  // namespace jet
