// Fast marching against its fixed point, found by trying every pixel again and again.
#include "distance/fmm_sub.h"
#include "support/test.h"

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
  const auto check = [](const Shape& shape) {
    for (const unsigned kind : {0U, 1U, 2U}) {
      for (const float radius : {0.0f, 2.9f, std::numeric_limits<float>::infinity()})
        checkShape(shape, blobs(shape.width, shape.height, shape.seed, kind), radius);
    }
  };
  for (const int threads : {1, 2, 8}) {
    for (const int height : {5, 6, 7, 40, 97}) {
      for (const int width : {1, 33, 90})
        tryShape({width, height, {1, 1}, threads, static_cast<unsigned>(height + width)}, check);
    }
    sweepCliffs({{1, 5}, {1, 21}, {31, 6}, {32, 5}, {33, 21}, {75, 1}, {75, 6}}, threads, check);
  }
}

// Fronts that run across the seam, along corridors and around corners; and masks of one kind only.
TEST(FastMarching, CrossesTheSeamBothWays) {
  for (const int threads : {1, 2}) {
    tryShape({100, 80, {}, threads, 0}, [](const Shape& shape) {
      for (const std::uint8_t around : {std::uint8_t{0}, std::uint8_t{1}}) {
        for (const auto& [y, x] : {std::pair{0, 0}, {79, 99}, {40, 50}, {38, 0}}) {
          Mask mask(100, 80, around);
          mask.at(y, x) ^= 1U;
          checkShape(shape, mask, 1000);
        }
        checkShape(shape, Mask(100, 80, around), 2);
      }
    });
  }
}

TEST(FastMarching, ReportsTheFirstOfTwoFaults) {
  const std::uint8_t src[8] = {};
  float dst[8] = {5};
  std::uint8_t scratch[2000];
  expectFirstOfTwo(rvpiFastMarching_8u32f_C1R,
                   {nulls<>, badSizes, shortSteps<>, oddSteps<>, at<5>(rvpStatusBadArgument, -1e-30f)}, src, 4, dst,
                   16, {4, 2}, 1, scratch);
  constexpr float kNan = std::numeric_limits<float>::quiet_NaN();
  EXPECT_EQ(rvpiFastMarching_8u32f_C1R(src, 4, dst, 16, {4, 1}, kNan, scratch), rvpStatusOk);
  int size = -1;
  expectFirstOfTwo(kBytes, {nulls<>, badSizes}, {4, 4}, &size);
  EXPECT_EQ(bytesOf(kBytes, RvpiSize{1, 1}), 35 * 37 + 40);
  EXPECT_EQ(bytesOf(kBytes, RvpiSize{65, 100}), 134 * 101 + 40);
}

TEST(FastMarching, IntegerTableFollowsItsFormula) {
  for (int d = 0; d <= 64; ++d)
    EXPECT_EQ(rvp::n8::FMM_SUB[d], std::lround(64 - (d + std::sqrt(2 * 64 * 64 - d * d)) / 2)) << d;
}

FUZZ(fast_marching, input) {
  tryShape(input.shape(), [&](const Shape& shape) {
    const Mask mask = input.flag()
                          ? blobs(shape.width, shape.height, shape.seed, static_cast<unsigned>(input.between(0, 2)))
                          : input.plane<std::uint8_t>(shape.width, shape.height);
    checkShape(shape, mask, static_cast<float>(input.between(0, 40)) / 4);
  });
}

}  // namespace
