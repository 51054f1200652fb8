// query and exec: statements in the database's own SQL.
#include <CLI/Option.hpp>
#include <algorithm>
#include <fstream>
#include <iostream>
#include <memory>

#include "base/FilePath.h"
#include "base/Utf8.h"
#include "cli/Commands.h"
#include "cli/Messages.h"
#include "cli/RunStatement.h"
#include "cli/Shell.h"
#include "cli/Source.h"
#include "cli/System.h"
#include "jet/sql/Session.h"
#include "runtime/Error.h"

namespace tamlo::cli {
namespace {

struct Asked {
  std::string database;
  std::string sql;
  std::string file;
  std::vector<std::string> statements;
  ShellOptions shell;
  bool write = false;
  CLI::Option* given = nullptr;  ///< SQL on the line
  std::shared_ptr<Login> login = std::make_shared<Login>();
};

/// One statement.
void RunStatement(Opened& opened, const std::string& sql, const ShellOptions& options) {
  if (sql.find_first_not_of(" \t\r\n") == std::string::npos) throw Failure(Status::kUsage, Say(Said::kNoStatement));
  Output output;
  const auto format = FormatNamed(options.format, output, options.spelling);
  Statements statements(opened, options.access, false);
  Given given(options.parameters);
  statements.Parameters(given, true);
  const auto result = statements.Run(sql, "query", *format);
  if (!result.gaveRows && result.rows >= 0) output.Text() += Say(Said::kRowsAffected, {std::to_string(result.rows)}) + '\n';
  output.Close();
}

Status Query(Asked& asked) {
  asked.shell.access = asked.write ? Access::kWrite : Access::kRead;
  std::ifstream file;
  if (!asked.file.empty()) {
    file.open(base::FilePath(asked.file), std::ios::binary);
    if (!file) throw Failure(Status::kUsage, Say(Said::kCannotRead, {asked.file}));
  }
  Opened opened = Open(asked.database, *asked.login, asked.shell.access);
  if (file.is_open()) return RunScript(opened, asked.shell, file, asked.file);
  if (!asked.given->empty()) {
    RunStatement(opened, asked.sql, asked.shell);
    return Status::kDone;
  }
  if (InputIsTyped()) return RunShell(opened, asked.shell);
  return RunScript(opened, asked.shell, std::cin, Say(Said::kStandardInput));
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

void AddQuery(CLI::App& app, Status& status) {
  const auto asked = std::make_shared<Asked>();
  CLI::App* query = app.add_subcommand("query", Say(Said::kQuery));
  query->add_option("DB", asked->database, Say(Said::kDatabase))->required();
  asked->given = query->add_option("SQL", asked->sql, Say(Said::kStatement));
  query->add_option("-f,--file", asked->file, Say(Said::kStatementFile))->excludes(asked->given);
  query->add_flag("--write", asked->write, Say(Said::kWrite));
  query->add_option("-F,--format", asked->shell.format, Say(Said::kFormat))
      ->check(CLI::IsMember({"csv", "tsv", "json", "jsonl", "sql", "table"}));
  query->add_option("--param", asked->shell.parameters, Say(Said::kParam))->allow_extra_args(false);
  query->add_option("--null", asked->shell.spelling.null, Say(Said::kNullText));
  AddLogin(*query, asked->login);
  query->callback([asked, &status] { status = Query(*asked); });
  CLI::App* exec = app.add_subcommand("exec", Say(Said::kExec));
  exec->add_option("DB", asked->database, Say(Said::kDatabase))->required();
  exec->add_option("SQL", asked->statements, Say(Said::kStatement))->required();
  AddLogin(*exec, asked->login);
  exec->callback([asked] { Exec(*asked); });
}

}  // namespace tamlo::cli
