#include "tests/attaque/Histoire.h"

#include <algorithm>
#include <cstdio>
#include <filesystem>
#include <sstream>
#include <stdexcept>

#include "runtime/Conversions.h"
#include "runtime/Dates.h"
#include "runtime/Error.h"
#include "runtime/Text.h"

namespace tamlo::attaque {

namespace {

/// A value that the layer read, as the readers say it.
Cellule Dite(const ado::Variant& valeur, const Colonne& colonne, const Particularites& traits) {
  const runtime::RegionalSettings simples;
  const bool texte = colonne.typ == ado::adVarWChar || colonne.typ == ado::adLongVarWChar;
  if (valeur.IsNull() || valeur.IsEmpty()) return texte && !traits.texteNul ? "t" : "N";
  if (texte) return "t" + runtime::ToText(valeur, simples);
  if (const auto* octets = valeur.If<runtime::Bytes>()) {
    std::string chiffres = "x";
    char deux[4];
    for (const std::byte octet : *octets) {
      std::snprintf(deux, sizeof deux, "%02X", static_cast<unsigned>(octet));
      chiffres += deux;
    }
    return chiffres;
  }
  if (colonne.typ == ado::adDate) {
    if (valeur.IsText()) return runtime::ToText(valeur, simples);
    return runtime::FormatDate(runtime::ToDate(valeur, simples), "YYYY-MM-DD HH:NN:SS", simples);
  }
  if (colonne.typ == ado::adBoolean) return runtime::ToBoolean(valeur, simples) ? "1" : "0";
  return Nombre(runtime::ToDouble(valeur, simples));
}

}  // namespace

Histoire::Histoire(Terrain& terrain, std::string base, std::uint32_t graine, const Particularites& traits)
    : terrain_(terrain), nom_(std::move(base)), hasard_(graine), traits_(traits) {}

Histoire::~Histoire() {
  runtime::IgnoringErrors([&] { Finit(); });
}

db::DataBase& Histoire::Base(std::size_t i) {
  if (!bases_[i]) {
    bases_[i] = std::make_unique<db::DataBase>();
    Ouvre(*bases_[i], terrain_, nom_);
    for (std::int16_t e = 0; e < bases_[i]->NbErr() && terrain_.ConnaitChamps(); ++e) {
      fautes_ +=
          "opening: " + bases_[i]->ListeErr(e).etape + " " + bases_[i]->ListeErr(e).table + " " + bases_[i]->ListeErr(e).description + "\n";
    }
  }
  return *bases_[i];
}

void Histoire::Ferme(std::size_t i) {
  if (!bases_[i]) return;
  bases_[i]->Ferme();
  bases_[i].reset();
  vieilles_[i].clear();
}

void Histoire::Finit() {
  while (EnTransaction()) Termine(false);
  Ferme(0);
  Ferme(1);
}

std::string Histoire::DerniersPas(std::size_t nombre) const {
  std::string tout;
  for (std::size_t i = journal_.size() > nombre ? journal_.size() - nombre : 0; i < journal_.size(); ++i)
    tout += std::to_string(i + 1) + ". " + journal_[i] + "\n";
  return tout;
}

std::string Histoire::UneTable() {
  auto place = etat_.tables.begin();
  std::advance(place, Tire(hasard_, static_cast<int>(etat_.tables.size())));
  return place->first;
}

std::int32_t Histoire::UneRangee(const TableModele& table) {
  auto place = table.rangees.begin();
  std::advance(place, Tire(hasard_, static_cast<int>(table.rangees.size())));
  return place->first;
}

void Histoire::Joue(std::size_t main, Coup coup) {
  db::DataBase& base = Base(main);
  const bool directe = !EnTransaction();
  journal_.push_back("[" + std::to_string(main) + (directe ? "] " : " tr] ") + coup.dit);
  if (avant) avant(Validee(), directe ? coup.apres : validee_, coup.structure, coup.dit);
  try {
    coup.fait(base);
    if (coup.refus) fautes_ += "no error, though one was to come: " + coup.dit + "\n";
    if (!coup.structure.empty() && EnTransaction()) structureEnTransaction_ = true;
    etat_ = std::move(coup.apres);
    if (!coup.structure.empty()) Vieillit(main, coup.structure);
  } catch (const runtime::Error& erreur) {
    journal_.back() += "  -> " + std::to_string(erreur.Number()) + " " + erreur.Description().substr(0, 200);
    if (!coup.refus) refus_.push_back(journal_.back());
    if (*coup.faites > 0) etat_ = std::move(coup.etapes.at(*coup.faites - 1));
  }
}

/// Who changes a table that the other one has changed numbers its fields by what it knows: the catalog may have gaps then, and no other fault.
void Histoire::Vieillit(std::size_t main, const std::string& table) {
  if (bases_[1 - main]) vieilles_[1 - main].insert(table);
  trouees_ = trouees_ || vieilles_[main].contains(table);
  if (trouees_ && !EnTransaction() && terrain_.Catalogue()) Renumerote();
}

void Histoire::Renumerote() {
  journal_.push_back("a repair of the numbers");
  Ferme(0);
  Ferme(1);
  if (avant) avant(etat_, etat_, "*", "a repair of the numbers");
  std::vector<db::EcartCatalogue> changements;
  Base(0).RecreeCatalogue(changements);
  for (const auto& c : changements) {
    const bool permis = c.texte.find("numéro") != std::string::npos || c.texte.find("mouvements") != std::string::npos;
    if (!permis) fautes_ += "beside numbers a repair found: " + c.table + " " + c.texte + "\n";
  }
  trouees_ = false;
}

void Histoire::Commence(std::size_t main) {
  journal_.push_back("[" + std::to_string(main) + "] BeginTrans");
  Base(main).BeginTrans();
  if (dansTransaction_.empty()) {
    validee_ = etat_;
    structureEnTransaction_ = false;
  }
  dansTransaction_.push_back(etat_);
  mainTransaction_ = main;
}

void Histoire::Termine(bool valide) {
  journal_.push_back("[" + std::to_string(mainTransaction_) + (valide ? "] CommitTrans" : "] RollBack"));
  if (avant)
    avant(validee_, valide && dansTransaction_.size() == 1 ? etat_ : validee_, structureEnTransaction_ ? "*" : "", journal_.back());
  const auto erreur = runtime::IgnoringErrors([&] { valide ? Base(mainTransaction_).CommitTrans() : Base(mainTransaction_).RollBack(); });
  if (erreur) {
    journal_.back() += "  -> " + std::to_string(erreur.number) + " " + erreur.description;
    refus_.push_back(journal_.back());
    if (valide) {
      (void)runtime::IgnoringErrors([&] { Base(mainTransaction_).RollBack(); });
      valide = false;
    }
  }
  if (!valide) etat_ = dansTransaction_.back();
  dansTransaction_.pop_back();
  if (!dansTransaction_.empty() || !structureEnTransaction_) return;
  // Lists in memory do not go back with a transaction.
  Ferme(0);
  Ferme(1);
  if (trouees_ && valide && terrain_.Catalogue()) Renumerote();
  trouees_ = false;
}

void Histoire::Pas() {
  const std::size_t main = EnTransaction() ? mainTransaction_ : static_cast<std::size_t>(Tire(hasard_, 2));
  db::DataBase& base = Base(main);
  if (etat_.tables.empty() || (etat_.tables.size() < 2 && Chance(30))) {
    if (!EnTransaction()) return Joue(main, CreeTable());
  }
  const int quoi = Tire(hasard_, 100);
  if (etat_.tables.empty()) return Termine(true);
  if (EnTransaction() && quoi < 18) {
    if (terrain_.Imbriquees() && dansTransaction_.size() < 4 && Chance(35)) return Commence(main);
    return Termine(Chance(55));
  }
  if (quoi < 8) return Commence(main);
  if (quoi < 14 && !EnTransaction()) {
    journal_.push_back("[" + std::to_string(main) + "] Ferme");
    return Ferme(main);
  }
  if (quoi < 28) {
    if (EnTransaction() && !terrain_.StructureEnTransaction()) return Lit(1 - main);
    Coup coup = Structure(base);
    const bool change = !coup.structure.empty();
    Joue(main, std::move(coup));
    // The other one knows nothing of it; half of the time it goes on so.
    if (change && !EnTransaction() && Chance(50)) Ferme(1 - main);
    return;
  }
  if (quoi < 36) return Lit(EnTransaction() && Chance(50) ? 1 - main : main);
  if (quoi < 38 && !EnTransaction() && terrain_.Catalogue()) return Repare(main);
  return Joue(main, quoi < 60 ? Statement() : Edition());
}

void Histoire::Lit(std::size_t main) {
  const Etat& vue = EnTransaction() && main != mainTransaction_ ? validee_ : etat_;
  if (vue.tables.empty()) return;
  auto place = vue.tables.begin();
  std::advance(place, Tire(hasard_, static_cast<int>(vue.tables.size())));
  const auto& [nom, table] = *place;
  const auto option = static_cast<std::int16_t>(Chance(50) ? 0 : 3);
  journal_.push_back("[" + std::to_string(main) + "] read " + nom + " option " + std::to_string(option));
  std::map<std::int32_t, std::vector<Cellule>> lues;
  std::string fautes;
  const auto erreur = runtime::IgnoringErrors([&] {
    auto rs = Base(main).OpenRecordSet("SELECT * FROM " + E(nom), option);
    for (; !rs.Eof(); rs.MoveNext()) {
      std::vector<Cellule> rangee;
      for (const Colonne& c : table.colonnes) rangee.push_back(Dite(rs.Fields(c.nom).Value(), c, traits_));
      const std::int32_t id = runtime::ToInt32(rs.Fields("ID").Value());
      if (!lues.emplace(id, std::move(rangee)).second) fautes += "row " + std::to_string(id) + " was read twice\n";
    }
    rs.Close();
  });
  if (erreur) {
    refus_.push_back(journal_.back() + "  -> " + std::to_string(erreur.number) + " " + erreur.description);
    return;
  }
  if (lues != table.rangees) {
    for (const auto& [id, rangee] : table.rangees) {
      if (!lues.contains(id)) {
        fautes += "row " + std::to_string(id) + " was not read\n";
        continue;
      }
      for (std::size_t i = 0; i < rangee.size(); ++i) {
        if (lues[id][i] != rangee[i])
          fautes += "row " + std::to_string(id) + " " + table.colonnes[i].nom + " reads as <" + lues[id][i].substr(0, 60) + "> and not <" +
                    rangee[i].substr(0, 60) + ">\n";
      }
    }
    for (const auto& [id, rangee] : lues) {
      if (!table.rangees.contains(id)) fautes += "row " + std::to_string(id) + " was read and should not be there\n";
    }
  }
  if (!fautes.empty()) fautes_ += "our own reading of " + nom + ": " + fautes;
}

void Histoire::Repare(std::size_t main) {
  // An object that has not seen the other's changes would write an old table list.
  Ferme(main);
  journal_.push_back("[" + std::to_string(main) + "] RecreeCatalogue");
  if (avant) avant(etat_, etat_, "*", "RecreeCatalogue");
  const auto erreur = runtime::IgnoringErrors([&] {
    if (Chance(50)) return Base(main).RecreeCatalogue();
    std::vector<db::EcartCatalogue> changements;
    Base(main).RecreeCatalogue(changements);
    for (const auto& c : changements) {
      // An opening takes no movements from the catalog.
      if (c.texte.find("mouvements") == std::string::npos) fautes_ += "a repair found: " + c.table + " " + c.texte + "\n";
    }
  });
  if (erreur) refus_.push_back(journal_.back() + "  -> " + std::to_string(erreur.number) + " " + erreur.description);
}

std::string Histoire::Verifie() {
  std::string fautes = std::move(fautes_);
  fautes_.clear();
  const Etat& validee = Validee();
  if (terrain_.Kind() == db::TypJet && EnTransaction() && std::filesystem::exists(nom_ + "-journal")) return fautes;
  fautes += Ecarts(terrain_, validee, terrain_.Lit(nom_, validee), !EnTransaction());
  if (EnTransaction() || !terrain_.ConnaitChamps()) return fautes;
  const auto erreur = runtime::IgnoringErrors([&] {
    db::DataBase fraiche;
    Ouvre(fraiche, terrain_, nom_);
    if (terrain_.Catalogue()) {
      for (const auto& ecart : fraiche.VerifieCatalogue()) fautes += "VerifieCatalogue: " + ecart.table + " " + ecart.texte + "\n";
    }
    fraiche.Ferme();
  });
  if (erreur) fautes += "a fresh opening: " + erreur.description + "\n";
  return fautes;
}

}  // namespace tamlo::attaque
