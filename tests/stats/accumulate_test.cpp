// The accumulators against their formulas, pixel by pixel.
#include <gtest/gtest.h>

#include <functional>
#include <limits>

#include "rvpcv.h"
#include "support/compare.h"
#include "support/faults.h"
#include "support/sweep.h"

namespace {

using namespace test;

enum class Formula { sum, square, product, average, blend };

// Which pixels of a masked row are in groups of four: counted from the row's start, or from the first multiple
// of 16.
enum class Groups { fromStart, fromAligned };

template <class T>
struct Arguments {
  const T* src1;
  int src1Step;
  const T* src2;
  int src2Step;
  const std::uint8_t* mask;
  int maskStep;
  float* acc;
  int accStep;
  RvpiSize size;
  float alpha;
};

template <class T>
struct Operation {
  const char* name;
  Formula formula;
  bool masked;
  Groups groups;
  std::function<RvpStatus(const Arguments<T>&)> run;

  bool twoSources() const { return formula == Formula::product || formula == Formula::blend; }
};

#define ONE_SOURCE(NAME, FORMULA)                                                        \
  {                                                                                      \
#NAME, Formula::FORMULA, false, Groups::fromStart,                                   \
        [](const auto& a) { return NAME(a.src1, a.src1Step, a.acc, a.accStep, a.size); } \
  }
#define ONE_SOURCE_MASKED(NAME, FORMULA, GROUPS)                                                             \
  {                                                                                                          \
#NAME, Formula::FORMULA, true, Groups::GROUPS,                                                           \
        [](const auto& a) { return NAME(a.src1, a.src1Step, a.mask, a.maskStep, a.acc, a.accStep, a.size); } \
  }
#define PRODUCT(TYPES)                                                                                         \
  {"rvpiAddProduct_" #TYPES "_C1IR", Formula::product, false, Groups::fromStart,                               \
   [](const auto& a) {                                                                                         \
     return rvpiAddProduct_##TYPES##_C1IR(a.src1, a.src1Step, a.src2, a.src2Step, a.acc, a.accStep, a.size);   \
   }},                                                                                                         \
  {                                                                                                            \
    "rvpiAddProduct_" #TYPES "_C1IMR", Formula::product, true, Groups::fromStart, [](const auto& a) {          \
      return rvpiAddProduct_##TYPES##_C1IMR(a.src1, a.src1Step, a.src2, a.src2Step, a.mask, a.maskStep, a.acc, \
                                            a.accStep, a.size);                                                \
    }                                                                                                          \
  }
#define AVERAGE(TYPES)                                                                                         \
  {"rvpiAddWeighted_" #TYPES "_C1IR", Formula::average, false, Groups::fromStart,                              \
   [](const auto& a) {                                                                                         \
     return rvpiAddWeighted_##TYPES##_C1IR(a.src1, a.src1Step, a.acc, a.accStep, a.size, a.alpha);             \
   }},                                                                                                         \
  {                                                                                                            \
    "rvpiAddWeighted_" #TYPES "_C1IMR", Formula::average, true, Groups::fromStart, [](const auto& a) {         \
      return rvpiAddWeighted_##TYPES##_C1IMR(a.src1, a.src1Step, a.mask, a.maskStep, a.acc, a.accStep, a.size, \
                                             a.alpha);                                                         \
    }                                                                                                          \
  }

template <class T>
std::vector<Operation<T>> operations();

template <>
std::vector<Operation<std::uint8_t>> operations() {
  return {ONE_SOURCE(rvpiAdd_8u32f_C1IR, sum),
          ONE_SOURCE_MASKED(rvpiAdd_8u32f_C1IMR, sum, fromAligned),
          ONE_SOURCE(rvpiAddSquare_8u32f_C1IR, square),
          ONE_SOURCE_MASKED(rvpiAddSquare_8u32f_C1IMR, square, fromAligned),
          PRODUCT(8u32f),
          AVERAGE(8u32f)};
}

template <>
std::vector<Operation<std::uint16_t>> operations() {
  return {ONE_SOURCE(rvpiAdd_16u32f_C1IR, sum),
          ONE_SOURCE_MASKED(rvpiAdd_16u32f_C1IMR, sum, fromAligned),
          ONE_SOURCE(rvpiAddSquare_16u32f_C1IR, square),
          ONE_SOURCE_MASKED(rvpiAddSquare_16u32f_C1IMR, square, fromAligned),
          PRODUCT(16u32f),
          AVERAGE(16u32f)};
}

template <>
std::vector<Operation<float>> operations() {
  return {ONE_SOURCE_MASKED(rvpiAdd_32f_C1IMR, sum, fromStart),
          ONE_SOURCE(rvpiAddSquare_32f_C1IR, square),
          ONE_SOURCE_MASKED(rvpiAddSquare_32f_C1IMR, square, fromStart),
          PRODUCT(32f),
          AVERAGE(32f),
          {"rvpiAddWeighted_32f_C1R", Formula::blend, false, Groups::fromStart, [](const auto& a) {
             return rvpiAddWeighted_32f_C1R(a.src1, a.src1Step, a.src2, a.src2Step, a.acc, a.accStep, a.size,
                                            a.alpha);
           }}};
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
    ASSERT_EQ(operation.run({src1.data(), src1.step(), src2.data(), src2.step(), mask.data(), mask.step(),
                             acc.data(), acc.step(), acc.size(), alpha}),
              rvpStatusOk);
    ASSERT_TRUE(same(expected(operation, in, alpha, acc.data(), acc.step()), acc));
  }
}

template <class T>
class Accumulators : public testing::Test {};
using SourceTypes = testing::Types<std::uint8_t, std::uint16_t, float>;
TYPED_TEST_SUITE(Accumulators, SourceTypes);

TYPED_TEST(Accumulators, FollowTheFormulaAtEveryWidth) { sweepSmall(checkShape<TypeParam>); }

TYPED_TEST(Accumulators, DoNotDependOnTheTeam) {
  sweepTeams(1 << 18, checkShape<TypeParam>);
  tryShape({(1 << 18) - 1, 1, {}, 8, 304}, checkShape<TypeParam>);
}

TYPED_TEST(Accumulators, ReportTheFirstOfTwoFaults) {
  using T = TypeParam;
  constexpr int kWidth = 5;
  const Inputs<T> in({kWidth, 3, {}, 1, 400});
  Guarded<T> src(in.src1, {4, 0});
  Guarded<std::uint8_t> mask(in.mask, {4, 0});

  constexpr int kRow = kWidth * static_cast<int>(sizeof(T));
  constexpr int kAccRow = kWidth * static_cast<int>(sizeof(float));
  for (const Operation<T>& operation : operations<T>()) {
    SCOPED_TRACE(operation.name);
    const bool two = operation.twoSources(), masked = operation.masked;
    const Faults<Arguments<T>> faults = {
        {rvpStatusNullPointer, [](auto& a) { a.src1 = nullptr; }},
        {rvpStatusNullPointer, [](auto& a) { a.src2 = nullptr; }, two},
        {rvpStatusNullPointer, [](auto& a) { a.mask = nullptr; }, masked},
        {rvpStatusNullPointer, [](auto& a) { a.acc = nullptr; }},
        {rvpStatusBadSize, [](auto& a) { a.size.width = 0; }},
        {rvpStatusBadSize, [](auto& a) { a.size.height = -1; }},
        {rvpStatusBadStep, [](auto& a) { a.src1Step = kRow - static_cast<int>(sizeof(T)); }},
        {rvpStatusBadStep, [](auto& a) { a.src2Step = -kRow; }, two},
        {rvpStatusStepNotMultiple, [](auto& a) { a.src1Step = kRow + 1; }, sizeof(T) == 2},
        {rvpStatusStepNotMultiple, [](auto& a) { a.src2Step = kRow + 1; }, sizeof(T) == 2 && two},
        {rvpStatusBadStep, [](auto& a) { a.maskStep = kWidth - 1; }, masked},
        {rvpStatusBadStep, [](auto& a) { a.accStep = kAccRow - 1; }},
        {rvpStatusStepNotMultiple, [](auto& a) { a.src1Step = kRow + 2; }, sizeof(T) == 4},
        {rvpStatusStepNotMultiple, [](auto& a) { a.src2Step = kRow + 1; }, sizeof(T) == 4 && two},
        {rvpStatusStepNotMultiple, [](auto& a) { a.accStep = kAccRow + 3; }}};
    Guarded<float> acc(in.acc, {4, 0});
    expectFirstOfTwo(faults,
                     Arguments<T>{src.data(), src.step(), src.data(), src.step(), mask.data(), mask.step(),
                                  acc.data(), acc.step(), acc.size(), 0.5f},
                     operation.run);
    EXPECT_TRUE(same(in.acc, acc));
  }
}

TEST(AccumulatorValues, AreTheStatedOnes) {
  const RvpiSize one = {1, 1};
  const std::uint8_t byte = 255, three = 3;
  const std::uint16_t wide = 65535;
  float acc = 0;
  rvpiAddSquare_8u32f_C1IR(&byte, 1, &acc, 4, one);
  EXPECT_EQ(acc, 65025.0f);
  acc = 0;
  rvpiAddSquare_16u32f_C1IR(&wide, 2, &acc, 4, one);
  EXPECT_EQ(acc, 4294836224.0f);
  acc = 0;
  rvpiAddWeighted_8u32f_C1IR(&three, 1, &acc, 4, one, 0.5f);
  EXPECT_EQ(acc, 1.5f);
  acc = std::numeric_limits<float>::max();
  const float huge = acc;
  rvpiAddSquare_32f_C1IR(&huge, 4, &acc, 4, one);
  EXPECT_EQ(acc, std::numeric_limits<float>::infinity());
}

// A float source may be the accumulator itself.
TEST(AccumulatorValues, FloatSourceMayBeTheAccumulator) {
  std::vector<float> image(37);
  for (std::size_t i = 0; i < image.size(); ++i) image[i] = static_cast<float>(i);
  const int step = 4 * 37;
  ASSERT_EQ(rvpiAddSquare_32f_C1IR(image.data(), step, image.data(), step, {37, 1}), rvpStatusOk);
  for (std::size_t i = 0; i < image.size(); ++i) EXPECT_EQ(image[i], static_cast<float>(i * i + i));
}

}  // namespace
