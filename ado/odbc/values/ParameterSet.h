#pragma once

#include <cstddef>
#include <memory>
#include <vector>

#include "ado/Provider.h"
#include "ado/odbc/statement/Statement.h"
#include "ado/odbc/values/ParameterShape.h"

namespace tamlo::ado::odbc {

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
