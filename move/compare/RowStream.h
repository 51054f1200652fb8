#pragma once

#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "ado/Connection.h"
#include "jet/Database.h"
#include "move/compare/Canonical.h"
#include "schema/Dialect.h"

namespace tamlo::move {

/// One of the two databases that are compared: an Access file, read by the engine's own scan, or a connection, on which the server makes texts
/// of its values. Neither is how a copy reads.
struct CompareSide {
  std::string name;  ///< in what is told: "is only in NAME"
  std::optional<schema::Engine> engine;
  jet::Database* file = nullptr;          ///< Access files
  ado::Connection* connection = nullptr;  ///< all others
};

struct Cell {
  bool null = false;
  std::string text;  ///< canonical
  friend bool operator==(const Cell&, const Cell&) = default;
};

struct StreamColumn {
  std::string name;
  schema::Kind kind = schema::Kind::kText;
  Form form = Form::kText;
};

/// All rows of a table, in no order.
class RowStream {
 public:
  virtual ~RowStream() = default;
  /// The next row's cells; false behind the last one.
  [[nodiscard]] virtual bool Next(std::vector<Cell>& row) = 0;
};

/// Errors: jet::Error, runtime::Error; base::Error for an engine whose values are not known as texts here.
[[nodiscard]] std::unique_ptr<RowStream> OpenStream(const CompareSide& side, const std::string& table,
                                                    const std::vector<StreamColumn>& columns, const Precision& precision);

/// The expression by which the engine tells the text that Canonical reads; texts and bytes as hexadecimal digits.
[[nodiscard]] std::string TextExpression(schema::Engine engine, const StreamColumn& column);

}  // namespace tamlo::move
