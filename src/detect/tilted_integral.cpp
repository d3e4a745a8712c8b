// Summed-area tables turned by 45 degrees: a cell sums up the pixels, or their squares, in the wedge that opens
// upwards from it. Rows 0 and 1 hold the start value, and row i + 2 is made from source row i and the two rows
// above:
//   T(i+2, 0)     = T(i+1, 1)
//   T(i+2, x)     = s(x-1) + s(x) + T(i+1, x-1) + T(i+1, x+1) - T(i, x)      for x from 1 to w, where s(w) is 0
//   T(i+2, w + 1) = T(i+1, w)
// No cell needs another of its row, so that the compiler makes vectors of a plain loop.
#include <algorithm>
#include <cstddef>
#include <cstdint>

#include "detect/tables.h"
#include "frame/simd.h"
#include "frame/views.h"
#include "rvpcv/detect.h"

namespace rvp::n8 {
namespace {

// A cell from the values of its two pixels and the cells to its upper left, two rows up, and to its upper right.
std::int32_t cell(int s1, int s2, std::int32_t left, std::int32_t up, std::int32_t right) {
  return wrappedSum(s1 + s2, wrappedDifference(wrappedSum(left, right), up));
}
float cell(int s1, int s2, float left, float up, float right) {
  const double cells = static_cast<double>(left) - static_cast<double>(up) + static_cast<double>(right);
  return static_cast<float>(cells + s1 + s2);
}
double cell(int s1, int s2, double left, double up, double right) { return s1 + s2 + left - up + right; }

template <class Cell>
using Tilted = Table<Cell, 2>;

constexpr auto kTiltedRow = []<class Of, class Cell>(Of, const std::uint8_t* src, const Tilted<Cell>& table,
                                                     std::ptrdiff_t width, std::ptrdiff_t y) {
  const Cell* up = table.at(y);
  const Cell* above = table.at(y + 1);
  Cell* cells = table.at(y + 2);
  cells[0] = above[1];
  // In pieces, each of which first asks for memory.
  constexpr std::ptrdiff_t kPiece = 64;
  for (std::ptrdiff_t x0 = 1; x0 < width; x0 += kPiece) {
    const std::ptrdiff_t end = std::min(width, x0 + kPiece);
    prefetchLines(cells + x0, kPiece, kAheadBytes);
#pragma omp simd
    for (std::ptrdiff_t x = x0; x < end; ++x)
      cells[x] = cell(Of::of(src[x - 1]), Of::of(src[x]), above[x - 1], up[x], above[x + 1]);
  }
  cells[width] = cell(Of::of(src[width - 1]), 0, above[width - 1], up[width], above[width + 1]);
  cells[width + 1] = above[width];
};

}  // namespace
}  // namespace rvp::n8

extern "C" {

RVP_INTEGRAL(rvpiTiltedIntegral_8u32s_C1R, Tilted, int32_t)
RVP_INTEGRAL(rvpiTiltedIntegral_8u32f_C1R, Tilted, float)
RVP_SQR_INTEGRAL(rvpiTiltedSqrIntegral_8u32s_C1R, Tilted, int32_t, int32_t)
RVP_SQR_INTEGRAL(rvpiTiltedSqrIntegral_8u32s64f_C1R, Tilted, int32_t, double)
RVP_SQR_INTEGRAL(rvpiTiltedSqrIntegral_8u32f64f_C1R, Tilted, float, double)

}  // extern "C"
