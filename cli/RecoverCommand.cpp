// recover: what can be read of a damaged Access file, in a new one.
#include <memory>

#include "cli/Commands.h"
#include "cli/Damage.h"
#include "cli/FindingLine.h"
#include "cli/JsonText.h"
#include "cli/Messages.h"
#include "cli/Output.h"
#include "cli/Password.h"
#include "cli/Source.h"
#include "jet/Recoverer.h"
#include "move/Json.h"
#include "runtime/Secret.h"

namespace tamlo::cli {
namespace {

struct Asked {
  std::string file;
  std::string target;
  std::string report;
  std::shared_ptr<Login> login;
};

constexpr std::size_t kMostShown = 100;

/// Where something was lost: "Clients, page 12, row 3".
std::string PlaceOf(const jet::RecoveryLoss& loss, const std::string& file) {
  std::string place = loss.table.empty() ? file : loss.table;
  if (loss.page != 0) place += ", " + Say(Said::kPageOf, {std::to_string(loss.page)});
  if (loss.row >= 0) place += ", " + Say(Said::kRowOnPage, {std::to_string(loss.row + 1)});
  return place;
}

std::string SentenceOf(const jet::RecoveredTable& table) {
  if (!table.saved) return Say(Said::kTableLost, {table.name});
  const std::uint64_t rows = table.lostRows + table.missingRows;
  if (rows == 0 && table.lostValues == 0) return Say(Said::kTableSaved, {table.name, std::to_string(table.rows)});
  return Say(Said::kTableSavedInPart, {table.name, std::to_string(table.rows), std::to_string(rows), std::to_string(table.lostValues)});
}

void Tell(const Asked& asked, const jet::Recovery& recovery) {
  Output output;
  std::string& text = output.Text();
  for (const auto& table : recovery.tables) text += OneLine(SentenceOf(table)) + '\n';
  std::size_t shown = 0;
  for (const auto& loss : recovery.losses) {
    if (shown == kMostShown) {
      text += Say(Said::kMoreLosses, {std::to_string(recovery.losses.size() - shown)}) + '\n';
      break;
    }
    ++shown;
    text += OneLine(Say(Said::kPlaced, {PlaceOf(loss, asked.file), DamageText(loss.text)})) + '\n';
  }
  text += recovery.losses.empty() ? Say(Said::kNothingLost, {asked.file})
                                  : Say(Said::kLost, {asked.file, std::to_string(recovery.losses.size())});
  text += '\n';
  output.Close();
}

std::string TableObject(const jet::RecoveredTable& table) {
  std::string object = JsonObject({"name", table.name});
  object.pop_back();
  object += ", \"page\": " + std::to_string(table.page);
  object += std::string(", \"nameFound\": ") + (table.named ? "true" : "false");
  object += std::string(", \"saved\": ") + (table.saved ? "true" : "false");
  object += ", \"rows\": " + std::to_string(table.rows) + ", \"lostRows\": " + std::to_string(table.lostRows);
  object += ", \"missingRows\": " + std::to_string(table.missingRows) + ", \"lostValues\": " + std::to_string(table.lostValues);
  return object + "}";
}

std::string LossObject(const jet::RecoveryLoss& loss) {
  std::string object = JsonObject({"table", loss.table, "key", DamageKey(loss.text), "text", DamageText(loss.text)});
  object.pop_back();
  if (loss.page != 0) object += ", \"page\": " + std::to_string(loss.page);
  if (loss.row >= 0) object += ", \"row\": " + std::to_string(loss.row + 1);
  return object + "}";
}

std::string ReportText(const Asked& asked, const jet::Recovery& recovery) {
  std::vector<std::string> tables;
  std::vector<std::string> losses;
  for (const auto& table : recovery.tables) tables.push_back(TableObject(table));
  for (const auto& loss : recovery.losses) losses.push_back(LossObject(loss));
  std::string text = "{\n  \"from\": ";
  move::AppendJson(text, asked.file);
  text += ",\n  \"to\": ";
  move::AppendJson(text, asked.target);
  text += std::string(",\n  \"sound\": ") + (recovery.sound ? "true" : "false");
  text += ",\n  \"relations\": " + std::to_string(recovery.relationships) + ",\n  \"queries\": " + std::to_string(recovery.queries);
  text += ",\n  \"links\": " + std::to_string(recovery.links) + ",\n  ";
  AppendJsonList(text, "tables", tables);
  AppendJsonList(text += ",\n  ", "losses", losses);
  return text + "\n}\n";
}

/// Whether it is the damaged file that does not let itself be read.
bool IsOfSource(const jet::Error& error) {
  switch (error.Code()) {
    case jet::ErrorCode::kNotFound:
    case jet::ErrorCode::kInUse:
    case jet::ErrorCode::kNotAnAccessFile:
    case jet::ErrorCode::kPasswordProtected:
    case jet::ErrorCode::kWrongPassword:
    case jet::ErrorCode::kDamaged:
      return true;
    default:
      return false;
  }
}

/// A file behind a password is asked for it where none is given and somebody sits at the terminal.
jet::Recovery Recovered(const Asked& asked) {
  schema::Address address;
  address.shown = asked.file;
  address.engine = schema::Engine::kAccess;
  auto password = GivenPassword(*asked.login, address);
  jet::RecoveryOptions options;
  options.password = password.value_or(std::string());
  const runtime::WipedAtEnd wipe(options.password);
  try {
    return jet::Recover(asked.file, asked.target, options);
  } catch (const jet::Error& error) {
    if (error.Code() != jet::ErrorCode::kPasswordProtected || password) throw;
    password = AskPassword(address);
    if (!password) throw;
  }
  options.password = *password;
  runtime::Wipe(*password);
  return jet::Recover(asked.file, asked.target, options);
}

Status Run(const Asked& asked) {
  try {
    const auto recovery = Recovered(asked);
    if (!asked.report.empty()) WriteReportFile(asked.report, ReportText(asked, recovery));
    Tell(asked, recovery);
    return recovery.losses.empty() ? Status::kDone : Status::kDifferences;
  } catch (const jet::Error& error) {
    if (!IsOfSource(error)) throw;
    const std::string why = error.Code() == jet::ErrorCode::kNotFound ? Say(Said::kNoFile) : error.what();
    throw Failure(Status::kCannotOpen, Say(Said::kCannotOpen, {asked.file, why}));
  }
}

}  // namespace

void AddRecover(CLI::App& app, Status& status) {
  const auto asked = std::make_shared<Asked>();
  CLI::App* command = app.add_subcommand("recover", Say(Said::kRecover));
  command->add_option("FILE", asked->file, Say(Said::kDamagedFile))->required();
  command->add_option("NEW", asked->target, Say(Said::kNewFile))->required();
  command->add_option("--report", asked->report, Say(Said::kReport));
  asked->login = AddLogin(*command);
  command->callback([asked, &status] { status = Run(*asked); });
}

}  // namespace tamlo::cli
