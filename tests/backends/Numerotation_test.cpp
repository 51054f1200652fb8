#include <gtest/gtest.h>

#include "runtime/Error.h"
#include "tests/backends/Accord.h"
#include "tests/backends/Backend.h"

namespace tamlo::tests {
namespace {

/// A field object keeps its number when a field before it is dropped; what is written of the whole table counts anew, so that the next
/// field has a number of its own.
class Numerotation : public testing::TestWithParam<std::string> {};
INSTANTIATE_TEST_SUITE_P(Backends, Numerotation, testing::Values("Jet", "MariaDb", "SqlServer", "Oracle"),
                         [](const auto& nom) { return nom.param; });

std::unique_ptr<db::DbTbl> TroisChamps() {
  return Table("UTL", {{"A", ado::adInteger, 4}, {"B", ado::adInteger, 4}, {"C", ado::adInteger, 4}});
}

TEST_P(Numerotation, OfARebuiltCatalogIsDenseBehindADroppedField) {
  BaseOuverte base(BackendNomme(GetParam()));
  base.Cree(TroisChamps());
  base->ListeTbl("UTL").SupFld("A");
  EXPECT_EQ(base->ListeTbl("UTL").ListeFld("B").No(), 1) << "in memory the number stays";
  base->RecreeCatalogue();
  EXPECT_EQ(runtime::IgnoringErrors([&] { base->ListeTbl("UTL").AddFld("D", ado::adInteger, 4, false); }).description, "");
  EXPECT_EQ(Desaccord(base, "UTL"), "");
  base.Rouvre();
  EXPECT_EQ(Desaccord(base, "UTL"), "");
  EXPECT_EQ(base->ListeTbl("UTL").ListeFld("D").No(), 2);
}

TEST_P(Numerotation, OfANewTableIsDenseBehindAFieldThatItsDefinitionLost) {
  BaseOuverte base(BackendNomme(GetParam()));
  auto definition = TroisChamps();
  definition->SupFld("B");
  base.Cree(std::move(definition));
  EXPECT_EQ(runtime::IgnoringErrors([&] { base->ListeTbl("UTL").AddFld("D", ado::adInteger, 4, false); }).description, "");
  EXPECT_EQ(Desaccord(base, "UTL"), "");
  base.Rouvre();
  EXPECT_EQ(Desaccord(base, "UTL"), "");
  EXPECT_EQ(base->ListeTbl("UTL").ListeFld("D").No(), 2);
}

TEST_P(Numerotation, OfAFieldDroppedByAnObjectThatHasNotSeenAnotherOneDropped) {
  BaseOuverte base(BackendNomme(GetParam()));
  base.Cree(Table(
      "UTL",
      {{"A", ado::adInteger, 4}, {"B", ado::adInteger, 4}, {"C", ado::adInteger, 4}, {"D", ado::adInteger, 4}, {"E", ado::adInteger, 4}}));
  db::DataBase autre;
  ASSERT_TRUE(autre.Ouvre(base.Nom(), base.Sur().Kind(), true));
  base->ListeTbl("UTL").SupFld("B");
  EXPECT_EQ(runtime::IgnoringErrors([&] { autre.ListeTbl("UTL").SupFld("C"); }).description, "");
  autre.Ferme();
  base.Rouvre();
  EXPECT_EQ(Desaccord(base, "UTL"), "");
  EXPECT_EQ(base->ListeTbl("UTL").ListeFld("E").No(), 2);
}

}  // namespace
}  // namespace tamlo::tests
