#include <cstdint>
#include <optional>
#include <random>
#include <string>
#include <vector>

#include "runtime/Conversions.h"
#include "tests/ado_suite/Source.h"

// Random operations on a static recordset against a small model of what it must do, the same on every provider.
namespace tamlo::tests {
namespace {

using runtime::Variant;

struct Row {
  std::int32_t id = 0;
  std::int32_t number = 0;
  bool gone = false;
};

/// Rows in order and a place among them: -1 before the first one, size() behind the last.
class Model {
 public:
  std::vector<Row> rows;
  std::ptrdiff_t at = 0;
  bool deleted = false;  // the row it stands on

  [[nodiscard]] std::int64_t Count() const {
    std::int64_t count = 0;
    for (const Row& row : rows) count += row.gone ? 0 : 1;
    return count;
  }
  [[nodiscard]] std::ptrdiff_t End() const { return static_cast<std::ptrdiff_t>(rows.size()); }
  [[nodiscard]] bool OnRow() const { return at >= 0 && at < End() && !deleted; }
  /// Beside a row, and none is left: the end is the beginning too.
  [[nodiscard]] bool Emptied() const { return !OnRow() && !deleted && Count() == 0; }
  [[nodiscard]] Row& Current() { return rows[static_cast<std::size_t>(at)]; }
  [[nodiscard]] std::int64_t Number() const {
    std::int64_t number = 0;
    for (std::ptrdiff_t i = 0; i <= at; ++i) number += rows[static_cast<std::size_t>(i)].gone ? 0 : 1;
    return number;
  }
  /// To the next row that is there, up or down; the end when there is none.
  void Step(int way) {
    deleted = false;
    do {
      at += way;
    } while (at >= 0 && at < End() && Current().gone);
  }
  void ToEnd(int way) {
    at = way > 0 ? End() : -1;
    deleted = false;
  }
};

class Traces : public SuiteTest {
 protected:
  /// What can be seen from outside.
  static std::string Seen(ado::Recordset& rows) {
    const bool bof = rows.Bof();
    const bool eof = rows.Eof();
    std::string seen = std::string(bof ? "B" : "-") + (eof ? "E" : "-") + " n=" + std::to_string(rows.RecordCount()) +
                       " p=" + std::to_string(rows.AbsolutePosition()) + " ";
    const auto failure = runtime::IgnoringErrors([&] {
      seen +=
          std::to_string(runtime::ToInt32(rows.Fields("ID").Value())) + "/" + std::to_string(runtime::ToInt32(rows.Fields("N").Value()));
    });
    return failure ? seen + std::to_string(failure.number) : seen;
  }
  static std::string Expected(Model& model) {
    const bool emptied = model.Emptied();
    const bool bof = model.at < 0 || emptied;
    const bool eof = model.at >= model.End() || emptied;
    std::string seen = std::string(bof ? "B" : "-") + (eof ? "E" : "-") + " n=" + std::to_string(model.Count()) + " p=";
    if (model.OnRow()) {
      return seen + std::to_string(model.Number()) + " " + std::to_string(model.Current().id) + "/" +
             std::to_string(model.Current().number);
    }
    const int place = emptied || model.deleted ? -1 : model.at < 0 ? -2 : -3;
    return seen + std::to_string(place) + " 3021";
  }

  void Run(std::uint32_t seed, ado::LockType lock);
};

void Traces::Run(std::uint32_t seed, ado::LockType lock) {
  SCOPED_TRACE("seed " + std::to_string(seed));
  std::mt19937 random(seed);
  const auto below = [&](int limit) { return static_cast<int>(random() % static_cast<unsigned>(limit)); };
  connection.Execute("DELETE FROM T");
  Model model;
  const int rows = below(12);
  for (std::int32_t i = 0; i < rows; ++i) {
    connection.Execute("INSERT INTO T VALUES (" + std::to_string(i) + ", " + std::to_string(i % 4) + ")");
    model.rows.push_back({i, i % 4});
  }
  std::int32_t nextId = 100;
  const bool waits = lock == ado::adLockBatchOptimistic;
  auto rs = Open("SELECT * FROM T ORDER BY ID", ado::adOpenStatic, lock);
  model.at = 0;
  std::optional<Variant> mark;
  std::ptrdiff_t marked = 0;
  std::string trace;
  for (int step = 0; step < 200; ++step) {
    std::int32_t expected = 0;
    std::int32_t got = 0;
    const auto call = [&](auto&& what) { got = runtime::IgnoringErrors(what).number; };
    const int op = below(12);
    trace += " " + std::to_string(op);
    switch (op) {
      case 0:
      case 1: {  // MoveFirst, MoveLast
        call([&] { op == 0 ? rs.MoveFirst() : rs.MoveLast(); });
        model.ToEnd(op == 0 ? -1 : 1);
        model.Step(op == 0 ? 1 : -1);
        if (!model.OnRow()) {
          expected = 3021;
          model.ToEnd(1);
        }
        break;
      }
      case 2:
      case 3: {  // MoveNext
        call([&] { rs.MoveNext(); });
        if (model.at >= model.End() || model.Emptied()) {
          expected = 3021;
        } else {
          model.Step(1);
        }
        break;
      }
      case 4: {  // MovePrevious
        call([&] { rs.MovePrevious(); });
        if (model.at < 0 || model.Emptied()) {
          expected = 3021;
        } else {
          model.Step(-1);
        }
        break;
      }
      case 5: {  // Move
        const int count = below(9) - 4;
        call([&] { rs.Move(count); });
        if (count == 0) break;
        if (model.Emptied() || (count > 0 ? model.at >= model.End() : model.at < 0)) {
          expected = 3021;
          break;
        }
        for (int i = 0; i < std::abs(count); ++i) {
          if (count > 0 ? model.at < model.End() : model.at >= 0) model.Step(count > 0 ? 1 : -1);
        }
        break;
      }
      case 6: {  // AbsolutePosition
        const int number = below(8);
        call([&] { rs.AbsolutePosition(number); });
        if (number < 1 || number > model.Count()) {
          expected = 3001;
          break;
        }
        model.ToEnd(-1);
        for (int i = 0; i < number; ++i) model.Step(1);
        break;
      }
      case 7: {  // Bookmark, taken and gone back to
        if (mark && below(2) == 0) {
          call([&] { rs.Bookmark(*mark); });
          if (model.rows[static_cast<std::size_t>(marked)].gone) {
            expected = 3021;
          } else {
            model.at = marked;
            model.deleted = false;
          }
        } else {
          call([&] { mark = rs.Bookmark(); });
          if (model.OnRow()) {
            marked = model.at;
          } else {
            expected = 3021;
          }
        }
        break;
      }
      case 8: {  // a new row
        const std::int32_t id = nextId++;
        call([&] {
          rs.AddNew();
          rs.Fields("ID").Value(id);
          rs.Fields("N").Value(id % 4);
          rs.Update();
        });
        model.rows.push_back({id, id % 4});
        model.at = model.End() - 1;
        model.deleted = false;
        break;
      }
      case 9: {  // a change, saved by Update or by the next move
        const std::int32_t number = below(100);
        const bool update = below(2) == 0;
        call([&] {
          rs.Fields("N").Value(number);
          if (update) {
            rs.Update();
          } else {
            rs.Move(0);
          }
        });
        if (model.OnRow()) {
          model.Current().number = number;
        } else {
          expected = 3021;
        }
        break;
      }
      case 10: {  // Delete
        call([&] { rs.Delete(); });
        if (model.OnRow()) {
          model.Current().gone = model.deleted = true;
        } else {
          expected = 3021;
        }
        break;
      }
      default: {  // Find
        const int number = below(6);
        const int way = below(2) == 0 ? 1 : -1;
        call([&] { rs.Find("N = " + std::to_string(number), 0, way > 0 ? ado::adSearchForward : ado::adSearchBackward); });
        if (model.Emptied()) {
          expected = 3021;
          break;
        }
        if (way > 0 ? model.at >= model.End() : model.at < 0) break;
        if (!model.OnRow()) model.Step(way);
        while (model.OnRow() && model.Current().number != number) model.Step(way);
        break;
      }
    }
    if (waits && below(20) == 0) rs.UpdateBatch();
    ASSERT_EQ(got, expected) << "step " << step << " of" << trace;
    ASSERT_EQ(Seen(rs), Expected(model)) << "step " << step << " of" << trace;
  }
  if (waits) {
    rs.UpdateBatch();
    ASSERT_EQ(Seen(rs), Expected(model));
  }
  auto stored = Open("SELECT * FROM T ORDER BY ID", ado::adOpenForwardOnly);
  for (const Row& row : model.rows) {
    if (row.gone) continue;
    ASSERT_FALSE(stored.Eof());
    EXPECT_EQ(runtime::ToInt32(stored.Fields("ID").Value()), row.id);
    EXPECT_EQ(runtime::ToInt32(stored.Fields("N").Value()), row.number);
    stored.MoveNext();
  }
  EXPECT_TRUE(stored.Eof());
}

TEST_P(Traces, AreThoseOfTheModel) {
  connection.Execute("CREATE TABLE T (ID INTEGER NOT NULL PRIMARY KEY, N INTEGER)");
  for (std::uint32_t seed = 1; seed <= 100 && !HasFatalFailure(); ++seed) Run(seed, ado::adLockOptimistic);
}

TEST_P(Traces, AreTheSameWhereChangesWait) {
  connection.Execute("CREATE TABLE T (ID INTEGER NOT NULL PRIMARY KEY, N INTEGER)");
  for (std::uint32_t seed = 201; seed <= 300 && !HasFatalFailure(); ++seed) Run(seed, ado::adLockBatchOptimistic);
}

INSTANTIATE_TEST_SUITE_P(Suite, Traces, ::testing::Values("Access", "SQLite", "MariaDB", "PostgreSQL"), NameOf);

}  // namespace
}  // namespace tamlo::tests
