#pragma once

#include <map>
#include <memory>
#include <string>
#include <vector>

#include "ado/Connection.h"
#include "ado/Provider.h"
#include "jet/sql/Session.h"

namespace tamlo::ado::jetprovider {

/// A table behind an ODBC link, reached through the provider that is registered as "MSDASQL".
class OdbcTable final : public jet::sql::ForeignTable {
 public:
  /// Errors: jet::Error with the driver's description.
  OdbcTable(std::shared_ptr<Connection> connection, std::string table);

  [[nodiscard]] const std::vector<jet::sql::ColumnInfo>& Columns() const override { return columns_; }
  [[nodiscard]] std::unique_ptr<jet::sql::ForeignCursor> Scan() override;
  void Insert(std::span<const jet::Assignment> values) override;

  /// A recordset on the table itself, with all that the source's own provider can do. Errors: runtime::Error.
  [[nodiscard]] std::unique_ptr<ProviderRowset> OpenRowset(const RowsetRequest& request);

 private:
  std::shared_ptr<Connection> connection_;  // shared by the links to one source
  std::string text_;                        // the SELECT that the source understands
  std::vector<jet::sql::ColumnInfo> columns_;
};

/// The connections to ODBC sources of one database, one for each connection string.
class OdbcLinks {
 public:
  [[nodiscard]] std::shared_ptr<OdbcTable> Open(const std::string& connect, const std::string& table);

 private:
  std::map<std::string, std::shared_ptr<Connection>> connections_;
};

}  // namespace tamlo::ado::jetprovider
