// assess: what a move would lose, before it.
#include <CLI/Option.hpp>
#include <memory>

#include "cli/Assessment.h"
#include "cli/Commands.h"
#include "cli/Messages.h"
#include "cli/Output.h"
#include "cli/Source.h"

namespace tamlo::cli {
namespace {

struct Asked {
  std::string database;
  std::string to;
  std::string report;
  std::shared_ptr<Login> login;
};

Status Run(const Asked& asked) {
  const bool html = asked.report.ends_with(".html");
  if (!asked.report.empty() && !html && !asked.report.ends_with(".json"))
    throw Failure(Status::kUsage, Say(Said::kUnknownReport, {asked.report}));
  Opened opened = Open(asked.database, *asked.login);
  Assessment assessment = Assess(opened, *schema::FindDialect(asked.to));
  assessment.source = opened.address.shown;
  if (!asked.report.empty()) {
    Output report(asked.report);
    report.Text() = html ? AsHtml(assessment) : AsJson(assessment);
    report.Close();
  }
  Output output;
  output.Text() = AsText(assessment);
  output.Close();
  return assessment.LosesNothing() ? Status::kDone : Status::kDifferences;
}

}  // namespace

void AddAssess(CLI::App& app, Status& status) {
  const auto asked = std::make_shared<Asked>();
  CLI::App* command = app.add_subcommand("assess", Say(Said::kAssess));
  command->add_option("DB", asked->database, Say(Said::kDatabase))->required();
  asked->login = AddLogin(*command);
  command->add_option("--to", asked->to, Say(Said::kTarget))->required()->check(EngineName());
  command->add_option("--report", asked->report, Say(Said::kReportFile));
  command->callback([asked, &status] { status = Run(*asked); });
}

}  // namespace tamlo::cli
