// Filter pipelines against cv::sepFilter2D: whole separable passes, the row stage into a ring of rows and the
// column stage out of it, a strip of the image at a time. Smoothing divides in both stages, so the intermediate
// rows are rounded and an integer result may differ from the peer's by one. Derivatives divide by 1 and are equal.
#include <algorithm>
#include <array>
#include <cmath>
#include <cstdint>
#include <memory>
#include <opencv2/core.hpp>
#include <opencv2/imgproc.hpp>
#include <type_traits>

#include "rvpcv/filter.h"
#include "support/contest.h"
#include "support/images.h"

namespace rvp::bench {
namespace {

// Rows that the column stage makes at a time: the ring of these and the kernel's stays in the second cache.
constexpr int kStrip = 12;

struct Weights {
  std::vector<int> coefficients;
  int divisor;
};

// A bell of integers whose sum, the divisor, is 4 for 3 taps, 16 for 5 and 256 for more.
Weights bell(int size) {
  Weights weights = {std::vector<int>(static_cast<std::size_t>(size)), size == 3 ? 4 : size == 5 ? 16 : 256};
  const double sigma = size == 3 ? 0.85 : size == 5 ? 1.05 : size * 0.2;
  double whole = 0;
  const auto height = [=](int i) {
    const int offset = i - size / 2;
    return std::exp(-0.5 * offset * offset / (sigma * sigma));
  };
  for (int i = 0; i < size; ++i) whole += height(i);
  int rest = weights.divisor;
  for (int i = 0; i < size; ++i) {
    int& c = weights.coefficients[static_cast<std::size_t>(i)];
    c = static_cast<int>(std::lround(weights.divisor * height(i) / whole));
    rest -= c;
  }
  weights.coefficients[static_cast<std::size_t>(size / 2)] += rest;
  return weights;
}

// An odd kernel: the differences of pixels at equal distances.
Weights slope(int size) {
  Weights weights = {std::vector<int>(static_cast<std::size_t>(size)), 1};
  for (int i = 0; i < size; ++i) weights.coefficients[static_cast<std::size_t>(i)] = i - size / 2;
  return weights;
}

// Small coefficients: the sums of a byte image stay within 16 bits.
Weights hat(int size) {
  Weights weights = {std::vector<int>(static_cast<std::size_t>(size)), 1};
  for (int i = 0; i < size; ++i)
    weights.coefficients[static_cast<std::size_t>(i)] = 1 + (std::min(i, size - 1 - i) > 0 ? 1 : 0);
  return weights;
}

// A pass with one operation of each stage.
template <auto kRow, auto kRowSize, auto kColumn, auto kColumnSize, class Src, class Mid, class Dst, int kChannels>
class Pass {
 public:
  using Kernel = std::conditional_t<std::is_same_v<Src, float>, float, std::int16_t>;

  Pass(cv::Size size, Weights x, Weights y)
      : size_(size), x_(kernelOf(x)), y_(kernelOf(y)), xDivisor_(x.divisor), yDivisor_(y.divisor) {
    const int taps = static_cast<int>(y_.size());
    ring_.resize(static_cast<std::size_t>(std::min(kStrip, size.height) + taps - 1));
    elements_ = (static_cast<std::size_t>(size.width * kChannels) + 31) / 32 * 32;
    rows_.resize(ring_.size() * elements_);
    for (std::size_t i = 0; i < ring_.size(); ++i) ring_[i] = rows_.data() + i * elements_;
    int row = 0;
    int column = 0;
    const RvpiSize strip = {size.width, static_cast<int>(ring_.size())};
    kRowSize(strip, static_cast<int>(x_.size()), &row);
    kColumnSize(strip, taps, &column);
    buffer_.resize(static_cast<std::size_t>(std::max(row, column)));
  }

  RvpStatus run(const cv::Mat& src, const cv::Mat& dst) {
    const int taps = static_cast<int>(y_.size());
    const int anchor = taps / 2;
    const auto ringRow = [this](int y) { return ring_[static_cast<std::size_t>(y) % ring_.size()]; };
    std::vector<Mid*> to;
    std::vector<const Mid*> from;
    int done = 0;
    for (int y = 0; y < size_.height; y += kStrip) {
      const int height = std::min(kStrip, size_.height - y);
      const int needed = std::min(y + height + taps - 1 - anchor, size_.height);
      to.clear();
      for (int i = done; i < needed; ++i) to.push_back(ringRow(i));
      if (RvpStatus fault = filterRows(src, done, to); fault != rvpStatusOk) return fault;
      done = needed;
      from.clear();
      for (int i = 0; i < height + taps - 1; ++i)
        from.push_back(ringRow(std::clamp(y + i - anchor, 0, size_.height - 1)));
      if (RvpStatus fault = filterColumns(from, dst, y, height); fault != rvpStatusOk) return fault;
    }
    return rvpStatusOk;
  }

 private:
  static std::vector<Kernel> kernelOf(const Weights& weights) {
    std::vector<Kernel> kernel;
    for (const int c : weights.coefficients)
      kernel.push_back(std::is_same_v<Kernel, float> ? static_cast<Kernel>(c) / static_cast<Kernel>(weights.divisor)
                                                     : static_cast<Kernel>(c));
    return kernel;
  }

  RvpStatus filterRows(const cv::Mat& src, int first, const std::vector<Mid*>& to) {
    if (to.empty()) return rvpStatusOk;
    const Src* from = pixels<Src>(src.row(first));
    const RvpiSize size = {size_.width, static_cast<int>(to.size())};
    const int taps = static_cast<int>(x_.size());
    const Src zero[3] = {};
    const auto value = [&] {
      if constexpr (kChannels == 1) {
        return zero[0];
      } else {
        return zero;
      }
    }();
    if constexpr (std::is_same_v<Src, float>) {
      return kRow(from, step(src), to.data(), size, x_.data(), taps, taps / 2, rvpBorderRepl, value,
                  buffer_.data());
    } else {
      return kRow(from, step(src), to.data(), size, x_.data(), taps, taps / 2, rvpBorderRepl, value, xDivisor_,
                  buffer_.data());
    }
  }

  RvpStatus filterColumns(const std::vector<const Mid*>& from, const cv::Mat& dst, int y, int height) {
    Dst* to = pixels<Dst>(dst.row(y));
    const int taps = static_cast<int>(y_.size());
    if constexpr (std::is_same_v<Dst, float>) {
      return kColumn(from.data(), to, step(dst), {size_.width, height}, y_.data(), taps, buffer_.data());
    } else {
      return kColumn(from.data(), to, step(dst), {size_.width, height}, y_.data(), taps, yDivisor_, buffer_.data());
    }
  }

  cv::Size size_;
  std::vector<Kernel> x_;
  std::vector<Kernel> y_;
  int xDivisor_;
  int yDivisor_;
  std::size_t elements_ = 0;
  std::vector<Mid> rows_;
  std::vector<Mid*> ring_;
  std::vector<std::uint8_t> buffer_;
};

cv::Mat peerKernel(const Weights& weights) {
  cv::Mat kernel(1, static_cast<int>(weights.coefficients.size()), CV_32F);
  for (int i = 0; i < kernel.cols; ++i)
    kernel.at<float>(i) =
        static_cast<float>(weights.coefficients[static_cast<std::size_t>(i)]) / static_cast<float>(weights.divisor);
  return kernel;
}

// What differs by more than `most`, absolutely.
std::string farApart(const cv::Mat& ours, const cv::Mat& peer, double most) {
  const double distance = cv::norm(ours, peer, cv::NORM_INF);
  return distance <= most ? "" : "results differ by " + std::to_string(distance);
}

// The image that a filter of this element type is measured on.
template <class T>
cv::Mat source(cv::Size size, int channels, bool small) {
  if constexpr (std::is_same_v<T, std::int16_t>) {
    cv::Mat bytes = photograph(Photo::kCoffee, size, CV_MAKETYPE(CV_8U, channels));
    cv::Mat words;
    bytes.convertTo(words, CV_16S, small ? 1 : 64, small ? 0 : -4000);
    return words;
  } else {
    return photograph(Photo::kCoffee, size, CV_MAKETYPE(cv::DataType<T>::depth, channels));
  }
}

template <class AnyPass, class Src, class Dst, int kChannels>
Row passRow(const std::string& operation, Weights x, Weights y, double most, bool small,
            const std::function<std::function<void()>(const cv::Mat& src)>& plain = nullptr) {
  const auto make = [=](cv::Size size) {
    const cv::Mat src = source<Src>(size, kChannels, small);
    const cv::Mat dst(size, CV_MAKETYPE(cv::DataType<Dst>::depth, kChannels), cv::Scalar::all(77));
    const auto pass = std::make_shared<AnyPass>(size, x, y);
    Contest contest{
        .ours = [=] { return pass->run(src, dst); },
        .peerName = "sepFilter2D",
        .peer =
            [=, kx = peerKernel(x), ky = peerKernel(y)] {
              cv::Mat to = dst;
              cv::sepFilter2D(src, to, dst.depth(), kx, ky, {-1, -1}, 0, cv::BORDER_REPLICATE);
            },
        .results = {dst},
        .bytes = static_cast<double>(size.area()) * kChannels * (sizeof(Src) + sizeof(Dst)),
        .difference = [=](const std::vector<cv::Mat>& ours,
                          const std::vector<cv::Mat>& peer) { return farApart(ours[0], peer[0], most); }};
    if (plain) contest.references = {{"plain form", plain(src)}};
    return contest;
  };
  return {.operation = operation, .make = make, .team = false, .sizes = {{320, 240}, {1920, 1080}}};
}

#define RVP_PASS(ROW, COLUMN, SRC, MID, DST, CHANNELS)                  \
  Pass<rvpiFilterRowBorderPipeline_##ROW##_C##CHANNELS##R,              \
       rvpiFilterRowBorderPipelineGetBufferSize_##ROW##_C##CHANNELS##R, \
       rvpiFilterColumnPipeline_##COLUMN##_C##CHANNELS##R,              \
       rvpiFilterColumnPipelineGetBufferSize_##COLUMN##_C##CHANNELS##R, std::SRC, std::MID, std::DST, CHANNELS>

template <int kChannels, class P8u, class P8u16s, class P16s, class P16u, class P32f, class PLow>
void addRows(std::vector<Row>& all) {
  using std::int16_t, std::uint16_t, std::uint8_t;
  const std::string channels = " C" + std::to_string(kChannels);
  for (const int n : {3, 5, 9, 21}) {
    const auto name = [&](const char* types) { return types + channels + ", " + std::to_string(n) + " taps"; };
    const Weights b = bell(n);
    all.push_back(passRow<P8u, uint8_t, uint8_t, kChannels>(name("smooth 8u"), b, b, 1, false));
    all.push_back(passRow<P16s, int16_t, int16_t, kChannels>(name("smooth 16s"), b, b, 1, false));
    all.push_back(passRow<P16u, uint16_t, uint16_t, kChannels>(name("smooth 16u"), b, b, 1, false));
    all.push_back(passRow<P32f, float, float, kChannels>(name("smooth 32f"), b, b, 1e-3, false));
    // Longer ones leave the 16 bits that these forms have.
    if (n > 5) continue;
    all.push_back(passRow<P8u16s, uint8_t, int16_t, kChannels>(name("slope 8u16s"), slope(n), hat(n), 0, false));
    all.push_back(passRow<PLow, int16_t, int16_t, kChannels>(
        name("slope Low 16s"), slope(n), hat(n), 1, true, [=](const cv::Mat& src) -> std::function<void()> {
          const cv::Mat dst(src.size(), src.type(), cv::Scalar::all(0));
          const auto pass = std::make_shared<P16s>(src.size(), slope(n), hat(n));
          return [=] { static_cast<void>(pass->run(src, dst)); };
        }));
  }
}

std::vector<Row> rows() {
  std::vector<Row> all;
#define RVP_ADD_PASSES(C)                                                                                       \
  addRows<C, RVP_PASS(8u16s, 16s8u, uint8_t, int16_t, uint8_t, C),                                              \
          RVP_PASS(8u16s, 16s, uint8_t, int16_t, int16_t, C), RVP_PASS(16s, 16s, int16_t, int16_t, int16_t, C), \
          RVP_PASS(16u, 16u, uint16_t, uint16_t, uint16_t, C),                                                  \
          Pass<rvpiFilterRowBorderPipeline_32f_C##C##R, rvpiFilterRowBorderPipelineGetBufferSize_32f_C##C##R,   \
               rvpiFilterColumnPipeline_32f_C##C##R, rvpiFilterColumnPipelineGetBufferSize_32f_C##C##R, float,  \
               float, float, C>,                                                                                \
          RVP_PASS(Low_16s, Low_16s, int16_t, int16_t, int16_t, C)>(all)
  RVP_ADD_PASSES(1);
  RVP_ADD_PASSES(3);
  return all;
}

const bool registered = addFamily("Filter pipelines", rows());

}  // namespace
}  // namespace rvp::bench
