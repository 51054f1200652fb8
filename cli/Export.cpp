// export: the rows of tables, on standard output or in a file each.
#include <CLI/Option.hpp>
#include <algorithm>
#include <filesystem>
#include <limits>
#include <memory>
#include <optional>

#include "ado/Recordset.h"
#include "base/Case.h"
#include "base/FilePath.h"
#include "cli/CarefulRows.h"
#include "cli/Commands.h"
#include "cli/Format.h"
#include "cli/Messages.h"
#include "cli/ServerRows.h"
#include "jet/sql/Session.h"
#include "jet/table/Table.h"

namespace tamlo::cli {
namespace {

struct Asked {
  std::string database;
  std::vector<std::string> patterns;
  std::vector<std::string> columns;
  std::string where;
  std::string orderBy;
  std::int64_t limit = std::numeric_limits<std::int64_t>::max();
  bool all = false;
  std::string format = "csv";
  std::string folder;
  std::string words;
  Spelling spelling;
  std::string bytes = "hex";
  Care care;
  std::shared_ptr<Login> login = std::make_shared<Login>();
};

/// Positions of the columns asked for, all of them for none.
std::vector<std::size_t> Places(jet::Table& table, const std::vector<std::string>& columns) {
  std::vector<std::size_t> places;
  for (const auto& name : columns) {
    const auto place = table.FindColumn(name);
    if (!place) throw Failure(Status::kUsage, Say(Said::kNoColumn, {table.Name(), name}));
    places.push_back(*place);
  }
  if (columns.empty())
    for (std::size_t i = 0; i < table.Columns().size(); ++i) places.push_back(i);
  return places;
}

std::string Bracketed(const std::string& name) { return "[" + name + "]"; }

/// The error with the place where it was met.
[[noreturn]] void Fail(const std::string& table, std::int64_t row, const jet::Error& error) {
  throw Failure(Status::kFailed, Say(Said::kRowOf, {table, std::to_string(row)}) + ": " + error.what());
}

void WriteScan(jet::Table& table, const std::vector<std::size_t>& places, std::int64_t limit, RowFormat& format) {
  std::vector<jet::Value> row(places.size());
  std::int64_t number = 0;
  try {
    auto cursor = table.Scan();
    while (number < limit && cursor.Next()) {
      ++number;
      for (std::size_t i = 0; i < places.size(); ++i) cursor.Current().Get(places[i], row[i]);
      format.Row(row);
    }
  } catch (const jet::Error& error) {
    Fail(table.Name(), number, error);
  }
}

void WriteQuery(jet::Database& file, const std::string& sql, std::int64_t limit, RowFormat& format) {
  jet::sql::Session session(file);
  const auto query = session.Open(sql);
  std::vector<jet::Value> row(query->Columns().size());
  for (std::int64_t number = 0; number < limit && query->Next(); ++number) {
    for (std::size_t i = 0; i < row.size(); ++i) row[i] = query->Get(i);
    format.Row(row);
  }
}

void WriteFileTable(jet::Database& file, const std::string& name, const Asked& asked, Output& output) {
  jet::Table& table = file.OpenTable(name);
  const auto places = Places(table, asked.columns);
  std::vector<std::string> names;
  for (const std::size_t place : places) names.push_back(table.Columns()[place].name);
  const auto format = Careful(FormatNamed(asked.format, output, asked.spelling), asked.care);
  format->Begin(name, names);
  if (asked.where.empty() && asked.orderBy.empty()) {
    WriteScan(table, places, asked.limit, *format);
  } else {
    std::string list;
    for (const auto& column : names) list += (list.empty() ? "" : ", ") + Bracketed(column);
    WriteQuery(file,
               "SELECT " + list + " FROM " + Bracketed(name) + (asked.where.empty() ? "" : " WHERE " + asked.where) +
                   (asked.orderBy.empty() ? "" : " ORDER BY " + asked.orderBy),
               asked.limit, *format);
  }
  format->End();
}

/// The table's columns that are asked for, by the names that it has for them.
std::vector<std::string> ServerColumns(ado::Connection& connection, const std::string& from, const std::string& table, const Asked& asked) {
  ado::Recordset none;
  none.Open("SELECT * FROM " + from + " WHERE 1 = 0", &connection, ado::adOpenForwardOnly, ado::adLockReadOnly, ado::adCmdText);
  std::vector<std::string> all;
  for (std::size_t i = 0; i < none.FieldCount(); ++i) all.push_back(none.Fields(i).Name());
  if (asked.columns.empty()) return all;
  std::vector<std::string> found;
  for (const auto& name : asked.columns) {
    const auto same = std::find_if(all.begin(), all.end(), [&](const std::string& one) { return base::SameName(one, name); });
    if (same == all.end()) throw Failure(Status::kUsage, Say(Said::kNoColumn, {table, name}));
    found.push_back(*same);
  }
  return found;
}

void WriteServerTable(const Opened& opened, const std::string& name, const Asked& asked, Output& output) {
  const schema::Dialect& dialect = schema::DialectOf(opened.engine.value_or(schema::Engine::kOracle));
  const std::string from = schema::Quoted(dialect, name);
  std::string list;
  for (const auto& column : ServerColumns(*opened.connection, from, name, asked))
    list += (list.empty() ? "" : ", ") + schema::Quoted(dialect, column);
  std::string sql = "SELECT " + list + " FROM " + from;
  if (!asked.where.empty()) sql += " WHERE " + asked.where;
  if (!asked.orderBy.empty()) sql += " ORDER BY " + asked.orderBy;
  const bool knowsLimit =
      opened.engine == schema::Engine::kMariaDb || opened.engine == schema::Engine::kPostgreSql || opened.engine == schema::Engine::kSqlite;
  if (knowsLimit && asked.limit < std::numeric_limits<std::int64_t>::max()) sql += " LIMIT " + std::to_string(asked.limit);
  const auto format = Careful(FormatNamed(asked.format, output, asked.spelling), asked.care);
  WriteServerRows(*opened.connection, sql, name, asked.limit, *format);
}

void WriteTable(const Opened& opened, const std::string& name, const Asked& asked, Output& output) {
  if (opened.file) return WriteFileTable(*opened.file, name, asked, output);
  WriteServerTable(opened, name, asked, output);
}

void ReadWords(Asked& asked) {
  asked.spelling.base64 = asked.bytes == "base64";
  if (asked.bytes == "files" && (asked.folder.empty() || asked.format == "sql"))
    throw Failure(Status::kUsage, Say(asked.folder.empty() ? Said::kFilesNeedFolder : Said::kFilesNoSql));
  if (!asked.care.encoding.empty()) {
    const auto encoding = EncodingNamed(asked.care.encoding);
    if (!encoding) throw Failure(Status::kUsage, Say(Said::kUnknownEncoding, {asked.care.encoding}));
    if (encoding->form != Form::kUtf8) asked.care.encoder = std::make_shared<Encoder>(*encoding);
  }
  if (asked.words.empty()) return;
  const auto comma = asked.words.find(',');
  if (comma == std::string::npos) throw Failure(Status::kUsage, Say(Said::kTwoWords, {asked.words}));
  asked.spelling.yes = asked.words.substr(0, comma);
  asked.spelling.no = asked.words.substr(comma + 1);
}

/// What is written beside the values themselves has to be in the encoding too.
void RequireWords(const Asked& asked, const std::vector<std::string>& tables) {
  if (!asked.care.encoder) return;
  std::vector<std::string> words{asked.spelling.null, asked.spelling.yes, asked.spelling.no};
  if (asked.format == "sql") words.insert(words.end(), tables.begin(), tables.end());
  for (const auto& word : words)
    if (asked.care.encoder->Lacks(word)) throw Failure(Status::kFailed, Say(Said::kWordNotInEncoding, {word, asked.care.encoding}));
}

void WriteFiles(const Opened& opened, const std::vector<std::string>& tables, Asked& asked) {
  const auto folder = base::FilePath(asked.folder);
  std::filesystem::create_directories(folder);
  for (const auto& name : tables) {
    const std::string good = GoodFileName(name);
    Output output(base::FileName(folder / base::FilePath(good + "." + (asked.format == "table" ? "txt" : asked.format))));
    if (asked.care.encoder) output.Encode(asked.care.encoder);
    std::optional<BytesFolder> bytes;
    if (asked.bytes == "files") bytes.emplace(base::FileName(folder / base::FilePath(good + ".files")), good + ".files");
    asked.care.files = bytes ? &*bytes : nullptr;
    WriteTable(opened, name, asked, output);
    if (bytes) bytes->Close();
    output.Close();
  }
}

void Run(Asked& asked) {
  ReadWords(asked);
  Opened opened = Open(asked.database, *asked.login);
  const auto tables = TablesOf(opened, asked.patterns);
  RequireWords(asked, tables);
  if (!asked.folder.empty()) return WriteFiles(opened, tables, asked);
  const bool joined = asked.format == "json" || asked.format == "jsonl" || asked.format == "sql";
  if (tables.size() > 1 && !joined) throw Failure(Status::kUsage, Say(Said::kOneTable, {std::to_string(tables.size())}));
  Output output;
  if (asked.care.encoder) output.Encode(asked.care.encoder);
  for (const auto& name : tables) WriteTable(opened, name, asked, output);
  output.Close();
}

}  // namespace

void AddExport(CLI::App& app, Status&) {
  const auto asked = std::make_shared<Asked>();
  CLI::App* command = app.add_subcommand("export", Say(Said::kExport));
  command->add_option("DB", asked->database, Say(Said::kDatabase))->required();
  auto* tables = command->add_option("-t,--table", asked->patterns, Say(Said::kTablePattern));
  auto* all = command->add_flag("--all", asked->all, Say(Said::kAllTables))->excludes(tables);
  command->add_option("--columns", asked->columns, Say(Said::kColumns))->delimiter(',')->excludes(all);
  command->add_option("--where", asked->where, Say(Said::kWhere))->excludes(all);
  command->add_option("--order-by", asked->orderBy, Say(Said::kOrderBy))->excludes(all);
  command->add_option("--limit", asked->limit, Say(Said::kLimit))->check(CLI::NonNegativeNumber);
  AddLogin(*command, asked->login);
  command->add_option("-F,--format", asked->format, Say(Said::kFormat))
      ->check(CLI::IsMember({"csv", "tsv", "json", "jsonl", "sql", "table"}));
  command->add_option("-o,--output", asked->folder, Say(Said::kFolder));
  command->add_option("--null", asked->spelling.null, Say(Said::kNullText));
  command->add_option("--bool", asked->words, Say(Said::kTruthTexts));
  command->add_option("--date-format", asked->care.dateFormat, Say(Said::kDateFormat));
  command->add_option("--encoding", asked->care.encoding, Say(Said::kEncoding));
  command->add_option("--binary", asked->bytes, Say(Said::kBinaryForm))->check(CLI::IsMember({"hex", "base64", "files"}));
  command->callback([asked] {
    if (asked->patterns.empty() && !asked->all) throw Failure(Status::kUsage, Say(Said::kTablePattern) + ": -t, --all");
    Run(*asked);
  });
}

}  // namespace tamlo::cli
