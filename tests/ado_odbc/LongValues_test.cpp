#include <algorithm>
#include <array>
#include <atomic>
#include <cstdlib>
#include <new>
#include <vector>

#include "ado/BulkInsert.h"
#include "runtime/Dates.h"
#include "tests/ado_odbc/Engine.h"

namespace {

// What this program's own code allocates; drivers allocate with malloc and do not count.
std::atomic<std::size_t> largestAllocation{0};
std::atomic<std::size_t> allocations{0};

}  // namespace

void* operator new(std::size_t size) {
  allocations.fetch_add(1, std::memory_order_relaxed);
  std::size_t largest = largestAllocation.load();
  while (size > largest && !largestAllocation.compare_exchange_weak(largest, size)) {
  }
  if (void* memory = std::malloc(size)) return memory;
  throw std::bad_alloc();
}
void operator delete(void* memory) noexcept { std::free(memory); }
void operator delete(void* memory, std::size_t /*size*/) noexcept { std::free(memory); }

namespace tamlo::tests {
namespace {

using runtime::Variant;

constexpr std::size_t kLong = 64 * 1024 * 1024;
constexpr std::size_t kBounded = 1024 * 1024;

class LongValues : public OdbcTest {
 protected:
  void MakeTable(const std::string& what) { Execute("CREATE TABLE l (id INTEGER NOT NULL PRIMARY KEY, x " + engine->Type(what) + ")"); }

  /// Gives total bytes, each the low byte of its position times 7.
  static ado::ChunkSource Source(std::size_t total) {
    return [given = std::size_t{0}, total](std::byte* buffer, std::size_t capacity) mutable {
      const std::size_t count = std::min(capacity, total - given);
      for (std::size_t i = 0; i < count; ++i) buffer[i] = static_cast<std::byte>((given + i) * 7);
      given += count;
      return count;
    };
  }
};

TEST_P(LongValues, OfASourceThatGivesNothingAreEmpty) {
  for (const char* what : {"text", "blob"}) {
    MakeTable(what);
    ado::Recordset rs = Open("SELECT * FROM l");
    rs.AddNew();
    rs.Fields("id").Value(std::int32_t{1});
    rs.Fields("x").WriteFrom(Source(0));
    rs.Update();
    const Variant empty = what == std::string("text") ? Variant("") : Variant(runtime::Bytes());
    EXPECT_EQ(Open("SELECT x FROM l").Fields(0).Value(), empty) << what;
    rs.Close();
    Execute("DROP TABLE l");
  }
}

TEST_P(LongValues, BytesGoAndComeInPiecesWithinBoundedMemory) {
  MakeTable("blob");
  const std::size_t size = engine->Can().streams ? kLong : kLong / 16;
  largestAllocation = 0;
  {
    ado::Recordset rs = Open("SELECT * FROM l");
    rs.AddNew();
    rs.Fields("id").Value(std::int32_t{1});
    rs.Fields("x").WriteFrom(Source(size));
    rs.Update();
  }
  ado::Recordset rs = Open("SELECT * FROM l", ado::adOpenForwardOnly, ado::adLockReadOnly);
  std::vector<std::byte> buffer(100000);
  for (int pass = 0; pass < 2; ++pass) {
    std::size_t read = 0;
    bool same = true;
    while (const std::size_t count = rs.Fields("x").ReadChunk(buffer.data(), buffer.size())) {
      for (std::size_t i = 0; i < count; ++i) same = same && buffer[i] == static_cast<std::byte>((read + i) * 7);
      read += count;
    }
    EXPECT_EQ(read, size);
    EXPECT_TRUE(same);
  }
  if (engine->Can().streams) {
    EXPECT_LE(largestAllocation.load(), kBounded);
  }
}

TEST_P(LongValues, TextsGoAndComeInPiecesNeverCutInsideACharacter) {
  MakeTable("text");
  const std::string unit = "aé€\xF0\x9F\x98\x80";
  std::string text;
  while (text.size() < 300000) text += unit;
  {
    ado::Recordset rs = Open("SELECT * FROM l");
    rs.AddNew();
    rs.Fields("id").Value(std::int32_t{1});
    std::size_t given = 0;
    rs.Fields("x").WriteFrom([&](std::byte* buffer, std::size_t capacity) {
      const std::size_t count = std::min({text.size() - given, capacity / unit.size() * unit.size(), unit.size() * 997});
      std::copy_n(reinterpret_cast<const std::byte*>(text.data()) + given, count, buffer);
      given += count;
      return count;
    });
    rs.Update();
    EXPECT_EQ(rs.Fields("x").Value(), Variant(text)) << "what went in pieces is read from the backend";
  }
  ado::Recordset rs = Open("SELECT x, id FROM l", ado::adOpenForwardOnly, ado::adLockReadOnly);
  for (const std::size_t capacity : {std::size_t{5}, std::size_t{1000}, std::size_t{70001}}) {
    std::vector<std::byte> buffer(capacity);
    std::string back;
    while (const std::size_t count = rs.Fields("x").ReadChunk(buffer.data(), capacity)) {
      const std::string piece(reinterpret_cast<const char*>(buffer.data()), count);
      ASSERT_NE(static_cast<unsigned char>(piece.front()) & 0xC0U, 0x80U)
          << "begins inside a character, " << capacity << " " << back.size();
      back += piece;
    }
    EXPECT_EQ(back, text) << capacity;
  }
  EXPECT_EQ(rs.Fields("x").Value(), Variant(text)) << "whole, after pieces";
  EXPECT_EQ(rs.Fields("id").Value(), Variant(std::int32_t{1}));
  EXPECT_EQ(rs.Fields("x").Value(), Variant(text)) << "and again";
}

TEST_P(LongValues, ANullGivesNoPiece) {
  MakeTable("blob");
  Execute("INSERT INTO l VALUES (1, NULL)");
  const ado::Recordset rs = Open("SELECT * FROM l", ado::adOpenForwardOnly, ado::adLockReadOnly);
  std::byte buffer[16];
  EXPECT_EQ(rs.Fields("x").ReadChunk(buffer, sizeof buffer), 0U);
  EXPECT_EQ(rs.Fields("x").Value(), Variant(runtime::Null{}));
}

TEST_P(LongValues, ASourceThatFailsLeavesNothingBehind) {
  MakeTable("blob");
  ado::Recordset rs = Open("SELECT * FROM l");
  rs.AddNew();
  rs.Fields("id").Value(std::int32_t{1});
  rs.Fields("x").WriteFrom([](std::byte*, std::size_t) -> std::size_t { throw runtime::Error(5, "plus rien"); });
  EXPECT_EQ(ErrorOf([&] { rs.Update(); }), 5);
  rs.CancelUpdate();
  EXPECT_EQ(Count("l"), 0);
}

TEST_P(LongValues, SeveralLongColumnsInAnyOrder) {
  Execute("CREATE TABLE l (a " + engine->Type("text") + ", b INTEGER, c " + engine->Type("blob") + ", d VARCHAR(10), e " +
          engine->Type("text") + ")");
  const std::string first(20000, 'a');
  const std::string last(30000, 'e');
  const runtime::Bytes bytes(25000, std::byte{7});
  {
    ado::Recordset rs = Open("SELECT * FROM l");
    for (std::int32_t i = 0; i < 3; ++i) {
      rs.AddNew();
      rs.Fields("a").Value(first);
      rs.Fields("b").Value(i);
      rs.Fields("c").Value(bytes);
      rs.Fields("d").Value("d");
      rs.Fields("e").Value(last);
      rs.Update();
    }
  }
  ado::Recordset rs = Open("SELECT * FROM l ORDER BY b", ado::adOpenForwardOnly, ado::adLockReadOnly);
  for (std::int32_t i = 0; i < 3; ++i, rs.MoveNext()) {
    EXPECT_EQ(rs.Fields("e").Value(), Variant(last));
    EXPECT_EQ(rs.Fields("d").Value(), Variant("d"));
    EXPECT_EQ(rs.Fields("c").Value(), Variant(bytes));
    EXPECT_EQ(rs.Fields("b").Value(), Variant(i));
    EXPECT_EQ(rs.Fields("a").Value(), Variant(first));
  }
  EXPECT_TRUE(rs.Eof());
}

/// Clocks are for the benches; this holds on any machine.
TEST_P(LongValues, ShortOnesAreReadByTheThousandWithoutMemoryForEach) {
  constexpr std::int32_t kRows = 2000;
  Execute("CREATE TABLE many (id INTEGER NOT NULL PRIMARY KEY, n VARCHAR(40), x " + engine->Type("double") + ", d " +
          (GetParam() == "PostgreSQL" ? "TIMESTAMP" : "DATETIME") + ")");
  {
    ado::BulkInsert bulk(connection, "many", {"id", "n", "x", "d"});
    for (std::int32_t i = 0; i < kRows; ++i) {
      bulk.Add(std::array<Variant, 4>{i, "name " + std::to_string(i), 1.0 / (i + 3), runtime::ToSerial({2003, 2, 1, 13, 14, i % 60, 0})});
    }
    bulk.Flush();
  }
  ado::Recordset rs = Open("SELECT id, n, x, d FROM many ORDER BY id", ado::adOpenForwardOnly, ado::adLockReadOnly);
  const ado::Field* fields[] = {&rs.Fields(0), &rs.Fields(1), &rs.Fields(2), &rs.Fields(3)};
  ASSERT_FALSE(rs.Eof());
  const std::size_t before = allocations;
  std::int32_t rows = 0;
  bool right = true;
  for (; !rs.Eof(); rs.MoveNext(), ++rows) {
    right = right && *fields[0]->Value().If<std::int32_t>() == rows && *fields[2]->Value().If<double>() == 1.0 / (rows + 3) &&
            fields[1]->Value().Is<std::string>() && fields[3]->Value().Is<runtime::Date>();
  }
  EXPECT_EQ(rows, kRows);
  EXPECT_TRUE(right);
  EXPECT_LT(allocations - before, kRows / 20U);
}

INSTANTIATE_TEST_SUITE_P(Odbc, LongValues, ::testing::Values("SQLite", "MariaDB", "PostgreSQL"),
                         [](const auto& which) { return which.param; });

}  // namespace
}  // namespace tamlo::tests
