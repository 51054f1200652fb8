#include <gtest/gtest.h>

#include <cstring>

#include "ado/odbc/rows/RowReader.h"
#include "runtime/Conversions.h"
#include "runtime/Error.h"
#include "tests/backends/Backend.h"

namespace tamlo::tests {
namespace {

/// An open database whose tables are made by plain statements, and listed.
class Base {
 public:
  explicit Base(const std::string& nom) : base_(BackendNomme(nom)) {}
  db::DataBase& operator*() { return *base_; }
  db::DataBase* operator->() { return &*base_; }
  void Brut(const std::string& sql) { base_->Connexion().Execute(sql, ado::adExecuteNoRecords); }
  void Table(const std::string& colonnes) {
    Brut("CREATE TABLE T (" + colonnes + ")");
    base_.Rouvre();
  }
  std::string Dit(const std::string& sql) {
    ado::Recordset rs;
    rs.Open(sql, &base_->Connexion(), ado::adOpenForwardOnly, ado::adLockReadOnly, -1);
    std::string tout;
    for (; !rs.Eof(); rs.MoveNext()) {
      const auto valeur = rs.Fields(0).Value();
      tout += (valeur.IsNull() ? "nul" : runtime::ToText(valeur, {"", '.'})) + ";";
    }
    return tout;
  }

 private:
  BaseOuverte base_;
};

/// A driver that spoils what it gives in blocks.
class BlocsGates {
 public:
  explicit BlocsGates(ado::odbc::BlockSeam gate) { ado::odbc::SeamOfBlocks() = std::move(gate); }
  ~BlocsGates() { ado::odbc::SeamOfBlocks() = nullptr; }
  BlocsGates(const BlocsGates&) = delete;
  BlocsGates& operator=(const BlocsGates&) = delete;
};

TEST(ValeursExactes, NumbersOfSinglePrecisionArriveAndTheCheckKnowsIt) {
  Base source("MariaDb");
  Base cible("Sqlite");
  source.Table("ID INT PRIMARY KEY, F FLOAT");
  source.Brut("INSERT INTO T VALUES (1, 1.5), (2, 2.5), (3, 3.5), (4, 0.1), (5, NULL)");
  cible.Table("ID INTEGER PRIMARY KEY, F SINGLE");
  (void)source->CopieDonnees("T", *cible);
  EXPECT_EQ(cible.Dit("SELECT printf('%!.17g', F) FROM T WHERE ID < 5 ORDER BY ID"), "1.5;2.5;3.5;0.10000000149011612;");
  EXPECT_TRUE(source->VerifieCopie("T", *cible).Egales());
}

TEST(ValeursExactes, AFaultOfTheBlockReaderIsSeenByTheCheck) {
  Base source("MariaDb");
  Base cible("Sqlite");
  source.Table("ID INT PRIMARY KEY, F FLOAT, H TIME, N VARCHAR(20)");
  source.Brut("INSERT INTO T VALUES (1, 1.5, '10:00:00', 'un'), (2, 2.5, '11:00:00', 'deux'), (3, 3.5, '12:00:00', 'trois')");
  cible.Table("ID INTEGER PRIMARY KEY, F SINGLE, H TIME, N VARCHAR(20)");
  for (const std::size_t colonne : {1U, 2U, 3U}) {
    cible.Brut("DELETE FROM T");
    // The second value of the block becomes the first one's: what a driver does that takes the wrong stride.
    const BlocsGates gates([&](std::size_t laquelle, std::span<std::byte> valeurs) {
      if (laquelle != colonne) return;
      const std::size_t pas = valeurs.size() / 3;
      std::memcpy(valeurs.data() + pas, valeurs.data(), pas);
    });
    (void)source->CopieDonnees("T", *cible);
    const auto bilan = source->VerifieCopie("T", *cible);
    EXPECT_EQ(bilan.differences, 1) << colonne;
    const char* nom[] = {"ID", "F", "H", "N"};
    EXPECT_EQ(bilan.premiereDifference, "table T, ligne 2 (clé ID=2), colonne " + std::string(nom[colonne]));
  }
  cible.Brut("DELETE FROM T");
  (void)source->CopieDonnees("T", *cible);
  EXPECT_TRUE(source->VerifieCopie("T", *cible).Egales());
}

TEST(ValeursExactes, TimesOfMoreThanADayBelowZeroAndWithFractionsArrive) {
  Base source("MariaDb");
  Base cible("Sqlite");
  Base retour("MariaDb");
  const std::string colonnes = "ID INT PRIMARY KEY, H TIME(6), D DATETIME(6)";
  source.Table(colonnes);
  retour.Table(colonnes);
  source.Brut("SET sql_mode=''");
  retour.Brut("SET sql_mode=''");
  source.Brut(
      "INSERT INTO T VALUES (1, '-12:34:56', '0000-00-00'), (2, '838:59:59.999999', '9999-12-31 23:59:59.999999'), "
      "(3, '12:34:56.123456', '2026-02-28 23:59:59.123456'), (4, '25:00:00', '2026-00-00'), (5, NULL, NULL)");
  cible.Table("ID INTEGER PRIMARY KEY, H TIME, D DATETIME");
  (void)source->CopieDonnees("T", *cible);
  EXPECT_EQ(cible.Dit("SELECT quote(H) || quote(D) FROM T ORDER BY ID"),
            "'-12:34:56''0000-00-00 00:00:00';'838:59:59.999999''9999-12-31 23:59:59.999999';"
            "'12:34:56.123456''2026-02-28 23:59:59.123456';'25:00:00''2026-00-00 00:00:00';NULLNULL;");
  EXPECT_EQ(source->VerifieCopie("T", *cible).premiereDifference, "");
  (void)cible->CopieDonnees("T", *retour);
  const std::string dit = "SELECT CONCAT(CAST(H AS CHAR), ' ', CAST(D AS CHAR)) FROM T ORDER BY ID";
  EXPECT_EQ(retour.Dit(dit), source.Dit(dit));
  EXPECT_EQ(cible->VerifieCopie("T", *retour).premiereDifference, "");
  retour.Brut("UPDATE T SET H = '12:34:56.123457' WHERE ID = 3");
  EXPECT_EQ(source->VerifieCopie("T", *retour).premiereDifference, "table T, ligne 3 (clé ID=3), colonne H") << "a microsecond";
}

TEST(ValeursExactes, WhatAnAccessFileHasNoValueForIsRefusedWithTableRowAndColumn) {
  Base source("MariaDb");
  Base cible("Jet");
  source.Table("ID INT PRIMARY KEY, D DATETIME");
  source.Brut("SET sql_mode=''");
  source.Brut("INSERT INTO T VALUES (1, '2026-01-01'), (2, '0000-00-00'), (3, '2026-01-03')");
  cible.Table("ID LONG CONSTRAINT PK PRIMARY KEY, D DATETIME");
  const auto erreur = runtime::IgnoringErrors([&] { (void)source->CopieDonnees("T", *cible); });
  EXPECT_EQ(erreur.number, runtime::kProviderFailure);
  EXPECT_EQ(erreur.description,
            "copie de la table T : ligne 2 : Type de données incompatible : \"0000-00-00 00:00:00\" n'est pas une date, colonne \"D\"");
  // The table itself stays readable, the value with it.
  EXPECT_EQ(source.Dit("SELECT D FROM T ORDER BY ID").find("0000-00-00 00:00:00;") != std::string::npos, true);
}

TEST(ValeursExactes, NoDayOfAServerBecomesAnotherOneInAnAccessFile) {
  for (const char* jour : {"0001-01-01", "0099-12-31 12:00:00", "2026-00-00", "2026-01-00", "9999-12-31 23:59:59.999999"}) {
    Base source("MariaDb");
    Base cible("Jet");
    source.Table("ID INT PRIMARY KEY, D DATETIME(6)");
    source.Brut("SET sql_mode=''");
    source.Brut("INSERT INTO T VALUES (1, '" + std::string(jour) + "')");
    cible.Table("ID LONG CONSTRAINT PK PRIMARY KEY, D DATETIME");
    const auto erreur = runtime::IgnoringErrors([&] { (void)source->CopieDonnees("T", *cible); });
    EXPECT_EQ(erreur.number, runtime::kProviderFailure) << jour << ": " << cible.Dit("SELECT D FROM T");
    EXPECT_TRUE(erreur.description.starts_with("copie de la table T : ligne 1 : Type de données incompatible : ")) << erreur.description;
    EXPECT_TRUE(erreur.description.ends_with(" n'est pas une date, colonne \"D\"")) << erreur.description;
  }
}

/// SQLite takes any text into a column of days. It is read as it stands, and a copy makes no day of it.
TEST(ValeursExactes, ATextInAColumnOfDaysStaysOneAndIsNotCopiedAsADay) {
  Base source("Sqlite");
  source.Table("ID INTEGER PRIMARY KEY, D DATE, H TIME");
  source.Brut(
      "INSERT INTO T VALUES (1, '2026-02-28', '10:11:12'), (2, '1/2', NULL), (3, '31/12/2003', NULL), (4, 'dec 2003', '8:30'), (5, 'abc', NULL)");
  EXPECT_EQ(source.Dit("SELECT D FROM T WHERE ID > 1 ORDER BY ID"), "1/2;31/12/2003;dec 2003;abc;");
  EXPECT_EQ(source.Dit("SELECT H FROM T WHERE ID = 4"), "8:30;");
  for (const char* nom : {"MariaDb", "Sqlite", "Jet"}) {
    Base cible(nom);
    const bool access = std::string(nom) == "Jet";
    cible.Table(access ? "ID LONG CONSTRAINT PK PRIMARY KEY, D DATETIME, H DATETIME" : "ID INTEGER PRIMARY KEY, D DATE, H TIME");
    const auto erreur = runtime::IgnoringErrors([&] { (void)source->CopieDonnees("T", *cible); });
    EXPECT_EQ(erreur.number, 13) << nom;
    EXPECT_TRUE(erreur.description.starts_with("copie de la table T : ligne 2, colonne D : ")) << erreur.description;
    EXPECT_EQ(cible.Dit("SELECT COUNT(*) FROM T"), "1;") << nom;
  }
}

TEST(ValeursExactes, DoublesOfSqliteArriveWithEveryBit) {
  Base source("Sqlite");
  Base cible("MariaDb");
  source.Table("ID INTEGER PRIMARY KEY, X DOUBLE");
  source.Brut("INSERT INTO T VALUES (1, 0.1 + 0.2), (2, 1.0 / 3), (3, 1.7976931348623157e308)");
  cible.Table("ID INT PRIMARY KEY, X DOUBLE");
  (void)source->CopieDonnees("T", *cible);
  EXPECT_EQ(cible.Dit("SELECT CAST(X AS CHAR) FROM T ORDER BY ID"), "0.30000000000000004;0.3333333333333333;1.7976931348623157e308;");
  EXPECT_TRUE(source->VerifieCopie("T", *cible).Egales());
  cible.Brut("UPDATE T SET X = 0.3 WHERE ID = 1");
  EXPECT_EQ(source->VerifieCopie("T", *cible).premiereDifference, "table T, ligne 1 (clé ID=1), colonne X") << "the last bit";
}

TEST(ValeursExactes, ANulInsideATextGoesWhereItCanAndIsRefusedElsewhere) {
  Base source("Sqlite");
  Base cible("MariaDb");
  source.Table("ID INTEGER PRIMARY KEY, N VARCHAR(20), M TEXT");
  source.Brut("INSERT INTO T VALUES (1, 'a' || char(0) || 'b', 'c' || char(0) || 'd')");
  cible.Table("ID INT PRIMARY KEY, N VARCHAR(20), M LONGTEXT");
  (void)source->CopieDonnees("T", *cible);
  EXPECT_EQ(cible.Dit("SELECT CONCAT(HEX(N), HEX(M)) FROM T"), "610062630064;");
  EXPECT_TRUE(source->VerifieCopie("T", *cible).Egales());
  cible.Brut("UPDATE T SET M = 'c'");
  EXPECT_EQ(source->VerifieCopie("T", *cible).premiereDifference, "table T, ligne 1 (clé ID=1), colonne M");
}

}  // namespace
}  // namespace tamlo::tests
