#include "tests/jet/sharing/Turns.h"

#include <cstdio>
#include <filesystem>
#include <fstream>
#include <random>
#include <stdexcept>
#include <utility>
#include <vector>

#include "jet/Database.h"
#include "jet/table/Table.h"

namespace jet::tests {
namespace {

constexpr int kParts = 3;
constexpr int kTurnsBetweenLooks = 8;

ColumnDef Column(const char* name, ColumnType type, std::uint16_t size = 0) {
  ColumnDef column;
  column.name = name;
  column.type = type;
  column.size = size;
  return column;
}

IndexSpec Index(const char* name, const char* column) {
  IndexSpec index;
  index.name = name;
  index.columns = {{column, false}};
  return index;
}

class Player {
 public:
  explicit Player(const Taker& taker) : taker_(taker), database_(Database::Open(taker.path)), random_(taker.seed), report_(taker.report) {}

  void Play() {
    for (int turns = 0; turns < taker_.most && !std::filesystem::exists(taker_.stop); ++turns) {
      TakeTurn();
      if (random_() % kTurnsBetweenLooks == 0) Look();
    }
  }

 private:
  void TakeTurn() {
    Transaction transaction(*database_);
    database_->BeginChanges();
    const int turn = Advance();
    const int gone = !mine_.empty() && random_() % 3 == 0 ? TakeBack() : 0;
    const std::vector<Value> entry{Value(std::int32_t{turn}), Value(taker_.who), Value(std::int32_t{gone})};
    database_->OpenTable("TurnsLog").Insert(std::span<const Value>(entry));
    for (int part = 0; part < kParts; ++part) {
      const std::vector<Value> line{Value(), Value(std::int32_t{turn}), Value(std::int32_t{part}), Value(NoteOf(turn, part))};
      database_->OpenTable("TurnsLines").Insert(std::span<const Value>(line));
    }
    transaction.Commit();
    // From here on whoever reads the file must find it.
    report_ << turn << ' ' << gone << std::endl;
    mine_.push_back(turn);
  }

  int Advance() {
    Table& last = database_->OpenTable("TurnsLast");
    ScanCursor scan = last.Scan();
    if (!scan.Next()) throw std::runtime_error("the number of the last turn is gone");
    const Value next(static_cast<std::int32_t>(scan.Current().Integer(0)) + 1);
    const Assignment assignment[] = {{0, &next, nullptr}};
    last.Update(scan.Id(), assignment);
    return static_cast<int>(next.AsLong());
  }

  /// Deletes the lines of an earlier turn of ours.
  int TakeBack() {
    const std::size_t chosen = random_() % mine_.size();
    const int turn = std::exchange(mine_[chosen], mine_.back());
    mine_.pop_back();
    Table& lines = database_->OpenTable("TurnsLines");
    const std::size_t index = lines.FindIndex("Turn").value();
    const std::vector<Value> key{Value(std::int32_t{turn})};
    for (int part = 0; part < kParts; ++part) {
      const auto line = lines.Seek(index, key);
      if (!line) throw std::runtime_error("a line of turn " + std::to_string(turn) + " is gone");
      lines.Delete(*line);
    }
    return turn;
  }

  void Look() {
    const Database::ReadScope scope(*database_);
    int turns = 0;
    for (ScanCursor scan = database_->OpenTable("TurnsLog").Scan(); scan.Next();) ++turns;
    ScanCursor last = database_->OpenTable("TurnsLast").Scan();
    if (!last.Next() || last.Current().Integer(0) != turns) {
      throw std::runtime_error("a log of " + std::to_string(turns) + " turns, and the last one is another");
    }
  }

  const Taker& taker_;
  std::unique_ptr<Database> database_;
  std::mt19937 random_;
  std::ofstream report_;
  std::vector<int> mine_;  // those whose lines are there
};

}  // namespace

std::string NoteOf(int turn, int part) {
  static constexpr int kLengths[] = {0, 20, 300, 40, 5000, 3, 9000};
  return std::to_string(turn) + ":" + std::to_string(part) + ":" + std::string(static_cast<std::size_t>(kLengths[(turn + part) % 7]), 'n');
}

void AddTurns(const std::string& path) {
  const auto database = Database::Open(path);
  TableSpec last;
  last.name = "TurnsLast";
  last.columns = {Column("N", ColumnType::kLong)};
  const std::vector<Value> none{Value(std::int32_t{0})};
  database->CreateTable(last).Insert(std::span<const Value>(none));
  TableSpec log;
  log.name = "TurnsLog";
  log.columns = {Column("Turn", ColumnType::kLong), Column("Who", ColumnType::kText, 40), Column("Gone", ColumnType::kLong)};
  log.indexes = {Index("Turn", "Turn"), Index("Who", "Who")};
  database->CreateTable(log);
  TableSpec lines;
  lines.name = "TurnsLines";
  lines.columns = {Column("Id", ColumnType::kLong), Column("Turn", ColumnType::kLong), Column("Part", ColumnType::kLong),
                   Column("Note", ColumnType::kMemo)};
  lines.columns[0].autoNumber = true;
  lines.indexes = {Index("PrimaryKey", "Id"), Index("Turn", "Turn")};
  lines.indexes[0].primary = true;
  database->CreateTable(lines);
}

void MakeTurns(const std::string& path) {
  (void)Database::Create(path);
  AddTurns(path);
}

void TakeTurns(const Taker& taker) { Player(taker).Play(); }

}  // namespace jet::tests
