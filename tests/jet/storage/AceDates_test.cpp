// Extended dates of .accdb files, which are given as longer texts than are stored, where nothing stands behind them in their row.
#include <gtest/gtest.h>

#include <cstring>

#include "jet/Recoverer.h"
#include "jet/value/ByteOrder.h"
#include "tests/jet/storage/JetTestSupport.h"

namespace jet::tests {
namespace {

constexpr std::size_t kPage = 4096, kColumnBlock = 25;

/// A table of a number and 42 bytes, which become an extended date when the file becomes an .accdb.
void MakeDates(World& world) {
  {
    const auto database = world.Create();
    TableSpec spec;
    spec.name = "T";
    spec.columns = {Column("Id", ColumnType::kInteger), Column("Ext", ColumnType::kBinary, 42)};
    spec.columns.back().fixedLength = true;
    Bytes letters(42);
    std::memcpy(letters.data(), "0000000000000737592:0000000432001234567:7", 41);
    database->CreateTable(spec).Insert(std::vector<Value>{Value(std::int16_t{1}), Value(letters)});
  }
  auto bytes = world.files.Content("test.mdb");
  std::memcpy(bytes.data() + 4, "Standard ACE DB", 16);
  bytes[0x14] = std::byte{6};
  for (std::size_t page = bytes.size() / kPage - 1; page > 0; --page) {
    std::byte* const at = bytes.data() + page * kPage;
    if (Load16(at) != 0x0102 || Load16(at + 45) != 2) continue;
    at[63 + kColumnBlock] = std::byte{20};
    break;
  }
  world.files.SetContent("test.accdb", std::move(bytes));
}

TEST(AceDates, AreReadAtTheEndOfTheirRow) {
  World world;
  MakeDates(world);
  const auto database = world.Open("test.accdb");
  Table& table = database->OpenTable("T");
  auto scan = table.Scan();
  Row row;
  ASSERT_TRUE(scan.Next());
  ASSERT_TRUE(table.Read(scan.Id(), row));
  EXPECT_EQ(row.Get(1).AsText(), "2020-06-17 12:00:00.1234567");
  EXPECT_EQ(Findings(*database), "");
}

TEST(AceDates, AreRecovered) {
  World world;
  MakeDates(world);
  RecoveryOptions options;
  options.fileSystem = &world.files;
  const Recovery recovery = Recover("test.accdb", "new.mdb", options);
  for (const auto& loss : recovery.losses) ADD_FAILURE() << loss.text;
  const auto database = world.Open("new.mdb");
  auto scan = database->OpenTable("T").Scan();
  ASSERT_TRUE(scan.Next());
  EXPECT_EQ(scan.Current().Get(1).AsText(), "2020-06-17 12:00:00.1234567");
}

}  // namespace
}  // namespace jet::tests
