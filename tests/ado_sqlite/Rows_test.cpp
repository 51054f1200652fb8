#include <cmath>
#include <limits>
#include <thread>

#include "ado/Catalog.h"
#include "tests/ado_sqlite/SqliteFile.h"

namespace tamlo::tests {
namespace {

using runtime::Null;
using runtime::Variant;

class SqliteRows : public SqliteFile {
 protected:
  /// The value in a column of that type, as SQLite keeps it: its class and its literal.
  std::string Kept(const std::string& type, const Variant& value) {
    connection.Execute("CREATE TABLE one (v " + type + ")");
    Add("one", {"v"}, {value});
    std::string kept = Shell("SELECT typeof(v) || ' ' || quote(v) FROM one; DROP TABLE one;");
    return kept.substr(0, kept.find('\n'));
  }
};

TEST_F(SqliteRows, KeepTheirValues) {
  EXPECT_EQ(Kept("INTEGER", std::int32_t{-7}), "integer -7");
  EXPECT_EQ(Kept("BIGINT", std::numeric_limits<std::int64_t>::min()), "integer -9223372036854775808");
  EXPECT_EQ(Kept("TINYINT", std::uint8_t{255}), "integer 255");
  EXPECT_EQ(Kept("BOOLEAN", true), "integer 1");
  EXPECT_EQ(Kept("INTEGER", true), "integer -1");
  EXPECT_EQ(Kept("DOUBLE", 0.1), "real 0.1");
  EXPECT_EQ(Kept("DOUBLE", std::numeric_limits<double>::infinity()), "real Inf");
  EXPECT_EQ(Kept("REAL", 0.1F), "real 1.00000001490116119384e-01");
  EXPECT_EQ(Kept("TEXT", 0.1), "text '0.1'");
  EXPECT_EQ(Kept("TEXT", std::int64_t{12}), "text '12'");
  EXPECT_EQ(Kept("DECIMAL_TEXT", runtime::Decimal{"12345678901234567890.1234567890"}), "text '12345678901234567890.123456789'");
  EXPECT_EQ(Kept("DECIMAL(20,4)", runtime::Currency{-500}), "real -0.05");
  EXPECT_EQ(Kept("DECIMAL(20,4)", runtime::Decimal{"9223372036854775807"}), "integer 9223372036854775807");
  EXPECT_EQ(Kept("DATETIME", runtime::Date{36526.5}), "text '2000-01-01 12:00:00'");
  EXPECT_EQ(Kept("VARCHAR(9)", "l'été 😁"), "text 'l''été 😁'");
  EXPECT_EQ(Kept("VARCHAR(9)", "007"), "text '007'");
  EXPECT_EQ(Kept("", "007"), "text '007'");
  EXPECT_EQ(Kept("UUID_TEXT", runtime::Guid{"{00000000-0000-0000-0000-000000000001}"}), "text '{00000000-0000-0000-0000-000000000001}'");
  EXPECT_EQ(Kept("BLOB", runtime::Bytes{std::byte{0}, std::byte{255}}), "blob X'00FF'");
  EXPECT_EQ(Kept("BLOB", runtime::Bytes{}), "blob X''");
  EXPECT_EQ(Kept("TEXT", ""), "text ''");
  EXPECT_EQ(Kept("TEXT", Null{}), "null NULL");
}

TEST_F(SqliteRows, ACharacterZeroInsideOfATextStays) {
  connection.Execute("CREATE TABLE one (v TEXT)");
  Add("one", {"v"}, {Variant(std::string("a\0b", 3))});
  EXPECT_EQ(Shell("SELECT hex(v) FROM one;"), "610062\n");
}

TEST_F(SqliteRows, AnEmptyValueLeavesItsColumnToTheDefault) {
  connection.Execute("CREATE TABLE t (a INTEGER DEFAULT 7, b TEXT DEFAULT 'x')");
  ado::BulkInsert bulk(connection, "T", {"A", "b"});
  bulk.Add(std::vector<Variant>{Variant(), "y"});
  bulk.Add(std::vector<Variant>{Variant(), Variant()});
  bulk.Add(std::vector<Variant>{std::int32_t{1}, Null{}});
  bulk.Flush();
  EXPECT_EQ(bulk.Stored().atMost, 3);
  EXPECT_EQ(Shell("SELECT * FROM t;"), "7|y\n7|x\n1|\n");
}

TEST_F(SqliteRows, OfAQueryComeAsTheFileHoldsThem) {
  (void)Shell("CREATE TABLE t (a, b BLOB); INSERT INTO t VALUES (1, X'01'), (2.5, 'texte'), (NULL, X'');");
  ado::Recordset rows;
  rows.Open("SELECT a, b, 'c' AS c FROM t ORDER BY rowid", &connection, ado::adOpenForwardOnly, ado::adLockReadOnly, ado::adCmdText);
  EXPECT_EQ(rows.Fields(2).Name(), "c");
  EXPECT_EQ(rows.Fields(0).Value(), Variant(std::int64_t{1}));
  EXPECT_EQ(rows.Fields(1).Value(), Variant(runtime::Bytes{std::byte{1}}));
  rows.MoveNext();
  EXPECT_EQ(rows.Fields(0).Value(), Variant(2.5));
  EXPECT_EQ(rows.Fields(1).Value(), Variant("texte"));
  rows.MoveNext();
  EXPECT_EQ(rows.Fields(0).Value(), Variant(Null{}));
  EXPECT_EQ(rows.Fields(1).Value(), Variant(runtime::Bytes{}));
  rows.MoveNext();
  EXPECT_TRUE(rows.Eof());
}

TEST_F(SqliteRows, OfAnySizeAreAddedInPieces) {
  (void)Shell("CREATE TABLE t (id INTEGER PRIMARY KEY, m TEXT, b BLOB, n INTEGER DEFAULT 3);");
  ado::Recordset rows;
  rows.Open("SELECT id, m, b FROM t WHERE 1 = 0", &connection, ado::adOpenKeyset, ado::adLockOptimistic, ado::adCmdText);
  const auto pieces = [](std::string text) {
    return [left = std::move(text)](std::byte* buffer, std::size_t capacity) mutable {
      const std::size_t size = std::min<std::size_t>(capacity, left.size());
      std::copy_n(reinterpret_cast<const std::byte*>(left.data()), size, buffer);
      left.erase(0, size);
      return size;
    };
  };
  for (std::int32_t id = 1; id <= 2; ++id) {
    rows.AddNew();
    rows.Fields("id").Value(id);
    rows.Fields("m").WriteFrom(pieces(std::string(3000000, 'm') + "é"));
    rows.Fields("b").WriteFrom(pieces(std::string(2000000, '\xFF')));
    rows.Update();
  }
  EXPECT_EQ(Shell("SELECT id, length(m), substr(m, -1), typeof(m), length(b), typeof(b), n FROM t;"),
            "1|3000001|é|text|2000000|blob|3\n2|3000001|é|text|2000000|blob|3\n");
}

TEST_F(SqliteRows, GoThroughAView) {
  (void)Shell(
      "CREATE TABLE t (a INTEGER, b TEXT); CREATE VIEW v AS SELECT a, b FROM t;"
      "CREATE TRIGGER i INSTEAD OF INSERT ON v BEGIN INSERT INTO t VALUES (NEW.a, NEW.b); END;");
  Add("v", {"a", "b"}, {std::int32_t{1}, 0.1});
  EXPECT_EQ(Shell("SELECT a, quote(b) FROM t;"), "1|'0.1'\n");
  EXPECT_EQ(ErrorOf([&] { ado::BulkInsert(connection, "v", {"rien"}); }).number, runtime::kItemNotFound);
}

TEST_F(SqliteRows, WhatThisProviderLacksIsRefused) {
  connection.Execute("CREATE TABLE t (a INTEGER)");
  const auto refused = [&](auto call) { return ErrorOf(call).number; };
  EXPECT_EQ(refused([&] { (void)ado::Catalog(connection).TableCount(); }), runtime::kOperationNotSupported);
  EXPECT_EQ(refused([&] {
              ado::Recordset rows;
              rows.Open("SELECT * FROM t", &connection, ado::adOpenStatic, ado::adLockReadOnly, ado::adCmdText);
            }),
            runtime::kOperationNotSupported);
  EXPECT_EQ(refused([&] { connection.Execute("DELETE FROM t; DELETE FROM t"); }), runtime::kBadArguments);
  EXPECT_EQ(refused([&] { connection.Execute("SELECT FROM t"); }), runtime::kStatementRefused);
  EXPECT_EQ(refused([&] { connection.Execute("SELECT * FROM rien"); }), runtime::kNoSuchTable);
  EXPECT_EQ(refused([&] { ado::BulkInsert(connection, "rien", {"a"}); }), runtime::kItemNotFound);
  EXPECT_EQ(refused([&] { ado::BulkInsert(connection, "t", {"rien"}); }), runtime::kItemNotFound);
}

TEST_F(SqliteRows, AStatementThatTakesTooLongEnds) {
  connection.CommandTimeout(1);
  const auto failure =
      ErrorOf([&] { connection.Execute("WITH RECURSIVE n(i) AS (SELECT 1 UNION ALL SELECT i + 1 FROM n) SELECT count(*) FROM n"); });
  EXPECT_EQ(failure.number, runtime::kTimeout);
  connection.Execute("CREATE TABLE t (a INTEGER)");
  // Rows have no limit, whatever ran before them.
  (void)Shell(
      "WITH RECURSIVE n(i) AS (SELECT 1 UNION ALL SELECT i + 1 FROM n WHERE i < 400) INSERT INTO t SELECT i FROM n;"
      "CREATE TRIGGER long AFTER INSERT ON t BEGIN UPDATE t SET a = a + (SELECT count(*) FROM t x, t y) WHERE rowid = 1; END;");
  std::this_thread::sleep_for(std::chrono::milliseconds(1100));
  Add("t", {"a"}, {std::int32_t{1}});
  EXPECT_EQ(Shell("SELECT count(*), max(a) FROM t;"), "401|160802\n");
}

}  // namespace
}  // namespace tamlo::tests
