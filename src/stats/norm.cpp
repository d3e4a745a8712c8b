// Norms under a mask: of an image, of the difference of two images, and of the difference relative to the second
// image. With a and b the selected pixels,
//   Inf   max |a|          max |a - b|          max |a - b| / max |b|
//   L1    sum |a|          sum |a - b|          sum |a - b| / sum |b|
//   L2    sqrt(sum a^2)    sqrt(sum (a-b)^2)    sqrt(sum (a-b)^2 / sum b^2)
// Pixels that the mask leaves out are taken as zeros in all images, so that what stands there, NaN included, has no
// part in the result; long stretches of them are passed over, which gives the same. Of three channels one is picked
// out of the row, and then it is an image of one channel.
#include <algorithm>
#include <array>
#include <bit>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <limits>
#include <memory>
#include <type_traits>

#include "frame/checks.h"
#include "frame/placed_bytes.h"
#include "frame/simd.h"
#include "frame/team.h"
#include "frame/vector.h"
#include "frame/views.h"
#include "rvpcv/stats.h"
#include "stats/measures.h"

namespace rvp::n8 {
namespace {

constexpr double rvpConstantOfINF_64f = std::numeric_limits<double>::infinity();
constexpr double rvpConstantOfNAN_64f = std::bit_cast<double>(0xFFF8000000000000U);

// An image of one channel, or one channel of three.
template <class T, int kChannels>
struct Source {
  const T* first;
  int step;
};

// Reads vectors of one channel.
template <class T, int kChannels>
struct ChannelReader {
  explicit ChannelReader(int) {}
  auto read(const T* pixel) const {
    if constexpr (std::is_same_v<T, float>) {
      return widened(pixel);
    } else {
      return hn::LoadU(PixelTag<T>(), pixel);
    }
  }
};

// Three blocks of 16 bytes hold 16 bytes of the channel: each block gives its share, in place, and zeros. Blocks of
// a wider vector are apart by the 48 bytes that fill the block before.
template <class T>
class ChannelReader<T, 3> {
 public:
  // Channels count from 1.
  explicit ChannelReader(int channel) {
    constexpr std::size_t kSize = sizeof(T);
    std::array<std::array<std::uint8_t, kBlock>, 3> share;
    for (auto& block : share) block.fill(kNothing);
    for (std::size_t to = 0; to < kBlock; ++to) {
      const std::size_t pixel = to / kSize;
      const std::size_t from = (3 * pixel + static_cast<std::size_t>(channel - 1)) * kSize + to % kSize;
      share[from / kBlock][to] = static_cast<std::uint8_t>(from % kBlock);
    }
    first_ = hn::LoadDup128(d_, share[0].data());
    second_ = hn::LoadDup128(d_, share[1].data());
    third_ = hn::LoadDup128(d_, share[2].data());
  }

  auto read(const T* pixel) const {
    const auto* bytes = reinterpret_cast<const std::uint8_t*>(pixel);
    const auto picked = hn::Or(hn::Or(hn::TableLookupBytesOr0(blocks(bytes), first_),
                                      hn::TableLookupBytesOr0(blocks(bytes + kBlock), second_)),
                               hn::TableLookupBytesOr0(blocks(bytes + 2 * kBlock), third_));
    const Pixels<T> pixels = hn::BitCast(PixelTag<T>(), picked);
    if constexpr (std::is_same_v<T, float>) {
      return widened(pixels);
    } else {
      return pixels;
    }
  }

 private:
  static constexpr std::size_t kBlock = 16;
  static constexpr std::uint8_t kNothing = 0x80;

  Pixels<std::uint8_t> blocks(const std::uint8_t* bytes) const {
    if constexpr (hn::MaxLanes(PixelTag<std::uint8_t>()) == kBlock) {
      return hn::LoadU(d_, bytes);
    } else {
      const hn::Half<PixelTag<std::uint8_t>> block;
      return hn::Combine(d_, hn::LoadU(block, bytes + 3 * kBlock), hn::LoadU(block, bytes));
    }
  }

  PixelTag<std::uint8_t> d_;
  Pixels<std::uint8_t> first_;
  Pixels<std::uint8_t> second_;
  Pixels<std::uint8_t> third_;
};

// Which pixels of a vector count: where the mask is not zero. The terms of the others become zeros.
template <class T>
class Selection {
 public:
  explicit Selection(const std::uint8_t* mask) {
    const hn::RebindToUnsigned<Tag> du;
    const hn::Rebind<std::uint8_t, Tag> d8;
    if constexpr (sizeof(T) == 1) {
      none_ = hn::Eq(hn::LoadU(d8, mask), hn::Zero(du));
    } else {
      none_ = hn::Eq(hn::PromoteTo(du, hn::LoadU(d8, mask)), hn::Zero(du));
    }
  }
  Pixels<T> of(Pixels<T> terms) const { return hn::IfThenZeroElse(none_, terms); }

 private:
  using Tag = PixelTag<T>;
  hn::Mask<Tag> none_;
};

// Eight times the byte of each pixel, from `first` on.
constexpr BytePlaces eightfold(std::size_t first) {
  BytePlaces places{};
  for (std::size_t i = 0; i < places.size(); ++i) places[i] = static_cast<std::uint8_t>(first + i / 8);
  return places;
}
alignas(32) constexpr BytePlaces kLowerHalf = eightfold(0);
alignas(32) constexpr BytePlaces kUpperHalf = eightfold(hn::MaxLanes(WideFloats::Tag()));

template <>
class Selection<float> {
 public:
  explicit Selection(const std::uint8_t* mask) : lower_(none(mask, kLowerHalf)), upper_(none(mask, kUpperHalf)) {}
  WideFloats of(WideFloats terms) const {
    return {hn::IfThenZeroElse(lower_, terms.lower), hn::IfThenZeroElse(upper_, terms.upper)};
  }

 private:
  using Mask = hn::Mask<WideFloats::Tag>;
  static Mask none(const std::uint8_t* mask, const BytePlaces& places) {
    const PixelTag<std::uint8_t> d8;
    const WideFloats::Tag d;
    const auto noByte = hn::Eq(placedBytes(mask, places), hn::Zero(d8));
    return hn::MaskFromVec(hn::BitCast(d, hn::VecFromMask(d8, noByte)));
  }

  Mask lower_;
  Mask upper_;
};

enum class Form { norm, difference, relative };

// What a thread finds in its rows. Only relative norms have a divisor.
struct Partial {
  double value = 0;
  double divisor = 0;
};

// Measures the rows that it is given.
template <NormKind kNorm, Form kForm, int kChannels, class T>
class RowMeasure {
 public:
  explicit RowMeasure(int channel) : reader_(channel) {}

  void addRow(const T* src1, const T* src2, const std::uint8_t* mask, std::ptrdiff_t width) {
    const std::ptrdiff_t whole = width - width % kBlock;
    for (std::ptrdiff_t x = 0; x < whole;) {
      const std::ptrdiff_t end = std::min(whole, x + kGroupsPerDrain * kGroup<T>);
      for (; x < end; x += kBlock) {
        if (anySelected(mask + x)) addGroups(src1 + kChannels * x, src2 + kSecond * x, mask + x, kBlock);
      }
      drain();
    }
    addGroups(src1 + kChannels * whole, src2 + kSecond * whole, mask + whole, width - whole);
    drain();
  }

  Partial result() const { return {value_.value(), kForm == Form::relative ? divisor_.value() : 0}; }

 private:
  // Elements from a pixel of the second image to the next; an image that is not there is not walked through.
  static constexpr int kSecond = kForm == Form::norm ? 0 : kChannels;

  // Pixels that are passed over where the mask selects none of them: a line of the caches, or a vector of the mask.
  static constexpr auto kBlock =
      static_cast<std::ptrdiff_t>(std::max(kLineBytes / sizeof(T), hn::MaxLanes(PixelTag<std::uint8_t>())));
  static_assert(kBlock % kGroup<T> == 0);

  static bool anySelected(const std::uint8_t* mask) {
    const PixelTag<std::uint8_t> d;
    constexpr auto kLanes = static_cast<std::ptrdiff_t>(hn::MaxLanes(d));
    auto any = hn::LoadU(d, mask);
    for (std::ptrdiff_t x = kLanes; x < kBlock; x += kLanes) any = hn::Or(any, hn::LoadU(d, mask + x));
    return !hn::AllTrue(d, hn::Eq(any, hn::Zero(d)));
  }

  void addGroup(const T* src1, const T* src2, const std::uint8_t* mask) {
    constexpr auto kLanes = static_cast<std::ptrdiff_t>(hn::MaxLanes(PixelTag<T>()));
    for (std::size_t i = 0; i < kGroupVectors<T>; ++i, src1 += kChannels * kLanes, mask += kLanes) {
      const Selection<T> selection(mask);
      const auto a = reader_.read(src1);
      if constexpr (kForm == Form::norm) {
        value_.add(i, selection.of(term(a)));
      } else {
        const auto b = reader_.read(src2);
        src2 += kChannels * kLanes;
        value_.add(i, selection.of(term(a, b)));
        if constexpr (kForm == Form::relative) divisor_.add(i, selection.of(term(b)));
      }
    }
  }

  void addGroups(const T* src1, const T* src2, const std::uint8_t* mask, std::ptrdiff_t count) {
    std::ptrdiff_t x = 0;
    for (; x + kGroup<T> <= count; x += kGroup<T>) addGroup(src1 + kChannels * x, src2 + kSecond * x, mask + x);
    if (x < count) addRest(src1 + kChannels * x, src2 + kSecond * x, mask + x, count - x);
  }

  // Fewer pixels than a group: the rest of the group is not selected.
  void addRest(const T* src1, const T* src2, const std::uint8_t* mask, std::ptrdiff_t count) {
    std::array<T, kChannels * kGroup<T>> rest1{};
    std::array<T, kChannels * kGroup<T>> rest2{};
    std::array<std::uint8_t, kGroup<T>> restOfMask{};
    std::copy_n(src1, kChannels * count, rest1.data());
    if constexpr (kForm != Form::norm) std::copy_n(src2, kChannels * count, rest2.data());
    std::copy_n(mask, count, restOfMask.data());
    addGroup(rest1.data(), rest2.data(), restOfMask.data());
  }

  void drain() {
    value_.drain();
    divisor_.drain();
  }

  ChannelReader<T, kChannels> reader_;
  Measure<kNorm, T> value_;
  Measure<kNorm, T> divisor_;
};

template <NormKind kNorm>
double merged(double a, double b) {
  return kNorm == NormKind::Inf ? std::max(a, b) : a + b;
}

// A team for images of at least 2^k pixels for each thread that the library may use.
constexpr int kNeverTeam = -1;

// More threads than this keep their partial results outside the stack.
constexpr int kStackedPartials = 32;

// Measures all rows; `rows` measures those of a slice.
template <NormKind kNorm, class Rows>
Partial measureRows(RvpiSize size, int teamExponent, const Rows& rows) {
  const int threads = owncvGetMaxNumThreads();
  if (teamExponent == kNeverTeam || wrappedProduct(size.width, size.height) < std::int64_t{threads}
                                                                                  << teamExponent) {
    return rows(Slice{0, size.height});
  }
  // The pixels of a team are below 2^31, so that it has fewer than 2^16 threads.
  std::array<Partial, kStackedPartials> stacked{};
  double* block = threads > kStackedPartials ? rvpsMalloc<double>(2 * threads) : nullptr;
  const int team = block == nullptr ? std::min(threads, kStackedPartials) : threads;
  Partial* partials = stacked.data();
  if (block != nullptr) {
    partials = reinterpret_cast<Partial*>(block);
    std::uninitialized_fill_n(partials, team, Partial{});
  }
  forSlices(
      size.height, [&](Slice slice) { partials[owncvGetIdThreads()] = rows(slice); }, team);
  // Of a smaller team some partials stay zero, which changes nothing.
  Partial whole;
  for (int i = 0; i < team; ++i) {
    whole.value = merged<kNorm>(whole.value, partials[i].value);
    whole.divisor = merged<kNorm>(whole.divisor, partials[i].divisor);
  }
  if (block != nullptr) rvpsFree(block);
  return whole;
}

template <NormKind kNorm>
double rooted(double value) {
  return kNorm == NormKind::L2 ? std::sqrt(value) : value;
}

template <NormKind kNorm>
RvpStatus quotient(Partial partial, double* pValue) {
  if (partial.divisor == 0) {
    *pValue = rvpConstantOfNAN_64f;
    if (partial.value > 0) *pValue = rvpConstantOfINF_64f;
    return rvpStatusDivByZero;
  }
  *pValue = rooted<kNorm>(partial.value / partial.divisor);
  return rvpStatusOk;
}

RvpStatus badChannel(int coi) { return faultIf(coi < 1 || coi > 3, rvpStatusBadChannelOfInterest); }

// One image. The forms of one channel pass 1 as the channel of interest.
template <NormKind kNorm, int kChannels, class T>
RvpStatus norm(int teamExponent, const T* pSrc, int srcStep, const std::uint8_t* pMask, int maskStep,
               RvpiSize roiSize, int coi, double* pValue) {
  if (RvpStatus fault = firstFault(nullPointer(pSrc, pMask, pValue), badSize(roiSize),
                                   shortStep<T, kChannels>(roiSize.width, srcStep), oddStep<T>(srcStep),
                                   shortStep<std::uint8_t>(roiSize.width, maskStep), badChannel(coi)))
    return fault;
  const Partial partial = measureRows<kNorm>(roiSize, teamExponent, [&](Slice slice) {
    RowMeasure<kNorm, Form::norm, kChannels, T> measure(coi);
    for (std::ptrdiff_t y : slice)
      measure.addRow(row(pSrc, srcStep, y), nullptr, row(pMask, maskStep, y), roiSize.width);
    return measure.result();
  });
  *pValue = rooted<kNorm>(partial.value);
  return rvpStatusOk;
}

// Two images, whose difference is taken as it is or relative to the second.
template <NormKind kNorm, Form kForm, int kChannels, class T>
RvpStatus normOfTwo(int teamExponent, const T* pSrc1, int src1Step, const T* pSrc2, int src2Step,
                    const std::uint8_t* pMask, int maskStep, RvpiSize roiSize, int coi, double* pValue) {
  if (RvpStatus fault = firstFault(nullPointer(pSrc1, pSrc2, pMask, pValue), badSize(roiSize),
                                   shortStep<T, kChannels>(roiSize.width, src1Step, src2Step),
                                   shortStep<std::uint8_t>(roiSize.width, maskStep), oddStep<T>(src1Step, src2Step),
                                   badChannel(coi)))
    return fault;
  Partial partial = measureRows<kNorm>(roiSize, teamExponent, [&](Slice slice) {
    RowMeasure<kNorm, kForm, kChannels, T> measure(coi);
    for (std::ptrdiff_t y : slice)
      measure.addRow(row(pSrc1, src1Step, y), row(pSrc2, src2Step, y), row(pMask, maskStep, y), roiSize.width);
    return measure.result();
  });
  if constexpr (kForm == Form::relative) {
    if constexpr (kNorm == NormKind::L2 && kChannels == 1 && std::is_same_v<T, float>) {
      // This one member has the precision of float.
      partial = {static_cast<float>(partial.value), static_cast<float>(partial.divisor)};
    }
    return quotient<kNorm>(partial, pValue);
  }
  *pValue = rooted<kNorm>(partial.value);
  return rvpStatusOk;
}

}  // namespace
}  // namespace rvp::n8

// The exported names. C1 and C3 are the exponents from which the forms of one and of three channels use a team.
#define RVP_NORM(NORM, TYPE, T, C1, C3)                                                                         \
  RvpStatus rvpiNorm_##NORM##_##TYPE##_C1MR(const T* pSrc, int srcStep, const uint8_t* pMask, int maskStep,     \
                                            RvpiSize roiSize, double* pValue) {                                 \
    return rvp::n8::norm<rvp::n8::NormKind::NORM, 1>(C1, pSrc, srcStep, pMask, maskStep, roiSize, 1, pValue);   \
  }                                                                                                             \
  RvpStatus rvpiNorm_##NORM##_##TYPE##_C3CMR(const T* pSrc, int srcStep, const uint8_t* pMask, int maskStep,    \
                                             RvpiSize roiSize, int coi, double* pValue) {                       \
    return rvp::n8::norm<rvp::n8::NormKind::NORM, 3>(C3, pSrc, srcStep, pMask, maskStep, roiSize, coi, pValue); \
  }
#define RVP_NORM_OF_TWO(NAME, FORM, NORM, TYPE, T, C1, C3)                                                        \
  RvpStatus NAME##_##NORM##_##TYPE##_C1MR(const T* pSrc1, int src1Step, const T* pSrc2, int src2Step,             \
                                          const uint8_t* pMask, int maskStep, RvpiSize roiSize, double* pValue) { \
    return rvp::n8::normOfTwo<rvp::n8::NormKind::NORM, rvp::n8::Form::FORM, 1>(                                   \
        C1, pSrc1, src1Step, pSrc2, src2Step, pMask, maskStep, roiSize, 1, pValue);                               \
  }                                                                                                               \
  RvpStatus NAME##_##NORM##_##TYPE##_C3CMR(const T* pSrc1, int src1Step, const T* pSrc2, int src2Step,            \
                                           const uint8_t* pMask, int maskStep, RvpiSize roiSize, int coi,         \
                                           double* pValue) {                                                      \
    return rvp::n8::normOfTwo<rvp::n8::NormKind::NORM, rvp::n8::Form::FORM, 3>(                                   \
        C3, pSrc1, src1Step, pSrc2, src2Step, pMask, maskStep, roiSize, coi, pValue);                             \
  }
#define RVP_NORM_DIFF(NORM, TYPE, T, C1, C3) RVP_NORM_OF_TWO(rvpiNormDiff, difference, NORM, TYPE, T, C1, C3)
#define RVP_NORM_REL(NORM, TYPE, T, C1, C3) RVP_NORM_OF_TWO(rvpiNormRel, relative, NORM, TYPE, T, C1, C3)
#define NEVER rvp::n8::kNeverTeam

extern "C" {

RVP_NORM(Inf, 8u, uint8_t, 19, 17)
RVP_NORM(Inf, 16u, uint16_t, 19, 17)
RVP_NORM(Inf, 32f, float, 17, 15)
RVP_NORM(L1, 8u, uint8_t, 17, 17)
RVP_NORM(L1, 16u, uint16_t, 17, 17)
RVP_NORM(L1, 32f, float, 17, 17)
RVP_NORM(L2, 8u, uint8_t, 17, 15)
RVP_NORM(L2, 16u, uint16_t, 17, 15)
RVP_NORM(L2, 32f, float, 17, 15)

RVP_NORM_DIFF(Inf, 8u, uint8_t, NEVER, NEVER)
RVP_NORM_DIFF(Inf, 16u, uint16_t, NEVER, NEVER)
RVP_NORM_DIFF(Inf, 32f, float, NEVER, NEVER)
RVP_NORM_DIFF(L1, 8u, uint8_t, 17, 17)
RVP_NORM_DIFF(L1, 16u, uint16_t, 17, 15)
RVP_NORM_DIFF(L1, 32f, float, NEVER, NEVER)
RVP_NORM_DIFF(L2, 8u, uint8_t, 17, 17)
RVP_NORM_DIFF(L2, 16u, uint16_t, 17, 15)
RVP_NORM_DIFF(L2, 32f, float, NEVER, NEVER)

RVP_NORM_REL(Inf, 8u, uint8_t, 17, 15)
RVP_NORM_REL(Inf, 16u, uint16_t, 17, 15)
RVP_NORM_REL(Inf, 32f, float, 15, 15)
RVP_NORM_REL(L1, 8u, uint8_t, NEVER, 15)
RVP_NORM_REL(L1, 16u, uint16_t, 15, 15)
RVP_NORM_REL(L1, 32f, float, NEVER, NEVER)
RVP_NORM_REL(L2, 8u, uint8_t, 17, 15)
RVP_NORM_REL(L2, 16u, uint16_t, 15, 15)
RVP_NORM_REL(L2, 32f, float, NEVER, NEVER)

}  // extern "C"
