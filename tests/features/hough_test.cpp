// Hough lines and segments against transforms that keep the whole grid.
#include "support/test.h"

namespace {

using namespace test;

using Bytes = Plane<std::uint8_t>;
using Lines = std::vector<RvpiPointPolar>;

struct Grid {
  Grid(RvpiSize size, RvpiPointPolar steps)
      : delta(steps),
        angles(static_cast<int>(3.14159 / static_cast<double>(steps.theta)) + 1),
        rhos(static_cast<int>(static_cast<float>(2 * (size.width + size.height) + 1) / steps.rho)),
        o((rhos - 1) / 2) {
    float theta = 0;
    for (int i = 0; i < angles; ++i, theta += delta.theta) thetas.push_back(static_cast<double>(theta));
  }
  RvpiPointPolar delta;
  int angles, rhos, o;
  std::vector<double> thetas;
};

// A few straight lines and some noise.
Bytes drawing(int width, int height, unsigned seed) {
  const Bytes bits = randomPlane<std::uint8_t>(width, height, seed);
  return planeOf<std::uint8_t>(width, height, [&](int y, int x) {
    const bool line =
        y == height / 3 || x == width / 2 || x + y == width / 2 || (2 * y - x == 3 && bits.at(y, x) < 200);
    return line || bits.at(y, x) < 10 ? 1 + bits.at(y, x) % 255 : 0;
  });
}

// `limits` null for the plain form.
Lines findAll(const Bytes& image, const Grid& grid, int threshold, const RvpiPointPolar* limits) {
  std::map<std::pair<int, int>, int> cells;
  const double scale = 1024.0 * static_cast<double>(1.0F / grid.delta.rho);
  const auto limit = [&](int k) { return std::trunc(limits[k].rho / grid.delta.rho + static_cast<float>(grid.o)); };
  for (int i = 0; i < grid.angles; ++i) {
    const float theta = static_cast<float>(i) * grid.delta.theta;
    if (limits != nullptr && (theta < limits[0].theta || theta > limits[1].theta)) continue;
    const auto cosine = static_cast<std::int64_t>(std::cos(grid.thetas[static_cast<std::size_t>(i)]) * scale);
    const auto sine = static_cast<std::int64_t>(std::sin(grid.thetas[static_cast<std::size_t>(i)]) * scale);
    forElements(image, [&](int y, int x) {
      if (image.at(y, x) == 0) return;
      const std::int64_t r = ((cosine * x + sine * y + 512) >> 10) + grid.o;
      if (r < 0 || r >= grid.rhos) return;
      if (limits != nullptr && (static_cast<float>(r) < limit(0) || static_cast<float>(r) > limit(1))) return;
      ++cells[{i, static_cast<int>(r)}];
    });
  }
  const auto at = [&](int i, int r) { return cells.contains({i, r}) ? cells.at({i, r}) : 0; };
  std::vector<std::pair<int, std::pair<int, int>>> peaks;
  for (const auto& [place, votes] : cells) {
    const auto [i, r] = place;
    if (votes > std::max({threshold, at(i, r - 1), at(i - 1, r)}) && votes >= std::max(at(i, r + 1), at(i + 1, r)))
      peaks.push_back({-votes, place});
  }
  std::sort(peaks.begin(), peaks.end());
  Lines lines;
  for (const auto& [votes, place] : peaks)
    lines.push_back({static_cast<float>(place.second - grid.o) * grid.delta.rho,
                     static_cast<float>(place.first) * grid.delta.theta});
  return lines;
}

int lineBytes(RvpiSize size, RvpiPointPolar delta, int most) {
  return bytesOf(rvpiHoughLineGetSize_8u_C1R, size, delta, most);
}

// The first `count` of a list are what is expected, to the bit.
template <class T>
testing::AssertionResult beginsWith(Guarded<T>& list, const std::vector<T>& expected, int count) {
  const std::size_t bytes = sizeof(T) * static_cast<std::size_t>(count);
  if (count > 0 && std::memcmp(list.data(), expected.data(), bytes) != 0)
    return testing::AssertionFailure() << "the lists differ";
  addToDigest(list.data(), bytes);
  return testing::AssertionSuccess();
}

void checkLinesOf(Guarded<std::uint8_t>& src, const Bytes& image, RvpiPointPolar delta, int threshold,
                  unsigned seed) {
  const Grid grid({image.width, image.height}, delta);
  const RvpiPointPolar limits[] = {{-static_cast<float>(image.width) / 3, 0.3F},
                                   {static_cast<float>(image.height), 2.5F}};
  for (const RvpiPointPolar* region : {static_cast<const RvpiPointPolar*>(nullptr), &limits[0]}) {
    const Lines all = findAll(image, grid, threshold, region);
    const int found = static_cast<int>(all.size());
    for (const int most : {found + 1, std::max(found, 1), std::max(found / 2, 1)}) {
      const int bytes = lineBytes(src.size(), delta, most);
      ASSERT_EQ(bytes, image.height * (4 * image.width + 64) + 16 * most + 8 * grid.angles + 16 * grid.rhos + 288);
      Block scratch(bytes, {0, static_cast<int>(seed % 7)});
      Guarded<RvpiPointPolar> lines(Plane<RvpiPointPolar>(most, 1));
      RvpiPointPolar roi[] = {limits[0], limits[1]};
      int count = -1;
      const RvpStatus status = region == nullptr ? call(rvpiHoughLine_8u32f_C1R, src, src.size(), delta, threshold,
                                                        lines.data(), most, &count, scratch)
                                                 : call(rvpiHoughLine_Region_8u32f_C1R, src, src.size(),
                                                        lines.data(), roi, most, &count, delta, threshold, scratch);
      ASSERT_EQ(status, rvpStatusOk);
      ASSERT_EQ(count, std::min(found, most));
      ASSERT_TRUE(beginsWith(lines, all, count))
          << "most " << most << " of " << found << ", region " << (region != nullptr);
    }
  }
}

void checkLines(const Bytes& image, RvpiPointPolar delta, int threshold, unsigned seed) {
  OnCliff<std::uint8_t> src(image, seed % 2 == 0 ? Cliff::before : Cliff::behind);
  checkLinesOf(src, image, delta, threshold, seed);
}

TEST(HoughLine, AgreesWithTheWholeGridAtEveryWidth) {
  sweepSmall([](const Shape& shape) {
    checkLines(drawing(shape.width, shape.height + 11, shape.seed), {1.0F, 0.05F}, 2, shape.seed);
  });
}

TEST(HoughLine, TakesCoarseAndFineSteps) {
  unsigned seed = 0;
  constexpr RvpiPointPolar kSteps[] = {{0.25F, 0.01F}, {0.03F, 0.07F},   {1e-3F, 0.3F}, {7.5F, 1.0F},
                                       {64.0F, 0.5F},  {1.0F, 3.14159F}, {2.0F, 1e-4F}};
  for (const RvpiPointPolar delta : kSteps) {
    ++seed;
    for (const int threshold : {1, 4, 1000}) checkLines(drawing(43, 21, seed), delta, threshold, seed);
  }
  // Coordinates beyond 16 bits.
  Bytes wide(40000, 2), tall(2, 40000);
  for (int i = 0; i < 40000; i += 97) wide.at(i & 1, i) = tall.at(i, i & 1) = 3;
  checkLines(wide, {1.0F, 0.4F}, 3, 5);
  Guarded<std::uint8_t> src(tall);
  checkLinesOf(src, tall, {3.0F, 0.4F}, 3, 6);
}

TEST(HoughLine, FindsNothingInNothingAndStandsEverything) {
  checkLines(Bytes(30, 20), {1.0F, 0.1F}, 1, 1);
  checkLines(Bytes(30, 20, 255), {1.0F, 0.02F}, 3, 2);
  checkLines(Bytes(1, 1, 255), {1.0F, 0.02F}, 1, 3);
  // Far more angles than sines.
  const std::uint8_t pixel[] = {255, 255, 255, 255};
  RvpiPointPolar line = {};
  int count = -1;
  std::vector<std::uint8_t> scratch(static_cast<std::size_t>(lineBytes({2, 2}, {1.0F, 1e-5F}, 1)));
  EXPECT_EQ(rvpiHoughLine_8u32f_C1R(pixel, 2, {2, 2}, {1.0F, 1e-5F}, 1, &line, 1, &count, scratch.data()),
            rvpStatusOk);
  EXPECT_EQ(count, 1);
  // No memory would do.
  for (const RvpiPointPolar delta :
       {RvpiPointPolar{1.0F, 1e-38F}, {1e-38F, 1.0F}, {1e-45F, 1e-45F}, {1.0F, 1e-9F}}) {
    int bytes = 0;
    EXPECT_EQ(rvpiHoughLineGetSize_8u_C1R({2, 2}, delta, 1, &bytes), rvpStatusBufferSizeOverflow);
    EXPECT_EQ(rvpiHoughLine_8u32f_C1R(pixel, 2, {2, 2}, delta, 1, &line, 1, &count, scratch.data()),
              rvpStatusBadArgument);
  }
  RvpiPointPolar steps = {1.0F, 4.0F};
  int bytes = 0;
  EXPECT_EQ(rvpiHoughLineGetSize_8u_C1R({2, 2}, steps, 1, &bytes), rvpStatusOk);
  EXPECT_EQ(rvpiHoughLine_8u32f_C1R(pixel, 2, {2, 2}, steps, 1, &line, 1, &count, scratch.data()),
            rvpStatusBadArgument);
  EXPECT_EQ(rvpiHoughLineGetSize_8u_C1R({30000, 30000}, {1, 1}, 1, &bytes), rvpStatusBufferSizeOverflow);
}

TEST(HoughLine, ClampsTheCallersLimits) {
  const Bytes image = drawing(20, 20, 3);
  std::vector<std::uint8_t> scratch(static_cast<std::size_t>(lineBytes({20, 20}, {1, 0.1F}, 4)));
  RvpiPointPolar lines[4] = {}, roi[] = {{-100, -1}, {1e30F, 9}};
  int count = -1;
  const auto call = [&] {
    return rvpiHoughLine_Region_8u32f_C1R(image.row(0), 20, {20, 20}, lines, roi, 4, &count, {1, 0.1F}, 1,
                                          scratch.data());
  };
  EXPECT_EQ(call(), rvpStatusOk);
  EXPECT_TRUE(count == 4 && roi[0].theta == 0 && roi[1].theta == 3.14159F && roi[0].rho == -100);
  for (const RvpiPointPolar low : {RvpiPointPolar{1.5F, 0}, {0, 2}}) {
    roi[0] = low, roi[1] = {1, 1}, count = -1;
    EXPECT_EQ(call(), rvpStatusBadRange);
    EXPECT_EQ(count, 0);
  }
  const float nan = std::numeric_limits<float>::quiet_NaN();
  for (const RvpiPointPolar low : {RvpiPointPolar{nan, 0}, {0, nan}}) {
    roi[0] = low, roi[1] = {1, 1}, count = -1;
    EXPECT_EQ(call(), rvpStatusOk);
    EXPECT_EQ(count, 0);
  }
}

struct SegmentSettings {
  int threshold, length, gap, most;
};

// The segments by the whole grid of counts, with a scale of 1 over the step of rho.
std::pair<RvpStatus, std::vector<RvpiSegment>> segments(const Bytes& image, const Grid& grid, SegmentSettings s) {
  std::vector<std::pair<float, float>> directions;
  const auto scale = static_cast<double>(1.0F / grid.delta.rho);
  for (const double theta : grid.thetas)
    directions.emplace_back(static_cast<float>(std::cos(theta) * scale),
                            static_cast<float>(std::sin(theta) * scale));
  Plane<int> votes(grid.rhos, grid.angles);
  Bytes mask(image.width, image.height);
  std::vector<RvpiPoint> list;
  forElements(image, [&](int y, int x) {
    if (image.at(y, x) == 0) return;
    mask.at(y, x) = 1;
    list.push_back({x, y});
  });
  const auto add = [&](RvpiPoint p, int value, int& most) {
    int best = -1;
    for (int i = 0; i < grid.angles; ++i) {
      const auto [c, sn] = directions[static_cast<std::size_t>(i)];
      const float cx = c * static_cast<float>(p.x), sy = sn * static_cast<float>(p.y);
      const int r = static_cast<int>(cx + sy) + grid.o;
      if (r < 0 || r >= grid.rhos) continue;
      votes.at(i, r) += value;
      if (votes.at(i, r) > most) most = votes.at(i, r), best = i;
    }
    return best;
  };
  std::vector<RvpiSegment> found;
  std::uint64_t state = ~std::uint64_t{0};
  while (!list.empty()) {
    state = (state >> 32) + (state & 0xFFFFFFFFU) * 0xF83F630AULL;
    const std::size_t index = static_cast<std::uint32_t>(state) % list.size();
    const RvpiPoint p = list[index];
    list[index] = list.back();
    list.pop_back();
    if (mask.at(p.y, p.x) == 0) continue;
    int most = s.threshold - 1;
    const int angle = add(p, 1, most);
    if (angle < 0) continue;
    const float c = directions[static_cast<std::size_t>(angle)].first;
    const float sn = directions[static_cast<std::size_t>(angle)].second;
    RvpiPoint ends[2] = {p, p};
    // The pixels of one side, up to the edge.
    const auto side = [&](int k) {
      const bool across = std::fabs(sn) > std::fabs(c);
      const int step =
          across ? static_cast<int>(c * 65536 / std::fabs(sn)) : static_cast<int>(-sn * 65536 / std::fabs(c));
      const int unit = across ? (0 < -sn ? 1 : -1) : (0 < c ? 1 : -1);
      std::vector<RvpiPoint> pixels;
      for (int n = 0;; ++n) {
        const int main = (across ? p.x : p.y) + (k == 0 ? n : -n) * unit;
        const int other = (((across ? p.y : p.x) << 16) + 32768 + (k == 0 ? n : -n) * step) >> 16;
        const RvpiPoint q = across ? RvpiPoint{main, other} : RvpiPoint{other, main};
        if (q.x < 0 || q.y < 0 || q.x >= image.width || q.y >= image.height) return pixels;
        pixels.push_back(q);
      }
    };
    for (const int k : {0, 1}) {
      int gap = 0;
      for (const RvpiPoint q : side(k)) {
        if (mask.at(q.y, q.x) != 0) {
          gap = 0;
          ends[k] = q;
        } else if (++gap > s.gap) {
          break;
        }
      }
    }
    const bool good = std::abs(ends[1].x - ends[0].x) >= s.length || std::abs(ends[1].y - ends[0].y) >= s.length;
    for (const int k : {0, 1}) {
      for (const RvpiPoint q : side(k)) {
        int unused = std::numeric_limits<int>::max();
        if (good && mask.at(q.y, q.x) != 0) add(q, -1, unused);
        mask.at(q.y, q.x) = 0;
        if (q.x == ends[k].x && q.y == ends[k].y) break;
      }
    }
    if (!good) continue;
    if (static_cast<int>(found.size()) >= s.most) return {rvpStatusTooManyLines, found};
    found.push_back({ends[0].x, ends[0].y, ends[1].x, ends[1].y});
  }
  return {rvpStatusOk, found};
}

void checkSegments(const Bytes& image, RvpiPointPolar delta, SegmentSettings s, unsigned seed) {
  const Grid grid({image.width, image.height}, delta);
  const auto [expected, all] = segments(image, grid, s);
  OnCliff<std::uint8_t> src(image, seed % 2 == 0 ? Cliff::before : Cliff::behind);
  int specBytes = 0, bytes = 0;
  ASSERT_EQ(rvpiHoughProbLineGetSize_8u_C1R(src.size(), delta, &specBytes, &bytes), rvpStatusOk);
  ASSERT_EQ(specBytes, 8 * grid.angles + 16);
  ASSERT_EQ(bytes, 9 * image.width * image.height + 4 * grid.rhos * grid.angles);
  Block memory(specBytes, {0, static_cast<int>(seed % 5)}), scratch(bytes, {0, static_cast<int>(seed % 7)});
  auto* spec = memory.as<RvpiHoughProbSpec>();
  ASSERT_EQ(rvpiHoughProbLineInit_8u32f_C1R(src.size(), delta, 7, spec), rvpStatusOk);
  Guarded<RvpiSegment> lines(Plane<RvpiSegment>(std::max(s.most, 1), 1));
  int count = -1;
  ASSERT_EQ(call(rvpiHoughProbLine_8u32f_C1R, src, src.size(), s.threshold, s.length, s.gap, lines.data(), s.most,
                 &count, scratch, spec),
            expected);
  ASSERT_EQ(count, static_cast<int>(all.size()));
  ASSERT_TRUE(beginsWith(lines, all, count));
}

TEST(HoughSegments, AgreeWithTheWholeGrid) {
  sweepSmall([](const Shape& shape) {
    const Bytes image = drawing(shape.width, shape.height + 14, shape.seed);
    checkSegments(image, {1.0F, 0.03F}, {4, 3, static_cast<int>(shape.seed % 4), 50}, shape.seed);
    checkSegments(image, {1.0F, 0.1F}, {2, 0, 30, 1 + static_cast<int>(shape.seed % 3)}, shape.seed);
  });
  for (const RvpiPointPolar delta :
       {RvpiPointPolar{0.1F, 0.01F}, {30.0F, 0.2F}, {1e4F, 0.2F}, {1e38F, 0.2F}, {1.0F, 9.0F}})
    checkSegments(drawing(50, 40, 3), delta, {5, 6, 2, 100}, 3);
  checkSegments(Bytes(60, 40, 255), {1.0F, 0.0174533F}, {10, 5, 1, 1000}, 2);
  checkSegments(Bytes(60, 40, 255), {1.0F, 0.0174533F}, {1, 0, 0, 0}, 2);
  checkSegments(Bytes(60, 40), {1.0F, 0.1F}, {1, 0, 0, 3}, 2);
  checkSegments(Bytes(1, 1, 1), {1.0F, 0.1F}, {1, 0, 0, 3}, 2);
}

TEST(Hough, ReportsTheFirstOfTwoFaults) {
  const std::uint8_t pixels[16] = {1};
  RvpiPointPolar line = {-7, 0}, limits[2] = {{0, 0}, {1, 1}};
  RvpiSegment segment = {-7, 0, 0, 0};
  int count = -7, bytes = -7;
  alignas(8) std::uint8_t memory[4096] = {};
  const RvpiSize size = {4, 4};
  const RvpiPointPolar delta = {1, 0.5F}, badRho = {8.01F, 0.5F}, badTheta = {1, 3.15F};
  expectFirstOfTwo(rvpiHoughLine_8u32f_C1R,
                   {nulls<>, at<1>(rvpStatusBadStep, 0), badSizes, at<6>(rvpStatusBadSize, 0),
                    at<3>(rvpStatusBadArgument, badRho, badTheta), at<4>(rvpStatusBadArgument, 0)},
                   pixels, 4, size, delta, 1, &line, 1, &count, memory);
  expectFirstOfTwo(rvpiHoughLine_Region_8u32f_C1R,
                   {nulls<>, at<1>(rvpStatusBadStep, 0), badSizes, at<5>(rvpStatusBadSize, 0),
                    at<7>(rvpStatusBadArgument, badRho, badTheta), at<8>(rvpStatusBadArgument, 0)},
                   pixels, 4, size, &line, limits, 1, &count, delta, 1, memory);
  // A block of zeros, and a region that no memory would do for.
  auto* const spec = reinterpret_cast<RvpiHoughProbSpec*>(memory + 2048);
  const auto find = [&](RvpiSize roi) {
    return rvpiHoughProbLine_8u32f_C1R(pixels, 4, roi, 1, 1, 1, &segment, 1, &count, memory, spec);
  };
  EXPECT_EQ(find(size), rvpStatusBadArgument);
  ASSERT_EQ(rvpiHoughProbLineInit_8u32f_C1R(size, delta, 0, spec), rvpStatusOk);
  EXPECT_EQ(find({40000, 40000}), rvpStatusBadArgument);
  expectFirstOfTwo(rvpiHoughProbLine_8u32f_C1R,
                   {nulls<0, 6, 8, 9>, badSizes, at<3>(rvpStatusBadArgument, 0), at<4>(rvpStatusBadArgument, -1),
                    at<5>(rvpStatusBadArgument, -1)},
                   pixels, 4, size, 1, 1, 1, &segment, 1, &count, memory, spec);
  const auto badSteps = at<1>(rvpStatusBadArgument, RvpiPointPolar{0, 0.5F}, RvpiPointPolar{1, -1});
  expectFirstOfTwo(rvpiHoughProbLineInit_8u32f_C1R, {badSizes, badSteps, nulls<>}, size, delta, 0, spec);
  expectFirstOfTwo(rvpiHoughLineGetSize_8u_C1R, {nulls<>, badSizes, badSteps}, size, delta, 1, &bytes);
  expectFirstOfTwo(rvpiHoughProbLineGetSize_8u_C1R, {nulls<>, badSizes, badSteps}, size, delta, &bytes, &bytes);
  EXPECT_EQ(rvpiHoughProbLineInit_8u32f_C1R(size, {1, 1e-30F}, 0, spec), rvpStatusBadArgument);
  EXPECT_TRUE(line.rho == -7 && segment.x0 == -7 && count == -7 && bytes == -7);
}

FUZZ(hough, input) {
  const RvpiSize size = input.size();
  const unsigned seed = input.any<std::uint8_t>();
  const Bytes image =
      input.flag() ? drawing(size.width, size.height, seed) : input.plane<std::uint8_t>(size.width, size.height);
  // A step beyond the image is refused.
  const int mostSteps = std::min(400, 50 * (size.width + size.height));
  const RvpiPointPolar delta = {static_cast<float>(input.between(1, mostSteps)) / 50,
                                static_cast<float>(input.between(1, 100)) / 50};
  const int threshold = input.between(1, 30);
  if (input.flag()) {
    checkLines(image, delta, threshold, seed);
  } else {
    checkSegments(image, delta, {threshold, input.between(0, 40), input.between(0, 20), input.between(0, 40)},
                  seed);
  }
}

}  // namespace
