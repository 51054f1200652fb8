// Every sample file to each engine and back: what comes back is what went.
#include <gtest/gtest.h>

#include <algorithm>
#include <iterator>
#include <map>
#include <sstream>
#include <string_view>

#include "tests/move/Samples.h"

namespace tamlo::tests {
namespace {

const std::string kEnvironment = "LC_ALL=C TAMLO_DB_PASSWORD=tamlo";

/// What of a structure may differ after the way there and back: each is told by the copy before it is lost, or says the same in other words.
bool IsKnown(std::string_view difference) {
  for (const std::string_view known :
       {": comment is ", ": rule is ", ": hyperlink is ", ": counter is ", ": empty text is ", ", not enforced"})
    if (difference.find(known) != std::string_view::npos) return true;
  // A column of the primary key is required by the key; a truth value that is not given is false.
  if (difference.find(": required is no") != std::string_view::npos || difference.find(": default is none") != std::string_view::npos)
    return true;
  // A second index over the columns of the primary key.
  return difference.find("primary key on") != std::string_view::npos || difference.starts_with("query ") || difference.starts_with("link ");
}

/// What MariaDB does not have: indexes that leave rows out, and tables that refer to themselves and update in cascade.
constexpr std::string_view kLost[] = {", without nulls", ", updates cascade"};

/// An index or relation as it is without them.
std::string Plain(std::string line) {
  for (const std::string_view lost : kLost)
    if (const auto at = line.find(lost); at != std::string::npos) line.erase(at, lost.size());
  return line.substr(0, line.find(" is only in "));
}

bool LostSomething(const std::vector<std::string>& lines) {
  return lines.size() == 2 && std::any_of(std::begin(kLost), std::end(kLost), [&](std::string_view lost) {
           return (lines[0].find(lost) == std::string::npos) != (lines[1].find(lost) == std::string::npos);
         });
}

/// The lines that nothing explains.
std::string Unexplained(const std::string& told) {
  std::istringstream lines(told);
  std::map<std::string, std::vector<std::string>> left;
  for (std::string line; std::getline(lines, line);)
    if (!IsKnown(line) && line.find(" are equal: ") == std::string::npos) left[Plain(line)].push_back(line);
  std::string unexplained;
  for (const auto& [what, one] : left)
    if (!LostSomething(one))
      for (const std::string& line : one) unexplained += line + '\n';
  return unexplained;
}

class ThereAndBack : public testing::TestWithParam<const char*> {
 protected:
  ThereAndBack() : engine_(EngineCalled(GetParam())) {}
  Ran Run(const std::vector<std::string>& words) { return TamloDb(engine_->folder, words, kEnvironment); }
  void Bring(const std::string& file) {
    SCOPED_TRACE(file);
    engine_->Empty();
    std::filesystem::remove(engine_->folder.File("back.mdb"));
    const auto there = Run({"copy", file, engine_->Name(), "--verify", "full"});
    if (there.status == 3) return;  // behind a password: CopyAndCompare looks at what is said
    EXPECT_EQ(there.err, "");
    ASSERT_EQ(there.status, 0);
    const auto back = Run({"copy", engine_->Name(), "back.mdb", "--verify", "full"});
    EXPECT_EQ(back.err, "");
    ASSERT_EQ(back.status, 0);
    const auto rows = Run({"compare", "--data-only", file, "back.mdb"});
    EXPECT_EQ(rows.status, 0) << rows.out << rows.err;
    EXPECT_EQ(Unexplained(Run({"compare", "--schema-only", file, "back.mdb"}).out), "");
    EXPECT_EQ(Run({"check", "back.mdb"}).status, 0);
    ++brought_;
  }

  std::unique_ptr<TargetEngine> engine_;
  std::size_t brought_ = 0;
};

TEST_P(ThereAndBack, GivesTheFileAgain) {
  if (SampleFiles().empty()) GTEST_SKIP() << "JET_SAMPLES names no folder with Access files";
  for (const auto& sample : AllSampleFiles()) Bring(sample.string());
  EXPECT_GT(brought_, 20U);
}

INSTANTIATE_TEST_SUITE_P(Engines, ThereAndBack, testing::Values("sqlite", "mariadb", "postgresql"));

}  // namespace
}  // namespace tamlo::tests
