#include "detector.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdint>

#include "grouping.h"
#include "tour/status.h"

namespace faces {

using tour::check;
using tour::Picture;

namespace {

// Windows whose standard deviation is not above this many gray levels show nothing; noise alone would decide.
constexpr float kLeastContrast = 10.0F;
// Sums of a stage may differ in their last bits from those that its threshold was made from.
constexpr float kSlack = 1e-5F;
// In a large picture, neighbouring windows pass together: with 2, every second row and column is enough.
constexpr int kCoarseStep = 2;
constexpr std::size_t kMostHits = 10000;

int rounded(double value) { return static_cast<int>(std::lround(value)); }

// Linear interpolation between pixel centres, in steps of 1/2048.
class Resampler {
 public:
  Resampler(int from, int to) {
    const double scale = static_cast<double>(from) / to;
    for (int i = 0; i < to; ++i) {
      const double place = std::clamp((i + 0.5) * scale - 0.5, 0.0, from - 1.0);
      const int below = std::min(static_cast<int>(place), std::max(from - 2, 0));
      taps_.push_back({below, std::min(below + 1, from - 1), rounded((place - below) * kOne)});
    }
  }
  struct Tap {
    int first;
    int second;
    int share;  // of the second
  };
  static constexpr int kOne = 2048;
  const Tap& operator[](int i) const { return taps_[static_cast<std::size_t>(i)]; }

 private:
  std::vector<Tap> taps_;
};

// The sums of two products are at most 255 * 2048 down the columns, and that times 2048, below 2^30, along the
// rows.
Picture resampled(const Picture& picture, int width, int height) {
  Picture result(width, height, 1);
  const Resampler columns(picture.width(), width);
  const Resampler rows(picture.height(), height);
  std::vector<int> line(static_cast<std::size_t>(picture.width()));
  for (int y = 0; y < height; ++y) {
    const Resampler::Tap down = rows[y];
    const std::uint8_t* a = picture.at(0, down.first);
    const std::uint8_t* b = picture.at(0, down.second);
    for (std::size_t x = 0; x < line.size(); ++x)
      line[x] = a[x] * (Resampler::kOne - down.share) + b[x] * down.share;
    std::uint8_t* to = result.at(0, y);
    for (int x = 0; x < width; ++x) {
      const Resampler::Tap along = columns[x];
      const int sum = line[static_cast<std::size_t>(along.first)] * (Resampler::kOne - along.share) +
                      line[static_cast<std::size_t>(along.second)] * along.share;
      to[x] = static_cast<std::uint8_t>((sum + Resampler::kOne * Resampler::kOne / 2) / Resampler::kOne /
                                        Resampler::kOne);
    }
  }
  return result;
}

template <class T>
int bytesOf(int elements) {
  return elements * static_cast<int>(sizeof(T));
}

}  // namespace

// What is measured of one scale. Memory is kept from scale to scale.
struct Detector::Scratch {
  RvpiSize windows{};  // places of the window's first pixel
  std::vector<std::int32_t> sums;
  std::vector<double> squares;
  std::vector<std::int32_t> tilted;
  std::vector<float> deviations;
  std::vector<std::uint8_t> mask;
  int sumsStep = 0;
  int tiltedStep = 0;
};

Detector::Detector(const Cascade& cascade) : window_(cascade.window) {
  for (const CascadeStage& stage : cascade.stages) {
    stages_.push_back(makeStage(stage));
    needsTilted_ = needsTilted_ || stages_.back().isMixed;
  }
}

Detector::Stage Detector::makeStage(const CascadeStage& stage) const {
  std::vector<RvpiRect> rects;
  std::vector<float> weights;
  std::vector<float> thresholds;
  std::vector<float> below;
  std::vector<float> above;
  std::vector<int> counts;
  std::vector<std::uint8_t> tilted;
  // Values are compared with threshold * deviation * area; the library multiplies by the deviation.
  const float area = static_cast<float>((window_.width - 2) * (window_.height - 2));
  for (const WeakClassifier& classifier : stage.classifiers) {
    for (const WeightedRect& rect : classifier.rects) {
      rects.push_back(rect.rect);
      weights.push_back(rect.weight);
    }
    thresholds.push_back(classifier.threshold * area);
    below.push_back(classifier.below);
    above.push_back(classifier.above);
    counts.push_back(static_cast<int>(classifier.rects.size()));
    tilted.push_back(classifier.isTilted ? 1 : 0);
  }
  const int length = static_cast<int>(counts.size());
  int bytes = 0;
  check(rvpiHaarClassifierGetSize(rvp32f, window_, counts.data(), length, &bytes), "rvpiHaarClassifierGetSize");
  const std::size_t doubles = (static_cast<std::size_t>(bytes) + sizeof(double) - 1) / sizeof(double);
  Stage made = {std::make_unique<double[]>(doubles), stage.threshold - kSlack, false};
  check(rvpiHaarClassifierInit_32f(made.block(), rects.data(), weights.data(), thresholds.data(), below.data(),
                                   above.data(), counts.data(), length),
        "rvpiHaarClassifierInit_32f");
  made.isMixed = std::ranges::find(tilted, 1) != tilted.end();
  if (made.isMixed) check(rvpiTiltHaarFeatures_32f(tilted.data(), 1, made.block()), "rvpiTiltHaarFeatures_32f");
  return made;
}

// Fills the tables of a picture, and the standard deviation of each window.
void Detector::measure(const Picture& picture, Scratch& scratch) const {
  const RvpiSize size = picture.size();
  scratch.windows = {size.width - window_.width + 1, size.height - window_.height + 1};
  const auto cells = [&](int more) {
    return static_cast<std::size_t>(size.width + more) * static_cast<std::size_t>(size.height + more);
  };
  scratch.sums.resize(cells(1));
  scratch.squares.resize(cells(1));
  scratch.sumsStep = bytesOf<std::int32_t>(size.width + 1);
  const int squaresStep = bytesOf<double>(size.width + 1);
  check(rvpiSqrIntegral_8u32s64f_C1R(picture.data(), picture.step(), scratch.sums.data(), scratch.sumsStep,
                                     scratch.squares.data(), squaresStep, size, 0, 0.0),
        "rvpiSqrIntegral_8u32s64f_C1R");
  if (needsTilted_) {
    scratch.tilted.resize(cells(2));
    scratch.tiltedStep = bytesOf<std::int32_t>(size.width + 2);
    check(rvpiTiltedIntegral_8u32s_C1R(picture.data(), picture.step(), scratch.tilted.data(), scratch.tiltedStep,
                                       size, 0),
          "rvpiTiltedIntegral_8u32s_C1R");
  }
  const RvpiSize windows = scratch.windows;
  const std::size_t places = static_cast<std::size_t>(windows.width) * static_cast<std::size_t>(windows.height);
  scratch.deviations.resize(places);
  scratch.mask.resize(places);
  check(rvpiRectStdDev_32s32f_C1R(scratch.sums.data(), scratch.sumsStep, scratch.squares.data(), squaresStep,
                                  scratch.deviations.data(), bytesOf<float>(windows.width), windows,
                                  {1, 1, window_.width - 2, window_.height - 2}),
        "rvpiRectStdDev_32s32f_C1R");
}

// The windows that are left of those in the mask.
int Detector::apply(const Stage& stage, Scratch& scratch) const {
  int left = 0;
  const RvpiSize windows = scratch.windows;
  const int deviationsStep = bytesOf<float>(windows.width);
  if (stage.isMixed) {
    check(rvpiApplyMixedHaarClassifier_32s32f_C1R(scratch.sums.data(), scratch.sumsStep, scratch.tilted.data(),
                                                  scratch.tiltedStep, scratch.deviations.data(), deviationsStep,
                                                  scratch.mask.data(), windows.width, windows, &left,
                                                  stage.threshold, stage.block()),
          "rvpiApplyMixedHaarClassifier_32s32f_C1R");
  } else {
    check(rvpiApplyHaarClassifier_32s32f_C1R(scratch.sums.data(), scratch.sumsStep, scratch.deviations.data(),
                                             deviationsStep, scratch.mask.data(), windows.width, windows, &left,
                                             stage.threshold, stage.block()),
          "rvpiApplyHaarClassifier_32s32f_C1R");
  }
  return left;
}

std::optional<Detection> Detector::detect(const Picture& gray, const Settings& settings) const {
  Detection detection;
  detection.windowsLeft.assign(stages_.size() + 1, 0);
  Scratch scratch;
  for (double factor = 1.0;; factor *= settings.scaleStep) {
    const int width = rounded(gray.width() / factor);
    const int height = rounded(gray.height() / factor);
    if (width < window_.width || height < window_.height) break;
    ++detection.scales;
    measure(factor == 1.0 ? gray : resampled(gray, width, height), scratch);

    const int step = factor < kCoarseStep ? kCoarseStep : 1;
    int left = 0;
    std::ranges::fill(scratch.mask, std::uint8_t{0});
    for (int y = 0; y < scratch.windows.height; y += step) {
      const std::size_t row = static_cast<std::size_t>(y) * static_cast<std::size_t>(scratch.windows.width);
      for (int x = 0; x < scratch.windows.width; x += step) {
        const std::size_t at = row + static_cast<std::size_t>(x);
        const bool isWorthwhile = scratch.deviations[at] > kLeastContrast;
        scratch.mask[at] = isWorthwhile ? 255 : 0;
        left += isWorthwhile ? 1 : 0;
      }
    }
    detection.windowsLeft[0] += left;
    for (std::size_t i = 0; i < stages_.size() && left > 0; ++i) {
      left = apply(stages_[i], scratch);
      detection.windowsLeft[i + 1] += left;
    }
    if (left == 0) continue;
    if (detection.hits.size() + static_cast<std::size_t>(left) > kMostHits) return std::nullopt;
    for (std::size_t at = 0; at < scratch.mask.size(); ++at) {
      if (scratch.mask[at] == 0) continue;
      const int x = static_cast<int>(at % static_cast<std::size_t>(scratch.windows.width));
      const int y = static_cast<int>(at / static_cast<std::size_t>(scratch.windows.width));
      detection.hits.push_back({rounded(x * factor), rounded(y * factor), rounded(window_.width * factor),
                                rounded(window_.height * factor)});
    }
  }
  detection.objects = grouped(detection.hits, settings.neighbours);
  return detection;
}

}  // namespace faces
