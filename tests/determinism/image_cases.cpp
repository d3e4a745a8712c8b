// What makes images of images: accumulators and norms, filters, morphology, pyramids, the background model.
#include "lab.h"

namespace determinism {
namespace {

constexpr RvpiSize kSize = Lab::kSize;
constexpr RvpiBorderType kBorder = rvpBorderRepl;

// ---- Accumulators and masked norms

template <class T>
void accumulateType(Lab& lab) {
  const auto a = lab.picture<T>(), b = lab.picture<T>(1, 1);
  const auto mask = lab.mask();
  const auto sum = lab.canvas<float>(1, 2);
  const std::string type = suffix<T>() + (std::is_same_v<T, float> ? "" : "32f");
  if constexpr (!std::is_same_v<T, float>) lab.call("rvpiAdd_" + type + "_C1IR", a, sum, kSize);
  lab.call("rvpiAddSquare_" + type + "_C1IR", a, sum, kSize);
  lab.call("rvpiAddProduct_" + type + "_C1IR", a, b, sum, kSize);
  lab.call("rvpiAddWeighted_" + type + "_C1IR", b, sum, kSize, 0.3F);
  lab.call("rvpiAdd_" + type + "_C1IMR", b, mask, sum, kSize);
  lab.call("rvpiAddSquare_" + type + "_C1IMR", b, mask, sum, kSize);
  lab.call("rvpiAddProduct_" + type + "_C1IMR", a, b, mask, sum, kSize);
  lab.call("rvpiAddWeighted_" + type + "_C1IMR", a, mask, sum, kSize, 0.3F);
}

void accumulators(Lab& lab) {
  forTypes<std::uint8_t, std::uint16_t, float>([&]<class T>() { accumulateType<T>(lab); });
  lab.call("rvpiAddWeighted_32f_C1R", lab.picture<float>(), lab.picture<float>(1, 1), lab.blank<float>(), kSize,
           0.3F);
}

template <class T>
void normType(Lab& lab) {
  const auto mask = lab.mask();
  for (const std::string kind : {"Inf", "L1", "L2"}) {
    double values[6] = {};
    const auto all = [&](int channels, const std::string& form, double* value, auto... rest) {
      const auto a = lab.picture<T>(channels), b = lab.picture<T>(channels, 1);
      const std::string name = kind + "_" + suffix<T>() + form;
      lab.call("rvpiNorm_" + name, a, mask, kSize, rest..., value);
      lab.call("rvpiNormDiff_" + name, a, b, mask, kSize, rest..., value + 1);
      lab.call("rvpiNormRel_" + name, a, b, mask, kSize, rest..., value + 2);
    };
    all(1, "_C1MR", values);
    all(3, "_C3CMR", values + 3, 2);
    // Each thread of a team adds up its own rows.
    if (std::is_same_v<T, float> && kind != "Inf")
      lab.keepForTeam(values, 6);
    else
      lab.keep(values, 6);
  }
}

void norms(Lab& lab) {
  forTypes<std::uint8_t, std::uint16_t, float>([&]<class T>() { normType<T>(lab); });
}

// ---- Filters

constexpr int kTaps = 5;

// The row stage into an image, the column stage out of it. The integer forms have a divisor.
template <class Src, class Middle, class Dst>
void pipelineTypes(Lab& lab, const std::string& rowType, const std::string& columnType) {
  using Kernel = std::conditional_t<std::is_same_v<Src, float>, float, std::int16_t>;
  const Kernel kernel[kTaps] = {1, 4, 6, 4, 1};
  for (const int channels : {1, 3}) {
    const std::string form = "_C" + std::to_string(channels) + "R";
    const auto middle = lab.blank<Middle>(channels, {kSize.width, kSize.height + kTaps - 1});
    const Src border[3] = {1, 2, 3};
    std::vector<Middle*> rows;
    for (int y = 0; y < middle.rows; ++y) rows.push_back(middle.row(y));
    auto* const rowScratch =
        lab.blockOf("rvpiFilterRowBorderPipelineGetBufferSize_" + rowType + form, kSize, kTaps);
    auto* const columnScratch =
        lab.blockOf("rvpiFilterColumnPipelineGetBufferSize_" + columnType + form, kSize, kTaps);
    const auto run = [&](auto value, auto... divisor) {
      lab.call("rvpiFilterRowBorderPipeline_" + rowType + form, lab.picture<Src>(channels), rows.data() + kTaps / 2,
               kSize, &kernel[0], kTaps, kTaps / 2, RvpiBorderType{rvpBorderMirror}, value, divisor..., rowScratch);
      for (int y = 0; y < middle.rows; ++y) lab.keep(middle.row(y), middle.columns);
      lab.call("rvpiFilterColumnPipeline_" + columnType + form, rows.data(), lab.blank<Dst>(channels), kSize,
               &kernel[0], kTaps, divisor..., columnScratch);
    };
    const auto withDivisor = [&](auto value) {
      if constexpr (std::is_same_v<Src, float>)
        run(value);
      else
        run(value, 7);
    };
    if (channels == 1)
      withDivisor(border[0]);
    else
      withDivisor(&border[0]);
  }
}

void filters(Lab& lab) {
  pipelineTypes<float, float, float>(lab, "32f", "32f");
  pipelineTypes<std::uint8_t, std::int16_t, std::uint8_t>(lab, "8u16s", "16s8u");
  pipelineTypes<std::int16_t, std::int16_t, std::int8_t>(lab, "16s", "16s8s");
  pipelineTypes<std::int16_t, std::int16_t, std::int16_t>(lab, "16s", "16s");
  pipelineTypes<std::uint16_t, std::uint16_t, std::uint16_t>(lab, "16u", "16u");
  pipelineTypes<std::int16_t, std::int16_t, std::int16_t>(lab, "Low_16s", "Low_16s");
  for (const int mask : {33, 55})
    lab.call("rvpiFilterLowpassBorder_32f_C1R", lab.picture<float>(), lab.blank<float>(), kSize, mask, kBorder,
             0.0F, lab.blockOf("rvpiFilterLowpassGetBufferSize_32f_C1R", kSize, mask));
}

// ---- Morphology

constexpr RvpiSize kMaskSize = {9, 7};

// A full rectangle, and a mask with holes.
std::vector<std::vector<std::uint8_t>> masks() {
  std::vector<std::uint8_t> full(63, 1), holed(63);
  for (std::size_t i = 0; i < holed.size(); ++i) holed[i] = i % 5 < 3 ? 1 : 0;
  return {full, holed};
}

// Calls every operation of `names`, all of which share a state. Images of one bit have bit offsets, and three or
// four channels take a pointer to the border's value.
template <class T>
void morphType(Lab& lab, const std::string& type, int channels, const std::string& stem,
               const std::vector<std::string>& names) {
  const bool isBits = type == "1u";
  const RvpiSize bytesSize = isBits ? RvpiSize{(kSize.width + 9) / 8, kSize.height} : kSize;
  const std::string form = "_" + type + "_C" + std::to_string(channels) + "R";
  for (const auto& mask : masks()) {
    lab.release();
    const auto src = lab.picture<T>(channels, 0, bytesSize);
    int specBytes = 0;
    auto* const buffer = lab.blockOf(stem + "GetSize" + form, kSize, kMaskSize, &specBytes);
    auto* const spec = static_cast<void*>(lab.block(specBytes));
    lab.call(stem + "Init" + form, kSize, mask.data(), kMaskSize, spec, buffer);
    for (const std::string& name : names) {
      const auto dst = lab.blank<T>(channels, bytesSize);
      const T values[4] = {1, 0, 1, 0};
      if (isBits)
        lab.call(name + form, src, 1, dst, 2, kSize, kBorder, std::uint8_t{1}, spec, buffer);
      else if (channels == 1)
        lab.call(name + form, src, dst, kSize, kBorder, values[0], spec, buffer);
      else
        lab.call(name + form, src, dst, kSize, kBorder, &values[0], spec, buffer);
    }
  }
}

void morphAll(Lab& lab, const std::string& stem, const std::vector<std::string>& names) {
  morphType<std::uint8_t>(lab, "1u", 1, stem, names);
  for (const int channels : {1, 3, 4}) {
    morphType<std::uint8_t>(lab, "8u", channels, stem, names);
    morphType<float>(lab, "32f", channels, stem, names);
  }
  morphType<std::uint16_t>(lab, "16u", 1, stem, names);
  morphType<std::int16_t>(lab, "16s", 1, stem, names);
}

void extrema(Lab& lab) { morphAll(lab, "rvpiMorphologyBorder", {"rvpiErodeBorder", "rvpiDilateBorder"}); }

void compounds(Lab& lab) {
  morphAll(lab, "rvpiMorphAdv",
           {"rvpiMorphOpenBorder", "rvpiMorphCloseBorder", "rvpiMorphTophatBorder", "rvpiMorphBlackhatBorder",
            "rvpiMorphGradientBorder"});
}

template <class T>
void reconstructType(Lab& lab) {
  const auto limit = lab.picture<T>();
  for (const RvpiConnectivity norm : {rvpConnect8, rvpConnect4}) {
    for (const bool dilates : {true, false}) {
      const auto marker = lab.image<T>(kSize, 1, [&](int y, int x, int) {
        const bool isSeed = x % 97 == 5 && y % 61 == 7;
        return isSeed ? limit.row(y)[x] : static_cast<T>(dilates ? 0 : sizeof(T) == 1 ? 255 : 30000);
      });
      lab.call(std::string("rvpiMorphReconstruct") + (dilates ? "Dilate_" : "Erode_") + suffix<T>() + "_C1IR",
               limit, marker, kSize, lab.blockOf("rvpiMorphReconstructGetBufferSize", kSize, test::kTypeOf<T>, 1),
               norm);
    }
  }
}

void reconstruction(Lab& lab) {
  forTypes<std::uint8_t, std::uint16_t, float, double>([&]<class T>() { reconstructType<T>(lab); });
}

// ---- Pyramids and what moves

template <class T>
void layerType(Lab& lab) {
  using Kernel = std::conditional_t<std::is_same_v<T, float>, float, std::int16_t>;
  const Kernel kernel[5] = {1, 4, 6, 4, 1};
  constexpr RvpiPyramidMode kMode = rvpiPyramidLinear;
  for (const int channels : {1, 3}) {
    const std::string form = suffix<T>() + "_C" + std::to_string(channels) + "R";
    for (const float rate : {2.0F, 1.3F, 3.7F}) {
      RvpiSize small = {}, least = {}, large = {};
      lab.call("rvpiGetPyramidDownROI", kSize, &small, rate);
      lab.call("rvpiGetPyramidUpROI", small, &least, &large, rate);
      const auto down = lab.blank<T>(channels, small);
      int stateBytes = 0, bytes = 0;
      void* state = nullptr;
      lab.call("rvpiPyramidLayerDownGetSize_" + form, kSize, 5, &stateBytes, &bytes, rate);
      lab.call("rvpiPyramidLayerDownInit_" + form, &state, kSize, rate, &kernel[0], 5, kMode, lab.block(stateBytes),
               lab.block(bytes));
      lab.call("rvpiPyramidLayerDown_" + form, lab.picture<T>(channels), kSize, down, small, state);
      lab.call("rvpiPyramidLayerUpGetSize_" + form, small, 5, &stateBytes, rate);
      lab.call("rvpiPyramidLayerUpInit_" + form, &state, small, rate, &kernel[0], 5, kMode, lab.block(stateBytes));
      lab.call("rvpiPyramidLayerUp_" + form, down, small, lab.blank<T>(channels, large), large, state);
    }
  }
}

void layers(Lab& lab) {
  forTypes<std::uint8_t, std::uint16_t, float>([&]<class T>() { layerType<T>(lab); });
}

template <class T>
void flowType(Lab& lab) {
  constexpr int kLevels = 2, kPoints = 300, kWindow = 11;
  RvpiPyramid* pyramids[2] = {};
  for (int i = 0; i < 2; ++i) {
    int bytes = 0, bufferBytes = 0;
    lab.call("rvpiPyramidGetSize", &bytes, &bufferBytes, kLevels, kSize, 2.0F);
    lab.call("rvpiPyramidInit", &pyramids[i], kLevels, kSize, lab.wordBlock(bytes), lab.block(bufferBytes), 2.0F);
    for (int level = 0; level <= kLevels; ++level) {
      // Waves: a coarser level shows every second pixel.
      const auto image = lab.image<T>(pyramids[i]->pRoi[level], 1, [=](int y, int x, int) {
        const int u = ((x << level) + 2 * i) % 120, v = ((y << level) + i) % 90;
        return 60 + u * (120 - u) / 40 + v * (90 - v) / 30;
      });
      pyramids[i]->pImage[level] = reinterpret_cast<std::uint8_t*>(image.data);
      pyramids[i]->pStep[level] = image.step;
    }
  }
  std::vector<RvpiPoint32f> from;
  for (int i = 0; i < kPoints; ++i)
    from.push_back({static_cast<float>(20 + i * 37 % 600) + 0.25F, static_cast<float>(20 + i * 53 % 380) + 0.5F});
  std::vector<RvpiPoint32f> to = from;
  std::vector<std::int8_t> status(kPoints);
  std::vector<float> error(kPoints);
  void* state = nullptr;
  const int bytes = lab.size("rvpiOpticalFlowPyrLKGetSize", kWindow, kSize, test::kTypeOf<T>, 0);
  lab.call("rvpiOpticalFlowPyrLKInit_" + suffix<T>() + "_C1R", &state, kSize, kWindow, 0, lab.wordBlock(bytes));
  lab.call("rvpiOpticalFlowPyrLK_" + suffix<T>() + "_C1R", pyramids[0], pyramids[1], from.data(), to.data(),
           status.data(), error.data(), kPoints, kWindow, kLevels, 10, 0.01F, state);
  lab.keep(to.data(), kPoints);
  lab.keep(status.data(), kPoints);
  lab.keep(error.data(), kPoints);
}

void flow(Lab& lab) {
  forTypes<std::uint8_t, std::uint16_t, float>([&]<class T>() { flowType<T>(lab); });
}

void background(Lab& lab) {
  constexpr int kModes = 5;
  const RvpFGMMModel model = {.historyLength = 20,
                              .modeCount = kModes,
                              .initialVariance = 15,
                              .minVariance = 4,
                              .maxVariance = 75,
                              .backgroundMatch = 16,
                              .backgroundWeight = 0.9F,
                              .updateMatch = 9,
                              .weightDecay = 0.05F,
                              .shadowLabel = 127,
                              .shadowEnabled = 1,
                              .shadowRatio = 0.5F};
  auto* const state = static_cast<void*>(lab.blockOf("rvpiFGMMGetBufferSize_8u_C3R", kSize, kModes));
  lab.call("rvpiFGMMInit_8u_C3R", kSize, kModes, &model, state);
  const auto dst = lab.blank<std::uint8_t>();
  for (int frame = 0; frame < 6; ++frame)
    lab.call("rvpiFGMMForeground_8u_C3R", lab.picture<std::uint8_t>(3, frame % 3), dst, kSize, state, &model, 0.1);
  lab.call("rvpiFGMMBackground_8u_C3R", lab.blank<std::uint8_t>(3), kSize, state);
}

}  // namespace

const std::vector<Case> kImageCases = {{"accumulators", accumulators},
                                       {"norms", norms},
                                       {"filters", filters},
                                       {"erosion and dilation", extrema},
                                       {"compound operations", compounds},
                                       {"reconstruction", reconstruction},
                                       {"layers", layers},
                                       {"optical flow", flow},
                                       {"background", background}};

}  // namespace determinism
