// Graphviz's own program, run without a shell in between.
#include <spawn.h>
#include <sys/wait.h>

#include <array>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <memory>
#include <string>

#include "cli/Diagram.h"
#include "cli/Failure.h"
#include "cli/Messages.h"

extern char** environ;

namespace tamlo::cli {
namespace {

using File = std::unique_ptr<std::FILE, int (*)(std::FILE*)>;

/// A file without a name, which is gone when it is closed.
File Nameless(const std::string& text) {
  File file(std::tmpfile(), std::fclose);
  const bool whole = file != nullptr && std::fwrite(text.data(), 1, text.size(), file.get()) == text.size() && std::fflush(file.get()) == 0;
  if (!whole) throw Failure(Status::kFailed, Say(Said::kCannotWrite, {"tmpfile", std::strerror(errno)}));
  std::rewind(file.get());
  return file;
}

/// Its status; 127 when it is not there.
int RunDot(std::FILE* in, std::FILE* out) {
  std::array<char, 4> name{"dot"};
  std::array<char, 6> form{"-Tsvg"};
  const std::array<char*, 3> arguments{name.data(), form.data(), nullptr};
  posix_spawn_file_actions_t streams;
  posix_spawn_file_actions_init(&streams);
  posix_spawn_file_actions_adddup2(&streams, fileno(in), 0);
  posix_spawn_file_actions_adddup2(&streams, fileno(out), 1);
  pid_t child = 0;
  const int failed = posix_spawnp(&child, "dot", &streams, nullptr, arguments.data(), environ);
  posix_spawn_file_actions_destroy(&streams);
  if (failed != 0) return 127;
  int status = 0;
  while (waitpid(child, &status, 0) < 0 && errno == EINTR) {
  }
  return WIFEXITED(status) ? WEXITSTATUS(status) : 1;
}

}  // namespace

std::string SvgOf(const std::string& digraph) {
  const File in = Nameless(digraph);
  const File out = Nameless({});
  const int status = RunDot(in.get(), out.get());
  if (status == 127) throw Failure(Status::kFailed, Say(Said::kNoGraphviz));
  if (status != 0) throw Failure(Status::kFailed, Say(Said::kGraphvizFailed, {std::to_string(status)}));
  std::rewind(out.get());
  std::string svg;
  std::array<char, 65536> piece{};
  for (std::size_t read = 1; read > 0;) svg.append(piece.data(), read = std::fread(piece.data(), 1, piece.size(), out.get()));
  return svg;
}

}  // namespace tamlo::cli
