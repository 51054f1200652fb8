#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <optional>
#include <span>
#include <string>
#include <vector>

#include "ado/Provider.h"
#include "ado/odbc/rows/ReadQuery.h"
#include "ado/odbc/statement/Statement.h"
#include "ado/odbc/values/ValueDecoder.h"
#include "runtime/Error.h"

namespace tamlo::ado::odbc {

/// For tests alone: called with the buffer of each bound column of each block of more than one row that was fetched, so that a test can spoil
/// it as a careless driver would. Empty in programs.
using BlockSeam = std::function<void(std::size_t column, std::span<std::byte> values)>;
[[nodiscard]] BlockSeam& SeamOfBlocks();

/// Reads the rows of an executed statement: short columns in blocks into bound buffers, long ones piece by piece when asked for.
class RowReader {
 public:
  /// statement, fields and columns must outlive the reader; what the plan says is executed. Columns are bound when the first row is fetched.
  RowReader(Statement& statement, const std::vector<FieldInfo>& fields, const std::vector<ColumnDescription>& columns,
            const ReadPlan& plan);

  /// What the statement must give: the fields, then their companions.
  [[nodiscard]] std::size_t ColumnCount() const noexcept { return columns_.size(); }
  /// Begins with the rows of a new execution.
  void Restart();
  /// False at the end.
  bool Next();
  /// Read by the million: the value is made in the caller's place and never moved.
  [[nodiscard]] Variant Value(std::size_t field) {
    Variant value = Usual(field);
    if (value.IsEmpty()) value = Unusual(field);
    return value;
  }
  /// The value as far as it needs no asking of the driver; none where it would.
  [[nodiscard]] std::optional<Variant> AtHand(std::size_t field);
  [[nodiscard]] std::size_t ReadChunk(std::size_t field, std::byte* buffer, std::size_t capacity);

 private:
  struct Column {
    FetchPlan plan;
    const FieldInfo* info = nullptr;  // of a companion: that of its column
    std::size_t companion = ReadPlan::kNone;
    std::size_t room = 0;  // bytes of a bound value at most; of one of a fixed size any length is right
    bool bound = false;
    bool usual = false;           // bound, and DecodeUsual may know the value
    bool touched = false;         // reading it in pieces has begun in this row
    std::vector<std::byte> data;  // one element for each row of the block
    std::vector<std::ptrdiff_t> indicators;
    std::optional<Variant> whole;  // an unbound value of this row, once read
  };
  struct Stream {
    std::size_t field = SIZE_MAX;
    Variant whole;           // the value, when it is not read in pieces
    std::size_t offset = 0;  // into it
    bool ended = false;
    std::string carry;    // bytes of a character whose end is still to come
    std::string pending;  // text that is read but not handed out
  };

  void AskTypes();
  void BindColumns();
  std::optional<Variant> FromCompanion(std::size_t field);
  [[nodiscard]] bool HasNull(std::size_t column) const;
  [[nodiscard]] const FieldInfo& Info(std::size_t field) const { return *columns_[field].info; }
  [[nodiscard]] Variant Usual(std::size_t field) const;
  Variant Unusual(std::size_t field);
  Variant Read(std::size_t field);
  template <typename Call>
  auto Told(std::size_t field, Call&& call);
  [[nodiscard]] std::size_t RowsOfBlocks(std::size_t rowBytes) const;
  bool FetchBlock();
  void LeaveBlock();
  void ForgetBlock(std::size_t rows);
  bool TakeBlock(std::int16_t result);
  bool JudgeBlock(std::int16_t result);
  void RefuseSpoiltRow() const;
  void CheckUnits(std::size_t field, std::size_t length) const;
  void NewRow();
  void Rewind(std::size_t field);
  void Drain(std::size_t field);
  void VisitOtherColumn(std::size_t field);
  Variant ReadWhole(std::size_t field);
  std::vector<std::byte> ReadBytes(std::size_t field, bool& isNull);
  std::size_t StreamText(std::size_t field, std::byte* buffer, std::size_t capacity);
  void ReadTextPiece(std::size_t field);
  std::size_t StreamBytes(std::size_t field, std::byte* buffer, std::size_t capacity);

  Statement& statement_;
  const std::vector<FieldInfo>& fields_;
  const std::vector<ColumnDescription>& descriptions_;
  std::vector<Column> columns_;  // of the fields, then the companions
  bool asksTypes_ = false;
  bool singly_ = false;
  std::size_t blockRows_ = 1;
  std::size_t fetched_ = 0;               // rows of the current block
  std::size_t before_ = 0;                // rows of the blocks before it
  std::vector<std::uint16_t> status_;     // of each row of the block
  std::optional<runtime::Error> spoilt_;  // what the driver said of the block's rows that it could not give
  std::size_t row_ = 0;                   // in the block
  bool bound_ = false;
  bool unboundColumns_ = false;
  bool ended_ = false;
  Stream stream_;
};

}  // namespace tamlo::ado::odbc
