#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "jet/schema/Catalog.h"
#include "jet/Database.h"
#include "jet/file/FileSystem.h"
#include "jet/page/Header.h"
#include "jet/page/Pager.h"
#include "jet/file/Sharing.h"
#include "jet/table/Table.h"

namespace jet {

/// What Database is made of. Members are in the order in which they may be torn down from the end.
struct Engine {
  FileSystem& files;
  std::string path;      ///< as it was given
  std::string realPath;  ///< without links and dots: what the names of lock file and journal are made of
  OpenOptions options;
  FileHeader header;
  bool readOnly = false;
  std::unique_ptr<Sharing> sharing;
  std::unique_ptr<Pager> pager;
  std::unordered_map<PageNumber, std::unique_ptr<Table>> tables;  ///< by definition page
  Catalog catalog;
  std::int32_t lastIdentity = 0;  ///< see Database::LastIdentity

  Engine(FileSystem& fileSystem, std::string databasePath, const OpenOptions& openOptions)
      : files(fileSystem), path(std::move(databasePath)), options(openOptions), catalog(*this) {}

  /// Code page of texts: 0 in Jet 4, where texts are Unicode.
  [[nodiscard]] std::uint16_t CodePage() const noexcept { return header.version == 3 ? header.codePage : std::uint16_t{0}; }
  /// The table whose definition begins there. Errors: kDamaged.
  Table& TableAt(PageNumber page, const std::string& name);
};

/// A stretch of reading; see Pager::BeginRead.
class ReadLock {
 public:
  explicit ReadLock(Engine& engine) : engine_(&engine) { engine.pager->BeginRead(); }
  ~ReadLock() { engine_->pager->EndRead(); }
  ReadLock(const ReadLock&) = delete;
  ReadLock& operator=(const ReadLock&) = delete;

 private:
  Engine* engine_;
};

/// One changing operation: a transaction of its own when none is open. Left without Done it is undone: its own transaction, or, when
/// the caller's transaction has been changed in part (Touching), that one as a whole.
class ChangeScope {
 public:
  /// nested: begin a nested transaction inside the caller's, so that undoing is possible without touching the rest.
  explicit ChangeScope(Engine& engine, bool nested = false);
  ~ChangeScope();
  /// As nested at construction, decided later; before anything is touched.
  void BeginNested();
  ChangeScope(const ChangeScope&) = delete;
  ChangeScope& operator=(const ChangeScope&) = delete;
  void Touching() noexcept { touching_ = true; }
  /// All that was changed has been changed back.
  void Untouched() noexcept { touching_ = false; }
  void Done();

 private:
  Engine& engine_;
  bool own_ = false;
  bool touching_ = false;
  bool done_ = false;
};

}  // namespace jet
