// The two passes of a chamfer mask over an image, whatever the mask.
#pragma once

#include <cstdint>
#include <limits>

#include "rvpcv/types.h"

namespace rvp::n8 {

// Which moves a mask has: each kind has those of the kinds before it too.
enum class ChamferMoves {
  axis,      // (1, 0)
  diagonal,  // (1, 1)
  knight,    // (2, 1)
  twoSteps,  // (2, 0) and (2, 2)
};

// A mask and the costs of its moves, above 0 for the moves that it has.
struct ChamferMask {
  ChamferMoves moves = ChamferMoves::axis;
  float axis = 0;
  float diagonal = 0;
  float knight = 0;
  float doubleAxis = 0;
  float doubleDiagonal = 0;
};

// The distance of a pixel that no seed reaches, at which all sums saturate.
template <class T>
constexpr float kFarthest = static_cast<float>(std::numeric_limits<T>::max());

// Writes the distances of all pixels. Source and destination may be the same image. For an integer T the costs are
// whole numbers of at most kFarthest<T>.
template <class T>
void chamferPasses(const std::uint8_t* src, int srcStep, T* dst, int dstStep, RvpiSize size,
                   const ChamferMask& mask);

}  // namespace rvp::n8
