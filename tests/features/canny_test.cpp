// Canny against a reference that goes step by step over whole images: gradients, magnitudes, sectors, maxima, and a
// flood from the strong ones.
#include "support/test.h"

namespace {

using namespace test;

enum class Form { bordered, float32, integer16 };

struct Gradients {
  Form form;
  Plane<double> dx, dy, magnitude;
};

double norm(int kind, float ax, float ay) {
  if (kind == rvpNormL1) return static_cast<double>(ax + ay);
  const float squares = ax * ax + ay * ay;
  return static_cast<double>(static_cast<float>(std::sqrt(static_cast<double>(squares))));
}

void applyLow(Gradients& g, double low) {
  for (double& m : g.magnitude.elements) {
    if (g.form == Form::float32 ? m < low : !(m > low)) m = 0;
  }
}

int sector(const Gradients& g, int y, int x) {
  const double dx = g.dx.at(y, x), dy = g.dy.at(y, x);
  const auto ax = static_cast<float>(std::fabs(dx)), ay = static_cast<float>(std::fabs(dy));
  bool steep = 2.4142137f * ax < ay, flat = ay < 0.41421357f * ax;
  if (g.form == Form::bordered) steep = ax + ax + 0.41421357f * ax < ay;
  if (g.form == Form::integer16 && x >= g.dx.width / 4 * 4) {
    steep = 2.414213562373095 * static_cast<double>(ax) < static_cast<double>(ay);
    flat = static_cast<double>(ay) < 0.41421356237309503 * static_cast<double>(ax);
  }
  return steep ? 3 : flat ? 1 : std::signbit(dx) == std::signbit(dy) ? 4 : 2;
}

Plane<std::uint8_t> edges(const Gradients& g, double high) {
  const Plane<double>& m = g.magnitude;
  const auto at = [&](int y, int x) { return m.holds(y, x) ? m.at(y, x) : 0.0; };
  const auto maximum = planeOf<std::uint8_t>(m.width, m.height, [&](int y, int x) {
    constexpr int kStep[5][2] = {{0, 0}, {-1, 0}, {1, -1}, {0, -1}, {-1, -1}};
    const int s = sector(g, y, x);
    const double own = at(y, x), first = at(y + kStep[s][1], x + kStep[s][0]),
                 second = at(y - kStep[s][1], x - kStep[s][0]);
    return own != 0 && own > first && (s % 2 == 1 ? own >= second : own > second);
  });
  Plane<std::uint8_t> result(m.width, m.height);
  const auto mark = [&](int y, int x) {
    if (maximum.at(y, x) == 0 || result.at(y, x) != 0) return false;
    result.at(y, x) = 255;
    return true;
  };
  forElements(m, [&](int y, int x) {
    if (m.at(y, x) > high && mark(y, x))
      forNeighbours(m, true, {y, x}, [&](Place, Place to) { return mark(to.y, to.x); });
  });
  return result;
}

template <class T>
constexpr auto kReady = rvpiCanny_32f8u_C1R;
template <>
constexpr auto kReady<std::int16_t> = rvpiCanny_16s8u_C1R;

// Derivatives with many ties, zeros, borders between sectors, and in one case extremes.
template <class T>
Plane<T> derivative(const Shape& shape, unsigned salt) {
  const Plane<std::uint16_t> bits = randomPlane<std::uint16_t>(shape.width, shape.height, shape.seed + salt);
  constexpr int kPell[] = {0, 1, 2378, 5741, 985, 408, -2378, -5741, -985, 13860, 5, 12, 29, -12, 33, 4};
  return changed<T>(bits, [&](int b) {
    if (shape.seed % 5 == 0) return b % 2 == 0 ? -32768 : 32767 - b % 3;
    return shape.seed % 3 == 0 ? kPell[b % 16] : b % 17 - 8;
  });
}

template <class T>
void checkReady(const Shape& shape) {
  constexpr bool kFloat = std::is_same_v<T, float>;
  const Plane<T> dx = derivative<T>(shape, 1), dy = derivative<T>(shape, 2);
  const bool extreme = shape.seed % 5 == 0;
  for (const auto& [low, high] : {std::pair{0.0f, 0.0f}, std::pair{5.0f, 9.0f}, std::pair{4.9f, 11.5f},
                                  std::pair{65533.0f, 65535.0f}, std::pair{3e9f, 4e9f}}) {
    const auto toDouble = [](T d) { return static_cast<double>(d); };
    Gradients g = {
        kFloat ? Form::float32 : Form::integer16, changed<double>(dx, toDouble), changed<double>(dy, toDouble), {}};
    g.magnitude = planeOf<double>(dx.width, dx.height, [&](int y, int x) {
      const double m = std::fabs(g.dx.at(y, x)) + std::fabs(g.dy.at(y, x));
      return !kFloat && x < dx.width / 8 * 8 ? std::min(m, 65535.0) : m;
    });
    applyLow(g, kFloat ? static_cast<double>(low) : std::trunc(static_cast<double>(low)));
    Block scratch(bytesOf(rvpiCannyGetSize, shape.size()), shape.anywhere());
    OnCliff<T> srcX(dx, extreme ? Cliff::before : Cliff::behind), srcY(dy, Cliff::behind);
    Guarded<std::uint8_t> dst(Plane<std::uint8_t>(shape.width, shape.height, 77), shape.placing);
    ASSERT_EQ(call(kReady<T>, srcX, srcY, dst, dst.size(), scratch, low, high), rvpStatusOk);
    const double cut = kFloat ? static_cast<double>(high) : std::trunc(static_cast<double>(high));
    ASSERT_TRUE(same(edges(g, cut), dst)) << "thresholds " << low << ", " << high;
  }
}

TEST(Canny, OfDerivativesFollowsTheRule) {
  sweepSmall([](const Shape& shape) {
    checkReady<std::int16_t>(shape);
    checkReady<float>(shape);
  });
  tryShape({601, 40, {3, 1}, 1, 901}, checkReady<std::int16_t>);
  tryShape({603, 40, {3, 1}, 1, 902}, checkReady<float>);
}

Gradients gradientsOf(const Bordered<std::uint8_t>& image, int filter, int mask, int normKind) {
  const DerivativeMask& weights = mask == 55 ? kSobel5 : filter == rvpFilterScharr ? kScharr : kSobel3;
  const Plane<double> zero(image.width(), image.height());
  Gradients g = {Form::bordered, zero, zero, zero};
  forElements(zero, [&](int y, int x) {
    const auto [dx, dy] = derivativesAt(image, weights, x, y);
    g.dx.at(y, x) = dx;
    g.dy.at(y, x) = dy;
    g.magnitude.at(y, x) = norm(normKind, static_cast<float>(std::fabs(dx)), static_cast<float>(std::fabs(dy)));
  });
  return g;
}

struct Options {
  int filter, mask, norm;
  float low, high;
};

void checkBordered(const Shape& shape, RvpiBorderType border, const Options& o) {
  SCOPED_TRACE(words("border", border, "filter", o.filter, "mask", o.mask, "norm", o.norm));
  // All sides in memory, with flags, means the flagged sides and a constant.
  const bool isFlaggedOnly = (border & 15) == rvpBorderInMem && (border & 0xF0) != 0;
  Bordered<std::uint8_t> image = {randomPlane<std::uint8_t>(shape.width + 4, shape.height + 4, shape.seed), 2,
                                  isFlaggedOnly ? border & 0xF0 : border, 99};
  // Few grey values, for ties; and smooth patches.
  for (std::uint8_t& p : image.memory.elements) p = static_cast<std::uint8_t>(p % 5 * 60);
  OnlyFlaggedSides<std::uint8_t> src(image, shape.seed % 2 == 0 ? Cliff::before : Cliff::behind);
  Block scratch(bytesOf(rvpiCannyBorderGetSize, shape.size(), o.filter, o.mask, o.norm), shape.anywhere());
  Guarded<std::uint8_t> dst(Plane<std::uint8_t>(shape.width, shape.height, 77), shape.placing);
  ASSERT_EQ(call(rvpiCannyBorder_8u_C1R, src, dst, shape.size(), o.filter, o.mask, border, image.value, o.norm,
                 scratch, o.low, o.high),
            rvpStatusOk);
  if (std::min(shape.width, shape.height) < (o.mask == 33 ? 3 : 5)) image.border = rvpBorderConst;
  Gradients g = gradientsOf(image, o.filter, o.mask, o.norm);
  applyLow(g, static_cast<double>(o.low));
  ASSERT_TRUE(same(edges(g, static_cast<double>(o.high)), dst));
}

constexpr Options kOptions[] = {
    {rvpFilterSobel, 33, rvpNormL1, 240, 480},      {rvpFilterSobel, 33, rvpNormL2, 240, 479.5f},
    {rvpFilterScharr, 33, rvpNormL1, 959.9f, 1500}, {rvpFilterScharr, 33, rvpNormL2, 0, 2000},
    {rvpFilterSobel, 55, rvpNormL1, 900, 6000},     {rvpFilterSobel, 55, rvpNormL2, 900, 40000}};

TEST(Canny, OfImagesFollowsTheRule) {
  std::size_t turn = 0;
  sweepSmall([&](Shape shape) {
    shape.height += shape.seed >= 100 && shape.seed < 200 ? 4 : 0;
    for (const RvpiBorderType border : std::initializer_list<RvpiBorderType>{
             rvpBorderConst, rvpBorderRepl, rvpBorderInMem, rvpBorderInMem | 32 | 64, rvpBorderRepl | 32 | 64,
             rvpBorderConst | 16 | 128, rvpBorderRepl | 256})
      checkBordered(shape, border, kOptions[turn++ % std::size(kOptions)]);
  });
  for (const Options& options : kOptions) {
    tryShape({1100, 20, {1, 1}, 1, 905}, [&](const Shape& s) { checkBordered(s, rvpBorderRepl, options); });
  }
}

TEST(Canny, SizesAreTheStatedOnes) {
  EXPECT_EQ(bytesOf(rvpiCannyGetSize, RvpiSize{640, 480}), 5 * 642 * 482 + 16 * 640 + 160);
  EXPECT_EQ(bytesOf(rvpiCannyGetSize, RvpiSize{65533, 3}), 9 * 65535 * 5 + 16 * 65533 + 160);
  EXPECT_EQ(bytesOf(rvpiCannyGetSize, RvpiSize{3, 65532}), 5 * 5 * 65534 + 16 * 3 + 160);
  EXPECT_EQ(bytesOf(rvpiCannyBorderGetSize, RvpiSize{10, 7}, 0, 33, 0), 192 + 128 + 448 + 64);
  EXPECT_EQ(bytesOf(rvpiCannyBorderGetSize, RvpiSize{10, 4}, 0, 55, 0), 224 + 128 + 448 + 64 + 128);
  int bytes = -7;
  expectFirstOfTwo(rvpiCannyGetSize, {nulls<>, badSizes}, {5, 5}, &bytes);
  expectFirstOfTwo(rvpiCannyBorderGetSize, {nulls<>, badSizes, at<2>(rvpStatusBadMaskSize, 34)}, {5, 5}, 2, 33, 2,
                   &bytes);
}

TEST(Canny, ReportsTheFirstOfTwoFaults) {
  std::vector<std::uint8_t> dst(64, 9), scratch(1024);
  const std::int16_t d[64] = {};
  expectFirstOfTwo(rvpiCanny_16s8u_C1R,
                   {nulls<>, badSizes, shortSteps<>, oddSteps<0, 2>, at<8>(rvpStatusBadArgument, -1),
                    at<9>(rvpStatusBadArgument, 0.5f)},
                   d, 16, d, 16, dst.data(), 8, {8, 4}, scratch.data(), 1, 2);
  const std::uint8_t src[64] = {};
  expectFirstOfTwo(
      rvpiCannyBorder_8u_C1R,
      {at<6>(rvpStatusBadMaskSize, 77),
       planted(rvpStatusBadMaskSize, [](auto& a) { std::get<5>(a) = rvpFilterScharr, std::get<6>(a) = 55; }),
       nulls<>, badSizes, at<5>(rvpStatusBadArgument, rvpFilterCentralDifference), at<9>(rvpStatusBadArgument, 3),
       at<11>(rvpStatusBadArgument, 3), at<7>(rvpStatusBadBorder, rvpBorderMirror)},
      src, 8, dst.data(), 8, {8, 4}, rvpFilterSobel, 33, rvpBorderRepl, 0, 2, scratch.data(), 1, 2);
}

FUZZ(canny, input) {
  tryShape(input.shape(), [&](const Shape& shape) {
    switch (input.between(0, 2)) {
      case 0:
        return checkReady<float>(shape);
      case 1:
        return checkReady<std::int16_t>(shape);
      default:
        const RvpiBorderType mode = input.oneOf({0, 1, 6});
        const RvpiBorderType sides = mode == 6 ? 0 : input.between(0, 15) << 4;
        Options options = kOptions[input.between(0, static_cast<int>(std::size(kOptions)) - 1)];
        options.low = static_cast<float>(input.between(0, 2000));
        options.high = options.low + static_cast<float>(input.between(0, 4000));
        return checkBordered(shape, mode | sides, options);
    }
  });
}

}  // namespace
