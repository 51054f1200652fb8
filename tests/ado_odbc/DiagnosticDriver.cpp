// An ODBC driver that refuses every connection with three records, one of which repeats the text that it was given, as careless
// drivers do.

#include <sql.h>
#include <sqlext.h>
#include <sqlucode.h>

#include <algorithm>
#include <string>

namespace {

std::u16string& Given() {
  static std::u16string text;
  return text;
}

std::u16string Text(SQLSMALLINT number) {
  if (number == 1) return u"connection made";
  return number == 2 ? u"refused: " + Given() : std::u16string(u"login failed");
}

}  // namespace

extern "C" {

SQLRETURN SQL_API SQLAllocHandle(SQLSMALLINT /*kind*/, SQLHANDLE /*parent*/, SQLHANDLE* made) {
  static int anything = 0;
  *made = &anything;
  return SQL_SUCCESS;
}

SQLRETURN SQL_API SQLFreeHandle(SQLSMALLINT /*kind*/, SQLHANDLE /*handle*/) { return SQL_SUCCESS; }

SQLRETURN SQL_API SQLSetEnvAttr(SQLHENV /*environment*/, SQLINTEGER /*attribute*/, SQLPOINTER /*value*/, SQLINTEGER /*length*/) {
  return SQL_SUCCESS;
}

SQLRETURN SQL_API SQLDriverConnectW(SQLHDBC /*connection*/, SQLHWND /*window*/, SQLWCHAR* text, SQLSMALLINT length, SQLWCHAR* /*completed*/,
                                    SQLSMALLINT /*size*/, SQLSMALLINT* /*needed*/, SQLUSMALLINT /*completion*/) {
  Given().clear();
  for (SQLSMALLINT i = 0; length == SQL_NTS ? text[i] != 0 : i < length; ++i) Given().push_back(static_cast<char16_t>(text[i]));
  return SQL_ERROR;
}

SQLRETURN SQL_API SQLGetDiagRecW(SQLSMALLINT /*kind*/, SQLHANDLE /*handle*/, SQLSMALLINT number, SQLWCHAR* state, SQLINTEGER* native,
                                 SQLWCHAR* message, SQLSMALLINT size, SQLSMALLINT* length) {
  if (number < 1 || number > 3) return SQL_NO_DATA;
  constexpr const char* kStates[] = {"01000", "HY000", "28000"};
  constexpr SQLINTEGER kNatives[] = {7, 4711, 18456};
  std::copy_n(kStates[number - 1], 6, state);
  *native = kNatives[number - 1];
  const std::u16string text = Text(number);
  const auto fitting = std::min<std::size_t>(text.size(), static_cast<std::size_t>(size) - 1);
  std::copy_n(text.begin(), fitting, message);
  message[fitting] = 0;
  *length = static_cast<SQLSMALLINT>(text.size());
  return fitting < text.size() ? SQL_SUCCESS_WITH_INFO : SQL_SUCCESS;
}
}
