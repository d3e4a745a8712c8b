// Lines of bits, 64 to a word, with the operations of PixelLines (lines.h). A span begins at any bit of a word.
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstring>

#include "filter/border.h"
#include "frame/simd.h"
#include "frame/team.h"
#include "frame/views.h"
#include "morph/lines.h"
#include "rvpcv/types.h"

namespace rvp::n8 {

constexpr std::ptrdiff_t kWordBits = 64;

constexpr std::ptrdiff_t wordsOf(std::ptrdiff_t bits) { return (bits + kWordBits - 1) / kWordBits; }

inline std::uint64_t loadWord(const std::uint8_t* from) {
  std::uint64_t word = 0;
  std::memcpy(&word, from, sizeof word);
  return word;
}

// Reads n bits that begin at bit `bit` of `row`, and no byte without one of them. The rest of the last word is 0.
inline void readBits(const std::uint8_t* row, std::ptrdiff_t bit, std::ptrdiff_t n, std::uint64_t* words) {
  const std::uint8_t* from = row + (bit >> 3);
  const int shift = static_cast<int>(bit & 7);
  const std::ptrdiff_t bytes = (shift + n + 7) / 8;
  std::ptrdiff_t i = 0;
  if (shift == 0) {
    i = n / kWordBits;
    std::memcpy(words, from, static_cast<std::size_t>(8 * i));
  } else {
    for (; 8 * i + 16 <= bytes; ++i)
      words[i] = loadWord(from + 8 * i) >> shift | loadWord(from + 8 * i + 8) << (kWordBits - shift);
  }
  // At most two words and 15 bytes are left.
  std::uint8_t rest[24] = {};
  std::memcpy(rest, from + 8 * i, static_cast<std::size_t>(bytes - 8 * i));
  for (std::ptrdiff_t j = 0; i + j < wordsOf(n); ++j) {
    const std::uint64_t next = shift == 0 ? 0 : loadWord(rest + 8 * j + 8) << (kWordBits - shift);
    words[i + j] = loadWord(rest + 8 * j) >> shift | next;
  }
  if (n % kWordBits != 0) words[n / kWordBits] &= (std::uint64_t{1} << (n % kWordBits)) - 1;
}

// Writes n bits to bit `bit` of `row` on. Other bits of the first and the last byte stay.
inline void writeBits(const std::uint64_t* words, std::ptrdiff_t n, std::uint8_t* row, std::ptrdiff_t bit) {
  std::uint8_t* to = row + (bit >> 3);
  const int shift = static_cast<int>(bit & 7);
  const std::ptrdiff_t bits = shift + n;
  // What comes before the next word in its bytes.
  std::uint64_t carry = shift == 0 ? 0 : to[0] & ((1U << shift) - 1U);
  std::ptrdiff_t i = 0;
  for (; kWordBits * (i + 1) <= bits; ++i) {
    const std::uint64_t word = words[i] << shift | carry;
    std::memcpy(to + 8 * i, &word, sizeof word);
    carry = shift == 0 ? 0 : words[i] >> (kWordBits - shift);
  }
  const int left = static_cast<int>(bits - kWordBits * i);
  if (left == 0) return;
  std::uint64_t word = left > shift ? words[i] << shift | carry : carry;
  const int bytes = (left + 7) / 8;
  if (left % 8 != 0) {
    const std::uint64_t mask = (std::uint64_t{1} << left) - 1;
    word = (word & mask) | (std::uint64_t{to[8 * i + bytes - 1]} << (8 * (bytes - 1)) & ~mask);
  }
  std::memcpy(to + 8 * i, &word, static_cast<std::size_t>(bytes));
}

// A region of bits, the first of which is bit `bit` of the first row.
template <class Byte>
struct BitImage {
  Byte* first;
  int step;
  std::ptrdiff_t bit;
  Byte* at(std::ptrdiff_t y) const { return row(first, step, y); }
};

// Where a line, or a part of one, begins: bit `shift` of a word, 0 to 63.
struct BitSpan {
  const std::uint64_t* word;
  int shift = 0;
};

template <class Op>
struct BitLanes {
  using Word = std::uint64_t;
  using Span = BitSpan;
  template <class D>
  static HWY_INLINE hn::Vec<D> load(D d, BitSpan span, std::ptrdiff_t x) {
    const auto low = hn::LoadU(d, span.word + x);
    if (span.shift == 0) return low;
    return hn::Or(hn::ShiftRightSame(low, span.shift),
                  hn::ShiftLeftSame(hn::LoadU(d, span.word + x + 1), static_cast<int>(kWordBits) - span.shift));
  }
  template <class V>
  static HWY_INLINE V of(V a, V b) {
    return Op::ofBits(a, b);
  }
};

template <class Op>
class BitLines {
 public:
  using Lanes = BitLanes<Op>;
  using Word = std::uint64_t;
  using Span = BitSpan;
  static constexpr bool kRowsStay = false;
  static constexpr std::ptrdiff_t kStripUnit = kWordBits;
  // A span may begin at any bit of its first word, and the bits of a word come from two words; beside that there is
  // room for the widest vector. All variants keep the same.
  static constexpr std::ptrdiff_t kPadding = 2 + 4;
  static_assert(hn::MaxLanes(hn::ScalableTag<Word>()) <= 4);

  BitLines(BitImage<const std::uint8_t> src, RvpiSize size, const Border& border, bool value,
           BitImage<std::uint8_t> dst)
      : src_(src), size_(size), border_(border), value_(value), dst_(dst) {}

  RvpiSize size() const { return size_; }
  const Border& border() const { return border_; }

  static constexpr std::ptrdiff_t lineWords(std::ptrdiff_t columns) { return wordsOf(columns) + kPadding; }
  static constexpr std::ptrdiff_t columnsIn(std::ptrdiff_t words) { return (words - kPadding) * kWordBits; }
  static Span at(Span span, std::ptrdiff_t columns) {
    const std::ptrdiff_t bit = span.shift + columns;
    return {span.word + bit / kWordBits, static_cast<int>(bit % kWordBits)};
  }
  static Span at(const Word* line, std::ptrdiff_t columns) { return at(Span{line, 0}, columns); }
  static Span below(Span span, std::ptrdiff_t words) { return {span.word + words, span.shift}; }

  // A row is read with its border, so there is nothing to widen.
  Slice core(std::ptrdiff_t first, std::ptrdiff_t last) const { return {first, last}; }
  void widen(Word*, std::ptrdiff_t, std::ptrdiff_t) const {}
  static constexpr std::ptrdiff_t wordsBefore(std::ptrdiff_t) { return 0; }

  Span read(std::ptrdiff_t y, std::ptrdiff_t first, std::ptrdiff_t last, Word* scratch) const {
    const bool rowInMemory = (y < 0 && border_.top) || (y >= size_.height && border_.bottom);
    const std::ptrdiff_t sy = rowInMemory ? y : borderIndex(border_.mode, y, size_.height);
    if (!rowInMemory && sy == kConstantPixel) {
      fill(scratch, 0, last - first, value_);
      return {scratch, 0};
    }
    const std::uint8_t* bits = src_.at(sy);
    const std::ptrdiff_t width = size_.width;
    const std::ptrdiff_t from = border_.left ? first : std::clamp<std::ptrdiff_t>(0, first, last);
    const std::ptrdiff_t to = border_.right ? last : std::clamp(width, from, last);
    const auto beyond = [&](std::ptrdiff_t edge) {
      if (border_.mode == rvpBorderConst) return value_;
      return (bits[(src_.bit + edge) >> 3] >> ((src_.bit + edge) & 7) & 1) != 0;
    };
    // The bits that are in memory begin with a word, so that they need no second shift.
    Word* body = scratch + wordsOf(from - first);
    const auto lead = static_cast<int>((body - scratch) * kWordBits - (from - first));
    if (first < from) std::fill(scratch, body, filler(beyond(0)));
    if (from < to) readBits(bits, src_.bit + from, to - from, body);
    if (to < last) fill(body, to - from, last - from, beyond(width - 1));
    return {scratch, lead};
  }

  static void combine(const Span* spans, std::ptrdiff_t count, std::ptrdiff_t columns, Word* line) {
    combineSpans<Lanes, LineEnd::padded>(spans, count, wordsOf(columns), line);
  }
  // Lines of bits have combineFour alone.
  static bool combineSixteen(Span, std::ptrdiff_t, Word*, std::ptrdiff_t, std::ptrdiff_t) { return false; }
  static void combineFour(Span from, std::ptrdiff_t apart, std::ptrdiff_t columns, Word* line, std::ptrdiff_t lines,
                          std::ptrdiff_t step) {
    const Span spans[] = {from, at(from, apart), at(from, 2 * apart), at(from, 3 * apart)};
    combineSpans<Lanes, LineEnd::padded>(spans, 4, (lines - 1) * step + wordsOf(columns), line);
  }
  static void collectUp(Span below, const Span* rows, std::ptrdiff_t count, std::ptrdiff_t columns, Word* lines,
                        std::ptrdiff_t step) {
    collectUpwards<Lanes, LineEnd::padded>(below, rows, count, wordsOf(columns), lines, step);
  }
  static void collectDown(Span above, const Span* rows, std::ptrdiff_t count, std::ptrdiff_t columns,
                          const Word* from, Word* lines, std::ptrdiff_t step, Word* last) {
    collectDownwards<Lanes, LineEnd::padded>(above, rows, count, wordsOf(columns), from, lines, step, last);
  }
  void emit(std::ptrdiff_t y, std::ptrdiff_t x, std::ptrdiff_t columns, const Span* spans, std::ptrdiff_t count,
            Word* scratch) const {
    combine(spans, count, columns, scratch);
    writeBits(scratch, columns, dst_.at(y), dst_.bit + x);
  }

 private:
  static Word filler(bool value) { return value ? ~Word{0} : 0; }

  // Bits `first` to `last` - 1 of a line in which no bit from `first` on is set, or none of whose bits counts yet.
  static void fill(Word* line, std::ptrdiff_t first, std::ptrdiff_t last, bool value) {
    Word* next = line + first / kWordBits;
    if (first % kWordBits != 0) *next++ |= filler(value) << (first % kWordBits);
    std::fill(next, std::max(next, line + wordsOf(last)), filler(value));
  }

  BitImage<const std::uint8_t> src_;
  RvpiSize size_;
  Border border_;
  bool value_;
  BitImage<std::uint8_t> dst_;
};

}  // namespace rvp::n8
