#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <vector>

#include "ado/Command.h"
#include "ado/Connection.h"
#include "ado/Types.h"

namespace tamlo::ado {

struct RecordsetState;
struct FieldInfo;
struct RowsetRequest;

/// One column of a recordset, and its value in the current row. Lives as long as its recordset (until another is assigned to that), also when it
/// is closed: values are then error 3704, descriptions those of the last opening. Opened again, the field at that position; error 3265 when
/// there are fewer.
class Field {
 public:
  [[nodiscard]] const std::string& Name() const;
  [[nodiscard]] std::int16_t Type() const;
  /// Declared size: characters for texts, bytes for the rest, a very large number for long values.
  [[nodiscard]] std::int64_t DefinedSize() const;
  [[nodiscard]] std::int16_t Precision() const;
  [[nodiscard]] std::int16_t NumericScale() const;

  /// The value in the current row, or the one assigned and not yet saved. Error 3021 without a current row.
  [[nodiscard]] Variant Value() const;
  /// Assigns; starts the edit of the current row when none is in progress. The value is turned into the field's type where the provider knows
  /// what it will be. Error 3251 on a read-only recordset, 3021 without a current row, 3421 for a value that the type cannot hold,
  /// -2147217887 for one that does not fit; the field and the edit are as before then.
  void Value(const Variant& value);
  /// The value as it was before the pending edit, Null in a new row; without an edit as Value.
  [[nodiscard]] Variant OriginalValue() const;
  /// The length of the value: characters of texts, bytes of the rest; 0 of a null.
  [[nodiscard]] std::int64_t ActualSize() const;

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
/// 3421 and -2147217887 for values that a field does not hold, else the provider's. After an error of Update the edit is still pending: values
/// may be changed and Update called again, or CancelUpdate.
class Recordset {
 public:
  Recordset() noexcept;
  ~Recordset();
  Recordset(Recordset&&) noexcept;
  Recordset& operator=(Recordset&&) noexcept;

  /// source is a statement, or the name of a table alone. Prepares and describes it; the query is executed when the first row is asked for, that of a
  /// static recordset at once, and its rows are then those of that moment; so is that of a keyset on the client's side, and of a dynamic one
  /// there that cannot be written. A statement that gives no rows is run, and the recordset stays closed. With adLockBatchOptimistic it is static
  /// whatever cursor says, and what Update, Delete and AddNew change waits for UpdateBatch. Without a connection that of ActiveConnection.
  void Open(const std::string& source, Connection* connection, CursorType cursor, LockType lock, std::int32_t options);
  /// For a check of what was read: the recordsets opened from now on read each value alone instead of in blocks, as a text that the backend
  /// itself makes of it where the provider knows how to ask (ODBC: MySQL, PostgreSQL, SQLite). The values are the same, the way is another
  /// one, and slower. Other providers read as ever. To be said before Open; error 3705 on an open recordset.
  void ReadsByAnotherWay(bool yes);
  /// The rows that a command gives, with its parameters, on its connection.
  void Open(const Command& command, CursorType cursor, LockType lock);
  /// Opens a recordset of the fields that AppendField has made, without rows and without a connection; UpdateBatch takes its changes as rows.
  /// Error 3709 without such fields.
  void Open();
  /// Makes a field of a recordset without a connection; precision and scale of adNumeric (0: any). Values are turned into the type when they are
  /// assigned. Error 3367 for a name that is there, 3219 on an open recordset.
  void AppendField(const std::string& name, DataType type, std::int64_t definedSize = 0, std::int16_t precision = 0,
                   std::int16_t numericScale = 0);
  /// Null takes an open recordset off its connection: it keeps its rows, and changes wait for UpdateBatch on the connection that it is given
  /// later. Error 3251 for one that does not scroll; 3219 while an edit is pending, while it has clones, and from one connection to another;
  /// 3709 for a closed connection. Of a closed recordset it is the connection of the next Open that is given none.
  void ActiveConnection(Connection* connection);
  /// Null without one, or when it is gone.
  [[nodiscard]] Connection* ActiveConnection() const noexcept;
  /// Where the cursor of the next Open lives, else where the connection says. Error 3705 when open.
  void CursorLocation(ado::CursorLocation location);
  /// Another recordset over the same rows, standing on the first one, with a place, filter and order of its own; what one changes, adds or deletes
  /// the other shows. Bookmarks lead to the same row in both. It stays open when this one is closed; Requery parts them. lock may be
  /// adLockReadOnly (else error 3001). Error 3251 for one that does not scroll.
  [[nodiscard]] Recordset Clone(LockType lock = adLockUnspecified) const;
  /// Error 3704 when closed already, 3219 while an edit is pending, and nothing is closed then. (The destructor gives it up.)
  void Close();
  [[nodiscard]] bool IsOpen() const noexcept;

  /// Past the last row (before the first): both true on an empty recordset. The first call reads the first row.
  [[nodiscard]] bool Eof() const;
  [[nodiscard]] bool Bof() const;
  /// Moves save a pending edit first, as ADO does. MoveNext at the end and MovePrevious before the first row are error 3021, so is MoveFirst
  /// and MoveLast where there are no rows. MoveLast, MovePrevious and steps backward need a cursor that scrolls (CanScroll), else error 3251.
  void MoveFirst();
  void MoveNext();
  void MoveLast();
  void MovePrevious();
  /// So many rows on, or back below 0, from the row of a bookmark, else from the current one; past the last row or before the first where
  /// there are not so many. Error 3021 when it stands there already, 3001 for a bookmark of another recordset.
  void Move(std::int64_t rows, const Variant& start = {});

  /// Whether the rows can be reached in any order: static cursors, those on the client's side that keep their rows, keysets of Access files.
  [[nodiscard]] bool CanScroll() const;
  /// How many rows there are, those that Filter shows; -1 for cursors that do not scroll. All of them are read first where need be. Rows that
  /// another has deleted count until they are met.
  [[nodiscard]] std::int64_t RecordCount() const;
  /// The current row's number from 1; adPosBOF, adPosEOF, and adPosUnknown without a row or for cursors that do not scroll.
  [[nodiscard]] std::int64_t AbsolutePosition() const;
  /// Error 3001 for a number that is not from 1 to RecordCount, 3251 for cursors that do not scroll.
  void AbsolutePosition(std::int64_t number);
  /// What leads back to the current row of this opening, whatever is sorted or shown. Error 3251 for cursors that do not scroll.
  [[nodiscard]] Variant Bookmark() const;
  /// Error 3001 for what is no bookmark of this opening, 3021 when its row is gone or not shown; the recordset then stands where it stood.
  void Bookmark(const Variant& bookmark);

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
  /// From the current row (or that of the bookmark start) and so many rows behind it on, moves to the first row that meets "[field] = value"
  /// (also <, >, <=, >=, <>, like; text in single quotes, dates between sharps); at the end when there is none, and backward before the first
  /// row. Error 3001 for a criterion that does not read so, 3021 where there are no rows, 3251 backward on cursors that do not scroll.
  void Find(const std::string& criterion, std::int64_t skip = 0, SearchDirection direction = adSearchForward, const Variant& start = {});
  /// Shows only the rows that meet criteria as of Find joined by AND and OR, with brackets; a blank text shows all. Stands on the first one.
  /// Rows that are added stay in sight. Error 3001 for a text that does not read so, 3265 for an unknown field, 3251 for cursors that do not
  /// scroll; what is shown is then as before.
  void Filter(const std::string& criteria);
  /// Shows the rows that wait for UpdateBatch, or those of them that it could not save; adFilterNone shows all. Error 3251 where none wait.
  void Filter(FilterGroup group);
  [[nodiscard]] const std::string& Filter() const;
  /// Shows the rows in the order of fields, "NOM, [QTE] DESC"; a blank text in their own. Stands on the first one. Nulls come first, texts go
  /// without regard to case. Errors as of Filter.
  void Sort(const std::string& fields);
  [[nodiscard]] const std::string& Sort() const;
  /// Runs the query again, with its parameters, as Open did; a pending edit is saved first. Filter and Sort hold on. When it fails the
  /// recordset is closed. Error 3219 while changes wait, and without a connection.
  void Requery();
  /// Reads the current row anew from the backend; a change of it that waits for UpdateBatch is given up, or stays (adResyncUnderlyingValues) and
  /// is compared with what was read now. Error 3251 for cursors that cannot, 3021 when the row is gone.
  void Resync(ResyncValues values = adResyncAllValues);

  /// Saves the changes that wait, row by row in their order. Those that are refused go on waiting with their Status, except that a deleted row is
  /// there again; all others are saved, and the first refusal is raised behind their number: -2147217864 for a row that another has changed or
  /// deleted. (Without a provider's rows below, a row is found by all values that were read of it.) Error 3251 where none wait, 3709 without a
  /// connection.
  void UpdateBatch();
  /// Gives up the changes that wait, and the pending edit: deleted rows are back, new ones gone.
  void CancelBatch();
  /// Of the current row: adRecUnmodified, adRecNew, adRecModified, adRecDeleted (a deletion that was refused), with adRecConcurrencyViolation or
  /// adRecIntegrityViolation when UpdateBatch could not save it.
  [[nodiscard]] RecordStatus Status() const;

  /// The next rows, at most so many, each with its values in the order of the fields; the recordset then stands behind them. Below 0: all.
  [[nodiscard]] std::vector<std::vector<Variant>> GetRows(std::int64_t rows = -1);
  /// The same as one text: columns and rows end with their delimiters, the last column with that of the row alone.
  [[nodiscard]] std::string GetString(std::int64_t rows = -1, const std::string& columnDelimiter = "\t",
                                      const std::string& rowDelimiter = "\r", const std::string& nullText = {});

 private:
  friend class Connection;
  friend class Command;
  void OpenCounting(const std::string& source, Connection& connection, std::int32_t options, std::int64_t& affected);
  void OpenCounting(const Command& command, std::int64_t& affected);
  [[nodiscard]] static RowsetRequest RequestOf(const Command& command, CursorType cursor, LockType lock);
  void Open(Connection* connection, RowsetRequest request);
  void Take(std::unique_ptr<RecordsetState> opened);
  std::unique_ptr<RecordsetState> state_;
  std::vector<FieldInfo> made_;             // of a recordset without a connection
  std::shared_ptr<ConnectionState> given_;  // of a closed one
  std::optional<ado::CursorLocation> location_;
  bool anotherWay_ = false;
};

}  // namespace tamlo::ado
