// Stored queries: the rows of MSysQueries put together as a statement.
#include <algorithm>

#include "jet/table/Table.h"
#include "jet/sql/Names.h"
#include "jet/sql/run/StoredParts.h"
#include "jet/sql/parse/TypeNames.h"

namespace jet::sql {

namespace {

using Attribute = QueryAttribute;
using Part = QueryPart;
using Parts = QueryParts;

std::size_t ColumnNamed(Table& table, const char* name) {
  const std::optional<std::size_t> column = table.FindColumn(name);
  if (!column) throw Error(ErrorCode::kDamaged, std::string("MSysQueries has no column ") + name);
  return *column;
}

std::string WithoutTail(std::string_view text) {
  while (!text.empty() && (text.back() == '\0' || text.back() == ' ' || text.back() == '\r' || text.back() == '\n' || text.back() == ';'))
    text.remove_suffix(1);
  return std::string(text);
}

std::string Bracketed(const std::string& name) { return "[" + name + "]"; }

// A name that may be qualified, as it was typed.
std::string AsTyped(const std::string& name) {
  if (name.find('[') != std::string::npos) return name;
  std::string typed = "[";
  for (const char c : name) typed += c == '.' ? std::string("].[") : std::string(1, c);
  return typed + "]";
}

// The tables of one connected piece of the FROM clause, and its text.
struct Piece {
  std::vector<std::string> names;  // folded
  std::string sql;
  bool joined = false;
};

std::vector<Piece> PiecesOf(const std::vector<Part>& sources) {
  std::vector<Piece> pieces;
  for (const Part& part : sources) {
    Piece piece;
    const std::string& alias = part.name2.empty() ? part.name1 : part.name2;
    piece.names.push_back(FoldName(alias));
    piece.sql = part.name1.empty() ? "(" + part.expression + ") AS " + Bracketed(alias)
                                   : Bracketed(part.name1) + (part.name2.empty() ? "" : " AS " + Bracketed(part.name2));
    pieces.push_back(std::move(piece));
  }
  return pieces;
}

// Several pairs of columns between the same tables are one join.
std::vector<Part> JoinsOf(const std::vector<Part>& parts) {
  std::vector<Part> joins;
  for (const Part& join : parts) {
    const auto same = std::find_if(joins.begin(), joins.end(), [&](const Part& other) {
      return other.flag == join.flag && SameName(other.name1, join.name1) && SameName(other.name2, join.name2);
    });
    if (same != joins.end())
      same->expression = "(" + same->expression + ") AND (" + join.expression + ")";
    else
      joins.push_back(join);
  }
  return joins;
}

// Makes one piece of the two that the join names; a condition of what is joined already goes to the conditions.
void Join(std::vector<Piece>& pieces, const Part& join, std::vector<std::string>& conditions, const std::string& query) {
  const auto pieceOf = [&](const std::string& name) {
    return std::find_if(pieces.begin(), pieces.end(), [&](const Piece& piece) {
      return std::find(piece.names.begin(), piece.names.end(), FoldName(name)) != piece.names.end();
    });
  };
  const auto left = pieceOf(join.name1);
  const auto right = pieceOf(join.name2);
  if (left == pieces.end() || right == pieces.end())
    throw Error(ErrorCode::kUnsupported, "the query \"" + query + "\" joins a table that it does not name");
  if (left == right) {
    if (join.flag != 1) throw Error(ErrorCode::kUnsupported, "the query \"" + query + "\" has outer joins in a circle");
    conditions.push_back(join.expression);
    return;
  }
  const char* kind = join.flag == 2 ? " LEFT JOIN " : join.flag == 3 ? " RIGHT JOIN " : " INNER JOIN ";
  const auto text = [](const Piece& piece) { return piece.joined ? "(" + piece.sql + ")" : piece.sql; };
  left->sql = text(*left) + kind + text(*right) + " ON (" + join.expression + ")";
  left->joined = true;
  left->names.insert(left->names.end(), right->names.begin(), right->names.end());
  pieces.erase(right);
}

std::string FromClause(const Parts& parts, std::vector<std::string>& conditions, const std::string& query) {
  const auto sources = parts.find(Attribute::kSource);
  if (sources == parts.end()) return {};
  std::vector<Piece> pieces = PiecesOf(sources->second);
  if (const auto joins = parts.find(Attribute::kJoin); joins != parts.end()) {
    for (const Part& join : JoinsOf(joins->second)) Join(pieces, join, conditions, query);
  }
  std::string sql;
  for (const Piece& piece : pieces) sql += (sql.empty() ? " FROM " : ", ") + piece.sql;
  return sql;
}

std::string Listed(const Parts& parts, Attribute attribute, const char* before, bool pivotToo = true) {
  const auto found = parts.find(attribute);
  std::string sql;
  if (found == parts.end()) return sql;
  for (const Part& part : found->second) {
    if (!pivotToo && part.flag == kPivotColumn) continue;
    sql += (sql.empty() ? before : ", ") + part.expression;
    if (attribute == Attribute::kOrder && SameName(part.name1, "D")) sql += " DESC";
  }
  return sql;
}

std::string UnionOf(const Parts& parts, int options) {
  std::string sql;
  if (const auto sources = parts.find(Attribute::kSource); sources != parts.end()) {
    for (const Part& part : sources->second) {
      if (!sql.empty()) sql += (options & kDistinctRows) != 0 ? " UNION " : " UNION ALL ";
      sql += part.expression;
    }
  }
  return sql + Listed(parts, Attribute::kOrder, " ORDER BY ");
}

Part First(const Parts& parts, Attribute attribute) {
  const auto found = parts.find(attribute);
  return found == parts.end() || found->second.empty() ? Part{} : found->second.front();
}

std::vector<Part> All(const Parts& parts, Attribute attribute) {
  const auto found = parts.find(attribute);
  return found == parts.end() ? std::vector<Part>() : found->second;
}

std::string Aliased(const Part& column) { return column.expression + (column.name1.empty() ? "" : " AS " + Bracketed(column.name1)); }

std::string ParameterClause(const Parts& parts) {
  std::string sql;
  for (const Part& part : All(parts, Attribute::kParameter)) {
    std::string name;
    for (const char c : part.name1) {
      if (c != '[' && c != ']') name += c;
    }
    sql += (sql.empty() ? "PARAMETERS " : ", ") + Bracketed(name) + " " + NameOfType(part.flag);
  }
  return sql.empty() ? sql : sql + "; ";
}

// FROM, with what cannot be said there, WHERE.
struct Sources {
  std::string from;
  std::string where;
};

Sources SourcesOf(const Parts& parts, const std::string& query) {
  Sources sources;
  std::vector<std::string> conditions;
  sources.from = FromClause(parts, conditions, query);
  if (const Part part = First(parts, Attribute::kRemote); !part.name1.empty()) sources.from += " IN \"" + part.name1 + "\"";
  if (parts.contains(Attribute::kWhere)) conditions.push_back(First(parts, Attribute::kWhere).expression);
  for (const std::string& condition : conditions) sources.where += (sources.where.empty() ? " WHERE (" : " AND (") + condition + ")";
  return sources;
}

std::string Predicates(const Parts& parts) {
  const Part options = First(parts, Attribute::kOptions);
  std::string sql;
  if ((options.flag & kDistinctRows) != 0) sql += "DISTINCT ";
  if ((options.flag & kDistinctRow) != 0) sql += "DISTINCTROW ";
  if ((options.flag & kTop) != 0) sql += "TOP " + options.name1 + ((options.flag & kPercent) != 0 ? " PERCENT " : " ");
  return sql;
}

std::string SelectOf(const Parts& parts, const std::string& query, const std::string& into) {
  std::string list;
  for (const Part& part : All(parts, Attribute::kColumn)) list += (list.empty() ? "" : ", ") + Aliased(part);
  if ((First(parts, Attribute::kOptions).flag & kAllColumns) != 0 || list.empty()) list = list.empty() ? "*" : list + ", *";
  const Sources sources = SourcesOf(parts, query);
  std::string sql = "SELECT " + Predicates(parts) + list + into + sources.from + sources.where;
  sql += Listed(parts, Attribute::kGroup, " GROUP BY ");
  if (parts.contains(Attribute::kHaving)) sql += " HAVING " + First(parts, Attribute::kHaving).expression;
  return sql + Listed(parts, Attribute::kOrder, " ORDER BY ");
}

std::string CrosstabOf(const Parts& parts, const std::string& query) {
  std::string value;
  std::string list;
  std::string pivot;
  for (const Part& part : All(parts, Attribute::kColumn)) {
    if (part.flag == kPivotColumn)
      pivot = part.expression;
    else if (part.flag == kHeadingColumn)
      list += (list.empty() ? "" : ", ") + Aliased(part);
    else
      value = Aliased(part);
  }
  const Sources sources = SourcesOf(parts, query);
  return "TRANSFORM " + value + " SELECT " + Predicates(parts) + list + sources.from + sources.where +
         Listed(parts, Attribute::kGroup, " GROUP BY ", false) + Listed(parts, Attribute::kOrder, " ORDER BY ") + " PIVOT " + pivot;
}

// The table that rows go into; one in another file has its path beside it.
std::string TargetOf(const Parts& parts) {
  const Part type = First(parts, Attribute::kType);
  return AsTyped(type.name1) + (type.name2.empty() ? "" : " IN \"" + type.name2 + "\"");
}

std::string AppendOf(const Parts& parts, const std::string& query) {
  std::string targets;
  std::string values;
  bool plain = true;
  for (const Part& part : All(parts, Attribute::kColumn)) {
    plain = plain && (part.flag & kAppendedValue) != 0;
    if (!part.name2.empty()) targets += (targets.empty() ? "" : ", ") + AsTyped(part.name2);
    values += (values.empty() ? "" : ", ") + part.expression;
  }
  const std::string sql = "INSERT INTO " + TargetOf(parts) + (targets.empty() ? "" : " (" + targets + ")");
  if (plain && !values.empty() && !parts.contains(Attribute::kSource)) return sql + " VALUES (" + values + ")";
  return sql + " " + SelectOf(parts, query, {});
}

std::string UpdateOf(const Parts& parts, const std::string& query) {
  const Sources sources = SourcesOf(parts, query);
  std::string list;
  for (const Part& part : All(parts, Attribute::kColumn))
    list += (list.empty() ? " SET " : ", ") + AsTyped(part.name2) + " = " + part.expression;
  constexpr std::string_view kFrom = " FROM ";
  return "UPDATE " + (sources.from.empty() ? std::string() : sources.from.substr(kFrom.size())) + list + sources.where;
}

std::string DeleteOf(const Parts& parts, const std::string& query) {
  const Sources sources = SourcesOf(parts, query);
  const std::string list = First(parts, Attribute::kColumn).expression;
  return "DELETE " + (list.empty() ? std::string("*") : list) + sources.from + sources.where;
}

}  // namespace

QueryParts ReadQueryParts(Database& database, std::int32_t id) {
  Table& table = database.OpenTable("MSysQueries");
  const std::size_t object = ColumnNamed(table, "ObjectId");
  const std::size_t attribute = ColumnNamed(table, "Attribute");
  const std::size_t order = ColumnNamed(table, "Order");
  const std::size_t name1 = ColumnNamed(table, "Name1");
  const std::size_t name2 = ColumnNamed(table, "Name2");
  const std::size_t expression = ColumnNamed(table, "Expression");
  const std::size_t flag = ColumnNamed(table, "Flag");
  std::map<Attribute, std::vector<std::pair<std::string, Part>>> placed;
  ScanCursor cursor = table.Scan();
  while (cursor.Next()) {
    Row& row = cursor.Current();
    if (row.Integer(object) != id) continue;
    Part part;
    const auto bytes = row.Blob(order);
    std::string place(reinterpret_cast<const char*>(bytes.data()), bytes.size());
    part.name1 = row.Text(name1);
    part.name2 = row.Text(name2);
    part.expression = WithoutTail(row.Text(expression));
    part.flag = static_cast<int>(row.Integer(flag));
    placed[static_cast<Attribute>(row.Integer(attribute))].emplace_back(std::move(place), std::move(part));
  }
  Parts parts;
  for (auto& [key, list] : placed) {
    std::stable_sort(list.begin(), list.end(), [](const auto& a, const auto& b) { return a.first < b.first; });
    for (auto& one : list) parts[key].push_back(std::move(one.second));
  }
  return parts;
}

std::string StoredStatement(Database& database, const CatalogObject& query, bool rowsOnly) {
  return StatementOf(ReadQueryParts(database, query.id), query.name, rowsOnly);
}

std::string StatementOf(const QueryParts& parts, const std::string& name, bool rowsOnly) {
  const auto refuse = [&](const char* why) { return Error(ErrorCode::kUnsupported, "the query \"" + name + "\" " + why); };
  const auto type = parts.contains(Attribute::kType) ? static_cast<QueryType>(First(parts, Attribute::kType).flag) : QueryType::kSelect;
  const std::string clause = ParameterClause(parts);
  switch (type) {
    case QueryType::kSelect:
      return clause + SelectOf(parts, name, {});
    case QueryType::kUnion:
      return clause + UnionOf(parts, First(parts, Attribute::kOptions).flag);
    case QueryType::kCrosstab:
      return clause + CrosstabOf(parts, name);
    case QueryType::kPassThrough:
      throw refuse("is handed to a server as it stands, which is not supported");
    default:
      break;
  }
  if (rowsOnly) throw refuse("gives no rows");
  switch (type) {
    case QueryType::kMakeTable:
      return clause + SelectOf(parts, name, " INTO " + TargetOf(parts));
    case QueryType::kAppend:
      return clause + AppendOf(parts, name);
    case QueryType::kUpdate:
      return clause + UpdateOf(parts, name);
    case QueryType::kDelete:
      return clause + DeleteOf(parts, name);
    case QueryType::kDefinition:
      return First(parts, Attribute::kType).expression;
    default:
      throw refuse("is of a kind that is not known");
  }
}

}  // namespace jet::sql
