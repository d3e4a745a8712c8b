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

// Whether an erosion or dilation refuses a region that is its own source. Bits are refused too.
template <class T>
constexpr bool kRefusesInPlace = sizeof(T) == 2;

// A region of bits and what its border makes of the rest of the plane.
struct ExtendedBits {
  BitImage<const std::uint8_t> image;
  RvpiSize size;
  Border border;
  bool value;
};

// The pixels of one axis when a mirror on one side meets memory on the other: those of the region and, on the sides
// in memory, as many as the mask reaches. The mirror folds all of them.
struct MirroredAxis {
  std::ptrdiff_t before;  // Pixels in memory before the region's first, and beyond its last.
  std::ptrdiff_t count;   // All pixels.

  MirroredAxis(std::ptrdiff_t n, std::ptrdiff_t anchor, std::ptrdiff_t extent, bool hasBefore, bool hasBeyond)
      : before(hasBefore ? anchor : 0), count(before + n + (hasBeyond ? extent - 1 - anchor : 0)) {}
  std::ptrdiff_t place(std::ptrdiff_t i) const { return borderIndex(rvpBorderMirror, i + before, count) - before; }
};

// Whether a window can turn at one side of such an axis and pass the region's other side.
constexpr bool turnsIntoMemory(std::ptrdiff_t n, std::ptrdiff_t anchor, std::ptrdiff_t extent, bool hasBefore,
                               bool hasBeyond) {
  return hasBefore != hasBeyond && (hasBefore ? extent - 1 - anchor : anchor) >= n;
}

// Cell by cell, for the regions narrower than their mask that the roads' lines cannot fold.
template <class Op, class T, int kChannels>
void filterMirrored(const ExtendedImage<T, kChannels>& src, PixelTarget<T> dst, const RvpiMorphState& state) {
  const hn::CappedTag<T, 1> d;
  const MirroredAxis columns(src.size.width, state.anchorX, state.maskWidth, src.border.left, src.border.right);
  const MirroredAxis rows(src.size.height, state.anchorY, state.maskHeight, src.border.top, src.border.bottom);
  for (std::ptrdiff_t y = 0; y < src.size.height; ++y) {
    T* const out = row(dst.first, dst.step, y);
    for (std::ptrdiff_t x = 0; x < src.size.width * kChannels; ++x) {
      bool isFirst = true;
      T best = {};
      for (std::ptrdiff_t cell = 0; cell < std::ptrdiff_t{state.maskWidth} * state.maskHeight; ++cell) {
        if (state.mask()[cell] == 0) continue;
        const std::ptrdiff_t fromY = rows.place(y + cell / state.maskWidth - state.anchorY);
        const std::ptrdiff_t fromX = columns.place(x / kChannels + cell % state.maskWidth - state.anchorX);
        const T pixel = row(src.src, src.step, fromY)[fromX * kChannels + x % kChannels];
        best = isFirst ? pixel : hn::GetLane(Op::of(hn::Set(d, best), hn::Set(d, pixel)));
        isFirst = false;
      }
      out[x] = best;
    }
  }
}

// A mask without cells leaves the region as it is, whatever the border.
template <class Op, class T, int kChannels>
void filterStage(const ExtendedImage<T, kChannels>& src, PixelTarget<T> dst, const RvpiMorphState& state,
                 Workspace work) {
  if (state.maskKind == rvpMaskEmpty) {
    rvpiCopy<T, kChannels>(src.src, src.step, dst.first, dst.step, src.size);
  } else if (src.border.mode == rvpBorderMirror &&
             (turnsIntoMemory(src.size.width, state.anchorX, state.maskWidth, src.border.left, src.border.right) ||
              turnsIntoMemory(src.size.height, state.anchorY, state.maskHeight, src.border.top,
                              src.border.bottom))) {
    filterMirrored<Op>(src, dst, state);
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
