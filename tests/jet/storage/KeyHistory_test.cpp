#include <gtest/gtest.h>

#include <cstdlib>
#include <map>
#include <random>

#include "tests/jet/storage/JetTestSupport.h"

namespace jet::tests {
namespace {

std::vector<unsigned> Seeds() {
  if (const char* given = std::getenv("TAMLO_GRAINE")) return {static_cast<unsigned>(std::strtoul(given, nullptr, 10))};
  return {1, 2, 3, 4, 5, 6, 7, 8};
}

/// One table whose rows go by their primary key, which changes and collides: rows are found by it, in the table and in the model. With
/// schema edits, nested transactions, rollbacks and reopening. Histories of whole databases, by the identity of rows: tests/jet/history.
class KeyHistory {
 public:
  explicit KeyHistory(unsigned seed) : random_(seed) {
    database_ = world_.Create();
    TableSpec spec;
    spec.name = "T";
    spec.columns = {Column("K", ColumnType::kLong), Column("C0", ColumnType::kText, 60)};
    IndexSpec key = PrimaryKey("K");
    spec.indexes = {key};
    database_->CreateTable(spec);
    columns_ = {ColumnType::kLong, ColumnType::kText};
  }

  void Run(int steps) {
    for (int step = 0; step < steps; ++step) {
      Step();
      if (step % 10 == 0) Compare(step);
      if (testing::Test::HasFailure()) return;
    }
    if (database_->TransactionDepth() > 0) database_->Commit();
    Compare(steps);
  }

 private:
  Table& T() { return database_->OpenTable("T"); }
  unsigned Pick(unsigned limit) { return static_cast<unsigned>(random_() % limit); }

  Value Any(ColumnType type) {
    if (Pick(8) == 0) return Value();
    switch (type) {
      case ColumnType::kLong:
        return Value(static_cast<std::int32_t>(random_()));
      case ColumnType::kDouble:
        return Value(static_cast<double>(static_cast<std::int32_t>(random_())) / 8);
      case ColumnType::kBoolean:
        return Value(Pick(2) == 0);
      case ColumnType::kText: {
        std::string text;
        for (unsigned i = Pick(50); i > 0; --i) text += Pick(5) == 0 ? "é" : std::string(1, static_cast<char>('a' + Pick(26)));
        return Value(text);
      }
      default:
        return Value(std::string(Pick(10) == 0 ? Pick(20000) + 1 : Pick(120) + 1, static_cast<char>('a' + Pick(26))));
    }
  }
  std::vector<Value> AnyRow() {
    std::vector<Value> row{Value(static_cast<std::int32_t>(Pick(2000)))};
    for (std::size_t i = 1; i < columns_.size(); ++i) {
      row.push_back(Any(columns_[i]));
      if (columns_[i] == ColumnType::kBoolean && row.back().IsNull()) row.back() = Value(false);
    }
    return row;
  }

  void Step() {
    const unsigned what = Pick(100);
    if (what < 55)
      Insert();
    else if (what < 75)
      Update();
    else if (what < 90)
      Delete();
    else if (what < 93)
      Transact();
    else if (what < 96 && database_->TransactionDepth() == 0)
      Reopen();
    else
      ChangeSchema();
  }

  void Insert() {
    for (unsigned i = Pick(20) + 1; i > 0; --i) {
      const auto row = AnyRow();
      const int key = row[0].AsLong();
      const auto code = CodeOf([&] { T().Insert(row); });
      EXPECT_EQ(code.has_value(), rows_.count(key) != 0);
      if (!code) rows_[key] = row;
    }
  }

  std::optional<RowId> Find(int key) {
    const Value value(key);
    return T().Seek(T().PrimaryKey().value(), std::span(&value, 1));
  }

  void Update() {
    if (rows_.empty()) return;
    auto chosen = std::next(rows_.begin(), Pick(static_cast<unsigned>(rows_.size())));
    const auto id = Find(chosen->first);
    ASSERT_TRUE(id.has_value());
    auto row = AnyRow();
    if (Pick(2) == 0) row[0] = chosen->second[0];
    const int key = row[0].AsLong();
    const bool duplicate = key != chosen->first && rows_.count(key) != 0;
    EXPECT_EQ(CodeOf([&] { T().Update(*id, row); }).has_value(), duplicate);
    if (duplicate) return;
    rows_.erase(chosen);
    rows_[key] = row;
  }

  void Delete() {
    for (unsigned i = Pick(10) + 1; i > 0 && !rows_.empty(); --i) {
      const auto chosen = std::next(rows_.begin(), Pick(static_cast<unsigned>(rows_.size())));
      const auto id = Find(chosen->first);
      ASSERT_TRUE(id.has_value());
      T().Delete(*id);
      rows_.erase(chosen);
    }
  }

  void Transact() {
    if (database_->TransactionDepth() > 0 && Pick(2) == 0) {
      if (Pick(2) == 0) {
        database_->Commit();
      } else {
        database_->Rollback();
        rows_ = saved_.back().first;
        columns_ = saved_.back().second;
      }
      saved_.pop_back();
      return;
    }
    if (database_->TransactionDepth() >= 3) return;
    database_->Begin();
    saved_.emplace_back(rows_, columns_);
  }

  void Reopen() {
    database_.reset();
    database_ = world_.Open();
  }

  void ChangeSchema() {
    const unsigned what = Pick(4);
    if (what == 0 && columns_.size() < 12) {
      static constexpr ColumnType kTypes[] = {ColumnType::kLong, ColumnType::kDouble, ColumnType::kBoolean, ColumnType::kText,
                                              ColumnType::kMemo};
      const ColumnType type = kTypes[Pick(5)];
      if (CodeOf([&] { database_->AddColumn("T", Column("X" + std::to_string(next_++), type, 60)); })) return;
      columns_.push_back(type);
      for (auto& [key, row] : rows_) row.push_back(type == ColumnType::kBoolean ? Value(false) : Value());
    } else if (what == 1 && columns_.size() > 2) {
      const std::size_t position = 1 + Pick(static_cast<unsigned>(columns_.size() - 1));
      const std::string name = T().Columns()[position].name;
      if (CodeOf([&] { database_->DropColumn("T", name); })) return;  // an index uses it
      columns_.erase(columns_.begin() + static_cast<std::ptrdiff_t>(position));
      for (auto& [key, row] : rows_) row.erase(row.begin() + static_cast<std::ptrdiff_t>(position));
    } else if (what == 2 && T().Indexes().size() < 6) {
      IndexSpec index = Index("I" + std::to_string(next_++), {T().Columns()[Pick(static_cast<unsigned>(columns_.size()))].name});
      index.columns[0].descending = Pick(2) == 0;
      index.ignoreNulls = Pick(2) == 0;
      database_->CreateIndex("T", index);
    } else if (what == 3) {
      const auto& indexes = T().Indexes();
      const auto& chosen = indexes[Pick(static_cast<unsigned>(indexes.size()))];
      if (chosen.kind != IndexKind::kPrimary) database_->DropIndex("T", std::string(chosen.name));
    }
  }

  void Compare(int step) {
    ASSERT_EQ(T().RowCount(), rows_.size()) << step;
    std::size_t seen = 0;
    for (ScanCursor cursor = T().Scan(); cursor.Next(); ++seen) {
      const int key = static_cast<int>(cursor.Current().Integer(0));
      const auto expected = rows_.find(key);
      ASSERT_NE(expected, rows_.end()) << step;
      for (std::size_t i = 0; i < columns_.size(); ++i) ASSERT_EQ(cursor.Current().Get(i), expected->second[i]) << step << " column " << i;
    }
    ASSERT_EQ(seen, rows_.size()) << step;
    ASSERT_EQ(Findings(*database_), "") << step;
  }

  World world_;
  std::mt19937 random_;
  std::unique_ptr<Database> database_;
  std::vector<ColumnType> columns_;
  std::map<int, std::vector<Value>> rows_;
  std::vector<std::pair<std::map<int, std::vector<Value>>, std::vector<ColumnType>>> saved_;
  int next_ = 1;
};

class KeyHistoryTest : public testing::TestWithParam<unsigned> {};

TEST_P(KeyHistoryTest, FollowsThePlainModel) {
  SCOPED_TRACE("TAMLO_GRAINE=" + std::to_string(GetParam()));
  KeyHistory(GetParam()).Run(400);
}

INSTANTIATE_TEST_SUITE_P(Seeds, KeyHistoryTest, testing::ValuesIn(Seeds()));

}  // namespace
}  // namespace jet::tests
