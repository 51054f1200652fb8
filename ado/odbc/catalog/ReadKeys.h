#pragma once

#include <memory>
#include <string>
#include <vector>

#include "ado/Keys.h"
#include "ado/odbc/statement/Session.h"

namespace tamlo::ado::odbc {

/// The keys of a table: the primary one, unique ones, foreign ones. Where the backend tells unique constraints from unique indexes (all but
/// MySQL and unknown ones without INFORMATION_SCHEMA) only the former are keys. A key without a name is called PRIMARY, or after its index or the
/// table that it refers to.
[[nodiscard]] std::vector<Key> ReadKeys(const std::shared_ptr<Session>& session, const std::string& schema, const std::string& table);

/// The same on SQLite, whose driver tells neither names nor the order of a primary key's columns.
[[nodiscard]] std::vector<Key> ReadSqliteKeys(const std::shared_ptr<Session>& session, const std::string& table);

/// A rule as it stands in statements.
[[nodiscard]] RuleType RuleOf(const std::string& text);
/// A text as a literal of a statement, its quotes doubled. Not for MySQL, where a backslash counts too.
[[nodiscard]] std::string Literal(const std::string& text);

}  // namespace tamlo::ado::odbc
