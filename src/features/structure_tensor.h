// The structure tensor of an image: the products of its derivatives, dx * dx, dx * dy and dy * dy, summed over a
// square window around each pixel.
//
// No plane of products ever exists. The image is worked through in vertical strips; of each strip only as many rows
// are kept as the window is high, summed along the row already, so that a pixel costs one sum along its row and one
// down the columns. Every sum is made of the terms of its own window alone: nothing runs on from pixel to pixel, so
// that no error adds up, and NaN and infinity stay inside their windows.
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
    const Axis columns = horizontal();
    const std::ptrdiff_t from = columns.reads(first) ? first : std::max<std::ptrdiff_t>(first, 0);
    const std::ptrdiff_t to = columns.reads(last - 1) ? last : std::min(last, columns.count);
    const std::ptrdiff_t skipped = from - first;
    float *const xx = out[0] + skipped, *const xy = out[1] + skipped, *const yy = out[2] + skipped;
    forDerivatives<Kernel, true, true>(image_, y, from, to, [=](auto d, std::ptrdiff_t x, auto vx, auto vy) {
      forFloats(d, vx, vy, [=](auto df, std::ptrdiff_t i, auto fx, auto fy) {
        hn::StoreU(hn::Mul(fx, fx), df, xx + x + i);
        hn::StoreU(hn::Mul(fx, fy), df, xy + x + i);
        hn::StoreU(hn::Mul(fy, fy), df, yy + x + i);
      });
    });
    const auto standIn = [&](std::ptrdiff_t x) {
      for (float* plane : out) plane[x - first] = columns.isZero(x) ? 0.0F : plane[columns.place(x) - first];
    };
    for (std::ptrdiff_t x = first; x < from; ++x) standIn(x);
    for (std::ptrdiff_t x = to; x < last; ++x) standIn(x);
  }

 private:
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

  void enterStrip(std::ptrdiff_t x0, std::ptrdiff_t n) {
    first_ = x0;
    count_ = n;
    std::fill_n(held_, W::kCount, kNone);
  }

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
  Sums moveTo(std::ptrdiff_t y, const Rows& rows) {
    Sums sums;
    std::ptrdiff_t wanted = y - W::kCentre;
    for (const float*& line : sums.rows) {
      line = rows.isZero(wanted) ? kZeros : sumsOf(rows.place(wanted), rows);
      ++wanted;
    }
    return sums;
  }

 private:
  static constexpr std::ptrdiff_t kNone = PTRDIFF_MIN;
  static constexpr float kZeros[3 * kStrip] = {};

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

// A window of any side. Along a row its cost grows with the logarithm of the side: sums of 3, 9, 27... neighbours
// are built from three sums of a third as many, and a window is made of as many sums of each power as the digits of
// its side to the base of three tell. The largest power goes at least twice into the side, as one that goes once
// costs more than it saves, so that the first digit may be up to 5.
//
// Down the columns it costs three additions a pixel, whatever the side. The rows are taken in blocks as high as the
// window, so that a window is made of the last rows of one block and the first ones of the next: when a block is
// complete, each of its rows becomes the sum from there to the block's end; the sum of the block that has begun
// grows by each row. A term is thus rounded at most as often as the window has rows, less one. Which additions
// those are follows from the row's number modulo the side.
class LadderWindow {
 public:
  // `memory` has as many bytes as `bytes` tells.
  LadderWindow(WindowSpan span, std::ptrdiff_t width, std::uint8_t* memory)
      : span_(span),
        top_(topOf(span.side())),
        strip_(stripOf(span.side(), width)),
        line_(lineElements(span, strip_)) {
    auto* at = reinterpret_cast<float*>(alignedUp(memory, kAlignment));
    for (float*& plane : products_) {
      plane = at + toVectors(span.margin()) - span.margin();
      at += line_;
    }
    lines_ = at;
    at += top_ * line_;
    begun_ = at;
    ring_ = at + 3 * toVectors(strip_);
  }

  // Bytes of memory for a region of this width.
  static std::int64_t bytes(WindowSpan span, std::ptrdiff_t width) {
    const std::ptrdiff_t strip = stripOf(span.side(), width);
    const std::ptrdiff_t rows = 1 + span.side();
    return kAlignment + std::int64_t{4} * ((3 + topOf(span.side())) * lineElements(span, strip)) +
           std::int64_t{12} * (rows * toVectors(strip));
  }

  std::ptrdiff_t strip() const { return strip_; }

  void enterStrip(std::ptrdiff_t x0, std::ptrdiff_t n) {
    first_ = x0;
    count_ = n;
    stride_ = toVectors(n);
    entered_ = true;
  }

  struct Sums {
    const float* toEnd;
    const float* begun;
    std::ptrdiff_t stride;

    template <class D>
    HWY_INLINE hn::VFromD<D> at(D d, int plane, std::ptrdiff_t x) const {
      return hn::Add(hn::LoadU(d, toEnd + plane * stride + x), hn::LoadU(d, begun + plane * stride + x));
    }
  };

  template <class Rows>
  Sums moveTo(std::ptrdiff_t y, const Rows& rows) {
    if (entered_) {
      begin_ = next_ = y - span_.before;
      std::fill_n(begun_, 3 * stride_, 0.0F);
    }
    entered_ = false;
    for (; next_ <= y + span_.behind; ++next_) feed(next_, rows);
    // The window's first row stands where the next row will.
    return {ringRow(next_), begun_, stride_};
  }

 private:
  // A pass adds the sums of two powers, so that one pass makes the sides up to 17.
  static constexpr int kMostParts = 7;
  static constexpr hn::ScalableTag<float> kVector{};
  static constexpr std::ptrdiff_t kLanes = hn::MaxLanes(kVector);
  static constexpr std::ptrdiff_t toVectors(std::ptrdiff_t elements) { return (elements + 7) & ~std::ptrdiff_t{7}; }
  // Wide enough that the columns beside a strip, which neighbouring strips read too, do not weigh, and so narrow
  // that the rows of a window stay in the second cache.
  static std::ptrdiff_t stripOf(std::ptrdiff_t side, std::ptrdiff_t width) {
    return std::min(width, std::max<std::ptrdiff_t>(512, 4 * side));
  }
  // A row of products, where the strip's first column begins a vector, and a vector that a sum of whole vectors may
  // reach beyond it.
  static std::ptrdiff_t lineElements(WindowSpan span, std::ptrdiff_t strip) {
    return toVectors(span.margin()) + toVectors(strip + span.margin()) + 8;
  }
  static constexpr std::ptrdiff_t power(int k) {
    std::ptrdiff_t result = 1;
    for (; k > 0; --k) result *= 3;
    return result;
  }
  static int topOf(std::ptrdiff_t side) {
    int k = 0;
    while (2 * power(k + 1) <= side) ++k;
    return k;
  }
  int digit(int k) const {
    const std::ptrdiff_t times = span_.side() / power(k);
    return static_cast<int>(k < top_ ? times % 3 : times);
  }

  float* ringRow(std::ptrdiff_t y) const { return ring_ + (y - begin_) % span_.side() * 3 * stride_; }

  // Adds up the parts, and what `sums` holds already where they go onto it, in whole vectors.
  template <int kParts = 1>
  static void addParts(const float* const* parts, int count, bool onto, std::ptrdiff_t n, float* sums) {
    if constexpr (kParts < kMostParts) {
      if (count > kParts) return addParts<kParts + 1>(parts, count, onto, n, sums);
    }
    const float* r[kParts];
    std::copy_n(parts, kParts, r);
    for (std::ptrdiff_t x = 0; x < n; x += kLanes) {
      auto sum = hn::LoadU(kVector, r[0] + x);
      if (onto) sum = hn::Add(hn::LoadU(kVector, sums + x), sum);
      for (int i = 1; i < kParts; ++i) sum = hn::Add(sum, hn::LoadU(kVector, r[i] + x));
      hn::StoreU(sum, kVector, sums + x);
    }
  }

  // Adds up the sums that make a window, the largest first: part(k, start) is the sum of 3^k neighbours that begin
  // `start` after the window does.
  template <class Part>
  void addWindow(const Part& part, std::ptrdiff_t n, float* sums) const {
    const float* parts[kMostParts];
    int count = 0;
    bool onto = false;
    std::ptrdiff_t start = 0;
    for (int k = top_; k >= 0; --k) {
      for (int i = 0; i < digit(k); ++i, start += power(k)) parts[count++] = part(k, start);
      const bool room = count <= kMostParts - 2;
      if (count == 0 || (room && k > 0)) continue;
      addParts(parts, count, onto, n, sums);
      onto = true;
      count = 0;
    }
  }

  template <class Rows>
  void feed(std::ptrdiff_t y, const Rows& rows) {
    float* sums = ringRow(y);
    if (rows.isZero(y)) {
      std::fill_n(sums, 3 * stride_, 0.0F);
    } else {
      // Beside the region's first column there may be memory, of which the window's columns alone may be read.
      const std::ptrdiff_t margin = span_.margin();
      const std::ptrdiff_t left = first_ == 0 ? span_.before : margin;
      std::array<float*, 3> lines;
      for (std::size_t i = 0; i < 3; ++i) lines[i] = products_[i] + margin - left;
      rows.read(rows.place(y), first_ - left, first_ + count_ + margin, lines);
      for (int plane = 0; plane < 3; ++plane)
        sumAlong(products_[static_cast<std::size_t>(plane)] + margin - span_.before, sums + plane * stride_);
    }
    addToBlock(sums);
  }

  // Takes the row into its block, which it may complete.
  void addToBlock(float* row) {
    const std::ptrdiff_t n = 3 * stride_;
    if (row != ring_ + (span_.side() - 1) * n) {
      const float* const both[] = {begun_, row};
      return addParts(both, 2, false, n, begun_);
    }
    for (; row != ring_; row -= n) {
      const float* const both[] = {row, row - n};
      addParts(both, 2, false, n, row - n);
    }
    std::fill_n(begun_, n, 0.0F);
  }

  // Sums of each power of neighbours, and of them the sums of the windows. Lines have room for whole vectors at
  // their ends.
  void sumAlong(const float* line, float* sums) const {
    const auto neighbours = [&](int k) { return k == 0 ? line : lines_ + (k - 1) * line_; };
    std::ptrdiff_t n = count_ + span_.side() - 1;
    for (int k = 0; k < top_; ++k) {
      const std::ptrdiff_t p = power(k);
      const float* from = neighbours(k);
      const float* const thirds[] = {from, from + p, from + 2 * p};
      n -= 2 * p;
      addParts(thirds, 3, false, n, lines_ + k * line_);
    }
    addWindow([&](int k, std::ptrdiff_t start) { return neighbours(k) + start; }, stride_, sums);
  }

  WindowSpan span_;
  int top_;
  std::ptrdiff_t strip_;
  std::ptrdiff_t line_;
  std::array<float*, 3> products_{};
  float* lines_ = nullptr;
  float* begun_ = nullptr;
  float* ring_ = nullptr;
  std::ptrdiff_t first_ = 0;
  std::ptrdiff_t count_ = 0;
  std::ptrdiff_t stride_ = 0;
  // The first row fed in this strip, from which the blocks count, and the next one.
  std::ptrdiff_t begin_ = 0;
  std::ptrdiff_t next_ = 0;
  bool entered_ = false;
};

// Calls finish(d, y, x, a, b, c) for all pixels of the slice's rows, in groups of lanes.
template <class Window, class Rows, class Finish>
void forTensors(Window& window, const Rows& rows, std::ptrdiff_t width, Slice slice, const Finish& finish) {
  const Finish put = finish;  // A copy that nothing else can see stays in registers.
  for (std::ptrdiff_t x0 = 0; x0 < width; x0 += window.strip()) {
    const std::ptrdiff_t n = std::min(window.strip(), width - x0);
    window.enterStrip(x0, n);
    for (std::ptrdiff_t y : slice) {
      const auto sums = window.moveTo(y, rows);
      forVectors<float>(0, n, [&](auto d, std::ptrdiff_t x) {
        put(d, y, x0 + x, sums.at(d, 0, x), sums.at(d, 1, x), sums.at(d, 2, x));
      });
    }
  }
}

}  // namespace rvp::n8
