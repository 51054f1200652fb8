// The forms in which rows are written.
#include <algorithm>

#include "base/Utf8.h"
#include "cli/Format.h"
#include "schema/Dialect.h"

namespace tamlo::cli {
namespace {

/// Comma or tab between values. A value stands between quotes where it would be read wrong without, and where it is an empty text: nothing
/// between two commas is null.
class Separated final : public RowFormat {
 public:
  Separated(Output& output, const Spelling& spelling, char separator) : output_(output), spelling_(spelling), separator_(separator) {}

  void Begin(const std::string&, const std::vector<std::string>& columns) override {
    for (std::size_t i = 0; i < columns.size(); ++i) {
      if (i > 0) output_.Text() += separator_;
      AppendQuoted(columns[i]);
    }
    output_.Text() += '\n';
  }
  void Row(const std::vector<jet::Value>& values) override {
    std::string& text = output_.Text();
    for (std::size_t i = 0; i < values.size(); ++i) {
      if (i > 0) text += separator_;
      if (values[i].Type() == jet::ValueType::kText) {
        AppendQuoted(values[i].AsText());
      } else {
        AppendPlain(text, values[i], spelling_);
      }
    }
    text += '\n';
    output_.Flush();
  }
  void End() override {}

 private:
  void AppendQuoted(const std::string& value) {
    std::string& text = output_.Text();
    const char marks[] = {'"', '\n', '\r', separator_, '\0'};
    const bool plain = !value.empty() && value.find_first_of(marks) == std::string::npos && value.front() != ' ' && value.back() != ' ' &&
                       value != spelling_.null;
    if (plain) {
      text += value;
      return;
    }
    text += '"';
    for (const char c : value) {
      text += c;
      if (c == '"') text += c;
    }
    text += '"';
  }

  Output& output_;
  Spelling spelling_;
  char separator_;
};

/// One object a line, or all of them in an array.
class Json final : public RowFormat {
 public:
  Json(Output& output, const Spelling& spelling, bool lines) : output_(output), spelling_(spelling), lines_(lines) {}

  void Begin(const std::string&, const std::vector<std::string>& columns) override {
    names_.clear();
    for (const std::string& column : columns) {
      std::string name;
      AppendJsonText(name, column);
      names_.push_back(name + (lines_ ? ":" : ": "));
    }
    first_ = true;
    if (!lines_) output_.Text() += "[";
  }
  void Row(const std::vector<jet::Value>& values) override {
    std::string& text = output_.Text();
    if (!lines_) text += first_ ? "\n  " : ",\n  ";
    first_ = false;
    text += '{';
    for (std::size_t i = 0; i < values.size(); ++i) {
      if (i > 0) text += lines_ ? "," : ", ";
      text += names_[i];
      AppendJson(text, values[i], spelling_);
    }
    text += lines_ ? "}\n" : "}";
    output_.Flush();
  }
  void End() override {
    if (!lines_) output_.Text() += first_ ? "]\n" : "\n]\n";
  }

 private:
  Output& output_;
  Spelling spelling_;
  bool lines_;
  bool first_ = true;
  std::vector<std::string> names_;
};

/// INSERT statements, names and texts quoted as the standard has them.
class Inserts final : public RowFormat {
 public:
  Inserts(Output& output, const Spelling& spelling) : output_(output), spelling_(spelling) {}

  void Begin(const std::string& table, const std::vector<std::string>& columns) override {
    const auto& standard = schema::DialectOf(schema::Engine::kPostgreSql);
    begin_ = "INSERT INTO " + schema::Quoted(standard, table) + " (";
    for (std::size_t i = 0; i < columns.size(); ++i) begin_ += (i > 0 ? ", " : "") + schema::Quoted(standard, columns[i]);
    begin_ += ") VALUES (";
  }
  void Row(const std::vector<jet::Value>& values) override {
    std::string& text = output_.Text();
    text += begin_;
    for (std::size_t i = 0; i < values.size(); ++i) {
      if (i > 0) text += ", ";
      AppendLiteral(text, values[i]);
    }
    text += ");\n";
    output_.Flush();
  }
  void End() override {}

 private:
  void AppendLiteral(std::string& text, const jet::Value& value) const {
    switch (value.Type()) {
      case jet::ValueType::kNull:
        text += "NULL";
        return;
      case jet::ValueType::kBool:
        text += value.AsBool() ? "TRUE" : "FALSE";
        return;
      case jet::ValueType::kBytes:
        text += "X'";
        AppendPlain(text, value, {});
        text += '\'';
        return;
      case jet::ValueType::kText:
      case jet::ValueType::kDate:
      case jet::ValueType::kGuid: {
        std::string plain;
        AppendPlain(plain, value, {});
        text += schema::Literal(schema::DialectOf(schema::Engine::kPostgreSql), plain);
        return;
      }
      default:
        return AppendPlain(text, value, spelling_);
    }
  }

  Output& output_;
  Spelling spelling_;
  std::string begin_;
};

/// Columns side by side, for people. The widths are those of the first rows.
class Aligned final : public RowFormat {
 public:
  Aligned(Output& output, const Spelling& spelling) : output_(output), spelling_(spelling) {}

  void Begin(const std::string&, const std::vector<std::string>& columns) override {
    rows_.assign(1, columns);
    numbers_.assign(columns.size(), false);
    widths_.assign(columns.size(), 0);
    decided_ = false;
  }
  void Row(const std::vector<jet::Value>& values) override {
    std::vector<std::string> row;
    for (std::size_t i = 0; i < values.size(); ++i) {
      std::string text;
      AppendPlain(text, values[i], spelling_);
      std::replace_if(
          text.begin(), text.end(), [](char c) { return static_cast<unsigned char>(c) < 0x20; }, ' ');
      row.push_back(std::move(text));
      const auto type = values[i].Type();
      if (type != jet::ValueType::kNull)
        numbers_[i] = type != jet::ValueType::kText && type != jet::ValueType::kBool && type != jet::ValueType::kDate &&
                      type != jet::ValueType::kBytes;
    }
    rows_.push_back(std::move(row));
    if (decided_ || rows_.size() > kRowsLookedAt) WriteRows();
  }
  void End() override { WriteRows(); }

 private:
  static constexpr std::size_t kRowsLookedAt = 1000;

  void WriteRows() {
    const bool head = !decided_;
    if (head)
      for (const auto& row : rows_)
        for (std::size_t i = 0; i < row.size(); ++i) widths_[i] = std::max(widths_[i], base::CountCharacters(row[i]));
    decided_ = true;
    for (std::size_t r = 0; r < rows_.size(); ++r) {
      WriteRow(rows_[r]);
      if (head && r == 0) WriteLine();
    }
    rows_.clear();
    output_.Flush();
  }
  void WriteRow(const std::vector<std::string>& row) {
    std::string line;
    for (std::size_t i = 0; i < row.size(); ++i) {
      const std::size_t length = base::CountCharacters(row[i]);
      const std::string blanks(length < widths_[i] ? widths_[i] - length : 0, ' ');
      line += (i > 0 ? "  " : "") + (numbers_[i] ? blanks + row[i] : row[i] + blanks);
    }
    line.erase(line.find_last_not_of(' ') + 1);
    output_.Text() += line + '\n';
  }
  void WriteLine() {
    std::string line;
    for (std::size_t i = 0; i < widths_.size(); ++i) line += (i > 0 ? "  " : "") + std::string(widths_[i], '-');
    output_.Text() += line + '\n';
  }

  Output& output_;
  Spelling spelling_;
  std::vector<std::vector<std::string>> rows_;  ///< not yet written; at first with the names in front
  std::vector<std::size_t> widths_;
  std::vector<bool> numbers_;  ///< stand to the right
  bool decided_ = false;
};

}  // namespace

std::unique_ptr<RowFormat> FormatNamed(const std::string& name, Output& output, const Spelling& spelling) {
  if (name == "csv") return std::make_unique<Separated>(output, spelling, ',');
  if (name == "tsv") return std::make_unique<Separated>(output, spelling, '\t');
  if (name == "json") return std::make_unique<Json>(output, spelling, false);
  if (name == "jsonl") return std::make_unique<Json>(output, spelling, true);
  if (name == "sql") return std::make_unique<Inserts>(output, spelling);
  if (name == "table") return std::make_unique<Aligned>(output, spelling);
  return nullptr;
}

}  // namespace tamlo::cli
