// FormateSSQL on a usual statement, for each kind, as a ratio to one plain pass that upper-cases the same text into a
// new string. The last lines of the output are the ratios; the exit status is 1 when one is above its limit.
#include <benchmark/benchmark.h>

#include <algorithm>
#include <cstdio>
#include <map>
#include <string>
#include <vector>

#include "db/kinds/Moteur.h"
#include "db/kinds/Moteurs.h"
#include "db/sql/TablesQualifiees.h"
#include "runtime/RegionalSettings.h"
#include "runtime/Text.h"

namespace {

using tamlo::db::sql::TablesQualifiees;

const std::string kTexte = "select u.[NOM], v.* from [UTL] as u, VLM v where u.[DTCRE] >= cvdate('01/02/2003') and u.NOM = 'Dupont'";

/// nombre owned tables, among them the two of the statement.
TablesQualifiees Tables(int nombre) {
  TablesQualifiees tables;
  for (int i = 2; i < nombre; ++i) {
    tables.Ajoute("T" + std::to_string(i), "ADM");
    if (i == nombre / 2) tables.Ajoute("UTL", "ADM");
  }
  if (nombre < 3) tables.Ajoute("UTL", "ADM");
  tables.Ajoute("VLM", "ADM");
  return tables;
}

void Majuscules(benchmark::State& state) {
  for (auto _ : state) {
    std::string sortie;
    sortie.reserve(kTexte.size());
    tamlo::runtime::AppendUpperCase(sortie, kTexte);
    benchmark::DoNotOptimize(sortie.data());
  }
}

void Traduction(benchmark::State& state, std::int16_t kind, int nombre) {
  const TablesQualifiees tables = Tables(nombre);
  std::string texte;
  for (auto _ : state) {
    texte = kTexte;
    tamlo::db::kinds::MoteurDe(kind).FormateSSQL(texte, {"YYYY-MM-DD", &tables});
    benchmark::DoNotOptimize(texte.data());
  }
}

/// The time that the work takes: what a repetition took longer, other programs of the machine had.
double Moindre(const std::vector<double>& temps) { return *std::min_element(temps.begin(), temps.end()); }

/// Prints as usual and keeps the least time of each bench.
class Releve : public benchmark::ConsoleReporter {
 public:
  void ReportRuns(const std::vector<Run>& runs) override {
    ConsoleReporter::ReportRuns(runs);
    for (const Run& run : runs) {
      if (run.run_type == Run::RT_Aggregate && run.aggregate_name == "min") temps[run.run_name.function_name] = run.GetAdjustedCPUTime();
    }
  }
  std::map<std::string, double> temps;
};

struct Limite {
  const char* nom;
  std::int16_t kind;
  int tables;
  double rapport;
};
constexpr Limite kLimites[] = {{"kind 0", 0, 0, 6},
                               {"kind 1", 1, 0, 6},
                               {"kind 2, 2 tables", 2, 2, 30},
                               {"kind 2, 1000 tables", 2, 1000, 30},
                               {"kind 2, 20000 tables", 2, 20000, 30},
                               {"kind 3", 3, 0, 6}};

}  // namespace

int main(int argc, char** argv) {
  const tamlo::runtime::RegionalSettingsOverride reglages({"dd/MM/yyyy", ','});
  const auto repete = [](benchmark::internal::Benchmark* bench) {
    bench->Repetitions(9)->ReportAggregatesOnly()->ComputeStatistics("min", Moindre);
  };
  repete(benchmark::RegisterBenchmark("upper case", Majuscules));
  for (const Limite& limite : kLimites) repete(benchmark::RegisterBenchmark(limite.nom, Traduction, limite.kind, limite.tables));
  benchmark::Initialize(&argc, argv);
  Releve releve;
  benchmark::RunSpecifiedBenchmarks(&releve);
  const double base = releve.temps["upper case"];
  bool depasse = false;
  if (base > 0) {
    for (const Limite& limite : kLimites) {
      const double rapport = releve.temps[limite.nom] / base;
      depasse |= rapport > limite.rapport;
      std::printf("%-22s %5.2f x one upper-case pass (limit %.0f)\n", limite.nom, rapport, limite.rapport);
    }
  }
  return depasse ? 1 : 0;
}
