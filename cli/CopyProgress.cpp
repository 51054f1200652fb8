#include "cli/CopyProgress.h"

#include <algorithm>
#include <cstdio>

#include "cli/Messages.h"

namespace tamlo::cli {
namespace {

constexpr auto kBetweenLines = std::chrono::milliseconds(200);

std::string Whole(double number) { return std::to_string(static_cast<std::int64_t>(number)); }

std::string TimeLeft(const move::Progress& progress, double perSecond) {
  if (perSecond < 1 || progress.ofRows <= static_cast<std::uint64_t>(progress.rows)) return {};
  const auto seconds =
      static_cast<std::int64_t>(static_cast<double>(progress.ofRows - static_cast<std::uint64_t>(progress.rows)) / perSecond);
  const std::string rest = std::to_string(seconds % 60);
  return std::to_string(seconds / 60) + (rest.size() < 2 ? ":0" : ":") + rest;
}

}  // namespace

CopyProgress::CopyProgress(const std::string& form) : bar_(form == "bar"), log_(form == "log") {}

CopyProgress::~CopyProgress() { Clear(); }

void CopyProgress::Clear() {
  if (shown_) std::fputs("\r\033[K", stderr);
  shown_ = false;
}

void CopyProgress::Show(const move::Progress& progress) {
  const auto now = Clock::now();
  const Begun& begun = begun_.try_emplace(progress.place, Begun{progress.rows, now}).first->second;
  const double seconds = std::chrono::duration<double>(now - begun.at).count();
  // Of rows that were there when the table was first heard of nobody knows how long they took.
  const double perSecond = seconds < 1e-3 ? 0 : static_cast<double>(progress.rows - begun.rows) / seconds;
  if (bar_ && (now - last_ >= kBetweenLines || progress.complete)) {
    last_ = now;
    ShowLine(progress, perSecond);
  }
  if (!log_ || !progress.complete) return;
  const std::string rows = std::to_string(progress.rows);
  const std::string said = perSecond < 1 ? Say(Said::kTableCopiedAtOnce, {progress.table, rows})
                                         : Say(Said::kTableCopied, {progress.table, rows, Whole(perSecond)});
  std::fprintf(stderr, "%s\n", said.c_str());
}

void CopyProgress::ShowLine(const move::Progress& progress, double perSecond) {
  std::string line = "[" + std::to_string(progress.place) + "/" + std::to_string(progress.tables) + "] " + progress.table + "  " +
                     std::to_string(progress.rows) + "/" + std::to_string(progress.ofRows) + "  " +
                     Say(Said::kPerSecond, {Whole(perSecond)});
  const std::string left = TimeLeft(progress, perSecond);
  if (!left.empty()) line += "  " + left;
  std::fprintf(stderr, "\r%s\033[K", line.c_str());
  shown_ = true;
}

}  // namespace tamlo::cli
