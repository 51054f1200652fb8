// The catalog loses nothing in silence: a row that is refused leaves those before it, an opening tells what it has not raised, and what
// backend, memory and catalog say differently can be asked for.
#include <gmock/gmock.h>

#include "jet/Database.h"
#include "jet/table/Table.h"
#include "runtime/Conversions.h"
#include "runtime/Text.h"
#include "tests/backends/Backend.h"

namespace tamlo::tests {
namespace {

using testing::Contains;
using testing::ElementsAre;
using testing::IsEmpty;

using Lignes = std::vector<std::string>;

/// The rows of a catalog table, columns joined by "|", but for those of the probe table.
Lignes Catalogue(db::DataBase& base, const std::string& table, const std::vector<std::string>& colonnes, const std::string& ordre) {
  Lignes lignes;
  auto rs = base.OpenRecordSet("SELECT * FROM [" + table + "] ORDER BY " + ordre, 3);
  for (; !rs.Eof(); rs.MoveNext()) {
    std::string ligne;
    for (const auto& colonne : colonnes) {
      if (!ligne.empty()) ligne += '|';
      ligne += runtime::Trim(runtime::ToText(rs.Fields(colonne).Value()));
    }
    if (ligne.rfind("TEST_DT", 0) != 0) lignes.push_back(ligne);
  }
  rs.Close();
  return lignes;
}
Lignes Tables(db::DataBase& base) { return Catalogue(base, "$TBLKORV$", {"NOM"}, "[NOM]"); }
Lignes Champs(db::DataBase& base) { return Catalogue(base, "$FLDKORV$", {"TABLE", "NO", "NOM"}, "[TABLE],[NO]"); }
Lignes Index(db::DataBase& base) { return Catalogue(base, "$IDXKORV$", {"TABLE", "NOM", "CHAMPS"}, "[TABLE],[NOM]"); }

Lignes Textes(const std::vector<db::EcartCatalogue>& ecarts) {
  Lignes textes;
  for (const auto& ecart : ecarts) textes.push_back(ecart.table + ": " + ecart.texte);
  return textes;
}
Lignes Erreurs(db::DataBase& base) {
  Lignes erreurs;
  for (std::int16_t i = 0; i < base.NbErr(); ++i) {
    const auto& erreur = base.ListeErr(i);
    erreurs.push_back(erreur.etape + "|" + erreur.table + "|" + std::to_string(erreur.numero) + "|" + erreur.description);
  }
  return erreurs;
}

std::unique_ptr<db::DbTbl> Indexee(const std::string& nom, const std::vector<Champ>& champs, const std::string& liste) {
  auto tbl = Table(nom, champs);
  tbl->AddIdx("I" + nom, liste, false, true);
  return tbl;
}

constexpr const char* kLong1 = "champ_au_nom_bien_long_un";
constexpr const char* kLong2 = "champ_au_nom_bien_long_deux";

class CatalogueEntier : public testing::TestWithParam<std::string> {
 protected:
  [[nodiscard]] Backend& Sur() const { return BackendNomme(GetParam()); }
  void SetUp() override {
    if (!Sur().Capacite().creeTables) GTEST_SKIP() << "the layer builds no catalog on this kind";
  }
  /// Three tables, the second with an index whose field list does not fit into the catalog; it is closed then and has no catalog.
  void SansCatalogue(BaseOuverte& base) {
    base->SupTbl("$TBLKORV$");  // where there is a catalog the second table would be refused
    base.Cree(Indexee("ART", {{"CODE", ado::adInteger, 4}, {"QTE", ado::adInteger, 4}}, "CODE"));
    base.Cree(Indexee("LONGUE", {{kLong1, ado::adInteger, 4}, {kLong2, ado::adInteger, 4}}, std::string(kLong1) + ";" + kLong2));
    base.Cree(Indexee("ZED", {{"Z", ado::adInteger, 4}}, "Z"));
  }
};
INSTANTIATE_TEST_SUITE_P(Kinds, CatalogueEntier, testing::Values("Jet", "MariaDb", "Sqlite", "SqlServer", "Oracle"),
                         [](const auto& nom) { return nom.param; });

TEST_P(CatalogueEntier, WhatStandsBeforeARefusedRowStays) {
  BaseOuverte base(Sur());
  SansCatalogue(base);
  base.Rouvre();
  EXPECT_THAT(Tables(*base), ElementsAre("ART", "LONGUE"));
  EXPECT_THAT(Champs(*base), ElementsAre("ART|0|code", "ART|1|qte", std::string("LONGUE|0|") + kLong1, std::string("LONGUE|1|") + kLong2));
  const std::string prefixe = Sur().Capacite().indexPrefixes ? "ART_" : "";
  EXPECT_THAT(Index(*base), ElementsAre("ART|" + prefixe + "IART|code"));
  EXPECT_EQ(base->Connexion().TransactionLevel(), 0);
  ASSERT_THAT(Erreurs(*base), testing::SizeIs(1));
  EXPECT_EQ(base->ListeErr(0).etape, "liste des tables");
  EXPECT_EQ(base->ListeErr(0).table, "LONGUE");
  EXPECT_NE(base->ListeErr(0).numero, 0);
  EXPECT_EQ(base->ListeErr(0).description.rfind("catalogue de la table LONGUE : ligne 2", 0), 0U) << base->ListeErr(0).description;
  EXPECT_EQ(runtime::IgnoringErrors([&] { (void)base->ListeErr(1); }).number, 9);

  // The tables before it are whole at the next opening, and what is lost is told.
  base.Rouvre();
  EXPECT_THAT(Erreurs(*base), IsEmpty());
  EXPECT_EQ(base->ListeTbl("ART").NbFld(), 2);
  EXPECT_EQ(base->ListeTbl("ART").NbIdx(), 1);
  EXPECT_EQ(base->ListeTbl("LONGUE").NbFld(), 2);
  EXPECT_THAT(Textes(base->VerifieCatalogue("ART")), IsEmpty());
  EXPECT_THAT(Textes(base->VerifieCatalogue("zed ")), Contains("ZED: champ z dans la base et non en mémoire"));
}

TEST_P(CatalogueEntier, RecreeCatalogueIsARepairThatTellsWhatItChanged) {
  BaseOuverte base(Sur());
  SansCatalogue(base);
  base.Rouvre();
  base.Rouvre();
  base->SupTbl("LONGUE");
  std::vector<db::EcartCatalogue> changements;
  base->RecreeCatalogue(changements);
  const std::string zed = Sur().Capacite().indexPrefixes ? "ZED_IZED" : "IZED";
  EXPECT_THAT(Textes(changements), ElementsAre("ZED: ajoutée au catalogue", "ZED: champ z ajouté", "ZED: index " + zed + " ajouté (z)"));
  EXPECT_THAT(Tables(*base), ElementsAre("ART", "ZED"));
  EXPECT_THAT(Textes(base->VerifieCatalogue()), IsEmpty());
  base->RecreeCatalogue(changements);
  EXPECT_THAT(Textes(changements), IsEmpty()) << "there was nothing to repair";
  base.Rouvre();
  EXPECT_EQ(base->ListeTbl("ZED").NbFld(), 1);
}

TEST_P(CatalogueEntier, ACatalogWithoutItsTablesRowsIsBuiltAnew) {
  BaseOuverte base(Sur());
  base.Cree(Indexee("ART", {{"CODE", ado::adInteger, 4}}, "CODE"));
  base->ExecuteSQL("DELETE * FROM [$TBLKORV$]");
  base->ExecuteSQL("DELETE * FROM [$IDXKORV$]");
  base.Rouvre();
  EXPECT_THAT(Erreurs(*base), IsEmpty());
  EXPECT_THAT(Tables(*base), ElementsAre("ART"));
  EXPECT_THAT(Champs(*base), ElementsAre("ART|0|code"));
  EXPECT_THAT(Index(*base), testing::SizeIs(1));
  EXPECT_EQ(base->ListeTbl("ART").NbIdx(), 1);
}

TEST_P(CatalogueEntier, ACatalogThatLostItsIndexRowsIsToldAndRepaired) {
  BaseOuverte base(Sur());
  base.Cree(Indexee("ART", {{"CODE", ado::adInteger, 4}, {"QTE", ado::adInteger, 4}}, "CODE"));
  base.Cree(Table("SANS", {{"NO", ado::adInteger, 4}}));
  base->ExecuteSQL("DELETE * FROM [$IDXKORV$]");
  EXPECT_THAT(Textes(base->VerifieCatalogue("ART")), ElementsAre("ART: index IART (code) en mémoire et non au catalogue"));
  EXPECT_THAT(Textes(base->VerifieCatalogue("SANS")), IsEmpty());
  // Tables and fields are there: the next opening takes the catalog as it is, and knows no index.
  base.Rouvre();
  EXPECT_EQ(base->ListeTbl("ART").NbIdx(), 0);
  const std::string index = Sur().Capacite().indexPrefixes ? "ART_IART" : "IART";
  EXPECT_THAT(Textes(base->VerifieCatalogue("ART")), ElementsAre("ART: index " + index + " (code) dans la base et non en mémoire"));
  EXPECT_THAT(Textes(base->VerifieCatalogue("SANS")), IsEmpty());
  std::vector<db::EcartCatalogue> changements;
  base->RecreeCatalogue(changements);
  EXPECT_THAT(Textes(changements), Contains("ART: index " + index + " ajouté (code)"));
  base.Rouvre();
  EXPECT_EQ(base->ListeTbl("ART").NbIdx(), 1);
  EXPECT_THAT(Textes(base->VerifieCatalogue()), IsEmpty());
}

class CatalogueAccorde : public testing::TestWithParam<std::string> {
 protected:
  [[nodiscard]] Backend& Sur() const { return BackendNomme(GetParam()); }
};
INSTANTIATE_TEST_SUITE_P(Kinds, CatalogueAccorde, testing::Values("Jet", "MariaDb", "Sqlite", "SqlServer", "Oracle"),
                         [](const auto& nom) { return nom.param; });

TEST_P(CatalogueAccorde, AnOpeningThatWentWellHasNoErrorsAndNothingDiffers) {
  BaseOuverte base(Sur());
  EXPECT_THAT(Erreurs(*base), IsEmpty());
  EXPECT_THAT(Textes(base->VerifieCatalogue()), IsEmpty());
  auto tbl = Table("UTL", {{"IDUTL", ado::adInteger, 4},
                           {"NOM", ado::adVarWChar, 30},
                           {"ACTIF", ado::adBoolean, 1},
                           {"MEMO", ado::adLongVarWChar},
                           {"D", ado::adDate},
                           {"N", ado::adSmallInt, 2},
                           {"X", ado::adDouble, 8}});
  tbl->AddIdx("PK", "IDUTL", true, true);
  tbl->AddIdx("NOMD", "NOM;-N", false, true);
  base.Cree(std::move(tbl));
  // Where the layer creates no tables the definition is the test's, and the statement's before the next opening.
  if (Sur().Capacite().creeTables) EXPECT_THAT(Textes(base->VerifieCatalogue()), IsEmpty());
  base.Rouvre();
  EXPECT_THAT(Erreurs(*base), IsEmpty());
  EXPECT_THAT(Textes(base->VerifieCatalogue()), IsEmpty());
  if (!Sur().Capacite().ajouteColonnes || !Sur().Capacite().creeTables) return;
  auto& utl = base->ListeTbl("UTL");
  utl.AddFld("AJOUT", ado::adInteger, 4, false);
  utl.AddIdx("IAJOUT", "AJOUT", false, true);
  utl.SupFld("X");
  EXPECT_THAT(Textes(base->VerifieCatalogue()), IsEmpty());
  base.Rouvre();
  EXPECT_THAT(Textes(base->VerifieCatalogue()), IsEmpty());
}

TEST_P(CatalogueAccorde, WhatTheThreeSayDifferentlyIsToldInWords) {
  BaseOuverte base(Sur());
  if (!Sur().Capacite().creeTables) GTEST_SKIP() << "the layer builds no catalog on this kind";
  base.Cree(Indexee("ART", {{"CODE", ado::adInteger, 4}, {"QTE", ado::adInteger, 4}}, "CODE"));
  base.Cree(Indexee("CDE", {{"NO", ado::adInteger, 4}}, "NO"));
  base.Cree(Table("PARTIE", {{"NO", ado::adInteger, 4}}));
  base->ExecuteSQL("DELETE * FROM [$FLDKORV$] WHERE [TABLE]='ART' AND [NOM]='qte'");
  base->ExecuteSQL("UPDATE [$FLDKORV$] SET [NO]=4 WHERE [TABLE]='CDE'");
  base->ExecuteSQL("DELETE * FROM [$IDXKORV$] WHERE [TABLE]='CDE'");
  base->Connexion().Execute(Sur().TexteSupTableBrut("PARTIE"));
  const auto ecarts = Textes(base->VerifieCatalogue());
  EXPECT_THAT(ecarts, testing::UnorderedElementsAre(
                          "ART: champ qte en mémoire et non au catalogue", "CDE: champ no : numéro 4 au catalogue, place 0 en mémoire",
                          "CDE: index ICDE (no) en mémoire et non au catalogue", "PARTIE: en mémoire et non dans la base"));
  EXPECT_THAT(Textes(base->VerifieCatalogue("art")), ElementsAre("ART: champ qte en mémoire et non au catalogue"));
}

/// One table for each kind of difference, changed behind the layer's back in the file or in the rows of the catalog.
TEST(CatalogueDifferent, EachKindOfDifferenceIsToldOnceAndInItsWords) {
  BaseOuverte base(BackendNomme("Jet"));
  const auto brut = [&](const std::string& sql) { base->Connexion().Execute(sql); };
  for (const char* nom : {"B1", "B2", "B3", "B4", "B5", "B6", "B7", "B8", "B9", "C1", "C2", "C3", "C4", "C5", "C6", "C7", "C8", "C9"}) {
    base.Cree(Indexee(nom, {{"A", ado::adInteger, 4}, {"B", ado::adInteger, 4}, {"T", ado::adVarWChar, 10}}, "A"));
  }
  base.Cree(Table("PERDUE", {{"A", ado::adInteger, 4}}));
  ASSERT_THAT(Textes(base->VerifieCatalogue()), IsEmpty());

  brut("ALTER TABLE [B1] ADD COLUMN [NEUF] LONG");
  brut("ALTER TABLE [B2] DROP COLUMN [T]");
  brut("ALTER TABLE [B3] DROP COLUMN [T]");
  brut("ALTER TABLE [B3] ADD COLUMN [T] LONG");
  brut("ALTER TABLE [B4] DROP COLUMN [B]");
  brut("ALTER TABLE [B4] ADD COLUMN [B] COUNTER");
  brut("DROP INDEX [IB5] ON [B5]");
  brut("DROP INDEX [IB6] ON [B6]");
  brut("CREATE UNIQUE INDEX [IB6] ON [B6] ([B])");
  brut("DROP INDEX [IB7] ON [B7]");
  brut("CREATE INDEX [IB7] ON [B7] ([A])");
  brut("DROP INDEX [IB8] ON [B8]");
  brut("CREATE UNIQUE INDEX [IB8] ON [B8] ([A]) WITH PRIMARY");
  brut("CREATE INDEX [NEUF] ON [B9] ([B] DESC)");
  brut("CREATE TABLE [NEUVE] ([A] LONG)");
  brut("DROP TABLE [PERDUE]");
  base->ExecuteSQL("DELETE * FROM [$TBLKORV$] WHERE [NOM]='C1'");
  base->ExecuteSQL("INSERT INTO [$FLDKORV$] ([TABLE],[NO],[NOM],[INI],[FMT]) VALUES ('C2',3,'fantome','','')");
  base->ExecuteSQL("UPDATE [$FLDKORV$] SET [NO]=7 WHERE [TABLE]='C3' AND [NOM]='t'");
  base->ExecuteSQL("DELETE * FROM [$FLDKORV$] WHERE [TABLE]='C4' AND [NOM]='b'");
  base->ExecuteSQL("DELETE * FROM [$IDXKORV$] WHERE [TABLE]='C5'");
  base->ExecuteSQL("UPDATE [$IDXKORV$] SET [CHAMPS]='a;-b' WHERE [TABLE]='C6'");
  base->ExecuteSQL("UPDATE [$IDXKORV$] SET [UNIQUE]=0 WHERE [TABLE]='C7'");
  base->ExecuteSQL("UPDATE [$IDXKORV$] SET [PRIMAIRE]=-1 WHERE [TABLE]='C8'");
  base->ExecuteSQL("INSERT INTO [$IDXKORV$] ([TABLE],[NOM],[CHAMPS]) VALUES ('C9','FANTOME','b')");
  base->ExecuteSQL("INSERT INTO [$TBLKORV$] ([NOM],[MVT]) VALUES ('FANTOME',0)");
  EXPECT_THAT(Textes(base->VerifieCatalogue()),
              testing::UnorderedElementsAre(
                  "B1: champ neuf dans la base et non en mémoire", "B2: champ t en mémoire et non dans la base",
                  "B3: champ t : type 3 dans la base, 202 de longueur 10 en mémoire",
                  "B4: champ b : compteur, oui dans la base, non en mémoire", "B5: index IB5 (a) en mémoire et non dans la base",
                  "B6: index IB6 : champs b dans la base, a en mémoire", "B7: index IB7 : unique, non dans la base, oui en mémoire",
                  "B8: index IB8 : primaire, oui dans la base, non en mémoire", "B9: index NEUF (-b) dans la base et non en mémoire",
                  "NEUVE: dans la base et non en mémoire", "PERDUE: en mémoire et non dans la base", "C1: en mémoire et non dans $TBLKORV$",
                  "C2: champ fantome au catalogue et non en mémoire", "C3: champ t : numéro 7 au catalogue, place 2 en mémoire",
                  "C4: champ b en mémoire et non au catalogue", "C5: index IC5 (a) en mémoire et non au catalogue",
                  "C6: index IC6 : champs a;-b au catalogue, a en mémoire", "C7: index IC7 : unique, non au catalogue, oui en mémoire",
                  "C8: index IC8 : primaire, oui au catalogue, non en mémoire", "C9: index FANTOME (b) au catalogue et non en mémoire",
                  "FANTOME: au catalogue et non dans la base"));
  brut("DROP TABLE [$IDXKORV$]");
  EXPECT_THAT(Textes(base->VerifieCatalogue()), Contains("$IDXKORV$: absente de la base"));
  EXPECT_THAT(Textes(base->VerifieCatalogue("B1")), testing::Not(Contains("$IDXKORV$: absente de la base")));
}

/// A database of Access whose first opening meets a name that the catalog does not hold.
TEST(PremiereOuvertureAccess, WorkThatWasCommittedIsInTheFileWhateverTheCatalogRefused) {
  Backend& backend = BackendNomme("Jet");
  const std::string champLong(40, 'c');
  for (const bool tableLongue : {false, true}) {
    const std::string nom = backend.BaseVide();
    {
      const auto fichier = jet::Database::Open(nom);
      jet::TableSpec table;
      table.columns.resize(1);
      table.columns[0].name = "CODE";
      table.columns[0].type = jet::ColumnType::kLong;
      table.indexes.push_back({"IX", {{"CODE"}}, false, true});
      table.name = "ART";
      (void)fichier->CreateTable(table);
      table.name = tableLongue ? std::string(40, 'T') : "BON";
      table.columns[0].name = tableLongue ? "CODE" : champLong;
      table.indexes.clear();
      (void)fichier->CreateTable(table);
    }
    {
      BaseOuverte base(backend, nom);
      EXPECT_EQ(base->Connexion().TransactionLevel(), 0);
      EXPECT_EQ(base->NbErr(), 1);
      base->ExecuteSQL("INSERT INTO [ART] ([CODE]) VALUES (7)");
      base->BeginTrans();
      base->ExecuteSQL("INSERT INTO [ART] ([CODE]) VALUES (8)");
      base->CommitTrans();
      base->ExecuteSQL("CREATE TABLE [NEUVE] ([A] LONG)");
    }
    const auto fichier = jet::Database::Open(nom);
    EXPECT_EQ(fichier->OpenTable("ART").RowCount(), 2U) << tableLongue;
    EXPECT_NE(fichier->FindObject("NEUVE"), nullptr);
    EXPECT_EQ(fichier->OpenTable("$TBLKORV$").RowCount(), tableLongue ? 1U : 2U);
    EXPECT_EQ(fichier->OpenTable("$FLDKORV$").RowCount(), 1U);
    EXPECT_EQ(fichier->OpenTable("$IDXKORV$").RowCount(), 1U);
  }
}

}  // namespace
}  // namespace tamlo::tests
