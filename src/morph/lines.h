// Lines of pixels as morphology works on them: read from a bordered image, combined by minimum or maximum, and
// written to the destination. PixelLines and BitLines (bit_lines.h) offer the same operations, so that the roads in
// roads.h know nothing of element types.
//
// A Span is the place of a line's column, in an image or in scratch memory; `at` moves it to a later column.
// Minimum and maximum pick operands and never compute: float infinities stay what they are. Each result is formed
// from its operands in an order that depends on nothing but region and mask, so that zeros of both signs and NaN
// give the same on every processor.
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>

#include "filter/border.h"
#include "frame/simd.h"
#include "frame/views.h"
#include "rvpcv/types.h"

namespace rvp::n8 {

struct Erosion {
  template <class V>
  static HWY_INLINE V of(V a, V b) {
    return hn::Min(a, b);
  }
  template <class V>
  static HWY_INLINE V ofBits(V a, V b) {
    return hn::And(a, b);
  }
};

struct Dilation {
  template <class V>
  static HWY_INLINE V of(V a, V b) {
    return hn::Max(a, b);
  }
  template <class V>
  static HWY_INLINE V ofBits(V a, V b) {
    return hn::Or(a, b);
  }
};

// How a line of n elements ends. `exact` touches nothing behind it: its last vector overlaps the one before, which
// changes nothing as long as dst is none of the operands or the very first of them. `padded` reads and writes up to
// a whole vector more, and dst may lie anywhere before its operands.
enum class LineEnd { exact, padded };

// Vectors that are worked on side by side, to hide the latency of a chain of minima.
constexpr int kLineVectors = 4;

// dst[x] = minimum or maximum of operands[i][x]. kCount is the number of operands, or 0 for `count` of them.
template <class Op, LineEnd kEnd, int kCount, class T>
void combineElements(const T* const* operands, std::ptrdiff_t count, std::ptrdiff_t n, T* dst) {
  const hn::ScalableTag<T> d;
  constexpr auto kLanes = static_cast<std::ptrdiff_t>(hn::MaxLanes(d));
  // Operands in registers: a store of bytes could change any pointer in memory.
  const T* held[std::max(kCount, 1)];
  std::copy_n(operands, kCount, held);
  const T* const* const from = kCount == 0 ? operands : held;
  const std::ptrdiff_t m = kCount == 0 ? count : kCount;
  const auto one = [&](auto tag, std::ptrdiff_t x) {
    auto v = hn::LoadU(tag, from[0] + x);
    for (std::ptrdiff_t i = 1; i < m; ++i) v = Op::of(v, hn::LoadU(tag, from[i] + x));
    hn::StoreU(v, tag, dst + x);
  };
  std::ptrdiff_t x = 0;
  for (; x + kLineVectors * kLanes <= n; x += kLineVectors * kLanes) {
    const T* s = from[0] + x;
    auto v0 = hn::LoadU(d, s), v1 = hn::LoadU(d, s + kLanes);
    auto v2 = hn::LoadU(d, s + 2 * kLanes), v3 = hn::LoadU(d, s + 3 * kLanes);
    for (std::ptrdiff_t i = 1; i < m; ++i) {
      s = from[i] + x;
      v0 = Op::of(v0, hn::LoadU(d, s));
      v1 = Op::of(v1, hn::LoadU(d, s + kLanes));
      v2 = Op::of(v2, hn::LoadU(d, s + 2 * kLanes));
      v3 = Op::of(v3, hn::LoadU(d, s + 3 * kLanes));
    }
    hn::StoreU(v0, d, dst + x);
    hn::StoreU(v1, d, dst + x + kLanes);
    hn::StoreU(v2, d, dst + x + 2 * kLanes);
    hn::StoreU(v3, d, dst + x + 3 * kLanes);
  }
  for (; x + kLanes <= n; x += kLanes) one(d, x);
  if (x == n) return;
  if constexpr (kEnd == LineEnd::padded) {
    one(d, x);
  } else if (n >= kLanes) {
    one(d, n - kLanes);
  } else {
    forVectors<T>(x, n, one);
  }
}

template <class Op, LineEnd kEnd, class T>
void combineElements(const T* const* operands, std::ptrdiff_t count, std::ptrdiff_t n, T* dst) {
  switch (count) {
    case 1:
      return combineElements<Op, kEnd, 1>(operands, count, n, dst);
    case 2:
      return combineElements<Op, kEnd, 2>(operands, count, n, dst);
    case 3:
      return combineElements<Op, kEnd, 3>(operands, count, n, dst);
    case 4:
      return combineElements<Op, kEnd, 4>(operands, count, n, dst);
    case 5:
      return combineElements<Op, kEnd, 5>(operands, count, n, dst);
    default:
      return combineElements<Op, kEnd, 0>(operands, count, n, dst);
  }
}

template <class Operation, class T, int kChannels>
class PixelLines {
 public:
  using Op = Operation;
  using Word = T;
  using Span = const T*;
  // A row that is read stays where it is, unless it is made of border.
  static constexpr bool kRowsStay = true;
  // Strips of a line begin at a multiple of so many columns.
  static constexpr std::ptrdiff_t kStripUnit = 1;
  // Words of a line beyond its pixels: room for the widest vector at its end. All variants keep the same, as the
  // room that lines take decides on the road, and that on the order of minima.
  static constexpr std::ptrdiff_t kPadding = std::ptrdiff_t{32} / sizeof(T);
  static_assert(kPadding >= static_cast<std::ptrdiff_t>(hn::MaxLanes(hn::ScalableTag<T>())));

  PixelLines(const ExtendedImage<T, kChannels>& image, T* dst, int dstStep)
      : image_(image), dst_(dst), dstStep_(dstStep) {}

  RvpiSize size() const { return image_.size; }
  const Border& border() const { return image_.border; }

  static constexpr std::ptrdiff_t lineWords(std::ptrdiff_t columns) { return columns * kChannels + kPadding; }
  // The most columns of a line of so many words; may be negative.
  static constexpr std::ptrdiff_t columnsIn(std::ptrdiff_t words) { return (words - kPadding) / kChannels; }
  static Span at(Span span, std::ptrdiff_t columns) { return span + columns * kChannels; }

  static Word* place(Word* line, std::ptrdiff_t columns) { return line + columns * kChannels; }

  // Columns `first` to `last` - 1 of row y, where they are or in `scratch`.
  Span read(std::ptrdiff_t y, std::ptrdiff_t first, std::ptrdiff_t last, Word* scratch) const {
    return image_.findRow(y, first, last, scratch);
  }

  // The columns among `first` to `last` - 1 that have memory of their own; `widen` makes the others of these.
  Slice core(std::ptrdiff_t first, std::ptrdiff_t last) const {
    return {border().left ? first : 0, border().right ? last : size().width};
  }
  void widen(Word* line, std::ptrdiff_t first, std::ptrdiff_t last) const {
    const Slice own = core(first, last);
    Border sides = border();
    sides.top = sides.bottom = true;
    const ExtendedImage<T, kChannels> row = {line - first * kChannels, 0, {size().width, 1}, sides, image_.value};
    if (first < own.first) row.readRow(0, first, own.first, line);
    if (own.last < last) row.readRow(0, own.last, last, line + (own.last - first) * kChannels);
  }

  static void combine(const Span* spans, std::ptrdiff_t count, std::ptrdiff_t columns, Word* line) {
    combineElements<Op, LineEnd::exact>(spans, count, columns * kChannels, line);
  }
  // For spans of padded lines, behind or at `line`.
  static void combineAhead(const Span* spans, std::ptrdiff_t count, std::ptrdiff_t columns, Word* line) {
    combineElements<Op, LineEnd::padded>(spans, count, columns * kChannels, line);
  }
  // Into the destination, from column x of row y on.
  void emit(std::ptrdiff_t y, std::ptrdiff_t x, std::ptrdiff_t columns, const Span* spans, std::ptrdiff_t count,
            Word*) const {
    combine(spans, count, columns, row(dst_, dstStep_, y) + x * kChannels);
  }

 private:
  ExtendedImage<T, kChannels> image_;
  T* dst_;
  int dstStep_;
};

}  // namespace rvp::n8
