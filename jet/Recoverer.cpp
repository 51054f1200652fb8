#include "jet/Recoverer.h"

#include <algorithm>
#include <map>
#include <optional>
#include <set>
#include <span>
#include <string_view>
#include <utility>

#include "jet/Compactor.h"
#include "jet/DamagedCatalog.h"
#include "jet/DamagedFile.h"
#include "jet/DamagedTable.h"
#include "jet/Database.h"
#include "jet/TableCopy.h"
#include "jet/file/FileSystem.h"
#include "jet/file/OverlayFileSystem.h"
#include "jet/schema/Creation.h"
#include "jet/schema/Engine.h"
#include "jet/schema/Schema.h"
#include "jet/value/Text.h"
#include "jet/value/TextOrder.h"

namespace jet {
namespace {

/// What the disk of the new file refuses ends the work, past all who take an Error for something about one row.
struct DiskRefused {
  Error error;
};

void RethrowOfDisk(const Error& error, const Database& target) {
  const bool ofDisk = error.Code() == ErrorCode::kDiskFull || error.Code() == ErrorCode::kReadOnly;
  if (ofDisk || target.TransactionDepth() == 0) throw DiskRefused{error};
}

class Recoverer {
 public:
  Recoverer(DamagedFile& source, Database& target) : source_(source), target_(target), catalog_(source, recovery_.losses) {}

  Recovery Run() {
    if (!source_.HeaderRead()) Lose({}, 0, "The header cannot be read: the kind of the file and its order of texts were guessed");
    if (!source_.JournalFault().empty()) Lose({}, 0, source_.JournalFault());
    catalog_.Read();
    if (!catalog_.FoundAny()) throw Error(ErrorCode::kNotAnAccessFile, "No table of Access can be found in it");
    target_.Begin();
    for (const auto& table : catalog_.Tables()) SaveTable(table);
    SaveRelationships();
    SaveQueries();
    SaveLinks();
    TellOthers();
    RestoreFlags();
    target_.Commit();
    return std::move(recovery_);
  }

 private:
  void Lose(std::string table, PageNumber page, std::string text, int row = -1) {
    recovery_.losses.push_back({std::move(table), page, row, std::move(text)});
  }

  /// Does something in the new file that the found data may not allow; what could not be done is a loss.
  template <typename Work>
  bool Attempt(const std::string& table, PageNumber page, const std::string& what, Work work) {
    try {
      work();
      return true;
    } catch (const Error& error) {
      RethrowOfDisk(error, target_);
      Lose(table, page, what + ": " + error.what());
      return false;
    }
  }

  void SaveTable(const DamagedCatalog::Table& found) {
    RecoveredTable& result = recovery_.tables.emplace_back();
    result.name = found.name;
    result.page = found.page;
    result.named = found.named;
    result.saved = false;
    if (!found.fault.empty()) {
      Lose(found.name, found.page, "The table's definition cannot be read, and so none of its rows: " + found.fault);
      return;
    }
    if (!found.named) Lose(found.name, found.page, "The name of the table is lost");
    Attempt(found.name, found.page, "The table cannot be made", [&] {
      DamagedTable from(source_, found.page, found.name);
      const std::vector<ColumnDef> columns = Make(from, found, result);
      result.saved = true;
      CopyRows(from, columns, result);
      Finish(from, columns, found, result);
    });
  }

  /// Makes the table, under a name that the format can hold and that is not taken. Gives the columns as the new one calls them.
  std::vector<ColumnDef> Make(DamagedTable& from, const DamagedCatalog::Table& found, RecoveredTable& result) {
    TableSpec spec;
    const FileHeader& header = source_.Space().header;
    // How a column of an .accdb is stored is nothing for the .mdb.
    constexpr int kOfNoMdb = 0;
    spec.columns = ColumnsToMake(from.Core().Columns(), header.release != 0 ? kOfNoMdb : header.version, target_.FormatVersion());
    for (auto& column : spec.columns) {
      if (IsName(column.name)) continue;
      Lose(found.name, found.page, "The name of a column is lost: \"" + column.name + "\"");
      column.name = "Column_" + std::to_string(column.number);
    }
    spec.name = found.name;
    if (!IsName(spec.name) || target_.FindObject(spec.name) != nullptr) {
      spec.name = "Table_" + std::to_string(found.page);
      Lose(found.name, found.page, "The table has another name now: \"" + spec.name + "\"");
    }
    target_.CreateTable(spec);
    result.name = spec.name;
    made_[found.page] = spec.name;
    return spec.columns;
  }

  [[nodiscard]] static bool IsName(const std::string& name) {
    try {
      CheckName(name);
      return true;
    } catch (const Error&) {
      return false;
    }
  }

  void CopyRows(DamagedTable& from, const std::vector<ColumnDef>& columns, RecoveredTable& result) {
    Table& to = target_.OpenTable(result.name);
    RowCopy copy(columns, to);
    DamagedTable::Visitor visitor;
    visitor.row = [&](Row& row, const std::vector<bool>& unreadable) {
      copy.Read(row, unreadable);
      try {
        copy.Write();
        ++result.rows;
      } catch (const Error& error) {
        RethrowOfDisk(error, target_);
        throw;  // told as a lost row
      }
    };
    const auto lose = [&](const DamagedTable::Trouble& trouble) { Lose(result.name, trouble.page, trouble.text, trouble.row); };
    visitor.lostRow = [&](const DamagedTable::Trouble& trouble) {
      ++result.lostRows;
      lose(trouble);
    };
    visitor.lostValue = [&](const DamagedTable::Trouble& trouble) {
      ++result.lostValues;
      lose(trouble);
    };
    visitor.lostPage = lose;
    from.Walk(visitor);
    const std::uint64_t counted = from.Core().RowCount();
    if (counted > result.rows + result.lostRows) {
      result.missingRows = counted - result.rows - result.lostRows;
      Lose(result.name, result.page, std::to_string(result.missingRows) + " of the rows that the table counts are not there");
    }
  }

  /// Keys and indexes over the rows that are there, the counter, and what is said of the table and its columns.
  void Finish(DamagedTable& from, const std::vector<ColumnDef>& columns, const DamagedCatalog::Table& found, RecoveredTable& result) {
    for (const IndexSpec& index : IndexesToMake(columns, from.Core().Indexes()))
      Attempt(result.name, found.page, "The index \"" + index.name + "\" is left off", [&] { target_.CreateIndex(result.name, index); });
    const std::int32_t last = from.Core().LastAutoNumber();
    const bool counts = std::any_of(columns.begin(), columns.end(),
                                    [](const ColumnDef& column) { return column.autoNumber && column.type == ColumnType::kLong; });
    if (counts && last > target_.OpenTable(result.name).LastAutoNumber()) target_.SetLastAutoNumber(result.name, last);
    if (!found.propertiesRead) return;
    Attempt(result.name, found.page, "Rules, defaults and descriptions are left off", [&] {
      Catalog& catalog = target_.Internals().catalog;
      catalog.WriteProperties(target_.FindObject(result.name)->id, found.properties);
      target_.Internals().pager->ChangeGeneration();
    });
  }

  void SaveRelationships() {
    for (Relationship relationship : catalog_.Relationships(made_)) {
      const bool saved = Attempt(relationship.table, 0, "The relationship \"" + relationship.name + "\" is left off",
                                 [&] { target_.CreateRelationship(relationship); });
      if (saved) ++recovery_.relationships;
    }
  }

  void SaveQueries() {
    for (const auto& query : catalog_.Queries()) {
      const bool saved = Attempt({}, 0, "The query \"" + query.name + "\" is left off", [&] { target_.CreateQuery(query); });
      if (saved) ++recovery_.queries;
    }
  }

  void SaveLinks() {
    for (const auto& link : catalog_.Links()) {
      const bool saved = Attempt({}, 0, "The link \"" + link.name + "\" is left off", [&] { target_.CreateLink(link); });
      if (saved) ++recovery_.links;
    }
  }

  /// What the catalog says of tables beyond their names: hidden, Access's own. Last of all: a table of the system is not changed any more.
  void RestoreFlags() {
    std::map<std::int32_t, std::uint32_t> flags;
    for (const auto& table : catalog_.Tables())
      if (const auto made = made_.find(table.page); made != made_.end() && table.flags != 0)
        flags[target_.FindObject(made->second)->id] = table.flags;
    Table& objects = target_.Internals().catalog.ObjectsTable();
    const std::size_t id = objects.ColumnAt("Id"), column = objects.ColumnAt("Flags");
    std::vector<std::pair<RowId, std::uint32_t>> rows;
    for (ScanCursor cursor = objects.Scan(); cursor.Next();)
      if (const auto found = flags.find(static_cast<std::int32_t>(cursor.Current().Integer(id))); found != flags.end())
        rows.emplace_back(cursor.Id(), found->second);
    for (const auto& [row, value] : rows) {
      const Value stored(static_cast<std::int32_t>(value));
      const Assignment assignment{column, &stored, nullptr};
      objects.Update(row, std::span(&assignment, 1));
    }
    target_.Internals().pager->ChangeGeneration();
  }

  void TellOthers() {
    if (const std::size_t forms = catalog_.Forms(); forms > 0)
      Lose({}, 0, std::to_string(forms) + " forms, reports, macros and modules are not brought over");
    for (const PageNumber owner : source_.Owners()) {
      if (catalog_.IsKnown(owner)) continue;
      std::size_t pages = 0;
      for (const PageNumber page : source_.PagesOfOwner(owner)) pages += source_.IsFree(page) ? 0 : 1;
      if (pages > 0 && source_.KnowsFreePages())
        Lose({}, owner, std::to_string(pages) + " pages hold rows of a table whose definition is lost");
    }
  }

  DamagedFile& source_;
  Database& target_;
  Recovery recovery_;
  DamagedCatalog catalog_;
  std::map<PageNumber, std::string> made_;  ///< names in the new file by definition page
};

/// A file without a fault goes over whole, with all that is no table. Nothing when it has one.
std::optional<Recovery> CompactSound(FileSystem& files, const std::string& path, const std::string& working, const std::string& password) {
  OverlayFileSystem overlay(files);
  overlay.Hide(Sharing::LockPath(files.RealPath(path)));
  OpenOptions options;
  options.mode = OpenMode::kReadOnly;
  options.fileSystem = &overlay;
  options.password = password;
  try {
    const auto database = Database::Open(path, options);
    if (!database->Check().empty()) return std::nullopt;
    CompactInto(*database, working, {}, database->Internals().header.VersionOfCopy(), files);
    Recovery recovery;
    recovery.sound = true;
    recovery.relationships = database->Relationships().size();
    for (const auto& object : std::vector<CatalogObject>(database->Objects())) {
      recovery.queries += object.kind == ObjectKind::kQuery ? 1 : 0;
      recovery.links += object.kind == ObjectKind::kJetLink || object.kind == ObjectKind::kOdbcLink ? 1 : 0;
      if (object.kind != ObjectKind::kTable) continue;
      RecoveredTable& table = recovery.tables.emplace_back();
      table.name = object.name;
      table.page = static_cast<std::uint32_t>(object.id);
      table.rows = database->OpenTable(object.name).RowCount();
    }
    return recovery;
  } catch (const Error& error) {
    if (error.Code() == ErrorCode::kDiskFull || error.Code() == ErrorCode::kAlreadyExists) throw;
    return std::nullopt;  // what is wrong shows again where it can be told
  }
}

Recovery RecoverDamaged(DamagedFile& source, FileSystem& files, const std::string& working, const std::string& password) {
  const FileHeader& header = source.Space().header;
  NewFile file = FileForCopy(header, header.VersionOfCopy());
  file.encoded = header.encryptionKey != 0;
  if (source.HasPassword()) file.password = password;
  CreateEmptyFile(files, working, file);
  OpenOptions options;
  options.mode = OpenMode::kExclusive;
  options.password = file.password;
  options.fileSystem = &files;
  const auto target = Database::Open(working, options);
  try {
    return Recoverer(source, *target).Run();
  } catch (const DiskRefused& refused) {
    throw refused.error;
  }
}

}  // namespace

Recovery Recover(const std::string& path, const std::string& newPath, const RecoveryOptions& options) {
  FileSystem& files = options.fileSystem != nullptr ? *options.fileSystem : FileSystem::Real();
  Sharing::RequireName(newPath);
  const std::string working = newPath + "-new";
  DamagedFile source(files, path, options.password);
  for (const std::string& name : {newPath, working})
    if (files.Exists(name)) throw Error(ErrorCode::kAlreadyExists, "There is a file \"" + name + "\" already");
  try {
    std::optional<Recovery> recovery;
    if (!options.rowByRow) recovery = CompactSound(files, path, working, options.password);
    if (!recovery) recovery = RecoverDamaged(source, files, working, options.password);
    if (files.Exists(newPath)) throw Error(ErrorCode::kAlreadyExists, "There is a file \"" + newPath + "\" already");
    files.Rename(working, newPath);
    files.SyncFolder(newPath);
    return std::move(*recovery);
  } catch (...) {
    files.Remove(working);
    throw;
  }
}

}  // namespace jet
