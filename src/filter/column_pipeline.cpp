// The column stage of a separable filter: with the rows that the caller's array of row pointers names,
//
//   dst[y][x] = sum over i of kernel[i] * rows[y + i][x]
//
// There is no border: a caller who wants one names the rows that it repeats. Channels are columns like any other.
// The sums need no scratch.
#include <algorithm>
#include <cstdint>
#include <type_traits>

#include "filter/pipeline.h"
#include "filter/taps.h"
#include "frame/checks.h"
#include "frame/views.h"
#include "rvpcv/filter.h"

namespace rvp::n8 {
namespace {

template <class Src, class Sum, class Order>
void filterSlice(const Sum& sum, const Order& order, const Src* const* ppSrc, std::ptrdiff_t elements,
                 typename Sum::Dst* pDst, int dstStep, Slice slice) {
  constexpr int kRows = Order::kRowGroup;
  const auto linesFrom = [ppSrc](std::ptrdiff_t y) {
    return [first = ppSrc + y](std::ptrdiff_t i) { return first[i]; };
  };
  std::ptrdiff_t y = slice.first;
  if (order.taps() >= kRows) {
    for (; y + kRows <= slice.last; y += kRows)
      sumLines<kRows, 2>(sum, order, linesFrom(y), elements, row(pDst, dstStep, y), dstStep);
  }
  for (; y < slice.last; ++y) sumLines<1, 4>(sum, order, linesFrom(y), elements, row(pDst, dstStep, y), dstStep);
}

// The forms: element types, and run(sum, order) for a kernel.

struct Form32f {
  using Src = float;
  using Dst = float;
  using Kernel = float;

  template <class Run>
  static void withKernel(const float* pKernel, int kernelSize, int, const Run& run) {
    const FloatSum<float> sum;
    const auto mirrored = [=](int i) { return pKernel[i] == pKernel[kernelSize - 1 - i]; };
    if (kernelSize == 3 && mirrored(0)) return run(sum, SymmetricOrder<3>{pKernel});
    if (kernelSize == 5 && mirrored(0) && mirrored(1)) return run(sum, SymmetricOrder<5>{pKernel});
    withKernelLength(pKernel, kernelSize, [&](const auto& order) { run(sum, order); });
  }
};

template <class SrcElement, class DstElement>
struct ScaledForm {
  using Src = SrcElement;
  using Dst = DstElement;
  using Kernel = std::int16_t;

  template <class Run>
  static void withKernel(const std::int16_t* pKernel, int kernelSize, int divisor, const Run& run) {
    withScaledKernel(pKernel, kernelSize, static_cast<float>(1.0 / divisor),
                     [&](const auto& order) { run(FloatSum<Dst>{}, order); });
  }
};
using Form16s = ScaledForm<std::int16_t, std::int16_t>;
using Form16u = ScaledForm<std::uint16_t, std::uint16_t>;
using Form16s8u = ScaledForm<std::int16_t, std::uint8_t>;
using Form16s8s = ScaledForm<std::int16_t, std::int8_t>;

// How the reported scratch follows from the width: 0 for none but a fixed block, and no team.
struct Share {
  int roundTo;  // The width is rounded up to a multiple of this, a power of two.

  bool hasTeam() const { return roundTo != 0; }
  std::int64_t bytes(int width, int channels) const {
    constexpr int kFixed = 32;
    constexpr int kBytesOfColumn = 12;
    if (!hasTeam()) return kFixed;
    const std::int64_t rounded = (std::int64_t{width} + roundTo - 1) & -std::int64_t{roundTo};
    return kBytesOfColumn * channels * rounded + kFixed;
  }
};

constexpr Share kShare_32f = {0};
constexpr Share kShare_16u = {0};
constexpr Share kShare_16s = {4};
constexpr Share kShare_16s8u = {4};
constexpr Share kShare_16s8s = {4};
constexpr Share kShare_Low_16s = {8};

// The pointers to the rows that the sums need. Their number wraps at 32 bits, as the test on it does.
template <class T>
RvpStatus nullRow(const T* const* ppSrc, int height, int kernelSize) {
  const int rows = static_cast<int>(static_cast<unsigned>(height) + static_cast<unsigned>(kernelSize));
  return faultIf(rows > 1 && std::any_of(ppSrc, ppSrc + (rows - 1), [](const T* src) { return src == nullptr; }),
                 rvpStatusNullPointer);
}

template <class Form>
RvpStatus filterColumns(int channels, bool team, const typename Form::Src* const* ppSrc, typename Form::Dst* pDst,
                        int dstStep, RvpiSize roiSize, const typename Form::Kernel* pKernel, int kernelSize,
                        int divisor, const std::uint8_t* pBuffer) {
  using Dst = typename Form::Dst;
  if (RvpStatus fault = firstFault(nullPointer(ppSrc, pDst, pKernel), badSize(roiSize))) return fault;
  if (RvpStatus fault =
          firstFault(nullRow(ppSrc, roiSize.height, kernelSize), badLength(kernelSize),
                     shortStep<Dst>(wrappedProduct(roiSize.width, channels), dstStep), oddStep<Dst>(dstStep),
                     nullPointer(pBuffer), faultIf(divisor == 0, rvpStatusBadArgument)))
    return fault;

  const std::ptrdiff_t elements = rowElements(roiSize.width, channels);
  Form::withKernel(pKernel, kernelSize, divisor, [&](const auto& sum, const auto& order) {
    forPipelineSlices(roiSize, team,
                      [&](Slice slice) { filterSlice(sum, order, ppSrc, elements, pDst, dstStep, slice); });
  });
  return rvpStatusOk;
}

}  // namespace
}  // namespace rvp::n8

// The exported names.
#define RVP_COLUMN_SIZE(TYPES, CHANNELS)                                                                     \
  RvpStatus rvpiFilterColumnPipelineGetBufferSize_##TYPES##_C##CHANNELS##R(RvpiSize roiSize, int kernelSize, \
                                                                           int* pBufferSize) {               \
    using rvp::n8::kShare_##TYPES;                                                                           \
    return rvp::n8::pipelineBufferSize(roiSize, kernelSize, pBufferSize, kShare_##TYPES.hasTeam(),           \
                                       [=] { return kShare_##TYPES.bytes(roiSize.width, CHANNELS); });       \
  }
#define RVP_COLUMN(TYPES, CHANNELS)                                                                               \
  RVP_COLUMN_SIZE(TYPES, CHANNELS)                                                                                \
  RvpStatus rvpiFilterColumnPipeline_##TYPES##_C##CHANNELS##R(                                                    \
      const rvp::n8::Form##TYPES::Src* const* ppSrc, rvp::n8::Form##TYPES::Dst* pDst, int dstStep,                \
      RvpiSize roiSize, const int16_t* pKernel, int kernelSize, int divisor, uint8_t* pBuffer) {                  \
    return rvp::n8::filterColumns<rvp::n8::Form##TYPES>(CHANNELS, rvp::n8::kShare_##TYPES.hasTeam(), ppSrc, pDst, \
                                                        dstStep, roiSize, pKernel, kernelSize, divisor, pBuffer); \
  }
#define RVP_COLUMN_32F(CHANNELS)                                                                                   \
  RVP_COLUMN_SIZE(32f, CHANNELS)                                                                                   \
  RvpStatus rvpiFilterColumnPipeline_32f_C##CHANNELS##R(const float* const* ppSrc, float* pDst, int dstStep,       \
                                                        RvpiSize roiSize, const float* pKernel, int kernelSize,    \
                                                        uint8_t* pBuffer) {                                        \
    return rvp::n8::filterColumns<rvp::n8::Form32f>(CHANNELS, rvp::n8::kShare_32f.hasTeam(), ppSrc, pDst, dstStep, \
                                                    roiSize, pKernel, kernelSize, rvp::n8::kNoDivisor, pBuffer);   \
  }

extern "C" {

RVP_COLUMN(16s, 1)
RVP_COLUMN(16s, 3)
RVP_COLUMN(16u, 1)
RVP_COLUMN(16u, 3)
RVP_COLUMN(16s8u, 1)
RVP_COLUMN(16s8u, 3)
RVP_COLUMN(16s8s, 1)
RVP_COLUMN(16s8s, 3)
RVP_COLUMN(Low_16s, 1)
RVP_COLUMN(Low_16s, 3)
RVP_COLUMN_32F(1)
RVP_COLUMN_32F(3)

}  // extern "C"
