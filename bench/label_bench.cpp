// Labels against cv::connectedComponents with its default algorithm, and speckles against cv::filterSpeckles.
//
// The peer numbers components in another order: two results agree if each label of one goes with one label of the
// other. Its labels are 32 bits wide; those in place stand beside the same call.
#include <algorithm>
#include <cstdint>
#include <opencv2/calib3d.hpp>
#include <opencv2/core.hpp>
#include <opencv2/imgproc.hpp>
#include <string>
#include <vector>

#include "rvpcv/label.h"
#include "support/contest.h"
#include "support/images.h"
#include "support/patterns.h"

namespace rvp::bench {
namespace {

enum class Source { kPhotograph, kNoise, kSpiral, kCheckerboard, kComb, kAllEqual };

// Zeros among other values.
cv::Mat sourceOf(Source source, cv::Size size) {
  switch (source) {
    case Source::kPhotograph:
      return halfMask(Photo::kCoffee, size);
    case Source::kNoise:
      return noise(size, CV_8U, 3) > 127;
    case Source::kSpiral:
      return spiral(size) > 127;
    case Source::kCheckerboard:
      return checkerboard(size) > 127;
    case Source::kComb:
      return comb(size) > 127;
    case Source::kAllEqual:
      break;
  }
  return {size, CV_8U, cv::Scalar(255)};
}

// What says that the labels stand for different components, or nothing.
std::string compareLabels(const cv::Mat& ours, const cv::Mat& peer) {
  double most = 0;
  cv::minMaxLoc(ours, nullptr, &most);
  double peerMost = 0;
  cv::minMaxLoc(peer, nullptr, &peerMost);
  if (most != peerMost) return std::to_string(most) + " and " + std::to_string(peerMost) + " components";
  std::vector<int> peerOf(static_cast<std::size_t>(most) + 1, -1);
  peerOf[0] = 0;
  for (int y = 0; y < ours.rows; ++y) {
    for (int x = 0; x < ours.cols; ++x) {
      int& expected = peerOf[static_cast<std::size_t>(ours.at<int>(y, x))];
      if (expected == -1) expected = peer.at<int>(y, x);
      if (expected != peer.at<int>(y, x)) return "row " + std::to_string(y) + ", column " + std::to_string(x);
    }
  }
  return "";
}

Row labelRow(const std::string& name, int connectivity, Source source) {
  const auto make = [=](cv::Size size) {
    const cv::Mat src = sourceOf(source, size);
    const cv::Mat dst(size, CV_32S, cv::Scalar(0));
    int bytes = 0;
    rvpiLabelMarkersGetBufferSize_8u32s_C1R(regionSize(src), &bytes);
    const cv::Mat scratch(1, bytes, CV_8U);
    Contest contest;
    contest.ours = [=] {
      int number = 0;
      return rvpiLabelMarkers_8u32s_C1R(src.data, step(src), pixels<std::int32_t>(dst), step(dst), regionSize(src),
                                        1, 0x7FFFFFFE, connectivity == 4 ? rvpConnect4 : rvpConnect8, &number,
                                        scratch.data);
    };
    contest.peerName = "cv::connectedComponents";
    contest.peer = [=] {
      cv::Mat labels = dst;
      cv::connectedComponents(src, labels, connectivity, CV_32S);
    };
    contest.results = {dst};
    contest.difference = [](const auto& ours, const auto& peer) { return compareLabels(ours[0], peer[0]); };
    return contest;
  };
  const bool isPattern = source != Source::kPhotograph && source != Source::kNoise;
  return {name, make, false, isPattern ? std::vector<cv::Size>{{3840, 2160}} : kAllSizes};
}

// A smooth surface with some pixels replaced by those of other places.
cv::Mat disparity(cv::Size size, int type) {
  cv::Mat surface;
  cv::GaussianBlur(photograph(Photo::kCoffee, size, CV_8U), surface, {0, 0}, 3);
  const cv::Mat chance = noise(size, CV_8U, 5);
  cv::Mat turned;
  cv::flip(surface, turned, 1);
  turned.copyTo(surface, chance < 8);
  surface.convertTo(surface, type);
  return surface;
}

template <class T>
Row speckleRow(const std::string& name, int type,
               RvpStatus (*mark)(T*, int, RvpiSize, T, int, T, RvpiConnectivity, std::uint8_t*)) {
  return {name, [=](cv::Size size) {
            constexpr int kMaxSize = 100;
            constexpr T kMaxDifference = 2;
            const cv::Mat image = disparity(size, type);
            int bytes = 0;
            rvpiMarkSpecklesGetBufferSize(regionSize(image), type == CV_8U ? rvp8u : rvp16s, 1, &bytes);
            const cv::Mat scratch(1, bytes, CV_8U);
            Contest contest;
            contest.ours = [=] {
              return mark(pixels<T>(image), step(image), regionSize(image), 0, kMaxSize, kMaxDifference,
                          rvpConnect4, scratch.data);
            };
            contest.peerName = "cv::filterSpeckles";
            contest.peer = [=, buffer = cv::Mat()]() mutable {
              cv::filterSpeckles(cv::Mat(image), 0, kMaxSize, kMaxDifference, buffer);
            };
            contest.results = {image};
            contest.spoilsInput = true;
            return contest;
          }};
}

std::vector<Row> rows() {
  return {
      labelRow("LabelMarkers_8u32s, 4 neighbours", 4, Source::kPhotograph),
      labelRow("LabelMarkers_8u32s, 8 neighbours", 8, Source::kPhotograph),
      labelRow("LabelMarkers_8u32s, 4 neighbours, noise", 4, Source::kNoise),
      labelRow("LabelMarkers_8u32s, 8 neighbours, noise", 8, Source::kNoise),
      labelRow("LabelMarkers_8u32s, 8 neighbours, spiral", 8, Source::kSpiral),
      labelRow("LabelMarkers_8u32s, 8 neighbours, checkerboard", 8, Source::kCheckerboard),
      labelRow("LabelMarkers_8u32s, 8 neighbours, comb", 8, Source::kComb),
      labelRow("LabelMarkers_8u32s, 8 neighbours, all equal", 8, Source::kAllEqual),
      speckleRow<std::uint8_t>("MarkSpeckles_8u", CV_8U, rvpiMarkSpeckles_8u_C1IR),
      speckleRow<std::int16_t>("MarkSpeckles_16s", CV_16S, rvpiMarkSpeckles_16s_C1IR),
  };
}

const bool registered = addFamily("Labels and speckles", rows());

}  // namespace
}  // namespace rvp::bench
