#pragma once

#include <string>
#include <vector>

#include "ado/Provider.h"

namespace tamlo::ado::odbc {

/// The request with a connection string that is safe to follow although others wrote it: one data source or driver that is registered here,
/// by its name, and keys that only say whom to talk to and as whom. Driver managers and drivers read braces, repeated keys and unknown
/// options each in their own way, so whatever could be read in two ways is refused, and what is left is written anew.
/// A database that is named as a file must be a regular file that is there.
/// Error -2147467259 that names the key (never its value where that could be a password).
[[nodiscard]] OpenRequest Registered(const OpenRequest& request, const std::vector<std::string>& sources,
                                     const std::vector<std::string>& drivers);

}  // namespace tamlo::ado::odbc
