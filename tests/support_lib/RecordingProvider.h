#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "ado/Provider.h"

namespace tamlo::tests {

/// What a scripted query gives. Rows added or changed through a recordset stay in it.
struct ScriptedResult {
  std::vector<ado::FieldInfo> fields;
  std::vector<std::vector<runtime::Variant>> rows;
};

/// A table of the scripted backend. "SELECT * FROM name" (with or without TOP 1 and ORDER BY, any quoting) and a table-direct open
/// read its rows in the order in which they stand here.
struct ScriptedTable {
  std::string name;
  std::string type = "TABLE";
  std::vector<ado::Column> columns;
  std::vector<ado::Index> indexes;
  ado::PropertyMap properties;
  std::vector<std::vector<runtime::Variant>> rows;
};

/// One thing that was asked of the provider.
struct RecordedCall {
  enum class Kind {
    kOpen,
    kClose,
    kExecute,
    kOpenRowset,
    kFirstRow,
    kInsert,
    kUpdate,
    kDelete,
    kSeek,
    kBegin,
    kCommit,
    kRollback,
    kListTables,
    kListColumns,
    kListIndexes,
    kAppendTable,
    kAppendColumn,
    kAppendIndex,
    kForget,
    kSetProperty
  };
  Kind kind = Kind::kOpen;
  std::string text;                                              ///< statement, source, table, property name or connection string
  ado::RowsetRequest request;                                    ///< of kOpenRowset
  ado::OpenRequest open;                                         ///< of kOpen
  std::int32_t timeoutSeconds = 0;                               ///< of kExecute
  std::vector<std::pair<std::string, runtime::Variant>> values;  ///< column and value, of kInsert, kUpdate, kSetProperty
  std::shared_ptr<const ScriptedTable> table;  ///< the definition, of kAppendTable; one column or index of the other appends
};

/// A provider that records every call in order and answers from a script. Registered under the provider names of all five kinds when made;
/// what it holds lives as long as it or a connection to it. A source that is neither scripted nor a table of its own fails.
/// Executing "CREATE TABLE" and "DROP TABLE" changes its tables; nothing else that is executed has an effect.
class RecordingProvider {
 public:
  RecordingProvider();
  ~RecordingProvider();

  /// Answers an opened source by its whole text, or by how it begins. A result without fields is that of a statement that gives no rows. Whole texts go first, then the longest beginning.
  void Answer(const std::string& text, ScriptedResult result);
  void AnswerPrefix(const std::string& prefix, ScriptedResult result);
  /// Makes Execute and the opening of sources of that text (beginning) fail, times times (-1: always). "LIST TABLES" is the catalog's question.
  void Fail(const std::string& text, std::int32_t number, const std::string& description, int times = -1);
  void FailPrefix(const std::string& prefix, std::int32_t number, const std::string& description, int times = -1);
  /// The same once, as a server does that tells a code of its own.
  void FailNative(const std::string& prefix, std::int32_t native, const std::string& description);
  void FailWriteNative(const std::string& sourcePrefix, std::int32_t native, const std::string& description,
                       const std::string& sqlState = "HY000");
  /// Makes connecting fail.
  void FailOpen(std::int32_t number, const std::string& description, int times = -1);
  /// Makes saving a new or changed row fail on recordsets whose source begins so.
  void FailWrite(const std::string& sourcePrefix, std::int32_t number, const std::string& description, int times = 1);
  /// Makes rolling back fail: the transaction stays open.
  void FailRollback(std::int32_t number, const std::string& description, int times = -1);
  /// Makes reading the first row fail on recordsets whose source begins so.
  void FailRead(const std::string& sourcePrefix, std::int32_t number, const std::string& description, int times = -1);

  ScriptedTable& AddTable(ScriptedTable table);
  /// Without regard to case; nullptr when there is none.
  [[nodiscard]] ScriptedTable* FindTable(const std::string& name);
  [[nodiscard]] std::vector<std::string> TableNames() const;
  /// A property of the connection, readable and writable by it.
  void SetProperty(const std::string& name, runtime::Variant value);
  [[nodiscard]] runtime::Variant Property(const std::string& name) const;
  /// Table-direct recordsets can Seek (with adSeekFirstEQ). They cannot at first.
  void SupportSeek(bool yes);
  /// Recordsets can write rows. They can at first.
  void SupportUpdate(bool yes);

  /// Looks at each call at the moment at which it comes, once it is recorded. It must not throw.
  void OnCall(std::function<void(const RecordedCall&)> look);
  [[nodiscard]] const std::vector<RecordedCall>& Calls() const;
  /// Texts executed, and sources opened, in order.
  [[nodiscard]] std::vector<std::string> Statements() const;
  [[nodiscard]] std::vector<std::string> Sources() const;
  /// One readable line for each call: "EXECUTE DROP TABLE X", "ROWSET SELECT * FROM X", "BEGIN", ...
  [[nodiscard]] std::vector<std::string> Log() const;
  [[nodiscard]] std::size_t Count(RecordedCall::Kind kind) const;
  void ClearCalls();
  /// Transactions that were begun and neither committed nor rolled back.
  [[nodiscard]] int TransactionLevel() const;
  /// Loses them, as a server does that ended them by itself.
  void ForgetTransactions();

  struct Backend;

 private:
  std::shared_ptr<Backend> backend_;
};

/// Shorthands for scripts.
[[nodiscard]] ado::FieldInfo MakeField(const std::string& name, std::int16_t type, std::int64_t size = 0, std::int16_t precision = 0,
                                       std::int16_t scale = 0);
[[nodiscard]] ado::Column MakeColumn(const std::string& name, std::int16_t type, std::int64_t size = 0);
/// An index on columns in order; "-name" is a descending one.
[[nodiscard]] ado::Index MakeIndex(const std::string& name, const std::vector<std::string>& columns, bool primary = false,
                                   bool unique = false);

}  // namespace tamlo::tests
