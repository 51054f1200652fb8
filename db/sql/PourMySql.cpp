#include <algorithm>
#include <array>
#include <bit>
#include <cstring>

#include "db/sql/Octets.h"
#include "db/sql/Passes.h"
#include "db/sql/Textes.h"
#include "runtime/Dates.h"
#include "runtime/Error.h"
#include "runtime/Text.h"

namespace tamlo::db::sql {

namespace {

Octets Marques(Octets bloc) {
  const Octets quotes = Egaux(bloc, '\'');
  const Octets crochets = Egaux(bloc, '[') | Egaux(bloc, ']');
  return (bloc & ~(quotes | crochets)) | (quotes & static_cast<unsigned char>('"')) | (crochets & static_cast<unsigned char>('`'));
}

/// Single quotes become double ones and square brackets back quotes.
void RemplaceMarques(std::string& sql) {
  if (sql.size() <= Positions::kOctetsSurs) return SurChaqueBloc(sql.data(), sql.size(), [](Octets bloc) { return Marques(bloc); });
  RemplaceDans(sql, "'", "\"");
  RemplaceDans(sql, "[", "`");
  RemplaceDans(sql, "]", "`");
}

bool EstCvdate(const char* octets) {
  for (std::size_t i = 0; i < kCvdate.size(); ++i) {
    if (Majuscule(octets[i]) != kCvdate[i]) return false;
  }
  return true;
}

/// The next "CVDATE" in any case, which a literal may hold; npos when there is none.
std::size_t ChercheCvdate(const std::string& sql, std::size_t depart) {
  if (sql.size() < kCvdate.size()) return std::string::npos;
  const std::size_t dernier = sql.size() - kCvdate.size();
  // The first one from depart on that begins in the block at debut.
  const auto dansBloc = [&](std::size_t debut) {
    constexpr unsigned char kPetite = 32;  // makes a letter small
    const Octets debuts = Egaux(LitBloc(sql.data() + debut) | kPetite, 'c') & Egaux(LitBloc(sql.data() + debut + 1) | kPetite, 'v');
    if (EstNul(debuts)) return std::string::npos;
    for (std::uint32_t masque = Masque(debuts); masque != 0; masque &= masque - 1) {
      const std::size_t c = debut + static_cast<std::size_t>(std::countr_zero(masque));
      if (c >= depart && c <= dernier && EstCvdate(sql.data() + c)) return c;
    }
    return std::string::npos;
  };
  if (sql.size() > kBloc) {
    for (; depart + kBloc < sql.size(); depart += kBloc) {
      if (const std::size_t c = dansBloc(depart); c != std::string::npos) return c;
    }
    return depart <= dernier ? dansBloc(sql.size() - 1 - kBloc) : std::string::npos;  // the last block reaches back over the one before
  }
  for (; depart <= dernier; ++depart) {
    if (EstCvdate(sql.data() + depart)) return depart;
  }
  return std::string::npos;
}

/// What stands for a date text between the quotes of a literal: the date by the picture, or the text itself when it is
/// no date.
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

/// The two pictures of a probe.
enum class Ordre : std::uint8_t { kAnDevant, kJourDevant, kAutre };

Ordre OrdreDe(std::string_view fmtDate) {
  constexpr std::string_view kAn = "YYYY-MM-DD";
  constexpr std::string_view kJour = "DD-MM-YYYY";
  // A known length spares a call.
  if (fmtDate.size() != kAn.size()) return Ordre::kAutre;
  if (std::memcmp(fmtDate.data(), kAn.data(), kAn.size()) == 0) return Ordre::kAnDevant;
  return std::memcmp(fmtDate.data(), kJour.data(), kJour.size()) == 0 ? Ordre::kJourDevant : Ordre::kAutre;
}

constexpr std::string_view kFormeUsuelle = "CVDATE(\"00/00/0000\")";

/// True for the usual form, any digit standing where it has a 0. Its last sixteen characters hold all that is not known yet.
bool EstFormeUsuelle(const char* octets) {
  constexpr std::size_t kConnus = kFormeUsuelle.size() - kBloc;
  static_assert(kConnus <= kCvdate.size());
  const Octets forme = LitBloc(kFormeUsuelle.data() + kConnus);
  const Octets bloc = LitBloc(octets + kConnus);
  const Octets places = Egaux(forme, '0');
  const Octets chiffres = reinterpret_cast<Octets>((bloc - static_cast<unsigned char>('0')) < 10);
  return EstNul((places & ~chiffres) | (~places & (bloc ^ forme)));
}

/// Rewrites the usual form, CVDATE("dd/dd/dddd") with a day up to 28, by moving its digits. False, and nothing done,
/// for every other form.
bool EcritDateUsuelle(std::string& sql, std::size_t c, Ordre ordre) {
  constexpr std::string_view kForme = kFormeUsuelle;
  if (ordre == Ordre::kAutre || sql.size() - c < kForme.size() || sql.size() > Positions::kOctetsSurs) return false;
  char* const ecrit = sql.data() + c;
  if (!EstFormeUsuelle(ecrit)) return false;
  std::array<char, kForme.size()> lu{};
  std::memcpy(lu.data(), ecrit, lu.size());
  const auto deux = [&](std::size_t i) { return (lu[i] - '0') * 10 + (lu[i + 1] - '0'); };
  const bool moisDevant = runtime::UserSettings().MonthFirst();
  const std::size_t mois = moisDevant ? 8 : 11;
  const std::size_t jour = moisDevant ? 11 : 8;
  constexpr std::size_t kAn = 14;
  if (deux(mois) < 1 || deux(mois) > 12 || deux(jour) < 1 || deux(jour) > 28 || deux(kAn) < 1) return false;
  const auto copie = [&](std::size_t place, std::size_t source, std::size_t nombre) {
    for (std::size_t i = 0; i < nombre; ++i) ecrit[place + i] = lu[source + i];
  };
  const bool anDevant = ordre == Ordre::kAnDevant;
  constexpr std::size_t kEcrits = 12;
  ecrit[0] = '"';
  copie(anDevant ? 1 : 7, kAn, 4);
  copie(anDevant ? 6 : 4, mois, 2);
  copie(anDevant ? 9 : 1, jour, 2);
  ecrit[anDevant ? 5 : 3] = '-';
  ecrit[anDevant ? 8 : 6] = '-';
  ecrit[kEcrits - 1] = '"';
  sql.erase(c + kEcrits, kForme.size() - kEcrits);
  return true;
}

void EcritDate(std::string& sql, std::size_t c, std::string_view fmtDate) {
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

}  // namespace

void PourMySql(std::string& sql, std::string_view fmtDate) {
  RemplaceMarques(sql);
  if (CommenceParDelete(sql)) RetireAsterisques(sql);
  const Ordre ordre = OrdreDe(fmtDate);
  // What stands before a translated date holds no further one: the search need not begin at the front again.
  for (std::size_t c = ChercheCvdate(sql, 0); c != std::string::npos; c = ChercheCvdate(sql, c)) {
    if (!EcritDateUsuelle(sql, c, ordre)) EcritDate(sql, c, fmtDate);
  }
}

}  // namespace tamlo::db::sql
