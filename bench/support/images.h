// Pixels to measure on: photographs, noise and masks, the same in every run.
#pragma once

#include <cstddef>
#include <cstdint>
#include <opencv2/core.hpp>

#include "rvpcv/types.h"

namespace rvp::bench {

enum class Photo { kAstronaut, kCoffee, kChelsea };

// A photograph of the size and OpenCV type asked for. It is cut where it is too large and mirrored on and on where
// it is too small, which keeps its texture. Depths: 8-bit as in the file; 16-bit with noise in the low byte; float
// from the 16-bit picture, 0 to 255. No pixel is 0, so that a running average that is fed the same frame for ever
// does not sink into denormal numbers.
cv::Mat photograph(Photo photo, cv::Size size, int type);

// Uniform noise over the range of an integer type, or 0 to 255 of a float type.
cv::Mat noise(cv::Size size, int type, std::uint64_t seed);

// 255 where a photograph is brighter than its median and 0 elsewhere: connected shapes, about half of the pixels.
cv::Mat halfMask(Photo photo, cv::Size size);

// The library's arguments for a matrix.
template <class T>
T* pixels(const cv::Mat& image) {
  return reinterpret_cast<T*>(image.data);
}
inline int step(const cv::Mat& image) { return static_cast<int>(image.step[0]); }
inline RvpiSize regionSize(const cv::Mat& image) { return {image.cols, image.rows}; }

}  // namespace rvp::bench
