// Fast marching against its fixed point, found by trying every pixel again and again.
#include <gtest/gtest.h>

#include <cmath>
#include <limits>

#include "distance/fmm_sub.h"
#include "rvpcv.h"
#include "support/calls.h"
#include "support/compare.h"
#include "support/sweep.h"

namespace {

using namespace test;
using Mask = Plane<std::uint8_t>;

float solved(float v, float h) {
  const float low = std::min(v, h);
  const float high = std::max(v, h);
  if (std::isinf(low)) return low;
  if (high - low >= 1) return low + 1;
  const double difference = static_cast<double>(high) - static_cast<double>(low);
  return static_cast<float>((double(low) + double(high) + std::sqrt(2 - difference * difference)) / 2);
}

Plane<float> expectedField(const Mask& mask, float radius) {
  constexpr float kNever = std::numeric_limits<float>::infinity();
  const auto isInside = [&](int y, int x) { return mask.holds(y, x) && mask.at(y, x) != 0; };
  Plane<float> times(mask.width, mask.height, kNever);
  const auto timeAt = [&](int y, int x) -> float {
    if (!times.holds(y, x)) return kNever;
    return times.at(y, x);
  };
  forElements(mask, [&](int y, int x) {
    const bool touches = isInside(y - 1, x) || isInside(y + 1, x) || isInside(y, x - 1) || isInside(y, x + 1);
    if (!isInside(y, x) && (touches || radius == 0)) times.at(y, x) = 0;
  });
  if (isInside(0, 0)) times.at(0, 0) = 999999;
  for (bool isChanged = true; isChanged;) {
    isChanged = false;
    forElements(mask, [&](int y, int x) {
      const float time =
          solved(std::min(timeAt(y - 1, x), timeAt(y + 1, x)), std::min(timeAt(y, x - 1), timeAt(y, x + 1)));
      if (time < times.at(y, x)) {
        times.at(y, x) = time;
        isChanged = true;
      }
    });
  }
  forElements(mask, [&](int y, int x) {
    float& t = times.at(y, x);
    if (isInside(y, x) || radius == 0) return;
    t = t == 0 ? -1e-10f : t <= radius + 1e-5f && std::isfinite(t) ? -t : 0;
  });
  return times;
}

// Blobs of a few pixels, or single pixels of the lesser kind.
Mask blobs(int width, int height, unsigned seed, unsigned kind) {
  const Plane<std::uint32_t> noise = randomPlane<std::uint32_t>(width, height, seed);
  return planeOf<std::uint8_t>(width, height, [&](int y, int x) {
    const std::uint32_t coarse = noise.at(y / 4 * 4, x / 5 * 5) / 256;
    const std::uint32_t fine = noise.at(y, x) / 256;
    const bool isInside = kind == 0 ? coarse % 3 != 0 : kind == 1 ? fine % 40 != 0 : fine % 40 == 0;
    return isInside ? 1 + fine % 255 : 0;
  });
}

constexpr auto kBytes = rvpiFastMarchingGetBufferSize_8u32f_C1R;

Plane<float> march(const Mask& mask, float radius) {
  Guarded<std::uint8_t> src(mask);
  Guarded<float> field(Plane<float>(mask.width, mask.height, -77.0f));
  Block scratch(bytesOf(kBytes, src.size()));
  EXPECT_EQ(call(rvpiFastMarching_8u32f_C1R, src, field, src.size(), radius, scratch), rvpStatusOk);
  return field.content();
}

template <class T>
Plane<T> transposed(const Plane<T>& plane) {
  return planeOf<T>(plane.height, plane.width, [&](int y, int x) { return plane.at(x, y); });
}

void checkShape(const Shape& shape, const Mask& mask, float radius) {
  SCOPED_TRACE("radius " + std::to_string(radius));
  Guarded<std::uint8_t> src(mask, shape.placing);
  Guarded<float> dst(Plane<float>(mask.width, mask.height, 5.0f), shape.placing);
  Block scratch(bytesOf(kBytes, src.size()), shape.anywhere());
  ASSERT_EQ(call(rvpiFastMarching_8u32f_C1R, src, dst, src.size(), radius, scratch), rvpStatusOk);
  ASSERT_TRUE(same(expectedField(mask, radius), dst));
  ASSERT_TRUE(same(mask, src));
}

TEST(FastMarching, ReachesTheFixedPointForEveryWidth) {
  sweepSmall([](const Shape& shape) {
    for (const unsigned kind : {0U, 1U, 2U}) {
      for (const float radius : {0.0f, 3.0f})
        checkShape(shape, blobs(shape.width, shape.height, shape.seed, kind), radius);
    }
  });
}

TEST(FastMarching, ReachesTheSameFixedPointOnTwoThreads) {
  for (const int threads : {1, 2, 8}) {
    for (const int height : {5, 6, 7, 40, 97}) {
      for (const int width : {1, 33, 90}) {
        tryShape({width, height, {1, 1}, threads, static_cast<unsigned>(height + width)}, [&](const Shape& shape) {
          for (const unsigned kind : {0U, 1U, 2U}) {
            for (const float radius : {0.0f, 2.9f, std::numeric_limits<float>::infinity()})
              checkShape(shape, blobs(width, height, shape.seed, kind), radius);
          }
        });
      }
    }
  }
}

// Fronts that run across the seam, along corridors and around corners; and masks of one kind only.
TEST(FastMarching, CrossesTheSeamBothWays) {
  for (const int threads : {1, 2}) {
    ASSERT_EQ(rvpSetNumThreads(threads), rvpStatusOk);
    for (const auto& [y, x] : {std::pair{0, 0}, {79, 99}, {40, 50}, {38, 0}}) {
      Mask point(100, 80);
      point.at(y, x) = 1;
      Mask hole(100, 80, 1);
      hole.at(y, x) = 0;
      for (const Mask& mask : {point, hole})
        EXPECT_TRUE(same(expectedField(mask, 1000), march(mask, 1000))) << "at " << y << ", " << x;
    }
    EXPECT_TRUE(same(expectedField(Mask(40, 30, 1), 2), march(Mask(40, 30, 1), 2)));
    EXPECT_TRUE(same(Plane<float>(40, 30), march(Mask(40, 30), 2)));
  }
}

TEST(FastMarching, DoesNotKnowRowsFromColumns) {
  ASSERT_EQ(rvpSetNumThreads(2), rvpStatusOk);
  const Mask mask = blobs(411, 283, 17, 0);
  EXPECT_TRUE(same(march(mask, 40), transposed(march(transposed(mask), 40))));
}

TEST(FastMarching, HoldsKnownDistances) {
  const auto halves = planeOf<std::uint8_t>(9, 20, [](int y, int) { return y < 8 ? 0 : 200; });
  const Plane<float> inside = march(halves, 0);
  const Plane<float> both = march(halves, 3);
  const float outside[] = {0, 0, 0, 0, -3, -2, -1, -1e-10f};
  for (int x = 0; x < 9; ++x) {
    for (int y = 0; y < 8; ++y) {
      EXPECT_EQ(inside.at(y, x), 0.0f);
      EXPECT_EQ(both.at(y, x), outside[y]);
    }
    for (int y = 8; y < 20; ++y) {
      EXPECT_EQ(inside.at(y, x), static_cast<float>(y - 7));
      EXPECT_EQ(both.at(y, x), static_cast<float>(y - 7));
    }
  }
  const Plane<float> unbounded = march(Mask(50, 3, 1), 0);
  for (int x = 0; x < 50; ++x) EXPECT_EQ(unbounded.at(0, x), 999999.0f + static_cast<float>(x));
}

// The front of a single outside pixel: accurate to the bounds that the reference states.
TEST(FastMarching, IsCloseToTheEuclideanDistance) {
  ASSERT_EQ(rvpSetNumThreads(2), rvpStatusOk);
  Mask mask(161, 161, 1);
  mask.at(80, 80) = 0;
  const Plane<float> field = march(mask, 0);
  for (int y = 0; y < 161; ++y) {
    for (int x = 0; x < 161; ++x) {
      const double exact = std::hypot(x - 80, y - 80);
      EXPECT_LE(field.at(y, x), exact * 1.208);
      EXPECT_GE(field.at(y, x), exact * 0.999);
      EXPECT_TRUE((x != 80 && y != 80) || field.at(y, x) == static_cast<float>(exact));
    }
  }
}

TEST(FastMarching, StaysWithinItsMemory) {
  for (const int threads : {1, 2}) {
    sweepCliffs({{1, 5}, {1, 21}, {31, 6}, {32, 5}, {33, 21}, {75, 1}, {75, 6}}, threads,
                [](const Shape& shape) { checkShape(shape, blobs(shape.width, shape.height, 3, 0), 2); });
  }
}

TEST(FastMarching, ChecksInOrder) {
  const std::uint8_t src[8] = {};
  float dst[8] = {5};
  std::uint8_t scratch[2000];
  const auto run = [&](const std::uint8_t* from, int srcStep, float* to, int dstStep, RvpiSize size, float radius,
                       std::uint8_t* buffer) {
    return rvpiFastMarching_8u32f_C1R(from, srcStep, to, dstStep, size, radius, buffer);
  };
  EXPECT_EQ(run(nullptr, 4, dst, 16, {0, 1}, 0, scratch), rvpStatusNullPointer);
  EXPECT_EQ(run(src, 4, nullptr, 16, {0, 1}, 0, scratch), rvpStatusNullPointer);
  EXPECT_EQ(run(src, 4, dst, 16, {0, 1}, 0, nullptr), rvpStatusNullPointer);
  EXPECT_EQ(run(src, -1, dst, 16, {0, 1}, 0, scratch), rvpStatusBadSize);
  EXPECT_EQ(run(src, 4, dst, -1, {4, 0}, 0, scratch), rvpStatusBadSize);
  EXPECT_EQ(run(src, 3, dst, 17, {4, 1}, -1, scratch), rvpStatusBadStep);
  EXPECT_EQ(run(src, 4, dst, 15, {4, 1}, -1, scratch), rvpStatusBadStep);
  EXPECT_EQ(run(src, 4, dst, 18, {4, 1}, -1, scratch), rvpStatusStepNotMultiple);
  EXPECT_EQ(run(src, 4, dst, 16, {4, 1}, -1e-30f, scratch), rvpStatusBadArgument);
  EXPECT_EQ(dst[0], 5.0f);
  EXPECT_EQ(run(src, 4, dst, 16, {4, 1}, std::numeric_limits<float>::quiet_NaN(), scratch), rvpStatusOk);
  int size = -1;
  EXPECT_EQ(rvpiFastMarchingGetBufferSize_8u32f_C1R({0, 0}, nullptr), rvpStatusNullPointer);
  EXPECT_EQ(rvpiFastMarchingGetBufferSize_8u32f_C1R({4, 0}, &size), rvpStatusBadSize);
  EXPECT_EQ(rvpiFastMarchingGetBufferSize_8u32f_C1R({0, 4}, &size), rvpStatusBadSize);
  EXPECT_EQ(size, -1);
  EXPECT_EQ(bytesOf(kBytes, RvpiSize{1, 1}), 35 * 37 + 40);
  EXPECT_EQ(bytesOf(kBytes, RvpiSize{65, 100}), 134 * 101 + 40);
}

TEST(FastMarching, IntegerTableFollowsItsFormula) {
  for (int d = 0; d <= 64; ++d)
    EXPECT_EQ(rvp::n8::FMM_SUB[d], std::lround(64 - (d + std::sqrt(2 * 64 * 64 - d * d)) / 2)) << d;
}

}  // namespace
