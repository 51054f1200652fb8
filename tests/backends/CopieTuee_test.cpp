#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <random>
#include <thread>

#include "ado/odbc/OdbcProvider.h"
#include "db/DataBase.h"
#include "db/Environnement.h"
#include "runtime/Conversions.h"
#include "runtime/Error.h"
#include "tests/support_lib/FakePlatform.h"
#include "tests/support_lib/MariaDbServer.h"
#include "tests/support_lib/Seed.h"
#include "tests/support_lib/TemporaryFolder.h"

namespace tamlo::tests {
namespace {

constexpr std::int64_t kLignes = 60000;
constexpr int kMorts = 30;

/// A source of 60,000 rows on SQLite and a MariaDB server of its own that dies at moments of chance. The target has no key: a row that came
/// twice would stand there twice.
class CopieTuee : public ::testing::Test {
 protected:
  CopieTuee() {
    ado::odbc::RegisterOdbcProviders();
    db::EnvironnementCourant().nomLogin = "tamlo";
    db::EnvironnementCourant().pwdLogin = "tamlo";
    EXPECT_TRUE(source.Ouvre("DRIVER={SQLite3};DATABASE=" + dossier.File("source.db"), db::TypOdbc, true));
    source.Connexion().Execute("CREATE TABLE GROS (ID INTEGER, NOM VARCHAR(40))");
    source.Connexion().Execute("INSERT INTO GROS WITH RECURSIVE N(I) AS (SELECT 1 UNION ALL SELECT I+1 FROM N WHERE I<" +
                               std::to_string(kLignes) + ") SELECT I, 'ligne ' || I FROM N");
    source.Ferme();
    EXPECT_TRUE(source.Ouvre("DRIVER={SQLite3};DATABASE=" + dossier.File("source.db"), db::TypOdbc, true));
  }
  ~CopieTuee() override {
    source.Ferme();
    db::EnvironnementCourant().nomLogin.clear();
    db::EnvironnementCourant().pwdLogin.clear();
  }

  static std::int64_t Nombre(db::DataBase& base, const std::string& sql) {
    auto rs = base.OpenRecordSet(sql, 0);
    return runtime::ToInt32(rs.Fields(0).Value());
  }

  FakePlatform platform;
  TemporaryFolder dossier;
  MariaDbServer serveur;
  db::DataBase source;
};

TEST_F(CopieTuee, GoesOnWhereItBrokeOffAndGivesEachRowOnce) {
  const unsigned graine = Seed();
  RecordProperty("seed", std::to_string(graine));
  std::mt19937 hasard(graine);
  auto cible = std::make_unique<db::DataBase>();
  ASSERT_TRUE(cible->Ouvre(serveur.ConnectionString(), db::TypMySql, true));
  cible->Connexion().Execute("CREATE TABLE GROS (ID INT, NOM VARCHAR(40))");
  cible->Ferme();
  ASSERT_TRUE(cible->Ouvre(serveur.ConnectionString(), db::TypMySql, true));
  const auto debutEssai = std::chrono::steady_clock::now();
  (void)source.CopieDonnees("GROS", *cible);
  const auto duree = std::chrono::duration_cast<std::chrono::microseconds>(std::chrono::steady_clock::now() - debutEssai);
  cible->Connexion().Execute("DELETE FROM GROS");

  int morts = 0;
  int douteuses = 0;
  for (std::int64_t debut = 0; morts < kMorts;) {
    db::CopieOptions options;
    options.debut = debut;
    const auto attente = std::chrono::microseconds(std::uniform_int_distribution<std::int64_t>(0, duree.count())(hasard));
    std::thread tueur([&] {
      std::this_thread::sleep_for(attente);
      serveur.Kill();
    });
    bool finie = false;
    std::int64_t moins = kLignes;
    std::int64_t plus = kLignes;
    std::string texte;
    try {
      const db::CopieBilan bilan = source.CopieDonnees("GROS", *cible, options);
      EXPECT_EQ(bilan.lues, kLignes);
      EXPECT_EQ(bilan.ecrites, kLignes - debut);
      finie = true;
    } catch (const db::ErreurCopie& erreur) {
      moins = erreur.AuMoins();
      plus = erreur.AuPlus();
      texte = erreur.Description();
      EXPECT_EQ(erreur.Number(), runtime::kProviderFailure);
      EXPECT_TRUE(texte.starts_with("copie de la table GROS : ")) << texte;
      if (moins != plus) {
        ++douteuses;
        EXPECT_NE(texte.find("au moins " + std::to_string(moins) + ", au plus " + std::to_string(plus)), std::string::npos) << texte;
      }
    } catch (const runtime::Error& erreur) {
      // Before the first row: the target was dead when it was asked for its table.
      moins = plus = debut;
      texte = erreur.Description();
    }
    tueur.join();
    ++morts;
    runtime::IgnoringErrors([&] { cible->Ferme(); });
    serveur.Restart();
    cible = std::make_unique<db::DataBase>();
    ASSERT_TRUE(cible->Ouvre(serveur.ConnectionString(), db::TypMySql, true));
    const std::int64_t presentes = Nombre(*cible, "SELECT COUNT(*) FROM [GROS]");
    EXPECT_GE(presentes, moins) << texte;
    EXPECT_LE(presentes, plus) << texte;
    EXPECT_EQ(Nombre(*cible, "SELECT COUNT(DISTINCT [ID]) FROM [GROS]"), presentes) << "a row twice, after " << texte;
    EXPECT_EQ(presentes == 0 ? 0 : Nombre(*cible, "SELECT MAX([ID]) FROM [GROS]"), presentes) << "a gap, after " << texte;
    debut = presentes;
    if (finie) {
      EXPECT_EQ(presentes, kLignes);
      cible->Connexion().Execute("DELETE FROM GROS");
      debut = 0;
    }
  }
  // And to its end.
  cible->Connexion().Execute("DELETE FROM GROS WHERE ID > 12345");
  const std::int64_t la = Nombre(*cible, "SELECT COUNT(*) FROM [GROS]");
  db::CopieOptions options;
  options.debut = la;
  (void)source.CopieDonnees("GROS", *cible, options);
  EXPECT_TRUE(source.VerifieCopie("GROS", *cible).Egales());
  RecordProperty("in doubt", douteuses);
  cible->Ferme();
}

TEST_F(CopieTuee, SaysTheFirstCause) {
  db::DataBase cible;
  ASSERT_TRUE(cible.Ouvre(serveur.ConnectionString(), db::TypMySql, true));
  cible.Connexion().Execute("CREATE TABLE GROS (ID INT, NOM VARCHAR(40))");
  cible.Ferme();
  ASSERT_TRUE(cible.Ouvre(serveur.ConnectionString(), db::TypMySql, true));
  db::CopieOptions options;
  options.progression = [&, tue = false](std::int64_t) mutable {
    if (!tue) serveur.Kill();
    tue = true;
    return true;
  };
  try {
    (void)source.CopieDonnees("GROS", cible, options);
    FAIL() << "no error";
  } catch (const db::ErreurCopie& erreur) {
    EXPECT_EQ(erreur.Number(), runtime::kProviderFailure);
    EXPECT_GE(erreur.AuPlus(), erreur.AuMoins());
    // 2006 and 2013: the server has gone, not what is refused on a connection that is known to be dead.
    EXPECT_TRUE(erreur.NativeCode() == 2006 || erreur.NativeCode() == 2013) << erreur.NativeCode() << " " << erreur.Description();
    EXPECT_TRUE(erreur.Description().starts_with("copie de la table GROS : ligne ")) << erreur.Description();
  }
  runtime::IgnoringErrors([&] { cible.Ferme(); });
}

}  // namespace
}  // namespace tamlo::tests
