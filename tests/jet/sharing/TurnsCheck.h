#pragma once

#include <map>
#include <string>
#include <utility>
#include <vector>

namespace jet::tests {

/// All rows of a file of turns, sorted, as texts "a|b|c".
struct TurnsRead {
  std::string last;
  std::vector<std::string> log;
  std::vector<std::string> lines;
  bool operator==(const TurnsRead&) const = default;
};

/// By the engine; it must be possible to open the file.
[[nodiscard]] TurnsRead ReadTurns(const std::string& path);
/// By `mdb-export`, which shares no code with the engine.
[[nodiscard]] TurnsRead ReadTurnsWithMdbtools(const std::string& path);

/// What one taker has told of itself.
struct Told {
  std::vector<std::pair<int, int>> turns;  ///< turn, gone
  int untold = 0;                          ///< so many turns more of it may be there: one for a killed taker
};
/// The whole lines of a report; a last one that is cut off was not told.
[[nodiscard]] Told ReadReport(const std::string& path, int untold);

/// Fails the running test for every turn that was told and is not there, that is there twice or in part, or that nobody has taken.
void ExpectWhole(const TurnsRead& turns, const std::map<std::string, Told>& takers);
/// Fails the running test unless the file is sound by the engine's check and by the independent one, and mdbtools reads it as the engine
/// does. Gives what they read. original: the file was not made by the engine, and the independent check allows what this one had.
TurnsRead ExpectSound(const std::string& path, const std::string& original = {});

}  // namespace jet::tests
