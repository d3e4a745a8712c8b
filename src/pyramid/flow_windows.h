// The windows of a tracker: read between the pixels of an image, and differentiated.
//
// Windows are worked through by columns of a vector's width, from top to bottom, so that what two rows share is
// computed once.
#pragma once

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <type_traits>

#include "filter/border.h"
#include "frame/simd.h"
#include "frame/views.h"
#include "rvpcv/types.h"

namespace rvp::n8 {

template <class T>
struct FlowImage {
  const T* first;
  int step;
  RvpiSize size;
};

// Pixels of a window that count: columns left to right and rows top to bottom, all of them included.
struct WindowPart {
  int left, top, right, bottom;

  bool empty() const { return left > right || top > bottom; }
  bool operator==(const WindowPart& other) const {
    return left == other.left && top == other.top && right == other.right && bottom == other.bottom;
  }
  WindowPart cut(const WindowPart& other) const {
    return {std::max(left, other.left), std::max(top, other.top), std::min(right, other.right),
            std::min(bottom, other.bottom)};
  }
};

// Where a window's first pixel lies: between which pixels, and how far between them.
struct WindowPlace {
  int x, y;
  double a, b;
};

// Of a window of side `side` around `centre`. False where the place is no number, or beyond all images.
inline bool placeWindow(RvpiPoint32f centre, int side, WindowPlace& place) {
  constexpr double kFar = 1 << 30;
  const double half = (side - 1) * 0.5;
  const double x = static_cast<double>(centre.x) - half;
  const double y = static_cast<double>(centre.y) - half;
  if (!(std::abs(x) < kFar && std::abs(y) < kFar)) return false;
  place.x = static_cast<int>(std::floor(x));
  place.y = static_cast<int>(std::floor(y));
  place.a = x - place.x;
  place.b = y - place.y;
  return true;
}

// What of a window lies between the centres of an image's outermost pixels.
inline WindowPart insidePart(const WindowPlace& place, int side, RvpiSize size) {
  // In 64 bits: a row of 2^31 - 1 pixels may begin 2^30 pixels to the right of the window.
  const auto last = [side](std::ptrdiff_t pixels, int first, double between) {
    return static_cast<int>(std::min<std::ptrdiff_t>(side - 1, pixels - 1 - first - (between > 0 ? 1 : 0)));
  };
  return {std::max(0, -place.x), std::max(0, -place.y), last(size.width, place.x, place.a),
          last(size.height, place.y, place.b)};
}

// The weights of four neighbours: float, or whole numbers with the sum 2^kWeightBits.
constexpr int kWeightBits = 14;

template <class Dst>
struct BilinearWeights {
  using T = std::conditional_t<std::is_same_v<Dst, float>, float, std::int32_t>;
  T w00, w01, w10, w11;

  explicit BilinearWeights(const WindowPlace& place) {
    if constexpr (std::is_same_v<Dst, float>) {
      const auto a = static_cast<float>(place.a), b = static_cast<float>(place.b);
      w00 = (1 - a) * (1 - b);
      w01 = a * (1 - b);
      w10 = (1 - a) * b;
      w11 = a * b;
    } else {
      constexpr double kOne = 1 << kWeightBits;
      // NOLINTNEXTLINE(bugprone-incorrect-roundings): no weight is negative.
      const auto whole = [](double weight) { return static_cast<std::int32_t>(weight * kOne + 0.5); };
      w00 = whole((1 - place.a) * (1 - place.b));
      w01 = whole(place.a * (1 - place.b));
      w10 = whole((1 - place.a) * place.b);
      w11 = (1 << kWeightBits) - w00 - w01 - w10;
    }
  }
};

// The fewest elements of a window's row that are written at once. Where a row is shorter, what is written behind it
// is no part of the window, and the next row or nothing overwrites it.
template <class T>
constexpr int kLeastLanes = 16 / static_cast<int>(sizeof(T));

// Calls body(d, x) for vectors that cover n elements. The last one ends with the row, so that some elements may be
// done twice, unless the row is shorter than the shortest vector.
template <class D, class Body>
HWY_INLINE void coverRow(D d, std::ptrdiff_t n, const Body& body) {
  constexpr auto kLanes = static_cast<std::ptrdiff_t>(hn::MaxLanes(D()));
  if constexpr (kLanes > kLeastLanes<hn::TFromD<D>>) {
    if (n < kLanes) {
      coverRow(hn::Half<D>(), n, body);
      return;
    }
  }
  for (std::ptrdiff_t x = 0; x < n - kLanes; x += kLanes) body(d, x);
  body(d, std::max<std::ptrdiff_t>(n - kLanes, 0));
}

// Pairs of neighbouring 16-bit numbers, one of `a` and one of `b`, and what comes of them when both are multiplied
// by their weights and added.
template <class D>
struct WordPairs {
  using D32 = hn::RepartitionToWide<D>;
  using V = hn::VFromD<D>;
  V lower, upper;

  HWY_INLINE WordPairs(D d, V a, V b) : lower(hn::InterleaveLower(d, a, b)), upper(hn::InterleaveUpper(d, a, b)) {}

  static HWY_INLINE V weights(int ofA, int ofB) {
    const auto both = static_cast<std::uint32_t>(static_cast<std::uint16_t>(ofA)) | static_cast<std::uint32_t>(ofB)
                                                                                        << 16U;
    return hn::BitCast(D(), hn::Set(D32(), static_cast<std::int32_t>(both)));
  }
};

// (p * wp + q * wq + half) >> kShift, narrowed to the 16 bits in which it fits.
template <int kShift, class D>
HWY_INLINE hn::VFromD<D> weighted(D d, const WordPairs<D>& p, hn::VFromD<D> wp, const WordPairs<D>& q,
                                  hn::VFromD<D> wq) {
  const hn::RepartitionToWide<D> d32;
  auto unused = hn::Zero(d32);
  const auto half = hn::Set(d32, 1 << (kShift - 1));
  const auto sum = [&](hn::VFromD<D> ofP, hn::VFromD<D> ofQ) {
    const auto first = hn::ReorderWidenMulAccumulate(d32, ofP, wp, half, unused);
    return hn::ShiftRight<kShift>(hn::ReorderWidenMulAccumulate(d32, ofQ, wq, first, unused));
  };
  return hn::ReorderDemote2To(d, sum(p.lower, q.lower), sum(p.upper, q.upper));
}

// Bytes get 7 fractional bits: at most 255 * 128 = 32640. The weights' absolute sum is at most 2^14 + 4, so no sum
// passes 2^31.
template <class Src, class D>
HWY_INLINE void interpolateColumns(D d, const Src* src, int step, const BilinearWeights<std::int16_t>& w, int side,
                                   std::int16_t* dst, int dstPitch) {
  constexpr int kShift = std::is_same_v<Src, std::uint8_t> ? kWeightBits - 7 : kWeightBits;
  const auto words = [d](const Src* p) {
    if constexpr (std::is_same_v<Src, std::uint8_t>)
      return hn::PromoteTo(d, hn::LoadU(hn::Rebind<std::uint8_t, D>(), p));
    else
      return hn::LoadU(d, p);
  };
  const auto neighbours = [&](const Src* p) { return WordPairs<D>(d, words(p), words(p + 1)); };
  const auto wAbove = WordPairs<D>::weights(w.w00, w.w01);
  const auto wBelow = WordPairs<D>::weights(w.w10, w.w11);
  WordPairs<D> above = neighbours(src);
  for (int y = 0; y < side; ++y, dst += dstPitch) {
    const WordPairs<D> below = neighbours(row(src, step, y + 1));
    hn::StoreU(weighted<kShift>(d, above, wAbove, below, wBelow), d, dst);
    above = below;
  }
}

template <class Src, class D>
HWY_INLINE void interpolateColumns(D d, const Src* src, int step, const BilinearWeights<float>& w, int side,
                                   float* dst, int dstPitch) {
  const auto floats = [d](const Src* p) {
    if constexpr (std::is_same_v<Src, std::uint16_t>) {
      const hn::RebindToSigned<D> dInt;
      return hn::ConvertTo(d, hn::PromoteTo(dInt, hn::LoadU(hn::Rebind<std::uint16_t, D>(), p)));
    } else {
      return hn::LoadU(d, p);
    }
  };
  const auto w00 = hn::Set(d, w.w00), w01 = hn::Set(d, w.w01), w10 = hn::Set(d, w.w10), w11 = hn::Set(d, w.w11);
  auto p00 = floats(src), p01 = floats(src + 1);
  for (int y = 0; y < side; ++y, dst += dstPitch) {
    const Src* below = row(src, step, y + 1);
    const auto p10 = floats(below), p11 = floats(below + 1);
    hn::StoreU(p00 * w00 + p01 * w01 + p10 * w10 + p11 * w11, d, dst);
    p00 = p10;
    p01 = p11;
  }
}

// Pixels of a row of a tile from which a window of side `side` is read.
template <class Dst>
constexpr int tileWidth(int side) {
  return std::max(side, kLeastLanes<Dst>) + 1;
}

// Reads a window of side `side`. `tile` has room for side + 1 rows of tileWidth.
template <class Src, class Dst>
void readWindow(const FlowImage<Src>& image, const WindowPlace& place, int side, Dst* dst, int dstPitch,
                Src* tile) {
  const int width = tileWidth<Dst>(side);
  const Src* src;
  int step = image.step;
  const bool inside =
      place.x >= 0 && place.y >= 0 && place.x <= image.size.width - width && place.y < image.size.height - side;
  if (inside) {
    src = row(image.first, step, place.y) + place.x;
  } else {
    step = width * static_cast<int>(sizeof(Src));
    const ExtendedImage<Src, 1> extended = {image.first, image.step, image.size, borderOf(rvpBorderRepl), nullptr};
    extended.readTile({place.x, place.y, width, side + 1}, tile, step);
    src = tile;
  }
  const BilinearWeights<Dst> weights(place);
  coverRow(hn::ScalableTag<Dst>(), side, [&](auto d, std::ptrdiff_t x) {
    interpolateColumns(d, src + x, step, weights, side, dst + x, dstPitch);
  });
}

// Three neighbouring vectors of a row.
template <class D>
struct Neighbours {
  hn::VFromD<D> left, mid, right;

  HWY_INLINE Neighbours(D d, const hn::TFromD<D>* p)
      : left(hn::LoadU(d, p - 1)), mid(hn::LoadU(d, p)), right(hn::LoadU(d, p + 1)) {}
  HWY_INLINE hn::VFromD<D> across() const { return hn::Sub(right, left); }
};

// From the row above the window on. Fixed-point values are at most 32640 and none is negative, so that differences
// of two have 16 bits; the sums pass neither 16 * 32640 = 522240 nor, shifted, 16320.
template <class D>
HWY_INLINE void differentiateColumns(D d, const std::int16_t* src, int pitch, int side, std::int16_t* inner,
                                     std::int16_t* dx, std::int16_t* dy) {
  const auto w1 = WordPairs<D>::weights(10, 3);
  const auto w2 = WordPairs<D>::weights(3, 0);
  const auto none = hn::Zero(d);
  Neighbours<D> top(d, src), mid(d, src + pitch);
  for (int y = 0; y < side; ++y, inner += side, dx += side, dy += side) {
    const Neighbours<D> bottom(d, src + (y + std::ptrdiff_t{2}) * pitch);
    hn::StoreU(mid.mid, d, inner);
    hn::StoreU(weighted<5>(d, {d, mid.across(), top.across()}, w1, {d, bottom.across(), none}, w2), d, dx);
    const auto left = hn::Sub(bottom.left, top.left), right = hn::Sub(bottom.right, top.right);
    hn::StoreU(weighted<5>(d, {d, hn::Sub(bottom.mid, top.mid), left}, w1, {d, right, none}, w2), d, dy);
    top = mid;
    mid = bottom;
  }
}

template <class D>
HWY_INLINE void differentiateColumns(D d, const float* src, int pitch, int side, float* inner, float* dx,
                                     float* dy) {
  const auto smooth = [d](const Neighbours<D>& n) {
    return n.mid * hn::Set(d, 0.3125f) + (n.left + n.right) * hn::Set(d, 0.09375f);
  };
  Neighbours<D> top(d, src), mid(d, src + pitch);
  for (int y = 0; y < side; ++y, inner += side, dx += side, dy += side) {
    const Neighbours<D> bottom(d, src + (y + std::ptrdiff_t{2}) * pitch);
    hn::StoreU(mid.mid, d, inner);
    hn::StoreU(mid.across() * hn::Set(d, 0.3125f) + (top.across() + bottom.across()) * hn::Set(d, 0.09375f), d, dx);
    hn::StoreU(smooth(bottom) - smooth(top), d, dy);
    top = mid;
    mid = bottom;
  }
}

// Both derivatives of a window of side `side` that has a rim, and the window without it. `rimmed` points to the
// rim's first pixel.
template <class T>
void ownOptConvolution_M7(const T* rimmed, int side, T* inner, T* dx, T* dy) {
  coverRow(hn::ScalableTag<T>(), side, [&](auto d, std::ptrdiff_t x) {
    differentiateColumns(d, rimmed + 1 + x, side + 2, side, inner + x, dx + x, dy + x);
  });
}

}  // namespace rvp::n8
