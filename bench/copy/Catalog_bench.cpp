// Rebuilds the catalog of 500 tables of 20 fields on MariaDB through the layer, and does the same by hand in the same run: three tables
// dropped and made by the same statements, the same rows inserted in the best batches. Prints how many times as long the rebuild takes; the
// exit status is 1 above 1.5. The rows by hand are also told alone.
#include <algorithm>
#include <array>
#include <chrono>
#include <cstdio>
#include <functional>
#include <string>
#include <vector>

#include "ado/odbc/OdbcProvider.h"
#include "bench/copy/RawCatalog.h"
#include "db/DataBase.h"
#include "db/LignesCatalogue.h"
#include "db/Environnement.h"
#include "runtime/Conversions.h"
#include "tests/support_lib/MariaDbServer.h"

namespace {

using tamlo::bench::RawSide;
using tamlo::bench::RawTable;
using tamlo::db::DataBase;

constexpr int kTables = 500;
constexpr int kFields = 20;
constexpr int kRounds = 9;
constexpr std::array<std::size_t, 3> kBatches{1000, 4000, 16000};
constexpr double kLimit = 1.5;

double Seconds(const std::function<void()>& work) {
  const auto start = std::chrono::steady_clock::now();
  work();
  return std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
}

/// A disk that must be waited for now and then makes single times worthless.
double Median(std::vector<double> times) {
  std::nth_element(times.begin(), times.begin() + static_cast<std::ptrdiff_t>(times.size() / 2), times.end());
  return times[times.size() / 2];
}

void MakeTables(RawSide& side) {
  std::string fields;
  for (int i = 0; i < kFields; ++i) fields += (i > 0 ? ",C" : "C") + std::to_string(10 + i) + " INT";
  for (int i = 0; i < kTables; ++i) {
    side.Execute("CREATE TABLE T" + std::to_string(1000 + i) + " (" + fields + ", KEY IDX1 (C10), KEY IDX2 (C11,C12)) ENGINE=Memory");
  }
}

/// The catalog's tables under names of their own, by the statements that the layer sends.
void MakeCatalog(RawSide& side) {
  side.Execute("CREATE TABLE `H$TBLKORV$` (`NOM`  CHAR(30),`MVT`  NUMERIC(1))");
  side.Execute("ALTER TABLE `H$TBLKORV$` ADD PRIMARY KEY (`NOM`)");
  side.Execute(
      "CREATE TABLE `H$FLDKORV$` (`TABLE`  CHAR(30),`NO`  SMALLINT,`NOM`  CHAR(30),`INI`  CHAR(50),`FMT`  CHAR(15),`OBLIGATOIRE`  NUMERIC(1))");
  side.Execute("ALTER TABLE `H$FLDKORV$` ADD PRIMARY KEY (`TABLE`,`NO`)");
  side.Execute(
      "CREATE TABLE `H$IDXKORV$` (`TABLE`  CHAR(30),`NOM`  CHAR(30),`CHAMPS`  CHAR(50),`PRIMAIRE`  NUMERIC(1),`UNIQUE`  NUMERIC(1),"
      "`OBLIGATOIRE`  NUMERIC(1))");
  side.Execute("ALTER TABLE `H$IDXKORV$` ADD PRIMARY KEY (`TABLE`,`NOM`)");
}

/// What the rebuild has written to a catalog table.
template <std::size_t Count>
RawTable Rows(DataBase& base, const char* table, const std::array<const char*, Count>& columns) {
  RawTable out{table, {columns.begin(), columns.end()}, {}};
  auto rows = base.OpenRecordSet("SELECT * FROM [" + std::string(table) + "]", 0);
  for (; !rows.Eof(); rows.MoveNext()) {
    auto& row = out.rows.emplace_back();
    for (const auto& column : columns) {
      const auto value = rows.Fields(column).Value();
      if (value.IsText()) {
        row.emplace_back(*value.template If<std::string>());
      } else {
        row.emplace_back(tamlo::runtime::ToInt32(value));
      }
    }
  }
  rows.Close();
  return out;
}

}  // namespace

int main() {
  tamlo::ado::odbc::RegisterOdbcProviders();
  const tamlo::tests::MariaDbServer server;
  auto& environment = tamlo::db::EnvironnementCourant();
  environment.nomLogin = "tamlo";
  environment.pwdLogin = "tamlo";
  const std::string login = ";UID=tamlo;PWD=tamlo";
  RawSide side(server.ConnectionString() + login);
  MakeTables(side);
  DataBase base;
  if (!base.Ouvre(server.ConnectionString(), tamlo::db::TypMySql, true)) return 1;
  base.RecreeCatalogue();
  const std::vector<RawTable> catalog = {Rows(base, tamlo::db::kTblKorv, tamlo::db::kColonnesTbl),
                                         Rows(base, tamlo::db::kFldKorv, tamlo::db::kColonnesFld),
                                         Rows(base, tamlo::db::kIdxKorv, tamlo::db::kColonnesIdx)};
  std::size_t rows = 0;
  for (const auto& table : catalog) rows += table.rows.size();
  if (catalog[1].rows.size() < std::size_t{kTables} * kFields) return 1;

  // Alternately, so that both meet the same machine; the median counts, by hand that of the best batch size.
  std::array<std::vector<double>, kBatches.size()> byHand;
  std::array<std::vector<double>, kBatches.size()> rowsByHand;
  std::vector<double> byLayer;
  std::vector<RawTable> copies = catalog;
  for (auto& table : copies) table.name = "H" + table.name;
  MakeCatalog(side);
  for (int round = 0; round < kRounds; ++round) {
    for (std::size_t i = 0; i < kBatches.size(); ++i) {
      const double tables = Seconds([&] {
        for (const auto& table : copies) side.Execute("DROP TABLE `" + table.name + "`");
        MakeCatalog(side);
      });
      RawSide hand(server.ConnectionString() + login);
      hand.Begin();
      rowsByHand[i].push_back(Seconds([&] {
        for (const auto& table : copies) tamlo::bench::RawInsert(hand, table, kBatches[i]);
      }));
      byHand[i].push_back(tables + rowsByHand[i].back());
    }
    byLayer.push_back(Seconds([&] { base.RecreeCatalogue(); }));
  }
  base.Ferme();

  double hand = 1e9;
  double rowsAlone = 1e9;
  for (std::size_t i = 0; i < kBatches.size(); ++i) {
    hand = std::min(hand, Median(byHand[i]));
    rowsAlone = std::min(rowsAlone, Median(rowsByHand[i]));
  }
  const double layer = Median(byLayer);
  std::printf("catalog of %d tables of %d fields, %zu rows: by hand %.0f ms, layer %.0f ms, ratio %.2f (limit %.2f)\n", kTables, kFields,
              rows, hand * 1e3, layer * 1e3, layer / hand, kLimit);
  std::printf("of that by hand: %.0f ms for the rows, the rest for dropping and making the three tables\n", rowsAlone * 1e3);
  return layer / hand <= kLimit ? 0 : 1;
}
