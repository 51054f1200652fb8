#include "ado/NamedMarks.h"

#include <algorithm>

#include "ado/Errors.h"
#include "runtime/Text.h"

namespace tamlo::ado {
namespace {

bool IsDigit(char c) { return c >= '0' && c <= '9'; }

bool IsOfWord(char c) {
  return IsDigit(c) || (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || c == '_' || static_cast<unsigned char>(c) >= 0x80;
}

/// The end of what begins here and holds no marks: a quoted text or name, a comment; begin where nothing of it does.
std::size_t EndOfPassage(std::string_view text, std::size_t begin) {
  const std::string_view rest = text.substr(begin);
  std::string_view close;
  if (rest.starts_with("--")) close = "\n";
  if (rest.starts_with("/*")) close = "*/";
  if (rest[0] == '\'' || rest[0] == '"' || rest[0] == '`') close = rest.substr(0, 1);
  if (rest[0] == '[') close = "]";
  if (close.empty()) return begin;
  // A quote that stands twice begins another text at once.
  const std::size_t end = rest.find(close, close == "*/" ? 2 : 1);
  return end == std::string_view::npos ? text.size() : begin + end + close.size();
}

/// The end of the mark ":name" that begins here; begin where none does.
std::size_t EndOfMark(std::string_view text, std::size_t begin) {
  const std::size_t name = begin + 1;
  if (text[begin] != ':' || name >= text.size() || !IsOfWord(text[name]) || IsDigit(text[name])) return begin;
  if (begin > 0 && (text[begin - 1] == ':' || IsOfWord(text[begin - 1]))) return begin;
  std::size_t end = name;
  while (end < text.size() && IsOfWord(text[end])) ++end;
  return end;
}

std::string_view Bare(std::string_view name) { return name.starts_with(':') ? name.substr(1) : name; }

/// Reads over a text and notes which parameter each mark means.
class MarkReader {
 public:
  MarkReader(std::string_view text, const std::vector<Parameter>& parameters) : text_(text), parameters_(parameters) {}

  std::optional<PositionedStatement> Read() {
    while (at_ < text_.size()) {
      const std::size_t end = EndOfPassage(text_, at_);
      if (end > at_) {
        Copy(end);
      } else if (const std::size_t behind = EndOfMark(text_, at_); behind > at_) {
        TakeNamed(behind);
      } else {
        if (text_[at_] == '?') TakeNext();
        Copy(at_ + 1);
      }
    }
    if (!anyNamed_) return std::nullopt;
    if (unknown_) throw AdoError(runtime::kItemNotFound, *unknown_);
    for (std::size_t i = 0; i < parameters_.size(); ++i) {
      const bool marked = std::find(made_.order.begin(), made_.order.end(), i) != made_.order.end();
      if (marked) continue;
      if (!parameters_[i].name.empty()) throw AdoError(runtime::kItemNotFound, parameters_[i].name);
      made_.order.push_back(i);  // one too many: whoever counts the marks says so
    }
    return std::move(made_);
  }

 private:
  void Copy(std::size_t end) {
    made_.text.append(text_.substr(at_, end - at_));
    at_ = end;
  }
  void TakeNamed(std::size_t end) {
    const std::string name(text_.substr(at_ + 1, end - at_ - 1));
    const std::string upper = runtime::UpperCase(name);
    const auto found = std::find_if(parameters_.begin(), parameters_.end(),
                                    [&](const Parameter& one) { return runtime::UpperCase(Bare(one.name)) == upper; });
    if (found == parameters_.end()) {
      if (!unknown_) unknown_ = name;
      return Copy(end);
    }
    anyNamed_ = true;
    made_.order.push_back(static_cast<std::size_t>(found - parameters_.begin()));
    made_.text += '?';
    at_ = end;
  }
  void TakeNext() {
    while (next_ < parameters_.size() && !parameters_[next_].name.empty()) ++next_;
    if (next_ < parameters_.size()) made_.order.push_back(next_++);
  }

  std::string_view text_;
  const std::vector<Parameter>& parameters_;
  PositionedStatement made_;
  std::optional<std::string> unknown_;
  std::size_t at_ = 0;
  std::size_t next_ = 0;  // parameter without a name
  bool anyNamed_ = false;
};

}  // namespace

std::optional<PositionedStatement> Positioned(std::string_view text, const std::vector<Parameter>& parameters) {
  const bool anyName = std::any_of(parameters.begin(), parameters.end(), [](const Parameter& one) { return !one.name.empty(); });
  if (!anyName || text.find(':') == std::string_view::npos) return std::nullopt;
  return MarkReader(text, parameters).Read();
}

bool IsMarked(std::string_view text, std::string_view name) {
  const std::string upper = runtime::UpperCase(std::string(name));
  for (std::size_t at = 0; at < text.size();) {
    const std::size_t end = EndOfPassage(text, at);
    const std::size_t mark = end > at ? at : EndOfMark(text, at);
    if (mark > at && runtime::UpperCase(std::string(text.substr(at + 1, mark - at - 1))) == upper) return true;
    at = std::max({end, mark, at + 1});
  }
  return false;
}

}  // namespace tamlo::ado
