// Labels against a fill of each component in raster order.
#include <gtest/gtest.h>

#include <limits>
#include <utility>
#include <vector>

#include "rvpcv.h"
#include "support/calls.h"
#include "support/compare.h"
#include "support/faults.h"
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
  forElements(src, [&](int y, int x) {
    if (!hasNoLabel(y, x)) return;
    const auto label = static_cast<Dst>(labels.minLabel + count++ % (labels.maxLabel - labels.minLabel + 1));
    forNeighbours(src, labels.norm == rvpConnect8, {y, x}, [&](Place, Place to) {
      if (!hasNoLabel(to.y, to.x)) return false;
      dst.at(to.y, to.x) = label;
      return true;
    });
    dst.at(y, x) = label;
  });
  return {dst, count};
}

// Nonzero pixels in rows and columns of sparse, half full or nearly full noise.
template <class T>
Plane<T> markers(int width, int height, unsigned seed, unsigned kind) {
  const Plane<T> pixels = randomPlane<T>(width, height, seed);
  const Plane<std::uint8_t> choice = randomPlane<std::uint8_t>(width, height, seed + 7);
  static constexpr int kShare[] = {20, 128, 165, 250};
  return planeOf<T>(width, height,
                    [&](int y, int x) { return choice.at(y, x) < kShare[kind % 4] ? pixels.at(y, x) : T{0}; });
}

constexpr auto kBytes = rvpiLabelMarkersGetBufferSize_8u_C1R;

template <class T>
constexpr auto kLabel = rvpiLabelMarkers_8u_C1IR;
template <>
constexpr auto kLabel<std::uint16_t> = rvpiLabelMarkers_16u_C1IR;

template <class T>
void checkInPlace(const Plane<T>& content, const Shape& shape, const Labels& labels) {
  Guarded<T> image(content, shape.placing);
  Block scratch(bytesOf(kBytes, image.size()), shape.anywhere());
  int number = -1;
  ASSERT_EQ(call(kLabel<T>, image, image.size(), labels.minLabel, labels.maxLabel, labels.norm, &number, scratch),
            rvpStatusOk);
  const auto [expected, count] = expectedLabels<T, T>(content, labels);
  ASSERT_EQ(number, count);
  ASSERT_TRUE(same(expected, image));
}

void checkBeside(const Plane<std::uint8_t>& content, const Shape& shape, const Labels& labels) {
  Guarded<std::uint8_t> src(content, shape.placing);
  Guarded<std::int32_t> dst(Plane<std::int32_t>(content.width, content.height, -5), shape.placing);
  Block scratch(bytesOf(kBytes, src.size()), shape.anywhere());
  int number = -1;
  ASSERT_EQ(call(rvpiLabelMarkers_8u32s_C1R, src, dst, src.size(), labels.minLabel, labels.maxLabel, labels.norm,
                 &number, scratch),
            rvpStatusOk);
  const auto [expected, count] = expectedLabels<std::uint8_t, std::int32_t>(content, labels);
  ASSERT_EQ(number, count);
  ASSERT_TRUE(same(expected, dst));
  ASSERT_TRUE(same(content, src));
}

void checkAll(const Plane<std::uint8_t>& content, const Shape& shape) {
  for (const RvpiConnectivity norm : {rvpConnect4, rvpConnect8}) {
    SCOPED_TRACE(norm);
    checkInPlace(content, shape, {1, 254, norm});
    checkInPlace(content, shape, {5, 7, norm});
    checkBeside(content, shape, {1, 0x7FFFFFFE, norm});
  }
}

TEST(LabelMarkers, NumbersComponentsInRasterOrderForEveryWidth) {
  sweepSmall([](const Shape& shape) {
    for (const unsigned kind : {0U, 1U, 2U, 3U}) {
      checkAll(markers<std::uint8_t>(shape.width, shape.height * 2, shape.seed + kind, kind), shape);
      const auto wide = markers<std::uint16_t>(shape.width, shape.height, shape.seed + kind, kind);
      checkInPlace(wide, shape, {1, 65534, rvpConnect4});
      checkInPlace(wide, shape, {700, 700, rvpConnect8});
    }
  });
}

TEST(LabelMarkers, FollowsComponentsThroughLargeImages) {
  for (const unsigned kind : {0U, 1U, 2U, 3U})
    checkAll(markers<std::uint8_t>(301, 97, 5 + kind, kind), {.placing = {3, 1}, .seed = 1});
  sweepCliffs({{131, 77}, {77, 131}, {1, 400}, {400, 1}, {2, 90}, {3, 90}}, 1, [](const Shape& shape) {
    for (const Pattern pattern : kPatterns) {
      SCOPED_TRACE(static_cast<int>(pattern));
      checkAll(patternPlane(pattern, shape.width, shape.height), shape);
    }
  });
}

TEST(LabelMarkers, ReportsTheFirstOfTwoFaults) {
  struct Arguments {
    std::uint8_t* src;
    int srcStep;
    std::int32_t* dst;
    std::uint16_t* image;
    int step;
    RvpiSize size;
    Labels labels;
    int* number;
    std::uint8_t* buffer;
  };
  std::uint16_t image[8] = {3};
  std::int32_t dst[8] = {5};
  std::uint8_t src[8] = {1};
  std::uint8_t buffer[200];
  int number = 77;
  const Arguments good = {src, 4, dst, image, 8, {4, 1}, {1, 2, 0}, &number, buffer};
  const Faults<Arguments> common = {{rvpStatusNullPointer, [](auto& a) { a.number = nullptr; }},
                                    {rvpStatusNullPointer, [](auto& a) { a.buffer = nullptr; }},
                                    {rvpStatusBadSize, [](auto& a) { a.size.width = 0; }},
                                    {rvpStatusBadSize, [](auto& a) { a.size.height = 0; }}};
  const Faults<Arguments> labels = {{rvpStatusBadArgument, [](auto& a) { a.labels.minLabel = 0; }},
                                    {rvpStatusBadArgument, [](auto& a) { a.labels.maxLabel = 0x7FFFFFFF; }},
                                    {rvpStatusBadArgument, [](auto& a) { a.labels.minLabel = 3; }},
                                    {rvpStatusBadArgument, [](auto& a) { a.labels.norm = 2; }},
                                    {rvpStatusBadArgument, [](auto& a) { a.labels.norm = -1; }}};
  const auto inPlace = [](const Arguments& a) {
    return rvpiLabelMarkers_16u_C1IR(a.image, a.step, a.size, a.labels.minLabel, a.labels.maxLabel, a.labels.norm,
                                     a.number, a.buffer);
  };
  const auto beside = [](const Arguments& a) {
    return rvpiLabelMarkers_8u32s_C1R(a.src, a.srcStep, a.dst, a.step, a.size, a.labels.minLabel, a.labels.maxLabel,
                                      a.labels.norm, a.number, a.buffer);
  };
  const auto check = [&](Faults<Arguments> faults, const Faults<Arguments>& steps, Arguments arguments,
                         const auto& run) {
    for (const auto* more : {&common, &steps, &labels}) faults.insert(faults.end(), more->begin(), more->end());
    expectFirstOfTwo(faults, arguments, run);
  };
  check({{rvpStatusNullPointer, [](auto& a) { a.image = nullptr; }}},
        {{rvpStatusBadStep, [](auto& a) { a.step = 7; }}, {rvpStatusStepNotMultiple, [](auto& a) { a.step = 9; }}},
        good, inPlace);
  Arguments wide = good;
  wide.step = 16;
  check({{rvpStatusNullPointer, [](auto& a) { a.src = nullptr; }},
         {rvpStatusNullPointer, [](auto& a) { a.dst = nullptr; }}},
        {{rvpStatusBadStep, [](auto& a) { a.srcStep = 3; }},
         {rvpStatusBadStep, [](auto& a) { a.step = 15; }},
         {rvpStatusStepNotMultiple, [](auto& a) { a.step = 18; }}},
        wide, beside);
  // One label beyond what the types hold.
  EXPECT_EQ(rvpiLabelMarkers_16u_C1IR(image, 8, {4, 1}, 1, 65535, 0, &number, buffer), rvpStatusBadArgument);
  EXPECT_EQ(rvpiLabelMarkers_8u_C1IR(src, 8, {8, 1}, 1, 255, 0, &number, buffer), rvpStatusBadArgument);
  EXPECT_TRUE(number == 77 && image[0] == 3 && dst[0] == 5);
  int bytes = -1;
  EXPECT_EQ(rvpiLabelMarkersGetBufferSize_16u_C1R({0, 0}, nullptr), rvpStatusNullPointer);
  EXPECT_EQ(rvpiLabelMarkersGetBufferSize_8u32s_C1R({5, 0}, &bytes), rvpStatusBadSize);
  EXPECT_EQ(bytes, -1);
  EXPECT_EQ(bytesOf(kBytes, RvpiSize{100, 7}), 6 * 700 + 32);
}

}  // namespace
