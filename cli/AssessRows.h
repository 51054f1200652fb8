#pragma once

#include <functional>
#include <optional>
#include <vector>

#include "cli/Assessment.h"
#include "cli/Source.h"
#include "jet/value/Value.h"

namespace tamlo::cli {

using AssessedRow = std::vector<jet::Value>;

/// Reads all rows of a table of any database, one after another, their values in the order of its columns. Days, times and moments of servers
/// come as moments; a text in such a column is none of them. Errors: those of the engine, or a Failure that names table and row.
void EachRow(Opened& opened, const schema::Table& table, const std::function<void(const AssessedRow&)>& use);

/// What a value of an Access file loses on an engine.
[[nodiscard]] std::optional<Loss> LossOf(const jet::Value& value, schema::Engine engine);
/// What a value loses in a column of that type there, which any value of a server or an SQLite file may not fit.
[[nodiscard]] std::optional<Loss> LossInColumn(const jet::Value& value, const schema::Type& type, schema::Engine engine);

}  // namespace tamlo::cli
