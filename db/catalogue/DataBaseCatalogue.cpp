// The operations of DataBase that this room does: DataBase itself does not know it.
#include "db/DbUtil.h"
#include "db/catalogue/ChargementRelations.h"
#include "db/catalogue/ChargementTables.h"
#include "db/catalogue/EcritureCatalogue.h"
#include "db/catalogue/VerifieCatalogue.h"
#include "db/kinds/Moteur.h"

namespace tamlo::db {

void DataBase::ChargeListeTbl() {
  const auto nombre = static_cast<std::size_t>(tables_.Nb());
  const std::size_t erreurs = erreurs_.size();
  for (Patience patience;;) {
    try {
      return catalogue::LitTables(*this, patience);
    } catch (const runtime::Error& erreur) {
      // Where several build the same catalog a table may be on its way while it is read: the list is then read from its beginning.
      if (!Moteur().faits.construitEnCommun || !Moteur().DUnAutreProgramme(erreur) || !patience.Encore()) throw;
    }
    tables_.Garde(nombre);
    erreurs_.resize(erreurs);
    Catalogue().Refresh();
  }
}

void DataBase::ChargeListeRlt() {
  tableEnCours_ = kRltKorv;
  const auto nombre = static_cast<std::size_t>(relations_.Nb());
  // Where several build the same catalog the table may be on its way, or its key.
  for (Patience patience;;) {
    try {
      if (ExisteTbl(kRltKorv)) return catalogue::LitRelations(*this);
      return CreeCatRlt(*this);
    } catch (const runtime::Error& erreur) {
      if (!Moteur().faits.construitEnCommun || !Moteur().DUnAutreProgramme(erreur) || !patience.Encore()) throw;
      relations_.Garde(nombre);
    }
    Catalogue().Refresh();
  }
}

void DataBase::SauveTblCatalogue(const DbTbl& tbl, ado::Recordset* rsTbl, ado::Recordset* rsFld, ado::Recordset* rsIdx) {
  catalogue::Sauve(*this, tbl, rsTbl, rsFld, rsIdx);
}

void DataBase::RecreeCatalogue() {
  if (auto refus = catalogue::Refait(*this)) throw *std::move(refus);
}

void DataBase::RecreeCatalogue(std::vector<EcartCatalogue>& changements) { catalogue::Repare(*this, changements); }

std::vector<EcartCatalogue> DataBase::VerifieCatalogue(const std::string& nom) { return catalogue::Verifie(*this, nom); }

}  // namespace tamlo::db
