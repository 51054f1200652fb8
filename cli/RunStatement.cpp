#include "cli/RunStatement.h"

#include <chrono>
#include <condition_variable>
#include <limits>
#include <mutex>
#include <optional>
#include <sstream>
#include <thread>
#include <vector>

#include "ado/Recordset.h"
#include "base/Case.h"
#include "cli/Failure.h"
#include "cli/Interrupts.h"
#include "cli/ServerRows.h"
#include "jet/sql/Interruption.h"

namespace tamlo::cli {
namespace {

struct Interrupted {};

/// Stands before a form: between two rows Ctrl-C is heeded.
class UntilInterrupted final : public RowFormat {
 public:
  UntilInterrupted(RowFormat& format, bool interruptible) : format_(format), interruptible_(interruptible) {}
  void Begin(const std::string& table, const std::vector<std::string>& columns) override { format_.Begin(table, columns); }
  void Row(const std::vector<jet::Value>& values) override {
    if (interruptible_ && Interrupts::Seen()) throw Interrupted();
    format_.Row(values);
    ++rows_;
  }
  void End() override { format_.End(); }
  [[nodiscard]] bool WantsMoments() const override { return format_.WantsMoments(); }
  [[nodiscard]] std::int64_t Rows() const noexcept { return rows_; }

 private:
  RowFormat& format_;
  bool interruptible_;
  std::int64_t rows_ = 0;
};

/// While it lives Ctrl-C ends what runs in the file or on the connection.
class Canceller {
 public:
  explicit Canceller(ado::Connection* connection) : thread_([this, connection] { Run(connection); }) {}
  ~Canceller() {
    {
      const std::lock_guard guard(lock_);
      ends_ = true;
    }
    change_.notify_all();
    thread_.join();
    jet::sql::InterruptStatements(false);
  }
  Canceller(const Canceller&) = delete;
  Canceller& operator=(const Canceller&) = delete;

 private:
  void Run(ado::Connection* connection) {
    constexpr auto kLook = std::chrono::milliseconds(50);
    // A server needs a moment, and may not have begun yet.
    constexpr int kLooksBetween = 10;
    std::unique_lock guard(lock_);
    for (int looks = 0; !ends_; change_.wait_for(guard, kLook)) {
      if (!Interrupts::Seen()) continue;
      if (connection == nullptr) jet::sql::InterruptStatements(true);
      if (connection != nullptr && looks++ % kLooksBetween == 0) connection->Property("Cancel", true);
    }
  }

  std::mutex lock_;
  std::condition_variable change_;
  bool ends_ = false;
  std::thread thread_;  // last: it uses the others
};

/// The words in capitals, up to so many; the rest as it stands behind them.
std::vector<std::string> FirstWords(const std::string& sql, std::size_t most) {
  std::vector<std::string> words;
  std::istringstream text(sql);
  for (std::string word; words.size() < most && text >> word;) words.push_back(base::UpperCase(word));
  return words;
}

/// PostgreSQL's driver keeps each statement as soon as it is done, whatever a statement before has begun: a transaction has to be begun and
/// ended by its own means. True when the statement was about one and is done (ShellOnServer.StatementsThatMayWriteKeepWhatTheyCommit).
bool IsTransaction(ado::Connection& connection, const std::string& sql) {
  const auto words = FirstWords(sql, 100);
  if (words.empty()) return false;
  const auto is = [&](std::size_t at, std::string_view word) { return at < words.size() && words[at] == word; };
  const std::size_t rest = is(1, "WORK") || is(1, "TRANSACTION") ? 2 : 1;
  if (is(0, "BEGIN") || (is(0, "START") && is(1, "TRANSACTION"))) {
    connection.BeginTrans();
    std::string settings;
    for (std::size_t i = rest; i < words.size(); ++i) settings += ' ' + words[i];
    if (!settings.empty()) connection.Execute("SET TRANSACTION" + settings);
    return true;
  }
  if (words.size() != rest) return false;
  if (is(0, "COMMIT") || is(0, "END")) {
    connection.CommitTrans();
    return true;
  }
  if (!is(0, "ROLLBACK") && !is(0, "ABORT")) return false;
  connection.RollbackTrans();
  return true;
}

}  // namespace

Statements::Statements(Opened& opened, Access access, bool interruptible)
    : opened_(opened), access_(access), interruptible_(interruptible) {
  if (opened_.file) session_ = std::make_unique<jet::sql::Session>(*opened_.file);
  if (opened_.connection && interruptible_) opened_.connection->Property("Cancellable", true);
}

Statements::~Statements() = default;

StatementResult Statements::Run(const std::string& sql, const std::string& name, RowFormat& format) {
  try {
    std::optional<Canceller> canceller;
    if (interruptible_) canceller.emplace(opened_.connection.get());
    return session_ ? RunInFile(sql, name, format) : RunOnServer(sql, name, format);
  } catch (const Interrupted&) {
    return {.interrupted = true};
  } catch (const Failure&) {
    if (interruptible_ && Interrupts::Seen()) return {.interrupted = true};
    throw;
  }
}

std::unique_ptr<jet::sql::Query> Statements::OpenInFile(const std::string& sql, std::int64_t& affected, bool asNumbers) {
  const auto parameters = given_->For(*session_, sql, asNumbers);
  if (all_) given_->LookForUnused();
  try {
    return access_ == Access::kWrite ? session_->OpenOrRun(sql, parameters, &affected) : session_->Open(sql, parameters);
  } catch (const jet::Error& error) {
    // Nothing was done. A text stands where a number is wanted: it may be one.
    if (error.Code() != jet::ErrorCode::kTypeMismatch || parameters.empty() || asNumbers) throw;
    return OpenInFile(sql, affected, true);
  }
}

StatementResult Statements::RunInFile(const std::string& sql, const std::string& name, RowFormat& format) {
  try {
    std::int64_t affected = 0;
    const auto query = OpenInFile(sql, affected, false);
    if (!query) return {.rows = affected};
    std::vector<std::string> names;
    for (const auto& column : query->Columns()) names.push_back(column.name);
    UntilInterrupted rows(format, interruptible_);
    rows.Begin(name, names);
    std::vector<jet::Value> row(names.size());
    while (query->Next()) {
      for (std::size_t i = 0; i < row.size(); ++i) row[i] = query->Get(i);
      rows.Row(row);
    }
    rows.End();
    return {.gaveRows = true, .rows = rows.Rows()};
  } catch (const jet::Error& error) {
    throw Failure(Status::kFailed, error.what());
  }
}

ado::Recordset Statements::OpenOnServer(const std::string& sql, std::int64_t& affected) {
  if (given_->Empty()) return opened_.connection->Execute(sql, affected);
  ado::Command command;
  command.ActiveConnection(opened_.connection.get());
  command.CommandText(sql);
  command.CommandTimeout(0);
  given_->Into(command);
  if (all_) given_->LookForUnused();
  return command.Execute(affected);
}

StatementResult Statements::RunOnServer(const std::string& sql, const std::string& name, RowFormat& format) {
  ado::Recordset given;
  std::int64_t affected = -1;
  try {
    if (opened_.engine == schema::Engine::kPostgreSql && IsTransaction(*opened_.connection, sql)) return {};
    given = OpenOnServer(sql, affected);
  } catch (const runtime::Error& error) {
    throw Failure(Status::kFailed, ServerText(error));
  }
  if (!given.IsOpen()) return {.rows = affected};
  UntilInterrupted rows(format, interruptible_);
  WriteRows(given, name, std::numeric_limits<std::int64_t>::max(), rows);
  return {.gaveRows = true, .rows = rows.Rows()};
}

}  // namespace tamlo::cli
