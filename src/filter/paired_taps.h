// Sums of 16-bit lines in integers, for kernels and divisors with which they come to what sums in float do: below
// 2^24 a sum of integers is exact in float, divided by a power of two or not.
//
// Two neighbouring lines at a time are interleaved; one instruction multiplies each pair by its two coefficients
// and adds the products. Four rows of a column share the pairs: lines 0 and 1 meet taps 0 and 1 of row 0, and
// nothing and tap 0 of row 1. Rows of odd number see the kernel moved on by one, with a zero before it.
#pragma once

#include <algorithm>
#include <bit>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <type_traits>

#include "filter/taps.h"

namespace rvp::n8 {

// A kernel as pairs of coefficients. kTaps is its length, or 0 where that is known at run time only.
template <int kTaps>
class PairedKernel {
 public:
  static constexpr int kLength = kTaps;
  static constexpr int kRowGroup = 4;

  PairedKernel(const std::int16_t* pKernel, int kernelSize) : taps_(kernelSize) {
    const auto tap = [&](int i) -> unsigned {
      return i < 0 || i >= kernelSize ? 0U : static_cast<std::uint16_t>(pKernel[i]);
    };
    for (int i = 0; i < kernelSize + 2 * kMargin; ++i)
      std::fill_n(pairs_[i], kCopies, static_cast<std::int32_t>(tap(i - kMargin) | tap(i - kMargin + 1) << 16U));
  }

  HWY_INLINE std::ptrdiff_t taps() const { return kTaps == 0 ? taps_ : kTaps; }

  // Coefficients i and i + 1, of which any may lie outside the kernel: by up to one group of rows.
  template <class D>
  HWY_INLINE hn::Vec<D> pair(D d, std::ptrdiff_t i) const {
    return hn::BitCast(d, hn::LoadDup128(hn::RepartitionToWide<D>(), pairs_[i + kMargin]));
  }

 private:
  static constexpr int kMargin = kRowGroup;
  static constexpr int kCopies = 4;  // What 16 bytes hold, so that a pair takes a single load.

  std::ptrdiff_t taps_;
  alignas(16) std::int32_t pairs_[(kTaps == 0 ? kLongestTable : kTaps) + 2 * kMargin][kCopies];
};

// What becomes of a sum: it is multiplied by `scale`, a power of two or the negative of one, rounded to nearest
// with ties to even, and saturated.
template <class T>
struct PairedSum {
  using Lane = std::int16_t;
  using Dst = T;

  float scale;

  template <class D, class V>
  HWY_INLINE void store(D d, V lower, V upper, T* dst) const {
    if (scale != 1.0f) {
      lower = scaled(lower);
      upper = scaled(upper);
    }
    storeWords(d, hn::ReorderDemote2To(d, lower, upper), dst);
  }

 private:
  template <class V>
  HWY_INLINE V scaled(V sum) const {
    const hn::RebindToFloat<hn::DFromV<V>> dFloat;
    return nearestInt(hn::Mul(hn::ConvertTo(dFloat, sum), hn::Set(dFloat, scale)));
  }
};

// kRows rows of one vector of sums each; kRows is 1 or the group's.
template <int kRows, int kTaps, class Dst, class Lines>
HWY_INLINE void sumPairsAt(const PairedSum<Dst>& sum, const PairedKernel<kTaps>& kernel, const Lines& lines,
                           std::ptrdiff_t x, Dst* dst, int dstStep) {
  const hn::ScalableTag<std::int16_t> d;
  const hn::RepartitionToWide<decltype(d)> d32;
  using V32 = hn::Vec<decltype(d32)>;
  const std::ptrdiff_t lastLine = kernel.taps() + kRows - 2;
  V32 lower[kRows];
  V32 upper[kRows];
  unrolled<kRows>([&](auto r) { lower[r] = upper[r] = hn::Zero(d32); });
  // Lines j and j + 1 for `rows` rows from `first` on. Where the lines end with line j, all pairs have a zero for
  // what would follow it.
  const auto add = [&](auto first, auto rows, std::ptrdiff_t j) {
    const auto even = hn::LoadU(d, lines(j) + x);
    const auto odd = hn::LoadU(d, lines(std::min(j + 1, lastLine)) + x);
    const auto low = hn::InterleaveLower(d, even, odd);
    const auto high = hn::InterleaveUpper(d, even, odd);
    unrolled<rows>([&](auto n) {
      constexpr int r = first + n;
      const auto pair = kernel.pair(d, j - r);
      V32 unused = hn::Zero(d32);
      lower[r] = hn::ReorderWidenMulAccumulate(d32, low, pair, lower[r], unused);
      upper[r] = hn::ReorderWidenMulAccumulate(d32, high, pair, upper[r], unused);
    });
  };
  constexpr std::integral_constant<int, 0> kFirst;
  constexpr std::integral_constant<int, kRows> kAll;
  if constexpr (kRows == 1) {
    for (std::ptrdiff_t j = 0; j <= lastLine; j += 2) add(kFirst, kAll, j);
  } else {
    // The first two lines have no taps in the lower half of the rows, and the last two none in the upper half.
    static_assert(kRows == 4);
    constexpr std::integral_constant<int, 2> kHalf;
    add(kFirst, kHalf, 0);
    std::ptrdiff_t j = 2;
    for (; j + 1 < lastLine; j += 2) add(kFirst, kAll, j);
    add(kHalf, kHalf, j);
  }
  unrolled<kRows>([&](auto r) { sum.store(d, lower[r], upper[r], row(dst, dstStep, r) + x); });
}

// kRows rows of `count` sums each. The last vector of a row overlaps the one before; less than a vector goes by way
// of vectors that are filled in part.
template <int kRows, int kTaps, class Dst, class Lines>
void sumPairs(const PairedSum<Dst>& sum, const PairedKernel<kTaps>& kernel, const Lines& lines,
              std::ptrdiff_t count, Dst* dst, int dstStep) {
  constexpr std::ptrdiff_t kLanes = hn::MaxLanes(hn::ScalableTag<std::int16_t>());
  if (count >= kLanes) {
    for (std::ptrdiff_t next = 0; next < count; next += kLanes)
      sumPairsAt<kRows>(sum, kernel, lines, std::min(next, count - kLanes), dst, dstStep);
    return;
  }
  std::int16_t line[2][kLanes] = {};
  Dst sums[kRows][kLanes];
  const auto padded = [&](std::ptrdiff_t i) {
    std::copy_n(lines(i), count, line[i % 2]);
    return line[i % 2];
  };
  sumPairsAt<kRows>(sum, kernel, padded, 0, sums[0], sizeof(sums[0]));
  for (int r = 0; r < kRows; ++r) std::copy_n(sums[r], count, row(dst, dstStep, r));
}

// kVectors vectors of sums of windows in one row, where line i is the row moved on by i pixels. In a row of one
// channel neighbouring elements are pairs as they stand: in lanes of even number they meet taps j and j + 1 of one
// sum, and taps j - 1 and j of the next. Kernels of even length would reach beyond the last window with that.
template <int kChannels, int kVectors, int kTaps, class Dst>
HWY_INLINE void sumWindowsAt(const PairedSum<Dst>& sum, const PairedKernel<kTaps>& kernel,
                             const std::int16_t* window, Dst* dst) {
  const hn::ScalableTag<std::int16_t> d;
  const hn::RepartitionToWide<decltype(d)> d32;
  using V32 = hn::Vec<decltype(d32)>;
  constexpr std::ptrdiff_t kLanes = hn::MaxLanes(d);
  V32 sums[2][kVectors];
  unrolled<kVectors>([&](auto v) { sums[0][v] = sums[1][v] = hn::Zero(d32); });
  const auto add = [&](V32& to, auto pairs, std::ptrdiff_t i) {
    V32 unused = hn::Zero(d32);
    to = hn::ReorderWidenMulAccumulate(d32, pairs, kernel.pair(d, i), to, unused);
  };
  const bool neighbours = kChannels == 1 && kernel.taps() % 2 != 0;
  for (std::ptrdiff_t j = 0; j < kernel.taps(); j += 2) {
    unrolled<kVectors>([&](auto v) {
      const std::int16_t* const at = window + v * kLanes;
      const auto even = hn::LoadU(d, at + j * kChannels);
      if (neighbours) {
        add(sums[0][v], even, j);
        add(sums[1][v], even, j - 1);
      } else {
        const auto odd = hn::LoadU(d, at + std::min(j + 1, kernel.taps() - 1) * kChannels);
        add(sums[0][v], hn::InterleaveLower(d, even, odd), j);
        add(sums[1][v], hn::InterleaveUpper(d, even, odd), j);
      }
    });
  }
  unrolled<kVectors>([&](auto v) {
    const V32 lower = neighbours ? hn::InterleaveLower(d32, sums[0][v], sums[1][v]) : sums[0][v];
    const V32 upper = neighbours ? hn::InterleaveUpper(d32, sums[0][v], sums[1][v]) : sums[1][v];
    sum.store(d, lower, upper, dst + v * kLanes);
  });
}

// The sums of a row of `pixels` pixels; the first one's window begins at `window`.
template <int kChannels, int kTaps, class Dst>
void sumWindows(const PairedSum<Dst>& sum, const PairedKernel<kTaps>& kernel, const std::int16_t* window,
                std::ptrdiff_t pixels, Dst* dst) {
  constexpr int kVectors = 2;
  constexpr std::ptrdiff_t kBlock = kVectors * hn::MaxLanes(hn::ScalableTag<std::int16_t>());
  const std::ptrdiff_t count = pixels * kChannels;
  if (count < kBlock)
    return sumPairs<1>(
        sum, kernel, [=](std::ptrdiff_t i) { return window + i * kChannels; }, count, dst, 0);
  for (std::ptrdiff_t next = 0; next < count; next += kBlock) {
    const std::ptrdiff_t x = std::min(next, count - kBlock);
    sumWindowsAt<kChannels, kVectors>(sum, kernel, window + x, dst + x);
  }
}

// Whether the sums are exact, whatever the elements.
inline bool fitPairs(const std::int16_t* pKernel, int kernelSize, int divisor) {
  constexpr int kLargestElement = 1 << 15;
  const unsigned magnitude = divisor < 0 ? 0U - static_cast<unsigned>(divisor) : static_cast<unsigned>(divisor);
  if (kernelSize > kLongestTable || !std::has_single_bit(magnitude)) return false;
  int sum = 0;  // At most 2^8 * 2^15.
  for (int i = 0; i < kernelSize; ++i) sum += std::abs(int{pKernel[i]});
  return sum <= (1 << 24) / kLargestElement;
}

// Calls run(sum, kernel) for the kernel's length; `scale` is 1 / divisor.
template <class Dst, class Run>
void withPairedKernel(const std::int16_t* pKernel, int kernelSize, float scale, const Run& run) {
  const PairedSum<Dst> sum = {scale};
  switch (kernelSize) {
    case 3:
      return run(sum, PairedKernel<3>(pKernel, kernelSize));
    case 5:
      return run(sum, PairedKernel<5>(pKernel, kernelSize));
    default:
      return run(sum, PairedKernel<0>(pKernel, kernelSize));
  }
}

}  // namespace rvp::n8
