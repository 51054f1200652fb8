#include <gtest/gtest.h>

#include <cstring>

#include "tests/jet/storage/JetTestSupport.h"

namespace jet::tests {
namespace {

class TextSource final : public ChunkSource {
 public:
  TextSource(std::string text, std::size_t step) : text_(std::move(text)), step_(step) {}
  std::size_t Read(std::span<std::byte> buffer) override {
    const std::size_t count = std::min({step_, buffer.size(), text_.size() - at_});
    std::memcpy(buffer.data(), text_.data() + at_, count);
    at_ += count;
    return count;
  }

 private:
  std::string text_;
  std::size_t step_;
  std::size_t at_ = 0;
};

std::string Letters(std::size_t size) {
  std::string text;
  for (std::size_t i = 0; i < size; ++i) text += static_cast<char>('a' + i * 7 % 26);
  return text;
}

std::string ReadInPieces(Table& table, RowId id, std::size_t column, std::size_t step) {
  Row row;
  EXPECT_TRUE(table.Read(id, row));
  const auto reader = row.OpenLong(column);
  std::string text;
  std::vector<std::byte> buffer(step);
  for (std::size_t count = reader->Read(buffer); count > 0; count = reader->Read(buffer))
    text.append(reinterpret_cast<const char*>(buffer.data()), count);
  return text;
}

TEST(LongValue, EveryLengthComesBackWholeAndInPieces) {
  World world;
  const auto database = world.Create();
  Table& table = database->CreateTable(PeopleTable());
  database->Begin();
  for (const std::size_t size : {1u,    2u,    3u,    31u,   32u,   33u,   62u,   63u,   64u,   65u,    1023u,  1024u,   1025u,
                                 2037u, 2038u, 2039u, 4071u, 4072u, 4076u, 4077u, 8144u, 8145u, 16384u, 70000u, 1100000u}) {
    const std::string text = Letters(size);
    const RowId id = table.Insert(Person("x", text));
    EXPECT_EQ(table.Read(id)->at(2).AsText(), text) << size;
    EXPECT_EQ(ReadInPieces(table, id, 2, 1000), text) << size;
    const std::string accents = text + "é€😀";
    const RowId wide = table.Insert(Person("y", accents));
    EXPECT_EQ(table.Read(wide)->at(2).AsText(), accents) << size;
    EXPECT_EQ(ReadInPieces(table, wide, 2, 8), accents) << size;
  }
  database->Commit();
  EXPECT_EQ(Findings(*database), "");
}

TEST(LongValue, SourcesAreCutAnywhereEvenInsideACharacter) {
  World world;
  const auto database = world.Create();
  Table& table = database->CreateTable(PeopleTable());
  std::string text;
  for (int i = 0; i < 3000; ++i) text += "é€😀a";
  for (const std::size_t step : {1u, 2u, 3u, 5u, 8192u}) {
    TextSource source(text, step);
    const Value name("x");
    const Assignment assignments[] = {{1, &name, nullptr}, {2, nullptr, &source}};
    const RowId id = table.Insert(assignments);
    EXPECT_EQ(table.Read(id)->at(2).AsText(), text) << step;
  }
  EXPECT_EQ(Findings(*database), "");
}

TEST(LongValue, ChangingAndDeletingGivesThePagesBack) {
  World world;
  const auto database = world.Create();
  Table& table = database->CreateTable(PeopleTable());
  const RowId id = table.Insert(Person("x", Letters(300000)));
  database->Begin();
  const auto pages = world.files.Content("test.mdb").size();
  for (int i = 0; i < 20; ++i) {
    const Value note(Letters(static_cast<std::size_t>(200000 + i)));
    const Assignment assignment{2, &note, nullptr};
    table.Update(id, std::span(&assignment, 1));
  }
  database->Commit();
  EXPECT_LT(world.files.Content("test.mdb").size(), pages * 2);
  table.Delete(id);
  EXPECT_EQ(Findings(*database), "");
  table.Insert(Person("y", Letters(200000)));
  EXPECT_LT(world.files.Content("test.mdb").size(), pages * 2);
  EXPECT_EQ(Findings(*database), "");
}

TEST(LongValue, ARowWithManyOfThemPutsThemOnPagesWhenItGetsTooLong) {
  World world;
  const auto database = world.Create();
  TableSpec spec;
  spec.name = "Wide";
  for (int i = 0; i < 100; ++i) spec.columns.push_back(Column("M" + std::to_string(i), ColumnType::kMemo));
  Table& table = database->CreateTable(spec);
  std::vector<Value> values;
  for (int i = 0; i < 100; ++i) values.emplace_back(std::string(25, static_cast<char>('a' + i % 26)) + "€");
  const RowId id = table.Insert(values);
  EXPECT_EQ(table.Read(id).value(), values);
  EXPECT_EQ(Findings(*database), "");
}

TEST(LongValue, BinaryComesBackByteByByte) {
  World world;
  const auto database = world.Create();
  TableSpec spec;
  spec.name = "Blobs";
  spec.columns = {Column("B", ColumnType::kOle)};
  Table& table = database->CreateTable(spec);
  Bytes bytes;
  for (int i = 0; i < 100000; ++i) bytes.push_back(static_cast<std::byte>(i * 31 >> 3));
  const Value values[] = {Value(bytes)};
  const RowId id = table.Insert(values);
  EXPECT_EQ(table.Read(id)->at(0).AsBytes(), bytes);
  const Value empty[] = {Value(Bytes{})};
  EXPECT_EQ(table.Read(table.Insert(empty))->at(0), Value(Bytes{}));
  EXPECT_EQ(Findings(*database), "");
}

TEST(LongValue, AStreamedTextMayBeginWithAByteOrderMark) {
  World world;
  const auto database = world.Create();
  Table& table = database->CreateTable(PeopleTable());
  const std::string text = "\uFEFF" + Letters(9000);
  TextSource good(text, 777);
  Assignment assignment{2, nullptr, &good};
  const RowId id = table.Insert(std::span(&assignment, 1));
  EXPECT_EQ(ReadInPieces(table, id, 2, 1000), text);
  TextSource bad(text + "\u4E00", 777);  // refused when pages have been written
  assignment.source = &bad;
  EXPECT_EQ(CodeOf([&] { table.Insert(std::span(&assignment, 1)); }), ErrorCode::kLimit);
  EXPECT_EQ(table.RowCount(), 1u);
  EXPECT_EQ(Findings(*database), "");
}

}  // namespace
}  // namespace jet::tests
