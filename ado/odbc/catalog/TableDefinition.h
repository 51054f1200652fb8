#pragma once

#include <string>

#include "ado/Catalog.h"
#include "ado/odbc/statement/Session.h"

namespace tamlo::ado::odbc {

/// Whether a column is marked as a counter.
[[nodiscard]] bool IsCounter(const Column& column);

/// Statements that define tables in plain SQL of the session's backend. Names stand as they are given, quoted. A column's property "Default"
/// is carried where it is a number, a text between single or double quotes, a truth value, NULL or Now(); any other one, and that of a counter,
/// is error -2147467259.
/// The table's keys become constraints of it. Error 3251 for rules that the backend does not have.
[[nodiscard]] std::string CreateTableText(const Session& session, Table& table);
[[nodiscard]] std::string AddColumnText(const Session& session, const std::string& table, const Column& column);
/// A primary key is a constraint where the backend can add one to a table, else a unique index.
[[nodiscard]] std::string AddIndexText(const Session& session, const std::string& table, const Index& index);

/// Empty where the backend has no such statement, or none that is known.
[[nodiscard]] std::string RenameTableText(const Session& session, const std::string& table, const std::string& name);
[[nodiscard]] std::string AddKeyText(const Session& session, const std::string& table, const Key& key);
[[nodiscard]] std::string DropKeyText(const Session& session, const std::string& table, const Key& key);
[[nodiscard]] std::string DropIndexText(const Session& session, const std::string& table, const std::string& index, bool primaryKey);

}  // namespace tamlo::ado::odbc
