#include "bench/copy/RawCopy.h"

#include <sql.h>
#include <sqlext.h>

#include <cstring>
#include <vector>

#include "bench/copy/RawSide.h"

namespace tamlo::bench {

namespace {

constexpr std::size_t kTextBytes = 61;
constexpr std::size_t kDayTextBytes = 20;

/// A row as the source's columns are bound to it.
struct Row {
  SQLINTEGER id;
  SQLLEN idSize;
  char text[kTextBytes];
  SQLLEN textSize;
  double number;
  SQLLEN numberSize;
  alignas(SQL_TIMESTAMP_STRUCT) char day[kDayTextBytes];  // as text or as a structure
  SQLLEN daySize;
};

/// The batch: an array for each column. (MariaDB's driver sends arrays bound by row one row at a time.)
struct Batch {
  Batch(std::size_t rows, std::size_t bytesOfDay)
      : dayBytes(bytesOfDay),
        id(rows),
        idSize(rows),
        text(rows * kTextBytes),
        textSize(rows),
        number(rows),
        numberSize(rows),
        day(rows * dayBytes),
        daySize(rows) {}

  void Set(std::size_t i, const Row& row) {
    id[i] = row.id;
    idSize[i] = row.idSize;
    std::memcpy(&text[i * kTextBytes], row.text, kTextBytes);
    textSize[i] = row.textSize;
    number[i] = row.number;
    numberSize[i] = row.numberSize;
    std::memcpy(&day[i * dayBytes], row.day, dayBytes);
    daySize[i] = row.daySize;
  }

  std::size_t dayBytes;
  std::vector<SQLINTEGER> id;
  std::vector<SQLLEN> idSize;
  std::vector<char> text;
  std::vector<SQLLEN> textSize;
  std::vector<double> number;
  std::vector<SQLLEN> numberSize;
  std::vector<char> day;
  std::vector<SQLLEN> daySize;
};

}  // namespace

std::size_t RawCopy(const std::string& source, const std::string& target, const std::string& table, std::size_t batchRows,
                    bool datesAsText) {
  RawSide in(source);
  RawSide out(target);
  Row row{};
  Batch batch(batchRows, datesAsText ? kDayTextBytes : sizeof(SQL_TIMESTAMP_STRUCT));
  in.Execute("SELECT ID, TEXTE, DBL, JOUR FROM " + table);
  in.Check(SQLBindCol(in.statement, 1, SQL_C_SLONG, &row.id, 0, &row.idSize));
  in.Check(SQLBindCol(in.statement, 2, SQL_C_CHAR, row.text, kTextBytes, &row.textSize));
  in.Check(SQLBindCol(in.statement, 3, SQL_C_DOUBLE, &row.number, 0, &row.numberSize));
  in.Check(SQLBindCol(in.statement, 4, datesAsText ? SQL_C_CHAR : SQL_C_TYPE_TIMESTAMP, row.day, kDayTextBytes, &row.daySize));

  out.Begin();
  out.Prepare("INSERT INTO " + table + " (ID, TEXTE, DBL, JOUR) VALUES (?,?,?,?)");
  const auto bind = [&](SQLUSMALLINT number, SQLSMALLINT type, SQLSMALLINT sqlType, SQLULEN size, void* data, std::size_t stride,
                        SQLLEN* sizes) {
    out.Check(SQLBindParameter(out.statement, number, SQL_PARAM_INPUT, type, sqlType, size, 0, data, static_cast<SQLLEN>(stride), sizes));
  };
  bind(1, SQL_C_SLONG, SQL_INTEGER, 0, batch.id.data(), 0, batch.idSize.data());
  bind(2, SQL_C_CHAR, SQL_VARCHAR, 60, batch.text.data(), kTextBytes, batch.textSize.data());
  bind(3, SQL_C_DOUBLE, SQL_DOUBLE, 0, batch.number.data(), 0, batch.numberSize.data());
  if (datesAsText) {
    bind(4, SQL_C_CHAR, SQL_VARCHAR, 19, batch.day.data(), kDayTextBytes, batch.daySize.data());
  } else {
    bind(4, SQL_C_TYPE_TIMESTAMP, SQL_TYPE_TIMESTAMP, 19, batch.day.data(), 0, batch.daySize.data());
  }

  std::size_t rows = 0;
  std::size_t held = 0;
  const auto send = [&] {
    out.SendRows(held);
    out.Commit();
    held = 0;
  };
  while (SQL_SUCCEEDED(SQLFetch(in.statement))) {
    batch.Set(held++, row);
    ++rows;
    if (held == batchRows) send();
  }
  if (held > 0) send();
  return rows;
}

}  // namespace tamlo::bench
