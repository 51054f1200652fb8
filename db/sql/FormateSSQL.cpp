#include "db/sql/FormateSSQL.h"

#include <algorithm>

#include "db/DataBase.h"
#include "db/sql/Textes.h"
#include "runtime/Dates.h"
#include "runtime/Error.h"
#include "runtime/Text.h"

namespace tamlo::db::sql {

namespace {

constexpr std::string_view kCvdate = "CVDATE";

/// Upper case outside of literals. From an unmatched quote on, and from the end of the literal before it, the text keeps its case.
void ReplieCasse(std::string& sql) {
  std::string sortie;
  sortie.reserve(sql.size() + 1);
  std::string_view reste = sql;
  for (;;) {
    const std::size_t ouvre = reste.find('\'');
    if (ouvre == std::string_view::npos) {
      runtime::AppendUpperCase(sortie, reste);
      break;
    }
    const std::size_t ferme = reste.find('\'', ouvre + 1);
    if (ferme == std::string_view::npos) {
      sortie.append(reste);
      break;
    }
    runtime::AppendUpperCase(sortie, reste.substr(0, ouvre));
    sortie.append(reste.substr(ouvre, ferme + 1 - ouvre));
    reste.remove_prefix(ferme + 1);
  }
  sql.swap(sortie);
}

/// "DELETE * FROM" and "DELETE T.* FROM" are the dialect's alone. Every asterisk of the statement goes.
void RetireAsterisques(std::string& sql) {
  RemplaceDans(sql, ".*", "");
  RemplaceDans(sql, "*", "");
}

bool EstDelete(std::string_view sql) { return runtime::UpperCase(sql.substr(0, 6)) == "DELETE"; }

void PourSqlServer(std::string& sql) {
  RemplaceDans(sql, kCvdate, "");
  if (sql.starts_with("DELETE")) RetireAsterisques(sql);
}

/// The sixteen replacements of one table.
void Qualifie(std::string& sql, const TablesQualifiees::Table& table) {
  struct Forme {
    std::string_view avant;
    std::string_view apres;
    bool crochets;
  };
  static constexpr Forme kFormes[] = {
      {" ", " ", false}, {" ", ".", false}, {" ", ",", false}, {" ", " ", true}, {" ", ".", true}, {" ", ",", true},
      {" ", "(", true},  {" ", ")", true},  {",", " ", false}, {",", ".", false}, {",", ",", false}, {",", " ", true},
      {",", ".", true},  {",", ",", true},  {",", "(", true},  {",", ")", true}};
  std::string cherche;
  std::string remplace;
  for (const Forme& forme : kFormes) {
    const std::string nom = forme.crochets ? "[" + table.nom + "]" : table.nom;
    cherche.assign(forme.avant).append(nom).append(forme.apres);
    remplace.assign(forme.avant).append(table.owner).append(".").append(nom).append(forme.apres);
    RemplaceDans(sql, cherche, remplace);
  }
}

void AjouteMasques(std::string& sql, const std::string& masque) {
  std::size_t depart = 0;
  Positions positions(sql);
  for (;;) {
    const std::size_t c = sql.find(kCvdate, depart);
    if (c == std::string::npos) return;
    positions.Verifie(c);
    const std::size_t e = sql.find(')', c);
    if (e == std::string::npos) throw runtime::Error(runtime::kInvalidArgument);
    positions.Verifie(e);
    constexpr std::size_t kAvantDate = 9;
    constexpr std::size_t kDateSeule = 10;
    const bool seule = runtime::Length(std::string_view(sql).substr(c, e - c)) <= kAvantDate + kDateSeule;
    sql.insert(e, ",'" + masque + (seule ? "'" : " HH24:MI:SS'"));
    depart = e + 1;
    positions = Positions(sql);
    positions.Verifie(depart);
  }
}

void PourOracle(std::string& sql, const TablesQualifiees* tables) {
  sql += ' ';
  if (tables != nullptr) {
    for (std::int64_t rang = tables->Suivante(sql, -1); rang >= 0; rang = tables->Suivante(sql, rang)) {
      Qualifie(sql, (*tables)[static_cast<std::size_t>(rang)]);
    }
  }
  sql = std::string(runtime::Trim(sql));
  AjouteMasques(sql, LitFmtDateCourte());
  RemplaceDans(sql, " AS ", " ");
  RemplaceDans(sql, kCvdate, "TO_DATE");
  RemplaceDans(sql, "[", "\"");
  RemplaceDans(sql, "]", "\"");
  if (EstDelete(sql)) RetireAsterisques(sql);
}

/// The next "CVDATE" in any case, which a literal may hold; npos when there is none.
std::size_t ChercheCvdate(std::string_view sql, std::size_t depart) {
  for (std::size_t i = sql.find_first_of("Vv", depart + 1); i != std::string_view::npos; i = sql.find_first_of("Vv", i + 1)) {
    if (i - 1 >= depart && i + 5 <= sql.size() && runtime::UpperCase(sql.substr(i - 1, 6)) == kCvdate) return i - 1;
  }
  return std::string_view::npos;
}

/// What stands for a date text between the quotes of a literal: the date by the picture, or the text itself when it is no date.
std::string DateEcrite(std::string_view texte, std::string_view fmtDate) {
  if (const auto date = runtime::ParseDate(texte)) return runtime::FormatDate(*date, fmtDate);
  return std::string(texte);
}

/// The date text of a "CVDATE" whose brackets stand at p and e. Error 5 for a lone quote.
std::string_view TexteDeDate(std::string_view sql, std::size_t p, std::size_t e) {
  std::string_view texte = runtime::Trim(sql.substr(p + 1, e - p - 1));
  if (!texte.starts_with('"')) return texte;
  const std::size_t caracteres = runtime::Length(texte);
  if (caracteres < 2) throw runtime::Error(runtime::kInvalidArgument);
  return runtime::Left(texte, caracteres - 1).substr(1);
}

void EcritDates(std::string& sql, std::string_view fmtDate) {
  // What stands before a translated date holds no further one: the search need not begin at the front again.
  for (std::size_t c = ChercheCvdate(sql, 0); c != std::string::npos; c = ChercheCvdate(sql, c)) {
    const std::size_t p = sql.find('(', c);
    const std::size_t e = sql.find(')', c);
    Positions positions(sql);
    positions.Verifie(c);
    for (const std::size_t parenthese : {std::min(p, e), std::max(p, e)}) {
      if (parenthese != std::string::npos) positions.Verifie(parenthese);
    }
    if (p == std::string::npos || e == std::string::npos || e < p) throw runtime::Error(runtime::kInvalidArgument);
    const std::string date = DateEcrite(TexteDeDate(sql, p, e), fmtDate);
    sql.replace(c, e + 1 - c, '"' + date + '"');
  }
}

void PourMySql(std::string& sql, std::string_view fmtDate) {
  RemplaceDans(sql, "'", "\"");
  RemplaceDans(sql, "[", "`");
  RemplaceDans(sql, "]", "`");
  if (EstDelete(sql)) RetireAsterisques(sql);
  EcritDates(sql, fmtDate);
}

}  // namespace

void FormateSSQL(std::string& sql, std::int16_t kind, std::string_view fmtDate, const TablesQualifiees* tables) {
  ReplieCasse(sql);
  switch (kind) {
    case TypSqlServer:
      return PourSqlServer(sql);
    case TypOracle:
      return PourOracle(sql, tables);
    case TypJet:
      return;
    default:
      return PourMySql(sql, fmtDate);
  }
}

}  // namespace tamlo::db::sql
