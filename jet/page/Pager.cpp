#include "jet/page/Pager.h"

#include <algorithm>
#include <cstring>
#include <utility>

#include "jet/page/Format.h"
#include "jet/value/Error.h"

namespace jet {
namespace {

constexpr std::size_t kSmallestCache = 64;    // pages: enough for what one operation pins, with room to spare
constexpr std::size_t kWriteRun = 64;         // pages written in one call at most
constexpr PageNumber kFirstOrdinaryPage = 2;  // header and global maps never move

}  // namespace

Pager::Pager(FileSystem& files, const std::string& path, std::unique_ptr<File> file, std::size_t pageSize, std::size_t cacheBytes,
             Sharing& sharing, bool readOnly)
    : files_(files),
      path_(path),
      file_(std::move(file)),
      pageSize_(pageSize),
      capacity_(std::max(cacheBytes / pageSize, kSmallestCache)),
      sharing_(sharing),
      readOnly_(readOnly),
      journal_(files, path, pageSize) {
  pageCount_ = committedPageCount_ = static_cast<PageNumber>(file_->Size() / pageSize_);
}

Pager::~Pager() { RollbackAll(); }

// ----- cache

Pager::Frame*& Pager::Entry(PageNumber page) {
  const std::size_t chunk = page / kChunk;
  if (chunk >= directory_.size()) directory_.resize(chunk + 1);
  if (!directory_[chunk]) directory_[chunk] = std::make_unique<Frame*[]>(kChunk);
  return directory_[chunk][page % kChunk];
}

Pager::Frame* Pager::Lookup(PageNumber page) noexcept {
  const std::size_t chunk = page / kChunk;
  return chunk < directory_.size() && directory_[chunk] ? directory_[chunk][page % kChunk] : nullptr;
}

PageRef Pager::Pin(Frame* frame) {
  ++frame->pins;
  return {this, frame->page, frame->bytes.get(), pageSize_, frame};
}

void Pager::Unpin(void* raw) noexcept {
  auto* frame = static_cast<Frame*>(raw);
  if (--frame->pins == 0 && frame->orphan) {
    frame->orphan = false;
    frame->inUse = false;
  }
}

void Pager::Discard(Frame* frame) noexcept {
  if (frame->dirty) --dirtyCount_;
  frame->dirty = false;
  if (frame->inUse && !frame->orphan) directory_[frame->page / kChunk][frame->page % kChunk] = nullptr;
  if (frame->pins > 0)
    frame->orphan = true;
  else
    frame->inUse = false;
  frame->savedFor = 0;
}

void Pager::DropCache() noexcept {
  for (auto& frame : frames_)
    if (frame->inUse && !frame->orphan) Discard(frame.get());
}

Pager::Frame* Pager::Evict() {
  for (std::size_t step = 0; step < frames_.size() * 2; ++step) {
    Frame* frame = frames_[hand_].get();
    hand_ = (hand_ + 1) % frames_.size();
    if (!frame->inUse) return frame;
    if (frame->pins > 0 || frame->dirty) continue;
    if (std::exchange(frame->referenced, false)) continue;
    Discard(frame);
    return frame;
  }
  return nullptr;
}

Pager::Frame* Pager::TakeFrame() {
  if (frames_.size() >= capacity_) {
    if (dirtyCount_ > capacity_ - capacity_ / 4) Spill();
    if (Frame* frame = Evict()) return frame;
  }
  // Everything is pinned, or readers keep us from writing early: the cache grows for the time being.
  frames_.push_back(std::make_unique<Frame>());
  frames_.back()->bytes = std::make_unique_for_overwrite<std::byte[]>(pageSize_);
  return frames_.back().get();
}

void Pager::ReadPlain(PageNumber page, std::span<std::byte> bytes) {
  const std::size_t got = file_->Read(std::uint64_t{page} * pageSize_, bytes);
  if (got < pageSize_) throw Error(ErrorCode::kDamaged, "The file is cut short", page, static_cast<std::uint32_t>(got));
  ++counters_.pagesRead;
  if (!codec_ || page == 0) return;
  if (std::all_of(bytes.begin(), bytes.end(), [](std::byte byte) { return byte == std::byte{0}; })) return;  // never written
  codec_->Decode(page, bytes);
  ++counters_.pagesDecoded;
}

void Pager::CopyAsStored(const Frame& frame, std::span<std::byte> to) {
  std::memcpy(to.data(), frame.bytes.get(), pageSize_);
  if (!codec_ || frame.page == 0) return;
  codec_->Encode(frame.page, to);
  ++counters_.pagesEncoded;
}

Pager::Frame* Pager::Fetch(PageNumber page, bool load) {
  if (page >= pageCount_) throw Error(ErrorCode::kDamaged, "A page is referred to that the file does not have", page, 0);
  if (Frame* frame = Lookup(page)) {
    frame->referenced = true;
    return frame;
  }
  Frame* frame = TakeFrame();
  if (load) ReadPlain(page, {frame->bytes.get(), pageSize_});
  Entry(page) = frame;
  frame->page = page;
  frame->pins = 0;
  frame->savedFor = 0;
  frame->dirty = false;
  frame->referenced = true;
  frame->inUse = true;
  return frame;
}

PageRef Pager::Read(PageNumber page) {
  if (needsRecovery_) RecoverIfLeftBehind();
  return Pin(Fetch(page, true));
}

PageRef Pager::Edit(PageNumber page) {
  BeginWrite();
  Frame* frame = Fetch(page, true);
  PageRef pinned = Pin(frame);
  Touch(frame);
  return pinned;
}

void Pager::Touch(Frame* frame) {
  if (!levels_.back().whole && frame->savedFor != levels_.back().stamp) SaveImage(frame);
  if (!frame->dirty) {
    frame->dirty = true;
    ++dirtyCount_;
  }
  changed_ = true;
}

void Pager::SaveImage(Frame* frame) {
  Level& level = levels_.back();
  frame->savedFor = level.stamp;
  if (frame->page >= level.pageCount) return;
  auto& image = level.images[frame->page];
  if (image) return;
  image = std::make_unique_for_overwrite<std::byte[]>(pageSize_);
  std::memcpy(image.get(), frame->bytes.get(), pageSize_);
}

UsageMap Pager::FreeMap() {
  UsageMap map(*this, freePages_, UsageMap::Kind::kFreePages);
  map.SetBitmapSource([this] { return Extend(); });
  return map;
}

PageRef Pager::Extend() {
  BeginWrite();
  if (const Format& format = Format::Of(pageSize_); pageCount_ >= format.mostPages)
    throw Error(ErrorCode::kLimit,
                format.IsJet3() ? "The file would pass the limit of 1 gigabyte" : "The file would pass the limit of 2 gigabytes");
  ++pageCount_;
  Frame* frame = nullptr;
  try {
    frame = Fetch(pageCount_ - 1, false);
  } catch (...) {
    --pageCount_;
    throw;
  }
  std::memset(frame->bytes.get(), 0, pageSize_);
  PageRef pinned = Pin(frame);
  Touch(frame);
  return pinned;
}

void Pager::Survey() {
  if (!inUse_ && survey_) inUse_.emplace(survey_());
}

/// A page that the map lists is used again only when nothing in the file names it: the map may have been written, or damaged, by anybody.
std::optional<PageNumber> Pager::FindFreePage(UsageMap& map) {
  const auto found = map.NextFrom(std::max(freeHint_, kFirstOrdinaryPage), pageCount_);
  if (!found || !survey_) return found;
  Survey();
  if (!inUse_->Complete()) return std::nullopt;  // it may belong to what cannot be read
  if (const std::string* owner = inUse_->OwnerOf(*found))
    throw Error(ErrorCode::kDamaged, "The map of free pages lists page " + std::to_string(*found) + ", which belongs to " + *owner,
                Unpack(freePages_).page, 0);
  return found;
}

PageRef Pager::Allocate() {
  BeginWrite();
  UsageMap map = FreeMap();
  const auto found = FindFreePage(map);
  if (!found) {
    freeHint_ = pageCount_;
    PageRef page = Extend();
    map.Remove(page.Number());
    if (inUse_) inUse_->Take(page.Number());
    return page;
  }
  freeHint_ = *found + 1;
  PageRef page = Edit(*found);
  std::memset(page.Writable().data(), 0, pageSize_);
  map.Remove(*found);
  if (inUse_) inUse_->Take(*found);
  return page;
}

void Pager::Free(PageNumber page) {
  BeginWrite();
  if (page < kFirstOrdinaryPage || page >= pageCount_)
    throw Error(ErrorCode::kDamaged, "A page that cannot be given back is named as one of a table", page, 0);
  Survey();
  if (inUse_) {
    if (const std::string* other = inUse_->SecondOwnerOf(page))
      throw Error(ErrorCode::kDamaged, "The page belongs to " + *inUse_->OwnerOf(page) + " and to " + *other, page, 0);
    inUse_->Release(page);
  }
  FreeMap().Add(page);
  freeHint_ = std::min(freeHint_, page);
}

// ----- sharing

void Pager::BeginRead() {
  if (readDepth_ == 0 && !writing_) {
    ++counters_.stretches;
    sharing_.EnterRead();
    try {
      RecoverIfLeftBehind();
      Refresh();
    } catch (...) {
      sharing_.LeaveRead();
      throw;
    }
  }
  ++readDepth_;
}

void Pager::EndRead() noexcept {
  if (--readDepth_ == 0 && !writing_) sharing_.LeaveRead();
}

bool Pager::NothingSince(std::uint64_t generation) {
  if (generation != generation_ || needsRecovery_) return false;
  return readDepth_ > 0 || writing_ || sharing_.Exclusive() || sharing_.CommitCount() == seenCommits_;
}

void Pager::Refresh() {
  if (sharing_.Exclusive()) return;
  const std::uint64_t commits = sharing_.CommitCount();
  if (commits == seenCommits_) return;
  seenCommits_ = commits;
  DropCache();
  pageCount_ = committedPageCount_ = static_cast<PageNumber>(file_->Size() / pageSize_);
  freeHint_ = 0;
  inUse_.reset();
  ++generation_;
}

void Pager::RecoverIfLeftBehind(bool mayChange) {
  // In exclusive use nobody else can leave a journal; it was looked for when the file was opened.
  if (!needsRecovery_ && (sharing_.Exclusive() || writing_ || !journal_.LeftBehind())) return;
  if (readOnly_) throw Error(ErrorCode::kReadOnly, "A transaction was left half written and cannot be undone: the file can only be read");
  const bool entered = !needsRecovery_ && !mayChange;
  if (entered) {
    // Nobody waits for the right to change while reading: who has that right wants all readers out.
    sharing_.LeaveRead();
    sharing_.EnterWrite();
  }
  try {
    if (entered && !journal_.LeftBehind()) {
      sharing_.EnterRead();  // another one has undone it meanwhile
    } else {
      if (!sharing_.KeepReadersOut(true)) throw Error(ErrorCode::kInUse, "A transaction was left half written, and others are reading");
      journal_.Recover(*file_);
      sharing_.CountCommit();
      sharing_.LetReadersIn();
    }
  } catch (...) {
    if (entered) sharing_.LeaveWrite();
    throw;
  }
  if (entered || needsRecovery_) sharing_.LeaveWrite();
  needsRecovery_ = false;
  DropCache();
  pageCount_ = committedPageCount_ = static_cast<PageNumber>(file_->Size() / pageSize_);
  freeHint_ = 0;
  inUse_.reset();
  ++generation_;
}

void Pager::BeginWrite() {
  if (writing_) return;
  if (readOnly_) throw Error(ErrorCode::kReadOnly, "The database \"" + path_ + "\" can only be read");
  if (levels_.empty()) throw Error(ErrorCode::kUnsupported, "A change outside a transaction");
  if (needsRecovery_) RecoverIfLeftBehind();
  sharing_.EnterWrite(readDepth_ > 0);
  try {
    if (readDepth_ == 0) {
      sharing_.EnterRead();
      RecoverIfLeftBehind(true);
    }
    Refresh();
  } catch (...) {
    if (readDepth_ == 0) sharing_.LeaveRead();
    sharing_.LeaveWrite();
    throw;
  }
  writing_ = true;
  committedPageCount_ = pageCount_;
  for (auto& level : levels_) level.pageCount = pageCount_;
}

void Pager::CopyTo(const std::function<std::unique_ptr<File>(File& model)>& make) {
  const auto copy = make(*file_);
  std::vector<std::byte> block(kWriteRun * pageSize_);
  const std::uint64_t length = std::uint64_t{pageCount_} * pageSize_;
  for (std::uint64_t offset = 0; offset < length;) {
    const auto part = std::span(block).first(static_cast<std::size_t>(std::min<std::uint64_t>(block.size(), length - offset)));
    if (file_->Read(offset, part) < part.size())
      throw Error(ErrorCode::kDamaged, "The file is cut short", static_cast<PageNumber>(offset / pageSize_), 0);
    copy->Write(offset, part);
    offset += part.size();
  }
  copy->Sync();
}

// ----- transactions

void Pager::Begin() {
  Level level;
  level.stamp = nextStamp_++;
  level.pageCount = pageCount_;
  level.whole = levels_.empty() || !changed_;
  levels_.push_back(std::move(level));
}

void Pager::EndTransaction() noexcept {
  levels_.clear();
  changed_ = false;
  fileTouched_ = false;
  if (writing_) {
    writing_ = false;
    if (readersOut_) sharing_.LetReadersIn();
    readersOut_ = false;
    if (readDepth_ == 0) sharing_.LeaveRead();
    if (!needsRecovery_) sharing_.LeaveWrite();
  }
}

void Pager::Commit() {
  if (levels_.size() > 1) {
    Level inner = std::move(levels_.back());
    levels_.pop_back();
    Level& outer = levels_.back();
    // What the inner one changed first was in the outer one's state when it did.
    if (!outer.whole && !inner.whole)
      for (auto& [page, image] : inner.images)
        if (page < outer.pageCount) outer.images.try_emplace(page, std::move(image));
    for (auto& frame : frames_)
      if (frame->savedFor == inner.stamp) frame->savedFor = outer.stamp;
    return;
  }
  if (changed_) {
    try {
      WriteOut();
    } catch (...) {
      RollbackAll();
      throw;
    }
  }
  EndTransaction();
}

void Pager::WriteOut() {
  if (!readersOut_) {
    if (!sharing_.KeepReadersOut(true)) throw Error(ErrorCode::kInUse, "The changes could not be written: others are reading all the time");
    readersOut_ = true;
  }
  auto frames = DirtyFrames(false);
  JournalOldPages(frames);
  journal_.Sync();
  fileTouched_ = true;
  WriteFrames(frames);
  const std::uint64_t length = std::uint64_t{pageCount_} * pageSize_;
  if (file_->Size() > length) file_->Truncate(length);
  file_->Sync();
  ++counters_.syncs;
  // Counted before the journal goes: a reader that comes after a crash in between finds the journal and undoes.
  sharing_.CountCommit();
  journal_.Finish();
  fileTouched_ = false;
  ++counters_.commits;
  committedPageCount_ = pageCount_;
  if (!sharing_.Exclusive()) seenCommits_ = sharing_.CommitCount();
}

std::vector<Pager::Frame*> Pager::DirtyFrames(bool unpinnedOnly) {
  std::vector<Frame*> dirty;
  dirty.reserve(dirtyCount_);
  for (auto& frame : frames_)
    if (frame->dirty && (!unpinnedOnly || frame->pins == 0)) dirty.push_back(frame.get());
  std::sort(dirty.begin(), dirty.end(), [](const Frame* left, const Frame* right) { return left->page < right->page; });
  return dirty;
}

void Pager::JournalOldPages(const std::vector<Frame*>& frames) {
  if (!journal_.Started()) journal_.Start(committedPageCount_, *file_);
  std::vector<std::byte> old(pageSize_);
  for (const Frame* frame : frames) {
    CopyAsStored(*frame, old);
    journal_.AddNew(frame->page, old);
    if (frame->page >= committedPageCount_ || journal_.Has(frame->page)) continue;
    if (file_->Read(std::uint64_t{frame->page} * pageSize_, old) < pageSize_)
      throw Error(ErrorCode::kDamaged, "The file is cut short", frame->page, 0);
    journal_.Add(frame->page, old);
  }
}

void Pager::WriteFrames(std::vector<Frame*>& frames) {
  std::vector<std::byte> run;
  for (std::size_t i = 0; i < frames.size();) {
    std::size_t end = i + 1;
    while (end < frames.size() && end - i < kWriteRun && frames[end]->page == frames[end - 1]->page + 1) ++end;
    run.resize((end - i) * pageSize_);
    for (std::size_t k = i; k < end; ++k) CopyAsStored(*frames[k], std::span(run).subspan((k - i) * pageSize_, pageSize_));
    file_->Write(std::uint64_t{frames[i]->page} * pageSize_, run);
    counters_.pagesWritten += end - i;
    for (; i < end; ++i) {
      frames[i]->dirty = false;
      --dirtyCount_;
    }
  }
}

bool Pager::Spill() {
  if (!readersOut_) {
    if (!sharing_.KeepReadersOut(false)) return false;
    readersOut_ = true;
  }
  auto frames = DirtyFrames(true);
  if (frames.empty()) return false;
  JournalOldPages(frames);
  journal_.Sync();
  fileTouched_ = true;
  WriteFrames(frames);
  return true;
}

void Pager::UndoAll() {
  // With a page of the transaction in the file, no frame can be trusted to hold the old bytes but those read before; all go.
  if (fileTouched_) {
    DropCache();
  } else {
    for (auto& frame : frames_)
      if (frame->inUse && (frame->dirty || frame->page >= committedPageCount_) && !frame->orphan) Discard(frame.get());
  }
  pageCount_ = committedPageCount_;
  freeHint_ = 0;
  inUse_.reset();
  changed_ = false;
  ++generation_;
  if (journal_.Started()) {
    needsRecovery_ = true;
    journal_.Recover(*file_);
    needsRecovery_ = false;
  }
  fileTouched_ = false;
}

void Pager::UndoLevel(Level& level) {
  for (auto& [page, image] : level.images) {
    Frame* frame = Fetch(page, false);
    std::memcpy(frame->bytes.get(), image.get(), pageSize_);
    if (!frame->dirty) {
      frame->dirty = true;
      ++dirtyCount_;
    }
    frame->savedFor = 0;
  }
  for (auto& frame : frames_)
    if (frame->inUse && !frame->orphan && frame->page >= level.pageCount) Discard(frame.get());
  pageCount_ = level.pageCount;
  freeHint_ = 0;
  inUse_.reset();
  ++generation_;
}

void Pager::Rollback() {
  if (levels_.size() <= 1) {
    RollbackAll();
    return;
  }
  Level level = std::move(levels_.back());
  levels_.pop_back();
  if (!changed_) return;
  try {
    if (level.whole)
      UndoAll();
    else
      UndoLevel(level);
  } catch (...) {
    RollbackAll();
    throw;
  }
}

void Pager::RollbackAll() noexcept {
  if (changed_ || journal_.Started()) {
    try {
      UndoAll();
    } catch (const Error&) {
      // The journal stays and is played back before the file is used again, by us or by whoever opens it next.
      DropCache();
    }
  }
  EndTransaction();
}

Pager::Counters Pager::Count() const noexcept {
  Counters counters = counters_;
  counters.syncs += journal_.SyncCount();
  return counters;
}

}  // namespace jet
