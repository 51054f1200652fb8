#pragma once

#include <optional>
#include <string>

#include "cli/Records.h"
#include "jet/table/Definitions.h"

namespace tamlo::cli {

/// How the values of a text file are spelled.
struct Reading {
  std::string yes = "1";
  std::string no = "0";
  bool base64 = false;                   ///< bytes; else hexadecimal digits
  std::optional<std::string> bytesFrom;  ///< bytes are files: the folder in which their names are looked for
  std::string
      dateFormat;  ///< %Y %y %m %d %H %M %S %f (milliseconds) %%; empty: YYYY-MM-DD HH:MM:SS.mmm, the time and its parts as far as given
};

/// The cell as a value of the column, exactly; nothing where it is none: "12.5" for whole numbers, digits behind the decimals that a column has,
/// numbers beyond its type. Binary numbers take the nearest one. Texts are not looked at for their length: Table::Insert does.
[[nodiscard]] std::optional<jet::Value> ValueOf(const Cell& cell, const jet::ColumnDef& column, const Reading& reading);

/// A moment as the format spells it; nothing for any other text.
[[nodiscard]] std::optional<double> ReadMoment(std::string_view text, const std::string& format);

}  // namespace tamlo::cli
