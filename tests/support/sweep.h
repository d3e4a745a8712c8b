// The shapes that every kernel has to stand: all widths up to two of the widest vectors and a few more, steps and
// addresses that fit no vector, rows at unreadable pages, and images on both sides of the size from which a team
// works on them.
#pragma once

#include <gtest/gtest.h>

#include <sstream>
#include <string>

#include "rvpcore.h"
#include "support/images.h"

namespace test {

struct Shape {
  int width = 0;
  int height = 0;
  Placing placing = {};
  int threads = 1;
  unsigned seed = 0;

  RvpiSize size() const { return {width, height}; }
  // Where a block of memory lies: at an address that fits nothing, or on the images' cliff.
  Placing anywhere() const { return {0, static_cast<int>(seed % 64), placing.cliff}; }
};

// What a failed check is told with.
template <class... A>
std::string words(const A&... all) {
  std::ostringstream text;
  ((text << all << ' '), ...);
  return text.str();
}

inline std::string describe(const Shape& shape) {
  const auto [gap, shift, cliff] = shape.placing;
  return words("width", shape.width, "height", shape.height, "gap", gap, "shift", shift, "cliff",
               static_cast<int>(cliff), "threads", shape.threads, "seed", shape.seed);
}

// Calls body(Shape) for one shape after the other, until one fails.
template <class Body>
void tryShape(const Shape& shape, const Body& body) {
  if (testing::Test::HasFailure()) return;
  SCOPED_TRACE(describe(shape));
  ASSERT_EQ(rvpSetNumThreads(shape.threads), rvpStatusOk);
  body(shape);
}

// Two vectors of 32 bytes and three more.
constexpr int kWidestSmall = 67;

template <class Body>
void sweepSmall(const Body& body) {
  for (int width = 1; width <= kWidestSmall; ++width) {
    const auto seed = static_cast<unsigned>(width);
    tryShape({width, 1 + width % 3, {0, 0}, 2, seed}, body);
    tryShape({width, 3, {1, width % 4}, 1, seed + 100}, body);
    tryShape({width, 2, {5, (width / 4 + 1) % 4}, 2, seed + 200}, body);
    tryShape({width, 2, {0, 0, Cliff::before}, 1, seed + 300}, body);
    tryShape({width, 2, {0, 0, Cliff::behind}, 1, seed + 400}, body);
  }
}

// Images of further sizes at unreadable pages.
template <class Body>
void sweepCliffs(std::initializer_list<RvpiSize> sizes, int threads, const Body& body) {
  for (const RvpiSize size : sizes) {
    for (const Cliff cliff : {Cliff::before, Cliff::behind})
      tryShape({size.width, size.height, {0, 0, cliff}, threads, static_cast<unsigned>(size.width)}, body);
  }
}

// Images of at least `pixels` pixels: one row, few rows for many threads, and rows that no team divides evenly.
template <class Body>
void sweepTeams(int pixels, const Body& body) {
  for (const int threads : {1, 2, 3, 8}) {
    tryShape({pixels, 1, {}, threads, 301}, body);
    tryShape({pixels / 3 + 1, 3, {3, 1}, threads, 302}, body);
    tryShape({1009, pixels / 1009 + 1, {7, 3}, threads, 303}, body);
  }
}

}  // namespace test
