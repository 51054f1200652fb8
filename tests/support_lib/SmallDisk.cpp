#include "tests/support_lib/SmallDisk.h"

#include <fcntl.h>
#include <sched.h>
#include <sys/mount.h>
#include <sys/statvfs.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <stdexcept>

namespace tamlo::tests {
namespace {

bool WriteWhole(const char* path, const std::string& text) {
  const int descriptor = ::open(path, O_WRONLY | O_CLOEXEC);
  if (descriptor < 0) return false;
  const bool written = ::write(descriptor, text.data(), text.size()) == static_cast<ssize_t>(text.size());
  ::close(descriptor);
  return written;
}

/// A view of the file systems that only this process has, in which it may mount; as an ordinary user inside a user namespace.
/// Empty when it is so.
std::string OwnMounts() {
  static const std::string result = [] {
    const auto user = std::to_string(::geteuid());
    const auto group = std::to_string(::getegid());
    if (::unshare(CLONE_NEWNS) != 0) {
      if (::unshare(CLONE_NEWUSER | CLONE_NEWNS) != 0) return std::string("no mounts of our own: ") + std::strerror(errno);
      (void)WriteWhole("/proc/self/setgroups", "deny");
      if (!WriteWhole("/proc/self/uid_map", user + " " + user + " 1") || !WriteWhole("/proc/self/gid_map", group + " " + group + " 1"))
        return std::string("no user namespace: ") + std::strerror(errno);
    }
    if (::mount("none", "/", nullptr, MS_REC | MS_PRIVATE, nullptr) != 0) return std::string("mounts stay shared: ") + std::strerror(errno);
    return std::string();
  }();
  return result;
}

}  // namespace

SmallDisk::SmallDisk(std::size_t bytes) : refused_(OwnMounts()) {
  if (!refused_.empty()) return;
  const std::string size = "size=" + std::to_string(bytes);
  if (::mount("tmpfs", folder_.Path().c_str(), "tmpfs", MS_NOSUID | MS_NODEV, size.c_str()) != 0)
    refused_ = std::string("a disk in memory cannot be mounted: ") + std::strerror(errno);
}

SmallDisk::~SmallDisk() {
  if (refused_.empty()) ::umount2(folder_.Path().c_str(), MNT_DETACH);
}

void SmallDisk::FillUpTo(std::size_t bytesLeft) {
  MakeRoom();
  const std::size_t left = BytesLeft();
  if (left < bytesLeft) throw std::runtime_error("the disk is fuller than that already");
  std::ofstream filler(File("filler"), std::ios::binary);
  filler << std::string(left - bytesLeft, 'f');
  filler.close();
  if (!filler || BytesLeft() != bytesLeft) throw std::runtime_error("the disk could not be filled");
}

void SmallDisk::MakeRoom() { std::filesystem::remove(File("filler")); }

std::size_t SmallDisk::BytesLeft() const {
  struct statvfs status {};
  if (::statvfs(folder_.Path().c_str(), &status) != 0) throw std::runtime_error("the disk does not tell its room");
  return static_cast<std::size_t>(status.f_bavail) * status.f_bsize;
}

}  // namespace tamlo::tests
