// Chamfer distances against two plain passes over a list of moves.
#include "support/test.h"

namespace {

using namespace test;

struct Move {
  int dx, dy;
  double cost;
};

// The moves by which a pixel is reached in the forward pass. Costs of float metrics are rounded to float, as double
// holds all that float and 32-bit integers can give. The tests of the metrics are told apart by `round`.
template <class T>
std::vector<Move> movesOf(std::vector<double> m) {
  const auto round = [](double v) { return std::is_same_v<T, float> ? double(float(v)) : v; };
  double axis = m[0];
  double diagonal = m[1];
  const double least = std::min(round(2 * axis), diagonal);
  bool isLarge = m.size() == 3 && round(axis + least) > m[2];
  std::vector<Move> moves;
  if (isLarge) {
    const double knight = m[2];
    if (!(least > axis && knight > round(2 * axis) && round(2 * knight) > round(3 * least))) {
      axis = std::min(round(3 * knight), axis);
      diagonal = std::min(round(2 * knight), least);
      const double two = std::min({round(2 * diagonal), round(2 * axis), round(2 * knight)});
      const double corner = std::min(round(knight + axis), round(2 * diagonal));
      moves = {{-2, 0, two}, {0, -2, two}, {-2, -2, corner}, {2, -2, corner}};
    }
    for (const int s : {-1, 1}) moves.insert(moves.end(), {{2 * s, -1, knight}, {s, -2, knight}});
  }
  moves.insert(moves.end(), {{-1, 0, axis}, {0, -1, axis}});
  if (isLarge || diagonal < round(2 * axis)) moves.insert(moves.end(), {{-1, -1, diagonal}, {1, -1, diagonal}});
  return moves;
}

template <class T>
Plane<T> expectedDistances(const Plane<std::uint8_t>& src, const std::vector<double>& metrics) {
  constexpr T kFarthest = std::numeric_limits<T>::max();
  const std::vector<Move> moves = movesOf<T>(metrics);
  Plane<T> dst(src.width, src.height);
  for (std::size_t i = 0; i < src.elements.size(); ++i) dst.elements[i] = src.elements[i] == 0 ? T{0} : kFarthest;
  for (const int way : {1, -1}) {
    for (int i = 0; i < src.height * src.width; ++i) {
      const int at = way > 0 ? i : src.height * src.width - 1 - i;
      const int y = at / src.width;
      const int x = at % src.width;
      for (const Move& move : moves) {
        const int fromX = x + way * move.dx;
        const int fromY = y + way * move.dy;
        if (fromX < 0 || fromX >= src.width || fromY < 0 || fromY >= src.height) continue;
        if (way > 0 && y == 0 && move.dx < -1) continue;
        const double sum = double(dst.at(fromY, fromX)) + move.cost;
        if (sum < double(kFarthest)) dst.at(y, x) = std::min(dst.at(y, x), static_cast<T>(sum));
      }
    }
  }
  return dst;
}

// One seed in about `rarity` pixels.
Plane<std::uint8_t> sparseSeeds(int width, int height, unsigned seed, unsigned rarity) {
  const Plane<std::uint32_t> noise = randomPlane<std::uint32_t>(width, height, seed);
  return planeOf<std::uint8_t>(width, height, [&](int y, int x) {
    return noise.at(y, x) / 64 % rarity == 0 ? 0 : 1 + (y * width + x) % 255;
  });
}

template <class T>
using MetricOf = std::conditional_t<std::is_same_v<T, float>, float, std::int32_t>;
// The functions for masks of 3 x 3 and 5 x 5.
template <class T>
constexpr std::array kTransform = {rvpiDistanceTransform_3x3_8u_C1R, rvpiDistanceTransform_5x5_8u_C1R};
template <>
constexpr std::array kTransform<std::uint16_t> = {rvpiDistanceTransform_3x3_8u16u_C1R,
                                                  rvpiDistanceTransform_5x5_8u16u_C1R};
template <>
constexpr std::array kTransform<float> = {rvpiDistanceTransform_3x3_8u32f_C1R, rvpiDistanceTransform_5x5_8u32f_C1R};

// Every kind of mask: of all norms, with useless diagonals and knights, with moves dearer than a roundabout way,
// with costs at and beyond saturation, and where sums of 32-bit metrics would wrap.
template <class T>
std::vector<std::vector<double>> masks() {
  if constexpr (std::is_same_v<T, float>) {
    // clang-format off
    return {{1, 1}, {1, 2}, {0.955f, 1.3693f}, {3, 1.1f}, {2e38f, 3e38f}, {1, 1, 2}, {1, 2, 3}, {1, 1.4f, 2.1969f},
            {1.1f, 1.5f, 2.1f}, {3.3f, 1.7f, 2.9f}, {5.1f, 5.1f, 1.3f}, {1e38f, 1.5e38f, 2.2e38f}};
  } else {
    return {{1, 1}, {1, 2}, {2, 3}, {3, 9}, {7, 2}, {100, 140}, {1 << 30, 3}, {1 << 30, 0x7FFFFFFF}, {1, 1, 2},
            {1, 2, 3}, {2, 3, 5}, {2, 3, 6}, {5, 7, 11}, {5, 7, 10}, {5, 8, 11}, {7, 3, 5}, {5, 5, 2}, {9, 4, 1},
            {40, 3, 2}, {100, 140, 230}, {0x7FFFFFFF, 1 << 30, 0x7FFFFFFF}};
    // clang-format on
  }
}

template <class T>
class Chamfer : public testing::Test {};
using Outputs = testing::Types<std::uint8_t, std::uint16_t, float>;
TYPED_TEST_SUITE(Chamfer, Outputs);

template <class T>
void checkMask(const Shape& shape, const Plane<std::uint8_t>& content, const std::vector<double>& mask) {
  SCOPED_TRACE(testing::PrintToString(mask));
  const std::vector<MetricOf<T>> metrics(mask.begin(), mask.end());
  const Plane<T> expected = expectedDistances<T>(content, mask);
  Guarded<std::uint8_t> src(content, shape.placing);
  Guarded<T> dst(Plane<T>(shape.width, shape.height, T{77}), shape.placing);
  ASSERT_EQ(call(kTransform<T>[mask.size() - 2], src, dst, src.size(), metrics.data()), rvpStatusOk);
  ASSERT_TRUE(same(expected, dst));
  ASSERT_TRUE(same(content, src));
  if constexpr (std::is_same_v<T, std::uint8_t>) {
    const auto inPlace = mask.size() == 2 ? rvpiDistanceTransform_3x3_8u_C1IR : rvpiDistanceTransform_5x5_8u_C1IR;
    ASSERT_EQ(call(inPlace, src, src.size(), metrics.data()), rvpStatusOk);
    ASSERT_TRUE(same(expected, src));
  }
}

TYPED_TEST(Chamfer, FollowsThePassesForEveryMaskAndWidth) {
  sweepSmall([](const Shape& shape) {
    for (const auto& mask : masks<TypeParam>()) {
      for (const unsigned rarity : {3U, 40U})
        checkMask<TypeParam>(shape, sparseSeeds(shape.width, shape.height, shape.seed, rarity), mask);
    }
  });
}

TYPED_TEST(Chamfer, FollowsThePassesInTallAndWideImages) {
  for (const auto& mask : masks<TypeParam>()) {
    sweepCliffs({{1, 19}, {3, 19}, {17, 19}, {130, 19}}, 1, [&](const Shape& shape) {
      checkMask<TypeParam>(shape, sparseSeeds(shape.width, shape.height, shape.seed, 30), mask);
    });
    for (const int height : {4, 5, 15, 16, 17, 33, 50}) {
      for (const int width : {1, 2, 3, 4, 153, 300}) {
        tryShape({width, height, {3, 1}, 1, static_cast<unsigned>(width + height)}, [&](const Shape& shape) {
          checkMask<TypeParam>(shape, sparseSeeds(width, height, shape.seed, 700), mask);
        });
      }
    }
  }
}

// Seeds in a corner only, none at all, and nothing but seeds: the whole range, saturation, and how far rounding
// goes.
TYPED_TEST(Chamfer, ReachesAcrossTheImageAndSaturates) {
  const Plane<std::uint8_t> none(280, 270, 9);
  Plane<std::uint8_t> lastCorner = none;
  lastCorner.at(269, 279) = 0;
  Plane<std::uint8_t> firstCorner = none;
  firstCorner.at(0, 0) = 0;
  for (const auto& content : {none, lastCorner, firstCorner, Plane<std::uint8_t>(280, 270)}) {
    for (const auto& mask : masks<TypeParam>())
      tryShape({280, 270, {}, 1, 0}, [&](const Shape& shape) { checkMask<TypeParam>(shape, content, mask); });
  }
}

TYPED_TEST(Chamfer, ReportsTheFirstOfTwoFaults) {
  using T = TypeParam;
  using Metric = MetricOf<T>;
  for (const std::size_t count : {2U, 3U}) {
    const std::uint8_t src[8] = {};
    T dst[8] = {T{5}};
    const std::vector<Metric> good(count, Metric{2});
    for (std::size_t bad = 0; bad < count; ++bad) {
      for (const Metric value :
           {Metric{0}, std::is_same_v<T, float> ? std::numeric_limits<Metric>::quiet_NaN() : Metric{-3}}) {
        auto metrics = good;
        metrics[bad] = value;
        const auto badMetric = planted(rvpStatusBadMetric, [&](auto& a) {
          if (std::get<5>(a) != nullptr) std::get<5>(a) = metrics.data();
        });
        expectFirstOfTwo(
            kTransform<T>[count - 2], { nulls<>, badSizes, shortSteps<>, oddSteps<>, badMetric }, src, 4, dst,
            4 * static_cast<int>(sizeof(T)), {4, 2}, good.data());
      }
    }
  }
}

TEST(ChamferMetrics, TablesAndChecks) {
  const std::array<std::int32_t, 3> whole[2][3] = {{{1, 1, 0}, {1, 2, 0}, {2, 3, 0}},
                                                   {{1, 1, 2}, {1, 2, 3}, {5, 7, 11}}};
  const std::array<float, 3> real[2][3] = {{{1, 1, 0}, {1, 2, 0}, {0.955f, 1.3693f, 0}},
                                           {{1, 1, 2}, {1, 2, 3}, {1, 1.4f, 2.1969f}}};
  for (const int size : {3, 5}) {
    for (int norm = 0; norm < 3; ++norm) {
      std::array<std::int32_t, 3> m{};
      std::array<float, 3> f{};
      std::array<float, 3> old{};
      EXPECT_EQ(rvpiGetDistanceTransformMask_32s(size, norm, m.data()), rvpStatusOk);
      EXPECT_EQ(rvpiGetDistanceTransformMask_32f(size, norm, f.data()), rvpStatusOk);
      EXPECT_EQ(rvpiGetDistanceTransformMask(10 * size + norm, old.data()), rvpStatusOk);
      EXPECT_EQ(m, whole[size / 5][norm]);
      EXPECT_EQ(f, real[size / 5][norm]);
      EXPECT_EQ(old, f);
    }
  }
  float f[3];
  expectFirstOfTwo(rvpiGetDistanceTransformMask_32f,
                   {nulls<>, at<0>(rvpStatusBadSize, 4), at<1>(rvpStatusBadArgument, 3, -1)}, 3, 0, f);
  expectFirstOfTwo(rvpiGetDistanceTransformMask, {at<0>(rvpStatusBadArgument, 43, -31), nulls<>}, 30, f);
  EXPECT_EQ(rvpiGetDistanceTransformMask(40, f), rvpStatusBadSize);
}

FUZZ(chamfer, input) {
  tryShape(input.shape(), [&](const Shape& shape) {
    const auto content = input.flag()
                             ? sparseSeeds(shape.width, shape.height, shape.seed, 1U << input.between(1, 10))
                             : input.plane<std::uint8_t>(shape.width, shape.height);
    input.withOneOf(Outputs(), [&]<class T>() {
      std::vector<double> mask(static_cast<std::size_t>(input.between(2, 3)));
      const int most = input.flag() ? 12 : 0x7FFFFFFF;
      for (double& metric : mask) metric = static_cast<double>(static_cast<MetricOf<T>>(input.between(1, most)));
      checkMask<T>(shape, content, mask);
    });
  });
}

}  // namespace
