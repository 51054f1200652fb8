// import: the rows of a text file into a table of an Access file, all or none.
#include <CLI/Option.hpp>
#include <algorithm>
#include <map>
#include <memory>

#include "base/Case.h"
#include "base/Utf8.h"
#include "cli/ColumnTypes.h"
#include "cli/Commands.h"
#include "cli/Messages.h"
#include "cli/Output.h"
#include "cli/Source.h"
#include "jet/sql/Session.h"
#include "jet/table/Table.h"
#include "jet/value/Text.h"

namespace tamlo::cli {
namespace {

struct Asked {
  std::string database;
  std::string table;
  std::string file;
  bool create = false;
  std::string types;
  std::vector<std::string> renamed;  ///< "Header=Column"
  std::string words;
  std::string delimiter;
  std::string bytes = "hex";
  RecordOptions records;
  Reading reading;
};

/// The two sides of a "=" or ",": where there is none, nothing on the right.
std::pair<std::string, std::string> Cut(const std::string& text, char sign) {
  const auto at = text.find(sign);
  if (at == std::string::npos) return {text, {}};
  return {text.substr(0, at), text.substr(at + 1)};
}

void ReadOptions(Asked& asked) {
  asked.reading.base64 = asked.bytes == "base64";
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

/// The names of the columns that the file's are meant for.
std::vector<std::string> ColumnNames(const Records& records, const Asked& asked) {
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

/// A table for all values of the file, its types guessed where none is given.
jet::TableSpec NewTable(const Asked& asked) {
  const auto records = OpenRecords(asked.file, asked.records);
  const auto names = ColumnNames(*records, asked);
  std::vector<TypeGuess> guesses(names.size(), TypeGuess(asked.reading));
  for (std::vector<Cell> cells; records->Next(cells);)
    for (std::size_t i = 0; i < cells.size(); ++i) guesses[i].See(cells[i]);
  jet::TableSpec spec{.name = asked.table, .columns = {}, .indexes = {}, .properties = {}, .flags = 0};
  for (std::size_t i = 0; i < names.size(); ++i) spec.columns.push_back(guesses[i].Column(names[i]));
  for (const auto& given : ReadTypes(asked.types)) {
    const auto place =
        std::find_if(spec.columns.begin(), spec.columns.end(), [&](const auto& column) { return base::SameName(column.name, given.name); });
    if (place == spec.columns.end()) throw Failure(Status::kUsage, Say(Said::kNoHeader, {asked.file, given.name}));
    const std::string name = place->name;
    *place = given;
    place->name = name;
  }
  return spec;
}

/// Writes the rows of one file.
class Import {
 public:
  Import(jet::Database& file, const Asked& asked)
      : asked_(asked), table_(file.OpenTable(asked.table)), records_(OpenRecords(asked.file, asked.records)) {
    for (const auto& name : ColumnNames(*records_, asked)) {
      const auto place = table_.FindColumn(name);
      if (!place) throw Failure(Status::kFailed, Say(Said::kNoColumnForHeader, {table_.Name(), name, asked.file}));
      places_.push_back(*place);
    }
    jet::sql::Session session(file);
    for (auto& initial : session.Defaults(*session.FindTable(asked.table)))
      if (std::find(places_.begin(), places_.end(), initial.first) == places_.end()) defaults_.push_back(std::move(initial));
  }

  std::int64_t Run() {
    std::int64_t rows = 0;
    std::vector<jet::Value> values(places_.size());
    std::vector<jet::Assignment> row;
    for (std::size_t i = 0; i < values.size(); ++i) row.push_back({.column = places_[i], .value = &values[i], .source = nullptr});
    for (const auto& [column, value] : defaults_) row.push_back({.column = column, .value = &value, .source = nullptr});
    for (std::vector<Cell> cells; records_->Next(cells); ++rows) {
      for (std::size_t i = 0; i < cells.size(); ++i) values[i] = Value(cells[i], places_[i]);
      try {
        table_.Insert(row);
      } catch (const jet::Error& error) {
        Refuse(error.what());
      }
    }
    return rows;
  }

 private:
  jet::Value Value(const Cell& cell, std::size_t place) const {
    const jet::ColumnDef& column = table_.Columns()[place];
    auto value = ValueOf(cell, column, asked_.reading);
    if (!value) Refuse(Say(Said::kNoValueOf, {column.name, std::string(base::FirstCharacters(cell.text, 40)), TypeWord(column)}));
    if (column.type == jet::ColumnType::kText && !value->IsNull() && jet::CountUtf16(cell.text) > column.size)
      Refuse(Say(Said::kTooLong, {column.name, std::string(base::FirstCharacters(cell.text, 40)), std::to_string(column.size)}));
    return std::move(*value);
  }
  static std::string TypeWord(const jet::ColumnDef& column) {
    using Type = jet::ColumnType;
    switch (column.type) {
      case Type::kBoolean:
        return "boolean";
      case Type::kByte:
        return "byte";
      case Type::kInteger:
        return "integer";
      case Type::kLong:
        return "long";
      case Type::kCurrency:
        return "currency";
      case Type::kSingle:
        return "single";
      case Type::kDouble:
        return "double";
      case Type::kDate:
        return "date";
      case Type::kGuid:
        return "guid";
      case Type::kNumeric:
        return "decimal(" + std::to_string(column.precision) + "," + std::to_string(column.scale) + ")";
      default:
        return "binary";
    }
  }
  [[noreturn]] void Refuse(const std::string& why) const {
    throw Failure(Status::kFailed, Say(Said::kAtLine, {asked_.file, std::to_string(records_->Line()), why}));
  }

  const Asked& asked_;
  jet::Table& table_;
  std::unique_ptr<Records> records_;
  std::vector<std::size_t> places_;
  std::vector<std::pair<std::size_t, jet::Value>> defaults_;
};

void Run(Asked& asked) {
  ReadOptions(asked);
  const auto file = OpenFile(asked.database, true);
  jet::Transaction transaction(*file);
  if (asked.create) {
    if (file->FindObject(asked.table) != nullptr) throw Failure(Status::kFailed, Say(Said::kExistsAlready, {asked.table}));
    file->CreateTable(NewTable(asked));
  } else {
    const auto* object = file->FindObject(asked.table);
    if (object == nullptr || object->kind != jet::ObjectKind::kTable) throw Failure(Status::kUsage, Say(Said::kNoSuchTable, {asked.table}));
  }
  const std::int64_t rows = Import(*file, asked).Run();
  transaction.Commit();
  Output output;
  output.Text() = Say(Said::kRowsAffected, {std::to_string(rows)}) + '\n';
  output.Close();
}

}  // namespace

void AddImport(CLI::App& app, Status&) {
  const auto asked = std::make_shared<Asked>();
  CLI::App* command = app.add_subcommand("import", Say(Said::kImport));
  command->add_option("DB", asked->database, Say(Said::kDatabase))->required();
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
  command->add_option("--binary", asked->bytes, Say(Said::kBinaryForm))->check(CLI::IsMember({"hex", "base64"}));
  command->callback([asked] { Run(*asked); });
}

}  // namespace tamlo::cli
