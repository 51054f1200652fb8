#pragma once

#include <string>
#include <string_view>

namespace jet::sql {

/// The aggregate behind a function of the family of DLookup ("SUM" for DSUM, "" for DLOOKUP itself); null for another name.
[[nodiscard]] const char* DomainAggregate(std::string_view foldedName);

/// The statement that such a function stands for: an expression over a table or stored query, under a condition (empty: all rows).
[[nodiscard]] std::string DomainStatement(std::string_view aggregate, std::string_view expression, std::string_view domain,
                                          std::string_view criteria);

}  // namespace jet::sql
