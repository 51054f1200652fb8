// check, compact, backup: what keeps Access files in order.
#include <memory>

#include "cli/Commands.h"
#include "cli/Messages.h"
#include "cli/Output.h"
#include "cli/Source.h"

namespace tamlo::cli {
namespace {

struct Asked {
  std::string database;
  std::string target;
};

Status Check(const Asked& asked) {
  const auto file = OpenFile(asked.database);
  const auto findings = file->Check();
  Output output;
  for (const auto& finding : findings)
    output.Text() += "page " + std::to_string(finding.page) + ", offset " + std::to_string(finding.offset) + ": " + finding.text + '\n';
  output.Text() +=
      findings.empty() ? Say(Said::kSound, {asked.database}) : Say(Said::kFindings, {asked.database, std::to_string(findings.size())});
  output.Text() += '\n';
  output.Close();
  return findings.empty() ? Status::kDone : Status::kDifferences;
}

CLI::App* AddTwoFiles(CLI::App& app, const char* name, Said about, const std::shared_ptr<Asked>& asked) {
  CLI::App* command = app.add_subcommand(name, Say(about));
  command->add_option("DB", asked->database, Say(Said::kDatabase))->required();
  command->add_option("NEW", asked->target, Say(Said::kNewFile))->required();
  return command;
}

}  // namespace

void AddUpkeep(CLI::App& app, Status& status) {
  const auto asked = std::make_shared<Asked>();
  CLI::App* check = app.add_subcommand("check", Say(Said::kCheck));
  check->add_option("DB", asked->database, Say(Said::kDatabase))->required();
  check->callback([asked, &status] { status = Check(*asked); });
  AddTwoFiles(app, "compact", Said::kCompact, asked)->callback([asked] { OpenFile(asked->database)->Compact(asked->target); });
  AddTwoFiles(app, "backup", Said::kBackup, asked)->callback([asked] { OpenFile(asked->database)->Backup(asked->target); });
}

}  // namespace tamlo::cli
