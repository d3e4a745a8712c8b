// Summed-area tables against their formulas, cell by cell.
#include <gtest/gtest.h>

#include <functional>
#include <limits>
#include <string>
#include <utility>

#include "rvpcv.h"
#include "support/compare.h"
#include "support/faults.h"
#include "support/sweep.h"

namespace {

using namespace test;

template <class Cell, class Sqr>
struct Arguments {
  const std::uint8_t* src;
  int srcStep;
  Cell* dst;
  int dstStep;
  Sqr* sqr;
  int sqrStep;
  RvpiSize size;
  Cell val;
  Sqr sqrVal;
};

template <class CellType, class SqrType>
struct Operation {
  using Cell = CellType;
  using Sqr = SqrType;
  const char* name;
  int extra;  // Columns and rows more than the source: 1 if upright, 2 if tilted.
  bool squares;
  std::function<RvpStatus(const Arguments<Cell, Sqr>&)> run;
};

#define SUMS(NAME, EXTRA)                                                                                      \
  {                                                                                                            \
#NAME, EXTRA, false, [](const auto& a) { return NAME(a.src, a.srcStep, a.dst, a.dstStep, a.size, a.val); } \
  }
#define SQUARES(NAME, EXTRA)                                                                                      \
  {                                                                                                               \
#NAME, EXTRA, true,                                                                                           \
        [](const auto&                                                                                            \
               a) { return NAME(a.src, a.srcStep, a.dst, a.dstStep, a.sqr, a.sqrStep, a.size, a.val, a.sqrVal); } \
  }

using Ints = Operation<std::int32_t, std::int32_t>;
using Mixed = Operation<std::int32_t, double>;
using Floats = Operation<float, double>;

template <class Op>
std::vector<Op> operations();
template <>
std::vector<Ints> operations() {
  return {SUMS(rvpiIntegral_8u32s_C1R, 1), SUMS(rvpiTiltedIntegral_8u32s_C1R, 2),
          SQUARES(rvpiSqrIntegral_8u32s_C1R, 1), SQUARES(rvpiTiltedSqrIntegral_8u32s_C1R, 2)};
}
template <>
std::vector<Mixed> operations() {
  return {SQUARES(rvpiSqrIntegral_8u32s64f_C1R, 1), SQUARES(rvpiTiltedSqrIntegral_8u32s64f_C1R, 2)};
}
template <>
std::vector<Floats> operations() {
  return {SUMS(rvpiIntegral_8u32f_C1R, 1), SUMS(rvpiTiltedIntegral_8u32f_C1R, 2),
          SQUARES(rvpiSqrIntegral_8u32f64f_C1R, 1), SQUARES(rvpiTiltedSqrIntegral_8u32f64f_C1R, 2)};
}

std::int32_t low(std::int64_t value) { return static_cast<std::int32_t>(static_cast<std::uint32_t>(value)); }

template <class Cell>
Plane<Cell> upright(const Plane<std::uint8_t>& src, bool squares, Cell start) {
  Plane<Cell> table(src.width + 1, src.height + 1, start);
  for (int y = 0; y < src.height; ++y) {
    std::int64_t running = 0;
    for (int x = 0; x < src.width; ++x) {
      const std::int64_t s = src.at(y, x);
      running += squares ? s * s : s;
      if constexpr (std::is_integral_v<Cell>) {
        table.at(y + 1, x + 1) = low(table.at(y, x + 1) + running);
      } else {
        table.at(y + 1, x + 1) = table.at(y, x + 1) + static_cast<Cell>(running);
      }
    }
  }
  return table;
}

template <class Cell>
Plane<Cell> tilted(const Plane<std::uint8_t>& src, bool squares, Cell start) {
  const int w = src.width;
  Plane<Cell> t(w + 2, src.height + 2, start);
  for (int i = 0; i < src.height; ++i) {
    const auto s = [&](int x) { return x == w ? 0 : squares ? src.at(i, x) * src.at(i, x) : int{src.at(i, x)}; };
    t.at(i + 2, 0) = t.at(i + 1, 1);
    t.at(i + 2, w + 1) = t.at(i + 1, w);
    for (int x = 1; x <= w; ++x) {
      const Cell left = t.at(i + 1, x - 1), right = t.at(i + 1, x + 1), up = t.at(i, x);
      if constexpr (std::is_integral_v<Cell>) {
        t.at(i + 2, x) = low(std::int64_t{s(x - 1)} + s(x) + left + right - up);
      } else if constexpr (sizeof(Cell) == 4) {
        const double l = static_cast<double>(left), u = static_cast<double>(up), r = static_cast<double>(right);
        t.at(i + 2, x) = static_cast<Cell>(l - u + r + s(x - 1) + s(x));
      } else {
        t.at(i + 2, x) = static_cast<Cell>(s(x - 1) + s(x)) + left - up + right;
      }
    }
  }
  return t;
}

template <class Cell>
Plane<Cell> expected(int extra, const Plane<std::uint8_t>& src, bool squares, Cell start) {
  return extra == 1 ? upright(src, squares, start) : tilted(src, squares, start);
}

// Start values that make sums of integers wrap and sums of floats round.
template <class Cell>
constexpr Cell kStart = std::is_integral_v<Cell> ? std::numeric_limits<std::int32_t>::max() - 1000
                                                 : static_cast<Cell>(16777000.3);

template <class Op>
void check(const Op& operation, const Plane<std::uint8_t>& content, Placing placing) {
  using Cell = typename Op::Cell;
  using Sqr = typename Op::Sqr;
  SCOPED_TRACE(operation.name);
  const int columns = content.width + operation.extra, rows = content.height + operation.extra;
  Guarded<std::uint8_t> src(content, placing);
  Guarded<Cell> dst(Plane<Cell>(columns, rows), placing);
  Guarded<Sqr> sqr(Plane<Sqr>(columns, rows), placing);
  const Cell val = kStart<Cell>;
  const Sqr sqrVal = kStart<Sqr> / 7;
  ASSERT_EQ(operation.run(
                {src.data(), src.step(), dst.data(), dst.step(), sqr.data(), sqr.step(), src.size(), val, sqrVal}),
            rvpStatusOk);
  ASSERT_TRUE(same(expected(operation.extra, content, false, val), dst));
  if (operation.squares) {
    ASSERT_TRUE(same(expected(operation.extra, content, true, sqrVal), sqr));
  }
}

template <class Op>
class Integrals : public testing::Test {};
using Operations = testing::Types<Ints, Mixed, Floats>;
TYPED_TEST_SUITE(Integrals, Operations);

TYPED_TEST(Integrals, FollowTheFormulaAtEveryWidth) {
  sweepSmall([](const Shape& shape) {
    const auto src = randomPlane<std::uint8_t>(shape.width, shape.height + 3, shape.seed);
    for (const auto& operation : operations<TypeParam>())
      ASSERT_NO_FATAL_FAILURE(check(operation, src, shape.placing));
  });
  for (const auto& operation : operations<TypeParam>())
    check(operation, Plane<std::uint8_t>(611, 300, 255), Placing{1, 1});
}

TYPED_TEST(Integrals, ReportTheFirstOfTwoFaults) {
  using Cell = typename TypeParam::Cell;
  using Sqr = typename TypeParam::Sqr;
  constexpr int kWidth = 5, kSqr = sizeof(Sqr);
  for (const auto& operation : operations<TypeParam>()) {
    SCOPED_TRACE(operation.name);
    const int columns = kWidth + operation.extra;
    const Plane<Cell> cells = randomPlane<Cell>(columns, columns, 1);
    const Plane<Sqr> sqrCells = randomPlane<Sqr>(columns, columns, 2);
    Guarded<std::uint8_t> src(randomPlane<std::uint8_t>(kWidth, kWidth, 3));
    const bool squares = operation.squares;
    const Faults<Arguments<Cell, Sqr>> faults = {
        {rvpStatusNullPointer, [](auto& a) { a.src = nullptr; }},
        {rvpStatusNullPointer, [](auto& a) { a.dst = nullptr; }},
        {rvpStatusNullPointer, [](auto& a) { a.sqr = nullptr; }, squares},
        {rvpStatusBadSize, [](auto& a) { a.size.width = 0; }},
        {rvpStatusBadSize, [](auto& a) { a.size.height = -3; }},
        {rvpStatusBadStep, [](auto& a) { a.srcStep = kWidth - 1; }},
        {rvpStatusBadStep, [=](auto& a) { a.dstStep = 4 * columns - 4; }},
        {rvpStatusBadStep, [=](auto& a) { a.sqrStep = kSqr * columns - 1; }, squares},
        {rvpStatusStepNotMultiple, [=](auto& a) { a.dstStep = 4 * columns + 2; }},
        {rvpStatusStepNotMultiple, [=](auto& a) { a.sqrStep = kSqr * columns + kSqr / 2; }, squares}};
    Guarded<Cell> dst(cells);
    Guarded<Sqr> sqr(sqrCells);
    const Arguments<Cell, Sqr> good = {src.data(), src.step(), dst.data(), dst.step(), sqr.data(),
                                       sqr.step(), src.size(), 0,          0};
    expectFirstOfTwo(faults, good, operation.run);
    EXPECT_TRUE(same(cells, dst) && same(sqrCells, sqr));
  }
}

TEST(FloatIntegral, AddsFromLeftToRightAndThenDown) {
  sweepSmall([](const Shape& shape) {
    const int height = shape.height + 4;
    const Plane<float> content = randomPlane<float>(shape.width, height, shape.seed, shape.width % 2 == 0);
    Plane<float> table(shape.width + 1, height + 1);
    for (int y = 0; y < height; ++y) {
      float running = 0;
      for (int x = 0; x < shape.width; ++x) {
        running += content.at(y, x);
        table.at(y + 1, x + 1) = table.at(y, x + 1) + running;
      }
    }
    Guarded<float> src(content, shape.placing), dst(Plane<float>(shape.width + 1, height + 1, 9), shape.placing);
    ASSERT_EQ(rvpiIntegral_32f_C1R(src.data(), src.step(), dst.data(), dst.step(), src.size()), rvpStatusOk);
    ASSERT_TRUE(same(table, dst));
  });
  float pixels[4] = {}, cells[9] = {};
  EXPECT_EQ(rvpiIntegral_32f_C1R(nullptr, 8, cells, 12, {2, 2}), rvpStatusNullPointer);
  EXPECT_EQ(rvpiIntegral_32f_C1R(pixels, 7, cells, 13, {0, 2}), rvpStatusBadSize);
  EXPECT_EQ(rvpiIntegral_32f_C1R(pixels, 7, cells, 13, {2, 2}), rvpStatusBadStep);
  EXPECT_EQ(rvpiIntegral_32f_C1R(pixels, 9, cells, 8, {2, 2}), rvpStatusBadStep);
  EXPECT_EQ(rvpiIntegral_32f_C1R(pixels, 9, cells, 12, {2, 2}), rvpStatusStepNotMultiple);
  EXPECT_EQ(rvpiIntegral_32f_C1R(pixels, 8, cells, 14, {2, 2}), rvpStatusStepNotMultiple);
}

}  // namespace
