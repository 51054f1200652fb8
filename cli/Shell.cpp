// The shell of `query`: statements one after another.
#include "cli/Shell.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <istream>
#include <memory>

#include "base/Case.h"
#include "base/Utf8.h"
#include "cli/Completion.h"
#include "cli/History.h"
#include "cli/Interrupts.h"
#include "cli/LineReader.h"
#include "cli/Messages.h"
#include "cli/RunStatement.h"
#include "cli/ServerRows.h"
#include "cli/StatementText.h"

namespace tamlo::cli {
namespace {

constexpr std::array kFormats{"csv", "tsv", "json", "jsonl", "sql", "table"};

std::string Trimmed(std::string_view text) {
  const auto first = text.find_first_not_of(" \t\r");
  if (first == std::string_view::npos) return {};
  return std::string(text.substr(first, text.find_last_not_of(" \t\r") + 1 - first));
}

/// What the prompt calls the database: its file, or its name on the server.
std::string ShortName(const schema::Address& address) {
  std::string name = address.file.empty() ? address.shown.substr(0, address.shown.find('?')) : address.file;
  name = name.substr(name.find_last_of("/\\") + 1);
  return name.starts_with("odbc:") || name.empty() ? "sql" : name;
}

std::string FirstWord(const std::string& sql) { return base::UpperCase(sql.substr(0, sql.find_first_of(" \t\r\n;"))); }

bool MayChangeDefinitions(const std::string& sql) {
  for (const char* word : {"CREATE", "ALTER", "DROP", "RENAME", "COMMENT", "ROLLBACK"})
    if (FirstWord(sql) == word) return true;
  return false;
}

class Shell {
 public:
  Shell(Opened& opened, const ShellOptions& options, bool interactive)
      : opened_(opened),
        options_(options),
        interactive_(interactive),
        given_(options.parameters),
        statements_(opened, options.access, interactive),
        text_(LexisOf(opened.engine)),
        completion_(opened) {
    statements_.Parameters(given_, false);
  }

  Status FromTerminal();
  Status FromInput(std::istream& input, const std::string& name);

 private:
  void TakeTyped(LineReader& reader, const std::string& line);
  void Remember(LineReader& reader);
  void RunAndTell(const std::string& sql);
  void RunOne(const std::string& sql);
  void NoteTransaction(const std::string& sql);
  [[nodiscard]] std::string Prompt() const;
  [[nodiscard]] bool IsCommand(const std::string& line) const;
  bool RunCommand(const std::string& line);
  void ListTables(const std::string& pattern);
  void ListColumns(const std::string& name);
  void Write(const std::string& what, const std::vector<std::string>& columns, const std::vector<std::vector<jet::Value>>& rows);

  Opened& opened_;
  ShellOptions options_;
  bool interactive_;
  Given given_;
  Statements statements_;
  StatementText text_;
  Completion completion_;
  std::vector<std::string> typed_;  ///< the lines of the statement that is being typed
  bool inTransaction_ = false;      ///< a statement has begun one
  bool ended_ = false;
};

Status Shell::FromTerminal() {
  const Interrupts interrupts;
  const auto reader = OpenLineReader([this](std::string_view before) { return completion_.At(before, text_); });
  const Said greeting = options_.access == Access::kWrite ? Said::kShellWrites : Said::kShellReads;
  std::fprintf(stderr, "%s\n", Say(greeting, {"tamlo-db " TAMLO_VERSION, opened_.address.shown}).c_str());
  std::string line;
  while (!ended_ && !Interrupts::Ending()) {
    Interrupts::Forget();
    const auto got = reader->Read(Prompt(), line);
    if (got == LineReader::Got::kEnd) break;
    if (got == LineReader::Got::kLine) {
      TakeTyped(*reader, line);
    } else {
      text_.Clear();
      typed_.clear();
    }
  }
  if (inTransaction_) std::fprintf(stderr, "tamlo-db: %s\n", Say(Said::kNotCommitted).c_str());
  return Status::kDone;
}

void Shell::TakeTyped(LineReader& reader, const std::string& line) {
  if (IsCommand(line)) {
    reader.Remember(line);
    try {
      ended_ = !RunCommand(Trimmed(line));
    } catch (const std::exception& error) {
      std::fprintf(stderr, "tamlo-db: %s\n", OneLine(error.what()).c_str());
    }
    return;
  }
  typed_.push_back(line);
  const auto whole = text_.Take(line);
  if (text_.Empty()) Remember(reader);
  for (const auto& sql : whole) {
    if (Interrupts::Seen()) break;
    RunAndTell(sql);
  }
}

/// A statement of several lines is kept as one where that means the same, else line by line.
void Shell::Remember(LineReader& reader) {
  std::string joined;
  bool same = true;
  StatementText again(LexisOf(opened_.engine));
  for (const auto& line : typed_) {
    joined += (joined.empty() ? "" : " ") + Trimmed(line);
    (void)again.Take(line);
    same = same && (again.Open() == '-' || again.Open() == '\0') && line.find("--") == std::string::npos &&
           line.find('#') == std::string::npos;
  }
  const bool alone = typed_.size() == 1;
  if (same || alone) {
    reader.Remember(alone ? typed_.front() : joined);
  } else if (!MayHoldSecret(joined)) {
    for (const auto& line : typed_) reader.Remember(line);
  }
  typed_.clear();
}

void Shell::RunAndTell(const std::string& sql) {
  try {
    RunOne(sql);
  } catch (const std::exception& error) {
    std::fflush(stdout);
    std::fprintf(stderr, "tamlo-db: %s\n", OneLine(error.what()).c_str());
  }
}

void Shell::RunOne(const std::string& sql) {
  Output output;
  const auto format = FormatNamed(options_.format, output, options_.spelling);
  const auto result = statements_.Run(sql, "query", *format);
  if (result.interrupted) {
    std::fprintf(stderr, "%s\n", Say(Said::kCancelled).c_str());
    return;
  }
  NoteTransaction(sql);
  if (MayChangeDefinitions(sql)) completion_.Forget();
  const bool told = interactive_ && (options_.format == "table" || !result.gaveRows);
  if (told) output.Text() += (result.rows < 0 ? Say(Said::kStatementDone) : Say(Said::kRowsAffected, {std::to_string(result.rows)})) + '\n';
  output.Close();
}

void Shell::NoteTransaction(const std::string& sql) {
  const std::string word = FirstWord(sql);
  const std::string upper = base::UpperCase(sql);
  if (word == "BEGIN" || upper.starts_with("START TRANSACTION")) inTransaction_ = true;
  const bool partly = upper.starts_with("ROLLBACK") && upper.find(" TO ") != std::string::npos;
  if (word == "COMMIT" || word == "END" || word == "ABORT" || (word == "ROLLBACK" && !partly)) inTransaction_ = false;
}

Status Shell::FromInput(std::istream& input, const std::string& name) {
  bool any = false;
  std::int64_t number = 0;
  const auto attempt = [&](std::int64_t at, const auto& what) {
    try {
      what();
    } catch (const Failure& failure) {
      throw Failure(failure.With(), Say(Said::kAtLine, {name, std::to_string(at), OneLine(failure.what())}));
    }
  };
  std::int64_t begun = 1;
  for (std::string line; !ended_ && std::getline(input, line);) {
    ++number;
    if (number == 1 && line.starts_with("\xEF\xBB\xBF")) line.erase(0, 3);
    if (text_.Empty()) begun = number;
    any = any || line.find_first_not_of(" \t\r") != std::string::npos;
    if (IsCommand(line)) {
      attempt(number, [&] { ended_ = !RunCommand(Trimmed(line)); });
      continue;
    }
    for (const auto& sql : text_.Take(line)) attempt(begun, [&] { RunOne(sql); });
  }
  if (!any) throw Failure(Status::kUsage, Say(Said::kNoStatement));
  if (!ended_ && !text_.Empty()) attempt(begun, [&] { RunOne(text_.Rest()); });
  if (inTransaction_) throw Failure(Status::kFailed, Say(Said::kNotCommitted));
  if (!ended_) given_.LookForUnused();
  return Status::kDone;
}

std::string Shell::Prompt() const {
  const std::string name = ShortName(opened_.address);
  if (text_.Open() == '\0') return name + "> ";
  return std::string(base::CountCharacters(name) - 1, ' ') + text_.Open() + "> ";
}

/// Only where no statement has been begun. "quit" and "exit" are what people type first.
bool Shell::IsCommand(const std::string& line) const {
  const std::string words = Trimmed(line);
  return text_.Empty() && text_.Open() == '\0' && (words.starts_with('.') || (interactive_ && (words == "quit" || words == "exit")));
}

/// False for the end.
bool Shell::RunCommand(const std::string& line) {
  const auto blank = line.find_first_of(" \t");
  const std::string name = line.substr(0, blank);
  std::string about = blank == std::string::npos ? std::string() : Trimmed(std::string_view(line).substr(blank));
  if (about.ends_with(';')) about.pop_back();
  if (name == ".quit" || name == ".exit" || name == "quit" || name == "exit") return false;
  if (name == ".tables") {
    ListTables(about);
  } else if (name == ".columns" && !about.empty()) {
    ListColumns(about);
  } else if (name == ".format" && std::find(kFormats.begin(), kFormats.end(), about) != kFormats.end()) {
    options_.format = about;
  } else if (name == ".help") {
    Output output;
    output.Text() = Say(Said::kShellHelp) + '\n';
    output.Close();
  } else {
    throw Failure(Status::kUsage, Say(Said::kNoSuchCommand, {line}));
  }
  return true;
}

void Shell::ListTables(const std::string& pattern) {
  std::vector<std::vector<jet::Value>> rows;
  for (const auto& name : TablesOf(opened_, pattern.empty() ? std::vector<std::string>() : std::vector<std::string>{pattern}))
    rows.push_back({jet::Value(name)});
  Write("tables", {"table"}, rows);
}

void Shell::ListColumns(const std::string& name) {
  const auto database = ReadStructure(opened_, {.values = false, .counts = false});
  const auto same = [&](const schema::Table& table) { return base::SameName(table.name, name); };
  const auto table = std::find_if(database.tables.begin(), database.tables.end(), same);
  if (table == database.tables.end()) throw Failure(Status::kUsage, Say(Said::kNoSuchTable, {name}));
  const auto& dialect = schema::DialectOf(opened_.engine.value_or(schema::Engine::kPostgreSql));
  std::vector<std::vector<jet::Value>> rows;
  for (const auto& column : table->columns) {
    std::string key;
    for (const auto& index : table->indexes)
      for (const auto& part : index.parts)
        if (index.primary && part.column == column.name) key = "PK";
    const auto initial = schema::Spelled(dialect, column.initial, column.type);
    rows.push_back({jet::Value(column.name), jet::Value(schema::Spelled(dialect, column.type)), jet::Value(key),
                    jet::Value(column.required ? "NOT NULL" : ""), initial ? jet::Value(*initial) : jet::Value()});
  }
  Write("columns", {"column", "type", "key", "required", "default"}, rows);
}

void Shell::Write(const std::string& what, const std::vector<std::string>& columns, const std::vector<std::vector<jet::Value>>& rows) {
  Output output;
  const auto format = FormatNamed(options_.format, output, options_.spelling);
  format->Begin(what, columns);
  for (const auto& row : rows) format->Row(row);
  format->End();
  output.Close();
}

}  // namespace

Status RunShell(Opened& opened, const ShellOptions& options) { return Shell(opened, options, true).FromTerminal(); }

Status RunScript(Opened& opened, const ShellOptions& options, std::istream& input, const std::string& name) {
  return Shell(opened, options, false).FromInput(input, name);
}

}  // namespace tamlo::cli
