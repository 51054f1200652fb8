#include "cli/ServerValues.h"

#include <algorithm>

#include "ado/ExactNumber.h"
#include "base/Case.h"
#include "base/MomentText.h"
#include "base/Numbers.h"
#include "base/Utf8.h"
#include "jet/value/Text.h"

namespace tamlo::cli {
namespace {

using ado::Variant;
using schema::Engine;
using Takes = ServerColumn::Takes;

bool AllDigits(std::string_view text) { return text.find_first_not_of("0123456789") == std::string_view::npos; }

/// A number of digits alone, without an exponent's or a blank's: "1e5" is one of binary columns.
std::optional<ado::ExactNumber> Number(const std::string& text) {
  if (text.find_first_not_of("+-.0123456789") != std::string::npos) return std::nullopt;
  return ado::ExactNumber::Read(text);
}

int DigitsBehind(const ado::ExactNumber& number) {
  return static_cast<int>(std::max<std::int64_t>(0, static_cast<std::int64_t>(number.digits.size()) - number.point));
}

int DigitsInFront(const ado::ExactNumber& number) { return static_cast<int>(std::max<std::int64_t>(0, number.point)); }

std::optional<Variant> Whole(const std::string& text, const ServerColumn& column) {
  const auto number = Number(text);
  if (!number || DigitsBehind(*number) > 0 || number->point > 20) return std::nullopt;
  std::string digits = number->digits;
  digits.append(static_cast<std::size_t>(std::max<std::int64_t>(0, number->point)) - digits.size(), '0');
  if (digits.empty()) digits = "0";
  if (number->sign < 0) {
    const auto value = base::ReadWhole<std::int64_t>("-" + digits);
    return value && *value >= column.least ? std::optional(Variant(*value)) : std::nullopt;
  }
  const auto value = base::ReadWhole<std::uint64_t>(digits);
  if (!value || *value > column.most || (column.least > 0 && *value < static_cast<std::uint64_t>(column.least))) return std::nullopt;
  if (*value <= INT64_MAX) return Variant(static_cast<std::int64_t>(*value));
  return Variant(runtime::Decimal{digits});
}

std::optional<Variant> Exact(const std::string& text, const ServerColumn& column) {
  const auto number = Number(text);
  if (!number) return std::nullopt;
  if (column.scale && DigitsBehind(*number) > *column.scale) return std::nullopt;
  if (column.whole && DigitsInFront(*number) > *column.whole) return std::nullopt;
  if (column.digits && static_cast<int>(number->digits.size()) > *column.digits) return std::nullopt;
  return Variant(text);
}

std::optional<Variant> Real(const Cell& cell, const ServerColumn& column, const Reading& reading) {
  if (column.scale) {
    const auto number = Number(cell.text);
    if (!number || DigitsBehind(*number) > *column.scale) return std::nullopt;
  }
  const bool single = column.takes == Takes::kSingle;
  jet::ColumnDef as;
  as.type = single ? jet::ColumnType::kSingle : jet::ColumnType::kDouble;
  const auto value = ValueOf(cell, as, reading);
  if (!value) return std::nullopt;
  return single ? Variant(value->AsSingle()) : Variant(value->AsDouble());
}

std::optional<Variant> Truth(const Cell& cell, const ServerColumn& column, const Reading& reading) {
  jet::ColumnDef as;
  as.type = jet::ColumnType::kBoolean;
  if (const auto value = ValueOf(cell, as, reading)) {
    if (!column.numberToo) return Variant(value->AsBool());
    return Variant(static_cast<std::int16_t>(value->AsBool() ? 1 : 0));
  }
  return column.numberToo ? Whole(cell.text, column) : std::nullopt;
}

/// Digits behind the second that stand at the end of the text, without zeros that say nothing; they are taken off it.
std::optional<std::string> TakeFraction(std::string& text) {
  const auto point = text.find('.');
  if (point == std::string::npos) return std::string();
  std::string fraction = text.substr(point + 1);
  if (fraction.empty() || !AllDigits(fraction)) return std::nullopt;
  text.resize(point);
  fraction.erase(fraction.find_last_not_of('0') + 1);
  return fraction;
}

/// YYYY-MM-DD HH:MM:SS with the digits behind the second that there are, as far as the column has so many.
std::optional<std::string> MomentText(std::string text, const ServerColumn& column, const Reading& reading) {
  std::string fraction;
  if (reading.dateFormat.empty()) {
    constexpr std::size_t kToTheSecond = 19;
    const bool hasSeconds = text.size() > kToTheSecond;
    const auto taken = TakeFraction(text);
    if (!taken || (hasSeconds && text.size() != kToTheSecond)) return std::nullopt;
    fraction = *taken;
  }
  const auto serial = ReadMoment(text, reading.dateFormat);
  std::string moment;
  if (!serial || !base::AppendMomentText(moment, *serial)) return std::nullopt;
  if (!reading.dateFormat.empty()) fraction = TakeFraction(moment).value_or(std::string());
  if (fraction.size() > static_cast<std::size_t>(column.fraction)) return std::nullopt;
  return moment + (fraction.empty() ? "" : "." + fraction);
}

std::optional<Variant> Moment(const Cell& cell, const ServerColumn& column, const Reading& reading, std::optional<Engine> engine) {
  if (engine == Engine::kPostgreSql && (cell.text == "infinity" || cell.text == "-infinity")) return Variant(cell.text);
  const auto moment = MomentText(cell.text, column, reading);
  if (!moment) return std::nullopt;
  if (column.takes == Takes::kMoment) return Variant(*moment);
  constexpr std::string_view kMidnight = " 00:00:00";
  if (!moment->ends_with(kMidnight)) return std::nullopt;
  return Variant(moment->substr(0, moment->size() - kMidnight.size()));
}

/// [-]H...:MM[:SS[.F...]]; how many hours there are is the engine's matter.
std::optional<Variant> Time(const std::string& text, const ServerColumn& column) {
  std::string rest = text;
  const auto fraction = TakeFraction(rest);
  if (!fraction || fraction->size() > static_cast<std::size_t>(column.fraction)) return std::nullopt;
  const std::string_view time = std::string_view(rest).substr(rest.starts_with('-') ? 1 : 0);
  const auto first = time.find(':');
  if (first == std::string_view::npos || first == 0 || first > 3 || !AllDigits(time.substr(0, first))) return std::nullopt;
  std::string_view behind = time.substr(first);
  const bool hasSeconds = behind.size() == 6;
  if ((behind.size() != 3 && !hasSeconds) || (!hasSeconds && text.find('.') != std::string::npos)) return std::nullopt;
  for (; !behind.empty(); behind.remove_prefix(3))
    if (behind[0] != ':' || !AllDigits(behind.substr(1, 2)) || behind[1] > '5') return std::nullopt;
  return Variant(text);
}

std::optional<Variant> Text(const std::string& text, const ServerColumn& column, std::optional<Engine> engine) {
  // SQLite's driver and PostgreSQL end a text there.
  const bool endsThere = engine == Engine::kPostgreSql || engine == Engine::kSqlite;
  if (endsThere && text.find('\0') != std::string::npos) return std::nullopt;
  if (column.fixed && text.ends_with(' ')) return std::nullopt;
  return Variant(text);
}

std::optional<Variant> Bytes(const Cell& cell, const ServerColumn& column, const Reading& reading) {
  jet::ColumnDef as;
  as.type = jet::ColumnType::kOle;
  const auto value = ValueOf(cell, as, reading);
  if (!value) return std::nullopt;
  const auto size = static_cast<int>(value->AsBytes().size());
  if (column.length && (size > *column.length || (column.fixed && size < *column.length))) return std::nullopt;
  return Variant(runtime::Bytes(value->AsBytes()));
}

std::optional<Variant> GuidText(const std::string& text) {
  const auto guid = jet::Guid::Parse(text);
  if (!guid) return std::nullopt;
  return Variant(base::LowerCase(guid->Text().substr(1, 36)));
}

bool AreLabels(const std::string& text, const ServerColumn& column) {
  if (!column.several) return std::find(column.labels.begin(), column.labels.end(), text) != column.labels.end();
  auto from = column.labels.begin();
  for (std::size_t at = 0; at < text.size() || (at == text.size() && text.ends_with(','));) {
    const auto end = std::min(text.find(',', at), text.size());
    from = std::find(from, column.labels.end(), text.substr(at, end - at));
    if (from++ == column.labels.end()) return false;
    at = end + 1;
  }
  return true;
}

std::optional<Variant> Other(const std::string& text, const ServerColumn& column) {
  if (!column.labels.empty() && !AreLabels(text, column)) return std::nullopt;
  if (column.numeric && ado::ExactNumber::Read(text)) {
    const auto whole = base::ReadWhole<std::int64_t>(text);
    const auto real = base::ReadReal(text);
    if (!(whole && std::to_string(*whole) == text) && !(real && base::ShortestText(*real) == text)) return std::nullopt;
  }
  return Variant(text);
}

}  // namespace

bool IsTooLong(const Cell& cell, const ServerColumn& column) {
  return cell.kind != Cell::Kind::kNull && column.takes == Takes::kText && column.length &&
         base::CountCharacters(cell.text) > static_cast<std::size_t>(*column.length);
}

std::optional<Variant> ServerValueOf(const Cell& cell, const ServerColumn& column, const Reading& reading, std::optional<Engine> engine) {
  if (cell.kind == Cell::Kind::kNull) return Variant(runtime::Null{});
  switch (column.takes) {
    case Takes::kTruth:
      return Truth(cell, column, reading);
    case Takes::kWhole:
      return Whole(cell.text, column);
    case Takes::kDecimal:
      return Exact(cell.text, column);
    case Takes::kSingle:
    case Takes::kDouble:
      return Real(cell, column, reading);
    case Takes::kMoment:
    case Takes::kDay:
      return Moment(cell, column, reading, engine);
    case Takes::kTime:
      return Time(cell.text, column);
    case Takes::kText:
      return Text(cell.text, column, engine);
    case Takes::kBytes:
      return Bytes(cell, column, reading);
    case Takes::kGuid:
      return GuidText(cell.text);
    case Takes::kOther:
      return Other(cell.text, column);
    case Takes::kNothing:
      break;
  }
  return std::nullopt;
}

}  // namespace tamlo::cli
