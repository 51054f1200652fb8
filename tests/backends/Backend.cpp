#include "tests/backends/Backend.h"

#include <gtest/gtest.h>

#include <atomic>
#include <stdexcept>

#include "ado/jet/JetProvider.h"
#include "ado/odbc/OdbcProvider.h"
#include "db/Environnement.h"
#include "jet/Database.h"
#include "tests/support_lib/DialectEngine.h"
#include "tests/support_lib/FakePlatform.h"
#include "tests/support_lib/MariaDbServer.h"
#include "tests/support_lib/PostgresServer.h"

namespace tamlo::tests {

namespace {

/// The engines' statements are checked once, when the tests have run.
class GrammarCheck : public testing::Environment {
 public:
  void TearDown() override {
    for (const DialectEngine* engine : engines) EXPECT_EQ(engine->CheckGrammar(), "");
  }
  std::vector<const DialectEngine*> engines;
};

GrammarCheck& Grammar() {
  // GoogleTest owns it.
  static auto* const check = static_cast<GrammarCheck*>(testing::AddGlobalTestEnvironment(new GrammarCheck));
  return *check;
}

std::string NouveauNom() {
  static std::atomic<int> compteur = 0;
  return "b" + std::to_string(++compteur);
}

class SurMariaDb final : public Backend {
 public:
  [[nodiscard]] std::string Nom() const override { return "MariaDb"; }
  [[nodiscard]] std::int16_t Kind() const override { return db::TypMySql; }
  [[nodiscard]] Capacites Capacite() const override {
    Capacites capacites;
    capacites.clePrimaire = true;
    capacites.sondeDates = true;
    capacites.nomPrimary = true;
    capacites.indexDescendant = false;
    capacites.booleenFaux = false;
    return capacites;
  }
  [[nodiscard]] std::string Utilisateur() const override { return "tamlo"; }
  [[nodiscard]] std::string MotDePasse() const override { return "tamlo"; }
  [[nodiscard]] std::vector<std::string> NomsRefuses() const override { return {"X`Y"}; }
  [[nodiscard]] std::string TexteSupTableBrut(const std::string& nom) const override { return "DROP TABLE `" + nom + "`"; }
  [[nodiscard]] std::string BaseVide() override {
    if (!serveur_) serveur_ = std::make_unique<MariaDbServer>();
    const std::string base = NouveauNom();
    ado::Connection connexion;
    connexion.Provider("MSDASQL.1");
    connexion.Open(serveur_->ConnectionString(), "tamlo", "tamlo");
    connexion.Execute("CREATE DATABASE " + base);
    return serveur_->ConnectionString(base);
  }

 private:
  std::unique_ptr<MariaDbServer> serveur_;
};

class SurSqlite final : public Backend {
 public:
  [[nodiscard]] std::string Nom() const override { return "Sqlite"; }
  [[nodiscard]] std::int16_t Kind() const override { return db::TypOdbc; }
  [[nodiscard]] Capacites Capacite() const override {
    Capacites capacites;
    capacites.creeTables = false;
    capacites.clesEtrangeres = false;
    capacites.longueurs = false;
    return capacites;
  }
  [[nodiscard]] std::string BaseVide() override { return "DRIVER=SQLite3;Database=" + dossier_.File(NouveauNom() + ".db"); }
  [[nodiscard]] std::string TypeBrut(std::int16_t typ, std::int32_t lg) const override {
    switch (typ) {
      case ado::adVarWChar:
        return "VARCHAR(" + std::to_string(lg) + ")";
      case ado::adLongVarWChar:
        return "TEXT";
      case ado::adDate:
        return "TIMESTAMP";
      case ado::adBoolean:
        return "BIT";
      case ado::adUnsignedTinyInt:  // the driver takes every TINYINT for a signed one
      case ado::adSmallInt:
        return "SMALLINT";
      case ado::adInteger:
      case ado::adNumeric:
        return "INTEGER";
      case ado::adSingle:
        return "FLOAT";
      case ado::adDouble:
      case ado::adCurrency:
        return "DOUBLE";
      case ado::adLongVarBinary:
        return "BLOB";
      default:
        throw std::invalid_argument("no column type");
    }
  }

 private:
  TemporaryFolder dossier_;
};

class SurMoteur final : public Backend {
 public:
  explicit SurMoteur(DialectEngine::Dialect dialecte) : dialecte_(dialecte) {}

  [[nodiscard]] std::string Nom() const override { return EstOracle() ? "Oracle" : "SqlServer"; }
  [[nodiscard]] std::int16_t Kind() const override { return EstOracle() ? db::TypOracle : db::TypSqlServer; }
  [[nodiscard]] Capacites Capacite() const override {
    Capacites capacites;
    capacites.indexSimple = EstOracle();
    capacites.indexPrefixes = EstOracle();
    capacites.clesSurIndex = !EstOracle();
    capacites.gardeChampsDeCles = false;
    capacites.numerique131 = EstOracle();
    capacites.transactions = EstOracle();
    capacites.pointsDeReprise = false;
    return capacites;
  }
  [[nodiscard]] std::string Utilisateur() const override { return EstOracle() ? "ADM" : "sa"; }
  [[nodiscard]] std::string MotDePasse() const override { return EstOracle() ? "adm" : "sa"; }
  [[nodiscard]] std::vector<std::string> NomsRefuses() const override { return {"X\"Y"}; }
  [[nodiscard]] std::string BaseVide() override {
    if (!moteur_) {
      moteur_ = std::make_unique<DialectEngine>(dialecte_);
      Grammar().engines.push_back(moteur_.get());
    } else {
      moteur_->Reset();
    }
    return EstOracle() ? "XE" : "VOLUMES";
  }

 private:
  [[nodiscard]] bool EstOracle() const { return dialecte_ == DialectEngine::Dialect::kOracle; }

  DialectEngine::Dialect dialecte_;
  std::unique_ptr<DialectEngine> moteur_;
};

class SurJet final : public Backend {
 public:
  [[nodiscard]] std::string Nom() const override { return "Jet"; }
  [[nodiscard]] std::int16_t Kind() const override { return db::TypJet; }
  [[nodiscard]] Capacites Capacite() const override {
    Capacites capacites;
    capacites.clePrimaire = true;
    capacites.compteurs = true;
    capacites.texteNul = false;
    capacites.booleenNul = false;
    return capacites;
  }
  [[nodiscard]] std::vector<std::string> NomsRefuses() const override { return {"X]Y", "X`Y"}; }
  [[nodiscard]] std::string TexteSupTableBrut(const std::string& nom) const override { return "DROP TABLE [" + nom + "]"; }
  [[nodiscard]] std::string BaseVide() override {
    const std::string nom = dossier_.File(NouveauNom() + ".mdb");
    (void)jet::Database::Create(nom);
    return nom;
  }
  [[nodiscard]] std::string Defauts(const std::string& nom) const override {
    jet::OpenOptions options;
    options.mode = jet::OpenMode::kReadOnly;
    std::string defauts;
    try {
      for (const jet::Finding& defaut : jet::Database::Open(nom, options)->Check()) {
        defauts += nom + " page " + std::to_string(defaut.page) + " offset " + std::to_string(defaut.offset) + ": " + defaut.text + "\n";
      }
    } catch (const jet::Error& erreur) {
      defauts += nom + ": " + erreur.what() + "\n";
    }
    return defauts;
  }

 private:
  TemporaryFolder dossier_;
};

struct Tous {
  SurJet jet;
  SurMariaDb mariaDb;
  SurSqlite sqlite;
  SurMoteur sqlServer{DialectEngine::Dialect::kSqlServer};
  SurMoteur oracle{DialectEngine::Dialect::kOracle};
};

Tous& Ensemble() {
  static Tous tous;
  return tous;
}

}  // namespace

std::vector<Backend*> TousLesBackends() {
  (void)Grammar();
  ado::jetprovider::RegisterJetProvider();
  ado::odbc::RegisterOdbcProviders();
  Tous& tous = Ensemble();
  return {&tous.jet, &tous.mariaDb, &tous.sqlite, &tous.sqlServer, &tous.oracle};
}

Backend& BackendNomme(const std::string& nom) {
  for (Backend* backend : TousLesBackends()) {
    if (backend->Nom() == nom) return *backend;
  }
  throw std::invalid_argument("no backend " + nom);
}

BaseOuverte::BaseOuverte(Backend& backend, const std::string& nom) : backend_(backend), nom_(nom.empty() ? backend.BaseVide() : nom) {
  Ouvre();
}

BaseOuverte::~BaseOuverte() {
  if (ouverte_) Ferme();
}

void BaseOuverte::Ferme() {
  base_.Ferme();
  EXPECT_EQ(backend_.Defauts(nom_), "");
}

void BaseOuverte::Ouvre() {
  auto& environnement = db::EnvironnementCourant();
  environnement.nomLogin = backend_.Utilisateur();
  environnement.pwdLogin = backend_.MotDePasse();
  FakePlatform plateforme;
  ouverte_ = base_.Ouvre(nom_, backend_.Kind(), true);
  if (!ouverte_) throw std::runtime_error(plateforme.messages.at(0).title + " " + plateforme.messages.at(0).text);
}

void BaseOuverte::Rouvre() {
  Ferme();
  Ouvre();
}

db::DbTbl& BaseOuverte::Cree(std::unique_ptr<db::DbTbl> tbl) {
  if (!backend_.Capacite().creeTables) {
    std::string texte = "CREATE TABLE [" + tbl->Nom() + "] (";
    for (std::int16_t i = 0; i < tbl->NbFld(); ++i) {
      const db::DbFld& fld = tbl->ListeFld(std::to_string(i));
      texte += (i > 0 ? ",[" : "[") + fld.Nom() + "] " + backend_.TypeBrut(fld.Typ(), fld.Lg());
    }
    base_.ExecuteSQL(texte + ")");
    for (std::int16_t i = 0; i < tbl->NbIdx(); ++i) {
      const db::DbIdx& idx = tbl->ListeIdx(std::to_string(i));
      texte = std::string("CREATE ") + (idx.Unique() ? "UNIQUE " : "") + "INDEX [" + idx.Nom() + "] ON [" + tbl->Nom() + "] (";
      for (std::int16_t k = 0; k < idx.NbFld(); ++k) texte += (k > 0 ? ",[" : "[") + idx.NomFld(k) + "]";
      base_.ExecuteSQL(texte + ")");
    }
    base_.Catalogue().Refresh();
  }
  return base_.AddTbl(std::move(tbl));
}

std::unique_ptr<db::DbTbl> Table(const std::string& nom, const std::vector<Champ>& champs) {
  auto tbl = std::make_unique<db::DbTbl>();
  tbl->Nom(nom);
  for (const Champ& champ : champs) tbl->AddFld(champ.nom, champ.typ, champ.lg, false);
  return tbl;
}

}  // namespace tamlo::tests
