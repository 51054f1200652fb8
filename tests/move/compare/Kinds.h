#pragma once

#include <functional>
#include <string>
#include <vector>

#include "jet/Database.h"
#include "jet/table/Table.h"
#include "schema/Model.h"

namespace tamlo::tests {

/// A table "T" with the key Id and a column of every kind, called as the kind.
schema::Table EveryKind();
/// A row of it, in the order of its columns; all values but the key's are the same for every id.
std::vector<jet::Value> RowOfKinds(std::int32_t id);
/// Makes an Access file of that name with the table and these rows.
void MakeKinds(const std::string& path, const std::vector<std::vector<jet::Value>>& rows);
/// The place of the column in the table.
std::size_t PlaceOf(const std::string& column);

}  // namespace tamlo::tests
