// Queries: SELECT with its clauses, FROM with joins, UNION.
#include <algorithm>

#include "jet/sql/bind/Coercion.h"
#include "jet/sql/Names.h"
#include "jet/sql/bind/Translator.h"

namespace jet::sql {

namespace {

// Words that end a table name and cannot be its alias.
bool EndsTable(const std::string& word) {
  static const std::set<std::string, std::less<>> kWords = {"INNER", "LEFT",  "RIGHT",  "FULL",  "CROSS",  "OUTER", "JOIN",
                                                            "ON",    "WHERE", "GROUP",  "ORDER", "HAVING", "UNION", "SET",
                                                            "IN",    "WITH",  "SELECT", "INTO",  "VALUES", "AS",    "PIVOT"};
  return kWords.contains(word);
}

class ScopeGuard {
 public:
  ScopeGuard(Scope*& slot, Scope* scope) : slot_(slot), before_(slot) { slot = scope; }
  ~ScopeGuard() { slot_ = before_; }
  ScopeGuard(const ScopeGuard&) = delete;
  ScopeGuard& operator=(const ScopeGuard&) = delete;

 private:
  Scope*& slot_;
  Scope* before_;
};

// What stands in the brackets of "[SELECT ...]." is a query and no name.
bool IsQueryText(std::string_view text) {
  const std::size_t begin = text.find_first_not_of(" \t\r\n(");
  return begin != std::string_view::npos && FoldName(text.substr(begin, 6)) == "SELECT" && text.size() > begin + 6 &&
         std::string_view(" \t\r\n*[").find(text[begin + 6]) != std::string_view::npos;
}

constexpr std::size_t kMostColumns = 255;  // as in a table
constexpr std::size_t kMostTables = 64;    // that SQLite joins

Error TooMany(const char* message, const Token& at) {
  return {ErrorCode::kLimit, std::string(message) + " (at character " + std::to_string(at.position) + ")"};
}

bool IsText(ColumnType type) { return type == ColumnType::kText || type == ColumnType::kMemo; }

}  // namespace

// To SQLite a whole number would be the position of a column.
std::string Translator::GroupTerm(const Expression& e) {
  std::string sql = Collated(e);
  return sql.find_first_not_of("()-0123456789") == std::string::npos ? "(" + sql + " + 0)" : sql;
}

SelectPlan Translator::ParseQuery(QueryOptions options) {
  // What a crosstab asks of its aggregates is not asked of those inside a subquery.
  struct Unfiltered {
    explicit Unfiltered(std::string& filter) : filter_(filter), before_(std::exchange(filter, {})) {}
    ~Unfiltered() { filter_ = std::move(before_); }
    Unfiltered(const Unfiltered&) = delete;
    Unfiltered& operator=(const Unfiltered&) = delete;
    std::string& filter_;
    std::string before_;
  } const unfiltered(filter_);
  if (++depth_ > 100) throw UnsupportedError("queries nested too deeply", Peek().position);
  // A union is found by looking ahead: only the last part of one may carry the ORDER BY.
  const auto isUnionAhead = [&] {
    int level = 0;
    for (std::size_t i = position_; i < tokens_.size(); ++i) {
      const Token& token = tokens_[i];
      if (token.kind == TokenKind::kSymbol && token.text == "(") ++level;
      if (token.kind == TokenKind::kSymbol && token.text == ")" && --level < 0) return false;
      if (level == 0 && token.kind == TokenKind::kWord && token.upper == "UNION") return true;
    }
    return false;
  };
  if (!isUnionAhead()) {
    SelectPlan plan;
    if (AtWord("TRANSFORM")) {
      plan = ParseCrosstab();
    } else if (AtSymbol("(")) {
      Take();
      plan = ParseQuery(options);
      ExpectSymbol(")");
    } else {
      plan = ParseSelect(options);
    }
    --depth_;
    return plan;
  }

  struct Part {
    SelectPlan plan;
    const char* operation;
  };
  std::vector<Part> parts;
  const auto part = [&]() -> SelectPlan {
    if (TakeSymbol("(")) {
      SelectPlan inner = ParseQuery({.orderAllowed = true});
      ExpectSymbol(")");
      return inner;
    }
    TakeWord("TABLE");
    return ParseSelect({.orderAllowed = false});
  };
  parts.push_back({part(), ""});
  SelectPlan whole;
  whole.columns = parts[0].plan.columns;
  while (AtWord("UNION")) {
    const Token at = Take();
    const bool all = TakeWord("ALL");
    parts.push_back({part(), all ? " UNION ALL " : " UNION "});
    const std::vector<ResultColumn>& next = parts.back().plan.columns;
    if (next.size() != whole.columns.size()) FailAt(at, "the parts of a UNION must have the same number of columns");
    for (std::size_t i = 0; i < next.size(); ++i) whole.columns[i].type = CommonType(whole.columns[i].type, next[i].type);
  }
  for (ResultColumn& column : whole.columns) {
    column.source = -1;
    column.parameter = -1;
    column.type.autoNumber = false;
  }
  for (const Part& one : parts) {
    whole.sql += one.operation;
    // Where a text meets a number or date in one column, all become texts.
    std::string list;
    bool converted = false;
    for (std::size_t i = 0; i < whole.columns.size(); ++i) {
      Expression column;
      column.sql = "c" + std::to_string(i);
      column.type = one.plan.columns[i].type;
      const bool toText = IsText(whole.columns[i].type.type) && column.type.type != kNoType && !IsText(column.type.type);
      converted = converted || toText;
      list += (i > 0 ? ", " : "") + (toText ? AsText(column) + " COLLATE JET AS " + column.sql : column.sql);
    }
    whole.sql += "SELECT " + (converted ? list : "*") + " FROM (" + one.plan.sql + ")";
  }
  if (TakeWord("ORDER")) {
    ExpectWord("BY");
    for (bool first = true; first || TakeSymbol(","); first = false) {
      const Token at = Take();
      std::size_t column = 0;
      if (at.kind == TokenKind::kNumber) {
        column = static_cast<std::size_t>(std::strtoul(at.text.c_str(), nullptr, 10)) - 1;
      } else {
        const std::string name = AtSymbol(".") && AtName(1) ? (Take(), Take().text) : at.text;
        while (column < whole.columns.size() && !SameName(whole.columns[column].name, name)) ++column;
      }
      if (column >= whole.columns.size()) FailAt(at, "no such column in the UNION");
      whole.sql += (first ? " ORDER BY " : ", ") + std::to_string(column + 1);
      if (TakeWord("DESC"))
        whole.sql += " DESC";
      else
        TakeWord("ASC");
    }
  }
  --depth_;
  return whole;
}

void Translator::SkipToFrom() {
  int level = 0;
  for (; Peek().kind != TokenKind::kEnd; Take()) {
    if (AtSymbol("(")) ++level;
    if (AtSymbol(")") && --level < 0) return;
    if (level > 0 || AtSymbol(";")) {
      if (level == 0) return;
      continue;
    }
    if (AtWord("FROM") || AtWord("UNION") || AtWord("WHERE") || AtWord("ORDER") || AtWord("GROUP")) return;
  }
}

SelectPlan Translator::ParseSelect(QueryOptions options) {
  const Token selectToken = Peek();
  ExpectWord("SELECT");
  bool distinct = false;
  bool distinctRow = false;
  std::optional<std::int64_t> top;
  bool percent = false;
  for (;;) {
    if (TakeWord("ALL")) continue;
    if (TakeWord("DISTINCT")) {
      distinct = true;
    } else if (TakeWord("DISTINCTROW")) {
      distinctRow = true;
    } else if (AtWord("TOP") && Peek(1).kind == TokenKind::kNumber) {
      Take();
      const Token& count = Take();
      if (count.text.find_first_not_of("0123456789") != std::string::npos || count.text.size() > 9)
        FailAt(count, "whole number expected after TOP");
      top = std::stoll(count.text);
      percent = TakeWord("PERCENT");
      if (percent && *top > 100) FailAt(count, "at most 100 PERCENT");
    } else {
      break;
    }
  }

  Scope scope;
  scope.parent = scope_;
  const ScopeGuard guard(scope_, &scope);

  // What the columns mean stands in FROM: it is read first.
  const std::size_t listAt = position_;
  SkipToFrom();
  std::string from;
  if (TakeWord("FROM")) from = ParseFrom(scope);
  const std::size_t afterFrom = position_;
  position_ = listAt;
  std::vector<SelectItem> items = ParseSelectList(scope);
  if (TakeWord("INTO")) {
    if (!options.allowInto) Fail("INTO is not allowed here");
    into_ = ParseTarget("name of the new table");
    hasInto_ = true;
  }
  if (!from.empty() && !AtWord("FROM")) Fail("\",\" or FROM expected");
  if (!from.empty()) position_ = afterFrom;
  NameItems(scope, items);

  SelectPlan plan;
  bool plain = scope.sources.size() == 1 && scope.sources[0].table != nullptr && !distinct;
  std::string tail;
  if (TakeWord("WHERE")) {
    const Token at = Peek();
    const Expression where = ParseCondition();
    if (where.aggregate) FailAt(at, "an aggregate cannot stand in WHERE");
    tail += " WHERE " + AsCondition(where);
    plain = false;
  }
  std::vector<Expression> groups;
  bool grouped = false;
  if (AtWord("GROUP")) {
    Take();
    ExpectWord("BY");
    grouped = true;
    for (bool first = true; first || TakeSymbol(","); first = false) {
      groups.push_back(ParseExpression());
      tail += (first ? " GROUP BY " : ", ") + GroupTerm(groups.back());
    }
  }
  bool aggregated = grouped;
  for (const SelectItem& item : items) aggregated = aggregated || item.expression.aggregate;
  if (TakeWord("HAVING")) {
    const Token at = Peek();
    const Expression having = ParseCondition();
    CheckGrouping({SelectItem{having, "HAVING", false}}, groups, at);
    // Without an aggregate in the list SQLite wants a group to have a condition on.
    if (!aggregated) tail += " GROUP BY NULL";
    aggregated = true;
    tail += " HAVING " + AsCondition(having);
  }
  if (aggregated) CheckGrouping(items, groups, selectToken);

  const bool rowsOfSources = !aggregated && !distinct;
  std::string list;
  for (std::size_t i = 0; i < items.size(); ++i) {
    const Expression& e = items[i].expression;
    ResultColumn column;
    column.name = items[i].name;
    column.type = e.type;
    column.parameter = e.parameter;
    if (e.condition) column.type.type = ColumnType::kBoolean;
    if (e.source >= 0 && rowsOfSources && scope.sources[static_cast<std::size_t>(e.source)].table != nullptr) {
      column.source = e.source;
      column.column = e.column;
    }
    const bool later = column.source >= 0 && options.outermost && !distinctRow &&
                       IsReadFromRow(e.type.type, *scope.sources[static_cast<std::size_t>(e.source)].table);
    list += (i > 0 ? ", " : "") + (later ? "NULL" : Collated(e)) + " AS c" + std::to_string(i);
    plain = plain && column.source >= 0;
    plan.columns.push_back(std::move(column));
  }

  if (distinctRow && scope.sources.size() > 1 && rowsOfSources) {
    // One row for each combination of rows of the tables that give columns.
    std::set<int> used;
    for (const SelectItem& item : items) {
      if (item.expression.source >= 0) used.insert(item.expression.source);
    }
    bool possible = used.size() < scope.sources.size() && !used.empty();
    std::string by;
    for (const int source : used) {
      possible = possible && scope.sources[static_cast<std::size_t>(source)].table != nullptr;
      by += (by.empty() ? " GROUP BY " : ", ") + scope.sources[static_cast<std::size_t>(source)].sqlAlias + scope.identity;
    }
    if (possible) tail += by;
  }

  std::string order;
  std::string orderOfColumns;  // the same by the columns of the result
  std::size_t width = items.size();
  const bool ties = top && !percent && options.outermost;
  if (AtWord("ORDER") && options.orderAllowed) {
    Take();
    ExpectWord("BY");
    plain = false;
    for (const SelectItem& item : items) scope.outputs.emplace_back(FoldName(item.name), item.expression);
    for (bool first = true; first || TakeSymbol(","); first = false) {
      Expression key;
      const Token at = Peek();
      if (at.kind == TokenKind::kNumber && at.text.find_first_not_of("0123456789") == std::string::npos) {
        Take();
        const std::size_t column = std::strtoul(at.text.c_str(), nullptr, 10);
        if (column < 1 || column > items.size()) FailAt(at, "no such column to order by");
        key = items[column - 1].expression;
      } else {
        key = ParseExpression();
      }
      std::size_t same = 0;
      while (same < items.size() && items[same].expression.sql != key.sql) ++same;
      if (same == items.size() && distinct) FailAt(at, "with DISTINCT the order must be by columns of the list");
      if (aggregated && same == items.size()) CheckGrouping({SelectItem{key, "", false}}, groups, at);
      const std::string direction = TakeWord("DESC") ? " DESC" : "";
      if (direction.empty()) TakeWord("ASC");
      order += (first ? " ORDER BY " : ", ") + GroupTerm(key) + direction;
      orderOfColumns += (first ? " ORDER BY c" : ", c") + std::to_string(same) + direction;
      if (ties) {
        if (same == items.size() || IsReadFromRow(key.type.type, {})) {
          list += ", " + Collated(key) + " AS k" + std::to_string(width);
          same = width++;
        }
        plan.tieColumns.push_back(same);
      }
    }
  }
  if (TakeWord("WITH")) {
    ExpectWord("OWNERACCESS");
    ExpectWord("OPTION");
  }

  if (rowsOfSources && options.outermost && !distinctRow) {
    list += RowIdentities(scope, plan, width);
  } else {
    plain = false;
    for (ResultColumn& column : plan.columns) column.source = -1;
  }

  const auto rows = [&](const std::string& more) {
    return std::string("SELECT ") + (distinct ? "DISTINCT " : "") + list + more + (from.empty() ? "" : " FROM " + from) + tail;
  };
  plan.singleRow = (aggregated && !grouped) || from.empty();
  if (top && percent && order.empty()) {
    plan.sql = rows({});
    plan.sql += " LIMIT (SELECT (COUNT(*) * " + std::to_string(*top) + " + 99) / 100 FROM (" + plan.sql + "))";
    plain = false;
  } else if (top && !order.empty() && ties) {
    plan.sql = rows({}) + order;
    plan.limit = top;
  } else if (top && !order.empty()) {
    // Rows equal to the last one belong to it here too.
    std::string names;
    for (std::size_t i = 0; i < items.size(); ++i) names += (i > 0 ? ", c" : "c") + std::to_string(i);
    for (const SelectPlan::Source& source : plan.sources) {
      if (source.rowIdColumn >= 0) names += ", r" + std::to_string(source.rowIdColumn);
    }
    const std::string ranks =
        ", RANK() OVER (" + (distinct ? orderOfColumns : order) + ") AS place" + (percent ? ", COUNT(*) OVER () AS total" : "");
    const std::string ranked = distinct ? "SELECT *" + ranks + " FROM (" + rows({}) + ")" : rows(ranks);
    const std::string most = percent ? "(total * " + std::to_string(*top) + " + 99) / 100" : std::to_string(*top);
    plan.sql = "SELECT " + names + " FROM (" + ranked + ") WHERE place <= " + most + " ORDER BY place";
  } else if (top) {
    plan.sql = rows({}) + " LIMIT " + std::to_string(*top);
    plan.singleRow = plan.singleRow || *top <= 1;
    if (options.outermost) plan.limit = top;
  } else {
    plan.sql = rows({}) + order;
  }
  plan.plainScan = plain && plan.sources.size() == 1;
  return plan;
}

std::string Translator::RowIdentities(const Scope& scope, SelectPlan& plan, std::size_t firstColumn) const {
  std::string list;
  for (const ScopeSource& source : scope.sources) {
    SelectPlan::Source entry;
    entry.table = source.table;
    entry.optional = source.optional;
    if (source.table != nullptr) {
      entry.rowIdColumn = static_cast<int>(firstColumn);
      list += ", " + source.sqlAlias + scope.identity + " AS r" + std::to_string(firstColumn++);
    }
    plan.sources.push_back(std::move(entry));
  }
  return list;
}

void Translator::AddStar(const Scope& scope, std::size_t source, std::vector<SelectItem>& items) const {
  for (std::size_t i = 0; i < scope.sources[source].columns.size(); ++i) {
    SelectItem item;
    item.expression = ColumnOf(scope, source, i);
    item.name = scope.sources[source].columns[i].name;
    items.push_back(std::move(item));
  }
}

std::vector<Translator::SelectItem> Translator::ParseSelectList(Scope& scope) {
  std::vector<SelectItem> items;
  for (bool first = true; first || TakeSymbol(","); first = false) {
    if (items.size() > kMostColumns) throw TooMany("a query has at most 255 columns", Peek());
    if (AtSymbol("*")) {
      const Token star = Take();
      if (scope.sources.empty()) FailAt(star, "* without FROM");
      for (std::size_t i = 0; i < scope.sources.size(); ++i) AddStar(scope, i, items);
      continue;
    }
    if (AtName() && (AtSymbol(".", 1) || AtSymbol("!", 1)) && AtSymbol("*", 2)) {
      const Token name = Take();
      Take();
      Take();
      std::size_t source = 0;
      while (source < scope.sources.size() && scope.sources[source].folded != name.upper) ++source;
      if (source == scope.sources.size()) FailAt(name, "no such table in FROM");
      AddStar(scope, source, items);
      continue;
    }
    SelectItem item;
    item.expression = ParseExpression();
    if (TakeWord("AS")) {
      item.name = TakeName("name of the column");
      item.named = true;
      scope.outputs.emplace_back(FoldName(item.name), item.expression);
    } else {
      item.name = item.expression.name;
    }
    items.push_back(std::move(item));
  }
  if (items.size() > kMostColumns) throw TooMany("a query has at most 255 columns", Peek());
  return items;
}

void Translator::NameItems(const Scope& scope, std::vector<SelectItem>& items) {
  int unnamed = 1000;
  std::map<std::string, int> uses;
  for (const SelectItem& item : items) {
    if (!item.name.empty()) ++uses[FoldName(item.name)];
  }
  for (SelectItem& item : items) {
    if (item.name.empty()) {
      item.name = "Expr" + std::to_string(unnamed++);
    } else if (!item.named && uses[FoldName(item.name)] > 1 && item.expression.source >= 0 && scope.sources.size() > 1) {
      item.name = scope.sources[static_cast<std::size_t>(item.expression.source)].alias + "." + item.name;
    }
  }
}

std::string Translator::ParseFrom(Scope& scope) {
  std::string sql;
  std::vector<std::string> parts;
  for (bool first = true; first || TakeSymbol(","); first = false) parts.push_back(ParseJoined(scope, false));
  for (std::size_t i = 0; i < parts.size(); ++i) {
    const bool joined = parts.size() > 1 && parts[i].find(" JOIN ") != std::string::npos;
    if (joined) scope.identity = ".rid";
    sql += (i > 0 ? ", " : "") + (joined ? "(" + parts[i] + ")" : parts[i]);
  }
  return sql;
}

std::string Translator::ParseJoined(Scope& scope, bool optional) {
  if (++depth_ > 150) throw UnsupportedError("joins nested too deeply", Peek().position);
  const std::size_t firstSource = scope.sources.size();
  std::string sql = ParseTableFactor(scope);
  for (;;) {
    std::string kind;
    if (AtWord("INNER"))
      kind = "INNER";
    else if (AtWord("LEFT"))
      kind = "LEFT";
    else if (AtWord("RIGHT"))
      kind = "RIGHT";
    else if (AtWord("FULL"))
      throw UnsupportedError("FULL JOIN is not part of this language", Peek().position);
    else
      break;
    Take();
    if (kind != "INNER") TakeWord("OUTER");
    ExpectWord("JOIN");
    const std::size_t rightSource = scope.sources.size();
    const std::string right = ParseTableFactor(scope);
    ExpectWord("ON");
    const Expression on = ParseCondition();
    sql += " " + kind + " JOIN " + right + " ON " + AsCondition(on);
    for (std::size_t i = firstSource; i < scope.sources.size(); ++i) {
      if ((kind == "RIGHT" && i < rightSource) || (kind == "LEFT" && i >= rightSource)) scope.sources[i].optional = true;
    }
  }
  for (std::size_t i = firstSource; optional && i < scope.sources.size(); ++i) scope.sources[i].optional = true;
  --depth_;
  return sql;
}

std::string Translator::ParseAlias() {
  if (TakeWord("AS")) return TakeName("alias");
  if (Peek().kind == TokenKind::kBracketed || (Peek().kind == TokenKind::kWord && !EndsTable(Peek().upper))) return Take().text;
  return {};
}

std::string Translator::ParseTableFactor(Scope& scope) {
  if (scope.sources.size() >= kMostTables) throw TooMany("a FROM clause names at most 64 tables", Peek());
  if (AtSymbol("(")) {
    Take();
    if (AtWord("SELECT") || AtWord("TRANSFORM")) {
      SelectPlan plan;
      {
        const ScopeGuard guard(scope_, const_cast<Scope*>(scope.parent));
        plan = ParseQuery({.orderAllowed = true});
      }
      ExpectSymbol(")");
      std::string alias = ParseAlias();
      if (alias.empty()) alias = "%$##@_Alias" + std::to_string(nextAlias_);
      return AddQuery(scope, plan, alias);
    }
    std::string inner = ParseJoined(scope, false);
    ExpectSymbol(")");
    if (inner.find(" JOIN ") == std::string::npos) return inner;
    scope.identity = ".rid";
    return "(" + inner + ")";
  }
  const Token at = Peek();
  if (at.kind == TokenKind::kBracketed && AtSymbol(".", 1) && IsQueryText(at.text)) {  // [SELECT ...]. AS x
    Take();
    Take();
    SelectPlan plan;
    {
      const ScopeGuard guard(scope_, const_cast<Scope*>(scope.parent));
      plan = ParseOther(at.text, at);
    }
    std::string alias = ParseAlias();
    if (alias.empty()) alias = "%$##@_Alias" + std::to_string(nextAlias_);
    return AddQuery(scope, plan, alias);
  }
  std::string file;
  std::string name;
  if (at.kind == TokenKind::kText) {  // 'file'.table
    file = Take().text;
    ExpectSymbol(".");
    name = TakeName("name of the table");
  } else {
    name = TakeName("name of the table");
    if (AtSymbol(".") && AtName(1)) {  // [file].[table], [;DATABASE=file].[table]
      file = name;
      Take();
      name = Take().text;
      const std::size_t key = FoldName(file).find("DATABASE=");
      if (key != std::string::npos) file = file.substr(key + 9, file.find(';', key) - key - 9);
    }
  }
  if (AtWord("IN") && (Peek(1).kind == TokenKind::kText || Peek(1).kind == TokenKind::kBracketed)) {
    Take();
    const Token fileToken = Take();
    file = FileName(fileToken);
    if (file.empty() && Peek().kind == TokenKind::kBracketed) {  // IN "" [;DATABASE=file;]
      const std::string connect = Take().text;
      const std::size_t key = FoldName(connect).find("DATABASE=");
      if (key == std::string::npos) throw UnsupportedError("only other Access files can be named after IN", fileToken.position);
      file = connect.substr(key + 9, connect.find(';', key) - key - 9);
    }
  }
  return AddTable(scope, name, file, at);
}

std::string Translator::AddTable(Scope& scope, const std::string& name, const std::string& file, const Token& at) {
  TablePointer table = schema_.FindTable(name, file);
  if (table == nullptr) {
    const std::optional<std::string> query = file.empty() ? schema_.FindQuery(name) : std::nullopt;
    if (!query) throw NoSuchTable("no table or query \"" + name + "\" (at character " + std::to_string(at.position) + ")");
    const SelectPlan plan = StoredQuery(name, *query, at);
    const std::string alias = ParseAlias();
    return AddQuery(scope, plan, alias.empty() ? name : alias);
  }
  NoteRead(table);
  const std::string alias = ParseAlias();
  ScopeSource source;
  source.alias = alias.empty() ? table->name : alias;
  source.folded = FoldName(alias.empty() ? name : alias);
  source.sqlAlias = "s" + std::to_string(nextAlias_++);
  source.table = table;
  source.columns = table->columns;
  for (const ScopeSource& other : scope.sources) {
    if (other.folded == source.folded) FailAt(at, "the same name stands twice in FROM: give one of them an alias");
  }
  std::string sql = table->sqlName + " AS " + source.sqlAlias;
  scope.sources.push_back(std::move(source));
  return sql;
}

std::string Translator::AddQuery(Scope& scope, const SelectPlan& plan, const std::string& name) {
  ScopeSource source;
  source.alias = name;
  source.folded = FoldName(name);
  source.sqlAlias = "s" + std::to_string(nextAlias_++);
  for (const ResultColumn& column : plan.columns) source.columns.push_back({column.name, FoldName(column.name), column.type});
  std::string sql = "(" + plan.sql + ") AS " + source.sqlAlias;
  scope.sources.push_back(std::move(source));
  return sql;
}

// A query whose text stands elsewhere is translated in place: its tokens take the place of this statement's for a while.
SelectPlan Translator::ParseOther(const std::string& text, const Token& at) {
  const std::size_t outer = std::exchange(outerAt_, outerAt_ == 0 ? at.position : outerAt_);
  std::vector<Token> tokens = Tokenize(text);
  std::string source = text;
  std::swap(tokens, tokens_);
  std::swap(source, text_);
  const std::size_t position = std::exchange(position_, 0);
  if (AtWord("PARAMETERS")) ParseParameters();
  SelectPlan plan = ParseQuery({.orderAllowed = true});
  ExpectEnd();
  std::swap(tokens, tokens_);
  std::swap(source, text_);
  outerAt_ = outer;
  position_ = position;
  return plan;
}

SelectPlan Translator::StoredQuery(const std::string& name, const std::string& text, const Token& at) {
  const std::string folded = FoldName(name);
  if (std::find(openQueries_.begin(), openQueries_.end(), folded) != openQueries_.end()) {
    throw UnsupportedError("the query \"" + name + "\" uses itself", at.position);
  }
  openQueries_.push_back(folded);
  SelectPlan plan;
  {
    const ScopeGuard guard(scope_, nullptr);
    try {
      plan = ParseOther(text, at);
    } catch (const Error& error) {
      throw Error(error.Code(), "in the query \"" + name + "\": " + error.what());
    }
  }
  openQueries_.pop_back();
  return plan;
}

}  // namespace jet::sql
