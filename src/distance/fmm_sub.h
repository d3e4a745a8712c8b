// The fast-marching update in integers, for fronts that step 64 units per pixel.
#pragma once

#include <cstdint>

namespace rvp::n8 {

// How much earlier than one step after the earlier of two axis neighbours a front arrives, by how much later the
// other neighbour was reached: 64 - (d + sqrt(2 * 64^2 - d^2)) / 2 for a difference of d, rounded to nearest. From
// a difference of 64 on the second neighbour is of no help.
inline constexpr std::int32_t FMM_SUB[65] = {19, 18, 18, 17, 17, 16, 16, 15, 15, 14, 14, 14, 13, 13, 12, 12, 11,
                                             11, 11, 10, 10, 9,  9,  9,  8,  8,  8,  7,  7,  7,  6,  6,  6,  5,
                                             5,  5,  4,  4,  4,  4,  3,  3,  3,  3,  2,  2,  2,  2,  2,  1,  1,
                                             1,  1,  1,  1,  1,  0,  0,  0,  0,  0,  0,  0,  0,  0};

}  // namespace rvp::n8
