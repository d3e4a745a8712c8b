// Edges, corners, peaks and smoothing against OpenCV with the same masks, windows and borders; peaks, which OpenCV
// has not, against a plain loop.
//
// The edge images are not equal: OpenCV takes tangents in fixed point, decides ties between neighbours along a
// diagonal for one of them and reckons the derivatives' magnitude squared where the norm is L2. Few pixels differ.
#include <algorithm>
#include <cmath>
#include <cstdint>
#include <limits>
#include <opencv2/core.hpp>
#include <opencv2/imgproc.hpp>
#include <string>
#include <vector>

#include "rvpcv/features.h"
#include "rvpcv/filter.h"
#include "support/contest.h"
#include "support/images.h"

namespace rvp::bench {
namespace {

const std::vector<cv::Size> kFullHd = {{1920, 1080}};

// Scratch of the size that `getSize` reports.
template <class GetSize>
cv::Mat scratchOf(const GetSize& getSize) {
  int bytes = 0;
  static_cast<void>(getSize(&bytes));
  return cv::Mat(1, std::max(bytes, 1), CV_8U);
}

template <class T>
cv::Mat sourceOf(cv::Size size) {
  return photograph(Photo::kAstronaut, size, cv::DataType<T>::type);
}

// ---- Edges

constexpr float kLow = 100.0f;
constexpr float kHigh = 200.0f;

std::string compareEdges(const std::vector<cv::Mat>& ours, const std::vector<cv::Mat>& peer) {
  constexpr double kMostDiffering = 0.02;  // of the peer's edge pixels
  const int edges = cv::countNonZero(peer[0]);
  const int differing = cv::countNonZero(ours[0] != peer[0]);
  if (differing <= kMostDiffering * edges) return "";
  return std::to_string(differing) + " pixels differ, of " + std::to_string(edges) + " edge pixels";
}

Contest edgeContest(const cv::Mat& dst) {
  Contest contest;
  contest.peerName = "cv::Canny";
  contest.results = {dst};
  contest.difference = compareEdges;
  return contest;
}

Row cannyRow(const std::string& name, RvpiMaskSize mask, RvpiNormKind norm) {
  const auto make = [=](cv::Size size) {
    const cv::Mat src = sourceOf<std::uint8_t>(size);
    const cv::Mat dst(size, CV_8U, cv::Scalar(1));
    const cv::Mat scratch = scratchOf(
        [&](int* bytes) { return rvpiCannyBorderGetSize(regionSize(src), rvpFilterSobel, mask, norm, bytes); });
    // The weights of the larger mask add up to twelve times those of the smaller one.
    const float scale = mask == 33 ? 1.0f : 12.0f;
    Contest contest = edgeContest(dst);
    contest.ours = [=] {
      return rvpiCannyBorder_8u_C1R(src.data, step(src), dst.data, step(dst), regionSize(src), rvpFilterSobel, mask,
                                    rvpBorderRepl, 0, norm, scratch.data, scale * kLow, scale * kHigh);
    };
    contest.peer = [=] {
      cv::Canny(src, cv::Mat(dst), static_cast<double>(scale * kLow), static_cast<double>(scale * kHigh),
                mask == 33 ? 3 : 5, norm == rvpNormL2);
    };
    return contest;
  };
  return {name, make, false, kFullHd};
}

// T is the type of our derivatives; the peer's are 16-bit.
template <class T, class Canny>
Row readyCannyRow(const std::string& name, Canny* canny) {
  const auto make = [=](cv::Size size) {
    const cv::Mat src = sourceOf<std::uint8_t>(size);
    cv::Mat peerDx;
    cv::Mat peerDy;
    cv::spatialGradient(src, peerDx, peerDy, 3, cv::BORDER_REPLICATE);
    cv::Mat dx;
    cv::Mat dy;
    peerDx.convertTo(dx, cv::DataType<T>::type);
    peerDy.convertTo(dy, cv::DataType<T>::type);
    const cv::Mat dst(size, CV_8U, cv::Scalar(1));
    const cv::Mat scratch = scratchOf([&](int* bytes) { return rvpiCannyGetSize(regionSize(src), bytes); });
    Contest contest = edgeContest(dst);
    contest.ours = [=] {
      return canny(pixels<T>(dx), step(dx), pixels<T>(dy), step(dy), dst.data, step(dst), regionSize(src),
                   scratch.data, kLow, kHigh);
    };
    contest.peer = [=] {
      cv::Canny(peerDx, peerDy, cv::Mat(dst), static_cast<double>(kLow), static_cast<double>(kHigh), false);
    };
    return contest;
  };
  return {name, make, false, kFullHd};
}

// ---- Corners

// The factor that the peer gives to each derivative of a 3x3 mask.
template <class T>
double peerScale(int window) {
  return 1.0 / (4.0 * window * (std::is_same_v<T, std::uint8_t> ? 255.0 : 1.0));
}

// Whether the first `channels` of our values are `factor` times the peer's, up to rounding of the largest. Pixels
// whose values we leave 0 on purpose do not count, but there must be few of them.
std::string compareResponses(const cv::Mat& ours, const cv::Mat& peer, double factor, int channels) {
  constexpr double kShare = 1e-4;
  const bool mayBeZero = channels > 1;
  const double largest = std::max(std::abs(factor) * cv::norm(peer.reshape(1), cv::NORM_INF), 1e-30);
  double counted = 0;
  for (int y = 0; y < ours.rows; ++y) {
    const float* a = ours.ptr<float>(y);
    const float* b = peer.ptr<float>(y);
    for (int x = 0; x < ours.cols; ++x, a += ours.channels(), b += peer.channels()) {
      if (mayBeZero && a[0] == 0.0f) continue;
      ++counted;
      for (int c = 0; c < channels; ++c) {
        const double u = static_cast<double>(a[c]);
        const double v = factor * static_cast<double>(b[c]);
        if (!(std::abs(u - v) <= kShare * largest))
          return "row " + std::to_string(y) + ", column " + std::to_string(x) + ": " + std::to_string(u) + " and " +
                 std::to_string(v);
      }
    }
  }
  return counted >= 0.5 * static_cast<double>(ours.total()) ? "" : "most values are 0";
}

// Sets up what the rows of corners share. `channels` are those of the result that are compared.
template <class T>
Contest cornerContest(const cv::Mat& dst, double factor, int channels) {
  Contest contest;
  contest.results = {dst};
  contest.bytes = static_cast<double>(dst.total()) * (sizeof(T) + static_cast<double>(dst.elemSize()));
  contest.difference = [=](const std::vector<cv::Mat>& ours, const std::vector<cv::Mat>& peer) {
    return compareResponses(ours[0], peer[0], factor, channels);
  };
  return contest;
}

// `all` asks for the vectors as well.
template <class T, class Eigen, class GetSize>
Row eigenRow(const std::string& name, Eigen* eigen, GetSize* getSize, int window, bool all) {
  const auto make = [=](cv::Size size) {
    const cv::Mat src = sourceOf<T>(size);
    const cv::Mat dst =
        cv::Mat(size.height, size.width * (all ? 6 : 1), CV_32F, cv::Scalar(-1)).reshape(all ? 6 : 1);
    const cv::Mat scratch = scratchOf([&](int* bytes) { return getSize(regionSize(src), 3, window, bytes); });
    const double factor = 1.0 / (4080.0 * peerScale<T>(window) * peerScale<T>(window));
    Contest contest = cornerContest<T>(dst, factor, all ? 2 : 1);
    contest.ours = [=] {
      return eigen(pixels<T>(src), step(src), pixels<float>(dst), step(dst), regionSize(src), rvpKernelSobel, 3,
                   window, scratch.data);
    };
    contest.peerName = all ? "cv::cornerEigenValsAndVecs" : "cv::cornerMinEigenVal";
    contest.peer = [=] {
      if (all) {
        cv::cornerEigenValsAndVecs(src, cv::Mat(dst), window, 3, cv::BORDER_REPLICATE);
      } else {
        cv::cornerMinEigenVal(src, cv::Mat(dst), window, 3, cv::BORDER_REPLICATE);
      }
    };
    return contest;
  };
  return {name + ", window " + std::to_string(window), make, true, kFullHd};
}

template <class T, class Harris>
Row harrisRow(const std::string& name, Harris* harris, int window) {
  const auto make = [=](cv::Size size) {
    const cv::Mat src = sourceOf<T>(size);
    const cv::Mat dst(size, CV_32F, cv::Scalar(-1));
    const cv::Mat scratch = scratchOf([&](int* bytes) {
      return rvpiHarrisCornerGetBufferSize(regionSize(src), 33, window, std::is_same_v<T, float> ? rvp32f : rvp8u,
                                           1, bytes);
    });
    const auto call = [=](int side) {
      return harris(pixels<T>(src), step(src), pixels<float>(dst), step(dst), regionSize(src), rvpFilterSobel, 33,
                    side, 0.04f, static_cast<float>(std::pow(peerScale<T>(side), 4)), rvpBorderRepl, T{0},
                    scratch.data);
    };
    Contest contest = cornerContest<T>(dst, 1, 1);
    contest.ours = [=] { return call(window); };
    contest.peerName = "cv::cornerHarris";
    contest.peer = [=] { cv::cornerHarris(src, cv::Mat(dst), window, 3, 0.04, cv::BORDER_REPLICATE); };
    if (window > 3) contest.references = {{"window 3", [=] { static_cast<void>(call(3)); }}};
    return contest;
  };
  return {name + ", window " + std::to_string(window), make, false, kFullHd};
}

// ---- Line suppression

// The structure tensor without rounding: ours must be right wherever the two sides are apart by more than `kClose`
// of the larger. Running sums and scaled derivatives make the peer wrong now and then where the image is flat.
std::string compareSuppression(const cv::Mat& src, int window, double threshold, const cv::Mat& ours,
                               const cv::Mat& peer) {
  constexpr double kClose = 1e-5;
  constexpr double kMostDiffering = 0.02;  // of all pixels
  cv::Mat dx;
  cv::Mat dy;
  cv::Sobel(src, dx, CV_64F, 1, 0, 3, 1, 0, cv::BORDER_REPLICATE);
  cv::Sobel(src, dy, CV_64F, 0, 1, 3, 1, 0, cv::BORDER_REPLICATE);
  const auto sums = [&](const cv::Mat& product) {
    cv::Mat sum;
    cv::boxFilter(product, sum, CV_64F, {window, window}, {-1, -1}, false, cv::BORDER_REPLICATE);
    return sum;
  };
  const cv::Mat a = sums(dx.mul(dx));
  const cv::Mat b = sums(dx.mul(dy));
  const cv::Mat c = sums(dy.mul(dy));
  const cv::Mat corner = threshold * (a.mul(c) - b.mul(b));
  const cv::Mat trace = a + c;
  const cv::Mat line = trace.mul(trace);
  const cv::Mat clear = cv::abs(corner - line) > kClose * cv::max(corner, line);
  const int wrong = cv::countNonZero(((ours != 0) != (corner >= line)) & clear);
  if (wrong != 0) return std::to_string(wrong) + " pixels of ours are wrong";
  const int differing = cv::countNonZero(ours != peer);
  if (differing <= kMostDiffering * static_cast<double>(ours.total())) return "";
  return std::to_string(differing) + " pixels differ";
}

// det * threshold >= trace^2 is what OpenCV's corner response, det - k * trace^2 with k = 1 / threshold, has where
// it is not negative.
Row suppressionRow(int window) {
  const auto make = [=](cv::Size size) {
    constexpr float kThreshold = 10.0f;
    const cv::Mat src = sourceOf<std::uint8_t>(size);
    const cv::Mat feature(size, CV_8U, cv::Scalar(64));
    const cv::Mat dst(size, CV_8U, cv::Scalar(1));
    const cv::Mat scratch = scratchOf(
        [&](int* bytes) { return rvpiLineSuppressionGetBufferSize(regionSize(src), 33, window, rvp8u, 1, bytes); });
    Contest contest;
    contest.ours = [=] {
      return rvpiLineSuppression_8u_C1R(src.data, step(src), feature.data, step(feature), dst.data, step(dst),
                                        regionSize(src), rvpFilterSobel, 33, window, kThreshold, rvpBorderRepl, 0,
                                        scratch.data);
    };
    contest.peerName = "cv::cornerHarris, copyTo";
    const cv::Mat response(size, CV_32F);
    contest.peer = [=] {
      cv::cornerHarris(src, cv::Mat(response), window, 3, 1.0 / static_cast<double>(kThreshold),
                       cv::BORDER_REPLICATE);
      cv::Mat(dst).setTo(0);
      feature.copyTo(cv::Mat(dst), response >= 0);
    };
    contest.results = {dst};
    contest.difference = [=](const std::vector<cv::Mat>& ours, const std::vector<cv::Mat>& peer) {
      return compareSuppression(src, window, static_cast<double>(kThreshold), ours[0], peer[0]);
    };
    return contest;
  };
  return {"LineSuppression_8u, window " + std::to_string(window), make, false, kFullHd};
}

// ---- Peaks

template <class T>
int plainPeaks(const cv::Mat& src, T threshold, RvpiPoint* peaks) {
  int count = 0;
  for (int y = 1; y + 1 < src.rows; ++y) {
    for (int x = 1; x + 1 < src.cols; ++x) {
      const T v = src.at<T>(y, x);
      if (std::abs(v) <= threshold) continue;
      T least = v;
      T greatest = v;
      for (int j = -1; j <= 1; ++j) {
        for (int i = -1; i <= 1; ++i) {
          least = std::min(least, src.at<T>(y + j, x + i));
          greatest = std::max(greatest, src.at<T>(y + j, x + i));
        }
      }
      if (v > 0 ? v == greatest : v == least) peaks[count++] = {x, y};
    }
  }
  return count;
}

template <class T, class Find>
Row peaksRow(const std::string& name, Find* find, T threshold) {
  const auto make = [=](cv::Size size) {
    // A response of corners, of which a thousandth of the strongest passes.
    cv::Mat response;
    cv::cornerHarris(sourceOf<std::uint8_t>(size), response, 3, 3, 0.04);
    cv::normalize(response, response, 1e6, 0, cv::NORM_INF);
    cv::Mat src;
    response.convertTo(src, cv::DataType<T>::type);
    const cv::Mat peaks(1, size.area(), CV_32SC2, cv::Scalar::all(0));
    const cv::Mat count(1, 1, CV_32S, cv::Scalar(-1));
    const cv::Mat scratch =
        scratchOf([&](int* bytes) { return rvpiFindPeaks3x3GetBufferSize_32f_C1R(size.width, bytes); });
    Contest contest;
    contest.ours = [=] {
      return find(pixels<T>(src), step(src), regionSize(src), pixels<RvpiPoint>(peaks), size.area(),
                  pixels<int>(count), rvpPeakSquare, 1, scratch.data, threshold);
    };
    contest.peerName = "plain loop";
    contest.peer = [=] { *pixels<int>(count) = plainPeaks<T>(src, threshold, pixels<RvpiPoint>(peaks)); };
    contest.results = {count, peaks};
    contest.bytes = static_cast<double>(size.area()) * sizeof(T);
    return contest;
  };
  return {name, make, false, kFullHd};
}

// ---- Smoothing

Row lowpassRow(const std::string& name, RvpiMaskSize mask) {
  const auto make = [=](cv::Size size) {
    const cv::Mat src = sourceOf<float>(size);
    const cv::Mat dst(size, CV_32F, cv::Scalar(0));
    const cv::Mat scratch =
        scratchOf([&](int* bytes) { return rvpiFilterLowpassGetBufferSize_32f_C1R(regionSize(src), mask, bytes); });
    const int side = mask == 33 ? 3 : 5;
    Contest contest;
    contest.ours = [=] {
      return rvpiFilterLowpassBorder_32f_C1R(pixels<float>(src), step(src), pixels<float>(dst), step(dst),
                                             regionSize(src), mask, rvpBorderRepl, 0, scratch.data);
    };
    contest.peerName = "cv::boxFilter";
    contest.peer = [=] {
      cv::boxFilter(src, cv::Mat(dst), CV_32F, {side, side}, {-1, -1}, false, cv::BORDER_REPLICATE);
    };
    contest.results = {dst};
    contest.tolerance = 1e-5;
    contest.bytes = 8.0 * size.area();
    return contest;
  };
  return {name, make, true, kFullHd};
}

std::vector<Row> rows() {
  std::vector<Row> all = {
      cannyRow("CannyBorder_8u 3x3, L1", 33, rvpNormL1),
      cannyRow("CannyBorder_8u 3x3, L2", 33, rvpNormL2),
      cannyRow("CannyBorder_8u 5x5, L1", 55, rvpNormL1),
      readyCannyRow<std::int16_t>("Canny_16s8u", rvpiCanny_16s8u_C1R),
      readyCannyRow<float>("Canny_32f8u", rvpiCanny_32f8u_C1R),
      peaksRow<float>("FindPeaks3x3_32f", rvpiFindPeaks3x3_32f_C1R, 1000.0f),
      peaksRow<std::int32_t>("FindPeaks3x3_32s", rvpiFindPeaks3x3_32s_C1R, 1000),
      lowpassRow("FilterLowpass_32f 3x3", 33),
      lowpassRow("FilterLowpass_32f 5x5", 55),
  };
  for (const int window : {3, 5}) {
    all.push_back(eigenRow<std::uint8_t>("MinEigenVal_8u32f", rvpiMinEigenVal_8u32f_C1R,
                                         rvpiMinEigenValGetBufferSize_8u32f_C1R, window, false));
    all.push_back(eigenRow<float>("MinEigenVal_32f", rvpiMinEigenVal_32f_C1R, rvpiMinEigenValGetBufferSize_32f_C1R,
                                  window, false));
    all.push_back(eigenRow<std::uint8_t>("EigenValsVecs_8u32f", rvpiEigenValsVecs_8u32f_C1R,
                                         rvpiEigenValsVecsGetBufferSize_8u32f_C1R, window, true));
    all.push_back(eigenRow<float>("EigenValsVecs_32f", rvpiEigenValsVecs_32f_C1R,
                                  rvpiEigenValsVecsGetBufferSize_32f_C1R, window, true));
  }
  for (const int window : {3, 5}) all.push_back(suppressionRow(window));
  for (const int window : {3, 5, 15}) {
    all.push_back(harrisRow<std::uint8_t>("HarrisCorner_8u32f", rvpiHarrisCorner_8u32f_C1R, window));
    all.push_back(harrisRow<float>("HarrisCorner_32f", rvpiHarrisCorner_32f_C1R, window));
  }
  return all;
}

const bool registered = addFamily("Features", rows());

}  // namespace
}  // namespace rvp::bench
