#pragma once

#include <cstdint>
#include <optional>
#include <string>

namespace tamlo::db::ddl {

/// The SQL backends, in the order of the columns of the type table.
enum class Dialecte : std::uint8_t { kMySql, kSqlServer, kOracle };

/// The column type that a backend writes for an ADO type code and a length, with the blank that stands before it. An empty text for a
/// code that the backend writes without a type (131 on SQL Server); nullopt for a code that the table does not know.
[[nodiscard]] std::optional<std::string> TypeColonne(Dialecte dialecte, std::int32_t typ, std::int32_t lg);

}  // namespace tamlo::db::ddl
