// What is lost, in sentences of two languages: all of them, and exactly those that are written for each engine.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <regex>

#include "schema/AccessPlan.h"
#include "schema/Ddl.h"
#include "schema/FindingTexts.h"
#include "tests/schema/Told.h"

namespace tamlo::tests {
namespace {

using schema::Column;
using schema::Database;
using schema::Default;
using schema::Engine;
using schema::Finding;
using schema::Kind;
using schema::What;
using testing::ElementsAre;

std::vector<Finding> Each() {
  std::vector<Finding> each;
  for (std::size_t i = 0; i < schema::kWhats; ++i) each.push_back({{}, {}, static_cast<What>(i), {"<1>", "<2>", "<3>"}});
  return each;
}

TEST(Findings, TheLastEnumeratorIsTheLastThatIsCounted) { EXPECT_EQ(static_cast<std::size_t>(What::kFileTooLarge) + 1, schema::kWhats); }

TEST(Findings, BothSentencesHoldTheSameParts) {
  for (const Finding& finding : Each())
    for (const char* part : {"<1>", "<2>", "<3>"})
      EXPECT_EQ(English(finding).find(part) == std::string::npos, French(finding).find(part) == std::string::npos) << English(finding);
}

TEST(Findings, NoFrenchSentenceIsHalfEnglish) {
  const std::regex english(
      R"(\b(the|is|are|of|and|becomes?|left|off|has|have|holds?|with|which|not|its|to|rows?|key|keeps?|queries|query|view)\b)");
  for (const Finding& finding : Each()) {
    EXPECT_FALSE(std::regex_search(French(finding), english)) << French(finding);
    // A colon and what follows it are parted as French parts them.
    EXPECT_FALSE(std::regex_search(French(finding), std::regex("[^ ][:;]"))) << French(finding);
    if (finding.what != What::kStatementRefused) {
      EXPECT_NE(French(finding), English(finding));
    }
  }
}

Column Of(const std::string& name, schema::Type type) {
  Column column;
  column.name = name;
  column.type = type;
  return column;
}

schema::Index On(const std::string& name, std::vector<std::string> columns, bool unique = false) {
  schema::Index index;
  index.name = name;
  index.unique = unique;
  for (auto& column : columns) index.parts.push_back({std::move(column)});
  return index;
}

/// A table of nearly all that some engine has no equivalent for.
Database Hard() {
  schema::Table table;
  table.name = "T";
  table.comment = "à moi";
  table.rule = "[N]>0";
  table.columns = {Of("M", {.kind = Kind::kMemo}),
                   Of("B", {.kind = Kind::kBlob}),
                   Of("R", {.kind = Kind::kLong}),
                   Of("N", {.kind = Kind::kLong}),
                   Of("X", {.kind = Kind::kText, .length = 900}),
                   Of("Lien", {.kind = Kind::kMemo})};
  table.columns[2].counter = schema::Counter{schema::Counter::Kind::kRandom, 0};
  table.columns[3].initial = {Default::Kind::kUnknown, "Forms!x"};
  table.columns[4].allowEmpty = false;
  table.columns[5].hyperlink = true;
  table.indexes = {On("PK", {"M", "B"}, true), On("Large", {"X"}, true), On("Libre", {"N"})};
  table.indexes[0].primary = table.indexes[0].required = true;
  table.indexes[2].ignoreNulls = true;
  Database database;
  database.tables = {table};
  database.relations = {{"Soi", "T", "T", {{"N", "R"}}, true, false, true, false},
                        {"Lâche", "T", "T", {{"N", "R"}}, false},
                        {"Loin", "T", "Ailleurs", {{"N", "R"}}},
                        {"Longue", "T", "T", {{"M", "Lien"}}}};
  return database;
}

std::vector<Finding> WrittenFor(Engine engine) { return WriteDdl(Hard(), schema::DialectOf(engine)).findings; }

TEST(Findings, WhatIsWrittenForMariaDb) {
  EXPECT_THAT(
      Told(WrittenFor(Engine::kMariaDb)),
      ElementsAre(
          "T: the relation Soi does not cascade updates on MariaDB", "T: the relation Lâche is not enforced in the source and is left off",
          "T: the relation Loin is left off: not both of its sides are tables of the database",
          "T: the relation Longue is left off: its columns are too wide for a key of MariaDB",
          "T.R: gets its random numbers from a default on MariaDB", "T.N: the default Forms!x has no equivalent on MariaDB and is left off",
          "T.M: the primary key holds its first 255 characters alone on MariaDB: rows that differ behind them alone are refused",
          "T.B: the primary key holds its first 255 bytes alone on MariaDB: rows that differ behind them alone are refused",
          "T: the validation rule [N]>0 is left off", "T.Lien: is no hyperlink any more but its text",
          "T: the unique index Large is too wide for MariaDB and is left off", "T: the index Libre holds rows without a key too"));
  EXPECT_THAT(
      ToldInFrench(WrittenFor(Engine::kMariaDb)),
      ElementsAre("T : la relation Soi ne propage pas les modifications sur MariaDB",
                  "T : la relation Lâche n'est pas appliquée dans la source et n'est pas reprise",
                  "T : la relation Loin n'est pas reprise : ses deux côtés ne sont pas des tables de la base",
                  "T : la relation Longue n'est pas reprise : ses colonnes sont trop larges pour une clé de MariaDB",
                  "T.R : reçoit ses nombres aléatoires d'une valeur par défaut sur MariaDB",
                  "T.N : la valeur par défaut Forms!x n'a pas d'équivalent sur MariaDB et n'est pas reprise",
                  "T.M : la clé primaire n'en tient que les 255 premiers caractères sur MariaDB ; les lignes qui ne diffèrent qu'au-delà "
                  "sont refusées",
                  "T.B : la clé primaire n'en tient que les 255 premiers octets sur MariaDB ; les lignes qui ne diffèrent qu'au-delà sont "
                  "refusées",
                  "T : la règle de validation [N]>0 n'est pas reprise", "T.Lien : n'est plus un lien hypertexte mais son texte",
                  "T : l'index unique Large est trop large pour MariaDB et n'est pas repris",
                  "T : l'index Libre contient aussi les lignes sans clé"));
}

/// A unique index over the whole text is not shortened there.
TEST(Findings, AUniqueIndexOverATextOfAnyLengthLosesNothingOnMariaDb) {
  Database database = Hard();
  database.relations.clear();
  schema::Table& table = database.tables[0];
  table = {};
  table.name = "T";
  table.columns = {Of("M", {.kind = Kind::kMemo})};
  table.indexes = {On("U", {"M"}, true)};
  const auto script = WriteDdl(database, schema::DialectOf(Engine::kMariaDb));
  EXPECT_THAT(Told(script.findings), testing::IsEmpty());
  EXPECT_EQ(script.statements.back().sql, "CREATE UNIQUE INDEX `U` ON `T` (`M`)");
}

TEST(Findings, WhatIsWrittenForPostgreSqlAndSqlite) {
  for (const auto& [engine, name] : {std::pair(Engine::kPostgreSql, "PostgreSQL"), std::pair(Engine::kSqlite, "SQLite")}) {
    std::vector<std::string> expected{
        "T : la relation Lâche n'est pas appliquée dans la source et n'est pas reprise",
        "T : la relation Loin n'est pas reprise : ses deux côtés ne sont pas des tables de la base",
        "T.R : reçoit ses nombres aléatoires d'une valeur par défaut sur " + std::string(name),
        "T.N : la valeur par défaut Forms!x n'a pas d'équivalent sur " + std::string(name) + " et n'est pas reprise",
        "T : la règle de validation [N]>0 n'est pas reprise",
        "T.Lien : n'est plus un lien hypertexte mais son texte"};
    if (engine == Engine::kSqlite) expected.insert(expected.begin() + 5, "T : le commentaire à moi n'est pas repris");
    std::sort(expected.begin(), expected.end());
    auto told = ToldInFrench(WrittenFor(engine));
    std::sort(told.begin(), told.end());
    EXPECT_EQ(told, expected);
  }
}

TEST(Findings, WhatIsWrittenForSqlServerAndOracle) {
  const auto oracle = ToldInFrench(WrittenFor(Engine::kOracle));
  EXPECT_THAT(oracle, testing::Contains("T.M : Oracle ne garde pas de texte vide ; il y devient nul"));
  EXPECT_THAT(oracle, testing::Contains("T : la relation Soi ne propage pas les modifications sur Oracle"));
  EXPECT_THAT(ToldInFrench(WrittenFor(Engine::kSqlServer)),
              testing::IsSupersetOf({"T.N : la valeur par défaut Forms!x n'a pas d'équivalent sur SQL Server et n'est pas reprise",
                                     "T : la relation Soi ne propage pas les modifications sur SQL Server",
                                     "T : le commentaire à moi n'est pas repris"}));
}

TEST(Findings, WhatIsPlannedForAnAccessFile) {
  Database database = Hard();
  database.queries = {{"Q", "SELECT 1", {}, {}}};
  database.links = {{"L", "Driver=x", "Loin"}};
  schema::Table wide;
  wide.name = "Vide";
  database.tables.push_back(wide);
  const auto plan = PlanAccess(database, schema::Expressions::kForeign);
  EXPECT_THAT(ToldInFrench(plan.findings),
              ElementsAre("T.N : la valeur par défaut Forms!x n'a pas d'équivalent dans Access et n'est pas reprise",
                          "T.X : dépasse 255 caractères ; devient un Mémo", "T : la règle [N]>0 n'est pas reprise",
                          "T : l'index PK porte sur « B », un objet OLE, qu'Access n'indexe pas, et n'est pas repris",
                          "T : la relation Soi est gardée mais pas appliquée : « T » n'a pas d'index unique sur exactement ce à quoi elle "
                          "renvoie",
                          "T : la relation Loin vers Ailleurs n'est pas reprise : les deux ne sont pas des tables avec ses colonnes",
                          "T : la relation Longue est gardée mais pas appliquée : « T » n'a pas d'index unique sur exactement ce à quoi "
                          "elle renvoie",
                          " : le lien L vers Loin de Driver=x n'est pas repris",
                          " : la requête Q n'est pas reprise : ce n'est pas une instruction d'Access"));
  EXPECT_THAT(ToldInFrench(plan.refusals), ElementsAre("Vide : n'a pas de colonne, or aucune table d'Access n'en est dépourvue"));
}

}  // namespace
}  // namespace tamlo::tests
