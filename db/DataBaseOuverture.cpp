#include "db/DataBase.h"
#include "db/Environnement.h"
#include "runtime/Error.h"
#include "support/Support.h"

namespace tamlo::db {

namespace {

const char* ProviderTyp(std::int16_t typ) {
  switch (typ) {
    case TypJet:
      return "Microsoft.Jet.OLEDB.4.0";
    case TypSqlServer:
      return "sqloledb";
    case TypOracle:
      return "OraOLEDB.Oracle";
    case TypMySql:
      return "MSDASQL.1";
    default:
      return "MSDASQL";
  }
}

std::string MessageRefus(const runtime::PendingError& erreur, std::int16_t typ) {
  switch (erreur.number) {
    case runtime::kFileInUseExclusively:
    case runtime::kFileInUse:
    case runtime::kDatabaseInUse:
      return "La base est en cours de définition par un autre poste";
    case runtime::kProviderFailure:
      if (typ == TypOracle) return "Utilisateur ou mot de passe incorrect";
      break;
    default:
      break;
  }
  return "La base est incorrecte. Erreur " + std::to_string(erreur.number) + " (" + erreur.description + ")";
}

}  // namespace

bool DataBase::Ouvre(const std::string& nom, std::int16_t typ, bool avecMvt) {
  nom_ = nom;
  typ_ = typ;
  avecMvt_ = avecMvt;
  // A catalog of an earlier opening still looks at the connection of that time.
  if (catalogue_ && !precedente_) precedente_ = std::move(connexion_);
  connexion_ = std::make_unique<ado::Connection>();
  connexion_->Provider(ProviderTyp(typ));

  auto erreur = runtime::IgnoringErrors([&] { OuvreConnexion(); });
  if (typ == TypMySql) {
    const auto curseur = runtime::IgnoringErrors([&] { connexion_->CursorLocation(ado::adUseClient); });
    if (curseur) erreur = curseur;
  }
  if (erreur) {
    constexpr std::int16_t kExclamation = 48;
    support::Msg(MessageRefus(erreur, typ), kExclamation, "Impossible d'ouvrir la base <" + nom_ + ">");
    connexion_.reset();
    return false;
  }
  InitialiseOuverture();
  return true;
}

void DataBase::OuvreConnexion() {
  if (typ_ == TypJet) {
    connexion_->Open(nom_, "", "");
    return;
  }
  const Environnement& environnement = EnvironnementCourant();
  const bool connecte = support::EstVide(environnement.nomLogin);
  const std::string utilisateur = connecte ? environnement.nomUtlConnecte() : environnement.nomLogin;
  const std::string motPasse = connecte ? environnement.pwdUtlConnecte() : environnement.pwdLogin;
  connexion_->Open(typ_ == TypSqlServer ? "Initial Catalog=" + nom_ + ";" : nom_, utilisateur, motPasse);
}

void DataBase::InitialiseOuverture() {
  // Each step is left at its first failure, silently, and the next one goes on.
  constexpr std::int16_t kVerrous = 12000;
  if (typ_ == TypJet) runtime::IgnoringErrors([&] { connexion_->Property("Jet OLEDB:Max Locks Per File", kVerrous); });
  if (typ_ == TypOracle) runtime::IgnoringErrors([&] { ExecuteSQL("ALTER SESSION SET NLS_SORT=BINARY"); });
  runtime::IgnoringErrors([&] {
    catalogue_ = std::make_unique<ado::Catalog>(*connexion_);
    precedente_.reset();
  });
  runtime::IgnoringErrors([&] { ChargeListeTbl(); });
  runtime::IgnoringErrors([&] { ChargeListeRlt(); });
  runtime::IgnoringErrors([&] { TesteFormatDate(); });
}

}  // namespace tamlo::db
