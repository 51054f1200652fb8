#include "app/BasesOuvertes.h"

#include <gtest/gtest.h>

#include <filesystem>

#include "db/Environnement.h"
#include "runtime/Error.h"
#include "tests/app/VolumesScriptes.h"

namespace tamlo::app {
namespace {

using tests::RecordedCall;
using tests::ShownMessage;
using Texts = std::vector<std::string>;

template <typename Call>
std::int32_t NumberRaisedBy(Call&& call) {
  return runtime::IgnoringErrors(std::forward<Call>(call)).number;
}

class RegistryTest : public VolumesScriptes {
 protected:
  ReferenceBase Open(const std::string& name, std::int16_t kind = db::TypJet) {
    ReferenceBase base;
    EXPECT_TRUE(OuvreBase(base, name, kind)) << name;
    return base;
  }
  Texts Names() const {
    Texts names;
    for (std::int16_t i = 1; i <= NbBasesOuvertes(); ++i) names.push_back(BasesOuvertes(i)->Nom());
    return names;
  }
};

TEST_F(RegistryTest, ANameIsOpenedOnceWhateverItsCase) {
  const ReferenceBase first = Open("volumes.mdb");
  const ReferenceBase second = Open("VOLUMES.mdb");
  EXPECT_EQ(first, second);
  EXPECT_EQ(first->Nom(), "VOLUMES.MDB");
  EXPECT_EQ(provider.Count(RecordedCall::Kind::kOpen), 1U);
  EXPECT_EQ(NbBasesOuvertes(), 1);
}

TEST_F(RegistryTest, DatabasesAreOpenedWithTheirMovements) { EXPECT_TRUE(Open("a")->AvecMvt()); }

TEST_F(RegistryTest, AMySqlNameKeepsItsCase) {
  const ReferenceBase lower = Open("volumes", db::TypMySql);
  const ReferenceBase upper = Open("VOLUMES", db::TypMySql);
  EXPECT_NE(lower, upper);
  EXPECT_EQ(Open("volumes", db::TypMySql), lower);
  EXPECT_EQ(Names(), (Texts{"volumes", "VOLUMES"}));
}

TEST_F(RegistryTest, AFailedOpenReleasesItsSlotAndLeavesTheReferenceAlone) {
  const ReferenceBase open = Open("a");
  provider.FailOpen(3051, "x");
  ReferenceBase reference = open;
  EXPECT_FALSE(OuvreBase(reference, "b", db::TypJet));
  EXPECT_EQ(reference, open);
  EXPECT_EQ(Names(), Texts{"A"});
  ASSERT_EQ(platform.messages.size(), 1U);
  EXPECT_EQ(platform.messages[0].text, "La base est en cours de définition par un autre poste");
}

TEST_F(RegistryTest, AnErrorRaisedInsideTheOpenCountsAsAFailedOne) {
  provider.FailOpen(3051, "x");
  platform.onMessageBox = [](const ShownMessage&) { throw runtime::Error(5); };
  ReferenceBase reference;
  EXPECT_FALSE(OuvreBase(reference, "b", db::TypJet));
  EXPECT_EQ(reference, nullptr);
  EXPECT_EQ(NbBasesOuvertes(), 0);
}

TEST_F(RegistryTest, ClosingTheOnlyDatabaseEmptiesTheRegistry) {
  ReferenceBase base = Open("a");
  FermeBase(base);
  EXPECT_EQ(base, nullptr);
  EXPECT_EQ(NbBasesOuvertes(), 0);
  EXPECT_EQ(provider.Count(RecordedCall::Kind::kClose), 1U);
  EXPECT_EQ(NumberRaisedBy([] { static_cast<void>(BasesOuvertes(1)); }), 9);
}

TEST_F(RegistryTest, ClosingOneOfSeveralKeepsTheOthersInTheirOrder) {
  Open("a");
  ReferenceBase second = Open("b");
  Open("c");
  FermeBase(second);
  EXPECT_EQ(Names(), (Texts{"A", "C"}));
}

TEST_F(RegistryTest, ClosingNothingDoesNothing) {
  Open("a");
  ReferenceBase none;
  FermeBase(none);
  EXPECT_EQ(Names(), Texts{"A"});
}

TEST_F(RegistryTest, ClosingADatabaseThatTheRegistryDoesNotKnowClosesItAlone) {
  Open("a");
  auto own = std::make_shared<db::DataBase>();
  ASSERT_TRUE(own->Ouvre("other", db::TypJet, true));
  FermeBase(own);
  EXPECT_EQ(own, nullptr);
  EXPECT_EQ(Names(), Texts{"A"});
  EXPECT_EQ(provider.Count(RecordedCall::Kind::kClose), 1U);
}

TEST_F(RegistryTest, ASecondReferenceToAClosedDatabaseFindsItClosed) {
  ReferenceBase first = Open("a");
  ReferenceBase second = Open("a");
  FermeBase(first);
  EXPECT_EQ(NumberRaisedBy([&] { second->ExecuteSQL("x"); }), 91);
  FermeBase(second);
  EXPECT_EQ(second, nullptr);
}

TEST_F(RegistryTest, IndiceBaseComparesExactlyFrom1) {
  Open("a");
  Open("b");
  EXPECT_EQ(IndiceBase("A"), 1);
  EXPECT_EQ(IndiceBase("B"), 2);
  EXPECT_EQ(IndiceBase("b"), 0);
  EXPECT_EQ(IndiceBase(""), 0);
}

TEST_F(RegistryTest, BaseOuverteUpperCasesWhateverTheKind) {
  const ReferenceBase access = Open("a.mdb");
  Open("volumes", db::TypMySql);
  EXPECT_EQ(BaseOuverte("a.MDB"), access);
  EXPECT_EQ(BaseOuverte("volumes"), nullptr);
  EXPECT_EQ(BaseOuverte("absente"), nullptr);
}

TEST_F(RegistryTest, TheLayerFindsOpenDatabasesByName) {
  const ReferenceBase base = Open("a.mdb");
  EXPECT_EQ(db::EnvironnementCourant().baseOuverte("a.mdb"), base.get());
  EXPECT_EQ(db::EnvironnementCourant().baseOuverte("b.mdb"), nullptr);
}

TEST_F(RegistryTest, OpeningAndFindingMakeTheProgramsFolderCurrent) {
  Open("a.mdb");
  EXPECT_TRUE(std::filesystem::equivalent(std::filesystem::current_path(), folder.Path()));
  const tests::TemporaryFolder other;
  std::filesystem::current_path(other.Path());
  static_cast<void>(BaseOuverte("a.mdb"));
  EXPECT_TRUE(std::filesystem::equivalent(std::filesystem::current_path(), folder.Path()));
}

}  // namespace
}  // namespace tamlo::app
