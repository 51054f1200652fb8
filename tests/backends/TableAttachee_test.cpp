#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>

#include "runtime/Conversions.h"
#include "runtime/Error.h"
#include "runtime/Text.h"
#include "tests/backends/Backend.h"
#include "tests/support_lib/TemporaryFolder.h"

namespace tamlo::tests {
namespace {

using testing::ElementsAre;

std::vector<std::string> Noms(db::DataBase& base, const std::string& table) {
  std::vector<std::string> noms;
  auto rs = base.OpenRecordSet("SELECT [NOM] FROM [" + table + "] ORDER BY [ID]", 0);
  for (; !rs.Eof(); rs.MoveNext()) noms.emplace_back(runtime::TrimRight(runtime::ToText(rs.Fields(0).Value())));
  return noms;
}

void AjouteNom(db::DataBase& base, const std::string& table, int id, const std::string& nom) {
  auto rs = base.OpenRecordSet("SELECT * FROM [" + table + "]", 2);
  rs.AddNew();
  rs.Fields("ID").Value(id);
  rs.Fields("NOM").Value(nom);
  rs.Update();
}

/// UTL with one row.
void CreeUtl(BaseOuverte& base) {
  auto definition = Table("UTL", {{"ID", ado::adInteger, 4}, {"NOM", ado::adVarWChar, 30}});
  definition->AddIdx("PK", "ID", true, true);
  base.Cree(std::move(definition));
  AjouteNom(*base, "UTL", 1, "Dupont");
}

TEST(TableAttachee, OfAnotherAccessFileIsReadAndWrittenThroughTheLink) {
  BaseOuverte source(BackendNomme("Jet"));
  CreeUtl(source);
  BaseOuverte base(BackendNomme("Jet"));
  base->AddTblAttachee(source->ListeTbl("UTL"), "LIEN");
  ASSERT_TRUE(base->ExisteTbl("LIEN"));
  EXPECT_EQ(base->ListeTbl("LIEN").NbFld(), 2);
  EXPECT_THAT(Noms(*base, "LIEN"), ElementsAre("Dupont"));
  AjouteNom(*base, "LIEN", 2, "Élise");
  base->ExecuteSQL("UPDATE [LIEN] SET [NOM]='Dupond' WHERE [ID]=1");
  EXPECT_THAT(Noms(*source, "UTL"), ElementsAre("Dupond", "Élise"));
  EXPECT_EQ(runtime::IgnoringErrors([&] { AjouteNom(*base, "LIEN", 2, "encore"); }).number, runtime::kDuplicateKey);

  base.Rouvre();
  EXPECT_THAT(Noms(*base, "LIEN"), ElementsAre("Dupond", "Élise"));
  base->SupTbl("LIEN");
  EXPECT_FALSE(base->ExisteTbl("LIEN"));
  EXPECT_THAT(Noms(*source, "UTL"), ElementsAre("Dupond", "Élise"));
}

TEST(TableAttachee, WhoseFileHasGoneIsListedAndTheRestWorks) {
  BaseOuverte base(BackendNomme("Jet"));
  CreeUtl(base);
  const TemporaryFolder dossier;
  std::string nom;
  {
    BaseOuverte source(BackendNomme("Jet"));
    CreeUtl(source);
    nom = source.Nom();
    base->AddTblAttachee(source->ListeTbl("UTL"), "LIEN");
  }
  base.Rouvre();  // lets go of the linked file
  std::filesystem::rename(nom, dossier.File("ailleurs.mdb"));
  base.Rouvre();
  EXPECT_TRUE(base->ExisteTbl("LIEN"));
  const auto erreur = runtime::IgnoringErrors([&] { (void)Noms(*base, "LIEN"); });
  EXPECT_EQ(erreur.number, runtime::kProviderFailure);
  EXPECT_NE(erreur.description.find(nom), std::string::npos) << erreur.description;
  EXPECT_THAT(Noms(*base, "UTL"), ElementsAre("Dupont"));
}

/// What a definition says of its fields and indexes.
std::vector<std::string> Decrit(db::DbTbl& tbl) {
  std::vector<std::string> textes;
  for (std::int16_t i = 0; i < tbl.NbFld(); ++i) {
    const db::DbFld& fld = tbl.ListeFld(std::to_string(i));
    textes.push_back(fld.Nom() + " " + std::to_string(fld.Typ()) + " " + std::to_string(fld.Lg()));
  }
  for (std::int16_t i = 0; i < tbl.NbIdx(); ++i) {
    const db::DbIdx& idx = tbl.ListeIdx(std::to_string(i));
    textes.push_back(idx.Nom() + "(" + idx.SFld() + ")" + (idx.Primary() ? "p" : "") + (idx.Unique() ? "u" : ""));
  }
  return textes;
}

TEST(TableAttachee, HasItsFieldsAndIndexesAfterTheNextOpeningAndCanBeCopied) {
  BaseOuverte source(BackendNomme("Jet"));
  CreeUtl(source);
  BaseOuverte base(BackendNomme("Jet"));
  base->AddTblAttachee(source->ListeTbl("UTL"), "LIEN");
  EXPECT_THAT(Decrit(base->ListeTbl("LIEN")), ElementsAre("id 3 0", "nom 202 30", "PK(id)pu"));
  base.Rouvre();
  EXPECT_THAT(Decrit(base->ListeTbl("LIEN")), ElementsAre("id 3 0", "nom 202 30", "PK(id)pu"));

  for (const char* sur : {"Jet", "MariaDb"}) {
    BaseOuverte cible(BackendNomme(sur));
    EXPECT_EQ(base->CopieDonnees("LIEN", *cible).ecrites, 1) << sur;
    EXPECT_THAT(Noms(*cible, "LIEN"), ElementsAre("Dupont")) << sur;
    EXPECT_EQ(cible->ListeTbl("LIEN").NbIdx(), 1) << sur;
  }
  base->SupTbl("LIEN");
  auto lignes = base->OpenRecordSet("SELECT * FROM [$FLDKORV$] WHERE [TABLE]='LIEN'", 0);
  EXPECT_TRUE(lignes.Eof());
}

TEST(TableAttachee, KeepsItsFieldsAndIndexesWhileItsSourceIsGoneAndTellsWhyTheirTypesAreNotKnown) {
  BaseOuverte base(BackendNomme("Jet"));
  const TemporaryFolder dossier;
  std::string nom;
  {
    BaseOuverte source(BackendNomme("Jet"));
    CreeUtl(source);
    nom = source.Nom();
    base->AddTblAttachee(source->ListeTbl("UTL"), "LIEN");
  }
  base.Rouvre();  // lets go of the linked file
  const std::string ailleurs = dossier.File("ailleurs.mdb");
  std::filesystem::rename(nom, ailleurs);
  base.Rouvre();
  db::DbTbl& lien = base->ListeTbl("LIEN");
  EXPECT_EQ(lien.NbFld(), 2);
  EXPECT_TRUE(lien.ExisteFld("NOM"));
  EXPECT_TRUE(lien.ExisteIdxSurFld("ID"));
  const auto erreur = runtime::IgnoringErrors([&] { (void)lien.ListeFld("ID").Typ(); });
  EXPECT_EQ(erreur.number, runtime::kProviderFailure);
  EXPECT_NE(erreur.description.find(nom), std::string::npos) << erreur.description;
  BaseOuverte cible(BackendNomme("MariaDb"));
  EXPECT_EQ(runtime::IgnoringErrors([&] { (void)base->CopieDonnees("LIEN", *cible); }).number, runtime::kProviderFailure);
  EXPECT_FALSE(cible->ExisteTbl("LIEN"));
  std::filesystem::rename(ailleurs, nom);
  EXPECT_EQ(lien.ListeFld("ID").Typ(), ado::adInteger) << "asked again, it is read";
}

TEST(TableAttachee, ThatTheCatalogDoesNotKnowIsReadWhenItIsAskedFor) {
  BaseOuverte source(BackendNomme("Jet"));
  CreeUtl(source);
  BaseOuverte base(BackendNomme("Jet"));
  base->AddTblAttachee(source->ListeTbl("UTL"), "LIEN");
  for (const char* catalogue : {"$FLDKORV$", "$IDXKORV$"}) {
    base->ExecuteSQL("DELETE * FROM [" + std::string(catalogue) + "] WHERE [TABLE]='LIEN'");
  }
  base.Rouvre();
  EXPECT_THAT(Decrit(base->ListeTbl("LIEN")), ElementsAre("id 3 0", "nom 202 30", "PK(id)pu"));
  base->RecreeCatalogue();
  base.Rouvre();
  EXPECT_THAT(Decrit(base->ListeTbl("LIEN")), ElementsAre("id 3 0", "nom 202 30", "PK(id)pu"));
}

TEST(TableAttachee, ReachesNoSourceWhileTheDatabaseOpensEvenWhenTheCatalogIsMadeAnew) {
  BaseOuverte base(BackendNomme("Jet"));
  std::string nom;
  {
    BaseOuverte source(BackendNomme("Jet"));
    CreeUtl(source);
    nom = source.Nom();
    base->AddTblAttachee(source->ListeTbl("UTL"), "LIEN");
  }
  base->SupTbl("$TBLKORV$");
  base.Rouvre();
  const auto tenu = [&] {
    for (const auto& entree : std::filesystem::directory_iterator("/proc/self/fd")) {
      std::error_code parti;
      if (std::filesystem::read_symlink(entree.path(), parti) == std::filesystem::canonical(nom)) return true;
    }
    return false;
  };
  EXPECT_FALSE(tenu());
  EXPECT_THAT(Decrit(base->ListeTbl("LIEN")), ElementsAre("id 3 0", "nom 202 30", "PK(id)pu"));
  EXPECT_TRUE(tenu()) << "this is how it is seen";
}

TEST(TableAttachee, AFieldThatItsSourceHasNoMoreIsToldByName) {
  BaseOuverte source(BackendNomme("Jet"));
  CreeUtl(source);
  BaseOuverte base(BackendNomme("Jet"));
  base->AddTblAttachee(source->ListeTbl("UTL"), "LIEN");
  source->ListeTbl("UTL").SupFld("NOM");
  base.Rouvre();
  const auto erreur = runtime::IgnoringErrors([&] { (void)base->ListeTbl("LIEN").ListeFld("NOM").Typ(); });
  EXPECT_EQ(erreur.number, runtime::kItemNotFound);
  EXPECT_TRUE(erreur.description.ends_with(" (nom)")) << erreur.description;
}

TEST(TableAttachee, WhoseNameTheCatalogDoesNotHoldIsAttachedWithoutARow) {
  BaseOuverte source(BackendNomme("Jet"));
  CreeUtl(source);
  BaseOuverte base(BackendNomme("Jet"));
  const std::string nom(31, 'L');
  EXPECT_EQ(runtime::IgnoringErrors([&] { base->AddTblAttachee(source->ListeTbl("UTL"), nom); }).description, "");
  EXPECT_THAT(Decrit(base->ListeTbl(nom)), ElementsAre("id 3 0", "nom 202 30", "PK(id)pu"));
  for (const char* catalogue : {"$TBLKORV$", "$FLDKORV$", "$IDXKORV$"}) {
    EXPECT_TRUE(base->OpenRecordSet("SELECT * FROM [" + std::string(catalogue) + "]", 0).Eof()) << catalogue;
  }
}

TEST(TableAttachee, WhoseNameIsANumberIsNotTheOneAtThatPosition) {
  BaseOuverte source(BackendNomme("Jet"));
  CreeUtl(source);
  BaseOuverte base(BackendNomme("Jet"));
  const std::string premiere = base->ListeTbl("0").Nom();
  const auto avant = Decrit(base->ListeTbl("0"));
  base->AddTblAttachee(source->ListeTbl("UTL"), "0");
  EXPECT_EQ(base->ListeTbl("0").Nom(), premiere);
  EXPECT_EQ(Decrit(base->ListeTbl("0")), avant);
  EXPECT_THAT(Decrit(base->ListeTbl(std::to_string(base->NbTbl() - 1))), ElementsAre("id 3 0", "nom 202 30", "PK(id)pu"));
}

TEST(TableAttachee, OfASourceWithoutADataSourceNameIsAnErrorAndTheOldLinkStays) {
  BaseOuverte source(BackendNomme("Sqlite"));
  ASSERT_NE(source.Nom().find("DRIVER="), std::string::npos) << "reached through its driver: " << source.Nom();
  CreeUtl(source);
  BaseOuverte base(BackendNomme("Jet"));
  const auto erreur = runtime::IgnoringErrors([&] { base->AddTblAttachee(source->ListeTbl("UTL"), "LIEN"); });
  EXPECT_EQ(erreur.number, runtime::kInvalidArgument);
  EXPECT_EQ(erreur.description, "La table UTL ne peut pas être attachée : la connexion de sa base ne nomme pas de source de données");
  EXPECT_FALSE(base->ExisteTbl("LIEN"));

  BaseOuverte access(BackendNomme("Jet"));
  CreeUtl(access);
  base->AddTblAttachee(access->ListeTbl("UTL"), "LIEN");
  EXPECT_EQ(runtime::IgnoringErrors([&] { base->ModTblAttachee(source->ListeTbl("UTL"), "LIEN"); }).number, runtime::kInvalidArgument);
  EXPECT_THAT(Noms(*base, "LIEN"), ElementsAre("Dupont"));
}

TEST(TableAttachee, IsTheOnlyThingThatLinkingAnewDrops) {
  BaseOuverte source(BackendNomme("Jet"));
  CreeUtl(source);
  BaseOuverte base(BackendNomme("Jet"));
  CreeUtl(base);
  const auto erreur = runtime::IgnoringErrors([&] { base->ModTblAttachee(source->ListeTbl("UTL"), "UTL"); });
  EXPECT_EQ(erreur.number, runtime::kInvalidArgument);
  EXPECT_EQ(erreur.description, "La table UTL n'est pas une table attachée");
  EXPECT_THAT(Noms(*base, "UTL"), ElementsAre("Dupont"));
  base->ModTblAttachee(source->ListeTbl("UTL"), "$TBLKORV$");
  EXPECT_TRUE(base->ExisteTbl("$TBLKORV$"));
  base->ModTblAttachee(source->ListeTbl("UTL"), "LIEN");
  base->ModTblAttachee(source->ListeTbl("UTL"), "LIEN");
  EXPECT_THAT(Noms(*base, "LIEN"), ElementsAre("Dupont"));
}

TEST(TableAttachee, OfADataSourceIsReadAndWrittenThroughItsDriver) {
  const TemporaryFolder dossier;
  std::ofstream(dossier.File("odbc.ini")) << "[tamlo_lien]\nDriver=SQLite3\nDatabase=" << dossier.File("source.db") << "\n";
  ::setenv("ODBCINI", dossier.File("odbc.ini").c_str(), 1);
  {
    BaseOuverte source(BackendNomme("Sqlite"), "tamlo_lien");
    CreeUtl(source);
    BaseOuverte base(BackendNomme("Jet"));
    base->AddTblAttachee(source->ListeTbl("UTL"), "");
    EXPECT_EQ(base->ListeTbl("UTL").NbFld(), 2);
    base.Rouvre();
    EXPECT_EQ(base->ListeTbl("UTL").NbFld(), 2);
    EXPECT_TRUE(base->ListeTbl("UTL").ExisteIdx("PK"));
    EXPECT_EQ(base->ListeTbl("UTL").ListeFld("ID").Typ(), ado::adInteger);
    AjouteNom(*base, "UTL", 2, "Élise");
    EXPECT_THAT(Noms(*base, "UTL"), ElementsAre("Dupont", "Élise"));
    EXPECT_THAT(Noms(*source, "UTL"), ElementsAre("Dupont", "Élise"));
    base->SupTbl("UTL");
    EXPECT_FALSE(base->ExisteTbl("UTL"));
    EXPECT_THAT(Noms(*source, "UTL"), ElementsAre("Dupont", "Élise"));
  }
  ::unsetenv("ODBCINI");
}

}  // namespace
}  // namespace tamlo::tests
