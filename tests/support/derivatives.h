// Derivatives and sums over a square of pixels, from the formulas.
#pragma once

#include <array>
#include <cstddef>
#include <cstdlib>

#include "support/bordered.h"

namespace test {

// Weights by the distance from the middle. Those of the difference are negative before it.
struct DerivativeMask {
  int reach;
  std::array<int, 3> smooth, difference;

  int smoothAt(int i) const { return smooth[static_cast<std::size_t>(std::abs(i))]; }
  int differenceAt(int i) const { return (i < 0 ? -1 : 1) * difference[static_cast<std::size_t>(std::abs(i))]; }
};
inline constexpr DerivativeMask kSobel3 = {1, {2, 1}, {0, 1}};
inline constexpr DerivativeMask kSobel5 = {2, {6, 4, 1}, {0, 2, 1}};
inline constexpr DerivativeMask kScharr = {1, {10, 3}, {0, 1}};
inline constexpr DerivativeMask kCentral = {1, {1, 0}, {0, 1}};

// Along x and along y, in double, where they are exact for pixels that are whole numbers.
template <class T>
std::array<double, 2> derivativesAt(const Bordered<T>& image, const DerivativeMask& mask, int x, int y) {
  double dx = 0, dy = 0;
  for (int j = -mask.reach; j <= mask.reach; ++j) {
    for (int i = -mask.reach; i <= mask.reach; ++i) {
      const auto pixel = static_cast<double>(image.at(x + i, y + j));
      dx += mask.differenceAt(i) * mask.smoothAt(j) * pixel;
      dy += mask.differenceAt(j) * mask.smoothAt(i) * pixel;
    }
  }
  return {dx, dy};
}

// The sum of at(i, j) over 3 x 3 or 5 x 5 places around 0: each row from left to right, then the rows in pairs.
template <class At>
float squareSum(int reach, const At& at) {
  const auto row = [&](int j) {
    float sum = at(-reach, j);
    for (int i = 1 - reach; i <= reach; ++i) sum += at(i, j);
    return sum;
  };
  const float inner = row(0) + (row(-1) + row(1));
  return reach == 2 ? inner + (row(-2) + row(2)) : inner;
}

}  // namespace test
