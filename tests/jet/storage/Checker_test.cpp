#include <gtest/gtest.h>

#include <random>

#include "jet/value/ByteOrder.h"
#include "jet/page/DataPage.h"
#include "jet/schema/Engine.h"
#include "jet/table/TableCore.h"
#include "jet/page/UsageMap.h"
#include "tests/jet/storage/JetTestSupport.h"

namespace jet::tests {
namespace {

/// Each test spoils one thing in a sound database and expects the checker to name it.
class CheckerTest : public testing::Test {
 protected:
  CheckerTest() : database_(world_.Create()), pager_(*database_->Internals().pager) {
    Table& table = database_->CreateTable(PeopleTable());
    database_->Begin();
    for (int i = 0; i < 800; ++i)
      rows_.push_back(table.Insert(Person("n" + std::to_string(i), std::string(static_cast<std::size_t>(i % 300 + 1), 'x'))));
    EXPECT_EQ(Findings(*database_), "");
  }
  ~CheckerTest() override { database_->Rollback(); }
  const TableDefinition& Definition() { return database_->OpenTable("People").Core().Definition(); }
  void ExpectFinding(const std::string& part) {
    const std::string found = Findings(*database_);
    EXPECT_NE(found.find(part), std::string::npos) << found;
  }

  World world_;
  std::unique_ptr<Database> database_;
  Pager& pager_;
  std::vector<RowId> rows_;
};

TEST_F(CheckerTest, SeesAWrongRowCount) {
  Store32(pager_.Edit(Definition().pages[0]).Writable().data() + 16, 801);
  ExpectFinding("counts 801 rows and there are 800");
}

TEST_F(CheckerTest, SeesWrongFreeBytes) {
  const PageRef page = pager_.Edit(rows_[0].page);
  Store16(page.Writable().data() + 2, static_cast<std::uint16_t>(Load16(page.Bytes().data() + 2) + 1));
  ExpectFinding("The free bytes of the page are");
}

TEST_F(CheckerTest, SeesAMissingAndAForeignIndexEntry) {
  auto& trees = database_->OpenTable("People").Core().Trees();
  Bytes key;
  AppendLongKey(5, false, key);
  const auto row = trees[0].tree->Find(key);
  ASSERT_TRUE(row && trees[0].tree->Erase(key, *row));
  ExpectFinding("The entries of the index \"PrimaryKey\"");
  (void)trees[0].tree->Insert(key, {row->page, static_cast<std::uint8_t>(row->slot + 1)}, false);
  ExpectFinding("The entries of the index \"PrimaryKey\"");
}

TEST_F(CheckerTest, SeesAPageWithTwoOwnersOrNone) {
  UsageMap owned(pager_, Definition().ownedMap);
  owned.Add(7);
  ExpectFinding("The page belongs to");
  owned.Remove(7);
  owned.Remove(rows_[0].page);
  ExpectFinding("counts 800 rows and there are");
}

TEST_F(CheckerTest, SeesUsedPagesListedAsFreeAndLostOnes) {
  UsageMap freePages(pager_, pager_.FreePageMap(), UsageMap::Kind::kFreePages);
  freePages.Add(rows_[0].page);
  ExpectFinding("The page is listed as free and belongs to");
  freePages.Remove(rows_[0].page);
  const PageRef page = pager_.Allocate();
  page.Writable()[0] = std::byte{1};
  ExpectFinding("The page is in use and belongs to nobody");
}

TEST_F(CheckerTest, SeesAMapOfRoomThatIsNoPartOfTheOwnedPages) {
  UsageMap(pager_, Definition().freeMap).Add(7);
  ExpectFinding("The map of pages with room of the table \"People\" has page 7, which it does not own");
}

TEST_F(CheckerTest, SeesALongValuePageWithoutItsMark) {
  const auto pages = UsageMap(pager_, Definition().longMaps[0].ownedMap).Pages(pager_.PageCount());
  ASSERT_FALSE(pages.empty());
  Store32(pager_.Edit(pages[0]).Writable().data() + 4, 1);
  ExpectFinding("is not marked as one of long values");
}

TEST_F(CheckerTest, SeesALongValueThatNoRowNames) {
  const auto pages = UsageMap(pager_, Definition().longMaps[0].ownedMap).Pages(pager_.PageCount());
  const PageRef page = pager_.Edit(pages.back());
  DataPageEditor editor(page);
  if (!editor.Fits(10)) GTEST_SKIP() << "no room on the last page";
  editor.AddZeros(10);
  ExpectFinding("belongs to no row");
}

TEST_F(CheckerTest, SeesALostMovedRow) {
  const PageRef page = pager_.Edit(rows_[3].page);
  DataPageEditor(page).SetFlags(rows_[3].slot, DataPage::kMovedFlag);
  ExpectFinding("The moved rows of the table \"People\" and the pointers to them do not agree");
}

TEST_F(CheckerTest, NeverThrowsWhateverBytesChange) {
  std::mt19937 random(4711);
  for (int round = 0; round < 150; ++round) {
    database_->Begin();
    for (int i = 0; i < 3; ++i) {
      const PageRef page = pager_.Edit(1 + static_cast<PageNumber>(random() % (pager_.PageCount() - 1)));
      page.Writable()[random() % 4096] = static_cast<std::byte>(random());
    }
    EXPECT_NO_THROW((void)database_->Check()) << round;
    database_->Rollback();
  }
  EXPECT_EQ(Findings(*database_), "");
}

}  // namespace
}  // namespace jet::tests
