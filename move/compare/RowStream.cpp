#include "move/compare/RowStream.h"

#include "ado/Recordset.h"
#include "base/Error.h"
#include "jet/table/Table.h"

namespace tamlo::move {
namespace {

class FileRows final : public RowStream {
 public:
  FileRows(jet::Database& file, const std::string& name, const std::vector<StreamColumn>& columns, const Precision& precision)
      : columns_(columns),
        precision_(precision),
        places_(Places(file.OpenTable(name), columns)),
        cursor_(file.OpenTable(name).Scan(places_)) {}

  bool Next(std::vector<Cell>& row) override {
    if (!cursor_.Next()) return false;
    row.resize(columns_.size());
    for (std::size_t i = 0; i < columns_.size(); ++i) {
      cursor_.Current().Get(places_[i], value_);
      row[i].null = value_.IsNull();
      row[i].text.clear();
      if (!row[i].null) row[i].text = Canonical(columns_[i].form, value_, precision_);
    }
    return true;
  }

 private:
  static std::vector<std::size_t> Places(jet::Table& table, const std::vector<StreamColumn>& columns) {
    std::vector<std::size_t> places;
    for (const StreamColumn& column : columns) places.push_back(table.ColumnAt(column.name));
    return places;
  }

  std::vector<StreamColumn> columns_;
  Precision precision_;
  std::vector<std::size_t> places_;
  jet::ScanCursor cursor_;
  jet::Value value_;
};

/// What keeps texts of values from depending on the session.
std::vector<std::string> Session(schema::Engine engine) {
  if (engine == schema::Engine::kMariaDb) return {"SET time_zone = '+00:00'"};
  if (engine == schema::Engine::kPostgreSql)
    return {"SET TIME ZONE 'UTC'", "SET DateStyle TO ISO", "SET extra_float_digits TO 1", "SET bytea_output TO hex"};
  return {};
}

class ServerRows final : public RowStream {
 public:
  ServerRows(const CompareSide& side, const std::string& table, const std::vector<StreamColumn>& columns, const Precision& precision)
      : columns_(columns), precision_(precision) {
    const schema::Dialect& dialect = schema::DialectOf(*side.engine);
    for (const std::string& statement : Session(*side.engine)) side.connection->Execute(statement);
    std::string list;
    for (const StreamColumn& column : columns) list += (list.empty() ? "" : ", ") + TextExpression(*side.engine, column);
    rows_.Open("SELECT " + list + " FROM " + schema::Quoted(dialect, table), side.connection, ado::adOpenForwardOnly, ado::adLockReadOnly,
               ado::adCmdText);
  }

  bool Next(std::vector<Cell>& row) override {
    if (begun_ && !rows_.Eof()) rows_.MoveNext();
    begun_ = true;
    if (rows_.Eof()) return false;
    row.resize(columns_.size());
    for (std::size_t i = 0; i < columns_.size(); ++i) Read(i, row[i]);
    return true;
  }

 private:
  void Read(std::size_t place, Cell& cell) {
    const ado::Variant value = rows_.Fields(place).Value();
    const auto* text = value.If<std::string>();
    cell.null = text == nullptr;
    cell.text.clear();
    if (cell.null && !value.IsNull()) throw base::Error("the server gives no text of " + columns_[place].name);
    if (cell.null) return;
    const Form form = columns_[place].form;
    cell.text = form == Form::kText ? FromHex(*text) : Canonical(form, *text, precision_);
  }

  std::vector<StreamColumn> columns_;
  Precision precision_;
  ado::Recordset rows_;
  bool begun_ = false;
};

std::string OnMariaDb(const StreamColumn& column, const std::string& name) {
  switch (column.form) {
    case Form::kText:
      return "HEX(CONVERT(" + name + " USING utf8mb4))";
    case Form::kBytes:
      return "HEX(" + name + ")";
    case Form::kSingle:
      return "CAST(CAST(" + name + " AS DOUBLE) AS CHAR)";
    case Form::kTruth:
      return "CAST(" + name + "+0 AS CHAR)";
    default:
      return "CAST(" + name + " AS CHAR)";
  }
}

std::string OnPostgreSql(const StreamColumn& column, const std::string& name) {
  switch (column.form) {
    case Form::kText:
      return "encode(convert_to(" + name + "::text,'UTF8'),'hex')";
    case Form::kBytes:
      return "encode(" + name + ",'hex')";
    case Form::kTruth:
      return name + "::int::text";
    default:
      break;
  }
  const bool exact = column.kind == schema::Kind::kCurrency || column.kind == schema::Kind::kDecimal;
  return name + (exact ? "::numeric::text" : "::text");
}

/// What a column of SQLite holds has a type of its own in each row.
std::string OnSqlite(const StreamColumn& column, const std::string& name) {
  if (column.form == Form::kBytes || column.form == Form::kText)
    return "CASE typeof(" + name + ") WHEN 'null' THEN NULL WHEN 'real' THEN hex(quote(" + name + ")) ELSE hex(" + name + ") END";
  return "CASE typeof(" + name + ") WHEN 'real' THEN quote(" + name + ") WHEN 'blob' THEN quote(" + name + ") ELSE CAST(" + name +
         " AS TEXT) END";
}

}  // namespace

std::string TextExpression(schema::Engine engine, const StreamColumn& column) {
  const std::string name = schema::Quoted(schema::DialectOf(engine), column.name);
  switch (engine) {
    case schema::Engine::kMariaDb:
      return OnMariaDb(column, name);
    case schema::Engine::kPostgreSql:
      return OnPostgreSql(column, name);
    case schema::Engine::kSqlite:
      return OnSqlite(column, name);
    default:
      throw base::Error("rows of " + std::string(schema::DialectOf(engine).name) + " are not compared");
  }
}

std::unique_ptr<RowStream> OpenStream(const CompareSide& side, const std::string& table, const std::vector<StreamColumn>& columns,
                                      const Precision& precision) {
  if (side.file != nullptr) return std::make_unique<FileRows>(*side.file, table, columns, precision);
  if (!side.engine || side.connection == nullptr) throw base::Error("rows of this source are not compared");
  return std::make_unique<ServerRows>(side, table, columns, precision);
}

}  // namespace tamlo::move
