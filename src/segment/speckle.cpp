// Speckles: small blobs of similar pixels, overwritten with a value.
//
// Two neighbours above, below, left or right of each other are linked if neither equals the value and they differ
// by at most maxDifference. A blob is what links connect. Links do not depend on the order in which they are
// followed, nor on blobs that are overwritten meanwhile, as these share no link with the rest.
//
// A run is a stretch of pixels each linked to the one before, or of pixels that equal the value. Runs are joined in
// a first pass; then their lengths are summed up by blob; then the runs of small blobs are overwritten.
#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <type_traits>

#include "frame/bits.h"
#include "frame/checks.h"
#include "frame/simd.h"
#include "frame/views.h"
#include "rvpcv/label.h"
#include "segment/label_forest.h"

namespace rvp::n8 {
namespace {

// Loads and stores where the step may have led to any address. A vector asks for no alignment, but a single lane
// does.
template <class D, class T>
HWY_INLINE auto loadAnywhere(D d, const T* pixels) {
  if constexpr (hn::MaxLanes(d) == 1) {
    T pixel;
    std::memcpy(&pixel, pixels, sizeof pixel);
    return hn::Set(d, pixel);
  } else {
    return hn::LoadU(d, pixels);
  }
}
template <class D, class T>
HWY_INLINE void storeAnywhere(D d, T value, T* pixels) {
  if constexpr (hn::MaxLanes(d) == 1) {
    std::memcpy(pixels, &value, sizeof value);
  } else {
    hn::StoreU(hn::Set(d, value), d, pixels);
  }
}

template <class T>
struct Similarity {
  T value;
  T maxDifference;

  template <class D>
  HWY_INLINE auto isVoid(D d, hn::VFromD<D> v) const {
    return hn::Eq(v, hn::Set(d, value));
  }

  // The difference of integers is that of the exact values, which fits their unsigned type; a difference with NaN,
  // or of equal infinities, is none that passes.
  template <class D>
  HWY_INLINE auto isSimilar(D d, hn::VFromD<D> a, hn::VFromD<D> b) const {
    if constexpr (std::is_floating_point_v<T>) {
      return hn::Le(hn::Abs(hn::Sub(a, b)), hn::Set(d, maxDifference));
    } else {
      const hn::RebindToUnsigned<D> dU;
      const auto limit = hn::Set(dU, static_cast<std::make_unsigned_t<T>>(maxDifference));
      const auto difference = hn::BitCast(dU, hn::Sub(hn::Max(a, b), hn::Min(a, b)));
      return hn::RebindMask(d, hn::Eq(hn::Max(difference, limit), limit));
    }
  }

  // A limit below 0 lets nothing pass.
  Word allowed() const { return maxDifference < T{0} ? Word{0} : ~Word{0}; }
};

// The scratch holds, for the row above, the bits of its starts and of the pixels that equal the value; for each run
// its place in the forest, its first column, and its blob's size. A row has up to `width` runs: with n pixels and w
// words for a row these are 16 * w + 12 * n + 4 bytes, and 7 to align them, at most 12 * n + width / 4 + 27, which
// is below the reported 13 * n + 64.
template <class T>
class SpeckleMarking {
 public:
  SpeckleMarking(T* image, int step, RvpiSize size, Similarity<T> similarity, std::uint8_t* scratch)
      : image_(image),
        step_(step),
        width_(size.width),
        height_(size.height),
        similarity_(similarity),
        startsAbove_(reinterpret_cast<Word*>(alignedUp(scratch, alignof(Word)))),
        voidAbove_(startsAbove_ + wordsOf(width_)),
        sizes_(reinterpret_cast<std::int32_t*>(voidAbove_ + wordsOf(width_))),
        columns_(sizes_ + width_ * height_),
        forest_(columns_ + width_ * height_ + 1) {}

  void connect() {
    // Nothing is linked to a row of void pixels, which stands for the row above the first one.
    std::fill(startsAbove_, voidAbove_, Word{0});
    std::fill_n(voidAbove_, wordsOf(width_), ~Word{0});
    std::int32_t firstAbove = 0;
    for (std::ptrdiff_t y = 0; y < height_; ++y) {
      const std::int32_t first = forest_.count();
      connectRow(row(image_, step_, y), row(image_, step_, y == 0 ? 0 : y - 1), firstAbove);
      firstAbove = first;
    }
    columns_[forest_.count()] = 0;
  }

  void measure() {
    forest_.resolve([](std::int32_t run) { return run; });
    forRuns([&](std::int32_t run, std::ptrdiff_t, std::ptrdiff_t first, std::ptrdiff_t last) {
      sizes_[run] = 0;
      sizes_[forest_.values()[run]] += static_cast<std::int32_t>(last - first);
    });
  }

  void overwrite(int maxSize) const {
    forRuns([&](std::int32_t run, std::ptrdiff_t y, std::ptrdiff_t first, std::ptrdiff_t last) {
      if (sizes_[forest_.values()[run]] > maxSize) return;
      T* const pixels = row(image_, step_, y);
      forVectors<T>(first, last,
                    [&](auto d, std::ptrdiff_t x) { storeAnywhere(d, similarity_.value, pixels + x); });
    });
  }

 private:
  void connectRow(const T* pixels, const T* above, std::int32_t firstAbove) {
    std::int32_t run = forest_.count() - 1;
    std::int32_t runAbove = firstAbove - 1;
    Word carryVoid = 0;
    Word carryLinked = 0;
    Word carryDown = 0;
    for (std::ptrdiff_t w = 0; w < wordsOf(width_); ++w) {
      const std::ptrdiff_t first = w * kWordColumns;
      const std::ptrdiff_t last = std::min(first + kWordColumns, width_);
      const Word isVoid = wordWhere<T>(first, last, [&](auto d, std::ptrdiff_t x) {
        return similarity_.isVoid(d, loadAnywhere(d, pixels + x));
      });
      const Word similarToNext =
          similarity_.allowed() & wordWhere<T>(first, std::min(last, width_ - 1), [&](auto d, std::ptrdiff_t x) {
            return similarity_.isSimilar(d, loadAnywhere(d, pixels + x), loadAnywhere(d, pixels + x + 1));
          });
      const Word similarToAbove =
          similarity_.allowed() & wordWhere<T>(first, last, [&](auto d, std::ptrdiff_t x) {
            return similarity_.isSimilar(d, loadAnywhere(d, pixels + x), loadAnywhere(d, above + x));
          });
      const Word exists = last - first == kWordColumns ? ~Word{0} : (Word{1} << (last - first)) - 1;
      const Word voidBefore = isVoid << 1 | carryVoid;
      const Word linkedBefore = (similarToNext << 1 | carryLinked) & ~isVoid & ~voidBefore;
      const Word starts = exists & ~(linkedBefore | (isVoid & voidBefore));
      const Word startsAbove = startsAbove_[w];
      // Two runs touch at every column where pixels are linked; one is enough.
      const Word down = similarToAbove & ~isVoid & ~voidAbove_[w];
      const Word links = down & ~((down << 1 | carryDown) & ~starts & ~startsAbove);
      addRuns(starts, isVoid, first);
      forest_.join(links, starts, startsAbove, run, runAbove);
      run += bitCount(starts);
      runAbove += bitCount(startsAbove);
      startsAbove_[w] = starts;
      voidAbove_[w] = isVoid;
      carryVoid = isVoid >> (kWordColumns - 1);
      carryLinked = similarToNext >> (kWordColumns - 1);
      carryDown = down >> (kWordColumns - 1);
    }
  }

  // A run of pixels that equal the value bears the complement of its column.
  void addRuns(Word starts, Word isVoid, std::ptrdiff_t firstColumn) {
    std::int32_t* columns = columns_ + forest_.count();
    forest_.add(starts);
    forBits(starts, 0, [&](std::ptrdiff_t i) {
      const auto column = static_cast<std::int32_t>(firstColumn + i);
      *columns++ = (isVoid >> i & 1) != 0 ? ~column : column;
    });
  }

  // Calls body(run, row, first column, last column + 1) for the runs whose pixels differ from the value. A row's
  // runs end where the next one begins, at column 0.
  template <class Body>
  void forRuns(const Body& body) const {
    std::ptrdiff_t y = 0;
    std::int32_t next = columns_[0];
    for (std::int32_t run = 0; run < forest_.count(); ++run) {
      const std::int32_t first = next;
      next = columns_[run + 1];
      const std::int32_t end = next < 0 ? ~next : next;
      if (first >= 0) body(run, y, std::ptrdiff_t{first}, end == 0 ? width_ : std::ptrdiff_t{end});
      if (end == 0) ++y;
    }
  }

  T* image_;
  int step_;
  std::ptrdiff_t width_;
  std::ptrdiff_t height_;
  Similarity<T> similarity_;
  Word* startsAbove_;
  Word* voidAbove_;
  std::int32_t* sizes_;
  std::int32_t* columns_;
  RunForest forest_;
};

template <class T>
RvpStatus markSpeckles(T* pSrcDst, int srcDstStep, RvpiSize roiSize, T speckleValue, int maxSpeckleSize,
                       T maxDifference, RvpiConnectivity norm, std::uint8_t* pBuffer) {
  if (RvpStatus fault = firstFault(nullPointer(pSrcDst, pBuffer), badSize(roiSize),
                                   faultIf(norm != rvpConnect4, rvpStatusBadNorm)))
    return fault;
  SpeckleMarking<T> marking(pSrcDst, srcDstStep, roiSize, {speckleValue, maxDifference}, pBuffer);
  marking.connect();
  marking.measure();
  marking.overwrite(maxSpeckleSize);
  return rvpStatusOk;
}

}  // namespace
}  // namespace rvp::n8

#define RVP_MARK_SPECKLES(TYPE, T)                                                                                \
  RvpStatus rvpiMarkSpeckles_##TYPE##_C1IR(T* pSrcDst, int srcDstStep, RvpiSize roiSize, T speckleValue,          \
                                           int maxSpeckleSize, T maxDifference, RvpiConnectivity norm,            \
                                           uint8_t* pBuffer) {                                                    \
    return rvp::n8::markSpeckles(pSrcDst, srcDstStep, roiSize, speckleValue, maxSpeckleSize, maxDifference, norm, \
                                 pBuffer);                                                                        \
  }

extern "C" {

RvpStatus rvpiMarkSpecklesGetBufferSize(RvpiSize roiSize, RvpDataType dataType, int numChannels, int* pBufferSize) {
  using namespace rvp::n8;
  if (RvpStatus fault =
          firstFault(nullPointer(pBufferSize), badSize(roiSize),
                     faultIf(dataType != rvp8u && dataType != rvp16u && dataType != rvp16s && dataType != rvp32f,
                             rvpStatusBadDataType),
                     faultIf(numChannels != 1, rvpStatusBadNumChannels)))
    return fault;
  // In unsigned arithmetic, which wraps for sizes beyond 31 bits; the interface cannot tell these.
  *pBufferSize =
      static_cast<int>(13U * static_cast<unsigned>(roiSize.width) * static_cast<unsigned>(roiSize.height) + 64U);
  return rvpStatusOk;
}

RVP_MARK_SPECKLES(8u, uint8_t)
RVP_MARK_SPECKLES(16u, uint16_t)
RVP_MARK_SPECKLES(16s, int16_t)
RVP_MARK_SPECKLES(32f, float)

}  // extern "C"
