// The watershed's queue road against queues of coordinates. The distance road against the levels that no update
// lowers: a pixel must have the label of a neighbour that offers it its level.
#include <gtest/gtest.h>

#include <cmath>
#include <deque>
#include <limits>

#include "rvpcv.h"
#include "support/compare.h"
#include "support/sweep.h"

namespace {

using namespace test;
using Place = std::pair<int, int>;  // y, x

constexpr Place kAround[] = {{0, -1}, {0, 1}, {-1, 0}, {1, 0}, {-1, -1}, {-1, 1}, {1, -1}, {1, 1}};
Place next(Place p, int i) { return {p.first + kAround[i].first, p.second + kAround[i].second}; }

template <class T>
bool isInside(const Plane<T>& plane, Place p) {
  return p.first >= 0 && p.first < plane.height && p.second >= 0 && p.second < plane.width;
}

int bufferSize(RvpiSize size, std::uint8_t, std::uint8_t) {
  int bytes = 0;
  EXPECT_EQ(rvpiSegmentWatershedGetBufferSize_8u_C1R(size, &bytes), rvpStatusOk);
  return bytes;
}
int bufferSize(RvpiSize size, std::uint8_t, std::uint16_t) {
  int bytes = 0;
  EXPECT_EQ(rvpiSegmentWatershedGetBufferSize_8u16u_C1R(size, &bytes), rvpStatusOk);
  return bytes;
}
int bufferSize(RvpiSize size, float, std::uint16_t) {
  int bytes = 0;
  EXPECT_EQ(rvpiSegmentWatershedGetBufferSize_32f16u_C1R(size, &bytes), rvpStatusOk);
  return bytes;
}

RvpStatus flood(const std::uint8_t* src, int srcStep, std::uint8_t* marker, int step, RvpiSize size, int kind,
                int flags, std::uint8_t* buffer) {
  return rvpiSegmentWatershed_8u_C1IR(src, srcStep, marker, step, size, kind, flags, buffer);
}
RvpStatus flood(const std::uint8_t* src, int srcStep, std::uint16_t* marker, int step, RvpiSize size, int kind,
                int flags, std::uint8_t* buffer) {
  return rvpiSegmentWatershed_8u16u_C1IR(src, srcStep, marker, step, size, kind, flags, buffer);
}
RvpStatus flood(const float* src, int srcStep, std::uint16_t* marker, int step, RvpiSize size, int kind, int flags,
                std::uint8_t* buffer) {
  return rvpiSegmentWatershed_32f16u_C1IR(src, srcStep, marker, step, size, kind, flags, buffer);
}

// Floods with guards around everything.
template <class Pixel, class Label>
Plane<Label> flooded(const Plane<Pixel>& pixels, const Plane<Label>& markers, int kind, int flags,
                     Placing placing = {}, int scratchShift = 0) {
  Guarded<Pixel> src(pixels, placing);
  Guarded<Label> marker(markers, placing);
  const int bytes = bufferSize(src.size(), Pixel{}, Label{});
  Guarded<std::uint8_t> scratch(Plane<std::uint8_t>(bytes, 1, 0x6B), {0, scratchShift});
  EXPECT_EQ(flood(src.data(), src.step(), marker.data(), marker.step(), src.size(), kind, flags, scratch.data()),
            rvpStatusOk);
  EXPECT_TRUE(marker.intact());
  EXPECT_TRUE(scratch.intact());
  return marker.content();
}

// Noise, steps, a plain, or a spiral valley between walls.
template <class Pixel>
Plane<Pixel> relief(int width, int height, unsigned seed, unsigned kind) {
  const Plane<std::uint8_t> noise = randomPlane<std::uint8_t>(width, height, seed);
  Plane<Pixel> src(width, height);
  for (int y = 0; y < height; ++y) {
    for (int x = 0; x < width; ++x) {
      const int ring = std::min(std::min(x, y), std::min(width - 1 - x, height - 1 - y));
      const bool isGap = y == ring + 1 && x == ring;
      const int spiral = (ring % 2 == 0) != isGap ? 3 : 255;
      const int random = noise.at(y, x);
      src.at(y, x) = static_cast<Pixel>(kind == 0 ? random : kind == 1 ? random % 3 * 100 : kind == 2 ? 7 : spiral);
    }
  }
  return src;
}

template <class Label>
Plane<Label> markersFor(int width, int height, unsigned seed, unsigned rarity) {
  const Plane<std::uint32_t> noise = randomPlane<std::uint32_t>(width, height, seed + 500);
  Plane<Label> markers(width, height);
  for (std::size_t i = 0; i < noise.elements.size(); ++i) {
    const std::uint32_t random = noise.elements[i] / 64;
    if (random % rarity == 0) markers.elements[i] = static_cast<Label>(1 + random / 512 % 9);
    if (random % (8 * rarity) == 0) markers.elements[i] = static_cast<Label>(-1);
  }
  return markers;
}

// ---- Queue road

template <class Label>
Plane<Label> expectedByQueue(const Plane<std::uint8_t>& src, Plane<Label> labels, int neighbours, int boundary) {
  const int wall = static_cast<Label>(-1);
  std::deque<Place> queues[256];
  const auto labelAt = [&](Place p) -> int { return isInside(labels, p) ? labels.at(p.first, p.second) : wall; };
  for (int y = 0; y < src.height; ++y) {
    for (int x = 0; x < src.width; ++x) {
      bool isShore = false;
      for (int i = 0; i < neighbours; ++i) isShore = isShore || labelAt(next({y, x}, i)) == 0;
      const int own = labelAt({y, x});
      if (own == 0 || !isShore) continue;
      queues[src.at(y, x)].emplace_back(y, x);
      for (int i = 0; i < boundary && own != wall; ++i) {
        const int other = labelAt(next({y, x}, i));
        if (other != 0 && other != wall && other != own) labels.at(y, x) = static_cast<Label>(wall);
      }
    }
  }
  for (int level = 0; level < 256; ++level) {
    while (!queues[level].empty()) {
      const Place p = queues[level].front();
      queues[level].pop_front();
      for (int i = 0; i < neighbours; ++i) {
        const Place q = next(p, i);
        if (labelAt(q) != 0) continue;
        int label = labelAt(p);
        for (int k = 0; k < boundary; ++k) {
          const int other = labelAt(next(q, k));
          if (other == 0 || other == wall || other == label) continue;
          const bool wasWall = label == wall;
          label = wasWall ? other : wall;
          if (!wasWall) break;
        }
        labels.at(q.first, q.second) = static_cast<Label>(label);
        queues[std::max<int>(src.at(q.first, q.second), level)].push_back(q);
      }
    }
  }
  return labels;
}

template <class Label>
void checkQueue(const Shape& shape) {
  for (const unsigned kind : {0U, 1U, 2U, 3U}) {
    const Plane<std::uint8_t> src = relief<std::uint8_t>(shape.width, shape.height, shape.seed, kind);
    const Plane<Label> markers =
        markersFor<Label>(shape.width, shape.height, shape.seed, 2 + 13 * (shape.seed % 3));
    for (const int neighbours : {rvpWatershed8, rvpWatershed4}) {
      for (const int flags : {1, 3 + 64, 1 + 128, 1 + 192 + 0x100}) {
        const int boundary = (flags & 64) != 0 ? 4 : (flags & 128) != 0 ? 8 : 0;
        ASSERT_TRUE(same(expectedByQueue(src, markers, neighbours == rvpWatershed4 ? 4 : 8, boundary),
                         flooded(src, markers, neighbours, flags, shape.placing, static_cast<int>(shape.seed % 9))))
            << "relief " << kind << ", kind " << neighbours << ", flags " << flags;
      }
    }
  }
}

TEST(Watershed, QueueFloodsInTheOrderOfLevels) {
  sweepSmall([](const Shape& shape) {
    checkQueue<std::uint8_t>(shape);
    checkQueue<std::uint16_t>(shape);
  });
  for (const unsigned seed : {1U, 2U, 3U}) {
    tryShape({1, 90, {}, 1, seed}, checkQueue<std::uint8_t>);
    tryShape({90, 1, {}, 1, seed}, checkQueue<std::uint16_t>);
    tryShape({61, 43, {3, 2}, 2, seed}, checkQueue<std::uint8_t>);
  }
  // Queues of larger blocks.
  tryShape({129, 71, {1, 2}, 1, 4}, checkQueue<std::uint8_t>);
  tryShape({4, 17000, {}, 1, 5}, checkQueue<std::uint16_t>);
}

TEST(Watershed, QueueSettlesTies) {
  const Plane<std::uint8_t> flat(5, 1, 4);
  Plane<std::uint8_t> markers(5, 1);
  markers.at(0, 0) = 1;
  markers.at(0, 4) = 2;
  const auto row = [&](int flags) { return flooded(flat, markers, rvpWatershed4, flags).elements; };
  EXPECT_EQ(row(1), (std::vector<std::uint8_t>{1, 1, 1, 2, 2}));
  EXPECT_EQ(row(1 + 64), (std::vector<std::uint8_t>{1, 1, 255, 2, 2}));
  EXPECT_EQ(row(2), (std::vector<std::uint8_t>{1, 1, 1, 2, 2}));
  EXPECT_EQ(row(2 + 64), (std::vector<std::uint8_t>{1, 1, 255, 2, 2}));
}

// ---- Distance road

// Levels in whole numbers beyond any that occur: a height and a cost.
struct Level {
  double height;
  std::int64_t cost;
  bool operator<(const Level& other) const {
    return height < other.height || (height == other.height && cost < other.cost);
  }
  bool operator==(const Level& other) const { return height == other.height && cost == other.cost; }
};
const Level kDry = {1e300, 0};

int steps(int kind) { return kind == rvpWatershed4 || kind == rvpWatershedFront ? 4 : 8; }

// What neighbour i offers to a pixel, for all kinds but the front of bytes.
Level offer(const Level& from, int kind, int i, std::uint8_t pixel) {
  const std::int64_t cost = kind == rvpWatershedChamfer ? (i < 4 ? 11 : 15) : 1;
  return {0, std::max<std::int64_t>(from.cost + cost, std::int64_t{pixel} << 23)};
}
Level offer(const Level& from, int kind, int i, float pixel) {
  const std::int64_t cost = kind == rvpWatershedChamfer ? (i < 4 ? 11 : 15) : kind == rvpWatershedFront ? 256 : 1;
  if (static_cast<double>(pixel) > from.height) return {static_cast<double>(pixel), 0};
  return {from.height, from.cost + cost};
}
Level markerLevel(std::uint8_t pixel) { return {0, std::int64_t{pixel} << 23}; }
Level markerLevel(float pixel) { return {static_cast<double>(pixel), 0}; }
bool isReached(const Level& level, std::uint8_t) { return level < Level{0, 0x7FC00000}; }
bool isReached(const Level& level, float) {
  return level.height <= static_cast<double>(std::numeric_limits<float>::max());
}

Level frontOffer(const Level& h, const Level& v, std::uint8_t pixel) {
  const std::int64_t a = std::min(h, v).cost;
  const double d = static_cast<double>(std::max(h, v).cost - a);
  const bool isAlone = std::max(h, v) == kDry || d > 63;
  const std::int64_t step = isAlone ? 64 : 64 - std::lround(64 - (d + std::sqrt(2 * 64.0 * 64.0 - d * d)) / 2);
  return {0, std::max<std::int64_t>(a + step, std::int64_t{pixel} << 23)};
}

template <class Pixel>
class Levels {
 public:
  template <class Label>
  Levels(const Plane<Pixel>& src, const Plane<Label>& markers, int kind)
      : src_(src), kind_(src.width == 1 ? int{rvpWatershed4} : kind), levels_(src.width, src.height, kDry) {
    const auto forAll = [&](const auto& body) {
      for (int y = 0; y < src.height; ++y) {
        for (int x = 0; x < src.width; ++x) body(Place{y, x});
      }
    };
    forAll([&](Place p) {
      if (markers.at(p.first, p.second) != 0) levels_.at(p.first, p.second) = markerLevel(pixel(p));
    });
    for (bool isChanged = true; isChanged;) {
      isChanged = false;
      forAll([&](Place p) {
        if (markers.at(p.first, p.second) != 0) return;
        for (int i = 0; i < steps(kind_); ++i) {
          const Level level = through(p, i);
          if (!isReached(level, pixel(p)) || !(level < at(p))) continue;
          levels_.at(p.first, p.second) = level;
          isChanged = true;
        }
      });
    }
  }

  Level at(Place p) const { return isInside(levels_, p) ? levels_.at(p.first, p.second) : kDry; }

  // The level that neighbour i offers, kDry if it has none to offer.
  Level through(Place p, int i) const {
    if (at(next(p, i)) == kDry) return kDry;
    if constexpr (std::is_same_v<Pixel, std::uint8_t>) {
      if (kind_ == rvpWatershedFront) {
        // Alone, or with a neighbour on the other axis: one that is reached no earlier, or so little earlier that
        // both drive the front. It may have been the later one when the pixel was reached.
        Level best = frontOffer(at(next(p, i)), kDry, pixel(p));
        for (const int k : {2 - i / 2 * 2, 3 - i / 2 * 2}) {
          if (!(at(next(p, k)) < at(next(p, i))) || at(next(p, i)).cost - at(next(p, k)).cost < 64)
            best = std::min(best, frontOffer(at(next(p, i)), at(next(p, k)), pixel(p)));
        }
        return best;
      }
    }
    return offer(at(next(p, i)), kind_, i, pixel(p));
  }

  template <class Label>
  testing::AssertionResult allow(const Plane<Label>& markers, const Plane<Label>& labels) const {
    for (int y = 0; y < src_.height; ++y) {
      for (int x = 0; x < src_.width; ++x) {
        const Place p = {y, x};
        const int label = labels.at(y, x);
        bool isRight = label == markers.at(y, x);
        if (markers.at(y, x) == 0 && !(at(p) == kDry)) {
          isRight = false;
          for (int i = 0; i < steps(kind_); ++i)
            isRight =
                isRight || (through(p, i) == at(p) && labels.at(next(p, i).first, next(p, i).second) == label);
        }
        if (!isRight) return testing::AssertionFailure() << "row " << y << ", column " << x << ": label " << label;
      }
    }
    return testing::AssertionSuccess();
  }

  // The boundary between labels, by levels.
  template <class Label>
  Plane<Label> bounded(Plane<Label> p, int neighbours) const {
    const auto wall = static_cast<Label>(-1);
    for (int y = 0; y < p.height; ++y) {
      for (int x = 0; x < p.width; ++x) {
        for (const int i : {0, 2, 4, 5}) {
          const Place q = next({y, x}, i);
          if (i >= neighbours || !isInside(p, q)) continue;
          Label& other = p.at(q.first, q.second);
          if (p.at(y, x) == wall || other == wall || other == p.at(y, x)) continue;
          (at({y, x}) < at(q) ? other : p.at(y, x)) = wall;
        }
      }
    }
    return p;
  }

 private:
  Pixel pixel(Place p) const { return src_.at(p.first, p.second); }

  const Plane<Pixel>& src_;
  int kind_;
  Plane<Level> levels_;
};

template <class Pixel, class Label>
void checkDistance(const Shape& shape) {
  for (const unsigned kind : {0U, 1U, 2U, 3U}) {
    const Plane<Pixel> src = relief<Pixel>(shape.width, shape.height, shape.seed, kind);
    const Plane<Label> markers =
        markersFor<Label>(shape.width, shape.height, shape.seed, 2 + 40 * (shape.seed % 3));
    for (const int neighbours : {rvpWatershed8, rvpWatershed4, rvpWatershedChamfer, rvpWatershedFront}) {
      SCOPED_TRACE("relief " + std::to_string(kind) + ", kind " + std::to_string(neighbours));
      const auto run = [&](int flags) {
        return flooded(src, markers, neighbours, flags, shape.placing, static_cast<int>(shape.seed % 9));
      };
      const Levels<Pixel> levels(src, markers, neighbours);
      const Plane<Label> labels = run(2);
      ASSERT_TRUE(levels.allow(markers, labels));
      ASSERT_TRUE(same(labels, run(2 + 256)));
      ASSERT_TRUE(same(levels.bounded(labels, 4), run(2 + 64)));
      ASSERT_TRUE(same(levels.bounded(labels, 8), run(2 + 128)));
      ASSERT_TRUE(same(levels.bounded(labels, std::is_same_v<Pixel, float> ? 8 : 4), run(2 + 192)));
    }
  }
}

TEST(Watershed, DistanceReachesTheLowestLevels) {
  sweepSmall([](const Shape& shape) {
    checkDistance<std::uint8_t, std::uint8_t>(shape);
    checkDistance<std::uint8_t, std::uint16_t>(shape);
    checkDistance<float, std::uint16_t>(shape);
  });
}

TEST(Watershed, DistanceReachesThemInBands) {
  for (const int threads : {1, 2, 3, 8}) {
    for (const auto& [width, height] : {std::pair{1, 300}, {300, 1}, {16, 16}, {40, 63}, {67, 64}}) {
      for (const unsigned seed : {1U, 2U}) {
        tryShape({width, height, {1, 1}, threads, seed}, checkDistance<std::uint8_t, std::uint8_t>);
        tryShape({width, height, {1, 1}, threads, seed}, checkDistance<std::uint8_t, std::uint16_t>);
      }
    }
    tryShape({67, 64, {1, 1}, threads, 4}, checkDistance<float, std::uint16_t>);
  }
}

// No pixel lies between two labels at the same level, so no number of threads may change a label: heights rise from
// every marker, and cells meet along a column.
TEST(Watershed, ThreadsDoNotChangeLabels) {
  Plane<std::uint8_t> src(200, 150);
  Plane<std::uint16_t> markers(200, 150);
  for (int y = 0; y < 150; ++y) {
    for (int x = 0; x < 200; ++x) src.at(y, x) = static_cast<std::uint8_t>(std::abs(x - 100) < 2 ? 250 : y);
  }
  markers.at(149, 0) = 1;
  markers.at(0, 199) = 2;
  Plane<std::uint16_t> alone;
  for (const int threads : {1, 2, 3, 8}) {
    ASSERT_EQ(rvpSetNumThreads(threads), rvpStatusOk);
    const Plane<std::uint16_t> labels = flooded(src, markers, rvpWatershedFront, 2);
    EXPECT_EQ(labels.at(0, 0), 1);
    EXPECT_EQ(labels.at(149, 199), 2);
    if (threads == 1) alone = labels;
    for (int y = 0; y < 150; ++y) {
      for (int x = 0; x < 200; ++x) {
        EXPECT_TRUE(std::abs(x - 100) <= 2 || labels.at(y, x) == alone.at(y, x)) << y << ", " << x;
      }
    }
  }
}

TEST(Watershed, LeavesWhatIsNotReached) {
  const Plane<std::uint8_t> none(30, 20);
  for (const int flags : {1, 2, 1 + 64, 2 + 128})
    EXPECT_TRUE(same(none, flooded(relief<std::uint8_t>(30, 20, 1, 0), none, 1, flags)));
  constexpr float kInfinity = std::numeric_limits<float>::infinity();
  constexpr float kNaN = std::numeric_limits<float>::quiet_NaN();
  Plane<float> src(7, 1);
  src.elements = {1, kNaN, std::numeric_limits<float>::max(), -kInfinity, kInfinity, 2, 3};
  Plane<std::uint16_t> markers(7, 1);
  markers.at(0, 0) = 5;
  EXPECT_EQ(flooded(src, markers, 0, 2).elements, (std::vector<std::uint16_t>{5, 5, 5, 5, 0, 0, 0}));
  src.at(0, 0) = kNaN;
  EXPECT_EQ(flooded(src, markers, 0, 2).elements, (std::vector<std::uint16_t>{5, 0, 0, 0, 0, 0, 0}));
}

// A way along the highest plain ends where its cost leaves the range.
TEST(Watershed, EndsWhereTheCostLeavesTheRange) {
  const int width = 70000;
  const Plane<std::uint8_t> plain(width, 1, 255);
  Plane<std::uint8_t> markers(width, 1);
  markers.at(0, 0) = 3;
  const Plane<std::uint8_t> labels = flooded(plain, markers, rvpWatershedFront, 2);
  EXPECT_EQ(labels.at(0, (1 << 16) - 1), 3);
  EXPECT_EQ(labels.at(0, 1 << 16), 0);
}

template <class Pixel, class Label>
void checkMemory() {
  for (const Cliff cliff : {Cliff::before, Cliff::behind}) {
    for (const auto& [width, height] : {std::pair{1, 1}, {1, 200}, {200, 1}, {4, 1}, {2, 9}, {33, 70}, {64, 70}}) {
      for (const int flags : {1 + 64, 2, 2 + 128}) {
        if (std::is_same_v<Pixel, float> && flags % 2 == 1) continue;
        for (const int kind : {0, 1}) {
          OnCliff<Pixel> src(relief<Pixel>(width, height, 1, 0), cliff);
          OnCliff<Label> marker(markersFor<Label>(width, height, 1, 20), cliff);
          OnCliff<std::uint8_t> scratch(Plane<std::uint8_t>(bufferSize(src.size(), Pixel{}, Label{}), 1, 0xFF),
                                        cliff);
          ASSERT_EQ(
              flood(src.data(), src.step(), marker.data(), marker.step(), src.size(), kind, flags, scratch.data()),
              rvpStatusOk);
        }
      }
    }
  }
}

TEST(Watershed, StaysWithinItsMemory) {
  ASSERT_EQ(rvpSetNumThreads(8), rvpStatusOk);
  checkMemory<std::uint8_t, std::uint8_t>();
  checkMemory<std::uint8_t, std::uint16_t>();
  checkMemory<float, std::uint16_t>();
}

TEST(Watershed, ChecksInOrder) {
  alignas(8) std::uint8_t src[64] = {};
  std::uint16_t marker[16] = {5};
  std::uint8_t scratch[2000];
  auto* bytes = reinterpret_cast<std::uint8_t*>(marker);
  const auto* floats = reinterpret_cast<const float*>(src);
  const auto* none = static_cast<const std::uint8_t*>(nullptr);
  EXPECT_EQ(flood(none, 0, bytes, 0, {0, 0}, 9, 0, scratch), rvpStatusNullPointer);
  EXPECT_EQ(flood(src, 0, static_cast<std::uint8_t*>(nullptr), 0, {0, 0}, 9, 0, scratch), rvpStatusNullPointer);
  EXPECT_EQ(flood(src, 0, bytes, 0, {0, 0}, 9, 0, nullptr), rvpStatusNullPointer);
  EXPECT_EQ(flood(src, 0, bytes, 0, {0, 1}, 9, 0, scratch), rvpStatusBadSize);
  EXPECT_EQ(flood(src, 0, bytes, 0, {1, 0}, 9, 0, scratch), rvpStatusBadSize);
  EXPECT_EQ(flood(src, 3, marker, 9, {4, 1}, 9, 0, scratch), rvpStatusBadStep);
  EXPECT_EQ(flood(src, 4, marker, 7, {4, 1}, 9, 0, scratch), rvpStatusBadStep);
  EXPECT_EQ(flood(src, 4, marker, 9, {4, 1}, 9, 0, scratch), rvpStatusStepNotMultiple);
  for (const auto& [kind, flags] : {std::pair{1, 0}, {1, 64}, {2, 1}, {2, 3}, {-1, 1}, {4, 2}, {-1, 2}})
    EXPECT_EQ(flood(src, 4, marker, 8, {4, 1}, kind, flags, scratch), rvpStatusBadArgument) << kind << " " << flags;
  EXPECT_EQ(flood(floats, 17, marker, 9, {4, 1}, 9, 3, scratch), rvpStatusStepNotMultiple);
  EXPECT_EQ(flood(floats, 15, marker, 9, {4, 1}, 9, 3, scratch), rvpStatusBadStep);
  EXPECT_EQ(flood(floats, 17, marker, 8, {4, 1}, 9, 3, scratch), rvpStatusNotSupported);
  EXPECT_EQ(flood(floats, 17, marker, 8, {4, 1}, 9, 64, scratch), rvpStatusBadArgument);
  EXPECT_EQ(flood(floats, 17, marker, 8, {4, 1}, 4, 2, scratch), rvpStatusBadArgument);
  EXPECT_EQ(flood(floats, 17, marker, 8, {4, 1}, 3, 2, scratch), rvpStatusStepNotMultiple);
  EXPECT_EQ(marker[1], 0);
}

TEST(Watershed, TellsItsMemory) {
  const auto bytes = [](int w, int h) { return bufferSize({w, h}, std::uint8_t{}, std::uint8_t{}); };
  const auto words = [](int w, int h) { return bufferSize({w, h}, std::uint8_t{}, std::uint16_t{}); };
  EXPECT_EQ(bytes(1, 1), 2 * 32 * 2 + 4 * 32 + 1 + 66);
  EXPECT_EQ(bytes(100, 10), 16 * 1000 + 102 * 12 + 48);
  EXPECT_EQ(words(17, 1), 2 * 64 * 2 + 4 * 64 + 1 + 66);
  EXPECT_EQ(words(100, 10), 16 * 1000 + 2 * 102 * 12 + 48);
  EXPECT_EQ(bufferSize({5, 3}, 0.0f, std::uint16_t{}), 3 + 9 * 3 * 8 + 66);
  int size = -1;
  EXPECT_EQ(rvpiSegmentWatershedGetBufferSize_8u_C1R({0, 0}, nullptr), rvpStatusNullPointer);
  EXPECT_EQ(rvpiSegmentWatershedGetBufferSize_8u16u_C1R({1, 0}, &size), rvpStatusBadSize);
  EXPECT_EQ(rvpiSegmentWatershedGetBufferSize_32f16u_C1R({0, 1}, &size), rvpStatusBadSize);
  EXPECT_EQ(size, -1);
}

}  // namespace
