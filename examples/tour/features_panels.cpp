// Edges, corners and lines: what of a photograph marks a place in it.
#include <algorithm>
#include <cmath>
#include <cstddef>
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

const std::string kSubsystem = "Edges and corners";
constexpr int kRuns = 3;

std::string rounded(float value) { return number(static_cast<double>(value), 0); }

// ---- Edges

struct EdgeSettings {
  RvpiMaskSize mask;
  RvpiNormKind norm;
  float low;
  float high;
};

// The high threshold is twice the low one, as is usual.
constexpr EdgeSettings kUsual = {33, rvpNormL1, 100.0f, 200.0f};
constexpr EdgeSettings kMany = {33, rvpNormL1, 50.0f, 100.0f};
constexpr EdgeSettings kFew = {33, rvpNormL1, 200.0f, 400.0f};
constexpr EdgeSettings kLong = {33, rvpNormL2, kUsual.low, kUsual.high};
// The weights of the larger mask add up to twelve times those of the smaller one.
constexpr EdgeSettings kSmooth = {55, rvpNormL1, 12.0f * kUsual.low, 12.0f * kUsual.high};

Picture edgesOf(const Picture& gray, const EdgeSettings& settings, Stopwatch& time) {
  const RvpiSize size = gray.size();
  int bytes = 0;
  check(rvpiCannyBorderGetSize(size, rvpFilterSobel, settings.mask, settings.norm, &bytes),
        "rvpiCannyBorderGetSize");
  std::vector<std::uint8_t> scratch(static_cast<std::size_t>(bytes));
  Picture edges(size.width, size.height, 1);
  for (int run = 0; run < kRuns; ++run)
    time.lap([&] {
      check(rvpiCannyBorder_8u_C1R(gray.data(), gray.step(), edges.data(), edges.step(), size, rvpFilterSobel,
                                   settings.mask, rvpBorderRepl, 0, settings.norm, scratch.data(), settings.low,
                                   settings.high),
            "rvpiCannyBorder_8u_C1R");
    });
  return edges;
}

Figure edgesFigure(const std::string& name, const Picture& gray, const EdgeSettings& settings, Stopwatch& time) {
  const std::string mask = settings.mask == 33 ? "3 × 3" : "5 × 5";
  const std::string norm = settings.norm == rvpNormL1 ? "L1" : "L2";
  return {name,
          "Thresholds " + rounded(settings.low) + " and " + rounded(settings.high) + ", mask " + mask + ", norm " +
              norm,
          edgesOf(gray, settings, time)};
}

void addEdges(const Subject& subject, const Picture& gray, Page& page) {
  Stopwatch small;
  Stopwatch euclidean;
  Stopwatch large;
  std::vector<Figure> figures = {{"", "The photograph", subject.picture}};
  figures.push_back(edgesFigure("many", gray, kMany, small));
  figures.push_back(edgesFigure("usual", gray, kUsual, small));
  figures.push_back(edgesFigure("few", gray, kFew, small));
  figures.push_back(edgesFigure("euclidean", gray, kLong, euclidean));
  figures.push_back(edgesFigure("smooth", gray, kSmooth, large));
  const Panel panel = {
      kSubsystem,
      "edges",
      "Edges",
      {"rvpiCannyBorder_8u_C1R", "rvpiCannyBorderGetSize"},
      "Where the gray level changes fastest, as lines of one pixel's width. A line begins above the "
      "high threshold and goes on down to the low one. The L2 norm is smaller than L1 on slanting "
      "edges; the larger mask smooths more and leaves less texture."};
  page.add(panel, subject,
           {{{"derivatives", "Sobel"}, {"border", "edge pixels repeated"}},
            {{"3 × 3, L1", small.median()}, {"3 × 3, L2", euclidean.median()}, {"5 × 5, L1", large.median()}},
            figures});
}

// ---- Corners

constexpr int kWindow = 5;
constexpr float kTraceWeight = 0.04f;
constexpr std::size_t kMostCorners = 200;

Plane harrisResponse(const Picture& gray, Stopwatch& time) {
  const RvpiSize size = gray.size();
  int bytes = 0;
  check(rvpiHarrisCornerGetBufferSize(size, 33, kWindow, rvp8u, 1, &bytes), "rvpiHarrisCornerGetBufferSize");
  std::vector<std::uint8_t> scratch(static_cast<std::size_t>(bytes));
  Plane response(size.width, size.height, 1);
  for (int run = 0; run < kRuns; ++run)
    time.lap([&] {
      check(rvpiHarrisCorner_8u32f_C1R(gray.data(), gray.step(), response.data(), response.step(), size,
                                       rvpFilterSobel, 33, kWindow, kTraceWeight, 1.0f, rvpBorderRepl, 0,
                                       scratch.data()),
            "rvpiHarrisCorner_8u32f_C1R");
    });
  return response;
}

Plane smallerEigenvalue(const Picture& gray, Stopwatch& time) {
  const RvpiSize size = gray.size();
  int bytes = 0;
  check(rvpiMinEigenValGetBufferSize_8u32f_C1R(size, 3, kWindow, &bytes), "rvpiMinEigenValGetBufferSize_8u32f_C1R");
  std::vector<std::uint8_t> scratch(static_cast<std::size_t>(bytes));
  Plane response(size.width, size.height, 1);
  for (int run = 0; run < kRuns; ++run)
    time.lap([&] {
      check(rvpiMinEigenVal_8u32f_C1R(gray.data(), gray.step(), response.data(), response.step(), size,
                                      rvpKernelSobel, 3, kWindow, scratch.data()),
            "rvpiMinEigenVal_8u32f_C1R");
    });
  return response;
}

float greatestOf(const Plane& plane) { return std::max(0.0f, *std::ranges::max_element(plane.elements())); }

// The strongest maxima of a response, the strongest first. The search finds minima below zero as well, which lie
// along edges.
std::vector<RvpiPoint> cornersOf(const Plane& response, Stopwatch& time) {
  // Weaker ones are noise in the photograph.
  constexpr float kLeastShare = 0.001f;
  const RvpiSize size = response.size();
  int bytes = 0;
  check(rvpiFindPeaks3x3GetBufferSize_32f_C1R(size.width, &bytes), "rvpiFindPeaks3x3GetBufferSize_32f_C1R");
  std::vector<std::uint8_t> scratch(static_cast<std::size_t>(bytes));
  std::vector<RvpiPoint> peaks(response.elements().size());
  const float threshold = kLeastShare * greatestOf(response);
  int found = 0;
  for (int run = 0; run < kRuns; ++run)
    time.lap([&] {
      check(rvpiFindPeaks3x3_32f_C1R(response.data(), response.step(), size, peaks.data(),
                                     static_cast<int>(peaks.size()), &found, rvpPeakSquare, kWindow / 2,
                                     scratch.data(), threshold),
            "rvpiFindPeaks3x3_32f_C1R");
    });
  peaks.resize(static_cast<std::size_t>(found));
  std::erase_if(peaks, [&](RvpiPoint at) { return *response.at(at.x, at.y) <= 0.0f; });
  std::ranges::stable_sort(
      peaks, [&](RvpiPoint a, RvpiPoint b) { return *response.at(a.x, a.y) > *response.at(b.x, b.y); });
  peaks.resize(std::min(peaks.size(), kMostCorners));
  return peaks;
}

Picture withCorners(const Picture& photograph, const std::vector<RvpiPoint>& corners) {
  constexpr int kArm = 1;
  Picture picture = inColour(photograph);
  for (const RvpiPoint at : corners)
    drawOutline(picture, {at.x - kArm, at.y - kArm, 2 * kArm + 1, 2 * kArm + 1}, 1, kMark);
  return picture;
}

// A response as a heat map. It grows with a power of the contrast, whose root of that order is shown, so that weak
// corners show beside strong ones.
Picture heatMap(const Plane& response, float order) {
  Plane roots = response;
  for (float& value : roots.elements()) value = std::pow(std::max(value, 0.0f), 1.0f / order);
  return falseColour(roots, 0.0f, greatestOf(roots), kHeat);
}

Legend shareLegend(float order) {
  const double middle = 100.0 * std::pow(0.5, static_cast<double>(order));
  return {"share of the strongest response", kHeat, {"0", number(middle, order > 2.0f ? 1 : 0) + " %", "100 %"}};
}

void addCorners(const Subject& subject, const Picture& gray, Page& page) {
  Stopwatch harrisTime;
  Stopwatch eigenvalueTime;
  Stopwatch peaksTime;
  const Plane harris = harrisResponse(gray, harrisTime);
  const Plane eigenvalue = smallerEigenvalue(gray, eigenvalueTime);
  const std::vector<RvpiPoint> harrisCorners = cornersOf(harris, peaksTime);
  const std::vector<RvpiPoint> eigenvalueCorners = cornersOf(eigenvalue, peaksTime);
  // Powers of the contrast.
  constexpr float kHarrisOrder = 4.0f;
  constexpr float kEigenvalueOrder = 2.0f;
  const auto strongest = [](const std::vector<RvpiPoint>& corners) {
    return "The " + std::to_string(corners.size()) + " strongest maxima ";
  };
  const std::string window = std::to_string(kWindow);
  const Panel panel = {
      kSubsystem,
      "corners",
      "Corners",
      {"rvpiHarrisCorner_8u32f_C1R", "rvpiMinEigenVal_8u32f_C1R", "rvpiFindPeaks3x3_32f_C1R"},
      "Two measures of how much a small window changes whichever way it is moved: places that can be "
      "found again in another picture. Their maxima are the corners."};
  page.add(
      panel, subject,
      {{{"window", window + " × " + window},
        {"weight of the squared trace", number(static_cast<double>(kTraceWeight), 2)}},
       {{"Harris response", harrisTime.median()},
        {"smaller eigenvalue", eigenvalueTime.median()},
        {"peaks", peaksTime.median()}},
       {{"harris", "Harris response, where it is positive", heatMap(harris, kHarrisOrder),
         shareLegend(kHarrisOrder)},
        {"harris-corners", strongest(harrisCorners) + "of the Harris response",
         withCorners(subject.picture, harrisCorners)},
        {"eigenvalue", "Smaller eigenvalue", heatMap(eigenvalue, kEigenvalueOrder), shareLegend(kEigenvalueOrder)},
        {"eigenvalue-corners", strongest(eigenvalueCorners) + "of the smaller eigenvalue",
         withCorners(subject.picture, eigenvalueCorners)}}});
}

// ---- Directions

constexpr int kTensorFloats = 6;
constexpr int kCell = 8;

// The pixel of a cell whose larger eigenvalue is the largest.
RvpiPoint strongestIn(const Image<float>& tensors, int left, int top) {
  RvpiPoint best = {left, top};
  for (int y = top; y < std::min(top + kCell, tensors.height()); ++y)
    for (int x = left; x < std::min(left + kCell, tensors.width()); ++x)
      if (*tensors.at(x, y) > *tensors.at(best.x, best.y)) best = {x, y};
  return best;
}

// A stroke in every cell that is not flat, along the direction in which the photograph changes least.
Picture strokes(const Picture& photograph, const Image<float>& tensors, float greatest) {
  // Less than this share of the largest change is noise.
  constexpr float kLeastShare = 0.002f;
  constexpr float kReach = 0.45f * static_cast<float>(kCell);
  Picture picture = dimmed(photograph, 0.3f);
  for (int top = 0; top < tensors.height(); top += kCell)
    for (int left = 0; left < tensors.width(); left += kCell) {
      const RvpiPoint at = strongestIn(tensors, left, top);
      const float* const tensor = tensors.at(at.x, at.y);
      if (tensor[0] <= kLeastShare * greatest) continue;
      const int dx = static_cast<int>(std::lround(kReach * tensor[4]));
      const int dy = static_cast<int>(std::lround(kReach * tensor[5]));
      // Near 1 where there is one direction, 0 where all are alike.
      const float oneSided = (tensor[0] - tensor[1]) / (tensor[0] + tensor[1]);
      drawLine(picture, {at.x - dx, at.y - dy}, {at.x + dx, at.y + dy}, colourAt(kHeat, 0.35f + 0.65f * oneSided));
    }
  return picture;
}

void addDirections(const Subject& subject, const Picture& gray, Page& page) {
  const RvpiSize size = gray.size();
  int bytes = 0;
  check(rvpiEigenValsVecsGetBufferSize_8u32f_C1R(size, 3, kWindow, &bytes),
        "rvpiEigenValsVecsGetBufferSize_8u32f_C1R");
  std::vector<std::uint8_t> scratch(static_cast<std::size_t>(bytes));
  Image<float> tensors(size.width, size.height, kTensorFloats);
  Stopwatch time;
  for (int run = 0; run < kRuns; ++run)
    time.lap([&] {
      check(rvpiEigenValsVecs_8u32f_C1R(gray.data(), gray.step(), tensors.data(), tensors.step(), size,
                                        rvpKernelSobel, 3, kWindow, scratch.data()),
            "rvpiEigenValsVecs_8u32f_C1R");
    });
  Plane larger(size.width, size.height, 1);
  for (int y = 0; y < size.height; ++y)
    for (int x = 0; x < size.width; ++x) *larger.at(x, y) = *tensors.at(x, y);
  constexpr float kOrder = 2.0f;
  const std::string window = std::to_string(kWindow);
  const Panel panel = {
      kSubsystem,
      "directions",
      "Directions",
      {"rvpiEigenValsVecs_8u32f_C1R", "rvpiEigenValsVecsGetBufferSize_8u32f_C1R"},
      "The eigenvalues of the structure tensor tell how much the photograph changes around a pixel, "
      "its eigenvectors in which directions. The strokes run along the vector of the smaller one, as "
      "hair and edges do; they are the lighter the more clearly there is one direction."};
  page.add(panel, subject,
           {{{"window", window + " × " + window}, {"strokes", "one in " + rounded(kCell) + " × " + rounded(kCell)}},
            {{"eigenvalues and vectors", time.median()}},
            {{"larger", "Larger eigenvalue", heatMap(larger, kOrder), shareLegend(kOrder)},
             {"strokes", "Direction of the least change", strokes(subject.picture, tensors, greatestOf(larger))}}});
}

// ---- Lines

void addLineSuppression(const Subject& subject, const Picture& gray, Page& page) {
  // Eigenvalues of this ratio and more belong to a line.
  constexpr float kRatio = 8.0f;
  constexpr float kThreshold = (kRatio + 1.0f) * (kRatio + 1.0f) / kRatio;
  const RvpiSize size = gray.size();
  Stopwatch edgesTime;
  const Picture edges = edgesOf(gray, kUsual, edgesTime);
  int bytes = 0;
  check(rvpiLineSuppressionGetBufferSize(size, 33, kWindow, rvp8u, 1, &bytes), "rvpiLineSuppressionGetBufferSize");
  std::vector<std::uint8_t> scratch(static_cast<std::size_t>(bytes));
  Picture kept(size.width, size.height, 1);
  Stopwatch time;
  for (int run = 0; run < kRuns; ++run)
    time.lap([&] {
      check(rvpiLineSuppression_8u_C1R(gray.data(), gray.step(), edges.data(), edges.step(), kept.data(),
                                       kept.step(), size, rvpFilterSobel, 33, kWindow, kThreshold, rvpBorderRepl, 0,
                                       scratch.data()),
            "rvpiLineSuppression_8u_C1R");
    });
  const auto pixelsOf = [](const Picture& picture) {
    return count(std::ranges::count(picture.elements(), std::uint8_t{255})) + " pixels";
  };
  const std::string window = std::to_string(kWindow);
  const Panel panel = {kSubsystem,
                       "lines",
                       "Line suppression",
                       {"rvpiLineSuppression_8u_C1R", "rvpiLineSuppressionGetBufferSize"},
                       "Edge pixels on a straight line go, since a line looks the same all along. What stays are "
                       "corners, crossings, ends and sharp bends."};
  page.add(panel, subject,
           {{{"window", window + " × " + window},
             {"a line has eigenvalues of the ratio", rounded(kRatio) + " and more"},
             {"edges", pixelsOf(edges)},
             {"kept", pixelsOf(kept)}},
            {{"suppression", time.median()}},
            {{"edges", "Edges", edges}, {"kept", "Edges without straight lines", kept}}});
}

}  // namespace

void addFeaturesPanels(const Subject& subject, Page& page) {
  const Picture gray = inGray(subject.picture);
  addEdges(subject, gray, page);
  addCorners(subject, gray, page);
  addDirections(subject, gray, page);
  addLineSuppression(subject, gray, page);
}

}  // namespace tour
