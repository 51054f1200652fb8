#include "db/kinds/MoteurOracle.h"

#include <algorithm>
#include <cmath>

#include "ado/Types.h"
#include "base/Numbers.h"
#include "db/kinds/ParamOra.h"
#include "db/sql/Passes.h"
#include "db/sql/Qualification.h"
#include "db/sql/Textes.h"
#include "runtime/Text.h"
#include "support/Support.h"

namespace tamlo::db::kinds {

namespace {

constexpr Faits kFaits{
    .provider = "OraOLEDB.Oracle",
    .messageRefus = "Utilisateur ou mot de passe incorrect",
    .preparation = {.etape = "ordre de tri", .ordre = "ALTER SESSION SET NLS_SORT=BINARY"},
    .proprietaires = true,
    .privileges = true,
    .ouvre = '"',
    .ferme = '"',
    .tables = Voie::kOrdre,
    .colonnes = Voie::kOrdre,
    .index = Voie::kOrdre,
    // A long text is of 2000 whatever its length, a boolean alone has a default.
    .types = {.texte = " CHAR(#)",
              .memo = " VARCHAR2(2000)",
              .date = " DATE",
              .booleen = " NUMBER(1,0) DEFAULT 0",
              .octet = " NUMBER(3,0)",
              .court = " NUMBER(5,0)",
              .entier = " NUMBER(10,0)",
              .numerique = " NUMBER(10,0)",
              .reel = " NUMBER",
              .reel15 = " NUMBER",
              .monnaie = " NUMBER",
              .varNumerique = " NUMBER",
              .simple = " FLOAT",
              .binaire = " BLOB"},
    .indexApart = true,
    .prefixeIndex = true,
    .indexSurTable = false,
    .avecParametres = true,
};

bool Vide(const std::string& texte) { return support::EstVide(std::string_view(texte)); }

/// The number of a parameter, written with a point or a comma.
double NombreDe(std::string valeur) {
  std::replace(valeur.begin(), valeur.end(), ',', '.');
  const auto nombre = base::ReadReal(runtime::Trim(valeur));
  if (!nombre) {
    throw runtime::Error(runtime::kTypeMismatch, "Fichier de paramètres Oracle : NEXT n'est pas un nombre (\"" + valeur + "\")");
  }
  return *nombre;
}

/// A whole number of megabytes stays; a fraction becomes thousandths, called kilobytes. Fifteen digits hide the binary remainder of 0.57.
std::string TexteNext(const std::string& valeur) {
  const double mega = NombreDe(valeur);
  if (mega == std::floor(mega)) return " NEXT " + valeur + " M";
  return " NEXT " + base::SignificantText(mega * 1000, 15) + " K";
}

std::string Clause(const char* mot, const std::string& valeur, const char* suite = "") {
  return Vide(valeur) ? std::string() : mot + valeur + suite;
}

std::string ClauseStockage(const ParamOra& param) {
  std::string stockage = Clause(" INITIAL ", param.initial, " M");
  if (!Vide(param.next)) stockage += TexteNext(param.next);
  stockage +=
      Clause(" MINEXTENTS ", param.minExtents) + Clause(" MAXEXTENTS ", param.maxExtents) + Clause(" PCTINCREASE ", param.pctIncrease);
  std::string texte = Clause(" PCTFREE ", param.pctFree) + Clause(" PCTUSED ", param.pctUsed);
  if (!Vide(stockage)) texte += " STORAGE (" + stockage + ")";
  return texte + Clause(" TABLESPACE \"", param.tablespace, "\"");
}

/// The further owner that a database name may carry as a part "OWNER=name", parts being separated by ";"; "" when there is none.
std::string ProprietaireDuNom(const std::string& nom) {
  constexpr std::string_view kCle = "OWNER=";
  std::string_view reste = nom;
  while (!reste.empty()) {
    const std::string_view partie = reste.substr(0, reste.find(';'));
    reste.remove_prefix(std::min(partie.size() + 1, reste.size()));
    const std::string majuscules = runtime::UpperCase(runtime::Trim(partie));
    if (majuscules.starts_with(kCle)) return majuscules.substr(kCle.size());
  }
  return {};
}

/// True when the text from "CVDATE" up to the bracket that closes it holds at most a date without a time.
bool EstDateSeule(std::string_view jusquaParenthese) {
  constexpr std::size_t kAvantDate = 9;  // "CVDATE(" and the two quotes
  constexpr std::size_t kDateSeule = 10;
  return runtime::Length(jusquaParenthese) <= kAvantDate + kDateSeule;
}

/// Gives every date text its mask. Error 5 for one without its bracket, 6 where a position does not fit.
void AjouteMasques(std::string& sql, const std::string& masque) {
  std::size_t depart = 0;
  sql::Positions positions(sql);
  for (std::size_t c = sql.find(sql::kCvdate); c != std::string::npos; c = sql.find(sql::kCvdate, depart)) {
    positions.Verifie(c);
    const std::size_t e = sql.find(')', c);
    if (e == std::string::npos) throw runtime::Error(runtime::kInvalidArgument);
    positions.Verifie(e);
    sql.insert(e, ",'" + masque + (EstDateSeule(std::string_view(sql).substr(c, e - c)) ? "'" : " HH24:MI:SS'"));
    depart = e + 1;
    positions = sql::Positions(sql);
    positions.Verifie(depart);
  }
}

}  // namespace

MoteurOracle::MoteurOracle() : Moteur(kFaits) {}

void MoteurOracle::Traduit(std::string& sql, const Contexte& contexte) const {
  sql += ' ';
  if (contexte.tables != nullptr) sql::Qualifie(sql, *contexte.tables);
  sql.assign(runtime::Trim(sql));
  AjouteMasques(sql, sql::LitFmtDateCourte());
  sql::RemplaceDans(sql, " AS ", " ");
  sql::RemplaceDans(sql, sql::kCvdate, "TO_DATE");
  sql::RemplaceDans(sql, '[', '"');
  sql::RemplaceDans(sql, ']', '"');
  sql::RetireAsterisques(sql, true);
}

// What is written without a scale comes back as a numeric.
std::optional<std::string> MoteurOracle::TypeRelu(std::int32_t typ, std::int32_t lg) const {
  if (typ == ado::adNumeric || typ == ado::adSingle) return " NUMBER";
  return TypeColonne(typ, lg);
}

// One exact numeric stands for several of our types: its precision tells them apart.
TypeDeChamp MoteurOracle::LitType(const TypeDeBase& base) const {
  if (base.typ != ado::adNumeric) return {base.typ, base.lg};
  switch (base.precision) {
    case 1:
      return {ado::adBoolean, base.lg};
    case 3:
      return {ado::adUnsignedTinyInt, base.lg};
    case 5:
      return {ado::adSmallInt, base.lg};
    case 10:
      return {ado::adInteger, base.lg};
    default:
      return {base.typ, base.lg};
  }
}

Rangement MoteurOracle::Range(const DefTbl& tbl, bool nouvelle) const {
  const ParamOra param = LitParamOra(tbl.nom, tbl.dossierParametres, tbl.suffixeParametres);
  return {Devant(param.owner), nouvelle ? ClauseStockage(param) : "", Clause(" TABLESPACE ", param.tablespaceIndex)};
}

// Here alone the owner stands between quotes.
std::string MoteurOracle::SupprimeTable(const std::string& nom, const std::string& owner) const {
  return "DROP TABLE " + (Vide(owner) ? "" : Entre(owner) + ".") + Entre(nom);
}

std::string MoteurOracle::QuestionTables(const std::string& owner, const std::string& nomBase) const {
  const std::string autre = ProprietaireDuNom(nomBase);
  std::string sql = "SELECT * FROM ALL_TABLES WHERE (OWNER = '" + owner + "')";
  if (!Vide(autre)) sql += " OR (OWNER = '" + runtime::UpperCase(autre) + "')";
  return sql + " ORDER BY TABLE_NAME";
}

std::vector<std::string> MoteurOracle::QuestionsPrivilege(const std::string& compte, const std::string& privilege) const {
  return {"SELECT * FROM ROLE_SYS_PRIVS,USER_ROLE_PRIVS WHERE ROLE = GRANTED_ROLE AND USERNAME = '" + compte + "' AND PRIVILEGE='" +
              privilege + "'",
          "SELECT * FROM USER_SYS_PRIVS WHERE USERNAME = '" + compte + "' AND PRIVILEGE='" + privilege + "'"};
}

std::string MoteurOracle::QuestionPrivilege(const std::string& compte, const std::string& owner, const std::string& table,
                                            const std::string& privilege) const {
  return "SELECT * FROM ALL_TAB_PRIVS,USER_ROLE_PRIVS WHERE GRANTEE = GRANTED_ROLE (+) AND (GRANTEE = '" + compte + "' OR USERNAME = '" +
         compte + "') AND TABLE_SCHEMA='" + owner + "' AND TABLE_NAME='" + table + "' AND PRIVILEGE='" + privilege + "'";
}

}  // namespace tamlo::db::kinds
