#include "tests/attaque/Modele.h"

namespace tamlo::attaque {

std::string Ecrit(const Etat& etat) {
  std::string octets;
  const auto texte = [&](const std::string& t) { octets += std::to_string(t.size()) + ":" + t; };
  const auto nombre = [&](std::int64_t n) { octets += std::to_string(n) + ";"; };
  nombre(static_cast<std::int64_t>(etat.tables.size()));
  for (const auto& [nom, table] : etat.tables) {
    texte(nom);
    nombre(static_cast<std::int64_t>(table.colonnes.size()));
    for (const Colonne& c : table.colonnes) texte(c.nom), nombre(c.typ), nombre(c.lg);
    nombre(static_cast<std::int64_t>(table.index.size()));
    for (const auto& [index, champs] : table.index) texte(index), texte(champs);
    nombre(static_cast<std::int64_t>(table.rangees.size()));
    for (const auto& [id, rangee] : table.rangees) {
      nombre(id);
      for (const Cellule& cellule : rangee) texte(cellule);
    }
  }
  return octets;
}

Etat Relu(const std::string& octets) {
  Etat etat;
  std::size_t place = 0;
  const auto nombre = [&](char fin) {
    const std::size_t bout = octets.find(fin, place);
    const std::int64_t n = std::stoll(octets.substr(place, bout - place));
    place = bout + 1;
    return n;
  };
  const auto texte = [&] {
    const auto longueur = static_cast<std::size_t>(nombre(':'));
    place += longueur;
    return octets.substr(place - longueur, longueur);
  };
  for (std::int64_t t = nombre(';'); t > 0; --t) {
    const std::string nom = texte();
    TableModele& table = etat.tables[nom];
    for (std::int64_t c = nombre(';'); c > 0; --c) {
      Colonne colonne;
      colonne.nom = texte();
      colonne.typ = static_cast<std::int16_t>(nombre(';'));
      colonne.lg = static_cast<std::int32_t>(nombre(';'));
      table.colonnes.push_back(colonne);
    }
    for (std::int64_t i = nombre(';'); i > 0; --i) {
      const std::string index = texte();
      table.index[index] = texte();
    }
    for (std::int64_t r = nombre(';'); r > 0; --r) {
      auto& rangee = table.rangees[static_cast<std::int32_t>(nombre(';'))];
      for (std::size_t c = 0; c < table.colonnes.size(); ++c) rangee.push_back(texte());
    }
  }
  return etat;
}

}  // namespace tamlo::attaque
