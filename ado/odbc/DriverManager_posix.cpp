#include "ado/odbc/DriverManager.h"

namespace tamlo::ado::odbc {

void RequireDriverManager() {}

}  // namespace tamlo::ado::odbc
