// Flood fills against cv::floodFill: the largest of the regions around some seeds of a photograph or of its bright
// and dark shapes, and patterns that ask much of a fill.
#include <algorithm>
#include <cstdint>
#include <opencv2/core.hpp>
#include <opencv2/imgproc.hpp>
#include <string>
#include <vector>

#include "rvpcv/flood.h"
#include "support/contest.h"
#include "support/images.h"
#include "support/patterns.h"

namespace rvp::bench {
namespace {

enum class Kind { kPlain, kRange, kGradient };

using Scratch = std::vector<std::uint8_t>;

struct Fill {
  Kind kind;
  int channels;
  int connectivity;

  // No pixel of a photograph is 0, which therefore lies in few ranges.
  static constexpr std::uint8_t kNewValue[3] = {0, 1, 0};
  static constexpr std::uint8_t kRangeLimit[3] = {40, 40, 40};
  static constexpr std::uint8_t kGradientLimit[3] = {6, 6, 6};

  const std::uint8_t* limit() const { return kind == Kind::kRange ? kRangeLimit : kGradientLimit; }

  Scratch scratch(cv::Size size) const {
    int bytes = 0;
    const auto getSize = kind == Kind::kGradient ? rvpiFloodFillGetSize_Grad : rvpiFloodFillGetSize;
    getSize({size.width, size.height}, &bytes);
    return Scratch(static_cast<std::size_t>(bytes));
  }

  RvpStatus ours(const cv::Mat& image, RvpiPoint seed, RvpiFilledRegion* region, std::uint8_t* buffer) const {
    std::uint8_t* const first = pixels<std::uint8_t>(image);
    const RvpiSize size = regionSize(image);
    const bool four = connectivity == 4;
    if (kind == Kind::kPlain) {
      if (channels == 1)
        return (four ? rvpiFloodFill_4Con_8u_C1IR : rvpiFloodFill_8Con_8u_C1IR)(first, step(image), size, seed,
                                                                                kNewValue[0], region, buffer);
      return (four ? rvpiFloodFill_4Con_8u_C3IR : rvpiFloodFill_8Con_8u_C3IR)(first, step(image), size, seed,
                                                                              kNewValue, region, buffer);
    }
    const bool range = kind == Kind::kRange;
    if (channels == 1) {
      const auto call = range ? (four ? rvpiFloodFill_Range4Con_8u_C1IR : rvpiFloodFill_Range8Con_8u_C1IR)
                              : (four ? rvpiFloodFill_Grad4Con_8u_C1IR : rvpiFloodFill_Grad8Con_8u_C1IR);
      return call(first, step(image), size, seed, kNewValue[0], *limit(), *limit(), region, buffer);
    }
    const auto call = range ? (four ? rvpiFloodFill_Range4Con_8u_C3IR : rvpiFloodFill_Range8Con_8u_C3IR)
                            : (four ? rvpiFloodFill_Grad4Con_8u_C3IR : rvpiFloodFill_Grad8Con_8u_C3IR);
    return call(first, step(image), size, seed, kNewValue, limit(), limit(), region, buffer);
  }

  void peer(cv::Mat image, RvpiPoint seed) const {
    const cv::Scalar delta = kind == Kind::kPlain ? cv::Scalar() : cv::Scalar::all(*limit());
    cv::Rect rectangle;
    cv::floodFill(image, {seed.x, seed.y}, cv::Scalar(kNewValue[0], kNewValue[1], kNewValue[2]), &rectangle, delta,
                  delta, connectivity | (kind == Kind::kRange ? cv::FLOODFILL_FIXED_RANGE : 0));
  }

  Contest contest(const cv::Mat& image, RvpiPoint seed) const {
    Contest contest;
    const cv::Mat buffer = cv::Mat(scratch(image.size()), true);
    contest.ours = [*this, image, seed, buffer] {
      RvpiFilledRegion region;
      return ours(image, seed, &region, buffer.data);
    };
    contest.peerName = "cv::floodFill";
    contest.peer = [*this, image, seed] { peer(image, seed); };
    contest.results = {image};
    contest.spoilsInput = true;
    return contest;
  }
};

// ---- A photograph

cv::Mat sourceOf(const Fill& fill, cv::Size size) {
  if (fill.kind != Kind::kPlain) return photograph(Photo::kCoffee, size, CV_8UC(fill.channels));
  cv::Mat shapes = halfMask(Photo::kCoffee, size);
  shapes = cv::max(shapes, cv::Scalar(2));  // neither is the new value
  cv::Mat image;
  cv::merge(std::vector<cv::Mat>(static_cast<std::size_t>(fill.channels), shapes), image);
  return image;
}

RvpiPoint bestSeed(const Fill& fill, const cv::Mat& image) {
  constexpr int kSeeds = 24;
  Scratch buffer = fill.scratch(image.size());
  RvpiPoint best{};
  double most = 0;
  for (int i = 0; i < kSeeds; ++i) {
    // In another column each, in rows that are spread over the image.
    const RvpiPoint seed = {(2 * i + 1) * image.cols / (2 * kSeeds), (5 * i + 1) % kSeeds * image.rows / kSeeds};
    RvpiFilledRegion region{};
    // A seed near the new value is refused.
    if (fill.ours(image.clone(), seed, &region, buffer.data()) != rvpStatusOk || region.area <= most) continue;
    most = region.area;
    best = seed;
  }
  return best;
}

Row photographRow(const std::string& name, const Fill& fill) {
  return {name, [=](cv::Size size) {
            const cv::Mat image = sourceOf(fill, size);
            return fill.contest(image, bestSeed(fill, image));
          }};
}

// ---- Patterns, of 255 on 2

cv::Mat allEqual(cv::Size size) { return {size, CV_8U, cv::Scalar(255)}; }

Row patternRow(const std::string& name, const Fill& fill, cv::Mat (*pattern)(cv::Size)) {
  return {name, [=](cv::Size size) { return fill.contest(pattern(size), {0, 0}); }, false, {{3840, 2160}}};
}

std::vector<Row> rows() {
  return {
      photographRow("4Con_8u_C1IR", {Kind::kPlain, 1, 4}),
      photographRow("8Con_8u_C1IR", {Kind::kPlain, 1, 8}),
      photographRow("4Con_8u_C3IR", {Kind::kPlain, 3, 4}),
      photographRow("8Con_8u_C3IR", {Kind::kPlain, 3, 8}),
      photographRow("Range4Con_8u_C1IR", {Kind::kRange, 1, 4}),
      photographRow("Range8Con_8u_C1IR", {Kind::kRange, 1, 8}),
      photographRow("Range4Con_8u_C3IR", {Kind::kRange, 3, 4}),
      photographRow("Range8Con_8u_C3IR", {Kind::kRange, 3, 8}),
      photographRow("Grad4Con_8u_C1IR", {Kind::kGradient, 1, 4}),
      photographRow("Grad8Con_8u_C1IR", {Kind::kGradient, 1, 8}),
      photographRow("Grad4Con_8u_C3IR", {Kind::kGradient, 3, 4}),
      photographRow("Grad8Con_8u_C3IR", {Kind::kGradient, 3, 8}),
      patternRow("4Con_8u_C1IR, spiral", {Kind::kPlain, 1, 4}, spiral),
      patternRow("8Con_8u_C1IR, checkerboard", {Kind::kPlain, 1, 8}, checkerboard),
      patternRow("4Con_8u_C1IR, comb", {Kind::kPlain, 1, 4}, comb),
      patternRow("4Con_8u_C1IR, all equal", {Kind::kPlain, 1, 4}, allEqual),
      patternRow("Grad8Con_8u_C1IR, checkerboard", {Kind::kGradient, 1, 8}, checkerboard),
      patternRow("Grad4Con_8u_C1IR, comb", {Kind::kGradient, 1, 4}, comb),
      patternRow("Grad4Con_8u_C1IR, all equal", {Kind::kGradient, 1, 4}, allEqual),
  };
}

const bool registered = addFamily("Flood fill", rows());

}  // namespace
}  // namespace rvp::bench
