#include <utility>

#include "ado/Errors.h"
#include "ado/RecordsetState.h"

// Changes of a recordset that wait to be saved together, and recordsets without a connection.
namespace tamlo::ado {

LocalRowset& RecordsetState::Local() const {
  if (rows->local == nullptr) throw AdoError(runtime::kOperationNotSupported);
  return *rows->local;
}

void RecordsetState::Connect(std::shared_ptr<ConnectionState> to) {
  if (to == connection) return;
  if (to) {
    // From one to another only by way of none: what is below stays with the first.
    if (connection || edit != adEditNone) throw AdoError(runtime::kIllegalOperation);
    if (!to->native) throw AdoError(runtime::kConnectionInvalid);
    connection = std::move(to);
    connection->recordsets.push_back(this);
    return;
  }
  if (edit != adEditNone || rows.use_count() > 1) throw AdoError(runtime::kIllegalOperation);
  RequireScroll();
  (void)Ordinal();
  if (rows->local == nullptr) {
    rows->rowset = std::make_unique<LocalRowset>(std::move(rows->rowset));
    rows->local = static_cast<LocalRowset*>(rows->rowset.get());
    rows->rollbacks = rows->rowset->Rollbacks();
  }
  rows->local->Detach();
  rows->user = nullptr;  // it stands on no row yet
  std::erase(connection->recordsets, this);
  connection.reset();
}

std::unique_ptr<ProviderRowset> RecordsetState::OpenTarget() const {
  if (!rows->local->IsDetached() || request.source.empty()) return nullptr;
  if (!connection) throw AdoError(runtime::kConnectionInvalid);
  RowsetRequest asked = request;
  asked.lock = adLockOptimistic;
  asked.cursor = adOpenStatic;
  auto target = connection->Native(runtime::kConnectionInvalid).OpenRowset(asked);
  if (!target || !target->CanUpdate() || !target->CanScroll()) throw AdoError(runtime::kOperationNotSupported);
  return target;
}

void RecordsetState::UpdateBatch() {
  Update();
  LocalRowset& local = Local();
  if (!local.HasChanges()) return;
  const auto target = OpenTarget();
  rows->user = nullptr;  // the rows that are written are stood on
  local.Save(target.get());
}

void RecordsetState::CancelBatch() {
  CancelUpdate();
  Local().Forget();
}

RecordStatus RecordsetState::Status() {
  RequireRow();
  if (edit == adEditAdd) return adRecNew;
  const RecordStatus kept = rows->local != nullptr ? rows->local->Status(PositionOf(Ordinal())) : adRecUnmodified;
  return edit == adEditInProgress && kept == adRecUnmodified ? adRecModified : kept;
}

bool RecordsetState::Refresh(bool keepChange) {
  CancelUpdate();
  RequireRow();
  const bool there = rows->local != nullptr ? rows->local->Refresh(keepChange) : Rowset().Refresh();
  if (!there) LoseRow();
  return there;
}

}  // namespace tamlo::ado
