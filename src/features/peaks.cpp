// Local extrema of a response image, in raster order.
//
// A pixel v with |v| above the threshold is a peak if it is positive and equals the maximum of its neighbourhood,
// or is not positive and equals the minimum; the neighbourhood includes the pixel. Most pixels stay below the
// threshold, so neighbourhoods are looked at only in groups of lanes where one does not.
#include <cstdint>
#include <cstring>
#include <limits>
#include <type_traits>

#include "frame/checks.h"
#include "frame/simd.h"
#include "frame/views.h"
#include "rvpcv/features.h"

namespace rvp::n8 {
namespace {

// The peaks among a group of lanes.
template <bool kSquare, class T, class D>
auto peakMask(D d, const T* above, const T* centre, const T* below) {
  const auto v = hn::LoadU(d, centre);
  const auto extremes = [&](auto choose) {
    const auto line = [&](const T* at) {
      return choose(choose(hn::LoadU(d, at - 1), hn::LoadU(d, at + 1)), hn::LoadU(d, at));
    };
    if constexpr (kSquare) {
      return choose(choose(line(above), line(below)), line(centre));
    } else {
      return choose(choose(hn::LoadU(d, above), hn::LoadU(d, below)), line(centre));
    }
  };
  const auto greatest = extremes([](auto a, auto b) { return hn::Max(a, b); });
  const auto least = extremes([](auto a, auto b) { return hn::Min(a, b); });
  const auto equal = [&](auto extreme) {
    if constexpr (std::is_same_v<T, float>) {
      // As good as equal: no farther apart than the smallest normal number.
      return hn::Le(hn::Abs(hn::Sub(v, extreme)), hn::Set(d, std::numeric_limits<float>::min()));
    } else {
      return hn::Eq(v, extreme);
    }
  };
  const auto positive = hn::Gt(v, hn::Zero(d));
  return hn::Or(hn::And(positive, equal(greatest)), hn::AndNot(positive, equal(least)));
}

// The list of the caller, which may fill up.
struct PeakList {
  RvpiPoint* peaks;
  int most;
  int count;
  bool full() const { return count == most; }
};

template <bool kSquare, class T>
void findInRow(const T* pSrc, int srcStep, std::ptrdiff_t y, std::ptrdiff_t first, std::ptrdiff_t last, T threshold,
               PeakList& list) {
  const T* above = row(pSrc, srcStep, y - 1);
  const T* centre = row(pSrc, srcStep, y);
  const T* below = row(pSrc, srcStep, y + 1);
  forVectors<T>(first, last, [&](auto d, std::ptrdiff_t x) {
    // Of the least integer the absolute value is that integer itself, which is above no threshold.
    const auto strong = hn::Gt(hn::Abs(hn::LoadU(d, centre + x)), hn::Set(d, threshold));
    if (hn::AllFalse(d, strong)) return;
    const auto peaks = hn::And(strong, peakMask<kSquare>(d, above + x, centre + x, below + x));
    std::uint8_t bits[8] = {};
    hn::StoreMaskBits(d, peaks, bits);
    for (unsigned left = bits[0]; left != 0 && !list.full(); left &= left - 1)
      list.peaks[list.count++] = {static_cast<std::int32_t>(x + __builtin_ctz(left)), static_cast<std::int32_t>(y)};
  });
}

template <class T>
RvpStatus findPeaks(const T* pSrc, int srcStep, RvpiSize roiSize, RvpiPoint* pPeak, int maxPeakCount,
                    int* pPeakCount, int norm, int border, const std::uint8_t* pBuffer, T threshold) {
  static_assert(sizeof(T) == 4);
  const auto half = [](int side) { return static_cast<float>(side) / 2.0F; };
  const bool small = roiSize.height < 1 || roiSize.width < 1 || maxPeakCount < 1 || border < 1;
  const bool wide =
      static_cast<float>(border) > half(roiSize.width) || static_cast<float>(border) > half(roiSize.height);
  if (RvpStatus fault =
          firstFault(nullPointer(pSrc, pPeak, pPeakCount, pBuffer), faultIf(small || wide, rvpStatusBadSize),
                     faultIf(srcStep / 4 < roiSize.width, rvpStatusBadStep), oddStep<T>(srcStep),
                     faultIf(norm != rvpPeakSquare && norm != rvpPeakCross, rvpStatusBadArgument)))
    return fault;
  PeakList list = {pPeak, maxPeakCount, 0};
  const std::ptrdiff_t last = std::ptrdiff_t{roiSize.width} - border;
  for (std::ptrdiff_t y = border; y < std::ptrdiff_t{roiSize.height} - border && !list.full(); ++y) {
    if (norm == rvpPeakSquare) {
      findInRow<true>(pSrc, srcStep, y, border, last, threshold, list);
    } else {
      findInRow<false>(pSrc, srcStep, y, border, last, threshold, list);
    }
  }
  *pPeakCount = list.count;
  return rvpStatusOk;
}

RvpStatus peakBufferSize(int width, int* pBufferSize) {
  if (RvpStatus fault = firstFault(nullPointer(pBufferSize), badLength(width))) return fault;
  // A width near 2^31 wraps.
  const auto groups = static_cast<std::int32_t>(static_cast<std::uint32_t>(width) + 5U) >> 2;
  *pBufferSize = static_cast<int>(static_cast<std::uint32_t>(groups) << 7U | 32U);
  return rvpStatusOk;
}

}  // namespace
}  // namespace rvp::n8

#define RVP_PEAKS(TYPE, T)                                                                                    \
  RvpStatus rvpiFindPeaks3x3GetBufferSize_##TYPE##_C1R(int width, int* pBufferSize) {                         \
    return rvp::n8::peakBufferSize(width, pBufferSize);                                                       \
  }                                                                                                           \
  RvpStatus rvpiFindPeaks3x3_##TYPE##_C1R(const T* pSrc, int srcStep, RvpiSize roiSize, RvpiPoint* pPeak,     \
                                          int maxPeakCount, int* pPeakCount, RvpiPeakNorm norm, int border,   \
                                          uint8_t* pBuffer, T threshold) {                                    \
    return rvp::n8::findPeaks(pSrc, srcStep, roiSize, pPeak, maxPeakCount, pPeakCount, norm, border, pBuffer, \
                              threshold);                                                                     \
  }

extern "C" {

RVP_PEAKS(32f, float)
RVP_PEAKS(32s, int32_t)

}  // extern "C"
