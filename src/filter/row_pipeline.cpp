// The row stage of a separable filter: for each row, into whatever place the caller's array of row pointers names,
//
//   dst[x] = sum over i of kernel[i] * ext[x + i - xAnchor]
//
// where ext is the row extended by its border. A row is filtered in three parts. In the middle all taps meet the
// image itself. At the two ends a few pixels are extended in the caller's scratch and filtered from there.
#include <algorithm>
#include <cstdint>
#include <type_traits>

#include "filter/border.h"
#include "filter/pipeline.h"
#include "filter/taps.h"
#include "frame/checks.h"
#include "rvpcv/filter.h"

namespace rvp::n8 {
namespace {

// Accumulators in flight for each thread of execution of the processor: enough to hide the latency of an addition.
constexpr int kVectors = 4;

// `count` sums of a row whose windows begin at `window` and after; the taps of a sum are `channels` elements apart.
template <class Sum, class Order, class Src>
void sumSpan(const Sum& sum, const Order& order, const Src* window, std::ptrdiff_t channels, std::ptrdiff_t count,
             typename Sum::Dst* dst) {
  const auto sumFrom = [&](const auto* first, std::ptrdiff_t part, typename Sum::Dst* to) {
    sumLines<1, kVectors>(
        sum, order, [=](std::ptrdiff_t i) { return first + i * channels; }, part, to, 0);
  };
  // Every element meets all taps: it is converted once, a chunk of the row at a time, unless the kernel is longer
  // than half the chunk.
  constexpr std::ptrdiff_t kChunk = 2048;
  const std::ptrdiff_t reach = (order.taps() - 1) * channels;
  using Lane = typename Sum::Lane;
  if (std::is_same_v<Src, Lane> || reach > kChunk / 2) return sumFrom(window, count, dst);
  alignas(64) Lane chunk[kChunk];
  const std::ptrdiff_t most = kChunk - reach;
  for (std::ptrdiff_t x = 0; x < count; x += most) {
    const std::ptrdiff_t part = std::min(most, count - x);
    for (std::ptrdiff_t i = 0; i < part + reach; ++i) chunk[i] = static_cast<Lane>(window[x + i]);
    sumFrom(chunk, part, dst + x);
  }
}

template <class Src, int kChannels>
class RowFilter {
 public:
  RowFilter(const Src* src, int step, RvpiSize size, int kernelSize, int xAnchor, RvpiBorderType border,
            const Src* value)
      : image_{src, step, size, borderOf(border), value},
        before_(xAnchor),
        behind_(std::ptrdiff_t{kernelSize} - 1 - xAnchor) {}

  // One row of sums. `scratch` holds the pixels of an end and of its window.
  template <class Sum, class Order>
  void filter(const Sum& sum, const Order& order, std::ptrdiff_t y, typename Sum::Dst* dst, Src* scratch) const {
    // An end of at least a vector's length is done in vectors, and the pixels that it takes from the middle are no
    // loss. Ends that are in memory belong to the middle.
    const auto widened = [](std::ptrdiff_t pixels) { return pixels == 0 ? 0 : std::max(pixels, kShortestEnd); };
    const std::ptrdiff_t width = image_.size.width;
    const std::ptrdiff_t left = image_.border.left ? 0 : std::min(widened(before_), width);
    const std::ptrdiff_t right = image_.border.right ? 0 : std::min(widened(behind_), width - left);
    filterEnd(sum, order, y, 0, left, dst, scratch);
    const Src* window = row(image_.src, image_.step, y) + (left - before_) * kChannels;
    if (left + right < width)
      sumSpan(sum, order, window, kChannels, (width - left - right) * kChannels, dst + left * kChannels);
    filterEnd(sum, order, y, width - right, width, dst, scratch);
  }

 private:
  // Pixels of a vector of float or 16-bit lanes, or more.
  static constexpr std::ptrdiff_t kShortestEnd = 16;

  // Columns `first` to `last` - 1 by way of the scratch, which takes kernelSize - 1 pixels more than these.
  template <class Sum, class Order>
  void filterEnd(const Sum& sum, const Order& order, std::ptrdiff_t y, std::ptrdiff_t first, std::ptrdiff_t last,
                 typename Sum::Dst* dst, Src* scratch) const {
    if (first == last) return;
    image_.readRow(y, first - before_, last + behind_, scratch);
    sumSpan<Sum, Order, Src>(sum, order, scratch, kChannels, (last - first) * kChannels, dst + first * kChannels);
  }

  ExtendedImage<Src, kChannels> image_;
  std::ptrdiff_t before_;  // Pixels of the window before and behind the output's column.
  std::ptrdiff_t behind_;
};

// The forms: element types, and run(sum, order) for a kernel.

struct Form32f {
  using Src = float;
  using Dst = float;
  using Kernel = float;

  template <class Run>
  static void withKernel(const float* pKernel, int kernelSize, int, const Run& run) {
    withKernelLength(pKernel, kernelSize, [&](const auto& order) { run(FloatSum<float>{}, order); });
  }
};

template <class SrcElement, class DstElement>
struct ScaledForm {
  using Src = SrcElement;
  using Dst = DstElement;
  using Kernel = std::int16_t;

  template <class Run>
  static void withKernel(const std::int16_t* pKernel, int kernelSize, int divisor, const Run& run) {
    withScaledKernel(pKernel, kernelSize, 1.0f / static_cast<float>(divisor),
                     [&](const auto& order) { run(FloatSum<Dst>{}, order); });
  }
};
using Form8u16s = ScaledForm<std::uint8_t, std::int16_t>;
using Form16s = ScaledForm<std::int16_t, std::int16_t>;
using Form16u = ScaledForm<std::uint16_t, std::uint16_t>;

// Scratch of a thread in bytes, for each tap and beside them, and from which kernel length on there is a team.
struct Share {
  int perTap;
  int fixed;
  int shortestOfTeam;

  bool hasTeam() const { return shortestOfTeam != 0; }
  std::int64_t bytes(int kernelSize) const { return std::int64_t{perTap} * kernelSize + fixed; }
};

constexpr int kNoTeam = 0;
constexpr Share kShare_32f_C1R = {128, 80, 1};
constexpr Share kShare_32f_C3R = {192, 32, 1};
constexpr Share kShare_8u16s_C1R = {36, 112, 1};
constexpr Share kShare_8u16s_C3R = {60, 112, 1};
constexpr Share kShare_16s_C1R = {48, 80, 4};
constexpr Share kShare_16s_C3R = {40, 64, 1};
constexpr Share kShare_16u_C1R = {48, 80, kNoTeam};
constexpr Share kShare_16u_C3R = {112, 80, kNoTeam};
constexpr Share kShare_Low_16s_C1R = {24, 64, 1};
constexpr Share kShare_Low_16s_C3R = {208, 64, 1};

template <class T>
RvpStatus nullRow(T* const* ppDst, int height) {
  return faultIf(std::any_of(ppDst, ppDst + height, [](const T* dst) { return dst == nullptr; }),
                 rvpStatusNullPointer);
}

// Any divisor but 0; a positive one where the results are unsigned.
template <class Form>
RvpStatus badDivisor(int divisor) {
  return faultIf(divisor == 0 || (std::is_same_v<typename Form::Dst, std::uint16_t> && divisor < 0),
                 rvpStatusBadArgument);
}

template <class Form, int kChannels>
RvpStatus filterRows(Share share, const typename Form::Src* pSrc, int srcStep, typename Form::Dst* const* ppDst,
                     RvpiSize roiSize, const typename Form::Kernel* pKernel, int kernelSize, int xAnchor,
                     RvpiBorderType borderType, const typename Form::Src* borderValue, int divisor,
                     std::uint8_t* pBuffer) {
  using Src = typename Form::Src;
  if (RvpStatus fault = firstFault(nullPointer(pSrc, ppDst, pKernel, pBuffer), badSize(roiSize))) return fault;
  if (RvpStatus fault = firstFault(nullRow(ppDst, roiSize.height), nullPointer(borderValue), badLength(kernelSize),
                                   faultIf(xAnchor < 0 || xAnchor >= kernelSize, rvpStatusBadAnchor),
                                   shortStep<Src, kChannels>(roiSize.width, srcStep), oddStep<Src>(srcStep),
                                   badDivisor<Form>(divisor), faultIf(!isBorder(borderType), rvpStatusBadBorder)))
    return fault;

  const RowFilter<Src, kChannels> filter(pSrc, srcStep, roiSize, kernelSize, xAnchor, borderType, borderValue);
  const PipelineScratch scratch = {share.bytes(kernelSize), share.hasTeam()};
  const bool team = share.hasTeam() && kernelSize >= share.shortestOfTeam;
  Form::withKernel(pKernel, kernelSize, divisor, [&](const auto& sum, const auto& order) {
    forPipelineSlices(roiSize, team, [&](Slice slice) {
      auto* own = alignedTo<Src>(pBuffer + slice.thread * scratch.ofThread(roiSize, kernelSize));
      for (std::ptrdiff_t y : slice) filter.filter(sum, order, y, ppDst[y], own);
    });
  });
  return rvpStatusOk;
}

}  // namespace
}  // namespace rvp::n8

// The exported names. The border's value is an element in the forms of one channel and a pointer in those of three.
#define RVP_ROW_SIZE(SUFFIX)                                                                        \
  RvpStatus rvpiFilterRowBorderPipelineGetBufferSize_##SUFFIX(RvpiSize roiSize, int kernelSize,     \
                                                              int* pBufferSize) {                   \
    using rvp::n8::kShare_##SUFFIX;                                                                 \
    return rvp::n8::pipelineBufferSize(roiSize, kernelSize, pBufferSize, kShare_##SUFFIX.hasTeam(), \
                                       [=] { return kShare_##SUFFIX.bytes(kernelSize); });          \
  }
#define RVP_ROW(TYPES, FORM)                                                                                      \
  RVP_ROW_SIZE(TYPES##_C1R)                                                                                       \
  RVP_ROW_SIZE(TYPES##_C3R)                                                                                       \
  RvpStatus rvpiFilterRowBorderPipeline_##TYPES##_C1R(                                                            \
      const rvp::n8::FORM::Src* pSrc, int srcStep, rvp::n8::FORM::Dst* const* ppDst, RvpiSize roiSize,            \
      const int16_t* pKernel, int kernelSize, int xAnchor, RvpiBorderType borderType,                             \
      rvp::n8::FORM::Src borderValue, int divisor, uint8_t* pBuffer) {                                            \
    return rvp::n8::filterRows<rvp::n8::FORM, 1>(rvp::n8::kShare_##TYPES##_C1R, pSrc, srcStep, ppDst, roiSize,    \
                                                 pKernel, kernelSize, xAnchor, borderType, &borderValue, divisor, \
                                                 pBuffer);                                                        \
  }                                                                                                               \
  RvpStatus rvpiFilterRowBorderPipeline_##TYPES##_C3R(                                                            \
      const rvp::n8::FORM::Src* pSrc, int srcStep, rvp::n8::FORM::Dst* const* ppDst, RvpiSize roiSize,            \
      const int16_t* pKernel, int kernelSize, int xAnchor, RvpiBorderType borderType,                             \
      const rvp::n8::FORM::Src* borderValue, int divisor, uint8_t* pBuffer) {                                     \
    return rvp::n8::filterRows<rvp::n8::FORM, 3>(rvp::n8::kShare_##TYPES##_C3R, pSrc, srcStep, ppDst, roiSize,    \
                                                 pKernel, kernelSize, xAnchor, borderType, borderValue, divisor,  \
                                                 pBuffer);                                                        \
  }

extern "C" {

RVP_ROW(8u16s, Form8u16s)
RVP_ROW(16s, Form16s)
RVP_ROW(16u, Form16u)
RVP_ROW(Low_16s, FormLow_16s)

RVP_ROW_SIZE(32f_C1R)
RVP_ROW_SIZE(32f_C3R)

RvpStatus rvpiFilterRowBorderPipeline_32f_C1R(const float* pSrc, int srcStep, float* const* ppDst, RvpiSize roiSize,
                                              const float* pKernel, int kernelSize, int xAnchor,
                                              RvpiBorderType borderType, float borderValue, uint8_t* pBuffer) {
  using namespace rvp::n8;
  return filterRows<Form32f, 1>(kShare_32f_C1R, pSrc, srcStep, ppDst, roiSize, pKernel, kernelSize, xAnchor,
                                borderType, &borderValue, kNoDivisor, pBuffer);
}

RvpStatus rvpiFilterRowBorderPipeline_32f_C3R(const float* pSrc, int srcStep, float* const* ppDst, RvpiSize roiSize,
                                              const float* pKernel, int kernelSize, int xAnchor,
                                              RvpiBorderType borderType, const float* borderValue,
                                              uint8_t* pBuffer) {
  using namespace rvp::n8;
  return filterRows<Form32f, 3>(kShare_32f_C3R, pSrc, srcStep, ppDst, roiSize, pKernel, kernelSize, xAnchor,
                                borderType, borderValue, kNoDivisor, pBuffer);
}

}  // extern "C"
