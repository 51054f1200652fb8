// diagram: tables and relations as a picture.
#include <CLI/Option.hpp>
#include <memory>

#include "cli/Commands.h"
#include "cli/Diagram.h"
#include "cli/Messages.h"
#include "cli/Output.h"
#include "cli/ServerRows.h"
#include "cli/Source.h"

namespace tamlo::cli {
namespace {

struct Asked {
  std::string database;
  std::string picture;
  std::shared_ptr<Login> login;
};

void Run(const Asked& asked) {
  const bool svg = asked.picture.ends_with(".svg");
  const bool mermaid = asked.picture.ends_with(".mmd");
  if (!svg && !mermaid && !asked.picture.ends_with(".dot")) throw Failure(Status::kUsage, Say(Said::kUnknownPicture, {asked.picture}));
  const schema::Database database = ReadStructure(Open(asked.database, *asked.login), {.values = false, .counts = false});
  Output output(asked.picture);
  output.Text() = mermaid ? MermaidOf(database) : DotOf(database);
  if (svg) output.Text() = SvgOf(output.Text());
  output.Close();
}

}  // namespace

void AddDiagram(CLI::App& app, Status&) {
  const auto asked = std::make_shared<Asked>();
  CLI::App* command = app.add_subcommand("diagram", Say(Said::kDiagram));
  command->add_option("DB", asked->database, Say(Said::kDatabase))->required();
  command->add_option("-o,--output", asked->picture, Say(Said::kPicture))->required();
  asked->login = AddLogin(*command);
  command->callback([asked] { Run(*asked); });
}

}  // namespace tamlo::cli
