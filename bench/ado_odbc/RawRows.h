#pragma once

#include <cstddef>
#include <string>

namespace tamlo::bench {

/// The work of the benches as one writes it by hand against the driver manager: bound buffers, blocks, prepared batches.
class RawRows {
 public:
  /// narrowTexts: names go and come as bytes of UTF-8, else as UTF-16.
  RawRows(const std::string& connectionString, bool narrowTexts);
  /// From now on Read fetches val as a text of digits, for drivers that do not give every bit of a double.
  void ReadDoublesAsTexts() { doublesAreTexts_ = true; }
  ~RawRows();
  RawRows(const RawRows&) = delete;
  RawRows& operator=(const RawRows&) = delete;

  void Execute(const std::string& sql);
  /// Reads (id integer, name varchar(40), val double) in blocks; the sum of numbers and lengths proves that every value was looked at.
  [[nodiscard]] double Read(const std::string& sql, std::size_t blockRows);
  /// Inserts rows of (id, name, val), numbered from 0, in one transaction: as arrays of parameters, or as statements of many rows.
  void InsertArrays(const std::string& table, std::size_t rows, std::size_t batchRows);
  void InsertValues(const std::string& table, std::size_t rows, std::size_t batchRows);
  /// Runs a statement with one integer parameter for each number from 0, in one transaction: prepared and bound once. Rows are thrown away.
  void RunPrepared(const std::string& sql, std::size_t times, bool givesRows);

 private:
  void BeginTransaction();
  void Commit();

  void* connection_ = nullptr;
  bool narrow_;
  bool doublesAreTexts_ = false;
};

}  // namespace tamlo::bench
