#include "db/sql/Passes.h"

#include "db/sql/Octets.h"
#include "db/sql/Textes.h"
#include "runtime/Text.h"

namespace tamlo::db::sql {

namespace {

/// Hands each part outside of literals to folded and each literal, its quotes included, to kept.
template <typename Folded, typename Kept>
void ParcourtLitteraux(std::string_view reste, Folded folded, Kept kept) {
  for (;;) {
    const std::size_t ouvre = reste.find('\'');
    if (ouvre == std::string_view::npos) return folded(reste);
    const std::size_t ferme = reste.find('\'', ouvre + 1);
    if (ferme == std::string_view::npos) return kept(reste);
    folded(reste.substr(0, ouvre));
    kept(reste.substr(ouvre, ferme + 1 - ouvre));
    reste.remove_prefix(ferme + 1);
  }
}

}  // namespace

void ReplieCasse(std::string& sql) {
  if (EstAscii(sql)) {
    char* const octets = sql.data();
    ParcourtLitteraux(
        sql,
        [&](std::string_view partie) {
          SurChaqueBloc(octets + (partie.data() - octets), partie.size(), [](Octets bloc) { return Majuscules(bloc); });
        },
        [](std::string_view) {});
    return;
  }
  // A letter and its capital may take different numbers of bytes.
  std::string sortie;
  sortie.reserve(sql.size());
  ParcourtLitteraux(
      sql, [&](std::string_view partie) { runtime::AppendUpperCase(sortie, partie); },
      [&](std::string_view litteral) { sortie.append(litteral); });
  sql.swap(sortie);
}

bool CommenceParDelete(std::string_view sql) {
  constexpr std::string_view kDelete = "DELETE";
  if (sql.size() < kDelete.size()) return false;
  for (std::size_t i = 0; i < kDelete.size(); ++i) {
    if (Majuscule(sql[i]) != kDelete[i]) return false;
  }
  return true;
}

void RetireAsterisques(std::string& sql) {
  RemplaceDans(sql, ".*", "");
  RemplaceDans(sql, "*", "");
}

void PourSqlServer(std::string& sql) {
  RemplaceDans(sql, kCvdate, "");
  // The case is not folded again: a text that kept its own is no DELETE here.
  if (sql.starts_with("DELETE")) RetireAsterisques(sql);
}

}  // namespace tamlo::db::sql
