#include "tests/jet/sharing/TurnsCheck.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <memory>
#include <set>
#include <sstream>

#include "jet/Database.h"
#include "jet/table/Table.h"
#include "tests/jet/sharing/Turns.h"

namespace jet::tests {
namespace {

constexpr int kParts = 3;

std::vector<std::string> RowsOf(Database& database, const char* name) {
  std::vector<std::string> rows;
  Table& table = database.OpenTable(name);
  for (ScanCursor scan = table.Scan(); scan.Next();) {
    std::string text;
    for (std::size_t i = 0; i < table.Columns().size(); ++i) {
      const ColumnType type = table.Columns()[i].type;
      const bool words = type == ColumnType::kText || type == ColumnType::kMemo;
      text += (i > 0 ? "|" : "") + (words ? std::string(scan.Current().Text(i)) : std::to_string(scan.Current().Integer(i)));
    }
    rows.push_back(std::move(text));
  }
  std::sort(rows.begin(), rows.end());
  return rows;
}

std::vector<std::string> ExportedRows(const std::string& path, const std::string& table) {
  const std::string command = "timeout 120 mdb-export -H -Q -d '|' '" + path + "' " + table;
  const std::unique_ptr<FILE, int (*)(FILE*)> out(popen(command.c_str(), "r"), pclose);
  std::string text;
  std::array<char, 65536> buffer{};
  while (const std::size_t got = std::fread(buffer.data(), 1, buffer.size(), out.get())) text.append(buffer.data(), got);
  std::vector<std::string> rows;
  std::istringstream in(text);
  for (std::string row; std::getline(in, row);) rows.push_back(row);
  std::sort(rows.begin(), rows.end());
  return rows;
}

std::vector<std::string> Fields(const std::string& row) {
  std::vector<std::string> fields;
  std::istringstream in(row);
  for (std::string field; std::getline(in, field, '|');) fields.push_back(field);
  return fields;
}

struct Entry {
  std::string who;
  int gone = 0;
};

/// Turn 1 to the last one, each once.
std::map<int, Entry> JudgeLog(const TurnsRead& turns) {
  std::map<int, Entry> log;
  for (const std::string& row : turns.log) {
    const auto fields = Fields(row);
    if (fields.size() != 3) {
      ADD_FAILURE() << "a row of the log reads " << row;
      continue;
    }
    const int turn = std::atoi(fields[0].c_str());
    if (!log.emplace(turn, Entry{fields[1], std::atoi(fields[2].c_str())}).second) ADD_FAILURE() << "turn " << turn << " was taken twice";
  }
  EXPECT_EQ(turns.last, std::to_string(log.size())) << "the number of the last turn";
  for (int turn = 1; turn <= static_cast<int>(log.size()); ++turn) {
    if (log.count(turn) == 0) ADD_FAILURE() << "turn " << turn << " is lost";
  }
  return log;
}

std::set<int> JudgeGone(const std::map<int, Entry>& log) {
  std::set<int> gone;
  for (const auto& [turn, entry] : log) {
    if (entry.gone == 0) continue;
    EXPECT_TRUE(gone.insert(entry.gone).second) << "turn " << entry.gone << " was taken back twice";
    const auto earlier = log.find(entry.gone);
    EXPECT_TRUE(earlier != log.end() && entry.gone < turn && earlier->second.who == entry.who) << "turn " << turn << " took another's back";
  }
  return gone;
}

void JudgeLines(const TurnsRead& turns, int last, const std::set<int>& gone) {
  std::set<std::string> ids;
  std::map<std::pair<int, int>, int> parts;
  for (const std::string& row : turns.lines) {
    const auto fields = Fields(row);
    if (fields.size() != 4) {
      ADD_FAILURE() << "a line reads " << row.substr(0, 60);
      continue;
    }
    EXPECT_TRUE(ids.insert(fields[0]).second) << "the counter gave " << fields[0] << " twice";
    const int turn = std::atoi(fields[1].c_str());
    const int part = std::atoi(fields[2].c_str());
    ++parts[{turn, part}];
    EXPECT_EQ(fields[3], NoteOf(turn, part));
  }
  for (int turn = 1; turn <= last; ++turn) {
    for (int part = 0; part < kParts; ++part) {
      const auto found = parts.find({turn, part});
      EXPECT_EQ(found == parts.end() ? 0 : found->second, gone.count(turn) != 0 ? 0 : 1) << "line " << part << " of turn " << turn;
      if (found != parts.end()) parts.erase(found);
    }
  }
  for (const auto& [key, count] : parts)
    ADD_FAILURE() << count << " lines " << key.second << " of turn " << key.first << ", which nobody took";
}

}  // namespace

TurnsRead ReadTurns(const std::string& path) {
  const auto database = Database::Open(path);
  const auto last = RowsOf(*database, "TurnsLast");
  return {last.size() == 1 ? last[0] : std::to_string(last.size()) + " rows", RowsOf(*database, "TurnsLog"),
          RowsOf(*database, "TurnsLines")};
}

TurnsRead ReadTurnsWithMdbtools(const std::string& path) {
  const auto last = ExportedRows(path, "TurnsLast");
  return {last.size() == 1 ? last[0] : std::to_string(last.size()) + " rows", ExportedRows(path, "TurnsLog"),
          ExportedRows(path, "TurnsLines")};
}

Told ReadReport(const std::string& path, int untold) {
  Told told;
  told.untold = untold;
  std::ifstream in(path);
  for (std::string line; std::getline(in, line) && !in.eof();) {
    std::istringstream words(line);
    std::pair<int, int> turn;
    if (words >> turn.first >> turn.second) told.turns.push_back(turn);
  }
  return told;
}

void ExpectWhole(const TurnsRead& turns, const std::map<std::string, Told>& takers) {
  const std::map<int, Entry> log = JudgeLog(turns);
  std::map<std::string, int> taken;
  for (const auto& [turn, entry] : log) ++taken[entry.who];
  for (const auto& [who, told] : takers) {
    for (const auto& [turn, gone] : told.turns) {
      const auto found = log.find(turn);
      if (found == log.end()) {
        ADD_FAILURE() << "turn " << turn << ", which " << who << " reported, is lost";
        continue;
      }
      EXPECT_EQ(found->second.who, who) << "turn " << turn;
      EXPECT_EQ(found->second.gone, gone) << "turn " << turn;
    }
    const int reported = static_cast<int>(told.turns.size());
    EXPECT_GE(taken[who], reported) << who;
    EXPECT_LE(taken[who], reported + told.untold) << who;
    taken.erase(who);
  }
  for (const auto& [who, count] : taken) ADD_FAILURE() << count << " turns of \"" << who << "\", who is not one of us";
  JudgeLines(turns, static_cast<int>(log.size()), JudgeGone(log));
}

TurnsRead ExpectSound(const std::string& path, const std::string& original) {
  const TurnsRead read = ReadTurns(path);
  {
    const auto database = Database::Open(path);
    for (const Finding& finding : database->Check()) ADD_FAILURE() << "page " << finding.page << ": " << finding.text;
  }
  const std::string origin = original.empty() ? " --made" : " --like '" + original + "'";
  EXPECT_EQ(std::system(("python3 -B " JET_STRICT_CHECK + origin + " '" + path + "'").c_str()), 0);
  EXPECT_TRUE(ReadTurnsWithMdbtools(path) == read) << "mdbtools reads other rows";
  return read;
}

}  // namespace jet::tests
