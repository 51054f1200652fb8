#pragma once

#include <map>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "ado/Catalog.h"
#include "ado/odbc/statement/Session.h"

namespace tamlo::ado::odbc {

/// Gives the views their texts, as the backend has them. schemas: by name, of what is meant by a name alone.
void ReadViewTexts(const std::shared_ptr<Session>& session, const std::map<std::string, std::string>& schemas, std::vector<View>& views);

/// Errors of a query that SQLite would keep though it does not read; -2147467259 for a character that its driver cuts in two inside a statement.
void RequireReadable(const std::shared_ptr<Session>& session, const std::string& name, std::string_view query);

}  // namespace tamlo::ado::odbc
