#pragma once

#include <cstdint>
#include <map>
#include <optional>
#include <random>
#include <string>
#include <vector>

#include "ado/Types.h"

/// What a database must hold, kept beside it in plain maps: the histories change both and compare them.
namespace tamlo::attaque {

using Hasard = std::mt19937;

/// From 0 to n-1.
[[nodiscard]] inline int Tire(Hasard& hasard, int n) { return static_cast<int>(hasard() % static_cast<std::uint32_t>(n)); }

/// A value of a column as readers of every kind can be brought to say it: "N" for a null, "t" and the UTF-8 of a text, "x" and the
/// hexadecimal digits of bytes, the 17 digits of a number, "0" or "1" for a truth value, "YYYY-MM-DD HH:MM:SS".
using Cellule = std::string;

struct Colonne {
  std::string nom;  ///< upper case
  std::int16_t typ = 0;
  std::int32_t lg = 0;
};

/// The first column is ID, a number that no other row of the table has.
struct TableModele {
  std::vector<Colonne> colonnes;
  std::map<std::string, std::string> index;  ///< name to field list, the key included
  bool cle = false;                          ///< ID is the primary key
  std::map<std::int32_t, std::vector<Cellule>> rangees;
};

struct Etat {
  std::map<std::string, TableModele> tables;
};

/// A value, what it is once stored on a kind, and how a statement of the dialect writes it where it can.
struct Valeur {
  ado::Variant valeur;
  Cellule gardee;
  std::optional<std::string> litteral;
};

/// What in values differs from kind to kind.
struct Particularites {
  bool texteNul = true;
  bool booleenNul = true;
  bool blancsFinaux = true;       ///< a short text keeps its trailing blanks
  bool horsPlan = true;           ///< the foreign reader tells characters beyond the 16-bit plane
  bool litterauxTexte = true;     ///< statements take text literals
  bool litterauxDate = true;      ///< and CVDATE
  bool litterauxBooleens = true;  ///< and -1 and 0 for truth values
  bool tousChiffres = true;       ///< the foreign reader tells all digits of numbers; else 16, and 8 of single precision
  bool datesAnciennes = true;     ///< the foreign reader tells days before 1900
  bool datesLointaines = true;    ///< and the last day of 9999
};

[[nodiscard]] Valeur TireValeur(Hasard& hasard, const Colonne& colonne, const Particularites& kind);
/// What a row has in a column that nothing was written to.
[[nodiscard]] Cellule SansValeur(const Colonne& colonne, const Particularites& kind);
[[nodiscard]] Cellule Nombre(double nombre);
[[nodiscard]] int Caracteres(const std::string& texte);
/// The types that columns are made of, ID's apart.
[[nodiscard]] Colonne TireColonne(Hasard& hasard, const std::string& nom);

/// For another process: a state as bytes and back.
[[nodiscard]] std::string Ecrit(const Etat& etat);
[[nodiscard]] Etat Relu(const std::string& octets);

}  // namespace tamlo::attaque
