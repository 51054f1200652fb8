// Values as the server has them, whatever its driver makes of them: in blocks and singly, read and written, every bit.

#include <array>
#include <bit>
#include <cmath>
#include <cstddef>
#include <limits>
#include <random>

#include "ado/BulkInsert.h"
#include "runtime/Conversions.h"
#include "runtime/Dates.h"
#include "tests/ado_odbc/Engine.h"

namespace tamlo::tests {
namespace {

using runtime::Date;
using runtime::Null;
using runtime::Variant;

/// How rows are read: many at once into bound buffers, or one at a time because a long value stands beside them.
struct Way {
  const char* name;
  const char* columns;
};
constexpr std::array<Way, 3> kWays{{{"in blocks", "id, x"}, {"singly", "id, x, m"}, {"singly, behind the long value", "id, m, x"}}};

class ExactValues : public OdbcTest {
 protected:
  bool Is(const char* name) const { return GetParam() == name; }
  /// A table v of a key, a column of that type and a long text.
  void MakeTable(const std::string& type) {
    (void)runtime::IgnoringErrors([&] { Execute("DROP TABLE v"); });
    Execute("CREATE TABLE v (id INTEGER NOT NULL PRIMARY KEY, x " + type + ", m " + engine->Type("text") + ")");
  }
  /// The values of column x, in the order of the keys.
  std::vector<Variant> Read(const Way& way) {
    std::vector<Variant> values;
    ado::Recordset reader =
        Open(std::string("SELECT ") + way.columns + " FROM v ORDER BY id", ado::adOpenForwardOnly, ado::adLockReadOnly);
    for (; !reader.Eof(); reader.MoveNext()) values.push_back(reader.Fields("x").Value());
    return values;
  }
};

template <typename Real>
bool SameBits(Real a, Real b) {
  using Bits = std::conditional_t<sizeof(Real) == 4, std::uint32_t, std::uint64_t>;
  return std::bit_cast<Bits>(a) == std::bit_cast<Bits>(b);
}

TEST_P(ExactValues, NumbersOfSinglePrecisionKeepEveryBitInBlocksAndSingly) {
  MakeTable(Is("MariaDB") ? "FLOAT" : Is("SQLite") ? "SINGLE" : "REAL");
  std::vector<float> expected{1.5F, 2.5F, 3.5F, 0.1F, -2.25F, 16777217.0F, 1e-30F, 1.17549435e-38F, 3.4028235e38F, 0.0F, 1.0F / 3};
  std::mt19937 random(20261122);
  while (expected.size() < 3000) {
    const auto value = std::bit_cast<float>(static_cast<std::uint32_t>(random()));
    if (std::isnormal(value)) expected.push_back(value);
  }
  {
    ado::BulkInsert bulk(connection, "v", {"id", "x"});
    for (std::size_t i = 0; i < expected.size(); ++i) bulk.Add(std::array<Variant, 2>{static_cast<std::int32_t>(i), expected[i]});
    bulk.Flush();
  }
  for (const Way& way : kWays) {
    const auto values = Read(way);
    ASSERT_EQ(values.size(), expected.size());
    for (std::size_t i = 0; i < values.size(); ++i) {
      ASSERT_TRUE(values[i].Is<float>()) << way.name << ", row " << i;
      ASSERT_TRUE(SameBits(*values[i].If<float>(), expected[i])) << way.name << ", row " << i << ": " << *values[i].If<float>() << " "
                                                                 << expected[i];
    }
  }
}

INSTANTIATE_TEST_SUITE_P(Odbc, ExactValues, ::testing::Values("SQLite", "MariaDB", "PostgreSQL"),
                         [](const auto& which) { return which.param; });

}  // namespace
}  // namespace tamlo::tests
