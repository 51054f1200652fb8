#include "jet/page/Rc4.h"

#include <numeric>
#include <utility>

namespace jet {

Rc4::Rc4(std::span<const std::uint8_t> key) noexcept {
  std::iota(state_.begin(), state_.end(), std::uint8_t{0});
  std::uint8_t j = 0;
  for (std::size_t i = 0; i < state_.size(); ++i) {
    j = static_cast<std::uint8_t>(j + state_[i] + key[i % key.size()]);
    std::swap(state_[i], state_[j]);
  }
}

void Rc4::Apply(std::span<std::byte> bytes) noexcept {
  std::uint8_t i = i_;
  std::uint8_t j = j_;
  for (std::byte& byte : bytes) {
    const std::uint8_t left = state_[++i];
    j = static_cast<std::uint8_t>(j + left);
    const std::uint8_t right = state_[j];
    state_[i] = right;
    state_[j] = left;
    byte ^= static_cast<std::byte>(state_[static_cast<std::uint8_t>(left + right)]);
  }
  i_ = i;
  j_ = j;
}

}  // namespace jet
