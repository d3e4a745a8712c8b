#include "jpeg.h"

#include <cstddef>
#include <cstdint>

namespace tour {
namespace {

// The bytes after FF that mark what follows.
constexpr unsigned kRestartFirst = 0xd0;
constexpr unsigned kRestartLast = 0xd7;
constexpr unsigned kStart = 0xd8;
constexpr unsigned kEnd = 0xd9;
constexpr unsigned kHuffmanTables = 0xc4;
constexpr unsigned kExif = 0xe1;

// Bytes past the end read as 0.
unsigned byteAt(std::string_view bytes, std::size_t place) {
  return place < bytes.size() ? static_cast<std::uint8_t>(bytes[place]) : 0u;
}

unsigned bigEndian16(std::string_view bytes, std::size_t place) {
  return byteAt(bytes, place) << 8 | byteAt(bytes, place + 1);
}

// The tables lie one after the other: a byte of kind and number, 16 counts of codes of each length, and so many
// symbols. No more than 256 symbols make sense. Counts are looked at even where the segment's length cuts them
// off, as a decoder might.
bool tablesAreSound(std::string_view bytes, std::size_t place, std::size_t length) {
  const std::size_t end = place + length;
  while (place < end) {
    unsigned symbols = 0;
    for (std::size_t i = 1; i <= 16; ++i) symbols += byteAt(bytes, place + i);
    if (symbols > 256) return false;
    place += 17 + symbols;
  }
  return true;
}

// The orientation in a segment of Exif data, or 1. The data are a TIFF file: byte order, and the place of a
// directory whose entries have a tag, a type, a count and a value.
int orientationIn(std::string_view segment) {
  constexpr std::string_view kName("Exif\0\0", 6);
  constexpr unsigned kOrientationTag = 0x0112;
  if (!segment.starts_with(kName)) return 1;
  const std::string_view tiff = segment.substr(kName.size());
  const bool isLittleEndian = byteAt(tiff, 0) == 'I';
  const auto number16 = [&](std::size_t place) {
    const unsigned number = bigEndian16(tiff, place);
    return isLittleEndian ? (number & 0xff) << 8 | number >> 8 : number;
  };
  const std::size_t high = number16(isLittleEndian ? 6 : 4);
  const std::size_t directory = high << 16 | number16(isLittleEndian ? 4 : 6);
  const unsigned entries = number16(directory);
  for (unsigned i = 0; i < entries; ++i) {
    const std::size_t entry = directory + 2 + 12 * std::size_t{i};
    if (entry >= tiff.size()) break;
    if (number16(entry) != kOrientationTag) continue;
    const unsigned orientation = number16(entry + 8);
    return orientation >= 1 && orientation <= 8 ? static_cast<int>(orientation) : 1;
  }
  return 1;
}

}  // namespace

bool isJpeg(std::string_view bytes) { return byteAt(bytes, 0) == 0xff && byteAt(bytes, 1) == kStart; }

JpegFacts inspectJpeg(std::string_view bytes) {
  JpegFacts facts;
  std::size_t place = 2;
  while (place < bytes.size()) {
    // Markers stand between segments, and in the coded pixels where FF is not followed by 0.
    if (byteAt(bytes, place++) != 0xff) continue;
    while (byteAt(bytes, place) == 0xff) ++place;
    const unsigned marker = byteAt(bytes, place++);
    if (marker == 0 || (marker >= kRestartFirst && marker <= kRestartLast)) continue;
    if (marker == kEnd) {
      facts.isComplete = true;
      break;
    }
    const std::size_t length = bigEndian16(bytes, place);
    if (length < 2) break;
    if (marker == kHuffmanTables && !tablesAreSound(bytes, place + 2, length - 2)) facts.isSound = false;
    if (marker == kExif && facts.orientation == 1 && place + length <= bytes.size())
      facts.orientation = orientationIn(bytes.substr(place + 2, length - 2));
    place += length;
  }
  return facts;
}

}  // namespace tour
