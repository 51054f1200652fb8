#pragma once

#include <string>
#include <vector>

#include "ado/odbc/driver/Handle.h"
#include "runtime/Error.h"

namespace tamlo::ado::odbc {

/// All records that a handle holds, in the driver's order.
[[nodiscard]] std::vector<runtime::Diagnostic> ReadDiagnostics(Handle::Kind kind, void* handle);

/// The error that records stand for: the decisive one (the first that is no warning) in front, its text as description, 3022 for a
/// duplicate key on whatever backend, -2147217865 for a table that is not there, -2147217900 for a statement that the backend does not
/// understand, -2147467259 for anything else. sent is the statement, or empty: what is none is -2147467259. general leaves but 3022 and that.
[[nodiscard]] runtime::Error MakeError(std::vector<runtime::Diagnostic> records, std::string sent, bool general = false);

/// The error for what no driver may say: a length below zero, more rows than there was room for, values without an end.
[[nodiscard]] runtime::Error Unbelievable(const std::string& what);

/// True when the driver's records tell that the connection is gone, so that nothing can be asked any more.
[[nodiscard]] bool SaysConnectionLost(const runtime::Error& error);

/// True when the statement waited for a lock of another connection until its time was over.
[[nodiscard]] bool IsLockTimeout(const runtime::Error& error);

/// True when a row that could not be written is itself the reason (a value, a key, a rule of the table), so that it would be refused again
/// and another row may be written. False for a connection that is lost, a lock or a deadlock, a statement that was ended, a disk or a memory
/// that is full, and a table that is not there.
[[nodiscard]] bool IsOfTheRow(const runtime::Error& error);

}  // namespace tamlo::ado::odbc
