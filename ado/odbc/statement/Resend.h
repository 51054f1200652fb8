#pragma once

#include <cstdint>

#include "ado/odbc/statement/Session.h"
#include "runtime/Error.h"

namespace tamlo::ado::odbc {

/// Sends what the server undid whole because of another connection (SQLSTATE 40001, MariaDB's error 1213: a deadlock, or on a cluster a
/// conflict with another node) again, after waits that grow, at most kMost times; the session counts each. Only where nothing can have been
/// applied: never inside a transaction, whoever opened it, never where a table without transactions has kept something.
class Resend {
 public:
  static constexpr int kMost = 20;

  /// allowed is false for what cannot be sent twice: a text that is no single statement, a value whose pieces are read already.
  Resend(Session& session, bool allowed);

  /// To be called while the failure of one sending is handled: returns after the wait when it is to be sent again, else raises the failure.
  void AfterFailure(const runtime::Error& failure);

 private:
  Session& session_;
  bool allowed_;
  int times_ = 0;
};

/// Calls send, which begins anew each time, until it succeeds or must not be sent again.
template <typename Send>
void Resending(Session& session, bool allowed, Send&& send) {
  for (Resend resend(session, allowed);;) {
    try {
      send();
      return;
    } catch (const runtime::Error& failure) {
      resend.AfterFailure(failure);
    }
  }
}

/// True when the failure says that the server has undone the whole transaction of the statement, or the statement where it was alone.
[[nodiscard]] bool UndoneWhole(const runtime::Error& failure, const TransactionFacts& facts);

/// True when the statement that has just failed on the connection changed tables without transactions, which the server could not undo, or
/// the server does not tell. To be asked before anything else runs there.
[[nodiscard]] bool KeptSomething(void* connection, const TransactionFacts& facts);

}  // namespace tamlo::ado::odbc
