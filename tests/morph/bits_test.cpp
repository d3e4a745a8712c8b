// Erosion and dilation of bits against the formula.
#include <gtest/gtest.h>

#include "morph/bits.h"
#include "morph/masks.h"
#include "rvpcv.h"
#include "support/compare.h"
#include "support/sweep.h"

namespace {

using namespace test;
using State = Element<RvpiMorphState, decltype(&rvpiMorphologyBorderGetSize_1u_C1R),
                      decltype(&rvpiMorphologyBorderInit_1u_C1R)>;

State stateOf(RvpiSize largest, const Mask& mask, Cliff cliff) {
  return {rvpiMorphologyBorderGetSize_1u_C1R, rvpiMorphologyBorderInit_1u_C1R, largest, mask, cliff};
}

void check(const Shape& shape, const Mask& mask, RvpiBorderType border, RvpiSize largest, Cliff cliff) {
  SCOPED_TRACE("mask " + std::to_string(mask.width) + " x " + std::to_string(mask.height) + ", border " +
               std::to_string(border));
  const int margin = mask.reach();
  const auto seed = static_cast<int>(shape.seed);
  const bool ones = seed % 2 == 0;
  const Bordered<std::uint8_t> image = {randomBits(shape.width + 2 * margin, shape.height + 2 * margin, shape.seed),
                                        margin, border, static_cast<std::uint8_t>(ones)};
  FlaggedBits src(image, seed % 8, cliff);
  State state = stateOf(largest, mask, cliff);
  for (const bool erodes : {true, false}) {
    const int dstOffset = (seed + 3) % 11;
    const Plane<std::uint8_t> blank(shape.width, shape.height);
    Guarded<std::uint8_t> dst(packed(blank, dstOffset), shape.placing);
    const auto expected = planeOf<std::uint8_t>(shape.width, shape.height, [&](int y, int x) {
      return extremumAt(image, mask, x, y,
                        [=](std::uint8_t a, std::uint8_t b) { return erodes ? std::min(a, b) : std::max(a, b); });
    });
    const auto run = erodes ? rvpiErodeBorder_1u_C1R : rvpiDilateBorder_1u_C1R;
    ASSERT_EQ(run(src.first(), src.step(), src.bitOffset(), dst.data(), dst.step(), dstOffset,
                  {shape.width, shape.height}, border, ones ? 200 : 0, state.spec(), state.buffer()),
              rvpStatusOk);
    // Bits beside the region are in the same bytes, so that they are compared too.
    ASSERT_TRUE(same(packed(expected, dstOffset), dst)) << (erodes ? "erosion" : "dilation");
  }
}

TEST(ErodeDilateBits, FollowTheFormulaForEveryWidth) {
  const std::vector<Mask> masks = someMasks();
  const std::vector<RvpiBorderType> borders = plainBorders();
  std::size_t turn = 0;
  for (int width = 1; width <= 200; ++width) {
    for (int k = 0; k < 6; ++k, ++turn) {
      tryShape({width, 1 + k, {k, width % 3}, 1, static_cast<unsigned>(turn)}, [&](const Shape& shape) {
        const int spare = turn % 3 == 0 ? 40 : 0;
        check(shape, masks[turn % masks.size()], borders[turn / 3 % borders.size()],
              {shape.width + spare, shape.height + spare}, turn % 2 == 0 ? Cliff::behind : Cliff::before);
      });
    }
  }
}

TEST(ErodeDilateBits, FollowTheFormulaForEveryMaskAndBorder) {
  unsigned turn = 0;
  for (const Mask& mask : someMasks()) {
    for (const RvpiBorderType border : plainBorders()) {
      for (const RvpiSize size : {RvpiSize{1, 1}, {64, 37}, {130, 19}, {700, 3}}) {
        ++turn;
        tryShape({size.width, size.height, {}, 1, turn}, [&](const Shape& shape) {
          check(shape, mask, border, size, turn % 2 == 0 ? Cliff::behind : Cliff::before);
        });
      }
    }
  }
}

// A state's buffer serves wider and taller regions too, in narrower strips.
TEST(ErodeDilateBits, TakeRegionsBeyondTheOneOfInit) {
  for (const Mask& mask : {rectangle(15, 15), randomMask(9, 9, 1), rectangleIn(3, 2, {})}) {
    for (const RvpiSize largest : {RvpiSize{1, 1}, {70, 1}})
      tryShape({900, 40, {}, 1, 5},
               [&](const Shape& shape) { check(shape, mask, rvpBorderRepl, largest, Cliff::behind); });
  }
}

TEST(ErodeDilateBits, ChecksInOrder) {
  State state = stateOf({20, 2}, rectangle(3, 3), Cliff::before);
  const std::uint8_t src[16] = {};
  std::uint8_t dst[16] = {77};
  const auto run = [&](const std::uint8_t* from, int srcStep, int srcBit, std::uint8_t* to, int dstStep, int dstBit,
                       RvpiSize size, RvpiBorderType border) {
    return rvpiErodeBorder_1u_C1R(from, srcStep, srcBit, to, dstStep, dstBit, size, border, 0, state.spec(),
                                  state.buffer());
  };
  EXPECT_EQ(run(nullptr, 3, -1, dst, 3, 0, {20, 1}, 1), rvpStatusNullPointer);
  EXPECT_EQ(run(src, 3, -1, nullptr, 3, 0, {20, 1}, 1), rvpStatusNullPointer);
  EXPECT_EQ(rvpiDilateBorder_1u_C1R(src, 3, -1, dst, 3, 0, {20, 1}, 1, 0, nullptr, dst), rvpStatusNullPointer);
  EXPECT_EQ(rvpiDilateBorder_1u_C1R(src, 3, -1, dst, 3, 0, {20, 1}, 1, 0, state.spec(), nullptr),
            rvpStatusNullPointer);
  EXPECT_EQ(run(src, 2, -1, dst, 3, 0, {20, 1}, 1), rvpStatusBadSize);
  EXPECT_EQ(run(src, 2, 0, dst, 3, -8, {20, 1}, 1), rvpStatusBadSize);
  EXPECT_EQ(run(src, 0, 0, dst, 3, 0, {0, 1}, 1), rvpStatusBadSize);
  EXPECT_EQ(run(src, 2, 0, dst, 3, 0, {17, 1}, 3), rvpStatusBadStep);
  EXPECT_EQ(run(src, 3, 0, dst, 2, 0, {17, 1}, 3), rvpStatusBadStep);
  EXPECT_EQ(run(dst, 3, 0, dst, 3, 0, {20, 1}, 3), rvpStatusBadBorder);
  EXPECT_EQ(run(dst, 3, 0, dst, 3, 1, {20, 1}, 1), rvpStatusInPlaceNotSupported);
  EXPECT_EQ(dst[0], 77);
  EXPECT_EQ(run(src, 2, 0, dst, 2, 0, {16, 1}, 1 + 256), rvpStatusOk);
}

}  // namespace
