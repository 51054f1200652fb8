#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <span>
#include <string>
#include <string_view>

#include "jet/page/Header.h"
#include "jet/page/PageStore.h"

namespace jet {

/// How the pages of one file lie in it, where they do not lie there as they are: undone when the pager has read one, done before it writes
/// one. Everything above the pager sees plain pages; file, journal and copies of the file hold encoded ones alone. Page 0 is always plain.
class PageCodec {
 public:
  virtual ~PageCodec() = default;
  /// Makes the bytes of the file plain, in place. Never called for a page of zeros, which the file has where none was ever written.
  virtual void Decode(PageNumber page, std::span<std::byte> bytes) = 0;
  /// The way back.
  virtual void Encode(PageNumber page, std::span<std::byte> bytes) = 0;
};

/// What page 0 wants before the others can be read: compares the password and finds out how pages lie. Null where they lie as they are.
/// password: UTF-8, empty for none; not looked at where the file has none. Errors: kPasswordProtected, kWrongPassword, naming the path.
[[nodiscard]] std::unique_ptr<PageCodec> Unlock(const FileHeader& header, std::string_view password, const std::string& path);

/// A page key that a new file may have, never 0. It differs from file to file.
[[nodiscard]] std::uint32_t NewPageKey();

}  // namespace jet
