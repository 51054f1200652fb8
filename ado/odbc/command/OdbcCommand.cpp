#include "ado/odbc/command/OdbcCommand.h"

#include <utility>

#include "ado/odbc/statement/Resend.h"
#include "ado/odbc/statement/SqlText.h"
#include "ado/odbc/values/ParameterSet.h"
#include "runtime/Error.h"

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
      set_.reset();
      statement_.reset();
      throw;
    }
  });
  return affected;
}

void OdbcCommand::Prepare(std::int32_t timeoutSeconds) {
  set_.reset();
  statement_.reset();
  statement_.emplace(session_, timeoutSeconds);
  statement_->Prepare(bound_.Sql());
  timeoutSeconds_ = timeoutSeconds;
  schema_ = session_->SchemaVersion();
  givesRows_.reset();
}

std::optional<OdbcCommand::Kind> OdbcCommand::KindOf(const ado::Parameter& parameter) {
  const Variant& value = parameter.value;
  // These go with as many decimals as they have.
  if (value.Is<runtime::Date>() || value.Is<runtime::Decimal>()) return std::nullopt;
  const auto* text = value.If<std::string>();
  return Kind{parameter.type, value.Stored().index(), parameter.size, text != nullptr && text->size() > kLongestShortText};
}

/// Into the buffers of the last execution, where the values are of the same kinds: what is bound stays bound.
bool OdbcCommand::Refill(std::span<const ado::Parameter> parameters) {
  if (!set_ || parameters.size() != kinds_.size()) return false;
  for (std::size_t i = 0; i < parameters.size(); ++i) {
    if (!kinds_[i] || KindOf(parameters[i]) != kinds_[i]) return false;
  }
  for (std::size_t i = 0; i < parameters.size(); ++i) set_->Refill(i, parameters[i].value);
  return true;
}

void OdbcCommand::Fill(std::span<const ado::Parameter> parameters) {
  if (bound_.NeedsNone() && Refill(parameters)) return;
  kinds_.clear();
  set_.emplace(*statement_);
  bound_.AddTo(*set_, *statement_, parameters, session_->Facts());
  for (const ado::Parameter& one : parameters) kinds_.push_back(KindOf(one));
}

std::int64_t OdbcCommand::Send(std::span<const ado::Parameter> parameters, std::int32_t timeoutSeconds) {
  if (changesSchema_) session_->SchemaChanged();
  if (!statement_ || timeoutSeconds_ != timeoutSeconds || schema_ != session_->SchemaVersion()) {
    Prepare(timeoutSeconds);
  } else if (!isSingle_) {  // which opens and ends no transaction
    session_->NoteText(bound_.Sql());
  }
  Fill(parameters);
  set_->Execute();
  const std::int64_t affected = statement_->RowsAffected();
  // A single change has nothing behind it, and gives rows always or never.
  if (!isSingle_) statement_->FinishResults();
  if (!givesRows_) givesRows_ = !isSingle_ || statement_->ColumnCount() > 0;
  if (*givesRows_) statement_->CloseCursor();
  return affected;
}

}  // namespace tamlo::ado::odbc
