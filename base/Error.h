#pragma once

#include <stdexcept>

namespace base {

/// Root of every exception that this system raises, whichever room it comes from: whoever wants one net under all of them catches this.
/// what() is the whole text, in UTF-8. The rooms add what they know: runtime::Error a number and the driver's records, jet::Error a code.
/// What the standard library raises by itself (std::bad_alloc) is not among them.
class Error : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

}  // namespace base
