// What a history does to rows, by statements and through recordsets.
#include <algorithm>
#include <array>

#include "runtime/Error.h"
#include "tests/attaque/Histoire.h"

namespace tamlo::attaque {

std::map<std::size_t, Valeur> Histoire::Valeurs(const TableModele& table, bool toutes, bool litteraux) {
  std::map<std::size_t, Valeur> valeurs;
  for (std::size_t i = 1; i < table.colonnes.size(); ++i) {
    const Colonne& colonne = table.colonnes[i];
    const bool exigee = toutes && litteraux && !traits_.texteNul && (colonne.typ == ado::adVarWChar || colonne.typ == ado::adLongVarWChar);
    if (!exigee && !Chance(toutes ? 85 : 50)) continue;
    for (int essai = 0; essai < 40; ++essai) {
      Valeur v = TireValeur(hasard_, colonne, traits_);
      if (litteraux && !v.litteral) continue;
      valeurs[i] = std::move(v);
      break;
    }
  }
  return valeurs;
}

std::string Histoire::Insere(TableModele& table, const std::string& nom) {
  const std::int32_t id = prochain_++;
  const auto valeurs = Valeurs(table, true, true);
  std::string noms = E("ID");
  std::string textes = std::to_string(id);
  std::vector<Cellule> rangee{Nombre(id)};
  for (std::size_t i = 1; i < table.colonnes.size(); ++i) {
    const auto v = valeurs.find(i);
    rangee.push_back(v == valeurs.end() ? SansValeur(table.colonnes[i], traits_) : v->second.gardee);
    if (v == valeurs.end()) continue;
    noms += "," + E(table.colonnes[i].nom);
    textes += "," + *v->second.litteral;
  }
  table.rangees[id] = rangee;
  return "INSERT INTO " + E(nom) + " (" + noms + ") VALUES (" + textes + ")";
}

std::string Histoire::Change(TableModele& table, const std::string& nom) {
  const std::int32_t id = UneRangee(table);
  const bool plusieurs = Chance(35);
  const auto valeurs = Valeurs(table, false, true);
  std::string mises;
  for (const auto& [i, v] : valeurs) mises += (mises.empty() ? "" : ",") + E(table.colonnes[i].nom) + "=" + *v.litteral;
  if (mises.empty()) mises = E("ID") + "=" + E("ID");
  for (auto& [autre, rangee] : table.rangees) {
    if (autre != id && (!plusieurs || autre < id)) continue;
    for (const auto& [i, v] : valeurs) rangee[i] = v.gardee;
  }
  return "UPDATE " + E(nom) + " SET " + mises + " WHERE " + E("ID") + (plusieurs ? ">=" : "=") + std::to_string(id);
}

std::string Histoire::Deplace(TableModele& table, const std::string& nom) {
  constexpr std::int32_t kLoin = 100000;
  std::map<std::int32_t, std::vector<Cellule>> deplacees;
  for (auto& [id, rangee] : table.rangees) {
    rangee[0] = Nombre(id + kLoin);
    deplacees[id + kLoin] = std::move(rangee);
  }
  table.rangees = std::move(deplacees);
  prochain_ += kLoin;
  return "UPDATE " + E(nom) + " SET " + E("ID") + "=" + E("ID") + "+" + std::to_string(kLoin);
}

Coup Histoire::Statement() {
  Coup coup{"", etat_, ""};
  const std::string nom = UneTable();
  TableModele& table = coup.apres.tables[nom];
  const int quoi = table.rangees.empty() ? 0 : Tire(hasard_, 100);
  std::string sql;
  if (quoi < 45) {
    sql = Insere(table, nom);
  } else if (quoi < 80) {
    sql = Change(table, nom);
  } else if (quoi < 92) {
    const std::int32_t id = UneRangee(table);
    const bool plusieurs = Chance(20);
    sql = "DELETE * FROM " + E(nom) + " WHERE " + E("ID") + (plusieurs ? ">=" : "=") + std::to_string(id);
    std::erase_if(table.rangees, [&](const auto& r) { return plusieurs ? r.first >= id : r.first == id; });
  } else if (table.cle && table.rangees.size() > 1 && !(EnTransaction() && !terrain_.ConnaitChamps())) {
    // A row in the middle is refused: none of the statement's rows may have changed.
    const std::int32_t id = table.rangees.begin()->first;
    sql = "UPDATE " + E(nom) + " SET " + E("ID") + "=" + std::to_string(id) + " WHERE " + E("ID") + ">=" + std::to_string(id);
    coup.refus = true;
  } else {
    sql = Deplace(table, nom);
  }
  coup.dit = "ExecuteSQL " + sql.substr(0, 400);
  coup.fait = [sql](db::DataBase& b) { b.ExecuteSQL(sql); };
  return coup;
}

Geste Histoire::TireGeste(TableModele& table) {
  using Quoi = Geste::Quoi;
  using Fin = Geste::Fin;
  Geste geste;
  if (!table.rangees.empty()) geste.quoi = std::min(Quoi::kSupprime, static_cast<Quoi>(Tire(hasard_, 5) / 2));
  const int fin = Tire(hasard_, 10);
  geste.fin = fin < 6 ? Fin::kUpdate : fin < 8 ? Fin::kDeplace : fin == 8 ? Fin::kAbandon : Fin::kFerme;
  const bool garde = geste.fin == Fin::kUpdate || geste.fin == Fin::kDeplace;
  if (geste.quoi == Quoi::kNouveau) {
    geste.id = prochain_++;
    geste.valeurs = Valeurs(table, true, false);
    std::vector<Cellule> rangee{Nombre(geste.id)};
    for (std::size_t i = 1; i < table.colonnes.size(); ++i) {
      rangee.push_back(geste.valeurs.contains(i) ? geste.valeurs[i].gardee : SansValeur(table.colonnes[i], traits_));
    }
    if (garde) table.rangees[geste.id] = rangee;
    return geste;
  }
  geste.id = UneRangee(table);
  if (geste.quoi == Quoi::kSupprime) {
    table.rangees.erase(geste.id);
    return geste;
  }
  geste.valeurs = Valeurs(table, false, false);
  if (geste.valeurs.empty()) geste.fin = Fin::kUpdate;
  for (const auto& [i, v] : geste.valeurs) {
    if (garde) table.rangees[geste.id][i] = v.gardee;
  }
  return geste;
}

namespace {

std::string DitGeste(const Geste& geste, const std::vector<Colonne>& colonnes) {
  constexpr std::array<const char*, 3> kQuoi{" new ", " change ", " delete "};
  constexpr std::array<const char*, 4> kFin{")Update", ")MoveFirst", ")CancelUpdate", ")Close"};
  std::string dit = kQuoi[static_cast<std::size_t>(geste.quoi)] + std::to_string(geste.id) + "(";
  for (const auto& [i, v] : geste.valeurs) {
    dit += colonnes[i].nom + "=" + v.gardee.substr(0, 24) + (v.gardee.size() > 24 ? "..." + std::to_string(v.gardee.size()) : "") + ",";
  }
  return dit + (geste.quoi == Geste::Quoi::kSupprime ? ")" : kFin[static_cast<std::size_t>(geste.fin)]);
}

}  // namespace

void Histoire::JoueGeste(ado::Recordset& rs, const Geste& geste, const std::vector<Colonne>& colonnes) {
  if (geste.quoi == Geste::Quoi::kNouveau) {
    rs.AddNew();
    rs.Fields("ID").Value(geste.id);
  } else {
    rs.MoveFirst();
    rs.Find("[ID]=" + std::to_string(geste.id));
    if (rs.Eof()) throw runtime::Error(1, "row " + std::to_string(geste.id) + " is not found in the recordset");
    if (geste.quoi == Geste::Quoi::kSupprime) return rs.Delete();
  }
  for (const auto& [i, v] : geste.valeurs) rs.Fields(colonnes[i].nom).Value(v.valeur);
  if (geste.fin == Geste::Fin::kUpdate) rs.Update();
  if (geste.fin == Geste::Fin::kDeplace) rs.MoveFirst();
  if (geste.fin == Geste::Fin::kAbandon) rs.CancelUpdate();
  if (geste.fin == Geste::Fin::kFerme) rs.Close();
}

Coup Histoire::Edition() {
  Coup coup{"", etat_, ""};
  const std::string nom = UneTable();
  TableModele& table = coup.apres.tables[nom];
  const std::vector<Colonne> colonnes = table.colonnes;
  const std::int16_t option = Chance(25) && terrain_.ConnaitChamps() ? 1 : 2;
  coup.dit = "recordset " + std::to_string(option) + " on " + nom + ":";
  std::vector<Geste> gestes;
  for (int g = unAUn ? 1 : 1 + Tire(hasard_, 4); g > 0; --g) {
    gestes.push_back(TireGeste(table));
    coup.etapes.push_back(coup.apres);
    coup.dit += DitGeste(gestes.back(), colonnes);
  }
  std::string texte = E(nom);
  if (option != 1) {
    const int forme = Tire(hasard_, 3);
    texte = "SELECT * FROM " + E(nom) + (forme == 0 ? " ORDER BY " + E("ID") : forme == 1 ? " WHERE " + E("ID") + ">=-5" : std::string());
  }
  coup.fait = [texte, colonnes, gestes, option, faites = coup.faites](db::DataBase& b) {
    ado::Recordset rs = b.OpenRecordSet(texte, option);
    for (const Geste& geste : gestes) {
      if (!rs.IsOpen()) rs = b.OpenRecordSet(texte, option);
      JoueGeste(rs, geste, colonnes);
      ++*faites;
    }
    if (rs.IsOpen()) rs.Close();
  };
  return coup;
}

}  // namespace tamlo::attaque
