// password: the database password of an Access file, set, changed or taken away in place.
#include <memory>

#include "cli/Commands.h"
#include "cli/Messages.h"
#include "cli/Protection.h"
#include "cli/Source.h"

namespace tamlo::cli {
namespace {

struct Asked {
  std::string database;
  std::shared_ptr<Login> login;
  NewPassword password;
};

void Run(const Asked& asked) {
  const auto file = OpenFile(asked.database, true, *asked.login);
  file->SetPassword(asked.password.Get(AddressOf(asked.database)).text);
}

}  // namespace

void AddPassword(CLI::App& app, Status&) {
  const auto asked = std::make_shared<Asked>();
  CLI::App* command = app.add_subcommand("password", Say(Said::kPassword));
  command->add_option("DB", asked->database, Say(Said::kDatabase))->required();
  asked->login = AddLogin(*command);
  asked->password.AddTo(*command);
  command->callback([asked] { Run(*asked); });
}

}  // namespace tamlo::cli
