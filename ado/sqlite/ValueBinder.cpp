#include "ado/sqlite/ValueBinder.h"

#include <cmath>
#include <cstddef>
#include <optional>
#include <string_view>
#include <type_traits>

#include "ado/ExactNumber.h"
#include "base/MomentText.h"
#include "base/Numbers.h"
#include "base/Utf8.h"
#include "runtime/Error.h"

namespace tamlo::ado::sqlite {
namespace {

constexpr std::size_t kDigitsOfDouble = 15;
constexpr std::int64_t kLargestPower = 308;

[[noreturn]] void Refuse(const TargetColumn& column, const std::string& why) {
  throw runtime::Error(runtime::kProviderFailure, "La valeur du champ " + column.name + " " + why + ".", "sqlite");
}

/// The bytes stay where they are until the statement has run.
void BindHeld(sqlite3_stmt* statement, int place, std::string_view text) {
  sqlite3_bind_text64(statement, place, text.data(), text.size(), SQLITE_STATIC, SQLITE_UTF8);
}
void BindCopied(sqlite3_stmt* statement, int place, std::string_view text) {
  sqlite3_bind_text64(statement, place, text.data(), text.size(), SQLITE_TRANSIENT, SQLITE_UTF8);
}

void CheckCharacters(const TargetColumn& column, std::string_view text) {
  text.remove_prefix(base::AsciiRun(text));
  while (!text.empty())
    if (base::IsStrayByte(base::TakeCharacter(text))) Refuse(column, "contient des octets qui ne sont pas un caractère");
}

/// What SQLite would make a number of in such a column has to be that number.
void CheckDigits(const TargetColumn& column, std::string_view text) {
  if (text.empty() || column.affinity == Affinity::kText || column.affinity == Affinity::kNone) return;
  if (text.find_first_not_of("0123456789+-.eE ") != std::string_view::npos) return;
  const auto number = ExactNumber::Read(text);
  if (!number) return;
  const auto whole = base::ReadWhole<std::int64_t>(text);
  if (!column.number && (!whole || std::to_string(*whole) != text)) Refuse(column, "est un texte dont la base ferait un nombre");
  if (number->point > kLargestPower) Refuse(column, "est trop grande pour un nombre");
  if (number->digits.size() <= kDigitsOfDouble) return;
  if (column.affinity == Affinity::kNumeric && whole) return;
  Refuse(column, "a " + std::to_string(number->digits.size()) + " chiffres, et la base n'en garde que " + std::to_string(kDigitsOfDouble));
}

void BindText(sqlite3_stmt* statement, int place, const TargetColumn& column, const std::string& text) {
  CheckCharacters(column, text);
  CheckDigits(column, text);
  BindHeld(statement, place, text);
}

void BindExact(sqlite3_stmt* statement, int place, const TargetColumn& column, const Variant& value) {
  const auto number = ExactNumber::Of(value);
  if (!number) Refuse(column, "n'est pas un nombre que la base garde");
  const std::string text = number->Text();
  CheckDigits(column, text);
  BindCopied(statement, place, text);
}

void BindWhole(sqlite3_stmt* statement, int place, const TargetColumn& column, std::int64_t whole) {
  constexpr std::int64_t kEndOfExact = std::int64_t{1} << 53;
  const bool isExact = whole >= -kEndOfExact && whole <= kEndOfExact;
  if (column.affinity == Affinity::kReal && !isExact) CheckDigits(column, std::to_string(whole));
  sqlite3_bind_int64(statement, place, whole);
}

template <typename Real>
void BindReal(sqlite3_stmt* statement, int place, const TargetColumn& column, Real real) {
  if (std::isnan(real)) Refuse(column, "n'est pas un nombre, et la base n'en garde rien");
  if (column.affinity == Affinity::kText) return BindCopied(statement, place, base::ShortestText(real));
  sqlite3_bind_double(statement, place, static_cast<double>(real));
}

void BindMoment(sqlite3_stmt* statement, int place, const TargetColumn& column, const runtime::Date& date) {
  std::string text;
  if (!base::AppendMomentText(text, date.serial)) Refuse(column, "n'est pas un jour que la base garde");
  BindCopied(statement, place, text);
}

}  // namespace

void Bind(sqlite3_stmt* statement, int place, const TargetColumn& column, const Variant& value) {
  std::visit(
      [&](const auto& stored) {
        using Stored = std::remove_cvref_t<decltype(stored)>;
        if constexpr (std::is_same_v<Stored, runtime::Empty> || std::is_same_v<Stored, runtime::Null>) {
          sqlite3_bind_null(statement, place);
        } else if constexpr (std::is_same_v<Stored, bool>) {
          sqlite3_bind_int64(statement, place, !stored ? 0 : column.truth ? 1 : -1);
        } else if constexpr (std::is_integral_v<Stored>) {
          BindWhole(statement, place, column, stored);
        } else if constexpr (std::is_floating_point_v<Stored>) {
          BindReal(statement, place, column, stored);
        } else if constexpr (std::is_same_v<Stored, runtime::Date>) {
          BindMoment(statement, place, column, stored);
        } else if constexpr (std::is_same_v<Stored, std::string>) {
          BindText(statement, place, column, stored);
        } else if constexpr (std::is_same_v<Stored, runtime::Guid>) {
          BindHeld(statement, place, stored.text);
        } else if constexpr (std::is_same_v<Stored, runtime::Bytes>) {
          sqlite3_bind_blob64(statement, place, stored.empty() ? "" : static_cast<const void*>(stored.data()), stored.size(),
                              SQLITE_STATIC);
        } else {
          BindExact(statement, place, column, value);
        }
      },
      value.Stored());
}

}  // namespace tamlo::ado::sqlite
