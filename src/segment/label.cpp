// Labels of connected components: the components of nonzero pixels get minLabel, minLabel + 1, ... in the raster
// order of their first pixels, and minLabel again after maxLabel.
//
// A first pass over the rows builds the forest of runs, whose roots come in that order; a second one finds the runs
// again and writes each one's label. A run is a stretch of nonzero pixels between zeros, so a row has at most
// (width + 1) / 2 of them.
#include <algorithm>
#include <bit>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <limits>
#include <type_traits>

#include "frame/bits.h"
#include "frame/checks.h"
#include "frame/simd.h"
#include "frame/views.h"
#include "rvpcv/label.h"
#include "segment/label_forest.h"

namespace rvp::n8 {
namespace {

template <class T>
void readNonzero(const T* pixels, std::ptrdiff_t width, Word* bits) {
  for (std::ptrdiff_t x = 0; x < width; x += kWordColumns) {
    *bits++ = wordWhere<T>(x, std::min(x + kWordColumns, width), [&](auto d, std::ptrdiff_t at) {
      return hn::Ne(hn::LoadU(d, pixels + at), hn::Zero(d));
    });
  }
}

// Writes a value to the columns from `first` to `last` - 1 of a row, and whatever it likes to those behind.
template <class T>
HWY_INLINE void fillRoughly(T* pixels, std::ptrdiff_t first, std::ptrdiff_t last, std::ptrdiff_t width, T value) {
  const hn::ScalableTag<T> d;
  constexpr auto kLanes = static_cast<std::ptrdiff_t>(hn::MaxLanes(d));
  const auto values = hn::Set(d, value);
  for (; first < last && first + kLanes <= width; first += kLanes) hn::StoreU(values, d, pixels + first);
  for (; first < last; ++first) pixels[first] = value;
}

// For each bit of a byte, how many bits are set up to it.
struct Ranks {
  std::uint8_t ofByte[256][8] = {};
  constexpr Ranks() {
    for (unsigned byte = 0; byte < 256; ++byte) {
      for (unsigned bit = 0; bit < 8; ++bit)
        ofByte[byte][bit] = static_cast<std::uint8_t>(std::popcount(byte & ((2U << bit) - 1)));
    }
  }
};
constexpr Ranks kRanks;

// The same for vectors of four labels, as the base instructions shuffle and choose: for each pattern of four starts
// the places of the labels' bytes, and for each pattern of four set columns a mask.
struct Quads {
  alignas(16) std::uint8_t places[16][16] = {};
  alignas(16) std::int32_t masks[16][4] = {};
  constexpr Quads() {
    for (unsigned bits = 0; bits < 16; ++bits) {
      for (unsigned lane = 0; lane < 4; ++lane) {
        // No two starts are neighbours, so that no rank in use is larger.
        const int rank = std::min(std::popcount(bits & ((2U << lane) - 1)), 3);
        for (unsigned byte = 0; byte < 4; ++byte)
          places[bits][4 * lane + byte] = static_cast<std::uint8_t>(4 * rank + static_cast<int>(byte));
        masks[bits][lane] = (bits >> lane & 1) != 0 ? -1 : 0;
      }
    }
  }
};
constexpr Quads kQuads;

// The labels of a vector's columns, of which `set` are in runs: `label` holds that of the run before, and those of
// the runs that start here stand behind it.
template <class D>
HWY_INLINE hn::Vec<D> labelsOfColumns(D d, const std::int32_t* label, Word starts, Word set) {
  const auto labels = hn::LoadU(d, label);
  if constexpr (hn::MaxLanes(d) == 4) {
    const hn::Repartition<std::uint8_t, D> dBytes;
    const auto picked = hn::TableLookupBytes(hn::BitCast(dBytes, labels), hn::Load(dBytes, kQuads.places[starts]));
    return hn::And(hn::BitCast(d, picked), hn::Load(d, kQuads.masks[set]));
  } else {
    const hn::Rebind<std::uint8_t, D> dRank;
    const auto index = hn::IndicesFromVec(d, hn::PromoteTo(d, hn::LoadU(dRank, kRanks.ofByte[starts])));
    std::uint8_t bits[sizeof set];
    std::memcpy(bits, &set, sizeof set);
    return hn::IfThenElseZero(hn::LoadMaskBits(d, bits), hn::TableLookupLanes(labels, index));
  }
}

// Writes the columns of a whole word, many of which begin or end a run: each one's label is picked by its rank
// among the starts from the labels of the runs here, which stand behind that of the run before. Reads up to eight
// labels beyond the last run's.
template <class Dst>
void writeManyRuns(Dst* pixels, Word word, Word starts, const std::int32_t* label) {
  const hn::CappedTag<std::int32_t, 8> d;
  const hn::Rebind<Dst, decltype(d)> dDst;
  constexpr auto kLanes = static_cast<std::ptrdiff_t>(hn::MaxLanes(d));
  constexpr Word kGroup = (Word{1} << kLanes) - 1;
  for (std::ptrdiff_t x = 0; x < kWordColumns; x += kLanes, word >>= kLanes, starts >>= kLanes) {
    const auto values = labelsOfColumns(d, label - 1, starts & kGroup, word & kGroup);
    if constexpr (std::is_same_v<Dst, std::int32_t>) {
      hn::StoreU(values, d, pixels + x);
    } else {
      hn::StoreU(hn::DemoteTo(dDst, values), dDst, pixels + x);
    }
    label += kRanks.ofByte[starts & kGroup][kLanes - 1];
  }
}

// The scratch holds the bits of two rows, and the forest. With w words for a row and r runs at most these are
// 16 * w + 4 * height * r bytes, and 7 to align them: at most 16 + width / 4 + 2 * height * (width + 1) + 7, which
// is below the reported 6 * width * height + 32.
template <class Src, class Dst>
class Labelling {
 public:
  Labelling(const Src* src, int srcStep, Dst* dst, int dstStep, RvpiSize size, std::uint8_t* scratch)
      : src_(src),
        srcStep_(srcStep),
        dst_(dst),
        dstStep_(dstStep),
        width_(size.width),
        height_(size.height),
        words_(wordsOf(size.width)),
        bits_(reinterpret_cast<Word*>(alignedUp(scratch, alignof(Word)))),
        forest_(reinterpret_cast<std::int32_t*>(bits_ + 2 * words_)) {}

  template <bool kDiagonals>
  void connect() {
    std::int32_t firstAbove = 0;
    std::fill_n(bits_ + words_, words_, Word{0});
    for (std::ptrdiff_t y = 0; y < height_; ++y) {
      Word* const bits = bits_ + (y % 2) * words_;
      const Word* const bitsAbove = bits_ + (1 - y % 2) * words_;
      readNonzero(row(src_, srcStep_, y), width_, bits);
      const std::int32_t first = forest_.count();
      connectRow<kDiagonals>(bits, bitsAbove, firstAbove);
      firstAbove = first;
    }
  }

  // Returns the number of components.
  int number(int minLabel, int maxLabel) {
    int count = 0;
    int label = minLabel;
    forest_.resolve([&](std::int32_t) {
      const int ofThis = label;
      label = label == maxLabel ? minLabel : label + 1;
      ++count;
      return ofThis;
    });
    return count;
  }

  void write() const {
    std::int32_t run = 0;
    for (std::ptrdiff_t y = 0; y < height_; ++y) {
      // In place, a run's end is overwritten before the next run is looked for: the bits are kept.
      readNonzero(row(src_, srcStep_, y), width_, bits_);
      run = writeRow(row(dst_, dstStep_, y), run);
    }
  }

 private:
  // From so many starts on in a word it pays to see whether all its runs are one region.
  static constexpr int kManyRuns = 8;

  // Two runs touch where both rows are set, first in a column that has not such a column on its left. Under
  // diagonal neighbourhood a run also touches one that ends just before its start, or starts just behind its end;
  // in the column behind the end, the number of starts up to it is still that of the run.
  template <bool kDiagonals>
  void connectRow(const Word* bits, const Word* bitsAbove, std::int32_t firstAbove) {
    std::int32_t run = forest_.count() - 1;
    std::int32_t runAbove = firstAbove - 1;
    Word carry = 0;
    Word carryAbove = 0;
    for (std::ptrdiff_t w = 0; w < words_; ++w) {
      const Word here = bits[w];
      const Word above = bitsAbove[w];
      const Word before = here << 1 | carry;
      const Word aboveBefore = above << 1 | carryAbove;
      const Word starts = here & ~before;
      const Word startsAbove = above & ~aboveBefore;
      Word links = here & above & ~(before & aboveBefore);
      if (kDiagonals) links |= (starts & aboveBefore & ~above) | (startsAbove & before & ~here);
      const int runs = bitCount(starts);
      const std::int32_t lastAbove = runAbove + bitCount(startsAbove);
      const Word touching = kDiagonals ? above | aboveBefore : above;
      // Patterns of many runs, each of which touches one above where it starts, are mostly a single region.
      if (runs < kManyRuns || (starts & ~touching) != 0 ||
          !forest_.addToOne(runs, runAbove, lastAbove, carry != 0 ? run : runAbove)) {
        forest_.add(starts);
        forest_.join(links, starts, startsAbove, run, runAbove);
      }
      run += runs;
      runAbove = lastAbove;
      carry = here >> (kWordColumns - 1);
      carryAbove = above >> (kWordColumns - 1);
    }
  }

  // From so many changes on, a word is written by columns and not by runs.
  static constexpr int kManyChanges = 8;

  // Returns the number of the next row's first run. What the loop needs is local, as the compiler must take a
  // vector's store for one to any member.
  std::int32_t writeRow(Dst* pixels, std::int32_t firstRun) const {
    const Word* const bits = bits_;
    const std::ptrdiff_t words = words_;
    const std::ptrdiff_t width = width_;
    const std::int32_t* label = forest_.values() + firstRun;
    std::ptrdiff_t first = 0;
    Dst value = 0;
    Word carry = 0;
    for (std::ptrdiff_t w = 0; w < words; ++w) {
      const Word word = bits[w];
      const Word before = word << 1 | carry;
      const Word starts = word & ~before;
      Word changes = word ^ before;
      carry = word >> (kWordColumns - 1);
      const std::ptrdiff_t wordStart = w * kWordColumns;
      if (wordStart + kWordColumns <= width && bitCount(changes) >= kManyChanges) {
        fillRoughly(pixels, first, wordStart, width, value);
        writeManyRuns(pixels + wordStart, word, starts, label);
        label += bitCount(starts);
        first = wordStart + kWordColumns;
        value = carry != 0 ? static_cast<Dst>(label[-1]) : Dst{0};
        continue;
      }
      for (; changes != 0; changes &= changes - 1) {
        const int bit = std::countr_zero(changes);
        fillRoughly(pixels, first, wordStart + bit, width, value);
        first = wordStart + bit;
        value = (starts >> bit & 1) != 0 ? static_cast<Dst>(*label++) : Dst{0};
      }
    }
    fillRoughly(pixels, first, width, width, value);
    return static_cast<std::int32_t>(label - forest_.values());
  }

  const Src* src_;
  int srcStep_;
  Dst* dst_;
  int dstStep_;
  std::ptrdiff_t width_;
  std::ptrdiff_t height_;
  std::ptrdiff_t words_;
  Word* bits_;
  RunForest forest_;
};

template <class Src, class Dst>
void labelComponents(const Src* pSrc, int srcStep, Dst* pDst, int dstStep, RvpiSize roiSize, int minLabel,
                     int maxLabel, RvpiConnectivity norm, int* pNumber, std::uint8_t* pBuffer) {
  Labelling<Src, Dst> labelling(pSrc, srcStep, pDst, dstStep, roiSize, pBuffer);
  if (norm == rvpConnect4) {
    labelling.template connect<false>();
  } else {
    labelling.template connect<true>();
  }
  *pNumber = labelling.number(minLabel, maxLabel);
  labelling.write();
}

// The labels must lie between 1 and the largest value of the destination, that value excluded.
template <class Dst>
RvpStatus badLabels(int minLabel, int maxLabel) {
  return faultIf(minLabel < 1 || maxLabel >= std::numeric_limits<Dst>::max() || minLabel > maxLabel,
                 rvpStatusBadArgument);
}

RvpStatus badConnectivity(RvpiConnectivity norm) {
  return faultIf(norm != rvpConnect4 && norm != rvpConnect8, rvpStatusBadArgument);
}

template <class T>
RvpStatus labelInPlace(T* pMarker, int markerStep, RvpiSize roiSize, int minLabel, int maxLabel,
                       RvpiConnectivity norm, int* pNumber, std::uint8_t* pBuffer) {
  if (RvpStatus fault = firstFault(nullPointer(pMarker, pBuffer, pNumber), badSize(roiSize),
                                   shortStep<T>(roiSize.width, markerStep), oddStep<T>(markerStep),
                                   badLabels<T>(minLabel, maxLabel), badConnectivity(norm)))
    return fault;
  labelComponents(pMarker, markerStep, pMarker, markerStep, roiSize, minLabel, maxLabel, norm, pNumber, pBuffer);
  return rvpStatusOk;
}

RvpStatus labelBufferSize(RvpiSize roiSize, int* pBufferSize) {
  if (RvpStatus fault = firstFault(nullPointer(pBufferSize), badSize(roiSize))) return fault;
  // In unsigned arithmetic, which wraps for sizes beyond 31 bits; the interface cannot tell these.
  *pBufferSize =
      static_cast<int>(6U * static_cast<unsigned>(roiSize.width) * static_cast<unsigned>(roiSize.height) + 32U);
  return rvpStatusOk;
}

}  // namespace
}  // namespace rvp::n8

#define RVP_LABEL_IN_PLACE(TYPE, T)                                                                               \
  RvpStatus rvpiLabelMarkersGetBufferSize_##TYPE##_C1R(RvpiSize roiSize, int* pBufferSize) {                      \
    return rvp::n8::labelBufferSize(roiSize, pBufferSize);                                                        \
  }                                                                                                               \
  RvpStatus rvpiLabelMarkers_##TYPE##_C1IR(T* pMarker, int markerStep, RvpiSize roiSize, int minLabel,            \
                                           int maxLabel, RvpiConnectivity norm, int* pNumber, uint8_t* pBuffer) { \
    return rvp::n8::labelInPlace(pMarker, markerStep, roiSize, minLabel, maxLabel, norm, pNumber, pBuffer);       \
  }

extern "C" {

RVP_LABEL_IN_PLACE(8u, uint8_t)
RVP_LABEL_IN_PLACE(16u, uint16_t)

RvpStatus rvpiLabelMarkersGetBufferSize_8u32s_C1R(RvpiSize roiSize, int* pBufferSize) {
  return rvp::n8::labelBufferSize(roiSize, pBufferSize);
}

RvpStatus rvpiLabelMarkers_8u32s_C1R(const uint8_t* pSrc, int srcStep, int32_t* pDst, int dstStep, RvpiSize roiSize,
                                     int minLabel, int maxLabel, RvpiConnectivity norm, int* pNumber,
                                     uint8_t* pBuffer) {
  using namespace rvp::n8;
  if (RvpStatus fault = firstFault(nullPointer(pSrc, pDst, pBuffer, pNumber), badSize(roiSize),
                                   shortStep<std::uint8_t>(roiSize.width, srcStep),
                                   shortStep<std::int32_t>(roiSize.width, dstStep), oddStep<std::int32_t>(dstStep),
                                   badLabels<std::int32_t>(minLabel, maxLabel), badConnectivity(norm)))
    return fault;
  labelComponents(pSrc, srcStep, pDst, dstStep, roiSize, minLabel, maxLabel, norm, pNumber, pBuffer);
  return rvpStatusOk;
}

}  // extern "C"
