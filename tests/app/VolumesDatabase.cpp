#include "tests/app/VolumesDatabase.h"

#include <sqlite3.h>

#include <cstdio>
#include <fstream>
#include <sstream>
#include <stdexcept>

#include "tests/support_lib/MariaDbServer.h"
#include "tests/support_lib/TemporaryFolder.h"

namespace tamlo::app {

namespace {

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

  void MakeReadOnly() override {
    user_ = "lecteur";
    Execute("CREATE USER IF NOT EXISTS lecteur@localhost IDENTIFIED BY 'lecteur'");
    Execute("GRANT SELECT ON " + database_ + ".* TO lecteur@localhost");
  }

 private:
  /// What the server's own client prints.
  std::string Run(const std::string& database, const std::string& statement) const {
    tests::TemporaryFolder folder;
    std::ofstream(folder.File("statement")) << statement;
    const std::string command = "mariadb --no-defaults --default-character-set=utf8mb4 -N -B -r -S '" + server_.Socket() +
                                "' -u tamlo -ptamlo " + database + " < '" + folder.File("statement") + "' 2>&1";
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
};

}  // namespace

std::unique_ptr<VolumesDatabase> MakeSqliteVolumes() { return std::make_unique<SqliteVolumes>(); }

std::unique_ptr<VolumesDatabase> MakeMariaDbVolumes() { return std::make_unique<MariaDbVolumes>(); }

void KillMariaDb() { Server().Kill(); }
void RestartMariaDb() { Server().Restart(); }

}  // namespace tamlo::app
