// The spans that a flood fill has found and not yet explored. Two containers, which differ in the order in which
// they serve spans and in what they do when their memory is full.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <utility>

#include "rvpcv/types.h"

namespace rvp::n8 {

struct FloodSpan {
  std::int32_t y;            // its row
  std::int32_t left;         // its first column
  std::int32_t right;        // its last column
  std::int32_t parentLeft;   // first and last column of the span from which this one was found,
  std::int32_t parentRight;  // which need not be looked at again
  std::int32_t dir;          // +1 or -1: the parent's row is y + dir
};

// A span with no parent: both rows beside it are looked at in full. The row y + dir lies in the image, which has at
// least two.
inline FloodSpan spanWithoutParent(std::ptrdiff_t y, std::ptrdiff_t left, std::ptrdiff_t right,
                                   std::ptrdiff_t height) {
  // The last column's number is below 2^31 - 1, so that one more fits.
  return {static_cast<std::int32_t>(y),         static_cast<std::int32_t>(left),  static_cast<std::int32_t>(right),
          static_cast<std::int32_t>(right + 1), static_cast<std::int32_t>(right), y == height - 1 ? -1 : 1};
}

// Last in, first out. Forgets all it holds in the moment in which it is full.
class ForgetfulStack {
 public:
  ForgetfulStack(std::uint8_t* memory, std::ptrdiff_t capacity)
      : spans_(reinterpret_cast<FloodSpan*>(memory)), capacity_(capacity) {}

  void push(const FloodSpan& span) {
    spans_[count_++] = span;
    if (count_ == capacity_) count_ = 0;
  }

  bool pop(FloodSpan& span) {
    if (count_ == 0) return false;
    span = spans_[--count_];
    return true;
  }

 private:
  FloodSpan* spans_;
  std::ptrdiff_t capacity_;
  std::ptrdiff_t count_ = 0;
};

// Forgets nothing, and serves spans in generations: those that were found from spans of one generation are the next
// one, in the order in which they were found. The front so moves over the image evenly, and comes to what is next
// to each other in the memory at about the same time.
//
// Where a generation has no more room, a span is put down in a map with a byte for each pixel, and taken up again
// when no generation is left, without its parent. Two such spans that touch become one.
//
// The map costs nothing as long as it is not needed, and little when it is. It is searched from where the last span
// was found, and from its start again only if a span was put down behind that place; for which a generation must
// have become full since the last search began there, of spans that no one had found before.
class PatientQueue {
 public:
  // Bytes of the map, which lies behind the spans.
  static std::ptrdiff_t mapBytes(RvpiSize size) { return static_cast<std::ptrdiff_t>(size.width) * size.height; }

  PatientQueue(std::uint8_t* memory, std::ptrdiff_t bytes, RvpiSize size)
      : capacity_((bytes - mapBytes(size)) / (2 * static_cast<std::ptrdiff_t>(sizeof(FloodSpan)))),
        present_(reinterpret_cast<FloodSpan*>(memory)),
        next_(present_ + capacity_),
        map_(memory + bytes - mapBytes(size)),
        size_(size) {}

  void push(const FloodSpan& span) {
    if (nextCount_ == capacity_) [[unlikely]] {
      putDown(span);
    } else {
      next_[nextCount_++] = span;
    }
  }

  bool pop(FloodSpan& span) {
    if (at_ == presentCount_) {
      if (nextCount_ == 0) return pixelsInMap_ != 0 && takeUp(span);
      std::swap(present_, next_);
      presentCount_ = nextCount_;
      nextCount_ = 0;
      at_ = 0;
    }
    span = present_[at_++];
    return true;
  }

 private:
  static constexpr std::uint8_t kPending = 1;

  [[gnu::noinline]] void putDown(const FloodSpan& span) {
    if (!isMapClear_) std::memset(map_, 0, static_cast<std::size_t>(mapBytes(size_)));
    isMapClear_ = true;
    const std::ptrdiff_t pixels = std::ptrdiff_t{span.right} - span.left + 1;
    std::memset(map_ + std::ptrdiff_t{span.y} * size_.width + span.left, kPending,
                static_cast<std::size_t>(pixels));
    pixelsInMap_ += pixels;
  }

  std::uint8_t* search(std::ptrdiff_t from) const {
    return static_cast<std::uint8_t*>(
        std::memchr(map_ + from, kPending, static_cast<std::size_t>(mapBytes(size_) - from)));
  }

  [[gnu::noinline]] bool takeUp(FloodSpan& span) {
    std::uint8_t* first = search(searched_);
    if (first == nullptr) first = search(0);
    const std::ptrdiff_t y = (first - map_) / size_.width;
    const std::ptrdiff_t left = (first - map_) % size_.width;
    std::ptrdiff_t pixels = 1;
    while (left + pixels < size_.width && first[pixels] == kPending) ++pixels;
    std::memset(first, 0, static_cast<std::size_t>(pixels));
    pixelsInMap_ -= pixels;
    searched_ = first + pixels - map_;
    span = spanWithoutParent(y, left, left + pixels - 1, size_.height);
    return true;
  }

  std::ptrdiff_t capacity_;  // of a generation
  FloodSpan* present_;
  FloodSpan* next_;
  std::ptrdiff_t at_ = 0;
  std::ptrdiff_t presentCount_ = 0;
  std::ptrdiff_t nextCount_ = 0;
  std::uint8_t* map_;
  RvpiSize size_;
  bool isMapClear_ = false;
  std::ptrdiff_t pixelsInMap_ = 0;
  std::ptrdiff_t searched_ = 0;
};

}  // namespace rvp::n8
