// Access files, read with mdbtools.
#include <cstdlib>
#include <sstream>
#include <stdexcept>

#include "runtime/Text.h"
#include "tests/attaque/Lecteur.h"

namespace tamlo::attaque {

namespace {

/// Comma-separated rows as mdb-export writes them; what is not quoted and says ~N~ is a null.
std::vector<std::vector<std::string>> Csv(const std::string& texte) {
  std::vector<std::vector<std::string>> lignes;
  std::vector<std::string> ligne;
  std::string champ;
  bool cite = false;
  bool futCite = false;
  const auto finit = [&] {
    ligne.push_back(futCite ? "q" + champ : champ);
    champ.clear();
    futCite = false;
  };
  for (std::size_t i = 0; i < texte.size(); ++i) {
    const char c = texte[i];
    if (cite) {
      if (c != '"')
        champ += c;
      else if (i + 1 < texte.size() && texte[i + 1] == '"')
        champ += texte[++i];
      else
        cite = false;
    } else if (c == '"') {
      cite = futCite = true;
    } else if (c == ',') {
      finit();
    } else if (c == '\n') {
      finit();
      lignes.push_back(std::move(ligne));
      ligne.clear();
    } else {
      champ += c;
    }
  }
  return lignes;
}

int Numero(const std::string& dit) {
  char* fin = nullptr;
  const auto numero = std::strtol(dit.c_str(), &fin, 10);
  if (dit.empty() || *fin != '\0') throw std::runtime_error("no number: " + dit);
  return static_cast<int>(numero);
}

std::string Joint(const std::vector<std::string>& noms) {
  std::string joint;
  for (const std::string& nom : noms) joint += (joint.empty() ? "" : ",") + nom;
  return joint;
}

class Access final : public Terrain {
 public:
  [[nodiscard]] std::string Nom() const override { return "Jet"; }
  [[nodiscard]] std::int16_t Kind() const override { return db::TypJet; }
  [[nodiscard]] bool Imbriquees() const override { return true; }
  [[nodiscard]] Particularites Traits() const override {
    Particularites traits;
    traits.texteNul = false;
    traits.booleenNul = false;
    traits.horsPlan = false;
    traits.tousChiffres = false;
    traits.datesAnciennes = false;
    traits.datesLointaines = false;
    return traits;
  }
  [[nodiscard]] std::string BaseVide() override { return tests::BackendNomme("Jet").BaseVide(); }

  [[nodiscard]] Lecture Lit(const std::string& base, const Etat& attendu) override {
    Lecture lue;
    lue.defauts = tests::BackendNomme("Jet").Defauts(base);
    std::istringstream noms(Lance("mdb-tables -1 " + PourShell(base), &lue.defauts));
    for (std::string nom; std::getline(noms, nom);) {
      if (!nom.empty() && !EstInterne(nom)) LitTable(base, nom, attendu, lue);
    }
    LitCatalogue(base, lue);
    return lue;
  }

 private:
  static void LitTable(const std::string& base, const std::string& nom, const Etat& attendu, Lecture& lue) {
    const auto lignes = Exporte(base, nom, lue);
    auto& colonnes = lue.colonnes[nom];
    if (!lignes.empty()) {
      for (const auto& colonne : lignes[0]) colonnes.push_back(runtime::UpperCase(colonne));
    }
    const auto modele = attendu.tables.find(nom);
    if (modele == attendu.tables.end()) return;
    // The head of its output has the names without quotes, whatever commas they hold.
    std::vector<std::string> attendues;
    for (const Colonne& c : modele->second.colonnes) attendues.push_back(c.nom);
    if (Joint(colonnes) == Joint(attendues)) colonnes = attendues;
    for (std::size_t i = 1; i < lignes.size(); ++i) RangeLigne(lue, nom, modele->second, lignes[i]);
  }
  static void LitCatalogue(const std::string& base, Lecture& lue) {
    const auto texte = [](const std::string& champ) { return champ.front() == 'q' ? champ.substr(1) : champ; };
    for (const auto& ligne : Exporte(base, "$FLDKORV$", lue, "-H ")) {
      if (ligne.size() < 3) continue;
      if (!lue.champs[texte(ligne[0])].emplace(Numero(ligne[1]), runtime::UpperCase(texte(ligne[2]))).second)
        lue.defauts += "two fields of one number\n";
    }
    for (const auto& ligne : Exporte(base, "$IDXKORV$", lue, "-H ")) {
      if (ligne.size() >= 3) lue.index[texte(ligne[0])][texte(ligne[1])] = runtime::UpperCase(texte(ligne[2]));
    }
    for (const auto& ligne : Exporte(base, "$TBLKORV$", lue, "-H ")) {
      if (!ligne.empty()) lue.tables.push_back(texte(ligne[0]));
    }
  }
  static std::vector<std::vector<std::string>> Exporte(const std::string& base, const std::string& table, Lecture& lue,
                                                       const std::string& option = {}) {
    return Csv(Lance("mdb-export " + option + "-b hex -0 '~N~' -T '%Y-%m-%d %H:%M:%S' -D '%Y-%m-%d' " + PourShell(base) + " " +
                         PourShell(table) + " 2>&1",
                     &lue.defauts));
  }
  static void RangeLigne(Lecture& lue, const std::string& table, const TableModele& modele, const std::vector<std::string>& ligne) {
    std::vector<std::string> dites;
    for (std::size_t i = 0; i < ligne.size() && i < modele.colonnes.size(); ++i) {
      const std::int16_t typ = modele.colonnes[i].typ;
      std::string champ = ligne[i];
      const bool cite = !champ.empty() && champ.front() == 'q';
      if (cite) champ.erase(0, 1);
      if (!cite && champ == "~N~")
        champ = EstTexte(typ) ? "" : "N";
      else if (EstTexte(typ))
        champ = EnHexa(champ);
      dites.push_back(champ);
    }
    dites.resize(modele.colonnes.size(), "?missing");
    Range(lue, table, modele, dites);
  }
};

}  // namespace

Terrain& TerrainAccess() {
  static Access terrain;
  return terrain;
}

}  // namespace tamlo::attaque
