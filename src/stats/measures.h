// Measures of a stream of pixels: the largest magnitude, the sum of magnitudes, the sum of squares.
//
// A measure takes its pixels by groups of kGroup<T>. Pixels that do not count are given to it as zeros, which
// change none of the three. Sums of integers are exact for any number of pixels. Sums of floats are formed in
// double, in an order that does not depend on the width of a vector: pixel i of a group is added to lane i mod 8,
// lanes take their pixels in the order of the stream, and in the end l0 to l7 are added as
// ((l0 + l4) + (l2 + l6)) + ((l1 + l5) + (l3 + l7)).
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <type_traits>

#include "frame/simd.h"

namespace rvp::n8 {

enum class NormKind { Inf, L1, L2 };

// Lanes of a sum of floats.
constexpr std::size_t kFloatLanes = 8;

template <class T>
using PixelTag = hn::ScalableTag<T>;
template <class T>
using Pixels = hn::Vec<PixelTag<T>>;

// Vectors and pixels of a group.
template <class T>
constexpr std::size_t kGroupVectors = std::is_same_v<T, float> ? kFloatLanes / hn::MaxLanes(PixelTag<T>()) : 1;
template <class T>
constexpr std::ptrdiff_t kGroup = static_cast<std::ptrdiff_t>(kGroupVectors<T>* hn::MaxLanes(PixelTag<T>()));

// A sum calls for its lanes to be emptied after at most this many groups.
constexpr std::ptrdiff_t kGroupsPerDrain = 4096;

// A sum of integers. With 64 bits it would be too short: 2^62 pixels of 16 bits have squares of up to 2^94.
using WideSum = unsigned __int128;

template <class V>
WideSum sumOfLanes(V v) {
  using D = hn::DFromV<V>;
  HWY_ALIGN hn::TFromD<D> lanes[hn::MaxLanes(D())];
  hn::Store(v, D(), lanes);
  WideSum sum = 0;
  for (const auto lane : lanes) sum += static_cast<WideSum>(lane);
  return sum;
}

// Sums of 16-bit numbers in lanes of 32 bits.
class ShortSum {
 public:
  // Twice 65535 a group: 4096 groups stay below 2^30.
  void add(Pixels<std::uint16_t> v) {
    const auto pair = hn::BitCast(d_, v);
    sums_ = hn::Add(sums_, hn::Add(hn::And(pair, hn::Set(d_, 0xFFFFU)), hn::ShiftRight<16>(pair)));
  }
  WideSum drain() {
    const WideSum sum = sumOfLanes(sums_);
    sums_ = hn::Zero(d_);
    return sum;
  }

 private:
  PixelTag<std::uint32_t> d_;
  Pixels<std::uint32_t> sums_ = hn::Zero(d_);
};

// A measure of integers. add() takes one group; drain() is due after kGroupsPerDrain groups and before value().
template <NormKind kNorm, class T>
class Measure;

template <class T>
requires std::is_integral_v<T>
class Measure<NormKind::Inf, T> {
 public:
  void add(std::size_t, Pixels<T> v) { largest_ = hn::Max(largest_, v); }
  void drain() {}
  double value() const {
    HWY_ALIGN T lanes[hn::MaxLanes(kTag)];
    hn::Store(largest_, kTag, lanes);
    return static_cast<double>(*std::max_element(std::begin(lanes), std::end(lanes)));
  }

 private:
  static constexpr PixelTag<T> kTag{};
  Pixels<T> largest_ = hn::Zero(kTag);
};

template <>
class Measure<NormKind::L1, std::uint8_t> {
 public:
  // A lane of 64 bits gets at most 8 * 255 a group.
  void add(std::size_t, Pixels<std::uint8_t> v) { sums_ = hn::Add(sums_, hn::SumsOf8(v)); }
  void drain() {
    total_ += sumOfLanes(sums_);
    sums_ = hn::Zero(PixelTag<std::uint64_t>());
  }
  double value() const { return static_cast<double>(total_); }

 private:
  Pixels<std::uint64_t> sums_ = hn::Zero(PixelTag<std::uint64_t>());
  WideSum total_ = 0;
};

template <>
class Measure<NormKind::L2, std::uint8_t> {
 public:
  // A lane of 32 bits gets four squares a group: 4096 * 4 * 255^2 is below 2^30.
  void add(std::size_t, Pixels<std::uint8_t> v) {
    const auto zero = hn::Zero(PixelTag<std::uint8_t>());
    const PixelTag<std::int16_t> d16;
    const auto lower = hn::BitCast(d16, hn::InterleaveLower(PixelTag<std::uint8_t>(), v, zero));
    const auto upper = hn::BitCast(d16, hn::InterleaveUpper(PixelTag<std::uint8_t>(), v, zero));
    auto unused = hn::Zero(d_);
    sums_ = hn::ReorderWidenMulAccumulate(d_, lower, lower, sums_, unused);
    sums_ = hn::ReorderWidenMulAccumulate(d_, upper, upper, sums_, unused);
  }
  void drain() {
    total_ += sumOfLanes(sums_);
    sums_ = hn::Zero(d_);
  }
  double value() const { return static_cast<double>(total_); }

 private:
  PixelTag<std::int32_t> d_;
  Pixels<std::int32_t> sums_ = hn::Zero(d_);
  WideSum total_ = 0;
};

template <>
class Measure<NormKind::L1, std::uint16_t> {
 public:
  void add(std::size_t, Pixels<std::uint16_t> v) { sum_.add(v); }
  void drain() { total_ += sum_.drain(); }
  double value() const { return static_cast<double>(total_); }

 private:
  ShortSum sum_;
  WideSum total_ = 0;
};

// A square of 16 bits is 65536 * upper + lower, and both halves are summed apart.
template <>
class Measure<NormKind::L2, std::uint16_t> {
 public:
  void add(std::size_t, Pixels<std::uint16_t> v) {
    lower_.add(hn::Mul(v, v));
    upper_.add(hn::MulHigh(v, v));
  }
  void drain() { total_ += (upper_.drain() << 16U) + lower_.drain(); }
  double value() const { return static_cast<double>(total_); }

 private:
  ShortSum lower_;
  ShortSum upper_;
  WideSum total_ = 0;
};

// Floats as doubles: the lower and the upper half of a vector.
struct WideFloats {
  using Tag = hn::ScalableTag<double>;
  hn::Vec<Tag> lower;
  hn::Vec<Tag> upper;
};

inline WideFloats widened(Pixels<float> v) {
  const WideFloats::Tag d;
  const PixelTag<float> df;
  return {hn::PromoteTo(d, hn::LowerHalf(v)), hn::PromoteTo(d, hn::UpperHalf(hn::Half<decltype(df)>(), v))};
}
// Floats from memory need not be moved from the upper half to the lower one.
inline WideFloats widened(const float* pixels) {
  const WideFloats::Tag d;
  const hn::Rebind<float, WideFloats::Tag> df;
  return {hn::PromoteTo(d, hn::LoadU(df, pixels)), hn::PromoteTo(d, hn::LoadU(df, pixels + hn::MaxLanes(df)))};
}

// A measure of floats, which takes one vector of a group after the other.
template <NormKind kNorm>
class Measure<kNorm, float> {
 public:
  Measure() { std::fill(std::begin(lanes_), std::end(lanes_), hn::Zero(kTag)); }
  void add(std::size_t vector, WideFloats v) {
    addTo(lanes_[2 * vector], v.lower);
    addTo(lanes_[2 * vector + 1], v.upper);
  }
  void drain() {}
  double value() const {
    HWY_ALIGN double l[kFloatLanes];
    for (std::size_t i = 0; i < kVectors; ++i) hn::Store(lanes_[i], kTag, l + i * hn::MaxLanes(kTag));
    if constexpr (kNorm == NormKind::Inf) return *std::max_element(std::begin(l), std::end(l));
    return ((l[0] + l[4]) + (l[2] + l[6])) + ((l[1] + l[5]) + (l[3] + l[7]));
  }

 private:
  static constexpr WideFloats::Tag kTag{};
  static constexpr std::size_t kVectors = kFloatLanes / hn::MaxLanes(kTag);
  using Lanes = hn::Vec<WideFloats::Tag>;

  static void addTo(Lanes& lanes, Lanes v) {
    if constexpr (kNorm == NormKind::Inf) {
      // Of a number and NaN this Max gives its second operand, so that a NaN is passed over.
      lanes = hn::Max(hn::Abs(v), lanes);
    } else if constexpr (kNorm == NormKind::L1) {
      lanes = hn::Add(lanes, hn::Abs(v));
    } else {
      lanes = hn::Add(lanes, hn::Mul(v, v));
    }
  }

  Lanes lanes_[kVectors];
};

// What is measured of a pixel, or of the difference of two: for integers the magnitude, for floats the exact value
// or the difference rounded to double.
template <class V>
V term(V a) {
  return a;
}
template <class V>
V term(V a, V b) {
  return hn::Or(hn::SaturatedSub(a, b), hn::SaturatedSub(b, a));
}
inline WideFloats term(WideFloats a) { return a; }
inline WideFloats term(WideFloats a, WideFloats b) {
  return {hn::Sub(a.lower, b.lower), hn::Sub(a.upper, b.upper)};
}

}  // namespace rvp::n8
