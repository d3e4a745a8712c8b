// Summed-area tables against their formulas, cell by cell.
#include "support/test.h"

namespace {

using namespace test;

template <class CellType, class SqrType>
struct Operation {
  using Cell = CellType;
  using Sqr = SqrType;
  const char* name;
  int extra;  // Columns and rows more than the source: 1 if upright, 2 if tilted.
  bool squares;
  // Source, sums and sums of squares with their steps, size, and the two start values.
  std::function<RvpStatus(const std::uint8_t*, int, Cell*, int, Sqr*, int, RvpiSize, Cell, Sqr)> run;
};

#define SUMS(NAME, EXTRA) \
  { #NAME, EXTRA, false, handing < 0, 1, 2, 3, 6, 7>(NAME) }
#define SQUARES(NAME, EXTRA) \
  { #NAME, EXTRA, true, NAME }

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

template <class Cell, class Src>
Plane<Cell> upright(const Plane<Src>& src, bool squares, Cell start) {
  using Wide = std::conditional_t<std::is_same_v<Src, float>, float, std::int64_t>;
  Plane<Cell> table(src.width + 1, src.height + 1, start);
  for (int y = 0; y < src.height; ++y) {
    Wide running = 0;
    for (int x = 0; x < src.width; ++x) {
      const Wide s = src.at(y, x);
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
  ASSERT_EQ(call(operation.run, src, dst, sqr, src.size(), val, sqrVal), rvpStatusOk);
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
  for (const auto& operation : operations<TypeParam>()) {
    SCOPED_TRACE(operation.name);
    const int columns = 5 + operation.extra;
    const auto cells = randomPlane<typename TypeParam::Cell>(columns, columns, 1);
    const auto sqrCells = randomPlane<typename TypeParam::Sqr>(columns, columns, 2);
    Guarded<std::uint8_t> src(randomPlane<std::uint8_t>(5, 5, 3));
    Guarded dst(cells);
    Guarded sqr(sqrCells);
    const bool squares = operation.squares;
    expectFirstOfTwo(operation.run,
                     {nulls<0, 2>, nulls<4>.when(squares), badSizes, shortSteps<0>, shortSteps<2>,
                      shortSteps<4>.when(squares), oddSteps<2>, oddSteps<4>.when(squares)},
                     src.data(), src.step(), dst.data(), dst.step(), sqr.data(), sqr.step(), src.size(), 0, 0);
    EXPECT_TRUE(same(cells, dst) && same(sqrCells, sqr));
  }
}

TEST(FloatIntegral, AddsFromLeftToRightAndThenDown) {
  sweepSmall([](const Shape& shape) {
    const int height = shape.height + 4;
    const Plane<float> content = randomPlane<float>(shape.width, height, shape.seed, shape.width % 2 == 0);
    Guarded<float> src(content, shape.placing), dst(Plane<float>(shape.width + 1, height + 1, 9), shape.placing);
    ASSERT_EQ(call(rvpiIntegral_32f_C1R, src, dst, src.size()), rvpStatusOk);
    ASSERT_TRUE(same(upright(content, false, 0.0f), dst));
  });
  float pixels[4] = {}, cells[9] = {};
  expectFirstOfTwo(rvpiIntegral_32f_C1R, {nulls<>, badSizes, shortSteps<>, oddSteps<>}, pixels, 8, cells, 12,
                   {2, 2});
}

FUZZ(integral, input) {
  const RvpiSize size = input.size();
  const auto content = input.plane<std::uint8_t>(size.width, size.height);
  const Placing placing = input.placing();
  input.withOneOf(Operations(), [&]<class Op>() { check(input.oneOf(operations<Op>()), content, placing); });
}

}  // namespace
