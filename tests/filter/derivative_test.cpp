// The derivative filters against full two-dimensional masks.
#include "filter/derivative.h"

#include "support/test.h"

namespace {

using namespace test;
using namespace rvp::n8;

// In float, whole numbers, whose sums are exact as well.
template <class T>
Plane<T> pixelsOf(int width, int height, unsigned seed) {
  if constexpr (std::is_same_v<T, float>) {
    return changed<T>(randomPlane<std::int16_t>(width, height, seed), [](std::int16_t n) { return n; });
  } else {
    return randomPlane<T>(width, height, seed);
  }
}

template <class T>
class Derivatives : public testing::Test {
 public:
  using Dst = DerivativeOf<T>;

  static void check(const Shape& shape, RvpiBorderType border) {
    SCOPED_TRACE(words("border", border));
    const Bordered<T> image = {pixelsOf<T>(shape.width + 4, shape.height + 4, shape.seed), 2, border, T{200}};
    OnlyFlaggedSides<T> src(image, shape.seed % 2 == 0 ? Cliff::before : Cliff::behind);
    for (const DerivativeMask* mask : {&kSobel3, &kSobel5, &kScharr}) {
      const int maskSize = mask->reach == 2 ? 55 : 33;
      SCOPED_TRACE(words("mask", maskSize, "of", mask->smooth[0]));
      Plane<Dst> dx(shape.width, shape.height), dy = dx, zero = dx;
      forElements(zero, [&](int y, int x) {
        const auto d = derivativesAt(image, *mask, x, y);
        dx.at(y, x) = static_cast<Dst>(d[0]);
        dy.at(y, x) = static_cast<Dst>(d[1]);
      });
      const auto negative = [](const Plane<Dst>& plane) {
        return changed<Dst>(plane, [](Dst d) { return 0 - d; });
      };
      const auto one = [&](auto operation, const Plane<Dst>& wanted) {
        Guarded<Dst> dst(zero, shape.placing);
        ASSERT_EQ(call(operation, src, dst, shape.size(), maskSize, border, image.value), rvpStatusOk);
        ASSERT_TRUE(same(wanted, dst));
      };
      if (mask != &kScharr) {
        one(rvpiFilterSobelVertBorder<T>, dx);
        one(rvpiFilterSobelNegVertBorder<T>, negative(dx));
        one(rvpiFilterSobelHorizBorder<T>, negative(dy));
        continue;
      }
      one(rvpiFilterScharrVertMaskBorder<T>, dx);
      one(rvpiFilterScharrHorizMaskBorder<T>, dy);
      Guarded<Dst> along(zero, shape.placing), down(zero, shape.placing);
      ASSERT_EQ(call(rvpiGradientVectorScharr<T>, src, along, down, shape.size(), 33, border, image.value),
                rvpStatusOk);
      ASSERT_TRUE(same(dx, along) && same(dy, down));
    }
  }
};
using SourceTypes = testing::Types<std::uint8_t, float>;
TYPED_TEST_SUITE(Derivatives, SourceTypes);

TYPED_TEST(Derivatives, FollowTheMasksAtEveryWidthAndBorder) {
  sweepSmall([](const Shape& shape) {
    for (const RvpiBorderType border : someBorders()) TestFixture::check(shape, border);
    TestFixture::check(shape, rvpBorderMirrorEdge | rvpBorderInMemTop);
  });
  tryShape({1601, 3, {}, 1, 41}, [](const Shape& shape) { TestFixture::check(shape, rvpBorderRepl); });
}

TEST(DerivativeChecks, StandInOrder) {
  const std::uint8_t src[16] = {};
  std::int16_t dst[16] = {};
  std::int16_t* none = nullptr;
  expectFirstOfTwo(rvpiFilterSobelHorizBorder<std::uint8_t>,
                   {nulls<0>, badSizes, oddSteps<2>, at<5>(rvpStatusBadMaskSize, 44),
                    at<6>(rvpStatusBadArgument, 2, 5, 7, 256 + 1)},
                   src, 4, dst, 8, {4, 2}, 33, 1, 0);
  EXPECT_EQ(rvpiFilterScharrVertMaskBorder<std::uint8_t>(src, 4, dst, 8, {4, 2}, 55, 1, 0), rvpStatusBadMaskSize);
  EXPECT_EQ(rvpiGradientVectorSobel<std::uint8_t>(src, 4, none, 8, none, 8, {4, 2}, 33, 1, 0),
            rvpStatusNullPointer);
}

}  // namespace
