// The row stage of a separable filter: for each row, into whatever place the caller's array of row pointers names,
//
//   dst[x] = sum over i of kernel[i] * ext[x + i - xAnchor]
//
// where ext is the row extended by its border. Elements that are no lanes of the sums yet are converted first, a
// good part of the row at a time, and the border with them. Otherwise the middle of the row is filtered where it
// stands, and its two ends with their border from the caller's scratch. Where integers are as exact as floats,
// bytes are summed in 16-bit integers, and where that is exact too, elements are multiplied in pairs.
#include <algorithm>
#include <bit>
#include <cstdint>
#include <limits>
#include <type_traits>

#include "filter/border.h"
#include "filter/paired_taps.h"
#include "filter/pipeline.h"
#include "filter/taps.h"
#include "frame/checks.h"
#include "rvpcv/filter.h"

namespace rvp::n8 {
namespace {

// Vectors of a row that are summed together: enough additions in flight to hide their latency.
constexpr int kVectors = 4;

// Elements as lanes.
template <class Src, class Lane>
void convert(const Src* src, std::ptrdiff_t count, Lane* dst) {
  const hn::ScalableTag<Lane> d;
  const auto lanes = static_cast<std::ptrdiff_t>(hn::Lanes(d));
  std::ptrdiff_t x = 0;
  for (; x + lanes <= count; x += lanes) hn::StoreU(loadLanes(d, src + x), d, dst + x);
  for (; x < count; ++x) dst[x] = static_cast<Lane>(src[x]);
}

// The lines of a row: the row itself, moved on by a pixel for each tap. An image of many megabytes comes late from
// memory otherwise, since loads that overlap do not look like one stream to the processor: twice the time.
template <int kChannels, class T>
struct MovedRow {
  static constexpr std::uintptr_t kAheadBytes = 4096;

  const T* window;

  const T* operator()(std::ptrdiff_t i) const { return window + i * kChannels; }
  void prefetch(std::ptrdiff_t first, std::ptrdiff_t count) const {
    prefetchLines(window + first, count, kAheadBytes);
  }
};

// The sums of a row of `pixels` pixels; the first one's window begins at `window`.
template <int kChannels, class Sum, class Order, class T>
void sumWindows(const Sum& sum, const Order& order, const T* window, std::ptrdiff_t pixels,
                typename Sum::Dst* dst) {
  sumRow<kVectors>(sum, order, MovedRow<kChannels, T>{window}, pixels * kChannels, dst);
}

template <int kChannels, class Dst, int kTaps>
void sumWindows(const PairedSum<Dst>& sum, const PairedKernel<kTaps>& kernel, const std::int16_t* window,
                std::ptrdiff_t pixels, Dst* dst) {
  sumPairedWindows<kChannels>(sum, kernel, window, pixels * kChannels, dst, [&] {
    const auto lines = [=](std::ptrdiff_t i) { return window + i * kChannels; };
    sumPairs<1>(sum, kernel, lines, pixels * kChannels, dst, 0);
  });
}
template <int kChannels, class Sum, class Order>
void sumWindows(const Sum& sum, const PairedOrder<Order>& order, const std::uint8_t* window, std::ptrdiff_t pixels,
                std::int16_t* dst) {
  sumPairedWindows<kChannels>(sum, order.kernel, window, pixels * kChannels, dst,
                              [&] { sumWindows<kChannels>(sum, order.ascending, window, pixels, dst); });
}

// The rows of an image as one operation filters them. Pixels beyond a row are made in `scratch`, before the rest of
// the row is worked on, and are read after it: a vector that is read while its elements are still on their way to
// memory one by one has to wait for them.
template <class Src, int kChannels>
class RowFilter {
 public:
  RowFilter(const Src* src, int step, RvpiSize size, int kernelSize, int xAnchor, RvpiBorderType border,
            const Src* value)
      : image_{src, step, size, borderOf(border), value},
        before_(xAnchor),
        behind_(std::ptrdiff_t{kernelSize} - 1 - xAnchor) {}

  template <class Sum, class Order>
  void filter(const Sum& sum, const Order& order, std::ptrdiff_t y, typename Sum::Dst* dst, Src* scratch) const {
    using Lane = typename Sum::Lane;
    // Every element meets all taps, so it is converted once and for all: unless the taps are so few that this does
    // not pay, or so many that the overlap of windows takes more than half the chunk. Pairs are of elements.
    constexpr int kFew = std::is_integral_v<Lane> ? 5 : 3;
    constexpr bool kHasFew = Order::kLength != 0 && Order::kLength <= kFew;
    constexpr bool kStays = std::is_same_v<Src, Lane> || kHasFew || Order::kPairs;
    if constexpr (!kStays) {
      if (Order::kLength != 0 || (before_ + behind_) * kChannels <= kChunk / 2)
        return filterConverted(sum, order, y, dst, scratch);
    }
    if constexpr (kStays || Order::kLength == 0) filterInPlace(sum, order, y, dst, scratch);
  }

 private:
  // Lanes of a row that are converted together.
  static constexpr std::ptrdiff_t kChunk = 2048;

  // The middle of the row is read where it stands. An end is as wide as windows reach beyond the row, or a vector's
  // length; a side that is in memory has none. With their windows both ends take 3 * (kernelSize - 1) pixels and
  // two vectors, or less, and nothing for a kernel of one tap. The share of every operation is more than twice the
  // pixels' bytes for each tap, and that leaves room for the vectors from two taps on.
  template <class Sum, class Order>
  void filterInPlace(const Sum& sum, const Order& order, std::ptrdiff_t y, typename Sum::Dst* dst,
                     Src* scratch) const {
    constexpr std::ptrdiff_t kLanes = hn::MaxLanes(hn::ScalableTag<typename Sum::Lane>());
    constexpr std::ptrdiff_t kShortest = (kLanes + kChannels - 1) / kChannels;
    const auto widened = [=](std::ptrdiff_t pixels) { return pixels == 0 ? 0 : std::max(pixels, kShortest); };
    const std::ptrdiff_t width = image_.size.width;
    const std::ptrdiff_t left = image_.border.left ? 0 : std::min(widened(before_), width);
    const std::ptrdiff_t right = image_.border.right ? 0 : std::min(widened(behind_), width - left);
    const auto sumSpan = [&](const Src* window, std::ptrdiff_t first, std::ptrdiff_t last) {
      if (first < last) sumWindows<kChannels>(sum, order, window, last - first, dst + first * kChannels);
    };
    Src* rightEnd = scratch + (left == 0 ? 0 : left + before_ + behind_) * kChannels;
    if (left != 0) image_.readRow(y, -before_, left + behind_, scratch);
    if (right != 0) image_.readRow(y, width - right - before_, width + behind_, rightEnd);
    sumSpan(row(image_.src, image_.step, y) + (left - before_) * kChannels, left, width - right);
    sumSpan(scratch, 0, left);
    sumSpan(rightEnd, width - right, width);
  }

  // The row as lanes, a chunk at a time.
  template <class Sum, class Order>
  void filterConverted(const Sum& sum, const Order& order, std::ptrdiff_t y, typename Sum::Dst* dst,
                       Src* scratch) const {
    alignas(64) typename Sum::Lane chunk[kChunk];
    const std::ptrdiff_t width = image_.size.width;
    const std::ptrdiff_t most = kChunk / kChannels - before_ - behind_;
    for (std::ptrdiff_t x = 0; x < width; x += most) {
      const std::ptrdiff_t count = std::min(most, width - x);
      const std::ptrdiff_t first = x - before_;
      const std::ptrdiff_t last = x + count + behind_;
      // What the chunk has of the row, and of what is in memory beside it.
      const std::ptrdiff_t from = image_.border.left ? first : std::max<std::ptrdiff_t>(first, 0);
      const std::ptrdiff_t to = image_.border.right ? last : std::min(last, width);
      Src* beyond = scratch + (from - first) * kChannels;
      if (first < from) image_.readRow(y, first, from, scratch);
      if (to < last) image_.readRow(y, to, last, beyond);
      convert(row(image_.src, image_.step, y) + from * kChannels, (to - from) * kChannels,
              chunk + (from - first) * kChannels);
      convert(scratch, (from - first) * kChannels, chunk);
      convert(beyond, (last - to) * kChannels, chunk + (to - first) * kChannels);
      sumWindows<kChannels>(sum, order, chunk, count, dst + x * kChannels);
    }
  }

  ExtendedImage<Src, kChannels> image_;
  std::ptrdiff_t before_;  // Pixels of the window before and behind the output's column.
  std::ptrdiff_t behind_;
};

struct Form32f : Form<float, float, float> {
  template <class Run>
  static void withKernel(const float* pKernel, int kernelSize, int, const Run& run) {
    withKernelLength(pKernel, kernelSize, [&](const auto& order) { run(FloatSum<float>{}, order); });
  }
};

// How large the sums of a row of bytes can be. Where divisor and sums allow, sums in 16-bit integers come to what
// the sums in float do: below 2^24 a sum of integers is exact in float, divided by a power of two or not.
class ByteSums {
 public:
  ByteSums(const std::int16_t* kernel, int kernelSize) {
    for (int i = 0; i < kernelSize; ++i) (kernel[i] < 0 ? least_ : most_) += std::int64_t{kernel[i]} * kMaxByte;
  }

  bool fitWords(int divisor) const {
    using Word = std::numeric_limits<std::int16_t>;
    return divisor == 1 && least_ >= Word::min() && most_ <= Word::max();
  }
  bool fitShift(int divisor) const {
    return divisor > 1 && (divisor & (divisor - 1)) == 0 && least_ == 0 &&
           most_ + divisor / 2 <= std::numeric_limits<std::uint16_t>::max();
  }

 private:
  static constexpr int kMaxByte = 255;
  std::int64_t least_ = 0;
  std::int64_t most_ = 0;
};

template <class Src, class Dst>
struct ScaledForm : Form<Src, Dst> {
  template <class Run>
  static void withKernel(const std::int16_t* pKernel, int kernelSize, int divisor, const Run& run) {
    if constexpr (sizeof(Src) == 1) {
      const ByteSums sums(pKernel, kernelSize);
      const auto runWords = [&](const auto& sum) {
        const bool pairs = fitBytePairs(pKernel, kernelSize);
        withKernelLength(pKernel, kernelSize,
                         [&](const auto& order) { pairs ? run(sum, PairedOrder(order)) : run(sum, order); });
      };
      if (sums.fitWords(divisor)) return runWords(LowSum(1));
      if (sums.fitShift(divisor)) return runWords(ShiftedSum{std::countr_zero(static_cast<unsigned>(divisor))});
    }
    const float scale = 1.0f / static_cast<float>(divisor);
    if constexpr (std::is_same_v<Src, std::int16_t>) {
      if (fitPairs(pKernel, kernelSize, divisor)) return withPairedKernel<Dst>(pKernel, kernelSize, scale, run);
    }
    withScaledKernel(pKernel, kernelSize, scale, [&](const auto& order) { run(FloatSum<Dst>{}, order); });
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

// Any divisor but 0; a positive one where the results are unsigned.
template <class F>
RvpStatus badDivisor(int divisor) {
  return faultIf(divisor == 0 || (std::is_same_v<typename F::Dst, std::uint16_t> && divisor < 0),
                 rvpStatusBadArgument);
}

template <class F, int kChannels>
RvpStatus filterRows(Share share, const typename F::Src* pSrc, int srcStep, typename F::Dst* const* ppDst,
                     RvpiSize roiSize, const typename F::Kernel* pKernel, int kernelSize, int xAnchor,
                     RvpiBorderType borderType, const typename F::Src* borderValue, int divisor,
                     std::uint8_t* pBuffer) {
  using Src = typename F::Src;
  if (RvpStatus fault = firstFault(nullPointer(pSrc, ppDst, pKernel, pBuffer), badSize(roiSize))) return fault;
  if (RvpStatus fault = firstFault(nullRow(ppDst, roiSize.height), nullPointer(borderValue), badLength(kernelSize),
                                   faultIf(xAnchor < 0 || xAnchor >= kernelSize, rvpStatusBadAnchor),
                                   shortStep<Src, kChannels>(roiSize.width, srcStep), oddStep<Src>(srcStep),
                                   badDivisor<F>(divisor), faultIf(!isBorder(borderType), rvpStatusBadBorder)))
    return fault;

  const RowFilter<Src, kChannels> filter(pSrc, srcStep, roiSize, kernelSize, xAnchor, borderType, borderValue);
  const PipelineScratch scratch = {share.bytes(kernelSize), share.hasTeam()};
  const bool team = share.hasTeam() && kernelSize >= share.shortestOfTeam;
  F::withKernel(pKernel, kernelSize, divisor, [&](const auto& sum, const auto& order) {
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
