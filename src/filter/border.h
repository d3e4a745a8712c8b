// What lies outside a region: the border modes, images extended by them, and copies of an image with a border.
//
// Column x of a row with pixels 0 to n - 1 stands for, in mode
//   constant      value outside, the pixel itself inside
//   replicate     min(max(x, 0), n - 1)
//   mirror        x mod (2n - 2), and 2n - 2 less that where it is n or more; 0 if n is 1
//   mirror edge   x mod 2n, and 2n - 1 less that where it is n or more
// and rows likewise. A side that is flagged as in memory is read where it stands. In a corner the row is chosen
// first and the column in that row: the corner beside a flagged left and a replicated top is the edge row's memory
// to the left; with a constant, a pixel is the value as soon as one of its coordinates lies outside on an unflagged
// side.
//
// Everything here copies pixels as bytes, so that one routine serves all types of the same pixel size.
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>

#include "frame/checks.h"
#include "frame/views.h"
#include "rvpcv/types.h"

namespace rvp::n8 {

// A border selector, taken apart.
struct Border {
  int mode;
  bool top;  // This and the next three: the side is in memory.
  bool bottom;
  bool left;
  bool right;
};

constexpr int kBorderModeBits = 0x0F;
constexpr int kBorderAllSides = 0xF0;

constexpr Border borderOf(RvpiBorderType selector) {
  const int type = (selector & kBorderModeBits) == rvpBorderInMem ? kBorderAllSides : selector;
  return {type & kBorderModeBits, (type & rvpBorderInMemTop) != 0, (type & rvpBorderInMemBottom) != 0,
          (type & rvpBorderInMemLeft) != 0, (type & rvpBorderInMemRight) != 0};
}

// Whether the selector without its side flags is constant, replicate, mirror or all in memory. A selector with any
// higher bit is none of them.
constexpr bool isBorder(RvpiBorderType selector) {
  const int mode = selector & ~kBorderAllSides;
  return mode == rvpBorderConst || mode == rvpBorderRepl || mode == rvpBorderMirror || mode == rvpBorderInMem;
}

// Says that a pixel is the constant.
constexpr std::ptrdiff_t kConstantPixel = -1;

// The index among 0 to n - 1 that stands for index i, or kConstantPixel.
constexpr std::ptrdiff_t borderIndex(int mode, std::ptrdiff_t i, std::ptrdiff_t n) {
  if (i >= 0 && i < n) return i;
  if (mode == rvpBorderConst) return kConstantPixel;
  if (mode == rvpBorderRepl || (mode == rvpBorderMirror && n == 1)) return i < 0 ? 0 : n - 1;
  const std::ptrdiff_t period = mode == rvpBorderMirror ? 2 * n - 2 : 2 * n;
  const std::ptrdiff_t folded = (i % period + period) % period;
  if (folded < n) return folded;
  return mode == rvpBorderMirror ? period - folded : period - 1 - folded;
}

// The routines behind the typed names below; kBytes is the size of a pixel: 1, 2, 3, 4, 6, 8, 12 or 16.
namespace pixels {

struct Image {
  const void* src;
  int step;
  RvpiSize size;
  Border border;
  const void* value;
};

template <int kBytes>
void extendedRow(const Image& image, std::ptrdiff_t y, std::ptrdiff_t first, std::ptrdiff_t last, void* ext);

template <int kBytes>
RvpStatus copyWithBorder(int mode, const void* pSrc, int srcStep, RvpiSize srcRoiSize, void* pDst, int dstStep,
                         RvpiSize dstRoiSize, int topBorderHeight, int leftBorderWidth, const void* value);

template <int kBytes>
RvpStatus borderInPlace(int mode, void* pSrcDst, int srcDstStep, RvpiSize srcRoiSize, RvpiSize dstRoiSize,
                        int topBorderHeight, int leftBorderWidth);

}  // namespace pixels

// An image without end: a region and what its border makes of the rest of the plane. A filter reads its source
// through this and then knows nothing of borders. `value` has one element a channel; only the constant mode reads
// it.
template <class T, int kChannels>
struct ExtendedImage {
  const T* src;
  int step;
  RvpiSize size;
  Border border;
  const T* value;

  // Writes columns `first` to `last` - 1 of row `y` to `ext`; all three may lie anywhere.
  void readRow(std::ptrdiff_t y, std::ptrdiff_t first, std::ptrdiff_t last, T* ext) const {
    pixels::extendedRow<sizeof(T) * kChannels>({src, step, size, border, value}, y, first, last, ext);
  }

  // The same columns where they stand in memory, if they all do; otherwise written to `ext`.
  const T* findRow(std::ptrdiff_t y, std::ptrdiff_t first, std::ptrdiff_t last, T* ext) const {
    const bool rowInMemory = (y < 0 && border.top) || (y >= size.height && border.bottom);
    const std::ptrdiff_t sy = rowInMemory ? y : borderIndex(border.mode, y, size.height);
    const bool found = (rowInMemory || sy != kConstantPixel) && (first >= 0 || border.left) &&
                       (last <= size.width || border.right);
    if (found) return row(src, step, sy) + first * kChannels;
    readRow(y, first, last, ext);
    return ext;
  }

  // Writes the rectangle's pixels to an image of its size.
  void readTile(RvpiRect tile, T* dst, int dstStep) const {
    for (std::ptrdiff_t y = 0; y < tile.height; ++y) {
      readRow(tile.y + y, tile.x, static_cast<std::ptrdiff_t>(tile.x) + tile.width, row(dst, dstStep, y));
    }
  }
};

// One row of `width` pixels, extended by `left` and `right` pixels.
template <int kChannels, class T>
void FillBorder(const T* src, int width, int left, int right, RvpiBorderType border, const T* value, T* ext) {
  const ExtendedImage<T, kChannels> image = {src, 0, {width, 1}, borderOf(border), value};
  image.readRow(0, -static_cast<std::ptrdiff_t>(left), static_cast<std::ptrdiff_t>(width) + right, ext);
}

// A region with `margin` mirrored pixels on all four sides.
template <int kChannels, class T>
void ownCopyWithBorder(const T* pSrc, int srcStep, RvpiSize roiSize, int margin, T* pDst, int dstStep) {
  const ExtendedImage<T, kChannels> image = {pSrc, srcStep, roiSize, borderOf(rvpBorderMirror), nullptr};
  image.readTile({-margin, -margin, roiSize.width + 2 * margin, roiSize.height + 2 * margin}, pDst, dstStep);
}

// The copies. The destination's region holds the source at column `leftBorderWidth` of row `topBorderHeight` and
// border all round it; what is left of the destination's size is the right and bottom border. Checks, in order: a
// null image
// (-8), a step below 1 (-14), then any of: a size below 1, a negative border, a destination too small for the
// source with its top and left border (-6); last, a null pointer to the constant (-8). Steps are not compared with
// rows.
//
// Replicate and mirror with equal pointers are the in-place form, before any check; the source's step is ignored
// then.

template <class T, int kChannels>
RvpStatus rvpiCopyConstBorder(const T* pSrc, int srcStep, RvpiSize srcRoiSize, T* pDst, int dstStep,
                              RvpiSize dstRoiSize, int topBorderHeight, int leftBorderWidth, const T* value) {
  return pixels::copyWithBorder<sizeof(T) * kChannels>(rvpBorderConst, pSrc, srcStep, srcRoiSize, pDst, dstStep,
                                                       dstRoiSize, topBorderHeight, leftBorderWidth, value);
}

// The one-channel form takes the element itself.
template <class T, int kChannels>
RvpStatus rvpiCopyConstBorder(const T* pSrc, int srcStep, RvpiSize srcRoiSize, T* pDst, int dstStep,
                              RvpiSize dstRoiSize, int topBorderHeight, int leftBorderWidth, T value) {
  static_assert(kChannels == 1);
  return rvpiCopyConstBorder<T, 1>(pSrc, srcStep, srcRoiSize, pDst, dstStep, dstRoiSize, topBorderHeight,
                                   leftBorderWidth, &value);
}

// In place the border is written around the source: `pSrcDst` is the source's first pixel inside the larger image.
template <class T, int kChannels>
RvpStatus rvpiCopyReplicateBorder_I(T* pSrcDst, int srcDstStep, RvpiSize srcRoiSize, RvpiSize dstRoiSize,
                                    int topBorderHeight, int leftBorderWidth) {
  return pixels::borderInPlace<sizeof(T) * kChannels>(rvpBorderRepl, pSrcDst, srcDstStep, srcRoiSize, dstRoiSize,
                                                      topBorderHeight, leftBorderWidth);
}

template <class T, int kChannels>
RvpStatus rvpiCopyMirrorBorder_I(T* pSrcDst, int srcDstStep, RvpiSize srcRoiSize, RvpiSize dstRoiSize,
                                 int topBorderHeight, int leftBorderWidth) {
  return pixels::borderInPlace<sizeof(T) * kChannels>(rvpBorderMirror, pSrcDst, srcDstStep, srcRoiSize, dstRoiSize,
                                                      topBorderHeight, leftBorderWidth);
}

template <class T, int kChannels>
RvpStatus rvpiCopyReplicateBorder(const T* pSrc, int srcStep, RvpiSize srcRoiSize, T* pDst, int dstStep,
                                  RvpiSize dstRoiSize, int topBorderHeight, int leftBorderWidth) {
  return pixels::copyWithBorder<sizeof(T) * kChannels>(rvpBorderRepl, pSrc, srcStep, srcRoiSize, pDst, dstStep,
                                                       dstRoiSize, topBorderHeight, leftBorderWidth, nullptr);
}

template <class T, int kChannels>
RvpStatus rvpiCopyMirrorBorder(const T* pSrc, int srcStep, RvpiSize srcRoiSize, T* pDst, int dstStep,
                               RvpiSize dstRoiSize, int topBorderHeight, int leftBorderWidth) {
  return pixels::copyWithBorder<sizeof(T) * kChannels>(rvpBorderMirror, pSrc, srcStep, srcRoiSize, pDst, dstStep,
                                                       dstRoiSize, topBorderHeight, leftBorderWidth, nullptr);
}

}  // namespace rvp::n8
