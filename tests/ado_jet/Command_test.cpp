#include "ado/Command.h"

#include "tests/ado_jet/JetFixture.h"

namespace tamlo::tests {
namespace {

class JetCommand : public JetFixture {
 protected:
  void SetUp() override {
    JetFixture::SetUp();
    connection.Execute(
        "CREATE TABLE T (Id LONG CONSTRAINT PK PRIMARY KEY, N TEXT(20), C CURRENCY, D DATETIME, M MEMO, B LONGBINARY, E DECIMAL(28,6))");
    for (const char* row : {"1,'un'", "2,'deux'", "3,'trois'"})
      connection.Execute(std::string("INSERT INTO T (Id,N) VALUES (") + row + ")");
    command.ActiveConnection(&connection);
  }
  std::string CommandRows() {
    ado::Recordset rows;
    rows.Open(command, ado::adOpenForwardOnly, ado::adLockReadOnly);
    return rows.IsOpen() ? Rows(rows) : "closed";
  }
  runtime::PendingError Refusal() {
    return runtime::IgnoringErrors([&] { command.Execute(); });
  }
  ado::Command command;
};

TEST_F(JetCommand, NamedPromptsAndMarks) {
  command.CommandText("SELECT Id FROM T WHERE N = [Quel nom] OR Id = [Quel numéro] ORDER BY Id");
  command.Parameters().Append({.name = "Quel numéro", .value = "3"});
  command.Parameters().Append({.name = "[quel nom]", .value = "DEUX"});
  EXPECT_EQ(CommandRows(), "2; 3");
  command.Parameters().Item("Quel numéro").value = std::int16_t{1};
  EXPECT_EQ(CommandRows(), "1; 2");
  command.CommandText("PARAMETERS p Long; SELECT N FROM T WHERE Id = p");
  command.Parameters().Clear();
  command.Parameters().Append({.type = ado::adInteger, .value = 2.0});
  EXPECT_EQ(CommandRows(), "deux");
  command.CommandText("SELECT N FROM T WHERE Id > ? AND Id < ?");
  command.Parameters().Clear();
  command.Parameters().Append({.name = "b", .value = std::int32_t{1}});
  command.Parameters().Append({.name = "a", .value = std::int32_t{3}});
  EXPECT_EQ(CommandRows(), "deux");
}

TEST_F(JetCommand, ParametersOnlyGoIn) {
  command.CommandText("SELECT N FROM T WHERE Id = [p]");
  command.Parameters().Append({.name = "p", .type = ado::adInteger, .value = std::int32_t{2}, .direction = ado::adParamInputOutput});
  EXPECT_EQ(Refusal().number, 3251);
  ado::Recordset rows;
  EXPECT_EQ(runtime::IgnoringErrors([&] { rows.Open(command, ado::adOpenStatic, ado::adLockReadOnly); }).number, 3251);
  command.Parameters().Item(0).direction = ado::adParamInput;
  EXPECT_EQ(CommandRows(), "deux");
}

TEST_F(JetCommand, ValuesAreWrittenAsTheyAre) {
  command.CommandText("INSERT INTO T VALUES (?,?,?,?,?,?,?)");
  const std::vector<ado::Variant> values = {std::int32_t{10},
                                            "d'\"é",
                                            runtime::Currency{9223372036854775807},
                                            runtime::Date{37653.5},
                                            std::string(100000, 'm'),
                                            runtime::Bytes(70000, std::byte{7}),
                                            runtime::Decimal{"-1234567890123456789012.345678"}};
  for (const ado::Variant& value : values) command.Parameters().Append({.value = value});
  EXPECT_EQ(command.Execute(), 1);
  ado::Recordset rows;
  rows.Open("SELECT * FROM T WHERE Id = 10", &connection, ado::adOpenForwardOnly, ado::adLockReadOnly, -1);
  for (std::size_t i = 0; i < values.size(); ++i) EXPECT_EQ(rows.Fields(i).Value(), values[i]) << i;
  rows.Close();
  command.CommandText("UPDATE T SET C = [Montant], N = [Nom] WHERE Id = 10");
  command.Parameters().Clear();
  command.Parameters().Append({.name = "Montant", .type = ado::adCurrency, .value = "922337203685477.5807"});
  command.Parameters().Append({.name = "Nom"});
  {
    const runtime::RegionalSettingsOverride point({"", '.'});
    EXPECT_EQ(command.Execute(), 1);
  }
  rows.Open("SELECT C, N FROM T WHERE Id = 10", &connection, ado::adOpenForwardOnly, ado::adLockReadOnly, -1);
  EXPECT_EQ(rows.Fields(0).Value(), ado::Variant(runtime::Currency{9223372036854775807}));
  EXPECT_TRUE(rows.Fields(1).Value().IsNull());
}

TEST_F(JetCommand, WhatIsMissingOrTooMuchIsNamed) {
  command.CommandText("UPDATE T SET N = [Nom] WHERE Id = [Numéro]");
  EXPECT_EQ(Refusal().number, 3265);
  command.Parameters().Append({.name = "Nom", .value = "x"});
  EXPECT_EQ(Refusal().description, "Objet introuvable : aucune colonne et aucune valeur de paramètre \"Numéro\" (caractère 35)");
  command.Parameters().Append({.name = "Numero", .value = "x"});
  EXPECT_EQ(Refusal().description, "Objet introuvable : l'instruction n'a pas de paramètre \"Numero\"");
  command.Parameters().Delete("Numero");
  command.Parameters().Append({.name = "Numéro", .value = "trois"});
  EXPECT_EQ(Refusal().number, -2147467259);
  command.Parameters().Item("Numéro").type = ado::adInteger;
  EXPECT_EQ(Refusal().number, 13);
  command.Parameters().Item("Numéro").value = "3";
  EXPECT_EQ(command.Execute(), 1);
}

TEST_F(JetCommand, RefreshAsksTheStatement) {
  command.CommandText("PARAMETERS [Du] DateTime, [Nom] Text; SELECT [x], N FROM T WHERE D > [Du] AND N = [Nom] AND Id = [y]");
  command.Refresh();
  ASSERT_EQ(command.Parameters().Count(), 4U);
  EXPECT_EQ(command.Parameters().Item(0).name, "Du");
  EXPECT_EQ(command.Parameters().Item(0).type, ado::adDate);
  EXPECT_EQ(command.Parameters().Item(1).type, ado::adVarWChar);
  EXPECT_EQ(command.Parameters().Item(2).name, "x");
  EXPECT_EQ(command.Parameters().Item(2).type, ado::adEmpty);
  EXPECT_EQ(command.Parameters().Item(3).name, "y");
}

TEST_F(JetCommand, AStatementWithoutRowsIsRunByTheRecordsetToo) {
  command.CommandText("DELETE FROM T WHERE Id = ?");
  command.Parameters().Append({.value = std::int32_t{2}});
  EXPECT_EQ(CommandRows(), "closed");
  EXPECT_EQ(Rows("SELECT Count(*) FROM T"), "2");
}

TEST_F(JetCommand, ARecordsetWithParametersCanBeWrittenAndReadAgain) {
  command.CommandText("SELECT * FROM T WHERE Id >= [de] ORDER BY Id");
  command.Parameters().Append({.name = "de", .value = std::int32_t{2}});
  ado::Recordset rows;
  rows.Open(command, ado::adOpenKeyset, ado::adLockOptimistic);
  rows.Fields("N").Value("DEUX");
  rows.Update();
  rows.MoveFirst();
  EXPECT_EQ(rows.Fields("N").Value(), ado::Variant("DEUX"));
  rows.MoveNext();
  EXPECT_EQ(rows.Fields("N").Value(), ado::Variant("trois"));
}

}  // namespace
}  // namespace tamlo::tests
