#include "jet/table/TextSource.h"

#include <cstddef>
#include <utility>

#include "base/Utf8.h"
#include "jet/table/StoredValue.h"
#include "jet/value/Text.h"

namespace jet {

std::string TextSource::Read() {
  std::byte buffer[8192];
  const std::size_t count = source_.Read(buffer);
  pending_.append(reinterpret_cast<const char*>(buffer), count);
  ended_ = count == 0;
  // An unfinished character waits for its rest.
  const std::size_t whole = pending_.size() - (ended_ ? 0 : base::BegunCharacter(pending_));
  const std::string text = pending_.substr(0, whole);
  pending_.erase(0, whole);
  if (column_.codePage != 0) return StoredText(text, column_, false);
  std::string units = ToUtf16(text);
  if (units.empty()) return units;
  const bool first = !std::exchange(begun_, true);
  if (first) marked_ = units.starts_with("\xFF\xFE");
  return marked_ ? ToMarkedText(std::move(units), first) : units;
}

}  // namespace jet
