#pragma once

namespace jet::sql {

/// While wanted, what the sessions of this process evaluate ends soon with error kLimit, as if its time were over: it has then changed nothing,
/// and the session is usable. For programs whose user sits before them and has lost patience; from any thread. Process-wide, as that user is.
void InterruptStatements(bool wanted) noexcept;

}  // namespace jet::sql
