#include <gtest/gtest.h>

#include <array>
#include <chrono>
#include <iterator>
#include <random>
#include <string>

#include "db/kinds/Moteur.h"
#include "db/kinds/Moteurs.h"
#include "db/sql/TablesQualifiees.h"
#include "db/sql/Textes.h"
#include "runtime/Error.h"
#include "runtime/RegionalSettings.h"
#include "runtime/Text.h"
#include "tests/db/sql/FormateSSQLModel.h"
#include "tests/support_lib/Seed.h"

#ifndef TAMLO_CAS
#define TAMLO_CAS 20000
#endif

namespace {

using tamlo::tests::FormateSSQLModel;

class Hasard {
 public:
  explicit Hasard(std::uint64_t graine) : moteur_(graine) {}
  std::size_t Sous(std::size_t borne) { return static_cast<std::size_t>(moteur_() % borne); }
  bool UneFoisSur(std::size_t nombre) { return Sous(nombre) == 0; }
  template <std::size_t N>
  std::string Un(const char* const (&choix)[N]) {
    return choix[Sous(N)];
  }

 private:
  std::mt19937_64 moteur_;
};

constexpr const char* kNoms[] = {
    "UTL", "VLM", "VLMUTL", "UTL2", "U",   "ART", "AS", "DELETE", "CVDATE", "ÉTÉ", "É", "$TBLKORV$", "COMMANDE_LIGNE_DETAIL_HISTORIQUE",
    "T1",  "T2",  "T10",    "ADM",  "FROM"};
constexpr const char* kNomsEtranges[] = {"MA TABLE", "MA",   "A.B",  "A",     "A,B",    "[X]", "X",  "A]B",
                                         "",         "UTL ", "UTL]", "X UTL", "UTL AS", "[",   "A)", "*"};
constexpr const char* kOwners[] = {"ADM", "ADM", "ADM", "SYS", "", "   ", "É"};
constexpr const char* kOwnersEtranges[] = {"UTL", "A B", "ADM.UTL", "[O]", "O]", "CVDATE", "X,UTL", "T1", "AS", "A)", "'", "adm", " ADM"};
constexpr const char* kMots[] = {"select ",
                                 "SELECT ",
                                 " from ",
                                 "delete ",
                                 "DELETE * FROM ",
                                 "delete u.* from ",
                                 "DELETE",
                                 " where ",
                                 " as ",
                                 " AS ",
                                 " As ",
                                 " and ",
                                 "=",
                                 ">= ",
                                 "*",
                                 ".*",
                                 "2 * 3",
                                 " ",
                                 "  ",
                                 ",",
                                 ", ",
                                 ".",
                                 "(",
                                 ")",
                                 "[",
                                 "]",
                                 "[NOM]",
                                 "u.",
                                 "\"",
                                 "`",
                                 "''",
                                 "insert into ",
                                 "(NOM)",
                                 "max(",
                                 "order by ",
                                 "é",
                                 "œ",
                                 "ß",
                                 "x",
                                 "1,5"};
constexpr const char* kLitteraux[] = {
    "'Dupont'", "'L''ECOLE'", "'été'", "' UTL '", "'a, UTL, b'", "'cvdate(x)'", "'*'", "'[x]'", "''", "'CVDATE(''1/2/2003'')'", "' as '"};
constexpr const char* kDates[] = {"cvdate('01/02/2003')",
                                  "CVDATE('01/02/2003 10:30:00')",
                                  "CvDate( '31/12/1999' )",
                                  "cvdate('29/02/2004')",
                                  "cvdate('31/02/2004')",
                                  "cvdate('x')",
                                  "cvdate()",
                                  "cvdate(01/02/2003)",
                                  "cvdate",
                                  "cvdate(",
                                  "cvdate)(",
                                  "cvdate(')",
                                  "cvdate('2003-02-01')",
                                  "cvdate('1/2/3')",
                                  "cvdate(cvdate('01/02/2003'))",
                                  "CVDATE('00/01/2003')",
                                  "CVDATE('13/13/2003')",
                                  "CVDATE('12/13/2003')",
                                  "CVDATE('01/01/0099')",
                                  "CVDATE('01/01/0100')",
                                  "cvdate('0é/02/2003')",
                                  "cvdate( UTL )",
                                  "cvdate('01/02/2003x')",
                                  "cvdate(\"01/02/2003\")",
                                  "ccvdate('1/1/2001')"};
constexpr const char* kRares[] = {"'", "'", "\xC3", "\xE9 ", "\xF0\x9F", "ı", "ſ", "'é", "cvdate", "\t", "\r\n", "ﬁ"};
constexpr const char* kReglages[] = {
    "dd/MM/yyyy", "dd/MM/yyyy", "dd/MM/yyyy", "M/d/yyyy", "yyyy-MM-dd", "", "dd AS MM", "[d]/A", "dddd dd MMMM yyyy 'de'", "d. M. yyyy"};

FormateSSQLModel Modele(Hasard& hasard, bool masqueDate) {
  FormateSSQLModel modele;
  modele.kind = static_cast<std::int16_t>(std::array{0, 1, 2, 2, 2, 2, 3, 3, 4, -1}[hasard.Sous(10)]);
  modele.fmtDate = std::array{"YYYY-MM-DD", "DD-MM-YYYY", "YYYY-MM-DD", ""}[hasard.Sous(4)];
  const std::size_t nombre = hasard.Sous(masqueDate ? 2 : 7);
  for (std::size_t i = 0; i < nombre; ++i) {
    modele.tables.push_back({hasard.UneFoisSur(6) ? hasard.Un(kNomsEtranges) : hasard.Un(kNoms),
                             hasard.UneFoisSur(6) ? hasard.Un(kOwnersEtranges) : hasard.Un(kOwners)});
  }
  return modele;
}

std::string Morceau(Hasard& hasard, const FormateSSQLModel& modele) {
  const std::size_t sorte = hasard.Sous(100);
  if (sorte < 35 && !modele.tables.empty()) {
    const auto& table = modele.tables[hasard.Sous(modele.tables.size())];
    const std::string nom = hasard.UneFoisSur(10) ? table.owner : table.nom;
    static constexpr const char* kAvant[] = {" ", " ", ",", ", ", "(", "", "."};
    static constexpr const char* kApres[] = {" ", " ", ",", ".", "(", ")", ""};
    return hasard.Un(kAvant) + (hasard.UneFoisSur(2) ? "[" + nom + "]" : nom) + hasard.Un(kApres);
  }
  if (sorte < 75) return hasard.Un(kMots);
  if (sorte < 83) return hasard.Un(kLitteraux);
  if (sorte < 91) return hasard.Un(kDates);
  if (sorte < 93) return hasard.Un(kRares);
  return hasard.Un(kNoms);
}

std::string Statement(Hasard& hasard, const FormateSSQLModel& modele, bool longue) {
  std::string sql;
  const std::size_t morceaux = 1 + hasard.Sous(14);
  for (std::size_t i = 0; i < morceaux; ++i) sql += Morceau(hasard, modele);
  if (!longue) return sql;
  // Filler up to a few characters around the last position that fits, then some more.
  const std::size_t vise = 32700 + hasard.Sous(90);
  const std::string lettre = std::array{"a", "é", "7"}[hasard.Sous(3)];
  const std::size_t deja = tamlo::runtime::Length(sql);
  if (vise > deja) {
    std::string remplissage;
    for (std::size_t i = deja; i < vise; ++i) remplissage += lettre;
    sql.insert(hasard.UneFoisSur(4) ? 0 : sql.size(), remplissage);
  }
  for (std::size_t i = 0; i < 4; ++i) sql += Morceau(hasard, modele);
  return sql;
}

/// The text and, after an error, its number.
struct Resultat {
  std::string texte;
  std::int32_t erreur = 0;
  friend bool operator==(const Resultat&, const Resultat&) = default;
};
void PrintTo(const Resultat& resultat, std::ostream* sortie) {
  *sortie << "error " << resultat.erreur << " <" << resultat.texte.substr(0, 2000) << ">";
}

template <typename Traduction>
Resultat Essaie(std::string texte, Traduction traduit) {
  const auto erreur = tamlo::runtime::IgnoringErrors([&] { traduit(texte); });
  return {std::move(texte), erreur.number};
}

}  // namespace

TEST(FormateSSQLRandom, TranslatesGeneratedStatementsLikeTheSequentialModelErrorsIncluded) {
  Hasard hasard(tamlo::tests::Seed());
  std::size_t erreurs5 = 0;
  std::size_t erreurs6 = 0;
  constexpr std::size_t kParModele = 40;
  for (std::size_t fait = 0; fait < TAMLO_CAS;) {
    const bool masqueDate = hasard.UneFoisSur(4000);
    const tamlo::runtime::RegionalSettingsOverride reglages({masqueDate ? "CVDATE" : hasard.Un(kReglages), ','});
    FormateSSQLModel modele = Modele(hasard, masqueDate);
    modele.fmtDateCourte = tamlo::db::sql::LitFmtDateCourte();
    tamlo::db::sql::TablesQualifiees tables;
    for (const auto& table : modele.tables) tables.Ajoute(table.nom, table.owner);
    for (std::size_t i = 0; i < (masqueDate ? 1 : kParModele) && fait < TAMLO_CAS; ++i, ++fait) {
      const std::string sql = Statement(hasard, modele, hasard.UneFoisSur(500));
      const Resultat attendu = Essaie(sql, [&](std::string& texte) { modele.Traduit(texte); });
      const Resultat obtenu = Essaie(sql, [&](std::string& texte) {
        tamlo::db::kinds::MoteurDe(modele.kind).FormateSSQL(texte, {modele.fmtDate, &tables});
      });
      erreurs5 += attendu.erreur == 5 ? 1 : 0;
      erreurs6 += attendu.erreur == 6 ? 1 : 0;
      std::string contexte = "kind " + std::to_string(modele.kind) + " fmt " + modele.fmtDate + " short " + modele.fmtDateCourte;
      for (const auto& table : modele.tables) contexte += " {" + table.nom + "|" + table.owner + "}";
      ASSERT_EQ(obtenu, attendu) << contexte << "\nstatement <" << sql.substr(0, 2000) << ">";
    }
  }
  // The statements did reach the errors.
  EXPECT_GT(erreurs5, 0U);
  EXPECT_GT(erreurs6, 0U);
}
