#pragma once

#include <cstddef>
#include <functional>
#include <optional>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

#include "move/Plan.h"
#include "schema/Model.h"

namespace tamlo::move {

/// What a map of names cannot say, with the line that says it.
class MapError : public std::runtime_error {
 public:
  enum class Why : std::uint8_t {
    kNotUnderstood,  ///< about() is the line
    kNoTable,        ///< its name
    kNoColumn,       ///< the name of the column
    kTwice,          ///< what has been said already
    kTaken,          ///< a name that two would have
    kUnknownType,    ///< as it stands there
    kNotExact,       ///< a type that does not take every value of the column's
  };
  MapError(Why why, std::size_t line, std::string about)
      : std::runtime_error("line " + std::to_string(line) + ": " + about), why_(why), line_(line), about_(std::move(about)) {}
  [[nodiscard]] Why Reason() const noexcept { return why_; }
  [[nodiscard]] std::size_t Line() const noexcept { return line_; }
  [[nodiscard]] const std::string& About() const noexcept { return about_; }

 private:
  Why why_;
  std::size_t line_;
  std::string about_;
};

/// A type of a map, which may ask for a counter.
struct MappedType {
  schema::Type type;
  bool counter = false;
};

/// Which tables and columns of a source are called otherwise in the target, are of another type there, or stay behind. One thing a line:
///
///   Clients -> customers                    a table
///   Clients.Nom -> name                     a column
///   Clients.Age -> age decimal(9,2)         a column and its type
///   Clients.Note -> -                       stays behind; tables likewise
///   "Détail commande"."n° 1" -> "n°"        names with blanks, points and signs stand between quotes, which are doubled inside of them
///   # a remark
class Map {
 public:
  /// typeNamed reads a type's name. Each name must be one of the source, or differ in case alone from one. Error: MapError.
  Map(std::string_view text, const schema::Database& source, const std::function<std::optional<MappedType>(std::string_view)>& typeNamed);

  /// Whether a table of the source is copied at all.
  [[nodiscard]] bool Keeps(const std::string& table) const;
  /// The same tables in the same order as they are to be in the target. What hangs on a column that stays behind does too, and is told.
  /// Errors: MapError (two things of one name).
  [[nodiscard]] schema::Database Apply(const schema::Database& wanted, std::vector<schema::Finding>& findings) const;
  /// Makes a plan for what Apply gave one of the source: what is read there goes by the source's names. Adds what is renamed. The
  /// plan's fingerprint tells maps apart that give different tables the same name.
  void Restore(Plan& plan, const schema::Database& wanted) const;

 private:
  struct Entry {
    std::size_t line = 0;
    std::string table;
    std::string column;  ///< empty: the table itself
    std::string name;    ///< there; empty: stays behind
    std::optional<MappedType> type;
  };
  [[nodiscard]] const Entry* Find(const std::string& table, const std::string& column) const;
  [[nodiscard]] std::string NameOf(const std::string& table, const std::string& column) const;
  [[nodiscard]] bool Keeps(const std::string& table, const std::string& column) const;
  /// The column of the source that has that name in the target.
  [[nodiscard]] const std::string& SourceColumn(const schema::Table& source, const std::string& mapped) const;
  /// Calls tables and columns by the names that the source has for them.
  void Settle(const schema::Database& source);
  static void SettleColumn(const schema::Table& table, Entry& entry);
  void CheckNames(const schema::Database& wanted) const;
  [[nodiscard]] schema::Table Apply(const schema::Table& table, std::vector<schema::Finding>& findings) const;
  void ApplyIndexes(const schema::Table& source, schema::Table& table, std::vector<schema::Finding>& findings) const;

  std::vector<Entry> entries_;
};

/// Whether a column of the second type takes every value of the first one exactly, or refuses the row that has it (longer texts).
[[nodiscard]] bool TakesExactly(const schema::Type& from, const schema::Type& to);

}  // namespace tamlo::move
