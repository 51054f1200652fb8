#include "move/compare/Digest.h"

#include <bit>
#include <cstring>

namespace tamlo::move {
namespace {

constexpr std::uint64_t kFirst = 0x87C37B91114253D5ULL;
constexpr std::uint64_t kSecond = 0x4CF5AD432745937FULL;

std::uint64_t Stirred(std::uint64_t value) {
  value = (value ^ (value >> 33U)) * 0xFF51AFD7ED558CCDULL;
  value = (value ^ (value >> 33U)) * 0xC4CEB9FE1A85EC53ULL;
  return value ^ (value >> 33U);
}

std::uint64_t One(std::uint64_t block) { return std::rotl(block * kFirst, 31) * kSecond; }
std::uint64_t Two(std::uint64_t block) { return std::rotl(block * kSecond, 33) * kFirst; }

}  // namespace

Digest DigestOf(std::string_view bytes) {
  std::uint64_t a = 0;
  std::uint64_t b = 0;
  std::uint64_t block[2];
  const std::size_t length = bytes.size();
  for (; bytes.size() >= sizeof block; bytes.remove_prefix(sizeof block)) {
    std::memcpy(block, bytes.data(), sizeof block);
    a = (std::rotl(a ^ One(block[0]), 27) + b) * 5 + 0x52DCE729;
    b = (std::rotl(b ^ Two(block[1]), 31) + a) * 5 + 0x38495AB5;
  }
  block[0] = block[1] = 0;
  if (!bytes.empty()) std::memcpy(block, bytes.data(), bytes.size());
  b ^= Two(block[1]);
  a ^= One(block[0]);
  a ^= length;
  b ^= length;
  a += b;
  b += a;
  a = Stirred(a);
  b = Stirred(b);
  a += b;
  return {a, b + a};
}

}  // namespace tamlo::move
