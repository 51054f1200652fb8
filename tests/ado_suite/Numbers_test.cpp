#include <functional>
#include <string>
#include <vector>

#include "tests/ado_suite/Source.h"

// The table of docs/numbers.md, line by line.
namespace tamlo::tests {
namespace {

using runtime::Variant;

class Numbers : public SuiteTest {};

TEST_P(Numbers, OfTheObjectModel) {
  auto rows = Art(ado::adOpenDynamic);
  auto empty = Open("SELECT * FROM ART WHERE QTE > 99", ado::adOpenDynamic);
  auto readOnly = Open("SELECT * FROM ART", ado::adOpenForwardOnly, ado::adLockReadOnly);
  ado::Recordset closed;
  ado::Connection shut;
  EXPECT_EQ(ErrorOf([&] { rows.Find("CODE is what"); }), 3001);
  EXPECT_EQ(ErrorOf([&] { empty.MoveFirst(); }), 3021);
  EXPECT_EQ(ErrorOf([&] { empty.Find("CODE='A1'"); }), 3021);
  EXPECT_EQ(ErrorOf([&] { (void)empty.Fields(0).Value(); }), 3021);
  EXPECT_EQ(ErrorOf([&] { empty.Delete(); }), 3021);
  EXPECT_EQ(ErrorOf([&] { readOnly.AddNew(); }), 3251);
  EXPECT_EQ(ErrorOf([&] { readOnly.Fields(0).Value("X"); }), 3251);
  EXPECT_EQ(ErrorOf([&] { readOnly.MoveLast(); }), 3251);
  EXPECT_EQ(ErrorOf([&] { (void)rows.Fields("PRIX"); }), 3265);
  EXPECT_EQ(ErrorOf([&] { (void)connection.Property("Rien de tel"); }), 3265);
  EXPECT_EQ(ErrorOf([&] { (void)closed.Eof(); }), 3704);
  EXPECT_EQ(ErrorOf([&] { shut.Execute("SELECT 1"); }), 3704);
  EXPECT_EQ(ErrorOf([&] { rows.Open("ART", &connection, ado::adOpenDynamic, ado::adLockOptimistic, -1); }), 3705);
  EXPECT_EQ(ErrorOf([&] { connection.Provider("X"); }), 3705);
  shut.Provider("X");
  EXPECT_EQ(ErrorOf([&] { shut.Open("x"); }), 3706);
  EXPECT_EQ(ErrorOf([&] { closed.Open("ART", &shut, ado::adOpenDynamic, ado::adLockOptimistic, -1); }), 3709);
  rows.Fields("NOM").Value("x");
  const auto inEdit = runtime::IgnoringErrors([&] { rows.Close(); });
  EXPECT_EQ(inEdit.number, 3219);
  EXPECT_EQ(inEdit.description, "L'opération n'est pas autorisée dans ce contexte.");
  rows.CancelUpdate();
  EXPECT_EQ(ErrorOf([&] { connection.CommitTrans(); }), -2147168242);
  connection.BeginTrans();
  EXPECT_EQ(ErrorOf([&] { connection.Close(); }), 3246);
  connection.RollbackTrans();
}

TEST_P(Numbers, OfValues) {
  auto rows = Art(ado::adOpenDynamic);
  ado::Field& number = rows.Fields("QTE");
  const auto wrong = runtime::IgnoringErrors([&] { number.Value("abc"); });
  EXPECT_EQ(wrong.number, 3421);
  EXPECT_EQ(wrong.description, "L'application utilise une valeur de type incorrect pour l'opération en cours. (" + number.Name() + ")");
  EXPECT_EQ(ErrorOf([&] { number.Value(runtime::Bytes(4)); }), 3421);
  EXPECT_EQ(ErrorOf([&] { number.Value(1e300); }), -2147217887);
  EXPECT_EQ(rows.EditMode(), ado::adEditNone) << "a refused value begins no edit";
  EXPECT_EQ(number.Value(), Variant(std::int32_t{3}));
  number.Value("12");
  EXPECT_EQ(number.Value(), Variant(std::int32_t{12})) << "of the field's type from its assignment on";
  EXPECT_EQ(ErrorOf([&] { number.Value("x"); }), 3421);
  EXPECT_EQ(number.Value(), Variant(std::int32_t{12}));
  rows.CancelUpdate();
  if (source.Name() == "SQLite") return;  // which enforces no lengths
  EXPECT_EQ(ErrorOf([&] { rows.Fields("NOM").Value(std::string(21, 'x')); }), -2147217887);
}

TEST_P(Numbers, OfStatements) {
  EXPECT_EQ(ErrorOf([&] { connection.Execute("SELECT * FROM ABSENTE"); }), -2147217865);
  EXPECT_EQ(ErrorOf([&] { (void)Open("SELECT * FROM ABSENTE"); }), -2147217865);
  EXPECT_EQ(ErrorOf([&] { connection.Execute("SELEKT 1"); }), -2147217900);
  EXPECT_EQ(ErrorOf([&] { connection.Execute("INSERT INTO ART (CODE) VALUES ('A1')"); }), 3022);
  EXPECT_EQ(ErrorOf([&] { connection.Execute("INSERT INTO ART (NOM) VALUES (NULL)"); }), -2147467259) << "another rule of the table";
}

TEST_P(Numbers, AreGeneralWhereAProgramAsksForIt) {
  ado::Connection other;
  other.GeneralNumbers(true);
  source.Connect(other);
  const bool access = source.Name() == "Access";
  EXPECT_EQ(ErrorOf([&] { other.Execute("SELECT * FROM ABSENTE"); }), access ? 3265 : -2147467259);
  EXPECT_EQ(ErrorOf([&] { other.Execute("SELEKT 1"); }), -2147467259);
  EXPECT_EQ(ErrorOf([&] { other.Execute("INSERT INTO ART (CODE) VALUES ('A1')"); }), 3022);
  ado::Recordset rows;
  rows.Open("SELECT * FROM ART ORDER BY CODE", &other, ado::adOpenDynamic, ado::adLockOptimistic, -1);
  (void)rows.Eof();
  rows.Fields("QTE").Value("abc");
  EXPECT_EQ(ErrorOf([&] { rows.Update(); }), access ? -2147467259 : 13) << "values are judged when they are written";
  rows.CancelUpdate();
  connection.Execute("DELETE FROM ART WHERE CODE = 'A1'");
  EXPECT_EQ(ErrorOf([&] { rows.Delete(); }), -2147467259);
}

TEST_P(Numbers, OfRowsThatAnotherHasChanged) {
  auto rows = Art(ado::adOpenDynamic);
  (void)rows.Eof();
  connection.Execute("UPDATE ART SET NOM = 'sien' WHERE CODE = 'A1'");
  rows.Fields("NOM").Value("mien");
  // The value that is compared was read before.
  const auto changed = runtime::IgnoringErrors([&] { rows.Update(); });
  EXPECT_EQ(changed.number, -2147217864);
  EXPECT_EQ(changed.description,
            "La ligne ne peut pas être trouvée pour la mise à jour : certaines de ses valeurs ont changé depuis la dernière lecture.");
  rows.CancelUpdate();
  connection.Execute("DELETE FROM ART WHERE CODE = 'A1'");
  EXPECT_EQ(ErrorOf([&] { rows.Delete(); }), -2147217864);
  auto twice = Open("SELECT * FROM ART ORDER BY CODE", ado::adOpenDynamic);
  twice.Fields("CODE").Value("C3");
  EXPECT_EQ(ErrorOf([&] { twice.Update(); }), 3022);
  twice.CancelUpdate();
}

INSTANTIATE_TEST_SUITE_P(Suite, Numbers, ::testing::Values("Access", "SQLite", "MariaDB", "PostgreSQL"), NameOf);

}  // namespace
}  // namespace tamlo::tests
