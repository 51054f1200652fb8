#include "runtime/Text.h"

#include "base/Blanks.h"

namespace tamlo::runtime {

std::string_view Trim(std::string_view text) noexcept { return base::Trim(text); }
std::string_view TrimRight(std::string_view text) noexcept { return base::TrimRight(text); }

}  // namespace tamlo::runtime
