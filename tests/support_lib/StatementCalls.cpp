#include "tests/support_lib/StatementCalls.h"

#include <dlfcn.h>
#include <sql.h>
#include <sqlext.h>

#include <atomic>
#include <utility>

namespace tamlo::tests {
namespace {

std::atomic<int> calls = 0;
std::atomic<int> armedCall = 0;
Side armedSide = Side::kBefore;
std::function<void()> armedBlow;
std::atomic<bool> fallen = false;

void Reach(int call, Side side) {
  if (call != armedCall || side != armedSide) return;
  armedCall = 0;
  fallen = true;
  armedBlow();
}

template <typename Function, typename... Arguments>
SQLRETURN Pass(const char* name, Arguments... arguments) {
  const auto real = reinterpret_cast<Function*>(::dlsym(RTLD_NEXT, name));
  const int call = ++calls;
  Reach(call, Side::kBefore);
  const SQLRETURN result = real(arguments...);
  Reach(call, Side::kAfter);
  return result;
}

}  // namespace

void ArmCall(int call, Side side, std::function<void()> blow) {
  calls = 0;
  fallen = false;
  armedSide = side;
  armedBlow = std::move(blow);
  armedCall = call;
}

void DisarmCall() { armedCall = 0; }
int CallsMade() { return calls; }
bool BlowFallen() { return fallen; }

}  // namespace tamlo::tests

using tamlo::tests::Pass;

extern "C" SQLRETURN SQL_API SQLExecDirectW(SQLHSTMT statement, SQLWCHAR* text, SQLINTEGER length) {
  return Pass<SQLRETURN(SQLHSTMT, SQLWCHAR*, SQLINTEGER)>("SQLExecDirectW", statement, text, length);
}
extern "C" SQLRETURN SQL_API SQLPrepareW(SQLHSTMT statement, SQLWCHAR* text, SQLINTEGER length) {
  return Pass<SQLRETURN(SQLHSTMT, SQLWCHAR*, SQLINTEGER)>("SQLPrepareW", statement, text, length);
}
extern "C" SQLRETURN SQL_API SQLExecute(SQLHSTMT statement) { return Pass<SQLRETURN(SQLHSTMT)>("SQLExecute", statement); }
extern "C" SQLRETURN SQL_API SQLFetch(SQLHSTMT statement) { return Pass<SQLRETURN(SQLHSTMT)>("SQLFetch", statement); }
extern "C" SQLRETURN SQL_API SQLEndTran(SQLSMALLINT type, SQLHANDLE handle, SQLSMALLINT completion) {
  return Pass<SQLRETURN(SQLSMALLINT, SQLHANDLE, SQLSMALLINT)>("SQLEndTran", type, handle, completion);
}
