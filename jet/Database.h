#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "jet/page/Finding.h"
#include "jet/schema/Objects.h"
#include "jet/schema/Specs.h"
#include "jet/value/Error.h"

namespace jet {

class FileSystem;
class Table;
struct Engine;

enum class OpenMode {
  kReadOnly,   ///< nothing is ever written to the database file, except undoing a transaction that a crash left half written
  kShared,     ///< others of this engine may read and write too
  kExclusive,  ///< nobody else may open the file meanwhile
};

/// Milliseconds that one who wants to change something waits for those who came before. Longer than any transaction of ours (a batch of
/// a copy, an index built over a large table), and as long as a person looks at a window that does not answer.
constexpr int kLockWait = 30000;

struct OpenOptions {
  OpenMode mode = OpenMode::kShared;
  std::size_t cacheBytes = std::size_t{16} << 20;  ///< budget of the page cache
  int lockWaitMilliseconds = kLockWait;            ///< how long to wait for another process before kInUse
  FileSystem* fileSystem = nullptr;                ///< null: the machine's own. Not owned; must outlive the database
  std::string password = {};                       ///< of the database, UTF-8; not looked at where the file has none. It is not kept
};

/// How a file that is written anew is kept from others. What is not said is as the source has it; a new file has neither.
struct Protection {
  std::optional<std::string> password = {};  ///< of the database, UTF-8, at most 20 characters (UTF-16 units); empty: none
  std::optional<bool> encoded = {};  ///< whether its pages are, by RC4 under a key that page 0 tells: against a glance, not a reader
};

/// One open Access file. Not for use by several threads at a time.
///
/// Names of tables, columns and indexes are compared without regard to case. Every operation that changes something is a transaction
/// of its own unless one is open. After an error the object is usable and the operation has changed nothing; a failure of the disk in
/// the middle of a change rolls the whole open transaction back (TransactionDepth() is then 0).
class Database {
 public:
  /// Makes a new empty database and opens it for exclusive use: of Access 2007 where the name ends in ".accdb", which has no protection
  /// (kUnsupported), else of Access 2000. The password is the protection's, not the options'.
  /// Errors: kAlreadyExists when there is a file of that name, kReadOnly, kIo; of a password as SetPassword.
  /// version: 3 for Access 97, 4 for Access 2000 to 2003.
  static std::unique_ptr<Database> Create(const std::string& path, const OpenOptions& options = {}, const Protection& protection = {},
                                          int version = 4);
  /// Opens a file by any path that leads to it. A transaction that a crash left half written is undone first.
  /// Errors: kNotFound, kNotAnAccessFile, kPasswordProtected, kWrongPassword, kInUse, kReadOnly, kDamaged, kIo, kUnsupported (a name that
  /// ends in ".ldb", as its lock file's does; a file with several names).
  /// An .accdb opens as kReadOnly whatever the mode asks, and so does a Jet 3 file in a code page other than 1250, 1251, 1252 and 1254.
  static std::unique_ptr<Database> Open(const std::string& path, const OpenOptions& options = {});
  /// Rolls back what is open and closes.
  ~Database();
  Database(const Database&) = delete;
  Database& operator=(const Database&) = delete;

  [[nodiscard]] const std::string& Path() const noexcept;
  /// True when the path leads to this very file, by whatever links.
  [[nodiscard]] bool IsAt(const std::string& path) const;
  /// 3 for Access 97 files, 4 for Access 2000 to 2003.
  [[nodiscard]] int FormatVersion() const noexcept;
  /// The one that Compact gives the copy when it is not told: that of the file, but 4 for a Jet 3 file in another code page than 1252, the only one
  /// in which texts of a copy have their order.
  [[nodiscard]] int VersionOfCopy() const noexcept;
  /// Of an .accdb, whose format is else 4, the lowest release that knows all that is in it: 2 for Access 2007, 3 for 2010, 5 for 2016, 6 for 2019. 0 for
  /// an .mdb.
  [[nodiscard]] int Release() const noexcept;
  /// True when nothing can be written: opened so, or a file that always is (see Open).
  [[nodiscard]] bool ReadOnly() const noexcept;
  /// True when opening the file takes a password now.
  [[nodiscard]] bool HasPassword();
  /// True when the pages lie encoded in the file.
  [[nodiscard]] bool Encoded() const noexcept;
  /// Gives the file another database password (UTF-8), or takes it away when empty: whoever opens it from then on needs that one. In Jet 4 it
  /// keeps nobody from reading the file who does not ask for it. Errors: kValueTooLong for more than 20 characters (UTF-16 units), kUnsupported
  /// for NUL, for bytes that are no UTF-8 and for an .accdb, kReadOnly, kInUse.
  void SetPassword(std::string_view password);

  // ----- transactions
  /// Begins a transaction, or a nested one. Each Begin needs its Commit or Rollback, innermost first.
  void Begin();
  /// Ends the innermost transaction. The outermost writes and syncs; when that fails everything is rolled back and the error raised.
  /// Error of both ends: kNoTransaction.
  void Commit();
  /// Undoes what happened since the innermost Begin.
  void Rollback();
  /// Takes the right to change now, in the open transaction, so that what is read from here on is what the changes will find. Without it
  /// the first change does so. Errors: kInUse, kReadOnly.
  void BeginChanges();
  /// 0 = none open.
  [[nodiscard]] int TransactionDepth() const noexcept;
  /// The last number that a counter gave to a row inserted through this object, in whatever table; 0 before the first. A rollback leaves it.
  [[nodiscard]] std::int32_t LastIdentity() const noexcept;
  /// Changes OpenOptions::lockWaitMilliseconds.
  void SetLockWait(int milliseconds) noexcept;

  /// Keeps other writers out and the view of the file stable while it lives: they wait, so it should not live for longer than a block of
  /// rows takes. Statements that read in several steps hold one; single calls take their own. Nesting is fine. A change inside of one is
  /// kInUse at once when another process is about to write, as neither could go on. Errors of the constructor: kInUse when another process is writing for too long.
  class ReadScope {
   public:
    explicit ReadScope(Database& database);
    ~ReadScope();
    ReadScope(const ReadScope&) = delete;
    ReadScope& operator=(const ReadScope&) = delete;

   private:
    Database& database_;
  };

  // ----- catalog
  /// All objects, in the order of the catalog's rows. Read once and kept until something changes: what this and FindObject give is good until
  /// the next call, and as long as a ReadScope lives.
  [[nodiscard]] const std::vector<CatalogObject>& Objects();
  /// The table, link or query of that name (they share one name space); null when there is none.
  [[nodiscard]] const CatalogObject* FindObject(std::string_view name);
  /// A number that changes whenever rows or definitions may have been changed by another process, or undone by a rollback.
  [[nodiscard]] std::uint64_t PagesVersion();
  /// True while nobody else can have changed anything since PagesVersion() was that. Takes no lock; costs one small read.
  [[nodiscard]] bool NothingSince(std::uint64_t version);
  /// A number that changes whenever a definition may have changed (by this object, a rollback or another process).
  [[nodiscard]] std::uint64_t SchemaVersion();

  /// A local or system table. The object belongs to the database and lives until the table is dropped or the database closed.
  /// Errors: kNotFound (also for links and queries), kDamaged.
  Table& OpenTable(std::string_view name);

  // ----- definitions
  /// Errors: kAlreadyExists, kLimit, kUnsupported (a name or type that the format cannot hold).
  Table& CreateTable(const TableSpec& spec);
  /// Drops a local table, a link or a query. Errors: kNotFound; kInUse when a relationship still uses the table or a cursor stands in it.
  void DropTable(std::string_view name);
  /// Errors: kNotFound, kAlreadyExists.
  void RenameTable(std::string_view name, std::string_view newName);
  /// Adds a column after the others; existing rows read null (Yes/No: false).
  void AddColumn(std::string_view table, const ColumnDef& column);
  /// Errors: kNotFound; kUnsupported when an index or relationship uses the column.
  void DropColumn(std::string_view table, std::string_view column);
  /// Sets what Table::LastAutoNumber gives: the next row of a counter gets the number behind it, whatever numbers the rows have. For tables
  /// whose rows came with their numbers. Errors: kNotFound (also a table without a counter), kReadOnly.
  void SetLastAutoNumber(std::string_view table, std::int32_t last);
  /// Gives a column another type, size or counter; number, place, properties and indexes stay. convert: see Schema.h; every value must fit,
  /// else nothing is changed. Errors: kNotFound; kUnsupported when a relationship uses the column; kTypeMismatch, kValueTooLong,
  /// kNullNotAllowed (a counter over rows without a number), kDuplicateKey (an index over the new values).
  void AlterColumn(std::string_view table, const ColumnDef& column, const std::function<Value(const Value&)>& convert = {});
  /// Builds the index over the existing rows. Errors: kAlreadyExists, kNotFound (column), kDuplicateKey, kNullNotAllowed, kLimit, kUnsupported.
  void CreateIndex(std::string_view table, const IndexSpec& index);
  /// Errors: kNotFound; kUnsupported for the index of a relationship.
  void DropIndex(std::string_view table, std::string_view index);

  [[nodiscard]] std::vector<Relationship> Relationships();
  /// An enforced one needs a unique index on the referenced columns and checks the existing rows. Errors: kNotFound, kAlreadyExists, kUnsupported.
  void CreateRelationship(const Relationship& relationship);
  void DropRelationship(std::string_view name);

  /// Adds a linked table; its target is not looked at. Errors: kAlreadyExists.
  void CreateLink(const LinkSpec& link);

  /// Adds a stored query; what its rows say is not looked at. Errors: kAlreadyExists, kUnsupported (a name that cannot be).
  void CreateQuery(const QuerySpec& query);
  /// The SQL text of a stored query that is kept as text (data definition, pass-through), else an empty text.
  [[nodiscard]] std::string QueryText(std::string_view name);

  // ----- properties
  /// Properties of a table, link or query (column empty) or of one of its columns.
  [[nodiscard]] std::vector<Property> Properties(std::string_view object, std::string_view column = {});
  /// Sets or adds one property.
  void SetProperty(std::string_view object, std::string_view column, const Property& property);
  /// Takes a property away; not being there is not an error.
  void RemoveProperty(std::string_view object, std::string_view column, std::string_view name);

  // ----- the whole file
  /// Writes everything into a new file without unused space, rows in the order of the primary key. version: 3 for Access 97, 4 for Access
  /// 2000 to 2003; without one VersionOfCopy. Errors: kAlreadyExists, kInUse inside a
  /// transaction; kUnsupported, naming it, for what the version cannot hold; of a password as SetPassword. After an error there is no new file.
  void Compact(const std::string& newPath, const Protection& protection = {}, std::optional<int> version = {});
  /// Copies the file as it is at one moment, page by page, while others have it open: those who want to write wait meanwhile. The copy has the
  /// rights of the file, is called as it is to be with "-new" behind and gets its name when it is whole. A copy made otherwise beside a writer
  /// is no database. Errors: kAlreadyExists (either name), kNotFound, kInUse in a transaction, kDiskFull, kUnsupported for a name in ".ldb".
  void Backup(const std::string& newPath);
  /// Walks every page and compares everything with everything; an empty list means sound.
  [[nodiscard]] std::vector<Finding> Check();

  /// Counts since the file was opened, for tests and benches: what must not grow is guarded by these.
  struct Counters {
    std::uint64_t pagesRead = 0;     ///< pages fetched from the file
    std::uint64_t pagesWritten = 0;  ///< pages written to the file, journal not counted
    std::uint64_t pagesDecoded = 0;  ///< of an encoded file: one for each page that was fetched
    std::uint64_t pagesEncoded = 0;  ///< two for each page written: what the journal is to know of it, and the page
    std::uint64_t commits = 0;       ///< outermost commits that had something to write
    std::uint64_t syncs = 0;         ///< Sync and SyncFolder calls
    std::uint64_t stretches = 0;     ///< of reading, each with its own locks
    std::size_t cachedBytes = 0;     ///< bytes of pages in memory now
  };
  [[nodiscard]] Counters Count() const noexcept;

  /// The engine's own parts work on this; not for callers.
  [[nodiscard]] Engine& Internals() noexcept { return *engine_; }

 private:
  explicit Database(std::unique_ptr<Engine> engine);
  std::unique_ptr<Engine> engine_;
};

/// A transaction as a scope: leaving it without Commit rolls back.
class Transaction {
 public:
  explicit Transaction(Database& database) : database_(&database) {
    database.Begin();
    depth_ = database.TransactionDepth();
  }
  ~Transaction();
  Transaction(const Transaction&) = delete;
  Transaction& operator=(const Transaction&) = delete;
  void Commit() {
    Database* database = std::exchange(database_, nullptr);
    database->Commit();
  }

 private:
  Database* database_;
  int depth_ = 0;
};

}  // namespace jet
