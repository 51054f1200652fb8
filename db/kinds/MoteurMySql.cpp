#include "db/kinds/MoteurMySql.h"

#include <algorithm>
#include <array>
#include <cctype>
#include <utility>

#include "ado/Types.h"
#include "base/Numbers.h"
#include "db/sql/Passes.h"
#include "db/sql/Textes.h"
#include "runtime/Dates.h"
#include "runtime/RegionalSettings.h"
#include "runtime/Text.h"

namespace tamlo::db::kinds {

namespace {

constexpr Faits kFaits{
    .provider = "MSDASQL.1",
    .curseurClient = true,
    .marque = '`',
    .sondeDates = true,
    .tables = Voie::kOrdre,
    .colonnes = Voie::kOrdre,
    .index = Voie::kOrdre,
    // A double of length 15 is exact here alone.
    .types = {.texte = " CHAR(#)",
              .memo = " MEDIUMTEXT",
              .date = " DATETIME",
              .booleen = " NUMERIC(1)",
              .octet = " TINYINT UNSIGNED",
              .court = " SMALLINT",
              .entier = " INT",
              .numerique = " INT",
              .reel = " DOUBLE",
              .reel15 = " DECIMAL(15,0)",
              .monnaie = " DOUBLE",
              .varNumerique = " DOUBLE",
              .simple = " FLOAT",
              .binaire = " LONGBLOB"},
    .indexApart = true,
    .clePrimaire = "PRIMARY",
    .questionCles = "SHOW KEYS FROM `#`",
    .sensDesCles = false,
    .construitEnCommun = true,
    .prendVerrou = "SELECT GET_LOCK(CONCAT('tamlo_',MD5(DATABASE())),60)",
    .rendVerrou = "SELECT RELEASE_LOCK(CONCAT('tamlo_',MD5(DATABASE())))",
    .sansTable = 1146,
};

bool EstNombre(std::string_view texte, int petit, int grand) {
  const auto nombre = base::ReadWhole<int>(texte);
  return nombre && *nombre >= petit && *nombre <= grand;
}

/// A date of the usual form "01/02/2003", which every month has, for a picture of the probe: its digits only change places. False, and nothing
/// is done, for every other text.
bool AjouteDateUsuelle(std::string& sortie, std::string_view texte, std::string_view fmtDate) {
  const bool anDevant = fmtDate == "YYYY-MM-DD";
  if (texte.size() != 10 || texte[2] != '/' || texte[5] != '/' || (!anDevant && fmtDate != "DD-MM-YYYY")) return false;
  std::string_view jour = texte.substr(0, 2);
  std::string_view mois = texte.substr(3, 2);
  const std::string_view an = texte.substr(6);
  if (runtime::UserSettings().MonthFirst()) std::swap(jour, mois);
  if (!EstNombre(jour, 1, 28) || !EstNombre(mois, 1, 12) || !EstNombre(an, 100, 9999)) return false;
  sortie.append(anDevant ? an : jour).append("-").append(mois).append("-").append(anDevant ? jour : an);
  return true;
}

/// What stands for a date text: the date by the picture, or the text itself when it is no date.
void AjouteDate(std::string& sortie, std::string_view texte, std::string_view fmtDate) {
  if (AjouteDateUsuelle(sortie, texte, fmtDate)) return;
  if (const auto date = runtime::ParseDate(texte)) {
    sortie += runtime::FormatDate(*date, fmtDate);
  } else {
    sortie += texte;
  }
}

/// The date text of a "CVDATE" whose brackets stand at p and e. Error 5 for a lone quote.
std::string_view TexteDeDate(std::string_view sql, std::size_t p, std::size_t e) {
  const std::string_view texte = runtime::Trim(sql.substr(p + 1, e - p - 1));
  if (!texte.starts_with('"')) return texte;
  if (texte.size() < 2) throw runtime::Error(runtime::kInvalidArgument);
  if (texte.ends_with('"')) return texte.substr(1, texte.size() - 2);
  return runtime::Left(texte, runtime::Length(texte) - 1).substr(1);
}

/// The bracket that closes the "CVDATE" at c, and what is written in its place. Error 5 without its brackets, 6 where a position does not fit.
std::pair<std::size_t, std::string> DateA(std::string_view sql, std::size_t c, std::string_view fmtDate) {
  const std::size_t p = sql.find('(', c);
  const std::size_t e = sql.find(')', c);
  sql::Positions positions(sql);
  positions.Verifie(c);
  for (const std::size_t parenthese : {std::min(p, e), std::max(p, e)}) {
    if (parenthese != std::string_view::npos) positions.Verifie(parenthese);
  }
  if (p == std::string_view::npos || e == std::string_view::npos || e < p) throw runtime::Error(runtime::kInvalidArgument);
  std::string date(1, '"');
  AjouteDate(date, TexteDeDate(sql, p, e), fmtDate);
  date += '"';
  return {e, std::move(date)};
}

/// Writes every "CVDATE", in any case for a literal may hold it, as its date.
void EcritDates(std::string& sql, std::string_view fmtDate) {
  std::string majuscules = sql;
  sql::MajusculesAscii(majuscules);
  // What stands before a date that is written holds no further one, what is written may: the search goes on at its front.
  for (std::size_t c = majuscules.find(sql::kCvdate); c != std::string::npos; c = majuscules.find(sql::kCvdate, c)) {
    auto [e, date] = DateA(sql, c, fmtDate);
    sql.replace(c, e + 1 - c, date);
    sql::MajusculesAscii(date);
    majuscules.replace(c, e + 1 - c, date);
  }
}

}  // namespace

void TraduitPourMySql(std::string& sql, std::string_view fmtDate) {
  sql::RemplaceDans(sql, '\'', '"');
  sql::RemplaceDans(sql, '[', '`');
  sql::RemplaceDans(sql, ']', '`');
  sql::RetireAsterisques(sql, true);
  EcritDates(sql, fmtDate);
}

MoteurMySql::MoteurMySql() : Moteur(kFaits) {}

void MoteurMySql::Traduit(std::string& sql, const Contexte& contexte) const { TraduitPourMySql(sql, contexte.fmtDate); }

// One exact numeric stands for several of our types.
TypeDeChamp MoteurMySql::LitType(const TypeDeBase& base) const {
  if (base.typ != ado::adNumeric) return {base.typ, base.lg};
  if (base.precision == 1) return {ado::adBoolean, base.lg};
  constexpr double kLgDouble = 8;
  constexpr double kLgDecimal15 = 15;
  return {ado::adDouble, base.precision == 15 && base.echelle == 0 ? kLgDecimal15 : kLgDouble};
}

// The table's name keeps its own case before a primary key alone.
Edition MoteurMySql::TexteIndex(const DefTbl& tbl, const ado::Index& index, const Rangement& rangement) const {
  if (!index.primaryKey) return Moteur::TexteIndex(tbl, index, rangement);
  const std::string table = Entre(tbl.nom);
  const std::string champs = ListeChamps(index, true);
  return {"ALTER TABLE " + table + " ADD PRIMARY KEY " + champs, {table, champs}};
}

// Without quotes "A,B" would be two tables, "A.B" one of another database and "A#B" the table A.
std::string MoteurMySql::SupprimeTable(const std::string& nom, const std::string& /*owner*/) const {
  const bool simple = std::all_of(nom.begin(), nom.end(), [](char c) {
    const auto octet = static_cast<unsigned char>(c);
    return octet >= 0x80 || std::isalnum(octet) != 0 || c == '_' || c == '$';
  });
  return simple ? "DROP TABLE " + nom : SupprimeTableCitee(nom);
}

std::string MoteurMySql::SupprimeTableCitee(const std::string& nom) const { return "DROP TABLE " + Entre(nom); }

bool MoteurMySql::DUnAutreProgramme(const runtime::Error& erreur) const { return EstDUnAutreMySql(erreur); }

bool EstDUnAutreMySql(const runtime::Error& erreur) {
  // Unknown command (a cluster's node that is not ready), table exists, unknown table, key exists twice, primary key twice, no such table,
  // lock wait, deadlock or conflict, statement interrupted, definition changed, row changed.
  static constexpr std::array<std::int32_t, 11> kNumeros{1047, 1050, 1051, 1061, 1068, 1146, 1205, 1213, 1317, 1412, 1020};
  if (erreur.Number() == runtime::kDuplicateKey) return true;
  return std::find(kNumeros.begin(), kNumeros.end(), erreur.NativeCode()) != kNumeros.end();
}

}  // namespace tamlo::db::kinds
