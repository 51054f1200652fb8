#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <span>
#include <string>
#include <unordered_set>
#include <vector>

#include "jet/file/FileSystem.h"
#include "jet/page/PageStore.h"

namespace jet {

/// The pages of the database as they were before the transaction, in a file beside it, while the transaction goes into the database file.
/// As long as the journal is there the transaction has not happened: Recover puts the old pages back.
///
///   header, 40 bytes: "JETJRNL2", u32 page size, u32 pages of the database before, u64 nonce, u64 zero, u64 checksum of the 32 bytes
///   old page, 16 bytes + page: u32 page, u32 zero, u64 checksum of nonce, page and bytes; then the old bytes
///   new page, 16 bytes + 8 for each sector of 512 bytes: u32 page, u32 one, u64 checksum; then a checksum of each sector that the
///     transaction is about to write. Recover by it knows the work of others: a sector that is neither old nor one of these was written by
///     another program, which does not know of the journal, and putting old pages beside such a one would ruin both states.
///     "JETJRNL1", of an earlier edition, had none of these.
///
/// A record whose checksum is wrong was being written when the power went; it and what follows were never needed, because pages are
/// changed in the database only after their records have been synced.
class Journal {
 public:
  Journal(FileSystem& files, const std::string& databasePath, std::size_t pageSize);

  [[nodiscard]] bool Started() const noexcept { return started_; }
  /// Makes the journal file. Nothing in the database may change before the first Sync.
  /// It is for those who may open the database. Errors: kIo when something that is no journal is in its place, and those of files.
  void Start(PageNumber pageCount, File& database);
  [[nodiscard]] bool Has(PageNumber page) const { return pages_.count(page) != 0; }
  /// Adds the old bytes of a page.
  void Add(PageNumber page, std::span<const std::byte> bytes);
  /// Adds what is about to be written over a page, or behind the old end.
  void AddNew(PageNumber page, std::span<const std::byte> bytes);
  /// Returns when all that was added would survive a power cut.
  void Sync();
  /// The transaction has happened (or has been undone): the journal goes.
  void Finish();

  /// Undoes what a journal left beside the database says, then removes it. True when something was put back.
  /// Errors: kDamaged when another program has written the database meanwhile: neither file is touched; kIo (also for a file of that name that is no journal) and kDiskFull; the journal then stays.
  bool Recover(File& database);
  /// True when there is a journal file.
  [[nodiscard]] bool LeftBehind() { return files_.Exists(path_); }
  [[nodiscard]] std::uint64_t SyncCount() const noexcept { return syncs_; }
  [[nodiscard]] const std::string& Path() const noexcept { return path_; }

 private:
  struct Left;
  void Append(PageNumber page, std::uint32_t kind, std::span<const std::byte> bytes);
  /// Reads what is whole of a journal that was left.
  [[nodiscard]] Left Read(File& journal, std::span<const std::byte> header);
  void RequireOurOwn(File& database, File& journal, const Left& left) const;
  [[noreturn]] void RefuseForeign(const std::string& what) const;
  void Flush();
  void RequireJournal(std::span<const std::byte> start) const;
  [[nodiscard]] std::uint64_t Sum(PageNumber page, std::span<const std::byte> bytes) const;
  void Remove();

  FileSystem& files_;
  std::string databasePath_;
  std::string path_;
  std::size_t pageSize_;
  std::unique_ptr<File> file_;
  std::unordered_set<PageNumber> pages_;
  std::vector<std::byte> buffer_;
  std::uint64_t flushed_ = 0;
  std::uint64_t nonce_ = 0;
  std::uint64_t syncs_ = 0;
  bool started_ = false;
  bool folderSynced_ = false;
};

}  // namespace jet
