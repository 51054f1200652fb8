#include "bench/ado_odbc/RawRows.h"

#include <sql.h>
#include <sqlext.h>
#include <sqlucode.h>

#include <charconv>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <vector>

namespace tamlo::bench {
namespace {

constexpr std::size_t kNameUnits = 41;
constexpr std::size_t kDigits = 32;  // bytes of a double as a text

std::u16string Wide(const std::string& text) { return {text.begin(), text.end()}; }
SQLWCHAR* Units(std::u16string& text) { return reinterpret_cast<SQLWCHAR*>(text.data()); }

void Check(SQLRETURN result, const char* what) {
  if (SQL_SUCCEEDED(result) || result == SQL_NO_DATA) return;
  std::fprintf(stderr, "raw loop: %s failed (%d)\n", what, result);
  std::exit(2);
}

SQLHENV Environment() {
  static SQLHENV environment = [] {
    SQLHENV made = nullptr;
    Check(SQLAllocHandle(SQL_HANDLE_ENV, nullptr, &made), "environment");
    Check(SQLSetEnvAttr(made, SQL_ATTR_ODBC_VERSION, reinterpret_cast<SQLPOINTER>(SQL_OV_ODBC3), 0), "version");
    return made;
  }();
  return environment;
}

/// Column-wise buffers for a batch of (id, name, val).
struct Batch {
  Batch(std::size_t rows, bool narrow)
      : unit(narrow ? 1 : sizeof(SQLWCHAR)),
        id(rows),
        idLength(rows, sizeof(SQLINTEGER)),
        name(rows * kNameUnits * unit),
        nameLength(rows),
        value(rows),
        valueLength(rows, sizeof(double)) {}

  void Fill(std::size_t first, std::size_t count) {
    for (std::size_t i = 0; i < count; ++i) {
      const std::string text = "name " + std::to_string(first + i);
      id[i] = static_cast<SQLINTEGER>(first + i);
      char* place = &name[i * kNameUnits * unit];
      if (unit == 1) {
        std::memcpy(place, text.data(), text.size());
      } else {
        for (std::size_t k = 0; k < text.size(); ++k) reinterpret_cast<SQLWCHAR*>(place)[k] = static_cast<SQLWCHAR>(text[k]);
      }
      nameLength[i] = static_cast<SQLLEN>(text.size() * unit);
      value[i] = static_cast<double>(first + i) * 0.5;
    }
  }

  void Bind(SQLHSTMT statement, std::size_t row, std::size_t parameter) {
    const auto at = [&](std::size_t offset) { return static_cast<SQLUSMALLINT>(parameter + offset); };
    SQLBindParameter(statement, at(0), SQL_PARAM_INPUT, SQL_C_SLONG, SQL_INTEGER, 10, 0, &id[row], sizeof(SQLINTEGER), &idLength[row]);
    SQLBindParameter(statement, at(1), SQL_PARAM_INPUT, NativeType(), unit == 1 ? SQL_VARCHAR : SQL_WVARCHAR, 40, 0,
                     &name[row * kNameUnits * unit], static_cast<SQLLEN>(kNameUnits * unit), &nameLength[row]);
    SQLBindParameter(statement, at(2), SQL_PARAM_INPUT, SQL_C_DOUBLE, SQL_DOUBLE, 15, 0, &value[row], sizeof(double), &valueLength[row]);
  }

  [[nodiscard]] SQLSMALLINT NativeType() const { return unit == 1 ? SQL_C_CHAR : SQL_C_WCHAR; }

  std::size_t unit;  // bytes of one unit of a text
  std::vector<SQLINTEGER> id;
  std::vector<SQLLEN> idLength;
  std::vector<char> name;
  std::vector<SQLLEN> nameLength;
  std::vector<double> value;
  std::vector<SQLLEN> valueLength;
};

SQLHSTMT Prepared(SQLHDBC connection, const std::string& sql) {
  SQLHSTMT statement = nullptr;
  Check(SQLAllocHandle(SQL_HANDLE_STMT, connection, &statement), "statement");
  auto wide = Wide(sql);
  Check(SQLPrepareW(statement, Units(wide), static_cast<SQLINTEGER>(wide.size())), "prepare");
  return statement;
}

}  // namespace

RawRows::RawRows(const std::string& connectionString, bool narrowTexts) : narrow_(narrowTexts) {
  Check(SQLAllocHandle(SQL_HANDLE_DBC, Environment(), &connection_), "connection");
  auto wide = Wide(connectionString);
  SQLSMALLINT length = 0;
  Check(
      SQLDriverConnectW(connection_, nullptr, Units(wide), static_cast<SQLSMALLINT>(wide.size()), nullptr, 0, &length, SQL_DRIVER_NOPROMPT),
      "connect");
}

RawRows::~RawRows() {
  SQLDisconnect(connection_);
  SQLFreeHandle(SQL_HANDLE_DBC, connection_);
}

void RawRows::Execute(const std::string& sql) {
  SQLHSTMT statement = Prepared(connection_, sql);
  Check(SQLExecute(statement), "execute");
  SQLFreeHandle(SQL_HANDLE_STMT, statement);
}

double RawRows::Read(const std::string& sql, std::size_t blockRows) {
  Batch block(blockRows, narrow_);
  SQLULEN fetched = 0;
  SQLHSTMT statement = Prepared(connection_, sql);
  SQLSetStmtAttrW(statement, SQL_ATTR_ROW_ARRAY_SIZE, reinterpret_cast<SQLPOINTER>(blockRows), 0);
  SQLSetStmtAttrW(statement, SQL_ATTR_ROWS_FETCHED_PTR, &fetched, 0);
  SQLBindCol(statement, 1, SQL_C_SLONG, block.id.data(), sizeof(SQLINTEGER), block.idLength.data());
  SQLBindCol(statement, 2, block.NativeType(), block.name.data(), static_cast<SQLLEN>(kNameUnits * block.unit), block.nameLength.data());
  std::vector<char> digits(doublesAreTexts_ ? blockRows * kDigits : 0);
  if (doublesAreTexts_) {
    SQLBindCol(statement, 3, SQL_C_CHAR, digits.data(), kDigits, block.valueLength.data());
  } else {
    SQLBindCol(statement, 3, SQL_C_DOUBLE, block.value.data(), sizeof(double), block.valueLength.data());
  }
  Check(SQLExecute(statement), "execute");
  std::vector<SQLUSMALLINT> status(blockRows);
  SQLSetStmtAttrW(statement, SQL_ATTR_ROW_STATUS_PTR, status.data(), 0);
  double sum = 0;
  std::string name;
  while (SQL_SUCCEEDED(SQLFetch(statement))) {
    for (std::size_t i = 0; i < fetched; ++i) {
      // What nobody may leave out: rows that the driver could not give, nulls, and names that were cut.
      const bool given = status[i] == SQL_ROW_SUCCESS && block.idLength[i] >= 0 && block.nameLength[i] >= 0 && block.valueLength[i] >= 0 &&
                         block.nameLength[i] < static_cast<SQLLEN>(kNameUnits * block.unit);
      if (!given) Check(SQL_ERROR, "row");
      if (doublesAreTexts_) std::from_chars(&digits[i * kDigits], &digits[i * kDigits] + block.valueLength[i], block.value[i]);
      const char* place = &block.name[i * kNameUnits * block.unit];
      if (block.unit == 1) {
        name.assign(place, static_cast<std::size_t>(block.nameLength[i]));
      } else {
        name.clear();  // ASCII, as they are here
        for (SQLLEN k = 0; k < block.nameLength[i]; k += 2) name.push_back(place[k]);
      }
      sum += block.id[i] + block.value[i] + static_cast<double>(name.size());
    }
  }
  SQLFreeHandle(SQL_HANDLE_STMT, statement);
  return sum;
}

void RawRows::BeginTransaction() { SQLSetConnectAttrW(connection_, SQL_ATTR_AUTOCOMMIT, SQL_AUTOCOMMIT_OFF, SQL_IS_UINTEGER); }

void RawRows::Commit() {
  Check(SQLEndTran(SQL_HANDLE_DBC, connection_, SQL_COMMIT), "commit");
  SQLSetConnectAttrW(connection_, SQL_ATTR_AUTOCOMMIT, reinterpret_cast<SQLPOINTER>(SQL_AUTOCOMMIT_ON), SQL_IS_UINTEGER);
}

void RawRows::InsertArrays(const std::string& table, std::size_t rows, std::size_t batchRows) {
  BeginTransaction();
  Batch batch(batchRows, narrow_);
  SQLHSTMT statement = Prepared(connection_, "INSERT INTO " + table + " (id, name, val) VALUES (?, ?, ?)");
  SQLSetStmtAttrW(statement, SQL_ATTR_PARAMSET_SIZE, reinterpret_cast<SQLPOINTER>(batchRows), 0);
  batch.Bind(statement, 0, 1);
  for (std::size_t first = 0; first < rows; first += batchRows) {
    batch.Fill(first, batchRows);
    Check(SQLExecute(statement), "array");
  }
  SQLFreeHandle(SQL_HANDLE_STMT, statement);
  Commit();
}

void RawRows::InsertValues(const std::string& table, std::size_t rows, std::size_t batchRows) {
  BeginTransaction();
  Batch batch(batchRows, narrow_);
  std::string sql = "INSERT INTO " + table + " (id, name, val) VALUES (?,?,?)";
  for (std::size_t i = 1; i < batchRows; ++i) sql += ",(?,?,?)";
  SQLHSTMT statement = Prepared(connection_, sql);
  for (std::size_t i = 0; i < batchRows; ++i) batch.Bind(statement, i, i * 3 + 1);
  for (std::size_t first = 0; first < rows; first += batchRows) {
    batch.Fill(first, batchRows);
    Check(SQLExecute(statement), "rows");
  }
  SQLFreeHandle(SQL_HANDLE_STMT, statement);
  Commit();
}

void RawRows::RunPrepared(const std::string& sql, std::size_t times, bool givesRows) {
  BeginTransaction();
  SQLINTEGER value = 0;
  SQLLEN length = sizeof value;
  SQLHSTMT statement = Prepared(connection_, sql);
  Check(SQLBindParameter(statement, 1, SQL_PARAM_INPUT, SQL_C_SLONG, SQL_INTEGER, 10, 0, &value, sizeof value, &length), "bind");
  for (std::size_t i = 0; i < times; ++i) {
    value = static_cast<SQLINTEGER>(i);
    Check(SQLExecute(statement), "execute");
    if (givesRows) Check(SQLFreeStmt(statement, SQL_CLOSE), "close");
  }
  SQLFreeHandle(SQL_HANDLE_STMT, statement);
  Commit();
}

}  // namespace tamlo::bench
