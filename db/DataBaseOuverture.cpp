#include "ado/Secrets.h"
#include "db/DataBase.h"
#include "db/Environnement.h"
#include "db/kinds/Moteur.h"
#include "runtime/Error.h"
#include "runtime/Secret.h"
#include "support/Support.h"

namespace tamlo::db {

namespace {

void DitRefus(const std::string& raison, const std::string& nom) {
  const auto& message = EnvironnementCourant().message;
  if (message) message(raison, "Impossible d'ouvrir la base <" + ado::WithoutSecrets(nom) + ">");
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
  connexion_->Provider(Moteur().faits.provider);
  connexion_->GeneralNumbers(true);

  auto erreur = runtime::IgnoringErrors([&] { OuvreConnexion(); });
  if (Moteur().faits.curseurClient) {
    const auto curseur = runtime::IgnoringErrors([&] { connexion_->CursorLocation(ado::adUseClient); });
    if (curseur) erreur = curseur;
  }
  if (erreur) {
    connexion_.reset();
    erreurs_.push_back({"ouverture", "", erreur.number, erreur.description});
    DitRefus(Moteur().MessageRefus(erreur), nom);
    return false;
  }
  enOuverture_ = true;
  InitialiseOuverture();
  enOuverture_ = false;
  return true;
}

void DataBase::OuvreConnexion() {
  const kinds::Faits& faits = Moteur().faits;
  if (!faits.avecLogin) {
    connexion_->Open(nom_, "", "");
    return;
  }
  const Environnement& environnement = EnvironnementCourant();
  const bool connecte = support::EstVide(environnement.nomLogin);
  const std::string utilisateur = connecte ? environnement.nomUtlConnecte() : environnement.nomLogin;
  std::string motPasse = connecte ? environnement.pwdUtlConnecte() : environnement.pwdLogin;
  const runtime::WipedAtEnd efface(motPasse);
  connexion_->Open(faits.avantNom + nom_ + faits.apresNom, utilisateur, motPasse);
}

void DataBase::InitialiseOuverture() {
  // Each step is left at its first failure, silently, and the next one goes on.
  const kinds::Preparation& preparation = Moteur().faits.preparation;
  if (preparation.etape != nullptr) {
    Etape(preparation.etape, [&] {
      if (preparation.propriete != nullptr) connexion_->Property(preparation.propriete, preparation.valeur);
      if (preparation.ordre != nullptr) ExecuteSQL(preparation.ordre);
    });
  }
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
