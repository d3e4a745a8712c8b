// Labels against a fill of each component in raster order.
#include <gtest/gtest.h>

#include <limits>
#include <utility>
#include <vector>

#include "rvpcv.h"
#include "support/compare.h"
#include "support/regions.h"
#include "support/sweep.h"

namespace {

using namespace test;

struct Labels {
  int minLabel;
  int maxLabel;
  RvpiConnectivity norm;
};

template <class Src, class Dst>
std::pair<Plane<Dst>, int> expectedLabels(const Plane<Src>& src, const Labels& labels) {
  Plane<Dst> dst(src.width, src.height);
  int count = 0;
  const auto hasNoLabel = [&](int y, int x) { return src.at(y, x) != 0 && dst.at(y, x) == 0; };
  for (int y = 0; y < src.height; ++y) {
    for (int x = 0; x < src.width; ++x) {
      if (!hasNoLabel(y, x)) continue;
      const auto label = static_cast<Dst>(labels.minLabel + count++ % (labels.maxLabel - labels.minLabel + 1));
      forNeighbours(src, labels.norm == rvpConnect8, {y, x}, [&](Place, Place to) {
        if (!hasNoLabel(to.y, to.x)) return false;
        dst.at(to.y, to.x) = label;
        return true;
      });
      dst.at(y, x) = label;
    }
  }
  return {dst, count};
}

// Nonzero pixels in rows and columns of sparse, half full or nearly full noise.
template <class T>
Plane<T> markers(int width, int height, unsigned seed, unsigned kind) {
  Plane<T> plane = randomPlane<T>(width, height, seed);
  const Plane<std::uint8_t> choice = randomPlane<std::uint8_t>(width, height, seed + 7);
  static constexpr int kShare[] = {20, 128, 165, 250};
  for (int y = 0; y < height; ++y) {
    for (int x = 0; x < width; ++x) {
      T& pixel = plane.at(y, x);
      if (choice.at(y, x) >= kShare[kind % 4]) pixel = 0;
    }
  }
  return plane;
}

int bufferSize(RvpiSize size) {
  int bytes = 0;
  EXPECT_EQ(rvpiLabelMarkersGetBufferSize_8u_C1R(size, &bytes), rvpStatusOk);
  return bytes;
}

template <class T>
RvpStatus label(T* image, int step, RvpiSize size, const Labels& labels, int* number, std::uint8_t* buffer) {
  if constexpr (sizeof(T) == 1) {
    return rvpiLabelMarkers_8u_C1IR(image, step, size, labels.minLabel, labels.maxLabel, labels.norm, number,
                                    buffer);
  } else {
    return rvpiLabelMarkers_16u_C1IR(image, step, size, labels.minLabel, labels.maxLabel, labels.norm, number,
                                     buffer);
  }
}

template <class T>
void checkInPlace(const Plane<T>& content, Placing placing, int shift, const Labels& labels) {
  Guarded<T> image(content, placing);
  Guarded<std::uint8_t> scratch(Plane<std::uint8_t>(bufferSize(image.size()), 1, 0xEE), {0, shift});
  int number = -1;
  ASSERT_EQ(label(image.data(), image.step(), image.size(), labels, &number, scratch.data()), rvpStatusOk);
  const auto [expected, count] = expectedLabels<T, T>(content, labels);
  ASSERT_EQ(number, count);
  ASSERT_TRUE(same(expected, image.content()));
  ASSERT_TRUE(image.intact());
  ASSERT_TRUE(scratch.intact());
}

void checkBeside(const Plane<std::uint8_t>& content, Placing placing, int shift, const Labels& labels) {
  Guarded<std::uint8_t> src(content, placing);
  Guarded<std::int32_t> dst(Plane<std::int32_t>(content.width, content.height, -5), placing);
  Guarded<std::uint8_t> scratch(Plane<std::uint8_t>(bufferSize(src.size()), 1, 0xEE), {0, shift});
  int number = -1;
  ASSERT_EQ(rvpiLabelMarkers_8u32s_C1R(src.data(), src.step(), dst.data(), dst.step(), src.size(), labels.minLabel,
                                       labels.maxLabel, labels.norm, &number, scratch.data()),
            rvpStatusOk);
  const auto [expected, count] = expectedLabels<std::uint8_t, std::int32_t>(content, labels);
  ASSERT_EQ(number, count);
  ASSERT_TRUE(same(expected, dst.content()));
  ASSERT_TRUE(dst.intact());
  ASSERT_TRUE(scratch.intact());
  ASSERT_TRUE(same(content, src.content()));
}

void checkAll(const Plane<std::uint8_t>& content, Placing placing, int shift) {
  for (const RvpiConnectivity norm : {rvpConnect4, rvpConnect8}) {
    SCOPED_TRACE(norm);
    checkInPlace(content, placing, shift, {1, 254, norm});
    checkInPlace(content, placing, shift, {5, 7, norm});
    checkBeside(content, placing, shift, {1, 0x7FFFFFFE, norm});
  }
}

TEST(LabelMarkers, NumbersComponentsInRasterOrderForEveryWidth) {
  sweepSmall([](const Shape& shape) {
    for (const unsigned kind : {0U, 1U, 2U, 3U}) {
      const int shift = static_cast<int>(shape.seed % 13);
      checkAll(markers<std::uint8_t>(shape.width, shape.height * 2, shape.seed + kind, kind), shape.placing, shift);
      const auto wide = markers<std::uint16_t>(shape.width, shape.height, shape.seed + kind, kind);
      checkInPlace(wide, shape.placing, shift, {1, 65534, rvpConnect4});
      checkInPlace(wide, shape.placing, shift, {700, 700, rvpConnect8});
    }
  });
}

TEST(LabelMarkers, FollowsComponentsThroughLargeImages) {
  for (const unsigned kind : {0U, 1U, 2U, 3U}) checkAll(markers<std::uint8_t>(301, 97, 5 + kind, kind), {3, 1}, 1);
  for (const auto& [width, height] : {std::pair{131, 77}, {77, 131}, {1, 400}, {400, 1}, {2, 90}, {3, 90}}) {
    for (const Pattern pattern : kPatterns) {
      SCOPED_TRACE(static_cast<int>(pattern));
      checkAll(patternPlane(pattern, width, height), {}, 3);
    }
  }
}

TEST(LabelMarkers, StaysWithinItsMemory) {
  for (const Cliff cliff : {Cliff::before, Cliff::behind}) {
    for (const int width : {1, 2, 3, 63, 64, 65, 200}) {
      for (const Pattern pattern : {Pattern::columns, Pattern::checkerboard, Pattern::full}) {
        const Plane<std::uint8_t> content = patternPlane(pattern, width, 3);
        OnCliff<std::uint8_t> image(content, cliff);
        OnCliff<std::uint8_t> src(content, cliff);
        OnCliff<std::int32_t> dst(Plane<std::int32_t>(width, 3), cliff);
        OnCliff<std::uint8_t> scratch(Plane<std::uint8_t>(bufferSize(image.size()), 1), cliff);
        int number = 0;
        ASSERT_EQ(label(image.data(), image.step(), image.size(), {1, 9, 0}, &number, scratch.data()), rvpStatusOk);
        ASSERT_EQ(rvpiLabelMarkers_8u32s_C1R(src.data(), src.step(), dst.data(), dst.step(), src.size(), 1, 9, 0,
                                             &number, scratch.data()),
                  rvpStatusOk);
      }
    }
  }
}

TEST(LabelMarkers, ChecksInOrder) {
  std::uint16_t image[8] = {3};
  std::int32_t dst[8] = {5};
  std::uint8_t src[8] = {1};
  std::uint8_t buffer[200];
  int number = 77;
  const auto inPlace = [&](std::uint16_t* pixels, int step, RvpiSize size, Labels labels, int* count,
                           std::uint8_t* scratch) { return label(pixels, step, size, labels, count, scratch); };
  EXPECT_EQ(inPlace(nullptr, 8, {0, 1}, {1, 2, 0}, &number, buffer), rvpStatusNullPointer);
  EXPECT_EQ(inPlace(image, 8, {0, 1}, {1, 2, 0}, nullptr, buffer), rvpStatusNullPointer);
  EXPECT_EQ(inPlace(image, 8, {0, 1}, {1, 2, 0}, &number, nullptr), rvpStatusNullPointer);
  EXPECT_EQ(inPlace(image, -8, {4, 0}, {1, 2, 0}, &number, buffer), rvpStatusBadSize);
  EXPECT_EQ(inPlace(image, 7, {4, 1}, {0, 2, 0}, &number, buffer), rvpStatusBadStep);
  EXPECT_EQ(inPlace(image, 9, {4, 1}, {0, 2, 0}, &number, buffer), rvpStatusStepNotMultiple);
  for (const Labels& labels : {Labels{0, 2, 0}, {1, 65535, 0}, {3, 2, 0}, {1, 2, 2}, {1, 2, -1}})
    EXPECT_EQ(inPlace(image, 8, {4, 1}, labels, &number, buffer), rvpStatusBadArgument);
  EXPECT_EQ(label(src, 8, {8, 1}, {1, 255, 0}, &number, buffer), rvpStatusBadArgument);
  const auto beside = [&](int srcStep, int dstStep, int maxLabel) {
    return rvpiLabelMarkers_8u32s_C1R(src, srcStep, dst, dstStep, {4, 1}, 1, maxLabel, 1, &number, buffer);
  };
  EXPECT_EQ(rvpiLabelMarkers_8u32s_C1R(src, 4, nullptr, 16, {4, 1}, 1, 2, 1, &number, buffer),
            rvpStatusNullPointer);
  EXPECT_EQ(beside(3, 17, 0), rvpStatusBadStep);
  EXPECT_EQ(beside(4, 15, 0), rvpStatusBadStep);
  EXPECT_EQ(beside(4, 18, 0), rvpStatusStepNotMultiple);
  EXPECT_EQ(beside(4, 16, 0x7FFFFFFF), rvpStatusBadArgument);
  EXPECT_EQ(number, 77);
  EXPECT_EQ(image[0], 3);
  EXPECT_EQ(dst[0], 5);
  int bytes = -1;
  EXPECT_EQ(rvpiLabelMarkersGetBufferSize_16u_C1R({0, 0}, nullptr), rvpStatusNullPointer);
  EXPECT_EQ(rvpiLabelMarkersGetBufferSize_8u32s_C1R({5, 0}, &bytes), rvpStatusBadSize);
  EXPECT_EQ(bytes, -1);
  EXPECT_EQ(bufferSize({100, 7}), 6 * 700 + 32);
}

}  // namespace
