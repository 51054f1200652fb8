#include "ado/odbc/driver/DriverManager.h"

namespace tamlo::ado::odbc {

void RequireDriverManager() {}

}  // namespace tamlo::ado::odbc
