// The derivative filters against full two-dimensional masks.
#include "filter/derivative.h"

#include "support/test.h"

namespace {

using namespace test;
using namespace rvp::n8;

struct Mask {
  int side;
  std::vector<int> smooth;
  std::vector<int> difference;
};
const Mask kSobel3 = {3, {1, 2, 1}, {-1, 0, 1}};
const Mask kSobel5 = {5, {1, 4, 6, 4, 1}, {-1, -2, 0, 2, 1}};
const Mask kScharr = {3, {3, 10, 3}, {-1, 0, 1}};

enum class Along { x, y };

// In double, where all sums of the test's images are exact but for the last bits of the thirds in float images.
template <class T>
Plane<double> reference(const Bordered<T>& image, const Mask& mask, Along along, int sign) {
  const int r = mask.side / 2;
  return planeOf<double>(image.width(), image.height(), [&](int y, int x) {
    double sum = 0;
    for (int j = -r; j <= r; ++j) {
      for (int i = -r; i <= r; ++i) {
        const auto at = [&](const std::vector<int>& w, int k) { return w[static_cast<std::size_t>(k + r)]; };
        const int weight = along == Along::x ? at(mask.difference, i) * at(mask.smooth, j)
                                             : at(mask.difference, j) * at(mask.smooth, i);
        sum += sign * weight * static_cast<double>(image.at(x + i, y + j));
      }
    }
    return sum;
  });
}

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
    SCOPED_TRACE("border " + std::to_string(border));
    const Bordered<T> image = {pixelsOf<T>(shape.width + 4, shape.height + 4, shape.seed), 2, border, T{200}};
    OnlyFlaggedSides<T> src(image, shape.seed % 2 == 0 ? Cliff::before : Cliff::behind);
    const auto wanted = [&](const Mask& mask, Along along, int sign) {
      return changed<Dst>(reference(image, mask, along, sign), [](double exact) { return exact; });
    };
    const auto one = [&](auto operation, int maskSize, const Mask& mask, Along along, int sign) {
      Guarded<Dst> dst(Plane<Dst>(shape.width, shape.height), shape.placing);
      ASSERT_EQ(call(operation, src, dst, shape.size(), maskSize, border, image.value), rvpStatusOk);
      ASSERT_TRUE(same(wanted(mask, along, sign), dst)) << "mask " << maskSize;
    };
    for (const auto& [maskSize, mask] : {std::pair{33, kSobel3}, std::pair{55, kSobel5}}) {
      one(rvpiFilterSobelVertBorder<T>, maskSize, mask, Along::x, 1);
      one(rvpiFilterSobelNegVertBorder<T>, maskSize, mask, Along::x, -1);
      one(rvpiFilterSobelHorizBorder<T>, maskSize, mask, Along::y, -1);
    }
    one(rvpiFilterScharrVertMaskBorder<T>, 33, kScharr, Along::x, 1);
    one(rvpiFilterScharrHorizMaskBorder<T>, 33, kScharr, Along::y, 1);
    const Plane<Dst> before(shape.width, shape.height);
    Guarded<Dst> dx(before, shape.placing), dy(before, shape.placing);
    ASSERT_EQ(call(rvpiGradientVectorScharr<T>, src, dx, dy, shape.size(), 33, border, image.value), rvpStatusOk);
    ASSERT_TRUE(same(wanted(kScharr, Along::x, 1), dx));
    ASSERT_TRUE(same(wanted(kScharr, Along::y, 1), dy));
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
