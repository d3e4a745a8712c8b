// Integer results with a scale factor: the exact value times 2^-scaleFactor, rounded to nearest with ties to the
// even neighbour, then saturated to the destination type.
#pragma once

#include <algorithm>
#include <cstdint>
#include <limits>

namespace rvp::n8 {

template <class T, class Wide>
constexpr T saturate(Wide value) {
  return static_cast<T>(std::clamp<Wide>(value, std::numeric_limits<T>::min(), std::numeric_limits<T>::max()));
}

// For a destination T of at most 16 bits and |value| below 2^32. A factor beyond the clamped range changes nothing:
// 2^-34 brings every value to 0, and 2^31 saturates every value but 0.
template <class T>
constexpr T scaleAndSaturate(std::int64_t value, int scaleFactor) {
  static_assert(sizeof(T) <= 2);
  const int shift = std::clamp(scaleFactor, -31, 34);
  if (shift <= 0) return saturate<T>(value * (std::int64_t{1} << -shift));
  const std::int64_t toNearest = (std::int64_t{1} << (shift - 1)) - 1 + ((value >> shift) & 1);
  return saturate<T>((value + toNearest) >> shift);
}

}  // namespace rvp::n8
