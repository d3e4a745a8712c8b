// Sums of products over a part of a window.
#pragma once

#include <cstddef>
#include <cstdint>
#include <type_traits>

#include "frame/simd.h"
#include "pyramid/flow_windows.h"

namespace rvp::n8 {

// kCount sums of products, taken up a vector of each at a time.
template <class T, int kCount>
class ProductSums;

// Exact: two products of a lane come to less than 2^31, as neither factor passes 32640. Their high and low halves
// are added apart.
template <int kCount>
class ProductSums<std::int16_t, kCount> {
 public:
  using D = hn::ScalableTag<std::int16_t>;

  HWY_INLINE ProductSums() { clear(); }

  HWY_INLINE void add(const hn::Vec<D> (&a)[kCount], const hn::Vec<D> (&b)[kCount]) {
    auto unused = hn::Zero(D32());
    for (int i = 0; i < kCount; ++i) {
      const auto pairs = hn::ReorderWidenMulAccumulate(D32(), a[i], b[i], hn::Zero(D32()), unused);
      high_[i] = hn::Add(high_[i], hn::ShiftRight<16>(pairs));
      low_[i] = hn::Add(low_[i], hn::And(pairs, hn::Set(D32(), 0xFFFF)));
    }
    if (++added_ == kMostAdded) empty();
  }

  HWY_INLINE void finish(double (&sums)[kCount]) {
    empty();
    for (int i = 0; i < kCount; ++i) sums[i] = static_cast<double>(exact_[i]);
  }

 private:
  using D32 = hn::RepartitionToWide<D>;
  // The low halves of up to 8 lanes then stay below 8 * 2^11 * 2^16 = 2^30.
  static constexpr int kMostAdded = 1 << 11;

  HWY_INLINE void clear() {
    added_ = 0;
    for (int i = 0; i < kCount; ++i) high_[i] = low_[i] = hn::Zero(D32());
  }

  HWY_INLINE void empty() {
    const auto total = [](hn::Vec<D32> v) { return std::int64_t{hn::GetLane(hn::SumOfLanes(D32(), v))}; };
    // A window has fewer than 2^31 pixels.
    for (int i = 0; i < kCount; ++i) exact_[i] += total(high_[i]) * 65536 + total(low_[i]);
    clear();
  }

  hn::Vec<D32> high_[kCount], low_[kCount];
  int added_;
  std::int64_t exact_[kCount] = {};
};

// In double, four columns apart, whatever the width of a vector.
template <int kCount>
class ProductSums<float, kCount> {
 public:
  using D = hn::CappedTag<float, 4>;

  HWY_INLINE ProductSums() {
    for (auto& sums : sums_) {
      for (auto& sum : sums) sum = hn::Zero(D64());
    }
  }

  HWY_INLINE void add(const hn::Vec<D> (&a)[kCount], const hn::Vec<D> (&b)[kCount]) {
    for (int i = 0; i < kCount; ++i) {
      sums_[i][0] = sums_[i][0] + lower(a[i]) * lower(b[i]);
      if constexpr (kVectors == 2) sums_[i][1] = sums_[i][1] + upper(a[i]) * upper(b[i]);
    }
  }

  HWY_INLINE void finish(double (&sums)[kCount]) const {
    for (int i = 0; i < kCount; ++i) {
      double columns[4];
      for (std::ptrdiff_t k = 0; k < kVectors; ++k) hn::StoreU(sums_[i][k], D64(), columns + k * kLanes);
      sums[i] = (columns[0] + columns[1]) + (columns[2] + columns[3]);
    }
  }

 private:
  using D64 = hn::CappedTag<double, 4>;
  static constexpr auto kLanes = static_cast<std::ptrdiff_t>(hn::MaxLanes(D64()));
  static constexpr std::ptrdiff_t kVectors = 4 / kLanes;

  template <class V>
  static HWY_INLINE auto lower(V v) {
    if constexpr (kVectors == 1)
      return hn::PromoteTo(D64(), v);
    else
      return hn::PromoteTo(D64(), hn::LowerHalf(v));
  }
  template <class V>
  static HWY_INLINE auto upper(V v) {
    return hn::PromoteTo(D64(), hn::UpperHalf(hn::Rebind<float, D64>(), v));
  }

  hn::Vec<D64> sums_[kCount][kVectors];
};

// kCount sums over a part of windows of side `side`. factors(at, load, a, b) loads the factors of each product's
// pixels from element `at` of the windows on. Up to 15 elements behind the windows' last are read; they do not
// count.
template <class T, int kCount, class Factors>
HWY_INLINE void sumOverPart(const WindowPart& part, int side, const Factors& factors, double (&sums)[kCount]) {
  ProductSums<T, kCount> products;
  const typename decltype(products)::D d;
  constexpr auto kLanes = static_cast<std::ptrdiff_t>(hn::MaxLanes(d));
  hn::Vec<decltype(d)> a[kCount], b[kCount];
  std::ptrdiff_t rows = part.bottom - part.top + 1;
  std::ptrdiff_t columns = part.right - part.left + 1;
  std::ptrdiff_t at = std::ptrdiff_t{part.top} * side + part.left;
  // Where the order does not count, rows without a gap are one.
  if (!std::is_same_v<T, float> && columns == side) {
    columns *= rows;
    rows = 1;
  }
  for (; rows > 0; --rows, at += side) {
    std::ptrdiff_t x = 0;
    for (; x <= columns - kLanes; x += kLanes) {
      factors(
          at + x, [d](const T* p) { return hn::LoadU(d, p); }, a, b);
      products.add(a, b);
    }
    if (x < columns) {
      const auto counts = hn::FirstN(d, static_cast<std::size_t>(columns - x));
      factors(
          at + x, [=](const T* p) { return hn::IfThenElseZero(counts, hn::LoadU(d, p)); }, a, b);
      products.add(a, b);
    }
  }
  products.finish(sums);
}

}  // namespace rvp::n8
