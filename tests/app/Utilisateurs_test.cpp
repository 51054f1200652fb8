#include "app/Utilisateurs.h"

#include <gtest/gtest.h>

#include "app/UtlConnecte.h"
#include "app/TableCode.h"
#include "db/Environnement.h"
#include "runtime/Error.h"
#include "tests/app/VolumesScriptes.h"

namespace tamlo::app {
namespace {

using runtime::Null;
using Texts = std::vector<std::string>;

class ConnecteUtlTest : public VolumesScriptes {};

TEST_F(ConnecteUtlTest, BeforeTheDatabaseIsOpenRecordsNameAndPasswordButNotTheId) {
  ConnecteUtl(1, "ADMIN", Encoded("abc"));
  EXPECT_EQ(IdUtlConnecte(), 0);
  EXPECT_EQ(NomUtlConnecte(), "ADMIN");
  EXPECT_EQ(PwdUtlConnecte(), "abc");
}

TEST_F(ConnecteUtlTest, WithTheRecordedIdDoesNothing) {
  ConnecteUtl(0, "ADMIN", "x");
  EXPECT_EQ(NomUtlConnecte(), "");
  EXPECT_EQ(PwdUtlConnecte(), "");
}

TEST_F(ConnecteUtlTest, OnceTheDatabaseIsOpenReadsTheRowAndIgnoresWhatIsGiven) {
  OpenVolumes();
  UtlFound({{std::int32_t{7}, "MARTIN   ", Encoded("secret")}}, std::int32_t{7});
  ConnecteUtl(7, "ADMIN", "x");
  EXPECT_EQ(IdUtlConnecte(), 7);
  EXPECT_EQ(NomUtlConnecte(), "MARTIN");
  EXPECT_EQ(PwdUtlConnecte(), "secret");
  EXPECT_EQ(OwnSources(), Texts{"SELECT * FROM UTL WHERE IDUTL=7"});
  EXPECT_EQ(platform.pointers, (std::vector{ui::Pointer::kHourglass, ui::Pointer::kDefault}));
}

TEST_F(ConnecteUtlTest, AnUnknownIdEmptiesNameAndPassword) {
  ConnecteUtl(1, "ADMIN", Encoded("abc"));
  OpenVolumes();
  ConnecteUtl(12, "ADMIN", "x");
  EXPECT_EQ(IdUtlConnecte(), 12);
  EXPECT_EQ(NomUtlConnecte(), "");
  EXPECT_EQ(PwdUtlConnecte(), "");
}

TEST_F(ConnecteUtlTest, NullsReadAsEmpty) {
  OpenVolumes();
  UtlFound({{std::int32_t{7}, Null{}, Null{}}}, std::int32_t{7});
  ConnecteUtl(7, "ADMIN", "x");
  EXPECT_EQ(NomUtlConnecte(), "");
  EXPECT_EQ(PwdUtlConnecte(), "");
}

TEST_F(ConnecteUtlTest, TheIdIsWrittenShort) {
  OpenVolumes();
  ConnecteUtl(1234567, "", "");
  EXPECT_EQ(OwnSources().back(), "SELECT * FROM UTL WHERE IDUTL=1234567");
}

TEST_F(ConnecteUtlTest, AFailingQueryIsRaised) {
  OpenVolumes();
  provider.FailPrefix(kUtl, -2147467259, "serveur perdu");
  const auto error = runtime::IgnoringErrors([] { ConnecteUtl(7, "", ""); });
  EXPECT_EQ(error.number, -2147467259);
  EXPECT_EQ(error.description, "serveur perdu");
}

TEST_F(ConnecteUtlTest, TheLayerReadsTheConnectedUserAtTheMomentOfOpening) {
  ConnecteUtl(1, "ADMIN", Encoded("abc"));
  EXPECT_EQ(db::EnvironnementCourant().nomUtlConnecte(), "ADMIN");
  EXPECT_EQ(db::EnvironnementCourant().pwdUtlConnecte(), "abc");
}

TEST_F(ConnecteUtlTest, PwdUtlConnecteLeavesNoTableWhoeverBuiltIt) {
  InitTableCode();
  static_cast<void>(PwdUtlConnecte());
  EXPECT_FALSE(TableCodePresente());
}

class IdSuivantTest : public VolumesScriptes {};

TEST_F(IdSuivantTest, IsTheLargestPlus1) {
  OpenVolumes();
  UtlFound({}, std::int32_t{41});
  EXPECT_EQ(IdSuivant("Utl"), 42);
  EXPECT_EQ(OwnSources(), Texts{"SELECT MAX([IDUTL]) FROM UTL"});
}

TEST_F(IdSuivantTest, IsBeyond32BitsWhenTheLargestIs) {
  OpenVolumes();
  UtlFound({}, 9000000000.0);
  EXPECT_EQ(IdSuivant("Utl"), 9000000001.0);
}

TEST_F(IdSuivantTest, OfAnEmptyTableIs1) {
  OpenVolumes();
  UtlFound({}, Null{});
  EXPECT_EQ(IdSuivant("Utl"), 1);
}

TEST_F(IdSuivantTest, WithoutARowIs1) {
  OpenVolumes();
  provider.Answer("SELECT MAX([IDUTL]) FROM UTL", {{tests::MakeField("Expr1000", ado::adInteger)}, {}});
  EXPECT_EQ(IdSuivant("Utl"), 1);
}

TEST_F(IdSuivantTest, OfATableThatTheDatabaseDoesNotListIsError9) {
  OpenVolumes();
  EXPECT_EQ(runtime::IgnoringErrors([] { static_cast<void>(IdSuivant("Absente")); }).number, 9);
}

TEST_F(IdSuivantTest, WithoutAVolumesDatabaseIsError91) {
  EXPECT_EQ(runtime::IgnoringErrors([] { static_cast<void>(IdSuivant("Utl")); }).number, 91);
}

}  // namespace
}  // namespace tamlo::app
