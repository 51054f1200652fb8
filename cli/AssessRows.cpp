#include "cli/AssessRows.h"

#include <cmath>

#include "ado/ExactNumber.h"
#include "ado/Recordset.h"
#include "base/MomentText.h"
#include "base/Utf8.h"
#include "cli/Failure.h"
#include "cli/Format.h"
#include "cli/Messages.h"
#include "cli/ServerRows.h"
#include "jet/table/Table.h"
#include "jet/value/Text.h"
#include "move/Source.h"
#include "schema/Dialect.h"

namespace tamlo::cli {
namespace {

using schema::Engine;
using schema::Kind;

void EachRowOfFile(jet::Database& file, const schema::Table& table, const std::function<void(const AssessedRow&)>& use) {
  jet::Table& read = file.OpenTable(table.name);
  AssessedRow row(read.Columns().size());
  for (auto cursor = read.Scan(); cursor.Next();) {
    for (std::size_t i = 0; i < row.size(); ++i) cursor.Current().Get(i, row[i]);
    use(row);
  }
}

jet::Value Assessed(const ado::Field& field) {
  const ado::Variant value = field.Value();
  if (const auto* moment = value.If<runtime::Date>()) return jet::Value(jet::Date{moment->serial});
  return ValueOf(value, field.Type());
}

void EachRowOfServer(Opened& opened, const schema::Table& table, const std::function<void(const AssessedRow&)>& use) {
  const schema::Dialect& dialect = schema::DialectOf(opened.engine.value_or(Engine::kOracle));
  std::vector<std::string> names;
  for (const auto& column : table.columns) names.push_back(column.name);
  if (names.empty()) return;
  std::int64_t number = 0;
  try {
    ado::Recordset rows;
    rows.Open("SELECT " + move::ColumnList(dialect, names) + " FROM " + schema::Quoted(dialect, table.name), opened.connection.get(),
              ado::adOpenForwardOnly, ado::adLockReadOnly, ado::adCmdText);
    AssessedRow row(rows.FieldCount());
    for (; !rows.Eof(); rows.MoveNext()) {
      ++number;
      for (std::size_t i = 0; i < row.size(); ++i) row[i] = Assessed(rows.Fields(i));
      use(row);
    }
  } catch (const runtime::Error& error) {
    throw Failure(Status::kFailed, Say(Said::kRowOf, {table.name, std::to_string(number)}) + ": " + ServerText(error));
  }
}

std::optional<Loss> LossOfMoment(double serial) {
  std::string text;
  if (!base::AppendMomentText(text, serial)) return Loss::kNoDay;
  constexpr double kMillisecondsADay = 86400000.0;
  return std::round(serial * kMillisecondsADay) / kMillisecondsADay == serial ? std::nullopt : std::optional(Loss::kFinerThanMilliseconds);
}

std::optional<Loss> LossOfNumber(double number, Engine engine) {
  const bool noInfinities = engine == Engine::kMariaDb || engine == Engine::kSqlServer;
  if (std::isnan(number)) return noInfinities || engine == Engine::kSqlite ? std::optional(Loss::kNotANumber) : std::nullopt;
  if (std::isinf(number)) return noInfinities ? std::optional(Loss::kInfinite) : std::nullopt;
  const bool plainZero = engine == Engine::kMariaDb || engine == Engine::kSqlite;
  return plainZero && number == 0 && std::signbit(number) ? std::optional(Loss::kNegativeZero) : std::nullopt;
}

std::optional<Loss> LossOfText(const std::string& text, Engine engine) {
  if (text.empty()) return engine == Engine::kOracle ? std::optional(Loss::kEmptyText) : std::nullopt;
  // SQLite's driver ends a text there when it reads it back.
  const bool endsThere = engine == Engine::kPostgreSql || engine == Engine::kSqlite;
  return endsThere && text.find('\0') != std::string::npos ? std::optional(Loss::kNul) : std::nullopt;
}

std::string Plain(const jet::Value& value) {
  if (value.Type() == jet::ValueType::kText) return value.AsText();
  std::string text;
  AppendPlain(text, value, {});
  return text;
}

bool Within(const ado::ExactNumber& number, const char* least, const char* most) {
  return number >= *ado::ExactNumber::Read(least) && number <= *ado::ExactNumber::Read(most);
}

/// Digits behind the point and in front of it.
bool HasDigits(const ado::ExactNumber& number, int front, int behind) {
  const auto digits = static_cast<std::int64_t>(number.digits.size());
  return number.point <= front && digits - number.point <= behind;
}

bool Fits(const ado::ExactNumber& number, const schema::Type& type) {
  switch (type.kind) {
    case Kind::kByte:
      return HasDigits(number, 3, 0) && Within(number, "0", "255");
    case Kind::kShort:
      return HasDigits(number, 5, 0) && Within(number, "-32768", "32767");
    case Kind::kLong:
      return HasDigits(number, 10, 0) && Within(number, "-2147483648", "2147483647");
    case Kind::kBig:
      return HasDigits(number, 19, 0) && Within(number, "-9223372036854775808", "9223372036854775807");
    case Kind::kCurrency:
      return HasDigits(number, 15, 4) && Within(number, "-922337203685477.5808", "922337203685477.5807");
    case Kind::kDecimal:
      return HasDigits(number, type.precision - type.scale, type.scale);
    default:
      return true;
  }
}

std::optional<Loss> LossOfExact(const jet::Value& value, const schema::Type& type) {
  if (value.Type() == jet::ValueType::kBool) return std::nullopt;
  if (value.Type() == jet::ValueType::kDate || value.Type() == jet::ValueType::kBytes) return Loss::kOtherType;
  const auto number = ado::ExactNumber::Read(Plain(value));
  if (!number) return Loss::kOtherType;
  return Fits(*number, type) ? std::nullopt : std::optional(Loss::kOutOfRange);
}

bool IsTooLong(const jet::Value& value, const schema::Type& type, Engine engine) {
  if (value.Type() == jet::ValueType::kBytes) return value.AsBytes().size() > static_cast<std::size_t>(type.length);
  const std::string text = Plain(value);
  if (text.size() <= static_cast<std::size_t>(type.length)) return false;
  const bool pairs = engine == Engine::kAccess || engine == Engine::kSqlServer;
  return (pairs ? jet::CountUtf16(text) : base::CountCharacters(text)) > static_cast<std::size_t>(type.length);
}

bool IsNumber(const jet::Value& value) {
  return value.Type() != jet::ValueType::kText && value.Type() != jet::ValueType::kBytes && value.Type() != jet::ValueType::kDate;
}

}  // namespace

void EachRow(Opened& opened, const schema::Table& table, const std::function<void(const AssessedRow&)>& use) {
  if (opened.file) return EachRowOfFile(*opened.file, table, use);
  EachRowOfServer(opened, table, use);
}

std::optional<Loss> LossOf(const jet::Value& value, Engine engine) {
  switch (value.Type()) {
    case jet::ValueType::kDate:
      return engine == Engine::kAccess ? std::nullopt : LossOfMoment(value.AsDate().serial);
    case jet::ValueType::kSingle:
      return LossOfNumber(static_cast<double>(value.AsSingle()), engine);
    case jet::ValueType::kDouble:
      return LossOfNumber(value.AsDouble(), engine);
    case jet::ValueType::kText:
      return LossOfText(value.AsText(), engine);
    default:
      return std::nullopt;
  }
}

std::optional<Loss> LossInColumn(const jet::Value& value, const schema::Type& type, Engine engine) {
  if (value.IsNull()) return std::nullopt;
  switch (type.kind) {
    case Kind::kByte:
    case Kind::kShort:
    case Kind::kLong:
    case Kind::kBig:
    case Kind::kCurrency:
    case Kind::kDecimal:
      return LossOfExact(value, type);
    case Kind::kSingle:
    case Kind::kDouble:
      return IsNumber(value) ? LossOf(value, engine) : std::optional(Loss::kOtherType);
    case Kind::kMoment: {
      // Digits below the millisecond are a finding of whoever read the column.
      const auto loss = value.Type() == jet::ValueType::kDate ? LossOfMoment(value.AsDate().serial) : std::optional(Loss::kNoDay);
      return loss == Loss::kFinerThanMilliseconds ? std::nullopt : loss;
    }
    case Kind::kText:
      if (IsTooLong(value, type, engine)) return Loss::kTooLong;
      return LossOf(value, engine);
    case Kind::kBinary:
      return IsTooLong(value, type, engine) ? std::optional(Loss::kTooLong) : std::nullopt;
    case Kind::kGuid:
      return value.Type() == jet::ValueType::kGuid || jet::Guid::Parse(Plain(value)) ? std::nullopt : std::optional(Loss::kOtherType);
    default:
      return LossOf(value, engine);
  }
}

}  // namespace tamlo::cli
