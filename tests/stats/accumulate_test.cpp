// The accumulators against their formulas, pixel by pixel.
#include "support/test.h"

namespace {

using namespace test;

enum class Formula { sum, square, product, average, blend };

// Which pixels of a masked row are in groups of four: counted from the row's start, or from the first multiple
// of 16.
enum class Groups { fromStart, fromAligned };

// Two sources, a mask and the accumulator with their steps, the size and alpha.
template <class T>
using Run =
    std::function<RvpStatus(const T*, int, const T*, int, const std::uint8_t*, int, float*, int, RvpiSize, float)>;
template <class T>
struct Operation {
  const char* name;
  Formula formula;
  bool masked;
  Groups groups;
  Run<T> run;

  bool twoSources() const { return formula == Formula::product || formula == Formula::blend; }
};

// The numbers of the arguments that a function takes.
#define OPERATION(NAME, FORMULA, MASKED, GROUPS, ...) \
  { #NAME, Formula::FORMULA, MASKED, Groups::GROUPS, handing < __VA_ARGS__>(NAME) }
#define SUM(TYPES) OPERATION(rvpiAdd_##TYPES##_C1IR, sum, false, fromStart, 0, 1, 6, 7, 8)
#define SUM_MASKED(TYPES, GROUPS) OPERATION(rvpiAdd_##TYPES##_C1IMR, sum, true, GROUPS, 0, 1, 4, 5, 6, 7, 8)
// All others.
#define MORE(TYPES, GROUPS)                                                                           \
  OPERATION(rvpiAddSquare_##TYPES##_C1IR, square, false, fromStart, 0, 1, 6, 7, 8),                   \
      OPERATION(rvpiAddSquare_##TYPES##_C1IMR, square, true, GROUPS, 0, 1, 4, 5, 6, 7, 8),            \
      OPERATION(rvpiAddProduct_##TYPES##_C1IR, product, false, fromStart, 0, 1, 2, 3, 6, 7, 8),       \
      OPERATION(rvpiAddProduct_##TYPES##_C1IMR, product, true, fromStart, 0, 1, 2, 3, 4, 5, 6, 7, 8), \
      OPERATION(rvpiAddWeighted_##TYPES##_C1IR, average, false, fromStart, 0, 1, 6, 7, 8, 9),         \
      OPERATION(rvpiAddWeighted_##TYPES##_C1IMR, average, true, fromStart, 0, 1, 4, 5, 6, 7, 8, 9)

template <class T>
std::vector<Operation<T>> operations();

template <>
std::vector<Operation<std::uint8_t>> operations() {
  return {SUM(8u32f), SUM_MASKED(8u32f, fromAligned), MORE(8u32f, fromAligned)};
}
template <>
std::vector<Operation<std::uint16_t>> operations() {
  return {SUM(16u32f), SUM_MASKED(16u32f, fromAligned), MORE(16u32f, fromAligned)};
}
template <>
std::vector<Operation<float>> operations() {
  return {SUM_MASKED(32f, fromStart), MORE(32f, fromStart),
          OPERATION(rvpiAddWeighted_32f_C1R, blend, false, fromStart, 0, 1, 2, 3, 6, 7, 8, 9)};
}

// One pixel from the formula. Squares and products of bytes are formed in integers, all else in float.
template <class T>
float expectedPixel(Formula formula, T s1, T s2, float acc, float alpha, bool selected, bool grouped) {
  if (!selected && !grouped) return acc;
  const auto f1 = selected ? static_cast<float>(s1) : 0.0f;
  const auto f2 = static_cast<float>(s2);
  switch (formula) {
    case Formula::sum:
      return acc + f1;
    case Formula::square:
      if constexpr (sizeof(T) == 1) return acc + static_cast<float>(selected ? int{s1} * int{s1} : 0);
      return acc + f1 * f1;
    case Formula::product:
      if constexpr (sizeof(T) == 1) return acc + static_cast<float>(selected ? int{s1} * int{s2} : 0);
      return acc + f1 * f2;
    case Formula::average:
      return acc + (selected ? (static_cast<float>(s1) - acc) * alpha : 0.0f);
    case Formula::blend:
      return (f1 - f2) * alpha + f2;
  }
  return acc;
}

template <class T>
struct Inputs {
  Plane<T> src1, src2;
  Plane<std::uint8_t> mask;
  Plane<float> acc;

  explicit Inputs(const Shape& shape)
      : src1(randomPlane<T>(shape.width, shape.height, shape.seed, true)),
        src2(randomPlane<T>(shape.width, shape.height, shape.seed + 1, true)),
        mask(randomPlane<std::uint8_t>(shape.width, shape.height, shape.seed + 2)),
        acc(randomPlane<float>(shape.width, shape.height, shape.seed + 3, true)) {
    for (std::uint8_t& m : mask.elements) m = m % 3 == 0 ? 0 : m;
  }
};

template <class T>
Plane<float> expected(const Operation<T>& operation, const Inputs<T>& in, float alpha, const float* accRow,
                      int accStep) {
  Plane<float> result = in.acc;
  for (int y = 0; y < result.height; ++y) {
    const auto address = reinterpret_cast<std::uintptr_t>(accRow) +
                         static_cast<std::uintptr_t>(y) * static_cast<std::uintptr_t>(accStep);
    const int head = operation.groups == Groups::fromAligned ? static_cast<int>((16 - address % 16) % 16 / 4) : 0;
    for (int x = 0; x < result.width; ++x) {
      const bool grouped = operation.masked && x >= head && x < head + (result.width - head) / 4 * 4;
      result.at(y, x) = expectedPixel(operation.formula, in.src1.at(y, x), in.src2.at(y, x), in.acc.at(y, x), alpha,
                                      !operation.masked || in.mask.at(y, x) != 0, grouped);
    }
  }
  return result;
}

template <class T>
void checkShape(const Shape& shape) {
  const Inputs<T> in(shape);
  for (const Operation<T>& operation : operations<T>()) {
    SCOPED_TRACE(operation.name);
    const Placing odd = {shape.placing.gap + 1, shape.placing.shift + 1, shape.placing.cliff};
    Guarded<T> src1(in.src1, shape.placing), src2(in.src2, odd);
    Guarded<std::uint8_t> mask(in.mask, odd);
    Guarded<float> acc(in.acc, shape.placing);
    const float alpha = 0.3f;
    ASSERT_EQ(call(operation.run, src1, src2, mask, acc, acc.size(), alpha), rvpStatusOk);
    ASSERT_TRUE(same(expected(operation, in, alpha, acc.data(), acc.step()), acc));
  }
}

template <class T>
class Accumulators : public testing::Test {};
using SourceTypes = testing::Types<std::uint8_t, std::uint16_t, float>;
TYPED_TEST_SUITE(Accumulators, SourceTypes);

TYPED_TEST(Accumulators, FollowTheFormulaAtEveryWidth) { sweepSmall(checkShape<TypeParam>); }

TYPED_TEST(Accumulators, ReportTheFirstOfTwoFaults) {
  using T = TypeParam;
  const Inputs<T> in({5, 3, {}, 1, 400});
  Guarded<T> src(in.src1);
  Guarded<std::uint8_t> mask(in.mask);
  for (const Operation<T>& operation : operations<T>()) {
    SCOPED_TRACE(operation.name);
    const bool two = operation.twoSources(), masked = operation.masked;
    Guarded<float> acc(in.acc);
    // The accumulator's step is odd last.
    expectFirstOfTwo(
        operation.run,
        {nulls<0, 6>, nulls<2>.when(two), nulls<4>.when(masked), badSizes, shortSteps<0>, shortSteps<2>.when(two),
         oddSteps<0>.when(sizeof(T) == 2), oddSteps<2>.when(sizeof(T) == 2 && two), shortSteps<4>.when(masked),
         shortSteps<6>, oddSteps<0>.when(sizeof(T) == 4), oddSteps<2>.when(sizeof(T) == 4 && two), oddSteps<6>},
        src.data(), src.step(), src.data(), src.step(), mask.data(), mask.step(), acc.data(), acc.step(),
        acc.size(), 0.5f);
    EXPECT_TRUE(same(in.acc, acc));
  }
}

// A float source may be the accumulator itself.
TEST(AccumulatorValues, FloatSourceMayBeTheAccumulator) {
  Plane<float> image = randomPlane<float>(37, 1, 5);
  const auto expected = changed<float>(image, [](float p) { return p + p * p; });
  float* const row = image.elements.data();
  ASSERT_EQ(rvpiAddSquare_32f_C1IR(row, 4 * 37, row, 4 * 37, {37, 1}), rvpStatusOk);
  EXPECT_TRUE(same(expected, image));
}

FUZZ(accumulate, input) {
  tryShape(input.shape(), [&](const Shape& shape) {
    input.withOneOf<std::uint8_t, std::uint16_t, float>([&]<class T>() { checkShape<T>(shape); });
  });
}

}  // namespace
