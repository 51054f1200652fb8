#include "ado/BulkInsert.h"

#include <array>

#include "tests/ado/AdoFixture.h"

namespace tamlo::tests {
namespace {

using Kind = RecordedCall::Kind;
using runtime::Variant;

class BulkInsert : public AdoFixture {
 protected:
  BulkInsert() { Open(); }
};

TEST_F(BulkInsert, WritesRowByRowWhereTheProviderHasNoBatches) {
  ado::BulkInsert bulk(connection, "ART", {"QTE", "CODE"});
  bulk.Add(std::array<Variant, 2>{std::int32_t{4}, "D4"});
  bulk.Add(std::array<Variant, 2>{Variant(), "E5"});
  bulk.Flush();
  EXPECT_EQ(bulk.RowsAdded(), 2);
  const auto& rows = backend.FindTable("ART")->rows;
  ASSERT_EQ(rows.size(), 5U);
  EXPECT_EQ(rows[3][0], Variant("D4"));
  EXPECT_EQ(backend.Calls().back().values.size(), 1U) << "an Empty value is not written";
}

TEST_F(BulkInsert, AnErrorNamesTheRow) {
  backend.FailWrite("ART", 3022, "doublon");
  ado::BulkInsert bulk(connection, "ART", {"CODE"});
  try {
    bulk.Add(std::array<Variant, 1>{"A1"});
    FAIL() << "no error";
  } catch (const runtime::Error& error) {
    EXPECT_EQ(error.Number(), 3022);
    EXPECT_EQ(error.Description(), "ligne 1 : doublon");
  }
  EXPECT_NO_THROW(bulk.Add(std::array<Variant, 1>{"F6"}));
}

TEST_F(BulkInsert, ARowOfAnotherWidthIsError5) {
  ado::BulkInsert bulk(connection, "ART", {"CODE"});
  EXPECT_EQ(ErrorOf([&] { bulk.Add(std::array<Variant, 2>{"A", "B"}); }), 5);
}

}  // namespace
}  // namespace tamlo::tests
