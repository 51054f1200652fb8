#include "jet/file/posix/Window.h"

#include <sys/mman.h>
#include <sys/vfs.h>
#include <unistd.h>

#include <array>
#include <atomic>
#include <csignal>
#include <cstdint>
#include <mutex>

namespace jet {
namespace {

/// Where windows are, for the signal handler: no lock can be taken there.
std::array<std::atomic<std::uintptr_t>, 256> windows;
struct sigaction before {};

std::size_t PageSize() {
  static const std::size_t size = static_cast<std::size_t>(::sysconf(_SC_PAGESIZE));
  return size;
}

/// The file has been cut: zeros take its place.
bool Replace(std::uintptr_t fault) {
  for (const auto& window : windows) {
    const std::uintptr_t begin = window.load();
    if (begin == 0 || fault < begin || fault - begin >= PageSize()) continue;
    void* page = reinterpret_cast<void*>(begin);
    return ::mmap(page, PageSize(), PROT_READ, MAP_PRIVATE | MAP_ANONYMOUS | MAP_FIXED, -1, 0) != MAP_FAILED;
  }
  return false;
}

void OnBusError(int signal, siginfo_t* info, void* context) {
  if (Replace(reinterpret_cast<std::uintptr_t>(info->si_addr))) return;
  if ((before.sa_flags & SA_SIGINFO) != 0) return before.sa_sigaction(signal, info, context);
  if (before.sa_handler != SIG_DFL && before.sa_handler != SIG_IGN) return before.sa_handler(signal);
  ::sigaction(signal, &before, nullptr);
  ::raise(signal);  // comes when this one is over
}

void WatchBusErrors() {
  static std::once_flag once;
  std::call_once(once, [] {
    PageSize();
    struct sigaction action {};
    action.sa_sigaction = OnBusError;
    action.sa_flags = SA_SIGINFO | SA_RESTART;
    ::sigaction(SIGBUS, &action, &before);
  });
}

/// Where one machine alone keeps the file's pages.
bool IsLocal(int descriptor) {
  struct statfs status {};
  if (::fstatfs(descriptor, &status) != 0) return false;
  switch (static_cast<std::uint32_t>(status.f_type)) {
    case 0xEF53:      // ext2, ext3, ext4
    case 0x58465342:  // xfs
    case 0x9123683E:  // btrfs
    case 0xF2F52010:  // f2fs
    case 0x01021994:  // tmpfs
      return true;
    default:
      return false;
  }
}

class PosixWindow final : public FileWindow {
 public:
  PosixWindow(void* begin, std::size_t length, std::atomic<std::uintptr_t>& place)
      : FileWindow({static_cast<const std::byte*>(begin), length}), place_(place) {}
  ~PosixWindow() override {
    place_.store(0);
    ::munmap(const_cast<std::byte*>(Bytes().data()), PageSize());
  }
  PosixWindow(const PosixWindow&) = delete;
  PosixWindow& operator=(const PosixWindow&) = delete;

 private:
  std::atomic<std::uintptr_t>& place_;
};

}  // namespace

std::unique_ptr<FileWindow> OpenPosixWindow(int descriptor, std::size_t length) {
  if (length > PageSize() || !IsLocal(descriptor)) return nullptr;
  WatchBusErrors();
  void* begin = ::mmap(nullptr, PageSize(), PROT_READ, MAP_SHARED, descriptor, 0);
  if (begin == MAP_FAILED) return nullptr;
  for (auto& place : windows) {
    std::uintptr_t free = 0;
    if (place.compare_exchange_strong(free, reinterpret_cast<std::uintptr_t>(begin)))
      return std::make_unique<PosixWindow>(begin, length, place);
  }
  ::munmap(begin, PageSize());
  return nullptr;
}

}  // namespace jet
