#include "jet/table/TableSpace.h"

#include "jet/table/TableCore.h"

namespace jet {

Table& TableSpace::TableAt(PageNumber page, const std::string& name) {
  if (const auto found = tables.find(page); found != tables.end()) {
    TableCore& core = found->second->Core();
    if (!name.empty() && core.name != name) core.name = name;
    return *found->second;
  }
  auto made = std::make_unique<Table>(std::make_unique<TableCore>(*this, page, name.empty() ? directory->NameOf(page) : name));
  // Asking for the name may have opened other tables, this one among them.
  return *tables.try_emplace(page, std::move(made)).first->second;
}

}  // namespace jet
