#include "bench/move/ByHand.h"

#include <sql.h>
#include <sqlext.h>
#include <sqlite3.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstring>
#include <fstream>
#include <stdexcept>

#include "bench/copy/RawSide.h"
#include "bench/jet/Goals.h"
#include "bench/jet/PeopleFile.h"

namespace tamlo::bench {
namespace {

using jet::bench::Clock;
using jet::bench::Seconds;

void Put(std::vector<char>& column, std::vector<std::int64_t>& sizes, std::size_t width, const std::string& text) {
  const std::size_t place = column.size();
  column.resize(place + width);
  std::memcpy(&column[place], text.data(), std::min(text.size(), width - 1));
  sizes.push_back(static_cast<std::int64_t>(text.size()));
}

void Must(int result, sqlite3* database) {
  if (result != SQLITE_OK && result != SQLITE_DONE) throw std::runtime_error(sqlite3_errmsg(database));
}

/// The parameters from that row on.
void Bind(const RawSide& side, const Rows& rows, std::size_t from) {
  const auto bind = [&](SQLUSMALLINT number, SQLSMALLINT kind, SQLULEN size, SQLSMALLINT digits, const std::vector<char>& column,
                        std::size_t width, const std::vector<std::int64_t>& sizes) {
    side.Check(SQLBindParameter(side.statement, number, SQL_PARAM_INPUT, SQL_C_CHAR, kind, size, digits,
                                const_cast<char*>(&column[from * width]), static_cast<SQLLEN>(width),
                                reinterpret_cast<SQLLEN*>(const_cast<std::int64_t*>(&sizes[from]))));
  };
  side.Check(SQLBindParameter(side.statement, 1, SQL_PARAM_INPUT, SQL_C_SLONG, SQL_INTEGER, 0, 0, const_cast<std::int32_t*>(&rows.id[from]),
                              0, nullptr));
  bind(2, SQL_VARCHAR, 60, 0, rows.name, Rows::kTextBytes, rows.nameSize);
  bind(3, SQL_VARCHAR, 60, 0, rows.town, Rows::kTextBytes, rows.townSize);
  bind(4, SQL_VARCHAR, 20, 0, rows.amount, Rows::kAmountBytes, rows.amountSize);
  bind(5, SQL_VARCHAR, 19, 0, rows.born, Rows::kDayBytes, rows.bornSize);
}

}  // namespace

Rows::Rows(int count) {
  for (int i = 0; i < count; ++i) {
    id.push_back(i);
    Put(name, nameSize, kTextBytes, jet::bench::NameOf(i));
    Put(town, townSize, kTextBytes, jet::bench::TownOf(i));
    char text[32];
    std::snprintf(text, sizeof text, "%d.%02d00", i / 100, i % 100);
    Put(amount, amountSize, kAmountBytes, text);
    const auto day =
        std::chrono::year_month_day(std::chrono::sys_days(std::chrono::year(1899) / 12 / 30) + std::chrono::days(20000 + i % 20000));
    std::snprintf(text, sizeof text, "%04d-%02u-%02u 00:00:00", static_cast<int>(day.year()), static_cast<unsigned>(day.month()),
                  static_cast<unsigned>(day.day()));
    Put(born, bornSize, kDayBytes, text);
  }
}

void Rows::WriteCsv(const std::string& path) const {
  std::ofstream file(path, std::ios::binary);
  for (std::size_t i = 0; i < Count(); ++i) {
    file << id[i] << ',' << &name[i * kTextBytes] << ',' << &town[i * kTextBytes] << ',' << &amount[i * kAmountBytes] << ','
         << &born[i * kDayBytes] << '\n';
  }
}

double IntoSqlite(const std::string& path, const Rows& rows) {
  const auto start = Clock::now();
  sqlite3* database = nullptr;
  Must(sqlite3_open(path.c_str(), &database), database);
  Must(sqlite3_exec(database, "BEGIN", nullptr, nullptr, nullptr), database);
  sqlite3_stmt* insert = nullptr;
  Must(sqlite3_prepare_v2(database, "INSERT INTO People VALUES(?,?,?,?,?)", -1, &insert, nullptr), database);
  const auto bind = [&](int place, const std::vector<char>& column, std::size_t width, std::size_t row, std::int64_t size) {
    sqlite3_bind_text(insert, place, &column[row * width], static_cast<int>(size), SQLITE_STATIC);
  };
  for (std::size_t i = 0; i < rows.Count(); ++i) {
    sqlite3_bind_int(insert, 1, rows.id[i]);
    bind(2, rows.name, Rows::kTextBytes, i, rows.nameSize[i]);
    bind(3, rows.town, Rows::kTextBytes, i, rows.townSize[i]);
    bind(4, rows.amount, Rows::kAmountBytes, i, rows.amountSize[i]);
    bind(5, rows.born, Rows::kDayBytes, i, rows.bornSize[i]);
    Must(sqlite3_step(insert), database);
    sqlite3_reset(insert);
  }
  sqlite3_finalize(insert);
  Must(sqlite3_exec(database, "COMMIT", nullptr, nullptr, nullptr), database);
  sqlite3_close(database);
  return Seconds(start);
}

double IntoOdbc(const std::string& connection, const Rows& rows, std::size_t batch) {
  RawSide side(connection);
  const auto start = Clock::now();
  side.Begin();
  side.Prepare("INSERT INTO People VALUES (?,?,?,?,?)");
  for (std::size_t from = 0; from < rows.Count(); from += batch) {
    Bind(side, rows, from);
    side.SendRows(std::min(batch, rows.Count() - from));
    side.Commit();
  }
  return Seconds(start);
}

}  // namespace tamlo::bench
