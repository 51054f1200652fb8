#pragma once

#include <string>

#include "ado/Catalog.h"
#include "ado/odbc/Session.h"

namespace tamlo::ado::odbc {

/// Statements that define tables in plain SQL of the session's backend. Names stand as they are given, quoted.
[[nodiscard]] std::string CreateTableText(const Session& session, Table& table);
[[nodiscard]] std::string AddColumnText(const Session& session, const std::string& table, const Column& column);
/// A primary key is a constraint where the backend can add one to a table, else a unique index.
[[nodiscard]] std::string AddIndexText(const Session& session, const std::string& table, const Index& index);

}  // namespace tamlo::ado::odbc
