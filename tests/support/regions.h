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

// The four nearest neighbours, and the four at the corners.
inline constexpr std::array<Place, 8> kAround = {
    {{0, -1}, {0, 1}, {-1, 0}, {1, 0}, {-1, -1}, {-1, 1}, {1, -1}, {1, 1}}};
inline Place next(Place p, int i) {
  const Place step = kAround[static_cast<std::size_t>(i)];
  return {p.y + step.y, p.x + step.x};
}

// Walks from `start` to its neighbours inside the plane and on to theirs, wherever enter(from, to) says so. The
// walk does not remember where it was: enter must refuse what it has already let in.
template <class T, class Enter>
void forNeighbours(const Plane<T>& plane, bool withDiagonals, Place start, const Enter& enter) {
  std::vector<Place> open = {start};
  while (!open.empty()) {
    const Place from = open.back();
    open.pop_back();
    for (int i = 0; i < (withDiagonals ? 8 : 4); ++i) {
      const Place to = next(from, i);
      if (plane.holds(to.y, to.x) && enter(from, to)) open.push_back(to);
    }
  }
}

enum class Pattern { empty, full, columns, rows, checkerboard, comb, hangingComb, spiral };
inline constexpr std::array kPatterns = {Pattern::empty,       Pattern::full,         Pattern::columns,
                                         Pattern::rows,        Pattern::checkerboard, Pattern::comb,
                                         Pattern::hangingComb, Pattern::spiral};

// One path, one pixel wide, from the corner to the middle.
inline Plane<std::uint8_t> spiralPlane(int width, int height) {
  Plane<std::uint8_t> plane(width, height);
  const auto isFree = [&](int y, int x) { return !plane.holds(y, x) || plane.at(y, x) == 0; };
  int y = 0;
  int x = 0;
  int dy = 0;
  int dx = 1;
  plane.at(0, 0) = 200;
  for (int turns = 0; turns < 2;) {
    const int nextY = y + dy;
    const int nextX = x + dx;
    if (plane.holds(nextY, nextX) && plane.at(nextY, nextX) == 0 && isFree(nextY + dy, nextX + dx)) {
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
  return planeOf<std::uint8_t>(width, height, [=](int y, int x) {
    const bool isSet = pattern == Pattern::full || (pattern == Pattern::columns && x % 2 == 0) ||
                       (pattern == Pattern::rows && y % 2 == 0) ||
                       (pattern == Pattern::checkerboard && (x + y) % 2 == 0) ||
                       (pattern == Pattern::comb && (x % 2 == 0 || y == height - 1)) ||
                       (pattern == Pattern::hangingComb && (x % 2 == 1 || y == 0));
    return isSet ? 200 : 0;
  });
}

}  // namespace test
