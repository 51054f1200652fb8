#include "tests/ddl/BaseEnregistree.h"

namespace tamlo::tests {
namespace {

using runtime::Variant;

/// The properties of the one table that was appended to the provider's catalog.
std::map<std::string, Variant> Lien(const RecordingProvider& provider, std::string* nom = nullptr) {
  std::map<std::string, Variant> proprietes;
  int combien = 0;
  for (const auto& appel : provider.Calls()) {
    if (appel.kind != RecordedCall::Kind::kAppendTable) continue;
    ++combien;
    proprietes = appel.table->properties.All();
    if (nom != nullptr) *nom = appel.table->name;
  }
  EXPECT_EQ(combien, 1);
  return proprietes;
}

class TableAttachee : public testing::Test {
 protected:
  BaseEnregistree access_{db::TypJet, "C:\\ICI.MDB"};
};

TEST_F(TableAttachee, OfAnAccessFileNamesTheFileAndTheTable) {
  BaseEnregistree source(db::TypJet, "C:\\LA.MDB");
  auto& utl = source.AjouteTable("UTL", {"A"});
  access_.Base().AddTblAttachee(utl, "UTL2");
  std::string nom;
  const auto lien = Lien(access_.Provider(), &nom);
  EXPECT_EQ(nom, "UTL2");
  EXPECT_TRUE(lien.at("JET OLEDB:CREATE LINK") == Variant(true));
  EXPECT_TRUE(lien.at("JET OLEDB:LINK DATASOURCE") == Variant("C:\\LA.MDB"));
  EXPECT_TRUE(lien.at("JET OLEDB:REMOTE TABLE NAME") == Variant("UTL"));
  EXPECT_EQ(lien.size(), 3U);
  EXPECT_EQ(access_.Base().ListeTbl("UTL2").Nom(), "UTL2");
}

TEST_F(TableAttachee, OfAnOdbcSourceNamesDataSourceUserAndOwner) {
  BaseEnregistree source(db::TypOracle, "DSN=VOLUMES;UID=ADM;PWD=secret");
  auto& utl = source.AjouteTable("UTL", {"A"});
  utl.Owner("ADM");
  access_.Base().AddTblAttachee(utl, "  ");
  std::string nom;
  const auto lien = Lien(access_.Provider(), &nom);
  EXPECT_EQ(nom, "UTL");
  EXPECT_EQ(lien.at("JET OLEDB:LINK PROVIDER STRING"), Variant("DSN=VOLUMES;UID=ADM"));
  EXPECT_TRUE(lien.at("JET OLEDB:CACHE LINK NAME/PASSWORD") == Variant(false));
  EXPECT_TRUE(lien.at("JET OLEDB:REMOTE TABLE NAME") == Variant("ADM.UTL"));
  EXPECT_EQ(lien.count("JET OLEDB:LINK DATASOURCE"), 0U);
}

TEST_F(TableAttachee, APasswordThatLooksLikeKeysNamesNoOtherUser) {
  BaseEnregistree source(db::TypOracle, "DSN={V;1};PWD={a;UID=root};UID=ADM");
  access_.Base().AddTblAttachee(source.AjouteTable("UTL", {"A"}), "");
  EXPECT_EQ(Lien(access_.Provider()).at("JET OLEDB:LINK PROVIDER STRING"), Variant("DSN={V;1};UID=ADM"));
}

TEST_F(TableAttachee, ANameWithoutKeysIsTheDataSourceAndTheLoginIsTheUser) {
  db::EnvironnementCourant().nomLogin = "lecteur";
  BaseEnregistree source(db::TypMySql, "volumes");
  access_.Base().AddTblAttachee(source.AjouteTable("UTL", {"A"}), "");
  EXPECT_EQ(Lien(access_.Provider()).at("JET OLEDB:LINK PROVIDER STRING"), Variant("DSN=volumes;UID=lecteur"));
}

TEST_F(TableAttachee, TheCatalogTablesAreNeverAttached) {
  BaseEnregistree source(db::TypJet, "C:\\LA.MDB");
  auto& utl = source.AjouteTable("UTL", {"A"});
  // A database that has none of them: that such a name is taken must not be what keeps them out.
  BaseEnregistree virtuelle(db::TypJet, "C:\\BVIRTUEL.MDB");
  virtuelle.Base().SupTbl("$RLTKORV$");
  for (const char* nom : {"$IDXKORV$", "$FLDKORV$", "$TBLKORV$", "$RLTKORV$"}) {
    ASSERT_FALSE(virtuelle.Base().ExisteTbl(nom)) << nom;
    virtuelle.Base().AddTblAttachee(utl, nom);
    access_.Base().AddTblAttachee(utl, nom);
  }
  EXPECT_EQ(virtuelle.Provider().Count(RecordedCall::Kind::kAppendTable), 0U);
  EXPECT_EQ(access_.Provider().Count(RecordedCall::Kind::kAppendTable), 0U);
}

TEST_F(TableAttachee, ANameThatIsTakenStaysAsItIs) {
  BaseEnregistree source(db::TypJet, "C:\\LA.MDB");
  auto& utl = source.AjouteTable("UTL", {"A"});
  access_.AjouteTable("UTL", {"B"});
  access_.Base().AddTblAttachee(utl, "");
  EXPECT_EQ(access_.Provider().Count(RecordedCall::Kind::kAppendTable), 0U);
  EXPECT_TRUE(access_.Base().ListeTbl("UTL").ExisteFld("B"));
}

TEST_F(TableAttachee, IsAttachedAnewAfterItsRemoval) {
  BaseEnregistree source(db::TypJet, "C:\\LA.MDB");
  auto& utl = source.AjouteTable("UTL", {"A"});
  access_.Base().AddTblAttachee(utl, "UTL2");
  access_.Provider().ClearCalls();
  access_.Base().ModTblAttachee(utl, "UTL2");
  EXPECT_EQ(access_.Provider().Statements()[0], "DROP TABLE [UTL2]");
  EXPECT_TRUE(Lien(access_.Provider()).at("JET OLEDB:REMOTE TABLE NAME") == Variant("UTL"));
}

class OtherKinds : public testing::TestWithParam<std::int16_t> {};
INSTANTIATE_TEST_SUITE_P(TableAttachee, OtherKinds, testing::Values(db::TypSqlServer, db::TypOracle, db::TypMySql, db::TypOdbc));

TEST_P(OtherKinds, AttachNothing) {
  BaseEnregistree base(GetParam());
  BaseEnregistree source(db::TypJet, "C:\\LA.MDB");
  auto& utl = source.AjouteTable("UTL", {"A"});
  base.Base().AddTblAttachee(utl, "UTL2");
  base.Base().ModTblAttachee(utl, "UTL2");
  EXPECT_THAT(base.Provider().Log(), testing::IsEmpty());
}

}  // namespace
}  // namespace tamlo::tests
