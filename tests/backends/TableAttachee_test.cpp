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
