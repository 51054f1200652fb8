#pragma once

#include <string>
#include <vector>

#include "ado/Catalog.h"
#include "ado/Keys.h"
#include "ado/Provider.h"

namespace tamlo::ado {

/// Error 3001 for a key that does not say all that its kind has: a name, columns, for a foreign one the table and the columns that it refers
/// to, known numbers as type and rules.
void RequireWhole(const Key& key);

[[nodiscard]] bool IsBlank(const std::string& text);

/// The key with the names of tables and columns as they are kept. columns are those of the key's own table, which may be a new one. Error 3265
/// for a column or a related table that is not there.
[[nodiscard]] Key Resolved(const Key& key, const std::string& table, const std::vector<Column>& columns, ProviderCatalog& provider);

/// The one of these names that is meant: the same name, else the first that is the same but for its case. Null when there is none.
[[nodiscard]] const std::string* MeantName(const std::vector<std::string>& names, const std::string& name);

}  // namespace tamlo::ado
