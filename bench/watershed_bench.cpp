// Watershed, gradient segmentation and boundaries.
//
// cv::watershed floods by the largest difference of three channels to the neighbour, which is what the gradient
// segmentation of three channels does. The watershed's queue road floods by the height of one channel: the peer
// gets that channel three times. It compares three channels where we look at one, but what either does for a pixel,
// to label it and to put it into a queue and take it out again, is the same work, and this is most of it; a plain
// queue for one channel stands beside it. Both draw boundaries between 4 neighbours. Their labels differ where the
// floods do, so only what holds for any flood is compared: markers grow until every pixel is labelled or boundary.
//
// The distance road has no peer: a heap from which always the lowest pixel is flooded stands in for one. Labels of
// pixels that are reached at the same level from several markers are free, so ours are checked against its levels:
// each pixel must have its label from a neighbour that gives it its level.
#include <algorithm>
#include <array>
#include <cstdint>
#include <cstdlib>
#include <deque>
#include <functional>
#include <opencv2/core.hpp>
#include <opencv2/imgproc.hpp>
#include <queue>
#include <string>
#include <utility>
#include <vector>

#include "rvpcv/segment.h"
#include "rvpcv/watershed.h"
#include "support/contest.h"
#include "support/images.h"

namespace rvp::bench {
namespace {

// Neighbours, the four along the axes first.
struct Move {
  int dx, dy;
  cv::Point from(cv::Point p) const { return {p.x + dx, p.y + dy}; }
};
constexpr std::array<Move, 8> kAround = {{{-1, 0}, {1, 0}, {0, -1}, {0, 1}, {-1, -1}, {1, -1}, {-1, 1}, {1, 1}}};

// The photograph's edges as heights.
cv::Mat heightsOf(cv::Size size) {
  cv::Mat heights;
  cv::morphologyEx(photograph(Photo::kCoffee, size, CV_8U), heights, cv::MORPH_GRADIENT,
                   cv::getStructuringElement(cv::MORPH_RECT, {3, 3}));
  return heights;
}

cv::Mat threeTimes(const cv::Mat& channel) {
  cv::Mat image;
  cv::merge(std::vector<cv::Mat>(3, channel), image);
  return image;
}

// A disc in each cell of a grid, with labels from 1 to 250 again and again.
template <class Label>
cv::Mat markersOf(cv::Size size) {
  constexpr int kCell = 48;
  constexpr int kRadius = 3;
  constexpr int kLabels = 250;
  cv::Mat markers(size, cv::DataType<Label>::type, cv::Scalar(0));
  int label = 0;
  for (int y = kCell / 2; y < size.height; y += kCell) {
    for (int x = kCell / 2; x < size.width; x += kCell)
      cv::circle(markers, {x, y}, kRadius, cv::Scalar(++label % kLabels + 1), cv::FILLED);
  }
  return markers;
}

// Markers of two types one after the other in one row of bytes, as both sides of a contest write to the same
// memory.
template <class Label, class PeerLabel>
struct Sheet {
  cv::Mat bytes;

  explicit Sheet(cv::Size size) {
    const cv::Mat first = markersOf<Label>(size);
    const cv::Mat second = markersOf<PeerLabel>(size);
    cv::hconcat(asBytes(first), asBytes(second), bytes);
  }
  static cv::Mat asBytes(const cv::Mat& image) {
    return {1, static_cast<int>(image.total() * image.elemSize()), CV_8U, image.data};
  }
  static cv::Mat ours(const cv::Mat& bytes, cv::Size size) { return {size, cv::DataType<Label>::type, bytes.data}; }
  static cv::Mat peer(const cv::Mat& bytes, cv::Size size) {
    return {size, cv::DataType<PeerLabel>::type,
            bytes.data + static_cast<std::size_t>(size.area()) * sizeof(Label)};
  }
};

// What is wrong with a flood's labels, or nothing.
template <class Label>
std::string faultOfFlood(const cv::Mat& labels) {
  const cv::Mat markers = markersOf<Label>(labels.size());
  const int unlabelled = static_cast<int>(labels.total()) - cv::countNonZero(labels);
  if (unlabelled != 0) return std::to_string(unlabelled) + " pixels without a label";
  if (cv::countNonZero((labels != markers) & (markers != 0)) != 0) return "a marker has changed";
  return "";
}

using SizeOf = RvpStatus (*)(RvpiSize, int*);

cv::Mat scratchOf(SizeOf sizeOf, cv::Size size) {
  int bytes = 0;
  sizeOf({size.width, size.height}, &bytes);
  return cv::Mat(1, bytes, CV_8U);
}

// ---- Against cv::watershed

template <class Label>
Contest contestOf(const cv::Mat& peerImage, const std::function<RvpStatus(const cv::Mat&)>& ours) {
  using Both = Sheet<Label, std::int32_t>;
  const cv::Size size = peerImage.size();
  const Both sheet(size);
  Contest contest;
  contest.ours = [=] { return ours(Both::ours(sheet.bytes, size)); };
  contest.peerName = "cv::watershed";
  contest.peer = [=] { cv::watershed(peerImage, Both::peer(sheet.bytes, size)); };
  contest.results = {sheet.bytes};
  contest.spoilsInput = true;
  contest.difference = [size](const auto& a, const auto& b) {
    const std::string fault = faultOfFlood<Label>(Both::ours(a[0], size));
    // What the peer's boundary closes off stays unlabelled.
    const cv::Mat labels = Both::peer(b[0], size);
    const bool isFlooded = cv::countNonZero(labels) > 0.98 * size.area();
    return isFlooded ? fault : fault + "; the peer floods too little";
  };
  return contest;
}

// The queue road as a textbook writes it.
void floodWithQueues(const cv::Mat& heights, cv::Mat markers) {
  constexpr std::uint16_t kWall = 65535;
  const cv::Rect inside({0, 0}, heights.size());
  std::array<std::deque<cv::Point>, 256> queues;
  const auto labelAt = [&](cv::Point p) { return inside.contains(p) ? markers.at<std::uint16_t>(p) : kWall; };
  for (int y = 0; y < heights.rows; ++y) {
    for (int x = 0; x < heights.cols; ++x) {
      const cv::Point p(x, y);
      const auto isFree = [&](Move move) { return labelAt(move.from(p)) == 0; };
      if (labelAt(p) != 0 && std::any_of(kAround.begin(), kAround.begin() + 4, isFree))
        queues[heights.at<std::uint8_t>(p)].push_back(p);
    }
  }
  for (std::size_t level = 0; level < queues.size(); ++level) {
    while (!queues[level].empty()) {
      const cv::Point p = queues[level].front();
      queues[level].pop_front();
      for (int i = 0; i < 4; ++i) {
        const cv::Point q = kAround[static_cast<std::size_t>(i)].from(p);
        if (labelAt(q) != 0) continue;
        std::uint16_t label = labelAt(p);
        for (int k = 0; k < 4; ++k) {
          const std::uint16_t other = labelAt(kAround[static_cast<std::size_t>(k)].from(q));
          if (other == 0 || other == kWall || other == label) continue;
          if (label != kWall) {
            label = kWall;
            break;
          }
          label = other;
        }
        markers.at<std::uint16_t>(q) = label;
        queues[std::max<std::size_t>(heights.at<std::uint8_t>(q), level)].push_back(q);
      }
    }
  }
}

template <class Label>
using Watershed = RvpStatus (*)(const std::uint8_t*, int, Label*, int, RvpiSize, RvpiWatershedNeighbours,
                                RvpiSegmentFlags, std::uint8_t*);

template <class Label>
Row queueRow(const std::string& name, Watershed<Label> watershed, SizeOf sizeOf, RvpiWatershedNeighbours kind,
             RvpiSegmentFlags boundaries) {
  return {name, [=](cv::Size size) {
            const cv::Mat heights = heightsOf(size);
            const cv::Mat scratch = scratchOf(sizeOf, size);
            return contestOf<Label>(threeTimes(heights), [=](const cv::Mat& markers) {
              return watershed(heights.data, step(heights), pixels<Label>(markers), step(markers),
                               regionSize(heights), kind, rvpSegmentQueue | boundaries, scratch.data);
            });
          }};
}

// The same floods to the last label.
Row plainQueueRow() {
  return {"Watershed_8u16u, queue, 4 neighbours, plain", [](cv::Size size) {
            const cv::Mat heights = heightsOf(size);
            const cv::Mat markers = markersOf<std::uint16_t>(size);
            const cv::Mat scratch = scratchOf(rvpiSegmentWatershedGetBufferSize_8u16u_C1R, size);
            Contest contest;
            contest.ours = [=] {
              return rvpiSegmentWatershed_8u16u_C1IR(heights.data, step(heights), pixels<std::uint16_t>(markers),
                                                     step(markers), regionSize(heights), rvpWatershed4,
                                                     rvpSegmentQueue | rvpSegmentBoundaries4, scratch.data);
            };
            contest.peerName = "plain queues";
            contest.peer = [=] { floodWithQueues(heights, markers); };
            contest.results = {markers};
            contest.spoilsInput = true;
            return contest;
          }};
}

using SegmentGradient = RvpStatus (*)(const std::uint8_t*, int, std::uint8_t*, int, RvpiSize, RvpiConnectivity,
                                      RvpiSegmentFlags, std::uint8_t*);

Row gradientRow(const std::string& name, SegmentGradient segment, int channels, RvpiConnectivity norm) {
  return {name, [=](cv::Size size) {
            const cv::Mat image = photograph(Photo::kCoffee, size, CV_8UC(channels));
            const cv::Mat scratch = scratchOf(rvpiSegmentGradientGetBufferSize_8u_C3R, size);
            return contestOf<std::uint8_t>(channels == 3 ? image : threeTimes(image), [=](const cv::Mat& markers) {
              return segment(image.data, step(image), markers.data, step(markers), regionSize(image), norm,
                             rvpSegmentBoundaries4, scratch.data);
            });
          }};
}

// ---- The distance road

// What a kind of neighbours asks for a step to them.
std::array<int, 8> costsOf(RvpiWatershedNeighbours kind) {
  if (kind == rvpWatershedChamfer) return {11, 11, 11, 11, 15, 15, 15, 15};
  return {1, 1, 1, 1, 1, 1, 1, 1};
}
std::size_t neighboursOf(RvpiWatershedNeighbours kind) { return kind == rvpWatershed4 ? 4 : 8; }

std::int32_t levelOver(std::int32_t from, int cost, std::uint8_t height) {
  return std::max(from + cost, height << 23);
}

// Labels by levels, which it returns.
cv::Mat floodWithHeap(const cv::Mat& heights, cv::Mat markers, RvpiWatershedNeighbours kind) {
  const cv::Rect inside({0, 0}, heights.size());
  const std::array<int, 8> costs = costsOf(kind);
  cv::Mat levels(heights.size(), CV_32S, cv::Scalar(0x7FC00000));
  using Candidate = std::pair<std::int32_t, std::pair<int, int>>;
  std::priority_queue<Candidate, std::vector<Candidate>, std::greater<>> front;
  for (int y = 0; y < heights.rows; ++y) {
    for (int x = 0; x < heights.cols; ++x) {
      if (markers.at<std::uint16_t>(y, x) == 0) continue;
      levels.at<std::int32_t>(y, x) = heights.at<std::uint8_t>(y, x) << 23;
      front.push({levels.at<std::int32_t>(y, x), {x, y}});
    }
  }
  while (!front.empty()) {
    const auto [level, at] = front.top();
    const cv::Point p(at.first, at.second);
    front.pop();
    if (level != levels.at<std::int32_t>(p)) continue;
    for (std::size_t i = 0; i < neighboursOf(kind); ++i) {
      const cv::Point q = kAround[i].from(p);
      if (!inside.contains(q)) continue;
      const std::int32_t reached = levelOver(level, costs[i], heights.at<std::uint8_t>(q));
      if (reached >= levels.at<std::int32_t>(q)) continue;
      levels.at<std::int32_t>(q) = reached;
      markers.at<std::uint16_t>(q) = markers.at<std::uint16_t>(p);
      front.push({reached, {q.x, q.y}});
    }
  }
  return levels;
}

// Whether each pixel has its label from a neighbour that gives it its level.
std::string faultOfLabels(const cv::Mat& heights, const cv::Mat& labels, const cv::Mat& levels,
                          RvpiWatershedNeighbours kind) {
  const cv::Rect inside({0, 0}, heights.size());
  const cv::Mat markers = markersOf<std::uint16_t>(heights.size());
  const std::array<int, 8> costs = costsOf(kind);
  for (int y = 0; y < heights.rows; ++y) {
    for (int x = 0; x < heights.cols; ++x) {
      const cv::Point p(x, y);
      const std::uint16_t label = labels.at<std::uint16_t>(p);
      bool isFounded = markers.at<std::uint16_t>(p) != 0 && label == markers.at<std::uint16_t>(p);
      for (std::size_t i = 0; i < neighboursOf(kind) && !isFounded; ++i) {
        const cv::Point q = kAround[i].from(p);
        isFounded = inside.contains(q) && markers.at<std::uint16_t>(p) == 0 &&
                    labels.at<std::uint16_t>(q) == label &&
                    levelOver(levels.at<std::int32_t>(q), costs[i], heights.at<std::uint8_t>(p)) ==
                        levels.at<std::int32_t>(p);
      }
      if (!isFounded) return "row " + std::to_string(y) + ", column " + std::to_string(x);
    }
  }
  return "";
}

Row distanceRow(const std::string& name, RvpiWatershedNeighbours kind) {
  const auto make = [=](cv::Size size) {
    const cv::Mat heights = heightsOf(size);
    const cv::Mat markers = markersOf<std::uint16_t>(size);
    const cv::Mat scratch = scratchOf(rvpiSegmentWatershedGetBufferSize_8u16u_C1R, size);
    Contest contest;
    contest.ours = [=] {
      return rvpiSegmentWatershed_8u16u_C1IR(heights.data, step(heights), pixels<std::uint16_t>(markers),
                                             step(markers), regionSize(heights), kind, rvpSegmentDistance,
                                             scratch.data);
    };
    contest.peerName = "heap";
    contest.peer = [=] { floodWithHeap(heights, markers, kind); };
    contest.results = {markers};
    contest.spoilsInput = true;
    contest.difference = [=](const auto& ours, const auto&) {
      return faultOfLabels(heights, ours[0], floodWithHeap(heights, markersOf<std::uint16_t>(size), kind), kind);
    };
    return contest;
  };
  return {name, make, true, {{320, 240}, {1920, 1080}}};
}

// ---- Boundaries

// Each pixel against those before it.
template <class Label>
void drawBoundaries(cv::Mat labels, Label val, int neighbours) {
  constexpr std::array<Move, 4> kBefore = {{{-1, 0}, {0, -1}, {-1, -1}, {1, -1}}};
  const cv::Rect inside({0, 0}, labels.size());
  for (int y = 0; y < labels.rows; ++y) {
    for (int x = 0; x < labels.cols; ++x) {
      Label& here = labels.at<Label>(y, x);
      for (int i = 0; i < neighbours / 2 && here != val; ++i) {
        const cv::Point q = kBefore[static_cast<std::size_t>(i)].from({x, y});
        if (inside.contains(q) && labels.at<Label>(q) != val && labels.at<Label>(q) != here) here = val;
      }
    }
  }
}

// Of the regions that a watershed gives.
template <class Label>
Row boundaryRow(const std::string& name, RvpStatus (*bound)(Label*, int, RvpiSize, Label, RvpiConnectivity),
                RvpiConnectivity norm) {
  return {
      name, [=](cv::Size size) {
        constexpr Label kVal = static_cast<Label>(-1);
        const cv::Mat heights = heightsOf(size);
        const cv::Mat regions = markersOf<std::uint16_t>(size);
        const cv::Mat scratch = scratchOf(rvpiSegmentWatershedGetBufferSize_8u16u_C1R, size);
        rvpiSegmentWatershed_8u16u_C1IR(heights.data, step(heights), pixels<std::uint16_t>(regions), step(regions),
                                        regionSize(heights), rvpWatershed4, rvpSegmentQueue, scratch.data);
        cv::Mat labels;
        regions.convertTo(labels, cv::DataType<Label>::type);
        Contest contest;
        contest.ours = [=] { return bound(pixels<Label>(labels), step(labels), regionSize(labels), kVal, norm); };
        contest.peerName = "plain loop";
        contest.peer = [=] { drawBoundaries<Label>(labels, kVal, norm == rvpConnect4 ? 4 : 8); };
        contest.results = {labels};
        contest.spoilsInput = true;
        contest.bytes = static_cast<double>(size.area()) * sizeof(Label);
        return contest;
      }};
}

std::vector<Row> rows() {
  return {
      queueRow<std::uint8_t>("Watershed_8u, queue, 4 neighbours", rvpiSegmentWatershed_8u_C1IR,
                             rvpiSegmentWatershedGetBufferSize_8u_C1R, rvpWatershed4, rvpSegmentBoundaries4),
      queueRow<std::uint16_t>("Watershed_8u16u, queue, 4 neighbours", rvpiSegmentWatershed_8u16u_C1IR,
                              rvpiSegmentWatershedGetBufferSize_8u16u_C1R, rvpWatershed4, rvpSegmentBoundaries4),
      queueRow<std::uint16_t>("Watershed_8u16u, queue, 8 neighbours", rvpiSegmentWatershed_8u16u_C1IR,
                              rvpiSegmentWatershedGetBufferSize_8u16u_C1R, rvpWatershed8, rvpSegmentBoundaries8),
      plainQueueRow(),
      distanceRow("Watershed_8u16u, distance, 4 neighbours", rvpWatershed4),
      distanceRow("Watershed_8u16u, distance, 8 neighbours", rvpWatershed8),
      distanceRow("Watershed_8u16u, distance, chamfer", rvpWatershedChamfer),
      gradientRow("SegmentGradient_8u_C1, 4 neighbours", rvpiSegmentGradient_8u_C1IR, 1, rvpConnect4),
      gradientRow("SegmentGradient_8u_C3, 4 neighbours", rvpiSegmentGradient_8u_C3IR, 3, rvpConnect4),
      gradientRow("SegmentGradient_8u_C3, 8 neighbours", rvpiSegmentGradient_8u_C3IR, 3, rvpConnect8),
      boundaryRow<std::uint8_t>("BoundSegments_8u, 4 neighbours", rvpiBoundSegments_8u_C1IR, rvpConnect4),
      boundaryRow<std::uint8_t>("BoundSegments_8u, 8 neighbours", rvpiBoundSegments_8u_C1IR, rvpConnect8),
      boundaryRow<std::uint16_t>("BoundSegments_16u, 4 neighbours", rvpiBoundSegments_16u_C1IR, rvpConnect4),
  };
}

const bool registered = addFamily("Watershed", rows());

}  // namespace
}  // namespace rvp::bench
