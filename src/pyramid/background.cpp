// A small mixture of Gaussians for every pixel: a frame is compared with it and then learnt.
//
// Numbers are kept in planes, one for the weights of all pixels' first modes, one for their variances, and so on,
// so that a vector works on neighbouring pixels, and modes that no pixel uses cost no memory traffic. Few pixels
// change the order of their modes or begin a new one; that is done pixel by pixel.
//
// The contract describes the modes as stored pixel by pixel. It shows in one place: a new number of modes shares
// the same numbers out differently. The planes are then brought into that order and back.
#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstring>

#include "frame/checks.h"
#include "frame/simd.h"
#include "frame/views.h"
#include "rvpcv/background.h"

// The head of the block. Fields from `pixelCount` on follow what the contract fixes.
struct RvpFGMMState {
  std::uint32_t frameCount;
  float* pRow;
  float* pMeans;
  float* pWeightVar;
  std::uint8_t* pCounts;
  std::uint32_t historyLength;
  float initialVariance;
  float minVariance;
  float maxVariance;
  float backgroundMatch;
  float backgroundWeight;
  float updateMatch;
  float weightDecay;
  std::uint32_t modeCount;
  std::uint8_t shadowLabel;
  std::uint8_t shadowEnabled;
  float shadowRatio;
  std::int32_t maxModes;
  std::int32_t rowPixels;   // What pRow holds.
  std::int64_t pixelCount;  // The length of a plane.
};

namespace rvp::n8 {
namespace {

constexpr int kChannels = 3;
constexpr int kMostModes = 255;  // A count is a byte.
constexpr std::int64_t kAlignment = 32;
// What the contract counts for the head and for aligning it.
constexpr std::int64_t kHeadBytes = 160 + 256;
static_assert(sizeof(RvpFGMMState) + 2 * kAlignment <= kHeadBytes);

constexpr std::int64_t rounded(std::int64_t bytes) { return (bytes + kAlignment - 1) / kAlignment * kAlignment; }

std::int64_t pixelsOf(RvpiSize size) { return std::int64_t{size.width} * size.height; }

// Where the arrays lie behind the head, in bytes. No offset overflows while `isLarge` is false; else none is valid.
struct Layout {
  std::int64_t weightVar, means, row, counts, end;
  bool isLarge;

  Layout(RvpiSize size, int modeCount) {
    const std::int64_t pixels = pixelsOf(size);
    // With more than 2^31 pairs of pixel and mode no size fits, and with fewer no product passes 2^37.
    isLarge = pixels > INT32_MAX / modeCount;
    if (isLarge) return;
    weightVar = rounded(sizeof(RvpFGMMState));
    means = weightVar + rounded(8 * pixels * modeCount);
    row = means + rounded(12 * pixels * modeCount);
    counts = row + rounded(std::int64_t{12} * size.width * modeCount);
    end = counts + rounded(pixels);
    isLarge = reported() > INT32_MAX;
  }
  std::int64_t reported() const { return end - rounded(sizeof(RvpFGMMState)) + kHeadBytes; }
};

RvpFGMMState& blockOf(RvpFGMMState* pState) {
  return *reinterpret_cast<RvpFGMMState*>(alignedUp(reinterpret_cast<std::uint8_t*>(pState), kAlignment));
}
const RvpFGMMState& blockOf(const RvpFGMMState* pState) { return blockOf(const_cast<RvpFGMMState*>(pState)); }

// The planes of mode m.
float* weightsOf(const RvpFGMMState& s, std::int64_t m) { return s.pWeightVar + 2 * m * s.pixelCount; }
float* variancesOf(const RvpFGMMState& s, std::int64_t m) { return s.pWeightVar + (2 * m + 1) * s.pixelCount; }
float* meansOf(const RvpFGMMState& s, std::int64_t m, int channel) {
  return s.pMeans + (kChannels * m + channel) * s.pixelCount;
}

int modesInUse(const RvpFGMMState& s) { return static_cast<int>(std::min(s.modeCount, std::uint32_t{kMostModes})); }

// ---- Another number of modes

// Rows of `left` + `right` elements: first all left parts, then all right parts.
void unzip(float* first, std::int64_t rows, std::int64_t left, std::int64_t right) {
  if (rows == 1) return;
  const std::int64_t half = rows / 2;
  float* second = first + half * (left + right);
  unzip(first, half, left, right);
  unzip(second, rows - half, left, right);
  std::rotate(first + half * left, second, second + (rows - half) * left);
}

// A matrix in place, rows to columns.
void transpose(float* first, std::int64_t rows, std::int64_t columns) {
  if (rows <= 1 || columns <= 1) return;
  const std::int64_t half = columns / 2;
  unzip(first, rows, half, columns - half);
  transpose(first, rows, half);
  transpose(first + rows * half, rows, columns - half);
}

void setModeCount(RvpFGMMState& s, std::uint32_t modeCount) {
  if (modeCount == s.modeCount) return;
  for (const auto& [planes, each] : {std::pair{s.pWeightVar, 2}, std::pair{s.pMeans, kChannels}}) {
    transpose(planes, std::int64_t{each} * s.modeCount, s.pixelCount);
    transpose(planes, s.pixelCount, std::int64_t{each} * modeCount);
  }
  s.modeCount = modeCount;
}

void setModel(RvpFGMMState& s, const RvpFGMMModel& model) {
  s.historyLength = model.historyLength;
  s.initialVariance = model.initialVariance;
  s.minVariance = model.minVariance;
  s.maxVariance = model.maxVariance;
  s.backgroundMatch = model.backgroundMatch;
  s.backgroundWeight = model.backgroundWeight;
  s.updateMatch = model.updateMatch;
  s.weightDecay = model.weightDecay;
  s.shadowLabel = model.shadowLabel;
  s.shadowEnabled = model.shadowEnabled;
  s.shadowRatio = model.shadowRatio;
}

// ---- One frame

struct Rates {
  float alpha, keep, prune;

  Rates(const RvpFGMMState& s, double learningRate) {
    double rate = learningRate;
    if (!(learningRate >= 0 && s.frameCount > 1))
      rate = 1.0 / static_cast<double>(std::min(2 * std::uint64_t{s.frameCount}, std::uint64_t{s.historyLength}));
    alpha = static_cast<float>(rate);
    keep = 1 - alpha;
    prune = static_cast<float>(static_cast<double>(s.weightDecay) * static_cast<double>(alpha));
  }
};

// Moves a pixel's mode m before all modes next to it whose weight is not above `weight`.
void raise(const RvpFGMMState& s, std::int64_t pixel, int m, float weight) {
  for (; m > 0 && !(weightsOf(s, m - 1)[pixel] > weight); --m) {
    std::swap(weightsOf(s, m)[pixel], weightsOf(s, m - 1)[pixel]);
    std::swap(variancesOf(s, m)[pixel], variancesOf(s, m - 1)[pixel]);
    for (int c = 0; c < kChannels; ++c) std::swap(meansOf(s, m, c)[pixel], meansOf(s, m - 1, c)[pixel]);
  }
}

// The pixel that no mode absorbed begins one. `values` has its channels.
void beginMode(const RvpFGMMState& s, const Rates& rates, std::int64_t pixel, const float* const* values,
               std::ptrdiff_t x) {
  const int limit = modesInUse(s);
  if (limit == 0) return;
  std::uint8_t& count = s.pCounts[pixel];
  if (count < limit) ++count;
  const int last = count - 1;
  for (int m = 0; m < last; ++m) weightsOf(s, m)[pixel] *= rates.keep;
  weightsOf(s, last)[pixel] = last == 0 ? 1.0f : rates.alpha;
  variancesOf(s, last)[pixel] = s.initialVariance;
  for (int c = 0; c < kChannels; ++c) meansOf(s, last, c)[pixel] = values[c][x];
  raise(s, pixel, last, rates.alpha);
}

template <class D>
hn::VFromD<D> dot(const hn::VFromD<D> (&a)[kChannels], const hn::VFromD<D> (&b)[kChannels]) {
  return a[0] * b[0] + a[1] * b[1] + a[2] * b[2];
}

// Neighbouring pixels, one a lane, from `pixel` on; their channels stand in `values` from column x on.
template <class D>
class Group {
  using V = hn::VFromD<D>;
  using Lanes = hn::MFromD<D>;
  using Int = hn::RebindToSigned<D>;
  using Bytes = hn::Rebind<std::uint8_t, D>;

 public:
  Group(const RvpFGMMState& state, const Rates& rates, std::int64_t pixel, const float* const* values,
        std::ptrdiff_t x)
      : s_(state), rates_(rates), pixel_(pixel), values_(values), x_(x) {
    for (int c = 0; c < kChannels; ++c) p_[c] = hn::LoadU(kD, values[c] + x);
  }

  // Updates the modes and writes the mask.
  void learn(std::uint8_t* mask) {
    const Lanes background = update();
    const Lanes foreground = hn::Not(background);
    if (hn::AllFalse(kD, foreground)) {
      hn::StoreU(hn::Zero(Bytes()), Bytes(), mask);
      return;
    }
    auto value = hn::IfThenElseZero(hn::RebindMask(kInt, foreground), hn::Set(kInt, 255));
    if (s_.shadowEnabled != 0)
      value = hn::IfThenElse(hn::RebindMask(kInt, shadow(foreground)), hn::Set(kInt, s_.shadowLabel), value);
    hn::StoreU(hn::DemoteTo(Bytes(), value), Bytes(), mask);
  }

 private:
  static constexpr D kD{};
  static constexpr Int kInt{};

  static V all(float value) { return hn::Set(kD, value); }
  auto counts() const { return hn::PromoteTo(kInt, hn::LoadU(Bytes(), s_.pCounts + pixel_)); }
  static Lanes below(int m, hn::VFromD<Int> counts) { return hn::RebindMask(kD, hn::Gt(counts, hn::Set(kInt, m))); }

  template <class Body>
  static void forLanes(Lanes lanes, const Body& body) {
    std::uint8_t bits[8] = {};
    hn::StoreMaskBits(kD, lanes, bits);
    for (int lane = 0; bits[0] >> lane != 0; ++lane) {
      if ((bits[0] >> lane & 1) != 0) body(lane);
    }
  }

  void loadMeans(int m, V (&mean)[kChannels]) const {
    for (int c = 0; c < kChannels; ++c) mean[c] = hn::LoadU(kD, meansOf(s_, m, c) + pixel_);
  }

  // Answers which lanes are background.
  Lanes update() {
    const int limit = modesInUse(s_);
    auto count = hn::Min(counts(), hn::Set(kInt, limit));
    auto live = count;
    V total = hn::Zero(kD);
    Lanes background = hn::RebindMask(kD, hn::Lt(count, hn::Zero(kInt)));
    Lanes unmatched = hn::Not(background);
    int m = 0;
    for (; m < limit; ++m) {
      const Lanes active = below(m, live);
      if (hn::AllFalse(kD, active)) break;
      float* weights = weightsOf(s_, m) + pixel_;
      const V old = hn::LoadU(kD, weights);
      V w = old * all(rates_.keep) - all(rates_.prune);
      const Lanes open = hn::And(active, unmatched);
      Lanes hit = hn::And(open, background);
      if (!hn::AllFalse(kD, open)) {
        hit = compare(m, open, total, background, w);
        unmatched = hn::AndNot(hit, unmatched);
      }
      const Lanes dropped = hn::And(active, hn::Gt(all(rates_.prune), w));
      live = hn::Add(live, hn::VecFromMask(kInt, hn::RebindMask(kInt, dropped)));  // A lane of ones is -1.
      total = total + hn::IfThenElseZero(hn::AndNot(dropped, active), w);
      hn::StoreU(hn::IfThenElse(active, hn::IfThenZeroElse(dropped, w), old), kD, weights);
      if (m > 0 && !hn::AllFalse(kD, hit)) {
        float compared[hn::MaxLanes(D())];
        hn::StoreU(w, kD, compared);
        forLanes(hit, [&](int lane) { raise(s_, pixel_ + lane, m, compared[lane]); });
      }
    }
    // Not Ne, which is true of NaN on one variant alone.
    const Lanes divisible = hn::Not(hn::Eq(total, hn::Zero(kD)));
    while (m-- > 0) {
      float* weights = weightsOf(s_, m) + pixel_;
      const V w = hn::LoadU(kD, weights);
      hn::StoreU(hn::IfThenElse(hn::And(divisible, below(m, live)), w / total, w), kD, weights);
    }
    count = hn::IfThenElse(hn::RebindMask(kInt, unmatched), live, count);
    hn::StoreU(hn::DemoteTo(Bytes(), count), Bytes(), s_.pCounts + pixel_);
    if (!hn::AllFalse(kD, unmatched))
      forLanes(unmatched, [&](int lane) { beginMode(s_, rates_, pixel_ + lane, values_, x_ + lane); });
    return background;
  }

  // Compares open lanes with mode m; answers which the mode absorbs, and adds what that brings to their weights.
  Lanes compare(int m, Lanes open, V total, Lanes& background, V& w) {
    V mean[kChannels];
    V d[kChannels];
    loadMeans(m, mean);
    for (int c = 0; c < kChannels; ++c) d[c] = mean[c] - p_[c];
    const V distance = dot<D>(d, d);
    float* variances = variancesOf(s_, m) + pixel_;
    const V old = hn::LoadU(kD, variances);
    const Lanes near =
        hn::And(hn::Lt(total, all(s_.backgroundWeight)), hn::Gt(all(s_.backgroundMatch) * old, distance));
    background = hn::Or(background, hn::And(open, near));
    const Lanes hit = hn::And(open, hn::Gt(all(s_.updateMatch) * old, distance));
    if (hn::AllFalse(kD, hit)) return hit;
    w = hn::IfThenElse(hit, w + all(rates_.alpha), w);
    const V rho = all(rates_.alpha) / w;
    for (int c = 0; c < kChannels; ++c)
      hn::StoreU(hn::IfThenElse(hit, mean[c] - d[c] * rho, mean[c]), kD, meansOf(s_, m, c) + pixel_);
    V variance = old + (distance - old) * rho;
    variance = hn::IfThenElse(hn::Lt(variance, all(s_.minVariance)), all(s_.minVariance), variance);
    variance = hn::IfThenElse(hn::Gt(variance, all(s_.maxVariance)), all(s_.maxVariance), variance);
    hn::StoreU(hn::IfThenElse(hit, variance, old), kD, variances);
    return hit;
  }

  // Which of the lanes are a shadow on one of the modes that form the background.
  Lanes shadow(Lanes undecided) const {
    const auto count = counts();
    Lanes found = hn::And(undecided, hn::Not(undecided));
    V cumulative = hn::Zero(kD);
    for (int m = 0; m < modesInUse(s_); ++m) {
      undecided = hn::And(undecided, below(m, count));
      if (hn::AllFalse(kD, undecided)) break;
      V mean[kChannels];
      loadMeans(m, mean);
      const V a = dot<D>(p_, mean);
      const V b = dot<D>(mean, mean);
      undecided = hn::AndNot(hn::Eq(b, hn::Zero(kD)), undecided);
      const Lanes darker = hn::And(hn::Ge(b, a), hn::Ge(a, all(s_.shadowRatio) * b));
      const V r = a / b;
      V d[kChannels];
      for (int c = 0; c < kChannels; ++c) d[c] = mean[c] * r - p_[c];
      const V reach = all(s_.backgroundMatch) * hn::LoadU(kD, variancesOf(s_, m) + pixel_) * r * r;
      const Lanes hit = hn::And(hn::And(undecided, darker), hn::Gt(reach, dot<D>(d, d)));
      found = hn::Or(found, hit);
      cumulative = cumulative + hn::LoadU(kD, weightsOf(s_, m) + pixel_);
      undecided = hn::AndNot(hn::Or(hit, hn::Gt(cumulative, all(s_.backgroundWeight))), undecided);
    }
    return found;
  }

  const RvpFGMMState& s_;
  const Rates& rates_;
  std::int64_t pixel_;
  const float* const* values_;
  std::ptrdiff_t x_;
  V p_[kChannels];
};

// Calls body(first, n) for the pixels of a row in stretches that fit pRow.
template <class Body>
void forRowParts(const RvpFGMMState& s, int width, const Body& body) {
  for (std::ptrdiff_t x = 0; x < width; x += s.rowPixels) body(x, std::min<std::ptrdiff_t>(s.rowPixels, width - x));
}

void learnFrame(RvpFGMMState& s, const std::uint8_t* src, int srcStep, std::uint8_t* dst, int dstStep,
                RvpiSize size, const Rates& rates) {
  float* const values[kChannels] = {s.pRow, s.pRow + s.rowPixels, s.pRow + 2 * std::ptrdiff_t{s.rowPixels}};
  for (std::ptrdiff_t y = 0; y < size.height; ++y) {
    forRowParts(s, size.width, [&](std::ptrdiff_t first, std::ptrdiff_t n) {
      const std::uint8_t* pixels = row(src, srcStep, y) + first * kChannels;
      for (std::ptrdiff_t x = 0; x < n; ++x) {
        for (int c = 0; c < kChannels; ++c) values[c][x] = pixels[kChannels * x + c];
      }
      std::uint8_t* mask = row(dst, dstStep, y) + first;
      const std::int64_t place = y * size.width + first;
      forVectors<float>(0, n, [&](auto d, std::ptrdiff_t x) {
        Group<decltype(d)>(s, rates, place + x, values, x).learn(mask + x);
      });
    });
  }
}

// ---- The background

template <class D>
void drawGroup(D d, const RvpFGMMState& s, std::int64_t pixel, std::uint8_t* dst) {
  using V = hn::VFromD<D>;
  const hn::RebindToSigned<D> dInt;
  const hn::Rebind<std::uint8_t, D> dBytes;
  const auto count = hn::PromoteTo(dInt, hn::LoadU(dBytes, s.pCounts + pixel));
  V weight = hn::Zero(d);
  V sum[kChannels] = {weight, weight, weight};
  auto open = hn::Eq(weight, weight);
  for (int m = 0; m < modesInUse(s); ++m) {
    open = hn::And(open, hn::RebindMask(d, hn::Gt(count, hn::Set(dInt, m))));
    if (hn::AllFalse(d, open)) break;
    const V w = hn::LoadU(d, weightsOf(s, m) + pixel);
    weight = weight + hn::IfThenElseZero(open, w);
    for (int c = 0; c < kChannels; ++c)
      sum[c] = sum[c] + hn::IfThenElseZero(open, hn::LoadU(d, meansOf(s, m, c) + pixel) * w);
    open = hn::AndNot(hn::Gt(weight, hn::Set(d, s.backgroundWeight)), open);
  }
  const V scale = hn::Set(d, 1.0f) / weight;
  const auto level = [&](V v) {
    // No comparison holds for NaN, which 0 / 0 gives: it becomes 0.
    v = hn::IfThenElseZero(hn::Gt(v, hn::Zero(d)), v);
    v = hn::IfThenElse(hn::Gt(v, hn::Set(d, 255.0f)), hn::Set(d, 255.0f), v);
    return hn::DemoteTo(dBytes, nearestInt(v));
  };
  std::uint8_t levels[kChannels][hn::MaxLanes(D())];
  for (int c = 0; c < kChannels; ++c) hn::StoreU(level(sum[c] * scale), dBytes, levels[c]);
  for (std::size_t lane = 0; lane < hn::Lanes(d); ++lane) {
    for (std::size_t c = 0; c < kChannels; ++c) dst[kChannels * lane + c] = levels[c][lane];
  }
}

// ---- The operations

RvpStatus initBlock(RvpiSize roiSize, int modeCount, const RvpFGMMModel* pModel, RvpFGMMState* pState) {
  if (RvpStatus fault =
          firstFault(nullPointer(pModel, pState), badSize(roiSize), faultIf(modeCount < 1, rvpStatusBadArgument)))
    return fault;
  const Layout layout(roiSize, modeCount);
  if (layout.isLarge) return rvpStatusSizeOverflow;
  auto* block = alignedUp(reinterpret_cast<std::uint8_t*>(pState), kAlignment);
  std::memset(block, 0, static_cast<std::size_t>(layout.end));
  RvpFGMMState& s = blockOf(pState);
  s.pWeightVar = reinterpret_cast<float*>(block + layout.weightVar);
  s.pMeans = reinterpret_cast<float*>(block + layout.means);
  s.pRow = reinterpret_cast<float*>(block + layout.row);
  s.pCounts = block + layout.counts;
  s.modeCount = static_cast<std::uint32_t>(modeCount);
  s.maxModes = modeCount;
  s.rowPixels = roiSize.width;
  s.pixelCount = pixelsOf(roiSize);
  setModel(s, *pModel);
  return rvpStatusOk;
}

RvpStatus foreground(const std::uint8_t* pSrc, int srcStep, std::uint8_t* pDst, int dstStep, RvpiSize roiSize,
                     RvpFGMMState* pState, const RvpFGMMModel* pModel, double learningRate) {
  if (RvpStatus fault =
          firstFault(nullPointer(pSrc, pDst, pState), stepBelowOne(srcStep, dstStep), badSize(roiSize)))
    return fault;
  RvpFGMMState& s = blockOf(pState);
  const bool tooMany = pModel != nullptr && pModel->modeCount > static_cast<std::uint32_t>(s.maxModes);
  if (RvpStatus fault = firstFault(faultIf(tooMany, rvpStatusBadArgument),
                                   faultIf(pixelsOf(roiSize) > s.pixelCount, rvpStatusBadSize)))
    return fault;
  if (pModel != nullptr) {
    setModel(s, *pModel);
    setModeCount(s, pModel->modeCount);
  }
  ++s.frameCount;
  learnFrame(s, pSrc, srcStep, pDst, dstStep, roiSize, Rates(s, learningRate));
  return rvpStatusOk;
}

RvpStatus background(std::uint8_t* pDst, int dstStep, RvpiSize roiSize, const RvpFGMMState* pState) {
  if (RvpStatus fault = firstFault(nullPointer(pDst, pState), stepBelowOne(dstStep), badSize(roiSize)))
    return fault;
  const RvpFGMMState& s = blockOf(pState);
  if (pixelsOf(roiSize) > s.pixelCount) return rvpStatusBadSize;
  for (std::ptrdiff_t y = 0; y < roiSize.height; ++y) {
    std::uint8_t* dst = row(pDst, dstStep, y);
    forVectors<float>(0, roiSize.width, [&](auto d, std::ptrdiff_t x) {
      drawGroup(d, s, y * roiSize.width + x, dst + x * kChannels);
    });
  }
  return rvpStatusOk;
}

}  // namespace
}  // namespace rvp::n8

extern "C" {

RvpStatus rvpiFGMMGetBufferSize_8u_C3R(RvpiSize roiSize, int modeCount, int* pBufferSize) {
  using namespace rvp::n8;
  if (RvpStatus fault =
          firstFault(nullPointer(pBufferSize), badSize(roiSize), faultIf(modeCount < 1, rvpStatusBadArgument)))
    return fault;
  const Layout layout(roiSize, modeCount);
  if (layout.isLarge) return rvpStatusSizeOverflow;
  *pBufferSize = static_cast<int>(layout.reported());
  return rvpStatusOk;
}

RvpStatus rvpiFGMMInit_8u_C3R(RvpiSize roiSize, int modeCount, const RvpFGMMModel* pModel, RvpFGMMState* pState) {
  return rvp::n8::initBlock(roiSize, modeCount, pModel, pState);
}

RvpStatus rvpiFGMMForeground_8u_C3R(const uint8_t* pSrc, int srcStep, uint8_t* pDst, int dstStep, RvpiSize roiSize,
                                    RvpFGMMState* pState, const RvpFGMMModel* pModel, double learningRate) {
  return rvp::n8::foreground(pSrc, srcStep, pDst, dstStep, roiSize, pState, pModel, learningRate);
}

RvpStatus rvpiFGMMBackground_8u_C3R(uint8_t* pDst, int dstStep, RvpiSize roiSize, const RvpFGMMState* pState) {
  return rvp::n8::background(pDst, dstStep, roiSize, pState);
}

}  // extern "C"
