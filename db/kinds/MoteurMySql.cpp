#include "db/kinds/MoteurMySql.h"

#include <algorithm>
#include <array>
#include <cctype>

#include "ado/Types.h"
#include "db/sql/Passes.h"

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
};

}  // namespace

MoteurMySql::MoteurMySql() : Moteur(kFaits) {}

void MoteurMySql::Traduit(std::string& sql, const Contexte& contexte) const { sql::PourMySql(sql, contexte.fmtDate); }

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
