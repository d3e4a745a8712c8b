// The filter pipelines against their sums, element by element.
#include "support/test.h"

namespace {

using namespace test;

template <class S, class D, int C, bool kIsLow, bool kIsRow>
struct Stage {
  using Src = S;
  using Dst = D;
  using Kernel = std::conditional_t<std::is_same_v<D, float>, float, std::int16_t>;
  static constexpr int kChannels = C;
  static constexpr bool kFloat = std::is_same_v<D, float>;
  static constexpr bool kLow = kIsLow;
  static constexpr bool kRow = kIsRow;
};

// SIZE is what three threads report for 101 x 7 pixels and 9 taps.
#define ROW(SUFFIX, S, D, C, LOW, SIZE, ...)                                                                  \
  struct Row_##SUFFIX : Stage<S, D, C, LOW, true> {                                                           \
    static constexpr int kSize = SIZE;                                                                        \
    static RvpStatus run(const S* src, int step, D* const* dst, RvpiSize size, const Kernel* k, int taps,     \
                         int anchor, RvpiBorderType border, const S* value, [[maybe_unused]] int divisor,     \
                         std::uint8_t* buffer) {                                                              \
      return rvpiFilterRowBorderPipeline_##SUFFIX(src, step, dst, size, k, taps, anchor, border, __VA_ARGS__, \
                                                  buffer);                                                    \
    }                                                                                                         \
    static constexpr auto kBytes = rvpiFilterRowBorderPipelineGetBufferSize_##SUFFIX;                         \
  };
#define COLUMN(SUFFIX, S, D, C, LOW, SIZE, ...)                                                           \
  struct Column_##SUFFIX : Stage<S, D, C, LOW, false> {                                                   \
    static constexpr int kSize = SIZE;                                                                    \
    static RvpStatus run(const S* const* src, D* dst, int step, RvpiSize size, const Kernel* k, int taps, \
                         [[maybe_unused]] int divisor, std::uint8_t* buffer) {                            \
      return rvpiFilterColumnPipeline_##SUFFIX(src, dst, step, size, k, taps, __VA_ARGS__);               \
    }                                                                                                     \
    static constexpr auto kBytes = rvpiFilterColumnPipelineGetBufferSize_##SUFFIX;                        \
  };
using std::int16_t, std::uint16_t, std::uint8_t, std::int8_t;
ROW(32f_C1R, float, float, 1, false, 4176, *value)
ROW(32f_C3R, float, float, 3, false, 5760, value)
ROW(8u16s_C1R, uint8_t, int16_t, 1, false, 1788, *value, divisor)
ROW(8u16s_C3R, uint8_t, int16_t, 3, false, 2436, value, divisor)
ROW(16s_C1R, int16_t, int16_t, 1, false, 2016, *value, divisor)
ROW(16s_C3R, int16_t, int16_t, 3, false, 1752, value, divisor)
ROW(16u_C1R, uint16_t, uint16_t, 1, false, 512, *value, divisor)
ROW(16u_C3R, uint16_t, uint16_t, 3, false, 1088, value, divisor)
ROW(Low_16s_C1R, int16_t, int16_t, 1, true, 1320, *value, divisor)
ROW(Low_16s_C3R, int16_t, int16_t, 3, true, 6288, value, divisor)
COLUMN(32f_C1R, float, float, 1, false, 32, buffer)
COLUMN(32f_C3R, float, float, 3, false, 32, buffer)
COLUMN(16s_C1R, int16_t, int16_t, 1, false, 4320, divisor, buffer)
COLUMN(16s_C3R, int16_t, int16_t, 3, false, 11808, divisor, buffer)
COLUMN(16u_C1R, uint16_t, uint16_t, 1, false, 32, divisor, buffer)
COLUMN(16u_C3R, uint16_t, uint16_t, 3, false, 32, divisor, buffer)
COLUMN(16s8u_C1R, int16_t, uint8_t, 1, false, 4320, divisor, buffer)
COLUMN(16s8u_C3R, int16_t, uint8_t, 3, false, 11808, divisor, buffer)
COLUMN(16s8s_C1R, int16_t, int8_t, 1, false, 4320, divisor, buffer)
COLUMN(16s8s_C3R, int16_t, int8_t, 3, false, 11808, divisor, buffer)
COLUMN(Low_16s_C1R, int16_t, int16_t, 1, true, 4320, divisor, buffer)
COLUMN(Low_16s_C3R, int16_t, int16_t, 3, true, 11808, divisor, buffer)

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
    using Limits = std::numeric_limits<Dst>;
    return static_cast<Dst>(
        std::clamp<int>(static_cast<int>(std::nearbyint(clamped)), Limits::min(), Limits::max()));
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
  bool isExtreme = false;  // Nothing but the greatest pixel, or the least where that is further from 0.

  explicit Setting(unsigned seed, int length = 0) {
    static constexpr int kLengths[] = {3, 5, 1, 4, 9, 2, 21, 3, 5, 7};
    static constexpr int kDivisors[] = {1, 7, 16, 1000, 32768, 64};
    static constexpr RvpiBorderType kBorders[] = {rvpBorderConst, rvpBorderRepl, rvpBorderMirror, rvpBorderInMem};
    const int n = length > 0 ? length : kLengths[seed % 10];
    kernel = randomPlane<typename Op::Kernel>(n, 1, seed + 7).elements;
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
    std::ranges::copy(randomPlane<typename Op::Src>(3, 1, seed + 8).elements, value.begin());
  }

  int length() const { return static_cast<int>(kernel.size()); }
  bool left() const { return (border & 15) == rvpBorderInMem || (border & rvpBorderInMemLeft) != 0; }
  bool right() const { return (border & 15) == rvpBorderInMem || (border & rvpBorderInMemRight) != 0; }
};

template <class Op>
Plane<typename Op::Src> sourceOf(const Setting<Op>& setting, int width, int height, unsigned seed) {
  using Limits = std::numeric_limits<typename Op::Src>;
  if (setting.isExtreme) return {width, height, Limits::is_signed ? Limits::lowest() : Limits::max()};
  return randomPlane<typename Op::Src>(width, height, seed, true);
}

template <class Op>
void checkRows(const Shape& shape, const Setting<Op>& setting, Guarded<typename Op::Dst>& dst) {
  using Src = typename Op::Src;
  const int n = setting.length(), before = setting.anchor, behind = n - 1 - setting.anchor;
  // On sides that are in memory the source is wider than the region.
  const int left = setting.left() ? before : 0, right = setting.right() ? behind : 0;
  const Plane<Src> source =
      sourceOf(setting, (left + shape.width + right) * Op::kChannels, shape.height, shape.seed);
  Guarded<Src> src(source, shape.placing);
  std::vector<typename Op::Dst*> rows;
  for (int y = shape.height - 1; y >= 0; --y) rows.push_back(dst.row(y));
  Block scratch(bytesOf(Op::kBytes, shape.size(), n), shape.anywhere());
  ASSERT_EQ(Op::run(src.data() + left * Op::kChannels, src.step(), rows.data(), shape.size(), setting.kernel.data(),
                    n, setting.anchor, setting.border, setting.value.data(), setting.divisor, scratch.data()),
            rvpStatusOk);
  const auto expected = planeOf<typename Op::Dst>(shape.width * Op::kChannels, shape.height, [&](int y, int at) {
    const int c = at % Op::kChannels;
    return expectedSum<Op>(setting.kernel, setting.divisor, [&](int i) {
      int x = at / Op::kChannels + i - setting.anchor;
      if (!((x < 0 && setting.left()) || (x >= shape.width && setting.right()))) {
        x = standIn(setting.border & 15, x, shape.width);
        if (x == kOutside) return setting.value[static_cast<std::size_t>(c)];
      }
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
  const Plane<Src> source = sourceOf(setting, shape.width * Op::kChannels, distinct, shape.seed);
  Guarded<Src> src(source, shape.placing);
  const auto indexOf = [&](int i) { return (i * 5 + 3) % distinct; };
  std::vector<const Src*> rows;
  for (int i = 0; i < count; ++i) rows.push_back(src.row(indexOf(i)));
  Block scratch(bytesOf(Op::kBytes, shape.size(), n), shape.anywhere());
  ASSERT_EQ(Op::run(rows.data(), dst.data(), dst.step(), shape.size(), setting.kernel.data(), n, setting.divisor,
                    scratch.data()),
            rvpStatusOk);
  const auto expected = planeOf<typename Op::Dst>(shape.width * Op::kChannels, shape.height, [&](int y, int x) {
    return expectedSum<Op>(setting.kernel, setting.divisor, [&](int i) { return source.at(indexOf(y + i), x); });
  });
  ASSERT_TRUE(same(expected, dst));
}

template <class Op>
void check(const Shape& shape, const Setting<Op>& setting) {
  SCOPED_TRACE(words("taps", setting.length(), "anchor", setting.anchor, "divisor", setting.divisor, "border",
                     setting.border));
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
  expectFirstOfTwo(TypeParam::kBytes, {nulls<>, badSizes, at<1>(rvpStatusBadSize, 0)}, {101, 7}, 9, &bytes);
  EXPECT_EQ(bytesOf(TypeParam::kBytes, RvpiSize{101, 7}, 9), TypeParam::kSize);
  EXPECT_EQ(TypeParam::kBytes({INT32_MAX, INT32_MAX}, INT32_MAX, &bytes), rvpStatusOk);
}

TYPED_TEST(Pipelines, ReportTheFirstOfTwoFaults) {
  using Op = TypeParam;
  using Src = typename Op::Src;
  using Dst = typename Op::Dst;
  constexpr int kColumns = 5 * Op::kChannels, kHeight = 3, kTaps = 3;
  ASSERT_EQ(rvpSetNumThreads(1), rvpStatusOk);
  Guarded<Src> src(Plane<Src>(kColumns, kHeight));
  const Plane<Dst> before(kColumns, kHeight, Dst{17});
  Guarded<Dst> dst(before);
  const Src value[3] = {};
  const typename Op::Kernel kernel[kTaps] = {1, 2, 3};
  Block scratch(bytesOf(Op::kBytes, RvpiSize{5, kHeight}, kTaps), {0, 1});
  // The list of rows with one that is null.
  const auto missingRow = [](const auto& rows) {
    return planted(rvpStatusNullPointer, [&](auto& a) {
      auto& list = std::get < Op::kRow ? 2 : 0 > (a);
      if (list != nullptr) list = rows.data();
    });
  };
  if constexpr (Op::kRow) {
    const std::vector<Dst*> rows(kHeight, dst.data());
    std::vector<Dst*> broken = rows;
    broken.back() = nullptr;
    expectFirstOfTwo(Op::run,
                     {nulls<0, 2, 4, 10>, badSizes, missingRow(broken), nulls<8>.when(Op::kChannels == 3),
                      at<5>(rvpStatusBadSize, 0), at<6>(rvpStatusBadAnchor, -1, kTaps), shortSteps<0>, oddSteps<0>,
                      at<9>(rvpStatusBadArgument, 0).when(!Op::kFloat),
                      at<9>(rvpStatusBadArgument, -1).when(std::is_same_v<Src, uint16_t>),
                      at<7>(rvpStatusBadBorder, 2, 4, 5, 7, 256 + 1, -1)},
                     src.data(), src.step(), rows.data(), {5, kHeight}, kernel, kTaps, 1, rvpBorderRepl, value, 1,
                     scratch.data());
  } else {
    const std::vector<const Src*> rows(kHeight + kTaps - 1, src.data());
    std::vector<const Src*> broken = rows;
    broken.front() = nullptr;
    expectFirstOfTwo(Op::run,
                     {nulls<0, 1, 4>, badSizes, missingRow(broken), at<5>(rvpStatusBadSize, -1), shortSteps<1>,
                      oddSteps<1>, nulls<7>, at<6>(rvpStatusBadArgument, 0).when(!Op::kFloat)},
                     rows.data(), dst.data(), dst.step(), {5, kHeight}, kernel, kTaps, 1, scratch.data());
  }
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
    Block scratch(bytesOf(Row_16s_C1R::kBytes, RvpiSize{50, 1}, 9), {0, 1});
    std::vector<int16_t> result(50);
    int16_t* rows[] = {result.data()};
    Row_16s_C1R::run(image.row(0), 100, rows, {50, 1}, setting.kernel.data(), 9, 4, rvpBorderMirror,
                     setting.value.data(), 100, scratch.data());
#pragma omp ordered
    {
      if (i == 0) first = result;
      good = good && scratch.intact() && result == first;
    }
  }
  EXPECT_TRUE(good);
}

template <class Op>
void checkExtreme(const std::vector<std::vector<int>>& kernels, const std::vector<int>& divisors) {
  for (const auto& kernel : kernels) {
    for (const int divisor : divisors) {
      tryShape({100, 2, {}, 1, 3}, [&](const Shape& shape) {
        Setting<Op> setting(0);
        setting.kernel.assign(kernel.begin(), kernel.end());
        setting.anchor = 0;
        setting.divisor = divisor;
        setting.border = rvpBorderRepl;
        setting.isExtreme = true;
        check<Op>(shape, setting);
      });
    }
  }
}

// Where sums of bytes stop to fit 16 bits, with a sign and without, in pairs and in all; the largest sum of words
// that is exact in any order, and the next; and sums beyond 32 bits on both sides.
TEST(PipelineExtremes, FollowTheFormula) {
  // clang-format off
  checkExtreme<Row_8u16s_C1R>({{100, 100}, {-100, -100}, {64, 64}, {64, 65}, {-64, -65}, {128, 128}, {128, 129},
                               {32767, 32767}, {64, 64, 64}, {64, 65, 64}, {127, 1, 127}, {126, 3, 126},
                               {128, 0, 128}, {0, 1, 128}},
                              {1, 2, 256, 131072});
  // clang-format on
  checkExtreme<Column_16s_C1R>({{256, 256}, {256, 257}}, {1, 1024, -1024});
  const std::vector<std::vector<int>> largest = {{INT16_MIN, INT16_MIN, INT16_MIN},
                                                 {INT16_MAX, INT16_MAX, INT16_MAX}};
  checkExtreme<Row_16u_C1R>(largest, {1});
  checkExtreme<Column_16u_C1R>(largest, {1});
  checkExtreme<Column_16s8u_C1R>({{1, 1, 1}, {-1, -1, -1}}, {1, 300, 3000});
  checkExtreme<Column_16s8s_C1R>({{1, 1, 1}, {-1, -1, -1}}, {1, 300, 3000});
  checkExtreme<Row_Low_16s_C1R>({{1, 1}, {1, 0}, {-1, 0}}, {1, 3, 32768});
}

// A kernel of one 1 copies, zeros with their sign.
TEST(PipelineExtremes, CopyByOne) {
  tryShape({100, 2, {}, 1, 3}, [](const Shape& shape) {
    Setting<Row_32f_C1R> setting(2, 1);
    setting.kernel = {1.0f};
    check<Row_32f_C1R>(shape, setting);
  });
  std::uint8_t buffer[64], pixel = 0;
  const std::int16_t one = 1;
  const std::int16_t* row = &one;
  EXPECT_EQ(rvpiFilterColumnPipeline_16s8u_C1R(&row, &pixel, 1, {1, 1}, &one, INT32_MAX, 0, buffer),
            rvpStatusBadArgument);
}

FUZZ(pipeline, input) {
  tryShape(input.shape(), [&](const Shape& shape) {
    const unsigned seed = input.any<std::uint16_t>();
    const int length = input.flag() ? input.between(1, 40) : 0;
    input.withOneOf(Operations(), [&]<class Op>() { check<Op>(shape, Setting<Op>(seed, length)); });
  });
}

}  // namespace
