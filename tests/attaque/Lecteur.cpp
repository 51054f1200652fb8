#include "tests/attaque/Lecteur.h"

#include <array>
#include <bit>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <stdexcept>

#include "runtime/Text.h"

namespace tamlo::attaque {

std::string Lance(const std::string& commande, std::string* defauts) {
  // Some of them take accented names in a UTF-8 locale only.
  FILE* sortie = ::popen(("export LC_ALL=C.UTF-8; exec timeout 60 " + commande).c_str(), "r");
  if (sortie == nullptr) throw std::runtime_error("no process");
  std::string texte;
  std::array<char, 65536> morceau{};
  for (std::size_t lus = 0; (lus = std::fread(morceau.data(), 1, morceau.size(), sortie)) > 0;) texte.append(morceau.data(), lus);
  if (::pclose(sortie) != 0 && defauts != nullptr) *defauts += "the reader failed: " + commande + "\n";
  return texte;
}

std::string PourShell(const std::string& texte) {
  std::string cite = "'";
  for (const char c : texte) cite += c == '\'' ? std::string("'\\''") : std::string(1, c);
  return cite + "'";
}

std::string Double(const std::string& texte, char marque) {
  std::string cite(1, marque);
  for (const char c : texte) cite += c == marque ? std::string(2, c) : std::string(1, c);
  return cite + marque;
}

std::string DeHexa(const std::string& chiffres) {
  std::string octets;
  for (std::size_t i = 0; i + 1 < chiffres.size(); i += 2)
    octets += static_cast<char>(std::strtol(chiffres.substr(i, 2).c_str(), nullptr, 16));
  return octets;
}

std::string EnHexa(const std::string& octets) {
  constexpr const char* kChiffres = "0123456789ABCDEF";
  std::string chiffres;
  for (const char c : octets) {
    const auto octet = static_cast<unsigned char>(c);
    chiffres += {kChiffres[octet / 16], kChiffres[octet % 16]};
  }
  return chiffres;
}

std::string Apres(const std::string& texte, const std::string& cle) {
  const auto place = texte.find(cle);
  if (place == std::string::npos) return {};
  const auto debut = place + cle.size();
  return texte.substr(debut, texte.find(';', debut) - debut);
}

bool EstInterne(const std::string& table) { return table == "TEST_DT" || (table.size() > 1 && table.front() == '$'); }

bool EstTexte(std::int16_t typ) { return typ == ado::adVarWChar || typ == ado::adLongVarWChar; }

namespace {

/// The double of which these are the 16 hexadecimal digits, the highest first.
double Double64(const std::string& chiffres) { return std::bit_cast<double>(std::uint64_t{std::strtoull(chiffres.c_str(), nullptr, 16)}); }

/// A cell as the statements of the readers below write it: "N", or what it is worth, texts in hexadecimal digits.
Cellule Canonique(const Colonne& colonne, const std::string& dite) {
  if (dite == "N") return "N";
  if (EstTexte(colonne.typ)) return "t" + DeHexa(dite);
  if (colonne.typ == ado::adLongVarBinary) return "x" + runtime::UpperCase(dite);
  if (colonne.typ == ado::adDate) {
    std::string date = colonne.lg >= 0 && dite.find('-') == std::string::npos ? DeHexa(dite) : dite;
    if (date.size() == 10) date += " 00:00:00";
    if (date.size() > 19 && date.find_first_not_of("0", 20) == std::string::npos && date[19] == '.') date.resize(19);
    return date;
  }
  if (dite.size() == 17 && dite.front() == '~')
    return colonne.typ == ado::adBoolean ? (dite.find_first_not_of("~0") != std::string::npos ? "1" : "0")
                                         : Nombre(Double64(dite.substr(1)));
  char* fin = nullptr;
  const double nombre = std::strtod(dite.c_str(), &fin);
  if (dite.empty() || *fin != '\0') return "?" + dite;
  if (colonne.typ == ado::adBoolean) return nombre != 0 ? "1" : "0";
  return Nombre(colonne.typ == ado::adSingle ? static_cast<double>(static_cast<float>(nombre)) : nombre);
}

}  // namespace

void Range(Lecture& lue, const std::string& table, const TableModele& modele, const std::vector<std::string>& dites) {
  std::vector<Cellule> rangee;
  for (std::size_t i = 0; i < dites.size() && i < modele.colonnes.size(); ++i) rangee.push_back(Canonique(modele.colonnes[i], dites[i]));
  const auto id = static_cast<std::int32_t>(std::strtol(rangee.at(0).c_str(), nullptr, 10));
  if (!lue.rangees[table].emplace(id, std::move(rangee)).second)
    lue.defauts += table + ": ID " + std::to_string(id) + " stands there twice\n";
}

}  // namespace tamlo::attaque
