// Pyramid layers against the formulas: whole working images for down, a scatter of samples for up.
#include <omp.h>

#include "support/test.h"

namespace {

using namespace test;

// The operations of one form.
template <class Element, int kChannelCount>
struct Form;

#define RVP_FORM(TYPE, T, K, C)                                                    \
  template <>                                                                      \
  struct Form<T, C> {                                                              \
    using Pixel = T;                                                               \
    using Coefficient = K;                                                         \
    static constexpr int kChannels = C;                                            \
    static constexpr auto downSize = rvpiPyramidLayerDownGetSize_##TYPE##_C##C##R; \
    static constexpr auto downInit = rvpiPyramidLayerDownInit_##TYPE##_C##C##R;    \
    static constexpr auto down = rvpiPyramidLayerDown_##TYPE##_C##C##R;            \
    static constexpr auto upSize = rvpiPyramidLayerUpGetSize_##TYPE##_C##C##R;     \
    static constexpr auto upInit = rvpiPyramidLayerUpInit_##TYPE##_C##C##R;        \
    static constexpr auto up = rvpiPyramidLayerUp_##TYPE##_C##C##R;                \
  };
RVP_FORM(8u, std::uint8_t, std::int16_t, 1)
RVP_FORM(8u, std::uint8_t, std::int16_t, 3)
RVP_FORM(16u, std::uint16_t, std::int16_t, 1)
RVP_FORM(16u, std::uint16_t, std::int16_t, 3)
RVP_FORM(32f, float, float, 1)
RVP_FORM(32f, float, float, 3)

using Kernel = std::vector<int>;
constexpr float kTiny = 1.1754944e-38F;

template <class K>
std::vector<K> normalised(const Kernel& kernel, bool up) {
  const std::size_t c = kernel.size() / 2;
  long sum = kernel[c];
  for (std::size_t i = 0; i < c; ++i) sum += 2L * kernel[i];
  std::vector<K> result(kernel.size());
  for (std::size_t i = 0; i <= c; ++i) {
    const int k = kernel[i];
    K value = static_cast<K>(k);
    if (sum != 0) {
      if constexpr (std::is_same_v<K, float>) {
        value = static_cast<float>(k) / static_cast<float>(sum);
      } else if (up) {
        const int whole =
            // NOLINTNEXTLINE(bugprone-incorrect-roundings): the formula adds a half and cuts
            static_cast<int>(static_cast<float>(4 * k) / static_cast<float>(2 * sum) * 8192.0F + 0.5F);
        value = static_cast<K>(static_cast<K>(whole) >> 1);
      } else {
        value = static_cast<K>((k * 16384L / sum) >> 1);
      }
    }
    result[i] = result[kernel.size() - 1 - i] = value;
  }
  return result;
}

template <class T>
T limited(long value) {
  return static_cast<T>(std::clamp<long>(value, std::numeric_limits<T>::min(), std::numeric_limits<T>::max()));
}

// The filtered image with its fraction, then sampled.
template <class T>
struct DownReference {
  using K = std::conditional_t<std::is_same_v<T, float>, float, std::int16_t>;
  using Work = std::conditional_t<std::is_same_v<T, float>, float, long>;

  static Work sum(const std::vector<K>& k, const auto& sample) {
    const int c = static_cast<int>(k.size()) / 2;
    if constexpr (std::is_same_v<T, float>) {
      float total = sample(0) * k[static_cast<std::size_t>(c)];
      for (int i = 1; i <= c; ++i) total += (sample(-i) + sample(i)) * k[static_cast<std::size_t>(c - i)];
      return total;
    } else {
      long total = 0;
      for (int i = -c; i <= c; ++i) total += sample(i) * long{k[static_cast<std::size_t>(c + i)]};
      return total;
    }
  }
  // Sums of integers wrap; those of bytes are kept in 16 bits.
  static Work shifted(Work value, int bits, bool wraps) {
    if constexpr (std::is_same_v<T, float>) return value;
    long whole = static_cast<long>(value);
    if (wraps) whole = static_cast<std::int32_t>(static_cast<std::uint32_t>(whole));
    return static_cast<Work>(sizeof(T) == 1 ? limited<std::int16_t>(whole >> bits) : whole >> bits);
  }
  static Work afterRow(Work value) { return shifted(value, sizeof(T) == 1 ? 8 : 10, true); }
  static Work afterColumn(Work value) { return shifted(value, sizeof(T) == 1 ? 15 : 13, sizeof(T) == 1); }
  static T pixel(Work value) {
    if constexpr (std::is_same_v<T, float>)
      return value;
    else
      return limited<T>((value + 4) >> 3);
  }
  static Work between(float f, Work next, Work here) {
    return static_cast<Work>(f * static_cast<float>(next) + (1 - f) * static_cast<float>(here));
  }

  static Plane<T> image(const Plane<T>& src, int channels, RvpiSize dstSize, float rate, const std::vector<K>& k) {
    const int width = src.width / channels;
    const int height = src.height;
    const auto rows = planeOf<Work>(src.width, height, [&](int y, int x) {
      return afterRow(sum(k, [&](int i) {
        return static_cast<Work>(
            src.at(y, standIn(rvpBorderMirror, x / channels + i, width) * channels + x % channels));
      }));
    });
    const auto filtered = planeOf<Work>(src.width, height, [&](int y, int x) {
      return afterColumn(sum(k, [&](int i) { return rows.at(standIn(rvpBorderMirror, y + i, height), x); }));
    });
    // The sample at `to` of a line of `extent` values.
    const auto sampled = [&](int to, int extent, const auto& at) {
      if (rate >= 1.99998F && rate <= 2.00002F) return at(std::min(2 * to, extent - 1));
      const float p = static_cast<float>(to) * rate;
      const int i = static_cast<int>(p);
      return i + 1 >= extent ? at(i) : between(p - static_cast<float>(i), at(i + 1), at(i));
    };
    const auto narrow = planeOf<Work>(dstSize.width * channels, height, [&](int y, int x) {
      return sampled(x / channels, width, [&](int i) { return filtered.at(y, i * channels + x % channels); });
    });
    return planeOf<T>(narrow.width, dstSize.height, [&](int y, int x) {
      return pixel(sampled(y, height, [&](int i) { return narrow.at(i, x); }));
    });
  }
};

// Spreads `in`, a line with its border, over a line of n samples, for up.
template <class K>
struct Scatter {
  const std::vector<K>& k;
  float rate;

  std::vector<float> operator()(const auto& sample, int srcExtent, int n) const {
    const int c = static_cast<int>(k.size()) / 2;
    const int m = k[0] == 0 ? c - 1 : c;
    // NOLINTNEXTLINE(bugprone-incorrect-roundings): the formula adds a half and cuts
    const int e = static_cast<int>(static_cast<float>(c) / rate + 0.5F);
    std::vector<float> line(static_cast<std::size_t>(n), 0.0F);
    const auto tap = [&](int i) { return static_cast<float>(k[static_cast<std::size_t>(i)]); };
    for (int s = -e; s < srcExtent + e; ++s) {
      const float p = static_cast<float>(s) * rate;
      const int b = static_cast<int>(p + 100.0F) - 100;
      const float f = p - static_cast<float>(b);
      const bool apart = std::abs(f) > kTiny;
      for (int t = apart ? -c + 1 : -m; t <= (apart ? c : m); ++t) {
        if (b + t < 0 || b + t >= n) continue;
        const float weight = apart ? f * tap(c + t - 1) + (1 - f) * tap(c + t) : tap(c + t);
        line[static_cast<std::size_t>(b + t)] += weight * sample(s);
      }
    }
    return line;
  }

  std::vector<float> inverse(int srcExtent, int n) const {
    std::vector<float> table = (*this)([](int) { return 1.0F; }, srcExtent, n);
    for (float& entry : table) {
      if (std::abs(entry) > kTiny) entry = (std::is_same_v<K, float> ? 1.0F : 32768.0F) / entry;
    }
    return table;
  }
};

template <class T, class K>
Plane<T> expectedUp(const Plane<T>& src, int channels, RvpiSize dstSize, float rate, const std::vector<K>& k) {
  const Scatter<K> scatter = {k, rate};
  const int width = src.width / channels;
  constexpr bool kWhole = !std::is_same_v<T, float>;
  // Sums over their weights; those of integers are rounded by so many bits.
  const auto line = [&](const auto& sample, int srcExtent, const std::vector<float>& weights, int bits) {
    std::vector<float> values = scatter(sample, srcExtent, static_cast<int>(weights.size()));
    for (std::size_t i = 0; i < values.size(); ++i) {
      values[i] *= weights[i];
      if (kWhole)
        values[i] = static_cast<float>(static_cast<std::int64_t>(values[i] + std::ldexp(0.5F, bits)) >> bits);
    }
    return values;
  };
  const auto rowWeights = scatter.inverse(width, dstSize.width);
  const auto columnWeights = scatter.inverse(src.height, dstSize.height);
  Plane<float> rows(dstSize.width * channels, src.height);
  for (int y = 0; y < src.height; ++y) {
    for (int c = 0; c < channels; ++c) {
      const auto at = [&](int s) {
        return static_cast<float>(src.at(y, standIn(rvpBorderMirror, s, width) * channels + c));
      };
      const auto across = line(at, width, rowWeights, 8);
      for (int x = 0; x < dstSize.width; ++x) rows.at(y, x * channels + c) = across[static_cast<std::size_t>(x)];
    }
  }
  Plane<T> dst(dstSize.width * channels, dstSize.height);
  for (int x = 0; x < dst.width; ++x) {
    const auto at = [&](int s) { return rows.at(standIn(rvpBorderMirror, s, src.height), x); };
    const auto down = line(at, src.height, columnWeights, 22);
    for (int y = 0; y < dst.height; ++y) {
      const float value = down[static_cast<std::size_t>(y)];
      if constexpr (kWhole)
        dst.at(y, x) = limited<T>(static_cast<long>(value));
      else
        dst.at(y, x) = value;
    }
  }
  return dst;
}

// A state in a block of exactly the reported size, at any address.
template <class F, bool kIsDown>
struct Layer {
  using State = std::conditional_t<kIsDown, RvpiPyramidDownState, RvpiPyramidUpState>;

  Layer(RvpiSize roi, float rate, const Kernel& kernel) {
    const std::vector<typename F::Coefficient> k(kernel.begin(), kernel.end());
    const int length = static_cast<int>(k.size());
    const Placing anywhere = {0, (5 * roi.width + roi.height) % 37};
    int bytes = 0, scratchBytes = 0;
    if constexpr (kIsDown) {
      EXPECT_EQ(F::downSize(roi, length, &bytes, &scratchBytes, rate), rvpStatusOk);
      Block scratch(scratchBytes, {0, 3});
      block.emplace(bytes, anywhere);
      status = F::downInit(&state, roi, rate, k.data(), length, 2, block->data(), scratch.data());
    } else {
      EXPECT_EQ(F::upSize(roi, length, &bytes, rate), rvpStatusOk);
      block.emplace(bytes, anywhere);
      status = F::upInit(&state, roi, rate, k.data(), length, 2, block->data());
    }
    EXPECT_EQ(reinterpret_cast<std::uint8_t*>(state), block->data());
  }

  std::optional<Block> block;
  State* state = nullptr;
  RvpStatus status = rvpStatusError;
};
template <class F>
using Down = Layer<F, true>;
template <class F>
using Up = Layer<F, false>;

// clang-format off
const std::vector<Kernel> kKernels = {
    {1, 2, 1}, {-1, 4, -1}, {-1, 2, -1}, {-3, 9, -3}, {-6000, 12000, -6000}, {1, 4, 6, 4, 1}, {2, 8, 12, 8, 2},
    {0, 3, 5, 3, 0}, {3, 1, 7, 1, 3}, {-1, 30, -58, 30, -1}, {1, 6, 15, 20, 15, 6, 1}, {-2, 1, 8, 12, 8, 1, -2},
    {1, 2, 3, 4, 5, 4, 3, 2, 1}};
// clang-format on
constexpr float kRates[] = {1.0009765625F, 1.3F, 1.5F, 1.99999F, 2.0F, 2.00001F, 2.1F, 3.0F, 4.7F, 10.0F};

template <class F>
class PyramidLayer : public testing::Test {};
using Forms = testing::Types<Form<std::uint8_t, 1>, Form<std::uint8_t, 3>, Form<std::uint16_t, 1>,
                             Form<std::uint16_t, 3>, Form<float, 1>, Form<float, 3>>;
TYPED_TEST_SUITE(PyramidLayer, Forms);

// What becomes of a random image.
template <class F, bool kIsDown>
void checkLayer(const Shape& shape, RvpiSize dstRoi, const Layer<F, kIsDown>& layer, float rate,
                const Kernel& kernel, RvpStatus status = rvpStatusOk) {
  using T = typename F::Pixel;
  SCOPED_TRACE(words("rate", rate, "kernel", testing::PrintToString(kernel)));
  ASSERT_EQ(layer.status, status);
  const Plane<T> content = randomPlane<T>(shape.width * F::kChannels, shape.height, shape.seed);
  Guarded<T> src(content, shape.placing);
  Guarded<T> dst(Plane<T>(dstRoi.width * F::kChannels, dstRoi.height, T{77}), shape.placing);
  const auto k = normalised<typename F::Coefficient>(kernel, !kIsDown);
  if constexpr (kIsDown) {
    ASSERT_EQ(call(F::down, src, shape.size(), dst, dstRoi, layer.state), rvpStatusOk);
    ASSERT_TRUE(same(DownReference<T>::image(content, F::kChannels, dstRoi, rate, k), dst));
  } else {
    ASSERT_EQ(call(F::up, src, shape.size(), dst, dstRoi, layer.state), rvpStatusOk);
    ASSERT_TRUE(same(expectedUp(content, F::kChannels, dstRoi, rate, k), dst));
  }
}

template <class F>
void checkDown(const Shape& shape, float rate, const Kernel& kernel, RvpiSize initRoi) {
  RvpiSize dstRoi{};
  ASSERT_EQ(rvpiGetPyramidDownROI(shape.size(), &dstRoi, rate), rvpStatusOk);
  checkLayer(shape, dstRoi, Down<F>(initRoi, rate, kernel), rate, kernel);
}

// Steps and addresses in turn, and every fifth time each of the unreadable pages.
Placing placingOf(unsigned turn) {
  const Cliff cliff = turn % 5 == 3 ? Cliff::before : turn % 5 == 4 ? Cliff::behind : Cliff::none;
  return {static_cast<int>(turn % 3), static_cast<int>(turn % 4), cliff};
}

// Calls check(shape, rate, kernel) for all rates, with the kernels in turn.
template <class Check>
void sweepRates(int widest, std::initializer_list<int> heights, const Check& check) {
  unsigned turn = 0;
  for (int width = 1; width <= widest; ++width) {
    for (const int height : heights) {
      for (const float rate : kRates) {
        const Kernel& kernel = kKernels[turn % kKernels.size()];
        tryShape({width, height, placingOf(turn), 2, turn},
                 [&](const Shape& shape) { check(shape, rate, kernel); });
        ++turn;
      }
    }
  }
}

TYPED_TEST(PyramidLayer, DownFollowsTheFormula) {
  sweepRates(kWidestSmall, {1, 2, 4, 7, 13}, [](const Shape& shape, float rate, const Kernel& kernel) {
    checkDown<TypeParam>(shape, rate, kernel, shape.size());
  });
}

// Of a low image a block has hardly more than the rows in use, so that not all tables may fit.
TYPED_TEST(PyramidLayer, DownFitsTheBlockOfALowImage) {
  unsigned turn = 0;
  for (const float rate : {1.0009765625F, 1.3F, 2.1F}) {
    for (const int height : {4, 6, 7, 20}) {
      tryShape({1500, height, placingOf(turn), 2, turn},
               [&](const Shape& shape) { checkDown<TypeParam>(shape, rate, kKernels[turn % 2], shape.size()); });
      ++turn;
    }
  }
}

// One state from the full image to 1 x 1, also where the levels' sizes stand in its list.
TYPED_TEST(PyramidLayer, DownServesAllLevelsOfAPyramid) {
  for (const float rate : {1.3F, 2.0F, 4.7F}) {
    for (const RvpiSize full : {RvpiSize{70, 40}, {100, 9}, {3, 30}}) {
      for (RvpiSize size = full; size.width > 1 || size.height > 1; rvpiGetPyramidDownROI(size, &size, rate))
        tryShape({size.width, size.height, {1, 1}, 1, 5},
                 [&](const Shape& shape) { checkDown<TypeParam>(shape, rate, kKernels[5], full); });
    }
  }
}

template <class F>
void checkUp(const Shape& shape, float rate, const Kernel& kernel, bool largest) {
  RvpiSize least{}, most{};
  ASSERT_EQ(rvpiGetPyramidUpROI(shape.size(), &least, &most, rate), rvpStatusOk);
  const RvpiSize dstRoi = largest ? most : RvpiSize{least.width, (least.height + most.height) / 2};
  checkLayer(shape, dstRoi, Up<F>(dstRoi, rate, kernel), rate, kernel);
}

TYPED_TEST(PyramidLayer, UpFollowsTheFormula) {
  sweepRates(35, {1, 2, 4, 7}, [](const Shape& shape, float rate, const Kernel& kernel) {
    checkUp<TypeParam>(shape, rate, kernel, shape.seed % 2 == 0);
  });
  for (const Kernel& kernel : kKernels) {
    for (const float rate : {1.3F, 2.0F})
      tryShape({150, 90, {1, 2}, 1, 3}, [&](const Shape& shape) { checkUp<TypeParam>(shape, rate, kernel, true); });
  }
}

// Blocks are the tighter the longer the kernel is for its image.
TYPED_TEST(PyramidLayer, TakesKernelsLongerThanTheImage) {
  for (const int length : {3, 9, 31, 101}) {
    Kernel kernel(static_cast<std::size_t>(length), 1);
    for (int i = 0; i < length; ++i) kernel[static_cast<std::size_t>(i)] += std::min(i, length - 1 - i) % 7;
    for (const float rate : {1.0009765625F, 1.3F, 2.0F, 10.0F}) {
      for (const RvpiSize size : {RvpiSize{1, 1}, {1, 40}, {40, 1}, {8, 9}, {102, 33}}) {
        tryShape({size.width, size.height, {}, 2, 9}, [&](const Shape& shape) {
          checkDown<TypeParam>(shape, rate, kernel, size);
          checkUp<TypeParam>(shape, rate, kernel, false);
        });
      }
    }
  }
}

TYPED_TEST(PyramidLayer, RebuildsTheRightHalfOfAKernel) {
  using F = TypeParam;
  EXPECT_EQ(Up<F>({20, 20}, 2, {1, 4, 6, 5, 1}).status, rvpStatusKernelNotSymmetric);
  checkLayer({20, 20}, {10, 10}, Down<F>({20, 20}, 2, {1, 4, 6, 4, 2}), 2, {1, 4, 6, 4, 1},
             rvpStatusKernelNotSymmetric);
}

TYPED_TEST(PyramidLayer, ReportsTheFirstOfTwoFaultsOfAState) {
  using F = TypeParam;
  const typename F::Coefficient k[5] = {1, 4, 6, 4, 1};
  std::vector<std::uint8_t> block(20000, 9), scratch(400, 9);
  RvpiPyramidDownState* down = nullptr;
  RvpiPyramidUpState* up = nullptr;
  constexpr float kNan = std::numeric_limits<float>::quiet_NaN();
  const auto rates = at<2>(rvpStatusBadArgument, 1.0F, 10.1F, kNan);
  const auto lengths = at<4>(rvpStatusBadArgument, 1, 4, -5);
  const auto modes = at<5>(rvpStatusBadArgument, 1);
  // The size of the image decides whether scratch is needed.
  expectFirstOfTwo(F::downInit, {modes, nulls<0, 3, 6>, badSizes, nulls<7>, rates, lengths}, &down, {8, 8}, 2, k, 5,
                   2, block.data(), scratch.data());
  expectFirstOfTwo(F::upInit, {modes, nulls<>, badSizes, rates, lengths}, &up, {8, 8}, 2, k, 5, 2, block.data());
  int bytes = -1, scratchBytes = -1;
  const auto shortLengths = at<1>(rvpStatusBadArgument, 1, 4, -5);
  expectFirstOfTwo(F::downSize, {nulls<>, badSizes, at<4>(rvpStatusBadArgument, 1.0F, 10.1F, kNan), shortLengths},
                   {8, 8}, 5, &bytes, &scratchBytes, 2);
  expectFirstOfTwo(F::upSize, {nulls<>, badSizes, at<3>(rvpStatusBadArgument, 1.0F, 10.1F, kNan), shortLengths},
                   {8, 8}, 5, &bytes, 2);
  // A small image needs no scratch.
  EXPECT_EQ(F::downInit(&down, {5, 8}, 2, k, 5, 2, block.data(), nullptr), rvpStatusOk);
}

TYPED_TEST(PyramidLayer, ReportsTheFirstOfTwoFaultsOfACall) {
  using F = TypeParam;
  using T = typename F::Pixel;
  constexpr int kPixel = F::kChannels * static_cast<int>(sizeof(T));
  const Down<F> down({8, 8}, 2, kKernels[5]);
  const Up<F> up({8, 8}, 2, kKernels[5]);
  std::vector<T> large(512, T{5}), small(512, T{5});
  std::vector<std::uint8_t> blank(256, 0);
  // A state of zeros is none.
  const auto zeros = planted(rvpStatusBadArgument, [&](auto& a) {
    auto& state = std::get<6>(a);
    if (state != nullptr) state = reinterpret_cast<std::remove_reference_t<decltype(state)>>(blank.data());
  });
  const auto check = [&](const auto& go, auto* state, RvpiSize src, RvpiSize dst) {
    expectFirstOfTwo(go,
                     {nulls<>, at<2>(rvpStatusBadSize, RvpiSize{0, 8}), at<1>(rvpStatusBadStep, kPixel - 1),
                      at<4>(rvpStatusBadStep, kPixel - 1), oddSteps<>, zeros,
                      at<5>(rvpStatusBadSize, RvpiSize{dst.width, dst.height + 2},
                            RvpiSize{dst.width - 2, dst.height}, RvpiSize{dst.width, -1})},
                     large.data(), kPixel * src.width, src, small.data(), kPixel * dst.width, dst, state);
  };
  check(F::down, down.state, {8, 8}, {4, 4});
  check(F::up, up.state, {4, 4}, {8, 8});
  // Only the height is sought among the levels.
  constexpr int kRow = 8 * kPixel;
  const auto goDown = [&](RvpiSize src, RvpiSize dst) {
    return F::down(large.data(), kRow, src, small.data(), kRow, dst, down.state);
  };
  EXPECT_EQ(goDown({7, 8}, {3, 4}), rvpStatusBadSize);
  EXPECT_EQ(goDown({7, 8}, {4, 4}), rvpStatusOk);
  EXPECT_EQ(goDown({7, 7}, {4, 4}), rvpStatusOk);
  // Images for which the blocks have no room.
  std::vector<T> wide(std::size_t{40000} * F::kChannels);
  constexpr int kWide = 40000 * kPixel;
  EXPECT_EQ(F::down(wide.data(), kWide, {40000, 1}, wide.data(), kWide, {20000, 1}, down.state), rvpStatusBadSize);
  EXPECT_EQ(F::up(wide.data(), kWide, {20000, 1}, wide.data(), kWide, {40000, 2}, up.state), rvpStatusBadSize);
  // The least and the largest destination.
  const Up<F> larger({20, 20}, 2, kKernels[5]);
  const auto goUp = [&](RvpiSize dst) {
    return F::up(large.data(), kRow, {4, 4}, small.data(), 2 * kRow, dst, larger.state);
  };
  for (const RvpiSize dst : {RvpiSize{7, 7}, {8, 8}}) EXPECT_EQ(goUp(dst), rvpStatusOk);
  for (const RvpiSize dst : {RvpiSize{6, 7}, {7, 6}, {9, 8}, {8, 9}}) EXPECT_EQ(goUp(dst), rvpStatusBadSize);
}

TEST(PyramidLayerSizes, FollowTheirFormulas) {
  int bytes = 0, scratch = 0;
  ASSERT_EQ(rvpiPyramidLayerUpGetSize_32f_C3R({10, 7}, 5, &bytes, 2), rvpStatusOk);
  EXPECT_EQ(bytes, 3 * 4 * 14 * 11 + 2 * (4 * 5 + 12 * (5 + 14 * 11 + 10 - 1) + 128) + 32);
  ASSERT_EQ(rvpiPyramidLayerUpGetSize_8u_C1R({10, 7}, 5, &bytes, 2), rvpStatusOk);
  EXPECT_EQ(bytes, 2 * 14 * 11 + 2 * (2 * 5 + 4 * (14 * 11 + 2 * 15 - 2) + 128) + 32);
  ASSERT_EQ(rvpiPyramidLayerUpGetSize_16u_C3R({10, 7}, 5, &bytes, 2), rvpStatusOk);
  EXPECT_EQ(bytes, 3 * 14 * 11 + 2 * (2 * 5 + 12 * (14 * 11 + 2 * 15 - 2) + 128) + 32);
  // Large: A = 13 with a4 = a8 = 16, B = 12, h = 2, five levels.
  ASSERT_EQ(rvpiPyramidLayerDownGetSize_8u_C1R({13, 12}, 5, &bytes, &scratch, 2), rvpStatusOk);
  const int p = 2 * 16 * 12, q = 96 * 2 + 5 * (2 * 7 + 4 * 16 + 126), r = 4 * 16;
  EXPECT_EQ(bytes, q + 10 + p + r + 192 + 8 * 4 + 200 + 8);
  EXPECT_EQ(scratch, 8 * 13);
  int teamSize = 0, teamBytes = 0;
#pragma omp parallel num_threads(3)
#pragma omp single
  {
    teamSize = omp_get_num_threads();
    EXPECT_EQ(rvpiPyramidLayerDownGetSize_8u_C1R({13, 12}, 5, &teamBytes, &scratch, 2), rvpStatusOk);
  }
  EXPECT_EQ(teamBytes, bytes + (teamSize - 1) * (p + q + r + 264));
  // Small: a8 = 16.
  ASSERT_EQ(rvpiPyramidLayerDownGetSize_8u_C1R({13, 5}, 5, &bytes, &scratch, 2), rvpStatusOk);
  EXPECT_EQ(bytes, 5 * (4 * 16 + 72) + 10 + 160 + 4 * (10 * 21 + 16) + 2 * 5 * 7 + 104);
  ASSERT_EQ(rvpiPyramidLayerDownGetSize_8u_C1R({60000, 60000}, 5, &bytes, &scratch, 2), rvpStatusOk);
  EXPECT_EQ(bytes, std::numeric_limits<int>::max());
}

FUZZ(layer, input) {
  tryShape(input.shape(), [&](const Shape& shape) {
    const float rate = input.flag() ? input.oneOf(kRates) : 1 + static_cast<float>(input.between(1, 9000)) / 1000;
    const Kernel& kernel = input.oneOf(kKernels);
    input.withOneOf(Forms(), [&]<class F>() {
      input.flag() ? checkDown<F>(shape, rate, kernel, shape.size())
                   : checkUp<F>(shape, rate, kernel, shape.seed % 2 == 0);
    });
  });
}

}  // namespace
