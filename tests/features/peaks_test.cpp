// The search for peaks against a look at every neighbourhood.
#include "support/test.h"

namespace {

using namespace test;

template <class T>
constexpr auto kFind = rvpiFindPeaks3x3_32f_C1R;
template <>
constexpr auto kFind<std::int32_t> = rvpiFindPeaks3x3_32s_C1R;

template <class T>
bool isPeak(const Plane<T>& image, int x, int y, int norm, T threshold) {
  const T v = image.at(y, x);
  const bool noAbsolute = std::is_integral_v<T> && v == std::numeric_limits<T>::lowest();
  if (noAbsolute || !((v < 0 ? -v : v) > threshold)) return false;
  for (int j = -1; j <= 1; ++j) {
    for (int i = -1; i <= 1; ++i) {
      if (norm == rvpPeakCross && i != 0 && j != 0) continue;
      const T other = image.at(y + j, x + i);
      const T beyond = v > 0 ? other - v : v - other;
      if (std::is_same_v<T, float> ? beyond > std::numeric_limits<T>::min() : beyond > 0) return false;
    }
  }
  return true;
}

// Few values, so that plateaus are frequent; and in float, steps below the smallest normal number.
template <class T>
Plane<T> image(const Shape& shape) {
  const Plane<std::uint16_t> bits = randomPlane<std::uint16_t>(shape.width, shape.height, shape.seed);
  return changed<T>(bits, [&](int b) {
    const auto value = static_cast<T>(b / 3 % 9 - 4);
    return std::is_same_v<T, float> && shape.seed % 3 == 0 ? value * static_cast<T>(4e-39) : value;
  });
}

template <class T>
class Peaks : public testing::Test {
 public:
  static void check(const Shape& shape) {
    const Plane<T> content = image<T>(shape);
    for (const int border : {1, 2, shape.width / 2}) {
      if (border < 1 || 2 * border > shape.width || 2 * border > shape.height) continue;
      for (const int norm : {rvpPeakSquare, rvpPeakCross}) {
        for (const T threshold : {T{-1}, T{0}, T{2}}) {
          std::vector<RvpiPoint> expected;
          for (int y = border; y < shape.height - border; ++y) {
            for (int x = border; x < shape.width - border; ++x) {
              if (isPeak(content, x, y, norm, threshold)) expected.push_back({x, y});
            }
          }
          const int found = static_cast<int>(expected.size());
          for (const int most : {found + 1, std::max(found, 1), std::max(found / 2, 1)}) {
            OnCliff<T> src(content, shape.seed % 2 == 0 ? Cliff::before : Cliff::behind);
            Guarded<std::int32_t> peaks(Plane<std::int32_t>(2 * most, 1, -5));
            std::uint8_t scratch = 7;
            int count = -1;
            ASSERT_EQ(call(kFind<T>, src, src.size(), reinterpret_cast<RvpiPoint*>(peaks.data()), most, &count,
                           norm, border, &scratch, threshold),
                      rvpStatusOk);
            ASSERT_EQ(count, std::min(found, most));
            Plane<std::int32_t> list(2 * most, 1, -5);
            for (int i = 0; i < count; ++i) {
              list.at(0, 2 * i) = expected[static_cast<std::size_t>(i)].x;
              list.at(0, 2 * i + 1) = expected[static_cast<std::size_t>(i)].y;
            }
            ASSERT_TRUE(same(list, peaks)) << "norm " << norm << ", border " << border;
          }
        }
      }
    }
  }
};
using Types = testing::Types<float, std::int32_t>;
TYPED_TEST_SUITE(Peaks, Types);

TYPED_TEST(Peaks, AreFoundAtEveryWidth) {
  sweepSmall([](Shape shape) {
    shape.height += 3;
    TestFixture::check(shape);
  });
}

// Rows are worked through in stretches of at most 4096 pixels.
TYPED_TEST(Peaks, AreFoundInLongRows) {
  Shape shape;
  shape.width = 4096 + 2 + 5;
  shape.height = 3;
  TestFixture::check(shape);
}

TYPED_TEST(Peaks, OfExtremeValuesFollowTheRule) {
  using T = TypeParam;
  constexpr T kMost = std::numeric_limits<T>::max(), kLeast = std::numeric_limits<T>::lowest();
  const auto centre = [&](T v, T around, T threshold) {
    std::vector<T> src(9, around);
    src[4] = v;
    RvpiPoint peak = {};
    int count = -1;
    std::uint8_t scratch = 0;
    EXPECT_EQ(kFind<T>(src.data(), 12, {3, 3}, &peak, 1, &count, rvpPeakSquare, 1, &scratch, threshold),
              rvpStatusOk);
    return count;
  };
  EXPECT_EQ(centre(kMost, T{0}, T{0}), 1);
  EXPECT_EQ(centre(kLeast, T{0}, T{0}), (std::is_same_v<T, float> ? 1 : 0));
  EXPECT_EQ(centre(kMost, kMost, T{5}), 1);
  EXPECT_EQ(centre(T{0}, T{1}, T{0}), 0);
  EXPECT_EQ(centre(T{0}, T{1}, T{-1}), 1);
  if constexpr (std::is_same_v<T, float>) {
    const T infinity = std::numeric_limits<T>::infinity();
    EXPECT_EQ(centre(infinity, T{0}, T{0}), 0);
  }
}

TYPED_TEST(Peaks, ReportTheFirstOfTwoFaults) {
  using T = TypeParam;
  const std::vector<T> src(20, T{3});
  std::uint8_t scratch = 0;
  RvpiPoint peak = {-1, -1};
  int count = -7;
  expectFirstOfTwo(
      kFind<T>,
      {nulls<>, badSizes, planted(rvpStatusBadSize, [](auto& a) { std::get<2>(a).width = 3, std::get<7>(a) = 2; }),
       at<4>(rvpStatusBadSize, 0), at<7>(rvpStatusBadSize, 0), shortSteps<0>, oddSteps<0>,
       at<6>(rvpStatusBadArgument, 2)},
      src.data(), 16, {4, 4}, &peak, 1, &count, 0, 1, &scratch, T{1});
}

TEST(PeakSizes, AreTheStatedOnes) {
  for (const auto query : {rvpiFindPeaks3x3GetBufferSize_32f_C1R, rvpiFindPeaks3x3GetBufferSize_32s_C1R}) {
    int bytes = -7;
    expectFirstOfTwo(query, {nulls<>, at<0>(rvpStatusBadSize, 0, -1)}, 1, &bytes);
    EXPECT_EQ(bytesOf(query, 1), 160);
    EXPECT_EQ(bytesOf(query, 1920), 481 * 128 + 32);
  }
}

FUZZ(peaks, input) {
  tryShape(input.shape(), [&](const Shape& shape) {
    input.flag() ? Peaks<float>::check(shape) : Peaks<std::int32_t>::check(shape);
  });
}

}  // namespace
