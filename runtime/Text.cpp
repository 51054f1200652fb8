#include "runtime/Text.h"

namespace tamlo::runtime {

std::string_view TrimRight(std::string_view text) noexcept {
  while (!text.empty() && text.back() == ' ') text.remove_suffix(1);
  return text;
}

std::string_view Trim(std::string_view text) noexcept {
  while (!text.empty() && text.front() == ' ') text.remove_prefix(1);
  return TrimRight(text);
}

}  // namespace tamlo::runtime
