#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "schema/Finding.h"

/// A database described as plain values, whatever engine it lies in: what a faithful copy has to bring over. Nothing here reaches a database;
/// ReadAccess fills it, WriteDdl makes statements of it.
namespace tamlo::schema {

/// What the values of a column are. The order is that of the type tables in Dialects.cpp.
enum class Kind : std::uint8_t {
  kBoolean,   ///< true or false, never null in Access
  kByte,      ///< 0 to 255
  kShort,     ///< 16 bits, signed
  kLong,      ///< 32 bits, signed
  kBig,       ///< 64 bits, signed
  kSingle,    ///< binary, 32 bits
  kDouble,    ///< binary, 64 bits
  kCurrency,  ///< 64 bits of ten-thousandths
  kDecimal,   ///< exact, `precision` digits of which `scale` stand behind the point
  kMoment,    ///< day and time of day, without a zone, to the millisecond
  kText,      ///< up to `length` characters
  kMemo,      ///< a text of any length
  kBinary,    ///< up to `length` bytes
  kBlob,      ///< bytes of any length
  kGuid,
};
inline constexpr std::size_t kKinds = 15;

struct Type {
  Kind kind = Kind::kText;
  int length = 0;     ///< texts in characters, bytes in bytes; 0 for the others
  int precision = 0;  ///< decimals only
  int scale = 0;      ///< decimals only
  friend bool operator==(const Type&, const Type&) = default;
};

/// What a new row gets where nothing is given.
struct Default {
  enum class Kind : std::uint8_t {
    kNone,
    kNumber,     ///< `text` is a number in SQL's spelling
    kText,       ///< `text` is the text itself
    kTruth,      ///< `text` is "1" or "0"
    kMoment,     ///< `text` is YYYY-MM-DD or YYYY-MM-DD HH:MM:SS
    kNow,        ///< day and time of the insertion
    kToday,      ///< its day
    kTimeOfDay,  ///< its time, on the first day of Access's calendar
    kNewGuid,
    kUnknown,  ///< `text` is the expression as it stands in the source; it has no equivalent that is known here
  };
  Kind kind = Kind::kNone;
  std::string text;
  friend bool operator==(const Default&, const Default&) = default;
};

/// A column that numbers its rows itself.
struct Counter {
  enum class Kind : std::uint8_t { kIncrement, kRandom, kGuid };
  Kind kind = Kind::kIncrement;
  std::int64_t next = 1;  ///< the number of the next row; increments only
  friend bool operator==(const Counter&, const Counter&) = default;
};

struct Column {
  std::string name;
  Type type;
  bool required = false;
  bool allowEmpty = true;  ///< texts only: the text without characters is a value
  bool hyperlink = false;  ///< memos only
  Default initial;
  std::optional<Counter> counter;
  std::string rule;     ///< validation rule as it stands in the source; empty when there is none
  std::string comment;  ///< what a person wrote about it
  friend bool operator==(const Column&, const Column&) = default;
};

struct IndexPart {
  std::string column;  ///< as the column itself spells it
  bool descending = false;
  friend bool operator==(const IndexPart&, const IndexPart&) = default;
};

struct Index {
  std::string name;
  std::vector<IndexPart> parts;
  bool primary = false;
  bool unique = false;
  bool ignoreNulls = false;  ///< a row whose key is null in all parts has no entry
  bool required = false;     ///< no part of a key is null
  friend bool operator==(const Index&, const Index&) = default;
};

struct Table {
  std::string name;
  std::vector<Column> columns;
  std::vector<Index> indexes;  ///< those that a relation makes for itself are not among them
  std::string rule;            ///< validation rule over the whole row, as it stands in the source
  std::string comment;
  std::uint64_t rows = 0;  ///< as the source counts them
  friend bool operator==(const Table&, const Table&) = default;
};

/// Rows of `table` refer to rows of `referenced`. Tables and columns that are described are called by their very names.
struct Relation {
  std::string name;
  std::string table;
  std::string referenced;
  std::vector<std::pair<std::string, std::string>> columns;  ///< referring, referred to
  bool enforced = true;
  bool oneToOne = false;
  bool cascadeUpdates = false;
  bool cascadeDeletes = false;
  friend bool operator==(const Relation&, const Relation&) = default;
};

/// A row of a query as an Access file keeps it.
struct QueryRow {
  int attribute = 0;
  std::string name1;
  std::string name2;
  std::string expression;
  int flag = 0;
};

/// A query that is stored under a name.
struct Query {
  std::string name;
  std::string sql;  ///< empty when its text cannot be had
  std::string
      reason;  ///< why it cannot, in the engine's words, empty where it says nothing; beside a text: why it is none of the database's own (it goes to a server as it stands)
  std::vector<QueryRow> rows;  ///< in an Access file, those of a query of its own, by attribute and order
};

/// A table that lies elsewhere.
struct Link {
  std::string name;
  std::string target;  ///< file or connection without its passwords
  std::string table;   ///< its name there
};

struct Database {
  std::vector<Table> tables;
  std::vector<Relation> relations;
  std::vector<Query> queries;
  std::vector<Link> links;
  bool rulesOfAccess = false;     ///< rules are expressions of Access, not of an engine of their own
  std::vector<Finding> findings;  ///< what the source has that this description cannot hold
};

}  // namespace tamlo::schema
