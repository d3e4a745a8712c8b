// Eigenvalues and eigenvectors against the formulas, and against what an eigenvector is.
#include <gtest/gtest.h>

#include "features/tensor_reference.h"
#include "rvpcv.h"
#include "support/calls.h"
#include "support/compare.h"
#include "support/faults.h"
#include "support/sweep.h"

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
  const Mask mask = o.kind == 1 ? Mask::scharr : o.aperture == 3 ? Mask::sobel3 : Mask::sobel5;
  const Products<T> products(image, mask, o.kind == 2 ? -1 : 1, o.kind == 1 ? 1 : -1, 2, false);
  float s = 1.0f / static_cast<float>(o.aperture == 3 ? 4080 : 65280);
  if (o.kind == 1) s *= 0.6125f;
  Plane<float> result(image.width() * elements, image.height());
  const int r = o.window / 2;
  for (int y = 0; y < image.height(); ++y) {
    for (int x = 0; x < image.width(); ++x) {
      std::array<float, 3> t;
      for (std::size_t k = 0; k < 3; ++k) {
        const auto sum = [&](int j) {
          float line = products.at(k, x - r, y + j);
          for (int i = 1 - r; i <= r; ++i) line += products.at(k, x + i, y + j);
          return line;
        };
        t[k] = sum(0) + (sum(-1) + sum(1));
        if (r == 2) t[k] += sum(-2) + sum(2);
      }
      if (elements == 1) {
        result.at(y, x) = smallerValue(t[0], t[1], t[2], s);
      } else {
        const auto six = valuesAndVectors(t[0], t[1], t[2], s, o.kind == 1 ? 1.0f : -1.0f);
        for (int i = 0; i < 6; ++i) result.at(y, 6 * x + i) = six[static_cast<std::size_t>(i)];
      }
    }
  }
  return result;
}

template <class T>
struct Arguments {
  const T* src;
  int srcStep;
  float* dst;
  int dstStep;
  RvpiSize size;
  Options options;
  RvpiBorderType border;
  T value;
  std::uint8_t* buffer;
};

template <class T>
RvpStatus run(const Arguments<T>& a, int elements) {
  const Options& o = a.options;
  const auto with = [&](const auto& function) {
    return function(a.src, a.srcStep, a.dst, a.dstStep, a.size, o.kind, o.aperture, o.window, a.border, a.value,
                    a.buffer);
  };
  if constexpr (sizeof(T) == 1) {
    return with(elements == 1 ? rvpiMinEigenValBorder_8u32f_C1R : rvpiEigenValsVecsBorder_8u32f_C1R);
  } else {
    return with(elements == 1 ? rvpiMinEigenValBorder_32f_C1R : rvpiEigenValsVecsBorder_32f_C1R);
  }
}

template <class T>
RvpStatus runPlain(const Arguments<T>& a, int elements) {
  const Options& o = a.options;
  const auto with = [&](const auto& function) {
    return function(a.src, a.srcStep, a.dst, a.dstStep, a.size, o.kind, o.aperture, o.window, a.buffer);
  };
  if constexpr (sizeof(T) == 1) {
    return with(elements == 1 ? rvpiMinEigenVal_8u32f_C1R : rvpiEigenValsVecs_8u32f_C1R);
  } else {
    return with(elements == 1 ? rvpiMinEigenVal_32f_C1R : rvpiEigenValsVecs_32f_C1R);
  }
}

template <class T>
int scratchBytes(RvpiSize size, const Options& o, int elements) {
  const auto query =
      sizeof(T) == 1
          ? (elements == 1 ? rvpiMinEigenValGetBufferSize_8u32f_C1R : rvpiEigenValsVecsGetBufferSize_8u32f_C1R)
          : (elements == 1 ? rvpiMinEigenValGetBufferSize_32f_C1R : rvpiEigenValsVecsGetBufferSize_32f_C1R);
  return bytesOf(query, size, o.aperture, o.window);
}

template <class T>
class Eigenvalues : public testing::Test {
 public:
  static void check(const Shape& shape, RvpiBorderType border, const Options& o) {
    SCOPED_TRACE("border " + std::to_string(border) + ", kind " + std::to_string(o.kind) + ", aperture " +
                 std::to_string(o.aperture) + ", window " + std::to_string(o.window));
    const Bordered<T> image = wholeNumberImage<T>(shape, 2, border, shape.seed % 4 == 0 ? 2 : 256);
    const RvpiSize size = {shape.width, shape.height};
    for (const int elements : {1, 6}) {
      OnlyFlaggedSides<T> src(image, shape.seed % 2 == 0 ? Cliff::before : Cliff::behind);
      Guarded<float> dst(Plane<float>(shape.width * elements, shape.height), shape.placing);
      const int bytes = scratchBytes<T>(size, o, elements);
      ASSERT_GE(bytes, shape.width * shape.height * 16 + 224);
      Block scratch(bytes, shape.anywhere());
      const Arguments<T> a = {src.region(), src.step(),  dst.data(),    dst.step(), size, o,
                              border,       image.value, scratch.data()};
      ASSERT_EQ(run(a, elements), rvpStatusOk);
      const Plane<float> wanted = expected(image, o, elements);
      ASSERT_TRUE(same(wanted, dst)) << elements << " elements";
      if (border != rvpBorderRepl) continue;
      ASSERT_EQ(runPlain(a, elements), rvpStatusOk);
      ASSERT_TRUE(same(wanted, dst)) << elements << " elements, no border argument";
    }
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
  for (const int threads : {1, 2, 3, 8}) {
    tryShape({35, 261, {}, threads, 91}, [](const Shape& s) { TestFixture::check(s, rvpBorderMirror, {0, 5, 5}); });
    tryShape({9, 1030, {}, threads, 93}, [](const Shape& s) { TestFixture::check(s, rvpBorderRepl, {1, 3, 5}); });
  }
  for (const int width : {1007, 1008, 1009, 1010, 2017})
    tryShape({width, 4, {}, 1, 95}, [](const Shape& s) { TestFixture::check(s, rvpBorderMirror, {2, 5, 5}); });
}

// A flat image, a straight edge, and random texture, whose vectors must be unit eigenvectors of the tensor.
TEST(Eigenvectors, AreWhatTheirNameSays) {
  constexpr int kN = 32;
  std::vector<std::uint8_t> flat(kN * kN, 77), edge(kN * kN), scratch(1 << 18);
  std::vector<float> out(6 * kN * kN, 5.0f);
  for (int i = 0; i < kN * kN; ++i) edge[static_cast<std::size_t>(i)] = i % kN < kN / 2 ? 10 : 200;
  for (const auto* image : {&flat, &edge}) {
    ASSERT_EQ(rvpiEigenValsVecs_8u32f_C1R(image->data(), kN, out.data(), 24 * kN, {kN, kN}, rvpKernelSobel, 3, 3,
                                          scratch.data()),
              rvpStatusOk);
    EXPECT_TRUE(std::all_of(out.begin(), out.end(), [](float v) { return v == 0.0f; }));
  }
  const Plane<std::uint8_t> texture = randomPlane<std::uint8_t>(kN, kN, 96);
  for (const int kind : {0, 1}) {
    ASSERT_EQ(
        rvpiEigenValsVecs_8u32f_C1R(texture.row(0), kN, out.data(), 24 * kN, {kN, kN}, kind, 3, 3, scratch.data()),
        rvpStatusOk);
    const Bordered<std::uint8_t> image = {texture, 0, rvpBorderRepl, 0};
    const Products<std::uint8_t> products(image, kind == 1 ? Mask::scharr : Mask::sobel3, 1, 1, 1, false);
    const double s = kind == 1 ? 0.6125 / 4080 : 1.0 / 4080;
    for (int y = 0; y < kN; ++y) {
      for (int x = 0; x < kN; ++x) {
        const float* v = &out[static_cast<std::size_t>(6 * (y * kN + x))];
        if (v[0] == 0.0f || v[3] == 0.0f) continue;
        double t[3] = {};
        for (int i = 0; i < 27; ++i)
          t[i % 3] += s * static_cast<double>(
                              products.at(static_cast<std::size_t>(i % 3), x + i / 3 % 3 - 1, y + i / 9 - 1));
        for (int k = 0; k < 2; ++k) {
          const double l = static_cast<double>(v[k]), vx = static_cast<double>(v[2 + 2 * k]),
                       vy = static_cast<double>(v[3 + 2 * k]), allowed = 1e-4 * static_cast<double>(v[0]);
          EXPECT_NEAR(t[0] * vx + t[1] * vy, l * vx, allowed);
          EXPECT_NEAR(t[1] * vx + t[2] * vy, l * vy, allowed);
          EXPECT_NEAR(vx * vx + vy * vy, 1.0, 1e-6);
        }
      }
    }
  }
}

TYPED_TEST(Eigenvalues, ReportTheFirstOfTwoFaults) {
  using T = TypeParam;
  constexpr int kSrcRow = 4 * static_cast<int>(sizeof(T));
  const Plane<float> content(24, 2, 1.0f);
  Guarded<T> src(Plane<T>(4, 2), {1, 0});
  std::vector<std::uint8_t> scratch(4096);
  const Faults<Arguments<T>> faults = {{rvpStatusNullPointer, [](auto& a) { a.src = nullptr; }},
                                       {rvpStatusNullPointer, [](auto& a) { a.dst = nullptr; }},
                                       {rvpStatusNullPointer, [](auto& a) { a.buffer = nullptr; }},
                                       {rvpStatusBadSize, [](auto& a) { a.size.height = 0; }},
                                       {rvpStatusBadStep, [](auto& a) { a.srcStep = kSrcRow - 1; }},
                                       {rvpStatusBadStep, [](auto& a) { a.dstStep = 15; }},
                                       {rvpStatusStepNotMultiple, [](auto& a) { a.dstStep = 97; }},
                                       {rvpStatusStepNotMultiple, [](auto& a) { a.srcStep = 18; }, sizeof(T) == 4},
                                       {rvpStatusBadArgument, [](auto& a) { a.options.kind = 3; }},
                                       {rvpStatusBadSize, [](auto& a) { a.options.aperture = 4; }},
                                       {rvpStatusBadSize, [](auto& a) { a.options.window = 4; }},
                                       {rvpStatusBadBorder, [](auto& a) { a.border = rvpBorderMirrorEdge; }},
                                       {rvpStatusBadArgument, [](auto& a) { a.border = rvpBorderRepl | 256; }}};
  Guarded<float> dst(content, {1, 0});
  const Arguments<T> good = {src.data(), src.step(),    dst.data(), dst.step(),    {4, 2},
                             {0, 3, 3},  rvpBorderRepl, T{},        scratch.data()};
  for (const int elements : {1, 6})
    expectFirstOfTwo(faults, good, [&](const Arguments<T>& a) { return run(a, elements); });
  Arguments<T> other = good;
  other.options = {1, 5, 3};
  EXPECT_EQ(run(other, 1), rvpStatusBadSize);
  other = good;
  other.dstStep = 92;
  EXPECT_EQ(run(other, 6), rvpStatusBadStep);
  EXPECT_TRUE(same(content, dst));
}

TEST(EigenvalueSizes, AreCheckedInOrder) {
  for (const auto query : {rvpiMinEigenValGetBufferSize_8u32f_C1R, rvpiMinEigenValGetBufferSize_32f_C1R,
                           rvpiEigenValsVecsGetBufferSize_8u32f_C1R, rvpiEigenValsVecsGetBufferSize_32f_C1R}) {
    int bytes = -7;
    EXPECT_EQ(query({0, 0}, 4, 4, nullptr), rvpStatusNullPointer);
    for (const auto& [size, aperture, window] :
         {std::tuple{RvpiSize{0, 1}, 3, 3}, {{1, 1}, 4, 3}, {{1, 1}, 3, 33}, {{1, -1}, 3, 3}})
      EXPECT_EQ(query(size, aperture, window, &bytes), rvpStatusBadSize);
    EXPECT_EQ(bytes, -7);
  }
}

}  // namespace
