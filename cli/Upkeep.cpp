// check, compact, backup: what keeps Access files in order.
#include <memory>

#include "cli/Commands.h"
#include "cli/Damage.h"
#include "cli/JsonText.h"
#include "cli/Messages.h"
#include "cli/Output.h"
#include "cli/Protection.h"
#include "cli/Source.h"
#include "move/Json.h"

namespace tamlo::cli {
namespace {

struct Asked {
  std::string database;
  std::string target;
  std::string report;
  std::shared_ptr<Login> login = std::make_shared<Login>();
  NewProtection protection;
};

std::string FindingObject(const jet::Finding& finding) {
  std::string object = JsonObject({"key", DamageKey(finding.text), "text", DamageText(finding.text)});
  object.pop_back();
  return object + ", \"page\": " + std::to_string(finding.page) + ", \"offset\": " + std::to_string(finding.offset) + "}";
}

std::string ReportText(const Asked& asked, const std::vector<jet::Finding>& findings) {
  std::vector<std::string> objects;
  for (const auto& finding : findings) objects.push_back(FindingObject(finding));
  std::string text = "{\n  \"file\": ";
  move::AppendJson(text, asked.database);
  text += std::string(",\n  \"sound\": ") + (findings.empty() ? "true" : "false") + ",\n  ";
  AppendJsonList(text, "findings", objects);
  return text + "\n}\n";
}

Status Check(const Asked& asked) {
  const auto file = OpenFile(asked.database, false, *asked.login);
  const auto findings = file->Check();
  if (!asked.report.empty()) WriteReportFile(asked.report, ReportText(asked, findings));
  Output output;
  for (const auto& finding : findings) {
    const std::string place = Say(Said::kPageAndOffset, {std::to_string(finding.page), std::to_string(finding.offset)});
    output.Text() += OneLine(Say(Said::kPlaced, {place, DamageText(finding.text)})) + '\n';
  }
  output.Text() +=
      findings.empty() ? Say(Said::kSound, {asked.database}) : Say(Said::kFindings, {asked.database, std::to_string(findings.size())});
  output.Text() += '\n';
  output.Close();
  return findings.empty() ? Status::kDone : Status::kDifferences;
}

void Compact(const Asked& asked) {
  const auto file = OpenFile(asked.database, false, *asked.login);
  jet::Protection protection = asked.protection.Get(AddressOf(asked.database));
  if (!protection.password) return file->Compact(asked.target, protection);
  const runtime::WipedAtEnd wipe(*protection.password);
  file->Compact(asked.target, protection);
}

CLI::App* AddTwoFiles(CLI::App& app, const char* name, Said about, const std::shared_ptr<Asked>& asked) {
  CLI::App* command = app.add_subcommand(name, Say(about));
  command->add_option("DB", asked->database, Say(Said::kDatabase))->required();
  command->add_option("NEW", asked->target, Say(Said::kNewFile))->required();
  AddLogin(*command, asked->login);
  return command;
}

}  // namespace

void AddUpkeep(CLI::App& app, Status& status) {
  const auto asked = std::make_shared<Asked>();
  CLI::App* check = app.add_subcommand("check", Say(Said::kCheck));
  check->add_option("DB", asked->database, Say(Said::kDatabase))->required();
  check->add_option("--report", asked->report, Say(Said::kCheckReport));
  AddLogin(*check, asked->login);
  check->callback([asked, &status] { status = Check(*asked); });
  CLI::App* compact = AddTwoFiles(app, "compact", Said::kCompact, asked);
  asked->protection.AddTo(*compact);
  compact->callback([asked] { Compact(*asked); });
  AddTwoFiles(app, "backup", Said::kBackup, asked)->callback([asked] {
    OpenFile(asked->database, false, *asked->login)->Backup(asked->target);
  });
}

}  // namespace tamlo::cli
