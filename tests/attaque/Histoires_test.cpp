// Random histories of the layer on real databases, each compared with a model by readers that are not ours.
#include <gtest/gtest.h>

#include <map>

#include "runtime/Error.h"
#include "tests/attaque/Graines.h"
#include "tests/attaque/Histoire.h"

namespace tamlo::attaque {
namespace {

constexpr int kPas = 120;

class Histoires : public testing::TestWithParam<std::string> {};
INSTANTIATE_TEST_SUITE_P(Kinds, Histoires, testing::Values("Jet", "MariaDb", "Sqlite", "Postgres"),
                         [](const auto& nom) { return nom.param; });

/// Three servers take half a minute to start: by the clock alone.
INSTANTIATE_TEST_SUITE_P(Cluster, Histoires, testing::Values("Amas"), [](const auto& nom) { return nom.param; });

TEST_P(Histoires, LeaveWhatTheModelSays) {
  if (GetParam() == "Amas" && Secondes() == 0) GTEST_SKIP() << "a cluster is started in the long run alone";
  Terrain& terrain = TerrainNomme(GetParam());
  Graines graines(1);
  int pas = 0;
  int fautes = 0;
  std::map<std::string, int> refus;
  while (graines.Encore() && fautes < kMaxFautes) {
    const std::uint32_t graine = graines.Suivante();
    Histoire histoire(terrain, terrain.BaseVide(), graine, terrain.Traits());
    Hasard hasard(graine ^ 0x5EEDU);
    std::string ecarts;
    try {
      for (int i = 0; i < kPas && ecarts.empty(); ++i, ++pas) {
        histoire.Pas();
        if (Tire(hasard, 6) == 0 || i + 1 == kPas) ecarts = histoire.Verifie();
      }
      if (ecarts.empty()) {
        histoire.Finit();
        ecarts = histoire.Verifie();
      }
    } catch (const std::exception& erreur) {
      ecarts = std::string("an exception: ") + erreur.what() + "\n";
    }
    for (const std::string& r : histoire.Refus()) {
      if (++refus[r.substr(r.find("  -> ") == std::string::npos ? 0 : r.find("  -> "))] <= 3)
        std::printf("refused, seed %u: %s\n", graine, r.c_str());
    }
    if (ecarts.empty()) continue;
    ++fautes;
    ADD_FAILURE() << GetParam() << ", seed " << graine << "\n" << ecarts.substr(0, 3000) << "after\n" << histoire.DerniersPas();
  }
  int refuses = 0;
  for (const auto& [texte, nombre] : refus) refuses += nombre;
  std::printf("%s: %d seeds, %d steps, %d refused unforeseen\n", GetParam().c_str(), graines.Nombre(), pas, refuses);
}

}  // namespace
}  // namespace tamlo::attaque
