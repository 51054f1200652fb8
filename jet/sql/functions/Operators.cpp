// What operators become where SQLite has none like them.
#include <cmath>

#include "jet/sql/functions/LikePattern.h"
#include "jet/sql/functions/Support.h"

namespace jet::sql::functions {

namespace {

// Null when all are.
void Concat(Context* context, int count, Values v) {
  bool any = false;
  std::string text;
  for (int i = 0; i < count; ++i) {
    any = any || !IsNull(v[i]);
    const std::string_view part = TextOf(v[i]);
    if (text.size() + part.size() > kLongestText) Raise("overflow: the text becomes too long");
    text += part;
  }
  if (any) ReturnText(context, text);
}

void Add(Context* context, int, Values v) {
  const bool leftText = sqlite3_value_type(v[0]) == SQLITE_TEXT;
  const bool rightText = sqlite3_value_type(v[1]) == SQLITE_TEXT;
  if (leftText && rightText) return Concat(context, 2, v);
  sqlite3_result_double(context, NumberOf(context, v[0]) + NumberOf(context, v[1]));
}

void Divide(Context* context, int, Values v) {
  const double divisor = NumberOf(context, v[1]);
  if (divisor == 0) Raise("division by zero");
  sqlite3_result_double(context, NumberOf(context, v[0]) / divisor);
}

void IntegerDivide(Context* context, int, Values v) {
  const std::int64_t divisor = WholeOf(context, v[1]);
  if (divisor == 0) Raise("division by zero");
  const std::int64_t dividend = WholeOf(context, v[0]);
  sqlite3_result_int64(context, divisor == -1 ? -dividend : dividend / divisor);
}

void Modulo(Context* context, int, Values v) {
  const std::int64_t divisor = WholeOf(context, v[1]);
  if (divisor == 0) Raise("division by zero");
  sqlite3_result_int64(context, divisor == -1 ? 0 : WholeOf(context, v[0]) % divisor);
}

void Power(Context* context, int, Values v) {
  const double result = std::pow(NumberOf(context, v[0]), NumberOf(context, v[1]));
  if (!std::isfinite(result)) Raise("overflow or root of a negative number");
  sqlite3_result_double(context, result);
}

void AsNumber(Context* context, int, Values v) {
  if (sqlite3_value_type(v[0]) == SQLITE_INTEGER) return sqlite3_result_int64(context, sqlite3_value_int64(v[0]));
  sqlite3_result_double(context, NumberOf(context, v[0]));
}

template <bool percentForm>
void LikeFunction(Context* context, int, Values v) {
  sqlite3_result_int(context, Like(TextOf(v[0]), TextOf(v[1]), percentForm) ? 1 : 0);
}

constexpr Entry kFunctions[] = {
    {{" concat", "jet_concat", -1, -1, F, T}, Guarded<Concat>},
    {{" add", "jet_add", 2, 2, F, D}, NullIn<Add>},
    {{" div", "jet_div", 2, 2, F, D}, NullIn<Divide>},
    {{" idiv", "jet_idiv", 2, 2, F, L}, NullIn<IntegerDivide>},
    {{" mod", "jet_mod", 2, 2, F, L}, NullIn<Modulo>},
    {{" pow", "jet_pow", 2, 2, F, D}, NullIn<Power>},
    {{" number", "jet_number", 1, 1, F, D}, NullIn<AsNumber>},
    {{" like", "jet_like", 2, 2, F, L}, NullIn<LikeFunction<false>>},
    {{" alike", "jet_alike", 2, 2, F, L}, NullIn<LikeFunction<true>>},
};

}  // namespace

std::span<const Entry> OperatorFunctions() { return kFunctions; }

}  // namespace jet::sql::functions
