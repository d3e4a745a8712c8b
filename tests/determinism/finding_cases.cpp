// What finds something in images: edges, corners and lines, distances and regions, and cascades with their tables.
#include "lab.h"

namespace determinism {
namespace {

constexpr RvpiSize kSize = Lab::kSize;
constexpr RvpiBorderType kBorder = rvpBorderRepl;

// ---- Edges, corners, peaks and lines

// The edges of the picture, which later steps look for lines in.
Image<std::uint8_t> edges(Lab& lab, RvpiMaskSize mask, RvpiNormKind norm) {
  const auto dst = lab.blank<std::uint8_t>();
  const RvpiFilterKind filter = rvpFilterSobel;
  lab.call("rvpiCannyBorder_8u_C1R", lab.picture<std::uint8_t>(), dst, kSize, filter, mask, kBorder,
           std::uint8_t{0}, norm, lab.blockOf("rvpiCannyBorderGetSize", kSize, filter, mask, norm), 60.0F, 140.0F);
  return dst;
}

template <class T>
void readyEdges(Lab& lab) {
  lab.call("rvpiCanny_" + suffix<T>() + "8u_C1R", lab.picture<T>(), lab.picture<T>(1, 5), lab.blank<std::uint8_t>(),
           kSize, lab.blockOf("rvpiCannyGetSize", kSize), 20.0F, 40.0F);
}

void canny(Lab& lab) {
  for (const RvpiMaskSize mask : {33, 55})
    for (const RvpiNormKind norm : {rvpNormL1, rvpNormL2}) edges(lab, mask, norm);
  readyEdges<std::int16_t>(lab);
  readyEdges<float>(lab);
}

template <class T>
void eigenType(Lab& lab, const std::string& type) {
  const auto src = lab.picture<T>();
  const RvpiKernelKind kernel = rvpKernelSobel;
  for (const int window : {3, 5}) {
    for (const bool isVectors : {false, true}) {
      const std::string stem = isVectors ? "rvpiEigenValsVecs" : "rvpiMinEigenVal";
      const auto dst = lab.blank<float>(isVectors ? 6 : 1);
      auto* const scratch = lab.blockOf(stem + "GetBufferSize_" + type, kSize, 3, window);
      lab.call(stem + "Border_" + type, src, dst, kSize, kernel, 3, window, kBorder, T{0}, scratch);
      // Without a border the pixels around the region are read: those of a part in the middle.
      lab.call(stem + "_" + type, src.row(4) + 4, src.step, dst, RvpiSize{kSize.width - 8, kSize.height - 8},
               kernel, 3, window, scratch);
    }
  }
}

void eigenvalues(Lab& lab) {
  eigenType<std::uint8_t>(lab, "8u32f_C1R");
  eigenType<float>(lab, "32f_C1R");
}

template <class T>
Image<float> harris(Lab& lab, int window) {
  const auto dst = lab.blank<float>();
  const RvpiMaskSize mask = 33;
  lab.call(std::string("rvpiHarrisCorner_") + (sizeof(T) == 1 ? "8u" : "") + "32f_C1R", lab.picture<T>(), dst,
           kSize, RvpiFilterKind{rvpFilterSobel}, mask, window, 0.04F, 1e-6F, kBorder, T{0},
           lab.blockOf("rvpiHarrisCornerGetBufferSize", kSize, mask, window, test::kTypeOf<T>, 1));
  return dst;
}

template <class T>
void peaksOf(Lab& lab, const Image<T>& src, std::remove_const_t<T> threshold) {
  constexpr int kMost = 5000;
  const std::string type = suffix<std::remove_const_t<T>>() + "_C1R";
  for (const RvpiPeakNorm norm : {rvpPeakSquare, rvpPeakCross}) {
    std::vector<RvpiPoint> peaks(kMost);
    int count = 0;
    lab.call("rvpiFindPeaks3x3_" + type, src, kSize, peaks.data(), kMost, &count, norm, 2,
             lab.blockOf("rvpiFindPeaks3x3GetBufferSize_" + type, kSize.width), threshold);
    lab.keep(&count, 1);
    lab.keep(peaks.data(), count);
  }
}

void corners(Lab& lab) {
  for (const int window : {3, 15}) {
    peaksOf(lab, harris<std::uint8_t>(lab, window), 1e-3F);
    peaksOf(lab, harris<float>(lab, window), 1e-5F);
  }
  peaksOf(lab, lab.picture<std::int32_t>(), 9000);
  const RvpiMaskSize mask = 33;
  lab.call("rvpiLineSuppression_8u_C1R", lab.picture<std::uint8_t>(), edges(lab, mask, rvpNormL2),
           lab.blank<std::uint8_t>(), kSize, RvpiFilterKind{rvpFilterSobel}, mask, 5, 0.1F, kBorder,
           std::uint8_t{0}, lab.blockOf("rvpiLineSuppressionGetBufferSize", kSize, mask, 5, RvpDataType{rvp8u}, 1));
}

void fastn(Lab& lab) {
  const auto src = lab.picture<std::uint8_t>();
  const int options = rvpFastNOrientation | rvpFastNSuppression | rvpFastNDetect | rvpFastNScore;
  for (const auto& [radius, arc] : {std::pair{1, 5}, {3, 9}, {5, 15}, {9, 27}}) {
    const RvpDataType type = rvp8u;
    auto* const spec =
        static_cast<void*>(lab.blockOf("rvpiFastNGetSize", kSize, radius, arc, 16, options, type, 1));
    lab.call("rvpiFastNInit", kSize, radius, arc, 16, options, type, 1, spec, 15.0F);
    const auto corner = lab.blank<std::uint8_t>(), score = lab.blank<std::uint8_t>();
    int count = 0;
    lab.call("rvpiFastN_8u_C1R", src, corner, score, &count, RvpiPoint{0, 0}, kSize, spec,
             lab.blockOf("rvpiFastNGetBufferSize", spec, kSize));
    std::vector<RvpiCornerFastN> list(static_cast<std::size_t>(count) + 1);
    lab.call("rvpiFastN2DToVec_8u", corner, score, list.data(), kSize, count, &count, spec);
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
  auto* const scratch = lab.blockOf("rvpiHoughLineGetSize_8u_C1R", kSize, delta, kMost);
  lab.call("rvpiHoughLine_8u32f_C1R", src, kSize, delta, 60, &lines[0], kMost, &count, scratch);
  lab.keep(lines, count);
  lab.call("rvpiHoughLine_Region_8u32f_C1R", src, kSize, &lines[0], &region[0], kMost, &count, delta, 60, scratch);
  lab.keep(lines, count);
  RvpiSegment segments[kMost] = {};
  int specBytes = 0;
  auto* const buffer = lab.blockOf("rvpiHoughProbLineGetSize_8u_C1R", kSize, delta, &specBytes);
  auto* const spec = static_cast<void*>(lab.block(specBytes));
  lab.call("rvpiHoughProbLineInit_8u32f_C1R", kSize, delta, 0, spec);
  lab.call("rvpiHoughProbLine_8u32f_C1R", src, kSize, 40, 20, 4, &segments[0], kMost, &count, buffer, spec);
  lab.keep(segments, count);
}

// ---- Distances

template <class Dst, class Metric>
void chamferType(Lab& lab, const std::string& type, RvpiChamferNorm norm) {
  for (const int kernel : {3, 5}) {
    Metric metrics[3] = {};
    const std::string stem = "rvpiDistanceTransform_" + std::to_string(kernel) + "x" + std::to_string(kernel) + "_";
    lab.call("rvpiGetDistanceTransformMask_" + suffix<Metric>(), kernel, norm, &metrics[0]);
    lab.call(stem + type + "_C1R", lab.mask(), lab.blank<Dst>(), kSize, &metrics[0]);
    if (sizeof(Dst) == 1) lab.call(stem + "8u_C1IR", lab.mask(), kSize, &metrics[0]);
  }
}

void distances(Lab& lab) {
  for (const RvpiChamferNorm norm : {0, 1, 2}) {
    chamferType<std::uint8_t, std::int32_t>(lab, "8u", norm);
    chamferType<std::uint16_t, std::int32_t>(lab, "8u16u", norm);
    chamferType<float, float>(lab, "8u32f", norm);
  }
  for (const float radius : {0.0F, 5.0F})
    lab.call("rvpiFastMarching_8u32f_C1R", lab.mask(), lab.blank<float>(), kSize, radius,
             lab.blockOf("rvpiFastMarchingGetBufferSize_8u32f_C1R", kSize));
}

// ---- Regions

template <class T>
void floodType(Lab& lab) {
  const RvpiPoint seed = {kSize.width / 2, kSize.height / 2};
  const T value[3] = {90, 91, 92}, delta[3] = {2, 2, 2};
  for (const int channels : {1, 3}) {
    if (std::is_same_v<T, std::int32_t> && channels == 3) continue;
    const auto fill = [&](const std::string& kind, const std::string& query, auto... deltas) {
      for (const std::string neighbours : {"4Con_", "8Con_"}) {
        const std::string name =
            "rvpiFloodFill_" + kind + neighbours + suffix<T>() + "_C" + std::to_string(channels) + "IR";
        // Large regions: few bits of a slope are left.
        const auto image = lab.image<T>(
            kSize, channels, [](int y, int x, int) { return (x + y) / 64 + (x % 13 == 0 && y % 7 != 0 ? 40 : 0); });
        RvpiFilledRegion region = {};
        auto* const buffer = lab.blockOf(query, kSize);
        if (channels == 1)
          lab.call(name, image, kSize, seed, value[0], *deltas..., &region, buffer);
        else
          lab.call(name, image, kSize, seed, &value[0], deltas..., &region, buffer);
        lab.keep(&region.area, 1);
        lab.keep(&region.rect, 1);
      }
    };
    fill("", "rvpiFloodFillGetSize");
    if constexpr (!std::is_same_v<T, std::int32_t>) {
      fill("Range", "rvpiFloodFillGetSize", &delta[0], &delta[0]);
      fill("Grad", "rvpiFloodFillGetSize_Grad", &delta[0], &delta[0]);
    }
  }
}

void flood(Lab& lab) {
  forTypes<std::uint8_t, std::uint16_t, std::int32_t, float>([&]<class T>() { floodType<T>(lab); });
}

// A marker in every field of a grid.
template <class T>
Image<T> markers(Lab& lab) {
  return lab.image<T>(kSize, 1,
                      [](int y, int x, int) { return x % 80 == 40 && y % 80 == 40 ? 1 + x / 80 + y / 80 * 9 : 0; });
}

// Which of two markers gets a pixel that both reach at the same level depends on the number of threads, on the
// distance road of bytes.
template <class Src, class Marker>
void watershedType(Lab& lab, const std::string& type) {
  const auto run = [&](RvpiSegmentFlags flags, std::initializer_list<RvpiWatershedNeighbours> kinds,
                       bool isForTeam) {
    for (const RvpiWatershedNeighbours kind : kinds) {
      auto* const scratch = lab.blockOf("rvpiSegmentWatershedGetBufferSize_" + type + "_C1R", kSize);
      lab.callFor(isForTeam, "rvpiSegmentWatershed_" + type + "_C1IR", lab.picture<Src>(), markers<Marker>(lab),
                  kSize, kind, flags, scratch);
    }
  };
  constexpr bool kIsFloat = std::is_same_v<Src, float>;
  if (!kIsFloat) run(rvpSegmentQueue, {rvpWatershed8, rvpWatershed4}, false);
  for (const RvpiSegmentFlags flags : {rvpSegmentDistance + 0, rvpSegmentDistance | rvpSegmentBoundaries8})
    run(flags, {rvpWatershed8, rvpWatershed4, rvpWatershedChamfer, rvpWatershedFront}, !kIsFloat);
}

void watershed(Lab& lab) {
  watershedType<std::uint8_t, std::uint8_t>(lab, "8u");
  watershedType<std::uint8_t, std::uint16_t>(lab, "8u16u");
  watershedType<float, std::uint16_t>(lab, "32f16u");
}

void gradients(Lab& lab) {
  for (const int channels : {1, 3}) {
    const std::string form = "8u_C" + std::to_string(channels);
    for (const RvpiConnectivity norm : {rvpConnect8, rvpConnect4})
      lab.call("rvpiSegmentGradient_" + form + "IR", lab.picture<std::uint8_t>(channels),
               markers<std::uint8_t>(lab), kSize, norm, RvpiSegmentFlags{rvpSegmentBoundaries4},
               lab.blockOf("rvpiSegmentGradientGetBufferSize_" + form + "R", kSize));
  }
  forTypes<std::uint8_t, std::uint16_t>([&]<class T>() {
    for (const RvpiConnectivity norm : {rvpConnect8, rvpConnect4}) {
      const auto marker = lab.image<T>(kSize, 1, [](int y, int x, int) { return x / 9 + y / 11; });
      lab.call("rvpiBoundSegments_" + suffix<T>() + "_C1IR", marker, kSize, T{255}, norm);
    }
  });
}

void labels(Lab& lab) {
  for (const RvpiConnectivity norm : {rvpConnect8, rvpConnect4}) {
    const auto words =
        lab.image<std::uint16_t>(kSize, 1, [](int y, int x, int) { return x % 5 < 3 && y % 7 < 5 ? 9 : 0; });
    const auto mark = [&](const std::string& type, int greatest, auto... images) {
      int number = 0;
      const bool isInPlace = sizeof...(images) == 1;
      lab.call("rvpiLabelMarkers_" + type + (isInPlace ? "_C1IR" : "_C1R"), images..., kSize, 1, greatest, norm,
               &number, lab.blockOf("rvpiLabelMarkersGetBufferSize_" + type + "_C1R", kSize));
      lab.keep(&number, 1);
    };
    mark("8u", 250, lab.mask());
    mark("16u", 60000, words);
    mark("8u32s", 1000000, lab.mask(), lab.blank<std::int32_t>());
  }
  forTypes<std::uint8_t, std::uint16_t, std::int16_t, float>([&]<class T>() {
    lab.call("rvpiMarkSpeckles_" + suffix<T>() + "_C1IR", lab.canvas<T>(), kSize, T{0}, 40, T{2},
             RvpiConnectivity{rvpConnect4},
             lab.blockOf("rvpiMarkSpecklesGetBufferSize", kSize, test::kTypeOf<T>, 1));
  });
}

// ---- Summed-area tables, deviations in rectangles, stages of a cascade

// The table of sums has a row and a column more than the image, the tilted one two of each.
template <class T, class Square>
struct Tables {
  Image<T> sums, tilted;
  Image<Square> squares, tiltedSquares;

  explicit Tables(Lab& lab)
      : sums(lab.blank<T>(1, {kSize.width + 1, kSize.height + 1})),
        tilted(lab.blank<T>(1, {kSize.width + 2, kSize.height + 2})),
        squares(lab.blank<Square>(1, {kSize.width + 1, kSize.height + 1})),
        tiltedSquares(lab.blank<Square>(1, {kSize.width + 2, kSize.height + 2})) {
    const auto src = lab.picture<std::uint8_t>();
    const std::string type = "8u" + suffix<T>();
    const std::string both = type + (std::is_same_v<T, Square> ? "" : suffix<Square>()) + "_C1R";
    lab.call("rvpiIntegral_" + type + "_C1R", src, sums, kSize, T{3});
    lab.call("rvpiTiltedIntegral_" + type + "_C1R", src, tilted, kSize, T{3});
    lab.call("rvpiTiltedSqrIntegral_" + both, src, tilted, tiltedSquares, kSize, T{0}, Square{0});
    lab.call("rvpiSqrIntegral_" + both, src, sums, squares, kSize, T{0}, Square{0});
  }
};

constexpr RvpiSize kWindows = {kSize.width - 24, kSize.height - 24};

template <class Dst, class T, class Square>
Image<Dst> deviations(Lab& lab, const Tables<T, Square>& t, const std::string& type, auto... scale) {
  const auto dst = lab.blank<Dst>(1, kWindows);
  lab.call("rvpiTiltedRectStdDev_" + type, t.tilted, t.tiltedSquares, dst, kWindows, RvpiRect{9, 1, 8, 8},
           scale...);
  lab.call("rvpiRectStdDev_" + type, t.sums, t.squares, dst, kWindows, RvpiRect{1, 1, 20, 20}, scale...);
  return dst;
}

void integrals(Lab& lab) {
  deviations<float>(lab, Tables<std::int32_t, double>(lab), "32s32f_C1R");
  deviations<float>(lab, Tables<float, double>(lab), "32f_C1R");
  deviations<std::int32_t>(lab, Tables<std::int32_t, std::int32_t>(lab), "32s_C1RSfs", -3);
  lab.call("rvpiIntegral_32f_C1R", lab.picture<float>(), lab.blank<float>(1, {kSize.width + 1, kSize.height + 1}),
           kSize);
}

// A stage of three classifiers, of two and three rectangles.
constexpr RvpiRect kRects[] = {{2, 2, 16, 8}, {2, 6, 16, 4}, {4, 4, 12, 12}, {4, 4, 4, 12},
                               {8, 4, 4, 12}, {10, 2, 6, 6}, {10, 2, 3, 3}};
constexpr int kCounts[] = {2, 3, 2};
constexpr int kClassifiers = 3;

template <class V>
void* stage(Lab& lab, bool isMixed) {
  const V weights[] = {-1, 2, -1, 2, 1, -1, 3}, thresholds[] = {20, -30, 10}, below[] = {-3, 1, -1},
          above[] = {2, -1, 3};
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

template <class V>
void apply(Lab& lab, const std::string& type, const auto& t, const Image<V>& norm, auto... scale) {
  for (const bool isMixed : {false, true}) {
    void* const block = stage<V>(lab, isMixed);
    const auto mask = lab.mask(kWindows);
    int positive = 0;
    // Tilted rectangles reach to the left of their corner.
    const RvpiSize size = {kWindows.width - 12, kWindows.height};
    if (isMixed)
      lab.call("rvpiApplyMixedHaarClassifier_" + type, t.sums.data + 12, t.sums.step, t.tilted.data + 12,
               t.tilted.step, norm, mask, size, &positive, V{0}, block, scale...);
    else
      lab.call("rvpiApplyHaarClassifier_" + type, t.sums.data + 12, t.sums.step, norm, mask, size, &positive, V{0},
               block, scale...);
    lab.keep(&positive, 1);
  }
}

void cascades(Lab& lab) {
  const Tables<std::int32_t, double> sums(lab);
  const auto norm = deviations<float>(lab, sums, "32s32f_C1R");
  apply(lab, "32f_C1R", Tables<float, double>(lab), norm);
  apply(lab, "32s32f_C1R", sums, norm);
  apply(lab, "32s_C1RSfs", sums, lab.canvas<std::int32_t>(1, 0, kWindows), -2);
}

}  // namespace

const std::vector<Case> kFindingCases = {{"Canny", canny},
                                         {"eigenvalues", eigenvalues},
                                         {"corners and peaks", corners},
                                         {"FastN", fastn},
                                         {"Hough", hough},
                                         {"distances", distances},
                                         {"flood fill", flood},
                                         {"watershed", watershed},
                                         {"gradient segments", gradients},
                                         {"labels and speckles", labels},
                                         {"tables and deviations", integrals},
                                         {"cascades", cascades}};

}  // namespace determinism
