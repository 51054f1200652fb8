// Writes what is installed beside tamlo-db, at build time: tamlo-db-pages man|bash|zsh|fish FILE.
#include <cstdio>
#include <fstream>
#include <string>

#include "cli/Commands.h"
#include "cli/pages/Facts.h"

int main(int argc, char** argv) {
  namespace pages = tamlo::cli::pages;
  CLI::App app("", "tamlo-db");
  auto status = tamlo::cli::Status::kDone;
  tamlo::cli::AddCommands(app, status);
  const auto commands = pages::FactsOf(app);
  const std::string what = argc == 3 ? argv[1] : "";
  std::string text;
  if (what == "man") text = pages::ManPage(commands);
  if (what == "bash") text = pages::BashCompletion(commands);
  if (what == "zsh") text = pages::ZshCompletion(commands);
  if (what == "fish") text = pages::FishCompletion(commands);
  if (text.empty()) {
    std::fputs("tamlo-db-pages man|bash|zsh|fish FILE\n", stderr);
    return 2;
  }
  std::ofstream file(argv[2], std::ios::binary);
  file << text;
  file.close();
  return file ? 0 : 4;
}
