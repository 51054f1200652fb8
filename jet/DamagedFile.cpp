#include "jet/DamagedFile.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <string_view>
#include <utility>

#include "jet/page/DataPage.h"
#include "jet/page/Journal.h"
#include "jet/page/PageCodec.h"
#include "jet/page/UsageMap.h"
#include "jet/table/TableCore.h"
#include "jet/value/ByteOrder.h"
#include "jet/value/Error.h"

namespace jet {
namespace {

constexpr std::size_t kCacheBytes = std::size_t{16} << 20;
constexpr PackedPointer kUsualFreePages = 0x100;
constexpr PageNumber kFirstOrdinaryPage = 3;  // header, global maps and the catalog's definition are never free
constexpr PageNumber kFirstDefinition = 2;    // pages of maps are nobody's, or name page 1
constexpr std::uint64_t kAllLocks = std::uint64_t{1} << 40;

/// Nobody may write meanwhile, and nobody is asked to wait: a lock file of ours would be a change beside the file.
void RequireAlone(FileSystem& files, const std::string& path, const std::string& realPath) {
  const std::string lockPath = Sharing::LockPath(realPath);
  if (!files.Exists(lockPath)) return;
  try {
    if (!files.Open(lockPath, FileMode::kRead)->IsLocked(0, kAllLocks)) return;
  } catch (const Error&) {
    return;  // a lock file that cannot be looked into is no sign of a user
  }
  throw Error(ErrorCode::kInUse, "\"" + path + "\" is open in another program");
}

/// Files of later versions, and of others, are not Access files with a damaged header.
bool IsOfAnotherKind(std::span<const std::byte> start) {
  static constexpr std::array<std::string_view, 5> kOthers{std::string_view("\0\1\0\0Standard ACE DB", 19), "SQLite format 3", "PK\x03\x04",
                                                           "%PDF", "\xD0\xCF\x11\xE0"};
  return std::any_of(kOthers.begin(), kOthers.end(), [&](std::string_view magic) {
    return start.size() >= magic.size() && std::memcmp(start.data(), magic.data(), magic.size()) == 0;
  });
}

[[noreturn]] void Contradicts(PageNumber page, const std::string& what) {
  throw Error(ErrorCode::kDamaged, "A table definition contradicts itself: " + what, page, 0);
}

/// What the format itself does not forbid, but no table has. A definition that was hit shows by it in most cases.
void RequirePlausible(const TableDefinition& definition, PageNumber page, const FileHeader& header) {
  const int version = header.version;
  const unsigned last = header.release != 0 ? 20 : 17;  // of the types of an .accdb: several values, 64 bits, extended date
  using Column = TableDefinition::Column;
  if (definition.columns.empty()) Contradicts(page, "no columns");
  if (definition.tableType != 'N' && definition.tableType != 'S') Contradicts(page, "it is of no known kind");
  if (version != 3 && definition.magic != TableDefinition::kMagic) Contradicts(page, "a constant has another value");
  std::vector<std::pair<unsigned, unsigned>> places;
  for (const Column& column : definition.columns) {
    const auto type = static_cast<unsigned>(column.type);
    const bool known = (type >= 1 && type <= 12) || (type >= 15 && type <= last);
    if (!known) Contradicts(page, "a column is of no known type");
    if (version != 3 && column.magic != TableDefinition::kMagic) Contradicts(page, "a constant has another value");
    if (column.name.empty()) Contradicts(page, "a column has no name");
    if (!column.IsFixed() || column.type == ColumnType::kBoolean) continue;
    if (column.IsLong()) Contradicts(page, "a long column has a fixed place");
    if (FixedLength(column.type) != 0 && column.length != FixedLength(column.type)) Contradicts(page, "a column has another length");
    places.emplace_back(column.fixedOffset, column.fixedOffset + column.length);
  }
  std::sort(places.begin(), places.end());
  for (std::size_t i = 1; i < places.size(); ++i)
    if (places[i].first < places[i - 1].second) Contradicts(page, "columns overlap");
}

}  // namespace

DamagedFile::DamagedFile(FileSystem& files, const std::string& path, const std::string& password)
    : overlay_(files), path_(path), password_(password) {
  const std::string real = files.RealPath(path);
  RequireAlone(files, path, real);
  overlay_.Hide(Sharing::LockPath(real));
  space_.directory = this;
  space_.sharing = std::make_unique<Sharing>();
  const auto file = overlay_.Open(real, FileMode::kReadWrite);
  path_ = real;
  size_ = file->Size();
  ReadHeader(*file, path);
  if (headerRead_) UndoHalfWritten(*file, real);
  MakePager(space_.header.pageSize);
  Survey();
  ReadFreePages();
}

DamagedFile::~DamagedFile() = default;

void DamagedFile::ReadHeader(File& file, const std::string& path) {
  std::vector<std::byte> start(FileHeader::kSize);
  start.resize(file.Read(0, start));
  try {
    space_.header = FileHeader::Read(start, path);
    if (space_.header.encryptionKey == 0) {
      (void)Unlock(space_.header, password_, path);
      return;
    }
    MakePager(space_.header.pageSize);
    if (CountDefinitions() > 0) return;
    throw Error(ErrorCode::kNotAnAccessFile, "\"" + path + "\" is encoded, and nothing of its pages can be decoded");
  } catch (const Error& error) {
    const bool asksForPassword = error.Code() == ErrorCode::kPasswordProtected || error.Code() == ErrorCode::kWrongPassword;
    if (IsOfAnotherKind(start) || (asksForPassword && space_.header.encryptionKey == 0) || !GuessHeader()) throw;
    headerRead_ = false;
  }
}

/// Where pages can be read as they stand, it is the header that is wrong; the size of pages under which more is found is theirs.
bool DamagedFile::GuessHeader() {
  std::size_t most = 0;
  FileHeader found;
  for (const int version : {4, 3}) {
    space_.header = FileHeader();
    space_.header.version = version;
    space_.header.pageSize = Format::OfVersion(version).pageSize;
    space_.header.freePages = kUsualFreePages;
    MakePager(space_.header.pageSize);
    if (const std::size_t count = CountDefinitions(); count > most) {
      most = count;
      found = space_.header;
    }
  }
  space_.header = found;
  return most > 0;
}

void DamagedFile::UndoHalfWritten(File& file, const std::string& realPath) {
  Journal journal(overlay_, realPath, space_.header.pageSize);
  if (!journal.LeftBehind()) return;
  try {
    journal.Recover(file);
    size_ = file.Size();
  } catch (const Error& error) {
    journalFault_ = error.what();
    overlay_.Hide(journal.Path());
  }
}

void DamagedFile::MakePager(std::size_t pageSize) {
  auto file = overlay_.Open(path_, FileMode::kReadWrite);
  file->Truncate((size_ + pageSize - 1) / pageSize * pageSize);  // a page that was cut is looked at too
  space_.pager = std::make_unique<Pager>(overlay_, path_, std::move(file), pageSize, kCacheBytes, *space_.sharing, true);
  space_.pager->SetFreePageMap(space_.header.freePages);
  space_.pager->SetCodec(Unlock(space_.header, password_, path_));
}

std::size_t DamagedFile::CountDefinitions() {
  std::size_t count = 0;
  for (PageNumber page = 1; page < Pages().PageCount(); ++page) {
    try {
      const PageRef ref = Pages().Read(page);
      if (Load16(ref.Bytes().data()) != 0x0102) continue;
      (void)Definition(page);
      ++count;
    } catch (const Error&) {
      continue;  // what cannot be read speaks for nothing
    }
  }
  return count;
}

void DamagedFile::Survey() {
  for (PageNumber page = 1; page < Pages().PageCount(); ++page) {
    try {
      const PageRef ref = Pages().Read(page);
      const unsigned kind = Load8(ref.Bytes().data());
      if (kind == 2) definitionPages_.push_back(page);
      if (kind != 1) continue;
      const PageNumber owner = Load32(ref.Bytes().data() + 4);
      if (owner >= kFirstDefinition && owner != DataPage::kLongValueOwner) pagesOfOwner_[owner].push_back(page);
    } catch (const Error& error) {
      if (error.Code() != ErrorCode::kIo) throw;  // the disk itself does not give it: whoever names the page hears of it
    }
  }
}

void DamagedFile::ReadFreePages() {
  try {
    UsageMap map(Pages(), space_.header.freePages, UsageMap::Kind::kFreePages);
    std::vector<bool> pages(Pages().PageCount());
    for (const PageNumber page : map.Pages(Pages().PageCount())) pages[page] = true;
    // A map that gives away what every file needs is none.
    if (pages.size() > kFirstOrdinaryPage && std::none_of(pages.begin(), pages.begin() + kFirstOrdinaryPage, [](bool is) { return is; }))
      free_ = std::move(pages);
  } catch (const Error&) {
    free_.clear();
  }
}

const std::vector<PageNumber>& DamagedFile::PagesOfOwner(PageNumber definition) const {
  static const std::vector<PageNumber> kNone;
  const auto found = pagesOfOwner_.find(definition);
  return found == pagesOfOwner_.end() ? kNone : found->second;
}

std::vector<PageNumber> DamagedFile::Owners() const {
  std::vector<PageNumber> owners;
  for (const auto& [owner, pages] : pagesOfOwner_) owners.push_back(owner);
  std::sort(owners.begin(), owners.end());
  return owners;
}

bool DamagedFile::IsCut(PageNumber page, std::size_t end) const noexcept {
  return std::uint64_t{page} * space_.header.pageSize + end > size_;
}

TableDefinition DamagedFile::Definition(PageNumber page) {
  TableDefinition definition = TableDefinition::Read(Pages(), page, space_.CodePage());
  RequirePlausible(definition, page, space_.header);
  const PageNumber last = definition.pages.back();
  const bool known = definition.pages.size() == 1 && space_.header.version != 3;
  if (IsCut(last, known ? std::min(definition.Encode().size(), space_.header.pageSize) : space_.header.pageSize))
    throw Error(ErrorCode::kDamaged, "A table definition lies behind the end of the file", last, 0);
  return definition;
}

std::string DamagedFile::NameOf(PageNumber definitionPage) {
  const auto found = known_.find(definitionPage);
  return found == known_.end() ? std::string() : found->second.name;
}

PropertyMap DamagedFile::PropertiesOf(PageNumber definitionPage) {
  const auto found = known_.find(definitionPage);
  return found == known_.end() ? PropertyMap() : found->second.properties;
}

void DamagedFile::Remember(PageNumber definitionPage, std::string name, PropertyMap properties) {
  known_[definitionPage] = {std::move(name), std::move(properties)};
}

}  // namespace jet
