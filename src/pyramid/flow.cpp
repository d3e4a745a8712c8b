// Optical flow of single points over two pyramids: on each level, from the smallest on, a point's window is moved
// by the least-squares step until the step is small, and the place found is where the next level begins.
//
// Small levels have their derivatives computed once for all points; on large ones they are computed around each
// point.
#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <limits>

#include "filter/derivative.h"
#include "frame/checks.h"
#include "frame/views.h"
#include "pyramid/flow_sums.h"
#include "pyramid/flow_windows.h"
#include "rvpcv/flow.h"

// The head of the block. `elementBytes`, which is 1, 2 or 4, follows what the contract fixes.
struct RvpiOptFlowPyrLK {
  std::int32_t roiWidth;
  std::int32_t roiHeight;
  std::int32_t slotCount;
  std::int32_t dataKind;
  std::int32_t hint;
  std::int32_t winSize;
  std::uint8_t* pWork;
  std::int32_t elementBytes;
};

namespace rvp::n8 {
namespace {

// Windows and derivatives are fixed-point for bytes, and float otherwise.
template <class Src>
using Value = std::conditional_t<std::is_same_v<Src, std::uint8_t>, std::int16_t, float>;

constexpr std::ptrdiff_t kWorkAlignment = 16;

// What the contract counts: level-sized images, with 5 pixels more each way; the windows, with 3; and the head.
template <class Src>
std::int64_t blockBytes(int winSize, RvpiSize roiSize) {
  constexpr bool kIsByte = sizeof(Src) == 1;
  const std::int64_t level = (roiSize.width + std::int64_t{5}) * (roiSize.height + std::int64_t{5});
  const std::int64_t window = (winSize + std::int64_t{3}) * (winSize + std::int64_t{3});
  // Beyond 31 bits either way; below that no product passes 38 bits.
  if (level > INT32_MAX || window > INT32_MAX) return std::numeric_limits<std::int64_t>::max();
  return level * (kIsByte ? 4 : sizeof(Src) == 2 ? 12 : 8) + window * (kIsByte ? 40 : 48) + (kIsByte ? 130 : 124);
}

// The work area's arrays. Four windows and a rimmed one, of (winSize + 3)^2 elements each, and a tile, which never
// passes three of them, take 32 bytes of each of the 40 or more that the contract counts for a pixel; the head and
// its alignment, the bytes that it adds. Behind their last pixels the four have at least 15 elements to spare and
// the rimmed one 7: as far as sums read, and as rows shorter than a vector are read and written, beyond the end.
template <class Src>
struct Work {
  using V = Value<Src>;
  V *rimmed, *first, *second, *dx, *dy, *levelDx, *levelDy;
  Src* tile;
  V* derivativeTile;
  float* scaled;

  explicit Work(const RvpiOptFlowPyrLK& s) {
    const std::ptrdiff_t window = (s.winSize + std::ptrdiff_t{3}) * (s.winSize + std::ptrdiff_t{3});
    const std::ptrdiff_t level = std::ptrdiff_t{s.roiWidth} * s.roiHeight;
    rimmed = reinterpret_cast<V*>(s.pWork);
    first = rimmed + window;
    second = first + window;
    dx = second + window;
    dy = dx + window;
    derivativeTile = dy + window;
    tile = reinterpret_cast<Src*>(derivativeTile);  // Never needed at the same time.
    levelDx = derivativeTile + (s.winSize + std::ptrdiff_t{3}) * tileWidth<V>(s.winSize + 2);
    levelDy = levelDx + level;
    scaled = reinterpret_cast<float*>(levelDy + level);
  }
};

struct Search {
  int side;
  int maxIter;
  float threshold;
};

enum class Outcome { found, lost, leftImage, noWindow };

template <class Src>
struct Level {
  FlowImage<Src> image1, image2;
  // Derivatives of the first image; null on a large level.
  FlowImage<Value<Src>> dx, dy;
};

template <class Src>
class Tracker {
  using V = Value<Src>;
  static constexpr bool kIsFixed = !std::is_same_v<V, float>;

 public:
  Tracker(const Work<Src>& work, const Search& search)
      : work_(work), search_(search), side_(search.side), rimmed_(search.side + 2) {}

  // Moves q, the place in the second image, and tells the error if it is found.
  Outcome track(const Level<Src>& level, RvpiPoint32f p, RvpiPoint32f& q, float& error) {
    WindowPlace place;
    if (!placeWindow(p, rimmed_, place)) return Outcome::noWindow;
    WindowPart inside = insidePart(place, rimmed_, level.image1.size);
    if (inside.empty()) return Outcome::noWindow;
    readFirst(level, p, place);
    // Without the rim.
    const auto before = [](int i) { return std::max(i - 1, 0); };
    const auto behind = [this](int i) { return std::min(i - 1, side_ - 1); };
    inside = {before(inside.left), before(inside.top), behind(inside.right), behind(inside.bottom)};

    // The first step cannot be the opposite of a step as long as this.
    double lastDx = static_cast<double>(level.image1.size.width) + level.image1.size.height;
    double lastDy = lastDx;
    WindowPart part = {0, 0, -1, -1};
    double g[3] = {};
    for (int round = 0; round < search_.maxIter; ++round) {
      if (!placeWindow(q, side_, place)) return Outcome::lost;
      const WindowPart inside2 = insidePart(place, side_, level.image2.size);
      if (inside2.empty()) return Outcome::lost;
      readWindow(level.image2, place, side_, work_.second, side_, work_.tile);
      const WindowPart cut = inside.cut(inside2);
      if (cut.empty()) return Outcome::leftImage;
      if (!(cut == part)) {
        part = cut;
        sumTensor(part, g);
      }
      double b[2];
      sumDifferences(part, b);
      const double determinant = g[0] * g[2] - g[1] * g[1];
      if (determinant < std::numeric_limits<double>::epsilon()) return Outcome::lost;
      const double dx = (g[2] * b[0] - g[1] * b[1]) / determinant;
      const double dy = (b[1] * g[0] - b[0] * g[1]) / determinant;
      q = {static_cast<float>(static_cast<double>(q.x) + dx), static_cast<float>(static_cast<double>(q.y) + dy)};
      if (dx * dx + dy * dy < static_cast<double>(search_.threshold * search_.threshold)) break;
      if (std::abs(lastDx + dx) < kSwing && std::abs(lastDy + dy) < kSwing) {
        q = {static_cast<float>(static_cast<double>(q.x) - dx * 0.5),
             static_cast<float>(static_cast<double>(q.y) - dy * 0.5)};
        break;
      }
      lastDx = dx;
      lastDy = dy;
    }
    error = errorOf(part);
    return Outcome::found;
  }

 private:
  // The root of 2^-23, the distance of neighbouring floats at 1.
  static constexpr double kSwing = 3.4526698300124393e-04f;

  // The window and its derivatives. `rimmedPlace` is the place of the window with its rim.
  void readFirst(const Level<Src>& level, RvpiPoint32f p, const WindowPlace& rimmedPlace) {
    if (level.dx.first == nullptr) {
      readWindow(level.image1, rimmedPlace, rimmed_, work_.rimmed, rimmed_, work_.tile);
      ownOptConvolution_M7(work_.rimmed, side_, work_.first, work_.dx, work_.dy);
      return;
    }
    const WindowPlace inner = {rimmedPlace.x + 1, rimmedPlace.y + 1, rimmedPlace.a, rimmedPlace.b};
    readWindow(level.image1, inner, side_, work_.first, side_, work_.tile);
    WindowPlace place;
    placeWindow(p, side_, place);
    readWindow(level.dx, place, side_, work_.dx, side_, work_.derivativeTile);
    readWindow(level.dy, place, side_, work_.dy, side_, work_.derivativeTile);
  }

  void sumTensor(const WindowPart& part, double (&g)[3]) const {
    const auto factors = [dx = work_.dx, dy = work_.dy](std::ptrdiff_t at, const auto& load, auto& a, auto& b) {
      a[0] = b[0] = a[1] = load(dx + at);
      b[1] = a[2] = b[2] = load(dy + at);
    };
    sumOverPart<V>(part, side_, factors, g);
  }

  void sumDifferences(const WindowPart& part, double (&sums)[2]) const {
    const auto factors = [w = work_](std::ptrdiff_t at, const auto& load, auto& a, auto& b) {
      a[0] = a[1] = hn::Sub(load(w.first + at), load(w.second + at));
      b[0] = load(w.dx + at);
      b[1] = load(w.dy + at);
    };
    sumOverPart<V>(part, side_, factors, sums);
  }

  float errorOf(WindowPart part) const {
    const double count = static_cast<double>(part.right - part.left) * (part.bottom - part.top);
    --part.right;
    --part.bottom;
    double sum[1];
    const auto factors = [w = work_](std::ptrdiff_t at, const auto& load, auto& a, auto& b) {
      a[0] = b[0] = hn::Sub(load(w.first + at), load(w.second + at));
    };
    sumOverPart<V>(part, side_, factors, sum);
    if (!(sum[0] > 0)) return 0;
    const double root = std::sqrt(sum[0] / count);
    return static_cast<float>(kIsFixed ? root * 0.0078125 : root);
  }

  const Work<Src>& work_;
  const Search& search_;
  int side_;
  int rimmed_;
};

RvpiPoint32f scaled(RvpiPoint32f p, double factor) {
  return {static_cast<float>(static_cast<double>(p.x) * factor),
          static_cast<float>(static_cast<double>(p.y) * factor)};
}

RvpiPoint32f unscaled(RvpiPoint32f p, double rate) {
  return {static_cast<float>(static_cast<double>(p.x) / rate), static_cast<float>(static_cast<double>(p.y) / rate)};
}

// The level's derivatives, as windows have them: right minus left, below minus above, with weights whose sum is a
// half, in the fixed-point form with 7 fractional bits.
template <class Src>
void differentiateLevel(Level<Src>& level, const Work<Src>& work) {
  using V = Value<Src>;
  const RvpiSize size = level.image1.size;
  const int step = size.width * static_cast<int>(sizeof(V));
  const auto pixels = std::ptrdiff_t{size.width} * size.height;
  const auto scharr = [&](const auto* src, int srcStep) {
    using T = std::remove_cv_t<std::remove_reference_t<decltype(*src)>>;
    rvpiGradientVectorScharr(src, srcStep, work.levelDx, step, work.levelDy, step, size, 33, rvpBorderRepl, T{0});
  };
  const auto scale = [&](V factor) {
    for (V* image : {work.levelDx, work.levelDy})
      std::transform(image, image + pixels, image, [=](V v) { return static_cast<V>(v * factor); });
  };
  constexpr float kScale = 0.03125f;
  if constexpr (std::is_same_v<Src, std::uint16_t>) {
    for (std::ptrdiff_t y = 0; y < size.height; ++y) {
      const Src* src = row(level.image1.first, level.image1.step, y);
      std::transform(src, src + size.width, work.scaled + y * size.width, [=](Src v) { return v * kScale; });
    }
    scharr(static_cast<const float*>(work.scaled), step);
  } else {
    scharr(level.image1.first, level.image1.step);
    // 16 * 255 * 4 = 16320.
    if constexpr (std::is_same_v<Src, float>)
      scale(kScale);
    else
      scale(4);
  }
  level.dx = {work.levelDx, step, size};
  level.dy = {work.levelDy, step, size};
}

template <class Src>
FlowImage<Src> imageOf(const RvpiPyramid& pyramid, int level) {
  return {reinterpret_cast<const Src*>(pyramid.pImage[level]), pyramid.pStep[level], pyramid.pRoi[level]};
}

template <class Src>
RvpStatus badLevels(const RvpiPyramid& pyramid, int maxLev) {
  if (pyramid.level < maxLev) return rvpStatusBadArgument;
  if (RvpStatus fault = nullPointer(pyramid.pImage, pyramid.pRoi, pyramid.pRate, pyramid.pStep)) return fault;
  for (int level = 0; level <= maxLev; ++level) {
    const FlowImage<Src> image = imageOf<Src>(pyramid, level);
    if (RvpStatus fault = firstFault(nullPointer(image.first), badSize(image.size),
                                     shortStep<Src>(image.size.width, image.step), oddStep<Src>(image.step)))
      return fault;
  }
  return rvpStatusOk;
}

// The points of a call.
struct Points {
  const RvpiPoint32f* pPrev;
  RvpiPoint32f* pNext;
  std::int8_t* pStatus;
  float* pError;
  int count;

  bool takesPart(int i, int level) const { return pStatus[i] == static_cast<std::int8_t>(level + 1); }
  void enter(int i, int level) const { pStatus[i] = static_cast<std::int8_t>(level); }
  void lose(int i, int level) const {
    pStatus[i] = static_cast<std::int8_t>(level + 1);
    pError[i] = 0;
  }
};

template <class Src>
void trackLevel(const RvpiPyramid& pyramid1, const Level<Src>& level, int number, Tracker<Src>& tracker,
                const Points& points) {
  const double rate = pyramid1.pRate[number];
  for (int i = 0; i < points.count; ++i) {
    if (!points.takesPart(i, number)) continue;
    points.enter(i, number);
    RvpiPoint32f q = scaled(points.pNext[i], rate);
    const Outcome outcome = tracker.track(level, scaled(points.pPrev[i], rate), q, points.pError[i]);
    if (outcome == Outcome::noWindow) return;
    if (outcome != Outcome::lost) points.pNext[i] = unscaled(q, rate);
    if (outcome != Outcome::found) points.lose(i, number);
  }
}

template <class Src>
void trackPoint(const RvpiPyramid& pyramid1, const RvpiPyramid& pyramid2, int topLevel, double up,
                Tracker<Src>& tracker, const Points& points, int i) {
  RvpiPoint32f q = scaled(points.pNext[i], pyramid1.pRate[topLevel]);
  for (int number = topLevel; number >= 0; --number) {
    points.enter(i, number);
    const double rate = pyramid1.pRate[number];
    const Level<Src> level = {imageOf<Src>(pyramid1, number), imageOf<Src>(pyramid2, number), {}, {}};
    const Outcome outcome = tracker.track(level, scaled(points.pPrev[i], rate), q, points.pError[i]);
    if (outcome == Outcome::found || outcome == Outcome::leftImage) points.pNext[i] = unscaled(q, rate);
    if (outcome != Outcome::found) {
      points.lose(i, number);
      return;
    }
    q = scaled(q, up);
  }
}

template <class Src>
RvpStatus flow(const RvpiPyramid* pPyr1, const RvpiPyramid* pPyr2, const Points& points, int winSize, int maxLev,
               int maxIter, float threshold, RvpiOptFlowPyrLK* pState) {
  if (RvpStatus fault =
          nullPointer(pPyr1, pPyr2, pState, points.pPrev, points.pNext, points.pStatus, points.pError))
    return fault;
  const bool otherSize = points.count < 1 || winSize < 1 || winSize != pState->winSize;
  const bool badArgument = maxLev < 0 || maxIter < 1 || threshold < 0;
  if (RvpStatus fault =
          firstFault(faultIf(otherSize, rvpStatusBadSize), faultIf(badArgument, rvpStatusBadArgument),
                     faultIf(pState->elementBytes != static_cast<int>(sizeof(Src)), rvpStatusBadSpec)))
    return fault;
  for (const RvpiPyramid* pyramid : {pPyr1, pPyr2}) {
    if (RvpStatus fault = badLevels<Src>(*pyramid, maxLev)) return fault;
  }

  const Work<Src> work(*pState);
  const Search search = {winSize, maxIter, threshold};
  Tracker<Src> tracker(work, search);
  std::fill_n(points.pStatus, points.count, static_cast<std::int8_t>(maxLev + 1));
  std::fill_n(points.pError, points.count, 0.0f);
  int number = maxLev;
  for (; number >= 0; --number) {
    const RvpiSize size = pPyr1->pRoi[number];
    if (size.width >= pState->roiWidth || size.height >= pState->roiHeight) break;
    Level<Src> level = {imageOf<Src>(*pPyr1, number), imageOf<Src>(*pPyr2, number), {}, {}};
    differentiateLevel(level, work);
    trackLevel(*pPyr1, level, number, tracker, points);
  }
  const double up = maxLev > 0 ? 1 / pPyr1->pRate[1] : 1.0;
  for (int i = 0; number >= 0 && i < points.count; ++i) {
    if (points.takesPart(i, number)) trackPoint(*pPyr1, *pPyr2, number, up, tracker, points, i);
  }
  return rvpStatusOk;
}

template <class Src>
RvpStatus initFlow(RvpiOptFlowPyrLK** ppState, RvpiSize roiSize, int winSize, int hint, std::uint8_t* pMem) {
  if (RvpStatus fault = firstFault(badLength(winSize), badSize(roiSize), nullPointer(ppState, pMem))) return fault;
  if (blockBytes<Src>(winSize, roiSize) > INT32_MAX) return rvpStatusSizeOverflow;
  auto* state = reinterpret_cast<RvpiOptFlowPyrLK*>(pMem);
  *state = {roiSize.width,
            roiSize.height,
            1,
            1,
            hint,
            winSize,
            alignedUp(pMem + sizeof(RvpiOptFlowPyrLK), kWorkAlignment),
            static_cast<int>(sizeof(Src))};
  *ppState = state;
  return rvpStatusOk;
}

}  // namespace
}  // namespace rvp::n8

#define RVP_OPTICAL_FLOW(TYPE, T)                                                                               \
  RvpStatus rvpiOpticalFlowPyrLKInit_##TYPE##_C1R(RvpiOptFlowPyrLK** ppState, RvpiSize roiSize, int winSize,    \
                                                  int hint, uint8_t* pMem) {                                    \
    return rvp::n8::initFlow<T>(ppState, roiSize, winSize, hint, pMem);                                         \
  }                                                                                                             \
  RvpStatus rvpiOpticalFlowPyrLK_##TYPE##_C1R(const RvpiPyramid* pPyr1, const RvpiPyramid* pPyr2,               \
                                              const RvpiPoint32f* pPrev, RvpiPoint32f* pNext, int8_t* pStatus,  \
                                              float* pError, int numFeat, int winSize, int maxLev, int maxIter, \
                                              float threshold, RvpiOptFlowPyrLK* pState) {                      \
    return rvp::n8::flow<T>(pPyr1, pPyr2, {pPrev, pNext, pStatus, pError, numFeat}, winSize, maxLev, maxIter,   \
                            threshold, pState);                                                                 \
  }

extern "C" {

RvpStatus rvpiOpticalFlowPyrLKGetSize(int winSize, RvpiSize roiSize, RvpDataType dataType, int, int* pStateSize) {
  using namespace rvp::n8;
  const bool known = dataType == rvp8u || dataType == rvp16u || dataType == rvp32f;
  if (RvpStatus fault = firstFault(badLength(winSize), badSize(roiSize), faultIf(!known, rvpStatusBadDataType),
                                   nullPointer(pStateSize)))
    return fault;
  const std::int64_t bytes = dataType == rvp8u    ? blockBytes<std::uint8_t>(winSize, roiSize)
                             : dataType == rvp16u ? blockBytes<std::uint16_t>(winSize, roiSize)
                                                  : blockBytes<float>(winSize, roiSize);
  if (bytes > INT32_MAX) return rvpStatusSizeOverflow;
  *pStateSize = static_cast<int>(bytes);
  return rvpStatusOk;
}

RVP_OPTICAL_FLOW(8u, uint8_t)
RVP_OPTICAL_FLOW(16u, uint16_t)
RVP_OPTICAL_FLOW(32f, float)

}  // extern "C"
