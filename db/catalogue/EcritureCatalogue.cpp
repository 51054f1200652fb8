#include <array>
#include <optional>
#include <utility>

#include "ado/Connection.h"
#include "db/DataBase.h"
#include "db/DbUtil.h"
#include "db/catalogue/LotsCatalogue.h"
#include "db/kinds/Moteur.h"
#include "runtime/Conversions.h"
#include "runtime/Error.h"

namespace tamlo::db {

namespace {

/// A recordset of a catalog table: the caller's, or one opened here and closed at the end.
class RecordsetCatalogue {
 public:
  RecordsetCatalogue(DataBase& db, const std::string& table, ado::Recordset* donne) : donne_(donne) {
    if (donne_ == nullptr) propre_ = db.OpenRecordSet("SELECT * FROM [" + table + "]", 2);
  }
  [[nodiscard]] ado::Recordset& Rs() { return donne_ != nullptr ? *donne_ : propre_; }
  void Ferme() {
    if (donne_ == nullptr) propre_.Close();
  }

 private:
  ado::Recordset* donne_;
  ado::Recordset propre_;
};

}  // namespace

void DataBase::SauveTblCatalogue(DbTbl& tbl, ado::Recordset* rsTbl, ado::Recordset* rsFld, ado::Recordset* rsIdx) {
  if (EstTableDuCatalogue(tbl.Nom())) return;
  if (rsTbl == nullptr && !ExisteTbl(kTblKorv)) return;
  RecordsetCatalogue tables(*this, kTblKorv, rsTbl);
  LigneTbl(tbl, [&](std::int16_t, auto&& valeurs) { AjouteLigne(tables.Rs(), kColonnesTbl, valeurs); });
  RecordsetCatalogue champs(*this, kFldKorv, rsFld);
  LignesFld(tbl, [&](std::int16_t, auto&& valeurs) { AjouteLigne(champs.Rs(), kColonnesFld, valeurs); });
  RecordsetCatalogue index(*this, kIdxKorv, rsIdx);
  LignesIdx(tbl, [&](std::int16_t, auto&& valeurs) { AjouteLigne(index.Rs(), kColonnesIdx, valeurs); });
  index.Ferme();
  champs.Ferme();
  tables.Ferme();
}

std::optional<runtime::Error> DataBase::EcritLignesCatalogue(bool regarde) {
  std::optional<RangCatalogue> arret;  // the row at which the writing ends, because it is refused
  std::optional<runtime::Error> refus;
  for (bool essaye = false;; essaye = true) {
    // Made before the transaction: a driver's batches may be tried out on a table first.
    LotsCatalogue lots(Connexion());
    std::optional<ado::Transaction> transaction;
    // Nobody but the caller has one open; where the backend has none (or one level only) the rows go without.
    (void)runtime::IgnoringErrors([&] { transaction.emplace(Connexion()); });
    try {
      const LignesPresentes presentes = regarde && transaction ? TientLignesCatalogue() : LignesPresentes::kAucune;
      if (presentes == LignesPresentes::kAchevees) return std::nullopt;
      if (essaye || presentes == LignesPresentes::kRestes) {
        // Rows of an attempt that the backend cannot undo, or of a program that builds the same catalog at the same time.
        for (const char* nom : kTablesReconstruites) ExecuteSQL("DELETE * FROM [" + std::string(nom) + "]");
      }
      for (std::size_t i = 0; i < tables_.size(); ++i) {
        if (!EstTableDuCatalogue(tables_[i].nom)) lots.Ecrit(*tables_[i].tbl, i, arret);
      }
      lots.Termine();
    } catch (runtime::Error& erreur) {
      const auto rang = lots.RangRefuse();
      // What the server undid for another program's sake says nothing of the row.
      if (!rang || (erreur.Number() != runtime::kDuplicateKey && Moteur().DUnAutreProgramme(erreur))) throw;
      // Only a row that is refused once more, now that no other's rows are in its way, is where the writing ends.
      if (essaye) {
        if (arret && !(*rang < *arret)) throw;
        arret = rang;
        tableEnCours_ = tables_[rang->table].nom;
        refus = erreur.WithContext("catalogue de la table " + tableEnCours_);
      }
      continue;
    }
    if (transaction) transaction->Commit();
    return refus;
  }
}

std::optional<runtime::Error> DataBase::RefaitCatalogue() {
  // On Access the three tables and their rows are one transaction; elsewhere the rows alone: a definition ends what is open.
  std::optional<ado::Transaction> ensemble;
  if (Moteur().faits.definitionsEnTransaction) ensemble.emplace(Connexion());
  std::optional<runtime::Error> refus;
  try {
    for (const auto& [nom, cree] : {std::pair{kTblKorv, &CreeCatTbl}, std::pair{kFldKorv, &CreeCatFld}, std::pair{kIdxKorv, &CreeCatIdx}}) {
      tableEnCours_ = nom;
      SupTbl(nom);
      cree(*this);
    }
    tableEnCours_.clear();
    refus = EcritLignesCatalogue(false);
    if (ensemble) ensemble->Commit();
  } catch (...) {
    if (ensemble) {
      ensemble->Rollback();
      (void)runtime::IgnoringErrors([&] { AccordeTablesCatalogue(); });
    }
    throw;
  }
  return refus;
}

}  // namespace tamlo::db
