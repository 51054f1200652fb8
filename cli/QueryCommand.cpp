// query and exec: statements of Access's SQL.
#include <CLI/Option.hpp>
#include <algorithm>
#include <fstream>
#include <iterator>
#include <limits>
#include <memory>

#include "base/FilePath.h"
#include "base/Utf8.h"
#include "cli/Commands.h"
#include "cli/Format.h"
#include "cli/Messages.h"
#include "cli/ServerRows.h"
#include "jet/sql/Session.h"

namespace tamlo::cli {
namespace {

struct Asked {
  std::string database;
  std::string sql;
  std::string file;
  std::vector<std::string> statements;
  std::string format = "table";
  Spelling spelling;
  std::shared_ptr<Login> login = std::make_shared<Login>();
};

std::string TextOf(const std::string& path) {
  std::ifstream file(base::FilePath(path), std::ios::binary);
  if (!file) throw Failure(Status::kUsage, Say(Said::kCannotRead, {path}));
  return {std::istreambuf_iterator<char>(file), {}};
}

void Query(const Asked& asked) {
  const std::string sql = asked.file.empty() ? asked.sql : TextOf(asked.file);
  if (sql.empty()) throw Failure(Status::kUsage, Say(Said::kNoStatement));
  Opened opened = Open(asked.database, *asked.login);
  if (opened.connection) {
    Output output;
    const auto format = FormatNamed(asked.format, output, asked.spelling);
    WriteServerRows(*opened.connection, sql, "query", std::numeric_limits<std::int64_t>::max(), *format);
    return output.Close();
  }
  jet::sql::Session session(*opened.file);
  const auto query = session.Open(sql);
  std::vector<std::string> names;
  for (const auto& column : query->Columns()) names.push_back(column.name);
  Output output;
  const auto format = FormatNamed(asked.format, output, asked.spelling);
  format->Begin("query", names);
  std::vector<jet::Value> row(names.size());
  while (query->Next()) {
    for (std::size_t i = 0; i < row.size(); ++i) row[i] = query->Get(i);
    format->Row(row);
  }
  format->End();
  output.Close();
}

std::int64_t ExecInFile(jet::Database& file, const std::vector<std::string>& statements) {
  jet::sql::Session session(file);
  jet::Transaction transaction(file);
  std::int64_t rows = 0;
  for (const auto& statement : statements) rows += session.Execute(statement);
  transaction.Commit();
  return rows;
}

/// A connection that closes rolls back what is not committed.
std::int64_t ExecOnServer(ado::Connection& connection, const std::vector<std::string>& statements) {
  std::int64_t rows = 0;
  const std::string* current = nullptr;
  try {
    connection.BeginTrans();
    for (const auto& statement : statements) {
      current = &statement;
      rows += std::max<std::int64_t>(0, connection.Execute(statement));
    }
    connection.CommitTrans();
  } catch (const runtime::Error& error) {
    const std::string start = current == nullptr ? std::string() : current->substr(0, base::WholeCharacters(*current, 60)) + ": ";
    throw Failure(Status::kFailed, start + ServerText(error));
  }
  return rows;
}

void Exec(const Asked& asked) {
  Opened opened = Open(asked.database, *asked.login, Access::kWrite);
  const std::int64_t rows = opened.file ? ExecInFile(*opened.file, asked.statements) : ExecOnServer(*opened.connection, asked.statements);
  Output output;
  output.Text() = Say(Said::kRowsAffected, {std::to_string(rows)}) + '\n';
  output.Close();
}

}  // namespace

void AddQuery(CLI::App& app, Status&) {
  const auto asked = std::make_shared<Asked>();
  CLI::App* query = app.add_subcommand("query", Say(Said::kQuery));
  query->add_option("DB", asked->database, Say(Said::kDatabase))->required();
  query->add_option("SQL", asked->sql, Say(Said::kStatement));
  query->add_option("-f,--file", asked->file, Say(Said::kStatementFile));
  query->add_option("-F,--format", asked->format, Say(Said::kFormat))
      ->check(CLI::IsMember({"csv", "tsv", "json", "jsonl", "sql", "table"}));
  query->add_option("--null", asked->spelling.null, Say(Said::kNullText));
  AddLogin(*query, asked->login);
  query->callback([asked] { Query(*asked); });
  CLI::App* exec = app.add_subcommand("exec", Say(Said::kExec));
  exec->add_option("DB", asked->database, Say(Said::kDatabase))->required();
  exec->add_option("SQL", asked->statements, Say(Said::kStatement))->required();
  AddLogin(*exec, asked->login);
  exec->callback([asked] { Exec(*asked); });
}

}  // namespace tamlo::cli
