#include "bench/copy/RawSide.h"

#include <sql.h>
#include <sqlext.h>

#include <stdexcept>

namespace tamlo::bench {

namespace {

void CheckHandle(SQLRETURN result, SQLSMALLINT kind, SQLHANDLE handle) {
  if (SQL_SUCCEEDED(result)) return;
  SQLCHAR state[6]{};
  SQLCHAR text[512]{};
  SQLINTEGER native = 0;
  SQLSMALLINT length = 0;
  SQLGetDiagRec(kind, handle, 1, state, &native, text, sizeof text, &length);
  throw std::runtime_error(reinterpret_cast<const char*>(text));
}

SQLCHAR* Text(const std::string& text) { return reinterpret_cast<SQLCHAR*>(const_cast<char*>(text.c_str())); }

}  // namespace

RawSide::RawSide(const std::string& connectionString) {
  SQLAllocHandle(SQL_HANDLE_ENV, SQL_NULL_HANDLE, &environment_);
  SQLSetEnvAttr(environment_, SQL_ATTR_ODBC_VERSION, reinterpret_cast<SQLPOINTER>(SQL_OV_ODBC3), 0);
  SQLAllocHandle(SQL_HANDLE_DBC, environment_, &connection);
  CheckHandle(SQLDriverConnect(connection, nullptr, Text(connectionString), SQL_NTS, nullptr, 0, nullptr, SQL_DRIVER_NOPROMPT),
              SQL_HANDLE_DBC, connection);
  CheckHandle(SQLAllocHandle(SQL_HANDLE_STMT, connection, &statement), SQL_HANDLE_DBC, connection);
}

RawSide::~RawSide() {
  SQLFreeHandle(SQL_HANDLE_STMT, statement);
  SQLDisconnect(connection);
  SQLFreeHandle(SQL_HANDLE_DBC, connection);
  SQLFreeHandle(SQL_HANDLE_ENV, environment_);
}

void RawSide::Check(short result) const { CheckHandle(result, SQL_HANDLE_STMT, statement); }

void RawSide::Execute(const std::string& sql) { Check(SQLExecDirect(statement, Text(sql), SQL_NTS)); }

void RawSide::Prepare(const std::string& sql) { Check(SQLPrepare(statement, Text(sql), SQL_NTS)); }

void RawSide::Begin() {
  CheckHandle(SQLSetConnectAttr(connection, SQL_ATTR_AUTOCOMMIT, reinterpret_cast<SQLPOINTER>(SQL_AUTOCOMMIT_OFF), 0), SQL_HANDLE_DBC,
              connection);
}

void RawSide::SendRows(std::size_t rows) {
  Check(SQLSetStmtAttr(statement, SQL_ATTR_PARAMSET_SIZE, reinterpret_cast<SQLPOINTER>(rows), 0));
  Check(SQLExecute(statement));
}

void RawSide::Commit() { CheckHandle(SQLEndTran(SQL_HANDLE_DBC, connection, SQL_COMMIT), SQL_HANDLE_DBC, connection); }

}  // namespace tamlo::bench
