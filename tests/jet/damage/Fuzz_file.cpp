// libFuzzer target: an Access file with changed bytes and cut pages, used from end to end.
//
// The input is a list of changes, not a file, so that the fuzzer does not spend itself on copying: byte 0 picks the file (our own, or one
// of JET_SAMPLES), then records of 6 bytes: u16 page, u16 offset (the top bit: cut the file there), u16 of which the low byte is the new
// value and the high byte says how many bytes after it are changed too.

#include <algorithm>
#include <cstdint>
#include <filesystem>
#include <fstream>
#include <vector>

#include "tests/jet/damage/Exercise.h"
#include "tests/support_lib/SampleFiles.h"

namespace {

using File = std::vector<std::byte>;

std::vector<File> LoadFiles() {
  std::vector<File> files{jet::tests::MakeFile(), jet::tests::MakeFile({}, 3)};
  for (const auto& path : tamlo::tests::SampleFiles()) {
    std::ifstream stream(path, std::ios::binary);
    const std::string bytes((std::istreambuf_iterator<char>(stream)), std::istreambuf_iterator<char>());
    const auto* const data = reinterpret_cast<const std::byte*>(bytes.data());
    files.emplace_back(data, data + bytes.size());
  }
  return files;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  static const std::vector<File> files = LoadFiles();
  if (size == 0) return 0;
  File file = files[data[0] % files.size()];
  for (std::size_t at = 1; at + 6 <= size; at += 6) {
    const std::size_t page = (data[at] | data[at + 1] << 8) % std::max<std::size_t>(1, file.size() / 4096);
    const std::size_t offset = page * 4096 + ((data[at + 2] | data[at + 3] << 8) & 0x0FFF);
    if (offset >= file.size()) continue;
    if ((data[at + 3] & 0x80) != 0) {
      file.resize(offset);
      continue;
    }
    const std::size_t end = std::min<std::size_t>(file.size(), offset + 1 + data[at + 5] % 8);
    std::fill(file.begin() + static_cast<std::ptrdiff_t>(offset), file.begin() + static_cast<std::ptrdiff_t>(end),
              static_cast<std::byte>(data[at + 4]));
  }
  const jet::tests::Outcome outcome = jet::tests::UseEverything(file);
  if (!outcome.unplaced.empty()) std::abort();
  return 0;
}
