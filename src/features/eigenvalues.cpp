// Eigenvalues and eigenvectors of the structure tensor (a b; b c) of each pixel's neighbourhood: products of
// derivatives, summed over a window of 3x3 or 5x5.
#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdint>

#include "features/structure_tensor.h"
#include "filter/lowpass.h"
#include "frame/checks.h"
#include "frame/team.h"
#include "frame/views.h"
#include "rvpcv/features.h"

namespace rvp::n8 {
namespace {

// A team's member has at least this many rows.
constexpr int kRowsOfThread = 128;

// ((a + c) - sqrt((a - c)^2 + 4 b^2)) * (scale * 0.5)
class SmallerValue {
 public:
  static constexpr int kElements = 1;
  SmallerValue(float* dst, int step, float scale, bool /*scharr*/) : dst_(dst), step_(step), half_(scale * 0.5F) {}

  template <class D, class V>
  void operator()(D d, std::ptrdiff_t y, std::ptrdiff_t x, V a, V b, V c) const {
    const V difference = hn::Sub(a, c);
    const V root = hn::Sqrt(hn::Add(hn::Mul(difference, difference), hn::Mul(hn::Set(d, 4.0F), hn::Mul(b, b))));
    hn::StoreU(hn::Mul(hn::Sub(hn::Add(a, c), root), hn::Set(d, half_)), d, row(dst_, step_, y) + x);
  }

 private:
  float* dst_;
  int step_;
  float half_;
};

// Six rows of lanes, stored pixel by pixel.
template <class D, class V>
void storeSixfold(D d, V v0, V v1, V v2, V v3, V v4, V v5, float* dst) {
  constexpr std::size_t kLanes = hn::MaxLanes(D());
  if constexpr (kLanes == 1) {
    const V all[] = {v0, v1, v2, v3, v4, v5};
    for (const V& v : all) hn::StoreU(v, d, dst++);
  } else {
    // Pairs of one pixel are one 64-bit element.
    const hn::Repartition<double, D> pairs;
    const auto lower = [&](V a, V b) { return hn::BitCast(pairs, hn::InterleaveLower(d, a, b)); };
    const auto upper = [&](V a, V b) { return hn::BitCast(pairs, hn::InterleaveUpper(d, a, b)); };
    auto* at = reinterpret_cast<double*>(dst);
    const auto l0 = lower(v0, v1), l1 = lower(v2, v3), l2 = lower(v4, v5);
    const auto u0 = upper(v0, v1), u1 = upper(v2, v3), u2 = upper(v4, v5);
    constexpr std::size_t kBlockLanes = 16 / sizeof(float);
    if constexpr (kLanes == kBlockLanes) {
      hn::StoreInterleaved3(l0, l1, l2, pairs, at);
      hn::StoreInterleaved3(u0, u1, u2, pairs, at + 3 * kLanes / 2);
    } else {
      // Interleaving stays within blocks of 16 bytes: the first half of the pixels is the lower blocks.
      hn::StoreInterleaved3(hn::ConcatLowerLower(pairs, u0, l0), hn::ConcatLowerLower(pairs, u1, l1),
                            hn::ConcatLowerLower(pairs, u2, l2), pairs, at);
      hn::StoreInterleaved3(hn::ConcatUpperUpper(pairs, u0, l0), hn::ConcatUpperUpper(pairs, u1, l1),
                            hn::ConcatUpperUpper(pairs, u2, l2), pairs, at + 3 * kLanes / 2);
    }
  }
}

// Both eigenvalues and their unit vectors. Three cases: a tensor that is nearly of rank one, or not positive, is
// given up; one that is nearly diagonal has the axes for vectors; else the vectors are (b, l - a), with the sign of
// b that the derivatives' signs call for.
class ValuesAndVectors {
 public:
  static constexpr int kElements = 6;
  ValuesAndVectors(float* dst, int step, float scale, bool scharr)
      : dst_(dst), step_(step), scale_(scale), sign_(scharr ? 1.0F : -1.0F) {}

  template <class D, class V>
  void operator()(D d, std::ptrdiff_t y, std::ptrdiff_t x, V sumA, V sumB, V sumC) const {
    const V scale = hn::Set(d, scale_), half = hn::Set(d, 0.5F), one = hn::Set(d, 1.0F);
    const V a = hn::Mul(sumA, scale), b = hn::Mul(sumB, scale), c = hn::Mul(sumC, scale);
    const V sum = hn::Add(a, c), difference = hn::Sub(a, c);
    const V root = hn::Sqrt(hn::Add(hn::Mul(hn::Mul(hn::Set(d, 4.0F), b), b), hn::Mul(difference, difference)));
    const V l1 = hn::Mul(hn::Add(sum, root), half), l2 = hn::Mul(hn::Sub(sum, root), half);

    const V threshold = hn::Mul(hn::Max(a, c), hn::Set(d, 0.01F));
    const V determinant = hn::Sub(hn::Mul(a, c), hn::Mul(b, b));
    const auto givenUp = hn::Or(hn::Gt(threshold, hn::Min(a, c)), hn::Gt(threshold, determinant));
    const auto diagonal = hn::Gt(threshold, hn::Abs(b));

    const V q = hn::Mul(hn::Set(d, sign_), b);
    const V u1 = hn::Sub(l1, a), u2 = hn::Sub(l2, a);
    const V n1 = inverseLength(d, q, u1), n2 = inverseLength(d, q, u2);
    // Where nothing is given up, ones for the axes where the tensor is diagonal, and the vectors elsewhere.
    const V axis = hn::IfThenZeroElse(givenUp, hn::IfThenElseZero(diagonal, one));
    const auto none = hn::Or(givenUp, diagonal);
    const auto general = [&](V v, V n) { return hn::IfThenZeroElse(none, hn::Mul(v, n)); };
    float* at = row(dst_, step_, y) + 6 * x;
    prefetchLines(at, kElements * static_cast<std::ptrdiff_t>(hn::MaxLanes(D())), kAheadBytes);
    storeSixfold(d, hn::IfThenZeroElse(givenUp, l1), hn::IfThenZeroElse(givenUp, l2), hn::Or(axis, general(q, n1)),
                 general(u1, n1), general(q, n2), hn::Or(axis, general(u2, n2)), at);
  }

 private:
  // How far ahead of the pixels that are written memory is asked for: without it, stores wait for memory half the
  // time.
  static constexpr std::uintptr_t kAheadBytes = 3072;
  // The floor keeps a vector of length 0 from dividing by 0.
  static constexpr float kFloor = 1.1920929e-7F;

  template <class D, class V>
  static V inverseLength(D d, V x, V y) {
    const V length = hn::Sqrt(hn::Add(hn::Mul(x, x), hn::Mul(y, y)));
    return hn::Div(hn::Set(d, 1.0F), hn::Max(hn::Set(d, kFloor), length));
  }

  float* dst_;
  int step_;
  float scale_;
  float sign_;
};

// A byte image of full contrast has derivatives up to 255 times the sum of the mask's positive weights; the scale
// brings products to the square of contrast. The smoothing weights of Scharr are larger than those of Sobel.
float scaleOf(int kernelKind, int apertureSize) {
  const float scale = 1.0F / static_cast<float>(255 << (2 * apertureSize - 2));
  return kernelKind == rvpKernelScharr ? scale * 0.6125F : scale;
}

template <class Kernel, class W, class Src, class Finish>
void measure(const ExtendedImage<Src, 1>& image, const Finish& finish) {
  const ProductRows<Kernel, Src, BeyondMemory::nearestProduct> rows(image);
  const int threads = std::clamp(image.size.height / kRowsOfThread, 1, owncvGetMaxNumThreads());
  forSlices(
      image.size.height,
      [&](Slice slice) {
        SmallWindow<W> window;
        forTensors(window, rows, image.size.width, slice, finish);
      },
      threads);
}

template <class Kernel, class Src, class Finish>
void measure(const ExtendedImage<Src, 1>& image, int avgWindow, const Finish& finish) {
  if (avgWindow == 3) {
    measure<Kernel, Weights<1, 1, 1>>(image, finish);
  } else {
    measure<Kernel, Weights<1, 1, 1, 1, 1>>(image, finish);
  }
}

RvpStatus badKernel(int kernelKind, int apertureSize) {
  if (kernelKind < rvpKernelSobel || kernelKind > rvpKernelSobelNegated) return rvpStatusBadArgument;
  const bool good = apertureSize == 3 || (apertureSize == 5 && kernelKind != rvpKernelScharr);
  return faultIf(!good, rvpStatusBadSize);
}

constexpr bool isWindow(int side) { return side == 3 || side == 5; }

RvpStatus badTensorBorder(RvpiBorderType border) {
  const int mode = border & kBorderModeBits;
  const bool known =
      mode == rvpBorderConst || mode == rvpBorderRepl || mode == rvpBorderMirror || mode == rvpBorderInMem;
  constexpr int kSelectorBits = kBorderModeBits | kBorderAllSides;
  return firstFault(faultIf(!known, rvpStatusBadBorder),
                    faultIf((border & ~kSelectorBits) != 0, rvpStatusBadArgument));
}

template <class Finish, class Src>
RvpStatus eigen(const Src* pSrc, int srcStep, float* pDst, int dstStep, RvpiSize roiSize, int kernelKind,
                int apertureSize, int avgWindow, RvpiBorderType borderType, Src borderValue,
                const std::uint8_t* pBuffer) {
  if (RvpStatus fault =
          firstFault(nullPointer(pSrc, pDst, pBuffer), badSize(roiSize), shortStep<Src>(roiSize.width, srcStep),
                     shortStep<float, Finish::kElements>(roiSize.width, dstStep), oddStep<float>(dstStep),
                     sizeof(Src) == 4 ? oddStep<float>(srcStep) : rvpStatusOk, badKernel(kernelKind, apertureSize),
                     faultIf(!isWindow(avgWindow), rvpStatusBadSize), badTensorBorder(borderType)))
    return fault;
  const ExtendedImage<Src, 1> image = {pSrc, srcStep, roiSize, borderOf(borderType), &borderValue};
  const Finish finish(pDst, dstStep, scaleOf(kernelKind, apertureSize), kernelKind == rvpKernelScharr);
  const bool negated = kernelKind == rvpKernelSobelNegated;
  if (kernelKind == rvpKernelScharr) {
    measure<Scharr3>(image, avgWindow, finish);
  } else if (apertureSize == 3) {
    negated ? measure<SobelNeg3>(image, avgWindow, finish) : measure<Sobel3>(image, avgWindow, finish);
  } else {
    negated ? measure<SobelNeg5>(image, avgWindow, finish) : measure<Sobel5>(image, avgWindow, finish);
  }
  return rvpStatusOk;
}

// The size has room for five planes, of which `bytesOfPixel` tells the sum, and for the filters' scratch; the
// product wraps at 32 bits.
RvpStatus bufferSize(RvpiSize roiSize, int apertureSize, int avgWindow, int bytesOfPixel, std::int64_t filterBytes,
                     int* pBufferSize) {
  if (RvpStatus fault = firstFault(nullPointer(pBufferSize), badSize(roiSize),
                                   faultIf(!isWindow(apertureSize) || !isWindow(avgWindow), rvpStatusBadSize)))
    return fault;
  const std::int64_t scratch = std::max(filterBytes, lowpassBufferBytes(roiSize.width, avgWindow));
  if (scratch > INT32_MAX) return rvpStatusSizeOverflow;
  const std::uint32_t width = (static_cast<std::uint32_t>(roiSize.width) + 15U) & ~15U;
  const std::uint32_t planes =
      width * static_cast<std::uint32_t>(roiSize.height) * static_cast<std::uint32_t>(bytesOfPixel);
  *pBufferSize = static_cast<int>(planes + static_cast<std::uint32_t>(scratch) + 224U);
  return rvpStatusOk;
}

// Two derivative planes of 16 bits, or of floats, and three planes of products.
constexpr int kBytePlanes = 16;
constexpr int kFloatPlanes = 20;

// The derivatives of bytes may run on a team.
std::int64_t byteDerivativeBytes() { return owncvGetMaxNumThreads() * std::int64_t{kDerivativeBufferBytes + 32}; }

}  // namespace
}  // namespace rvp::n8

#define RVP_EIGEN(NAME, TYPES, SRC, FINISH)                                                                      \
  RvpStatus NAME##_##TYPES##_C1R(const SRC* pSrc, int srcStep, float* pDst, int dstStep, RvpiSize roiSize,       \
                                 RvpiKernelKind kernelKind, int apertureSize, int avgWindow, uint8_t* pBuffer) { \
    return rvp::n8::eigen<rvp::n8::FINISH, SRC>(pSrc, srcStep, pDst, dstStep, roiSize, kernelKind, apertureSize, \
                                                avgWindow, rvpBorderRepl, 0, pBuffer);                           \
  }                                                                                                              \
  RvpStatus NAME##Border_##TYPES##_C1R(const SRC* pSrc, int srcStep, float* pDst, int dstStep, RvpiSize roiSize, \
                                       RvpiKernelKind kernelKind, int apertureSize, int avgWindow,               \
                                       RvpiBorderType borderType, SRC borderValue, uint8_t* pBuffer) {           \
    return rvp::n8::eigen<rvp::n8::FINISH, SRC>(pSrc, srcStep, pDst, dstStep, roiSize, kernelKind, apertureSize, \
                                                avgWindow, borderType, borderValue, pBuffer);                    \
  }
#define RVP_EIGEN_SIZE(NAME)                                                                                     \
  RvpStatus NAME##GetBufferSize_8u32f_C1R(RvpiSize roiSize, int apertureSize, int avgWindow, int* pBufferSize) { \
    return rvp::n8::bufferSize(roiSize, apertureSize, avgWindow, rvp::n8::kBytePlanes,                           \
                               rvp::n8::byteDerivativeBytes(), pBufferSize);                                     \
  }                                                                                                              \
  RvpStatus NAME##GetBufferSize_32f_C1R(RvpiSize roiSize, int apertureSize, int avgWindow, int* pBufferSize) {   \
    return rvp::n8::bufferSize(roiSize, apertureSize, avgWindow, rvp::n8::kFloatPlanes,                          \
                               rvp::n8::kDerivativeBufferBytes, pBufferSize);                                    \
  }

extern "C" {

RVP_EIGEN(rvpiMinEigenVal, 8u32f, uint8_t, SmallerValue)
RVP_EIGEN(rvpiMinEigenVal, 32f, float, SmallerValue)
RVP_EIGEN_SIZE(rvpiMinEigenVal)
RVP_EIGEN(rvpiEigenValsVecs, 8u32f, uint8_t, ValuesAndVectors)
RVP_EIGEN(rvpiEigenValsVecs, 32f, float, ValuesAndVectors)
RVP_EIGEN_SIZE(rvpiEigenValsVecs)

}  // extern "C"
