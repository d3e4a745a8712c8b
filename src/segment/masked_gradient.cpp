#include "segment/masked_gradient.h"

#include <cmath>
#include <cstdlib>
#include <limits>

#include "frame/vector.h"
#include "frame/views.h"

namespace rvp::n8 {
namespace {

// An image and which of its neighbours are at hand: those inside, or those that are known too.
template <int kChannels>
struct Source {
  const std::uint8_t* src;
  int step;
  RvpiSize size;
  const std::uint8_t* known;
  int knownStep;

  bool isAtHand(std::ptrdiff_t x, std::ptrdiff_t y) const {
    return x >= 0 && x < size.width && y >= 0 && y < size.height &&
           (known == nullptr || row(known, knownStep, y)[x] != 0);
  }

  // The difference along the axis with the unit vector (stepX, stepY).
  int along(std::ptrdiff_t x, std::ptrdiff_t y, int channel, std::ptrdiff_t stepX, std::ptrdiff_t stepY) const {
    const bool hasNext = isAtHand(x + stepX, y + stepY);
    const bool hasPrevious = isAtHand(x - stepX, y - stepY);
    const auto at = [&](std::ptrdiff_t atX, std::ptrdiff_t atY) -> int {
      return row(src, step, atY)[atX * kChannels + channel];
    };
    const int next = hasNext ? at(x + stepX, y + stepY) : at(x, y);
    const int previous = hasPrevious ? at(x - stepX, y - stepY) : at(x, y);
    return (next - previous) * (hasNext && hasPrevious ? 2 : 1);
  }

  template <bool kAbsolute>
  void write(std::ptrdiff_t x, std::ptrdiff_t y, std::int16_t* pairs) const {
    for (int channel = 0; channel < kChannels; ++channel) {
      const int dx = along(x, y, channel, 1, 0);
      const int dy = along(x, y, channel, 0, 1);
      // Differences are at most 510.
      pairs[2 * channel] = static_cast<std::int16_t>(kAbsolute ? std::abs(dx) : dx);
      pairs[2 * channel + 1] = static_cast<std::int16_t>(kAbsolute ? std::abs(dy) : dy);
    }
  }
};

template <class Body>
void forSelected(const std::uint8_t* mask, int maskStep, RvpiSize size, const Body& body) {
  for (std::ptrdiff_t y = 0; y < size.height; ++y) {
    for (std::ptrdiff_t x = 0; x < size.width; ++x) {
      if (row(mask, maskStep, y)[x] != 0) body(x, y);
    }
  }
}

template <bool kAbsolute, int kChannels>
void gradient(const Source<kChannels>& source, std::int16_t* pDst, int dstStep, const std::uint8_t* pMask,
              int maskStep) {
  forSelected(pMask, maskStep, source.size, [&](std::ptrdiff_t x, std::ptrdiff_t y) {
    source.template write<kAbsolute>(x, y, row(pDst, dstStep, y) + x * 2 * kChannels);
  });
}

std::int16_t rounded(double value) {
  using Limits = std::numeric_limits<std::int16_t>;
  if (value >= Limits::max()) return Limits::max();
  return value > Limits::min() ? static_cast<std::int16_t>(std::nearbyint(value)) : Limits::min();
}

}  // namespace

template <int kChannels>
void owncvGradient_8u16s_MR(const std::uint8_t* pSrc, int srcStep, std::int16_t* pDst, int dstStep,
                            const std::uint8_t* pMask, int maskStep, RvpiSize roiSize) {
  gradient<false>(Source<kChannels>{pSrc, srcStep, roiSize, nullptr, 0}, pDst, dstStep, pMask, maskStep);
}

template <int kChannels>
void owncvAbsGradient_8u16s_MR(const std::uint8_t* pSrc, int srcStep, std::int16_t* pDst, int dstStep,
                               const std::uint8_t* pMask, int maskStep, RvpiSize roiSize) {
  gradient<true>(Source<kChannels>{pSrc, srcStep, roiSize, nullptr, 0}, pDst, dstStep, pMask, maskStep);
}

template <int kChannels>
void owncvModGradient_8u16s_MR(const std::uint8_t* pSrc, int srcStep, std::int16_t* pDst, int dstStep,
                               const std::uint8_t* pMask, int maskStep, const std::uint8_t* pKnown, int knownStep,
                               RvpiSize roiSize) {
  gradient<false>(Source<kChannels>{pSrc, srcStep, roiSize, pKnown, knownStep}, pDst, dstStep, pMask, maskStep);
}

template <int kChannels>
void owncvModAbsGradient_8u16s_MR(const std::uint8_t* pSrc, int srcStep, std::int16_t* pDst, int dstStep,
                                  const std::uint8_t* pMask, int maskStep, const std::uint8_t* pKnown,
                                  int knownStep, RvpiSize roiSize) {
  gradient<true>(Source<kChannels>{pSrc, srcStep, roiSize, pKnown, knownStep}, pDst, dstStep, pMask, maskStep);
}

template <int kChannels>
void owncvModGradientPoint_8u16s_MR(const std::uint8_t* pSrc, int srcStep, std::int16_t* pDst,
                                    const std::uint8_t* pKnown, int knownStep, RvpiSize roiSize, RvpiPoint point) {
  Source<kChannels>{pSrc, srcStep, roiSize, pKnown, knownStep}.template write<false>(point.x, point.y, pDst);
}

template <int kChannels>
void owncvModAbsGradientPoint_8u16s_MR(const std::uint8_t* pSrc, int srcStep, std::int16_t* pDst,
                                       const std::uint8_t* pKnown, int knownStep, RvpiSize roiSize,
                                       RvpiPoint point) {
  Source<kChannels>{pSrc, srcStep, roiSize, pKnown, knownStep}.template write<true>(point.x, point.y, pDst);
}

#define RVP_MASKED_GRADIENT(CHANNELS)                                                                              \
  template void owncvGradient_8u16s_MR<CHANNELS>(const std::uint8_t*, int, std::int16_t*, int,                     \
                                                 const std::uint8_t*, int, RvpiSize);                              \
  template void owncvAbsGradient_8u16s_MR<CHANNELS>(const std::uint8_t*, int, std::int16_t*, int,                  \
                                                    const std::uint8_t*, int, RvpiSize);                           \
  template void owncvModGradient_8u16s_MR<CHANNELS>(const std::uint8_t*, int, std::int16_t*, int,                  \
                                                    const std::uint8_t*, int, const std::uint8_t*, int, RvpiSize); \
  template void owncvModAbsGradient_8u16s_MR<CHANNELS>(                                                            \
      const std::uint8_t*, int, std::int16_t*, int, const std::uint8_t*, int, const std::uint8_t*, int, RvpiSize); \
  template void owncvModGradientPoint_8u16s_MR<CHANNELS>(const std::uint8_t*, int, std::int16_t*,                  \
                                                         const std::uint8_t*, int, RvpiSize, RvpiPoint);           \
  template void owncvModAbsGradientPoint_8u16s_MR<CHANNELS>(const std::uint8_t*, int, std::int16_t*,               \
                                                            const std::uint8_t*, int, RvpiSize, RvpiPoint);
RVP_MASKED_GRADIENT(1)
RVP_MASKED_GRADIENT(3)

void owncvGradient_32f16s_C1MR_Sfs(const float* pSrc, int srcStep, std::int16_t* pDst, int dstStep,
                                   const std::uint8_t* pMask, int maskStep, RvpiSize roiSize, int scaleFactor) {
  const float scale = owncvGetScale_32s32f(scaleFactor);
  const double halfScale = static_cast<double>(scale) * 0.5;
  // The next pixel and the one before, along an axis on which `isInner` tells whether both exist.
  const auto difference = [&](float next, float previous, bool isInner) {
    return isInner ? rounded(static_cast<double>(next - previous) * halfScale)
                   : rounded(static_cast<double>((next - previous) * scale));
  };
  forSelected(pMask, maskStep, roiSize, [&](std::ptrdiff_t x, std::ptrdiff_t y) {
    const std::ptrdiff_t left = x > 0 ? x - 1 : x;
    const std::ptrdiff_t right = x + 1 < roiSize.width ? x + 1 : x;
    const std::ptrdiff_t top = y > 0 ? y - 1 : y;
    const std::ptrdiff_t bottom = y + 1 < roiSize.height ? y + 1 : y;
    const float* here = row(pSrc, srcStep, y);
    std::int16_t* pair = row(pDst, dstStep, y) + 2 * x;
    pair[0] = difference(here[right], here[left], right - left == 2);
    pair[1] = difference(row(pSrc, srcStep, bottom)[x], row(pSrc, srcStep, top)[x], bottom - top == 2);
  });
}

std::ptrdiff_t owncvFillNoZero_32f(const float* pSrc, int srcStep, RvpiSize roiSize, double* pDst,
                                   std::ptrdiff_t length) {
  std::ptrdiff_t count = 0;
  for (std::ptrdiff_t y = 0; y < roiSize.height; ++y) {
    const float* src = row(pSrc, srcStep, y);
    for (std::ptrdiff_t x = 0; x < roiSize.width && count < length; ++x) {
      if (src[x] > 0) pDst[count++] = static_cast<double>(src[x]);
    }
  }
  return count;
}

void owncvNoZero_8u(const std::uint8_t* pSrc, int srcStep, RvpiSize roiSize, std::int64_t* pCount) {
  *pCount = 0;
  forSelected(pSrc, srcStep, roiSize, [=](std::ptrdiff_t, std::ptrdiff_t) { ++*pCount; });
}

}  // namespace rvp::n8
