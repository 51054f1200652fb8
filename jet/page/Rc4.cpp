#include "jet/page/Rc4.h"

#include <numeric>
#include <utility>

#include "jet/value/ByteOrder.h"

namespace jet {

Rc4::Rc4(std::span<const std::uint8_t> key) noexcept {
  std::iota(state_.begin(), state_.end(), 0U);
  std::uint8_t j = 0;
  for (std::size_t i = 0, k = 0; i < state_.size(); ++i) {
    j = static_cast<std::uint8_t>(j + state_[i] + key[k]);
    if (++k == key.size()) k = 0;
    std::swap(state_[i], state_[j]);
  }
}

void Rc4::Apply(std::span<std::byte> bytes) noexcept {
  std::uint8_t i = i_;
  std::uint8_t j = j_;
  const auto next = [&] {
    const std::uint32_t left = state_[++i];
    j = static_cast<std::uint8_t>(j + left);
    const std::uint32_t right = state_[j];
    state_[i] = right;
    state_[j] = left;
    return state_[static_cast<std::uint8_t>(left + right)];
  };
  std::size_t at = 0;
  for (constexpr std::size_t kWord = 8; bytes.size() - at >= kWord; at += kWord) {
    std::uint64_t word = 0;
    for (unsigned k = 0; k < kWord; ++k) word |= std::uint64_t{next()} << (8 * k);
    StoreLittle(bytes.data() + at, Load64(bytes.data() + at) ^ word);
  }
  for (; at < bytes.size(); ++at) bytes[at] ^= static_cast<std::byte>(next());
  i_ = i;
  j_ = j;
}

}  // namespace jet
