// Hough lines and segments against cv::HoughLines and cv::HoughLinesP on the Canny edges of a photograph.
//
// The peer rounds cells from floats and we from fixed point, or cut them, so single votes differ. Lines are
// compared by whether the strongest of ours are near one of the peer's, segments by how much of the edges they
// explain.
#include <algorithm>
#include <cmath>
#include <cstdint>
#include <memory>
#include <opencv2/core.hpp>
#include <opencv2/imgproc.hpp>
#include <string>
#include <vector>

#include "rvpcv/hough.h"
#include "support/contest.h"
#include "support/images.h"

namespace rvp::bench {
namespace {

constexpr float kDegree = 0.017453292F;
constexpr float kHalfTurn = 3.14159265F;
constexpr int kMostLines = 4000;
const std::vector<cv::Size> kSizes = {{320, 240}, {1920, 1080}};
// A call of the peer's on the fine grid takes seconds at full HD.
const std::vector<cv::Size> kFineSizes = {{320, 240}, {640, 480}};

cv::Mat edges(cv::Size size) {
  cv::Mat map;
  cv::Canny(photograph(Photo::kAstronaut, size, CV_8U), map, 100, 200);
  return map;
}

Row lineRow(const std::string& name, RvpiPointPolar delta, const std::vector<cv::Size>& sizes) {
  const auto make = [=](cv::Size size) {
    const cv::Mat src = edges(size);
    const int threshold = size.height / 4;
    int bytes = 0;
    rvpiHoughLineGetSize_8u_C1R(regionSize(src), delta, kMostLines, &bytes);
    const cv::Mat scratch(1, bytes, CV_8U);
    const cv::Mat lines(1, kMostLines, CV_32FC2, cv::Scalar(0));
    const cv::Mat count(1, 1, CV_32S, cv::Scalar(-1));
    const auto peers = std::make_shared<std::vector<cv::Vec2f>>();
    Contest contest;
    contest.ours = [=] {
      return rvpiHoughLine_8u32f_C1R(src.data, step(src), regionSize(src), delta, threshold,
                                     pixels<RvpiPointPolar>(lines), kMostLines, pixels<int>(count), scratch.data);
    };
    contest.peerName = "cv::HoughLines";
    contest.peer = [=] {
      cv::HoughLines(src, *peers, static_cast<double>(delta.rho), static_cast<double>(delta.theta), threshold);
      *pixels<int>(count) = static_cast<int>(peers->size());
    };
    contest.results = {count};
    contest.difference = [=](const std::vector<cv::Mat>& ours, const std::vector<cv::Mat>&) -> std::string {
      const int strongest = std::min(ours[0].at<int>(0), 10);
      if (strongest == 0 || peers->empty()) return "no lines";
      int knownLines = 0;
      for (int k = 0; k < strongest; ++k) {
        const auto& line = lines.at<cv::Vec2f>(0, k);
        // Our angles reach the half turn, where lines of angle 0 appear again.
        const bool known = std::any_of(peers->begin(), peers->end(), [&](cv::Vec2f peer) {
          const bool turned = line[1] > kHalfTurn - 2 * kDegree && peer[1] < kHalfTurn / 2;
          const float rho = turned ? -line[0] : line[0];
          const float theta = turned ? line[1] - kHalfTurn : line[1];
          return std::abs(peer[0] - rho) <= 3 && std::abs(peer[1] - theta) <= 2 * kDegree;
        });
        knownLines += known ? 1 : 0;
      }
      // The fixed point has 10 bits, which moves far pixels by up to a cell: a few lines fall apart, others come
      // up.
      return knownLines * 10 < strongest * 7 ? "only " + std::to_string(knownLines) + " lines are the peer's" : "";
    };
    return contest;
  };
  return {name, make, false, sizes};
}

double totalLength(const cv::Vec4i* segments, std::size_t count) {
  double sum = 0;
  for (std::size_t k = 0; k < count; ++k)
    sum += std::hypot(segments[k][2] - segments[k][0], segments[k][3] - segments[k][1]);
  return sum;
}

Contest segmentContest(cv::Size size) {
  constexpr RvpiPointPolar kDelta = {1, kDegree};
  constexpr int kThreshold = 50;
  constexpr int kLength = 30;
  constexpr int kGap = 5;
  const cv::Mat src = edges(size);
  int specBytes = 0;
  int bytes = 0;
  rvpiHoughProbLineGetSize_8u_C1R(regionSize(src), kDelta, &specBytes, &bytes);
  const cv::Mat spec(1, specBytes, CV_8U);
  const cv::Mat scratch(1, bytes, CV_8U);
  auto* block = reinterpret_cast<RvpiHoughProbSpec*>(spec.data);
  rvpiHoughProbLineInit_8u32f_C1R(regionSize(src), kDelta, 0, block);
  const cv::Mat segments(1, kMostLines, CV_32SC4, cv::Scalar::all(0));
  const cv::Mat count(1, 1, CV_32S, cv::Scalar(-1));
  const auto peers = std::make_shared<std::vector<cv::Vec4i>>();
  Contest contest;
  contest.ours = [=] {
    return rvpiHoughProbLine_8u32f_C1R(src.data, step(src), regionSize(src), kThreshold, kLength, kGap,
                                       pixels<RvpiSegment>(segments), kMostLines, pixels<int>(count), scratch.data,
                                       reinterpret_cast<const RvpiHoughProbSpec*>(spec.data));
  };
  contest.peerName = "cv::HoughLinesP";
  contest.peer = [=] {
    cv::HoughLinesP(src, *peers, static_cast<double>(kDelta.rho), static_cast<double>(kDelta.theta), kThreshold,
                    kLength, kGap);
    *pixels<int>(count) = static_cast<int>(peers->size());
  };
  contest.results = {count};
  contest.difference = [=](const std::vector<cv::Mat>& ours, const std::vector<cv::Mat>&) -> std::string {
    const int found = ours[0].at<int>(0);
    const double a = totalLength(segments.ptr<cv::Vec4i>(), static_cast<std::size_t>(found));
    const double b = totalLength(peers->data(), peers->size());
    // Both draw the same pixels first and then others, as soon as they have found different ends.
    constexpr double kAlike = 0.15;
    if (found > 0 && std::abs(a - b) <= kAlike * b) return "";
    return "segments of " + std::to_string(a) + " and " + std::to_string(b) + " pixels";
  };
  return contest;
}

std::vector<Row> rows() {
  return {lineRow("HoughLine_8u32f, rho 1, theta 1 degree", {1, kDegree}, kSizes),
          lineRow("HoughLine_8u32f, rho 0.25, theta 0.1 degree", {0.25F, 0.1F * kDegree}, kFineSizes),
          {"HoughProbLine_8u32f", segmentContest, false, kSizes}};
}

const bool registered = addFamily("Hough lines", rows());

}  // namespace
}  // namespace rvp::bench
