#include <gtest/gtest.h>

#include "runtime/Error.h"
#include "tests/backends/Accord.h"
#include "tests/backends/Backend.h"

namespace tamlo::tests {
namespace {

/// Some backends keep a field that an index stands on; the others take it out of its indexes, and an index without fields goes with it.
class ChampIndexe : public testing::TestWithParam<std::string> {
 protected:
  [[nodiscard]] Backend& Sur() const { return BackendNomme(GetParam()); }
  /// UTL with the fields A, B and C, an index over these and one over C.
  [[nodiscard]] std::unique_ptr<db::DbTbl> Definition(const std::string& champs) const {
    auto definition = Table("UTL", {{"A", ado::adInteger, 4}, {"B", ado::adInteger, 4}, {"C", ado::adInteger, 4}});
    definition->AddIdx("IX1", champs, false, !Sur().Capacite().indexSimple);
    definition->AddIdx("IX2", "C", false, true);
    return definition;
  }
};
INSTANTIATE_TEST_SUITE_P(Backends, ChampIndexe, testing::Values("Jet", "MariaDb", "Sqlite", "SqlServer", "Oracle"),
                         [](const auto& nom) { return nom.param; });

TEST_P(ChampIndexe, ThatIsDroppedOrKeptLeavesItsIndexesAgreeing) {
  for (const char* champs : {"B", "A;B", "-B;A"}) {
    BaseOuverte base(Sur());
    base.Cree(Definition(champs));
    base->ListeTbl("UTL").SupFld("B");
    EXPECT_EQ(Desaccord(base, "UTL"), "") << champs;
    EXPECT_TRUE(base->ListeTbl("UTL").ExisteIdxSurFld("C"));
    base.Rouvre();
    EXPECT_EQ(Desaccord(base, "UTL"), "") << champs;
  }
}

TEST_P(ChampIndexe, ThatIsDroppedLeavesATableThatCanBeCopied) {
  for (const char* champs : {"B", "A;B"}) {
    BaseOuverte base(Sur());
    base.Cree(Definition(champs));
    base->ListeTbl("UTL").SupFld("B");
    BaseOuverte cible(BackendNomme("Jet"));
    EXPECT_EQ(runtime::IgnoringErrors([&] { (void)base->TblCopie("UTL", *cible, true, true); }).description, "") << champs;
  }
}

}  // namespace
}  // namespace tamlo::tests
