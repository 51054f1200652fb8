#include "jet/page/DataPage.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <random>
#include <string>
#include <vector>

#include "jet/value/ByteOrder.h"
#include "jet/schema/Engine.h"
#include "tests/jet/storage/JetTestSupport.h"

namespace jet::tests {
namespace {

class DataPageTest : public testing::Test {
 protected:
  DataPageTest() : database_(world_.Create()) {
    database_->Begin();
    page_ = database_->Internals().pager->Allocate();
  }
  ~DataPageTest() override {
    page_ = {};
    database_->Rollback();
  }
  static std::span<const std::byte> Of(const std::string& text) { return std::as_bytes(std::span(text)); }
  std::string At(unsigned slot) const {
    const auto bytes = DataPage(page_).RowBytes(slot);
    return {reinterpret_cast<const char*>(bytes.data()), bytes.size()};
  }

  World world_;
  std::unique_ptr<Database> database_;
  PageRef page_;
};

TEST_F(DataPageTest, AnEmptyPageHas4082FreeBytes) {
  auto editor = DataPageEditor::Format(page_, 7);
  EXPECT_EQ(editor.FreeBytes(), 4082u);
  EXPECT_EQ(Load16(page_.Bytes().data() + 2), 4082);
  EXPECT_EQ(editor.Owner(), 7u);
  EXPECT_TRUE(editor.Fits(4080));
  EXPECT_FALSE(editor.Fits(4081));
}

TEST_F(DataPageTest, ARowIsNotResizedWhenOneBehindItClaimsToLieBeforeIt) {
  auto editor = DataPageEditor::Format(page_, 7);
  const std::string row(100, 'a');
  for (int i = 0; i < 3; ++i) editor.Add(Of(row));
  Store16(page_.Writable().data() + 14 + 2 * 1, 4090);
  Store16(page_.Writable().data() + 14 + 2 * 2, 4080);
  const std::vector<std::byte> before(page_.Bytes().begin(), page_.Bytes().end());
  try {
    editor.Delete(0);
    FAIL() << "the page contradicts itself";
  } catch (const Error& error) {
    EXPECT_EQ(error.Code(), ErrorCode::kDamaged);
    EXPECT_EQ(error.Page(), page_.Number());
  }
  EXPECT_TRUE(std::equal(before.begin(), before.end(), page_.Bytes().begin()));
}

TEST_F(DataPageTest, RowsKeepTheirBytesWhenAnotherChangesItsSize) {
  auto editor = DataPageEditor::Format(page_, 7);
  const std::string first(100, 'a'), second(50, 'b'), third(70, 'c');
  editor.Add(Of(first));
  editor.Add(Of(second), DataPage::kMovedFlag);
  editor.Add(Of(third));
  editor.Resize(1, 80);
  EXPECT_EQ(At(0), first);
  EXPECT_EQ(At(1), second + std::string(30, '\0'));
  EXPECT_EQ(At(2), third);
  editor.Resize(0, 10);
  EXPECT_EQ(At(0), std::string(10, 'a'));
  EXPECT_EQ(At(1), second + std::string(30, '\0'));
  EXPECT_EQ(At(2), third);
  EXPECT_EQ(editor.Slot(1) & DataPage::kDeletedFlags, DataPage::kMovedFlag);
  EXPECT_EQ(editor.FreeBytes(), 4082u - 10 - 80 - 70 - 6);
  editor.Delete(1);
  EXPECT_EQ(At(2), third);
  EXPECT_EQ(editor.Row(1).size, 0);
  EXPECT_FALSE(editor.Empty());
  editor.Delete(0);
  editor.Delete(2);
  EXPECT_TRUE(editor.Empty());
}

TEST_F(DataPageTest, FollowsAModelUnderRandomWork) {
  auto editor = DataPageEditor::Format(page_, 7);
  std::vector<std::string> model;
  std::mt19937 random(99);
  for (int i = 0; i < 3000; ++i) {
    const std::string bytes(random() % 90, static_cast<char>('a' + i % 26));
    if (model.empty() || (random() % 4 == 0 && editor.Fits(bytes.size()))) {
      editor.Add(Of(bytes));
      model.push_back(bytes);
    } else {
      const unsigned slot = static_cast<unsigned>(random() % model.size());
      if (!editor.CanResize(slot, bytes.size())) continue;
      editor.Resize(slot, bytes.size());
      std::memcpy(editor.Writable(slot).data(), bytes.data(), bytes.size());
      model[slot] = bytes;
    }
    for (unsigned slot = 0; slot < model.size(); ++slot) ASSERT_EQ(At(slot), model[slot]) << i;
    ASSERT_EQ(Load16(page_.Bytes().data() + 2), DataPage(page_).FreeBytes());
  }
}

TEST_F(DataPageTest, AWrongPageOrSlotIsDamageWithPageAndOffset) {
  DataPageEditor::Format(page_, 7).Add(Of("abc"));
  EXPECT_EQ(CodeOf([&] { (void)DataPage(page_).Row(1); }), ErrorCode::kDamaged);
  Store16(page_.Writable().data() + 14, 0x1FFF);
  try {
    (void)DataPage(page_).Row(0);
    FAIL();
  } catch (const Error& error) {
    EXPECT_EQ(error.Page(), page_.Number());
    EXPECT_EQ(error.Offset(), 14u);
  }
  Store16(page_.Writable().data() + 12, 60000);
  EXPECT_EQ(CodeOf([&] { DataPage data(page_); }), ErrorCode::kDamaged);
}

}  // namespace
}  // namespace jet::tests
