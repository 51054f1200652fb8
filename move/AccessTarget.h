#pragma once

#include <memory>

#include "jet/Database.h"
#include "move/Target.h"
#include "schema/AccessPlan.h"

namespace tamlo::move {

/// What the steps of an Access file's making are called in a plan of a copy: one statement of each phase for a table, whose text is for people.
/// wanted is what was planned: its tables stand in the same places.
[[nodiscard]] schema::Script ScriptOf(const schema::Database& wanted, const schema::AccessPlan& plan);

/// An Access file as a target: definitions go straight to the engine, rows through the connection, which has the same file open for writing. All
/// four must outlive it. Error: base::Error when the plan has refusals.
[[nodiscard]] std::unique_ptr<Target> AccessTarget(jet::Database& file, ado::Connection& connection, const schema::Database& wanted,
                                                   const schema::AccessPlan& plan);

}  // namespace tamlo::move
