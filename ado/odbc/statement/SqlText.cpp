#include "ado/odbc/statement/SqlText.h"

#include <algorithm>
#include <array>
#include <cctype>

#include "base/Blanks.h"
#include "runtime/Text.h"

namespace tamlo::ado::odbc {
namespace {

/// A piece of a statement: a word, a quoted name or text, or one other character. Blanks and comments are not pieces.
struct Piece {
  enum class Kind { kWord, kQuoted, kOther, kComment };
  Kind kind = Kind::kOther;
  std::size_t begin = 0;
  std::size_t end = 0;
};

bool IsWordCharacter(char c) {
  const auto byte = static_cast<unsigned char>(c);
  return byte >= 0x80 || std::isalnum(byte) != 0 || c == '_' || c == '$' || c == '#' || c == '@';
}

std::size_t EndOfQuoted(std::string_view sql, std::size_t begin) {
  const char close = sql[begin] == '[' ? ']' : sql[begin];
  for (std::size_t i = begin + 1; i < sql.size(); ++i) {
    if (sql[i] != close) continue;
    if (i + 1 < sql.size() && sql[i + 1] == close) {
      ++i;
    } else {
      return i + 1;
    }
  }
  return sql.size();
}

/// Length of the comment that begins here, 0 for none. "--" counts only before a blank or the end: elsewhere it is two minus signs.
std::size_t CommentLength(std::string_view rest) {
  if (rest.starts_with("--") && (rest.size() == 2 || base::IsWhite(rest[2]))) {
    const auto end = rest.find('\n');
    return end == std::string_view::npos ? rest.size() : end;
  }
  if (!rest.starts_with("/*") || (rest.size() > 2 && (rest[2] == '!' || rest[2] == '+'))) return 0;
  const auto end = rest.find("*/", 2);
  return end == std::string_view::npos ? rest.size() : end + 2;
}

std::vector<Piece> Cut(std::string_view sql) {
  std::vector<Piece> pieces;
  std::size_t i = 0;
  while (i < sql.size()) {
    if (base::IsWhite(sql[i])) {
      ++i;
      continue;
    }
    Piece piece{Piece::Kind::kOther, i, i + 1};
    if (const auto comment = CommentLength(sql.substr(i))) {
      piece = {Piece::Kind::kComment, i, i + comment};
    } else if (sql[i] == '\'' || sql[i] == '"' || sql[i] == '`' || sql[i] == '[') {
      piece = {Piece::Kind::kQuoted, i, EndOfQuoted(sql, i)};
    } else if (IsWordCharacter(sql[i])) {
      piece.kind = Piece::Kind::kWord;
      while (piece.end < sql.size() && IsWordCharacter(sql[piece.end])) ++piece.end;
    }
    pieces.push_back(piece);
    i = piece.end;
  }
  return pieces;
}

/// Reads over the pieces of a statement, comments left out.
class Scanner {
 public:
  explicit Scanner(std::string_view sql) : sql_(sql), pieces_(Cut(sql)) {
    std::erase_if(pieces_, [](const Piece& piece) { return piece.kind == Piece::Kind::kComment; });
  }

  [[nodiscard]] bool AtEnd() const { return at_ >= pieces_.size(); }
  [[nodiscard]] bool IsWord(std::string_view upper) const {
    return !AtEnd() && pieces_[at_].kind == Piece::Kind::kWord && runtime::UpperCase(Text()) == upper;
  }
  [[nodiscard]] bool IsCharacter(char c) const {
    return !AtEnd() && pieces_[at_].kind == Piece::Kind::kOther && sql_[pieces_[at_].begin] == c;
  }
  [[nodiscard]] bool IsName() const { return !AtEnd() && pieces_[at_].kind != Piece::Kind::kOther && sql_[pieces_[at_].begin] != '\''; }
  [[nodiscard]] std::string_view Text() const { return sql_.substr(pieces_[at_].begin, pieces_[at_].end - pieces_[at_].begin); }
  [[nodiscard]] std::size_t Begin() const { return pieces_[at_].begin; }
  [[nodiscard]] std::size_t PreviousEnd() const { return pieces_[at_ - 1].end; }
  void Skip() { ++at_; }

 private:
  std::string_view sql_;
  std::vector<Piece> pieces_;
  std::size_t at_ = 0;
};

bool IsAnyWord(const Scanner& scanner, std::initializer_list<std::string_view> words) {
  return std::any_of(words.begin(), words.end(), [&](std::string_view word) { return scanner.IsWord(word); });
}

/// Walks to the next of the words outside of brackets; false at the end.
bool SkipTo(Scanner& scanner, std::initializer_list<std::string_view> words) {
  int depth = 0;
  for (; !scanner.AtEnd(); scanner.Skip()) {
    if (scanner.IsCharacter('(')) ++depth;
    if (scanner.IsCharacter(')')) --depth;
    if (depth == 0 && IsAnyWord(scanner, words)) return true;
  }
  return false;
}

}  // namespace

std::optional<std::string> BaseTableOf(std::string_view sql) {
  Scanner scanner(sql);
  if (!scanner.IsWord("SELECT")) return std::nullopt;
  scanner.Skip();
  if (scanner.IsWord("DISTINCT") || !SkipTo(scanner, {"FROM"})) return std::nullopt;
  scanner.Skip();
  if (!scanner.IsName()) return std::nullopt;
  const std::size_t begin = scanner.Begin();
  scanner.Skip();
  while (scanner.IsCharacter('.')) {
    scanner.Skip();
    if (!scanner.IsName()) return std::nullopt;
    scanner.Skip();
  }
  const std::size_t end = scanner.PreviousEnd();
  if (scanner.IsWord("AS")) scanner.Skip();
  const auto endsTable = {std::string_view("WHERE"), std::string_view("ORDER"),  std::string_view("LIMIT"),
                          std::string_view("FOR"),   std::string_view("OFFSET"), std::string_view("FETCH")};
  if (!scanner.AtEnd() && scanner.IsName() && !IsAnyWord(scanner, endsTable)) {
    if (IsAnyWord(scanner,
                  {"JOIN", "INNER", "LEFT", "RIGHT", "FULL", "CROSS", "NATURAL", "GROUP", "HAVING", "UNION", "INTERSECT", "EXCEPT"})) {
      return std::nullopt;
    }
    scanner.Skip();  // an alias
  }
  const bool whole = scanner.AtEnd() || scanner.IsCharacter(';') || IsAnyWord(scanner, endsTable);
  if (!whole || SkipTo(scanner, {"GROUP", "HAVING", "UNION", "INTERSECT", "EXCEPT"})) return std::nullopt;
  return std::string(sql.substr(begin, end - begin));
}

std::string PlainName(std::string_view tableText) {
  const auto pieces = Cut(tableText);
  if (pieces.empty()) return {};
  const Piece& last = pieces.back();
  std::string_view text = tableText.substr(last.begin, last.end - last.begin);
  if (last.kind != Piece::Kind::kQuoted || text.size() < 2) return std::string(text);
  const char close = text.back();
  text = text.substr(1, text.size() - 2);
  std::string name;
  for (std::size_t i = 0; i < text.size(); ++i) {
    name.push_back(text[i]);
    if (text[i] == close && i + 1 < text.size() && text[i + 1] == close) ++i;
  }
  return name;
}

std::string WithoutComments(std::string_view sql) {
  if (sql.find("--") == std::string_view::npos && sql.find("/*") == std::string_view::npos) return std::string(sql);
  std::string out;
  std::size_t copied = 0;
  for (const auto& piece : Cut(sql)) {
    if (piece.kind != Piece::Kind::kComment) continue;
    out += sql.substr(copied, piece.begin - copied);
    out += ' ';
    copied = piece.end;
  }
  return out += sql.substr(copied);
}

std::string WithoutWideLiterals(std::string_view sql, std::vector<std::string>& values, std::vector<std::size_t>* marksBefore) {
  const auto isWide = [](std::string_view text) {
    return std::any_of(text.begin(), text.end(), [](char c) { return static_cast<unsigned char>(c) >= 0xF0; });
  };
  if (!isWide(sql)) return std::string(sql);
  std::string out;
  std::size_t copied = 0;
  std::size_t marks = 0;
  for (const auto& piece : Cut(sql)) {
    const std::string_view text = sql.substr(piece.begin, piece.end - piece.begin);
    if (piece.kind == Piece::Kind::kOther && text == "?") ++marks;
    const bool literal = piece.kind == Piece::Kind::kQuoted && (text.front() == '\'' || text.front() == '"');
    if (!literal || !isWide(text)) continue;
    out += sql.substr(copied, piece.begin - copied);
    out += '?';
    copied = piece.end;
    values.push_back(PlainName(text));
    if (marksBefore != nullptr) marksBefore->push_back(marks);
  }
  return out += sql.substr(copied);
}

bool IsSingleChangeOrQuery(std::string_view sql) {
  Scanner scanner(sql);
  if (!IsAnyWord(scanner, {"INSERT", "REPLACE", "UPDATE", "DELETE", "SELECT", "WITH"})) return false;
  // A backslash may hide the end of a literal from the scanner: there any semicolon counts.
  if (sql.find('\\') != std::string_view::npos) return sql.find(';') == std::string_view::npos;
  while (!scanner.AtEnd() && !scanner.IsCharacter(';')) scanner.Skip();
  if (!scanner.AtEnd()) scanner.Skip();
  return scanner.AtEnd();
}

TransactionEffect EffectOnTransaction(std::string_view sql) {
  std::size_t begin = 0;
  while (begin < sql.size()) {
    const std::size_t comment = CommentLength(sql.substr(begin));
    if (comment == 0 && !base::IsWhite(sql[begin]) && sql[begin] != '(') break;
    begin += std::max<std::size_t>(comment, 1);
  }
  std::size_t end = begin;
  while (end < sql.size() && IsWordCharacter(sql[end])) ++end;
  const std::string word = runtime::UpperCase(sql.substr(begin, end - begin));
  const auto isAny = [&](std::initializer_list<std::string_view> words) {
    return std::find(words.begin(), words.end(), word) != words.end();
  };
  if (isAny({"INSERT", "REPLACE", "UPDATE", "DELETE", "SELECT", "WITH", "SHOW", "DESCRIBE", "EXPLAIN", "SET", "USE"})) {
    return TransactionEffect::kNone;
  }
  if (isAny({"CREATE", "ALTER", "DROP", "RENAME", "TRUNCATE"})) return TransactionEffect::kEnds;
  if (!isAny({"COMMIT", "ROLLBACK"})) return TransactionEffect::kMayOpen;
  Scanner scanner(sql.substr(end));
  for (; !scanner.AtEnd(); scanner.Skip()) {
    if (IsAnyWord(scanner, {"TO", "CHAIN"})) return TransactionEffect::kMayOpen;
  }
  return TransactionEffect::kEnds;
}

std::optional<std::string_view> QueryOf(std::string_view sql) {
  Scanner scanner(sql);
  const bool with = scanner.IsWord("WITH");
  if (!with && !IsAnyWord(scanner, {"SELECT", "VALUES"})) return std::nullopt;
  std::size_t end = 0;
  for (; !scanner.AtEnd() && !scanner.IsCharacter(';'); scanner.Skip()) {
    if (scanner.IsWord("INTO") || (with && IsAnyWord(scanner, {"INSERT", "UPDATE", "DELETE", "MERGE", "REPLACE"}))) return std::nullopt;
    end = scanner.Begin() + scanner.Text().size();
  }
  while (scanner.IsCharacter(';')) scanner.Skip();
  if (!scanner.AtEnd()) return std::nullopt;
  return sql.substr(0, end);
}

bool ChangesSchema(std::string_view sql) {
  Scanner scanner(sql);
  if (IsAnyWord(scanner, {"CREATE", "ALTER", "DROP", "RENAME"})) return true;
  return scanner.IsWord("SELECT") && SkipTo(scanner, {"INTO"});
}

bool MakesProgram(std::string_view sql) {
  constexpr std::size_t kBeginning = 1000;
  Scanner scanner(sql.substr(0, kBeginning));
  if (!IsAnyWord(scanner, {"CREATE", "ALTER"})) return false;
  scanner.Skip();
  if (scanner.IsWord("OR")) {
    scanner.Skip();
    scanner.Skip();
  }
  const std::initializer_list<std::string_view> programs{"TRIGGER", "PROCEDURE", "FUNCTION", "EVENT", "PACKAGE"};
  if (scanner.IsWord("DEFINER")) return SkipTo(scanner, programs);
  if (scanner.IsWord("AGGREGATE")) scanner.Skip();
  return IsAnyWord(scanner, programs);
}

}  // namespace tamlo::ado::odbc
