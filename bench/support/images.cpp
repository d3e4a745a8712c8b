#include "support/images.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <iterator>
#include <opencv2/imgcodecs.hpp>
#include <opencv2/imgproc.hpp>
#include <string>
#include <vector>

namespace rvp::bench {
namespace {

constexpr std::uint64_t kLowByteSeed = 16;

// The file, read once.
const cv::Mat& load(Photo photo) {
  constexpr const char* kFiles[] = {"astronaut.png", "coffee.png", "chelsea.png"};
  static cv::Mat images[std::size(kFiles)];
  const std::size_t index = static_cast<std::size_t>(photo);
  cv::Mat& image = images[index];
  if (!image.empty()) return image;
  const std::string path = std::string(RVPCV_BENCH_IMAGES "/") + kFiles[index];
  image = cv::imread(path, cv::IMREAD_COLOR);
  if (image.empty()) {
    std::fprintf(stderr, "cannot read the photograph %s\n", path.c_str());
    std::exit(EXIT_FAILURE);
  }
  return image;
}

cv::Mat withChannels(const cv::Mat& colour, int channels) {
  if (channels == 3) return colour;
  cv::Mat grey;
  cv::cvtColor(colour, grey, cv::COLOR_BGR2GRAY);
  if (channels == 1) return grey;
  cv::Mat four;
  cv::merge(std::vector<cv::Mat>{colour, grey}, four);
  return four;
}

}  // namespace

cv::Mat photograph(Photo photo, cv::Size size, int type) {
  cv::Mat image = withChannels(load(photo), CV_MAT_CN(type));
  image = image(cv::Rect({0, 0}, cv::Size(std::min(size.width, image.cols), std::min(size.height, image.rows))));
  cv::Mat tiled;
  cv::copyMakeBorder(image, tiled, 0, size.height - image.rows, 0, size.width - image.cols,
                     cv::BORDER_REFLECT | cv::BORDER_ISOLATED);
  tiled = cv::max(tiled, cv::Scalar::all(1));

  const int depth = CV_MAT_DEPTH(type);
  if (depth == CV_8U) return tiled;
  cv::Mat lowByte = noise(size, CV_8UC(CV_MAT_CN(type)), kLowByteSeed);
  cv::Mat wide;
  tiled.convertTo(wide, CV_16U, 256);
  cv::add(wide, lowByte, wide, cv::noArray(), CV_16U);
  if (depth == CV_16U) return wide;
  cv::Mat other;
  wide.convertTo(other, depth, depth == CV_16S ? 0.5 : 1.0 / 256);
  return other;
}

cv::Mat noise(cv::Size size, int type, std::uint64_t seed) {
  const int depth = CV_MAT_DEPTH(type);
  const double low = depth == CV_16S ? -32768 : 0;
  const double high = depth == CV_16U ? 65536 : depth == CV_16S ? 32768 : 256;
  cv::Mat image(size, type);
  cv::RNG(seed).fill(image, cv::RNG::UNIFORM, cv::Scalar::all(low), cv::Scalar::all(high));
  return image;
}

cv::Mat halfMask(Photo photo, cv::Size size) {
  const cv::Mat grey = photograph(photo, size, CV_8UC1);
  std::vector<std::uint8_t> sorted(grey.begin<std::uint8_t>(), grey.end<std::uint8_t>());
  const auto middle = sorted.begin() + static_cast<std::ptrdiff_t>(sorted.size() / 2);
  std::nth_element(sorted.begin(), middle, sorted.end());
  return grey > *middle;
}

}  // namespace rvp::bench
