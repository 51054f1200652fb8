// The operations of DataBase that this room does: DataBase itself does not know it.
#include <string>
#include <utility>
#include <vector>

#include "db/DataBase.h"
#include "db/LignesCatalogue.h"
#include "db/ddl/Generateur.h"
#include "runtime/Error.h"
#include "runtime/Text.h"

namespace tamlo::db {

namespace {

/// A table that is there, as the backend spells it: a name of exactly that spelling goes first.
std::string NomDansLaBase(ado::Catalog& catalogue, const std::string& nom) {
  const std::string coupe(runtime::Trim(nom));
  for (std::size_t i = 0; i < catalogue.TableCount(); ++i) {
    if (catalogue.Tables(i).Name() == coupe) return coupe;
  }
  return catalogue.Tables(coupe).Name();
}

}  // namespace

DbTbl& DataBase::AddTbl(std::unique_ptr<DbTbl> tbl) {
  VerifieTbl(*this, *tbl);
  tbl->Db(this);
  ddl::CreeTable(*this, *tbl);
  DbTbl& inscrite = tables_.Ajoute(std::move(tbl));
  InscritAuCatalogue(inscrite);
  return inscrite;
}

void DataBase::InscritAuCatalogue(DbTbl& tbl) {
  try {
    SauveTblCatalogue(tbl, nullptr, nullptr, nullptr);
  } catch (const runtime::Error& erreur) {
    if (erreur.Number() != runtime::kDuplicateKey) throw;
    // Rows of a table of that name that was dropped behind the layer's back.
    SupprimeLignes(*this, kTblKorv, {{"NOM", tbl.Nom()}});
    for (const char* catalogue : {kFldKorv, kIdxKorv}) SupprimeLignes(*this, catalogue, {{"TABLE", tbl.Nom()}});
    SauveTblCatalogue(tbl, nullptr, nullptr, nullptr);
  }
}

void DataBase::SupTbl(const std::string& nom) {
  if (!ExisteTbl(nom)) {
    // Another program may have made it since the catalog was read; an opening has just read it.
    if (enOuverture_) return;
    Catalogue().Refresh();
    // A backend that does not answer is no backend without the table: its error goes to the caller.
    if (Catalogue().Find(std::string(runtime::Trim(nom))) == nullptr) return;
  }
  const std::string cle = runtime::UpperCase(runtime::Trim(nom));
  std::vector<std::pair<std::string, std::string>> nettoyages;
  const auto nettoie = [&](const std::string& catalogue, const std::string& colonne) {
    // The dropped table may be this catalog table itself, and a database may have none. Asked before the list must be read again.
    if (catalogue != cle && ExisteTbl(catalogue)) nettoyages.emplace_back(catalogue, colonne);
  };
  nettoie(kTblKorv, "NOM");
  nettoie(kFldKorv, "TABLE");
  nettoie(kIdxKorv, "TABLE");
  try {
    ddl::SupprimeTable(*this, NomDansLaBase(Catalogue(), nom), tables_.Nommee(cle));
  } catch (const runtime::Error&) {
    // Or have dropped it: then there is nothing to do, as when that is known from the start.
    bool partie = false;
    Catalogue().Refresh();
    (void)runtime::IgnoringErrors([&] { partie = Catalogue().Find(std::string(runtime::Trim(nom))) == nullptr; });
    if (partie) return;
    throw;
  }
  Catalogue().Refresh();
  tables_.Retire(cle);
  for (const auto& [catalogue, colonne] : nettoyages) SupprimeLignes(*this, catalogue, {{colonne, cle}});
}

}  // namespace tamlo::db
