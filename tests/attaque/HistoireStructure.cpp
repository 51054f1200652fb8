// What a history does to tables, fields and indexes, through an object that may not have seen what the other one did.
#include <algorithm>

#include "runtime/Error.h"
#include "runtime/Text.h"
#include "tests/attaque/Histoire.h"

namespace tamlo::attaque {

namespace {

constexpr std::size_t kLongueurNom = 30;    // of a name in the catalog
constexpr std::size_t kLongueurListe = 50;  // of an index's field list there

const std::vector<std::string>& NomsTables() {
  static const std::vector<std::string> noms{"T1",  "T2",    "A B", "É/T", "SELECT",
                                             "1",   "ORDER", "T-1", "A;B", "A,B",
                                             "T#1", "TABLE", "ÀÉÎ", "T_2", "NNNNNNNNNNNNNNNNNNNNNNNNNNNNNN"};
  return noms;
}

const std::vector<std::string>& NomsChamps() {
  static const std::vector<std::string> noms{"C0",  "C1",  "A B", "É",   "ORDER", "NO",     "TABLE",
                                             "1",   "X/Y", "X-Y", "INI", "A;B",   "VALEUR", "NNNNNNNNNNNNNNNNNNNNNNNNNNNNNN",
                                             "A,B", "C%",  "A(B)"};
  return noms;
}

const std::string kTropLong(kLongueurNom + 1, 'L');

bool Long(const Colonne& colonne) { return colonne.typ == ado::adLongVarWChar || colonne.typ == ado::adLongVarBinary; }

auto Cherche(const TableModele& table, const std::string& champ) {
  return std::find_if(table.colonnes.begin(), table.colonnes.end(), [&](const Colonne& c) { return c.nom == champ; });
}
bool A(const TableModele& table, const std::string& champ) { return Cherche(table, champ) != table.colonnes.end(); }

bool EstIndexe(const TableModele& table, const std::string& champ) {
  return std::any_of(table.index.begin(), table.index.end(),
                     [&](const auto& i) { return (";" + i.second + ";").find(";" + champ + ";") != std::string::npos; });
}

bool ConnaitChamp(db::DataBase& base, const std::string& nom, const std::string& champ) {
  return base.TableNommee(nom).PlaceFld(runtime::LowerCase(champ)) != -1;
}

template <typename Liste>
const auto& Un(Hasard& hasard, const Liste& liste) {
  return liste[static_cast<std::size_t>(Tire(hasard, static_cast<int>(liste.size())))];
}

Coup Rien(const Etat& etat, const std::string& dit) {
  return {"nothing: " + dit, etat, "", false, [](db::DataBase&) {}, {}};
}

}  // namespace

std::string Histoire::UnChamp() {
  for (;;) {
    const std::string& champ = Un(hasard_, NomsChamps());
    if (terrain_.Prend(champ)) return champ;
  }
}

TableModele Histoire::TableNeuve() {
  TableModele table;
  table.colonnes.push_back({"ID", ado::adInteger, 4});
  for (int i = 1 + Tire(hasard_, 6); i > 0; --i) {
    const std::string champ = UnChamp();
    if (!A(table, champ)) table.colonnes.push_back(TireColonne(hasard_, champ));
  }
  table.cle = Chance(70);
  if (table.cle) table.index["PRIMARY"] = "ID";
  return table;
}

void Histoire::CreeDans(db::DataBase& base, const std::string& nom, const TableModele& table) {
  auto definition = std::make_unique<db::DbTbl>();
  definition->Nom(nom);
  for (const Colonne& c : table.colonnes) definition->AddFld(c.nom, c.typ, c.lg, false);
  if (table.cle) definition->AddIdx("PRIMARY", "ID", true, true);
  if (!terrain_.Catalogue()) {
    std::string texte = "CREATE TABLE " + E(nom) + " (";
    for (std::size_t i = 0; i < table.colonnes.size(); ++i)
      texte += (i > 0 ? "," : "") + E(table.colonnes[i].nom) + " " + terrain_.TypeBrut(table.colonnes[i]);
    base.ExecuteSQL(texte + (table.cle ? ",PRIMARY KEY(" + E("ID") + ")" : std::string()) + ")");
    base.Catalogue().Refresh();
  }
  base.AddTbl(std::move(definition));
}

Coup Histoire::CreeTable() {
  std::vector<std::string> libres;
  for (const std::string& nom : NomsTables()) {
    if (!etat_.tables.contains(nom) && terrain_.Prend(nom)) libres.push_back(nom);
  }
  if (libres.empty()) return Rien(etat_, "no name is free");
  Coup coup{"", etat_, ""};
  coup.refus = terrain_.Catalogue() && Chance(5);
  const std::string nom = coup.refus ? kTropLong : Un(hasard_, libres);
  const TableModele table = TableNeuve();
  coup.dit = "AddTbl " + nom + (table.cle ? " with key" : " without key");
  for (const Colonne& c : table.colonnes) coup.dit += " " + c.nom + ":" + std::to_string(c.typ) + "/" + std::to_string(c.lg);
  coup.structure = nom;
  if (!coup.refus) coup.apres.tables[nom] = table;
  coup.fait = [this, nom, table](db::DataBase& base) { CreeDans(base, nom, table); };
  return coup;
}

Coup Histoire::Structure(db::DataBase& base) {
  const int quoi = Tire(hasard_, 10);
  if (quoi < 2 && etat_.tables.size() < 5) return CreeTable();
  const std::string nom = UneTable();
  if (quoi == 2) return SupprimeTable(nom);
  if (!terrain_.ConnaitChamps() || runtime::IgnoringErrors([&] { (void)base.TableNommee(nom); }))
    return Rien(etat_, nom + " is not known there");
  if (quoi < 6) return AjouteChamp(base, nom);
  if (quoi < 8) return SupprimeChamp(base, nom);
  if (!terrain_.Catalogue()) return Rien(etat_, "no indexes there");
  return quoi == 8 ? AjouteIndex(base, nom) : SupprimeIndex(base, nom);
}

Coup Histoire::SupprimeTable(const std::string& nom) {
  Coup coup{"SupTbl " + nom, etat_, nom};
  coup.apres.tables.erase(nom);
  coup.fait = [this, nom](db::DataBase& b) { terrain_.ConnaitChamps() ? b.SupTbl(nom) : b.ExecuteSQL("DROP TABLE " + nom); };
  return coup;
}

Coup Histoire::AjouteChamp(db::DataBase& base, const std::string& nom) {
  Coup coup{"", etat_, nom};
  TableModele& table = coup.apres.tables[nom];
  const std::string champ = terrain_.Catalogue() && Chance(6) ? kTropLong : UnChamp();
  const Colonne colonne = TireColonne(hasard_, champ);
  const bool la = A(table, champ);
  const bool connu = ConnaitChamp(base, nom, champ);
  coup.dit = "AddFld " + nom + "." + champ + ":" + std::to_string(colonne.typ) + "/" + std::to_string(colonne.lg);
  // One that the object knows is not added again, and a number is always a known position. One that the other object has added is refused
  // by the backend, a long name by the layer.
  const bool rien = connu || champ == "1";
  coup.refus = !rien && (la || champ == kTropLong);
  if (!rien && !coup.refus) {
    table.colonnes.push_back(colonne);
    for (auto& [id, rangee] : table.rangees) rangee.push_back(SansValeur(colonne, traits_));
  }
  coup.fait = [nom, colonne](db::DataBase& b) { b.TableNommee(nom).AddFld(colonne.nom, colonne.typ, colonne.lg, false); };
  return coup;
}

Coup Histoire::SupprimeChamp(db::DataBase& base, const std::string& nom) {
  Coup coup{"", etat_, nom};
  TableModele& table = coup.apres.tables[nom];
  const std::string champ = Chance(70) ? Un(hasard_, table.colonnes).nom : UnChamp();
  if (champ == "ID" || EstIndexe(table, champ)) return Rien(etat_, "no field to drop");
  coup.dit = "SupFld " + nom + "." + champ;
  const auto place = Cherche(table, champ) - table.colonnes.begin();
  const bool part = A(table, champ) && ConnaitChamp(base, nom, champ);
  if (part) {
    table.colonnes.erase(table.colonnes.begin() + place);
    for (auto& [id, rangee] : table.rangees) rangee.erase(rangee.begin() + place);
  }
  coup.fait = [nom, champ, part](db::DataBase& b) {
    b.TableNommee(nom).SupFld(champ);
    if (part && ConnaitChamp(b, nom, champ)) throw runtime::Error(1, "the field was not dropped");
  };
  return coup;
}

Coup Histoire::AjouteIndex(db::DataBase& base, const std::string& nom) {
  static const std::vector<std::string> noms{"IX1", "I X", "É", "ORDER", "I-1", "IX2", "7"};
  Coup coup{"", etat_, nom};
  TableModele& table = coup.apres.tables[nom];
  const std::string index = Un(hasard_, noms);
  std::string champs = Chance(40) ? "ID" : "";
  for (const Colonne& c : table.colonnes) {
    if (c.nom == "ID" || Long(c) || c.nom.find_first_of(";-") != std::string::npos || !Chance(40)) continue;
    if (std::count(champs.begin(), champs.end(), ';') < 2) champs += (champs.empty() ? "" : ";") + c.nom;
  }
  if (champs.empty()) champs = "ID";
  const bool unique = champs.substr(0, 2) == "ID" && Chance(50);
  const bool connu = base.TableNommee(nom).ExisteIdx(index);  // a number always
  coup.refus = !connu && (table.index.contains(index) || static_cast<std::size_t>(Caracteres(champs)) > kLongueurListe);
  coup.dit = "AddIdx " + nom + "." + index + "(" + champs + ")" + (unique ? "u" : "");
  if (!connu && !coup.refus) table.index[index] = champs;
  coup.fait = [nom, index, champs, unique](db::DataBase& b) { b.TableNommee(nom).AddIdx(index, champs, false, unique); };
  return coup;
}

Coup Histoire::SupprimeIndex(db::DataBase& base, const std::string& nom) {
  Coup coup{"", etat_, nom};
  TableModele& table = coup.apres.tables[nom];
  std::vector<std::string> possibles;
  for (const auto& [index, champs] : table.index) {
    if (index != "PRIMARY") possibles.push_back(index);
  }
  if (possibles.empty()) return Rien(etat_, "no index to drop");
  const std::string index = Un(hasard_, possibles);
  const bool part = base.TableNommee(nom).ExisteIdx(index);
  coup.dit = "SupIdx " + nom + "." + index;
  if (part) table.index.erase(index);
  coup.fait = [nom, index](db::DataBase& b) {
    b.TableNommee(nom).SupIdx(index);
    if (b.TableNommee(nom).ExisteIdx(index)) throw runtime::Error(1, "the index was not dropped");
  };
  return coup;
}

}  // namespace tamlo::attaque
