// The two roads of the watershed. Arguments are those of the exported calls, checked.
#pragma once

#include <cstdint>

#include "rvpcv/types.h"

namespace rvp::n8 {

// 8u with labels 8u, 16u.
template <class Label>
void ownSegmentWaterhedPQ(const std::uint8_t* pSrc, int srcStep, Label* pMarker, int markerStep, RvpiSize roiSize,
                          int neighbourKind, int segmentFlags, std::uint8_t* pBuffer);

// 8u with labels 8u, 16u; 32f with labels 16u.
template <class Pixel, class Label>
void floodByDistance(const Pixel* pSrc, int srcStep, Label* pMarker, int markerStep, RvpiSize roiSize,
                     int neighbourKind, int segmentFlags, std::uint8_t* pBuffer);

}  // namespace rvp::n8
