// The structure tensor of an image: the products of its derivatives, dx * dx, dx * dy and dy * dy, summed over a
// square window around each pixel.
//
// No plane of products ever exists. The image is worked through in vertical strips; of each strip only as many rows
// are kept as the window is high, summed along the row already, so that a pixel costs one sum along its row and one
// down the columns. Every sum is made anew from its own window: nothing runs on from pixel to pixel, so that no
// error adds up, NaN and infinity stay inside their windows, and the same neighbourhood gives the same bits
// wherever in the image it lies.
#pragma once

#include <algorithm>
#include <array>
#include <bit>
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
    DerivativeOf<Src> dx[kStretch];
    DerivativeOf<Src> dy[kStretch];
    forStretches(from, to, [&](std::ptrdiff_t x0, std::ptrdiff_t n) {
      derivativeRow<Kernel>(image_, y, x0, x0 + n, dx, dy);
      forVectors<float>(0, n, [&](auto d, std::ptrdiff_t x) {
        const auto vx = asFloats(d, dx + x), vy = asFloats(d, dy + x);
        const std::ptrdiff_t at = x0 - first + x;
        hn::StoreU(hn::Mul(vx, vx), d, out[0] + at);
        hn::StoreU(hn::Mul(vx, vy), d, out[1] + at);
        hn::StoreU(hn::Mul(vy, vy), d, out[2] + at);
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

  template <class D>
  static hn::VFromD<D> asFloats(D d, const float* src) {
    return hn::LoadU(d, src);
  }
  template <class D>
  static hn::VFromD<D> asFloats(D d, const std::int16_t* src) {
    return hn::ConvertTo(d, hn::PromoteTo(hn::RebindToSigned<D>(), hn::LoadU(hn::Rebind<std::int16_t, D>(), src)));
  }

  ExtendedImage<Src, 1> image_;
};

// A window of one of the small odd sides, on the stack. Along the row the terms are added in ascending order, down
// the columns the centre first and then the pairs around it: the sums of rvpiFilterLowpassBorder_32f_C1R.
template <class W>
class SmallWindow {
 public:
  // Each strip comes to new pages of memory row by row, so few wide ones are best. With its margins this one is two
  // stretches, and its rows are no power of 2 apart in the cache; they take 60 KB of the stack at most.
  static constexpr std::ptrdiff_t kStrip = 2 * kStretch - 16;
  std::ptrdiff_t strip() const { return kStrip; }

  void enterStrip(std::ptrdiff_t x0, std::ptrdiff_t n) {
    first_ = x0;
    count_ = n;
    std::fill_n(held_, W::kCount, kNone);
  }

  template <class Rows>
  void moveTo(std::ptrdiff_t y, const Rows& rows) {
    for (int i = 0; i < W::kCount; ++i) {
      const std::ptrdiff_t wanted = y + i - W::kCentre;
      rows_[i] = rows.isZero(wanted) ? kZeros : sumsOf(rows.place(wanted), rows);
    }
  }

  template <class D>
  hn::VFromD<D> sum(D d, int plane, std::ptrdiff_t x) const {
    return weightedSum<W>(d, [&](int i) { return hn::LoadU(d, rows_[i] + plane * kStrip + x); });
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
    float products[3][kStrip + 2 * W::kCentre];
    rows.read(y, first_ - W::kCentre, first_ + count_ + W::kCentre, {products[0], products[1], products[2]});
    for (int plane = 0; plane < 3; ++plane) {
      const float* src = products[plane];
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
  const float* rows_[W::kCount];
  float sums_[W::kCount][3 * kStrip];
};

// A window of any side, at a cost that grows with the logarithm of the side: sums of 4, 16, 64... neighbours are
// built from four sums of a quarter as many, and a window is made of as many sums of each power as the digits of
// its side to the base of four tell. Both along the rows and down the columns; of the rows of each power a ring is
// kept.
class LadderWindow {
 public:
  // `memoryBytes` are at least those of `bytes`. Where there are more, strips are wider.
  LadderWindow(WindowSpan span, std::ptrdiff_t width, std::uint8_t* memory, std::int64_t memoryBytes)
      : span_(span),
        top_(topOf(span.side())),
        strip_(widestStrip(span, width, memoryBytes)),
        stride_(toVectors(strip_)) {
    auto* at = reinterpret_cast<float*>(alignedUp(memory, kAlignment));
    const std::ptrdiff_t wide = lineElements(span, strip_);
    for (float*& plane : products_) {
      plane = at;
      at += wide;
    }
    sums_ = at;
    at += 3 * stride_;
    for (int k = 0; k <= top_; ++k) {
      rings_[k] = at;
      at += ringRows(k) * 3 * stride_;
    }
  }

  // Bytes of memory for a region of this width.
  static std::int64_t bytes(WindowSpan span, std::ptrdiff_t width) {
    return bytesOfStrip(span, narrowStrip(span.side(), width));
  }

  std::ptrdiff_t strip() const { return strip_; }

  void enterStrip(std::ptrdiff_t x0, std::ptrdiff_t n) {
    first_ = x0;
    count_ = n;
    entered_ = true;
  }

  template <class Rows>
  void moveTo(std::ptrdiff_t y, const Rows& rows) {
    if (entered_) begin_ = next_ = y - span_.before;
    entered_ = false;
    for (; next_ <= y + span_.behind; ++next_) feed(next_, rows);
    std::ptrdiff_t start = y - span_.before;
    for (int k = top_; k >= 0; --k) {
      const float* part[3];
      for (int i = 0; i < digit(k); ++i, start += power(k)) part[i] = ringRow(k, start);
      addParts(part, digit(k), k < top_, 3 * stride_, sums_);
    }
  }

  template <class D>
  hn::VFromD<D> sum(D d, int plane, std::ptrdiff_t x) const {
    return hn::LoadU(d, sums_ + plane * stride_ + x);
  }

 private:
  // A side has at most 31 bits, which are 16 digits of at most 3.
  static constexpr int kMostPowers = 16;
  static constexpr hn::ScalableTag<float> kVector{};
  static constexpr std::ptrdiff_t kLanes = hn::MaxLanes(kVector);
  // Rows begin at whole vectors and have room for them.
  static constexpr std::ptrdiff_t kAlignment = 32;
  static constexpr std::ptrdiff_t toVectors(std::ptrdiff_t elements) { return (elements + 7) & ~std::ptrdiff_t{7}; }
  // Wide enough that the columns beside a strip, which neighbouring strips read too, do not weigh.
  static std::ptrdiff_t narrowStrip(std::ptrdiff_t side, std::ptrdiff_t width) {
    return std::min(width, std::max<std::ptrdiff_t>(256, 4 * side));
  }
  // The rings of the widest strip still fit into the second cache up to sides of about 40.
  static std::ptrdiff_t widestStrip(WindowSpan span, std::ptrdiff_t width, std::int64_t memoryBytes) {
    const std::ptrdiff_t wide = std::min(width, 2 * kStretch - 16);
    const std::ptrdiff_t narrow = narrowStrip(span.side(), width);
    return wide > narrow && bytesOfStrip(span, wide) <= memoryBytes ? wide : narrow;
  }
  static std::int64_t bytesOfStrip(WindowSpan span, std::ptrdiff_t strip) {
    const std::ptrdiff_t rows = 1 + span.side() + topOf(span.side());
    return kAlignment + std::int64_t{12} * (lineElements(span, strip) + rows * toVectors(strip));
  }
  // A row of products, and a vector that a sum of whole vectors may reach beyond it.
  static std::ptrdiff_t lineElements(WindowSpan span, std::ptrdiff_t strip) {
    return toVectors(strip + 2 * span.margin()) + 8;
  }
  static int topOf(std::ptrdiff_t side) {
    return (static_cast<int>(std::bit_width(static_cast<std::size_t>(side))) - 1) / 2;
  }
  static std::ptrdiff_t power(int k) { return std::ptrdiff_t{1} << 2 * k; }
  int digit(int k) const { return static_cast<int>(span_.side() >> 2 * k & 3); }

  // Sums of 4^k rows are needed until they are the first quarter of a larger sum, 3 * 4^k rows later, or part of a
  // window. All rings together have as many rows as the window, and one more for each power but the largest.
  std::ptrdiff_t ringRows(int k) const { return k < top_ ? 3 * power(k) + 1 : span_.side() - power(k) + 1; }
  float* ringRow(int k, std::ptrdiff_t y) const { return rings_[k] + (y - begin_) % ringRows(k) * 3 * stride_; }

  // The sum of four rows, in whole vectors. It may take the place of the first row.
  static void addFour(const float* r0, const float* r1, const float* r2, const float* r3, std::ptrdiff_t n,
                      float* sums) {
    for (std::ptrdiff_t x = 0; x < n; x += kLanes) {
      const auto early = hn::Add(hn::LoadU(kVector, r0 + x), hn::LoadU(kVector, r1 + x));
      const auto late = hn::Add(hn::LoadU(kVector, r2 + x), hn::LoadU(kVector, r3 + x));
      hn::StoreU(hn::Add(early, late), kVector, sums + x);
    }
  }

  // Writes the sum of the parts, or adds it to `sums`, in whole vectors.
  template <int kParts>
  static void addParts(const float* const* part, bool onto, std::ptrdiff_t n, float* sums) {
    const float* r[kParts];
    std::copy_n(part, kParts, r);
    for (std::ptrdiff_t x = 0; x < n; x += kLanes) {
      const auto sum = ascendingSum<kParts>([&](int i) { return hn::LoadU(kVector, r[i] + x); });
      hn::StoreU(onto ? hn::Add(hn::LoadU(kVector, sums + x), sum) : sum, kVector, sums + x);
    }
  }
  static void addParts(const float* const* part, int parts, bool onto, std::ptrdiff_t n, float* sums) {
    if (parts == 1) addParts<1>(part, onto, n, sums);
    if (parts == 2) addParts<2>(part, onto, n, sums);
    if (parts == 3) addParts<3>(part, onto, n, sums);
  }

  template <class Rows>
  void feed(std::ptrdiff_t y, const Rows& rows) {
    float* sums = ringRow(0, y);
    if (rows.isZero(y)) {
      std::fill_n(sums, 3 * stride_, 0.0F);
    } else {
      const std::ptrdiff_t margin = span_.margin();
      rows.read(rows.place(y), first_ - margin, first_ + count_ + margin, products_);
      for (int plane = 0; plane < 3; ++plane)
        sumAlong(products_[static_cast<std::size_t>(plane)] + margin - span_.before, sums + plane * stride_);
    }
    for (int k = 0; k < top_; ++k) {
      const std::ptrdiff_t first = y - power(k + 1) + 1;
      if (first < begin_) return;
      const auto quarter = [&](int i) { return ringRow(k, first + i * power(k)); };
      addFour(quarter(0), quarter(1), quarter(2), quarter(3), 3 * stride_, ringRow(k + 1, first));
    }
  }

  // Turns `line` into sums of its neighbours, power by power, and adds up those that make the window. The smallest
  // power comes last in the window's columns and first in the sum. `line` has room for whole vectors at its end.
  void sumAlong(float* line, float* sums) const {
    std::ptrdiff_t start = span_.side();
    bool onto = false;
    for (int k = 0;; ++k) {
      const std::ptrdiff_t p = power(k);
      start -= digit(k) * p;
      const float* const part[] = {line + start, line + start + p, line + start + 2 * p};
      addParts(part, digit(k), onto, count_, sums);
      onto = onto || digit(k) != 0;
      if (k == top_) return;
      addFour(line, line + p, line + 2 * p, line + 3 * p, count_ + span_.side() - 4 * p, line);
    }
  }

  WindowSpan span_;
  int top_;
  std::ptrdiff_t strip_;
  std::ptrdiff_t stride_;
  std::array<float*, 3> products_{};
  float* rings_[kMostPowers];
  float* sums_ = nullptr;
  std::ptrdiff_t first_ = 0;
  std::ptrdiff_t count_ = 0;
  // The first row fed in this strip, from which the rings count, and the next one.
  std::ptrdiff_t begin_ = 0;
  std::ptrdiff_t next_ = 0;
  bool entered_ = false;
};

// Calls finish(d, y, x, a, b, c) for all pixels of the slice's rows, in groups of lanes.
template <class Window, class Rows, class Finish>
void forTensors(Window& window, const Rows& rows, std::ptrdiff_t width, Slice slice, const Finish& finish) {
  for (std::ptrdiff_t x0 = 0; x0 < width; x0 += window.strip()) {
    const std::ptrdiff_t n = std::min(window.strip(), width - x0);
    window.enterStrip(x0, n);
    for (std::ptrdiff_t y : slice) {
      window.moveTo(y, rows);
      forVectors<float>(0, n, [&](auto d, std::ptrdiff_t x) {
        finish(d, y, x0 + x, window.sum(d, 0, x), window.sum(d, 1, x), window.sum(d, 2, x));
      });
    }
  }
}

}  // namespace rvp::n8
