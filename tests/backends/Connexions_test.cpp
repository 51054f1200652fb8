#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>

#include "runtime/Conversions.h"
#include "runtime/Error.h"
#include "tests/backends/Backend.h"
#include "tests/support_lib/FakePlatform.h"
#include "tests/support_lib/TemporaryFolder.h"

namespace tamlo::tests {
namespace {

/// What recordsets and connections promise on every kind.
class Connexions : public testing::TestWithParam<std::string> {
 protected:
  [[nodiscard]] Backend& Sur() const { return BackendNomme(GetParam()); }
  /// UTL with the rows 1 and 2.
  static void CreeUtl(BaseOuverte& base) {
    base.Cree(Table("UTL", {{"ID", ado::adInteger, 4}}));
    for (int id = 1; id <= 2; ++id) Ajoute(*base, id);
  }
  static void Ajoute(db::DataBase& base, int id) { base.ExecuteSQL("INSERT INTO [UTL] ([ID]) VALUES (" + std::to_string(id) + ")"); }
  static int Nombre(db::DataBase& base) {
    auto rs = base.OpenRecordSet("SELECT COUNT(*) FROM [UTL]", 0);
    return runtime::ToInt32(rs.Fields(0).Value());
  }
};
INSTANTIATE_TEST_SUITE_P(Backends, Connexions, testing::Values("Jet", "MariaDb", "Sqlite", "SqlServer", "Oracle"),
                         [](const auto& nom) { return nom.param; });

TEST_P(Connexions, AStatementWithoutRowsIsRunOnceAndItsRecordsetStaysClosed) {
  BaseOuverte base(Sur());
  CreeUtl(base);
  int id = 2;
  for (const std::int16_t option : {0, 2, 3}) {
    auto rs = base->OpenRecordSet("INSERT INTO [UTL] ([ID]) VALUES (" + std::to_string(++id) + ")", option);
    EXPECT_FALSE(rs.IsOpen()) << option;
    EXPECT_EQ(runtime::IgnoringErrors([&] { (void)rs.Eof(); }).number, runtime::kObjectClosed);
    EXPECT_EQ(Nombre(*base), id) << option;
  }
  auto mises = base->OpenRecordSet("UPDATE [UTL] SET [ID]=[ID]+100 WHERE [ID]=1", 0);
  EXPECT_FALSE(mises.IsOpen());
  auto retirees = base->OpenRecordSet("DELETE FROM [UTL] WHERE [ID]<100", 0);
  EXPECT_FALSE(retirees.IsOpen());
  EXPECT_EQ(Nombre(*base), 1);
}

TEST_P(Connexions, ADatabaseOfOneFileIsCopiedAndTheOthersAreNot) {
  BaseOuverte base(Sur());
  CreeUtl(base);
  TemporaryFolder dossier;
  const std::string copie = dossier.File("copie.mdb");
  if (Sur().Kind() != db::TypJet) {
    EXPECT_EQ(runtime::IgnoringErrors([&] { base->CopieBase(copie); }).number, runtime::kOperationNotSupported);
    EXPECT_FALSE(std::filesystem::exists(copie));
    return;
  }
  base->CopieBase(copie);
  Ajoute(*base, 3);
  EXPECT_EQ(Sur().Defauts(copie), "");
  BaseOuverte autre(Sur(), copie);
  EXPECT_EQ(Nombre(*autre), 2);
  EXPECT_EQ(autre->VerifieCatalogue().size(), 0U);
}

TEST_P(Connexions, ARefusedStatementWithoutRowsIsRaised) {
  BaseOuverte base(Sur());
  CreeUtl(base);
  const auto erreur = runtime::IgnoringErrors([&] { (void)base->OpenRecordSet("DELETE FROM [ABSENTE]", 0); });
  EXPECT_NE(erreur.number, 0);
  EXPECT_NE(erreur.description, "");
}

TEST_P(Connexions, AStaticRecordsetShowsTheRowsOfTheMomentItWasOpened) {
  BaseOuverte base(Sur());
  CreeUtl(base);
  auto rs = base->OpenRecordSet("SELECT * FROM [UTL] ORDER BY [ID]", 3);
  Ajoute(*base, 3);
  base->ExecuteSQL("UPDATE [UTL] SET [ID]=20 WHERE [ID]=2");
  for (int passe = 0; passe < 2; ++passe) {
    std::vector<int> ids;
    for (rs.MoveFirst(); !rs.Eof(); rs.MoveNext()) ids.push_back(runtime::ToInt32(rs.Fields(0).Value()));
    EXPECT_THAT(ids, testing::ElementsAre(1, 2));
  }
  rs.Close();
  EXPECT_EQ(Nombre(*base), 3);
}

TEST_P(Connexions, ClosingInATransactionIsRefusedAndLosesNothing) {
  if (!Sur().Capacite().transactions) GTEST_SKIP() << "the layer works without transactions on SQL Server";
  BaseOuverte base(Sur());
  CreeUtl(base);
  const std::int16_t tables = base->NbTbl();
  base->BeginTrans();
  Ajoute(*base, 3);
  EXPECT_EQ(runtime::IgnoringErrors([&] { base->Ferme(); }).number, runtime::kTransactionOpen);
  EXPECT_EQ(base->NbTbl(), tables);
  EXPECT_TRUE(base->ExisteTbl("UTL"));
  EXPECT_EQ(Nombre(*base), 3);
  base->CommitTrans();
  EXPECT_EQ(Nombre(*base), 3);
  base.Rouvre();
  EXPECT_EQ(Nombre(*base), 3);
}

TEST_P(Connexions, ATransactionThatWasNotBegunIsNotEnded) {
  if (!Sur().Capacite().transactions) GTEST_SKIP() << "the layer works without transactions on SQL Server";
  BaseOuverte base(Sur());
  EXPECT_EQ(runtime::IgnoringErrors([&] { base->CommitTrans(); }).number, -2147168242);
  EXPECT_EQ(runtime::IgnoringErrors([&] { base->RollBack(); }).number, -2147168242);
  EXPECT_EQ(runtime::IgnoringErrors([&] { base->RollBack(); }).description, "Aucune transaction n'est active.");
}

TEST_P(Connexions, ADatabaseThatEndsInATransactionHasUndoneIt) {
  if (!Sur().Capacite().transactions) GTEST_SKIP() << "the layer works without transactions on SQL Server";
  BaseOuverte base(Sur());
  CreeUtl(base);
  {
    db::DataBase autre;
    ASSERT_TRUE(autre.Ouvre(base.Nom(), Sur().Kind(), true));
    autre.BeginTrans();
    autre.ExecuteSQL("DELETE FROM [UTL]");
  }
  EXPECT_EQ(Nombre(*base), 2);
}

TEST_P(Connexions, ASecondOpeningLeavesTheRecordsetsOfTheFirstAlive) {
  const FakePlatform ecran;  // a refused opening is shown
  BaseOuverte base(Sur());
  CreeUtl(base);
  auto rs = base->OpenRecordSet("SELECT * FROM [UTL] ORDER BY [ID]", 0);
  EXPECT_EQ(runtime::ToInt32(rs.Fields(0).Value()), 1);
  ASSERT_TRUE(base->Ouvre(base.Nom(), Sur().Kind(), true));
  ASSERT_TRUE(rs.IsOpen());
  rs.MoveNext();
  EXPECT_EQ(runtime::ToInt32(rs.Fields(0).Value()), 2);
  EXPECT_EQ(Nombre(*base), 2);
  (void)base->Ouvre("/nulle/part;DSN=nulle_part", Sur().Kind(), true);  // refused, where the name says where the database is
  ASSERT_TRUE(rs.IsOpen());
  rs.MoveNext();
  EXPECT_TRUE(rs.Eof());
  ASSERT_TRUE(base->Ouvre(base.Nom(), Sur().Kind(), true));
  EXPECT_TRUE(rs.IsOpen());
  base.Rouvre();
  EXPECT_FALSE(rs.IsOpen()) << "closing closes them all";
}

}  // namespace
}  // namespace tamlo::tests
