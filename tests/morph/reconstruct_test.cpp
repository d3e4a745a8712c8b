// Reconstruction against its fixed point, found by trying every pixel again and again.
#include "support/test.h"

namespace {

using namespace test;

template <class T>
constexpr auto kDilate = ofType<T>(rvpiMorphReconstructDilate_8u_C1IR, rvpiMorphReconstructDilate_16u_C1IR,
                                   rvpiMorphReconstructDilate_32f_C1IR, rvpiMorphReconstructDilate_64f_C1IR);
template <class T>
constexpr auto kErode = ofType<T>(rvpiMorphReconstructErode_8u_C1IR, rvpiMorphReconstructErode_16u_C1IR,
                                  rvpiMorphReconstructErode_32f_C1IR, rvpiMorphReconstructErode_64f_C1IR);

// Below for dilation, above for erosion.
template <class T>
bool isBefore(T a, T b, bool dilate) {
  return dilate ? std::strong_order(a, b) < 0 : std::strong_order(b, a) < 0;
}

template <class T>
Plane<T> expectedResult(const Plane<T>& mask, Plane<T> marker, bool dilate, RvpiConnectivity norm) {
  marker = combined<T>(mask, marker, [=](T limit, T seed) { return isBefore(limit, seed, dilate) ? limit : seed; });
  std::vector<Place> order;
  forElements(mask, [&](int y, int x) { order.push_back({y, x}); });
  for (bool isChanged = true; isChanged; std::reverse(order.begin(), order.end())) {
    isChanged = false;
    for (const Place& start : order) {
      forNeighbours(mask, norm == rvpConnect8, start, [&](Place from, Place to) {
        const T passed = marker.at(from.y, from.x);
        const T limit = mask.at(to.y, to.x);
        const T value = isBefore(limit, passed, dilate) ? limit : passed;
        if (!isBefore(marker.at(to.y, to.x), value, dilate)) return false;
        marker.at(to.y, to.x) = value;
        isChanged = true;
        return false;
      });
    }
  }
  return marker;
}

template <class T>
int bufferSize(RvpiSize size) {
  return bytesOf(rvpiMorphReconstructGetBufferSize, size, kTypeOf<T>, 1);
}

// Both operations with both kinds of neighbours. The marker for erosion is turned around.
template <class T>
void checkAll(const Plane<T>& mask, const Plane<T>& marker, const Shape& shape = {}) {
  for (const bool dilate : {true, false}) {
    for (const RvpiConnectivity norm : {rvpConnect4, rvpConnect8}) {
      SCOPED_TRACE((dilate ? "dilation " : "erosion ") + std::to_string(norm));
      const auto [gap, shift, cliff] = shape.placing;
      Guarded<T> under(mask, shape.placing), image(marker, {gap + 1, shift, cliff});
      Block scratch(bufferSize<T>(under.size()), shape.anywhere());
      ASSERT_EQ(call(dilate ? kDilate<T> : kErode<T>, under, image, under.size(), scratch, norm), rvpStatusOk);
      ASSERT_TRUE(same(expectedResult(mask, marker, dilate, norm), image));
      ASSERT_TRUE(same(mask, under));
    }
  }
}

// Noise, of few values where `levels` is not 0. Few of the marker's pixels are on their way far into the mask.
template <class T>
Plane<T> noisePlane(int width, int height, unsigned seed, int levels) {
  return changed<T>(randomPlane<T>(width, height, seed, levels == 0), [=](T element) {
    return levels == 0 ? element : static_cast<T>(static_cast<int>(static_cast<double>(element) / 3) % levels);
  });
}

template <class T>
Plane<T> sparseMarker(const Plane<T>& mask, unsigned seed, T background) {
  const Plane<std::uint16_t> choice = randomPlane<std::uint16_t>(mask.width, mask.height, seed);
  return combined<T>(mask, choice, [=](T pixel, int random) { return random % 53 == 0 ? pixel : background; });
}

template <class T>
class Reconstruct : public testing::Test {};
using Types = testing::Types<std::uint8_t, std::uint16_t, float, double>;
TYPED_TEST_SUITE(Reconstruct, Types);

TYPED_TEST(Reconstruct, ReachesTheFixedPointForEveryWidth) {
  using T = TypeParam;
  sweepSmall([](const Shape& shape) {
    const Plane<T> mask = noisePlane<T>(shape.width, 2 * shape.height, shape.seed, 0);
    checkAll(mask, noisePlane<T>(shape.width, 2 * shape.height, shape.seed + 9, 0), shape);
    checkAll(noisePlane<T>(shape.width, shape.height, shape.seed + 1, 3),
             noisePlane<T>(shape.width, shape.height, shape.seed + 2, 3), shape);
  });
}

TYPED_TEST(Reconstruct, FollowsWhatRunsFar) {
  using T = TypeParam;
  sweepCliffs({{2, 13}, {15, 13}, {16, 13}, {33, 13}, {75, 13}}, 1, [](const Shape& shape) {
    const Plane<T> mask = noisePlane<T>(shape.width, shape.height, 3, 4);
    checkAll(mask, sparseMarker(mask, 4, T{0}), shape);
  });
  for (const int threads : {1, 2}) {
    ASSERT_EQ(rvpSetNumThreads(threads), rvpStatusOk);
    for (const auto& [width, height] : {std::pair{301, 40}, {40, 301}, {600, 11}, {12, 10}, {1, 90}}) {
      SCOPED_TRACE(width);
      for (const int levels : {2, 5, 100}) {
        const Plane<T> mask = noisePlane<T>(width, height, 3, levels);
        checkAll(mask, sparseMarker(mask, 4, T{0}), {.placing = {2, 1}, .seed = 1});
        checkAll(mask, sparseMarker(mask, 5, T{100}));
      }
    }
  }
}

// One marked pixel at either end of long paths, one pixel wide.
TYPED_TEST(Reconstruct, RunsThroughPatterns) {
  using T = TypeParam;
  for (const int threads : {1, 2}) {
    ASSERT_EQ(rvpSetNumThreads(threads), rvpStatusOk);
    for (const Pattern pattern : kPatterns) {
      SCOPED_TRACE(static_cast<int>(pattern));
      const Plane<std::uint8_t> path = patternPlane(pattern, 141, 39);
      for (const int place : {0, 20 * 141 + 60, 38 * 141 + 140}) {
        for (const bool dilate : {true, false}) {
          const auto mask = changed<T>(path, [=](int p) { return dilate ? p : 200 - p; });
          Plane<T> marker(141, 39, static_cast<T>(dilate ? 0 : 200));
          marker.elements[static_cast<std::size_t>(place)] = T{90};
          checkAll(mask, marker);
        }
      }
    }
  }
}

// What must not be asked for still comes to an end and stays inside the image.
TYPED_TEST(Reconstruct, EndsWhereTheImagesAreOne) {
  using T = TypeParam;
  for (const auto run : {kDilate<T>, kErode<T>}) {
    Guarded<T> image(noisePlane<T>(70, 30, 8, 0), {3, 1});
    std::vector<std::uint8_t> scratch(static_cast<std::size_t>(bufferSize<T>(image.size())));
    EXPECT_EQ(run(image.data(), image.step(), image.data(), image.step(), image.size(), scratch.data(), 0),
              rvpStatusOk);
  }
}

TYPED_TEST(Reconstruct, ReportsTheFirstOfTwoFaults) {
  using T = TypeParam;
  constexpr int kRow = 4 * static_cast<int>(sizeof(T));
  const T mask[8] = {T{1}};
  T image[8] = {T{9}};
  std::uint8_t buffer[400];
  for (const auto run : {kDilate<T>, kErode<T>})
    expectFirstOfTwo(run, {nulls<>, badSizes, shortSteps<0, 2>, oddSteps<0, 2>, at<6>(rvpStatusBadArgument, 2, -1)},
                     mask, kRow, image, kRow, {4, 2}, buffer, 0);
}

TEST(ReconstructBuffer, ChecksInOrderAndReportsItsSizes) {
  int bytes = -1;
  expectFirstOfTwo(rvpiMorphReconstructGetBufferSize,
                   {nulls<>, badSizes, at<1>(rvpStatusBadDataType, rvp16s, 3), at<2>(rvpStatusBadNumChannels, 3)},
                   {1, 1}, rvp8u, 1, &bytes);
  EXPECT_EQ(bufferSize<std::uint8_t>({100, 7}), 400 + 7 + 161);
  EXPECT_EQ(bufferSize<std::uint16_t>({100, 7}), 2 * 407 + 322);
  EXPECT_EQ(bufferSize<float>({100, 7}), 1600 + 7 + 164);
  EXPECT_EQ(bufferSize<double>({100, 7}), 3200 + 7 + 168);
}

FUZZ(reconstruct, input) {
  tryShape(input.shape(), [&](const Shape& shape) {
    input.withOneOf(Types(), [&]<class T>() {
      const auto noise = [&](unsigned seed) {
        return noisePlane<T>(shape.width, shape.height, seed, input.between(0, 4));
      };
      const auto mask = noise(shape.seed);
      checkAll<T>(mask, input.flag() ? noise(shape.seed + 1) : sparseMarker<T>(mask, shape.seed, T{}), shape);
    });
  });
}

}  // namespace
