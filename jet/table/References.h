#pragma once

#include <cstddef>
#include <functional>
#include <vector>

#include "jet/page/PageStore.h"
#include "jet/value/Value.h"

namespace jet {

struct TableSpace;
class Row;
class TableCore;

/// The value that a row is about to have in a column; null pointer for null.
using NewValueOf = std::function<const Value*(std::size_t position)>;

/// Enforced relationships, seen from the side that refers: each foreign key without null must have its row on the other side.
/// `assigned`: only keys with one of these columns are looked at (empty: all). Errors: kRelationViolated.
void CheckParents(TableCore& table, const NewValueOf& valueOf, const std::vector<bool>& assigned);

/// Rows that must follow when a row that others refer to goes or changes its key.
struct ChildWork {
  struct Change {
    PageNumber table;
    RowId row;
    bool remove;
    std::vector<std::size_t> columns;  ///< that get new values
    std::vector<Value> values;
  };
  std::vector<Change> changes;
};

/// Looks for rows that refer to this one. `assigned` null: the row is deleted; else it changes, and valueOf gives the new key.
/// Errors: kRelationViolated when there are such rows and nothing cascades to them.
[[nodiscard]] ChildWork CollectChildren(TableCore& table, RowId id, Row& row, const std::vector<bool>* assigned, const NewValueOf& valueOf);
/// Carries the collected changes out.
void FollowChildren(TableSpace& space, const ChildWork& work);

}  // namespace jet
