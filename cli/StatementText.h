#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "schema/Dialect.h"

namespace tamlo::cli {

/// How an engine's statements are written, as far as it decides where they end.
struct Lexis {
  bool comments = true;      ///< "--" and "/* */"
  bool blankBehind = false;  ///< "--" begins a comment only before a blank
  bool hash = false;         ///< "#" begins a comment
  bool nested = false;       ///< comments between "/*" and "*/" hold others
  bool backslash = false;    ///< takes its meaning from a quote in a text
  bool brackets = false;     ///< [names]
  bool backticks = false;    ///< `names`
  bool dollars = false;      ///< $tag$texts$tag$, and E'\''
};

/// None: what most engines agree on.
[[nodiscard]] Lexis LexisOf(std::optional<schema::Engine> engine);

/// Statements as they come in lines, each ended by ";". Quotes and comments may go over lines; a trigger's or a procedure's body keeps its
/// own ";".
class StatementText {
 public:
  explicit StatementText(const Lexis& lexis) : lexis_(lexis) {}
  /// Takes a line, without its end. Gives the statements that end on it, without ";".
  [[nodiscard]] std::vector<std::string> Take(std::string_view line);
  /// True when nothing but blanks and comments stands behind the last statement.
  [[nodiscard]] bool Empty() const noexcept { return !words_ && mode_ == Mode::kPlain; }
  /// What is open: the quote that ends it, '*' for a comment, '-' for a statement, '\0' for nothing.
  [[nodiscard]] char Open() const noexcept;
  /// What has been begun; there is nothing afterwards.
  [[nodiscard]] std::string Rest();
  [[nodiscard]] const std::string& Text() const noexcept { return text_; }
  void Clear();

 private:
  enum class Mode { kPlain, kQuote, kLineComment, kBlockComment, kDollars };
  void Feed(std::string_view line, std::size_t& at);
  void FeedPlain(std::string_view line, std::size_t& at);
  bool BeginComment(std::string_view line, std::size_t& at);
  bool BeginQuote(std::string_view line, std::size_t& at);
  void EndWord();

  Lexis lexis_;
  Mode mode_ = Mode::kPlain;
  char closing_ = '\0';
  bool escapes_ = false;  ///< in this quote
  int depth_ = 0;         ///< of comments
  int blocks_ = 0;        ///< BEGIN without its END
  bool words_ = false;    ///< something stands in the statement
  bool first_ = true;     ///< its first word is still to come
  bool creates_ = false;  ///< it begins with CREATE, and what it creates is not known yet
  bool holdsBlocks_ = false;
  bool behindEnd_ = false;
  std::string word_;
  std::string tag_;
  std::string text_;
};

}  // namespace tamlo::cli
