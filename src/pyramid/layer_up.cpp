// Up layers: source samples spread over the destination with the weights of a kernel, divided by the weight that
// reached each destination sample.
//
// The sums are formed from the destination's side. A destination sample takes its terms from source samples in a
// row, in ascending order as if these were spread one after the other, so sums have the same bits. Along the rows
// the terms of each sample stand in a table; each source row is expanded once and kept as long as destination rows
// take from it.
#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <type_traits>

#include "filter/border.h"
#include "frame/checks.h"
#include "frame/simd.h"
#include "frame/views.h"
#include "pyramid/layer_double.h"
#include "pyramid/layer_state.h"
#include "pyramid/levels.h"
#include "rvpcv/pyramid_layer.h"

namespace rvp::n8 {
namespace {

// How the samples of one direction spread. K is the kernel's element, of which weights are made in float.
template <class K>
struct Spread {
  const K* kernel;
  std::int64_t centre;
  float rate;
  std::int64_t srcExtent;
  std::int64_t dstExtent;
  std::int64_t beyond;  // Source samples beyond either end that take part: e.

  Spread(const LayerState& state, std::int32_t src, std::int32_t dst)
      : kernel(static_cast<const K*>(state.pKernel)),
        centre(state.kerSize / 2),
        rate(state.rate),
        srcExtent(src),
        dstExtent(dst),
        // NOLINTNEXTLINE(bugprone-incorrect-roundings): not negative.
        beyond(static_cast<std::int64_t>(static_cast<float>(centre) / rate + 0.5F)) {}

  std::int64_t first() const { return -beyond; }
  std::int64_t last() const { return srcExtent + beyond - 1; }

  // Where a source sample lies, and the destination samples that it reaches, also outside the destination.
  struct Place {
    std::int64_t base;
    float fraction;
    std::int64_t from;
    std::int64_t to;
    bool whole() const { return !(std::abs(fraction) > kNegligible); }
  };
  Place placeOf(std::int64_t s) const {
    const float position = static_cast<float>(s) * rate;
    // Rounds down from -100 on, which is as far as all but the longest kernels reach.
    const std::int64_t base = static_cast<std::int64_t>(position + 100.0F) - 100;
    Place place = {base, position - static_cast<float>(base), 0, base + centre};
    if (place.whole()) {
      const std::int64_t reach = kernel[0] == 0 ? centre - 1 : centre;
      place.from = base - reach;
      place.to = base + reach;
    } else {
      place.from = base - centre + 1;
    }
    return place;
  }

  // The weight with which it reaches sample x, one of those from `from` to `to`.
  float weight(const Place& place, std::int64_t x) const {
    const std::int64_t i = centre + x - place.base;
    const auto here = static_cast<float>(kernel[i]);
    if (place.whole()) return here;
    return place.fraction * static_cast<float>(kernel[i - 1]) + (1 - place.fraction) * here;
  }
};

// The source samples whose terms go to one destination sample after the other. The first and the last of them never
// step back.
template <class K>
class Window {
 public:
  explicit Window(const Spread<K>& spread) : spread_(spread), first_(spread.first()), end_(spread.first()) {}

  // Goes on to destination sample x.
  void moveTo(std::int64_t x) {
    while (first_ <= spread_.last() && spread_.placeOf(first_).to < x) ++first_;
    end_ = std::max(end_, first_);
    while (end_ <= spread_.last() && spread_.placeOf(end_).from <= x) ++end_;
  }
  std::int64_t first() const { return first_; }
  std::int64_t count() const { return end_ - first_; }

  // The weight of source sample s for destination sample x; one that does not reach it, between others that do, has
  // none.
  float weight(std::int64_t s, std::int64_t x) const {
    const auto place = spread_.placeOf(s);
    return place.from <= x && x <= place.to ? spread_.weight(place, x) : 0;
  }

 private:
  const Spread<K>& spread_;
  std::int64_t first_;
  std::int64_t end_;
};

// Calls body(x, window) for all destination samples.
template <class K, class Body>
void forWindows(const Spread<K>& spread, const Body& body) {
  Window<K> window(spread);
  for (std::int64_t x = 0; x < spread.dstExtent; ++x) {
    window.moveTo(x);
    body(x, window);
  }
}

template <class K>
std::int64_t mostTerms(const Spread<K>& spread) {
  std::int64_t most = 1;
  forWindows(spread, [&](std::int64_t, const auto& window) { most = std::max(most, window.count()); });
  return most;
}

// The rows of the source, mirrored ones by their number inside, from which a window takes its terms; none lie
// between the ends of an empty range.
struct RowRange {
  std::int64_t first;
  std::int64_t last;
};
template <class K>
RowRange rowsOf(const Window<K>& window, std::int64_t srcExtent) {
  RowRange range = {srcExtent, -1};
  for (std::int64_t i = 0; i < window.count(); ++i) {
    const std::int64_t y = borderIndex(rvpBorderMirror, window.first() + i, srcExtent);
    range = {std::min(range.first, y), std::max(range.last, y)};
  }
  return range;
}

// The expanded rows that must be kept: rows are made in ascending order, each once.
template <class K>
std::int64_t slotsFor(const Spread<K>& spread) {
  std::int64_t most = 1;
  std::int64_t next = 0;
  forWindows(spread, [&](std::int64_t, const auto& window) {
    const RowRange range = rowsOf(window, spread.srcExtent);
    next = std::max(next, range.last + 1);
    most = std::max(most, next - range.first);
  });
  return most;
}

// Where the parts of a call's work lie.
struct Parts {
  Parts(std::int64_t srcElements, std::int64_t dstWidth, std::int64_t dstElements, std::int64_t columnTerms,
        std::int64_t rowTerms, std::int64_t slotCount)
      : terms(columnTerms), slots(slotCount) {
    firsts = layout.take(dstWidth, sizeof(std::int32_t));
    counts = layout.take(dstWidth, sizeof(std::int32_t));
    inverses = layout.take(dstWidth, sizeof(float));
    weights = layout.take(dstWidth * columnTerms, sizeof(float));
    source = layout.take(srcElements, sizeof(float));
    rowWeights = layout.take(rowTerms, sizeof(float));
    rowPointers = layout.take(rowTerms, sizeof(void*));
    ring = layout.bytes();
    ringStep = dstElements * std::int64_t{sizeof(float)};
    layout.take(slotCount, ringStep);
  }

  WorkLayout layout;
  std::int64_t terms;
  std::int64_t slots;
  std::int64_t firsts = 0;
  std::int64_t counts = 0;
  std::int64_t inverses = 0;
  std::int64_t weights = 0;
  std::int64_t source = 0;
  std::int64_t rowWeights = 0;
  std::int64_t rowPointers = 0;
  std::int64_t ring = 0;
  std::int64_t ringStep = 0;
};

template <class T, int kChannels>
class Expander {
  using K = KernelElement<T>;
  static constexpr bool kIsFloat = std::is_same_v<T, float>;

 public:
  Expander(const T* pSrc, int srcStep, RvpiSize srcRoi, RvpiSize dstRoi, const LayerState& state)
      : image_{pSrc, srcStep, srcRoi, borderOf(rvpBorderMirror), nullptr},
        columns_(state, srcRoi.width, dstRoi.width),
        rows_(state, srcRoi.height, dstRoi.height),
        dstElements_(rowElements(dstRoi.width, kChannels)),
        parts_((srcRoi.width + 2 * columns_.beyond) * kChannels, dstRoi.width, dstElements_, mostTerms(columns_),
               mostTerms(rows_), slotsFor(rows_)),
        memory_(state.pWork) {}

  std::int64_t bytes() const { return parts_.layout.bytes(); }

  void run(T* pDst, int dstStep) {
    tabulateColumns();
    forWindows(rows_, [&](std::int64_t y, const auto& window) {
      const RowRange range = rowsOf(window, rows_.srcExtent);
      for (; nextRow_ <= range.last; ++nextRow_) {
        if (nextRow_ >= range.first) expandRow(nextRow_);
      }
      sumRows(y, window, row(pDst, dstStep, y));
    });
  }

 private:
  template <class E>
  E* part(std::int64_t offset) const {
    return reinterpret_cast<E*>(memory_ + offset);
  }
  float* ringRow(std::int64_t y) const { return part<float>(parts_.ring + y % parts_.slots * parts_.ringStep); }

  // For each destination column: the first source column, how many there are, and their weights.
  void tabulateColumns() const {
    forWindows(columns_, [&](std::int64_t x, const auto& window) {
      part<std::int32_t>(parts_.firsts)[x] = static_cast<std::int32_t>(window.first() + columns_.beyond);
      part<std::int32_t>(parts_.counts)[x] = static_cast<std::int32_t>(window.count());
      float* const weights = part<float>(parts_.weights) + x * parts_.terms;
      float sum = 0;
      for (std::int64_t i = 0; i < window.count(); ++i) {
        weights[i] = window.weight(window.first() + i, x);
        sum += weights[i];
      }
      part<float>(parts_.inverses)[x] = inverse<K>(sum);
    });
  }

  // The sum times the inverse, as the next direction takes it. Integers are truncated and divided by 256, rounded
  // down; a negative one lies above the quotient rounded up by one or more, unless it is a multiple.
  static float narrowed(float value) {
    if constexpr (kIsFloat) return value;
    constexpr float kUnit = 256;
    const float shifted = value + kUnit / 2;
    const float quotient = std::trunc(shifted * (1 / kUnit));
    return shifted - quotient * kUnit <= -1 ? quotient - 1 : quotient;
  }

  // Expands source row y along the row.
  void expandRow(std::int64_t y) const {
    float* const source = part<float>(parts_.source);
    for (std::int64_t s = columns_.first(); s <= columns_.last(); ++s) {
      const T* from =
          row(image_.src, image_.step, y) + borderIndex(rvpBorderMirror, s, columns_.srcExtent) * kChannels;
      for (int c = 0; c < kChannels; ++c)
        source[(s + columns_.beyond) * kChannels + c] = static_cast<float>(from[c]);
    }
    float* const dst = ringRow(y);
    for (std::int64_t x = 0; x < columns_.dstExtent; ++x) {
      const float* const at = source + std::int64_t{part<std::int32_t>(parts_.firsts)[x]} * kChannels;
      const float* const weights = part<float>(parts_.weights) + x * parts_.terms;
      float sums[kChannels] = {};
      for (std::int64_t i = 0; i < part<std::int32_t>(parts_.counts)[x]; ++i) {
        for (int c = 0; c < kChannels; ++c) sums[c] += weights[i] * at[i * kChannels + c];
      }
      for (int c = 0; c < kChannels; ++c)
        dst[x * kChannels + c] = narrowed(sums[c] * part<float>(parts_.inverses)[x]);
    }
  }

  // Adds up expanded rows to destination row y.
  void sumRows(std::int64_t y, const Window<K>& window, T* dst) const {
    float* const weights = part<float>(parts_.rowWeights);
    const auto** const sources = part<const float*>(parts_.rowPointers);
    float sum = 0;
    for (std::int64_t i = 0; i < window.count(); ++i) {
      weights[i] = window.weight(window.first() + i, y);
      sources[i] = ringRow(borderIndex(rvpBorderMirror, window.first() + i, rows_.srcExtent));
      sum += weights[i];
    }
    const float factor = inverse<K>(sum);
    forVectors<float>(0, dstElements_, [&](auto d, std::ptrdiff_t x) {
      auto value = hn::Zero(d);
      for (std::int64_t i = 0; i < window.count(); ++i)
        value = hn::Add(value, hn::Mul(hn::Set(d, weights[i]), hn::LoadU(d, sources[i] + x)));
      value = hn::Mul(value, hn::Set(d, factor));
      if constexpr (kIsFloat) {
        hn::StoreU(value, d, dst + x);
      } else {
        storeRounded(d, value, dst + x);
      }
    });
  }

  // (value + 2^21) / 2^22, truncated, which below 0 is saturated anyway.
  template <class D>
  static void storeRounded(D d, hn::Vec<D> value, T* dst) {
    constexpr float kUnit = 1 << 22;
    const auto scaled = hn::Mul(hn::Add(value, hn::Set(d, kUnit / 2)), hn::Set(d, 1 / kUnit));
    const auto most = hn::Set(d, static_cast<float>(std::numeric_limits<T>::max()));
    const hn::RebindToSigned<D> d32;
    const auto whole = hn::ConvertTo(d32, hn::Min(hn::Max(scaled, hn::Zero(d)), most));
    const hn::Rebind<T, D> dT;
    hn::StoreU(hn::DemoteTo(dT, whole), dT, dst);
  }

  ExtendedImage<T, kChannels> image_;
  Spread<K> columns_;
  Spread<K> rows_;
  std::ptrdiff_t dstElements_;
  Parts parts_;
  std::uint8_t* memory_;
  std::int64_t nextRow_ = 0;
};

template <class T, int kChannels>
RvpStatus layerUp(const T* pSrc, int srcStep, RvpiSize srcRoi, T* pDst, int dstStep, RvpiSize dstRoi,
                  const RvpiPyramidUpState* pState) {
  if (RvpStatus fault = badCall<T, kChannels>(pSrc, srcStep, srcRoi, pDst, dstStep, dstRoi, pState)) return fault;
  const LayerState& state = headerOf(pState);
  const auto outside = [&](std::int32_t n, std::int32_t above) {
    const ExtentRange range = extentsAbove(n, state.rate);
    return above < range.least || above > range.most;
  };
  if (outside(srcRoi.height, dstRoi.height) || outside(srcRoi.width, dstRoi.width)) return rvpStatusBadSize;
  if (state.dataType != kDataType<T>) return rvpStatusBadArgument;
  if (doubled<T, kChannels>(pSrc, srcStep, srcRoi, pDst, dstStep, dstRoi, state)) return rvpStatusOk;
  Expander<T, kChannels> expander(pSrc, srcStep, srcRoi, dstRoi, state);
  if (expander.bytes() > state.workBytes) return rvpStatusBadSize;
  expander.run(pDst, dstStep);
  return rvpStatusOk;
}

// The contract's size of a block, with room for the source with its border and for whole intermediate images of a
// destination of this size. What a call takes is less: a table of weights and a ring of rows, with as many of
// either for each destination column as the kernel has taps at most, and some rows more.
template <class T, int kChannels>
int upBytes(RvpiSize roiSize, int kerSize) {
  const double k = kerSize;
  const int half = kerSize / 2;
  const double h = half;
  const double c = kChannels;
  const double width = roiSize.width;
  const double height = roiSize.height;
  const double m = std::max(width, height);
  const double bordered = c * (width + 2 * h) * (height + 2 * h);
  const double spread = (k + width - 1) * (k + height - 1);
  if constexpr (std::is_same_v<T, float>) {
    return reportedSize(4 * bordered + 2 * (4 * k + 4 * c * (k + spread + m - 1) + 128) + 32);
  } else {
    const double bytes = sizeof(T) == 1 ? 2 * bordered : bordered;
    return reportedSize(bytes + 2 * (2 * k + 4 * c * (spread + 2 * (k + m) - 2) + 128) + 32);
  }
}

template <class T, int kChannels>
RvpStatus upSize(RvpiSize roiSize, int kerSize, int* pStateSize, float rate) {
  if (RvpStatus fault = firstFault(nullPointer(pStateSize), badLayer(roiSize, rate, kerSize))) return fault;
  *pStateSize = upBytes<T, kChannels>(roiSize, kerSize);
  return rvpStatusOk;
}

template <class T, int kChannels>
RvpStatus initUp(RvpiPyramidUpState** ppState, RvpiSize roiSize, float rate, const KernelElement<T>* pKernel,
                 int kerSize, RvpiPyramidMode mode, std::uint8_t* pMem) {
  using K = KernelElement<T>;
  if (RvpStatus fault =
          firstFault(faultIf(mode != rvpiPyramidLinear, rvpStatusBadArgument), nullPointer(ppState, pKernel),
                     nullPointer(pMem), badLayer(roiSize, rate, kerSize)))
    return fault;
  LayerState* const state =
      layOutState<T>(pMem, upBytes<T, kChannels>(roiSize, kerSize), roiSize, rate, kerSize, 0);
  const auto sum = kernelSum(pKernel, kerSize / 2);
  const RvpStatus status = storeKernel(pKernel, kerSize, static_cast<K*>(state->pKernel), [&](K k) {
    if constexpr (std::is_same_v<K, float>) {
      return std::abs(sum) > kNegligible ? k / sum : k;
    } else {
      const auto twice = static_cast<float>(2 * sum);
      if (!(std::abs(twice) > kNegligible)) return k;
      // At most 4 * 32768 / 2 * 8192 = 2^29.
      const float value = static_cast<float>(4 * k) / twice * 8192.0F + 0.5F;
      return static_cast<K>(static_cast<K>(static_cast<std::int32_t>(value)) >> 1);
    }
  });
  *ppState = reinterpret_cast<RvpiPyramidUpState*>(pMem);
  return status;
}

}  // namespace
}  // namespace rvp::n8

#define RVP_LAYER_UP(TYPE, T, K, CHANNELS)                                                                         \
  RvpStatus rvpiPyramidLayerUpGetSize_##TYPE##_C##CHANNELS##R(RvpiSize roiSize, int kerSize, int* pStateSize,      \
                                                              float rate) {                                        \
    return rvp::n8::upSize<T, CHANNELS>(roiSize, kerSize, pStateSize, rate);                                       \
  }                                                                                                                \
  RvpStatus rvpiPyramidLayerUpInit_##TYPE##_C##CHANNELS##R(RvpiPyramidUpState** ppState, RvpiSize roiSize,         \
                                                           float rate, const K* pKernel, int kerSize,              \
                                                           RvpiPyramidMode mode, uint8_t* pMem) {                  \
    return rvp::n8::initUp<T, CHANNELS>(ppState, roiSize, rate, pKernel, kerSize, mode, pMem);                     \
  }                                                                                                                \
  RvpStatus rvpiPyramidLayerUp_##TYPE##_C##CHANNELS##R(const T* pSrc, int srcStep, RvpiSize srcRoi, T* pDst,       \
                                                       int dstStep, RvpiSize dstRoi, RvpiPyramidUpState* pState) { \
    return rvp::n8::layerUp<T, CHANNELS>(pSrc, srcStep, srcRoi, pDst, dstStep, dstRoi, pState);                    \
  }

extern "C" {

RVP_LAYER_UP(8u, uint8_t, int16_t, 1)
RVP_LAYER_UP(8u, uint8_t, int16_t, 3)
RVP_LAYER_UP(16u, uint16_t, int16_t, 1)
RVP_LAYER_UP(16u, uint16_t, int16_t, 3)
RVP_LAYER_UP(32f, float, float, 1)
RVP_LAYER_UP(32f, float, float, 3)

}  // extern "C"
