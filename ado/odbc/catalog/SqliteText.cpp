#include "ado/odbc/catalog/SqliteText.h"

#include <algorithm>
#include <cctype>
#include <cstddef>
#include <initializer_list>
#include <utility>

#include "base/Blanks.h"
#include "runtime/Text.h"

namespace tamlo::ado::odbc {
namespace {

struct Piece {
  std::string word;  ///< upper-cased, for words; "" for what is quoted
  std::string name;  ///< without quotes
  char sign = '\0';  ///< one that is neither
  std::size_t begin = 0;
  std::size_t end = 0;
};

bool IsOfWord(char c) {
  const auto byte = static_cast<unsigned char>(c);
  return byte >= 0x80 || std::isalnum(byte) != 0 || c == '_' || c == '$';
}

std::size_t EndOfComment(std::string_view sql, std::size_t i) {
  const bool line = sql.substr(i, 2) == "--";
  if (!line && sql.substr(i, 2) != "/*") return i;
  const auto end = line ? sql.find('\n', i) : sql.find("*/", i + 2);
  if (end == std::string_view::npos) return sql.size();
  return line ? end : end + 2;
}

Piece QuotedAt(std::string_view sql, std::size_t begin) {
  const char close = sql[begin] == '[' ? ']' : sql[begin];
  Piece piece;
  piece.begin = begin;
  std::size_t i = begin + 1;
  for (; i < sql.size(); ++i) {
    if (sql[i] == close) {
      if (close == ']' || i + 1 == sql.size() || sql[i + 1] != close) break;
      ++i;
    }
    piece.name.push_back(sql[i]);
  }
  piece.end = std::min(i + 1, sql.size());
  return piece;
}

std::vector<Piece> Cut(std::string_view sql) {
  std::vector<Piece> pieces;
  for (std::size_t i = 0; i < sql.size();) {
    if (const auto end = EndOfComment(sql, i); end != i || base::IsWhite(sql[i])) {
      i = std::max(end, i + 1);
      continue;
    }
    Piece piece;
    piece.begin = i;
    piece.end = i + 1;
    if (std::string_view("'\"`[").find(sql[i]) != std::string_view::npos) {
      piece = QuotedAt(sql, i);
    } else if (IsOfWord(sql[i])) {
      while (piece.end < sql.size() && IsOfWord(sql[piece.end])) ++piece.end;
      piece.name = sql.substr(i, piece.end - i);
      piece.word = runtime::UpperCase(piece.name);
    } else {
      piece.sign = sql[i];
    }
    i = piece.end;
    pieces.push_back(std::move(piece));
  }
  return pieces;
}

using Pieces = std::vector<Piece>;

bool IsWord(const Pieces& pieces, std::size_t at, std::string_view word) { return at < pieces.size() && pieces[at].word == word; }
bool IsSign(const Pieces& pieces, std::size_t at, char sign) { return at < pieces.size() && pieces[at].sign == sign; }

/// Behind the bracket that closes the one at this place.
std::size_t Behind(const Pieces& pieces, std::size_t at) {
  int depth = 0;
  for (; at < pieces.size(); ++at) {
    if (pieces[at].sign == '(') ++depth;
    if (pieces[at].sign == ')' && --depth == 0) return at + 1;
  }
  return at;
}

/// Behind CREATE [TEMP] what [IF NOT EXISTS] [schema.]name; 0 for another statement.
std::size_t BehindName(const Pieces& pieces, std::string_view what) {
  std::size_t at = 0;
  if (!IsWord(pieces, at++, "CREATE")) return 0;
  if (IsWord(pieces, at, "TEMP") || IsWord(pieces, at, "TEMPORARY")) ++at;
  if (!IsWord(pieces, at++, what)) return 0;
  if (IsWord(pieces, at, "IF")) at += 3;
  ++at;
  if (IsSign(pieces, at, '.')) at += 2;
  return std::min(at, pieces.size());
}

/// The first name of each part of the list in brackets that begins at this place.
std::vector<KeyColumn> Names(const Pieces& pieces, std::size_t at) {
  std::vector<KeyColumn> names;
  const std::size_t end = Behind(pieces, at);
  int depth = 0;
  for (; at < end; ++at) {
    const bool begins = IsSign(pieces, at, '(') && ++depth == 1;
    if (IsSign(pieces, at, ')')) --depth;
    if ((begins || (depth == 1 && IsSign(pieces, at, ','))) && at + 1 < end) names.push_back({pieces[at + 1].name, {}});
  }
  return names;
}

/// The constraint that begins behind its name; of a column where it stands in the definition of one.
bool ReadConstraint(const Pieces& pieces, std::size_t at, const std::string& column, Key& key) {
  const bool primary = IsWord(pieces, at, "PRIMARY");
  const bool foreign = IsWord(pieces, at, "FOREIGN") || IsWord(pieces, at, "REFERENCES");
  if (!primary && !foreign && !IsWord(pieces, at, "UNIQUE")) return false;
  key.type = primary ? adKeyPrimary : foreign ? adKeyForeign : adKeyUnique;
  if (!column.empty()) {
    key.columns = {{column, {}}};
    return true;
  }
  while (at < pieces.size() && pieces[at].sign != '(') ++at;
  key.columns = Names(pieces, at);
  return true;
}

bool BeginsConstraint(const Piece& piece) {
  const std::initializer_list<std::string_view> words{"CONSTRAINT", "PRIMARY", "UNIQUE", "FOREIGN", "CHECK"};
  return std::find(words.begin(), words.end(), piece.word) != words.end();
}

}  // namespace

std::vector<Key> NamedConstraints(std::string_view createTable) {
  const Pieces pieces = Cut(createTable);
  std::vector<Key> keys;
  const std::size_t list = BehindName(pieces, "TABLE");
  if (list == 0 || !IsSign(pieces, list, '(')) return keys;
  const std::size_t end = Behind(pieces, list);
  std::string column;
  for (std::size_t at = list + 1; at < end; ++at) {
    const bool begins = at == list + 1 || IsSign(pieces, at - 1, ',');
    if (begins) column = BeginsConstraint(pieces[at]) ? std::string() : pieces[at].name;
    if (IsWord(pieces, at, "CONSTRAINT")) {
      Key key;
      if (++at < end) key.name = pieces[at].name;
      if (ReadConstraint(pieces, at + 1, column, key)) keys.push_back(std::move(key));
    } else if (IsSign(pieces, at, '(')) {
      at = Behind(pieces, at) - 1;
    }
  }
  return keys;
}

std::string QueryOfView(std::string_view createView) {
  const Pieces pieces = Cut(createView);
  std::size_t at = BehindName(pieces, "VIEW");
  if (at == 0) return {};
  const Piece& name = pieces[at - 1];
  std::string head;
  std::string tail;
  if (IsSign(pieces, at, '(')) {
    const std::size_t behind = Behind(pieces, at);
    const std::string title(createView.substr(name.begin, name.end - name.begin));
    const std::size_t begin = pieces[at].begin;
    head = "WITH " + title + std::string(createView.substr(begin, pieces[behind - 1].end - begin)) + " AS (";
    tail = "\n) SELECT * FROM " + title;
    at = behind;
  }
  if (!IsWord(pieces, at, "AS")) return {};
  return head + std::string(runtime::Trim(createView.substr(pieces[at].end))) + tail;
}

}  // namespace tamlo::ado::odbc
