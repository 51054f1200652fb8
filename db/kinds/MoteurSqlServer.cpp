#include "db/kinds/MoteurSqlServer.h"

#include "db/sql/Passes.h"
#include "db/sql/Textes.h"

namespace tamlo::db::kinds {

namespace {

constexpr Faits kFaits{
    .provider = "sqloledb",
    .avantNom = "Initial Catalog=",
    .apresNom = ";",
    .transactions = false,
    .ouvre = '[',
    .ferme = ']',
    .premiereLigne = true,
    .tables = Voie::kOrdre,
    .index = Voie::kOrdre,
    // An exact numeric has none, a boolean alone has a default, binaries have no length.
    .types = {.texte = " NVARCHAR(#)",
              .memo = " NTEXT",
              .date = " DATETIME",
              .booleen = " BIT DEFAULT 0",
              .octet = " TINYINT",
              .court = " SMALLINT",
              .entier = " INT",
              .numerique = "",
              .reel = " FLOAT",
              .reel15 = " FLOAT",
              .monnaie = " MONEY",
              .varNumerique = " FLOAT",
              .simple = " REAL",
              .binaire = " VARBINARY"},
};

}  // namespace

MoteurSqlServer::MoteurSqlServer() : Moteur(kFaits) {}

void MoteurSqlServer::Traduit(std::string& sql, const Contexte& /*contexte*/) const {
  sql::RemplaceDans(sql, sql::kCvdate, "");
  // The case is not folded again: a text that kept its own is no DELETE here.
  sql::RetireAsterisques(sql, false);
}

bool MoteurSqlServer::DUnAutreProgramme(const runtime::Error& erreur) const {
  constexpr std::int32_t kVictime = 1205;  // of a deadlock
  return erreur.NativeCode() == kVictime;
}

// A primary key is a unique constraint, and a plain index has its clause without a kind word. The fields stand here, and only here, in the
// case in which the index was described: a server that looks at the case finds "NOM" by "NOM".
std::string MoteurSqlServer::Contraintes(const DefTbl& tbl) const {
  std::string texte;
  for (const DefIdx& idx : tbl.index) {
    ado::Index index = idx.index;
    for (std::size_t i = 0; i < idx.champsDecrits.size(); ++i) index.columns[i].name = idx.champsDecrits[i];
    texte += ",CONSTRAINT " + EntreMajuscules(index.name) + " " + (index.primaryKey || index.unique ? " UNIQUE" : "") +
             ListeChamps(index, false);
  }
  return texte;
}

}  // namespace tamlo::db::kinds
