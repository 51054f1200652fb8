#include "jet/value/AceTypes.h"

#include <limits>

#include "base/Calendar.h"
#include "base/Numbers.h"

namespace jet {
namespace {

constexpr std::size_t kDigits = 19;
constexpr std::int64_t kMostDays = 3652058;  // 9999-12-31 from 0001-01-01
constexpr std::int64_t kTicksASecond = 10000000;
constexpr std::int64_t kTicksADay = base::kSecondsADay * kTicksASecond;
constexpr std::size_t kLettersOfDay = 10;      // YYYY-MM-DD
constexpr std::size_t kLettersOfSeconds = 19;  // YYYY-MM-DD HH:MM:SS
constexpr std::size_t kDecimals = 7;

/// Digits alone: no sign, no blank.
std::optional<std::int64_t> Digits(std::string_view text) {
  if (text.empty() || text.find_first_not_of("0123456789") != std::string_view::npos) return std::nullopt;
  return base::ReadWhole<std::int64_t>(text);
}

/// What "HH:MM:SS" and the digits of a fraction say in ticks.
std::optional<std::int64_t> TicksOf(std::string_view time, std::string_view fraction) {
  const auto hours = Digits(time.substr(0, 2)), minutes = Digits(time.substr(3, 2)), seconds = Digits(time.substr(6, 2));
  if (time[2] != ':' || time[5] != ':' || !hours || !minutes || !seconds || *hours > 23 || *minutes > 59 || *seconds > 59)
    return std::nullopt;
  std::string decimals(fraction);
  if (decimals.size() > kDecimals) return std::nullopt;
  decimals.resize(kDecimals, '0');
  const auto ticks = Digits(decimals);
  if (!ticks) return std::nullopt;
  return (*hours * 3600 + *minutes * 60 + *seconds) * kTicksASecond + *ticks;
}

}  // namespace

Numeric NumericOf(std::int64_t whole) {
  Numeric number;
  number.negative = whole < 0;
  number.low = whole < 0 ? 0 - static_cast<std::uint64_t>(whole) : static_cast<std::uint64_t>(whole);
  return number;
}

std::optional<std::int64_t> WholeNumber(const Numeric& number) {
  const auto whole = number.WithScale(0);
  if (!whole || whole->high != 0 || whole->WithScale(number.scale) != number) return std::nullopt;
  const std::uint64_t most = static_cast<std::uint64_t>(std::numeric_limits<std::int64_t>::max()) + (whole->negative ? 1 : 0);
  if (whole->low > most) return std::nullopt;
  return static_cast<std::int64_t>(whole->negative ? 0 - whole->low : whole->low);
}

std::optional<ExtendedDate> ExtendedDate::Parse(std::string_view text) {
  const bool timed = text.size() >= kLettersOfSeconds && text[kLettersOfDay] == ' ';
  if (text.size() != kLettersOfDay && !timed) return std::nullopt;
  const auto year = Digits(text.substr(0, 4)), month = Digits(text.substr(5, 2)), dayOfMonth = Digits(text.substr(8, 2));
  if (text[4] != '-' || text[7] != '-' || !year || !month || !dayOfMonth || *year < 1 || *month < 1 || *month > 12) return std::nullopt;
  if (*dayOfMonth < 1 || *dayOfMonth > base::DaysOfMonth(*year, static_cast<int>(*month))) return std::nullopt;
  ExtendedDate date;
  date.day = base::DayNumber(*year, static_cast<int>(*month), static_cast<int>(*dayOfMonth)) - base::DayNumber(1, 1, 1);
  if (!timed) return date;
  const std::string_view fraction = text.substr(kLettersOfSeconds);
  if (fraction == "." || (!fraction.empty() && fraction[0] != '.')) return std::nullopt;
  const auto ticks = TicksOf(text.substr(kLettersOfDay + 1, 8), fraction.empty() ? fraction : fraction.substr(1));
  if (!ticks) return std::nullopt;
  date.ticks = *ticks;
  return date;
}

std::optional<ExtendedDate> ExtendedDate::Load(std::span<const std::byte> stored) {
  if (stored.size() < 2 * kDigits + 1) return std::nullopt;
  const std::string_view letters(reinterpret_cast<const char*>(stored.data()), stored.size());
  const auto days = Digits(letters.substr(0, kDigits));
  const auto ticks = Digits(letters.substr(kDigits + 1, kDigits));
  if (!days || !ticks || *days > kMostDays || *ticks >= kTicksADay) return std::nullopt;
  return ExtendedDate{*days, *ticks};
}

std::string ExtendedDate::Text() const {
  const base::CivilDay civil = base::CivilOf(day + base::DayNumber(1, 1, 1));
  const std::int64_t seconds = ticks / kTicksASecond;
  std::string text;
  const auto part = [&](char mark, std::int64_t value, int width) {
    if (mark != 0) text += mark;
    base::AppendPadded(text, value, width);
  };
  part(0, civil.year, 4);
  part('-', civil.month, 2);
  part('-', civil.day, 2);
  part(' ', seconds / 3600, 2);
  part(':', seconds / 60 % 60, 2);
  part(':', seconds % 60, 2);
  part('.', ticks % kTicksASecond, 7);
  return text;
}

std::array<std::byte, ExtendedDate::kSize> ExtendedDate::Stored() const {
  std::string text;
  base::AppendPadded(text, day, kDigits);
  text += ':';
  base::AppendPadded(text, ticks, kDigits);
  text += ":7";
  std::array<std::byte, kSize> bytes{};
  for (std::size_t i = 0; i < text.size(); ++i) bytes[i] = static_cast<std::byte>(text[i]);
  return bytes;
}

}  // namespace jet
