#include "tests/app/VolumesDatabase.h"

#include <sqlite3.h>

#include <cstdio>
#include <fstream>
#include <sstream>
#include <stdexcept>

#include "ado/Connection.h"
#include "ado/Recordset.h"
#include "ado/jet/JetProvider.h"
#include "jet/Database.h"
#include "runtime/Conversions.h"
#include "tests/support_lib/MariaDbServer.h"
#include "tests/support_lib/TemporaryFolder.h"

namespace tamlo::app {

namespace {

/// Each question opens the file anew and leaves it to the tool.
class AccessVolumes : public VolumesDatabase {
 public:
  AccessVolumes() {
    ado::jetprovider::RegisterJetProvider();
    (void)jet::Database::Create(File());
    Execute("CREATE TABLE UTL (IDUTL INTEGER CONSTRAINT PK PRIMARY KEY, NOM TEXT(30), MOTPASSE TEXT(10))");
    Execute("CREATE TABLE VLMUTL (IDUTL INTEGER, IDVLM INTEGER, NIVEAU SMALLINT, CONSTRAINT PK PRIMARY KEY (IDUTL, IDVLM))");
  }

  std::string Name() const override { return readOnly_ ? "Data Source=" + File() + ";Mode=Read" : File(); }
  std::string Kind() const override { return "0"; }
  std::map<std::string, std::string> Environment() const override { return {}; }
  std::string AbsentName() const override { return folder_.File("absente.mdb"); }

  void Execute(const std::string& statement) override {
    ado::Connection connection;
    Open(connection);
    connection.Execute(statement, ado::adExecuteNoRecords);
  }

  std::vector<std::string> Rows(const std::string& query) override {
    ado::Connection connection;
    Open(connection);
    ado::Recordset found;
    std::vector<std::string> rows;
    for (found.Open(query, &connection, ado::adOpenForwardOnly, ado::adLockUnspecified, -1); !found.Eof(); found.MoveNext()) {
      std::string row;
      for (std::size_t i = 0; i < found.FieldCount(); ++i) {
        const runtime::Variant value = found.Fields(i).Value();
        row += (i == 0 ? "" : "|") + (value.IsNull() ? "NULL" : runtime::ToText(value));
      }
      rows.push_back(row);
    }
    return rows;
  }

  std::vector<std::string> PasswordBytes() override {
    std::vector<std::string> passwords = Rows("SELECT MOTPASSE FROM UTL");
    for (std::string& password : passwords) {
      std::string bytes;
      for (const char byte : password) {
        for (const int half : {static_cast<unsigned char>(byte) >> 4, byte & 15}) bytes += "0123456789ABCDEF"[half];
      }
      password = bytes;
    }
    return passwords;
  }

  void Hold(const std::string& insertion) override {
    Open(holder_);
    holder_.BeginTrans();
    holder_.Execute(insertion, ado::adExecuteNoRecords);
  }
  void Release() override {
    holder_.CommitTrans();
    holder_.Close();
  }
  void MakeReadOnly() override { readOnly_ = true; }

 private:
  void Open(ado::Connection& connection) const {
    connection.Provider("Microsoft.Jet.OLEDB.4.0");
    connection.Open(File(), "", "");
  }
  std::string File() const { return folder_.File("Volumes d'essai.mdb"); }

  tests::TemporaryFolder folder_;
  ado::Connection holder_;
  bool readOnly_ = false;
};

class SqliteVolumes : public VolumesDatabase {
 public:
  SqliteVolumes() {
    DescribeSource(File());
    if (sqlite3_open(File().c_str(), &connection_) != SQLITE_OK) throw std::runtime_error("no database " + File());
    sqlite3_busy_timeout(connection_, 5000);
    Execute("CREATE TABLE UTL (IDUTL INTEGER PRIMARY KEY, NOM VARCHAR(30), MOTPASSE VARCHAR(10))");
    Execute("CREATE TABLE VLMUTL (IDUTL INTEGER, IDVLM INTEGER, NIVEAU SMALLINT, PRIMARY KEY (IDUTL, IDVLM))");
  }
  ~SqliteVolumes() override { sqlite3_close(connection_); }

  std::string Name() const override { return "volumes"; }
  std::string Kind() const override { return "4"; }
  std::map<std::string, std::string> Environment() const override { return {{"ODBCINI", folder_.File("odbc.ini")}}; }
  std::string AbsentName() const override { return "absente"; }

  void Execute(const std::string& statement) override { static_cast<void>(Rows(statement)); }

  std::vector<std::string> Rows(const std::string& query) override {
    std::vector<std::string> rows;
    const auto keep = [](void* target, int count, char** values, char** /*names*/) {
      std::string row;
      for (int i = 0; i < count; ++i) row += (i == 0 ? "" : "|") + std::string(values[i] == nullptr ? "NULL" : values[i]);
      static_cast<std::vector<std::string>*>(target)->push_back(row);
      return 0;
    };
    char* message = nullptr;
    if (sqlite3_exec(connection_, query.c_str(), keep, &rows, &message) != SQLITE_OK) {
      const std::string text = query + ": " + (message == nullptr ? "" : message);
      sqlite3_free(message);
      throw std::runtime_error(text);
    }
    return rows;
  }

  void Hold(const std::string& insertion) override {
    Execute("BEGIN IMMEDIATE");
    Execute(insertion);
  }
  void Release() override { Execute("COMMIT"); }
  void MakeReadOnly() override { DescribeSource("file:" + File() + "?mode=ro"); }

 private:
  void DescribeSource(const std::string& file) const {
    std::ofstream(folder_.File("odbc.ini")) << "[VOLUMES]\nDriver=SQLite3\nDatabase=" << file << "\nTimeout=5000\n";
  }
  std::string File() const { return folder_.File("Volumes d'essai.sqlite"); }

  tests::TemporaryFolder folder_;
  sqlite3* connection_ = nullptr;
};

/// Starts at first use.
tests::MariaDbServer& Server() {
  static tests::MariaDbServer server;
  return server;
}

class MariaDbVolumes : public VolumesDatabase {
 public:
  MariaDbVolumes() : server_(Server()) {
    static int count = 0;
    database_ = "volumes" + std::to_string(++count);
    Run("", "CREATE DATABASE " + database_ + " CHARACTER SET utf8mb4");
    Execute("CREATE TABLE UTL (IDUTL INT NOT NULL PRIMARY KEY, NOM VARCHAR(30), MOTPASSE VARCHAR(10) COLLATE utf8mb4_bin)");
    Execute("CREATE TABLE VLMUTL (IDUTL INT NOT NULL, IDVLM INT NOT NULL, NIVEAU SMALLINT, PRIMARY KEY (IDUTL, IDVLM))");
  }

  std::string Name() const override { return server_.ConnectionString(database_) + ";UID=" + user_ + ";PWD=" + user_; }
  std::string Kind() const override { return "3"; }
  std::map<std::string, std::string> Environment() const override { return {}; }
  std::string AbsentName() const override { return server_.ConnectionString("absente") + ";UID=tamlo;PWD=tamlo"; }

  void Execute(const std::string& statement) override { Run(database_, statement); }

  std::vector<std::string> Rows(const std::string& query) override {
    std::istringstream lines(Run(database_, query));
    std::vector<std::string> rows;
    for (std::string line; std::getline(lines, line);) {
      for (char& c : line) c = c == '\t' ? '|' : c;
      rows.push_back(line);
    }
    return rows;
  }

  void Hold(const std::string& insertion) override {
    const std::string count = "SET SESSION TRANSACTION ISOLATION LEVEL READ UNCOMMITTED; SELECT COUNT(*) FROM UTL";
    const std::vector<std::string> before = Rows(count);
    holder_ = ::popen((Client(database_) + " > /dev/null").c_str(), "w");
    if (holder_ == nullptr) throw std::runtime_error("no mariadb client");
    std::fputs(("START TRANSACTION;\n" + insertion + ";\n").c_str(), holder_);
    std::fflush(holder_);
    while (Rows(count) == before) continue;
  }
  void Release() override {
    std::fputs("COMMIT;\n", holder_);
    if (::pclose(holder_) != 0) throw std::runtime_error("the transaction is lost");
  }
  void MakeReadOnly() override {
    user_ = "lecteur";
    Execute("CREATE USER IF NOT EXISTS lecteur@localhost IDENTIFIED BY 'lecteur'");
    Execute("GRANT SELECT ON " + database_ + ".* TO lecteur@localhost");
  }

 private:
  std::string Client(const std::string& database) const {
    return "mariadb --no-defaults --default-character-set=utf8mb4 -N -B -r -S '" + server_.Socket() + "' -u tamlo -ptamlo " + database;
  }

  /// What the server's own client prints.
  std::string Run(const std::string& database, const std::string& statement) const {
    tests::TemporaryFolder folder;
    std::ofstream(folder.File("statement")) << statement;
    const std::string command = Client(database) + " < '" + folder.File("statement") + "' 2>&1";
    FILE* pipe = ::popen(command.c_str(), "r");
    if (pipe == nullptr) throw std::runtime_error("no mariadb client");
    std::string output;
    char buffer[4096];
    for (std::size_t count = 0; (count = std::fread(buffer, 1, sizeof buffer, pipe)) > 0;) output.append(buffer, count);
    if (::pclose(pipe) != 0) throw std::runtime_error(statement + ": " + output);
    return output;
  }

  tests::MariaDbServer& server_;
  std::string database_;
  std::string user_ = "tamlo";
  FILE* holder_ = nullptr;
};

}  // namespace

std::unique_ptr<VolumesDatabase> MakeAccessVolumes() { return std::make_unique<AccessVolumes>(); }

std::unique_ptr<VolumesDatabase> MakeSqliteVolumes() { return std::make_unique<SqliteVolumes>(); }

std::unique_ptr<VolumesDatabase> MakeMariaDbVolumes() { return std::make_unique<MariaDbVolumes>(); }

void KillMariaDb() { Server().Kill(); }
void RestartMariaDb() { Server().Restart(); }

}  // namespace tamlo::app
