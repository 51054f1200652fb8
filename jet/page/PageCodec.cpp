#include "jet/page/PageCodec.h"

#include <array>
#include <random>

#include "jet/page/AceEncryption.h"
#include "jet/page/Rc4.h"
#include "jet/value/ByteOrder.h"
#include "jet/value/Error.h"

namespace jet {
namespace {

/// Each page of its own, under the file's key and its number.
class Rc4Pages final : public PageCodec {
 public:
  explicit Rc4Pages(std::uint32_t key) noexcept : key_(key) {}

  void Decode(PageNumber page, std::span<std::byte> bytes) override { Apply(page, bytes); }
  void Encode(PageNumber page, std::span<std::byte> bytes) override { Apply(page, bytes); }

 private:
  void Apply(PageNumber page, std::span<std::byte> bytes) const noexcept {
    const std::uint32_t mixed = key_ ^ page;
    std::array<std::uint8_t, 4> key{};
    for (std::size_t i = 0; i < key.size(); ++i) key[i] = static_cast<std::uint8_t>(mixed >> (8 * i));
    Rc4(key).Apply(bytes);
  }

  std::uint32_t key_;
};

}  // namespace

std::unique_ptr<PageCodec> Unlock(const FileHeader& header, std::string_view password, const std::string& path) {
  if (!header.encryption.empty()) return UnlockAce(header, password, path);
  if (!header.password.empty()) {
    if (password.empty())
      throw Error(ErrorCode::kPasswordProtected, "\"" + path + "\" is protected by a database password, and none was given");
    if (!header.HasPassword(password)) throw Error(ErrorCode::kWrongPassword, "the password given for \"" + path + "\" is wrong");
  }
  return header.encryptionKey == 0 ? nullptr : std::make_unique<Rc4Pages>(header.encryptionKey);
}

std::uint32_t NewPageKey() {
  std::random_device device;
  for (;;)
    if (const std::uint32_t key = device(); key != 0) return key;
}

}  // namespace jet
