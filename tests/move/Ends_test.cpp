// The smallest and the largest value of each type of Access, on every engine and back.
#include <gtest/gtest.h>

#include <algorithm>
#include <cfloat>
#include <cstdint>
#include <initializer_list>
#include <limits>
#include <span>
#include <string>
#include <vector>

#include "jet/Database.h"
#include "jet/sql/Session.h"
#include "tests/move/Engines.h"

namespace tamlo::tests {
namespace {

const std::string kEnvironment = "LC_ALL=C TAMLO_DB_PASSWORD=tamlo";

struct Ends {
  Ends(const char* name, std::initializer_list<std::string> texts) : type(name) {
    for (const std::string& text : texts) values.emplace_back(text);
  }
  Ends(const char* name, std::initializer_list<double> numbers) : type(name) {
    for (const double number : numbers) values.emplace_back(number);
  }
  Ends(const char* name, std::initializer_list<jet::Value> some) : type(name), values(some) {}
  const char* type;
  std::vector<jet::Value> values;
};

std::vector<Ends> AllEnds() {
  const std::string wide = [] {
    std::string text;
    for (int i = 0; i < 127; ++i) text += "\xF0\x9F\x98\x80";  // two characters each
    return text + "z";
  }();
  return {{"BYTE", {"0", "127", "128", "255"}},
          {"SHORT", {"-32768", "32767"}},
          {"LONG", {"-2147483648", "2147483647"}},
          {"CURRENCY", {jet::Value(jet::Currency{INT64_MIN}), jet::Value(jet::Currency{INT64_MAX}), jet::Value(jet::Currency{1})}},
          {"SINGLE",
           {static_cast<double>(FLT_MAX), static_cast<double>(-FLT_MAX), static_cast<double>(FLT_MIN),
            static_cast<double>(std::numeric_limits<float>::denorm_min()), static_cast<double>(0.1F)}},
          {"DOUBLE", {DBL_MAX, -DBL_MAX, DBL_MIN, std::numeric_limits<double>::denorm_min(), 1.0 / 3, 9007199254740993.0}},
          {"DATETIME", {"0100-01-01", "9999-12-31 23:59:59", "1899-12-30", "1899-12-29 06:00:00", "1582-10-15"}},
          {"DECIMAL(28,10)", {"-999999999999999999.9999999999", "999999999999999999.9999999999", "0.0000000001"}},
          {"DECIMAL(28,0)", {"-9999999999999999999999999999", "9999999999999999999999999999"}},
          {"TEXT(255)", {std::string(255, 'x'), wide, " ", "'", "\\", "NULL", "\t", "\r\n"}},
          {"MEMO", {std::string(70000, 'm'), "{\"a\",\\}", "''"}},
          {"GUID", {"{00000000-0000-0000-0000-000000000000}", "{FFFFFFFF-FFFF-FFFF-FFFF-FFFFFFFFFFFF}"}},
          {"BIT", {"0", "-1"}}};
}

class TypesTo : public testing::TestWithParam<const char*> {
 protected:
  TypesTo() : engine_(EngineCalled(GetParam())), folder_(engine_->folder) { engine_->Empty(); }
  void MakeFile() {
    const auto database = jet::Database::Create(folder_.File("base.mdb"));
    jet::sql::Session session(*database);
    int table = 0;
    for (const Ends& ends : AllEnds()) {
      const std::string name = "T" + std::to_string(++table);
      session.Execute("CREATE TABLE " + name + " (Id LONG CONSTRAINT PK PRIMARY KEY, V " + ends.type + ")");
      for (std::size_t i = 0; i < ends.values.size(); ++i) {
        const jet::sql::Parameter value{"v", ends.values[i]};
        session.Execute("INSERT INTO " + name + " (Id, V) VALUES (" + std::to_string(i) + ", [v])", std::span(&value, 1));
      }
    }
  }
  Ran Tamlo(const std::vector<std::string>& words) { return TamloDb(folder_, words, kEnvironment); }

  std::unique_ptr<TargetEngine> engine_;
  const TemporaryFolder& folder_;
};

TEST_P(TypesTo, TheirEndsArriveAndComeBack) {
  MakeFile();
  const auto there = Tamlo({"copy", "base.mdb", engine_->Name(), "--verify", "full"});
  EXPECT_EQ(there.err, "");
  EXPECT_EQ(there.status, 0);
  EXPECT_EQ(engine_->RowsOf("T1", " ORDER BY 1"), (Rows{{"0", "0"}, {"1", "127"}, {"2", "128"}, {"3", "255"}}));
  EXPECT_EQ(engine_->RowsOf("T3", " ORDER BY 1"), (Rows{{"0", "-2147483648"}, {"1", "2147483647"}}));
  const auto back = Tamlo({"copy", engine_->Name(), "neuf.mdb", "--verify", "full"});
  EXPECT_EQ(back.err, "");
  EXPECT_EQ(back.status, 0);
  int table = 0;
  for (const Ends& ends : AllEnds()) {
    const std::string export_ = "mdb-export -b hex -T '%F %T' -D '%F %T' ";
    const std::string name = " T" + std::to_string(++table) + " | sort";
    const auto before = RunLine(folder_, "(" + export_ + "base.mdb" + name + ")").out;
    EXPECT_EQ(RunLine(folder_, "(" + export_ + "neuf.mdb" + name + ")").out, before) << ends.type;
    EXPECT_GT(std::count(before.begin(), before.end(), '\n'), static_cast<std::ptrdiff_t>(ends.values.size()));
  }
}

INSTANTIATE_TEST_SUITE_P(Engines, TypesTo, testing::Values("sqlite", "mariadb", "postgresql"),
                         [](const auto& engine) { return std::string(engine.param); });

}  // namespace
}  // namespace tamlo::tests
