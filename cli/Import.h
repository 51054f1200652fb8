#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "cli/ColumnTypes.h"
#include "cli/Source.h"

/// Rows of a text file into a table of any database: all of them, or none.
namespace tamlo::cli {

struct ImportAsked {
  std::string database;
  std::string table;
  std::string file;
  bool create = false;
  std::string types;
  std::vector<std::string> renamed;  ///< "Header=Column"
  RecordOptions records;
  Reading reading;
  std::shared_ptr<Login> login;
};

/// The names of the columns that the file's are meant for. Failure where two have one name, or --map names one that is not there.
[[nodiscard]] std::vector<std::string> ColumnNames(const Records& records, const ImportAsked& asked);

/// Columns for all values of the file, their types guessed where none is given.
[[nodiscard]] std::vector<WantedColumn> NewColumns(const ImportAsked& asked, const TypeLimits& limits);

/// Ends it with what is wrong with the row that was read last.
[[noreturn]] void RefuseRow(const ImportAsked& asked, std::int64_t line, const std::string& why);

/// Each gives the number of rows. Failure with nothing written, or with what is left in its text.
[[nodiscard]] std::int64_t ImportIntoFile(jet::Database& file, const ImportAsked& asked);
[[nodiscard]] std::int64_t ImportIntoServer(Opened& opened, const ImportAsked& asked);

}  // namespace tamlo::cli
