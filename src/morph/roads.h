// Erosion and dilation by a mask, written over lines (lines.h, bit_lines.h). There are three roads to one result:
//
// RectangleRoad    a solid rectangle. Columns first, for all pixels of a line at once: few rows directly, more by
//                  the method of van Herk, which needs three minima a pixel whatever the height. Then along the
//                  line, where the window is put together from windows of 4, 16, 64... pixels.
// RingRoad         any mask, as runs of selected cells. For each row of the source the minima of windows of 2, 4,
//                  8... pixels are kept as long as the mask reaches the row; two of them cover a run.
// filterPieces     any mask, from a little memory on the stack: where the caller's block has no room for the
// others.
//
// Source: M. van Herk, "A fast algorithm for local minimum and maximum filters on rectangular and octagonal
// kernels", Pattern Recognition Letters 13 (1992).
#pragma once

#include <algorithm>
#include <bit>
#include <cstddef>
#include <cstdint>

#include "frame/team.h"
#include "frame/views.h"
#include "morph/cells.h"
#include "rvpcv/types.h"

namespace rvp::n8 {

// Scratch memory, given out piece by piece. A piece that does not fit is null, and so is every later one.
class Workspace {
 public:
  Workspace(std::uint8_t* block, std::ptrdiff_t bytes) : next_(block), left_(bytes) {}

  template <class T>
  T* take(std::ptrdiff_t count) {
    std::uint8_t* first = alignedUp(next_, kAlignment);
    const std::ptrdiff_t lost = first - next_;
    if (left_ < lost || count < 0 || count > (left_ - lost) / static_cast<std::ptrdiff_t>(sizeof(T))) {
      left_ = -1;
      return nullptr;
    }
    const std::ptrdiff_t bytes = count * static_cast<std::ptrdiff_t>(sizeof(T));
    next_ = first + bytes;
    left_ -= lost + bytes;
    return reinterpret_cast<T*>(first);
  }
  // Bytes that the next piece can have.
  std::ptrdiff_t left() const { return left_ - (alignedUp(next_, kAlignment) - next_); }

 private:
  // A vector's, so that no line begins in the middle of one.
  static constexpr std::ptrdiff_t kAlignment = 32;
  std::uint8_t* next_;
  std::ptrdiff_t left_;
};

// Spans that slide() leaves at most.
constexpr std::ptrdiff_t kSlideSpans = 5;

// Windows along lines: the windows of `window` columns that begin at columns 0 to `columns` - 1 of `from` are left
// as the combination of a few spans. `from` lies in the first of `lines` lines, `step` words apart, to all of which
// the same is done. They are used up.
template <class Lines>
std::ptrdiff_t slide(typename Lines::Span from, typename Lines::Word* line, std::ptrdiff_t columns,
                     std::ptrdiff_t window, typename Lines::Span* spans, std::ptrdiff_t lines = 1,
                     std::ptrdiff_t step = 0) {
  constexpr std::ptrdiff_t kAtOnce = 4;
  std::ptrdiff_t have = 1;
  if (window > 16 && Lines::combineSixteen(from, columns + window - 16, line, lines, step)) {
    from = Lines::at(line, 0);
    have = 16;
  }
  while (window > kAtOnce * have && window > kSlideSpans) {
    Lines::combineFour(from, have, columns + window - kAtOnce * have, line, lines, step);
    from = Lines::at(line, 0);
    have *= kAtOnce;
  }
  std::ptrdiff_t count = 0;
  for (std::ptrdiff_t at = 0; at < window; at += have)
    spans[count++] = Lines::at(from, std::min(at, window - have));
  return count;
}

// The vertical minima of a rectangle, a line at a time, and then the horizontal ones.
template <class Lines>
class RectangleRoad {
  using Word = typename Lines::Word;
  using Span = typename Lines::Span;

 public:
  RectangleRoad(const Lines& source, const Cells& box, Workspace work)
      : source_(source),
        box_(box),
        first_(std::min<std::ptrdiff_t>(box.left, 0)),
        last_(source.size().width + std::max<std::ptrdiff_t>(box.right, 0)),
        core_(source.core(first_, last_)) {
    // Stores that are not aligned take three times as long.
    layOut(work, kVectorBytes / static_cast<std::ptrdiff_t>(sizeof(Word)));
    if (!hasRoom()) layOut(work, 1);
  }

  bool hasRoom() const { return scratch_ != nullptr; }

  // As many rows at a time as the mask has.
  void run() const {
    const std::ptrdiff_t rows = source_.size().height;
    const std::ptrdiff_t height = box_.height();
    for (std::ptrdiff_t y = 0; y < rows; y += height) {
      const std::ptrdiff_t outputs = std::min(height, rows - y);
      for (std::ptrdiff_t i = 0; i < height + outputs - 1; ++i) rows_[i] = read(y + i, i);
      if (height > kDirectRows) {
        runBlock(y, outputs);
      } else {
        for (std::ptrdiff_t i = 0; i < outputs; ++i) {
          Lines::combine(rows_ + i, height, core_.count(), core(0));
          finish(y + i, 1);
        }
      }
    }
  }

 private:
  // Up to so many rows are combined one by one; from there on van Herk's way needs fewer reads.
  static constexpr std::ptrdiff_t kDirectRows = 6;
  // Short lines are finished together, as one long line that stays in the nearest cache.
  static constexpr std::ptrdiff_t kGroupBytes = std::ptrdiff_t{1} << 12;
  // Upper parts that are collected side by side: enough to save loads, few enough to be streams that the processor
  // reads ahead.
  static constexpr std::ptrdiff_t kRowsAtOnce = 8;
  // The widest vector's, in all variants, as is what memory it takes.
  static constexpr std::ptrdiff_t kVectorBytes = 32;

  // Gives out the memory; lines and their cores begin at multiples of so many words.
  void layOut(Workspace work, std::ptrdiff_t unit) {
    const auto rounded = [&](std::ptrdiff_t words) { return (words + unit - 1) / unit * unit; };
    const std::ptrdiff_t before = Lines::wordsBefore(core_.first - first_);
    lead_ = rounded(before) - before;
    step_ = rounded(lead_ + Lines::lineWords(last_ - first_));
    group_ = std::max<std::ptrdiff_t>(kGroupBytes / static_cast<std::ptrdiff_t>(sizeof(Word)) / step_, 1);
    const std::ptrdiff_t height = box_.height();
    rows_ = work.take<Span>(2 * height);
    lines_ = work.take<Word>(step_ * height);
    read_ = work.take<Word>(Lines::kRowsStay ? step_ : 2 * height * step_);
    scratch_ = Lines::kRowsStay ? read_ : work.take<Word>(step_);
  }

  // The row of the source that is under the mask's first row when its anchor is at row y. All rows of border that
  // have to be made are alike where other rows stay: then one line holds them.
  Span read(std::ptrdiff_t y, std::ptrdiff_t i) const {
    return source_.read(y + box_.top, core_.first, core_.last, Lines::kRowsStay ? read_ : read_ + i * step_);
  }

  // The memory of the core of a line.
  Word* core(std::ptrdiff_t i) const {
    return lines_ + lead_ + i * step_ + Lines::wordsBefore(core_.first - first_);
  }

  // Windows after van Herk: each consists of an upper part, which ends with the block's last row, and of a lower
  // one. The upper parts are noted first, in a line each, and then windows go down the image with the growing lower
  // part. The lines of windows that are done take the newest lower part and, from line 0 on, the next windows.
  void runBlock(std::ptrdiff_t y, std::ptrdiff_t outputs) const {
    const std::ptrdiff_t height = box_.height();
    const std::ptrdiff_t columns = core_.count();
    Lines::combine(rows_ + height - 1, 1, columns, core(height - 1));
    for (std::ptrdiff_t i = height - 1, count = 0; i > 0; i -= count) {
      count = std::min(kRowsAtOnce, i);
      Lines::collectUp(Lines::at(Span{core(i)}, 0), rows_ + i - count, count, columns, core(i - count), step_);
    }
    finish(y, 1);
    if (outputs == 1) return;
    Span above = rows_[height];
    const Span first[] = {Lines::at(Span{core(1)}, 0), above};
    Lines::combine(first, 2, columns, core(0));
    finish(y + 1, 1);
    std::ptrdiff_t room = 1;
    for (std::ptrdiff_t i = 2, count = 0; i < outputs; i += count) {
      count = std::min({group_, room, outputs - i});
      Lines::collectDown(above, rows_ + height + i - 1, count, columns, core(i), core(0), step_, core(i - 1));
      above = Lines::at(Span{core(i - 1)}, 0);
      room = i - 1;
      finish(y + i, count);
    }
  }

  // From the vertical minima of the first lines to pixels.
  void finish(std::ptrdiff_t y, std::ptrdiff_t lines) const {
    for (std::ptrdiff_t i = 0; i < lines; ++i) source_.widen(lines_ + lead_ + i * step_, first_, last_);
    const std::ptrdiff_t width = source_.size().width;
    Span spans[kSlideSpans];
    const std::ptrdiff_t count = slide<Lines>(Lines::at(Span{lines_ + lead_}, box_.left - first_), lines_, width,
                                              box_.width(), spans, lines, step_);
    for (std::ptrdiff_t i = 0; i < lines; ++i) {
      Span below[kSlideSpans];
      for (std::ptrdiff_t k = 0; k < count; ++k) below[k] = Lines::below(spans[k], i * step_);
      source_.emit(y + i, 0, width, below, count, scratch_);
    }
  }

  const Lines& source_;
  const Cells& box_;
  std::ptrdiff_t first_;  // The columns of a line.
  std::ptrdiff_t last_;
  Slice core_;
  std::ptrdiff_t lead_;   // Words of a line's memory before its first column,
  std::ptrdiff_t step_;   // and all of them.
  std::ptrdiff_t group_;  // Lines that are finished together.
  Span* rows_;            // What is read for a block of rows,
  Word* read_;            // where it is written if it has to be,
  Word* lines_;           // and the minima of its columns.
  Word* scratch_;
};

// Any mask, from a ring of the windows of 1, 2, 4... pixels of the rows that it reaches. The image is done in
// strips, so that the ring stays in the cache.
template <class Lines>
class RingRoad {
  using Word = typename Lines::Word;
  using Span = typename Lines::Span;

  // A window of 2^level columns that begins at a column of the mask.
  struct Piece {
    std::int32_t row;
    std::int32_t level;
    std::ptrdiff_t column;
  };

 public:
  RingRoad(const Lines& lines, const Cells& cells, Workspace work) : lines_(lines), cells_(cells) {
    forPieces([&](std::ptrdiff_t, int level, std::ptrdiff_t) {
      ++count_;
      levels_ = std::max(levels_, level + 1);
    });
    pieces_ = work.take<Piece>(count_);
    spans_ = work.take<Span>(count_);
    rows_ = work.take<Span>(cells.height());
    const std::ptrdiff_t ringLines = cells.height() * levels_;
    const std::ptrdiff_t width = lines.size().width;
    const auto wordBytes = static_cast<std::ptrdiff_t>(sizeof(Word));
    const std::ptrdiff_t most = Lines::columnsIn(work.left() / wordBytes / ringLines) - cells.width();
    const std::ptrdiff_t good =
        std::max(Lines::columnsIn(kRingBytes / wordBytes / ringLines) - cells.width(), 4 * cells.width());
    strip_ = std::min({most, std::max(good, kLeastStrip), width});
    if (strip_ < width) strip_ = strip_ / Lines::kStripUnit * Lines::kStripUnit;
    if (strip_ < std::min(width, kLeastStrip)) return;
    step_ = Lines::lineWords(strip_ + cells.width() - 1);
    ring_ = work.take<Word>(step_ * ringLines);
  }

  bool hasRoom() const { return ring_ != nullptr; }

  void run() const {
    Piece* next = pieces_;
    forPieces([&](std::ptrdiff_t row, int level, std::ptrdiff_t column) {
      *next++ = {static_cast<std::int32_t>(row), level, column};
    });
    for (std::ptrdiff_t x = 0; x < lines_.size().width; x += strip_)
      runStrip(x, std::min(strip_, lines_.size().width - x));
  }

 private:
  static constexpr std::ptrdiff_t kRingBytes = std::ptrdiff_t{1} << 18;
  // Columns of a strip below which its overlap with the next one costs too much.
  static constexpr std::ptrdiff_t kLeastStrip = 64;

  // Calls body(row, level, column) for the windows that make up the mask.
  template <class Body>
  void forPieces(const Body& body) const {
    for (std::ptrdiff_t row = 0; row < cells_.height(); ++row) {
      cells_.forRuns(row, [&](std::ptrdiff_t start, std::ptrdiff_t length) {
        const auto level = static_cast<int>(std::bit_width(static_cast<std::uint64_t>(length))) - 1;
        const std::ptrdiff_t covered = std::ptrdiff_t{1} << level;
        body(row, level, start);
        if (covered < length) body(row, level, start + length - covered);
      });
    }
  }

  Word* line(std::ptrdiff_t slot, std::ptrdiff_t level) const { return ring_ + (slot * levels_ + level) * step_; }

  void readRow(std::ptrdiff_t y, std::ptrdiff_t x, std::ptrdiff_t columns, std::ptrdiff_t slot) const {
    std::ptrdiff_t length = columns + cells_.width() - 1;
    const std::ptrdiff_t first = x + cells_.left;
    Span windows = rows_[slot] = lines_.read(y, first, first + length, line(slot, 0));
    for (int level = 1; level < levels_; ++level) {
      const std::ptrdiff_t half = std::ptrdiff_t{1} << (level - 1);
      const Span pair[] = {windows, Lines::at(windows, half)};
      length -= half;
      Lines::combine(pair, 2, length, line(slot, level));
      windows = Lines::at(line(slot, level), 0);
    }
  }

  void runStrip(std::ptrdiff_t x, std::ptrdiff_t columns) const {
    const std::ptrdiff_t height = cells_.height();
    for (std::ptrdiff_t i = 0; i < height - 1; ++i) readRow(cells_.top + i, x, columns, i);
    std::ptrdiff_t oldest = 0;  // The slot of the mask's first row.
    for (std::ptrdiff_t y = 0; y < lines_.size().height; ++y) {
      readRow(y + cells_.bottom, x, columns, (oldest + height - 1) % height);
      for (std::ptrdiff_t i = 0; i < count_; ++i) {
        const Piece& piece = pieces_[i];
        std::ptrdiff_t slot = oldest + piece.row;
        if (slot >= height) slot -= height;
        spans_[i] = piece.level == 0 ? Lines::at(rows_[slot], piece.column)
                                     : Lines::at(line(slot, piece.level), piece.column);
      }
      // The oldest row is not needed any more once all has been read: its first line may serve as scratch.
      lines_.emit(y, x, columns, spans_, count_, line(oldest, 0));
      oldest = oldest + 1 == height ? 0 : oldest + 1;
    }
  }

  const Lines& lines_;
  const Cells& cells_;
  std::ptrdiff_t count_ = 0;
  int levels_ = 0;
  std::ptrdiff_t strip_ = 0;
  std::ptrdiff_t step_ = 0;
  Piece* pieces_ = nullptr;
  Span* spans_ = nullptr;
  Span* rows_ = nullptr;
  Word* ring_ = nullptr;
};

// Any mask, a few columns of a row and a few cells of a run at a time.
template <class Lines>
void filterPieces(const Lines& lines, const Cells& cells) {
  using Word = typename Lines::Word;
  using Span = typename Lines::Span;
  constexpr std::ptrdiff_t kColumns = 64;
  constexpr std::ptrdiff_t kRun = 64;
  alignas(64) Word found[Lines::lineWords(kColumns + kRun)];
  alignas(64) Word windows[Lines::lineWords(kColumns + kRun)];
  alignas(64) Word result[Lines::lineWords(kColumns)];
  const RvpiSize size = lines.size();
  for (std::ptrdiff_t y = 0; y < size.height; ++y) {
    for (std::ptrdiff_t x = 0; x < size.width; x += kColumns) {
      const std::ptrdiff_t columns = std::min(kColumns, size.width - x);
      bool begun = false;
      const auto takeIn = [&](std::ptrdiff_t row, std::ptrdiff_t start, std::ptrdiff_t run) {
        const std::ptrdiff_t first = x + cells.left + start;
        const std::ptrdiff_t length = columns + run - 1;
        const Span read = lines.read(y + cells.top + row, first, first + length, found);
        Lines::combine(&read, 1, length, windows);
        Span spans[1 + kSlideSpans];
        spans[0] = Lines::at(result, 0);
        const std::ptrdiff_t count = slide<Lines>(Lines::at(windows, 0), windows, columns, run, spans + 1);
        Lines::combine(begun ? spans : spans + 1, begun ? count + 1 : count, columns, result);
        begun = true;
      };
      for (std::ptrdiff_t row = 0; row < cells.height(); ++row) {
        cells.forRuns(row, [&](std::ptrdiff_t start, std::ptrdiff_t length) {
          for (std::ptrdiff_t i = 0; i < length; i += kRun) takeIn(row, start + i, std::min(kRun, length - i));
        });
      }
      const Span all = Lines::at(result, 0);
      lines.emit(y, x, columns, &all, 1, windows);
    }
  }
}

// Erosion or dilation by a mask that selects a cell, within the memory given.
template <class Lines>
void filterCells(const Lines& lines, const Cells& cells, Workspace work) {
  const Cells box = clipped(cells, lines.size(), lines.border());
  if (box.solid) {
    if (const RectangleRoad<Lines> road(lines, box, work); road.hasRoom()) return road.run();
  }
  if (const RingRoad<Lines> road(lines, box, work); road.hasRoom()) return road.run();
  filterPieces(lines, box);
}

}  // namespace rvp::n8
