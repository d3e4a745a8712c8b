// Reconstruction against the textbook's hybrid: a pass down, a pass up, and a queue of the pixels that still raise
// a neighbour.
#include <algorithm>
#include <array>
#include <cstdint>
#include <opencv2/core.hpp>
#include <queue>
#include <string>
#include <type_traits>
#include <vector>

#include "rvpcv/reconstruct.h"
#include "support/contest.h"
#include "support/images.h"
#include "support/patterns.h"

namespace rvp::bench {
namespace {

// The neighbours that a pass down has seen; those that are still to come lie opposite.
constexpr std::array<std::array<int, 2>, 4> kSeen = {{{0, -1}, {-1, 0}, {-1, -1}, {1, -1}}};

cv::Point neighbour(cv::Point p, int sign, int i) {
  const auto& [dx, dy] = kSeen[static_cast<std::size_t>(i)];
  return {p.x + sign * dx, p.y + sign * dy};
}

template <class T>
void raiseWithQueue(const cv::Mat& mask, cv::Mat marker, int connectivity) {
  const int seen = connectivity == 4 ? 2 : 4;
  const cv::Rect inside({0, 0}, mask.size());
  const auto raise = [&](cv::Point p, int sign) {
    T value = marker.at<T>(p);
    for (int i = 0; i < seen; ++i) {
      const cv::Point q = neighbour(p, sign, i);
      if (inside.contains(q)) value = std::max(value, marker.at<T>(q));
    }
    marker.at<T>(p) = std::min(value, mask.at<T>(p));
  };
  std::queue<cv::Point> open;
  const auto offer = [&](cv::Point p, int sign, bool doesRaise) {
    bool isAny = false;
    for (int i = 0; i < seen; ++i) {
      const cv::Point q = neighbour(p, sign, i);
      if (!inside.contains(q)) continue;
      const T value = std::min(marker.at<T>(p), mask.at<T>(q));
      if (value <= marker.at<T>(q)) continue;
      isAny = true;
      if (!doesRaise) continue;
      marker.at<T>(q) = value;
      open.push(q);
    }
    return isAny;
  };
  for (int y = 0; y < mask.rows; ++y)
    for (int x = 0; x < mask.cols; ++x) raise({x, y}, 1);
  for (int y = mask.rows - 1; y >= 0; --y) {
    for (int x = mask.cols - 1; x >= 0; --x) {
      raise({x, y}, -1);
      if (offer({x, y}, -1, false)) open.emplace(x, y);
    }
  }
  while (!open.empty()) {
    const cv::Point p = open.front();
    open.pop();
    offer(p, 1, true);
    offer(p, -1, true);
  }
}

template <class T>
using Operation = RvpStatus (*)(const T*, int, T*, int, RvpiSize, std::uint8_t*, RvpiConnectivity);

template <class T>
Contest contestOf(Operation<T> dilate, const cv::Mat& mask, const cv::Mat& marker, int connectivity) {
  // Enough for every type.
  const cv::Mat scratch(1, 32 * mask.cols + 2 * mask.rows + 400, CV_8U);
  Contest contest;
  contest.ours = [=] {
    return dilate(pixels<T>(mask), step(mask), pixels<T>(marker), step(marker), regionSize(mask), scratch.data,
                  connectivity == 4 ? rvpConnect4 : rvpConnect8);
  };
  contest.peerName = "queue";
  contest.peer = [=] { raiseWithQueue<T>(mask, marker, connectivity); };
  contest.results = {marker};
  contest.spoilsInput = true;
  return contest;
}

// The domes of a photograph, 40 gray levels high.
template <class T>
Row photographRow(const std::string& name, Operation<T> dilate, int connectivity) {
  return {name, [=](cv::Size size) {
            const int type = std::is_same_v<T, std::uint8_t> ? CV_8U
                             : std::is_same_v<T, float>      ? CV_32F
                             : std::is_same_v<T, double>     ? CV_64F
                                                             : CV_16U;
            cv::Mat mask;
            photograph(Photo::kCoffee, size, CV_8U).convertTo(mask, type);
            const cv::Mat marker = cv::max(mask - 40, 0);
            return contestOf<T>(dilate, mask, marker, connectivity);
          }};
}

// One value that has to run all the way.
Contest spiralContest(cv::Size size) {
  const cv::Mat mask = spiral(size);
  cv::Mat marker(size, CV_8U, cv::Scalar(0));
  marker.at<std::uint8_t>(0, 0) = 255;
  return contestOf<std::uint8_t>(rvpiMorphReconstructDilate_8u_C1IR, mask, marker, 4);
}

std::vector<Row> rows() {
  return {
      photographRow<std::uint8_t>("Dilate_8u, 4 neighbours", rvpiMorphReconstructDilate_8u_C1IR, 4),
      photographRow<std::uint8_t>("Dilate_8u, 8 neighbours", rvpiMorphReconstructDilate_8u_C1IR, 8),
      photographRow<std::uint16_t>("Dilate_16u, 8 neighbours", rvpiMorphReconstructDilate_16u_C1IR, 8),
      photographRow<float>("Dilate_32f, 8 neighbours", rvpiMorphReconstructDilate_32f_C1IR, 8),
      photographRow<double>("Dilate_64f, 8 neighbours", rvpiMorphReconstructDilate_64f_C1IR, 8),
      {"Dilate_8u, 4 neighbours, spiral", spiralContest, false, {{1920, 1080}}},
  };
}

const bool registered = addFamily("Reconstruction", rows());

}  // namespace
}  // namespace rvp::bench
