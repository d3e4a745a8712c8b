// The standard deviation of the pixels in a rectangle that slides over an image, from the image's summed-area
// tables. With S and S2 the sums of values and of squares in the rectangle, each made of four cells of its table,
// and n the number of pixels,
//   mean = S / n,  variance = max(S2 / n - mean * mean, 0),  deviation = sqrt(variance).
// The types of the sums and of each step differ from form to form, and with them the rounding. A float that is
// rooted in double and rounded to float has the same root in float: double has more than twice float's digits and
// two more.
#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <limits>

#include "detect/tables.h"
#include "frame/checks.h"
#include "frame/simd.h"
#include "frame/team.h"
#include "frame/views.h"
#include "rvpcv/detect.h"

namespace rvp::n8 {
namespace {

// A cell's place relative to the cell of the output pixel.
struct Place {
  std::ptrdiff_t row;
  std::ptrdiff_t column;
};

// A rectangle in a table: its sum is (a - b) + (c - d), and a table that holds it for one output pixel has `width`
// columns. The area is formed in 32 bits.
struct Upright {
  explicit Upright(RvpiRect rect)
      : width(std::int64_t{rect.x} + rect.width), area(wrappedProduct(rect.width, rect.height)) {
    const std::ptrdiff_t left = rect.x, top = rect.y, right = left + rect.width, bottom = top + rect.height;
    a = {bottom, right};
    b = {top, right};
    c = {top, left};
    d = {bottom, left};
  }
  std::int64_t width;
  int area;
  Place a, b, c, d;
};

struct Tilted {
  explicit Tilted(RvpiRect rect)
      : width(std::int64_t{rect.x} + rect.y + rect.width + rect.height - 1),
        area(wrappedProduct(wrappedProduct(2, rect.width), rect.height)) {
    const std::ptrdiff_t down = std::ptrdiff_t{rect.x} + rect.y, across = std::ptrdiff_t{rect.x} - rect.y;
    a = {down, across};
    b = {down + rect.width, across + rect.width};
    c = {down + rect.width + rect.height, across + rect.width - rect.height};
    d = {down + rect.height, across - rect.height};
  }
  std::int64_t width;
  int area;
  Place a, b, c, d;
};

// The four rows of a table that an output row is made of.
template <class T>
struct Corners {
  const T *a, *b, *c, *d;

  template <class Rect>
  Corners(const T* table, int step, const Rect& rect, std::ptrdiff_t y)
      : a(row(table, step, rect.a.row + y) + rect.a.column),
        b(row(table, step, rect.b.row + y) + rect.b.column),
        c(row(table, step, rect.c.row + y) + rect.c.column),
        d(row(table, step, rect.d.row + y) + rect.d.column) {}

  // In the lowest of the rows, the one that comes from memory: the others were the lowest not long ago.
  const T* lowest() const { return std::max(a, c); }

  // The sum in the type Sum; sums of integers wrap.
  template <class Sum>
  Sum at(std::ptrdiff_t x) const {
    if constexpr (std::is_integral_v<Sum>) {
      return wrappedSum(wrappedDifference(a[x], b[x]), wrappedDifference(c[x], d[x]));
    } else {
      return (static_cast<Sum>(a[x]) - static_cast<Sum>(b[x])) + (static_cast<Sum>(c[x]) - static_cast<Sum>(d[x]));
    }
  }
};

// Rounding below zero is undone; NaN, which only a table that holds one can give, stays.
template <class T>
T clamped(T variance) {
  return variance < 0 ? T{0} : variance;
}

// The variances: each names the type in which the squares are summed up.

struct FloatVariance {
  using SumOfSquares = float;
  explicit FloatVariance(int n) : area(static_cast<float>(n)) {}
  float area;
  float operator()(std::int32_t sum, float squares) const {
    const float mean = static_cast<float>(sum) / area;
    return clamped(squares / area - mean * mean);
  }
};

struct WrappedVariance : FloatVariance {
  using SumOfSquares = std::int32_t;
  using FloatVariance::FloatVariance;
  float operator()(std::int32_t sum, std::int32_t squares) const {
    return FloatVariance::operator()(sum, static_cast<float>(squares));
  }
};

// The mean in float, the rest in double.
struct MixedVariance {
  using SumOfSquares = double;
  explicit MixedVariance(int n) : area(n) {}
  double area;
  float operator()(std::int32_t sum, double squares) const {
    const double mean = static_cast<double>(static_cast<float>(sum) / static_cast<float>(area));
    return static_cast<float>(clamped(squares / area - mean * mean));
  }
};

struct DoubleVariance {
  using SumOfSquares = double;
  explicit DoubleVariance(int n) : area(n) {}
  double area;
  float operator()(float sum, double squares) const {
    const double mean = static_cast<double>(sum) / area;
    return static_cast<float>(clamped(squares / area - mean * mean));
  }
};

struct ReciprocalVariance {
  using SumOfSquares = double;
  explicit ReciprocalVariance(int n) : perArea(1 / static_cast<double>(n)) {}
  double perArea;
  float operator()(float sum, double squares) const {
    const double mean = static_cast<double>(sum) * perArea;
    return static_cast<float>(clamped(squares * perArea - mean * mean));
  }
};

// The deviations. An integer is rounded half up, as the root is never negative, and out of range it is the least
// integer, as the processor's conversion has it.

struct FloatRoot {
  float operator()(float variance) const { return std::sqrt(variance); }
};

std::int32_t scaled(double deviation, double scale) {
  constexpr double kLimit = 0x1p31;
  const double rounded = deviation * scale + 0.5;
  return rounded < kLimit ? static_cast<std::int32_t>(rounded) : std::numeric_limits<std::int32_t>::min();
}
struct ScaledRoot {
  double scale;
  std::int32_t operator()(float variance) const { return scaled(std::sqrt(static_cast<double>(variance)), scale); }
};
struct ScaledFloatRoot {
  double scale;
  std::int32_t operator()(float variance) const { return scaled(static_cast<double>(std::sqrt(variance)), scale); }
};

// 2^-scaleFactor, with the low five bits of the exponent's magnitude.
double scaleOf(int scaleFactor) {
  const auto bits = static_cast<std::uint32_t>(scaleFactor);
  const auto power = static_cast<double>(1U << ((scaleFactor < 0 ? 0U - bits : bits) & 31U));
  return scaleFactor < 0 ? power : 1 / power;
}

template <class Variance, class Root, class T, class Sqr, class Dst>
void deviateRow(const Variance& variance, const Root& root, Corners<T> sums, Corners<Sqr> squares, Dst* dst,
                std::ptrdiff_t width) {
  constexpr std::ptrdiff_t kStretch = 32;
  for (std::ptrdiff_t first = 0; first < width; first += kStretch) {
    prefetchLines(sums.lowest() + first, kStretch, kAheadBytes);
    prefetchLines(squares.lowest() + first, kStretch, kAheadBytes);
    prefetchLines(dst + first, kStretch, kAheadBytes);
    const std::ptrdiff_t last = std::min(first + kStretch, width);
#pragma omp simd
    for (std::ptrdiff_t x = first; x < last; ++x)
      dst[x] = root(variance(sums.template at<T>(x), squares.template at<typename Variance::SumOfSquares>(x)));
  }
}

// The team of rvpiRectStdDev_32f_C1R: a thread for each 1024 pixels, and no more than 32.
int teamFor(RvpiSize size) {
  constexpr int kMostThreads = 32;
  const int threads = owncvGetMaxNumThreads();
  return std::min({threads, wrappedProduct(size.width, size.height) >> 10, kMostThreads});
}

template <class Rect, class Variance, bool kTeam = false, class Root, class T, class Sqr, class Dst>
RvpStatus deviate(const Root& root, const T* pSrc, int srcStep, const Sqr* pSqr, int sqrStep, Dst* pDst,
                  int dstStep, RvpiSize roiSize, RvpiRect rect) {
  const Rect place(rect);
  // In 64 bits, as no table is as wide as a sum that wraps.
  const std::int64_t columns = roiSize.width + place.width;
  const auto shortTable = [&](int step, std::int64_t cellBytes) {
    return faultIf(step < cellBytes * columns, rvpStatusBadStep);
  };
  if (RvpStatus fault =
          firstFault(nullPointer(pSrc, pSqr, pDst), badSize(roiSize), shortTable(srcStep, sizeof(T)),
                     shortStep<Dst>(roiSize.width, dstStep), shortTable(sqrStep, sizeof(Sqr)), oddStep<T>(srcStep),
                     oddStep<Dst>(dstStep), oddStep<Sqr>(sqrStep),
                     faultIf(rect.x < 0 || rect.y < 0 || rect.width < 1 || rect.height < 1, rvpStatusBadSize)))
    return fault;
  const Variance variance(place.area);
  const auto deviateRows = [&](Slice slice) {
    for (std::ptrdiff_t y : slice) {
      deviateRow(variance, root, Corners<T>(pSrc, srcStep, place, y), Corners<Sqr>(pSqr, sqrStep, place, y),
                 row(pDst, dstStep, y), roiSize.width);
    }
  };
  if (const int team = kTeam ? teamFor(roiSize) : 1; team > 1) {
    forSlices(roiSize.height, deviateRows, team);
  } else {
    deviateRows({0, roiSize.height});
  }
  return rvpStatusOk;
}

}  // namespace
}  // namespace rvp::n8

// The exported names. The last argument of a macro may follow its template's first two.
#define RVP_STD_DEV(NAME, T, SQR, ...)                                                                    \
  RvpStatus NAME(const T* pSrc, int srcStep, const SQR* pSqr, int sqrStep, float* pDst, int dstStep,      \
                 RvpiSize roiSize, RvpiRect rect) {                                                       \
    using namespace rvp::n8;                                                                              \
    return deviate<__VA_ARGS__>(FloatRoot{}, pSrc, srcStep, pSqr, sqrStep, pDst, dstStep, roiSize, rect); \
  }
#define RVP_STD_DEV_SFS(NAME, RECT, ROOT)                                                                          \
  RvpStatus NAME(const int32_t* pSrc, int srcStep, const int32_t* pSqr, int sqrStep, int32_t* pDst, int dstStep,   \
                 RvpiSize roiSize, RvpiRect rect, int scaleFactor) {                                               \
    using namespace rvp::n8;                                                                                       \
    return deviate<RECT, WrappedVariance>(ROOT{scaleOf(scaleFactor)}, pSrc, srcStep, pSqr, sqrStep, pDst, dstStep, \
                                          roiSize, rect);                                                          \
  }

extern "C" {

RVP_STD_DEV_SFS(rvpiRectStdDev_32s_C1RSfs, Upright, ScaledRoot)
RVP_STD_DEV(rvpiRectStdDev_32s32f_C1R, int32_t, double, Upright, FloatVariance)
RVP_STD_DEV(rvpiRectStdDev_32f_C1R, float, double, Upright, ReciprocalVariance, true)

RVP_STD_DEV_SFS(rvpiTiltedRectStdDev_32s_C1RSfs, Tilted, ScaledFloatRoot)
RVP_STD_DEV(rvpiTiltedRectStdDev_32s32f_C1R, int32_t, double, Tilted, MixedVariance)
RVP_STD_DEV(rvpiTiltedRectStdDev_32f_C1R, float, double, Tilted, DoubleVariance)

}  // extern "C"
