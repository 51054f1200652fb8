#include <sys/stat.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sstream>

#include "ado/odbc/OdbcProvider.h"
#include "jet/Database.h"
#include "tests/ado_jet/JetFixture.h"

using namespace tamlo;
using namespace tamlo::ado;

namespace {

/// An Access file that somebody else wrote: its links name what they like.
class HostileLink : public tests::JetFixture {
 protected:
  void SetUp() override {
    JetFixture::SetUp();
    odbc::RegisterOdbcProviders();
    mark_ = folder.File("loaded");
    ::setenv("TAMLO_TELLTALE", mark_.c_str(), 1);
    ::setenv("ODBCINI", folder.File("odbc.ini").c_str(), 1);
    std::ofstream(folder.File("odbc.ini")) << "[Known source]\nDriver=SQLite3\nDatabase=" << folder.File("known.db") << "\n";
  }
  void TearDown() override {
    JetFixture::TearDown();
    ::unsetenv("TAMLO_TELLTALE");
    ::unsetenv("ODBCINI");
  }

  /// Writes the link into the file as it stands, by the engine itself.
  void Link(const std::string& name, const std::string& connect) {
    connection.Close();
    ::jet::Database::Open(path)->CreateLink({name, true, {}, connect, "T"});
    connection.Open(path, "", "");
  }
  [[nodiscard]] bool WasLoaded() const { return std::filesystem::exists(mark_); }

  /// The description of the refusal when the linked table is read.
  std::string Refusal(const std::string& name) {
    const auto error = runtime::IgnoringErrors([&] { (void)Rows("SELECT * FROM [" + name + "]"); });
    return error ? error.description : "";
  }

  const std::string evil_ = TAMLO_TELLTALE_DRIVER;

 private:
  std::string mark_;
};

TEST_F(HostileLink, LoadsNoLibraryByAPathWhateverTheSpelling) {
  const std::string evil = evil_;
  const std::vector<std::string> texts = {
      "DRIVER=" + evil,
      "DRIVER={" + evil + "}",
      "driver = {" + evil + "};Server=x",
      "DSN=Known source;DRIVER=" + evil,
      "DRIVER=" + evil + ";DSN=Known source",
      "DRIVER={SQLite3};DRIVER=" + evil,
      "APP={;DRIVER=" + evil + ";};DRIVER={SQLite3}",
      "DRIVER={SQLite3};APP={x;DRIVER=" + evil + "}",
      "DRIVER={SQLite3};APP=\"x;DRIVER=" + evil + "\"",
      "DRIVER={SQLite3};Database=" + folder.File("known.db") + ";LoadExt=" + evil,
      "DRIVER={SQLite3};TRANSLATIONDLL=" + evil,
      "DRIVER={SQLite3};SETUP=" + evil,
      "FILEDSN=" + folder.File("evil.dsn"),
      "DSN=" + folder.File("evil"),
  };
  std::ofstream(folder.File("evil.dsn")) << "[ODBC]\nDRIVER=" << evil << "\n";
  for (std::size_t i = 0; i < texts.size(); ++i) {
    const std::string name = "L" + std::to_string(i);
    Link(name, texts[i]);
    EXPECT_FALSE(WasLoaded()) << "opening loaded it: " << texts[i];
    Catalog catalog(connection);
    EXPECT_EQ(catalog.Tables(name).Type(), "PASS-THROUGH") << texts[i];
    EXPECT_FALSE(WasLoaded()) << "listing loaded it: " << texts[i];
    const std::string refusal = Refusal(name);
    EXPECT_NE(refusal.find("La chaîne de connexion d'un lien est refusée"), std::string::npos) << texts[i] << "\n" << refusal;
    EXPECT_FALSE(WasLoaded()) << "reading loaded it: " << texts[i];
  }
}

TEST_F(HostileLink, WritesNoFile) {
  const std::string log = folder.File("written");
  for (const std::string& text : {"DRIVER={SQLite3};TraceFile=" + log, "DRIVER={SQLite3};SAVEFILE=" + log + ".dsn",
                                  "DRIVER={SQLite3};Database=" + log, std::string("DRIVER={SQLite3};Database=file:") + log}) {
    static int number = 0;
    const std::string name = "W" + std::to_string(number++);
    Link(name, text);
    EXPECT_NE(Refusal(name), "") << text;
    EXPECT_FALSE(std::filesystem::exists(log)) << text;
    EXPECT_FALSE(std::filesystem::exists(log + ".dsn")) << text;
  }
}

TEST_F(HostileLink, ARegisteredSourceOrDriverIsReachedByItsName) {
  Connection server;
  server.Provider("MSDASQL");
  server.Open("DRIVER={SQLite3};Database=" + folder.File("known.db"), "", "");
  server.Execute("CREATE TABLE T (ID INTEGER PRIMARY KEY, NOM VARCHAR(30))");
  server.Execute("INSERT INTO T VALUES (1, 'Dupont')");
  server.Close();
  int number = 0;
  for (const std::string& text : {std::string("DSN=Known source"), std::string("dsn=known source;UID=a;PWD=b"),
                                  "DRIVER={sqlite3};Database=" + folder.File("known.db") + ";Timeout=1000;A0=0;B0=255"}) {
    const std::string name = "K" + std::to_string(number++);
    Link(name, text);
    EXPECT_EQ(Rows("SELECT * FROM " + name), "1|Dupont") << text;
  }
}

TEST_F(HostileLink, ShowsNoPasswordThatTheFileKeeps) {
  int number = 0;
  for (const char* text : {"DSN=x;UID=moi;PWD=geheim", "DSN=x;pwd = {geheim};UID=moi", "PASSWORD=geheim;DSN=x", "DSN=x;Pwd=geheim"}) {
    const std::string name = "S" + std::to_string(number++);
    Link(name, text);
    Catalog catalog(connection);
    const std::string shown = runtime::ToText(catalog.Tables(name).Property("Jet OLEDB:Link Provider String"));
    EXPECT_EQ(shown.find("geheim"), std::string::npos) << shown;
    EXPECT_NE(shown.find("DSN=x"), std::string::npos) << shown;
    EXPECT_EQ(Refusal(name).find("geheim"), std::string::npos) << Refusal(name);
  }
}

TEST_F(HostileLink, AProgramForbidsLinksAltogether) {
  const std::string other = folder.File("Other.mdb");
  (void)::jet::Database::Create(other);
  connection.Execute("CREATE TABLE T (ID LONG)");
  connection.Execute("SELECT * INTO COPIE IN '" + other + "' FROM T");
  connection.Close();
  ::jet::Database::Open(path)->CreateLink({"L", false, other, "", "COPIE"});
  connection.Open(path, "", "");
  EXPECT_TRUE(runtime::ToBoolean(connection.Property("Links Allowed")));
  EXPECT_EQ(Rows("SELECT COUNT(*) FROM L"), "0");

  connection.Property("Links Allowed", false);
  for (const char* text : {"SELECT * FROM L", "SELECT * FROM COPIE IN '%'"}) {
    std::string sql = text;
    if (const auto sign = sql.find('%'); sign != std::string::npos) sql.replace(sign, 1, other);
    const auto error = runtime::IgnoringErrors([&] { (void)Rows(sql); });
    EXPECT_EQ(error.number, runtime::kProviderFailure) << sql;
    EXPECT_NE(error.description.find("links are forbidden here"), std::string::npos) << error.description;
  }
  const auto insert = runtime::IgnoringErrors([&] { connection.Execute("INSERT INTO COPIE IN '" + other + "' SELECT * FROM T"); });
  EXPECT_NE(insert.description.find("links are forbidden here"), std::string::npos) << insert.description;
  EXPECT_EQ(Rows("SELECT COUNT(*) FROM T"), "0");
}

TEST_F(HostileLink, APipeIsNoDatabaseAndNobodyWaitsForItsOtherEnd) {
  const std::string pipe = folder.File("pipe.mdb");
  ASSERT_EQ(::mkfifo(pipe.c_str(), 0600), 0);
  connection.Close();
  ::jet::Database::Open(path)->CreateLink({"P", false, pipe, "", "T"});
  connection.Open(path, "", "");
  EXPECT_NE(Refusal("P").find("not a file"), std::string::npos) << Refusal("P");
}

}  // namespace
