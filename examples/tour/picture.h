// Images that own their pixels, and how they come from files and go into them.
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <optional>
#include <string>
#include <vector>

#include "rvpcv/types.h"

namespace tour {

// Rows without gaps, channels interleaved. data(), step() and size() are what the library asks for.
template <class T>
class Image {
 public:
  Image() = default;
  Image(int width, int height, int channels, T value = T{})
      : width_(width),
        height_(height),
        channels_(channels),
        pixels_(
            static_cast<std::size_t>(width) * static_cast<std::size_t>(height) * static_cast<std::size_t>(channels),
            value) {}

  int width() const { return width_; }
  int height() const { return height_; }
  int channels() const { return channels_; }
  RvpiSize size() const { return {width_, height_}; }
  int step() const { return width_ * channels_ * static_cast<int>(sizeof(T)); }

  std::vector<T>& elements() { return pixels_; }
  const std::vector<T>& elements() const { return pixels_; }
  T* data() { return pixels_.data(); }
  const T* data() const { return pixels_.data(); }
  T* at(int x, int y) { return data() + index(x, y); }
  const T* at(int x, int y) const { return data() + index(x, y); }

 private:
  std::ptrdiff_t index(int x, int y) const { return (static_cast<std::ptrdiff_t>(y) * width_ + x) * channels_; }

  int width_ = 0;
  int height_ = 0;
  int channels_ = 0;
  std::vector<T> pixels_;
};

// 8 bits, one channel (gray) or three (red, green, blue).
using Picture = Image<std::uint8_t>;
// One float a pixel.
using Plane = Image<float>;

// The sizes that are read: both sides at least 16 pixels, the longer at most 8000, the shorter at most 6000.
constexpr int kLeastSide = 16;
constexpr int kGreatestLongSide = 8000;
constexpr int kGreatestShortSide = 6000;

// Reads a PNG or JPEG file. Palettes are looked up, 16 bits become 8, and what is transparent is laid on white, and
// what a camera held sideways took is turned upright. Returns nothing if the file is no complete picture of a size
// that is read; `fault` then says why in a few words.
std::optional<Picture> loadPicture(const std::filesystem::path& path, std::string& fault);

// The bytes of a PNG file, without loss, and of a JPEG file; empty if memory is short.
std::string encodePng(const Picture& picture);
std::string encodeJpeg(const Picture& picture, int quality);

// The picture itself if its longer side has at most `longSide` pixels, otherwise its means over boxes, as small as
// that asks for but never with a side below kLeastSide.
Picture reduced(const Picture& picture, int longSide);

std::vector<Picture> splitChannels(const Picture& picture);
Picture mergeChannels(const std::vector<Picture>& planes);

// Any picture with three channels.
Picture inColour(const Picture& picture);

// Any picture with one channel: of colours the luma (ITU-R BT.601).
Picture inGray(const Picture& picture);

// Rounded to the nearest whole number and limited to 0..255.
inline std::uint8_t toByte(float value) {
  return static_cast<std::uint8_t>(std::clamp(value + 0.5f, 0.0f, 255.0f));
}

// Peak signal-to-noise ratio in decibels of two pictures of one size and number of channels.
double peakSignalToNoise(const Picture& picture, const Picture& reference);

}  // namespace tour
