// Indexes and relations.
#include <algorithm>

#include "schema/DdlWriter.h"
#include "schema/Find.h"

namespace tamlo::schema {
namespace {

constexpr int kPrefix = 191;  // characters of a text in a MariaDB index whose whole texts would be too many bytes

bool IsLong(const Type& type) { return type.kind == Kind::kMemo || type.kind == Kind::kBlob; }

/// Characters of each text of an index that MariaDB would find too wide.
int PrefixIn(const Index& index) { return std::min(kPrefix, (kMostKeyBytes / static_cast<int>(index.parts.size()) - 8) / 4); }

}  // namespace

int KeyBytes(const Type& type) {
  if (type.kind == Kind::kText) return type.length * 4;
  if (type.kind == Kind::kBinary) return type.length;
  return type.kind == Kind::kMemo || type.kind == Kind::kBlob ? 255 * 4 : 8;
}

int MostBytesOfAPart(const Table& table, const Index& key) {
  const auto bytes = [&](int most) {
    int sum = 0;
    for (const IndexPart& part : key.parts) sum += std::min(most, KeyBytes(Find(table.columns, part.column)->type));
    return sum;
  };
  int most = kMostKeyBytes;
  while (bytes(most) > kMostKeyBytes) most -= 4;
  return most;
}

/// MariaDB: a key of up to 3,072 bytes. A unique one cannot be shortened, for it would refuse what differs behind.
bool DdlWriter::FitsKey(const Table& table, const Index& index) const {
  if (dialect_.engine != Engine::kMariaDb) return true;
  int bytes = 0;
  for (const IndexPart& part : index.parts) bytes += KeyBytes(Find(table.columns, part.column)->type);
  return bytes <= kMostKeyBytes;
}

std::string DdlWriter::IndexPartText(const Table& table, const Index& index, const IndexPart& part) const {
  const Type type = Find(table.columns, part.column)->type;
  std::string text = ColumnName(table.name, part.column);
  const int most = FitsKey(table, index) ? 255 : PrefixIn(index);
  if (dialect_.engine == Engine::kMariaDb && IsLong(type) && !index.unique) text += "(" + std::to_string(most) + ")";
  if (part.descending) text += " DESC";
  return text + std::string(part.descending ? dialect_.nullsLast : dialect_.nullsFirst);
}

std::string DdlWriter::IndexText(const Table& table, std::size_t place, bool referred) {
  const Index& index = table.indexes[place];
  std::string columns;
  const bool fits = FitsKey(table, index);
  for (const IndexPart& part : index.parts) {
    columns += (columns.empty() ? "" : ", ") + IndexPartText(table, index, part);
    const Type type = Find(table.columns, part.column)->type;
    if (!fits && !index.unique && type.kind == Kind::kText && type.length > PrefixIn(index))
      columns.insert(columns.find_last_of('`') + 1, "(" + std::to_string(PrefixIn(index)) + ")");
  }
  std::string text = std::string("CREATE ") + (index.unique ? "UNIQUE " : "") + "INDEX " + Quoted(dialect_, Of(table.name).indexes[place]) +
                     " ON " + TableName(table.name) + " (" + columns + ")";
  if (dialect_.engine == Engine::kAccess && (index.required || index.ignoreNulls))
    return text + (index.required ? " WITH DISALLOW NULL" : " WITH IGNORE NULL");
  if (!index.ignoreNulls) return text;
  if (!dialect_.partialIndexes || referred) {
    if (dialect_.engine != Engine::kOracle) Lost(table.name, {}, What::kHoldsKeyless, {index.name});
    return text;
  }
  std::string condition;
  for (const IndexPart& part : index.parts)
    condition += (condition.empty() ? "" : " OR ") + ColumnName(table.name, part.column) + " IS NOT NULL";
  return text + " WHERE " + condition;
}

void DdlWriter::CreateIndexes(const Table& table, const std::vector<Relation>& relations) {
  for (std::size_t place = 0; place < table.indexes.size(); ++place) {
    const Index& index = table.indexes[place];
    if (index.primary) continue;
    const bool referred = std::any_of(relations.begin(), relations.end(), [&](const Relation& relation) {
      return relation.referenced == table.name && relation.columns.size() == index.parts.size() &&
             std::all_of(relation.columns.begin(), relation.columns.end(), [&](const auto& pair) {
               return std::any_of(index.parts.begin(), index.parts.end(),
                                  [&](const IndexPart& part) { return part.column == pair.second; });
             });
    });
    if (index.unique && !FitsKey(table, index)) {
      Lost(table.name, {}, What::kUniqueTooWide, {index.name, EngineName()});
      continue;
    }
    script_.statements.push_back({Phase::kIndexes, table.name, IndexText(table, place, referred)});
  }
}

std::string DdlWriter::ForeignKeyText(const Relation& relation) const {
  std::string own;
  std::string there;
  for (const auto& [from, to] : relation.columns) {
    own += (own.empty() ? "" : ", ") + ColumnName(relation.table, from);
    there += (there.empty() ? "" : ", ") + ColumnName(relation.referenced, to);
  }
  return "CONSTRAINT " + Quoted(dialect_, relations_.at(relation.name)) + " FOREIGN KEY (" + own + ") REFERENCES " +
         TableName(relation.referenced) + " (" + there + ")" + (relation.cascadeUpdates ? " ON UPDATE CASCADE" : "") +
         (relation.cascadeDeletes ? " ON DELETE CASCADE" : "");
}

void DdlWriter::AddRelation(const Relation& relation) {
  script_.statements.push_back(
      {Phase::kRelations, relation.table, "ALTER TABLE " + TableName(relation.table) + " ADD " + ForeignKeyText(relation)});
}

}  // namespace tamlo::schema
