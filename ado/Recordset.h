#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <span>
#include <string>

#include "ado/Command.h"
#include "ado/Connection.h"
#include "ado/Types.h"

namespace tamlo::ado {

struct RecordsetState;
struct RowsetRequest;

/// One column of an open recordset, and its value in the current row. Belongs to its recordset and lives as long as it stays open.
class Field {
 public:
  [[nodiscard]] const std::string& Name() const noexcept;
  [[nodiscard]] std::int16_t Type() const noexcept;
  /// Declared size: characters for texts, bytes for the rest, a very large number for long values.
  [[nodiscard]] std::int64_t DefinedSize() const noexcept;
  [[nodiscard]] std::int16_t Precision() const noexcept;
  [[nodiscard]] std::int16_t NumericScale() const noexcept;

  /// The value in the current row, or the one assigned and not yet saved. Error 3021 without a current row.
  [[nodiscard]] Variant Value() const;
  /// Assigns; starts the edit of the current row when none is in progress. Error 3251 on a read-only recordset, 3021 without a current row.
  void Value(const Variant& value);

  /// The next bytes of a long value of the current row, at most capacity (text as UTF-8, never cut inside a character); 0 at the end,
  /// after which reading starts anew, as it may after another field was read in between. A null gives 0 at once.
  /// Error 5 for a capacity under 4, in which a character may find no room.
  [[nodiscard]] std::size_t ReadChunk(std::byte* buffer, std::size_t capacity) const;
  /// Assigns a long value that Update will read piece by piece, from a copy of source: after a failed Update a source that keeps its
  /// place elsewhere must be given again.
  void WriteFrom(ChunkSource source);

  /// A property by its name, without regard to case ("IsAutoIncrement"). Error 3265 for an unknown one.
  [[nodiscard]] Variant Property(const std::string& name) const;

 private:
  friend struct RecordsetState;
  Field(RecordsetState* owner, std::size_t position) noexcept : owner_(owner), position_(position) {}
  RecordsetState* owner_;
  std::size_t position_;
};

/// Rows of a query or table with a current row. Created closed. Errors: 3704 on a closed recordset, 3705 opening an open one,
/// 3709 without a usable connection, 3021 without a current row, 3265 for an unknown field, 3251 for what the cursor cannot do,
/// else the provider's. After an error of Update the edit is still pending: values may be changed and Update called again, or CancelUpdate.
class Recordset {
 public:
  Recordset() noexcept;
  ~Recordset();
  Recordset(Recordset&&) noexcept;
  Recordset& operator=(Recordset&&) noexcept;

  /// Prepares and describes source; the query is executed when the first row is asked for, that of a static recordset at once, and its rows
  /// are then those of that moment. A statement that gives no rows is run, and the recordset stays closed.
  void Open(const std::string& source, Connection* connection, CursorType cursor, LockType lock, std::int32_t options);
  /// For a check of what was read: the recordsets opened from now on read each value alone instead of in blocks, as a text that the backend
  /// itself makes of it where the provider knows how to ask (ODBC: MySQL, PostgreSQL, SQLite). The values are the same, the way is another
  /// one, and slower. Other providers read as ever. To be said before Open; error 3705 on an open recordset.
  void ReadsByAnotherWay(bool yes);
  /// The rows that a command gives, with its parameters, on its connection.
  void Open(const Command& command, CursorType cursor, LockType lock);
  /// A pending edit is given up. Error 3704 when closed already.
  void Close();
  [[nodiscard]] bool IsOpen() const noexcept;

  /// Past the last row (before the first): both true on an empty recordset. The first call reads the first row.
  [[nodiscard]] bool Eof() const;
  [[nodiscard]] bool Bof() const;
  /// Saves a pending edit first, as ADO does. MoveNext at the end is error 3021; MoveFirst on an empty recordset leaves it at its end.
  void MoveFirst();
  void MoveNext();

  /// Number of columns, positions from 0.
  [[nodiscard]] std::size_t FieldCount() const;
  /// Error 3265 when there is none of that name (without regard to case) or position.
  [[nodiscard]] Field& Fields(const std::string& name) const;
  [[nodiscard]] Field& Fields(std::size_t position) const;

  /// Starts a new row with no values; a pending edit is saved first.
  void AddNew();
  /// Saves the pending edit; nothing without one. After a new row it is the current row.
  void Update();
  void CancelUpdate();
  /// Deletes the current row.
  void Delete();
  [[nodiscard]] ado::EditMode EditMode() const;

  /// True when Seek can be used (table-direct recordsets of providers that have it).
  [[nodiscard]] bool CanSeek() const;
  /// The index that Seek uses and by which the rows come from now on: the recordset stands on the first one of that order. A pending edit is
  /// saved first. Error 3265 when the table has none of that name.
  void Index(const std::string& name);
  /// Moves to the first row with the key; at the end (Eof) when there is none. Error 3251 where CanSeek is false.
  void Seek(std::span<const Variant> key, SeekOption option = adSeekFirstEQ);
  /// From the current row on, moves to the first row that meets "[field] = value" (also <, >, <=, >=, <>, like; text in single quotes);
  /// at the end when there is none. Error 5 for a criterion that does not read so.
  void Find(const std::string& criterion);

 private:
  void Open(Connection* connection, RowsetRequest request);
  std::unique_ptr<RecordsetState> state_;
  bool anotherWay_ = false;
};

}  // namespace tamlo::ado
