// The shapes that every kernel has to stand: all widths up to two of the widest vectors and a few more, steps and
// addresses that fit no vector, and images on both sides of the size from which a team works on them.
#pragma once

#include <gtest/gtest.h>

#include <string>

#include "rvpcore.h"
#include "support/images.h"

namespace test {

struct Shape {
  int width;
  int height;
  Placing placing;
  int threads;
  unsigned seed;
};

inline std::string describe(const Shape& shape) {
  return "width " + std::to_string(shape.width) + ", height " + std::to_string(shape.height) + ", gap " +
         std::to_string(shape.placing.gap) + ", shift " + std::to_string(shape.placing.shift) + ", threads " +
         std::to_string(shape.threads) + ", seed " + std::to_string(shape.seed);
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
