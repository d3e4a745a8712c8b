// Labels against a fill of each component in raster order.
#include "support/test.h"

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

// `image` becomes the labels of `content`.
template <class Src, class Dst, class... Images>
void check(const Plane<Src>& content, Guarded<Dst>& image, const Shape& shape, const Labels& labels, auto function,
           Images&... images) {
  Block scratch(bytesOf(kBytes, image.size()), shape.anywhere());
  int number = -1;
  ASSERT_EQ(
      call(function, images..., image.size(), labels.minLabel, labels.maxLabel, labels.norm, &number, scratch),
      rvpStatusOk);
  const auto [expected, count] = expectedLabels<Src, Dst>(content, labels);
  ASSERT_EQ(number, count);
  ASSERT_TRUE(same(expected, image));
}

template <class T>
void checkInPlace(const Plane<T>& content, const Shape& shape, const Labels& labels) {
  Guarded<T> image(content, shape.placing);
  check(content, image, shape, labels, kLabel<T>, image);
}

void checkBeside(const Plane<std::uint8_t>& content, const Shape& shape, const Labels& labels) {
  Guarded<std::uint8_t> src(content, shape.placing);
  Guarded<std::int32_t> dst(Plane<std::int32_t>(content.width, content.height, -5), shape.placing);
  check(content, dst, shape, labels, rvpiLabelMarkers_8u32s_C1R, src, dst);
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
  std::uint16_t image[8] = {3};
  std::int32_t dst[8] = {5};
  std::uint8_t src[8] = {1}, buffer[200];
  int number = 77;
  // The greatest label is the last below what the type holds.
  expectFirstOfTwo(rvpiLabelMarkers_16u_C1IR,
                   {nulls<>, badSizes, shortSteps<0>, oddSteps<0>, at<3>(rvpStatusBadArgument, 0, 3),
                    at<4>(rvpStatusBadArgument, 65535), at<5>(rvpStatusBadArgument, 2, -1)},
                   image, 8, {4, 1}, 1, 2, 0, &number, buffer);
  expectFirstOfTwo(rvpiLabelMarkers_8u_C1IR,
                   {nulls<>, badSizes, shortSteps<0>, at<3>(rvpStatusBadArgument, 0, 3),
                    at<4>(rvpStatusBadArgument, 255), at<5>(rvpStatusBadArgument, 2, -1)},
                   src, 4, {4, 1}, 1, 2, 0, &number, buffer);
  expectFirstOfTwo(rvpiLabelMarkers_8u32s_C1R,
                   {nulls<>, badSizes, shortSteps<0, 2>, oddSteps<0, 2>, at<5>(rvpStatusBadArgument, 0, 3),
                    at<6>(rvpStatusBadArgument, 0x7FFFFFFF), at<7>(rvpStatusBadArgument, 2, -1)},
                   src, 4, dst, 16, {4, 1}, 1, 2, 0, &number, buffer);
  int bytes = -1;
  for (const auto query : {rvpiLabelMarkersGetBufferSize_16u_C1R, rvpiLabelMarkersGetBufferSize_8u32s_C1R, kBytes})
    expectFirstOfTwo(query, {nulls<>, badSizes}, {5, 1}, &bytes);
  EXPECT_EQ(bytesOf(kBytes, RvpiSize{100, 7}), 6 * 700 + 32);
}

FUZZ(label, input) {
  const Shape shape = input.shape();
  const int minLabel = input.between(1, 254);
  const Labels labels = {minLabel, input.between(minLabel, 254), input.between(0, 1)};
  const auto content = input.plane<std::uint8_t>(shape.width, shape.height);
  checkBeside(content, shape, labels);
  checkInPlace(content, shape, labels);
  checkInPlace(input.plane<std::uint16_t>(shape.width, shape.height), shape, labels);
}

}  // namespace
