// The FastN detector against a walk around every circle.
#include "support/test.h"

namespace {

using namespace test;

using Bytes = Plane<std::uint8_t>;

// The circles anew, from a quarter each: the offsets below the centre and to the left, up to the leftmost point.
std::vector<RvpiPoint> circle(int radius) {
  // clang-format off
  const std::map<int, std::vector<RvpiPoint>> quarters = {
      {1, {{0, 1}, {-1, 1}}},
      {2, {{0, 2}, {-1, 2}, {-2, 1}}},
      {3, {{0, 3}, {-1, 3}, {-2, 2}, {-3, 1}}},
      {5, {{0, 5}, {-1, 5}, {-2, 5}, {-3, 4}, {-4, 3}, {-5, 2}, {-5, 1}}},
      {7, {{0, 7}, {-1, 7}, {-2, 7}, {-3, 6}, {-4, 6}, {-5, 5}, {-6, 4}, {-6, 3}, {-7, 2}, {-7, 1}}},
      {9, {{0, 9}, {-1, 9}, {-2, 9}, {-3, 9}, {-4, 8}, {-5, 8}, {-6, 7}, {-7, 6}, {-8, 5}, {-8, 4}, {-9, 3},
           {-9, 2}, {-9, 1}}}};
  // clang-format on
  std::vector<RvpiPoint> points;
  for (const int turns : {0, 1, 2, 3}) {
    for (RvpiPoint p : quarters.at(radius)) {
      for (int i = 0; i < turns; ++i) p = {-p.y, p.x};
      points.push_back(p);
    }
  }
  if (radius == 9) points[12] = {-9, -1};
  return points;
}

struct Settings {
  int radius, arc, bins, options;
  float threshold;
  bool has(int option) const { return (options & option) != 0; }
};

// A spec in memory at an odd distance from any boundary, of exactly the size that is asked for.
struct Spec {
  Spec(const Settings& s, RvpiSize size, int shift)
      : memory(bytesOf(rvpiFastNGetSize, size, s.radius, s.arc, s.bins, s.options, rvp8u, 1), {0, shift}) {
    EXPECT_EQ(memory.size().width, 8 * static_cast<int>(circle(s.radius).size()) + 68);
    EXPECT_EQ(rvpiFastNInit(size, s.radius, s.arc, s.bins, s.options, rvp8u, 1, get(), s.threshold), rvpStatusOk);
  }
  RvpiFastNSpec* get() { return memory.as<RvpiFastNSpec>(); }
  Block memory;
};

struct Result {
  Bytes corners, scores;
  int count = 0;
};

// Arcs are walked one by one for every threshold; the score is one more than the last that finds a corner.
Result reference(const Bytes& image, const Settings& s) {
  const std::vector<RvpiPoint> points = circle(s.radius);
  const int length = static_cast<int>(points.size());
  Result r = {Bytes(image.width, image.height), Bytes(image.width, image.height)};
  for (int y = s.radius; y < image.height - s.radius; ++y) {
    for (int x = s.radius; x < image.width - s.radius; ++x) {
      std::vector<int> d;
      for (const RvpiPoint p : points) d.push_back(image.at(y + p.y, x + p.x) - image.at(y, x));
      const auto classAt = [&](int t) {
        for (const int sign : {1, -1}) {
          int run = 0;
          for (int i = 0; i < 2 * length; ++i) {
            run = sign * d[static_cast<std::size_t>(i % length)] > t ? run + 1 : 0;
            if (run == s.arc) return sign > 0 ? 64 : 128;
          }
        }
        return 0;
      };
      int t = static_cast<int>(std::min(s.threshold, 300.0F));
      int value = classAt(t);
      if (value == 0) continue;
      while (classAt(t) != 0) ++t;
      r.scores.at(y, x) = static_cast<std::uint8_t>(t);
      if (s.has(1)) {
        const float unit = 6.2831855F / static_cast<float>(length);
        // In double, and narrowed after each step.
        float sine = 0, cosine = 0;
        for (int i = 0; i < length; ++i) {
          const double angle = static_cast<double>(i) * static_cast<double>(unit);
          const auto add = [&, v = static_cast<double>(d[static_cast<std::size_t>(i)])](float& sum, double part) {
            sum = static_cast<float>(static_cast<double>(sum) + v * static_cast<double>(static_cast<float>(part)));
          };
          add(sine, std::sin(angle));
          add(cosine, std::cos(angle));
        }
        float angle = static_cast<float>(std::atan2(static_cast<double>(sine), static_cast<double>(cosine)));
        if (angle < 0) angle = static_cast<float>(static_cast<double>(angle) + 6.283185307179586);
        value |= static_cast<int>(angle * (static_cast<float>(s.bins) * 0.15915494F)) & 63;
      }
      r.corners.at(y, x) = static_cast<std::uint8_t>(value);
    }
  }
  const Bytes raw = r.scores;
  forElements(image, [&](int y, int x) {
    if (r.corners.at(y, x) == 0) return;
    bool stays = true;
    for (int k = 0; k < 9 && s.has(2); ++k) {
      const int v = raw.at(y + k / 3 - 1, x + k % 3 - 1), own = raw.at(y, x);
      if (k < 4 ? v >= own : v > own) stays = false;
    }
    if (stays) ++r.count;
    if (!stays) r.corners.at(y, x) = r.scores.at(y, x) = 0;
  });
  return r;
}

// Blobs of few values: corners of both kinds, and ties among neighbours.
Bytes blobs(int width, int height, unsigned seed) {
  const Bytes bits = randomPlane<std::uint8_t>(width, height, seed);
  const int size = 1 + static_cast<int>(seed % 5);
  return planeOf<std::uint8_t>(width, height, [&](int y, int x) {
    const int v = bits.at(y / size * size, x / size * size);
    return v < 50 ? 0 : v < 200 ? 120 + v % 3 * 20 : 255;
  });
}

// Detects into a tile among sentinels and compares it with that part of `expected`; what lies outside is 0.
void checkTile(const Bytes& image, const Result& expected, const Settings& s, RvpiPoint offset, RvpiSize size,
               unsigned seed) {
  OnCliff<std::uint8_t> src(image, seed % 2 == 0 ? Cliff::before : Cliff::behind);
  Spec spec(s, src.size(), static_cast<int>(seed % 9));
  const int bytes = bytesOf(rvpiFastNGetBufferSize, spec.get(), size);
  ASSERT_EQ(bytes, 6 * (size.width + 2) + 624);
  Block scratch(bytes, {0, 0, Cliff::behind});
  const Bytes before(size.width, size.height, 77);
  Guarded<std::uint8_t> corners(before, {static_cast<int>(seed % 3), 1}), scores(before, {2, 3});
  int count = -1;
  ASSERT_EQ(
      rvpiFastN_8u_C1R(src.data(), src.step(), corners.data(), corners.step(), s.has(32) ? scores.data() : nullptr,
                       scores.step(), &count, offset, size, spec.get(), scratch.data()),
      rvpStatusOk);
  Bytes wantedCorners = before, wantedScores = before;
  std::vector<RvpiCornerFastN> list;
  forElements(before, [&](int y, int x) {
    const std::int64_t sx = std::int64_t{x} + offset.x, sy = std::int64_t{y} + offset.y;
    if (sx < 0 || sy < 0) return;
    const auto at = [&](const Bytes& plane) {
      const bool inside = sx < image.width && sy < image.height;
      return inside ? plane.at(static_cast<int>(sy), static_cast<int>(sx)) : std::uint8_t{0};
    };
    const std::uint8_t corner = wantedCorners.at(y, x) = at(expected.corners);
    if (s.has(32)) wantedScores.at(y, x) = at(expected.scores);
    if (corner == 0) return;
    const int bin = corner & 63;
    list.push_back({x, y, corner >= 128 ? 1 : 0, s.has(1) ? bin : -1,
                    s.has(1) ? static_cast<float>(bin * 360) / static_cast<float>(s.bins) : -1.0F,
                    s.has(32) ? static_cast<float>(at(expected.scores)) : -1.0F});
  });
  ASSERT_TRUE(same(wantedCorners, corners));
  ASSERT_TRUE(same(wantedScores, scores));
  ASSERT_EQ(count, static_cast<int>(list.size()));
  if (offset.x < 0 || offset.y < 0) return;
  for (const int most : {count + 1, count, count / 2, 0}) {
    Guarded<RvpiCornerFastN> dst(Plane<RvpiCornerFastN>(std::max(most, 1), 1, {-9, 0, 0, 0, 0, 0}));
    int written = -1;
    ASSERT_EQ(rvpiFastN2DToVec_8u(corners.data(), corners.step(), s.has(32) ? scores.data() : nullptr,
                                  scores.step(), dst.data(), size, most, &written, spec.get()),
              rvpStatusOk);
    ASSERT_EQ(written, std::min(count, most));
    ASSERT_TRUE(written == 0 ? dst.data()->x == -9
                             : std::memcmp(dst.data(), list.data(),
                                           sizeof(list[0]) * static_cast<std::size_t>(written)) == 0);
  }
}

const std::pair<int, int> kArcs[] = {{1, 5},  {1, 8},  {2, 7},  {2, 8},  {3, 9},  {3, 12}, {3, 16}, {5, 15},
                                     {5, 18}, {5, 28}, {7, 21}, {7, 40}, {9, 27}, {9, 30}, {9, 35}, {9, 52}};

TEST(FastN, FindsTheCornersOfEveryCircle) {
  unsigned seed = 0;
  int found = 0;
  for (const auto& [radius, arc] : kArcs) {
    for (const int options : {4, 36, 38, 37, 39, 5}) {
      ++seed;
      const Settings s = {radius, arc, 1 + static_cast<int>(seed % 64), options, seed % 4 == 0 ? 0.0F : 20.5F};
      const Bytes image = blobs(2 * radius + 1 + static_cast<int>(seed * 7 % 67), 2 * radius + 5, seed);
      SCOPED_TRACE(words("radius", radius, "arc", arc, "options", options));
      const Result expected = reference(image, s);
      found += expected.count;
      checkTile(image, expected, s, {0, 0}, {image.width, image.height}, seed);
      if (HasFatalFailure()) return;
    }
  }
  EXPECT_GT(found, 1000);
}

TEST(FastN, WorksAtEveryWidth) {
  sweepSmall([](const Shape& shape) {
    const Settings s = {3, 9, 8, 39, 10.0F};
    const Bytes image = blobs(shape.width, shape.height + 7, shape.seed);
    checkTile(image, reference(image, s), s, {0, 0}, {image.width, image.height}, shape.seed);
  });
}

TEST(FastN, DoesNotDependOnTiles) {
  for (const int options : {4, 39}) {
    const Settings s = {2, 7, 12, options, 15.0F};
    const Bytes image = blobs(70, 40, 11);
    const Result expected = reference(image, s);
    unsigned seed = 0;
    for (const RvpiPoint offset :
         {RvpiPoint{0, 0}, {1, 2}, {33, 17}, {-3, -2}, {60, 30}, {-40, 3}, {69, 39}, {80, 5}, {5, 2000}}) {
      for (const RvpiSize size : {RvpiSize{1, 1}, {34, 9}, {80, 50}, {3, 3}})
        checkTile(image, expected, s, offset, size, ++seed);
    }
    constexpr std::int32_t kLeast = std::numeric_limits<std::int32_t>::min(),
                           kMost = std::numeric_limits<std::int32_t>::max();
    checkTile(image, expected, s, {kLeast, 0}, {5, 5}, 1);
    checkTile(image, expected, s, {kMost, kMost}, {5, 5}, 1);
  }
}

TEST(FastN, TakesThresholdsAtTheirEnds) {
  Bytes image(7, 7, 255);
  image.at(3, 3) = 0;
  for (const float threshold : {0.0F, 254.9F, 255.0F, 1e30F, std::numeric_limits<float>::infinity()}) {
    const Settings s = {3, 16, 1, 36, threshold};
    const Result expected = reference(image, s);
    EXPECT_EQ(expected.count, threshold < 255 ? 1 : 0);
    checkTile(image, expected, s, {0, 0}, {7, 7}, 3);
  }
  const Settings flat = {3, 9, 1, 36, 0.0F};
  checkTile(Bytes(40, 9, 50), {Bytes(40, 9), Bytes(40, 9), 0}, flat, {0, 0}, {40, 9}, 1);
}

TEST(FastN, ReportsTheFirstOfTwoFaults) {
  std::vector<std::uint8_t> memory(8 * 16 + 68), p(4);
  int bytes = -7, count = -7;
  RvpiCornerFastN corner = {};
  auto* const spec = reinterpret_cast<RvpiFastNSpec*>(memory.data());
  const auto type = at<5>(rvpStatusBadDataType, rvp16u);
  const auto channels = at<6>(rvpStatusBadNumChannels, 3);
  const auto options = at<4>(rvpStatusBadArgument, 35, 39 | 8, 7);
  const auto bins = at<3>(rvpStatusOutOfRange, 65);
  const auto radius = at<1>(rvpStatusBadArgument, 4);
  const auto arc = at<2>(rvpStatusOutOfRange, 8);
  expectFirstOfTwo(
      rvpiFastNInit,
      {nulls<>, badSizes, at<8>(rvpStatusBadThreshold, -0.5F), type, channels, options, bins, radius, arc},
      {20, 20}, 3, 9, 4, 39, rvp8u, 1, spec, 1);
  expectFirstOfTwo(rvpiFastNGetSize, {nulls<>, badSizes, type, channels, options, bins, radius, arc}, {20, 20}, 3,
                   9, 4, 39, rvp8u, 1, &bytes);

  ASSERT_EQ(rvpiFastNInit({20, 20}, 3, 9, 4, 39, rvp8u, 1, spec, 1), rvpStatusOk);
  EXPECT_TRUE(memory[0] == 8 && memory[8] == 0x90 && memory[9] == 0x73 && memory[10] == 0x61 && memory[11] == 0x4B);
  const auto runBoth = [&] {
    const RvpStatus status =
        rvpiFastN_8u_C1R(p.data(), 1, p.data(), 1, nullptr, 1, &count, {0, 0}, {1, 1}, spec, p.data());
    EXPECT_EQ(rvpiFastN2DToVec_8u(p.data(), 1, nullptr, 1, &corner, {1, 1}, 1, &count, spec), status);
    return status;
  };
  // The same faults in a block: fields by their number.
  const std::vector<std::uint8_t> good = memory;
  const std::function inBlock = [&](int a1, int a2, int a5, int a6, int a7, int a8) {
    auto* fields = reinterpret_cast<std::int32_t*>(memory.data() + 8);
    fields[1] = a1, fields[2] = a2, fields[5] = a5, fields[6] = a6, fields[7] = a7, fields[8] = a8;
    const RvpStatus status = runBoth();
    memory = good;
    return status;
  };
  expectFirstOfTwo(inBlock,
                   {at<0>(rvpStatusBadDataType, rvp16u), at<1>(rvpStatusBadNumChannels, 3),
                    at<5>(rvpStatusBadArgument, 35, 39 | 8, 7), at<4>(rvpStatusOutOfRange, 65),
                    at<2>(rvpStatusBadArgument, 4), at<3>(rvpStatusOutOfRange, 8)},
                   rvp8u, 1, 3, 9, 4, 39);
  for (const std::size_t place : {8U, 0U}) {
    memory[place] = 200;
    EXPECT_EQ(runBoth(), rvpStatusBadSpec);
    memory = good;
  }
  // Scores are asked for last.
  EXPECT_EQ(runBoth(), rvpStatusNullPointer);
  expectFirstOfTwo(rvpiFastN_8u_C1R, {nulls<0, 2, 6, 9, 10>, badSizes, nulls<4>}, p.data(), 1, p.data(), 1,
                   p.data(), 1, &count, {0, 0}, {1, 1}, spec, p.data());
  expectFirstOfTwo(rvpiFastN2DToVec_8u, {nulls<0, 4, 7, 8>, badSizes, at<6>(rvpStatusBadSize, -1), nulls<2>},
                   p.data(), 1, p.data(), 1, &corner, {1, 1}, 1, &count, spec);
  EXPECT_EQ(count, -7);
}

FUZZ(fastn, input) {
  const auto& [radius, arc] = input.oneOf(kArcs);
  const Settings settings = {radius, arc, input.between(1, 64), input.oneOf({4, 36, 38, 37, 39, 5}),
                             static_cast<float>(input.between(0, 255))};
  const RvpiSize size = input.size();
  const Bytes image = input.flag() ? blobs(size.width, size.height, input.any<std::uint8_t>())
                                   : input.plane<std::uint8_t>(size.width, size.height);
  // The state serves images that can hold a circle.
  if (size.width <= 2 * radius || size.height <= 2 * radius) return;
  const RvpiPoint offset = {input.between(-9, 80), input.between(-9, 30)};
  checkTile(image, reference(image, settings), settings, offset, input.size(), input.any<std::uint8_t>());
}

}  // namespace
