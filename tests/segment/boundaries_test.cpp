// Boundaries against the formula, and with costs against the walk over all pairs.
#include "segment/boundaries.h"

#include <gtest/gtest.h>

#include "rvpcv.h"
#include "support/compare.h"
#include "support/sweep.h"

namespace {

using namespace test;
using rvp::n8::CountedLevel;

// Regions of a few pixels or of many, among them boundaries and zeros.
template <class Label>
Plane<Label> regions(int width, int height, unsigned seed, int cell) {
  const Plane<std::uint32_t> noise = randomPlane<std::uint32_t>(width, height, seed);
  Plane<Label> labels(width, height);
  for (int y = 0; y < height; ++y) {
    for (int x = 0; x < width; ++x) {
      const std::uint32_t value = noise.at(y / cell * cell, x / cell * cell) / 64 % 5;
      labels.at(y, x) = static_cast<Label>(value == 4 ? -1 : static_cast<int>(value * 77));
    }
  }
  return labels;
}

// `takesLater(y, x, earlierY, earlierX)`.
template <class Label, class Choice>
Plane<Label> expected(Plane<Label> p, Label val, bool use4, const Choice& takesLater) {
  for (int y = 0; y < p.height; ++y) {
    for (int x = 0; x < p.width; ++x) {
      for (const auto& [dy, dx] : {std::pair{0, -1}, {-1, 0}, {-1, -1}, {-1, 1}}) {
        if (y + dy < 0 || x + dx < 0 || x + dx >= p.width || (use4 && dx != 0 && dy != 0)) continue;
        Label& other = p.at(y + dy, x + dx);
        if (p.at(y, x) == val || other == val || other == p.at(y, x)) continue;
        (takesLater(y, x, y + dy, x + dx) ? p.at(y, x) : other) = val;
      }
    }
  }
  return p;
}

RvpStatus bound(std::uint8_t* p, int step, RvpiSize size, int val, int norm) {
  return rvpiBoundSegments_8u_C1IR(p, step, size, static_cast<std::uint8_t>(val), norm);
}
RvpStatus bound(std::uint16_t* p, int step, RvpiSize size, int val, int norm) {
  return rvpiBoundSegments_16u_C1IR(p, step, size, static_cast<std::uint16_t>(val), norm);
}

template <class Label>
void checkBoundaries(const Shape& shape) {
  for (const int cell : {1, 4, 40}) {
    const Plane<Label> labels = regions<Label>(shape.width, shape.height, shape.seed, cell);
    for (const int norm : {rvpConnect8, rvpConnect4}) {
      for (const int val : {static_cast<int>(static_cast<Label>(-1)), 0, 77}) {
        const Plane<Label> result =
            expected(labels, static_cast<Label>(val), norm == rvpConnect4, [](int, int, int, int) { return true; });
        Guarded<Label> image(labels, shape.placing);
        ASSERT_EQ(bound(image.data(), image.step(), image.size(), val, norm), rvpStatusOk);
        ASSERT_TRUE(same(result, image.content()));
        ASSERT_TRUE(image.intact());
      }
    }
  }
}

template <class Label, class Cost, class Random>
void checkCosts(const Shape& shape, const Random& cost) {
  const Plane<std::uint32_t> noise = randomPlane<std::uint32_t>(shape.width, shape.height, shape.seed + 9);
  Plane<Cost> costs(shape.width, shape.height);
  for (std::size_t i = 0; i < noise.elements.size(); ++i) costs.elements[i] = cost(noise.elements[i] / 256);
  for (const int cell : {1, 5}) {
    const Plane<Label> labels = regions<Label>(shape.width, shape.height, shape.seed, cell);
    for (const bool use4 : {false, true}) {
      const auto wall = static_cast<Label>(-1);
      const Plane<Label> result = expected(labels, wall, use4, [&](int y, int x, int earlierY, int earlierX) {
        return !(costs.at(y, x) < costs.at(earlierY, earlierX));
      });
      Guarded<Label> image(labels, shape.placing);
      rvp::n8::ownBoundSegments<Label, Cost>(image.data(), image.step(), costs.row(0),
                                             std::ptrdiff_t{sizeof(Cost)} * shape.width, image.size(), wall, use4);
      ASSERT_TRUE(same(result, image.content()));
      ASSERT_TRUE(image.intact());
    }
  }
}

TEST(BoundSegments, FollowsTheFormula) {
  sweepSmall([](const Shape& shape) {
    checkBoundaries<std::uint8_t>(shape);
    checkBoundaries<std::uint16_t>(shape);
  });
  for (const int threads : {1, 2, 8}) {
    tryShape({331, 120, {3, 1}, threads, 5}, checkBoundaries<std::uint8_t>);
    tryShape({331, 120, {3, 1}, threads, 6}, checkBoundaries<std::uint16_t>);
  }
}

TEST(BoundSegments, GivesTheBoundaryToTheHigherPixel) {
  const auto cost = [](std::uint32_t random) { return static_cast<std::int32_t>(random % 4); };
  const auto level = [](std::uint32_t random) {
    return CountedLevel{static_cast<float>(random % 3), random / 3 % 2};
  };
  sweepSmall([&](const Shape& shape) {
    checkCosts<std::uint8_t, std::int32_t>(shape, cost);
    checkCosts<std::uint16_t, std::int32_t>(shape, cost);
    checkCosts<std::uint16_t, CountedLevel>(shape, level);
  });
}

TEST(BoundSegments, StaysWithinTheImage) {
  for (const Cliff cliff : {Cliff::before, Cliff::behind}) {
    for (const int width : {1, 33, 34, 35, 100}) {
      const Plane<std::uint16_t> labels = regions<std::uint16_t>(width, 4, 2, 50);
      for (const int norm : {rvpConnect8, rvpConnect4}) {
        OnCliff<std::uint16_t> image(labels, cliff);
        ASSERT_EQ(bound(image.data(), image.step(), image.size(), 65535, norm), rvpStatusOk);
      }
    }
  }
}

TEST(BoundSegments, ChecksInOrder) {
  std::uint16_t p[4] = {1, 2};
  auto* bytes = reinterpret_cast<std::uint8_t*>(p);
  EXPECT_EQ(bound(static_cast<std::uint8_t*>(nullptr), 4, {0, 1}, 9, 2), rvpStatusNullPointer);
  EXPECT_EQ(bound(bytes, 0, {0, 1}, 9, 2), rvpStatusBadSize);
  EXPECT_EQ(bound(bytes, 0, {1, 0}, 9, 2), rvpStatusBadSize);
  EXPECT_EQ(bound(bytes, 1, {2, 1}, 9, 2), rvpStatusBadStep);
  EXPECT_EQ(bound(bytes, 2, {2, 1}, 9, 2), rvpStatusBadArgument);
  EXPECT_EQ(bound(bytes, 2, {2, 1}, 9, -1), rvpStatusBadArgument);
  EXPECT_EQ(bound(static_cast<std::uint16_t*>(nullptr), 4, {0, 1}, 9, 2), rvpStatusNullPointer);
  EXPECT_EQ(bound(p, 3, {2, 1}, 9, 2), rvpStatusBadStep);
  EXPECT_EQ(bound(p, 5, {2, 1}, 9, 2), rvpStatusStepNotMultiple);
  EXPECT_EQ(bound(p, 4, {2, 1}, 9, 2), rvpStatusBadArgument);
  EXPECT_EQ(p[1], 2);
}

}  // namespace
