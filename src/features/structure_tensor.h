// The structure tensor of an image: the products of its derivatives, dx * dx, dx * dy and dy * dy, summed over a
// square window around each pixel.
//
// No plane of products ever exists. The image is worked through in vertical strips; of each strip only as many rows
// are kept as the window is high, so that a pixel costs one sum along its row and one down the columns. Every sum
// of floats is made of the terms of its own window alone: nothing runs on from pixel to pixel, so that no error
// adds up, and NaN and infinity stay inside their windows.
#pragma once

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>

#include "filter/derivative.h"
#include "filter/separable.h"
#include "frame/team.h"

namespace rvp::n8 {

// The window's offsets from its pixel are -before to +behind.
struct WindowSpan {
  std::ptrdiff_t before;
  std::ptrdiff_t behind;
  std::ptrdiff_t side() const { return before + 1 + behind; }
  // What the columns beside a strip have to hold so that a mirrored column is among them.
  std::ptrdiff_t margin() const { return std::max(before, behind); }
  // Columns to read before column x0. Beside the region's first one there may be memory, of which the window's
  // columns alone may be read.
  std::ptrdiff_t left(std::ptrdiff_t x0) const { return x0 == 0 ? before : margin(); }
};

// Rows begin at whole vectors.
constexpr std::ptrdiff_t kAlignment = 32;

// What stands for the products beyond a side of the region that is in memory.
enum class BeyondMemory { products, nearestProduct };

// Rows of products of an image, endless like the image: beyond the region its border decides, where the constant
// counts as 0.
template <class Kernel, class Src, BeyondMemory kBeyond>
class ProductRows {
 public:
  explicit ProductRows(const ExtendedImage<Src, 1>& image) : image_(image) {}

  // Whether all products of row y are 0 without looking.
  bool isZero(std::ptrdiff_t y) const { return vertical().isZero(y); }
  // The row that stands for row y, unless that is zero.
  std::ptrdiff_t place(std::ptrdiff_t y) const { return vertical().place(y); }

  // Products of the columns first to last - 1 of row y. The columns have at least one of the region among them, and
  // as many of those on one side as beyond the region on the other.
  void read(std::ptrdiff_t y, std::ptrdiff_t first, std::ptrdiff_t last, const std::array<float*, 3>& out) const {
    const std::array<float*, 3> lines = out;
    readLines(y, first, last, out, [=](auto d, std::ptrdiff_t x, auto vx, auto vy) {
      forFloats(d, vx, vy, [=](auto df, std::ptrdiff_t i, auto fx, auto fy) {
        hn::StoreU(hn::Mul(fx, fx), df, lines[0] + x + i);
        hn::StoreU(hn::Mul(fx, fy), df, lines[1] + x + i);
        hn::StoreU(hn::Mul(fy, fy), df, lines[2] + x + i);
      });
    });
  }

  // The same of the derivatives that make the products.
  void readDerivatives(std::ptrdiff_t y, std::ptrdiff_t first, std::ptrdiff_t last,
                       const std::array<DerivativeOf<Src>*, 2>& out) const {
    const std::array<DerivativeOf<Src>*, 2> lines = out;
    readLines(y, first, last, out, [=](auto d, std::ptrdiff_t x, auto vx, auto vy) {
      hn::StoreU(vx, d, lines[0] + x);
      hn::StoreU(vy, d, lines[1] + x);
    });
  }

 private:
  // Has store(d, x, vx, vy) write vectors of derivatives to the places x of the lines where their columns are
  // read, and fills in the columns that others stand for.
  template <class T, std::size_t kLines, class Store>
  void readLines(std::ptrdiff_t y, std::ptrdiff_t first, std::ptrdiff_t last, const std::array<T*, kLines>& lines,
                 const Store& store) const {
    const Axis columns = horizontal();
    const std::ptrdiff_t from = columns.reads(first) ? first : std::max<std::ptrdiff_t>(first, 0);
    const std::ptrdiff_t to = columns.reads(last - 1) ? last : std::min(last, columns.count);
    const std::ptrdiff_t skipped = from - first;
    forDerivatives<Kernel, true, true>(
        image_, y, from, to, [=](auto d, std::ptrdiff_t x, auto vx, auto vy) { store(d, skipped + x, vx, vy); });
    const auto standIn = [&](std::ptrdiff_t x) {
      for (T* line : lines) line[x - first] = columns.isZero(x) ? T{0} : line[columns.place(x) - first];
    };
    for (std::ptrdiff_t x = first; x < from; ++x) standIn(x);
    for (std::ptrdiff_t x = to; x < last; ++x) standIn(x);
  }

  // One direction of the region.
  struct Axis {
    int mode;
    bool memoryBefore;
    bool memoryBehind;
    std::ptrdiff_t count;

    bool inMemory(std::ptrdiff_t i) const { return (i < 0 && memoryBefore) || (i >= count && memoryBehind); }
    bool outside(std::ptrdiff_t i) const { return i < 0 || i >= count; }
    // The product at i is made from pixels around i.
    bool reads(std::ptrdiff_t i) const { return !outside(i) || (kBeyond == BeyondMemory::products && inMemory(i)); }
    bool isZero(std::ptrdiff_t i) const { return mode == rvpBorderConst && outside(i) && !inMemory(i); }
    std::ptrdiff_t place(std::ptrdiff_t i) const {
      if (reads(i)) return i;
      return borderIndex(inMemory(i) ? int{rvpBorderRepl} : mode, i, count);
    }
  };
  Axis vertical() const {
    return {image_.border.mode, image_.border.top, image_.border.bottom, image_.size.height};
  }
  Axis horizontal() const {
    return {image_.border.mode, image_.border.left, image_.border.right, image_.size.width};
  }

  // Calls body(df, i, fx, fy) with the derivatives as floats; lane i of the derivatives is the first of them. A
  // whole vector of 16-bit lanes makes two.
  template <class D, class Body>
  HWY_INLINE static void forFloats(D d, hn::VFromD<D> vx, hn::VFromD<D> vy, const Body& body) {
    if constexpr (std::is_same_v<hn::TFromD<D>, float>) {
      body(d, 0, vx, vy);
    } else {
      const auto part = [&](auto d16, std::ptrdiff_t i, auto x, auto y) {
        const hn::Rebind<float, decltype(d16)> df;
        const hn::Rebind<std::int32_t, decltype(d16)> d32;
        body(df, i, hn::ConvertTo(df, hn::PromoteTo(d32, x)), hn::ConvertTo(df, hn::PromoteTo(d32, y)));
      };
      if constexpr (hn::MaxLanes(d) > 4) {
        const hn::Half<D> half;
        part(half, 0, hn::LowerHalf(half, vx), hn::LowerHalf(half, vy));
        part(half, hn::MaxLanes(half), hn::UpperHalf(half, vx), hn::UpperHalf(half, vy));
      } else {
        part(d, 0, vx, vy);
      }
    }
  }

  ExtendedImage<Src, 1> image_;
};

// A window of one of the small odd sides, on the stack. Along the row the terms are added in ascending order, down
// the columns the centre first and then the pairs around it: the sums of rvpiFilterLowpassBorder_32f_C1R.
template <class W>
class SmallWindow {
 public:
  // With its margins a strip is one stretch, its rows are no power of 2 apart, and those of the largest window, 29
  // KB, stay in the first cache.
  static constexpr std::ptrdiff_t kStrip = kStretch - 32;
  std::ptrdiff_t strip() const { return kStrip; }

  // Calls finish(d, y, x, a, b, c) for the columns x0 to x0 + n - 1 of the slice's rows.
  template <class Rows, class Finish>
  void run(std::ptrdiff_t x0, std::ptrdiff_t n, Slice slice, const Rows& rows, const Finish& finish) {
    const Finish put = finish;  // A copy that nothing else can see stays in registers.
    first_ = x0;
    count_ = n;
    std::fill_n(held_, W::kCount, kNone);
    for (std::ptrdiff_t y : slice) {
      const Sums sums = sumsOfWindows(y, rows);
      forVectors<float>(0, n, [&](auto d, std::ptrdiff_t x) {
        put(d, y, x0 + x, sums.at(d, 0, x), sums.at(d, 1, x), sums.at(d, 2, x));
      });
    }
  }

 private:
  static constexpr std::ptrdiff_t kNone = PTRDIFF_MIN;
  static constexpr float kZeros[3 * kStrip] = {};

  // The sums of a row's windows. Handed out by value, so that a loop that writes need not read them again.
  struct Sums {
    std::array<const float*, W::kCount> rows;

    template <class D>
    HWY_INLINE hn::VFromD<D> at(D d, int plane, std::ptrdiff_t x) const {
      return weightedSum<W>(
          d, [&](int i) { return hn::LoadU(d, rows[static_cast<std::size_t>(i)] + plane * kStrip + x); });
    }
  };

  template <class Rows>
  Sums sumsOfWindows(std::ptrdiff_t y, const Rows& rows) {
    Sums sums;
    std::ptrdiff_t wanted = y - W::kCentre;
    for (const float*& line : sums.rows) {
      line = rows.isZero(wanted) ? kZeros : sumsOf(rows.place(wanted), rows);
      ++wanted;
    }
    return sums;
  }

  // Rows of one window are at most W::kCount apart, so that no two of them share a slot.
  template <class Rows>
  const float* sumsOf(std::ptrdiff_t y, const Rows& rows) {
    const std::ptrdiff_t slot = (y % W::kCount + W::kCount) % W::kCount;
    float* sums = sums_[slot];
    if (held_[slot] == y) return sums;
    held_[slot] = y;
    // Vectors of products begin with the first column that is read: beside the strip, unless that is the image's
    // edge.
    constexpr std::ptrdiff_t kMargin = kAlignment / sizeof(float);
    alignas(kAlignment) float products[3][kStrip + 2 * kMargin];
    std::array<float*, 3> lines;
    for (std::size_t i = 0; i < 3; ++i) lines[i] = products[i] + (first_ == 0 ? kMargin - W::kCentre : 0);
    rows.read(y, first_ - W::kCentre, first_ + count_ + W::kCentre, lines);
    for (int plane = 0; plane < 3; ++plane) {
      const float* src = lines[static_cast<std::size_t>(plane)];
      forVectors<float>(0, count_, [&](auto d, std::ptrdiff_t x) {
        hn::StoreU(ascendingSum<W::kCount>([&](int i) { return hn::LoadU(d, src + x + i); }), d,
                   sums + plane * kStrip + x);
      });
    }
    return sums;
  }

  std::ptrdiff_t first_ = 0;
  std::ptrdiff_t count_ = 0;
  std::ptrdiff_t held_[W::kCount];
  alignas(kAlignment) float sums_[W::kCount][3 * kStrip];
};

// Calls finish(d, y, x, a, b, c) for all pixels of the slice's rows, in groups of lanes.
template <class Window, class Rows, class Finish>
void forTensors(Window& window, const Rows& rows, std::ptrdiff_t width, Slice slice, const Finish& finish) {
  for (std::ptrdiff_t x0 = 0; x0 < width; x0 += window.strip())
    window.run(x0, std::min(window.strip(), width - x0), slice, rows, finish);
}

}  // namespace rvp::n8
