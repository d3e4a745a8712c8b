// Every second pixel of a row, and pixels side by side.
#pragma once

#include <cstddef>
#include <cstdint>

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

}  // namespace rvp::n8
