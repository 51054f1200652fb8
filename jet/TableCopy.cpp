#include "jet/TableCopy.h"

#include "jet/schema/Creation.h"

namespace jet {
namespace {

constexpr std::uint16_t kGeneralLanguage = 0x0409;

}  // namespace

std::vector<ColumnDef> ColumnsToMake(std::vector<ColumnDef> columns, int from, int to) {
  for (auto& column : columns) {
    column.required = false;
    column.allowZeroLength = true;
    column.asStored = from == to;
    if (column.asStored && !KeepsOrder(column.sortLanguage, column.sortVersion, to)) {
      column.sortLanguage = kGeneralLanguage;
      column.sortVersion = 0;
    }
  }
  return columns;
}

std::vector<IndexSpec> IndexesToMake(const std::vector<ColumnDef>& columns, const std::vector<IndexDef>& indexes) {
  std::vector<IndexSpec> specs;
  for (const auto& index : indexes) {
    if (index.kind == IndexKind::kForeignKey) continue;
    IndexSpec made;
    made.name = index.name;
    made.primary = index.kind == IndexKind::kPrimary;
    made.unique = index.unique;
    made.ignoreNulls = index.ignoreNulls;
    made.required = index.required;
    for (const auto& part : index.columns) made.columns.push_back({columns[part.column].name, part.descending});
    specs.push_back(std::move(made));
  }
  return specs;
}

RowCopy::RowCopy(std::vector<ColumnDef> columns, Table& to)
    : columns_(std::move(columns)), to_(to), values_(columns_.size()), assignments_(columns_.size()) {}

void RowCopy::Read(Row& row, const std::vector<bool>& leftOut) {
  pipes_.clear();
  for (std::size_t i = 0; i < columns_.size(); ++i) {
    assignments_[i] = {i, &values_[i], nullptr};
    const bool isLong = columns_[i].type == ColumnType::kMemo || columns_[i].type == ColumnType::kOle;
    if (i < leftOut.size() && leftOut[i]) {
      values_[i].SetNull();
    } else if (isLong && row.StoredLength(i) > kHeldWhole) {
      pipes_.push_back(std::make_unique<LongValuePipe>(row.OpenLong(i)));
      assignments_[i] = {i, nullptr, pipes_.back().get()};
    } else {
      row.Get(i, values_[i]);
    }
  }
}

}  // namespace jet
