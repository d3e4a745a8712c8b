// The watershed's checks and sizes. The 8-bit members test everything of one image after the other, and the road
// last; the float member has no queue, and tests its flags before its step's multiple.
#include <algorithm>
#include <cstdint>

#include "frame/checks.h"
#include "frame/views.h"
#include "rvpcv/watershed.h"
#include "segment/watershed_roads.h"

namespace rvp::n8 {
namespace {

constexpr std::uint32_t roundedUp(std::uint32_t n, std::uint32_t multiple) {
  return (n + multiple - 1) / multiple * multiple;
}

// Both sizes wrap at 32 bits, which the interface cannot tell. The reported maximum covers both roads: with n =
// width * height, the queue road's map (level_queue.h) takes 16 * n + 27 bytes at most, and the distance road
// (watershed_distance.cpp) 6 * n + height + 3.
template <class Label>
std::int32_t queueBytes(std::uint64_t width, std::uint64_t height) {
  return static_cast<std::int32_t>(16 * width * height + (width + 2) * (height + 2) * sizeof(Label) + 48);
}

template <class Label>
std::int32_t distanceBytes(std::uint32_t width, std::uint32_t height) {
  const std::uint32_t step = roundedUp(width * static_cast<std::uint32_t>(sizeof(Label)), 32);
  return static_cast<std::int32_t>(2 * step * (height + 1) + 4 * height * step + height + 66);
}

template <class Size>
RvpStatus bufferSize(RvpiSize roiSize, int* pBufferSize, const Size& size) {
  if (RvpStatus fault = firstFault(nullPointer(pBufferSize), badSize(roiSize))) return fault;
  *pBufferSize = size(static_cast<std::uint32_t>(roiSize.width), static_cast<std::uint32_t>(roiSize.height));
  return rvpStatusOk;
}

template <class Label>
RvpStatus byteImageSize(RvpiSize roiSize, int* pBufferSize) {
  return bufferSize(roiSize, pBufferSize, [](std::uint32_t width, std::uint32_t height) {
    return std::max(queueBytes<Label>(width, height), distanceBytes<Label>(width, height));
  });
}

bool isKind(RvpiWatershedNeighbours kind, int last) { return kind >= 0 && kind <= last; }

template <class Label>
RvpStatus watershed(const std::uint8_t* pSrc, int srcStep, Label* pMarker, int markerStep, RvpiSize roiSize,
                    RvpiWatershedNeighbours neighbourKind, int segmentFlags, std::uint8_t* pBuffer) {
  const bool isQueued = (segmentFlags & rvpSegmentQueue) != 0;
  const bool isDistance = (segmentFlags & rvpSegmentDistance) != 0;
  if (RvpStatus fault = firstFault(
          nullPointer(pSrc, pMarker, pBuffer), badSize(roiSize), shortStep<std::uint8_t>(roiSize.width, srcStep),
          shortStep<Label>(roiSize.width, markerStep), oddStep<Label>(markerStep),
          faultIf(!isQueued && !isDistance, rvpStatusBadArgument),
          faultIf(!isKind(neighbourKind, isQueued ? rvpWatershed4 : rvpWatershedFront), rvpStatusBadArgument)))
    return fault;
  if (isQueued) {
    ownSegmentWaterhedPQ(pSrc, srcStep, pMarker, markerStep, roiSize, neighbourKind, segmentFlags, pBuffer);
  } else {
    floodByDistance(pSrc, srcStep, pMarker, markerStep, roiSize, neighbourKind, segmentFlags, pBuffer);
  }
  return rvpStatusOk;
}

RvpStatus watershed(const float* pSrc, int srcStep, std::uint16_t* pMarker, int markerStep, RvpiSize roiSize,
                    RvpiWatershedNeighbours neighbourKind, int segmentFlags, std::uint8_t* pBuffer) {
  if (RvpStatus fault = firstFault(
          nullPointer(pSrc, pMarker, pBuffer), badSize(roiSize), shortStep<float>(roiSize.width, srcStep),
          shortStep<std::uint16_t>(roiSize.width, markerStep), oddStep<std::uint16_t>(markerStep),
          faultIf((segmentFlags & rvpSegmentQueue) != 0, rvpStatusNotSupported),
          faultIf((segmentFlags & rvpSegmentDistance) == 0, rvpStatusBadArgument),
          faultIf(!isKind(neighbourKind, rvpWatershedFront), rvpStatusBadArgument), oddStep<float>(srcStep)))
    return fault;
  floodByDistance(pSrc, srcStep, pMarker, markerStep, roiSize, neighbourKind, segmentFlags, pBuffer);
  return rvpStatusOk;
}

}  // namespace
}  // namespace rvp::n8

extern "C" {

RvpStatus rvpiSegmentWatershedGetBufferSize_8u_C1R(RvpiSize roiSize, int* pBufferSize) {
  return rvp::n8::byteImageSize<uint8_t>(roiSize, pBufferSize);
}

RvpStatus rvpiSegmentWatershedGetBufferSize_8u16u_C1R(RvpiSize roiSize, int* pBufferSize) {
  return rvp::n8::byteImageSize<uint16_t>(roiSize, pBufferSize);
}

RvpStatus rvpiSegmentWatershedGetBufferSize_32f16u_C1R(RvpiSize roiSize, int* pBufferSize) {
  return rvp::n8::bufferSize(roiSize, pBufferSize, [](uint32_t width, uint32_t height) {
    return static_cast<int>(height + 9 * height * rvp::n8::roundedUp(width, 4) + 66);
  });
}

RvpStatus rvpiSegmentWatershed_8u_C1IR(const uint8_t* pSrc, int srcStep, uint8_t* pMarker, int markerStep,
                                       RvpiSize roiSize, RvpiWatershedNeighbours neighbourKind, int segmentFlags,
                                       uint8_t* pBuffer) {
  return rvp::n8::watershed(pSrc, srcStep, pMarker, markerStep, roiSize, neighbourKind, segmentFlags, pBuffer);
}

RvpStatus rvpiSegmentWatershed_8u16u_C1IR(const uint8_t* pSrc, int srcStep, uint16_t* pMarker, int markerStep,
                                          RvpiSize roiSize, RvpiWatershedNeighbours neighbourKind, int segmentFlags,
                                          uint8_t* pBuffer) {
  return rvp::n8::watershed(pSrc, srcStep, pMarker, markerStep, roiSize, neighbourKind, segmentFlags, pBuffer);
}

RvpStatus rvpiSegmentWatershed_32f16u_C1IR(const float* pSrc, int srcStep, uint16_t* pMarker, int markerStep,
                                           RvpiSize roiSize, RvpiWatershedNeighbours neighbourKind,
                                           int segmentFlags, uint8_t* pBuffer) {
  return rvp::n8::watershed(pSrc, srcStep, pMarker, markerStep, roiSize, neighbourKind, segmentFlags, pBuffer);
}

}  // extern "C"
