#pragma once

#include <memory>
#include <span>

#include "ado/Provider.h"
#include "ado/odbc/facts/DriverFacts.h"
#include "ado/odbc/statement/Session.h"

namespace tamlo::ado::odbc {

/// Whether output parameters come back as the server has them: measured with the drivers of MariaDB and PostgreSQL. Neither is asked for them by
/// SQL_PARAM_OUTPUT: MariaDB's writes texts into the buffers of numbers, makes 0 of nulls and cuts texts without a word. Both give them as a
/// row of the result, which is read as any other.
[[nodiscard]] bool HasCalls(const DriverFacts& facts);
[[nodiscard]] bool HasOutputs(std::span<const ado::Parameter> parameters);

/// Runs a call with output parameters whole and gives its rows, kept, or null where it has none; the values go to request.outputs. See Command.
/// Errors: 3251 before anything runs for what is no call, or one that this backend does not give exactly, and without request.outputs;
/// -2147467259 when the procedure gives back another number of values; 3421, -2147217887 for one that is none of its parameter's type.
[[nodiscard]] std::unique_ptr<ProviderRowset> OpenCall(const std::shared_ptr<Session>& session, const RowsetRequest& request);

}  // namespace tamlo::ado::odbc
