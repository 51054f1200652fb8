#include "ado/Command.h"
#include "ado/odbc/OdbcProvider.h"
#include "runtime/Conversions.h"
#include "tests/ado_odbc/Engine.h"

// What procedures and functions give back beside rows.
namespace tamlo::tests {
namespace {

using ado::Parameter;
using runtime::Decimal;
using runtime::Null;
using runtime::Variant;

class OutputParameters : public OdbcTest {
 protected:
  void SetUp() override { command.ActiveConnection(&connection); }

  [[nodiscard]] bool IsMariaDb() const { return GetParam() == "MariaDB"; }
  /// A procedure of MariaDB, or a function or procedure of PostgreSQL with the same effect.
  void Make(const std::string& name, const std::string& parameters, const std::string& body, const std::string& kind = "FUNCTION") {
    if (IsMariaDb()) {
      Execute("CREATE PROCEDURE " + name + "(" + parameters + ") BEGIN " + body + " END");
      return;
    }
    std::string own = body;
    for (std::size_t at = 0; (at = own.find("SET ", at)) != std::string::npos;) own.erase(at, 4);
    Execute("CREATE " + kind + " " + name + "(" + parameters + ") AS $$ BEGIN " + own + " END $$ LANGUAGE plpgsql");
  }
  void Call(const std::string& name, std::vector<Parameter> parameters) {
    command.CommandType(ado::adCmdStoredProc);
    command.CommandText(name);
    command.Parameters().Clear();
    for (Parameter& one : parameters) command.Parameters().Append(std::move(one));
  }
  [[nodiscard]] Variant Came(std::size_t position) { return command.Parameters().Item(position).value; }
  void ExpectUsable() { EXPECT_EQ(Scalar("SELECT 41 + 1"), "42"); }

  ado::Command command;
};

Parameter In(std::int32_t value) { return {.type = ado::adInteger, .value = value}; }
Parameter Out(std::int16_t type, std::int64_t size = 0) {
  return {.name = "o", .type = type, .size = size, .value = "stale", .direction = ado::adParamOutput};
}
Parameter InOut(std::int16_t type, Variant value) {
  return {.type = type, .value = std::move(value), .direction = ado::adParamInputOutput};
}
Parameter Returned(std::int16_t type) { return {.type = type, .direction = ado::adParamReturnValue}; }

TEST_P(OutputParameters, GoInAndOut) {
  Make("p", "IN a INT, OUT b INT, INOUT c INT", "SET b = a * 2; SET c = c + a;");
  Call("p", {In(7), Out(ado::adInteger), InOut(ado::adInteger, std::int32_t{5})});
  command.Execute();
  EXPECT_EQ(Came(0), Variant(std::int32_t{7}));
  EXPECT_EQ(Came(1), Variant(std::int32_t{14}));
  EXPECT_EQ(Came(2), Variant(std::int32_t{12}));
  // What came out goes in again.
  command.Execute();
  EXPECT_EQ(Came(2), Variant(std::int32_t{19}));
  for (const char* text : {"{call p(?, ?, ?)}", "{ CALL p ( ?,?,? ) } ;"}) {
    command.CommandType(ado::adCmdText);
    command.CommandText(text);
    command.Prepared(true);
    for (std::int32_t i = 0; i < 3; ++i) {
      const std::vector<Variant> values{Variant(i), Variant(), Variant(i)};
      command.Execute(values);
      EXPECT_EQ(Came(1), Variant(i * 2));
      EXPECT_EQ(Came(2), Variant(i * 2));
    }
  }
  ExpectUsable();
}

TEST_P(OutputParameters, OfAProcedureOfPostgresToo) {
  Make("pp", "IN a INT, OUT b INT, INOUT t TEXT, OUT n NUMERIC(30, 10)",
       IsMariaDb() ? "SET b = a * 2; SET t = CONCAT(t, 'é😀'); SET n = 1.5;" : "b := a * 2; t := t || 'é😀'; n := 1.5;", "PROCEDURE");
  for (const char* text : {"pp", "CALL pp(?, ?, ?, ?)", "{call pp(?,?,?,?)}"}) {
    Call("pp", {In(7), Out(ado::adInteger), InOut(ado::adVarWChar, "ü"), Out(ado::adNumeric)});
    if (std::string(text) != "pp") command.CommandType(ado::adCmdText);
    command.CommandText(text);
    command.Execute();
    EXPECT_EQ(Came(1), Variant(std::int32_t{14}));
    EXPECT_EQ(Came(2), Variant("üé😀"));
    EXPECT_EQ(Came(3), Variant(Decimal{IsMariaDb() ? "1.5000000000" : "1.5"}));
  }
  if (IsMariaDb()) return;
  Make("pd", "OUT d DATE", "d := 'infinity';", "PROCEDURE");
  Call("pd", {Out(ado::adDBDate)});
  EXPECT_EQ(ErrorOf([&] { command.Execute(); }), 3251) << "the driver would make today of it";
  command.Parameters().Item(0).type = ado::adEmpty;
  EXPECT_EQ(ErrorOf([&] { command.Execute(); }), -2147467259);
  EXPECT_EQ(Came(0), Variant("stale"));
  ExpectUsable();
}

TEST_P(OutputParameters, ComeAsTheTypeSaysAndExact) {
  const std::string real = engine->Type("double");
  Make("v",
       "OUT t VARCHAR(200), OUT n DECIMAL(38, 10), OUT g BIGINT, OUT s TIMESTAMP, OUT d DATE, OUT r " + real + ", OUT b " +
           engine->Type("blob") + ", OUT z INT",
       std::string("SET t = 'déjà vu €😀'; SET n = 1234567890123456789012345678.0123456789; SET g = -9223372036854775807; ") +
           "SET s = '2020-02-29 03:04:05'; SET d = '1999-12-31'; SET r = 0.1; SET b = " + (IsMariaDb() ? "x'00ff00'" : "'\\x00ff00'") +
           "; SET z = NULL;");
  Call("v", {Out(ado::adVarWChar, 200), Out(ado::adNumeric), Out(ado::adBigInt), Out(ado::adDBTimeStamp), Out(ado::adDBDate),
             Out(ado::adDouble), Out(ado::adVarBinary, 100), Out(ado::adInteger)});
  command.Execute();
  EXPECT_EQ(Came(0), Variant("déjà vu €😀"));
  EXPECT_EQ(Came(1), Variant(Decimal{"1234567890123456789012345678.0123456789"}));
  EXPECT_EQ(Came(2), Variant(std::int64_t{-9223372036854775807}));
  EXPECT_EQ(Came(3), Variant(runtime::ToDate("2020-02-29 03:04:05")));
  EXPECT_EQ(Came(4), Variant(runtime::ToDate("1999-12-31")));
  EXPECT_EQ(Came(5), Variant(0.1));
  EXPECT_EQ(Came(6), Variant(runtime::Bytes{std::byte{0}, std::byte{255}, std::byte{0}}));
  EXPECT_EQ(Came(7), Variant(Null{}));
  // Other types than the procedure's, where nothing is lost.
  Make("w", "OUT a INT, OUT b DECIMAL(10, 2), OUT c VARCHAR(40), OUT e INT, OUT f INT",
       "SET a = 7; SET b = 12.50; SET c = '77'; SET e = 200; SET f = 1;");
  Call("w", {Out(ado::adNumeric), Out(ado::adCurrency), Out(ado::adBigInt), Out(ado::adUnsignedTinyInt), Out(ado::adBoolean)});
  command.Execute();
  EXPECT_EQ(Came(0), Variant(Decimal{"7"}));
  EXPECT_EQ(Came(1), Variant(runtime::Currency{125000}));
  EXPECT_EQ(Came(2), Variant(std::int64_t{77}));
  EXPECT_EQ(Came(3), Variant(std::uint8_t{200}));
  EXPECT_EQ(Came(4), Variant(true));
  Call("w", {Out(ado::adVarWChar), Out(ado::adVarWChar), Out(ado::adEmpty), Out(ado::adSmallInt), Out(ado::adEmpty)});
  command.Execute();
  EXPECT_EQ(Came(0), Variant("7"));
  EXPECT_EQ(Came(1), Variant("12.50"));
  EXPECT_EQ(Came(2), Variant("77"));
  EXPECT_EQ(Came(3), Variant(std::int16_t{200}));
  EXPECT_EQ(Came(4), Variant(std::int32_t{1}));
}

TEST_P(OutputParameters, ATextComesWholeOrIsAnError) {
  Make("l", "OUT t " + engine->Type("text") + ", OUT n INT",
       IsMariaDb() ? "SET t = REPEAT('é', 300000); SET n = 5;" : "t := repeat('é', 300000); n := 5;");
  Call("l", {Out(ado::adLongVarWChar), Out(ado::adInteger)});
  command.Execute();
  std::string whole;
  for (int i = 0; i < 300000; ++i) whole += "é";
  EXPECT_EQ(Came(0), Variant(whole));
  EXPECT_EQ(Came(1), Variant(std::int32_t{5}));
  command.Parameters().Item(0) = Out(ado::adVarWChar, 299999);
  command.Parameters().Item(1) = Out(ado::adInteger);
  const auto refused = runtime::IgnoringErrors([&] { command.Execute(); });
  EXPECT_EQ(refused.number, -2147467259);
  EXPECT_EQ(refused.description, "La valeur rendue pour le paramètre \"o\" est trop longue : 300000 pour 299999.");
  EXPECT_EQ(Came(0), Variant("stale"));
  EXPECT_EQ(Came(1), Variant("stale")) << "all of them, or none";
  command.Parameters().Item(0).value = Null{};
  command.Parameters().Item(0).size = 300000;
  command.Execute();
  EXPECT_EQ(Came(0), Variant(whole));
  ExpectUsable();
}

TEST_P(OutputParameters, OfAWrongTypeAreRefusedAndTheCommandGoesOn) {
  Make("k", "OUT t VARCHAR(20), OUT g BIGINT", "SET t = 'abc'; SET g = 5000000000;");
  Call("k", {Out(ado::adInteger), Out(ado::adBigInt)});
  EXPECT_EQ(ErrorOf([&] { command.Execute(); }), 3421);
  EXPECT_EQ(Came(1), Variant("stale"));
  command.Parameters().Item(0).type = ado::adDBDate;
  EXPECT_EQ(ErrorOf([&] { command.Execute(); }), 3421);
  command.Parameters().Item(0).type = ado::adVarWChar;
  command.Parameters().Item(1).type = ado::adInteger;
  EXPECT_EQ(ErrorOf([&] { command.Execute(); }), -2147217887);
  command.Parameters().Item(1).type = ado::adBigInt;
  command.Execute();
  EXPECT_EQ(Came(0), Variant("abc"));
  EXPECT_EQ(Came(1), Variant(std::int64_t{5000000000}));
  ExpectUsable();
}

TEST_P(OutputParameters, AsManyAsTheProcedureHas) {
  Make("m", "IN a INT, OUT b INT, OUT c INT", "SET b = 1; SET c = 2;");
  Execute(IsMariaDb() ? "CREATE PROCEDURE nope(IN a INT) BEGIN SELECT a AS x; END"
                      : "CREATE FUNCTION nope(a INT) RETURNS INT AS $$ SELECT a $$ LANGUAGE sql");
  const auto number = [&](std::vector<Parameter> parameters, const std::string& name = "m") {
    Call(name, std::move(parameters));
    const std::int32_t got = ErrorOf([&] { command.Execute(); });
    ExpectUsable();
    return got;
  };
  EXPECT_LT(number({In(1), Out(ado::adInteger)}), 0);
  EXPECT_LT(number({In(1), Out(ado::adInteger), Out(ado::adInteger), Out(ado::adInteger)}), 0);
  EXPECT_LT(number({In(1), Out(ado::adInteger), In(3)}), 0) << "a value that would be lost";
  EXPECT_EQ(number({InOut(ado::adInteger, std::int32_t{4})}, "nope"), -2147467259) << "what it gives is none of a parameter";
  EXPECT_EQ(number({In(1), Out(ado::adInteger), Out(ado::adInteger)}), 0);
  EXPECT_NE(number({Out(ado::adInteger)}, "missing"), 0);
}

TEST_P(OutputParameters, OfAFunctionIsItsValue) {
  if (IsMariaDb()) {
    Execute("CREATE FUNCTION f(a INT, b VARCHAR(20)) RETURNS DECIMAL(20, 6) DETERMINISTIC RETURN a * 3 + 0.000001");
  } else {
    Execute("CREATE FUNCTION f(a INT, b VARCHAR) RETURNS DECIMAL(20, 6) AS $$ SELECT a * 3 + 0.000001 $$ LANGUAGE sql");
  }
  Call("f", {Returned(ado::adNumeric), In(7), {.type = ado::adVarWChar, .value = "x"}});
  command.Execute();
  EXPECT_EQ(Came(0), Variant(Decimal{"21.000001"}));
  command.CommandType(ado::adCmdText);
  command.CommandText("{ ? = call f(?, ?) }");
  command.Parameters().Item(1).value = std::int32_t{-1};
  command.Execute();
  EXPECT_EQ(Came(0), Variant(Decimal{"-2.999999"}));
  command.CommandText("{ call f(?, ?, ?) }");
  EXPECT_EQ(ErrorOf([&] { command.Execute(); }), 3251);
  command.CommandText("SELECT f(?, ?)");
  EXPECT_EQ(ErrorOf([&] { command.Execute(); }), 3251) << "no call";
  command.Parameters().Delete(0);
  EXPECT_EQ(command.Execute(), 1);
  ExpectUsable();
}

TEST_P(OutputParameters, BesideRows) {
  if (!IsMariaDb()) {
    // Functions of PostgreSQL give rows or output parameters, not both.
    Execute("CREATE FUNCTION r(OUT x INT, OUT y INT) RETURNS SETOF record AS $$ SELECT 1, 2 UNION SELECT 3, 4 $$ LANGUAGE sql");
    Call("r", {Out(ado::adInteger), Out(ado::adInteger)});
    const auto refused = runtime::IgnoringErrors([&] { command.Execute(); });
    EXPECT_EQ(refused.number, -2147467259);
    EXPECT_NE(refused.description.find("plusieurs lignes"), std::string::npos) << refused.description;
    EXPECT_EQ(Came(0), Variant("stale"));
    ExpectUsable();
    return;
  }
  Execute("CREATE TABLE r (x INT PRIMARY KEY, t VARCHAR(40))");
  Execute("INSERT INTO r SELECT seq, CONCAT('n', seq) FROM seq_1_to_5000");
  Execute(
      "CREATE PROCEDURE r(IN a INT, OUT b INT, OUT c VARCHAR(30)) BEGIN SELECT x, t FROM r WHERE x <= a ORDER BY x; SELECT 'second'; "
      "SET b = a + 1; SET c = 'fin'; END");
  Call("r", {In(3000), Out(ado::adInteger), Out(ado::adVarWChar, 30)});
  for (int times = 0; times < 2; ++times) {
    std::int64_t affected = 0;
    ado::Recordset rows = command.Execute(affected);
    EXPECT_EQ(Came(1), Variant(std::int32_t{3001})) << "at once";
    EXPECT_EQ(Came(2), Variant("fin"));
    ExpectUsable();
    ASSERT_TRUE(rows.IsOpen());
    EXPECT_EQ(rows.FieldCount(), 2U);
    std::int32_t x = 0;
    for (; !rows.Eof(); rows.MoveNext()) {
      ASSERT_EQ(rows.Fields(0).Value(), Variant(++x));
      ASSERT_EQ(rows.Fields(1).Value(), Variant("n" + std::to_string(x)));
    }
    EXPECT_EQ(x, 3000);
    EXPECT_EQ(ErrorOf([&] { rows.AddNew(); }), 3251);
  }
  // Rows that are thrown away.
  command.Execute();
  ExpectUsable();
  // A procedure that fails behind its rows.
  Execute("CREATE PROCEDURE bad(OUT b INT) BEGIN SELECT 1; SET b = 1; SIGNAL SQLSTATE '45000' SET MESSAGE_TEXT = 'non'; END");
  Call("bad", {Out(ado::adInteger)});
  const auto refused = runtime::IgnoringErrors([&] { command.Execute(); });
  EXPECT_NE(refused.number, 0);
  EXPECT_NE(refused.description.find("non"), std::string::npos) << refused.description;
  EXPECT_EQ(Came(0), Variant("stale"));
  ExpectUsable();
}

TEST_P(OutputParameters, ARecordsetIsOpenedByExecuteThen) {
  Make("q", "OUT b INT", "SET b = 1;");
  Call("q", {Out(ado::adInteger)});
  ado::Recordset rows;
  EXPECT_EQ(ErrorOf([&] { rows.Open(command, ado::adOpenForwardOnly, ado::adLockReadOnly); }), 3251);
  std::int64_t affected = 0;
  EXPECT_FALSE(command.Execute(affected).IsOpen());
  EXPECT_EQ(Came(0), Variant(std::int32_t{1}));
}

INSTANTIATE_TEST_SUITE_P(Odbc, OutputParameters, ::testing::Values("MariaDB", "PostgreSQL"), [](const auto& which) { return which.param; });

TEST(OutputParametersOfSqlite, AreRefusedBeforeAnythingRuns) {
  ado::odbc::RegisterOdbcProviders();
  const auto engine = MakeEngine("SQLite");
  ado::Connection connection;
  connection.Provider("MSDASQL.1");
  connection.Open(engine->ConnectionString(), "", "");
  connection.Execute("CREATE TABLE t (a INTEGER)");
  ado::Command command;
  command.ActiveConnection(&connection);
  command.CommandText("INSERT INTO t VALUES (?)");
  command.Parameters().Append({.type = ado::adInteger, .value = std::int32_t{1}, .direction = ado::adParamInputOutput});
  for (const bool prepared : {false, true}) {
    command.Prepared(prepared);
    EXPECT_EQ(runtime::IgnoringErrors([&] { command.Execute(); }).number, 3251);
    std::int64_t affected = 0;
    EXPECT_EQ(runtime::IgnoringErrors([&] { (void)command.Execute(affected); }).number, 3251);
  }
  ado::Recordset rows;
  EXPECT_EQ(runtime::IgnoringErrors([&] { rows.Open(command, ado::adOpenStatic, ado::adLockReadOnly); }).number, 3251);
  rows.Open("SELECT COUNT(*) FROM t", &connection, ado::adOpenForwardOnly, ado::adLockReadOnly, -1);
  EXPECT_EQ(runtime::ToText(rows.Fields(0).Value()), "0");
  command.Parameters().Item(0).direction = ado::adParamInput;
  EXPECT_EQ(command.Execute(), 1);
}

}  // namespace
}  // namespace tamlo::tests
