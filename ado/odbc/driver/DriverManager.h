#pragma once

namespace tamlo::ado::odbc {

/// Before the first call to the driver manager: error -2147467259 where it cannot be loaded. (On Windows it is loaded at its first call, which
/// would end the process. Elsewhere it comes with the program.)
void RequireDriverManager();

}  // namespace tamlo::ado::odbc
