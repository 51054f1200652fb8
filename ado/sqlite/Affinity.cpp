#include "ado/sqlite/Affinity.h"

#include <algorithm>
#include <initializer_list>

#include "ado/Types.h"
#include "base/Case.h"

namespace tamlo::ado::sqlite {
namespace {

bool HasOneOf(std::string_view text, std::initializer_list<std::string_view> words) {
  return std::any_of(words.begin(), words.end(), [&](std::string_view word) { return text.find(word) != std::string_view::npos; });
}

}  // namespace

Affinity AffinityOf(std::string_view declaredType) {
  const std::string type = base::UpperCase(declaredType);
  if (HasOneOf(type, {"INT"})) return Affinity::kNumeric;
  if (HasOneOf(type, {"CHAR", "CLOB", "TEXT"})) return Affinity::kText;
  if (type.empty() || HasOneOf(type, {"BLOB"})) return Affinity::kNone;
  return HasOneOf(type, {"REAL", "FLOA", "DOUB"}) ? Affinity::kReal : Affinity::kNumeric;
}

std::int16_t FieldTypeOf(std::string_view declaredType) {
  const std::string type = base::UpperCase(declaredType);
  switch (AffinityOf(type)) {
    case Affinity::kText:
      return adLongVarWChar;
    case Affinity::kReal:
      return adDouble;
    case Affinity::kNumeric:
      return HasOneOf(type, {"INT"}) ? adBigInt : adVarWChar;
    case Affinity::kNone:
      break;
  }
  return type.empty() ? adVarWChar : adLongVarBinary;
}

bool SaysNumber(std::string_view declaredType) {
  const std::string type = base::UpperCase(declaredType);
  return IsTruth(type) || HasOneOf(type, {"INT", "REAL", "FLOA", "DOUB", "DEC", "NUM", "MONEY", "CURRENCY", "BYTE", "LONG", "SHORT",
                                          "SINGLE", "DATE", "TIME", "YEAR", "COUNTER", "SERIAL"});
}

bool IsTruth(std::string_view declaredType) {
  const std::string type = base::UpperCase(declaredType);
  return type.starts_with("BOOL") || type.starts_with("BIT");
}

}  // namespace tamlo::ado::sqlite
