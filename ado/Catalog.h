#pragma once

#include <cstddef>
#include <cstdint>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "ado/Keys.h"
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

/// A view: a query that the backend keeps under a name.
struct View {
  std::string name;
  /// The query as the backend gives it, which words it anew; blank where it does not show it to this user or cannot tell it.
  std::string command;
  std::string failure;  ///< why command is blank, where that is known
};

/// A table: one of the backend, whose columns, indexes and keys are read when first asked for, or a new one that is filled and then appended.
class Table {
 public:
  Table() = default;
  explicit Table(std::string name) : name_(std::move(name)), columns_(std::in_place), indexes_(std::in_place), keys_(std::in_place) {}
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
  /// The primary key, the unique and the foreign ones, in that order; of a new table those that were appended to it. Access files and MySQL make
  /// no difference between a unique key and a unique index: there each unique index is a key. Relationships of an Access file that are not
  /// enforced are no keys. None of views, and of what stands behind an ODBC link. Error 3251 where the provider cannot tell.
  [[nodiscard]] std::vector<Key>& Keys();

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
  /// Adds a key to the backend's table at once, or to the definition of a new one, of which its names are looked up when that is appended.
  /// Names are meant without regard to case. Error 3001 for a key that lacks what its kind has, 3265 for a column or a related table that is not
  /// there, 3367 when the table has a key of that name, 3251 where the provider cannot: any key of a SQLite table that exists; adRISetNull and
  /// adRISetDefault on Access files, adRISetDefault on MySQL, and any update rule on Oracle. MySQL calls every primary key PRIMARY.
  void AppendKey(const Key& key);
  /// Takes a key, by its name without regard to case, out of the backend's table at once, or out of the definition of a new one. Error 3265 when
  /// there is none of that name, 3251 where the provider cannot (SQLite).
  void DeleteKey(const std::string& name);

 private:
  friend class Catalog;

  std::string name_;
  std::string type_ = "TABLE";
  std::shared_ptr<CatalogLink> link_;  // to the catalog that gave this table; null for a new one
  std::optional<std::vector<Column>> columns_;
  std::optional<std::vector<Index>> indexes_;
  std::optional<std::vector<Key>> keys_;
  std::optional<PropertyMap> properties_;
};

/// The tables and views of a connection. The list is read at first use and again after Refresh; Append shows at once.
/// References to tables hold until the next Refresh, Append, Delete, AppendView, DeleteView or the end of the catalog; copies of them longer.
/// Error 3704 for whatever asks the backend once the connection is closed.
class Catalog {
 public:
  explicit Catalog(Connection& connection);
  ~Catalog();
  /// Makes the empty database that a connection string with "Provider=" names, and opens nothing: a Connection opens the same string. Access
  /// files alone: their "Data Source" is the path of the new file, "Jet OLEDB:Engine Type" is 5 (Jet 4) or left out, "Jet OLEDB:Database Password"
  /// becomes its password, and "Jet OLEDB:Encrypt Database" says whether its pages are encoded. Error -2147217897 when there
  /// is a file of that name, which stays as it is; 3001 without a path; 3251 for another type (4 is Jet 3.x, which is only read), a
  /// locale other than 1033, and on ODBC sources, whose databases their own tools make (SQLite makes its file when a Connection
  /// opens it); 3706 for a provider that nobody registered; else -2147467259, and no file is left behind.
  static void Create(const std::string& connectionString);
  Catalog(const Catalog&) = delete;
  Catalog& operator=(const Catalog&) = delete;

  [[nodiscard]] std::size_t TableCount();
  /// By position from 0; error 3265 outside.
  [[nodiscard]] Table& Tables(std::size_t position);
  /// By name, without regard to case; error 3265 when there is none.
  [[nodiscard]] Table& Tables(const std::string& name);
  /// The table of that name, or nullptr.
  [[nodiscard]] Table* Find(const std::string& name);
  /// Creates the table with its columns, indexes and keys (or the link that its properties describe) in the backend.
  /// A default of a column (property "Default") is carried, or refused where the backend cannot have it (-2147467259); so is what else cannot
  /// be made.
  void Append(const Table& table);
  /// Drops the table of that name, without regard to case. Error 3265 when there is none, 3251 where the provider cannot.
  void Delete(const std::string& name);

  /// The views by name, read anew each time; of Access files the stored queries that Tables shows as "VIEW". Error 3251 where the provider cannot.
  [[nodiscard]] std::vector<View> Views();
  /// Keeps a query under a name. Error 3001 for a blank name or text, 3367 when there is a table or view of that name, -2147217900 for a text
  /// that does not read or is no lone query, -2147217865 for one on a table that is not there; 3251 where the provider cannot (a query of an
  /// Access file that makes its columns of values: TRANSFORM). Nothing is left behind by an error. A name of an Access query that is no column is a
  /// parameter of it.
  void AppendView(const std::string& name, const std::string& command);
  /// Drops the view of that name, without regard to case. Error 3265 when there is no view of that name.
  void DeleteView(const std::string& name);
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
