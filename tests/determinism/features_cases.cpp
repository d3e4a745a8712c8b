// Edges, corners, peaks and lines.
#include "lab.h"

namespace determinism {
namespace {

constexpr RvpiSize kSize = Lab::kSize;
constexpr RvpiBorderType kBorder = rvpBorderRepl;

// The edges of the picture, which later steps look for lines in.
Image<std::uint8_t> edges(Lab& lab, RvpiMaskSize mask, RvpiNormKind norm) {
  const auto src = lab.picture<std::uint8_t>();
  const auto dst = lab.blank<std::uint8_t>();
  const RvpiFilterKind filter = rvpFilterSobel;
  const int bytes = lab.size("rvpiCannyBorderGetSize", kSize, filter, mask, norm);
  lab.call("rvpiCannyBorder_8u_C1R", src, dst, kSize, filter, mask, kBorder, std::uint8_t{0}, norm,
           lab.block(bytes), 60.0F, 140.0F);
  lab.keep(dst);
  return dst;
}

template <class T>
void readyEdges(Lab& lab) {
  const auto dx = lab.picture<T>();
  const auto dy = lab.picture<T>(1, 5);
  const auto dst = lab.blank<std::uint8_t>();
  const int bytes = lab.size("rvpiCannyGetSize", kSize);
  lab.call("rvpiCanny_" + suffix<T>() + "8u_C1R", dx, dy, dst, kSize, lab.block(bytes), 20.0F, 40.0F);
  lab.keep(dst);
}

void canny(Lab& lab) {
  for (const RvpiMaskSize mask : {33, 55})
    for (const RvpiNormKind norm : {rvpNormL1, rvpNormL2}) edges(lab, mask, norm);
  readyEdges<std::int16_t>(lab);
  readyEdges<float>(lab);
}

template <class T>
void eigenType(Lab& lab) {
  const auto src = lab.picture<T>();
  const std::string type = std::is_same_v<T, float> ? "32f_C1R" : "8u32f_C1R";
  for (const int window : {3, 5}) {
    for (const bool isVectors : {false, true}) {
      const std::string stem = isVectors ? "rvpiEigenValsVecs" : "rvpiMinEigenVal";
      const auto dst = lab.blank<float>(isVectors ? 6 : 1);
      const int bytes = lab.size(stem + "GetBufferSize_" + type, kSize, 3, window);
      lab.call(stem + "Border_" + type, src, dst, kSize, RvpiKernelKind{rvpKernelSobel}, 3, window, kBorder, T{0},
               lab.block(bytes));
      lab.keep(dst);
      // Without a border the pixels around the region are read: those of a part in the middle.
      const RvpiSize inner = {kSize.width - 8, kSize.height - 8};
      const T* const first = src.data + static_cast<std::ptrdiff_t>(src.step) / static_cast<int>(sizeof(T)) * 4 + 4;
      lab.call(stem + "_" + type, first, src.step, dst, inner, RvpiKernelKind{rvpKernelSobel}, 3, window,
               lab.block(bytes));
      lab.keep(dst);
    }
  }
}

void eigenvalues(Lab& lab) {
  eigenType<std::uint8_t>(lab);
  eigenType<float>(lab);
}

template <class T>
Image<float> harris(Lab& lab, int window, RvpDataType type) {
  const auto src = lab.picture<T>();
  const auto dst = lab.blank<float>();
  const int bytes = lab.size("rvpiHarrisCornerGetBufferSize", kSize, RvpiMaskSize{33}, window, type, 1);
  lab.call(std::string("rvpiHarrisCorner_") + (type == rvp8u ? "8u" : "") + "32f_C1R", src, dst, kSize,
           RvpiFilterKind{rvpFilterSobel}, RvpiMaskSize{33}, window, 0.04F, 1e-6F, kBorder, T{0}, lab.block(bytes));
  lab.keep(dst);
  return dst;
}

template <class T>
void peaksOf(Lab& lab, const Image<T>& src, T threshold) {
  constexpr int kMost = 5000;
  for (const RvpiPeakNorm norm : {rvpPeakSquare, rvpPeakCross}) {
    std::vector<RvpiPoint> peaks(kMost);
    int count = 0;
    const int bytes = lab.size("rvpiFindPeaks3x3GetBufferSize_" + suffix<T>() + "_C1R", kSize.width);
    lab.call("rvpiFindPeaks3x3_" + suffix<T>() + "_C1R", src, kSize, peaks.data(), kMost, &count, norm, 2,
             lab.block(bytes), threshold);
    lab.keep(&count, 1);
    lab.keep(peaks.data(), count);
  }
}

void corners(Lab& lab) {
  for (const int window : {3, 15}) {
    peaksOf(lab, harris<std::uint8_t>(lab, window, rvp8u), 1e-3F);
    peaksOf(lab, harris<float>(lab, window, rvp32f), 1e-5F);
  }
  peaksOf(lab, lab.picture<std::int32_t>(), 9000);
  const auto src = lab.picture<std::uint8_t>();
  const auto lines = edges(lab, 33, rvpNormL2);
  const auto dst = lab.blank<std::uint8_t>();
  const int bytes = lab.size("rvpiLineSuppressionGetBufferSize", kSize, RvpiMaskSize{33}, 5, RvpDataType{rvp8u}, 1);
  lab.call("rvpiLineSuppression_8u_C1R", src, lines, dst, kSize, RvpiFilterKind{rvpFilterSobel}, RvpiMaskSize{33},
           5, 0.1F, kBorder, std::uint8_t{0}, lab.block(bytes));
  lab.keep(dst);
}

void fastn(Lab& lab) {
  const auto src = lab.picture<std::uint8_t>();
  const int options = rvpFastNOrientation | rvpFastNSuppression | rvpFastNDetect | rvpFastNScore;
  for (const auto& [radius, arc] : {std::pair{1, 5}, {3, 9}, {5, 15}, {9, 27}}) {
    int bytes = 0;
    int specBytes = lab.size("rvpiFastNGetSize", kSize, radius, arc, 16, options, RvpDataType{rvp8u}, 1);
    auto* const spec = static_cast<void*>(lab.block(specBytes));
    lab.call("rvpiFastNInit", kSize, radius, arc, 16, options, RvpDataType{rvp8u}, 1, spec, 15.0F);
    bytes = lab.size("rvpiFastNGetBufferSize", spec, kSize);
    const auto corner = lab.blank<std::uint8_t>();
    const auto score = lab.blank<std::uint8_t>();
    int count = 0;
    lab.call("rvpiFastN_8u_C1R", src, corner, score, &count, RvpiPoint{0, 0}, kSize, spec, lab.block(bytes));
    std::vector<RvpiCornerFastN> list(static_cast<std::size_t>(count) + 1);
    lab.call("rvpiFastN2DToVec_8u", corner, score, list.data(), kSize, count, &count, spec);
    lab.keep(corner, score);
    lab.keep(list.data(), count);
  }
}

void hough(Lab& lab) {
  constexpr int kMost = 500;
  const auto src = edges(lab, 33, rvpNormL1);
  const RvpiPointPolar delta = {1.0F, 0.02F};
  RvpiPointPolar lines[kMost] = {};
  RvpiPointPolar region[2] = {{-200.0F, 0.2F}, {300.0F, 2.5F}};
  int count = 0;
  int bytes = lab.size("rvpiHoughLineGetSize_8u_C1R", kSize, delta, kMost);
  lab.call("rvpiHoughLine_8u32f_C1R", src, kSize, delta, 60, &lines[0], kMost, &count, lab.block(bytes));
  lab.keep(lines, count);
  lab.call("rvpiHoughLine_Region_8u32f_C1R", src, kSize, &lines[0], &region[0], kMost, &count, delta, 60,
           lab.block(bytes));
  lab.keep(lines, count);
  RvpiSegment segments[kMost] = {};
  int specBytes = 0;
  bytes = lab.size("rvpiHoughProbLineGetSize_8u_C1R", kSize, delta, &specBytes);
  auto* const spec = static_cast<void*>(lab.block(specBytes));
  lab.call("rvpiHoughProbLineInit_8u32f_C1R", kSize, delta, 0, spec);
  lab.call("rvpiHoughProbLine_8u32f_C1R", src, kSize, 40, 20, 4, &segments[0], kMost, &count, lab.block(bytes),
           spec);
  lab.keep(segments, count);
}

}  // namespace

const std::vector<Case> kFeatureCases = {{"Canny", canny},
                                         {"eigenvalues", eigenvalues},
                                         {"corners and peaks", corners},
                                         {"FastN", fastn},
                                         {"Hough", hough}};

}  // namespace determinism
