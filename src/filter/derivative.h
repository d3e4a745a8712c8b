// First derivatives by separable masks: a difference in one direction, smoothed in the other.
//
//   dx = sum over i, j of smooth[j] * difference[i] * p(x + i, y + j)
//   dy = sum over i, j of difference[j] * smooth[i] * p(x + i, y + j)
//
// with i and j counted from the centre. Of bytes the derivative is exact in 16 bits; the largest is 16 * 3 * 255 =
// 12240 (Sobel 5x5), and no partial sum is larger.
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <type_traits>

#include "filter/border.h"
#include "filter/separable.h"
#include "frame/checks.h"

namespace rvp::n8 {

// A kernel has weights for both derivatives: an operation may define one of them with the opposite sign.
template <class SmoothWeights, class XWeights, class YWeights>
struct DerivativeKernel {
  using Smooth = SmoothWeights;
  using X = XWeights;
  using Y = YWeights;
  static constexpr int kRadius = Smooth::kCentre;

  // What no derivative of bytes passes in magnitude.
  static constexpr int largestOfBytes() {
    int smooth = 0, rise = 0;
    for (int weight : Smooth::kAt) smooth += weight;
    for (int weight : X::kAt) rise += std::max(weight, 0);
    return 255 * smooth * rise;
  }
};

// Right minus left, and below minus above.
using Rising3 = Weights<-1, 0, 1>;
using Rising5 = Weights<-1, -2, 0, 2, 1>;
// Left minus right, and above minus below.
using Falling3 = Weights<1, 0, -1>;
using Falling5 = Weights<1, 2, 0, -2, -1>;

using SobelSmooth3 = Weights<1, 2, 1>;
using SobelSmooth5 = Weights<1, 4, 6, 4, 1>;
using ScharrSmooth = Weights<3, 10, 3>;
using NoSmooth = Weights<0, 1, 0>;

template <class Src>
using DerivativeOf = std::conditional_t<std::is_same_v<Src, std::uint8_t>, std::int16_t, float>;

// Calls store(d, x, vx, vy) with vectors of the derivatives of the columns first to last - 1 of row y, which may
// lie anywhere on the endless image. Column first + x is the first of a vector; dx or dy is zero unless asked for.
template <class Kernel, bool kX, bool kY, class Src, class Store>
void forDerivatives(const ExtendedImage<Src, 1>& image, std::ptrdiff_t y, std::ptrdiff_t first, std::ptrdiff_t last,
                    const Store& store) {
  using Dst = DerivativeOf<Src>;
  constexpr int kCount = Kernel::Smooth::kCount;
  constexpr std::ptrdiff_t kRadius = Kernel::kRadius;
  // Four elements more than a stretch needs on both sides.
  constexpr std::ptrdiff_t kBuffer = kStretch + 8;
  static_assert(kBuffer >= kStretch + 2 * kRadius);
  Src copies[kCount][kBuffer];
  Dst smooth[kBuffer];
  Dst difference[kBuffer];
  forStretches(first, last, [&](std::ptrdiff_t x0, std::ptrdiff_t n) {
    const Src* rows[kCount];
    for (int i = 0; i < kCount; ++i)
      rows[i] = image.findRow(y + i - kRadius, x0 - kRadius, x0 + n + kRadius, copies[i]);
    forVectors<Dst>(0, n + 2 * kRadius, [&](auto d, std::ptrdiff_t x) {
      const auto load = [&](int i) { return loadAs(d, rows[i] + x); };
      if constexpr (kX) hn::StoreU(weightedSum<typename Kernel::Smooth>(d, load), d, smooth + x);
      if constexpr (kY) hn::StoreU(weightedSum<typename Kernel::Y>(d, load), d, difference + x);
    });
    forVectors<Dst>(0, n, [&](auto d, std::ptrdiff_t x) {
      const auto along = [&](const Dst* line) { return [=](int i) { return hn::LoadU(d, line + x + i); }; };
      auto vx = hn::Zero(d), vy = hn::Zero(d);
      if constexpr (kX) vx = weightedSum<typename Kernel::X>(d, along(smooth));
      if constexpr (kY) vy = weightedSum<typename Kernel::Smooth>(d, along(difference));
      store(d, x0 - first + x, vx, vy);
    });
  });
}

// Both derivatives of such columns. A null destination is not computed.
template <class Kernel, class Src>
void derivativeRow(const ExtendedImage<Src, 1>& image, std::ptrdiff_t y, std::ptrdiff_t first, std::ptrdiff_t last,
                   DerivativeOf<Src>* dx, DerivativeOf<Src>* dy) {
  const auto storeX = [=](auto d, std::ptrdiff_t x, auto vx, auto) { hn::StoreU(vx, d, dx + x); };
  const auto storeY = [=](auto d, std::ptrdiff_t x, auto, auto vy) { hn::StoreU(vy, d, dy + x); };
  if (dy == nullptr) return forDerivatives<Kernel, true, false>(image, y, first, last, storeX);
  if (dx == nullptr) return forDerivatives<Kernel, false, true>(image, y, first, last, storeY);
  forDerivatives<Kernel, true, true>(image, y, first, last, [=](auto d, std::ptrdiff_t x, auto vx, auto vy) {
    storeX(d, x, vx, vy);
    storeY(d, x, vx, vy);
  });
}

// The borders of the fixed derivative filters: the edge-repeating mirror as well, and no bit above the side flags.
constexpr bool isDerivativeBorder(RvpiBorderType selector) {
  return isBorder(selector) || (selector & ~kBorderAllSides) == rvpBorderMirrorEdge;
}

// Both derivatives of an image, for the masks that the kernels name: Kernel5 is void where there is no 5x5 mask. A
// null destination is not computed, and its step not looked at; at least one must be there. Checks, in order: a
// null image, a size below 1, an odd step of a 16-bit destination, a mask that is not there (-33), a border
// selector that is none (-5).
template <class Kernel3, class Kernel5, class Src>
RvpStatus derivatives(const Src* pSrc, int srcStep, DerivativeOf<Src>* pDx, int dxStep, DerivativeOf<Src>* pDy,
                      int dyStep, RvpiSize roiSize, RvpiMaskSize mask, RvpiBorderType borderType, Src borderValue) {
  constexpr bool kHas5 = !std::is_void_v<Kernel5>;
  const bool sixteenBit = sizeof(DerivativeOf<Src>) == 2;
  const bool nothing = pDx == nullptr && pDy == nullptr;
  if (RvpStatus fault =
          firstFault(nullPointer(pSrc), faultIf(nothing, rvpStatusNullPointer), badSize(roiSize),
                     faultIf(sixteenBit && pDx != nullptr && dxStep % 2 != 0, rvpStatusStepNotMultiple),
                     faultIf(sixteenBit && pDy != nullptr && dyStep % 2 != 0, rvpStatusStepNotMultiple),
                     faultIf(mask != 33 && !(kHas5 && mask == 55), rvpStatusBadMaskSize),
                     faultIf(!isDerivativeBorder(borderType), rvpStatusBadArgument)))
    return fault;
  const ExtendedImage<Src, 1> image = {pSrc, srcStep, roiSize, borderOf(borderType), &borderValue};
  for (std::ptrdiff_t y = 0; y < roiSize.height; ++y) {
    auto* dx = pDx == nullptr ? nullptr : row(pDx, dxStep, y);
    auto* dy = pDy == nullptr ? nullptr : row(pDy, dyStep, y);
    if constexpr (kHas5) {
      if (mask == 55) {
        derivativeRow<Kernel5>(image, y, 0, roiSize.width, dx, dy);
        continue;
      }
    }
    derivativeRow<Kernel3>(image, y, 0, roiSize.width, dx, dy);
  }
  return rvpStatusOk;
}

// The operations. Vert is the derivative along x, Horiz along y. They work on the stack, from any source and
// border, and so have no scratch for a caller to provide.
constexpr int kDerivativeBufferBytes = 0;

template <class SmoothWeights, class XWeights, class YWeights>
using Kernel = DerivativeKernel<SmoothWeights, XWeights, YWeights>;
using Sobel3 = Kernel<SobelSmooth3, Rising3, Falling3>;
using Sobel5 = Kernel<SobelSmooth5, Rising5, Falling5>;
using SobelNeg3 = Kernel<SobelSmooth3, Falling3, Falling3>;
using SobelNeg5 = Kernel<SobelSmooth5, Falling5, Falling5>;
using Scharr3 = Kernel<ScharrSmooth, Rising3, Rising3>;
using CentralDifference3 = Kernel<NoSmooth, Rising3, Falling3>;

// Right minus left.
template <class Src>
RvpStatus rvpiFilterSobelVertBorder(const Src* pSrc, int srcStep, DerivativeOf<Src>* pDst, int dstStep,
                                    RvpiSize roiSize, RvpiMaskSize mask, RvpiBorderType borderType,
                                    Src borderValue) {
  return derivatives<Sobel3, Sobel5, Src>(pSrc, srcStep, pDst, dstStep, nullptr, 0, roiSize, mask, borderType,
                                          borderValue);
}

// Left minus right.
template <class Src>
RvpStatus rvpiFilterSobelNegVertBorder(const Src* pSrc, int srcStep, DerivativeOf<Src>* pDst, int dstStep,
                                       RvpiSize roiSize, RvpiMaskSize mask, RvpiBorderType borderType,
                                       Src borderValue) {
  return derivatives<SobelNeg3, SobelNeg5, Src>(pSrc, srcStep, pDst, dstStep, nullptr, 0, roiSize, mask, borderType,
                                                borderValue);
}

// Above minus below.
template <class Src>
RvpStatus rvpiFilterSobelHorizBorder(const Src* pSrc, int srcStep, DerivativeOf<Src>* pDst, int dstStep,
                                     RvpiSize roiSize, RvpiMaskSize mask, RvpiBorderType borderType,
                                     Src borderValue) {
  return derivatives<Sobel3, Sobel5, Src>(pSrc, srcStep, nullptr, 0, pDst, dstStep, roiSize, mask, borderType,
                                          borderValue);
}

// Right minus left; 3x3 alone.
template <class Src>
RvpStatus rvpiFilterScharrVertMaskBorder(const Src* pSrc, int srcStep, DerivativeOf<Src>* pDst, int dstStep,
                                         RvpiSize roiSize, RvpiMaskSize mask, RvpiBorderType borderType,
                                         Src borderValue) {
  return derivatives<Scharr3, void, Src>(pSrc, srcStep, pDst, dstStep, nullptr, 0, roiSize, mask, borderType,
                                         borderValue);
}

// Below minus above; 3x3 alone.
template <class Src>
RvpStatus rvpiFilterScharrHorizMaskBorder(const Src* pSrc, int srcStep, DerivativeOf<Src>* pDst, int dstStep,
                                          RvpiSize roiSize, RvpiMaskSize mask, RvpiBorderType borderType,
                                          Src borderValue) {
  return derivatives<Scharr3, void, Src>(pSrc, srcStep, nullptr, 0, pDst, dstStep, roiSize, mask, borderType,
                                         borderValue);
}

// Both at once.
template <class Src>
RvpStatus rvpiGradientVectorSobel(const Src* pSrc, int srcStep, DerivativeOf<Src>* pDx, int dxStep,
                                  DerivativeOf<Src>* pDy, int dyStep, RvpiSize roiSize, RvpiMaskSize mask,
                                  RvpiBorderType borderType, Src borderValue) {
  return derivatives<Sobel3, Sobel5, Src>(pSrc, srcStep, pDx, dxStep, pDy, dyStep, roiSize, mask, borderType,
                                          borderValue);
}

template <class Src>
RvpStatus rvpiGradientVectorScharr(const Src* pSrc, int srcStep, DerivativeOf<Src>* pDx, int dxStep,
                                   DerivativeOf<Src>* pDy, int dyStep, RvpiSize roiSize, RvpiMaskSize mask,
                                   RvpiBorderType borderType, Src borderValue) {
  return derivatives<Scharr3, void, Src>(pSrc, srcStep, pDx, dxStep, pDy, dyStep, roiSize, mask, borderType,
                                         borderValue);
}

}  // namespace rvp::n8
