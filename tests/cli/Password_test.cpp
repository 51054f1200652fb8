// Access files behind a database password, and encoded ones, as a person runs the command on them.
#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>

#include "jet/Database.h"
#include "jet/sql/Session.h"
#include "tests/cli/Command.h"
#include "tests/support_lib/SamplePassword.h"

namespace tamlo::tests {
namespace {

constexpr const char* kPassword = "Sé sa;me\"";

class Password : public testing::Test {
 protected:
  void SetUp() override {
    const auto database = jet::Database::Create(folder_.File("c.mdb"), {}, {.password = kPassword, .encoded = true});
    jet::sql::Session session(*database);
    session.Execute("CREATE TABLE Clients (Id LONG CONSTRAINT PK PRIMARY KEY, Nom TEXT(30))");
    session.Execute("INSERT INTO Clients VALUES (1, 'Le Goff')");
    Put("pw", std::string(kPassword) + "\r\nsecond line\n");
    Put("wrong", "secret\n");
  }
  void Put(const std::string& name, const std::string& text) { std::ofstream(folder_.File(name), std::ios::binary) << text; }
  Ran Run(const std::string& arguments, const std::string& environment = "LC_ALL=C") {
    return RunLine(folder_, "setsid -w env " + environment + " " + Word(TAMLO_DB) + " " + arguments);
  }
  /// At a terminal, typing an answer at each question.
  Ran Typed(const std::string& answers, const std::string& arguments) {
    return RunLine(folder_, "LC_ALL=C python3 " TAMLO_TYPED " " + answers + " -- " + Word(TAMLO_DB) + " " + arguments);
  }
  /// True when the file opens with that password; empty for without any.
  bool Opens(const std::string& name, const std::string& password) {
    try {
      const auto file = jet::Database::Open(folder_.File(name), {.password = password});
      return file->HasPassword() == !password.empty() && file->OpenTable("Clients").RowCount() == 1;
    } catch (const jet::Error&) {
      return false;
    }
  }
  TemporaryFolder folder_;
};

TEST_F(Password, ComesFromAFileOrTheEnvironment) {
  EXPECT_EQ(Run("export c.mdb -t Clients --password-file pw").out, "Id,Nom\n1,Le Goff\n");
  EXPECT_EQ(Run("export c.mdb -t Clients", "TAMLO_DB_PASSWORD=" + Word(kPassword)).out, "Id,Nom\n1,Le Goff\n");
  const auto none = Run("tables c.mdb");
  EXPECT_EQ(none.status, 3);
  EXPECT_EQ(none.err,
            "tamlo-db: cannot open c.mdb: it is protected by a database password: --password-file, TAMLO_DB_PASSWORD, or be asked\n");
  const auto wrong = Run("tables c.mdb --password-file wrong", "LC_ALL=fr_FR.UTF-8");
  EXPECT_EQ(wrong.status, 3);
  EXPECT_EQ(wrong.err, "tamlo-db: impossible d'ouvrir c.mdb : le mot de passe n'est pas le bon\n");
  EXPECT_EQ(Run("tables c.mdb --password-file absent").status, 2);
}

TEST_F(Password, IsAskedForAtATerminalAndNotShown) {
  const auto right = Typed(Word(kPassword), "export c.mdb -t Clients");
  EXPECT_EQ(right.out, "Password for c.mdb: \nId,Nom\n1,Le Goff\n") << right.err;
  const auto wrong = Typed("secret", "tables c.mdb");
  EXPECT_EQ(wrong.status, 3);
  EXPECT_EQ(wrong.out, "Password for c.mdb: \ntamlo-db: cannot open c.mdb: the password is wrong\n");
}

TEST_F(Password, RecoverAsksForItToo) {
  const auto typed = Typed(Word(kPassword), "recover c.mdb saved.mdb");
  EXPECT_EQ(typed.status, 0);
  EXPECT_EQ(typed.out.find("Password for c.mdb: \n"), 0U) << typed.out;
  EXPECT_TRUE(Opens("saved.mdb", kPassword));
  EXPECT_EQ(Run("recover c.mdb none.mdb").status, 3);
  EXPECT_EQ(Typed("secret", "recover c.mdb none.mdb").status, 3);
  EXPECT_FALSE(std::filesystem::exists(folder_.File("none.mdb")));
}

TEST_F(Password, EveryCommandForFilesTakesIt) {
  Put("plus.csv", "Id,Nom\n2,Morvan\n");
  EXPECT_EQ(Run("check c.mdb --password-file pw").out, "c.mdb is sound\n");
  EXPECT_EQ(Run("backup c.mdb backup.mdb --password-file pw").err, "");
  EXPECT_TRUE(Opens("backup.mdb", kPassword));
  EXPECT_EQ(Run("compare c.mdb backup.mdb --a-password-file pw --b-password-file pw").out,
            "c.mdb and backup.mdb are equal: 1 table, 1 row\n");
  EXPECT_EQ(Run("compare c.mdb backup.mdb --a-password-file pw --b-password-file wrong").status, 3);
  EXPECT_EQ(Run("import c.mdb Clients plus.csv --password-file pw").err, "");
  EXPECT_EQ(Run("exec c.mdb 'DELETE FROM Clients WHERE Id = 2' --password-file pw").err, "");
  EXPECT_EQ(Run("query c.mdb 'SELECT Nom FROM Clients' -F csv --password-file pw").out, "Nom\nLe Goff\n");
  EXPECT_EQ(Run("schema c.mdb --to sqlite --password-file pw").err, "");
  EXPECT_EQ(Run("assess c.mdb --to sqlite --password-file pw").status, 0);
  EXPECT_EQ(Run("diagram c.mdb -o c.mmd --password-file pw").err, "");
  const auto info = Run("info c.mdb --password-file pw").out;
  EXPECT_NE(info.find("Protection  database password\nProtection  encoded pages (RC4)\n"), std::string::npos) << info;
}

TEST_F(Password, ACopyTakesOneForEachSide) {
  EXPECT_EQ(Run("copy c.mdb c.sqlite --from-password-file pw --verify full").err, "");
  EXPECT_EQ(RunLine(folder_, "sqlite3 c.sqlite", "SELECT Nom FROM Clients;\n").out, "Le Goff\n");
  Put("other", "two\n");
  EXPECT_EQ(Run("copy c.sqlite back.mdb --to-password-file other --verify full").err, "");
  EXPECT_TRUE(Opens("back.mdb", "two"));
  // What is meant for any database of the line opens the source, and does not lock the file that is made.
  EXPECT_EQ(Run("copy c.mdb plain.mdb", "TAMLO_DB_PASSWORD=" + Word(kPassword)).err, "");
  EXPECT_TRUE(Opens("plain.mdb", ""));
  EXPECT_EQ(Run("copy c.mdb back.mdb --from-password-file pw --to-password-file other --if-exists replace --verify full").err, "");
}

TEST_F(Password, IsSetChangedAndTakenAway) {
  Put("new", "nouveau\n");
  EXPECT_EQ(Run("password c.mdb --password-file pw --set-password-file new").err, "");
  EXPECT_TRUE(Opens("c.mdb", "nouveau"));
  EXPECT_EQ(Run("password c.mdb --password-file pw --remove-password").status, 3);
  EXPECT_EQ(Run("password c.mdb --password-file new --remove-password").err, "");
  EXPECT_TRUE(Opens("c.mdb", ""));
  const auto typed = Typed("un un", "password c.mdb");
  EXPECT_EQ(typed.out, "New password for c.mdb: \nOnce more: \n");
  EXPECT_EQ(typed.status, 0);
  EXPECT_TRUE(Opens("c.mdb", "un"));
  EXPECT_EQ(Typed("un deux trois", "password c.mdb").status, 2);
  EXPECT_TRUE(Opens("c.mdb", "un"));
}

TEST_F(Password, ThatCannotBeIsRefusedAndNothingChanged) {
  Put("empty", "\n");
  Put("long", "123456789012345678901\n");
  const auto none = Run("password c.mdb --password-file pw");
  EXPECT_EQ(none.status, 2);
  EXPECT_EQ(none.err, "tamlo-db: no new password is given: --set-password-file, or --remove-password for none\n");
  EXPECT_EQ(Run("password c.mdb --password-file pw --set-password-file empty").status, 2);
  EXPECT_EQ(Run("password c.mdb --password-file pw --set-password-file pw --remove-password").status, 2);
  const auto tooLong = Run("compact c.mdb d.mdb --password-file pw --set-password-file long");
  EXPECT_EQ(tooLong.status, 4);
  EXPECT_EQ(tooLong.err, "tamlo-db: A database password has at most 20 characters\n");
  EXPECT_EQ(RunLine(folder_, "ls d.mdb").out, "");
  EXPECT_TRUE(Opens("c.mdb", kPassword));
}

TEST_F(Password, CompactingKeepsItAndTheEncodingUnlessTold) {
  Put("new", "nouveau\n");
  EXPECT_EQ(Run("compact c.mdb same.mdb --password-file pw").err, "");
  EXPECT_TRUE(Opens("same.mdb", kPassword));
  EXPECT_TRUE(jet::Database::Open(folder_.File("same.mdb"), {.password = kPassword})->Encoded());
  EXPECT_EQ(Run("compact c.mdb other.mdb --password-file pw --set-password-file new --decode").err, "");
  EXPECT_TRUE(Opens("other.mdb", "nouveau"));
  EXPECT_FALSE(jet::Database::Open(folder_.File("other.mdb"), {.password = "nouveau"})->Encoded());
  EXPECT_EQ(Run("compact other.mdb plain.mdb --password-file new --remove-password --encode").err, "");
  EXPECT_TRUE(Opens("plain.mdb", ""));
  EXPECT_TRUE(jet::Database::Open(folder_.File("plain.mdb"))->Encoded());
  EXPECT_EQ(Run("compact c.mdb both.mdb --password-file pw --encode --decode").status, 2);
}

/// As another reader, which does not ask for passwords, has them.
TEST_F(Password, OfEverySampleThatHasOneOpensIt) {
  if (SampleFiles().empty()) GTEST_SKIP() << "JET_SAMPLES names no folder with Access files";
  int opened = 0;
  for (const auto& sample : SampleFiles()) {
    if (SamplePassword(sample).empty()) continue;
    Put("its", SamplePassword(sample) + "\n");
    const auto tables = Run("tables " + Word(sample.string()) + " -F tsv --password-file its");
    EXPECT_EQ(tables.status, 0) << sample << tables.err;
    EXPECT_EQ(Run("check " + Word(sample.string()) + " --password-file its").status, 0) << sample;
    EXPECT_EQ(Run("check " + Word(sample.string())).status, 3) << sample;
    ++opened;
  }
  EXPECT_GT(opened, 0);
}

}  // namespace
}  // namespace tamlo::tests
