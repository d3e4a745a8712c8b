// Pyramids, optical flow and the background model.
#include "lab.h"

namespace determinism {
namespace {

constexpr RvpiSize kSize = Lab::kSize;

template <class T>
void layerType(Lab& lab) {
  using Kernel = std::conditional_t<std::is_same_v<T, float>, float, std::int16_t>;
  const Kernel kernel[5] = {1, 4, 6, 4, 1};
  for (const int channels : {1, 3}) {
    const std::string form = suffix<T>() + "_C" + std::to_string(channels) + "R";
    for (const float rate : {2.0F, 1.3F, 3.7F}) {
      const auto src = lab.picture<T>(channels);
      RvpiSize small = {};
      lab.call("rvpiGetPyramidDownROI", kSize, &small, rate);
      const auto down = lab.blank<T>(channels, small);
      int stateBytes = 0;
      int bytes = 0;
      void* state = nullptr;
      const RvpiPyramidMode mode = rvpiPyramidLinear;
      lab.call("rvpiPyramidLayerDownGetSize_" + form, kSize, 5, &stateBytes, &bytes, rate);
      lab.call("rvpiPyramidLayerDownInit_" + form, &state, kSize, rate, &kernel[0], 5, mode, lab.block(stateBytes),
               lab.block(bytes));
      lab.call("rvpiPyramidLayerDown_" + form, src, kSize, down, small, state);
      lab.keep(down);
      RvpiSize least = {};
      RvpiSize large = {};
      lab.call("rvpiGetPyramidUpROI", small, &least, &large, rate);
      const auto up = lab.blank<T>(channels, large);
      lab.call("rvpiPyramidLayerUpGetSize_" + form, small, 5, &stateBytes, rate);
      lab.call("rvpiPyramidLayerUpInit_" + form, &state, small, rate, &kernel[0], 5, mode, lab.block(stateBytes));
      lab.call("rvpiPyramidLayerUp_" + form, down, small, up, large, state);
      lab.keep(up);
    }
  }
}

void layers(Lab& lab) {
  layerType<std::uint8_t>(lab);
  layerType<std::uint16_t>(lab);
  layerType<float>(lab);
}

template <class T>
void flowType(Lab& lab, RvpDataType type) {
  constexpr int kLevels = 2;
  constexpr int kPoints = 300;
  RvpiPyramid* pyramids[2] = {};
  std::vector<Image<T>> images;
  for (int i = 0; i < 2; ++i) {
    int bytes = 0;
    int bufferBytes = 0;
    lab.call("rvpiPyramidGetSize", &bytes, &bufferBytes, kLevels, kSize, 2.0F);
    lab.call("rvpiPyramidInit", &pyramids[i], kLevels, kSize, lab.wordBlock(bytes), lab.block(bufferBytes), 2.0F);
    for (int level = 0; level <= kLevels; ++level) {
      const RvpiSize size = pyramids[i]->pRoi[level];
      // Waves: a coarser level shows every second pixel.
      images.push_back(lab.image<T>(size, 1, [=](int y, int x, int) {
        const int scale = 1 << level;
        const int u = (x * scale + 2 * i) % 120;
        const int v = (y * scale + i) % 90;
        return static_cast<T>(60 + u * (120 - u) / 40 + v * (90 - v) / 30);
      }));
      pyramids[i]->pImage[level] = reinterpret_cast<std::uint8_t*>(images.back().data);
      pyramids[i]->pStep[level] = images.back().step;
    }
  }
  std::vector<RvpiPoint32f> from;
  for (int i = 0; i < kPoints; ++i)
    from.push_back({static_cast<float>(20 + i * 37 % 600) + 0.25F, static_cast<float>(20 + i * 53 % 380) + 0.5F});
  std::vector<RvpiPoint32f> to = from;
  std::vector<std::int8_t> status(kPoints);
  std::vector<float> error(kPoints);
  void* state = nullptr;
  const int bytes = lab.size("rvpiOpticalFlowPyrLKGetSize", 11, kSize, type, 0);
  lab.call("rvpiOpticalFlowPyrLKInit_" + suffix<T>() + "_C1R", &state, kSize, 11, 0, lab.wordBlock(bytes));
  lab.call("rvpiOpticalFlowPyrLK_" + suffix<T>() + "_C1R", pyramids[0], pyramids[1],
           static_cast<const RvpiPoint32f*>(from.data()), to.data(), status.data(), error.data(), kPoints, 11,
           kLevels, 10, 0.01F, state);
  lab.keep(to.data(), kPoints);
  lab.keep(status.data(), kPoints);
  lab.keep(error.data(), kPoints);
}

void flow(Lab& lab) {
  flowType<std::uint8_t>(lab, rvp8u);
  flowType<std::uint16_t>(lab, rvp16u);
  flowType<float>(lab, rvp32f);
}

void background(Lab& lab) {
  constexpr int kModes = 5;
  RvpFGMMModel model = {};
  model.historyLength = 20;
  model.modeCount = kModes;
  model.initialVariance = 15;
  model.minVariance = 4;
  model.maxVariance = 75;
  model.backgroundMatch = 16;
  model.backgroundWeight = 0.9F;
  model.updateMatch = 9;
  model.weightDecay = 0.05F;
  model.shadowLabel = 127;
  model.shadowEnabled = 1;
  model.shadowRatio = 0.5F;
  const int bytes = lab.size("rvpiFGMMGetBufferSize_8u_C3R", kSize, kModes);
  auto* const state = static_cast<void*>(lab.block(bytes));
  lab.call("rvpiFGMMInit_8u_C3R", kSize, kModes, static_cast<const RvpFGMMModel*>(&model), state);
  const auto dst = lab.blank<std::uint8_t>();
  for (int frame = 0; frame < 6; ++frame) {
    const auto src = lab.picture<std::uint8_t>(3, frame % 3);
    lab.call("rvpiFGMMForeground_8u_C3R", src, dst, kSize, state, static_cast<const RvpFGMMModel*>(&model), 0.1);
    lab.keep(dst);
  }
  const auto learnt = lab.blank<std::uint8_t>(3);
  lab.call("rvpiFGMMBackground_8u_C3R", learnt, kSize, state);
  lab.keep(learnt);
}

}  // namespace

const std::vector<Case> kPyramidCases = {{"layers", layers}, {"optical flow", flow}, {"background", background}};

}  // namespace determinism
