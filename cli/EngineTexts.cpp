#include "cli/EngineTexts.h"

#include "base/Case.h"
#include "base/Utf8.h"
#include "jet/value/TextOrder.h"

namespace tamlo::cli {
namespace {

/// The digits or the letter of ASCII that a character is another form of; the character itself for all others.
std::string PlainForm(char32_t c) {
  if (c >= 0x2460 && c <= 0x2473) return std::to_string(c - 0x2460 + 1);  // 1 to 20 in circles
  if (c == 0x24EA || c == 0x2070) return "0";
  if (c >= 0x2074 && c <= 0x2079) return std::to_string(c - 0x2070);
  if (c >= 0x2080 && c <= 0x2089) return std::to_string(c - 0x2080);
  if (c == 0xB9) return "1";
  if (c == 0xB2 || c == 0xB3) return std::to_string(c - 0xB0);
  if (c >= 0xFF01 && c <= 0xFF5E) return {base::AsciiLower(static_cast<char>(c - 0xFF01 + 0x21))};
  std::string text;
  base::AppendCharacter(text, base::LowerOf(c));
  return text;
}

}  // namespace

bool EqualsMore(schema::Engine engine) noexcept {
  return engine == schema::Engine::kMariaDb || engine == schema::Engine::kSqlServer || engine == schema::Engine::kAccess;
}

std::string EqualForm(schema::Engine engine, std::string_view text) {
  if (!EqualsMore(engine)) return std::string(text);
  if (engine == schema::Engine::kAccess) {
    jet::Bytes key;
    jet::AppendTextKey(text, false, key);
    return {reinterpret_cast<const char*>(key.data()), key.size()};
  }
  std::string form;
  while (!text.empty()) form += PlainForm(base::TakeCharacter(text, base::Halves::kKept));
  form.erase(form.find_last_not_of(' ') + 1);
  return form;
}

}  // namespace tamlo::cli
