// Corners on circles, and straight lines.
#include <algorithm>
#include <cmath>
#include <cstdint>
#include <string>
#include <vector>

#include "number.h"
#include "panels.h"
#include "rvpcv.h"
#include "status.h"
#include "stopwatch.h"

namespace tour {
namespace {

constexpr int kRuns = 3;
constexpr float kHalfTurn = 3.14159265f;
constexpr Rgb kBright = {255, 214, 64};
constexpr Rgb kDark = {0, 220, 255};
constexpr float kGround = 0.45f;  // how bright the photograph stays under what is drawn on it

RvpiPoint along(RvpiPoint from, float angle, float distance) {
  return {from.x + static_cast<std::int32_t>(std::lround(std::cos(angle) * distance)),
          from.y + static_cast<std::int32_t>(std::lround(std::sin(angle) * distance))};
}

// ---- Corners

constexpr int kBins = 64;
constexpr float kThreshold = 25.0f;
constexpr int kMostCorners = 100000;

std::vector<RvpiCornerFastN> cornersOf(const Picture& gray, int radius, int arc, Stopwatch& time) {
  constexpr int kOptions = rvpFastNOrientation | rvpFastNSuppression | rvpFastNDetect | rvpFastNScore;
  const RvpiSize size = gray.size();
  int bytes = 0;
  check(rvpiFastNGetSize(size, radius, arc, kBins, kOptions, rvp8u, 1, &bytes), "rvpiFastNGetSize");
  std::vector<std::uint8_t> state(static_cast<std::size_t>(bytes));
  auto* const spec = reinterpret_cast<RvpiFastNSpec*>(state.data());
  check(rvpiFastNInit(size, radius, arc, kBins, kOptions, rvp8u, 1, spec, kThreshold), "rvpiFastNInit");
  check(rvpiFastNGetBufferSize(spec, size, &bytes), "rvpiFastNGetBufferSize");
  std::vector<std::uint8_t> scratch(static_cast<std::size_t>(bytes));
  Picture map(size.width, size.height, 1);
  Picture scores(size.width, size.height, 1);
  int found = 0;
  for (int run = 0; run < kRuns; ++run)
    time.lap([&] {
      check(rvpiFastN_8u_C1R(gray.data(), gray.step(), map.data(), map.step(), scores.data(), scores.step(), &found,
                             {0, 0}, size, spec, scratch.data()),
            "rvpiFastN_8u_C1R");
    });
  std::vector<RvpiCornerFastN> corners(static_cast<std::size_t>(std::clamp(found, 1, kMostCorners)));
  check(rvpiFastN2DToVec_8u(map.data(), map.step(), scores.data(), scores.step(), corners.data(), size,
                            static_cast<int>(corners.size()), &found, spec),
        "rvpiFastN2DToVec_8u");
  corners.resize(static_cast<std::size_t>(found));
  return corners;
}

Figure cornersFigure(const Picture& photograph, const Picture& gray, int radius, int arc, Stopwatch& time) {
  std::vector<RvpiCornerFastN> corners = cornersOf(gray, radius, arc, time);
  const auto found = static_cast<long long>(corners.size());
  // So many that ticks are told apart.
  const auto shown = std::min<std::size_t>(corners.size(), 600);
  std::partial_sort(corners.begin(), corners.begin() + static_cast<std::ptrdiff_t>(shown), corners.end(),
                    [](const auto& a, const auto& b) { return a.score > b.score; });
  corners.resize(shown);
  Picture picture = dimmed(photograph, kGround);
  for (const RvpiCornerFastN& corner : corners) {
    const RvpiPoint place = {corner.x, corner.y};
    const Rgb colour = corner.cornerType == 1 ? kDark : kBright;
    drawOutline(picture, {corner.x, corner.y, 1, 1}, 1, colour);
    // The circle begins below the pixel and goes on to the left.
    drawLine(picture, place, along(place, (corner.angle / 180.0f + 0.5f) * kHalfTurn, 8.0f), colour);
  }
  return {"radius-" + std::to_string(radius),
          "Radius " + std::to_string(radius) + ", " + std::to_string(arc) + " pixels in a row: " + count(found) +
              " corners",
          picture};
}

void addCorners(const Subject& subject, const Picture& gray, Page& page) {
  Stopwatch small;
  Stopwatch middle;
  Stopwatch large;
  std::vector<Figure> figures = {{"", "The photograph", subject.picture}};
  figures.push_back(cornersFigure(subject.picture, gray, 1, 6, small));
  figures.push_back(cornersFigure(subject.picture, gray, 3, 9, middle));
  figures.push_back(cornersFigure(subject.picture, gray, 9, 31, large));
  const Panel panel = {
      "Edges and corners",
      "fastn",
      "Corners on circles",
      {"rvpiFastN_8u_C1R", "rvpiFastN2DToVec_8u", "rvpiFastNInit"},
      "A pixel is a corner if a long arc of the circle around it is brighter, or darker, than the pixel. Of "
      "neighbouring corners the strongest stays; the 600 strongest of the picture are drawn. The tick points to "
      "where "
      "the circle is brighter; yellow stands for a bright arc, blue for a dark one."};
  page.add(panel, subject,
           {{{"threshold", number(static_cast<double>(kThreshold), 0)}, {"orientations", std::to_string(kBins)}},
            {{"radius 1", small.median()}, {"radius 3", middle.median()}, {"radius 9", large.median()}},
            std::move(figures)});
}

// ---- Lines

constexpr RvpiPointPolar kSteps = {1.0f, kHalfTurn / 180.0f};
constexpr int kMostLines = 24;

Picture edgesOf(const Picture& gray) {
  const RvpiSize size = gray.size();
  int bytes = 0;
  check(rvpiCannyBorderGetSize(size, rvpFilterSobel, 33, rvpNormL1, &bytes), "rvpiCannyBorderGetSize");
  std::vector<std::uint8_t> scratch(static_cast<std::size_t>(bytes));
  Picture edges(size.width, size.height, 1);
  check(rvpiCannyBorder_8u_C1R(gray.data(), gray.step(), edges.data(), edges.step(), size, rvpFilterSobel, 33,
                               rvpBorderRepl, 0, rvpNormL1, scratch.data(), 100.0f, 200.0f),
        "rvpiCannyBorder_8u_C1R");
  return edges;
}

Figure linesFigure(const Picture& photograph, const Picture& edges, Stopwatch& time) {
  const RvpiSize size = edges.size();
  int bytes = 0;
  check(rvpiHoughLineGetSize_8u_C1R(size, kSteps, kMostLines, &bytes), "rvpiHoughLineGetSize_8u_C1R");
  std::vector<std::uint8_t> scratch(static_cast<std::size_t>(bytes));
  std::vector<RvpiPointPolar> lines(kMostLines);
  int found = 0;
  for (int run = 0; run < kRuns; ++run)
    time.lap([&] {
      check(rvpiHoughLine_8u32f_C1R(edges.data(), edges.step(), size, kSteps, std::min(size.width, size.height) / 8,
                                    lines.data(), kMostLines, &found, scratch.data()),
            "rvpiHoughLine_8u32f_C1R");
    });
  lines.resize(static_cast<std::size_t>(found));
  Picture picture = dimmed(photograph, kGround);
  const auto far = static_cast<float>(size.width + size.height);
  for (const RvpiPointPolar& line : lines) {
    const RvpiPoint foot = along({0, 0}, line.theta, line.rho);
    drawLine(picture, along(foot, line.theta + kHalfTurn / 2, far), along(foot, line.theta - kHalfTurn / 2, far),
             kBright);
  }
  return {"lines", "The " + count(found) + " lines through most edge pixels", picture};
}

Figure segmentsFigure(const Picture& photograph, const Picture& edges, Stopwatch& time) {
  const RvpiSize size = edges.size();
  int specBytes = 0;
  int bytes = 0;
  check(rvpiHoughProbLineGetSize_8u_C1R(size, kSteps, &specBytes, &bytes), "rvpiHoughProbLineGetSize_8u_C1R");
  std::vector<std::uint8_t> state(static_cast<std::size_t>(specBytes));
  std::vector<std::uint8_t> scratch(static_cast<std::size_t>(bytes));
  auto* const spec = reinterpret_cast<RvpiHoughProbSpec*>(state.data());
  check(rvpiHoughProbLineInit_8u32f_C1R(size, kSteps, 0, spec), "rvpiHoughProbLineInit_8u32f_C1R");
  std::vector<RvpiSegment> segments(2000);
  int found = 0;
  const int length = std::max(8, std::min(size.width, size.height) / 20);
  for (int run = 0; run < kRuns; ++run)
    time.lap([&] {
      check(rvpiHoughProbLine_8u32f_C1R(edges.data(), edges.step(), size, length, length, 3, segments.data(),
                                        static_cast<int>(segments.size()), &found, scratch.data(), spec),
            "rvpiHoughProbLine_8u32f_C1R");
    });
  segments.resize(static_cast<std::size_t>(found));
  Picture picture = dimmed(photograph, kGround);
  for (const RvpiSegment& segment : segments)
    drawLine(picture, {segment.x0, segment.y0}, {segment.x1, segment.y1}, kDark);
  return {"segments", count(found) + " segments of at least " + std::to_string(length) + " pixels, gaps of up to 3",
          picture};
}

void addLines(const Subject& subject, const Picture& gray, Page& page) {
  const Picture edges = edgesOf(gray);
  Stopwatch lines;
  Stopwatch segments;
  std::vector<Figure> figures = {{"", "The photograph", subject.picture},
                                 {"line-edges", "Its edges, which vote", edges}};
  figures.push_back(linesFigure(subject.picture, edges, lines));
  figures.push_back(segmentsFigure(subject.picture, edges, segments));
  const Panel panel = {
      "Lines",
      "hough",
      "Straight lines",
      {"rvpiHoughLine_8u32f_C1R", "rvpiHoughProbLine_8u32f_C1R", "rvpiHoughProbLineInit_8u32f_C1R"},
      "Every edge pixel votes for all lines through it. The standard form tells the lines with most votes, "
      "wherever "
      "their pixels lie. The probabilistic form draws pixels at random, and follows and takes away a line as soon "
      "as "
      "it stands out: it finds where lines begin and end."};
  page.add(panel, subject,
           {{{"rho step", "1 pixel"}, {"theta step", "1°"}},
            {{"lines", lines.median()}, {"segments", segments.median()}},
            std::move(figures)});
}

}  // namespace

void addLinesPanels(const Subject& subject, Page& page) {
  const Picture gray = inGray(subject.picture);
  addCorners(subject, gray, page);
  addLines(subject, gray, page);
}

}  // namespace tour
