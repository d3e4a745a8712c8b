// Boundaries between regions of different labels, drawn in the image of labels.
//
// Pixels are visited in raster order, each against its left, upper, upper left and upper right neighbour, the last
// two only if diagonals count. A pair of different labels of which none is `val` gives one of its pixels to the
// boundary, which sets it to `val`: the one of higher cost, and the later one where costs are equal or not asked
// for.
#pragma once

#include <cstddef>
#include <cstdint>

#include "rvpcv/types.h"

namespace rvp::n8 {

// The level of a pixel in a flooded float image: a height, and the cost of the way since it was climbed. The count
// stays below 2^32 as long as the image fits its scratch memory, see watershed_distance.cpp.
struct CountedLevel {
  float height;
  std::uint32_t count;

  friend bool operator<(CountedLevel a, CountedLevel b) {
    return a.height < b.height || (a.height == b.height && a.count < b.count);
  }
  friend bool operator<=(CountedLevel a, CountedLevel b) {
    return a.height < b.height || (a.height == b.height && a.count <= b.count);
  }
};

// 8u, 16u.
template <class Label>
void ownBound(Label* pMarker, int markerStep, RvpiSize roiSize, Label val, bool use4);

// 8u and 16u with the cost std::int32_t; 16u with CountedLevel. `costStep` is in bytes.
template <class Label, class Cost>
void ownBoundSegments(Label* pMarker, int markerStep, const Cost* pCost, std::ptrdiff_t costStep, RvpiSize roiSize,
                      Label val, bool use4);

}  // namespace rvp::n8
