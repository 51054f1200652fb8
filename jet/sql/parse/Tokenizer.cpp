#include "jet/sql/parse/Tokenizer.h"

#include "base/Utf8.h"
#include "jet/sql/Names.h"

namespace jet::sql {

namespace {

bool IsBlank(char c) { return c == ' ' || c == '\t' || c == '\r' || c == '\n' || c == '\f' || c == '\v'; }
bool IsDigit(char c) { return c >= '0' && c <= '9'; }
bool IsHexDigit(char c) { return IsDigit(c) || (c >= 'A' && c <= 'F') || (c >= 'a' && c <= 'f'); }
bool StartsName(char c) {
  return (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z') || c == '_' || c == '$' || c == '@' || static_cast<unsigned char>(c) >= 0x80;
}
bool ContinuesName(char c) { return StartsName(c) || IsDigit(c); }

class Cutter {
 public:
  explicit Cutter(std::string_view text) : text_(text) {}

  std::vector<Token> Run() {
    for (;;) {
      while (offset_ < text_.size() && IsBlank(text_[offset_])) Step(1);
      Token token;
      token.position = position_;
      token.offset = offset_;
      if (offset_ == text_.size()) {
        token.end = offset_;
        tokens_.push_back(std::move(token));
        return std::move(tokens_);
      }
      Cut(token);
      token.end = offset_;
      tokens_.push_back(std::move(token));
    }
  }

 private:
  // Moves on by bytes; a position counts characters.
  void Step(std::size_t bytes) {
    for (; bytes > 0; --bytes, ++offset_) {
      if (!base::IsInsideCharacter(text_[offset_])) ++position_;
    }
  }

  [[nodiscard]] char At(std::size_t ahead = 0) const { return offset_ + ahead < text_.size() ? text_[offset_ + ahead] : '\0'; }

  void Cut(Token& token) {
    const char c = At();
    if (c == '\'' || c == '"') return CutText(token, c);
    if (c == '[') return CutName(token, ']');
    if (c == '`') return CutName(token, '`');
    if (c == '#') return CutDate(token);
    if (c == '{') return CutGuid(token);
    if (IsDigit(c) || (c == '.' && IsDigit(At(1)) && !FollowsName())) return CutNumber(token);
    if (c == '&' && (At(1) == 'H' || At(1) == 'h') && IsHexDigit(At(2)) && !FollowsOperand()) return CutHex(token);
    if (StartsName(c)) return CutWord(token);
    CutSymbol(token);
  }

  [[nodiscard]] bool FollowsName() const {
    return !tokens_.empty() && (tokens_.back().kind == TokenKind::kWord || tokens_.back().kind == TokenKind::kBracketed) &&
           tokens_.back().end == offset_;
  }

  [[nodiscard]] bool FollowsOperand() const {
    if (tokens_.empty()) return false;
    const Token& last = tokens_.back();
    return last.kind != TokenKind::kSymbol ? last.kind != TokenKind::kWord || last.end == offset_ : last.text == ")";
  }

  void CutText(Token& token, char quote) {
    token.kind = TokenKind::kText;
    Step(1);
    for (;;) {
      if (offset_ == text_.size()) throw SyntaxError("text without its closing quote", token.position);
      if (At() == quote) {
        Step(1);
        if (At() != quote) return;
      }
      token.text += At();
      Step(1);
    }
  }

  void CutName(Token& token, char closing) {
    token.kind = TokenKind::kBracketed;
    Step(1);
    for (; At() != closing; Step(1)) {
      if (offset_ == text_.size()) throw SyntaxError("name without its closing bracket", token.position);
      token.text += At();
    }
    Step(1);
    if (token.text.empty()) throw SyntaxError("empty name", token.position);
    token.upper = FoldName(token.text);
  }

  void CutDate(Token& token) {
    token.kind = TokenKind::kDate;
    Step(1);
    for (; At() != '#'; Step(1)) {
      if (offset_ == text_.size()) throw SyntaxError("date without its closing #", token.position);
      token.text += At();
    }
    Step(1);
  }

  void CutGuid(Token& token) {
    token.kind = TokenKind::kGuid;
    Step(1);
    std::string inner;
    int depth = 1;
    for (; depth > 0; Step(1)) {
      if (offset_ == text_.size()) throw SyntaxError("brace without its closing one", token.position);
      if (At() == '{') ++depth;
      if (At() == '}') --depth;
      if (depth > 0) inner += At();
    }
    const std::size_t brace = inner.find('{');
    token.text = brace == std::string::npos ? "{" + inner + "}" : inner.substr(brace, inner.find('}') + 1 - brace);
  }

  void CutNumber(Token& token) {
    token.kind = TokenKind::kNumber;
    const auto take = [&] { token.text += At(), Step(1); };
    while (IsDigit(At())) take();
    if (At() == '.') {
      take();
      while (IsDigit(At())) take();
    }
    if ((At() == 'e' || At() == 'E') && (IsDigit(At(1)) || ((At(1) == '+' || At(1) == '-') && IsDigit(At(2))))) {
      take();
      take();
      while (IsDigit(At())) take();
    }
    if (StartsName(At()) && At() != '$' && At() != '@') throw SyntaxError("number directly followed by a letter", position_);
  }

  void CutHex(Token& token) {
    token.kind = TokenKind::kNumber;
    Step(2);
    std::uint64_t value = 0;
    std::size_t digits = 0;
    for (; IsHexDigit(At()); Step(1), ++digits) {
      const char c = At();
      value = value << 4 | static_cast<unsigned>(IsDigit(c) ? c - '0' : (c | 0x20) - 'a' + 10);
    }
    if (digits > 8) throw SyntaxError("hexadecimal number of more than 8 digits", token.position);
    // Four digits are a 16-bit number, eight a 32-bit one, with its sign.
    const std::int64_t number = digits <= 4 ? static_cast<std::int16_t>(value) : static_cast<std::int32_t>(value);
    token.text = std::to_string(number);
    if (At() == '&') Step(1);
  }

  void CutWord(Token& token) {
    token.kind = TokenKind::kWord;
    while (ContinuesName(At())) {
      token.text += At();
      Step(1);
    }
    token.upper = FoldName(token.text);
  }

  void CutSymbol(Token& token) {
    static constexpr std::string_view kPairs[] = {"<>", "<=", ">=", "=<", "=>", "!=", "><"};
    token.kind = TokenKind::kSymbol;
    for (const std::string_view pair : kPairs) {
      if (text_.substr(offset_, 2) != pair) continue;
      Step(2);
      token.text = pair == "=<" ? "<=" : pair == "=>" ? ">=" : pair == "!=" || pair == "><" ? "<>" : std::string(pair);
      token.upper = token.text;
      return;
    }
    if (std::string_view("(),.;*+-/\\^&=<>!?").find(At()) == std::string_view::npos) {
      throw SyntaxError(std::string("character that means nothing here: ") + At(), token.position);
    }
    token.text = At();
    token.upper = token.text;
    Step(1);
  }

  std::string_view text_;
  std::vector<Token> tokens_;
  std::size_t offset_ = 0;
  std::size_t position_ = 1;
};

}  // namespace

std::vector<Token> Tokenize(std::string_view statement) {
  // A text handed over with its C terminator, or cut from a stored query, may end with NUL characters.
  while (!statement.empty() && statement.back() == '\0') statement.remove_suffix(1);
  return Cutter(statement).Run();
}

Error SyntaxError(const std::string& message, std::size_t position) {
  return {ErrorCode::kSyntax, message + " (at character " + std::to_string(position) + ")"};
}

Error UnsupportedError(const std::string& message, std::size_t position) {
  return {ErrorCode::kUnsupported, message + " (at character " + std::to_string(position) + ")"};
}

}  // namespace jet::sql
