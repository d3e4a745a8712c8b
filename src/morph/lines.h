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
#include <cstring>

#include "filter/border.h"
#include "frame/simd.h"
#include "frame/views.h"
#include "rvpcv/types.h"

namespace rvp::n8 {

// SSSE3 has no minimum and maximum of these; two instructions make one.
template <class V>
constexpr bool isUnsigned16() {
  return HWY_TARGET > HWY_SSE4 && std::is_same_v<hn::TFromV<V>, std::uint16_t>;
}

struct Erosion {
  template <class V>
  static HWY_INLINE V of(V a, V b) {
    if constexpr (isUnsigned16<V>()) {
      return hn::Sub(a, hn::SaturatedSub(a, b));
    } else {
      return hn::Min(a, b);
    }
  }
  template <class V>
  static HWY_INLINE V ofBits(V a, V b) {
    return hn::And(a, b);
  }
};

struct Dilation {
  template <class V>
  static HWY_INLINE V of(V a, V b) {
    if constexpr (isUnsigned16<V>()) {
      return hn::Add(b, hn::SaturatedSub(a, b));
    } else {
      return hn::Max(a, b);
    }
  }
  template <class V>
  static HWY_INLINE V ofBits(V a, V b) {
    return hn::Or(a, b);
  }
};

// How a line of n words ends. `exact` touches nothing behind it: its last vector overlaps the one before, which
// changes nothing as long as dst is none of the operands or the very first of them. `padded` reads and writes up to
// a whole vector more, and dst may lie anywhere before its operands.
enum class LineEnd { exact, padded };

// Bytes of a padded line behind its pixels: room for the widest vector. All variants keep the same, as the room
// that lines take decides on the road, and that on the order of minima.
constexpr std::ptrdiff_t kLinePadding = 32;

// Vectors that are worked on side by side, to hide the latency of a chain of minima.
constexpr int kLineVectors = 4;

// Calls group(x) for four vectors at a time, then one(tag, x) for one.
template <LineEnd kEnd, class Word, class Group, class One>
HWY_INLINE void forLine(std::ptrdiff_t n, const Group& group, const One& one) {
  const hn::ScalableTag<Word> d;
  constexpr auto kLanes = static_cast<std::ptrdiff_t>(hn::MaxLanes(d));
  std::ptrdiff_t x = 0;
  for (; x + kLineVectors * kLanes <= n; x += kLineVectors * kLanes) group(x);
  for (; x + kLanes <= n; x += kLanes) one(d, x);
  if (x == n) return;
  if constexpr (kEnd == LineEnd::padded) {
    one(d, x);
  } else if (n >= kLanes) {
    one(d, n - kLanes);
  } else {
    forVectors<Word>(x, n, one);
  }
}

// Four vectors side by side. Lanes tells how a vector comes from a span, and how two are combined.
template <class Lanes>
struct LineGroup {
  static constexpr hn::ScalableTag<typename Lanes::Word> kTag = {};
  static constexpr auto kLanes = static_cast<std::ptrdiff_t>(hn::MaxLanes(kTag));
  using V = hn::Vec<hn::ScalableTag<typename Lanes::Word>>;
  V v0, v1, v2, v3;

  template <class Span>
  static HWY_INLINE LineGroup load(Span span, std::ptrdiff_t x) {
    return {Lanes::load(kTag, span, x), Lanes::load(kTag, span, x + kLanes),
            Lanes::load(kTag, span, x + 2 * kLanes), Lanes::load(kTag, span, x + 3 * kLanes)};
  }
  HWY_INLINE void take(const LineGroup& other) {
    v0 = Lanes::of(v0, other.v0);
    v1 = Lanes::of(v1, other.v1);
    v2 = Lanes::of(v2, other.v2);
    v3 = Lanes::of(v3, other.v3);
  }
  HWY_INLINE void store(typename Lanes::Word* dst, std::ptrdiff_t x) const {
    hn::StoreU(v0, kTag, dst + x);
    hn::StoreU(v1, kTag, dst + x + kLanes);
    hn::StoreU(v2, kTag, dst + x + 2 * kLanes);
    hn::StoreU(v3, kTag, dst + x + 3 * kLanes);
  }
};

// dst[x] = minimum or maximum of spans[x]. The spans are arguments of their own, so that they stay in registers: a
// store of bytes could change any in memory.
template <class Lanes, LineEnd kEnd, class Span, class... Spans>
void combineFew(std::ptrdiff_t n, typename Lanes::Word* dst, Span first, Spans... others) {
  forLine<kEnd, typename Lanes::Word>(
      n,
      [=](std::ptrdiff_t x) {
        auto group = LineGroup<Lanes>::load(first, x);
        (group.take(LineGroup<Lanes>::load(others, x)), ...);
        group.store(dst, x);
      },
      [=](auto d, std::ptrdiff_t x) {
        auto v = Lanes::load(d, first, x);
        ((v = Lanes::of(v, Lanes::load(d, others, x))), ...);
        hn::StoreU(v, d, dst + x);
      });
}

// The same of `count` spans, of any number.
template <class Lanes, LineEnd kEnd>
void combineSpans(const typename Lanes::Span* spans, std::ptrdiff_t count, std::ptrdiff_t n,
                  typename Lanes::Word* dst) {
  switch (count) {
    case 1:
      return combineFew<Lanes, kEnd>(n, dst, spans[0]);
    case 2:
      return combineFew<Lanes, kEnd>(n, dst, spans[0], spans[1]);
    case 3:
      return combineFew<Lanes, kEnd>(n, dst, spans[0], spans[1], spans[2]);
    case 4:
      return combineFew<Lanes, kEnd>(n, dst, spans[0], spans[1], spans[2], spans[3]);
    case 5:
      return combineFew<Lanes, kEnd>(n, dst, spans[0], spans[1], spans[2], spans[3], spans[4]);
    default:
      break;
  }
  forLine<kEnd, typename Lanes::Word>(
      n,
      [&](std::ptrdiff_t x) {
        auto group = LineGroup<Lanes>::load(spans[0], x);
        for (std::ptrdiff_t i = 1; i < count; ++i) group.take(LineGroup<Lanes>::load(spans[i], x));
        group.store(dst, x);
      },
      [&](auto d, std::ptrdiff_t x) {
        auto v = Lanes::load(d, spans[0], x);
        for (std::ptrdiff_t i = 1; i < count; ++i) v = Lanes::of(v, Lanes::load(d, spans[i], x));
        hn::StoreU(v, d, dst + x);
      });
}

// The vector that begins kBytes behind `low`, whose next one is `high`.
template <std::size_t kBytes, class D, class V>
HWY_INLINE V shifted(D d, V low, V high) {
  constexpr std::size_t kBlock = 16;
  constexpr std::size_t kVector = hn::MaxLanes(d) * sizeof(hn::TFromD<D>);
  static_assert(kBytes > 0 && kBytes <= kVector);
  if constexpr (kBytes == kVector) {
    return high;
  } else if constexpr (kVector == kBlock) {
    return hn::CombineShiftRightBytes<kBytes>(d, high, low);
  } else {
    const V middle = hn::ConcatLowerUpper(d, high, low);
    if constexpr (kBytes < kBlock) {
      return hn::CombineShiftRightBytes<kBytes>(d, middle, low);
    } else if constexpr (kBytes > kBlock) {
      return hn::CombineShiftRightBytes<kBytes - kBlock>(d, high, middle);
    } else {
      return middle;
    }
  }
}

// dst[x] = minimum or maximum of the pairs p[x] and p[x + 2 apart], where p[x] is that of from[x] and from[x +
// apart], for padded lines. A pair that is not far is taken from the pairs already in registers, as every other
// load that is not aligned meets the end of a cache line. kApart is `apart` where it is known so early, and 0
// elsewhere.
template <class Lanes, std::size_t kApart>
void combineFourApart(const typename Lanes::Word* from, std::ptrdiff_t apart, std::ptrdiff_t n,
                      typename Lanes::Word* dst) {
  using Word = typename Lanes::Word;
  using Group = LineGroup<Lanes>;
  constexpr auto kLanes = Group::kLanes;
  constexpr std::size_t kShift = 2 * kApart * sizeof(Word);
  const auto pair = [=](std::ptrdiff_t x) {
    return Lanes::of(Lanes::load(Group::kTag, from, x), Lanes::load(Group::kTag, from, x + apart));
  };
  const auto pairs = [=](std::ptrdiff_t x) -> Group {
    return {pair(x), pair(x + kLanes), pair(x + 2 * kLanes), pair(x + 3 * kLanes)};
  };
  const auto one = [=](auto d, std::ptrdiff_t x) {
    hn::StoreU(Lanes::of(pair(x), pair(x + 2 * apart)), d, dst + x);
  };
  if constexpr (kShift > 0 && kShift <= kLanes * sizeof(Word)) {
    auto next = pair(0);
    forLine<LineEnd::padded, Word>(
        n,
        [&](std::ptrdiff_t x) {
          constexpr auto d = Group::kTag;
          Group group = {next, pair(x + kLanes), pair(x + 2 * kLanes), pair(x + 3 * kLanes)};
          next = pair(x + 4 * kLanes);
          group.take({shifted<kShift>(d, group.v0, group.v1), shifted<kShift>(d, group.v1, group.v2),
                      shifted<kShift>(d, group.v2, group.v3), shifted<kShift>(d, group.v3, next)});
          group.store(dst, x);
        },
        one);
  } else {
    forLine<LineEnd::padded, Word>(
        n,
        [=](std::ptrdiff_t x) {
          auto group = pairs(x);
          group.take(pairs(x + 2 * apart));
          group.store(dst, x);
        },
        one);
  }
}

// Blocks of 16 bytes that come one after the other, each combined with what lies kBytes behind it. The block that
// goes out is kDelay blocks older than the one that comes in. A vector of several blocks is as many such sequences.
template <class Lanes, std::size_t kBytes>
class CombinedBehind {
 public:
  using D = hn::ScalableTag<typename Lanes::Word>;
  using V = hn::Vec<D>;
  static constexpr std::size_t kBlock = 16;
  static constexpr std::size_t kDelay = (kBytes + kBlock - 1) / kBlock;

  HWY_INLINE V push(V next) {
    constexpr std::size_t kShift = kBytes - (kDelay - 1) * kBlock;
    V behind = next;
    if constexpr (kShift < kBlock) behind = hn::CombineShiftRightBytes<kShift>(D(), next, held_[kDelay - 1]);
    const V out = Lanes::of(held_[0], behind);
    for (std::size_t i = 1; i < kDelay; ++i) held_[i - 1] = held_[i];
    held_[kDelay - 1] = next;
    return out;
  }

 private:
  V held_[kDelay] = {};
};

// The minimum or maximum of kCount pixels of so many words, in the order of combineFourApart.
template <class Lanes, std::ptrdiff_t kCount, class D>
HWY_INLINE auto combinedPixels(D d, const typename Lanes::Word* from, std::ptrdiff_t words) {
  if constexpr (kCount == 1) {
    return hn::LoadU(d, from);
  } else {
    constexpr std::ptrdiff_t kHalf = kCount / 2;
    return Lanes::of(combinedPixels<Lanes, kHalf>(d, from, words),
                     combinedPixels<Lanes, kHalf>(d, from + kHalf * words, words));
  }
}

// dst[x] = minimum or maximum of the 16 pixels of kBytes each that begin with from[x], for padded lines: what
// combineFourApart gives in two passes. The line goes on for 15 pixels and its padding behind the n words. dst is
// at most a padding before `from`.
template <class Lanes, std::size_t kBytes>
void combineSixteen(const typename Lanes::Word* from, std::ptrdiff_t n, typename Lanes::Word* dst) {
  using Word = typename Lanes::Word;
  using Block = CombinedBehind<Lanes, kBytes>;
  constexpr hn::ScalableTag<Word> d;
  constexpr hn::CappedTag<Word, Block::kBlock / sizeof(Word)> dBlock;
  constexpr auto kLanes = static_cast<std::ptrdiff_t>(hn::MaxLanes(d));
  constexpr auto kBlockLanes = static_cast<std::ptrdiff_t>(hn::MaxLanes(dBlock));
  constexpr std::ptrdiff_t kParts = kLanes / kBlockLanes;
  constexpr auto kPixel = static_cast<std::ptrdiff_t>(kBytes / sizeof(Word));
  constexpr auto kPadding = static_cast<std::ptrdiff_t>(kLinePadding / sizeof(Word));
  constexpr std::ptrdiff_t kBehind = 15 * kPixel;

  Block two;
  CombinedBehind<Lanes, 2 * kBytes> four;
  CombinedBehind<Lanes, 4 * kBytes> eight;
  CombinedBehind<Lanes, 8 * kBytes> sixteen;
  constexpr auto kDelay =
      static_cast<std::ptrdiff_t>(two.kDelay + four.kDelay + eight.kDelay + sixteen.kDelay) * kBlockLanes;
  const auto alone = [=](std::ptrdiff_t x, Word* out) {
    hn::StoreU(combinedPixels<Lanes, 16>(d, from + x, kPixel), d, out);
  };

  // Each block of a vector walks through a part of the line. Loads go as far as the line does.
  const std::ptrdiff_t part = std::min(n, n + kBehind + kPadding - kDelay) / kLanes * kBlockLanes;
  // Of the first part's last windows the second part's first ones replace pixels: they are formed beforehand.
  constexpr std::ptrdiff_t kSeam = kParts == 1 ? 0 : (kBehind + kPadding + kLanes - 1) / kLanes * kLanes;
  std::ptrdiff_t done = 0;
  if (part >= kSeam + kLanes) {
    Word seam[kSeam + 1];
    for (std::ptrdiff_t x = 0; x < kSeam; x += kLanes) alone(part - kSeam + x, seam + x);
    const auto blocksAt = [=](std::ptrdiff_t x) {
      if constexpr (kParts == 1) {
        return hn::LoadU(d, from + x);
      } else {
        return hn::Combine(d, hn::LoadU(dBlock, from + part + x), hn::LoadU(dBlock, from + x));
      }
    };
    const auto push = [&](std::ptrdiff_t x) { return sixteen.push(eight.push(four.push(two.push(blocksAt(x))))); };
    const auto step = [&](std::ptrdiff_t x) {
      const auto v = push(x + kDelay);
      if constexpr (kParts == 1) {
        hn::StoreU(v, d, dst + x);
      } else {
        hn::StoreU(hn::LowerHalf(dBlock, v), dBlock, dst + x);
        hn::StoreU(hn::UpperHalf(dBlock, v), dBlock, dst + part + x);
      }
    };
    for (std::ptrdiff_t x = 0; x < kDelay; x += kBlockLanes) push(x);
    std::ptrdiff_t x = 0;
    for (; x + kLineVectors * kBlockLanes <= part; x += kLineVectors * kBlockLanes)
      for (std::ptrdiff_t i = 0; i < kLineVectors; ++i) step(x + i * kBlockLanes);
    for (; x < part; x += kBlockLanes) step(x);
    std::copy_n(seam, kSeam, dst + part - kSeam);
    done = kParts * part;
  }
  for (; done < n; done += kLanes) alone(done, dst + done);
}

// Upper parts of windows, after van Herk: line i of `lines`, which are `step` words apart, gets the minima from row
// i of `count` down to the last one and of what `below` has of the rows under it.
template <class Lanes, LineEnd kEnd>
void collectUpwards(typename Lanes::Span below, const typename Lanes::Span* rows, std::ptrdiff_t count,
                    std::ptrdiff_t n, typename Lanes::Word* lines, std::ptrdiff_t step) {
  forLine<kEnd, typename Lanes::Word>(
      n,
      [&](std::ptrdiff_t x) {
        auto group = LineGroup<Lanes>::load(below, x);
        for (std::ptrdiff_t i = count - 1; i >= 0; --i) {
          group.take(LineGroup<Lanes>::load(rows[i], x));
          group.store(lines + i * step, x);
        }
      },
      [&](auto d, std::ptrdiff_t x) {
        auto v = Lanes::load(d, below, x);
        for (std::ptrdiff_t i = count - 1; i >= 0; --i) {
          v = Lanes::of(v, Lanes::load(d, rows[i], x));
          hn::StoreU(v, d, lines + i * step + x);
        }
      });
}

// Windows from their upper parts, in the lines of `from`, and their lower parts: those have what `above` has of
// rows further up and one more of `count` rows each. The windows go to `lines`, the last lower part to `last`; none
// of these is an operand. Lines are `step` words apart.
template <class Lanes, LineEnd kEnd>
void collectDownwards(typename Lanes::Span above, const typename Lanes::Span* rows, std::ptrdiff_t count,
                      std::ptrdiff_t n, const typename Lanes::Word* from, typename Lanes::Word* lines,
                      std::ptrdiff_t step, typename Lanes::Word* last) {
  using Span = typename Lanes::Span;
  forLine<kEnd, typename Lanes::Word>(
      n,
      [&](std::ptrdiff_t x) {
        using Group = LineGroup<Lanes>;
        auto group = Group::load(above, x);
        for (std::ptrdiff_t i = 0; i < count; ++i) {
          group.take(Group::load(rows[i], x));
          auto window = Group::load(Span{from + i * step}, x);
          window.take(group);
          window.store(lines + i * step, x);
        }
        group.store(last, x);
      },
      [&](auto d, std::ptrdiff_t x) {
        auto v = Lanes::load(d, above, x);
        for (std::ptrdiff_t i = 0; i < count; ++i) {
          v = Lanes::of(v, Lanes::load(d, rows[i], x));
          hn::StoreU(Lanes::of(hn::LoadU(d, from + i * step + x), v), d, lines + i * step + x);
        }
        hn::StoreU(v, d, last + x);
      });
}

template <class Op, class T>
struct PixelLanes {
  using Word = T;
  using Span = const T*;
  template <class D>
  static HWY_INLINE hn::Vec<D> load(D d, const T* span, std::ptrdiff_t x) {
    return hn::LoadU(d, span + x);
  }
  template <class V>
  static HWY_INLINE V of(V a, V b) {
    return Op::of(a, b);
  }
};

template <class Op, class T, int kChannels>
class PixelLines {
 public:
  using Lanes = PixelLanes<Op, T>;
  using Word = T;
  using Span = const T*;
  // A row that is read stays where it is, unless it is made of border.
  static constexpr bool kRowsStay = true;
  // Strips of a line begin at a multiple of so many columns.
  static constexpr std::ptrdiff_t kStripUnit = 1;
  static constexpr std::ptrdiff_t kPadding = kLinePadding / static_cast<std::ptrdiff_t>(sizeof(T));
  static_assert(kPadding >= static_cast<std::ptrdiff_t>(hn::MaxLanes(hn::ScalableTag<T>())));

  PixelLines(const ExtendedImage<T, kChannels>& image, T* dst, int dstStep)
      : image_(image), dst_(dst), dstStep_(dstStep) {}

  RvpiSize size() const { return image_.size; }
  const Border& border() const { return image_.border; }

  static constexpr std::ptrdiff_t lineWords(std::ptrdiff_t columns) { return columns * kChannels + kPadding; }
  // The most columns of a line of so many words; may be negative.
  static constexpr std::ptrdiff_t columnsIn(std::ptrdiff_t words) { return (words - kPadding) / kChannels; }
  static Span at(Span span, std::ptrdiff_t columns) { return span + columns * kChannels; }
  static Span below(Span span, std::ptrdiff_t words) { return span + words; }

  // Words of a line before its core, of so many columns.
  static constexpr std::ptrdiff_t wordsBefore(std::ptrdiff_t columns) { return columns * kChannels; }

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
    if constexpr (kPixelBytes <= 8 && (kPixelBytes & (kPixelBytes - 1)) == 0) {
      if (border().mode != rvpBorderMirror)
        return repeatEnds(line, own.first - first, own.last - first, last - first);
    }
    Border sides = border();
    sides.top = sides.bottom = true;
    const ExtendedImage<T, kChannels> row = {line - first * kChannels, 0, {size().width, 1}, sides, image_.value};
    if (first < own.first) row.readRow(0, first, own.first, line);
    if (own.last < last) row.readRow(0, own.last, last, line + (own.last - first) * kChannels);
  }

  static void combine(const Span* spans, std::ptrdiff_t count, std::ptrdiff_t columns, Word* line) {
    combineSpans<Lanes, LineEnd::exact>(spans, count, columns * kChannels, line);
  }
  // The combination of four spans, `apart` columns from each other and the first one at `from`: of padded lines,
  // behind or at `line`, and of as many lines behind it, `step` words apart. What lies between those is spoilt.
  static void combineFour(Span from, std::ptrdiff_t apart, std::ptrdiff_t columns, Word* line, std::ptrdiff_t lines,
                          std::ptrdiff_t step) {
    const std::ptrdiff_t n = (lines - 1) * step + columns * kChannels;
    const std::ptrdiff_t words = apart * kChannels;
    switch (apart) {
      case 1:
        return combineFourApart<Lanes, kChannels>(from, words, n, line);
      case 4:
        return combineFourApart<Lanes, 4 * kChannels>(from, words, n, line);
      case 16:
        return combineFourApart<Lanes, 16 * kChannels>(from, words, n, line);
      default:
        return combineFourApart<Lanes, 0>(from, words, n, line);
    }
  }
  // The same of sixteen spans, a column from each other, where that takes less than combineFour twice. Whether it
  // has been done.
  static bool combineSixteen(Span from, std::ptrdiff_t columns, Word* line, std::ptrdiff_t lines,
                             std::ptrdiff_t step) {
    // Of pixels of 4 bytes half the shifts are whole blocks. Other shifts pay where instructions keep their
    // operands.
    constexpr bool kThreeOperands = hn::MaxLanes(hn::ScalableTag<std::uint8_t>()) > 16;
    if constexpr (kPixelBytes == 4 || (kPixelBytes < 4 && kThreeOperands)) {
      if (from - line > kPadding) return false;
      n8::combineSixteen<Lanes, kPixelBytes>(from, (lines - 1) * step + columns * kChannels, line);
      return true;
    }
    return false;
  }
  // See collectUpwards and collectDownwards.
  static void collectUp(Span below, const Span* rows, std::ptrdiff_t count, std::ptrdiff_t columns, Word* lines,
                        std::ptrdiff_t step) {
    collectUpwards<Lanes, LineEnd::exact>(below, rows, count, columns * kChannels, lines, step);
  }
  static void collectDown(Span above, const Span* rows, std::ptrdiff_t count, std::ptrdiff_t columns,
                          const Word* from, Word* lines, std::ptrdiff_t step, Word* last) {
    collectDownwards<Lanes, LineEnd::exact>(above, rows, count, columns * kChannels, from, lines, step, last);
  }
  // Into the destination, from column x of row y on.
  void emit(std::ptrdiff_t y, std::ptrdiff_t x, std::ptrdiff_t columns, const Span* spans, std::ptrdiff_t count,
            Word*) const {
    combine(spans, count, columns, row(dst_, dstStep_, y) + x * kChannels);
  }

 private:
  static constexpr std::size_t kPixelBytes = sizeof(T) * kChannels;

  // Pixels before `first` and from `last` to `end` - 1 of a line, for the modes that fill them with one pixel each.
  void repeatEnds(Word* line, std::ptrdiff_t first, std::ptrdiff_t last, std::ptrdiff_t end) const {
    using Pixel = typename hwy::UnsignedFromSize<kPixelBytes>;
    const hn::ScalableTag<Pixel> d;
    constexpr auto kLanes = static_cast<std::ptrdiff_t>(hn::MaxLanes(d));
    auto* const pixels = reinterpret_cast<Pixel*>(line);
    const auto like = [&](std::ptrdiff_t x) {
      Pixel pixel = 0;
      std::memcpy(&pixel, border().mode == rvpBorderConst ? image_.value : line + x * kChannels, sizeof pixel);
      return hn::Set(d, pixel);
    };
    // The last vector of either end runs past it: behind the line there is room, and before it the line's own first
    // pixels are put back.
    if (first > 0) {
      const auto own = hn::LoadU(d, pixels + first);
      const auto pixel = like(first);
      for (std::ptrdiff_t x = 0; x < first; x += kLanes) hn::StoreU(pixel, d, pixels + x);
      hn::StoreU(own, d, pixels + first);
    }
    if (last < end) {
      const auto pixel = like(last - 1);
      for (std::ptrdiff_t x = last; x < end; x += kLanes) hn::StoreU(pixel, d, pixels + x);
    }
  }

  ExtendedImage<T, kChannels> image_;
  T* dst_;
  int dstStep_;
};

}  // namespace rvp::n8
