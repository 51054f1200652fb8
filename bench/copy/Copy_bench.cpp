// Copies 500,000 rows (integer, text of 60, double, date) from SQLite to MariaDB through the layer and by hand, in the same run. Prints the
// ratio (1 is as fast as by hand) and how far the memory grew; the exit status is 1 below 0.9 or when the memory grows with the rows.
#include <algorithm>
#include <chrono>
#include <cstdio>
#include <fstream>
#include <functional>
#include <string>
#include <vector>

#include "ado/odbc/OdbcProvider.h"
#include "bench/copy/RawCopy.h"
#include "db/DataBase.h"
#include "db/Environnement.h"
#include "tests/support_lib/MariaDbServer.h"
#include "tests/support_lib/TemporaryFolder.h"

namespace {

using tamlo::db::DataBase;

constexpr int kRows = 500000;
constexpr int kRounds = 2;
constexpr double kLimit = 0.9;

double Seconds(const std::function<void()>& work) {
  const auto start = std::chrono::steady_clock::now();
  work();
  return std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
}

/// The most memory that the process ever held, in KiB.
long PeakMemory() {
  std::ifstream status("/proc/self/status");
  for (std::string line; std::getline(status, line);) {
    if (line.rfind("VmHWM:", 0) == 0) return std::stol(line.substr(6));
  }
  return 0;
}

void MakeTable(DataBase& source, const std::string& table, int rows) {
  source.ExecuteSQL("CREATE TABLE [" + table + "] ([ID] INTEGER, [TEXTE] VARCHAR(60), [DBL] DOUBLE, [JOUR] TIMESTAMP)");
  source.ExecuteSQL("INSERT INTO [" + table + "] WITH RECURSIVE N(I) AS (SELECT 1 UNION ALL SELECT I+1 FROM N WHERE I<" +
                    std::to_string(rows) + ") SELECT I, 'un texte d''une longueur moyenne ' || I, I * 1.25, '2003-02-01 13:14:15' FROM N");
}

void MakeTarget(DataBase& target, const std::string& table) {
  if (target.ExisteTbl(table)) target.SupTbl(table);
  auto tbl = std::make_unique<tamlo::db::DbTbl>();
  tbl->Nom(table);
  tbl->AddFld("ID", tamlo::ado::adInteger, 4, false);
  tbl->AddFld("TEXTE", tamlo::ado::adVarWChar, 60, false);
  tbl->AddFld("DBL", tamlo::ado::adDouble, 8, false);
  tbl->AddFld("JOUR", tamlo::ado::adDate, 0, false);
  target.AddTbl(std::move(tbl));
}

}  // namespace

int main() {
  tamlo::ado::odbc::RegisterOdbcProviders();
  tamlo::tests::TemporaryFolder folder;
  tamlo::tests::MariaDbServer server;
  auto& environment = tamlo::db::EnvironnementCourant();
  environment.nomLogin = "tamlo";
  environment.pwdLogin = "tamlo";
  // Without StepAPI the SQLite driver keeps a whole result in memory; both ways read through the same source.
  const std::string sourceName = "DRIVER=SQLite3;StepAPI=1;Database=" + folder.File("source.db");
  DataBase source;
  DataBase target;
  if (!source.Ouvre(sourceName, tamlo::db::TypOdbc, true) || !target.Ouvre(server.ConnectionString(), tamlo::db::TypMySql, true)) return 1;
  MakeTable(source, "GROS", kRows);
  MakeTable(source, "ENORME", kRows * 2);

  MakeTarget(target, "GROS");
  (void)source.CopieDonnees("GROS", target);
  const long before = PeakMemory();
  MakeTarget(target, "ENORME");
  (void)source.CopieDonnees("ENORME", target);
  const long growth = PeakMemory() - before;

  // Alternately, so that both meet the same machine; the best of each counts. By hand: the best batch size, and dates as the driver does
  // them best.
  std::vector<double> byHand;
  std::vector<double> byLayer;
  for (int round = 0; round < kRounds; ++round) {
    for (const std::size_t batch : {std::size_t{1000}, std::size_t{4000}, std::size_t{16000}}) {
      for (const bool datesAsText : {false, true}) {
        MakeTarget(target, "GROS");
        byHand.push_back(Seconds([&] {
          if (tamlo::bench::RawCopy(sourceName, server.ConnectionString() + ";UID=tamlo;PWD=tamlo", "GROS", batch, datesAsText) != kRows) {
            std::abort();
          }
        }));
      }
      MakeTarget(target, "GROS");
      byLayer.push_back(Seconds([&] {
        if (source.CopieDonnees("GROS", target).ecrites != kRows) std::abort();
      }));
    }
  }
  const bool equal = source.VerifieCopie("GROS", target).Egales();
  source.Ferme();
  target.Ferme();

  const double hand = *std::min_element(byHand.begin(), byHand.end());
  const double layer = *std::min_element(byLayer.begin(), byLayer.end());
  std::printf("copy of %d rows SQLite to MariaDB: by hand %.2f s, layer %.2f s, ratio %.2f (limit %.2f)\n", kRows, hand, layer,
              hand / layer, kLimit);
  std::printf("memory of a copy of twice the rows beyond that of one: %ld KiB; rows equal: %s\n", growth, equal ? "yes" : "no");
  return hand / layer >= kLimit && growth < 8 * 1024 && equal ? 0 : 1;
}
