#include <cstdint>
#include <optional>
#include <random>
#include <string>
#include <utility>
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

/// One operation after another, done to the recordset and to the model alike.
class Walk {
 public:
  /// All three must outlive it.
  Walk(ado::Recordset& rows, Model& model, std::mt19937& random) : rs_(rows), model_(model), random_(random) {}

  /// Does a random operation. Afterwards Got and Expected are the numbers of its error, 0 for none.
  void Step();
  [[nodiscard]] std::int32_t Got() const { return got_; }
  [[nodiscard]] std::int32_t Expected() const { return expected_; }
  /// Which operations there were.
  [[nodiscard]] const std::string& Trace() const { return trace_; }

 private:
  int Below(int limit) { return static_cast<int>(random_() % static_cast<unsigned>(limit)); }
  template <typename What>
  void Call(What&& what) {
    got_ = runtime::IgnoringErrors(std::forward<What>(what)).number;
  }
  /// Beyond the end on that side, or without a row at all.
  [[nodiscard]] bool AtEnd(int way) const { return model_.Emptied() || Past(way); }
  [[nodiscard]] bool Past(int way) const { return way > 0 ? model_.at >= model_.End() : model_.at < 0; }

  void MoveToEnd(bool first);
  void MoveOne(int way);
  void Move();
  void AbsolutePosition();
  void Bookmark();
  void AddNew();
  void Change();
  void Delete();
  void Find();

  ado::Recordset& rs_;
  Model& model_;
  std::mt19937& random_;
  std::int32_t nextId_ = 100;
  std::optional<Variant> mark_;
  std::ptrdiff_t marked_ = 0;
  std::int32_t got_ = 0;
  std::int32_t expected_ = 0;
  std::string trace_;
};

void Walk::Step() {
  got_ = expected_ = 0;
  const int operation = Below(12);
  trace_ += " " + std::to_string(operation);
  switch (operation) {
    case 0:
    case 1:
      return MoveToEnd(operation == 0);
    case 2:
    case 3:
      return MoveOne(1);
    case 4:
      return MoveOne(-1);
    case 5:
      return Move();
    case 6:
      return AbsolutePosition();
    case 7:
      return Bookmark();
    case 8:
      return AddNew();
    case 9:
      return Change();
    case 10:
      return Delete();
    default:
      return Find();
  }
}

void Walk::MoveToEnd(bool first) {
  Call([&] { first ? rs_.MoveFirst() : rs_.MoveLast(); });
  model_.ToEnd(first ? -1 : 1);
  model_.Step(first ? 1 : -1);
  if (model_.OnRow()) return;
  expected_ = 3021;
  model_.ToEnd(1);
}

void Walk::MoveOne(int way) {
  Call([&] { way > 0 ? rs_.MoveNext() : rs_.MovePrevious(); });
  if (AtEnd(way)) {
    expected_ = 3021;
  } else {
    model_.Step(way);
  }
}

void Walk::Move() {
  const int count = Below(9) - 4;
  Call([&] { rs_.Move(count); });
  if (count == 0) return;
  const int way = count > 0 ? 1 : -1;
  if (AtEnd(way)) {
    expected_ = 3021;
    return;
  }
  for (int i = 0; i < std::abs(count) && !Past(way); ++i) model_.Step(way);
}

void Walk::AbsolutePosition() {
  const int number = Below(8);
  Call([&] { rs_.AbsolutePosition(number); });
  if (number < 1 || number > model_.Count()) {
    expected_ = 3001;
    return;
  }
  model_.ToEnd(-1);
  for (int i = 0; i < number; ++i) model_.Step(1);
}

/// Taken, or gone back to.
void Walk::Bookmark() {
  if (!mark_ || Below(2) != 0) {
    Call([&] { mark_ = rs_.Bookmark(); });
    if (model_.OnRow()) {
      marked_ = model_.at;
    } else {
      expected_ = 3021;
    }
    return;
  }
  Call([&] { rs_.Bookmark(*mark_); });
  if (model_.rows[static_cast<std::size_t>(marked_)].gone) {
    expected_ = 3021;
    return;
  }
  model_.at = marked_;
  model_.deleted = false;
}

void Walk::AddNew() {
  const std::int32_t id = nextId_++;
  Call([&] {
    rs_.AddNew();
    rs_.Fields("ID").Value(id);
    rs_.Fields("N").Value(id % 4);
    rs_.Update();
  });
  model_.rows.push_back({id, id % 4});
  model_.at = model_.End() - 1;
  model_.deleted = false;
}

/// Saved by Update or by the next move.
void Walk::Change() {
  const std::int32_t number = Below(100);
  const bool update = Below(2) == 0;
  Call([&] {
    rs_.Fields("N").Value(number);
    if (update) {
      rs_.Update();
    } else {
      rs_.Move(0);
    }
  });
  if (model_.OnRow()) {
    model_.Current().number = number;
  } else {
    expected_ = 3021;
  }
}

void Walk::Delete() {
  Call([&] { rs_.Delete(); });
  if (model_.OnRow()) {
    model_.Current().gone = model_.deleted = true;
  } else {
    expected_ = 3021;
  }
}

void Walk::Find() {
  const int number = Below(6);
  const int way = Below(2) == 0 ? 1 : -1;
  Call([&] { rs_.Find("N = " + std::to_string(number), 0, way > 0 ? ado::adSearchForward : ado::adSearchBackward); });
  if (model_.Emptied()) {
    expected_ = 3021;
    return;
  }
  if (Past(way)) return;
  if (!model_.OnRow()) model_.Step(way);
  while (model_.OnRow() && model_.Current().number != number) model_.Step(way);
}

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

  /// Up to eleven rows in the table, and the same ones in the model.
  [[nodiscard]] Model Filled(std::mt19937& random) {
    connection.Execute("DELETE FROM T");
    Model model;
    const auto rows = static_cast<std::int32_t>(random() % 12);
    for (std::int32_t i = 0; i < rows; ++i) {
      connection.Execute("INSERT INTO T VALUES (" + std::to_string(i) + ", " + std::to_string(i % 4) + ")");
      model.rows.push_back({i, i % 4});
    }
    return model;
  }
  void ExpectStored(const Model& model);
  void Run(std::uint32_t seed, ado::LockType lock);
};

void Traces::ExpectStored(const Model& model) {
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

void Traces::Run(std::uint32_t seed, ado::LockType lock) {
  SCOPED_TRACE("seed " + std::to_string(seed));
  std::mt19937 random(seed);
  Model model = Filled(random);
  const bool waits = lock == ado::adLockBatchOptimistic;
  auto rs = Open("SELECT * FROM T ORDER BY ID", ado::adOpenStatic, lock);
  Walk walk(rs, model, random);
  for (int step = 0; step < 200; ++step) {
    walk.Step();
    if (waits && random() % 20 == 0) rs.UpdateBatch();
    ASSERT_EQ(walk.Got(), walk.Expected()) << "step " << step << " of" << walk.Trace();
    ASSERT_EQ(Seen(rs), Expected(model)) << "step " << step << " of" << walk.Trace();
  }
  if (waits) {
    rs.UpdateBatch();
    ASSERT_EQ(Seen(rs), Expected(model));
  }
  ExpectStored(model);
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
