// Accumulators: acc += s, acc += s * s, acc += s1 * s2 and acc += (s - acc) * alpha over a float image, with or
// without a mask; and the blend (s1 - s2) * alpha + s2 of two images.
//
// Unusual is how a mask works. Within a group of four pixels an unselected one is written back after something was
// added to it: +0.0, or +0.0 times the second factor of a product. So -0.0 may become +0.0, and an infinite second
// factor gives NaN. Pixels outside the groups are left alone. A caller can see which pixels are in groups, so their
// places are fixed here, and are no matter of the width of a vector.
#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <type_traits>

#include "frame/checks.h"
#include "frame/team.h"
#include "frame/views.h"
#include "rvpcv/stats.h"

namespace rvp::n8 {
namespace {

// From this many pixels on the rows are worth a team.
constexpr int kTeamPixels = 1 << 18;
// Bytes of a group of four floats, to which some kernels align their groups.
constexpr std::uintptr_t kGroupBytes = 16;

// A source or a mask: where it is, and one row of it.
template <class T>
struct Image {
  const T* first;
  int step;
  const T* at(std::ptrdiff_t y) const { return row(first, step, y); }
};

// What is added to a pixel. `keep` passes a value through, or replaces it by +0.0 where the mask leaves the pixel
// out; each sum applies it at the place that the contract names. Both factors of a product of bytes are exact in
// float, and so is the product.
template <class T>
struct Sum {
  Image<T> src;
  struct Row {
    const T* s;
    template <class Keep>
    float addend(std::ptrdiff_t x, float, Keep keep) const {
      return keep(static_cast<float>(s[x]));
    }
  };
  Row at(std::ptrdiff_t y) const { return {src.at(y)}; }
};

template <class T>
struct SumOfSquares {
  Image<T> src;
  struct Row {
    const T* s;
    template <class Keep>
    float addend(std::ptrdiff_t x, float, Keep keep) const {
      const float factor = keep(static_cast<float>(s[x]));
      return factor * factor;
    }
  };
  Row at(std::ptrdiff_t y) const { return {src.at(y)}; }
};

template <class T>
struct SumOfProducts {
  Image<T> src1;
  Image<T> src2;
  struct Row {
    const T* s1;
    const T* s2;
    template <class Keep>
    float addend(std::ptrdiff_t x, float, Keep keep) const {
      return keep(static_cast<float>(s1[x])) * static_cast<float>(s2[x]);
    }
  };
  Row at(std::ptrdiff_t y) const { return {src1.at(y), src2.at(y)}; }
};

template <class T>
struct RunningAverage {
  Image<T> src;
  float alpha;
  struct Row {
    const T* s;
    float alpha;
    template <class Keep>
    float addend(std::ptrdiff_t x, float acc, Keep keep) const {
      return keep((static_cast<float>(s[x]) - acc) * alpha);
    }
  };
  Row at(std::ptrdiff_t y) const { return {src.at(y), alpha}; }
};

constexpr auto kKeepAll = [](float value) { return value; };

template <class Row>
void accumulateRow(const Row& src, float* acc, std::ptrdiff_t width) {
  for (std::ptrdiff_t x = 0; x < width; ++x) acc[x] += src.addend(x, acc[x], kKeepAll);
}

// Pixels outside a group: the mask decides whether anything happens.
template <class Row>
void accumulateSelected(const Row& src, const std::uint8_t* mask, float* acc, std::ptrdiff_t first,
                        std::ptrdiff_t last) {
  for (std::ptrdiff_t x = first; x < last; ++x) {
    if (mask[x] != 0) acc[x] += src.addend(x, acc[x], kKeepAll);
  }
}

// Groups of four: the mask decides what is added.
template <class Row>
void accumulateGroups(const Row& src, const std::uint8_t* mask, float* acc, std::ptrdiff_t first,
                      std::ptrdiff_t last) {
  for (std::ptrdiff_t x = first; x < last; ++x) {
    acc[x] += src.addend(x, acc[x], [selected = mask[x] != 0](float value) { return selected ? value : 0.0f; });
  }
}

// Single pixels before the groups: none, or as many as bring the accumulator to a multiple of 16 bytes.
std::ptrdiff_t headPixels(const float* acc, std::ptrdiff_t width) {
  const std::uintptr_t missing = (kGroupBytes - reinterpret_cast<std::uintptr_t>(acc) % kGroupBytes) % kGroupBytes;
  return std::min(static_cast<std::ptrdiff_t>(missing / sizeof(float)), width);
}

template <bool kAligned, class Row>
void accumulateMaskedRow(const Row& src, const std::uint8_t* mask, float* acc, std::ptrdiff_t width) {
  const std::ptrdiff_t head = kAligned ? headPixels(acc, width) : 0;
  const std::ptrdiff_t tail = head + (width - head) / 4 * 4;
  accumulateSelected(src, mask, acc, 0, head);
  accumulateGroups(src, mask, acc, head, tail);
  accumulateSelected(src, mask, acc, tail, width);
}

template <class Addend>
RvpStatus accumulate(const Addend& src, float* acc, int accStep, RvpiSize roiSize) {
  forRowSlices(roiSize, kTeamPixels, [&](Slice slice) {
    for (std::ptrdiff_t y : slice) accumulateRow(src.at(y), row(acc, accStep, y), roiSize.width);
  });
  return rvpStatusOk;
}

template <bool kAligned, class Addend>
RvpStatus accumulateMasked(const Addend& src, Image<std::uint8_t> mask, float* acc, int accStep, RvpiSize roiSize) {
  forRowSlices(roiSize, kTeamPixels, [&](Slice slice) {
    for (std::ptrdiff_t y : slice)
      accumulateMaskedRow<kAligned>(src.at(y), mask.at(y), row(acc, accStep, y), roiSize.width);
  });
  return rvpStatusOk;
}

// The steps of the sources, then those of mask and accumulator. Where all images are float, lengths come before
// multiples. An operation without a mask gives the width as its step, which passes.
template <class T, class... SourceStep>
RvpStatus badSteps(int width, int maskStep, int accStep, SourceStep... srcSteps) {
  const RvpStatus shortMask = shortStep<std::uint8_t>(width, maskStep);
  if constexpr (std::is_same_v<T, float>) {
    return firstFault(shortStep<float>(width, srcSteps..., accStep), shortMask,
                      oddStep<float>(srcSteps..., accStep));
  } else {
    return firstFault(shortStep<T>(width, srcSteps...), oddStep<T>(srcSteps...), shortMask,
                      shortStep<float>(width, accStep), oddStep<float>(accStep));
  }
}

template <template <class> class Addend, class T, class... Alpha>
RvpStatus addOne(const T* pSrc, int srcStep, float* pSrcDst, int srcDstStep, RvpiSize roiSize, Alpha... alpha) {
  if (RvpStatus fault = firstFault(nullPointer(pSrc, pSrcDst), badSize(roiSize),
                                   badSteps<T>(roiSize.width, roiSize.width, srcDstStep, srcStep)))
    return fault;
  return accumulate(Addend<T>{{pSrc, srcStep}, alpha...}, pSrcDst, srcDstStep, roiSize);
}

template <template <class> class Addend, bool kAligned, class T, class... Alpha>
RvpStatus addOneMasked(const T* pSrc, int srcStep, const std::uint8_t* pMask, int maskStep, float* pSrcDst,
                       int srcDstStep, RvpiSize roiSize, Alpha... alpha) {
  if (RvpStatus fault = firstFault(nullPointer(pSrc, pMask, pSrcDst), badSize(roiSize),
                                   badSteps<T>(roiSize.width, maskStep, srcDstStep, srcStep)))
    return fault;
  return accumulateMasked<kAligned>(Addend<T>{{pSrc, srcStep}, alpha...}, {pMask, maskStep}, pSrcDst, srcDstStep,
                                    roiSize);
}

template <class T>
RvpStatus addProduct(const T* pSrc1, int src1Step, const T* pSrc2, int src2Step, float* pSrcDst, int srcDstStep,
                     RvpiSize roiSize) {
  if (RvpStatus fault = firstFault(nullPointer(pSrc1, pSrc2, pSrcDst), badSize(roiSize),
                                   badSteps<T>(roiSize.width, roiSize.width, srcDstStep, src1Step, src2Step)))
    return fault;
  return accumulate(SumOfProducts<T>{{pSrc1, src1Step}, {pSrc2, src2Step}}, pSrcDst, srcDstStep, roiSize);
}

template <class T>
RvpStatus addProductMasked(const T* pSrc1, int src1Step, const T* pSrc2, int src2Step, const std::uint8_t* pMask,
                           int maskStep, float* pSrcDst, int srcDstStep, RvpiSize roiSize) {
  if (RvpStatus fault = firstFault(nullPointer(pSrc1, pSrc2, pMask, pSrcDst), badSize(roiSize),
                                   badSteps<T>(roiSize.width, maskStep, srcDstStep, src1Step, src2Step)))
    return fault;
  return accumulateMasked<false>(SumOfProducts<T>{{pSrc1, src1Step}, {pSrc2, src2Step}}, {pMask, maskStep}, pSrcDst,
                                 srcDstStep, roiSize);
}

}  // namespace
}  // namespace rvp::n8

// The exported names. ALIGNED tells whether groups of four begin where the accumulator is a multiple of 16 bytes.
#define RVP_ADD(NAME, ADDEND, T)                                                                 \
  RvpStatus NAME(const T* pSrc, int srcStep, float* pSrcDst, int srcDstStep, RvpiSize roiSize) { \
    return rvp::n8::addOne<rvp::n8::ADDEND>(pSrc, srcStep, pSrcDst, srcDstStep, roiSize);        \
  }
#define RVP_ADD_MASKED(NAME, ADDEND, T, ALIGNED)                                                                 \
  RvpStatus NAME(const T* pSrc, int srcStep, const uint8_t* pMask, int maskStep, float* pSrcDst, int srcDstStep, \
                 RvpiSize roiSize) {                                                                             \
    return rvp::n8::addOneMasked<rvp::n8::ADDEND, ALIGNED>(pSrc, srcStep, pMask, maskStep, pSrcDst, srcDstStep,  \
                                                           roiSize);                                             \
  }
#define RVP_ADD_PRODUCT(TYPES, T)                                                                              \
  RvpStatus rvpiAddProduct_##TYPES##_C1IR(const T* pSrc1, int src1Step, const T* pSrc2, int src2Step,          \
                                          float* pSrcDst, int srcDstStep, RvpiSize roiSize) {                  \
    return rvp::n8::addProduct(pSrc1, src1Step, pSrc2, src2Step, pSrcDst, srcDstStep, roiSize);                \
  }                                                                                                            \
  RvpStatus rvpiAddProduct_##TYPES##_C1IMR(const T* pSrc1, int src1Step, const T* pSrc2, int src2Step,         \
                                           const uint8_t* pMask, int maskStep, float* pSrcDst, int srcDstStep, \
                                           RvpiSize roiSize) {                                                 \
    return rvp::n8::addProductMasked(pSrc1, src1Step, pSrc2, src2Step, pMask, maskStep, pSrcDst, srcDstStep,   \
                                     roiSize);                                                                 \
  }
#define RVP_ADD_WEIGHTED(TYPES, T)                                                                           \
  RvpStatus rvpiAddWeighted_##TYPES##_C1IR(const T* pSrc, int srcStep, float* pSrcDst, int srcDstStep,       \
                                           RvpiSize roiSize, float alpha) {                                  \
    return rvp::n8::addOne<rvp::n8::RunningAverage>(pSrc, srcStep, pSrcDst, srcDstStep, roiSize, alpha);     \
  }                                                                                                          \
  RvpStatus rvpiAddWeighted_##TYPES##_C1IMR(const T* pSrc, int srcStep, const uint8_t* pMask, int maskStep,  \
                                            float* pSrcDst, int srcDstStep, RvpiSize roiSize, float alpha) { \
    return rvp::n8::addOneMasked<rvp::n8::RunningAverage, false>(pSrc, srcStep, pMask, maskStep, pSrcDst,    \
                                                                 srcDstStep, roiSize, alpha);                \
  }

extern "C" {

RVP_ADD(rvpiAdd_8u32f_C1IR, Sum, uint8_t)
RVP_ADD(rvpiAdd_16u32f_C1IR, Sum, uint16_t)
RVP_ADD_MASKED(rvpiAdd_8u32f_C1IMR, Sum, uint8_t, true)
RVP_ADD_MASKED(rvpiAdd_16u32f_C1IMR, Sum, uint16_t, true)
RVP_ADD_MASKED(rvpiAdd_32f_C1IMR, Sum, float, false)

RVP_ADD(rvpiAddSquare_8u32f_C1IR, SumOfSquares, uint8_t)
RVP_ADD(rvpiAddSquare_16u32f_C1IR, SumOfSquares, uint16_t)
RVP_ADD(rvpiAddSquare_32f_C1IR, SumOfSquares, float)
RVP_ADD_MASKED(rvpiAddSquare_8u32f_C1IMR, SumOfSquares, uint8_t, true)
RVP_ADD_MASKED(rvpiAddSquare_16u32f_C1IMR, SumOfSquares, uint16_t, true)
RVP_ADD_MASKED(rvpiAddSquare_32f_C1IMR, SumOfSquares, float, false)

RVP_ADD_PRODUCT(8u32f, uint8_t)
RVP_ADD_PRODUCT(16u32f, uint16_t)
RVP_ADD_PRODUCT(32f, float)

RVP_ADD_WEIGHTED(8u32f, uint8_t)
RVP_ADD_WEIGHTED(16u32f, uint16_t)
RVP_ADD_WEIGHTED(32f, float)

RvpStatus rvpiAddWeighted_32f_C1R(const float* pSrc1, int src1Step, const float* pSrc2, int src2Step, float* pDst,
                                  int dstStep, RvpiSize roiSize, float alpha) {
  using namespace rvp::n8;
  if (RvpStatus fault = firstFault(nullPointer(pSrc1, pSrc2, pDst), badSize(roiSize),
                                   badSteps<float>(roiSize.width, roiSize.width, dstStep, src1Step, src2Step)))
    return fault;
  for (std::ptrdiff_t y = 0; y < roiSize.height; ++y) {
    const float* src1 = row(pSrc1, src1Step, y);
    const float* src2 = row(pSrc2, src2Step, y);
    float* dst = row(pDst, dstStep, y);
    for (std::ptrdiff_t x = 0; x < roiSize.width; ++x) dst[x] = (src1[x] - src2[x]) * alpha + src2[x];
  }
  return rvpStatusOk;
}

}  // extern "C"
