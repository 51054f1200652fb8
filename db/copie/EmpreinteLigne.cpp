#include "db/copie/EmpreinteLigne.h"

#include <array>
#include <cmath>
#include <cstring>
#include <utility>

#include "base/Calendar.h"
#include "base/Numbers.h"
#include "runtime/Conversions.h"
#include "runtime/Dates.h"
#include "runtime/Error.h"
#include "runtime/Text.h"
#include "support/Support.h"

namespace tamlo::db::copie {

namespace {

/// FNV-1a over bytes, stirred at the end so that sums of fingerprints tell rows apart.
class Hachage {
 public:
  void Ajoute(const void* octets, std::size_t nombre) {
    const auto* o = static_cast<const unsigned char*>(octets);
    for (std::size_t i = 0; i < nombre; ++i) etat_ = (etat_ ^ o[i]) * 0x100000001B3ULL;
  }
  void Ajoute(std::string_view texte) { Ajoute(texte.data(), texte.size()); }
  void Ajoute(std::uint64_t nombre) { Ajoute(&nombre, sizeof nombre); }

  [[nodiscard]] std::uint64_t Valeur() const {
    std::uint64_t x = etat_;
    x = (x ^ (x >> 30)) * 0xBF58476D1CE4E5B9ULL;
    x = (x ^ (x >> 27)) * 0x94D049BB133111EBULL;
    return x ^ (x >> 31);
  }

 private:
  std::uint64_t etat_ = 0xCBF29CE484222325ULL;
};

bool EstNombre(std::int16_t type) {
  switch (type) {
    case ado::adSmallInt:
    case ado::adInteger:
    case ado::adSingle:
    case ado::adDouble:
    case ado::adCurrency:
    case ado::adTinyInt:
    case ado::adUnsignedTinyInt:
    case ado::adUnsignedSmallInt:
    case ado::adUnsignedInt:
    case ado::adBigInt:
    case ado::adUnsignedBigInt:
    case ado::adNumeric:
    case ado::adVarNumeric:
      return true;
    default:
      return false;
  }
}

bool EstDate(std::int16_t type) {
  return type == ado::adDate || type == ado::adDBDate || type == ado::adDBTime || type == ado::adDBTimeStamp;
}

std::string Chiffres(double nombre, int precision) {
  if (nombre == 0) nombre = 0;  // no negative zero
  return base::ScientificText(nombre, precision);
}

/// A number without the zeros that only its scale put there: "12.50" and "12.5" are one.
std::string SansZeros(std::string texte) {
  if (texte.find('.') != std::string::npos) {
    texte.erase(texte.find_last_not_of('0') + 1);
    if (texte.back() == '.') texte.pop_back();
  }
  return texte == "-0" ? "0" : texte;
}

const runtime::RegionalSettings& Simples() {
  static const runtime::RegionalSettings simples;
  return simples;
}

/// Years 1720 to 2079, in which a date is exact to the microsecond; elsewhere it is to the millisecond.
constexpr double kJoursFins = 65536;

constexpr const char* kSecondes = "YYYY-MM-DD HH:NN:SS";

/// With four to six digits of a second, rounded half up, carried into the next day where it must be.
std::string TexteDateFine(runtime::Date date, std::int16_t chiffres) {
  constexpr std::int64_t kParJour = base::kSecondsADay * 1000000;
  auto [jour, pas] = base::SplitSerial(date.serial, kParJour, base::HalfTick::kToEven);
  std::int64_t grain = 1;
  for (int i = chiffres; i < 6; ++i) grain *= 10;
  pas = (pas + grain / 2) / grain * grain;
  if (pas >= kParJour) {
    pas = 0;
    ++jour;
  }
  const double seconde = static_cast<double>(pas / 1000000) / static_cast<double>(base::kSecondsADay);
  const runtime::Date ronde{base::JoinDayAndTime(static_cast<double>(jour), seconde)};
  return runtime::FormatDate(ronde, kSecondes, Simples()) + "." + std::to_string(pas % 1000000);
}

/// A date rounded as a column of so many digits keeps it: days, seconds and microseconds.
std::string TexteDate(runtime::Date date, std::int16_t chiffres) {
  if (chiffres <= 0) return runtime::FormatDate(date, kSecondes, Simples());
  if (chiffres > 3 && std::fabs(date.serial) < kJoursFins) return TexteDateFine(date, chiffres);
  runtime::CalendarTime temps = runtime::ToCalendarWithFraction(date);
  if (chiffres < 3) {
    const double pas = chiffres == 1 ? 864000.0 : 8640000.0;
    temps = runtime::ToCalendarWithFraction(runtime::Date{std::nearbyint(date.serial * pas) / pas});
  }
  const int fraction = std::exchange(temps.nanosecond, 0) / 1000;
  return runtime::FormatDate(runtime::ToSerial(temps), kSecondes, Simples()) + "." + std::to_string(fraction);
}

/// What no date holds stands as the backend's text; some write its zeros and some do not.
std::string TexteSansEquivalent(std::string texte) {
  if (texte.find('.') != std::string::npos) {
    texte.erase(texte.find_last_not_of('0') + 1);
    if (texte.back() == '.') texte.pop_back();
  }
  constexpr std::string_view kMinuit = " 00:00:00";
  if (texte.ends_with(kMinuit)) texte.erase(texte.size() - kMinuit.size());
  return texte;
}

/// The value as a text that is the same on both sides when the values are.
std::string Canonique(const ado::Variant& valeur, Regle regle, std::int16_t chiffres) {
  switch (regle) {
    case Regle::kTexte:
      return std::string(runtime::TrimRight(runtime::ToText(valeur, Simples())));
    case Regle::kBooleen:
      return runtime::ToBoolean(valeur, Simples()) ? "-1" : "0";
    case Regle::kSimple:
      return Chiffres(static_cast<double>(static_cast<float>(runtime::ToDouble(valeur, Simples()))), 9);
    case Regle::kDouble:
      return Chiffres(runtime::ToDouble(valeur, Simples()), 17);
    case Regle::kExact:
      return SansZeros(runtime::ToText(valeur, Simples()));
    case Regle::kDate:
      if (const auto* date = valeur.If<runtime::Date>()) return TexteDate(*date, chiffres);
      if (const auto* texte = valeur.If<std::string>()) return TexteSansEquivalent(*texte);
      return TexteDate(runtime::ToDate(valeur, Simples()), chiffres);
    default:
      break;
  }
  if (const auto* octets = valeur.If<runtime::Bytes>()) return {reinterpret_cast<const char*>(octets->data()), octets->size()};
  return runtime::ToText(valeur, Simples());
}

/// A value that is none of its column's type (SQLite lets any in, PostgreSQL's numbers may be none) is compared as a text.
std::string TexteOuNombre(const ado::Variant& valeur, const ColonneComparee& colonne) {
  std::string texte;
  if (runtime::IgnoringErrors([&] { texte = Canonique(valeur, colonne.regle, colonne.chiffres); })) {
    return "?" + Canonique(valeur, Regle::kOctets, 0);
  }
  return texte;
}

constexpr std::uint64_t kAbsente = 0x9E3779B97F4A7C15ULL;

std::uint64_t EmpreinteLongue(const ado::Field& champ) {
  Hachage hachage;
  std::array<std::byte, 16 * 1024> morceau{};
  std::size_t total = 0;
  while (const std::size_t lus = champ.ReadChunk(morceau.data(), morceau.size())) {
    hachage.Ajoute(morceau.data(), lus);
    total += lus;
  }
  if (total == 0 && champ.Value().IsNull()) return kAbsente;
  return hachage.Valeur();
}

std::uint64_t EmpreinteValeur(const ado::Field& champ, const ColonneComparee& colonne) {
  const Regle regle = colonne.regle;
  if (regle == Regle::kLong && ado::IsLongType(champ.Type())) return EmpreinteLongue(champ);
  const ado::Variant valeur = champ.Value();
  if (valeur.IsNull() || valeur.IsEmpty() || (regle == Regle::kTexte && support::EstVide(valeur))) return kAbsente;
  Hachage hachage;
  hachage.Ajoute(TexteOuNombre(valeur, colonne));
  return hachage.Valeur();
}

}  // namespace

Regle RegleDe(std::int16_t typeSource, std::int16_t typeCible) {
  const auto un = [&](auto est) { return est(typeSource) || est(typeCible); };
  const auto type = [](std::int16_t cherche) { return [cherche](std::int16_t t) { return t == cherche; }; };
  if (un(type(ado::adBoolean))) return Regle::kBooleen;
  if (un(EstDate)) return Regle::kDate;
  if (un(EstNombre)) {
    if (un(type(ado::adSingle))) return Regle::kSimple;
    return un(type(ado::adDouble)) ? Regle::kDouble : Regle::kExact;
  }
  if (ado::IsLongType(typeSource)) return Regle::kLong;
  return ado::IsTextType(typeSource) ? Regle::kTexte : Regle::kOctets;
}

std::int16_t ChiffresDeSeconde(const ado::Field& champ) {
  if (champ.Type() == ado::adDate) return 3;
  const bool dit = champ.Type() == ado::adDBTime || champ.Type() == ado::adDBTimeStamp;
  return dit && champ.NumericScale() != 255 ? champ.NumericScale() : std::int16_t{0};
}

LecteurEmpreintes::LecteurEmpreintes(ado::Recordset recordset, const std::vector<ColonneComparee>& colonnes)
    : recordset_(std::move(recordset)), colonnes_(&colonnes), parColonne_(colonnes.size()) {
  for (const ColonneComparee& colonne : colonnes) champs_.push_back(&recordset_.Fields(colonne.nom));
}

bool LecteurEmpreintes::Suivante(Empreinte& empreinte) {
  if (commence_) recordset_.MoveNext();
  commence_ = true;
  if (recordset_.Eof()) return false;
  Hachage cle;
  Hachage ligne;
  for (std::size_t i = 0; i < champs_.size(); ++i) {
    parColonne_[i] = EmpreinteValeur(*champs_[i], (*colonnes_)[i]);
    ligne.Ajoute(parColonne_[i]);
    if ((*colonnes_)[i].cle) cle.Ajoute(parColonne_[i]);
  }
  empreinte = {cle.Valeur(), ligne.Valeur()};
  return true;
}

std::string LecteurEmpreintes::TexteCle() const {
  std::string texte;
  for (std::size_t i = 0; i < champs_.size(); ++i) {
    if (!(*colonnes_)[i].cle) continue;
    const ado::Variant valeur = champs_[i]->Value();
    texte += (texte.empty() ? " (clé " : ", ") + (*colonnes_)[i].nom + "=" + (valeur.IsNull() ? "nul" : runtime::ToText(valeur));
  }
  return texte.empty() ? texte : texte + ")";
}

std::string LecteurEmpreintes::PremiereColonneDifferente(const LecteurEmpreintes& autre) const {
  for (std::size_t i = 0; i < parColonne_.size(); ++i) {
    if (parColonne_[i] != autre.parColonne_[i]) return (*colonnes_)[i].nom;
  }
  return {};
}

}  // namespace tamlo::db::copie
