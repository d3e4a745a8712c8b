// Images of bits for tests: packed from bytes of 0 and 1, among bits that are watched.
#pragma once

#include <gtest/gtest.h>

#include <cstdint>

#include "support/bordered.h"
#include "support/images.h"

namespace test {

// A plane of zeros and ones.
inline Plane<std::uint8_t> randomBits(int width, int height, unsigned seed) {
  Plane<std::uint8_t> plane = randomPlane<std::uint8_t>(width, height, seed);
  for (std::uint8_t& element : plane.elements) element = element / 16 % 2;
  return plane;
}

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
      : sides_(flaggedSides(image)),
        offset_(sides_.left + spareBits),
        cliff_(packed(sides_.part, spareBits), cliff) {}

  const std::uint8_t* first() { return cliff_.data() + static_cast<std::ptrdiff_t>(sides_.top) * cliff_.step(); }
  int bitOffset() const { return offset_; }
  int step() const { return cliff_.step(); }

 private:
  FlaggedSides<std::uint8_t> sides_;
  int offset_;
  OnCliff<std::uint8_t> cliff_;
};

// Borders that bits and compound operations take.
inline std::vector<RvpiBorderType> plainBorders() {
  std::vector<RvpiBorderType> borders;
  for (const RvpiBorderType border : someBorders())
    if ((border & 15) != rvpBorderMirror) borders.push_back(border);
  return borders;
}

}  // namespace test
