// Sums of lines of samples with the coefficients of a symmetric kernel: the arithmetic of a down layer.
//
// Line i of the column pass is a filtered row; in the row pass it is the extended source row, moved on by i pixels.
// So both passes are
//
//   out[x] = kernel[0] * line(0)[x] + kernel[1] * line(1)[x] + ...
//
// `emit` gets the tag, the lanes and the place of each vector of results, some of them twice. kLines is the number
// of taps where the compiler should know it, else 0. halvedRow makes every second pixel of the row pass: bytes, and
// words of one channel with the kernel 1 4 6 4 1, as sums of neighbouring products, everything else as lines of
// every second pixel. It may read up to kPairSlack elements behind what it needs of the source and write as many
// behind the row; pixels of several bytes take scratch for as many bytes as the source has. `next` is where the
// next row has what the source has of this one: it is asked for bit by bit, so that it arrives from memory while
// this row is worked on.
#pragma once

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <type_traits>

#include "filter/separable.h"
#include "frame/scaling.h"
#include "frame/simd.h"
#include "pyramid/pixel_pairs.h"

namespace rvp::n8 {

// The kernel's length where the compiler should know it, else 0.
template <int kTaps>
struct Taps {
  int count;
  constexpr int size() const { return kTaps == 0 ? count : kTaps; }
  constexpr int centre() const { return size() / 2; }
};

// Filtered integers have 3 fractional bits, which leave the pixel rounded to nearest, ties up. A value near the end
// of its range must not wrap: it is saturated, or halved before it is rounded, which comes to the same.
constexpr int kFractionBits = 3;

template <class T, class D>
void storePixels(D d, hn::Vec<D> value, T* dst) {
  if constexpr (std::is_same_v<T, std::uint8_t>) {
    static_assert(sizeof(hn::TFromD<D>) == 2);
    const auto half = hn::Set(d, 1 << (kFractionBits - 1));
    const hn::Rebind<T, D> dT;
    hn::StoreU(hn::DemoteTo(dT, hn::ShiftRight<kFractionBits>(hn::SaturatedAdd(value, half))), dT, dst);
  } else if constexpr (std::is_same_v<T, std::uint16_t>) {
    const auto rounded = hn::ShiftRight<1>(hn::Add(hn::ShiftRight<kFractionBits - 1>(value), hn::Set(d, 1)));
    const hn::Rebind<T, D> dT;
    hn::StoreU(hn::DemoteTo(dT, rounded), dT, dst);
  } else {
    hn::StoreU(value, d, dst);
  }
}

// The column pass with its results as pixels.
template <class Sums, class Lines>
void storeColumns(const Sums& sums, std::ptrdiff_t count, const Lines& lines, typename Sums::Src* dst) {
  const auto store = [=](auto d, auto value, std::ptrdiff_t x) { storePixels(d, value, dst + x); };
  if constexpr (requires { sums.pixels(count, lines, dst, store); }) {
    sums.pixels(count, lines, dst, store);
  } else {
    sums.columns(count, lines, store);
  }
}

// Pairs of bytes of neighbouring pixels: where they stand, or in the scratch.
template <int kChannels>
const std::uint8_t* bytePairs(const std::uint8_t* source, std::ptrdiff_t pairs, std::uint8_t* scratch) {
  if constexpr (kChannels == 1) return source;
  pairBytes(source, pairs, scratch);
  return scratch;
}

// The left half and the centre of a kernel: copies, where the compiler knows how many, as stores could change what
// they were copied from, for all that it knows.
template <int kTaps, class K>
auto halfKernel(const K* kernel) {
  if constexpr (kTaps == 0) {
    return kernel;
  } else {
    std::array<K, kTaps / 2 + 1> half;
    std::copy_n(kernel, half.size(), half.begin());
    return half;
  }
}

// Bytes with any kernel: products of 16-bit integers, whose 32-bit sums wrap, shifted and saturated to 16 bits.
template <int kTaps>
struct ByteSums {
  using Src = std::uint8_t;
  using Row = std::int16_t;
  static constexpr int kLines = kTaps;
  static constexpr int kRowShift = 8;
  static constexpr int kColumnShift = 15;

  const std::int16_t* kernel;
  Taps<kTaps> taps;

  template <int kChannels>
  void rows(const Src* source, const Src*, std::ptrdiff_t count, Row* dst) const {
    sums<kRowShift>(
        count, [=](int i) { return source + std::ptrdiff_t{i} * kChannels; },
        [=](auto d, auto value, std::ptrdiff_t x) { hn::StoreU(value, d, dst + x); });
  }
  template <class Lines, class Emit>
  void columns(std::ptrdiff_t count, const Lines& lines, const Emit& emit) const {
    sums<kColumnShift>(count, lines, emit);
  }
  template <int kChannels>
  void halvedRow(const Src* source, const Src*, std::ptrdiff_t pixels, std::uint8_t* scratch, Row* dst) const {
    const Src* const pairs = bytePairs<kChannels>(source, pixels + taps.centre(), scratch);
    coverWithVectors<std::int16_t>(pixels * kChannels, [&](auto d, std::ptrdiff_t x) {
      using D = decltype(d);
      const auto lanes = static_cast<std::ptrdiff_t>(hn::Lanes(d));
      if constexpr (hn::MaxLanes(D()) >= 8) {
        const hn::RepartitionToWide<D> d32;
        auto low = hn::Zero(d32);
        auto high = low;
        for (int i = 0; i < taps.size(); i += 2) {
          const Src* const at = pairs + 2 * x + std::ptrdiff_t{i} * kChannels;
          const auto both = hn::BitCast(d, hn::Set(d32, pair(i)));
          auto unused = hn::Zero(d32);
          low = hn::ReorderWidenMulAccumulate(d32, loadAs(d, at), both, low, unused);
          high = hn::ReorderWidenMulAccumulate(d32, loadAs(d, at + lanes), both, high, unused);
        }
        hn::StoreU(narrowPair<Row>(hn::ShiftRight<kRowShift>(low), hn::ShiftRight<kRowShift>(high)), d, dst + x);
      } else {
        for (std::ptrdiff_t lane = 0; lane < lanes; ++lane) {
          std::uint32_t sum = 0;
          for (int i = 0; i < taps.size(); ++i) {
            const int sample = pairs[2 * (x + lane) + std::ptrdiff_t{i - i % 2} * kChannels + i % 2];
            sum += static_cast<std::uint32_t>(sample * kernel[i]);
          }
          dst[x + lane] = saturate<Row>(static_cast<std::int32_t>(sum) >> kRowShift);
        }
      }
    });
  }

 private:
  // Coefficients i and i + 1 in one; behind the last there is a zero.
  std::int32_t pair(int i) const {
    std::int32_t both;
    std::memcpy(&both, kernel + i, sizeof(both));
    return both;
  }

  template <int kShift, class Lines, class Emit>
  void sums(std::ptrdiff_t count, const Lines& lines, const Emit& emit) const {
    coverWithVectors<std::int16_t>(count, [&](auto d, std::ptrdiff_t x) {
      using D = decltype(d);
      if constexpr (hn::MaxLanes(D()) >= 8) {
        const hn::RepartitionToWide<D> d32;
        auto low = hn::Zero(d32);
        auto high = low;
        for (int i = 0; i < taps.size(); i += 2) {
          const auto even = loadAs(d, lines(i) + x);
          const auto odd = i + 1 < taps.size() ? loadAs(d, lines(i + 1) + x) : hn::Zero(d);
          const auto both = hn::BitCast(d, hn::Set(d32, pair(i)));
          auto unused = hn::Zero(d32);
          low = hn::ReorderWidenMulAccumulate(d32, hn::InterleaveLower(d, even, odd), both, low, unused);
          high = hn::ReorderWidenMulAccumulate(d32, hn::InterleaveUpper(d, even, odd), both, high, unused);
        }
        // Both the interleaving and the narrowing work on halves of 16 bytes, so that lanes come out in order.
        emit(d, hn::ReorderDemote2To(d, hn::ShiftRight<kShift>(low), hn::ShiftRight<kShift>(high)), x);
      } else {
        const hn::Rebind<std::int32_t, D> d32;
        auto sum = hn::Zero(d32);
        for (int i = 0; i < taps.size(); ++i)
          sum = hn::Add(
              sum, hn::Mul(hn::PromoteTo(d32, loadAs(d, lines(i) + x)), hn::Set(d32, std::int32_t{kernel[i]})));
        emit(d, hn::DemoteTo(d, hn::ShiftRight<kShift>(sum)), x);
      }
    });
  }
};

// The plain sum with the weights 1 4 6 4 1.
template <class D, class Line>
hn::Vec<D> binomialSum(D, const Line& line) {
  const auto middle = line(2);
  const auto inner = hn::Add(hn::Add(line(1), line(3)), middle);
  return hn::Add(hn::Add(line(0), line(4)), hn::Add(hn::ShiftLeft<2>(inner), hn::Add(middle, middle)));
}

// Bytes with the kernel 1 4 6 4 1, whose coefficients are 512, 2048 and 3072. With R the plain weighted sum of a
// row, the row's value in ByteSums is 512 R >> 8 = 2 R, with nothing lost, and with T the weighted sum of such R
// the column's is 512 * 2 T >> 15 = T >> 5. R is at most 16 * 255 and T at most 16 * R = 65280, so 16 bits hold
// them: for every image, rate and border these are the bytes that ByteSums gives. At rate 2 a pixel is
// ((T >> 5) + 4) >> 3 = (T + 128) >> 8.
struct BinomialByteSums {
  using Src = std::uint8_t;
  using Row = std::int16_t;
  static constexpr int kLines = 5;

  template <int kChannels>
  void rows(const Src* source, const Src* next, std::ptrdiff_t count, Row* dst) const {
    const hn::ScalableTag<Row> d;
    const auto lanes = static_cast<std::ptrdiff_t>(hn::Lanes(d));
    if (kChannels > 1 || count < 2 * lanes) {
      const auto line = [=](int i) { return source + std::ptrdiff_t{i} * kChannels; };
      coverWithVectors<Row>(count, [=](auto dRow, std::ptrdiff_t x) {
        hwy::Prefetch(next + x);
        hn::StoreU(sum(dRow, line, x), dRow, dst + x);
      });
      return;
    }
    for (std::ptrdiff_t x = 0; x < count; x += 2 * lanes) {
      const std::ptrdiff_t at = std::min(x, count - 2 * lanes);
      hwy::Prefetch(next + at);
      hn::StoreInterleaved2(pairSum<1>(d, source + at), pairSum<1>(d, source + at + 1), d, dst + at);
    }
  }
  template <class Lines, class Emit>
  void columns(std::ptrdiff_t count, const Lines& lines, const Emit& emit) const {
    coverWithVectors<std::int16_t>(count, [&](auto d, std::ptrdiff_t x) {
      const hn::RebindToUnsigned<decltype(d)> du;
      emit(d, hn::BitCast(d, hn::ShiftRight<5>(hn::BitCast(du, sum(d, lines, x)))), x);
    });
  }
  template <int kChannels>
  static void halvedRow(const Src* source, const Src*, std::ptrdiff_t pixels, std::uint8_t* scratch, Row* dst) {
    const Src* const pairs = bytePairs<kChannels>(source, pixels + 2, scratch);
    coverWithVectors<Row>(pixels * kChannels, [=](auto d, std::ptrdiff_t x) {
      hn::StoreU(pairSum<kChannels>(d, pairs + 2 * x), d, dst + x);
    });
  }

 private:
  // A sum along the row, of pairs of bytes.
  template <int kChannels, class D>
  static hn::Vec<D> pairSum(D d, const Src* pairs) {
    const hn::Repartition<std::uint8_t, D> dSrc;
    const hn::Repartition<std::int8_t, D> dWeights;
    const auto term = [&](int i, std::int16_t weights) {
      return multipliedBytePairs(d, hn::LoadU(dSrc, pairs + std::ptrdiff_t{2} * i * kChannels),
                                 hn::BitCast(dWeights, hn::Set(d, weights)));
    };
    // The weights 1 and 4, 6 and 4, 1 and 0, the first of each in the lower byte.
    return hn::Add(hn::Add(term(0, 0x0401), term(1, 0x0406)), term(2, 0x0001));
  }

  // Wraps as a signed number where T passes 2^15.
  template <class D, class Lines>
  static hn::Vec<D> sum(D d, const Lines& lines, std::ptrdiff_t x) {
    return binomialSum(d, [&](int i) { return loadAs(d, lines(i) + x); });
  }
};

// 16-bit words: 32-bit sums along the row, which wrap; so they are at most 2^21 in magnitude after the shift. Down
// the column products of that and 15 bits are summed in double, exactly up to 2^16 taps.
template <int kTaps>
struct WordSums {
  using Src = std::uint16_t;
  using Row = std::int32_t;
  static constexpr int kLines = kTaps;

  const std::int16_t* kernel;
  Taps<kTaps> taps;

  template <int kChannels>
  void rows(const Src* source, const Src*, std::ptrdiff_t count, Row* dst) const {
    coverWithVectors<std::int32_t>(count, [&](auto d, std::ptrdiff_t x) {
      hn::StoreU(rowSum(d, [&](int i) { return loadAs(d, source + x + std::ptrdiff_t{i} * kChannels); }), d,
                 dst + x);
    });
  }
  template <int kChannels>
  void halvedRow(const Src* source, const Src* next, std::ptrdiff_t pixels, std::uint8_t*, Row* dst) const {
    halvedRowOfLanes<kTaps, kChannels>(source, next, pixels, dst,
                                       [sums = *this](auto d, const auto& line) { return sums.rowSum(d, line); });
  }

  template <class Lines, class Emit>
  void columns(std::ptrdiff_t count, const Lines& lines, const Emit& emit) const {
    coverWithVectors<double>(count, [&](auto d, std::ptrdiff_t x) {
      const hn::Rebind<std::int32_t, decltype(d)> d32;
      const int c = taps.centre();
      const auto term = [&](hn::Vec<decltype(d32)> samples, int i) {
        return hn::Mul(hn::PromoteTo(d, samples), hn::Set(d, static_cast<double>(kernel[i])));
      };
      auto sum = term(hn::LoadU(d32, lines(c) + x), c);
      for (int i = 0; i < c; ++i)
        sum = hn::Add(sum, term(hn::Add(hn::LoadU(d32, lines(i) + x), hn::LoadU(d32, lines(2 * c - i) + x)), i));
      // Rounded down by way of a positive number; with the sum's fraction that has 44 bits.
      constexpr double kLimit = 1 << 30;
      constexpr double kUnit = 1.0 / (1 << 13);
      const auto limited =
          hn::Min(hn::Max(hn::Mul(sum, hn::Set(d, kUnit)), hn::Set(d, -kLimit)), hn::Set(d, kLimit - 1));
      const auto positive = hn::DemoteTo(d32, hn::Add(limited, hn::Set(d, kLimit)));
      emit(d32, hn::Sub(positive, hn::Set(d32, 1 << 30)), x);
    });
  }

 private:
  template <class D, class Line>
  hn::Vec<D> rowSum(D d, const Line& line) const {
    const int c = taps.centre();
    auto sum = hn::Mul(line(c), hn::Set(d, std::int32_t{kernel[c]}));
    for (int i = 0; i < c; ++i)
      sum = hn::Add(sum, hn::Mul(hn::Add(line(i), line(2 * c - i)), hn::Set(d, std::int32_t{kernel[i]})));
    return hn::ShiftRight<10>(sum);
  }
};

// Words with the kernel 1 4 6 4 1: the row's value in WordSums is 512 R >> 10 = R >> 1 and the column's, with T the
// weighted sum of such values, 512 T >> 13 = T >> 4. R is at most 2^20 and T at most 2^23.
// At rate 2 a pixel is ((T >> 4) + 4) >> 3 = (T + 64) >> 7.
struct BinomialWordSums {
  using Src = std::uint16_t;
  using Row = std::int32_t;
  static constexpr int kLines = 5;

  template <int kChannels>
  void rows(const Src* source, const Src*, std::ptrdiff_t count, Row* dst) const {
    coverWithVectors<Row>(count, [&](auto d, std::ptrdiff_t x) {
      const auto line = [&](int i) { return loadAs(d, source + x + std::ptrdiff_t{i} * kChannels); };
      hn::StoreU(hn::ShiftRight<1>(binomialSum(d, line)), d, dst + x);
    });
  }
  template <int kChannels>
  void halvedRow(const Src* source, const Src* next, std::ptrdiff_t pixels, std::uint8_t*, Row* dst) const {
    if constexpr (kChannels > 1) {
      halvedRowOfPixels<kLines, kChannels>(source, next, pixels, dst, [](auto d, const auto& line) {
        return hn::ShiftRight<1>(binomialSum(d, line));
      });
    } else {
      coverWithVectors<Row>(pixels, [=](auto d, std::ptrdiff_t x) {
        hn::StoreU(hn::ShiftRight<1>(pairSum(d, source + 2 * x)), d, dst + x);
      });
    }
  }
  template <class Lines, class Emit>
  void columns(std::ptrdiff_t count, const Lines& lines, const Emit& emit) const {
    coverWithVectors<Row>(count,
                          [&](auto d, std::ptrdiff_t x) { emit(d, hn::ShiftRight<4>(sum(d, lines, x)), x); });
  }
  template <class Lines, class Emit>
  void pixels(std::ptrdiff_t count, const Lines& lines, Src* dst, const Emit& emit) const {
    const hn::ScalableTag<Row> d;
    const auto lanes = static_cast<std::ptrdiff_t>(hn::Lanes(d));
    if (count < 2 * lanes) return columns(count, lines, emit);
    const hn::Repartition<std::int16_t, decltype(d)> d16;
    const hn::RebindToUnsigned<decltype(d16)> dPixel;
    const auto lessHalf = [&](std::ptrdiff_t x) {
      return hn::ShiftRight<7>(hn::Add(sum(d, lines, x), hn::Set(d, (1 << 6) - (kHalf << 7))));
    };
    for (std::ptrdiff_t next = 0; next < count; next += 2 * lanes) {
      const std::ptrdiff_t x = std::min(next, count - 2 * lanes);
      const auto both = hn::BitCast(dPixel, narrowPair<std::int16_t>(lessHalf(x), lessHalf(x + lanes)));
      hn::StoreU(hn::Xor(both, hn::Set(dPixel, kHalf)), dPixel, dst + x);
    }
  }

 private:
  static constexpr int kHalf = 1 << 15;

  // A sum along the row. Products of pairs want numbers with a sign, so half the range is taken off and added
  // again; without it a sum is at most 2^19 in magnitude.
  template <class D>
  static hn::Vec<D> pairSum(D d, const Src* source) {
    const hn::Repartition<std::int16_t, D> d16;
    const hn::RebindToUnsigned<decltype(d16)> dSrc;
    auto sum = hn::Set(d, 16 * kHalf);
    const auto add = [&](int i, std::int32_t weights) {
      const auto pairs = hn::BitCast(d16, hn::Xor(hn::LoadU(dSrc, source + i), hn::Set(dSrc, kHalf)));
      auto unused = hn::Zero(d);
      sum = hn::ReorderWidenMulAccumulate(d, pairs, hn::BitCast(d16, hn::Set(d, weights)), sum, unused);
    };
    // The weights 1 and 4, 6 and 4, 1 and 0, the first of each in the lower word.
    add(0, 0x00040001);
    add(2, 0x00040006);
    add(4, 0x00000001);
    return sum;
  }

  template <class D, class Lines>
  static hn::Vec<D> sum(D d, const Lines& lines, std::ptrdiff_t x) {
    return binomialSum(d, [&](int i) { return hn::LoadU(d, lines(i) + x); });
  }
};

// Floats, from the centre outwards.
template <int kTaps>
struct FloatSums {
  using Src = float;
  using Row = float;
  static constexpr int kLines = kTaps;

  const float* kernel;
  Taps<kTaps> taps;

  template <int kChannels>
  void rows(const Src* source, const Src* next, std::ptrdiff_t count, Row* dst) const {
    columns(
        count, [=](int i) { return source + std::ptrdiff_t{i} * kChannels; },
        [=](auto d, auto value, std::ptrdiff_t x) {
          hwy::Prefetch(next + x);
          hn::StoreU(value, d, dst + x);
        });
  }
  template <class Lines, class Emit>
  void columns(std::ptrdiff_t count, const Lines& lines, const Emit& emit) const {
    coverWithVectors<float>(count, [=, sum = sumOf()](auto d, std::ptrdiff_t x) {
      emit(d, sum(d, [&](int i) { return hn::LoadU(d, lines(i) + x); }), x);
    });
  }
  template <int kChannels>
  void halvedRow(const Src* source, const Src* next, std::ptrdiff_t pixels, std::uint8_t*, Row* dst) const {
    halvedRowOfLanes<kTaps, kChannels>(source, next, pixels, dst, sumOf());
  }

 private:
  auto sumOf() const {
    return [half = halfKernel<kTaps>(kernel), count = taps](auto d, const auto& line) {
      const int c = count.centre();
      auto sum = hn::Mul(line(c), hn::Set(d, half[static_cast<std::size_t>(c)]));
      for (int i = c - 1; i >= 0; --i)
        sum =
            hn::Add(sum, hn::Mul(hn::Add(line(i), line(2 * c - i)), hn::Set(d, half[static_cast<std::size_t>(i)])));
      return sum;
    };
  }
};

}  // namespace rvp::n8
