#include "db/catalogue/EcritureCatalogue.h"

#include <array>
#include <string>
#include <utility>

#include "ado/Connection.h"
#include "db/DbUtil.h"
#include "db/LignesCatalogue.h"
#include "db/catalogue/LotsCatalogue.h"
#include "db/kinds/Moteur.h"

namespace tamlo::db::catalogue {

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

enum class LignesPresentes : std::uint8_t { kAucune, kRestes, kAchevees };

/// Inside of a transaction, which holds the rows from here on. In the server's own language, beside the dialect.
LignesPresentes TientLignes(const DataBase& db) {
  bool restes = false;
  const auto regarde = [&](const char* nom, const char* colonne) {
    ado::Recordset rs;
    rs.Open(std::string("SELECT `") + colonne + "` FROM `" + nom + "` FOR UPDATE", &db.Connexion(), ado::adOpenForwardOnly,
            ado::adLockUnspecified, ado::adOptionUnspecified);
    bool autres = false;
    for (; !rs.Eof(); rs.MoveNext()) {
      restes = true;
      // The probe's rows are written by whoever made it, into what is not built yet too.
      autres = autres || TexteCatalogue(rs.Fields(0).Value()) != "TEST_DT";
    }
    rs.Close();
    return autres;
  };
  try {
    const bool champs = regarde(kFldKorv, "TABLE");
    (void)regarde(kIdxKorv, "TABLE");
    const bool tables = regarde(kTblKorv, "NOM");
    if (champs && tables) return LignesPresentes::kAchevees;
    return restes ? LignesPresentes::kRestes : LignesPresentes::kAucune;
  } catch (const runtime::Error& erreur) {
    if (db.Moteur().DUnAutreProgramme(erreur)) throw;
    return LignesPresentes::kAucune;
  }
}

/// One writing of the rows that stand before arret, in the place of those that are there (propre). False when another program has written
/// them all.
bool EcritUneFois(DataBase& db, LotsCatalogue& lots, const std::optional<RangCatalogue>& arret, bool regarde, bool propre) {
  const LignesPresentes presentes = regarde ? TientLignes(db) : LignesPresentes::kAucune;
  if (presentes == LignesPresentes::kAchevees) return false;
  if (propre || presentes == LignesPresentes::kRestes) {
    // Rows of an attempt that the backend cannot undo, or of a program that builds the same catalog at the same time.
    for (const char* nom : kTablesReconstruites) db.ExecuteSQL("DELETE * FROM [" + std::string(nom) + "]");
  }
  const auto& entrees = db.TablesListees().Entrees();
  for (std::size_t i = 0; i < entrees.size(); ++i) {
    if (!EstTableDuCatalogue(entrees[i].nom)) lots.Ecrit(*entrees[i].tbl, i, arret);
  }
  lots.Termine();
  return true;
}

/// After a rollback: lists the catalog tables that the backend has, and no others.
void AccordeTables(DataBase& db) {
  db.Catalogue().Refresh();
  for (const char* nom : kTablesReconstruites) {
    if (db.ExisteTbl(nom)) {
      db.AjouteTable(db.Catalogue().Tables(nom), nullptr, nullptr, "");
    } else {
      db.TablesListees().RetireSi([&](const std::string& listee) { return listee == nom; });
    }
  }
}

}  // namespace

void Sauve(DataBase& db, const DbTbl& tbl, ado::Recordset* rsTbl, ado::Recordset* rsFld, ado::Recordset* rsIdx) {
  if (EstTableDuCatalogue(tbl.Nom())) return;
  if (rsTbl == nullptr && !db.ExisteTbl(kTblKorv)) return;
  RecordsetCatalogue tables(db, kTblKorv, rsTbl);
  LigneTbl(tbl, [&](std::int16_t, auto&& valeurs) { AjouteLigne(tables.Rs(), kColonnesTbl, valeurs); });
  RecordsetCatalogue champs(db, kFldKorv, rsFld);
  LignesFld(tbl, [&](std::int16_t, auto&& valeurs) { AjouteLigne(champs.Rs(), kColonnesFld, valeurs); });
  RecordsetCatalogue index(db, kIdxKorv, rsIdx);
  LignesIdx(tbl, [&](std::int16_t, auto&& valeurs) { AjouteLigne(index.Rs(), kColonnesIdx, valeurs); });
  index.Ferme();
  champs.Ferme();
  tables.Ferme();
}

std::optional<runtime::Error> EcritLignes(DataBase& db, bool regarde) {
  std::optional<RangCatalogue> arret;  // the row at which the writing ends, because it is refused
  std::optional<runtime::Error> refus;
  for (bool essaye = false;; essaye = true) {
    // Made before the transaction: a driver's batches may be tried out on a table first.
    LotsCatalogue lots(db.Connexion());
    std::optional<ado::Transaction> transaction;
    // Nobody but the caller has one open; where the backend has none (or one level only) the rows go without.
    (void)runtime::IgnoringErrors([&] { transaction.emplace(db.Connexion()); });
    try {
      if (!EcritUneFois(db, lots, arret, regarde && transaction, essaye)) return std::nullopt;
    } catch (runtime::Error& erreur) {
      const auto rang = lots.RangRefuse();
      // What the server undid for another program's sake says nothing of the row.
      if (!rang || (erreur.Number() != runtime::kDuplicateKey && db.Moteur().DUnAutreProgramme(erreur))) throw;
      // Only a row that is refused once more, now that no other's rows are in its way, is where the writing ends.
      if (essaye) {
        if (arret && !(*rang < *arret)) throw;
        arret = rang;
        const std::string& table = db.TablesListees().Entrees()[rang->table].nom;
        db.TableEnCours(table);
        refus = erreur.WithContext("catalogue de la table " + table);
      }
      continue;
    }
    if (transaction) transaction->Commit();
    return refus;
  }
}

std::optional<runtime::Error> Refait(DataBase& db) {
  // On Access the three tables and their rows are one transaction; elsewhere the rows alone: a definition ends what is open.
  std::optional<ado::Transaction> ensemble;
  if (db.Moteur().faits.definitionsEnTransaction) ensemble.emplace(db.Connexion());
  std::optional<runtime::Error> refus;
  try {
    for (const auto& [nom, cree] : {std::pair{kTblKorv, &CreeCatTbl}, std::pair{kFldKorv, &CreeCatFld}, std::pair{kIdxKorv, &CreeCatIdx}}) {
      db.TableEnCours(nom);
      db.SupTbl(nom);
      cree(db);
    }
    db.TableEnCours("");
    refus = EcritLignes(db, false);
    if (ensemble) ensemble->Commit();
  } catch (...) {
    if (ensemble) {
      ensemble->Rollback();
      (void)runtime::IgnoringErrors([&] { AccordeTables(db); });
    }
    throw;
  }
  return refus;
}

}  // namespace tamlo::db::catalogue
