// Faces in a photograph, all scales and the grouping included, against cv::CascadeClassifier with the same cascade.
#include <algorithm>
#include <cstdlib>
#include <memory>
#include <opencv2/core.hpp>
#include <opencv2/imgproc.hpp>
#include <opencv2/objdetect.hpp>
#include <optional>
#include <string>
#include <vector>

#include "face_detect/cascade.h"
#include "face_detect/detector.h"
#include "support/contest.h"
#include "support/images.h"

namespace rvp::bench {
namespace {

// The astronaut as it is; larger pictures of mirrored faces have hundreds of them.
const cv::Size kPhotograph = {512, 512};

// Marks the middle of each rectangle.
void drawMiddles(const cv::Mat& picture, int x, int y, int width, int height) {
  cv::Mat(picture).at<std::uint8_t>(y + height / 2, x + width / 2) = 255;
}

// Both find one face in one place, up to the rounding of the rectangles.
std::string comparePlaces(const std::vector<cv::Mat>& ours, const std::vector<cv::Mat>& peer) {
  std::vector<cv::Point> a;
  std::vector<cv::Point> b;
  cv::findNonZero(ours[0], a);
  cv::findNonZero(peer[0], b);
  if (a.size() != 1 || b.size() != 1)
    return "ours finds " + std::to_string(a.size()) + ", the peer " + std::to_string(b.size());
  constexpr int kNear = 5;
  const bool isNear = std::abs(a[0].x - b[0].x) <= kNear && std::abs(a[0].y - b[0].y) <= kNear;
  return isNear ? "" : "faces in different places";
}

Contest faceContest(cv::Size size) {
  std::string fault;
  const std::optional<faces::Cascade> cascade = faces::readCascade(RVPCV_CASCADE, fault);
  Contest contest;
  if (!cascade) {
    contest.ours = [] { return RvpStatus{rvpStatusError}; };
    contest.results = {cv::Mat(1, 1, CV_8U, cv::Scalar(0))};
    return contest;
  }
  const cv::Mat src = photograph(Photo::kAstronaut, size, CV_8UC1);
  tour::Picture picture(src.cols, src.rows, 1);
  for (int y = 0; y < src.rows; ++y) std::copy_n(src.ptr(y), src.cols, picture.at(0, y));
  const cv::Mat found(size, CV_8U, cv::Scalar(0));
  const auto detector = std::make_shared<faces::Detector>(*cascade);
  const auto peer = std::make_shared<cv::CascadeClassifier>(RVPCV_CASCADE);
  contest.ours = [=] {
    const auto detection = detector->detect(picture, faces::Settings());
    if (!detection) return RvpStatus{rvpStatusError};
    for (const RvpiRect& r : detection->objects) drawMiddles(found, r.x, r.y, r.width, r.height);
    return RvpStatus{rvpStatusOk};
  };
  contest.peerName = "cv::CascadeClassifier";
  contest.peer = [=] {
    std::vector<cv::Rect> rects;
    peer->detectMultiScale(src, rects, 1.1, 3);
    for (const cv::Rect& r : rects) drawMiddles(found, r.x, r.y, r.width, r.height);
  };
  contest.results = {found};
  contest.difference = comparePlaces;
  return contest;
}

std::vector<Row> rows() {
  if (std::string(RVPCV_CASCADE).empty()) return {};
  return {{"frontal faces, whole frame", faceContest, false, {kPhotograph}}};
}

const bool registered = addFamily("Haar cascades", rows());

}  // namespace
}  // namespace rvp::bench
