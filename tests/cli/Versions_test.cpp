// compact --to: an Access file in another version, and what that version cannot hold.
#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>

#include "jet/Database.h"
#include "jet/sql/Session.h"
#include "tests/cli/Command.h"

namespace tamlo::tests {
namespace {

class Versions : public testing::Test {
 protected:
  Versions() : path_(folder_.File("c.mdb")), old_(folder_.File("vieux.mdb")) {
    const auto database = jet::Database::Create(path_);
    jet::sql::Session session(*database);
    session.Execute("CREATE TABLE Clients (Id COUNTER CONSTRAINT PK PRIMARY KEY, Nom TEXT(30), Notes MEMO)");
    session.Execute("INSERT INTO Clients (Nom, Notes) VALUES ('Œuvré', 'é')");
  }
  void Execute(const char* statement) {
    const auto database = jet::Database::Open(path_);
    jet::sql::Session(*database).Execute(statement);
  }
  Ran Compact(const std::string& options, const std::string& language = "LC_ALL=C") {
    return RunLine(folder_, language + " " + Word(TAMLO_DB) + " compact " + Word(path_) + " " + Word(old_) + " " + options);
  }

  const TemporaryFolder folder_;
  const std::string path_, old_;
};

TEST_F(Versions, AFileGoesToAccess97AndBackUnchanged) {
  const auto older = Compact("--to 97");
  EXPECT_EQ(older.err, "");
  EXPECT_EQ(older.status, 0);
  EXPECT_EQ(jet::Database::Open(old_)->FormatVersion(), 3);
  const std::string back = folder_.File("neuf.mdb");
  EXPECT_EQ(RunLine(folder_, Word(TAMLO_DB) + " compact " + Word(old_) + " " + Word(back) + " --to 2003").status, 0);
  EXPECT_EQ(jet::Database::Open(back)->FormatVersion(), 4);
  for (const auto& made : {old_, back}) {
    const auto compared = RunLine(folder_, "LC_ALL=C " + Word(TAMLO_DB) + " compare " + Word(path_) + " " + Word(made));
    EXPECT_EQ(compared.status, 0) << compared.out;
  }
}

TEST_F(Versions, WhatItCannotHoldIsToldAndRefused) {
  Execute("INSERT INTO Clients (Nom, Notes) VALUES ('Dvořák', 'Ω')");
  Execute("CREATE TABLE Prix (Montant DECIMAL(10,2))");
  const std::string told =
      "tamlo-db: Clients.Nom: 1 text has characters that Windows-1252 does not have\n"
      "tamlo-db: Clients.Notes: 1 text has characters that Windows-1252 does not have\n"
      "tamlo-db: Prix.Montant is a decimal number, which Access 97 does not have\n";
  const auto listed = Compact("--to 97 --dry-run");
  EXPECT_EQ(listed.err, told);
  EXPECT_EQ(listed.status, 1);
  EXPECT_FALSE(std::filesystem::exists(old_));
  const auto refused = Compact("--to 97");
  EXPECT_EQ(refused.err, told +
                             "tamlo-db: The table \"Clients\": The value for the column \"Nom\" has a character that code page 1252 "
                             "of the file does not have\n");
  EXPECT_EQ(refused.status, 4);
  EXPECT_FALSE(std::filesystem::exists(old_));
  EXPECT_NE(Compact("--to 97 --dry-run", "LC_ALL= LC_MESSAGES=fr_FR.UTF-8").err.find("Clients.Nom : 1 texte a des caractères"),
            std::string::npos);
}

TEST_F(Versions, AFileInAnotherCodePageBecomesOneOfAccess2000UnlessToldElse) {
  const std::string czech = folder_.File("cesky.mdb"), newer = folder_.File("novy.mdb");
  {
    const auto database = jet::Database::Create(czech, {}, {}, 3);
    jet::sql::Session session(*database);
    session.Execute("CREATE TABLE Lidé (Jméno TEXT(30))");
    session.Execute("INSERT INTO Lidé VALUES ('Dvoøák')");
  }
  {
    std::fstream file(czech, std::ios::in | std::ios::out | std::ios::binary);
    file.seekg(0x3C);
    const int codePage = file.get() ^ 1252 ^ 1250;  // under a mask
    file.seekp(0x3C);
    file.put(static_cast<char>(codePage));
  }
  const auto compacted = RunLine(folder_, "LC_ALL=C " + Word(TAMLO_DB) + " compact " + Word(czech) + " " + Word(newer));
  EXPECT_EQ(
      compacted.err,
      "tamlo-db: the new file is one of Access 2000: in one of Access 97, texts have indexes in Windows-1252 alone (--to 97 makes one)\n");
  EXPECT_EQ(compacted.status, 0);
  EXPECT_EQ(jet::Database::Open(newer)->FormatVersion(), 4);
  EXPECT_EQ(RunLine(folder_, Word(TAMLO_DB) + " compare " + Word(czech) + " " + Word(newer)).status, 0);
  const auto kept = RunLine(folder_, "LC_ALL=C " + Word(TAMLO_DB) + " compact --to 97 --dry-run " + Word(czech) + " " + Word(old_));
  EXPECT_EQ(kept.err, "tamlo-db: Lidé.Jméno: 1 text has characters that Windows-1252 does not have\n");
  EXPECT_EQ(kept.status, 1);
}

TEST_F(Versions, NoOtherVersionIsTaken) {
  EXPECT_EQ(Compact("--to 95").status, 2);
  EXPECT_EQ(Compact("--dry-run").status, 2);
  EXPECT_FALSE(std::filesystem::exists(old_));
}

}  // namespace
}  // namespace tamlo::tests
