// Chamfer distances against cv::distanceTransform with the same mask, and fast marching against the textbook's
// heap.
//
// OpenCV has an 8-bit output for the city-block distance alone, and no 16-bit output. Its float distances with the
// same mask stand in for the others; they are compared in the unit of our integer metrics.
#include <algorithm>
#include <array>
#include <cmath>
#include <cstdint>
#include <limits>
#include <opencv2/core.hpp>
#include <opencv2/imgproc.hpp>
#include <queue>
#include <tuple>
#include <vector>

#include "rvpcv/distance.h"
#include "support/contest.h"
#include "support/images.h"

namespace rvp::bench {
namespace {

// The peer's steps are multiples of 2^-16: that much of each move, in hundreds of moves.
constexpr double kFixedPoint = 1e-4;

template <class T>
constexpr int kType = std::is_same_v<T, float>          ? CV_32F
                      : std::is_same_v<T, std::uint8_t> ? CV_8U
                                                        : CV_16U;

template <class T>
using MetricOf = std::conditional_t<std::is_same_v<T, float>, float, std::int32_t>;
template <class T>
using Transform = RvpStatus (*)(const std::uint8_t*, int, T*, int, RvpiSize, const MetricOf<T>*);

enum class Source { kPhotograph, kBlank, kSeed };

cv::Mat sourceOf(Source source, cv::Size size) {
  if (source == Source::kPhotograph) return halfMask(Photo::kCoffee, size);
  cv::Mat mask(size, CV_8U, cv::Scalar(255));
  if (source == Source::kSeed) mask.at<std::uint8_t>(size.height / 2, size.width / 2) = 0;
  return mask;
}

// Whether our distances in `unit`s are the peer's up to `share` of them, as far as our type goes.
template <class T>
std::string compareScaled(const cv::Mat& ours, const cv::Mat& peer, double unit, double share) {
  for (int y = 0; y < ours.rows; ++y) {
    for (int x = 0; x < ours.cols; ++x) {
      const double a = static_cast<double>(ours.at<T>(y, x));
      const double b = static_cast<double>(peer.at<float>(y, x)) * unit;
      const bool isFar = a == static_cast<double>(std::numeric_limits<T>::max());
      if (isFar ? b < a * (1 - share) : std::abs(a - b) > share * b)
        return "row " + std::to_string(y) + ", column " + std::to_string(x) + ": " + std::to_string(a) + " and " +
               std::to_string(b);
    }
  }
  return "";
}

// `share` 0 asks for results of the peer's own type and meaning.
template <class T>
Row chamferRow(const std::string& name, Transform<T> transform, std::array<MetricOf<T>, 3> metrics, int norm,
               int size, double share, Source source = Source::kPhotograph) {
  const auto make = [=](cv::Size imageSize) {
    const cv::Mat src = sourceOf(source, imageSize);
    // Both write to the same memory, each its own type.
    const int peerType = share == 0 ? kType<T> : CV_32F;
    const cv::Mat peerDst(imageSize, peerType, cv::Scalar(0));
    const cv::Mat dst(imageSize, kType<T>, peerDst.data);
    Contest contest;
    contest.ours = [=] {
      return transform(pixels<std::uint8_t>(src), step(src), pixels<T>(dst), step(dst), regionSize(src),
                       metrics.data());
    };
    contest.peerName = "cv::distanceTransform";
    contest.peer = [=] { cv::distanceTransform(src, peerDst, norm, size, peerType); };
    contest.results = {peerDst};
    contest.tolerance = peerType == CV_32F ? kFixedPoint : 0;
    if (source == Source::kBlank) contest.difference = [](const auto&, const auto&) { return std::string(); };
    if (share != 0) {
      contest.difference = [=](const std::vector<cv::Mat>& ours, const std::vector<cv::Mat>& peer) {
        return compareScaled<T>(cv::Mat(imageSize, kType<T>, ours[0].data), peer[0], metrics[0], share);
      };
    }
    contest.bytes = static_cast<double>(imageSize.area()) * (1 + sizeof(T));
    return contest;
  };
  return {name, make};
}

// One front that is always advanced at its earliest pixel.
void marchWithHeap(const cv::Mat& mask, const cv::Mat& times) {
  constexpr float kNever = std::numeric_limits<float>::infinity();
  using Candidate = std::tuple<float, int, int>;
  std::priority_queue<Candidate, std::vector<Candidate>, std::greater<>> front;
  const auto timeAt = [&](int y, int x) -> float {
    if (y < 0 || y >= times.rows || x < 0 || x >= times.cols) return kNever;
    return times.ptr<float>(y)[x];
  };
  const auto visit = [&](int y, int x) {
    if (timeAt(y, x) <= 0 || y < 0 || y >= times.rows || x < 0 || x >= times.cols) return;
    const float v = std::min(timeAt(y - 1, x), timeAt(y + 1, x));
    const float h = std::min(timeAt(y, x - 1), timeAt(y, x + 1));
    const float gap = std::abs(v - h);
    const float time = gap >= 1 ? std::min(v, h) + 1 : (v + h + std::sqrt(2 - gap * gap)) * 0.5f;
    float& old = pixels<float>(times.row(y))[x];
    if (time >= old) return;
    old = time;
    front.emplace(time, y, x);
  };
  const auto visitAround = [&](int y, int x) {
    visit(y - 1, x);
    visit(y + 1, x);
    visit(y, x - 1);
    visit(y, x + 1);
  };
  for (int y = 0; y < mask.rows; ++y) {
    for (int x = 0; x < mask.cols; ++x)
      pixels<float>(times.row(y))[x] = mask.at<std::uint8_t>(y, x) != 0 ? kNever : 0.0f;
  }
  for (int y = 0; y < mask.rows; ++y) {
    for (int x = 0; x < mask.cols; ++x) {
      if (mask.at<std::uint8_t>(y, x) == 0) visitAround(y, x);
    }
  }
  while (!front.empty()) {
    const auto [time, y, x] = front.top();
    front.pop();
    if (time == timeAt(y, x)) visitAround(y, x);
  }
}

Contest marching(cv::Size size) {
  const cv::Mat src = halfMask(Photo::kCoffee, size);
  const cv::Mat dst(size, CV_32F, cv::Scalar(0));
  const cv::Mat exact(size, CV_32F, cv::Scalar(0));
  int bytes = 0;
  rvpiFastMarchingGetBufferSize_8u32f_C1R(regionSize(src), &bytes);
  const cv::Mat scratch(1, bytes, CV_8U);
  Contest contest;
  contest.ours = [=] {
    return rvpiFastMarching_8u32f_C1R(pixels<std::uint8_t>(src), step(src), pixels<float>(dst), step(dst),
                                      regionSize(src), 0, scratch.data);
  };
  contest.peerName = "heap";
  contest.peer = [=] { marchWithHeap(src, dst); };
  contest.results = {dst};
  contest.tolerance = 1e-5;
  contest.references = {
      {"cv::distanceTransform, exact", [=] { cv::distanceTransform(src, exact, cv::DIST_L2, 0); }}};
  return contest;
}

std::vector<Row> rows() {
  return {
      chamferRow<std::uint8_t>("3x3_8u, city block", rvpiDistanceTransform_3x3_8u_C1R, {1, 2}, cv::DIST_L1, 3, 0),
      chamferRow<std::uint8_t>("3x3_8u", rvpiDistanceTransform_3x3_8u_C1R, {2, 3}, cv::DIST_L2, 3, 0.11),
      chamferRow<std::uint8_t>("5x5_8u", rvpiDistanceTransform_5x5_8u_C1R, {5, 7, 11}, cv::DIST_L2, 5, 0.01),
      chamferRow<std::uint16_t>("3x3_8u16u", rvpiDistanceTransform_3x3_8u16u_C1R, {2, 3}, cv::DIST_L2, 3, 0.11),
      chamferRow<std::uint16_t>("5x5_8u16u", rvpiDistanceTransform_5x5_8u16u_C1R, {5, 7, 11}, cv::DIST_L2, 5, 0.01),
      chamferRow<float>("3x3_8u32f", rvpiDistanceTransform_3x3_8u32f_C1R, {0.955f, 1.3693f}, cv::DIST_L2, 3, 0),
      chamferRow<float>("5x5_8u32f", rvpiDistanceTransform_5x5_8u32f_C1R, {1.0f, 1.4f, 2.1969f}, cv::DIST_L2, 5, 0),
      chamferRow<float>("3x3_8u32f, no seed", rvpiDistanceTransform_3x3_8u32f_C1R, {0.955f, 1.3693f}, cv::DIST_L2,
                        3, 0, Source::kBlank),
      chamferRow<float>("3x3_8u32f, one seed", rvpiDistanceTransform_3x3_8u32f_C1R, {0.955f, 1.3693f}, cv::DIST_L2,
                        3, 0, Source::kSeed),
      {"FastMarching_8u32f", marching, true},
  };
}

const bool registered = addFamily("Distances", rows());

}  // namespace
}  // namespace rvp::bench
