#include "ado/sqlite/SqliteBulkInsert.h"

#include <utility>

#include "ado/ConnectionKeys.h"

namespace tamlo::ado::sqlite {
namespace {

/// The column that "NOT NULL constraint failed: T.C" names; blank where it names none, or several.
std::string ColumnToldBy(const std::string& text, const std::string& table, const std::vector<TargetColumn>& columns) {
  const std::string mark = "constraint failed: " + table + ".";
  const auto place = text.find(mark);
  if (place == std::string::npos) return {};
  std::string name = text.substr(place + mark.size());
  for (const TargetColumn& column : columns)
    if (column.name == name) return name;
  return {};
}

}  // namespace

std::string InsertText(const std::string& table, const std::vector<std::string>& columns) {
  // What a table wants done at a conflict (IGNORE, REPLACE, ROLLBACK) would lose rows without a word.
  const std::string insert = "INSERT OR ABORT INTO " + Quoted(table);
  if (columns.empty()) return insert + " DEFAULT VALUES";
  std::string names;
  std::string marks;
  for (const std::string& column : columns) {
    names += (names.empty() ? "" : ", ") + Quoted(column);
    marks += marks.empty() ? "?" : ",?";
  }
  return insert + " (" + names + ") VALUES (" + marks + ")";
}

void AddRow(Session& session, const Statement& insert) {
  const std::int64_t before = session.TotalChanges();
  (void)session.Step(insert);
  sqlite3_reset(insert.get());
  if (session.TotalChanges() != before) return;
  const std::string text = "the table has not taken the row";
  runtime::Error error(runtime::kProviderFailure, text, "sqlite");
  throw error.WithDiagnostics({{"23000", SQLITE_CONSTRAINT, text}});
}

SqliteBulkInsert::SqliteBulkInsert(std::shared_ptr<Session> session, std::string table, const std::vector<std::string>& columns)
    : session_(std::move(session)), table_(std::move(table)) {
  for (const std::string& column : columns) columns_.emplace_back(column, session_->DeclaredType(table_, column));
}

bool SqliteBulkInsert::IsPreparedFor(std::span<const Variant> row) const {
  if (!insert_) return false;
  for (std::size_t i = 0; i < row.size(); ++i)
    if (given_[i] == row[i].IsEmpty()) return false;
  return true;
}

void SqliteBulkInsert::PrepareFor(std::span<const Variant> row) {
  std::vector<std::string> names;
  given_.assign(row.size(), false);
  for (std::size_t i = 0; i < row.size(); ++i) {
    given_[i] = !row[i].IsEmpty();
    if (given_[i]) names.push_back(columns_[i].name);
  }
  insert_ = session_->Prepare(InsertText(table_, names));
}

void SqliteBulkInsert::Write(std::span<const Variant> row) {
  if (!IsPreparedFor(row)) PrepareFor(row);
  int place = 0;
  for (std::size_t i = 0; i < row.size(); ++i)
    if (given_[i]) Bind(insert_.get(), ++place, columns_[i], row[i]);
  AddRow(*session_, insert_);
}

void SqliteBulkInsert::Add(std::span<const Variant> row) {
  refused_ = 0;
  ++rows_;
  const bool outer = session_->InTransaction();
  try {
    Write(row);
    ++stored_;
  } catch (runtime::Error& error) {
    const bool undone = outer && !session_->InTransaction();
    if (IsOfTheRow(error) && !undone) refused_ = rows_;
    const std::string column = ColumnToldBy(error.Description(), table_, columns_);
    throw error.WithContext("ligne " + std::to_string(before_ + rows_) + (column.empty() ? "" : ", colonne " + column));
  }
}

}  // namespace tamlo::ado::sqlite
