#include <gtest/gtest.h>
#include <sys/resource.h>
#ifdef __GLIBC__
#include <malloc.h>
#endif

#include <csignal>
#include <cstdint>
#include <string>
#include <vector>

#include "ado/RowStore.h"
#include "runtime/Error.h"

// A temporary file that takes no more, or cannot be made.
namespace tamlo::ado {
namespace {

/// A limit of this process as long as the object lives.
class Limit {
 public:
  Limit(decltype(RLIMIT_FSIZE) which, rlim_t value) : which_(which) {
    std::signal(SIGXFSZ, SIG_IGN);
    ::getrlimit(which_, &before_);
    rlimit now = before_;
    now.rlim_cur = value;
    ::setrlimit(which_, &now);
  }
  ~Limit() { ::setrlimit(which_, &before_); }
  Limit(const Limit&) = delete;
  Limit& operator=(const Limit&) = delete;

 private:
  decltype(RLIMIT_FSIZE) which_;
  rlimit before_{};
};

std::vector<Variant> RowOf(std::int32_t i) { return {Variant(i), Variant(std::string(1000, static_cast<char>('a' + i % 26)))}; }

/// Rows up to the first that is refused.
std::int32_t Fill(RowStore& store, runtime::PendingError& refusal) {
  for (std::int32_t i = 0; i < 5000; ++i) {
    refusal = runtime::IgnoringErrors([&] { store.Add(RowOf(i)); });
    if (refusal) return i;
  }
  return 5000;
}

void ExpectRefusal(const runtime::PendingError& refusal) {
  EXPECT_EQ(refusal.number, -2147467259);
  EXPECT_NE(refusal.description.find("ne peuvent pas être gardées dans un fichier temporaire"), std::string::npos) << refusal.description;
}

void ExpectRows(RowStore& store, std::int32_t count) {
  ASSERT_EQ(store.Count(), static_cast<std::size_t>(count));
  for (std::int32_t i = 0; i < count; ++i) ASSERT_EQ(store.At(static_cast<std::size_t>(i)), RowOf(i)) << i;
}

TEST(RowStoreFile, AFullDiskRefusesARowAndKeepsThoseBefore) {
  RowStore store(100000);
  runtime::PendingError refusal;
  std::int32_t kept = 0;
  {
    const Limit full(RLIMIT_FSIZE, 1000000);
    kept = Fill(store, refusal);
    ExpectRefusal(refusal);
    ASSERT_GT(kept, 900);
    ASSERT_LT(kept, 1300);
    ExpectRows(store, kept);
    store.AddInMemory(RowOf(kept));
    ExpectRows(store, ++kept);
  }
  for (; kept < 3000; ++kept) store.Add(RowOf(kept));
  ExpectRows(store, 3000);
}

#ifdef __GLIBC__
TEST(RowStoreFile, RowsInTheFileTakeNoMemory) {
  const auto inUse = [] {
    const auto info = ::mallinfo2();
    return static_cast<std::int64_t>(info.uordblks + info.hblkhd);
  };
  RowStore store(1000000);
  const std::int64_t before = inUse();
  for (std::int32_t i = 0; i < 50000; ++i) store.Add(RowOf(i));
  EXPECT_LT(inUse() - before, 3000000) << "of 50 MB";
}
#endif

TEST(RowStoreFile, AFileThatCannotBeMadeRefusesARowAndKeepsThoseBefore) {
  RowStore store(100000);
  runtime::PendingError refusal;
  std::int32_t kept = 0;
  {
    const Limit none(RLIMIT_NOFILE, 0);
    kept = Fill(store, refusal);
  }
  ExpectRefusal(refusal);
  EXPECT_FALSE(store.IsInFile());
  ASSERT_GT(kept, 50);
  ExpectRows(store, kept);
  for (; kept < 300; ++kept) store.Add(RowOf(kept));
  EXPECT_TRUE(store.IsInFile());
  ExpectRows(store, 300);
}

}  // namespace
}  // namespace tamlo::ado
