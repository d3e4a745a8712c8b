// Regions grown from markers in the order of the difference between neighbours: Meyer's flooding, with the
// difference of a pixel to its neighbour as its level, and a pixel's label chosen when its turn comes, from the
// labelled neighbour that it differs from the least.
#include <algorithm>
#include <cstdint>
#include <cstdlib>

#include "frame/checks.h"
#include "frame/views.h"
#include "rvpcv/segment.h"
#include "segment/level_queue.h"

namespace rvp::n8 {
namespace {

constexpr int kWall = 255;
// Between regions. It spreads as a region does, except that it loses at equal differences.
constexpr int kBoundary = 254;
// Above all differences.
constexpr int kFar = 256;

template <int kChannels>
struct Colour {
  std::uint8_t channel[kChannels];
};

template <int kChannels>
int difference(Colour<kChannels> a, Colour<kChannels> b) {
  int largest = 0;
  for (int i = 0; i < kChannels; ++i) largest = std::max(largest, std::abs(a.channel[i] - b.channel[i]));
  return largest;
}

template <int kChannels>
class GradientGrowth {
 public:
  using Map = GrowthMap<Colour<kChannels>, std::uint8_t>;

  GradientGrowth(const Map& map, int neighbours, int boundaryNeighbours)
      : map_(map), queue_(map.links), neighbours_(neighbours), boundaryNeighbours_(boundaryNeighbours) {}

  void run() {
    map_.forPixels([this](std::int32_t pixel) {
      map_.links[pixel] = kOutside;
      if (map_.labels[pixel] != 0) return;
      const int level = nearestLabel(pixel).difference;
      if (level != kFar) queue_.push(level, pixel);
    });
    for (int level = queue_.lowest(); level != LevelQueue::kNone; level = queue_.lowest()) {
      const std::int32_t pixel = queue_.pop(level);
      map_.labels[pixel] = nearestLabel(pixel).label;
      for (int i = 0; i < neighbours_; ++i) {
        const std::int32_t next = map_.neighbour(pixel, i);
        if (map_.labels[next] == 0 && map_.links[next] == kOutside)
          queue_.push(difference(map_.src[pixel], map_.src[next]), next);
      }
      if (touchesOther(pixel)) map_.labels[pixel] = kBoundary;
    }
  }

 private:
  // The link of a pixel that is not in the queue and never was.
  static constexpr std::int32_t kOutside = -2;

  struct Nearest {
    int difference;
    std::uint8_t label;
  };

  // Among equals the last one.
  Nearest nearestLabel(std::int32_t pixel) const {
    Nearest nearest = {kFar, 0};
    for (int i = 0; i < neighbours_; ++i) {
      const std::int32_t next = map_.neighbour(pixel, i);
      const std::uint8_t label = map_.labels[next];
      if (label == 0 || label == kWall) continue;
      const int apart = difference(map_.src[pixel], map_.src[next]);
      if (apart < nearest.difference || (apart == nearest.difference && label != kBoundary))
        nearest = {apart, label};
    }
    return nearest;
  }

  bool touchesOther(std::int32_t pixel) const {
    for (int i = 0; i < boundaryNeighbours_; ++i) {
      const std::uint8_t label = map_.labels[map_.neighbour(pixel, i)];
      if (label != 0 && label < kBoundary && label != map_.labels[pixel]) return true;
    }
    return false;
  }

  const Map& map_;
  LevelQueue queue_;
  int neighbours_;
  int boundaryNeighbours_;
};

RvpStatus segmentGradientSize(RvpiSize roiSize, int* pBufferSize) {
  if (RvpStatus fault = firstFault(nullPointer(pBufferSize), badSize(roiSize))) return fault;
  // With 3 channels the map takes 8 * (width + 1) * height + 2 * width + 6 bytes at most. That is less: the
  // difference is 8 * height * (width - 1) + width * (height - 2) + 109, where the second term alone can be below
  // 0, and is then -width, in a single row, where the first one is 8 * (width - 1).
  *pBufferSize = wrappedProduct(wrappedProduct(roiSize.width, roiSize.height), 17) + 115;
  return rvpStatusOk;
}

template <int kChannels>
RvpStatus segmentGradient(const std::uint8_t* pSrc, int srcStep, std::uint8_t* pMarker, int markerStep,
                          RvpiSize roiSize, RvpiConnectivity norm, int segmentFlags, std::uint8_t* pBuffer) {
  if (RvpStatus fault = firstFault(nullPointer(pSrc, pMarker, pBuffer), badSize(roiSize),
                                   shortStep<std::uint8_t, kChannels>(roiSize.width, srcStep),
                                   shortStep<std::uint8_t>(roiSize.width, markerStep),
                                   faultIf(norm != rvpConnect8 && norm != rvpConnect4, rvpStatusBadArgument)))
    return fault;
  using Growth = GradientGrowth<kChannels>;
  const typename Growth::Map map(reinterpret_cast<const Colour<kChannels>*>(pSrc), srcStep, pMarker, markerStep,
                                 roiSize, pBuffer);
  Growth(map, norm == rvpConnect4 ? 4 : 8, boundaryNeighbours(segmentFlags)).run();
  map.copyLabels(pMarker, markerStep);
  return rvpStatusOk;
}

}  // namespace
}  // namespace rvp::n8

extern "C" {

RvpStatus rvpiSegmentGradientGetBufferSize_8u_C1R(RvpiSize roiSize, int* pBufferSize) {
  return rvp::n8::segmentGradientSize(roiSize, pBufferSize);
}

RvpStatus rvpiSegmentGradientGetBufferSize_8u_C3R(RvpiSize roiSize, int* pBufferSize) {
  return rvp::n8::segmentGradientSize(roiSize, pBufferSize);
}

RvpStatus rvpiSegmentGradient_8u_C1IR(const uint8_t* pSrc, int srcStep, uint8_t* pMarker, int markerStep,
                                      RvpiSize roiSize, RvpiConnectivity norm, int segmentFlags, uint8_t* pBuffer) {
  return rvp::n8::segmentGradient<1>(pSrc, srcStep, pMarker, markerStep, roiSize, norm, segmentFlags, pBuffer);
}

RvpStatus rvpiSegmentGradient_8u_C3IR(const uint8_t* pSrc, int srcStep, uint8_t* pMarker, int markerStep,
                                      RvpiSize roiSize, RvpiConnectivity norm, int segmentFlags, uint8_t* pBuffer) {
  return rvp::n8::segmentGradient<3>(pSrc, srcStep, pMarker, markerStep, roiSize, norm, segmentFlags, pBuffer);
}

}  // extern "C"
