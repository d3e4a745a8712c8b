// Accumulators: acc += s, acc += s * s, acc += s1 * s2 and acc += (s - acc) * alpha over a float image, with or
// without a mask; and the blend (s1 - s2) * alpha + s2 of two images.
//
// Unusual is how a mask works. Within a group of four pixels an unselected one is written back after something was
// added to it: +0.0, or +0.0 times the second factor of a product. So -0.0 may become +0.0, and an infinite second
// factor gives NaN. Pixels outside the groups are left alone. A caller can see which pixels are in groups, so their
// places are fixed here, and are no matter of the width of a vector.
#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <type_traits>

#include "frame/checks.h"
#include "frame/simd.h"
#include "frame/team.h"
#include "frame/views.h"
#include "rvpcv/stats.h"

namespace rvp::n8 {
namespace {

// From this many pixels on the rows are worth a team.
constexpr int kTeamPixels = 1 << 18;
// Bytes of a group of four floats, to which some kernels align their groups.
constexpr std::uintptr_t kGroupBytes = 16;

// A source or a mask: where it is, and one row of it.
template <class T>
struct Image {
  const T* first;
  int step;
  const T* at(std::ptrdiff_t y) const { return row(first, step, y); }
  bool hasNoGap(std::ptrdiff_t width) const { return step == width * static_cast<std::ptrdiff_t>(sizeof(T)); }
};

// What is added to a pixel with sources s1 and s2: on one float or on a vector of them. `keep` passes a value
// through, or replaces it by +0.0 where the mask leaves the pixel out; each formula applies it at the place that
// the contract names. Squares and products of bytes are exact in float.
struct Sum {
  static constexpr bool kMasksSource = true;
  template <class V, class Keep>
  V operator()(V s1, V, V, const Keep& keep) const {
    return keep(s1);
  }
};

struct SumOfSquares {
  static constexpr bool kMasksSource = true;
  template <class V, class Keep>
  V operator()(V s1, V, V, const Keep& keep) const {
    const V factor = keep(s1);
    return factor * factor;
  }
};

struct SumOfProducts {
  static constexpr bool kMasksSource = true;
  template <class V, class Keep>
  V operator()(V s1, V s2, V, const Keep& keep) const {
    return keep(s1) * s2;
  }
};

float spread(float, float value) { return value; }
template <class V>
V spread(V, float value) {
  return hn::Set(hn::DFromV<V>(), value);
}

struct RunningAverage {
  static constexpr bool kMasksSource = false;
  float alpha;
  template <class V, class Keep>
  V operator()(V s1, V, V acc, const Keep& keep) const {
    return keep((s1 - acc) * spread(acc, alpha));
  }
};

constexpr auto kKeepAll = [](auto value) { return value; };

// Vectors work on blocks of 16 pixels: one 16-byte vector of bytes, and as many float vectors as it takes.
using Floats = hn::ScalableTag<float>;
using Words = hn::RebindToSigned<Floats>;
using Bytes = hn::Repartition<std::uint8_t, Floats>;
constexpr std::ptrdiff_t kBlock = 16;
// How far ahead float images are asked for: one line a block, 24 blocks early. Worth a tenth of the time while the
// images stay in the second-level cache, and as much where they fill the last one.
constexpr std::uintptr_t kAheadBytes = 24 * kLineBytes;

void prefetchAhead(const float* at) { prefetch(at, kAheadBytes); }

constexpr auto kLanes = static_cast<std::ptrdiff_t>(hn::MaxLanes(Floats()));

// Shuffles that bring byte x of a block to the 32-bit lane x: as a number, or four times over as a mask.
struct LaneShuffle {
  alignas(64) std::uint8_t places[kBlock * sizeof(float)];
  auto part(std::ptrdiff_t first) const {
    return hn::Load(Bytes(), places + first * std::ptrdiff_t{sizeof(float)});
  }
};
constexpr LaneShuffle laneShuffle(bool fourTimes) {
  LaneShuffle shuffle{};
  for (std::size_t i = 0; i < sizeof(shuffle.places); ++i) {
    constexpr std::uint8_t kZero = 0x80;  // A place with its top bit set gives 0.
    shuffle.places[i] = fourTimes || i % sizeof(float) == 0 ? static_cast<std::uint8_t>(i / sizeof(float)) : kZero;
  }
  return shuffle;
}
constexpr LaneShuffle kAsNumbers = laneShuffle(false);
constexpr LaneShuffle kAsMasks = laneShuffle(true);

// A block of source pixels, given out as float vectors: `part(x)` begins at pixel x.
template <class T>
struct Block {
  const T* first;
  explicit Block(const T* at) : first(at) {}
  auto part(std::ptrdiff_t x) const {
    if constexpr (std::is_same_v<T, float>) {
      return hn::LoadU(Floats(), first + x);
    } else {
      return hn::ConvertTo(Floats(), hn::PromoteTo(Words(), hn::LoadU(hn::Rebind<T, Floats>(), first + x)));
    }
  }
};

// Bytes are loaded at once, into every 16 bytes of the vector.
template <>
struct Block<std::uint8_t> {
  hn::Vec<Bytes> bytes;
  explicit Block(const std::uint8_t* at) : bytes(hn::LoadDup128(Bytes(), at)) {}
  void drop(hn::Vec<Bytes> leftOut) { bytes = hn::AndNot(leftOut, bytes); }
  auto part(std::ptrdiff_t x) const {
    return hn::ConvertTo(Floats(), hn::BitCast(Words(), hn::TableLookupBytes(bytes, kAsNumbers.part(x))));
  }
};

// The mask of a block.
struct MaskBlock {
  hn::Vec<Bytes> leftOut;  // All ones where the mask is zero.
  explicit MaskBlock(const std::uint8_t* at)
      : leftOut(hn::VecFromMask(Bytes(), hn::LoadDup128(Bytes(), at) == hn::Zero(Bytes()))) {}
  auto keep(std::ptrdiff_t x) const {
    const auto lanes = hn::BitCast(Floats(), hn::TableLookupBytes(leftOut, kAsMasks.part(x)));
    return [lanes](auto value) { return hn::AndNot(lanes, value); };
  }
};

// One row of the work. A formula with one source finds it in s2 too, and does not look there.
template <class Formula, class T>
struct RowWork {
  Formula formula;
  const T* s1;
  const T* s2;
  const std::uint8_t* mask;
  float* acc;

  template <class Keep>
  void addPixel(std::ptrdiff_t x, const Keep& keep) const {
    acc[x] += formula(static_cast<float>(s1[x]), static_cast<float>(s2[x]), acc[x], keep);
  }

  // All blocks that fit between first and last; returns where they end.
  template <bool kMasked>
  std::ptrdiff_t addBlocks(std::ptrdiff_t first, std::ptrdiff_t last) const {
    std::ptrdiff_t x = first;
    for (; x + kBlock <= last; x += kBlock) {
      prefetchAhead(acc + x);
      if constexpr (std::is_same_v<T, float>) {
        prefetchAhead(s1 + x);
        if (s2 != s1) prefetchAhead(s2 + x);
      }
      Block<T> block1(s1 + x);
      const Block<T> block2(s2 + x);
      const auto addParts = [&](const auto& keep) {
        for (std::ptrdiff_t part = 0; part < kBlock; part += kLanes) {
          const auto old = hn::LoadU(Floats(), acc + x + part);
          hn::StoreU(old + formula(block1.part(part), block2.part(part), old, keep(part)), Floats(),
                     acc + x + part);
        }
      };
      if constexpr (kMasked) {
        const MaskBlock selected(mask + x);
        if constexpr (Formula::kMasksSource && std::is_same_v<T, std::uint8_t>) {
          block1.drop(selected.leftOut);  // Cheaper before the bytes are floats.
          addParts([](std::ptrdiff_t) { return kKeepAll; });
        } else {
          addParts([&](std::ptrdiff_t part) { return selected.keep(part); });
        }
      } else {
        addParts([](std::ptrdiff_t) { return kKeepAll; });
      }
    }
    return x;
  }

  void addAll(std::ptrdiff_t width) const {
    for (std::ptrdiff_t x = addBlocks<false>(0, width); x < width; ++x) addPixel(x, kKeepAll);
  }

  // Pixels outside a group: the mask decides whether anything happens.
  void addSelected(std::ptrdiff_t first, std::ptrdiff_t last) const {
    for (std::ptrdiff_t x = first; x < last; ++x) {
      if (mask[x] != 0) addPixel(x, kKeepAll);
    }
  }

  // Groups of four: the mask decides what is added.
  void addGroups(std::ptrdiff_t first, std::ptrdiff_t last) const {
    for (std::ptrdiff_t x = addBlocks<true>(first, last); x < last; ++x)
      addPixel(x, [selected = mask[x] != 0](float value) { return selected ? value : 0.0f; });
  }
};

// Single pixels before the groups: none, or as many as bring the accumulator to a multiple of 16 bytes.
std::ptrdiff_t headPixels(const float* acc, std::ptrdiff_t width) {
  const std::uintptr_t missing = (kGroupBytes - reinterpret_cast<std::uintptr_t>(acc) % kGroupBytes) % kGroupBytes;
  return std::min(static_cast<std::ptrdiff_t>(missing / sizeof(float)), width);
}

// Calls addRow(y, width) for the rows of a slice. Rows of images without gaps are one long row: no row's end stops
// the vectors.
template <class AddRow>
void forRows(Slice slice, std::ptrdiff_t width, bool joined, const AddRow& addRow) {
  if (joined) {
    addRow(slice.first, width * slice.count());
  } else {
    for (std::ptrdiff_t y : slice) addRow(y, width);
  }
}

template <class Formula, class T>
RvpStatus accumulate(Formula formula, Image<T> src1, Image<T> src2, float* acc, int accStep, RvpiSize roiSize) {
  const std::ptrdiff_t width = roiSize.width;
  const bool joined = src1.hasNoGap(width) && src2.hasNoGap(width) && Image<float>{acc, accStep}.hasNoGap(width);
  forRowSlices(roiSize, kTeamPixels, [&](Slice slice) {
    forRows(slice, width, joined, [&](std::ptrdiff_t y, std::ptrdiff_t pixels) {
      RowWork<Formula, T>{formula, src1.at(y), src2.at(y), nullptr, row(acc, accStep, y)}.addAll(pixels);
    });
  });
  return rvpStatusOk;
}

// Under a mask rows are joined only where the groups of four of one long row are those of its parts: rows are whole
// groups, and the groups begin with the row.
template <bool kAligned, class Formula, class T>
RvpStatus accumulateMasked(Formula formula, Image<T> src1, Image<T> src2, Image<std::uint8_t> mask, float* acc,
                           int accStep, RvpiSize roiSize) {
  const std::ptrdiff_t width = roiSize.width;
  const bool wholeGroups = width % 4 == 0 && (!kAligned || headPixels(acc, width) == 0);
  const bool joined = wholeGroups && src1.hasNoGap(width) && src2.hasNoGap(width) && mask.hasNoGap(width) &&
                      Image<float>{acc, accStep}.hasNoGap(width);
  forRowSlices(roiSize, kTeamPixels, [&](Slice slice) {
    forRows(slice, width, joined, [&](std::ptrdiff_t y, std::ptrdiff_t pixels) {
      const RowWork<Formula, T> work = {formula, src1.at(y), src2.at(y), mask.at(y), row(acc, accStep, y)};
      const std::ptrdiff_t head = kAligned ? headPixels(work.acc, pixels) : 0;
      const std::ptrdiff_t tail = head + (pixels - head) / 4 * 4;
      work.addSelected(0, head);
      work.addGroups(head, tail);
      work.addSelected(tail, pixels);
    });
  });
  return rvpStatusOk;
}

// The steps of the sources, then those of mask and accumulator. Where all images are float, lengths come before
// multiples. An operation without a mask gives the width as its step, which passes.
template <class T, class... SourceStep>
RvpStatus badSteps(int width, int maskStep, int accStep, SourceStep... srcSteps) {
  const RvpStatus shortMask = shortStep<std::uint8_t>(width, maskStep);
  if constexpr (std::is_same_v<T, float>) {
    return firstFault(shortStep<float>(width, srcSteps..., accStep), shortMask,
                      oddStep<float>(srcSteps..., accStep));
  } else {
    return firstFault(shortStep<T>(width, srcSteps...), oddStep<T>(srcSteps...), shortMask,
                      shortStep<float>(width, accStep), oddStep<float>(accStep));
  }
}

template <class Formula, class T, class... Alpha>
RvpStatus addOne(const T* pSrc, int srcStep, float* pSrcDst, int srcDstStep, RvpiSize roiSize, Alpha... alpha) {
  if (RvpStatus fault = firstFault(nullPointer(pSrc, pSrcDst), badSize(roiSize),
                                   badSteps<T>(roiSize.width, roiSize.width, srcDstStep, srcStep)))
    return fault;
  const Image<T> src = {pSrc, srcStep};
  return accumulate(Formula{alpha...}, src, src, pSrcDst, srcDstStep, roiSize);
}

template <class Formula, bool kAligned, class T, class... Alpha>
RvpStatus addOneMasked(const T* pSrc, int srcStep, const std::uint8_t* pMask, int maskStep, float* pSrcDst,
                       int srcDstStep, RvpiSize roiSize, Alpha... alpha) {
  if (RvpStatus fault = firstFault(nullPointer(pSrc, pMask, pSrcDst), badSize(roiSize),
                                   badSteps<T>(roiSize.width, maskStep, srcDstStep, srcStep)))
    return fault;
  const Image<T> src = {pSrc, srcStep};
  return accumulateMasked<kAligned>(Formula{alpha...}, src, src, {pMask, maskStep}, pSrcDst, srcDstStep, roiSize);
}

template <class T>
RvpStatus addProduct(const T* pSrc1, int src1Step, const T* pSrc2, int src2Step, float* pSrcDst, int srcDstStep,
                     RvpiSize roiSize) {
  if (RvpStatus fault = firstFault(nullPointer(pSrc1, pSrc2, pSrcDst), badSize(roiSize),
                                   badSteps<T>(roiSize.width, roiSize.width, srcDstStep, src1Step, src2Step)))
    return fault;
  return accumulate(SumOfProducts(), Image<T>{pSrc1, src1Step}, Image<T>{pSrc2, src2Step}, pSrcDst, srcDstStep,
                    roiSize);
}

template <class T>
RvpStatus addProductMasked(const T* pSrc1, int src1Step, const T* pSrc2, int src2Step, const std::uint8_t* pMask,
                           int maskStep, float* pSrcDst, int srcDstStep, RvpiSize roiSize) {
  if (RvpStatus fault = firstFault(nullPointer(pSrc1, pSrc2, pMask, pSrcDst), badSize(roiSize),
                                   badSteps<T>(roiSize.width, maskStep, srcDstStep, src1Step, src2Step)))
    return fault;
  return accumulateMasked<false>(SumOfProducts(), Image<T>{pSrc1, src1Step}, Image<T>{pSrc2, src2Step},
                                 {pMask, maskStep}, pSrcDst, srcDstStep, roiSize);
}

}  // namespace
}  // namespace rvp::n8

// The exported names. ALIGNED tells whether groups of four begin where the accumulator is a multiple of 16 bytes.
#define RVP_ADD(NAME, ADDEND, T)                                                                 \
  RvpStatus NAME(const T* pSrc, int srcStep, float* pSrcDst, int srcDstStep, RvpiSize roiSize) { \
    return rvp::n8::addOne<rvp::n8::ADDEND>(pSrc, srcStep, pSrcDst, srcDstStep, roiSize);        \
  }
#define RVP_ADD_MASKED(NAME, ADDEND, T, ALIGNED)                                                                 \
  RvpStatus NAME(const T* pSrc, int srcStep, const uint8_t* pMask, int maskStep, float* pSrcDst, int srcDstStep, \
                 RvpiSize roiSize) {                                                                             \
    return rvp::n8::addOneMasked<rvp::n8::ADDEND, ALIGNED>(pSrc, srcStep, pMask, maskStep, pSrcDst, srcDstStep,  \
                                                           roiSize);                                             \
  }
#define RVP_ADD_PRODUCT(TYPES, T)                                                                              \
  RvpStatus rvpiAddProduct_##TYPES##_C1IR(const T* pSrc1, int src1Step, const T* pSrc2, int src2Step,          \
                                          float* pSrcDst, int srcDstStep, RvpiSize roiSize) {                  \
    return rvp::n8::addProduct(pSrc1, src1Step, pSrc2, src2Step, pSrcDst, srcDstStep, roiSize);                \
  }                                                                                                            \
  RvpStatus rvpiAddProduct_##TYPES##_C1IMR(const T* pSrc1, int src1Step, const T* pSrc2, int src2Step,         \
                                           const uint8_t* pMask, int maskStep, float* pSrcDst, int srcDstStep, \
                                           RvpiSize roiSize) {                                                 \
    return rvp::n8::addProductMasked(pSrc1, src1Step, pSrc2, src2Step, pMask, maskStep, pSrcDst, srcDstStep,   \
                                     roiSize);                                                                 \
  }
#define RVP_ADD_WEIGHTED(TYPES, T)                                                                           \
  RvpStatus rvpiAddWeighted_##TYPES##_C1IR(const T* pSrc, int srcStep, float* pSrcDst, int srcDstStep,       \
                                           RvpiSize roiSize, float alpha) {                                  \
    return rvp::n8::addOne<rvp::n8::RunningAverage>(pSrc, srcStep, pSrcDst, srcDstStep, roiSize, alpha);     \
  }                                                                                                          \
  RvpStatus rvpiAddWeighted_##TYPES##_C1IMR(const T* pSrc, int srcStep, const uint8_t* pMask, int maskStep,  \
                                            float* pSrcDst, int srcDstStep, RvpiSize roiSize, float alpha) { \
    return rvp::n8::addOneMasked<rvp::n8::RunningAverage, false>(pSrc, srcStep, pMask, maskStep, pSrcDst,    \
                                                                 srcDstStep, roiSize, alpha);                \
  }

extern "C" {

RVP_ADD(rvpiAdd_8u32f_C1IR, Sum, uint8_t)
RVP_ADD(rvpiAdd_16u32f_C1IR, Sum, uint16_t)
RVP_ADD_MASKED(rvpiAdd_8u32f_C1IMR, Sum, uint8_t, true)
RVP_ADD_MASKED(rvpiAdd_16u32f_C1IMR, Sum, uint16_t, true)
RVP_ADD_MASKED(rvpiAdd_32f_C1IMR, Sum, float, false)

RVP_ADD(rvpiAddSquare_8u32f_C1IR, SumOfSquares, uint8_t)
RVP_ADD(rvpiAddSquare_16u32f_C1IR, SumOfSquares, uint16_t)
RVP_ADD(rvpiAddSquare_32f_C1IR, SumOfSquares, float)
RVP_ADD_MASKED(rvpiAddSquare_8u32f_C1IMR, SumOfSquares, uint8_t, true)
RVP_ADD_MASKED(rvpiAddSquare_16u32f_C1IMR, SumOfSquares, uint16_t, true)
RVP_ADD_MASKED(rvpiAddSquare_32f_C1IMR, SumOfSquares, float, false)

RVP_ADD_PRODUCT(8u32f, uint8_t)
RVP_ADD_PRODUCT(16u32f, uint16_t)
RVP_ADD_PRODUCT(32f, float)

RVP_ADD_WEIGHTED(8u32f, uint8_t)
RVP_ADD_WEIGHTED(16u32f, uint16_t)
RVP_ADD_WEIGHTED(32f, float)

RvpStatus rvpiAddWeighted_32f_C1R(const float* pSrc1, int src1Step, const float* pSrc2, int src2Step, float* pDst,
                                  int dstStep, RvpiSize roiSize, float alpha) {
  using namespace rvp::n8;
  if (RvpStatus fault = firstFault(nullPointer(pSrc1, pSrc2, pDst), badSize(roiSize),
                                   badSteps<float>(roiSize.width, roiSize.width, dstStep, src1Step, src2Step)))
    return fault;
  for (std::ptrdiff_t y = 0; y < roiSize.height; ++y) {
    const float* src1 = row(pSrc1, src1Step, y);
    const float* src2 = row(pSrc2, src2Step, y);
    float* dst = row(pDst, dstStep, y);
    for (std::ptrdiff_t x = 0; x < roiSize.width; ++x) dst[x] = (src1[x] - src2[x]) * alpha + src2[x];
  }
  return rvpStatusOk;
}

}  // extern "C"
