#pragma once

#include <cstddef>
#include <memory>
#include <optional>
#include <string>
#include <unordered_map>
#include <variant>
#include <vector>

#include "ado/ConnectionState.h"
#include "ado/Provider.h"
#include "ado/Recordset.h"

namespace tamlo::ado {

/// An open recordset: the provider's rowset, where it stands and what is being edited. Its address is known to its fields and to the
/// connection, so it does not move.
struct RecordsetState {
  enum class Position { kUnread, kOnRow, kDeleted, kAtEnd };
  using Pending = std::variant<Variant, ChunkSource>;

  /// Without a rowset when the statement, which was run, gives none.
  RecordsetState(std::shared_ptr<ConnectionState> owner, const RowsetRequest& request);
  ~RecordsetState();
  RecordsetState(const RecordsetState&) = delete;
  RecordsetState& operator=(const RecordsetState&) = delete;

  /// Lets the rowset go, with whatever edit is pending; the object stays as the memory of a closed recordset.
  void Close() noexcept;
  /// Reads the first row when none was asked for yet.
  void EnsureFirst();
  /// Error 3704 when closed, 3021 unless there is a current row or a new one being filled.
  void RequireRow();
  void MoveFirst();
  void MoveNext();
  /// Error 3251 unless rows can be written.
  void RequireUpdatable() const;
  void Assign(std::size_t field, Pending value);
  void Update();
  void CancelUpdate() noexcept;
  void Delete();

  [[nodiscard]] Variant Value(std::size_t field) {
    const bool asRead = rowset && position == Position::kOnRow && edit == adEditNone;
    return asRead ? rowset->Value(field) : ValueInEdit(field);
  }
  [[nodiscard]] Variant ValueInEdit(std::size_t field);
  [[nodiscard]] std::size_t ReadChunk(std::size_t field, std::byte* buffer, std::size_t capacity);

  std::shared_ptr<ConnectionState> connection;
  std::unique_ptr<ProviderRowset> rowset;  // null when closed
  std::vector<FieldInfo> infos;            // a copy: fields describe themselves also once the rowset is gone
  std::vector<Field> fields;
  std::unordered_map<std::string, std::size_t> byName;  // by upper-cased name; the first of equal names
  Position position = Position::kUnread;
  bool empty = false;  // no row was ever found: then the end is the beginning too
  bool writable = false;
  EditMode edit = adEditNone;
  std::vector<std::optional<Pending>> pending;  // by field
  std::vector<std::size_t> pendingOffset;       // by field: how far a pending long value was read
};

}  // namespace tamlo::ado
