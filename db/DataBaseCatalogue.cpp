#include <algorithm>
#include <array>
#include <chrono>
#include <optional>
#include <thread>
#include <utility>

#include "ado/Connection.h"
#include "db/DataBase.h"
#include "db/DbUtil.h"
#include "db/LotsCatalogue.h"
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

constexpr std::array kTablesReconstruites{kTblKorv, kFldKorv, kIdxKorv};

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

std::optional<runtime::Error> DataBase::EcritLignesCatalogue() {
  std::optional<RangCatalogue> arret;  // the row at which the writing ends, because it is refused
  std::optional<runtime::Error> refus;
  for (bool essaye = false;; essaye = true) {
    // Made before the transaction: a driver's batches may be tried out on a table first.
    LotsCatalogue lots(Connexion());
    std::optional<ado::Transaction> transaction;
    // Nobody but the caller has one open; where the backend has none (or one level only) the rows go without.
    (void)runtime::IgnoringErrors([&] { transaction.emplace(Connexion()); });
    try {
      if (essaye) {
        // Rows of an attempt that the backend cannot undo, or of a program that builds the same catalog at the same time.
        for (const char* nom : kTablesReconstruites) ExecuteSQL("DELETE * FROM [" + std::string(nom) + "]");
      }
      for (std::size_t i = 0; i < tables_.size(); ++i) {
        if (!EstTableDuCatalogue(tables_[i].nom)) lots.Ecrit(*tables_[i].tbl, i, arret);
      }
      lots.Termine();
    } catch (runtime::Error& erreur) {
      const auto rang = lots.RangRefuse();
      if (!rang) throw;
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
  if (typ_ == TypJet) ensemble.emplace(Connexion());
  std::optional<runtime::Error> refus;
  try {
    for (const auto& [nom, cree] : {std::pair{kTblKorv, &CreeCatTbl}, std::pair{kFldKorv, &CreeCatFld}, std::pair{kIdxKorv, &CreeCatIdx}}) {
      tableEnCours_ = nom;
      SupTbl(nom);
      cree(*this);
    }
    tableEnCours_.clear();
    refus = EcritLignesCatalogue();
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

/// At the opening. Another program may be building the same catalog; whoever is hindered by it sees that one of them ends.
void DataBase::ConstruitCatalogue() {
  constexpr int kEssais = 4;
  for (int essai = 1;; ++essai) {
    std::optional<runtime::Error> refus;
    try {
      refus = RefaitCatalogue();
    } catch (const runtime::Error&) {
      Catalogue().Refresh();
      const auto existe = [&](const char* nom) { return ExisteTbl(nom); };
      // Generic ODBC has no catalog unless somebody made one.
      const bool aucune = std::none_of(kTablesReconstruites.begin(), kTablesReconstruites.end(), existe);
      if (aucune && (typ_ < TypJet || typ_ > TypMySql)) return;
      if (aucune || essai == kEssais) throw;
      std::this_thread::sleep_for(std::chrono::milliseconds(50) * essai);
      Catalogue().Refresh();
      if (CataloguePresent()) {
        ado::Recordset rsFld = OpenRecordSet("SELECT * FROM [$FLDKORV$]", 0);
        const bool acheve = !CatalogueInacheve(rsFld);
        rsFld.Close();
        if (!acheve) continue;
        AccordeTablesCatalogue();
        return;
      }
      continue;
    }
    if (refus) throw *std::move(refus);
    return;
  }
}

/// After a rollback: lists the catalog tables that the backend has, and no others.
void DataBase::AccordeTablesCatalogue() {
  Catalogue().Refresh();
  for (const char* nom : kTablesReconstruites) {
    if (ExisteTbl(nom)) {
      AjouteTable(Catalogue().Tables(nom), nullptr, nullptr, "");
    } else {
      std::erase_if(tables_, [&](const EntreeTbl& entree) { return entree.nom == nom; });
      NomsChanges();
    }
  }
}

}  // namespace tamlo::db
