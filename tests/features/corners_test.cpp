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
    {rvpFilterSobel, 33, 1},  {rvpFilterSobel, 33, 3},   {rvpFilterSobel, 55, 5},
    {rvpFilterScharr, 33, 2}, {rvpFilterScharr, 33, 3},  {rvpFilterCentralDifference, 33, 4},
    {rvpFilterSobel, 33, 7},  {rvpFilterSobel, 55, 8},   {rvpFilterCentralDifference, 33, 15},
    {rvpFilterSobel, 33, 26}, {rvpFilterScharr, 33, 12}, {rvpFilterSobel, 33, 53}};

// The means of the three products around each pixel.
template <class T>
std::array<Plane<float>, 3> means(const Bordered<T>& image, const Options& o) {
  const DerivativeMask& mask = o.filter == rvpFilterScharr  ? kScharr
                               : o.filter != rvpFilterSobel ? kCentral
                               : o.mask == 33               ? kSobel3
                                                            : kSobel5;
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
constexpr auto kHarris = rvpiHarrisCorner_8u32f_C1R;
template <>
constexpr auto kHarris<float> = rvpiHarrisCorner_32f_C1R;

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
  return words("border", border, "filter", o.filter, "mask", o.mask, "window", o.window);
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
  ASSERT_EQ(call(kHarris<T>, src, dst, dst.size(), o.filter, o.mask, o.window, kWeight, kScale, border, image.value,
                 scratch),
            rvpStatusOk);
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
  // Arguments I and J are the same image; the filter and its mask, from argument I on, do not fit.
  const auto inPlace = []<std::size_t I, std::size_t J>(std::index_sequence<I, J>) {
    return planted(rvpStatusInPlaceNotSupported, [](auto& a) {
      if (std::get<I>(a) != nullptr && std::get<J>(a) != nullptr) std::get<I>(a) = std::get<J>(a);
    });
  };
  const auto badMask = []<std::size_t I>(std::index_sequence<I>) {
    return planted(rvpStatusBadMaskSize,
                   [](auto& a) { std::get<I>(a) = rvpFilterScharr, std::get<I + 1>(a) = 55; });
  };
  const auto check = [&](auto run, auto* pixels, const auto&... more) {
    expectFirstOfTwo(
        run,
        {nulls<>, badSizes, oddSteps<>, at<5>(rvpStatusBadFilterType, 3), at<6>(rvpStatusBadMaskSize, 77),
         badMask(std::index_sequence<5>()), at<10>(rvpStatusBadBorder, 4), at<7>(rvpStatusBadSize, 0),
         at<1>(rvpStatusBadStep, -32), at<3>(rvpStatusBadStep, -32), more...},
        pixels, 32, memory.data(), 32, {8, 4}, rvpFilterSobel, 33, 3, 1, 1, rvpBorderRepl, 0, scratch.data());
  };
  check(rvpiHarrisCorner_8u32f_C1R, src);
  check(rvpiHarrisCorner_32f_C1R, static_cast<const float*>(other.data()), inPlace(std::index_sequence<0, 2>()));
  expectFirstOfTwo(rvpiLineSuppression_8u_C1R,
                   {nulls<>, badSizes, at<7>(rvpStatusBadFilterType, 3), at<8>(rvpStatusBadMaskSize, 77),
                    badMask(std::index_sequence<7>()), at<11>(rvpStatusBadBorder, 4), at<9>(rvpStatusBadSize, 0),
                    at<1>(rvpStatusBadStep, -32), at<3>(rvpStatusBadStep, -1), at<5>(rvpStatusBadStep, -32),
                    inPlace(std::index_sequence<2, 4>())},
                   src, 32, src + 512, 32, bytes, 32, {8, 4}, rvpFilterSobel, 33, 3, 1, rvpBorderRepl, 0,
                   scratch.data());
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
