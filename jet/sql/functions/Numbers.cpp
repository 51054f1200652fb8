// Numbers.
#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <random>

#include "base/Numbers.h"
#include "jet/sql/functions/Support.h"

namespace jet::sql::functions {

namespace {

void Absolute(Context* context, int, Values v) {
  if (sqlite3_value_type(v[0]) == SQLITE_INTEGER) return sqlite3_result_int64(context, std::llabs(sqlite3_value_int64(v[0])));
  sqlite3_result_double(context, std::fabs(NumberOf(context, v[0])));
}

void Sign(Context* context, int, Values v) {
  const double value = NumberOf(context, v[0]);
  sqlite3_result_int(context, value > 0 ? 1 : value < 0 ? -1 : 0);
}

template <double (*function)(double)>
void WholePart(Context* context, int, Values v) {
  if (sqlite3_value_type(v[0]) == SQLITE_INTEGER) return sqlite3_result_int64(context, sqlite3_value_int64(v[0]));
  sqlite3_result_double(context, function(NumberOf(context, v[0])));
}

template <double (*function)(double)>
void Plain(Context* context, int, Values v) {
  const double result = function(NumberOf(context, v[0]));
  if (!std::isfinite(result)) Raise("result out of range");
  sqlite3_result_double(context, result);
}

double Floor(double x) { return std::floor(x); }
double Truncate(double x) { return std::trunc(x); }
double SquareRoot(double x) { return std::sqrt(x); }
double Exponential(double x) { return std::exp(x); }
double Logarithm(double x) { return std::log(x); }
double Sine(double x) { return std::sin(x); }
double Cosine(double x) { return std::cos(x); }
double Tangent(double x) { return std::tan(x); }
double ArcTangent(double x) { return std::atan(x); }

// Halves go to the even neighbour. The product is read as the decimal number that it shows: 2.675 * 100 is 267.5.
void Round(Context* context, int count, Values v) {
  if (sqlite3_value_type(v[0]) == SQLITE_INTEGER) return sqlite3_result_int64(context, sqlite3_value_int64(v[0]));
  const std::int64_t digits = count > 1 ? WholeOf(context, v[1]) : 0;
  if (digits < 0 || digits > 22) Raise("number of digits out of range");
  const double value = NumberOf(context, v[0]);
  const double scale = std::pow(10.0, static_cast<double>(digits));
  const double product = value * scale;
  if (!std::isfinite(product) || std::fabs(product) > 1e15) return sqlite3_result_double(context, value);
  const double shown = base::ReadReal(base::SignificantText(product, 15)).value_or(product);
  sqlite3_result_double(context, std::nearbyint(shown) / scale);
}

void Random(Context* context, int, Values) {
  static thread_local std::mt19937 generator(std::random_device{}());
  sqlite3_result_double(context, static_cast<double>(generator() >> 8) / 16777216.0);
}

// "  0: 99": both ends as wide as the wider one of what lies before the first range and after the last one.
void Partition(Context* context, int, Values v) {
  const std::int64_t number = WholeOf(context, v[0]);
  const std::int64_t start = WholeOf(context, v[1]);
  const std::int64_t stop = WholeOf(context, v[2]);
  const std::int64_t interval = WholeOf(context, v[3]);
  for (const std::int64_t value : {number, start, stop, interval}) {
    if (value < INT32_MIN || value > INT32_MAX) Raise("overflow");
  }
  if (start < 0 || stop <= start || interval < 1) Raise("the bounds of Partition are out of range");
  const std::size_t width = std::max(std::to_string(start - 1).size(), std::to_string(stop + 1).size());
  const auto padded = [&](std::int64_t value) {
    const std::string text = std::to_string(value);
    return std::string(width > text.size() ? width - text.size() : 0, ' ') + text;
  };
  const std::string open(width, ' ');
  if (interval == 1) return ReturnText(context, padded(number) + ":" + padded(number));
  if (number < start) return ReturnText(context, open + ":" + padded(start - 1));
  if (number > stop) return ReturnText(context, padded(stop + 1) + ":" + open);
  const std::int64_t low = start + (number - start) / interval * interval;
  ReturnText(context, padded(low) + ":" + padded(std::min(low + interval - 1, stop)));
}

constexpr Entry kFunctions[] = {
    {{"ABS", "jet_abs", 1, 1, S, D}, NullIn<Absolute>},           {{"SGN", "jet_sgn", 1, 1, F, ColumnType::kInteger}, NullIn<Sign>},
    {{"INT", "jet_int", 1, 1, S, D}, NullIn<WholePart<Floor>>},   {{"FIX", "jet_fix", 1, 1, S, D}, NullIn<WholePart<Truncate>>},
    {{"ROUND", "jet_round", 1, 2, S, D}, NullIn<Round>},          {{"SQR", "jet_sqr", 1, 1, F, D}, NullIn<Plain<SquareRoot>>},
    {{"EXP", "jet_exp", 1, 1, F, D}, NullIn<Plain<Exponential>>}, {{"LOG", "jet_log", 1, 1, F, D}, NullIn<Plain<Logarithm>>},
    {{"SIN", "jet_sin", 1, 1, F, D}, NullIn<Plain<Sine>>},        {{"COS", "jet_cos", 1, 1, F, D}, NullIn<Plain<Cosine>>},
    {{"TAN", "jet_tan", 1, 1, F, D}, NullIn<Plain<Tangent>>},     {{"ATN", "jet_atn", 1, 1, F, D}, NullIn<Plain<ArcTangent>>},
    {{"RND", "jet_rnd", 0, 1, F, D}, Guarded<Random>, false},     {{"PARTITION", "jet_partition", 4, 4, F, T}, NullIn<Partition>},
};

}  // namespace

std::span<const Entry> NumberFunctions() { return kFunctions; }

}  // namespace jet::sql::functions
