#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "ado/Provider.h"
#include "jet/Database.h"
#include "jet/sql/Session.h"

namespace tamlo::ado::jetprovider {

/// One open Access file and the statements on it.
class JetConnection final : public ProviderConnection {
 public:
  explicit JetConnection(const OpenRequest& request);
  ~JetConnection() override;

  std::int64_t Execute(const std::string& text, std::int32_t timeoutSeconds) override;
  std::int64_t ExecuteWith(const std::string& text, std::span<const Parameter> parameters, std::int32_t timeoutSeconds) override;
  [[nodiscard]] std::vector<Parameter> DescribeParameters(const std::string& text) override;
  [[nodiscard]] std::string CallStatement(const std::string& name, std::size_t parameters) override;
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

 private:
  std::unique_ptr<jet::Database> database_;
  std::unique_ptr<jet::sql::Session> session_;
  /// The limits of the next statement: what the properties say, and the caller's time.
  void Limit(std::int32_t timeoutSeconds);

  std::int32_t maxLocks_ = 9500;
  jet::sql::StatementLimits limits_;
  std::int32_t lockWait_ = jet::kLockWait;  // milliseconds
};

}  // namespace tamlo::ado::jetprovider
