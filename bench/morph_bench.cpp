// Erosion, dilation and compound operations against cv::erode and cv::morphologyEx, and on bits against Leptonica.
#include <leptonica/allheaders.h>

#include <cstdint>
#include <memory>
#include <opencv2/core.hpp>
#include <opencv2/imgproc.hpp>
#include <string>
#include <type_traits>
#include <vector>

#include "rvpcv/compound_morph.h"
#include "rvpcv/morph.h"
#include "support/contest.h"
#include "support/images.h"

namespace rvp::bench {
namespace {

cv::Mat rectangle(int side) { return cv::Mat(side, side, CV_8U, cv::Scalar(1)); }
cv::Mat ellipse(int side) { return cv::getStructuringElement(cv::MORPH_ELLIPSE, {side, side}); }
cv::Mat randomMask(int side) {
  cv::Mat mask = noise({side, side}, CV_8U, 5) / 128;
  mask.at<std::uint8_t>(side / 2, side / 2) = 1;
  return mask;
}

// A mask's state with its buffer.
template <class State, auto kGetSize, auto kInit>
struct Element {
  std::vector<std::uint8_t> spec;
  std::vector<std::uint8_t> buffer;

  Element(cv::Size region, const cv::Mat& mask) {
    int specSize = 0;
    int bufferSize = 0;
    kGetSize({region.width, region.height}, regionSize(mask), &specSize, &bufferSize);
    spec.resize(static_cast<std::size_t>(specSize));
    buffer.resize(static_cast<std::size_t>(bufferSize));
    kInit({region.width, region.height}, mask.data, regionSize(mask), state(), buffer.data());
  }
  State* state() { return reinterpret_cast<State*>(spec.data()); }
};

using GrayElement = Element<RvpiMorphState, rvpiMorphologyBorderGetSize_8u_C1R, rvpiMorphologyBorderInit_8u_C1R>;

// The two plain calls that a compound operation of 8u_C1 is made of.
Reference stagesOf(const cv::Mat& src, const cv::Mat& mask, int operation) {
  const auto element = std::make_shared<GrayElement>(src.size(), mask);
  const cv::Mat first(src.size(), src.type());
  const cv::Mat second(src.size(), src.type());
  const auto run = [=](auto stage, const cv::Mat& from, const cv::Mat& to) {
    stage(from.data, step(from), to.data, step(to), regionSize(from), rvpBorderRepl, std::uint8_t{0},
          element->state(), element->buffer.data());
  };
  const bool erodesFirst = operation == cv::MORPH_OPEN || operation == cv::MORPH_TOPHAT;
  const cv::Mat& between = operation == cv::MORPH_GRADIENT ? src : first;
  return {"its two stages", [=] {
            run(erodesFirst ? rvpiErodeBorder_8u_C1R : rvpiDilateBorder_8u_C1R, src, first);
            run(erodesFirst ? rvpiDilateBorder_8u_C1R : rvpiErodeBorder_8u_C1R, between, second);
          }};
}

// `kRun` is an erosion, or the compound operation that OpenCV calls `operation`.
template <class T, class State, auto kGetSize, auto kInit, auto kRun>
Row row(const std::string& name, int type, const cv::Mat& mask, int operation) {
  const auto make = [=](cv::Size size) {
    const cv::Mat src = photograph(Photo::kCoffee, size, type);
    const cv::Mat dst(size, type, cv::Scalar::all(0));
    const auto element = std::make_shared<Element<State, kGetSize, kInit>>(size, mask);
    Contest contest;
    contest.ours = [=] {
      static const T kNothing[4] = {};
      if constexpr (std::is_invocable_v<decltype(kRun), const T*, int, T*, int, RvpiSize, int, T, const State*,
                                        std::uint8_t*>) {
        return kRun(pixels<T>(src), step(src), pixels<T>(dst), step(dst), regionSize(src), rvpBorderRepl,
                    kNothing[0], element->state(), element->buffer.data());
      } else {
        return kRun(pixels<T>(src), step(src), pixels<T>(dst), step(dst), regionSize(src), rvpBorderRepl, kNothing,
                    element->state(), element->buffer.data());
      }
    };
    contest.peerName = operation == cv::MORPH_ERODE ? "cv::erode" : "cv::morphologyEx";
    contest.peer = [=] { cv::morphologyEx(src, dst, operation, mask, {-1, -1}, 1, cv::BORDER_REPLICATE); };
    contest.results = {dst};
    contest.bytes = 2.0 * static_cast<double>(src.total() * src.elemSize());
    if (operation != cv::MORPH_ERODE) contest.references = {stagesOf(src, mask, operation)};
    return contest;
  };
  return {name, make};
}

// The photograph's bright half as bits, for us and for Leptonica, whose words have the first pixel on top.
struct BitContest {
  cv::Mat bits;
  cv::Mat result;
  std::shared_ptr<Pix> source;
  std::shared_ptr<Pix> target;
  cv::Mat targetWords;

  explicit BitContest(cv::Size size)
      : result(size.height, (size.width + 31) / 32 * 4, CV_8U, cv::Scalar(0)),
        source(pixCreate(size.width, size.height, 1), destroy),
        target(pixCreate(size.width, size.height, 1), destroy),
        targetWords(size.height, pixGetWpl(target.get()), CV_32S, pixGetData(target.get())) {
    const cv::Mat half = halfMask(Photo::kCoffee, size);
    bits = cv::Mat(result.size(), CV_8U, cv::Scalar(0));
    for (int y = 0; y < size.height; ++y) {
      for (int x = 0; x < size.width; ++x) {
        if (half.at<std::uint8_t>(y, x) == 0) continue;
        bits.at<std::uint8_t>(y, x / 8) |= static_cast<std::uint8_t>(1U << static_cast<unsigned>(x % 8));
        pixSetPixel(source.get(), x, y, 1);
      }
    }
  }
  static void destroy(Pix* pix) { pixDestroy(&pix); }

  // What differs in the interior: beyond the image the peer sees zeros.
  static std::string difference(const cv::Mat& ours, const cv::Mat& peer, cv::Size size, int margin) {
    for (int y = margin; y < size.height - margin; ++y) {
      for (int x = margin; x < size.width - margin; ++x) {
        const bool a = (ours.at<std::uint8_t>(y, x / 8) >> (x % 8) & 1) != 0;
        const bool b = (static_cast<std::uint32_t>(peer.at<std::int32_t>(y, x / 32)) >> (31 - x % 32) & 1U) != 0;
        if (a != b) return "row " + std::to_string(y) + ", column " + std::to_string(x);
      }
    }
    return "";
  }
};

Row bitRow(const std::string& name, const cv::Mat& mask, bool isBrick) {
  const auto make = [=](cv::Size size) {
    const BitContest images(size);
    using State = Element<RvpiMorphState, rvpiMorphologyBorderGetSize_1u_C1R, rvpiMorphologyBorderInit_1u_C1R>;
    const auto element = std::make_shared<State>(size, mask);
    const std::shared_ptr<Sel> sel(selCreate(mask.rows, mask.cols, "mask"), [](Sel* s) { selDestroy(&s); });
    selSetOrigin(sel.get(), (mask.rows - 1) / 2, (mask.cols - 1) / 2);
    for (int i = 0; i < mask.rows; ++i)
      for (int j = 0; j < mask.cols; ++j)
        selSetElement(sel.get(), i, j, mask.at<std::uint8_t>(i, j) != 0 ? SEL_HIT : SEL_DONT_CARE);
    Contest contest;
    contest.ours = [=] {
      return rvpiErodeBorder_1u_C1R(images.bits.data, step(images.bits), 0, images.result.data, step(images.result),
                                    0, {size.width, size.height}, rvpBorderConst, 0, element->state(),
                                    element->buffer.data());
    };
    contest.peerName = isBrick ? "pixErodeBrick" : "pixErode";
    contest.peer = [=] {
      if (isBrick) {
        pixErodeBrick(images.target.get(), images.source.get(), mask.cols, mask.rows);
      } else {
        pixErode(images.target.get(), images.source.get(), sel.get());
      }
    };
    contest.results = {images.result, images.targetWords};
    const int margin = std::max(mask.rows, mask.cols);
    contest.difference = [=](const std::vector<cv::Mat>& ours, const std::vector<cv::Mat>& peer) {
      return BitContest::difference(ours[0], peer[1], size, margin);
    };
    return contest;
  };
  return {name, make};
}

#define ERODE(TYPE, T, NAME, CV_TYPE, MASK)                                                   \
  row<T, RvpiMorphState, rvpiMorphologyBorderGetSize_##TYPE, rvpiMorphologyBorderInit_##TYPE, \
      rvpiErodeBorder_##TYPE>("Erode " NAME, CV_TYPE, MASK, cv::MORPH_ERODE)
#define COMPOUND(OPERATION, NAME, CV_OPERATION, MASK)                                       \
  row<std::uint8_t, RvpiMorphAdvState, rvpiMorphAdvGetSize_8u_C1R, rvpiMorphAdvInit_8u_C1R, \
      rvpiMorph##OPERATION##Border_8u_C1R>(NAME, CV_8UC1, MASK, CV_OPERATION)

std::vector<Row> rows() {
  std::vector<Row> all;
  for (const int side : {3, 5, 15, 31, 101}) {
    const std::string size = std::to_string(side) + "x" + std::to_string(side);
    const cv::Mat mask = rectangle(side);
    const auto add = [&](Row row) {
      row.operation += ", " + size;
      all.push_back(row);
    };
    add(ERODE(8u_C1R, std::uint8_t, "8u_C1", CV_8UC1, mask));
    add(ERODE(8u_C3R, std::uint8_t, "8u_C3", CV_8UC3, mask));
    add(ERODE(8u_C4R, std::uint8_t, "8u_C4", CV_8UC4, mask));
    add(ERODE(16u_C1R, std::uint16_t, "16u_C1", CV_16UC1, mask));
    add(ERODE(16s_C1R, std::int16_t, "16s_C1", CV_16SC1, mask));
    add(ERODE(32f_C1R, float, "32f_C1", CV_32FC1, mask));
  }
  all.push_back(ERODE(8u_C1R, std::uint8_t, "8u_C1, ellipse 15x15", CV_8UC1, ellipse(15)));
  all.push_back(ERODE(8u_C1R, std::uint8_t, "8u_C1, ellipse 31x31", CV_8UC1, ellipse(31)));
  all.push_back(ERODE(8u_C1R, std::uint8_t, "8u_C1, random 9x9", CV_8UC1, randomMask(9)));
  for (const int side : {3, 5, 31})
    all.push_back(
        bitRow("Erode 1u_C1, " + std::to_string(side) + "x" + std::to_string(side), rectangle(side), true));
  all.push_back(bitRow("Erode 1u_C1, ellipse 15x15", ellipse(15), false));
  all.push_back(bitRow("Erode 1u_C1, random 9x9", randomMask(9), false));
  all.push_back(COMPOUND(Open, "MorphOpen 8u_C1, 5x5", cv::MORPH_OPEN, rectangle(5)));
  all.push_back(COMPOUND(Close, "MorphClose 8u_C1, 15x15", cv::MORPH_CLOSE, rectangle(15)));
  all.push_back(COMPOUND(Tophat, "MorphTophat 8u_C1, 15x15", cv::MORPH_TOPHAT, rectangle(15)));
  all.push_back(COMPOUND(Blackhat, "MorphBlackhat 8u_C1, 15x15", cv::MORPH_BLACKHAT, rectangle(15)));
  all.push_back(COMPOUND(Gradient, "MorphGradient 8u_C1, 3x3", cv::MORPH_GRADIENT, rectangle(3)));
  return all;
}

const bool registered = addFamily("Morphology", rows());

}  // namespace
}  // namespace rvp::bench
