#include <array>
#include <string>

#include "ado/odbc/driver/Handle.h"
#include "ado/odbc/driver/NativeHeaders.h"
#include "ado/odbc/driver/WideText.h"
#include "ado/odbc/facts/DriverFacts.h"

namespace tamlo::ado::odbc {
namespace {

SQLUSMALLINT InfoOf(DriverAnswers::Question which) {
  using Question = DriverAnswers::Question;
  switch (which) {
    case Question::kProduct:
      return SQL_DBMS_NAME;
    case Question::kVersion:
      return SQL_DBMS_VER;
    case Question::kDriver:
      return SQL_DRIVER_NAME;
    case Question::kQuote:
      return SQL_IDENTIFIER_QUOTE_CHAR;
    case Question::kPatternEscape:
      return SQL_SEARCH_PATTERN_ESCAPE;
    case Question::kDatabase:
      return SQL_DATABASE_NAME;
    case Question::kCharacterSet:
      return SQL_COLLATION_SEQ;
  }
  return 0;
}

class Connected final : public DriverAnswers {
 public:
  explicit Connected(void* connection) : connection_(connection) {}
  [[nodiscard]] std::string Text(Question which) const override;
  [[nodiscard]] std::uint32_t Reads() const override;
  [[nodiscard]] bool HasDatabase() const override;

 private:
  void* connection_;
};

std::string Connected::Text(Question which) const {
  std::array<char16_t, 256> text{};
  SQLSMALLINT bytes = 0;
  const auto result = SQLGetInfoW(connection_, InfoOf(which), text.data(), static_cast<SQLSMALLINT>(sizeof(text)), &bytes);
  if (!SQL_SUCCEEDED(result)) return {};
  std::size_t count = 0;
  while (count < text.size() - 1 && text[count] != u'\0') ++count;
  return ToUtf8(text.data(), count);
}

std::uint32_t Connected::Reads() const {
  SQLUINTEGER value = 0;
  SQLSMALLINT length = 0;
  return SQL_SUCCEEDED(SQLGetInfoW(connection_, SQL_GETDATA_EXTENSIONS, &value, sizeof value, &length)) ? value : 0;
}

bool Connected::HasDatabase() const {
  const Handle statement(Handle::Kind::kStatement, connection_);
  std::u16string sql = u"SELECT DATABASE()";
  std::array<char, 8> name{};
  SQLLEN length = SQL_NULL_DATA;
  return SQL_SUCCEEDED(SQLExecDirectW(statement.Get(), reinterpret_cast<SQLWCHAR*>(sql.data()), static_cast<SQLINTEGER>(sql.size()))) &&
         SQL_SUCCEEDED(SQLFetch(statement.Get())) &&
         SQL_SUCCEEDED(SQLGetData(statement.Get(), 1, SQL_C_CHAR, name.data(), name.size(), &length)) && length != SQL_NULL_DATA;
}

}  // namespace

DriverFacts LearnFacts(void* connection) { return FactsOf(Connected(connection)); }

}  // namespace tamlo::ado::odbc
