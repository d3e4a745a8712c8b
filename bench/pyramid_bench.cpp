// Pyramid layers with the kernel 1 4 6 4 1 against cv::pyrDown and cv::pyrUp.
//
// Their bytes are ours, but for the last bit of words on the way down, and for the last columns and rows on the way
// up, where the peer mirrors otherwise. OpenCV
// has no other rate than 2; there the peer is its filter and its linear sampling at our places, which it rounds to
// 1/32 of a pixel, and our time is also told as a multiple of that at rate 2.
#include <cmath>
#include <cstdint>
#include <memory>
#include <opencv2/core.hpp>
#include <opencv2/imgproc.hpp>
#include <string>
#include <type_traits>
#include <vector>

#include "rvpcv/pyramid_layer.h"
#include "support/contest.h"
#include "support/images.h"

namespace rvp::bench {
namespace {

// The operations of one form.
template <class T, int kChannels>
struct Form;

#define RVP_FORM(TYPE, T, K, C, CV)                                                \
  template <>                                                                      \
  struct Form<T, C> {                                                              \
    using Coefficient = K;                                                         \
    static constexpr const char* kName = #TYPE "_C" #C "R";                        \
    static constexpr int kType = CV_MAKETYPE(CV, C);                               \
    static constexpr auto downSize = rvpiPyramidLayerDownGetSize_##TYPE##_C##C##R; \
    static constexpr auto downInit = rvpiPyramidLayerDownInit_##TYPE##_C##C##R;    \
    static constexpr auto down = rvpiPyramidLayerDown_##TYPE##_C##C##R;            \
    static constexpr auto upSize = rvpiPyramidLayerUpGetSize_##TYPE##_C##C##R;     \
    static constexpr auto upInit = rvpiPyramidLayerUpInit_##TYPE##_C##C##R;        \
    static constexpr auto up = rvpiPyramidLayerUp_##TYPE##_C##C##R;                \
  };
RVP_FORM(8u, std::uint8_t, std::int16_t, 1, CV_8U)
RVP_FORM(8u, std::uint8_t, std::int16_t, 3, CV_8U)
RVP_FORM(16u, std::uint16_t, std::int16_t, 1, CV_16U)
RVP_FORM(32f, float, float, 1, CV_32F)
RVP_FORM(32f, float, float, 3, CV_32F)

constexpr int kTaps = 5;
template <class F>
constexpr typename F::Coefficient kKernel[kTaps] = {1, 4, 6, 4, 1};

template <class T, int kChannels>
std::function<RvpStatus()> downCall(const cv::Mat& src, const cv::Mat& dst, float rate) {
  using F = Form<T, kChannels>;
  int bytes = 0, scratchBytes = 0;
  F::downSize(regionSize(src), kTaps, &bytes, &scratchBytes, rate);
  const cv::Mat block(1, bytes, CV_8U), scratch(1, scratchBytes, CV_8U);
  RvpiPyramidDownState* state = nullptr;
  F::downInit(&state, regionSize(src), rate, kKernel<F>, kTaps, rvpiPyramidLinear, block.data, scratch.data);
  return [=] {
    static_cast<void>(block);  // Lives as long as the call.
    return F::down(pixels<T>(src), step(src), regionSize(src), pixels<T>(dst), step(dst), regionSize(dst), state);
  };
}

cv::Size sizeBelow(const cv::Mat& src, float rate) {
  RvpiSize size{};
  rvpiGetPyramidDownROI(regionSize(src), &size, rate);
  return {size.width, size.height};
}

// Floats are summed in another order.
template <class T>
constexpr double kTolerance = std::is_same_v<T, float> ? 1e-6 : 0;

template <class T, int kChannels>
Row halvingRow() {
  using F = Form<T, kChannels>;
  const auto make = [](cv::Size size) {
    const cv::Mat src = photograph(Photo::kCoffee, size, F::kType);
    const cv::Mat dst(sizeBelow(src, 2), F::kType, cv::Scalar::all(0));
    Contest contest;
    contest.ours = downCall<T, kChannels>(src, dst, 2);
    contest.peerName = "cv::pyrDown";
    contest.peer = [=] {
      cv::Mat result = dst;
      cv::pyrDown(src, result, dst.size());
    };
    contest.results = {dst};
    contest.tolerance = kTolerance<T>;
    if (sizeof(T) == 2) {
      // Our words lose a bit after the row pass.
      contest.difference = [](const auto& ours, const auto& peer) -> std::string {
        const double most = cv::norm(ours[0], peer[0], cv::NORM_INF);
        return most <= 1 ? "" : "the results differ by up to " + std::to_string(most);
      };
    }
    contest.bytes = static_cast<double>(src.total() * src.elemSize() + dst.total() * dst.elemSize());
    return contest;
  };
  return {std::string("PyramidLayerDown_") + F::kName, make, true};
}

// What differs by more than a few levels, which is how far 1/32 of a pixel goes at an edge.
template <class T>
std::string compareSampled(const cv::Mat& ours, const cv::Mat& peer) {
  constexpr double kLevels = sizeof(T) == 2 ? 3 * 257 : 3;
  const double mean = cv::norm(ours, peer, cv::NORM_L1) / (static_cast<double>(ours.total()) * ours.channels());
  return mean < kLevels / 6 && cv::norm(ours, peer, cv::NORM_INF) < 4 * kLevels
             ? ""
             : "the results differ by " + std::to_string(mean) + " on average";
}

template <class T, int kChannels>
Row rateRow(float rate, const std::string& name) {
  using F = Form<T, kChannels>;
  const auto make = [=](cv::Size size) {
    const cv::Mat src = photograph(Photo::kCoffee, size, F::kType);
    const cv::Mat dst(sizeBelow(src, rate), F::kType, cv::Scalar::all(0));
    const cv::Mat half(sizeBelow(src, 2), F::kType, cv::Scalar::all(0));
    const cv::Mat filtered(size, F::kType);
    const cv::Mat kernel = (cv::Mat_<float>(kTaps, 1) << 1, 4, 6, 4, 1) / 16;
    const cv::Mat places = (cv::Mat_<double>(2, 3) << rate, 0, 0, 0, rate, 0);
    Contest contest;
    contest.ours = downCall<T, kChannels>(src, dst, rate);
    contest.peerName = "cv::sepFilter2D, warpAffine";
    contest.peer = [=] {
      cv::Mat result = dst;
      cv::sepFilter2D(src, filtered, -1, kernel, kernel);
      cv::warpAffine(filtered, result, places, dst.size(), cv::INTER_LINEAR | cv::WARP_INVERSE_MAP,
                     cv::BORDER_REPLICATE);
    };
    contest.results = {dst};
    contest.difference = [](const auto& ours, const auto& peer) { return compareSampled<T>(ours[0], peer[0]); };
    contest.references = {{"rate 2", [call = downCall<T, kChannels>(src, half, 2)] { call(); }}};
    return contest;
  };
  return {std::string("PyramidLayerDown_") + F::kName + ", rate " + name, make, true};
}

template <class T, int kChannels>
Row doublingRow() {
  using F = Form<T, kChannels>;
  const auto make = [](cv::Size size) {
    const cv::Mat src = photograph(Photo::kCoffee, {size.width / 2, size.height / 2}, F::kType);
    const cv::Mat dst(size, F::kType, cv::Scalar::all(0));
    int bytes = 0;
    F::upSize(regionSize(dst), kTaps, &bytes, 2);
    const cv::Mat block(1, bytes, CV_8U);
    RvpiPyramidUpState* state = nullptr;
    F::upInit(&state, regionSize(dst), 2, kKernel<F>, kTaps, rvpiPyramidLinear, block.data);
    Contest contest;
    contest.ours = [=] {
      static_cast<void>(block);
      return F::up(pixels<T>(src), step(src), regionSize(src), pixels<T>(dst), step(dst), regionSize(dst), state);
    };
    contest.peerName = "cv::pyrUp";
    contest.peer = [=] {
      cv::Mat result = dst;
      cv::pyrUp(src, result, dst.size());
    };
    contest.results = {dst};
    contest.difference = [=](const auto& ours, const auto& peer) -> std::string {
      const cv::Rect inner(0, 0, size.width - 2, size.height - 2);
      const double most = cv::norm(ours[0](inner), peer[0](inner), cv::NORM_INF);
      return most <= 255 * kTolerance<T> ? "" : "the results differ by up to " + std::to_string(most);
    };
    contest.bytes = static_cast<double>(src.total() * src.elemSize() + dst.total() * dst.elemSize());
    return contest;
  };
  return {std::string("PyramidLayerUp_") + F::kName, make};
}

std::vector<Row> rows() {
  return {halvingRow<std::uint8_t, 1>(),
          halvingRow<std::uint8_t, 3>(),
          halvingRow<std::uint16_t, 1>(),
          halvingRow<float, 1>(),
          halvingRow<float, 3>(),
          rateRow<std::uint8_t, 1>(1.3F, "1.3"),
          rateRow<std::uint8_t, 1>(3.0F, "3"),
          rateRow<std::uint8_t, 3>(1.3F, "1.3"),
          rateRow<float, 1>(1.3F, "1.3"),
          rateRow<float, 3>(1.3F, "1.3"),
          doublingRow<std::uint8_t, 1>(),
          doublingRow<std::uint8_t, 3>(),
          doublingRow<std::uint16_t, 1>(),
          doublingRow<float, 1>(),
          doublingRow<float, 3>()};
}

const bool registered = addFamily("Pyramids", rows());

}  // namespace
}  // namespace rvp::bench
