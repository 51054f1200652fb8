#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <span>
#include <string>

namespace jet {

/// How FileSystem::Open treats the name.
enum class FileMode {
  kRead,          ///< the file must be there; only reading
  kReadWrite,     ///< the file must be there
  kCreateNew,     ///< the file must not be there; reading and writing
  kOpenOrCreate,  ///< reading and writing, made when it is not there
};

/// The beginning of an open file, always as it is by then, without a call to the system for each look.
class FileWindow {
 public:
  explicit FileWindow(std::span<const std::byte> bytes) : bytes_(bytes) {}
  virtual ~FileWindow() = default;

  /// The eight bytes at an offset that is a multiple of eight, as a number in the machine's own order.
  [[nodiscard]] std::uint64_t Number(std::size_t offset) const noexcept {
    return *reinterpret_cast<const volatile std::uint64_t*>(bytes_.data() + offset);
  }
  [[nodiscard]] std::span<const std::byte> Bytes() const noexcept { return bytes_; }

 private:
  std::span<const std::byte> bytes_;
};

/// One open file. Closed when the object goes; its locks go with it.
/// Errors: jet::Error kDiskFull when there is no space, kIo for anything else that the system refuses.
class File {
 public:
  virtual ~File() = default;

  /// Reads from the offset until the buffer is full or the file ends; gives the number of bytes read.
  [[nodiscard]] virtual std::size_t Read(std::uint64_t offset, std::span<std::byte> buffer) = 0;
  /// Writes all bytes, making the file longer where needed.
  virtual void Write(std::uint64_t offset, std::span<const std::byte> bytes) = 0;
  /// Length in bytes now.
  [[nodiscard]] virtual std::uint64_t Size() = 0;
  /// Sets the length; new bytes are zero.
  virtual void Truncate(std::uint64_t size) = 0;
  /// Returns when everything written so far would survive a power cut.
  virtual void Sync() = 0;
  /// Takes a lock on a byte range (it may lie beyond the end) without waiting. False when another open of the same file, in this
  /// process or another, holds a lock on it that excludes this one. Locking a range that this object holds changes its kind.
  /// The locks bind only those who ask for them; they never hinder Read and Write.
  [[nodiscard]] virtual bool TryLock(std::uint64_t offset, std::uint64_t length, bool exclusive) = 0;
  /// Gives the range back; nothing happens for bytes that are not held.
  virtual void Unlock(std::uint64_t offset, std::uint64_t length) = 0;
  /// True while the name that this file was opened by still leads to this very file (false once it was removed or replaced).
  [[nodiscard]] virtual bool IsStillNamed() = 0;
  /// True when another open of the same file holds a lock of any kind on a byte of the range.
  [[nodiscard]] virtual bool IsLocked(std::uint64_t offset, std::uint64_t length) = 0;
  /// A number that two opens share when they lead to the same file; of files that exist at the same time, different ones have different
  /// numbers within a file system.
  [[nodiscard]] virtual std::uint64_t Identity() { return 0; }
  /// A window onto the first bytes (at most 4096) of a file that is not empty; zeros stand behind its end. Null where there can be none: then Read
  /// is the way. It must not outlive the file.
  [[nodiscard]] virtual std::unique_ptr<FileWindow> OpenWindow(std::size_t /*length*/) { return nullptr; }
  /// How many names the file has in its file system; 0 once the last one is gone.
  [[nodiscard]] virtual std::uint64_t NameCount() { return 1; }
};

/// Where files live: the real one, one in memory, or one that fails or records for tests. Paths are UTF-8.
class FileSystem {
 public:
  virtual ~FileSystem() = default;

  /// Opens a file. Errors: kNotFound when it must be there and is not (its folder counts too), kAlreadyExists for kCreateNew on an
  /// existing name, kReadOnly when writing is asked and not allowed, kInUse when another program denies the access, kIo otherwise.
  [[nodiscard]] virtual std::unique_ptr<File> Open(const std::string& path, FileMode mode) = 0;
  /// Opens a file that goes with another one, at most for those who may open that one: a new one gets its owner, group and mode as far as
  /// the user may give them. A link, a pipe or whatever else stands there in place of a file is kIo: it is neither followed nor waited for.
  [[nodiscard]] virtual std::unique_ptr<File> OpenBeside(const std::string& path, FileMode mode, File& /*companion*/) {
    return Open(path, mode);
  }
  /// The one path of a file that is there, whatever links, dots and (where names have none) case lead to it. Errors as Open.
  [[nodiscard]] virtual std::string RealPath(const std::string& path) { return path; }
  [[nodiscard]] virtual bool Exists(const std::string& path) = 0;
  /// Removes the file. Not being there is not an error. Errors: kReadOnly, kInUse, kIo.
  virtual void Remove(const std::string& path) = 0;
  /// Gives the file another name in the same folder, replacing a file of that name in one step.
  virtual void Rename(const std::string& from, const std::string& to) = 0;
  /// Returns when the creations, removals and renamings done so far in the folder of the path would survive a power cut.
  virtual void SyncFolder(const std::string& pathOfFile) = 0;

  /// The file system of the machine; lives as long as the program.
  static FileSystem& Real();
};

}  // namespace jet
