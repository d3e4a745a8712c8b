// Separable filters. A pass down the columns adds up rows with weights; so does a pass along the rows, as a row
// read from its second column on is a row like any other. One sum of weighted rows is therefore all that a filter
// needs, whatever its mask and direction.
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <type_traits>

#include "frame/simd.h"

namespace rvp::n8 {

// The weights of one direction: an odd number of them, either symmetric about the centre or antisymmetric.
template <int... kWeight>
struct Weights {
  static constexpr int kCount = sizeof...(kWeight);
  static constexpr int kCentre = kCount / 2;
  static constexpr int kAt[sizeof...(kWeight)] = {kWeight...};
  static constexpr bool kAntisymmetric = kAt[kCentre] == 0;
  static_assert(kCount % 2 == 1);
  static_assert((kAt[0] == kAt[kCount - 1]) != (kAntisymmetric && kAt[kCount - 1] != 0));
};

// Elements of a row in the arithmetic of the filter: as they are, or bytes as 16-bit integers.
template <class D, class T>
HWY_INLINE hn::VFromD<D> loadAs(D d, const T* src) {
  if constexpr (std::is_same_v<hn::TFromD<D>, T>) {
    return hn::LoadU(d, src);
  } else {
    return hn::PromoteTo(d, hn::LoadU(hn::Rebind<T, D>(), src));
  }
}

template <int kWeight, class D>
HWY_INLINE hn::VFromD<D> weighted(D d, hn::VFromD<D> v) {
  if constexpr (kWeight == 1) return v;
  if constexpr (kWeight == 2) return hn::Add(v, v);
  return hn::Mul(v, hn::Set(d, static_cast<hn::TFromD<D>>(kWeight)));
}

// The weighted sum of rows, where load(i) gives row i's lanes: the centre first, then from the inside outwards each
// pair of rows of the same weight. For five rows that is (r2 w2 + (r1 + r3) w1) + (r0 + r4) w0; in the
// antisymmetric case (r3 - r1) w3 + (r4 - r0) w4.
template <class W, class D, class Load>
HWY_INLINE hn::VFromD<D> weightedSum(D d, const Load& load) {
  constexpr int kCentre = W::kCentre;
  const auto pair = [&](auto distance) {
    constexpr int kDistance = distance();
    constexpr int kWeight = W::kAt[kCentre + kDistance];
    const auto before = load(kCentre - kDistance), behind = load(kCentre + kDistance);
    if constexpr (!W::kAntisymmetric) {
      return weighted<kWeight>(d, hn::Add(before, behind));
    } else if constexpr (kWeight < 0) {
      return weighted<-kWeight>(d, hn::Sub(before, behind));
    } else {
      return weighted<kWeight>(d, hn::Sub(behind, before));
    }
  };
  using std::integral_constant;
  if constexpr (W::kAntisymmetric) {
    auto sum = pair(integral_constant<int, 1>());
    if constexpr (kCentre == 2) sum = hn::Add(sum, pair(integral_constant<int, 2>()));
    return sum;
  } else {
    auto sum = weighted<W::kAt[kCentre]>(d, load(kCentre));
    if constexpr (kCentre >= 1 && W::kAt[0] != 0) {
      sum = hn::Add(sum, pair(integral_constant<int, 1>()));
      if constexpr (kCentre == 2) sum = hn::Add(sum, pair(integral_constant<int, 2>()));
    }
    return sum;
  }
}

// The plain sum of kCount rows in ascending order.
template <int kCount, class Load>
HWY_INLINE auto ascendingSum(const Load& load) {
  auto sum = load(0);
  for (int i = 1; i < kCount; ++i) sum = hn::Add(sum, load(i));
  return sum;
}

// Calls body(x, n) for the columns first to last - 1 in stretches of at most kStretch: what a filter keeps of one
// stretch fits on the stack and in the first cache.
constexpr std::ptrdiff_t kStretch = 512;

template <class Body>
void forStretches(std::ptrdiff_t first, std::ptrdiff_t last, const Body& body) {
  for (std::ptrdiff_t x = first; x < last; x += kStretch) body(x, std::min(kStretch, last - x));
}

}  // namespace rvp::n8
