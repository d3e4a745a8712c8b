// Sums of lines of 16-bit integers and bytes in integers twice as wide, for kernels and divisors with which they
// come to what sums in float do: below 2^24 a sum of integers is exact in float, divided by a power of two or not.
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

// A kernel as pairs of coefficients for elements of type T, 16-bit integers or bytes without a sign. kTaps is its
// length, or 0 where that is known at run time only.
template <int kTaps, class T = std::int16_t>
class PairedKernel {
 public:
  using Src = T;
  using Pair = std::conditional_t<sizeof(T) == 1, std::int16_t, std::int32_t>;
  static constexpr int kLength = kTaps;
  static constexpr int kRowGroup = 4;
  static constexpr bool kPairs = true;

  PairedKernel(const std::int16_t* pKernel, int kernelSize) : taps_(kernelSize) {
    const auto tap = [&](int i) -> unsigned {
      return i < 0 || i >= kernelSize ? 0U : static_cast<std::make_unsigned_t<T>>(pKernel[i]);
    };
    for (int i = 0; i < kernelSize + 2 * kMargin; ++i)
      std::fill_n(pairs_[i], kCopies,
                  static_cast<Pair>(tap(i - kMargin) | tap(i - kMargin + 1) << (8 * sizeof(T))));
  }

  HWY_INLINE std::ptrdiff_t taps() const { return kTaps == 0 ? taps_ : kTaps; }

  // Adds to `sums` pairs of elements times coefficients i and i + 1, of which any may lie outside the kernel: by up
  // to one group of rows.
  template <class V, class Elements>
  HWY_INLINE void add(V& sums, Elements pairs, std::ptrdiff_t i) const {
    const hn::DFromV<V> d;
    const auto both = hn::LoadDup128(d, pairs_[i + kMargin]);
    if constexpr (sizeof(T) == 1) {
      sums = hn::Add(sums, multipliedBytePairs(d, pairs, both));
    } else {
      V unused = hn::Zero(d);
      sums = hn::ReorderWidenMulAccumulate(d, pairs, hn::BitCast(hn::DFromV<Elements>(), both), sums, unused);
    }
  }

 private:
  static constexpr int kMargin = kRowGroup;
  static constexpr int kCopies = 16 / sizeof(Pair);  // So that a pair takes a single load.

  std::ptrdiff_t taps_;
  alignas(16) Pair pairs_[(kTaps == 0 ? kLongestTable : kTaps) + 2 * kMargin][kCopies];
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
      kernel.add(lower[r], low, j - r);
      kernel.add(upper[r], high, j - r);
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

// Stores sums that lie in the lower and the upper halves of every 16 bytes of elements.
template <class Sum, class V>
HWY_INLINE void storeHalves(const Sum& sum, V lower, V upper, typename Sum::Dst* dst) {
  const hn::DFromV<V> d;
  if constexpr (sizeof(hn::TFromD<decltype(d)>) == 4) {
    sum.store(hn::Repartition<std::int16_t, decltype(d)>(), lower, upper, dst);
  } else {
    V sums[2] = {lower, upper};
    if constexpr (hn::MaxLanes(d) > 8) {
      sums[0] = hn::ConcatLowerLower(d, upper, lower);
      sums[1] = hn::ConcatUpperUpper(d, upper, lower);
    }
    sum.store(d, sums, dst);
  }
}

// Two vectors of sums of windows in one row, where line i is the row moved on by i pixels. In a row of one channel
// neighbouring elements are pairs as they stand: in lanes of even number they meet taps j and j + 1 of one sum, and
// taps j - 1 and j of the next. Kernels of even length would reach beyond the last window with that.
template <int kChannels, class Sum, class Kernel>
HWY_INLINE void sumWindowsAt(const Sum& sum, const Kernel& kernel, const typename Kernel::Src* window,
                             typename Sum::Dst* dst) {
  const hn::ScalableTag<typename Kernel::Src> d;
  const hn::ScalableTag<typename Kernel::Pair> dSum;
  using V = hn::Vec<decltype(dSum)>;
  constexpr int kVectors = 2;
  constexpr std::ptrdiff_t kLanes = hn::MaxLanes(d);
  V sums[kVectors][2];
  unrolled<kVectors>([&](auto v) { sums[v][0] = sums[v][1] = hn::Zero(dSum); });
  const bool neighbours = kChannels == 1 && kernel.taps() % 2 != 0;
  for (std::ptrdiff_t j = 0; j < kernel.taps(); j += 2) {
    unrolled<kVectors>([&](auto v) {
      const auto* const at = window + v * kLanes;
      const auto even = hn::LoadU(d, at + j * kChannels);
      if (neighbours) {
        kernel.add(sums[v][0], even, j);
        kernel.add(sums[v][1], even, j - 1);
      } else {
        const auto odd = hn::LoadU(d, at + std::min(j + 1, kernel.taps() - 1) * kChannels);
        kernel.add(sums[v][0], hn::InterleaveLower(d, even, odd), j);
        kernel.add(sums[v][1], hn::InterleaveUpper(d, even, odd), j);
      }
    });
  }
  unrolled<kVectors>([&](auto v) {
    const V lower = neighbours ? hn::InterleaveLower(dSum, sums[v][0], sums[v][1]) : sums[v][0];
    const V upper = neighbours ? hn::InterleaveUpper(dSum, sums[v][0], sums[v][1]) : sums[v][1];
    storeHalves(sum, lower, upper, dst + v * kLanes);
  });
}

// The sums of a row of `count` elements; the first one's window begins at `window`. Rows that are too short are
// left to sumShort().
template <int kChannels, class Sum, class Kernel, class SumShort>
HWY_INLINE void sumPairedWindows(const Sum& sum, const Kernel& kernel, const typename Kernel::Src* window,
                                 std::ptrdiff_t count, typename Sum::Dst* dst, const SumShort& sumShort) {
  constexpr std::ptrdiff_t kBlock = 2 * hn::MaxLanes(hn::ScalableTag<typename Kernel::Src>());
  if (count < kBlock) return sumShort();
  for (std::ptrdiff_t next = 0; next < count; next += kBlock) {
    const std::ptrdiff_t x = std::min(next, count - kBlock);
    sumWindowsAt<kChannels>(sum, kernel, window + x, dst + x);
  }
}

// The order for rows of bytes: in pairs, and ascending where rows are short.
template <class Order>
struct PairedOrder {
  static constexpr int kLength = Order::kLength;
  static constexpr bool kPairs = true;

  Order ascending;
  PairedKernel<kLength, std::uint8_t> kernel;

  explicit PairedOrder(const Order& order)
      : ascending(order), kernel(order.kernel, static_cast<int>(order.taps())) {}
};

// Whether bytes may be summed in pairs: no sum of two products passes 16 bits.
inline bool fitBytePairs(const std::int16_t* pKernel, int kernelSize) {
  constexpr int kMost = 32767 / 255;
  if (kernelSize > kLongestTable) return false;
  for (int i = 0, before = 0; i < kernelSize; ++i) {
    const int magnitude = std::abs(int{pKernel[i]});
    if (magnitude > 127 || magnitude + before > kMost) return false;
    before = magnitude;
  }
  return true;
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
