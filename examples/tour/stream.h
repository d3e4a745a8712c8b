// A stream of frames made from one photograph: a camera that shakes and hisses, the same on every run and machine.
#pragma once

#include <cstdint>

#include "picture.h"

namespace tour {

// Random numbers from a counter (the SplitMix64 sequence of Steele, Lea and Flood, 2014).
class Random {
 public:
  explicit Random(std::uint64_t seed) : state_(seed) {}
  std::uint64_t next() {
    state_ += 0x9e3779b97f4a7c15u;
    std::uint64_t z = state_;
    z = (z ^ (z >> 30)) * 0xbf58476d1ce4e5b9u;
    z = (z ^ (z >> 27)) * 0x94d049bb133111ebu;
    return z ^ (z >> 31);
  }

  // A whole number from -limit to limit.
  int within(int limit) { return static_cast<int>(next() % static_cast<std::uint64_t>(2 * limit + 1)) - limit; }

  // Close to a normal distribution of mean 0 and deviation 1: the sum of four even ones.
  float normal() {
    const std::uint64_t bits = next();
    const auto sum =
        static_cast<int>((bits & 0xffff) + (bits >> 16 & 0xffff) + (bits >> 32 & 0xffff) + (bits >> 48));
    // Each of the four has the mean 65535 / 2 and, but for a part in 2^32, the variance 65536^2 / 12.
    constexpr float kScale = 1.7320508f / 65536.0f;
    return static_cast<float>(sum - 2 * 65535) * kScale;
  }

 private:
  std::uint64_t state_;
};

struct NoisyStream {
  int shift;           // A frame is moved by up to so many pixels in each direction.
  float noise;         // Standard deviation of the noise, in gray levels.
  std::uint64_t seed;  // Frame k is made from seed and k alone.

  // The photograph moved, its edge pixels repeated where it leaves the frame, and noise added.
  Picture frame(const Picture& photograph, int index) const;
};

}  // namespace tour
