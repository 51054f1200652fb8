#pragma once

#include <cstddef>
#include <string>

#include "tests/support_lib/TemporaryFolder.h"

namespace tamlo::tests {

/// A disk of its own, in memory and small, so that it can really be full. Seen by this process alone, and gone with it.
class SmallDisk {
 public:
  explicit SmallDisk(std::size_t bytes);
  ~SmallDisk();
  SmallDisk(const SmallDisk&) = delete;
  SmallDisk& operator=(const SmallDisk&) = delete;

  /// Why the system did not allow it; empty when there is a disk. Without one nothing else may be called.
  [[nodiscard]] const std::string& Refused() const noexcept { return refused_; }
  [[nodiscard]] std::string File(const std::string& name) const { return folder_.File(name); }
  /// Puts a file on the disk that leaves only so many bytes, counted in whole blocks of 4096.
  void FillUpTo(std::size_t bytesLeft);
  /// Takes that file away.
  void MakeRoom();
  [[nodiscard]] std::size_t BytesLeft() const;

 private:
  TemporaryFolder folder_;
  std::string refused_;
};

}  // namespace tamlo::tests
