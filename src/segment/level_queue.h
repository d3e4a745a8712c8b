// Growing regions from markers in the order of a level from 0 to 255: a queue of pixels, and a map of labels that
// needs no test for the image's edge.
#pragma once

#include <algorithm>
#include <bit>
#include <cstddef>
#include <cstdint>

#include "frame/views.h"
#include "rvpcv/segment.h"

namespace rvp::n8 {

// First in, first out queues, one for each level, of which the lowest is served first.
//
// A queue is a chain of blocks of the scratch, of a power of two entries each: pixels, and in the last entry the
// block that follows, as the number of its first entry. A block that has been read goes to a chain of free ones,
// from which the next block comes, so that the queues stay in the cache as long as few pixels wait.
class LevelQueue {
 public:
  static constexpr int kNone = -1;

  // With n pixels, of which each waits at most once at a time, the queues take 8 n bytes at most. A block of 2
  // entries holds one pixel that waits: 8 bytes for each. Of m entries, 4 to 64, n / (m - 1) blocks are full and
  // the first and last block of each level need not be: 4 m (n / (m - 1) + 512) bytes, which with m <= n / 1024 is
  // at most 16 / 3 n + 2 n.
  explicit LevelQueue(std::int32_t* entries, std::ptrdiff_t pixels)
      : entries_(entries),
        lastInBlock_(static_cast<std::int32_t>(std::bit_floor(std::clamp<std::size_t>(
                         static_cast<std::size_t>(pixels) / kPixelsForEntry, kLeastBlock, kGreatestBlock))) -
                     1) {}

  void push(int level, std::int32_t pixel) {
    Ends& ends = ends_[level];
    std::uint64_t& filled = filled_[level / 64];
    const std::uint64_t mark = std::uint64_t{1} << (level % 64);
    if ((filled & mark) == 0) {
      ends.first = ends.last = newBlock();
      filled |= mark;
    } else if ((ends.last & lastInBlock_) == lastInBlock_) {
      const std::int32_t block = newBlock();
      entries_[ends.last] = block;
      ends.last = block;
    }
    entries_[ends.last++] = pixel;
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
    Ends& ends = ends_[level];
    const std::int32_t pixel = entries_[ends.first++];
    if (ends.first == ends.last) {
      filled_[level / 64] &= ~(std::uint64_t{1} << (level % 64));
      freeBlock(ends.first);
    } else if ((ends.first & lastInBlock_) == lastInBlock_) {
      const std::int32_t next = entries_[ends.first];
      freeBlock(ends.first);
      ends.first = next;
    }
    return pixel;
  }

  // A pixel that will leave a level some time after the first one, if it is at hand, or kNone.
  std::int32_t later(int level) const {
    const Ends& ends = ends_[level];
    const bool isInBlock = (ends.first & lastInBlock_) + kLater < lastInBlock_;
    return isInBlock && ends.first + kLater < ends.last ? entries_[ends.first + kLater] : kNone;
  }

 private:
  static constexpr std::int32_t kLater = 6;
  static constexpr int kLevels = 256;
  static constexpr int kWords = kLevels / 64;
  static constexpr std::size_t kLeastBlock = 2;
  static constexpr std::size_t kGreatestBlock = 64;
  static constexpr std::size_t kPixelsForEntry = 1024;

  struct Ends {
    std::int32_t first;  // the first pixel's entry
    std::int32_t last;   // the entry behind the last pixel's
  };

  std::int32_t newBlock() {
    const std::int32_t block = free_;
    if (block == kNone) {
      const std::int32_t unused = unused_;
      unused_ += lastInBlock_ + 1;
      return unused;
    }
    free_ = entries_[block + lastInBlock_];
    return block;
  }

  // Of a block behind whose first entry `entry` stands.
  void freeBlock(std::int32_t entry) {
    const std::int32_t last = (entry - 1) | lastInBlock_;
    entries_[last] = free_;
    free_ = last - lastInBlock_;
  }

  std::int32_t* entries_;
  std::int32_t lastInBlock_;
  std::int32_t unused_ = 0;    // from here on no block has ever been in use
  std::int32_t free_ = kNone;  // the first block of those that have been
  std::uint64_t filled_[kWords] = {};
  Ends ends_[kLevels];
};

// The image and its markers, side by side in the caller's scratch, with a frame of walls. Row y, column x of an
// image of `width` columns is the cell y * (width + 1) + x: each row ends with one cell of frame, which is also the
// cell before the next row, and rows of frame lie above the first row and below the last one.
//
// An image of one row is held as one column. To its pixels nothing changes, as the neighbours above and below come
// in the same order as those to the left and right; but the frame of a column is narrower. So with n pixels there
// are at most 2 n + 6 cells: width + 1 times height + 2, and 2 more, is 2 n + 6 - (width - 1) * (height - 2).
template <class Pixel, class Label>
class GrowthMap {
 public:
  // Frame, wall, boundary: no region.
  static constexpr auto kWall = static_cast<Label>(-1);

  struct Cell {
    Pixel pixel;
    Label label;
  };

  // `cellOf` makes a cell of what stands in the source and of a label. In the scratch, from its first multiple of 4
  // on, the cells are followed by the queue's entries: with cells of 4 bytes at most, 16 n + 27 bytes.
  template <class Source, class CellOf>
  GrowthMap(const Source* pSrc, int srcStep, Label* pMarker, int markerStep, RvpiSize size, std::uint8_t* scratch,
            const CellOf& cellOf)
      : marker_(pMarker), markerStep_(markerStep), size_(size) {
    if (size.height == 1) {
      srcStep = sizeof(Source);
      markerStep_ = sizeof(Label);
      size_ = {1, size.width};
    }
    step_ = size_.width + 1;
    pixels_ = static_cast<std::ptrdiff_t>(step_) * size_.height;
    Cell* const first = reinterpret_cast<Cell*>(alignedUp(scratch, sizeof(std::int32_t)));
    Cell* const end = first + pixels_ + 2 * step_ + 2;
    cells = first + step_ + 1;
    entries_ =
        reinterpret_cast<std::int32_t*>(alignedUp(reinterpret_cast<std::uint8_t*>(end), sizeof(std::int32_t)));
    const Cell frame = {{}, kWall};
    std::fill(first, cells, frame);
    for (std::ptrdiff_t y = 0; y < size_.height; ++y) {
      const Source* src = row(pSrc, srcStep, y);
      const Label* labels = row(marker_, markerStep_, y);
      Cell* const to = cells + y * step_;
      for (std::ptrdiff_t x = 0; x < size_.width; ++x) to[x] = cellOf(src[x], labels[x]);
      to[size_.width] = frame;
    }
    std::fill(cells + pixels_, end, frame);
    // The order in which all regions are grown.
    const std::int32_t around[] = {-1, 1, -step_, step_, -step_ - 1, -step_ + 1, step_ - 1, step_ + 1};
    std::copy_n(around, 8, neighbours_);
  }

  LevelQueue queue() const { return LevelQueue(entries_, static_cast<std::ptrdiff_t>(size_.width) * size_.height); }

  std::int32_t step() const { return step_; }
  std::int32_t neighbour(std::int32_t pixel, int number) const { return pixel + neighbours_[number]; }

  // Fetches a pixel and those above and below into the cache.
  void prefetch(std::int32_t pixel) const {
    __builtin_prefetch(cells + pixel - step_);
    __builtin_prefetch(cells + pixel);
    __builtin_prefetch(cells + pixel + step_);
  }

  // Calls body(pixel) for the pixels of the image in raster order.
  template <class Body>
  void forPixels(const Body& body) const {
    for (std::int32_t y = 0; y < size_.height; ++y) {
      for (std::int32_t x = 0; x < size_.width; ++x) body(y * step_ + x);
    }
  }

  void copyLabels() const {
    for (std::ptrdiff_t y = 0; y < size_.height; ++y) {
      Label* const labels = row(marker_, markerStep_, y);
      for (std::ptrdiff_t x = 0; x < size_.width; ++x) labels[x] = cells[y * step_ + x].label;
    }
  }

  Cell* cells;

 private:
  Label* marker_;
  int markerStep_;
  RvpiSize size_;
  std::int32_t step_;
  std::ptrdiff_t pixels_;
  std::int32_t* entries_;
  std::int32_t neighbours_[8];
};

// Which neighbours tell a boundary: none, the first 4 or all 8.
constexpr int boundaryNeighbours(int segmentFlags) {
  if ((segmentFlags & rvpSegmentBoundaries4) != 0) return 4;
  return (segmentFlags & rvpSegmentBoundaries8) != 0 ? 8 : 0;
}

}  // namespace rvp::n8
