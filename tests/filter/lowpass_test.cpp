// The smoothing filter against its formula, each pixel summed for itself.
#include "support/test.h"

namespace {

using namespace test;

Plane<float> expectedSums(const Bordered<float>& image, int mask) {
  return planeOf<float>(image.width(), image.height(), [&](int y, int x) {
    return squareSum(mask / 22, [&](int i, int j) { return image.at(x + i, y + j); });
  });
}

void checkLowpass(const Shape& shape, RvpiBorderType border, int mask) {
  SCOPED_TRACE(words("border", border, "mask", mask));
  const Bordered<float> image = {
      randomPlane<float>(shape.width + 4, shape.height + 4, shape.seed, shape.seed % 2 != 0), 2, border, 3.7f};
  OnlyFlaggedSides<float> src(image, shape.seed % 3 == 0 ? Cliff::before : Cliff::behind);
  Guarded<float> dst(Plane<float>(shape.width, shape.height), shape.placing);
  Block scratch(bytesOf(rvpiFilterLowpassGetBufferSize_32f_C1R, shape.size(), mask), shape.anywhere());
  ASSERT_EQ(call(rvpiFilterLowpassBorder_32f_C1R, src, dst, dst.size(), mask, border, image.value, scratch),
            rvpStatusOk);
  ASSERT_TRUE(same(expectedSums(image, mask), dst));
}

TEST(Lowpass, FollowsTheFormulaAtEveryWidthAndBorder) {
  sweepSmall([](const Shape& shape) {
    for (const RvpiBorderType border : someBorders()) {
      for (const int mask : {33, 55}) checkLowpass(shape, border, mask);
    }
  });
}

// Teams begin at 256 rows, each with a ring of its own in the scratch; rows longer than one stretch have inner
// stretches, which are read where they stand.
TEST(Lowpass, DoesNotDependOnTheTeam) {
  for (const int threads : {2, 3, 8}) {
    tryShape({1601, 258, {}, threads, 32}, [](const Shape& s) { checkLowpass(s, rvpBorderRepl, 55); });
    tryShape({9, 1030, {3, 1}, threads, 33}, [](const Shape& s) { checkLowpass(s, rvpBorderInMem, 33); });
  }
}

TEST(Lowpass, ReportsTheFirstOfTwoFaults) {
  const Plane<float> content(4, 2, 1.0f);
  Guarded<float> src(content), dst(content);
  std::vector<std::uint8_t> scratch(4096);
  expectFirstOfTwo(rvpiFilterLowpassBorder_32f_C1R,
                   {nulls<>, badSizes, shortSteps<>, oddSteps<>, at<5>(rvpStatusBadMaskSize, 44),
                    at<6>(rvpStatusBadArgument, rvpBorderMirrorEdge)},
                   src.data(), 16, dst.data(), 16, {4, 2}, 33, rvpBorderRepl, 0, scratch.data());
  EXPECT_TRUE(same(content, dst));
  int bytes = -7;
  expectFirstOfTwo(rvpiFilterLowpassGetBufferSize_32f_C1R, {nulls<>, badSizes, at<1>(rvpStatusBadMaskSize, 44, 35)},
                   {4, 2}, 55, &bytes);
  EXPECT_EQ(rvpiFilterLowpassGetBufferSize_32f_C1R({INT32_MAX, 1}, 55, &bytes), rvpStatusSizeOverflow);
  EXPECT_EQ(bytes, -7);
}

FUZZ(lowpass, input) {
  tryShape(input.shape(), [&](const Shape& shape) { checkLowpass(shape, input.border(), input.flag() ? 33 : 55); });
}

}  // namespace
