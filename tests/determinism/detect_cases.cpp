// Summed-area tables, deviations in rectangles, stages of a cascade.
#include "lab.h"

namespace determinism {
namespace {

constexpr RvpiSize kSize = Lab::kSize;

template <class T>
struct Tables {
  Image<T> sums;
  Image<double> squares;
  Image<T> tilted;
  Image<double> tiltedSquares;
};

// The table of sums has a row and a column more than the image, the tilted one two of each.
constexpr RvpiSize kTable = {kSize.width + 1, kSize.height + 1};
constexpr RvpiSize kTilted = {kSize.width + 2, kSize.height + 2};

template <class T>
Tables<T> tables(Lab& lab) {
  const auto src = lab.picture<std::uint8_t>();
  const std::string type = "8u" + suffix<T>();
  const Tables<T> t = {lab.blank<T>(1, kTable), lab.blank<double>(1, kTable), lab.blank<T>(1, kTilted),
                       lab.blank<double>(1, kTilted)};
  lab.call("rvpiIntegral_" + type + "_C1R", src, t.sums, kSize, T{3});
  lab.keep(t.sums);
  lab.call("rvpiTiltedIntegral_" + type + "_C1R", src, t.tilted, kSize, T{3});
  lab.keep(t.tilted);
  lab.call("rvpiTiltedSqrIntegral_" + type + "64f_C1R", src, t.tilted, t.tiltedSquares, kSize, T{0}, 0.0);
  lab.keep(t.tilted, t.tiltedSquares);
  lab.call("rvpiSqrIntegral_" + type + "64f_C1R", src, t.sums, t.squares, kSize, T{0}, 0.0);
  lab.keep(t.sums, t.squares);
  return t;
}

constexpr RvpiSize kWindows = {kSize.width - 24, kSize.height - 24};

template <class T>
Image<float> deviations(Lab& lab, const Tables<T>& t) {
  const auto dst = lab.blank<float>(1, kWindows);
  const std::string type = std::is_same_v<T, float> ? "32f_C1R" : "32s32f_C1R";
  for (const bool isTilted : {true, false}) {
    const RvpiRect rect = isTilted ? RvpiRect{9, 1, 8, 8} : RvpiRect{1, 1, 20, 20};
    const auto& sums = isTilted ? t.tilted : t.sums;
    const auto& squares = isTilted ? t.tiltedSquares : t.squares;
    lab.call((isTilted ? "rvpiTiltedRectStdDev_" : "rvpiRectStdDev_") + type, sums, squares, dst, kWindows, rect);
    lab.keep(dst);
  }
  return dst;
}

void integrals(Lab& lab) {
  deviations(lab, tables<std::int32_t>(lab));
  deviations(lab, tables<float>(lab));
  const auto src = lab.picture<std::uint8_t>();
  const auto sums = lab.blank<std::int32_t>(1, kTable);
  const auto squares = lab.blank<std::int32_t>(1, kTable);
  const auto tilted = lab.blank<std::int32_t>(1, kTilted);
  const auto tiltedSquares = lab.blank<std::int32_t>(1, kTilted);
  lab.call("rvpiSqrIntegral_8u32s_C1R", src, sums, squares, kSize, 0, 0);
  lab.call("rvpiTiltedSqrIntegral_8u32s_C1R", src, tilted, tiltedSquares, kSize, 0, 0);
  const auto dst = lab.blank<std::int32_t>(1, kWindows);
  lab.call("rvpiRectStdDev_32s_C1RSfs", sums, squares, dst, kWindows, RvpiRect{1, 1, 20, 20}, -3);
  lab.keep(dst);
  lab.call("rvpiTiltedRectStdDev_32s_C1RSfs", tilted, tiltedSquares, dst, kWindows, RvpiRect{9, 1, 8, 8}, -3);
  lab.keep(dst);
  const auto floats = lab.picture<float>();
  const auto table = lab.blank<float>(1, kTable);
  lab.call("rvpiIntegral_32f_C1R", floats, table, kSize);
  lab.keep(table);
}

// A stage of three classifiers, of two and three rectangles.
constexpr RvpiRect kRects[] = {{2, 2, 16, 8}, {2, 6, 16, 4}, {4, 4, 12, 12}, {4, 4, 4, 12},
                               {8, 4, 4, 12}, {10, 2, 6, 6}, {10, 2, 3, 3}};
constexpr int kCounts[] = {2, 3, 2};
constexpr int kClassifiers = 3;

template <class V>
void* stage(Lab& lab, bool isMixed) {
  const V weights[] = {-1, 2, -1, 2, 1, -1, 3};
  const V thresholds[] = {20, -30, 10};
  const V below[] = {-3, 1, -1};
  const V above[] = {2, -1, 3};
  const std::uint8_t tilted[] = {0, 0, 1};
  const std::string type = suffix<V>();
  const int bytes = lab.size("rvpiHaarClassifierGetSize", RvpDataType{std::is_same_v<V, float> ? rvp32f : rvp32s},
                             RvpiSize{24, 24}, &kCounts[0], kClassifiers);
  void* const block = lab.wordBlock(bytes);
  lab.call("rvpiHaarClassifierInit_" + type, block, &kRects[0], &weights[0], &thresholds[0], &below[0], &above[0],
           &kCounts[0], kClassifiers);
  if (isMixed) lab.call("rvpiTiltHaarFeatures_" + type, &tilted[0], 1, block);
  RvpiSize size = {};
  lab.call("rvpiGetHaarClassifierSize_" + type, block, &size);
  lab.keep(&size, 1);
  return block;
}

template <class T, class V>
void apply(Lab& lab, const std::string& type, const Tables<T>& t, const Image<V>& norm) {
  for (const bool isMixed : {false, true}) {
    void* const block = stage<V>(lab, isMixed);
    const auto mask = lab.mask(kWindows);
    int positive = 0;
    // Tilted rectangles reach to the left of their corner.
    const T* const sums = t.sums.data + 12;
    const T* const tilted = t.tilted.data + 12;
    const RvpiSize size = {kWindows.width - 12, kWindows.height};
    const auto run = [&](auto... scale) {
      if (isMixed)
        lab.call("rvpiApplyMixedHaarClassifier_" + type, sums, t.sums.step, tilted, t.tilted.step, norm, mask, size,
                 &positive, V{0}, block, scale...);
      else
        lab.call("rvpiApplyHaarClassifier_" + type, sums, t.sums.step, norm, mask, size, &positive, V{0}, block,
                 scale...);
    };
    if constexpr (std::is_same_v<V, float>)
      run();
    else
      run(-2);
    lab.keep(mask);
    lab.keep(&positive, 1);
  }
}

void cascades(Lab& lab) {
  const auto sums = tables<std::int32_t>(lab);
  const auto floats = tables<float>(lab);
  const auto norm = deviations(lab, sums);
  apply<float>(lab, "32f_C1R", floats, norm);
  apply<std::int32_t>(lab, "32s32f_C1R", sums, norm);
  apply<std::int32_t>(lab, "32s_C1RSfs", sums, lab.picture<std::int32_t>(1, 0, kWindows));
}

}  // namespace

const std::vector<Case> kDetectCases = {{"tables and deviations", integrals}, {"cascades", cascades}};

}  // namespace determinism
