#pragma once

#include <cstdint>
#include <cstring>
#include <string>
#include <string_view>
#include <utility>

#include "jet/table/TableDefinition.h"
#include "jet/value/ByteOrder.h"
#include "tests/jet/storage/JetTestSupport.h"

namespace jet::tests {

/// The file test.mdb as test.accdb of that release: the two differ in the header and in types that the former has not.
inline void MakeAce(World& world, std::uint8_t release = 2) {
  auto bytes = world.files.Content("test.mdb");
  std::memcpy(bytes.data() + 4, "Standard ACE DB", 16);
  bytes[0x14] = std::byte{release};
  world.files.SetContent("test.accdb", std::move(bytes));
}

/// Gives a column (counted from 0) of the table whose definition begins on that page of test.accdb another type and other second flags.
struct Retyped {
  std::size_t column;
  std::uint8_t type;
  std::uint8_t extraFlags = 0;
  std::uint32_t complexId = 0;
};
inline void Retype(World& world, PageNumber page, std::initializer_list<Retyped> columns) {
  constexpr std::size_t kPage = 4096, kTreeCount = 51, kFirst = 63, kBlock = 25;
  auto bytes = world.files.Content("test.accdb");
  std::byte* const definition = bytes.data() + page * kPage;
  std::byte* const blocks = definition + kFirst + 12 * Load32(definition + kTreeCount);
  for (const Retyped& column : columns) {
    std::byte* const block = blocks + column.column * kBlock;
    block[0] = std::byte{column.type};
    if (column.complexId != 0) Store32(block + 11, column.complexId);
    block[16] |= std::byte{column.extraFlags};
  }
  world.files.SetContent("test.accdb", std::move(bytes));
}

/// The bytes of a calculated column around a value.
inline Bytes Wrapped(std::string_view value) {
  Bytes bytes(16 + 4 + value.size() + 3);
  Store32(bytes.data() + 16, static_cast<std::uint32_t>(value.size()));
  std::memcpy(bytes.data() + 20, value.data(), value.size());
  return bytes;
}

/// Letters as an extended date has them, zeros behind.
inline Bytes Letters(std::string_view text) {
  Bytes bytes(42);
  std::memcpy(bytes.data(), text.data(), text.size());
  return bytes;
}

}  // namespace jet::tests
