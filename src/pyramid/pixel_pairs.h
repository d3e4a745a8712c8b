// Every second pixel of a row, and pixels side by side.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <type_traits>

#include "filter/separable.h"
#include "frame/simd.h"

namespace rvp::n8 {

// All of this reads and writes up to so many elements behind a row.
constexpr std::ptrdiff_t kPairSlack = 16;

// A whole vector is one or two parts of 16 bytes.
template <class D>
constexpr std::ptrdiff_t kPartsOf = hn::MaxLanes(D()) * sizeof(hn::TFromD<D>) / 16;

// The vector of which part(i) gives part i.
template <class D, class Part>
hn::Vec<D> joined(D d, const Part& part) {
  if constexpr (kPartsOf<D> == 2) {
    return hn::Combine(d, part(1), part(0));
  } else {
    return part(0);
  }
}

// Stores part i of a vector at place(i).
template <class D, class Place>
void storeParts(D, hn::Vec<D> v, const Place& place) {
  if constexpr (kPartsOf<D> == 2) {
    const hn::Half<D> dPart;
    hn::StoreU(hn::LowerHalf(dPart, v), dPart, place(0));
    hn::StoreU(hn::UpperHalf(dPart, v), dPart, place(1));
  } else {
    hn::StoreU(v, D(), place(0));
  }
}

// Elements 0, 2, 4 and so on of a row, words as 32-bit integers.
template <class D>
HWY_INLINE hn::Vec<D> everySecond(D d, const std::uint16_t* src) {
  const auto both = hn::BitCast(d, hn::LoadU(hn::Repartition<std::uint16_t, D>(), src));
  return hn::And(both, hn::Set(d, 0xFFFF));
}
template <class D>
HWY_INLINE hn::Vec<D> everySecond(D d, const float* src) {
  if constexpr (hn::MaxLanes(D()) == 1) {
    return hn::LoadU(d, src);
  } else {
    const hn::CappedTag<float, 4> dPart;
    return pickedFloats<0, 2>(joined(d, [=](std::ptrdiff_t part) { return hn::LoadU(dPart, src + 8 * part); }),
                              joined(d, [=](std::ptrdiff_t part) { return hn::LoadU(dPart, src + 8 * part + 4); }));
  }
}

// The 32-bit samples at places[0], places[1] and so on, and the next ones.
template <class D>
struct Neighbours {
  hn::Vec<D> here;
  hn::Vec<D> next;
};
template <class D>
HWY_INLINE Neighbours<D> neighboursAt(D d, const hn::TFromD<D>* src, const std::int32_t* places) {
  using T = hn::TFromD<D>;
  if constexpr (hn::MaxLanes(D()) == 1) {
    return {hn::LoadU(d, src + places[0]), hn::LoadU(d, src + places[0] + 1)};
  } else {
    const hn::FixedTag<T, 2> dTwo;
    const hn::FixedTag<T, 4> dPart;
    const hn::RebindToFloat<D> dFloat;
    const auto pairs = [=](std::ptrdiff_t x) {
      return hn::BitCast(dFloat, joined(d, [=](std::ptrdiff_t part) {
                           const std::int32_t* const at = places + 4 * part + x;
                           return hn::Combine(dPart, hn::LoadU(dTwo, src + at[1]), hn::LoadU(dTwo, src + at[0]));
                         }));
    };
    const auto low = pairs(0);
    const auto high = pairs(2);
    return {hn::BitCast(d, pickedFloats<0, 2>(low, high)), hn::BitCast(d, pickedFloats<1, 3>(low, high))};
  }
}

// Pairs of pixels with three bytes become three pairs of bytes.
inline void pairBytes(const std::uint8_t* src, std::ptrdiff_t pairs, std::uint8_t* dst) {
  alignas(16) static constexpr std::uint8_t kTurns[16] = {0, 3, 1, 4, 2, 5, 6, 9, 7, 10, 8, 11, 12, 12, 12, 12};
  const hn::FixedTag<std::uint8_t, 16> d;
  const auto shuffle = hn::Load(d, kTurns);
  for (std::ptrdiff_t i = 0; i < pairs; i += 2)
    hn::StoreU(hn::TableLookupBytes(hn::LoadU(d, src + 6 * i), shuffle), d, dst + 6 * i);
}

// Taps of the longest kernel whose length is known to the compiler.
constexpr int kMostTaps = 5;

// Every second pixel of a row pass, where sum(d, line) is the sum of lines whose lanes line(i) gives. A pixel of
// three elements is three lanes of four; the fourth is written over by the next pixel.
template <int kTaps, int kChannels, class Row, class T, class Sum>
void halvedRowOfPixels(const T* source, const T* next, std::ptrdiff_t pixels, Row* dst, Sum sum) {
  static_assert(kTaps <= kMostTaps);
  const hn::FixedTag<Row, 4> d;
  std::ptrdiff_t x = 0;
  if constexpr (kTaps != 0) {
    // A vector has pixels x and, where there is room, x + part; they move on together, and only two lines are new.
    const hn::ScalableTag<Row> dParts;
    constexpr std::ptrdiff_t kParts = kPartsOf<decltype(dParts)>;
    using V = hn::Vec<decltype(dParts)>;
    const std::ptrdiff_t part = pixels / kParts;
    const auto lineAt = [=](std::ptrdiff_t pixel) {
      return joined(dParts,
                    [=](std::ptrdiff_t i) { return loadAs(d, source + (pixel + 2 * i * part) * kChannels); });
    };
    V first = lineAt(0);
    V second = lineAt(1);
    V third = lineAt(2);
    for (; x < part; ++x) {
      for (std::ptrdiff_t i = 0; i < kParts; ++i) hwy::Prefetch(next + 2 * (x + i * part) * kChannels);
      const std::array<V, kMostTaps> lines = {first, second, third, lineAt(2 * x + 3), lineAt(2 * x + 4)};
      const V sums = sum(dParts, [&](int i) { return lines[static_cast<std::size_t>(i)]; });
      storeParts(dParts, sums, [=](std::ptrdiff_t i) { return dst + (x + i * part) * kChannels; });
      first = third;
      second = lines[3];
      third = lines[4];
    }
    if (kParts == 2 && part > 0) {
      // The last pixel of the first part wrote over this element.
      const hn::FixedTag<Row, 1> d1;
      const T* const at = source + 2 * part * kChannels;
      hn::StoreU(sum(d1, [=](int i) { return loadAs(d1, at + std::ptrdiff_t{i} * kChannels); }), d1,
                 dst + part * kChannels);
    }
    x = kParts * part;
  }
  for (; x < pixels; ++x)
    hn::StoreU(sum(d, [=](int i) { return loadAs(d, source + (2 * x + i) * kChannels); }), d, dst + x * kChannels);
}

// The same for floats of one channel. A vector has four pixels in each of its parts. Lines 2 i and 2 i + 1 are the
// even and the odd elements of the source, moved on by i.
template <int kTaps, class Sum>
void halvedRowOfFloats(const float* source, const float* next, std::ptrdiff_t pixels, float* dst, Sum sum) {
  static_assert(kTaps <= kMostTaps);
  const hn::ScalableTag<float> d;
  const hn::FixedTag<float, 4> dPart;
  constexpr std::ptrdiff_t kParts = kPartsOf<decltype(d)>;
  using V = hn::Vec<decltype(d)>;
  const std::ptrdiff_t part = pixels / (4 * kParts) * 4;
  const auto four = [=](std::ptrdiff_t x) {
    return joined(d, [=](std::ptrdiff_t i) { return hn::LoadU(dPart, source + x + 2 * i * part); });
  };
  V even = pickedFloats<0, 2>(four(0), four(4));
  V odd = pickedFloats<1, 3>(four(0), four(4));
  for (std::ptrdiff_t x = 0; x < part; x += 4) {
    for (std::ptrdiff_t i = 0; i < kParts; ++i) hwy::Prefetch(next + 2 * (x + i * part));
    const V low = four(2 * x + 8);
    const V high = four(2 * x + 12);
    const V nextEven = pickedFloats<0, 2>(low, high);
    const V nextOdd = pickedFloats<1, 3>(low, high);
    const std::array<V, kMostTaps> lines = {even, odd, hn::CombineShiftRightLanes<1>(d, nextEven, even),
                                            hn::CombineShiftRightLanes<1>(d, nextOdd, odd),
                                            hn::CombineShiftRightLanes<2>(d, nextEven, even)};
    const V sums = sum(d, [&](int i) { return lines[static_cast<std::size_t>(i)]; });
    storeParts(d, sums, [=](std::ptrdiff_t i) { return dst + x + i * part; });
    even = nextEven;
    odd = nextOdd;
  }
  forVectors<float>(kParts * part, pixels, [=](auto dRest, std::ptrdiff_t x) {
    hn::StoreU(sum(dRest, [=](int i) { return everySecond(dRest, source + 2 * x + i); }), dRest, dst + x);
  });
}

template <int kTaps, int kChannels, class Row, class T, class Sum>
void halvedRowOfLanes(const T* source, const T* next, std::ptrdiff_t pixels, Row* dst, const Sum& sum) {
  if constexpr (kChannels > 1) {
    halvedRowOfPixels<kTaps, kChannels>(source, next, pixels, dst, sum);
  } else if constexpr (std::is_same_v<T, float> && kTaps != 0) {
    halvedRowOfFloats<kTaps>(source, next, pixels, dst, sum);
  } else {
    coverWithVectors<Row>(pixels, [=](auto d, std::ptrdiff_t x) {
      hn::StoreU(sum(d, [=](int i) { return everySecond(d, source + 2 * x + i); }), d, dst + x);
    });
  }
}

}  // namespace rvp::n8
