// What shows only in the order in which things are asked of the backend, and in how they are asked.
#include <gmock/gmock.h>

#include <algorithm>

#include "tests/db/BaseDeTest.h"

namespace tamlo::tests {
namespace {

using testing::ElementsAre;
using Kind = RecordedCall::Kind;

class DataBaseOrdre : public BaseDeTest {
 protected:
  const RecordedCall& Ouverture(const std::string& debut) {
    for (const RecordedCall& appel : provider.Calls()) {
      if (appel.kind == Kind::kOpenRowset && appel.text.starts_with(debut)) return appel;
    }
    throw std::logic_error("no recordset on " + debut);
  }
};

TEST_F(DataBaseOrdre, OracleSwitchesItsSortOrderBeforeAnythingIsReadOfTheCatalog) {
  AjouteCatalogue();
  ScripteToutesTables({});
  ASSERT_TRUE(db.Ouvre("V", 2, true));
  ASSERT_GE(provider.Calls().size(), 3U);
  EXPECT_EQ(provider.Calls()[0].kind, Kind::kOpen);
  EXPECT_EQ(provider.Calls()[1].kind, Kind::kExecute);
  EXPECT_EQ(provider.Calls()[1].text, "ALTER SESSION SET NLS_SORT=BINARY");
}

TEST_F(DataBaseOrdre, TheCatalogReadsItsTablesAnewOnceTheStatementHasRun) {
  Ouvre(1);
  db.ExecuteSQL("SELECT * INTO [X] FROM [Y]");
  EXPECT_THAT(provider.Log(), ElementsAre("EXECUTE SELECT * INTO [X] FROM [Y]", "REFRESH"));
}

TEST_F(DataBaseOrdre, AStatementThatFailsLetsTheCatalogAlone) {
  Ouvre(1);
  provider.FailPrefix("SELECT * INTO", 208, "table inconnue");
  EXPECT_EQ(Numero([&] { db.ExecuteSQL("SELECT * INTO [X] FROM [Y]"); }), 208);
  EXPECT_EQ(provider.Count(Kind::kForget), 0U);
}

TEST_F(DataBaseOrdre, TheProbeAsksForAStaticRecordset) {
  provider.AnswerPrefix("SELECT * FROM `TEST_DT` WHERE", {{MakeField("DT", ado::adDate)}, {}});
  ASSERT_TRUE(db.Ouvre("V", 3, true));
  const ado::RowsetRequest& demande = Ouverture("SELECT * FROM `TEST_DT` WHERE").request;
  EXPECT_EQ(demande.cursor, ado::adOpenStatic);
  EXPECT_EQ(demande.lock, ado::adLockUnspecified);
  EXPECT_EQ(demande.options, -1);
}

TEST_F(DataBaseOrdre, FieldsAndIndexesAreReadStaticAndRelationsForwardOnly) {
  AjouteCatalogue();
  AjouteTable("UTL");
  LigneFld("UTL", 0, "nom");
  LigneIdx("UTL", "PK", "nom", true, true);
  ASSERT_TRUE(db.Ouvre("V", 1, true));
  EXPECT_EQ(Ouverture("SELECT * FROM [$FLDKORV$] ORDER BY [TABLE],[NO]").request.cursor, ado::adOpenStatic);
  EXPECT_EQ(Ouverture("SELECT * FROM [$IDXKORV$] ORDER BY [TABLE],[NOM]").request.cursor, ado::adOpenStatic);
  EXPECT_EQ(Ouverture("SELECT * FROM [$RLTKORV$]").request.cursor, ado::adOpenForwardOnly);
}

TEST_F(DataBaseOrdre, ACatalogThatMissesAnyOneOfItsThreeTablesIsMadeAnew) {
  for (const char* manque : {"$TBLKORV$", "$FLDKORV$", "$IDXKORV$"}) {
    SCOPED_TRACE(manque);
    RecordingProvider seul;
    AjouteCatalogue();
    for (const char* nom : {"$TBLKORV$", "$FLDKORV$", "$IDXKORV$", "$RLTKORV$"}) {
      if (std::string(nom) != manque) seul.AddTable(*provider.FindTable(nom));
    }
    if (ScriptedTable* champs = seul.FindTable("$FLDKORV$")) {
      champs->rows = {{"PERDUE", std::int16_t{0}, "x", runtime::Null{}, runtime::Null{}, false}};
    }
    ScriptedTable utl;
    utl.name = "UTL";
    utl.columns = {MakeColumn("NOM", ado::adVarWChar, 30)};
    seul.AddTable(utl);
    db::DataBase base;
    ASSERT_TRUE(base.Ouvre("V", 1, true));
    ASSERT_NE(seul.FindTable(manque), nullptr);
    const runtime::Null nul;
    EXPECT_THAT(seul.FindTable("$TBLKORV$")->rows, ElementsAre(Ligne{"UTL", true}));
    EXPECT_THAT(seul.FindTable("$FLDKORV$")->rows, ElementsAre(Ligne{"UTL", std::int16_t{0}, "nom", nul, nul, nul}));
  }
}

TEST_F(DataBaseOrdre, AnAliasAndItsTableAreKeptUntrimmed) {
  db.AddAlias(" utl ", " u ", "Lib", true);
  // Lookups trim what they look for, and so never meet a name with blanks around it, but for its position.
  EXPECT_EQ(db.TblReel("U"), "U");
  EXPECT_EQ(db.TblReel(" u "), " u ");
  EXPECT_FALSE(db.VisAlias(" u "));
  EXPECT_EQ(db.TblReel("0"), " UTL ");
  EXPECT_EQ(db.LibAlias("0"), "Lib");
  // And so a second one of that name is another entry.
  db.AddAlias("art", " u ", "", true);
  EXPECT_EQ(db.TblReel("1"), "ART");
}

TEST_F(DataBaseOrdre, AnAliasMayBeRelatedToItself) {
  EXPECT_TRUE(db.AddRlt("a", "chef", "A", "id", 1, 2, false));
  EXPECT_FALSE(db.AddRlt("A", "autre", "a", "id", 1, 2, false));
  ASSERT_EQ(db.NbRlt(), 1);
  std::vector<db::DbRlt*> chaine;
  std::int16_t longueur = 0;
  db.GetListeRlt("A", "A", chaine, longueur, "");
  ASSERT_EQ(longueur, 1);
  EXPECT_EQ(chaine, std::vector<db::DbRlt*>{&db.ListeRlt(0)});
  // On the way elsewhere it leads nowhere.
  EXPECT_TRUE(db.AddRlt("A", "x", "B", "y", 1, 2, false));
  EXPECT_TRUE(db.AddRlt("B", "x", "C", "y", 1, 2, false));
  db.GetListeRlt("A", "C", chaine, longueur, "");
  EXPECT_EQ(chaine, (std::vector<db::DbRlt*>{&db.ListeRlt(1), &db.ListeRlt(2)}));
}

TEST_F(DataBaseOrdre, ARelationWhoseTypesAreNullHasTypesZero) {
  AjouteCatalogue();
  const runtime::Null nul;
  provider.FindTable("$RLTKORV$")->rows.push_back({"A", "x", "B", "y", nul, nul, nul});
  ASSERT_TRUE(db.Ouvre("V", 1, true));
  ASSERT_EQ(db.NbRlt(), 1);
  EXPECT_EQ(db.ListeRlt(0).Typ(), 0);
  EXPECT_EQ(db.ListeRlt(0).TypInv(), 0);
  EXPECT_FALSE(db.ListeRlt(0).Obg());
}

TEST_F(DataBaseOrdre, AnOracleTableThatIsDroppedIsQualifiedNoMore) {
  AjouteCatalogue();
  AjouteTable("UTL");
  ScripteToutesTables({{"UTL", "SYS"}});
  Ouvre(2);
  const auto traduit = [&](std::string sql) {
    db.FormateSSQL(sql);
    return sql;
  };
  ASSERT_EQ(traduit("select 1 from [utl]"), "SELECT 1 FROM SYS.\"UTL\"");
  db.SupTbl("UTL");
  EXPECT_EQ(traduit("select 1 from [utl]"), "SELECT 1 FROM \"UTL\"");
}

}  // namespace
}  // namespace tamlo::tests
