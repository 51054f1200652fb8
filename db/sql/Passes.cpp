#include "db/sql/Passes.h"

#include <span>

#include "db/sql/Textes.h"
#include "runtime/Text.h"

namespace tamlo::db::sql {

namespace {

/// Folds a part of the text. Hands back where it ends then: a letter and its capital may take different numbers of bytes.
std::size_t ReplieJusqua(std::string& sql, std::size_t debut, std::size_t fin) {
  if (MajusculesAscii(std::span(sql).subspan(debut, fin - debut))) return fin;
  const std::string partie = runtime::UpperCase(std::string_view(sql).substr(debut, fin - debut));
  sql.replace(debut, fin - debut, partie);
  return debut + partie.size();
}

}  // namespace

void ReplieCasse(std::string& sql) {
  std::size_t courant = 0;
  for (;;) {
    const std::size_t ouvre = sql.find('\'', courant);
    if (ouvre == std::string::npos) break;
    const std::size_t ferme = sql.find('\'', ouvre + 1);
    if (ferme == std::string::npos) return;
    courant = ReplieJusqua(sql, courant, ouvre) + (ferme + 1 - ouvre);
  }
  ReplieJusqua(sql, courant, sql.size());
}

void RetireAsterisques(std::string& sql, bool enMajuscules) {
  constexpr std::string_view kDelete = "DELETE";
  std::string debut = sql.substr(0, kDelete.size());
  if (enMajuscules) MajusculesAscii(debut);
  if (debut != kDelete) return;
  RemplaceDans(sql, ".*", "");
  RemplaceDans(sql, "*", "");
}

}  // namespace tamlo::db::sql
