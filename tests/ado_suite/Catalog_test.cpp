#include "ado/Catalog.h"

#include <filesystem>
#include <fstream>
#include <string>

#include "jet/Database.h"
#include "runtime/Conversions.h"
#include "tests/ado_suite/CatalogTest.h"

// Views, and databases that a catalog makes.
namespace tamlo::tests {
namespace {

class CatalogViews : public CatalogTest {
 protected:
  [[nodiscard]] std::string Names() {
    std::string names;
    for (const auto& view : ado::Catalog(connection).Views()) names += view.name + ";";
    return names;
  }
};

TEST_P(CatalogViews, AreAppendedReadAndDropped) {
  ado::Catalog catalog(connection);
  EXPECT_TRUE(catalog.Views().empty());
  catalog.AppendView("Petits", "SELECT CODE, NOM FROM ART WHERE QTE < 3 ORDER BY CODE;");
  ASSERT_NE(catalog.Find("petits"), nullptr);
  EXPECT_EQ(catalog.Find("petits")->Type(), "VIEW");
  EXPECT_EQ(catalog.Find("petits")->Columns().size(), 2U);
  const auto views = catalog.Views();
  ASSERT_EQ(views.size(), 1U);
  EXPECT_EQ(views[0].name, "Petits");
  EXPECT_EQ(views[0].failure, "");
  EXPECT_EQ(Open(views[0].command, ado::adOpenForwardOnly).GetString(-1, ",", ";"), "B2,Deux;C3,;D4,été;") << views[0].command;
  EXPECT_EQ(Count(Quoted("Petits")), 3);
  if (Is("Access")) {
    connection.Close();
    const std::string text = OutputOf("mdb-queries '" + File() + "' Petits");
    EXPECT_EQ(text, "SELECT CODE,NOM FROM [ART] WHERE QTE < 3 ORDER BY CODE\n");
    source.Connect(connection);
  }
  ado::Catalog again(connection);
  const auto taken = runtime::IgnoringErrors([&] { again.AppendView("PETITS", "SELECT 1 AS X FROM ART"); });
  EXPECT_EQ(taken.number, 3367);
  EXPECT_EQ(ErrorOf([&] { again.AppendView("art", "SELECT 1 AS X FROM ART"); }), 3367);
  EXPECT_EQ(ErrorOf([&] { again.DeleteView("ABSENTE"); }), 3265);
  EXPECT_EQ(ErrorOf([&] { again.DeleteView("ART"); }), 3265) << "a table is no view";
  EXPECT_EQ(Count("ART"), 4);
  again.DeleteView("petitS");
  EXPECT_TRUE(again.Views().empty());
  EXPECT_EQ(again.Find("Petits"), nullptr);
}

TEST_P(CatalogViews, WhoseTextDoesNotReadLeaveNothing) {
  ado::Catalog catalog(connection);
  const auto errorOf = [&](const std::string& text) { return ErrorOf([&] { catalog.AppendView("V", text); }); };
  EXPECT_EQ(ErrorOf([&] { catalog.AppendView("", "SELECT CODE FROM ART"); }), 3001);
  EXPECT_EQ(ErrorOf([&] { catalog.AppendView("V", " \n"); }), 3001);
  EXPECT_EQ(errorOf("SELECT CODE FROM ART WHERE ("), -2147217900);
  EXPECT_EQ(errorOf("n'importe quoi"), -2147217900);
  EXPECT_EQ(errorOf("SELECT CODE FROM ART; DROP TABLE ART"), -2147217900);
  EXPECT_EQ(errorOf("SELECT CODE FROM ABSENTE"), -2147217865);
  EXPECT_NE(errorOf("DELETE FROM ART"), 0);
  EXPECT_NE(errorOf("SELECT CODE INTO AUTRE FROM ART"), 0);
  if (Is("Access")) {
    EXPECT_EQ(errorOf("TRANSFORM SUM(QTE) SELECT NOM FROM ART GROUP BY NOM PIVOT CODE"), 3251);
  } else {
    EXPECT_EQ(errorOf("SELECT SANS_TELLE FROM ART"), -2147217900) << "on Access files it is a parameter";
  }
  EXPECT_EQ(Names(), "");
  EXPECT_EQ(Count("ART"), 4);
  catalog.AppendView("V", "SELECT CODE FROM ART");
  EXPECT_EQ(Names(), "V;");
}

TEST_P(CatalogViews, HaveWhateverNamesAndTexts) {
  const std::string odd = Is("Access") ? "L'été \"n° 1\" (é); x-- ? %_ {x}" : "L'été \"n° 1\" [x] `y` (é); x-- \\ ? %_ {x}";
  ado::Catalog catalog(connection);
  catalog.AppendView(odd, "SELECT CODE FROM ART WHERE NOM = 'été' OR NOM = 'l''un; -- deux'");
  EXPECT_EQ(Names(), odd + ";");
  const auto views = catalog.Views();
  EXPECT_EQ(Count(Quoted(odd)), 1) << views.at(0).command;
  catalog.AppendView("Copie", views.at(0).command);
  EXPECT_EQ(Count(Quoted("Copie")), 1) << "the text is one that the backend takes";
  catalog.DeleteView("copie");
  catalog.AppendView("Union", "SELECT CODE FROM ART WHERE QTE = 1 UNION SELECT CODE FROM ART WHERE QTE = 3" +
                                  std::string(Is("Access") ? "" : " -- trois"));
  EXPECT_EQ(Count(Quoted("Union")), 3);
  catalog.DeleteView("Union");
  catalog.DeleteView(odd);
  EXPECT_EQ(Names(), "");
  if (Is("MariaDB")) {
    EXPECT_NE(ErrorOf([&] { catalog.AppendView("V", "SELECT '\\'; -- '; DROP TABLE ART; -- '"); }), 0);
    EXPECT_EQ(Count("ART"), 4);
  }
  if (!Is("Access")) return;
  EXPECT_EQ(ErrorOf([&] { catalog.AppendView("a] AS SELECT CODE FROM ART --", "SELECT NOM FROM ART"); }), -2147467259);
  EXPECT_EQ(Names(), "");
}

TEST_P(CatalogViews, OfOthersHaveTheColumnsThatTheyName) {
  if (Is("SQLite")) {
    connection.Execute(
        "CREATE VIEW IF NOT EXISTS [Autre vue] -- note AS x\n (\"Un (1)\", Deux) AS /* ( */ SELECT CODE, QTE FROM ART -- fin");
  } else {
    connection.Execute("CREATE VIEW " + Quoted("Autre vue") + " (" + Quoted("Un (1)") + ", Deux) AS SELECT CODE, QTE FROM ART");
  }
  const auto views = ado::Catalog(connection).Views();
  ASSERT_EQ(views.size(), 1U);
  EXPECT_EQ(views[0].name, "Autre vue");
  const auto rows = Open(views[0].command, ado::adOpenForwardOnly);
  ASSERT_EQ(rows.FieldCount(), 2U) << views[0].command;
  EXPECT_EQ(rows.Fields(0).Name(), "Un (1)");
  EXPECT_EQ(runtime::ToText(rows.Fields(0).Value()), "A1");
}

TEST_P(CatalogViews, AreSeenWhenAnotherProgramMadeThem) {
  ado::Catalog catalog(connection);
  EXPECT_TRUE(catalog.Views().empty());
  ado::Connection other;
  source.Connect(other);
  ado::Catalog(other).AppendView("Nouvelle", "SELECT CODE FROM ART");
  other.Close();
  EXPECT_EQ(Names(), "Nouvelle;");
  catalog.DeleteView("NOUVELLE");
  EXPECT_EQ(Names(), "");
}

TEST_P(CatalogViews, DatabasesAreMadeWhereTheProviderMakesThem) {
  const TemporaryFolder folder;
  const std::string path = folder.File("Neuve.mdb");
  if (!Is("Access")) {
    EXPECT_EQ(ErrorOf([&] { ado::Catalog::Create(source.WholeString()); }), 3251);
    EXPECT_EQ(ErrorOf([&] { ado::Catalog::Create("Provider=MSDASQL;DRIVER={SQLite3};DATABASE=" + path); }), 3251);
    EXPECT_FALSE(std::filesystem::exists(path));
    return;
  }
  const std::string text = "Provider=Microsoft.Jet.OLEDB.4.0;Data Source=" + path + ";Jet OLEDB:Engine Type=5";
  ado::Catalog::Create(text);
  ado::Connection made;
  made.Open(text);
  EXPECT_EQ(ado::Catalog(made).Views().size(), 0U);
  made.Execute("CREATE TABLE T (ID INTEGER)");
  const auto again = runtime::IgnoringErrors([&] { ado::Catalog::Create(text); });
  EXPECT_EQ(again.number, -2147217897);
  EXPECT_TRUE(again.description.starts_with("La base de données existe déjà.")) << again.description;
  EXPECT_EQ(ErrorOf([&] { ado::Catalog::Create("Provider=microsoft.jet.oledb.4.0;Data Source=" + folder.File("NEUVE.MDB")); }), -2147217897)
      << "a connection would open it";
  EXPECT_NE(ado::Catalog(made).Find("T"), nullptr);
  made.Close();
  EXPECT_EQ(OutputOf("mdb-tables -1 '" + path + "'"), "T\n");

  std::ofstream(folder.File("Autre.mdb")) << "rien";
  EXPECT_EQ(ErrorOf([&] { ado::Catalog::Create("Provider=Microsoft.Jet.OLEDB.4.0;Data Source=" + folder.File("Autre.mdb")); }),
            -2147217897);
  EXPECT_EQ(std::filesystem::file_size(folder.File("Autre.mdb")), 4U);
  const std::string file = folder.File("Refusée.mdb");
  const auto errorOf = [&](const std::string& rest) {
    return ErrorOf([&] { ado::Catalog::Create("Provider=Microsoft.Jet.OLEDB.4.0;Data Source=\"" + file + "\";" + rest); });
  };
  EXPECT_EQ(errorOf("Jet OLEDB:Engine Type=6"), 3251);
  EXPECT_EQ(errorOf("Jet OLEDB:Engine Type=cinq"), 3251);
  EXPECT_EQ(errorOf("Jet OLEDB:New Database Password=x"), 3251);
  EXPECT_EQ(errorOf("Jet OLEDB:Database Password=123456789012345678901"), -2147467259);
  EXPECT_EQ(errorOf("Locale Identifier=1053"), 3251);
  EXPECT_EQ(ErrorOf([&] { ado::Catalog::Create("Provider=Microsoft.Jet.OLEDB.4.0;"); }), 3001);
  EXPECT_EQ(ErrorOf([&] { ado::Catalog::Create("Provider=Microsoft.Jet.OLEDB.4.0;Data Source=" + folder.File("absent/a.mdb")); }),
            -2147467259);
  EXPECT_EQ(ErrorOf([&] { ado::Catalog::Create("Provider=Nobody.1;Data Source=" + file); }), 3706);
  EXPECT_FALSE(std::filesystem::exists(file));
  EXPECT_EQ(errorOf("Jet OLEDB:Encrypt Database=False;Locale Identifier=1033;"), 0);
  EXPECT_TRUE(std::filesystem::exists(file));
}

using StoredQueries = CatalogViews;

TEST_P(StoredQueries, AQueryThatCannotBeWordedHidesNoOther) {
  ado::Catalog(connection).AppendView("Bonne", "SELECT CODE FROM ART");
  connection.Close();
  {
    const auto database = ::jet::Database::Open(File());
    ::jet::QuerySpec query;
    query.name = "Autre";
    query.rows = {{0, 1, {}, {}, {}, std::nullopt},
                  {1, 1, {}, {}, {}, std::int16_t{1}},
                  {5, 1, "ART", {}, {}, std::nullopt},
                  {6, 1, {}, {}, "CODE", std::nullopt},
                  {7, 1, "ART", "ABSENTE", "ART.CODE = ABSENTE.CODE", std::int16_t{1}}};
    database->CreateQuery(query);
  }
  source.Connect(connection);
  const auto views = ado::Catalog(connection).Views();
  ASSERT_EQ(views.size(), 2U);
  EXPECT_EQ(views[0].name, "Autre");
  EXPECT_EQ(views[0].command, "");
  EXPECT_NE(views[0].failure.find("joins a table that it does not name"), std::string::npos) << views[0].failure;
  EXPECT_EQ(views[1].command, "SELECT CODE FROM [ART]");
}

INSTANTIATE_TEST_SUITE_P(Suite, CatalogViews, ::testing::Values("Access", "SQLite", "MariaDB", "PostgreSQL"), NameOf);
INSTANTIATE_TEST_SUITE_P(Suite, StoredQueries, ::testing::Values("Access"), NameOf);

}  // namespace
}  // namespace tamlo::tests
