#include "base/Sentence.h"

namespace tamlo::base {

std::string Sentence(std::string_view pattern, std::span<const std::string_view> parts, Language language) {
  std::string text;
  bool isOne = false;
  for (std::size_t at = 0; at < pattern.size(); ++at) {
    const std::string_view rest = pattern.substr(at);
    const std::size_t place = rest.size() > 1 && rest[0] == '%' ? static_cast<std::size_t>(rest[1] - '1') : parts.size();
    const std::size_t bar = rest[0] == '{' ? rest.find('|') : std::string_view::npos;
    const std::size_t end = bar == std::string_view::npos ? bar : rest.find('}', bar);
    if (place < parts.size()) {
      text += parts[place];
      isOne = parts[place] == "1" || (language == Language::kFrench && parts[place] == "0");
      ++at;
    } else if (end != std::string_view::npos) {
      text += isOne ? rest.substr(1, bar - 1) : rest.substr(bar + 1, end - bar - 1);
      at += end;
    } else {
      text += rest[0];
    }
  }
  return text;
}

}  // namespace tamlo::base
