// Chamfer distances in integers, where the costs of a mask make a norm.
#pragma once

#include <cstdint>

#include "distance/chamfer_passes.h"

namespace rvp::n8 {

// Whether no chain of moves is cheaper than the moves within its cone: see chamfer_norm.cpp.
constexpr bool isNorm(const ChamferMask& mask) {
  return mask.moves == ChamferMoves::axis || mask.moves == ChamferMoves::knight ||
         (mask.moves == ChamferMoves::diagonal && mask.diagonal >= mask.axis);
}

// Does what chamferPasses does, for a mask that is a norm. T is an unsigned integer.
template <class T>
void chamferNorm(const std::uint8_t* src, int srcStep, T* dst, int dstStep, RvpiSize size, const ChamferMask& mask);

}  // namespace rvp::n8
