// The watershed's queue road against queues of coordinates. The distance road against the levels that no update
// lowers: a pixel must have the label of a neighbour that offers it its level.
#include "support/test.h"

namespace {

using namespace test;

// The functions by the types of pixels and labels.
template <class Pixel, class Label>
struct Form;
#define RVP_FORM(PIXEL, LABEL, TYPES)                                               \
  template <>                                                                       \
  struct Form<PIXEL, LABEL> {                                                       \
    static constexpr auto kBytes = rvpiSegmentWatershedGetBufferSize_##TYPES##_C1R; \
    static constexpr auto kFlood = rvpiSegmentWatershed_##TYPES##_C1IR;             \
  };
RVP_FORM(std::uint8_t, std::uint8_t, 8u)
RVP_FORM(std::uint8_t, std::uint16_t, 8u16u)
RVP_FORM(float, std::uint16_t, 32f16u)

template <class Pixel, class Label>
Plane<Label> flooded(const Plane<Pixel>& pixels, const Plane<Label>& markers, int kind, int flags,
                     const Shape& shape = {}) {
  Guarded<Pixel> src(pixels, shape.placing);
  Guarded<Label> marker(markers, shape.placing);
  Block scratch(bytesOf(Form<Pixel, Label>::kBytes, src.size()), shape.anywhere());
  EXPECT_EQ(call(Form<Pixel, Label>::kFlood, src, marker, src.size(), kind, flags, scratch), rvpStatusOk);
  return marker.content();
}

// Noise, steps, a plain, or a spiral valley between walls.
template <class Pixel>
Plane<Pixel> relief(int width, int height, unsigned seed, unsigned kind) {
  const Plane<std::uint8_t> noise = randomPlane<std::uint8_t>(width, height, seed);
  return planeOf<Pixel>(width, height, [&](int y, int x) {
    const int ring = std::min(std::min(x, y), std::min(width - 1 - x, height - 1 - y));
    const bool isGap = y == ring + 1 && x == ring;
    const int spiral = (ring % 2 == 0) != isGap ? 3 : 255;
    const int random = noise.at(y, x);
    return kind == 0 ? random : kind == 1 ? random % 3 * 100 : kind == 2 ? 7 : spiral;
  });
}

template <class Label>
Plane<Label> markersFor(int width, int height, unsigned seed, unsigned rarity) {
  return changed<Label>(randomPlane<std::uint32_t>(width, height, seed + 500), [=](std::uint32_t noise) {
    const std::uint32_t random = noise / 64;
    return random % (8 * rarity) == 0 ? ~0U : random % rarity == 0 ? 1 + random / 512 % 9 : 0;
  });
}

// ---- Queue road

template <class Label>
Plane<Label> expectedByQueue(const Plane<std::uint8_t>& src, Plane<Label> labels, int neighbours, int boundary) {
  const int wall = static_cast<Label>(-1);
  std::deque<Place> queues[256];
  const auto labelAt = [&](Place p) -> int { return labels.holds(p.y, p.x) ? labels.at(p.y, p.x) : wall; };
  forElements(src, [&](int y, int x) {
    bool isShore = false;
    for (int i = 0; i < neighbours; ++i) isShore = isShore || labelAt(next({y, x}, i)) == 0;
    const int own = labelAt({y, x});
    if (own == 0 || !isShore) return;
    queues[src.at(y, x)].push_back({y, x});
    for (int i = 0; i < boundary && own != wall; ++i) {
      const int other = labelAt(next({y, x}, i));
      if (other != 0 && other != wall && other != own) labels.at(y, x) = static_cast<Label>(wall);
    }
  });
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
        labels.at(q.y, q.x) = static_cast<Label>(label);
        queues[std::max<int>(src.at(q.y, q.x), level)].push_back(q);
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
                         flooded(src, markers, neighbours, flags, shape)))
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
    forElements(src, [&](int y, int x) {
      if (markers.at(y, x) != 0) levels_.at(y, x) = markerLevel(src.at(y, x));
    });
    for (bool isChanged = true; isChanged;) {
      isChanged = false;
      forElements(src, [&](int y, int x) {
        for (int i = 0; i < steps(kind_) && markers.at(y, x) == 0; ++i) {
          const Level level = through({y, x}, i);
          if (!isReached(level, src.at(y, x)) || !(level < at({y, x}))) continue;
          levels_.at(y, x) = level;
          isChanged = true;
        }
      });
    }
  }

  Level at(Place p) const { return levels_.holds(p.y, p.x) ? levels_.at(p.y, p.x) : kDry; }

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
    std::string wrong;
    forElements(src_, [&](int y, int x) {
      const Place p = {y, x};
      const int label = labels.at(y, x);
      bool isRight = label == markers.at(y, x);
      if (markers.at(y, x) == 0 && !(at(p) == kDry)) {
        isRight = false;
        for (int i = 0; i < steps(kind_); ++i)
          isRight = isRight || (through(p, i) == at(p) && labels.at(next(p, i).y, next(p, i).x) == label);
      }
      if (!isRight) wrong += words("row", y, "column", x, "label", label);
    });
    if (!wrong.empty()) return testing::AssertionFailure() << wrong;
    return testing::AssertionSuccess();
  }

  // The boundary between labels, by levels.
  template <class Label>
  Plane<Label> bounded(Plane<Label> p, int neighbours) const {
    const auto wall = static_cast<Label>(-1);
    forElements(p, [&](int y, int x) {
      for (const int i : {0, 2, 4, 5}) {
        const Place q = next({y, x}, i);
        if (i >= neighbours || !p.holds(q.y, q.x)) continue;
        Label& other = p.at(q.y, q.x);
        if (p.at(y, x) == wall || other == wall || other == p.at(y, x)) continue;
        (at({y, x}) < at(q) ? other : p.at(y, x)) = wall;
      }
    });
    return p;
  }

 private:
  Pixel pixel(Place p) const { return src_.at(p.y, p.x); }

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
      SCOPED_TRACE(words("relief", kind, "kind", neighbours));
      const auto run = [&](int flags) { return flooded(src, markers, neighbours, flags, shape); };
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

void checkDistances(const Shape& shape) {
  checkDistance<std::uint8_t, std::uint8_t>(shape);
  checkDistance<std::uint8_t, std::uint16_t>(shape);
  checkDistance<float, std::uint16_t>(shape);
}

TEST(Watershed, DistanceReachesTheLowestLevels) { sweepSmall(checkDistances); }

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

// Also where a team has less than a row for each.
TEST(Watershed, StaysWithinItsMemory) {
  sweepCliffs({{1, 1}, {1, 200}, {200, 1}, {33, 70}, {64, 70}}, 8, [](const Shape& shape) {
    checkQueue<std::uint8_t>(shape);
    checkQueue<std::uint16_t>(shape);
    checkDistances(shape);
  });
}

TEST(Watershed, ReportsTheFirstOfTwoFaults) {
  const std::uint8_t src[4] = {};
  const float pixels[4] = {};
  std::uint16_t marker[16] = {5};
  std::uint8_t scratch[2000];
  const auto bad = [](int kind, int flags) {
    return planted(rvpStatusBadArgument, [=](auto& a) { std::get<5>(a) = kind, std::get<6>(a) = flags; });
  };
  expectFirstOfTwo(rvpiSegmentWatershed_8u16u_C1IR,
                   {nulls<>, badSizes, shortSteps<>, oddSteps<>, bad(1, 0), bad(1, 64), bad(2, 1), bad(2, 3),
                    bad(-1, 1), bad(4, 2), bad(-1, 2)},
                   src, 4, marker, 8, {4, 1}, 1, 2, scratch);
  // The odd step of float pixels comes last.
  expectFirstOfTwo(rvpiSegmentWatershed_32f16u_C1IR,
                   {nulls<>, badSizes, shortSteps<>, oddSteps<2>, at<6>(rvpStatusNotSupported, 3),
                    at<6>(rvpStatusBadArgument, 64), at<5>(rvpStatusBadArgument, 4), oddSteps<0>},
                   pixels, 16, marker, 8, {4, 1}, 3, 2, scratch);
}

TEST(Watershed, TellsItsMemory) {
  const auto bytes8 = Form<std::uint8_t, std::uint8_t>::kBytes, bytes16 = Form<std::uint8_t, std::uint16_t>::kBytes,
             bytesOfFloats = Form<float, std::uint16_t>::kBytes;
  EXPECT_EQ(bytesOf(bytes8, RvpiSize{1, 1}), 2 * 32 * 2 + 4 * 32 + 1 + 66);
  EXPECT_EQ(bytesOf(bytes8, RvpiSize{100, 10}), 16 * 1000 + 102 * 12 + 48);
  EXPECT_EQ(bytesOf(bytes16, RvpiSize{17, 1}), 2 * 64 * 2 + 4 * 64 + 1 + 66);
  EXPECT_EQ(bytesOf(bytes16, RvpiSize{100, 10}), 16 * 1000 + 2 * 102 * 12 + 48);
  EXPECT_EQ(bytesOf(bytesOfFloats, RvpiSize{5, 3}), 3 + 9 * 3 * 8 + 66);
  int size = -1;
  for (const auto query : {bytes8, bytes16, bytesOfFloats})
    expectFirstOfTwo(query, {nulls<>, badSizes}, {5, 3}, &size);
}

FUZZ(watershed, input) {
  tryShape(input.shape(), [&](const Shape& shape) {
    switch (input.between(0, 2)) {
      case 0:
        return checkQueue<std::uint8_t>(shape);
      case 1:
        return checkQueue<std::uint16_t>(shape);
      default:
        return checkDistances(shape);
    }
  });
}

}  // namespace
