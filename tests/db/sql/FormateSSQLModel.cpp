#include "tests/db/sql/FormateSSQLModel.h"

#include "runtime/Dates.h"
#include "runtime/Error.h"
#include "runtime/Text.h"

namespace tamlo::tests {

namespace {

using Texte = std::u32string;
using runtime::Error;

Texte Caracteres(std::string_view texte) {
  Texte sortie;
  while (!texte.empty()) sortie.push_back(runtime::NextCharacter(texte));
  return sortie;
}

std::string Octets(const Texte& texte) {
  std::string sortie;
  for (const char32_t caractere : texte) runtime::AppendCharacter(sortie, caractere);
  return sortie;
}

Texte Majuscules(const Texte& texte) { return Caracteres(runtime::UpperCase(Octets(texte))); }

std::int16_t Position(std::size_t valeur) {
  if (valeur > 32767) throw Error(runtime::kOverflow);
  return static_cast<std::int16_t>(valeur);
}

/// Position from 1 of the first occurrence at or after depart; 0 when there is none.
std::size_t Trouve(std::size_t depart, const Texte& texte, const Texte& cherche) {
  const std::size_t trouve = texte.find(cherche, depart - 1);
  return trouve == Texte::npos ? 0 : trouve + 1;
}

Texte Gauche(const Texte& texte, int longueur) {
  if (longueur < 0) throw Error(runtime::kInvalidArgument);
  return texte.substr(0, static_cast<std::size_t>(longueur));
}

Texte Milieu(const Texte& texte, std::size_t depart) { return depart > texte.size() ? Texte() : texte.substr(depart - 1); }

Texte Milieu(const Texte& texte, std::size_t depart, int longueur) {
  if (longueur < 0) throw Error(runtime::kInvalidArgument);
  return Gauche(Milieu(texte, depart), longueur);
}

Texte Coupe(Texte texte) {
  while (!texte.empty() && texte.front() == U' ') texte.erase(0, 1);
  while (!texte.empty() && texte.back() == U' ') texte.pop_back();
  return texte;
}

Texte Remplace(const Texte& texte, const Texte& cherche, const Texte& remplace) {
  Texte sortie;
  std::int16_t courant = 1;
  for (;;) {
    const std::int16_t trouve = Position(Trouve(static_cast<std::size_t>(courant), texte, cherche));
    if (trouve == 0) return sortie + Milieu(texte, static_cast<std::size_t>(courant));
    sortie += Milieu(texte, static_cast<std::size_t>(courant), trouve - courant) + remplace;
    courant = Position(static_cast<std::size_t>(trouve) + cherche.size());
  }
}

Texte Casse(Texte reste) {
  Texte sortie;
  for (;;) {
    const std::size_t ouvre = Trouve(1, reste, U"'");
    if (ouvre == 0) return sortie + Majuscules(reste);
    const std::size_t ferme = Trouve(ouvre + 1, reste, U"'");
    if (ferme == 0) return sortie + reste;
    sortie += Majuscules(reste.substr(0, ouvre - 1)) + reste.substr(ouvre - 1, ferme - ouvre + 1);
    reste = Milieu(reste, ferme + 1);
  }
}

/// The text under translation, handed back to the caller after each step.
class Pas {
 public:
  explicit Pas(std::string& sql) : sql_(sql), texte_(Caracteres(sql)) {}
  ~Pas() { sql_ = Octets(texte_); }
  Pas(const Pas&) = delete;
  Pas& operator=(const Pas&) = delete;

  void Remplace(const Texte& cherche, const Texte& remplace) { texte_ = tests::Remplace(texte_, cherche, remplace); }
  void Asterisques(bool majuscules) {
    const Texte debut = texte_.substr(0, 6);
    if ((majuscules ? Majuscules(debut) : debut) != U"DELETE") return;
    Remplace(U".*", U"");
    Remplace(U"*", U"");
  }
  void Oracle(const FormateSSQLModel& modele);
  void MySql(const std::string& fmtDate);
  void Casse() { texte_ = tests::Casse(texte_); }

 private:
  void Qualifie(const Texte& nom, const Texte& owner);
  void Masques(const Texte& masque);

  std::string& sql_;
  Texte texte_;
};

void Pas::Qualifie(const Texte& n, const Texte& o) {
  Remplace(U" " + n + U" ", U" " + o + U"." + n + U" ");
  Remplace(U" " + n + U".", U" " + o + U"." + n + U".");
  Remplace(U" " + n + U",", U" " + o + U"." + n + U",");
  Remplace(U" [" + n + U"] ", U" " + o + U".[" + n + U"] ");
  Remplace(U" [" + n + U"].", U" " + o + U".[" + n + U"].");
  Remplace(U" [" + n + U"],", U" " + o + U".[" + n + U"],");
  Remplace(U" [" + n + U"](", U" " + o + U".[" + n + U"](");
  Remplace(U" [" + n + U"])", U" " + o + U".[" + n + U"])");
  Remplace(U"," + n + U" ", U"," + o + U"." + n + U" ");
  Remplace(U"," + n + U".", U"," + o + U"." + n + U".");
  Remplace(U"," + n + U",", U"," + o + U"." + n + U",");
  Remplace(U",[" + n + U"] ", U"," + o + U".[" + n + U"] ");
  Remplace(U",[" + n + U"].", U"," + o + U".[" + n + U"].");
  Remplace(U",[" + n + U"],", U"," + o + U".[" + n + U"],");
  Remplace(U",[" + n + U"](", U"," + o + U".[" + n + U"](");
  Remplace(U",[" + n + U"])", U"," + o + U".[" + n + U"])");
}

void Pas::Masques(const Texte& masque) {
  std::int16_t depart = 1;
  for (;;) {
    const std::int16_t c = Position(Trouve(static_cast<std::size_t>(depart), texte_, U"CVDATE"));
    if (c == 0) return;
    const std::int16_t e = Position(Trouve(static_cast<std::size_t>(c), texte_, U")"));
    const int longueur = e - c - 9;
    const Texte avant = Gauche(texte_, e - 1);
    texte_ = avant + U",'" + masque + (longueur <= 10 ? U"'" : U" HH24:MI:SS'") + Milieu(texte_, static_cast<std::size_t>(e));
    depart = Position(static_cast<std::size_t>(e) + 1);
  }
}

void Pas::Oracle(const FormateSSQLModel& modele) {
  texte_ += U' ';
  for (const auto& table : modele.tables) {
    if (!Coupe(Caracteres(table.owner)).empty()) Qualifie(Caracteres(table.nom), Caracteres(table.owner));
  }
  texte_ = Coupe(texte_);
  Masques(Caracteres(modele.fmtDateCourte));
  Remplace(U" AS ", U" ");
  Remplace(U"CVDATE", U"TO_DATE");
  Remplace(U"[", U"\"");
  Remplace(U"]", U"\"");
  Asterisques(true);
}

void Pas::MySql(const std::string& fmtDate) {
  Remplace(U"'", U"\"");
  Remplace(U"[", U"`");
  Remplace(U"]", U"`");
  Asterisques(true);
  for (;;) {
    const std::int16_t c = Position(Trouve(1, Majuscules(texte_), U"CVDATE"));
    if (c == 0) return;
    const std::int16_t p = Position(Trouve(static_cast<std::size_t>(c), texte_, U"("));
    const std::int16_t e = Position(Trouve(static_cast<std::size_t>(c), texte_, U")"));
    if (p == 0) throw Error(runtime::kInvalidArgument);
    Texte d = Coupe(Milieu(texte_, static_cast<std::size_t>(p) + 1, e - p - 1));
    if (d.starts_with(U'"')) d = Milieu(d, 2, static_cast<int>(d.size()) - 2);
    if (const auto date = runtime::ParseDate(Octets(d))) d = Caracteres(runtime::FormatDate(*date, fmtDate));
    texte_ = Gauche(texte_, c - 1) + U'"' + d + U'"' + Milieu(texte_, static_cast<std::size_t>(e) + 1);
  }
}

}  // namespace

void FormateSSQLModel::Traduit(std::string& sql) const {
  Pas pas(sql);
  pas.Casse();
  if (kind == 1) {
    pas.Remplace(U"CVDATE", U"");
    pas.Asterisques(false);
  } else if (kind == 2) {
    pas.Oracle(*this);
  } else if (kind != 0) {
    pas.MySql(fmtDate);
  }
}

}  // namespace tamlo::tests
