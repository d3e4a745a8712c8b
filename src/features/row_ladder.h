// Sums of many neighbours along a row, at a cost that grows with the logarithm of their number.
#pragma once

#include <array>
#include <cstddef>

#include "filter/separable.h"
#include "frame/simd.h"

namespace rvp::n8 {

// Sums of 3, 9, 27... neighbours are built from three sums of a third as many, and a window is made of as many sums
// of each power as the digits of its side to the base of three tell. The largest power goes at least twice into the
// side, as one that goes once costs more than it saves, so that the first digit may be up to 5.
//
// A row has a block of lines: its terms, sums of the powers, and what all passes but the last one have added up.
template <class T>
class RowLadder {
 public:
  // Lines of up to `columns` terms, where the first window begins with term `first`.
  RowLadder(std::ptrdiff_t side, std::ptrdiff_t first, std::ptrdiff_t columns)
      : side_(side), first_(first), line_(toVectors(columns) + kVectorElements) {
    while (2 * power(top_ + 1) <= side) ++top_;
    std::ptrdiff_t start = 0;
    for (int k = top_; k >= 0; --k) {
      const std::ptrdiff_t times = (side - start) / power(k);
      for (std::ptrdiff_t i = 0; i < times; ++i, start += power(k)) addPart(sumsOf(k) + start);
    }
  }

  static constexpr std::ptrdiff_t toVectors(std::ptrdiff_t elements) {
    return (elements + kVectorElements - 1) & ~(kVectorElements - 1);
  }

  // Elements of a block.
  std::ptrdiff_t block() const { return (top_ + 2) * line_; }

  // Makes of the terms of `count` windows the other lines. Lines have room for whole vectors at their ends.
  void climb(T* lines, std::ptrdiff_t count) const {
    std::ptrdiff_t n = count + side_ - 1;
    for (int k = 0; k < top_; ++k) {
      const std::ptrdiff_t p = power(k);
      const T* const from = lines + sumsOf(k);
      n -= 2 * p;
      add(std::array{from, from + p, from + 2 * p}, n, lines + sumsOf(k + 1));
    }
    for (std::size_t part = 0; part + kMostParts < partCount_; part += kMostParts)
      add(partsFrom<kMostParts>(lines, part), count, lines + lead());
  }

  // Calls use(parts), an array of lines: the sum of their elements x is the sum of window x.
  template <std::size_t kParts = 1, class Use>
  void useParts(const T* lines, const Use& use) const {
    const std::size_t first = (partCount_ - 1) / kMostParts * kMostParts;
    if constexpr (kParts < kMostParts) {
      if (partCount_ - first > kParts) return useParts<kParts + 1>(lines, use);
    }
    use(partsFrom<kParts>(lines, first));
  }

  // sums[x] = sum of the lines' elements x, in whole vectors.
  template <std::size_t kParts>
  static void add(const std::array<const T*, kParts> lines, std::ptrdiff_t n, T* sums) {
    constexpr hn::ScalableTag<T> d;
    for (std::ptrdiff_t x = 0; x < n; x += static_cast<std::ptrdiff_t>(hn::MaxLanes(d)))
      hn::StoreU(sumAt(d, lines, x), d, sums + x);
  }

  template <class D, std::size_t kParts>
  HWY_INLINE static hn::VFromD<D> sumAt(D d, const std::array<const T*, kParts>& lines, std::ptrdiff_t x) {
    return ascendingSum<kParts>([&](int i) { return hn::LoadU(d, lines[static_cast<std::size_t>(i)] + x); });
  }

 private:
  static constexpr std::ptrdiff_t kVectorElements = std::ptrdiff_t{32} / sizeof(T);
  // Parts that one pass adds up, so that one makes the sides up to 17.
  static constexpr std::size_t kMostParts = 7;

  static constexpr std::ptrdiff_t power(int k) {
    std::ptrdiff_t result = 1;
    for (; k > 0; --k) result *= 3;
    return result;
  }
  // Where the sums of 3^k neighbours stand, that of the first window's first ones in front.
  std::ptrdiff_t sumsOf(int k) const { return k == 0 ? first_ : k * line_; }
  std::ptrdiff_t lead() const { return (top_ + 1) * line_; }

  // What a pass has added up is the first part of the next one.
  void addPart(std::ptrdiff_t place) {
    if (partCount_ > 0 && partCount_ % kMostParts == 0) parts_[partCount_++] = lead();
    parts_[partCount_++] = place;
  }

  template <std::size_t kParts>
  std::array<const T*, kParts> partsFrom(const T* lines, std::size_t first) const {
    std::array<const T*, kParts> result;
    for (std::size_t i = 0; i < kParts; ++i) result[i] = lines + parts_[first + i];
    return result;
  }

  std::ptrdiff_t side_;
  std::ptrdiff_t first_;
  std::ptrdiff_t line_;
  int top_ = 0;
  // The sums that make a window, the largest first, in passes of kMostParts. Of sides below 2^31 there are at most
  // 5 + 2 * 18, and 6 times what a pass has added up.
  std::array<std::ptrdiff_t, 56> parts_{};
  std::size_t partCount_ = 0;
};

}  // namespace rvp::n8
