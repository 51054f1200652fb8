#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "jet/value/Error.h"
#include "jet/value/Value.h"

namespace jet::sql {

/// The type of an expression about which nothing is known (a Null).
constexpr ColumnType kNoType{0};

/// What is known of the values of a column or of an expression.
struct TypeInfo {
  ColumnType type = kNoType;
  std::uint32_t size = 0;  ///< characters for text, bytes for binary
  std::uint8_t precision = 0;
  std::uint8_t scale = 0;
  bool autoNumber = false;
  bool nullable = true;
};

struct ColumnInfo {
  std::string name;
  std::string folded;  ///< FoldName(name)
  TypeInfo type;
};

/// The place of the column of a name: the one that has it letter for letter, else the first that has it but for case; the number of columns
/// when there is none. folded is FoldName(name).
[[nodiscard]] std::size_t PlaceOfColumn(const std::vector<ColumnInfo>& columns, std::string_view name, std::string_view folded);

/// A table as a statement sees it: local, of another file, or behind a link. Statements and cursors share it, so that it outlives a
/// change of the schema that happens meanwhile.
struct TableInfo {
  virtual ~TableInfo() = default;
  std::string name;
  std::string sqlName;  ///< under which SQLite knows it
  std::vector<ColumnInfo> columns;
  bool rereadable = true;  ///< a row can be read again by its identity (not so behind an ODBC link)
};
struct SelectPlan;
using TablePointer = std::shared_ptr<const TableInfo>;

/// Where the translator learns what names mean.
class SchemaSource {
 public:
  virtual ~SchemaSource() = default;
  /// The table of that name; null when there is none. file: path of another database, or empty. Errors: kLinkUnreachable and those of opening.
  [[nodiscard]] virtual TablePointer FindTable(std::string_view name, const std::string& file) = 0;
  /// The SELECT text of the stored query of that name; nothing when there is none. Errors: kUnsupported for a query that gives no rows.
  [[nodiscard]] virtual std::optional<std::string> FindQuery(std::string_view name) = 0;
  /// The whole statement of the stored query of that name, also one that changes something. Error kUnsupported for one that is handed to a server.
  [[nodiscard]] virtual std::optional<std::string> FindStatement(std::string_view name) { return FindQuery(name); }
  /// The first rows of a query, at most so many, where the statement cannot be translated without them.
  [[nodiscard]] virtual std::vector<std::vector<Value>> Evaluate(const SelectPlan& /*plan*/, std::size_t /*most*/) {
    throw Error(ErrorCode::kUnsupported, "TRANSFORM and EXECUTE have no rows to look at here");
  }
};

}  // namespace jet::sql
