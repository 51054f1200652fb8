// The tool's own program, started as from a shell without a display: a window would end it.
#include <gtest/gtest.h>
#include <sys/wait.h>

#include <array>
#include <cstdio>
#include <string>

namespace tamlo::tests {
namespace {

struct Ran {
  int status = -1;
  std::string out;  ///< both streams
};

Ran RunTool(const std::string& arguments) {
  const std::string line = "env -u DISPLAY -u WAYLAND_DISPLAY QT_QPA_PLATFORM=xcb " TAMLO_PROGRAM " " + arguments;
  std::FILE* pipe = popen(("{ " + line + "; } 2>&1").c_str(), "r");
  Ran ran;
  std::array<char, 4096> piece{};
  for (std::size_t read = 1; pipe != nullptr && read > 0;)
    ran.out.append(piece.data(), read = std::fread(piece.data(), 1, piece.size(), pipe));
  if (pipe == nullptr) return ran;
  const int status = pclose(pipe);
  ran.status = WIFEXITED(status) ? WEXITSTATUS(status) : -1;
  return ran;
}

TEST(TerminalDuProgramme, HelpAndVersionNeedNoDisplay) {
  const Ran version = RunTool("--version");
  EXPECT_EQ(version.status, 0);
  EXPECT_EQ(version.out.rfind("tamlo ", 0), 0U) << version.out;
  EXPECT_EQ(version.out.find('\n'), version.out.size() - 1) << version.out;
  const Ran help = RunTool("--help");
  EXPECT_EQ(help.status, 0);
  EXPECT_EQ(help.out.rfind("Usage : tamlo ", 0), 0U) << help.out;
}

TEST(TerminalDuProgramme, AnAnswerThatCannotBeWrittenIsAFailure) { EXPECT_EQ(RunTool("--version >/dev/full").status, 1); }

}  // namespace
}  // namespace tamlo::tests
