#pragma once

#include <string>
#include <string_view>

namespace tamlo::ado::jetprovider {

/// The database file that a name means: the exact path when it exists, else at each step the one entry that matches without regard to
/// case. Two matching entries are an error that names both; a name that matches nothing comes back as it stands.
/// Error -2147467259 for two matches.
[[nodiscard]] std::string FindFile(const std::string& name);

/// What a connection string of this provider says: a plain file name, or "Data Source=...;Mode=...;...". A value may stand in quotes, in which
/// its own are doubled.
struct ConnectionText {
  std::string dataSource;
  std::string mode;      ///< upper case, such as "SHARE EXCLUSIVE" or "READ"
  std::string password;  ///< of the database: "Jet OLEDB:Database Password"
};
[[nodiscard]] ConnectionText ReadConnectionText(std::string_view text);

}  // namespace tamlo::ado::jetprovider
