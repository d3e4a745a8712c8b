// Growing regions from markers in the order of a level from 0 to 255: a queue of pixels, and a map of labels that
// needs no test for the image's edge.
//
// A pixel is a place in the map: row y, column x of an image of `width` columns is y * (width + 1) + x. Each row of
// the map so ends with one pixel of frame, which is also the pixel before the next row; rows of frame lie above the
// first row and below the last one.
#pragma once

#include <algorithm>
#include <bit>
#include <cstddef>
#include <cstdint>

#include "frame/views.h"
#include "rvpcv/segment.h"

namespace rvp::n8 {

// First in, first out queues, one for each level, of which the lowest is served first. A pixel that waits names the
// one behind it, so a pixel may enter once until it has left.
class LevelQueue {
 public:
  static constexpr std::int32_t kNone = -1;  // No pixel is behind, or there is none at all.

  // `links` has an entry for every pixel, of any content.
  explicit LevelQueue(std::int32_t* links) : links_(links) { std::fill_n(first_, kLevels, kNone); }

  void push(int level, std::int32_t pixel) {
    links_[pixel] = kNone;
    if (first_[level] == kNone) {
      first_[level] = pixel;
      filled_[level / 64] |= std::uint64_t{1} << (level % 64);
    } else {
      links_[last_[level]] = pixel;
    }
    last_[level] = pixel;
  }

  // The lowest level at which a pixel waits, or kNone.
  int lowest() const {
    for (int word = 0; word < kWords; ++word) {
      if (filled_[word] != 0) return word * 64 + std::countr_zero(filled_[word]);
    }
    return kNone;
  }

  // The first pixel at a level at which one waits.
  std::int32_t pop(int level) {
    const std::int32_t pixel = first_[level];
    first_[level] = links_[pixel];
    if (first_[level] == kNone) filled_[level / 64] &= ~(std::uint64_t{1} << (level % 64));
    return pixel;
  }

 private:
  static constexpr int kLevels = 256;
  static constexpr int kWords = kLevels / 64;

  std::int32_t* links_;
  std::int32_t first_[kLevels];
  std::int32_t last_[kLevels];
  std::uint64_t filled_[kWords] = {};
};

// The queue's links, the image's pixels and the map, one after the other in the caller's scratch at its first
// multiple of 4: with n = (width + 1) * height, at most 3 + 4 n + n * sizeof(Pixel) + (n + 2 * width + 3) *
// sizeof(Label) bytes.
template <class Pixel, class Label>
class GrowthMap {
 public:
  // Frame, wall, boundary: no region.
  static constexpr auto kWall = static_cast<Label>(-1);

  GrowthMap(const Pixel* pSrc, int srcStep, const Label* pMarker, int markerStep, RvpiSize size,
            std::uint8_t* scratch)
      : step_(size.width + 1), rows_(size.height), width_(size.width) {
    const std::ptrdiff_t pixels = static_cast<std::ptrdiff_t>(step_) * rows_;
    links = reinterpret_cast<std::int32_t*>(alignedUp(scratch, sizeof(std::int32_t)));
    // Labels stand before pixels, since they may be the wider ones.
    Label* map = reinterpret_cast<Label*>(links + pixels);
    labels = map + step_ + 1;
    auto* copy = reinterpret_cast<Pixel*>(labels + pixels + step_);
    src = copy;
    std::fill(map, labels, kWall);
    for (std::ptrdiff_t y = 0; y < rows_; ++y) {
      std::copy_n(row(pSrc, srcStep, y), width_, copy + y * step_);
      Label* to = std::copy_n(row(pMarker, markerStep, y), width_, labels + y * step_);
      *to = kWall;
    }
    std::fill_n(labels + pixels, step_, kWall);
    // The order in which all regions are grown.
    const std::int32_t around[] = {-1, 1, -step_, step_, -step_ - 1, -step_ + 1, step_ - 1, step_ + 1};
    std::copy_n(around, 8, neighbours_);
  }

  std::int32_t neighbour(std::int32_t pixel, int number) const { return pixel + neighbours_[number]; }

  // Calls body(pixel) for the pixels of the image in raster order.
  template <class Body>
  void forPixels(const Body& body) const {
    for (std::int32_t y = 0; y < rows_; ++y) {
      for (std::int32_t x = 0; x < width_; ++x) body(y * step_ + x);
    }
  }

  void copyLabels(Label* pMarker, int markerStep) const {
    for (std::ptrdiff_t y = 0; y < rows_; ++y) std::copy_n(labels + y * step_, width_, row(pMarker, markerStep, y));
  }

  std::int32_t* links;
  Label* labels;
  const Pixel* src;

 private:
  std::int32_t step_;
  std::int32_t rows_;
  std::int32_t width_;
  std::int32_t neighbours_[8];
};

// Which neighbours tell a boundary: none, the first 4 or all 8.
constexpr int boundaryNeighbours(int segmentFlags) {
  if ((segmentFlags & rvpSegmentBoundaries4) != 0) return 4;
  return (segmentFlags & rvpSegmentBoundaries8) != 0 ? 8 : 0;
}

}  // namespace rvp::n8
