// Weighted sums of lines of elements, the arithmetic that the row and the column stage of a separable filter share:
//
//   dst[x] = kernel[0] * line(0)[x] + kernel[1] * line(1)[x] + ...
//
// Line i of the column stage is a row of the image; in the row stage it is the one extended row, moved on by i
// pixels. The first product starts the sum and the others follow in ascending order, each multiplication and each
// addition rounded by itself, so that a sum has the same bits wherever in a vector it is formed.
//
// In columns several output rows are summed at a time, because neighbouring rows share all lines but two: each line
// is loaded and converted once for all of them.
#pragma once

#include <algorithm>
#include <bit>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <limits>
#include <type_traits>
#include <utility>

#include "frame/simd.h"
#include "frame/views.h"

namespace rvp::n8 {

// Taps of the longest kernel that is prepared beforehand, in a kilobyte of stack. Longer ones are not usual.
constexpr int kLongestTable = 256;

// Calls body(integral_constant) for 0 to kCount - 1: indices that the compiler knows keep arrays of vectors in
// registers.
template <int kCount, class Body>
HWY_INLINE void unrolled(const Body& body) {
  [&]<int... i>(std::integer_sequence<int, i...>) { (body(std::integral_constant<int, i>{}), ...); }
  (std::make_integer_sequence<int, kCount>{});
}

// A vector of elements as the lanes in which sums are formed, float or wider integers. Integers of at most 16 bits
// are exact in float.
template <class D, class T>
HWY_INLINE hn::Vec<D> loadLanes(D d, const T* src) {
  if constexpr (std::is_same_v<T, hn::TFromD<D>>) {
    return hn::LoadU(d, src);
  } else if constexpr (std::is_integral_v<hn::TFromD<D>>) {
    return hn::PromoteTo(d, hn::LoadU(hn::Rebind<T, D>{}, src));
  } else {
    const hn::Rebind<std::int32_t, D> d32;
    return hn::ConvertTo(d, hn::PromoteTo(d32, hn::LoadU(hn::Rebind<T, D>{}, src)));
  }
}

// A vector of 16-bit words as elements of the same or half their size, saturated.
template <class D, class T>
HWY_INLINE void storeWords(D d, hn::Vec<D> words, T* dst) {
  if constexpr (sizeof(T) == 1) {
    const hn::Rebind<T, D> dT;
    hn::StoreU(hn::DemoteTo(dT, words), dT, dst);
  } else {
    hn::StoreU(words, d, dst);
  }
}

// Sums in float. An integer destination takes the sum clamped to 16 bits, rounded to nearest with ties to even, and
// saturated. Narrowing to 16 bits with a sign clamps below; without one it may wrap at -2^31. Bytes go by way of 16
// bits, as Highway's AVX2 narrowing from 32 bits to unsigned bytes is wrong above 32767.
template <class T>
struct FloatSum {
  using Lane = float;
  using Dst = T;

  template <int kVectors, class D>
  HWY_INLINE void store(D d, const hn::Vec<D> (&sums)[kVectors], T* dst) const {
    const auto lanes = static_cast<std::ptrdiff_t>(hn::Lanes(d));
    if constexpr (std::is_same_v<T, float>) {
      unrolled<kVectors>([&](auto v) { hn::StoreU(sums[v], d, dst + v * lanes); });
    } else {
      using Word = std::conditional_t<std::is_same_v<T, std::uint16_t>, std::uint16_t, std::int16_t>;
      const auto most = hn::Set(d, static_cast<float>(std::numeric_limits<Word>::max()));
      const auto rounded = [&](hn::Vec<D> sum) HWY_ATTR {
        sum = hn::Min(sum, most);
        if constexpr (std::is_unsigned_v<Word>) sum = hn::Max(sum, hn::Zero(d));
        return nearestInt(sum);
      };
      if constexpr (kVectors % 2 == 0) {
        const hn::Repartition<Word, D> dWord;
        unrolled<kVectors / 2>([&](auto v) {
          storeWords(dWord, narrowPair<Word>(rounded(sums[2 * v]), rounded(sums[2 * v + 1])), dst + 2 * v * lanes);
        });
      } else {
        const hn::Rebind<Word, D> dWord;
        unrolled<kVectors>(
            [&](auto v) { storeWords(dWord, hn::DemoteTo(dWord, rounded(sums[v])), dst + v * lanes); });
      }
    }
  }
};

// Sums in 16-bit lanes that wrap, times factor / 2^14, rounded down.
class LowSum {
 public:
  using Lane = std::int16_t;
  using Dst = std::int16_t;

  // The nearest factor, ties to even; 2^14 and less in magnitude. It is 0 for large divisors, and then so are the
  // results.
  explicit LowSum(int divisor)
      : factor_(static_cast<std::int16_t>(std::lrint((1 << kFactorBits) / static_cast<double>(divisor)))),
        shift_(factor_ > 0 && (factor_ & (factor_ - 1)) == 0
                   ? kFactorBits - std::countr_zero(static_cast<unsigned>(factor_))
                   : kNoShift) {}

  template <int kVectors, class D>
  HWY_INLINE void store(D d, const hn::Vec<D> (&sums)[kVectors], std::int16_t* dst) const {
    const auto lanes = static_cast<std::ptrdiff_t>(hn::Lanes(d));
    unrolled<kVectors>([&](auto v) {
      const auto result = shift_ == kNoShift ? multiplied(d, sums[v]) : hn::ShiftRightSame(sums[v], shift_);
      hn::StoreU(result, d, dst + v * lanes);
    });
  }

 private:
  static constexpr int kFactorBits = 14;
  static constexpr int kNoShift = -1;

  // Bits 14 to 29 of the 32-bit product, from its two halves.
  template <class D>
  HWY_INLINE hn::Vec<D> multiplied(D d, hn::Vec<D> sum) const {
    const hn::RebindToUnsigned<D> du;
    const auto factor = hn::Set(d, factor_);
    const auto low = hn::ShiftRight<kFactorBits>(hn::BitCast(du, hn::Mul(sum, factor)));
    return hn::Or(hn::ShiftLeft<16 - kFactorBits>(hn::MulHigh(sum, factor)), hn::BitCast(d, low));
  }

  std::int16_t factor_;
  int shift_;  // What a factor that is a power of two comes to.
};

// Unsigned sums in 16-bit lanes, divided by 2^shift and rounded to nearest, ties to even. Neither a sum nor a sum
// and half a divisor passes 16 bits. The shift is at least 1, so the result is no negative number.
struct ShiftedSum {
  using Lane = std::int16_t;
  using Dst = std::int16_t;

  int shift;

  template <int kVectors, class D>
  HWY_INLINE void store(D d, const hn::Vec<D> (&sums)[kVectors], std::int16_t* dst) const {
    const hn::RebindToUnsigned<D> du;
    const auto lanes = static_cast<std::ptrdiff_t>(hn::Lanes(d));
    const auto belowHalf = hn::Set(du, static_cast<std::uint16_t>((1 << (shift - 1)) - 1));
    unrolled<kVectors>([&](auto v) {
      const auto sum = hn::BitCast(du, sums[v]);
      const auto odd = hn::And(hn::ShiftRightSame(sum, shift), hn::Set(du, 1));
      const auto result = hn::ShiftRightSame(hn::Add(sum, hn::Add(belowHalf, odd)), shift);
      hn::StoreU(hn::BitCast(d, result), d, dst + v * lanes);
    });
  }
};

// Kernel coefficients times a scale, for kernels that are too long to be scaled beforehand.
struct ScaledKernel {
  const std::int16_t* kernel;
  float scale;
  float operator[](std::ptrdiff_t i) const { return static_cast<float>(kernel[i]) * scale; }
};

// Coefficients as vectors: in registers where their number is known, and else made where they are wanted.
template <int kTaps, class D, class Kernel>
class Weights {
 public:
  HWY_INLINE Weights(D d, const Kernel& kernel) {
    unrolled<kTaps>([&](auto i) { weights_[i] = hn::Set(d, kernel[i]); });
  }
  HWY_INLINE hn::Vec<D> operator[](std::ptrdiff_t i) const { return weights_[i]; }

 private:
  hn::Vec<D> weights_[kTaps];
};

template <class D, class Kernel>
class Weights<0, D, Kernel> {
 public:
  HWY_INLINE Weights(D, const Kernel& kernel) : kernel_(kernel) {}
  HWY_INLINE hn::Vec<D> operator[](std::ptrdiff_t i) const { return hn::Set(D{}, kernel_[i]); }

 private:
  Kernel kernel_;
};

// The plain order of summation. kTaps is the kernel's length, or 0 where it is known at run time only. `Kernel` is
// anything that has an operator[] giving coefficients.
template <int kTaps, class Coefficients>
struct AscendingOrder {
  static constexpr int kLength = kTaps;
  static constexpr bool kPairs = false;
  using Kernel = Coefficients;

  // Output rows that are summed together; no more than the kernel has taps.
  static constexpr int kRowGroup = kTaps == 3 ? 3 : 4;

  Kernel kernel;
  std::ptrdiff_t length;

  HWY_INLINE std::ptrdiff_t taps() const { return kTaps == 0 ? length : kTaps; }

  // The sums of kRows output rows at column x: row r starts with line(r), and line j meets its tap j - r.
  template <int kRows, int kVectors, class D, class W, class Lines>
  HWY_INLINE void sums(D d, const W& weights, const Lines& lines, std::ptrdiff_t x,
                       hn::Vec<D> (&acc)[kRows][kVectors]) const {
    hn::Vec<D> line[kVectors];
    unrolled<kRows>([&](auto j) {
      load(d, lines(j) + x, line);
      add<0, j>(weights, line, j, acc);
      const auto weight = weights[0];
      unrolled<kVectors>([&](auto v) { acc[j][v] = hn::Mul(line[v], weight); });
    });
    for (std::ptrdiff_t j = kRows; j < taps(); ++j) {
      load(d, lines(j) + x, line);
      add<0, kRows>(weights, line, j, acc);
    }
    unrolled<kRows - 1>([&](auto n) {
      load(d, lines(taps() + n) + x, line);
      add<n + 1, kRows>(weights, line, taps() + n, acc);
    });
  }

 private:
  template <int kVectors, class D, class T>
  static HWY_INLINE void load(D d, const T* src, hn::Vec<D> (&line)[kVectors]) {
    unrolled<kVectors>(
        [&](auto v) { line[v] = loadLanes(d, src + v * static_cast<std::ptrdiff_t>(hn::Lanes(d))); });
  }

  // Adds line j to rows kFirst to kLast - 1.
  template <int kFirst, int kLast, class W, class V, int kRows, int kVectors>
  static HWY_INLINE void add(const W& weights, const V (&line)[kVectors], std::ptrdiff_t j,
                             V (&acc)[kRows][kVectors]) {
    unrolled<kLast - kFirst>([&](auto n) {
      constexpr int r = kFirst + n;
      const auto weight = weights[j - r];
      unrolled<kVectors>([&](auto v) { acc[r][v] = hn::Add(acc[r][v], hn::Mul(line[v], weight)); });
    });
  }
};

// The order for a kernel that reads the same from both ends: the middle product first, then outwards the sum of two
// lines times their common coefficient.
template <int kTaps>
struct SymmetricOrder {
  static constexpr int kLength = kTaps;
  using Kernel = const float*;
  static constexpr int kRowGroup = 3;

  Kernel kernel;

  HWY_INLINE std::ptrdiff_t taps() const { return kTaps; }

  template <int kRows, int kVectors, class D, class W, class Lines>
  HWY_INLINE void sums(D d, const W& weights, const Lines& lines, std::ptrdiff_t x,
                       hn::Vec<D> (&acc)[kRows][kVectors]) const {
    constexpr int kMiddle = kTaps / 2;
    unrolled<kVectors>([&](auto v) {
      hn::Vec<D> line[kRows + kTaps - 1];
      unrolled<kRows + kTaps - 1>(
          [&](auto j) { line[j] = loadLanes(d, lines(j) + x + v * static_cast<std::ptrdiff_t>(hn::Lanes(d))); });
      unrolled<kRows>([&](auto r) {
        acc[r][v] = hn::Mul(line[r + kMiddle], weights[kMiddle]);
        unrolled<kMiddle>([&](auto n) {
          const auto pair = hn::Add(line[r + kMiddle - 1 - n], line[r + kMiddle + 1 + n]);
          acc[r][v] = hn::Add(acc[r][v], hn::Mul(pair, weights[kMiddle - 1 - n]));
        });
      });
    });
  }
};

// kRows rows of `count` sums each, from `dst` on, a block of kVectors vectors of each row at a time; `count` is at
// least a block's. The last block of a row overlaps the one before, so the destination must be no part of the
// lines. Lines that have a prefetch(first, count) are told of each block.
template <int kRows, int kVectors, class D, class Sum, class Order, class Lines>
void sumBlocks(D d, const Sum& sum, const Order& order, const Lines& lines, std::ptrdiff_t count,
               typename Sum::Dst* dst, int dstStep) {
  const Weights<Order::kLength, D, typename Order::Kernel> weights(d, order.kernel);
  const auto block = kVectors * static_cast<std::ptrdiff_t>(hn::Lanes(d));
  for (std::ptrdiff_t next = 0; next < count; next += block) {
    const std::ptrdiff_t x = std::min(next, count - block);
    if constexpr (requires { lines.prefetch(x, block); }) lines.prefetch(x, block);
    hn::Vec<D> acc[kRows][kVectors];
    order.sums(d, weights, lines, x, acc);
    unrolled<kRows>([&](auto r) { sum.store(d, acc[r], row(dst, dstStep, r) + x); });
  }
}

// The same for any count, one row: in blocks of kVectors if it is long enough, else of one vector or one lane.
template <int kVectors, class Sum, class Order, class Lines>
void sumRow(const Sum& sum, const Order& order, const Lines& lines, std::ptrdiff_t count, typename Sum::Dst* dst) {
  const hn::ScalableTag<typename Sum::Lane> d;
  const auto lanes = static_cast<std::ptrdiff_t>(hn::Lanes(d));
  if (count >= kVectors * lanes) {
    sumBlocks<1, kVectors>(d, sum, order, lines, count, dst, 0);
  } else if (count >= lanes) {
    sumBlocks<1, 1>(d, sum, order, lines, count, dst, 0);
  } else {
    sumBlocks<1, 1>(hn::CappedTag<typename Sum::Lane, 1>{}, sum, order, lines, count, dst, 0);
  }
}

// Calls run(order) with the ascending order for the kernel's length.
template <class Kernel, class Run>
void withKernelLength(Kernel kernel, int kernelSize, const Run& run) {
  switch (kernelSize) {
    case 3:
      return run(AscendingOrder<3, Kernel>{kernel, 3});
    case 5:
      return run(AscendingOrder<5, Kernel>{kernel, 5});
    default:
      return run(AscendingOrder<0, Kernel>{kernel, kernelSize});
  }
}

// A form of the stages: its element types. Its withKernel(kernel, size, divisor, run) calls run(sum, order) with
// the arithmetic for a kernel.
template <class SrcElement, class DstElement, class KernelElement = std::int16_t>
struct Form {
  using Src = SrcElement;
  using Dst = DstElement;
  using Kernel = KernelElement;
};

// The low form is the same in both stages.
struct FormLow_16s : Form<std::int16_t, std::int16_t> {
  template <class Run>
  static void withKernel(const std::int16_t* pKernel, int kernelSize, int divisor, const Run& run) {
    withKernelLength(pKernel, kernelSize, [&](const auto& order) { run(LowSum(divisor), order); });
  }
};

// What forms without a divisor give for it.
constexpr int kNoDivisor = 1;

// Calls run(order) with the coefficients times `scale`.
template <class Run>
void withScaledKernel(const std::int16_t* pKernel, int kernelSize, float scale, const Run& run) {
  const ScaledKernel scaled = {pKernel, scale};
  if (kernelSize > kLongestTable) return run(AscendingOrder<0, ScaledKernel>{scaled, kernelSize});
  float kernel[kLongestTable];
  for (int i = 0; i < kernelSize; ++i) kernel[i] = scaled[i];
  withKernelLength<const float*>(kernel, kernelSize, run);
}

}  // namespace rvp::n8
