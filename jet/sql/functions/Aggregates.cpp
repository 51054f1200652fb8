// Functions of many rows.
#include <cmath>

#include "jet/sql/functions/Support.h"

namespace jet::sql::functions {

namespace {

struct Moments {
  std::int64_t count;
  double mean;
  double squares;
};

void MomentsStep(Context* context, int, Values v) {
  auto* state = static_cast<Moments*>(sqlite3_aggregate_context(context, sizeof(Moments)));
  if (state == nullptr || IsNull(v[0])) return;
  const double value = sqlite3_value_double(v[0]);
  ++state->count;
  const double delta = value - state->mean;
  state->mean += delta / static_cast<double>(state->count);
  state->squares += delta * (value - state->mean);
}

template <bool population, bool root>
void MomentsFinal(Context* context) {
  const auto* state = static_cast<Moments*>(sqlite3_aggregate_context(context, 0));
  const std::int64_t divisor = state == nullptr ? 0 : state->count - (population ? 0 : 1);
  if (divisor <= 0) return sqlite3_result_null(context);
  const double variance = state->squares / static_cast<double>(divisor);
  sqlite3_result_double(context, root ? std::sqrt(variance) : variance);
}

struct Kept {
  sqlite3_value* value;
  bool seen;
};

template <bool last>
void KeepStep(Context* context, int, Values v) {
  auto* state = static_cast<Kept*>(sqlite3_aggregate_context(context, sizeof(Kept)));
  if (state == nullptr || (state->seen && !last)) return;
  sqlite3_value_free(state->value);
  state->value = sqlite3_value_dup(v[0]);
  state->seen = true;
}

// The value of the one row of a subquery that stands for a value.
void OnlyStep(Context* context, int, Values v) {
  auto* state = static_cast<Kept*>(sqlite3_aggregate_context(context, sizeof(Kept)));
  if (state == nullptr) return;
  if (state->seen) return sqlite3_result_error(context, "a subquery used as a value gives more than one row", -1);
  state->value = sqlite3_value_dup(v[0]);
  state->seen = true;
}

void KeepFinal(Context* context) {
  auto* state = static_cast<Kept*>(sqlite3_aggregate_context(context, 0));
  if (state == nullptr || state->value == nullptr) return sqlite3_result_null(context);
  sqlite3_result_value(context, state->value);
  sqlite3_value_free(state->value);
  state->value = nullptr;
}

}  // namespace

void RegisterAggregates(sqlite3* connection, void* data) {
  const auto aggregate = [&](const char* name, Native step, void (*final)(Context*)) {
    sqlite3_create_function_v2(connection, name, 1, SQLITE_UTF8, data, nullptr, step, final, nullptr);
  };
  aggregate("jet_stdev", MomentsStep, MomentsFinal<false, true>);
  aggregate("jet_stdevp", MomentsStep, MomentsFinal<true, true>);
  aggregate("jet_var", MomentsStep, MomentsFinal<false, false>);
  aggregate("jet_varp", MomentsStep, MomentsFinal<true, false>);
  aggregate("jet_first", KeepStep<false>, KeepFinal);
  aggregate("jet_only", OnlyStep, KeepFinal);
  aggregate("jet_last", KeepStep<true>, KeepFinal);
}

}  // namespace jet::sql::functions
