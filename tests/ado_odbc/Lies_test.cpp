#include <gtest/gtest.h>
#include <sys/resource.h>

#include <chrono>
#include <cstring>
#include <thread>

#include "ado/BulkInsert.h"
#include "ado/Catalog.h"
#include "ado/Connection.h"
#include "ado/Provider.h"
#include "ado/Recordset.h"
#include "ado/odbc/OdbcProvider.h"
#include "runtime/Conversions.h"
#include "runtime/Error.h"

namespace tamlo::tests {
namespace {

using runtime::Error;
using runtime::Variant;
using Clock = std::chrono::steady_clock;

double SecondsSince(Clock::time_point start) { return std::chrono::duration<double>(Clock::now() - start).count(); }

long PeakMegabytes() {
  rusage usage{};
  ::getrusage(RUSAGE_SELF, &usage);
  return usage.ru_maxrss / 1024;
}

std::string Text(const std::string& lie) { return std::string("DRIVER={") + LYING_DRIVER + "};LIE=" + lie; }

/// Everything that an application does with a connection; what failed, one line each: the errors are runtime::Error or the test ends here.
class Application {
 public:
  explicit Application(const std::string& lie) {
    ado::odbc::RegisterOdbcProviders();
    Do("connect", [&] { connection_.Open(Text(lie), "", ""); });
    if (!connection_.IsOpen()) return;
    Do("read", [&] { ReadAll(ado::adOpenForwardOnly); });
    Do("read kept", [&] { ReadAll(ado::adOpenStatic); });
    Do("pieces", [&] { ReadPieces(); });
    Do("update", [&] { Update(); });
    Do("add", [&] { AddInPieces(); });
    Do("delete", [&] {
      ado::Recordset rows = Open(ado::adOpenDynamic);
      rows.Delete();
    });
    Do("execute", [&] { connection_.Execute("UPDATE T SET NOM = 'x'"); });
    Do("tables", [&] { (void)connection_.Native().OpenCatalog()->Tables(); });
    Do("columns", [&] { (void)connection_.Native().OpenCatalog()->Columns("T"); });
    Do("indexes", [&] { (void)connection_.Native().OpenCatalog()->Indexes("T"); });
    Do("bulk", [&] {
      ado::BulkInsert rows(connection_, "T", {"ID", "NOM"});
      for (std::int32_t i = 1; i <= 50; ++i) rows.Add(std::vector<Variant>{i, "nom"});
      rows.Flush();
    });
    Do("close", [&] { connection_.Close(); });
  }

  std::vector<std::string> failures;  ///< "step: description"
  std::string read;                   ///< as they were read first

 private:
  template <typename Step>
  void Do(const std::string& name, Step step) {
    try {
      step();
    } catch (const Error& error) {
      EXPECT_NE(error.Number(), 0);
      EXPECT_LT(error.Description().size(), 100000U);
      EXPECT_LE(error.Diagnostics().size(), 200U);
      failures.push_back(name + ": " + error.Description());
    }
  }

  ado::Recordset Open(ado::CursorType cursor) {
    ado::Recordset rows;
    rows.Open("SELECT * FROM T", &connection_, cursor, ado::adLockOptimistic, -1);
    return rows;
  }

  void ReadAll(ado::CursorType cursor) {
    ado::Recordset all = Open(cursor);
    std::string text;
    for (; !all.Eof(); all.MoveNext()) {
      for (std::size_t i = 0; i < all.FieldCount(); ++i) {
        const Variant value = all.Fields(i).Value();
        if (!value.IsNull()) text += runtime::ToText(value, {"", '.'}).substr(0, 100) + "|";
      }
    }
    if (read.empty()) read = text;
  }

  void ReadPieces() {
    ado::Recordset all = Open(ado::adOpenForwardOnly);
    std::byte buffer[4096];
    for (; !all.Eof(); all.MoveNext()) {
      for (int pieces = 0; pieces < 1000 && all.Fields(all.FieldCount() - 1).ReadChunk(buffer, sizeof buffer) > 0; ++pieces) {
      }
    }
  }

  void Update() {
    ado::Recordset all = Open(ado::adOpenDynamic);
    (void)all.Fields(1).Value();
    all.Fields(1).Value("autre");
    all.Update();
    (void)all.Fields(1).Value();
  }

  void AddInPieces() {
    ado::Recordset all = Open(ado::adOpenDynamic);
    all.AddNew();
    all.Fields(0).Value(std::int32_t{4});
    all.Fields(all.FieldCount() - 1).WriteFrom([left = 3](std::byte* buffer, std::size_t) mutable -> std::size_t {
      if (left-- == 0) return 0;
      std::memcpy(buffer, "abcd", 4);
      return 4;
    });
    all.Update();
  }

  ado::Connection connection_;
};

struct Lie {
  const char* name;
  /// Beginning of the first failure; empty where the lie does no harm: then the rows are right and nothing fails.
  const char* failure;
};
void PrintTo(const Lie& lie, std::ostream* out) { *out << lie.name; }

constexpr const char* kRows =
    "1|nom 1|01/02/2003 10:30:00|long texte 1|2|nom 2|01/02/2003 10:30:00|long texte 2|3|nom 3|01/02/2003 10:30:00|long texte 3|";

constexpr const char* kRowsAsTexts =
    "1|nom 1|2003-02-01 10:30:00|long texte 1|2|nom 2|2003-02-01 10:30:00|long texte 2|3|nom 3|2003-02-01 10:30:00|long texte 3|";

class ADriverThatLies : public ::testing::TestWithParam<Lie> {};

TEST_P(ADriverThatLies, GivesAnErrorInBoundedTimeAndMemory) {
  const auto start = Clock::now();
  const Application application(GetParam().name);
  std::string told;
  for (const auto& failure : application.failures) told += failure + "\n";
  if (*GetParam().failure == 0) {
    EXPECT_EQ(told, "");
    // A column of a type that nobody knows is read as text.
    EXPECT_EQ(application.read, GetParam().name == std::string("types that nobody knows") ? kRowsAsTexts : kRows);
  } else {
    EXPECT_TRUE(told.starts_with(GetParam().failure)) << told;
  }
  EXPECT_LT(SecondsSince(start), 60.0);
  EXPECT_LT(PeakMegabytes(), 2500);
}

INSTANTIATE_TEST_SUITE_P(
    Odbc, ADriverThatLies,
    ::testing::Values(
        Lie{"nothing", ""}, Lie{"negative column count", "read: Le pilote ODBC se contredit"}, Lie{"too many columns", "read: "},
        Lie{"column count grows", "read: Les colonnes de la requête ont changé"},
        Lie{"column count shrinks", "read: Les colonnes de la requête ont changé"},
        Lie{"names that change", "read: Les colonnes de la requête ont changé"}, Lie{"names without an end", ""},
        Lie{"names of negative length", ""}, Lie{"types that nobody knows", ""}, Lie{"sizes beyond everything", ""},
        Lie{"scales of -30000", ""}, Lie{"attributes without an end", ""}, Lie{"information without an end", ""},
        Lie{"number of length -7", "read: Le pilote ODBC se contredit"},
        Lie{"number without a length", "read: Le pilote ODBC se contredit"}, Lie{"month 77", "read: Le pilote ODBC se contredit"},
        Lie{"second 60000", "read: Le pilote ODBC se contredit"}, Lie{"fraction of an eternity", "read: Le pilote ODBC se contredit"},
        Lie{"text of length -5", "read: Le pilote ODBC se contredit"}, Lie{"text of half a unit", "read: Le pilote ODBC se contredit"},
        Lie{"text longer than its room", ""}, Lie{"text without a length", ""},
        Lie{"memo of length -9", "read: Le pilote ODBC se contredit"},
        Lie{"memo of 4 exabytes", "read: La valeur du champ MEMO est trop longue"},
        Lie{"memo without a told length", "read: Le pilote ODBC se contredit"},
        Lie{"memo of half a unit", "read: Le pilote ODBC se contredit"},
        Lie{"endless pieces", "read: La valeur du champ MEMO est trop longue"},
        Lie{"endless empty pieces", "read: La valeur du champ MEMO est trop longue"},
        Lie{"endless catalog text", "update: Le pilote ODBC se contredit : un texte sans fin"},
        Lie{"endless empty catalog text", "update: Le pilote ODBC se contredit : un texte sans fin"},
        Lie{"catalog without an end", "tables: Le pilote ODBC se contredit : un catalogue"},
        Lie{"more rows than the block", "read: Le pilote ODBC se contredit"},
        Lie{"all the rows of the world", "read: Le pilote ODBC se contredit"},
        Lie{"no rows with success", "read: Le pilote ODBC se contredit"}, Lie{"fetched rows not told", ""}, Lie{"statuses of garbage", ""},
        Lie{"rows in error", "read: "}, Lie{"execution that fails without records", "read: "},
        Lie{"execution that fails with a flood", "read: "}, Lie{"records of negative length", "read: "},
        Lie{"records without an end", "read: "}, Lie{"records of garbage states", "read: "}, Lie{"a result code of its own", "read: "},
        Lie{"results without an end", "execute: Le pilote ODBC se contredit"},
        Lie{"minus nine rows affected", "update: Le pilote ODBC se contredit"}, Lie{"a million rows affected", "update: "},
        Lie{"wants data that nobody has", "execute: "}, Lie{"wants a value that is none of ours", "add: Le pilote ODBC se contredit"},
        Lie{"wants a value again and again", "add: Le pilote ODBC se contredit"}, Lie{"refusal of negative length", "connect: "},
        Lie{"refusal with a flood", "connect: "}, Lie{"connection that wants data", "connect: "}),
    [](const auto& which) {
      std::string name = which.param.name;
      for (char& c : name) c = std::isalnum(static_cast<unsigned char>(c)) ? c : '_';
      return name;
    });

class Waiting : public ::testing::Test {
 protected:
  Waiting() { ado::odbc::RegisterOdbcProviders(); }
};

TEST_F(Waiting, ForADriverThatStallsEndsAndTheDriverMayWakeUpLater) {
  const auto start = Clock::now();
  {
    ado::Connection connection;
    EXPECT_EQ(connection.ConnectionTimeout(), 15);
    connection.ConnectionTimeout(1);
    try {
      connection.Open(Text("a server that stalls"), "moi", "motdepasse42");
      FAIL() << "connected";
    } catch (const Error& error) {
      EXPECT_EQ(error.Number(), -2147467259);
      EXPECT_EQ(error.SqlState(), "HYT00");
      EXPECT_TRUE(
          error.Description().starts_with("Le serveur n'a pas répondu à la demande de connexion en 1 secondes. (source de données <"))
          << error.Description();
    }
    EXPECT_FALSE(connection.IsOpen());
    EXPECT_LT(SecondsSince(start), 2.5);
  }
  std::this_thread::sleep_for(std::chrono::milliseconds(3500));  // it wakes up: what it touches must be there
  ado::Connection connection;
  connection.ConnectionTimeout(0);
  connection.Open(Text("a server that stalls"), "", "");
  EXPECT_TRUE(connection.IsOpen()) << "0 is without limit";
  EXPECT_EQ(runtime::IgnoringErrors([&] { connection.ConnectionTimeout(3); }).number, 3705);
  connection.Close();
  EXPECT_EQ(runtime::IgnoringErrors([&] { connection.ConnectionTimeout(-1); }).number, 5);
}

TEST_F(Waiting, ATextBeyondTheDriverManagersLengthIsRefusedAndNeverCut) {
  for (const std::size_t length : {32760U, 65536U + 200U, 200000U}) {
    ado::Connection connection;
    const auto failure = runtime::IgnoringErrors([&] { connection.Open(Text("nothing;X=") + std::string(length, 'x'), "moi", "secret"); });
    EXPECT_EQ(failure.number, 5);
    EXPECT_TRUE(failure.description.starts_with("La chaîne de connexion est trop longue (")) << failure.description;
    EXPECT_FALSE(connection.IsOpen());
  }
}

}  // namespace
}  // namespace tamlo::tests
