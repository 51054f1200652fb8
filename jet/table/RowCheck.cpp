#include "jet/table/RowCheck.h"

namespace jet {

void FollowLongValue(PageStore& store, std::span<const std::byte> stored, PageNumber rowPage, LongColumn& column,
                     const std::function<void(PageNumber, std::string)>& report) {
  const auto definition = LongValueDefinition::Parse(stored, rowPage, 0);
  using Kind = LongValueDefinition::Kind;
  if (definition.kind == Kind::kInline) return;
  std::uint64_t total = 0;
  for (PackedPointer where = definition.first; where != 0;) {
    const RowId id = Unpack(where);
    if (!column.pieces.insert(where).second) {
      report(id.page, "A piece of " + column.name + " is named twice");
      return;
    }
    if (!std::binary_search(column.pages.begin(), column.pages.end(), id.page)) {
      report(id.page, "A long value of " + column.name + " lies on a page that the column does not own");
      return;
    }
    const PageRef ref = store.Read(id.page);
    const DataPage data(ref);
    const auto bytes = data.RowBytes(id.slot);
    if ((data.Slot(id.slot) & DataPage::kDeletedFlags) != 0) report(id.page, "A long value of " + column.name + " has been deleted");
    if (definition.kind == Kind::kSinglePage) {
      total = bytes.size();
      break;
    }
    if (bytes.size() < 4) {
      report(id.page, "A piece of " + column.name + " is too short");
      return;
    }
    total += bytes.size() - 4;
    where = Load32(bytes.data());
  }
  if (total != definition.length)
    report(rowPage,
           "A long value of " + column.name + " has " + std::to_string(total) + " bytes, not " + std::to_string(definition.length));
}

}  // namespace jet
