// Summed-area tables against cv::integral. Its tilted tables come only together with upright ones of values and
// squares and belong to another wedge, so they are a time to compare with, and our tilted table is compared with a
// plain loop. The same goes for standard deviations in a rectangle, which OpenCV has not.
#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <opencv2/core.hpp>
#include <opencv2/imgproc.hpp>
#include <string>
#include <vector>

#include "rvpcv/detect.h"
#include "support/contest.h"
#include "support/images.h"

namespace rvp::bench {
namespace {

const std::vector<cv::Size> kFullHd = {{1920, 1080}};

cv::Size larger(cv::Size size, int by) { return {size.width + by, size.height + by}; }

template <class T>
cv::Mat tableOf(cv::Size size) {
  return cv::Mat(size, cv::DataType<T>::type, cv::Scalar(-1));
}

cv::Mat sourceOf(cv::Size size, int type = CV_8UC1) { return photograph(Photo::kAstronaut, size, type); }

template <class S, class T, class Call>
Row uprightRow(const std::string& name, Call call) {
  const auto make = [=](cv::Size size) {
    const cv::Mat src = sourceOf(size, cv::DataType<S>::type);
    const cv::Mat table = tableOf<T>(larger(size, 1));
    Contest contest;
    contest.ours = [=] { return call(pixels<S>(src), step(src), pixels<T>(table), step(table), regionSize(src)); };
    contest.peerName = "cv::integral";
    contest.peer = [=] { cv::integral(src, cv::Mat(table), cv::DataType<T>::depth); };
    contest.results = {table};
    // A float table of millions of cells has that many roundings.
    contest.tolerance = std::is_same_v<T, float> ? 1e-3 : 0;
    contest.bytes = static_cast<double>(size.area()) * (sizeof(S) + sizeof(T));
    return contest;
  };
  return {name, make, false, kFullHd};
}

template <class T, class Call>
Row squaresRow(const std::string& name, Call* call) {
  const auto make = [=](cv::Size size) {
    const cv::Mat src = sourceOf(size);
    const cv::Mat table = tableOf<T>(larger(size, 1));
    const cv::Mat squares = tableOf<double>(larger(size, 1));
    Contest contest;
    contest.ours = [=] {
      return call(src.data, step(src), pixels<T>(table), step(table), pixels<double>(squares), step(squares),
                  regionSize(src), T{0}, 0.0);
    };
    contest.peerName = "cv::integral";
    contest.peer = [=] { cv::integral(src, cv::Mat(table), cv::Mat(squares), cv::DataType<T>::depth, CV_64F); };
    contest.results = {table, squares};
    contest.tolerance = std::is_same_v<T, float> ? 1e-3 : 0;
    contest.bytes = static_cast<double>(size.area()) * (1 + sizeof(T) + sizeof(double));
    return contest;
  };
  return {name, make, false, kFullHd};
}

// ---- Tilted tables

void plainTilted(const cv::Mat& src, const cv::Mat& table) {
  for (int r = 0; r < table.rows; ++r) {
    std::int32_t* row = pixels<std::int32_t>(table.row(r));
    if (r < 2) {
      std::fill_n(row, table.cols, 0);
      continue;
    }
    const std::uint8_t* s = src.ptr(r - 2);
    const std::int32_t* above = table.ptr<std::int32_t>(r - 1);
    const std::int32_t* twoAbove = table.ptr<std::int32_t>(r - 2);
    const int last = table.cols - 1;
    row[0] = above[1];
    for (int x = 1; x < last; ++x)
      row[x] = s[x - 1] + (x < src.cols ? s[x] : 0) + above[x - 1] + above[x + 1] - twoAbove[x];
    row[last] = above[last - 1];
  }
}

Contest tilted(cv::Size size) {
  const cv::Mat src = sourceOf(size);
  const cv::Mat table = tableOf<std::int32_t>(larger(size, 2));
  Contest contest;
  contest.ours = [=] {
    return rvpiTiltedIntegral_8u32s_C1R(src.data, step(src), pixels<std::int32_t>(table), step(table),
                                        regionSize(src), 0);
  };
  contest.peerName = "plain loop";
  contest.peer = [=] { plainTilted(src, table); };
  contest.results = {table};
  contest.bytes = 5.0 * size.area();
  return contest;
}

// All three tables, which is what the peer makes whenever a tilted one is asked for.
Contest allTables(cv::Size size) {
  const cv::Mat src = sourceOf(size);
  const cv::Mat table = tableOf<std::int32_t>(larger(size, 1));
  const cv::Mat squares = tableOf<double>(larger(size, 1));
  const cv::Mat slanting = tableOf<std::int32_t>(larger(size, 2));
  const cv::Mat peerSlanting = tableOf<std::int32_t>(larger(size, 1));
  Contest contest;
  contest.ours = [=] {
    const RvpStatus status =
        rvpiSqrIntegral_8u32s64f_C1R(src.data, step(src), pixels<std::int32_t>(table), step(table),
                                     pixels<double>(squares), step(squares), regionSize(src), 0, 0);
    return status < 0 ? status
                      : rvpiTiltedIntegral_8u32s_C1R(src.data, step(src), pixels<std::int32_t>(slanting),
                                                     step(slanting), regionSize(src), 0);
  };
  contest.peerName = "cv::integral, tilted";
  contest.peer = [=] {
    cv::integral(src, cv::Mat(table), cv::Mat(squares), cv::Mat(peerSlanting), CV_32S, CV_64F);
  };
  contest.results = {table, squares};
  contest.bytes = 17.0 * size.area();
  return contest;
}

// ---- Standard deviation

constexpr RvpiRect kRect = {0, 0, 20, 20};

void plainStdDev(const cv::Mat& table, const cv::Mat& squares, const cv::Mat& dst) {
  const double share = 1.0 / (kRect.width * kRect.height);
  for (int y = 0; y < dst.rows; ++y) {
    const float* top = table.ptr<float>(y);
    const float* bottom = table.ptr<float>(y + kRect.height);
    const double* sqrTop = squares.ptr<double>(y);
    const double* sqrBottom = squares.ptr<double>(y + kRect.height);
    float* out = pixels<float>(dst.row(y));
    for (int x = 0; x < dst.cols; ++x) {
      const int right = x + kRect.width;
      const float sum = bottom[right] - top[right] + (top[x] - bottom[x]);
      const double mean = static_cast<double>(sum) * share;
      const double sumOfSquares = sqrBottom[right] - sqrTop[right] + (sqrTop[x] - sqrBottom[x]);
      out[x] = std::sqrt(static_cast<float>(std::max(sumOfSquares * share - mean * mean, 0.0)));
    }
  }
}

Contest stdDev(cv::Size size) {
  const cv::Size whole = {size.width + kRect.width, size.height + kRect.height};
  cv::Mat table;
  cv::Mat squares;
  cv::integral(sourceOf(whole), table, squares, CV_32F, CV_64F);
  const cv::Mat dst(size, CV_32F, cv::Scalar(-1));
  Contest contest;
  contest.ours = [=] {
    return rvpiRectStdDev_32f_C1R(pixels<float>(table), step(table), pixels<double>(squares), step(squares),
                                  pixels<float>(dst), step(dst), regionSize(dst), kRect);
  };
  contest.peerName = "plain loop";
  contest.peer = [=] { plainStdDev(table, squares, dst); };
  contest.results = {dst};
  contest.tolerance = 1e-3;
  contest.bytes = 16.0 * size.area();
  // What reads and writes as many bytes and does nothing else.
  const std::size_t half = static_cast<std::size_t>(contest.bytes / 2);
  const cv::Mat from(1, static_cast<int>(half), CV_8U, cv::Scalar(1));
  const cv::Mat to = from.clone();
  contest.references = {{"memcpy", [=] { std::memcpy(to.data, from.data, half); }}};
  return contest;
}

std::vector<Row> rows() {
  return {
      uprightRow<std::uint8_t, std::int32_t>("Integral_8u32s",
                                             [](auto... all) { return rvpiIntegral_8u32s_C1R(all..., 0); }),
      uprightRow<std::uint8_t, float>("Integral_8u32f",
                                      [](auto... all) { return rvpiIntegral_8u32f_C1R(all..., 0.0f); }),
      uprightRow<float, float>("Integral_32f", rvpiIntegral_32f_C1R),
      squaresRow<std::int32_t>("SqrIntegral_8u32s64f", rvpiSqrIntegral_8u32s64f_C1R),
      squaresRow<float>("SqrIntegral_8u32f64f", rvpiSqrIntegral_8u32f64f_C1R),
      {"TiltedIntegral_8u32s", tilted, false, kFullHd},
      {"SqrIntegral and TiltedIntegral", allTables, false, kFullHd},
      {"RectStdDev_32f 20x20", stdDev, true, kFullHd},
  };
}

const bool registered = addFamily("Summed-area tables", rows());

}  // namespace
}  // namespace rvp::bench
