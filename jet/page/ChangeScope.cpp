#include "jet/page/ChangeScope.h"

#include "jet/value/Error.h"

namespace jet {

ChangeScope::ChangeScope(Pager& pager, bool nested) : pager_(pager) {
  if (pager_.Depth() == 0 || nested) {
    pager_.Begin();
    own_ = true;
  }
  try {
    pager_.BeginWrite();
    if (nested) pager_.Survey();
  } catch (...) {
    if (own_ && pager_.Depth() > 0) pager_.Rollback();
    throw;
  }
}

void ChangeScope::BeginNested() {
  if (own_) return;
  pager_.Begin();
  own_ = true;
}

ChangeScope::~ChangeScope() {
  if (done_) return;
  if (own_) {
    try {
      if (pager_.Depth() > 0) pager_.Rollback();
    } catch (const Error&) {
      // Rollback has fallen back to undoing everything; the error that led here is on its way.
    }
  } else if (touching_) {
    pager_.RollbackAll();
  }
}

void ChangeScope::Done() {
  done_ = true;
  if (own_) pager_.Commit();
}

}  // namespace jet
