// Standard deviations in rectangles against their formulas, pixel by pixel.
#include "support/test.h"

namespace {

using namespace test;

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
  static constexpr std::array kRun = {rvpiRectStdDev_32s_C1RSfs, rvpiTiltedRectStdDev_32s_C1RSfs};
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
  static constexpr std::array kRun = {rvpiRectStdDev_32s32f_C1R, rvpiTiltedRectStdDev_32s32f_C1R};
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
  static constexpr std::array kRun = {rvpiRectStdDev_32f_C1R, rvpiTiltedRectStdDev_32f_C1R};
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
  if constexpr (std::is_same_v<Form, Scaled>) {
    ASSERT_EQ(call(Form::kRun[tilted], src, sqr, dst, size, rect, scale), rvpStatusOk);
  } else {
    ASSERT_EQ(call(Form::kRun[tilted], src, sqr, dst, size, rect), rvpStatusOk);
  }
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

TYPED_TEST(RectStdDev, ReportsTheFirstOfTwoFaults) {
  using Form = TypeParam;
  static constexpr int kSqr = sizeof(typename Form::Sqr);
  for (const bool tilted : {false, true}) {
    const RvpiSize cells = tableSize(tilted, kSize, {4, 1, 2, 3});
    const Tables<Form> in(cells.width, cells.height, 5);
    Guarded src(in.src);
    Guarded sqr(in.sqr);
    const Plane<typename Form::Dst> untouched(kSize.width, kSize.height, 7);
    Guarded dst(untouched);
    const auto check = [&](auto run, auto... scale) {
      expectFirstOfTwo(run,
                       {nulls<>, badSizes, at<1>(rvpStatusBadStep, 4 * kSize.width), shortSteps<4>,
                        at<3>(rvpStatusBadStep, kSqr * kSize.width),
                        at<7>(rvpStatusBadStep, RvpiRect{4, 1, INT32_MAX, 3}), oddSteps<>,
                        at<7>(rvpStatusBadSize, RvpiRect{-1, 1, 2, 3}, RvpiRect{4, -1, 2, 3}, RvpiRect{4, 1, 0, 3},
                              RvpiRect{4, 1, 2, 0})},
                       src.data(), src.step(), sqr.data(), sqr.step(), dst.data(), dst.step(), kSize, {4, 1, 2, 3},
                       scale...);
    };
    if constexpr (std::is_same_v<Form, Scaled>) {
      check(Form::kRun[tilted], 0);
    } else {
      check(Form::kRun[tilted]);
    }
    EXPECT_TRUE(same(untouched, dst));
  }
}

FUZZ(rect_std_dev, input) {
  const bool tilted = input.flag();
  const RvpiSize size = input.size();
  // No corner of a tilted rectangle lies to the left of the first column.
  RvpiRect rect = {input.between(0, 6), input.between(0, 6), input.between(1, 9), input.between(1, 9)};
  if (tilted) rect.x += rect.y + rect.height;
  const int scale = input.between(-10, 10);
  const Shape shape = input.shape();
  input.withOneOf(Forms(), [&]<class Form>() { check<Form>(tilted, size, rect, scale, shape); });
}

}  // namespace
