#include "jet/schema/Engine.h"

#include "jet/table/TableCore.h"

namespace jet {

Table& Engine::TableAt(PageNumber page, const std::string& name) {
  auto& table = tables[page];
  if (!table) {
    std::string known = name;
    if (known.empty())
      if (const CatalogObject* object = catalog.FindById(static_cast<std::int32_t>(page))) known = object->name;
    // FindById may have opened other tables and moved things around in the map.
    auto made = std::make_unique<Table>(std::make_unique<TableCore>(*this, page, known));
    auto& slot = tables[page];
    if (!slot) slot = std::move(made);
    return *slot;
  }
  if (!name.empty() && table->Core().name != name) table->Core().name = name;
  return *table;
}

ChangeScope::ChangeScope(Engine& engine, bool nested) : engine_(engine) {
  if (engine.pager->Depth() == 0 || nested) {
    engine.pager->Begin();
    own_ = true;
  }
  try {
    engine.pager->BeginWrite();
    if (nested) engine.pager->Survey();
  } catch (...) {
    if (own_ && engine.pager->Depth() > 0) engine.pager->Rollback();
    throw;
  }
}

void ChangeScope::BeginNested() {
  if (own_) return;
  engine_.pager->Begin();
  own_ = true;
}

ChangeScope::~ChangeScope() {
  if (done_) return;
  if (own_) {
    try {
      if (engine_.pager->Depth() > 0) engine_.pager->Rollback();
    } catch (const Error&) {
      // Rollback has fallen back to undoing everything; the error that led here is on its way.
    }
  } else if (touching_) {
    engine_.pager->RollbackAll();
  }
}

void ChangeScope::Done() {
  done_ = true;
  if (own_) engine_.pager->Commit();
}

}  // namespace jet
