#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <unordered_map>
#include <utility>
#include <vector>

#include "jet/file/FileSystem.h"
#include "jet/page/Journal.h"
#include "jet/page/PageCodec.h"
#include "jet/page/PageStore.h"
#include "jet/page/PagesInUse.h"
#include "jet/file/Sharing.h"
#include "jet/page/UsageMap.h"

namespace jet {

/// The pages of one file: a cache of bounded size, and transactions with a rollback journal.
///
/// A transaction's changed pages stay in memory and go into the file at the commit: old pages into the journal, sync, new pages, sync,
/// journal away. When they outgrow the cache they go into the file earlier, after their old bytes are safely in the journal.
/// Nested transactions keep the old bytes of the pages that they change in memory.
class Pager final : public PageStore {
 public:
  /// freePages: row pointer of the map of free pages, 0 while the file is being made.
  Pager(FileSystem& files, const std::string& path, std::unique_ptr<File> file, std::size_t pageSize, std::size_t cacheBytes,
        Sharing& sharing, bool readOnly);
  ~Pager() override;
  Pager(const Pager&) = delete;
  Pager& operator=(const Pager&) = delete;

  /// How pages lie in the file, null for as they are; before any but page 0 is read.
  void SetCodec(std::unique_ptr<PageCodec> codec) { codec_ = std::move(codec); }

  [[nodiscard]] std::size_t PageSize() const noexcept override { return pageSize_; }
  [[nodiscard]] PageNumber PageCount() const noexcept override { return pageCount_; }
  [[nodiscard]] PageRef Read(PageNumber page) override;
  [[nodiscard]] PageRef Edit(PageNumber page) override;
  [[nodiscard]] PageRef Allocate() override;
  void Free(PageNumber page) override;
  /// A new page of zeros at the end of the file, whatever the map of free pages says. Errors: kLimit at 2 GiB, in Jet 3 at 1 GiB.
  [[nodiscard]] PageRef Extend();
  void SetFreePageMap(PackedPointer where) noexcept { freePages_ = where; }
  [[nodiscard]] PackedPointer FreePageMap() const noexcept { return freePages_; }
  /// Who can tell which pages are in use, asked before the first page of a file is given back or used again. Without it (while a file is
  /// being made) the map of free pages is believed.
  void SetSurvey(std::function<PagesInUse()> survey) { survey_ = std::move(survey); }
  /// Asks now, unless that has been done since the pages last changed behind us. For operations that take structures apart.
  void Survey();

  // ----- sharing with other processes
  /// Begins a stretch of reading: what other processes committed before is seen, and nothing changes meanwhile. Nests.
  void BeginRead();
  void EndRead() noexcept;
  /// Makes sure that this process may change pages. Called by each changing operation before it reads anything. Errors: kReadOnly, kInUse.
  void BeginWrite();

  /// Copies the whole file into the one that is made, and syncs it. Called while in read and outside of a transaction.
  void CopyTo(const std::function<std::unique_ptr<File>(File& model)>& make);

  // ----- transactions
  void Begin();
  void Commit();
  void Rollback();
  /// Rolls back all levels.
  void RollbackAll() noexcept;
  [[nodiscard]] int Depth() const noexcept { return static_cast<int>(levels_.size()); }
  /// Changes whenever pages may have changed other than by Edit: rollback, changes by another process.
  [[nodiscard]] std::uint64_t Generation() const noexcept { return generation_; }
  /// True while nobody, this object included, can have committed or rolled back anything since Generation() was that. Costs one small read and no
  /// lock: what was read by then is still what the file holds, but more must not be read without BeginRead.
  [[nodiscard]] bool NothingSince(std::uint64_t generation);
  /// A definition has changed: whoever keeps something derived from pages looks again.
  void ChangeGeneration() noexcept { ++generation_; }
  /// True once something was changed in the open transaction.
  [[nodiscard]] bool HasChanges() const noexcept { return changed_; }

  struct Counters {
    std::uint64_t pagesRead = 0;
    std::uint64_t pagesWritten = 0;
    std::uint64_t pagesDecoded = 0;
    std::uint64_t pagesEncoded = 0;
    std::uint64_t commits = 0;
    std::uint64_t syncs = 0;
    std::uint64_t stretches = 0;  ///< of reading, for which locks were taken
  };
  [[nodiscard]] Counters Count() const noexcept;
  [[nodiscard]] std::size_t CachedBytes() const noexcept { return frames_.size() * pageSize_; }

 protected:
  void Unpin(void* frame) noexcept override;

 private:
  struct Frame {
    std::unique_ptr<std::byte[]> bytes;
    PageNumber page = 0;
    std::uint32_t pins = 0;
    std::uint64_t savedFor = 0;  ///< stamp of the nested transaction that has this page's old bytes
    bool dirty = false;
    bool referenced = false;
    bool orphan = false;  ///< out of the cache; goes with its last pin
    bool inUse = false;
  };
  struct Level {
    std::uint64_t stamp = 0;
    PageNumber pageCount = 0;
    bool whole = false;  ///< nothing had been changed when it began: undoing it is undoing everything
    std::unordered_map<PageNumber, std::unique_ptr<std::byte[]>> images;
  };
  static constexpr std::size_t kChunk = 1024;

  [[nodiscard]] Frame*& Entry(PageNumber page);
  [[nodiscard]] Frame* Lookup(PageNumber page) noexcept;
  Frame* Fetch(PageNumber page, bool load);
  Frame* TakeFrame();
  Frame* Evict();
  PageRef Pin(Frame* frame);
  void Touch(Frame* frame);
  void SaveImage(Frame* frame);
  void Discard(Frame* frame) noexcept;
  void DropCache() noexcept;
  bool Spill();
  void ReadPlain(PageNumber page, std::span<std::byte> bytes);
  void CopyAsStored(const Frame& frame, std::span<std::byte> to);
  void JournalOldPages(const std::vector<Frame*>& frames);
  void WriteFrames(std::vector<Frame*>& frames);
  [[nodiscard]] std::vector<Frame*> DirtyFrames(bool unpinnedOnly);
  void WriteOut();
  void UndoAll();
  void UndoLevel(Level& level);
  /// Undoes what a crash left half written; called while in read. mayChange: the right to change is held already, and is kept.
  void RecoverIfLeftBehind(bool mayChange = false);
  void Refresh();
  void EndTransaction() noexcept;
  [[nodiscard]] UsageMap FreeMap();
  [[nodiscard]] std::optional<PageNumber> FindFreePage(UsageMap& map);

  FileSystem& files_;
  std::string path_;
  std::unique_ptr<File> file_;
  std::unique_ptr<PageCodec> codec_;
  std::size_t pageSize_;
  std::size_t capacity_;
  Sharing& sharing_;
  bool readOnly_;
  PackedPointer freePages_ = 0;
  PageNumber pageCount_ = 0;
  PageNumber committedPageCount_ = 0;
  PageNumber freeHint_ = 0;
  std::function<PagesInUse()> survey_;
  std::optional<PagesInUse> inUse_;

  std::vector<std::unique_ptr<Frame>> frames_;
  std::vector<std::unique_ptr<Frame*[]>> directory_;
  std::size_t hand_ = 0;
  std::size_t dirtyCount_ = 0;

  Journal journal_;
  std::vector<Level> levels_;
  std::uint64_t nextStamp_ = 1;
  std::uint64_t generation_ = 1;
  std::uint64_t seenCommits_ = ~std::uint64_t{0};  ///< none yet: what was measured before the first lock is measured again under it
  int readDepth_ = 0;
  bool writing_ = false;  ///< holds the right to change
  bool readersOut_ = false;
  bool changed_ = false;
  bool fileTouched_ = false;    ///< the file holds pages of the open transaction
  bool needsRecovery_ = false;  ///< undoing failed: the journal must be played back before anything else
  Counters counters_;
};

}  // namespace jet
