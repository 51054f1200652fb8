#pragma once

#include <cstddef>

#include "move/CopyRows.h"

/// Rows that refer to rows which were not there when their turn came: in tables that were there, and have their relations already. The target
/// decides what is there; the ledger knows who waits.
namespace tamlo::move {

/// Brings those of one table that can come by now, as often as any comes. False when it was cancelled. Errors: those of CopyRows.
[[nodiscard]] bool BringWaitingOf(RowCopy& copy, const Lane& lane, std::size_t table);

/// The same for all tables, as often as any row comes; those that wait then are refused, each with the target's reason.
[[nodiscard]] bool BringWaiting(RowCopy& copy, const Lane& lane);

}  // namespace tamlo::move
