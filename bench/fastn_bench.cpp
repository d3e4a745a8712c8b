// FastN against cv::FAST where the peer has the circle, and against a plain loop where it does not. There the table
// also tells the time as a multiple of that for radius 3.
#include <cstdint>
#include <cstdlib>
#include <memory>
#include <opencv2/core.hpp>
#include <opencv2/features2d.hpp>
#include <string>
#include <vector>

#include "rvpcv/fastn.h"
#include "support/contest.h"
#include "support/images.h"

namespace rvp::bench {
namespace {

constexpr int kThreshold = 20;

// A detector of full size with all that it needs.
struct Detector {
  cv::Mat src, corners, scores, spec, scratch;

  Detector(cv::Size size, int radius, int arc, int options)
      : src(photograph(Photo::kAstronaut, size, CV_8U)),
        corners(size, CV_8U, cv::Scalar(0)),
        scores(size, CV_8U, cv::Scalar(0)) {
    const RvpiSize region = regionSize(src);
    int bytes = 0;
    rvpiFastNGetSize(region, radius, arc, 1, options, rvp8u, 1, &bytes);
    spec = cv::Mat(1, bytes, CV_8U);
    rvpiFastNInit(region, radius, arc, 1, options, rvp8u, 1, block(), kThreshold);
    rvpiFastNGetBufferSize(block(), region, &bytes);
    scratch = cv::Mat(1, bytes, CV_8U);
  }
  RvpiFastNSpec* block() const { return reinterpret_cast<RvpiFastNSpec*>(spec.data); }
  RvpStatus detect(int* pCount) const {
    return rvpiFastN_8u_C1R(src.data, step(src), corners.data, step(corners), scores.data, step(scores), pCount,
                            {0, 0}, regionSize(src), block(), scratch.data);
  }
};

// Without suppression the corners are the same. With it, the peer's are those that beat all neighbours, and ours
// also keep one of several equal ones.
Row peerRow(const std::string& name, bool suppress) {
  const auto make = [=](cv::Size size) {
    const Detector detector(size, 3, 9, suppress ? 4 | 2 | 32 : 4);
    const cv::Mat count(1, 1, CV_32S, cv::Scalar(-1));
    const auto found = std::make_shared<std::vector<cv::KeyPoint>>();
    Contest contest;
    contest.ours = [=] { return detector.detect(pixels<int>(count)); };
    contest.peerName = "cv::FAST";
    contest.peer = [=] {
      cv::FAST(detector.src, *found, kThreshold, suppress, cv::FastFeatureDetector::TYPE_9_16);
      *pixels<int>(count) = static_cast<int>(found->size());
    };
    contest.results = {count};
    contest.difference = [=](const std::vector<cv::Mat>&, const std::vector<cv::Mat>&) -> std::string {
      for (const cv::KeyPoint& point : *found) {
        if (detector.corners.at<std::uint8_t>(cv::Point(point.pt)) == 0) return "a corner of the peer's is missing";
      }
      const int more = cv::countNonZero(detector.corners) - static_cast<int>(found->size());
      return !suppress && more != 0 ? std::to_string(more) + " corners too many" : "";
    };
    contest.bytes = static_cast<double>(size.area()) * (suppress ? 3 : 2);
    return contest;
  };
  return {name, make};
}

std::vector<cv::Point> circleOf(int radius) {
  switch (radius) {
    case 1:
      return {{0, 1}, {-1, 1}};
    case 2:
      return {{0, 2}, {-1, 2}, {-2, 1}};
    case 5:
      return {{0, 5}, {-1, 5}, {-2, 5}, {-3, 4}, {-4, 3}, {-5, 2}, {-5, 1}};
    case 7:
      return {{0, 7}, {-1, 7}, {-2, 7}, {-3, 6}, {-4, 6}, {-5, 5}, {-6, 4}, {-6, 3}, {-7, 2}, {-7, 1}};
    default:
      return {{0, 9},  {-1, 9}, {-2, 9}, {-3, 9}, {-4, 8}, {-5, 8}, {-6, 7},
              {-7, 6}, {-8, 5}, {-8, 4}, {-9, 3}, {-9, 2}, {-9, 1}};
  }
}

// Four quick tests, then a walk around the circle.
void detectPlainly(const cv::Mat& src, const cv::Mat& corners, int radius, int arc) {
  std::vector<std::ptrdiff_t> offsets;
  for (int turn = 0; turn < 4; ++turn) {
    for (cv::Point p : circleOf(radius)) {
      for (int i = 0; i < turn; ++i) p = {-p.y, p.x};
      if (radius == 9 && offsets.size() == 12) p.y = -1;
      offsets.push_back(static_cast<std::ptrdiff_t>(p.y) * step(src) + p.x);
    }
  }
  const std::size_t length = offsets.size();
  offsets.insert(offsets.end(), offsets.begin(), offsets.end());
  cv::Mat(corners).setTo(0);
  for (int y = radius; y < src.rows - radius; ++y) {
    for (int x = radius; x < src.cols - radius; ++x) {
      const std::uint8_t* centre = src.ptr<std::uint8_t>(y) + x;
      const auto inBand = [&](std::size_t i) { return std::abs(centre[offsets[i]] - *centre) <= kThreshold; };
      if ((inBand(0) && inBand(length / 2)) || (inBand(length / 4) && inBand(3 * length / 4))) continue;
      int bright = 0;
      int dark = 0;
      for (const std::ptrdiff_t offset : offsets) {
        const int d = centre[offset] - *centre;
        bright = d > kThreshold ? bright + 1 : 0;
        dark = d < -kThreshold ? dark + 1 : 0;
        if (bright == arc || dark == arc) {
          corners.data[static_cast<std::size_t>(y) * corners.step[0] + static_cast<std::size_t>(x)] =
              bright == arc ? 64 : 128;
          break;
        }
      }
    }
  }
}

Row radiusRow(int radius, int arc) {
  const auto make = [=](cv::Size size) {
    const Detector detector(size, radius, arc, 4);
    const Detector middle(size, 3, 9, 4);
    Contest contest;
    contest.ours = [=] {
      int count = 0;
      return detector.detect(&count);
    };
    contest.peerName = "plain loop";
    contest.peer = [=] { detectPlainly(detector.src, detector.corners, radius, arc); };
    contest.results = {detector.corners};
    contest.references = {{"radius 3", [=] {
                             int count = 0;
                             middle.detect(&count);
                           }}};
    contest.bytes = static_cast<double>(size.area()) * 2;
    return contest;
  };
  return {"FastN_8u_C1R, radius " + std::to_string(radius) + ", arc " + std::to_string(arc), make};
}

std::vector<Row> rows() {
  return {peerRow("FastN_8u_C1R, radius 3, arc 9", false),
          peerRow("FastN_8u_C1R, radius 3, arc 9, suppression", true),
          radiusRow(1, 5),
          radiusRow(2, 7),
          radiusRow(5, 15),
          radiusRow(7, 21),
          radiusRow(9, 27)};
}

const bool registered = addFamily("FastN corners", rows());

}  // namespace
}  // namespace rvp::bench
