// Stages of Haar cascades against an evaluator that works on the caller's own arrays.
#include "support/test.h"

namespace {

using namespace test;

enum class Kind { upright, tilted, tiltedDown };  // The last: tilted afterwards with flag 0.

constexpr int kWindow = 18;

// A stage as its caller describes it. Rectangles of every kind stay in a window of kWindow by kWindow.
template <class V>
struct Stage {
  std::vector<int> num;
  std::vector<RvpiRect> rects;
  std::vector<V> weights, thresholds, val1, val2;
  std::vector<Kind> kinds;
  bool tiltedInit = false;
  V threshold{};

  int length() const { return static_cast<int>(num.size()); }
};

template <class V>
Stage<V> randomStage(unsigned seed, bool tiltedInit) {
  std::minstd_rand engine(seed * 7919 + 3);
  const auto number = [&](int low, int high) { return std::uniform_int_distribution<int>(low, high)(engine); };
  const auto value = [&](int range) {
    return std::is_same_v<V, float> ? static_cast<V>(number(-range, range)) / V{7}
                                    : static_cast<V>(number(-range, range));
  };
  Stage<V> s;
  s.tiltedInit = tiltedInit;
  const int length = number(1, 9);
  for (int i = 0; i < length; ++i) {
    s.num.push_back(number(1, 5));
    s.kinds.push_back(tiltedInit ? Kind::tilted : Kind::upright);
    s.thresholds.push_back(value(1 << 20));
    s.val1.push_back(value(500));
    s.val2.push_back(value(500));
    for (int k = 0; k < s.num.back(); ++k) {
      // x is at least the height and y at least the width, so that each way of tilting stays right of and below 0.
      const RvpiRect r = {number(5, 8), number(5, 8), number(1, 5), number(1, 5)};
      s.rects.push_back(r);
      s.weights.push_back(value(3000));
    }
  }
  return s;
}

std::array<RvpiPoint, 4> corners(Kind kind, RvpiRect r) {
  const auto [x, y, w, h] = r;
  switch (kind) {
    case Kind::upright:
      return {{{x + w, y + h}, {x, y + h}, {x + w, y}, {x, y}}};
    case Kind::tilted:
      return {{{x + w - h, y + w + h}, {x - h, y + h}, {x + w, y + w}, {x, y}}};
    case Kind::tiltedDown:
      return {{{x, y + h}, {x - h, y}, {x + w, y + h - w}, {x + w - h, y - w}}};
  }
  return {};
}

// The order of the classifiers in a block.
template <class V>
std::vector<int> storedOrder(const Stage<V>& s) {
  std::vector<int> order(s.num.size());
  std::iota(order.begin(), order.end(), 0);
  if (!s.tiltedInit) {
    std::ranges::stable_sort(order, {}, [&](int i) {
      const int n = s.num[static_cast<std::size_t>(i)];
      return n == 2 || n == 3 ? n : 4;
    });
  }
  return order;
}

std::int32_t low(std::int64_t value) { return static_cast<std::int32_t>(static_cast<std::uint32_t>(value)); }

// Whether a pixel passes. `tilt` is null for the plain functions.
template <class T, class V>
bool passes(const Stage<V>& s, const Plane<T>& table, const Plane<T>* tilt, V norm, int scale, int x, int y) {
  V sum{};
  for (const int i : storedOrder(s)) {
    const auto c = static_cast<std::size_t>(i);
    std::size_t first = 0;
    for (std::size_t k = 0; k < c; ++k) first += static_cast<std::size_t>(s.num[k]);
    const bool other = tilt != nullptr && s.kinds[c] != Kind::upright;
    const Plane<T>& from = other ? *tilt : table;
    const int late = other ? 1 : 0;
    std::conditional_t<std::is_same_v<V, float>, float, std::uint64_t> f{};
    for (std::size_t k = first; k < first + static_cast<std::size_t>(s.num[c]); ++k) {
      T cell[4];
      const auto places = corners(s.kinds[c], s.rects[k]);
      for (std::size_t j = 0; j < 4; ++j) cell[j] = from.at(y + late + places[j].y, x + late + places[j].x);
      T r;
      if constexpr (std::is_integral_v<T>) {
        r = low(std::int64_t{cell[0]} - cell[1] - cell[2] + cell[3]);
      } else {
        r = cell[0] - cell[1] - cell[2] + cell[3];
      }
      if constexpr (std::is_same_v<V, float>) {
        f += static_cast<float>(r) * s.weights[k];
      } else {
        f += static_cast<std::uint64_t>(std::int64_t{r} * s.weights[k]);
      }
    }
    if constexpr (std::is_same_v<V, float>) {
      sum += s.thresholds[c] * norm > f ? s.val1[c] : s.val2[c];
    } else {
      const bool below =
          static_cast<std::int64_t>(-scale > 63 ? 0 : f << -scale) < std::int64_t{s.thresholds[c]} * norm;
      sum = low(std::int64_t{sum} + (below ? s.val1[c] : s.val2[c]));
    }
  }
  return !(s.threshold > sum);
}

// The types of table and values that belong together, with their functions.
template <class TableType, class ValueType>
struct Form;
#define RVP_FORM(TABLE, VALUE, NAME)                                    \
  template <>                                                           \
  struct Form<TABLE, VALUE> {                                           \
    using T = TABLE;                                                    \
    using V = VALUE;                                                    \
    static constexpr auto kPlain = rvpiApplyHaarClassifier_##NAME;      \
    static constexpr auto kMixed = rvpiApplyMixedHaarClassifier_##NAME; \
  };
RVP_FORM(float, float, 32f_C1R)
RVP_FORM(std::int32_t, float, 32s32f_C1R)
RVP_FORM(std::int32_t, std::int32_t, 32s_C1RSfs)

// Calls go(scale), or go() where there is none.
template <class V>
auto withScale(int scale, const auto& go) {
  if constexpr (std::is_same_v<V, float>) {
    return go();
  } else {
    return go(scale);
  }
}

template <class F>
RvpStatus apply(bool mixed, auto& src, auto& tilt, auto& norm, auto& mask, int* positive, typename F::V threshold,
                RvpiHaarClassifier* state, int scale) {
  return withScale<typename F::V>(scale, [&](auto... last) {
    return mixed ? call(F::kMixed, src, tilt, norm, mask, mask.size(), positive, threshold, state, last...)
                 : call(F::kPlain, src, norm, mask, mask.size(), positive, threshold, state, last...);
  });
}

// What the values' type names.
template <class V>
struct Values;
#define RVP_VALUES(V, TYPE)                                                                                   \
  template <>                                                                                                 \
  struct Values<V> {                                                                                          \
    using Header = RvpiHaarClassifierHeader_##TYPE;                                                           \
    static constexpr RvpDataType kType = rvp##TYPE;                                                           \
    static constexpr std::array kInit = {rvpiHaarClassifierInit_##TYPE, rvpiTiltedHaarClassifierInit_##TYPE}; \
    static constexpr auto kTilt = rvpiTiltHaarFeatures_##TYPE;                                                \
    static constexpr auto kSize = rvpiGetHaarClassifierSize_##TYPE;                                           \
  };
RVP_VALUES(std::int32_t, 32s)
RVP_VALUES(float, 32f)

// A block of the size that is asked for, at a multiple of 8, with nothing behind it.
template <class V>
class Memory {
 public:
  explicit Memory(const Stage<V>& s) : bytes_(Plane<std::uint8_t>((size(s) + 7) / 8 * 8, 1, 0xA5), Cliff::behind) {}
  static int size(const Stage<V>& s) {
    const int bytes =
        bytesOf(rvpiHaarClassifierGetSize, Values<V>::kType, RvpiSize{1, 1}, s.num.data(), s.length());
    const int total = static_cast<int>(s.rects.size());
    const bool real = std::is_same_v<V, float>;
    EXPECT_EQ(bytes, real ? 44 * s.length() + 60 * total + 512 : 32 * s.length() + 52 * total + 128);
    return bytes;
  }
  RvpStatus init(const Stage<V>& s) {
    return Values<V>::kInit[s.tiltedInit](state(), s.rects.data(), s.weights.data(), s.thresholds.data(),
                                          s.val1.data(), s.val2.data(), s.num.data(), s.length());
  }
  RvpiHaarClassifier* state() { return reinterpret_cast<RvpiHaarClassifier*>(bytes_.data()); }
  auto& header() { return *reinterpret_cast<typename Values<V>::Header*>(state()); }

 private:
  OnCliff<std::uint8_t> bytes_;
};

// Sparse and full masks alternate, and so do masks with empty stretches.
Plane<std::uint8_t> randomMask(int width, int height, unsigned seed) {
  Plane<std::uint8_t> mask = randomPlane<std::uint8_t>(width, height, seed);
  for (std::size_t i = 0; i < mask.elements.size(); ++i) {
    std::uint8_t& m = mask.elements[i];
    if (seed % 3 == 0 ? m % 11 != 0 : seed % 3 == 1 && i / 40 % 2 == 0) m = 0;
  }
  return mask;
}

template <class C>
void checkStage(const Stage<typename C::V>& s, Memory<typename C::V>& block, bool mixed, int width, unsigned seed,
                Cliff cliff) {
  using T = typename C::T;
  using V = typename C::V;
  constexpr int kHeight = 3;
  const auto table = randomPlane<T>(width + kWindow, kHeight + kWindow, seed);
  const auto tilt = randomPlane<T>(width + kWindow + 1, kHeight + kWindow + 1, seed + 1);
  Plane<V> norm = randomPlane<V>(width, kHeight, seed + 2);
  if constexpr (std::is_integral_v<V>) {
    for (V& n : norm.elements) n = n % (1 << 20);
  }
  const auto before = randomMask(width, kHeight, seed);
  const int scale = -static_cast<int>(seed % 5);
  int count = 0;
  const auto wanted = planeOf<std::uint8_t>(width, kHeight, [&](int y, int x) {
    const bool stays =
        before.at(y, x) != 0 && passes(s, table, mixed ? &tilt : nullptr, norm.at(y, x), scale, x, y);
    count += stays ? 1 : 0;
    return stays ? before.at(y, x) : 0;
  });
  OnCliff<T> src(table, cliff), tilted(tilt, cliff);
  OnCliff<V> norms(norm, cliff);
  OnCliff<std::uint8_t> mask(before, cliff);
  int positive = -1;
  ASSERT_EQ(apply<C>(mixed, src, tilted, norms, mask, &positive, s.threshold, block.state(), scale), rvpStatusOk);
  ASSERT_TRUE(same(wanted, mask));
  ASSERT_EQ(positive, count);
}

template <class C>
class Haar : public testing::Test {};
using Forms = testing::Types<Form<float, float>, Form<std::int32_t, float>, Form<std::int32_t, std::int32_t>>;
TYPED_TEST_SUITE(Haar, Forms);

TYPED_TEST(Haar, FollowsTheFormula) {
  using V = typename TypeParam::V;
  for (int width = 1; width <= kWidestSmall + 60; width += width < kWidestSmall ? 1 : 13) {
    for (const unsigned kind : {0U, 1U, 2U, 3U}) {
      const auto seed = static_cast<unsigned>(width) * 4 + kind;
      SCOPED_TRACE(seed);
      Stage<V> s = randomStage<V>(seed, kind == 1);
      Memory<V> block(s);
      ASSERT_EQ(block.init(s), rvpStatusOk);
      // Kinds 2 and 3: every other classifier is tilted afterwards, with one flag or the other.
      if (kind >= 2) {
        std::vector<std::uint8_t> mask(s.num.size());
        for (std::size_t i = 0; i < mask.size(); i += 2) {
          mask[i] = 7;
          s.kinds[i] = kind == 2 ? Kind::tilted : Kind::tiltedDown;
        }
        const auto run = Values<V>::kTilt;
        const std::vector<std::uint8_t> none(s.num.size());
        ASSERT_EQ(run(none.data(), 1, block.state()), rvpStatusOk);
        ASSERT_EQ(run(mask.data(), kind == 2 ? 5 : 0, block.state()), rvpStatusOk);
        ASSERT_EQ(run(mask.data(), 1, block.state()), rvpStatusBadArgument);
      }
      RvpiSize reach = {0, 0}, told = {-1, -1};
      std::size_t rect = 0;
      for (std::size_t i = 0; i < s.num.size(); ++i) {
        for (int k = 0; k < s.num[i]; ++k, ++rect) {
          const auto c = corners(s.kinds[i], s.rects[rect]);
          reach = {std::max(reach.width, c[2].x), std::max(reach.height, c[0].y)};
        }
      }
      ASSERT_EQ(Values<V>::kSize(block.state(), &told), rvpStatusOk);
      ASSERT_EQ(std::pair(told.width, told.height), std::pair(reach.width, reach.height));
      for (const bool mixed : {false, true}) {
        const Cliff cliff = width % 2 == 0 ? Cliff::before : Cliff::behind;
        ASSERT_NO_FATAL_FAILURE((checkStage<TypeParam>(s, block, mixed, width, seed, cliff)));
      }
    }
  }
}

// Tilted downwards, a rectangle has the corners (-4, 0) and (-3, -1), which are in no table for pixels left of the
// selected one.
TYPED_TEST(Haar, ReadsNothingForPixelsLeftOfTheSelected) {
  using V = typename TypeParam::V;
  using T = typename TypeParam::T;
  Stage<V> s;
  s.num = {1};
  s.rects = {{0, 0, 1, 4}};
  s.weights = s.thresholds = s.val1 = s.val2 = {1};
  Memory<V> block(s);
  ASSERT_EQ(block.init(s), rvpStatusOk);
  const std::uint8_t all = 1;
  ASSERT_EQ(Values<V>::kTilt(&all, 0, block.state()), rvpStatusOk);
  for (const int x : {4, 7, 15}) {
    Plane<std::uint8_t> selected(16, 2);
    selected.at(1, x) = 1;
    OnCliff<T> table(Plane<T>(18, 7), Cliff::before);
    OnCliff<V> norm(Plane<V>(16, 2), Cliff::before);
    for (const bool mixed : {false, true}) {
      OnCliff<std::uint8_t> mask(selected, Cliff::before);
      int positive = -1;
      ASSERT_EQ(apply<TypeParam>(mixed, table, table, norm, mask, &positive, 0, block.state(), 0), rvpStatusOk);
      ASSERT_EQ(positive, 1);
    }
  }
}

// Equality passes on both levels: a weak sum at its limit takes the second value, a stage at its threshold stays.
TYPED_TEST(Haar, EqualityPasses) {
  using V = typename TypeParam::V;
  using T = typename TypeParam::T;
  Stage<V> s;
  s.num = {1, 1};
  s.rects = {{0, 0, 1, 1}, {0, 0, 1, 1}};
  s.weights = {1, 1};
  s.thresholds = {2, 3};
  s.val1 = {-100, 5};
  s.val2 = {4, -100};
  s.threshold = 9;
  Memory<V> block(s);
  ASSERT_EQ(block.init(s), rvpStatusOk);
  Plane<T> table(2, 2);
  table.at(1, 1) = 6;
  Guarded<T> src(table);
  Guarded<V> norm(Plane<V>(1, 1, 3));
  Guarded<std::uint8_t> mask(Plane<std::uint8_t>(1, 1, 200));
  for (const auto& [threshold, count] : {std::pair{9, 1}, {10, 0}, {10, 0}}) {
    int positive = -1;
    EXPECT_EQ(apply<TypeParam>(false, src, src, norm, mask, &positive, static_cast<V>(threshold), block.state(), 0),
              rvpStatusOk);
    EXPECT_EQ(mask.data()[0], 200 * count);
    EXPECT_EQ(positive, count);
  }
}

// A sum of values that shows its order: pairs, triples, others; or the caller's order in a tilted block.
TEST(HaarBlock, KeepsItsOrder) {
  Stage<float> s;
  s.num = {4, 3, 2, 2};
  s.rects.assign(11, {1, 1, 1, 1});
  s.weights.assign(11, 0);
  s.thresholds.assign(4, 0);
  s.val1 = s.val2 = {1, -1e8f, 1e8f, 3};
  const Plane<float> table(4, 4);
  const float norm = 1;
  for (const bool tilted : {false, true}) {
    s.tiltedInit = tilted;
    Memory<float> block(s);
    ASSERT_EQ(block.init(s), rvpStatusOk);
    const float sum = tilted ? 3 : 1;
    for (const float threshold : {sum, std::nextafter(sum, 9.0f)}) {
      std::uint8_t mask = 1;
      int positive = 0;
      ASSERT_EQ(rvpiApplyHaarClassifier_32f_C1R(table.row(0), 16, &norm, 4, &mask, 1, {1, 1}, &positive, threshold,
                                                block.state()),
                rvpStatusOk);
      EXPECT_EQ(positive, threshold == sum ? 1 : 0) << tilted;
    }
  }
}

TYPED_TEST(Haar, ReportsTheFirstOfTwoFaults) {
  using F = TypeParam;
  using V = typename F::V;
  const Stage<V> s = randomStage<V>(5, false);
  Memory<V> block(s);
  ASSERT_EQ(block.init(s), rvpStatusOk);
  // The source's step is compared with the region.
  const auto table = randomPlane<typename F::T>(4, 100, 1);
  const auto norm = randomPlane<V>(4, 1, 2);
  std::uint8_t mask[4] = {1, 2, 3, 4};
  int positive = 77;
  withScale<V>(0, [&](auto... scale) {
    constexpr bool kScaled = sizeof...(scale) > 0;
    const auto badScale = planted(rvpStatusBadArgument, []([[maybe_unused]] auto& a) {
                            if constexpr (kScaled)
                              std::get<std::tuple_size_v<std::remove_reference_t<decltype(a)>> - 1>(a) = 1;
                          }).when(kScaled);
    expectFirstOfTwo(F::kPlain, {nulls<>, badSizes, shortSteps<0, 2, 4>, oddSteps<0, 2, 4>, badScale}, table.row(0),
                     16, norm.row(0), 16, mask, 4, {4, 1}, &positive, s.threshold, block.state(), scale...);
    expectFirstOfTwo(F::kMixed, {nulls<>, badSizes, shortSteps<0, 2, 4, 6>, oddSteps<0, 2, 4, 6>, badScale},
                     table.row(0), 16, table.row(0), 16, norm.row(0), 16, mask, 4, {4, 1}, &positive, s.threshold,
                     block.state(), scale...);
    // The scratch area is asked for last, and by the plain functions only.
    block.header().pScratch = nullptr;
    EXPECT_EQ(F::kPlain(table.row(0), 16, norm.row(0), 16, mask, 4, {4, 1}, &positive, s.threshold, block.state(),
                        scale...),
              rvpStatusNullPointer);
  });
}

TEST(HaarBlock, TellsWhatItHolds) {
  Stage<float> s;
  s.num = {1, 3, 2, 2};
  s.rects = {{4, 3, 2, 2}, {3, 3, 1, 1}, {5, 2, 1, 4}, {6, 6, 1, 1},
             {4, 4, 1, 1}, {4, 4, 2, 2}, {5, 5, 1, 1}, {5, 5, 1, 2}};
  s.weights = {-1.9f, -1, 2, 3, -1.5f, 2, -1, 2};
  s.thresholds = s.val1 = s.val2 = {1, 2, 3, 4};
  Memory<float> block(s);
  ASSERT_EQ(block.init(s), rvpStatusOk);
  const auto& h = block.header();
  const std::vector<int> counts = {h.classifierCount, h.featureCount, h.featureTotal,
                                   h.pairCount,       h.smallCount,   h.tiltMark};
  EXPECT_EQ(counts, std::vector<int>({4, 8, 8, 2, 3, 0}));
  EXPECT_EQ(h.allMinusOne, 1);
  // Down, (4, 4, 2, 2) replaces the first rectangle's 3 + 2 by its edge 6; to the right, (5, 2, 1, 4) finds 3 + 2
  // where the left bound is 3 by then, and makes it 6. The bounds 3 and 2 are subtracted.
  const std::vector<int> bounds = {h.boundX, h.boundY, h.boundWidth, h.boundHeight};
  EXPECT_EQ(bounds, std::vector<int>({3, 2, 3, 4}));
  EXPECT_EQ(reinterpret_cast<std::uintptr_t>(h.pScratch) % 64, 0U);
  s.weights[1] = -2;
  ASSERT_EQ(block.init(s), rvpStatusOk);
  EXPECT_EQ(h.allMinusOne, 0);
}

TEST(HaarBlock, RefusesWhatItCannotHold) {
  const int num[2] = {1, 1}, zero[2] = {1, 0}, many[2] = {50000000, 1};
  int size = -1;
  expectFirstOfTwo(rvpiHaarClassifierGetSize,
                   {nulls<>, at<3>(rvpStatusBadSize, 0), badSizes, at<2>(rvpStatusBadSize, zero),
                    at<0>(rvpStatusBadDataType, rvp16s), at<2>(rvpStatusSizeOverflow, many)},
                   rvp32s, {1, 1}, num, 2, &size);

  Stage<std::int32_t> s = randomStage<std::int32_t>(9, true);
  Memory<std::int32_t> block(s);
  RvpiRect& rect = s.rects.back();
  for (const RvpiRect bad : {RvpiRect{-1, 5, 1, 1}, {5, -1, 1, 1}, {5, 5, 0, 1}, {5, 5, 1, 0}, {5, 5, 1, 7}}) {
    rect = bad;
    EXPECT_EQ(block.init(s), rvpStatusBadArgument);
    EXPECT_EQ(block.header().classifierCount, 0);
  }
  rect = {5, 5, 1, 6};
  EXPECT_EQ(block.init(s), rvpStatusOk);
  for (const auto init : {rvpiHaarClassifierInit_32s, rvpiTiltedHaarClassifierInit_32s})
    expectFirstOfTwo(init, {nulls<>, at<7>(rvpStatusBadSize, 0), at<6>(rvpStatusBadSize, zero)}, block.state(),
                     s.rects.data(), s.weights.data(), s.thresholds.data(), s.val1.data(), s.val2.data(), num, 2);
  const std::uint8_t all[9] = {1, 1, 1, 1, 1, 1, 1, 1, 1};
  EXPECT_EQ(block.init(s), rvpStatusOk);
  expectFirstOfTwo(rvpiTiltHaarFeatures_32s, {nulls<>}, all, 1, block.state());
  EXPECT_EQ(rvpiTiltHaarFeatures_32s(all, 1, block.state()), rvpStatusBadArgument);
}

FUZZ(haar, input) {
  input.withOneOf(Forms(), [&]<class C>() {
    const unsigned seed = input.any<std::uint16_t>();
    const auto stage = randomStage<typename C::V>(seed, input.flag());
    Memory<typename C::V> block(stage);
    ASSERT_EQ(block.init(stage), rvpStatusOk);
    checkStage<C>(stage, block, input.flag(), input.width(), seed, input.cliff());
  });
}

}  // namespace
