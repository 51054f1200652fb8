#include "ado/odbc/connect/ConnectAttempt.h"

#include <chrono>
#include <condition_variable>
#include <exception>
#include <memory>
#include <mutex>
#include <system_error>
#include <thread>
#include <utility>

#include "ado/odbc/driver/Diagnostics.h"
#include "ado/odbc/driver/NativeHeaders.h"
#include "ado/odbc/driver/Utf8Locale.h"
#include "ado/odbc/driver/WideText.h"
#include "runtime/Secret.h"

namespace tamlo::ado::odbc {
namespace {

/// A driver that heeds the limit says why it gave up, a little late.
constexpr auto kGrace = std::chrono::milliseconds(700);

/// The driver manager settles a connection's character set when it makes the handle.
Handle NewConnection() {
  const Utf8Locale texts;
  return {Handle::Kind::kConnection, SharedEnvironment()};
}

/// Shared by the one who waits and the thread that works, so that neither outlives what it touches.
class Attempt {
 public:
  Attempt(const std::string& connectionText, std::int32_t timeoutSeconds) : text_(ToUtf16(connectionText)), seconds_(timeoutSeconds) {
    outcome_.connection = NewConnection();
  }

  /// The work. Nothing of it is raised here.
  void Run() noexcept {
    try {
      Connect();
    } catch (...) {
      failure_ = std::current_exception();
    }
    const std::lock_guard guard(lock_);
    ended_ = true;
    // Nobody waits any more: the handle is freed together with this object.
    if (abandoned_ && outcome_.connected) SQLDisconnect(outcome_.connection.Get());
    change_.notify_all();
  }

  /// Waits for the end of the work, as long as it may take.
  ConnectOutcome Await() {
    std::unique_lock guard(lock_);
    if (!change_.wait_for(guard, std::chrono::seconds(seconds_) + kGrace, [this] { return ended_; })) {
      abandoned_ = true;
      ConnectOutcome late;
      late.records.push_back(
          {"HYT00", 0, "Le serveur n'a pas répondu à la demande de connexion en " + std::to_string(seconds_) + " secondes."});
      return late;
    }
    guard.unlock();
    return Take();
  }

  ConnectOutcome Take() {
    if (failure_) std::rethrow_exception(failure_);
    return std::move(outcome_);
  }

 private:
  void Connect() {
    const runtime::WipedAtEnd wipe(text_);
    void* const connection = outcome_.connection.Get();
    if (seconds_ > 0) {
      // A refusal of the limit is none of the connection: the wait has one of its own.
      SQLSetConnectAttrW(connection, SQL_ATTR_LOGIN_TIMEOUT, reinterpret_cast<SQLPOINTER>(static_cast<SQLULEN>(seconds_)), SQL_IS_UINTEGER);
    }
    SQLSMALLINT length = 0;
    const auto result = SQLDriverConnectW(connection, nullptr, reinterpret_cast<SQLWCHAR*>(text_.data()),
                                          static_cast<SQLSMALLINT>(text_.size()), nullptr, 0, &length, SQL_DRIVER_NOPROMPT);
    if (!SQL_SUCCEEDED(result)) {
      outcome_.records = ReadDiagnostics(Handle::Kind::kConnection, connection);
      return;
    }
    outcome_.connected = true;
    try {
      outcome_.facts = LearnFacts(connection);
    } catch (...) {
      outcome_.connected = false;
      SQLDisconnect(connection);
      throw;
    }
  }

  std::u16string text_;
  std::int32_t seconds_;
  ConnectOutcome outcome_;
  std::exception_ptr failure_;
  std::mutex lock_;
  std::condition_variable change_;
  bool ended_ = false;
  bool abandoned_ = false;
};

}  // namespace

ConnectOutcome TryToConnect(const std::string& connectionText, std::int32_t timeoutSeconds) {
  const auto attempt = std::make_shared<Attempt>(connectionText, timeoutSeconds);
  if (timeoutSeconds <= 0) {
    attempt->Run();
    return attempt->Take();
  }
  try {
    std::thread([attempt] { attempt->Run(); }).detach();
  } catch (const std::system_error& error) {
    throw runtime::Error(runtime::kProviderFailure, "Aucun fil d'exécution n'a pu être créé pour la connexion.", "odbc")
        .WithDiagnostics({{"", 0, error.what()}});
  }
  return attempt->Await();
}

}  // namespace tamlo::ado::odbc
