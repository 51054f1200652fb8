// Writes what is installed beside tamlo-db, at build time: tamlo-db-pages man|bash|zsh|fish FILE.
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <string>
#include <vector>

#include "cli/Commands.h"
#include "cli/pages/Facts.h"

namespace pages = tamlo::cli::pages;

namespace {

/// In the language of the environment.
std::vector<pages::CommandFacts> Commands() {
  CLI::App app("", "tamlo-db");
  auto status = tamlo::cli::Status::kDone;
  tamlo::cli::AddCommands(app, status);
  return pages::FactsOf(app);
}

std::vector<pages::CommandFacts> CommandsIn(const char* language) {
  setenv("LC_ALL", language, 1);
  return Commands();
}

}  // namespace

int main(int argc, char** argv) {
  const std::string what = argc == 3 ? argv[1] : "";
  std::string text;
  if (what == "man") text = pages::ManPage(Commands());
  if (what == "bash") text = pages::BashCompletion(Commands());
  if (what == "zsh" || what == "fish") {
    const auto english = CommandsIn("C");
    const auto french = CommandsIn("fr_FR.UTF-8");
    text = what == "zsh" ? pages::ZshCompletion(english, french) : pages::FishCompletion(english, french);
  }
  if (text.empty()) {
    std::fputs("tamlo-db-pages man|bash|zsh|fish FILE\n", stderr);
    return 2;
  }
  std::ofstream file(argv[2], std::ios::binary);
  file << text;
  file.close();
  return file ? 0 : 4;
}
