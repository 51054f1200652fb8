#pragma once

#include <cstddef>
#include <cstdint>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "ado/Types.h"

namespace tamlo::ado {

class Connection;
struct CatalogLink;

/// Properties of a catalog object by name; names compare without regard to case.
class PropertyMap {
 public:
  /// Error 3265 when there is no such property.
  [[nodiscard]] const Variant& Item(const std::string& name) const;
  [[nodiscard]] bool Has(const std::string& name) const;
  void Set(const std::string& name, Variant value);
  [[nodiscard]] const std::map<std::string, Variant>& All() const noexcept { return values_; }

 private:
  std::map<std::string, Variant> values_;  // by upper-cased name
};

/// A column of a table, or of an index (then only name and sortOrder count).
struct Column {
  std::string name;
  std::int16_t type = adVarWChar;
  std::int64_t definedSize = 0;  ///< characters for texts, bytes for the rest
  std::int16_t precision = 0;
  std::int16_t numericScale = 0;
  std::int32_t attributes = 0;  ///< adColFixed, adColNullable
  SortOrder sortOrder = adSortAscending;
  PropertyMap properties;  ///< "AutoIncrement", "Jet OLEDB:Allow Zero Length", ...
};

/// An index of a table with its columns in index order.
struct Index {
  std::string name;
  bool primaryKey = false;
  bool unique = false;
  IndexNulls indexNulls = adIndexNullsAllow;
  std::vector<Column> columns;
};

/// A table: one of the backend, whose columns and indexes are read when first asked for, or a new one that is filled and then appended.
class Table {
 public:
  Table() = default;
  explicit Table(std::string name) : name_(std::move(name)), columns_(std::in_place), indexes_(std::in_place) {}
  Table(std::string name, std::string type, std::shared_ptr<CatalogLink> link)
      : name_(std::move(name)), type_(std::move(type)), link_(std::move(link)) {}

  [[nodiscard]] const std::string& Name() const noexcept { return name_; }
  /// Names a new table, or renames the backend's at once: error 3251 where the provider cannot (ODBC sources of kinds not known).
  void Name(const std::string& name);
  /// "TABLE", "LINK", "PASS-THROUGH", "SYSTEM TABLE", "ACCESS TABLE", "VIEW", "SYNONYM", "SYSTEM VIEW"; "TABLE" for a new one.
  [[nodiscard]] const std::string& Type() const noexcept { return type_; }

  /// The columns in their order. Provider errors; the object is as before after one.
  [[nodiscard]] std::vector<Column>& Columns();
  /// The column of that name without regard to case; error 3265 when there is none.
  [[nodiscard]] Column& ColumnNamed(const std::string& name);
  [[nodiscard]] std::vector<Index>& Indexes();

  /// Link properties and the like. Reading one of a backend's table asks the provider at first use. Error 3265 for an unknown one.
  [[nodiscard]] Variant Property(const std::string& name);
  void Property(const std::string& name, const Variant& value);
  [[nodiscard]] const PropertyMap& Properties();

  /// Adds a column or an index to the backend's table at once, or to the definition of a new one.
  void AppendColumn(const Column& column);
  void AppendIndex(const Index& index);
  /// Takes a column or an index, by its name without regard to case, out of the backend's table at once, or out of the definition of a new one.
  /// Error 3265 when there is none of that name, 3251 where the provider cannot.
  void DeleteColumn(const std::string& name);
  void DeleteIndex(const std::string& name);

 private:
  std::string name_;
  std::string type_ = "TABLE";
  std::shared_ptr<CatalogLink> link_;  // to the catalog that gave this table; null for a new one
  std::optional<std::vector<Column>> columns_;
  std::optional<std::vector<Index>> indexes_;
  std::optional<PropertyMap> properties_;
};

/// The tables of a connection. The list is read at first use and again after Refresh; Append shows at once.
/// References to tables hold until the next Refresh, Append, Delete or the end of the catalog; copies of them longer. Error 3704 for whatever
/// asks the backend once the connection is closed.
class Catalog {
 public:
  explicit Catalog(Connection& connection);
  ~Catalog();
  Catalog(const Catalog&) = delete;
  Catalog& operator=(const Catalog&) = delete;

  [[nodiscard]] std::size_t TableCount();
  /// By position from 0; error 3265 outside.
  [[nodiscard]] Table& Tables(std::size_t position);
  /// By name, without regard to case; error 3265 when there is none.
  [[nodiscard]] Table& Tables(const std::string& name);
  /// The table of that name, or nullptr.
  [[nodiscard]] Table* Find(const std::string& name);
  /// Creates the table with its columns and indexes (or the link that its properties describe) in the backend.
  /// A default of a column (property "Default") is carried, or refused where the backend cannot have it (-2147467259); so is what else cannot
  /// be made.
  void Append(const Table& table);
  /// Drops the table of that name, without regard to case. Error 3265 when there is none, 3251 where the provider cannot.
  void Delete(const std::string& name);
  /// Forgets what is known of the tables: the next use reads them again.
  void Refresh();

 private:
  void Load();

  std::shared_ptr<CatalogLink> link_;
  std::vector<std::unique_ptr<Table>> tables_;
  std::map<std::string, Table*> byName_;  // by upper-cased name
  bool loaded_ = false;
};

}  // namespace tamlo::ado
