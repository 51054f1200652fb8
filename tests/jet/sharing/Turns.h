#pragma once

#include <cstdint>
#include <string>

namespace jet::tests {

/// A file that any number of programs write at once so that every loss is seen afterwards. A transaction takes the next turn: it
///   - reads the one row of "TurnsLast" (N) and writes N + 1 there, its turn;
///   - puts one row into "TurnsLog": Turn, Who, Gone, the last one being an earlier turn of its own that it takes back, or 0;
///   - puts three rows into "TurnsLines": Turn, Part (0 to 2), Note as NoteOf says; and deletes the three of the turn that it takes back.
/// No index forbids a turn that comes twice: two who wrote at the same time are seen and not refused.
void MakeTurns(const std::string& path);
/// Puts the tables into a database that is there.
void AddTurns(const std::string& path);

/// What the memo of a line holds: short ones, and some that need pages of their own.
[[nodiscard]] std::string NoteOf(int turn, int part);

struct Taker {
  std::string path;  ///< the file
  std::string who;   ///< written into the log; no two takers have the same
  std::uint32_t seed = 0;
  std::string report;  ///< gets a line "turn gone" after the commit of each turn
  std::string stop;    ///< takes turns until a file of this name is there,
  int most = 1 << 30;  ///< or until it has had so many
};

/// Takes turns until it is told to stop, looking now and then whether all that was committed is there.
/// Errors: jet::Error, none of which is allowed here; std::runtime_error for a log that is not whole.
void TakeTurns(const Taker& taker);

}  // namespace jet::tests
