#include "ado/Secrets.h"

#include <algorithm>

#include "runtime/Text.h"

namespace tamlo::ado {

namespace {

bool IsBlank(char c) noexcept { return c == ' ' || (c >= '\t' && c <= '\r'); }
bool IsOfAKey(char c) noexcept { return (c >= '0' && c <= '9') || (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z') || c == '_'; }

/// The last word of the key in front of an "=": the others ("Jet OLEDB:Database") do not matter.
std::string_view KeyBefore(std::string_view text, std::size_t equals) {
  std::size_t end = equals;
  while (end > 0 && IsBlank(text[end - 1])) --end;
  std::size_t start = end;
  while (start > 0 && IsOfAKey(text[start - 1])) --start;
  return text.substr(start, end - start);
}

bool NamesASecret(std::string_view key) {
  const std::string upper = runtime::UpperCase(key);
  const auto holds = [&](const char* word) { return upper.find(word) != std::string::npos; };
  return holds("PWD") || holds("PASSWORD") || holds("PASSPHRASE") || upper == "PASS";
}

/// The end of the value that begins there: behind its closing mark, doubled ones left aside, then at the next ";".
std::size_t EndOfValue(std::string_view text, std::size_t start) {
  const char open = start < text.size() ? text[start] : '\0';
  const char close = open == '{' ? '}' : open == '"' || open == '\'' ? open : '\0';
  std::size_t i = start;
  if (close != '\0') {
    for (++i; i < text.size(); ++i) {
      if (text[i] != close) continue;
      if (i + 1 == text.size() || text[i + 1] != close) break;
      ++i;
    }
  }
  return std::min(text.find(';', i), text.size());
}

}  // namespace

std::vector<TextRange> SecretRanges(std::string_view text) {
  std::vector<TextRange> ranges;
  for (std::size_t equals = text.find('='); equals != std::string_view::npos; equals = text.find('=', equals + 1)) {
    if (!NamesASecret(KeyBefore(text, equals))) continue;
    std::size_t start = equals + 1;
    while (start < text.size() && IsBlank(text[start])) ++start;
    const std::size_t end = EndOfValue(text, start);
    if (end > start) ranges.push_back({start, end - start});
    if (end == text.size()) break;
    equals = end;
  }
  return ranges;
}

std::string WithoutSecrets(std::string_view text) {
  std::string shown;
  std::size_t done = 0;
  for (const TextRange& range : SecretRanges(text)) {
    shown.append(text.substr(done, range.start - done)).append("***");
    done = range.start + range.length;
  }
  return shown.append(text.substr(done));
}

}  // namespace tamlo::ado
