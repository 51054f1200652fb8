#include "runtime/RegionalSettings.h"

#include <gtest/gtest.h>

#include <clocale>
#include <cstdlib>
#include <map>
#include <memory>
#include <optional>
#include <string>

#include "tests/support_lib/TemporaryFolder.h"

namespace tamlo::runtime {
namespace {

TEST(RegionalSettings, MonthFirstFollowsTheShortDate) {
  EXPECT_FALSE((RegionalSettings{"dd/MM/yyyy", '.'}).MonthFirst());
  EXPECT_TRUE((RegionalSettings{"M/d/yyyy", '.'}).MonthFirst());
  EXPECT_TRUE((RegionalSettings{"yyyy-MM-dd", '.'}).MonthFirst());
  EXPECT_FALSE((RegionalSettings{"'M'dd/MM/yyyy", '.'}).MonthFirst());
  EXPECT_FALSE((RegionalSettings{"", '.'}).MonthFirst());
}

TEST(RegionalSettings, TheOrderIsThatOfTheShortDate) {
  EXPECT_EQ((RegionalSettings{"dd/MM/yyyy", '.'}).Order(), base::DateOrder::kDayFirst);
  EXPECT_EQ((RegionalSettings{"M/d/yyyy", '.'}).Order(), base::DateOrder::kMonthFirst);
  EXPECT_EQ((RegionalSettings{"yyyy-MM-dd", '.'}).Order(), base::DateOrder::kYearFirst);
  EXPECT_EQ((RegionalSettings{"'y'dd/MM/yyyy", '.'}).Order(), base::DateOrder::kDayFirst);
  EXPECT_EQ((RegionalSettings{"", '.'}).Order(), base::DateOrder::kDayFirst);
}

TEST(RegionalSettings, OverridesRestoreInOrder) {
  const std::string before = UserSettings().shortDate;
  {
    const RegionalSettingsOverride outer({"dd.MM.yyyy", ','});
    EXPECT_EQ(UserSettings().shortDate, "dd.MM.yyyy");
    {
      const RegionalSettingsOverride inner({"M/d/yyyy", '.'});
      EXPECT_EQ(UserSettings().shortDate, "M/d/yyyy");
    }
    EXPECT_EQ(UserSettings().shortDate, "dd.MM.yyyy");
    EXPECT_EQ(UserSettings().decimalPoint, ',');
  }
  EXPECT_EQ(UserSettings().shortDate, before);
}

#ifndef _WIN32

using Variables = std::map<std::string, std::string>;

/// Sets environment variables for one test and puts the old ones back.
class EnvironmentScope {
 public:
  explicit EnvironmentScope(const Variables& variables) {
    for (const char* name : {"LC_ALL", "LC_TIME", "LC_NUMERIC", "LANG"}) {
      const char* value = std::getenv(name);
      before_[name] = value != nullptr ? std::optional<std::string>(value) : std::nullopt;
      unsetenv(name);
    }
    for (const auto& [name, value] : variables) setenv(name.c_str(), value.c_str(), 1);
  }
  ~EnvironmentScope() {
    for (const auto& [name, value] : before_) {
      if (value) {
        setenv(name.c_str(), value->c_str(), 1);
      } else {
        unsetenv(name.c_str());
      }
    }
  }
  EnvironmentScope(const EnvironmentScope&) = delete;
  EnvironmentScope& operator=(const EnvironmentScope&) = delete;

 private:
  std::map<std::string, std::optional<std::string>> before_;
};

TEST(RegionalSettings, TheCAndPosixLocalesAreNoSetting) {
  for (const char* name : {"C", "POSIX", "C.UTF-8"}) {
    const EnvironmentScope scope(Variables{{"LC_ALL", name}});
    EXPECT_EQ(ReadUserSettings().shortDate, "") << name;
    EXPECT_EQ(ReadUserSettings().decimalPoint, '.') << name;
  }
  const EnvironmentScope scope(Variables{});
  EXPECT_EQ(ReadUserSettings().shortDate, "");
}

TEST(RegionalSettings, ALocaleThatTheMachineDoesNotHaveIsNoSetting) {
  const EnvironmentScope scope(Variables{{"LC_ALL", "xx_XX.UTF-8"}});
  EXPECT_EQ(ReadUserSettings().shortDate, "");
  EXPECT_EQ(ReadUserSettings().decimalPoint, '.');
}

/// The French and American locales, compiled once into a folder of their own where the C library finds them.
class CompiledLocales : public testing::Test {
 protected:
  static void SetUpTestSuite() {
    folder_ = std::make_unique<tests::TemporaryFolder>();
    compiled_ = Compile("fr_FR") && Compile("en_US");
  }
  static void TearDownTestSuite() { folder_.reset(); }

  void SetUp() override {
    if (!compiled_) GTEST_SKIP() << "localedef cannot compile fr_FR and en_US (packages locales, libc-bin)";
    setenv("LOCPATH", folder_->Path().c_str(), 1);
  }
  void TearDown() override { unsetenv("LOCPATH"); }

 private:
  static bool Compile(const std::string& name) {
    const std::string command =
        "localedef -f UTF-8 -i " + name + " '" + folder_->File(name + ".UTF-8") + "' >'" + folder_->File("log") + "' 2>&1";
    return std::system(command.c_str()) == 0;
  }

  static inline std::unique_ptr<tests::TemporaryFolder> folder_;
  static inline bool compiled_ = false;
};

TEST_F(CompiledLocales, TheFrenchOneIsDayFirstWithADecimalComma) {
  const EnvironmentScope scope(Variables{{"LANG", "fr_FR.UTF-8"}});
  EXPECT_EQ(ReadUserSettings().shortDate, "dd/MM/yyyy");
  EXPECT_EQ(ReadUserSettings().decimalPoint, ',');
  EXPECT_FALSE(ReadUserSettings().MonthFirst());
}

TEST_F(CompiledLocales, NameTheirMonthsWholeAndAbbreviated) {
  const EnvironmentScope scope(Variables{{"LANG", "fr_FR.UTF-8"}});
  const auto names = ReadUserSettings().monthNames;
  ASSERT_EQ(names.size(), 24U);
  EXPECT_EQ(names[1], "février");
  EXPECT_EQ(names[11], "décembre");
  EXPECT_EQ(names[13], "févr.");
}

TEST_F(CompiledLocales, CategoriesMayDiffer) {
  const EnvironmentScope scope(Variables{{"LC_TIME", "en_US.UTF-8"}, {"LC_NUMERIC", "fr_FR.UTF-8"}, {"LANG", "C"}});
  EXPECT_EQ(ReadUserSettings().shortDate, "MM/dd/yyyy");
  EXPECT_TRUE(ReadUserSettings().MonthFirst());
  EXPECT_EQ(ReadUserSettings().decimalPoint, ',');
}

TEST_F(CompiledLocales, AllCategoriesGoBeforeTheSingleOnes) {
  const EnvironmentScope scope(Variables{{"LC_ALL", "C"}, {"LC_TIME", "fr_FR.UTF-8"}, {"LC_NUMERIC", "fr_FR.UTF-8"}});
  EXPECT_EQ(ReadUserSettings().shortDate, "");
  EXPECT_EQ(ReadUserSettings().decimalPoint, '.');
}

TEST_F(CompiledLocales, TheProcessKeepsItsOwnLocale) {
  const EnvironmentScope scope(Variables{{"LC_ALL", "fr_FR.UTF-8"}});
  const std::string before = std::setlocale(LC_ALL, nullptr);
  static_cast<void>(ReadUserSettings());
  EXPECT_EQ(std::setlocale(LC_ALL, nullptr), before);
}

#endif

}  // namespace
}  // namespace tamlo::runtime
