// Smoothing by a plain sum over a square mask: out(x, y) = sum over j of (sum over i of p(x + i, y + j)).
//
// A row is summed once, into a ring of as many rows as the mask has, and every row of the ring serves all the
// output rows that it reaches. Along a row the terms are added in ascending order; down the columns the centre
// comes first and then the pairs around it. Each output pixel is a sum of its own: nothing is carried along a row
// or a column, so an infinity or a large value has no effect outside its windows.
#include <algorithm>
#include <cstddef>

#include "filter/border.h"
#include "filter/lowpass.h"
#include "filter/separable.h"
#include "frame/checks.h"
#include "frame/team.h"
#include "frame/views.h"
#include "rvpcv/filter.h"

namespace rvp::n8 {
namespace {

// A team's member has at least this many rows.
constexpr int kRowsOfThread = 128;
// Rows of the ring and the shares of threads begin at cache lines.
constexpr std::int64_t kLine = 64;
constexpr std::int64_t toLine(std::int64_t bytes) { return (bytes + kLine - 1) / kLine * kLine; }

constexpr std::int64_t ringRowBytes(int width) { return toLine(std::int64_t{width} * 4); }

template <class W>
void sumRow(const ExtendedImage<float, 1>& image, std::ptrdiff_t y, float* sums) {
  constexpr std::ptrdiff_t kRadius = W::kCentre;
  float copy[kStretch + 2 * kRadius];
  forStretches(0, image.size.width, [&](std::ptrdiff_t x0, std::ptrdiff_t n) {
    const float* src = image.findRow(y, x0 - kRadius, x0 + n + kRadius, copy);
    forVectors<float>(0, n, [&](auto d, std::ptrdiff_t x) {
      hn::StoreU(ascendingSum<W::kCount>([&](int i) { return hn::LoadU(d, src + x + i); }), d, sums + x0 + x);
    });
  });
}

template <class W>
void lowpassRows(const ExtendedImage<float, 1>& image, Slice slice, float* ring, float* pDst, int dstStep) {
  constexpr std::ptrdiff_t kRadius = W::kCentre;
  const std::ptrdiff_t width = image.size.width;
  const std::ptrdiff_t stride = ringRowBytes(image.size.width) / 4;
  const auto ringRow = [&](std::ptrdiff_t y) { return ring + (y - slice.first + kRadius) % W::kCount * stride; };
  for (std::ptrdiff_t y = slice.first - kRadius; y < slice.last + kRadius; ++y) {
    sumRow<W>(image, y, ringRow(y));
    const std::ptrdiff_t centre = y - kRadius;
    if (centre < slice.first) continue;
    const float* rows[W::kCount];
    for (int i = 0; i < W::kCount; ++i) rows[i] = ringRow(centre + i - kRadius);
    float* dst = row(pDst, dstStep, centre);
    forVectors<float>(0, width, [&](auto d, std::ptrdiff_t x) {
      hn::StoreU(weightedSum<W>(d, [&](int i) { return hn::LoadU(d, rows[i] + x); }), d, dst + x);
    });
  }
}

constexpr bool isMask(RvpiMaskSize mask) { return mask == 33 || mask == 55; }

}  // namespace

std::int64_t lowpassBufferBytes(int width, int maskSide) {
  return kLine + std::int64_t{owncvGetMaxNumThreads()} * maskSide * ringRowBytes(width);
}

}  // namespace rvp::n8

extern "C" {

RvpStatus rvpiFilterLowpassGetBufferSize_32f_C1R(RvpiSize roiSize, RvpiMaskSize mask, int* pBufferSize) {
  using namespace rvp::n8;
  if (RvpStatus fault =
          firstFault(nullPointer(pBufferSize), badSize(roiSize), faultIf(!isMask(mask), rvpStatusBadMaskSize)))
    return fault;
  const std::int64_t bytes = lowpassBufferBytes(roiSize.width, mask % 10);
  if (bytes > INT32_MAX) return rvpStatusSizeOverflow;
  *pBufferSize = static_cast<int>(bytes);
  return rvpStatusOk;
}

RvpStatus rvpiFilterLowpassBorder_32f_C1R(const float* pSrc, int srcStep, float* pDst, int dstStep,
                                          RvpiSize roiSize, RvpiMaskSize mask, RvpiBorderType borderType,
                                          float borderValue, uint8_t* pBuffer) {
  using namespace rvp::n8;
  if (RvpStatus fault = firstFault(nullPointer(pSrc, pDst, pBuffer), badSize(roiSize),
                                   shortStep<float>(roiSize.width, srcStep, dstStep),
                                   oddStep<float>(srcStep, dstStep), faultIf(!isMask(mask), rvpStatusBadMaskSize),
                                   faultIf(!isBorder(borderType), rvpStatusBadArgument)))
    return fault;
  const ExtendedImage<float, 1> image = {pSrc, srcStep, roiSize, borderOf(borderType), &borderValue};
  const std::int64_t share = mask % 10 * ringRowBytes(roiSize.width);
  uint8_t* rings = alignedUp(pBuffer, kLine);
  const int threads = std::clamp(roiSize.height / kRowsOfThread, 1, owncvGetMaxNumThreads());
  forSlices(
      roiSize.height,
      [&](Slice slice) {
        auto* ring = reinterpret_cast<float*>(rings + owncvGetIdThreads() * share);
        if (mask == 33) {
          lowpassRows<Weights<1, 1, 1>>(image, slice, ring, pDst, dstStep);
        } else {
          lowpassRows<Weights<1, 1, 1, 1, 1>>(image, slice, ring, pDst, dstStep);
        }
      },
      threads);
  return rvpStatusOk;
}

}  // extern "C"
