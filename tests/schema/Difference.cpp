#include "tests/schema/Difference.h"

#include <algorithm>
#include <functional>

#include "base/Case.h"
#include "schema/DdlWriter.h"
#include "schema/FindingTexts.h"

namespace tamlo::tests {
namespace {

using namespace schema;

void EachColumn(Database& database, const std::function<void(const Table&, Column&)>& change) {
  for (Table& table : database.tables)
    for (Column& column : table.columns) change(table, column);
}

bool IsText(const Column& column) { return column.type.kind == Kind::kText || column.type.kind == Kind::kMemo; }

std::string PlainNumber(std::string text) {
  if (text.starts_with('+')) text.erase(0, 1);
  if (text.starts_with('.')) text.insert(0, "0");
  if (text.find('.') == std::string::npos) return text;
  text.resize(text.find_last_not_of('0') + 1);
  if (text.ends_with('.')) text.pop_back();
  return text;
}

bool IsOneToOne(const Database& database, const Relation& relation) {
  for (const Table& table : database.tables) {
    if (!base::SameName(table.name, relation.table)) continue;
    for (const Index& index : table.indexes)
      if (index.unique && index.parts.size() == relation.columns.size() &&
          std::all_of(relation.columns.begin(), relation.columns.end(), [&](const auto& pair) {
            return std::any_of(index.parts.begin(), index.parts.end(),
                               [&](const IndexPart& part) { return base::SameName(part.column, pair.first); });
          }))
        return true;
  }
  return false;
}

/// What comes back otherwise than it was written, on every engine, though nothing is lost by it.
struct GivenByEngines {
  const char* what;
  void (*apply)(Database&);
};

const GivenByEngines kGiven[] = {
    {"a column in a key, or in an index that takes no nulls, is required; and so is a counter",
     [](Database& database) {
       EachColumn(database, [](const Table& table, Column& column) {
         column.required |= InRequiredIndex(table, column) || column.counter.has_value();
       });
     }},
    {"a primary key has no name and no directions, and an index takes nulls when its columns do",
     [](Database& database) {
       for (Table& table : database.tables)
         for (Index& index : table.indexes) {
           index.required = index.primary;
           if (!index.primary) continue;
           index.name = "PrimaryKey";
           index.unique = true;
           index.ignoreNulls = false;
         }
     }},
    {"a truth value without a default is No",
     [](Database& database) {
       EachColumn(database, [](const Table&, Column& column) {
         if (column.type.kind == Kind::kBoolean && column.initial.kind == Default::Kind::kNone)
           column.initial = {Default::Kind::kTruth, "0"};
       });
     }},
    {"a decimal of 19 digits, 4 of them behind the point, is an amount",
     [](Database& database) {
       EachColumn(database, [](const Table&, Column& column) {
         if (column.type == Type{.kind = Kind::kDecimal, .precision = 19, .scale = 4}) column.type = {.kind = Kind::kCurrency};
       });
     }},
    {"a number that is the default of a text is its text, and numbers have no zeros in excess",
     [](Database& database) {
       EachColumn(database, [](const Table&, Column& column) {
         if (column.initial.kind != Default::Kind::kNumber) return;
         if (IsText(column))
           column.initial.kind = Default::Kind::kText;
         else
           column.initial.text = PlainNumber(column.initial.text);
       });
     }},
    {"a required GUID with a new one as its default counts by itself",
     [](Database& database) {
       EachColumn(database, [](const Table&, Column& column) {
         if (column.type.kind != Kind::kGuid || !column.required || column.initial.kind != Default::Kind::kNewGuid) return;
         column.counter = Counter{Counter::Kind::kGuid, 0};
         column.initial = {};
       });
     }},
    {"a relation is one to one when a unique index says so",
     [](Database& database) {
       for (Relation& relation : database.relations) relation.oneToOne = IsOneToOne(database, relation);
     }},
    {"texts alone can be empty, and rows are counted elsewhere",
     [](Database& database) {
       EachColumn(database, [](const Table&, Column& column) { column.allowEmpty |= !IsText(column); });
       for (Table& table : database.tables) table.rows = 0;
     }},
};

std::string Renamed(const Script& script, const std::string& table, const std::string& name) {
  for (const Renaming& renaming : script.renamings)
    if (base::SameName(renaming.table, table) && renaming.from == name) return renaming.to;
  return name;
}

class Comparison {
 public:
  Comparison(const Database& original, const Script& script) : original_(original), script_(script) {}

  void Tables(Database& expected, Database& read) {
    for (std::size_t i = 0; i < expected.tables.size(); ++i) {
      const std::string& name = original_.tables[i].name;
      const auto found =
          std::find_if(read.tables.begin(), read.tables.end(), [&](const Table& t) { return t.name == expected.tables[i].name; });
      if (found == read.tables.end()) {
        Add(name, {}, {}, "the table is missing");
        continue;
      }
      Columns(name, original_.tables[i], expected.tables[i], *found);
      Indexes(name, expected.tables[i], *found);
      if (found->comment != expected.tables[i].comment) Add(name, {}, {}, "comment " + found->comment);
      if (found->rule != expected.tables[i].rule) Add(name, {}, {}, "rule " + found->rule);
    }
    if (read.tables.size() != expected.tables.size()) Add({}, {}, {}, "there are " + std::to_string(read.tables.size()) + " tables");
  }
  void Relations(const Database& expected, const Database& read) {
    for (std::size_t i = 0; i < expected.relations.size(); ++i) {
      const Relation& wanted = expected.relations[i];
      const std::string& table = original_.relations[i].table;
      const auto found =
          std::find_if(read.relations.begin(), read.relations.end(), [&](const Relation& r) { return r.name == wanted.name; });
      if (found == read.relations.end())
        Add(table, {}, original_.relations[i].name, "the relation " + wanted.name + " is missing");
      else if (!(*found == wanted))
        Add(table, {}, original_.relations[i].name, "the relation " + wanted.name + " is another one");
    }
    if (read.relations.size() > expected.relations.size()) Add({}, {}, {}, "there are relations in excess");
  }
  std::vector<Difference> differences;

 private:
  void Add(const std::string& table, const std::string& column, const std::string& item, const std::string& text) {
    const bool told = std::any_of(script_.findings.begin(), script_.findings.end(), [&](const Finding& finding) {
      if (!base::SameName(finding.table, table) || !base::SameName(finding.column, column)) return false;
      return item.empty() || English(finding).find(item) != std::string::npos;
    });
    if (!told) differences.push_back({table, column, item, text});
  }
  void Columns(const std::string& table, const Table& original, const Table& expected, const Table& read) {
    if (expected.columns.size() != read.columns.size())
      return Add(table, {}, {}, "has " + std::to_string(read.columns.size()) + " columns");
    for (std::size_t i = 0; i < expected.columns.size(); ++i) {
      const Column& a = expected.columns[i];
      const Column& b = read.columns[i];
      const auto differ = [&](bool differs, const std::string& what) {
        if (differs) Add(table, original.columns[i].name, {}, what);
      };
      differ(a.name != b.name, "is called " + b.name);
      differ(!(a.type == b.type), "is of kind " + std::to_string(static_cast<int>(b.type.kind)) + " (" + std::to_string(b.type.length) +
                                      ")" + " instead of " + std::to_string(static_cast<int>(a.type.kind)));
      differ(a.required != b.required, b.required ? "is required" : "is not required");
      differ(a.allowEmpty != b.allowEmpty, b.allowEmpty ? "may be empty" : "may not be empty");
      differ(!(a.initial == b.initial), "has the default " + std::to_string(static_cast<int>(b.initial.kind)) + " " + b.initial.text +
                                            " instead of " + std::to_string(static_cast<int>(a.initial.kind)) + " " + a.initial.text);
      differ(!(a.counter == b.counter), "counts otherwise: " + (b.counter ? std::to_string(b.counter->next) : "not"));
      differ(a.rule != b.rule, "has the rule " + b.rule);
      differ(a.comment != b.comment, "has the comment " + b.comment);
      differ(a.hyperlink != b.hyperlink, "is no hyperlink");
    }
  }
  void Indexes(const std::string& table, const Table& expected, const Table& read) {
    for (const Index& index : expected.indexes) {
      const auto same =
          std::find_if(read.indexes.begin(), read.indexes.end(), [&](const Index& other) { return other.name == index.name; });
      if (same == read.indexes.end())
        Add(table, {}, index.name, "the index " + index.name + " is missing");
      else if (!(*same == index))
        Add(table, {}, index.name, "the index " + index.name + " is another one");
    }
    if (read.indexes.size() > expected.indexes.size()) Add(table, {}, {}, "has indexes in excess");
  }

  const Database& original_;
  const Script& script_;
};

}  // namespace

Database Expected(const Database& original, const Script& script, const Dialect&) {
  Database expected = original;
  for (const GivenByEngines& given : kGiven) given.apply(expected);
  for (Relation& relation : expected.relations) {
    for (auto& [from, to] : relation.columns) {
      from = Renamed(script, relation.table, from);
      to = Renamed(script, relation.referenced, to);
    }
    relation.name = Renamed(script, {}, relation.name);
    relation.table = Renamed(script, {}, relation.table);
    relation.referenced = Renamed(script, {}, relation.referenced);
  }
  for (Table& table : expected.tables) {
    for (Index& index : table.indexes) {
      for (IndexPart& part : index.parts) part.column = Renamed(script, table.name, part.column);
      if (!index.primary) index.name = Renamed(script, table.name, index.name);
    }
    for (Column& column : table.columns) column.name = Renamed(script, table.name, column.name);
    table.name = Renamed(script, {}, table.name);
  }
  return expected;
}

std::vector<Difference> Differences(const Database& original, Database expected, Database read, const Script& script) {
  for (Table& table : read.tables) table.rows = 0;
  Comparison comparison(original, script);
  comparison.Tables(expected, read);
  comparison.Relations(expected, read);
  return comparison.differences;
}

}  // namespace tamlo::tests
