#pragma once

#include <string>
#include <vector>

#include "tests/backends/Backend.h"

namespace tamlo::tests {

/// Where the backend, the definition in memory and the rows of the catalog disagree on a table, one line for each; empty when they agree.
/// Where the layer keeps no catalog, backend and memory alone are asked. A table that neither has agrees too.
[[nodiscard]] std::string Desaccord(BaseOuverte& base, const std::string& table);

/// The names of a definition's fields, and its indexes as "NOM(champs)" with "p" for a primary and "u" for a unique one.
[[nodiscard]] std::vector<std::string> ChampsEnMemoire(db::DbTbl& tbl);
[[nodiscard]] std::vector<std::string> IndexEnMemoire(db::DbTbl& tbl);

}  // namespace tamlo::tests
