// tamlo-db: whole databases, from a shell.
#include <CLI/App.hpp>
#include <cstdio>
#include <exception>

#include "cli/Commands.h"
#include "jet/value/Error.h"
#include "providers/Fournisseurs.h"

namespace {

using tamlo::cli::Failure;
using tamlo::cli::Status;

int End(Status status, const std::string& text) {
  std::fprintf(stderr, "tamlo-db: %s\n", text.c_str());
  return static_cast<int>(status);
}

int Run(int argc, char** argv) {
  tamlo::providers::EnregistreFournisseurs();
  Status status = Status::kDone;
  CLI::App app("", "tamlo-db");
  tamlo::cli::AddCommands(app, status);
  try {
    app.parse(argc, argv);
  } catch (const CLI::ParseError& error) {
    return app.exit(error) == 0 ? 0 : static_cast<int>(Status::kUsage);
  }
  return static_cast<int>(status);
}

}  // namespace

int main(int argc, char** argv) {
  try {
    return Run(argc, argv);
  } catch (const Failure& failure) {
    return End(failure.With(), failure.what());
  } catch (const jet::Error& error) {
    return End(Status::kFailed, error.what());
  } catch (const std::exception& error) {
    return End(Status::kFailed, error.what());
  }
}
