// Boundaries against the formula, and with costs against the walk over all pairs.
#include "segment/boundaries.h"

#include "support/test.h"

namespace {

using namespace test;
using rvp::n8::CountedLevel;

// Regions of a few pixels or of many, among them boundaries and zeros.
template <class Label>
Plane<Label> regions(int width, int height, unsigned seed, int cell) {
  const Plane<std::uint32_t> noise = randomPlane<std::uint32_t>(width, height, seed);
  return planeOf<Label>(width, height, [&](int y, int x) {
    const std::uint32_t value = noise.at(y / cell * cell, x / cell * cell) / 64 % 5;
    return value == 4 ? -1 : static_cast<int>(value * 77);
  });
}

// `takesLater(y, x, earlierY, earlierX)`.
template <class Label, class Choice>
Plane<Label> expected(Plane<Label> p, Label val, bool use4, const Choice& takesLater) {
  forElements(p, [&](int y, int x) {
    for (const auto& [dy, dx] : {std::pair{0, -1}, {-1, 0}, {-1, -1}, {-1, 1}}) {
      if (!p.holds(y + dy, x + dx) || (use4 && dx != 0 && dy != 0)) continue;
      Label& other = p.at(y + dy, x + dx);
      if (p.at(y, x) == val || other == val || other == p.at(y, x)) continue;
      (takesLater(y, x, y + dy, x + dx) ? p.at(y, x) : other) = val;
    }
  });
  return p;
}

template <class Label>
constexpr auto kBound = rvpiBoundSegments_8u_C1IR;
template <>
constexpr auto kBound<std::uint16_t> = rvpiBoundSegments_16u_C1IR;

template <class Label>
void checkBoundaries(const Shape& shape) {
  for (const int cell : {1, 4, 40}) {
    const Plane<Label> labels = regions<Label>(shape.width, shape.height, shape.seed, cell);
    for (const int norm : {rvpConnect8, rvpConnect4}) {
      for (const auto val : {static_cast<Label>(-1), Label{0}, Label{77}}) {
        const auto later = [](int, int, int, int) { return true; };
        Guarded<Label> image(labels, shape.placing);
        ASSERT_EQ(call(kBound<Label>, image, image.size(), val, norm), rvpStatusOk);
        ASSERT_TRUE(same(expected(labels, val, norm == rvpConnect4, later), image));
      }
    }
  }
}

template <class Label, class Cost, class Random>
void checkCosts(const Shape& shape, const Random& cost) {
  const auto costs = changed<Cost>(randomPlane<std::uint32_t>(shape.width, shape.height, shape.seed + 9),
                                   [&](std::uint32_t noise) { return cost(noise / 256); });
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
      ASSERT_TRUE(same(result, image));
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

TEST(BoundSegments, ReportsTheFirstOfTwoFaults) {
  std::uint16_t p[4] = {1, 2};
  const auto check = [&]<class Label>(Label* image) {
    constexpr int kRow = 2 * sizeof(Label);
    expectFirstOfTwo(kBound<Label>,
                     {nulls<>, badSizes, shortSteps<>, oddSteps<>, at<4>(rvpStatusBadArgument, 2, -1)}, image, kRow,
                     {2, 1}, Label{9}, 0);
  };
  check(p);
  check(reinterpret_cast<std::uint8_t*>(p));
}

FUZZ(boundaries, input) {
  tryShape(input.shape(), [&](const Shape& shape) {
    input.flag() ? checkBoundaries<std::uint8_t>(shape) : checkBoundaries<std::uint16_t>(shape);
  });
}

}  // namespace
