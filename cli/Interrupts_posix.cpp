#include <fcntl.h>
#include <signal.h>
#include <unistd.h>

#include <array>
#include <atomic>
#include <cerrno>
#include <cstddef>
#include <utility>

#include "cli/Interrupts.h"

namespace tamlo::cli {
namespace {

constexpr std::array kSignals{SIGINT, SIGTERM, SIGHUP, SIGWINCH, SIGCONT};

std::atomic<bool> typed{false};
std::atomic<bool> ending{false};
std::array<int, 2> wakes{-1, -1};
std::array<struct sigaction, kSignals.size()> before;

extern "C" void Note(int signal) {
  const int kept = errno;
  if (signal == SIGINT) typed = true;
  if (signal == SIGTERM || signal == SIGHUP) ending = true;
  const char sign = 0;
  (void)!write(wakes[1], &sign, 1);
  errno = kept;
}

}  // namespace

Interrupts::Interrupts() {
  typed = false;
  ending = false;
  (void)!pipe2(wakes.data(), O_CLOEXEC | O_NONBLOCK);
  struct sigaction action {};
  action.sa_handler = Note;
  // What waits for the terminal is to be woken; what writes or talks to a server is not to be cut short.
  action.sa_flags = SA_RESTART;
  for (std::size_t i = 0; i < kSignals.size(); ++i) sigaction(kSignals[i], &action, &before[i]);
}

Interrupts::~Interrupts() {
  for (std::size_t i = 0; i < kSignals.size(); ++i) sigaction(kSignals[i], &before[i], nullptr);
  for (int& end : wakes) close(std::exchange(end, -1));
}

bool Interrupts::Seen() noexcept { return typed || ending; }
bool Interrupts::Ending() noexcept { return ending; }
void Interrupts::Forget() noexcept { typed = false; }
int Interrupts::Wakes() noexcept { return wakes[0]; }

}  // namespace tamlo::cli
