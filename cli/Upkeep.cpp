// check, compact, backup: what keeps Access files in order.
#include <CLI/App.hpp>
#include <CLI/Option.hpp>
#include <CLI/Validators.hpp>
#include <cstdio>
#include <memory>
#include <optional>

#include "cli/Commands.h"
#include "cli/Damage.h"
#include "cli/JsonText.h"
#include "cli/Messages.h"
#include "cli/Output.h"
#include "cli/Protection.h"
#include "cli/Source.h"
#include "move/Json.h"
#include "jet/VersionLoss.h"

namespace tamlo::cli {
namespace {

struct Asked {
  std::string database;
  std::string target;
  std::string report;
  std::string version;  ///< of the file that compact makes: 97, 2000 or 2003; empty: that of its source
  bool dryRun = false;
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

Said HowLost(jet::VersionLoss::Kind kind) {
  using Kind = jet::VersionLoss::Kind;
  switch (kind) {
    case Kind::kObject:
      return Said::kLostObject;
    case Kind::kDecimal:
      return Said::kLostDecimal;
    case Kind::kGuidCounter:
      return Said::kLostGuidCounter;
    case Kind::kLongBinary:
      return Said::kLostLongBinary;
    case Kind::kName:
      return Said::kLostName;
    case Kind::kText:
      break;
  }
  return Said::kLostText;
}

/// Says what the version cannot hold, before anything is written; true when there is something.
bool TellLosses(jet::Database& file, int version) {
  const auto losses = jet::LossesIn(file, version);
  for (const auto& loss : losses) {
    const std::string what = loss.column.empty() ? loss.object : loss.object + '.' + loss.column;
    std::fprintf(stderr, "tamlo-db: %s\n", OneLine(Say(HowLost(loss.kind), {what, std::to_string(loss.values)})).c_str());
  }
  return !losses.empty();
}

Status Compact(const Asked& asked) {
  const auto file = OpenFile(asked.database, false, *asked.login);
  std::optional<int> version;
  if (!asked.version.empty()) version = asked.version == "97" ? 3 : 4;
  if (!version && file->VersionOfCopy() != file->FormatVersion())
    std::fprintf(stderr, "tamlo-db: %s\n", Say(Said::kBecomesAccess2000).c_str());
  const bool losses = version && TellLosses(*file, *version);
  const Status status = losses ? Status::kDifferences : Status::kDone;
  if (asked.dryRun) return status;
  jet::Protection protection = asked.protection.Get(AddressOf(asked.database));
  std::string none;
  const runtime::WipedAtEnd wipe(protection.password ? *protection.password : none);
  file->Compact(asked.target, protection, version);
  return status;
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
  compact->add_option("--to", asked->version, Say(Said::kToVersion))->check(CLI::IsMember({"97", "2000", "2003"}));
  compact->add_flag("--dry-run", asked->dryRun, Say(Said::kCompactDryRun))->needs("--to");
  compact->callback([asked, &status] { status = Compact(*asked); });
  AddTwoFiles(app, "backup", Said::kBackup, asked)->callback([asked] {
    OpenFile(asked->database, false, *asked->login)->Backup(asked->target);
  });
}

}  // namespace tamlo::cli
