#include "cli/ServerRows.h"

#include <array>

#include "ado/Recordset.h"
#include "base/Calendar.h"
#include "base/Numbers.h"
#include "cli/Failure.h"
#include "cli/Messages.h"
#include "jet/table/Table.h"
#include "runtime/Error.h"
#include "schema/ReadAccess.h"

namespace tamlo::cli {
namespace {

constexpr std::int64_t kMicrosecondsADay = base::kSecondsADay * 1000000;

/// HH:MM:SS, with a fraction where there is one.
std::string TimeText(std::int64_t microseconds) {
  const std::int64_t seconds = microseconds / 1000000;
  std::string text;
  base::AppendPadded(text, seconds / 3600, 2);
  text += ':';
  base::AppendPadded(text, seconds / 60 % 60, 2);
  text += ':';
  base::AppendPadded(text, seconds % 60, 2);
  const std::int64_t fraction = microseconds % 1000000;
  if (fraction == 0) return text;
  text += '.';
  base::AppendPadded(text, fraction % 1000 == 0 ? fraction / 1000 : fraction, fraction % 1000 == 0 ? 3 : 6);
  return text;
}

std::string DayText(std::int64_t number) {
  const base::CivilDay day = base::CivilOf(number);
  std::string text;
  base::AppendPadded(text, day.year, 4);
  text += '-';
  base::AppendPadded(text, day.month, 2);
  text += '-';
  base::AppendPadded(text, day.day, 2);
  return text;
}

/// A moment goes as such unless it has more digits than those of milliseconds, or is a day or a time alone.
jet::Value MomentOf(double serial, std::int16_t type, bool asMoments) {
  const base::DayAndTicks moment = base::SplitSerial(serial, kMicrosecondsADay);
  if (type == ado::adDBDate && !asMoments) return jet::Value(DayText(moment.day));
  if (type == ado::adDBTime && moment.day == 0) return jet::Value(TimeText(moment.ticks));
  // A double has microseconds in these years alone; beyond them they are the noise of milliseconds.
  const bool hasMicroseconds = serial > -65536 && serial < 65536 && moment.ticks % 1000 != 0;
  if (hasMicroseconds) return jet::Value(DayText(moment.day) + ' ' + TimeText(moment.ticks));
  return jet::Value(jet::Date{serial});
}

jet::Value DecimalOf(const std::string& text) {
  const auto numeric = jet::Numeric::Parse(text);
  // Longer ones are texts, which say the same.
  if (numeric && numeric->Text() == text) return jet::Value(*numeric);
  return jet::Value(text);
}

jet::Value WholeOf(std::int64_t number) {
  if (number >= INT32_MIN && number <= INT32_MAX) return jet::Value(static_cast<std::int32_t>(number));
  return DecimalOf(std::to_string(number));
}

jet::Value GuidOf(const std::string& text) {
  const auto guid = jet::Guid::Parse(text);
  return guid ? jet::Value(*guid) : jet::Value(text);
}

}  // namespace

jet::Value ValueOf(const ado::Variant& value, std::int16_t type, bool asMoments) {
  if (const auto* truth = value.If<bool>()) return jet::Value(*truth);
  if (const auto* number = value.If<std::uint8_t>()) return jet::Value(static_cast<std::int32_t>(*number));
  if (const auto* number = value.If<std::int16_t>()) return jet::Value(*number);
  if (const auto* number = value.If<std::int32_t>()) return jet::Value(*number);
  if (const auto* number = value.If<std::int64_t>()) return WholeOf(*number);
  if (const auto* number = value.If<float>()) return jet::Value(*number);
  if (const auto* number = value.If<double>()) return jet::Value(*number);
  if (const auto* amount = value.If<runtime::Currency>()) return jet::Value(jet::Currency{amount->tenThousandths});
  if (const auto* moment = value.If<runtime::Date>()) return MomentOf(moment->serial, type, asMoments);
  if (const auto* decimal = value.If<runtime::Decimal>()) return DecimalOf(decimal->text);
  if (const auto* guid = value.If<runtime::Guid>()) return GuidOf(guid->text);
  if (const auto* text = value.If<std::string>()) return jet::Value(*text);
  if (const auto* bytes = value.If<runtime::Bytes>()) return jet::Value(*bytes);
  return {};
}

void WriteRows(ado::Recordset& rows, const std::string& name, std::int64_t limit, RowFormat& format) {
  std::int64_t number = 0;
  try {
    std::vector<std::string> names;
    std::vector<const ado::Field*> fields;
    if (rows.IsOpen())
      for (std::size_t i = 0; i < rows.FieldCount(); ++i) {
        fields.push_back(&rows.Fields(i));
        names.push_back(fields.back()->Name());
      }
    format.Begin(name, names);
    std::vector<jet::Value> row(fields.size());
    const bool moments = format.WantsMoments();
    while (rows.IsOpen() && number < limit && !rows.Eof()) {
      ++number;
      for (std::size_t i = 0; i < fields.size(); ++i) {
        row[i] = ValueOf(fields[i]->Value(), fields[i]->Type(), moments);
        // Microseconds are no part of a format, nor of what is read back.
        if (moments && fields[i]->Type() == ado::adDBTimeStamp && row[i].Type() == jet::ValueType::kText)
          throw Failure(Status::kFailed, Say(Said::kCellOf, {name, std::to_string(number), names[i]}) + ": " +
                                             Say(Said::kNotInFormat, {row[i].AsText(), "--date-format"}));
      }
      format.Row(row);
      rows.MoveNext();
    }
  } catch (const runtime::Error& error) {
    const std::string place = number == 0 ? name : Say(Said::kRowOf, {name, std::to_string(number)});
    throw Failure(Status::kFailed, place + ": " + ServerText(error));
  }
  format.End();
}

void WriteServerRows(ado::Connection& connection, const std::string& sql, const std::string& name, std::int64_t limit, RowFormat& format) {
  ado::Recordset rows;
  try {
    rows.Open(sql, &connection, ado::adOpenForwardOnly, ado::adLockReadOnly, ado::adCmdText);
  } catch (const runtime::Error& error) {
    throw Failure(Status::kFailed, name + ": " + ServerText(error));
  }
  WriteRows(rows, name, limit, format);
}

schema::Database ReadStructure(const Opened& opened, const schema::ReadOptions& options) {
  return opened.file ? schema::ReadAccess(*opened.file) : schema::Read(*opened.connection, opened.engine, options);
}

std::vector<std::string> TablesOf(Opened& opened, const std::vector<std::string>& patterns) {
  if (opened.file) return TablesNamed(*opened.file, patterns);
  return NamesMatching(schema::TableNames(*opened.connection, opened.engine), patterns);
}

std::uint64_t RowsOf(Opened& opened, const std::string& table) {
  return opened.file ? opened.file->OpenTable(table).RowCount() : schema::CountRows(*opened.connection, opened.engine, table);
}

}  // namespace tamlo::cli
