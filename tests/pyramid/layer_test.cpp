// Pyramid layers against the formulas: whole working images for down, a scatter of samples for up.
#include <gtest/gtest.h>
#include <omp.h>

#include <algorithm>
#include <cmath>
#include <limits>
#include <memory>

#include "rvpcv.h"
#include "support/bordered.h"
#include "support/compare.h"
#include "support/sweep.h"

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
  static Work afterRow(Work value) {
    if constexpr (std::is_same_v<T, float>) return value;
    const long wrapped = static_cast<std::int32_t>(static_cast<std::uint32_t>(static_cast<long>(value)));
    return sizeof(T) == 1 ? static_cast<Work>(limited<std::int16_t>(wrapped >> 8))
                          : static_cast<Work>(wrapped >> 10);
  }
  static Work afterColumn(Work value) {
    if constexpr (std::is_same_v<T, float>) return value;
    if (sizeof(T) == 2) return static_cast<Work>(static_cast<long>(value) >> 13);
    const long wrapped = static_cast<std::int32_t>(static_cast<std::uint32_t>(static_cast<long>(value)));
    return static_cast<Work>(limited<std::int16_t>(wrapped >> 15));
  }
  static T pixel(Work value) {
    if constexpr (std::is_same_v<T, float>) {
      return value;
    } else {
      return limited<T>((value + 4) >> 3);
    }
  }
  static Work between(float f, Work next, Work here) {
    return static_cast<Work>(f * static_cast<float>(next) + (1 - f) * static_cast<float>(here));
  }

  static Plane<T> image(const Plane<T>& src, int channels, RvpiSize dstSize, float rate, const std::vector<K>& k) {
    const int width = src.width / channels;
    const int height = src.height;
    Plane<Work> rows(src.width, height), filtered(src.width, height);
    for (int y = 0; y < height; ++y) {
      for (int x = 0; x < src.width; ++x)
        rows.at(y, x) = afterRow(sum(k, [&](int i) {
          return static_cast<Work>(
              src.at(y, standIn(rvpBorderMirror, x / channels + i, width) * channels + x % channels));
        }));
    }
    for (int y = 0; y < height; ++y) {
      for (int x = 0; x < src.width; ++x)
        filtered.at(y, x) =
            afterColumn(sum(k, [&](int i) { return rows.at(standIn(rvpBorderMirror, y + i, height), x); }));
    }
    const bool halves = rate >= 1.99998F && rate <= 2.00002F;
    const int dstElements = dstSize.width * channels;
    Plane<Work> sampled(dstElements, height);
    for (int y = 0; y < height; ++y) {
      for (int x = 0; x < dstElements; ++x) {
        const float p = static_cast<float>(x / channels) * rate;
        const int i = halves ? std::min(x / channels * 2, width - 1) : static_cast<int>(p);
        const auto at = [&](int column) { return filtered.at(y, column * channels + x % channels); };
        sampled.at(y, x) = halves || i + 1 >= width ? at(i) : between(p - static_cast<float>(i), at(i + 1), at(i));
      }
    }
    Plane<T> dst(dstElements, dstSize.height);
    for (int y = 0; y < dstSize.height; ++y) {
      const float p = static_cast<float>(y) * rate;
      const int i = halves ? std::min(2 * y, height - 1) : static_cast<int>(p);
      for (int x = 0; x < dstElements; ++x)
        dst.at(y, x) = pixel(halves || i + 1 >= height
                                 ? sampled.at(i, x)
                                 : between(p - static_cast<float>(i), sampled.at(i + 1, x), sampled.at(i, x)));
    }
    return dst;
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
  Plane<float> rows(dstSize.width * channels, src.height);
  const std::vector<float> across = scatter.inverse(width, dstSize.width);
  const std::vector<float> down = scatter.inverse(src.height, dstSize.height);
  for (int y = 0; y < src.height; ++y) {
    for (int c = 0; c < channels; ++c) {
      const auto line = scatter(
          [&](int s) { return static_cast<float>(src.at(y, standIn(rvpBorderMirror, s, width) * channels + c)); },
          width, dstSize.width);
      for (int x = 0; x < dstSize.width; ++x) {
        const auto i = static_cast<std::size_t>(x);
        float value = line[i] * across[i];
        if constexpr (!std::is_same_v<T, float>)
          value = static_cast<float>(static_cast<std::int64_t>(value + 128.0F) >> 8);
        rows.at(y, x * channels + c) = value;
      }
    }
  }
  Plane<T> dst(dstSize.width * channels, dstSize.height);
  for (int x = 0; x < dst.width; ++x) {
    const auto line = scatter([&](int s) { return rows.at(standIn(rvpBorderMirror, s, src.height), x); },
                              src.height, dstSize.height);
    for (int y = 0; y < dst.height; ++y) {
      const auto i = static_cast<std::size_t>(y);
      const float value = line[i] * down[i];
      if constexpr (std::is_same_v<T, float>) {
        dst.at(y, x) = value;
      } else {
        dst.at(y, x) = limited<T>(static_cast<std::int64_t>(value + 2097152.0F) >> 22);
      }
    }
  }
  return dst;
}

// Where a block begins: any address will do.
Placing anywhere(RvpiSize roi) { return {0, (5 * roi.width + roi.height) % 37}; }

// A state block of exactly the reported size between guards.
template <class F>
class Down {
 public:
  using K = typename F::Coefficient;
  Down(RvpiSize roi, float rate, const Kernel& kernel) {
    const std::vector<K> k(kernel.begin(), kernel.end());
    const int length = static_cast<int>(k.size());
    int bytes = 0, scratchBytes = 0;
    EXPECT_EQ(F::downSize(roi, length, &bytes, &scratchBytes, rate), rvpStatusOk);
    block_ = std::make_unique<Guarded<std::uint8_t>>(randomPlane<std::uint8_t>(bytes, 1, 7), anywhere(roi));
    Guarded<std::uint8_t> scratch(randomPlane<std::uint8_t>(scratchBytes, 1, 8), {0, 3});
    status = F::downInit(&state, roi, rate, k.data(), length, 2, block_->data(), scratch.data());
    EXPECT_EQ(reinterpret_cast<std::uint8_t*>(state), block_->data());
    EXPECT_TRUE(scratch.intact());
    EXPECT_TRUE(intact());
  }
  testing::AssertionResult intact() const { return block_->intact(); }

  RvpiPyramidDownState* state = nullptr;
  RvpStatus status = rvpStatusError;

 private:
  std::unique_ptr<Guarded<std::uint8_t>> block_;
};

template <class F>
class Up {
 public:
  using K = typename F::Coefficient;
  Up(RvpiSize roi, float rate, const Kernel& kernel) {
    const std::vector<K> k(kernel.begin(), kernel.end());
    const int length = static_cast<int>(k.size());
    int bytes = 0;
    EXPECT_EQ(F::upSize(roi, length, &bytes, rate), rvpStatusOk);
    block_ = std::make_unique<Guarded<std::uint8_t>>(randomPlane<std::uint8_t>(bytes, 1, 7), anywhere(roi));
    status = F::upInit(&state, roi, rate, k.data(), length, 2, block_->data());
    EXPECT_EQ(reinterpret_cast<std::uint8_t*>(state), block_->data());
    EXPECT_TRUE(intact());
  }
  testing::AssertionResult intact() const { return block_->intact(); }

  RvpiPyramidUpState* state = nullptr;
  RvpStatus status = rvpStatusError;

 private:
  std::unique_ptr<Guarded<std::uint8_t>> block_;
};

const std::vector<Kernel> kKernels = {{1, 2, 1},
                                      {1, 4, 6, 4, 1},
                                      {2, 8, 12, 8, 2},
                                      {0, 3, 5, 3, 0},
                                      {3, 1, 7, 1, 3},
                                      {-1, 4, -1},
                                      {-1, 2, -1},
                                      {-3, 9, -3},
                                      {1, 6, 15, 20, 15, 6, 1},
                                      {-2, 1, 8, 12, 8, 1, -2},
                                      {-6000, 12000, -6000},
                                      {-1, 30, -58, 30, -1},
                                      {1, 2, 3, 4, 5, 4, 3, 2, 1}};
constexpr float kRates[] = {1.0009765625F, 1.3F, 1.5F, 1.99999F, 2.0F, 2.00001F, 2.1F, 3.0F, 4.7F, 10.0F};

template <class F>
class PyramidLayer : public testing::Test {};
using Forms = testing::Types<Form<std::uint8_t, 1>, Form<std::uint8_t, 3>, Form<std::uint16_t, 1>,
                             Form<std::uint16_t, 3>, Form<float, 1>, Form<float, 3>>;
TYPED_TEST_SUITE(PyramidLayer, Forms);

template <class F>
void checkDown(const Shape& shape, float rate, const Kernel& kernel, RvpiSize initRoi) {
  using T = typename F::Pixel;
  SCOPED_TRACE("rate " + std::to_string(rate) + ", kernel " + testing::PrintToString(kernel));
  const RvpiSize srcRoi = {shape.width, shape.height};
  RvpiSize dstRoi{};
  ASSERT_EQ(rvpiGetPyramidDownROI(srcRoi, &dstRoi, rate), rvpStatusOk);
  const Down<F> layer(initRoi, rate, kernel);
  ASSERT_EQ(layer.status, rvpStatusOk);
  const Plane<T> content = randomPlane<T>(shape.width * F::kChannels, shape.height, shape.seed);
  Guarded<T> src(content, shape.placing);
  Guarded<T> dst(Plane<T>(dstRoi.width * F::kChannels, dstRoi.height, T{77}), shape.placing);
  ASSERT_EQ(F::down(src.data(), src.step(), srcRoi, dst.data(), dst.step(), dstRoi, layer.state), rvpStatusOk);
  ASSERT_TRUE(same(DownReference<T>::image(content, F::kChannels, dstRoi, rate,
                                           normalised<typename F::Coefficient>(kernel, false)),
                   dst.content()));
  ASSERT_TRUE(dst.intact());
  ASSERT_TRUE(layer.intact());
}

TYPED_TEST(PyramidLayer, DownFollowsTheFormula) {
  unsigned turn = 0;
  for (int width = 1; width <= kWidestSmall; ++width) {
    for (const int height : {1, 2, 4, 7, 13}) {
      for (const float rate : kRates) {
        const Kernel& kernel = kKernels[turn % kKernels.size()];
        tryShape({width, height, {static_cast<int>(turn % 3), static_cast<int>(turn % 4)}, 2, turn},
                 [&](const Shape& shape) {
                   checkDown<TypeParam>(shape, rate, kernel, {width, height});
                 });
        ++turn;
      }
    }
  }
}

TYPED_TEST(PyramidLayer, DownDoesNotDependOnTheTeam) {
  for (const int threads : {1, 2, 3, 8}) {
    for (const float rate : {1.7F, 2.0F, 3.3F}) {
      for (const Kernel& kernel : {kKernels[1], kKernels[9]})
        for (const RvpiSize size : {RvpiSize{509, 259}, {4500, 30}})
          tryShape({size.width, size.height, {5, 1}, threads, 11},
                   [&](const Shape& shape) { checkDown<TypeParam>(shape, rate, kernel, size); });
    }
  }
}

// One state from the full image to 1 x 1, also where the levels' sizes stand in its list.
TYPED_TEST(PyramidLayer, DownServesAllLevelsOfAPyramid) {
  for (const float rate : {1.3F, 2.0F, 4.7F}) {
    for (const RvpiSize full : {RvpiSize{70, 40}, {100, 9}, {3, 30}}) {
      for (RvpiSize size = full; size.width > 1 || size.height > 1; rvpiGetPyramidDownROI(size, &size, rate))
        tryShape({size.width, size.height, {1, 1}, 1, 5},
                 [&](const Shape& shape) { checkDown<TypeParam>(shape, rate, kKernels[1], full); });
    }
  }
}

template <class F>
void checkUp(const Shape& shape, float rate, const Kernel& kernel, bool largest) {
  using T = typename F::Pixel;
  SCOPED_TRACE("rate " + std::to_string(rate) + ", kernel " + testing::PrintToString(kernel));
  const RvpiSize srcRoi = {shape.width, shape.height};
  RvpiSize least{}, most{};
  ASSERT_EQ(rvpiGetPyramidUpROI(srcRoi, &least, &most, rate), rvpStatusOk);
  const RvpiSize dstRoi = largest ? most : RvpiSize{least.width, (least.height + most.height) / 2};
  const Up<F> layer(dstRoi, rate, kernel);
  ASSERT_EQ(layer.status, rvpStatusOk);
  const Plane<T> content = randomPlane<T>(shape.width * F::kChannels, shape.height, shape.seed);
  Guarded<T> src(content, shape.placing);
  Guarded<T> dst(Plane<T>(dstRoi.width * F::kChannels, dstRoi.height, T{77}), shape.placing);
  ASSERT_EQ(F::up(src.data(), src.step(), srcRoi, dst.data(), dst.step(), dstRoi, layer.state), rvpStatusOk);
  ASSERT_TRUE(
      same(expectedUp(content, F::kChannels, dstRoi, rate, normalised<typename F::Coefficient>(kernel, true)),
           dst.content()));
  ASSERT_TRUE(dst.intact());
  ASSERT_TRUE(layer.intact());
}

TYPED_TEST(PyramidLayer, UpFollowsTheFormula) {
  unsigned turn = 0;
  for (int width = 1; width <= 35; ++width) {
    for (const int height : {1, 2, 4, 7}) {
      for (const float rate : kRates) {
        const Kernel& kernel = kKernels[turn % kKernels.size()];
        tryShape({width, height, {static_cast<int>(turn % 3), static_cast<int>(turn % 4)}, 2, turn},
                 [&](const Shape& shape) { checkUp<TypeParam>(shape, rate, kernel, turn % 2 == 0); });
        ++turn;
      }
    }
  }
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

TYPED_TEST(PyramidLayer, StaysWithinItsRows) {
  using F = TypeParam;
  using T = typename F::Pixel;
  for (const Cliff cliff : {Cliff::before, Cliff::behind}) {
    for (const float rate : {1.3F, 2.0F}) {
      for (const int width : {1, 6, 37, 66}) {
        const RvpiSize large = {width, 21};
        RvpiSize small{};
        rvpiGetPyramidDownROI(large, &small, rate);
        const Down<F> down(large, rate, kKernels[1]);
        const Up<F> up(large, rate, kKernels[1]);
        const Plane<T> content = randomPlane<T>(large.width * F::kChannels, large.height, 3);
        OnCliff<T> full(content, cliff);
        OnCliff<T> level(Plane<T>(small.width * F::kChannels, small.height), cliff);
        ASSERT_EQ(F::down(full.data(), full.step(), large, level.data(), level.step(), small, down.state), 0);
        ASSERT_EQ(F::up(level.data(), level.step(), small, full.data(), full.step(), large, up.state), 0);
        ASSERT_TRUE(same(expectedUp(level.content(), F::kChannels, large, rate,
                                    normalised<typename F::Coefficient>(kKernels[1], true)),
                         full.content()));
      }
    }
  }
}

// Both directions keep the level of an image that has only one.
TYPED_TEST(PyramidLayer, KeepsAConstantImage) {
  using F = TypeParam;
  using T = typename F::Pixel;
  for (const float rate : kRates) {
    const RvpiSize large = {40, 30};
    RvpiSize small{};
    rvpiGetPyramidDownROI(large, &small, rate);
    const T level = std::is_same_v<T, float> ? T(0.25) : std::numeric_limits<T>::max();
    const Plane<T> content(large.width * F::kChannels, large.height, level);
    Guarded<T> src(content), dst(Plane<T>(small.width * F::kChannels, small.height));
    const Down<F> down(large, rate, kKernels[1]);
    ASSERT_EQ(F::down(src.data(), src.step(), large, dst.data(), dst.step(), small, down.state), rvpStatusOk);
    const auto checkLevel = [&](const Plane<T>& result) {
      if constexpr (std::is_same_v<T, float>) {
        for (const T value : result.elements) ASSERT_NEAR(value, level, 1e-6) << "rate " << rate;
      } else {
        ASSERT_TRUE(same(Plane<T>(result.width, result.height, level), result)) << "rate " << rate;
      }
    };
    checkLevel(dst.content());
    // From a rate of 4 on five taps leave samples that nothing reaches.
    if (rate > 4) continue;
    const Up<F> up(large, rate, kKernels[1]);
    Guarded<T> back(Plane<T>(large.width * F::kChannels, large.height));
    ASSERT_EQ(F::up(dst.data(), dst.step(), small, back.data(), back.step(), large, up.state), rvpStatusOk);
    checkLevel(back.content());
  }
}

TYPED_TEST(PyramidLayer, RebuildsTheRightHalfOfAKernel) {
  using F = TypeParam;
  const Down<F> lopsided({20, 20}, 2, {1, 4, 6, 4, 2});
  EXPECT_EQ(lopsided.status, rvpStatusKernelNotSymmetric);
  const Down<F> symmetric({20, 20}, 2, {1, 4, 6, 4, 1});
  EXPECT_EQ(symmetric.status, rvpStatusOk);
  const Up<F> up({20, 20}, 2, {1, 4, 6, 5, 1});
  EXPECT_EQ(up.status, rvpStatusKernelNotSymmetric);
  using T = typename F::Pixel;
  const Plane<T> content = randomPlane<T>(20 * F::kChannels, 20, 4);
  Guarded<T> src(content), dst(Plane<T>(10 * F::kChannels, 10));
  ASSERT_EQ(F::down(src.data(), src.step(), {20, 20}, dst.data(), dst.step(), {10, 10}, lopsided.state),
            rvpStatusOk);
  EXPECT_TRUE(same(DownReference<T>::image(content, F::kChannels, {10, 10}, 2,
                                           normalised<typename F::Coefficient>({1, 4, 6, 4, 1}, false)),
                   dst.content()));
}

TYPED_TEST(PyramidLayer, ChecksItsStateInOrder) {
  using F = TypeParam;
  using K = typename F::Coefficient;
  constexpr float kNan = std::numeric_limits<float>::quiet_NaN();
  const K k[5] = {1, 4, 6, 4, 1};
  std::vector<std::uint8_t> block(20000, 9), scratch(400, 9);
  int a = -1, b = -1;
  EXPECT_EQ(F::downSize({0, 8}, 2, nullptr, &b, 1), rvpStatusNullPointer);
  EXPECT_EQ(F::downSize({0, 8}, 2, &a, nullptr, 1), rvpStatusNullPointer);
  EXPECT_EQ(F::upSize({0, 8}, 2, nullptr, 1), rvpStatusNullPointer);
  EXPECT_EQ(F::downSize({0, 8}, 2, &a, &b, 1), rvpStatusBadSize);
  EXPECT_EQ(F::upSize({8, 0}, 2, &a, 1), rvpStatusBadSize);
  RvpiPyramidDownState* down = nullptr;
  RvpiPyramidUpState* up = nullptr;
  const auto initDown = [&](RvpiPyramidDownState** to, RvpiSize roi, float rate, const K* kernel, int length,
                            int mode, bool withScratch = true) {
    return F::downInit(to, roi, rate, kernel, length, mode, block.data(), withScratch ? scratch.data() : nullptr);
  };
  EXPECT_EQ(initDown(nullptr, {0, 8}, 1, k, 4, 1), rvpStatusBadArgument);
  EXPECT_EQ(F::upInit(nullptr, {0, 8}, 1, k, 4, 3, block.data()), rvpStatusBadArgument);
  EXPECT_EQ(initDown(nullptr, {0, 8}, 1, k, 4, 2), rvpStatusNullPointer);
  EXPECT_EQ(initDown(&down, {0, 8}, 1, nullptr, 4, 2), rvpStatusNullPointer);
  EXPECT_EQ(F::downInit(&down, {0, 8}, 1, k, 4, 2, nullptr, scratch.data()), rvpStatusNullPointer);
  EXPECT_EQ(initDown(&down, {8, 8}, 1, k, 4, 2, false), rvpStatusNullPointer);
  EXPECT_EQ(F::upInit(&up, {0, 8}, 1, nullptr, 4, 2, block.data()), rvpStatusNullPointer);
  EXPECT_EQ(F::upInit(&up, {0, 8}, 1, k, 4, 2, nullptr), rvpStatusNullPointer);
  EXPECT_EQ(initDown(&down, {8, 0}, 1, k, 4, 2), rvpStatusBadSize);
  EXPECT_EQ(F::upInit(&up, {0, 8}, 1, k, 4, 2, block.data()), rvpStatusBadSize);
  struct Bad {
    float rate;
    int length;
  };
  for (const Bad bad : {Bad{1.0F, 5}, {10.1F, 5}, {kNan, 5}, {2, 1}, {2, 4}, {2, -5}}) {
    EXPECT_EQ(F::downSize({8, 8}, bad.length, &a, &b, bad.rate), rvpStatusBadArgument);
    EXPECT_EQ(F::upSize({8, 8}, bad.length, &a, bad.rate), rvpStatusBadArgument);
    EXPECT_EQ(initDown(&down, {8, 8}, bad.rate, k, bad.length, 2), rvpStatusBadArgument);
    EXPECT_EQ(F::upInit(&up, {8, 8}, bad.rate, k, bad.length, 2, block.data()), rvpStatusBadArgument);
  }
  EXPECT_TRUE(a == -1 && b == -1 && down == nullptr && up == nullptr);
  EXPECT_EQ(std::count(block.begin(), block.end(), 9), 20000);
  // A small image needs no scratch.
  EXPECT_EQ(initDown(&down, {5, 8}, 2, k, 5, 2, false), rvpStatusOk);
}

TYPED_TEST(PyramidLayer, ChecksItsCallsInOrder) {
  using F = TypeParam;
  using T = typename F::Pixel;
  constexpr int kRow = 8 * F::kChannels * static_cast<int>(sizeof(T));
  constexpr int kOdd = sizeof(T) > 1 ? 1 : 0;
  const Down<F> down({8, 8}, 2, kKernels[1]);
  const Up<F> up({8, 8}, 2, kKernels[1]);
  std::vector<T> large(512, T{5}), small(512, T{5});
  const auto goDown = [&](const T* src, int srcStep, RvpiSize srcRoi, T* dst, int dstStep, RvpiSize dstRoi,
                          RvpiPyramidDownState* state) {
    return F::down(src, srcStep, srcRoi, dst, dstStep, dstRoi, state);
  };
  const auto goUp = [&](const T* src, int srcStep, RvpiSize srcRoi, T* dst, int dstStep, RvpiSize dstRoi,
                        RvpiPyramidUpState* state) {
    return F::up(src, srcStep, srcRoi, dst, dstStep, dstRoi, state);
  };
  const auto checkCommon = [&](const auto& go, auto* state, RvpiSize src, RvpiSize dst) {
    using State = std::remove_pointer_t<decltype(state)>;
    EXPECT_EQ(go(nullptr, 0, {0, 1}, small.data(), 0, dst, state), rvpStatusNullPointer);
    EXPECT_EQ(go(large.data(), 0, {0, 1}, nullptr, 0, dst, state), rvpStatusNullPointer);
    EXPECT_EQ(go(large.data(), 0, {0, 1}, small.data(), 0, dst, static_cast<State*>(nullptr)),
              rvpStatusNullPointer);
    EXPECT_EQ(go(large.data(), 0, {0, 1}, small.data(), 0, dst, state), rvpStatusBadSize);
    const int srcRow = kRow * src.width / 8, dstRow = kRow * dst.width / 8;
    EXPECT_EQ(go(large.data(), srcRow - 1, src, small.data(), dstRow + kOdd, dst, state), rvpStatusBadStep);
    EXPECT_EQ(go(large.data(), srcRow + kOdd, src, small.data(), dstRow - 1, dst, state), rvpStatusBadStep);
    const RvpiSize wrong = {dst.width, dst.height + 2};
    if (kOdd == 1) {
      EXPECT_EQ(go(large.data(), srcRow + 1, src, small.data(), dstRow, wrong, state), rvpStatusStepNotMultiple);
      EXPECT_EQ(go(large.data(), srcRow, src, small.data(), dstRow + 1, wrong, state), rvpStatusStepNotMultiple);
    }
    std::vector<std::uint8_t> blank(256, 0);
    EXPECT_EQ(go(large.data(), srcRow, src, small.data(), dstRow, wrong, reinterpret_cast<State*>(blank.data())),
              rvpStatusBadArgument);
    EXPECT_EQ(go(large.data(), srcRow, src, small.data(), dstRow, wrong, state), rvpStatusBadSize);
    EXPECT_EQ(go(large.data(), srcRow, src, small.data(), dstRow, {dst.width - 2, dst.height}, state),
              rvpStatusBadSize);
    EXPECT_EQ(go(large.data(), srcRow, src, small.data(), dstRow, {dst.width, -1}, state), rvpStatusBadSize);
  };
  checkCommon(goDown, down.state, {8, 8}, {4, 4});
  checkCommon(goUp, up.state, {4, 4}, {8, 8});
  EXPECT_EQ(std::count(small.begin(), small.end(), T{5}), 512);
  // Only the height is sought among the levels.
  EXPECT_EQ(goDown(large.data(), kRow, {7, 8}, small.data(), kRow, {3, 4}, down.state), rvpStatusBadSize);
  EXPECT_EQ(goDown(large.data(), kRow, {7, 8}, small.data(), kRow, {4, 4}, down.state), rvpStatusOk);
  EXPECT_EQ(goDown(large.data(), kRow, {7, 7}, small.data(), kRow, {4, 4}, down.state), rvpStatusOk);
  // Images for which the blocks have no room.
  std::vector<T> wide(std::size_t{40000} * F::kChannels);
  constexpr int kWide = 40000 * F::kChannels * static_cast<int>(sizeof(T));
  EXPECT_EQ(goDown(wide.data(), kWide, {40000, 1}, wide.data(), kWide, {20000, 1}, down.state), rvpStatusBadSize);
  EXPECT_EQ(goUp(wide.data(), kWide, {20000, 1}, wide.data(), kWide, {40000, 2}, up.state), rvpStatusBadSize);
  // The least and the largest destination.
  const Up<F> larger({20, 20}, 2, kKernels[1]);
  for (const RvpiSize dst : {RvpiSize{7, 7}, {8, 8}})
    EXPECT_EQ(goUp(large.data(), kRow, {4, 4}, small.data(), kRow, dst, larger.state), rvpStatusOk);
  for (const RvpiSize dst : {RvpiSize{6, 7}, {7, 6}, {9, 8}, {8, 9}})
    EXPECT_EQ(goUp(large.data(), kRow, {4, 4}, small.data(), 2 * kRow, dst, larger.state), rvpStatusBadSize);
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

}  // namespace
