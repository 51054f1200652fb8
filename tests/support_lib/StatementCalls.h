#pragma once

#include <functional>

namespace tamlo::tests {

/// The calls by which this program's statements reach an ODBC driver: preparing, executing, fetching, ends of transactions. They are counted, and
/// at one of them a blow falls. For programs that have StatementCalls.cpp among their sources: its functions then stand before the driver manager's.
enum class Side { kBefore, kAfter };

/// Counts from 1 anew; at that call, on that side of it, blow is called, once. 0 only counts.
void ArmCall(int call, Side side, std::function<void()> blow);
/// No blow falls any more.
void DisarmCall();
/// Calls since ArmCall.
[[nodiscard]] int CallsMade();
/// True when the blow has fallen.
[[nodiscard]] bool BlowFallen();

}  // namespace tamlo::tests
