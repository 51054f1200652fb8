#include <array>
#include <memory>
#include <vector>

#include "ado/BulkInsert.h"
#include "ado/Catalog.h"
#include "ado/Command.h"
#include "runtime/Conversions.h"
#include "tests/ado_suite/Source.h"

// Whatever is closed or gone first, what is left answers with an error and reads nothing that is not its own (the sanitizers watch).
namespace tamlo::tests {
namespace {

using runtime::Variant;

class ClosedFirst : public SuiteTest {};

TEST_P(ClosedFirst, AFieldOfARecordsetThatIsClosed) {
  auto rows = Art(ado::adOpenDynamic);
  ado::Field& code = rows.Fields("CODE");
  ado::Field& third = rows.Fields(2);
  std::array<std::byte, 16> piece{};
  EXPECT_EQ(code.Value(), Variant("A1"));
  rows.Close();
  EXPECT_EQ(code.Name(), source.Kept("CODE")) << "it describes itself still";
  EXPECT_EQ(ErrorOf([&] { (void)code.Value(); }), 3704);
  EXPECT_EQ(ErrorOf([&] { code.Value("Z"); }), 3704);
  EXPECT_EQ(ErrorOf([&] { (void)code.OriginalValue(); }), 3704);
  EXPECT_EQ(ErrorOf([&] { (void)code.ActualSize(); }), 3704);
  EXPECT_EQ(ErrorOf([&] { (void)code.ReadChunk(piece.data(), piece.size()); }), 3704);
  EXPECT_EQ(ErrorOf([&] { code.WriteFrom([](std::byte*, std::size_t) { return std::size_t{0}; }); }), 3704);
  rows.Open("SELECT NOM FROM ART ORDER BY CODE", &connection, ado::adOpenDynamic, ado::adLockOptimistic, -1);
  EXPECT_EQ(code.Name(), source.Kept("NOM")) << "the field at that position";
  EXPECT_EQ(code.Value(), Variant("un"));
  EXPECT_EQ(&rows.Fields(0), &code);
  EXPECT_EQ(ErrorOf([&] { (void)third.Value(); }), 3265);
  EXPECT_EQ(ErrorOf([&] { third.Value("Z"); }), 3265);
  EXPECT_EQ(ErrorOf([&] { (void)third.Name(); }), 3265);
  EXPECT_EQ(ErrorOf([&] { (void)third.ReadChunk(piece.data(), piece.size()); }), 3265);
  EXPECT_EQ(ErrorOf([&] { (void)rows.Fields(2); }), 3265);
}

TEST_P(ClosedFirst, AFieldKeepsItsRecordsetWhenThatMoves) {
  auto rows = Art();
  ado::Field& code = rows.Fields("CODE");
  const ado::Recordset moved = std::move(rows);
  EXPECT_EQ(code.Value(), Variant("A1"));
}

TEST_P(ClosedFirst, ARecordsetWhoseConnectionIsClosed) {
  auto rows = Art();
  auto lazy = Art(ado::adOpenForwardOnly);
  auto edited = Art(ado::adOpenDynamic);
  edited.Fields("NOM").Value("x");
  ado::Field& code = rows.Fields("CODE");
  const Variant mark = source.Name() == "Access" ? Variant() : rows.Bookmark();
  connection.Close();
  for (ado::Recordset* one : {&rows, &lazy, &edited}) {
    EXPECT_FALSE(one->IsOpen());
    EXPECT_EQ(ErrorOf([&] { (void)one->Eof(); }), 3704);
    EXPECT_EQ(ErrorOf([&] { one->MoveFirst(); }), 3704);
    EXPECT_EQ(ErrorOf([&] { one->MoveLast(); }), 3704);
    EXPECT_EQ(ErrorOf([&] { one->Requery(); }), 3704);
    EXPECT_EQ(ErrorOf([&] { one->Bookmark(mark); }), 3704);
    EXPECT_EQ(ErrorOf([&] { one->Update(); }), 3704);
    EXPECT_EQ(ErrorOf([&] { one->Close(); }), 3704);
  }
  EXPECT_EQ(ErrorOf([&] { (void)code.Value(); }), 3704);
  source.Connect(connection);
  rows.Open("SELECT * FROM ART ORDER BY CODE", &connection, ado::adOpenStatic, ado::adLockOptimistic, -1);
  EXPECT_EQ(code.Value(), Variant("A1"));
}

TEST_P(ClosedFirst, AConnectionThatIsGone) {
  auto other = std::make_unique<ado::Connection>();
  source.Connect(*other);
  ado::Recordset rows;
  rows.Open("SELECT * FROM ART", other.get(), ado::adOpenDynamic, ado::adLockOptimistic, -1);
  ado::Field& code = rows.Fields(0);
  ado::Command command;
  command.ActiveConnection(other.get());
  command.CommandText("UPDATE ART SET QTE = 5");
  command.Prepared(true);
  command.Execute();
  ado::Catalog catalog(*other);
  ado::Table& table = catalog.Tables("ART");
  ado::BulkInsert bulk(*other, source.Kept("ART"), {source.Kept("CODE")});
  bulk.Add(std::array<Variant, 1>{"Z9"});
  other.reset();
  EXPECT_FALSE(rows.IsOpen());
  EXPECT_EQ(ErrorOf([&] { (void)code.Value(); }), 3704);
  EXPECT_EQ(command.ActiveConnection(), nullptr);
  EXPECT_EQ(ErrorOf([&] { command.Execute(); }), 3709);
  EXPECT_EQ(ErrorOf([&] { (void)table.Columns(); }), 3704);
  EXPECT_EQ(ErrorOf([&] { catalog.Refresh(); }), 3704);
  EXPECT_EQ(ErrorOf([&] { catalog.Append(ado::Table("X")); }), 3704);
  EXPECT_EQ(ErrorOf([&] { bulk.Add(std::array<Variant, 1>{"Z8"}); }), 3704);
  EXPECT_EQ(ErrorOf([&] { bulk.Flush(); }), 3704);
  EXPECT_EQ(bulk.Stored().atLeast, 0) << "what was held back was not sent";
}

TEST_P(ClosedFirst, AConnectionThatIsClosedAndOpenAgain) {
  ado::Command command;
  command.ActiveConnection(&connection);
  command.CommandText("UPDATE ART SET QTE = 5");
  command.Prepared(true);
  command.Execute();
  ado::Catalog catalog(connection);
  ado::Table& table = catalog.Tables("ART");
  ado::BulkInsert bulk(connection, source.Kept("ART"), {source.Kept("CODE")});
  connection.Close();
  EXPECT_EQ(ErrorOf([&] { command.Execute(); }), 3709);
  source.Connect(connection);
  EXPECT_EQ(ErrorOf([&] { command.Execute(); }), 0) << "prepared anew";
  EXPECT_EQ(ErrorOf([&] { (void)table.Columns(); }), 3704) << "of the connection that was";
  EXPECT_EQ(ErrorOf([&] { bulk.Add(std::array<Variant, 1>{"Z8"}); }), 3704);
}

TEST_P(ClosedFirst, ATableThatOutlivesItsCatalog) {
  auto catalog = std::make_unique<ado::Catalog>(connection);
  ado::Table table = catalog->Tables("ART");
  catalog.reset();
  EXPECT_EQ(table.Columns().size(), 3U);
  connection.Close();
  EXPECT_EQ(ErrorOf([&] { (void)table.Indexes(); }), 3704);
}

TEST_P(ClosedFirst, WhatIsOpenOnAServerThatEndsTheConnection) {
  const bool maria = source.Name() == "MariaDB";
  if (!maria && source.Name() != "PostgreSQL") GTEST_SKIP() << "there is no server that could end it";
  ado::Command command;
  command.ActiveConnection(&connection);
  command.CommandText("UPDATE ART SET QTE = ? WHERE CODE = 'A1'");
  command.Prepared(true);
  EXPECT_EQ(command.Execute(std::vector<Variant>{std::int32_t{5}}), 1);
  auto rows = Art();
  auto clone = rows.Clone();
  auto waiting = Open("SELECT * FROM ART ORDER BY CODE", ado::adOpenStatic, ado::adLockBatchOptimistic);
  waiting.Fields("NOM").Value("attend");
  waiting.Update();
  auto own = Open(maria ? "SELECT CONNECTION_ID()" : "SELECT pg_backend_pid()", ado::adOpenStatic, ado::adLockReadOnly);
  const std::string id = runtime::ToText(own.Fields(0).Value());
  ado::Connection other;
  source.Connect(other);
  other.Execute(maria ? "KILL " + id : "SELECT pg_terminate_backend(" + id + ")");
  EXPECT_EQ(ErrorOf([&] { command.Execute(std::vector<Variant>{std::int32_t{6}}); }), -2147467259);
  EXPECT_EQ(Code(rows), "A1") << "what was read is at hand";
  clone.Fields("NOM").Value("perdu");
  EXPECT_EQ(ErrorOf([&] { clone.Update(); }), -2147467259);
  EXPECT_EQ(clone.EditMode(), ado::adEditInProgress);
  clone.CancelUpdate();
  EXPECT_EQ(ErrorOf([&] { waiting.UpdateBatch(); }), -2147467259);
  EXPECT_EQ(waiting.Status(), ado::adRecModified | ado::adRecIntegrityViolation) << "it waits on";
  waiting.ActiveConnection(nullptr);
  rows.Close();
  clone.Close();
  own.Close();
  connection.Close();
  source.Connect(connection);
  EXPECT_EQ(Text(Art(), "QTE"), "5");
  EXPECT_EQ(command.Execute(std::vector<Variant>{std::int32_t{5}}), maria ? 0 : 1) << "the command goes on; no row differs then on MariaDB";
  EXPECT_EQ(command.Execute(std::vector<Variant>{std::int32_t{7}}), 1);
  EXPECT_EQ(Text(Art(), "NOM"), "un") << "nothing was half written";
}

INSTANTIATE_TEST_SUITE_P(Suite, ClosedFirst, ::testing::Values("Access", "SQLite", "MariaDB", "PostgreSQL"), NameOf);

}  // namespace
}  // namespace tamlo::tests
