// The queue road: pixels wait in a queue at the level at which water reaches them. Whoever reaches a pixel first
// decides its label, and a pixel that different labels touch in that moment becomes a wall.
#include <algorithm>
#include <cstdint>

#include "rvpcv/watershed.h"
#include "segment/level_queue.h"
#include "segment/watershed_roads.h"

namespace rvp::n8 {
namespace {

template <int kNeighbours, int kBoundary, class Label>
class QueueFlood {
 public:
  using Map = GrowthMap<std::uint8_t, Label>;

  explicit QueueFlood(const Map& map) : map_(map), queue_(map.links) {}

  void run() {
    map_.forPixels([this](std::int32_t pixel) {
      if (map_.labels[pixel] == 0 || !touchesUnlabelled(pixel)) return;
      queue_.push(map_.src[pixel], pixel);
      if (map_.labels[pixel] != Map::kWall && touchesOther(pixel)) map_.labels[pixel] = Map::kWall;
    });
    for (int level = queue_.lowest(); level != LevelQueue::kNone; level = queue_.lowest()) {
      const std::int32_t pixel = queue_.pop(level);
      const Label label = map_.labels[pixel];
      for (int i = 0; i < kNeighbours; ++i) {
        const std::int32_t next = map_.neighbour(pixel, i);
        if (map_.labels[next] != 0) continue;
        map_.labels[next] = labelOf(next, label);
        queue_.push(std::max<int>(map_.src[next], level), next);
      }
    }
  }

 private:
  bool touchesUnlabelled(std::int32_t pixel) const {
    for (int i = 0; i < kNeighbours; ++i) {
      if (map_.labels[map_.neighbour(pixel, i)] == 0) return true;
    }
    return false;
  }

  static bool isRegion(Label label) { return label != 0 && label != Map::kWall; }

  bool touchesOther(std::int32_t pixel) const {
    for (int i = 0; i < kBoundary; ++i) {
      const Label label = map_.labels[map_.neighbour(pixel, i)];
      if (isRegion(label) && label != map_.labels[pixel]) return true;
    }
    return false;
  }

  // The label of a pixel that is reached from one of label `label`. Beside a wall it takes the first region's.
  Label labelOf(std::int32_t pixel, Label label) const {
    for (int i = 0; i < kBoundary; ++i) {
      const Label other = map_.labels[map_.neighbour(pixel, i)];
      if (!isRegion(other) || other == label) continue;
      if (label != Map::kWall) return Map::kWall;
      label = other;
    }
    return label;
  }

  const Map& map_;
  LevelQueue queue_;
};

template <int kNeighbours, class Label>
void flood(const GrowthMap<std::uint8_t, Label>& map, int boundary) {
  if (boundary == 4) {
    QueueFlood<kNeighbours, 4, Label>(map).run();
  } else if (boundary == 8) {
    QueueFlood<kNeighbours, 8, Label>(map).run();
  } else {
    QueueFlood<kNeighbours, 0, Label>(map).run();
  }
}

}  // namespace

template <class Label>
void ownSegmentWaterhedPQ(const std::uint8_t* pSrc, int srcStep, Label* pMarker, int markerStep, RvpiSize roiSize,
                          int neighbourKind, int segmentFlags, std::uint8_t* pBuffer) {
  const GrowthMap<std::uint8_t, Label> map(pSrc, srcStep, pMarker, markerStep, roiSize, pBuffer);
  const int boundary = boundaryNeighbours(segmentFlags);
  neighbourKind == rvpWatershed4 ? flood<4>(map, boundary) : flood<8>(map, boundary);
  map.copyLabels(pMarker, markerStep);
}

template void ownSegmentWaterhedPQ(const std::uint8_t*, int, std::uint8_t*, int, RvpiSize, int, int, std::uint8_t*);
template void ownSegmentWaterhedPQ(const std::uint8_t*, int, std::uint16_t*, int, RvpiSize, int, int,
                                   std::uint8_t*);

}  // namespace rvp::n8
