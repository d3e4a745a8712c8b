// Image primitives.
#include "frame/image.h"

#include <algorithm>
#include <cstddef>
#include <cstring>
#include <type_traits>

#include "frame/cache.h"
#include "frame/checks.h"
#include "frame/scaling.h"
#include "frame/simd.h"
#include "frame/team.h"
#include "frame/views.h"

namespace rvp::n8 {
namespace {

// From this many pixels on a difference or a product is worth a team.
constexpr int kArithmeticTeamPixels = 1 << 18;
// Regions up to this size do not ask for the cache size.
constexpr std::int64_t kCachedPixels = 524288;
// Scale factors from here on bring every 16-bit difference to 0.
constexpr int kVanishingScale = 17;

std::int64_t pixels(RvpiSize size) { return static_cast<std::int64_t>(size.width) * size.height; }

template <class T>
void setRow(T* dst, T value, std::ptrdiff_t count) {
  std::fill_n(dst, count, value);
}

// The same with stores that leave the cache alone; they want aligned vectors, so both ends are set the ordinary
// way.
template <class T>
void streamRow(T* dst, T value, std::ptrdiff_t count) {
  const hn::ScalableTag<T> d;
  const auto lanes = static_cast<std::ptrdiff_t>(hn::Lanes(d));
  std::ptrdiff_t i = std::min(elementsToVector(dst, lanes), count);
  setRow(dst, value, i);
  for (const auto v = hn::Set(d, value); i + lanes <= count; i += lanes) hn::Stream(v, d, dst + i);
  setRow(dst + i, value, count - i);
}

template <class T>
void widenRow(const T* src, float* dst, std::ptrdiff_t count) {
  for (std::ptrdiff_t i = 0; i < count; ++i) dst[i] = static_cast<float>(src[i]);
}

// For rows that pass the cache by: a piece at a time is converted beside the row and streamed from there.
template <class T>
void widenAndStreamRow(const T* src, float* dst, std::ptrdiff_t count) {
  const hn::ScalableTag<float> d;
  const auto lanes = static_cast<std::ptrdiff_t>(hn::Lanes(d));
  std::ptrdiff_t i = std::min(elementsToVector(dst, lanes), count);
  widenRow(src, dst, i);
  HWY_ALIGN float piece[hn::MaxLanes(d)];
  for (; i + lanes <= count; i += lanes) {
    widenRow(src + i, piece, lanes);
    hn::Stream(hn::Load(d, piece), d, dst + i);
  }
  widenRow(src + i, dst + i, count - i);
}

template <class T>
void subtractRow(const T* src1, const T* src2, T* dst, std::ptrdiff_t count, int scaleFactor) {
  if (scaleFactor == 0) {
    for (std::ptrdiff_t i = 0; i < count; ++i) dst[i] = saturate<T>(src2[i] - src1[i]);
  } else {
    for (std::ptrdiff_t i = 0; i < count; ++i) dst[i] = scaleAndSaturate<T>(src2[i] - src1[i], scaleFactor);
  }
}

template <class T, class Choose>
RvpStatus choosePixels(const T* pSrc, int srcStep, T* pDst, int dstStep, RvpiSize roiSize, const Choose& choose) {
  if (RvpStatus fault = firstFault(nullPointer(pSrc, pDst), badSize(roiSize), stepBelowOne(srcStep, dstStep)))
    return fault;
  for (std::ptrdiff_t y = 0; y < roiSize.height; ++y) {
    const T* src = row(pSrc, srcStep, y);
    std::transform(src, src + roiSize.width, row(pDst, dstStep, y), choose);
  }
  return rvpStatusOk;
}

}  // namespace

template <class T, int kChannels>
RvpStatus rvpiCopy(const T* pSrc, int srcStep, T* pDst, int dstStep, RvpiSize roiSize) {
  if (RvpStatus fault = firstFault(nullPointer(pSrc, pDst), badSize(roiSize))) return fault;
  const auto rowBytes = static_cast<std::size_t>(rowElements(roiSize.width, kChannels)) * sizeof(T);
  for (std::ptrdiff_t y = 0; y < roiSize.height; ++y) {
    std::memmove(row(pDst, dstStep, y), row(pSrc, srcStep, y), rowBytes);
  }
  return rvpStatusOk;
}
#define RVP_COPY(T, CHANNELS) template RvpStatus rvpiCopy<T, CHANNELS>(const T*, int, T*, int, RvpiSize);
RVP_COPY(std::uint8_t, 1)
RVP_COPY(std::uint8_t, 3)
RVP_COPY(std::uint8_t, 4)
RVP_COPY(std::uint16_t, 1)
RVP_COPY(std::int16_t, 1)
RVP_COPY(float, 1)
RVP_COPY(float, 3)
RVP_COPY(float, 4)

template <class T>
void owniSet_C1_M7(T value, T* dst, int step, RvpiSize size, bool stream) {
  // Rows without a gap are one long row.
  const bool oneRow = static_cast<std::int64_t>(size.width) * static_cast<std::int64_t>(sizeof(T)) == step;
  const std::ptrdiff_t rows = oneRow ? 1 : size.height;
  const std::ptrdiff_t count = oneRow ? pixels(size) : size.width;
  for (std::ptrdiff_t y = 0; y < rows; ++y) (stream ? streamRow<T> : setRow<T>)(row(dst, step, y), value, count);
  if (stream) hwy::FlushStream();
}

template <class T>
RvpStatus rvpiSet(T value, T* pDst, int dstStep, RvpiSize roiSize) {
  if (RvpStatus fault = firstFault(nullPointer(pDst), badSize(roiSize))) return fault;
  const bool stream = pixels(roiSize) > kCachedPixels && pixels(roiSize) >= owncvGetCacheSize();
  owniSet_C1_M7(value, pDst, dstStep, roiSize, stream);
  return rvpStatusOk;
}
template void owniSet_C1_M7(std::uint8_t, std::uint8_t*, int, RvpiSize, bool);
template RvpStatus rvpiSet(std::uint8_t, std::uint8_t*, int, RvpiSize);
template RvpStatus rvpiSet(std::int16_t, std::int16_t*, int, RvpiSize);

template <class T>
void owniConvert_32f_M7(const T* src, int srcStep, float* dst, int dstStep, RvpiSize elements, bool stream) {
  for (std::ptrdiff_t y = 0; y < elements.height; ++y)
    (stream ? widenAndStreamRow<T> : widenRow<T>)(row(src, srcStep, y), row(dst, dstStep, y), elements.width);
  if (stream) hwy::FlushStream();
}

template <class T, int kChannels>
RvpStatus rvpiConvert_32f(const T* pSrc, int srcStep, float* pDst, int dstStep, RvpiSize roiSize) {
  if (RvpStatus fault = firstFault(nullPointer(pSrc, pDst), badSize(roiSize), stepBelowOne(srcStep, dstStep)))
    return fault;
  // Both images together: 2 bytes and 4 bytes a pixel.
  const std::int64_t footprint = pixels(roiSize) * 6;
  const bool stream =
      std::is_same_v<T, std::uint16_t> && footprint > kCachedPixels && footprint >= owncvGetCacheSize();
  owniConvert_32f_M7(pSrc, srcStep, pDst, dstStep, {wrappedProduct(roiSize.width, kChannels), roiSize.height},
                     stream);
  return rvpStatusOk;
}
template void owniConvert_32f_M7(const std::uint16_t*, int, float*, int, RvpiSize, bool);
template RvpStatus rvpiConvert_32f<std::uint16_t, 1>(const std::uint16_t*, int, float*, int, RvpiSize);
template RvpStatus rvpiConvert_32f<std::uint8_t, 3>(const std::uint8_t*, int, float*, int, RvpiSize);

template <class T, int kChannels>
RvpStatus rvpiSub_Sfs(const T* pSrc1, int src1Step, const T* pSrc2, int src2Step, T* pDst, int dstStep,
                      RvpiSize roiSize, int scaleFactor) {
  constexpr bool kUnsigned16 = std::is_same_v<T, std::uint16_t>;
  if (kUnsigned16 && scaleFactor >= kVanishingScale && nullPointer(pSrc1, pSrc2) == rvpStatusOk)
    return rvpiSet(std::int16_t{0}, reinterpret_cast<std::int16_t*>(pDst), dstStep, roiSize);
  if (RvpStatus fault = firstFault(nullPointer(pSrc1, pSrc2, pDst), badSize(roiSize))) return fault;
  const auto subtract = [&](Slice slice) {
    for (std::ptrdiff_t y : slice)
      subtractRow(row(pSrc1, src1Step, y), row(pSrc2, src2Step, y), row(pDst, dstStep, y),
                  rowElements(roiSize.width, kChannels), scaleFactor);
  };
  if (kChannels == 1 && !kUnsigned16) {
    forRowSlices(roiSize, kArithmeticTeamPixels, subtract);
  } else {
    subtract({0, roiSize.height});
  }
  return rvpStatusOk;
}
#define RVP_SUB(T, CHANNELS) \
  template RvpStatus rvpiSub_Sfs<T, CHANNELS>(const T*, int, const T*, int, T*, int, RvpiSize, int);
RVP_SUB(std::uint8_t, 1)
RVP_SUB(std::uint8_t, 3)
RVP_SUB(std::uint8_t, 4)
RVP_SUB(std::uint16_t, 1)
RVP_SUB(std::int16_t, 1)

template <int kChannels>
RvpStatus rvpiSub_32f(const float* pSrc1, int src1Step, const float* pSrc2, int src2Step, float* pDst, int dstStep,
                      RvpiSize roiSize) {
  if constexpr (kChannels == 1) {
    if (RvpStatus fault = firstFault(nullPointer(pSrc1, pSrc2, pDst), badSize(roiSize))) return fault;
    forRowSlices(roiSize, kArithmeticTeamPixels, [&](Slice slice) {
      for (std::ptrdiff_t y : slice) {
        const float* src1 = row(pSrc1, src1Step, y);
        const float* src2 = row(pSrc2, src2Step, y);
        float* dst = row(pDst, dstStep, y);
        for (std::ptrdiff_t x = 0; x < roiSize.width; ++x) dst[x] = src2[x] - src1[x];
      }
    });
    return rvpStatusOk;
  } else {
    if (roiSize.width < 1) return rvpStatusBadSize;
    const RvpiSize elements = {wrappedProduct(roiSize.width, kChannels), roiSize.height};
    return rvpiSub_32f<1>(pSrc1, src1Step, pSrc2, src2Step, pDst, dstStep, elements);
  }
}
template RvpStatus rvpiSub_32f<1>(const float*, int, const float*, int, float*, int, RvpiSize);
template RvpStatus rvpiSub_32f<3>(const float*, int, const float*, int, float*, int, RvpiSize);
template RvpStatus rvpiSub_32f<4>(const float*, int, const float*, int, float*, int, RvpiSize);

RvpStatus rvpiMulC_16s_C1RSfs(const std::int16_t* pSrc, int srcStep, std::int16_t value, std::int16_t* pDst,
                              int dstStep, RvpiSize roiSize, int scaleFactor) {
  if (RvpStatus fault = firstFault(nullPointer(pSrc, pDst), badSize(roiSize))) return fault;
  forRowSlices(roiSize, kArithmeticTeamPixels, [&](Slice slice) {
    for (std::ptrdiff_t y : slice) {
      const std::int16_t* src = row(pSrc, srcStep, y);
      std::transform(src, src + roiSize.width, row(pDst, dstStep, y), [&](std::int16_t s) {
        return scaleAndSaturate<std::int16_t>(static_cast<std::int64_t>(s) * value, scaleFactor);
      });
    }
  });
  return rvpStatusOk;
}

RvpStatus rvpiMulC_32f_C1R(const float* pSrc, int srcStep, float value, float* pDst, int dstStep,
                           RvpiSize roiSize) {
  if (RvpStatus fault = firstFault(nullPointer(pSrc, pDst), badSize(roiSize))) return fault;
  forRowSlices(roiSize, kArithmeticTeamPixels, [&](Slice slice) {
    for (std::ptrdiff_t y : slice) {
      const float* src = row(pSrc, srcStep, y);
      std::transform(src, src + roiSize.width, row(pDst, dstStep, y), [&](float s) { return s * value; });
    }
  });
  return rvpStatusOk;
}

template <class T>
RvpStatus rvpiThreshold_Val(const T* pSrc, int srcStep, T* pDst, int dstStep, RvpiSize roiSize, T threshold,
                            T value, int op) {
  if (op == kThresholdLess) {
    return choosePixels(pSrc, srcStep, pDst, dstStep, roiSize, [=](T s) { return s < threshold ? value : s; });
  }
  if (op == kThresholdGreater) {
    return choosePixels(pSrc, srcStep, pDst, dstStep, roiSize, [=](T s) { return s > threshold ? value : s; });
  }
  return rvpStatusNotSupported;
}

template <class T>
RvpStatus rvpiThreshold_GTVal(const T* pSrc, int srcStep, T* pDst, int dstStep, RvpiSize roiSize, T threshold,
                              T value) {
  return rvpiThreshold_Val(pSrc, srcStep, pDst, dstStep, roiSize, threshold, value, kThresholdGreater);
}
#define RVP_THRESHOLD(T)                                                             \
  template RvpStatus rvpiThreshold_Val(const T*, int, T*, int, RvpiSize, T, T, int); \
  template RvpStatus rvpiThreshold_GTVal(const T*, int, T*, int, RvpiSize, T, T);
RVP_THRESHOLD(std::uint8_t)
RVP_THRESHOLD(std::uint16_t)

RvpStatus rvpiThreshold_LT_32f_C1R(const float* pSrc, int srcStep, float* pDst, int dstStep, RvpiSize roiSize,
                                   float threshold) {
  return choosePixels(pSrc, srcStep, pDst, dstStep, roiSize,
                      [=](float s) { return s < threshold ? threshold : s; });
}

}  // namespace rvp::n8
