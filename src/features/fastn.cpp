// The FastN detector. Of all arcs of the block's length, take the one whose darkest pixel is brightest: the pixel
// is a bright corner if that darkest pixel is brighter than the centre by more than the threshold, and the
// difference is its score. The same with dark and bright exchanged. So a corner and its score come from minima and
// maxima of the circle's pixels, of a vector of centres at a time, and no run is counted.
//
// An arc is longer than half of the circle and has a pixel of every opposite pair. Groups of pixels of which none
// has the better pixel of a few pairs outside the threshold are passed over.
#include "features/fastn.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <type_traits>

#include "frame/simd.h"
#include "frame/views.h"

namespace rvp::n8 {
namespace {

constexpr std::uint8_t kBright = 64;
constexpr std::uint8_t kDark = 128;

// Eighths of half of the circle, in an order that spreads the first few of them over it.
constexpr int kSpread[] = {0, 4, 2, 6, 1, 5, 3, 7};

// What the detector needs of the block, and of one image. kLength is the circle's, which lets loops over it unroll.
template <int kLength>
struct Detector {
  static constexpr int kHalf = kLength / 2;
  const std::uint8_t* src;
  int srcStep;
  int radius;
  int arcLength;
  std::uint8_t threshold;
  // Twice round the circle: the longest arc ends less than two circles on.
  std::ptrdiff_t offsets[2 * kLength];

  Detector(const FastNBlock& block, const std::uint8_t* image, int step)
      : src(image),
        srcStep(step),
        radius(block.circleRadius),
        arcLength(block.arcLength),
        // No difference of two pixels is greater than 255.
        threshold(static_cast<std::uint8_t>(std::clamp(block.thresholdInt, 0, 255))) {
    const RvpiPoint* points = circleOf(block.circleRadius).points;
    for (int i = 0; i < kLength; ++i) {
      offsets[i] = static_cast<std::ptrdiff_t>(points[i].y) * step + points[i].x;
      offsets[i + kLength] = offsets[i];
    }
  }

  // The darkest pixel of the arc whose darkest is brightest, of the negative where `flip` is 255 and not 0.
  //
  // Of the arcs that begin in one half of the circle, one is as bright as v everywhere if it begins behind the last
  // pixel i of the half that is darker than v, and ends before the first darker one that follows the half. There is
  // such an arc unless the one from i + 1 to i + arcLength has a darker pixel too, or one that all these arcs have
  // in common is darker. So the greatest v is a minimum over i, and needs no arc by itself.
  template <class D, class V>
  HWY_INLINE V findArc(D d, const std::uint8_t* centre, V flip) const {
    V best = hn::Zero(d);
    for (int half = 0; half < 2; ++half) {
      const auto at = [&](int i) { return hn::Xor(hn::LoadU(d, centre + offsets[half * kHalf + i]), flip); };
      V darkest = at(kHalf);  // of those that follow the half, as far as an arc goes
      for (int i = kHalf + 1; i < arcLength; ++i) darkest = hn::Min(darkest, at(i));
      V greatest = hn::Min(darkest, at(kHalf - 1));
      // Longer for the longest circle than what the compiler unrolls by itself.
      static_assert(kHalf <= 26);
#pragma GCC unroll 26
      for (int i = 0; i < kHalf - 1; ++i) {
        darkest = hn::Min(darkest, at(i + arcLength));
        greatest = hn::Min(greatest, hn::Max(at(i), darkest));
      }
      best = hn::Max(best, greatest);
    }
    return best;
  }

  // Classes and scores of a group of pixels from `centre` on.
  template <class D>
  HWY_INLINE void classify(D d, const std::uint8_t* centre, hn::VFromD<D>& classes, hn::VFromD<D>& scores) const {
    using V = hn::VFromD<D>;
    classes = scores = hn::Zero(d);
    const V c = hn::LoadU(d, centre);
    const V t = hn::Set(d, threshold);
    const V upper = hn::SaturatedAdd(c, t);
    const V lower = hn::SaturatedSub(c, t);
    // The darkest of the pairs' brighter pixels, and the other way round.
    V bright = hn::Set(d, std::uint8_t{255});
    V dark = hn::Zero(d);
    int tested = 0;
    const auto test = [&](int pairs) {
      for (; tested < pairs; ++tested) {
        const int i = kSpread[tested] * kHalf / 8;
        const V a = hn::LoadU(d, centre + offsets[i]);
        const V b = hn::LoadU(d, centre + offsets[i + kHalf]);
        bright = hn::Min(bright, hn::Max(a, b));
        dark = hn::Max(dark, hn::Min(a, b));
      }
    };
    const auto none = [&](V v) { return hn::AllTrue(d, hn::Eq(v, hn::Zero(d))); };
    const auto isOver = [&] {
      return none(hn::Or(hn::SaturatedSub(bright, upper), hn::SaturatedSub(lower, dark)));
    };
    test(4);
    if (isOver()) return;
    // The larger the circle, the more its arcs cost beside its pairs.
    if constexpr (kLength > 16) {
      test(8);
      if (isOver()) return;
    }

    // A dark arc is a bright one of a circle turned to its negative, so one search does for the lanes that may be
    // bright and for those that may be dark. Few lanes may be either by now, and need another; none is both.
    const V notBright = hn::VecFromMask(d, hn::Eq(hn::SaturatedSub(bright, upper), hn::Zero(d)));
    const V notDark = hn::VecFromMask(d, hn::Eq(hn::SaturatedSub(lower, dark), hn::Zero(d)));
    const V either = hn::Not(hn::Or(notBright, notDark));
    V flip = notBright;
    for (bool again = !none(either);; again = false, flip = either) {
      const V centres = hn::Xor(c, flip);
      const V darkest = findArc(d, centre, flip);
      const auto isCorner = hn::Ne(hn::SaturatedSub(darkest, hn::SaturatedAdd(centres, t)), hn::Zero(d));
      const V kind = hn::IfVecThenElse(flip, hn::Set(d, kDark), hn::Set(d, kBright));
      classes = hn::Or(classes, hn::IfThenElseZero(isCorner, kind));
      scores = hn::Or(scores, hn::IfThenElseZero(isCorner, hn::Sub(darkest, centres)));
      if (!again) break;
    }
  }

  // The group from column x of rows on. `scores` may be null.
  template <class D>
  HWY_INLINE void detect(D d, std::ptrdiff_t x, const std::uint8_t* centres, std::uint8_t* corners,
                         std::uint8_t* scores) const {
    hn::VFromD<D> classes;
    hn::VFromD<D> values;
    classify(d, centres + x, classes, values);
    hn::StoreU(classes, d, corners + x);
    if (scores != nullptr) hn::StoreU(values, d, scores + x);
  }

  // Row y of the image, columns first to last - 1, all with full circles. `scores` may be null.
  void detectRow(std::ptrdiff_t y, std::ptrdiff_t first, std::ptrdiff_t last, std::uint8_t* corners,
                 std::uint8_t* scores) const {
    const std::uint8_t* centres = row(src, srcStep, y) + first;
    const std::ptrdiff_t count = last - first;
    const hn::ScalableTag<std::uint8_t> d;
    const auto lanes = static_cast<std::ptrdiff_t>(hn::Lanes(d));
    if (count < lanes) {
      forVectors<std::uint8_t>(0, count,
                               [&](auto few, std::ptrdiff_t x) { detect(few, x, centres, corners, scores); });
      return;
    }
    // The last vector overlaps pixels that are done, and writes the same.
    for (std::ptrdiff_t x = 0; x < count; x += lanes)
      detect(d, std::min(x, count - lanes), centres, corners, scores);
  }
};

// The bin of the direction in which the circle around a pixel is brighter.
template <int kLength>
int orientation(const Detector<kLength>& detector, const FastNBlock& block, const std::uint8_t* centre) {
  const float* sines = block.sines();
  const float* cosines = block.cosines(kLength);
  float sineSum = 0;
  float cosineSum = 0;
  for (int i = 0; i < kLength; ++i) {
    const double difference = centre[detector.offsets[i]] - *centre;
    sineSum = static_cast<float>(static_cast<double>(sineSum) + difference * static_cast<double>(sines[i]));
    cosineSum = static_cast<float>(static_cast<double>(cosineSum) + difference * static_cast<double>(cosines[i]));
  }
  auto angle = static_cast<float>(std::atan2(static_cast<double>(sineSum), static_cast<double>(cosineSum)));
  constexpr double kFullCircle = 6.283185307179586;
  if (angle < 0) angle = static_cast<float>(static_cast<double>(angle) + kFullCircle);
  return static_cast<int>(angle * block.binScale(kLength)) & 63;
}

// Calls body(x) for every corner of a row.
template <class Body>
void forCorners(const std::uint8_t* corners, std::ptrdiff_t width, const Body& body) {
  forVectors<std::uint8_t>(0, width, [&](auto d, std::ptrdiff_t x) {
    const auto isCorner = hn::Ne(hn::LoadU(d, corners + x), hn::Zero(d));
    if (hn::AllFalse(d, isCorner)) return;
    std::uint8_t bits[sizeof(std::uint64_t)] = {};
    static_assert(hn::MaxLanes(d) <= 64);
    hn::StoreMaskBits(d, isCorner, bits);
    std::uint64_t left = 0;
    std::memcpy(&left, bits, sizeof left);
    for (; left != 0; left &= left - 1) body(x + __builtin_ctzll(left));
  });
}

int countCorners(const std::uint8_t* corners, std::ptrdiff_t width) {
  std::size_t zeros = 0;
  forVectors<std::uint8_t>(0, width, [&](auto d, std::ptrdiff_t x) {
    zeros += hn::CountTrue(d, hn::Eq(hn::LoadU(d, corners + x), hn::Zero(d)));
  });
  return static_cast<int>(width - static_cast<std::ptrdiff_t>(zeros));
}

// The destination's part right of and below the image's origin, in the image's coordinates.
struct Tile {
  std::ptrdiff_t left;
  std::ptrdiff_t top;
  std::ptrdiff_t width;
  std::ptrdiff_t height;
  // Where circles are full.
  std::ptrdiff_t firstX;
  std::ptrdiff_t lastX;
  std::ptrdiff_t firstY;
  std::ptrdiff_t lastY;

  // Row y as far as columns from..to go: what has no full circle is 0.
  template <int kLength>
  void detect(const Detector<kLength>& detector, std::ptrdiff_t y, std::ptrdiff_t from, std::ptrdiff_t to,
              std::uint8_t* corners, std::uint8_t* scores) const {
    const std::ptrdiff_t first = std::clamp(firstX, from, to);
    const std::ptrdiff_t last = std::clamp(lastX, first, to);
    const bool outside = y < firstY || y >= lastY;
    const auto clear = [&](std::ptrdiff_t a, std::ptrdiff_t b) {
      if (a >= b) return;
      std::memset(corners + (a - from), 0, static_cast<std::size_t>(b - a));
      if (scores != nullptr) std::memset(scores + (a - from), 0, static_cast<std::size_t>(b - a));
    };
    if (outside || first == last) {
      clear(from, to);
      return;
    }
    clear(from, first);
    clear(last, to);
    detector.detectRow(y, first, last, corners + (first - from),
                       scores == nullptr ? nullptr : scores + (first - from));
  }
};

// The corners of one row that are stronger than their neighbours. Row pointers stand at the first pixel; all rows
// have a neighbour on either side.
void suppressRow(const std::uint8_t* above, const std::uint8_t* scores, const std::uint8_t* below,
                 const std::uint8_t* classes, std::ptrdiff_t width, std::uint8_t* dstCorners,
                 std::uint8_t* dstScores) {
  forVectors<std::uint8_t>(0, width, [&](auto d, std::ptrdiff_t x) {
    const auto s = hn::LoadU(d, scores + x);
    const auto zero = hn::Zero(d);
    if (hn::AllTrue(d, hn::Eq(s, zero))) {
      hn::StoreU(zero, d, dstCorners + x);
      hn::StoreU(zero, d, dstScores + x);
      return;
    }
    const auto at = [&](const std::uint8_t* line, int dx) { return hn::LoadU(d, line + x + dx); };
    const auto earlier = hn::Max(hn::Max(at(above, -1), at(above, 0)), hn::Max(at(above, 1), at(scores, -1)));
    const auto later = hn::Max(hn::Max(at(below, -1), at(below, 0)), hn::Max(at(below, 1), at(scores, 1)));
    const auto stays = hn::AndNot(hn::Eq(hn::SaturatedSub(s, earlier), zero), hn::Eq(hn::Max(s, later), s));
    hn::StoreU(hn::IfThenElseZero(stays, hn::LoadU(d, classes + x)), d, dstCorners + x);
    hn::StoreU(hn::IfThenElseZero(stays, s), d, dstScores + x);
  });
}

struct Destination {
  std::uint8_t* corners;
  int cornerStep;
  std::uint8_t* scores;
  int scoreStep;
};

template <int kLength>
int detectCorners(const std::uint8_t* pSrc, int srcStep, const Destination& dst, RvpiPoint srcOffset,
                  RvpiSize dstRoiSize, const FastNBlock& block, std::uint8_t* pBuffer) {
  const std::ptrdiff_t cutLeft = std::max<std::ptrdiff_t>(0, -std::ptrdiff_t{srcOffset.x});
  const std::ptrdiff_t cutTop = std::max<std::ptrdiff_t>(0, -std::ptrdiff_t{srcOffset.y});
  if (cutLeft >= dstRoiSize.width || cutTop >= dstRoiSize.height) return 0;
  const int radius = block.circleRadius;
  const Tile tile = {srcOffset.x + cutLeft,
                     srcOffset.y + cutTop,
                     dstRoiSize.width - cutLeft,
                     dstRoiSize.height - cutTop,
                     radius,
                     std::ptrdiff_t{block.width} - radius,
                     radius,
                     std::ptrdiff_t{block.height} - radius};
  const Detector<kLength> detector(block, pSrc, srcStep);
  const auto dstCorners = [&](std::ptrdiff_t y) { return row(dst.corners, dst.cornerStep, y + cutTop) + cutLeft; };
  const auto dstScores = [&](std::ptrdiff_t y) { return row(dst.scores, dst.scoreStep, y + cutTop) + cutLeft; };
  const bool hasScores = block.has(rvpFastNScore);
  int count = 0;
  const auto finish = [&](std::ptrdiff_t y) {
    std::uint8_t* corners = dstCorners(y);
    count += countCorners(corners, tile.width);
    if (!block.has(rvpFastNOrientation)) return;
    const std::uint8_t* centres = row(pSrc, srcStep, tile.top + y) + tile.left;
    forCorners(corners, tile.width, [&](std::ptrdiff_t x) {
      corners[x] = static_cast<std::uint8_t>(corners[x] | orientation(detector, block, centres + x));
    });
  };
  if (!block.has(rvpFastNSuppression)) {
    for (std::ptrdiff_t y = 0; y < tile.height; ++y) {
      tile.detect(detector, tile.top + y, tile.left, tile.left + tile.width, dstCorners(y),
                  hasScores ? dstScores(y) : nullptr);
      finish(y);
    }
    return count;
  }
  // Three rows of classes and of scores, each with a pixel more on either side, take turns.
  const std::ptrdiff_t length = tile.width + 2;
  const auto classesOf = [&](std::ptrdiff_t y) { return pBuffer + (y + 3) % 3 * length; };
  const auto scoresOf = [&](std::ptrdiff_t y) { return pBuffer + (3 + (y + 3) % 3) * length; };
  const auto detect = [&](std::ptrdiff_t y) {
    tile.detect(detector, tile.top + y, tile.left - 1, tile.left + tile.width + 1, classesOf(y), scoresOf(y));
  };
  detect(-1);
  detect(0);
  for (std::ptrdiff_t y = 0; y < tile.height; ++y) {
    detect(y + 1);
    suppressRow(scoresOf(y - 1) + 1, scoresOf(y) + 1, scoresOf(y + 1) + 1, classesOf(y) + 1, tile.width,
                dstCorners(y), dstScores(y));
    finish(y);
  }
  return count;
}

// Calls body with the length of a circle as a constant.
template <class Body>
int forCircle(int radius, const Body& body) {
  switch (radius) {
    case 1:
      return body(std::integral_constant<int, 8>());
    case 2:
      return body(std::integral_constant<int, 12>());
    case 3:
      return body(std::integral_constant<int, 16>());
    case 5:
      return body(std::integral_constant<int, 28>());
    case 7:
      return body(std::integral_constant<int, 40>());
    default:
      return body(std::integral_constant<int, kLongestCircle>());
  }
}

}  // namespace
}  // namespace rvp::n8

extern "C" {

RvpStatus rvpiFastN_8u_C1R(const uint8_t* pSrc, int srcStep, uint8_t* pDstCorner, int dstCornerStep,
                           uint8_t* pDstScore, int dstScoreStep, int* pNumCorner, RvpiPoint srcOffset,
                           RvpiSize dstRoiSize, const RvpiFastNSpec* pSpec, uint8_t* pBuffer) {
  using namespace rvp::n8;
  if (RvpStatus fault = firstFault(nullPointer(pSrc, pDstCorner, pNumCorner, pSpec, pBuffer), badSize(dstRoiSize)))
    return fault;
  if (RvpStatus fault = badFastNSpec(pSpec)) return fault;
  const FastNBlock& block = fastNBlock(pSpec);
  const bool hasScores = block.has(rvpFastNScore);
  if (RvpStatus fault =
          firstFault(badFastNParameters(block), faultIf(hasScores && pDstScore == nullptr, rvpStatusNullPointer)))
    return fault;

  const auto run = [&](auto length) {
    return detectCorners<decltype(length)::value>(
        pSrc, srcStep, {pDstCorner, dstCornerStep, pDstScore, dstScoreStep}, srcOffset, dstRoiSize, block, pBuffer);
  };
  *pNumCorner = forCircle(block.circleRadius, run);
  return rvpStatusOk;
}

}  // extern "C"
