#include "ado/RowStore.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <cstring>
#include <limits>
#include <random>
#include <string>
#include <vector>

#include "runtime/Error.h"
#include "runtime/Variant.h"

namespace tamlo::ado {
namespace {

std::vector<Variant> RowOf(int i) {
  return {Variant(),
          Variant(runtime::Null{}),
          Variant(i % 2 == 0),
          Variant(static_cast<std::uint8_t>(i)),
          Variant(static_cast<std::int16_t>(-i)),
          Variant(static_cast<std::int32_t>(i * 1000)),
          Variant(static_cast<std::int64_t>(i) << 40),
          Variant(static_cast<float>(i) / 3),
          Variant(static_cast<double>(i) / 3),
          Variant(runtime::Currency{i * 12345678901LL}),
          Variant(runtime::Date{i + 0.25}),
          Variant(runtime::Decimal{std::to_string(i) + ".00000000000000000001"}),
          Variant(runtime::Guid{"{00112233-4455-6677-8899-AABBCCDDEEFF}"}),
          Variant("été " + std::string(static_cast<std::size_t>(i % 7) * 50, 'x')),
          Variant(runtime::Bytes(static_cast<std::size_t>(i % 5), std::byte{static_cast<unsigned char>(i)}))};
}

TEST(RowStore, EveryTypeComesBackAsItWasFromMemoryAndFromTheFile) {
  for (const std::size_t limit : {std::size_t{0}, std::size_t{1000}, std::size_t{100000}, kKeptInMemory}) {
    RowStore store(limit);
    const int count = 3000;
    for (int i = 0; i < count; ++i) {
      store.Add(RowOf(i));
      ASSERT_EQ(store.At(static_cast<std::size_t>(i) / 2), RowOf(i / 2)) << "read while it grows";
    }
    EXPECT_EQ(store.IsInFile(), limit < kKeptInMemory);
    ASSERT_EQ(store.Count(), static_cast<std::size_t>(count));
    store.Replace(5, RowOf(1005));
    store.Replace(2999, RowOf(7));
    for (int i = count; i-- > 0;) ASSERT_EQ(store.At(static_cast<std::size_t>(i)), RowOf(i == 5 ? 1005 : i == 2999 ? 7 : i)) << i;
    store.Add(RowOf(1));
    EXPECT_EQ(store.At(3000), RowOf(1));
    EXPECT_EQ(store.At(5), RowOf(1005));
    store.Clear();
    EXPECT_EQ(store.Count(), 0U);
    EXPECT_FALSE(store.IsInFile());
    store.Add(RowOf(9));
    EXPECT_EQ(store.At(0), RowOf(9));
  }
}

/// Every bit, where == would call two values equal or a value unequal to itself.
template <typename T>
std::string BitsOf(T value) {
  std::string bytes(sizeof value, '\0');
  std::memcpy(bytes.data(), &value, sizeof value);
  return bytes;
}

TEST(RowStore, NumbersKeepEveryBit) {
  using Limits = std::numeric_limits<double>;
  const std::vector<double> hard{-0.0, Limits::quiet_NaN(), -Limits::infinity(), Limits::denorm_min(), Limits::max(),
                                 0.1,  9007199254740993.0};
  for (const std::size_t limit : {std::size_t{0}, kKeptInMemory}) {
    RowStore store(limit);
    for (const double one : hard) store.Add({Variant(one), Variant(static_cast<float>(one)), Variant(runtime::Date{one})});
    store.Add({Variant(INT64_MIN), Variant(runtime::Currency{INT64_MAX}), Variant(std::string("\0a\0", 3))});
    for (std::size_t i = 0; i < hard.size(); ++i) {
      const auto& row = store.At(i);
      EXPECT_EQ(BitsOf(*row[0].If<double>()), BitsOf(hard[i]));
      EXPECT_EQ(BitsOf(*row[1].If<float>()), BitsOf(static_cast<float>(hard[i])));
      EXPECT_EQ(BitsOf(row[2].If<runtime::Date>()->serial), BitsOf(hard[i]));
    }
    const std::vector<Variant> last{Variant(INT64_MIN), Variant(runtime::Currency{INT64_MAX}), Variant(std::string("\0a\0", 3))};
    EXPECT_EQ(store.At(hard.size()), last);
  }
}

TEST(RowStore, AWalkAtRandomWithOthersContentsMeetsWhatAVectorHolds) {
  for (const std::size_t limit : {std::size_t{0}, std::size_t{70000}, kKeptInMemory}) {
    std::mt19937 random(4711);
    RowStore store(limit);
    std::vector<std::vector<Variant>> model;
    for (int step = 0; step < 6000; ++step) {
      const int what = static_cast<int>(random() % 8);
      if (model.empty() || what < 3) {
        // Now and then a row that is longer than a block.
        std::vector<Variant> row{Variant(static_cast<std::int32_t>(step)),
                                 Variant(std::string(random() % (step % 500 == 0 ? 90000 : 60), 'y'))};
        what == 0 ? store.AddInMemory(row) : store.Add(row);
        model.push_back(std::move(row));
      } else if (what == 3) {
        const std::size_t at = random() % model.size();
        model[at] = {Variant(static_cast<std::int32_t>(-step)), Variant("other")};
        store.Replace(at, model[at]);
      } else {
        const std::size_t at = random() % model.size();
        ASSERT_EQ(store.At(at), model[at]) << at << ", limit " << limit;
      }
    }
    ASSERT_EQ(store.Count(), model.size());
    for (std::size_t i = 0; i < model.size(); ++i) ASSERT_EQ(store.At(i), model[i]) << i;
  }
}

TEST(RowStore, ARowOfItsOwnIsDecodedWithoutItsNeighbours) {
  // 400,000 rows in a random order: were a whole block made for each, this would take minutes.
  RowStore store;
  for (std::int32_t i = 0; i < 400000; ++i) store.Add({Variant(i)});
  std::uint64_t at = 1;
  for (int i = 0; i < 400000; ++i) {
    at = (at * 2654435761U + 12345) % 400000;
    ASSERT_EQ(*store.At(at)[0].If<std::int32_t>(), static_cast<std::int32_t>(at));
  }
}

}  // namespace
}  // namespace tamlo::ado
