// An ODBC driver that answers as an honest one would, three rows of a table T (ID, NOM, MEMO, LE), except for the one lie that the key LIE of
// its connection text names. Each lie is one that a damaged, old or careless driver can tell.

#include <sql.h>
#include <sqlext.h>
#include <sqlucode.h>

#include <algorithm>
#include <array>
#include <chrono>
#include <cstring>
#include <map>
#include <string>
#include <thread>
#include <vector>

namespace {

std::string& TheLie() {
  static std::string lie;
  return lie;
}
bool Lies(const char* name) { return TheLie() == name; }

std::u16string Wide(const std::string& text) { return {text.begin(), text.end()}; }

struct Column {
  const char* name;
  SQLSMALLINT type;
  SQLULEN size;
};
constexpr std::array<Column, 4> kColumns{
    {{"ID", SQL_INTEGER, 10}, {"NOM", SQL_WVARCHAR, 20}, {"LE", SQL_TYPE_TIMESTAMP, 19}, {"MEMO", SQL_WLONGVARCHAR, 1000000}}};

struct Binding {
  SQLSMALLINT type = 0;
  char* data = nullptr;
  SQLLEN size = 0;
  SQLLEN* told = nullptr;
};
struct Parameter {
  SQLPOINTER data = nullptr;
  SQLLEN* told = nullptr;
};

enum class Answer { kNone, kTable, kCount, kTables, kFields, kKeys, kIndexes };

struct Statement {
  Answer answer = Answer::kNone;
  bool executed = false;
  std::size_t row = 0;  // from 1, of the first one in the block
  std::size_t pieces = 0;
  std::size_t asked = 0;
  std::map<SQLUSMALLINT, std::size_t> given;  // of each long value in pieces
  std::map<SQLUSMALLINT, Binding> bindings;
  std::map<SQLUSMALLINT, Parameter> parameters;
  SQLULEN block = 1;
  SQLULEN* fetched = nullptr;
  SQLUSMALLINT* statuses = nullptr;
  int results = 0;
};
struct Other {};

std::size_t RowsOf(const Statement& statement) {
  switch (statement.answer) {
    case Answer::kTable:
      return 3;
    case Answer::kFields:
      return kColumns.size();
    case Answer::kNone:
      return 0;
    default:
      return 1;
  }
}

SQLSMALLINT ColumnsOf(const Statement& statement) {
  switch (statement.answer) {
    case Answer::kNone:
      return 0;
    case Answer::kTable:
      if (Lies("negative column count")) return -3;
      if (Lies("too many columns")) return 9;
      if (Lies("column count grows") && statement.executed) return 5;
      if (Lies("column count shrinks") && statement.executed) return 2;
      return static_cast<SQLSMALLINT>(kColumns.size());
    case Answer::kCount:
      return 1;
    default:
      return 18;
  }
}

/// What a cell holds; "" and null alike are null.
std::string Cell(const Statement& statement, std::size_t row, SQLUSMALLINT column) {
  const std::string number = std::to_string(row);
  switch (statement.answer) {
    case Answer::kTable:
      return column == 1 ? number : column == 2 ? "nom " + number : column == 3 ? "2003-02-01 10:30:00" : "long texte " + number;
    case Answer::kCount:
      return "1";
    case Answer::kTables:
      return column == 3 ? "T" : column == 4 ? "TABLE" : "";
    case Answer::kFields: {
      const Column& one = kColumns.at(row - 1);
      return column == 3   ? "T"
             : column == 4 ? one.name
             : column == 5 ? std::to_string(one.type)
             : column == 7 ? std::to_string(one.size)
                           : "";
    }
    case Answer::kKeys:
      return column == 4 ? "ID" : column == 5 ? "1" : column == 6 ? "PK" : "";
    case Answer::kIndexes:
      return column == 4 ? "0" : column == 6 ? "PK" : column == 9 ? "ID" : "";
    default:
      return "";
  }
}

/// Gives a cell; told may lie.
SQLRETURN Give(Statement& statement, std::size_t row, SQLUSMALLINT column, const Binding& to, bool inPieces) {
  const std::string cell = Cell(statement, row, column);
  const bool ofTable = statement.answer == Answer::kTable;
  if (cell.empty()) {
    *to.told = SQL_NULL_DATA;
    return SQL_SUCCESS;
  }
  if (ofTable && column == 1 && to.type != SQL_C_WCHAR) {
    const auto value = static_cast<SQLINTEGER>(row);
    if (to.data) std::memcpy(to.data, &value, sizeof value);
    *to.told = Lies("number of length -7") ? -7 : Lies("number without a length") ? SQL_NO_TOTAL : static_cast<SQLLEN>(sizeof value);
    return SQL_SUCCESS;
  }
  if (to.type == SQL_C_TYPE_TIMESTAMP) {
    SQL_TIMESTAMP_STRUCT stamp{2003, 2, 1, 10, 30, 0, 0};
    if (Lies("month 77")) stamp.month = 77;
    if (Lies("second 60000")) stamp.second = 60000;
    if (Lies("fraction of an eternity")) stamp.fraction = 4000000000U;
    std::memcpy(to.data, &stamp, sizeof stamp);
    *to.told = sizeof stamp;
    return SQL_SUCCESS;
  }
  const std::u16string text = Wide(cell);
  const bool isName = ofTable && column == 2;
  const bool isMemo = ofTable && column == 4;
  if (isMemo || (inPieces && !ofTable)) {
    ++statement.pieces;
    if ((Lies("endless pieces") && isMemo) || (Lies("endless catalog text") && !ofTable)) {
      std::fill_n(reinterpret_cast<char16_t*>(to.data), static_cast<std::size_t>(to.size) / 2, u'x');
      *to.told = SQL_NO_TOTAL;
      return SQL_SUCCESS_WITH_INFO;
    }
    if ((Lies("endless empty pieces") && isMemo) || (Lies("endless empty catalog text") && !ofTable)) {
      std::memset(to.data, 0, 2);
      *to.told = isMemo ? SQL_NO_TOTAL : 0;
      return SQL_SUCCESS_WITH_INFO;
    }
    if (Lies("memo of length -9") && isMemo) return *to.told = -9, SQL_SUCCESS;
    if (Lies("memo of 4 exabytes") && isMemo) return *to.told = SQLLEN{1} << 62, SQL_SUCCESS_WITH_INFO;
    if (Lies("memo without a told length") && isMemo) return SQL_SUCCESS;
    if (Lies("memo of half a unit") && isMemo) return *to.told = 5, SQL_SUCCESS;
  }
  std::size_t& given = statement.given[column];
  if (inPieces && given >= text.size() && given > 0) return SQL_NO_DATA;
  const std::size_t left = text.size() - (inPieces ? given : 0);
  const std::size_t room = static_cast<std::size_t>(to.size) / 2 - 1;
  const std::size_t count = std::min(left, room);
  std::memcpy(to.data, text.data() + (inPieces ? given : 0), count * 2);
  std::memset(to.data + count * 2, 0, 2);
  if (inPieces) given += count;
  *to.told = static_cast<SQLLEN>(left * 2);
  if (isName && !inPieces) {
    if (Lies("text of length -5")) *to.told = -5;
    if (Lies("text of half a unit")) *to.told = 7;
    if (Lies("text longer than its room")) *to.told = 1000000;
    if (Lies("text without a length")) *to.told = SQL_NO_TOTAL;
  }
  return count < left ? SQL_SUCCESS_WITH_INFO : SQL_SUCCESS;
}

Answer AnswerTo(const std::u16string& sql) {
  if (sql.find(u"COUNT(") != std::u16string::npos) return Answer::kCount;
  return sql.starts_with(u"SELECT") ? Answer::kTable : Answer::kNone;
}

std::u16string Given(const SQLWCHAR* text, SQLINTEGER length) {
  std::u16string out;
  for (SQLINTEGER i = 0; length == SQL_NTS ? text[i] != 0 : i < length; ++i) out.push_back(static_cast<char16_t>(text[i]));
  return out;
}

SQLRETURN Prepare(Statement& statement, const SQLWCHAR* text, SQLINTEGER length) {
  statement.answer = AnswerTo(Given(text, length));
  statement.executed = false;
  return SQL_SUCCESS;
}

SQLRETURN Run(Statement& statement) {
  statement.executed = true;
  statement.row = 0;
  statement.results = 0;
  statement.asked = 0;
  if (Lies("execution that fails without records")) return SQL_ERROR;
  if (Lies("execution that fails with a flood") || Lies("records of negative length") || Lies("records without an end") ||
      Lies("records of garbage states")) {
    return SQL_ERROR;
  }
  if (Lies("a result code of its own")) return 4711;
  if (Lies("wants data that nobody has") && statement.answer == Answer::kNone) return SQL_NEED_DATA;
  for (const auto& [position, parameter] : statement.parameters) {
    if (parameter.told != nullptr && *parameter.told <= SQL_LEN_DATA_AT_EXEC_OFFSET) return SQL_NEED_DATA;
  }
  return SQL_SUCCESS;
}

SQLRETURN Catalog(SQLHSTMT handle, Answer answer) {
  auto& statement = *static_cast<Statement*>(handle);
  statement.answer = answer;
  statement.executed = true;
  statement.row = 0;
  return SQL_SUCCESS;
}

SQLRETURN PutText(const std::u16string& text, void* to, SQLSMALLINT bytes, SQLSMALLINT* told) {
  if (to == nullptr || bytes < 2) return SQL_SUCCESS;
  const std::size_t count = std::min(text.size(), static_cast<std::size_t>(bytes) / 2 - 1);
  std::memcpy(to, text.data(), count * 2);
  std::memset(static_cast<char*>(to) + count * 2, 0, 2);
  if (told) *told = static_cast<SQLSMALLINT>(text.size() * 2);
  return SQL_SUCCESS;
}

}  // namespace

extern "C" {

SQLRETURN SQL_API SQLAllocHandle(SQLSMALLINT kind, SQLHANDLE /*parent*/, SQLHANDLE* made) {
  *made = kind == SQL_HANDLE_STMT ? static_cast<void*>(new Statement) : static_cast<void*>(new Other);
  return SQL_SUCCESS;
}
SQLRETURN SQL_API SQLFreeHandle(SQLSMALLINT kind, SQLHANDLE handle) {
  if (kind == SQL_HANDLE_STMT) {
    delete static_cast<Statement*>(handle);
  } else {
    delete static_cast<Other*>(handle);
  }
  return SQL_SUCCESS;
}
SQLRETURN SQL_API SQLSetEnvAttr(SQLHENV, SQLINTEGER, SQLPOINTER, SQLINTEGER) { return SQL_SUCCESS; }
SQLRETURN SQL_API SQLSetConnectAttrW(SQLHDBC, SQLINTEGER, SQLPOINTER, SQLINTEGER) { return SQL_SUCCESS; }
SQLRETURN SQL_API SQLGetConnectAttrW(SQLHDBC, SQLINTEGER, SQLPOINTER value, SQLINTEGER, SQLINTEGER*) {
  if (value) std::memset(value, 0, sizeof(SQLUINTEGER));
  return SQL_SUCCESS;
}

SQLRETURN SQL_API SQLDriverConnectW(SQLHDBC, SQLHWND, SQLWCHAR* text, SQLSMALLINT length, SQLWCHAR*, SQLSMALLINT, SQLSMALLINT*,
                                    SQLUSMALLINT) {
  const std::u16string given = Given(text, length);
  const auto at = given.find(u"LIE=");
  const auto end = std::min(given.find(u';', at), given.size());
  TheLie() = at == std::u16string::npos
                 ? ""
                 : std::string(given.begin() + static_cast<std::ptrdiff_t>(at) + 4, given.begin() + static_cast<std::ptrdiff_t>(end));
  if (Lies("a server that stalls")) {
    std::this_thread::sleep_for(std::chrono::seconds(3));
    TheLie() = "woken";
    return SQL_SUCCESS;
  }
  if (Lies("refusal of negative length") || Lies("refusal with a flood")) return SQL_ERROR;
  if (Lies("connection that wants data")) return SQL_NEED_DATA;
  return SQL_SUCCESS;
}
SQLRETURN SQL_API SQLDisconnect(SQLHDBC) { return SQL_SUCCESS; }

SQLRETURN SQL_API SQLGetInfoW(SQLHDBC, SQLUSMALLINT which, SQLPOINTER value, SQLSMALLINT size, SQLSMALLINT* told) {
  if (which == SQL_GETDATA_EXTENSIONS) {
    *static_cast<SQLUINTEGER*>(value) = SQL_GD_ANY_COLUMN | SQL_GD_ANY_ORDER | SQL_GD_BOUND | SQL_GD_BLOCK;
    return SQL_SUCCESS;
  }
  if (which == SQL_CURSOR_COMMIT_BEHAVIOR || which == SQL_CURSOR_ROLLBACK_BEHAVIOR) {
    *static_cast<SQLUSMALLINT*>(value) = SQL_CB_PRESERVE;
    return SQL_SUCCESS;
  }
  if (Lies("information without an end") && value && size > 2) {
    std::fill_n(static_cast<char16_t*>(value), static_cast<std::size_t>(size) / 2, u'\"');
    if (told) *told = 30000;
    return SQL_SUCCESS;
  }
  if (which == SQL_IDENTIFIER_QUOTE_CHAR) return PutText(u"\"", value, size, told);
  if (which == SQL_DBMS_NAME) return PutText(u"Menteur", value, size, told);
  if (which == SQL_DRIVER_ODBC_VER) return PutText(u"03.00", value, size, told);
  if (value && size >= 2) std::memset(value, 0, static_cast<std::size_t>(std::min<SQLSMALLINT>(size, 4)));
  return SQL_SUCCESS;
}

SQLRETURN SQL_API SQLSetStmtAttrW(SQLHSTMT handle, SQLINTEGER attribute, SQLPOINTER value, SQLINTEGER) {
  auto& statement = *static_cast<Statement*>(handle);
  if (attribute == SQL_ATTR_ROW_ARRAY_SIZE) statement.block = reinterpret_cast<SQLULEN>(value);
  if (attribute == SQL_ATTR_ROWS_FETCHED_PTR) statement.fetched = static_cast<SQLULEN*>(value);
  if (attribute == SQL_ATTR_ROW_STATUS_PTR) statement.statuses = static_cast<SQLUSMALLINT*>(value);
  return SQL_SUCCESS;
}
SQLRETURN SQL_API SQLGetStmtAttrW(SQLHSTMT, SQLINTEGER, SQLPOINTER value, SQLINTEGER, SQLINTEGER*) {
  static int descriptor = 0;
  if (value) *static_cast<void**>(value) = &descriptor;
  return SQL_SUCCESS;
}

SQLRETURN SQL_API SQLPrepareW(SQLHSTMT handle, SQLWCHAR* text, SQLINTEGER length) {
  return Prepare(*static_cast<Statement*>(handle), text, length);
}
SQLRETURN SQL_API SQLExecute(SQLHSTMT handle) { return Run(*static_cast<Statement*>(handle)); }
SQLRETURN SQL_API SQLExecDirectW(SQLHSTMT handle, SQLWCHAR* text, SQLINTEGER length) {
  // Its own functions of these names would be the driver manager's.
  Prepare(*static_cast<Statement*>(handle), text, length);
  return Run(*static_cast<Statement*>(handle));
}

SQLRETURN SQL_API SQLNumResultCols(SQLHSTMT handle, SQLSMALLINT* count) {
  *count = ColumnsOf(*static_cast<Statement*>(handle));
  return SQL_SUCCESS;
}

SQLRETURN SQL_API SQLDescribeColW(SQLHSTMT handle, SQLUSMALLINT column, SQLWCHAR* name, SQLSMALLINT size, SQLSMALLINT* length,
                                  SQLSMALLINT* type, SQLULEN* columnSize, SQLSMALLINT* digits, SQLSMALLINT* nullable) {
  const auto& statement = *static_cast<Statement*>(handle);
  Column one{"C", SQL_WVARCHAR, 100};
  if (statement.answer == Answer::kTable) {
    if (column > kColumns.size()) return SQL_ERROR;
    one = kColumns.at(column - 1);
  }
  std::u16string text = Wide(one.name);
  if (Lies("names that change") && statement.executed && column == 2) text = u"AUTRE";
  if (Lies("names without an end") && size > 0) {
    std::fill_n(name, size, u'N');
  } else if (name != nullptr && size > 0) {
    const std::size_t count = std::min(text.size(), static_cast<std::size_t>(size) - 1);
    for (std::size_t i = 0; i < count; ++i) name[i] = text[i];
    name[count] = 0;
  }
  if (length) *length = Lies("names of negative length") ? -20 : static_cast<SQLSMALLINT>(text.size());
  if (type) *type = Lies("types that nobody knows") ? 31000 : one.type;
  if (columnSize) *columnSize = Lies("sizes beyond everything") ? SQLULEN(-1) : one.size;
  if (digits) *digits = Lies("scales of -30000") ? -30000 : 0;
  if (nullable) *nullable = Lies("scales of -30000") ? 99 : SQL_NULLABLE;
  return SQL_SUCCESS;
}

SQLRETURN SQL_API SQLColAttributeW(SQLHSTMT, SQLUSMALLINT, SQLUSMALLINT which, SQLPOINTER text, SQLSMALLINT size, SQLSMALLINT* length,
                                   SQLLEN* value) {
  if (value) *value = 0;
  if (text && size > 2) {
    if (Lies("attributes without an end")) {
      std::fill_n(static_cast<char16_t*>(text), static_cast<std::size_t>(size) / 2, u'A');
      if (length) *length = -1;
      return SQL_SUCCESS;
    }
    PutText(which == SQL_DESC_BASE_TABLE_NAME ? u"T" : u"", text, size, length);
  }
  return SQL_SUCCESS;
}

SQLRETURN SQL_API SQLBindCol(SQLHSTMT handle, SQLUSMALLINT column, SQLSMALLINT type, SQLPOINTER data, SQLLEN size, SQLLEN* told) {
  static_cast<Statement*>(handle)->bindings[column] = {type, static_cast<char*>(data), size, told};
  return SQL_SUCCESS;
}

SQLRETURN SQL_API SQLFetch(SQLHSTMT handle) {
  auto& statement = *static_cast<Statement*>(handle);
  const std::size_t next = statement.row == 0 ? 1 : statement.row + (statement.answer == Answer::kTable ? statement.block : 1);
  const bool endless = (Lies("catalog without an end") && statement.answer == Answer::kTables);
  if (next > RowsOf(statement) && !endless) return SQL_NO_DATA;
  statement.row = endless ? 1 : next;
  statement.given.clear();
  const std::size_t count = endless ? 1 : std::min<std::size_t>(statement.block, RowsOf(statement) - next + 1);
  for (std::size_t i = 0; i < count && statement.answer == Answer::kTable; ++i) {
    for (const auto& [column, bound] : statement.bindings) {
      Binding at = bound;
      const SQLLEN stride = bound.type == SQL_C_SLONG            ? 4
                            : bound.type == SQL_C_TYPE_TIMESTAMP ? static_cast<SQLLEN>(sizeof(SQL_TIMESTAMP_STRUCT))
                                                                 : bound.size;
      at.data += static_cast<SQLLEN>(i) * stride;
      at.told += i;
      Give(statement, next + i, column, at, false);
    }
    if (statement.statuses)
      statement.statuses[i] = Lies("statuses of garbage") ? static_cast<SQLUSMALLINT>(0xBEEF)
                              : Lies("rows in error")     ? SQL_ROW_ERROR
                                                          : SQL_ROW_SUCCESS;
  }
  if (statement.fetched && !(Lies("fetched rows not told") && statement.answer == Answer::kTable)) {
    *statement.fetched = statement.answer != Answer::kTable  ? count
                         : Lies("more rows than the block")  ? 100000
                         : Lies("all the rows of the world") ? SQLULEN(-2)
                         : Lies("no rows with success")      ? 0
                                                             : count;
  }
  return SQL_SUCCESS;
}

SQLRETURN SQL_API SQLGetData(SQLHSTMT handle, SQLUSMALLINT column, SQLSMALLINT type, SQLPOINTER data, SQLLEN size, SQLLEN* told) {
  auto& statement = *static_cast<Statement*>(handle);
  return Give(statement, statement.row, column, {type, static_cast<char*>(data), size, told}, true);
}
SQLRETURN SQL_API SQLSetPos(SQLHSTMT, SQLSETPOSIROW, SQLUSMALLINT, SQLUSMALLINT) { return SQL_SUCCESS; }
SQLRETURN SQL_API SQLFreeStmt(SQLHSTMT handle, SQLUSMALLINT option) {
  if (option == SQL_RESET_PARAMS) static_cast<Statement*>(handle)->parameters.clear();
  return SQL_SUCCESS;
}
SQLRETURN SQL_API SQLMoreResults(SQLHSTMT) { return Lies("results without an end") ? SQL_SUCCESS : SQL_NO_DATA; }
SQLRETURN SQL_API SQLRowCount(SQLHSTMT, SQLLEN* count) {
  *count = Lies("minus nine rows affected") ? -9 : Lies("a million rows affected") ? 1000000 : 1;
  return SQL_SUCCESS;
}
SQLRETURN SQL_API SQLEndTran(SQLSMALLINT, SQLHANDLE, SQLSMALLINT) { return SQL_SUCCESS; }
SQLRETURN SQL_API SQLCancel(SQLHSTMT) { return SQL_SUCCESS; }

SQLRETURN SQL_API SQLGetDiagRecW(SQLSMALLINT, SQLHANDLE, SQLSMALLINT number, SQLWCHAR* state, SQLINTEGER* native, SQLWCHAR* message,
                                 SQLSMALLINT size, SQLSMALLINT* length) {
  const bool flood = Lies("execution that fails with a flood") || Lies("refusal with a flood");
  const bool negative = Lies("records of negative length") || Lies("refusal of negative length");
  const int last = flood ? 5000 : negative || Lies("records without an end") || Lies("records of garbage states") ? 2 : 0;
  if (number < 1 || number > last) return SQL_NO_DATA;
  constexpr std::u16string_view kState = u"HY000";
  for (std::size_t i = 0; i < 5; ++i) state[i] = Lies("records of garbage states") ? static_cast<SQLWCHAR>(0xD800 + i) : kState[i];
  state[5] = 0;
  *native = number;
  if (Lies("records without an end")) {
    std::fill_n(message, size, u'm');
    *length = 32767;
    return SQL_SUCCESS_WITH_INFO;
  }
  std::u16string text = u"fault " + Wide(std::to_string(number));
  const std::size_t count = std::min(text.size(), static_cast<std::size_t>(size) - 1);
  for (std::size_t i = 0; i < count; ++i) message[i] = text[i];
  message[count] = 0;
  *length = negative ? -2 : static_cast<SQLSMALLINT>(text.size());
  return negative ? SQL_SUCCESS_WITH_INFO : SQL_SUCCESS;
}

SQLRETURN SQL_API SQLTablesW(SQLHSTMT handle, SQLWCHAR*, SQLSMALLINT, SQLWCHAR*, SQLSMALLINT, SQLWCHAR*, SQLSMALLINT, SQLWCHAR*,
                             SQLSMALLINT) {
  return Catalog(handle, Answer::kTables);
}
SQLRETURN SQL_API SQLColumnsW(SQLHSTMT handle, SQLWCHAR*, SQLSMALLINT, SQLWCHAR*, SQLSMALLINT, SQLWCHAR*, SQLSMALLINT, SQLWCHAR*,
                              SQLSMALLINT) {
  return Catalog(handle, Answer::kFields);
}
SQLRETURN SQL_API SQLPrimaryKeysW(SQLHSTMT handle, SQLWCHAR*, SQLSMALLINT, SQLWCHAR*, SQLSMALLINT, SQLWCHAR*, SQLSMALLINT) {
  return Catalog(handle, Answer::kKeys);
}
SQLRETURN SQL_API SQLStatisticsW(SQLHSTMT handle, SQLWCHAR*, SQLSMALLINT, SQLWCHAR*, SQLSMALLINT, SQLWCHAR*, SQLSMALLINT, SQLUSMALLINT,
                                 SQLUSMALLINT) {
  return Catalog(handle, Answer::kIndexes);
}

SQLRETURN SQL_API SQLBindParameter(SQLHSTMT handle, SQLUSMALLINT position, SQLSMALLINT, SQLSMALLINT, SQLSMALLINT, SQLULEN, SQLSMALLINT,
                                   SQLPOINTER data, SQLLEN, SQLLEN* told) {
  static_cast<Statement*>(handle)->parameters[position] = {data, told};
  return SQL_SUCCESS;
}
SQLRETURN SQL_API SQLParamData(SQLHSTMT handle, SQLPOINTER* which) {
  auto& statement = *static_cast<Statement*>(handle);
  std::vector<SQLPOINTER> wanted;
  for (const auto& [position, parameter] : statement.parameters) {
    if (parameter.told != nullptr && *parameter.told <= SQL_LEN_DATA_AT_EXEC_OFFSET) wanted.push_back(parameter.data);
  }
  if (Lies("wants a value that is none of ours")) {
    *which = reinterpret_cast<SQLPOINTER>(std::size_t{0x1234});
    return SQL_NEED_DATA;
  }
  if (Lies("wants a value again and again") && !wanted.empty()) return *which = wanted.front(), SQL_NEED_DATA;
  if (statement.asked >= wanted.size()) return SQL_SUCCESS;
  *which = wanted[statement.asked++];
  return SQL_NEED_DATA;
}
SQLRETURN SQL_API SQLPutData(SQLHSTMT, SQLPOINTER, SQLLEN) { return SQL_SUCCESS; }
}
