// recover: what a person sees, and what other readers and a second checker say of the new file.
#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <map>
#include <random>
#include <set>
#include <sstream>

#include "jet/Database.h"
#include "jet/sql/Session.h"
#include "tests/cli/Command.h"
#include "tests/support_lib/Seed.h"

namespace tamlo::tests {
namespace {

std::string Load(const std::filesystem::path& path) {
  std::ifstream stream(path, std::ios::binary);
  return {std::istreambuf_iterator<char>(stream), std::istreambuf_iterator<char>()};
}

void Store(const std::string& path, const std::string& bytes) { std::ofstream(path, std::ios::binary) << bytes; }

/// Two tables of 300 rows with a relation.
std::string MakeFile(const TemporaryFolder& folder) {
  const std::string path = folder.File("base.mdb");
  const auto database = jet::Database::Create(path);
  jet::sql::Session session(*database);
  session.Execute("CREATE TABLE Clients (Id COUNTER CONSTRAINT PK PRIMARY KEY, Nom TEXT(30), Note MEMO)");
  session.Execute("CREATE TABLE Commandes (Client LONG, Prix CURRENCY)");
  session.Execute("ALTER TABLE Commandes ADD CONSTRAINT DeClient FOREIGN KEY (Client) REFERENCES Clients (Id)");
  jet::Transaction whole(*database);
  for (int i = 1; i <= 300; ++i) {
    session.Execute("INSERT INTO Clients (Nom, Note) VALUES ('Client " + std::to_string(i) + "', 'court')");
    session.Execute("INSERT INTO Commandes (Client, Prix) VALUES (" + std::to_string(i) + ", 12.5)");
  }
  whole.Commit();
  return path;
}

/// The first page of rows of a table.
std::size_t PageOf(const std::string& path, const std::string& table) {
  const auto database = jet::Database::Open(path, {.mode = jet::OpenMode::kReadOnly});
  jet::ScanCursor scan = database->OpenTable(table).Scan();
  return scan.Next() ? scan.Id().page : 0;
}

std::multiset<std::string> Lines(const std::string& text) {
  std::multiset<std::string> lines;
  std::istringstream stream(text);
  for (std::string line; std::getline(stream, line);) lines.insert(line);
  return lines;
}

/// The tables of a file and their rows as mdb-export says them.
std::map<std::string, std::multiset<std::string>> SeenByMdb(const TemporaryFolder& folder, const std::string& path) {
  std::map<std::string, std::multiset<std::string>> tables;
  for (const std::string& name : Lines(RunLine(folder, "mdb-tables -1 " + Word(path)).out))
    if (!name.empty()) tables[name] = Lines(RunLine(folder, "mdb-export -H -b hex -R '\\n' " + Word(path) + " " + Word(name)).out);
  return tables;
}

TEST(Recover, ASoundFileGoesOverWholeAndStaysAsItWas) {
  const TemporaryFolder folder;
  const std::string path = MakeFile(folder), made = folder.File("neuf.mdb"), before = Load(path);
  const auto ran = TamloDb(folder, {"recover", path, made});
  EXPECT_EQ(ran.out, "Clients: 300 rows saved\nCommandes: 300 rows saved\n" + path + ": nothing is lost\n");
  EXPECT_EQ(ran.err, "");
  EXPECT_EQ(ran.status, 0);
  EXPECT_EQ(Load(path), before);
  EXPECT_EQ(TamloDb(folder, {"compare", path, made}).status, 0);
  EXPECT_EQ(TamloDb(folder, {"recover", path, made}).status, 4) << "a file is not written over";
}

TEST(Recover, WhatIsLostIsToldInWordsAndInTheReport) {
  const TemporaryFolder folder;
  const std::string path = MakeFile(folder), made = folder.File("neuf.mdb"), report = folder.File("r.json");
  const std::size_t page = PageOf(path, "Clients");
  std::string bytes = Load(path);
  std::fill_n(bytes.begin() + static_cast<std::ptrdiff_t>(page * 4096), 4096, '\0');
  Store(path, bytes);
  const auto ran = TamloDb(folder, {"recover", path, made, "--report", report});
  EXPECT_EQ(ran.status, 1);
  EXPECT_EQ(ran.err, "");
  EXPECT_NE(ran.out.find("Clients: "), std::string::npos);
  EXPECT_NE(ran.out.find(" rows and 0 long values lost\nCommandes: 300 rows saved\n"), std::string::npos) << ran.out;
  EXPECT_NE(ran.out.find("Clients, page " + std::to_string(page) + ": a page of its rows no longer is one of it\n"), std::string::npos);
  EXPECT_NE(ran.out.find("Commandes: The relationship \"DeClient\" is left off: "), std::string::npos) << ran.out;
  EXPECT_NE(ran.out.find(path + ": 3 losses\n"), std::string::npos) << ran.out;
  EXPECT_EQ(Load(path), bytes);
  EXPECT_EQ(RunLine(folder,
                    "python3 -c 'import json,sys; r=json.load(open(sys.argv[1])); t={x[\"name\"]:x for x in r[\"tables\"]};"
                    "print(t[\"Clients\"][\"rows\"]+t[\"Clients\"][\"missingRows\"], t[\"Commandes\"][\"rows\"], len(r[\"losses\"]))' " +
                        Word(report))
                .out,
            "300 300 3\n");
  const auto french = TamloDb(folder, {"recover", path, folder.File("autre.mdb")}, "LC_ALL= LC_MESSAGES=fr_FR.UTF-8").out;
  EXPECT_NE(french.find("Commandes : 300 lignes sauvées\n"), std::string::npos) << french;
  EXPECT_NE(french.find(path + " : 3 pertes\n"), std::string::npos) << french;
}

TEST(Recover, WhatIsNoAccessFileHasItsStatus) {
  const TemporaryFolder folder;
  const std::string path = folder.File("rien.mdb");
  Store(path, std::string(40960, '\0'));
  const auto ran = TamloDb(folder, {"recover", path, folder.File("neuf.mdb")});
  EXPECT_EQ(ran.err, "tamlo-db: cannot open " + path + ": \"" + path + "\" is not an Access file: it does not begin as one\n");
  EXPECT_EQ(ran.status, 3);
  const auto missing = TamloDb(folder, {"recover", folder.File("pas-la.mdb"), folder.File("neuf.mdb")});
  EXPECT_EQ(missing.err, "tamlo-db: cannot open " + folder.File("pas-la.mdb") + ": there is no such file\n");
  EXPECT_EQ(missing.status, 3);
  EXPECT_FALSE(std::filesystem::exists(folder.File("neuf.mdb")));
}

/// Real files with pages of zeros, cut, without a header: mdbtools reads what came of them and finds no row that was not there.
TEST(Recover, OthersReadWhatIsSaved) {
  if (SampleFiles().empty()) GTEST_SKIP() << "JET_SAMPLES does not name the folder of real files";
  std::mt19937 random(Seed());
  std::size_t rows = 0, files = 0;
  for (const auto& sample : SampleFiles()) {
    const std::string name = sample.filename().string();
    if (name != "indexTestV2003.mdb" && name != "test2V2000.mdb" && name != "test2V1997.mdb" && name != "overflowTestV2003.mdb") continue;
    const TemporaryFolder folder;
    const auto original = SeenByMdb(folder, sample.string());
    const std::size_t size = name.find("V1997") != std::string::npos ? 2048 : 4096;
    for (int turn = 0; turn < 3; ++turn) {
      SCOPED_TRACE(name + ", turn " + std::to_string(turn));
      std::string bytes = Load(sample);
      if (turn == 0) std::fill_n(bytes.begin(), size, '\0');
      if (turn == 1) bytes.resize(bytes.size() / 2 + 100);
      for (int i = 0; i < 3 && turn == 2; ++i)
        std::fill_n(bytes.begin() + static_cast<std::ptrdiff_t>((3 + random() % (bytes.size() / size - 3)) * size), size, '\0');
      const std::string hurt = folder.File("hurt.mdb"), made = folder.File("made" + std::to_string(turn) + ".mdb");
      Store(hurt, bytes);
      const auto ran = TamloDb(folder, {"recover", hurt, made});
      EXPECT_TRUE(ran.status == 1 || (ran.status == 0 && turn == 2)) << "pages of indexes are no loss\n" << ran.err;
      const auto checked = RunLine(folder, "python3 -B " TAMLO_STRICT "/strict_check.py " + Word(made));
      EXPECT_EQ(checked.status, 0) << checked.out << checked.err;
      for (const auto& [table, lines] : SeenByMdb(folder, made)) {
        if (table.starts_with("Table_")) continue;
        ASSERT_EQ(original.count(table), 1u) << table;
        rows += lines.size();
        // Where a long value is lost its row stands without it: those are told, and compared where the values themselves are.
        if (ran.out.find(" and 0 long values lost") == std::string::npos && ran.out.find(" long value") != std::string::npos) continue;
        EXPECT_TRUE(std::includes(original.at(table).begin(), original.at(table).end(), lines.begin(), lines.end())) << table;
      }
      ++files;
    }
  }
  EXPECT_EQ(files, 12u);
  EXPECT_GT(rows, 40u);
}

}  // namespace
}  // namespace tamlo::tests
