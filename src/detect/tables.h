// What the makers of summed-area tables share: their elements and their checks.
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>

#include "frame/checks.h"
#include "frame/views.h"
#include "rvpcv/types.h"

namespace rvp::n8 {

// How far ahead of the cells that are written memory is asked for. A table is larger than its source by far, and
// stores would wait for memory.
inline constexpr std::uintptr_t kAheadBytes = 2048;

// What a table sums up of each pixel.
struct Value {
  static constexpr int of(std::uint8_t pixel) { return pixel; }
};
struct Square {
  static constexpr int of(std::uint8_t pixel) { return pixel * pixel; }
};

// Sums of integers wrap at 32 bits.
constexpr std::int32_t wrappedSum(std::int32_t a, std::int32_t b) {
  return static_cast<std::int32_t>(static_cast<std::uint32_t>(a) + static_cast<std::uint32_t>(b));
}
constexpr std::int32_t wrappedDifference(std::int32_t a, std::int32_t b) {
  return static_cast<std::int32_t>(static_cast<std::uint32_t>(a) - static_cast<std::uint32_t>(b));
}

// A table that is being written. It has kExtra rows and columns more than the source, 1 if upright and 2 if tilted,
// and as many rows at its top hold the start value.
template <class T, int kExtra>
struct Table {
  T* first;
  int step;
  T start;

  T* at(std::ptrdiff_t y) const { return row(first, step, y); }
  RvpStatus shortRow(int width) const {
    constexpr int kSize = sizeof(T);
    // Formed in 32 bits.
    const auto rowBytes = static_cast<std::uint32_t>(wrappedProduct(width, kSize)) + std::uint32_t{kSize * kExtra};
    return faultIf(step < static_cast<int>(rowBytes), rvpStatusBadStep);
  }
  void fillStart(int width) const {
    for (std::ptrdiff_t y = 0; y < kExtra; ++y) std::fill_n(at(y), std::ptrdiff_t{width} + kExtra, start);
  }
};

// One or two tables of one source: all lengths are tested before all multiples.
template <class S, class... T, int kExtra>
RvpStatus tableFault(const S* pSrc, int srcStep, RvpiSize size, const Table<T, kExtra>&... tables) {
  return firstFault(nullPointer(pSrc, tables.first...), badSize(size), shortStep<S>(size.width, srcStep),
                    tables.shortRow(size.width)..., oddStep<S>(srcStep), oddStep<T>(tables.step)...);
}

// Fills a table of values, and one of squares if there is one. addRow(of, src, table, width, y) makes of source row
// y the row of the table that stands kExtra rows below.
template <class AddRow, class Sums, class... Squares>
RvpStatus integrate(const AddRow& addRow, const std::uint8_t* pSrc, int srcStep, RvpiSize roiSize, const Sums& sums,
                    const Squares&... squares) {
  if (RvpStatus fault = tableFault(pSrc, srcStep, roiSize, sums, squares...)) return fault;
  sums.fillStart(roiSize.width);
  (squares.fillStart(roiSize.width), ...);
  for (std::ptrdiff_t y = 0; y < roiSize.height; ++y) {
    const std::uint8_t* src = row(pSrc, srcStep, y);
    addRow(Value(), src, sums, roiSize.width, y);
    (addRow(Square(), src, squares, roiSize.width, y), ...);
  }
  return rvpStatusOk;
}

}  // namespace rvp::n8

// Definitions of the exported names: a table of values, and one with a table of squares.
#define RVP_INTEGRAL(NAME, GRID, CELL)                                                                    \
  RvpStatus NAME(const uint8_t* pSrc, int srcStep, CELL* pDst, int dstStep, RvpiSize roiSize, CELL val) { \
    using namespace rvp::n8;                                                                              \
    return integrate(k##GRID##Row, pSrc, srcStep, roiSize, GRID<CELL>{pDst, dstStep, val});               \
  }
#define RVP_SQR_INTEGRAL(NAME, GRID, CELL, SQR)                                                     \
  RvpStatus NAME(const uint8_t* pSrc, int srcStep, CELL* pDst, int dstStep, SQR* pSqr, int sqrStep, \
                 RvpiSize roiSize, CELL val, SQR sqrVal) {                                          \
    using namespace rvp::n8;                                                                        \
    return integrate(k##GRID##Row, pSrc, srcStep, roiSize, GRID<CELL>{pDst, dstStep, val},          \
                     GRID<SQR>{pSqr, sqrStep, sqrVal});                                             \
  }
