// Horizontal spans: how a fill by value finds those of a row, and keeps them in mind. A pixel is painted in the
// moment in which it is found: painted pixels do not match.
#pragma once

#include <algorithm>
#include <bit>
#include <cstddef>
#include <cstdint>

#include "frame/views.h"
#include "rvpcv/types.h"
#include "segment/flood_block.h"

namespace rvp::n8 {

struct FloodSpan {
  std::int32_t y;            // its row
  std::int32_t left;         // its first column
  std::int32_t right;        // its last column
  std::int32_t parentLeft;   // first and last column of the span from which this one was found,
  std::int32_t parentRight;  // which need not be looked at again
  std::int32_t dir;          // +1 or -1: the parent's row is y + dir
};

// A span with no parent: both rows beside it are looked at in full. The row y + dir lies in the image, which has at
// least two.
inline FloodSpan spanWithoutParent(std::ptrdiff_t y, std::ptrdiff_t left, std::ptrdiff_t right,
                                   std::ptrdiff_t height) {
  // The last column's number is below 2^31 - 1, so that one more fits.
  return {static_cast<std::int32_t>(y),         static_cast<std::int32_t>(left),  static_cast<std::int32_t>(right),
          static_cast<std::int32_t>(right + 1), static_cast<std::int32_t>(right), y == height - 1 ? -1 : 1};
}

// Spans that were found and not explored yet, last in, first out. Forgets all it holds in the moment in which it is
// full.
class ForgetfulStack {
 public:
  ForgetfulStack(FloodSpan* spans, std::ptrdiff_t capacity) : spans_(spans), capacity_(capacity) {}

  void push(const FloodSpan& span) {
    spans_[count_++] = span;
    if (count_ == capacity_) count_ = 0;
  }

  bool pop(FloodSpan& span) {
    if (count_ == 0) return false;
    span = spans_[--count_];
    return true;
  }

 private:
  FloodSpan* spans_;
  std::ptrdiff_t capacity_;
  std::ptrdiff_t count_ = 0;
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
  void findSpans(std::ptrdiff_t y, Columns window, const Found& found) {
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

}  // namespace rvp::n8
