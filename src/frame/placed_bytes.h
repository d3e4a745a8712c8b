// Bytes spread over wider lanes: a pixel of a byte image or a mask that goes with a vector of 32-bit or 64-bit
// lanes.
#pragma once

#include <array>
#include <cstdint>
#include <cstring>

#include "frame/simd.h"

namespace rvp::n8 {

// For each byte of a vector, which of the bytes in memory it is.
using BytePlaces = std::array<std::uint8_t, hn::MaxLanes(hn::ScalableTag<std::uint8_t>())>;
// The place of a zero.
inline constexpr std::uint8_t kNoByte = 0x80;

// Reads a quarter of a vector's bytes and puts them where `places`, which must be aligned, wants them.
HWY_INLINE hn::Vec<hn::ScalableTag<std::uint8_t>> placedBytes(const std::uint8_t* src, const BytePlaces& places) {
  const hn::ScalableTag<std::uint8_t> d;
  const auto from = hn::Load(d, places.data());
  if constexpr (hn::MaxLanes(d) == 16) {
    return hn::TableLookupBytesOr0(hn::LoadU(hn::CappedTag<std::uint8_t, 4>(), src), from);
  } else {
    // Bytes are placed within blocks of 16, so each block gets all of them.
    std::uint64_t bytes = 0;
    std::memcpy(&bytes, src, sizeof(bytes));
    return hn::TableLookupBytesOr0(hn::BitCast(d, hn::Set(hn::Repartition<std::uint64_t, decltype(d)>(), bytes)),
                                   from);
  }
}

}  // namespace rvp::n8
