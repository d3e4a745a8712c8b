// Standard deviations in rectangles against their formulas, pixel by pixel.
#include <gtest/gtest.h>

#include <cmath>
#include <limits>

#include "rvpcv.h"
#include "support/compare.h"
#include "support/faults.h"
#include "support/sweep.h"

namespace {

using namespace test;

template <class T, class Sqr, class Dst>
struct Arguments {
  const T* src;
  int srcStep;
  const Sqr* sqr;
  int sqrStep;
  Dst* dst;
  int dstStep;
  RvpiSize size;
  RvpiRect rect;
  int scale;
};

// A rectangle's sum of cells that were converted to Sum; sums of integers wrap.
template <class Sum, class T>
Sum corners(const Plane<T>& t, bool tilted, RvpiRect r, int i, int j) {
  Sum p[4];
  const auto cell = [&](int row, int column) { return static_cast<Sum>(t.at(row, column)); };
  if (tilted) {
    const int row = r.x + r.y + j, column = r.x - r.y + i;
    p[0] = cell(row, column);
    p[1] = cell(row + r.width, column + r.width);
    p[2] = cell(row + r.width + r.height, column + r.width - r.height);
    p[3] = cell(row + r.height, column - r.height);
  } else {
    p[0] = cell(r.y + r.height + j, r.x + r.width + i);
    p[1] = cell(r.y + j, r.x + r.width + i);
    p[2] = cell(r.y + j, r.x + i);
    p[3] = cell(r.y + r.height + j, r.x + i);
  }
  if constexpr (std::is_integral_v<Sum>) {
    return static_cast<Sum>(static_cast<std::uint32_t>(std::int64_t{p[0]} - p[1] + (std::int64_t{p[2]} - p[3])));
  } else {
    return p[0] - p[1] + (p[2] - p[3]);
  }
}

// A form of the operation: its types, and the result that each has from the tables.
struct Scaled {
  using T = std::int32_t;
  using Sqr = std::int32_t;
  using Dst = std::int32_t;
  static RvpStatus run(bool tilted, const Arguments<T, Sqr, Dst>& a) {
    return (tilted ? rvpiTiltedRectStdDev_32s_C1RSfs : rvpiRectStdDev_32s_C1RSfs)(
        a.src, a.srcStep, a.sqr, a.sqrStep, a.dst, a.dstStep, a.size, a.rect, a.scale);
  }
  static Dst expected(bool tilted, const Plane<T>& src, const Plane<Sqr>& sqr, RvpiRect r, int area, int scale,
                      int i, int j) {
    const auto n = static_cast<float>(area);
    const float mean = static_cast<float>(corners<T>(src, tilted, r, i, j)) / n;
    float variance = static_cast<float>(corners<Sqr>(sqr, tilted, r, i, j)) / n - mean * mean;
    if (variance < 0) variance = 0;
    double root = std::sqrt(static_cast<double>(variance));
    if (tilted) root = static_cast<double>(static_cast<float>(root));
    const double value = root * std::ldexp(1.0, -scale) + 0.5;
    return value >= 2147483648.0 ? std::numeric_limits<Dst>::min() : static_cast<Dst>(value);
  }
};

struct Mixed {
  using T = std::int32_t;
  using Sqr = double;
  using Dst = float;
  static RvpStatus run(bool tilted, const Arguments<T, Sqr, Dst>& a) {
    return (tilted ? rvpiTiltedRectStdDev_32s32f_C1R : rvpiRectStdDev_32s32f_C1R)(
        a.src, a.srcStep, a.sqr, a.sqrStep, a.dst, a.dstStep, a.size, a.rect);
  }
  static Dst expected(bool tilted, const Plane<T>& src, const Plane<Sqr>& sqr, RvpiRect r, int area, int, int i,
                      int j) {
    const float mean = static_cast<float>(corners<T>(src, tilted, r, i, j)) / static_cast<float>(area);
    if (tilted) {
      const double variance =
          corners<Sqr>(sqr, true, r, i, j) / area - static_cast<double>(mean) * static_cast<double>(mean);
      return static_cast<float>(std::sqrt(static_cast<double>(static_cast<float>(variance < 0 ? 0 : variance))));
    }
    const float variance = corners<float>(sqr, false, r, i, j) / static_cast<float>(area) - mean * mean;
    return std::sqrt(variance < 0 ? 0 : variance);
  }
};

struct Floats {
  using T = float;
  using Sqr = double;
  using Dst = float;
  static RvpStatus run(bool tilted, const Arguments<T, Sqr, Dst>& a) {
    return (tilted ? rvpiTiltedRectStdDev_32f_C1R : rvpiRectStdDev_32f_C1R)(a.src, a.srcStep, a.sqr, a.sqrStep,
                                                                            a.dst, a.dstStep, a.size, a.rect);
  }
  static Dst expected(bool tilted, const Plane<T>& src, const Plane<Sqr>& sqr, RvpiRect r, int area, int, int i,
                      int j) {
    const auto sum = static_cast<double>(corners<T>(src, tilted, r, i, j));
    const double squares = corners<Sqr>(sqr, tilted, r, i, j), n = area;
    const double mean = tilted ? sum / n : sum * (1 / n);
    const auto variance = static_cast<float>((tilted ? squares / n : squares * (1 / n)) - mean * mean);
    return static_cast<float>(std::sqrt(static_cast<double>(variance < 0 ? 0 : variance)));
  }
};

// Tables of a random image: cells of the greater table are random, so that variances of both signs occur, integers
// wrap and doubles need rounding.
template <class Form>
struct Tables {
  Plane<typename Form::T> src;
  Plane<typename Form::Sqr> sqr;
  Tables(int width, int height, unsigned seed)
      : src(randomPlane<typename Form::T>(width, height, seed)), sqr(width, height) {
    const auto random = randomPlane<std::int32_t>(width, height, seed + 1);
    for (std::size_t k = 0; k < sqr.elements.size(); ++k) {
      if constexpr (std::is_same_v<typename Form::Sqr, double>) {
        sqr.elements[k] = random.elements[k] / 3.0 + 4e6 * static_cast<double>(k % 7);
      } else {
        sqr.elements[k] = random.elements[k];
        src.elements[k] = src.elements[k] >> (k % 5 == 0 ? 0 : 14);
      }
    }
  }
};

RvpiSize tableSize(bool tilted, RvpiSize size, RvpiRect r) {
  if (tilted)
    return {size.width + r.x + r.y + r.width + r.height - 1, size.height + r.x + r.y + r.width + r.height};
  return {size.width + r.x + r.width, size.height + r.y + r.height};
}

template <class Form>
void check(bool tilted, RvpiSize size, RvpiRect rect, int scale, const Shape& shape) {
  SCOPED_TRACE(tilted);
  const RvpiSize cells = tableSize(tilted, size, rect);
  const Tables<Form> in(cells.width, cells.height, shape.seed);
  Guarded<typename Form::T> src(in.src, shape.placing);
  Guarded<typename Form::Sqr> sqr(in.sqr, shape.placing);
  Guarded<typename Form::Dst> dst(Plane<typename Form::Dst>(size.width, size.height, 1), shape.placing);
  ASSERT_EQ(Form::run(tilted,
                      {src.data(), src.step(), sqr.data(), sqr.step(), dst.data(), dst.step(), size, rect, scale}),
            rvpStatusOk);
  const int area = (tilted ? 2 : 1) * rect.width * rect.height;
  const auto wanted = planeOf<typename Form::Dst>(size.width, size.height, [&](int j, int i) {
    return Form::expected(tilted, in.src, in.sqr, rect, area, scale, i, j);
  });
  ASSERT_TRUE(same(wanted, dst));
}

template <class Form>
class RectStdDev : public testing::Test {};
using Forms = testing::Types<Scaled, Mixed, Floats>;
TYPED_TEST_SUITE(RectStdDev, Forms);

TYPED_TEST(RectStdDev, FollowsTheFormulaAtEveryWidth) {
  constexpr RvpiRect kUpright[] = {{0, 0, 1, 1}, {2, 1, 3, 5}}, kTilted[] = {{1, 0, 1, 1}, {6, 1, 2, 3}};
  sweepSmall([&](const Shape& shape) {
    const auto rect = static_cast<std::size_t>(shape.width % 2);
    const int scale = shape.width % 5 * 2 - 4;
    check<TypeParam>(false, shape.size(), kUpright[rect], scale, shape);
    check<TypeParam>(true, shape.size(), kTilted[rect], scale, shape);
  });
}

TEST(RectStdDevOnATeam, GivesTheSameResult) {
  sweepTeams(2048, [](const Shape& shape) { check<Floats>(false, shape.size(), {1, 2, 3, 4}, 0, shape); });
}

constexpr RvpiSize kSize = {5, 3};
constexpr RvpiRect kRect = {4, 1, 2, 3};

TYPED_TEST(RectStdDev, ReportsTheFirstOfTwoFaults) {
  using Form = TypeParam;
  using Args = Arguments<typename Form::T, typename Form::Sqr, typename Form::Dst>;
  static constexpr int kSqr = sizeof(typename Form::Sqr);
  for (const bool tilted : {false, true}) {
    const RvpiSize cells = tableSize(tilted, kSize, kRect);
    Tables<Form> in(cells.width, cells.height, 5);
    const Faults<Args> faults = {
        {rvpStatusNullPointer, [](auto& a) { a.src = nullptr; }},
        {rvpStatusNullPointer, [](auto& a) { a.sqr = nullptr; }},
        {rvpStatusNullPointer, [](auto& a) { a.dst = nullptr; }},
        {rvpStatusBadSize, [](auto& a) { a.size.width = 0; }},
        {rvpStatusBadSize, [](auto& a) { a.size.height = 0; }},
        {rvpStatusBadStep, [](auto& a) { a.srcStep = 4 * kSize.width; }},
        {rvpStatusBadStep, [](auto& a) { a.dstStep = 4 * kSize.width - 2; }},
        {rvpStatusBadStep, [](auto& a) { a.sqrStep = kSqr * kSize.width; }},
        {rvpStatusBadStep, [](auto& a) { a.rect.width = std::numeric_limits<int>::max(); }},
        {rvpStatusStepNotMultiple, [](auto& a) { a.srcStep |= 2; }},
        {rvpStatusStepNotMultiple, [](auto& a) { a.dstStep |= 1; }},
        {rvpStatusStepNotMultiple, [](auto& a) { a.sqrStep |= kSqr / 2; }},
        {rvpStatusBadSize, [](auto& a) { a.rect.x = -1; }},
        {rvpStatusBadSize, [](auto& a) { a.rect.y = -1; }},
        {rvpStatusBadSize, [](auto& a) { a.rect.width = 0; }},
        {rvpStatusBadSize, [](auto& a) { a.rect.height = 0; }}};
    const Plane<typename Form::Dst> untouched(kSize.width, kSize.height, 7);
    Guarded<typename Form::Dst> dst(untouched);
    const Args good = {
        in.src.row(0), 4 * cells.width, in.sqr.row(0), kSqr * cells.width, dst.data(), dst.step(), kSize, kRect, 0};
    expectFirstOfTwo(faults, good, [=](const Args& a) { return Form::run(tilted, a); });
    EXPECT_TRUE(same(untouched, dst));
  }
}

// Over a flat image each rectangle has the deviation 0, which only the right corners of the right area give, and a
// step of one has the known deviation.
TEST(RectStdDevOfAnImage, IsThatOfItsPixels) {
  constexpr int kSide = 24;
  Plane<std::uint8_t> image(kSide, kSide, 200);
  Plane<std::int32_t> sums(kSide + 2, kSide + 2);
  Plane<double> squares(kSide + 2, kSide + 2);
  const int step = 4 * (kSide + 2), sqrStep = 2 * step;
  float deviations[16];
  ASSERT_EQ(rvpiTiltedSqrIntegral_8u32s64f_C1R(image.row(0), kSide, &sums.at(0, 0), step, &squares.at(0, 0),
                                               sqrStep, {kSide, kSide}, 5, 0.25),
            rvpStatusOk);
  ASSERT_EQ(rvpiTiltedRectStdDev_32s32f_C1R(sums.row(0), step, squares.row(0), sqrStep, deviations, 16, {4, 4},
                                            {9, 1, 3, 4}),
            rvpStatusOk);
  for (const float deviation : deviations) EXPECT_EQ(deviation, 0);
  for (int y = 0; y < kSide; ++y) {
    for (int x = 1; x < kSide; x += 2) image.at(y, x) = 100;
  }
  ASSERT_EQ(rvpiSqrIntegral_8u32s64f_C1R(image.row(0), kSide, &sums.at(0, 0), step, &squares.at(0, 0), sqrStep,
                                         {kSide, kSide}, 5, 0.25),
            rvpStatusOk);
  ASSERT_EQ(
      rvpiRectStdDev_32s32f_C1R(sums.row(0), step, squares.row(0), sqrStep, deviations, 16, {4, 4}, {1, 2, 6, 5}),
      rvpStatusOk);
  for (const float deviation : deviations) EXPECT_EQ(deviation, 50);
}

}  // namespace
