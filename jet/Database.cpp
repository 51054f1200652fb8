#include "jet/Database.h"

#include <utility>

#include "jet/page/UsageMap.h"
#include "jet/schema/PageSurvey.h"
#include "jet/page/ReadLock.h"
#include "jet/page/ChangeScope.h"
#include "jet/Checker.h"
#include "jet/Compactor.h"
#include "jet/schema/Creation.h"
#include "jet/schema/Engine.h"
#include "jet/schema/Schema.h"
#include "jet/table/TableCore.h"
#include "jet/value/Text.h"

namespace jet {
namespace {

/// Names of other programs' or users' files must not be followed blindly, so everything is decided on one opened file.
struct Opened {
  std::unique_ptr<File> file;
  bool readOnly = false;
};

Opened OpenFile(FileSystem& files, const std::string& path, OpenMode mode) {
  if (mode == OpenMode::kReadOnly) return {files.Open(path, FileMode::kRead), true};
  try {
    return {files.Open(path, FileMode::kReadWrite), false};
  } catch (const Error& error) {
    if (error.Code() != ErrorCode::kReadOnly || mode == OpenMode::kExclusive) throw;
    return {files.Open(path, FileMode::kRead), true};
  }
}

std::unique_ptr<Sharing> Join(FileSystem& files, const std::string& path, File& file, const OpenOptions& options, bool& readOnly) {
  try {
    return std::make_unique<Sharing>(files, path, file, options.mode == OpenMode::kExclusive, options.lockWaitMilliseconds);
  } catch (const Error& error) {
    // Where no lock file can be made nobody can write either, as a journal could not be made there.
    if (error.Code() != ErrorCode::kReadOnly || options.mode == OpenMode::kExclusive) throw;
    // One that is there and bars us means that others write: to read beside them without a word would be to see half of it.
    if (!readOnly && files.Exists(Sharing::LockPath(path)))
      throw Error(ErrorCode::kIo, std::string(error.what()) + ": the lock file of the other users of \"" + path + "\" does not let us in");
    readOnly = true;
    return std::make_unique<Sharing>();
  }
}

/// Users of different names would meet at different lock files, and would not find each other's journals.
void RequireOneName(File& file, const std::string& path) {
  const std::uint64_t names = file.NameCount();
  if (names > 1)
    throw Error(ErrorCode::kUnsupported, "\"" + path + "\" has " + std::to_string(names) +
                                             " names (hard links): programs that open it by different ones cannot see each other, nor "
                                             "undo what another one left half written. Copy the file, or remove the other names");
}

void RecoverAtOpening(FileSystem& files, const std::string& path, Opened& opened, Sharing& sharing, std::size_t pageSize) {
  Journal journal(files, path, pageSize);
  if (!journal.LeftBehind()) return;
  sharing.EnterWrite();
  const auto leave = [&] {
    sharing.LetReadersIn();
    sharing.LeaveRead();
    sharing.LeaveWrite();
  };
  try {
    if (!sharing.KeepReadersOut(true)) throw Error(ErrorCode::kInUse, "\"" + path + "\" is being written by another user");
    if (journal.LeftBehind()) {
      if (!opened.readOnly) {
        journal.Recover(*opened.file);
      } else {
        const auto writable = files.Open(path, FileMode::kReadWrite);
        journal.Recover(*writable);
      }
      sharing.CountCommit();
    }
  } catch (...) {
    leave();
    throw;
  }
  leave();
}

/// Page 0 once more, under the lock: when it was read first, somebody's transaction may have been half written, a new password in it.
void UnlockPages(Engine& engine, const std::string& password) {
  if (engine.pager->PageCount() == 0) return;  // cut short, as will be said
  engine.header = FileHeader::Read(engine.pager->Read(0).Bytes(), engine.path);
  engine.pager->SetFreePageMap(engine.header.freePages);
  engine.pager->SetCodec(Unlock(engine.header, password, engine.path));
  engine.header.password.clear();  // it has served, and is not to lie about
}

/// A file that was cut off lacks pages that something in it names. Pages behind the end that the map of free pages merely keeps are no
/// sign of it: files grow by several pages at a time, and their ends are not always written.
void CheckLength(Engine& engine, std::uint64_t size) {
  Pager& pager = *engine.pager;
  const std::string quoted = "\"" + engine.path + "\" ";
  if (size % engine.header.pageSize != 0)
    throw Error(ErrorCode::kDamaged, quoted + "is cut short: its length is not a whole number of pages", pager.PageCount(),
                static_cast<std::uint32_t>(size % engine.header.pageSize));
  const auto refuse = [&](PageNumber page) {
    throw Error(ErrorCode::kDamaged,
                quoted + "is cut short: page " + std::to_string(page) + " is in use and the file has only " +
                    std::to_string(pager.PageCount()) + " pages",
                page, 0);
  };
  if (const PageNumber last = Unpack(engine.header.freePages).page; last >= pager.PageCount()) refuse(last);
  UsageMap freePages(pager, engine.header.freePages, UsageMap::Kind::kFreePages);
  constexpr PageNumber kMostPages = PageNumber{1} << 20;
  if (!freePages.NextMissingFrom(pager.PageCount(), kMostPages) && !freePages.NamesBitmapsOutside()) return;
  if (const PageNumber outside = SurveyPages(engine).FirstOutside(); outside != 0) refuse(outside);
}

}  // namespace

Database::Database(std::unique_ptr<Engine> engine) : engine_(std::move(engine)) {}

Database::~Database() { engine_->pager->RollbackAll(); }

std::unique_ptr<Database> Database::Create(const std::string& path, const OpenOptions& options, const Protection& protection, int version) {
  Sharing::RequireName(path);
  FileSystem& files = options.fileSystem != nullptr ? *options.fileSystem : FileSystem::Real();
  const NewFile file{.version = version,
                     .ace = Sharing::IsAceName(path),
                     .encoded = protection.encoded.value_or(false),
                     .password = protection.password.value_or(std::string())};
  if (file.ace && (file.encoded || !file.password.empty()))
    throw Error(ErrorCode::kUnsupported,
                "\"" + path + "\" would be a database of Access 2007 or later (.accdb): a new one has no password and no encoded pages");
  if (file.ace && version == 3)
    throw Error(ErrorCode::kUnsupported,
                "\"" + path + "\" would be a database of Access 2007 or later (.accdb), and one of Access 97 is asked for");
  CreateEmptyFile(files, path, file);
  OpenOptions opening = options;
  opening.mode = OpenMode::kExclusive;
  opening.password = file.password;
  return Open(path, opening);
}

std::unique_ptr<Database> Database::Open(const std::string& path, const OpenOptions& options) {
  FileSystem& files = options.fileSystem != nullptr ? *options.fileSystem : FileSystem::Real();
  auto engine = std::make_unique<Engine>(files, path, options.cacheBytes);
  Opened opened = OpenFile(files, path, options.mode);
  std::vector<std::byte> start(FileHeader::kWhole);
  start.resize(opened.file->Read(0, start));
  engine->header = FileHeader::Read(start, path);  // before anything is written beside a file that is not ours
  if (!engine->header.HasKnownTexts()) opened.readOnly = true;
  const std::string& real = engine->realPath = files.RealPath(path);
  Sharing::RequireName(real);
  RequireOneName(*opened.file, path);
  engine->sharing = Join(files, real, *opened.file, options, opened.readOnly);
  RecoverAtOpening(files, real, opened, *engine->sharing, engine->header.pageSize);
  engine->readOnly = opened.readOnly;
  const std::uint64_t size = opened.file->Size();
  engine->pager = std::make_unique<Pager>(files, real, std::move(opened.file), engine->header.pageSize, options.cacheBytes,
                                          *engine->sharing, engine->readOnly);
  engine->pager->SetSurvey([raw = engine.get()] { return SurveyPages(*raw); });
  const ReadLock lock(*engine->pager);
  UnlockPages(*engine, options.password);
  CheckLength(*engine, engine->sharing->Exclusive()
                           ? size
                           : engine->pager->PageCount() * std::uint64_t{engine->header.pageSize} + size % engine->header.pageSize);
  return std::unique_ptr<Database>(new Database(std::move(engine)));
}

const std::string& Database::Path() const noexcept { return engine_->path; }

bool Database::IsAt(const std::string& path) const {
  try {
    return engine_->files.RealPath(path) == engine_->realPath;
  } catch (const Error&) {
    return false;  // whoever opens it hears why
  }
}

int Database::FormatVersion() const noexcept { return engine_->header.version; }
int Database::VersionOfCopy() const noexcept { return engine_->header.VersionOfCopy(); }
int Database::Release() const noexcept { return engine_->header.release; }
bool Database::ReadOnly() const noexcept { return engine_->readOnly; }
bool Database::Encoded() const noexcept { return engine_->header.encryptionKey != 0; }

bool Database::HasPassword() {
  const ReadLock lock(*engine_->pager);
  const FileHeader header = FileHeader::Read(engine_->pager->Read(0).Bytes(), engine_->path);
  return !header.password.empty() || !header.encryption.empty();
}

void Database::SetPassword(std::string_view password) {
  if (engine_->header.release != 0)
    throw Error(ErrorCode::kUnsupported,
                "\"" + engine_->path + "\" is a database of Access 2007 or later (.accdb): its password cannot be changed");
  ChangeScope scope(*engine_->pager);
  FileHeader::SetPassword(engine_->pager->Edit(0).Writable(), password);
  scope.Done();
}

void Database::Begin() { engine_->pager->Begin(); }

void Database::Commit() {
  if (TransactionDepth() == 0) throw Error(ErrorCode::kNoTransaction, "There is no transaction to end");
  engine_->pager->Commit();
}

void Database::Rollback() {
  if (TransactionDepth() == 0) throw Error(ErrorCode::kNoTransaction, "There is no transaction to end");
  engine_->pager->Rollback();
}

void Database::BeginChanges() {
  if (TransactionDepth() == 0) throw Error(ErrorCode::kUnsupported, "A change outside a transaction");
  engine_->pager->BeginWrite();
}

void Database::SetLockWait(int milliseconds) noexcept { engine_->sharing->SetWait(milliseconds); }

std::int32_t Database::LastIdentity() const noexcept { return engine_->lastIdentity; }

int Database::TransactionDepth() const noexcept { return engine_->pager->Depth(); }

Database::ReadScope::ReadScope(Database& database) : database_(database) { database_.engine_->pager->BeginRead(); }
Database::ReadScope::~ReadScope() { database_.engine_->pager->EndRead(); }

Transaction::~Transaction() {
  // A failed commit or a failure of the disk may have ended it already.
  if (database_ == nullptr || database_->TransactionDepth() < depth_) return;
  try {
    while (database_->TransactionDepth() >= depth_) database_->Rollback();
  } catch (const Error&) {
    // Rolling back has then undone everything; there is nothing more to do.
  }
}

const std::vector<CatalogObject>& Database::Objects() {
  const ReadLock lock(*engine_->pager);
  return engine_->catalog.Objects();
}

const CatalogObject* Database::FindObject(std::string_view name) {
  const ReadLock lock(*engine_->pager);
  return engine_->catalog.Find(name);
}

std::uint64_t Database::PagesVersion() {
  const ReadLock lock(*engine_->pager);
  return engine_->pager->Generation();
}

bool Database::NothingSince(std::uint64_t version) { return engine_->pager->NothingSince(version); }

std::uint64_t Database::SchemaVersion() {
  const ReadLock lock(*engine_->pager);
  return engine_->pager->Generation();
}

Table& Database::OpenTable(std::string_view name) {
  const ReadLock lock(*engine_->pager);
  const CatalogObject* object = engine_->catalog.Find(name);
  if (object == nullptr || (object->kind != ObjectKind::kTable && object->kind != ObjectKind::kSystemTable))
    throw NoSuchTable("There is no table \"" + std::string(name) + "\"");
  const std::string exact = object->name;
  Table& table = engine_->TableAt(static_cast<PageNumber>(object->id), exact);
  table.Core().Refresh();
  return table;
}

Table& Database::CreateTable(const TableSpec& spec) {
  Schema(*engine_).CreateTable(spec);
  return OpenTable(spec.name);
}

void Database::DropTable(std::string_view name) { Schema(*engine_).DropObject(name); }
void Database::RenameTable(std::string_view name, std::string_view newName) { Schema(*engine_).RenameTable(name, newName); }
void Database::AddColumn(std::string_view table, const ColumnDef& column) { Schema(*engine_).AddColumn(table, column); }
void Database::DropColumn(std::string_view table, std::string_view column) { Schema(*engine_).DropColumn(table, column); }
void Database::AlterColumn(std::string_view table, const ColumnDef& column, const std::function<Value(const Value&)>& convert) {
  Schema(*engine_).AlterColumn(table, column, convert);
}
void Database::SetLastAutoNumber(std::string_view table, std::int32_t last) { Schema(*engine_).SetLastAutoNumber(table, last); }
void Database::CreateIndex(std::string_view table, const IndexSpec& index) { Schema(*engine_).CreateIndex(table, index); }
void Database::DropIndex(std::string_view table, std::string_view index) { Schema(*engine_).DropIndex(table, index); }

std::vector<Relationship> Database::Relationships() {
  const ReadLock lock(*engine_->pager);
  return Schema(*engine_).Relationships();
}

void Database::CreateRelationship(const Relationship& relationship) { Schema(*engine_).CreateRelationship(relationship); }
void Database::DropRelationship(std::string_view name) { Schema(*engine_).DropRelationship(name); }
void Database::CreateQuery(const QuerySpec& query) { Schema(*engine_).CreateQuery(query); }
void Database::CreateLink(const LinkSpec& link) { Schema(*engine_).CreateLink(link); }

std::string Database::QueryText(std::string_view name) {
  const ReadLock lock(*engine_->pager);
  const CatalogObject* object = engine_->catalog.Find(name);
  if (object == nullptr || object->kind != ObjectKind::kQuery)
    throw Error(ErrorCode::kNotFound, "There is no query \"" + std::string(name) + "\"");
  const std::int32_t id = object->id;
  Table& table = engine_->catalog.QueriesTable();
  const std::size_t idColumn = table.ColumnAt("ObjectId");
  const std::size_t attribute = table.ColumnAt("Attribute");
  const std::size_t expression = table.ColumnAt("Expression");
  for (ScanCursor cursor = table.Scan(); cursor.Next();) {
    Row& row = cursor.Current();
    if (row.Integer(idColumn) != id || row.Integer(attribute) != 1) continue;
    std::string text(row.Text(expression));
    while (!text.empty() && text.back() == '\0') text.pop_back();
    return text;
  }
  return {};
}

std::vector<Property> Database::Properties(std::string_view object, std::string_view column) {
  const ReadLock lock(*engine_->pager);
  const CatalogObject* found = engine_->catalog.Find(object);
  if (found == nullptr) throw Error(ErrorCode::kNotFound, "There is no object \"" + std::string(object) + "\"");
  return engine_->catalog.ReadProperties(found->id).Of(column);
}

void Database::SetProperty(std::string_view object, std::string_view column, const Property& property) {
  ChangeScope scope(*engine_->pager, true);
  const CatalogObject* found = engine_->catalog.Find(object);
  if (found == nullptr) throw Error(ErrorCode::kNotFound, "There is no object \"" + std::string(object) + "\"");
  PropertyMap properties = engine_->catalog.ReadProperties(found->id);
  properties.Set(column, property);
  scope.Touching();
  engine_->catalog.WriteProperties(found->id, properties);
  engine_->pager->ChangeGeneration();
  scope.Done();
}

void Database::RemoveProperty(std::string_view object, std::string_view column, std::string_view name) {
  ChangeScope scope(*engine_->pager, true);
  const CatalogObject* found = engine_->catalog.Find(object);
  if (found == nullptr) throw Error(ErrorCode::kNotFound, "There is no object \"" + std::string(object) + "\"");
  PropertyMap properties = engine_->catalog.ReadProperties(found->id);
  if (properties.Find(column, name) != nullptr) {
    properties.Remove(column, name);
    scope.Touching();
    engine_->catalog.WriteProperties(found->id, properties);
    engine_->pager->ChangeGeneration();
  }
  scope.Done();
}

void Database::Compact(const std::string& newPath, const Protection& protection, std::optional<int> version) {
  if (TransactionDepth() > 0) throw Error(ErrorCode::kInUse, "A database cannot be compacted while a transaction is open");
  CompactInto(*this, newPath, protection, version.value_or(VersionOfCopy()), engine_->files);
}

void Database::Backup(const std::string& newPath) {
  if (TransactionDepth() > 0) throw Error(ErrorCode::kInUse, "A database cannot be copied while a transaction is open");
  Sharing::RequireName(newPath);
  FileSystem& files = engine_->files;
  if (files.Exists(newPath)) throw Error(ErrorCode::kAlreadyExists, "There is a file \"" + newPath + "\" already");
  const std::string working = newPath + "-new";
  const ReadLock lock(*engine_->pager);
  bool made = false;
  const auto make = [&](File& model) {
    try {
      auto file = files.OpenBeside(working, FileMode::kCreateNew, model);
      made = true;
      return file;
    } catch (const Error& error) {
      if (error.Code() != ErrorCode::kAlreadyExists) throw;
      throw Error(ErrorCode::kAlreadyExists, "\"" + working +
                                                 "\" is there, where a copy is written until it is whole: another one is being made, "
                                                 "or was broken off. Remove it in that case");
    }
  };
  try {
    engine_->pager->CopyTo(make);
    if (files.Exists(newPath)) throw Error(ErrorCode::kAlreadyExists, "Somebody else has made a file \"" + newPath + "\" meanwhile");
    files.Rename(working, newPath);
  } catch (...) {
    try {
      if (made) files.Remove(working);
    } catch (const Error&) {
      // What went wrong first is what the caller must hear of.
    }
    throw;
  }
  files.SyncFolder(newPath);
}

std::vector<Finding> Database::Check() {
  const ReadLock lock(*engine_->pager);
  return CheckStructure(*engine_);
}

Database::Counters Database::Count() const noexcept {
  const auto counted = engine_->pager->Count();
  Counters counters;
  counters.pagesRead = counted.pagesRead;
  counters.pagesWritten = counted.pagesWritten;
  counters.pagesDecoded = counted.pagesDecoded;
  counters.pagesEncoded = counted.pagesEncoded;
  counters.commits = counted.commits;
  counters.syncs = counted.syncs;
  counters.stretches = counted.stretches;
  counters.cachedBytes = engine_->pager->CachedBytes();
  return counters;
}

}  // namespace jet
