// The tool's save on a real MariaDB that dies, stands still, or ends the tool's connection, before and after every statement that the save
// sends; read by the mariadb client alone.
#include <gtest/gtest.h>

#include <array>
#include <cstdio>
#include <filesystem>
#include <functional>
#include <thread>

#include "app/Demarrage.h"
#include "app/LigneCommande.h"
#include "ado/odbc/OdbcProvider.h"
#include "app/TableCode.h"
#include "tests/attaque/Graines.h"
#include "tests/support_lib/FakePlatform.h"
#include "tests/support_lib/MariaDbServer.h"
#include "tests/support_lib/StatementCalls.h"

namespace tamlo::attaque {
namespace {

using tests::Side;

struct Fin {
  int statut = 0;
  std::string messages;  ///< what the operator was shown
};

class SauveTuee : public testing::Test {
 protected:
  SauveTuee() {
    ado::odbc::RegisterOdbcProviders();
    app::BrancheCouche(std::filesystem::current_path().string());
    app::InitTableCode();
    code_ = app::CodePwd("tamlo");
    app::LibereTableCode();
  }

  std::string Client(const std::string& base, const std::string& sql) {
    const std::string commande =
        "mariadb --no-defaults -N -B -S " + serveur.Socket() + " -u tamlo -ptamlo " + base + " -e \"" + sql + "\" 2>&1";
    FILE* sortie = ::popen(commande.c_str(), "r");
    std::string texte;
    std::array<char, 4096> morceau{};
    for (std::size_t lus = 0; (lus = std::fread(morceau.data(), 1, morceau.size(), sortie)) > 0;) texte.append(morceau.data(), lus);
    EXPECT_EQ(::pclose(sortie), 0) << sql << "\n" << texte;
    return texte;
  }

  std::string Volumes() {
    const std::string base = "v" + std::to_string(++bases_);
    Client("", "CREATE DATABASE " + base);
    Client(base,
           "CREATE TABLE UTL (IDUTL INT NOT NULL PRIMARY KEY, NOM VARCHAR(30), MOTPASSE VARCHAR(10) COLLATE utf8mb4_bin);"
           "CREATE TABLE VLMUTL (IDUTL INT NOT NULL, IDVLM INT NOT NULL, NIVEAU SMALLINT, PRIMARY KEY (IDUTL, IDVLM));"
           "INSERT INTO UTL VALUES (41,'AUTRE','x'); INSERT INTO VLMUTL VALUES (41,12,1)");
    return base;
  }

  /// Runs the tool; the blow falls while OK is being pressed.
  Fin Outil(const std::string& base, const std::string& motPasse, int appel, Side cote, const std::function<void()>& coup) {
    tests::FakePlatform platform;
    platform.whileRunning = [&] {
      tests::ArmCall(appel, cote, coup);
      platform.Form().PressEnter();
      tests::DisarmCall();
    };
    app::LigneCommande("\"" + serveur.ConnectionString(base) + "\" 3 12 DUPONT 3 " + motPasse + " tamlo " + code_);
    Fin fin;
    fin.statut = app::ExecuteProgramme();
    tests::DisarmCall();
    for (const auto& message : platform.messages) fin.messages += message.title + ": " + message.text + "\n";
    return fin;
  }
  Fin Outil(const std::string& base, const std::string& motPasse = "secret") { return Outil(base, motPasse, 0, Side::kBefore, {}); }

  /// The user and the link as they stand; "perdu" where the other user's rows are not as they were.
  std::string Etat(const std::string& base) {
    return Client(
        base,
        "SELECT CONCAT(IDUTL,' ',NOM,' ',HEX(MOTPASSE)) FROM UTL WHERE IDUTL<>41; SELECT CONCAT('lien ',V.IDUTL,' ',V.IDVLM,' ',V.NIVEAU) "
        "FROM VLMUTL V WHERE V.IDUTL<>41; SELECT 'perdu' FROM DUAL WHERE NOT EXISTS (SELECT * FROM UTL U JOIN VLMUTL V USING (IDUTL) "
        "WHERE IDUTL=41 AND NOM='AUTRE' AND MOTPASSE='x' AND NIVEAU=1 AND IDVLM=12)");
  }

  /// The blow at each call on both sides of it, until the save has no more calls. connu: the user is there already with another password.
  void Partout(const std::function<void()>& frappe, const std::function<void()>& releve, bool connu, bool survit = false) {
    const std::string modele = Volumes();
    ASSERT_EQ(Outil(modele).statut, 0);
    const std::string entier = Etat(modele);
    const std::string sansLien = entier.substr(0, entier.find('\n') + 1);
    int coups = 0;
    int sansLiens = 0;
    int rien = 0;
    for (const Side cote : {Side::kBefore, Side::kAfter}) {
      for (int place = 1;; ++place) {
        ASSERT_LT(place, 200);
        if (Saute(place)) continue;
        const std::string ou = std::string(cote == Side::kAfter ? "after" : "before") + " call " + std::to_string(place);
        const std::string base = Volumes();
        if (connu) (void)Outil(base, "ancien");
        const std::string ancien = Etat(base);
        const Fin fin = Outil(base, "secret", place, cote, frappe);
        if (!tests::BlowFallen()) {
          EXPECT_EQ(Etat(base), entier);
          break;
        }
        ++coups;
        releve();
        const std::string trouve = Etat(base);
        EXPECT_TRUE(trouve == entier || trouve == ancien || (!connu && trouve == sansLien)) << ou << "\n" << trouve;
        // What the operator sees is true: no box and status 0 only when all is there.
        EXPECT_EQ(fin.statut, fin.messages.empty() ? 0 : 1) << ou << "\n" << fin.messages;
        EXPECT_TRUE(fin.statut != 0 || trouve == entier) << ou << "\n" << trouve;
        EXPECT_TRUE(fin.statut == 0 || !survit) << ou << "\n" << fin.messages;
        sansLiens += trouve == sansLien ? 1 : 0;
        rien += trouve == ancien ? 1 : 0;
        // Run again it is whole.
        const Fin encore = Outil(base);
        EXPECT_EQ(encore.statut, 0) << ou << encore.messages;
        EXPECT_EQ(Etat(base), entier) << ou;
      }
    }
    EXPECT_GE(coups, Secondes() > 0 ? 20 : 2);
    std::printf("%d blows: %d times as before, %d times the user without its link, %d times whole\n", coups, rien, sansLiens,
                coups - rien - sansLiens);
  }

  /// The long run goes everywhere; the short one, where each blow costs a start of the server, to every few places.
  [[nodiscard]] bool Saute(int place) const { return Secondes() == 0 && place % pasCourt_ != 1 % pasCourt_; }

  void Rompt() {
    Client(
        "",
        "SELECT CONCAT('KILL ',ID) INTO @k FROM information_schema.processlist WHERE DB LIKE 'v%' AND ID<>CONNECTION_ID(); EXECUTE IMMEDIATE @k");
  }

  tests::MariaDbServer serveur;
  std::string code_;
  int pasCourt_ = 1;
  int bases_ = 0;
};

TEST_F(SauveTuee, ANewUserWhoseConnectionEnds) {
  pasCourt_ = 4;
  Partout([this] { Rompt(); }, [] {}, false);
}
TEST_F(SauveTuee, AKnownUserWhoseConnectionEnds) {
  pasCourt_ = 6;
  Partout([this] { Rompt(); }, [] {}, true);
}
TEST_F(SauveTuee, ANewUserWhoseServerDies) {
  pasCourt_ = 9;
  Partout([this] { serveur.Kill(); }, [this] { serveur.Restart(); }, false);
}
TEST_F(SauveTuee, AKnownUserWhoseServerDies) {
  pasCourt_ = 9;
  Partout([this] { serveur.Kill(); }, [this] { serveur.Restart(); }, true);
}
TEST_F(SauveTuee, AUserWhoseServerStandsStillForAWhile) {
  pasCourt_ = 9;
  std::thread veille;
  Partout(
      [&] {
        serveur.Stop();
        veille = std::thread([this] {
          std::this_thread::sleep_for(std::chrono::milliseconds(150));
          serveur.Continue();
        });
      },
      [&] { veille.join(); }, false, true);
}

}  // namespace
}  // namespace tamlo::attaque
