// The state block of the FastN detector, and the circles it goes by.
#pragma once

#include <cstddef>
#include <cstdint>

#include "frame/checks.h"
#include "rvpcv/fastn.h"

namespace rvp::n8 {

// A circle's pixels as offsets from its centre, in order.
struct FastNCircle {
  int length;
  const RvpiPoint* points;
};

constexpr int kLongestCircle = 52;

// No points for a radius that there is no circle of.
FastNCircle circleOf(int radius);

// The block proper, which begins at a multiple of 8 behind the caller's first byte. That byte holds the distance, 1
// to 8. With orientations, behind the fields follow the sines, the cosines, and the scale from angles to bins.
struct FastNBlock {
  std::int32_t magic;
  std::int32_t dataType;
  std::int32_t numChannels;
  std::int32_t width;
  std::int32_t height;
  std::int32_t circleRadius;
  std::int32_t arcLength;
  std::int32_t orientationBins;
  std::int32_t options;
  float threshold;
  std::int32_t thresholdInt;
  const RvpiPoint* circle;

  bool has(RvpiFastNOption option) const { return (options & option) != 0; }
  float* floats() { return reinterpret_cast<float*>(this + 1); }
  const float* sines() const { return reinterpret_cast<const float*>(this + 1); }
  const float* cosines(int circleLength) const { return sines() + circleLength; }
  float binScale(int circleLength) const { return cosines(circleLength)[circleLength]; }
};
// With 8 bytes for each point of the circle, 4 for the scale and 8 to align it, the reported size.
static_assert(sizeof(FastNBlock) == 56);

constexpr std::int32_t kFastNMagic = 0x4B617390;

inline std::ptrdiff_t fastNBlockDistance(const RvpiFastNSpec* spec) {
  return 8 - static_cast<std::ptrdiff_t>(reinterpret_cast<std::uintptr_t>(spec) % 8);
}
inline const FastNBlock& fastNBlock(const RvpiFastNSpec* spec) {
  return *reinterpret_cast<const FastNBlock*>(reinterpret_cast<const char*>(spec) + fastNBlockDistance(spec));
}

// Whether Init has filled the block at this very place. No more than the smallest block is read.
inline RvpStatus badFastNSpec(const RvpiFastNSpec* spec) {
  const auto stored = std::ptrdiff_t{*reinterpret_cast<const std::uint8_t*>(spec)};
  return faultIf(stored != fastNBlockDistance(spec) || fastNBlock(spec).magic != kFastNMagic, rvpStatusBadSpec);
}

RvpStatus badFastNParameters(int circleRadius, int arcLength, int orientationBins, int options,
                             RvpDataType dataType, int numChannels);

inline RvpStatus badFastNParameters(const FastNBlock& block) {
  return badFastNParameters(block.circleRadius, block.arcLength, block.orientationBins, block.options,
                            block.dataType, block.numChannels);
}

}  // namespace rvp::n8
