#pragma once

namespace tamlo::ui {

/// How a form meets the size of the user's texts: all its places grow by one factor, and where the screen ends first, the texts shrink.
struct Growth {
  double places = 1;  ///< factor of all places, 1 or more
  double texts = 1;   ///< factor of the text size, 1 or less
};

/// The smallest growth of the places (up to greatest) at which fits says that every text stands whole; where none is enough, the largest
/// texts that then do. At the design's text size that is no growth at all: the places are the prescribed ones. fits takes a Growth.
template <typename Fits>
[[nodiscard]] Growth FindGrowth(double greatest, Fits&& fits) {
  constexpr double kStep = 1.0 / 32;
  constexpr double kSmallestText = 0.25;
  for (double places = 1; places <= greatest; places += kStep) {
    if (fits(Growth{places, 1})) return {places, 1};
  }
  const double limit = greatest > 1 ? greatest : 1;
  for (double texts = 1; texts > kSmallestText; texts -= kStep) {
    if (fits(Growth{limit, texts})) return {limit, texts};
  }
  return {limit, kSmallestText};
}

}  // namespace tamlo::ui
