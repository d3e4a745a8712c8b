// One stage of a Haar cascade at all selected pixels of an image. With T a summed-area table at the pixel and o the
// offsets of a rectangle's corners in it,
//   R = T[o0] - T[o1] - T[o2] + T[o3]
//   F = sum of R * weight over the rectangles of a classifier
//   stage = sum over the classifiers of (F < threshold * norm ? val1 : val2), each sum in stored order,
// and a pixel whose stage falls below the stage's threshold is cleared in the mask.
//
// Pixels side by side have their corners side by side, so that a vector of pixels costs what one costs. The pixels
// of a vector need not be selected, but none lies right of the row's last selected one: a corner of its window is
// in the table if it is there for that pixel and for one further left. Such a one is the row's first selected pixel
// or, where no corner lies before its pixel, the row's first.
#include <algorithm>
#include <array>
#include <bit>
#include <cstddef>
#include <cstdint>
#include <type_traits>

#include "detect/haar_state.h"
#include "detect/tables.h"
#include "frame/bits.h"
#include "frame/checks.h"
#include "frame/simd.h"
#include "frame/views.h"
#include "rvpcv/detect.h"

namespace rvp::n8 {
namespace {

template <class T>
using Tag = hn::ScalableTag<T>;
template <class T>
using Lanes = hn::Vec<Tag<T>>;

constexpr int kLanes = static_cast<int>(hn::MaxLanes(Tag<std::int32_t>()));

// Where the corners of a rectangle lie in a table, in elements from the pixel.
using Offsets = std::array<std::int32_t, 4>;

// What is read of an image at a group of pixels: a vector of them or, for a single pixel, its value in all lanes.
template <bool kSingle, class T>
Lanes<T> load(const T* pixels) {
  if constexpr (kSingle) {
    return hn::Set(Tag<T>(), *pixels);
  } else {
    return hn::LoadU(Tag<T>(), pixels);
  }
}

// Sums of rectangles in the table's type; integers wrap.
template <bool kSingle, class T, class Place>
Lanes<T> rectangle(const T* table, const std::array<Place, 4>& o) {
  return hn::Add(
      hn::Sub(hn::Sub(load<kSingle>(table + o[0]), load<kSingle>(table + o[1])), load<kSingle>(table + o[2])),
      load<kSingle>(table + o[3]));
}

// The arithmetic with float weights, on either table.
struct FloatArithmetic {
  using Value = float;
  using Values = Lanes<float>;

  static Values asFloat(Lanes<float> sums) { return sums; }
  static Values asFloat(Lanes<std::int32_t> sums) { return hn::ConvertTo(Tag<float>(), sums); }

  // The sum of a classifier.
  struct Sum {
    Values sum = hn::Zero(Tag<float>());
    template <class Sums>
    void add(Sums rectangles, float weight) {
      sum = hn::Add(sum, hn::Mul(asFloat(rectangles), hn::Set(Tag<float>(), weight)));
    }
  };
  static Values choose(const Sum& f, const HaarClassifier<float>& c, Values norm, int) {
    const Tag<float> d;
    const auto below = hn::Gt(hn::Mul(hn::Set(d, c.threshold), norm), f.sum);
    return hn::IfThenElse(below, hn::Set(d, c.val1), hn::Set(d, c.val2));
  }
};

// The arithmetic with integer weights, in 64 bits: apart for the even and the odd lanes.
struct IntegerArithmetic {
  using Value = std::int32_t;
  using Values = Lanes<std::int32_t>;
  using Wide = Lanes<std::int64_t>;

  static Values oddLanes(Values v) {
    return hn::BitCast(Tag<std::int32_t>(), hn::ShiftRight<32>(hn::BitCast(Tag<std::uint64_t>(), v)));
  }

  struct Sum {
    Wide even = hn::Zero(Tag<std::int64_t>());
    Wide odd = hn::Zero(Tag<std::int64_t>());
    void add(Values rectangles, std::int32_t weight) {
      const Values weights = hn::Set(Tag<std::int32_t>(), weight);
      even = hn::Add(even, hn::MulEven(rectangles, weights));
      odd = hn::Add(odd, hn::MulEven(oddLanes(rectangles), weights));
    }
  };
  // Of a sum shifted by 64 bits and more nothing is left.
  static Wide scaled(Wide v, int shift) {
    return shift > 63 ? hn::Zero(Tag<std::int64_t>()) : hn::ShiftLeftSame(v, shift);
  }
  static Values choose(const Sum& f, const HaarClassifier<std::int32_t>& c, Values norm, int shift) {
    const Tag<std::int32_t> d;
    const Tag<std::int64_t> wide;
    const Values threshold = hn::Set(d, c.threshold);
    const auto below = [&](Wide sum, Wide limit) {
      return hn::BitCast(d, hn::VecFromMask(wide, hn::Lt(scaled(sum, shift), limit)));
    };
    const Values even = below(f.even, hn::MulEven(threshold, norm));
    const Values odd = below(f.odd, hn::MulEven(threshold, oddLanes(norm)));
    return hn::IfThenElse(hn::MaskFromVec(hn::OddEven(odd, even)), hn::Set(d, c.val1), hn::Set(d, c.val2));
  }
};

// An image, as one row of it is read.
template <class T>
struct Image {
  const T* first;
  int step;
  const T* at(std::ptrdiff_t y) const { return row(first, step, y); }
};

// An upright table, whose offsets are made once for a call.
template <class T>
struct PlainTable {
  Image<T> table;
  const Offsets* offsets;
  bool cornersFollow;  // none lies before its pixel in the table

  struct Row {
    const T* cells;
    const Offsets* offsets;
    // The rectangle that is stored as number i.
    template <bool kSingle, class Classifier, class Feature>
    Lanes<T> rectangle(const Classifier&, const Feature&, std::ptrdiff_t i, std::ptrdiff_t x) const {
      return n8::rectangle<kSingle>(cells + x, offsets[i]);
    }
  };
  Row at(std::ptrdiff_t y) const { return {table.at(y), offsets}; }
};

// An upright and a tilted table, of which each classifier has its own. The tilted one begins a row and a column
// late.
template <class T>
struct MixedTables {
  Image<T> upright;
  Image<T> tilted;
  bool cornersFollow;  // as in PlainTable, in either table

  struct Row {
    const T* upright;
    std::ptrdiff_t uprightStep;
    const T* tilted;
    std::ptrdiff_t tiltedStep;
    template <bool kSingle, class Classifier, class Feature>
    Lanes<T> rectangle(const Classifier& c, const Feature& f, std::ptrdiff_t, std::ptrdiff_t x) const {
      const std::ptrdiff_t step = c.tilted() ? tiltedStep : uprightStep;
      std::array<std::ptrdiff_t, 4> offsets;
      for (std::size_t i = 0; i < 4; ++i) offsets[i] = f.corners[i].y * step + f.corners[i].x;
      return n8::rectangle<kSingle>((c.tilted() ? tilted : upright) + x, offsets);
    }
  };
  Row at(std::ptrdiff_t y) const {
    constexpr auto kSize = static_cast<std::ptrdiff_t>(sizeof(T));
    return {upright.at(y), upright.step / kSize, tilted.at(y + 1) + 1, tilted.step / kSize};
  }
};

// A stage: its classifiers, its threshold, and how far sums are shifted before they are compared.
template <class Value>
struct Stage {
  const HaarClassifier<Value>* classifiers;
  int count;
  Value threshold;
  int shift;
};

// Which of the pixels from x on fail the stage, one bit each.
template <class Arithmetic, bool kSingle, class Row, class Value>
unsigned failures(const Stage<Value>& stage, const Row& tables, const Value* norm, std::ptrdiff_t x) {
  const Tag<Value> d;
  const Lanes<Value> norms = load<kSingle>(norm + x);
  Lanes<Value> sum = hn::Zero(d);
  std::ptrdiff_t i = 0;
  for (const HaarClassifier<Value>*c = stage.classifiers, *end = c + stage.count; c != end; ++c) {
    typename Arithmetic::Sum f;
    const HaarFeature<Value>* features = c->pFeatures;
    for (std::int32_t k = 0; k < c->rectCount; ++k, ++i)
      f.add(tables.template rectangle<kSingle>(*c, features[k], i, x), features[k].weight);
    sum = hn::Add(sum, Arithmetic::choose(f, *c, norms, stage.shift));
  }
  std::uint8_t bits[8] = {};
  hn::StoreMaskBits(d, hn::Gt(hn::Set(d, stage.threshold), sum), bits);
  return bits[0];
}

using ByteTag = hn::ScalableTag<std::uint8_t>;
constexpr auto kBytes = static_cast<std::ptrdiff_t>(hn::MaxLanes(ByteTag()));

bool noneSelected(const std::uint8_t* mask) {
  return hn::AllTrue(ByteTag(), hn::Eq(hn::LoadU(ByteTag(), mask), hn::Zero(ByteTag())));
}

// The last selected pixel before `end`, or -1.
std::ptrdiff_t lastSelected(const std::uint8_t* mask, std::ptrdiff_t end) {
  while (end >= kBytes && noneSelected(mask + end - kBytes)) end -= kBytes;
  while (end > 0 && mask[end - 1] == 0) --end;
  return end - 1;
}

// The first selected pixel from x on; there is one up to `last`.
std::ptrdiff_t firstSelected(const std::uint8_t* mask, std::ptrdiff_t x, std::ptrdiff_t last) {
  while (x + kBytes <= last && noneSelected(mask + x)) x += kBytes;
  while (mask[x] == 0) ++x;
  return x;
}

// Which of kLanes pixels are selected, one bit each.
unsigned selection(const std::uint8_t* mask) {
  const hn::Rebind<std::uint8_t, Tag<std::int32_t>> d;
  std::uint8_t bits[8] = {};
  hn::StoreMaskBits(d, hn::Ne(hn::LoadU(d, mask), hn::Zero(d)), bits);
  return bits[0];
}

// Applies the stage to a row of the mask and returns the number of pixels that stay.
template <class Arithmetic, class Row, class Value>
int applyRow(const Stage<Value>& stage, const Row& tables, const Value* norm, std::uint8_t* mask,
             std::ptrdiff_t width, bool cornersFollow) {
  const std::ptrdiff_t last = lastSelected(mask, width);
  if (last < 0) return 0;
  const std::ptrdiff_t leftmost = cornersFollow ? 0 : firstSelected(mask, 0, last);
  int positive = 0;
  for (std::ptrdiff_t x = leftmost; x <= last;) {
    x = firstSelected(mask, x, last);
    if (last + 1 - leftmost < kLanes) {
      if (failures<Arithmetic, true>(stage, tables, norm, x) != 0) {
        mask[x] = 0;
      } else {
        ++positive;
      }
      ++x;
    } else {
      // The last vector reaches back over pixels that are done.
      const std::ptrdiff_t first = std::min(x, last + 1 - kLanes);
      const unsigned due = selection(mask + first) & (~0U << static_cast<unsigned>(x - first));
      const unsigned failed = failures<Arithmetic, false>(stage, tables, norm, first);
      for (unsigned clear = due & failed; clear != 0; clear &= clear - 1) mask[first + std::countr_zero(clear)] = 0;
      positive += bitCount(due & ~failed);
      x = first + kLanes;
    }
  }
  return positive;
}

template <class Arithmetic, class Tables>
void apply(const Stage<typename Arithmetic::Value>& stage, const Tables& tables,
           Image<typename Arithmetic::Value> norm, std::uint8_t* pMask, int maskStep, RvpiSize roiSize,
           int* pPositive) {
  std::uint32_t positive = 0;
  for (std::ptrdiff_t y = 0; y < roiSize.height; ++y) {
    positive += static_cast<std::uint32_t>(applyRow<Arithmetic>(
        stage, tables.at(y), norm.at(y), row(pMask, maskStep, y), roiSize.width, tables.cornersFollow));
  }
  *pPositive = static_cast<int>(positive);
}

// What a call brings beside its tables.
template <class Value>
struct Call {
  Image<Value> norm;
  std::uint8_t* pMask;
  int maskStep;
  RvpiSize roiSize;
  int* pPositive;
  Value threshold;
  RvpiHaarClassifier* pState;
  int scaleFactor;
};

template <class Value, class T, class... More>
RvpStatus callFault(const Call<Value>& call, const Image<T>& table, const Image<More>&... more) {
  const int width = call.roiSize.width;
  return firstFault(
      nullPointer(table.first, more.first..., call.norm.first, call.pMask, call.pPositive, call.pState),
      badSize(call.roiSize), shortStep<T>(width, table.step, more.step..., call.norm.step),
      shortStep<std::uint8_t>(width, call.maskStep), oddStep<T>(table.step, more.step..., call.norm.step),
      faultIf(call.scaleFactor > 0, rvpStatusBadArgument));
}

template <class Value>
Stage<Value> stageOf(const Call<Value>& call) {
  const HaarHeader<Value>& header = *headerOf<Value>(call.pState);
  // The factor is clamped before its sign is turned, so that the least one has a negative.
  return {classifiersOf<Value>(header), header.classifierCount, call.threshold, -std::max(call.scaleFactor, -64)};
}

template <class Arithmetic, class T, class Value = typename Arithmetic::Value>
RvpStatus applyPlain(Image<T> table, const Call<Value>& call) {
  if (RvpStatus fault = callFault(call, table)) return fault;
  const HaarHeader<Value>& header = *headerOf<Value>(call.pState);
  if (RvpStatus fault = nullPointer(header.pScratch)) return fault;
  const Stage<Value> stage = stageOf(call);
  auto* offsets = static_cast<Offsets*>(header.pScratch);
  const int step = table.step / static_cast<int>(sizeof(T));
  const HaarFeature<Value>* features = stage.count > 0 ? stage.classifiers->pFeatures : nullptr;
  bool cornersFollow = true;
  for (std::ptrdiff_t i = 0; i < header.featureCount; ++i) {
    for (std::size_t k = 0; k < 4; ++k) {
      const RvpiPoint corner = features[i].corners[k];
      offsets[i][k] = wrappedSum(wrappedProduct(corner.y, step), corner.x);
      cornersFollow = cornersFollow && offsets[i][k] >= 0;
    }
  }
  apply<Arithmetic>(stage, PlainTable<T>{table, offsets, cornersFollow}, call.norm, call.pMask, call.maskStep,
                    call.roiSize, call.pPositive);
  return rvpStatusOk;
}

template <class Arithmetic, class T, class Value = typename Arithmetic::Value>
RvpStatus applyMixed(Image<T> upright, Image<T> tilted, const Call<Value>& call) {
  if (RvpStatus fault = callFault(call, upright, tilted)) return fault;
  const Stage<Value> stage = stageOf(call);
  bool cornersFollow = true;
  for (const HaarClassifier<Value>*c = stage.classifiers, *end = c + stage.count; c != end; ++c) {
    const std::ptrdiff_t step = (c->tilted() ? tilted : upright).step / static_cast<int>(sizeof(T));
    for (std::int32_t k = 0; k < c->rectCount; ++k) {
      for (const RvpiPoint& corner : c->pFeatures[k].corners)
        cornersFollow = cornersFollow && corner.y * step + corner.x >= 0;
    }
  }
  apply<Arithmetic>(stage, MixedTables<T>{upright, tilted, cornersFollow}, call.norm, call.pMask, call.maskStep,
                    call.roiSize, call.pPositive);
  return rvpStatusOk;
}

}  // namespace
}  // namespace rvp::n8

// The exported names.
#define RVP_HAAR_ARGUMENTS(VALUE)                                                                   \
  const VALUE *pNorm, int normStep, uint8_t *pMask, int maskStep, RvpiSize roiSize, int *pPositive, \
      VALUE threshold, RvpiHaarClassifier *pState
#define RVP_HAAR_CALL(SCALE) \
  { {pNorm, normStep}, pMask, maskStep, roiSize, pPositive, threshold, pState, SCALE }

extern "C" {

RvpStatus rvpiApplyHaarClassifier_32f_C1R(const float* pSrc, int srcStep, RVP_HAAR_ARGUMENTS(float)) {
  using namespace rvp::n8;
  return applyPlain<FloatArithmetic, float>({pSrc, srcStep}, RVP_HAAR_CALL(0));
}

RvpStatus rvpiApplyHaarClassifier_32s32f_C1R(const int32_t* pSrc, int srcStep, RVP_HAAR_ARGUMENTS(float)) {
  using namespace rvp::n8;
  return applyPlain<FloatArithmetic, int32_t>({pSrc, srcStep}, RVP_HAAR_CALL(0));
}

RvpStatus rvpiApplyHaarClassifier_32s_C1RSfs(const int32_t* pSrc, int srcStep, RVP_HAAR_ARGUMENTS(int32_t),
                                             int scaleFactor) {
  using namespace rvp::n8;
  return applyPlain<IntegerArithmetic, int32_t>({pSrc, srcStep}, RVP_HAAR_CALL(scaleFactor));
}

RvpStatus rvpiApplyMixedHaarClassifier_32f_C1R(const float* pSrc, int srcStep, const float* pTilt, int tiltStep,
                                               RVP_HAAR_ARGUMENTS(float)) {
  using namespace rvp::n8;
  return applyMixed<FloatArithmetic, float>({pSrc, srcStep}, {pTilt, tiltStep}, RVP_HAAR_CALL(0));
}

RvpStatus rvpiApplyMixedHaarClassifier_32s32f_C1R(const int32_t* pSrc, int srcStep, const int32_t* pTilt,
                                                  int tiltStep, RVP_HAAR_ARGUMENTS(float)) {
  using namespace rvp::n8;
  return applyMixed<FloatArithmetic, int32_t>({pSrc, srcStep}, {pTilt, tiltStep}, RVP_HAAR_CALL(0));
}

RvpStatus rvpiApplyMixedHaarClassifier_32s_C1RSfs(const int32_t* pSrc, int srcStep, const int32_t* pTilt,
                                                  int tiltStep, RVP_HAAR_ARGUMENTS(int32_t), int scaleFactor) {
  using namespace rvp::n8;
  return applyMixed<IntegerArithmetic, int32_t>({pSrc, srcStep}, {pTilt, tiltStep}, RVP_HAAR_CALL(scaleFactor));
}

}  // extern "C"
