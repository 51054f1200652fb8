#include <gtest/gtest.h>

#include <array>

#include "ado/BulkInsert.h"
#include "runtime/Conversions.h"
#include "runtime/Error.h"
#include "tests/backends/Backend.h"

namespace tamlo::tests {
namespace {

class Rangees : public testing::TestWithParam<std::string> {};
INSTANTIATE_TEST_SUITE_P(Backends, Rangees, testing::Values("Jet", "MariaDb", "Sqlite", "SqlServer", "Oracle"),
                         [](const auto& nom) { return nom.param; });

std::int32_t Nombre(db::DataBase& base, const std::string& ou) {
  auto rs = base.OpenRecordSet("SELECT COUNT(*) FROM [GROS] WHERE " + ou, 0);
  return runtime::ToInt32(rs.Fields(0).Value());
}

TEST_P(Rangees, ARowBehindTwentyThousandOthersIsChangedAlone) {
  constexpr int kRangees = 20500;
  BaseOuverte base(BackendNomme(GetParam()));
  auto definition = Table("GROS", {{"ID", ado::adInteger, 4}, {"NOM", ado::adVarWChar, 20}});
  definition->AddIdx("UQ_ID", "ID", false, true);
  base.Cree(std::move(definition));
  ado::BulkInsert lots(base->Connexion(), "GROS", {"ID", "NOM"});
  for (std::int32_t i = 1; i <= kRangees; ++i) lots.Add(std::array<ado::Variant, 2>{i, "ligne"});
  lots.Flush();

  auto rs = base->OpenRecordSet("SELECT * FROM [GROS] WHERE [ID]>100 ORDER BY [ID]", 2);
  rs.Find("[ID]=" + std::to_string(kRangees - 7));
  ASSERT_FALSE(rs.Eof());
  rs.Fields("NOM").Value("autre");
  rs.Update();
  rs.MoveNext();
  EXPECT_EQ(runtime::ToInt32(rs.Fields("ID").Value()), kRangees - 6);
  rs.Close();
  EXPECT_EQ(Nombre(*base, "[NOM]='autre'"), 1);
  EXPECT_EQ(Nombre(*base, "[NOM]='autre' AND [ID]=" + std::to_string(kRangees - 7)), 1);
  EXPECT_EQ(Nombre(*base, "[ID]>0"), kRangees);
}

}  // namespace
}  // namespace tamlo::tests
