#pragma once

#include "jet/page/Pager.h"

namespace jet {

/// One changing operation: a transaction of its own when none is open. Left without Done it is undone: its own transaction, or, when
/// the caller's transaction has been changed in part (Touching), that one as a whole.
class ChangeScope {
 public:
  /// nested: begin a nested transaction inside the caller's, so that undoing is possible without touching the rest.
  explicit ChangeScope(Pager& pager, bool nested = false);
  ~ChangeScope();
  /// As nested at construction, decided later; before anything is touched.
  void BeginNested();
  ChangeScope(const ChangeScope&) = delete;
  ChangeScope& operator=(const ChangeScope&) = delete;
  void Touching() noexcept { touching_ = true; }
  /// All that was changed has been changed back.
  void Untouched() noexcept { touching_ = false; }
  void Done();

 private:
  Pager& pager_;
  bool own_ = false;
  bool touching_ = false;
  bool done_ = false;
};

}  // namespace jet
