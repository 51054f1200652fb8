// tamlo-db: whole databases, from a shell.
#include <CLI/App.hpp>
#include <algorithm>
#include <cstdio>
#include <exception>
#include <string>
#include <utility>
#include <vector>

#include "cli/Commands.h"
#include "cli/System.h"
#include "jet/value/Error.h"
#include "providers/Fournisseurs.h"

namespace {

using tamlo::cli::Failure;
using tamlo::cli::Status;

int End(Status status, const std::string& text) {
  // In one piece: a terminal may be shared.
  std::fputs(("tamlo-db: " + text + '\n').c_str(), stderr);
  return static_cast<int>(status);
}

/// The words from the last to the first, the program's own name left off.
int Run(std::vector<std::string> words) {
  tamlo::providers::EnregistreFournisseurs();
  Status status = Status::kDone;
  CLI::App app("", "tamlo-db");
  tamlo::cli::AddCommands(app, status);
  try {
    app.parse(std::move(words));
  } catch (const CLI::ParseError& error) {
    return app.exit(error) == 0 ? 0 : static_cast<int>(Status::kUsage);
  }
  return static_cast<int>(status);
}

}  // namespace

int main(int argc, char** argv) {
  const tamlo::cli::Streams streams;
  try {
    auto words = tamlo::cli::Words(argc, argv);
    std::reverse(words.begin(), words.end());
    if (!words.empty()) words.pop_back();
    return Run(std::move(words));
  } catch (const Failure& failure) {
    return End(failure.With(), failure.what());
  } catch (const jet::Error& error) {
    return End(Status::kFailed, error.what());
  } catch (const std::exception& error) {
    return End(Status::kFailed, error.what());
  }
}
