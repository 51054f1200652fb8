#pragma once

namespace tamlo::ado::sqlite {

/// Makes "SQLITE" known: SQLite files through SQLite's own interface, for those who write many rows into them. The connection string is
/// "Data Source=PATH"; a file that is not there is made by the first statement that writes. There are statements without parameters, forward-only
/// cursors, new rows (AddNew) in what a query shows of one table, BulkInsert and transactions of one level; all else is error 3251, catalogs and
/// changes of rows among it: the ODBC driver ("MSDASQL") has them. Values come as the file holds them: whole numbers of 64 bits, doubles, texts,
/// bytes. Waits 5 seconds for other writers. Foreign keys hold. Calling it again changes nothing.
void RegisterSqliteProvider();

}  // namespace tamlo::ado::sqlite
