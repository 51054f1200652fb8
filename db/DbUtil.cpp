#include "db/DbUtil.h"

#include <array>
#include <cstdint>
#include <vector>

#include "ado/Types.h"
#include "db/DataBase.h"
#include "db/DbTbl.h"
#include "db/LignesCatalogue.h"
#include "runtime/Conversions.h"
#include "runtime/Error.h"

namespace tamlo::db {

namespace {

struct Colonne {
  const char* nom;
  std::int16_t typ;
  std::int32_t lg;
};

struct TableCatalogue {
  const char* nom;
  std::vector<Colonne> colonnes;
  const char* index;
  const char* champs;
};

const std::array<TableCatalogue, 4>& TablesCatalogue() {
  static const std::array<TableCatalogue, 4> tables{
      {{kTblKorv, {{"NOM", ado::adVarWChar, kLargeurNom}, {"MVT", ado::adBoolean, 1}}, "NOM", "NOM"},
       {kFldKorv,
        {{"TABLE", ado::adVarWChar, kLargeurNom},
         {"NO", ado::adSmallInt, 2},
         {"NOM", ado::adVarWChar, kLargeurNom},
         {"INI", ado::adVarWChar, 50},
         {"FMT", ado::adVarWChar, 15},
         {"OBLIGATOIRE", ado::adBoolean, 1}},
        "TBLNO",
        "TABLE;NO"},
       {kIdxKorv,
        {{"TABLE", ado::adVarWChar, kLargeurNom},
         {"NOM", ado::adVarWChar, kLargeurNom},
         {"CHAMPS", ado::adVarWChar, kLargeurChamps},
         {"PRIMAIRE", ado::adBoolean, 1},
         {"UNIQUE", ado::adBoolean, 1},
         {"OBLIGATOIRE", ado::adBoolean, 1}},
        "TBLNOM",
        "TABLE;NOM"},
       {kRltKorv,
        {{"ALIASSRC", ado::adVarWChar, 50},
         {"FLDSRC", ado::adVarWChar, 30},
         {"ALIASCBL", ado::adVarWChar, 50},
         {"FLDCBL", ado::adVarWChar, 30},
         {"TYP", ado::adUnsignedTinyInt, 1},
         {"TYPINV", ado::adUnsignedTinyInt, 1},
         {"OBLIGATOIRE", ado::adBoolean, 1}},
        "SRCCBL",
        "ALIASSRC;ALIASCBL"}}};
  return tables;
}

}  // namespace

std::unique_ptr<DbTbl> DefinitionCatalogue(const std::string& nom) {
  for (const TableCatalogue& table : TablesCatalogue()) {
    if (table.nom != nom) continue;
    auto tbl = std::make_unique<DbTbl>();
    tbl->Nom(nom);
    for (const Colonne& colonne : table.colonnes) tbl->AddFld(colonne.nom, colonne.typ, colonne.lg, false);
    tbl->AddIdx(table.index, table.champs, true, true);
    return tbl;
  }
  throw runtime::Error(runtime::kSubscriptOutOfRange);
}

bool MemesColonnes(ado::Table& table, const DbTbl& definition) {
  const auto& colonnes = table.Columns();
  // A table that has just gone, or is not told.
  if (colonnes.empty()) return true;
  bool memes = colonnes.size() == static_cast<std::size_t>(definition.NbFld());
  for (const ado::Column& colonne : colonnes) memes = memes && definition.ExisteFld(colonne.name);
  return memes;
}

void CreeCatTbl(DataBase& db) { db.AddTbl(DefinitionCatalogue(kTblKorv)); }
void CreeCatFld(DataBase& db) { db.AddTbl(DefinitionCatalogue(kFldKorv)); }
void CreeCatIdx(DataBase& db) { db.AddTbl(DefinitionCatalogue(kIdxKorv)); }
void CreeCatRlt(DataBase& db) { db.AddTbl(DefinitionCatalogue(kRltKorv)); }

bool EstTableDuCatalogue(std::string_view nom) noexcept { return nom == kRltKorv || nom == kIdxKorv || nom == kTblKorv || nom == kFldKorv; }

bool ChercheCle(ado::Recordset& rs, const std::string& index, const std::string& champ, const runtime::Variant& valeur) {
  if (rs.CanSeek()) {
    rs.Index(index);
    const std::array<runtime::Variant, 1> cle{valeur};
    rs.Seek(cle, ado::adSeekFirstEQ);
    return !rs.Eof();
  }
  const std::string texte = runtime::ToText(valeur);
  const bool estTexte = ado::IsTextType(rs.Fields(champ).Type());
  const std::string critere = "[" + champ + "]=" + (estTexte ? "'" + texte + "'" : texte);
  // The tables of a database mostly come in the order of the rows: the wanted row is then the current one, and a
  // database costs one pass over its catalog instead of one for each table.
  if (!rs.Eof()) {
    rs.Find(critere);
    if (!rs.Eof()) return true;
  }
  if (rs.Bof()) return false;
  try {
    rs.MoveFirst();
  } catch (const runtime::Error& erreur) {
    // The rows that were there are gone.
    if (erreur.Number() != runtime::kNoCurrentRecord) throw;
    return false;
  }
  rs.Find(critere);
  return !rs.Eof();
}

}  // namespace tamlo::db
