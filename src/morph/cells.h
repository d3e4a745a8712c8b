// The cells that a mask selects.
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>

#include "filter/border.h"
#include "rvpcv/types.h"

namespace rvp::n8 {

// All of a box, whose corners are given from the anchor and belong to it, or those of its cells that are not 0.
struct Cells {
  std::ptrdiff_t left;
  std::ptrdiff_t top;
  std::ptrdiff_t right;
  std::ptrdiff_t bottom;
  bool solid;
  const std::uint8_t* first;  // The cell at the box's top left; rows are `step` bytes apart.
  std::ptrdiff_t step;

  std::ptrdiff_t width() const { return right - left + 1; }
  std::ptrdiff_t height() const { return bottom - top + 1; }

  // Calls body(start, length) for the runs of selected cells of a row, from left to right.
  template <class Body>
  void forRuns(std::ptrdiff_t row, const Body& body) const {
    if (solid) return body(std::ptrdiff_t{0}, width());
    const std::uint8_t* cells = first + row * step;
    for (std::ptrdiff_t x = 0; x < width();) {
      std::ptrdiff_t end = x;
      while (end < width() && cells[end] != 0) ++end;
      if (end > x) body(x, end - x);
      x = end + 1;
    }
  }
};

// The mask's part that matters for a region: where all pixels beyond a side are alike, cells that always lie there
// are as good as one of them.
inline Cells clipped(const Cells& cells, RvpiSize size, const Border& border) {
  Cells box = cells;
  if (!cells.solid || border.mode == rvpBorderMirror) return box;
  const auto clip = [](std::ptrdiff_t& low, std::ptrdiff_t& high, std::ptrdiff_t n, bool before, bool behind) {
    if (!before) low = std::max(low, -n), high = std::max(high, -n);
    if (!behind) low = std::min(low, n), high = std::min(high, n);
  };
  clip(box.left, box.right, size.width, border.left, border.right);
  clip(box.top, box.bottom, size.height, border.top, border.bottom);
  return box;
}

}  // namespace rvp::n8
