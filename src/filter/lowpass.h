// The sum over a square mask: what smoothing means to the operations that build on it.
#pragma once

#include <cstdint>

#include "rvpcv/types.h"

namespace rvp::n8 {

// Bytes of scratch of rvpiFilterLowpassBorder_32f_C1R, before its checks of the mask and the size's range.
std::int64_t lowpassBufferBytes(int width, int maskSide);

}  // namespace rvp::n8
