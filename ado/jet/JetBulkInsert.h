#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "ado/Provider.h"
#include "ado/jet/JetConnection.h"
#include "ado/jet/RowWriter.h"

namespace tamlo::ado::jetprovider {

/// Rows go straight to the engine; some thousands share one transaction. A row that is refused leaves those before it stored.
class JetBulkInsert final : public ProviderBulkInsert {
 public:
  JetBulkInsert(JetConnection& connection, const std::string& table, const std::vector<std::string>& columns);
  ~JetBulkInsert() override;
  void Add(std::span<const Variant> row) override;
  void Flush() override;

 private:
  JetConnection& connection_;
  std::shared_ptr<const jet::sql::EngineTable> table_;
  std::unique_ptr<RowWriter> writer_;
  std::vector<std::size_t> columns_;
  std::vector<Assignment> assignments_;
  std::int64_t rows_ = 0;
  std::int64_t pending_ = 0;
  int depth_ = 0;  // of our transaction, 0 = none open
};

}  // namespace tamlo::ado::jetprovider
