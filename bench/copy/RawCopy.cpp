#include "bench/copy/RawCopy.h"

#include <sql.h>
#include <sqlext.h>

#include <cstring>
#include <stdexcept>
#include <vector>

namespace tamlo::bench {

namespace {

constexpr std::size_t kTextBytes = 61;

void Check(SQLRETURN result, SQLSMALLINT kind, SQLHANDLE handle) {
  if (SQL_SUCCEEDED(result)) return;
  SQLCHAR state[6]{};
  SQLCHAR text[512]{};
  SQLINTEGER native = 0;
  SQLSMALLINT length = 0;
  SQLGetDiagRec(kind, handle, 1, state, &native, text, sizeof text, &length);
  throw std::runtime_error(reinterpret_cast<const char*>(text));
}

class Side {
 public:
  explicit Side(const std::string& connectionString) {
    SQLAllocHandle(SQL_HANDLE_ENV, SQL_NULL_HANDLE, &environment_);
    SQLSetEnvAttr(environment_, SQL_ATTR_ODBC_VERSION, reinterpret_cast<SQLPOINTER>(SQL_OV_ODBC3), 0);
    SQLAllocHandle(SQL_HANDLE_DBC, environment_, &connection);
    auto text = connectionString;
    Check(SQLDriverConnect(connection, nullptr, reinterpret_cast<SQLCHAR*>(text.data()), SQL_NTS, nullptr, 0, nullptr, SQL_DRIVER_NOPROMPT),
          SQL_HANDLE_DBC, connection);
    Check(SQLAllocHandle(SQL_HANDLE_STMT, connection, &statement), SQL_HANDLE_DBC, connection);
  }
  ~Side() {
    SQLFreeHandle(SQL_HANDLE_STMT, statement);
    SQLDisconnect(connection);
    SQLFreeHandle(SQL_HANDLE_DBC, connection);
    SQLFreeHandle(SQL_HANDLE_ENV, environment_);
  }
  Side(const Side&) = delete;
  Side& operator=(const Side&) = delete;

  SQLHDBC connection = SQL_NULL_HDBC;
  SQLHSTMT statement = SQL_NULL_HSTMT;

 private:
  SQLHENV environment_ = SQL_NULL_HENV;
};

/// A row as the source's columns are bound to it.
struct Row {
  SQLINTEGER id;
  SQLLEN idSize;
  char text[kTextBytes];
  SQLLEN textSize;
  double number;
  SQLLEN numberSize;
  SQL_TIMESTAMP_STRUCT day;
  SQLLEN daySize;
};

/// The batch: an array for each column. (MariaDB's driver sends arrays bound by row one row at a time.)
struct Batch {
  explicit Batch(std::size_t rows)
      : id(rows), idSize(rows), text(rows * kTextBytes), textSize(rows), number(rows), numberSize(rows), day(rows), daySize(rows) {}

  void Set(std::size_t i, const Row& row) {
    id[i] = row.id;
    idSize[i] = row.idSize;
    std::memcpy(&text[i * kTextBytes], row.text, kTextBytes);
    textSize[i] = row.textSize;
    number[i] = row.number;
    numberSize[i] = row.numberSize;
    day[i] = row.day;
    daySize[i] = row.daySize;
  }

  std::vector<SQLINTEGER> id;
  std::vector<SQLLEN> idSize;
  std::vector<char> text;
  std::vector<SQLLEN> textSize;
  std::vector<double> number;
  std::vector<SQLLEN> numberSize;
  std::vector<SQL_TIMESTAMP_STRUCT> day;
  std::vector<SQLLEN> daySize;
};

}  // namespace

std::size_t RawCopy(const std::string& source, const std::string& target, const std::string& table, std::size_t batchRows) {
  Side in(source);
  Side out(target);
  Row row{};
  Batch batch(batchRows);
  std::string select = "SELECT ID, TEXTE, DBL, JOUR FROM " + table;
  Check(SQLExecDirect(in.statement, reinterpret_cast<SQLCHAR*>(select.data()), SQL_NTS), SQL_HANDLE_STMT, in.statement);
  SQLBindCol(in.statement, 1, SQL_C_SLONG, &row.id, 0, &row.idSize);
  SQLBindCol(in.statement, 2, SQL_C_CHAR, row.text, kTextBytes, &row.textSize);
  SQLBindCol(in.statement, 3, SQL_C_DOUBLE, &row.number, 0, &row.numberSize);
  SQLBindCol(in.statement, 4, SQL_C_TYPE_TIMESTAMP, &row.day, 0, &row.daySize);

  SQLSetConnectAttr(out.connection, SQL_ATTR_AUTOCOMMIT, reinterpret_cast<SQLPOINTER>(SQL_AUTOCOMMIT_OFF), 0);
  std::string insert = "INSERT INTO " + table + " (ID, TEXTE, DBL, JOUR) VALUES (?,?,?,?)";
  Check(SQLPrepare(out.statement, reinterpret_cast<SQLCHAR*>(insert.data()), SQL_NTS), SQL_HANDLE_STMT, out.statement);
  SQLBindParameter(out.statement, 1, SQL_PARAM_INPUT, SQL_C_SLONG, SQL_INTEGER, 0, 0, batch.id.data(), 0, batch.idSize.data());
  SQLBindParameter(out.statement, 2, SQL_PARAM_INPUT, SQL_C_CHAR, SQL_VARCHAR, 60, 0, batch.text.data(), kTextBytes, batch.textSize.data());
  SQLBindParameter(out.statement, 3, SQL_PARAM_INPUT, SQL_C_DOUBLE, SQL_DOUBLE, 0, 0, batch.number.data(), 0, batch.numberSize.data());
  SQLBindParameter(out.statement, 4, SQL_PARAM_INPUT, SQL_C_TYPE_TIMESTAMP, SQL_TYPE_TIMESTAMP, 19, 0, batch.day.data(), 0,
                   batch.daySize.data());

  std::size_t rows = 0;
  std::size_t held = 0;
  const auto send = [&] {
    SQLSetStmtAttr(out.statement, SQL_ATTR_PARAMSET_SIZE, reinterpret_cast<SQLPOINTER>(held), 0);
    Check(SQLExecute(out.statement), SQL_HANDLE_STMT, out.statement);
    Check(SQLEndTran(SQL_HANDLE_DBC, out.connection, SQL_COMMIT), SQL_HANDLE_DBC, out.connection);
    held = 0;
  };
  while (SQL_SUCCEEDED(SQLFetch(in.statement))) {
    batch.Set(held++, row);
    ++rows;
    if (held == batchRows) send();
  }
  if (held > 0) send();
  return rows;
}

}  // namespace tamlo::bench
