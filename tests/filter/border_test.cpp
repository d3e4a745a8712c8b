// Borders against the formula of each mode, one pixel at a time.
#include "filter/border.h"

#include "support/test.h"

namespace {

using namespace test;
using namespace rvp::n8;

struct Case {
  RvpiSize src;
  int top, bottom, left, right;
  RvpiSize dst() const { return {src.width + left + right, src.height + top + bottom}; }
};

template <class T, int kChannels>
Plane<T> extended(const Plane<T>& src, const Case& c, int mode, const T* value) {
  return planeOf<T>(c.dst().width * kChannels, c.dst().height, [&](int y, int x) {
    const int sx = standIn(mode, x / kChannels - c.left, c.src.width), sy = standIn(mode, y - c.top, c.src.height);
    return sx < 0 || sy < 0 ? value[x % kChannels] : src.at(sy, sx * kChannels + x % kChannels);
  });
}

template <class T, int kChannels>
RvpStatus copy(int mode, const T* src, int srcStep, T* dst, int dstStep, const Case& c, const T* value) {
  switch (mode) {
    case rvpBorderRepl:
      return rvpiCopyReplicateBorder<T, kChannels>(src, srcStep, c.src, dst, dstStep, c.dst(), c.top, c.left);
    case rvpBorderMirror:
      return rvpiCopyMirrorBorder<T, kChannels>(src, srcStep, c.src, dst, dstStep, c.dst(), c.top, c.left);
    default:
      return rvpiCopyConstBorder<T, kChannels>(src, srcStep, c.src, dst, dstStep, c.dst(), c.top, c.left, value);
  }
}

// Copies, in-place extension and row-wise reading have to agree with the formula and write nothing else.
template <class T, int kChannels>
void checkCase(const Case& c, unsigned seed) {
  SCOPED_TRACE(words(c.src.width, "x", c.src.height, "borders", c.top, c.bottom, c.left, c.right));
  const Plane<T> content = randomPlane<T>(c.src.width * kChannels, c.src.height, seed);
  const Plane<T> before = randomPlane<T>(c.dst().width * kChannels, c.dst().height, seed + 1);
  const std::array<T, 4> value = {T(1), T(2), T(3), T(4)};
  for (const int mode : {rvpBorderConst, rvpBorderRepl, rvpBorderMirror}) {
    const Plane<T> expected = extended<T, kChannels>(content, c, mode, value.data());
    Guarded<T> src(content, {3, 1}), dst(before, {5, 3});
    ASSERT_EQ(call(copy<T, kChannels>, mode, src, dst, c, value.data()), rvpStatusOk);
    ASSERT_TRUE(same(expected, dst)) << "mode " << mode;

    OnCliff<T> cliffSrc(content, Cliff::behind);
    Guarded<T> rows(before, {1, 0});
    const ExtendedImage<T, kChannels> image = {cliffSrc.data(), cliffSrc.step(), c.src, borderOf(mode),
                                               value.data()};
    image.readTile({-c.left, -c.top, c.dst().width, c.dst().height}, rows.data(), rows.step());
    ASSERT_TRUE(same(expected, rows)) << "mode " << mode << ", by rows";

    if (mode == rvpBorderConst) continue;
    Plane<T> around = before;
    for (int y = 0; y < c.src.height; ++y)
      std::copy_n(content.row(y), content.width, &around.at(y + c.top, c.left * kChannels));
    Guarded<T> inPlace(around, {2, 1});
    T* first = inPlace.row(c.top) + c.left * kChannels;
    ASSERT_EQ((copy<T, kChannels>(mode, first, -1, first, inPlace.step(), c, value.data())), rvpStatusOk);
    ASSERT_TRUE(same(expected, inPlace)) << "mode " << mode << ", in place";
  }
}

template <class T, int kChannels>
void checkAll() {
  for (int width = 1; width <= 40 && !testing::Test::HasFailure(); ++width) {
    checkCase<T, kChannels>({{width, 1 + width % 4}, width % 3, 2, width % 19, (width * 7) % 53}, 500U);
  }
  // Borders wider than the image, single rows and columns, and none at all.
  checkCase<T, kChannels>({{3, 2}, 11, 9, 14, 17}, 600U);
  checkCase<T, kChannels>({{1, 1}, 2, 3, 4, 5}, 601U);
  checkCase<T, kChannels>({{2, 3}, 7, 0, 0, 9}, 602U);
  checkCase<T, kChannels>({{31, 5}, 0, 0, 0, 0}, 603U);
}

TEST(Borders, FollowTheModeForEveryPixelSize) {
  checkAll<std::uint8_t, 1>();
  checkAll<std::uint8_t, 3>();
  checkAll<std::uint8_t, 4>();
  checkAll<std::uint16_t, 1>();
  checkAll<std::int16_t, 3>();
  checkAll<std::int16_t, 4>();
  checkAll<float, 1>();
  checkAll<float, 3>();
  checkAll<std::int32_t, 4>();
}

TEST(Borders, ReflectBeyondTheImage) {
  const std::uint8_t abc[] = {'a', 'b', 'c'};
  std::uint8_t ext[14] = {};
  FillBorder<1>(abc, 3, 5, 5, rvpBorderMirror, static_cast<const std::uint8_t*>(nullptr), ext);
  EXPECT_STREQ(reinterpret_cast<const char*>(ext), "babcbabcbabcb");
}

// A flagged side reads what stands beside the region, corners included; the mode serves the others.
TEST(Borders, ReadFlaggedSidesFromMemory) {
  constexpr int kReach = 4;
  Bordered<std::int16_t> image = {randomPlane<std::int16_t>(7 + 2 * kReach, 5 + 2 * kReach, 700), kReach, 0, 77};
  Guarded<std::int16_t> memory(image.memory);
  const std::int16_t* region = memory.row(kReach) + kReach;
  for (const int mode : {rvpBorderConst, rvpBorderRepl, rvpBorderMirror, rvpBorderInMem}) {
    for (int flags = 0; flags < 256; flags += 16) {
      if (mode == rvpBorderInMem && flags != 0) continue;
      image.border = mode | flags;
      const ExtendedImage<std::int16_t, 1> extended = {
          region, memory.step(), {7, 5}, borderOf(image.border), &image.value};
      const auto expected = planeOf<std::int16_t>(7 + 2 * kReach, 5 + 2 * kReach,
                                                  [&](int y, int x) { return image.at(x - kReach, y - kReach); });
      Guarded<std::int16_t> tile(Plane<std::int16_t>(expected.width, expected.height));
      extended.readTile({-kReach, -kReach, expected.width, expected.height}, tile.data(), tile.step());
      EXPECT_TRUE(same(expected, tile)) << "mode " << mode << " flags " << flags;
      // Ranges that lie wholly beside the region.
      for (const auto& [from, to] : {std::pair{-4, -1}, std::pair{8, 11}, std::pair{3, 3}}) {
        std::int16_t part[4] = {};
        extended.readRow(-2, from, to, part);
        for (int x = from; x < to; ++x) EXPECT_EQ(part[x - from], expected.at(kReach - 2, x + kReach));
      }
    }
  }
}

TEST(Borders, AreCheckedInOrder) {
  using std::uint8_t;
  uint8_t src[100] = {}, dst[400] = {9};
  const uint8_t value[3] = {1, 2, 3};
  constexpr RvpiSize kSize = {4, 4}, kLarger = {6, 6};
  const auto constant = [](const uint8_t* s, int srcStep, RvpiSize size, uint8_t* d, int dstStep, RvpiSize dstSize,
                           int top, int left, const uint8_t* v) {
    return rvpiCopyConstBorder<uint8_t, 3>(s, srcStep, size, d, dstStep, dstSize, top, left, v);
  };
  expectFirstOfTwo(std::function(constant),
                   {nulls<0, 3>, at<1>(rvpStatusBadStep, 0), at<4>(rvpStatusBadStep, 0), badSizes,
                    at<6>(rvpStatusBadSize, -1, 3, INT32_MAX), at<7>(rvpStatusBadSize, -1, 3, INT32_MAX), nulls<8>},
                   src, 20, kSize, dst, 20, kLarger, 1, 1, value);
  // Equal null pointers take the in-place road, which refuses them; equal pointers leave the source's step unread.
  uint8_t* none = nullptr;
  EXPECT_EQ((rvpiCopyReplicateBorder<uint8_t, 1>(none, 0, {4, 4}, none, 8, {4, 4}, 0, 0)), rvpStatusNullPointer);
  EXPECT_EQ((rvpiCopyMirrorBorder<uint8_t, 1>(dst, 0, {4, 4}, dst, 20, {4, 4}, 0, 0)), rvpStatusOk);
  EXPECT_EQ((rvpiCopyMirrorBorder<uint8_t, 1>(dst, 9, {4, 4}, dst, 0, {4, 4}, 0, 0)), rvpStatusBadStep);
  // Steps are not compared with rows.
  EXPECT_EQ((rvpiCopyReplicateBorder<uint8_t, 1>(src, 1, {90, 1}, dst, 1, {100, 1}, 0, 5)), rvpStatusOk);
}

TEST(Borders, SelectorsAreTakenApart) {
  for (const int good : {0, 1, 3, 6, 240, 1 + 64, 3 + 16, 6 + 32}) EXPECT_TRUE(isBorder(good)) << good;
  for (const int bad : {2, 4, 5, 7, 8, 256, 1 + 256, -1, INT32_MIN}) EXPECT_FALSE(isBorder(bad)) << bad;
  const Border all = borderOf(rvpBorderInMem);
  EXPECT_TRUE(all.mode == rvpBorderConst && all.top && all.bottom && all.left && all.right);
  for (int i = -30; i < 30; ++i) {
    // The edge pixel twice: d c b a | a b c d | d c b a.
    const int folded = ((i % 8) + 8) % 8;
    EXPECT_EQ(borderIndex(rvpBorderMirrorEdge, i, 4), folded < 4 ? folded : 7 - folded);
  }
}

FUZZ(border, input) {
  const Case c = {input.size(), input.between(0, 40), input.between(0, 40), input.between(0, 80),
                  input.between(0, 80)};
  const unsigned seed = input.any<std::uint8_t>();
  input.withOneOf<std::uint8_t, std::int16_t, std::uint16_t, std::int32_t, float>([&]<class T>() {
    switch (input.between(0, 2)) {
      case 0:
        return checkCase<T, 1>(c, seed);
      case 1:
        return checkCase<T, 3>(c, seed);
      default:
        return checkCase<T, 4>(c, seed);
    }
  });
}

}  // namespace
