// An Access file against tables that the engines' own clients have filled.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdlib>
#include <fstream>

#include "ado/odbc/OdbcProvider.h"
#include "move/compare/Compare.h"
#include "schema/ReadAccess.h"
#include "tests/move/compare/Kinds.h"
#include "tests/support_lib/MariaDbServer.h"
#include "tests/support_lib/PostgresServer.h"
#include "tests/support_lib/TemporaryFolder.h"

namespace tamlo::tests {
namespace {

using schema::Engine;
using testing::ElementsAre;
using testing::IsEmpty;

/// What the client of an engine is given, in its spelling.
struct Spelled {
  Engine engine;
  const char* types;  ///< of the columns behind Id
  const char* yes;
  const char* no;
  const char* bytes;
};

constexpr Spelled kMariaDb = {
    Engine::kMariaDb,
    "`Boolean` BOOLEAN, `Byte` TINYINT UNSIGNED, `Short` SMALLINT, `Long` INT, `Single` FLOAT, `Double` DOUBLE, "
    "`Currency` DECIMAL(19,4), `Decimal` DECIMAL(28,6), `Moment` DATETIME(3), `Text` VARCHAR(50), `Memo` LONGTEXT, "
    "`Binary` VARBINARY(20), `Blob` LONGBLOB, `Guid` UUID",
    "1", "0", "X'00FF27'"};
constexpr Spelled kPostgreSql = {
    Engine::kPostgreSql,
    "\"Boolean\" BOOLEAN, \"Byte\" SMALLINT, \"Short\" SMALLINT, \"Long\" INTEGER, \"Single\" REAL, "
    "\"Double\" DOUBLE PRECISION, \"Currency\" NUMERIC(19,4), \"Decimal\" NUMERIC(28,6), \"Moment\" TIMESTAMP(3), "
    "\"Text\" VARCHAR(50), \"Memo\" TEXT, \"Binary\" BYTEA, \"Blob\" BYTEA, \"Guid\" UUID",
    "TRUE", "FALSE", "'\\x00ff27'"};
constexpr Spelled kSqlite = {Engine::kSqlite,
                             "\"Boolean\" BOOLEAN, \"Byte\" TINYINT, \"Short\" SMALLINT, \"Long\" INT, \"Single\" REAL, \"Double\" DOUBLE, "
                             "\"Currency\" DECIMAL_TEXT(19,4), \"Decimal\" DECIMAL_TEXT(28,6), \"Moment\" DATETIME, \"Text\" VARCHAR(50), "
                             "\"Memo\" TEXT, \"Binary\" VARBINARY(20), \"Blob\" BLOB, \"Guid\" TEXT",
                             "1", "0", "X'00FF27'"};

class CompareServers : public testing::TestWithParam<Spelled> {
 protected:
  void SetUp() override {
    ado::odbc::RegisterOdbcProviders();
    const Engine engine = GetParam().engine;
    if (engine == Engine::kMariaDb) {
      maria_ = std::make_unique<MariaDbServer>();
      client_ = "mariadb --default-character-set=utf8mb4 -S '" + maria_->Socket() + "' -u tamlo -ptamlo tamlo";
      Connect(maria_->ConnectionString(), "tamlo");
    } else if (engine == Engine::kPostgreSql) {
      postgres_ = std::make_unique<PostgresServer>();
      client_ = "env PGPASSWORD=tamlo psql -qAtX -v ON_ERROR_STOP=1 -h '" + postgres_->Folder() + "' -U tamlo tamlo";
      Connect(postgres_->ConnectionString(), "tamlo");
    } else {
      client_ = "sqlite3 -bail '" + folder_.File("x.sqlite") + "'";
      Connect("DRIVER={SQLite3};TIMEOUT=5000;DATABASE=" + folder_.File("x.sqlite"), "");
    }
  }
  void Connect(const std::string& text, const std::string& login) {
    connection_.Provider("MSDASQL");
    connection_.Open(text, login, login);
  }
  void Client(const std::string& sql) {
    std::ofstream(folder_.File("sql")) << sql;
    ASSERT_EQ(std::system((client_ + " < '" + folder_.File("sql") + "' >/dev/null").c_str()), 0) << sql;
  }
  [[nodiscard]] std::string Name(const std::string& name) const { return schema::Quoted(schema::DialectOf(GetParam().engine), name); }
  [[nodiscard]] std::string Row(int id) const {
    const Spelled& spelled = GetParam();
    return "(" + std::to_string(id) + ", " + spelled.yes + ", 200, -32000, -2147483647, 0.1, 0.3333333333333333, " +
           (spelled.engine == Engine::kSqlite ? "'922337203685477.5807', '-1234567890123456789012.123456'"
                                              : "922337203685477.5807, -1234567890123456789012.123456") +
           ", '2020-01-31 18:00:00.125', 'O''Brien \xC3\xA9 ', '" + std::string(5000, 'm') + "\nend', " + spelled.bytes + ", " +
           spelled.bytes + ", '00112233-4455-6677-8899-aabbccddeeff')";
  }
  void Load(int rows) {
    Client("CREATE TABLE " + Name("T") + " (" + Name("Id") + " INTEGER PRIMARY KEY, " + GetParam().types + ");\n");
    std::string sql;
    for (int id = 1; id <= rows; ++id) sql += "INSERT INTO " + Name("T") + " VALUES " + Row(id) + ";\n";
    Client(sql);
  }
  /// Of a file with these rows, called A, and the server, called B.
  move::RowDifferences Compared(const std::vector<std::vector<jet::Value>>& rows) {
    const std::string path = folder_.File("a.mdb");
    std::filesystem::remove(path);
    MakeKinds(path, rows);
    const auto file = jet::Database::Open(path);
    const auto described = schema::ReadAccess(*file);
    const auto pairs = move::PairTables(described, described, {});
    return move::CompareRows({"A", Engine::kAccess, file.get(), nullptr}, {"B", GetParam().engine, nullptr, &connection_}, pairs.at(0), {});
  }
  TemporaryFolder folder_;
  std::unique_ptr<MariaDbServer> maria_;
  std::unique_ptr<PostgresServer> postgres_;
  std::string client_;
  ado::Connection connection_;
};

TEST_P(CompareServers, FindEqualWhatIsEqual) {
  Load(3);
  const auto found = Compared({RowOfKinds(3), RowOfKinds(2), RowOfKinds(1)});
  EXPECT_TRUE(found.Equal());
  EXPECT_THAT(found.told, IsEmpty());
  EXPECT_EQ(found.rowsA, 3u);
  EXPECT_EQ(found.rowsB, 3u);
}

TEST_P(CompareServers, FindEveryChangeOfOneCell) {
  Load(1);
  struct Change {
    std::string column;
    std::string sql;
    std::string told;
  };
  const bool sqlite = GetParam().engine == Engine::kSqlite;
  const std::string quote = sqlite ? "'" : "";
  const std::vector<Change> changes = {
      {"Double", "0.33333333333333337", "Double is 0.3333333333333333 in A, 0.33333333333333337 in B"},
      {"Single", "0.10000001", "Single is 0.1 in A, 0.10000001 in B"},
      {"Text", "'O''Brien \xC3\xA9'", "Text is \"O'Brien \xC3\xA9 \" in A, \"O'Brien \xC3\xA9\" in B"},
      {"Text", "'o''Brien \xC3\xA9 '", "Text is \"O'Brien \xC3\xA9 \" in A, \"o'Brien \xC3\xA9 \" in B"},
      {"Text", "NULL", "Text is \"O'Brien \xC3\xA9 \" in A, Null in B"},
      {"Text", "''", "Text is \"O'Brien \xC3\xA9 \" in A, \"\" in B"},
      {"Moment", "'2020-01-31 18:00:00.126'", "Moment is 2020-01-31 18:00:00.125 in A, 2020-01-31 18:00:00.126 in B"},
      {"Currency", quote + "922337203685477.5806" + quote, "Currency is 922337203685477.5807 in A, 922337203685477.5806 in B"},
      {"Decimal", quote + "-1234567890123456789012.123457" + quote,
       "Decimal is -1234567890123456789012.123456 in A, -1234567890123456789012.123457 in B"},
      {"Boolean", GetParam().no, "Boolean is 1 in A, 0 in B"},
      {"Byte", "NULL", "Byte is 200 in A, Null in B"},
      {"Long", "-2147483646", "Long is -2147483647 in A, -2147483646 in B"},
      {"Guid", "'33221100-4455-6677-8899-aabbccddeeff'",
       "Guid is 00112233-4455-6677-8899-AABBCCDDEEFF in A, 33221100-4455-6677-8899-AABBCCDDEEFF in B"},
  };
  for (const Change& change : changes) {
    Client("DELETE FROM " + Name("T") + ";\nINSERT INTO " + Name("T") + " VALUES " + Row(1) + ";\nUPDATE " + Name("T") + " SET " +
           Name(change.column) + " = " + change.sql + ";\n");
    EXPECT_THAT(Compared({RowOfKinds(1)}).told, ElementsAre("row Id=1: " + change.told));
  }
}

TEST_P(CompareServers, FindRowsThatAreMissing) {
  Load(2);
  const auto found = Compared({RowOfKinds(2), RowOfKinds(3)});
  EXPECT_EQ(found.onlyA, 1u);
  EXPECT_EQ(found.onlyB, 1u);
  EXPECT_THAT(found.told, ElementsAre("row Id=1 is only in B", "row Id=3 is only in A"));
}

TEST_P(CompareServers, TellWhatIsNoValueOfTheColumn) {
  if (GetParam().engine != Engine::kSqlite) GTEST_SKIP() << "the server holds columns to their types";
  Load(1);
  Client("UPDATE T SET \"Long\" = 'abc', \"Moment\" = 46000.5;\n");
  EXPECT_THAT(Compared({RowOfKinds(1)}).told,
              ElementsAre("row Id=1: Long is -2147483647 in A, ?abc in B; Moment is 2020-01-31 18:00:00.125 in A, ?46000.5 in B"));
}

INSTANTIATE_TEST_SUITE_P(Engines, CompareServers, testing::Values(kMariaDb, kPostgreSql, kSqlite),
                         [](const auto& engine) { return std::string(schema::DialectOf(engine.param.engine).key); });

}  // namespace
}  // namespace tamlo::tests
