#include "db/LignesCatalogue.h"

#include <algorithm>
#include <string_view>

#include "db/DataBase.h"
#include "db/DbTbl.h"
#include "db/kinds/Moteur.h"
#include "runtime/Conversions.h"
#include "runtime/Error.h"
#include "runtime/Text.h"

namespace tamlo::db {

namespace {

/// False for a name that ends a text literal, or is changed inside of one: by the backend, or by the translation, which rewrites brackets,
/// dates and the names of tables there too.
bool TientDansUnLitteral(const DataBase& db, const std::string& nom) {
  if (nom.find_first_of("'\"\\*") != std::string::npos) return false;
  const std::string voulu = "'" + nom + "'";
  std::string traduit = voulu;
  const auto refus = runtime::IgnoringErrors([&] { db.FormateSSQL(traduit); });
  return !refus && traduit.size() == voulu.size() && std::string_view(traduit).substr(1, nom.size()) == nom;
}

bool EstLigneDe(ado::Recordset& rs, const NomsDeLigne& noms) {
  return std::all_of(noms.begin(), noms.end(), [&](const auto& nom) { return TexteCatalogue(rs.Fields(nom.first).Value()) == nom.second; });
}

void VerifieLargeur(DataBase& db, const char* quoi, const std::string& texte, std::size_t largeur) {
  // Access files count in UTF-16: a character beyond the first 65536 is two there.
  const auto longues = std::count_if(texte.begin(), texte.end(), [](char c) { return static_cast<unsigned char>(c) >= 0xF0; });
  const std::size_t longueur = runtime::Length(texte) + static_cast<std::size_t>(longues);
  if (longueur <= largeur || !db.ExisteTbl(kTblKorv)) return;
  throw runtime::Error(runtime::kInvalidArgument, std::string(quoi) + " \"" + texte + "\" : " + std::to_string(longueur) +
                                                      " caractères, le catalogue en tient " + std::to_string(largeur));
}

}  // namespace

std::array<runtime::Variant, kColonnesTbl.size()> ValeursTbl(const DbTbl& tbl) { return {tbl.Nom(), tbl.AvecMvt()}; }

std::array<runtime::Variant, kColonnesFld.size()> ValeursFld(const DbTbl& tbl, const DbFld& fld, std::int16_t numero) {
  return {tbl.Nom(), numero, fld.Nom()};
}

std::array<runtime::Variant, kColonnesIdx.size()> ValeursIdx(const DbTbl& tbl, const DbIdx& idx) {
  return {tbl.Nom(), idx.Nom(), idx.SFld(), idx.Primary(), idx.Unique()};
}

void AjouteLigne(ado::Recordset& rs, std::span<const char* const> colonnes, std::span<const runtime::Variant> valeurs) {
  rs.AddNew();
  for (std::size_t i = 0; i < colonnes.size(); ++i) rs.Fields(colonnes[i]).Value(valeurs[i]);
  rs.Update();
}

bool TiennentDansUnLitteral(const DataBase& db, const NomsDeLigne& noms) {
  return std::all_of(noms.begin(), noms.end(), [&](const auto& nom) { return TientDansUnLitteral(db, nom.second); });
}

void PoseDrapeau(DataBase& db, const std::string& catalogue, const char* colonne, bool drapeau, const NomsDeLigne& noms) {
  ado::Recordset rs = db.OpenRecordSet("SELECT * FROM [" + catalogue + "]", 2);
  for (; !rs.Eof(); rs.MoveNext()) {
    if (!EstLigneDe(rs, noms)) continue;
    rs.Fields(colonne).Value(drapeau);
    rs.Update();
  }
  rs.Close();
}

void SupprimeLignes(DataBase& db, const std::string& catalogue, const NomsDeLigne& noms) {
  if (TiennentDansUnLitteral(db, noms)) {
    std::string sql = "DELETE * FROM [" + catalogue + "] WHERE ";
    for (const auto& [colonne, nom] : noms) {
      if (&nom != &noms.front().second) sql += " AND ";
      sql.append("[").append(colonne).append("]='").append(nom).append("'");
    }
    db.ExecuteSQL(sql);
    return;
  }
  ado::Recordset rs = db.OpenRecordSet("SELECT * FROM [" + catalogue + "]", 2);
  for (; !rs.Eof(); rs.MoveNext()) {
    if (EstLigneDe(rs, noms)) rs.Delete();
  }
  rs.Close();
}

std::optional<std::int16_t> NumerosChamps::De(const std::string& champ) const {
  const auto sien = std::find_if(champs.begin(), champs.end(), [&](const auto& paire) { return paire.first == champ; });
  return sien == champs.end() ? std::nullopt : std::optional(sien->second);
}

std::int16_t NumerosChamps::Suivant(std::int16_t sans) const {
  if (champs.empty()) return sans;
  const auto plusHaut = std::max_element(champs.begin(), champs.end(), [](const auto& a, const auto& b) { return a.second < b.second; });
  return runtime::Add16(plusHaut->second, 1);
}

std::int16_t NumerosChamps::PremierLibre() const {
  std::int16_t libre = 0;
  const auto estLibre = [&] {
    return std::none_of(champs.begin(), champs.end(), [&](const auto& champ) { return champ.second == libre; });
  };
  while (!estLibre()) ++libre;
  return libre;
}

NumerosChamps LitNumerosChamps(DataBase& db, const std::string& table) {
  NumerosChamps numeros;
  if (!db.ExisteTbl(kFldKorv)) return numeros;
  runtime::IgnoringErrors([&] {
    const std::string ou = TientDansUnLitteral(db, table) ? " WHERE [TABLE]='" + table + "'" : "";
    ado::Recordset rs = db.OpenRecordSet("SELECT * FROM [$FLDKORV$]" + ou, 0);
    for (; !rs.Eof(); rs.MoveNext()) {
      if (!EstLigneDe(rs, {{"TABLE", table}})) continue;
      numeros.champs.emplace_back(runtime::LowerCase(TexteCatalogue(rs.Fields("NOM").Value())), runtime::ToInt16(rs.Fields("NO").Value()));
    }
    rs.Close();
  });
  return numeros;
}

void VerifieNomFld(DataBase& db, const std::string& nom) {
  VerifieLargeur(db, "Nom de champ", std::string(runtime::Trim(nom)), kLargeurNom);
}

void VerifieIdx(DataBase& db, const DbIdx& idx) {
  VerifieLargeur(db, "Nom d'index", idx.Nom(), kLargeurNom);
  VerifieLargeur(db, "Champs d'index", idx.SFld(), kLargeurChamps);
}

void VerifieTbl(DataBase& db, const DbTbl& tbl) {
  VerifieLargeur(db, "Nom de table", tbl.Nom(), kLargeurNom);
  for (const DbFld& fld : tbl.Champs()) VerifieNomFld(db, fld.Nom());
  for (const DbIdx& idx : tbl.Index()) VerifieIdx(db, idx);
}

void RenumeroteChamps(DataBase& db, const std::string& table, std::int16_t position) {
  if (TientDansUnLitteral(db, table)) {
    db.ExecuteSQL("UPDATE [$FLDKORV$] SET [NO]=[NO]-1 WHERE [TABLE]='" + table + "' AND [NO]>" + std::to_string(position));
    return;
  }
  // From the smallest number on: table and number are a key.
  ado::Recordset rs = db.OpenRecordSet("SELECT * FROM [$FLDKORV$] ORDER BY [TABLE],[NO]", 2);
  for (; !rs.Eof(); rs.MoveNext()) {
    const std::int16_t no = runtime::ToInt16(rs.Fields("NO").Value());
    if (no <= position || !EstLigneDe(rs, {{"TABLE", table}})) continue;
    rs.Fields("NO").Value(static_cast<std::int16_t>(no - 1));
    rs.Update();
  }
  rs.Close();
}

std::string TexteCatalogue(const runtime::Variant& valeur) {
  if (valeur.IsNull()) return {};
  return std::string(runtime::TrimRight(runtime::ToText(valeur)));
}

bool DrapeauCatalogue(const runtime::Variant& valeur) { return !valeur.IsNull() && runtime::ToBoolean(valeur); }

std::vector<CleLue> LitCles(DataBase& db, const std::string& table) {
  std::string question = db.Moteur().faits.questionCles;
  question.replace(question.find('#'), 1, table);
  std::vector<CleLue> cles;
  ado::Recordset rs = db.OpenRecordSet(question, 0);
  const ado::Field& index = rs.Fields("Key_name");
  const ado::Field& champ = rs.Fields("Column_Name");
  for (; !rs.Eof(); rs.MoveNext()) {
    cles.push_back({runtime::UpperCase(TexteCatalogue(index.Value())), runtime::LowerCase(TexteCatalogue(champ.Value()))});
  }
  rs.Close();
  return cles;
}

}  // namespace tamlo::db
