// Optical flow of 1000 corners against cv::calcOpticalFlowPyrLK, on warps that are known.
//
// Both sides get the same levels, made beforehand. Neither is given derivatives, but for the row that hands the
// peer those of all levels ready. The peer knows bytes alone; our other types are raced against it all the same.
#include <algorithm>
#include <array>
#include <cmath>
#include <cstdint>
#include <memory>
#include <numbers>
#include <opencv2/core.hpp>
#include <opencv2/imgproc.hpp>
#include <opencv2/video/tracking.hpp>
#include <string>
#include <vector>

#include "rvpcv/flow.h"
#include "rvpcv/pyramid.h"
#include "support/contest.h"
#include "support/images.h"

namespace rvp::bench {
namespace {

constexpr int kPoints = 1000;
constexpr int kWindow = 21;
constexpr int kMaxLevel = 3;
constexpr int kMaxRounds = 10;
constexpr float kThreshold = 0.01F;
// No point leaves the image: a rotation by 3 degrees moves the corners of full HD by 58 pixels.
constexpr int kMargin = 80;
const std::vector<cv::Size> kSizes = {{1920, 1080}};

template <class T>
struct Form;
template <>
struct Form<std::uint8_t> {
  static constexpr const char* kName = "8u_C1R";
  static constexpr int kDepth = CV_8U;
  static constexpr RvpDataType kType = rvp8u;
  static constexpr auto init = rvpiOpticalFlowPyrLKInit_8u_C1R;
  static constexpr auto track = rvpiOpticalFlowPyrLK_8u_C1R;
};
template <>
struct Form<std::uint16_t> {
  static constexpr const char* kName = "16u_C1R";
  static constexpr int kDepth = CV_16U;
  static constexpr RvpDataType kType = rvp16u;
  static constexpr auto init = rvpiOpticalFlowPyrLKInit_16u_C1R;
  static constexpr auto track = rvpiOpticalFlowPyrLK_16u_C1R;
};
template <>
struct Form<float> {
  static constexpr const char* kName = "32f_C1R";
  static constexpr int kDepth = CV_32F;
  static constexpr RvpDataType kType = rvp32f;
  static constexpr auto init = rvpiOpticalFlowPyrLKInit_32f_C1R;
  static constexpr auto track = rvpiOpticalFlowPyrLK_32f_C1R;
};

// ---- Known warps

// A turn and a scale about the centre, then a shift.
struct Warp {
  double degrees, scale;
  cv::Point2d shift;

  cv::Point2d moved(cv::Point2d p, cv::Size size) const {
    const cv::Point2d centre(size.width / 2.0, size.height / 2.0);
    return turned(p - centre, degrees, scale) + centre + shift;
  }
  cv::Point2d movedBack(cv::Point2d p, cv::Size size) const {
    const cv::Point2d centre(size.width / 2.0, size.height / 2.0);
    return turned(p - centre - shift, -degrees, 1 / scale) + centre;
  }

 private:
  static cv::Point2d turned(cv::Point2d p, double degrees, double scale) {
    const double angle = degrees * std::numbers::pi / 180;
    const double c = std::cos(angle) * scale;
    const double s = std::sin(angle) * scale;
    return {p.x * c - p.y * s, p.x * s + p.y * c};
  }
};

// The cubic weights of Catmull and Rom for the pixels from the one before `at` on. cv::warpAffine would round
// places to 1/32 of a pixel.
std::array<double, 4> cubicWeights(double at) {
  const double t = at - std::floor(at);
  return {((2 - t) * t - 1) * t / 2, ((3 * t - 5) * t * t + 2) / 2, ((4 - 3 * t) * t + 1) * t / 2,
          (t - 1) * t * t / 2};
}

cv::Mat warped(const cv::Mat& image, const Warp& warp) {
  cv::Mat result(image.size(), CV_8U);
  for (int y = 0; y < result.rows; ++y) {
    for (int x = 0; x < result.cols; ++x) {
      const cv::Point2d from = warp.movedBack(cv::Point2d(x, y), image.size());
      const std::array<double, 4> wx = cubicWeights(from.x);
      const std::array<double, 4> wy = cubicWeights(from.y);
      const int x0 = static_cast<int>(std::floor(from.x)) - 1;
      const int y0 = static_cast<int>(std::floor(from.y)) - 1;
      double sum = 0;
      for (int v = 0; v < 4; ++v) {
        const auto* row = image.ptr<std::uint8_t>(std::clamp(y0 + v, 0, image.rows - 1));
        for (int u = 0; u < 4; ++u)
          sum += row[std::clamp(x0 + u, 0, image.cols - 1)] * wx[static_cast<std::size_t>(u)] *
                 wy[static_cast<std::size_t>(v)];
      }
      result.at<std::uint8_t>(y, x) = cv::saturate_cast<std::uint8_t>(sum);
    }
  }
  return result;
}

std::vector<cv::Point2f> cornersOf(const cv::Mat& image) {
  cv::Mat mask(image.size(), CV_8U, cv::Scalar(0));
  mask(cv::Rect(kMargin, kMargin, image.cols - 2 * kMargin, image.rows - 2 * kMargin)) = 255;
  std::vector<cv::Point2f> corners;
  cv::goodFeaturesToTrack(image, corners, kPoints, 1e-4, 8, mask);
  return corners;
}

// ---- Pyramids

// Our record of levels that lie in matrices.
class Pyramid {
 public:
  Pyramid(const std::vector<cv::Mat>& levels, int depth) {
    int bytes = 0;
    int scratchBytes = 0;
    const RvpiSize size = regionSize(levels[0]);
    rvpiPyramidGetSize(&bytes, &scratchBytes, kMaxLevel, size, 2.0F);
    block_.create(1, bytes, CV_8U);
    const cv::Mat scratch(1, scratchBytes, CV_8U);
    rvpiPyramidInit(&record, kMaxLevel, size, block_.data, scratch.data, 2.0F);
    for (int level = 0; level <= kMaxLevel; ++level) {
      cv::Mat image = levels[static_cast<std::size_t>(level)];
      if (depth != CV_8U) {
        cv::Mat other;
        image.convertTo(other, depth, depth == CV_16U ? 256 : 1);
        image = other;
      }
      levels_.push_back(image);
      record->pImage[level] = image.data;
      record->pStep[level] = step(image);
    }
  }

  RvpiPyramid* record = nullptr;

 private:
  cv::Mat block_;
  std::vector<cv::Mat> levels_;
};

struct Errors {
  double mean;  // of the points that are followed
  int followed;
};

// Of the points that end within 2 pixels of their place: others have slid onto something else.
Errors endPointErrors(const cv::Mat& found, const cv::Mat& lost, const std::vector<cv::Point2f>& corners,
                      const Warp& warp, cv::Size size) {
  Errors errors = {0, 0};
  for (int i = 0; i < kPoints; ++i) {
    const cv::Point2d right = warp.moved(corners[static_cast<std::size_t>(i)], size);
    const double distance = cv::norm(cv::Point2d(found.at<cv::Point2f>(i)) - right);
    if (lost.at<std::int8_t>(i) != 0 || distance > 2) continue;
    errors.mean += distance;
    ++errors.followed;
  }
  errors.mean /= std::max(errors.followed, 1);
  return errors;
}

std::string text(const Errors& errors) {
  char line[80];
  std::snprintf(line, sizeof line, "%d of %d points, %.4f pixels", errors.followed, kPoints, errors.mean);
  return line;
}

// ---- Rows

enum class PeerDerivatives { kInTheCall, kReady };

template <class T>
Row flowRow(const std::string& name, const Warp& warp, PeerDerivatives derivatives = PeerDerivatives::kInTheCall) {
  using F = Form<T>;
  const auto make = [=](cv::Size size) {
    const cv::Mat first = photograph(Photo::kCoffee, size, CV_8U);
    const cv::Mat second = warped(first, warp);
    const std::vector<cv::Point2f> corners = cornersOf(first);
    CV_Assert(static_cast<int>(corners.size()) == kPoints);
    std::vector<cv::Mat> levels1;
    std::vector<cv::Mat> levels2;
    const bool areReady = derivatives == PeerDerivatives::kReady;
    cv::buildOpticalFlowPyramid(first, levels1, {kWindow, kWindow}, kMaxLevel, areReady);
    cv::buildOpticalFlowPyramid(second, levels2, {kWindow, kWindow}, kMaxLevel, areReady);
    const auto images = [=](const std::vector<cv::Mat>& levels) {
      std::vector<cv::Mat> each;
      for (std::size_t i = 0; i < levels.size(); i += areReady ? 2 : 1) each.push_back(levels[i]);
      return each;
    };
    const auto pyramid1 = std::make_shared<Pyramid>(images(levels1), F::kDepth);
    const auto pyramid2 = std::make_shared<Pyramid>(images(levels2), F::kDepth);

    // Derivatives of a whole level are worth their time for 1000 points up to a quarter of full HD a side.
    const RvpiSize whole = {size.width / 4 + 1, size.height / 4 + 1};
    int bytes = 0;
    rvpiOpticalFlowPyrLKGetSize(kWindow, whole, F::kType, 0, &bytes);
    const cv::Mat block(1, bytes, CV_8U);
    RvpiOptFlowPyrLK* state = nullptr;
    F::init(&state, whole, kWindow, 0, block.data);

    // 0 for a point that was followed.
    const cv::Mat next(kPoints, 1, CV_32FC2, cv::Scalar::all(-1));
    const cv::Mat lost(kPoints, 1, CV_8U, cv::Scalar(99));
    const cv::Mat error(kPoints, 1, CV_32F, cv::Scalar(-1));
    Contest contest;
    contest.ours = [=] {
      static_cast<void>(block);  // Lives as long as the call.
      const auto* prev = reinterpret_cast<const RvpiPoint32f*>(corners.data());
      std::copy_n(prev, kPoints, pixels<RvpiPoint32f>(next));
      return F::track(pyramid1->record, pyramid2->record, prev, pixels<RvpiPoint32f>(next),
                      pixels<std::int8_t>(lost), pixels<float>(error), kPoints, kWindow, kMaxLevel, kMaxRounds,
                      kThreshold, state);
    };
    contest.peerName = areReady ? "cv::calcOpticalFlowPyrLK, derivatives ready" : "cv::calcOpticalFlowPyrLK";
    contest.peer = [=] {
      const cv::TermCriteria criteria(cv::TermCriteria::COUNT | cv::TermCriteria::EPS, kMaxRounds,
                                      static_cast<double>(kThreshold));
      cv::Mat found = next;
      cv::Mat status = lost;
      cv::Mat difference = error;
      cv::calcOpticalFlowPyrLK(levels1, levels2, corners, found, status, difference, {kWindow, kWindow}, kMaxLevel,
                               criteria);
      cv::subtract(cv::Scalar(1), status, status);
    };
    contest.results = {next, lost, error};
    const auto told = std::make_shared<std::string>();
    contest.difference = [=](const std::vector<cv::Mat>& ours, const std::vector<cv::Mat>& peer) -> std::string {
      const Errors a = endPointErrors(ours[0], ours[1], corners, warp, size);
      const Errors b = endPointErrors(peer[0], peer[1], corners, warp, size);
      *told = "end-point errors: " + text(a) + "; peer " + text(b);
      return a.followed >= b.followed && a.mean <= 1.005 * b.mean ? "" : *told;
    };
    contest.agreement = [=] { return *told; };
    return contest;
  };
  return {std::string("OpticalFlowPyrLK_") + F::kName + ", " + name, make, false, kSizes};
}

std::vector<Row> rows() {
  const Warp shift = {0, 1, {0.3, -0.6}};
  const Warp turn = {3, 1, {0, 0}};
  const Warp growth = {0, 1.05, {0, 0}};
  return {flowRow<std::uint8_t>("shift 0.3, -0.6", shift),
          flowRow<std::uint8_t>("3 degrees", turn),
          flowRow<std::uint8_t>("scale 1.05", growth),
          flowRow<std::uint8_t>("3 degrees, ready", turn, PeerDerivatives::kReady),
          flowRow<std::uint16_t>("3 degrees", turn),
          flowRow<float>("3 degrees", turn)};
}

const bool registered = addFamily("Optical flow", rows());

}  // namespace
}  // namespace rvp::bench
