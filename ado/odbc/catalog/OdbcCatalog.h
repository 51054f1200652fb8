#pragma once

#include <cstdint>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "ado/Provider.h"
#include "ado/odbc/statement/Session.h"

namespace tamlo::ado::odbc {

/// Tables, columns, indexes, keys and views through the driver's catalog functions. Where one call gives the columns of every table (see
/// DriverFacts), it is made once and remembered until Forget or until a statement changes a definition.
class OdbcCatalog final : public ProviderCatalog {
 public:
  explicit OdbcCatalog(std::shared_ptr<Session> session);

  [[nodiscard]] std::vector<std::pair<std::string, std::string>> Tables() override;
  [[nodiscard]] std::vector<Column> Columns(const std::string& table) override;
  [[nodiscard]] std::vector<Index> Indexes(const std::string& table) override;
  void AppendTable(Table& table) override;
  void AppendColumn(const std::string& table, const Column& column) override;
  void AppendIndex(const std::string& table, const Index& index) override;
  void RenameTable(const std::string& table, const std::string& name) override;
  void DeleteTable(const std::string& table) override;
  void DeleteColumn(const std::string& table, const std::string& column) override;
  void DeleteIndex(const std::string& table, const std::string& index) override;
  [[nodiscard]] std::vector<Key> Keys(const std::string& table) override;
  void AppendKey(const std::string& table, const Key& key) override;
  void DeleteKey(const std::string& table, const Key& key) override;
  [[nodiscard]] std::vector<View> Views() override;
  void AppendView(const std::string& name, const std::string& command) override;
  void DeleteView(const std::string& name) override;
  void Forget() override;

 private:
  /// The tables as the driver's catalog function gives them, and as the backend's own statement does (see DriverFacts). Both learn schemas_.
  [[nodiscard]] std::vector<std::pair<std::string, std::string>> DriverTables();
  [[nodiscard]] std::vector<std::pair<std::string, std::string>> ShownTables();
  /// Columns by the backend's table name; of one table, or of all when the name is empty.
  [[nodiscard]] std::map<std::string, std::vector<Column>> ReadColumns(const std::string& table);
  [[nodiscard]] std::string SchemaOf(const std::string& table);
  void Run(const std::string& sql);
  /// Error -2147467259 for a foreign key that refers to what is not unique, where the backend would find out with the first row.
  void RequireUniqueTargets(Table& table);
  [[nodiscard]] bool HasUniqueTarget(Table& table, const Key& key);
  /// The foreign key among these that the table was given and does not have, or none: some backends pass over those of tables whose engine has none.
  [[nodiscard]] std::optional<std::string> LostKey(const std::string& table, const std::vector<Key>& keys);

  std::shared_ptr<Session> session_;
  std::map<std::string, std::string> schemas_;  // by table name
  bool schemasKnown_ = false;
  std::map<std::string, std::vector<Column>> columns_;  // of every table, by its name
  bool columnsKnown_ = false;
  std::int64_t version_ = 0;  // of the session's schema when they were read
};

}  // namespace tamlo::ado::odbc
