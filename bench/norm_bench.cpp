// Masked norms against cv::norm with the same mask. The norms of one channel of three are set beside a plain loop,
// since cv::norm takes all channels together, and beside our norm of an image of one channel.
#include <algorithm>
#include <cmath>
#include <cstdint>
#include <opencv2/core.hpp>
#include <string>
#include <vector>

#include "rvpcv/stats.h"
#include "support/contest.h"
#include "support/images.h"

namespace rvp::bench {
namespace {

const std::vector<cv::Size> kFullHd = {{1920, 1080}};

// Sums of floats are added in another order.
template <class T>
constexpr double kTolerance = std::is_same_v<T, float> ? 1e-6 : 1e-12;

template <class T>
using Norm = RvpStatus (*)(const T*, int, const std::uint8_t*, int, RvpiSize, double*);
template <class T>
using ChannelNorm = RvpStatus (*)(const T*, int, const std::uint8_t*, int, RvpiSize, int, double*);
template <class T>
using PairNorm = RvpStatus (*)(const T*, int, const T*, int, const std::uint8_t*, int, RvpiSize, double*);

constexpr int kInf = cv::NORM_INF;
constexpr int kL1 = cv::NORM_L1;
constexpr int kL2 = cv::NORM_L2;

struct Images {
  cv::Mat src1, src2, mask, value;
};

template <class T>
Images makeImages(cv::Size size, int channels) {
  const int type = CV_MAKETYPE(cv::DataType<T>::depth, channels);
  return {photograph(Photo::kCoffee, size, type), photograph(Photo::kChelsea, size, type),
          halfMask(Photo::kAstronaut, size), cv::Mat(1, 1, CV_64F, cv::Scalar(-1))};
}

template <class T>
Row imageRow(const std::string& name, Norm<T> norm, int kind) {
  const auto make = [=](cv::Size size) {
    const Images i = makeImages<T>(size, 1);
    Contest contest;
    contest.ours = [=] {
      return norm(pixels<T>(i.src1), step(i.src1), i.mask.data, step(i.mask), regionSize(i.src1),
                  pixels<double>(i.value));
    };
    contest.peerName = "cv::norm";
    contest.peer = [=] { *pixels<double>(i.value) = cv::norm(i.src1, kind, i.mask); };
    contest.results = {i.value};
    contest.tolerance = kTolerance<T>;
    contest.bytes = static_cast<double>(size.area()) * (sizeof(T) + 1);
    return contest;
  };
  return {name, make, true, kFullHd};
}

template <class T>
Row pairRow(const std::string& name, PairNorm<T> norm, int kind) {
  const auto make = [=](cv::Size size) {
    const Images i = makeImages<T>(size, 1);
    Contest contest;
    contest.ours = [=] {
      return norm(pixels<T>(i.src1), step(i.src1), pixels<T>(i.src2), step(i.src2), i.mask.data, step(i.mask),
                  regionSize(i.src1), pixels<double>(i.value));
    };
    contest.peerName = "cv::norm";
    contest.peer = [=] { *pixels<double>(i.value) = cv::norm(i.src1, i.src2, kind, i.mask); };
    contest.results = {i.value};
    contest.tolerance = kTolerance<T>;
    contest.bytes = static_cast<double>(size.area()) * (2 * sizeof(T) + 1);
    return contest;
  };
  return {name, make, false, kFullHd};
}

constexpr int kChannel = 2;

template <class T>
double plainNorm(const Images& i, int kind) {
  double sum = 0;
  for (int y = 0; y < i.src1.rows; ++y) {
    const T* pixel = i.src1.ptr<T>(y) + kChannel - 1;
    const std::uint8_t* mask = i.mask.ptr(y);
    for (int x = 0; x < i.src1.cols; ++x) {
      if (mask[x] == 0) continue;
      const double value = std::abs(static_cast<double>(pixel[std::ptrdiff_t{3} * x]));
      sum = kind == cv::NORM_INF ? std::max(sum, value) : sum + (kind == cv::NORM_L1 ? value : value * value);
    }
  }
  return kind == cv::NORM_L2 ? std::sqrt(sum) : sum;
}

template <class T>
Row channelRow(const std::string& name, ChannelNorm<T> norm, Norm<T> single, int kind) {
  const auto make = [=](cv::Size size) {
    const Images i = makeImages<T>(size, 3);
    const Images one = makeImages<T>(size, 1);
    Contest contest;
    contest.ours = [=] {
      return norm(pixels<T>(i.src1), step(i.src1), i.mask.data, step(i.mask), regionSize(i.src1), kChannel,
                  pixels<double>(i.value));
    };
    contest.peerName = "plain loop";
    contest.peer = [=] { *pixels<double>(i.value) = plainNorm<T>(i, kind); };
    contest.results = {i.value};
    contest.tolerance = kTolerance<T>;
    contest.bytes = static_cast<double>(size.area()) * (3 * sizeof(T) + 1);
    contest.references = {{"one channel", [=] {
                             static_cast<void>(single(pixels<T>(one.src1), step(one.src1), one.mask.data,
                                                      step(one.mask), regionSize(one.src1),
                                                      pixels<double>(one.value)));
                           }}};
    return contest;
  };
  return {name, make, false, kFullHd};
}

std::vector<Row> rows() {
  std::vector<Row> all;
#define RVP_ADD_ROWS(KIND, TYPE, T)                                                                             \
  all.push_back(imageRow<T>("Norm_" #KIND "_" #TYPE, rvpiNorm_##KIND##_##TYPE##_C1MR, k##KIND));                \
  all.push_back(pairRow<T>("NormDiff_" #KIND "_" #TYPE, rvpiNormDiff_##KIND##_##TYPE##_C1MR, k##KIND));         \
  all.push_back(                                                                                                \
      pairRow<T>("NormRel_" #KIND "_" #TYPE, rvpiNormRel_##KIND##_##TYPE##_C1MR, k##KIND | cv::NORM_RELATIVE)); \
  all.push_back(channelRow<T>("Norm_" #KIND "_" #TYPE " of a channel", rvpiNorm_##KIND##_##TYPE##_C3CMR,        \
                              rvpiNorm_##KIND##_##TYPE##_C1MR, k##KIND))
#define RVP_ADD_TYPES(KIND)               \
  RVP_ADD_ROWS(KIND, 8u, std::uint8_t);   \
  RVP_ADD_ROWS(KIND, 16u, std::uint16_t); \
  RVP_ADD_ROWS(KIND, 32f, float)
  RVP_ADD_TYPES(Inf);
  RVP_ADD_TYPES(L1);
  RVP_ADD_TYPES(L2);
#undef RVP_ADD_TYPES
#undef RVP_ADD_ROWS
  return all;
}

const bool registered = addFamily("Masked norms", rows());

}  // namespace
}  // namespace rvp::bench
