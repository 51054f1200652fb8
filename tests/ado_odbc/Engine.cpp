#include "tests/ado_odbc/Engine.h"

#include <map>

#include "ado/odbc/OdbcProvider.h"
#include "runtime/Conversions.h"

namespace tamlo::tests {
namespace {

int NextNumber() {
  static int number = 0;
  return ++number;
}

class SqliteEngine final : public Engine {
 public:
  std::string ConnectionString() const override { return "DRIVER={SQLite3};DATABASE=" + folder_.File("base.db"); }
  std::string Type(const std::string& what) const override {
    static const std::map<std::string, std::string> kTypes{{"text", "TEXT"},         {"blob", "BLOB"},   {"double", "DOUBLE"},
                                                           {"datetime", "DATETIME"}, {"boolean", "BIT"}, {"guid", "GUID"},
                                                           {"money", "CURRENCY"}};
    return kTypes.at(what);
  }
  Capabilities Can() const override { return {.streams = false, .enforcesLengths = false, .declaresScale = false}; }

 private:
  TemporaryFolder folder_;
};

/// A server's engine: each test has a database of its own.
class ServerEngine : public Engine {
 public:
  std::string User() const override { return "tamlo"; }
  std::string Password() const override { return "tamlo"; }

 protected:
  static std::string MakeDatabase(const std::string& adminConnection) {
    const std::string name = "base" + std::to_string(NextNumber());
    ado::Connection admin;
    admin.Provider("MSDASQL");
    admin.Open(adminConnection, "tamlo", "tamlo");
    admin.Execute("CREATE DATABASE " + name);
    return name;
  }
};

class MariaDbEngine final : public ServerEngine {
 public:
  MariaDbEngine() : database_(MakeDatabase(MariaDb().ConnectionString())) {}
  std::string ConnectionString() const override { return MariaDb().ConnectionString(database_); }
  std::string Type(const std::string& what) const override {
    static const std::map<std::string, std::string> kTypes{{"text", "LONGTEXT"},      {"blob", "LONGBLOB"},  {"double", "DOUBLE"},
                                                           {"datetime", "DATETIME"},  {"boolean", "BIT(1)"}, {"guid", "CHAR(38)"},
                                                           {"money", "DECIMAL(19,4)"}};
    return kTypes.at(what);
  }

 private:
  std::string database_;
};

class PostgresEngine final : public ServerEngine {
 public:
  PostgresEngine() : database_(MakeDatabase(Postgres().ConnectionString())) {}
  std::string ConnectionString() const override { return Postgres().ConnectionString(database_); }
  std::string Type(const std::string& what) const override {
    static const std::map<std::string, std::string> kTypes{
        {"text", "TEXT"},       {"blob", "BYTEA"}, {"double", "DOUBLE PRECISION"}, {"datetime", "TIMESTAMP(0)"},
        {"boolean", "BOOLEAN"}, {"guid", "UUID"},  {"money", "NUMERIC(19,4)"}};
    return kTypes.at(what);
  }

 private:
  std::string database_;
};

}  // namespace

MariaDbServer& MariaDb() {
  static MariaDbServer server;
  return server;
}

PostgresServer& Postgres() {
  static PostgresServer server;
  return server;
}

std::unique_ptr<Engine> MakeEngine(const std::string& name) {
  if (name == "SQLite") return std::make_unique<SqliteEngine>();
  if (name == "MariaDB") return std::make_unique<MariaDbEngine>();
  return std::make_unique<PostgresEngine>();
}

OdbcTest::OdbcTest() {
  ado::odbc::RegisterOdbcProviders();
  engine = MakeEngine(GetParam());
  Connect(connection);
}

void OdbcTest::Connect(ado::Connection& target) const {
  target.Provider("MSDASQL");
  target.Open(engine->ConnectionString(), engine->User(), engine->Password());
}

ado::Recordset OdbcTest::Open(const std::string& sql, ado::CursorType cursor, ado::LockType lock) {
  ado::Recordset recordset;
  recordset.Open(sql, &connection, cursor, lock, -1);
  return recordset;
}

std::string OdbcTest::Scalar(const std::string& sql) {
  const ado::Recordset recordset = Open(sql, ado::adOpenForwardOnly, ado::adLockUnspecified);
  if (recordset.Eof()) return "(no row)";
  const runtime::Variant value = recordset.Fields(0).Value();
  return value.IsNull() ? "(null)" : runtime::ToText(value, {"", '.'});
}

}  // namespace tamlo::tests
