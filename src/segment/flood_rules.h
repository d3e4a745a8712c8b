// What a flood fill takes in: tests on the pixels of a vector, whose first element is element i of a block. Only
// those of which kNeighbours is true look at a neighbour that is taken in already.
#pragma once

#include <type_traits>

#include "frame/simd.h"
#include "segment/flood_block.h"

namespace rvp::n8 {

// Equal to the seed. A NaN equals nothing, and zeros of both signs are equal.
template <class T, int kChannels>
struct EqualTest {
  static constexpr bool kNeighbours = false;
  PatternOf<T, kChannels> seed;

  template <class D, class V>
  auto operator()(D d, V candidate, V /*neighbour*/, int i) const {
    return hn::Eq(candidate, hn::Load(d, seed.at + i));
  }
};

// lower <= candidate <= upper.
template <class T, int kChannels>
struct RangeTest {
  static constexpr bool kNeighbours = false;
  PatternOf<T, kChannels> lower;
  PatternOf<T, kChannels> upper;

  template <class D, class V>
  auto operator()(D d, V candidate, V /*neighbour*/, int i) const {
    const auto low = hn::Load(d, lower.at + i);
    const auto high = hn::Load(d, upper.at + i);
    if constexpr (std::is_floating_point_v<T>) {
      return hn::And(hn::Ge(candidate, low), hn::Le(candidate, high));
    } else {
      // Unsigned: both differences saturate at 0.
      return hn::Eq(hn::Or(hn::SaturatedSub(low, candidate), hn::SaturatedSub(candidate, high)), hn::Zero(d));
    }
  }
};

// neighbour - minDelta <= candidate <= neighbour + maxDelta; in float |candidate + offset - neighbour| <= half,
// each step rounded, with half = (minDelta + maxDelta) / 2 and offset = (minDelta - maxDelta) / 2.
template <class T, int kChannels>
struct GradientTest {
  static constexpr bool kNeighbours = true;
  PatternOf<T, kChannels> first;   // minDelta, or half
  PatternOf<T, kChannels> second;  // maxDelta, or offset

  template <class D, class V>
  auto operator()(D d, V candidate, V neighbour, int i) const {
    const auto a = hn::Load(d, first.at + i);
    const auto b = hn::Load(d, second.at + i);
    if constexpr (std::is_floating_point_v<T>) {
      return hn::Le(hn::Abs(hn::Sub(hn::Add(candidate, b), neighbour)), a);
    } else {
      const auto below = hn::SaturatedSub(hn::SaturatedSub(neighbour, a), candidate);
      const auto above = hn::SaturatedSub(hn::SaturatedSub(candidate, neighbour), b);
      return hn::Eq(hn::Or(below, above), hn::Zero(d));
    }
  }
};

}  // namespace rvp::n8
