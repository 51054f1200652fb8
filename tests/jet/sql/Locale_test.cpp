// A program that takes over its user's settings changes how the C library writes numbers. No statement follows it: values, texts and
// columns are the same under every locale.
#include <string>

#include "tests/jet/sql/SessionFixture.h"
#include "tests/support_lib/FrenchNumbers.h"

namespace jet::sql::tests {
namespace {

struct Line {
  const char* expression;
  const char* point;  ///< what it gives where the user writes "." before decimals
  const char* comma;  ///< and where he writes ","; "=": the same
};

constexpr Line kLines[] = {
    // Numbers as text.
    {"1.5 & ''", "1.5", "1,5"},
    {"1E20 & ''", "1E+20", "="},
    {"-0.000001 & ''", "-1E-06", "="},
    {"123456789012345678 & ''", "1.23456789012346E+17", "1,23456789012346E+17"},
    {"CSng(1.1) & ''", "1.1", "1,1"},
    {"CSng(0.1) & ''", "0.1", "0,1"},
    {"CSng(15000000000.5) & ''", "15000000000", "="},
    {"CCur(2.25) & ''", "2.25", "2,25"},
    {"Str(1.5)", " 1.5", "="},
    {"Str(-0.1)", "-0.1", "="},
    {"Len(0.25)", "4", "="},
    // Texts as numbers.
    {"Val('1.5x')", "1.5", "="},
    {"CDbl('1.5') + 1", "2.5", "="},
    {"'2.5' * 2", "5", "="},
    {"IsNumeric('1.5')", "True", "="},
    {"#2003-12-31# + 0.5 & ''", "31/12/2003 12:00:00", "="},
    // Rounding goes over the digits that are shown.
    {"Round(2.675, 2) & ''", "2.68", "2,68"},
    {"Round(-1.45, 1) & ''", "-1.4", "-1,4"},
    {"CSng(2.5) + 0.25", "2.75", "="},
    // Pictures.
    {"Format(1234.5, '0.00')", "1234.50", "1234,50"},
    {"Format(1234567.891, '#,##0.00')", "1 234 567.89", "1 234 567,89"},
    {"Format(0.256, '0.0%')", "25.6%", "25,6%"},
    {"Format(-2.5, '0.0;(0.00)')", "(2.50)", "(2,50)"},
    {"Format(12345678901234567890, '0.0')", "12345678901234567168.0", "12345678901234567168,0"},
    {"Format(1.5, 'General Number')", "1.5", "1,5"},
    {"Format(1.5, 'Fixed')", "1.50", "1,50"},
    {"Format(1.5, 'Standard')", "1.50", "1,50"},
    {"Format(1.5)", "1.5", "1,5"},
    {"Format(7, '000')", "007", "="},
    {"Format(#2003-02-01 03:04:05#, 'dd/mm/yy hh:nn:ss')", "01/02/03 03:04:05", "="},
    // Columns that are exact.
    {"n", "1.25", "="},
    {"n * 3", "3.75", "="},
    {"-n", "-1.25", "="},
    {"Sum(n) + 0", "1.25", "="},
    {"Max(n)", "1.25", "="},
    {"n & ''", "1.25", "1,25"},
    {"m", "25000/10000", "="},
};

class Locale : public SessionFixture {
 protected:
  void SetUp() override {
    SessionFixture::SetUp();
    Run("CREATE TABLE t (n DECIMAL(10,2), m CURRENCY, s SINGLE, w TEXT(40))");
    Run("INSERT INTO t (n, m, s) VALUES (1.25, 2.5, 0.1)");
  }
  void CheckLines(char decimalPoint) {
    SessionOptions options;
    options.text.decimalPoint = decimalPoint;
    session = std::make_unique<Session>(*database, options);
    for (const Line& line : kLines) {
      const std::string wanted = decimalPoint == '.' || line.comma == std::string("=") ? line.point : line.comma;
      EXPECT_EQ(Rows(std::string("SELECT ") + line.expression + " FROM t"), wanted) << line.expression << " with " << decimalPoint;
    }
  }
};

TEST_F(Locale, ExpressionsGiveWhatIsWrittenHere) {
  CheckLines('.');
  CheckLines(',');
}

TEST_F(Locale, ExpressionsGiveTheSameInAProgramWithFrenchNumbers) {
  const tamlo::tests::FrenchNumbers french;
  CheckLines('.');
  CheckLines(',');
}

TEST_F(Locale, ColumnsTakeTheSameInAProgramWithFrenchNumbers) {
  const tamlo::tests::FrenchNumbers french;
  Run("DELETE FROM t");
  Run("INSERT INTO t (n, m, s, w) VALUES ('1.25', '2.5', '0.1', 1.5)");
  Run("INSERT INTO t (n, m, s, w) SELECT n * 3, n + 0.75, n * 2, m - 0.5 FROM t");
  EXPECT_EQ(Rows("SELECT n, m, s, w FROM t"), "1.25|25000/10000|0.100000001|1.5; 3.75|20000/10000|2.5|2");
}

}  // namespace
}  // namespace jet::sql::tests
