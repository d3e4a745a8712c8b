// Regions for references that walk from neighbour to neighbour, and shapes that are hard on what follows regions.
#pragma once

#include <array>
#include <cstdint>
#include <utility>
#include <vector>

#include "support/images.h"

namespace test {

struct Place {
  int y;
  int x;
};

// Walks from `start` to its neighbours inside the plane and on to theirs, wherever enter(from, to) says so. The
// walk does not remember where it was: enter must refuse what it has already let in.
template <class T, class Enter>
void forNeighbours(const Plane<T>& plane, bool withDiagonals, Place start, const Enter& enter) {
  std::vector<Place> open = {start};
  while (!open.empty()) {
    const Place from = open.back();
    open.pop_back();
    for (int dy = -1; dy <= 1; ++dy) {
      for (int dx = -1; dx <= 1; ++dx) {
        const Place to = {from.y + dy, from.x + dx};
        if ((dy == 0 && dx == 0) || (dy != 0 && dx != 0 && !withDiagonals)) continue;
        if (to.y < 0 || to.y >= plane.height || to.x < 0 || to.x >= plane.width) continue;
        if (enter(from, to)) open.push_back(to);
      }
    }
  }
}

enum class Pattern { empty, full, columns, rows, checkerboard, comb, hangingComb, spiral };
constexpr std::array kPatterns = {Pattern::empty,        Pattern::full, Pattern::columns,     Pattern::rows,
                                  Pattern::checkerboard, Pattern::comb, Pattern::hangingComb, Pattern::spiral};

// One path, one pixel wide, from the corner to the middle.
inline Plane<std::uint8_t> spiralPlane(int width, int height) {
  Plane<std::uint8_t> plane(width, height);
  const auto isFree = [&](int y, int x) {
    return y < 0 || y >= height || x < 0 || x >= width || plane.at(y, x) == 0;
  };
  int y = 0;
  int x = 0;
  int dy = 0;
  int dx = 1;
  plane.at(0, 0) = 200;
  for (int turns = 0; turns < 2;) {
    const int nextY = y + dy;
    const int nextX = x + dx;
    const bool isInside = nextY >= 0 && nextY < height && nextX >= 0 && nextX < width;
    if (isInside && plane.at(nextY, nextX) == 0 && isFree(nextY + dy, nextX + dx)) {
      y = nextY;
      x = nextX;
      plane.at(y, x) = 200;
      turns = 0;
    } else {
      const int turned = dx;
      dx = -dy;
      dy = turned;
      ++turns;
    }
  }
  return plane;
}

// 200 on the pattern, 0 beside it.
inline Plane<std::uint8_t> patternPlane(Pattern pattern, int width, int height) {
  if (pattern == Pattern::spiral) return spiralPlane(width, height);
  Plane<std::uint8_t> plane(width, height);
  for (int y = 0; y < height; ++y) {
    for (int x = 0; x < width; ++x) {
      const bool isSet = pattern == Pattern::full || (pattern == Pattern::columns && x % 2 == 0) ||
                         (pattern == Pattern::rows && y % 2 == 0) ||
                         (pattern == Pattern::checkerboard && (x + y) % 2 == 0) ||
                         (pattern == Pattern::comb && (x % 2 == 0 || y == height - 1)) ||
                         (pattern == Pattern::hangingComb && (x % 2 == 1 || y == 0));
      plane.at(y, x) = isSet ? 200 : 0;
    }
  }
  return plane;
}

}  // namespace test
