// Reconstruction by dilation: the marker rises under the mask until it is stable. With the neighbours N of a pixel
//
//   v = min(max(v, max of v over N), mask)
//
// has one least stable solution above min(marker, mask), and whatever order pixels are raised in leads there.
//
// Values are compared as integer keys. A float's key orders as the float does, with -0 below +0 and NaN outside of
// the infinities, so that nothing depends on the order in which equal values or NaN are met. For erosion the keys'
// order is turned around. While the operation runs, the marker's image holds keys; the mask's are made when read.
//
// Two passes over all rows, down and up, leave little to do in most images. From then on, only marked places are
// looked at: a row has eight blocks of columns and a mark for each, which says that a pixel there would be raised
// by one of the rows beside it. Marked rows are swept down and up until no marks are left. What is raised runs
// along its row at once, as far as it changes anything, and marks the rows beside it where it would raise them.
#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <limits>
#include <type_traits>

#include "frame/checks.h"
#include "frame/simd.h"
#include "frame/views.h"
#include "rvpcv/reconstruct.h"

namespace rvp::n8 {
namespace {

enum class Morph { dilate, erode };

// The unsigned integers themselves, or the bits of floats.
template <class T>
struct KeyType {
  using Type = T;
};
template <>
struct KeyType<float> {
  using Type = std::int32_t;
};
template <>
struct KeyType<double> {
  using Type = std::int64_t;
};

// How the elements of T become keys and back. The bits of negative floats order the wrong way around, and are
// turned but for the sign; doing so twice gives the bits again.
template <class T, Morph kMorph>
struct Keys {
  using Key = typename KeyType<T>::Type;
  static constexpr bool kAreElements = std::is_same_v<T, Key> && kMorph == Morph::dilate;

  template <class D, class V>
  HWY_INLINE static V ordered(D d, V bits) {
    if constexpr (std::is_signed_v<Key>) {
      const auto magnitude = hn::Set(d, std::numeric_limits<Key>::max());
      return hn::Xor(bits, hn::And(hn::BroadcastSignBit(bits), magnitude));
    } else {
      return bits;
    }
  }
  template <class D>
  HWY_INLINE static auto fromElements(D d, const Key* elements) {
    const auto key = ordered(d, hn::LoadU(d, elements));
    if constexpr (kMorph == Morph::dilate) {
      return key;
    } else {
      return hn::Not(key);
    }
  }
  static Key fromElement(Key element) {
    if constexpr (std::is_signed_v<Key>)
      element ^= (element >> std::numeric_limits<Key>::digits) & std::numeric_limits<Key>::max();
    return kMorph == Morph::dilate ? element : static_cast<Key>(~element);
  }
  template <class D>
  HWY_INLINE static auto toElements(D d, const Key* keys) {
    const auto key = hn::LoadU(d, keys);
    if constexpr (kMorph == Morph::dilate) {
      return ordered(d, key);
    } else {
      return ordered(d, hn::Not(key));
    }
  }
};

// Of two keys of which nobody can foretell which it is: a branch on that would be mispredicted all the time.
template <class Key>
Key lesser(Key a, Key b) {
  return __builtin_expect_with_probability(a < b, 1, 0.5) ? a : b;
}
template <class Key>
Key greater(Key a, Key b) {
  return __builtin_expect_with_probability(a > b, 1, 0.5) ? a : b;
}

// A row's columns first to last - 1.
struct Columns {
  std::ptrdiff_t first;
  std::ptrdiff_t last;
  bool empty() const { return first >= last; }
};

// Values that run along a row, a vector at a time. Each pixel makes of the value c that arrives min(max(c, low),
// high), with low its own value and high the mask's. Such functions, low <= high, are closed under composition: so
// each lane first gathers what all lanes before it in the vector do, in a few steps of twice the distance, and then
// applies it to the value before the vector.
template <class D>
class Runs {
 public:
  using V = hn::VFromD<D>;
  using Key = hn::TFromD<D>;
  static constexpr std::ptrdiff_t kLanes = static_cast<std::ptrdiff_t>(hn::MaxLanes(D()));
  static_assert(kLanes * sizeof(Key) == 16);

  HWY_INLINE static V clamp(V c, V low, V high) { return hn::Min(hn::Max(c, low), high); }

  template <bool kRightwards>
  HWY_INLINE static V after(V carry, V low, V high) {
    gather<kRightwards, 1>(low, high);
    return clamp(carry, low, high);
  }

  // The value that arrives behind a vector, in all lanes.
  template <bool kRightwards>
  HWY_INLINE static V lastOf(V values) {
    constexpr D d;
    const hn::Repartition<std::uint8_t, D> d8;
    constexpr int kFirstByte = kRightwards ? 16 - static_cast<int>(sizeof(Key)) : 0;
    const auto bytes = hn::Add(hn::And(hn::Iota(d8, 0), hn::Set(d8, sizeof(Key) - 1)), hn::Set(d8, kFirstByte));
    return hn::BitCast(d, hn::TableLookupBytes(hn::BitCast(d8, values), bytes));
  }

 private:
  template <bool kRightwards, int kDistance>
  HWY_INLINE static void gather(V& low, V& high) {
    if constexpr (kDistance < kLanes) {
      const V lowBefore = shifted<kRightwards, kDistance>(low, std::numeric_limits<Key>::lowest());
      const V highBefore = shifted<kRightwards, kDistance>(high, std::numeric_limits<Key>::max());
      const V gatheredLow = clamp(lowBefore, low, high);
      high = clamp(highBefore, low, high);
      low = gatheredLow;
      gather<kRightwards, 2 * kDistance>(low, high);
    }
  }

  // Moves lanes on; those that nothing moves to get `fill`.
  template <bool kRightwards, int kDistance>
  HWY_INLINE static V shifted(V v, Key fill) {
    constexpr D d;
    const auto lane = hn::Iota(d, 0);
    if constexpr (kRightwards) {
      const auto isNew = hn::Lt(lane, hn::Set(d, Key{kDistance}));
      return hn::Or(hn::ShiftLeftLanes<kDistance>(d, v), hn::IfThenElseZero(isNew, hn::Set(d, fill)));
    } else {
      const auto isNew = hn::Gt(lane, hn::Set(d, static_cast<Key>(kLanes - 1 - kDistance)));
      return hn::Or(hn::ShiftRightLanes<kDistance>(d, v), hn::IfThenElseZero(isNew, hn::Set(d, fill)));
    }
  }
};

// The scratch holds one byte of marks for each row.
template <class T, Morph kMorph, bool kDiagonals>
class Reconstruction {
 public:
  using K = Keys<T, kMorph>;
  using Key = typename K::Key;

  Reconstruction(const T* mask, int maskStep, T* marker, int markerStep, RvpiSize size, std::uint8_t* marks)
      : mask_(reinterpret_cast<const Key*>(mask)),
        maskStep_(maskStep),
        marker_(reinterpret_cast<Key*>(marker)),
        markerStep_(markerStep),
        width_(size.width),
        height_(size.height),
        marks_(marks) {
    while ((width_ - 1) >> blockShift_ >= kBlocks) ++blockShift_;
  }

  void run() {
    if (!K::kAreElements) convert([](auto d, const Key* at) { return K::fromElements(d, at); });
    std::fill_n(marks_, height_, std::uint8_t{0});
    passDown();
    passUp();
    for (bool changes = true; changes;) {
      changes = sweepDown();
      changes = sweepUp() || changes;
    }
    if (!K::kAreElements) convert([](auto d, const Key* at) { return K::toElements(d, at); });
  }

 private:
  static constexpr int kBlocks = 8;
  using Vector = hn::FixedTag<Key, 16 / sizeof(Key)>;
  using Single = hn::CappedTag<Key, 1>;

  Key* values(std::ptrdiff_t y) const { return row(marker_, markerStep_, y); }
  const Key* limits(std::ptrdiff_t y) const { return row(mask_, maskStep_, y); }

  template <class Conversion>
  void convert(const Conversion& converted) const {
    for (std::ptrdiff_t y = 0; y < height_; ++y) {
      Key* const at = values(y);
      forVectors<Key>(0, width_, [&](auto d, std::ptrdiff_t x) { hn::StoreU(converted(d, at + x), d, at + x); });
    }
  }

  void passDown() const {
    for (std::ptrdiff_t y = 0; y < height_; ++y) {
      if (y == 0) {
        lower(y);
      } else {
        lift(y, y - 1);
      }
      spread<true, true>(y, {0, width_});
      spread<false, true>(y, {0, width_});
    }
  }

  // Raises each row from the one below, which is final in this pass; what it raises there in turn is left to the
  // sweeps.
  void passUp() {
    for (std::ptrdiff_t y = height_ - 2; y >= 0; --y) {
      lift(y, y + 1);
      spread<true, true>(y, {0, width_});
      spread<false, true>(y, {0, width_});
      markRaised(y, y + 1, {0, width_});
    }
  }

  bool sweepDown() {
    bool isAny = false;
    for (std::ptrdiff_t y = 0; y < height_; ++y) isAny |= visit(y);
    return isAny;
  }
  bool sweepUp() {
    bool isAny = false;
    for (std::ptrdiff_t y = height_ - 1; y >= 0; --y) isAny |= visit(y);
    return isAny;
  }

  // The greatest of the columns x - 1 to x + 1 of a row, or the column x alone. A vector must have columns on both
  // sides.
  template <bool kThree, class D>
  HWY_INLINE auto greatest(D d, const Key* there, std::ptrdiff_t x) const {
    const auto same = hn::LoadU(d, there + x);
    if constexpr (!kThree) {
      return same;
    } else if constexpr (hn::MaxLanes(d) == 1) {
      const auto left = hn::LoadU(d, there + std::max<std::ptrdiff_t>(x - 1, 0));
      const auto right = hn::LoadU(d, there + std::min(x + 1, width_ - 1));
      return hn::Max(same, hn::Max(left, right));
    } else {
      return hn::Max(same, hn::Max(hn::LoadU(d, there + x - 1), hn::LoadU(d, there + x + 1)));
    }
  }

  // Calls body(d, x) over columns such that `greatest` may be asked there.
  template <bool kThree, class Body>
  HWY_INLINE void forColumns(Columns columns, const Body& body) const {
    if (kThree && columns.first == 0 && !columns.empty()) body(Single(), columns.first++);
    const std::ptrdiff_t last = kThree ? std::min(columns.last, width_ - 1) : columns.last;
    forVectors<Key>(columns.first, last, body);
    if (last < columns.last && columns.first < columns.last) body(Single(), last);
  }

  // Raises all of a row to what one beside it has, and lowers it to the mask.
  void lift(std::ptrdiff_t y, std::ptrdiff_t from) const {
    Key* const here = values(y);
    const Key* const limit = limits(y);
    const Key* const there = values(from);
    forColumns<kDiagonals>({0, width_}, [&](auto d, std::ptrdiff_t x) {
      const auto raised = hn::Max(hn::LoadU(d, here + x), greatest<kDiagonals>(d, there, x));
      hn::StoreU(hn::Min(raised, K::fromElements(d, limit + x)), d, here + x);
    });
  }

  void lower(std::ptrdiff_t y) const {
    Key* const here = values(y);
    const Key* const limit = limits(y);
    forVectors<Key>(0, width_, [&](auto d, std::ptrdiff_t x) {
      hn::StoreU(hn::Min(hn::LoadU(d, here + x), K::fromElements(d, limit + x)), d, here + x);
    });
  }

  // Raises columns of a row to what the rows beside it have, up to the mask. Returns columns around those that
  // rose.
  Columns raise(std::ptrdiff_t y, Columns columns) const {
    Key* const here = values(y);
    const Key* const limit = limits(y);
    const Key* const above = values(y == 0 ? y + 1 : y - 1);
    const Key* const below = values(y == height_ - 1 ? y - 1 : y + 1);
    Columns raised = {width_, 0};
    forColumns<kDiagonals>(columns, [&](auto d, std::ptrdiff_t x) {
      const auto old = hn::LoadU(d, here + x);
      const auto around = hn::Max(greatest<kDiagonals>(d, above, x), greatest<kDiagonals>(d, below, x));
      const auto now = hn::Max(old, hn::Min(around, K::fromElements(d, limit + x)));
      if (hn::AllTrue(d, hn::Eq(old, now))) return;
      hn::StoreU(now, d, here + x);
      raised.first = std::min(raised.first, x);
      raised.last = x + static_cast<std::ptrdiff_t>(hn::MaxLanes(d));
    });
    return raised;
  }

  // Lets values run along a row through all given columns, and further while they raise anything; no value lies
  // above the mask. Returns the columns extended by those. After the first passes, that values never fall brings
  // every call to an end, even one whose images overlap.
  template <bool kRightwards, bool kFirst>
  Columns spread(std::ptrdiff_t y, Columns columns) const {
    // Two keys of 64 bits cost more side by side than one by one: their minima are not a single instruction.
    if constexpr (sizeof(Key) < sizeof(std::int64_t)) {
      if (width_ >= Runs<Vector>::kLanes) return spreadVectors<kRightwards, kFirst>(y, columns);
    }
    return spreadSingly<kRightwards, kFirst>(y, columns);
  }

  template <bool kRightwards, bool kFirst>
  Columns spreadSingly(std::ptrdiff_t y, Columns columns) const {
    constexpr std::ptrdiff_t kStep = kRightwards ? 1 : -1;
    Key* const here = values(y);
    const Key* const limit = limits(y);
    std::ptrdiff_t x = kRightwards ? columns.first : columns.last - 1;
    const std::ptrdiff_t before = x - kStep;
    const std::ptrdiff_t width = width_;
    Key carry = before >= 0 && before < width ? here[before] : std::numeric_limits<Key>::lowest();
    for (; x >= 0 && x < width; x += kStep) {
      const Key old = here[x];
      const Key high = K::fromElement(limit[x]);
      carry = greater(lesser(carry, high), old);
      if (!kFirst && carry == old && (kRightwards ? x >= columns.last : x < columns.first)) break;
      here[x] = carry;
    }
    return kRightwards ? Columns{columns.first, std::max(columns.last, x)}
                       : Columns{std::min(columns.first, x + 1), columns.last};
  }

  template <bool kRightwards, bool kFirst>
  Columns spreadVectors(std::ptrdiff_t y, Columns columns) const {
    constexpr Vector d;
    constexpr std::ptrdiff_t kLanes = Runs<Vector>::kLanes;
    Key* const here = values(y);
    const Key* const limit = limits(y);
    // The place of the next vector in the direction of the run. The last one overlaps the one before it, which is
    // stable and stays.
    const std::ptrdiff_t end = width_ - kLanes;
    std::ptrdiff_t x =
        kRightwards ? std::min(columns.first, end) : std::max(columns.last - kLanes, std::ptrdiff_t{0});
    const std::ptrdiff_t before = kRightwards ? x - 1 : x + kLanes;
    auto carry = hn::Set(d, std::numeric_limits<Key>::lowest());
    if (before >= 0 && before < width_) carry = hn::Set(d, hn::GetLane(hn::LoadU(Single(), here + before)));
    for (;;) {
      const auto old = hn::LoadU(d, here + x);
      const auto high = K::fromElements(d, limit + x);
      auto now = Runs<Vector>::template after<kRightwards>(carry, hn::Min(old, high), high);
      if (!kFirst) {
        now = hn::Max(now, old);
        const bool isPast = kRightwards ? x >= columns.last : x + kLanes <= columns.first;
        if (isPast && hn::AllTrue(d, hn::Eq(old, now))) break;
      }
      hn::StoreU(now, d, here + x);
      if (kRightwards) {
        columns.last = std::max(columns.last, x + kLanes);
        if (x == end) break;
        carry = x + kLanes <= end ? Runs<Vector>::template lastOf<true>(now)
                                  : hn::Set(d, hn::GetLane(hn::LoadU(Single(), here + end - 1)));
        x = std::min(x + kLanes, end);
      } else {
        columns.first = std::min(columns.first, x);
        if (x == 0) break;
        carry = x >= kLanes ? Runs<Vector>::template lastOf<false>(now)
                            : hn::Set(d, hn::GetLane(hn::LoadU(Single(), here + kLanes)));
        x = std::max(x - kLanes, std::ptrdiff_t{0});
      }
    }
    return columns;
  }

  // Marks the blocks of a row in which the given columns of a row beside it would raise a pixel.
  void markRaised(std::ptrdiff_t from, std::ptrdiff_t y, Columns columns) {
    const Key* const there = values(from);
    const Key* const here = values(y);
    const Key* const limit = limits(y);
    if (kDiagonals) columns = widened(columns);
    unsigned marks = marks_[y];
    forColumns<kDiagonals>(columns, [&](auto d, std::ptrdiff_t x) {
      const auto old = hn::LoadU(d, here + x);
      const auto now = hn::Max(old, hn::Min(greatest<kDiagonals>(d, there, x), K::fromElements(d, limit + x)));
      if (hn::AllTrue(d, hn::Eq(old, now))) return;
      // A vector is not wider than a block, so it lies in two at most.
      const std::ptrdiff_t last = x + static_cast<std::ptrdiff_t>(hn::MaxLanes(d)) - 1;
      marks |= 1U << (x >> blockShift_) | 1U << (last >> blockShift_);
    });
    marks_[y] = static_cast<std::uint8_t>(marks);
  }

  // Whether values have nowhere to run along a row from columns that rose.
  bool isLevel(std::ptrdiff_t y, Columns columns) const {
    const Key* const here = values(y);
    const Key* const limit = limits(y);
    bool isLevel = true;
    forColumns<true>(widened(columns), [&](auto d, std::ptrdiff_t x) {
      const auto old = hn::LoadU(d, here + x);
      const auto now = hn::Max(old, hn::Min(greatest<true>(d, here, x), K::fromElements(d, limit + x)));
      isLevel &= hn::AllTrue(d, hn::Eq(old, now));
    });
    return isLevel;
  }

  Columns widened(Columns columns) const {
    return {std::max<std::ptrdiff_t>(columns.first - 1, 0), std::min(columns.last + 1, width_)};
  }

  // Looks at the marked blocks of a row. Returns whether there were any.
  bool visit(std::ptrdiff_t y) {
    unsigned marks = marks_[y];
    if (marks == 0) return false;
    marks_[y] = 0;
    for (std::ptrdiff_t block = 0; marks >> block != 0;) {
      if ((marks >> block & 1U) == 0) {
        ++block;
        continue;
      }
      const std::ptrdiff_t first = block << blockShift_;
      while ((marks >> block & 1U) != 0) ++block;
      Columns raised = raise(y, {first, std::min(block << blockShift_, width_)});
      if (raised.empty()) continue;
      if (!isLevel(y, raised)) raised = spread<false, false>(y, spread<true, false>(y, raised));
      if (y > 0) markRaised(y, y - 1, raised);
      if (y < height_ - 1) markRaised(y, y + 1, raised);
    }
    return true;
  }

  const Key* mask_;
  int maskStep_;
  Key* marker_;
  int markerStep_;
  std::ptrdiff_t width_;
  std::ptrdiff_t height_;
  std::uint8_t* marks_;
  // A block has 2^blockShift_ columns: not less than a vector of bytes.
  int blockShift_ = 5;
};

template <class T, Morph kMorph>
RvpStatus reconstruct(const T* pSrc, int srcStep, T* pSrcDst, int srcDstStep, RvpiSize roiSize,
                      std::uint8_t* pBuffer, RvpiConnectivity norm) {
  if (RvpStatus fault =
          firstFault(nullPointer(pSrc, pSrcDst, pBuffer), badSize(roiSize),
                     shortStep<T>(roiSize.width, srcStep, srcDstStep), oddStep<T>(srcStep, srcDstStep),
                     faultIf(norm != rvpConnect4 && norm != rvpConnect8, rvpStatusBadArgument)))
    return fault;
  if (norm == rvpConnect4) {
    Reconstruction<T, kMorph, false>(pSrc, srcStep, pSrcDst, srcDstStep, roiSize, pBuffer).run();
  } else {
    Reconstruction<T, kMorph, true>(pSrc, srcStep, pSrcDst, srcDstStep, roiSize, pBuffer).run();
  }
  return rvpStatusOk;
}

}  // namespace
}  // namespace rvp::n8

#define RVP_RECONSTRUCT(TYPE, T)                                                                                  \
  RvpStatus rvpiMorphReconstructDilate_##TYPE##_C1IR(const T* pSrc, int srcStep, T* pSrcDst, int srcDstStep,      \
                                                     RvpiSize roiSize, uint8_t* pBuffer, RvpiConnectivity norm) { \
    return rvp::n8::reconstruct<T, rvp::n8::Morph::dilate>(pSrc, srcStep, pSrcDst, srcDstStep, roiSize, pBuffer,  \
                                                           norm);                                                 \
  }                                                                                                               \
  RvpStatus rvpiMorphReconstructErode_##TYPE##_C1IR(const T* pSrc, int srcStep, T* pSrcDst, int srcDstStep,       \
                                                    RvpiSize roiSize, uint8_t* pBuffer, RvpiConnectivity norm) {  \
    return rvp::n8::reconstruct<T, rvp::n8::Morph::erode>(pSrc, srcStep, pSrcDst, srcDstStep, roiSize, pBuffer,   \
                                                          norm);                                                  \
  }

extern "C" {

RvpStatus rvpiMorphReconstructGetBufferSize(RvpiSize roiSize, RvpDataType dataType, int channels,
                                            int* pBufferSize) {
  using namespace rvp::n8;
  if (RvpStatus fault =
          firstFault(nullPointer(pBufferSize), badSize(roiSize),
                     faultIf(dataType != rvp8u && dataType != rvp16u && dataType != rvp32f && dataType != rvp64f,
                             rvpStatusBadDataType),
                     faultIf(channels != 1, rvpStatusBadNumChannels)))
    return fault;
  // In 64 bits; sizes beyond 31 bits, which rows of 2^26 doubles have, wrap.
  const std::int64_t width = roiSize.width;
  const std::int64_t height = roiSize.height;
  const std::int64_t bytes = dataType == rvp8u    ? 4 * width + height + 161
                             : dataType == rvp16u ? 2 * (4 * width + height) + 322
                             : dataType == rvp32f ? 16 * width + height + 164
                                                  : 32 * width + height + 168;
  *pBufferSize = static_cast<int>(bytes);
  return rvpStatusOk;
}

RVP_RECONSTRUCT(8u, uint8_t)
RVP_RECONSTRUCT(16u, uint16_t)
RVP_RECONSTRUCT(32f, float)
RVP_RECONSTRUCT(64f, double)

}  // extern "C"
