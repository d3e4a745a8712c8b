// Watershed and gradient segmentation: regions grown from the quiet parts of a photograph.
#include <algorithm>
#include <array>
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

const std::string kSubsystem = "Segmentation";
constexpr int kRuns = 3;

// ---- Markers

// Means over squares of 2 * reach + 1 pixels, cut off at the edges.
Picture means(const Picture& gray, int reach) {
  const int width = gray.width();
  const int height = gray.height();
  Picture result(width, height, 1);
  std::vector<int> columns(static_cast<std::size_t>(width), 0);
  const auto addRow = [&](int y, int sign) {
    if (y < 0 || y >= height) return;
    for (int x = 0; x < width; ++x) columns[static_cast<std::size_t>(x)] += sign * *gray.at(x, y);
  };
  for (int y = 0; y < reach; ++y) addRow(y, 1);
  for (int y = 0; y < height; ++y) {
    addRow(y + reach, 1);
    addRow(y - reach - 1, -1);
    const int rows = std::min(y + reach, height - 1) - std::max(y - reach, 0) + 1;
    for (int x = 0; x < width; ++x) {
      const int first = std::max(x - reach, 0);
      const int last = std::min(x + reach, width - 1);
      int sum = 0;
      for (int i = first; i <= last; ++i) sum += columns[static_cast<std::size_t>(i)];
      *result.at(x, y) = static_cast<std::uint8_t>(sum / (rows * (last - first + 1)));
    }
  }
  return result;
}

// The greatest less the least value of the pixels around: where a photograph changes, it is high.
Picture steepness(const Picture& gray) {
  Picture result(gray.width(), gray.height(), 1);
  for (int y = 0; y < gray.height(); ++y) {
    for (int x = 0; x < gray.width(); ++x) {
      std::uint8_t least = 255;
      std::uint8_t greatest = 0;
      for (int v = std::max(y - 1, 0); v <= std::min(y + 1, gray.height() - 1); ++v) {
        for (int u = std::max(x - 1, 0); u <= std::min(x + 1, gray.width() - 1); ++u) {
          least = std::min(least, *gray.at(u, v));
          greatest = std::max(greatest, *gray.at(u, v));
        }
      }
      *result.at(x, y) = static_cast<std::uint8_t>(greatest - least);
    }
  }
  return result;
}

// The height below which a given share of the pixels lies.
std::uint8_t heightOfShare(const Picture& heights, double share) {
  std::vector<std::uint8_t> sorted = heights.elements();
  const auto at = sorted.begin() + static_cast<std::ptrdiff_t>(share * static_cast<double>(sorted.size() - 1));
  std::nth_element(sorted.begin(), at, sorted.end());
  return *at;
}

using Labels = Image<std::uint16_t>;

struct Markers {
  Labels labels;
  int count;
};

// The quiet parts of a picture, each with a label of its own: those pixels whose surroundings are flattest, without
// parts of fewer than `leastSize` pixels.
Markers quietParts(const Picture& heights, int leastSize) {
  constexpr int kReach = 2;
  constexpr double kShare = 0.45;
  Picture quiet = means(heights, kReach);
  const std::uint8_t limit = heightOfShare(quiet, kShare);
  for (std::uint8_t& value : quiet.elements()) value = value <= limit ? 255 : 0;
  int bytes = 0;
  check(rvpiMarkSpecklesGetBufferSize(quiet.size(), rvp8u, 1, &bytes), "rvpiMarkSpecklesGetBufferSize");
  std::vector<std::uint8_t> scratch(static_cast<std::size_t>(bytes));
  check(rvpiMarkSpeckles_8u_C1IR(quiet.data(), quiet.step(), quiet.size(), 0, leastSize - 1, 0, rvpConnect4,
                                 scratch.data()),
        "rvpiMarkSpeckles_8u_C1IR");
  Markers markers = {Labels(quiet.width(), quiet.height(), 1), 0};
  std::copy(quiet.elements().begin(), quiet.elements().end(), markers.labels.elements().begin());
  check(rvpiLabelMarkersGetBufferSize_16u_C1R(quiet.size(), &bytes), "rvpiLabelMarkersGetBufferSize_16u_C1R");
  scratch.resize(static_cast<std::size_t>(bytes));
  check(rvpiLabelMarkers_16u_C1IR(markers.labels.data(), markers.labels.step(), quiet.size(), 1, 65534, rvpConnect4,
                                  &markers.count, scratch.data()),
        "rvpiLabelMarkers_16u_C1IR");
  return markers;
}

// ---- Pictures of labels

constexpr std::uint16_t kWall = 65535;

// Each region in the mean of its colours, and walls in the colour for marks; what has no label stays dark.
Picture inMeanColours(const Picture& colour, const Labels& labels) {
  struct Sum {
    std::array<std::uint32_t, 3> channel{};
    std::uint32_t pixels = 0;
  };
  std::vector<Sum> sums(std::size_t{kWall} + 1);
  const auto forPixels = [&](auto body) {
    for (int y = 0; y < labels.height(); ++y)
      for (int x = 0; x < labels.width(); ++x) body(x, y, *labels.at(x, y));
  };
  forPixels([&](int x, int y, std::uint16_t label) {
    for (std::size_t c = 0; c < 3; ++c) sums[label].channel[c] += colour.at(x, y)[c];
    ++sums[label].pixels;
  });
  Picture picture(labels.width(), labels.height(), 3, 16);
  forPixels([&](int x, int y, std::uint16_t label) {
    if (label == 0) return;
    const std::array<std::uint8_t, 3> wall = {kMark.red, kMark.green, kMark.blue};
    for (std::size_t c = 0; c < 3; ++c)
      picture.at(x, y)[c] =
          label == kWall ? wall[c] : static_cast<std::uint8_t>(sums[label].channel[c] / sums[label].pixels);
  });
  return picture;
}

// The photograph with the walls drawn on it.
Picture withWalls(const Picture& colour, const Labels& labels) {
  Picture picture = dimmed(colour, 0.75f);
  for (int y = 0; y < labels.height(); ++y) {
    for (int x = 0; x < labels.width(); ++x) {
      if (*labels.at(x, y) != kWall) continue;
      std::uint8_t* const pixel = picture.at(x, y);
      pixel[0] = kMark.red;
      pixel[1] = kMark.green;
      pixel[2] = kMark.blue;
    }
  }
  return picture;
}

// ---- Watershed

struct Flood {
  const char* name;
  RvpiWatershedNeighbours kind;
  RvpiSegmentFlags flags;
};
constexpr std::array<Flood, 4> kFloods = {
    {{"queue", rvpWatershed4, rvpSegmentQueue},
     {"queue, boundaries", rvpWatershed4, rvpSegmentQueue | rvpSegmentBoundaries4},
     {"distance", rvpWatershedChamfer, rvpSegmentDistance},
     {"distance, boundaries", rvpWatershedChamfer, rvpSegmentDistance | rvpSegmentBoundaries4}}};

void addWatershed(const Subject& subject, const Picture& colour, const Picture& heights, Page& page) {
  const int leastSize = std::max(heights.width() * heights.height() / 4000, 4);
  const Markers markers = quietParts(heights, leastSize);
  int bytes = 0;
  check(rvpiSegmentWatershedGetBufferSize_8u16u_C1R(heights.size(), &bytes),
        "rvpiSegmentWatershedGetBufferSize_8u16u_C1R");
  std::vector<std::uint8_t> scratch(static_cast<std::size_t>(bytes));
  std::vector<Labels> results;
  Strip strip = {{{"markers", count(markers.count)}, {"from", count(leastSize) + " pixels"}}, {}, {}};
  for (const Flood& flood : kFloods) {
    Labels labels;
    Stopwatch time;
    for (int run = 0; run < kRuns; ++run) {
      labels = markers.labels;
      time.lap([&] {
        check(rvpiSegmentWatershed_8u16u_C1IR(heights.data(), heights.step(), labels.data(), labels.step(),
                                              heights.size(), flood.kind, flood.flags, scratch.data()),
              "rvpiSegmentWatershed_8u16u_C1IR");
      });
    }
    strip.times.push_back({flood.name, time.median()});
    results.push_back(labels);
  }
  Plane steep(heights.width(), heights.height(), 1);
  std::copy(heights.elements().begin(), heights.elements().end(), steep.elements().begin());
  const auto highest = static_cast<float>(heightOfShare(heights, 0.99));
  strip.figures = {
      {"heights", "Heights: where the photograph changes",
       falseColour(steep, 0.0f, std::max(highest, 1.0f), kHeat)},
      {"markers", "Markers: the quiet parts", inMeanColours(colour, markers.labels)},
      {"regions", "Flooded from the queue: regions in mean colours", inMeanColours(colour, results[0])},
      {"queue-walls", "The queue's boundaries", withWalls(colour, results[1])},
      {"distance-walls", "The boundaries of the least distance", withWalls(colour, results[3])}};
  page.add({kSubsystem,
            "watershed",
            "Watershed",
            {"rvpiSegmentWatershedGetBufferSize_8u16u_C1R", "rvpiSegmentWatershed_8u16u_C1IR",
             "rvpiMarkSpeckles_8u_C1IR", "rvpiLabelMarkers_16u_C1IR"},
            "Water rises from the markers over the heights, and regions meet on the ridges, which are the edges of "
            "what the photograph shows. One road lets pixels wait in a queue at their height; the other finds, for "
            "each pixel, the marker from which the water comes lowest and on the shortest way."},
           subject, strip);
}

// ---- Gradient segmentation

void addGradientSegments(const Subject& subject, const Picture& colour, const Picture& heights, Page& page) {
  constexpr int kMostMarkers = 253;
  constexpr std::uint8_t kBoundary = 254;
  int leastSize = std::max(heights.width() * heights.height() / 4000, 4);
  Markers markers = quietParts(heights, leastSize);
  while (markers.count > kMostMarkers) {
    leastSize += leastSize / 2;
    markers = quietParts(heights, leastSize);
  }
  Picture seeds(heights.width(), heights.height(), 1);
  std::transform(markers.labels.elements().begin(), markers.labels.elements().end(), seeds.elements().begin(),
                 [](std::uint16_t label) { return static_cast<std::uint8_t>(label); });
  int bytes = 0;
  check(rvpiSegmentGradientGetBufferSize_8u_C3R(heights.size(), &bytes), "rvpiSegmentGradientGetBufferSize_8u_C3R");
  std::vector<std::uint8_t> scratch(static_cast<std::size_t>(bytes));
  Picture regions;
  Stopwatch growth;
  for (int run = 0; run < kRuns; ++run) {
    regions = seeds;
    growth.lap([&] {
      check(rvpiSegmentGradient_8u_C3IR(colour.data(), colour.step(), regions.data(), regions.step(),
                                        heights.size(), rvpConnect4, 0, scratch.data()),
            "rvpiSegmentGradient_8u_C3IR");
    });
  }
  Picture bounded;
  Stopwatch drawing;
  for (int run = 0; run < kRuns; ++run) {
    bounded = regions;
    drawing.lap([&] {
      check(rvpiBoundSegments_8u_C1IR(bounded.data(), bounded.step(), bounded.size(), kBoundary, rvpConnect4),
            "rvpiBoundSegments_8u_C1IR");
    });
  }
  const auto widened = [](const Picture& labels) {
    Labels wide(labels.width(), labels.height(), 1);
    std::transform(labels.elements().begin(), labels.elements().end(), wide.elements().begin(),
                   [](std::uint8_t label) { return label == kBoundary ? kWall : std::uint16_t{label}; });
    return wide;
  };
  page.add({kSubsystem,
            "gradient-segments",
            "Gradient segmentation",
            {"rvpiSegmentGradientGetBufferSize_8u_C3R", "rvpiSegmentGradient_8u_C3IR", "rvpiBoundSegments_8u_C1IR"},
            "Regions grow from the markers to the neighbour that differs least in colour, so that steep places are "
            "taken last. The photograph is left as a few flat colours; the boundaries are drawn on the labels "
            "afterwards."},
           subject,
           {{{"markers", count(markers.count)}, {"from", count(leastSize) + " pixels"}},
            {{"growth", growth.median()}, {"boundaries", drawing.median()}},
            {{"seeds", "Markers: the quiet parts", inMeanColours(colour, markers.labels)},
             {"regions", "Regions in mean colours", inMeanColours(colour, widened(regions))},
             {"walls", "Boundaries between them", withWalls(colour, widened(bounded))}}});
}

}  // namespace

void addWatershedPanels(const Subject& subject, Page& page) {
  const Picture colour = inColour(subject.picture);
  const Picture heights = steepness(means(inGray(subject.picture), 1));
  addWatershed(subject, colour, heights, page);
  addGradientSegments(subject, colour, heights, page);
}

}  // namespace tour
