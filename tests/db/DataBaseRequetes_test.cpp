#include <gmock/gmock.h>

#include "tests/db/BaseDeTest.h"

namespace tamlo::tests {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using Kind = RecordedCall::Kind;

class DataBaseRequetes : public BaseDeTest {};

TEST_F(DataBaseRequetes, EachOptionHasItsCursorLockAndOptions) {
  AjouteCatalogue();
  Ouvre(1);
  const auto demande = [&](std::int16_t option, const std::string& source) {
    provider.ClearCalls();
    (void)db.OpenRecordSet(source, option);
    return provider.Calls().front().request;
  };
  const std::string sql = "SELECT * FROM [$TBLKORV$]";
  EXPECT_EQ(demande(0, sql).cursor, ado::adOpenForwardOnly);
  EXPECT_EQ(demande(0, sql).lock, ado::adLockUnspecified);
  EXPECT_EQ(demande(0, sql).options, -1);
  EXPECT_EQ(demande(1, "[$TBLKORV$]").cursor, ado::adOpenKeyset);
  EXPECT_EQ(demande(1, "[$TBLKORV$]").lock, ado::adLockOptimistic);
  EXPECT_EQ(demande(1, "[$TBLKORV$]").options, 512);
  EXPECT_EQ(demande(2, sql).cursor, ado::adOpenDynamic);
  EXPECT_EQ(demande(2, sql).lock, ado::adLockOptimistic);
  EXPECT_EQ(demande(2, sql).options, -1);
  EXPECT_EQ(demande(3, sql).cursor, ado::adOpenStatic);
  EXPECT_EQ(demande(3, sql).lock, ado::adLockUnspecified);
  EXPECT_EQ(demande(3, sql).options, -1);
}

TEST_F(DataBaseRequetes, AnyOtherOptionGivesAClosedRecordsetWithoutACall) {
  Ouvre(1);
  for (const std::int16_t option : std::initializer_list<std::int16_t>{5, 4, -1}) {
    EXPECT_FALSE(db.OpenRecordSet("SELECT * FROM [X]", option).IsOpen());
    EXPECT_THAT(provider.Calls(), IsEmpty());
  }
}

TEST_F(DataBaseRequetes, TextsAreTranslatedOnACopy) {
  AjouteCatalogue();
  AjouteSonde();
  Ouvre(3);
  const std::string sql = "select * from [$tblkorv$]";
  (void)db.OpenRecordSet(sql, 0);
  db.ExecuteSQL("delete * from [$tblkorv$] where [nom]='x'");
  EXPECT_EQ(sql, "select * from [$tblkorv$]");
  EXPECT_THAT(Envoyes(), ElementsAre("SELECT * FROM `$TBLKORV$`", "DELETE  FROM `$TBLKORV$` WHERE `NOM`=\"x\""));
}

TEST_F(DataBaseRequetes, ExecuteSqlHasNoTimeLimitWhateverWasSet) {
  Ouvre(1);
  db.Connexion().CommandTimeout(77);
  db.ExecuteSQL("UPDATE [X] SET [A]=1");
  EXPECT_EQ(db.Connexion().CommandTimeout(), 0);
  EXPECT_EQ(provider.Calls().back().timeoutSeconds, 0);
}

TEST_F(DataBaseRequetes, ASelectIntoLetsTheCatalogReadItsTablesAnew) {
  Ouvre(1);
  const auto rafraichit = [&](const std::string& sql) {
    provider.ClearCalls();
    db.ExecuteSQL(sql);
    return provider.Count(Kind::kForget) == 1;
  };
  EXPECT_TRUE(rafraichit("SELECT * INTO [X] FROM [Y]"));
  EXPECT_TRUE(rafraichit("INSERT INTO [X] SELECT * FROM [Y]"));
  EXPECT_FALSE(rafraichit("UPDATE [X] SET [A]=1"));
  EXPECT_FALSE(rafraichit("INTO SELECT X"));
  EXPECT_FALSE(rafraichit("INSERT INTO [X] SELECT\n* FROM [Y]"));
  EXPECT_FALSE(rafraichit("SELECT *\nINTO [X] FROM [Y]"));
  EXPECT_TRUE(rafraichit("UPDATE [X] SET [A]=' INTO SELECT '"));
  EXPECT_FALSE(rafraichit("select * into [x] from [y] where a='b"));
}

TEST_F(DataBaseRequetes, TransactionsAreTheProvidersButOnSqlServer) {
  for (const std::int16_t kind : std::initializer_list<std::int16_t>{0, 2, 3, 4}) {
    db::DataBase base;
    ASSERT_TRUE(base.Ouvre("V", kind, true));
    provider.ClearCalls();
    base.BeginTrans();
    base.CommitTrans();
    base.BeginTrans();
    base.RollBack();
    EXPECT_EQ(provider.Count(Kind::kBegin), 2U);
    EXPECT_EQ(provider.Count(Kind::kCommit), 1U);
    EXPECT_EQ(provider.Count(Kind::kRollback), 1U);
  }
  Ouvre(1);
  db.BeginTrans();
  db.ExecuteSQL("UPDATE [X] SET [A]=1");
  db.CommitTrans();
  db.RollBack();
  EXPECT_THAT(provider.Log(), ElementsAre("EXECUTE UPDATE [X] SET [A]=1"));
}

TEST_F(DataBaseRequetes, TheNextCounterIsTheLargestPlusOneAndOneForAnEmptyTable) {
  Ouvre(1);
  const auto suivant = [&](const runtime::Variant& plusGrand) {
    provider.Answer("SELECT MAX([IDUTL]) FROM UTL", {{MakeField("x", ado::adDouble)}, {{plusGrand}}});
    return db.GetCptSuiv("Utl", "IdUtl");
  };
  EXPECT_EQ(suivant(runtime::Null{}), 1);
  EXPECT_EQ(suivant(std::int32_t{41}), 42);
  EXPECT_EQ(suivant(41.0), 42);
  EXPECT_EQ(suivant(runtime::Decimal{"41"}), 42);
  EXPECT_EQ(Numero([&] { (void)suivant(2147483647.0); }), runtime::kOverflow);
}

TEST_F(DataBaseRequetes, PrivilegesAreAllHeldWithoutACallButOnOracle) {
  for (const std::int16_t kind : std::initializer_list<std::int16_t>{0, 1, 3, 4}) {
    db::DataBase base;
    ASSERT_TRUE(base.Ouvre("V", kind, true));
    provider.ClearCalls();
    EXPECT_TRUE(base.PrivilegeOK(""));
    EXPECT_TRUE(base.PrivilegeOK("CREATE TABLE"));
    EXPECT_THAT(provider.Calls(), IsEmpty());
  }
  EXPECT_TRUE(db.PrivilegeOK("sans base ouverte"));
}

TEST_F(DataBaseRequetes, AnOraclePrivilegeIsLookedForInRolesThenDirectly) {
  const std::string roles =
      "SELECT * FROM ROLE_SYS_PRIVS,USER_ROLE_PRIVS WHERE ROLE = GRANTED_ROLE AND USERNAME = 'Adm' AND "
      "PRIVILEGE='Create Table'";
  const std::string directs = "SELECT * FROM USER_SYS_PRIVS WHERE USERNAME = 'Adm' AND PRIVILEGE='Create Table'";
  Ouvre(2);
  db::EnvironnementCourant().nomUtlConnecte = [] { return std::string("Adm"); };
  db::EnvironnementCourant().nomLogin = "AUTRE";
  const ScriptedResult aucune{{MakeField("PRIVILEGE", ado::adVarWChar, 40)}, {}};
  const ScriptedResult une{aucune.fields, {{"Create Table"}}};
  const auto essaie = [&](const ScriptedResult& r, const ScriptedResult& d) {
    provider.ClearCalls();
    provider.Answer(roles, r);
    provider.Answer(directs, d);
    return db.PrivilegeOK("Create Table");
  };
  EXPECT_TRUE(essaie(une, aucune));
  EXPECT_THAT(Envoyes(), ElementsAre(roles));
  EXPECT_TRUE(essaie(aucune, une));
  EXPECT_THAT(Envoyes(), ElementsAre(roles, directs));
  EXPECT_FALSE(essaie(aucune, aucune));
  EXPECT_THAT(Envoyes(), ElementsAre(roles, directs));
}

TEST_F(DataBaseRequetes, AnUnreadableDictionaryRaisesItsError) {
  Ouvre(2);
  provider.FailPrefix("SELECT * FROM ROLE_SYS_PRIVS", 942, "ORA-00942");
  EXPECT_EQ(Numero([&] { (void)db.PrivilegeOK("X"); }), 942);
}

TEST_F(DataBaseRequetes, OracleTablesAreQualifiedAsTheListStands) {
  AjouteCatalogue();
  AjouteTable("UTL");
  ScripteToutesTables({{"UTL", "SYS"}});
  Ouvre(2);
  const auto traduit = [&](std::string sql) {
    db.FormateSSQL(sql);
    return sql;
  };
  EXPECT_EQ(traduit("select 1 from [utl]"), "SELECT 1 FROM SYS.\"UTL\"");
  db.ListeTbl("UTL").Owner("DBA");
  EXPECT_EQ(traduit("select 1 from [utl]"), "SELECT 1 FROM DBA.\"UTL\"");
  db.ListeTbl("UTL").Nom("ART");
  EXPECT_EQ(traduit("select 1 from [utl], [art]"), "SELECT 1 FROM \"UTL\", DBA.\"ART\"");
  auto nouvelle = std::make_unique<db::DbTbl>();
  nouvelle->Nom("CDE");
  nouvelle->Owner("X");
  db.AddTbl(std::move(nouvelle));
  EXPECT_EQ(traduit("select 1 from [cde]"), "SELECT 1 FROM X.\"CDE\"");
  db.Ferme();
  EXPECT_EQ(traduit("select 1 from [cde]"), "SELECT 1 FROM \"CDE\"");
}

}  // namespace
}  // namespace tamlo::tests
