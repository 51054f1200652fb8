// copy: a whole database into another one.
#include <CLI/Option.hpp>
#include <algorithm>
#include <csignal>
#include <cstdio>
#include <filesystem>
#include <memory>
#include <span>

#include "base/FilePath.h"
#include "cli/Commands.h"
#include "cli/CopyMap.h"
#include "cli/CopyProgress.h"
#include "cli/CopyReport.h"
#include "cli/CopyVerify.h"
#include "cli/FindingLine.h"
#include "cli/Messages.h"
#include "cli/ServerRows.h"
#include "cli/Source.h"
#include "cli/System.h"
#include "move/AccessTarget.h"
#include "move/Run.h"
#include "move/Trouble.h"
#include "runtime/Error.h"

namespace tamlo::cli {
namespace {

struct Asked {
  std::string from;
  std::string to;
  std::vector<std::string> tables;
  std::vector<std::string> without;
  bool schemaOnly = false;
  bool dataOnly = false;
  std::string ifExists = "fail";
  std::string map;
  bool dryRun = false;
  std::string report;
  std::string reject;
  bool resume = false;
  std::string verify = "counts";
  std::int64_t batch = 20000;
  std::size_t jobs = 1;
  std::int64_t rejectLimit = 1000;
  std::string progress;
  std::shared_ptr<Login> fromLogin;
  std::shared_ptr<Login> toLogin;
};

volatile std::sig_atomic_t interrupted = 0;

/// The first Ctrl-C ends the copy behind its batch, the second one at once.
extern "C" void Interrupt(int signal) {
  interrupted = 1;
  std::signal(signal, SIG_DFL);
}

bool MatchesOne(const std::string& name, const std::vector<std::string>& patterns) {
  return std::any_of(patterns.begin(), patterns.end(), [&](const std::string& pattern) { return Matches(name, pattern); });
}

move::Options OptionsOf(const Asked& asked, const std::optional<move::Map>& map) {
  move::Options options;
  options.wanted = [&](const std::string& name) {
    return (!map || map->Keeps(name)) && (asked.tables.empty() || MatchesOne(name, asked.tables)) && !MatchesOne(name, asked.without);
  };
  options.others = asked.tables.empty() && !asked.dataOnly;
  if (asked.schemaOnly) options.parts = move::Parts::kSchemaOnly;
  if (asked.dataOnly) options.parts = move::Parts::kDataOnly;
  if (asked.ifExists == "append") options.ifExists = move::IfExists::kAppend;
  if (asked.ifExists == "replace") options.ifExists = move::IfExists::kReplace;
  options.batch = asked.batch;
  options.rejectFile = asked.reject;
  options.mostRefused = asked.rejectLimit;
  options.resume = asked.resume;
  return options;
}

/// A pattern that meets nothing is a mistake of whoever wrote it.
void LookAtPatterns(const Asked& asked, const schema::Database& source) {
  std::vector<std::string> names;
  for (const auto& table : source.tables) names.push_back(table.name);
  for (const auto* patterns : {&asked.tables, &asked.without})
    if (!patterns->empty()) (void)NamesMatching(names, *patterns);
}

/// The rows of a file are read through a connection of its own.
std::unique_ptr<ado::Connection> RowsOf(Opened& source) {
  return source.file ? OpenAgain(source, Access::kRead) : std::move(source.connection);
}

schema::Engine EngineOf(const Opened& opened) {
  if (!opened.engine) throw Failure(Status::kCannotOpen, Say(Said::kUnknownProduct, {opened.address.shown, opened.product}));
  return *opened.engine;
}

std::string Sentence(const move::CopyError& error, const std::string& target) {
  const auto about = [&](std::size_t place) { return place < error.About().size() ? error.About()[place] : std::string(); };
  switch (error.Why()) {
    case move::Trouble::kTableExists:
      return Say(Said::kTablesAreThere, {target, about(0)});
    case move::Trouble::kTableMissing:
      return Say(Said::kTableIsMissing, {target, about(0)});
    case move::Trouble::kColumnMissing:
      return Say(Said::kColumnIsMissing, {target, about(0), about(1)});
    case move::Trouble::kHalfDone:
      return Say(Said::kHalfDone, {target});
    case move::Trouble::kNothingToResume:
      return Say(Said::kNothingToResume, {target});
    case move::Trouble::kOtherPlan:
      return Say(Said::kOtherCopy, {target});
    case move::Trouble::kTooManyRefused:
      return Say(Said::kTooManyRefused, {about(0)});
    case move::Trouble::kCannotWrite:
      break;
  }
  return Say(Said::kCannotWrite, {about(0), about(1)});
}

void TellRefusal(const move::Refusal& refusal) {
  const std::string row = std::to_string(refusal.row);
  const std::string place = refusal.column.empty() ? Say(Said::kRowOf, {refusal.table, row})
                                                   : Say(Said::kRowAndColumnOf, {refusal.table, row, refusal.column, refusal.value});
  std::fprintf(stderr, "tamlo-db: %s: %s\n", OneLine(place).c_str(), OneLine(refusal.reason).c_str());
}

std::string ProgressOf(const Asked& asked) {
  if (!asked.progress.empty()) return asked.progress;
  return ErrorsAreSeen() ? "bar" : "none";
}

move::Outcome RunPlan(const Asked& asked, const move::Plan& plan, std::span<const move::Lane> lanes, const move::Options& options) {
  CopyProgress progress(ProgressOf(asked));
  move::Watch watch;
  watch.progress = [&](const move::Progress& now) { progress.Show(now); };
  watch.refused = [&](const move::Refusal& refusal) {
    progress.Clear();
    TellRefusal(refusal);
  };
  watch.cancelled = [] { return interrupted != 0; };
  std::signal(SIGINT, Interrupt);
  std::signal(SIGTERM, Interrupt);
  return move::Run(plan, lanes, options, watch);
}

/// What has to be told of it, and the status that it deserves.
Status Conclude(const Asked& asked, const move::Plan& plan, const move::Outcome& outcome) {
  if (outcome.cancelled) throw Failure(Status::kCancelled, Say(Said::kResumable, {asked.to}));
  if (!plan.findings.empty() && ProgressOf(asked) != "none")
    std::fprintf(stderr, "tamlo-db: %s\n", Say(Said::kNotTakenOver, {std::to_string(plan.findings.size())}).c_str());
  for (const auto& finding : outcome.findings) std::fprintf(stderr, "tamlo-db: %s\n", FindingLine(finding).c_str());
  for (const auto& table : outcome.tables)
    if (table.counted >= 0 && !table.wasThere && table.counted != table.copied)
      std::fprintf(stderr, "tamlo-db: %s\n",
                   Say(Said::kCountsDiffer, {table.name, std::to_string(table.copied), std::to_string(table.counted)}).c_str());
  if (outcome.refused > 0) std::fprintf(stderr, "tamlo-db: %s\n", Say(Said::kRowsRefused, {std::to_string(outcome.refused)}).c_str());
  return outcome.Whole() ? Status::kDone : Status::kDifferences;
}

/// Where a copy goes, and what it makes there.
struct Destination {
  Opened opened;
  std::unique_ptr<ado::Connection> rows;  // into a file; null where they go through opened
  std::unique_ptr<move::Target> target;
};

/// What is to be made: by the engine of the target, or by the plan for a file.
struct Making {
  schema::Engine engine;
  schema::AccessPlan file;
  schema::Script script;
};

schema::Engine TargetEngine(const Asked& asked) {
  const auto address = AddressOf(asked.to);
  return address.engine ? *address.engine : EngineOf(Open(asked.to, *asked.toLogin));
}

Making MakingOf(const Asked& asked, schema::Engine source, const schema::Database& wanted) {
  Making making{TargetEngine(asked), {}, {}};
  if (making.engine != schema::Engine::kAccess) {
    making.script = schema::WriteDdl(wanted, schema::DialectOf(making.engine));
    return making;
  }
  making.file =
      schema::PlanAccess(wanted, source == schema::Engine::kAccess ? schema::Expressions::kAccess : schema::Expressions::kForeign);
  for (const auto& refusal : making.file.refusals)
    throw Failure(Status::kFailed, Say(Said::kCannotBeMade, {asked.to, refusal.table, FindingText(refusal)}));
  making.script = move::ScriptOf(wanted, making.file);
  return making;
}

Destination OpenDestination(const Asked& asked, const Making& making, const schema::Database& wanted) {
  Destination there;
  const auto address = AddressOf(asked.to);
  std::error_code ignored;
  if (making.engine == schema::Engine::kAccess && !std::filesystem::exists(base::FilePath(address.file), ignored))
    (void)jet::Database::Create(address.file, {}, {.password = OwnPassword(*asked.toLogin)});
  there.opened = Open(asked.to, *asked.toLogin, Access::kWrite);
  there.rows = OpenForRows(there.opened);
  if (!there.opened.file) {
    there.target = move::SqlTarget(making.engine, there.rows ? *there.rows : *there.opened.connection);
    return there;
  }
  there.target = move::AccessTarget(*there.opened.file, *there.rows, wanted, making.file);
  return there;
}

/// Further ways for the rows, by connections of their own.
struct MoreLanes {
  std::vector<std::unique_ptr<ado::Connection>> from, to;
  std::vector<std::unique_ptr<move::Target>> targets;
};

MoreLanes OpenMoreLanes(std::size_t jobs, const Opened& from, const Opened& to, schema::Engine target) {
  MoreLanes more;
  for (std::size_t i = 1; i < jobs; ++i) {
    more.from.push_back(OpenAgain(from, Access::kRead));
    more.to.push_back(OpenAgain(to, Access::kWrite));
    more.targets.push_back(move::SqlTarget(target, *more.to.back()));
  }
  return more;
}

/// One file takes rows from one at a time.
void LookAtJobs(const Asked& asked, schema::Engine target) {
  if (asked.jobs > 1 && (target == schema::Engine::kAccess || target == schema::Engine::kSqlite))
    throw Failure(Status::kUsage, Say(Said::kOneJobIntoAFile, {asked.to}));
}

move::Outcome CopyInto(const Asked& asked, const move::Plan& plan, std::span<const move::Lane> lanes, const Destination& there,
                       const move::Options& options) {
  const std::string& shown = there.opened.address.shown;
  try {
    return RunPlan(asked, plan, lanes, options);
  } catch (const move::CopyError& error) {
    throw Failure(Status::kFailed, Sentence(error, shown));
  } catch (const runtime::Error& error) {
    std::string text = OneLine(error.Description());
    if (move::CanResume(*there.target)) text += ". " + Say(Said::kResumable, {shown});
    throw Failure(Status::kFailed, text);
  }
}

move::CompareSide SideOf(const Opened& opened, ado::Connection* connection) {
  return {opened.address.shown, opened.file ? schema::Engine::kAccess : opened.engine, opened.file.get(), connection};
}

/// What of the source is copied, and how.
struct Planned {
  schema::Database wanted;
  Making making;
  move::Plan plan;
};

Planned PlanOf(const Asked& asked, schema::Engine engine, const schema::Database& source, const std::optional<move::Map>& map,
               const move::Options& options) {
  Planned planned{move::Wanted(source, options), {}, {}};
  if (!map) {
    planned.making = MakingOf(asked, engine, planned.wanted);
    planned.plan = move::MakePlan(planned.wanted, planned.making.script, options);
    return planned;
  }
  try {
    std::vector<schema::Finding> findings;
    const auto mapped = map->Apply(planned.wanted, findings);
    planned.making = MakingOf(asked, engine, mapped);
    planned.plan = move::MakePlan(mapped, planned.making.script, options);
    map->Restore(planned.plan, planned.wanted);
    planned.plan.findings.insert(planned.plan.findings.begin(), findings.begin(), findings.end());
  } catch (const move::MapError& error) {
    throw MapFailure(asked.map, error);
  }
  return planned;
}

Status Copy(const Asked& asked) {
  Opened from = Open(asked.from, *asked.fromLogin);
  const schema::Engine engine = EngineOf(from);
  const auto description = ReadStructure(from);
  LookAtPatterns(asked, description);
  const auto map = asked.map.empty() ? std::nullopt : std::optional(ReadMap(asked.map, description));
  const auto options = OptionsOf(asked, map);
  const Planned planned = PlanOf(asked, engine, description, map, options);
  const auto& [wanted, making, plan] = planned;
  LookAtJobs(asked, making.engine);
  if (asked.dryRun) {
    PrintPlan(plan);
    return Status::kDone;
  }
  const Destination there = OpenDestination(asked, making, wanted);
  const auto rows = RowsOf(from);
  const MoreLanes more = OpenMoreLanes(asked.jobs, from, there.opened, making.engine);
  std::vector<move::Lane> lanes{{{engine, *rows}, *there.target}};
  for (std::size_t i = 0; i < more.targets.size(); ++i) lanes.push_back({{engine, *more.from[i]}, *more.targets[i]});
  const auto outcome = CopyInto(asked, plan, lanes, there, options);
  if (!asked.report.empty()) WriteReport(asked.report, from.address.shown, there.opened.address.shown, plan, outcome);
  const Status status = Conclude(asked, plan, outcome);
  if (asked.verify != "full" || asked.schemaOnly) return status;
  const bool agree = ValuesAgree(plan, outcome, SideOf(from, rows.get()), SideOf(there.opened, there.opened.connection.get()),
                                 [] { return interrupted != 0; });
  if (interrupted != 0) throw Failure(Status::kCancelled, Say(Said::kCancelled));
  return agree ? status : Status::kDifferences;
}

void AddOptions(CLI::App& command, Asked& asked) {
  command.add_option("FROM", asked.from, Say(Said::kDatabase))->required();
  command.add_option("TO", asked.to, Say(Said::kDatabaseTo))->required();
  command.add_option("-t,--table", asked.tables, Say(Said::kTablePattern))->allow_extra_args(false);
  command.add_option("-x,--exclude", asked.without, Say(Said::kExcludePattern))->allow_extra_args(false);
  auto* schemaOnly = command.add_flag("--schema-only", asked.schemaOnly, Say(Said::kSchemaOnly));
  command.add_flag("--data-only", asked.dataOnly, Say(Said::kDataOnly))->excludes(schemaOnly);
  command.add_option("--if-exists", asked.ifExists, Say(Said::kIfExists))->check(CLI::IsMember({"fail", "append", "replace"}));
  command.add_option("--map", asked.map, Say(Said::kCopyMap));
  command.add_flag("--dry-run", asked.dryRun, Say(Said::kDryRun));
  command.add_option("--report", asked.report, Say(Said::kReport));
  command.add_option("--reject", asked.reject, Say(Said::kReject));
  command.add_option("--reject-limit", asked.rejectLimit, Say(Said::kRejectLimit))->check(CLI::NonNegativeNumber);
  command.add_flag("--resume", asked.resume, Say(Said::kResume));
  command.add_option("--verify", asked.verify, Say(Said::kVerify))->check(CLI::IsMember({"counts", "full"}));
  command.add_option("--batch", asked.batch, Say(Said::kBatch))->check(CLI::Range(std::int64_t{1}, std::int64_t{1000000}));
  command.add_option("--jobs", asked.jobs, Say(Said::kJobs))->check(CLI::Range(1, 64));
  command.add_option("--progress", asked.progress, Say(Said::kProgress))->check(CLI::IsMember({"bar", "log", "none"}));
  asked.fromLogin = AddLogin(command, "from-");
  asked.toLogin = AddLogin(command, "to-");
}

}  // namespace

void AddCopy(CLI::App& app, Status& status) {
  const auto asked = std::make_shared<Asked>();
  CLI::App* command = app.add_subcommand("copy", Say(Said::kCopy));
  AddOptions(*command, *asked);
  command->callback([asked, &status] { status = Copy(*asked); });
}

}  // namespace tamlo::cli
