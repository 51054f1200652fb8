#include "db/catalogue/ChargementTables.h"

#include <algorithm>
#include <string>

#include "db/LignesCatalogue.h"
#include "db/catalogue/ConstructionCatalogue.h"
#include "db/catalogue/TablesPresentes.h"

namespace tamlo::db::catalogue {

namespace {

bool CataloguePresent(const DataBase& db) { return db.ExisteTbl(kTblKorv) && db.ExisteTbl(kFldKorv) && db.ExisteTbl(kIdxKorv); }

/// Whether a catalog that is there lacks what its building should have given it.
bool CatalogueInacheve(DataBase& db, ado::Recordset& rsFld) {
  // Rows come together, after the tables: one that has none shows that whoever built the catalog did not end. The probe table's do not count:
  // they may have been written by another program into what was not built yet.
  const auto sansLigne = [](ado::Recordset& rs, const char* colonne) {
    while (!rs.Eof() && TexteCatalogue(rs.Fields(colonne).Value()) == "TEST_DT") rs.MoveNext();
    return rs.Eof();
  };
  bool vide = sansLigne(rsFld, "TABLE");
  if (!vide) {
    ado::Recordset rsTbl = db.OpenRecordSet("SELECT * FROM [$TBLKORV$]", 0);
    vide = sansLigne(rsTbl, "NOM");
    rsTbl.Close();
  }
  if (!vide) return false;
  const auto tables = TablesDeLaBase(db);
  const bool autres = std::any_of(tables.begin(), tables.end(), [](const TableBase& table) { return table.nom != "TEST_DT"; });
  return autres || SansCle(db, kTblKorv) || SansCle(db, kFldKorv) || SansCle(db, kIdxKorv);
}

}  // namespace

void LitTables(DataBase& db, Patience& patience) {
  const bool reconstruit = db.Nom().find("BVIRTUEL.MDB") == std::string::npos;
  bool present = CataloguePresent(db);
  ado::Recordset rsFld;
  ado::Recordset rsIdx;
  if (present) {
    for (const char* nom : {kTblKorv, kFldKorv, kIdxKorv}) db.AjouteTable(db.Catalogue().Tables(nom), nullptr, nullptr, "");
    rsFld = db.OpenRecordSet("SELECT * FROM [$FLDKORV$] ORDER BY [TABLE],[NO]", 3);
    rsIdx = db.OpenRecordSet("SELECT * FROM [$IDXKORV$] ORDER BY [TABLE],[NOM]", 3);
    if (reconstruit && CatalogueInacheve(db, rsFld)) {
      rsFld.Close();
      rsIdx.Close();
      present = false;
    }
  }
  ListeTablesDeLaBase(db, present ? &rsFld : nullptr, present ? &rsIdx : nullptr);
  db.TableEnCours("");
  if (present) {
    rsFld.Close();
    rsIdx.Close();
  } else if (reconstruit) {
    Construit(db, patience);
  }
}

}  // namespace tamlo::db::catalogue
