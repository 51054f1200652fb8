// The operations of DataBase that this room does: DataBase itself does not know it.
#include "db/DataBase.h"
#include "db/copie/Copie.h"

namespace tamlo::db {

CopieBilan DataBase::CopieDonnees(const std::string& nom, DataBase& cible, const CopieOptions& options) const {
  return copie::CopieDonnees(*this, nom, cible, options);
}

CopieBilan DataBase::TblCopie(const std::string& nom, DataBase& cible, bool ajoute, bool copie, const CopieOptions& options) const {
  return copie::TblCopie(*this, nom, cible, ajoute, copie, options);
}

VerifieBilan DataBase::VerifieCopie(const std::string& nom, const DataBase& cible) const { return copie::VerifieCopie(*this, nom, cible); }

void DataBase::AddTblAttachee(const DbTbl& source, const std::string& nomLocal) { copie::AddTblAttachee(*this, source, nomLocal); }

void DataBase::ModTblAttachee(const DbTbl& source, const std::string& nom) { copie::ModTblAttachee(*this, source, nom); }

}  // namespace tamlo::db
