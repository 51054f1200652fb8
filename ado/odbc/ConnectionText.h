#pragma once

#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "ado/Provider.h"

namespace tamlo::ado::odbc {

/// The keys of a connection string ("KEY=value;KEY={va;lue}") in order, keys upper-cased, braces taken off.
[[nodiscard]] std::vector<std::pair<std::string, std::string>> ParseKeys(std::string_view text);
/// A value as it stands in a connection string: between braces when it needs them.
[[nodiscard]] std::string BracedIfNeeded(std::string_view value);

/// What the driver manager is given for an OpenRequest, and what errors may say of it.
struct ConnectionText {
  std::string text;
  std::string name;  ///< the data source or driver, for messages
};

/// Translates by provider: "MSDASQL" hands the text on (a data source name when it has no "="); "sqloledb" and "OraOLEDB.Oracle" take the
/// data source named after them when sources holds it, else the FreeTDS or Oracle driver on the local machine.
[[nodiscard]] ConnectionText BuildConnectionText(const OpenRequest& request, const std::vector<std::string>& sources);

/// Names of the data sources that the driver manager knows.
[[nodiscard]] std::vector<std::string> DataSources();
/// Names of the drivers that the driver manager knows.
[[nodiscard]] std::vector<std::string> Drivers();

}  // namespace tamlo::ado::odbc
