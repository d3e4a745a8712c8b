// Connected regions from runs of pixels. A row is cut into runs; bits, one for each column, tell where runs start
// and where a run touches one of the row above. Runs are numbered in raster order, and a forest over these numbers
// holds which of them are connected: a tree for each region, with its first run as the root.
#pragma once

#include <bit>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <type_traits>

#include "frame/bits.h"
#include "frame/simd.h"

namespace rvp::n8 {

// The bits of a row, 64 columns a word, the first column lowest. Bits behind the last column are 0.
using Word = std::uint64_t;
constexpr std::ptrdiff_t kWordColumns = 64;

constexpr std::ptrdiff_t wordsOf(std::ptrdiff_t width) { return (width + kWordColumns - 1) / kWordColumns; }

template <class D, class Mask>
HWY_INLINE Word maskBits(D d, Mask mask) {
  constexpr std::size_t kLanes = hn::MaxLanes(d);
  using Bits = std::conditional_t<kLanes <= 8, std::uint8_t, std::conditional_t<kLanes <= 16, std::uint16_t, Word>>;
  std::uint8_t bytes[8];
  static_cast<void>(hn::StoreMaskBits(d, mask, bytes));
  if constexpr (kLanes == 32) {
    std::uint32_t bits;
    std::memcpy(&bits, bytes, sizeof bits);
    return bits;
  } else {
    Bits bits;
    std::memcpy(&bits, bytes, sizeof bits);
    return bits;
  }
}

// A word of the columns first to last - 1: the bit of column x is set where the mask that holds(d, x) gives for the
// columns from x on says so.
template <class T, class Predicate>
HWY_INLINE Word wordWhere(std::ptrdiff_t first, std::ptrdiff_t last, const Predicate& holds) {
  Word word = 0;
  forVectors<T>(first, last, [&](auto d, std::ptrdiff_t x) { word |= maskBits(d, holds(d, x)) << (x - first); });
  return word;
}

// Calls body(column) for each bit of a word, in order.
template <class Body>
HWY_INLINE void forBits(Word word, std::ptrdiff_t firstColumn, const Body& body) {
  for (; word != 0; word &= word - 1) body(firstColumn + std::countr_zero(word));
}

class RunForest {
 public:
  // Room for as many numbers as there will be runs.
  explicit RunForest(std::int32_t* parents) : parents_(parents) {}

  std::int32_t count() const { return count_; }

  // Adds the runs that start in a word of a row, each a region of its own.
  void add(Word starts) {
    std::int32_t* const parents = parents_ + count_;
    const int runs = bitCount(starts);
    for (int i = 0; i < runs; ++i) parents[i] = count_ + i;
    count_ += runs;
  }

  // Adds runs to the region of the runs from `first` to `last`, 1 or more, and of `other`, if these have one
  // parent.
  bool addToOne(int runs, std::int32_t first, std::int32_t last, std::int32_t other) {
    if (first < 0) return false;
    const std::int32_t parent = parents_[other];
    bool one = true;
    forVectors<std::int32_t>(first, std::ptrdiff_t{last} + 1, [&](auto d, std::ptrdiff_t run) {
      one &= hn::AllTrue(d, hn::Eq(hn::LoadU(d, parents_ + run), hn::Set(d, parent)));
    });
    if (!one) return false;
    for (int i = 0; i < runs; ++i) parents_[count_ + i] = parent;
    count_ += runs;
    return true;
  }

  // Joins runs of a row with runs of the row above where `links` says so, column by column. `run` and `above` are
  // the numbers of the last runs that start before this word in either row.
  void join(Word links, Word starts, Word startsAbove, std::int32_t run, std::int32_t above) {
    for (; links != 0; links &= links - 1) {
      const Word upToHere = links ^ (links - 1);
      connect(run + bitCount(starts & upToHere), above + bitCount(startsAbove & upToHere));
    }
  }

  // Once all is joined: gives each run the value of its region, which ofRoot(first run) makes, called in the order
  // of the regions' first runs.
  template <class OfRoot>
  void resolve(const OfRoot& ofRoot) {
    // A parent comes before its children, so its value is there.
    forVectors<std::int32_t>(0, count_, [&](auto d, std::ptrdiff_t at) {
      const auto first = static_cast<std::int32_t>(at);
      const auto parents = hn::LoadU(d, parents_ + first);
      if (hn::AllTrue(d, hn::Lt(parents, hn::Set(d, first)))) {
        // Neighbours often have one parent.
        const std::int32_t parent = parents_[first];
        const auto values = hn::AllTrue(d, hn::Eq(parents, hn::Set(d, parent)))
                                ? hn::Set(d, parents_[parent])
                                : hn::GatherIndex(d, parents_, parents);
        hn::StoreU(values, d, parents_ + first);
        return;
      }
      for (std::int32_t run = first; run < first + static_cast<std::int32_t>(hn::Lanes(d)); ++run) {
        const std::int32_t parent = parents_[run];
        parents_[run] = parent == run ? ofRoot(run) : parents_[parent];
      }
    });
  }
  const std::int32_t* values() const { return parents_; }

 private:
  // The root that is the later of two becomes a child. So the root of a run that a row above had is one of those
  // rows, and a run of this row that is still a root has no children.
  HWY_INLINE void connect(std::int32_t run, std::int32_t above) {
    const std::int32_t parent = parents_[run];
    const std::int32_t parentAbove = parents_[above];
    if (parent == parentAbove) return;
    if (parent == run) {
      parents_[run] = parentAbove;
      return;
    }
    const std::int32_t a = rootOf(parent);
    const std::int32_t b = rootOf(parentAbove);
    const std::int32_t first = a < b ? a : b;
    parents_[a] = first;
    parents_[b] = first;
    parents_[run] = first;
    parents_[above] = first;
  }

  // Halves the way for those who come later.
  std::int32_t rootOf(std::int32_t run) {
    while (parents_[run] != run) {
      parents_[run] = parents_[parents_[run]];
      run = parents_[run];
    }
    return run;
  }

  std::int32_t* parents_;
  std::int32_t count_ = 0;
};

}  // namespace rvp::n8
