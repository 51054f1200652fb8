#pragma once

#include <span>

#include "move/Source.h"
#include "move/Target.h"

namespace tamlo::move {

struct RowCopy;

/// A way from the source to the target, by two connections of its own. One thread at a time goes on it.
struct Lane {
  Source source;
  Target& target;
};

/// Brings the rows of all tables that are not complete. Tables that the copy made go on whichever lane is free, a thread each, the calling one
/// among them: nothing ties them together before their relations are made. Tables that were there go before them, one after another in the
/// order of the plan, for they may refer to each other; rows that refer to later ones wait for these (Waiting.h). False when it was cancelled. Errors: those of CopyRows, when all threads have ended.
[[nodiscard]] bool BringRows(RowCopy& copy, std::span<const Lane> lanes);

}  // namespace tamlo::move
