// One erosion or dilation, its checks done: what the plain operations are and what the compound ones are made of.
#pragma once

#include <cstddef>
#include <cstdint>

#include "filter/border.h"
#include "frame/image.h"
#include "morph/bit_lines.h"
#include "morph/lines.h"
#include "morph/roads.h"
#include "morph/state.h"

namespace rvp::n8 {

// Whether the low four bits select a border that bits and compound operations take: any but the mirror.
constexpr bool isPlainBorder(RvpiBorderType selector) {
  const int mode = selector & kBorderModeBits;
  return mode == rvpBorderConst || mode == rvpBorderRepl || mode == rvpBorderInMem;
}

// Whether the selector asks for the constant, on a side at least that is not in memory.
constexpr bool needsValue(RvpiBorderType selector) {
  return (selector & kBorderModeBits) == rvpBorderConst && (selector & kBorderAllSides) != kBorderAllSides;
}

// A region to write to.
template <class T>
struct PixelTarget {
  T* first;
  int step;
};
using BitTarget = BitImage<std::uint8_t>;

// A region of bits and what its border makes of the rest of the plane.
struct ExtendedBits {
  BitImage<const std::uint8_t> image;
  RvpiSize size;
  Border border;
  bool value;
};

// A mask without cells leaves the region as it is, whatever the border.
template <class Op, class T, int kChannels>
void filterStage(const ExtendedImage<T, kChannels>& src, PixelTarget<T> dst, const RvpiMorphState& state,
                 Workspace work) {
  if (state.maskKind == rvpMaskEmpty) {
    rvpiCopy<T, kChannels>(src.src, src.step, dst.first, dst.step, src.size);
  } else {
    filterCells(PixelLines<Op, T, kChannels>(src, dst.first, dst.step), cellsOf(state), work);
  }
}

template <class Op>
void filterStage(const ExtendedBits& src, BitTarget dst, const RvpiMorphState& state, Workspace work) {
  constexpr Cells kAnchor = {0, 0, 0, 0, true, nullptr, 0};
  const BitLines<Op> lines(src.image, src.size, src.border, src.value, dst);
  filterCells(lines, state.maskKind == rvpMaskEmpty ? kAnchor : cellsOf(state), work);
}

}  // namespace rvp::n8
