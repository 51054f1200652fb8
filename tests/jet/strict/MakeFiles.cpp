// Makes Access files of every kind for a second opinion: jet_strict_files FOLDER [SAMPLE...]
//
// The files in FOLDER are the engine's own from the first byte ("made-..."), or changed copies of the samples ("like-N-...", with the
// number of the sample in the order of the arguments), each with its compacted copy. Everything is the same in every run but for dates.

#include <algorithm>
#include <exception>
#include <filesystem>
#include <fstream>
#include <functional>
#include <iostream>
#include <iterator>
#include <map>

#include "jet/Database.h"
#include "jet/file/MemoryFileSystem.h"
#include "jet/table/Table.h"
#include "jet/value/Error.h"
#include "tests/jet/history/Workload.h"
#include "tests/jet/storage/JetTestSupport.h"
#include "tests/jet/strict/MadeTables.h"
#include "tests/jet/strict/RandomRows.h"
#include "tests/support_lib/SamplePassword.h"

namespace jet::tests {
namespace {

namespace fs = std::filesystem;

constexpr char kPath[] = "/file.mdb";
constexpr char kPassword[] = "Sésame \U0001F511 20 units.";
constexpr char kPassword97[] = "Sésame à 20 lettres.";

const char* PasswordOf(int version) { return version == 3 ? kPassword97 : kPassword; }

/// Files are made in memory, where nothing waits for a disk.
void Save(const MemoryFileSystem& files, const std::string& name, const fs::path& target) {
  const std::vector<std::byte> bytes = files.Content(name);
  std::ofstream out(target, std::ios::binary);
  out.write(reinterpret_cast<const char*>(bytes.data()), static_cast<std::streamsize>(bytes.size()));
  if (!out.flush()) throw std::runtime_error("cannot write " + target.string());
}

/// The file and its compacted copy.
void SaveBoth(MemoryFileSystem& files, const OpenOptions& options, const fs::path& folder, const std::string& name) {
  constexpr char kCompact[] = "/compact.mdb";
  Database::Open(kPath, options)->Compact(kCompact);
  Save(files, kPath, folder / (name + ".mdb"));
  Save(files, kCompact, folder / (name + "-compact.mdb"));
}

void MakeHistory(const OpenOptions& options, unsigned seed, int steps, const WorkloadLimits& limits) {
  auto database = Database::Create(kPath, options, {}, limits.version);
  Workload workload(seed, limits);
  for (int step = 0; step < steps; ++step) {
    workload.Step(*database);
    if (workload.Depth() == 0 && step % 200 == 199) {
      database.reset();
      database = Database::Open(kPath, options);
    }
  }
  // What is open is rolled back.
}

/// The power goes in the middle of a transaction; what the next opening makes of it is kept.
void MakeCuts(const fs::path& folder, const std::string& prefix, const WorkloadLimits& limits) {
  using Disk = std::map<std::string, std::vector<std::byte>>;
  MemoryFileSystem files;
  OpenOptions options;
  options.fileSystem = &files;
  Workload workload(11, limits);
  {
    auto database = Database::Create(kPath, options, {}, limits.version);
    for (int i = 0; i < 300; ++i) workload.Step(*database);
  }
  Disk start;
  for (const std::string& name : files.Names()) start[name] = files.Content(name);
  files.Record(true);
  {
    auto database = Database::Open(kPath, options);
    for (int t = 0; t < 6; ++t) {
      database->Begin();
      for (int i = 0; i < 40; ++i) workload.Step(*database);
      database->Commit();
    }
  }
  files.Record(false);
  const std::vector<MemoryFileSystem::Event> events = files.TakeRecord();
  Random random(12);
  for (int cut = 0; cut < 12; ++cut) {
    const Disk disk =
        ReplayWithPowerCut(start, events, 1 + Below(random, events.size() - 1), [&](std::size_t) { return random() % 2 == 0; });
    MemoryFileSystem after;
    for (const auto& [name, bytes] : disk) after.SetContent(name, bytes);
    options.fileSystem = &after;
    Database::Open(kPath, options).reset();
    Save(after, kPath, folder / (prefix + std::to_string(cut) + ".mdb"));
  }
}

bool HasCounter(Table& table) {
  const auto& columns = table.Columns();
  return std::any_of(columns.begin(), columns.end(), [](const ColumnDef& column) { return column.autoNumber; });
}

/// Drops the first column that may be dropped.
void DropFirst(Database& database, const std::string& name) {
  for (std::size_t c = 0; c < database.OpenTable(name).Columns().size(); ++c) {
    const std::string column = database.OpenTable(name).Columns()[c].name;
    try {
      database.DropColumn(name, column);
      return;
    } catch (const Error& error) {
      if (error.Code() != ErrorCode::kUnsupported) throw;
    }
  }
}

/// Everything at once to a copy of a real file.
void ChangeSample(const OpenOptions& options, unsigned seed) {
  const auto database = Database::Open(kPath, options);
  Random random(seed);
  const std::vector<CatalogObject> objects = database->Objects();
  for (const CatalogObject& object : objects) {
    if (object.kind != ObjectKind::kTable) continue;
    const std::string& name = object.name;
    Exercise(*database, name, random, 150);
    const bool hasCounter = HasCounter(database->OpenTable(name));
    database->AddColumn(name, Column("Added words", ColumnType::kText, 50));
    database->AddColumn(name, Column("Added note", ColumnType::kMemo));
    database->AddColumn(name, hasCounter ? Column("Added number", ColumnType::kDouble) : Counter("Added number"));
    database->CreateIndex(name, IndexOf("Added index", {{"Added words", true}, {"Added number", false}}));
    database->CreateIndex(name, IndexOf("A short life", {{"Added number", false}}));
    Exercise(*database, name, random, 150);
    database->DropIndex(name, "A short life");
    DropFirst(*database, name);
    Exercise(*database, name, random, 60);
    try {
      Transaction undone(*database);
      Exercise(*database, name, random, 60);
      database->AddColumn(name, Column("Never", ColumnType::kMemo));
    } catch (const Error& error) {
      if (error.Code() != ErrorCode::kLimit) throw;
    }
  }
  MakeRelations(*database, "Added ");
  TableSpec spec;
  spec.name = "Added table";
  spec.columns = AllTypes(database->FormatVersion());
  spec.indexes = {PrimaryKey("Id"), IndexOf("Words", {{"Words", false}})};
  database->CreateTable(spec);
  Exercise(*database, spec.name, random, 300);
  spec.name = "Added for a short time";
  database->CreateTable(spec);
  Exercise(*database, spec.name, random, 100);
  database->DropTable(spec.name);
}

void Make(const fs::path& folder, const std::string& name, const std::function<void(const OpenOptions&)>& work, int version = 4) {
  MemoryFileSystem files;
  OpenOptions options;
  options.fileSystem = &files;
  options.password = PasswordOf(version);
  work(options);
  SaveBoth(files, options, folder, name);
}

void MakeNew(const fs::path& folder, const std::string& name, const std::function<void(Database&)>& work, const Protection& protection = {},
             int version = 4) {
  const auto create = [&](const OpenOptions& options) { work(*Database::Create(kPath, options, protection, version)); };
  Make(folder, (version == 3 ? "made-97-" : "made-") + name, create, version);
}

/// What both formats are made for.
void MakeOf(const fs::path& folder, int version) {
  const auto make = [&](const std::string& name, const std::function<void(Database&)>& work, const Protection& protection = {}) {
    MakeNew(folder, name, work, protection, version);
  };
  const auto relations = [](Database& database) { MakeRelations(database); };
  make("empty", [](Database&) {});
  make("types", MakeAllTypes);
  make("long", MakeLongValues);
  make("relations", relations);
  make("structure", MakeStructure);
  make("mixed", MakeMixed);
  make("jumps", MakeJumps);
  make("encoded", MakeLongValues, {.encoded = true});
  make("locked", relations, {.password = PasswordOf(version), .encoded = true});
  make("password", relations, {.password = PasswordOf(version)});
  make("deep", MakeDeep);
}

/// Files whose content was made in the other format.
void MakeConverted(const fs::path& folder) {
  constexpr char kOther[] = "/other.mdb";
  for (const int version : {3, 4}) {
    MemoryFileSystem files;
    OpenOptions options;
    options.fileSystem = &files;
    const auto database = Database::Create(kPath, options, {}, version == 3 ? 4 : 3);
    MakeRelations(*database);
    MakeJumps(*database);
    database->Compact(kOther, {}, version);
    Save(files, kOther, folder / (std::string("made-converted-to-") + (version == 3 ? "97" : "2000") + ".mdb"));
  }
}

void MakeHistories(const fs::path& folder, const std::string& prefix, unsigned first, unsigned last, int steps, int version) {
  for (unsigned seed = first; seed <= last; ++seed) {
    WorkloadLimits limits{4, seed * 100, 20000, true, seed % 2 == 0};
    limits.version = version;
    const auto make = [&](const OpenOptions& options) { MakeHistory(options, seed, steps, limits); };
    Make(folder, prefix + std::to_string(seed), make, version);
  }
}

/// Copies of real files: one compacted at once, one changed and that one compacted.
void MakeLike(const fs::path& folder, const std::vector<std::string>& samples) {
  for (std::size_t i = 0; i < samples.size(); ++i) {
    std::ifstream stream(samples[i], std::ios::binary);
    const std::string content(std::istreambuf_iterator<char>(stream), {});
    MemoryFileSystem files;
    files.SetContent(
        kPath, {reinterpret_cast<const std::byte*>(content.data()), reinterpret_cast<const std::byte*>(content.data()) + content.size()});
    OpenOptions options;
    options.fileSystem = &files;
    options.password = tamlo::tests::SamplePassword(samples[i]);
    constexpr char kPlain[] = "/plain.mdb";
    Database::Open(kPath, options)->Compact(kPlain);
    Save(files, kPlain, folder / ("like-" + std::to_string(i) + "-plain.mdb"));
    ChangeSample(options, static_cast<unsigned>(100 + i));
    SaveBoth(files, options, folder, "like-" + std::to_string(i));
  }
}

void MakeAll(const fs::path& folder, const std::vector<std::string>& samples) {
  const auto large = [](int count) { return [count](Database& database) { MakeLarge(database, count); }; };
  MakeOf(folder, 4);
  MakeNew(folder, "large", large(120000));
  MakeHistories(folder, "made-history-", 1, 6, 5000, 4);
  const WorkloadLimits limits{3, 60, 20000, true, false};
  MakeCuts(folder, "made-cut-", limits);
  MakeOf(folder, 3);
  MakeNew(folder, "large", large(40000), {}, 3);
  // More pages than one page of bits tells of.
  const auto huge = [](Database& database) { MakeHuge(database, 40'000'000); };
  MakeNew(folder, "huge", huge, {}, 3);
  MakeHistories(folder, "made-97-history-", 7, 9, 3000, 3);
  MakeCuts(folder, "made-97-cut-", As97(limits));
  MakeConverted(folder);
  MakeLike(folder, samples);
}

}  // namespace
}  // namespace jet::tests

int main(int argc, char** argv) {
  if (argc < 2) return 2;
  try {
    jet::tests::MakeAll(argv[1], std::vector<std::string>(argv + 2, argv + argc));
    return 0;
  } catch (const std::exception& error) {
    std::cerr << "jet_strict_files: " << error.what() << '\n';
    return 1;
  }
}
