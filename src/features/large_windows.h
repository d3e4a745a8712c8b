// Sums of structure tensors over windows of any side.
#pragma once

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <limits>

#include "features/row_ladder.h"
#include "features/structure_tensor.h"
#include "frame/simd.h"
#include "frame/team.h"
#include "frame/views.h"

namespace rvp::n8 {

// Of dx * dx, dx * dy and dy * dy.
constexpr std::ptrdiff_t kPlanes = 3;

// Wide enough that the columns beside a strip, which neighbouring strips read too, do not weigh, and so narrow that
// most of what a window needs stays in the first cache.
inline std::ptrdiff_t stripOf(WindowSpan span, std::ptrdiff_t width) {
  return std::min(width, std::max<std::ptrdiff_t>(384, 4 * span.side()));
}

// Windows of floats. Down the columns they cost about four additions a pixel, whatever the side. The rows are taken
// in groups of three, while their sums are in registers: a window is made of the last rows of one group, some whole
// groups, and the first rows of the present one. The whole groups are summed in blocks of as many: when a block is
// complete, each of its groups becomes the sum from there to the block's end; the sum of the block that has begun
// grows by each group. Which additions those are follows from the row's number.
class GroupedWindow {
 public:
  // `memory` has as many bytes as `bytes` tells.
  GroupedWindow(WindowSpan span, std::ptrdiff_t width, std::uint8_t* memory) : shape_(span, width) {
    lines_ = reinterpret_cast<float*>(alignedUp(memory, kAlignment));
    begun_ = lines_ + kGroup * kPlanes * shape_.ladder.block();
  }

  // Bytes of memory for a region of this width.
  static std::int64_t bytes(WindowSpan span, std::ptrdiff_t width) {
    const Shape shape(span, width);
    return kAlignment + std::int64_t{4} * (kGroup * kPlanes * shape.ladder.block() +
                                           shape.sums() * kPlanes * Ladder::toVectors(shape.strip));
  }

  std::ptrdiff_t strip() const { return shape_.strip; }

  // Calls finish(d, y, x, a, b, c) for the columns x0 to x0 + n - 1 of the slice's rows.
  template <class Rows, class Finish>
  void run(std::ptrdiff_t x0, std::ptrdiff_t n, Slice slice, const Rows& rows, const Finish& finish) {
    first_ = x0;
    count_ = n;
    plane_ = Ladder::toVectors(n);
    toEnd_ = begun_ + kPlanes * plane_;
    kept_ = toEnd_ + std::max<std::ptrdiff_t>(shape_.between(), 1) * kPlanes * plane_;
    windows_ = kept_ + shape_.slots() * shape_.kinds() * kPlanes * plane_;
    std::fill_n(begun_, shape_.sums() * kPlanes * plane_, 0.0F);
    // The first row's window ends with a group's first row. What a group has of rows before it is in no sum.
    const std::ptrdiff_t begin = slice.first - shape_.span.before;
    const std::ptrdiff_t end = slice.last + shape_.span.behind;
    std::ptrdiff_t y = begin - (kGroup - (shape_.span.side() - 1) % kGroup) % kGroup;
    for (std::ptrdiff_t group = 0; y < end; ++group, y += kGroup) {
      for (int i = 0; i < kGroup; ++i) takeRow(i, y + i, begin <= y + i && y + i < end, rows);
      merge(group);
      endGroup(group);
      const std::ptrdiff_t out = y - shape_.span.behind;
      for (std::ptrdiff_t i = 0; i < kGroup; ++i)
        if (slice.first <= out && out + i < slice.last) finishRow(i, out + i, finish);
    }
  }

 private:
  using Ladder = RowLadder<float>;
  static constexpr std::ptrdiff_t kGroup = 3;

  // What follows from the window's side and the region's width.
  struct Shape {
    // The first column of a strip begins a vector.
    Shape(WindowSpan window, std::ptrdiff_t width)
        : span(window),
          strip(stripOf(span, width)),
          margin(Ladder::toVectors(span.margin())),
          ladder(span.side(), margin - span.before, margin + strip + span.margin()) {}

    std::ptrdiff_t groups() const { return span.side() / kGroup; }
    std::ptrdiff_t rest() const { return span.side() % kGroup; }
    // Whole groups that each of the windows that end with a group has before it.
    std::ptrdiff_t between() const { return std::max<std::ptrdiff_t>(groups() - 1, 0); }
    // Groups of which something is kept, and how many sums of each.
    std::ptrdiff_t slots() const { return groups() + (rest() == 2 ? 1 : 0); }
    std::ptrdiff_t kinds() const { return rest() == 0 ? 2 : 3; }
    // Rows of sums in memory.
    std::ptrdiff_t sums() const { return 1 + std::max<std::ptrdiff_t>(between(), 1) + kinds() * slots() + kGroup; }

    WindowSpan span;
    std::ptrdiff_t strip;
    std::ptrdiff_t margin;
    Ladder ladder;
  };

  float* linesOf(int row, int plane) const { return lines_ + (row * kPlanes + plane) * shape_.ladder.block(); }

  // Row i of the present group.
  template <class Rows>
  void takeRow(int i, std::ptrdiff_t y, bool wanted, const Rows& rows) {
    if (!wanted || rows.isZero(y)) {
      std::fill_n(linesOf(i, 0), kPlanes * shape_.ladder.block(), 0.0F);
      return;
    }
    const std::ptrdiff_t left = shape_.span.left(first_);
    std::array<float*, kPlanes> products;
    for (int plane = 0; plane < kPlanes; ++plane)
      products[static_cast<std::size_t>(plane)] = linesOf(i, plane) + shape_.margin - left;
    rows.read(rows.place(y), first_ - left, first_ + count_ + shape_.span.margin(), products);
    for (int plane = 0; plane < kPlanes; ++plane) shape_.ladder.climb(linesOf(i, plane), count_);
  }

  float* keptOf(std::ptrdiff_t group) const {
    return kept_ + group % shape_.slots() * shape_.kinds() * kPlanes * plane_;
  }
  float* toEndOf(std::ptrdiff_t group) const {
    return toEnd_ + group % std::max<std::ptrdiff_t>(shape_.between(), 1) * kPlanes * plane_;
  }

  // Sums the windows that end with the first, second and third row of the present group, and keeps what later
  // windows need. What is made of one vector of columns stands side by side: the three windows, and what is kept of
  // a group, the sums of its last two rows, of its last one and of all.
  void merge(std::ptrdiff_t group) const {
    const std::ptrdiff_t row = kPlanes * shape_.ladder.block(), kinds = shape_.kinds();
    // A window of two rows has no whole group.
    const bool pair = shape_.groups() == 0;
    const std::ptrdiff_t rest = shape_.rest();
    for (int plane = 0; plane < kPlanes; ++plane) {
      const std::ptrdiff_t offset = plane * plane_;
      float* const windows = windows_ + kGroup * offset;
      float* const now = keptOf(group) + kinds * offset;
      const float* const old = keptOf(group - shape_.groups() + shape_.slots()) + kinds * offset;
      float *const toEnd = toEndOf(group) + offset, *const begun = begun_ + offset;
      shape_.ladder.useParts(linesOf(0, plane), [=, this](const auto parts) {
        forVectors<float>(0, count_, [=](auto d, std::ptrdiff_t x) {
          using V = hn::VFromD<decltype(d)>;
          constexpr auto kLanes = static_cast<std::ptrdiff_t>(hn::MaxLanes(d));
          const auto keep = [=](std::ptrdiff_t kind, V sums) {
            hn::StoreU(sums, d, now + kinds * x + kind * kLanes);
          };
          const auto kept = [=](const float* from, std::ptrdiff_t kind) {
            return hn::LoadU(d, from + kinds * x + kind * kLanes);
          };
          const auto put = [=](std::ptrdiff_t i, V sums) {
            hn::StoreU(sums, d, windows + kGroup * x + i * kLanes);
          };
          constexpr std::ptrdiff_t kLastTwo = 0, kLast = 1, kAll = 2;

          const V row0 = Ladder::sumAt(d, parts, x), row1 = Ladder::sumAt(d, parts, row + x);
          const V row2 = Ladder::sumAt(d, parts, 2 * row + x);
          const V firstTwo = hn::Add(row0, row1), lastTwo = hn::Add(row1, row2), all = hn::Add(firstTwo, row2);
          const V sinceBlock = hn::LoadU(d, begun + x), between = hn::Add(hn::LoadU(d, toEnd + x), sinceBlock);
          const V upTo0 = hn::Add(between, row0), upTo1 = hn::Add(between, firstTwo), upTo2 = hn::Add(between, all);
          if (pair) {
            put(0, hn::Add(kept(now, kLast), row0));
            put(1, firstTwo);
            put(2, lastTwo);
          } else if (rest == 0) {
            put(0, hn::Add(kept(old, kLastTwo), upTo0));
            put(1, hn::Add(kept(old, kLast), upTo1));
            put(2, upTo2);
          } else if (rest == 1) {
            put(0, hn::Add(kept(old, kAll), upTo0));
            put(1, hn::Add(kept(old, kLastTwo), upTo1));
            put(2, hn::Add(kept(old, kLast), upTo2));
          } else {
            // The group before the old one had the present one's place.
            put(0, hn::Add(hn::Add(kept(now, kLast), kept(old, kAll)), upTo0));
            put(1, hn::Add(kept(old, kAll), upTo1));
            put(2, hn::Add(kept(old, kLastTwo), upTo2));
          }
          keep(kLastTwo, lastTwo);
          keep(kLast, row2);
          if (rest != 0) keep(kAll, all);
          hn::StoreU(all, d, toEnd + x);
          hn::StoreU(hn::Add(sinceBlock, all), d, begun + x);
        });
      });
    }
  }

  template <class Finish>
  void finishRow(std::ptrdiff_t i, std::ptrdiff_t y, const Finish& finish) const {
    const Finish put = finish;  // A copy that nothing else can see stays in registers.
    const float* const windows = windows_;
    const std::ptrdiff_t plane = kGroup * plane_, x0 = first_;
    forVectors<float>(0, count_, [=](auto d, std::ptrdiff_t x) {
      const float* const at = windows + kGroup * x + i * static_cast<std::ptrdiff_t>(hn::MaxLanes(d));
      put(d, y, x0 + x, hn::LoadU(d, at), hn::LoadU(d, at + plane), hn::LoadU(d, at + 2 * plane));
    });
  }

  // The group may complete its block.
  void endGroup(std::ptrdiff_t group) {
    const std::ptrdiff_t between = shape_.between(), elements = kPlanes * plane_;
    float* sums = toEndOf(group);
    if (between == 0) std::fill_n(sums, elements, 0.0F);
    if (between > 0 && group % between != between - 1) return;
    for (; sums != toEnd_; sums -= elements)
      Ladder::add(std::array<const float*, 2>{sums - elements, sums}, elements, sums - elements);
    std::fill_n(begun_, elements, 0.0F);
  }

  Shape shape_;
  // Lines of the present group's rows; then sums of three planes each: of the groups of the block that has begun,
  // of groups to the end of their block, what is kept of each group, and the present group's windows.
  float* lines_;
  float* begun_;
  float* toEnd_ = nullptr;
  float* kept_ = nullptr;
  float* windows_ = nullptr;
  std::ptrdiff_t first_ = 0;
  std::ptrdiff_t count_ = 0;
  std::ptrdiff_t plane_ = 0;
};

// Windows of bytes, whose products are integers: the sums down the columns run on from row to row, as they are
// exact.
class RunningWindow {
 public:
  // The largest side whose sums fit, where no derivative is beyond `largest`.
  static constexpr std::ptrdiff_t mostSide(std::int64_t largest) {
    std::ptrdiff_t side = 1;
    while ((side + 1) * (side + 1) * largest * largest <= std::numeric_limits<std::int32_t>::max()) ++side;
    return side;
  }

  // `memory` has as many bytes as `bytes` tells.
  RunningWindow(WindowSpan span, std::ptrdiff_t width, std::uint8_t* memory) : shape_(span, width) {
    sums_ = reinterpret_cast<std::int32_t*>(alignedUp(memory, kAlignment));
    rows_ = reinterpret_cast<std::int16_t*>(sums_ + kPlanes * shape_.ladder.block());
  }

  // Bytes of memory for a region of this width.
  static std::int64_t bytes(WindowSpan span, std::ptrdiff_t width) {
    const Shape shape(span, width);
    return kAlignment + std::int64_t{4} * (kPlanes * shape.ladder.block()) +
           std::int64_t{4} * (shape.rows() * shape.line);
  }

  std::ptrdiff_t strip() const { return shape_.strip; }

  // Calls finish(d, y, x, a, b, c) for the columns x0 to x0 + n - 1 of the slice's rows.
  template <class Rows, class Finish>
  void run(std::ptrdiff_t x0, std::ptrdiff_t n, Slice slice, const Rows& rows, const Finish& finish) {
    std::fill_n(sums_, kPlanes * shape_.ladder.block(), 0);
    std::fill_n(rows_, shape_.rows() * 2 * shape_.line, std::int16_t{0});
    std::ptrdiff_t next = slice.first - shape_.span.before;
    // The rows stand in a ring: behind the one that enters the windows is the one that leaves them.
    std::ptrdiff_t slot = 0;
    for (std::ptrdiff_t y : slice) {
      for (; next <= y + shape_.span.behind; ++next) {
        takeRow(rowAt(slot), x0, n, next, rows);
        const std::ptrdiff_t following = slot + 1 < shape_.rows() ? slot + 1 : 0;
        replace(rowAt(slot), rowAt(following), n + 2 * shape_.span.margin());
        slot = following;
      }
      finishRow(x0, n, y, finish);
    }
  }

 private:
  using Ladder = RowLadder<std::int32_t>;

  struct Shape {
    Shape(WindowSpan window, std::ptrdiff_t width)
        : span(window),
          strip(stripOf(span, width)),
          line((strip + 2 * span.margin() + 15) & ~std::ptrdiff_t{15}),
          ladder(span.side(), span.margin() - span.before, line) {}

    // Rows that are kept: a window's and the one that has left it.
    std::ptrdiff_t rows() const { return span.side() + 1; }

    WindowSpan span;
    std::ptrdiff_t strip;
    std::ptrdiff_t line;
    Ladder ladder;
  };

  // A row of dx, and of dy behind it.
  std::int16_t* rowAt(std::ptrdiff_t slot) const { return rows_ + slot * 2 * shape_.line; }

  template <class Rows>
  void takeRow(std::int16_t* row, std::ptrdiff_t x0, std::ptrdiff_t n, std::ptrdiff_t y, const Rows& rows) const {
    if (rows.isZero(y)) {
      std::fill_n(row, 2 * shape_.line, std::int16_t{0});
      return;
    }
    const std::ptrdiff_t margin = shape_.span.margin(), left = shape_.span.left(x0);
    std::int16_t* const first = row + margin - left;
    rows.readDerivatives(rows.place(y), x0 - left, x0 + n + margin, {first, first + shape_.line});
  }

  // A vector ordered so that interleaving lower halves gives the pairs of its first half, and interleaving upper
  // halves those of the second: interleaving goes on within 16 bytes.
  template <class D>
  HWY_INLINE static hn::VFromD<D> loadForHalves(D d, const std::int16_t* at) {
    const auto v = hn::LoadU(d, at);
    if constexpr (sizeof(v.raw) == 32) {
      return hn::VFromD<D>{_mm256_permute4x64_epi64(v.raw, 0xD8)};  // quarters 0, 2, 1, 3
    } else {
      return v;
    }
  }

  // Adds the products of one row to the sums, and subtracts those of another.
  void replace(const std::int16_t* entering, const std::int16_t* leaving, std::ptrdiff_t columns) {
    constexpr hn::ScalableTag<std::int16_t> d;
    constexpr hn::RepartitionToWide<decltype(d)> dSum;
    constexpr auto kLanes = static_cast<std::ptrdiff_t>(hn::MaxLanes(d));
    const std::ptrdiff_t block = shape_.ladder.block();
    for (std::ptrdiff_t x = 0; x < columns; x += kLanes) {
      const auto newX = loadForHalves(d, entering + x), newY = loadForHalves(d, entering + shape_.line + x);
      const auto oldX = loadForHalves(d, leaving + x), oldY = loadForHalves(d, leaving + shape_.line + x);
      const auto lessX = hn::Neg(oldX), lessY = hn::Neg(oldY);
      const auto change = [&](int plane, std::ptrdiff_t at, auto a, auto b) {
        std::int32_t* const sums = sums_ + plane * block + x + at;
        auto unused = hn::Zero(dSum);
        hn::StoreU(hn::ReorderWidenMulAccumulate(dSum, a, b, hn::LoadU(dSum, sums), unused), dSum, sums);
      };
      const auto changeAll = [&](std::ptrdiff_t at, auto pair) {
        const auto xs = pair(newX, oldX), ys = pair(newY, oldY);
        change(0, at, xs, pair(newX, lessX));
        change(1, at, xs, pair(newY, lessY));
        change(2, at, ys, pair(newY, lessY));
      };
      changeAll(0, [=](auto a, auto b) { return hn::InterleaveLower(d, a, b); });
      changeAll(kLanes / 2, [=](auto a, auto b) { return hn::InterleaveUpper(d, a, b); });
    }
  }

  template <class Finish>
  void finishRow(std::ptrdiff_t x0, std::ptrdiff_t n, std::ptrdiff_t y, const Finish& finish) const {
    const std::ptrdiff_t block = shape_.ladder.block();
    for (int plane = 0; plane < kPlanes; ++plane) shape_.ladder.climb(sums_ + plane * block, n);
    shape_.ladder.useParts(sums_, [&](const auto parts) {
      const Finish put = finish;
      forVectors<float>(0, n, [&](auto d, std::ptrdiff_t x) {
        const hn::RebindToSigned<decltype(d)> dSum;
        const auto sumOf = [&](int plane) {
          return hn::ConvertTo(d, Ladder::sumAt(dSum, parts, plane * block + x));
        };
        put(d, y, x0 + x, sumOf(0), sumOf(1), sumOf(2));
      });
    });
  }

  Shape shape_;
  // Sums down the columns, a block of lines for each plane, and rows of derivatives.
  std::int32_t* sums_;
  std::int16_t* rows_;
};

}  // namespace rvp::n8
