#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <utility>

#include "jet/value/Error.h"
#include "jet/file/FileSystem.h"
#include "jet/file/posix/Window.h"

namespace jet {
namespace {

[[noreturn]] void Fail(const std::string& what, const std::string& path, int code) {
  const std::string text = what + " \"" + path + "\": " + std::strerror(code);
  switch (code) {
    case ENOENT:
    case ENOTDIR:
      throw Error(ErrorCode::kNotFound, text);
    case EEXIST:
      throw Error(ErrorCode::kAlreadyExists, text);
    case EACCES:
    case EPERM:
    case EROFS:
      throw Error(ErrorCode::kReadOnly, text);
    case ENOSPC:
    case EDQUOT:
    case EFBIG:
      throw Error(ErrorCode::kDiskFull, text);
    case ELOOP:
      throw Error(ErrorCode::kIo, what + " \"" + path + "\": not a file but a link");
    case ETXTBSY:
    case EBUSY:
      throw Error(ErrorCode::kInUse, text);
    default:
      throw Error(ErrorCode::kIo, text);
  }
}

class PosixFile final : public File {
 public:
  PosixFile(int descriptor, std::string path) : descriptor_(descriptor), path_(std::move(path)) {}
  ~PosixFile() override { ::close(descriptor_); }
  PosixFile(const PosixFile&) = delete;
  PosixFile& operator=(const PosixFile&) = delete;

  std::size_t Read(std::uint64_t offset, std::span<std::byte> buffer) override {
    std::size_t done = 0;
    while (done < buffer.size()) {
      const auto got = ::pread(descriptor_, buffer.data() + done, buffer.size() - done, static_cast<off_t>(offset + done));
      if (got < 0 && errno == EINTR) continue;
      if (got < 0) Fail("Reading", path_, errno);
      if (got == 0) break;
      done += static_cast<std::size_t>(got);
    }
    return done;
  }

  void Write(std::uint64_t offset, std::span<const std::byte> bytes) override {
    std::size_t done = 0;
    while (done < bytes.size()) {
      const auto put = ::pwrite(descriptor_, bytes.data() + done, bytes.size() - done, static_cast<off_t>(offset + done));
      if (put < 0 && errno == EINTR) continue;
      if (put < 0) Fail("Writing", path_, errno);
      done += static_cast<std::size_t>(put);
    }
  }

  std::uint64_t Size() override {
    struct stat status {};
    if (::fstat(descriptor_, &status) != 0) Fail("Measuring", path_, errno);
    return static_cast<std::uint64_t>(status.st_size);
  }

  void Truncate(std::uint64_t size) override {
    if (::ftruncate(descriptor_, static_cast<off_t>(size)) != 0) Fail("Setting the length of", path_, errno);
  }

  void Sync() override {
    while (::fsync(descriptor_) != 0)
      if (errno != EINTR) Fail("Syncing", path_, errno);
  }

  bool TryLock(std::uint64_t offset, std::uint64_t length, bool exclusive) override {
    // Locks of the open file, not of the process: two databases opened by one process exclude each other too.
    struct flock range = Range(offset, length, exclusive ? F_WRLCK : F_RDLCK);
    while (::fcntl(descriptor_, F_OFD_SETLK, &range) != 0) {
      if (errno == EINTR) continue;
      if (errno == EAGAIN || errno == EACCES) return false;
      Fail("Locking", path_, errno);
    }
    return true;
  }

  void Unlock(std::uint64_t offset, std::uint64_t length) override {
    struct flock range = Range(offset, length, F_UNLCK);
    ::fcntl(descriptor_, F_OFD_SETLK, &range);
  }

  bool IsLocked(std::uint64_t offset, std::uint64_t length) override {
    struct flock range = Range(offset, length, F_WRLCK);
    while (::fcntl(descriptor_, F_OFD_GETLK, &range) != 0)
      if (errno != EINTR) Fail("Locking", path_, errno);
    return range.l_type != F_UNLCK;
  }

  std::uint64_t Identity() override { return static_cast<std::uint64_t>(Status().st_ino); }
  std::uint64_t NameCount() override { return static_cast<std::uint64_t>(Status().st_nlink); }
  std::unique_ptr<FileWindow> OpenWindow(std::size_t length) override { return OpenPosixWindow(descriptor_, length); }

  /// Makes a new file one of the other's user and kind. forAll: its contents are no secret, and the other's owner must be able to use it.
  void Resemble(int model, bool forAll) {
    struct stat wanted {};
    if (::fstat(model, &wanted) != 0) return;
    // Who may not give a file away may still give it to a group of his own; failing that it stays with him.
    if (::fchown(descriptor_, wanted.st_uid, wanted.st_gid) != 0 && ::fchown(descriptor_, static_cast<uid_t>(-1), wanted.st_gid) != 0)
      wanted.st_mode &= ~static_cast<mode_t>(S_IRWXG);  // of a group that is not meant
    if (forAll && Status().st_uid != wanted.st_uid) wanted.st_mode |= (wanted.st_mode & S_IRWXU) >> 3 | (wanted.st_mode & S_IRWXU) >> 6;
    ::fchmod(descriptor_, wanted.st_mode & 0666);
  }
  [[nodiscard]] int Descriptor() const noexcept { return descriptor_; }

  bool IsStillNamed() override {
    struct stat mine {};
    struct stat named {};
    return ::fstat(descriptor_, &mine) == 0 && ::stat(path_.c_str(), &named) == 0 && mine.st_dev == named.st_dev &&
           mine.st_ino == named.st_ino;
  }

 private:
  [[nodiscard]] struct stat Status() const {
    struct stat status {};
    if (::fstat(descriptor_, &status) != 0) Fail("Looking at", path_, errno);
    return status;
  }

  static struct flock Range(std::uint64_t offset, std::uint64_t length, int type) {
    struct flock range {};
    range.l_type = static_cast<short>(type);
    range.l_whence = SEEK_SET;
    range.l_start = static_cast<off_t>(offset);
    range.l_len = static_cast<off_t>(length);
    return range;
  }

  int descriptor_;
  std::string path_;
};

class PosixFileSystem final : public FileSystem {
 public:
  std::unique_ptr<File> Open(const std::string& path, FileMode mode) override { return Opened(path, mode, 0, 0666); }

  std::unique_ptr<File> OpenBeside(const std::string& path, FileMode mode, File& companion) override {
    const auto& model = dynamic_cast<PosixFile&>(companion);
    for (int attempt = 0;; ++attempt) {
      try {
        if (mode == FileMode::kRead || mode == FileMode::kReadWrite) return Opened(path, mode, O_NOFOLLOW, 0);
        if (mode == FileMode::kOpenOrCreate) {
          try {
            return Opened(path, FileMode::kReadWrite, O_NOFOLLOW, 0);
          } catch (const Error& error) {
            if (error.Code() != ErrorCode::kNotFound) throw;
          }
        }
        // Nobody else's until it looks as it should.
        auto made = Opened(path, FileMode::kCreateNew, O_NOFOLLOW, 0600);
        made->Resemble(model.Descriptor(), mode == FileMode::kOpenOrCreate);
        return made;
      } catch (const Error& error) {
        // Another one is just making it, or has just removed it.
        const bool passing = error.Code() == ErrorCode::kAlreadyExists || (error.Code() == ErrorCode::kReadOnly && Exists(path));
        if (mode != FileMode::kOpenOrCreate || !passing || attempt == kAttempts) throw;
        ::usleep(kPauseMicroseconds);
      }
    }
  }

  std::string RealPath(const std::string& path) override {
    char* found = ::realpath(path.c_str(), nullptr);
    if (found == nullptr) Fail("Opening", path, errno);
    const std::unique_ptr<char, decltype(&std::free)> real(found, &std::free);
    return real.get();
  }

 private:
  static constexpr int kAttempts = 40;
  static constexpr useconds_t kPauseMicroseconds = 5000;

  static std::unique_ptr<PosixFile> Opened(const std::string& path, FileMode mode, int more, mode_t rights) {
    // Opening a pipe would wait for its other end; only regular files are databases.
    int flags = O_CLOEXEC | O_NONBLOCK | O_NOCTTY | more;
    switch (mode) {
      case FileMode::kRead:
        flags |= O_RDONLY;
        break;
      case FileMode::kReadWrite:
        flags |= O_RDWR;
        break;
      case FileMode::kCreateNew:
        flags |= O_RDWR | O_CREAT | O_EXCL;
        break;
      case FileMode::kOpenOrCreate:
        flags |= O_RDWR | O_CREAT;
        break;
    }
    int descriptor = -1;
    do descriptor = ::open(path.c_str(), flags, rights);
    while (descriptor < 0 && errno == EINTR);
    if (descriptor < 0) Fail("Opening", path, errno);
    struct stat status {};
    if (::fstat(descriptor, &status) != 0 || !S_ISREG(status.st_mode)) {
      ::close(descriptor);
      throw Error(ErrorCode::kIo, "Opening \"" + path + "\": not a file");
    }
    return std::make_unique<PosixFile>(descriptor, path);
  }

 public:
  bool Exists(const std::string& path) override { return ::access(path.c_str(), F_OK) == 0; }

  void Remove(const std::string& path) override {
    if (::unlink(path.c_str()) != 0 && errno != ENOENT) Fail("Removing", path, errno);
  }

  void Rename(const std::string& from, const std::string& to) override {
    if (::rename(from.c_str(), to.c_str()) != 0) Fail("Renaming", from, errno);
  }

  void SyncFolder(const std::string& pathOfFile) override {
    const auto slash = pathOfFile.rfind('/');
    const std::string folder = slash == std::string::npos ? "." : slash == 0 ? "/" : pathOfFile.substr(0, slash);
    const int descriptor = ::open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    if (descriptor < 0) Fail("Opening", folder, errno);
    const int outcome = ::fsync(descriptor);
    const int code = errno;
    ::close(descriptor);
    // Some file systems have nothing to sync in a folder and say so.
    if (outcome != 0 && code != EINVAL) Fail("Syncing", folder, code);
  }
};

}  // namespace

FileSystem& FileSystem::Real() {
  static PosixFileSystem real;
  return real;
}

}  // namespace jet
