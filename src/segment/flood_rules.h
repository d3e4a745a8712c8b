// What a flood fill takes in: the tests on pixels, and how the spans of a row are found by them.
//
// A fill finds spans beside a span that it explores, and keeps in mind which pixels it has found. A fill by value
// paints a pixel in the moment in which it is found: painted pixels do not match. A fill by gradient compares
// pixels with their neighbours as they were, so it marks what it has found in a map and paints a span after its
// neighbours have been tested.
#pragma once

#include <algorithm>
#include <bit>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <type_traits>

#include "frame/views.h"
#include "segment/flood_block.h"
#include "segment/flood_spans.h"

namespace rvp::n8 {

// Equal to the seed. A NaN equals nothing, and zeros of both signs are equal.
template <class T, int kChannels>
struct EqualTest {
  PatternOf<T, kChannels> seed;

  template <class D, class V>
  auto operator()(D d, V candidate, V /*neighbour*/, int i) const {
    return hn::Eq(candidate, hn::Load(d, seed.at + i));
  }
};

// lower <= candidate <= upper.
template <class T, int kChannels>
struct RangeTest {
  PatternOf<T, kChannels> lower;
  PatternOf<T, kChannels> upper;

  template <class D, class V>
  auto operator()(D d, V candidate, V /*neighbour*/, int i) const {
    const auto low = hn::Load(d, lower.at + i);
    const auto high = hn::Load(d, upper.at + i);
    if constexpr (std::is_floating_point_v<T>) {
      return hn::And(hn::Ge(candidate, low), hn::Le(candidate, high));
    } else {
      // Unsigned: both differences saturate at 0.
      return hn::Eq(hn::Or(hn::SaturatedSub(low, candidate), hn::SaturatedSub(candidate, high)), hn::Zero(d));
    }
  }
};

// neighbour - minDelta <= candidate <= neighbour + maxDelta; in float |candidate + offset - neighbour| <= half,
// each step rounded, with half = (minDelta + maxDelta) / 2 and offset = (minDelta - maxDelta) / 2.
template <class T, int kChannels>
struct GradientTest {
  PatternOf<T, kChannels> first;   // minDelta, or half
  PatternOf<T, kChannels> second;  // maxDelta, or offset

  template <class D, class V>
  auto operator()(D d, V candidate, V neighbour, int i) const {
    const auto a = hn::Load(d, first.at + i);
    const auto b = hn::Load(d, second.at + i);
    if constexpr (std::is_floating_point_v<T>) {
      return hn::Le(hn::Abs(hn::Sub(hn::Add(candidate, b), neighbour)), a);
    } else {
      const auto below = hn::SaturatedSub(hn::SaturatedSub(neighbour, a), candidate);
      const auto above = hn::SaturatedSub(hn::SaturatedSub(candidate, neighbour), b);
      return hn::Eq(hn::Or(below, above), hn::Zero(d));
    }
  }
};

// Columns first to last - 1 of a row.
struct Columns {
  std::ptrdiff_t first;
  std::ptrdiff_t last;
};

template <class T, int kChannels, class Test>
class ValueFill {
  using Block = PixelBlock<T, kChannels>;

 public:
  ValueFill(T* image, int step, int width, const Test& test, const T* colour)
      : image_(image), step_(step), width_(width), test_(test), colour_(colour) {}

  // Finds the seed's own span, which the seed belongs to even if it fails the test.
  Columns seedSpan(RvpiPoint seed) {
    T* const line = row(image_, step_, seed.y);
    const Columns span = {reachLeft(line, seed.x), reachRight(line, std::ptrdiff_t{seed.x} + 1)};
    paint(line, span);
    return span;
  }

  // Finds the spans with a pixel in the window of row y, from left to right, and calls found(Columns) for each.
  template <class Found>
  void findSpans(std::ptrdiff_t y, Columns window, const FloodSpan& /*beside*/, const Found& found) {
    T* const line = row(image_, step_, y);
    for (std::ptrdiff_t x = window.first; x < window.last;) {
      PixelBits bits = match(line, x);
      std::ptrdiff_t next = x + Block::kPixels;
      while (bits != 0) {
        const int start = std::countr_zero(bits);
        Columns span = {x + start, 0};
        if (span.first >= window.last) return;
        const int end = start + std::countr_one(bits >> start);
        if (end < Block::kPixels) {
          span.last = x + end;
          bits &= bits + (bits & -bits);  // without its lowest run
        } else {
          span.last = reachRight(line, next);
          next = span.last + 1;
          bits = 0;
        }
        // The pixel before any other span has just failed.
        if (span.first == window.first) span.first = reachLeft(line, span.first);
        paint(line, span);
        found(span);
      }
      x = next;
    }
  }

  void leave(const FloodSpan& /*span*/) {}

  const T* at(std::ptrdiff_t y, std::ptrdiff_t x) const { return row(image_, step_, y) + x * kChannels; }

 private:
  PixelBits match(const T* line, std::ptrdiff_t x) const {
    const T* const at = line + x * kChannels;
    return Block::of(test_, at, at, x, width_ - x);
  }

  // The first column from x on that does not match.
  std::ptrdiff_t reachRight(const T* line, std::ptrdiff_t x) const {
    for (; x < width_; x += Block::kPixels) {
      const int run = std::countr_one(match(line, x));
      if (run < Block::kPixels) return x + run;
    }
    return width_;
  }

  // The first column of those that match without a gap up to x - 1; x if there are none.
  std::ptrdiff_t reachLeft(const T* line, std::ptrdiff_t x) const {
    while (x > 0) {
      const std::ptrdiff_t count = std::min<std::ptrdiff_t>(x, Block::kPixels);
      const int run = std::countl_one(match(line, x - count) << (32 - count));
      x -= run;
      if (run < count) break;
    }
    return x;
  }

  void paint(T* line, Columns span) const {
    Block::paint(line + span.first * kChannels, span.last - span.first, colour_);
  }

  T* image_;
  int step_;
  std::ptrdiff_t width_;
  Test test_;
  PatternOf<T, kChannels> colour_;
};

// A bit for each pixel, rows of whole words.
class VisitedMap {
 public:
  static std::ptrdiff_t rowWords(int width) { return (std::ptrdiff_t{width} + 63) / 64; }
  // One word more than the rows: a look at a row's end touches the word behind it.
  static std::ptrdiff_t bytes(RvpiSize size) { return 8 * (rowWords(size.width) * size.height + 1); }

  VisitedMap(std::uint8_t* memory, RvpiSize size)
      : words_(reinterpret_cast<std::uint64_t*>(memory)), rowWords_(rowWords(size.width)) {
    std::memset(memory, 0, static_cast<std::size_t>(bytes(size)));
  }

  // The pixels from x on that have not been found; of no meaning beyond the row.
  PixelBits unvisited(std::ptrdiff_t y, std::ptrdiff_t x) const {
    const std::uint64_t* const at = words_ + y * rowWords_ + x / 64;
    const int shift = static_cast<int>(x % 64);
    return static_cast<PixelBits>(~(at[0] >> shift | at[1] << 1 << (63 - shift)));
  }

  void visit(std::ptrdiff_t y, Columns span) {
    std::uint64_t* const line = words_ + y * rowWords_;
    for (std::ptrdiff_t x = span.first; x < span.last;) {
      const std::ptrdiff_t end = std::min((x / 64 + 1) * 64, span.last);
      line[x / 64] |= ~std::uint64_t{0} >> (64 - (end - x)) << (x % 64);
      x = end;
    }
  }

 private:
  std::uint64_t* words_;
  std::ptrdiff_t rowWords_;
};

template <class T, int kChannels>
class GradientFill {
  using Block = PixelBlock<T, kChannels>;
  using Test = GradientTest<T, kChannels>;

 public:
  // `margin` 1 also takes in diagonal neighbours.
  GradientFill(T* image, int step, int width, const Test& test, const T* colour, int margin, VisitedMap visited)
      : image_(image),
        step_(step),
        width_(width),
        test_(test),
        colour_(colour),
        margin_(margin),
        visited_(visited) {}

  Columns seedSpan(RvpiPoint seed) {
    const FloodSpan nothing = {seed.y, 0, -1, 0, -1, 1};
    const Columns span = {reachLeft(seed.y, seed.x), reachRight(seed.y, std::ptrdiff_t{seed.x} + 1, nothing)};
    visited_.visit(seed.y, span);
    return span;
  }

  // A block's comparisons serve all spans that begin in it, their ends included as far as they lie in the block.
  template <class Found>
  void findSpans(std::ptrdiff_t y, Columns window, const FloodSpan& beside, const Found& found) {
    for (std::ptrdiff_t x = window.first; x < window.last;) {
      std::ptrdiff_t next = x + Block::kPixels;
      PixelBits open = visited_.unvisited(y, x);
      const PixelBits near = passBeside(y, x, beside);
      if ((open & near) != 0) {
        const PixelBits rightward = near | passLeft(y, x);
        const PixelBits leftward = passRight(y, x);
        while ((open & near) != 0) {
          const int start = std::countr_zero(open & near);
          Columns span = {x + start, 0};
          if (span.first >= window.last) return;
          const int back = start == 0 ? 0 : std::countl_one((leftward & open) << (32 - start));
          span.first = back == start ? reachLeft(y, x) : span.first - back;
          const int end = start + std::countr_one((rightward & open) >> start);
          if (end < Block::kPixels) {
            span.last = x + end;
            open &= ~lowBits(end);
          } else {
            span.last = reachRight(y, next, beside);
            next = span.last + 1;
            open = 0;
          }
          visited_.visit(y, span);
          found(span);
        }
      }
      x = next;
    }
  }

  // All neighbours have been tested: the span is painted.
  void leave(const FloodSpan& span) {
    Block::paint(row(image_, step_, span.y) + std::ptrdiff_t{span.left} * kChannels,
                 std::ptrdiff_t{span.right} - span.left + 1, colour_);
  }

  const T* at(std::ptrdiff_t y, std::ptrdiff_t x) const { return row(image_, step_, y) + x * kChannels; }

 private:
  // The pixels of row y from x on that pass against a pixel of the span beside them: the one in the same column, or
  // with a margin any of those that touch them.
  PixelBits passBeside(std::ptrdiff_t y, std::ptrdiff_t x, const FloodSpan& beside) const {
    const T* const line = row(image_, step_, y);
    const T* const other = row(image_, step_, beside.y);
    PixelBits passed = 0;
    for (std::ptrdiff_t shift = -margin_; shift <= margin_; ++shift) {
      // The columns that have such a neighbour in the span.
      const std::ptrdiff_t first = std::max(x, beside.left - shift);
      const std::ptrdiff_t last = std::min(x + Block::kPixels, beside.right - shift + 1);
      if (first >= last || first >= width_) continue;
      const PixelBits bits = Block::of(test_, line + first * kChannels, other + (first + shift) * kChannels,
                                       std::min(first, first + shift), width_ - std::max(first, first + shift));
      passed |= (bits & lowBits(last - first)) << (first - x);
    }
    return passed;
  }

  // The pixels of row y from x on that pass against their left neighbours. The first of a row has none.
  PixelBits passLeft(std::ptrdiff_t y, std::ptrdiff_t x) const {
    const std::ptrdiff_t first = std::max<std::ptrdiff_t>(x, 1);
    if (first >= width_) return 0;
    const T* const at = row(image_, step_, y) + first * kChannels;
    return Block::of(test_, at, at - kChannels, first - 1, width_ - first) << (first - x) & lowBits(Block::kPixels);
  }

  // The pixels of row y from x on that pass against their right neighbours. The last of a row has none.
  PixelBits passRight(std::ptrdiff_t y, std::ptrdiff_t x) const {
    if (x + 1 >= width_) return 0;
    const T* const at = row(image_, step_, y) + x * kChannels;
    return Block::of(test_, at, at + kChannels, x, width_ - 1 - x);
  }

  // The first column from x on, where x - 1 is taken, that passes neither against its left neighbour nor against
  // the span beside it, or has been found already.
  std::ptrdiff_t reachRight(std::ptrdiff_t y, std::ptrdiff_t x, const FloodSpan& beside) const {
    for (; x < width_; x += Block::kPixels) {
      const PixelBits passed = passLeft(y, x) | passBeside(y, x, beside);
      const int run = std::countr_one(passed & visited_.unvisited(y, x));
      if (run < Block::kPixels) return x + run;
    }
    return width_;
  }

  // The first column of those that pass against their right neighbours, and have not been found, without a gap up
  // to x - 1; x if there are none.
  std::ptrdiff_t reachLeft(std::ptrdiff_t y, std::ptrdiff_t x) const {
    while (x > 0) {
      const std::ptrdiff_t count = std::min<std::ptrdiff_t>(x, Block::kPixels);
      const std::ptrdiff_t first = x - count;
      const int run = std::countl_one((passRight(y, first) & visited_.unvisited(y, first)) << (32 - count));
      x -= run;
      if (run < count) break;
    }
    return x;
  }

  T* image_;
  int step_;
  std::ptrdiff_t width_;
  Test test_;
  PatternOf<T, kChannels> colour_;
  int margin_;
  VisitedMap visited_;
};

}  // namespace rvp::n8
