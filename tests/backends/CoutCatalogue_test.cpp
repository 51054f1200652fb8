#include <gtest/gtest.h>

#include "jet/Database.h"
#include "runtime/Conversions.h"
#include "tests/backends/Backend.h"
#include "tests/support_lib/SyncCounter.h"

namespace tamlo::tests {
namespace {

constexpr int kTables = 500;
constexpr int kChamps = 20;

std::string NomTable(int i) { return "T" + std::to_string(1000 + i); }
std::string NomChamp(int i) { return "C" + std::to_string(10 + i); }

/// The catalog of the base says what its 500 tables are.
void VerifieCatalogue(db::DataBase& base) {
  auto rs = base.OpenRecordSet("SELECT COUNT(*) FROM [$FLDKORV$] WHERE [TABLE]<>'TEST_DT'", 0);
  EXPECT_EQ(runtime::ToInt32(rs.Fields(0).Value()), kTables * kChamps);
  rs.Close();
  rs = base.OpenRecordSet("SELECT COUNT(*) FROM [$TBLKORV$] WHERE [NOM]<>'TEST_DT'", 0);
  EXPECT_EQ(runtime::ToInt32(rs.Fields(0).Value()), kTables);
}

/// Statements that the server has been sent by anybody since it started.
std::int64_t Questions(ado::Connection& temoin) {
  ado::Recordset rs;
  rs.Open("SHOW GLOBAL STATUS LIKE 'Questions'", &temoin, ado::adOpenForwardOnly, ado::adLockUnspecified, ado::adOptionUnspecified);
  return static_cast<std::int64_t>(runtime::ToDouble(rs.Fields(1).Value()));
}

TEST(CoutCatalogue, OnMySqlTheRowsOf500TablesGoInBatches) {
  Backend& backend = BackendNomme("MariaDb");
  const std::string nom = backend.BaseVide();
  ado::Connection temoin;
  temoin.Provider("MSDASQL.1");
  temoin.Open(nom, backend.Utilisateur(), backend.MotDePasse());
  std::string colonnes;
  for (int i = 0; i < kChamps; ++i) colonnes += (i > 0 ? "," : "(") + NomChamp(i) + " INT";
  for (int i = 0; i < kTables; ++i) temoin.Execute("CREATE TABLE " + NomTable(i) + colonnes + ") ENGINE=Memory");

  BaseOuverte base(backend, nom);
  const std::int64_t avant = Questions(temoin);
  base->RecreeCatalogue();
  const std::int64_t questions = Questions(temoin) - avant - 1;
  EXPECT_LT(questions, 100) << "10,500 rows";
  VerifieCatalogue(*base);
}

TEST(CoutEdition, OnMySqlTheServerIsSentTheStatementsOfAnEditAlone) {
  Backend& backend = BackendNomme("MariaDb");
  BaseOuverte base(backend);
  ado::Connection temoin;
  temoin.Provider("MSDASQL.1");
  temoin.Open(base.Nom(), backend.Utilisateur(), backend.MotDePasse());
  for (int i = 0; i < 30; ++i) base.Cree(Table("T" + std::to_string(i), {{"A", ado::adInteger, 4}, {"B", ado::adInteger, 4}}));
  db::DbTbl& tbl = base->ListeTbl("T7");
  const auto envoyes = [&](auto&& edition) {
    const std::int64_t avant = Questions(temoin);
    edition();
    return Questions(temoin) - avant - 1;
  };
  EXPECT_EQ(envoyes([&] { tbl.AddFld("C", ado::adSmallInt, 2, false); }), 2) << "ALTER TABLE, INSERT of its catalog row";
  EXPECT_EQ(envoyes([&] { tbl.AddIdx("IX", "A;B", false, true); }), 3) << "CREATE INDEX, SHOW KEYS, INSERT";
  EXPECT_EQ(envoyes([&] { tbl.SupIdx("IX"); }), 2) << "DROP CONSTRAINT, DELETE";
  EXPECT_EQ(envoyes([&] { tbl.SupFld("C"); }), 3) << "DROP COLUMN, DELETE, UPDATE";
  EXPECT_EQ(envoyes([&] { base->SupTbl("T7"); }), 4) << "DROP TABLE, three DELETE";
  EXPECT_EQ(envoyes([&] { base.Cree(Table("NEUVE", {{"A", ado::adInteger, 4}})); }), 4) << "CREATE TABLE, the list of tables, two INSERT";
}

TEST(CoutCatalogue, OnAccessItIsWrittenToTheDiskAFewTimes) {
  Backend& backend = BackendNomme("Jet");
  const std::string nom = backend.BaseVide();
  {
    const auto fichier = jet::Database::Open(nom);
    jet::TableSpec table;
    for (int i = 0; i < kChamps; ++i) {
      table.columns.emplace_back();
      table.columns.back().name = NomChamp(i);
      table.columns.back().type = jet::ColumnType::kLong;
    }
    jet::Transaction transaction(*fichier);
    for (int i = 0; i < kTables; ++i) {
      table.name = NomTable(i);
      (void)fichier->CreateTable(table);
    }
    transaction.Commit();
  }
  BaseOuverte base(backend, nom);
  const std::int64_t avant = SyncsSoFar();
  base->RecreeCatalogue();
  const std::int64_t syncs = SyncsSoFar() - avant;
  EXPECT_GT(syncs, 0);
  EXPECT_LE(syncs, 40) << "three tables dropped, three made, 10,500 rows in transactions of 5,000; four for each commit";
  VerifieCatalogue(*base);
}

}  // namespace
}  // namespace tamlo::tests
