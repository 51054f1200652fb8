// The first opening of a database, ended by force before every statement and every write, by the death of the program or of the server, and
// beside a second program that opens at the same time: the next opening has the whole catalog. What it has is read by other ways than the
// layer's: the server's own tables, the engine's rows.
#include <dlfcn.h>
#include <gmock/gmock.h>
#include <sql.h>
#include <sqlext.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#include <cstdlib>
#include <functional>
#include <random>

#include "ado/odbc/OdbcProvider.h"
#include "db/Environnement.h"
#include "jet/Database.h"
#include "jet/table/Table.h"
#include "runtime/Conversions.h"
#include "tests/backends/Backend.h"
#include "tests/support_lib/FakePlatform.h"
#include "tests/support_lib/MariaDbServer.h"

namespace {

// Counts down to the call before which the blow falls; 0: none.
int appels = 0;
int coupAvant = 0;
std::function<void()> coup;

void Appel() {
  if (++appels == coupAvant && coup) coup();
}

template <typename Fonction>
Fonction* Vraie(const char* nom) {
  return reinterpret_cast<Fonction*>(::dlsym(RTLD_NEXT, nom));
}

}  // namespace

// These stand before the functions of those names of the driver manager and the system library.
extern "C" SQLRETURN SQL_API SQLExecDirectW(SQLHSTMT statement, SQLWCHAR* text, SQLINTEGER length) {
  static const auto vraie = Vraie<SQLRETURN(SQLHSTMT, SQLWCHAR*, SQLINTEGER)>("SQLExecDirectW");
  Appel();
  return vraie(statement, text, length);
}
extern "C" SQLRETURN SQL_API SQLExecute(SQLHSTMT statement) {
  static const auto vraie = Vraie<SQLRETURN(SQLHSTMT)>("SQLExecute");
  Appel();
  return vraie(statement);
}
extern "C" SQLRETURN SQL_API SQLEndTran(SQLSMALLINT type, SQLHANDLE handle, SQLSMALLINT completion) {
  static const auto vraie = Vraie<SQLRETURN(SQLSMALLINT, SQLHANDLE, SQLSMALLINT)>("SQLEndTran");
  Appel();
  return vraie(type, handle, completion);
}
extern "C" ssize_t pwrite(int descriptor, const void* bytes, size_t size, off_t offset) {
  Appel();
  return ::syscall(SYS_pwrite64, descriptor, bytes, size, offset);
}
extern "C" int fsync(int descriptor) {
  Appel();
  return static_cast<int>(::syscall(SYS_fsync, descriptor));
}
extern "C" int unlink(const char* path) noexcept {
  Appel();
  return static_cast<int>(::syscall(SYS_unlink, path));
}

namespace tamlo::tests {
namespace {

constexpr int kTables = 4;
constexpr int kChamps = 3;

void Connecte(const Backend& backend) {
  auto& environnement = db::EnvironnementCourant();
  environnement.nomLogin = backend.Utilisateur();
  environnement.pwdLogin = backend.MotDePasse();
}

/// Opens and closes as a program of its own; its status tells a failure.
int Ouverture(const std::string& nom, std::int16_t kind) {
  FakePlatform plateforme;
  db::DataBase base;
  const bool ouverte = base.Ouvre(nom, kind, true);
  base.Ferme();
  return ouverte ? 0 : 1;
}

pid_t Programme(const std::string& nom, std::int16_t kind, int avant) {
  const pid_t enfant = ::fork();
  if (enfant != 0) return enfant;
  appels = 0;
  coupAvant = avant;
  coup = [] { ::kill(::getpid(), SIGKILL); };
  ::_exit(Ouverture(nom, kind));
}

/// True when the program was killed.
bool Attend(pid_t enfant) {
  int etat = 0;
  EXPECT_EQ(::waitpid(enfant, &etat, 0), enfant);
  if (WIFSIGNALED(etat)) EXPECT_EQ(WTERMSIG(etat), SIGKILL);
  return WIFSIGNALED(etat);
}

std::string NomTable(int i) { return "T" + std::to_string(i); }

/// A file with tables of three fields and an index, and without a catalog.
std::string FichierNeuf(Backend& backend) {
  const std::string nom = backend.BaseVide();
  const auto fichier = jet::Database::Open(nom);
  jet::Transaction ensemble(*fichier);
  for (int i = 0; i < kTables; ++i) {
    jet::TableSpec table;
    table.name = NomTable(i);
    for (int champ = 0; champ < kChamps; ++champ) {
      table.columns.emplace_back();
      table.columns.back().name = "C" + std::to_string(champ);
      table.columns.back().type = jet::ColumnType::kLong;
    }
    table.indexes.push_back({"IX", {{"C1"}, {"C0"}}, false, true});
    (void)fichier->CreateTable(table);
  }
  ensemble.Commit();
  return nom;
}

/// What the engine itself finds missing.
std::string ManqueAccess(const std::string& nom) {
  std::string manque;
  const auto fichier = jet::Database::Open(nom);
  for (const auto& defaut : fichier->Check()) manque += defaut.text + "\n";
  const auto compte = [&](const char* table, std::uint32_t lignes) {
    if (fichier->FindObject(table) == nullptr) {
      manque += std::string(table) + " is not there\n";
      return;
    }
    auto& ouverte = fichier->OpenTable(table);
    if (ouverte.RowCount() != lignes) manque += std::string(table) + " has " + std::to_string(ouverte.RowCount()) + " rows\n";
    if (!ouverte.PrimaryKey()) manque += std::string(table) + " has no key\n";
  };
  compte("$TBLKORV$", kTables);
  compte("$FLDKORV$", kTables * kChamps);
  compte("$IDXKORV$", kTables);
  compte("$RLTKORV$", 0);
  return manque;
}

/// What a program that died has left of a catalog that is made whole or not at all.
std::string ResteAccess(const std::string& nom) {
  const auto fichier = jet::Database::Open(nom);
  std::string reste;
  for (const auto& [table, lignes] :
       {std::pair{"$TBLKORV$", kTables}, std::pair{"$FLDKORV$", kTables * kChamps}, std::pair{"$IDXKORV$", kTables}}) {
    if (fichier->FindObject(table) == nullptr) continue;
    reste += std::string(table) + (fichier->OpenTable(table).RowCount() == static_cast<std::uint32_t>(lignes) ? " " : " without its rows ");
  }
  return reste;
}

/// The private server of these tests, and databases in it.
class Serveur {
 public:
  [[nodiscard]] std::string BaseNeuve() {
    base_ = "tue" + std::to_string(++numero_);
    Execute("CREATE DATABASE " + base_, "tamlo");
    for (int i = 0; i < kTables; ++i) {
      Execute("CREATE TABLE " + NomTable(i) + " (C0 INT, C1 INT, C2 INT, UNIQUE KEY IX (C1,C0))", base_);
    }
    return serveur_.ConnectionString(base_);
  }
  void Execute(const std::string& texte, const std::string& base) {
    ado::Connection connexion;
    Ouvre(connexion, base);
    connexion.Execute(texte);
  }
  /// What the server's own tables say is missing.
  [[nodiscard]] std::string Manque() {
    ado::Connection connexion;
    Ouvre(connexion, base_);
    std::string manque;
    const auto compte = [&](const std::string& quoi, const std::string& sql, int attendu) {
      ado::Recordset rs;
      const auto refus = runtime::IgnoringErrors([&] {
        rs.Open(sql, &connexion, ado::adOpenForwardOnly, ado::adLockUnspecified, ado::adOptionUnspecified);
        const auto compte = runtime::ToInt32(rs.Fields(0).Value());
        if (compte != attendu) manque += quoi + ": " + std::to_string(compte) + " and not " + std::to_string(attendu) + "\n";
      });
      if (refus) manque += quoi + ": " + refus.description + "\n";
    };
    const std::string champs = " FROM information_schema.columns c WHERE c.table_schema=DATABASE() AND c.table_name NOT LIKE '%KORV$'";
    compte("fields", "SELECT COUNT(*)" + champs, kTables * kChamps + 1);
    compte("rows of fields", "SELECT COUNT(*) FROM `$FLDKORV$`", kTables * kChamps + 1);
    compte("fields in the catalog",
           "SELECT COUNT(*)" + champs +
               " AND EXISTS (SELECT * FROM `$FLDKORV$` f WHERE f.`TABLE`=c.table_name AND f.`NOM`=c.column_name AND "
               "f.`NO`=c.ordinal_position-1)",
           kTables * kChamps + 1);
    compte("rows of tables", "SELECT COUNT(*) FROM `$TBLKORV$`", kTables + 1);
    compte("rows of indexes", "SELECT COUNT(*) FROM `$IDXKORV$`", kTables + 1);
    compte("index of the probe",
           "SELECT COUNT(*) FROM information_schema.statistics WHERE table_schema=DATABASE() AND table_name='TEST_DT'", 1);
    compte("keys of the catalog",
           "SELECT COUNT(*) FROM information_schema.table_constraints WHERE table_schema=DATABASE() AND table_name LIKE '%KORV$' AND "
           "constraint_type='PRIMARY KEY'",
           4);
    return manque;
  }
  void Tue() { serveur_.Kill(); }
  void Releve() { serveur_.Restart(); }

 private:
  void Ouvre(ado::Connection& connexion, const std::string& base) {
    connexion.Provider("MSDASQL.1");
    connexion.Open(serveur_.ConnectionString(base), "tamlo", "tamlo");
  }
  MariaDbServer serveur_;
  std::string base_;
  int numero_ = 0;
};

Serveur& LeServeur() {
  ado::odbc::RegisterOdbcProviders();
  static Serveur serveur;
  Connecte(BackendNomme("MariaDb"));
  return serveur;
}

TEST(CatalogueTue, OnAccessAProgramThatDiesAtAnyWriteLeavesNoHalfCatalog) {
  Backend& backend = BackendNomme("Jet");
  Connecte(backend);
  bool tue = true;
  int avant = 0;
  while (tue) {
    const std::string nom = FichierNeuf(backend);
    tue = Attend(Programme(nom, db::TypJet, ++avant));
    EXPECT_THAT(ResteAccess(nom), testing::AnyOf("", "$TBLKORV$ $FLDKORV$ $IDXKORV$ ")) << "killed before write " << avant;
    EXPECT_EQ(Ouverture(nom, db::TypJet), 0) << avant;
    EXPECT_EQ(ManqueAccess(nom), "") << "killed before write " << avant;
    ASSERT_LT(avant, 2000);
  }
  EXPECT_GT(avant, 20);
  std::printf("killed before each of %d writes, syncs and removals\n", avant - 1);
}

TEST(CatalogueTue, OnMariaDbAProgramThatDiesAtAnyStatementLeavesNoHalfCatalog) {
  Serveur& serveur = LeServeur();
  bool tue = true;
  int avant = 0;
  while (tue) {
    const std::string nom = serveur.BaseNeuve();
    tue = Attend(Programme(nom, db::TypMySql, ++avant));
    EXPECT_EQ(Ouverture(nom, db::TypMySql), 0) << avant;
    EXPECT_EQ(serveur.Manque(), "") << "killed before statement " << avant;
    ASSERT_LT(avant, 500);
  }
  EXPECT_GT(avant, 20);
  std::printf("killed before each of %d statements\n", avant - 1);
}

TEST(CatalogueTue, OnMariaDbAServerThatDiesAtAnyStatementLeavesNoHalfCatalog) {
  Serveur& serveur = LeServeur();
  bool tue = true;
  int avant = 0;
  while (tue) {
    const std::string nom = serveur.BaseNeuve();
    tue = false;
    appels = 0;
    coupAvant = ++avant;
    coup = [&] {
      serveur.Tue();
      tue = true;
    };
    (void)Ouverture(nom, db::TypMySql);
    coupAvant = 0;
    if (tue) serveur.Releve();
    EXPECT_EQ(Ouverture(nom, db::TypMySql), 0) << avant;
    EXPECT_EQ(serveur.Manque(), "") << "server killed before statement " << avant;
    ASSERT_LT(avant, 500);
  }
  EXPECT_GT(avant, 20);
  std::printf("server killed before each of %d statements\n", avant - 1);
}

/// Two programs open at once; in every other round one of them is killed at a random call.
template <typename Neuf, typename Manque>
void DeuxALaFois(std::int16_t kind, int tours, Neuf neuf, Manque manque) {
  std::mt19937 hasard(20261122);
  int tues = 0;
  for (int tour = 0; tour < tours; ++tour) {
    const std::string nom = neuf();
    const int avant = tour % 2 == 0 ? 0 : 1 + static_cast<int>(hasard() % 60);
    const pid_t un = Programme(nom, kind, avant);
    if (tour % 3 != 0) ::usleep(static_cast<useconds_t>(hasard() % 20000));
    const pid_t autre = Programme(nom, kind, 0);
    tues += Attend(un) ? 1 : 0;
    EXPECT_FALSE(Attend(autre));
    EXPECT_EQ(Ouverture(nom, kind), 0);
    EXPECT_EQ(manque(nom), "") << "round " << tour << ", killed before " << avant;
  }
  EXPECT_GT(tues, 0);
  std::printf("%d rounds of two programs, %d killed\n", tours, tues);
}

TEST(CatalogueTue, OnAccessTwoProgramsThatOpenFirstAtOnceLeaveTheWholeCatalog) {
  Backend& backend = BackendNomme("Jet");
  Connecte(backend);
  DeuxALaFois(
      db::TypJet, 40, [&] { return FichierNeuf(backend); }, ManqueAccess);
}

TEST(CatalogueTue, OnMariaDbTwoProgramsThatOpenFirstAtOnceLeaveTheWholeCatalog) {
  Serveur& serveur = LeServeur();
  DeuxALaFois(
      db::TypMySql, 40, [&] { return serveur.BaseNeuve(); }, [&](const std::string&) { return serveur.Manque(); });
}

}  // namespace
}  // namespace tamlo::tests
