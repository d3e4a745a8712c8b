// Weighted sums of lines of elements, the arithmetic that the row and the column stage of a separable filter share:
//
//   dst[x] = kernel[0] * line(0)[x] + kernel[1] * line(1)[x] + ...
//
// Line i of the column stage is a row of the image; in the row stage it is the one extended row, moved on by i
// pixels. The first product starts the sum and the others follow in ascending order, each multiplication and each
// addition rounded by itself, so that a sum has the same bits wherever in a vector it is formed.
//
// A column of sums is formed for several output rows at a time, because neighbouring rows share all lines but two:
// each line is loaded and converted once for all of them.
#pragma once

#include <cmath>
#include <cstddef>
#include <cstdint>
#include <type_traits>
#include <utility>

#include "frame/simd.h"
#include "frame/views.h"

namespace rvp::n8 {

// Calls body(integral_constant) for 0 to kCount - 1: indices that the compiler knows keep arrays of vectors in
// registers.
template <int kCount, class Body>
HWY_INLINE void unrolled(const Body& body) {
  [&]<int... i>(std::integer_sequence<int, i...>) { (body(std::integral_constant<int, i>{}), ...); }
  (std::make_integer_sequence<int, kCount>{});
}

// A vector of elements as the lanes in which sums are formed. Integers of at most 16 bits are exact in float.
template <class D, class T>
HWY_INLINE hn::Vec<D> loadLanes(D d, const T* src) {
  if constexpr (std::is_same_v<T, hn::TFromD<D>>) {
    return hn::LoadU(d, src);
  } else {
    const hn::Rebind<std::int32_t, D> d32;
    return hn::ConvertTo(d, hn::PromoteTo(d32, hn::LoadU(hn::Rebind<T, D>{}, src)));
  }
}

// Sums in float. An integer destination takes the sum clamped to 16 bits, rounded to nearest with ties to even, and
// saturated: NearestInt saturates to 32 bits and the narrowing to the rest, which comes to the same. Bytes go by
// way of 16 bits, as Highway's AVX2 narrowing from 32 bits to unsigned bytes is wrong above 32767.
template <class T>
struct FloatSum {
  using Lane = float;
  using Dst = T;

  template <class D>
  HWY_INLINE void store(D d, hn::Vec<D> sum, T* dst) const {
    if constexpr (std::is_same_v<T, float>) {
      hn::StoreU(sum, d, dst);
    } else {
      const hn::Rebind<T, D> dT;
      const auto nearest = hn::NearestInt(sum);
      if constexpr (sizeof(T) == 1) {
        hn::StoreU(hn::DemoteTo(dT, hn::DemoteTo(hn::Rebind<std::int16_t, D>{}, nearest)), dT, dst);
      } else {
        hn::StoreU(hn::DemoteTo(dT, nearest), dT, dst);
      }
    }
  }
};

// Sums in 16-bit lanes that wrap, times factor / 2^14, rounded down.
struct LowSum {
  using Lane = std::int16_t;
  using Dst = std::int16_t;
  static constexpr int kFactorBits = 14;
  static constexpr std::int16_t kFactorOne = 1 << kFactorBits;

  std::int16_t factor;

  // The nearest factor, ties to even; 2^14 and less in magnitude. It is 0 for large divisors, and then so are the
  // sums.
  explicit LowSum(int divisor)
      : factor(static_cast<std::int16_t>(std::lrint(kFactorOne / static_cast<double>(divisor)))) {}

  template <class D>
  HWY_INLINE void store(D d, hn::Vec<D> sum, std::int16_t* dst) const {
    if (factor != kFactorOne) {
      const hn::RebindToUnsigned<D> du;
      const auto f = hn::Set(d, factor);
      // Bits 14 to 29 of the 32-bit product, from its two halves.
      const auto low = hn::ShiftRight<kFactorBits>(hn::BitCast(du, hn::Mul(sum, f)));
      sum = hn::Or(hn::ShiftLeft<16 - kFactorBits>(hn::MulHigh(sum, f)), hn::BitCast(d, low));
    }
    hn::StoreU(sum, d, dst);
  }
};

// Kernel coefficients times a scale, for kernels that are too long to be scaled beforehand.
struct ScaledKernel {
  const std::int16_t* kernel;
  float scale;
  float operator[](std::ptrdiff_t i) const { return static_cast<float>(kernel[i]) * scale; }
};

// The plain order of summation. kTaps is the kernel's length, or 0 where it is known at run time only. `Kernel` is
// anything that has an operator[] giving coefficients.
template <int kTaps, class Kernel>
struct AscendingOrder {
  // Output rows that are summed together. No more than the kernel has taps.
  static constexpr int kRowGroup = kTaps == 3 ? 3 : 4;

  Kernel kernel;
  std::ptrdiff_t length;

  std::ptrdiff_t taps() const { return kTaps == 0 ? length : kTaps; }

  // The sums of kRows output rows at column x: row r starts with line(r).
  template <int kRows, int kVectors, class D, class Lines>
  HWY_INLINE void sums(D d, const Lines& lines, std::ptrdiff_t x, hn::Vec<D> (&acc)[kRows][kVectors]) const {
    // Line j meets tap j - r of row r.
    const auto add = [&](auto rows, const hn::Vec<D>(&line)[kVectors], std::ptrdiff_t j) HWY_ATTR {
      unrolled<rows.last - rows.first>([&](auto n) HWY_ATTR {
        constexpr int r = rows.first + n;
        const auto weight = hn::Set(d, kernel[j - r]);
        unrolled<kVectors>([&](auto v) HWY_ATTR { acc[r][v] = hn::Add(acc[r][v], hn::Mul(line[v], weight)); });
      });
    };
    const auto load = [&](std::ptrdiff_t j, hn::Vec<D>(&line)[kVectors]) HWY_ATTR {
      const auto* src = lines(j) + x;
      unrolled<kVectors>(
          [&](auto v) HWY_ATTR { line[v] = loadLanes(d, src + v * static_cast<std::ptrdiff_t>(hn::Lanes(d))); });
    };
    hn::Vec<D> line[kVectors];
    unrolled<kRows>([&](auto j) HWY_ATTR {
      load(j, line);
      add(RowRange<0, j>{}, line, j);
      const auto weight = hn::Set(d, kernel[0]);
      unrolled<kVectors>([&](auto v) HWY_ATTR { acc[j][v] = hn::Mul(line[v], weight); });
    });
    for (std::ptrdiff_t j = kRows; j < taps(); ++j) {
      load(j, line);
      add(RowRange<0, kRows>{}, line, j);
    }
    unrolled<kRows - 1>([&](auto n) HWY_ATTR {
      load(taps() + n, line);
      add(RowRange<n + 1, kRows>{}, line, taps() + n);
    });
  }

 private:
  template <int kFirst, int kLast>
  struct RowRange {
    static constexpr int first = kFirst;
    static constexpr int last = kLast;
  };
};

// The order for a kernel that reads the same from both ends: the middle product first, then outwards the sum of two
// lines times their common coefficient.
template <int kTaps>
struct SymmetricOrder {
  static constexpr int kRowGroup = 3;

  const float* kernel;

  std::ptrdiff_t taps() const { return kTaps; }

  template <int kRows, int kVectors, class D, class Lines>
  HWY_INLINE void sums(D d, const Lines& lines, std::ptrdiff_t x, hn::Vec<D> (&acc)[kRows][kVectors]) const {
    constexpr int kMiddle = kTaps / 2;
    unrolled<kVectors>([&](auto v) HWY_ATTR {
      hn::Vec<D> line[kRows + kTaps - 1];
      unrolled<kRows + kTaps - 1>([&](auto j) HWY_ATTR {
        line[j] = loadLanes(d, lines(j) + x + v * static_cast<std::ptrdiff_t>(hn::Lanes(d)));
      });
      unrolled<kRows>([&](auto r) HWY_ATTR {
        acc[r][v] = hn::Mul(line[r + kMiddle], hn::Set(d, kernel[kMiddle]));
        unrolled<kMiddle>([&](auto n) HWY_ATTR {
          const auto pair = hn::Add(line[r + kMiddle - 1 - n], line[r + kMiddle + 1 + n]);
          acc[r][v] = hn::Add(acc[r][v], hn::Mul(pair, hn::Set(d, kernel[kMiddle - 1 - n])));
        });
      });
    });
  }
};

// kRows rows of `count` sums each, from `dst` on. The destination must be no part of the lines: the last vector of
// a row overlaps the one before.
template <int kRows, int kVectors, class Sum, class Order, class Lines>
void sumLines(const Sum& sum, const Order& order, const Lines& lines, std::ptrdiff_t count, typename Sum::Dst* dst,
              int dstStep) {
  const auto sumsAt = [&](auto d, auto vectors, std::ptrdiff_t x) HWY_ATTR {
    hn::Vec<decltype(d)> acc[kRows][vectors];
    order.sums(d, lines, x, acc);
    unrolled<kRows>([&](auto r) HWY_ATTR {
      auto* to = row(dst, dstStep, r) + x;
      unrolled<vectors>(
          [&](auto v) HWY_ATTR { sum.store(d, acc[r][v], to + v * static_cast<std::ptrdiff_t>(hn::Lanes(d))); });
    });
  };
  constexpr std::integral_constant<int, 1> kOne;
  constexpr std::integral_constant<int, kVectors> kSeveral;
  const hn::ScalableTag<typename Sum::Lane> d;
  const auto lanes = static_cast<std::ptrdiff_t>(hn::Lanes(d));
  std::ptrdiff_t x = 0;
  if (count < lanes) {
    for (; x < count; ++x) sumsAt(hn::CappedTag<typename Sum::Lane, 1>{}, kOne, x);
    return;
  }
  for (; x + kVectors * lanes <= count; x += kVectors * lanes) sumsAt(d, kSeveral, x);
  for (; x + lanes <= count; x += lanes) sumsAt(d, kOne, x);
  if (x < count) sumsAt(d, kOne, count - lanes);
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

// The low form, the same in both stages: element types, and run(sum, order) for a kernel.
struct FormLow_16s {
  using Src = std::int16_t;
  using Dst = std::int16_t;
  using Kernel = std::int16_t;

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
  // One kilobyte of stack holds the coefficients of any usual kernel.
  constexpr int kLongest = 256;
  const ScaledKernel scaled = {pKernel, scale};
  if (kernelSize > kLongest) return run(AscendingOrder<0, ScaledKernel>{scaled, kernelSize});
  float kernel[kLongest];
  for (int i = 0; i < kernelSize; ++i) kernel[i] = scaled[i];
  withKernelLength<const float*>(kernel, kernelSize, run);
}

}  // namespace rvp::n8
