// The filter pipelines against their sums, element by element.
#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <functional>
#include <limits>

#include "rvpcv.h"
#include "support/bordered.h"
#include "support/calls.h"
#include "support/compare.h"
#include "support/faults.h"
#include "support/sweep.h"

namespace {

using namespace test;

template <class S, class K, class D>
struct RowArguments {
  const S* src;
  int srcStep;
  D* const* dst;
  RvpiSize size;
  const K* kernel;
  int kernelSize;
  int anchor;
  RvpiBorderType border;
  const S* value;
  int divisor;
  std::uint8_t* buffer;
};

template <class S, class K, class D>
struct ColumnArguments {
  const S* const* src;
  D* dst;
  int dstStep;
  RvpiSize size;
  const K* kernel;
  int kernelSize;
  int divisor;
  std::uint8_t* buffer;
};

template <class S, class D, int C, bool kIsLow, bool kIsRow>
struct Stage {
  using Src = S;
  using Dst = D;
  using Kernel = std::conditional_t<std::is_same_v<D, float>, float, std::int16_t>;
  using Arguments = std::conditional_t<kIsRow, RowArguments<S, Kernel, D>, ColumnArguments<S, Kernel, D>>;
  static constexpr int kChannels = C;
  static constexpr bool kFloat = std::is_same_v<D, float>;
  static constexpr bool kLow = kIsLow;
  static constexpr bool kRow = kIsRow;
};

// SIZE is what three threads report for 101 x 7 pixels and 9 taps.
#define ROW(SUFFIX, S, D, C, LOW, SIZE, ...)                                                               \
  struct Row_##SUFFIX : Stage<S, D, C, LOW, true> {                                                        \
    static constexpr int kSize = SIZE;                                                                     \
    static RvpStatus run(const Arguments& a) {                                                             \
      return rvpiFilterRowBorderPipeline_##SUFFIX(a.src, a.srcStep, a.dst, a.size, a.kernel, a.kernelSize, \
                                                  a.anchor, a.border, __VA_ARGS__, a.buffer);              \
    }                                                                                                      \
    static constexpr auto size = rvpiFilterRowBorderPipelineGetBufferSize_##SUFFIX;                        \
  };
#define COLUMN(SUFFIX, S, D, C, LOW, SIZE, ...)                                                         \
  struct Column_##SUFFIX : Stage<S, D, C, LOW, false> {                                                 \
    static constexpr int kSize = SIZE;                                                                  \
    static RvpStatus run(const Arguments& a) {                                                          \
      return rvpiFilterColumnPipeline_##SUFFIX(a.src, a.dst, a.dstStep, a.size, a.kernel, a.kernelSize, \
                                               __VA_ARGS__);                                            \
    }                                                                                                   \
    static constexpr auto size = rvpiFilterColumnPipelineGetBufferSize_##SUFFIX;                        \
  };
using std::int16_t, std::uint16_t, std::uint8_t, std::int8_t;
ROW(32f_C1R, float, float, 1, false, 4176, *a.value)
ROW(32f_C3R, float, float, 3, false, 5760, a.value)
ROW(8u16s_C1R, uint8_t, int16_t, 1, false, 1788, *a.value, a.divisor)
ROW(8u16s_C3R, uint8_t, int16_t, 3, false, 2436, a.value, a.divisor)
ROW(16s_C1R, int16_t, int16_t, 1, false, 2016, *a.value, a.divisor)
ROW(16s_C3R, int16_t, int16_t, 3, false, 1752, a.value, a.divisor)
ROW(16u_C1R, uint16_t, uint16_t, 1, false, 512, *a.value, a.divisor)
ROW(16u_C3R, uint16_t, uint16_t, 3, false, 1088, a.value, a.divisor)
ROW(Low_16s_C1R, int16_t, int16_t, 1, true, 1320, *a.value, a.divisor)
ROW(Low_16s_C3R, int16_t, int16_t, 3, true, 6288, a.value, a.divisor)
COLUMN(32f_C1R, float, float, 1, false, 32, a.buffer)
COLUMN(32f_C3R, float, float, 3, false, 32, a.buffer)
COLUMN(16s_C1R, int16_t, int16_t, 1, false, 4320, a.divisor, a.buffer)
COLUMN(16s_C3R, int16_t, int16_t, 3, false, 11808, a.divisor, a.buffer)
COLUMN(16u_C1R, uint16_t, uint16_t, 1, false, 32, a.divisor, a.buffer)
COLUMN(16u_C3R, uint16_t, uint16_t, 3, false, 32, a.divisor, a.buffer)
COLUMN(16s8u_C1R, int16_t, uint8_t, 1, false, 4320, a.divisor, a.buffer)
COLUMN(16s8u_C3R, int16_t, uint8_t, 3, false, 11808, a.divisor, a.buffer)
COLUMN(16s8s_C1R, int16_t, int8_t, 1, false, 4320, a.divisor, a.buffer)
COLUMN(16s8s_C3R, int16_t, int8_t, 3, false, 11808, a.divisor, a.buffer)
COLUMN(Low_16s_C1R, int16_t, int16_t, 1, true, 4320, a.divisor, a.buffer)
COLUMN(Low_16s_C3R, int16_t, int16_t, 3, true, 11808, a.divisor, a.buffer)

// One sum from the formula; tap(i) is the element that meets coefficient i.
template <class Op, class Tap>
typename Op::Dst expectedSum(const std::vector<typename Op::Kernel>& k, int divisor, const Tap& tap) {
  using Dst = typename Op::Dst;
  const int n = static_cast<int>(k.size());
  const auto at = [&](int i) { return k[static_cast<std::size_t>(i)]; };
  if constexpr (Op::kLow) {
    unsigned sum = 0;
    for (int i = 0; i < n; ++i) sum += static_cast<unsigned>(at(i)) * static_cast<unsigned>(tap(i));
    const int factor = static_cast<int>(std::nearbyint(16384.0 / divisor));
    return static_cast<Dst>(static_cast<Dst>(sum) * factor >> 14);
  } else if constexpr (Op::kFloat) {
    if (!Op::kRow && n == 3 && at(0) == at(2)) return tap(1) * at(1) + (tap(0) + tap(2)) * at(0);
    if (!Op::kRow && n == 5 && at(0) == at(4) && at(1) == at(3))
      return tap(2) * at(2) + (tap(1) + tap(3)) * at(1) + (tap(0) + tap(4)) * at(0);
    float sum = at(0) * tap(0);
    for (int i = 1; i < n; ++i) sum = sum + at(i) * tap(i);
    return sum;
  } else {
    const float scale = Op::kRow ? 1.0f / static_cast<float>(divisor) : static_cast<float>(1.0 / divisor);
    float sum = 0;
    for (int i = 0; i < n; ++i) sum = sum + static_cast<float>(at(i)) * scale * static_cast<float>(tap(i));
    constexpr bool kUnsigned = std::is_same_v<Dst, std::uint16_t>;
    const float clamped = std::clamp(sum, kUnsigned ? 0.0f : -32768.0f, kUnsigned ? 65535.0f : 32767.0f);
    return static_cast<Dst>(std::clamp(static_cast<int>(std::nearbyint(clamped)),
                                       static_cast<int>(std::numeric_limits<Dst>::min()),
                                       static_cast<int>(std::numeric_limits<Dst>::max())));
  }
}

// A kernel and what else a case chooses, different from seed to seed. Coefficients are small enough that most sums
// are in range, divided or not, and some are not.
template <class Op>
struct Setting {
  std::vector<typename Op::Kernel> kernel;
  int anchor;
  int divisor;
  RvpiBorderType border;
  std::array<typename Op::Src, 3> value;

  explicit Setting(unsigned seed, int length = 0) {
    static constexpr int kLengths[] = {3, 5, 1, 4, 9, 2, 21, 3, 5, 7};
    static constexpr int kDivisors[] = {1, 7, 16, 1000, 32768, 64};
    static constexpr RvpiBorderType kBorders[] = {rvpBorderConst, rvpBorderRepl, rvpBorderMirror, rvpBorderInMem};
    const int n = length > 0 ? length : kLengths[seed % 10];
    const Plane<typename Op::Kernel> coefficients = randomPlane<typename Op::Kernel>(n, 1, seed + 7);
    kernel = coefficients.elements;
    if constexpr (!Op::kFloat && !Op::kLow) {
      for (auto& k : kernel) k = static_cast<typename Op::Kernel>(seed % 4 < 2 ? k % 25 : std::abs(k % 25));
    }
    if (seed % 3 == 0) {
      for (std::size_t i = 0; i < kernel.size() / 2; ++i) kernel[i] = kernel[kernel.size() - 1 - i];
    }
    anchor = static_cast<int>(seed * 5 % static_cast<unsigned>(n));
    divisor = kDivisors[seed / 2 % 6] * (seed % 5 == 0 && !std::is_unsigned_v<typename Op::Dst> ? -1 : 1);
    border = kBorders[seed / 3 % 4];
    if (border != rvpBorderInMem && seed % 3 == 1) border |= static_cast<int>(seed % 16) << 4;
    const auto constant = randomPlane<typename Op::Src>(3, 1, seed + 8);
    std::copy_n(constant.row(0), 3, value.begin());
  }

  int length() const { return static_cast<int>(kernel.size()); }
  bool left() const { return (border & 15) == rvpBorderInMem || (border & rvpBorderInMemLeft) != 0; }
  bool right() const { return (border & 15) == rvpBorderInMem || (border & rvpBorderInMemRight) != 0; }
};

template <class Op>
int scratchBytes(RvpiSize size, int kernelSize) {
  return bytesOf(Op::size, size, kernelSize);
}

// Row `y` of an image.
template <class T>
T* rowOf(Guarded<T>& image, int y) {
  return reinterpret_cast<T*>(reinterpret_cast<char*>(image.data()) +
                              static_cast<std::ptrdiff_t>(y) * image.step());
}

template <class Op>
void checkRows(const Shape& shape, const Setting<Op>& setting, Guarded<typename Op::Dst>& dst) {
  using Src = typename Op::Src;
  const int n = setting.length(), before = setting.anchor, behind = n - 1 - setting.anchor;
  // On sides that are in memory the source is wider than the region.
  const int left = setting.left() ? before : 0, right = setting.right() ? behind : 0;
  const Plane<Src> source =
      randomPlane<Src>((left + shape.width + right) * Op::kChannels, shape.height, shape.seed, true);
  Guarded<Src> src(source, shape.placing);
  std::vector<typename Op::Dst*> rows;
  for (int y = shape.height - 1; y >= 0; --y) rows.push_back(rowOf(dst, y));
  Block scratch(scratchBytes<Op>(shape.size(), n), shape.anywhere());
  ASSERT_EQ(
      Op::run({src.data() + left * Op::kChannels, src.step(), rows.data(), shape.size(), setting.kernel.data(), n,
               setting.anchor, setting.border, setting.value.data(), setting.divisor, scratch.data()}),
      rvpStatusOk);
  const int mode = setting.border & 15;
  const auto expected = planeOf<typename Op::Dst>(shape.width * Op::kChannels, shape.height, [&](int y, int at) {
    const int c = at % Op::kChannels;
    return expectedSum<Op>(setting.kernel, setting.divisor, [&](int i) {
      int x = at / Op::kChannels + i - setting.anchor;
      const bool isInMemory = (x < 0 && setting.left()) || (x >= shape.width && setting.right());
      if (!isInMemory) x = standIn(mode, x, shape.width);
      if (!isInMemory && x == kOutside) return setting.value[static_cast<std::size_t>(c)];
      return source.at(shape.height - 1 - y, (left + x) * Op::kChannels + c);
    });
  });
  ASSERT_TRUE(same(expected, dst));
}

template <class Op>
void checkColumns(const Shape& shape, const Setting<Op>& setting, Guarded<typename Op::Dst>& dst) {
  using Src = typename Op::Src;
  const int n = setting.length(), count = shape.height + n - 1;
  // Fewer rows than pointers: some rows serve several times.
  const int distinct = std::max(1, count - count / 4);
  const Plane<Src> source = randomPlane<Src>(shape.width * Op::kChannels, distinct, shape.seed, true);
  Guarded<Src> src(source, shape.placing);
  const auto indexOf = [&](int i) { return (i * 5 + 3) % distinct; };
  std::vector<const Src*> rows;
  for (int i = 0; i < count; ++i) rows.push_back(rowOf(src, indexOf(i)));
  Block scratch(scratchBytes<Op>(shape.size(), n), shape.anywhere());
  ASSERT_EQ(Op::run({rows.data(), dst.data(), dst.step(), shape.size(), setting.kernel.data(), n, setting.divisor,
                     scratch.data()}),
            rvpStatusOk);
  const auto expected = planeOf<typename Op::Dst>(shape.width * Op::kChannels, shape.height, [&](int y, int x) {
    return expectedSum<Op>(setting.kernel, setting.divisor, [&](int i) { return source.at(indexOf(y + i), x); });
  });
  ASSERT_TRUE(same(expected, dst));
}

template <class Op>
void check(const Shape& shape, const Setting<Op>& setting) {
  SCOPED_TRACE(testing::Message() << setting.length() << " taps, anchor " << setting.anchor << ", divisor "
                                  << setting.divisor << ", border " << setting.border);
  Guarded<typename Op::Dst> dst(Plane<typename Op::Dst>(shape.width * Op::kChannels, shape.height), shape.placing);
  if constexpr (Op::kRow) {
    checkRows<Op>(shape, setting, dst);
  } else {
    checkColumns<Op>(shape, setting, dst);
  }
}

template <class Op>
class Pipelines : public testing::Test {};
using Operations =
    testing::Types<Row_32f_C1R, Row_32f_C3R, Row_8u16s_C1R, Row_8u16s_C3R, Row_16s_C1R, Row_16s_C3R, Row_16u_C1R,
                   Row_16u_C3R, Row_Low_16s_C1R, Row_Low_16s_C3R, Column_32f_C1R, Column_32f_C3R, Column_16s_C1R,
                   Column_16s_C3R, Column_16u_C1R, Column_16u_C3R, Column_16s8u_C1R, Column_16s8u_C3R,
                   Column_16s8s_C1R, Column_16s8s_C3R, Column_Low_16s_C1R, Column_Low_16s_C3R>;
TYPED_TEST_SUITE(Pipelines, Operations);

TYPED_TEST(Pipelines, FollowTheFormulaAtEveryWidth) {
  sweepSmall([](Shape shape) {
    for (const int height : {shape.height, 9}) {
      shape.height = height;
      check<TypeParam>(shape, Setting<TypeParam>(shape.seed * 3 + static_cast<unsigned>(height)));
    }
  });
}

TYPED_TEST(Pipelines, DoNotDependOnTheTeam) {
  sweepTeams(3 << 15, [](const Shape& shape) {
    check<TypeParam>(shape, Setting<TypeParam>(shape.seed, shape.seed % 2 == 0 ? 5 : 7));
  });
}

// Kernels beyond any table and any chunk of a row.
TYPED_TEST(Pipelines, TakeKernelsOfAnyLength) {
  for (const int length : {255, 256, 257, 342, 1024, 1500}) {
    tryShape({19, 5, {1, 1}, 2, static_cast<unsigned>(length)},
             [&](const Shape& shape) { check<TypeParam>(shape, Setting<TypeParam>(shape.seed, length)); });
  }
}

TYPED_TEST(Pipelines, ReportTheirScratch) {
  ASSERT_EQ(rvpSetNumThreads(3), rvpStatusOk);
  int bytes = -1;
  EXPECT_EQ(TypeParam::size({0, 0}, 0, nullptr), rvpStatusNullPointer);
  EXPECT_EQ(TypeParam::size({0, 7}, 9, &bytes), rvpStatusBadSize);
  EXPECT_EQ(TypeParam::size({101, 0}, 9, &bytes), rvpStatusBadSize);
  EXPECT_EQ(TypeParam::size({101, 7}, 0, &bytes), rvpStatusBadSize);
  EXPECT_EQ(bytes, -1);
  EXPECT_EQ(TypeParam::size({101, 7}, 9, &bytes), rvpStatusOk);
  EXPECT_EQ(bytes, TypeParam::kSize);
  EXPECT_EQ(TypeParam::size({INT32_MAX, INT32_MAX}, INT32_MAX, &bytes), rvpStatusOk);
}

TYPED_TEST(Pipelines, ReportTheFirstOfTwoFaults) {
  using Op = TypeParam;
  using Src = typename Op::Src;
  using Dst = typename Op::Dst;
  using Arguments = typename Op::Arguments;
  constexpr int kWidth = 5, kHeight = 3, kTaps = 3;
  using Stepped = std::conditional_t<Op::kRow, Src, Dst>;
  constexpr int kRowBytes = kWidth * Op::kChannels * static_cast<int>(sizeof(Stepped));
  ASSERT_EQ(rvpSetNumThreads(1), rvpStatusOk);
  Guarded<Src> src(randomPlane<Src>(kWidth * Op::kChannels, kHeight + kTaps - 1, 1), {4, 0});
  const Plane<Dst> before(kWidth * Op::kChannels, kHeight, Dst{17});
  const std::array<Src, 3> value = {};
  const std::array<typename Op::Kernel, kTaps> kernel = {1, 2, 3};
  Block scratch(scratchBytes<Op>({kWidth, kHeight}, kTaps), {0, 1});

  std::vector<Src*> srcRows;
  std::vector<Dst*> dstRows;
  Faults<Arguments> faults;
  const auto add = [&](bool applies, RvpStatus status, std::function<void(Arguments&)> plant) {
    faults.push_back({status, std::move(plant), applies});
  };
  add(true, rvpStatusNullPointer, [](auto& a) { a.src = nullptr; });
  add(true, rvpStatusNullPointer, [](auto& a) { a.dst = nullptr; });
  add(true, rvpStatusNullPointer, [](auto& a) { a.kernel = nullptr; });
  add(Op::kRow, rvpStatusNullPointer, [](auto& a) { a.buffer = nullptr; });
  add(true, rvpStatusBadSize, [](auto& a) { a.size.width = 0; });
  add(true, rvpStatusBadSize, [](auto& a) { a.size.height = -1; });
  std::vector<Src*> brokenSrc;
  std::vector<Dst*> brokenDst;
  add(true, rvpStatusNullPointer, [&](auto& a) {
    if constexpr (Op::kRow) {
      if (a.dst != nullptr) a.dst = brokenDst.data();
    } else {
      if (a.src != nullptr) a.src = brokenSrc.data();
    }
  });
  if constexpr (Op::kRow) {
    add(Op::kChannels == 3, rvpStatusNullPointer, [](auto& a) { a.value = nullptr; });
    add(true, rvpStatusBadSize, [](auto& a) { a.kernelSize = 0; });
    add(true, rvpStatusBadAnchor, [](auto& a) { a.anchor = -1; });
    add(true, rvpStatusBadAnchor, [](auto& a) { a.anchor = kTaps; });
    add(true, rvpStatusBadStep, [](auto& a) { a.srcStep = kRowBytes - 1; });
    add(sizeof(Src) > 1, rvpStatusStepNotMultiple, [](auto& a) { a.srcStep = kRowBytes + 1; });
  } else {
    add(true, rvpStatusBadSize, [](auto& a) { a.kernelSize = -1; });
    add(true, rvpStatusBadStep, [](auto& a) { a.dstStep = -kRowBytes; });
    add(sizeof(Dst) > 1, rvpStatusStepNotMultiple, [](auto& a) { a.dstStep = kRowBytes + 1; });
    add(true, rvpStatusNullPointer, [](auto& a) { a.buffer = nullptr; });
  }
  add(!Op::kFloat, rvpStatusBadArgument, [](auto& a) { a.divisor = 0; });
  add(Op::kRow && std::is_same_v<Src, uint16_t>, rvpStatusBadArgument, [](auto& a) { a.divisor = -1; });
  if constexpr (Op::kRow) {
    for (const RvpiBorderType border : {2, 4, 5, 7, 256 + 1, -1})
      add(true, rvpStatusBadBorder, [border](auto& a) { a.border = border; });
  }

  Guarded<Dst> dst(before, {4, 0});
  srcRows.assign(kHeight + kTaps - 1, src.data());
  dstRows.assign(kHeight, dst.data());
  brokenSrc = srcRows;
  brokenSrc.front() = nullptr;
  brokenDst = dstRows;
  brokenDst.back() = nullptr;
  const Arguments good = [&]() -> Arguments {
    const RvpiSize size = {kWidth, kHeight};
    if constexpr (Op::kRow) {
      return {src.data(), src.step(),    dstRows.data(), size, kernel.data(), kTaps,
              1,          rvpBorderRepl, value.data(),   1,    scratch.data()};
    } else {
      return {srcRows.data(), dst.data(), dst.step(), size, kernel.data(), kTaps, 1, scratch.data()};
    }
  }();
  expectFirstOfTwo(faults, good, Op::run);
  EXPECT_TRUE(same(before, dst));
}

// A caller's own team, where each member's call has one thread: its scratch begins where its own block does.
TEST(PipelineCalls, MayComeFromATeam) {
  ASSERT_EQ(rvpSetNumThreads(1), rvpStatusOk);
  const Plane<int16_t> image = randomPlane<int16_t>(50, 1, 9);
  std::vector<int16_t> first(50);
  bool good = true;
#pragma omp parallel for num_threads(3) schedule(static, 1) ordered
  for (int i = 0; i < 3; ++i) {
    const Setting<Row_16s_C1R> setting(3, 9);
    Block scratch(scratchBytes<Row_16s_C1R>({50, 1}, 9), {0, 1});
    std::vector<int16_t> result(50);
    int16_t* rows[] = {result.data()};
    Row_16s_C1R::run({image.row(0),
                      100,
                      rows,
                      {50, 1},
                      setting.kernel.data(),
                      9,
                      4,
                      rvpBorderMirror,
                      setting.value.data(),
                      100,
                      scratch.data()});
#pragma omp ordered
    {
      if (i == 0) first = result;
      good = good && scratch.intact() && result == first;
    }
  }
  EXPECT_TRUE(good);
}

TEST(PipelineValues, AreTheStatedOnes) {
  ASSERT_EQ(rvpSetNumThreads(1), rvpStatusOk);
  uint8_t buffer[4096];
  const auto rowSum = [&](auto src, auto call, std::vector<int16_t> kernel, int divisor) {
    int16_t result = 0;
    int16_t* rows[] = {&result};
    const int n = static_cast<int>(kernel.size());
    EXPECT_EQ(call(src.data(), static_cast<int>(sizeof(src)), rows, {1, 1}, kernel.data(), n, 0, rvpBorderInMem, 0,
                   divisor, buffer),
              rvpStatusOk);
    return int{result};
  };
  const std::array<uint8_t, 2> bytes = {200, 201};
  EXPECT_EQ(rowSum(bytes, rvpiFilterRowBorderPipeline_8u16s_C1R, {100, 100}, 1), 32767);
  EXPECT_EQ(rowSum(bytes, rvpiFilterRowBorderPipeline_8u16s_C1R, {-100, -100}, 1), -32768);
  EXPECT_EQ(rowSum(bytes, rvpiFilterRowBorderPipeline_8u16s_C1R, {1, 1}, 2), 200);
  EXPECT_EQ(rowSum(bytes, rvpiFilterRowBorderPipeline_8u16s_C1R, {32767, 32767}, 1), 32767);
  // Where sums of bytes stop to fit 16 bits, with a sign and without.
  const std::array<uint8_t, 2> most = {255, 255};
  EXPECT_EQ(rowSum(most, rvpiFilterRowBorderPipeline_8u16s_C1R, {64, 64}, 1), 32640);
  EXPECT_EQ(rowSum(most, rvpiFilterRowBorderPipeline_8u16s_C1R, {64, 65}, 1), 32767);
  EXPECT_EQ(rowSum(most, rvpiFilterRowBorderPipeline_8u16s_C1R, {-64, -65}, 1), -32768);
  EXPECT_EQ(rowSum(most, rvpiFilterRowBorderPipeline_8u16s_C1R, {128, 128}, 256), 255);
  EXPECT_EQ(rowSum(most, rvpiFilterRowBorderPipeline_8u16s_C1R, {128, 129}, 2), 32767);
  EXPECT_EQ(rowSum(most, rvpiFilterRowBorderPipeline_8u16s_C1R, {128, 129}, 131072), 0);
  const std::array<int16_t, 2> words = {20000, 20000};
  EXPECT_EQ(rowSum(words, rvpiFilterRowBorderPipeline_Low_16s_C1R, {1, 1}, 1), -25536);
  EXPECT_EQ(rowSum(words, rvpiFilterRowBorderPipeline_Low_16s_C1R, {1, 0}, 3), 20000 * 5461 >> 14);
  EXPECT_EQ(rowSum(words, rvpiFilterRowBorderPipeline_Low_16s_C1R, {-1, 0}, 3), -20000 * 5461 >> 14);
  EXPECT_EQ(rowSum(words, rvpiFilterRowBorderPipeline_Low_16s_C1R, {1, 0}, 32768), 0);

  // The largest sum that is exact in any order, and the next.
  const int16_t least = INT16_MIN;
  const int16_t* leastRows[] = {&least, &least};
  const int16_t wide[] = {256, 256}, wider[] = {256, 257};
  int16_t result = 0;
  EXPECT_EQ(rvpiFilterColumnPipeline_16s_C1R(leastRows, &result, 2, {1, 1}, wide, 2, 1024, buffer), rvpStatusOk);
  EXPECT_EQ(result, -16384);
  EXPECT_EQ(rvpiFilterColumnPipeline_16s_C1R(leastRows, &result, 2, {1, 1}, wider, 2, -1024, buffer), rvpStatusOk);
  EXPECT_EQ(result, 16416);
  EXPECT_EQ(rvpiFilterColumnPipeline_16s_C1R(leastRows, &result, 2, {1, 1}, wide, 2, 1, buffer), rvpStatusOk);
  EXPECT_EQ(result, -32768);

  // Neighbouring products whose sum is the largest in 16 bits, and the next, in whole vectors.
  const std::vector<uint8_t> whiteBytes(100, 255);
  for (const auto& taps : std::vector<std::array<int16_t, 3>>{
           {64, 64, 64}, {64, 65, 64}, {127, 1, 127}, {126, 3, 126}, {128, 0, 128}, {0, 1, 128}}) {
    std::vector<int16_t> halved(100, 77);
    int16_t* halvedRow = halved.data();
    EXPECT_EQ(rvpiFilterRowBorderPipeline_8u16s_C1R(whiteBytes.data(), 100, &halvedRow, {100, 1}, taps.data(), 3, 1,
                                                    rvpBorderRepl, 0, 2, buffer),
              rvpStatusOk);
    const auto sum = static_cast<int16_t>(std::lrint((taps[0] + taps[1] + taps[2]) * 255 / 2.0));
    EXPECT_EQ(halved, std::vector<int16_t>(100, sum)) << taps[1];
  }

  // Sums beyond 32 bits on both sides, in whole vectors.
  const std::vector<uint16_t> white(40, 65535);
  for (const int16_t tap : {int16_t{INT16_MIN}, int16_t{INT16_MAX}}) {
    const int16_t taps[] = {tap, tap, tap};
    std::vector<uint16_t> clamped(40, 77);
    uint16_t* clampedRow = clamped.data();
    const uint16_t* whiteRows[] = {white.data(), white.data(), white.data()};
    const std::vector<uint16_t> wanted(40, tap < 0 ? 0 : 65535);
    EXPECT_EQ(rvpiFilterRowBorderPipeline_16u_C1R(white.data(), 80, &clampedRow, {40, 1}, taps, 3, 1, rvpBorderRepl,
                                                  0, 1, buffer),
              rvpStatusOk);
    EXPECT_EQ(clamped, wanted);
    clamped.assign(40, 77);
    EXPECT_EQ(rvpiFilterColumnPipeline_16u_C1R(whiteRows, clamped.data(), 80, {40, 1}, taps, 3, 1, buffer),
              rvpStatusOk);
    EXPECT_EQ(clamped, wanted);
  }

  // Rows by the sixth pointer; the seventh is not looked at.
  const int16_t high = 30000, low = -30000;
  const int16_t* rows[] = {&high, &high, &high, &low, &low, &low, nullptr};
  const int16_t ones[] = {1, 1, 1};
  uint8_t u[4] = {};
  int8_t s[4] = {};
  EXPECT_EQ(rvpiFilterColumnPipeline_16s8u_C1R(rows, u, 1, {1, 4}, ones, 3, 3000, buffer), rvpStatusOk);
  EXPECT_EQ(rvpiFilterColumnPipeline_16s8s_C1R(rows, s, 1, {1, 4}, ones, 3, 300, buffer), rvpStatusOk);
  EXPECT_TRUE(u[0] == 30 && u[1] == 10 && u[2] == 0 && u[3] == 0);
  EXPECT_TRUE(s[0] == 127 && s[1] == 100 && s[2] == -100 && s[3] == -128);
  EXPECT_EQ(rvpiFilterColumnPipeline_16s8u_C1R(rows, u, 1, {1, 5}, ones, 3, 3000, buffer), rvpStatusNullPointer);
  EXPECT_EQ(rvpiFilterColumnPipeline_16s8u_C1R(rows, u, 1, {1, 1}, ones, INT32_MAX, 0, buffer),
            rvpStatusBadArgument);

  // A kernel of one 1 copies, zeros with their sign.
  const float zero = -0.0f, one = 1.0f;
  float copy = 1.0f;
  float* to[] = {&copy};
  EXPECT_EQ(rvpiFilterRowBorderPipeline_32f_C1R(&zero, 4, to, {1, 1}, &one, 1, 0, rvpBorderConst, 5.0f, buffer),
            rvpStatusOk);
  EXPECT_TRUE(sameElement(zero, copy));
}

}  // namespace
