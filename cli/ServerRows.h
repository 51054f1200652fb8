#pragma once

#include <cstdint>
#include <string>

#include "ado/Connection.h"
#include "cli/Format.h"
#include "cli/Source.h"
#include "schema/Model.h"
#include "schema/Read.h"

namespace tamlo::cli {

/// A server's value as the forms write it. Nothing is rounded: what has no kind there (64 bits, long decimals, microseconds) keeps its digits.
/// type is the field's (ado::DataType): days and times of day are written as such. asMoments: days without a time are moments at midnight.
[[nodiscard]] jet::Value ValueOf(const ado::Variant& value, std::int16_t type, bool asMoments = false);

/// Writes the rows of a statement, up to so many, reading them one after another. name is what the form calls them; columns the names of the
/// columns, those of the statement when empty. Failure with kFailed that names row and reason.
void WriteServerRows(ado::Connection& connection, const std::string& sql, const std::string& name, std::int64_t limit, RowFormat& format);

/// The same of a recordset, open or not, that stands before its first row.
void WriteRows(ado::Recordset& rows, const std::string& name, std::int64_t limit, RowFormat& format);

/// What the database holds, whatever it is.
[[nodiscard]] schema::Database ReadStructure(const Opened& opened, const schema::ReadOptions& options = {});
/// The tables whose names match one of the patterns; see TablesNamed.
[[nodiscard]] std::vector<std::string> TablesOf(Opened& opened, const std::vector<std::string>& patterns = {});
[[nodiscard]] std::uint64_t RowsOf(Opened& opened, const std::string& table);

}  // namespace tamlo::cli
