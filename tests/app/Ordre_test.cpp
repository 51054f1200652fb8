// What shows only in the order in which things happen, or in a failure in between.
#include <gtest/gtest.h>

#include <algorithm>

#include "app/Demarrage.h"
#include "app/UtlConnecte.h"
#include "app/frmTamlo.h"
#include "runtime/Error.h"
#include "tests/app/VolumesScriptes.h"

namespace tamlo::app {
namespace {

using tests::RecordedCall;
using tests::ShownMessage;
using Kind = RecordedCall::Kind;
using Texts = std::vector<std::string>;

constexpr const char* kMax = "SELECT MAX([IDUTL]) FROM UTL";

class OrderTest : public VolumesScriptes {
 protected:
  static constexpr const char* kLine = "base.mdb 0 12 DUPONT 3 secret";

  int Save() {
    platform.whileRunning = [this] { Form().PressEnter(); };
    return Execute(kLine);
  }

  // Seen by OnCall, which is still asked while the fixture closes what is open.
  bool touched = false;
  ui::Pointer pointer = ui::Pointer::kDefault;
  int closed = 0;
  bool present = false;
};

TEST_F(OrderTest, ThePointerIsUntouchedWhileTheDatabaseIsOpenedAndWhenThatFails) {
  provider.OnCall([this](const RecordedCall& call) { touched = touched || (call.kind == Kind::kOpen && !platform.pointers.empty()); });
  Start("base.mdb 0 12 DUPONT 3");
  ASSERT_EQ(provider.Count(Kind::kOpen), 1U);
  EXPECT_FALSE(touched);
  LibereTout();

  platform.pointers.clear();
  provider.FailOpen(3051, "x");
  std::vector<ui::Pointer> atTheMessage{ui::Pointer::kHourglass};
  platform.onMessageBox = [&](const ShownMessage&) { atTheMessage = platform.pointers; };
  EXPECT_EQ(Execute("base.mdb 0 12 DUPONT 3"), 1);
  EXPECT_EQ(atTheMessage, std::vector<ui::Pointer>{});
  EXPECT_EQ(std::count(platform.pointers.begin(), platform.pointers.end(), ui::Pointer::kHourglass), 0);
}

TEST_F(OrderTest, TheHourglassStandsWhileTheStoredPasswordIsRead) {
  provider.OnCall([this](const RecordedCall& call) {
    if (call.kind == Kind::kOpenRowset && call.text.starts_with(kUtl)) pointer = platform.CurrentPointer();
  });
  Start("base.mdb 0 12 DUPONT 3");
  EXPECT_EQ(pointer, ui::Pointer::kHourglass);
}

TEST_F(OrderTest, ANameThatTheBoxWouldCutIsLookedUpNeitherAsGivenNorAsCut) {
  const std::string name = "abcdefghijklmnopqrstuvwxyz0123456789";
  EXPECT_EQ(Execute("base.mdb 0 12 " + name + " 3"), 1);
  EXPECT_EQ(OwnSources(), Texts{});
  EXPECT_EQ(Execute("base.mdb 0 12 " + name.substr(0, 30) + " 3"), 0);
  EXPECT_EQ(OwnSources(), Texts{"SELECT * FROM UTL WHERE NOM='" + name.substr(0, 30) + "'"});
}

TEST_F(OrderTest, TheDatabaseIsClosedBeforeTheCodeTableIsErased) {
  provider.OnCall([this](const RecordedCall& call) {
    if (call.kind != Kind::kClose) return;
    ++closed;
    present = TableCodePresente();
  });
  platform.whileRunning = [&] {
    Form().PressEscape();
    EXPECT_EQ(closed, 1);
    EXPECT_TRUE(present);
    EXPECT_FALSE(TableCodePresente());
  };
  EXPECT_EQ(Execute(kLine), 0);
}

TEST_F(OrderTest, AFailedReadingOfTheConnectedUserLeavesItsIdAndTheNameOfBefore) {
  ConnecteUtl(1, "ADMIN", Encoded("abc"));
  OpenVolumes();
  provider.FailPrefix(kUtl, -2147467259, "serveur perdu", 1);
  EXPECT_EQ(runtime::IgnoringErrors([] { ConnecteUtl(7, "", ""); }).number, -2147467259);
  EXPECT_EQ(IdUtlConnecte(), 7);
  EXPECT_EQ(NomUtlConnecte(), "ADMIN");
  EXPECT_EQ(PwdUtlConnecte(), "abc");
  // The id is known: nothing is read for it again.
  provider.ClearCalls();
  ConnecteUtl(7, "AUTRE", "");
  EXPECT_EQ(OwnSources(), Texts{});
  EXPECT_EQ(NomUtlConnecte(), "ADMIN");
}

TEST_F(OrderTest, ADuplicateOnAKnownUsersRowGivesItAFreshId) {
  UtlFound({{std::int32_t{7}, "DUPONT", Encoded("old")}}, std::int32_t{41});
  provider.FailWrite(kUtl, 3022, "doublon", 1);
  EXPECT_EQ(Save(), 0);
  EXPECT_EQ(Inserted(kUtl), Texts{});
  EXPECT_EQ(Updated(kUtl), (Texts{"Nom=DUPONT MotPasse=" + Encoded("secret"), "IdUtl=42 Nom=DUPONT MotPasse=" + Encoded("secret")}));
  EXPECT_EQ(OwnSources(), (Texts{"SELECT * FROM UTL WHERE NOM='DUPONT'", kMax, "SELECT * FROM VLMUTL WHERE IDUTL=42 AND IDVLM=12"}));
  EXPECT_EQ(Inserted(kVlmUtl), Texts{"IdUtl=42 IdVlm=12 Niveau=3"});
}

TEST_F(OrderTest, ANextIdThatCannotBeReadDuringTheRetryLeavesTheIdAndTheRowIsTriedAgain) {
  UtlFound({{std::int32_t{7}, "DUPONT", Encoded("old")}}, std::int32_t{41});
  provider.FailWrite(kUtl, 3022, "doublon", 1);
  provider.Fail(kMax, -2147467259, "serveur perdu", 1);
  EXPECT_EQ(Save(), 0);
  EXPECT_TRUE(platform.messages.empty());
  EXPECT_EQ(Updated(kUtl), Texts(2, "Nom=DUPONT MotPasse=" + Encoded("secret")));
  EXPECT_EQ(Inserted(kVlmUtl), Texts{"IdUtl=7 IdVlm=12 Niveau=3"});
}

TEST_F(OrderTest, TheFirstIdThatCannotBeReadEndsTheRunWithTheErrorBox) {
  provider.Fail(kMax, -2147467259, "serveur perdu", 1);
  EXPECT_EQ(Save(), 1);
  ASSERT_EQ(platform.messages.size(), 1U);
  EXPECT_EQ(platform.messages[0], (ShownMessage{"Erreur d'exécution '-2147467259' :\n\nserveur perdu", ui::kCritical, "tamlo"}));
  EXPECT_EQ(Inserted(kVlmUtl), Texts{});
}

}  // namespace
}  // namespace tamlo::app
