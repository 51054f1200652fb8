#pragma once

#include <cstddef>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <vector>

#include "ado/Provider.h"
#include "ado/odbc/RowReader.h"
#include "ado/odbc/RowWriter.h"
#include "ado/odbc/Statement.h"

namespace tamlo::ado::odbc {

/// A cursor over a query or a table. The query is prepared and described when the cursor is made and executed when its first row is asked
/// for. Static cursors, and all but forward-only ones on the client's side, keep the rows that they have read, so that MoveFirst shows the
/// same rows again; the others execute anew. Rows are written by statements of their own on the base table.
class OdbcRowset final : public ProviderRowset {
 public:
  OdbcRowset(std::shared_ptr<Session> session, const RowsetRequest& request);

  [[nodiscard]] const std::vector<FieldInfo>& Fields() const override { return fields_; }
  bool MoveFirst() override;
  bool MoveNext() override;
  [[nodiscard]] Variant Value(std::size_t field) override;
  std::size_t ReadChunk(std::size_t field, std::byte* buffer, std::size_t capacity) override;

  [[nodiscard]] bool CanUpdate() const override { return writer_.has_value(); }
  void Insert(std::span<const Assignment> values) override;
  void Update(std::span<const Assignment> values) override;
  void Delete() override;

 private:
  using Row = std::vector<Variant>;

  void Describe();
  void ExecuteQuery();
  bool Advance();
  void KeepCurrentRow();
  void ReadToTheEnd();
  [[nodiscard]] Variant Stored(std::size_t field);
  [[nodiscard]] Variant FromBackend(std::size_t field);
  void Remember(std::span<const Assignment> values);
  std::size_t ChunkOf(const Variant& value, std::byte* buffer, std::size_t capacity);

  std::shared_ptr<Session> session_;
  Statement statement_;
  std::vector<std::string> literals_;  // taken out of the text, bound as parameters
  std::unique_ptr<ParameterSet> literalParameters_;
  std::vector<ColumnDescription> columns_;
  std::vector<FieldInfo> fields_;
  std::optional<RowReader> reader_;
  std::optional<RowWriter> writer_;
  bool executed_ = false;
  bool fresh_ = false;  // executed, and no row fetched yet
  bool keepsRows_ = false;
  bool exhausted_ = false;
  std::vector<Row> rows_;                        // kept ones
  std::size_t row_ = 0;                          // the current one of rows_
  bool inserted_ = false;                        // the current row is the one that was just inserted
  std::vector<std::optional<Variant>> written_;  // values of the current row that were written since it was read
  std::vector<bool> stale_;                      // written in pieces: only the backend has the value
  bool anyWritten_ = false;
  std::size_t chunkField_ = SIZE_MAX;
  std::size_t chunkOffset_ = 0;
};

}  // namespace tamlo::ado::odbc
