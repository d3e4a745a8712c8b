// A Gaussian-mixture background against cv::BackgroundSubtractorMOG2, with equal parameters, after 200 frames of a
// noisy scene: a photograph, noise of its own in every frame, and discs that move across it and darken a strip.
#include <algorithm>
#include <cstdint>
#include <memory>
#include <opencv2/core.hpp>
#include <opencv2/imgproc.hpp>
#include <opencv2/video/background_segm.hpp>
#include <string>
#include <vector>

#include "rvpcv/background.h"
#include "support/contest.h"
#include "support/images.h"

namespace rvp::bench {
namespace {

constexpr int kLearnt = 200;
constexpr int kTimed = 8;  // different frames while time is taken
constexpr double kNoise = 5;
constexpr int kMostShift = 61;
constexpr RvpFGMMModel kModel = {500, 5, 15, 4, 75, 16, 0.9F, 9, 0.05F, 127, 1, 0.5F};
const std::vector<cv::Size> kSizes = {{1920, 1080}};

// Frame k of a video. Of one field of noise each frame has another part.
class Scene {
 public:
  // With `restless`, every third of the pixels changes among three levels, as leaves in the wind do.
  Scene(cv::Size size, bool restless)
      : photograph_(photograph(Photo::kCoffee, size, CV_8UC3)),
        noise_(size + cv::Size(kMostShift, kMostShift), CV_16SC3) {
    cv::RNG random(8);
    random.fill(noise_, cv::RNG::NORMAL, cv::Scalar::all(0), cv::Scalar::all(kNoise));
    if (!restless) return;
    leaves_.create(size, CV_8U);
    random.fill(leaves_, cv::RNG::UNIFORM, 0, 3);
  }

  cv::Mat frame(int k) const {
    cv::Mat result = photograph_.clone();
    if (!leaves_.empty()) {
      const cv::Mat leaf = leaves_ == k % 3;
      cv::add(result, cv::Scalar::all(60), result, leaf);
    }
    for (int disc = 0; disc < 6; ++disc) {
      const int radius = result.rows / 18;
      const cv::Point place((k * (5 + disc) + disc * result.cols / 5) % result.cols,
                            (2 * disc + 1) * result.rows / 12);
      cv::Mat strip = result(cv::Rect(place.x, place.y, std::min(2 * radius, result.cols - place.x), radius));
      strip.convertTo(strip, -1, 0.7);
      cv::circle(result, place, radius, cv::Scalar(40 * disc, 255 - 40 * disc, 90), cv::FILLED);
    }
    const cv::Rect part(k * 17 % kMostShift, k * 29 % kMostShift, result.cols, result.rows);
    cv::add(result, noise_(part), result, cv::noArray(), CV_8U);
    return result;
  }

 private:
  cv::Mat photograph_, noise_, leaves_;
};

// Both sides after the same frames.
struct Video {
  cv::Mat block;
  cv::Ptr<cv::BackgroundSubtractorMOG2> peer;
  std::vector<cv::Mat> frames;
  int oursDone = 0, peerDone = 0;

  Video(cv::Size size, bool restless) {
    const Scene scene(size, restless);
    const RvpiSize roi = {size.width, size.height};
    int bytes = 0;
    rvpiFGMMGetBufferSize_8u_C3R(roi, static_cast<int>(kModel.modeCount), &bytes);
    block.create(1, bytes, CV_8U);
    rvpiFGMMInit_8u_C3R(roi, static_cast<int>(kModel.modeCount), &kModel, state());
    peer =
        cv::createBackgroundSubtractorMOG2(static_cast<int>(kModel.historyLength),
                                           static_cast<double>(kModel.backgroundMatch), kModel.shadowEnabled != 0);
    peer->setNMixtures(static_cast<int>(kModel.modeCount));
    peer->setVarThresholdGen(static_cast<double>(kModel.updateMatch));
    peer->setVarInit(static_cast<double>(kModel.initialVariance));
    peer->setVarMin(static_cast<double>(kModel.minVariance));
    peer->setVarMax(static_cast<double>(kModel.maxVariance));
    peer->setBackgroundRatio(static_cast<double>(kModel.backgroundWeight));
    peer->setComplexityReductionThreshold(static_cast<double>(kModel.weightDecay));
    peer->setShadowValue(kModel.shadowLabel);
    peer->setShadowThreshold(static_cast<double>(kModel.shadowRatio));
    cv::Mat mask(size, CV_8U);
    for (int k = 0; k < kLearnt; ++k) {
      const cv::Mat frame = scene.frame(k);
      learn(frame, mask);
      peer->apply(frame, mask);
    }
    for (int k = 0; k < kTimed; ++k) frames.push_back(scene.frame(kLearnt + k));
  }

  RvpFGMMState* state() const { return reinterpret_cast<RvpFGMMState*>(block.data); }
  RvpStatus learn(const cv::Mat& frame, const cv::Mat& mask) const {
    return rvpiFGMMForeground_8u_C3R(frame.data, step(frame), mask.data, step(mask), regionSize(frame), state(),
                                     nullptr, -1);
  }
};

// Made once: that takes longer than all that is timed.
std::shared_ptr<Video> video(cv::Size size, bool restless) {
  static std::shared_ptr<Video> last;
  static bool isRestless;
  if (!last || last->frames[0].size() != size || isRestless != restless) {
    last.reset();
    last = std::make_shared<Video>(size, restless);
    isRestless = restless;
  }
  return last;
}

std::string percent(double share) {
  char line[20];
  std::snprintf(line, sizeof line, "%.4f %%", share * 100);
  return line;
}

Contest foregroundContest(cv::Size size, bool restless) {
  const auto scene = video(size, restless);
  const cv::Mat mask(size, CV_8U, cv::Scalar(77));
  Contest contest;
  contest.ours = [=] {
    return scene->learn(scene->frames[static_cast<std::size_t>(scene->oursDone++ % kTimed)], mask);
  };
  contest.peerName = "cv::BackgroundSubtractorMOG2";
  contest.peer = [=] {
    cv::Mat result = mask;
    scene->peer->apply(scene->frames[static_cast<std::size_t>(scene->peerDone++ % kTimed)], result);
  };
  contest.results = {mask};
  const auto told = std::make_shared<std::string>();
  contest.difference = [=](const std::vector<cv::Mat>& ours, const std::vector<cv::Mat>& peer) -> std::string {
    const double pixels = static_cast<double>(mask.total());
    const double same = cv::countNonZero(ours[0] == peer[0]) / pixels;
    *told = "masks agree in " + percent(same) + "; foreground " +
            percent(cv::countNonZero(ours[0] == 255) / pixels) + ", shadow " +
            percent(cv::countNonZero(ours[0] == kModel.shadowLabel) / pixels);
    return same > 0.999 ? "" : *told;
  };
  contest.agreement = [=] { return *told; };
  return contest;
}

Contest backgroundContest(cv::Size size) {
  const auto scene = video(size, false);
  const cv::Mat image(size, CV_8UC3, cv::Scalar::all(77));
  Contest contest;
  contest.ours = [=] {
    return rvpiFGMMBackground_8u_C3R(image.data, step(image), regionSize(image), scene->state());
  };
  contest.peerName = "getBackgroundImage";
  contest.peer = [=] {
    cv::Mat result = image;
    scene->peer->getBackgroundImage(result);
  };
  contest.results = {image};
  // The peer cuts what we round.
  contest.difference = [=](const std::vector<cv::Mat>& ours, const std::vector<cv::Mat>& peer) -> std::string {
    cv::Mat apart;
    cv::absdiff(ours[0], peer[0], apart);
    const double same = cv::countNonZero(apart.reshape(1) <= 1) / static_cast<double>(apart.total() * 3);
    return same > 0.9999 ? "" : "alike in " + percent(same);
  };
  return contest;
}

std::vector<Row> rows() {
  const auto calm = [](cv::Size size) { return foregroundContest(size, false); };
  const auto restless = [](cv::Size size) { return foregroundContest(size, true); };
  // First what does not go on learning.
  return {{"FGMMBackground_8u_C3R, 5 modes", backgroundContest, false, kSizes},
          {"FGMMForeground_8u_C3R, 5 modes", calm, false, kSizes},
          {"FGMMForeground_8u_C3R, restless", restless, false, kSizes}};
}

const bool registered = addFamily("Background", rows());

}  // namespace
}  // namespace rvp::bench
