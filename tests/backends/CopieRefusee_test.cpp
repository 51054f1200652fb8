#include <gtest/gtest.h>

#include "runtime/Conversions.h"
#include "runtime/Error.h"
#include "runtime/Text.h"
#include "tests/backends/Accord.h"
#include "tests/backends/Backend.h"

namespace tamlo::tests {
namespace {

constexpr int kRangees = 700;
constexpr int kMauvaise = 650;

/// A copy of 700 rows into each kind, one of which the target refuses. Of the rows before it each is there whole, of the others none; the
/// source, the rest of the target and both connections are unharmed.
class CopieRefusee : public testing::TestWithParam<std::string> {
 protected:
  CopieRefusee() {
    source_.Cree(Table("T", {{"ID", ado::adInteger, 4}, {"NOM", ado::adVarWChar, 60}, {"N", ado::adVarWChar, 20}}));
    source_->BeginTrans();
    auto rs = source_->OpenRecordSet("SELECT * FROM [T]", 2);
    for (std::int32_t i = 1; i <= kRangees; ++i) {
      rs.AddNew();
      rs.Fields("ID").Value(i);
      rs.Fields("NOM").Value("nom " + std::to_string(i));
      rs.Fields("N").Value(std::to_string(i));
      rs.Update();
    }
    rs.Close();
    source_->CommitTrans();
    cible_.Cree(Table("AUTRE", {{"A", ado::adInteger, 4}}));
    cible_->ExecuteSQL("INSERT INTO [AUTRE] ([A]) VALUES (7)");
  }

  /// The target's T with its NOM so long and its N of that type.
  void CreeCible(std::int32_t longueur, std::int16_t typN) {
    auto definition =
        Table("T", {{"ID", ado::adInteger, 4}, {"NOM", ado::adVarWChar, longueur}, {"N", typN, typN == ado::adVarWChar ? 20 : 4}});
    definition->AddIdx("UQ_ID", "ID", false, true);
    cible_.Cree(std::move(definition));
  }
  /// Puts something else into a row of the source.
  void Change(const std::string& affectation) {
    source_->ExecuteSQL("UPDATE [T] SET " + affectation + " WHERE [ID]=" + std::to_string(kMauvaise));
  }
  static std::int32_t Compte(BaseOuverte& base, const std::string& table) {
    auto rs = base->OpenRecordSet("SELECT COUNT(*) FROM [" + table + "]", 0);
    return runtime::ToInt32(rs.Fields(0).Value());
  }

  /// The copy ends at the bad row; its error. Mended by reparation, the rows can be copied by the same connections.
  runtime::PendingError CopieEtRepare(const std::string& reparation) {
    const auto erreur = runtime::IgnoringErrors([&] { (void)source_->CopieDonnees("T", *cible_); });
    const std::string debut = "copie de la table T : ligne " + std::to_string(kMauvaise);
    EXPECT_TRUE(erreur.description.starts_with(debut + " : ") || erreur.description.starts_with(debut + ", ")) << erreur.description;
    EXPECT_EQ(Compte(source_, "T"), kRangees);
    EXPECT_EQ(Compte(cible_, "T"), kMauvaise - 1);
    EXPECT_EQ(Compte(cible_, "AUTRE"), 1);
    EXPECT_EQ(source_->VerifieCopie("T", *cible_).differences, kRangees - kMauvaise + 1);
    EXPECT_EQ(Desaccord(cible_, "T"), "");
    EXPECT_EQ(Desaccord(cible_, "AUTRE"), "");
    source_->ExecuteSQL(reparation);
    cible_->ExecuteSQL("DELETE * FROM [T]");
    EXPECT_EQ(source_->CopieDonnees("T", *cible_).ecrites, kRangees);
    EXPECT_EQ(Compte(cible_, "T"), kRangees);
    return erreur;
  }
  /// The column stands in the text, as the backend spells it.
  static bool Nomme(const std::string& description, const std::string& colonne) {
    const std::string texte = runtime::LowerCase(description);
    const auto contient = [&](const std::string& cherche) { return texte.find(cherche) != std::string::npos; };
    return contient("colonne " + colonne + " : ") || contient("colonne \"" + colonne + "\"") || contient("column \"" + colonne + "\"") ||
           contient("column \"" + colonne + " ");
  }

  BaseOuverte source_{BackendNomme(GetParam() == "Sqlite" ? "MariaDb" : "Sqlite")};
  BaseOuverte cible_{BackendNomme(GetParam())};
};
INSTANTIATE_TEST_SUITE_P(Backends, CopieRefusee, testing::Values("Jet", "MariaDb", "Sqlite", "SqlServer", "Oracle"),
                         [](const auto& nom) { return nom.param; });

TEST_P(CopieRefusee, ADuplicateKeyNamesTableAndRow) {
  CreeCible(60, ado::adVarWChar);
  Change("[ID]=5, [NOM]='double'");
  const auto erreur = CopieEtRepare("UPDATE [T] SET [ID]=" + std::to_string(kMauvaise) + " WHERE [N]='" + std::to_string(kMauvaise) + "'");
  EXPECT_EQ(erreur.number, runtime::kDuplicateKey);
}

TEST_P(CopieRefusee, ATextLongerThanItsColumnNamesTableRowAndColumn) {
  if (!cible_.Sur().Capacite().longueurs) GTEST_SKIP() << "declared lengths of texts are not kept";
  CreeCible(10, ado::adVarWChar);
  Change("[NOM]='un nom beaucoup trop long'");
  const auto erreur = CopieEtRepare("UPDATE [T] SET [NOM]='court'");
  EXPECT_EQ(erreur.number, runtime::kProviderFailure);
  EXPECT_TRUE(erreur.description.ends_with(" : texte de 25 caractères pour une colonne de 10")) << erreur.description;
  EXPECT_TRUE(Nomme(erreur.description, "nom")) << erreur.description;
}

TEST_P(CopieRefusee, AValueThatIsNoneOfItsColumnNamesTableRowAndColumn) {
  CreeCible(60, ado::adInteger);
  Change("[N]='beaucoup'");
  const auto erreur = CopieEtRepare("UPDATE [T] SET [N]='1'");
  EXPECT_NE(erreur.number, 0);
  EXPECT_TRUE(Nomme(erreur.description, "n")) << erreur.description;
}

TEST_P(CopieRefusee, ANumberBeyondTheLimitsOfItsColumnNamesTableRowAndColumn) {
  CreeCible(60, ado::adSmallInt);
  Change("[N]='999999'");
  const auto erreur = CopieEtRepare("UPDATE [T] SET [N]='1'");
  EXPECT_NE(erreur.number, 0);
  EXPECT_TRUE(Nomme(erreur.description, "n")) << erreur.description;
}

TEST_P(CopieRefusee, InsideATransactionTheProgramMayUndoTheRowsBeforeIt) {
  if (!cible_.Sur().Capacite().pointsDeReprise) GTEST_SKIP() << "the engine behind its driver loses the transaction with a failed batch";
  CreeCible(60, ado::adVarWChar);
  Change("[ID]=5");
  cible_->BeginTrans();
  const auto erreur = runtime::IgnoringErrors([&] { (void)source_->CopieDonnees("T", *cible_); });
  EXPECT_EQ(erreur.number, runtime::kDuplicateKey) << erreur.description;
  cible_->RollBack();
  EXPECT_EQ(Compte(cible_, "T"), 0);
  EXPECT_EQ(Compte(cible_, "AUTRE"), 1);
}

TEST(CopieRefuseeEntreAccess, NamesTheTableAndLeavesTheTargetAsItWas) {
  BaseOuverte source(BackendNomme("Jet"));
  BaseOuverte cible(BackendNomme("Jet"));
  source.Cree(Table("T", {{"ID", ado::adInteger, 4}}));
  for (const char* id : {"1", "2", "2"}) source->ExecuteSQL(std::string("INSERT INTO [T] ([ID]) VALUES (") + id + ")");
  auto definition = Table("T", {{"ID", ado::adInteger, 4}});
  definition->AddIdx("PK", "ID", true, true);
  cible.Cree(std::move(definition));
  cible->ExecuteSQL("INSERT INTO [T] ([ID]) VALUES (9)");
  const auto erreur = runtime::IgnoringErrors([&] { (void)source->CopieDonnees("T", *cible); });
  EXPECT_EQ(erreur.number, runtime::kDuplicateKey);
  EXPECT_TRUE(erreur.description.starts_with("copie de la table T : ")) << erreur.description;
  EXPECT_EQ(cible->GetCptSuiv("[T]", "ID"), 10);
  EXPECT_EQ(source->VerifieCopie("T", *cible).lignesCible, 1);
  EXPECT_EQ(Desaccord(cible, "T"), "");
}

}  // namespace
}  // namespace tamlo::tests
