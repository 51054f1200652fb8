// The tables of histories, copied between the kinds: what the copy says is what the target's own reader finds.
#include <gtest/gtest.h>

#include <map>

#include "runtime/Error.h"
#include "tests/attaque/Graines.h"
#include "tests/attaque/Histoire.h"

namespace tamlo::attaque {
namespace {

std::string SansBlancs(std::string texte) {
  while (texte.size() > 1 && texte.back() == ' ') texte.pop_back();
  return texte;
}

/// A cell as it is after a copy; an empty text and none are one here, and so are trailing blanks and none in a short text.
Cellule Arrivee(const Colonne& colonne, Cellule cellule, const Particularites& cible) {
  const bool texte = colonne.typ == ado::adVarWChar || colonne.typ == ado::adLongVarWChar;
  if (texte && cellule == "N") cellule = "t";
  if (colonne.typ == ado::adVarWChar) cellule = SansBlancs(cellule);
  if (colonne.typ == ado::adBoolean && cellule == "N" && !cible.booleenNul) cellule = "0";
  return cellule;
}

Particularites Communes(const Particularites& a, const Particularites& b) {
  Particularites traits = a;
  traits.horsPlan = a.horsPlan && b.horsPlan;
  traits.tousChiffres = a.tousChiffres && b.tousChiffres;
  traits.datesAnciennes = a.datesAnciennes && b.datesAnciennes;
  traits.datesLointaines = a.datesLointaines && b.datesLointaines;
  return traits;
}

std::string CompareCopie(Terrain& vers, const std::string& base, const std::string& nom, const TableModele& table, std::int64_t auMoins,
                         std::int64_t auPlus) {
  Etat seule;
  seule.tables[nom] = table;
  for (auto& [id, rangee] : seule.tables[nom].rangees) {
    for (std::size_t i = 0; i < rangee.size(); ++i) rangee[i] = Arrivee(table.colonnes[i], rangee[i], vers.Traits());
  }
  Lecture lue = vers.Lit(base, seule);
  std::erase_if(lue.colonnes, [&](const auto& autre) { return autre.first != nom; });
  auto& rangees = lue.rangees[nom];
  for (auto& [id, rangee] : rangees) {
    for (std::size_t i = 0; i < rangee.size(); ++i) rangee[i] = Arrivee(table.colonnes[i], rangee[i], vers.Traits());
  }
  std::string ecarts;
  const auto la = static_cast<std::int64_t>(rangees.size());
  if (la < auMoins || la > auPlus)
    ecarts = std::to_string(la) + " rows are there and not " + std::to_string(auMoins) + " to " + std::to_string(auPlus) + "\n";
  // Those that have not come are counted above.
  std::erase_if(seule.tables[nom].rangees, [&](const auto& r) { return !rangees.contains(r.first); });
  return ecarts + Ecarts(vers, seule, lue, false);
}

/// All tables of one history copied from one kind to another.
class Copieur {
 public:
  Copieur(Terrain& de, Terrain& vers, std::uint32_t graine) : de_(de), vers_(vers), graine_(graine) {}

  void Tout() {
    const std::string baseDe = de_.BaseVide();
    Histoire histoire(de_, baseDe, graine_, Communes(de_.Traits(), vers_.Traits()));
    for (int i = 0; i < 60; ++i) histoire.Pas();
    histoire.Finit();
    db::DataBase source;
    Ouvre(source, de_, baseDe);
    baseVers_ = vers_.BaseVide();
    db::DataBase cible;
    Ouvre(cible, vers_, baseVers_);
    for (const auto& [nom, table] : histoire.Validee().tables) {
      Prepare(cible, nom, table);
      const std::string ecarts = Copie(source, cible, nom, table);
      if (ecarts.empty()) continue;
      ++fautes;
      ADD_FAILURE() << "seed " << graine_ << ", " << de_.Nom() << " to " << vers_.Nom() << ", table " << nom << "\n"
                    << ecarts.substr(0, 3000);
    }
    source.Ferme();
    cible.Ferme();
  }

  int copies = 0;
  int refusees = 0;
  int fautes = 0;

 private:
  /// Where the layer makes no tables.
  void Prepare(db::DataBase& cible, const std::string& nom, const TableModele& table) {
    if (vers_.Catalogue()) return;
    std::string texte = "CREATE TABLE [" + nom + "] (";
    for (std::size_t i = 0; i < table.colonnes.size(); ++i)
      texte += (i > 0 ? ",[" : "[") + table.colonnes[i].nom + "] " + vers_.TypeBrut(table.colonnes[i]);
    cible.ExecuteSQL(texte + ")");
    cible.Ferme();
    Ouvre(cible, vers_, baseVers_);
  }

  std::string Copie(db::DataBase& source, db::DataBase& cible, const std::string& nom, const TableModele& table) {
    const auto toutes = static_cast<std::int64_t>(table.rangees.size());
    std::string ecarts;
    try {
      const auto bilan = source.CopieDonnees(nom, cible);
      ++copies;
      if (bilan.ecrites != toutes) ecarts += "it says " + std::to_string(bilan.ecrites) + " of " + std::to_string(toutes) + "\n";
      ecarts += CompareCopie(vers_, baseVers_, nom, table, toutes, toutes);
      const auto verifie = source.VerifieCopie(nom, cible);
      if (!verifie.Egales() && !PerdBooleensNuls(table)) ecarts += "VerifieCopie: " + verifie.premiereDifference + "\n";
    } catch (const db::ErreurCopie& erreur) {
      Refuse(nom, erreur);
      ecarts += CompareCopie(vers_, baseVers_, nom, table, erreur.AuMoins(), erreur.AuPlus());
    } catch (const runtime::Error& erreur) {
      // Refused as a whole: nothing has come, whether the table was made or not.
      Refuse(nom, erreur);
      const std::string apres = CompareCopie(vers_, baseVers_, nom, table, 0, 0);
      if (apres.find(" is LOST") == std::string::npos) ecarts += apres;
    }
    return ecarts;
  }

  /// An unknown truth value becomes false where there are none, and the check tells it.
  [[nodiscard]] bool PerdBooleensNuls(const TableModele& table) const {
    if (vers_.Traits().booleenNul) return false;
    for (std::size_t i = 0; i < table.colonnes.size(); ++i) {
      if (table.colonnes[i].typ != ado::adBoolean) continue;
      for (const auto& [id, rangee] : table.rangees) {
        if (rangee[i] == "N") return true;
      }
    }
    return false;
  }

  void Refuse(const std::string& nom, const runtime::Error& erreur) {
    ++refusees;
    std::printf("seed %u, %s to %s, %s: %s\n", graine_, de_.Nom().c_str(), vers_.Nom().c_str(), nom.c_str(),
                erreur.Description().substr(0, 300).c_str());
  }

  Terrain& de_;
  Terrain& vers_;
  std::uint32_t graine_;
  std::string baseVers_;
};

TEST(Copies, BetweenAllKindsArriveOrSayWhatDidNot) {
  Graines graines(1);
  int copies = 0;
  int refusees = 0;
  int fautes = 0;
  const std::vector<std::string> noms{"Jet", "MariaDb", "Sqlite"};
  while (graines.Encore() && fautes < kMaxFautes) {
    const std::uint32_t graine = graines.Suivante();
    // Three seeds in a row have all pairs.
    for (std::size_t i = 0; i < noms.size(); ++i) {
      Copieur copieur(TerrainNomme(noms[i]), TerrainNomme(noms[(i + graine) % noms.size()]), graine);
      copieur.Tout();
      copies += copieur.copies;
      refusees += copieur.refusees;
      fautes += copieur.fautes;
    }
  }
  std::printf("%d seeds, %d copies, %d refused\n", graines.Nombre(), copies, refusees);
}

}  // namespace
}  // namespace tamlo::attaque
