// The masked norms against their formulas, pixel by pixel.
#include "support/test.h"

namespace {

using namespace test;

enum class Norm { Inf, L1, L2 };
enum class Form { norm, difference, relative };

// `exponent`: from 2^exponent pixels for each thread on, a team; none if negative.
template <class T>
using Run =
    std::function<RvpStatus(const T*, int, const T*, int, const std::uint8_t*, int, RvpiSize, int, double*)>;
template <class T>
struct Operation {
  const char* name;
  Norm kind;
  Form form;
  int channels;
  int exponent;
  Run<T> run;
};

// A function of one source or of two, for one channel or for the channel of interest of three.
#define MEMBER(NAME, FORM, KIND, CHANNELS, EXPONENT, ...) \
  { #NAME, Norm::KIND, Form::FORM, CHANNELS, EXPONENT, handing < __VA_ARGS__>(NAME) }
#define ONE(KIND, TYPE, EXPONENT1, EXPONENT3)                                          \
  MEMBER(rvpiNorm_##KIND##_##TYPE##_C1MR, norm, KIND, 1, EXPONENT1, 0, 1, 4, 5, 6, 8), \
      MEMBER(rvpiNorm_##KIND##_##TYPE##_C3CMR, norm, KIND, 3, EXPONENT3, 0, 1, 4, 5, 6, 7, 8)
#define TWO(NAME, FORM, KIND, TYPE, EXPONENT1, EXPONENT3)                                  \
  MEMBER(NAME##_##KIND##_##TYPE##_C1MR, FORM, KIND, 1, EXPONENT1, 0, 1, 2, 3, 4, 5, 6, 8), \
      MEMBER(NAME##_##KIND##_##TYPE##_C3CMR, FORM, KIND, 3, EXPONENT3, 0, 1, 2, 3, 4, 5, 6, 7, 8)
#define DIFF(KIND, TYPE, EXPONENT1, EXPONENT3) TWO(rvpiNormDiff, difference, KIND, TYPE, EXPONENT1, EXPONENT3)
#define REL(KIND, TYPE, EXPONENT1, EXPONENT3) TWO(rvpiNormRel, relative, KIND, TYPE, EXPONENT1, EXPONENT3)

template <class T>
std::vector<Operation<T>> operations();
template <>
std::vector<Operation<std::uint8_t>> operations() {
  return {ONE(Inf, 8u, 19, 17),  ONE(L1, 8u, 17, 17),  ONE(L2, 8u, 17, 15),
          DIFF(Inf, 8u, -1, -1), DIFF(L1, 8u, 17, 17), DIFF(L2, 8u, 17, 17),
          REL(Inf, 8u, 17, 15),  REL(L1, 8u, -1, 15),  REL(L2, 8u, 17, 15)};
}
template <>
std::vector<Operation<std::uint16_t>> operations() {
  return {ONE(Inf, 16u, 19, 17),  ONE(L1, 16u, 17, 17),  ONE(L2, 16u, 17, 15),
          DIFF(Inf, 16u, -1, -1), DIFF(L1, 16u, 17, 15), DIFF(L2, 16u, 17, 15),
          REL(Inf, 16u, 17, 15),  REL(L1, 16u, 15, 15),  REL(L2, 16u, 15, 15)};
}
template <>
std::vector<Operation<float>> operations() {
  return {ONE(Inf, 32f, 17, 15),  ONE(L1, 32f, 17, 17),  ONE(L2, 32f, 17, 15),
          DIFF(Inf, 32f, -1, -1), DIFF(L1, 32f, -1, -1), DIFF(L2, 32f, -1, -1),
          REL(Inf, 32f, 15, 15),  REL(L1, 32f, -1, -1),  REL(L2, 32f, -1, -1)};
}

// Pixels over the whole range of integers; floats of all sizes from 2^-24 to 2^24 and both signs, whose sums show
// the order of addition.
template <class T>
Plane<T> pixels(int width, int height, unsigned seed) {
  Plane<T> plane = randomPlane<T>(width, height, seed);
  if constexpr (std::is_same_v<T, float>) {
    const Plane<std::uint8_t> exponents = randomPlane<std::uint8_t>(width, height, seed + 7);
    for (std::size_t i = 0; i < plane.elements.size(); ++i)
      plane.elements[i] = std::ldexp(plane.elements[i], exponents.elements[i] % 32 - 24);
  }
  return plane;
}

template <class T>
struct Inputs {
  Plane<T> src1, src2;
  Plane<std::uint8_t> mask;

  Inputs(int width, int height, int channels, unsigned seed)
      : src1(pixels<T>(width * channels, height, seed)),
        src2(pixels<T>(width * channels, height, seed + 1)),
        mask(randomPlane<std::uint8_t>(width, height, seed + 2)) {
    // A third of the pixels does not count, and of wide rows every fourth stretch.
    for (std::size_t i = 0; i < mask.elements.size(); ++i)
      if (std::uint8_t& m = mask.elements[i]; m % 3 == 0 || i / 150 % 4 == 1) m = 0;
    // A NaN somewhere: Inf passes it over, the sums show it where it is selected.
    if (seed % 4 == 0) src1.elements[seed * 7 % src1.elements.size()] = std::numeric_limits<T>::quiet_NaN();
  }
};

// One thread's part of a norm: an exact sum of integers, or eight sums of doubles that take columns in turn.
template <class T>
double measured(Norm kind, const Inputs<T>& in, int channels, int coi, bool difference, bool second, int first,
                int last) {
  unsigned __int128 exact = 0;
  std::array<double, 8> sums{};
  double largest = 0;
  for (int y = first; y < last; ++y) {
    for (int x = 0; x < in.mask.width; ++x) {
      if (in.mask.at(y, x) == 0) continue;
      const auto a = static_cast<double>(in.src1.at(y, x * channels + coi - 1));
      const auto b = static_cast<double>(in.src2.at(y, x * channels + coi - 1));
      const double v = std::fabs(difference ? a - b : second ? b : a);
      if (v > largest) largest = v;
      const double term = kind == Norm::L2 ? v * v : v;
      if constexpr (std::is_integral_v<T>) {
        exact += static_cast<std::uint64_t>(term);
      } else {
        sums[static_cast<std::size_t>(x % 8)] += term;
      }
    }
  }
  if (kind == Norm::Inf) return largest;
  if (std::is_integral_v<T>) return static_cast<double>(exact);
  return ((sums[0] + sums[4]) + (sums[2] + sums[6])) + ((sums[1] + sums[5]) + (sums[3] + sums[7]));
}

template <class T>
double merged(const Operation<T>& operation, const Inputs<T>& in, int coi, bool difference, bool second,
              int threads) {
  const std::int64_t count = std::int64_t{in.mask.width} * in.mask.height;
  const bool team = operation.exponent >= 0 && count >= std::int64_t{threads} << operation.exponent;
  const int slices = team ? threads : 1, rows = in.mask.height / slices;
  double whole = 0;
  for (int t = 0; t < slices; ++t) {
    const double part = measured(operation.kind, in, operation.channels, coi, difference, second, t * rows,
                                 t == slices - 1 ? in.mask.height : (t + 1) * rows);
    whole = operation.kind == Norm::Inf ? std::max(whole, part) : whole + part;
  }
  return whole;
}

template <class T>
double expected(const Operation<T>& operation, const Inputs<T>& in, int coi, int threads) {
  double value = merged(operation, in, coi, operation.form != Form::norm, false, threads);
  if (operation.form == Form::relative) {
    double divisor = merged(operation, in, coi, false, true, threads);
    if (operation.kind == Norm::L2 && std::is_same_v<T, float> && operation.channels == 1) {
      value = static_cast<double>(static_cast<float>(value));
      divisor = static_cast<double>(static_cast<float>(divisor));
    }
    value = divisor == 0 ? (value == 0 ? std::nan("") : INFINITY) : value / divisor;
  }
  return operation.kind == Norm::L2 ? std::sqrt(value) : value;
}

template <class T>
void checkOne(const Operation<T>& operation, const Inputs<T>& in, int coi, const Shape& shape = {}) {
  SCOPED_TRACE(operation.name);
  Guarded<T> src1(in.src1, shape.placing), src2(in.src2, shape.placing);
  Guarded<std::uint8_t> mask(in.mask, shape.placing);
  double value = -1;
  const RvpStatus status = call(operation.run, src1, src2, mask, mask.size(), coi, &value);
  const double wanted = expected(operation, in, coi, shape.threads);
  const bool warns =
      operation.form == Form::relative && merged(operation, in, coi, false, true, shape.threads) == 0;
  ASSERT_EQ(status, warns ? rvpStatusDivByZero : rvpStatusOk);
  ASSERT_TRUE(same(Plane<double>(1, 1, wanted), Plane<double>(1, 1, value)));
}

template <class T>
class Norms : public testing::Test {};
using SourceTypes = testing::Types<std::uint8_t, std::uint16_t, float>;
TYPED_TEST_SUITE(Norms, SourceTypes);

TYPED_TEST(Norms, FollowTheFormulaAtEveryWidth) {
  sweepSmall([](const Shape& shape) {
    for (const auto& operation : operations<TypeParam>()) {
      const Inputs<TypeParam> in(shape.width, shape.height, operation.channels, shape.seed);
      for (int coi = 1; coi <= operation.channels; ++coi)
        ASSERT_NO_FATAL_FAILURE(checkOne(operation, in, coi, shape));
    }
  });
}

// At the first size that has a team and at the last that has none; with few rows, and with more threads than have
// room on the stack.
TYPED_TEST(Norms, MergeTheirTeam) {
  for (const auto& operation : operations<TypeParam>()) {
    const int exponent = operation.exponent < 0 ? 15 : operation.exponent;
    for (const int threads : {2, 3, 33}) {
      if (threads > 3 && exponent > 15) continue;
      const int limit = threads << exponent;
      const auto check = [&](const Shape& shape) {
        const Inputs<TypeParam> in(shape.width, shape.height, operation.channels, shape.seed);
        checkOne(operation, in, operation.channels, shape);
      };
      for (const int height : {7, 64}) {
        const int width = (limit + height - 1) / height;
        tryShape({width, height, {3, 1}, threads, 500}, check);
      }
      tryShape({limit / 64 - 1, 64, {}, threads, 501}, check);
    }
  }
}

TYPED_TEST(Norms, ReportTheFirstOfTwoFaults) {
  for (const auto& operation : operations<TypeParam>()) {
    SCOPED_TRACE(operation.name);
    const bool two = operation.form != Form::norm, three = operation.channels == 3;
    Guarded<TypeParam> src(Plane<TypeParam>(5 * operation.channels, 3));
    Guarded<std::uint8_t> mask(Plane<std::uint8_t>(5, 3));
    double value = 42;
    expectFirstOfTwo(operation.run,
                     {nulls<0, 4, 8>, nulls<2>.when(two), badSizes, shortSteps<0>, shortSteps<2>.when(two),
                      shortSteps<4>.when(two), oddSteps<0>, oddSteps<2>.when(two), shortSteps<4>.when(!two),
                      at<7>(rvpStatusBadChannelOfInterest, 0, 4).when(three)},
                     src.data(), src.step(), src.data(), src.step(), mask.data(), 5, {5, 3}, 1, &value);
  }
}

TYPED_TEST(Norms, OfNothingAreZeroAndWarnWhereTheyDivide) {
  for (const auto& operation : operations<TypeParam>()) {
    Inputs<TypeParam> in(37, 2, operation.channels, 600);
    const auto clear = [&](auto& plane) {
      std::ranges::fill(plane.elements, 0);
      checkOne(operation, in, 1);
    };
    clear(in.mask);
    in.mask.at(1, 35) = 1;
    clear(in.src2);
    clear(in.src1);
  }
}

TEST(NormValues, OfZeroOverZeroIsTheStatedNan) {
  const std::uint16_t pixel = 0;
  const std::uint8_t mask = 9;
  double value = 1;
  EXPECT_EQ(rvpiNormRel_L2_16u_C1MR(&pixel, 2, &pixel, 2, &mask, 1, {1, 1}, &value), rvpStatusDivByZero);
  EXPECT_EQ(std::bit_cast<std::uint64_t>(value), 0xFFF8000000000000U);
}

// Rows long enough for every lane to overflow if it were not emptied, and a sum that has more than 53 bits.
TEST(NormValues, AreExactForTheBrightestImages) {
  ASSERT_EQ(rvpSetNumThreads(1), rvpStatusOk);
  constexpr int kWidth = 560000;
  const std::vector<std::uint8_t> bytes(3 * kWidth, 255), mask(kWidth, 255);
  std::vector<std::uint16_t> words(kWidth, 65535);
  double value = 0;
  rvpiNorm_L1_8u_C3CMR(bytes.data(), 3 * kWidth, mask.data(), kWidth, {kWidth, 1}, 3, &value);
  EXPECT_EQ(value, 255.0 * kWidth);
  rvpiNorm_L2_8u_C1MR(bytes.data(), kWidth, mask.data(), kWidth, {kWidth, 1}, &value);
  EXPECT_EQ(value, std::sqrt(65025.0 * kWidth));
  words[0] = 1;
  const std::vector<std::uint16_t> zeros(kWidth, 0);
  constexpr double kSquares = 65535.0 * 65535.0 * (kWidth - 1);
  rvpiNormDiff_L2_16u_C1MR(zeros.data(), 2 * kWidth, words.data(), 2 * kWidth, mask.data(), kWidth, {kWidth, 1},
                           &value);
  EXPECT_EQ(value, std::sqrt(kSquares + 1));

  constexpr int kHeight = 8;
  std::vector<std::uint16_t> image(std::size_t{kWidth} * kHeight, 65535);
  image[0] = 3;
  const std::vector<std::uint8_t> all(image.size(), 1);
  const auto sum = static_cast<unsigned __int128>(65535ULL * 65535) * (image.size() - 1) + 9;
  rvpiNorm_L2_16u_C1MR(image.data(), 2 * kWidth, all.data(), kWidth, {kWidth, kHeight}, &value);
  EXPECT_EQ(value, std::sqrt(static_cast<double>(sum)));
}

// One member has the range of float: a square of 1e-60 is zero in it, and one of 1e40 infinite.
TEST(NormValues, OfOneRelativeMemberAreNarrowed) {
  const float one = 1, tiny = 1e-30f, huge = 1e20f;
  const std::uint8_t mask = 1;
  const auto c1 = [&](const float& a, const float& b, double& value) {
    return rvpiNormRel_L2_32f_C1MR(&a, 4, &b, 4, &mask, 1, {1, 1}, &value);
  };
  double value = 0;
  EXPECT_EQ(c1(one, tiny, value), rvpStatusDivByZero);
  EXPECT_EQ(value, INFINITY);
  EXPECT_EQ(c1(one, huge, value), rvpStatusOk);
  EXPECT_TRUE(std::isnan(value));
  const float ones[3] = {0, one, 0}, tinies[3] = {0, tiny, 0};
  EXPECT_EQ(rvpiNormRel_L2_32f_C3CMR(ones, 12, tinies, 12, &mask, 1, {1, 1}, 2, &value), rvpStatusOk);
  EXPECT_EQ(value, std::sqrt(1 / (static_cast<double>(tiny) * static_cast<double>(tiny))));
}

FUZZ(norm, input) {
  tryShape(input.shape(), [&](const Shape& shape) {
    input.withOneOf(SourceTypes(), [&]<class T>() {
      const auto all = operations<T>();
      const auto& operation = input.oneOf(all);
      Inputs<T> in(shape.width, shape.height, operation.channels, shape.seed);
      if (input.flag()) in.mask = input.plane<std::uint8_t>(shape.width, shape.height);
      if (std::is_integral_v<T> && input.flag()) {
        in.src1 = input.plane<T>(in.src1.width, in.src1.height);
        in.src2 = input.plane<T>(in.src2.width, in.src2.height);
      }
      checkOne(operation, in, input.between(1, operation.channels), shape);
    });
  });
}

}  // namespace
