#pragma once

#include <string>

namespace base {

/// Appends a moment (see Calendar.h) as YYYY-MM-DD HH:MM:SS, with milliseconds behind a point where there are some: rounded to the nearest
/// one, which is as exact as a serial is over all years. False, and nothing is appended, outside of the years 100 to 9999.
bool AppendMomentText(std::string& out, double serial);

}  // namespace base
