#include "ado/Catalog.h"

#include "tests/ado/AdoFixture.h"

namespace tamlo::tests {
namespace {

using Kind = RecordedCall::Kind;
using runtime::Variant;

class Catalog : public AdoFixture {
 protected:
  Catalog() { Open(); }
};

TEST_F(Catalog, NeedsAnOpenConnection) {
  ado::Connection closed;
  EXPECT_EQ(ErrorOf([&] { ado::Catalog catalog(closed); }), 3704);
}

TEST_F(Catalog, ReadsTheListOnceAndOnlyWhenAsked) {
  ado::Catalog catalog(connection);
  EXPECT_EQ(backend.Count(Kind::kListTables), 0U);
  EXPECT_EQ(catalog.TableCount(), 1U);
  EXPECT_EQ(catalog.Tables("art").Name(), "ART");
  EXPECT_EQ(catalog.Tables(0).Type(), "TABLE");
  EXPECT_EQ(catalog.Find("AUTRE"), nullptr);
  EXPECT_EQ(ErrorOf([&] { (void)catalog.Tables("AUTRE"); }), 3265);
  EXPECT_EQ(ErrorOf([&] { (void)catalog.Tables(1); }), 3265);
  EXPECT_EQ(backend.Count(Kind::kListTables), 1U);
  EXPECT_EQ(backend.Count(Kind::kListColumns), 0U);
}

TEST_F(Catalog, RefreshReadsTheListAnew) {
  ado::Catalog catalog(connection);
  ASSERT_EQ(catalog.TableCount(), 1U);
  ScriptedTable cli;
  cli.name = "CLI";
  backend.AddTable(std::move(cli));
  EXPECT_EQ(catalog.Find("CLI"), nullptr);
  catalog.Refresh();
  EXPECT_NE(catalog.Find("CLI"), nullptr);
}

TEST_F(Catalog, ColumnsAndIndexesAreReadAtFirstUse) {
  ado::Catalog catalog(connection);
  ado::Table& art = catalog.Tables("ART");
  EXPECT_EQ(art.Columns().size(), 3U);
  EXPECT_EQ(art.ColumnNamed("qte").type, ado::adInteger);
  EXPECT_EQ(ErrorOf([&] { (void)art.ColumnNamed("PRIX"); }), 3265);
  EXPECT_EQ(backend.Count(Kind::kListColumns), 1U);
  ASSERT_EQ(art.Indexes().size(), 1U);
  EXPECT_TRUE(art.Indexes()[0].primaryKey);
  EXPECT_EQ(ErrorOf([&] { (void)art.Property("Jet OLEDB:Link Datasource"); }), 3265);
}

TEST_F(Catalog, AnAppendedTableShowsAtOnce) {
  ado::Catalog catalog(connection);
  ado::Table cli("CLI");
  cli.AppendColumn(MakeColumn("NOM", ado::adVarWChar, 20));
  cli.AppendIndex(MakeIndex("K", {"NOM"}));
  cli.Property("Jet OLEDB:Create Link", Variant(true));
  EXPECT_EQ(cli.Property("jet oledb:create link"), Variant(true));
  EXPECT_TRUE(backend.Calls().empty()) << "a new table is only a definition";
  catalog.Append(cli);
  ASSERT_NE(catalog.Find("CLI"), nullptr);
  EXPECT_EQ(catalog.Tables("CLI").Columns()[0].definedSize, 20);
  EXPECT_EQ(catalog.Tables("CLI").Property("Jet OLEDB:Create Link"), Variant(true));
}

TEST_F(Catalog, AFailedAppendLeavesTheListAsItWas) {
  ado::Catalog catalog(connection);
  backend.Fail("CLI", -2147467259, "refus");
  EXPECT_EQ(ErrorOf([&] { catalog.Append(ado::Table("CLI")); }), -2147467259);
  EXPECT_EQ(catalog.TableCount(), 1U);
}

TEST_F(Catalog, ColumnsAppendedToATableOfTheBackendGoThereAtOnce) {
  ado::Catalog catalog(connection);
  ado::Table& art = catalog.Tables("ART");
  ASSERT_EQ(art.Columns().size(), 3U);
  art.AppendColumn(MakeColumn("PRIX", ado::adDouble));
  art.AppendIndex(MakeIndex("PRIX", {"-PRIX"}));
  EXPECT_EQ(art.Columns().size(), 4U);
  EXPECT_EQ(art.Indexes()[1].columns[0].sortOrder, ado::adSortDescending);
  EXPECT_EQ(backend.Count(Kind::kAppendColumn), 1U);
  EXPECT_EQ(backend.Count(Kind::kAppendIndex), 1U);
}

}  // namespace
}  // namespace tamlo::tests
