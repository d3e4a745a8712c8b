// Local extrema of a response image, in raster order.
//
// A pixel v with |v| above the threshold is a peak if it is positive and equals the maximum of its neighbourhood,
// or is not positive and equals the minimum; the neighbourhood includes the pixel. Most pixels stay below the
// threshold, so neighbourhoods are looked at only in groups of lanes where one does not.
#include <algorithm>
#include <cstdint>
#include <limits>
#include <type_traits>

#include "frame/checks.h"
#include "frame/simd.h"
#include "frame/views.h"
#include "rvpcv/features.h"

namespace rvp::n8 {
namespace {

// The peaks among a group of lanes. Where the pixel is not positive, all values change places with their opposites,
// for integers the complements, so that minima are maxima there.
template <bool kSquare, class T, class D>
hn::MFromD<D> peakMask(D d, const T* above, const T* centre, const T* below) {
  const auto pixel = hn::LoadU(d, centre);
  const auto mirror = [&] {
    if constexpr (std::is_same_v<T, float>) {
      return hn::IfThenZeroElse(hn::Gt(pixel, hn::Zero(d)), hn::SignBit(d));
    } else {
      return hn::VecFromMask(d, hn::Lt(pixel, hn::Set(d, 1)));
    }
  }();
  const auto at = [&](const T* place) { return hn::Xor(hn::LoadU(d, place), mirror); };
  const auto v = hn::Xor(pixel, mirror);
  // Max gives its second argument where one is no number, so the order matters.
  const auto line = [&](const T* middle) { return hn::Max(hn::Max(at(middle - 1), at(middle + 1)), at(middle)); };
  const auto greatest = [&] {
    if constexpr (kSquare) {
      return hn::Max(hn::Max(line(above), line(below)), line(centre));
    } else {
      return hn::Max(hn::Max(at(above), at(below)), line(centre));
    }
  }();
  if constexpr (std::is_same_v<T, float>) {
    // As good as equal: no farther apart than the smallest normal number.
    return hn::Le(hn::Abs(hn::Sub(v, greatest)), hn::Set(d, std::numeric_limits<float>::min()));
  } else {
    return hn::Eq(v, greatest);
  }
}

// The list of the caller, which may fill up.
struct PeakList {
  RvpiPoint* peaks;
  int most;
  int count;
  bool full() const { return count == most; }
};

template <class T, class D>
hn::MFromD<D> strongMask(D d, const T* centre, T threshold) {
  // Of the least integer the absolute value is that integer itself, which is above no threshold.
  return hn::Gt(hn::Abs(hn::LoadU(d, centre)), hn::Set(d, threshold));
}

// Where the next pixel with something to do lies is hard to foresee, so nothing branches on it: a stretch of the
// row is sieved into the groups of lanes where a pixel passes the threshold, these into the groups with peaks.
template <bool kSquare, class T>
void findInRow(const T* pSrc, int srcStep, std::ptrdiff_t y, std::ptrdiff_t first, std::ptrdiff_t last, T threshold,
               PeakList& list) {
  const T* above = row(pSrc, srcStep, y - 1);
  const T* centre = row(pSrc, srcStep, y);
  const T* below = row(pSrc, srcStep, y + 1);
  const auto peakBits = [&](auto d, std::ptrdiff_t x) {
    const auto peaks =
        hn::And(strongMask(d, centre + x, threshold), peakMask<kSquare>(d, above + x, centre + x, below + x));
    std::uint8_t bits[8] = {};
    hn::StoreMaskBits(d, peaks, bits);
    return bits[0];
  };
  const auto add = [&](std::ptrdiff_t x, unsigned bits) {
    for (; bits != 0 && !list.full(); bits &= bits - 1)
      list.peaks[list.count++] = {static_cast<std::int32_t>(x + __builtin_ctz(bits)), static_cast<std::int32_t>(y)};
  };
  const hn::ScalableTag<T> d;
  const auto lanes = static_cast<std::ptrdiff_t>(hn::Lanes(d));
  constexpr std::ptrdiff_t kMostGroups = 512;
  std::uint16_t groups[kMostGroups];
  std::uint8_t bits[kMostGroups];
  std::ptrdiff_t x = first;
  while (x + lanes <= last && !list.full()) {
    const std::ptrdiff_t count = std::min((last - x) / lanes, kMostGroups);
    std::ptrdiff_t strong = 0;
    for (std::ptrdiff_t i = 0; i < count; ++i) {
      groups[strong] = static_cast<std::uint16_t>(i);
      strong += hn::AllFalse(d, strongMask(d, centre + x + i * lanes, threshold)) ? 0 : 1;
    }
    std::ptrdiff_t withPeaks = 0;
    for (std::ptrdiff_t i = 0; i < strong; ++i) {
      groups[withPeaks] = groups[i];
      bits[withPeaks] = peakBits(d, x + groups[i] * lanes);
      withPeaks += bits[withPeaks] == 0 ? 0 : 1;
    }
    for (std::ptrdiff_t i = 0; i < withPeaks; ++i) add(x + groups[i] * lanes, bits[i]);
    x += count * lanes;
  }
  forVectors<T>(x, last, [&](auto dRest, std::ptrdiff_t at) { add(at, peakBits(dRest, at)); });
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
