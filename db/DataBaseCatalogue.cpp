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

constexpr std::array kTablesReconstruites{kTblKorv, kFldKorv, kIdxKorv};

/// On MySQL, where definitions are no part of a transaction: one program at a time builds the catalog of a database. The server lets go of
/// the lock when the connection ends, however it ends. A server that has no such locks is worked with as it is.
class VerrouConstruction {
 public:
  explicit VerrouConstruction(DataBase& db) : db_(db), pris_(db.Kind16() == TypMySql && Demande("GET_LOCK", ",60")) {}
  ~VerrouConstruction() {
    if (pris_) (void)Demande("RELEASE_LOCK", "");
  }
  VerrouConstruction(const VerrouConstruction&) = delete;
  VerrouConstruction& operator=(const VerrouConstruction&) = delete;
  [[nodiscard]] bool Pris() const noexcept { return pris_; }

 private:
  [[nodiscard]] bool Demande(const std::string& fonction, const std::string& delai) {
    bool oui = false;
    (void)runtime::IgnoringErrors([&] {
      ado::Recordset rs;
      rs.Open("SELECT " + fonction + "(CONCAT('tamlo_',MD5(DATABASE()))" + delai + ")", &db_.Connexion(), ado::adOpenForwardOnly,
              ado::adLockUnspecified, ado::adOptionUnspecified);
      oui = !rs.Eof() && runtime::ToText(rs.Fields(0).Value()) == "1";
      rs.Close();
    });
    return oui;
  }
  DataBase& db_;
  bool pris_;
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

/// At the opening. Another program may be building the same catalog: whoever is hindered by it begins anew, for it may have taken away what the
/// other one has written, so that the last of them leaves it whole.
void DataBase::ConstruitCatalogue() {
  constexpr int kEssais = 6;
  std::optional<runtime::Error> refus;
  const VerrouConstruction verrou(*this);
  if (verrou.Pris()) {
    // Whoever had the lock before may have built it meanwhile.
    Catalogue().Refresh();
    if (CataloguePresent()) {
      ado::Recordset rsFld = OpenRecordSet("SELECT * FROM [$FLDKORV$]", 0);
      const bool acheve = !CatalogueInacheve(rsFld);
      rsFld.Close();
      if (acheve) return AccordeTablesCatalogue();
    }
  }
  for (int essai = 1;; ++essai) {
    try {
      refus = RefaitCatalogue();
      break;
    } catch (const runtime::Error&) {
      Catalogue().Refresh();
      const bool aucune =
          std::none_of(kTablesReconstruites.begin(), kTablesReconstruites.end(), [&](const char* nom) { return ExisteTbl(nom); });
      // Generic ODBC has no catalog unless somebody made one.
      if (aucune && (typ_ < TypJet || typ_ > TypMySql)) return;
      if (aucune || essai == kEssais) throw;
      std::this_thread::sleep_for(std::chrono::milliseconds(50) * essai);
      Catalogue().Refresh();
    }
  }
  if (refus) throw *std::move(refus);
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
