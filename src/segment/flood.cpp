// Flood fills: the connected region around a seed gets a new value. What belongs to it is told by a test of
// flood_rules.h.
//
// A region by equality or by gradient does not depend on the order in which it is explored: flood_region.h finds it
// by many pixels at once. A region by range may: where more spans are pending than a quarter of the image's pixels,
// the pending ones are forgotten, and what is filled by then depends on which came first. If it has as many spans
// as that, it is explored by those of flood_spans.h in the order that the interface tells.
#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <limits>
#include <type_traits>

#include "frame/checks.h"
#include "frame/views.h"
#include "rvpcv/flood.h"
#include "segment/flood_region.h"
#include "segment/flood_rules.h"
#include "segment/flood_spans.h"

namespace rvp::n8 {
namespace {

// Reported sizes leave so many bytes for the way from any address to a multiple of 8.
constexpr std::ptrdiff_t kAlignment = 8;

// Bytes of scratch, modulo 2^64; their low 32 bits are reported.
std::uint64_t spanBytes(RvpiSize size) {
  return 6 * static_cast<std::uint64_t>(size.width) * static_cast<std::uint64_t>(size.height) + 32;
}
std::uint64_t gradientBytes(RvpiSize size) {
  const auto width = static_cast<std::uint64_t>(size.width);
  const auto height = static_cast<std::uint64_t>(size.height);
  return (width + 2) * (height + 2) + 16 * width * height + 64;
}

RvpStatus scratchSize(RvpiSize size, int* pBufferSize, std::uint64_t (*bytes)(RvpiSize)) {
  if (RvpStatus fault = firstFault(nullPointer(pBufferSize), badSize(size))) return fault;
  *pBufferSize = static_cast<int>(static_cast<std::uint32_t>(bytes(size)));
  return rvpStatusOk;
}

// Whether the caller's scratch can be as large as it must: the size that was reported is the true one. Of an image
// of up to 2^31 pixels no size above wraps at 64 bits.
RvpStatus tooLarge(RvpiSize size, std::uint64_t (*bytes)(RvpiSize)) {
  constexpr auto kMost = std::numeric_limits<std::int32_t>::max();
  const std::int64_t pixels = std::int64_t{size.width} * size.height;
  return faultIf(pixels > kMost || bytes(size) > kMost, rvpStatusSizeOverflow);
}

// A single row needs no spans but the seed's.
RvpStatus spansTooLarge(RvpiSize size) {
  return size.height > 1 ? tooLarge(size, spanBytes) : RvpStatus{rvpStatusOk};
}

void include(Extent& extent, const FloodSpan& span) {
  extent.left = std::min(extent.left, span.left);
  extent.right = std::max(extent.right, span.right);
  extent.top = std::min(extent.top, span.y);
  extent.bottom = std::max(extent.bottom, span.y);
}

// Explores spans until none is pending. With `margin` 1 spans are connected diagonally too.
template <class Fill, class Pending>
void explore(Fill& fill, Pending& pending, RvpiSize size, std::ptrdiff_t margin, Extent& extent) {
  for (FloodSpan span; pending.pop(span);) {
    include(extent, span);
    const auto look = [&](std::ptrdiff_t y, std::int32_t dir, Columns window) {
      fill.findSpans(y, window, [&](Columns found) {
        extent.area += found.last - found.first;
        // The row that will be looked at first from there.
        if (y - dir >= 0 && y - dir < size.height) __builtin_prefetch(fill.at(y - dir, found.first));
        pending.push({static_cast<std::int32_t>(y), static_cast<std::int32_t>(found.first),
                      static_cast<std::int32_t>(found.last - 1), span.left, span.right, dir});
      });
    };
    const std::ptrdiff_t first = std::max<std::ptrdiff_t>(span.left - margin, 0);
    const std::ptrdiff_t last = std::min<std::ptrdiff_t>(span.right + margin + 1, size.width);
    const std::ptrdiff_t forward = std::ptrdiff_t{span.y} - span.dir;
    if (forward >= 0 && forward < size.height) look(forward, span.dir, {first, last});
    const std::ptrdiff_t backward = std::ptrdiff_t{span.y} + span.dir;
    look(backward, -span.dir, {first, span.parentLeft});
    look(backward, -span.dir, {std::ptrdiff_t{span.parentRight} + 1, last});
  }
}

// What every member is called with. One-channel members point at their values.
template <class T>
struct FloodCall {
  T* pImage;
  int imageStep;
  RvpiSize roiSize;
  RvpiPoint seed;
  const T* pNewValue;
  const T* pMinDelta;
  const T* pMaxDelta;
  RvpiFilledRegion* pRegion;
  std::uint8_t* pBuffer;
  int margin;
};

template <int kChannels, class T, class... Pointer>
RvpStatus faultOf(const FloodCall<T>& call, const Pointer*... pointers) {
  const auto [width, height] = call.roiSize;
  const auto [x, y] = call.seed;
  return firstFault(nullPointer(call.pImage, call.pRegion, call.pBuffer, pointers...), badSize(call.roiSize),
                    shortStep<T, kChannels>(width, call.imageStep), oddStep<T>(call.imageStep),
                    faultIf(x < 0 || x >= width || y < 0 || y >= height, rvpStatusOutOfRange));
}

template <class T, int kChannels>
void report(const FloodCall<T>& call, const Extent& extent) {
  RvpiFilledRegion region = {};
  region.area = static_cast<double>(extent.area);
  for (int c = 0; c < kChannels; ++c) region.value[c] = static_cast<double>(call.pNewValue[c]);
  region.rect = {extent.left, extent.top, extent.right - extent.left + 1, extent.bottom - extent.top + 1};
  *call.pRegion = region;
}

// Fills the seed's span and, with room for so many spans, all that is connected with it.
template <int kChannels, class T, class Test>
RvpStatus fillBySpans(const FloodCall<T>& call, const Test& test, FloodSpan* spans, std::ptrdiff_t capacity) {
  ValueFill<T, kChannels, Test> fill(call.pImage, call.imageStep, call.roiSize.width, test, call.pNewValue);
  const Columns seedSpan = fill.seedSpan(call.seed);
  const FloodSpan span = spanWithoutParent(call.seed.y, seedSpan.first, seedSpan.last - 1, call.roiSize.height);
  Extent extent = {seedSpan.last - seedSpan.first, span.left, span.y, span.right, span.y};
  if (capacity > 1 && call.roiSize.height > 1) {
    ForgetfulStack pending(spans, capacity);
    pending.push(span);
    explore(fill, pending, call.roiSize, call.margin, extent);
  }
  report<T, kChannels>(call, extent);
  return rvpStatusOk;
}

// Whether the call's memory suffices to find a whole region at once.
template <class Test>
bool holdsRegion(RvpiSize size) {
  return size.height > 1 && size.width >= kLeastColumns<Test>;
}

template <int kChannels, class T, class Test>
auto regionOf(const FloodCall<T>& call, const Test& test) {
  FloodRegion<T, kChannels, Test> region(call.pImage, call.imageStep, call.roiSize, test, call.margin,
                                         alignedUp(call.pBuffer, kAlignment));
  region.explore(call.seed);
  return region;
}

// More spans than are ever pending in an image of two columns, or of three pixels: there a span has at most one
// neighbour in each row, and none beside its parent, which would have taken that in.
constexpr std::ptrdiff_t kFewSpans = 4;

template <int kChannels, class T>
RvpStatus plain(const FloodCall<T>& call) {
  if (RvpStatus fault = faultOf<kChannels>(call, call.pNewValue)) return fault;
  const T* const seed = row(call.pImage, call.imageStep, call.seed.y) + std::ptrdiff_t{call.seed.x} * kChannels;
  if (std::equal(seed, seed + kChannels, call.pNewValue)) return rvpStatusOk;
  if (RvpStatus fault = spansTooLarge(call.roiSize)) return fault;
  using Test = EqualTest<T, kChannels>;
  const Test test = {PatternOf<T, kChannels>(seed)};
  if (holdsRegion<Test>(call.roiSize)) {
    report<T, kChannels>(call, regionOf<kChannels>(call, test).paint(call.pNewValue));
    return rvpStatusOk;
  }
  FloodSpan few[kFewSpans];
  return fillBySpans<kChannels>(call, test, few, kFewSpans);
}

template <int kChannels, class T>
RvpStatus range(const FloodCall<T>& call) {
  if (RvpStatus fault = faultOf<kChannels>(call, call.pNewValue, call.pMinDelta, call.pMaxDelta)) return fault;
  const T* const seed = row(call.pImage, call.imageStep, call.seed.y) + std::ptrdiff_t{call.seed.x} * kChannels;
  T lower[kChannels];
  T upper[kChannels];
  bool holdsNewValue = true;
  for (int c = 0; c < kChannels; ++c) {
    if constexpr (std::is_floating_point_v<T>) {
      lower[c] = seed[c] - call.pMinDelta[c];
      upper[c] = seed[c] + call.pMaxDelta[c];
    } else {
      // Of elements of 16 bits at most.
      lower[c] = static_cast<T>(std::max(seed[c] - call.pMinDelta[c], 0));
      upper[c] = static_cast<T>(std::min<int>(seed[c] + call.pMaxDelta[c], std::numeric_limits<T>::max()));
    }
    holdsNewValue = holdsNewValue && lower[c] <= call.pNewValue[c] && call.pNewValue[c] <= upper[c];
  }
  if (holdsNewValue) return rvpStatusBadArgument;
  if (RvpStatus fault = spansTooLarge(call.roiSize)) return fault;

  using Test = RangeTest<T, kChannels>;
  const Test test = {PatternOf<T, kChannels>(lower), PatternOf<T, kChannels>(upper)};
  // Spans of 24 bytes in 6 bytes for each pixel.
  const std::ptrdiff_t capacity = static_cast<std::ptrdiff_t>(call.roiSize.width) * call.roiSize.height / 4;
  if (holdsRegion<Test>(call.roiSize)) {
    const auto region = regionOf<kChannels>(call, test);
    // Each run is a span that is pending once, so none are forgotten.
    if (region.runs() < capacity) {
      report<T, kChannels>(call, region.paint(call.pNewValue));
      return rvpStatusOk;
    }
  }
  if (capacity == 0) {  // never reached by a growing number of spans
    FloodSpan few[kFewSpans];
    return fillBySpans<kChannels>(call, test, few, kFewSpans);
  }
  auto* const spans = reinterpret_cast<FloodSpan*>(alignedUp(call.pBuffer, kAlignment));
  return fillBySpans<kChannels>(call, test, spans, capacity);
}

template <int kChannels, class T>
RvpStatus gradient(const FloodCall<T>& call) {
  if (RvpStatus fault = faultOf<kChannels>(call, call.pNewValue, call.pMinDelta, call.pMaxDelta)) return fault;
  T first[kChannels];
  T second[kChannels];
  for (int c = 0; c < kChannels; ++c) {
    first[c] = call.pMinDelta[c];
    second[c] = call.pMaxDelta[c];
    if constexpr (std::is_floating_point_v<T>) {
      if (first[c] < 0 || second[c] < 0) return rvpStatusOutOfRange;
      first[c] = (call.pMinDelta[c] + call.pMaxDelta[c]) * 0.5F;
      second[c] = (call.pMinDelta[c] - call.pMaxDelta[c]) * 0.5F;
    }
  }
  if (RvpStatus fault = tooLarge(call.roiSize, gradientBytes)) return fault;

  const GradientTest<T, kChannels> test = {PatternOf<T, kChannels>(first), PatternOf<T, kChannels>(second)};
  report<T, kChannels>(call, regionOf<kChannels>(call, test).paint(call.pNewValue));
  return rvpStatusOk;
}

}  // namespace
}  // namespace rvp::n8

#define RVP_FLOOD_PLAIN(CONNECTION, MARGIN, TYPE, T)                                                               \
  RvpStatus rvpiFloodFill_##CONNECTION##_##TYPE##_C1IR(T* pImage, int imageStep, RvpiSize roiSize, RvpiPoint seed, \
                                                       T newValue, RvpiFilledRegion* pRegion, uint8_t* pBuffer) {  \
    return rvp::n8::plain<1, T>(                                                                                   \
        {pImage, imageStep, roiSize, seed, &newValue, nullptr, nullptr, pRegion, pBuffer, MARGIN});                \
  }
#define RVP_FLOOD_PLAIN_C3(CONNECTION, MARGIN, TYPE, T)                                                            \
  RvpStatus rvpiFloodFill_##CONNECTION##_##TYPE##_C3IR(T* pImage, int imageStep, RvpiSize roiSize, RvpiPoint seed, \
                                                       const T* pNewValue, RvpiFilledRegion* pRegion,              \
                                                       uint8_t* pBuffer) {                                         \
    return rvp::n8::plain<3, T>(                                                                                   \
        {pImage, imageStep, roiSize, seed, pNewValue, nullptr, nullptr, pRegion, pBuffer, MARGIN});                \
  }
#define RVP_FLOOD_DELTAS(RULE, CONNECTION, MARGIN, TYPE, T)                                                        \
  RvpStatus rvpiFloodFill_##CONNECTION##_##TYPE##_C1IR(T* pImage, int imageStep, RvpiSize roiSize, RvpiPoint seed, \
                                                       T newValue, T minDelta, T maxDelta,                         \
                                                       RvpiFilledRegion* pRegion, uint8_t* pBuffer) {              \
    return rvp::n8::RULE<1, T>(                                                                                    \
        {pImage, imageStep, roiSize, seed, &newValue, &minDelta, &maxDelta, pRegion, pBuffer, MARGIN});            \
  }                                                                                                                \
  RvpStatus rvpiFloodFill_##CONNECTION##_##TYPE##_C3IR(T* pImage, int imageStep, RvpiSize roiSize, RvpiPoint seed, \
                                                       const T* pNewValue, const T* pMinDelta, const T* pMaxDelta, \
                                                       RvpiFilledRegion* pRegion, uint8_t* pBuffer) {              \
    return rvp::n8::RULE<3, T>(                                                                                    \
        {pImage, imageStep, roiSize, seed, pNewValue, pMinDelta, pMaxDelta, pRegion, pBuffer, MARGIN});            \
  }
#define RVP_FLOOD(TYPE, T)                         \
  RVP_FLOOD_PLAIN(4Con, 0, TYPE, T)                \
  RVP_FLOOD_PLAIN(8Con, 1, TYPE, T)                \
  RVP_FLOOD_PLAIN_C3(4Con, 0, TYPE, T)             \
  RVP_FLOOD_PLAIN_C3(8Con, 1, TYPE, T)             \
  RVP_FLOOD_DELTAS(gradient, Grad4Con, 0, TYPE, T) \
  RVP_FLOOD_DELTAS(gradient, Grad8Con, 1, TYPE, T) \
  RVP_FLOOD_DELTAS(range, Range4Con, 0, TYPE, T)   \
  RVP_FLOOD_DELTAS(range, Range8Con, 1, TYPE, T)

extern "C" {

RvpStatus rvpiFloodFillGetSize(RvpiSize roiSize, int* pBufferSize) {
  return rvp::n8::scratchSize(roiSize, pBufferSize, rvp::n8::spanBytes);
}

RvpStatus rvpiFloodFillGetSize_Grad(RvpiSize roiSize, int* pBufferSize) {
  return rvp::n8::scratchSize(roiSize, pBufferSize, rvp::n8::gradientBytes);
}

RVP_FLOOD(8u, uint8_t)
RVP_FLOOD(16u, uint16_t)
RVP_FLOOD(32f, float)
RVP_FLOOD_PLAIN(4Con, 0, 32s, int32_t)
RVP_FLOOD_PLAIN(8Con, 1, 32s, int32_t)

}  // extern "C"
