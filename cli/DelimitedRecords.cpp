// Values between commas or tabs.
#include "cli/Failure.h"
#include "cli/Messages.h"
#include "cli/Records.h"
#include "cli/TextInput.h"

namespace tamlo::cli {
namespace {

class Delimited final : public Records {
 public:
  Delimited(const std::string& path, const RecordOptions& options)
      : input_(path, options.encoding), delimiter_(options.delimiter), null_(options.null) {
    if (delimiter_ == '\0') delimiter_ = options.format == "tsv" ? '\t' : ',';
    std::vector<Cell> first;
    if (!ReadRow(first)) throw Failure(Status::kFailed, Say(Said::kEmptyFile, {path}));
    for (auto& cell : first) header_.push_back(std::move(cell.text));
  }

  [[nodiscard]] const std::vector<std::string>& Header() const override { return header_; }
  [[nodiscard]] std::int64_t Line() const override { return line_; }
  bool Next(std::vector<Cell>& cells) override {
    do {
      if (!ReadRow(cells)) return false;
      // A line without anything is a null where there is one column, and no row where there are several.
    } while (blank_ && header_.size() > 1);
    if (cells.size() != header_.size()) Refuse(line_, Say(Said::kRagged, {std::to_string(cells.size()), std::to_string(header_.size())}));
    return true;
  }

 private:
  bool ReadRow(std::vector<Cell>& cells) {
    cells.clear();
    line_ = input_.Line();
    if (input_.Peek() < 0) return false;
    blank_ = input_.Peek() == '\n' || input_.Peek() == '\r';
    for (;;) {
      cells.push_back(input_.Peek() == '"' ? Quoted() : Bare());
      const int c = input_.Next();
      if (c == static_cast<unsigned char>(delimiter_)) continue;
      if (c == '\r' && input_.Peek() == '\n') input_.Next();
      if (c >= 0 && c != '\r' && c != '\n') Refuse(input_.Line(), Say(Said::kBehindQuote, {std::to_string(cells.size())}));
      return true;
    }
  }
  Cell Quoted() {
    const std::int64_t begin = input_.Line();
    Cell cell{Cell::Kind::kBare, {}};
    input_.Next();
    for (;;) {
      const int c = input_.Next();
      if (c < 0) Refuse(begin, Say(Said::kOpenQuote));
      if (c == '"' && input_.Peek() != '"') break;
      if (c == '"') input_.Next();
      cell.text += static_cast<char>(c);
    }
    if (cell.text.empty()) cell.kind = Cell::Kind::kText;
    return cell;
  }
  Cell Bare() {
    Cell cell{Cell::Kind::kBare, {}};
    for (int c = input_.Peek(); c >= 0 && c != '\n' && c != '\r' && c != static_cast<unsigned char>(delimiter_); c = input_.Peek()) {
      if (c == '"') Refuse(input_.Line(), Say(Said::kQuoteInside, {cell.text.substr(0, 40)}));
      cell.text += static_cast<char>(input_.Next());
    }
    if (cell.text == null_) cell.kind = Cell::Kind::kNull;
    return cell;
  }
  [[noreturn]] void Refuse(std::int64_t line, const std::string& why) const {
    throw Failure(Status::kFailed, Say(Said::kAtLine, {input_.Path(), std::to_string(line), why}));
  }

  TextInput input_;
  char delimiter_;
  std::string null_;
  std::vector<std::string> header_;
  std::int64_t line_ = 1;
  bool blank_ = false;  ///< the last row was a line without anything
};

}  // namespace

std::unique_ptr<Records> OpenDelimited(const std::string& path, const RecordOptions& options) {
  return std::make_unique<Delimited>(path, options);
}

std::unique_ptr<Records> OpenRecords(const std::string& path, const RecordOptions& options) {
  return options.format == "jsonl" ? OpenJsonLines(path, options) : OpenDelimited(path, options);
}

}  // namespace tamlo::cli
