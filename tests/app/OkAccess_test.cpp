#include <gtest/gtest.h>

#include <filesystem>

#include "ado/jet/JetProvider.h"
#include "app/Demarrage.h"
#include "app/TableCode.h"
#include "jet/Database.h"
#include "runtime/Conversions.h"
#include "tests/support_lib/FakePlatform.h"
#include "tests/support_lib/SyncCounter.h"
#include "tests/support_lib/TemporaryFolder.h"
#include "tests/support_lib/VolumesTables.h"

namespace tamlo::app {
namespace {

/// A commit brings to the disk: the journal, its name in the folder, the database, and that the journal is done with.
constexpr std::int64_t kSyncsParCommit = 4;

/// A volumes database in an Access file, and the tool run on it for the user DUPONT of volume 12.
class OkAccess : public testing::Test {
 protected:
  OkAccess() {
    ado::jetprovider::RegisterJetProvider();
    BrancheCouche(folder.Path().string());
    (void)jet::Database::Create(fichier);
    db::DataBase base;
    EXPECT_TRUE(base.Ouvre(fichier, db::TypJet, true));
    tests::MakeVolumesTables(base);
    base.Ferme();
  }
  ~OkAccess() override {
    LibereTout();
    LibereTableCode();
    std::filesystem::current_path(dossierAvant_);
  }

  /// Runs the tool; how many syncs took what the person does.
  template <typename Geste>
  std::int64_t Syncs(Geste geste) {
    std::int64_t syncs = -1;
    platform.whileRunning = [&] {
      const std::int64_t avant = tests::SyncsSoFar();
      geste();
      syncs = tests::SyncsSoFar() - avant;
    };
    LigneCommande(fichier + " 0 12 DUPONT 3 secret");
    EXPECT_EQ(ExecuteProgramme(), 0);
    EXPECT_TRUE(platform.messages.empty());
    return syncs;
  }
  std::int64_t SyncsDeOk() {
    return Syncs([this] { platform.Form().PressEnter(); });
  }

  [[nodiscard]] std::string Rangees(const std::string& table) {
    db::DataBase base;
    EXPECT_TRUE(base.Ouvre(fichier, db::TypJet, true));
    InitTableCode();
    std::string rangees;
    auto rs = base.OpenRecordSet("SELECT * FROM [" + table + "]", 0);
    for (; !rs.Eof(); rs.MoveNext()) {
      for (std::size_t i = 0; i < rs.FieldCount(); ++i) {
        const bool secret = rs.Fields(i).Name() == "motpasse";
        rangees += (secret ? DecodePwd(runtime::ToText(rs.Fields(i).Value())) : runtime::ToText(rs.Fields(i).Value())) + " ";
      }
    }
    rs.Close();
    base.Ferme();
    LibereTableCode();
    return rangees;
  }

  tests::FakePlatform platform;
  tests::TemporaryFolder folder;
  std::string fichier = folder.File("VOLUMES.MDB");

 private:
  std::filesystem::path dossierAvant_ = std::filesystem::current_path();
};

TEST_F(OkAccess, ANewUserAndItsLinkAreTwoCommits) {
  EXPECT_EQ(SyncsDeOk(), 2 * kSyncsParCommit);
  EXPECT_EQ(Rangees("UTL"), "1 DUPONT secret ");
  EXPECT_EQ(Rangees("VLMUTL"), "1 12 3 ");
}

TEST_F(OkAccess, AKnownUserIsOneCommitAndItsLinkNone) {
  (void)SyncsDeOk();
  EXPECT_EQ(SyncsDeOk(), kSyncsParCommit);
  EXPECT_EQ(Rangees("UTL"), "1 DUPONT secret ");
  EXPECT_EQ(Rangees("VLMUTL"), "1 12 3 ");
}

TEST_F(OkAccess, CancelIsNone) {
  const std::int64_t syncs = Syncs([this] { platform.Form().PressEscape(); });
  EXPECT_EQ(syncs, 0);
  EXPECT_EQ(Rangees("UTL"), "");
}

}  // namespace
}  // namespace tamlo::app
