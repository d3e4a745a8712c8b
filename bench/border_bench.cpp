// Border copies against cv::copyMakeBorder: an image into a larger one, with a border of 1, 3 or 16 pixels on each
// side. The bare loop copies the rows alone, by memcpy, and leaves the border out.
#include <array>
#include <cstdint>
#include <cstring>
#include <opencv2/core.hpp>

#include "filter/border.h"
#include "support/contest.h"
#include "support/images.h"

namespace rvp::bench {
namespace {

enum class Mode { kConstant, kReplicate, kMirror };

constexpr const char* kModeNames[] = {"constant", "replicate", "mirror"};
constexpr int kPeerModes[] = {cv::BORDER_CONSTANT, cv::BORDER_REPLICATE, cv::BORDER_REFLECT_101};
constexpr std::array<int, 4> kValue = {17, 99, 200, 255};

template <class T, int kChannels>
RvpStatus copyWithBorder(Mode mode, const cv::Mat& src, const cv::Mat& dst, int border) {
  const T* from = pixels<T>(src);
  T* to = pixels<T>(dst);
  const RvpiSize srcSize = regionSize(src);
  const RvpiSize dstSize = regionSize(dst);
  switch (mode) {
    case Mode::kConstant: {
      T value[kChannels];
      for (std::size_t c = 0; c < kChannels; ++c) value[c] = static_cast<T>(kValue[c]);
      return n8::rvpiCopyConstBorder<T, kChannels>(from, step(src), srcSize, to, step(dst), dstSize, border, border,
                                                   value);
    }
    case Mode::kReplicate:
      return n8::rvpiCopyReplicateBorder<T, kChannels>(from, step(src), srcSize, to, step(dst), dstSize, border,
                                                       border);
    default:
      return n8::rvpiCopyMirrorBorder<T, kChannels>(from, step(src), srcSize, to, step(dst), dstSize, border,
                                                    border);
  }
}

void copyRows(const cv::Mat& src, const cv::Mat& dst, int border) {
  const std::size_t rowBytes = static_cast<std::size_t>(src.cols) * src.elemSize();
  const std::size_t left = static_cast<std::size_t>(border) * src.elemSize();
  for (int y = 0; y < src.rows; ++y) {
    std::memcpy(dst.data + static_cast<std::size_t>(y + border) * dst.step[0] + left, src.ptr(y), rowBytes);
  }
}

template <class T, int kChannels>
Row borderRow(const char* types, Mode mode, int border, const std::vector<cv::Size>& sizes) {
  const std::string operation =
      std::string(kModeNames[static_cast<std::size_t>(mode)]) + " " + types + " by " + std::to_string(border);
  const auto make = [=](cv::Size size) {
    const cv::Mat src = photograph(Photo::kCoffee, size, CV_MAKETYPE(cv::DataType<T>::depth, kChannels));
    const cv::Mat dst(size + cv::Size(2 * border, 2 * border), src.type(), cv::Scalar::all(0));
    const double bytes =
        (static_cast<double>(src.total()) + static_cast<double>(dst.total())) * static_cast<double>(src.elemSize());
    return Contest{.ours = [=] { return copyWithBorder<T, kChannels>(mode, src, dst, border); },
                   .peerName = "copyMakeBorder",
                   .peer =
                       [=] {
                         cv::Mat to = dst;
                         cv::copyMakeBorder(src, to, border, border, border, border,
                                            kPeerModes[static_cast<std::size_t>(mode)],
                                            cv::Scalar(kValue[0], kValue[1], kValue[2], kValue[3]));
                       },
                   .results = {dst},
                   .bytes = bytes,
                   .references = {{"bare loop", [=] { copyRows(src, dst, border); }}}};
  };
  return {.operation = operation, .make = make, .sizes = sizes};
}

// What filters ask for is a border of a few pixels, shown for all types. Where the border is most of the work, in a
// small image, other widths are shown too.
std::vector<Row> rows() {
  std::vector<Row> all;
  for (const Mode mode : {Mode::kConstant, Mode::kReplicate, Mode::kMirror}) {
    all.push_back(borderRow<std::uint8_t, 1>("8u C1", mode, 3, kAllSizes));
    all.push_back(borderRow<std::uint8_t, 3>("8u C3", mode, 3, kAllSizes));
    all.push_back(borderRow<std::uint8_t, 4>("8u C4", mode, 3, kAllSizes));
    all.push_back(borderRow<std::uint16_t, 1>("16u C1", mode, 3, kAllSizes));
    all.push_back(borderRow<float, 1>("32f C1", mode, 3, kAllSizes));
    all.push_back(borderRow<float, 3>("32f C3", mode, 3, kAllSizes));
    for (const int border : {1, 16}) {
      all.push_back(borderRow<std::uint8_t, 1>("8u C1", mode, border, kInCache));
      all.push_back(borderRow<std::uint8_t, 3>("8u C3", mode, border, kInCache));
    }
  }
  return all;
}

const bool registered = addFamily("Border copies", rows());

}  // namespace
}  // namespace rvp::bench
