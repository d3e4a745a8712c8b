// The tools of the tests are tools only if they notice a planted error.
#include "support/compare.h"

#include <gtest/gtest-spi.h>
#include <gtest/gtest.h>

#include <limits>

#include "support/sweep.h"

namespace {

using namespace test;

TEST(Comparison, NoticesOneWrongBit) {
  const Plane<float> good = randomPlane<float>(13, 7, 1);
  for (const int x : {0, 6, 12}) {
    Plane<float> bad = good;
    bad.at(6, x) = std::nextafter(bad.at(6, x), 1e9f);
    EXPECT_FALSE(same(good, bad));
  }
  EXPECT_TRUE(same(good, good));
  EXPECT_FALSE(same(good, randomPlane<float>(13, 6, 1)));
  const float nan = std::numeric_limits<float>::quiet_NaN();
  EXPECT_TRUE(sameElement(nan, -nan) && !sameElement(nan, 0.0f) && !sameElement(1.0f, nan) &&
              !sameElement(0.0f, -0.0f));
}

TEST(Guards, NoticeAWriteOnEachSide) {
  const Plane<std::uint16_t> content = randomPlane<std::uint16_t>(9, 4, 2);
  Guarded<std::uint16_t> image(content, {2, 1});
  for (const std::ptrdiff_t element : {-1, 9, 10, 3 * 11 + 9, 4 * 11 + 2}) {
    ASSERT_TRUE(image.intact());
    image.data()[element] ^= 0x100U;
    EXPECT_FALSE(image.intact()) << element;
    image.data()[element] ^= 0x100U;
  }
  image.data()[2 * 11 + 8] ^= 1U;
  EXPECT_FALSE(same(content, image));
}

TEST(Guards, TellWhenTheyEnd) {
  const auto spoil = [] { Guarded<std::uint8_t>(Plane<std::uint8_t>(3, 3), {}).data()[9] ^= 1U; };
  EXPECT_NONFATAL_FAILURE(spoil(), "behind the last row");
}

TEST(Cliffs, EndTheProcessOneByteTooFar) {
  GTEST_FLAG_SET(death_test_style, "threadsafe");
  const Plane<std::uint8_t> content = randomPlane<std::uint8_t>(5, 2, 3);
  OnCliff<std::uint8_t> behind(content, Cliff::behind), before(content, Cliff::before);
  volatile std::uint8_t* end = behind.data() + behind.step() + 5;
  volatile std::uint8_t* start = before.data() + before.step();
  EXPECT_EQ(end[-1], content.at(1, 4));
  EXPECT_EQ(start[0], content.at(1, 0));
  EXPECT_DEATH(static_cast<void>(end[0]), "");
  EXPECT_DEATH(start[-1] = 0, "");
}

}  // namespace
