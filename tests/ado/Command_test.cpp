#include "ado/Command.h"

#include "ado/Recordset.h"
#include "tests/ado/AdoFixture.h"

namespace tamlo::tests {
namespace {

using Command = AdoFixture;
using runtime::Variant;

TEST_F(Command, ParametersAreFoundByNameAndPosition) {
  ado::Command command;
  command.Parameters().Append({.name = "Numéro", .type = ado::adInteger, .value = std::int32_t{4}});
  command.Parameters().Append({.name = "Nom", .value = "x"});
  EXPECT_EQ(command.Parameters().Count(), 2U);
  command.Parameters().Item("NUMÉRO").value = std::int32_t{5};
  EXPECT_EQ(command.Parameters().Item(0).value, Variant(std::int32_t{5}));
  EXPECT_EQ(ErrorOf([&] { (void)command.Parameters().Item("Autre"); }), 3265);
  EXPECT_EQ(ErrorOf([&] { (void)command.Parameters().Item(2); }), 3265);
  command.Parameters().Delete("numéro");
  EXPECT_EQ(command.Parameters().Item(0).name, "Nom");
  EXPECT_EQ(ErrorOf([&] { command.Parameters().Delete(1); }), 3265);
}

TEST_F(Command, WantsAnOpenConnection) {
  ado::Command command;
  command.CommandText("UPDATE X");
  EXPECT_EQ(ErrorOf([&] { command.Execute(); }), 3709);
  command.ActiveConnection(&connection);
  EXPECT_EQ(ErrorOf([&] { command.Execute(); }), 3709);
  ado::Recordset rows;
  EXPECT_EQ(ErrorOf([&] { rows.Open(command, ado::adOpenForwardOnly, ado::adLockReadOnly); }), 3709);
}

TEST_F(Command, OutputParametersAreRefusedWhereTheProviderHasNone) {
  Open();
  ado::Command command;
  command.ActiveConnection(&connection);
  command.CommandText("P");
  command.CommandType(ado::adCmdStoredProc);
  for (const auto direction : {ado::adParamOutput, ado::adParamInputOutput, ado::adParamReturnValue}) {
    command.Parameters().Clear();
    command.Parameters().Append({.type = ado::adInteger, .direction = direction});
    EXPECT_EQ(ErrorOf([&] { command.Execute(); }), 3251);
    std::int64_t affected = 0;
    EXPECT_EQ(ErrorOf([&] { (void)command.Execute(affected); }), 3251);
    ado::Recordset rows;
    EXPECT_EQ(ErrorOf([&] { rows.Open(command, ado::adOpenForwardOnly, ado::adLockReadOnly); }), 3251);
  }
  EXPECT_TRUE(backend.Calls().empty());
  EXPECT_EQ(command.Statement(), "{? = CALL P}");
  command.Parameters().Append({.type = ado::adInteger, .value = std::int32_t{1}});
  EXPECT_EQ(command.Statement(), "{? = CALL P(?)}");
}

TEST_F(Command, HasATimeOutOfItsOwn) {
  Open();
  ado::Command command;
  command.ActiveConnection(&connection);
  command.CommandText("UPDATE X");
  connection.CommandTimeout(5);
  EXPECT_EQ(command.CommandTimeout(), 30);
  command.CommandTimeout(7);
  command.Execute();
  ASSERT_EQ(backend.Calls().size(), 1U);
  EXPECT_EQ(backend.Calls()[0].timeoutSeconds, 7);
  EXPECT_EQ(ErrorOf([&] { command.CommandTimeout(-1); }), 5);
}

TEST_F(Command, HandsItsParametersToTheRecordset) {
  Open();
  backend.Answer("SELECT * FROM ART WHERE A = ?", {{MakeField("A", ado::adInteger)}, {}});
  ado::Command command;
  command.ActiveConnection(&connection);
  command.CommandText("SELECT * FROM ART WHERE A = ?");
  command.Parameters().Append({.value = std::int32_t{3}});
  ado::Recordset rows;
  rows.Open(command, ado::adOpenStatic, ado::adLockReadOnly);
  ASSERT_FALSE(backend.Calls().empty());
  const ado::RowsetRequest& request = backend.Calls()[0].request;
  ASSERT_EQ(request.parameters.size(), 1U);
  EXPECT_EQ(request.parameters[0].value, Variant(std::int32_t{3}));
  EXPECT_EQ(request.timeoutSeconds, 30);
}

TEST_F(Command, ATypeMakesTheStatement) {
  Open();
  ado::Command command;
  command.ActiveConnection(&connection);
  command.CommandText("Ma procédure");
  command.CommandType(ado::adCmdStoredProc);
  EXPECT_EQ(command.Statement(), "{CALL Ma procédure}");
  command.Parameters().Append({});
  command.Parameters().Append({});
  EXPECT_EQ(command.Statement(), "{CALL Ma procédure(?,?)}");
  command.CommandType(ado::adCmdTable);
  EXPECT_EQ(command.Statement(), "SELECT * FROM [Ma procédure]");
}

TEST_F(Command, AProviderWithoutParametersRefusesThem) {
  Open();
  ado::Command command;
  command.ActiveConnection(&connection);
  command.CommandText("UPDATE X SET A = ?");
  command.Parameters().Append({.value = std::int32_t{3}});
  EXPECT_EQ(ErrorOf([&] { command.Execute(); }), 3251);
  EXPECT_TRUE(backend.Calls().empty());
}

TEST_F(Command, AValueLongerThanItsSizeIsRefused) {
  Open();
  ado::Command command;
  command.ActiveConnection(&connection);
  command.CommandText("UPDATE X SET A = ?");
  command.Parameters().Append({.name = "Nom", .type = ado::adVarWChar, .size = 3, .value = "élan"});
  const runtime::PendingError refused = runtime::IgnoringErrors([&] { command.Execute(); });
  EXPECT_EQ(refused.number, -2147467259);
  EXPECT_EQ(refused.description, "La valeur du paramètre \"Nom\" est trop longue : 4 pour 3.");
}

}  // namespace
}  // namespace tamlo::tests
