// Tables and columns whose names differ in case alone, which PostgreSQL has, and what they become on engines that take such names for one.
#include <gtest/gtest.h>

#include <fstream>

#include "tests/move/Engines.h"

namespace tamlo::tests {
namespace {

const std::string kEnvironment = "LC_ALL=C TAMLO_DB_PASSWORD=tamlo";

class LikeNames : public testing::Test {
 protected:
  LikeNames() : source_(EngineCalled("postgresql")) {
    source_->Empty();
    source_->Ask(
        "CREATE TABLE \"T\" (n int PRIMARY KEY); INSERT INTO \"T\" VALUES (1);"
        "CREATE TABLE t (n int PRIMARY KEY, up int REFERENCES \"T\" (n)); INSERT INTO t VALUES (2, 1);"
        "CREATE TABLE x (\"N\" int REFERENCES t (n), n int PRIMARY KEY, \"A\" varchar(9) UNIQUE, a varchar(9));"
        "INSERT INTO x VALUES (2, 4, 'u', 'v');\n");
  }
  void Copy(const std::string& to, const std::vector<std::string>& options = {}) {
    std::vector<std::string> line{"copy", source_->Name(), to, "--verify", "full"};
    line.insert(line.end(), options.begin(), options.end());
    const auto copied = TamloDb(source_->folder, line, kEnvironment);
    EXPECT_EQ(copied.err, "");
    EXPECT_EQ(copied.status, 0);
  }
  Ran Client(const std::string& line) { return RunLine(source_->folder, line); }

  std::unique_ptr<TargetEngine> source_;
};

TEST_F(LikeNames, StayApartInSqlite) {
  Copy("t.sqlite");
  EXPECT_EQ(Client("sqlite3 t.sqlite 'SELECT n FROM \"T\"; SELECT n, up FROM t_2; SELECT * FROM x'").out, "1\n2|1\n2|4|u|v\n");
  EXPECT_EQ(Client("sqlite3 t.sqlite \"SELECT \\\"table\\\", \\\"from\\\", \\\"to\\\" FROM pragma_foreign_key_list('t_2') UNION ALL "
                   "SELECT \\\"table\\\", \\\"from\\\", \\\"to\\\" FROM pragma_foreign_key_list('x')\"")
                .out,
            "T|up|n\nt_2|N|n\n");
  EXPECT_EQ(Client("sqlite3 t.sqlite \"SELECT name FROM pragma_table_info('x') ORDER BY cid; SELECT name FROM pragma_table_info('x') WHERE "
                   "pk > 0\"")
                .out,
            "N\nn_2\nA\na_2\nn_2\n");
}

TEST_F(LikeNames, StayApartInMariaDb) {
  const auto mariadb = EngineCalled("mariadb");
  mariadb->Empty();
  Copy(mariadb->Name());
  EXPECT_EQ(mariadb->RowsOf("T"), (Rows{{"1"}}));
  EXPECT_EQ(mariadb->RowsOf("t_2"), (Rows{{"2", "1"}}));
  EXPECT_EQ(mariadb->RowsOf("x"), (Rows{{"2", "4", "u", "v"}}));
}

TEST_F(LikeNames, StayApartInAFile) {
  Copy("t.mdb");
  EXPECT_EQ(Client("(mdb-export t.mdb T; mdb-export t.mdb t_2; mdb-export t.mdb x)").out,
            "n\n1\nn,up\n2,1\nN,n_2,A,a_2\n2,4,\"u\",\"v\"\n");
}

TEST_F(LikeNames, AMapNamesThemOneByOne) {
  std::ofstream(source_->folder.File("noms.txt")) << "t -> enfants\nx.n -> clef\nx.a -> -\nX.N -> parent\n";
  Copy("t.sqlite", {"--map", "noms.txt"});
  EXPECT_EQ(Client("sqlite3 -header t.sqlite 'SELECT * FROM \"T\"; SELECT * FROM enfants; SELECT * FROM x'").out,
            "n\n1\nn|up\n2|1\nparent|clef|A\n2|4|u\n");
}

TEST_F(LikeNames, ADiagramDrawsBoth) {
  const auto drawn = TamloDb(source_->folder, {"diagram", source_->Name(), "-o", "d.mmd"}, kEnvironment);
  EXPECT_EQ(drawn.status, 0) << drawn.err;
  const auto text = Client("cat d.mmd").out;
  EXPECT_NE(text.find("t0 |o--o{ t1 : \"t_up_fkey\""), std::string::npos) << text;
  EXPECT_NE(text.find("t1 |o--o{ t2 : \"x_N_fkey\""), std::string::npos) << text;
}

}  // namespace
}  // namespace tamlo::tests
