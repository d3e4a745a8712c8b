// The smoothing filter against its formula, each pixel summed for itself.
#include <gtest/gtest.h>

#include <limits>

#include "rvpcv.h"
#include "support/bordered.h"
#include "support/calls.h"
#include "support/compare.h"
#include "support/faults.h"
#include "support/sweep.h"

namespace {

using namespace test;

Plane<float> expectedSums(const Bordered<float>& image, int mask) {
  const int r = mask / 22;
  return planeOf<float>(image.width(), image.height(), [&](int y, int x) {
    const auto sum = [&](int j) {
      float s = image.at(x - r, y + j);
      for (int i = 1 - r; i <= r; ++i) s += image.at(x + i, y + j);
      return s;
    };
    const float inner = sum(0) + (sum(-1) + sum(1));
    return r == 2 ? inner + (sum(-2) + sum(2)) : inner;
  });
}

void checkLowpass(const Shape& shape, RvpiBorderType border, int mask) {
  SCOPED_TRACE("border " + std::to_string(border) + ", mask " + std::to_string(mask));
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

// Teams begin at 256 rows; rows longer than one stretch have inner stretches, which are read where they stand.
TEST(Lowpass, DoesNotDependOnTheTeam) {
  for (const int threads : {1, 2, 3, 8}) {
    tryShape({37, 255, {}, threads, 31}, [](const Shape& s) { checkLowpass(s, rvpBorderMirror, 55); });
    tryShape({1601, 258, {}, threads, 32}, [](const Shape& s) { checkLowpass(s, rvpBorderRepl, 55); });
    tryShape({9, 1030, {3, 1}, threads, 33}, [](const Shape& s) { checkLowpass(s, rvpBorderInMem, 33); });
  }
}

TEST(Lowpass, ReportsTheFirstOfTwoFaults) {
  struct Arguments {
    const float* src;
    int srcStep;
    float* dst;
    int dstStep;
    RvpiSize size;
    int mask, border;
    std::uint8_t* buffer;
  };
  const Faults<Arguments> faults = {{rvpStatusNullPointer, [](auto& a) { a.src = nullptr; }},
                                    {rvpStatusNullPointer, [](auto& a) { a.dst = nullptr; }},
                                    {rvpStatusNullPointer, [](auto& a) { a.buffer = nullptr; }},
                                    {rvpStatusBadSize, [](auto& a) { a.size.width = 0; }},
                                    {rvpStatusBadSize, [](auto& a) { a.size.height = -5; }},
                                    {rvpStatusBadStep, [](auto& a) { a.srcStep = 15; }},
                                    {rvpStatusBadStep, [](auto& a) { a.dstStep = -16; }},
                                    {rvpStatusStepNotMultiple, [](auto& a) { a.srcStep = 18; }},
                                    {rvpStatusStepNotMultiple, [](auto& a) { a.dstStep = 17; }},
                                    {rvpStatusBadMaskSize, [](auto& a) { a.mask = 44; }},
                                    {rvpStatusBadArgument, [](auto& a) { a.border = rvpBorderMirrorEdge; }}};
  const Plane<float> content(4, 2, 1.0f);
  Guarded<float> src(content, {1, 0}), dst(content, {1, 0});
  std::vector<std::uint8_t> scratch(4096);
  const Arguments good = {src.data(), src.step(), dst.data(),    dst.step(),
                          src.size(), 33,         rvpBorderRepl, scratch.data()};
  expectFirstOfTwo(faults, good, [](const Arguments& a) {
    return rvpiFilterLowpassBorder_32f_C1R(a.src, a.srcStep, a.dst, a.dstStep, a.size, a.mask, a.border, 0.0f,
                                           a.buffer);
  });
  EXPECT_TRUE(same(content, dst));
  int bytes = -7;
  EXPECT_EQ(rvpiFilterLowpassGetBufferSize_32f_C1R({0, 0}, 44, nullptr), rvpStatusNullPointer);
  EXPECT_EQ(rvpiFilterLowpassGetBufferSize_32f_C1R({1, 0}, 44, &bytes), rvpStatusBadSize);
  EXPECT_EQ(rvpiFilterLowpassGetBufferSize_32f_C1R({1, 1}, 35, &bytes), rvpStatusBadMaskSize);
  EXPECT_EQ(rvpiFilterLowpassGetBufferSize_32f_C1R({INT32_MAX, 1}, 55, &bytes), rvpStatusSizeOverflow);
  EXPECT_EQ(bytes, -7);
}

}  // namespace
