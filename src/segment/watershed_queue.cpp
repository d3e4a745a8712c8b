// The queue road: pixels wait in a queue at the level at which water reaches them. Whoever reaches a pixel first
// decides its label, and a pixel that different labels touch in that moment becomes a wall.
#include <algorithm>
#include <bit>
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

  explicit QueueFlood(const Map& map) : map_(map), queue_(map.queue()) {}

  void run() {
    map_.forPixels([this](std::int32_t pixel) {
      auto& [height, label] = map_.cells[pixel];
      if (label == 0 || freeNeighbours(pixel) == 0) return;
      queue_.push(height, pixel);
      if (kBoundary != 0 && label != Map::kWall) label = labelOf(pixel, label);
    });
    for (int level = queue_.lowest(); level != LevelQueue::kNone; level = queue_.lowest()) {
      const std::int32_t pixel = queue_.pop(level);
      if (const std::int32_t later = queue_.later(level); later != LevelQueue::kNone) map_.prefetch(later);
      const Label label = map_.cells[pixel].label;
      for (unsigned free = freeNeighbours(pixel); free != 0; free &= free - 1) {
        const std::int32_t next = map_.neighbour(pixel, std::countr_zero(free));
        map_.cells[next].label = labelOf(next, label);
        queue_.push(std::max<int>(map_.cells[next].pixel, level), next);
      }
    }
  }

 private:
  // A bit for each neighbour that has no label, the first one's lowest.
  unsigned freeNeighbours(std::int32_t pixel) const {
    unsigned free = 0;
    for (int i = 0; i < kNeighbours; ++i)
      free |= static_cast<unsigned>(map_.cells[map_.neighbour(pixel, i)].label == 0) << i;
    return free;
  }

  // The label of a pixel that one of label `label` reaches. If the regions among that label and those of the
  // neighbours are one, it is this one; if they are several, or none, it is the wall. Less 1, regions come before
  // the wall and 0; with 1 more, both come before regions. So the least label less 1 and the greatest with 1 more
  // are of one region exactly if there is no other.
  Label labelOf(std::int32_t pixel, Label label) const {
    Label least = static_cast<Label>(label - 1);
    Label greatest = static_cast<Label>(label + 1);
    for (int i = 0; i < kBoundary; ++i) {
      const Label other = map_.cells[map_.neighbour(pixel, i)].label;
      least = std::min(least, static_cast<Label>(other - 1));
      greatest = std::max(greatest, static_cast<Label>(other + 1));
    }
    return static_cast<Label>(least + 1) == static_cast<Label>(greatest - 1) ? static_cast<Label>(least + 1)
                                                                             : Map::kWall;
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
  using Map = GrowthMap<std::uint8_t, Label>;
  const Map map(pSrc, srcStep, pMarker, markerStep, roiSize, pBuffer, [](std::uint8_t height, Label label) {
    return typename Map::Cell{height, label};
  });
  const int boundary = boundaryNeighbours(segmentFlags);
  neighbourKind == rvpWatershed4 ? flood<4>(map, boundary) : flood<8>(map, boundary);
  map.copyLabels();
}

template void ownSegmentWaterhedPQ(const std::uint8_t*, int, std::uint8_t*, int, RvpiSize, int, int, std::uint8_t*);
template void ownSegmentWaterhedPQ(const std::uint8_t*, int, std::uint16_t*, int, RvpiSize, int, int,
                                   std::uint8_t*);

}  // namespace rvp::n8
