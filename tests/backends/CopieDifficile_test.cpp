#include <gtest/gtest.h>
#include <sys/resource.h>

#include <chrono>
#include <csignal>

#include "db/Environnement.h"
#include "runtime/Conversions.h"
#include "runtime/Error.h"
#include "tests/backends/Backend.h"
#include "tests/support_lib/MariaDbServer.h"

namespace tamlo::tests {
namespace {

std::int64_t Compte(db::DataBase& base, const std::string& table) {
  auto rs = base.OpenRecordSet("SELECT COUNT(*) FROM [" + table + "]", 0);
  return runtime::ToInt32(rs.Fields(0).Value());
}

/// An SQLite database with a table GROS of that many rows, ID from 1 on.
class GrosseSource {
 public:
  explicit GrosseSource(int lignes) : base_(BackendNomme("Sqlite")) {
    base_.Cree(Table("GROS", {{"ID", ado::adInteger, 4}, {"NOM", ado::adVarWChar, 30}}));
    base_->ExecuteSQL("INSERT INTO [GROS] WITH RECURSIVE N(I) AS (SELECT 1 UNION ALL SELECT I+1 FROM N WHERE I<" + std::to_string(lignes) +
                      ") SELECT I, 'ligne ' || I FROM N");
  }
  db::DataBase& operator*() { return *base_; }
  db::DataBase* operator->() { return &*base_; }

 private:
  BaseOuverte base_;
};

std::unique_ptr<db::DbTbl> CibleUnique() {
  auto tbl = Table("GROS", {{"ID", ado::adInteger, 4}, {"NOM", ado::adVarWChar, 30}});
  tbl->AddIdx("PRIMARY", "ID", true, true);
  return tbl;
}

TEST(CopieDifficile, ADuplicateKeyAtRow300000IsNamedAndTheRowsBeforeItAreThere) {
  GrosseSource source(301000);
  source->ExecuteSQL("UPDATE [GROS] SET [ID]=5 WHERE [ID]=300000");
  BaseOuverte cible(BackendNomme("MariaDb"));
  cible.Cree(CibleUnique());
  const auto erreur = runtime::IgnoringErrors([&] { (void)source->CopieDonnees("GROS", *cible); });
  EXPECT_EQ(erreur.number, runtime::kDuplicateKey);
  EXPECT_TRUE(erreur.description.starts_with("copie de la table GROS : ligne 300000")) << erreur.description;
  EXPECT_EQ(Compte(*cible, "GROS"), 299999);
  EXPECT_EQ(Compte(*source, "GROS"), 301000);
}

TEST(CopieDifficile, ATextTooLongForTheTargetIsNamedWithTableRowAndColumn) {
  GrosseSource source(2000);
  source->ExecuteSQL("UPDATE [GROS] SET [NOM]='un nom beaucoup plus long que la colonne de la cible' WHERE [ID]=1500");
  BaseOuverte cible(BackendNomme("MariaDb"));
  cible.Cree(CibleUnique());
  const auto erreur = runtime::IgnoringErrors([&] { (void)source->CopieDonnees("GROS", *cible); });
  EXPECT_EQ(erreur.number, runtime::kProviderFailure);
  EXPECT_EQ(erreur.description, "copie de la table GROS : ligne 1500 : colonne NOM : texte de 52 caractères pour une colonne de 30");
  EXPECT_EQ(Compte(*cible, "GROS"), 1499);
}

TEST(CopieDifficile, AServerKilledInTheMiddleIsAnErrorAndTheRestGoesOn) {
  MariaDbServer serveur;
  GrosseSource source(400000);
  db::EnvironnementCourant().nomLogin = "tamlo";
  db::EnvironnementCourant().pwdLogin = "tamlo";
  db::DataBase cible;
  ASSERT_TRUE(cible.Ouvre(serveur.ConnectionString(), db::TypMySql, true));
  cible.AddTbl(CibleUnique());
  db::CopieOptions options;
  options.progression = [&, tue = false](std::int64_t) mutable {
    if (!tue) serveur.Kill();
    tue = true;
    return true;
  };
  const auto erreur = runtime::IgnoringErrors([&] { (void)source->CopieDonnees("GROS", cible, options); });
  EXPECT_EQ(erreur.number, runtime::kProviderFailure);
  EXPECT_TRUE(erreur.description.starts_with("copie de la table GROS : ")) << erreur.description;
  runtime::IgnoringErrors([&] { cible.Ferme(); });
  EXPECT_EQ(Compte(*source, "GROS"), 400000);

  serveur.Restart();
  db::DataBase apres;
  ASSERT_TRUE(apres.Ouvre(serveur.ConnectionString(), db::TypMySql, true));
  const auto bilan = source->VerifieCopie("GROS", apres);
  EXPECT_LT(bilan.lignesCible, 400000);
  EXPECT_EQ(bilan.differences, 400000 - bilan.lignesCible) << "what is there is whole";
  apres.Ferme();
}

/// The largest file that this process may write, as long as the object lives: a disk that is full beyond it.
class DisquePlein {
 public:
  explicit DisquePlein(rlim_t octets) {
    std::signal(SIGXFSZ, SIG_IGN);
    ::getrlimit(RLIMIT_FSIZE, &avant_);
    rlimit limite = avant_;
    limite.rlim_cur = octets;
    ::setrlimit(RLIMIT_FSIZE, &limite);
  }
  ~DisquePlein() { ::setrlimit(RLIMIT_FSIZE, &avant_); }
  DisquePlein(const DisquePlein&) = delete;
  DisquePlein& operator=(const DisquePlein&) = delete;

 private:
  rlimit avant_{};
};

TEST(CopieDifficile, AFullDiskOfTheTargetIsAnErrorAndWhatIsThereIsWhole) {
  GrosseSource source(60000);
  BaseOuverte cible(BackendNomme("Sqlite"));
  cible.Cree(Table("GROS", {{"ID", ado::adInteger, 4}, {"NOM", ado::adVarWChar, 30}}));
  {
    const DisquePlein plein(512 << 10);
    const auto erreur = runtime::IgnoringErrors([&] { (void)source->CopieDonnees("GROS", *cible); });
    EXPECT_EQ(erreur.number, runtime::kProviderFailure);
    EXPECT_TRUE(erreur.description.starts_with("copie de la table GROS : ligne ")) << erreur.description;
  }
  EXPECT_EQ(Compte(*source, "GROS"), 60000);
  const auto bilan = source->VerifieCopie("GROS", *cible);
  EXPECT_GT(bilan.lignesCible, 0);
  EXPECT_LT(bilan.lignesCible, 60000);
  EXPECT_EQ(bilan.differences, 60000 - bilan.lignesCible);
}

TEST(CopieDifficile, ACopyThatIsAskedToStopDoesSoWithin200MsAndBetweenTwoRows) {
  GrosseSource source(400000);
  BaseOuverte cible(BackendNomme("MariaDb"));
  cible.Cree(CibleUnique());
  std::chrono::steady_clock::time_point demande;
  db::CopieOptions options;
  options.progression = [&](std::int64_t) {
    demande = std::chrono::steady_clock::now();
    return false;
  };
  const auto bilan = source->CopieDonnees("GROS", *cible, options);
  const auto arret = std::chrono::steady_clock::now() - demande;
  EXPECT_TRUE(bilan.arretee);
  EXPECT_LT(bilan.ecrites, 400000);
  EXPECT_EQ(Compte(*cible, "GROS"), bilan.ecrites);
  EXPECT_LT(arret, std::chrono::milliseconds(200));
}

TEST(CopieDifficile, LongTextsAndBytesAreCopiedPieceByPiece) {
  BaseOuverte source(BackendNomme("Sqlite"));
  const std::vector<Champ> champs = {{"ID", ado::adInteger, 4}, {"M", ado::adLongVarWChar}, {"B", ado::adLongVarBinary}};
  auto definition = Table("LONG", champs);
  definition->AddIdx("PK", "ID", true, true);
  source.Cree(std::move(definition));
  std::string memo;
  while (memo.size() < (5 << 20)) memo += "été œuf € 😀 ";
  auto rs = source->OpenRecordSet("SELECT * FROM [LONG]", 2);
  for (int i = 1; i <= 3; ++i) {
    rs.AddNew();
    rs.Fields("ID").Value(i);
    rs.Fields("M").Value(i == 2 ? memo : "court");
    rs.Fields("B").Value(runtime::Bytes(i == 2 ? 3 << 20 : 10, std::byte{static_cast<unsigned char>(i)}));
    rs.Update();
  }
  rs.Close();
  BaseOuverte cible(BackendNomme("MariaDb"));
  cible.Cree(Table("LONG", champs));
  EXPECT_EQ(source->CopieDonnees("LONG", *cible).ecrites, 3);
  const auto bilan = source->VerifieCopie("LONG", *cible);
  EXPECT_TRUE(bilan.Egales()) << bilan.premiereDifference;
}

TEST(CopieDifficile, AMissingTableIsAnErrorAndCreatesNothing) {
  BaseOuverte source(BackendNomme("Sqlite"));
  BaseOuverte cible(BackendNomme("MariaDb"));
  EXPECT_EQ(runtime::IgnoringErrors([&] { (void)source->CopieDonnees("RIEN", *cible); }).number, 9);
  EXPECT_FALSE(cible->ExisteTbl("RIEN"));
}

TEST(CopieDifficile, AFailedTransactionOfTheCallerLeavesNothing) {
  GrosseSource source(3000);
  BaseOuverte cible(BackendNomme("MariaDb"));
  cible.Cree(CibleUnique());
  cible->BeginTrans();
  EXPECT_EQ(source->CopieDonnees("GROS", *cible).ecrites, 3000);
  cible->RollBack();
  EXPECT_EQ(Compte(*cible, "GROS"), 0);
}

}  // namespace
}  // namespace tamlo::tests
