#pragma once

#include <memory>
#include <string>
#include <vector>

#include "ado/Provider.h"
#include "ado/sqlite/Session.h"

namespace tamlo::ado::sqlite {

/// A connection to a file; what it can is told by SqliteProvider.h. Its property is "DBMS Name".
class SqliteConnection final : public ProviderConnection {
 public:
  explicit SqliteConnection(const OpenRequest& request);
  ~SqliteConnection() override;

  std::int64_t Execute(const std::string& text, std::int32_t timeoutSeconds) override { return session_->Run(text, timeoutSeconds); }
  [[nodiscard]] std::string TableStatement(const std::string& table) override { return AllRowsOf(table); }
  [[nodiscard]] std::unique_ptr<ProviderRowset> OpenRowset(const RowsetRequest& request) override;
  /// A file that another one writes for longer than five seconds is an error here, and not in the middle of the transaction.
  std::int32_t BeginTransaction() override;
  /// Error kNoTransaction when SQLite has undone it.
  void CommitTransaction() override;
  /// Nothing to be done where SQLite has undone it.
  void RollbackTransaction() override;
  [[nodiscard]] std::int32_t TransactionLevel() const noexcept override { return begun_ ? 1 : 0; }
  [[nodiscard]] std::optional<Variant> Property(const std::string& upperName) const override;
  bool SetProperty(const std::string& /*upperName*/, const Variant& /*value*/) override { return false; }
  /// Error 3251.
  [[nodiscard]] std::unique_ptr<ProviderCatalog> OpenCatalog() override;
  [[nodiscard]] std::unique_ptr<ProviderBulkInsert> OpenBulkInsert(const std::string& table, const std::vector<std::string>& columns,
                                                                   const std::string& owner) override;

 private:
  std::shared_ptr<Session> session_;
  bool begun_ = false;
};

}  // namespace tamlo::ado::sqlite
