#include <windows.h>

#include <gtest/gtest.h>

#include <optional>
#include <string>

#include "runtime/RegionalSettings.h"

namespace tamlo::runtime {
namespace {

constexpr const wchar_t* kInternational = L"Control Panel\\International";

/// A value of the user's regional settings, put back at the end.
class SettingScope {
 public:
  SettingScope(const wchar_t* name, const wchar_t* value) : name_(name) {
    wchar_t before[80] = {};
    DWORD size = sizeof before;
    if (RegGetValueW(HKEY_CURRENT_USER, kInternational, name, RRF_RT_REG_SZ, nullptr, before, &size) == ERROR_SUCCESS) before_ = before;
    Put(value);
  }
  ~SettingScope() {
    if (before_) {
      Put(before_->c_str());
    } else {
      RegDeleteKeyValueW(HKEY_CURRENT_USER, kInternational, name_);
    }
  }
  SettingScope(const SettingScope&) = delete;
  SettingScope& operator=(const SettingScope&) = delete;

 private:
  void Put(const wchar_t* value) const {
    const auto bytes = static_cast<DWORD>((lstrlenW(value) + 1) * static_cast<int>(sizeof(wchar_t)));
    RegSetKeyValueW(HKEY_CURRENT_USER, kInternational, name_, REG_SZ, value, bytes);
  }

  const wchar_t* name_;
  std::optional<std::wstring> before_;
};

TEST(UserSettings, TheShortDateOfTheRegistryIsRead) {
  const SettingScope scope(L"sShortDate", L"yyyy.MM.dd");
  EXPECT_EQ(ReadUserSettings().shortDate, "yyyy.MM.dd");
}

TEST(UserSettings, TheDecimalSeparatorOfTheRegistryIsRead) {
  const SettingScope scope(L"sDecimal", L",");
  EXPECT_EQ(ReadUserSettings().decimalPoint, ',');
  const SettingScope other(L"sDecimal", L";");
  EXPECT_EQ(ReadUserSettings().decimalPoint, ';');
}

TEST(UserSettings, AnEmptyShortDateIsNoSetting) {
  const SettingScope scope(L"sShortDate", L"");
  EXPECT_EQ(ReadUserSettings().shortDate, "");
}

TEST(UserSettings, ALongShortDateIsCutToTheBuffer) {
  const SettingScope scope(L"sShortDate", L"dddd d' de 'MMMM' de 'yyyy");
  EXPECT_EQ(ReadUserSettings().shortDate, "dddd d' de 'MMMM' d");
}

}  // namespace
}  // namespace tamlo::runtime
