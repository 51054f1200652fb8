#include "tests/attaque/Modele.h"

#include <array>
#include <cstdio>
#include <cstdlib>

#include "runtime/Dates.h"

namespace tamlo::attaque {

namespace {

using runtime::Null;

std::string Repete(const std::string& morceau, int fois) {
  std::string tout;
  for (int i = 0; i < fois; ++i) tout += morceau;
  return tout;
}

/// Nothing in them that the dialect's translation is meant to change inside of a literal.
const std::vector<std::string>& TextesSages() {
  static const std::vector<std::string> textes{"Dupont", "été œuf €",   "-- rien",         "/* rien */ x", "? :a $1 @x", "{fn x} {ts y}",
                                               "100%_x", "a;b,c(d)",    "Straße ǅ ﬁ",      "x = 1 or 1=1", "fin ",       "   ",
                                               " ",      "Ω я 漢字",    "#01/02/2003#",    "null",         "0",          "-1",
                                               "a as b", "into select", "select x into y", "\x01\x1b\x7f"};
  return textes;
}
const std::vector<std::string>& TextesRudes() {
  static const std::vector<std::string> textes{"",
                                               "'",
                                               "l'été \"[œ]\"",
                                               "[x]",
                                               "`y`",
                                               "\\",
                                               "\\'",
                                               "a\\\"b",
                                               "a\r\nb",
                                               "\n",
                                               "a\tb",
                                               "\"\"",
                                               "''",
                                               "fin\t ",
                                               "e\xCC\x81 combiné",
                                               "\xE2\x80\x8B",
                                               "\xEF\xBB\xBF"
                                               "bom",
                                               "İıſ",
                                               "CVDATE('1')",
                                               "x\\"};
  return textes;
}

std::string SansBlancs(std::string texte) {
  while (!texte.empty() && texte.back() == ' ') texte.pop_back();
  return texte;
}

Valeur TireTexte(Hasard& hasard, const Colonne& colonne, const Particularites& kind) {
  Valeur v;
  std::string texte;
  const int quoi = Tire(hasard, 10);
  const bool court = colonne.typ == ado::adVarWChar;
  if (quoi == 0 && kind.texteNul) return {Null{}, "N", "NULL"};
  if (quoi < 4) {
    texte = TextesSages()[static_cast<std::size_t>(Tire(hasard, static_cast<int>(TextesSages().size())))];
    v.litteral = "'" + texte + "'";
  } else if (quoi < 7) {
    texte = TextesRudes()[static_cast<std::size_t>(Tire(hasard, static_cast<int>(TextesRudes().size())))];
  } else if (quoi == 7 && kind.horsPlan) {
    texte = "😀 𝒳 fin";
  } else if (court) {
    texte = Tire(hasard, 2) == 0 ? Repete("é", colonne.lg) : Repete("M", colonne.lg);
  } else {
    static const std::array<const char*, 5> morceaux{"abcdefghij", "é", "漢字", "ligne\r\n", " "};
    constexpr std::array<int, 8> kFois{1, 20, 127, 128, 500, 2000, 4096, 8000};
    texte = Repete(morceaux[static_cast<std::size_t>(Tire(hasard, 5))], kFois[static_cast<std::size_t>(Tire(hasard, 8))]) + "|";
  }
  if (court && Caracteres(texte) > colonne.lg) {
    texte = Repete("é", colonne.lg);
    v.litteral = "'" + texte + "'";
  }
  v.valeur = texte;
  v.gardee = "t" + (court && !kind.blancsFinaux ? SansBlancs(texte) : texte);
  if (!kind.litterauxTexte) v.litteral.reset();
  return v;
}

Valeur TireDate(Hasard& hasard, const Particularites& kind) {
  if (Tire(hasard, 8) == 0) return {Null{}, "N", "NULL"};
  runtime::CalendarTime t{
      1900 + Tire(hasard, 200), 1 + Tire(hasard, 12), 1 + Tire(hasard, 28), Tire(hasard, 24), Tire(hasard, 60), Tire(hasard, 60), 0};
  if (Tire(hasard, 6) == 0 && kind.datesLointaines) t = {9999, 12, 31, 23, 59, 59, 0};
  if (Tire(hasard, 6) == 0 && kind.datesAnciennes) t = {1899, 12, 29, 6, 0, 0, 0};
  if (Tire(hasard, 6) == 0 && kind.datesAnciennes) t = {1000, 2, 28, 23, 59, 59, 0};
  if (Tire(hasard, 6) == 0) t = {2000, 2, 29, 0, 0, 0, 0};
  const bool jour = Tire(hasard, 2) == 0;
  if (jour) t.hour = t.minute = t.second = 0;
  char texte[32];
  std::snprintf(texte, sizeof texte, "%04d-%02d-%02d %02d:%02d:%02d", t.year % 10000, t.month % 100, t.day % 100, t.hour % 100,
                t.minute % 100, t.second % 100);
  Valeur v{runtime::ToSerial(t), texte, {}};
  if (jour && kind.litterauxDate) {
    std::snprintf(texte, sizeof texte, "%02d/%02d/%04d", t.day % 100, t.month % 100, t.year % 10000);
    v.litteral = "CVDATE('" + std::string(texte) + "')";
  }
  return v;
}

Valeur TireOctets(Hasard& hasard) {
  if (Tire(hasard, 6) == 0) return {Null{}, "N", "NULL"};
  constexpr std::array<int, 7> kLongueurs{1, 3, 63, 64, 65, 3000, 20000};
  runtime::Bytes octets;
  std::string chiffres = "x";
  const int longueur = kLongueurs[static_cast<std::size_t>(Tire(hasard, 7))];
  for (int i = 0; i < longueur; ++i) {
    const int octet = Tire(hasard, 256);
    octets.push_back(static_cast<std::byte>(octet));
    constexpr const char* kHex = "0123456789ABCDEF";
    chiffres += {kHex[octet / 16], kHex[octet % 16]};
  }
  return {octets, chiffres, {}};
}

Valeur TireEntier(Hasard& hasard, std::int32_t moins, std::int32_t plus, auto fait) {
  if (Tire(hasard, 8) == 0) return {Null{}, "N", "NULL"};
  std::int32_t n = Tire(hasard, 200) - (moins < 0 ? 100 : 0);
  const int quoi = Tire(hasard, 6);
  if (quoi == 0) n = moins;
  if (quoi == 1) n = plus;
  return {fait(n), Nombre(n), std::to_string(n)};
}

/// Whether a number is still the same once a reader has told so many digits of it.
template <typename Reel>
bool SeDit(Reel reel, int chiffres) {
  char texte[40];
  std::snprintf(texte, sizeof texte, "%.*g", chiffres, static_cast<double>(reel));
  return static_cast<Reel>(std::strtod(texte, nullptr)) == reel;
}

template <typename Reel, std::size_t N>
Reel TireParmi(Hasard& hasard, const std::array<Reel, N>& reels, const Particularites& kind, int chiffres) {
  for (;;) {
    const Reel reel = reels[static_cast<std::size_t>(Tire(hasard, static_cast<int>(N)))];
    if (kind.tousChiffres || SeDit(reel, chiffres)) return reel;
  }
}

Valeur TireReel(Hasard& hasard, const Colonne& colonne, const Particularites& kind) {
  if (Tire(hasard, 8) == 0) return {Null{}, "N", "NULL"};
  if (colonne.typ == ado::adSingle) {
    constexpr std::array<float, 8> kSimples{0.0F, 1.5F, -1.5F, 0.1F, 3.402823e38F, 1.17549435e-38F, 16777217.0F, 1.0F / 3};
    const float f = TireParmi(hasard, kSimples, kind, 8);
    return {f, Nombre(static_cast<double>(f)), {}};
  }
  if (colonne.typ == ado::adCurrency) {
    constexpr std::array<std::int64_t, 7> kMontants{0, 1, -1, 12345, -99999999, 123456789012345, 7500};
    const std::int64_t m = kMontants[static_cast<std::size_t>(Tire(hasard, 7))];
    return {runtime::Currency{m}, Nombre(static_cast<double>(m) / 10000), {}};
  }
  if (colonne.lg == 15) {
    constexpr std::array<double, 5> kExacts{0, 1, -1, 999999999999999.0, -123456789012345.0};
    const double d = kExacts[static_cast<std::size_t>(Tire(hasard, 5))];
    return {d, Nombre(d), {}};
  }
  constexpr std::array<double, 9> kDoubles{
      0.0, 0.1, 0.1 + 0.2, 1.0 / 3, 1.7976931348623157e308, -1.7976931348623157e308, 2.2250738585072014e-308, 1e15 + 0.125, -2.5};
  const double d = TireParmi(hasard, kDoubles, kind, 16);
  Valeur v{d, Nombre(d), {}};
  if (d == -2.5) v.litteral = "-2.5";
  return v;
}

}  // namespace

int Caracteres(const std::string& texte) {
  int nombre = 0;
  for (const char c : texte) nombre += (static_cast<unsigned char>(c) & 0xC0U) != 0x80U ? 1 : 0;
  return nombre;
}

Cellule Nombre(double nombre) {
  char texte[40];
  std::snprintf(texte, sizeof texte, "%.17g", nombre == 0 ? 0.0 : nombre);
  return texte;
}

Valeur TireValeur(Hasard& hasard, const Colonne& colonne, const Particularites& kind) {
  switch (colonne.typ) {
    case ado::adVarWChar:
    case ado::adLongVarWChar:
      return TireTexte(hasard, colonne, kind);
    case ado::adDate:
      return TireDate(hasard, kind);
    case ado::adBoolean: {
      if (kind.booleenNul && Tire(hasard, 6) == 0) return {Null{}, "N", "NULL"};
      const bool oui = Tire(hasard, 2) == 0;
      Valeur v{oui, oui ? "1" : "0", {}};
      if (kind.litterauxBooleens) v.litteral = oui ? "-1" : "0";
      return v;
    }
    case ado::adUnsignedTinyInt:
      return TireEntier(hasard, 0, 255, [](std::int32_t n) { return ado::Variant(static_cast<std::uint8_t>(n)); });
    case ado::adSmallInt:
      return TireEntier(hasard, -32768, 32767, [](std::int32_t n) { return ado::Variant(static_cast<std::int16_t>(n)); });
    case ado::adInteger:
      return TireEntier(hasard, -2147483647 - 1, 2147483647, [](std::int32_t n) { return ado::Variant(n); });
    case ado::adLongVarBinary:
      return TireOctets(hasard);
    default:
      return TireReel(hasard, colonne, kind);
  }
}

Cellule SansValeur(const Colonne& colonne, const Particularites& kind) {
  if (colonne.typ == ado::adBoolean && !kind.booleenNul) return "0";
  const bool texte = colonne.typ == ado::adVarWChar || colonne.typ == ado::adLongVarWChar;
  return texte && !kind.texteNul ? "t" : "N";
}

Colonne TireColonne(Hasard& hasard, const std::string& nom) {
  static const std::array<Colonne, 14> modeles{{{"", ado::adVarWChar, 40},
                                                {"", ado::adVarWChar, 255},
                                                {"", ado::adVarWChar, 1},
                                                {"", ado::adLongVarWChar, 0},
                                                {"", ado::adDate, 8},
                                                {"", ado::adBoolean, 1},
                                                {"", ado::adUnsignedTinyInt, 1},
                                                {"", ado::adSmallInt, 2},
                                                {"", ado::adInteger, 4},
                                                {"", ado::adDouble, 8},
                                                {"", ado::adDouble, 15},
                                                {"", ado::adCurrency, 8},
                                                {"", ado::adSingle, 4},
                                                {"", ado::adLongVarBinary, 0}}};
  Colonne colonne = modeles[static_cast<std::size_t>(Tire(hasard, 14))];
  colonne.nom = nom;
  return colonne;
}

}  // namespace tamlo::attaque
