// Regions grown from markers in the order of the difference between neighbours: Meyer's flooding, with the
// difference of a pixel to its neighbour as its level, and a pixel's label chosen when its turn comes, from the
// labelled neighbour that it differs from the least.
#include <algorithm>
#include <bit>
#include <cstdint>

#include "frame/checks.h"
#include "frame/simd.h"
#include "frame/views.h"
#include "rvpcv/segment.h"
#include "segment/level_queue.h"

namespace rvp::n8 {
namespace {

// The pixel's channels, those that are not there 0, and the label in the high byte: a word that is always read and
// written as a whole, since the processor hands a word that has just been written on to a reader, but no part of
// it.
struct Colour {
  std::uint8_t channel[3];
};
using Map = GrowthMap<Colour, std::uint8_t>;
using Cell = Map::Cell;
constexpr int kLabelShift = 24;
constexpr std::uint32_t kColour = (1U << kLabelShift) - 1;

std::uint32_t wordOf(Cell cell) { return std::bit_cast<std::uint32_t>(cell); }
Cell cellOf(std::uint32_t colour, std::uint8_t label) {
  static_assert(std::endian::native == std::endian::little);
  return std::bit_cast<Cell>(colour | std::uint32_t{label} << kLabelShift);
}

// In the map a pixel that waits in the queue is a wall: it has no label, and it does not enter again.
constexpr std::uint8_t kWaiting = Map::kWall;
// Between regions. It spreads as a region does, except that it loses at equal differences.
constexpr std::uint8_t kBoundary = 254;

// Neighbours are looked at four at a time.
using Four = hn::CappedTag<std::int32_t, 4>;
using Words = hn::Vec<Four>;
constexpr int kGroup = 4;

// One bit for each lane.
unsigned bitsOf(hn::Mask<Four> mask) {
  std::uint8_t bits[8];
  static_cast<void>(hn::StoreMaskBits(Four(), mask, bits));
  return bits[0];
}

template <int kNeighbours>
class GradientGrowth {
 public:
  GradientGrowth(const Map& map, int boundaryNeighbours)
      : map_(map), queue_(map.queue()), boundaryNeighbours_(boundaryNeighbours) {}

  void run() {
    map_.forPixels([this](std::int32_t pixel) {
      if (map_.cells[pixel].label != 0 || !hasLabels(pixel)) return;
      const Surroundings around = look(pixel);
      if (around.nearest != kFar) enter(around.nearest >> kDifferenceShift, pixel);
    });
    for (int level = queue_.lowest(); level != LevelQueue::kNone; level = queue_.lowest()) {
      const std::int32_t pixel = queue_.pop(level);
      if (const std::int32_t later = queue_.later(level); later != LevelQueue::kNone) map_.prefetch(later);
      const Surroundings around = look(pixel);
      // The low byte of the nearest one's key is its label.
      const auto label = static_cast<std::uint8_t>(around.nearest);
      for (unsigned free = around.free; free != 0; free &= free - 1) {
        const int i = std::countr_zero(free);
        enter(around.differences[i], map_.neighbour(pixel, i));
      }
      setLabel(pixel, touchesOther(pixel, label) ? kBoundary : label);
    }
  }

 private:
  // A neighbour's key: its difference, its rank, of which the least belongs to the last neighbour, with kLast for a
  // boundary, and its label.
  static constexpr int kRankShift = 8;
  static constexpr int kDifferenceShift = 16;
  static constexpr std::int32_t kLast = 0x80 << kRankShift;
  static constexpr std::int32_t kFar = 0x7FFFFFFF;  // of what has no label

  struct Surroundings {
    alignas(16) std::int32_t differences[kNeighbours];
    std::int32_t nearest;  // the least key
    unsigned free;         // a bit for each neighbour that has no label and does not wait, the first one's lowest
  };

  // The words of four neighbours.
  Words wordsOf(std::int32_t pixel, int first) const {
    const Four d;
    const auto word = [&](int i) {
      return hn::Set(d, static_cast<std::int32_t>(wordOf(map_.cells[map_.neighbour(pixel, first + i)])));
    };
    return hn::ConcatUpperLower(d, hn::OddEven(word(3), word(2)), hn::OddEven(word(1), word(0)));
  }

  static Words labelsOf(Words words) {
    return hn::BitCast(Four(), hn::ShiftRight<kLabelShift>(hn::BitCast(hn::RebindToUnsigned<Four>(), words)));
  }

  Surroundings look(std::int32_t pixel) const {
    const Four d;
    const hn::Repartition<std::uint8_t, Four> dBytes;
    Surroundings around;
    around.free = 0;
    const auto self = hn::BitCast(dBytes, hn::Set(d, static_cast<std::int32_t>(wordOf(map_.cells[pixel]))));
    Words nearest = hn::Set(d, kFar);
    for (int i = 0; i < kNeighbours; i += kGroup) {
      const Words words = wordsOf(pixel, i);
      const auto there = hn::BitCast(dBytes, words);
      const auto apart = hn::BitCast(d, hn::Or(hn::SaturatedSub(there, self), hn::SaturatedSub(self, there)));
      const auto largest = hn::Max(
          hn::BitCast(dBytes, apart),
          hn::Max(hn::BitCast(dBytes, hn::ShiftRight<8>(apart)), hn::BitCast(dBytes, hn::ShiftRight<16>(apart))));
      const Words difference = hn::And(hn::BitCast(d, largest), hn::Set(d, 0xFF));
      hn::Store(difference, d, around.differences + i);
      const Words label = labelsOf(words);
      const auto isFree = hn::Eq(label, hn::Zero(d));
      const auto hasNone = hn::Or(isFree, hn::Eq(label, hn::Set(d, Map::kWall)));
      const Words rank =
          hn::Sub(hn::Set(d, (kNeighbours - 1 - i) << kRankShift), hn::ShiftLeft<kRankShift>(hn::Iota(d, 0)));
      const Words last = hn::IfThenElseZero(hn::Eq(label, hn::Set(d, kBoundary)), hn::Set(d, kLast));
      const Words key = hn::Or(hn::Or(hn::ShiftLeft<kDifferenceShift>(difference), rank), hn::Or(last, label));
      nearest = hn::Min(nearest, hn::IfThenElse(hasNone, hn::Set(d, kFar), key));
      around.free |= bitsOf(isFree) << i;
    }
    around.nearest = hn::GetLane(hn::MinOfLanes(d, nearest));
    return around;
  }

  bool hasLabels(std::int32_t pixel) const {
    std::uint32_t labels = 0;
    for (int i = 0; i < kNeighbours; ++i) labels |= wordOf(map_.cells[map_.neighbour(pixel, i)]);
    return labels > kColour;
  }

  void setLabel(std::int32_t pixel, std::uint8_t label) {
    map_.cells[pixel] = cellOf(wordOf(map_.cells[pixel]) & kColour, label);
  }

  // Of a pixel that has no label.
  void enter(int level, std::int32_t pixel) {
    queue_.push(level, pixel);
    setLabel(pixel, kWaiting);
  }

  bool touchesOther(std::int32_t pixel, std::uint8_t label) const {
    const Four d;
    unsigned others = 0;
    for (int i = 0; i < boundaryNeighbours_; i += kGroup) {
      const Words there = labelsOf(wordsOf(pixel, i));
      const auto isRegion = hn::And(hn::Gt(there, hn::Zero(d)), hn::Lt(there, hn::Set(d, kBoundary)));
      others |= bitsOf(hn::AndNot(hn::Eq(there, hn::Set(d, label)), isRegion));
    }
    return others != 0;
  }

  const Map& map_;
  LevelQueue queue_;
  int boundaryNeighbours_;
};

template <int kChannels>
struct Source {
  std::uint8_t channel[kChannels];
};

template <int kChannels>
std::uint32_t colourOf(Source<kChannels> source) {
  std::uint32_t colour = 0;
  for (int i = 0; i < kChannels; ++i) colour |= std::uint32_t{source.channel[i]} << (8 * i);
  return colour;
}

RvpStatus segmentGradientSize(RvpiSize roiSize, int* pBufferSize) {
  if (RvpStatus fault = firstFault(nullPointer(pBufferSize), badSize(roiSize))) return fault;
  // Above the 16 n + 27 bytes of the map (level_queue.h).
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
  using Pixel = Source<kChannels>;
  const Map map(reinterpret_cast<const Pixel*>(pSrc), srcStep, pMarker, markerStep, roiSize, pBuffer,
                [](Pixel pixel, std::uint8_t label) { return cellOf(colourOf(pixel), label); });
  const int boundary = boundaryNeighbours(segmentFlags);
  if (norm == rvpConnect4) {
    GradientGrowth<4>(map, boundary).run();
  } else {
    GradientGrowth<8>(map, boundary).run();
  }
  map.copyLabels();
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
