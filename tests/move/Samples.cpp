#include "tests/move/Samples.h"

#include <gtest/gtest.h>

namespace tamlo::tests {

void CopyAndCompare(TargetEngine& engine, const std::filesystem::path& file, Compared& compared, const std::vector<std::string>& options) {
  SCOPED_TRACE(file.string());
  engine.Empty();
  const auto listed = TamloDb(engine.folder, {"tables", file.string(), "-F", "csv"});
  std::vector<std::string> line{"copy", file.string(), engine.Name()};
  line.insert(line.end(), options.begin(), options.end());
  const auto copied = TamloDb(engine.folder, line, "LC_ALL=C TAMLO_DB_PASSWORD=tamlo");
  if (listed.status == 3) {
    EXPECT_EQ(copied.status, 3);
    EXPECT_NE(copied.err.find(file.filename().string()), std::string::npos) << copied.err;
    return;
  }
  EXPECT_EQ(copied.err, "");
  EXPECT_EQ(copied.status, 0);
  const auto tables = ReadCsv(listed.out);
  for (std::size_t i = 1; i < tables.size(); ++i) {
    if (tables[i][0]->starts_with("MSys")) continue;
    Compare(file.string() + " " + *tables[i][0], engine.RowsOf(*tables[i][0]), ExportedByMdb(engine.folder, file.string(), *tables[i][0]),
            compared);
  }
  EXPECT_EQ(engine.RowsOf("tamlo_copy_progress").size(), 0U);
}

}  // namespace tamlo::tests
