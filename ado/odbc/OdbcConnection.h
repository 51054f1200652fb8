#pragma once

#include <memory>
#include <span>
#include <string>
#include <vector>

#include "ado/Provider.h"
#include "ado/odbc/statement/Session.h"

namespace tamlo::ado::odbc {

/// A connection through the driver manager. Transactions have one level; its properties are "DBMS Name", "DBMS Version", "Driver Name",
/// "Data Source Name", "Current Catalog" and "User Name", and "Statements Resent", how often something was sent again because the server had
/// undone it whole; all read-only. "Cancellable", set before, lets "Cancel" end the statement that runs, and is the only one that another thread
/// may set; their values are not looked at.
class OdbcConnection final : public ProviderConnection {
 public:
  explicit OdbcConnection(std::shared_ptr<Session> session);
  ~OdbcConnection() override;

  std::int64_t Execute(const std::string& text, std::int32_t timeoutSeconds) override;
  std::int64_t ExecuteWith(const std::string& text, std::span<const ado::Parameter> parameters, std::int32_t timeoutSeconds) override;
  [[nodiscard]] std::unique_ptr<ProviderCommand> Prepare(const std::string& text) override;
  [[nodiscard]] std::vector<ado::Parameter> DescribeParameters(const std::string& text) override;
  [[nodiscard]] bool HasOutputParameters() const override;
  [[nodiscard]] std::string TableStatement(const std::string& table) override;
  [[nodiscard]] std::unique_ptr<ProviderRowset> OpenRowset(const RowsetRequest& request) override;
  std::int32_t BeginTransaction() override;
  void CommitTransaction() override;
  void RollbackTransaction() override;
  [[nodiscard]] std::int32_t TransactionLevel() const noexcept override { return session_->InTransaction() ? 1 : 0; }
  [[nodiscard]] std::optional<Variant> Property(const std::string& upperName) const override;
  bool SetProperty(const std::string& upperName, const Variant& value) override;
  [[nodiscard]] std::unique_ptr<ProviderCatalog> OpenCatalog() override;
  [[nodiscard]] std::unique_ptr<ProviderBulkInsert> OpenBulkInsert(const std::string& table, const std::vector<std::string>& columns,
                                                                   const std::string& owner) override;

 private:
  [[nodiscard]] std::int64_t Send(const std::string& text, std::span<const ado::Parameter> parameters, std::int32_t timeoutSeconds);

  std::shared_ptr<Session> session_;  // shared with cursors and catalogs, which may be let go later than the connection is closed
};

}  // namespace tamlo::ado::odbc
