#include "db/DataBase.h"
#include "db/kinds/Moteur.h"
#include "db/kinds/Moteurs.h"

#include "runtime/Conversions.h"
#include "runtime/Error.h"

namespace tamlo::db {

DataBase::DataBase() = default;

DataBase::~DataBase() {
  // The catalog looks at its connection until its end.
  catalogue_.reset();
}

void DataBase::Ferme() {
  // What is pending would be lost: nothing is closed then, and nothing forgotten.
  if (connexion_ && connexion_->InTransaction()) throw runtime::Error(runtime::kTransactionOpen);
  catalogue_.reset();
  precedentes_.clear();
  if (connexion_) {
    if (connexion_->IsOpen()) connexion_->Close();
    connexion_.reset();
  }
  tables_.Vide();
  alias_.Vide();
  relations_.Vide();
  erreurs_.clear();
}

ado::Connection& DataBase::Connexion() const {
  if (!connexion_) throw runtime::Error(runtime::kObjectNotSet);
  return *connexion_;
}

ado::Catalog& DataBase::Catalogue() const {
  if (!catalogue_) throw runtime::Error(runtime::kObjectNotSet);
  return *catalogue_;
}

const kinds::Moteur& DataBase::Moteur() const { return kinds::MoteurDe(typ_); }

std::string DataBase::ConnectionString() const { return Connexion().ConnectionString(); }
std::string DataBase::Provider() const { return Connexion().Provider(); }
std::string DataBase::UID() const { return runtime::ToText(Connexion().Property("User ID")); }
std::string DataBase::Pwd() const { return runtime::ToText(Connexion().Property("Password")); }

std::string DataBase::Version() const {
  const char* const propriete = Moteur().faits.proprieteVersion;
  return propriete == nullptr ? "5" : runtime::ToText(Connexion().Property(propriete));
}

}  // namespace tamlo::db
