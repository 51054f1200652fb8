// Files behind a database password, and encoded ones, as the provider's connection strings open and make them.
#include <fstream>

#include "ado/Secrets.h"
#include "jet/Database.h"
#include "tests/ado_jet/JetFixture.h"

using namespace tamlo;
using namespace tamlo::ado;
using runtime::IgnoringErrors;

namespace {

constexpr const char* kProvider = "Microsoft.Jet.OLEDB.4.0";
constexpr const char* kPassword = "Sé;sa\"me'";
constexpr const char* kWritten = "\"Sé;sa\"\"me'\"";

class PasswordTest : public tests::JetFixture {
 protected:
  PasswordTest() : locked_(folder.File("fermé.mdb")) {
    const auto made = ::jet::Database::Create(locked_, {}, {.password = kPassword, .encoded = true});
    ::jet::TableSpec spec;
    spec.name = "T";
    spec.columns.emplace_back();
    spec.columns.back().name = "A";
    spec.columns.back().type = ::jet::ColumnType::kLong;
    made->CreateTable(spec);
  }

  [[nodiscard]] std::string Text(const std::string& password) const {
    return "Data Source=" + locked_ + ";Jet OLEDB:Database Password=" + password + ";Mode=Share Deny None";
  }
  runtime::PendingError Refusal(const std::string& text) {
    Connection other;
    other.Provider(kProvider);
    return IgnoringErrors([&] { other.Open(text, "", ""); });
  }

  std::string locked_;
};

TEST_F(PasswordTest, IsAKeyOfTheConnectionString) {
  for (const std::string& text : {Text(kWritten), std::string("Provider=") + kProvider + ";" + Text(kWritten)}) {
    Connection other;
    other.Provider(kProvider);
    other.Open(text, "", "");
    EXPECT_EQ(other.ConnectionString(), text);
    EXPECT_TRUE(runtime::ToBoolean(other.Property("Jet OLEDB:Encrypt Database")));
    other.Execute("INSERT INTO T VALUES (1)");
  }
  EXPECT_FALSE(runtime::ToBoolean(connection.Property("Jet OLEDB:Encrypt Database")));
}

TEST_F(PasswordTest, MissingOrWrongHasANumberOfItsOwnAndIsNeverShown) {
  auto error = Refusal(locked_);
  EXPECT_EQ(error.number, -2147217843);
  EXPECT_EQ(error.description, "La base de données est protégée par un mot de passe : \"" + locked_ +
                                   "\" est protégé par un mot de passe, et aucun n'a été donné");
  error = Refusal(Text("secret"));
  EXPECT_EQ(error.number, -2147217843);
  EXPECT_EQ(error.description, "Mot de passe incorrect : le mot de passe donné pour \"" + locked_ + "\" n'est pas le bon");
}

TEST_F(PasswordTest, OfAnotherFileMayStandInAStatement) {
  connection.Execute("CREATE TABLE T (A LONG)");
  connection.Execute("INSERT INTO T VALUES (7)");
  const std::string named = "Data Source=" + locked_ + ";Jet OLEDB:Database Password=";
  connection.Execute("INSERT INTO T IN '" + named + "\"Sé;sa\"\"me''\"' SELECT * FROM T");
  Recordset rows;
  rows.Open("SELECT A FROM T IN '" + named + "\"Sé;sa\"\"me''\"'", &connection, adOpenStatic, adLockUnspecified, -1);
  EXPECT_EQ(Rows(rows), "7");
  Connection other;
  other.Provider(kProvider);
  other.Open(path, "", "");
  try {
    other.Execute("INSERT INTO T IN '" + named + "secret' SELECT * FROM T");
    ADD_FAILURE();
  } catch (const runtime::Error& error) {
    EXPECT_EQ(error.Number(), -2147217843);
    EXPECT_EQ((error.Description() + error.Sent() + error.Diagnostics().front().text).find("secret"), std::string::npos) << error.Sent();
    EXPECT_NE(error.Sent().find("***"), std::string::npos) << error.Sent();
  }
}

TEST_F(PasswordTest, OfALinkedFileStandsInTheLink) {
  {
    const auto file = ::jet::Database::Open(locked_, {.password = kPassword});
    file->SetPassword("simple");
  }
  {
    const auto file = ::jet::Database::Open(path);
    file->CreateLink({.name = "Lié", .database = locked_, .connect = ";PWD=simple", .foreignName = "T"});
    file->CreateLink({.name = "Mal lié", .database = locked_, .connect = ";PWD=secret", .foreignName = "T"});
  }
  connection.Execute("INSERT INTO Lié VALUES (3)");
  Recordset rows;
  rows.Open("SELECT A FROM Lié", &connection, adOpenStatic, adLockUnspecified, -1);
  EXPECT_EQ(Rows(rows), "3");
  Connection other;
  other.Provider(kProvider);
  other.Open(path, "", "");
  const auto error = IgnoringErrors([&] { other.Execute("INSERT INTO [Mal lié] VALUES (3)"); });
  EXPECT_NE(error.number, 0);
  EXPECT_EQ(error.description.find("secret"), std::string::npos) << error.description;
}

TEST_F(PasswordTest, ANewDatabaseMayHaveOneAndBeEncoded) {
  const std::string made = folder.File("neuf.mdb");
  const std::string text = std::string("Provider=") + kProvider + ";Data Source=" + made + ";Jet OLEDB:Database Password=" + kWritten;
  Catalog::Create(text + ";Jet OLEDB:Encrypt Database=True");
  EXPECT_TRUE(::jet::Database::Open(made, {.password = kPassword})->Encoded());
  EXPECT_EQ(Refusal(made).number, -2147217843);
  Connection other;
  other.Open(text, "", "");
  EXPECT_TRUE(runtime::ToBoolean(other.Property("Jet OLEDB:Encrypt Database")));
}

}  // namespace
