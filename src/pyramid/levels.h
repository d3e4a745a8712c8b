// The sizes of a pyramid's levels, by the rule that least(n) to most(n) are the extents above n:
//
//   least(1) = 1,  least(n) = max(trunc((n - 1) * rate) + 1, n + 1)
//   most(n)  = max(trunc(n * rate), n + 1)
//
// with products in float. As least(n) is most(n - 1) + 1 whatever the rounding, every extent has exactly one below
// it. 64 bits hold ten times the largest extent.
#pragma once

#include <algorithm>
#include <cstdint>

#include "frame/checks.h"
#include "rvpcv/types.h"

namespace rvp::n8 {

// A NaN is refused as well.
inline RvpStatus badRate(float rate) { return faultIf(!(rate > 1.0F && rate <= 10.0F), rvpStatusBadArgument); }

struct ExtentRange {
  std::int64_t least;
  std::int64_t most;
};

inline ExtentRange extentsAbove(std::int64_t n, float rate) {
  const auto times = [rate](std::int64_t extent) {
    return static_cast<std::int64_t>(static_cast<float>(extent) * rate);
  };
  return {n == 1 ? 1 : std::max(times(n - 1) + 1, n + 1), std::max(times(n), n + 1)};
}

// Finds the extent from an estimate that rounding to float may leave some hundreds off near 2^31.
inline int extentBelow(int n, float rate) {
  auto below = std::max<std::int64_t>(static_cast<std::int64_t>(static_cast<float>(n) / rate + 0.5F), 1);
  while (n < extentsAbove(below, rate).least) --below;
  while (n > extentsAbove(below, rate).most) ++below;
  return static_cast<int>(below);
}

inline RvpiSize sizeBelow(RvpiSize size, float rate) {
  return {extentBelow(size.width, rate), extentBelow(size.height, rate)};
}

// Nothing is below 1 x 1.
inline bool isLastLevel(RvpiSize size) { return size.width < 2 && size.height < 2; }

// The number of levels below a size, counted up to `most`.
inline int levelsBelow(RvpiSize size, float rate, int most) {
  int count = 0;
  for (; count < most && !isLastLevel(size); ++count) size = sizeBelow(size, rate);
  return count;
}

}  // namespace rvp::n8
