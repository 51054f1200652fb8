// Stored queries: the rows of MSysQueries put together as a SELECT.
#include <algorithm>
#include <map>

#include "jet/sql/Names.h"
#include "jet/sql/SessionState.h"

namespace jet::sql {

namespace {

enum Attribute {
  kType = 1,
  kParameter = 2,
  kOptions = 3,
  kRemote = 4,
  kSource = 5,
  kColumn = 6,
  kJoin = 7,
  kWhere = 8,
  kGroup = 9,
  kHaving = 10,
  kOrder = 11
};

struct Part {
  std::string order;
  std::string name1;
  std::string name2;
  std::string expression;
  int flag = 0;
};

using Parts = std::map<int, std::vector<Part>>;

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

Parts ReadParts(Database& database, std::int32_t id) {
  Table& table = database.OpenTable("MSysQueries");
  const std::size_t object = ColumnNamed(table, "ObjectId");
  const std::size_t attribute = ColumnNamed(table, "Attribute");
  const std::size_t order = ColumnNamed(table, "Order");
  const std::size_t name1 = ColumnNamed(table, "Name1");
  const std::size_t name2 = ColumnNamed(table, "Name2");
  const std::size_t expression = ColumnNamed(table, "Expression");
  const std::size_t flag = ColumnNamed(table, "Flag");
  Parts parts;
  ScanCursor cursor = table.Scan();
  while (cursor.Next()) {
    Row& row = cursor.Current();
    if (row.Integer(object) != id) continue;
    Part part;
    const auto bytes = row.Blob(order);
    part.order.assign(reinterpret_cast<const char*>(bytes.data()), bytes.size());
    part.name1 = row.Text(name1);
    part.name2 = row.Text(name2);
    part.expression = WithoutTail(row.Text(expression));
    part.flag = static_cast<int>(row.Integer(flag));
    parts[static_cast<int>(row.Integer(attribute))].push_back(std::move(part));
  }
  for (auto& [key, list] : parts) {
    std::stable_sort(list.begin(), list.end(), [](const Part& a, const Part& b) { return a.order < b.order; });
  }
  return parts;
}

std::string Bracketed(const std::string& name) { return "[" + name + "]"; }

// The tables of one connected piece of the FROM clause, and its text.
struct Piece {
  std::vector<std::string> names;  // folded
  std::string sql;
  bool joined = false;
};

std::string FromClause(const Parts& parts, std::vector<std::string>& conditions, const std::string& query) {
  std::vector<Piece> pieces;
  const auto sources = parts.find(kSource);
  if (sources == parts.end()) return {};
  for (const Part& part : sources->second) {
    Piece piece;
    const std::string& alias = part.name2.empty() ? part.name1 : part.name2;
    piece.names.push_back(FoldName(alias));
    piece.sql = part.name1.empty() ? "(" + part.expression + ") AS " + Bracketed(alias)
                                   : Bracketed(part.name1) + (part.name2.empty() ? "" : " AS " + Bracketed(part.name2));
    pieces.push_back(std::move(piece));
  }
  std::vector<Part> joins;
  if (const auto found = parts.find(kJoin); found != parts.end()) {
    for (const Part& join : found->second) {
      // Several pairs of columns between the same tables are one join.
      const auto same = std::find_if(joins.begin(), joins.end(), [&](const Part& other) {
        return other.flag == join.flag && SameName(other.name1, join.name1) && SameName(other.name2, join.name2);
      });
      if (same != joins.end())
        same->expression = "(" + same->expression + ") AND (" + join.expression + ")";
      else
        joins.push_back(join);
    }
  }
  const auto pieceOf = [&](const std::string& name) {
    return std::find_if(pieces.begin(), pieces.end(), [&](const Piece& piece) {
      return std::find(piece.names.begin(), piece.names.end(), FoldName(name)) != piece.names.end();
    });
  };
  for (const Part& join : joins) {
    const auto left = pieceOf(join.name1);
    const auto right = pieceOf(join.name2);
    if (left == pieces.end() || right == pieces.end())
      throw Error(ErrorCode::kUnsupported, "the query \"" + query + "\" joins a table that it does not name");
    if (left == right) {
      if (join.flag != 1) throw Error(ErrorCode::kUnsupported, "the query \"" + query + "\" has outer joins in a circle");
      conditions.push_back(join.expression);
      continue;
    }
    const char* kind = join.flag == 2 ? " LEFT JOIN " : join.flag == 3 ? " RIGHT JOIN " : " INNER JOIN ";
    const auto text = [](const Piece& piece) { return piece.joined ? "(" + piece.sql + ")" : piece.sql; };
    left->sql = text(*left) + kind + text(*right) + " ON (" + join.expression + ")";
    left->joined = true;
    left->names.insert(left->names.end(), right->names.begin(), right->names.end());
    pieces.erase(right);
  }
  std::string sql;
  for (const Piece& piece : pieces) sql += (sql.empty() ? " FROM " : ", ") + piece.sql;
  return sql;
}

std::string Listed(const Parts& parts, int attribute, const char* before) {
  const auto found = parts.find(attribute);
  std::string sql;
  if (found == parts.end()) return sql;
  for (const Part& part : found->second) {
    sql += (sql.empty() ? before : ", ") + part.expression;
    if (attribute == kOrder && SameName(part.name1, "D")) sql += " DESC";
  }
  return sql;
}

std::string UnionOf(const Parts& parts, int options) {
  std::string sql;
  if (const auto sources = parts.find(kSource); sources != parts.end()) {
    for (const Part& part : sources->second) {
      if (!sql.empty()) sql += (options & 2) != 0 ? " UNION " : " UNION ALL ";
      sql += part.expression;
    }
  }
  return sql + Listed(parts, kOrder, " ORDER BY ");
}

}  // namespace

std::string StoredQuerySelect(Database& database, const CatalogObject& query) {
  const Parts parts = ReadParts(database, query.id);
  const auto first = [&](int attribute) {
    const auto found = parts.find(attribute);
    return found == parts.end() || found->second.empty() ? Part{} : found->second.front();
  };
  const auto refuse = [&](const char* why) { return Error(ErrorCode::kUnsupported, "the query \"" + query.name + "\" " + why); };
  const int type = parts.contains(kType) ? first(kType).flag : 1;
  const int options = first(kOptions).flag;
  if (parts.contains(kParameter)) throw refuse("asks for parameters");
  if (type == 9) return UnionOf(parts, options);
  if (type == 6) throw refuse("is a crosstab, which is not supported");
  if (type == 8) throw refuse("is handed to a server as it stands, which is not supported");
  if (type != 1) throw refuse("gives no rows");

  std::string sql = "SELECT ";
  if ((options & 2) != 0) sql += "DISTINCT ";
  if ((options & 8) != 0) sql += "DISTINCTROW ";
  if ((options & 0x10) != 0) sql += "TOP " + first(kOptions).name1 + ((options & 0x20) != 0 ? " PERCENT " : " ");
  std::string list;
  if (const auto columns = parts.find(kColumn); columns != parts.end()) {
    for (const Part& part : columns->second) {
      list += (list.empty() ? "" : ", ") + part.expression + (part.name1.empty() ? "" : " AS " + Bracketed(part.name1));
    }
  }
  if ((options & 1) != 0 || list.empty()) list = list.empty() ? "*" : list + ", *";
  std::vector<std::string> conditions;
  sql += list + FromClause(parts, conditions, query.name);
  if (const Part part = first(kRemote); !part.name1.empty()) sql += " IN \"" + part.name1 + "\"";
  if (parts.contains(kWhere)) conditions.push_back(first(kWhere).expression);
  std::string where;
  for (const std::string& condition : conditions) where += (where.empty() ? " WHERE (" : " AND (") + condition + ")";
  sql += where + Listed(parts, kGroup, " GROUP BY ");
  if (parts.contains(kHaving)) sql += " HAVING " + first(kHaving).expression;
  return sql + Listed(parts, kOrder, " ORDER BY ");
}

}  // namespace jet::sql
