// Harris corners and line suppression against the formulas. The pixels are small whole numbers, whose window sums
// are exact in float, so that the order in which a window is summed cannot be seen.
#include "features/tensor_reference.h"
#include "support/test.h"

namespace {

using namespace test;

constexpr float kWeight = 0.06f;
constexpr float kScale = 1.5f;

struct Options {
  int filter, mask, window;
};
constexpr Options kOptions[] = {
    {rvpFilterSobel, 33, 1},  {rvpFilterSobel, 33, 3},  {rvpFilterSobel, 55, 5},
    {rvpFilterScharr, 33, 2}, {rvpFilterScharr, 33, 3}, {rvpFilterCentralDifference, 33, 4},
    {rvpFilterSobel, 33, 7},  {rvpFilterSobel, 55, 8},  {rvpFilterCentralDifference, 33, 15},
    {rvpFilterSobel, 33, 26}};

// The means of the three products around each pixel.
template <class T>
std::array<Plane<float>, 3> means(const Bordered<T>& image, const Options& o) {
  const Mask mask = o.filter == rvpFilterScharr  ? Mask::scharr
                    : o.filter != rvpFilterSobel ? Mask::central
                    : o.mask == 33               ? Mask::sobel3
                                                 : Mask::sobel5;
  const int behind = o.window / 2, before = behind - (o.window % 2 == 0 ? 1 : 0);
  const Products<T> products(image, mask, 1, -1, behind, true);
  std::array<Plane<float>, 3> result;
  const auto factor = static_cast<float>(1.0 / (static_cast<double>(o.window) * o.window));
  for (std::size_t k = 0; k < 3; ++k) {
    result[k] = planeOf<float>(image.width(), image.height(), [&](int y, int x) {
      float sum = 0;
      for (int j = -before; j <= behind; ++j) {
        for (int i = -before; i <= behind; ++i) sum += products.at(k, x + i, y + j);
      }
      EXPECT_LT(std::fabs(sum), 16777216.0f) << "the test's sums must be exact";
      return sum * factor;
    });
  }
  return result;
}

template <class T>
RvpStatus harris(const T* src, int srcStep, float* dst, int dstStep, RvpiSize size, const Options& o, int border,
                 T value, std::uint8_t* buffer) {
  const auto run = [=](const auto& function) {
    return function(src, srcStep, dst, dstStep, size, o.filter, o.mask, o.window, kWeight, kScale, border, value,
                    buffer);
  };
  if constexpr (sizeof(T) == 1) return run(rvpiHarrisCorner_8u32f_C1R);
  if constexpr (sizeof(T) == 4) return run(rvpiHarrisCorner_32f_C1R);
}

int scratchBytes(RvpiSize size, const Options& o, RvpDataType type) {
  const int bytes = bytesOf(rvpiHarrisCornerGetBufferSize, size, o.mask, o.window, type, 1);
  EXPECT_EQ(bytes, bytesOf(rvpiLineSuppressionGetBufferSize, size, o.mask, o.window, type, 1));
  return bytes;
}

// An even window reaches one pixel less to the left and above.
template <class T>
OnlyFlaggedSides<T> sourceOf(const Bordered<T>& image, const Shape& shape, const Options& o) {
  return {image, shape.seed % 2 == 0 ? Cliff::before : Cliff::behind, image.margin - (o.window % 2 == 0 ? 1 : 0)};
}

std::string describe(const Options& o, int border) {
  return "border " + std::to_string(border) + ", filter " + std::to_string(o.filter) + ", mask " +
         std::to_string(o.mask) + ", window " + std::to_string(o.window);
}

template <class T>
void checkHarris(const Shape& shape, RvpiBorderType border, const Options& o) {
  SCOPED_TRACE(describe(o, border));
  const Bordered<T> image = wholeNumberImage<T>(shape, o.window / 2 + o.mask / 22, border, 6);
  const auto m = means(image, o);
  const auto fourth = static_cast<double>(static_cast<unsigned>(o.window * o.window * o.window * o.window));
  const auto s = static_cast<float>(fourth * static_cast<double>(kScale));
  Plane<float> expected(shape.width, shape.height);
  for (std::size_t i = 0; i < expected.elements.size(); ++i) {
    const float a = m[0].elements[i], b = m[1].elements[i], c = m[2].elements[i];
    expected.elements[i] = (a * c - b * b - (a + c) * (kWeight * (a + c))) * s;
  }
  OnlyFlaggedSides<T> src = sourceOf(image, shape, o);
  Guarded<float> dst(Plane<float>(shape.width, shape.height), shape.placing);
  Block scratch(scratchBytes(dst.size(), o, sizeof(T) == 1 ? rvp8u : rvp32f), shape.anywhere());
  ASSERT_EQ(call(harris<T>, src, dst, dst.size(), o, border, image.value, scratch), rvpStatusOk);
  ASSERT_TRUE(same(expected, dst));
}

void checkSuppression(const Shape& shape, RvpiBorderType border, const Options& o) {
  SCOPED_TRACE(describe(o, border));
  const Bordered<std::uint8_t> image = wholeNumberImage<std::uint8_t>(shape, o.window / 2 + o.mask / 22, border,
                                                                      2 + static_cast<int>(shape.seed % 3));
  const auto m = means(image, o);
  const Plane<std::uint8_t> features = randomPlane<std::uint8_t>(shape.width, shape.height, shape.seed + 5);
  for (const float threshold : {0.0f, 4.5f, 7.0f}) {
    Plane<std::uint8_t> expected = features;
    for (std::size_t i = 0; i < expected.elements.size(); ++i) {
      const float a = m[0].elements[i], b = m[1].elements[i], c = m[2].elements[i];
      if ((a + c) * (a + c) > (a * c - b * b) * threshold) expected.elements[i] = 0;
    }
    OnlyFlaggedSides<std::uint8_t> src = sourceOf(image, shape, o);
    OnCliff<std::uint8_t> feature(features, Cliff::behind);
    Guarded<std::uint8_t> dst(features, shape.placing);
    Block scratch(scratchBytes(dst.size(), o, rvp8u), shape.anywhere());
    ASSERT_EQ(call(rvpiLineSuppression_8u_C1R, src, feature, dst, dst.size(), o.filter, o.mask, o.window, threshold,
                   border, image.value, scratch),
              rvpStatusOk);
    ASSERT_TRUE(same(expected, dst));
  }
}

TEST(Corners, FollowTheFormulasAtEveryWidthAndBorder) {
  std::size_t turn = 0;
  sweepSmall([&](const Shape& shape) {
    for (const RvpiBorderType border : someBorders()) {
      const Options& options = kOptions[turn++ % std::size(kOptions)];
      checkHarris<std::uint8_t>(shape, border, options);
      checkHarris<float>(shape, border, options);
      checkSuppression(shape, border, options);
    }
  });
}

// Images wider than a strip and higher than a window.
TEST(Corners, DoNotDependOnTheStrips) {
  for (const Options& options : kOptions) {
    tryShape({1030, 20, {3, 1}, 1, 61},
             [&](const Shape& s) { checkHarris<std::uint8_t>(s, rvpBorderMirror, options); });
    tryShape({1010, 18, {}, 1, 62}, [&](const Shape& s) { checkHarris<float>(s, rvpBorderRepl | 128, options); });
  }
}

TEST(Corners, ReportTheFirstOfTwoFaults) {
  std::vector<float> memory(256, 9.0f), other(256);
  std::vector<std::uint8_t> scratch(1 << 16);
  auto* const bytes = reinterpret_cast<std::uint8_t*>(memory.data());
  const auto* const src = reinterpret_cast<const std::uint8_t*>(other.data());
  const auto inPlace = [](auto& a) {
    if (std::get<0>(a) != nullptr && std::get<2>(a) != nullptr) std::get<0>(a) = std::get<2>(a);
  };
  const auto check = [&](auto run, auto* pixels, bool isFloat, const auto&... more) {
    expectFirstOfTwo(
        run,
        {nulls<>, badSizes, oddSteps<2>, at<5>(rvpStatusBadFilterType, 3), at<6>(rvpStatusBadMaskSize, 77),
         at<10>(rvpStatusBadBorder, 4), at<7>(rvpStatusBadSize, 0), at<1>(rvpStatusBadStep, -32), more...},
        pixels, 32, memory.data(), 32, {8, 4}, rvpFilterSobel, 33, 3, 1, 1, rvpBorderRepl, 0, scratch.data());
    EXPECT_EQ(
        run(pixels, 32, memory.data(), -32, {8, 4}, rvpFilterSobel, 33, 3, 1, 1, rvpBorderRepl, 0, scratch.data()),
        rvpStatusBadStep);
    EXPECT_EQ(
        run(pixels, 32, memory.data(), 32, {8, 4}, rvpFilterScharr, 55, 3, 1, 1, rvpBorderRepl, 0, scratch.data()),
        rvpStatusBadMaskSize);
    EXPECT_TRUE(!isFloat || run(pixels, 33, memory.data(), 32, {8, 4}, rvpFilterSobel, 33, 3, 1, 1, rvpBorderRepl,
                                0, scratch.data()) == rvpStatusStepNotMultiple);
  };
  check(rvpiHarrisCorner_8u32f_C1R, src, false);
  check(rvpiHarrisCorner_32f_C1R, static_cast<const float*>(other.data()), true,
        planted(rvpStatusInPlaceNotSupported, inPlace));
  expectFirstOfTwo(rvpiLineSuppression_8u_C1R,
                   {nulls<>, badSizes, at<7>(rvpStatusBadFilterType, 3), at<8>(rvpStatusBadMaskSize, 77),
                    at<11>(rvpStatusBadBorder, 4), at<9>(rvpStatusBadSize, 0), at<1>(rvpStatusBadStep, -32),
                    at<3>(rvpStatusBadStep, -1), at<5>(rvpStatusBadStep, -32),
                    planted(rvpStatusInPlaceNotSupported,
                            [](auto& a) {
                              if (std::get<2>(a) != nullptr && std::get<4>(a) != nullptr)
                                std::get<2>(a) = std::get<4>(a);
                            })},
                   src, 32, src + 512, 32, bytes, 32, {8, 4}, rvpFilterSobel, 33, 3, 1, rvpBorderRepl, 0,
                   scratch.data());
  EXPECT_TRUE(std::all_of(memory.begin(), memory.end(), [](float v) { return v == 9.0f; }));
}

TEST(Corners, SizesAreCheckedInOrder) {
  int bytes = -7;
  expectFirstOfTwo(rvpiHarrisCornerGetBufferSize,
                   {nulls<>, badSizes, at<1>(rvpStatusBadMaskSize, 1), at<3>(rvpStatusBadDataType, rvp16u),
                    at<4>(rvpStatusBadNumChannels, 3), at<2>(rvpStatusBadSize, 0)},
                   {5, 5}, 33, 3, rvp8u, 1, &bytes);
  EXPECT_EQ(rvpiHarrisCornerGetBufferSize({5, 5}, 33, -1, rvp8u, 1, &bytes), rvpStatusBadMaskSize);
  for (const RvpiSize size : {RvpiSize{INT32_MAX, INT32_MAX}, {INT32_MAX, 1}})
    EXPECT_EQ(rvpiHarrisCornerGetBufferSize(size, 55, size.height, rvp32f, 1, &bytes), rvpStatusSizeOverflow);
  EXPECT_EQ(bytes, -7);
}

FUZZ(corners, input) {
  tryShape(input.shape(), [&](const Shape& shape) {
    const RvpiBorderType border = input.border();
    const Options& options = input.oneOf(kOptions);
    switch (input.between(0, 2)) {
      case 0:
        return checkHarris<std::uint8_t>(shape, border, options);
      case 1:
        return checkHarris<float>(shape, border, options);
      default:
        return checkSuppression(shape, border, options);
    }
  });
}

}  // namespace
