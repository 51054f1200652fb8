#pragma once

#include "jet/page/Pager.h"

namespace jet {

/// A stretch of reading; see Pager::BeginRead.
class ReadLock {
 public:
  explicit ReadLock(Pager& pager) : pager_(pager) { pager_.BeginRead(); }
  ~ReadLock() { pager_.EndRead(); }
  ReadLock(const ReadLock&) = delete;
  ReadLock& operator=(const ReadLock&) = delete;

 private:
  Pager& pager_;
};

}  // namespace jet
