#pragma once

#include <memory>
#include <optional>
#include <set>
#include <vector>

#include "ado/Provider.h"
#include "ado/jet/JetConnection.h"
#include "ado/jet/RowWriter.h"
#include "jet/sql/Session.h"

namespace tamlo::ado::jetprovider {

/// The rows of a query. Forward-only ones come as the query gives them. Static ones are kept as they were at first reading (within a
/// budget of memory; a larger result is read anew by MoveFirst). Keyset and dynamic ones read each row from its table when they reach it,
/// skip rows deleted meanwhile and rows whose key they changed themselves, and can be written when the query's rows are rows of local tables.
/// Between two calls nothing is locked: others read and write, and the next call goes on in what is there by then.
class QueryRowset final : public ProviderRowset {
 public:
  QueryRowset(JetConnection& connection, std::unique_ptr<jet::sql::Query> query, const RowsetRequest& request);

  [[nodiscard]] const std::vector<FieldInfo>& Fields() const override { return fields_; }
  bool MoveFirst() override;
  bool MoveNext() override;
  [[nodiscard]] Variant Value(std::size_t field) override;
  std::size_t ReadChunk(std::size_t field, std::byte* buffer, std::size_t capacity) override;
  [[nodiscard]] bool CanUpdate() const override { return updatable_; }
  void Insert(std::span<const Assignment> values) override;
  void Update(std::span<const Assignment> values) override;
  void Delete() override;

 private:
  enum class Kind { kForward, kStatic, kLive };

  bool Advance();
  /// Takes the values of the row that a live cursor stands on; false when one of its rows is gone.
  bool TakeRow();
  void KeepRow();
  /// Reads all rows of a static cursor that stands on its first one; as far as they are not too much to keep.
  bool KeepAll();
  /// True when the walk may meet the current row again once these values are in it.
  [[nodiscard]] bool MayMove(std::span<const Assignment> values) const;
  [[nodiscard]] bool IsLong(std::size_t field) const;
  [[nodiscard]] std::unique_ptr<jet::LongValueReader> OpenLong(std::size_t field);
  [[nodiscard]] const jet::sql::EngineTable& SourceTable(std::size_t source) const;
  RowWriter& Writer(std::size_t source);
  /// Whether the row of that source still has the key that was read, or all the short values that were where the key was not.
  [[nodiscard]] jet::Table::RowTest IsMeant(std::size_t source);
  /// The same for reading more of the row: without a key, values differ only when others have changed something since.
  [[nodiscard]] jet::Table::RowTest IsStillRead(std::size_t source);

  /// Whether the columns to be changed hold what was read of them; long values that were not read, or are long, count as unchanged.
  [[nodiscard]] jet::Table::RowTest IsUnchanged(std::span<const Assignment> values);

  JetConnection& connection_;
  std::unique_ptr<jet::sql::Query> query_;
  Kind kind_;
  bool updatable_ = false;
  std::vector<FieldInfo> fields_;
  std::vector<std::size_t> columns_;                        // position in its table of each field
  std::vector<std::optional<jet::RowId>> ids_;              // of the current row, one for each source
  std::set<std::vector<std::optional<jet::RowId>>> moved_;  // rows that may come again: an index has them at another place now
  std::vector<Variant> values_;                             // of the current row, long values only where seen_
  std::vector<bool> seen_;                                  // a long value that was read of the current row
  std::vector<std::vector<Variant>> kept_;                  // rows of a static cursor
  std::size_t keptAt_ = 0;                                  // row after the current one
  std::size_t keptBytes_ = 0;
  bool keptAll_ = false;
  bool keeping_ = true;
  std::vector<std::uint64_t> versions_;  // of each source's pages when the row was read
  bool inserted_ = false;  // stands on a row of its own making
  std::vector<std::unique_ptr<RowWriter>> writers_;
  std::vector<std::unique_ptr<jet::LongValueReader>> readers_;
  std::vector<std::size_t> chunkAt_;  // offset in a value that is whole already
  jet::Row row_;
};

/// Hands out the next piece of a whole value; offset moves on and returns to 0 at the end.
[[nodiscard]] std::size_t PieceOf(const Variant& value, std::size_t& offset, std::byte* buffer, std::size_t capacity);

}  // namespace tamlo::ado::jetprovider
