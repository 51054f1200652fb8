#include <gtest/gtest.h>
#include <malloc.h>

#include <algorithm>
#include <atomic>
#include <cstdlib>
#include <ctime>
#include <filesystem>
#include <iostream>
#include <new>
#include <random>

#include "tests/jet/damage/Exercise.h"
#include "tests/support_lib/SampleFiles.h"

namespace {

// Every allocation of the program is counted, so that a number in a damaged file that asks for too much memory is seen.
std::atomic<std::size_t> liveBytes{0};
std::atomic<std::size_t> peakBytes{0};

void Count(std::size_t bytes) {
  const std::size_t live = liveBytes += bytes;
  if (live > peakBytes) peakBytes = live;
}

}  // namespace

#ifdef __SANITIZE_ADDRESS__

// The sanitizer keeps its own operators new and delete, and tells of each allocation. It has no header for this in every compiler.
extern "C" int __sanitizer_install_malloc_and_free_hooks(void (*allocated)(const volatile void*, std::size_t),
                                                         void (*released)(const volatile void*));
extern "C" std::size_t __sanitizer_get_allocated_size(const volatile void* memory);

namespace {

constexpr double kSlowest = 5.0;  // seconds: the sanitizers' checks take their part

[[maybe_unused]] const int hooksInstalled = __sanitizer_install_malloc_and_free_hooks(
    [](const volatile void* memory, std::size_t) { Count(__sanitizer_get_allocated_size(memory)); },
    [](const volatile void* memory) {
      if (memory != nullptr) liveBytes -= __sanitizer_get_allocated_size(memory);
    });

}  // namespace

#else

namespace {

constexpr double kSlowest = 1.0;  // seconds

void* CountedAllocation(std::size_t size) {
  void* const memory = std::malloc(size == 0 ? 1 : size);
  if (memory == nullptr) throw std::bad_alloc();
  Count(malloc_usable_size(memory));
  return memory;
}

void CountedRelease(void* memory) noexcept {
  if (memory == nullptr) return;
  liveBytes -= malloc_usable_size(memory);
  std::free(memory);
}

}  // namespace

void* operator new(std::size_t size) { return CountedAllocation(size); }
void* operator new[](std::size_t size) { return CountedAllocation(size); }
void operator delete(void* memory) noexcept { CountedRelease(memory); }
void operator delete[](void* memory) noexcept { CountedRelease(memory); }
void operator delete(void* memory, std::size_t) noexcept { CountedRelease(memory); }
void operator delete[](void* memory, std::size_t) noexcept { CountedRelease(memory); }

#endif

namespace jet {
namespace {

using tests::Outcome;
using tests::UseEverything;
using File = std::vector<std::byte>;

/// One way to damage a file.
void Mutate(File& file, std::mt19937& random) {
  const auto below = [&](std::size_t limit) { return limit == 0 ? 0 : random() % limit; };
  const auto changeByte = [&](std::size_t offset) {
    switch (below(4)) {
      case 0:
        file[offset] = static_cast<std::byte>(random());
        break;
      case 1:
        file[offset] ^= static_cast<std::byte>(1u << below(8));
        break;
      case 2:
        file[offset] = std::byte{0xFF};
        break;
      default:
        file[offset] = std::byte{0};
        break;
    }
  };
  const std::size_t page = below(file.size() / 4096) * 4096;
  switch (below(10)) {
    case 0:  // cut short, on a page's border or not
      file.resize(below(2) == 0 ? below(file.size()) : page);
      break;
    case 1:  // a page of zeros
      std::fill_n(file.begin() + static_cast<std::ptrdiff_t>(page), 4096, std::byte{0});
      break;
    case 2: {  // one page in place of another
      const std::size_t other = below(file.size() / 4096) * 4096;
      std::copy_n(file.begin() + static_cast<std::ptrdiff_t>(other), 4096, file.begin() + static_cast<std::ptrdiff_t>(page));
      break;
    }
    case 3:
    case 4:
    case 5:  // the heads of pages
      for (auto i = 1 + below(6); i != 0; --i) changeByte(below(file.size() / 4096) * 4096 + below(64));
      break;
    case 6: {  // a run of noise
      for (std::size_t i = page + below(4000); i < page + 4096 && below(40) != 0; ++i) file[i] = static_cast<std::byte>(random());
      break;
    }
    default:
      for (auto i = 1 + below(12); i != 0; --i) changeByte(below(file.size()));
      break;
  }
}

/// How many times as many rounds: what the environment variable TAMLO_TOURS says, as the long run does.
int Times() {
  const char* const given = std::getenv("TAMLO_TOURS");
  return given == nullptr ? 1 : std::max(1, std::atoi(given));
}

/// Damages the file many times and uses it each time: nothing but errors with a place, in bounded time of computing and memory.
void Torture(const File& original, const std::string& name, int rounds, unsigned seed, double longest = kSlowest) {
  std::size_t errors = 0;
  double slowest = 0;
  std::size_t most = 0;
  for (int round = 0; round < rounds; ++round) {
    SCOPED_TRACE(name + ", seed " + std::to_string(seed) + ", round " + std::to_string(round));
    std::mt19937 random(seed * 100003u + static_cast<unsigned>(round));
    File file = original;
    Mutate(file, random);
    const std::size_t before = liveBytes;
    peakBytes = before;
    const std::clock_t start = std::clock();
    const Outcome outcome = UseEverything(file);
    const double seconds = static_cast<double>(std::clock() - start) / CLOCKS_PER_SEC;
    const std::size_t peak = peakBytes - before;
    ASSERT_EQ(outcome.unplaced, "");
    ASSERT_LT(seconds, longest);
    // The file itself lives in memory here, as written and as copied by the compacting; the cache may hold it once more.
    ASSERT_LT(peak, 8 * original.size() + (std::size_t{24} << 20));
    errors += outcome.errors;
    slowest = std::max(slowest, seconds);
    most = std::max(most, peak);
  }
  std::cout << name << ": " << rounds << " rounds, " << errors << " errors, slowest " << slowest << " s, most memory " << most / 1024
            << " KB for a file of " << original.size() / 1024 << " KB\n";
  EXPECT_GT(errors, 0u);
}

TEST(Damage, AllocationsAreCounted) {
  const std::size_t before = liveBytes;
  peakBytes = before;
  { const File file(std::size_t{1} << 20); }
  EXPECT_GE(peakBytes - before, std::size_t{1} << 20);
  EXPECT_LT(liveBytes - before, std::size_t{1} << 20);
}

TEST(Damage, AFileOfOurOwnIsUsedWholeWithoutErrors) {
  const Outcome outcome = UseEverything(tests::MakeFile());
  EXPECT_GE(outcome.rows, 700u);
  EXPECT_EQ(outcome.findings, 0u);
}

TEST(Damage, OfAFileOfOurOwnEndsInErrorsWithAPlace) { Torture(tests::MakeFile(), "our own file", 1000 * Times(), 1); }

TEST(Damage, OfAFileOfAccess97EndsInErrorsWithAPlace) {
  const File file = tests::MakeFile({}, 3);
  const Outcome whole = UseEverything(file);
  EXPECT_GE(whole.rows, 700u);
  EXPECT_EQ(whole.findings, 0u);
  Torture(file, "a file of Access 97", 150 * Times(), 3);
}

/// Here one changed byte is one of a page, and one of the header may make noise of all pages.
TEST(Damage, OfAnEncodedFileEndsInErrorsWithAPlace) {
  const File file = tests::MakeFile({.password = tests::kPassword, .encoded = true});
  const Outcome whole = UseEverything(file);
  EXPECT_GE(whole.rows, 700u);
  EXPECT_EQ(whole.findings, 0u);
  Torture(file, "an encoded file", 40 * Times(), 2);
}

TEST(Damage, OfTheHeadOfAnEncodedFileEndsInErrorsWithAPlace) {
  const File file = tests::MakeFile({.password = tests::kPassword, .encoded = true});
  for (std::size_t at = 0x14; at<0xA0; at += Times()> 1 ? 1 : 3) {
    File damaged = file;
    damaged[at] ^= std::byte{0x10};
    EXPECT_EQ(UseEverything(damaged).unplaced, "") << at;
  }
}

TEST(Damage, OfRealFilesEndsInErrorsWithAPlace) {
  if (std::getenv("JET_SAMPLES") == nullptr) GTEST_SKIP() << "JET_SAMPLES does not name the folder of real files";
  unsigned seed = 1;
  const std::vector<std::filesystem::path> paths = tamlo::tests::AllSampleFiles();
  ASSERT_FALSE(paths.empty());
  for (const auto& path : paths) {
    // Some of those beside the samples are ten times as large: using one of them whole takes most of a second, damaged or not.
    const bool large = path.parent_path().filename() == "samples2";
    Torture(tests::Load(path), path.filename().string(), (large ? 10 : 75) * Times(), ++seed, large ? 3 * kSlowest : kSlowest);
    if (HasFatalFailure()) return;
  }
}

}  // namespace
}  // namespace jet
