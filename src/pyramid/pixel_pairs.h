// Pixels of even and of odd number, counted from 0: taken apart, side by side, and put together. All of this writes
// and reads up to kPairSlack elements behind a row.
#pragma once

#include <cstddef>
#include <cstdint>
#include <type_traits>

#include "frame/simd.h"

namespace rvp::n8 {

constexpr std::ptrdiff_t kPairSlack = 16;

// Copies pixels of even number, as many as said, to one row, and those that follow each to another: 16-bit words as
// 32-bit integers, floats as they are.
template <int kChannels, class T, class Lane>
void splitPixels(const T* src, std::ptrdiff_t pairs, Lane* even, Lane* odd) {
  static_assert(sizeof(Lane) == 4);
  if constexpr (kChannels == 3) {
    const hn::CappedTag<Lane, 4> d;
    const hn::Rebind<T, decltype(d)> dSrc;
    const auto widened = [&](const T* at) {
      if constexpr (std::is_same_v<T, Lane>) {
        return hn::LoadU(d, at);
      } else {
        return hn::PromoteTo(d, hn::LoadU(dSrc, at));
      }
    };
    for (std::ptrdiff_t i = 0; i < pairs; ++i) {
      hn::StoreU(widened(src + 6 * i), d, even + 3 * i);
      hn::StoreU(widened(src + 6 * i + 3), d, odd + 3 * i);
    }
  } else if constexpr (std::is_same_v<T, float>) {
    const hn::ScalableTag<float> d;
    const auto lanes = static_cast<std::ptrdiff_t>(hn::Lanes(d));
    std::ptrdiff_t i = 0;
    for (; i + lanes <= pairs; i += lanes) {
      const auto low = hn::LoadU(d, src + 2 * i);
      const auto high = hn::LoadU(d, src + 2 * i + lanes);
      hn::StoreU(hn::ConcatEven(d, high, low), d, even + i);
      hn::StoreU(hn::ConcatOdd(d, high, low), d, odd + i);
    }
    for (; i < pairs; ++i) {
      even[i] = src[2 * i];
      odd[i] = src[2 * i + 1];
    }
  } else {
    forVectors<std::uint32_t>(0, pairs, [&](auto d, std::ptrdiff_t i) {
      const hn::Repartition<T, decltype(d)> dSrc;
      const hn::RebindToSigned<decltype(d)> dLane;
      const auto both = hn::BitCast(d, hn::LoadU(dSrc, src + 2 * i));
      hn::StoreU(hn::BitCast(dLane, hn::And(both, hn::Set(d, 0xFFFF))), dLane, even + i);
      hn::StoreU(hn::BitCast(dLane, hn::ShiftRight<16>(both)), dLane, odd + i);
    });
  }
}

// Pairs of pixels with three bytes become three pairs of bytes.
inline void pairBytes(const std::uint8_t* src, std::ptrdiff_t pairs, std::uint8_t* dst) {
  alignas(16) static constexpr std::uint8_t kTurns[16] = {0, 3, 1, 4, 2, 5, 6, 9, 7, 10, 8, 11, 12, 12, 12, 12};
  const hn::FixedTag<std::uint8_t, 16> d;
  const auto shuffle = hn::Load(d, kTurns);
  for (std::ptrdiff_t i = 0; i < pairs; i += 2)
    hn::StoreU(hn::TableLookupBytes(hn::LoadU(d, src + 6 * i), shuffle), d, dst + 6 * i);
}

}  // namespace rvp::n8
