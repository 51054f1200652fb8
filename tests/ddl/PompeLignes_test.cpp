// The pump of rows between two connections, without a DataBase.
#include "db/pompe/PompeLignes.h"

#include "ado/Connection.h"
#include "tests/ddl/BaseEnregistree.h"

namespace tamlo::tests {
namespace {

using runtime::Null;
using Ligne = std::vector<runtime::Variant>;

/// Two connections of one scripted backend.
class PompeLignes : public testing::Test {
 protected:
  PompeLignes() {
    for (ado::Connection* connexion : {&source_, &cible_}) {
      connexion->Provider("sqloledb");
      connexion->Open("V", "", "");
    }
    for (const char* nom : {"DE", "VERS"}) {
      ScriptedTable table;
      table.name = nom;
      table.columns = {MakeColumn("ID", ado::adInteger), MakeColumn("NOM", ado::adVarWChar, 5)};
      provider_.AddTable(std::move(table));
    }
  }
  ado::Recordset Ouvre(ado::Connection& connexion, const std::string& table, ado::CursorType curseur = ado::adOpenForwardOnly,
                       ado::LockType verrou = ado::adLockUnspecified) {
    ado::Recordset rs;
    rs.Open("SELECT * FROM [" + table + "]", &connexion, curseur, verrou, ado::adOptionUnspecified);
    return rs;
  }
  db::CopieBilan Pompe(const db::CopieOptions& options = {}) {
    auto source = Ouvre(source_, "DE");
    db::pompe::CibleLignes cible;
    auto description = Ouvre(cible_, "VERS");
    cible.colonnes = db::pompe::ColonnesCible(source, description, true);
    description.Close();
    cible.connexion = &cible_;
    cible.table = "VERS";
    cible.ouvre = [&] { return Ouvre(cible_, "VERS", ado::adOpenDynamic, ado::adLockOptimistic); };
    const auto bilan = db::pompe::PompeLignes(source, cible, options, true);
    EXPECT_FALSE(source.IsOpen());
    return bilan;
  }
  [[nodiscard]] std::vector<Ligne>& Lignes(const std::string& table) { return provider_.FindTable(table)->rows; }

  RecordingProvider provider_;
  ado::Connection source_;
  ado::Connection cible_;
};

TEST_F(PompeLignes, BringsEveryRowAndClosesTheSource) {
  Lignes("DE") = {{1, "un"}, {2, "deux "}, {3, " "}};
  const auto bilan = Pompe();
  EXPECT_EQ(bilan.lues, 3);
  EXPECT_EQ(bilan.ecrites, 3);
  EXPECT_FALSE(bilan.arretee);
  EXPECT_THAT(Lignes("VERS"), testing::ElementsAre(Ligne{1, "un"}, Ligne{2, "deux"}, Ligne{3, Null{}}));
}

TEST_F(PompeLignes, GoesOnBehindTheRowsThatAreThere) {
  Lignes("DE") = {{1, "un"}, {2, "deux"}, {3, "trois"}};
  const auto bilan = Pompe({.progression = {}, .debut = 2});
  EXPECT_EQ(bilan.lues, 3);
  EXPECT_EQ(bilan.ecrites, 1);
  EXPECT_THAT(Lignes("VERS"), testing::ElementsAre(Ligne{3, "trois"}));
}

TEST_F(PompeLignes, AnErrorNamesRowAndColumnAndKnowsWhatIsThere) {
  Lignes("DE") = {{1, "un"}, {2, "deux"}, {3, "beaucoup"}, {4, "qua"}};
  try {
    (void)Pompe();
    FAIL() << "a text that does not fit was written";
  } catch (const db::ErreurCopie& erreur) {
    EXPECT_EQ(erreur.Number(), runtime::kProviderFailure);
    EXPECT_EQ(erreur.Description(), "ligne 3 : colonne NOM : texte de 8 caractères pour une colonne de 5");
    EXPECT_EQ(erreur.AuMoins(), 2);
    EXPECT_EQ(erreur.AuPlus(), 2);
  }
  EXPECT_EQ(Lignes("VERS").size(), 2U);
}

TEST_F(PompeLignes, ASourceThatFailsLeavesTheNumberOfRowsThatAreThereInTheText) {
  Lignes("DE") = {{1, "un"}};
  provider_.FailRead("SELECT * FROM [DE]", 4711, "lecture refusée");
  try {
    (void)Pompe();
    FAIL() << "the refusal was not raised";
  } catch (const runtime::Error& erreur) {
    EXPECT_EQ(erreur.Number(), 4711);
  }
  EXPECT_TRUE(Lignes("VERS").empty());
}

TEST_F(PompeLignes, AColumnThatTheTargetLacksIsRefusedBeforeAnyRow) {
  provider_.FindTable("VERS")->columns.pop_back();
  Lignes("DE") = {{1, "un"}};
  EXPECT_EQ(runtime::IgnoringErrors([&] { (void)Pompe(); }).number, runtime::kItemNotFound);
  EXPECT_TRUE(Lignes("VERS").empty());
}

}  // namespace
}  // namespace tamlo::tests
