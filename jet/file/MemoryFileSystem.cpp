#include "jet/file/MemoryFileSystem.h"

#include <algorithm>
#include <cstring>
#include <utility>

#include "jet/value/Error.h"

namespace jet {

struct MemoryFileSystem::Node {
  struct Lock {
    const void* owner;
    std::uint64_t begin;
    std::uint64_t end;
    bool exclusive;
  };
  std::vector<std::byte> bytes;
  std::vector<Lock> locks;

  /// Takes the owner's hold off a range, keeping what sticks out on both sides.
  void Release(const void* owner, std::uint64_t begin, std::uint64_t end) {
    std::vector<Lock> kept;
    for (const auto& lock : locks) {
      if (lock.owner != owner || lock.end <= begin || lock.begin >= end) {
        kept.push_back(lock);
        continue;
      }
      if (lock.begin < begin) kept.push_back({owner, lock.begin, begin, lock.exclusive});
      if (lock.end > end) kept.push_back({owner, end, lock.end, lock.exclusive});
    }
    locks = std::move(kept);
  }
};

class MemoryFileSystem::Handle final : public File {
 public:
  Handle(MemoryFileSystem& system, std::shared_ptr<Node> node, std::string path, bool writable)
      : system_(system), node_(std::move(node)), path_(std::move(path)), writable_(writable) {}
  ~Handle() override {
    const std::lock_guard guard(system_.mutex_);
    node_->Release(this, 0, ~std::uint64_t{0});
  }
  Handle(const Handle&) = delete;
  Handle& operator=(const Handle&) = delete;

  std::size_t Read(std::uint64_t offset, std::span<std::byte> buffer) override {
    const std::lock_guard guard(system_.mutex_);
    system_.Notice({Operation::kRead, path_, offset, {}, buffer.size(), {}}, true);
    if (offset >= node_->bytes.size()) return 0;
    const std::size_t count = std::min<std::size_t>(buffer.size(), node_->bytes.size() - static_cast<std::size_t>(offset));
    std::memcpy(buffer.data(), node_->bytes.data() + offset, count);
    return count;
  }

  void Write(std::uint64_t offset, std::span<const std::byte> bytes) override {
    const std::lock_guard guard(system_.mutex_);
    CheckWritable();
    Event event{Operation::kWrite, path_, offset, {}, bytes.size(), {}};
    if (system_.recording_) event.bytes.assign(bytes.begin(), bytes.end());
    system_.Notice(std::move(event));
    if (node_->bytes.size() < offset + bytes.size()) node_->bytes.resize(static_cast<std::size_t>(offset) + bytes.size());
    std::copy(bytes.begin(), bytes.end(), node_->bytes.begin() + static_cast<std::ptrdiff_t>(offset));
  }

  std::uint64_t Size() override {
    const std::lock_guard guard(system_.mutex_);
    return node_->bytes.size();
  }

  void Truncate(std::uint64_t size) override {
    const std::lock_guard guard(system_.mutex_);
    CheckWritable();
    system_.Notice({Operation::kTruncate, path_, 0, {}, size, {}});
    node_->bytes.resize(static_cast<std::size_t>(size));
  }

  void Sync() override {
    const std::lock_guard guard(system_.mutex_);
    system_.Notice({Operation::kSync, path_, 0, {}, 0, {}});
  }

  bool TryLock(std::uint64_t offset, std::uint64_t length, bool exclusive) override {
    const std::lock_guard guard(system_.mutex_);
    const std::uint64_t end = offset + length;
    for (const auto& lock : node_->locks)
      if (lock.owner != this && lock.begin < end && offset < lock.end && (exclusive || lock.exclusive)) return false;
    node_->Release(this, offset, end);
    node_->locks.push_back({this, offset, end, exclusive});
    return true;
  }

  void Unlock(std::uint64_t offset, std::uint64_t length) override {
    const std::lock_guard guard(system_.mutex_);
    node_->Release(this, offset, offset + length);
  }

  bool IsLocked(std::uint64_t offset, std::uint64_t length) override {
    const std::lock_guard guard(system_.mutex_);
    const std::uint64_t end = offset + length;
    return std::any_of(node_->locks.begin(), node_->locks.end(),
                       [&](const Node::Lock& lock) { return lock.owner != this && lock.begin < end && offset < lock.end; });
  }

  std::uint64_t Identity() override { return reinterpret_cast<std::uintptr_t>(node_.get()); }

  bool IsStillNamed() override {
    const std::lock_guard guard(system_.mutex_);
    const auto found = system_.nodes_.find(path_);
    return found != system_.nodes_.end() && found->second == node_;
  }

 private:
  void CheckWritable() const {
    if (!writable_) throw Error(ErrorCode::kReadOnly, "Writing \"" + path_ + "\": opened for reading");
  }

  MemoryFileSystem& system_;
  std::shared_ptr<Node> node_;
  std::string path_;
  bool writable_;
};

MemoryFileSystem::MemoryFileSystem() = default;
MemoryFileSystem::~MemoryFileSystem() = default;

void MemoryFileSystem::Notice(Event event, bool reading) {
  if (hook_ && (!reading || watchReads_)) hook_(event);
  if (recording_ && !reading) record_.push_back(std::move(event));
}

std::unique_ptr<File> MemoryFileSystem::Open(const std::string& path, FileMode mode) {
  const std::lock_guard guard(mutex_);
  auto found = nodes_.find(path);
  if (found != nodes_.end() && mode == FileMode::kCreateNew)
    throw Error(ErrorCode::kAlreadyExists, "Opening \"" + path + "\": there is a file of that name");
  if (found == nodes_.end()) {
    if (mode == FileMode::kRead || mode == FileMode::kReadWrite)
      throw Error(ErrorCode::kNotFound, "Opening \"" + path + "\": no such file");
    Notice({Operation::kCreate, path, 0, {}, 0, {}});
    found = nodes_.emplace(path, std::make_shared<Node>()).first;
  }
  return std::make_unique<Handle>(*this, found->second, path, mode != FileMode::kRead);
}

bool MemoryFileSystem::Exists(const std::string& path) {
  const std::lock_guard guard(mutex_);
  return nodes_.count(path) != 0;
}

void MemoryFileSystem::Remove(const std::string& path) {
  const std::lock_guard guard(mutex_);
  if (nodes_.count(path) == 0) return;
  Notice({Operation::kRemove, path, 0, {}, 0, {}});
  nodes_.erase(path);
}

void MemoryFileSystem::Rename(const std::string& from, const std::string& to) {
  const std::lock_guard guard(mutex_);
  const auto found = nodes_.find(from);
  if (found == nodes_.end()) throw Error(ErrorCode::kNotFound, "Renaming \"" + from + "\": no such file");
  Notice({Operation::kRename, from, 0, {}, 0, to});
  nodes_[to] = found->second;
  nodes_.erase(from);
}

void MemoryFileSystem::SyncFolder(const std::string& pathOfFile) {
  const std::lock_guard guard(mutex_);
  Notice({Operation::kSyncFolder, pathOfFile, 0, {}, 0, {}});
}

void MemoryFileSystem::SetHook(std::function<void(const Event&)> hook, bool watchReads) {
  const std::lock_guard guard(mutex_);
  hook_ = std::move(hook);
  watchReads_ = watchReads;
}

void MemoryFileSystem::Record(bool on) {
  const std::lock_guard guard(mutex_);
  recording_ = on;
}

std::vector<MemoryFileSystem::Event> MemoryFileSystem::TakeRecord() {
  const std::lock_guard guard(mutex_);
  return std::exchange(record_, {});
}

std::vector<std::byte> MemoryFileSystem::Content(const std::string& path) const {
  const std::lock_guard guard(mutex_);
  const auto found = nodes_.find(path);
  return found == nodes_.end() ? std::vector<std::byte>{} : found->second->bytes;
}

void MemoryFileSystem::SetContent(const std::string& path, std::vector<std::byte> bytes) {
  const std::lock_guard guard(mutex_);
  auto& node = nodes_[path];
  if (!node) node = std::make_shared<Node>();
  node->bytes = std::move(bytes);
}

std::vector<std::string> MemoryFileSystem::Names() const {
  const std::lock_guard guard(mutex_);
  std::vector<std::string> names;
  for (const auto& [name, node] : nodes_) names.push_back(name);
  return names;
}

}  // namespace jet
