#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

namespace tamlo::bench {

/// The rows of the bench's file as a loop by hand wants them: in memory, a column beside the other, each value in the form in which it is sent.
class Rows {
 public:
  static constexpr std::size_t kTextBytes = 64;
  static constexpr std::size_t kAmountBytes = 24;
  static constexpr std::size_t kDayBytes = 20;

  explicit Rows(int count);
  [[nodiscard]] std::size_t Count() const noexcept { return id.size(); }
  /// As lines of a CSV file, in the order Id, Name, Town, Amount, Born.
  void WriteCsv(const std::string& path) const;

  std::vector<std::int32_t> id;
  std::vector<char> name, town, amount, born;  ///< so many bytes for each row
  std::vector<std::int64_t> nameSize, townSize, amountSize, bornSize;
};

/// Writes all rows into the empty table People of an SQLite file by the C interface: one prepared statement, one transaction. Seconds.
double IntoSqlite(const std::string& path, const Rows& rows);

/// Writes all rows into the empty table People of the connection's database by arrays of parameters, a transaction for each. Seconds, from
/// behind the connecting.
double IntoOdbc(const std::string& connection, const Rows& rows, std::size_t batch);

}  // namespace tamlo::bench
