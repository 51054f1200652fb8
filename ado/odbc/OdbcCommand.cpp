#include "ado/odbc/OdbcCommand.h"

#include <utility>

#include "ado/odbc/Parameter.h"
#include "ado/odbc/Resend.h"
#include "ado/odbc/SqlText.h"

namespace tamlo::ado::odbc {

OdbcCommand::OdbcCommand(std::shared_ptr<Session> session, const std::string& text)
    : session_(std::move(session)),
      bound_(text, session_->Facts()),
      isSingle_(IsSingleChangeOrQuery(text)),
      changesSchema_(ChangesSchema(bound_.Sql())) {}

std::int64_t OdbcCommand::Execute(std::span<const ado::Parameter> parameters, std::int32_t timeoutSeconds) {
  std::int64_t affected = 0;
  Resending(*session_, isSingle_, [&] {
    try {
      affected = Send(parameters, timeoutSeconds);
    } catch (...) {
      statement_.reset();
      throw;
    }
  });
  return affected;
}

std::int64_t OdbcCommand::Send(std::span<const ado::Parameter> parameters, std::int32_t timeoutSeconds) {
  if (changesSchema_) session_->SchemaChanged();
  if (!statement_ || timeoutSeconds_ != timeoutSeconds || schema_ != session_->SchemaVersion()) {
    statement_.reset();
    statement_.emplace(session_, timeoutSeconds);
    statement_->Prepare(bound_.Sql());
    timeoutSeconds_ = timeoutSeconds;
    schema_ = session_->SchemaVersion();
  } else {
    session_->NoteText(bound_.Sql());
  }
  ParameterSet set(*statement_);
  bound_.AddTo(set, *statement_, parameters, session_->Facts());
  set.Execute();
  const std::int64_t affected = statement_->RowsAffected();
  statement_->FinishResults();
  statement_->CloseCursor();
  return affected;
}

}  // namespace tamlo::ado::odbc
