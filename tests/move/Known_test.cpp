// A database that everybody has and that we did not make: the register of coordinate systems that comes with PROJ (36 tables, 35 triggers, keys
// of two texts, numbers and texts in one column, nulls in a primary key), from SQLite to each engine.
#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <sstream>

#include "tests/move/Engines.h"

namespace tamlo::tests {
namespace {

constexpr const char* kRegister = "/usr/share/proj/proj.db";

class KnownDatabase : public testing::TestWithParam<const char*> {
 protected:
  void SetUp() override {
    if (!std::filesystem::exists(kRegister)) GTEST_SKIP() << kRegister << " is not here: scripts/setup installs proj-data";
    if (IsAccess()) return;
    engine_ = EngineCalled(GetParam());
    engine_->Empty();
  }
  [[nodiscard]] bool IsAccess() const { return std::string(GetParam()) == "access"; }
  [[nodiscard]] const TemporaryFolder& Folder() const { return engine_ ? engine_->folder : folder_; }
  [[nodiscard]] std::string Name() const { return IsAccess() ? folder_.File("there.mdb") : engine_->Name(); }
  Ran Run(const std::vector<std::string>& words) { return TamloDb(Folder(), words, "LC_ALL=C TAMLO_DB_PASSWORD=tamlo"); }
  std::string FromSource(const std::string& form, const std::string& sql) {
    return RunLine(Folder(), "sqlite3 -readonly " + form + Word(kRegister), sql + ";\n").out;
  }
  std::vector<std::string> Tables() {
    std::istringstream names(FromSource("", "SELECT name FROM sqlite_master WHERE type = 'table' AND name NOT LIKE 'sqlite%'"));
    std::vector<std::string> tables;
    for (std::string name; std::getline(names, name);) tables.push_back(name);
    return tables;
  }
  /// As the engine itself counts them; there is no such tool for Access files.
  std::string ForeignKeys() {
    const std::string engine = GetParam();
    if (engine == "mariadb")
      return engine_->Ask("SELECT count(*) FROM information_schema.REFERENTIAL_CONSTRAINTS WHERE CONSTRAINT_SCHEMA = DATABASE();\n").out;
    if (engine == "postgresql") return engine_->Ask("SELECT count(*) FROM pg_constraint WHERE contype = 'f';\n").out;
    return engine_->Ask("SELECT count(DISTINCT m.name || f.id) FROM sqlite_master m, pragma_foreign_key_list(m.name) f;\n").out;
  }

  const TemporaryFolder folder_;
  std::unique_ptr<TargetEngine> engine_;
};

TEST_P(KnownDatabase, ArrivesWithEveryCellAndWhatDoesNotWasTold) {
  const Ran before = Run({"copy", kRegister, Name(), "--dry-run"});
  ASSERT_EQ(before.status, 0) << before.err;
  const Ran copy = Run({"copy", kRegister, Name(), "--verify", "full"});
  EXPECT_EQ(copy.err, "");
  ASSERT_EQ(copy.status, 0);
  const auto tables = Tables();
  ASSERT_EQ(tables.size(), 36U - 1) << "sqlite_stat1 is SQLite's own";
  Compared compared;
  for (const auto& table : tables) {
    const Rows theirs = ReadCsv(FromSource("-csv -newline '\n' ", "SELECT * FROM \"" + table + "\""));
    Rows ours = IsAccess() ? ExportedByMdb(Folder(), Name(), table) : engine_->RowsOf(table);
    EXPECT_EQ(ours.size(), theirs.size()) << table;
    Compare(table, ours, theirs, compared);
  }
  EXPECT_GT(compared.cells, 300000U);
  EXPECT_EQ(compared.different, 0U) << compared.first;
  EXPECT_NE(before.out.find("-- usage: has nulls in its primary key"), std::string::npos) << "what the reading found is told too";
  if (IsAccess()) return;
  std::size_t told = 0;
  for (auto at = before.out.find(" is left off: its columns are too wide"); at != std::string::npos;
       at = before.out.find(" is left off: its columns are too wide", at + 1))
    ++told;
  const auto made =
      std::stoul(FromSource("", "SELECT count(DISTINCT m.name || f.id) FROM sqlite_master m, pragma_foreign_key_list(m.name) f"));
  EXPECT_EQ(std::to_string(made - told) + "\n", ForeignKeys());
  EXPECT_EQ(told > 0, std::string(GetParam()) == "mariadb");
}

INSTANTIATE_TEST_SUITE_P(Engines, KnownDatabase, testing::Values("sqlite", "mariadb", "postgresql"));

}  // namespace
}  // namespace tamlo::tests
