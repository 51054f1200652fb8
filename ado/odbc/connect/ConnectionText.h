#pragma once

#include <string>
#include <vector>

#include "ado/Provider.h"

namespace tamlo::ado::odbc {

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
