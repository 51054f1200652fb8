#include "tests/cli/Command.h"

#include <sys/wait.h>

#include <cstdlib>
#include <fstream>
#include <iterator>

namespace tamlo::tests {
namespace {

std::string Content(const std::string& path) {
  std::ifstream file(path, std::ios::binary);
  return {std::istreambuf_iterator<char>(file), {}};
}

}  // namespace

std::string Word(const std::string& text) {
  std::string word = "'";
  for (const char c : text) word += c == '\'' ? std::string("'\\''") : std::string(1, c);
  return word + "'";
}

Ran RunLine(const TemporaryFolder& folder, const std::string& line, const std::string& input) {
  std::ofstream(folder.File("in"), std::ios::binary) << input;
  const std::string whole = "cd " + Word(folder.Path().string()) + " && " + line + " <" + Word(folder.File("in")) + " >" +
                            Word(folder.File("out")) + " 2>" + Word(folder.File("err"));
  const int status = std::system(whole.c_str());
  return {WIFEXITED(status) ? WEXITSTATUS(status) : -1, Content(folder.File("out")), Content(folder.File("err"))};
}

Ran TamloDb(const TemporaryFolder& folder, const std::vector<std::string>& arguments, const std::string& environment) {
  // Without a terminal: what it would ask there is not for whoever runs the tests.
  std::string line = "setsid -w env " + environment + " " + Word(TAMLO_DB);
  for (const auto& argument : arguments) line += ' ' + Word(argument);
  return RunLine(folder, line);
}

}  // namespace tamlo::tests
