#include <clocale>

#include "ado/odbc/driver/Utf8Locale.h"

namespace tamlo::ado::odbc {

Utf8Locale::Utf8Locale() {
  const locale_t utf8 = newlocale(LC_CTYPE_MASK, "C.UTF-8", static_cast<locale_t>(nullptr));
  if (utf8 == nullptr) return;
  locale_ = utf8;
  before_ = uselocale(utf8);
}

Utf8Locale::~Utf8Locale() {
  if (locale_ == nullptr) return;
  uselocale(static_cast<locale_t>(before_));
  freelocale(static_cast<locale_t>(locale_));
}

}  // namespace tamlo::ado::odbc
