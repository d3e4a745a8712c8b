// Tests on the pixels of a row, a block at a time. What a test says of a block's pixels becomes a word with one bit
// for each pixel, the first pixel's lowest, in which runs are found by counting bits.
#pragma once

#include <algorithm>
#include <array>
#include <bit>
#include <cstddef>
#include <cstdint>
#include <cstring>

#include "frame/simd.h"

namespace rvp::n8 {

using PixelBits = std::uint32_t;

// The lowest `count` bits, of 0 to 32.
constexpr PixelBits lowBits(std::ptrdiff_t count) {
  return static_cast<PixelBits>((std::uint64_t{1} << count) - 1);
}

// Every kStride-th of the bits, side by side. Each step of the plain form joins pairs of groups, which are twice as
// long after it.
template <int kStride, int kCount>
PixelBits everyBit(std::uint64_t bits) {
  if constexpr (kStride == 1) {
    return static_cast<PixelBits>(bits);
  } else {
    constexpr auto groups = [](int length) {
      std::uint64_t mask = 0;
      for (int i = 0; i < kCount; ++i) mask |= std::uint64_t{1} << (i / length * length * kStride + i % length);
      return mask;
    };
#ifdef __BMI2__
    return static_cast<PixelBits>(_pext_u64(bits, groups(1)));
#else
    constexpr auto kMasks = [groups] {
      std::array<std::uint64_t, 6> masks{};
      for (std::size_t k = 0; k < masks.size(); ++k) masks[k] = groups(1 << k);
      return masks;
    }();
    bits &= kMasks[0];
    for (std::size_t k = 0; (1 << k) < kCount; ++k) bits = (bits | bits >> ((kStride - 1) << k)) & kMasks[k + 1];
    return static_cast<PixelBits>(bits);
#endif
  }
}

// A block: whole pixels, whole vectors of 16 bytes, at most 64 bytes and 32 pixels.
template <class T, int kChannels>
struct PixelBlock {
  static constexpr int kPixelBytes = static_cast<int>(sizeof(T)) * kChannels;
  static constexpr int kBytes = kChannels == 3 ? 48 : kPixelBytes == 1 ? 32 : 64;
  static constexpr int kPixels = kBytes / kPixelBytes;
  static constexpr int kElements = kBytes / static_cast<int>(sizeof(T));

  // One pixel again and again.
  struct Pattern {
    alignas(32) T at[kElements];
    explicit Pattern(const T* pixel) {
      for (int i = 0; i < kElements; ++i) at[i] = pixel[i % kChannels];
    }
  };

  // The pixels of a whole block that pass: all their elements do.
  template <class Test>
  static PixelBits ofBlock(const Test& test, const T* candidate, const T* neighbour) {
    std::uint64_t bytes = 0;
    int i = 0;
    const auto take = [&](auto d) {
      constexpr int kLanes = static_cast<int>(hn::MaxLanes(d));
      for (; i + kLanes <= kElements; i += kLanes) {
        const auto passed = test(d, hn::LoadU(d, candidate + i), hn::LoadU(d, neighbour + i), i);
        bytes |= std::uint64_t{byteBits(hn::VecFromMask(d, passed))} << (i * static_cast<int>(sizeof(T)));
      }
    };
    take(hn::ScalableTag<T>());
    take(hn::FixedTag<T, 16 / sizeof(T)>());
    if constexpr (kChannels == 3) bytes &= bytes >> sizeof(T) & bytes >> (2 * sizeof(T));
    return everyBit<kPixelBytes, kPixels>(bytes);
  }

  // The pixels that pass among the first of a block. Both pointers have `before` pixels of their rows before them
  // and `ahead`, 1 or more, from there on; nothing else is read. Bits of pixels that are not there are 0.
  template <class Test>
  static PixelBits of(const Test& test, const T* candidate, const T* neighbour, std::ptrdiff_t before,
                      std::ptrdiff_t ahead) {
    if (ahead >= kPixels) [[likely]]
      return ofBlock(test, candidate, neighbour);
    const std::ptrdiff_t missing = kPixels - ahead;
    if (before >= missing)
      return ofBlock(test, candidate - missing * kChannels, neighbour - missing * kChannels) >> missing;
    T candidates[kElements] = {};
    T neighbours[kElements] = {};
    std::copy_n(candidate, ahead * kChannels, candidates);
    std::copy_n(neighbour, ahead * kChannels, neighbours);
    return ofBlock(test, candidates, neighbours) & lowBits(ahead);
  }

  // Paints `count` pixels, 1 or more.
  static void paint(T* first, std::ptrdiff_t count, const Pattern& colour) {
    if (count < kPixels) {
      paintFew<kPixels / 2>(first, count, colour);
      return;
    }
    std::ptrdiff_t at = 0;
    for (; at + kPixels < count; at += kPixels) std::memcpy(first + at * kChannels, colour.at, kBytes);
    std::memcpy(first + (count - kPixels) * kChannels, colour.at, kBytes);
  }

 private:
  // From kHalf to 2 * kHalf pixels in two strokes, which may overlap.
  template <int kHalf>
  static void paintFew(T* first, std::ptrdiff_t count, const Pattern& colour) {
    if constexpr (kHalf > 0) {
      if (count < kHalf) {
        paintFew<kHalf / 2>(first, count, colour);
      } else {
        std::memcpy(first, colour.at, kHalf * kPixelBytes);
        std::memcpy(first + (count - kHalf) * kChannels, colour.at, kHalf * kPixelBytes);
      }
    }
  }
};

template <class T, int kChannels>
using PatternOf = typename PixelBlock<T, kChannels>::Pattern;

}  // namespace rvp::n8
