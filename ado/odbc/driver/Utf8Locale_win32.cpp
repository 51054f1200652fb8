#include "ado/odbc/driver/Utf8Locale.h"

namespace tamlo::ado::odbc {

Utf8Locale::Utf8Locale() = default;
Utf8Locale::~Utf8Locale() = default;

}  // namespace tamlo::ado::odbc
