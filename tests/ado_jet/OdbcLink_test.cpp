#include <cstdio>

#include "ado/odbc/OdbcProvider.h"
#include "tests/ado_jet/JetFixture.h"

using namespace tamlo;
using namespace tamlo::ado;

namespace {

/// A SQLite file reached through its ODBC driver stands for any source.
class JetOdbcLink : public tests::JetFixture {
 protected:
  void SetUp() override {
    JetFixture::SetUp();
    odbc::RegisterOdbcProviders();
    std::remove(SourceFile().c_str());
    source_ = "Driver=SQLite3;Database=" + SourceFile();
    server.Provider("MSDASQL");
    const auto problem = runtime::IgnoringErrors([&] { server.Open(source_, "", ""); });
    if (problem) GTEST_SKIP() << "no SQLite ODBC driver: " << problem.description;
    server.Execute("CREATE TABLE \"Les clients\" (ID INTEGER PRIMARY KEY, NOM VARCHAR(30))");
    server.Execute("INSERT INTO \"Les clients\" VALUES (1, 'Dupont'), (2, 'élise')");
    Catalog catalog(connection);
    Table link("CLIENTS");
    link.Property("Jet OLEDB:Create Link", true);
    link.Property("Jet OLEDB:Link Provider String", source_);
    link.Property("Jet OLEDB:Cache Link Name/Password", false);
    link.Property("Jet OLEDB:Remote Table Name", "Les clients");
    catalog.Append(link);
  }
  void TearDown() override {
    if (server.IsOpen()) server.Close();
    JetFixture::TearDown();
    std::remove(SourceFile().c_str());
  }
  Connection server;

 private:
  [[nodiscard]] std::string SourceFile() const {
#ifdef _WIN32
    // Wine reaches the driver of the system that it runs on, which knows no drives: a name in the current folder is the same file to both.
    return "tamlo-test-lien.db";
#else
    return folder.File("source.db");
#endif
  }
  std::string source_;
};

TEST_F(JetOdbcLink, RowsAreReadAndJoined) {
  connection.Execute("CREATE TABLE V (ID LONG, N LONG)");
  connection.Execute("INSERT INTO V VALUES (2, 20)");
  EXPECT_EQ(Rows("SELECT NOM FROM CLIENTS ORDER BY ID DESC"), "élise; Dupont");
  EXPECT_EQ(Rows("SELECT C.NOM, V.N FROM CLIENTS C INNER JOIN V ON C.ID = V.ID"), "élise|20");
  EXPECT_EQ(Rows("SELECT * FROM CLIENTS WHERE NOM='DUPONT'"), "1|Dupont");
}

TEST_F(JetOdbcLink, ARecordsetOnTheLinkWritesToTheSource) {
  auto rows = Opened("SELECT * FROM CLIENTS", 2);
  rows.AddNew();
  rows.Fields("ID").Value(std::int32_t{3});
  rows.Fields("NOM").Value("Zola");
  rows.Update();
  rows.Close();
  connection.Execute("INSERT INTO CLIENTS (ID, NOM) VALUES (4, 'Quatre')");
  Recordset kept;
  kept.Open("SELECT NOM FROM \"Les clients\" ORDER BY ID", &server, adOpenForwardOnly, adLockUnspecified, -1);
  EXPECT_EQ(Rows(kept), "Dupont; élise; Zola; Quatre");
}

}  // namespace
