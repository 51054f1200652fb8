// import: the rows of a text file into a table, all or none.
#include <CLI/Option.hpp>
#include <algorithm>
#include <filesystem>
#include <map>
#include <memory>

#include "base/Case.h"
#include "base/FilePath.h"
#include "cli/Commands.h"
#include "cli/Import.h"
#include "cli/Messages.h"
#include "cli/Output.h"

namespace tamlo::cli {
namespace {

struct Asked : ImportAsked {
  std::string words;
  std::string delimiter;
  std::string bytes = "hex";
};

/// The two sides of a "=" or ",": where there is none, nothing on the right.
std::pair<std::string, std::string> Cut(const std::string& text, char sign) {
  const auto at = text.find(sign);
  if (at == std::string::npos) return {text, {}};
  return {text.substr(0, at), text.substr(at + 1)};
}

void ReadOptions(Asked& asked) {
  asked.reading.base64 = asked.bytes == "base64";
  if (asked.bytes == "files") asked.reading.bytesFrom = base::FileName(base::FilePath(asked.file).parent_path());
  if (!asked.words.empty()) {
    if (asked.words.find(',') == std::string::npos) throw Failure(Status::kUsage, Say(Said::kTwoWords, {asked.words}));
    std::tie(asked.reading.yes, asked.reading.no) = Cut(asked.words, ',');
  }
  if (asked.delimiter == "\\t") asked.delimiter = "\t";
  if (asked.delimiter.size() > 1 || asked.delimiter == "\"" || asked.delimiter == "\n")
    throw Failure(Status::kUsage, Say(Said::kOneSign, {asked.delimiter}));
  if (!asked.delimiter.empty()) asked.records.delimiter = asked.delimiter[0];
  if (!asked.types.empty() && !asked.create) throw Failure(Status::kUsage, Say(Said::kTypesNeedCreate));
  if (!asked.records.format.empty()) return;
  asked.records.format = asked.file.ends_with(".tsv")                                        ? "tsv"
                         : asked.file.ends_with(".jsonl") || asked.file.ends_with(".ndjson") ? "jsonl"
                                                                                             : "csv";
}

std::int64_t Import(const ImportAsked& asked) {
  const auto address = AddressOf(asked.database);
  if (address.engine == schema::Engine::kAccess) return ImportIntoFile(*OpenFile(asked.database, true, *asked.login), asked);
  std::error_code ignored;
  // A file of SQLite that is not there is made for a table that is made, and not left behind when it is not.
  const bool isNew = !address.file.empty() && !std::filesystem::exists(base::FilePath(address.file), ignored);
  if (isNew && !asked.create) throw Failure(Status::kCannotOpen, Say(Said::kCannotOpen, {address.shown, Say(Said::kNoFile)}));
  try {
    Opened opened = Open(asked.database, *asked.login, Access::kWrite);
    return ImportIntoServer(opened, asked);
  } catch (...) {
    const bool isEmpty = isNew && std::filesystem::file_size(base::FilePath(address.file), ignored) == 0;
    if (isEmpty) std::filesystem::remove(base::FilePath(address.file), ignored);
    throw;
  }
}

void Run(Asked& asked) {
  ReadOptions(asked);
  const std::int64_t rows = Import(asked);
  Output output;
  output.Text() = Say(Said::kRowsAffected, {std::to_string(rows)}) + '\n';
  output.Close();
}

}  // namespace

std::vector<std::string> ColumnNames(const Records& records, const ImportAsked& asked) {
  std::map<std::string, std::string> renamed;
  for (const auto& pair : asked.renamed) {
    const auto [from, to] = Cut(pair, '=');
    if (to.empty()) throw Failure(Status::kUsage, Say(Said::kMapWants, {pair}));
    const auto same = [&, &wanted = from](const std::string& name) { return base::SameName(name, wanted); };
    if (std::none_of(records.Header().begin(), records.Header().end(), same))
      throw Failure(Status::kUsage, Say(Said::kNoHeader, {asked.file, from}));
    renamed[base::LowerName(from)] = to;
  }
  std::vector<std::string> names;
  for (const auto& header : records.Header()) {
    const auto found = renamed.find(base::LowerName(header));
    names.push_back(found == renamed.end() ? header : found->second);
    for (std::size_t i = 0; i + 1 < names.size(); ++i)
      if (base::SameName(names[i], names.back())) throw Failure(Status::kFailed, Say(Said::kTwiceNamed, {asked.file, names.back()}));
  }
  return names;
}

std::vector<WantedColumn> NewColumns(const ImportAsked& asked, const TypeLimits& limits) {
  const auto records = OpenRecords(asked.file, asked.records);
  const auto names = ColumnNames(*records, asked);
  std::vector<TypeGuess> guesses(names.size(), TypeGuess(asked.reading));
  for (std::vector<Cell> cells; records->Next(cells);)
    for (std::size_t i = 0; i < cells.size(); ++i) guesses[i].See(cells[i]);
  std::vector<WantedColumn> columns;
  for (std::size_t i = 0; i < names.size(); ++i) columns.push_back(guesses[i].Column(names[i], limits.big));
  for (const auto& given : ReadTypes(asked.types, limits)) {
    const auto place = std::find_if(columns.begin(), columns.end(),
                                    [&](const auto& wanted) { return base::SameName(wanted.column.name, given.column.name); });
    if (place == columns.end()) throw Failure(Status::kUsage, Say(Said::kNoHeader, {asked.file, given.column.name}));
    const std::string name = place->column.name;
    *place = given;
    place->column.name = name;
  }
  return columns;
}

void RefuseRow(const ImportAsked& asked, std::int64_t line, const std::string& why) {
  throw Failure(Status::kFailed, Say(Said::kAtLine, {asked.file, std::to_string(line), why}));
}

void AddImport(CLI::App& app, Status&) {
  const auto asked = std::make_shared<Asked>();
  CLI::App* command = app.add_subcommand("import", Say(Said::kImport));
  command->add_option("DB", asked->database, Say(Said::kDatabase))->required();
  asked->login = AddLogin(*command);
  command->add_option("TABLE", asked->table, Say(Said::kIntoTable))->required();
  command->add_option("FILE", asked->file, Say(Said::kTextFile))->required();
  command->add_flag("--create", asked->create, Say(Said::kCreate));
  command->add_option("--types", asked->types, Say(Said::kTypes));
  command->add_option("--map", asked->renamed, Say(Said::kMap))->delimiter(',');
  command->add_option("-F,--format", asked->records.format, Say(Said::kImportFormat))->check(CLI::IsMember({"csv", "tsv", "jsonl"}));
  command->add_option("--delimiter", asked->delimiter, Say(Said::kDelimiter));
  command->add_option("--encoding", asked->records.encoding, Say(Said::kEncoding));
  command->add_option("--null", asked->records.null, Say(Said::kNullText));
  command->add_option("--bool", asked->words, Say(Said::kTruthTexts));
  command->add_option("--date-format", asked->reading.dateFormat, Say(Said::kDateFormat));
  command->add_option("--binary", asked->bytes, Say(Said::kBinaryForm))->check(CLI::IsMember({"hex", "base64", "files"}));
  command->callback([asked] { Run(*asked); });
}

}  // namespace tamlo::cli
