// Products of derivatives and their sums over a window, pixel by pixel from the formulas.
#pragma once

#include <array>

#include "support/bordered.h"
#include "support/derivatives.h"
#include "support/sweep.h"

namespace test {

// dx * dx, dx * dy, dy * dy at one place.
template <class T>
std::array<float, 3> productsAt(const Bordered<T>& image, const DerivativeMask& mask, int signX, int signY, int x,
                                int y) {
  const auto [dx, dy] = derivativesAt(image, mask, x, y);
  // A derivative of equal pixels is +0, whichever is taken from which.
  const auto fx = static_cast<float>(signX * dx + 0.0), fy = static_cast<float>(signY * dy + 0.0);
  return {fx * fx, fx * fy, fy * fy};
}

// The products of a region. Beyond it, on a side in memory: products made there, or the nearest of the region.
template <class T>
class Products {
 public:
  Products(const Bordered<T>& image, const DerivativeMask& mask, int signX, int signY, int reach, bool madeBeyond)
      : image_(image), reach_(reach), madeBeyond_(madeBeyond) {
    const int left = from(rvpBorderInMemLeft), right = from(rvpBorderInMemRight);
    const int top = from(rvpBorderInMemTop), bottom = from(rvpBorderInMemBottom);
    for (Plane<float>& plane : planes_) plane = Plane<float>(image.width() + 2 * reach, image.height() + 2 * reach);
    for (int y = -top; y < image.height() + bottom; ++y) {
      for (int x = -left; x < image.width() + right; ++x) {
        const auto products = productsAt(image, mask, signX, signY, x, y);
        for (std::size_t k = 0; k < 3; ++k) planes_[k].at(y + reach, x + reach) = products[k];
      }
    }
  }

  float at(std::size_t k, int x, int y) const {
    const int px = place(x, image_.width(), rvpBorderInMemLeft, rvpBorderInMemRight);
    const int py = place(y, image_.height(), rvpBorderInMemTop, rvpBorderInMemBottom);
    if (px == kZero || py == kZero) return 0.0f;
    return planes_[k].at(py + reach_, px + reach_);
  }

 private:
  static constexpr int kZero = -1000000;
  int from(int flag) const { return madeBeyond_ && image_.inMemory(flag) ? reach_ : 0; }
  int place(int i, int n, int before, int behind) const {
    if (i >= 0 && i < n) return i;
    if (image_.inMemory(i < 0 ? before : behind)) return madeBeyond_ ? i : i < 0 ? 0 : n - 1;
    const int mode = image_.border & 15;
    return mode == rvpBorderConst ? kZero : standIn(mode, i, n);
  }

  const Bordered<T>& image_;
  int reach_;
  bool madeBeyond_;
  std::array<Plane<float>, 3> planes_;
};

// Whole numbers from 0 to `limit` - 1 in either type.
template <class T>
Bordered<T> wholeNumberImage(const Shape& shape, int margin, RvpiBorderType border, int limit) {
  const Plane<std::uint16_t> bits =
      randomPlane<std::uint16_t>(shape.width + 2 * margin, shape.height + 2 * margin, shape.seed);
  const auto pixels = changed<T>(bits, [=](std::uint16_t b) { return b / 7 % limit; });
  return {pixels, margin, border, static_cast<T>(limit / 2)};
}

}  // namespace test
