#pragma once

#include <optional>
#include <string>
#include <vector>

#include "jet/sql/bind/Parameters.h"
#include "tests/jet/sql/Describe.h"
#include "tests/jet/sql/PlainSchema.h"

namespace jet::sql::tests {

/// Three tables with all types and two stored queries, and what becomes of statements over them.
class EmittedSchema : public PlainSchema {
 public:
  /// readAgain: the tables' rows can be read again by their identity, as those of a file.
  explicit EmittedSchema(bool readAgain) : PlainSchema(readAgain) {
    AddTable("A", {{"Id", ColumnType::kLong},
                   {"T", ColumnType::kText},
                   {"N", ColumnType::kInteger},
                   {"D", ColumnType::kDouble},
                   {"W", ColumnType::kDate},
                   {"Y", ColumnType::kBoolean},
                   {"Prix", ColumnType::kCurrency},
                   {"M", ColumnType::kMemo}});
    AddTable("B", {{"Ref", ColumnType::kLong}, {"T", ColumnType::kText}, {"N", ColumnType::kByte}, {"Prix", ColumnType::kNumeric}});
    AddTable("C", {{"Id", ColumnType::kLong}, {"Ma col", ColumnType::kText}, {"F", ColumnType::kSingle}, {"G", ColumnType::kGuid}});
    AddQuery("Q", "SELECT Id, T, N FROM A WHERE N > 0");
    AddQuery("Big", "SELECT A.Id, B.Ref, B.T FROM A LEFT JOIN B ON A.Id = B.Ref");
    for (const char* row : {"1, 'a', 3, 1.5, 37000, -1, 12.5, 'lang'", "2, 'B ', NULL, -2, 37000.25, 0, 0.1, NULL",
                            "3, NULL, 7, NULL, NULL, 0, NULL, 'x'", "4, 'abc', 7, 0, 20000, -1, 99.99, 'Élan'"})
      Run(std::string("INSERT INTO t0 VALUES (") + row + ")");
    for (const char* row : {"1, 'b', 1, 1.25", "1, 'abc', 200, NULL", "3, NULL, 0, 7", "NULL, 'A', 7, 2"})
      Run(std::string("INSERT INTO t1 VALUES (") + row + ")");
    for (const char* row : {"1, 'été', 1.5, NULL", "4, 'Ete', NULL, '{00000000-0000-0000-0000-000000000001}'"})
      Run(std::string("INSERT INTO t2 VALUES (") + row + ")");
  }

  std::vector<std::vector<Value>> Evaluate(const SelectPlan& plan, std::size_t most) override { return PlainSchema::Values(plan, most); }

  /// What comes of the statement: while its parameters are collected where it has some, and with values for them.
  std::string Translated(const std::string& text) {
    ParameterSet parameters;
    parameters.collecting = true;
    const std::string collected = Outcome([&] { return Translate(text, *this, settings, &parameters); });
    if (parameters.Items().empty()) return Outcome([&] { return Translate(text, *this, settings); });
    parameters.Arrange();
    std::vector<Parameter> values;
    for (const ParameterSet::Item& item : parameters.Items()) values.push_back({{}, SomeValue(item.type.type)});
    return "collected " + collected + Outcome([&] {
             ParameterSet given = parameters;
             for (std::size_t i = 0; i < values.size(); ++i) values[i].name = parameters.Items()[i].name;
             given.Give(values, settings);
             return Translate(text, *this, settings, &given);
           });
  }

  /// The rows of a query without parameters, or why there are none.
  std::string RowsOf(const std::string& text) {
    try {
      const Statement statement = Translate(text, *this, settings);
      const auto* plan = std::get_if<SelectPlan>(&statement);
      return plan == nullptr ? std::string() : "rows " + Rows(plan->sql, plan->columns.size()) + "\n";
    } catch (const Error&) {
      return {};
    } catch (const std::exception& error) {
      return std::string("rows refused: ") + error.what() + "\n";
    }
  }

 private:
  static Value SomeValue(ColumnType type) {
    if (type == ColumnType::kDate) return Value(Date{35000});
    if (type == ColumnType::kText || type == kNoType) return Value("1");
    return Value(std::int32_t{1});
  }
};

}  // namespace jet::sql::tests
