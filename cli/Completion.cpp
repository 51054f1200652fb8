#include "cli/Completion.h"

#include <algorithm>
#include <array>
#include <set>

#include "base/Case.h"
#include "base/Utf8.h"
#include "cli/ServerRows.h"
#include "runtime/Error.h"

namespace tamlo::cli {
namespace {

constexpr std::array kCommands{".columns", ".format", ".help", ".quit", ".tables"};

constexpr std::array kWords{
    "ADD",      "ALL",        "ALTER",  "AND",      "AS",     "ASC",       "AVG",    "BEGIN",   "BETWEEN", "BY",     "CASCADE",
    "CASE",     "CAST",       "CHECK",  "COLUMN",   "COMMIT", "COUNT",     "CREATE", "CROSS",   "DEFAULT", "DELETE", "DESC",
    "DISTINCT", "DROP",       "ELSE",   "END",      "EXCEPT", "EXISTS",    "FALSE",  "FOREIGN", "FROM",    "FULL",   "GROUP",
    "HAVING",   "IN",         "INDEX",  "INNER",    "INSERT", "INTERSECT", "INTO",   "IS",      "JOIN",    "KEY",    "LEFT",
    "LIKE",     "LIMIT",      "MAX",    "MIN",      "NOT",    "NULL",      "OFFSET", "ON",      "OR",      "ORDER",  "OUTER",
    "PRIMARY",  "REFERENCES", "RIGHT",  "ROLLBACK", "SELECT", "SET",       "SUM",    "TABLE",   "THEN",    "TOP",    "TRANSACTION",
    "TRUE",     "UNION",      "UNIQUE", "UPDATE",   "USING",  "VALUES",    "VIEW",   "WHEN",    "WHERE",   "WITH"};

/// Behind these stands a table.
constexpr std::array kBeforeTables{"FROM", "JOIN", "INTO", "UPDATE", "TABLE"};

bool IsWord(std::string_view text) {
  const std::string upper = base::UpperCase(text);
  return std::find(kWords.begin(), kWords.end(), upper) != kWords.end();
}

bool IsNameSign(char c) {
  return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') || c == '_' || static_cast<unsigned char>(c) >= 0x80;
}

bool BeginsWith(std::string_view name, std::string_view start) {
  return base::SameName(base::FirstCharacters(name, base::CountCharacters(start)), start);
}

/// A word of a statement as written there, and without its quotes.
struct Token {
  std::string name;
  bool quoted = false;
};

/// Words and names; what else stands there is a token of one sign.
std::vector<Token> TokensOf(std::string_view text) {
  std::vector<Token> tokens;
  for (std::size_t at = 0; at < text.size();) {
    const char c = text[at];
    std::size_t end = at + 1;
    if (c == '[' || c == '"' || c == '`' || c == '\'') {
      end = std::min(text.find(c == '[' ? ']' : c, at + 1), text.size());
      tokens.push_back({std::string(text.substr(at + 1, end - at - 1)), true});
      ++end;
    } else if (IsNameSign(c) || c == '.') {
      while (c != '.' && end < text.size() && IsNameSign(text[end])) ++end;
      // A command of the shell is one word.
      if (c == '.' && at == 0)
        while (end < text.size() && IsNameSign(text[end])) ++end;
      tokens.push_back({std::string(text.substr(at, end - at)), false});
    } else if (c != ' ' && c != '\t' && c != '\n' && c != '\r') {
      tokens.push_back({std::string(1, c), false});
    }
    at = end;
  }
  return tokens;
}

bool IsOf(const Token& token, std::string_view word) { return !token.quoted && base::SameName(token.name, word); }

/// The name as a statement has to write it.
std::string Written(const std::string& name, std::optional<schema::Engine> engine) {
  bool plain = !name.empty() && !IsWord(name) && !(name.front() >= '0' && name.front() <= '9');
  for (const char c : name) {
    const bool capital = c >= 'A' && c <= 'Z';
    plain = plain && IsNameSign(c) && static_cast<unsigned char>(c) < 0x80 && !(capital && engine == schema::Engine::kPostgreSql);
  }
  return plain ? name : schema::Quoted(schema::DialectOf(engine.value_or(schema::Engine::kPostgreSql)), name);
}

}  // namespace

const schema::Database& Completion::Known() {
  if (known_) return *known_;
  known_.emplace();
  try {
    known_ = ReadStructure(opened_, {.values = false, .counts = false});
  } catch (const std::exception&) {
    // In a transaction that a server has given up nothing can be read: there are words all the same.
  }
  return *known_;
}

void Completion::AddColumns(const std::vector<std::string>& tables, std::vector<std::string>& names) {
  for (const auto& table : Known().tables) {
    const bool wanted = tables.empty() || std::any_of(tables.begin(), tables.end(),
                                                      [&](const std::string& name) { return base::SameName(name, table.name); });
    if (!wanted) continue;
    for (const auto& column : table.columns) names.push_back(column.name);
  }
}

/// The columns of a table, or of what the statement calls so: "FROM Clients AS c".
std::vector<std::string> Completion::Columns(std::string_view owner, std::string_view statement) {
  std::vector<std::string> names;
  AddColumns({std::string(owner)}, names);
  if (!names.empty()) return names;
  const auto tokens = TokensOf(statement);
  for (std::size_t i = 0; i + 1 < tokens.size(); ++i) {
    std::size_t alias = i + 1;
    if (IsOf(tokens[alias], "AS") && alias + 1 < tokens.size()) ++alias;
    if (base::SameName(tokens[alias].name, owner)) AddColumns({tokens[i].name}, names);
  }
  return names;
}

void Completion::AddTables(std::vector<std::string>& names) {
  const auto& database = Known();
  for (const auto& table : database.tables) names.push_back(table.name);
  for (const auto& query : database.queries) names.push_back(query.name);
  for (const auto& link : database.links) names.push_back(link.name);
}

/// Where any expression may stand: the columns of the tables that the statement names, and what fits of the rest. Without a beginning all
/// names there are would be shown.
std::vector<std::string> Completion::AnyName(const std::string& statement, bool begun) {
  std::vector<std::string> names;
  std::vector<std::string> tables;
  for (const auto& token : TokensOf(statement)) {
    const auto same = [&](const auto& table) { return base::SameName(table.name, token.name); };
    if (std::any_of(Known().tables.begin(), Known().tables.end(), same)) tables.push_back(token.name);
  }
  if (!tables.empty() || begun) AddColumns(tables, names);
  if (begun) AddTables(names);
  return names;
}

LineReader::Completion Completion::At(std::string_view before, const StatementText& begun) {
  const std::string earlier = begun.Text();
  StatementText here = begun;
  (void)here.Take(before);
  const char open = here.Open();
  LineReader::Completion found;
  std::size_t from = before.size();
  const bool quoted = open == '"' || open == ']' || open == '`';
  if (quoted) {
    const auto quote = before.rfind(open == ']' ? '[' : open);
    if (quote == std::string_view::npos) return found;
    from = quote;
  } else {
    while (from > 0 && IsNameSign(before[from - 1])) --from;
  }
  const bool command = earlier.empty() && before.starts_with('.');
  if (command && before.find(' ') == std::string_view::npos) from = 0;
  const std::string_view typed = before.substr(from);
  const std::string_view start = quoted ? typed.substr(1) : typed;
  found.from = from;
  found.literal = open == '\'' || open == '$' || open == '*' || before.find_first_not_of(" \t") == std::string_view::npos;
  if (found.literal) return found;

  std::vector<std::string> names;
  std::vector<std::string> words;
  const std::string statement = earlier + std::string(before.substr(0, from));
  const auto tokens = TokensOf(statement);
  const auto isLast = [&](std::string_view word) { return !tokens.empty() && IsOf(tokens.back(), word); };
  if (command && from == 0) {
    words.assign(kCommands.begin(), kCommands.end());
  } else if (command && before.starts_with(".format")) {
    words = {"csv", "json", "jsonl", "sql", "table", "tsv"};
  } else if (from > 0 && before[from - 1] == '.' && tokens.size() > 1) {
    names = Columns(tokens[tokens.size() - 2].name, statement);
  } else if (command || std::any_of(kBeforeTables.begin(), kBeforeTables.end(), isLast)) {
    AddTables(names);
  } else {
    names = AnyName(statement, !start.empty());
    if (!start.empty() && !quoted) words.assign(kWords.begin(), kWords.end());
  }
  std::set<std::string> all;
  const bool small = std::any_of(start.begin(), start.end(), [](char c) { return c >= 'a' && c <= 'z'; });
  for (const auto& name : names)
    if (BeginsWith(name, start)) {
      const auto& dialect = schema::DialectOf(opened_.engine.value_or(schema::Engine::kPostgreSql));
      all.insert(command ? name : quoted ? schema::Quoted(dialect, name) : Written(name, opened_.engine));
    }
  for (const auto& word : words)
    if (BeginsWith(word, start)) all.insert(small ? base::LowerCase(word) : word);
  found.words.assign(all.begin(), all.end());
  return found;
}

}  // namespace tamlo::cli
