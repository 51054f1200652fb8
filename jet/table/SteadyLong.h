#pragma once

#include <cstddef>
#include <memory>

#include "jet/table/Row.h"
#include "jet/table/Table.h"

namespace jet {

/// Opens a memo or long binary for reading in pieces while others may write. The first megabyte is read at once. When something has been
/// committed before the next one is due, the row must be as it was and what was given must still be the beginning of what it holds, so that
/// the pieces are those of one value; else Read is kChangedMeanwhile, and the reader of no more use. Null for a null value.
/// isMeant: see Table::Update; null comes for a row that is not the one meant, or gone, too, and *found (when given) tells which.
[[nodiscard]] std::unique_ptr<LongValueReader> OpenSteadyLong(Table& table, RowId id, std::size_t column,
                                                              const Table::RowTest& isMeant = {}, bool* found = nullptr);

/// A reader over a value that is held whole; text is not cut inside a character.
[[nodiscard]] std::unique_ptr<LongValueReader> OpenHeldLong(const Value& value);

}  // namespace jet
