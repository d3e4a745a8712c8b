// The pixels around a region, by the formula of each border mode, for references that filter.
#pragma once

#include <vector>

#include "rvpcv/types.h"
#include "support/images.h"

namespace test {

constexpr int kOutside = -1;

// The column or row among 0 to n - 1 that stands for i, walking there step by step; kOutside for the constant.
inline int standIn(int mode, int i, int n) {
  if (i >= 0 && i < n) return i;
  if (mode == rvpBorderConst) return kOutside;
  if (mode == rvpBorderRepl || (mode == rvpBorderMirror && n == 1)) return i < 0 ? 0 : n - 1;
  const int edge = mode == rvpBorderMirrorEdge ? 1 : 0;
  while (i < 0 || i >= n) i = i < 0 ? -i - edge : 2 * (n - 1) - i + edge;
  return i;
}

// A region inside a larger image, with `margin` pixels of memory on all sides, and what a selector makes of it.
template <class T>
struct Bordered {
  Plane<T> memory;  // The region and its margin.
  int margin;
  RvpiBorderType border;
  T value;
  // How many pixels on a side in memory a mirror on the opposite side may turn to.
  struct {
    int left = 0, top = 0, right = 0, bottom = 0;
  } turn = {};

  int width() const { return memory.width - 2 * margin; }
  int height() const { return memory.height - 2 * margin; }

  bool inMemory(int flag) const { return (border & 15) == rvpBorderInMem || (border & flag) != 0; }

  // The coordinate that is read in one direction.
  int place(int i, int n, int flagBefore, int flagBehind, int turnBefore, int turnBehind) const {
    if ((i < 0 && inMemory(flagBefore)) || (i >= n && inMemory(flagBehind))) return i;
    const int before = inMemory(flagBefore) ? turnBefore : 0;
    const int behind = inMemory(flagBehind) ? turnBehind : 0;
    return standIn(border & 15, i + before, before + n + behind) - before;
  }

  T at(int x, int y) const {
    const bool outsideX =
        (x < 0 && !inMemory(rvpBorderInMemLeft)) || (x >= width() && !inMemory(rvpBorderInMemRight));
    const bool outsideY =
        (y < 0 && !inMemory(rvpBorderInMemTop)) || (y >= height() && !inMemory(rvpBorderInMemBottom));
    if ((border & 15) == rvpBorderConst && (outsideX || outsideY)) return value;
    return memory.at(place(y, height(), rvpBorderInMemTop, rvpBorderInMemBottom, turn.top, turn.bottom) + margin,
                     place(x, width(), rvpBorderInMemLeft, rvpBorderInMemRight, turn.left, turn.right) + margin);
  }
};

// Every mode, alone and with side flags.
inline std::vector<RvpiBorderType> someBorders() {
  return {rvpBorderConst,           rvpBorderRepl,        rvpBorderMirror,
          rvpBorderInMem,           rvpBorderRepl | 64,   rvpBorderMirror | 16 | 128,
          rvpBorderConst | 32 | 64, rvpBorderConst | 0xF0};
}

// The part of the memory that a selector lets a filter read: a margin only on the sides in memory, `before` pixels
// of it to the left and above.
template <class T>
struct FlaggedSides {
  Plane<T> part;
  int left, top;  // Where the region begins in it.
};
template <class T>
FlaggedSides<T> flaggedSides(const Bordered<T>& image, int before) {
  const auto beyond = [&](int flag, int count) { return image.inMemory(flag) ? count : 0; };
  const int left = beyond(rvpBorderInMemLeft, before), top = beyond(rvpBorderInMemTop, before);
  const int width = left + image.width() + beyond(rvpBorderInMemRight, image.margin);
  const int height = top + image.height() + beyond(rvpBorderInMemBottom, image.margin);
  const auto at = [&](int y, int x) { return image.memory.at(y + image.margin - top, x + image.margin - left); };
  return {planeOf<T>(width, height, at), left, top};
}

// The image begins, or ends, each row at an unreadable page.
template <class T>
class OnlyFlaggedSides {
 public:
  OnlyFlaggedSides(const Bordered<T>& image, Cliff cliff) : OnlyFlaggedSides(image, cliff, image.margin) {}
  OnlyFlaggedSides(const Bordered<T>& image, Cliff cliff, int before)
      : sides_(flaggedSides(image, before)), cliff_(sides_.part, cliff) {}

  const T* region() { return cliff_.row(sides_.top) + sides_.left; }
  int step() const { return cliff_.step(); }

 private:
  FlaggedSides<T> sides_;
  OnCliff<T> cliff_;
};

}  // namespace test
