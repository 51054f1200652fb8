#include "ado/Pieces.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <string>
#include <string_view>
#include <utility>

#include "base/Utf8.h"

namespace tamlo::ado {

std::size_t PieceOf(const Variant& value, std::size_t& offset, std::byte* buffer, std::size_t capacity) {
  const char* data = nullptr;
  std::size_t size = 0;
  const auto* text = value.If<std::string>();
  if (text != nullptr) {
    data = text->data();
    size = text->size();
  } else if (const auto* bytes = value.If<runtime::Bytes>()) {
    data = reinterpret_cast<const char*>(bytes->data());
    size = bytes->size();
  }
  if (offset >= size) {
    offset = 0;
    return 0;
  }
  const std::string_view rest(data + offset, size - offset);
  const std::size_t count = text != nullptr ? base::WholeCharacters(rest, capacity) : std::min(capacity, rest.size());
  std::memcpy(buffer, data + offset, count);
  offset += count;
  return count;
}

Variant WholeOf(const ChunkSource& source, bool isText) {
  const ChunkSource pieces = source;
  std::array<std::byte, 8192> piece{};
  runtime::Bytes whole;
  while (const std::size_t count = pieces(piece.data(), piece.size())) {
    whole.insert(whole.end(), piece.begin(), piece.begin() + static_cast<std::ptrdiff_t>(count));
  }
  if (!isText) return whole;
  return std::string(reinterpret_cast<const char*>(whole.data()), whole.size());
}

}  // namespace tamlo::ado
