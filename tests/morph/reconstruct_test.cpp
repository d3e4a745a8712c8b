// Reconstruction against its fixed point, found by trying every pixel again and again.
#include <gtest/gtest.h>

#include <algorithm>
#include <compare>
#include <limits>
#include <vector>

#include "rvpcv.h"
#include "support/compare.h"
#include "support/regions.h"
#include "support/sweep.h"

namespace {

using namespace test;

template <class T>
using Operation = RvpStatus (*)(const T*, int, T*, int, RvpiSize, std::uint8_t*, RvpiConnectivity);

template <class T>
struct Family;
template <>
struct Family<std::uint8_t> {
  static constexpr RvpDataType kType = rvp8u;
  static constexpr Operation<std::uint8_t> kDilate = rvpiMorphReconstructDilate_8u_C1IR;
  static constexpr Operation<std::uint8_t> kErode = rvpiMorphReconstructErode_8u_C1IR;
};
template <>
struct Family<std::uint16_t> {
  static constexpr RvpDataType kType = rvp16u;
  static constexpr Operation<std::uint16_t> kDilate = rvpiMorphReconstructDilate_16u_C1IR;
  static constexpr Operation<std::uint16_t> kErode = rvpiMorphReconstructErode_16u_C1IR;
};
template <>
struct Family<float> {
  static constexpr RvpDataType kType = rvp32f;
  static constexpr Operation<float> kDilate = rvpiMorphReconstructDilate_32f_C1IR;
  static constexpr Operation<float> kErode = rvpiMorphReconstructErode_32f_C1IR;
};
template <>
struct Family<double> {
  static constexpr RvpDataType kType = rvp64f;
  static constexpr Operation<double> kDilate = rvpiMorphReconstructDilate_64f_C1IR;
  static constexpr Operation<double> kErode = rvpiMorphReconstructErode_64f_C1IR;
};

// Below for dilation, above for erosion.
template <class T>
bool isBefore(T a, T b, bool dilate) {
  return dilate ? std::strong_order(a, b) < 0 : std::strong_order(b, a) < 0;
}

template <class T>
Plane<T> expectedResult(const Plane<T>& mask, Plane<T> marker, bool dilate, RvpiConnectivity norm) {
  for (std::size_t i = 0; i < mask.elements.size(); ++i) {
    if (isBefore(mask.elements[i], marker.elements[i], dilate)) marker.elements[i] = mask.elements[i];
  }
  std::vector<Place> order;
  for (int y = 0; y < mask.height; ++y) {
    for (int x = 0; x < mask.width; ++x) order.push_back({y, x});
  }
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
  int bytes = 0;
  EXPECT_EQ(rvpiMorphReconstructGetBufferSize(size, Family<T>::kType, 1, &bytes), rvpStatusOk);
  return bytes;
}

// Both operations with both kinds of neighbours. The marker for erosion is turned around.
template <class T>
void checkAll(const Plane<T>& mask, const Plane<T>& marker, Placing placing, int shift) {
  for (const bool dilate : {true, false}) {
    for (const RvpiConnectivity norm : {rvpConnect4, rvpConnect8}) {
      SCOPED_TRACE((dilate ? "dilation " : "erosion ") + std::to_string(norm));
      Guarded<T> under(mask, placing);
      Guarded<T> image(marker, {placing.gap + 1, placing.shift});
      Guarded<std::uint8_t> scratch(Plane<std::uint8_t>(bufferSize<T>(under.size()), 1, 0xEE), {0, shift});
      const Operation<T> run = dilate ? Family<T>::kDilate : Family<T>::kErode;
      ASSERT_EQ(run(under.data(), under.step(), image.data(), image.step(), under.size(), scratch.data(), norm),
                rvpStatusOk);
      ASSERT_TRUE(same(expectedResult(mask, marker, dilate, norm), image.content()));
      ASSERT_TRUE(image.intact());
      ASSERT_TRUE(scratch.intact());
      ASSERT_TRUE(same(mask, under.content()));
    }
  }
}

// Noise, of few values where `levels` is not 0. Few of the marker's pixels are on their way far into the mask.
template <class T>
Plane<T> noisePlane(int width, int height, unsigned seed, int levels) {
  Plane<T> plane = randomPlane<T>(width, height, seed, levels == 0);
  for (T& element : plane.elements) {
    if (levels > 0) element = static_cast<T>(static_cast<int>(static_cast<double>(element) / 3) % levels);
  }
  return plane;
}

template <class T>
Plane<T> sparseMarker(const Plane<T>& mask, unsigned seed, T background) {
  Plane<T> marker(mask.width, mask.height, background);
  const Plane<std::uint16_t> choice = randomPlane<std::uint16_t>(mask.width, mask.height, seed);
  for (std::size_t i = 0; i < marker.elements.size(); ++i) {
    if (choice.elements[i] % 53 == 0) marker.elements[i] = mask.elements[i];
  }
  return marker;
}

template <class T>
class Reconstruct : public testing::Test {};
using Types = testing::Types<std::uint8_t, std::uint16_t, float, double>;
TYPED_TEST_SUITE(Reconstruct, Types);

TYPED_TEST(Reconstruct, ReachesTheFixedPointForEveryWidth) {
  using T = TypeParam;
  sweepSmall([](const Shape& shape) {
    const int shift = static_cast<int>(shape.seed % 13);
    const Plane<T> mask = noisePlane<T>(shape.width, 2 * shape.height, shape.seed, 0);
    checkAll(mask, noisePlane<T>(shape.width, 2 * shape.height, shape.seed + 9, 0), shape.placing, shift);
    checkAll(noisePlane<T>(shape.width, shape.height, shape.seed + 1, 3),
             noisePlane<T>(shape.width, shape.height, shape.seed + 2, 3), shape.placing, shift);
  });
}

TYPED_TEST(Reconstruct, FollowsWhatRunsFar) {
  using T = TypeParam;
  for (const int threads : {1, 2}) {
    ASSERT_EQ(rvpSetNumThreads(threads), rvpStatusOk);
    for (const auto& [width, height] : {std::pair{301, 40}, {40, 301}, {600, 11}, {12, 10}, {1, 90}}) {
      SCOPED_TRACE(width);
      for (const int levels : {2, 5, 100}) {
        const Plane<T> mask = noisePlane<T>(width, height, 3, levels);
        checkAll(mask, sparseMarker(mask, 4, T{0}), {2, 1}, 1);
        checkAll(mask, sparseMarker(mask, 5, T{100}), {}, 0);
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
          Plane<T> mask(141, 39);
          for (std::size_t i = 0; i < path.elements.size(); ++i)
            mask.elements[i] = static_cast<T>(dilate ? path.elements[i] : 200 - path.elements[i]);
          Plane<T> marker(141, 39, static_cast<T>(dilate ? 0 : 200));
          marker.elements[static_cast<std::size_t>(place)] = T{90};
          checkAll(mask, marker, {}, 0);
        }
      }
    }
  }
}

TYPED_TEST(Reconstruct, StaysWithinItsMemory) {
  using T = TypeParam;
  for (const Cliff cliff : {Cliff::before, Cliff::behind}) {
    for (const int width : {1, 2, 15, 16, 33, 75}) {
      const Plane<T> mask = noisePlane<T>(width, 13, 3, 4);
      const Plane<T> marker = sparseMarker(mask, 4, T{0});
      for (const RvpiConnectivity norm : {rvpConnect4, rvpConnect8}) {
        OnCliff<T> under(mask, cliff);
        OnCliff<T> image(marker, cliff);
        OnCliff<std::uint8_t> scratch(Plane<std::uint8_t>(bufferSize<T>(under.size()), 1), cliff);
        ASSERT_EQ(Family<T>::kDilate(under.data(), under.step(), image.data(), image.step(), under.size(),
                                     scratch.data(), norm),
                  rvpStatusOk);
        ASSERT_TRUE(same(expectedResult(mask, marker, true, norm), image.content()));
      }
    }
  }
}

// What must not be asked for still comes to an end and stays inside the image.
TYPED_TEST(Reconstruct, EndsWhereTheImagesAreOne) {
  using T = TypeParam;
  for (const Operation<T> run : {Family<T>::kDilate, Family<T>::kErode}) {
    Guarded<T> image(noisePlane<T>(70, 30, 8, 0), {3, 1});
    std::vector<std::uint8_t> scratch(static_cast<std::size_t>(bufferSize<T>(image.size())));
    EXPECT_EQ(run(image.data(), image.step(), image.data(), image.step(), image.size(), scratch.data(), 0),
              rvpStatusOk);
    EXPECT_TRUE(image.intact());
  }
}

TYPED_TEST(Reconstruct, ChecksInOrder) {
  using T = TypeParam;
  constexpr int kRow = 4 * static_cast<int>(sizeof(T));
  const T mask[8] = {T{1}};
  std::uint8_t buffer[400];
  for (const Operation<T> run : {Family<T>::kDilate, Family<T>::kErode}) {
    T image[8] = {T{9}};
    EXPECT_EQ(run(nullptr, kRow, image, kRow, {0, 1}, buffer, 0), rvpStatusNullPointer);
    EXPECT_EQ(run(mask, kRow, nullptr, kRow, {0, 1}, buffer, 0), rvpStatusNullPointer);
    EXPECT_EQ(run(mask, kRow, image, kRow, {0, 1}, nullptr, 0), rvpStatusNullPointer);
    EXPECT_EQ(run(mask, -kRow, image, kRow, {4, 0}, buffer, 0), rvpStatusBadSize);
    EXPECT_EQ(run(mask, kRow - 1, image, kRow + 1, {4, 1}, buffer, 2), rvpStatusBadStep);
    EXPECT_EQ(run(mask, kRow + 1, image, kRow - 1, {4, 1}, buffer, 2), rvpStatusBadStep);
    const RvpStatus odd = sizeof(T) == 1 ? rvpStatusBadArgument : rvpStatusStepNotMultiple;
    EXPECT_EQ(run(mask, kRow + 1, image, kRow, {4, 1}, buffer, 2), odd);
    EXPECT_EQ(run(mask, kRow, image, kRow + 1, {4, 1}, buffer, 2), odd);
    EXPECT_EQ(run(mask, kRow, image, kRow, {4, 1}, buffer, 2), rvpStatusBadArgument);
    EXPECT_EQ(run(mask, kRow, image, kRow, {4, 1}, buffer, -1), rvpStatusBadArgument);
    EXPECT_EQ(image[0], T{9});
  }
}

TEST(ReconstructBuffer, ChecksInOrderAndReportsItsSizes) {
  int bytes = -1;
  EXPECT_EQ(rvpiMorphReconstructGetBufferSize({0, 1}, 3, 3, nullptr), rvpStatusNullPointer);
  EXPECT_EQ(rvpiMorphReconstructGetBufferSize({0, 1}, 3, 3, &bytes), rvpStatusBadSize);
  EXPECT_EQ(rvpiMorphReconstructGetBufferSize({1, 1}, rvp16s, 3, &bytes), rvpStatusBadDataType);
  EXPECT_EQ(rvpiMorphReconstructGetBufferSize({1, 1}, rvp8u, 3, &bytes), rvpStatusBadNumChannels);
  EXPECT_EQ(bytes, -1);
  EXPECT_EQ(bufferSize<std::uint8_t>({100, 7}), 400 + 7 + 161);
  EXPECT_EQ(bufferSize<std::uint16_t>({100, 7}), 2 * 407 + 322);
  EXPECT_EQ(bufferSize<float>({100, 7}), 1600 + 7 + 164);
  EXPECT_EQ(bufferSize<double>({100, 7}), 3200 + 7 + 168);
}

}  // namespace
