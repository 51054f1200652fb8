#pragma once

namespace tamlo::ado::odbc {

/// While it lives, this thread's characters are UTF-8, whatever locale the process has. unixODBC asks for the locale's character set when it
/// makes a connection's handle, and later puts the texts of wide calls into it for drivers without wide functions of their own. The driver manager
/// of Windows has no such choice: nothing happens there, and where the system has no UTF-8 locale.
class Utf8Locale {
 public:
  Utf8Locale();
  ~Utf8Locale();
  Utf8Locale(const Utf8Locale&) = delete;
  Utf8Locale& operator=(const Utf8Locale&) = delete;

 private:
  void* locale_ = nullptr;
  void* before_ = nullptr;
};

}  // namespace tamlo::ado::odbc
