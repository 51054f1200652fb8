// What somebody does with .accdb files, plain and encrypted ones of Access itself.
#include <gtest/gtest.h>

#include <algorithm>
#include <fstream>

#include "tests/cli/Command.h"
#include "tests/support_lib/SampleFiles.h"
#include "tests/support_lib/SamplePassword.h"

namespace tamlo::tests {
namespace {

namespace fs = std::filesystem;

std::string Sample(const std::string& name) {
  const fs::path path = SecondSampleFolder() / (name + ".accdb");
  return fs::exists(path) ? path.string() : std::string();
}

class AccdbUse : public testing::TestWithParam<const char*> {
 protected:
  void SetUp() override {
    sample_ = Sample(GetParam());
    if (sample_.empty()) GTEST_SKIP() << "JET_SAMPLES names no folder with " << GetParam() << ".accdb beside it";
    password_ = SamplePassword(sample_);
  }
  Ran Run(const std::vector<std::string>& words) const {
    return TamloDb(folder_, words, "LC_ALL=C" + (password_.empty() ? "" : " TAMLO_DB_PASSWORD=" + Word(password_)));
  }
  [[nodiscard]] std::string First() const {
    const std::string out = Run({"tables", sample_, "-F", "csv"}).out;
    const std::string line = out.substr(out.find('\n') + 1);
    const std::string name = line.substr(0, line.find(','));
    return name.front() == '"' ? name.substr(1, name.size() - 2) : name;
  }
  static std::size_t Lines(const std::string& text) { return static_cast<std::size_t>(std::count(text.begin(), text.end(), '\n')); }

  TemporaryFolder folder_;
  std::string sample_;
  std::string password_;
};

TEST_P(AccdbUse, IsToldOfAndBackedUp) {
  const Ran info = Run({"info", sample_});
  EXPECT_EQ(info.status, 0) << info.err;
  EXPECT_NE(info.out.find("(.accdb)\n"), std::string::npos);
  EXPECT_EQ(info.out.find("RC4"), std::string::npos) << info.out;
  EXPECT_EQ(info.out.find("Protection  encrypted pages\n") != std::string::npos, !password_.empty()) << info.out;
  // As many relations as are listed.
  const std::size_t relations = Lines(Run({"relations", sample_, "-F", "csv"}).out) - 1;
  EXPECT_NE(info.out.find("Relations   " + std::to_string(relations) + "\n"), std::string::npos) << info.out;
  const Ran query = Run({"query", sample_, "SELECT Count(*) AS N FROM [" + First() + "]", "-F", "csv"});
  EXPECT_EQ(query.err, "");
  EXPECT_EQ(Run({"backup", sample_, "copie.accdb"}).status, 0);
  EXPECT_EQ(RunLine(folder_, "cmp " + Word(sample_) + " copie.accdb").status, 0);
  EXPECT_EQ(Run({"compare", sample_, "copie.accdb"}).status, 0);
  if (password_.empty()) return;
  const Ran without = TamloDb(folder_, {"tables", sample_});
  EXPECT_EQ(without.status, 3);
  EXPECT_EQ(Lines(without.err), 1U) << without.err;
  EXPECT_NE(without.err.find("is protected by a database password"), std::string::npos) << without.err;
}

TEST_P(AccdbUse, IsMovedWithEachRow) {
  const Ran copied = Run({"copy", sample_, "base.sqlite", "--verify", "full", "--progress", "log"});
  EXPECT_EQ(copied.status, 0) << copied.err;
  EXPECT_EQ(copied.err.find(" 0 rows/s"), std::string::npos) << copied.err;
  const Ran compared = Run({"compare", sample_, "base.sqlite", "--data-only"});
  EXPECT_EQ(compared.status, 0) << compared.out << compared.err;
}

/// No table is lost, and mdbtools reads in the new file what `export` gives of the old one.
TEST_P(AccdbUse, IsRecoveredWithEachRow) {
  const Ran recovered = Run({"recover", sample_, "neuf.mdb"});
  EXPECT_EQ(recovered.out.find(": lost\n"), std::string::npos) << recovered.out;
  EXPECT_EQ(recovered.out.find("left off"), std::string::npos) << recovered.out;
  ASSERT_LE(recovered.status, 1) << recovered.err;
  const std::string table = First();
  const Ran before = Run({"export", sample_, "-t", table, "-F", "csv", "--binary", "hex", "--null", "NULL"});
  const Ran after = Run({"export", "neuf.mdb", "-t", table, "-F", "csv", "--binary", "hex", "--null", "NULL"});
  EXPECT_EQ(after.out, before.out);
  if (password_.empty()) {  // mdbtools reads no file behind a password
    EXPECT_EQ("N\n" + RunLine(folder_, "mdb-count neuf.mdb " + Word(table)).out,
              Run({"query", sample_, "SELECT Count(*) AS N FROM [" + table + "]", "-F", "csv"}).out);
  }
  EXPECT_EQ(Run({"check", "neuf.mdb"}).status, 0);
}

INSTANTIATE_TEST_SUITE_P(Samples, AccdbUse,
                         testing::Values("ASampleDatabase2007", "bigint2016", "calcFieldTestV2010", "complexDataTestV2010",
                                         "extDateTestV2019", "indexTestV2010", "testEmoticonsV2010", "enc-agile-aes256-password",
                                         "enc-agile-aes128-sha1-Test123", "enc-rc4-40-Test123", "enc-aes256-standard-password"));

/// What no other database has is told before a move.
TEST(AccdbLosses, AreTold) {
  const auto assess = [](const std::string& name) {
    const TemporaryFolder folder;
    return TamloDb(folder, {"assess", Sample(name), "--to", "mariadb"}).out;
  };
  if (Sample("complexDataTestV2010").empty()) GTEST_SKIP() << "JET_SAMPLES names no folder with .accdb files beside it";
  const std::string several = assess("complexDataTestV2010");
  for (const char* column : {"multi-value-data", "attach-data"})
    EXPECT_NE(
        several.find("Table1." + std::string(column) +
                     ": holds attachments or several values, which Access keeps in a table of its own: only their number is taken over\n"),
        std::string::npos)
        << several;
  const std::string computed = assess("calcFieldTestV2010");
  EXPECT_NE(computed.find("Table1.LastFirst: is computed as "), std::string::npos) << computed;
  EXPECT_NE(computed.find("; it becomes a plain column\n"), std::string::npos) << computed;
  EXPECT_NE(assess("extDateTestV2019").find("Table1.DateExt: is Date/Time Extended: becomes its text\n"), std::string::npos);
}

}  // namespace
}  // namespace tamlo::tests
