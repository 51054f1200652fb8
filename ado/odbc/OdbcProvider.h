#pragma once

namespace tamlo::ado::odbc {

/// Makes "MSDASQL", "MSDASQL.1", "sqloledb" and "OraOLEDB.Oracle" known to connections. Once at the start of a program; again does no harm.
void RegisterOdbcProviders();

}  // namespace tamlo::ado::odbc
