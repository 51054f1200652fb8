// Two Access files that differ in one thing: it is found, and named.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cmath>

#include "jet/sql/Session.h"
#include "move/compare/Compare.h"
#include "move/compare/Multiset.h"
#include "schema/ReadAccess.h"
#include "tests/move/compare/Kinds.h"
#include "tests/support_lib/TemporaryFolder.h"

namespace tamlo::tests {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using Rows = std::vector<std::vector<jet::Value>>;

class CompareFiles : public testing::Test {
 protected:
  std::string Made(const std::string& name, const Rows& rows) {
    const std::string path = folder_.File(name);
    std::filesystem::remove(path);
    MakeKinds(path, rows);
    return path;
  }
  static void Change(const std::string& path, const std::string& sql) {
    const auto file = jet::Database::Open(path);
    jet::sql::Session(*file).Execute(sql);
  }
  static move::Comparison Compared(const std::string& pathA, const std::string& pathB, move::CompareOptions options = {}) {
    const auto a = jet::Database::Open(pathA);
    const auto b = jet::Database::Open(pathB);
    return Compare({"A", schema::Engine::kAccess, a.get(), nullptr}, schema::ReadAccess(*a),
                   {"B", schema::Engine::kAccess, b.get(), nullptr}, schema::ReadAccess(*b), options);
  }
  /// Two files whose row 2 differs in one column.
  std::vector<std::string> OneCell(const std::string& column, const jet::Value& inA, const jet::Value& inB) {
    Rows a = {RowOfKinds(1), RowOfKinds(2), RowOfKinds(3)};
    Rows b = a;
    a[1][PlaceOf(column)] = inA;
    b[1][PlaceOf(column)] = inB;
    const auto found = Compared(Made("a.mdb", a), Made("b.mdb", b));
    EXPECT_THAT(found.structure, IsEmpty());
    EXPECT_EQ(found.tables.size(), 1u);
    EXPECT_EQ(found.tables[0].onlyA, 1u) << column;
    EXPECT_EQ(found.tables[0].onlyB, 1u) << column;
    EXPECT_FALSE(found.Equal());
    return found.tables[0].told;
  }
  TemporaryFolder folder_;
};

TEST_F(CompareFiles, EqualOnesAreEqualWhateverTheOrderOfTheirRows) {
  const auto found =
      Compared(Made("a.mdb", {RowOfKinds(1), RowOfKinds(2), RowOfKinds(3)}), Made("b.mdb", {RowOfKinds(3), RowOfKinds(1), RowOfKinds(2)}));
  EXPECT_TRUE(found.Equal());
  ASSERT_EQ(found.tables.size(), 1u);
  EXPECT_EQ(found.tables[0].rowsA, 3u);
  EXPECT_EQ(found.tables[0].rowsB, 3u);
  EXPECT_THAT(found.tables[0].told, IsEmpty());
}

TEST_F(CompareFiles, EveryChangeOfOneCellIsFoundAndNamed) {
  const auto number = [](const char* text) { return jet::Value(*jet::Numeric::Parse(text)); };
  EXPECT_THAT(OneCell("Double", jet::Value(0.1), jet::Value(std::nextafter(0.1, 1))),
              ElementsAre("row Id=2: Double is 0.1 in A, 0.10000000000000002 in B"));
  EXPECT_THAT(OneCell("Single", jet::Value(0.1F), jet::Value(std::nextafterf(0.1F, 1))),
              ElementsAre("row Id=2: Single is 0.1 in A, 0.10000001 in B"));
  EXPECT_THAT(OneCell("Text", jet::Value("abc"), jet::Value("abc ")), ElementsAre("row Id=2: Text is \"abc\" in A, \"abc \" in B"));
  EXPECT_THAT(OneCell("Text", jet::Value("abc"), jet::Value("aBc")), ElementsAre("row Id=2: Text is \"abc\" in A, \"aBc\" in B"));
  EXPECT_THAT(OneCell("Text", jet::Value("a\r\nb"), jet::Value("a\nb\x01")),
              ElementsAre("row Id=2: Text is \"a\\r\\nb\" in A, \"a\\nb\\x01\" in B"));
  EXPECT_THAT(OneCell("Text", jet::Value(), jet::Value("")), ElementsAre("row Id=2: Text is Null in A, \"\" in B"));
  EXPECT_THAT(OneCell("Memo", jet::Value(std::string(9000, 'x') + "1"), jet::Value(std::string(9000, 'x') + "2")),
              ElementsAre("row Id=2: Memo is \"...xxxxxxxxxx1\" in A, \"...xxxxxxxxxx2\" in B"));
  EXPECT_THAT(OneCell("Moment", jet::Value(jet::Date{43831.5}), jet::Value(jet::Date{43831.5 + 0.001 / 86400})),
              ElementsAre(testing::StartsWith("row Id=2: Moment is 2020-01-01 12:00:00 (43831.5) in A, 2020-01-01 12:00:00.001 (")));
  EXPECT_THAT(OneCell("Currency", jet::Value(jet::Currency{9223372036854775807}), jet::Value(jet::Currency{9223372036854775806})),
              ElementsAre("row Id=2: Currency is 922337203685477.5807 in A, 922337203685477.5806 in B"));
  EXPECT_THAT(OneCell("Decimal", number("1234567890123456789012.123456"), number("1234567890123456789012.123457")),
              ElementsAre("row Id=2: Decimal is 1234567890123456789012.123456 in A, 1234567890123456789012.123457 in B"));
  EXPECT_THAT(OneCell("Boolean", jet::Value(true), jet::Value(false)), ElementsAre("row Id=2: Boolean is 1 in A, 0 in B"));
  EXPECT_THAT(OneCell("Byte", jet::Value(std::uint8_t{255}), jet::Value()), ElementsAre("row Id=2: Byte is 255 in A, Null in B"));
  EXPECT_THAT(OneCell("Short", jet::Value(std::int16_t{-1}), jet::Value(std::int16_t{1})),
              ElementsAre("row Id=2: Short is -1 in A, 1 in B"));
  EXPECT_THAT(OneCell("Long", jet::Value(0), jet::Value(1)), ElementsAre("row Id=2: Long is 0 in A, 1 in B"));
  EXPECT_THAT(OneCell("Binary", jet::Value(jet::Bytes{std::byte{1}}), jet::Value(jet::Bytes{std::byte{1}, std::byte{0}})),
              ElementsAre("row Id=2: Binary is 01 in A, 0100 in B"));
  EXPECT_THAT(OneCell("Blob", jet::Value(jet::Bytes{}), jet::Value()), testing::SizeIs(1));
  EXPECT_THAT(OneCell("Guid", jet::Value(*jet::Guid::Parse("00112233-4455-6677-8899-AABBCCDDEEFF")),
                      jet::Value(*jet::Guid::Parse("33221100-4455-6677-8899-AABBCCDDEEFF"))),
              ElementsAre("row Id=2: Guid is 00112233-4455-6677-8899-AABBCCDDEEFF in A, 33221100-4455-6677-8899-AABBCCDDEEFF in B"));
}

TEST_F(CompareFiles, ValuesThatMovedFromOneCellToAnotherAreFound) {
  Rows a = {RowOfKinds(1), RowOfKinds(2)};
  Rows b = a;
  std::swap(b[0][PlaceOf("Long")], b[1][PlaceOf("Id")]);  // what sums of columns would not see
  a[0][PlaceOf("Text")] = jet::Value("ab");
  a[0][PlaceOf("Memo")] = jet::Value("c");
  b[0][PlaceOf("Text")] = jet::Value("a");
  b[0][PlaceOf("Memo")] = jet::Value("bc");
  EXPECT_FALSE(Compared(Made("a.mdb", a), Made("b.mdb", b)).Equal());
}

TEST_F(CompareFiles, ARowThatIsThereTwiceAndAnotherThatIsMissingAreTold) {
  const std::string a = Made("a.mdb", {RowOfKinds(1), RowOfKinds(2), RowOfKinds(3)});
  const std::string b = Made("b.mdb", {RowOfKinds(1), RowOfKinds(2), RowOfKinds(2)});
  const auto found = Compared(a, b);
  EXPECT_THAT(found.tables[0].told, ElementsAre("row Id=2 is more often in B", "row Id=3 is only in A"));
  EXPECT_EQ(found.tables[0].rowsB, 3u);
}

TEST_F(CompareFiles, TheFirstRowsByKeyAreToldAndAllAreCounted) {
  Rows a;
  Rows b;
  for (std::int32_t id = 300; id > 0; --id) {
    a.push_back(RowOfKinds(id));
    b.push_back(RowOfKinds(id));
    if (id % 2 == 0) b.back()[PlaceOf("Long")] = jet::Value(id);
  }
  move::CompareOptions options;
  options.shown = 2;
  const auto found = Compared(Made("a.mdb", a), Made("b.mdb", b), options);
  EXPECT_EQ(found.tables[0].onlyA, 150u);
  EXPECT_EQ(found.tables[0].onlyB, 150u);
  EXPECT_THAT(found.tables[0].told,
              ElementsAre("row Id=2: Long is -2147483647 in A, 2 in B", "row Id=4: Long is -2147483647 in A, 4 in B"));
}

TEST_F(CompareFiles, StructuresAreToldInWords) {
  const std::string a = Made("a.mdb", {});
  const std::string b = Made("b.mdb", {});
  Change(a, "CREATE TABLE Left (A LONG)");
  Change(b, "CREATE TABLE Right (A LONG)");
  for (const auto& [path, extra] : {std::pair(a, std::string()), std::pair(b, std::string(" DESC"))}) {
    Change(path, "CREATE TABLE P (Id COUNTER CONSTRAINT k PRIMARY KEY, N TEXT(20), M LONG)");
    Change(path, "CREATE INDEX byN ON P (N" + extra + ")");
  }
  Change(a, "ALTER TABLE P ADD CONSTRAINT rel FOREIGN KEY (M) REFERENCES P (Id) ON UPDATE CASCADE");
  Change(b, "ALTER TABLE P ADD CONSTRAINT rel FOREIGN KEY (M) REFERENCES P (Id)");
  Change(b, "ALTER TABLE P ALTER COLUMN N MEMO NOT NULL");
  Change(b, "ALTER TABLE P ALTER COLUMN M SET DEFAULT 5");
  Change(b, "ALTER TABLE P ADD COLUMN X LONG");
  jet::Database::Open(b)->SetLastAutoNumber("P", 7);
  const auto found = Compared(a, b);
  EXPECT_THAT(found.structure,
              ElementsAre("table Left is only in A", "P.Id: counter is from 1 in A, from 8 in B", "P.N: type is Text(20) in A, Memo in B",
                          "P.N: required is no in A, yes in B", "P.M: default is none in A, 5 in B", "column P.X is only in B",
                          "P: index on N, called byN is only in A", "P: index on N descending, called byN is only in B",
                          "table Right is only in B", "relation of P to P by M=Id, updates cascade, called rel is only in A",
                          "relation of P to P by M=Id, called rel is only in B"));
  move::CompareOptions some;
  some.wanted = [](const std::string& name) { return name == "T"; };
  EXPECT_TRUE(Compared(a, b, some).Equal());
}

TEST_F(CompareFiles, CanBeCancelled) {
  const std::string a = Made("a.mdb", {RowOfKinds(1)});
  move::CompareOptions options;
  options.cancelled = [] { return true; };
  const auto found = Compared(a, a, options);
  EXPECT_TRUE(found.cancelled);
  EXPECT_FALSE(found.Equal());
}

TEST(OddRows, AreFoundInAsManyStepsAsMemoryWants) {
  constexpr std::uint64_t kRows = 30'000;
  int walks = 0;
  const auto walk = [&walks](std::uint64_t first, bool twice) -> move::Walk {
    return [=, &walks](const std::function<void(const move::Digest&)>& take) {
      ++walks;
      for (std::uint64_t i = first; i < first + kRows; ++i) take(move::DigestOf({reinterpret_cast<const char*>(&i), sizeof i}));
      if (twice) take(move::DigestOf({reinterpret_cast<const char*>(&first), sizeof first}));
    };
  };
  const auto all = move::FindOddRows(walk(0, false), walk(kRows, false), 20'000);
  EXPECT_EQ(all.onlyA, kRows);
  EXPECT_EQ(all.onlyB, kRows);
  EXPECT_EQ(all.a.size(), kRows);
  EXPECT_TRUE(std::is_sorted(all.a.begin(), all.a.end(), [](const auto& x, const auto& y) { return x.digest < y.digest; }));
  EXPECT_EQ(walks, 2 + 2 * 3);
  walks = 0;
  const auto one = move::FindOddRows(walk(0, true), walk(0, false));
  EXPECT_EQ(one.onlyA, 1u);
  EXPECT_EQ(one.onlyB, 0u);
  ASSERT_EQ(one.a.size(), 1u);
  EXPECT_TRUE(one.a[0].alsoThere);
  EXPECT_EQ(walks, 4);
  EXPECT_EQ(move::FindOddRows(walk(5, false), walk(5, false)).rowsB, kRows);
  EXPECT_EQ(walks, 6) << "equal ones are read once";
}

TEST(Digest, IsThatOfTheFunction) {
  const auto digest = move::DigestOf("The quick brown fox jumps over the lazy dog");
  EXPECT_EQ(digest.high, 0xE34BBC7BBC071B6CULL);
  EXPECT_EQ(digest.low, 0x7A433CA9C49A9347ULL);
}

}  // namespace
}  // namespace tamlo::tests
