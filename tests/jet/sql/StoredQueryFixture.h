#pragma once

#include <map>
#include <utility>
#include <vector>

#include "jet/table/Table.h"
#include "tests/jet/sql/SessionFixture.h"

namespace jet::sql::tests {

/// Writes stored queries into the system tables as Access keeps them: a row that begins, a row that ends, and an order that counts from 1
/// for each attribute.
class StoredQueryFixture : public SessionFixture {
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

}  // namespace jet::sql::tests
