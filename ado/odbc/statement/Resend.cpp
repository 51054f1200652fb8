#include "ado/odbc/statement/Resend.h"

#include <algorithm>
#include <chrono>
#include <random>
#include <thread>

#include "ado/odbc/driver/Handle.h"
#include "ado/odbc/driver/NativeHeaders.h"
#include "ado/odbc/driver/WideText.h"

namespace tamlo::ado::odbc {
namespace {

constexpr int kLongestWait = 100;  // milliseconds

/// Between half and the whole of a time that doubles: those who met once are not to meet again.
void Wait(int times) {
  static thread_local std::minstd_rand random{std::random_device{}()};
  const int longest = std::min(kLongestWait, 1 << std::min(times, 10));
  std::this_thread::sleep_for(std::chrono::milliseconds(std::uniform_int_distribution<int>((longest + 1) / 2, longest)(random)));
}

/// The numbers of the first column that a query gives, asked past our own statements, whose failures are judged.
template <typename Each>
bool EachNumber(void* connection, std::u16string_view query, SQLUSMALLINT column, Each&& each) {
  std::u16string sql(query);
  const Handle statement(Handle::Kind::kStatement, connection);
  if (!SQL_SUCCEEDED(SQLExecDirectW(statement.Get(), reinterpret_cast<SQLWCHAR*>(sql.data()), static_cast<SQLINTEGER>(sql.size())))) {
    return false;
  }
  while (SQL_SUCCEEDED(SQLFetch(statement.Get()))) {
    SQLINTEGER value = 0;
    SQLLEN length = 0;
    if (!SQL_SUCCEEDED(SQLGetData(statement.Get(), column, SQL_C_SLONG, &value, sizeof value, &length))) return false;
    each(value);
  }
  return true;
}

/// False where the connection was told to gather statements in transactions, by its connection string or by a statement.
bool EachStatementIsAlone(void* connection, const TransactionFacts& facts) {
  bool alone = false;
  return EachNumber(connection, facts.standsAlone, 1, [&](SQLINTEGER value) { alone = value == 1; }) && alone;
}

}  // namespace

bool KeptSomething(void* connection, const TransactionFacts& facts) {
  bool kept = false;
  return !EachNumber(connection, facts.warnings, 2, [&](SQLINTEGER code) { kept = kept || code == facts.keptInPart; }) || kept;
}

bool UndoneWhole(const runtime::Error& failure, const TransactionFacts& facts) {
  return facts.deadlock != 0 && failure.SqlState() == "40001" && failure.NativeCode() == facts.deadlock;
}

Resend::Resend(Session& session, bool allowed)
    : session_(session), allowed_(allowed && !session.InTransaction() && !session.MayHoldTransaction()) {}

void Resend::AfterFailure(const runtime::Error& failure) {
  if (!allowed_ || times_ == kMost || !UndoneWhole(failure, session_.Facts())) throw;
  if (session_.UndoneInPart() || !EachStatementIsAlone(session_.Connection(), session_.Facts())) throw;
  Wait(++times_);
  session_.CountResent();
}

}  // namespace tamlo::ado::odbc
