// The column stage of a separable filter: with the rows that the caller's array of row pointers names,
//
//   dst[y][x] = sum over i of kernel[i] * rows[y + i][x]
//
// There is no border: a caller who wants one names the rows that it repeats. Channels are columns like any other.
// The sums need no scratch. Where integers are as exact as floats, they are formed in integers.
#include <algorithm>
#include <cstdint>
#include <type_traits>

#include "filter/paired_taps.h"
#include "filter/pipeline.h"
#include "filter/taps.h"
#include "frame/checks.h"
#include "frame/views.h"
#include "rvpcv/filter.h"

namespace rvp::n8 {
namespace {

// Vectors of a row that are summed together: with several rows in flight, and with one.
constexpr int kVectors = 2;
constexpr int kVectorsOfOneRow = 4;

// The lines of output row y, from its first on.
template <class Src>
auto linesFrom(const Src* const* ppSrc, std::ptrdiff_t y) {
  return [first = ppSrc + y](std::ptrdiff_t i) { return first[i]; };
}

template <class Src, class Sum, class Order>
void filterSlice(const Sum& sum, const Order& order, const Src* const* ppSrc, std::ptrdiff_t elements,
                 typename Sum::Dst* pDst, int dstStep, Slice slice) {
  constexpr int kRows = Order::kRowGroup;
  const hn::ScalableTag<typename Sum::Lane> d;
  std::ptrdiff_t y = slice.first;
  if (order.taps() >= kRows && elements >= kVectors * static_cast<std::ptrdiff_t>(hn::Lanes(d))) {
    for (; y + kRows <= slice.last; y += kRows)
      sumBlocks<kRows, kVectors>(d, sum, order, linesFrom(ppSrc, y), elements, row(pDst, dstStep, y), dstStep);
  }
  for (; y < slice.last; ++y)
    sumRow<kVectorsOfOneRow>(sum, order, linesFrom(ppSrc, y), elements, row(pDst, dstStep, y));
}

template <class Dst, int kTaps>
void filterSlice(const PairedSum<Dst>& sum, const PairedKernel<kTaps>& kernel, const std::int16_t* const* ppSrc,
                 std::ptrdiff_t elements, Dst* pDst, int dstStep, Slice slice) {
  constexpr int kRows = PairedKernel<kTaps>::kRowGroup;
  std::ptrdiff_t y = slice.first;
  for (; y + kRows <= slice.last; y += kRows)
    sumPairs<kRows>(sum, kernel, linesFrom(ppSrc, y), elements, row(pDst, dstStep, y), dstStep);
  for (; y < slice.last; ++y)
    sumPairs<1>(sum, kernel, linesFrom(ppSrc, y), elements, row(pDst, dstStep, y), dstStep);
}

struct Form32f : Form<float, float, float> {
  template <class Run>
  static void withKernel(const float* pKernel, int kernelSize, int, const Run& run) {
    const FloatSum<float> sum;
    const auto mirrored = [=](int i) { return pKernel[i] == pKernel[kernelSize - 1 - i]; };
    if (kernelSize == 3 && mirrored(0)) return run(sum, SymmetricOrder<3>{pKernel});
    if (kernelSize == 5 && mirrored(0) && mirrored(1)) return run(sum, SymmetricOrder<5>{pKernel});
    withKernelLength(pKernel, kernelSize, [&](const auto& order) { run(sum, order); });
  }
};

template <class Src, class Dst>
struct ScaledForm : Form<Src, Dst> {
  template <class Run>
  static void withKernel(const std::int16_t* pKernel, int kernelSize, int divisor, const Run& run) {
    const auto scale = static_cast<float>(1.0 / divisor);
    if constexpr (std::is_signed_v<Src>) {
      if (fitPairs(pKernel, kernelSize, divisor)) return withPairedKernel<Dst>(pKernel, kernelSize, scale, run);
    }
    withScaledKernel(pKernel, kernelSize, scale, [&](const auto& order) { run(FloatSum<Dst>{}, order); });
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
    constexpr std::int64_t kBytesOfColumn = 12;
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

// How many rows the sums need. Height and length are added in 32 bits; where that wraps, no pointer is looked at.
constexpr int neededRows(int height, int kernelSize) {
  const int sum = static_cast<int>(static_cast<unsigned>(height) + static_cast<unsigned>(kernelSize));
  return sum > 1 ? sum - 1 : 0;
}

template <class F>
RvpStatus filterColumns(int channels, bool team, const typename F::Src* const* ppSrc, typename F::Dst* pDst,
                        int dstStep, RvpiSize roiSize, const typename F::Kernel* pKernel, int kernelSize,
                        int divisor, const std::uint8_t* pBuffer) {
  using Dst = typename F::Dst;
  if (RvpStatus fault = firstFault(nullPointer(ppSrc, pDst, pKernel), badSize(roiSize))) return fault;
  if (RvpStatus fault =
          firstFault(nullRow(ppSrc, neededRows(roiSize.height, kernelSize)), badLength(kernelSize),
                     shortStep<Dst>(wrappedProduct(roiSize.width, channels), dstStep), oddStep<Dst>(dstStep),
                     nullPointer(pBuffer), faultIf(divisor == 0, rvpStatusBadArgument)))
    return fault;

  const std::ptrdiff_t elements = rowElements(roiSize.width, channels);
  F::withKernel(pKernel, kernelSize, divisor, [&](const auto& sum, const auto& order) {
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
