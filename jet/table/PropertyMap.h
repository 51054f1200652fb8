#pragma once

#include <cstdint>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "jet/table/Property.h"

namespace jet {

/// The properties of one object and of its columns, as the catalog keeps them in one long value.
///
///   "MR2" 00 ("KKD" 00 in Jet 3), then blocks: u32 length of all, u16 type
///     0x0080  the names: { u16 length, name }
///     0x0000  of the object, 0x0001 of a column: u32 length of the head, u16 length, name of the column, then
///             { u16 length of all, u8 ddl, u8 type, u16 position of the name, u16 length, value }
class PropertyMap {
 public:
  struct Group {
    std::string column;  ///< empty: the object itself
    std::vector<Property> properties;
    /// Beside each property its value as it was read, which may be longer than its type is; empty for those that have been set.
    std::vector<Bytes> stored;
  };

  /// Reads a map; an empty one for no bytes. What is not changed is encoded again byte for byte. codePage 0: Jet 4. Errors: kDamaged.
  static PropertyMap Decode(std::span<const std::byte> bytes, std::uint16_t codePage);
  /// The bytes; none when there are no properties. codePage: of the file that they are for, 0 for Jet 4. Errors: kUnsupported for a text
  /// that it cannot write.
  [[nodiscard]] Bytes Encode(std::uint16_t codePage = 0) const;

  [[nodiscard]] const Property* Find(std::string_view column, std::string_view name) const;
  [[nodiscard]] std::vector<Property> Of(std::string_view column) const;
  void Set(std::string_view column, const Property& property);
  void Remove(std::string_view column, std::string_view name);
  void RemoveColumn(std::string_view column);
  [[nodiscard]] bool Truth(std::string_view column, std::string_view name) const;
  [[nodiscard]] const std::vector<Group>& Groups() const noexcept { return groups_; }

 private:
  [[nodiscard]] Group* GroupOf(std::string_view column);
  [[nodiscard]] const Group* GroupOf(std::string_view column) const;

  std::uint16_t codePage_ = 0;  ///< of what was read
  std::vector<Group> groups_;
  std::vector<std::string> names_;  ///< as read, with names that nothing uses: they keep their places
};

}  // namespace jet
