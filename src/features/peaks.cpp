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

// Which of a group of lanes are extreme. Where the float is not positive, all values change places with their
// opposites, so that minima are maxima there.
template <bool kSquare, class D>
hn::MFromD<D> extremeMask(D d, const float* above, const float* centre, const float* below) {
  const auto pixel = hn::LoadU(d, centre);
  const auto mirror = hn::IfThenZeroElse(hn::Gt(pixel, hn::Zero(d)), hn::SignBit(d));
  const auto at = [&](const float* place) { return hn::Xor(hn::LoadU(d, place), mirror); };
  const auto v = hn::Xor(pixel, mirror);
  // Max gives its second argument where one is no number, so the order matters.
  const auto line = [&](const float* middle) {
    return hn::Max(hn::Max(at(middle - 1), at(middle + 1)), at(middle));
  };
  const auto greatest = [&] {
    if constexpr (kSquare) {
      return hn::Max(hn::Max(line(above), line(below)), line(centre));
    } else {
      return hn::Max(hn::Max(at(above), at(below)), line(centre));
    }
  }();
  // As good as equal: no farther apart than the smallest normal number.
  return hn::Ge(hn::Sub(v, greatest), hn::Set(d, -std::numeric_limits<float>::min()));
}

// The same of integers, whose maximum costs several steps in the base variant: their greater neighbours are counted
// where the pixel v is positive, and where it is not, those greater than v - 1, which must be all of them. The
// least integer, of which v - 1 wraps, is no peak by its absolute value.
template <bool kSquare, class D>
hn::MFromD<D> extremeMask(D d, const std::int32_t* above, const std::int32_t* centre, const std::int32_t* below) {
  const auto v = hn::LoadU(d, centre);
  const auto notPositive = hn::VecFromMask(d, hn::Lt(v, hn::Set(d, 1)));
  const auto limit = hn::Add(v, notPositive);
  // A mask of all bits is -1.
  const auto greater = [&](const std::int32_t* place) {
    return hn::VecFromMask(d, hn::Gt(hn::LoadU(d, place), limit));
  };
  const auto beside = [&](const std::int32_t* middle) { return hn::Add(greater(middle - 1), greater(middle + 1)); };
  auto count = hn::Add(hn::Add(greater(above), greater(below)), beside(centre));
  if constexpr (kSquare) count = hn::Add(count, hn::Add(beside(above), beside(below)));
  return hn::Eq(count, hn::And(notPositive, hn::Set(d, kSquare ? -8 : -4)));
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
// row is sieved into the groups of lanes where a pixel passes the threshold, these into the groups with peaks. The
// first sieve waits for memory, the second for the processor, so the second asks for what the first wants next:
// where a row is strong, so, as a rule, is the next but one.
template <bool kSquare, class T>
void findInRow(const T* pSrc, int srcStep, std::ptrdiff_t y, std::ptrdiff_t first, std::ptrdiff_t last, T threshold,
               PeakList& allPeaks) {
  PeakList list = allPeaks;  // A copy that nothing else can see stays in registers.
  const T* above = row(pSrc, srcStep, y - 1);
  const T* centre = row(pSrc, srcStep, y);
  const T* below = row(pSrc, srcStep, y + 1);
  const auto peakBits = [&](auto d, std::ptrdiff_t x) {
    const auto peaks =
        hn::And(strongMask(d, centre + x, threshold), extremeMask<kSquare>(d, above + x, centre + x, below + x));
    std::uint8_t bits[8] = {};
    hn::StoreMaskBits(d, peaks, bits);
    return bits[0];
  };
  const auto add = [&](std::ptrdiff_t x, unsigned bits) {
    for (; bits != 0 && !list.full(); bits &= bits - 1)
      list.peaks[list.count++] = {static_cast<std::int32_t>(x + __builtin_ctz(bits)), static_cast<std::int32_t>(y)};
  };
  const hn::ScalableTag<T> d;
  constexpr std::ptrdiff_t kLanes = hn::MaxLanes(d), kMostPixels = 4096, kLine = kLineBytes / sizeof(T);
  // Where the groups begin.
  std::uint16_t groups[kMostPixels / kLanes];
  std::uint8_t bits[kMostPixels / kLanes];
  std::ptrdiff_t x = first;
  while (x + kLanes <= last && !list.full()) {
    const std::ptrdiff_t count = std::min((last - x) / kLanes * kLanes, kMostPixels);
    std::ptrdiff_t strong = 0;
    for (std::ptrdiff_t i = 0; i < count; i += kLanes) {
      if (i % kLine == 0) prefetch(below + x + i, 0);
      groups[strong] = static_cast<std::uint16_t>(i);
      strong += hn::AllFalse(d, strongMask(d, centre + x + i, threshold)) ? 0 : 1;
    }
    std::ptrdiff_t withPeaks = 0;
    for (std::ptrdiff_t i = 0; i < strong; ++i) {
      const std::ptrdiff_t at = x + groups[i];
      prefetch(below + at, static_cast<std::uintptr_t>(srcStep));
      groups[withPeaks] = groups[i];
      bits[withPeaks] = peakBits(d, at);
      withPeaks += bits[withPeaks] == 0 ? 0 : 1;
    }
    for (std::ptrdiff_t i = 0; i < withPeaks; ++i) add(x + groups[i], bits[i]);
    x += count;
  }
  forVectors<T>(x, last, [&](auto dRest, std::ptrdiff_t at) { add(at, peakBits(dRest, at)); });
  allPeaks = list;
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
