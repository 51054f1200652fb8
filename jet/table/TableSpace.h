#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <unordered_map>
#include <vector>

#include "jet/file/Sharing.h"
#include "jet/page/Format.h"
#include "jet/page/Header.h"
#include "jet/page/Pager.h"
#include "jet/table/PropertyMap.h"
#include "jet/table/Table.h"

namespace jet {

/// A column whose values stand in a table of their own, as MSysComplexColumns has it.
struct ComplexColumn {
  std::uint32_t id = 0;     ///< as the column's definition names it
  PageNumber values = 0;    ///< the definition of the table of its values
  std::int32_t typeId = 0;  ///< the object that the table was modelled on
  RowId row;                ///< there
};

/// What tables ask of the catalog, which lies above them: once for a definition that was read, never for a row.
class TableDirectory {
 public:
  TableDirectory() = default;
  TableDirectory(const TableDirectory&) = delete;
  TableDirectory& operator=(const TableDirectory&) = delete;
  /// The name of the table whose definition begins there; empty when nobody knows it.
  [[nodiscard]] virtual std::string NameOf(PageNumber definitionPage) = 0;
  /// What is said of that table and its columns; an empty map when nobody knows it. Errors: kDamaged.
  [[nodiscard]] virtual PropertyMap PropertiesOf(PageNumber definitionPage) = 0;
  /// The complex columns of that table; none outside of .accdb files. Errors: kDamaged.
  [[nodiscard]] virtual std::vector<ComplexColumn> ComplexColumnsOf(PageNumber /*definitionPage*/) { return {}; }

 protected:
  ~TableDirectory() = default;
};

/// What the tables of one open file share: its header, its pages, and one another. Members may be torn down from the end.
struct TableSpace {
  FileHeader header;
  std::unique_ptr<Sharing> sharing;
  std::unique_ptr<Pager> pager;
  std::unordered_map<PageNumber, std::unique_ptr<Table>> tables;  ///< by definition page
  std::int32_t lastIdentity = 0;                                  ///< the last number that a counter gave to a new row; 0 before the first
  TableDirectory* directory = nullptr;                            ///< not owned; there before the first table is asked for

  /// How its pages are laid out.
  [[nodiscard]] const Format& Layout() const noexcept { return Format::Of(header.pageSize); }
  /// Code page of texts: 0 in Jet 4, where texts are Unicode.
  [[nodiscard]] std::uint16_t CodePage() const noexcept { return header.version == 3 ? header.codePage : std::uint16_t{0}; }
  /// The table whose definition begins there; without a name, under the one that the directory knows. Errors: kDamaged.
  Table& TableAt(PageNumber page, const std::string& name);
};

}  // namespace jet
