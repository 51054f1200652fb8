#pragma once

// The driver manager's own headers, for the .cpp files of the ODBC provider alone.
#ifdef _WIN32
#ifndef NOMINMAX
#define NOMINMAX
#endif
#include <windows.h>
#endif
#include <sql.h>
#include <sqlext.h>
#include <sqlucode.h>

#include <cstddef>

static_assert(sizeof(SQLWCHAR) == sizeof(char16_t), "wide texts are UTF-16 on every platform");
static_assert(sizeof(SQLLEN) == sizeof(std::ptrdiff_t), "lengths travel as ptrdiff_t in the headers");

namespace tamlo::ado::odbc {

/// Lengths as the driver manager takes them: SQLLEN is another type of the same size on some platforms.
inline SQLLEN* AsNativeLengths(std::ptrdiff_t* lengths) noexcept { return reinterpret_cast<SQLLEN*>(lengths); }

}  // namespace tamlo::ado::odbc
