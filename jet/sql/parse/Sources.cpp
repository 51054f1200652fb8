// FROM: tables, queries and joins.
#include <set>

#include "jet/sql/Names.h"
#include "jet/sql/parse/Parser.h"

namespace jet::sql::syntax {

namespace {

constexpr int kDeepestJoin = 150;

// Words that end a table name and cannot be its alias.
bool EndsTable(const std::string& word) {
  static const std::set<std::string, std::less<>> kWords = {"INNER", "LEFT",  "RIGHT",  "FULL",  "CROSS",  "OUTER", "JOIN",
                                                            "ON",    "WHERE", "GROUP",  "ORDER", "HAVING", "UNION", "SET",
                                                            "IN",    "WITH",  "SELECT", "INTO",  "VALUES", "AS",    "PIVOT"};
  return kWords.contains(word);
}

// What stands in the brackets of "[SELECT ...]." is a query and no name.
bool IsQueryText(std::string_view text) {
  const std::size_t begin = text.find_first_not_of(" \t\r\n(");
  return begin != std::string_view::npos && FoldName(text.substr(begin, 6)) == "SELECT" && text.size() > begin + 6 &&
         std::string_view(" \t\r\n*[").find(text[begin + 6]) != std::string_view::npos;
}

// The file in "[;DATABASE=path;...]"; nothing without the word.
std::optional<std::string> DatabaseIn(const std::string& connect) {
  const std::size_t key = FoldName(connect).find("DATABASE=");
  if (key == std::string::npos) return std::nullopt;
  return connect.substr(key + 9, connect.find(';', key) - key - 9);
}

}  // namespace

From Parser::Sources() {
  From from;
  for (bool first = true; first || TakeSymbol(","); first = false) from.push_back(Joins());
  return from;
}

std::optional<JoinKind> Parser::JoinAhead() const {
  if (AtWord("INNER")) return JoinKind::kInner;
  if (AtWord("LEFT")) return JoinKind::kLeft;
  if (AtWord("RIGHT")) return JoinKind::kRight;
  if (AtWord("FULL")) throw UnsupportedError("FULL JOIN is not part of this language", Peek().position);
  return std::nullopt;
}

Joined Parser::Joins() {
  Deepen(kDeepestJoin, "joins nested too deeply", Peek().position);
  Joined joined;
  joined.first = TableFactor();
  while (const std::optional<JoinKind> kind = JoinAhead()) {
    Join join;
    join.kind = *kind;
    Take();
    if (*kind != JoinKind::kInner) TakeWord("OUTER");
    ExpectWord("JOIN");
    join.right = TableFactor();
    ExpectWord("ON");
    join.on = Conditional();
    joined.joins.push_back(std::move(join));
  }
  --depth_;
  return joined;
}

std::string Parser::Alias() {
  if (TakeWord("AS")) return TakeName("alias");
  if (Peek().kind == TokenKind::kBracketed || (Peek().kind == TokenKind::kWord && !EndsTable(Peek().upper))) return Take().text;
  return {};
}

Factor Parser::FactorInParentheses() {
  Factor factor;
  Take();
  if (AtWord("SELECT") || AtWord("TRANSFORM")) {
    QueryInFrom inner;
    inner.query = Rows();
    ExpectSymbol(")");
    inner.alias = Alias();
    factor.what = std::move(inner);
    return factor;
  }
  factor.what = std::make_unique<Joined>(Joins());
  ExpectSymbol(")");
  return factor;
}

Factor Parser::TableFactor() {
  const Spot at = Here();
  Factor factor;
  if (AtSymbol("(")) {
    factor = FactorInParentheses();
  } else if (Peek().kind == TokenKind::kBracketed && AtSymbol(".", 1) && IsQueryText(Peek().text)) {
    QuotedQuery quoted;
    quoted.at = at;
    quoted.depth = depth_;
    quoted.text = Take().text;
    Take();
    quoted.alias = Alias();
    factor.what = std::move(quoted);
  } else {
    factor.what = Table();
  }
  factor.position = at.position;
  return factor;
}

TableName Parser::Table() {
  TableName table;
  table.at = Here();
  table.depth = depth_;
  if (Peek().kind == TokenKind::kText) {  // 'file'.table
    table.file = Take().text;
    ExpectSymbol(".");
    table.name = TakeName("name of the table");
  } else {
    table.name = TakeName("name of the table");
    if (AtSymbol(".") && AtName(1)) {  // [file].[table], [;DATABASE=file].[table]
      table.file = DatabaseIn(table.name).value_or(table.name);
      Take();
      table.name = Take().text;
    }
  }
  if (AtWord("IN") && (Peek(1).kind == TokenKind::kText || Peek(1).kind == TokenKind::kBracketed)) table.file = OtherFile();
  table.alias = Alias();
  return table;
}

// IN "file", IN "" [;DATABASE=file;]
std::string Parser::OtherFile() {
  Take();
  const Token& token = Take();
  std::string file = FileName(token);
  if (!file.empty() || Peek().kind != TokenKind::kBracketed) return file;
  const std::optional<std::string> named = DatabaseIn(Take().text);
  if (!named) throw UnsupportedError("only other Access files can be named after IN", token.position);
  return *named;
}

}  // namespace jet::sql::syntax
