#include <windows.h>

#include "ado/odbc/driver/DriverManager.h"
#include "runtime/Error.h"

namespace tamlo::ado::odbc {

void RequireDriverManager() {
  // Stays loaded: the calls that follow find it there.
  if (LoadLibraryExW(L"odbc32.dll", nullptr, LOAD_LIBRARY_SEARCH_SYSTEM32) != nullptr) return;
  throw runtime::Error(runtime::kProviderFailure, "Le gestionnaire ODBC de Windows (odbc32.dll) manque ou ne se charge pas", "odbc");
}

}  // namespace tamlo::ado::odbc
