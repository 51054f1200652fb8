#include <map>

#include "jet/Table.h"
#include "tests/jet/sql/SessionFixture.h"

using namespace jet;
using jet::sql::Session;
using jet::sql::tests::SessionFixture;

namespace {

/// Writes stored queries into the system tables as Access keeps them: a row that begins, a row that ends, and an order that counts from 1
/// for each attribute.
class JetStoredQuery : public SessionFixture {
 protected:
  struct Line {
    int attribute;
    const char* expression;
    const char* name1;
    const char* name2;
    int flag;
  };

  void SetUp() override {
    SessionFixture::SetUp();
    Run("CREATE TABLE Utl (IdUtl LONG CONSTRAINT PK PRIMARY KEY, Nom TEXT(30))");
    Run("CREATE TABLE VlmUtl (IdUtl LONG, Niveau LONG)");
    for (const char* row : {"1,'Dupont'", "2,'élise'", "3,'ZOLA'"}) Run(std::string("INSERT INTO Utl VALUES (") + row + ")");
    for (const char* row : {"1,5", "1,6", "2,7"}) Run(std::string("INSERT INTO VlmUtl VALUES (") + row + ")");
  }

  void Store(const std::string& name, std::int32_t kind, const std::vector<Line>& lines) {
    const std::int32_t id = INT32_MIN + 100 + next_++;
    Put("MSysObjects", {{"Id", Value(id)},
                        {"ParentId", Value(std::int32_t{0x0F000001})},
                        {"Name", Value(name)},
                        {"Type", Value(std::int16_t{5})},
                        {"Flags", Value(kind)},
                        {"DateCreate", Value(Date{37000})},
                        {"DateUpdate", Value(Date{37000})}});
    std::vector<Line> whole = lines;
    whole.insert(whole.begin(), {0, nullptr, nullptr, nullptr, 0});
    whole.push_back({255, nullptr, nullptr, nullptr, 0});
    std::map<int, int> orders;
    for (const Line& line : whole) {
      const Bytes key = {std::byte{0}, std::byte{0}, std::byte{0}, static_cast<std::byte>(++orders[line.attribute])};
      Put("MSysQueries", {{"ObjectId", Value(id)},
                          {"Attribute", Value(static_cast<std::uint8_t>(line.attribute))},
                          {"Order", Value(key)},
                          {"Name1", Text(line.name1)},
                          {"Name2", Text(line.name2)},
                          {"Expression", Text(line.expression)},
                          {"Flag", Value(static_cast<std::int16_t>(line.flag))}});
    }
    const std::string path = database->Path();
    session.reset();
    database.reset();
    database = Database::Open(path);
    session = std::make_unique<Session>(*database);
  }

 private:
  static Value Text(const char* text) { return text == nullptr ? Value() : Value(text); }
  void Put(const char* table, const std::vector<std::pair<const char*, Value>>& values) {
    Table& target = database->OpenTable(table);
    std::vector<Assignment> assignments;
    for (const auto& [column, value] : values) assignments.push_back({*target.FindColumn(column), &value, nullptr});
    target.Insert(assignments);
  }
  int next_ = 0;
};

TEST_F(JetStoredQuery, SelectsAreUsedByTheirName) {
  Store("Niveaux élevés", 0,
        {{1, nullptr, nullptr, nullptr, 1},
         {3, nullptr, nullptr, nullptr, 0},
         {5, nullptr, "Utl", "U", 0},
         {5, nullptr, "VlmUtl", nullptr, 0},
         {6, "U.Nom", "Qui", nullptr, 0},
         {6, "Max(VlmUtl.Niveau)", "Plus", nullptr, 0},
         {7, "U.IdUtl = VlmUtl.IdUtl", "U", "VlmUtl", 1},
         {8, "VlmUtl.Niveau > 4", nullptr, nullptr, 0},
         {9, "U.Nom", nullptr, nullptr, 0},
         {11, "U.Nom", "D", nullptr, 0}});
  EXPECT_EQ(Rows("SELECT * FROM [NIVEAUX ÉLEVÉS]"), "élise|7; Dupont|6");
  EXPECT_EQ(Rows("SELECT Q.Plus FROM [Niveaux élevés] Q WHERE Q.Qui = 'DUPONT'"), "6");
  EXPECT_EQ(session->StoredQueryText("niveaux élevés").value_or("").rfind("SELECT U.Nom AS [Qui]", 0), 0U);
}

TEST_F(JetStoredQuery, OuterJoinsOptionsAndUnions) {
  Store("Sans", 0,
        {{1, nullptr, nullptr, nullptr, 1},
         {3, nullptr, "1", nullptr, 0x10},
         {5, nullptr, "Utl", nullptr, 0},
         {5, nullptr, "VlmUtl", nullptr, 0},
         {6, "Utl.Nom", nullptr, nullptr, 0},
         {7, "Utl.IdUtl = VlmUtl.IdUtl", "Utl", "VlmUtl", 2},
         {8, "VlmUtl.IdUtl Is Null", nullptr, nullptr, 0},
         {11, "Utl.Nom", "D", nullptr, 0}});
  Store("Tous", 0x80,
        {{1, nullptr, nullptr, nullptr, 9},
         {3, nullptr, nullptr, nullptr, 2},
         {5, "SELECT IdUtl FROM Utl", nullptr, "X7YZ_____1", 0},
         {5, "SELECT IdUtl FROM VlmUtl", nullptr, "X7YZ_____2", 0}});
  Run("INSERT INTO Utl VALUES (4,'Abel')");
  EXPECT_EQ(Rows("SELECT * FROM Sans"), "ZOLA");
  EXPECT_EQ(Rows("SELECT Count(*) FROM Tous"), "4");
}

TEST_F(JetStoredQuery, WhatGivesNoRowsIsRefusedByName) {
  Store("Vide", 0x20, {{1, nullptr, nullptr, nullptr, 5}, {5, nullptr, "Utl", nullptr, 0}});
  Store("Croise", 0x10, {{1, nullptr, nullptr, nullptr, 6}, {5, nullptr, "Utl", nullptr, 0}});
  Store("Boucle", 0, {{1, nullptr, nullptr, nullptr, 1}, {3, nullptr, nullptr, nullptr, 1}, {5, nullptr, "Boucle", nullptr, 0}});
  for (const char* name : {"Vide", "Croise", "Boucle"}) {
    const auto refusal = Refusal(std::string("SELECT * FROM ") + name);
    EXPECT_EQ(refusal.first, ErrorCode::kUnsupported);
    EXPECT_NE(refusal.second.find(name), std::string::npos) << refusal.second;
  }
}

}  // namespace
