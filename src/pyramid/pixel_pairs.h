// Every second pixel of a row, and pixels side by side.
#pragma once

#include <cstddef>
#include <cstdint>
#include <type_traits>

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

// Elements 0, 2, 4 and so on: words as 32-bit integers; floats as they are, but in an order of their own.
template <class D>
hn::Vec<D> everySecond(D d, const std::uint16_t* src) {
  const auto both = hn::BitCast(d, hn::LoadU(hn::Repartition<std::uint16_t, D>(), src));
  return hn::And(both, hn::Set(d, 0xFFFF));
}
template <class D>
hn::Vec<D> everySecond(D d, const float* src) {
  if constexpr (hn::MaxLanes(D()) == 1) {
    return hn::LoadU(d, src);
  } else {
    // Even lanes take the first half of them, odd ones the second.
    return hn::OddEven(hn::LoadU(d, src + hn::Lanes(d) - 1), hn::LoadU(d, src));
  }
}

// What was made of such lanes, brought in order.
template <class D>
hn::Vec<D> inOrder(D d, hn::Vec<D> lanes) {
  if constexpr (hn::MaxLanes(D()) == 1 || !std::is_floating_point_v<hn::TFromD<D>>) {
    return lanes;
  } else {
    alignas(32) static constexpr std::int32_t kOrder[2][8] = {{0, 2, 1, 3}, {0, 2, 4, 6, 1, 3, 5, 7}};
    return hn::TableLookupLanes(lanes, hn::SetTableIndices(d, kOrder[hn::MaxLanes(D()) / 8]));
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
