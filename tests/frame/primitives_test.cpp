// The vector and image primitives: what their tables promise and what later families lean on.
#include <xmmintrin.h>

#include "frame/image.h"
#include "frame/vector.h"
#include "rvpcore.h"
#include "support/test.h"

namespace {

using namespace test;
using namespace rvp::n8;

constexpr float kNan = std::numeric_limits<float>::quiet_NaN();
constexpr float kInf = std::numeric_limits<float>::infinity();

// Nearest integer of value / 2^scale with ties to even, in long double, which holds all of these exactly.
template <class T>
T scaledReference(long double value, int scale) {
  const long double scaled = std::ldexp(value, -scale);
  long double nearest = std::floor(scaled);
  const long double rest = scaled - nearest;
  if (rest > 0.5L || (rest == 0.5L && std::fmod(nearest, 2.0L) != 0.0L)) nearest += 1;
  return static_cast<T>(std::clamp(nearest, static_cast<long double>(std::numeric_limits<T>::min()),
                                   static_cast<long double>(std::numeric_limits<T>::max())));
}

template <class T, int kChannels>
void checkDifference(const Shape& shape) {
  const Plane<T> a = randomPlane<T>(shape.width * kChannels, shape.height, shape.seed);
  const Plane<T> b = randomPlane<T>(shape.width * kChannels, shape.height, shape.seed + 1);
  for (const int scale : {0, 1, 3, 8, 16, 17, 40, -1, -9, -40, INT_MAX, INT_MIN}) {
    const auto expected = combined<T>(a, b, [=](long double subtrahend, long double minuend) {
      return scaledReference<T>(minuend - subtrahend, std::clamp(scale, -100, 100));
    });
    Guarded<T> src1(a, shape.placing), src2(b, {1, 1}), dst(a, {2, 3});
    ASSERT_EQ(call(rvpiSub_Sfs<T, kChannels>, src1, src2, dst, shape.size(), scale), rvpStatusOk);
    ASSERT_TRUE(same(expected, dst)) << "scale factor " << scale;
  }
}

TEST(Primitives, DifferencesAreScaledAndSaturated) {
  sweepSmall(checkDifference<std::uint8_t, 3>);
  sweepSmall(checkDifference<std::uint16_t, 1>);
  sweepSmall(checkDifference<std::int16_t, 1>);
  tryShape({1009, 261, {1, 0}, 3, 7}, checkDifference<std::uint8_t, 1>);
  tryShape({1009, 261, {1, 0}, 2, 8}, checkDifference<std::int16_t, 1>);
}

TEST(Primitives, VanishingScaleClearsThroughSet) {
  std::uint16_t a[2] = {1, 2};
  EXPECT_EQ((rvpiSub_Sfs<std::uint16_t, 1>(a, 4, a, 4, nullptr, 4, {2, 1}, 17)), rvpStatusNullPointer);
  EXPECT_EQ((rvpiSub_Sfs<std::uint16_t, 1>(a, 4, a, 4, a, 4, {2, 0}, 17)), rvpStatusBadSize);
  EXPECT_EQ(rvpiSub_32f<3>(nullptr, 4, nullptr, 4, nullptr, 4, {0, 1}), rvpStatusBadSize);
  EXPECT_EQ(rvpiSub_32f<3>(nullptr, 4, nullptr, 4, nullptr, 4, {1, 1}), rvpStatusNullPointer);
}

TEST(Primitives, ProductsFloatDifferencesAndWidening) {
  sweepSmall([](const Shape& shape) {
    const Plane<std::int16_t> s = randomPlane<std::int16_t>(shape.width, shape.height, shape.seed);
    const Plane<float> f = randomPlane<float>(shape.width, shape.height, shape.seed, true);
    const Plane<float> g = randomPlane<float>(shape.width, shape.height, shape.seed + 1, true);
    const Plane<std::uint16_t> u = randomPlane<std::uint16_t>(shape.width, shape.height, shape.seed);
    Guarded<std::int16_t> shorts(s, shape.placing);
    ASSERT_EQ(
        rvpiMulC_16s_C1RSfs(shorts.data(), shorts.step(), -123, shorts.data(), shorts.step(), shape.size(), 5), 0);
    ASSERT_TRUE(
        same(changed<std::int16_t>(s, [](long double p) { return scaledReference<std::int16_t>(-123.0L * p, 5); }),
             shorts));
    Guarded<float> first(f, shape.placing), second(g, {2, 1}), dst(f, {1, 3});
    Guarded<std::uint16_t> words(u, shape.placing);
    const auto check = [&](RvpStatus status, const Plane<float>& expected) {
      ASSERT_EQ(status, rvpStatusOk);
      ASSERT_TRUE(same(expected, dst));
    };
    check(call(rvpiSub_32f<1>, first, second, dst, dst.size()), combined<float>(g, f, std::minus()));
    check(rvpiMulC_32f_C1R(first.data(), first.step(), 0.7f, dst.data(), dst.step(), dst.size()),
          changed<float>(f, [](float p) { return p * 0.7f; }));
    check(call(rvpiThreshold_LT_32f_C1R, first, dst, dst.size(), 3.0f),
          changed<float>(f, [](float p) { return p < 3.0f ? 3.0f : p; }));
    check(call(rvpiConvert_32f<std::uint16_t, 1>, words, dst, dst.size()), changed<float>(u, std::identity()));
  });
}

// What stores the kernels use must not show, and a machine's cache must not decide which of them are tested.
TEST(Primitives, StoresThatPassTheCacheWriteTheSame) {
  sweepSmall([](const Shape& shape) {
    const Plane<std::uint16_t> words = randomPlane<std::uint16_t>(shape.width, shape.height, shape.seed);
    for (const bool stream : {false, true}) {
      Guarded<std::uint8_t> bytes(Plane<std::uint8_t>(shape.width, shape.height), shape.placing);
      owniSet_C1_M7<std::uint8_t>(200, bytes.data(), bytes.step(), bytes.size(), stream);
      ASSERT_TRUE(same(Plane<std::uint8_t>(shape.width, shape.height, 200), bytes));
      Guarded<std::uint16_t> src(words, {});
      Guarded<float> dst(Plane<float>(shape.width, shape.height), shape.placing);
      owniConvert_32f_M7(src.data(), src.step(), dst.data(), dst.step(), dst.size(), stream);
      ASSERT_TRUE(same(changed<float>(words, std::identity()), dst));
    }
  });
}

TEST(Primitives, ThresholdsTestTheModeFirst) {
  std::uint16_t a[5] = {0, 9, 10, 11, 65535}, dst[5] = {};
  EXPECT_EQ(rvpiThreshold_Val<std::uint16_t>(nullptr, 0, nullptr, 0, {0, 0}, 1, 1, 1), rvpStatusNotSupported);
  EXPECT_EQ(rvpiThreshold_Val<std::uint16_t>(nullptr, 0, a, 0, {0, 0}, 1, 1, 0), rvpStatusNullPointer);
  EXPECT_EQ(rvpiThreshold_Val<std::uint16_t>(a, 0, a, 0, {0, 1}, 1, 1, 4), rvpStatusBadSize);
  EXPECT_EQ(rvpiThreshold_Val<std::uint16_t>(a, 1, a, 0, {5, 1}, 1, 1, 4), rvpStatusBadStep);
  ASSERT_EQ(rvpiThreshold_Val<std::uint16_t>(a, 1, dst, 1, {5, 1}, 10, 7, kThresholdLess), rvpStatusOk);
  EXPECT_TRUE(std::ranges::equal(dst, std::array<std::uint16_t, 5>{7, 7, 10, 11, 65535}));
  ASSERT_EQ(rvpiThreshold_GTVal<std::uint16_t>(a, 1, dst, 1, {5, 1}, 10, 7), rvpStatusOk);
  EXPECT_TRUE(std::ranges::equal(dst, std::array<std::uint16_t, 5>{0, 9, 10, 7, 7}));
}

TEST(Primitives, CopiesTakeAnyStep) {
  const Plane<float> content = randomPlane<float>(3 * 7, 4, 12);
  Guarded<float> src(content, {4, 1}), dst(Plane<float>(3 * 7, 4), {2, 0});
  ASSERT_EQ((rvpiCopy<float, 3>(src.data(), src.step(), dst.data(), dst.step(), {7, 4})), rvpStatusOk);
  EXPECT_TRUE(same(content, dst));
  std::uint8_t bytes[6] = {1, 2, 3, 4, 5, 6}, out[6] = {};
  ASSERT_EQ((rvpiCopy<std::uint8_t, 1>(bytes, 2, out, 1, {3, 2})), rvpStatusOk);
  EXPECT_TRUE(std::ranges::equal(out, std::array<std::uint8_t, 6>{1, 3, 4, 5, 0, 0}));
}

TEST(Primitives, LengthsAreRefused) {
  float f[1] = {1};
  for (const int len : {0, -1, INT_MIN}) {
    EXPECT_EQ(rvpsSet(1.0f, f, len), rvpStatusBadSize);
    EXPECT_EQ(rvpsCopy(f, f, len), rvpStatusBadSize);
    EXPECT_EQ(rvpsZero(f, len), rvpStatusBadSize);
    EXPECT_EQ(rvpsSqrt_32f_I(f, len), rvpStatusBadSize);
    EXPECT_EQ(rvpsMalloc<double>(len), nullptr);
  }
  EXPECT_EQ(rvpsMalloc<double>(INT_MAX / 8 + 1), nullptr);
  EXPECT_EQ(rvpsMalloc<float>(INT_MAX), nullptr);
  EXPECT_EQ(rvpsMinEvery(f, f, f, 0), rvpStatusBadSize);
  EXPECT_EQ(rvpsMaxEvery_I<float>(nullptr, f, 0), rvpStatusNullPointer);
  double* block = rvpsMalloc<double>(3);
  ASSERT_NE(block, nullptr);
  rvpsFree(block);
}

TEST(Primitives, LesserAndGreaterOfPairs) {
  for (unsigned len = 1; len <= kWidestSmall; ++len) {
    const Plane<std::uint8_t> a = randomPlane<std::uint8_t>(static_cast<int>(len), 1, len);
    const Plane<std::uint8_t> b = randomPlane<std::uint8_t>(static_cast<int>(len), 1, len + 1);
    Guarded<std::uint8_t> dst(b, {});
    ASSERT_EQ(rvpsMinEvery_I(a.row(0), dst.data(), len), rvpStatusOk);
    for (unsigned i = 0; i < len; ++i) EXPECT_EQ(dst.data()[i], std::min(a.elements[i], b.elements[i]));
    ASSERT_EQ(rvpsMaxEvery(a.row(0), b.row(0), dst.data(), len), rvpStatusOk);
    for (unsigned i = 0; i < len; ++i) EXPECT_EQ(dst.data()[i], std::max(a.elements[i], b.elements[i]));
  }
  // Either NaN, or two zeros, give the second.
  const Plane<float> first = {9, 1, kNan}, second = randomPlane<float>(9, 1, 13, true);
  Plane<float> lesser(9, 1);
  rvpsMinEvery(first.row(0), second.row(0), lesser.elements.data(), 9);
  EXPECT_TRUE(same(second, lesser));
  rvpsMaxEvery(Plane<float>(9, 1, 0.0f).row(0), Plane<float>(9, 1, -0.0f).row(0), lesser.elements.data(), 9);
  EXPECT_TRUE(same(Plane<float>(9, 1, -0.0f), lesser));
}

TEST(Primitives, MagnitudesAndRootsOnBothSidesOfTheirTeams) {
  for (const int threads : {1, 3, 8}) {
    ASSERT_EQ(rvpSetNumThreads(threads), rvpStatusOk);
    for (const int len : {1, 7, 2047, 2048, 4095, 4096, 4099}) {
      const Plane<float> re = randomPlane<float>(len, 1, 14, true), im = randomPlane<float>(len, 1, 15);
      const Plane<std::int16_t> sre = randomPlane<std::int16_t>(len, 1, 16),
                                sim = randomPlane<std::int16_t>(len, 1, 17);
      const auto magnitude = combined<float>(re, im, [](float a, float b) { return std::sqrt(a * a + b * b); });
      const auto root = changed<float>(re, [](float a) { return std::sqrt(a); });
      Guarded<float> dst(re, {});
      ASSERT_EQ(rvpsMagnitude_32f(re.row(0), im.row(0), dst.data(), len), rvpStatusOk);
      ASSERT_TRUE(same(magnitude, dst));
      ASSERT_EQ(rvpsSqrt_32f(re.row(0), dst.data(), len), rvpStatusOk);
      ASSERT_TRUE(same(root, dst));
      for (const int scale : {0, 1, 4, 20, -1, -20, INT_MIN}) {
        const auto expected = combined<std::int16_t>(sre, sim, [=](long double a, long double b) {
          return scaledReference<std::int16_t>(std::sqrt(a * a + b * b), std::max(scale, -100));
        });
        Guarded<std::int16_t> shorts(sre, {});
        ASSERT_EQ(rvpsMagnitude_16s_Sfs(sre.row(0), sim.row(0), shorts.data(), len, scale), rvpStatusOk);
        ASSERT_TRUE(same(expected, shorts)) << scale;
      }
    }
  }
}

TEST(Primitives, FloatsBecomeIntegersInEachRounding) {
  const std::vector<float> in = {0.5f, 1.5f,   2.5f,   2.75f, -0.6f, -kInf,   kInf,
                                 kNan, 254.5f, 255.5f, 1e9f,  -0.0f, 254.999f};
  const auto len = static_cast<int>(in.size());
  const unsigned control = _mm_getcsr();
  for (const int scale : {0, 1, -1, 200, -200}) {
    for (const int mode : {0, 1, 2, -7}) {
      std::vector<std::uint8_t> out(in.size());
      ASSERT_EQ(rvpsConvert_Sfs(in.data(), out.data(), len, mode, scale), rvpStatusOk);
      for (std::size_t i = 0; i < in.size(); ++i) {
        const float scaled = in[i] * owncvGetScale_32s32f(scale);
        const float limited = std::isnan(scaled) ? 0.0f : std::clamp(scaled, 0.0f, 255.0f);
        EXPECT_EQ(out[i], mode == 1 ? std::nearbyint(limited) : std::trunc(limited)) << in[i] << " " << mode;
      }
    }
  }
  EXPECT_EQ(_mm_getcsr() & 0x6000U, control & 0x6000U);
}

TEST(Primitives, ScalesAreExactPowers) {
  for (int factor = -127; factor <= 149; ++factor)
    EXPECT_EQ(owncvGetScale_32s32f(factor), std::ldexp(1.0f, -factor));
  for (const int factor : {-128, -129, INT_MIN}) EXPECT_EQ(owncvGetScale_32s32f(factor), kInf);
  for (const int factor : {150, 151, INT_MAX}) EXPECT_EQ(owncvGetScale_32s32f(factor), 0.0f);
}

TEST(Primitives, SortPutsNanLast) {
  for (const int len : {1, 2, 9, 10, 1000}) {
    Plane<double> values = randomPlane<double>(len, 1, 18, len > 9);
    for (double& v : values.elements) v = std::isnan(v) ? v : std::round(v / 16);
    std::vector<double> sorted = values.elements;
    ASSERT_EQ(rvpsSortAscend_64f_I(sorted.data(), len), rvpStatusOk);
    EXPECT_TRUE(std::is_permutation(sorted.begin(), sorted.end(), values.elements.begin(),
                                    [](double a, double b) { return a == b || (std::isnan(a) && std::isnan(b)); }));
    for (std::size_t i = 1; i < sorted.size(); ++i)
      EXPECT_TRUE(sorted[i - 1] <= sorted[i] || std::isnan(sorted[i]));
  }
}

TEST(Primitives, ArcTangentIsGoodToTwentyOneBits) {
  const float axis[] = {0.0f,   -0.0f,  1.0f,    -1.0f,      kInf, -kInf, kNan,
                        1e-40f, -3e38f, 3.4e38f, 0.4142135f, 2.5f, -0.1f};
  std::vector<float> y, x;
  for (const float a : axis) {
    for (const float b : axis) {
      y.push_back(a);
      x.push_back(b);
    }
  }
  for (int i = 0; i < 20000; ++i) {
    y.push_back(std::sin(static_cast<float>(i)) * static_cast<float>(i));
    x.push_back(std::cos(static_cast<float>(i) * 1.01f) * 100.0f);
  }
  std::vector<float> angle(y.size());
  ASSERT_EQ(rvpsAtan2_32f_A21(y.data(), x.data(), angle.data(), static_cast<int>(y.size())), rvpStatusOk);
  for (std::size_t i = 0; i < y.size(); ++i) {
    const double truth = std::atan2(static_cast<double>(y[i]), static_cast<double>(x[i]));
    if (std::isnan(truth)) {
      EXPECT_TRUE(std::isnan(angle[i])) << y[i] << " " << x[i];
    } else {
      EXPECT_LE(std::fabs(angle[i] - truth), std::fabs(truth) * 0x1p-21 + 0x1p-149) << y[i] << " " << x[i];
      EXPECT_EQ(std::signbit(angle[i]), std::signbit(truth)) << y[i] << " " << x[i];
    }
  }
  EXPECT_TRUE(same(Plane<float>{1, 1, angle[0]}, Plane<float>{1, 1, 0.0f}));
}

}  // namespace
