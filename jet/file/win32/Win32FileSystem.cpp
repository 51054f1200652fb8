#include <windows.h>

#include <algorithm>
#include <iterator>
#include <system_error>
#include <utility>
#include <vector>

#include "jet/value/Error.h"
#include "jet/file/FileSystem.h"

namespace jet {
namespace {

/// How often, and how many milliseconds apart, an open is tried again when the file is just being removed by somebody
/// else.
constexpr int kOpenAttempts = 5;
constexpr DWORD kOpenPause = 10;

/// The compiler's headers leave this name out of the enumeration.
constexpr auto kFileDispositionInfoEx = static_cast<FILE_INFO_BY_HANDLE_CLASS>(21);

/// The words of the other systems where they have some for it, so that a message reads alike everywhere; else the system's own.
std::string SystemText(DWORD code) {
  const std::error_condition common = std::system_category().default_error_condition(static_cast<int>(code));
  if (common.category() == std::generic_category()) return common.message();
  wchar_t text[512];
  const DWORD length = FormatMessageW(FORMAT_MESSAGE_FROM_SYSTEM | FORMAT_MESSAGE_IGNORE_INSERTS | FORMAT_MESSAGE_MAX_WIDTH_MASK, nullptr,
                                      code, 0, text, static_cast<DWORD>(std::size(text)), nullptr);
  char utf8[4 * std::size(text)];
  const int bytes = WideCharToMultiByte(CP_UTF8, 0, text, static_cast<int>(length), utf8, sizeof utf8, nullptr, nullptr);
  std::string out(utf8, static_cast<std::size_t>(bytes));
  while (!out.empty() && (out.back() == ' ' || out.back() == '.')) out.pop_back();
  return out.empty() ? "error " + std::to_string(code) : out;
}

[[noreturn]] void Fail(const std::string& what, const std::string& path, DWORD code) {
  const std::string text = what + " \"" + path + "\": " + SystemText(code);
  switch (code) {
    case ERROR_FILE_NOT_FOUND:
    case ERROR_PATH_NOT_FOUND:
    case ERROR_INVALID_NAME:
    case ERROR_BAD_PATHNAME:
    case ERROR_BAD_NETPATH:
    case ERROR_DIRECTORY:
      throw Error(ErrorCode::kNotFound, text);
    case ERROR_FILE_EXISTS:
    case ERROR_ALREADY_EXISTS:
      throw Error(ErrorCode::kAlreadyExists, text);
    case ERROR_ACCESS_DENIED:
    case ERROR_WRITE_PROTECT:
      throw Error(ErrorCode::kReadOnly, text);
    case ERROR_DISK_FULL:
    case ERROR_HANDLE_DISK_FULL:
      throw Error(ErrorCode::kDiskFull, text);
    case ERROR_SHARING_VIOLATION:
    case ERROR_LOCK_VIOLATION:
      throw Error(ErrorCode::kInUse, text);
    default:
      throw Error(ErrorCode::kIo, text);
  }
}

std::wstring Wide(const std::string& text) {
  const int length = static_cast<int>(text.size());
  std::wstring wide(text.size(), L'\0');
  const int units = length == 0 ? 0 : MultiByteToWideChar(CP_UTF8, MB_ERR_INVALID_CHARS, text.data(), length, wide.data(), length);
  if (length != 0 && units == 0) Fail("Opening", text, ERROR_INVALID_NAME);
  wide.resize(static_cast<std::size_t>(units));
  return wide;
}

/// A native handle and its end.
class Handle {
 public:
  explicit Handle(HANDLE handle = INVALID_HANDLE_VALUE) noexcept : handle_(handle) {}
  Handle(Handle&& other) noexcept : handle_(std::exchange(other.handle_, INVALID_HANDLE_VALUE)) {}
  Handle& operator=(Handle&& other) noexcept {
    std::swap(handle_, other.handle_);
    return *this;
  }
  Handle(const Handle&) = delete;
  Handle& operator=(const Handle&) = delete;
  ~Handle() {
    if (IsOpen()) CloseHandle(handle_);
  }
  [[nodiscard]] bool IsOpen() const noexcept { return handle_ != INVALID_HANDLE_VALUE; }
  [[nodiscard]] HANDLE Get() const noexcept { return handle_; }

 private:
  HANDLE handle_;
};

OVERLAPPED At(std::uint64_t offset) {
  OVERLAPPED place{};
  place.Offset = static_cast<DWORD>(offset);
  place.OffsetHigh = static_cast<DWORD>(offset >> 32U);
  return place;
}

/// The locks that one open file holds. The system's are mandatory, cannot be changed in kind, cannot grow and are given
/// back only whole; what the contract promises beyond that is put together here from several of them.
class HeldLocks {
 public:
  explicit HeldLocks(HANDLE file) : file_(file) {}

  [[nodiscard]] bool TryLock(std::uint64_t begin, std::uint64_t end, bool exclusive, DWORD& failure) {
    std::vector<Piece> released;
    Release(
        begin, end, [exclusive](const Piece& piece) { return piece.exclusive != exclusive; }, released);
    std::vector<Piece> taken;
    for (const Piece& gap : Gaps(begin, end, exclusive)) {
      if (!Lock(gap, failure)) {
        for (const Piece& piece : taken) Unlock(piece);
        // Nobody else can have come in where the lock given up was shared and the wish exclusive, unless for writing.
        DWORD ignored = 0;
        for (const Piece& piece : released) static_cast<void>(Lock(piece, ignored));
        return false;
      }
      taken.push_back(gap);
    }
    return true;
  }

  void Unlock(std::uint64_t begin, std::uint64_t end) {
    std::vector<Piece> released;
    Release(
        begin, end, [](const Piece&) { return true; }, released);
  }

  /// True when somebody else holds a lock there. Nobody can be asked: what can be locked by us alone is locked by nobody else. A shared lock
  /// of ours is given up for that, for a moment.
  [[nodiscard]] bool IsLocked(std::uint64_t begin, std::uint64_t end, DWORD& failure) {
    const std::vector<Piece> before = held_;
    for (const Piece& gap : Gaps(begin, end, true)) {
      if (!Lock(gap, failure)) return true;
      Unlock(gap);
    }
    for (const Piece& piece : before) {
      const std::uint64_t from = std::max(begin, piece.begin);
      const std::uint64_t to = std::min(end, piece.end);
      if (from >= to || piece.exclusive) continue;
      if (!TryLock(from, to, true, failure)) return true;
      DWORD ignored = 0;
      static_cast<void>(TryLock(from, to, false, ignored));
    }
    return false;
  }

 private:
  struct Piece {
    std::uint64_t begin;
    std::uint64_t end;
    bool exclusive;
  };

  bool Lock(const Piece& piece, DWORD& failure) {
    OVERLAPPED place = At(piece.begin);
    const std::uint64_t length = piece.end - piece.begin;
    const DWORD flags = LOCKFILE_FAIL_IMMEDIATELY | (piece.exclusive ? LOCKFILE_EXCLUSIVE_LOCK : 0);
    if (LockFileEx(file_, flags, 0, static_cast<DWORD>(length), static_cast<DWORD>(length >> 32U), &place) == 0) {
      failure = GetLastError();
      return false;
    }
    held_.push_back(piece);
    return true;
  }

  void Unlock(const Piece& piece) {
    OVERLAPPED place = At(piece.begin);
    const std::uint64_t length = piece.end - piece.begin;
    UnlockFileEx(file_, 0, static_cast<DWORD>(length), static_cast<DWORD>(length >> 32U), &place);
    std::erase_if(held_, [&piece](const Piece& item) { return item.begin == piece.begin && item.end == piece.end; });
  }

  /// Gives back what of the wanted pieces lies inside the range; released gets it.
  template <typename Wanted>
  void Release(std::uint64_t begin, std::uint64_t end, Wanted&& wanted, std::vector<Piece>& released) {
    const std::vector<Piece> before = held_;
    for (const Piece& piece : before) {
      if (piece.end <= begin || piece.begin >= end || !wanted(piece)) continue;
      Unlock(piece);
      DWORD ignored = 0;
      if (piece.begin < begin) static_cast<void>(Lock({piece.begin, begin, piece.exclusive}, ignored));
      if (piece.end > end) static_cast<void>(Lock({end, piece.end, piece.exclusive}, ignored));
      released.push_back({std::max(piece.begin, begin), std::min(piece.end, end), piece.exclusive});
    }
  }

  /// The parts of the range that are not held.
  std::vector<Piece> Gaps(std::uint64_t begin, std::uint64_t end, bool exclusive) {
    std::sort(held_.begin(), held_.end(), [](const Piece& a, const Piece& b) { return a.begin < b.begin; });
    std::vector<Piece> gaps;
    for (const Piece& piece : held_) {
      if (piece.end <= begin || piece.begin >= end) continue;
      if (piece.begin > begin) gaps.push_back({begin, piece.begin, exclusive});
      begin = std::max(begin, piece.end);
    }
    if (begin < end) gaps.push_back({begin, end, exclusive});
    return gaps;
  }

  HANDLE file_;
  std::vector<Piece> held_;
};

/// The identity of an open file: volume and number.
bool SameFile(HANDLE a, HANDLE b) {
  BY_HANDLE_FILE_INFORMATION first{};
  BY_HANDLE_FILE_INFORMATION second{};
  return GetFileInformationByHandle(a, &first) != 0 && GetFileInformationByHandle(b, &second) != 0 &&
         first.dwVolumeSerialNumber == second.dwVolumeSerialNumber && first.nFileIndexHigh == second.nFileIndexHigh &&
         first.nFileIndexLow == second.nFileIndexLow;
}

constexpr DWORD kShareAll = FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE;

class Win32File final : public File {
 public:
  Win32File(Handle handle, std::string path, bool writable)
      : handle_(std::move(handle)), locks_(handle_.Get()), path_(std::move(path)), writable_(writable) {}

  std::size_t Read(std::uint64_t offset, std::span<std::byte> buffer) override {
    std::size_t done = 0;
    while (done < buffer.size()) {
      OVERLAPPED place = At(offset + done);
      const DWORD wanted = Chunk(buffer.size() - done);
      DWORD got = 0;
      if (ReadFile(handle_.Get(), buffer.data() + done, wanted, &got, &place) == 0) {
        if (GetLastError() == ERROR_HANDLE_EOF) break;
        Fail("Reading", path_, GetLastError());
      }
      done += got;
      if (got < wanted) break;  // only the end of a file cuts a reading short
    }
    return done;
  }

  void Write(std::uint64_t offset, std::span<const std::byte> bytes) override {
    std::size_t done = 0;
    while (done < bytes.size()) {
      OVERLAPPED place = At(offset + done);
      DWORD put = 0;
      if (WriteFile(handle_.Get(), bytes.data() + done, Chunk(bytes.size() - done), &put, &place) == 0) {
        Fail("Writing", path_, GetLastError());
      }
      done += put;
    }
  }

  std::uint64_t Size() override {
    LARGE_INTEGER size{};
    if (GetFileSizeEx(handle_.Get(), &size) == 0) Fail("Measuring", path_, GetLastError());
    return static_cast<std::uint64_t>(size.QuadPart);
  }

  void Truncate(std::uint64_t size) override {
    FILE_END_OF_FILE_INFO end{};
    end.EndOfFile.QuadPart = static_cast<LONGLONG>(size);
    if (SetFileInformationByHandle(handle_.Get(), FileEndOfFileInfo, &end, sizeof end) == 0) {
      Fail("Setting the length of", path_, GetLastError());
    }
  }

  void Sync() override {
    if (writable_ && FlushFileBuffers(handle_.Get()) == 0) Fail("Syncing", path_, GetLastError());
  }

  bool TryLock(std::uint64_t offset, std::uint64_t length, bool exclusive) override {
    DWORD failure = 0;
    if (locks_.TryLock(offset, offset + length, exclusive, failure)) return true;
    if (failure != ERROR_LOCK_VIOLATION && failure != ERROR_IO_PENDING) Fail("Locking", path_, failure);
    return false;
  }

  void Unlock(std::uint64_t offset, std::uint64_t length) override { locks_.Unlock(offset, offset + length); }

  bool IsLocked(std::uint64_t offset, std::uint64_t length) override {
    DWORD failure = 0;
    if (!locks_.IsLocked(offset, offset + length, failure)) return false;
    if (failure != ERROR_LOCK_VIOLATION && failure != ERROR_IO_PENDING) Fail("Locking", path_, failure);
    return true;
  }

  std::uint64_t Identity() override {
    const BY_HANDLE_FILE_INFORMATION information = Information();
    return std::uint64_t{information.nFileIndexHigh} << 32U | information.nFileIndexLow;
  }
  std::uint64_t NameCount() override { return Information().nNumberOfLinks; }

  bool IsStillNamed() override {
    const Handle named(CreateFileW(Wide(path_).c_str(), 0, kShareAll, nullptr, OPEN_EXISTING, FILE_FLAG_BACKUP_SEMANTICS, nullptr));
    return named.IsOpen() && SameFile(handle_.Get(), named.Get());
  }

 private:
  [[nodiscard]] BY_HANDLE_FILE_INFORMATION Information() const {
    BY_HANDLE_FILE_INFORMATION information{};
    if (GetFileInformationByHandle(handle_.Get(), &information) == 0) Fail("Looking at", path_, GetLastError());
    return information;
  }

  static DWORD Chunk(std::size_t size) { return static_cast<DWORD>(std::min<std::size_t>(size, 1U << 30U)); }

  Handle handle_;
  HeldLocks locks_;
  std::string path_;
  bool writable_;
};

class Win32FileSystem final : public FileSystem {
 public:
  std::unique_ptr<File> Open(const std::string& path, FileMode mode) override { return Opened(path, mode, false); }

  /// A new file gets its rights from its folder, as the database did.
  std::unique_ptr<File> OpenBeside(const std::string& path, FileMode mode, File& /*companion*/) override {
    if (mode != FileMode::kOpenOrCreate) return Opened(path, mode, true);
    // Found or made anew, never made where a link leads that leads nowhere.
    for (int attempt = 1;; ++attempt) {
      try {
        return Opened(path, FileMode::kReadWrite, true);
      } catch (const Error& error) {
        if (error.Code() != ErrorCode::kNotFound) throw;
      }
      try {
        return Opened(path, FileMode::kCreateNew, true);
      } catch (const Error& error) {
        if (error.Code() != ErrorCode::kAlreadyExists) throw;
        if (attempt == kOpenAttempts) throw Error(ErrorCode::kIo, "Opening \"" + path + "\": not a file but a link");
      }
      Sleep(kOpenPause);
    }
  }

  std::string RealPath(const std::string& path) override {
    const Handle handle(CreateFileW(Wide(path).c_str(), 0, kShareAll, nullptr, OPEN_EXISTING, FILE_FLAG_BACKUP_SEMANTICS, nullptr));
    if (!handle.IsOpen()) Fail("Opening", path, GetLastError());
    return Narrow(WithoutPrefix(FinalName(handle.Get(), path)));
  }

 private:
  static std::wstring FinalName(HANDLE handle, const std::string& path) {
    std::wstring found(32768, L'\0');
    const DWORD length = GetFinalPathNameByHandleW(handle, found.data(), static_cast<DWORD>(found.size()), FILE_NAME_NORMALIZED);
    if (length == 0 || length >= found.size()) Fail("Opening", path, GetLastError());
    found.resize(length);
    return found;
  }

  /// Wine 8 follows the links of the system below it whatever it is told (RealNames.ALinkBesideIsNeitherFollowedNorMade): where the file is
  /// shows whether it is the one that was named.
  static bool LedElsewhere(HANDLE handle, const std::string& path) {
    const auto slash = path.find_last_of("/\\");
    const std::string folder = slash == std::string::npos ? "." : path.substr(0, slash + 1);
    const Handle place(CreateFileW(Wide(folder).c_str(), 0, kShareAll, nullptr, OPEN_EXISTING, FILE_FLAG_BACKUP_SEMANTICS, nullptr));
    if (!place.IsOpen()) Fail("Opening", folder, GetLastError());
    std::wstring named = FinalName(place.Get(), folder);
    if (named.back() != L'\\') named += L'\\';
    named += Wide(slash == std::string::npos ? path : path.substr(slash + 1));
    const std::wstring found = FinalName(handle, path);
    return CompareStringOrdinal(found.c_str(), static_cast<int>(found.size()), named.c_str(), static_cast<int>(named.size()), TRUE) !=
           CSTR_EQUAL;
  }

  /// Names that the system gives begin with "\\?\", those of other machines with "\\?\UNC\".
  static std::wstring WithoutPrefix(const std::wstring& name) {
    if (name.rfind(L"\\\\?\\UNC\\", 0) == 0) return L"\\\\" + name.substr(8);
    return name.rfind(L"\\\\?\\", 0) == 0 ? name.substr(4) : name;
  }

  static std::string Narrow(const std::wstring& wide) {
    const int length = static_cast<int>(wide.size());
    std::string text(wide.size() * 3, '\0');
    const int bytes = WideCharToMultiByte(CP_UTF8, 0, wide.data(), length, text.data(), static_cast<int>(text.size()), nullptr, nullptr);
    text.resize(static_cast<std::size_t>(bytes));
    return text;
  }

  static std::unique_ptr<File> Opened(const std::string& path, FileMode mode, bool beside) {
    const std::wstring name = Wide(path);
    const bool writable = mode != FileMode::kRead;
    const DWORD access = GENERIC_READ | (writable ? GENERIC_WRITE : 0);
    const DWORD creation = mode == FileMode::kCreateNew ? CREATE_NEW : mode == FileMode::kOpenOrCreate ? OPEN_ALWAYS : OPEN_EXISTING;
    Handle handle;
    for (int attempt = 1;; ++attempt) {
      handle = Handle(CreateFileW(name.c_str(), access, kShareAll, nullptr, creation,
                                  FILE_ATTRIBUTE_NORMAL | (beside ? FILE_FLAG_OPEN_REPARSE_POINT : 0), nullptr));
      if (handle.IsOpen()) break;
      const DWORD code = GetLastError();
      const DWORD attributes = GetFileAttributesW(name.c_str());
      if (attributes != INVALID_FILE_ATTRIBUTES && (attributes & FILE_ATTRIBUTE_DIRECTORY) != 0) {
        throw Error(ErrorCode::kIo, "Opening \"" + path + "\": not a file");
      }
      // A file removed while others have it open keeps its name, closed to everybody, until they are through.
      const bool beingRemoved = code == ERROR_DELETE_PENDING || (code == ERROR_ACCESS_DENIED && attributes == INVALID_FILE_ATTRIBUTES);
      if (!beingRemoved || attempt == kOpenAttempts) Fail("Opening", path, code);
      Sleep(kOpenPause);
    }
    BY_HANDLE_FILE_INFORMATION information{};
    if (GetFileType(handle.Get()) != FILE_TYPE_DISK || (beside && GetFileInformationByHandle(handle.Get(), &information) != 0 &&
                                                        (information.dwFileAttributes & FILE_ATTRIBUTE_REPARSE_POINT) != 0)) {
      throw Error(ErrorCode::kIo, "Opening \"" + path + "\": not a file");
    }
    if (beside && LedElsewhere(handle.Get(), path)) throw Error(ErrorCode::kIo, "Opening \"" + path + "\": not a file but a link");
    return std::make_unique<Win32File>(std::move(handle), path, writable);
  }

 public:
  bool Exists(const std::string& path) override { return GetFileAttributesW(Wide(path).c_str()) != INVALID_FILE_ATTRIBUTES; }

  void Remove(const std::string& path) override {
    const std::wstring name = Wide(path);
    {
      const Handle handle(CreateFileW(name.c_str(), DELETE, kShareAll, nullptr, OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL, nullptr));
      if (!handle.IsOpen()) {
        const DWORD code = GetLastError();
        if (code == ERROR_FILE_NOT_FOUND || code == ERROR_PATH_NOT_FOUND) return;
        Fail("Removing", path, code);
      }
      // The name goes at once, whoever still has the file open.
      FILE_DISPOSITION_INFO_EX disposition{FILE_DISPOSITION_FLAG_DELETE | FILE_DISPOSITION_FLAG_POSIX_SEMANTICS};
      if (SetFileInformationByHandle(handle.Get(), kFileDispositionInfoEx, &disposition, sizeof disposition) != 0) return;
    }
    // File systems without that keep the name until the last one closes the file: then it goes under another name.
    const std::wstring leaving = name + L"." + std::to_wstring(GetCurrentProcessId()) + L"-" + std::to_wstring(GetTickCount64());
    const bool renamed = MoveFileExW(name.c_str(), leaving.c_str(), MOVEFILE_WRITE_THROUGH) != 0;
    if (DeleteFileW(renamed ? leaving.c_str() : name.c_str()) == 0) Fail("Removing", path, GetLastError());
  }

  void Rename(const std::string& from, const std::string& to) override {
    if (MoveFileExW(Wide(from).c_str(), Wide(to).c_str(), MOVEFILE_REPLACE_EXISTING | MOVEFILE_WRITE_THROUGH) == 0) {
      Fail("Renaming", from, GetLastError());
    }
  }

  void SyncFolder(const std::string& pathOfFile) override {
    const auto slash = pathOfFile.find_last_of("/\\");
    const std::wstring folder = slash == std::string::npos ? L"." : Wide(pathOfFile.substr(0, slash + 1));
    // Where the file system lets nobody flush a folder, its own log keeps names and files in step.
    const Handle handle(CreateFileW(folder.c_str(), GENERIC_WRITE, kShareAll, nullptr, OPEN_EXISTING, FILE_FLAG_BACKUP_SEMANTICS, nullptr));
    if (handle.IsOpen()) FlushFileBuffers(handle.Get());
  }
};

}  // namespace

FileSystem& FileSystem::Real() {
  static Win32FileSystem real;
  return real;
}

}  // namespace jet
