#include "base/MomentText.h"

#include "base/Calendar.h"

namespace base {
namespace {

void AppendTwo(std::string& out, std::int64_t value) {
  out += static_cast<char>('0' + value / 10 % 10);
  out += static_cast<char>('0' + value % 10);
}

void AppendTime(std::string& out, std::int64_t milliseconds) {
  AppendTwo(out, milliseconds / 3'600'000);
  out += ':';
  AppendTwo(out, milliseconds / 60'000 % 60);
  out += ':';
  AppendTwo(out, milliseconds / 1000 % 60);
  if (milliseconds % 1000 == 0) return;
  out += '.';
  out += static_cast<char>('0' + milliseconds % 1000 / 100);
  AppendTwo(out, milliseconds % 100);
}

}  // namespace

bool AppendMomentText(std::string& out, double serial) {
  constexpr std::int64_t kDay = kSecondsADay * 1000;
  if (!(serial > static_cast<double>(kFirstDay) - 1 && serial < static_cast<double>(kLastDay) + 1)) return false;
  const auto [day, time] = SplitSerial(serial, kDay);
  if (day < kFirstDay || day > kLastDay) return false;
  const CivilDay civil = CivilOf(day);
  AppendTwo(out, civil.year / 100);
  AppendTwo(out, civil.year % 100);
  out += '-';
  AppendTwo(out, civil.month);
  out += '-';
  AppendTwo(out, civil.day);
  out += ' ';
  AppendTime(out, time);
  return true;
}

}  // namespace base
