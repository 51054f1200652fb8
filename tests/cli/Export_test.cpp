// Rows out of tables: exact texts, and every cell of every sample against another reader.
#include <gtest/gtest.h>

#include <algorithm>
#include <charconv>
#include <cmath>
#include <fstream>
#include <iterator>

#include "jet/Database.h"
#include "jet/sql/Session.h"
#include "tests/cli/Command.h"
#include "tests/cli/Csv.h"

namespace tamlo::tests {
namespace {

/// One table with a column of each type and three rows: values, nulls, and texts that must be quoted.
std::string MakeFile(const TemporaryFolder& folder) {
  const std::string path = folder.File("base.mdb");
  const auto database = jet::Database::Create(path);
  jet::sql::Session session(*database);
  session.Execute("CREATE TABLE T (B YESNO, I LONG, C CURRENCY, D DECIMAL(10,2), R DOUBLE, M DATETIME, X TEXT(50), G GUID, Y BINARY(4))");
  const std::vector<jet::sql::Parameter> given{{"", jet::Value(*jet::Guid::Parse("00112233-4455-6677-8899-AABBCCDDEEFF"))},
                                               {"", jet::Value(jet::Bytes{std::byte{1}, std::byte{2}})}};
  session.Execute("INSERT INTO T VALUES (True, -7, -12.5, 3.1, 0.1, #2/1/2003 10:30:00#, 'a', ?, ?)", given);
  session.Execute("INSERT INTO T (X) VALUES (NULL)");
  session.Execute("INSERT INTO T (X, R, M) VALUES ('a,\"b\"' & Chr(10) & 'c', 1e300, #12/29/1899 06:00:00#)");
  return path;
}

TEST(Export, CommaSeparatedValues) {
  const TemporaryFolder folder;
  const auto ran = TamloDb(folder, {"export", MakeFile(folder), "-t", "t"});
  EXPECT_EQ(ran.err, "");
  EXPECT_EQ(ran.out,
            "B,I,C,D,R,M,X,G,Y\n"
            "1,-7,-12.5000,3.10,0.1,2003-02-01 10:30:00,a,{00112233-4455-6677-8899-AABBCCDDEEFF},0102\n"
            "0,,,,,,,,\n"
            "0,,,,1e+300,1899-12-29 06:00:00,\"a,\"\"b\"\"\nc\",,\n");
}

TEST(Export, ColumnsRowsAndWordsThatAreAskedFor) {
  const TemporaryFolder folder;
  const std::string path = MakeFile(folder);
  EXPECT_EQ(TamloDb(folder, {"export", path, "-t", "T", "--columns", "X,B", "--bool", "oui,non", "--null", "\\N"}).out,
            "X,B\na,oui\n\\N,non\n\"a,\"\"b\"\"\nc\",non\n");
  EXPECT_EQ(TamloDb(folder, {"export", path, "-t", "T", "--columns", "R", "--where", "R > 0", "--order-by", "R DESC"}).out,
            "R\n1e+300\n0.1\n");
  EXPECT_EQ(TamloDb(folder, {"export", path, "-t", "T", "--columns", "I", "--limit", "1"}).out, "I\n-7\n");
}

TEST(Export, JsonThatAnotherProgramReads) {
  const TemporaryFolder folder;
  const std::string path = MakeFile(folder);
  for (const char* format : {"json", "jsonl"}) {
    const auto ran = TamloDb(folder, {"export", path, "-t", "T", "-F", format, "--binary", "base64"});
    const std::string script =
        "let t=require('fs').readFileSync(0,'utf8');let r=" +
        std::string(format == std::string("json") ? "JSON.parse(t)" : "t.trim().split('\\n').map(l=>JSON.parse(l))") +
        ";console.log(r.length,r[0].I,r[0].B,r[0].Y,r[1].X,JSON.stringify(r[2].X),r[2].R)";
    EXPECT_EQ(RunLine(folder, "node -e " + Word(script), ran.out).out, "3 -7 true AQI= null \"a,\\\"b\\\"\\nc\" 1e+300\n") << format;
  }
}

TEST(Export, InsertsThatAnotherEngineTakes) {
  const TemporaryFolder folder;
  const auto ran = TamloDb(folder, {"export", MakeFile(folder), "-t", "T", "-F", "sql"});
  const auto loaded = RunLine(
      folder,
      "sqlite3 :memory:", "CREATE TABLE \"T\" (B, I, C, D, R, M, X, G, Y);\n" + ran.out + "SELECT count(*), sum(R), hex(max(Y)) FROM T;\n");
  EXPECT_EQ(loaded.err, "");
  EXPECT_EQ(loaded.out, "3|1.0e+300|0102\n");
}

TEST(Export, OneFileATableUnderNamesThatCanBe) {
  const TemporaryFolder folder;
  const std::string path = MakeFile(folder);
  TamloDb(folder, {"exec", path, "CREATE TABLE [a/b] (N LONG)", "CREATE TABLE Aux (N LONG)", "CREATE TABLE Com1 (N LONG)",
                   "CREATE TABLE Complet (N LONG)"});
  EXPECT_EQ(TamloDb(folder, {"export", path, "--all", "-o", folder.File("out.d")}).status, 0);
  EXPECT_EQ(RunLine(folder, "ls out.d").out, "Complet.csv\nT.csv\n_Aux.csv\n_Com1.csv\na_b.csv\n");
  const auto again = TamloDb(folder, {"export", path, "--all", "-o", folder.File("out.d")});
  EXPECT_EQ(again.status, 4);
  EXPECT_NE(again.err.find(".csv exists already"), std::string::npos) << again.err;
}

/// Numbers are the same when they read as the same number of seven digits, which is what the other reader writes of the smaller kind.
bool SameCell(const Cell& ours, const Cell& theirs) {
  if (!ours || !theirs) return !ours && !theirs;
  if (*ours == *theirs) return true;
  double a = 0;
  double b = 0;
  const auto readA = std::from_chars(ours->data(), ours->data() + ours->size(), a);
  const auto readB = std::from_chars(theirs->data(), theirs->data() + theirs->size(), b);
  return readA.ptr == ours->data() + ours->size() && readB.ptr == theirs->data() + theirs->size() &&
         std::fabs(a - b) <= std::fabs(a) * 1e-6;
}

struct Compared {
  std::size_t cells = 0;
  std::size_t different = 0;
  std::string first;
};

/// The rows in one order, whatever the order in which a reader walks over rows that have moved.
void Sort(std::vector<std::vector<Cell>>& rows) {
  if (rows.size() > 1) std::sort(rows.begin() + 1, rows.end());
}

void CompareTable(const TemporaryFolder& folder, const std::string& sample, const std::string& table, Compared& compared) {
  auto ours = ReadCsv(TamloDb(folder, {"export", sample, "-t", table, "-F", "csv"}).out);
  auto theirs =
      ReadCsv(RunLine(folder, "mdb-export -D '%Y-%m-%d %H:%M:%S' -T '%Y-%m-%d %H:%M:%S' -b hex " + Word(sample) + " " + Word(table)).out);
  if (ours.size() != theirs.size()) {
    ++compared.different;
    compared.first = sample + " " + table + ": " + std::to_string(ours.size()) + " and " + std::to_string(theirs.size()) + " rows";
    return;
  }
  Sort(ours);
  Sort(theirs);
  for (std::size_t r = 1; r < ours.size(); ++r)
    for (std::size_t c = 0; c < ours[r].size() && c < theirs[r].size(); ++c) {
      ++compared.cells;
      if (SameCell(ours[r][c], theirs[r][c])) continue;
      ++compared.different;
      if (compared.first.empty())
        compared.first = sample + " " + table + "." + ours[0][c].value_or("") + ", row " + std::to_string(r) + ": " +
                         ours[r][c].value_or("NULL").substr(0, 60) + " and " + theirs[r][c].value_or("NULL").substr(0, 60);
    }
}

TEST(Export, EveryCellOfEverySampleIsWhatAnotherReaderSays) {
  if (SampleFiles().empty()) GTEST_SKIP() << "JET_SAMPLES names no folder with Access files";
  const TemporaryFolder folder;
  Compared compared;
  for (const auto& sample : SampleFiles()) {
    const auto tables = ReadCsv(TamloDb(folder, {"tables", sample.string(), "-F", "csv"}).out);
    for (std::size_t i = 1; i < tables.size(); ++i)
      if (!tables[i][0]->starts_with("MSys")) CompareTable(folder, sample.string(), *tables[i][0], compared);
  }
  RecordProperty("cells", static_cast<int>(compared.cells));
  EXPECT_GT(compared.cells, 3000U);
  EXPECT_EQ(compared.different, 0U) << compared.first;
}

}  // namespace
}  // namespace tamlo::tests
