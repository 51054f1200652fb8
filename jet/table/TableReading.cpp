// Rows as they lie on their pages.
#include <optional>

#include "jet/page/Pager.h"
#include "jet/table/TableCore.h"
#include "jet/table/TableSpace.h"
#include "jet/value/ByteOrder.h"
#include "jet/value/Error.h"

namespace jet {

void TableCore::Bind(Row& row, RowId id, const DataPage& data, const std::byte* pageBytes, PageNumber dataPage, unsigned slot) {
  const auto extent = data.Row(slot);
  const std::byte* bytes = pageBytes + extent.offset;
  const auto damaged = [&](const char* text) -> Error { return {ErrorCode::kDamaged, text, dataPage, extent.offset}; };
  const std::size_t head = layout_.CountSize();
  if (extent.size < head) throw damaged("A row is too short");
  const std::size_t columns = layout_.LoadCount(bytes);
  const std::size_t mask = (columns + 7) / 8;
  if (columns > layout_.columnCount) throw damaged("A row has more columns than its table");
  if (extent.size < head + mask) throw damaged("A row is too short");
  row.maskOffset_ = static_cast<std::uint16_t>(extent.size - mask);
  row.tableOffset_ = row.maskOffset_;
  row.variableCount_ = 0;
  if (layout_.variableCount > 0 && columns > layout_.firstVariableNumber) {
    // Jet 3 has one byte for each offset and jumps between them and the count.
    const std::size_t countSize = layout_.CountSize();
    if (extent.size < head + mask + 2 * countSize) throw damaged("A row is too short");
    const std::size_t variable = layout_.LoadCount(bytes + row.maskOffset_ - countSize);
    const std::size_t jumps = layout_.JumpsOf(extent.size);
    const std::size_t trailer = countSize * (variable + 2) + jumps;
    if (variable > layout_.variableCount || trailer + head > row.maskOffset_) throw damaged("A row has impossible variable columns");
    row.variableCount_ = static_cast<std::uint16_t>(variable);
    row.tableOffset_ = static_cast<std::uint16_t>(row.maskOffset_ - trailer);
  }
  row.table_ = this;
  row.id_ = id;
  row.dataPage_ = dataPage;
  row.dataOffset_ = extent.offset;
  row.bytes_ = bytes;
  row.size_ = extent.size;
  row.columnCount_ = static_cast<std::uint16_t>(columns);
}

bool TableCore::ReadRow(RowId id, Row& row) {
  const auto place = places_.Find(id);
  if (!place) return false;
  row.page_ = space.pager->Read(place->page);
  Bind(row, id, DataPage(row.page_), row.page_.Bytes().data(), place->page, place->slot);
  return true;
}

}  // namespace jet
