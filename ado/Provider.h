#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <utility>
#include <variant>
#include <vector>

#include "ado/Catalog.h"
#include "ado/Command.h"
#include "ado/Types.h"

/// What a provider implements. Connection, Recordset and Catalog hold all that is common (states, pending edits, ADO's error numbers,
/// lookups without regard to case), so that a provider only reaches its data. All failures are runtime::Error.
namespace tamlo::ado {

/// A column as a rowset describes it.
struct FieldInfo {
  std::string name;
  std::int16_t type = adVarWChar;
  std::int64_t definedSize = 0;
  std::int16_t precision = 0;
  std::int16_t numericScale = 0;
  bool nullable = true;
  bool autoIncrement = false;
};

/// A value for one field of a row to be written.
struct Assignment {
  std::size_t field = 0;
  std::variant<Variant, ChunkSource> value;
};

/// A cursor over the rows of one source.
class ProviderRowset {
 public:
  virtual ~ProviderRowset() = default;

  /// Known as soon as the rowset is open, without executing a query.
  [[nodiscard]] virtual const std::vector<FieldInfo>& Fields() const = 0;

  /// Moves to the first (next) row; false when there is none. The first call executes the query. MoveFirst may be called again where
  /// the cursor is scrollable; a forward-only one executes anew.
  virtual bool MoveFirst() = 0;
  virtual bool MoveNext() = 0;
  /// Whether the rows can be reached in any order: static and keyset cursors of providers that know how. Without it the next two are 3251.
  [[nodiscard]] virtual bool CanScroll() const { return false; }
  /// How many rows the cursor has (those of a keyset that are gone included), all of them found first where need be. A row that Insert adds
  /// comes last.
  [[nodiscard]] virtual std::size_t RowCount();
  /// Stands on the row at position (from 0, below RowCount()); false when a keyset's row is gone meanwhile. MoveNext goes on from there.
  virtual bool MoveTo(std::size_t position);
  /// The position of the current row, of cursors that scroll and know it behind MoveFirst, MoveNext and Insert too; none where they do not:
  /// the recordset then goes from row to row by MoveTo.
  [[nodiscard]] virtual std::optional<std::size_t> Position() const { return std::nullopt; }
  /// A value as the field will hold it, asked for when it is assigned. Error 3421 for one that the field's type cannot hold,
  /// -2147217887 for one that does not fit (a number too large, a text too long). What is not known before it is written stays as it is.
  [[nodiscard]] virtual Variant Converted(std::size_t /*field*/, const Variant& value) { return value; }
  /// Counts what was rolled back under this cursor, where it brings back rows that were gone.
  [[nodiscard]] virtual std::uint64_t Rollbacks() const noexcept { return 0; }
  /// Reads the current row anew; false when it is gone. Error 3251 for cursors that cannot.
  virtual bool Refresh();
  /// A value of the current row, whole.
  [[nodiscard]] virtual Variant Value(std::size_t field) = 0;
  /// The next bytes of a long value of the current row; 0 at the end. Text as UTF-8, never cut inside a character.
  virtual std::size_t ReadChunk(std::size_t field, std::byte* buffer, std::size_t capacity) = 0;

  [[nodiscard]] virtual bool CanUpdate() const { return false; }
  /// Writes a new row of these values only; the others get the backend's defaults. The new row becomes the current one,
  /// standing after the last one: MoveNext gives false.
  virtual void Insert(std::span<const Assignment> values) = 0;
  /// Writes the changed fields of the current row: exactly one row must be affected (zero: changed by another; more: error, nothing kept).
  virtual void Update(std::span<const Assignment> values) = 0;
  virtual void Delete() = 0;

  [[nodiscard]] virtual bool CanSeek() const { return false; }
  /// False when the table has no index of that name.
  virtual bool UseIndex(const std::string&) { return false; }
  /// Moves to the row that option describes; false when there is none.
  virtual bool Seek(std::span<const Variant>, SeekOption) { return false; }
};

/// What a recordset asks to be opened.
struct RowsetRequest {
  std::string source;
  CursorType cursor = adOpenForwardOnly;
  LockType lock = adLockUnspecified;
  std::int32_t options = adOptionUnspecified;
  CursorLocation location = adUseServer;
  std::int32_t timeoutSeconds = 0;
  /// Each value alone, and as the backend's own text where it has one: see Recordset::ReadsByAnotherWay.
  bool anotherWay = false;
  std::vector<Parameter> parameters;  ///< see Command
  /// Where the values of output parameters go while the rowset is opened: one for each parameter, Empty for those that only go in.
  std::shared_ptr<std::vector<Variant>> outputs = {};
  std::int64_t* affected = nullptr;  ///< where a statement that gives no rows tells how many it affected, if the provider knows
};

/// A statement that was prepared once, to be run often; goes before its connection.
class ProviderCommand {
 public:
  virtual ~ProviderCommand() = default;
  /// Rows affected, -1 when not known; rows that it gives are thrown away.
  virtual std::int64_t Execute(std::span<const Parameter> parameters, std::int32_t timeoutSeconds) = 0;
};

/// Tables, columns, indexes, keys and views of a connection.
class ProviderCatalog {
 public:
  virtual ~ProviderCatalog() = default;

  /// Name and type of each table.
  [[nodiscard]] virtual std::vector<std::pair<std::string, std::string>> Tables() = 0;
  [[nodiscard]] virtual std::vector<Column> Columns(const std::string& table) = 0;
  [[nodiscard]] virtual std::vector<Index> Indexes(const std::string& table) = 0;
  [[nodiscard]] virtual PropertyMap Properties(const std::string& /*table*/) { return {}; }

  virtual void AppendTable(Table& table) = 0;
  virtual void AppendColumn(const std::string& table, const Column& column) = 0;
  virtual void AppendIndex(const std::string& table, const Index& index) = 0;
  /// A provider that cannot do one of these refuses (3251).
  virtual void RenameTable(const std::string& table, const std::string& name);
  virtual void DeleteTable(const std::string& table);
  virtual void DeleteColumn(const std::string& table, const std::string& column);
  virtual void DeleteIndex(const std::string& table, const std::string& index);

  /// Keys and views, of which a provider that knows nothing refuses all (3251). Names come as the backend keeps them; a key has all that its kind
  /// has. AppendTable makes the keys of its table too.
  [[nodiscard]] virtual std::vector<Key> Keys(const std::string& table);
  virtual void AppendKey(const std::string& table, const Key& key);
  virtual void DeleteKey(const std::string& table, const Key& key);
  [[nodiscard]] virtual std::vector<View> Views();
  virtual void AppendView(const std::string& name, const std::string& command);
  virtual void DeleteView(const std::string& name);
  /// Called by Catalog::Refresh: whatever the provider remembers is to be read again.
  virtual void Forget() {}
};

/// Writes many rows of one table in batches; see BulkInsert for the promises.
class ProviderBulkInsert {
 public:
  virtual ~ProviderBulkInsert() = default;
  /// Takes one row (a value for each column in order; Empty leaves the column to its default). May send a batch.
  virtual void Add(std::span<const Variant> row) = 0;
  /// Sends what is held back.
  virtual void Flush() = 0;
  /// Number (from 1) of the row that the last failing call was about; 0 when its error was none of a row.
  [[nodiscard]] virtual std::int64_t RefusedRow() const { return 0; }
  [[nodiscard]] virtual StoredRows Stored() const = 0;
  /// Errors number the rows from behind so many that stand before the first one.
  virtual void RowsBefore(std::int64_t rows) = 0;
};

class ProviderConnection {
 public:
  /// Closes: what is pending is rolled back.
  virtual ~ProviderConnection() = default;

  /// Rows affected, -1 when not known.
  virtual std::int64_t Execute(const std::string& text, std::int32_t timeoutSeconds) = 0;
  /// The same with values for the statement's parameters. A provider without them refuses (3251).
  virtual std::int64_t ExecuteWith(const std::string& text, std::span<const Parameter> parameters, std::int32_t timeoutSeconds);
  /// Null where preparing gains nothing: the statement then goes through ExecuteWith each time.
  [[nodiscard]] virtual std::unique_ptr<ProviderCommand> Prepare(const std::string& /*text*/) { return nullptr; }
  /// The parameters that a statement has, in order, without values.
  [[nodiscard]] virtual std::vector<Parameter> DescribeParameters(const std::string& text);
  /// The statement that gives all rows of a table, and the one that runs a stored procedure with so many parameters.
  [[nodiscard]] virtual std::string TableStatement(const std::string& table);
  /// returns: the first of them is the return value.
  [[nodiscard]] virtual std::string CallStatement(const std::string& name, std::size_t parameters, bool returns);
  /// Whether parameters of procedures may come out. Without it the core refuses them.
  [[nodiscard]] virtual bool HasOutputParameters() const { return false; }
  /// Null after having run a statement that gives no rows. A static rowset reads all its rows when it is first moved.
  [[nodiscard]] virtual std::unique_ptr<ProviderRowset> OpenRowset(const RowsetRequest& request) = 0;

  virtual std::int32_t BeginTransaction() = 0;
  virtual void CommitTransaction() = 0;
  virtual void RollbackTransaction() = 0;
  /// How many transactions are open inside each other; 0 for none.
  [[nodiscard]] virtual std::int32_t TransactionLevel() const noexcept = 0;

  /// A property of the connection by its upper-cased name, or none. "USER ID" and "PASSWORD" are the contract's own.
  [[nodiscard]] virtual std::optional<Variant> Property(const std::string& upperName) const = 0;
  /// False when there is no such property.
  virtual bool SetProperty(const std::string& upperName, const Variant& value) = 0;

  /// See Connection::Backup. A provider that cannot do it refuses (3251).
  virtual void Backup(const std::string& path);

  [[nodiscard]] virtual std::unique_ptr<ProviderCatalog> OpenCatalog() = 0;
  /// Null where the provider has nothing better than AddNew and Update row by row.
  [[nodiscard]] virtual std::unique_ptr<ProviderBulkInsert> OpenBulkInsert(const std::string& /*table*/,
                                                                           const std::vector<std::string>& /*columns*/,
                                                                           const std::string& /*owner*/) {
    return nullptr;
  }
};

/// What Connection::Open hands to a provider.
struct OpenRequest {
  std::string provider;
  std::string connectionString;
  std::string userId;
  std::string password;             ///< wiped by whoever made the request
  bool registeredOnly = false;      ///< see Connection::RegisteredOnly
  std::int32_t timeoutSeconds = 0;  ///< for the attempt to connect; 0 is without limit
  bool generalNumbers = false;      ///< see Connection::GeneralNumbers
};

using ProviderFactory = std::function<std::unique_ptr<ProviderConnection>(const OpenRequest&)>;

/// Makes a new, empty database; see Catalog::Create.
using DatabaseCreator = std::function<void(const OpenRequest&)>;

/// Makes a provider known under a name ("MSDASQL"); names compare without regard to case; the last registration holds.
/// create is left out where the provider makes no databases.
void RegisterProvider(const std::string& name, ProviderFactory factory, DatabaseCreator create = {});
/// Error 3706 for a name that nobody registered.
[[nodiscard]] const ProviderFactory& FindProvider(const std::string& name);
/// The same of what makes its databases; empty where it makes none.
[[nodiscard]] const DatabaseCreator& FindCreator(const std::string& name);

}  // namespace tamlo::ado
