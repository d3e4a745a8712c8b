// What moves: points followed through a warp, and traffic in front of a background that is learnt.
#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "number.h"
#include "panels.h"
#include "rvpcv.h"
#include "status.h"
#include "stopwatch.h"
#include "stream.h"

namespace tour {
namespace {

const std::string kSubsystem = "Motion";

std::string percent(double part) { return number(100 * part, 1) + " %"; }

// ---- Optical flow

constexpr int kRuns = 3;
constexpr int kWindow = 21;
constexpr int kRounds = 20;
constexpr float kThreshold = 0.01f;
constexpr int kMostLevels = 3;  // above the full image
constexpr float kRate = 2.0f;

// Turns by 3 degrees and grows by 4 % about the centre.
struct Warp {
  static constexpr float kCos = 0.99862953f * 1.04f;
  static constexpr float kSin = 0.05233596f * 1.04f;
  RvpiPoint32f centre;

  RvpiPoint32f moved(RvpiPoint32f p) const {
    const float x = p.x - centre.x;
    const float y = p.y - centre.y;
    return {centre.x + x * kCos - y * kSin, centre.y + x * kSin + y * kCos};
  }
  RvpiPoint32f movedBack(RvpiPoint32f p) const {
    constexpr float kSquare = kCos * kCos + kSin * kSin;
    const float x = (p.x - centre.x) / kSquare;
    const float y = (p.y - centre.y) / kSquare;
    return {centre.x + x * kCos + y * kSin, centre.y - x * kSin + y * kCos};
  }
};

// The weights of Catmull and Rom for four pixels, the second of which lies `t` before the place.
std::array<float, 4> cubicWeights(float t) {
  return {((2 - t) * t - 1) * t / 2, ((3 * t - 5) * t * t + 2) / 2, ((4 - 3 * t) * t + 1) * t / 2,
          (t - 1) * t * t / 2};
}

Picture warped(const Picture& picture, const Warp& warp) {
  Picture result(picture.width(), picture.height(), picture.channels());
  for (int y = 0; y < result.height(); ++y)
    for (int x = 0; x < result.width(); ++x) {
      const RvpiPoint32f from = warp.movedBack({static_cast<float>(x), static_cast<float>(y)});
      const float left = std::floor(from.x);
      const float top = std::floor(from.y);
      const std::array<float, 4> wx = cubicWeights(from.x - left);
      const std::array<float, 4> wy = cubicWeights(from.y - top);
      for (int c = 0; c < picture.channels(); ++c) {
        float sum = 0;
        for (int v = 0; v < 4; ++v)
          for (int u = 0; u < 4; ++u) {
            const int atX = std::clamp(static_cast<int>(left) - 1 + u, 0, picture.width() - 1);
            const int atY = std::clamp(static_cast<int>(top) - 1 + v, 0, picture.height() - 1);
            sum += static_cast<float>(picture.at(atX, atY)[c]) * wx[static_cast<std::size_t>(u)] *
                   wy[static_cast<std::size_t>(v)];
          }
        result.at(x, y)[c] = toByte(sum);
      }
    }
  return result;
}

// A picture and ever smaller versions of it, as the tracker takes them.
class Pyramid {
 public:
  explicit Pyramid(const Picture& gray) {
    int bytes = 0;
    int scratchBytes = 0;
    check(rvpiPyramidGetSize(&bytes, &scratchBytes, kMostLevels, gray.size(), kRate), "rvpiPyramidGetSize");
    block_.resize(static_cast<std::size_t>(bytes));
    std::vector<std::uint8_t> scratch(static_cast<std::size_t>(scratchBytes));
    check(rvpiPyramidInit(&record_, kMostLevels, gray.size(), block_.data(), scratch.data(), kRate),
          "rvpiPyramidInit");
    levels_.push_back(gray);
    while (static_cast<int>(levels_.size()) <= record_->level) levels_.push_back(below(levels_.back()));
    for (std::size_t level = 0; level < levels_.size(); ++level) {
      record_->pImage[level] = levels_[level].data();
      record_->pStep[level] = levels_[level].step();
    }
  }
  Pyramid(const Pyramid&) = delete;
  Pyramid& operator=(const Pyramid&) = delete;

  const RvpiPyramid* record() const { return record_; }

  // The smallest level that is not smaller than a window.
  int topLevel() const {
    int level = 0;
    while (level < record_->level &&
           std::min(record_->pRoi[level + 1].width, record_->pRoi[level + 1].height) >= kWindow)
      ++level;
    return level;
  }

 private:
  Picture below(const Picture& picture) const {
    constexpr std::array<std::int16_t, 5> kKernel = {1, 4, 6, 4, 1};
    constexpr int kTaps = static_cast<int>(kKernel.size());
    const RvpiSize size = record_->pRoi[levels_.size()];
    int bytes = 0;
    int scratchBytes = 0;
    check(rvpiPyramidLayerDownGetSize_8u_C1R(picture.size(), kTaps, &bytes, &scratchBytes, kRate),
          "rvpiPyramidLayerDownGetSize_8u_C1R");
    std::vector<std::uint8_t> block(static_cast<std::size_t>(bytes));
    std::vector<std::uint8_t> scratch(static_cast<std::size_t>(scratchBytes));
    RvpiPyramidDownState* state = nullptr;
    check(rvpiPyramidLayerDownInit_8u_C1R(&state, picture.size(), kRate, kKernel.data(), kTaps, rvpiPyramidLinear,
                                          block.data(), scratch.data()),
          "rvpiPyramidLayerDownInit_8u_C1R");
    Picture result(size.width, size.height, 1);
    check(rvpiPyramidLayerDown_8u_C1R(picture.data(), picture.step(), picture.size(), result.data(), result.step(),
                                      size, state),
          "rvpiPyramidLayerDown_8u_C1R");
    return result;
  }

  std::vector<std::uint8_t> block_;
  RvpiPyramid* record_ = nullptr;
  std::vector<Picture> levels_;
};

// The pixel of each cell of a grid whose neighbourhood changes most whichever way it is moved. Flat cells have
// none.
std::vector<RvpiPoint32f> goodPoints(const Picture& gray) {
  constexpr int kMask = 3;
  constexpr int kCorner = 5;
  constexpr int kCells = 24;             // along the longer side
  constexpr float kLeastShare = 0.005f;  // of the strongest response
  const RvpiSize size = gray.size();
  int bytes = 0;
  check(rvpiMinEigenValGetBufferSize_8u32f_C1R(size, kMask, kCorner, &bytes),
        "rvpiMinEigenValGetBufferSize_8u32f_C1R");
  std::vector<std::uint8_t> scratch(static_cast<std::size_t>(bytes));
  Plane response(size.width, size.height, 1);
  check(rvpiMinEigenVal_8u32f_C1R(gray.data(), gray.step(), response.data(), response.step(), size, rvpKernelSobel,
                                  kMask, kCorner, scratch.data()),
        "rvpiMinEigenVal_8u32f_C1R");
  const float least = kLeastShare * *std::ranges::max_element(response.elements());
  // What is nearer to the edge may leave the picture.
  const int margin = std::max(size.width, size.height) / 16;
  const int cell = std::max(8, std::max(size.width, size.height) / kCells);
  std::vector<RvpiPoint32f> points;
  for (int top = margin; top + cell <= size.height - margin; top += cell)
    for (int left = margin; left + cell <= size.width - margin; left += cell) {
      RvpiPoint best = {left, top};
      for (int y = top; y < top + cell; ++y)
        for (int x = left; x < left + cell; ++x)
          if (*response.at(x, y) > *response.at(best.x, best.y)) best = {x, y};
      if (*response.at(best.x, best.y) > least)
        points.push_back({static_cast<float>(best.x), static_cast<float>(best.y)});
    }
  return points;
}

struct Flow {
  std::vector<RvpiPoint32f> places;
  std::vector<std::int8_t> lost;  // 0 where a point was followed
};

Flow follow(const Pyramid& one, const Pyramid& two, const std::vector<RvpiPoint32f>& points, Stopwatch& time) {
  // Small levels have their derivatives computed as a whole, which pays where points are dense.
  const RvpiSize whole = {one.record()->pRoi[0].width / 2, one.record()->pRoi[0].height / 2};
  int bytes = 0;
  check(rvpiOpticalFlowPyrLKGetSize(kWindow, whole, rvp8u, 0, &bytes), "rvpiOpticalFlowPyrLKGetSize");
  std::vector<std::uint8_t> block(static_cast<std::size_t>(bytes));
  RvpiOptFlowPyrLK* state = nullptr;
  check(rvpiOpticalFlowPyrLKInit_8u_C1R(&state, whole, kWindow, 0, block.data()),
        "rvpiOpticalFlowPyrLKInit_8u_C1R");
  Flow flow;
  flow.lost.resize(points.size());
  std::vector<float> error(points.size());
  for (int run = 0; run < kRuns; ++run) {
    flow.places = points;
    time.lap([&] {
      check(rvpiOpticalFlowPyrLK_8u_C1R(one.record(), two.record(), points.data(), flow.places.data(),
                                        flow.lost.data(), error.data(), static_cast<int>(points.size()), kWindow,
                                        one.topLevel(), kRounds, kThreshold, state),
            "rvpiOpticalFlowPyrLK_8u_C1R");
    });
  }
  return flow;
}

void drawArrow(Picture& picture, RvpiPoint32f from, RvpiPoint32f to, Rgb colour) {
  const float length = std::hypot(to.x - from.x, to.y - from.y);
  const float head = std::min(7.0f, 0.5f * length);
  const float x = length > 0 ? (to.x - from.x) / length * head : 0.0f;
  const float y = length > 0 ? (to.y - from.y) / length * head : 0.0f;
  const auto line = [&](RvpiPoint32f a, RvpiPoint32f b) {
    const auto pixel = [](RvpiPoint32f p) {
      return RvpiPoint{static_cast<std::int32_t>(std::lround(p.x)), static_cast<std::int32_t>(std::lround(p.y))};
    };
    // Two pixels wide.
    for (const float shift : {0.0f, 1.0f}) {
      drawLine(picture, pixel({a.x + shift, a.y}), pixel({b.x + shift, b.y}), colour);
      drawLine(picture, pixel({a.x, a.y + shift}), pixel({b.x, b.y + shift}), colour);
    }
  };
  line(from, to);
  line(to, {to.x - x + 0.5f * y, to.y - y - 0.5f * x});
  line(to, {to.x - x - 0.5f * y, to.y - y + 0.5f * x});
}

void addFlow(const Subject& subject, Page& page) {
  constexpr Rgb kGood = {255, 214, 64};
  constexpr Rgb kBad = {255, 64, 64};
  constexpr double kFar = 1.0;  // pixels off
  const Picture& photograph = subject.picture;
  const RvpiSize size = photograph.size();
  const Warp warp = {{static_cast<float>(size.width) / 2, static_cast<float>(size.height) / 2}};
  const Picture second = warped(photograph, warp);
  const Pyramid one(inGray(photograph));
  const Pyramid two(inGray(second));
  const std::vector<RvpiPoint32f> points = goodPoints(inGray(photograph));
  if (points.empty()) return;  // A picture without any structure.
  Stopwatch time;
  const Flow flow = follow(one, two, points, time);

  Picture arrows = dimmed(photograph, 0.5f);
  std::vector<double> errors;
  for (std::size_t i = 0; i < points.size(); ++i) {
    if (flow.lost[i] != 0) continue;
    const RvpiPoint32f right = warp.moved(points[i]);
    errors.push_back(static_cast<double>(std::hypot(flow.places[i].x - right.x, flow.places[i].y - right.y)));
    drawArrow(arrows, points[i], flow.places[i], errors.back() > kFar ? kBad : kGood);
  }
  const auto all = static_cast<double>(std::max<std::size_t>(errors.size(), 1));
  double sum = 0;
  for (const double error : errors) sum += error;
  const auto far = std::ranges::count_if(errors, [](double error) { return error > kFar; });
  const std::string caption = count(static_cast<long long>(errors.size())) + " of " +
                              count(static_cast<long long>(points.size())) +
                              " points followed: mean end-point error " + number(sum / all, 3) + " pixels, " +
                              count(far) + " by more than a pixel (red)";

  const Panel panel = {
      kSubsystem,
      "flow",
      "Optical flow",
      {"rvpiOpticalFlowPyrLK_8u_C1R", "rvpiPyramidLayerDown_8u_C1R", "rvpiPyramidInit"},
      "The photograph is turned by 3° and enlarged by 4 %, so that it is known where each point "
      "went. The tracker looks for the points, one in each cell of a grid where there is something "
      "to hold on to, from the smallest level of a pyramid to the full picture."};
  page.add(panel, subject,
           {{{"window", std::to_string(kWindow) + " × " + std::to_string(kWindow)},
             {"levels", std::to_string(one.topLevel() + 1)},
             {"rounds", "up to " + std::to_string(kRounds)}},
            {{"all points", time.median()}},
            {{"", "The photograph", photograph},
             {"warped", "Turned by 3° and enlarged by 4 %", second},
             {"arrows", caption, arrows}}});
}

// ---- Background

constexpr int kFrames = 80;
constexpr int kSceneSide = 640;
constexpr float kNoise = 6.0f;
constexpr float kShade = 0.64f;  // what a shadow leaves of the light
constexpr std::uint8_t kObject = 255;
constexpr std::uint8_t kShadow = 127;

// A frame and what its pixels show: kObject, kShadow, or 0.
struct Scene {
  Picture frame;
  Picture truth;
};

// Changes the pixels of an ellipse, or of the rectangle around it, by paint(channels).
enum class Shape { kRectangle, kEllipse };
struct Box {
  float left, top, right, bottom;
};

template <class Paint>
void fill(Scene& scene, Shape shape, const Box& box, std::uint8_t label, const Paint& paint) {
  const float a = 0.5f * (box.right - box.left);
  const float b = 0.5f * (box.bottom - box.top);
  const int lastX = std::min(scene.frame.width() - 1, static_cast<int>(std::floor(box.right)));
  const int lastY = std::min(scene.frame.height() - 1, static_cast<int>(std::floor(box.bottom)));
  for (int y = std::max(0, static_cast<int>(std::ceil(box.top))); y <= lastY; ++y)
    for (int x = std::max(0, static_cast<int>(std::ceil(box.left))); x <= lastX; ++x) {
      const float u = (static_cast<float>(x) - box.left) / a - 1.0f;
      const float v = (static_cast<float>(y) - box.top) / b - 1.0f;
      if (shape == Shape::kEllipse && u * u + v * v > 1.0f) continue;
      *scene.truth.at(x, y) = label;
      paint(scene.frame.at(x, y));
    }
}

void fillWith(Scene& scene, Shape shape, const Box& box, Rgb colour) {
  fill(scene, shape, box, kObject, [colour](std::uint8_t* pixel) {
    pixel[0] = colour.red;
    pixel[1] = colour.green;
    pixel[2] = colour.blue;
  });
}

void shade(Scene& scene, const Box& box) {
  fill(scene, Shape::kEllipse, box, kShadow, [](std::uint8_t* pixel) {
    for (int c = 0; c < 3; ++c) pixel[c] = toByte(static_cast<float>(pixel[c]) * kShade);
  });
}

// A car that crosses the picture once; `last` is where its rear is in the last frame.
struct Car {
  float lane, length, speed, last;  // shares of the picture's height, its width, widths a frame, widths
  Rgb colour;
};
constexpr std::array<Car, 7> kCars = {{{0.50f, 0.13f, 0.021f, 0.45f, {178, 34, 40}},
                                       {0.50f, 0.12f, 0.021f, 1.20f, {226, 224, 216}},
                                       {0.69f, 0.19f, -0.029f, 0.60f, {30, 84, 160}},
                                       {0.69f, 0.17f, -0.029f, -0.50f, {90, 140, 90}},
                                       {0.69f, 0.18f, -0.029f, -1.60f, {200, 96, 20}},
                                       {0.93f, 0.27f, 0.037f, 0.15f, {232, 180, 40}},
                                       {0.93f, 0.25f, 0.037f, 2.10f, {120, 40, 120}}}};

Scene sceneAt(const Picture& photograph, int index) {
  constexpr NoisyStream kStream = {.shift = 0, .noise = kNoise, .seed = 50};
  Scene scene = {photograph, Picture(photograph.width(), photograph.height(), 1)};
  const auto width = static_cast<float>(photograph.width());
  const auto height = static_cast<float>(photograph.height());
  for (const Car& car : kCars) {
    const float length = car.length * width;
    const float left = (car.last - car.speed * static_cast<float>(kFrames - 1 - index)) * width;
    const float road = car.lane * height;
    const auto box = [&](float x0, float y0, float x1, float y1) {
      return Box{left + x0 * length, road + y0 * length, left + x1 * length, road + y1 * length};
    };
    shade(scene, box(-0.04f, -0.11f, 1.24f, 0.11f));
    fillWith(scene, Shape::kRectangle, box(0.2f, -0.38f, 0.78f, -0.2f), {54, 60, 66});
    fillWith(scene, Shape::kRectangle, box(0.0f, -0.24f, 1.0f, -0.07f), car.colour);
    for (const float wheel : {0.2f, 0.8f})
      fillWith(scene, Shape::kEllipse, box(wheel - 0.085f, -0.155f, wheel + 0.085f, 0.015f), {28, 26, 26});
  }
  scene.frame = kStream.frame(scene.frame, index);
  return scene;
}

// Of the pixels that show one thing, the share that the mask calls by the name `called`.
double share(const Picture& truth, std::uint8_t shown, const Picture& mask, std::uint8_t called) {
  long long pixels = 0;
  long long hits = 0;
  for (std::size_t i = 0; i < truth.elements().size(); ++i) {
    if (truth.elements()[i] != shown) continue;
    ++pixels;
    hits += mask.elements()[i] == called ? 1 : 0;
  }
  return pixels == 0 ? 0.0 : static_cast<double>(hits) / static_cast<double>(pixels);
}

void addMixture(const Subject& subject, Page& page) {
  constexpr int kModes = 5;
  constexpr RvpFGMMModel kModel = {.historyLength = 500,
                                   .modeCount = kModes,
                                   .initialVariance = 15,
                                   .minVariance = 4,
                                   .maxVariance = 75,
                                   .backgroundMatch = 16,
                                   .backgroundWeight = 0.8f,
                                   .updateMatch = 9,
                                   .weightDecay = 0.05f,
                                   .shadowLabel = kShadow,
                                   .shadowEnabled = 1,
                                   .shadowRatio = 0.5f};
  const Picture photograph = inColour(reduced(subject.picture, kSceneSide));
  const RvpiSize size = photograph.size();
  int bytes = 0;
  check(rvpiFGMMGetBufferSize_8u_C3R(size, kModes, &bytes), "rvpiFGMMGetBufferSize_8u_C3R");
  std::vector<std::uint8_t> block(static_cast<std::size_t>(bytes));
  auto* const state = reinterpret_cast<RvpFGMMState*>(block.data());
  check(rvpiFGMMInit_8u_C3R(size, kModes, &kModel, state), "rvpiFGMMInit_8u_C3R");
  Scene scene;
  Picture mask(size.width, size.height, 1);
  Stopwatch learning;
  for (int k = 0; k < kFrames; ++k) {
    scene = sceneAt(photograph, k);
    learning.lap([&] {
      check(rvpiFGMMForeground_8u_C3R(scene.frame.data(), scene.frame.step(), mask.data(), mask.step(), size, state,
                                      nullptr, -1),
            "rvpiFGMMForeground_8u_C3R");
    });
  }
  Picture background(size.width, size.height, 3);
  Stopwatch drawing;
  for (int run = 0; run < kRuns; ++run)
    drawing.lap([&] {
      check(rvpiFGMMBackground_8u_C3R(background.data(), background.step(), size, state),
            "rvpiFGMMBackground_8u_C3R");
    });

  const auto quality = [&](const Picture& picture) {
    return number(peakSignalToNoise(picture, photograph), 1) + " dB";
  };
  const Panel panel = {
      kSubsystem,
      "mixture",
      "Traffic in front of a background",
      {"rvpiFGMMForeground_8u_C3R", "rvpiFGMMBackground_8u_C3R", "rvpiFGMMInit_8u_C3R"},
      "Cars and their shadows drive across the photograph, under noise. Every pixel keeps a few "
      "colours that it tends to show; what none of the frequent ones explains is foreground "
      "(white), or a shadow (gray) if it is a darker version of one. What is frequent is the "
      "background, without the noise and without the cars. A shadow on what is black is no change."};
  page.add(panel, subject,
           {{{"frames", std::to_string(kFrames)},
             {"noise", "σ " + number(static_cast<double>(kNoise), 0) + " gray levels"},
             {"modes", std::to_string(kModes)}},
            {{"one frame", learning.median()}, {"background", drawing.median()}},
            {{"traffic", "The last frame, " + quality(scene.frame), scene.frame},
             {"traffic-mask",
              percent(share(scene.truth, kObject, mask, kObject)) + " of the cars' pixels found, " +
                  percent(share(scene.truth, kShadow, mask, kShadow)) + " of the shadows'; " +
                  number(100 * (1 - share(scene.truth, 0, mask, 0)), 3) + " % of all others called either",
              mask},
             {"learnt", "The background that was learnt, " + quality(background), background}}});
}

}  // namespace

void addMotionPanels(const Subject& subject, Page& page) {
  addFlow(subject, page);
  addMixture(subject, page);
}

}  // namespace tour
