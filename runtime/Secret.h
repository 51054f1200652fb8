#pragma once

#include <cstddef>
#include <string>

/// Texts that are secrets do not stay behind in memory that is given back.
namespace tamlo::runtime {

/// Overwrites bytes with zeros; no compiler leaves it out as useless.
inline void WipeBytes(void* bytes, std::size_t count) noexcept {
  for (volatile auto* byte = static_cast<volatile unsigned char*>(bytes); count != 0; --count) *byte++ = 0;
}

/// Overwrites a text with zeros, its spare room included, and empties it.
template <typename Character>
void Wipe(std::basic_string<Character>& text) noexcept {
  text.resize(text.capacity());
  WipeBytes(text.data(), text.size() * sizeof(Character));
  text.clear();
}

/// Wipes a text, which must live longer, when it goes.
template <typename Text>
class WipedAtEnd {
 public:
  explicit WipedAtEnd(Text& text) noexcept : text_(text) {}
  ~WipedAtEnd() { Wipe(text_); }
  WipedAtEnd(const WipedAtEnd&) = delete;
  WipedAtEnd& operator=(const WipedAtEnd&) = delete;

 private:
  Text& text_;
};

}  // namespace tamlo::runtime
