#pragma once

#include <string>
#include <utility>
#include <vector>

#include "ado/Provider.h"
#include "ado/jet/JetConnection.h"

namespace tamlo::ado::jetprovider {

/// Tables, columns, indexes, keys and stored queries of an Access file, with the properties of columns and links.
class JetCatalog final : public ProviderCatalog {
 public:
  explicit JetCatalog(JetConnection& connection) : connection_(connection) {}

  [[nodiscard]] std::vector<std::pair<std::string, std::string>> Tables() override;
  [[nodiscard]] std::vector<Column> Columns(const std::string& table) override;
  [[nodiscard]] std::vector<Index> Indexes(const std::string& table) override;
  [[nodiscard]] PropertyMap Properties(const std::string& table) override;
  void AppendTable(Table& table) override;
  void AppendColumn(const std::string& table, const Column& column) override;
  void AppendIndex(const std::string& table, const Index& index) override;
  /// Tables and links (DeleteTable: stored queries too) by their names without regard to case. Error 3265 for what is not there.
  void RenameTable(const std::string& table, const std::string& name) override;
  void DeleteTable(const std::string& table) override;
  void DeleteColumn(const std::string& table, const std::string& column) override;
  void DeleteIndex(const std::string& table, const std::string& index) override;
  /// Foreign keys are the enforced relationships of the table.
  [[nodiscard]] std::vector<Key> Keys(const std::string& table) override;
  void AppendKey(const std::string& table, const Key& key) override;
  void DeleteKey(const std::string& table, const Key& key) override;
  [[nodiscard]] std::vector<View> Views() override;
  void AppendView(const std::string& name, const std::string& command) override;
  void DeleteView(const std::string& name) override;

 private:
  /// Error 3251 for what has no keys of its own: a link, a query.
  void RequireLocal(const std::string& table);

  JetConnection& connection_;
};

}  // namespace tamlo::ado::jetprovider
