// Chamfer distances against cv::distanceTransform with the same mask, and fast marching against the textbook's
// heap.
//
// OpenCV has an 8-bit output for the city-block distance alone, and no 16-bit output. Its float distances with the
// same mask stand in for the others; they are compared in the unit of our integer metrics.
#include <algorithm>
#include <array>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <limits>
#include <opencv2/core.hpp>
#include <opencv2/imgproc.hpp>
#include <queue>
#include <tuple>
#include <vector>

#include "rvpcv/distance.h"
#include "support/contest.h"
#include "support/images.h"
#include "support/patterns.h"

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
    const double gap = std::abs(static_cast<double>(v) - h);
    const double sum = static_cast<double>(v) + h;
    const float time = gap >= 1 ? std::min(v, h) + 1 : static_cast<float>((sum + std::sqrt(2 - gap * gap)) * 0.5);
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

// Masks that ask much of the sweeps: fronts that turn, meet or have a long way.
cv::Mat spiralCorridor(cv::Size size) { return spiral(size) == 255; }
cv::Mat fineCheckerboard(cv::Size size) { return checkerboard(size) == 255; }

// A way of two pixels' width that runs down and up between walls of two.
cv::Mat serpentine(cv::Size size) {
  cv::Mat mask(size, CV_8U, cv::Scalar(255));
  for (int x = 2, wall = 0; x < size.width; x += 4, ++wall)
    mask(cv::Rect(x, wall % 2 == 0 ? 0 : 2, std::min(2, size.width - x), size.height - 2)) = 0;
  return mask;
}

cv::Mat onePixelOutside(cv::Size size) { return sourceOf(Source::kSeed, size); }

cv::Mat discs(cv::Size size) {
  cv::Mat mask(size, CV_8U, cv::Scalar(255));
  cv::RNG random(1);
  for (int i = 0; i < 200; ++i) {
    const cv::Point centre(random.uniform(0, size.width), random.uniform(0, size.height));
    cv::circle(mask, centre, random.uniform(3, 20), cv::Scalar(0), cv::FILLED);
  }
  return mask;
}

cv::Mat disc(cv::Size size) {
  cv::Mat mask(size, CV_8U, cv::Scalar(0));
  cv::circle(mask, {size.width / 2, size.height / 2}, size.height * 3 / 8, cv::Scalar(255), cv::FILLED);
  return mask;
}

// What lies below a line through the middle, 30 degrees off the rows.
cv::Mat slope(cv::Size size) {
  cv::Mat mask(size, CV_8U);
  const double tangent = 1 / std::sqrt(3.0);
  const cv::Point middle = {size.width / 2, size.height / 2};
  for (int y = 0; y < size.height; ++y) {
    for (int x = 0; x < size.width; ++x)
      mask.at<std::uint8_t>(y, x) = y - middle.y > (x - middle.x) * tangent ? 255 : 0;
  }
  return mask;
}

cv::Mat photographMask(cv::Size size) { return halfMask(Photo::kCoffee, size); }

// How far times are from exact distances, relative to these.
std::string accuracy(const cv::Mat& times, const cv::Mat& distances) {
  double sum = 0;
  double greatest = 0;
  double greatestFromTen = 0;
  int count = 0;
  for (int y = 0; y < times.rows; ++y) {
    for (int x = 0; x < times.cols; ++x) {
      const double distance = distances.at<float>(y, x);
      if (distance == 0) continue;
      const double error = std::abs(times.at<float>(y, x) - distance) / distance;
      sum += error;
      greatest = std::max(greatest, error);
      if (distance >= 10) greatestFromTen = std::max(greatestFromTen, error);
      ++count;
    }
  }
  char text[120];
  std::snprintf(text, sizeof text, "exact; off Euclidean by %.2f %%, at most %.1f %%, from 10 pixels on %.1f %%",
                100 * sum / count, 100 * greatest, 100 * greatestFromTen);
  return text;
}

Contest marching(const cv::Mat& src) {
  const cv::Size size = src.size();
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
  contest.agreement = [=] {
    cv::distanceTransform(src, exact, cv::DIST_L2, 0);
    return accuracy(dst, exact);
  };
  contest.references = {
      {"cv::distanceTransform, exact", [=] { cv::distanceTransform(src, exact, cv::DIST_L2, 0); }}};
  return contest;
}

Row marchingRow(const std::string& mask, cv::Mat (*make)(cv::Size), bool team = false) {
  return {"FastMarching_8u32f" + mask, [=](cv::Size size) { return marching(make(size)); }, team};
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
      marchingRow("", photographMask, true),
      marchingRow(", 200 discs", discs),
      marchingRow(", checkerboard", fineCheckerboard),
      marchingRow(", disc", disc),
      marchingRow(", one pixel outside", onePixelOutside),
      marchingRow(", serpentine", serpentine),
      marchingRow(", slope", slope),
      marchingRow(", spiral corridor", spiralCorridor),
  };
}

const bool registered = addFamily("Distances", rows());

}  // namespace
}  // namespace rvp::bench
