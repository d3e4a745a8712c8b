// Integer sums do not depend on their order, and with the usual masks that makes the pixels of a row independent.
//
// The moves of such a mask are the corners of a convex polygon. The cheapest way between two pixels then uses only
// the two moves on either side of its direction, in any order, and stays within the rectangle that the pixels span.
// Both raster passes contain that way, so their result is the least such distance to any seed, and any other order
// of work that contains it gives the same. Here every way begins with the axis moves along the seed's own row: each
// row takes its distances along the row, to the left and to the right, and the least of what the rows above offer;
// then, from the last row up, the least of what the rows below offer. Saturation changes nothing of this: a sum
// that saturates after each move is the saturated sum.
#include "distance/chamfer_norm.h"

#include <algorithm>
#include <cstddef>

#include "frame/simd.h"
#include "frame/views.h"

namespace rvp::n8 {
namespace {

template <class T>
constexpr T kFar = std::numeric_limits<T>::max();

// `lanes` pixels of a row from x on; those outside the row are far away.
template <class D, class T>
hn::Vec<D> loadWithin(D d, const T* row, std::ptrdiff_t x, std::ptrdiff_t width) {
  constexpr std::ptrdiff_t lanes = hn::MaxLanes(D());
  alignas(64) T pixels[lanes];
  std::fill_n(pixels, lanes, kFar<T>);
  const std::ptrdiff_t first = std::max<std::ptrdiff_t>(x, 0);
  const std::ptrdiff_t last = std::min(x + lanes, width);
  if (first < last) std::copy(row + first, row + last, pixels + (first - x));
  return hn::Load(d, pixels);
}

template <class D, class T>
void storeWithin(hn::Vec<D> v, D d, T* row, std::ptrdiff_t x, std::ptrdiff_t width) {
  constexpr std::ptrdiff_t lanes = hn::MaxLanes(D());
  if (x + lanes <= width) {
    hn::StoreU(v, d, row + x);
  } else {
    alignas(64) T pixels[lanes];
    hn::Store(v, d, pixels);
    std::copy_n(pixels, width - x, row + x);
  }
}

// Distances along a row from the seeds behind: on the left with kForward, else on the right. It works on nearness,
// which is what is left of the farthest distance: sums that saturate become differences, and what a shift brings in
// from outside is as far away as can be.
template <class T, bool kForward>
class RowScan {
  using D = hn::FixedTag<T, 16 / sizeof(T)>;
  using Bytes = hn::Repartition<std::uint8_t, D>;
  using V = hn::Vec<D>;

 public:
  static constexpr std::ptrdiff_t kLanes = hn::MaxLanes(D());

  explicit RowScan(T axis) : near_(hn::Zero(D())) {
    alignas(16) T ramp[kLanes];
    for (std::ptrdiff_t i = 0; i < kLanes; ++i) ramp[kForward ? i : kLanes - 1 - i] = times(axis, i + 1);
    ramp_ = hn::Load(D(), ramp);
    one_ = hn::Set(D(), axis);
    two_ = hn::Set(D(), times(axis, 2));
    four_ = hn::Set(D(), times(axis, 4));
    eight_ = hn::Set(D(), times(axis, 8));
    all_ = hn::Set(D(), times(axis, kLanes));
  }

  // The distances of the next vector, whose zeros are its seeds.
  V next(V pixels) {
    const D d;
    const V passed = hn::SaturatedSub(near_, ramp_);
    const auto seeds = hn::Eq(pixels, hn::Zero(d));
    if (hn::AllFalse(d, seeds)) {
      near_ = hn::SaturatedSub(near_, all_);
      return hn::Not(passed);
    }
    V v = hn::VecFromMask(d, seeds);
    v = spread<1>(v, one_);
    v = spread<2>(v, two_);
    v = spread<4>(v, four_);
    if constexpr (kLanes > 8) v = spread<8>(v, eight_);
    v = hn::Max(v, passed);
    near_ = hn::BitCast(d, hn::TableLookupBytes(hn::BitCast(Bytes(), v), lastLane()));
    return hn::Not(v);
  }

 private:
  static T times(T axis, std::ptrdiff_t moves) {
    return static_cast<T>(std::min<std::ptrdiff_t>(axis * moves, kFar<T>));
  }

  template <int kShift>
  static V spread(V v, V cost) {
    const D d;
    if constexpr (kForward) {
      return hn::Max(v, hn::SaturatedSub(hn::ShiftLeftLanes<kShift>(d, v), cost));
    } else {
      return hn::Max(v, hn::SaturatedSub(hn::ShiftRightLanes<kShift>(d, v), cost));
    }
  }

  // The places of the bytes of the lane that the scan comes to last, once for each lane.
  static hn::Vec<Bytes> lastLane() {
    constexpr unsigned first = kForward ? 16 - sizeof(T) : 0;
    constexpr unsigned bytes = sizeof(T) == 1 ? first : first | (first + 1) << 8;
    return hn::BitCast(Bytes(), hn::Set(D(), static_cast<T>(bytes)));
  }

  V near_;
  V ramp_;
  V one_;
  V two_;
  V four_;
  V eight_;
  V all_;
};

// Seeds of the source as zeros of T.
template <class T, class D>
hn::Vec<D> loadSource(D d, const std::uint8_t* src, std::ptrdiff_t x, std::ptrdiff_t width) {
  const hn::Rebind<std::uint8_t, D> bytes;
  const std::ptrdiff_t lanes = hn::MaxLanes(D());
  const auto v = x + lanes <= width ? hn::LoadU(bytes, src + x) : loadWithin(bytes, src, x, width);
  if constexpr (sizeof(T) == 1) {
    return v;
  } else {
    return hn::PromoteTo(d, v);
  }
}

// Distances along the row, to the nearest seed on either side. A seed is the only pixel of the first scan's result
// that is 0, so source and destination may be the same row.
template <class T>
void alongRow(const std::uint8_t* src, T* dst, std::ptrdiff_t width, T axis) {
  const hn::FixedTag<T, 16 / sizeof(T)> d;
  constexpr std::ptrdiff_t lanes = RowScan<T, true>::kLanes;
  RowScan<T, false> toLeft(axis);
  for (std::ptrdiff_t x = (width - 1) / lanes * lanes; x >= 0; x -= lanes)
    storeWithin(toLeft.next(loadSource<T>(d, src, x, width)), d, dst, x, width);
  RowScan<T, true> toRight(axis);
  for (std::ptrdiff_t x = 0; x < width; x += lanes) {
    const auto v = x + lanes <= width ? hn::LoadU(d, dst + x) : loadWithin(d, dst, x, width);
    storeWithin(hn::Min(v, toRight.next(v)), d, dst, x, width);
  }
}

// What two neighbouring rows on one side offer, the second one null if there is none.
template <ChamferMoves kMoves, class T>
void acrossRows(T* dst, const T* next, const T* second, std::ptrdiff_t width, const ChamferMask& mask) {
  const hn::ScalableTag<T> d;
  constexpr std::ptrdiff_t lanes = hn::MaxLanes(hn::ScalableTag<T>());
  const auto axis = hn::Set(d, static_cast<T>(mask.axis));
  const auto diagonal = hn::Set(d, static_cast<T>(mask.diagonal));
  const auto knight = hn::Set(d, static_cast<T>(mask.knight));
  const auto take = [&](std::ptrdiff_t x, const auto& load) {
    auto best = hn::Min(load(dst, x), hn::SaturatedAdd(load(next, x), axis));
    if constexpr (kMoves >= ChamferMoves::diagonal)
      best = hn::Min(best, hn::SaturatedAdd(hn::Min(load(next, x - 1), load(next, x + 1)), diagonal));
    if constexpr (kMoves >= ChamferMoves::knight) {
      auto least = hn::Min(load(next, x - 2), load(next, x + 2));
      if (second != nullptr) least = hn::Min(least, hn::Min(load(second, x - 1), load(second, x + 1)));
      best = hn::Min(best, hn::SaturatedAdd(least, knight));
    }
    return best;
  };
  for (std::ptrdiff_t x = 0; x < width; x += lanes) {
    if (x >= 2 && x + lanes + 2 <= width) {
      hn::StoreU(take(x, [&](const T* from, std::ptrdiff_t at) { return hn::LoadU(d, from + at); }), d, dst + x);
    } else {
      storeWithin(take(x, [&](const T* from, std::ptrdiff_t at) { return loadWithin(d, from, at, width); }), d, dst,
                  x, width);
    }
  }
}

template <ChamferMoves kMoves, class T>
void allRows(const std::uint8_t* src, int srcStep, T* dst, int dstStep, RvpiSize size, const ChamferMask& mask) {
  for (std::ptrdiff_t y = 0; y < size.height; ++y) {
    T* dstRow = row(dst, dstStep, y);
    alongRow(row(src, srcStep, y), dstRow, size.width, static_cast<T>(mask.axis));
    const T* second = y > 1 ? row(dst, dstStep, y - 2) : nullptr;
    if (y > 0) acrossRows<kMoves>(dstRow, row(dst, dstStep, y - 1), second, size.width, mask);
  }
  for (std::ptrdiff_t y = size.height - 2; y >= 0; --y) {
    const T* second = y < size.height - 2 ? row(dst, dstStep, y + 2) : nullptr;
    acrossRows<kMoves, T>(row(dst, dstStep, y), row(dst, dstStep, y + 1), second, size.width, mask);
  }
}

}  // namespace

template <class T>
void chamferNorm(const std::uint8_t* src, int srcStep, T* dst, int dstStep, RvpiSize size,
                 const ChamferMask& mask) {
  switch (mask.moves) {
    case ChamferMoves::axis:
      return allRows<ChamferMoves::axis>(src, srcStep, dst, dstStep, size, mask);
    case ChamferMoves::diagonal:
      return allRows<ChamferMoves::diagonal>(src, srcStep, dst, dstStep, size, mask);
    default:
      return allRows<ChamferMoves::knight>(src, srcStep, dst, dstStep, size, mask);
  }
}

template void chamferNorm(const std::uint8_t*, int, std::uint8_t*, int, RvpiSize, const ChamferMask&);
template void chamferNorm(const std::uint8_t*, int, std::uint16_t*, int, RvpiSize, const ChamferMask&);

}  // namespace rvp::n8
