// Names in an Access file: up to 64 units, without the characters that its statements need, each once whatever its case.
#include <algorithm>
#include <map>

#include "base/Case.h"
#include "schema/AccessPlanner.h"
#include "schema/Dialect.h"

namespace tamlo::schema {
namespace {

/// The name with "_" in the stead of what no name holds.
std::string Allowed(std::string_view wish) {
  std::string name(wish);
  for (char& c : name)
    if (static_cast<unsigned char>(c) < 0x20 || std::string_view(".!`[]").find(c) != std::string_view::npos) c = '_';
  if (name.empty() || name.front() == ' ') name.insert(0, "_");
  return name;
}

/// What begins with "~" Access takes for its own, and shows to nobody.
std::string AllowedObject(std::string_view wish) {
  std::string name = Allowed(wish);
  if (name.front() == '~') name.front() = '_';
  return name;
}

}  // namespace

void AccessPlanner::Note(const std::string& table, std::string& name, std::string taken) {
  if (name != taken) plan_.renamings.push_back({table, name, taken});
  name = std::move(taken);
}

/// Tables, links and queries share one space with the tables of the system.
void AccessPlanner::NameObjects() {
  Names names(DialectOf(Engine::kAccess));
  for (const char* own : {"MSysObjects", "MSysACEs", "MSysQueries", "MSysRelationships"}) names.Reserve(own);
  for (Table& table : plan_.there.tables) Note({}, table.name, names.Take(AllowedObject(table.name)));
  for (Link& link : plan_.there.links) Note({}, link.name, names.Take(AllowedObject(link.name)));
  for (Query& query : plan_.there.queries) Note({}, query.name, names.Take(AllowedObject(query.name)));
}

/// Indexes go on to name their columns; one that is not there gets no name.
void AccessPlanner::NameColumns(std::size_t place) {
  Names names(DialectOf(Engine::kAccess));
  const auto& source = source_.tables[place].columns;
  Table& table = plan_.there.tables[place];
  for (Column& column : table.columns) Note(NameOf(place), column.name, names.Take(Allowed(column.name)));
  for (Index& index : table.indexes)
    for (IndexPart& part : index.parts) {
      const auto held = PlaceOf(source, part.column);
      part.column = held ? table.columns[*held].name : std::string();
    }
}

/// A relation that is enforced gives its name to an index of the referring table too. A file has a table's indexes in the order of their names.
void AccessPlanner::NameKeys() {
  const Dialect& access = DialectOf(Engine::kAccess);
  Names relations(access);
  std::map<std::string, Names> perTable;
  for (const Table& table : plan_.there.tables) perTable.emplace(table.name, Names(access));
  for (Relation& relation : plan_.there.relations) {
    Note({}, relation.name, relations.Take(Allowed(relation.name)));
    if (relation.enforced) perTable.at(relation.table).Reserve(relation.name);
  }
  for (std::size_t i = 0; i < plan_.there.tables.size(); ++i) {
    Table& table = plan_.there.tables[i];
    Names& names = perTable.at(table.name);
    for (Index& index : table.indexes) Note(NameOf(i), index.name, names.Take(Allowed(index.name)));
    std::stable_sort(table.indexes.begin(), table.indexes.end(),
                     [](const Index& a, const Index& b) { return base::LowerName(a.name) < base::LowerName(b.name); });
  }
}

}  // namespace tamlo::schema
