#include "db/catalogue/ContenuCatalogue.h"

#include <algorithm>

#include "db/LignesCatalogue.h"
#include "runtime/Conversions.h"

namespace tamlo::db::catalogue {

namespace {

template <typename Ligne>
void PourChaqueLigne(DataBase& db, const char* table, const std::string& ordre, Ligne&& ligne) {
  if (!db.ExisteTbl(table)) return;
  ado::Recordset rs = db.OpenRecordSet("SELECT * FROM [" + std::string(table) + "] ORDER BY " + ordre, 3);
  for (; !rs.Eof(); rs.MoveNext()) ligne(rs);
  rs.Close();
}

std::string Texte(const ado::Recordset& rs, const char* colonne) { return TexteCatalogue(rs.Fields(colonne).Value()); }

const ContenuTable::Champ* Cherche(const ContenuTable& contenu, const std::string& nom) {
  const auto champ = std::find_if(contenu.champs.begin(), contenu.champs.end(), [&](const auto& c) { return c.nom == nom; });
  return champ == contenu.champs.end() ? nullptr : &*champ;
}

void CompareChamps(const ContenuTable::Champ& avant, const ContenuTable::Champ& apres, const std::function<void(std::string)>& dit) {
  const std::string champ = "champ " + avant.nom + " : ";
  if (avant.no != apres.no) dit(champ + "numéro " + std::to_string(avant.no) + " devenu " + std::to_string(apres.no));
  if (avant.ini != apres.ini) dit(champ + "valeur initiale \"" + avant.ini + "\" devenue \"" + apres.ini + "\"");
  if (avant.fmt != apres.fmt) dit(champ + "format \"" + avant.fmt + "\" devenu \"" + apres.fmt + "\"");
  if (avant.obg != apres.obg) dit(champ + "obligatoire, " + OuiNon(avant.obg) + " devenu " + OuiNon(apres.obg));
}

void CompareIndex(const std::string& nom, const ContenuTable::Index& avant, const ContenuTable::Index& apres,
                  const std::function<void(std::string)>& dit) {
  const std::string index = "index " + nom + " : ";
  if (avant.champs != apres.champs) dit(index + "champs " + avant.champs + " devenus " + apres.champs);
  if (avant.primaire != apres.primaire) dit(index + "primaire, " + OuiNon(avant.primaire) + " devenu " + OuiNon(apres.primaire));
  if (avant.unique != apres.unique) dit(index + "unique, " + OuiNon(avant.unique) + " devenu " + OuiNon(apres.unique));
}

}  // namespace

const char* OuiNon(bool valeur) noexcept { return valeur ? "oui" : "non"; }

ContenuCatalogue LitCatalogue(DataBase& db) {
  ContenuCatalogue contenu;
  PourChaqueLigne(db, kTblKorv, "[NOM]",
                  [&](const ado::Recordset& rs) { contenu[Texte(rs, "NOM")].mvt = DrapeauCatalogue(rs.Fields("MVT").Value()); });
  PourChaqueLigne(db, kFldKorv, "[TABLE],[NO]", [&](const ado::Recordset& rs) {
    contenu[Texte(rs, "TABLE")].champs.push_back({runtime::ToInt16(rs.Fields("NO").Value()), Texte(rs, "NOM"), Texte(rs, "INI"),
                                                  Texte(rs, "FMT"), DrapeauCatalogue(rs.Fields("OBLIGATOIRE").Value())});
  });
  PourChaqueLigne(db, kIdxKorv, "[TABLE],[NOM]", [&](const ado::Recordset& rs) {
    contenu[Texte(rs, "TABLE")].index[Texte(rs, "NOM")] = {Texte(rs, "CHAMPS"), DrapeauCatalogue(rs.Fields("PRIMAIRE").Value()),
                                                           DrapeauCatalogue(rs.Fields("UNIQUE").Value())};
  });
  return contenu;
}

void CompareContenus(const std::string& table, const ContenuTable& avant, const ContenuTable& apres, std::vector<EcartCatalogue>& ecarts) {
  const auto dit = [&](std::string texte) { ecarts.push_back({table, std::move(texte)}); };
  if (avant.mvt && !apres.mvt) dit("retirée du catalogue");
  if (!avant.mvt && apres.mvt) dit("ajoutée au catalogue");
  if (avant.mvt && apres.mvt && *avant.mvt != *apres.mvt)
    dit(std::string("mouvements, ") + OuiNon(*avant.mvt) + " devenu " + OuiNon(*apres.mvt));
  for (const auto& champ : avant.champs) {
    if (const auto* reste = Cherche(apres, champ.nom)) {
      CompareChamps(champ, *reste, dit);
    } else {
      dit("champ " + champ.nom + " retiré");
    }
  }
  for (const auto& champ : apres.champs) {
    if (Cherche(avant, champ.nom) == nullptr) dit("champ " + champ.nom + " ajouté");
  }
  for (const auto& [nom, index] : avant.index) {
    const auto reste = apres.index.find(nom);
    if (reste != apres.index.end()) {
      CompareIndex(nom, index, reste->second, dit);
    } else {
      dit("index " + nom + " retiré");
    }
  }
  for (const auto& [nom, index] : apres.index) {
    if (!avant.index.contains(nom)) dit("index " + nom + " ajouté (" + index.champs + ")");
  }
}

}  // namespace tamlo::db::catalogue
