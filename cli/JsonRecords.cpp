// One JSON object a line.
#include <algorithm>
#include <map>
#include <optional>

#include "base/Numbers.h"
#include "base/Utf16.h"
#include "base/Utf8.h"
#include "cli/Failure.h"
#include "cli/Messages.h"
#include "cli/Records.h"
#include "cli/TextInput.h"

namespace tamlo::cli {
namespace {

using Member = std::pair<std::string, Cell>;

/// Reads one object from a line. What it does not understand ends it with nothing.
class ObjectReader {
 public:
  explicit ObjectReader(std::string_view line) : rest_(line) {}

  std::optional<std::vector<Member>> Read() {
    std::vector<Member> members;
    if (!Take('{')) return std::nullopt;
    if (!Take('}')) {
      do {
        auto name = Text();
        if (!name || !Take(':')) return std::nullopt;
        auto cell = Value();
        if (!cell) return std::nullopt;
        members.emplace_back(std::move(*name), std::move(*cell));
      } while (Take(','));
      if (!Take('}')) return std::nullopt;
    }
    Blanks();
    return rest_.empty() ? std::optional(std::move(members)) : std::nullopt;
  }

 private:
  void Blanks() { rest_.remove_prefix(std::min(rest_.find_first_not_of(" \t\r"), rest_.size())); }
  bool Take(char sign) {
    Blanks();
    if (!rest_.starts_with(sign)) return false;
    rest_.remove_prefix(1);
    return true;
  }
  bool TakeWord(std::string_view word) {
    if (!rest_.starts_with(word)) return false;
    rest_.remove_prefix(word.size());
    return true;
  }
  std::optional<Cell> Value() {
    Blanks();
    if (TakeWord("null")) return Cell{};
    if (TakeWord("true")) return Cell{Cell::Kind::kTruth, "true"};
    if (TakeWord("false")) return Cell{Cell::Kind::kTruth, "false"};
    if (rest_.starts_with('"')) {
      auto text = Text();
      return text ? std::optional(Cell{Cell::Kind::kText, std::move(*text)}) : std::nullopt;
    }
    const std::string_view number = rest_.substr(0, rest_.find_first_not_of("+-.eE0123456789"));
    if (!base::ReadReal(number)) return std::nullopt;
    rest_.remove_prefix(number.size());
    return Cell{Cell::Kind::kBare, std::string(number)};
  }
  std::optional<std::string> Text() {
    if (!Take('"')) return std::nullopt;
    std::string text;
    while (!rest_.empty()) {
      const char c = rest_.front();
      rest_.remove_prefix(1);
      if (c == '"') return text;
      if (static_cast<unsigned char>(c) < 0x20) return std::nullopt;
      if (c != '\\') {
        text += c;
      } else if (!Escape(text)) {
        return std::nullopt;
      }
    }
    return std::nullopt;
  }
  bool Escape(std::string& text) {
    constexpr std::string_view kSigns = "\"\\/bfnrt";
    constexpr std::string_view kMeant = "\"\\/\b\f\n\r\t";
    if (rest_.empty()) return false;
    const char sign = rest_.front();
    rest_.remove_prefix(1);
    if (const auto at = kSigns.find(sign); at != std::string_view::npos) {
      text += kMeant[at];
      return true;
    }
    if (sign != 'u') return false;
    auto unit = Unit();
    if (!unit) return false;
    if (base::IsFirstHalf(*unit) && rest_.starts_with("\\u")) {
      const std::string_view before = rest_;
      rest_.remove_prefix(2);
      const auto second = Unit();
      if (second && base::IsSecondHalf(*second)) {
        *unit = 0x10000U + ((*unit - 0xD800U) << 10U) + (*second - 0xDC00U);
      } else {
        rest_ = before;
      }
    }
    base::AppendCharacter(text, *unit);
    return true;
  }
  std::optional<char32_t> Unit() {
    const auto code = rest_.size() < 4 ? std::nullopt : base::ReadWhole<std::uint32_t>(rest_.substr(0, 4), 16);
    if (!code) return std::nullopt;
    rest_.remove_prefix(4);
    return static_cast<char32_t>(*code);
  }

  std::string_view rest_;
};

class JsonLines final : public Records {
 public:
  JsonLines(const std::string& path, const RecordOptions& options) : input_(path, options.encoding) {
    TextInput first(path, options.encoding);
    for (std::vector<Member> members; ReadLine(first, members);)
      for (const auto& [name, cell] : members)
        if (places_.emplace(name, header_.size()).second) header_.push_back(name);
    if (header_.empty()) throw Failure(Status::kFailed, Say(Said::kEmptyFile, {path}));
  }

  [[nodiscard]] const std::vector<std::string>& Header() const override { return header_; }
  [[nodiscard]] std::int64_t Line() const override { return line_; }
  bool Next(std::vector<Cell>& cells) override {
    std::vector<Member> members;
    if (!ReadLine(input_, members)) return false;
    cells.assign(header_.size(), {});
    for (auto& [name, cell] : members) cells[places_.at(name)] = std::move(cell);
    return true;
  }

 private:
  /// The next line that is not blank.
  bool ReadLine(TextInput& input, std::vector<Member>& members) {
    std::string text;
    do {
      text.clear();
      line_ = input.Line();
      if (input.Peek() < 0) return false;
      for (int c = input.Next(); c >= 0 && c != '\n'; c = input.Next()) text += static_cast<char>(c);
    } while (text.find_first_not_of(" \t\r") == std::string::npos);
    auto read = ObjectReader(text).Read();
    if (!read) throw Failure(Status::kFailed, Say(Said::kAtLine, {input.Path(), std::to_string(line_), Say(Said::kNoObject)}));
    members = std::move(*read);
    return true;
  }

  TextInput input_;
  std::vector<std::string> header_;
  std::map<std::string, std::size_t> places_;
  std::int64_t line_ = 1;
};

}  // namespace

std::unique_ptr<Records> OpenJsonLines(const std::string& path, const RecordOptions& options) {
  return std::make_unique<JsonLines>(path, options);
}

}  // namespace tamlo::cli
