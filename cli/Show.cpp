// info, tables, queries, relations: what is there, for people and for programs.
#include <CLI/Option.hpp>
#include <filesystem>
#include <memory>

#include "base/FilePath.h"
#include "cli/Commands.h"
#include "cli/Format.h"
#include "cli/Messages.h"
#include "cli/ServerRows.h"
#include "jet/table/Table.h"
#include "schema/ReadAccess.h"

namespace tamlo::cli {
namespace {

const char* FormatOf(const jet::Database& file) {
  if (file.Release() >= 6) return "Access 2019 (.accdb)";
  if (file.Release() == 5) return "Access 2016 (.accdb)";
  if (file.Release() >= 3) return "Access 2010 (.accdb)";
  if (file.Release() != 0) return "Access 2007 (.accdb)";
  return file.FormatVersion() == 3 ? "Access 97 (Jet 3)" : "Access 2000-2003 (Jet 4)";
}

struct Asked {
  std::string database;
  std::string format = "table";
  std::shared_ptr<Login> login = std::make_shared<Login>();
};

constexpr schema::ReadOptions kStructureAlone{.values = false, .counts = false};

jet::Value Whole(std::uint64_t number) {
  return number <= 0x7FFFFFFF ? jet::Value(static_cast<std::int32_t>(number)) : jet::Value(static_cast<double>(number));
}

/// A subcommand that takes a database and a form, and writes rows.
CLI::App* AddReading(CLI::App& app, const char* name, Said about, const std::shared_ptr<Asked>& asked) {
  CLI::App* command = app.add_subcommand(name, Say(about));
  command->add_option("DB", asked->database, Say(Said::kDatabase))->required();
  AddLogin(*command, asked->login);
  command->add_option("-F,--format", asked->format, Say(Said::kFormat))->check(CLI::IsMember({"csv", "tsv", "json", "jsonl", "table"}));
  return command;
}

void Write(const Asked& asked, const std::string& what, const std::vector<std::string>& columns,
           const std::vector<std::vector<jet::Value>>& rows) {
  Output output;
  const auto format = FormatNamed(asked.format, output, {});
  format->Begin(what, columns);
  for (const auto& row : rows) format->Row(row);
  format->End();
  output.Close();
}

using Lines = std::vector<std::pair<Said, jet::Value>>;

Lines FileLines(jet::Database* file, const Asked& asked) {
  std::uint64_t rows = 0;
  int queries = 0;
  int links = 0;
  const auto tables = TablesNamed(*file, {});
  for (const auto& name : tables) rows += file->OpenTable(name).RowCount();
  for (const auto& object : file->Objects()) {
    queries += object.kind == jet::ObjectKind::kQuery && !object.name.starts_with('~') ? 1 : 0;
    links += object.kind == jet::ObjectKind::kJetLink || object.kind == jet::ObjectKind::kOdbcLink ? 1 : 0;
  }
  const auto format = FormatOf(*file);
  Lines lines{{Said::kLabelFile, jet::Value(file->Path())},
              {Said::kLabelFormat, jet::Value(format)},
              {Said::kLabelSize, Whole(std::filesystem::file_size(base::FilePath(asked.database)))},
              {Said::kLabelTables, Whole(tables.size())},
              {Said::kLabelRows, Whole(rows)},
              {Said::kLabelQueries, jet::Value(queries)},
              {Said::kLabelRelations, Whole(schema::RelationsOf(*file).size())},
              {Said::kLabelLinks, jet::Value(links)}};
  if (file->HasPassword()) lines.emplace_back(Said::kLabelProtection, jet::Value(Say(Said::kHasPassword)));
  if (file->Encoded())
    lines.emplace_back(Said::kLabelProtection, jet::Value(Say(file->Release() != 0 ? Said::kPagesEncrypted : Said::kPagesEncoded)));
  return lines;
}

Lines ServerLines(Opened& opened) {
  const ado::Variant version = opened.connection->Property("DBMS Version");
  const schema::Database read = ReadStructure(opened, {.values = false});
  std::uint64_t rows = 0;
  for (const auto& table : read.tables) rows += table.rows;
  Lines lines{{Said::kLabelDatabase, jet::Value(opened.address.shown)},
              {Said::kLabelFormat, jet::Value(opened.product + (version.IsText() ? " " + *version.If<std::string>() : ""))}};
  if (!opened.address.file.empty())
    lines.emplace_back(Said::kLabelSize, Whole(std::filesystem::file_size(base::FilePath(opened.address.file))));
  lines.emplace_back(Said::kLabelTables, Whole(read.tables.size()));
  lines.emplace_back(Said::kLabelRows, Whole(rows));
  lines.emplace_back(Said::kLabelQueries, Whole(read.queries.size()));
  lines.emplace_back(Said::kLabelRelations, Whole(read.relations.size()));
  return lines;
}

void Info(const Asked& asked) {
  Opened opened = Open(asked.database, *asked.login);
  const Lines lines = opened.file ? FileLines(opened.file.get(), asked) : ServerLines(opened);
  Output output;
  for (const auto& [label, value] : lines) {
    const std::string name = Say(label);
    output.Text() += name + std::string(name.size() < 12 ? 12 - name.size() : 1, ' ');
    AppendPlain(output.Text(), value, {});
    output.Text() += '\n';
  }
  output.Close();
}

void Tables(const Asked& asked) {
  Opened opened = Open(asked.database, *asked.login);
  std::vector<std::vector<jet::Value>> rows;
  for (const auto& name : TablesOf(opened)) rows.push_back({jet::Value(name), Whole(RowsOf(opened, name))});
  Write(asked, "tables", {"table", "rows"}, rows);
}

void Queries(const Asked& asked) {
  Opened opened = Open(asked.database, *asked.login);
  std::vector<std::vector<jet::Value>> rows;
  for (const auto& query : ReadStructure(opened, kStructureAlone).queries)
    rows.push_back({jet::Value(query.name),
                    jet::Value(query.sql.empty() ? "-- " + (query.reason.empty() ? Say(Said::kQueryNotShown) : query.reason) : query.sql)});
  Write(asked, "queries", {"query", "sql"}, rows);
}

std::string Pairs(const schema::Relation& relation) {
  std::string text;
  for (const auto& [from, to] : relation.columns) text += (text.empty() ? "" : ", ") + from + " -> " + to;
  return text;
}

void Relations(const Asked& asked) {
  Opened opened = Open(asked.database, *asked.login);
  std::vector<std::vector<jet::Value>> rows;
  for (const auto& relation : ReadStructure(opened, kStructureAlone).relations)
    rows.push_back({jet::Value(relation.name), jet::Value(relation.table), jet::Value(relation.referenced), jet::Value(Pairs(relation)),
                    jet::Value(relation.enforced), jet::Value(relation.cascadeUpdates), jet::Value(relation.cascadeDeletes)});
  Write(asked, "relations", {"relation", "table", "referenced", "columns", "enforced", "cascadeUpdates", "cascadeDeletes"}, rows);
}

}  // namespace

void AddShow(CLI::App& app, Status&) {
  const auto asked = std::make_shared<Asked>();
  CLI::App* info = app.add_subcommand("info", Say(Said::kInfo));
  info->add_option("DB", asked->database, Say(Said::kDatabase))->required();
  AddLogin(*info, asked->login);
  info->callback([asked] { Info(*asked); });
  AddReading(app, "tables", Said::kTables, asked)->callback([asked] { Tables(*asked); });
  AddReading(app, "queries", Said::kQueries, asked)->callback([asked] { Queries(*asked); });
  AddReading(app, "relations", Said::kRelations, asked)->callback([asked] { Relations(*asked); });
}

}  // namespace tamlo::cli
