// The grid of lines that both Hough transforms vote on.
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <limits>

#include "frame/checks.h"
#include "rvpcv/hough.h"

namespace rvp::n8 {

// The greatest float angle. The number of angles comes from the double below it.
constexpr float kHoughMostTheta = 3.14159F;
constexpr double kHoughHalfTurn = 3.14159;

// A number of steps, cut to an integer. Steps that are too many for any memory count as very many: products with
// the bytes of a cell stay below 2^63.
inline std::int64_t houghSteps(double steps) {
  constexpr double kVeryMany = 0x1p40;
  return steps < kVeryMany ? static_cast<std::int64_t>(steps) : static_cast<std::int64_t>(kVeryMany);
}

inline std::int64_t houghAngles(float deltaTheta) {
  return houghSteps(kHoughHalfTurn / static_cast<double>(deltaTheta)) + 1;
}

inline std::int64_t houghRhos(RvpiSize size, float deltaRho) {
  const std::int64_t extent = 2 * (std::int64_t{size.width} + size.height) + 1;
  return houghSteps(static_cast<double>(static_cast<float>(extent) / deltaRho));
}

inline RvpStatus badHoughSteps(RvpiPointPolar delta) {
  return faultIf(!(delta.rho > 0) || !(delta.theta > 0), rvpStatusBadArgument);
}

constexpr bool passes31Bits(std::int64_t bytes) { return bytes > std::numeric_limits<std::int32_t>::max(); }

}  // namespace rvp::n8
