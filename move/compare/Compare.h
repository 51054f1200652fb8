#pragma once

#include <cstdint>
#include <functional>
#include <string>
#include <vector>

#include "move/compare/RowStream.h"
#include "schema/Model.h"

namespace tamlo::move {

/// A table on both sides, by its names there.
struct TablePair {
  struct Column {
    std::string a;
    std::string b;
    schema::Type typeA;
    schema::Type typeB;
    bool key = false;  ///< one of those that tell rows apart
  };
  std::string a;
  std::string b;
  std::vector<Column> columns;
};

struct CompareOptions {
  bool structure = true;
  bool rows = true;
  std::size_t shown = 10;                          ///< differing rows told of each table
  std::function<bool(const std::string&)> wanted;  ///< whether a table of that name is compared; empty: all of them
  std::function<bool()> cancelled;                 ///< asked between rows; true ends the comparison
};

/// What differs between the rows of a table.
struct RowDifferences {
  std::string table;  ///< by its name in A
  std::uint64_t rowsA = 0;
  std::uint64_t rowsB = 0;
  std::uint64_t onlyA = 0;  ///< rows that B has not, or not as often
  std::uint64_t onlyB = 0;
  std::vector<std::string> told;  ///< the first of them by their key, in words
  [[nodiscard]] bool Equal() const noexcept { return onlyA == 0 && onlyB == 0; }
};

struct Comparison {
  std::vector<std::string> structure;  ///< what differs, in words
  std::vector<RowDifferences> tables;  ///< all tables that both have
  bool cancelled = false;              ///< nothing more was looked at
  [[nodiscard]] bool Equal() const noexcept;
};

/// What differs between two descriptions, in words. Names are compared without regard to case, indexes and relations by what they say; between
/// two Access files their own names count too.
[[nodiscard]] std::vector<std::string> CompareStructure(const CompareSide& a, const schema::Database& inA, const CompareSide& b,
                                                        const schema::Database& inB, const CompareOptions& options = {});

/// The tables that both have, with the columns that both have.
[[nodiscard]] std::vector<TablePair> PairTables(const schema::Database& inA, const schema::Database& inB, const CompareOptions& options);

/// Compares the rows as multisets: how often each one is there. Reads both tables once when they are equal, else three times or, where millions
/// of rows differ, some times more; memory does not grow with the table. Errors: those of OpenStream.
[[nodiscard]] RowDifferences CompareRows(const CompareSide& a, const CompareSide& b, const TablePair& pair, const CompareOptions& options);

[[nodiscard]] Comparison Compare(const CompareSide& a, const schema::Database& inA, const CompareSide& b, const schema::Database& inB,
                                 const CompareOptions& options);

}  // namespace tamlo::move
