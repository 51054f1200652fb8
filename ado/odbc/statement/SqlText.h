#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace tamlo::ado::odbc {

/// The single table of "SELECT ... FROM table [AS alias] [WHERE ...] [ORDER BY ...]", as it stands in the text, quotes and owner included.
/// None when rows of the query are not rows of one table (joins, DISTINCT, GROUP BY, UNION) or the text is no such query.
[[nodiscard]] std::optional<std::string> BaseTableOf(std::string_view sql);

/// The last part of a possibly qualified name, without its quotes ("ADM"."UTL" gives UTL).
[[nodiscard]] std::string PlainName(std::string_view tableText);

/// The text without its comments, where it has some: drivers that put a query into another one break on them. Hints stay.
[[nodiscard]] std::string WithoutComments(std::string_view sql);

/// Takes literals with characters beyond the 16-bit plane out of a statement: each becomes a parameter mark, its value is appended to values.
/// marksBefore, where given, gets the number of the statement's own marks before each.
[[nodiscard]] std::string WithoutWideLiterals(std::string_view sql, std::vector<std::string>& values,
                                              std::vector<std::size_t>* marksBefore = nullptr);

/// The text of a lone query (SELECT, VALUES, or WITH before one) that can stand in brackets in another one, without its semicolon.
/// None for anything else: a batch, PRAGMA, a WITH before statements that write, SELECT ... INTO.
[[nodiscard]] std::optional<std::string_view> QueryOf(std::string_view sql);

/// True for statements that change definitions (CREATE, ALTER, DROP, RENAME, SELECT ... INTO).
[[nodiscard]] bool ChangesSchema(std::string_view sql);

/// True for a statement whose text holds the statements of what it makes (a trigger, procedure, function, event or package). Looks at its
/// beginning alone.
[[nodiscard]] bool MakesProgram(std::string_view sql);

/// True for a single INSERT, REPLACE, UPDATE, DELETE or query, which a backend applies whole or not at all.
[[nodiscard]] bool IsSingleChangeOrQuery(std::string_view sql);

/// What a statement does to a transaction that is opened by texts.
enum class TransactionEffect { kNone, kMayOpen, kEnds };
/// kMayOpen is everything that is not known to open none: BEGIN, CALL, LOCK TABLES, XA ...
[[nodiscard]] TransactionEffect EffectOnTransaction(std::string_view sql);

}  // namespace tamlo::ado::odbc
