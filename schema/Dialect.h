#pragma once

#include <array>
#include <cstddef>
#include <optional>
#include <span>
#include <string>
#include <string_view>

#include "schema/Model.h"

namespace tamlo::schema {

enum class Engine : std::uint8_t { kMariaDb, kPostgreSql, kSqlite, kSqlServer, kOracle, kAccess };

/// Where what people wrote about tables and columns goes: nowhere, into the definition, or into statements behind it.
enum class Comments : std::uint8_t { kNone, kInside, kBehind };

/// How one engine spells a table: facts only. In the texts %n is a length, %p and %s are precision and scale, %c the quoted column.
struct Dialect {
  Engine engine;
  std::string_view key;   ///< as people name it on a command line
  std::string_view name;  ///< as it is called
  char open, close;       ///< around names; a closing one inside of a name stands twice
  std::size_t nameLimit;  ///< 0 = none
  bool limitInBytes;

  std::array<std::string_view, kKinds> types;  ///< by Kind
  /// A counter by Counter::Kind, type included; empty: the engine has none.
  std::array<std::string_view, 3> counters;
  /// The default by Default::Kind, for those that are words (kNow and behind it); empty: none. Others are literals.
  std::string_view now, today, timeOfDay, newGuid;
  std::string_view isTrue, isFalse;
  std::string_view textPrefix;  ///< in front of a literal text
  std::string_view noEmpty;     ///< a condition that refuses the empty text; empty: the engine has no such texts, or says it otherwise
  std::string_view byteRange;   ///< where no type ends at 255
  std::string_view bytesLimit;  ///< where no type of bytes has a length

  bool keysInside;                         ///< foreign keys can be written inside of CREATE TABLE alone
  bool onUpdate;                           ///< knows ON UPDATE
  bool cascadesOnItself;                   ///< a table that refers to itself may cascade updates
  bool cascadesAllowChecks;                ///< a column that updates in cascade may stand in a check
  bool partialIndexes;                     ///< an index may leave rows out
  bool indexNamesAreGlobal;                ///< two tables may not have indexes of one name
  std::string_view nullsFirst, nullsLast;  ///< behind the part of an index, so that nulls stand where Access has them
  std::string_view tableSuffix;
  /// Sets the next number, a line a statement: %t quoted table, %T the table as a text, %c column, %v number, %w the one before; empty: none.
  std::string_view restart;
  Comments comments = Comments::kNone;
};

/// The six engines, in the order of Engine.
[[nodiscard]] std::span<const Dialect> Dialects();
[[nodiscard]] const Dialect& DialectOf(Engine engine);
/// By the key, without regard to case; nothing when there is none.
[[nodiscard]] const Dialect* FindDialect(std::string_view key);

/// The name between the engine's quotes.
[[nodiscard]] std::string Quoted(const Dialect& dialect, std::string_view name);
/// A text as a literal.
[[nodiscard]] std::string Literal(const Dialect& dialect, std::string_view text);
/// The type as the engine spells it.
[[nodiscard]] std::string Spelled(const Dialect& dialect, const Type& type);
/// The default as it stands behind DEFAULT; nothing when there is none, or none that the engine knows.
[[nodiscard]] std::optional<std::string> Spelled(const Dialect& dialect, const Default& initial, const Type& type);

}  // namespace tamlo::schema
