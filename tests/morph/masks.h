// Structuring elements, erosion and dilation pixel by pixel as references, and images of bits.
#pragma once

#include <algorithm>
#include <cstdint>
#include <vector>

#include "rvpcv/types.h"
#include "support/bordered.h"
#include "support/calls.h"
#include "support/images.h"

namespace test {

struct Mask {
  int width;
  int height;
  std::vector<std::uint8_t> cells;
  bool turned = false;  // By half a circle, with its anchor.

  RvpiSize size() const { return {width, height}; }
  int anchorX() const { return turned ? width - 1 - (width - 1) / 2 : (width - 1) / 2; }
  int anchorY() const { return turned ? height - 1 - (height - 1) / 2 : (height - 1) / 2; }
  bool selects(int i, int j) const { return cells[static_cast<std::size_t>(i * width + j)] != 0; }
  bool isEmpty() const { return std::count(cells.begin(), cells.end(), 0) == width * height; }
  int reach() const { return std::max(width, height); }

  Mask reflected() const {
    Mask mask = *this;
    mask.turned = true;
    std::reverse(mask.cells.begin(), mask.cells.end());
    return mask;
  }
};

// Cells for which `select(row, column)` holds; the selected ones have various values.
template <class Select>
Mask maskOf(int width, int height, Select select) {
  Mask mask = {width, height, {}};
  for (int i = 0; i < height; ++i) {
    for (int j = 0; j < width; ++j)
      mask.cells.push_back(select(i, j) ? static_cast<std::uint8_t>(1 + (i + j) * 37 % 255) : std::uint8_t{0});
  }
  return mask;
}

inline Mask rectangleIn(int width, int height, RvpiRect r) {
  return maskOf(width, height,
                [=](int i, int j) { return j >= r.x && j < r.x + r.width && i >= r.y && i < r.y + r.height; });
}
inline Mask rectangle(int width, int height) { return rectangleIn(width, height, {0, 0, width, height}); }

inline Mask ellipse(int width, int height) {
  return maskOf(width, height, [=](int i, int j) {
    const double x = (j - (width - 1) / 2.0) / (width / 2.0), y = (i - (height - 1) / 2.0) / (height / 2.0);
    return x * x + y * y <= 1;
  });
}

// Half of the cells, and the middle one.
inline Mask randomMask(int width, int height, unsigned seed) {
  const Plane<std::uint32_t> noise = randomPlane<std::uint32_t>(width, height, seed);
  return maskOf(width, height,
                [&](int i, int j) { return noise.at(i, j) / 64 % 2 == 0 || (i == height / 2 && j == width / 2); });
}

// Every kind of mask: without cells, single cells, rectangles for all ways of putting a window together, rectangles
// off the anchor, masks with gaps, and masks wider or higher than most images.
inline std::vector<Mask> someMasks() {
  // clang-format off
  return {rectangleIn(3, 2, {}), rectangle(1, 1), rectangle(3, 3), rectangle(5, 5), rectangle(2, 4), rectangle(9, 1),
          rectangle(1, 7), rectangle(15, 15), rectangle(6, 8), rectangle(101, 3), rectangle(4, 90), rectangle(18, 33),
          rectangleIn(7, 5, {1, 1, 4, 3}), rectangleIn(9, 12, {6, 8, 3, 4}), rectangleIn(60, 3, {0, 0, 4, 1}),
          rectangleIn(5, 80, {4, 70, 1, 10}),
          maskOf(3, 3, [](int i, int j) { return i == 1 || j == 1; }),
          maskOf(7, 4, [](int i, int j) { return (i + j) % 2 == 0; }),
          maskOf(90, 3, [](int i, int j) { return i != 1 && j != 40; }),
          ellipse(15, 15), ellipse(10, 23),
          randomMask(9, 9, 1), randomMask(6, 5, 2), randomMask(33, 2, 3), randomMask(3, 40, 4)};
  // clang-format on
}

// The extremum of the pixels under the mask's cells; `choose(a, b)` picks the smaller or the greater.
template <class T, class Choose>
T extremumAt(const Bordered<T>& image, const Mask& mask, int x, int y, Choose choose) {
  if (mask.isEmpty()) return image.at(x, y);
  bool found = false;
  T result{};
  for (int i = 0; i < mask.height; ++i) {
    for (int j = 0; j < mask.width; ++j) {
      if (!mask.selects(i, j)) continue;
      const T pixel = image.at(x + j - mask.anchorX(), y + i - mask.anchorY());
      result = found ? choose(result, pixel) : pixel;
      found = true;
    }
  }
  return result;
}

// A state in a block of exactly the reported size, and a buffer of that kind. Blocks that end at a page begin at
// any address.
template <class State>
class Element {
 public:
  Element(auto getSize, auto init, RvpiSize largest, const Mask& mask, Cliff cliff)
      : bytes_(sizes(getSize, largest, mask)),
        spec_(bytes_.width, {0, 0, cliff}),
        buffer_(bytes_.height, {0, 0, cliff}) {
    EXPECT_EQ(init(largest, mask.cells.data(), mask.size(), spec(), buffer()), rvpStatusOk);
  }
  State* spec() { return spec_.as<State>(); }
  std::uint8_t* buffer() { return buffer_.data(); }

 private:
  static RvpiSize sizes(auto getSize, RvpiSize largest, const Mask& mask) {
    RvpiSize bytes = {};
    EXPECT_EQ(getSize(largest, mask.size(), &bytes.width, &bytes.height), rvpStatusOk);
    return bytes;
  }

  RvpiSize bytes_;  // The block's and the buffer's.
  Block spec_;
  Block buffer_;
};

// ---- Images of bits, packed from bytes of 0 and 1

// Bits from bit `offset` of each row on, in as many bytes as that takes. The other bits of these bytes are set and
// clear in turn.
inline Plane<std::uint8_t> packed(const Plane<std::uint8_t>& bits, int offset) {
  Plane<std::uint8_t> bytes((offset + bits.width + 7) / 8, bits.height, 0x5A);
  for (int y = 0; y < bits.height; ++y) {
    for (int x = 0; x < bits.width; ++x) {
      std::uint8_t& byte = bytes.at(y, (offset + x) / 8);
      const auto bit = static_cast<std::uint8_t>(1U << static_cast<unsigned>((offset + x) % 8));
      byte = static_cast<std::uint8_t>(bits.at(y, x) != 0 ? byte | bit : byte & ~bit);
    }
  }
  return bytes;
}

// The sides of an image of bits that a selector lets an operation read, each row up to or from an unreadable page.
class FlaggedBits {
 public:
  FlaggedBits(const Bordered<std::uint8_t>& image, int spareBits, Cliff cliff)
      : sides_(flaggedSides(image, image.margin)),
        offset_(sides_.left + spareBits),
        cliff_(packed(sides_.part, spareBits), cliff) {}

  const std::uint8_t* first() { return cliff_.row(sides_.top); }
  int bitOffset() const { return offset_; }
  int step() const { return cliff_.step(); }

 private:
  FlaggedSides<std::uint8_t> sides_;
  int offset_;
  OnCliff<std::uint8_t> cliff_;
};

}  // namespace test
