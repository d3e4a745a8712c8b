// Speckles against a search from each pixel, one after the other, over an image that changes meanwhile.
#include "support/test.h"

namespace {

using namespace test;

template <class T>
struct Setting {
  T value;
  int maxSize;
  T maxDifference;
};

template <class T>
Plane<T> expectedImage(Plane<T> image, const Setting<T>& setting) {
  Plane<int> labels(image.width, image.height);
  std::vector<bool> isSpeckle = {false};
  const auto isSimilar = [&](T p, T q) {
    if constexpr (std::is_floating_point_v<T>) {
      return std::fabs(p - q) <= setting.maxDifference;
    } else {
      return std::abs(int{p} - int{q}) <= int{setting.maxDifference};
    }
  };
  forElements(image, [&](int y, int x) {
    if (image.at(y, x) == setting.value) return;
    if (labels.at(y, x) == 0) {
      const auto label = static_cast<int>(isSpeckle.size());
      int size = 1;
      labels.at(y, x) = label;
      forNeighbours(image, false, {y, x}, [&](Place from, Place to) {
        const T there = image.at(to.y, to.x);
        if (labels.at(to.y, to.x) != 0 || there == setting.value || !isSimilar(image.at(from.y, from.x), there))
          return false;
        labels.at(to.y, to.x) = label;
        ++size;
        return true;
      });
      isSpeckle.push_back(size <= setting.maxSize);
    }
    if (isSpeckle[static_cast<std::size_t>(labels.at(y, x))]) image.at(y, x) = setting.value;
  });
  return image;
}

template <class T>
constexpr auto kMark = ofType<T>(rvpiMarkSpeckles_8u_C1IR, rvpiMarkSpeckles_16u_C1IR, rvpiMarkSpeckles_16s_C1IR,
                                 rvpiMarkSpeckles_32f_C1IR);

int bufferSize(RvpiSize size, RvpDataType type) { return bytesOf(rvpiMarkSpecklesGetBufferSize, size, type, 1); }

template <class T>
RvpStatus mark(T* image, int step, RvpiSize size, const Setting<T>& s, std::uint8_t* buffer) {
  return kMark<T>(image, step, size, s.value, s.maxSize, s.maxDifference, rvpConnect4, buffer);
}

template <class T>
void checkOne(const Plane<T>& content, const Shape& shape, const Setting<T>& setting) {
  Guarded<T> image(content, shape.placing);
  Block scratch(bufferSize(image.size(), kTypeOf<T>), shape.anywhere());
  ASSERT_EQ(call(mark<T>, image, image.size(), setting, scratch), rvpStatusOk);
  ASSERT_TRUE(same(expectedImage(content, setting), image));
}

// Few values, so that there are links of all kinds, and among them the type's extremes.
template <class T>
Plane<T> levels(int width, int height, unsigned seed, int count) {
  const Plane<std::uint16_t> noise = randomPlane<std::uint16_t>(width, height, seed);
  using Limits = std::numeric_limits<T>;
  const T extremes[] = {Limits::max(), Limits::lowest(), std::is_floating_point_v<T> ? Limits::quiet_NaN() : T{1},
                        std::is_floating_point_v<T> ? Limits::infinity() : T{2}, static_cast<T>(-T{})};
  return planeOf<T>(width, height, [&](int y, int x) {
    const int pick = noise.at(y, x) >> 3;
    return pick % 29 < 5 ? extremes[pick % 29] : static_cast<T>(pick / 29 % count);
  });
}

template <class T>
class MarkSpeckles : public testing::Test {};
using Types = testing::Types<std::uint8_t, std::uint16_t, std::int16_t, float>;
TYPED_TEST_SUITE(MarkSpeckles, Types);

TYPED_TEST(MarkSpeckles, OverwritesSmallBlobsForEveryWidth) {
  using T = TypeParam;
  constexpr auto kMax = std::numeric_limits<T>::max();
  sweepSmall([](const Shape& shape) {
    for (const int count : {2, 5}) {
      const Plane<T> image = levels<T>(shape.width, 2 * shape.height, shape.seed, count);
      for (const Setting<T>& setting :
           {Setting<T>{0, 3, 0}, {1, 9, 1}, {3, 40, 1}, {7, 0, 1}, {0, 1, kMax}, {kMax, 5, static_cast<T>(-1)}})
        checkOne(image, shape, setting);
    }
  });
}

TYPED_TEST(MarkSpeckles, FollowsBlobsThroughLargeImages) {
  using T = TypeParam;
  for (const int count : {2, 3, 9}) {
    for (const int maxSize : {-1, 1, 30, 4000, std::numeric_limits<int>::max()})
      checkOne(levels<T>(211, 75, 40, count), {.placing = {3, 1}, .seed = 1}, {1, maxSize, 1});
  }
  for (const Pattern pattern : kPatterns) {
    const Plane<std::uint8_t> shape = patternPlane(pattern, 131, 40);
    const auto image = planeOf<T>(131, 40, [&](int y, int x) { return shape.at(y, x) + (y * 131 + x) % 2; });
    for (const int maxSize : {1, 20, 2000, 6000}) checkOne(image, {.placing = {}, .seed = 5}, {7, maxSize, 1});
  }
}

// Nothing is asked of the step: rows may go upwards, and begin between two elements.
TYPED_TEST(MarkSpeckles, TakesAnyStep) {
  using T = TypeParam;
  const Plane<T> image = levels<T>(70, 9, 3, 3);
  const Setting<T> setting = {1, 4, 1};
  std::vector<std::uint8_t> scratch(static_cast<std::size_t>(bufferSize({70, 9}, kTypeOf<T>)));
  for (const int step : {-560, 283}) {
    std::vector<std::uint8_t> memory(10 * 560);
    std::uint8_t* const first = memory.data() + (step < 0 ? 8 * 560 : 0);
    for (int y = 0; y < 9; ++y) std::memcpy(first + y * step, image.row(y), 70 * sizeof(T));
    ASSERT_EQ(mark(reinterpret_cast<T*>(first), step, {70, 9}, setting, scratch.data()), rvpStatusOk);
    Plane<T> result(70, 9);
    for (int y = 0; y < 9; ++y) std::memcpy(&result.at(y, 0), first + y * step, 70 * sizeof(T));
    ASSERT_TRUE(same(expectedImage(image, setting), result));
  }
}

TYPED_TEST(MarkSpeckles, ReportsTheFirstOfTwoFaults) {
  using T = TypeParam;
  T image[4] = {9};
  std::uint8_t buffer[200];
  expectFirstOfTwo(kMark<T>, {nulls<>, badSizes, at<6>(rvpStatusBadNorm, 0, 2)}, image, 0, {4, 1}, T{1}, 4, T{1},
                   rvpConnect4, buffer);
}

TEST(MarkSpecklesBuffer, ReportsTheFirstOfTwoFaults) {
  int bytes = -1;
  expectFirstOfTwo(rvpiMarkSpecklesGetBufferSize,
                   {nulls<>, badSizes, at<1>(rvpStatusBadDataType, rvp32s, 3), at<2>(rvpStatusBadNumChannels, 3)},
                   {1, 1}, rvp8u, 1, &bytes);
  EXPECT_EQ(bufferSize({640, 480}, rvp16s), 13 * 640 * 480 + 64);
}

FUZZ(speckles, input) {
  input.withOneOf(Types(), [&]<class T>() {
    const Shape shape = input.shape();
    const auto image = input.flag()
                           ? levels<T>(shape.width, shape.height, input.any<std::uint16_t>(), input.between(1, 6))
                           : input.plane<T>(shape.width, shape.height);
    const Setting<T> setting = {input.flag() ? input.any<T>() : T{}, input.between(0, 60),
                                static_cast<T>(input.between(0, 5))};
    checkOne(image, shape, setting);
  });
}

}  // namespace
