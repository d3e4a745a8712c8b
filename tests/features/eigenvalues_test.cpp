// Eigenvalues and eigenvectors against the formulas, and against what an eigenvector is.
#include "features/tensor_reference.h"
#include "support/test.h"

namespace {

using namespace test;

struct Options {
  int kind, aperture, window;
};
constexpr Options kOptions[] = {{0, 3, 3}, {0, 5, 3}, {1, 3, 3}, {2, 3, 3}, {2, 5, 5},
                                {0, 3, 5}, {0, 5, 5}, {1, 3, 5}, {2, 3, 5}, {2, 5, 3}};

float smallerValue(float a, float b, float c, float s) {
  const float root = std::sqrt((a - c) * (a - c) + 4.0f * (b * b));
  return ((a + c) - root) * (s * 0.5f);
}

std::array<float, 6> valuesAndVectors(float a, float b, float c, float s, float m) {
  a *= s, b *= s, c *= s;
  const float sum = a + c, d = a - c, r = std::sqrt(4 * b * b + d * d);
  const float l1 = (sum + r) * 0.5f, l2 = (sum - r) * 0.5f, t = std::max(a, c) * 0.01f;
  if (t > std::min(a, c) || t > a * c - b * b) return {};
  if (t > std::fabs(b)) return {l1, l2, 1, 0, 0, 1};
  const float u1 = l1 - a, u2 = l2 - a, q = m * b;
  const float n1 = 1.0f / std::max(1.1920929e-7f, std::sqrt(q * q + u1 * u1));
  const float n2 = 1.0f / std::max(1.1920929e-7f, std::sqrt(q * q + u2 * u2));
  return {l1, l2, q * n1, u1 * n1, q * n2, u2 * n2};
}

template <class T>
Plane<float> expected(const Bordered<T>& image, const Options& o, int elements) {
  const DerivativeMask& mask = o.kind == 1 ? kScharr : o.aperture == 3 ? kSobel3 : kSobel5;
  const Products<T> products(image, mask, o.kind == 2 ? -1 : 1, o.kind == 1 ? 1 : -1, 2, false);
  float s = 1.0f / static_cast<float>(o.aperture == 3 ? 4080 : 65280);
  if (o.kind == 1) s *= 0.6125f;
  Plane<float> result(image.width() * elements, image.height());
  forElements(Plane<char>(image.width(), image.height()), [&](int y, int x) {
    std::array<float, 3> t;
    for (std::size_t k = 0; k < 3; ++k)
      t[k] = squareSum(o.window / 2, [&](int i, int j) { return products.at(k, x + i, y + j); });
    if (elements == 1) {
      result.at(y, x) = smallerValue(t[0], t[1], t[2], s);
    } else {
      std::ranges::copy(valuesAndVectors(t[0], t[1], t[2], s, o.kind == 1 ? 1.0f : -1.0f), &result.at(y, 6 * x));
    }
  });
  return result;
}

template <class T, int kElements>
struct Form;
#define RVP_FORM(T, TYPE, ELEMENTS, NAME)                                 \
  template <>                                                             \
  struct Form<T, ELEMENTS> {                                              \
    static constexpr auto bordered = rvpi##NAME##Border_##TYPE##_C1R;     \
    static constexpr auto plain = rvpi##NAME##_##TYPE##_C1R;              \
    static constexpr auto bytes = rvpi##NAME##GetBufferSize_##TYPE##_C1R; \
  };
RVP_FORM(std::uint8_t, 8u32f, 1, MinEigenVal)
RVP_FORM(std::uint8_t, 8u32f, 6, EigenValsVecs)
RVP_FORM(float, 32f, 1, MinEigenVal)
RVP_FORM(float, 32f, 6, EigenValsVecs)

template <class T>
class Eigenvalues : public testing::Test {
 public:
  static void check(const Shape& shape, RvpiBorderType border, const Options& o) {
    checkElements<1>(shape, border, o);
    checkElements<6>(shape, border, o);
  }

 private:
  template <int kElements>
  static void checkElements(const Shape& shape, RvpiBorderType border, const Options& o) {
    using F = Form<T, kElements>;
    SCOPED_TRACE(words("border", border, "kind", o.kind, "aperture", o.aperture, "window", o.window));
    const Bordered<T> image = wholeNumberImage<T>(shape, 2, border, shape.seed % 4 == 0 ? 2 : 256);
    OnlyFlaggedSides<T> src(image, shape.seed % 2 == 0 ? Cliff::before : Cliff::behind);
    Guarded<float> dst(Plane<float>(shape.width * kElements, shape.height), shape.placing);
    const int bytes = bytesOf(F::bytes, shape.size(), o.aperture, o.window);
    ASSERT_GE(bytes, shape.width * shape.height * 16 + 224);
    Block scratch(bytes, shape.anywhere());
    const Plane<float> wanted = expected(image, o, kElements);
    ASSERT_EQ(call(F::bordered, src, dst, shape.size(), o.kind, o.aperture, o.window, border, image.value, scratch),
              rvpStatusOk);
    ASSERT_TRUE(same(wanted, dst));
    if (border != rvpBorderRepl) return;
    ASSERT_EQ(call(F::plain, src, dst, shape.size(), o.kind, o.aperture, o.window, scratch), rvpStatusOk);
    ASSERT_TRUE(same(wanted, dst)) << "no border argument";
  }
};
using SourceTypes = testing::Types<std::uint8_t, float>;
TYPED_TEST_SUITE(Eigenvalues, SourceTypes);

TYPED_TEST(Eigenvalues, FollowTheFormulasAtEveryWidthAndBorder) {
  std::size_t turn = 0;
  sweepSmall([&](const Shape& shape) {
    for (const RvpiBorderType border : someBorders())
      TestFixture::check(shape, border, kOptions[turn++ % std::size(kOptions)]);
  });
}

TYPED_TEST(Eigenvalues, DoNotDependOnTheTeamOrTheStrips) {
  for (const int threads : {1, 3})
    tryShape({9, 1030, {}, threads, 93}, [](const Shape& s) { TestFixture::check(s, rvpBorderRepl, {1, 3, 5}); });
  for (const int width : {1007, 1008, 1009, 1010, 2017})
    tryShape({width, 4, {}, 1, 95}, [](const Shape& s) { TestFixture::check(s, rvpBorderMirror, {2, 5, 5}); });
}

TYPED_TEST(Eigenvalues, ReportTheFirstOfTwoFaults) {
  using T = TypeParam;
  const Plane<float> content(24, 2, 1.0f);
  Guarded<T> src(Plane<T>(4, 2));
  Guarded<float> dst(content);
  std::vector<std::uint8_t> scratch(4096);
  // Scharr's mask is 3 x 3.
  const auto scharr5 = planted(rvpStatusBadSize, [](auto& a) { std::get<5>(a) = 1, std::get<6>(a) = 5; });
  const auto check = [&](auto form, int row) {
    expectFirstOfTwo(
        form.bordered,
        {nulls<>, badSizes, shortSteps<>, oddSteps<2>, oddSteps<0>, at<5>(rvpStatusBadArgument, 3),
         at<6>(rvpStatusBadSize, 4), scharr5, at<7>(rvpStatusBadSize, 4),
         at<8>(rvpStatusBadBorder, rvpBorderMirrorEdge), at<8>(rvpStatusBadArgument, rvpBorderRepl | 256)},
        src.data(), src.step(), dst.data(), row, {4, 2}, 0, 3, 3, rvpBorderRepl, 0, scratch.data());
    int bytes = -7;
    expectFirstOfTwo(form.bytes, {nulls<>, badSizes, at<1>(rvpStatusBadSize, 4), at<2>(rvpStatusBadSize, 33)},
                     {4, 2}, 3, 3, &bytes);
  };
  check(Form<T, 1>(), 16);
  check(Form<T, 6>(), 96);
  EXPECT_TRUE(same(content, dst));
}

FUZZ(eigenvalues, input) {
  tryShape(input.shape(), [&](const Shape& shape) {
    const RvpiBorderType border = input.border();
    const Options& options = input.oneOf(kOptions);
    input.flag() ? Eigenvalues<float>::check(shape, border, options)
                 : Eigenvalues<std::uint8_t>::check(shape, border, options);
  });
}

}  // namespace
