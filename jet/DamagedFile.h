#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <unordered_map>
#include <vector>

#include "jet/file/OverlayFileSystem.h"
#include "jet/page/PageStore.h"
#include "jet/table/TableDefinition.h"
#include "jet/table/TableSpace.h"

namespace jet {

/// A damaged file for reading: its pages as far as the machine gives them, and what can be known of them without trusting its catalog and
/// its maps. Nothing on the disk is changed; a transaction that was left half written is undone in memory.
class DamagedFile final : public TableDirectory {
 public:
  /// Reads every page once. Errors: kNotFound, kInUse (somebody has the file open), kIo, kPasswordProtected, kWrongPassword; kNotAnAccessFile
  /// when nothing in it looks like part of a file of Access.
  DamagedFile(FileSystem& files, const std::string& path, const std::string& password = {});
  ~DamagedFile();

  [[nodiscard]] TableSpace& Space() noexcept { return space_; }
  [[nodiscard]] Pager& Pages() noexcept { return *space_.pager; }
  /// False when page 0 could not be read as a header, and what it says had to be guessed.
  [[nodiscard]] bool HeaderRead() const noexcept { return headerRead_; }
  /// Whether a password was asked for, and given.
  [[nodiscard]] bool HasPassword() const noexcept { return !space_.header.password.empty(); }
  /// Why the journal beside the file could not be played back; empty when there was none, or it was.
  [[nodiscard]] const std::string& JournalFault() const noexcept { return journalFault_; }

  /// Pages on which rows lie and that say they belong to the table whose definition begins there, ascending.
  [[nodiscard]] const std::vector<PageNumber>& PagesOfOwner(PageNumber definition) const;
  /// Definition pages that pages of rows name as their owners.
  [[nodiscard]] std::vector<PageNumber> Owners() const;
  /// Pages that look like the beginning or a part of a table definition, ascending.
  [[nodiscard]] const std::vector<PageNumber>& DefinitionPages() const noexcept { return definitionPages_; }
  /// Whether the map of free pages could be read.
  [[nodiscard]] bool KnowsFreePages() const noexcept { return !free_.empty(); }
  /// What that map says; false when it could not be read.
  [[nodiscard]] bool IsFree(PageNumber page) const noexcept { return page < free_.size() && free_[page]; }
  /// True when bytes of the page up to that offset lie behind the end of the file, in its last page.
  [[nodiscard]] bool IsCut(PageNumber page, std::size_t end) const noexcept;

  /// The definition that begins on the page, if it contradicts neither the format nor itself. Errors: kDamaged, kIo.
  [[nodiscard]] TableDefinition Definition(PageNumber page);

  // ----- what tables ask
  [[nodiscard]] std::string NameOf(PageNumber definitionPage) override;
  [[nodiscard]] PropertyMap PropertiesOf(PageNumber definitionPage) override;
  /// What those two answer from here on.
  void Remember(PageNumber definitionPage, std::string name, PropertyMap properties);

 private:
  void ReadHeader(File& file, const std::string& path);
  [[nodiscard]] bool GuessHeader();
  void UndoHalfWritten(File& file, const std::string& realPath);
  void MakePager(std::size_t pageSize);
  void Survey();
  void ReadFreePages();
  [[nodiscard]] std::size_t CountDefinitions();

  OverlayFileSystem overlay_;
  std::string path_;
  std::string password_;
  TableSpace space_;
  bool headerRead_ = true;
  std::uint64_t size_ = 0;  ///< bytes of the file without the zeros that fill its last page
  std::string journalFault_;
  std::unordered_map<PageNumber, std::vector<PageNumber>> pagesOfOwner_;
  std::vector<PageNumber> definitionPages_;
  std::vector<bool> free_;
  struct Known {
    std::string name;
    PropertyMap properties;
  };
  std::unordered_map<PageNumber, Known> known_;
};

}  // namespace jet
