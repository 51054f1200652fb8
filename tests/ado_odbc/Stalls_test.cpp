#include <arpa/inet.h>
#include <gtest/gtest.h>
#include <sys/socket.h>
#include <unistd.h>

#include <atomic>
#include <chrono>
#include <string>
#include <thread>
#include <vector>

#include "ado/Connection.h"
#include "ado/odbc/OdbcProvider.h"
#include "runtime/Error.h"

namespace tamlo::tests {
namespace {

/// A server on loopback that takes connections, says so much, and nothing more; or drops them at once.
class Stalling {
 public:
  Stalling(std::string greeting, bool drops) : greeting_(std::move(greeting)), drops_(drops) {
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    socklen_t length = sizeof address;
    if (::bind(listening_, reinterpret_cast<sockaddr*>(&address), sizeof address) != 0 || ::listen(listening_, 8) != 0 ||
        ::getsockname(listening_, reinterpret_cast<sockaddr*>(&address), &length) != 0) {
      throw std::runtime_error("no socket");
    }
    port_ = ntohs(address.sin_port);
    thread_ = std::thread([this] { Serve(); });
  }
  ~Stalling() {
    ::shutdown(listening_, SHUT_RDWR);
    ::close(listening_);
    thread_.join();
    for (const int one : taken_) ::close(one);
  }
  Stalling(const Stalling&) = delete;
  Stalling& operator=(const Stalling&) = delete;

  [[nodiscard]] std::string Port() const { return std::to_string(port_); }

 private:
  void Serve() {
    for (;;) {
      const int one = ::accept(listening_, nullptr, nullptr);
      if (one < 0) return;
      if (drops_) {
        ::close(one);
        continue;
      }
      if (!greeting_.empty() && ::send(one, greeting_.data(), greeting_.size(), MSG_NOSIGNAL) < 0) return;
      taken_.push_back(one);
    }
  }

  std::string greeting_;
  bool drops_;
  int listening_ = ::socket(AF_INET, SOCK_STREAM, 0);
  int port_ = 0;
  std::vector<int> taken_;
  std::thread thread_;
};

struct Server {
  const char* name;
  const char* text;
  std::string half;  ///< the beginning of what a real one says first
};
void PrintTo(const Server& server, std::ostream* out) { *out << server.name; }

class StallingServer : public ::testing::TestWithParam<Server> {
 protected:
  StallingServer() { ado::odbc::RegisterOdbcProviders(); }

  /// How long a refusal took, in seconds.
  static double Refused(const Stalling& server, std::string* state = nullptr) {
    const auto start = std::chrono::steady_clock::now();
    ado::Connection connection;
    connection.ConnectionTimeout(2);
    try {
      connection.Open(GetParam().text + server.Port(), "moi", "motdepasse42");
      ADD_FAILURE() << "connected";
    } catch (const runtime::Error& error) {
      EXPECT_EQ(error.Number(), -2147467259);
      EXPECT_FALSE(error.Description().empty());
      EXPECT_EQ(error.Description().find("motdepasse42"), std::string::npos);
      if (state) *state = error.SqlState();
    }
    EXPECT_FALSE(connection.IsOpen());
    return std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
  }
};

TEST_P(StallingServer, ThatNeverAnswersEndsInTime) {
  const Stalling server("", false);
  const double seconds = Refused(server);
  EXPECT_GE(seconds, 1.5);
  EXPECT_LT(seconds, 5.0);
}

TEST_P(StallingServer, ThatStopsInItsGreetingEndsInTime) {
  const Stalling server(GetParam().half, false);
  EXPECT_LT(Refused(server), 5.0);
}

TEST_P(StallingServer, ThatDropsTheConnectionIsAnErrorAtOnce) {
  const Stalling server("", true);
  EXPECT_LT(Refused(server), 2.0);
}

TEST_P(StallingServer, LetsOtherConnectionsBeMadeMeanwhile) {
  const Stalling server("", false);
  std::thread waiting([&] { (void)Refused(server); });
  std::this_thread::sleep_for(std::chrono::milliseconds(200));
  const auto start = std::chrono::steady_clock::now();
  ado::Connection connection;
  connection.Open("DRIVER={SQLite3};DATABASE=:memory:", "", "");
  EXPECT_LT(std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count(), 1.5);
  waiting.join();
}

INSTANTIATE_TEST_SUITE_P(Odbc, StallingServer,
                         ::testing::Values(Server{"MariaDB", "DRIVER={MariaDB Unicode};SERVER=127.0.0.1;DATABASE=x;PORT=",
                                                  std::string("\x4a\x00\x00\x00\x0a"
                                                              "5.5.5",
                                                              10)},
                                           Server{"PostgreSQL", "DRIVER={PostgreSQL Unicode};SERVERNAME=127.0.0.1;DATABASE=x;PORT=",
                                                  std::string("R\x00\x00", 3)}),
                         [](const auto& which) { return which.param.name; });

}  // namespace
}  // namespace tamlo::tests
