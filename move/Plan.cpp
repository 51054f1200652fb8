#include "move/Plan.h"

#include <algorithm>
#include <array>

#include "schema/Find.h"

namespace tamlo::move {
namespace {

/// FNV-1a, over texts and what parts them.
class Fingerprint {
 public:
  void Add(const std::string& text) {
    for (const char c : text) AddByte(static_cast<unsigned char>(c));
    AddByte(0);
  }
  [[nodiscard]] std::string Text() const {
    static constexpr std::string_view kDigits = "0123456789abcdef";
    std::string text;
    for (int shift = 60; shift >= 0; shift -= 4) text += kDigits[sum_ >> static_cast<unsigned>(shift) & 15U];
    return text;
  }

 private:
  void AddByte(unsigned char byte) { sum_ = (sum_ ^ byte) * 1099511628211ULL; }
  std::uint64_t sum_ = 14695981039346656037ULL;
};

bool Has(const schema::Database& database, const std::string& name) {
  return std::any_of(database.tables.begin(), database.tables.end(), [&](const schema::Table& table) { return table.name == name; });
}

std::vector<std::string> OrderOf(const schema::Table& table) {
  std::vector<std::string> order;
  for (const schema::Index& index : table.indexes)
    if (index.primary)
      for (const schema::IndexPart& part : index.parts) order.push_back(part.column);
  return order;
}

std::vector<SelfLink> SelfLinksOf(const schema::Database& database, const schema::Table& table) {
  std::vector<SelfLink> links;
  for (const schema::Relation& relation : database.relations) {
    if (relation.table != table.name || relation.referenced != table.name) continue;
    SelfLink link;
    for (const auto& [column, referenced] : relation.columns) {
      const auto from = schema::PlaceOf(table.columns, column), to = schema::PlaceOf(table.columns, referenced);
      if (!from || !to) continue;
      link.columns.push_back(*from);
      link.referenced.push_back(*to);
    }
    if (link.columns.size() == relation.columns.size()) links.push_back(std::move(link));
  }
  return links;
}

PlannedTable PlanTable(const schema::Database& database, const schema::Table& table, const schema::TableThere& there) {
  PlannedTable planned{.name = table.name,
                       .there = there.name,
                       .columns = {},
                       .order = OrderOf(table),
                       .links = SelfLinksOf(database, table),
                       .rows = table.rows};
  for (std::size_t i = 0; i < table.columns.size(); ++i)
    planned.columns.push_back({table.columns[i].name, there.columns[i], table.columns[i].type, table.columns[i].type});
  return planned;
}

bool Refers(const schema::Database& database, const std::string& table, const std::string& referenced) {
  return std::any_of(database.relations.begin(), database.relations.end(), [&](const schema::Relation& relation) {
    return relation.enforced && relation.table == table && relation.referenced == referenced;
  });
}

/// The places of the tables, those that others refer to before these, as far as there is such an order: where the target holds its relations
/// already, rows come when what they refer to is there.
std::vector<std::size_t> ParentsFirst(const schema::Database& database) {
  std::vector<std::size_t> rest;
  for (std::size_t i = 0; i < database.tables.size(); ++i) rest.push_back(i);
  std::vector<std::size_t> order;
  while (!rest.empty()) {
    const auto waits = [&](std::size_t place) {
      return std::any_of(rest.begin(), rest.end(), [&](std::size_t other) {
        return other != place && Refers(database, database.tables[place].name, database.tables[other].name);
      });
    };
    auto next = std::find_if_not(rest.begin(), rest.end(), waits);
    if (next == rest.end()) next = rest.begin();  // a circle
    order.push_back(*next);
    rest.erase(next);
  }
  return order;
}

bool Belongs(const schema::Statement& statement, Parts parts) {
  return parts != Parts::kDataOnly || statement.phase == schema::Phase::kCounters;
}

std::string FingerprintOf(const Plan& plan, const Options& options) {
  Fingerprint print;
  print.Add(std::to_string(static_cast<int>(options.parts)) + std::to_string(static_cast<int>(options.ifExists)));
  for (const PlannedTable& table : plan.tables) {
    print.Add(table.name);
    print.Add(table.there);
    for (const PlannedColumn& column : table.columns) print.Add(column.name + '\n' + column.there);
  }
  for (const schema::Statement& statement : plan.statements) print.Add(statement.sql);
  return print.Text();
}

}  // namespace

schema::Database Wanted(const schema::Database& source, const Options& options) {
  schema::Database wanted;
  wanted.rulesOfAccess = source.rulesOfAccess;
  for (const schema::Table& table : source.tables)
    if (!options.wanted || options.wanted(table.name)) wanted.tables.push_back(table);
  // What hangs on a table that stays behind is no loss of the copy; what hangs on one that the source has not is told by the script.
  const auto behind = [&](const std::string& name) { return Has(source, name) && !Has(wanted, name); };
  for (const schema::Relation& relation : source.relations)
    if (!behind(relation.table) && !behind(relation.referenced)) wanted.relations.push_back(relation);
  for (const schema::Finding& finding : source.findings)
    if (!behind(finding.table)) wanted.findings.push_back(finding);
  if (options.others) {
    wanted.queries = source.queries;
    wanted.links = source.links;
  }
  return wanted;
}

Plan MakePlan(const schema::Database& wanted, const schema::Script& script, const Options& options) {
  Plan plan{.tables = {}, .statements = {}, .renamings = script.renamings, .findings = wanted.findings, .fingerprint = {}};
  plan.findings.insert(plan.findings.end(), script.findings.begin(), script.findings.end());
  for (const std::size_t i : ParentsFirst(wanted)) plan.tables.push_back(PlanTable(wanted, wanted.tables[i], script.tables[i]));
  for (const schema::Statement& statement : script.statements)
    if (Belongs(statement, options.parts)) plan.statements.push_back(statement);
  plan.fingerprint = FingerprintOf(plan, options);
  return plan;
}

void AddToFingerprint(Plan& plan, const std::vector<std::string>& texts) {
  Fingerprint print;
  print.Add(plan.fingerprint);
  for (const std::string& text : texts) print.Add(text);
  plan.fingerprint = print.Text();
}

}  // namespace tamlo::move
