#include "ado/Secrets.h"
#include "db/DataBase.h"
#include "db/Environnement.h"
#include "runtime/Error.h"
#include "runtime/Secret.h"
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
  erreurs_.clear();
  // The catalog and the recordsets of an earlier opening still look at the connection of that time.
  if (connexion_) precedentes_.push_back(std::move(connexion_));
  connexion_ = std::make_unique<ado::Connection>();
  connexion_->Provider(ProviderTyp(typ));
  connexion_->GeneralNumbers(true);

  auto erreur = runtime::IgnoringErrors([&] { OuvreConnexion(); });
  if (typ == TypMySql) {
    const auto curseur = runtime::IgnoringErrors([&] { connexion_->CursorLocation(ado::adUseClient); });
    if (curseur) erreur = curseur;
  }
  if (erreur) {
    constexpr std::int16_t kExclamation = 48;
    support::Msg(MessageRefus(erreur, typ), kExclamation, "Impossible d'ouvrir la base <" + ado::WithoutSecrets(nom_) + ">");
    connexion_.reset();
    return false;
  }
  enOuverture_ = true;
  InitialiseOuverture();
  enOuverture_ = false;
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
  std::string motPasse = connecte ? environnement.pwdUtlConnecte() : environnement.pwdLogin;
  const runtime::WipedAtEnd efface(motPasse);
  connexion_->Open(typ_ == TypSqlServer ? "Initial Catalog=" + nom_ + ";" : nom_, utilisateur, motPasse);
}

void DataBase::InitialiseOuverture() {
  // Each step is left at its first failure, silently, and the next one goes on.
  constexpr std::int16_t kVerrous = 12000;
  if (typ_ == TypJet) Etape("verrous du fichier", [&] { connexion_->Property("Jet OLEDB:Max Locks Per File", kVerrous); });
  if (typ_ == TypOracle) Etape("ordre de tri", [&] { ExecuteSQL("ALTER SESSION SET NLS_SORT=BINARY"); });
  Etape("catalogue de la connexion", [&] {
    catalogue_ = std::make_unique<ado::Catalog>(*connexion_);
    std::erase_if(precedentes_, [](const auto& precedente) { return !precedente->InUse(); });
  });
  Etape("liste des tables", [&] { ChargeListeTbl(); });
  Etape("relations", [&] { ChargeListeRlt(); });
  Etape("format des dates", [&] { TesteFormatDate(); });
}

void DataBase::Etape(const char* etape, const std::function<void()>& faire) {
  etapeEnCours_ = etape;
  tableEnCours_.clear();
  const auto erreur = runtime::IgnoringErrors(faire);
  if (erreur) NoteErreur(tableEnCours_, erreur);
  // The connection was opened for this: whatever is open on it has been left by a step that failed.
  for (std::int32_t niveau = connexion_->TransactionLevel(); niveau > 0; --niveau) {
    const auto encore = runtime::IgnoringErrors([&] { connexion_->RollbackTrans(); });
    if (encore) NoteErreur("", encore);
  }
  etapeEnCours_.clear();
}

void DataBase::NoteErreur(const std::string& table, const runtime::PendingError& erreur) {
  if (etapeEnCours_.empty()) return;
  constexpr std::size_t kPlusGrandNombre = 32767;
  if (erreurs_.size() < kPlusGrandNombre) erreurs_.push_back({etapeEnCours_, table, erreur.number, erreur.description});
}

const ErreurOuverture& DataBase::ListeErr(std::int16_t i) const {
  if (i < 0 || static_cast<std::size_t>(i) >= erreurs_.size()) throw runtime::Error(runtime::kSubscriptOutOfRange);
  return erreurs_[static_cast<std::size_t>(i)];
}

}  // namespace tamlo::db
