#include "app/TableCode.h"

#include <array>
#include <cstdint>
#include <optional>
#include <string_view>

#include "runtime/Error.h"
#include "runtime/Text.h"

namespace tamlo::app {

namespace {

constexpr std::uint8_t kPremierCode = 32;
constexpr std::uint8_t kDernierCode = 125;
/// The decoder never looks beyond this entry.
constexpr std::size_t kDernierCherche = 127;
constexpr std::uint8_t kInconnu = 128;

/// The codes of the characters 32 to 125. Passwords stored by earlier versions are readable only as long as none of
/// them changes. All differ; there is no 0, no space (trailing ones are lost), no double quote (a command line cannot
/// carry it), and no character stands for itself.
constexpr std::array<std::uint8_t, 94> kCodes{
    45,  35,  50,  65, 101, 43,  114, 54,  64, 102, 37,  96,  97,  49,  115, 105, 75,  71, 107, 125, 110, 59,  76,  89,
    123, 127, 67,  94, 66,  57,  51,  109, 79, 126, 118, 44,  106, 91,  112, 48,  70,  83, 111, 85,  103, 55,  124, 41,
    78,  53,  73,  86, 74,  69,  80,  119, 33, 56,  46,  122, 52,  121, 84,  81,  82,  39, 92,  68,  72,  113, 47,  63,
    120, 95,  116, 61, 93,  117, 40,  90,  60, 104, 99,  87,  58,  62,  100, 42,  108, 88, 38,  36,  98,  77,
};

/// The ANSI code of a character. One that has none is not the question mark that takes its place elsewhere.
std::optional<std::uint8_t> CodeAnsi(char32_t caractere) {
  const std::uint8_t code = runtime::AnsiCode(caractere);
  if (code == '?' && caractere != U'?') return std::nullopt;
  return code;
}

using Table = std::array<std::int16_t, 256>;

std::optional<Table>& TableCode() noexcept {
  static std::optional<Table> table;
  return table;
}

const Table& TableCodeExigee() {
  if (!TableCode()) throw runtime::Error(runtime::kSubscriptOutOfRange);
  return *TableCode();
}

std::uint8_t Decode(const Table& table, std::uint8_t code) {
  for (std::size_t i = 0; i <= kDernierCherche; ++i) {
    if (table[i] == code) return static_cast<std::uint8_t>(i);
  }
  return kInconnu;
}

}  // namespace

void InitTableCode() {
  Table& table = TableCode().emplace();
  table.fill(0);
  for (std::size_t i = 0; i < kCodes.size(); ++i) table[kPremierCode + i] = kCodes[i];
}

void LibereTableCode() noexcept { TableCode().reset(); }

bool TableCodePresente() noexcept { return TableCode().has_value(); }

std::string CodePwd(const std::string& clair) {
  std::string code;
  for (std::string_view reste = clair; !reste.empty();) {
    const Table& table = TableCodeExigee();
    const auto ansi = CodeAnsi(runtime::NextCharacter(reste));
    runtime::AppendCharacter(code, runtime::AnsiCharacter(ansi ? static_cast<std::uint8_t>(table[*ansi]) : std::uint8_t{0}));
  }
  return code;
}

bool ToutCompte(const std::string& clair) {
  for (std::string_view reste = clair; !reste.empty();) {
    const auto ansi = CodeAnsi(runtime::NextCharacter(reste));
    if (!ansi || *ansi < kPremierCode || *ansi > kDernierCode) return false;
  }
  return true;
}

std::string DecodePwd(const std::string& code) {
  std::string clair;
  for (std::string_view reste = runtime::TrimRight(code); !reste.empty();) {
    const Table& table = TableCodeExigee();
    const auto ansi = CodeAnsi(runtime::NextCharacter(reste));
    runtime::AppendCharacter(clair, runtime::AnsiCharacter(ansi ? Decode(table, *ansi) : kInconnu));
  }
  return clair;
}

}  // namespace tamlo::app
