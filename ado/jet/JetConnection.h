#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "ado/Provider.h"
#include "ado/jet/JetErrors.h"
#include "jet/Database.h"
#include "jet/sql/Session.h"

namespace tamlo::ado::jetprovider {

/// A cursor that is still being read and has promised its rows as they were when it began.
class UnreadCopy {
 public:
  /// Reads what is still to be read and keeps it; a failure is kept too, for whoever asks for the rows.
  virtual void Settle() noexcept = 0;
  [[nodiscard]] virtual bool Reads(const jet::sql::EngineTable& table) const = 0;

 protected:
  ~UnreadCopy() = default;
};

/// One open Access file and the statements on it.
class JetConnection final : public ProviderConnection {
 public:
  explicit JetConnection(const OpenRequest& request);
  ~JetConnection() override;

  std::int64_t Execute(const std::string& text, std::int32_t timeoutSeconds) override;
  std::int64_t ExecuteWith(const std::string& text, std::span<const Parameter> parameters, std::int32_t timeoutSeconds) override;
  [[nodiscard]] std::vector<Parameter> DescribeParameters(const std::string& text) override;
  [[nodiscard]] std::string CallStatement(const std::string& name, std::size_t parameters, bool returns) override;
  [[nodiscard]] std::unique_ptr<ProviderRowset> OpenRowset(const RowsetRequest& request) override;
  std::int32_t BeginTransaction() override;
  void CommitTransaction() override;
  void RollbackTransaction() override;
  [[nodiscard]] std::int32_t TransactionLevel() const noexcept override { return database_->TransactionDepth(); }
  void Backup(const std::string& path) override;
  [[nodiscard]] std::optional<Variant> Property(const std::string& upperName) const override;
  bool SetProperty(const std::string& upperName, const Variant& value) override;
  [[nodiscard]] std::unique_ptr<ProviderCatalog> OpenCatalog() override;
  [[nodiscard]] std::unique_ptr<ProviderBulkInsert> OpenBulkInsert(const std::string& table, const std::vector<std::string>& columns,
                                                                   const std::string& owner) override;

  [[nodiscard]] jet::Database& Database() noexcept { return *database_; }
  [[nodiscard]] jet::sql::Session& Session() noexcept { return *session_; }

  /// A cursor says when it begins to be read and when there is nothing more to read; it must do so before it goes.
  void BeginsToRead(UnreadCopy& cursor);
  void HasRead(UnreadCopy& cursor) noexcept;
  /// To be called before this connection changes rows: of that table and whatever depends on it, or of any (null).
  void BeforeChange(const jet::sql::EngineTable* table = nullptr);
  /// Counts those calls.
  [[nodiscard]] std::uint64_t Changes() const noexcept { return changes_; }
  /// See Connection::GeneralNumbers.
  [[nodiscard]] bool GeneralNumbers() const noexcept { return generalNumbers_; }
  /// Counts the transactions that were rolled back, also by a failure: what was read inside of them may be no more.
  [[nodiscard]] std::uint64_t Rollbacks() const noexcept { return rollbacks_; }

  /// Counts a transaction that a piece of work on the connection has lost or ended.
  class RollbackWatch {
   public:
    explicit RollbackWatch(JetConnection& connection) : connection_(connection), depth_(connection.TransactionLevel()) {}
    ~RollbackWatch() {
      if (connection_.TransactionLevel() < depth_) ++connection_.rollbacks_;
    }
    RollbackWatch(const RollbackWatch&) = delete;
    RollbackWatch& operator=(const RollbackWatch&) = delete;

   private:
    JetConnection& connection_;
    std::int32_t depth_;
  };

 private:
  /// The rows of a table, or of a stored query, by its name.
  [[nodiscard]] std::unique_ptr<ProviderRowset> OpenTable(const RowsetRequest& request);
  [[nodiscard]] std::unique_ptr<ProviderRowset> OpenQuery(std::unique_ptr<jet::sql::Query> query, const RowsetRequest& request);

  /// The limits of the next statement: what the properties say, and the caller's time.
  void Limit(std::int32_t timeoutSeconds);
  /// Runs a piece of work that the caller's statement asks for.
  template <typename Work>
  decltype(auto) OnStatement(Work&& work, const std::string& text) {
    try {
      return std::forward<Work>(work)();
    } catch (const jet::Error& error) {
      throw generalNumbers_ ? Translated(error, text) : TranslatedOfStatement(error, text);
    }
  }

  std::unique_ptr<jet::Database> database_;
  std::unique_ptr<jet::sql::Session> session_;
  bool generalNumbers_;
  std::vector<UnreadCopy*> unread_;
  std::uint64_t changes_ = 0;
  std::uint64_t rollbacks_ = 0;
  std::int32_t maxLocks_ = 9500;
  jet::sql::StatementLimits limits_;
  std::int32_t lockWait_ = jet::kLockWait;  // milliseconds
};

}  // namespace tamlo::ado::jetprovider
