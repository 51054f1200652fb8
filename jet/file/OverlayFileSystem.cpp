#include "jet/file/OverlayFileSystem.h"

#include <algorithm>
#include <cstring>
#include <utility>
#include <vector>

#include "jet/value/Error.h"

namespace jet {
namespace {

constexpr std::size_t kBlock = 4096;

}  // namespace

/// A file from below with the blocks that have been written here.
struct OverlayFileSystem::Content {
  std::unique_ptr<File> below;
  std::uint64_t kept = 0;  ///< bytes of the file below that still count
  std::uint64_t size = 0;
  std::map<std::uint64_t, std::vector<std::byte>> blocks;

  /// What lies below, zeros behind its end.
  void ReadBelow(std::uint64_t offset, std::span<std::byte> buffer) {
    const std::uint64_t there = offset >= kept ? 0 : std::min<std::uint64_t>(kept - offset, buffer.size());
    const std::size_t got = there == 0 ? 0 : below->Read(offset, buffer.first(static_cast<std::size_t>(there)));
    std::fill(buffer.begin() + static_cast<std::ptrdiff_t>(got), buffer.end(), std::byte{0});
  }

  /// Calls with each stretch that lies in one block: number of the block, offset in it, the bytes.
  template <typename Bytes, typename Work>
  static void Divide(std::uint64_t offset, Bytes bytes, Work work) {
    while (!bytes.empty()) {
      const auto inside = static_cast<std::size_t>(offset % kBlock);
      const std::size_t part = std::min(bytes.size(), kBlock - inside);
      work(offset / kBlock, inside, bytes.first(part));
      bytes = bytes.subspan(part);
      offset += part;
    }
  }
};

class OverlayFileSystem::Handle final : public File {
 public:
  Handle(std::shared_ptr<Content> content, std::string path, bool writable)
      : content_(std::move(content)), path_(std::move(path)), writable_(writable) {}

  std::size_t Read(std::uint64_t offset, std::span<std::byte> buffer) override {
    Content& content = *content_;
    if (offset >= content.size) return 0;
    buffer = buffer.first(static_cast<std::size_t>(std::min<std::uint64_t>(buffer.size(), content.size - offset)));
    content.ReadBelow(offset, buffer);
    if (!content.blocks.empty())
      Content::Divide(offset, buffer, [&](std::uint64_t number, std::size_t inside, std::span<std::byte> part) {
        if (const auto block = content.blocks.find(number); block != content.blocks.end())
          std::memcpy(part.data(), block->second.data() + inside, part.size());
      });
    return buffer.size();
  }

  void Write(std::uint64_t offset, std::span<const std::byte> bytes) override {
    RequireWritable();
    Content& content = *content_;
    Content::Divide(offset, bytes, [&](std::uint64_t number, std::size_t inside, std::span<const std::byte> part) {
      auto& block = content.blocks[number];
      if (block.empty()) {
        block.resize(kBlock);
        content.ReadBelow(number * kBlock, block);
      }
      std::memcpy(block.data() + inside, part.data(), part.size());
    });
    content.size = std::max<std::uint64_t>(content.size, offset + bytes.size());
  }

  void Truncate(std::uint64_t size) override {
    RequireWritable();
    Content& content = *content_;
    content.kept = std::min(content.kept, size);
    content.size = size;
    content.blocks.erase(content.blocks.lower_bound((size + kBlock - 1) / kBlock), content.blocks.end());
    if (const auto last = content.blocks.find(size / kBlock); last != content.blocks.end())
      std::fill(last->second.begin() + static_cast<std::ptrdiff_t>(size % kBlock), last->second.end(), std::byte{0});
  }

  std::uint64_t Size() override { return content_->size; }
  void Sync() override {}
  bool TryLock(std::uint64_t /*offset*/, std::uint64_t /*length*/, bool /*exclusive*/) override { return true; }
  void Unlock(std::uint64_t /*offset*/, std::uint64_t /*length*/) override {}
  bool IsStillNamed() override { return true; }
  bool IsLocked(std::uint64_t /*offset*/, std::uint64_t /*length*/) override { return false; }
  std::uint64_t Identity() override { return content_->below->Identity(); }

 private:
  void RequireWritable() const {
    if (!writable_) throw Error(ErrorCode::kReadOnly, "Writing \"" + path_ + "\": opened for reading");
  }

  std::shared_ptr<Content> content_;
  std::string path_;
  bool writable_;
};

OverlayFileSystem::~OverlayFileSystem() = default;

std::unique_ptr<File> OverlayFileSystem::Open(const std::string& path, FileMode mode) {
  const bool below = hidden_.count(path) == 0 && !made_.Exists(path) && below_.Exists(path);
  if (!below) return made_.Open(path, mode);
  if (mode == FileMode::kCreateNew) throw Error(ErrorCode::kAlreadyExists, "There is a file \"" + path + "\" already");
  auto& content = opened_[path];
  if (!content) {
    auto made = std::make_shared<Content>();
    made->below = below_.Open(path, FileMode::kRead);
    made->kept = made->size = made->below->Size();
    content = std::move(made);
  }
  return std::make_unique<Handle>(content, path, mode != FileMode::kRead);
}

bool OverlayFileSystem::Exists(const std::string& path) { return made_.Exists(path) || (hidden_.count(path) == 0 && below_.Exists(path)); }

void OverlayFileSystem::Remove(const std::string& path) {
  made_.Remove(path);
  opened_.erase(path);
  hidden_.insert(path);
}

void OverlayFileSystem::Rename(const std::string& from, const std::string& to) {
  throw Error(ErrorCode::kUnsupported, "\"" + from + "\" is not renamed to \"" + to + "\": nothing is changed here");
}

void OverlayFileSystem::SyncFolder(const std::string& /*pathOfFile*/) {}

}  // namespace jet
