#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <span>
#include <string>
#include <variant>
#include <vector>

#include "ado/Provider.h"
#include "ado/odbc/facts/DriverFacts.h"
#include "ado/odbc/statement/Statement.h"

namespace tamlo::ado::odbc {

/// How values go to a column: the forms in which they are sent and the limits that are checked before.
struct ParameterShape {
  enum class Form { kInteger, kBigInteger, kDouble, kDecimalText, kBit, kTimestamp, kDate, kTime, kMomentText, kText, kGuidText, kBytes };
  Form form = Form::kText;
  std::int16_t nativeType = 0;  ///< C type
  std::int16_t sqlType = 0;
  std::size_t fixedSize = 0;   ///< bytes; 0 when they differ from value to value
  std::size_t columnSize = 0;  ///< of fixed forms; for the others the longest value's
  std::int16_t digits = 0;
  std::int64_t limit = 0;  ///< characters or bytes that the column takes; 0 is without a limit
  std::int16_t adoType = 0;
  ValueFacts values;   ///< of the database
  std::string column;  ///< for errors
};

/// The shape for a column; sqlType is the driver's own type of it, or 0 when not known.
[[nodiscard]] ParameterShape ShapeFor(const FieldInfo& field, std::int16_t sqlType, const DriverFacts& facts);

/// Appends the value as the shape's bytes. False for a null (also Empty). Errors 6 and 13 for what the column cannot take,
/// -2147467259 naming the column for a text or bytes too long for it, and for a value of which the driver or the backend would make another
/// one without a word: nothing is ever cut or changed, but rounded to the digits that the column has.
[[nodiscard]] bool Encode(const Variant& value, const ParameterShape& shape, std::vector<std::byte>& out);

/// The value as a column of that shape holds it: numbers, truth values and texts as values of the column's type, the rest as it was given.
/// Errors of Encode. Of long values only the type is looked at: what they hold is checked once, when they are written.
[[nodiscard]] Variant Held(const Variant& value, const ParameterShape& shape);

/// Encode for what is written by the million: a value of the column's own type, of a text one in ASCII, straight into its slot. The bytes
/// written; 0 where the value is any other or has no room, and Encode is to be asked.
[[nodiscard]] std::size_t EncodeUsual(const Variant& value, const ParameterShape& shape, std::span<std::byte> slot);

/// The parameters of one execution of a prepared statement. Must live until it is executed.
class ParameterSet {
 public:
  explicit ParameterSet(Statement& statement) : statement_(statement) {}

  /// Adds and binds the next one. A long value in pieces is read while the statement executes.
  void Add(const Variant& value, const ParameterShape& shape);
  void Add(const ChunkSource& source, const ParameterShape& shape);
  /// Another value, of the same shape, for one that is bound (from 0) and not in pieces. Errors of Encode leave it unfit to be executed.
  void Refill(std::size_t position, const Variant& value);
  /// Executes, sending long values piece by piece.
  void Execute();

 private:
  struct Bound {
    ParameterShape shape;
    std::vector<std::byte> data;
    std::ptrdiff_t indicator = 0;
    ChunkSource source;           // empty unless sent in pieces
    bool sent = false;            // its pieces are gone
    const void* place = nullptr;  // as the driver knows it
    std::size_t size = 0;
  };
  void Encoded(Bound& bound, const Variant& value);
  void Bind(Bound& bound, std::size_t position);
  void SendPieces(const Bound& bound);

  Statement& statement_;
  std::vector<std::unique_ptr<Bound>> bound_;  // addresses are known to the driver
};

}  // namespace tamlo::ado::odbc
