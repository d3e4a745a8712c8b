// Distances: from the edge of a shape, to both sides of it, and around obstacles.
#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <limits>
#include <queue>
#include <string>
#include <utility>
#include <vector>

#include "number.h"
#include "panels.h"
#include "rvpcv.h"
#include "status.h"
#include "stopwatch.h"
#include "stream.h"

namespace tour {
namespace {

const std::string kSubsystem = "Distances";
constexpr int kRuns = 5;
constexpr std::uint8_t kInside = 255;

// ---- A shape in a photograph

// The gray level that divides the pixels into the two classes whose means lie farthest apart in proportion to their
// numbers (Otsu, 1979).
int dividingLevel(const Picture& gray) {
  std::array<double, 256> counts{};
  double sum = 0.0;
  for (const std::uint8_t value : gray.elements()) {
    counts[value] += 1.0;
    sum += value;
  }
  const double count = static_cast<double>(gray.elements().size());
  double darkCount = 0.0;
  double darkSum = 0.0;
  double best = -1.0;
  int level = 0;
  for (int i = 0; i < 256; ++i) {
    darkCount += counts[static_cast<std::size_t>(i)];
    darkSum += i * counts[static_cast<std::size_t>(i)];
    if (darkCount == 0.0 || darkCount == count) continue;
    const double gap = darkSum / darkCount - (sum - darkSum) / (count - darkCount);
    const double weight = darkCount * (count - darkCount) * gap * gap;
    if (weight > best) {
      best = weight;
      level = i;
    }
  }
  return level;
}

// The photograph as smooth as it takes for a shape without frayed edges.
Picture smoothed(const Picture& gray) {
  constexpr int kPasses = 4;
  constexpr RvpiMaskSize kMask = 55;
  const RvpiSize size = gray.size();
  Plane plane(size.width, size.height, 1);
  Plane sums = plane;
  std::ranges::copy(gray.elements(), plane.elements().begin());
  int bytes = 0;
  check(rvpiFilterLowpassGetBufferSize_32f_C1R(size, kMask, &bytes), "rvpiFilterLowpassGetBufferSize_32f_C1R");
  std::vector<std::uint8_t> scratch(static_cast<std::size_t>(bytes));
  for (int pass = 0; pass < kPasses; ++pass) {
    check(rvpiFilterLowpassBorder_32f_C1R(plane.data(), plane.step(), sums.data(), sums.step(), size, kMask,
                                          rvpBorderRepl, 0.0f, scratch.data()),
          "rvpiFilterLowpassBorder_32f_C1R");
    // The sum of 25 pixels.
    for (std::size_t i = 0; i < sums.elements().size(); ++i) plane.elements()[i] = sums.elements()[i] / 25.0f;
  }
  Picture result(size.width, size.height, 1);
  std::ranges::transform(plane.elements(), result.elements().begin(), toByte);
  return result;
}

// What is darker or what is brighter than the rest of the photograph, whichever takes less of it.
Picture shapeOf(const Picture& photograph) {
  const Picture gray = smoothed(inGray(photograph));
  const int level = dividingLevel(gray);
  Picture shape(gray.width(), gray.height(), 1);
  std::ranges::transform(gray.elements(), shape.elements().begin(),
                         [level](std::uint8_t value) { return value <= level ? kInside : std::uint8_t{0}; });
  const auto inside = std::ranges::count(shape.elements(), kInside);
  if (2 * inside > static_cast<std::ptrdiff_t>(shape.elements().size()))
    for (std::uint8_t& value : shape.elements()) value ^= kInside;
  return shape;
}

// ---- Pictures of distances

float greatestOf(const Plane& plane) { return std::max(1.0f, *std::ranges::max_element(plane.elements())); }

// A distance of 1, 2 or 5 times a power of ten that divides `range` into about ten parts.
float lineSpacing(float range) {
  float spacing = 1.0f;
  while (true) {
    for (const float factor : {1.0f, 2.0f, 5.0f})
      if (spacing * factor * 12.0f >= range) return spacing * factor;
    spacing *= 10.0f;
  }
}

// Marks the pixels where the distance passes a multiple of `spacing` on the way to the pixel on the right or below.
void drawIsoLines(Picture& picture, const Plane& distance, float spacing, Rgb colour) {
  const auto band = [&](int x, int y) { return std::floor(*distance.at(x, y) / spacing); };
  for (int y = 0; y + 1 < distance.height(); ++y)
    for (int x = 0; x + 1 < distance.width(); ++x) {
      if (band(x, y) == band(x + 1, y) && band(x, y) == band(x, y + 1)) continue;
      drawLine(picture, {x, y}, {x, y}, colour);
    }
}

constexpr Rgb kLine = {60, 200, 220};

// The legend of a map of distances from `least` on.
Legend pixelsLegend(ColourMap map, float least, float greatest) {
  return {"pixels",
          map,
          {number(static_cast<double>(least), 0), number(static_cast<double>(least + greatest) / 2, 0),
           number(static_cast<double>(greatest), 0)}};
}

// ---- Panels

// The middle lines of a shape: where the distance rises from both sides and meets, its slope is below the 1 that it
// has everywhere else.
std::vector<RvpiPoint> ridge(const Plane& distance) {
  // Fronts that meet at an angle of more than 90 degrees, farther from the edge than its own roughness.
  constexpr float kSlope = 0.707f;
  constexpr float kRoughness = 4.0f;
  std::vector<RvpiPoint> points;
  for (int y = 1; y + 1 < distance.height(); ++y)
    for (int x = 1; x + 1 < distance.width(); ++x) {
      const float across = *distance.at(x + 1, y) - *distance.at(x - 1, y);
      const float down = *distance.at(x, y + 1) - *distance.at(x, y - 1);
      if (*distance.at(x, y) > kRoughness && std::hypot(across, down) < 2.0f * kSlope) points.push_back({x, y});
    }
  return points;
}

void addDistanceMap(const Subject& subject, const Picture& shape, Page& page) {
  const RvpiSize size = shape.size();
  std::array<float, 3> metrics{};
  check(rvpiGetDistanceTransformMask_32f(5, rvpiChamferNormL2, metrics.data()), "rvpiGetDistanceTransformMask_32f");
  Plane distance(size.width, size.height, 1);
  Stopwatch time;
  for (int run = 0; run < kRuns; ++run)
    time.lap([&] {
      check(rvpiDistanceTransform_5x5_8u32f_C1R(shape.data(), shape.step(), distance.data(), distance.step(), size,
                                                metrics.data()),
            "rvpiDistanceTransform_5x5_8u32f_C1R");
    });
  // A shape that fills the whole picture has no distance at all.
  const float limit = static_cast<float>(size.width + size.height);
  for (float& value : distance.elements()) value = std::min(value, limit);
  const float greatest = greatestOf(distance);
  const float spacing = lineSpacing(greatest);

  Picture map = falseColour(distance, 0.0f, greatest, kHeat);
  drawIsoLines(map, distance, spacing, kLine);
  Picture middle = dimmed(subject.picture, 0.35f);
  for (const RvpiPoint point : ridge(distance))
    drawLine(middle, point, point, colourAt(kHeat, 0.5f + 0.5f * *distance.at(point.x, point.y) / greatest));

  const Panel panel = {
      kSubsystem,
      "distance-map",
      "Distance map of a shape",
      {"rvpiDistanceTransform_5x5_8u32f_C1R", "rvpiGetDistanceTransformMask_32f",
       "rvpiFilterLowpassBorder_32f_C1R"},
      "How far each pixel of a shape is from its edge. The lines are as far apart as the parameters "
      "tell. Where the distance stops rising because it rises from the other side as well, the "
      "shape has its middle lines, a skeleton that also tells how thick it is."};
  page.add(panel, subject,
           {{{"mask", "5 × 5"},
             {"moves", "1, 1.4, 2.1969 pixels"},
             {"line every", number(static_cast<double>(spacing), 0) + " pixels"}},
            {{"distances", time.median()}},
            {{"", "The photograph", subject.picture},
             {"shape", "The shape: one side of a gray level of the smoothed photograph", shape},
             {"distance", "Distance from the edge, with lines of equal distance", map,
              pixelsLegend(kHeat, 0.0f, greatest)},
             {"ridge", "Middle lines, brighter where the shape is thicker", middle}}});
}

// Fast marching with everything that it needs.
Plane marched(const Picture& mask, float radius, Stopwatch& time) {
  Plane times(mask.width(), mask.height(), 1);
  int bytes = 0;
  check(rvpiFastMarchingGetBufferSize_8u32f_C1R(mask.size(), &bytes), "rvpiFastMarchingGetBufferSize_8u32f_C1R");
  std::vector<std::uint8_t> scratch(static_cast<std::size_t>(bytes));
  for (int run = 0; run < kRuns; ++run)
    time.lap([&] {
      check(rvpiFastMarching_8u32f_C1R(mask.data(), mask.step(), times.data(), times.step(), mask.size(), radius,
                                       scratch.data()),
            "rvpiFastMarching_8u32f_C1R");
    });
  return times;
}

const std::vector<std::string> kMarching = {"rvpiFastMarching_8u32f_C1R",
                                            "rvpiFastMarchingGetBufferSize_8u32f_C1R"};

void addSignedDistance(const Subject& subject, const Picture& shape, Page& page) {
  const RvpiSize size = shape.size();
  const float radius = std::max(2.0f, std::round(static_cast<float>(std::min(size.width, size.height)) / 12.0f));
  Stopwatch time;
  const Plane distance = marched(shape, radius, time);
  const float offset = std::round(0.5f * radius);

  // The shape grown and shrunk by `offset`, and itself: everything above a distance. Outside and beyond the radius
  // the distance is 0, as nothing inside is.
  Picture outlines = dimmed(subject.picture, 0.6f);
  const auto drawEdgeAt = [&](float level, Rgb colour) {
    const auto isIn = [&](int x, int y) {
      const float value = *distance.at(x, y);
      return value != 0.0f && value > level;
    };
    for (int y = 0; y + 1 < size.height; ++y)
      for (int x = 0; x + 1 < size.width; ++x) {
        if (isIn(x, y) == isIn(x + 1, y) && isIn(x, y) == isIn(x, y + 1)) continue;
        drawLine(outlines, {x, y}, {x + 1, y}, colour);
        drawLine(outlines, {x, y + 1}, {x + 1, y + 1}, colour);
      }
  };
  drawEdgeAt(-offset, kBalance.front());
  drawEdgeAt(offset, {226, 92, 74});
  drawEdgeAt(0.0f, {255, 255, 255});

  const std::string pixels = " pixels";
  const std::string outer = number(static_cast<double>(radius), 0);
  const Panel panel = {kSubsystem, "signed-distance", "Signed distance of a shape", kMarching,
                       "A front that starts at the edge of the shape and runs to both sides at one pixel in each "
                       "unit of time, outside no farther than a radius. Inside it tells the distance, outside the "
                       "distance negated: cut at a level, it is the shape grown or shrunk."};
  page.add(
      panel, subject,
      {{{"radius", outer + pixels}, {"levels shown", "0 and ±" + number(static_cast<double>(offset), 0) + pixels}},
       {{"front", time.median()}},
       {{"shape", "The shape", shape},
        {"distance", "Signed distance", falseColour(distance, -radius, radius, kBalance),
         Legend{"pixels", kBalance, {"−" + outer, "0", "+" + outer + " and more"}}},
        {"outlines", "The shape's edge, in white, grown to the blue and shrunk to the red line", outlines}}});
}

// ---- A way around obstacles

// Free space between a wall above, a wall below, and discs.
Picture withoutDiscs(RvpiSize size, int count, std::uint64_t seed) {
  Picture free(size.width, size.height, 1, kInside);
  std::fill_n(free.at(0, 0), size.width, std::uint8_t{0});
  std::fill_n(free.at(0, size.height - 1), size.width, std::uint8_t{0});
  Random random(seed);
  const int shortSide = std::min(size.width, size.height);
  for (int i = 0; i < count; ++i) {
    const int x = size.width / 2 + random.within(size.width / 2);
    const int y = size.height / 2 + random.within(size.height / 2);
    const int radius = shortSide / 20 + random.within(shortSide / 36);
    const Picture disc = ellipseMask(size, {x - radius, y - radius, 2 * radius, 2 * radius});
    for (std::size_t k = 0; k < disc.elements().size(); ++k)
      free.elements()[k] &= static_cast<std::uint8_t>(~disc.elements()[k]);
  }
  return free;
}

// The pixel of a column that is farthest from all obstacles.
RvpiPoint clearestIn(const Plane& clearance, int x) {
  int best = 0;
  for (int y = 1; y < clearance.height(); ++y)
    if (*clearance.at(x, y) > *clearance.at(x, best)) best = y;
  return {x, best};
}

// The way from one pixel to another on which keeping clear of obstacles counts for more than being short:
// Dijkstra's algorithm with steps that are the dearer the nearer the obstacles are.
std::vector<RvpiPoint> clearWay(const Plane& clearance, RvpiPoint from, RvpiPoint to) {
  const int width = clearance.width();
  const int height = clearance.height();
  // From this clearance on, a step costs little more than its length.
  const float comfort = static_cast<float>(std::min(width, height)) / 10.0f;
  constexpr float kFar = std::numeric_limits<float>::max();
  Plane costs(width, height, 1, kFar);
  Image<RvpiPoint> before(width, height, 1, {-1, -1});
  using Entry = std::pair<float, std::pair<int, int>>;
  std::priority_queue<Entry, std::vector<Entry>, std::greater<>> open;
  *costs.at(from.x, from.y) = 0.0f;
  open.push({0.0f, {from.x, from.y}});
  while (!open.empty()) {
    const auto [cost, place] = open.top();
    const auto [x, y] = place;
    open.pop();
    if (x == to.x && y == to.y) break;
    if (cost > *costs.at(x, y)) continue;
    for (int j = std::max(y - 1, 0); j <= std::min(y + 1, height - 1); ++j)
      for (int i = std::max(x - 1, 0); i <= std::min(x + 1, width - 1); ++i) {
        const float room = *clearance.at(i, j);
        if (room <= 0.0f) continue;
        const float share = comfort / room;
        const float next = cost + std::hypot(static_cast<float>(i - x), static_cast<float>(j - y)) *
                                      (1.0f + share * share * share);
        if (next >= *costs.at(i, j)) continue;
        *costs.at(i, j) = next;
        *before.at(i, j) = {x, y};
        open.push({next, {i, j}});
      }
  }
  std::vector<RvpiPoint> way;
  for (RvpiPoint at = to; at.x >= 0; at = *before.at(at.x, at.y)) way.push_back(at);
  return way;
}

void addArrivalTimes(const Subject& subject, Page& page) {
  if (!subject.first) return;
  const RvpiSize size = subject.picture.size();
  constexpr int kObstacles = 24;
  const Picture free = withoutDiscs(size, kObstacles, 11);
  Stopwatch time;
  const Plane arrival = marched(free, 0.0f, time);
  const float greatest = greatestOf(arrival);
  const float spacing = lineSpacing(greatest);

  Picture map = falseColour(arrival, 0.0f, greatest, kHeat);
  drawIsoLines(map, arrival, spacing, kLine);
  Picture route = inColour(subject.picture);
  for (std::size_t i = 0; i < free.elements().size(); ++i) {
    if (free.elements()[i] == kInside) continue;
    for (std::size_t c = 0; c < 3; ++c) route.elements()[3 * i + c] /= 5;
  }
  const std::vector<RvpiPoint> way = clearWay(arrival, clearestIn(arrival, 0), clearestIn(arrival, size.width - 1));
  float narrowest = greatest;
  for (const RvpiPoint at : way) {
    narrowest = std::min(narrowest, *arrival.at(at.x, at.y));
    drawOutline(route, {at.x, at.y, 1, 1}, 1, kMark);
  }
  for (const RvpiPoint at : way) drawLine(route, {at.x - 1, at.y}, {at.x + 1, at.y}, kMark);

  const Panel panel = {
      kSubsystem, "arrival-times", "Arrival times around obstacles", kMarching,
      "Fronts start at all obstacles at once and run into the free space between them. The time at which the first "
      "one arrives is the room that there is; where fronts meet lie the ways that keep clear of everything. One "
      "of them leads from the left side to the right."};
  page.add(panel, subject,
           {{{"obstacles", std::to_string(kObstacles) + " discs, a wall above and below"},
             {"line every", number(static_cast<double>(spacing), 0) + " units of time"},
             {"room at the narrowest", number(static_cast<double>(narrowest), 1) + " pixels"}},
            {{"fronts", time.median()}},
            {{"obstacles", "Obstacles, in black", free},
             {"times", "Arrival times, with lines of equal time", map, pixelsLegend(kHeat, 0.0f, greatest)},
             {"way", "A way that keeps clear of the obstacles", route}}});
}

}  // namespace

void addDistancePanels(const Subject& subject, Page& page) {
  const Picture shape = shapeOf(subject.picture);
  addDistanceMap(subject, shape, page);
  addSignedDistance(subject, shape, page);
  addArrivalTimes(subject, page);
}

}  // namespace tour
