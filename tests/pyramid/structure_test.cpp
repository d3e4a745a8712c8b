// Sizes of pyramid levels against a search through all extents, and the record against those sizes.
#include "support/test.h"

namespace {

using namespace test;

constexpr float kBarelyAbove1 = 1.0F + std::numeric_limits<float>::epsilon();
constexpr float kRates[] = {kBarelyAbove1, 1.001F, 1.1F, 1.3F, 1.5F, 1.9999F, 2.0F, 2.5F, 3.1415927F, 9.99F, 10.0F};

struct Range {
  long least, most;
};

Range above(long n, float rate) {
  const auto product = [rate](long m) {
    const volatile float rounded = static_cast<float>(m) * rate;
    return std::lround(std::trunc(rounded));
  };
  return {n == 1 ? 1 : std::max(product(n - 1) + 1, n + 1), std::max(product(n), n + 1)};
}

TEST(PyramidStructure, UpSizesFollowTheFormulaInBothDirections) {
  for (const float rate : kRates) {
    for (const int n : {1, 2, 3, 4, 5, 7, 10, 63, 64, 100, 1001, 65537, 1 << 24, (1 << 24) + 1, 99999999}) {
      RvpiSize least{}, most{};
      ASSERT_EQ(rvpiGetPyramidUpROI({n, n + 3}, &least, &most, rate), rvpStatusOk);
      const Range x = above(n, rate), y = above(n + 3, rate);
      EXPECT_TRUE(least.width == x.least && most.width == x.most) << n << " at " << rate;
      EXPECT_TRUE(least.height == y.least && most.height == y.most) << n << " at " << rate;
    }
  }
  RvpiSize least{}, most{};
  ASSERT_EQ(rvpiGetPyramidUpROI({1, INT32_MAX}, &least, &most, 1.5F), rvpStatusOk);
  EXPECT_TRUE(least.width == 1 && most.width == 2 && least.height == INT32_MAX && most.height == INT32_MAX);
}

TEST(PyramidStructure, DownIsTheOneExtentWhoseUpRangeHoldsTheSource) {
  for (const float rate : kRates) {
    long below = 1;
    for (int n = 1; n < 3000; ++n) {
      while (n > above(below, rate).most) ++below;
      RvpiSize dst{};
      ASSERT_EQ(rvpiGetPyramidDownROI({n, 3000 - n}, &dst, rate), rvpStatusOk);
      ASSERT_EQ(dst.width, below) << n << " at " << rate;
      ASSERT_EQ(rvpiGetPyramidDownROI({1, n}, &dst, rate), rvpStatusOk);
      ASSERT_EQ(dst.width, 1);
      ASSERT_EQ(dst.height, below) << n << " at " << rate;
    }
    for (const int n : {(1 << 24) - 1, (1 << 24) + 1, 987654321, std::numeric_limits<int>::max()}) {
      RvpiSize dst{};
      ASSERT_EQ(rvpiGetPyramidDownROI({n, n}, &dst, rate), rvpStatusOk);
      EXPECT_LT(dst.width, n);
      EXPECT_LE(above(dst.width, rate).least, n);
      EXPECT_GE(above(dst.width, rate).most, n);
    }
  }
}

// The sizes from the full image on, while there is a smaller one.
std::vector<RvpiSize> levelsOf(RvpiSize size, float rate) {
  std::vector<RvpiSize> levels = {size};
  while (size.width > 1 || size.height > 1) {
    rvpiGetPyramidDownROI(size, &size, rate);
    levels.push_back(size);
  }
  return levels;
}

TEST(PyramidStructure, RecordAndScratchStayWithinTheirSizes) {
  for (const float rate : kRates) {
    for (const RvpiSize size : {RvpiSize{1, 1}, {2, 1}, {1, 9}, {2, 2}, {5, 7}, {33, 20}, {160, 121}}) {
      const std::vector<RvpiSize> levels = levelsOf(size, rate);
      const int count = static_cast<int>(levels.size()) - 1;
      for (const int level : {1, 2, 5, count + 1, std::numeric_limits<int>::max()}) {
        int recordBytes = 0, scratchBytes = 0;
        ASSERT_EQ(rvpiPyramidGetSize(&recordBytes, &scratchBytes, level, size, rate), rvpStatusOk);
        EXPECT_EQ(scratchBytes, 8 * std::max(size.width, size.height));
        EXPECT_EQ(recordBytes, 52 * std::min(level, count) + 152);
        Guarded<std::uint8_t> memory(randomPlane<std::uint8_t>(recordBytes, 1, 1));
        Guarded<std::uint8_t> scratch(randomPlane<std::uint8_t>(scratchBytes, 1, 2), {0, 3});
        RvpiPyramid* pyramid = nullptr;
        ASSERT_EQ(rvpiPyramidInit(&pyramid, level, size, memory.data(), scratch.data(), rate), rvpStatusOk);
        ASSERT_EQ(reinterpret_cast<std::uint8_t*>(pyramid), memory.data());
        ASSERT_EQ(pyramid->level, std::min(level, count));
        EXPECT_EQ(pyramid->pState, nullptr);
        for (const void* array : {static_cast<void*>(pyramid->pImage), static_cast<void*>(pyramid->pRoi),
                                  static_cast<void*>(pyramid->pRate), static_cast<void*>(pyramid->pStep)})
          EXPECT_EQ(reinterpret_cast<std::uintptr_t>(array) % 8, 0U);
        double scale = 1;
        for (int i = 0; i <= pyramid->level; ++i, scale *= 1.0 / static_cast<double>(rate)) {
          EXPECT_EQ(pyramid->pImage[i], nullptr);
          EXPECT_EQ(pyramid->pStep[i], 0);
          EXPECT_EQ(pyramid->pRate[i], scale);
          EXPECT_EQ(pyramid->pRoi[i].width, levels[static_cast<std::size_t>(i)].width);
          EXPECT_EQ(pyramid->pRoi[i].height, levels[static_cast<std::size_t>(i)].height);
          // The caller's entries, all four arrays side by side: none lies in another.
          pyramid->pImage[i] = memory.data() + i;
          pyramid->pStep[i] = i;
        }
      }
    }
  }
}

TEST(PyramidStructure, SizesBeyond31BitsAreCut) {
  int recordBytes = 0, scratchBytes = 0;
  ASSERT_EQ(rvpiPyramidGetSize(&recordBytes, &scratchBytes, 100, {std::numeric_limits<int>::max(), 1}, 2.0F),
            rvpStatusOk);
  EXPECT_EQ(recordBytes, 52 * 31 + 152);
  EXPECT_EQ(scratchBytes, std::numeric_limits<int>::max());
}

TEST(PyramidStructure, ReportsTheFirstOfTwoFaults) {
  RvpiSize a{7, 7}, b{7, 7};
  int recordBytes = -1, scratchBytes = -1;
  std::uint8_t memory[512] = {9}, scratch[64] = {9};
  RvpiPyramid* pyramid = nullptr;
  for (const float rate : {1.0F, 0.5F, -3.0F, 10.000001F, std::nanf(""), HUGE_VALF}) {
    expectFirstOfTwo(rvpiGetPyramidDownROI, {nulls<>, badSizes, at<2>(rvpStatusBadArgument, rate)}, {8, 8}, &a, 2);
    expectFirstOfTwo(rvpiGetPyramidUpROI, {nulls<>, badSizes, at<3>(rvpStatusBadArgument, rate)}, {8, 8}, &a, &b,
                     2);
    expectFirstOfTwo(rvpiPyramidGetSize,
                     {nulls<>, badSizes, at<2>(rvpStatusBadArgument, 0), at<4>(rvpStatusBadArgument, rate)},
                     &recordBytes, &scratchBytes, 1, {8, 8}, 2);
    expectFirstOfTwo(rvpiPyramidInit,
                     {nulls<>, badSizes, at<1>(rvpStatusBadArgument, 0), at<5>(rvpStatusBadArgument, rate)},
                     &pyramid, 1, {8, 8}, memory, scratch, 2);
  }
}

}  // namespace
