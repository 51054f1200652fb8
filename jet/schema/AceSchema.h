#pragma once

#include <string>

#include "jet/table/TableDefinition.h"

namespace jet {

// What of the definitions in an .accdb is left as Access has made it. Errors: kUnsupported, naming the column.

/// Rows that have calculated values are not written, so their columns stay as they are.
void RequireNoneCalculated(const TableDefinition& definition, const std::string& table);
/// Refuses columns whose values stand in tables of their own, and memos whose former values do.
void RequireDroppable(const TableDefinition& definition, const TableDefinition::Column& column);
/// Refuses those, and columns of types that Jet 4 has not.
void RequireAlterable(const TableDefinition& definition, const TableDefinition::Column& column);
/// Refuses a complex column.
void RequireNotComplex(const TableDefinition::Column& column);
/// Refuses the index that each complex column has.
void RequireNoComplexColumn(const TableDefinition& definition, const TableDefinition::Index& index);

}  // namespace jet
