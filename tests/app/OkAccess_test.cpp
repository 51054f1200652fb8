#include <gtest/gtest.h>

#include <filesystem>

#include "app/Demarrage.h"
#include "app/LigneCommande.h"
#include "ado/jet/JetProvider.h"
#include "app/TableCode.h"
#include "jet/Database.h"
#include "jet/table/Table.h"
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

/// A file that another program made: no catalog, and behind indexed tables one with a field whose name the catalog cannot hold.
void FichierEtranger(const std::string& nom) {
  const auto fichier = jet::Database::Create(nom);
  const auto cree = [&](const std::string& table, const std::vector<std::pair<std::string, jet::ColumnType>>& champs,
                        const std::vector<std::string>& cle) {
    jet::TableSpec definition;
    definition.name = table;
    for (const auto& [champ, type] : champs) {
      definition.columns.emplace_back();
      definition.columns.back().name = champ;
      definition.columns.back().type = type;
      if (type == jet::ColumnType::kText) definition.columns.back().size = 30;
    }
    jet::IndexSpec index;
    index.name = "PK";
    index.primary = true;
    for (const std::string& champ : cle) index.columns.push_back({champ});
    if (!cle.empty()) definition.indexes.push_back(index);
    (void)fichier->CreateTable(definition);
  };
  using jet::ColumnType;
  cree("UTL", {{"idutl", ColumnType::kLong}, {"nom", ColumnType::kText}, {"motpasse", ColumnType::kText}}, {"idutl"});
  cree("VLMUTL", {{"idutl", ColumnType::kLong}, {"idvlm", ColumnType::kLong}, {"niveau", ColumnType::kInteger}}, {"idutl", "idvlm"});
  cree("ZONES", {{"ce_champ_a_un_nom_de_plus_de_trente_lettres", ColumnType::kLong}}, {});
}

TEST_F(OkAccess, AUserSavedWhereTheCatalogRefusesARowIsInTheFile) {
  fichier = folder.File("AUTRE.MDB");
  FichierEtranger(fichier);
  (void)SyncsDeOk();
  {
    // By the engine alone, which knows of no transaction but what is on the disk.
    const auto base = jet::Database::Open(fichier);
    EXPECT_EQ(base->OpenTable("UTL").RowCount(), 1U);
    EXPECT_EQ(base->OpenTable("VLMUTL").RowCount(), 1U);
  }
  EXPECT_EQ(Rangees("UTL"), "1 DUPONT secret ");
  EXPECT_EQ(Rangees("VLMUTL"), "1 12 3 ");
}

}  // namespace
}  // namespace tamlo::app
