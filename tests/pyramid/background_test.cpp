// The mixture background against its formulas, on modes that are stored pixel by pixel.
#include "support/test.h"

namespace {

using namespace test;
using Bytes = Plane<std::uint8_t>;

struct Mode {
  float weight, variance, mean[3];
};

// One array of modes; pixel i has those from i * modeCount on.
struct Reference {
  RvpFGMMModel model;
  std::vector<Mode> modes;
  std::vector<int> counts;
  unsigned frames = 0;

  Reference(RvpFGMMModel given, int modeCount, std::size_t pixels)
      : model(given), modes(pixels * static_cast<std::size_t>(modeCount)), counts(pixels) {
    model.modeCount = static_cast<unsigned>(modeCount);
  }

  std::uint8_t learn(std::size_t pixel, const std::uint8_t* bytes, float alpha) {
    const int limit = static_cast<int>(std::min(model.modeCount, 255U));
    const float keep = 1 - alpha;
    const float prune = static_cast<float>(double(model.weightDecay) * double(alpha));
    const float p[3] = {float(bytes[0]), float(bytes[1]), float(bytes[2])};
    Mode* mode = modes.data() + pixel * model.modeCount;
    int& count = counts[pixel];
    count = std::min(count, limit);
    int live = count;
    float total = 0;
    bool matched = false;
    bool isBackground = false;
    for (int m = 0; m < live; ++m) {
      float w = mode[m].weight * keep - prune;
      int place = m;
      if (!matched) {
        float d[3];
        for (int c = 0; c < 3; ++c) d[c] = mode[m].mean[c] - p[c];
        const float distance = d[0] * d[0] + d[1] * d[1] + d[2] * d[2];
        if (total < model.backgroundWeight && model.backgroundMatch * mode[m].variance > distance)
          isBackground = true;
        if (model.updateMatch * mode[m].variance > distance) {
          matched = true;
          w += alpha;
          const float rho = alpha / w;
          for (int c = 0; c < 3; ++c) mode[m].mean[c] -= d[c] * rho;
          float& variance = mode[m].variance;
          variance = variance + (distance - variance) * rho;
          if (variance < model.minVariance) variance = model.minVariance;
          if (variance > model.maxVariance) variance = model.maxVariance;
          for (; place > 0 && !(mode[place - 1].weight > w); --place) std::swap(mode[place], mode[place - 1]);
        }
      }
      if (prune > w) {
        w = 0;
        --live;
      } else {
        total += w;
      }
      mode[place].weight = w;
    }
    if (total != 0) {
      for (int m = 0; m < live; ++m) mode[m].weight /= total;
    }
    if (!matched && limit > 0) begin(mode, count = std::min(live + 1, limit), p, alpha);
    if (isBackground) return 0;
    return model.shadowEnabled != 0 && isShadow(mode, count, p) ? model.shadowLabel : 255;
  }

  void begin(Mode* mode, int count, const float* p, float alpha) const {
    int last = count - 1;
    for (int m = 0; m < last; ++m) mode[m].weight *= 1 - alpha;
    mode[last] = {last == 0 ? 1.0f : alpha, model.initialVariance, {p[0], p[1], p[2]}};
    for (; last > 0 && !(mode[last - 1].weight > alpha); --last) std::swap(mode[last], mode[last - 1]);
  }

  bool isShadow(const Mode* mode, int count, const float* p) const {
    float cumulative = 0;
    for (int m = 0; m < count; ++m) {
      const float* mean = mode[m].mean;
      const float a = p[0] * mean[0] + p[1] * mean[1] + p[2] * mean[2];
      const float b = mean[0] * mean[0] + mean[1] * mean[1] + mean[2] * mean[2];
      if (b == 0) return false;
      if (b >= a && a >= model.shadowRatio * b) {
        const float r = a / b;
        float d[3];
        for (int c = 0; c < 3; ++c) d[c] = mean[c] * r - p[c];
        if (model.backgroundMatch * mode[m].variance * r * r > d[0] * d[0] + d[1] * d[1] + d[2] * d[2]) return true;
      }
      cumulative += mode[m].weight;
      if (cumulative > model.backgroundWeight) return false;
    }
    return false;
  }

  Bytes foreground(const Bytes& frame, double rate) {
    ++frames;
    const double automatic = 1.0 / std::min(2 * frames, model.historyLength);
    const float alpha = static_cast<float>(rate >= 0 && frames > 1 ? rate : automatic);
    Bytes mask(frame.width / 3, frame.height);
    for (std::size_t i = 0; i < mask.elements.size(); ++i)
      mask.elements[i] = learn(i, &frame.elements[3 * i], alpha);
    return mask;
  }

  Bytes background(int width, int height) const {
    Bytes picture(3 * width, height);
    for (std::size_t i = 0; i < picture.elements.size(); ++i) {
      const Mode* mode = modes.data() + i / 3 * model.modeCount;
      float weight = 0, sum = 0;
      for (int m = 0; m < std::min(counts[i / 3], static_cast<int>(model.modeCount)); ++m) {
        weight += mode[m].weight;
        sum += mode[m].mean[i % 3] * mode[m].weight;
        if (weight > model.backgroundWeight) break;
      }
      const float level = sum * (1 / weight);
      picture.elements[i] = static_cast<std::uint8_t>(level > 0 ? std::nearbyint(std::min(level, 255.0f)) : 0);
    }
    return picture;
  }
};

constexpr RvpFGMMModel kModel = {6, 5, 15, 4, 75, 16, 0.9f, 9, 0.05f, 127, 1, 0.5f};

// Four colours that a pixel may show, some with a shadow, noise on all, now and then black or anything.
Bytes sceneFrame(int width, int height, unsigned seed) {
  const Bytes noise = randomPlane<std::uint8_t>(3 * width, height, seed);
  return planeOf<std::uint8_t>(3 * width, height, [&](int y, int at) {
    const int x = at / 3, c = at % 3, kind = noise.at(y, 3 * x) % 16;
    const int colour = kind < 10 ? 0 : 1 + kind % 3;
    const int value = 60 + (x * 7 + y * 5 + c * 31) % 120 + colour * 20 * (c - 1) + noise.at(y, at) / 64;
    return kind == 13 ? 0 : kind == 14 ? noise.at(y, at) : std::clamp(kind == 15 ? value * 7 / 10 : value, 0, 255);
  });
}

int blockSize(RvpiSize size, int modeCount) { return bytesOf(rvpiFGMMGetBufferSize_8u_C3R, size, modeCount); }

// Learns frames with all images and the block among guards, each frame at its own rate and model.
template <class Rate, class ModelOf>
void compareStream(const Shape& shape, int modeCount, const RvpFGMMModel& model, int frames, const Rate& rate,
                   const ModelOf& modelOf, std::optional<RvpiSize> stateSize = {}) {
  const RvpiSize size = shape.size(), largest = stateSize.value_or(size);
  Block block(blockSize(largest, modeCount), shape.anywhere());
  auto* state = block.as<RvpFGMMState>();
  ASSERT_EQ(rvpiFGMMInit_8u_C3R(largest, modeCount, &model, state), rvpStatusOk);
  Reference reference(model, modeCount,
                      static_cast<std::size_t>(size.width) * static_cast<std::size_t>(size.height));
  for (int k = 0; k < frames; ++k) {
    SCOPED_TRACE("frame " + std::to_string(k));
    const Bytes frame = sceneFrame(size.width, size.height, shape.seed * 100 + static_cast<unsigned>(k));
    Guarded<std::uint8_t> src(frame, shape.placing);
    Guarded<std::uint8_t> mask(Bytes(size.width, size.height, 9), shape.placing);
    Guarded<std::uint8_t> picture(Bytes(3 * size.width, size.height, 9), shape.placing);
    const RvpFGMMModel* changed = modelOf(k);
    if (changed != nullptr) reference.model = *changed;
    ASSERT_EQ(call(rvpiFGMMForeground_8u_C3R, src, mask, size, state, changed, rate(k)), rvpStatusOk);
    ASSERT_EQ(call(rvpiFGMMBackground_8u_C3R, picture, size, state), rvpStatusOk);
    ASSERT_TRUE(same(reference.foreground(frame, rate(k)), mask));
    ASSERT_TRUE(same(reference.background(size.width, size.height), picture));
  }
}

constexpr auto kSameModel = [](int) -> const RvpFGMMModel* { return nullptr; };

TEST(Background, FollowsItsFormulasForEveryWidth) {
  sweepSmall([](const Shape& shape) {
    const auto rate = [&](int k) { return shape.seed % 2 == 0 ? -1.0 : k % 5 == 4 ? 0.0 : 0.07; };
    compareStream(shape, 1 + static_cast<int>(shape.seed % 5), kModel, 12, rate, kSameModel);
  });
}

// Modes drop out, the order changes in every frame, weights tie, and the rates are extreme.
TEST(Background, FollowsItsFormulasAtTheirLimits) {
  RvpFGMMModel eager = kModel;
  eager.weightDecay = 0.8f;
  RvpFGMMModel strict = kModel;
  strict.updateMatch = 1;
  strict.minVariance = strict.initialVariance = strict.maxVariance = 1;
  strict.weightDecay = 0;
  strict.shadowEnabled = 0;
  RvpFGMMModel odd = kModel;
  odd.weightDecay = -0.3f;
  odd.historyLength = 1;
  odd.backgroundWeight = 2;
  for (const RvpFGMMModel& model : {kModel, eager, strict, odd}) {
    for (const double rate : {-1.0, 0.0, 0.02, 0.5, 1.0, 3.0}) {
      for (const int modeCount : {1, 2, 5, 300}) {
        SCOPED_TRACE(testing::Message()
                     << "decay " << model.weightDecay << ", rate " << rate << ", modes " << modeCount);
        tryShape({29, 2, {3, 1}, 1, 7}, [&](const Shape& shape) {
          compareStream(
              shape, modeCount, model, 25, [&](int k) { return k == 9 ? 1.0 : rate; }, kSameModel);
        });
      }
    }
  }
}

TEST(Background, TakesANewModelWithAFrame) {
  RvpFGMMModel later = kModel;
  for (const unsigned fewer : {0U, 1U, 3U, 4U}) {
    later.modeCount = fewer;
    later.backgroundMatch = 4;
    later.shadowLabel = 50;
    tryShape({37, 3, {}, 1, fewer}, [&](const Shape& shape) {
      compareStream(
          shape, 5, kModel, 20, [](int) { return 0.1; },
          [&](int k) -> const RvpFGMMModel* { return k == 8    ? &later
                                                     : k == 14 ? &kModel
                                                               : nullptr; });
    });
  }
}

// As many pixels in one row as the state was made for in several: the row buffer is shorter than that.
TEST(Background, TakesOneLongRow) {
  const auto rate = [](int) { return -1.0; };
  for (const int modeCount : {1, 4}) {
    sweepCliffs({{35, 1}, {132, 1}}, 1, [&](const Shape& shape) {
      compareStream(shape, modeCount, kModel, 2, rate, kSameModel,
                    shape.width == 35 ? RvpiSize{7, 5} : RvpiSize{33, 4});
    });
  }
}

TEST(Background, ReportsTheFirstOfTwoFaults) {
  const RvpiSize size = {4, 2};
  int bytes = -1;
  const auto query = rvpiFGMMGetBufferSize_8u_C3R;
  expectFirstOfTwo(query, {nulls<>, badSizes, at<1>(rvpStatusBadArgument, 0)}, size, 3, &bytes);
  EXPECT_EQ(query({INT32_MAX, INT32_MAX}, INT32_MAX, &bytes), rvpStatusSizeOverflow);
  EXPECT_EQ(query({10000, 10000}, 2, &bytes), rvpStatusSizeOverflow);
  EXPECT_EQ(bytes, -1);
  EXPECT_EQ(blockSize({1, 1}, 1), 4 * 32 + 416);
  EXPECT_EQ(blockSize({10, 7}, 3), 1696 + 2528 + 384 + 96 + 416);

  std::vector<std::uint8_t> block(static_cast<std::size_t>(blockSize(size, 3)));
  auto* state = reinterpret_cast<RvpFGMMState*>(block.data());
  expectFirstOfTwo(rvpiFGMMInit_8u_C3R,
                   {nulls<>, badSizes, at<1>(rvpStatusBadArgument, 0), at<1>(rvpStatusSizeOverflow, INT32_MAX)},
                   size, 3, &kModel, state);
  ASSERT_EQ(rvpiFGMMInit_8u_C3R(size, 3, &kModel, state), rvpStatusOk);
  const std::vector<std::uint8_t> before = block;
  const std::uint8_t src[24] = {};
  std::uint8_t dst[24] = {};
  RvpFGMMModel fewer = kModel, large = kModel;
  fewer.modeCount = 3;
  large.modeCount = 4;
  // Steps may be shorter than a row, and frames have fewer pixels.
  expectFirstOfTwo(rvpiFGMMForeground_8u_C3R,
                   {nulls<0, 2, 5>, at<1>(rvpStatusBadStep, 0), at<3>(rvpStatusBadStep, 0), badSizes,
                    at<6>(rvpStatusBadArgument, &large), at<4>(rvpStatusBadSize, RvpiSize{9, 1})},
                   src, 1, dst, 1, size, state, nullptr, -1);
  expectFirstOfTwo(rvpiFGMMBackground_8u_C3R,
                   {nulls<>, at<1>(rvpStatusBadStep, 0), badSizes, at<2>(rvpStatusBadSize, RvpiSize{3, 3})}, dst, 1,
                   size, state);
  EXPECT_EQ(block, before);
  EXPECT_EQ(rvpiFGMMBackground_8u_C3R(dst, 1, {2, 2}, state), rvpStatusOk);
  EXPECT_EQ(rvpiFGMMForeground_8u_C3R(src, 1, dst, 1, size, state, &fewer, -1), rvpStatusOk);
}

FUZZ(background, input) {
  tryShape({input.width(), input.between(1, 3), input.placing(), 1, input.any<std::uint8_t>()},
           [&](const Shape& shape) {
             RvpFGMMModel model = kModel;
             const int modes = input.between(1, 6);
             model.historyLength = static_cast<decltype(model.historyLength)>(input.between(1, 40));
             model.updateMatch = static_cast<float>(input.between(0, 40));
             model.backgroundMatch = static_cast<float>(input.between(0, 40));
             model.weightDecay = static_cast<float>(input.between(-20, 100)) / 100;
             model.backgroundWeight = static_cast<float>(input.between(0, 120)) / 100;
             model.shadowEnabled = static_cast<decltype(model.shadowEnabled)>(input.between(0, 1));
             const double rates[] = {-1, input.between(0, 100) / 100.0, input.between(0, 100) / 100.0};
             compareStream(
                 shape, modes, model, 8, [&](int k) { return rates[k % 3]; }, kSameModel);
           });
}

}  // namespace
