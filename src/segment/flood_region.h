// The whole region that a test takes in, in whatever order it is explored. Whether a pixel belongs to it may depend
// on its neighbours as they were, so nothing is painted before the region is known.
//
// A row is cut into words with a bit for each of 64 pixels. The new pixels of a word all spread at once: along the
// row by an addition, whose carry runs through neighbours that pass, and to the rows beside it by a comparison of
// blocks. Words with new pixels are served in raster order, downwards as long as there are any, then upwards, and
// so on: so a word gathers what reaches it from the row before, and is served seldom.
#pragma once

#include <algorithm>
#include <bit>
#include <cstddef>
#include <cstdint>
#include <cstring>

#include "frame/bits.h"
#include "frame/views.h"
#include "rvpcv/types.h"
#include "segment/flood_block.h"
#include "segment/number_set.h"

namespace rvp::n8 {

// How many pixels were found, and their first and last columns and rows.
struct Extent {
  std::int64_t area;
  std::int32_t left, top, right, bottom;
};

// Columns from which on the memory suffices. Up to 64 words take 16 bytes each and 8 more, and any number of them
// at most 16.2 each and 40. Of three pixels or more for each word, that is less than 6 for each pixel and 25, what
// is left of the size that is reported for the plain and range kinds once it is aligned. The gradient kinds have 17
// for each pixel and 61: enough for words of one pixel.
template <class Test>
constexpr int kLeastColumns = Test::kNeighbours ? 1 : 3;

template <class T, int kChannels, class Test>
class FloodRegion {
  using Block = PixelBlock<T, kChannels>;
  using Word = std::uint64_t;
  static constexpr std::ptrdiff_t kWordPixels = 64;

  static std::ptrdiff_t rowWords(RvpiSize size) {
    return (std::ptrdiff_t{size.width} + kWordPixels - 1) / kWordPixels;
  }
  static std::ptrdiff_t words(RvpiSize size) { return rowWords(size) * size.height; }

 public:
  // `margin` 1 also takes in diagonal neighbours. The memory is aligned to 8 bytes.
  FloodRegion(T* image, int step, RvpiSize size, const Test& test, std::ptrdiff_t margin, std::uint8_t* memory)
      : image_(image),
        step_(step),
        size_(size),
        test_(test),
        margin_(margin),
        rowWords_(rowWords(size)),
        found_(reinterpret_cast<Word*>(memory)),
        new_(found_ + words(size)),
        pending_(memory + 16 * words(size), words(size)) {
    std::memset(memory, 0, static_cast<std::size_t>(16 * words(size)));
  }

  // Finds the region around a seed.
  void explore(RvpiPoint seed) {
    std::ptrdiff_t at = seed.y * rowWords_ + seed.x / kWordPixels;
    take(at, Word{1} << (seed.x % kWordPixels));
    while (at >= 0) {
      at = serveAll<true>(at);
      at = serveAll<false>(at);
    }
  }

  // Runs of pixels that were found in a row, of all rows.
  std::ptrdiff_t runs() const {
    std::ptrdiff_t count = 0;
    for (std::ptrdiff_t y = 0; y < size_.height; ++y) {
      Word before = 0;
      for (std::ptrdiff_t word = 0; word < rowWords_; ++word) {
        const Word bits = found_[y * rowWords_ + word];
        count += bitCount(bits & ~(bits << 1 | before >> 63));
        before = bits;
      }
    }
    return count;
  }

  // Paints what was found.
  Extent paint(const T* colour) const {
    const PatternOf<T, kChannels> pattern(colour);
    Extent extent = {0, size_.width, size_.height, -1, -1};
    for (std::int32_t y = 0; y < size_.height; ++y) {
      for (std::ptrdiff_t word = 0; word < rowWords_; ++word) {
        Word bits = found_[y * rowWords_ + word];
        if (bits == 0) continue;
        const std::ptrdiff_t x = word * kWordPixels;
        extent.left = std::min(extent.left, static_cast<std::int32_t>(x + std::countr_zero(bits)));
        extent.right = std::max(extent.right, static_cast<std::int32_t>(x + 63 - std::countl_zero(bits)));
        extent.top = std::min(extent.top, y);
        extent.bottom = y;
        while (bits != 0) {
          const int first = std::countr_zero(bits);
          const int count = std::countr_one(bits >> first);
          Block::paint(row(image_, step_, y) + (x + first) * kChannels, count, pattern);
          extent.area += count;
          bits &= bits + (bits & -bits);  // without its lowest run
        }
      }
    }
    return extent;
  }

 private:
  // Serves the words from one on, in one direction, and answers which was the last, or -1 if there was none.
  template <bool kDown>
  std::ptrdiff_t serveAll(std::ptrdiff_t first) {
    std::ptrdiff_t last = -1;
    for (std::ptrdiff_t at = first; (at = pending_.next<kDown>(at)) >= 0;) {
      serve(at, (kDown ? 2 : -2) * std::ptrdiff_t{step_});
      last = at;
    }
    return last;
  }

  // Pixels of a word have been found.
  void take(std::ptrdiff_t word, Word pixels) {
    found_[word] |= pixels;
    if (new_[word] == 0) pending_.insert(word);
    new_[word] |= pixels;
  }

  // `ahead` is how far away in bytes the row after the next one lies, which is asked for.
  void serve(std::ptrdiff_t word, std::ptrdiff_t ahead) {
    // Both are below 2^31, and a short division takes less time.
    const std::ptrdiff_t y = static_cast<std::uint32_t>(word) / static_cast<std::uint32_t>(rowWords_);
    const std::ptrdiff_t x = (word - y * rowWords_) * kWordPixels;
    pending_.erase(word);
    prefetchLines(row(image_, step_, y) + x * kChannels, kWordPixels * kChannels,
                  static_cast<std::uintptr_t>(ahead));
    const Word pixels = spreadAlong(y, x, word);
    new_[word] = 0;
    if (x > 0 && (pixels & 1) != 0) spreadOne(y, x - 1, y, x, word - 1);
    if (x + kWordPixels < size_.width && pixels >> 63 != 0) spreadOne(y, x + kWordPixels, y, x + 63, word + 1);
    if (y > 0) spreadBeside(y, y - 1, x, pixels, word - rowWords_);
    if (y + 1 < size_.height) spreadBeside(y, y + 1, x, pixels, word + rowWords_);
  }

  // Spreads the new pixels of a word within it, and answers them with those that they reach.
  Word spreadAlong(std::ptrdiff_t y, std::ptrdiff_t x, std::ptrdiff_t word) {
    Word pixels = new_[word];
    const Word open = ~found_[word];
    if (((pixels << 1 | pixels >> 1) & open) == 0) return pixels;
    const Word rightward = passed(y, y, x, -1, open);
    Word leftward = Test::kNeighbours ? passed(y, y, x, 1, open) : rightward;
    // A carry runs through the ones above each start.
    const Word starts = pixels << 1 & rightward;
    const Word right = starts | (rightward & ~(rightward + starts));
    // Downwards there is none: twice as far with each step.
    Word left = pixels;
    for (int distance = 1; distance < kWordPixels; distance *= 2) {
      left |= leftward & left >> distance;
      leftward &= leftward >> distance;
    }
    pixels |= left | right;
    found_[word] |= pixels;
    return pixels;
  }

  // Spreads the pixels of a word of row y to those of another row that touch them.
  void spreadBeside(std::ptrdiff_t y, std::ptrdiff_t other, std::ptrdiff_t x, Word pixels, std::ptrdiff_t word) {
    const Word open = ~found_[word];
    Word beside = pixels;
    if (!Test::kNeighbours && margin_ != 0) beside |= pixels << 1 | pixels >> 1;
    Word reached = passed(other, y, x, 0, beside & open);
    if (margin_ != 0) {
      if (Test::kNeighbours) {
        reached |= passed(other, y, x, -1, pixels << 1 & open & ~reached);
        reached |= passed(other, y, x, 1, pixels >> 1 & open & ~reached);
      }
      if (x > 0 && (pixels & 1) != 0) spreadOne(other, x - 1, y, x, word - 1);
      if (x + kWordPixels < size_.width && pixels >> 63 != 0)
        spreadOne(other, x + kWordPixels, y, x + 63, word + 1);
    }
    if (reached != 0) take(word, reached);
  }

  // Spreads the pixel (otherX, otherY) to its neighbour (x, y) in a word.
  void spreadOne(std::ptrdiff_t y, std::ptrdiff_t x, std::ptrdiff_t otherY, std::ptrdiff_t otherX,
                 std::ptrdiff_t word) {
    const Word bit = Word{1} << (x % kWordPixels);
    if ((found_[word] & bit) == 0 && (blockPassed(y, otherY, x, otherX - x) & 1) != 0) take(word, bit);
  }

  // Of the wanted pixels of the word from column x of row y on, those that pass against the ones `shift` columns
  // further on in another row. Inlined, as callers often know the shift or that none is wanted.
  HWY_INLINE Word passed(std::ptrdiff_t y, std::ptrdiff_t otherY, std::ptrdiff_t x, std::ptrdiff_t shift,
                         Word wanted) const {
    constexpr std::ptrdiff_t kPixels = Block::kPixels;
    if (wanted == 0) return 0;
    if (!Test::kNeighbours) shift = 0;
    Word bits = 0;
    if (x + shift >= 0 && x + shift + kWordPixels <= size_.width && x + kWordPixels <= size_.width) [[likely]] {
      const T* const candidates = row(image_, step_, y) + x * kChannels;
      const T* const neighbours = row(image_, step_, otherY) + (x + shift) * kChannels;
      for (std::ptrdiff_t i = 0; i < kWordPixels; i += kPixels) {
        if (kPixels < 32 && (wanted >> i & lowBits(kPixels)) == 0) continue;
        bits |= Word{Block::ofBlock(test_, candidates + i * kChannels, neighbours + i * kChannels)} << i;
      }
    } else {
      for (std::ptrdiff_t i = 0; i < kWordPixels && x + i < size_.width; i += kPixels)
        bits |= Word{blockPassed(y, otherY, x + i, shift)} << i;
    }
    return bits & wanted;
  }

  // The same of all pixels of a block. Those at the ends of a row may have no such neighbour.
  PixelBits blockPassed(std::ptrdiff_t y, std::ptrdiff_t otherY, std::ptrdiff_t x, std::ptrdiff_t shift) const {
    const std::ptrdiff_t first = std::max(x, -shift);
    const std::ptrdiff_t ahead = size_.width - first - std::max<std::ptrdiff_t>(shift, 0);
    if (ahead <= 0) return 0;
    const PixelBits bits =
        Block::of(test_, row(image_, step_, y) + first * kChannels,
                  row(image_, step_, otherY) + (first + shift) * kChannels, std::min(first, first + shift), ahead);
    return bits << (first - x) & lowBits(Block::kPixels);
  }

  T* image_;
  int step_;
  RvpiSize size_;
  Test test_;
  std::ptrdiff_t margin_;
  std::ptrdiff_t rowWords_;
  Word* found_;
  Word* new_;          // Of those found, the ones that have not spread yet.
  NumberSet pending_;  // The words with new pixels.
};

}  // namespace rvp::n8
