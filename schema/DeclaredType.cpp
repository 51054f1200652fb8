#include "schema/DeclaredType.h"

#include "base/Numbers.h"

namespace tamlo::schema {
namespace {

int NumberIn(std::string_view text) {
  while (text.starts_with(' ')) text.remove_prefix(1);
  while (text.ends_with(' ')) text.remove_suffix(1);
  return base::ReadWhole<int>(text).value_or(0);
}

}  // namespace

DeclaredType::DeclaredType(std::string_view text) : full(text), name(text) {
  const auto open = text.find('(');
  const auto close = text.find(')', open == std::string_view::npos ? 0 : open);
  if (open == std::string_view::npos || close == std::string_view::npos) return;
  const std::string_view inside = text.substr(open + 1, close - open - 1);
  const auto comma = inside.find(',');
  first = NumberIn(inside.substr(0, comma));
  if (comma != std::string_view::npos) second = NumberIn(inside.substr(comma + 1));
  sized = true;
  name = std::string(text.substr(0, open)) + std::string(text.substr(close + 1));
  while (name.ends_with(' ')) name.pop_back();
}

}  // namespace tamlo::schema
