// What a copy does while it runs: reading ahead of the writing, and telling the program how far it is.

#include <algorithm>
#include <atomic>
#include <chrono>
#include <thread>

#include "ado/Provider.h"
#include "tests/ddl/BaseEnregistree.h"

namespace tamlo::tests {
namespace {

using std::chrono::milliseconds;
using std::chrono::steady_clock;

/// What the two sides of a copy do, seen by the test.
struct Suivi {
  std::atomic<int> lues = 0;            ///< rows of the source that have been left behind
  std::function<void()> avantLecture;   ///< before each of them
  std::function<void()> avantEcriture;  ///< before each row of the target
  std::atomic<int> ecrites = 0;
};

/// Rows of another rowset, counted.
class RangeesSuivies final : public ado::ProviderRowset {
 public:
  RangeesSuivies(std::unique_ptr<ado::ProviderRowset> vraies, Suivi& suivi) : vraies_(std::move(vraies)), suivi_(suivi) {}

  const std::vector<ado::FieldInfo>& Fields() const override { return vraies_->Fields(); }
  bool MoveFirst() override { return vraies_->MoveFirst(); }
  bool MoveNext() override {
    if (suivi_.avantLecture) suivi_.avantLecture();
    ++suivi_.lues;
    return vraies_->MoveNext();
  }
  ado::Variant Value(std::size_t champ) override { return vraies_->Value(champ); }
  std::size_t ReadChunk(std::size_t champ, std::byte* octets, std::size_t place) override {
    return vraies_->ReadChunk(champ, octets, place);
  }
  void Insert(std::span<const ado::Assignment> valeurs) override { vraies_->Insert(valeurs); }
  void Update(std::span<const ado::Assignment> valeurs) override { vraies_->Update(valeurs); }
  void Delete() override { vraies_->Delete(); }

 private:
  std::unique_ptr<ado::ProviderRowset> vraies_;
  Suivi& suivi_;
};

class EcrituresSuivies final : public ado::ProviderBulkInsert {
 public:
  explicit EcrituresSuivies(Suivi& suivi) : suivi_(suivi) {}
  void Add(std::span<const ado::Variant>) override {
    if (suivi_.avantEcriture) suivi_.avantEcriture();
    ++suivi_.ecrites;
  }
  void Flush() override {}
  [[nodiscard]] ado::StoredRows Stored() const override { return {suivi_.ecrites, suivi_.ecrites}; }
  void RowsBefore(std::int64_t) override {}

 private:
  Suivi& suivi_;
};

/// A connection in front of the recording one: of table T the rows read and written pass by the test.
class ConnexionSuivie final : public ado::ProviderConnection {
 public:
  ConnexionSuivie(std::unique_ptr<ado::ProviderConnection> vraie, Suivi& suivi) : vraie_(std::move(vraie)), suivi_(suivi) {}

  std::int64_t Execute(const std::string& texte, std::int32_t delai) override { return vraie_->Execute(texte, delai); }
  std::unique_ptr<ado::ProviderRowset> OpenRowset(const ado::RowsetRequest& demande) override {
    auto rangees = vraie_->OpenRowset(demande);
    if (demande.source.find("[T]") == std::string::npos) return rangees;
    return std::make_unique<RangeesSuivies>(std::move(rangees), suivi_);
  }
  std::int32_t BeginTransaction() override { return vraie_->BeginTransaction(); }
  void CommitTransaction() override { vraie_->CommitTransaction(); }
  void RollbackTransaction() override { vraie_->RollbackTransaction(); }
  std::int32_t TransactionLevel() const noexcept override { return vraie_->TransactionLevel(); }
  std::optional<ado::Variant> Property(const std::string& nom) const override { return vraie_->Property(nom); }
  bool SetProperty(const std::string& nom, const ado::Variant& valeur) override { return vraie_->SetProperty(nom, valeur); }
  std::unique_ptr<ado::ProviderCatalog> OpenCatalog() override { return vraie_->OpenCatalog(); }
  std::unique_ptr<ado::ProviderBulkInsert> OpenBulkInsert(const std::string& table, const std::vector<std::string>& colonnes,
                                                          const std::string& proprietaire) override {
    if (table != "T") return vraie_->OpenBulkInsert(table, colonnes, proprietaire);
    return std::make_unique<EcrituresSuivies>(suivi_);
  }

 private:
  std::unique_ptr<ado::ProviderConnection> vraie_;
  Suivi& suivi_;
};

/// Two open databases with a table T each, the first one's with that many rows.
class CopieEnCours : public testing::Test {
 protected:
  ~CopieEnCours() override {
    source_.Ferme();
    cible_.Ferme();
    db::EnvironnementCourant() = {};
  }

  void Ouvre(std::int32_t rangees, const std::string& memo = "") {
    ScriptedTable table;
    table.name = "T";
    table.columns = {MakeColumn("ID", ado::adInteger), MakeColumn("M", ado::adLongVarWChar)};
    OuvreUne(cible_, fournisseurCible_, table);
    for (std::int32_t i = 1; i <= rangees; ++i) table.rows.push_back({i, memo});
    OuvreUne(source_, fournisseurSource_, table);
  }
  db::CopieBilan Copie(const db::CopieOptions& options = {}) { return source_.CopieDonnees("T", cible_, options); }

  Suivi suivi_;

 private:
  void OuvreUne(db::DataBase& base, std::unique_ptr<RecordingProvider>& fournisseur, const ScriptedTable& table) {
    fournisseur = std::make_unique<RecordingProvider>();  // registered from now on
    fournisseur->AddTable(table);
    const ado::ProviderFactory fabrique = ado::FindProvider("sqloledb");
    ado::RegisterProvider("sqloledb", [this, fabrique](const ado::OpenRequest& demande) -> std::unique_ptr<ado::ProviderConnection> {
      return std::make_unique<ConnexionSuivie>(fabrique(demande), suivi_);
    });
    ASSERT_TRUE(base.Ouvre("BASE", db::TypSqlServer, true));
    suivi_.lues = 0;
  }

  std::unique_ptr<RecordingProvider> fournisseurSource_;
  std::unique_ptr<RecordingProvider> fournisseurCible_;
  db::DataBase source_;
  db::DataBase cible_;
};

TEST_F(CopieEnCours, RowsAreReadWhileOthersAreWritten) {
  constexpr int kRangees = 3000;
  Ouvre(kRangees);
  // The first row is not written before the last one has been read, or ten seconds have gone.
  int luesAlors = 0;
  suivi_.avantEcriture = [&] {
    if (suivi_.ecrites > 0) return;
    const auto fin = steady_clock::now() + std::chrono::seconds(10);
    while (suivi_.lues < kRangees && steady_clock::now() < fin) std::this_thread::sleep_for(milliseconds(1));
    luesAlors = suivi_.lues;
  };
  (void)Copie();
  EXPECT_EQ(luesAlors, kRangees);
  EXPECT_EQ(suivi_.ecrites, kRangees);
}

TEST_F(CopieEnCours, TheReadingRunsAheadBySomeMegabytesAlone) {
  constexpr int kRangees = 800;
  constexpr std::size_t kMemo = 64 * 1024;
  Ouvre(kRangees, std::string(kMemo, 'm'));
  suivi_.avantEcriture = [&] {
    if (suivi_.ecrites == 0) std::this_thread::sleep_for(milliseconds(500));
    const auto enAvance = static_cast<std::size_t>(suivi_.lues - suivi_.ecrites);
    EXPECT_LE(enAvance * kMemo, std::size_t{24} << 20);
  };
  EXPECT_EQ(Copie().ecrites, kRangees);
}

/// The moments and numbers of rows at which a program was told of a copy.
class Appels {
 public:
  db::CopieOptions Options() {
    db::CopieOptions options;
    options.progression = [this](std::int64_t lignes) {
      moments_.push_back(steady_clock::now());
      lignes_.push_back(lignes);
      return true;
    };
    return options;
  }
  void Verifie(std::size_t auMoins, std::int64_t rangees) const {
    EXPECT_GE(lignes_.size(), auMoins);
    for (std::size_t i = 0; i < lignes_.size(); ++i) {
      EXPECT_GT(lignes_[i], i == 0 ? 0 : lignes_[i - 1]);
      EXPECT_LE(lignes_[i], rangees);
      if (i == 0) continue;
      EXPECT_GE(moments_[i] - moments_[i - 1], milliseconds(100));
    }
  }

 private:
  std::vector<steady_clock::time_point> moments_;
  std::vector<std::int64_t> lignes_;
};

TEST_F(CopieEnCours, TheProgramHearsOfASlowTargetAtMostEvery100Ms) {
  constexpr int kRangees = 450;
  Ouvre(kRangees);
  suivi_.avantEcriture = [] { std::this_thread::sleep_for(milliseconds(1)); };
  Appels appels;
  EXPECT_EQ(Copie(appels.Options()).ecrites, kRangees);
  appels.Verifie(3, kRangees);
}

TEST_F(CopieEnCours, TheProgramHearsOfASlowSourceBeforeABlockIsFull) {
  constexpr int kRangees = 500;
  Ouvre(kRangees);
  suivi_.avantLecture = [] { std::this_thread::sleep_for(milliseconds(2)); };
  Appels appels;
  EXPECT_EQ(Copie(appels.Options()).ecrites, kRangees);
  appels.Verifie(3, kRangees);
}

TEST_F(CopieEnCours, ASlowSourceIsNotReadToTheEndOnceTheProgramHasAskedToStop) {
  constexpr int kRangees = 2000;
  Ouvre(kRangees);
  suivi_.avantLecture = [] { std::this_thread::sleep_for(milliseconds(2)); };
  db::CopieOptions options;
  options.progression = [](std::int64_t) { return false; };
  const auto bilan = Copie(options);
  EXPECT_TRUE(bilan.arretee);
  EXPECT_EQ(bilan.ecrites, suivi_.ecrites);
  EXPECT_LT(suivi_.lues, kRangees);
}

}  // namespace
}  // namespace tamlo::tests
