#include "ado/Rows.h"

#include "tests/ado/AdoFixture.h"

namespace tamlo::tests {
namespace {

using Rows = AdoFixture;
using ado::ValueAs;
using runtime::Variant;

TEST_F(Rows, AreWalkedThroughFromTheCurrentOneOn) {
  Open();
  ado::Recordset rs;
  rs.Open("SELECT * FROM ART", &connection, ado::adOpenDynamic, ado::adLockOptimistic, -1);
  std::string codes;
  std::int32_t sum = 0;
  for (const ado::Row& row : ado::RowsOf(rs)) {
    codes += row.Get<std::string>("code");
    sum += row.Get<std::int32_t>(1);
    if (!row.Get<std::optional<std::string>>("NOTE")) row.Set("NOTE", "rien");
  }
  EXPECT_EQ(codes, "A1B2C3");
  EXPECT_EQ(sum, 6);
  EXPECT_EQ(backend.FindTable("ART")->rows[0][2], Variant("rien")) << "the step to the next row has saved it";
  for (const ado::Row& row : ado::RowsOf(rs)) ADD_FAILURE() << "a row behind the last one: " << row.Get<std::string>(0);
  rs.MoveFirst();
  const ado::Row row(rs);
  EXPECT_EQ(ErrorOf([&] { (void)row.Get<std::int32_t>("PRIX"); }), 3265);
  EXPECT_EQ(ErrorOf([&] { (void)row.Get<std::int32_t>("CODE"); }), 13);
  EXPECT_EQ(row.Get<std::optional<std::int64_t>>("QTE"), std::optional<std::int64_t>(1));
}

TEST_F(Rows, ValuesByTypeAreExactOrRefused) {
  EXPECT_EQ(ValueAs<std::int64_t>(runtime::Decimal{"9223372036854775807"}), INT64_MAX);
  EXPECT_EQ(ValueAs<std::int64_t>(Variant("-9223372036854775808")), INT64_MIN);
  EXPECT_EQ(ValueAs<std::int64_t>(runtime::Decimal{"-9007199254740992.5"}), -9007199254740992);
  EXPECT_EQ(ValueAs<std::int64_t>(runtime::Decimal{"9007199254740993.5"}), 9007199254740994);
  EXPECT_EQ(ValueAs<std::int64_t>(runtime::Currency{-25000}), -2);
  EXPECT_EQ(ValueAs<std::int64_t>(runtime::Currency{35000}), 4);
  EXPECT_EQ(ErrorOf([] { (void)ValueAs<std::int64_t>(runtime::Decimal{"9223372036854775808"}); }), 6);
  EXPECT_EQ(ErrorOf([] { (void)ValueAs<std::int64_t>(9223372036854775808.0); }), 6);
  EXPECT_EQ(ErrorOf([] { (void)ValueAs<std::int64_t>(Variant("99999999999999999999999")); }), 6);
  EXPECT_EQ(ErrorOf([] { (void)ValueAs<std::int16_t>(std::int32_t{40000}); }), 6);
  EXPECT_EQ(ErrorOf([] { (void)ValueAs<std::int32_t>(Variant("abc")); }), 13);
  EXPECT_EQ(ErrorOf([] { (void)ValueAs<runtime::Bytes>(Variant("abc")); }), 13);
  EXPECT_EQ(ErrorOf([] { (void)ValueAs<std::string>(runtime::Null{}); }), 94);
  EXPECT_EQ(ErrorOf([] { (void)ValueAs<bool>(Variant()); }), 94);
  EXPECT_TRUE(ValueAs<bool>(std::int32_t{2}));
}

}  // namespace
}  // namespace tamlo::tests
