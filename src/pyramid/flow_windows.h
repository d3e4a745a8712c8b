// The windows of a tracker: read between the pixels of an image, differentiated, and summed up.
#pragma once

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <type_traits>

#include "filter/border.h"
#include "frame/views.h"
#include "rvpcv/types.h"

namespace rvp::n8 {

template <class T>
struct FlowImage {
  const T* first;
  int step;
  RvpiSize size;
};

// Pixels of a window that count: columns left to right and rows top to bottom, all of them included.
struct WindowPart {
  int left, top, right, bottom;

  bool empty() const { return left > right || top > bottom; }
  bool operator==(const WindowPart& other) const {
    return left == other.left && top == other.top && right == other.right && bottom == other.bottom;
  }
  WindowPart cut(const WindowPart& other) const {
    return {std::max(left, other.left), std::max(top, other.top), std::min(right, other.right),
            std::min(bottom, other.bottom)};
  }
};

// Where a window's first pixel lies: between which pixels, and how far between them.
struct WindowPlace {
  int x, y;
  double a, b;
};

// Of a window of side `side` around `centre`. False where the place is no number, or beyond all images.
inline bool placeWindow(RvpiPoint32f centre, int side, WindowPlace& place) {
  constexpr double kFar = 1 << 30;
  const double half = (side - 1) * 0.5;
  const double x = static_cast<double>(centre.x) - half;
  const double y = static_cast<double>(centre.y) - half;
  if (!(std::abs(x) < kFar && std::abs(y) < kFar)) return false;
  place.x = static_cast<int>(std::floor(x));
  place.y = static_cast<int>(std::floor(y));
  place.a = x - place.x;
  place.b = y - place.y;
  return true;
}

// What of a window lies between the centres of an image's outermost pixels.
inline WindowPart insidePart(const WindowPlace& place, int side, RvpiSize size) {
  // In 64 bits: a row of 2^31 - 1 pixels may begin 2^30 pixels to the right of the window.
  const auto last = [side](std::ptrdiff_t pixels, int first, double between) {
    return static_cast<int>(std::min<std::ptrdiff_t>(side - 1, pixels - 1 - first - (between > 0 ? 1 : 0)));
  };
  return {std::max(0, -place.x), std::max(0, -place.y), last(size.width, place.x, place.a),
          last(size.height, place.y, place.b)};
}

// The weights of four neighbours: float, or whole numbers with the sum 2^kWeightBits.
constexpr int kWeightBits = 14;

template <class Dst>
struct BilinearWeights {
  using T = std::conditional_t<std::is_same_v<Dst, float>, float, std::int32_t>;
  T w00, w01, w10, w11;

  explicit BilinearWeights(const WindowPlace& place) {
    if constexpr (std::is_same_v<Dst, float>) {
      const auto a = static_cast<float>(place.a), b = static_cast<float>(place.b);
      w00 = (1 - a) * (1 - b);
      w01 = a * (1 - b);
      w10 = (1 - a) * b;
      w11 = a * b;
    } else {
      constexpr double kOne = 1 << kWeightBits;
      const auto whole = [](double weight) { return static_cast<std::int32_t>(weight * kOne + 0.5); };
      w00 = whole((1 - place.a) * (1 - place.b));
      w01 = whole(place.a * (1 - place.b));
      w10 = whole((1 - place.a) * place.b);
      w11 = (1 << kWeightBits) - w00 - w01 - w10;
    }
  }
};

// One row between two rows of pixels. Bytes get 7 fractional bits: at most 255 * 128 = 32640. The weights' absolute
// sum is at most 2^14 + 4, so no sum passes 2^31.
template <class Src, class Dst>
void interpolateRow(const Src* above, const Src* below, const BilinearWeights<Dst>& w, Dst* dst, int n) {
  for (int x = 0; x < n; ++x) {
    const auto sum = above[x] * w.w00 + above[x + 1] * w.w01 + below[x] * w.w10 + below[x + 1] * w.w11;
    if constexpr (std::is_same_v<Dst, float>) {
      dst[x] = sum;
    } else {
      constexpr int kShift = std::is_same_v<Src, std::uint8_t> ? kWeightBits - 7 : kWeightBits;
      dst[x] = static_cast<Dst>((sum + (1 << (kShift - 1))) >> kShift);
    }
  }
}

// Reads a window of side `side`. `tile` has room for (side + 1)^2 pixels.
template <class Src, class Dst>
void readWindow(const FlowImage<Src>& image, const WindowPlace& place, int side, Dst* dst, int dstPitch,
                Src* tile) {
  const Src* src;
  int step = image.step;
  const bool inside =
      place.x >= 0 && place.y >= 0 && place.x < image.size.width - side && place.y < image.size.height - side;
  if (inside) {
    src = row(image.first, step, place.y) + place.x;
  } else {
    step = (side + 1) * static_cast<int>(sizeof(Src));
    const ExtendedImage<Src, 1> extended = {image.first, image.step, image.size, borderOf(rvpBorderRepl), nullptr};
    extended.readTile({place.x, place.y, side + 1, side + 1}, tile, step);
    src = tile;
  }
  const BilinearWeights<Dst> weights(place);
  for (int y = 0; y < side; ++y)
    interpolateRow(row(src, step, y), row(src, step, y + 1), weights,
                   dst + static_cast<std::ptrdiff_t>(y) * dstPitch, side);
}

// A window around a point, and which part of it lies inside; false where none does, and then it is not read.
template <class Src, class Dst>
bool ownGetRectSubpix(const FlowImage<Src>& image, RvpiPoint32f centre, int side, Dst* dst, int dstPitch, Src* tile,
                      WindowPart& inside) {
  WindowPlace place;
  if (!placeWindow(centre, side, place)) return false;
  inside = insidePart(place, side, image.size);
  if (inside.empty()) return false;
  readWindow(image, place, side, dst, dstPitch, tile);
  return true;
}

// Both derivatives of a window of side `side` that has a rim; `window` points to its first pixel inside the rim.
// The fixed-point sums pass neither 16 * 32640 = 522240 nor, shifted, 16320.
template <class T>
void ownOptConvolution_M7(const T* window, int pitch, int side, T* dx, T* dy, int dstPitch) {
  for (std::ptrdiff_t y = 0; y < side; ++y) {
    const T* mid = window + y * pitch;
    const T* top = mid - pitch;
    const T* bottom = mid + pitch;
    T* dxRow = dx + y * dstPitch;
    T* dyRow = dy + y * dstPitch;
    for (std::ptrdiff_t x = 0; x < side; ++x) {
      const auto across = [x](const T* line) { return line[x + 1] - line[x - 1]; };
      if constexpr (std::is_same_v<T, float>) {
        const auto smooth = [x](const T* line) {
          return line[x] * 0.3125f + (line[x - 1] + line[x + 1]) * 0.09375f;
        };
        dxRow[x] = across(mid) * 0.3125f + (across(top) + across(bottom)) * 0.09375f;
        dyRow[x] = smooth(bottom) - smooth(top);
      } else {
        const auto smooth = [x](const T* line) { return line[x] * 10 + (line[x - 1] + line[x + 1]) * 3; };
        dxRow[x] = static_cast<T>((across(mid) * 10 + (across(top) + across(bottom)) * 3 + 16) >> 5);
        dyRow[x] = static_cast<T>((smooth(bottom) - smooth(top) + 16) >> 5);
      }
    }
  }
}

// kCount sums over a part of a window, where body(y, x, products) gives each pixel's products. Whole numbers are
// added exactly: the products are below 2^31, and a window has fewer than 2^31 pixels.
template <class T, int kCount, class Product>
void sumOverPart(const WindowPart& part, const Product& product, double (&sums)[kCount]) {
  if constexpr (std::is_same_v<T, float>) {
    double lanes[kCount][4] = {};
    for (int y = part.top; y <= part.bottom; ++y) {
      for (int x = part.left; x <= part.right; ++x) {
        double products[kCount];
        product(y, x, products);
        for (int i = 0; i < kCount; ++i) lanes[i][(x - part.left) & 3] += products[i];
      }
    }
    for (int i = 0; i < kCount; ++i) sums[i] = (lanes[i][0] + lanes[i][1]) + (lanes[i][2] + lanes[i][3]);
  } else {
    std::int64_t exact[kCount] = {};
    for (int y = part.top; y <= part.bottom; ++y) {
      for (int x = part.left; x <= part.right; ++x) {
        std::int32_t products[kCount];
        product(y, x, products);
        for (int i = 0; i < kCount; ++i) exact[i] += products[i];
      }
    }
    for (int i = 0; i < kCount; ++i) sums[i] = static_cast<double>(exact[i]);
  }
}

}  // namespace rvp::n8
