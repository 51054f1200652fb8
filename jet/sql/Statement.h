#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <variant>
#include <vector>

#include "jet/sql/Definitions.h"
#include "jet/sql/Schema.h"
#include "jet/value/Conversion.h"

/// What a translated Access statement asks for. SQLite evaluates the queries; changes and definitions are done by the engine itself.
namespace jet::sql {

struct ResultColumn {
  std::string name;
  TypeInfo type;
  int source = -1;         ///< position in SelectPlan::sources of the table whose column this is unchanged; -1: an expression
  std::size_t column = 0;  ///< position in that table
  int parameter = -1;      ///< position in SelectPlan::parameters of the value that the column is; -1: none
};

/// A value for a parameter of a statement. name: as the statement writes it, with or without brackets; empty: the next one in order.
struct Parameter {
  std::string name;
  Value value;
};

/// Whether a plain column of this type is not given by SQLite but read from its row when it is asked for: long values, which are read in
/// pieces, and exact numbers, which SQLite would make doubles of. The query holds NULL in its place.
[[nodiscard]] inline bool IsReadFromRow(ColumnType type, const TableInfo& table) {
  const bool wanted =
      type == ColumnType::kMemo || type == ColumnType::kOle || type == ColumnType::kCurrency || type == ColumnType::kNumeric;
  return wanted && table.rereadable;
}

/// A query in SQLite's words.
struct SelectPlan {
  struct Source {
    TablePointer table;
    int rowIdColumn = -1;   ///< result column that holds the row's identity
    bool optional = false;  ///< may be missing in a row (outer join)
  };

  std::string sql;
  std::vector<ResultColumn> columns;  ///< the first columns of the result, those that the statement asks for
  /// The tables whose rows the result rows are; empty when rows are grouped, made distinct or united.
  std::vector<Source> sources;
  /// Tables read anywhere in the statement.
  std::vector<TablePointer> reads;
  /// The rows are simply all rows of sources[0] in the order of the file, the columns plain columns.
  bool plainScan = false;
  bool singleRow = false;             ///< can give at most one row
  std::optional<std::int64_t> limit;  ///< of a plain scan, or with ties
  /// With TOP and ORDER BY: result columns that hold the order, by which rows equal to the last one are still given. Empty: no such rule.
  std::vector<std::size_t> tieColumns;
  /// The values of ?1, ?2 and so on in sql; null when it has none. Shared by the copies of a plan: they may be large.
  std::shared_ptr<const std::vector<Value>> parameters;
};

struct SelectIntoPlan {
  SelectPlan query;
  TableTarget target;
};

struct InsertPlan {
  TablePointer table;
  TableTarget target;
  std::vector<std::size_t> columns;  ///< of the table, for each column of the query
  SelectPlan query;
};

struct UpdatePlan {
  struct Item {
    std::size_t source = 0;  ///< position in query.sources
    std::size_t column = 0;  ///< of that table
    std::size_t value = 0;   ///< result column
  };
  SelectPlan query;
  std::vector<Item> items;
};

struct DeletePlan {
  SelectPlan query;
  std::size_t source = 0;
};

using Statement =
    std::variant<SelectPlan, SelectIntoPlan, InsertPlan, UpdatePlan, DeletePlan, CreateTablePlan, AddColumnPlan, AlterColumnPlan,
                 DropColumnPlan, DropConstraintPlan, CreateIndexPlan, DropIndexPlan, DropTablePlan, CreateQueryPlan, TransactionPlan>;

class ParameterSet;

using jet::TextSettings;

/// Turns one Access statement into a plan. Errors: kSyntax and kUnsupported with the position, kNotFound for a name that means nothing,
/// kTypeMismatch for a comparison that cannot be, kLinkUnreachable.
/// parameters: the statement's, with their values; null for none. While they are being collected the plan is good for nothing else.
[[nodiscard]] Statement Translate(std::string_view text, SchemaSource& schema, const TextSettings& settings = {},
                                  ParameterSet* parameters = nullptr);

}  // namespace jet::sql
