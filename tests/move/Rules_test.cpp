// Validation rules of Access as checks of other engines: what they take and what they refuse.
#include <gtest/gtest.h>

#include <sstream>

#include "jet/Database.h"
#include "jet/sql/Session.h"
#include "tests/move/Engines.h"

namespace tamlo::tests {
namespace {

const std::string kEnvironment = "LC_ALL=C TAMLO_DB_PASSWORD=tamlo";

struct Rule {
  const char* column;  ///< name and type in a statement of Access
  const char* rule;
  std::vector<const char*> taken;  ///< values in SQL
  std::vector<const char*> refused;
  bool onSqlite = true;
};

/// Each on a column A of a table of its own, which is required unless the rule says what nulls mean.
const std::vector<Rule>& Rules() {
  static const std::vector<Rule> rules{
      {"LONG NOT NULL", ">0", {"1", "2000000000"}, {"0", "-1"}},
      {"LONG NOT NULL", "[A]>0", {"1"}, {"0"}},
      {"LONG NOT NULL", ">=0 And <=100", {"0", "100"}, {"-1", "101"}},
      {"LONG NOT NULL", "<0 Or >10 And <20", {"-1", "15"}, {"0", "10", "20"}},
      {"LONG", "Is Null Or Between 9999 And 1000", {"NULL", "1000", "9999"}, {"999", "10000"}},
      {"LONG NOT NULL", "Not Between 1 And 3", {"0", "4"}, {"1", "2", "3"}},
      {"LONG NOT NULL", "In (1, 2, -4)", {"1", "-4"}, {"3"}},
      {"LONG NOT NULL", "Not In (1;2)", {"3"}, {"1", "2"}},
      {"LONG", "Is Not Null", {"1"}, {"NULL"}},
      {"LONG", "Not Null", {"1"}, {"NULL"}},
      {"LONG NOT NULL", "Not (>5 Or =2)", {"5", "1"}, {"6", "2"}},
      {"LONG NOT NULL", "<>1.5", {"1", "2"}, {}},
      {"CURRENCY NOT NULL", "<>0.5 And [A]<1000", {"0.4999", "999.9999"}, {"0.5", "1000"}, false},
      {"DOUBLE NOT NULL", ">0.1", {"0.1000001"}, {"0.1"}},
      {"DATETIME NOT NULL", ">=#1/31/2000#", {"'2000-01-31 00:00:00'"}, {"'2000-01-30 23:59:59'"}, false},
      {"TEXT(10)", "Is Null Or Like \"####\"", {"NULL", "'0123'"}, {"'12'", "'12a4'", "'01234'", "''"}},
  };
  return rules;
}

void SetRule(jet::Database& database, const std::string& table, const std::string& column, const std::string& rule) {
  database.SetProperty(table, column, {"ValidationRule", jet::ColumnType::kText, jet::Value(rule), false});
}

class RulesOn : public testing::TestWithParam<const char*> {
 protected:
  RulesOn() : engine_(EngineCalled(GetParam())) { engine_->Empty(); }
  static bool IsSqlite() { return std::string(GetParam()) == "sqlite"; }
  Ran Copy(std::vector<std::string> options = {}) {
    options.insert(options.begin(), {"copy", "base.mdb", engine_->Name()});
    return TamloDb(engine_->folder, options, kEnvironment);
  }
  bool Takes(const std::string& table, const std::string& values) {
    return engine_->Ask("INSERT INTO " + engine_->Quoted(table) + " VALUES (" + values + ");\n").status == 0;
  }
  std::unique_ptr<TargetEngine> engine_;
};

TEST_P(RulesOn, HoldAsTheyDoInAccess) {
  {
    const auto database = jet::Database::Create(engine_->folder.File("base.mdb"));
    jet::sql::Session session(*database);
    for (std::size_t i = 0; i < Rules().size(); ++i) {
      const std::string table = "T" + std::to_string(i);
      session.Execute("CREATE TABLE " + table + " (A " + Rules()[i].column + ", N LONG)");
      SetRule(*database, table, "A", Rules()[i].rule);
    }
    session.Execute("CREATE TABLE Paires (Debut LONG NOT NULL, Fin LONG NOT NULL)");
    SetRule(*database, "Paires", {}, "[Fin] > [Debut] Or [Fin]=0");
  }
  const auto copied = Copy();
  EXPECT_EQ(copied.err, "");
  EXPECT_EQ(copied.status, 0);
  for (std::size_t i = 0; i < Rules().size(); ++i) {
    const Rule& rule = Rules()[i];
    const std::string table = "T" + std::to_string(i);
    for (const char* value : rule.taken) EXPECT_TRUE(Takes(table, std::string(value) + ", 1")) << rule.rule << " " << value;
    for (const char* value : rule.refused)
      EXPECT_EQ(Takes(table, std::string(value) + ", 1"), IsSqlite() && !rule.onSqlite) << rule.rule << " " << value;
  }
  EXPECT_TRUE(Takes("Paires", "1, 2"));
  EXPECT_TRUE(Takes("Paires", "5, 0"));
  EXPECT_FALSE(Takes("Paires", "2, 2"));
}

/// A rule says nothing of the rows that were there before it: on servers they stay without it, and that is told.
TEST_P(RulesOn, RowsThatAreOlderThanTheirRuleAreTold) {
  {
    const auto database = jet::Database::Create(engine_->folder.File("base.mdb"));
    jet::sql::Session session(*database);
    session.Execute("CREATE TABLE Vieux (A LONG NOT NULL)");
    session.Execute("INSERT INTO Vieux (A) VALUES (-5)");
    session.Execute("INSERT INTO Vieux (A) VALUES (5)");
    SetRule(*database, "Vieux", "A", ">0");
  }
  const auto assessed = TamloDb(engine_->folder, {"assess", "base.mdb", "--to", GetParam()}, kEnvironment);
  EXPECT_EQ(assessed.out.find("rows that break the validation rule >0 are refused, the older ones too") != std::string::npos, IsSqlite())
      << assessed.out;
  const auto copied = Copy({"--reject", "r.jsonl"});
  EXPECT_EQ(copied.status, 1);
  EXPECT_NE(copied.err.find("Vieux"), std::string::npos) << copied.err;
  if (IsSqlite()) {
    EXPECT_EQ(engine_->RowsOf("Vieux"), (Rows{{"5"}}));
    EXPECT_NE(RunLine(engine_->folder, "cat r.jsonl").out.find("\"values\":{\"A\":\"-5\"}"), std::string::npos);
  } else {
    EXPECT_EQ(engine_->RowsOf("Vieux", " ORDER BY 1"), (Rows{{"-5"}, {"5"}}));
  }
}

INSTANTIATE_TEST_SUITE_P(Engines, RulesOn, testing::Values("sqlite", "mariadb", "postgresql"));

TEST(Rules, WhatCannotBeExactIsLeftOffWithItsReason) {
  const TemporaryFolder folder;
  {
    const auto database = jet::Database::Create(folder.File("base.mdb"));
    jet::sql::Session session(*database);
    session.Execute(
        "CREATE TABLE T (Id COUNTER CONSTRAINT PK PRIMARY KEY, N LONG, R DATETIME NOT NULL, S TEXT(10), C LONG, M LONG NOT NULL, P "
        "CURRENCY NOT NULL)");
    session.Execute("CREATE TABLE P (K LONG CONSTRAINT PK PRIMARY KEY)");
    session.Execute("ALTER TABLE T ADD CONSTRAINT VersP FOREIGN KEY (C) REFERENCES P (K) ON UPDATE CASCADE");
    for (const auto& [column, rule] : std::vector<std::pair<const char*, const char*>>{{"Id", ">0"},
                                                                                       {"N", ">0"},
                                                                                       {"R", "<=Date()"},
                                                                                       {"S", "Is Null Or =\"M\""},
                                                                                       {"C", "Is Null Or >0"},
                                                                                       {"M", "1 Or 2"},
                                                                                       {"P", "<>10000000000"},
                                                                                       {"", "[Rien] > 1"}})
      SetRule(*database, "T", column, rule);
  }
  const auto leftOff = [&](const char* engine) {
    std::string lines;
    std::istringstream script(TamloDb(folder, {"schema", "base.mdb", "--to", engine}).out);
    for (std::string line; std::getline(script, line);)
      if (line.find("validation rule") != std::string::npos) lines += line.substr(line.find("T")) + '\n';
    return lines;
  };
  const std::string both =
      "T.N: the validation rule >0 is left off: it does not say whether \"N\" may be null\n"
      "T.R: the validation rule <=Date() is left off\n";
  const std::string end =
      "T.M: the validation rule 1 Or 2 is left off\n"
      "T.P: the validation rule <>10000000000 is left off\n"
      "T: the validation rule [Rien] > 1 is left off\n";
  EXPECT_EQ(leftOff("mariadb"),
            "T.Id: the validation rule >0 is left off: MariaDB checks no column that counts or that updates in cascade\n" + both +
                "T.S: the validation rule Is Null Or =\"M\" is left off: it compares texts, which MariaDB does otherwise\n" +
                "T.C: the validation rule Is Null Or >0 is left off: MariaDB checks no column that counts or that updates in cascade\n" +
                end);
  EXPECT_EQ(leftOff("postgresql"),
            both + "T.S: the validation rule Is Null Or =\"M\" is left off: it compares texts, which PostgreSQL does otherwise\n" + end);
  EXPECT_EQ(leftOff("oracle").substr(0, 43), "T.Id: the validation rule >0 is left off\nT.");
}

}  // namespace
}  // namespace tamlo::tests
